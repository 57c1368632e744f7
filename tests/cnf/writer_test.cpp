#include "vell/cnf/writer.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <vector>

#include "tests/support/markdown.h"
#include "tests/support/scratch.h"
#include "vell/io/error.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sinks/solversink.h"
#include "vell/terms/exception.h"

namespace vell::cnf {
namespace {

constexpr char script[] =
    "(declare-const x (_ BitVec 4))(declare-const unused (_ BitVec 2))(declare-const p Bool)"
    "(assert (bvult x #x3))(assert (bvult (bvmul x x) #x8))(assert (or p (= x #x7)))"
    "(assert (or (not p) (bvult x (bvmul x x))))"
    "(check-sat)(push 1)(assert (not p))(check-sat)(pop 1)(check-sat-assuming (p (= x #x2)))";

struct Cnf {
  std::string text;
  std::vector<std::string> comments;
  std::uint64_t variables = 0;
  std::uint64_t clauses = 0;
  std::vector<std::vector<int>> list;
};

Cnf parsed(std::string const& text) {
  Cnf cnf;
  cnf.text = text;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line[0] == 'c') {
      cnf.comments.push_back(line);
    } else if (line[0] == 'p') {
      std::sscanf(line.c_str(), "p cnf %lu %lu", &cnf.variables, &cnf.clauses);
    } else {
      std::istringstream numbers(line);
      cnf.list.emplace_back();
      for (int n = 0; numbers >> n && n != 0;) cnf.list.back().push_back(n);
    }
  }
  return cnf;
}

Cnf written(CnfOptions options, std::string const& text = script) {
  test::Scratch scratch;
  options.input = scratch.write("in.smt2", text);
  options.output = scratch.file("out.cnf");
  run::Limits limits;
  run::Statistics statistics;
  write_cnf(options, limits, statistics);
  EXPECT_EQ(2u, scratch.files());
  return parsed(scratch.read("out.cnf"));
}

bool satisfiable(Cnf const& cnf) {
  sinks::SolverSink sink(std::make_unique<sat::CadicalSolver>());
  for (std::uint64_t v = 0; v < cnf.variables; ++v) sink.new_lit();
  for (auto const& c : cnf.list) {
    sink.lits.clear();
    for (int n : c) sink.lits.push_back(n > 0 ? n + 1 : n - 1);
    sink.add_clause();
  }
  return sink.solve() == sinks::Answer::sat;
}

TEST(CnfWriter, HeaderCountsAndMapLines) {
  for (bool raw : {false, true}) {
    CnfOptions options;
    options.raw = raw;
    Cnf const cnf = written(options);
    EXPECT_EQ(cnf.clauses, cnf.list.size());
    std::uint64_t largest = 0;
    for (auto const& c : cnf.list)
      for (int n : c) largest = std::max<std::uint64_t>(largest, static_cast<std::uint64_t>(std::abs(n)));
    EXPECT_LE(largest, cnf.variables);
    EXPECT_TRUE(satisfiable(cnf));
    ASSERT_EQ(7u, cnf.comments.size());
    EXPECT_EQ("c input in.smt2", cnf.comments[1]);
    EXPECT_EQ(0u, cnf.comments[2].find("c sha256 "));
    EXPECT_EQ(9u + 64, cnf.comments[2].size());
    EXPECT_EQ("c words all", cnf.comments[3]);
    EXPECT_EQ(raw ? "c map x (_ BitVec 4) 2 3 4 5" : "c map x (_ BitVec 4) 1 2 3 4", cnf.comments[4]);
    EXPECT_EQ("c map unused (_ BitVec 2) ? ?", cnf.comments[5]);
  }
}

TEST(CnfWriter, CleanFormHasNoConstants) {
  Cnf const raw = written({.raw = true});
  EXPECT_EQ((std::vector<int>{1}), raw.list[0]);
  EXPECT_EQ(1u, static_cast<unsigned>(std::count(raw.list.begin(), raw.list.end(), std::vector<int>{1})));
  // The same clauses, one number lower, without what the constant decides.
  std::vector<std::vector<int>> expected;
  for (std::size_t i = 1; i < raw.list.size(); ++i) {
    std::vector<int> c;
    bool satisfied = false;
    for (int n : raw.list[i]) {
      satisfied = satisfied || n == 1;
      if (n != -1) c.push_back(n > 0 ? n - 1 : n + 1);
    }
    if (!satisfied) expected.push_back(c);
  }
  EXPECT_EQ(expected, written({}).list);
}

