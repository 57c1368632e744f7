#include "vell/script/script.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/scratch.h"

namespace vell::script {
namespace {

constexpr char levels[] =
    "(set-logic QF_BV)\n"
    "(declare-const x (_ BitVec 8))\n"
    "(assert (! (bvult x #x10) :named small))\n"
    "(push 1)\n"
    "  (declare-const y Bool)\n"
    "  (assert y)\n"
    "  (check-sat-assuming ((not y)))\n"
    "(pop 1)\n"
    "(check-sat)\n"
    "(define-fun half () (_ BitVec 8) (bvlshr x #x01))\n"
    "(get-value (half))\n";

TEST(Script, HasCommandsWithPositions) {
  TermManager terms;
  Script const script = Script::text(terms, levels, "a.smt2");
  EXPECT_EQ("a.smt2", script.name());
  std::vector<Command::Kind> kinds;
  for (Command const& c : script.commands()) kinds.push_back(c.kind);
  using Kind = Command::Kind;
  EXPECT_EQ(
      (std::vector<Kind>{Kind::set, Kind::declare, Kind::assert_formula, Kind::push, Kind::declare,
                         Kind::assert_formula, Kind::check, Kind::pop, Kind::check, Kind::define, Kind::ask}),
      kinds);
  EXPECT_EQ("QF_BV", script.commands()[0].text);
  EXPECT_EQ(6U, script.commands()[5].position.line);
  EXPECT_EQ(3U, script.commands()[5].position.column);
  EXPECT_EQ(1U, script.commands()[3].levels);
}

TEST(Script, KnowsWhatHoldsAtEachCheck) {
  TermManager terms;
  Script const script = Script::text(terms, levels);
  ASSERT_EQ(2U, script.queries());
  std::vector<Formula> const first = script.formulas(1);
  ASSERT_EQ(3U, first.size());
  EXPECT_EQ("(bvult x (_ bv16 8))", term_text(terms, first[0].term));
  EXPECT_EQ("small", first[0].name);
  EXPECT_EQ(3U, first[0].position.line);
  EXPECT_EQ("y", term_text(terms, first[1].term));
  EXPECT_EQ("(not y)", term_text(terms, first[2].term));
  EXPECT_EQ(7U, first[2].position.line);
  EXPECT_EQ(3U, script.formulas().size());
  EXPECT_EQ(1U, script.formulas(2).size());
  EXPECT_EQ(2U, script.constants(1).size());
  EXPECT_EQ(1U, script.constants(2).size());
  try {
    script.formulas(3);
    FAIL();
  } catch (Exception const& e) {
    EXPECT_STREQ("<text>: query 3 of 2", e.what());
  }
}

TEST(Script, KeepsGlobalDeclarations) {
  TermManager terms;
  Script const script = Script::text(terms,
                                     "(set-option :global-declarations true)(push 1)"
                                     "(declare-const x Bool)(assert x)(pop 1)(check-sat)");
  EXPECT_EQ(1U, script.constants().size());
  EXPECT_EQ(0U, script.formulas().size());
}

TEST(Script, WithoutACheckAnswersForItsEnd) {
  TermManager terms;
  EXPECT_EQ(1U, Script::text(terms, "(declare-const x Bool)(assert x)").formulas().size());
}

TEST(Script, FindsByName) {
  TermManager terms;
  Script const script = Script::text(terms, "(declare-const |a b| Bool)(define-fun n () Bool (not |a b|))");
  EXPECT_EQ(script.constants()[0], script.find("a b"));
  EXPECT_EQ("(not |a b|)", term_text(terms, script.find("n")));
  EXPECT_EQ(nullptr, script.find("c"));
}

TEST(Script, ComesFromFilesAndStreams) {
  test::Scratch scratch;
  TermManager terms;
  EXPECT_EQ(2U, Script::file(terms, scratch.write("a.smt2", levels)).queries());
  std::istringstream in{levels};
  EXPECT_EQ(2U, Script::stream(terms, in).queries());
}

TEST(Script, SaysWhereAnErrorIs) {
  TermManager terms;
  try {
    Script::text(terms, "(declare-const x (_ BitVec 8))\n(assert (bvult x y))\n", "a.smt2");
    FAIL();
  } catch (Error const& e) {
    EXPECT_EQ("a.smt2", e.file());
    EXPECT_EQ(2U, e.position().line);
    EXPECT_EQ(18U, e.position().column);
    EXPECT_EQ("a.smt2:2:18: " + e.message(), e.what());
    EXPECT_NE(std::string::npos, e.excerpt().find("(assert (bvult x y))\n")) << e.excerpt();
  }
  EXPECT_THROW(Script::file(terms, "/nowhere/a.smt2"), Error);
  EXPECT_THROW(Script::text(terms, "(set-logic QF_LIA)"), Error);
}

TEST(Script, CanBeStopped) {
  TermManager terms;
  Control control;
  control.stop();
  try {
    Script::text(terms, levels, "a.smt2", &control);
    FAIL();
  } catch (Stopped const& e) {
    EXPECT_EQ(Reason::interrupted, e.reason());
    EXPECT_STREQ("interrupted", e.what());
  }
}

TEST(Script, WritesSymbols) {
  EXPECT_EQ("x", symbol_text("x"));
  EXPECT_EQ("|a b|", symbol_text("a b"));
}

}  // namespace
}  // namespace vell::script
