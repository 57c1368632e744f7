#include "tests/words/truthtable.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/values/values.h"
#include "tests/words/randomformulas.h"

namespace vell::test {
namespace {

TEST(TruthTable, AgreesWithTheEvaluator) {
  std::uint64_t compared = 0;
  for (std::uint64_t seed = 0; seed < 400; ++seed) {
    TermManager tm;
    Case const c = random_case(tm, seed);
    unsigned bits = 0;
    for (Term_ const* v : c.variables) bits += bits_of(tm, v);
    if (bits > 8) continue;
    TruthTable table(tm, bits);
    unsigned first = 0;
    for (Term_ const* v : c.variables) {
      table.assign(v, first);
      first += bits_of(tm, v);
    }
    values::Evaluator evaluator(tm);
    Values values;
    for (std::size_t row = 0; row < table.rows(); ++row) {
      values.assign(tm, c.variables, row);
      evaluator.set_assignment(values);
      for (Term_ const* t : terms_of(c)) {
        ASSERT_EQ(*evaluator.value(t), table.column(t)[row])
            << "seed " << seed << " row " << row << " " << t->to_shallow_str();
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 200'000u);
}

TEST(TruthTable, AFreeQuotientHasAValueForEachTerm) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(4));
  Term_ const* wide = tm.mk_app(SymbolTag::bv_zero_extend, {y}, 4);
  Term_ const* joined = tm.mk_app(SymbolTag::bv_concat, {tm.mk_bv(0, 4), y});
  TruthTable table(tm, 12, true, 7);
  table.assign(x, 0);
  table.assign(y, 8);
  TruthTable::Column const a = table.column(tm.mk_app(SymbolTag::bv_udiv, {x, wide}));
  TruthTable::Column const b = table.column(tm.mk_app(SymbolTag::bv_udiv, {x, joined}));
  EXPECT_NE(a[17], b[17]);
  EXPECT_EQ(a[17], a[18]);
  for (std::size_t row = 256; row < table.rows(); ++row) {
    EXPECT_EQ(a[row], (row & 255) / (row >> 8));
    EXPECT_EQ(a[row], b[row]);
  }
}

TEST(TruthTable, RefusesWhatHasNoValue) {
  TermManager tm;
  TruthTable table(tm, 2);
  Term_ const* x = tm.mk_variable("x", tm.bv_type(2));
  EXPECT_THROW(table.column(x), std::logic_error);
  EXPECT_THROW(table.column(tm.mk_bv(0, 17)), std::logic_error);
  EXPECT_THROW(TruthTable(tm, 17), std::logic_error);
  table.assign(x, 0);
  EXPECT_EQ(table.column(x), (TruthTable::Column{0, 1, 2, 3}));
}

}  // namespace
}  // namespace vell::test