TEST(CnfWriter, EachQueryHasItsAssertions) {
  EXPECT_TRUE(satisfiable(written({.query = 1})));
  EXPECT_FALSE(satisfiable(written({.query = 2})));
  EXPECT_TRUE(satisfiable(written({.query = 3})));
  EXPECT_THROW(written({.query = 4}), Exception);
  EXPECT_FALSE(satisfiable(written({}, "(assert false)")));
  EXPECT_THROW(written({.query = 1}, "(assert false)"), Exception);
}

TEST(CnfWriter, SymbolsAndAnnotations) {
  EXPECT_EQ(5u, written({.symbols = "[xy]"}).comments.size());
  Cnf const cnf = written({.annotate = true});
  EXPECT_EQ(written({}).list, cnf.list);
  // Every term that is mentioned has a line of its own, further up; every formula has a heading.
  Cnf const deep =
      written({.annotate = true, .passes = words::Passes::none},
              "(declare-const x (_ BitVec 3))\n(assert (= (concat #b0 ((_ extract 1 0) (bvadd x x)))\n"
              "  (bvnot x)))\n\n(assert (= ((_ extract 0 0) x) #b1))");
  EXPECT_EQ(written({.passes = words::Passes::none},
                    "(declare-const x (_ BitVec 3))\n(assert (= (concat #b0 ((_ extract 1 0) (bvadd x x)))\n"
                    "  (bvnot x)))\n\n(assert (= ((_ extract 0 0) x) #b1))")
                .list,
            deep.list);
  std::set<std::string> defined;
  std::size_t mentioned = 0;
  std::size_t roots = 0;
  for (std::string const& line : deep.comments) {
    std::istringstream words(line);
    std::string word;
    words >> word >> word;
    roots += word == "root" ? 1 : 0;
    if (word != "term" && word != "root") continue;
    std::string const own = word == "term" ? (words >> word, word) : "";
    while (words >> word) {
      while (word.ends_with(')')) word.pop_back();
      if (!word.starts_with('#') || word.starts_with("#b")) continue;
      ++mentioned;
      EXPECT_TRUE(defined.contains(word)) << line;
    }
    if (!own.empty()) defined.insert(own);
  }
  EXPECT_EQ(2u, roots);
  EXPECT_GT(mentioned, 4u);
  EXPECT_NE(std::string::npos, deep.text.find(" line 2 (bvadd x x) = ")) << deep.text;
  EXPECT_NE(std::string::npos, deep.text.find("\nc root line 5 (= #")) << deep.text;
  // The heading stands directly in front of the unit clause.
  EXPECT_NE(std::string::npos, deep.text.find(" = 1\n1 0\n")) << deep.text;
}

TEST(CnfWriter, NamedAndDefinedTermsHaveMapLines) {
  std::string const formula =
      "(declare-const x (_ BitVec 2))(define-fun |a b| () (_ BitVec 2) (bvnot x))(define-const two (_ BitVec "
      "2) #b10)"
      "(define-fun f ((y (_ BitVec 2))) (_ BitVec 2) (bvnot y))(declare-const p Bool)"
      "(assert (! (or p (! (= ((_ extract 1 1) x) #b1) :named top)) :named |all\nof it|))(push)"
      "(define-const later Bool p)(pop)(check-sat)";
  words::Passes const passes = words::parse_passes("-unconstrained");
  Cnf const cnf = written({.passes = passes}, formula);
  ASSERT_EQ(11u, cnf.comments.size()) << cnf.text;
  std::vector<std::string> const expected = {"c map x (_ BitVec 2) 1 2",
                                             "c map p Bool 3",
                                             "c names",
                                             "c map |a b| (_ BitVec 2) -1 -2",
                                             "c map two (_ BitVec 2) F T",
                                             "c map top Bool 2",
                                             "c map |all\\nof it| Bool T"};
  std::vector<std::string> const found(cnf.comments.begin() + 4, cnf.comments.end());
  EXPECT_EQ(expected, found);
  EXPECT_EQ(6u, written({.symbols = "to?", .passes = passes}, formula).comments.size());
  EXPECT_EQ("c map |a b| (_ BitVec 2) 5 6",
            written({.passes = passes},
                    "(declare-const x (_ BitVec 2))(declare-const y (_ BitVec 2))"
                    "(define-fun |a b| () (_ BitVec 2) (bvand x y))(assert (distinct |a b| x))")
                .comments[7]);
}

