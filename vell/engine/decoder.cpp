#include "vell/engine/decoder.h"

#include <charconv>
#include <vector>

#include "vell/engine/evaluator.h"
#include "vell/engine/mapline.h"
#include "vell/engine/solution.h"
#include "vell/smtlib/source.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::engine {

namespace {

// Hands out a source's lines until `use` answers false.
template <typename Use>
void each_line(smtlib::Source& source, Use use) {
  char const* at = source.begin();
  std::uint64_t number = 1;
  for (;;) {
    char const* end = at;
    for (;;) {
      while (end != source.end() && *end != '\n') ++end;
      if (end != source.end()) break;
      std::size_t const length = static_cast<std::size_t>(end - at);
      bool const more = source.refill(at);
      at = source.begin();
      end = at + length;
      if (more) continue;
      if (length != 0) use(std::string_view(at, length), number);
      return;
    }
    std::string_view line(at, static_cast<std::size_t>(end - at));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!use(line, number++)) return;
    at = end + 1;
  }
}

// A sort as map lines write it; null for anything else.
Type const* parse_sort(TermManager& tm, std::string_view text) {
  if (text == "Bool") return tm.bool_type;
  if (text == "RoundingMode") return tm.rounding_mode_type;
  auto numbers = [&](std::string_view head, std::uint64_t& a, std::uint64_t* b) {
    if (!text.starts_with(head) || !text.ends_with(')')) return false;
    char const* p = text.data() + head.size();
    char const* const end = text.data() + text.size() - 1;
    auto r = std::from_chars(p, end, a);
    if (r.ec != std::errc()) return false;
    if (b == nullptr) return r.ptr == end;
    if (*r.ptr != ' ') return false;
    r = std::from_chars(r.ptr + 1, end, *b);
    return r.ec == std::errc() && r.ptr == end;
  };
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  if (numbers("(_ BitVec ", a, nullptr) && a != 0) return tm.bv_type(a);
  if (numbers("(_ FloatingPoint ", a, &b) && a > 0 && b > 1) return tm.fp_type(a, b - 1);
  return nullptr;
}

}  // namespace

std::string decode(std::string const& cnf, std::string const& solution_path) {
  if (cnf == "-" && solution_path == "-") throw Exception("the CNF and the solution cannot both be standard input");
  std::vector<MapLine> map;
  std::int64_t variables = -1;
  auto const source = smtlib::Source::open(cnf);
  each_line(*source, [&](std::string_view line, std::uint64_t number) {
    try {
      if (std::optional<MapLine> m = parse_map_line(line)) map.push_back(std::move(*m));
    } catch (Exception const& e) {
      throw Exception(source->name() + ":" + std::to_string(number) + ": " + e.what());
    }
    if (!line.starts_with("p cnf ")) return true;
    line.remove_prefix(6);
    std::from_chars(line.data(), line.data() + line.size(), variables);
    return false;
  });
  if (variables < 0) throw Exception(source->name() + ": no DIMACS header (p cnf)");

  Solution solution;
  auto const answers = smtlib::Source::open(solution_path);
  try {
    each_line(*answers, [&](std::string_view line, std::uint64_t) {
      solution.feed(line);
      solution.feed("\n");
      return true;
    });
    solution.finish();
  } catch (smtlib::Error const&) {
    throw;
  } catch (Exception const& e) {
    throw Exception(answers->name() + ": " + e.what());
  }
  switch (solution.status()) {
    case Solution::Status::none: throw Exception(answers->name() + ": no answer (s line)");
    case Solution::Status::unsat: return "unsat\n";
    case Solution::Status::unknown: return "unknown\n";
    case Solution::Status::sat: break;
  }
  if (!solution.complete()) throw Exception(answers->name() + ": the values (v lines) are not ended by 0");

  TermManager tm;
  std::string out = "sat\n(";
  for (MapLine const& m : map) {
    Type const* type = parse_sort(tm, m.sort);
    if (type == nullptr) throw Exception(source->name() + ": map line of " + m.symbol + ": no sort: " + m.sort);
    std::uint64_t const width = value_width(tm, type);
    if (width != m.bits.size())
      throw Exception(source->name() + ": map line of " + m.symbol + ": " + std::to_string(m.bits.size()) +
                      " bits for sort " + m.sort);
    std::vector<std::uint64_t> words(width / 64 + 1, 0);
    for (std::uint64_t i = 0; i < width; ++i) {
      std::string const& bit = m.bits[i];
      bool value = bit == "T";
      if (!value && bit != "F" && bit != "?") {
        std::int64_t const literal = std::stoll(bit);
        std::int64_t const v = literal < 0 ? -literal : literal;
        if (v > variables) throw Exception(source->name() + ": map line of " + m.symbol + ": no variable " + bit);
        value = solution.value(v) == (literal > 0);
      }
      if (value) words[i / 64] |= std::uint64_t{1} << (i % 64);
    }
    out += "\n  (define-fun " + m.symbol + " () " + m.sort + " " + value_text(tm, type, words.data()) + ")";
  }
  return out + "\n)\n";
}

}  // namespace vell::engine
