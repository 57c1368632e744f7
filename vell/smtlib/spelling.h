#pragma once

// "did you mean": known words that are similar to an unknown one.
//
// Tested by tests/smtlib/spelling_test.cpp.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vell::smtlib {

// The least number of insertions, deletions, substitutions and swaps of adjacent characters that turn a into
// b; limit + 1 if it is greater.
std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit);

// Collects the candidates closest to a word, with at most two edits, and at most one edit per three letters:
// otherwise most short words would be similar to each other.
class Spelling {
 public:
  explicit Spelling(std::string_view word);
  void offer(std::string_view candidate);
  // "; did you mean `bvadd` or `bvand`?", or "" if no candidate is similar. Names at most three, in the order
  // in which they were offered.
  std::string hint() const;

 private:
  std::string word_;
  std::size_t limit_;  // of edits; falls as better candidates are found
  std::vector<std::string> nearest_;
};

}  // namespace vell::smtlib
