#pragma once

// What a script of calls prints, and its error.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "vell/replay/replay.h"

namespace vell::test {

struct Outcome {
  std::string output;
  std::string error;  // with a newline; empty for none
};

inline Outcome replay(std::string const& script, std::string const& file = "example") {
  std::istringstream in(script);
  std::ostringstream out;
  Outcome outcome;
  try {
    replay::Replay(file, out).run(in);
  } catch (io::Error const& e) {
    outcome.error = std::string(e.what()) + "\n";
  }
  outcome.output = out.str();
  return outcome;
}

inline std::string output_of(std::string const& script) {
  Outcome const outcome = replay(script);
  EXPECT_EQ(outcome.error, "") << script;
  return outcome.output;
}

inline std::string error_of(std::string const& script) { return replay(script).error; }

// Scripts, and what their errors say behind the file name.
using Cases = std::vector<std::pair<std::string, std::string>>;

inline void expect_errors(Cases const& cases) {
  for (auto const& [script, error] : cases) EXPECT_EQ(error_of(script), "example:" + error + "\n") << script;
}

}  // namespace vell::test
