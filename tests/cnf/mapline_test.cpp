#include "vell/cnf/mapline.h"

#include <gtest/gtest.h>

#include "vell/terms/exception.h"

namespace vell::cnf {
namespace {

using Form = sinks::DimacsSink::Form;

TEST(MapLine, Texts) {
  TermManager tm;
  bv::BvLitList const bits = {2, 3, -4, 1};
  Term_ const* x = tm.mk_variable("x", tm.bv_type(4));
  EXPECT_EQ("map x (_ BitVec 4) 1 2 -3 T", map_line("x", x, &bits, 4, Form::clean));
  EXPECT_EQ("map x (_ BitVec 4) 2 3 -4 T", map_line("x", x, &bits, 4, Form::raw));
  EXPECT_EQ("map x (_ BitVec 4) ? ? ? ?", map_line("x", x, nullptr, 4, Form::clean));
  bv::BvLitList const one = {-1};
  EXPECT_EQ("map p Bool F", map_line("p", tm.mk_variable("p", tm.bool_type), &one, 1, Form::clean));
  EXPECT_EQ("map |a\\nb (c)| Bool F",
            map_line("|a\nb (c)|", tm.mk_variable("a\nb (c)", tm.bool_type), &one, 1, Form::clean));
}

TEST(MapLine, ReadBack) {
  auto const m = parse_map_line("c map |a\\nb (c)| (_ BitVec 4) 1 -22 T ?");
  ASSERT_TRUE(m);
  EXPECT_EQ("|a\nb (c)|", m->symbol);
  EXPECT_EQ("(_ BitVec 4)", m->sort);
  EXPECT_EQ((std::vector<std::string>{"1", "-22", "T", "?"}), m->bits);
  EXPECT_FALSE(parse_map_line("c mapping of things"));
  EXPECT_FALSE(parse_map_line("p cnf 1 1"));
  EXPECT_THROW(parse_map_line("c map x Bool 0"), Exception);
  EXPECT_THROW(parse_map_line("c map x Bool 1x"), Exception);
  EXPECT_THROW(parse_map_line("c map x Bool --1"), Exception);
  EXPECT_THROW(parse_map_line("c map x"), Exception);
}

TEST(DefLine, IsReadAsItIsWritten) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(4));
  std::string const line = "c " + def_line("|a\nb|", x, "(bvadd |c\rd| #b0001)");
  EXPECT_EQ("c def |a\\nb| (_ BitVec 4) (bvadd |c\\rd| #b0001)", line);
  std::optional<DefLine> const read = parse_def_line(line);
  ASSERT_TRUE(read);
  EXPECT_EQ("|a\nb|", read->symbol);
  EXPECT_EQ("(_ BitVec 4)", read->sort);
  EXPECT_EQ("(bvadd |c\rd| #b0001)", read->term);
  EXPECT_FALSE(parse_def_line("c map x Bool 1"));
  EXPECT_FALSE(parse_def_line("c definition"));
  EXPECT_THROW(parse_def_line("c def x Bool"), Exception);
}

}  // namespace
}  // namespace vell::cnf
