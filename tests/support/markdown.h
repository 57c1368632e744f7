#pragma once

// Tables and fenced blocks of a Markdown file, for tests that hold the documentation to the code.

#include <string>
#include <vector>

namespace vell::test {

struct MarkdownTable {
  struct Row {
    int line;
    std::vector<std::string> cells;  // backticks and outer blanks removed
  };
  int line;  // of the header
  std::vector<std::string> header;
  std::vector<Row> rows;
};

struct MarkdownFence {
  int line;          // of the first line of text
  std::string info;  // what stands behind the opening backticks
  std::string text;  // every line with its newline
};

struct MarkdownFile {
  std::vector<MarkdownTable> tables;
  std::vector<MarkdownFence> fences;
};

// Throws std::runtime_error for a file that cannot be read.
MarkdownFile read_markdown(std::string const& path);

}  // namespace vell::test
