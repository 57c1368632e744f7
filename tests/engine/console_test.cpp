#include "vell/engine/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/scratch.h"

namespace vell::engine {
namespace {

// Runs the action on a console and returns what arrived on stdout and stderr, both the console's and its
// destructor's.
struct Output {
  std::string out;
  std::string err;
};
template <typename Action>
Output output_of(Action action) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  {
    Console console;
    action(console);
  }
  Output result;
  result.out = testing::internal::GetCapturedStdout();
  result.err = testing::internal::GetCapturedStderr();
  return result;
}

constexpr char const* erase = "\r\033[K";

TEST(Console, AnswersAreLinesOnStdout) {
  Output const o = output_of([](Console& c) {
    c.answer("sat");
    c.answer("");
    c.answer("((x #b1))");
    EXPECT_TRUE(c.good());
  });
  EXPECT_EQ(o.out, "sat\n\n((x #b1))\n");
  EXPECT_EQ(o.err, "");
}

TEST(Console, AnswersArriveAtOnce) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::fflush(stdout);
  int const saved = dup(STDOUT_FILENO);
  dup2(ends[1], STDOUT_FILENO);
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  Console console;
  console.answer("unsat");
  char text[16];
  ssize_t const n = read(ends[0], text, sizeof text);
  std::fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  for (int fd : {saved, ends[0], ends[1]}) close(fd);
  ASSERT_GT(n, 0);
  EXPECT_EQ(std::string(text, static_cast<std::size_t>(n)), "unsat\n");
}

TEST(Console, DiagnosticsStandAsTheyAre) {
  Output const o = output_of([](Console& c) {
    c.diagnostic("a");
    c.diagnostic("b\n");
    c.message("cannot write: ", "full");
    c.message("stopped");
  });
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, "ab\nvell-bv: cannot write: full\nvell-bv: stopped\n");
}

TEST(Console, NoExcerptWhereStderrIsNoTerminal) {
  EXPECT_EQ(output_of([](Console& c) { c.excerpt("(assert x)\n        ^\n"); }).err, "");
}

TEST(Console, ProgressIsTakenAwayBeforeAnythingElse) {
  Output const o = output_of([](Console& c) {
    c.progress("reading");
    c.progress("solving");
    c.diagnostic("a\n");
    c.diagnostic("b\n");
    c.progress("solving");
    c.progress("");
    c.progress("");
  });
  std::string const solving = std::string("\rsolving\033[K");
  EXPECT_EQ(o.err, std::string("\rreading\033[K") + solving + erase + "a\nb\n" + solving + erase);
  // An answer and the end take it away too.
  EXPECT_EQ(output_of([](Console& c) {
              c.progress("solving");
              c.answer("sat");
            }).err,
            solving + erase);
  EXPECT_EQ(output_of([](Console& c) { c.progress("solving"); }).err, solving + erase);
}

TEST(Console, ChannelsAreFilesThatAreAppendedTo) {
  test::Scratch s;
  std::string const answers = s.write("answers", "before\n");
  std::string const messages = s.file("messages");
  Output const o = output_of([&](Console& c) {
    EXPECT_EQ(c.regular_channel(), "stdout");
    EXPECT_EQ(c.diagnostic_channel(), "stderr");
    EXPECT_TRUE(c.set_regular_channel(answers));
    EXPECT_TRUE(c.set_diagnostic_channel(messages));
    EXPECT_EQ(c.regular_channel(), answers);
    EXPECT_EQ(c.diagnostic_channel(), messages);
    c.answer("sat");
    c.message("one");
    EXPECT_EQ(s.read("answers"), "before\nsat\n");  // at once
    EXPECT_TRUE(c.set_regular_channel("stderr"));
    EXPECT_TRUE(c.set_diagnostic_channel("stdout"));
    c.answer("unsat");
    c.diagnostic("two\n");
    EXPECT_TRUE(c.set_regular_channel(answers));
    c.answer("unknown");
  });
  EXPECT_EQ(s.read("answers"), "before\nsat\nunknown\n");
  EXPECT_EQ(s.read("messages"), "vell-bv: one\n");
  EXPECT_EQ(o.out, "two\n");
  EXPECT_EQ(o.err, "unsat\n");
}

