#include "vell/cubes/weights.h"

#include <gtest/gtest.h>

namespace vell::cubes {
namespace {

TEST(Weights, CircuitsThatReadAVariable) {
  TermManager tm;
  auto const* word = tm.bv_type(8);
  Term_ const* a = tm.mk_variable("a", word);
  Term_ const* b = tm.mk_variable("b", word);
  Term_ const* c = tm.mk_variable("c", word);
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  // b in a product through a wire, c in a sum, a and p in gates.
  Term_ const* product = tm.mk_app(SymbolTag::bv_mul, {tm.mk_app(SymbolTag::bv_not, {b}), c});
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {c, product});
  Term_ const* equal = tm.mk_app(SymbolTag::equal, {sum, a});
  Term_ const* both = tm.mk_app(SymbolTag::bool_and, {equal, p});
  EXPECT_EQ((std::vector<Term_ const*>{c, b, a, p}),
            by_weight(tm, std::vector<Term_ const*>{both}, run::no_limits()));
  EXPECT_EQ((std::vector<Term_ const*>{}), by_weight(tm, std::vector<Term_ const*>{}, run::no_limits()));
  run::Limits stopped;
  stopped.stop(run::StopReason::interrupted);
  EXPECT_THROW(by_weight(tm, std::vector<Term_ const*>{both}, stopped), run::Stopped);
}

}  // namespace
}  // namespace vell::cubes
