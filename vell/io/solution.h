#pragma once

// The output of a SAT solver: one `s` line and, for a satisfiable formula, `v` lines.
//
// Tested by tests/io/solution_test.cpp.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vell::io {

class Solution {
 public:
  enum class Status : std::uint8_t { none, sat, unsat, unknown };

  // largest: the number of the last variable.
  explicit Solution(std::int64_t largest = INT32_MAX) : largest_(largest) {}

  // Takes the next piece of the output, which may end anywhere. Other lines are skipped. MiniSat's result
  // files are accepted too: a line SAT, UNSAT or INDET, followed by literals without `v`. So are answers in
  // lower case, OPTIMUM FOUND, and trailing blanks. Throws Exception for an unknown answer, for text that is
  // no literal, for a variable above the largest, and for contradictions.
  void feed(std::string_view bytes);
  // Ends the last line. Throws Exception as feed() does.
  void finish();

  Status status() const { return status_; }
  // Whether variable v is true; false if no v line names it.
  bool value(std::int64_t v) const { return static_cast<std::size_t>(v) < values_.size() && values_[v]; }
  // Whether the values were ended by 0.
  bool complete() const { return complete_; }

 private:
  void line(std::string_view text);
  void answer(Status status);
  void literals(std::string_view text);

  std::int64_t largest_;
  Status status_ = Status::none;
  std::vector<bool> values_;  // by variable
  std::vector<bool> named_;   // whether a v line names it
  bool bare_ = false;         // a MiniSat result file: literals follow the answer without a v
  bool complete_ = false;
  std::string rest_;
};

}  // namespace vell::io
