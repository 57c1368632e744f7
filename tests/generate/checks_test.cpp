// Each check sees what it is there for: runs that are tampered with do not pass.

#include "tests/generate/checks.h"

#include <gtest/gtest.h>

#include "tests/generate/isolated.h"
#include "tests/generate/meaning.h"
#include "tests/generate/scriptwriter.h"

namespace vell::generate {
namespace {

// A replay whose state can be changed behind a watcher's back.
class TamperedRun : public testing::Test {
 protected:
  // Shows the watcher a line as if it had written `events`, or what it really wrote.
  void step(Watcher& watcher, std::string const& line) {
    out_.str("");
    replay.step(++number_, line);
    show(watcher, line, split_lines(out_.str()));
  }
  void show(Watcher& watcher, std::string const& line, std::vector<std::string> const& events) {
    std::vector<std::string> const tokens = tokens_of(line);
    watcher.after(Step{number_, line, tokens, events, replay});
  }

  std::ostringstream out_;
  std::uint64_t number_ = 0;

 public:
  replay::Replay replay{"script", out_};
};

class StructureCheckTest : public TamperedRun {
 protected:
  void SetUp() override {
    for (char const* line : {"var x bv 2", "var y bv 2", "term a bvult bool x y", "blast a"})
      step(check, line);
  }
  void expect_failure(std::string const& line, std::vector<std::string> const& events) {
    EXPECT_THROW(show(check, line, events), CheckFailure) << line;
  }
  StructureCheck check;
};

TEST_F(StructureCheckTest, FreshLiteralsCountUpwards) {
  show(check, "echo", {"new 8"});
  expect_failure("echo", {"new 8"});
}

TEST_F(StructureCheckTest, ClausesHaveKnownVariables) {
  show(check, "echo", {"clause 2 -3", "clause 1 -1 4 -5"});
  expect_failure("echo", {"clause 2 99"});
  show(check, "setbits x 99 98", {"clause 2 99"});
}

TEST_F(StructureCheckTest, ClausesHaveTwoToFourLiterals) {
  expect_failure("echo", {"clause"});
  expect_failure("echo", {"clause 2"});
  expect_failure("echo", {"clause 2 3 4 5 6"});
}

TEST_F(StructureCheckTest, ClausesHaveNoZero) {
  expect_failure("echo", {"clause 2 0"});
  show(check, "circuit bit_and 0 2", {"clause 2 0"});
}

TEST_F(StructureCheckTest, OnePollForEachDispatch) {
  expect_failure("echo", {"poll"});
  std::string const dispatch = "trace BV:Word clausifier - calling a hook for x";
  show(check, "termtest -1", {});
  show(check, "echo", {"poll", dispatch});
  show(check, "echo", {"poll", dispatch, "poll", "error terminated"});
  expect_failure("echo", {"poll", dispatch, "poll"});
  expect_failure("echo", {"error terminated"});
}

TEST_F(StructureCheckTest, BlastReturnsTheFirstBit) {
  expect_failure("blast a", {"blast a = 2"});
  expect_failure("hooks", {"hooks 62"});
}

TEST_F(StructureCheckTest, CachedTermsAreOnTheTrail) {
  bv::WordClausifier& c = *replay.clausifier();
  Term_ const* a = replay.find_term("a");
  c.retract_upto(replay.find_term("a"));
  show(check, "echo", {});
  c.add_to_cache(a, nullptr);
  expect_failure("echo", {});  // a list is missing
}

class StateCheckTest : public TamperedRun {
 protected:
  void SetUp() override {
    for (char const* line :
         {"var x bv 2", "var y bv 2", "term s bvadd bv 2 x y", "notify x", "push", "blast s"})
      step(check, line);
  }
  StateCheck check;
};

TEST_F(StateCheckTest, PassesWhatTheCommandsDo) {
  step(check, "pop");
  step(check, "pop");  // no marker
  step(check, "blast s");
  step(check, "call word_add s");
  step(check, "retract x");
}

TEST_F(StateCheckTest, SeesAMarkerTooMany) {
  replay.clausifier()->push_backtrack_point();
  EXPECT_THROW(step(check, "echo"), CheckFailure);
}

TEST_F(StateCheckTest, SeesAForgottenTerm) {
  replay.clausifier()->retract_upto(replay.find_term("s"));
  EXPECT_THROW(step(check, "echo"), CheckFailure);
}

TEST_F(StateCheckTest, SeesAPopThatLeavesATerm) {
  bv::BvLitList const bits{2, 3};
  step(check, "pop");
  replay.clausifier()->set_bits(replay.find_term("y"), nullptr, bits);
  EXPECT_THROW(step(check, "iscached y"), CheckFailure);
}

TEST_F(StateCheckTest, SeesChangedBits) {
  replay.clausifier()->lookup(replay.find_term("x"))->front() = 17;
  EXPECT_THROW(step(check, "echo"), CheckFailure);
}

TEST_F(StateCheckTest, SeesALostList) {
  bv::BvLitList* list = replay.clausifier()->new_BvLitList({2, 3});
  EXPECT_THROW(step(check, "echo"), CheckFailure);
  replay.clausifier()->release(list);
}

Record conjunction() {
  Record r;
  r.rule = Record::Rule::operation;
  r.operation.tag = SymbolTag::bool_and;
  r.inputs = {{2}, {3}};
  r.output = {4};
  return r;
}

std::string outcome(std::vector<bv::BvLitList> const& clauses) {
  MeaningCheck check(1);
  for (auto const& c : clauses) check.add_clause(c);
  check.add_record(conjunction());
  check.add_input(2);
  check.add_input(3);
  Counts counts;
  try {
    check.decide(counts);
  } catch (CheckFailure const& e) {
    return e.what();
  }
  return counts.models == 10 ? "" : "no models";
}

TEST(MeaningCheckTest, SeesMissingAndWrongClauses) {
  EXPECT_EQ(outcome({{-2, -3, 4}, {2, -4}, {3, -4}}), "");
  EXPECT_NE(outcome({{-2, -3, 4}, {2, -4}}).find("left open"), std::string::npos);
  EXPECT_NE(outcome({{-2, -3, 4}, {3, -4}}).find("left open"), std::string::npos);
  EXPECT_NE(outcome({{2, -4}, {3, -4}}).find("left open"), std::string::npos);
  EXPECT_NE(outcome({{-2, -3, -4}, {2, 4}, {3, 4}}).find("wrong"), std::string::npos);
  EXPECT_NE(outcome({{-2, -3, 4}, {2, -4}, {3, -4}, {2, 3}}).find("forbid"), std::string::npos);
  EXPECT_NE(outcome({{2, 3}, {2, -3}, {-2, 3}, {-2, -3}}).find("forbid"), std::string::npos);
}

TEST(DeterminismTest, SeesADifferentRun) {
  Script const script = ScriptWriter(11).write();
  std::vector<std::string> written;
  {
    StateCheck state;
    written = run(script, {&state});
  }
  EXPECT_GE(check_determinism(script, written), 2);
  for (std::string& text : written)
    if (text.rfind("new ", 0) == 0) {
      text.insert(4, "1");
      break;
    }
  EXPECT_THROW(check_determinism(script, written), CheckFailure);
}

TEST(IsolatedTest, ReportsScriptsThatAreNotWellFormed) {
  auto const failure = check_isolated({"blast nothing"}, 1, 60);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->check, "well formed");
  EXPECT_FALSE(check_isolated({"var x bv 3", "blast x"}, 1, 60).has_value());
}

TEST(IsolatedTest, CountsWhatWasChecked) {
  int failures = 0;
  Counts const done = check_seeds(100, 20, 60, [&](std::uint64_t, Failure const& f) {
    ++failures;
    ADD_FAILURE() << f.message;
  });
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(done.scripts, 20u);
  EXPECT_GT(done.models, 100u);
  EXPECT_GT(done.records, 1000u);
  EXPECT_GT(done.free_scripts, 10u);
  EXPECT_GT(done.comparisons, 70u);
}

}  // namespace
}  // namespace vell::generate
