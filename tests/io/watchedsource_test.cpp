#include "vell/io/watchedsource.h"

#include <gtest/gtest.h>

#include "vell/smtlib/reader.h"

namespace vell::io {
namespace {

std::string script() {
  std::string s = "(declare-const abcdefghij (_ BitVec 8)) ; a comment\n";
  for (int i = 0; i < 50; ++i)
    s += "(assert (bvult abcdefghij\n (bvadd #x0f |abcdefghij|)))(echo \"text with \"\"\")\n";
  return s + "(assert true\n  oops)";
}

// What the reader makes of a script, its error with the position included.
std::string reading(std::unique_ptr<Source> source) {
  TermManager tm;
  smtlib::Reader reader(tm, std::move(source));
  smtlib::Command c;
  std::string out;
  try {
    while (reader.next(c))
      out += std::to_string(c.position.line) + ":" + std::to_string(c.position.column) + c.text + " ";
  } catch (Error const& e) {
    out += e.what();
  }
  return out + std::to_string(tm.term_count());
}

TEST(WatchedSource, TheWindowMakesNoDifference) {
  std::string const text = script();
  std::string const expected = reading(Source::text(text));
  run::Limits limits;
  for (std::size_t window = 1; window < 90; window += window < 10 ? 1 : 13) {
    run::Statistics statistics;
    EXPECT_EQ(expected,
              reading(std::make_unique<WatchedSource>(Source::text(text), limits, statistics, window)));
    EXPECT_GE(text.size(), statistics.input_bytes);
    EXPECT_EQ(expected,
              reading(std::make_unique<WatchedSource>(Source::blocks(text, 17), limits, statistics, window)));
  }
}

TEST(WatchedSource, AnInterruptEndsReading) {
  std::string const text = script();
  for (run::StopReason reason : {run::StopReason::interrupted, run::StopReason::memout}) {
    run::Limits limits;
    limits.stop(reason);
    run::Statistics statistics;
    EXPECT_THROW(reading(std::make_unique<WatchedSource>(Source::text(text), limits, statistics, 100)),
                 run::Stopped);
  }
  run::Limits limits;
  limits.stop(run::StopReason::timeout);
  run::Statistics statistics;
  EXPECT_NO_THROW(reading(std::make_unique<WatchedSource>(Source::text(text), limits, statistics, 100)));
}

}  // namespace
}  // namespace vell::io
