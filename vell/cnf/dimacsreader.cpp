#include "vell/cnf/dimacsreader.h"

#include <algorithm>
#include <charconv>

#include "vell/terms/exception.h"

namespace vell::cnf {

// ---- lines ----

Lines::Lines(std::string const& path) : source_(io::Source::open(path)), next_(source_->begin()) {}

bool Lines::next(std::string_view& line) {
  char const* end = next_;
  for (;;) {
    end = std::find(end, source_->end(), '\n');
    if (end != source_->end()) break;
    std::size_t const length = static_cast<std::size_t>(end - next_);
    bool const more = source_->refill(next_);
    next_ = source_->begin();
    end = next_ + length;
    if (more) continue;
    if (length == 0) return false;
    break;
  }
  line = std::string_view(next_, static_cast<std::size_t>(end - next_));
  if (line.ends_with('\r')) line.remove_suffix(1);
  next_ = end == source_->end() ? end : end + 1;
  ++number_;
  return true;
}

void Lines::refuse(std::string const& why) const {
  throw Exception(name() + ":" + std::to_string(number_) + ": " + why);
}

bool Lines::take_number(std::string_view& line, std::int64_t& n) const {
  std::size_t const start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos) return false;
  line.remove_prefix(start);
  auto const [end, status] = std::from_chars(line.data(), line.data() + line.size(), n);
  std::size_t const length = static_cast<std::size_t>(end - line.data());
  if (status != std::errc() || (length != line.size() && line[length] != ' ' && line[length] != '\t'))
    refuse("no number: " + std::string(line.substr(0, line.find_first_of(" \t"))));
  line.remove_prefix(length);
  return true;
}

// ---- header and clauses ----

DimacsReader::DimacsReader(std::string const& path) : lines_(path) {
  std::string_view line;
  bool names = false;
  while (lines_.next(line)) {
    names = names || line == std::string("c ") + names_heading;
    try {
      if (std::optional<MapLine> m = parse_map_line(line); m && !names) map_.push_back(std::move(*m));
    } catch (Exception const& e) {
      refuse(e.what());
    }
    if (!line.starts_with("p cnf ")) continue;
    line.remove_prefix(6);
    if (!lines_.take_number(line, variables_) || !lines_.take_number(line, clauses_) || variables_ < 0 ||
        variables_ > INT32_MAX || clauses_ < 0 || line.find_first_not_of(" \t") != std::string_view::npos)
      refuse("a broken DIMACS header (p cnf VARIABLES CLAUSES)");
    return;
  }
  throw Exception(name() + ": no DIMACS header (p cnf)");
}

bool DimacsReader::next(std::vector<std::int32_t>& clause) {
  clause.clear();
  bool open = false;
  for (;;) {
    for (std::int64_t l = 0; lines_.take_number(rest_, l);) {
      if (l > variables_ || l < -variables_) refuse("no variable " + std::to_string(l));
      if (l == 0) {
        ++read_;
        return true;
      }
      open = true;
      clause.push_back(static_cast<std::int32_t>(l));
    }
    do {
      if (lines_.next(rest_)) continue;
      rest_ = {};
      if (open) refuse("the last clause has no 0");
      if (read_ != clauses_)
        throw Exception(name() + ": " + std::to_string(read_) + " clauses, the header says " +
                        std::to_string(clauses_));
      return false;
    } while (rest_.starts_with('c'));
  }
}

}  // namespace vell::cnf
