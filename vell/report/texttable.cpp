#include "vell/report/texttable.h"

#include <algorithm>
#include <cstdio>

namespace vell::report {

namespace {

std::size_t columns(std::string const& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

std::string TextTable::text() const {
  std::vector<std::size_t> widths;
  for (std::vector<std::string> const& row : rows_)
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i == widths.size()) widths.push_back(0);
      widths[i] = std::max(widths[i], columns(row[i]));
    }
  std::string out;
  for (std::vector<std::string> const& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::string const fill(widths[i] - columns(row[i]), ' ');
      bool const left = i == 0 || i + 1 == widths.size();
      if (i != 0) line += "  ";
      line += left ? row[i] + fill : fill + row[i];
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + '\n';
  }
  return out;
}

std::string with_commas(std::uint64_t n) {
  std::string digits = std::to_string(n);
  for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
  return digits;
}

std::string percent(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return "";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %%", 100.0 * static_cast<double>(part) / static_cast<double>(whole));
  return text;
}

std::string printable(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 32 || c == 127) c = ' ';
  return text;
}

}  // namespace vell::report
