#include "vell/report/cells.h"

#include <gtest/gtest.h>

#include "vell/bv/standardclausifier.h"

namespace vell::report {
namespace {

using bv::BvLit;
using bv::BvLitList;

struct Gates {
  TermManager tm;
  bv::StandardClausifier clausifier{&tm};
  sinks::RecordingSink sink;
  Gates() { sink.set_next_literal(10); }
};

// "KIND(ROLE=LITERAL ...)->ROLE=LITERAL ...".
std::string text(std::vector<Cell> const& cells) {
  std::string out;
  for (Cell const& c : cells) {
    out += c.kind + "(";
    for (Cell::Pin const& p : c.inputs)
      out += (out.back() == '(' ? "" : " ") + p.role + "=" + std::to_string(p.literal);
    out += ")->";
    for (Cell::Pin const& p : c.outputs)
      out += (out.back() == '>' ? "" : " ") + p.role + "=" + std::to_string(p.literal);
    out += "\n";
  }
  return out;
}

TEST(Cells, Gates) {
  Gates g;
  g.clausifier.bit_and(&g.sink, 2, -3);
  g.clausifier.bit_or(&g.sink, -2, 3);
  g.clausifier.bit_xor(&g.sink, -2, 3);
  g.clausifier.bit_ite(&g.sink, -2, 3, 4);
  g.clausifier.bit_ite(&g.sink, 2, bv::l_true, 4);
  EXPECT_EQ(
      "and(a=2 b=-3)->x=10\n"
      "or(a=-2 b=3)->x=11\n"
      "xor(a=-2 b=3)->x=12\n"
      "ite(c=-2 t=3 e=4)->x=13\n"
      "ite(c=2 t=1 e=4)->x=14\n",
      text(cells_of(g.sink.events(), false)));
}

TEST(Cells, Adders) {
  Gates g;
  BvLit s = 0;
  BvLit k = 0;
  g.clausifier.full_adder(&g.sink, s, k, 2, -3, 4);
  g.clausifier.full_adder(&g.sink, s, k, 2, bv::l_false, 4);
  g.clausifier.full_adder(&g.sink, s, k, 2, bv::l_true, 4);
  g.clausifier.full_adder(&g.sink, s, k, 2, -2, 2);
  EXPECT_EQ(
      "full adder(a=2 b=-3 c=4)->sum=10 carry=11\n"
      "half adder(a=2 b=4)->sum=12 carry=13\n"
      "half adder + 1(a=2 b=4)->-sum=14 carry=15\n"
      "full adder(a=2 b=-2 c=2)->sum=16 carry=17\n",
      text(cells_of(g.sink.events(), false)));
}

TEST(Cells, StagesOfComparators) {
  Gates g;
  BvLitList x = {2, 3};
  BvLitList y = {4, -5};
  g.clausifier.release(g.clausifier.word_ule(&g.sink, &x, &y, bv::l_undef));
  g.clausifier.release(g.clausifier.word_ult(&g.sink, &x, &y, bv::l_undef));
  g.clausifier.word_equal(&g.sink, &x, &y, bv::l_undef);
  std::string const stages =
      "less or equal(a=2 b=4 r=1)->x=10\n"
      "less or equal(a=3 b=-5 r=10)->x=11\n"
      "less(a=2 b=4 r=-1)->x=12\n"
      "less(a=3 b=-5 r=12)->x=13\n";
  EXPECT_EQ(stages + "equal(a=2 b=4)->x=14\nequal(a=3 b=-5 r=14)->x=15\n",
            text(cells_of(g.sink.events(), true)));
  EXPECT_EQ(stages + "xor(a=2 b=-4)->x=14\nequal(a=3 b=-5 r=14)->x=15\n",
            text(cells_of(g.sink.events(), false)));
}

TEST(Cells, WhatIsUnknownIsAGate) {
  sinks::RecordingSink sink;
  sink.set_next_literal(10);
  sink.new_lit();
  BvLit const x = sink.new_lit();
  sink.lits = {-2, x};
  sink.add_clause();
  sink.lits = {2, 3, -x};
  sink.add_clause();
  EXPECT_EQ("free()->x=10\ngate(=2 =3)->x=11\n", text(cells_of(sink.events(), false)));
}

TEST(Cells, ValuesSatisfyTheClauses) {
  Gates g;
  BvLit s = 0;
  BvLit k = 0;
  g.clausifier.full_adder(&g.sink, s, k, 2, -3, 4);
  std::vector<Cell> const cells = cells_of(g.sink.events(), false);
  ASSERT_EQ(1u, cells.size());
  for (unsigned i = 0; i < 8; ++i) {
    std::vector<bool> values(12, false);
    values[2] = (i & 1) != 0;
    values[3] = (i & 2) != 0;
    values[4] = (i & 4) != 0;
    int const sum = values[2] + !values[3] + values[4];
    EXPECT_EQ(sum % 2 == 1, cell_value(cells[0], 0, values)) << i;
    EXPECT_EQ(sum >= 2, cell_value(cells[0], 1, values)) << i;
  }
}

}  // namespace
}  // namespace vell::report
