#include "vell/cnf/decoder.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "vell/cnf/mapline.h"
#include "vell/cnf/query.h"
#include "vell/io/digest.h"
#include "vell/io/error.h"
#include "vell/io/solution.h"
#include "vell/io/source.h"
#include "vell/smtlib/reader.h"
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
  std::uint64_t number() const { return number_; }
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

// A constant of the script, or one that others are computed from.
struct Constant {
  std::string symbol;
  std::string sort;
  std::vector<std::string> bits;  // of a map line
  std::string term;               // of a def line, else ""
  bool of_script = true;
  std::uint64_t line = 0;  // in the file
};

struct Header {
  std::vector<Constant> constants;  // in the order of their lines
  std::string digest;               // of the script, "" if the file does not say
  std::int64_t variables = 0;
  std::int64_t clauses = 0;
};

// A constant's line; false for any other.
bool parse_constant(std::string_view line, Constant& out) {
  std::string const aux = "c " + std::string(auxiliary);
  std::string without;
  out.of_script = !line.starts_with(aux);
  if (!out.of_script) {
    without = "c " + std::string(line.substr(aux.size()));
    line = without;
  }
  if (std::optional<MapLine> m = parse_map_line(line)) {
    out.symbol = std::move(m->symbol);
    out.sort = std::move(m->sort);
    out.bits = std::move(m->bits);
    return true;
  }
  std::optional<DefLine> d = parse_def_line(line);
  if (!d) return false;
  out.symbol = std::move(d->symbol);
  out.sort = std::move(d->sort);
  out.term = std::move(d->term);
  return true;
}

