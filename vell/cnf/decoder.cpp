#include "vell/cnf/decoder.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <vector>

#include "vell/cnf/mapline.h"
#include "vell/io/solution.h"
#include "vell/io/source.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"
#include "vell/values/evaluator.h"

namespace vell::cnf {

namespace {

// A source's lines, one after the other.
class Lines {
 public:
  explicit Lines(std::string const& path) : source_(io::Source::open(path)), next_(source_->begin()) {}

  // The next line, which stays until the next call; false at the end.
  bool next(std::string_view& line) {
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

  std::string const& name() const { return source_->name(); }
  [[noreturn]] void refuse(std::string const& why) const {
    throw Exception(name() + ":" + std::to_string(number_) + ": " + why);
  }

 private:
  std::unique_ptr<io::Source> source_;
  char const* next_;
  std::uint64_t number_ = 0;
};

// Takes the next number from the line; false when nothing but blanks is left. Throws through `lines`.
bool take_number(Lines const& lines, std::string_view& line, std::int64_t& n) {
  std::size_t const start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos) return false;
  line.remove_prefix(start);
  auto const [end, status] = std::from_chars(line.data(), line.data() + line.size(), n);
  std::size_t const length = static_cast<std::size_t>(end - line.data());
  if (status != std::errc() || (length != line.size() && line[length] != ' ' && line[length] != '\t'))
    lines.refuse("no number: " + std::string(line.substr(0, line.find_first_of(" \t"))));
  line.remove_prefix(length);
  return true;
}

struct Header {
  std::vector<MapLine> map;  // of the constants
  std::int64_t variables = 0;
  std::int64_t clauses = 0;
};

// What stands in front of the clauses.
Header read_header(Lines& cnf) {
  Header out;
  std::string_view line;
  bool names = false;
  while (cnf.next(line)) {
    names = names || line == std::string("c ") + names_heading;
    try {
      if (std::optional<MapLine> m = parse_map_line(line); m && !names) out.map.push_back(std::move(*m));
    } catch (Exception const& e) {
      cnf.refuse(e.what());
    }
    if (!line.starts_with("p cnf ")) continue;
    line.remove_prefix(6);
    if (!take_number(cnf, line, out.variables) || !take_number(cnf, line, out.clauses) || out.variables < 0 ||
        out.variables > INT32_MAX || out.clauses < 0 ||
        line.find_first_not_of(" \t") != std::string_view::npos)
      cnf.refuse("a broken DIMACS header (p cnf VARIABLES CLAUSES)");
    return out;
  }
  throw Exception(cnf.name() + ": no DIMACS header (p cnf)");
}

io::Solution read_solution(std::string const& path, std::int64_t variables) {
  io::Solution solution(variables);
  Lines answers(path);
  try {
    for (std::string_view line; answers.next(line);) {
      solution.feed(line);
      solution.feed("\n");
    }
    solution.finish();
  } catch (io::Error const&) {
    throw;
  } catch (Exception const& e) {
    answers.refuse(e.what());
  }
  if (solution.status() == io::Solution::Status::none)
    throw Exception(answers.name() + ": no answer (s line)");
  return solution;
}

// Throws unless the values, false where there is none, satisfy every clause that is left to read.
void check_clauses(Lines& cnf, Header const& header, io::Solution const& solution,
                   std::string const& solution_name) {
  std::int64_t clauses = 0;
  bool satisfied = false;
  bool open = false;
  for (std::string_view line; cnf.next(line);) {
    if (line.starts_with('c')) continue;
    for (std::int64_t l = 0; take_number(cnf, line, l);) {
      open = l != 0;
      if (l > header.variables || l < -header.variables) cnf.refuse("no variable " + std::to_string(l));
      if (l != 0) {
        satisfied = satisfied || solution.value(l < 0 ? -l : l) == (l > 0);
        continue;
      }
      if (!satisfied) cnf.refuse("a clause that the values in " + solution_name + " do not satisfy");
      satisfied = false;
      ++clauses;
    }
  }
  if (open) cnf.refuse("the last clause has no 0");
  if (clauses != header.clauses)
    throw Exception(cnf.name() + ": " + std::to_string(clauses) + " clauses, the header says " +
                    std::to_string(header.clauses));
}

// A sort of `width` bits as map lines write it; null for anything else. (No number above the width becomes a
// type.)
Type const* parse_sort(TermManager& tm, std::string_view text, std::uint64_t width) {
  if (text == "Bool") return tm.bool_type;
  if (text == "RoundingMode") return tm.rounding_mode_type;
  auto numbers = [&](std::string_view head, std::uint64_t& a, std::uint64_t* b) {
    if (!text.starts_with(head) || !text.ends_with(')')) return false;
    char const* p = text.data() + head.size();
    char const* const end = text.data() + text.size() - 1;
    auto r = std::from_chars(p, end, a);
    if (r.ec != std::errc()) return false;
    if (b == nullptr) return r.ptr == end;
    if (r.ptr == end || *r.ptr != ' ') return false;
    r = std::from_chars(r.ptr + 1, end, *b);
    return r.ec == std::errc() && r.ptr == end;
  };
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  if (numbers("(_ BitVec ", a, nullptr) && a != 0 && a == width) return tm.bv_type(a);
  if (numbers("(_ FloatingPoint ", a, &b) && a > 0 && b > 1 && a < width && b < width && a + b == width)
    return tm.fp_type(a, b - 1);
  return nullptr;
}

}  // namespace

std::string decode(std::string const& cnf, std::string const& solution_path, values::WordFormat format) {
  if (cnf == "-" && solution_path == "-")
    throw Exception("the CNF and the solution cannot both be standard input");
  Lines lines(cnf);
  Header const header = read_header(lines);
  io::Solution const solution = read_solution(solution_path, header.variables);
  if (solution.status() == io::Solution::Status::unsat) return "unsat\n";
  if (solution.status() == io::Solution::Status::unknown) return "unknown\n";
  check_clauses(lines, header, solution, solution_path == "-" ? "<stdin>" : solution_path);

  TermManager tm;
  std::string out = "sat\n(";
  for (MapLine const& m : header.map) {
    std::uint64_t const width = m.bits.size();
    auto const refuse = [&](std::string const& why) {
      throw Exception(lines.name() + ": map line of " + m.symbol + ": " + why);
    };
    Type const* type = parse_sort(tm, m.sort, width);
    if (type == nullptr || values::value_width(tm, type) != width)
      refuse(std::to_string(width) + " bits for sort " + m.sort);
    std::vector<std::uint64_t> words(width / 64 + 1, 0);
    for (std::uint64_t i = 0; i < width; ++i) {
      std::string const& bit = m.bits[i];
      bool value = bit == "T";
      if (!value && bit != "F" && bit != "?") {
        std::int64_t const literal = std::stoll(bit);
        std::int64_t const v = literal < 0 ? -literal : literal;
        if (v > header.variables) refuse("no variable " + bit);
        value = solution.value(v) == (literal > 0);
      }
      if (value) words[i / 64] |= std::uint64_t{1} << (i % 64);
    }
    out += "\n  (define-fun " + m.symbol + " () " + m.sort + " " +
           values::value_text(tm, type, words.data(), format) + ")";
  }
  return out + "\n)\n";
}

}  // namespace vell::cnf
