// The dialogue at a pseudo-terminal.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/cli/process.h"
#include "tests/cli/scripts.h"

namespace vell::cli {
namespace {

// vell-bv with all its channels on one terminal, in a session of its own so that Ctrl-C reaches it as from a
// keyboard.
class Dialogue {
 public:
  explicit Dialogue(std::vector<std::string> arguments = {}, char const* terminal = "xterm") {
    int ends[2];
    test::open_terminal(120, ends);
    user_ = ends[0];
    std::string const binary = std::string(VELL_BINARY_DIR) + "/vell-bv";
    std::vector<char*> argv{const_cast<char*>(binary.c_str())};
    for (std::string const& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    child_ = fork();
    if (child_ == 0) {
      setsid();
      ioctl(ends[1], TIOCSCTTY, 0);
      for (int fd : {0, 1, 2}) dup2(ends[1], fd);
      setenv("TERM", terminal, 1);
      execv(binary.c_str(), argv.data());
      _exit(127);
    }
    close(ends[1]);
  }
  ~Dialogue() {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    close(user_);
  }

  // Waits until the text has been shown since the last call; false after the time (in 10 ms) or at the
  // program's end.
  bool sees(std::string const& text, int patience = 3000) {
    for (int i = 0; i < patience; ++i) {
      std::size_t const at = shown_.find(text);
      if (at != std::string::npos) {
        last_ = shown_.substr(0, at);
        shown_.erase(0, at + text.size());
        return true;
      }
      if (!read_more()) return false;
    }
    return false;
  }
  void type(std::string const& text) {
    EXPECT_EQ(static_cast<ssize_t>(text.size()), write(user_, text.data(), text.size()));
  }
  void raise(int signal) { kill(child_, signal); }
  // What was shown before the text that was seen last.
  std::string const& before() const { return last_; }
  std::string const& shown() const { return shown_; }

  // The exit code, 256 + signal, or -1 when the program has not ended after half a minute.
  int code() {
    for (int i = 0; i < 3000; ++i) {
      int status = 0;
      // A program that is about to end has closed its terminal: then reading does not wait.
      if (!read_more()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
      if (waitpid(child_, &status, WNOHANG) != child_) continue;
      child_ = -1;
      while (read_more()) continue;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
    }
    return -1;
  }

 private:
  bool read_more() {
    pollfd waiting{user_, POLLIN, 0};
    if (poll(&waiting, 1, 10) <= 0) return child_ > 0;
    char block[4096];
    ssize_t const n = read(user_, block, sizeof block);
    if (n > 0) shown_.append(block, static_cast<std::size_t>(n));
    return n > 0;
  }

  int user_ = -1;
  pid_t child_ = -1;
  std::string shown_;
  std::string last_;
};

class EachTerminal : public testing::TestWithParam<char const*> {};

INSTANTIATE_TEST_SUITE_P(Kinds, EachTerminal, testing::Values("xterm", "dumb"));

TEST_P(EachTerminal, AnswersEachCommandAndEndsAtControlD) {
  Dialogue d({}, GetParam());
  ASSERT_TRUE(d.sees("vell> ")) << d.shown();
  d.type("(declare-const x (_ BitVec 8))\n");
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(assert (= x\n");
  ASSERT_TRUE(d.sees("  ... ")) << d.shown();
  d.type("#x2a))\n");
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(check-sat)(get-value (x))\n");
  ASSERT_TRUE(d.sees("\nsat\r\n((x #b00101010))\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("\x04");
  EXPECT_EQ(0, d.code());
}

TEST_P(EachTerminal, AnErrorDropsTheCommandAndNothingElse) {
  Dialogue d({"-"}, GetParam());
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(declare-const x Bool)(assert (not x))\n");
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(assert (and x\n");
  ASSERT_TRUE(d.sees("  ... "));
  d.type(" y)) (assert false)\n");
  ASSERT_TRUE(d.sees("(error \"<stdin>:3:2: unknown symbol `y`\")\r\n")) << d.shown();
  ASSERT_TRUE(d.sees(" y)) (assert false)\r\n ^\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(check-sat)\n");
  ASSERT_TRUE(d.sees("\nsat\r\n"));
  d.type("(set-logic QF_LIA)\n");
  ASSERT_TRUE(d.sees("logic QF_LIA is not supported"));
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(set-logic QF_BV)(get-model)\n");
  ASSERT_TRUE(d.sees("(define-fun x () Bool false)")) << d.shown();
  d.type("(exit)\n");
  EXPECT_EQ(0, d.code());
}

TEST_P(EachTerminal, ControlCDropsTheCommandThatIsTyped) {
  Dialogue d({}, GetParam());
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(assert\n");
  ASSERT_TRUE(d.sees("  ... "));
  d.type("fal");
  d.type("\x03");
  ASSERT_TRUE(d.sees("vell> ")) << d.shown();
  d.type("(check-sat)\n");
  ASSERT_TRUE(d.sees("\nsat\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("\x04");
  EXPECT_EQ(0, d.code());
}

TEST_P(EachTerminal, ControlCEndsTheCheckThatRuns) {
  Dialogue d({}, GetParam());
  ASSERT_TRUE(d.sees("vell> "));
  std::string script = test::hard();
  for (std::size_t at = script.find(")("); at != std::string::npos; at = script.find(")(", at + 2))
    script.insert(at + 1, "\n");
  d.type(script);
  ASSERT_TRUE(d.sees("solving: ")) << d.shown();
  d.type("\x03");
  ASSERT_TRUE(d.sees("unknown\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(get-info :reason-unknown)\n");
  ASSERT_TRUE(d.sees("(:reason-unknown interrupted)")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(reset)(check-sat)\n");
  ASSERT_TRUE(d.sees("\nsat\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("\x04");
  EXPECT_EQ(0, d.code());
}

TEST_P(EachTerminal, AnIdleDialogueShowsNothing) {
  Dialogue d({"--progress"}, GetParam());
  ASSERT_TRUE(d.sees("vell> "));
  EXPECT_FALSE(d.sees("reading", 150));
  EXPECT_EQ("", d.shown());
}

TEST_P(EachTerminal, SigtermEndsAnIdleDialogue) {
  Dialogue d({}, GetParam());
  ASSERT_TRUE(d.sees("vell> "));
  d.raise(SIGTERM);
  EXPECT_EQ(143, d.code());
  EXPECT_EQ("", d.shown());
}

#ifdef VELL_TEST_LIBEDIT
TEST(Terminal, HistoryAndCompletion) {
  Dialogue d;
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(declare-const counter (_ BitVec 8))\n");
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(get-value (cou\t))\n");  // no model yet, but the name was completed
  ASSERT_TRUE(d.sees("nter ))")) << d.shown();
  ASSERT_TRUE(d.sees("there is no model")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("(check-sat\n");
  ASSERT_TRUE(d.sees("  ... "));
  d.type(")\n");
  ASSERT_TRUE(d.sees("\nsat\r\n")) << d.shown();
  ASSERT_TRUE(d.sees("vell> "));
  d.type("\x1b[A\x1b[A\x1b[A\n");  // up three times: get-value once more
  ASSERT_TRUE(d.sees("((counter #b00000000))")) << d.shown();
  d.type("(bvs\t\t");
  ASSERT_TRUE(d.sees("bvsdiv")) << d.shown();
}
#endif

}  // namespace
}  // namespace vell::cli
