#pragma once

// Columns of text for a terminal.
//
// Tested by tests/report/texttable_test.cpp.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace vell::report {

// The first column and the last are flush left, numbers between them flush right. Bytes of UTF-8 that
// continue a character take no column.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header) : rows_{std::move(header)} {}
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  // Whether there is a row beside the header.
  bool empty() const { return rows_.size() == 1; }
  // The lines, each ended by a newline and without blanks at its end.
  std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

// 1,234,567.
std::string with_commas(std::uint64_t n);
// "12.3 %" of the whole; "" where the whole is 0.
std::string percent(std::uint64_t part, std::uint64_t whole);
// A readable copy of foreign text: control characters become blanks.
std::string printable(std::string text);

}  // namespace vell::report
