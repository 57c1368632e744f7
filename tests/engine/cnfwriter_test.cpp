#include "vell/engine/cnfwriter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/engine/scratch.h"
#include "vell/smtlib/error.h"
#include "vell/sinks/cadicalsink.h"
#include "vell/terms/exception.h"

namespace vell::engine {
namespace {

constexpr char script[] =
    "(declare-const x (_ BitVec 4))(declare-const unused (_ BitVec 2))(declare-const p Bool)"
    "(assert (bvult x #x3))(assert (or p (= x #x7)))"
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
  Limits limits;
  Statistics statistics;
  write_cnf(options, limits, statistics);
  EXPECT_EQ(2u, scratch.files());
  return parsed(scratch.read("out.cnf"));
}

bool satisfiable(Cnf const& cnf) {
  sinks::CadicalSink sink;
  for (auto const& c : cnf.list) {
    sink.lits.clear();
    for (int n : c) sink.lits.push_back(n > 0 ? n + 1 : n - 1);
    sink.add_clause();
  }
  return sink.solve() == sinks::CadicalSink::Answer::sat;
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
    ASSERT_EQ(6u, cnf.comments.size());
    EXPECT_EQ("c input in.smt2", cnf.comments[1]);
    EXPECT_EQ(0u, cnf.comments[2].find("c sha256 "));
    EXPECT_EQ(9u + 64, cnf.comments[2].size());
    EXPECT_EQ(raw ? "c map x (_ BitVec 4) 2 3 4 5" : "c map x (_ BitVec 4) 1 2 3 4", cnf.comments[3]);
    EXPECT_EQ("c map unused (_ BitVec 2) ? ?", cnf.comments[4]);
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
  EXPECT_EQ(4u, written({.symbols = "[xy]"}).comments.size());
  Cnf const cnf = written({.annotate = true});
  EXPECT_EQ(written({}).list, cnf.list);
  EXPECT_NE(std::string::npos, cnf.text.find("\nc term #"));
  // A comment stands in front of clauses, never at the end.
  EXPECT_NE('c', cnf.text[cnf.text.rfind('\n', cnf.text.size() - 2) + 1]);
}

TEST(CnfWriter, TheSameInputGivesTheSameBytes) { EXPECT_EQ(written({}).text, written({}).text); }

TEST(CnfWriter, NothingIsLeftAfterAnError) {
  test::Scratch scratch;
  CnfOptions options;
  options.input = scratch.write("in.smt2", "(declare-const p Bool)(assert (and p");
  options.output = scratch.file("out.cnf");
  Limits limits;
  Statistics statistics;
  EXPECT_THROW(write_cnf(options, limits, statistics), smtlib::Error);
  EXPECT_EQ(1u, scratch.files());
  options.input = scratch.write("in.smt2", script);
  limits.stop(StopReason::interrupted);
  EXPECT_THROW(write_cnf(options, limits, statistics), Stopped);
  EXPECT_EQ(1u, scratch.files());
}

}  // namespace
}  // namespace vell::engine
