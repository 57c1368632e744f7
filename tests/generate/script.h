#pragma once

// Scripts as lists of lines, and a run of one with everything that each line did.

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vell/replay/replay.h"

namespace vell::generate {

using Script = std::vector<std::string>;

Script split_lines(std::string_view text);
std::string join_lines(Script const& script);
// The tokens of a line; none for an empty line or a comment.
std::vector<std::string> tokens_of(std::string_view line);

// A check that a script does not pass.
class CheckFailure : public std::runtime_error {
 public:
  CheckFailure(std::string check, std::string const& message)
      : std::runtime_error(check + ": " + message), check_(std::move(check)) {}
  std::string const& check() const { return check_; }

 private:
  std::string check_;
};

// What one line of a script did.
struct Step {
  std::uint64_t number;  // of the line, from 1
  std::string const& line;
  std::vector<std::string> const& tokens;  // of the line; not empty
  std::vector<std::string> const& events;  // what it wrote, line by line
  replay::Replay& replay;                  // state after it

  bool failed() const;  // ended by an error
  // Throws CheckFailure, naming the line.
  [[noreturn]] void fail(char const* check, std::string const& message) const;
  void require(bool condition, char const* check, char const* message) const {
    if (!condition) fail(check, message);
  }
};

// Looks at a run. Throws CheckFailure.
class Watcher {
 public:
  virtual ~Watcher() = default;
  virtual void after(Step const& step) = 0;
};

// Runs the script under the watchers. Returns what it wrote, one element for each line of the script; text
// that is pending at the end comes as one more element. Throws CheckFailure "well formed" where the runner
// refuses a line.
std::vector<std::string> run(Script const& script, std::vector<Watcher*> const& watchers = {});

}  // namespace vell::generate
