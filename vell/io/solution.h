#pragma once

// What a SAT solver prints: one `s` line and, for a satisfiable formula, `v` lines.
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

  // largest: the number of the last variable there is.
  explicit Solution(std::int64_t largest = INT32_MAX) : largest_(largest) {}

  // Takes the next piece of the output, cut anywhere. Other lines are skipped, except that a line SAT, UNSAT
  // or INDET with bare literals after it, as MiniSat writes its result file, is understood too; so are
  // answers in small letters, OPTIMUM FOUND, and blanks at the end. Throws Exception for an answer or a
  // literal that is none, a variable above the largest, and what contradicts what came before.
  void feed(std::string_view bytes);
  // Ends the last line. Throws Exception as feed does.
  void finish();

  Status status() const { return status_; }
  // Whether variable v is true; false where no v line named it.
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