// What stands in front of the clauses.
Header read_header(Lines& cnf) {
  constexpr std::string_view digest = "c sha256 ";
  Header out;
  std::string_view line;
  bool names = false;
  while (cnf.next(line)) {
    names = names || line == std::string("c ") + names_heading;
    if (line.starts_with(digest)) out.digest = line.substr(digest.size());
    try {
      if (Constant c; !names && parse_constant(line, c)) {
        c.line = cnf.number();
        out.constants.push_back(std::move(c));
      }
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

// The values of the constants of map lines, from the solution.
class Mapped : public values::Assignment {
 public:
  void set(Term_ const* t, std::vector<std::uint64_t> words) { values_[t] = std::move(words); }
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
    auto const found = values_.find(t);
    if (found == values_.end()) {
      asked_in_vain_ = true;
      return;
    }
    std::copy_n(found->second.begin(), (width + 63) / 64, words);
  }
  // Another term has the value from now on.
  void move(Term_ const* from, Term_ const* to) {
    auto node = values_.extract(from);
    node.key() = to;
    values_.insert(std::move(node));
  }
  // Whether a value was asked for that is not there; it was taken for zero.
  bool asked_in_vain() const { return asked_in_vain_; }

 private:
  std::unordered_map<Term_ const*, std::vector<std::uint64_t>> values_;
  mutable bool asked_in_vain_ = false;
};

std::vector<std::uint64_t> map_value(Constant const& c, Header const& header, io::Solution const& solution) {
  std::vector<std::uint64_t> words(c.bits.size() / 64 + 1, 0);
  for (std::size_t i = 0; i < c.bits.size(); ++i) {
    std::string const& bit = c.bits[i];
    bool value = bit == "T";
    if (!value && bit != "F" && bit != "?") {
      std::int64_t const literal = std::stoll(bit);
      std::int64_t const v = literal < 0 ? -literal : literal;
      if (v > header.variables) throw Exception("no variable " + bit);
      value = solution.value(v) == (literal > 0);
    }
    if (value) words[i / 64] |= std::uint64_t{1} << (i % 64);
  }
  return words;
}

// The constants with their values. Def lines are read as definitions of a script that declares those of map
// lines; only those of a file that has any.
class Model {
 public:
  Model(Header const& header, io::Solution const& solution, std::string const& file)
      : header_(header), file_(file), evaluator_(tm_) {
    for (Constant const& c : header.constants) {
      if (!c.term.empty()) continue;
      std::uint64_t const width = c.bits.size();
      Type const* const type = parse_sort(tm_, c.sort, width);
      // Versions without floating point wrote two bits for a rounding mode, of which they had four.
      bool const two_bits = type == tm_.rounding_mode_type && width == 2;
      if (type == nullptr || (values::value_width(tm_, type) != width && !two_bits))
        refuse(c, std::to_string(width) + " bits for sort " + c.sort);
      Term_ const* const t = tm_.mk_variable(c.symbol.c_str(), type);
      try {
        mapped_.set(t, map_value(c, header, solution));
      } catch (Exception const& e) {
        refuse(c, e.what());
      }
      terms_[&c] = t;
    }
    read_definitions();
    evaluator_.set_assignment(mapped_);
  }

  std::string text(values::WordFormat format) {
    std::string out = "sat\n(";
    for (Constant const& c : header_.constants)
      if (c.of_script)
        out += "\n  (define-fun " + c.symbol + " () " + c.sort + " " +
               evaluator_.text(terms_.at(&c), format) + ")";
    return out + "\n)\n";
  }

  // Throws unless the assertions of the script are true.
  void check(DecodedScript const& script) {
    if (!header_.digest.empty() && io::input_digest(script.path) != header_.digest)
      throw Exception(file_ + ": written for another script than " + script.path);
    std::unordered_map<std::string_view, Term_ const*> by_symbol;
    for (Constant const& c : header_.constants)
      if (c.of_script) by_symbol[c.symbol] = terms_.at(&c);
    TermManager tm;
    run::Statistics unused;
    Assertions const given =
        read_assertions(script.path, script.query, words::Passes::none, tm, run::no_limits(), unused);
    Mapped values;
    for (Term_ const* t : given.state.declared()) {
      auto const found = by_symbol.find(smtlib::quote_symbol(t->symbol->name));
      if (found == by_symbol.end()) continue;
      std::uint64_t const width = values::value_width(tm, t->symbol->get_output_type());
      if (values::value_width(tm_, found->second->symbol->get_output_type()) != width)
        throw Exception(given.file + ": " + t->symbol->name + " has another sort than in " + file_);
      std::uint64_t const* const words = evaluator_.value(found->second);
      values.set(t, {words, words + (width + 63) / 64});
    }
    values::Evaluator evaluator(tm);
    evaluator.set_assignment(values);
    for (std::size_t i = 0; i < given.formulas.size(); ++i) {
      if (evaluator.is_true(given.formulas[i])) continue;
      throw io::Error(given.file, given.positions[i],
                      values.asked_in_vain()
                          ? "cannot be checked: it depends on a value that " + file_ + " does not have"
                          : "the model in " + file_ + " does not satisfy this");
    }
  }

 private:
  [[noreturn]] void refuse(Constant const& c, std::string const& why) const {
    throw Exception(file_ + ": " + (c.term.empty() ? "map" : "def") + " line of " + c.symbol + ": " + why);
  }

  void read_definitions() {
    std::string script;
    std::vector<Constant const*> read;  // one for each command
    for (Constant const& c : header_.constants) {
      script += c.term.empty() ? "(declare-const " + c.symbol + " " + c.sort + ")\n"
                               : "(define-fun " + c.symbol + " () " + c.sort + " " + c.term + ")\n";
      read.push_back(&c);
    }
    if (std::ranges::none_of(header_.constants, [](Constant const& c) { return !c.term.empty(); })) return;
    smtlib::Reader reader(tm_, io::Source::text(script));
    smtlib::Command command;
    std::size_t next = 0;
    try {
      while (reader.next(command)) {
        bool const declares = command.kind == smtlib::CommandKind::declare;
        bool const defines = command.kind == smtlib::CommandKind::define && !command.terms.empty();
        if (next >= read.size() || !(read[next]->term.empty() ? declares : defines))
          throw Exception("no term");
        Constant const& c = *read[next++];
        Term_ const* const t = command.terms[0];
        if (!c.term.empty()) {
          terms_[&c] = t;
        } else {
          // The reader has a constant of its own for it.
          mapped_.move(terms_.at(&c), t);
          terms_[&c] = t;
        }
      }
    } catch (io::Error const& e) {
      refuse(*read[std::min(next, read.size() - 1)], e.message());
    } catch (Exception const& e) {
      refuse(*read[std::min(next, read.size() - 1)], e.what());
    }
    if (next != read.size()) refuse(*read[next], "no term");
  }

  Header const& header_;
  std::string const file_;
  TermManager tm_;
  Mapped mapped_;
  std::unordered_map<Constant const*, Term_ const*> terms_;
  values::Evaluator evaluator_;
};

}  // namespace

std::string decode(std::string const& cnf, std::string const& solution_path, values::WordFormat format,
                   DecodedScript const& script) {
  if (cnf == "-" && solution_path == "-")
    throw Exception("the CNF and the solution cannot both be standard input");
  Lines lines(cnf);
  Header const header = read_header(lines);
  io::Solution const solution = read_solution(solution_path, header.variables);
  if (solution.status() == io::Solution::Status::unsat) return "unsat\n";
  if (solution.status() == io::Solution::Status::unknown) return "unknown\n";
  check_clauses(lines, header, solution, solution_path == "-" ? "<stdin>" : solution_path);
  Model model(header, solution, lines.name());
  if (!script.path.empty()) model.check(script);
  return model.text(format);
}

}  // namespace vell::cnf
