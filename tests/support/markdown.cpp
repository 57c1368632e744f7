#include "tests/support/markdown.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace vell::test {

namespace {

std::string clean_cell(std::string cell) {
  cell.erase(std::remove(cell.begin(), cell.end(), '`'), cell.end());
  std::size_t const first = cell.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return cell.substr(first, cell.find_last_not_of(' ') - first + 1);
}

// The cells of a line "| a | b |".
std::vector<std::string> cells_of(std::string const& line) {
  std::vector<std::string> cells;
  std::size_t start = 1;
  for (std::size_t i = 1; i < line.size(); ++i)
    if (line[i] == '|') {
      cells.push_back(clean_cell(line.substr(start, i - start)));
      start = i + 1;
    }
  return cells;
}

}  // namespace

MarkdownFile read_markdown(std::string const& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  MarkdownFile file;
  bool in_fence = false;
  bool in_table = false;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.rfind("```", 0) == 0) {
      if (!in_fence) file.fences.push_back({number + 1, line.substr(3), ""});
      in_fence = !in_fence;
    } else if (in_fence) {
      file.fences.back().text += line + "\n";
    } else if (line.rfind("|", 0) != 0) {
      in_table = false;
    } else if (!in_table) {
      file.tables.push_back({number, cells_of(line), {}});
      in_table = true;
    } else if (line.rfind("|--", 0) != 0) {
      file.tables.back().rows.push_back({number, cells_of(line)});
    }
  }
  return file;
}

}  // namespace vell::test
