#include "vell/report/termgraph.h"

#include <gtest/gtest.h>

#include "tests/report/measured.h"
#include "vell/terms/exception.h"

namespace vell::report {
namespace {

using test::measured;

constexpr char script[] =
    "(declare-const x (_ BitVec 4))\n(declare-const |y \"<|| (_ BitVec 4))\n"
    "(define-fun sum () (_ BitVec 4) (bvadd x |y \"<||))\n"
    "(assert (! (bvult (bvmul x |y \"<||) sum) :named first))\n(assert (= sum #b0101))\n(check-sat)";

// A bar ends a quoted symbol.
std::string quoted() {
  std::string out = script;
  for (std::size_t at = 0; (at = out.find("<||", at)) != std::string::npos;) out.replace(at, 3, "<|");
  return out;
}

bool has(std::string const& text, std::string const& piece) { return text.find(piece) != std::string::npos; }

TermGraph drawn(TermGraphOptions const& options = {}) {
  return term_graph(measured(quoted()), options, run::Limits());
}

TEST(TermGraph, BoxesTellWhatATermCosts) {
  TermGraph const g = drawn();
  EXPECT_EQ(6u, g.drawn);
  EXPECT_EQ(0u, g.skipped);
  EXPECT_TRUE(has(g.dot, "label=\"line 4: first\"")) << g.dot;
  EXPECT_TRUE(has(g.dot, "label=\"bvadd 4\\n#3, line 4, 2 uses\\n49 clauses, ")) << g.dot;
  EXPECT_TRUE(has(g.dot, "bits 9..15 by 2\", ")) << g.dot;
  EXPECT_TRUE(has(g.dot, "label=\"|y \\\"<|: variable 4\\n")) << g.dot;
  // A numeral stands in its user, and has no box.
  EXPECT_TRUE(has(g.dot, "(= (bvadd x ")) << g.dot;
  // The shared sum is drawn once.
  std::size_t boxes = 0;
  for (std::size_t at = 0; (at = g.dot.find(" t3 [id=t3", at)) != std::string::npos; ++at) ++boxes;
  EXPECT_EQ(1u, boxes);
}

TEST(TermGraph, DepthLeastOnlyAndMostChoose) {
  TermGraphOptions depth;
  depth.depth = 1;
  EXPECT_EQ(2u, drawn(depth).drawn);
  EXPECT_TRUE(has(drawn(depth).dot, "2 terms left out"));
  EXPECT_EQ(0u, drawn(depth).skipped);
  TermGraphOptions least;
  least.least = 40;
  EXPECT_EQ(2u, drawn(least).drawn);  // the comparison and the product
  TermGraphOptions only;
  only.only = "sum";
  EXPECT_EQ(3u, drawn(only).drawn);
  only.only = "first";
  EXPECT_EQ(5u, drawn(only).drawn);
  EXPECT_FALSE(has(drawn(only).dot, "line 5"));
  only.only = "y \"<";
  EXPECT_EQ(1u, drawn(only).drawn);
  only.only = "nothing";
  EXPECT_THROW(drawn(only), Exception);
  TermGraphOptions most;
  most.most = 3;
  EXPECT_EQ(3u, drawn(most).drawn);
  EXPECT_GT(drawn(most).skipped, 0u);
}

TEST(TermGraph, ValuesOfAModel) {
  vell::test::Scratch scratch;
  Model const model = Model::read(scratch.write(
      "m", "sat\n((define-fun x () (_ BitVec 4) #b0010)(define-fun |y \"<| () (_ BitVec 4) #b0011))"));
  TermGraphOptions options;
  options.model = &model;
  std::string const dot = drawn(options).dot;
  EXPECT_TRUE(has(dot, "by 2\\n= #b0101\"")) << dot;
  EXPECT_TRUE(has(dot, "\\n= true\"")) << dot;
  EXPECT_TRUE(has(dot, "penwidth=3")) << dot;
}

TEST(TermGraph, BitsInShort) {
  EXPECT_EQ("1", bits_summary({2}));
  EXPECT_EQ("1 2", bits_summary({2, 3}));
  EXPECT_EQ("1..4", bits_summary({2, 3, 4, 5}));
  EXPECT_EQ("-1..-4 T", bits_summary({-2, -3, -4, -5, 1}));
  EXPECT_EQ("1..7 by 2", bits_summary({2, 4, 6, 8}));
  EXPECT_EQ("7..5 3*F", bits_summary({8, 7, 6, -1, -1, -1}));
  EXPECT_EQ("3*(4)", bits_summary({5, 5, 5}));
  EXPECT_EQ("F T F", bits_summary({-1, 1, -1}));
  EXPECT_EQ("4 9 1 ...", bits_summary({5, 10, 2, 40, 3}, 3));
}

}  // namespace
}  // namespace vell::report
