#include "vell/engine/state.h"

#include <gtest/gtest.h>

namespace vell::engine {
namespace {

class ScriptStateTest : public testing::Test {
 protected:
  void feed(std::string const& script) {
    smtlib::Reader reader(tm, io::Source::text(script));
    smtlib::Command command;
    while (reader.next(command)) state.apply(command);
  }
  TermManager tm;
  ScriptState state;
};

TEST_F(ScriptStateTest, PopTakesBackAssertionsDeclarationsAndNames) {
  feed(
      "(declare-const p Bool)(assert (! p :named a))(push 1)(declare-const q Bool)(assert (! q :named "
      "b))(push 2)"
      "(assert (not p))");
  EXPECT_EQ(3u, state.levels());
  EXPECT_EQ(3u, state.assertions().size());
  EXPECT_EQ(1u, state.level_start(1));
  EXPECT_EQ(2u, state.level_start(2));
  EXPECT_EQ("b", state.assertions()[1].name);
  ScriptState const before = state;
  smtlib::Command pop;
  pop.kind = smtlib::CommandKind::pop;
  pop.number = 3;
  state.apply(pop);
  EXPECT_EQ(0u, state.levels());
  EXPECT_EQ(1u, state.assertions().size());
  EXPECT_EQ(1u, state.declared().size());
  EXPECT_EQ(1u, state.named().size());
  EXPECT_THROW(state.apply(pop), Exception);
  state = before;
  pop.number = 2;
  state.apply(pop);
  EXPECT_EQ(1u, state.levels());
  EXPECT_EQ(2u, state.assertions().size());
}

TEST_F(ScriptStateTest, GlobalDeclarationsStay) {
  feed("(set-option :global-declarations true)(push 1)(declare-const q Bool)(assert (! q :named b))(pop 1)");
  EXPECT_EQ(0u, state.assertions().size());
  EXPECT_EQ(1u, state.declared().size());
  EXPECT_EQ(1u, state.named().size());
  feed("(set-option :global-declarations true)(declare-const r Bool)(reset-assertions)");
  EXPECT_EQ(2u, state.declared().size());
  feed("(reset)");
  EXPECT_EQ(0u, state.declared().size());
  EXPECT_FALSE(state.global_declarations());
}

TEST_F(ScriptStateTest, PositionsAreKept) {
  feed("(declare-const p Bool)\n  (assert p)");
  EXPECT_EQ(2u, state.assertions()[0].position.line);
  EXPECT_EQ(3u, state.assertions()[0].position.column);
}

}  // namespace
}  // namespace vell::engine