TEST(CnfWriter, SimplificationsAreSwitchedAndNamed) {
  // Decided on words; as it stands it has products.
  std::string const formula =
      "(declare-const x (_ BitVec 6))(declare-const y (_ BitVec 6))(assert (distinct (bvmul x y) (bvmul y "
      "x)))(check-sat)";
  Cnf const all = written({}, formula);
  Cnf const none = written({.passes = words::Passes::none}, formula);
  EXPECT_LT(all.clauses, 10u);
  EXPECT_GT(none.clauses, 100u);
  EXPECT_EQ("c words none", none.comments[3]);
  // The script's own option comes later, and goes with a reset.
  EXPECT_EQ(none.list, written({}, "(set-option :words \"none\")" + formula).list);
  EXPECT_EQ(all.list, written({}, "(set-option :words \"none\")(reset)" + formula).list);
  EXPECT_EQ(all.list, written({.passes = words::Passes::none}, "(set-option :words \"all\")" + formula).list);
  EXPECT_THROW(written({}, "(set-option :words \"some\")" + formula), io::Error);
  EXPECT_THROW(written({.query = 2}, formula + "(set-option :words \"all\")(check-sat)"), io::Error);
}

// Of a constant that was eliminated: its bits if the clauses have them, else its value.
TEST(CnfWriter, EliminatedConstantsHaveTheirValues) {
  std::string const declared =
      "(declare-const x (_ BitVec 3))(declare-const y (_ BitVec 3))(declare-const |a!b| (_ BitVec 3))"
      "(declare-const free!0 Bool)(declare-const _t1 Bool)";
  auto const lines = [&](std::string const& formula, std::string const& symbols = "*") {
    std::vector<std::string> out;
    for (std::string const& c :
         written({.symbols = symbols}, declared + "(assert (bvult (bvmul y y) y))(assert " + formula + ")")
             .comments)
      if (c.find("|a!b|") != std::string::npos || c.find("a!b") != std::string::npos ||
          c.starts_with("c aux "))
        out.push_back(c);
    return out;
  };
  using Lines = std::vector<std::string>;
  EXPECT_EQ((Lines{"c map a!b (_ BitVec 3) -1 -2 -3"}), lines("(= |a!b| (bvnot y))"));
  EXPECT_EQ((Lines{"c def a!b (_ BitVec 3) (bvadd (bvmul y y) (_ bv1 3))"}),
            lines("(= |a!b| (bvadd (bvmul y y) #b001))"));
  // y is not asked for, and the value needs it.
  EXPECT_EQ((Lines{"c aux map y (_ BitVec 3) 1 2 3", "c def a!b (_ BitVec 3) (bvadd (bvmul y y) (_ bv1 3))"}),
            lines("(= |a!b| (bvadd (bvmul y y) #b001))", "a*"));
  // What is said of it needs a new constant.
  Lines const unconstrained =
      lines("(or (bvult (bvadd |a!b| (bvmul x y)) (bvmul x x)) (bvult x (bvmul x y)))");
  ASSERT_GT(unconstrained.size(), 1u);
  EXPECT_EQ(0u, unconstrained[0].find("c aux map aux!0 "));
  EXPECT_EQ(0u, unconstrained.back().find("c def a!b (_ BitVec 3) "));
  // No symbol of the script begins like the names of shared terms.
  Lines const shared = lines("(= |a!b| (bvudiv (bvmul y y) (bvor x (bvmul y y))))");
  EXPECT_NE(std::string::npos, shared.back().find("(let ((_tt")) << shared.back();
}

TEST(CnfWriter, TheExampleOfThePage) {
  test::MarkdownFile const page = test::read_markdown(std::string(VELL_SOURCE_DIR) + "/docs/cnf.md");
  ASSERT_EQ(2u, page.fences.size());
  test::Scratch scratch;
  CnfOptions options;
  options.annotate = true;
  options.input = scratch.write("example.smt2", page.fences[0].text);
  options.output = scratch.file("out.cnf");
  run::Limits limits;
  run::Statistics statistics;
  write_cnf(options, limits, statistics);
  EXPECT_EQ(page.fences[1].text, scratch.read("out.cnf"));
}

TEST(CnfWriter, TheSameInputGivesTheSameBytes) { EXPECT_EQ(written({}).text, written({}).text); }

TEST(CnfWriter, NothingIsLeftAfterAnError) {
  test::Scratch scratch;
  CnfOptions options;
  options.input = scratch.write("in.smt2", "(declare-const p Bool)(assert (and p");
  options.output = scratch.file("out.cnf");
  run::Limits limits;
  run::Statistics statistics;
  EXPECT_THROW(write_cnf(options, limits, statistics), io::Error);
  EXPECT_EQ(1u, scratch.files());
  options.input = scratch.write("in.smt2", script);
  limits.stop(run::StopReason::interrupted);
  EXPECT_THROW(write_cnf(options, limits, statistics), run::Stopped);
  EXPECT_EQ(1u, scratch.files());
}

}  // namespace
}  // namespace vell::cnf
