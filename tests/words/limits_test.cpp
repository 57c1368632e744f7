// Every pass on words checks the limits, however large the formula: each is run with limits that were stopped
// before, and in the middle of its work.

#include "vell/run/limits.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "vell/sat/sweep.h"
#include "vell/words/simplifier.h"

namespace vell::words {
namespace {

using Terms = std::vector<Term_ const*>;

// Runs a pass of the table on the formulas under the limits.
void run_pass(PassRow const& row, TermManager& tm, Terms const& terms, run::Limits const& limits) {
  run::Tunables tunables;
  Formulas formulas;
  formulas.first = true;
  for (std::size_t i = 0; i < terms.size(); ++i) formulas.permanent.push_back({terms[i], i});
  row.make({tm, false, limits, tunables})->apply(formulas);
}

// Equations over sums of products, with variables that stand in one place and products in several widths.
Terms large(TermManager& tm, unsigned rows, unsigned columns) {
  Type const* const type = tm.bv_type(64);
  auto const app = [&](SymbolTag::tag tag, Term_ const* a, Term_ const* b) { return tm.mk_app(tag, {a, b}); };
  Terms x;
  for (unsigned j = 0; j <= columns; ++j) x.push_back(tm.mk_variable("x", type));
  Terms formulas;
  for (unsigned i = 0; i < rows; ++i) {
    Term_ const* sum = app(SymbolTag::bv_mul, tm.mk_variable("once", type), x[i % columns]);
    formulas.push_back(tm.mk_app(SymbolTag::equal, {sum, tm.mk_bv(i, 64)}));
    sum = tm.mk_bv(i, 64);
    for (unsigned j = 0; j < columns; ++j) {
      Term_ const* factor = tm.mk_bv(0x9e3779b97f4a7c15u * (i * columns + j) | 3, 64);
      sum = app(SymbolTag::bv_add, sum, app(SymbolTag::bv_mul, factor, x[j]));
    }
    formulas.push_back(tm.mk_app(SymbolTag::equal, {sum, app(SymbolTag::bv_add, x[0], x[columns])}));
    Term_ const* wide =
        tm.mk_app(SymbolTag::bv_mul, {tm.mk_app(SymbolTag::bv_zero_extend, {x[i % columns]}, 1 + i % 64),
                                      tm.mk_app(SymbolTag::bv_zero_extend, {x[1]}, 1 + i % 64)});
    formulas.push_back(tm.mk_app(SymbolTag::equal, {wide, wide}));
  }
  return formulas;
}

TEST(WordLimits, APassThatWasStoppedBeforeDoesNothing) {
  TermManager tm;
  Terms const given = large(tm, 200, 100);
  run::Limits limits;
  limits.stop(run::StopReason::timeout);
  for (PassRow const& pass : passes()) {
    std::uint64_t const terms = tm.term_count();
    EXPECT_THROW(run_pass(pass, tm, given, limits), run::Stopped) << pass.name;
    EXPECT_LT(tm.term_count(), terms + 10) << pass.name;
  }
  EXPECT_TRUE(sat::sweep(tm, given, limits).equal.empty());
}

TEST(WordLimits, APassEndsWhenItIsStopped) {
  for (PassRow const& pass : passes()) {
    TermManager tm;
    Terms const formulas = large(tm, 400, 200);
    run::Limits limits;
    std::thread watch([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      limits.stop(run::StopReason::timeout);
    });
    bool stopped = false;
    try {
      run_pass(pass, tm, formulas, limits);
    } catch (run::Stopped const&) {
      stopped = true;
    }
    watch.join();
    // The others may be done before they are stopped; elimination takes seconds.
    EXPECT_TRUE(stopped || pass.name != std::string("equations"));
  }
}

}  // namespace
}  // namespace vell::words