TEST(Console, AChannelThatCannotBeOpenedChangesNothing) {
  test::Scratch s;
  std::string const nowhere = s.file("none/file");
  Output const o = output_of([&](Console& c) {
    EXPECT_FALSE(c.set_regular_channel(nowhere));
    EXPECT_FALSE(c.set_diagnostic_channel(nowhere));
    EXPECT_EQ(c.regular_channel(), "stdout");
    EXPECT_EQ(c.diagnostic_channel(), "stderr");
    c.answer("sat");
    c.diagnostic("a");
    EXPECT_TRUE(c.good());
  });
  EXPECT_EQ(o.out, "sat\n");
  EXPECT_EQ(o.err, "a");
}

// Whoever counts the answers must not take a later one for the one that was lost.
TEST(Console, AfterAFailureAChannelSaysNothingMore) {
  test::Scratch s;
  Output const o = output_of([&](Console& c) {
    ASSERT_TRUE(c.set_regular_channel("/dev/full"));
    EXPECT_TRUE(c.good());
    c.answer("sat");
    EXPECT_FALSE(c.good());
    c.diagnostic("still heard\n");
    ASSERT_TRUE(c.set_regular_channel(s.file("answers")));
    c.answer("unsat");
    EXPECT_FALSE(c.good());  // an answer is missing
  });
  EXPECT_EQ(o.err, "still heard\n");
  EXPECT_EQ(s.read("answers"), "unsat\n");
}

TEST(Console, NothingIsSaidAfterTheEnd) {
  Output const o = output_of([](Console& c) {
    c.progress("solving");
    EXPECT_TRUE(c.shut("unknown", "report\n"));
    c.answer("sat");
    c.diagnostic("a");
    c.message("b");
    c.progress("c");
    EXPECT_TRUE(c.shut("again", "again"));
    EXPECT_TRUE(c.good());
  });
  EXPECT_EQ(o.out, "unknown\n");
  EXPECT_EQ(o.err, std::string("\rsolving\033[K") + erase + "report\n");
  EXPECT_EQ(output_of([](Console& c) { c.shut("", ""); }).out, "");
}

// The other thread writes into a pipe that nobody reads, and so holds the console.
TEST(Console, TheEndDoesNotWaitForAConsoleThatIsHeld) {
  test::Scratch s;
  std::string const fifo = s.file("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  int const reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  Output const o = output_of([&](Console& c) {
    ASSERT_TRUE(c.set_regular_channel(fifo));
    std::string const large(4'000'000, 'x');
    std::thread writer([&] { c.answer(large); });
    std::string text(1 << 16, ' ');
    while (read(reader, text.data(), 1) != 1) std::this_thread::yield();
    EXPECT_FALSE(c.shut("unknown", "report"));
    for (std::size_t got = 1; got < large.size() + 1;) {
      ssize_t const n = read(reader, text.data(), text.size());
      if (n > 0) got += static_cast<std::size_t>(n);
    }
    writer.join();
    EXPECT_TRUE(c.shut("", "report"));
  });
  close(reader);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, "report");
}

TEST(Console, LinesOfSeveralThreadsStayWhole) {
  Output const o = output_of([](Console& c) {
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c'})
      threads.emplace_back([&c, letter] {
        for (int i = 0; i < 200; ++i) c.answer(std::string(50, letter));
      });
    for (std::thread& t : threads) t.join();
  });
  ASSERT_EQ(o.out.size(), 600u * 51);
  for (std::size_t i = 0; i < o.out.size(); i += 51)
    EXPECT_EQ(o.out.substr(i, 51), std::string(50, o.out[i]) + "\n");
}

}  // namespace
}  // namespace vell::engine
