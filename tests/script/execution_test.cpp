#include "vell/script/execution.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/scratch.h"
#include "vell/script/process.h"

namespace vell::script {
namespace {

std::string contents(std::string const& path) {
  std::ostringstream out;
  out << std::ifstream(path).rdbuf();
  return out.str();
}

TEST(Execution, AnswersAScript) {
  test::Scratch scratch;
  Control control;
  Console console;
  std::string const out = scratch.file("out");
  std::string const script =
      "(set-option :regular-output-channel \"" + out +
      "\")(declare-const p Bool)(assert p)(set-info :status unsat)(check-sat)(get-value (p))";
  Execution execution({}, control, console);
  EXPECT_TRUE(execution.run(scratch.write("a.smt2", script)));
  EXPECT_EQ("sat\n((p true))\n", contents(out));
  EXPECT_TRUE(execution.status_contradicted());
  EXPECT_TRUE(console.good());
  EXPECT_EQ(0U, control.unknown_answers());
}

// Hands out lines, and looks at the execution while it reads.
class Lines : public Input {
 public:
  Lines(Execution& execution, std::vector<std::string> lines, std::vector<std::string>& seen)
      : execution_(execution), lines_(std::move(lines)), seen_(seen) {}
  std::size_t read(char* out, std::size_t) override {
    seen_.push_back(execution_.inside_command() ? "open" : "closed");
    if (execution_.names("my").size() == 1) seen_.push_back(execution_.names("my")[0]);
    if (at_ == lines_.size()) throw DialogueEnded();
    std::string const& line = lines_[at_++];
    if (line == "drop") throw LineDropped();
    return line.copy(out, line.size());
  }

 private:
  Execution& execution_;
  std::vector<std::string> lines_;
  std::vector<std::string>& seen_;
  std::size_t at_ = 0;
};

TEST(Execution, LeadsADialogue) {
  test::Scratch scratch;
  Control control;
  Console console;
  std::string const out = scratch.file("out");
  Execution execution({}, control, console);
  std::vector<std::string> seen;
  execution.run_dialogue(std::make_unique<Lines>(
      execution,
      std::vector<std::string>{"(set-option :regular-output-channel \"" + out + "\")\n", "(assert\n", "drop",
                               "(declare-const my_p Bool)\n", "(check-sat)\n"},
      seen));
  EXPECT_EQ("sat\n", contents(out));
  EXPECT_EQ(
      (std::vector<std::string>{"closed", "closed", "open", "closed", "closed", "my_p", "closed", "my_p"}),
      seen);
}

TEST(Execution, RefusesAProofOverItsScript) {
  test::Scratch scratch;
  Control control;
  Console console;
  std::string const script = scratch.write("a.smt2", "(check-sat)");
  ExecutionOptions options;
  options.proof = script;
  Execution execution(options, control, console);
  EXPECT_THROW(execution.run(script), Exception);
  EXPECT_EQ("(check-sat)", contents(script));
}

TEST(Process, ReplaysSingleCalls) {
  std::istringstream in("var x bv 2\nblast x\n");
  std::ostringstream out;
  replay("a.script", in, out);
  EXPECT_NE(std::string::npos, out.str().find("new 2")) << out.str();
  std::istringstream broken("nothing\n");
  try {
    replay("a.script", broken, out);
    FAIL();
  } catch (Error const& e) {
    EXPECT_EQ("a.script", e.file());
    EXPECT_EQ(1U, e.position().line);
  }
}

TEST(Process, HasMemory) { EXPECT_GT(present_memory(), 1'000'000U); }

}  // namespace
}  // namespace vell::script
