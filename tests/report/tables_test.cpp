#include "vell/report/tables.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/report/measured.h"
#include "vell/report/profilejson.h"

namespace vell::report {
namespace {

using test::measured;

constexpr char script[] =
    "(declare-const x (_ BitVec 4))\n(declare-const y (_ BitVec 4))\n"
    "(assert (! (bvult (bvand x y) (bvmul x y)) :named first))\n(assert (bvult (bvand x y) (bvmul y x)))\n"
    "(check-sat)";

TEST(Tables, ListOperatorsAssertionsTermsAndPasses) {
  std::string const text = tables(measured(script, "all"), 20, run::Limits());
  auto const has = [&](std::string const& piece) {
    EXPECT_NE(std::string::npos, text.find(piece)) << piece << "\n" << text;
  };
  has("in.smt2, query 1, words all\n");
  has("\noperator ");
  has("\nbvmul ");
  has("\nunit clauses ");
  has("\nline 3 first ");
  has("(bvule (bvmul x y) (bvand x y))\n");
  has("\nrewrite ");
  EXPECT_EQ(std::string::npos, text.find("more\n"));
  EXPECT_NE(std::string::npos, tables(measured(script), 1, run::Limits()).find("and 1 more\n"));
  EXPECT_NE(std::string::npos, tables(measured(script), 1, run::Limits()).find("none: 7 terms"));
}

TEST(Tables, ASymbolCannotWriteToTheTerminal) {
  std::string const text =
      tables(measured("(declare-const |a\tb\nc| Bool)(assert |a\tb\nc|)(check-sat)"), 20, run::Limits());
  EXPECT_EQ(std::string::npos, text.find('\t'));
  EXPECT_NE(std::string::npos, text.find("|a b c|\n"));
}

TEST(Tables, DifferenceOfTwoProfiles) {
  auto const json = [&](char const* words) { return to_json(measured(script, words), 0, run::Limits()); };
  std::string const text = difference(json("none"), json("all"), 20);
  EXPECT_NE(std::string::npos, text.find("to    in.smt2, words all")) << text;
  // One of the two products goes: 30 clauses for the gates, and its three additions.
  Profile const before = measured(script);
  Profile const after = measured(script, "all");
  EXPECT_NE(std::string::npos, text.find("-" + std::to_string(before.total.clauses - after.total.clauses)))
      << text;
  EXPECT_NE(std::string::npos, text.find("bvmul 4 "));
  std::string const same = difference(json("all"), json("all"), 20);
  EXPECT_NE(std::string::npos, same.find("no difference\n\nno difference\n\nno difference\n")) << same;
}

}  // namespace
}  // namespace vell::report
