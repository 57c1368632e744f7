#pragma once

// A CNF file, line by line and clause by clause.
//
// Tested by tests/cnf/dimacsreader_test.cpp.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/cnf/mapline.h"
#include "vell/io/source.h"

namespace vell::cnf {

// A source's lines, one after the other.
class Lines {
 public:
  // path: "-" for standard input; compressed files are read as they are. Throws Exception "FILE: reason".
  explicit Lines(std::string const& path);

  // The next line, without its line break, which stays until the next call; false at the end.
  bool next(std::string_view& line);
  std::string const& name() const { return source_->name(); }
  // Throws Exception "FILE:LINE: reason" of the line that came last.
  [[noreturn]] void refuse(std::string const& why) const;
  // Takes the next number from the line; false when nothing but blanks is left. Throws by refuse().
  bool take_number(std::string_view& line, std::int64_t& n) const;

 private:
  std::unique_ptr<io::Source> source_;
  char const* next_;
  std::uint64_t number_ = 0;
};

class DimacsReader {
 public:
  // Reads what stands in front of the clauses. Throws Exception as Lines does, for a broken header or map
  // line as well.
  explicit DimacsReader(std::string const& path);

  std::string const& name() const { return lines_.name(); }
  // Of the constants, without those of names.
  std::vector<MapLine> const& map() const { return map_; }
  std::int64_t variables() const { return variables_; }
  std::int64_t clauses() const { return clauses_; }

  // The next clause; false at the end. Throws Exception for text that is no clause, for a variable above
  // variables(), and at the end unless there were clauses() clauses.
  bool next(std::vector<std::int32_t>& clause);
  // As Lines::refuse().
  [[noreturn]] void refuse(std::string const& why) const { lines_.refuse(why); }

 private:
  Lines lines_;
  std::vector<MapLine> map_;
  std::int64_t variables_ = 0;
  std::int64_t clauses_ = 0;
  std::int64_t read_ = 0;  // clauses
  std::string_view rest_;  // of the line
};

}  // namespace vell::cnf
