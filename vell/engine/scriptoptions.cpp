#include "vell/engine/scriptoptions.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace vell::engine {

bool* ScriptOptions::boolean(std::string_view keyword) {
  if (keyword == ":print-success") return &print_success;
  if (keyword == ":produce-models") return &produce_models;
  if (keyword == ":produce-unsat-cores") return &produce_unsat_cores;
  if (keyword == ":produce-unsat-assumptions") return &produce_unsat_assumptions;
  if (keyword == ":produce-assignments") return &produce_assignments;
  if (keyword == ":global-declarations") return &global_declarations;
  return nullptr;
}

std::uint64_t* ScriptOptions::number(std::string_view keyword) {
  if (keyword == ":random-seed") return &random_seed;
  if (keyword == ":verbosity") return &verbosity;
  return nullptr;
}

std::optional<std::string> string_value(std::string_view literal) {
  if (literal.size() < 2 || literal.front() != '"' || literal.back() != '"') return std::nullopt;
  std::string out;
  for (std::size_t i = 1; i + 1 < literal.size(); ++i) {
    out += literal[i];
    if (literal[i] == '"') ++i;
  }
  return out;
}

std::optional<std::uint64_t> numeral_value(std::string_view text) {
  std::uint64_t n = 0;
  auto const [end, status] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (status != std::errc() || end != text.data() + text.size() || n > INT64_MAX) return std::nullopt;
  return n;
}

bool logic_supported(std::string_view logic) {
  // The logics that are, or contain, quantifier-free words. What a script uses beyond words is refused where it stands.
  static constexpr std::string_view names[] = {"ALL",     "QF_ALL",   "BV",       "QF_BV",   "QF_UFBV", "QF_ABV",
                                               "QF_AUFBV", "QF_BVFP", "QF_FPBV",  "QF_FP",   "QF_ABVFP", "QF_UFBVFP",
                                               "QF_AUFBVFP", "BVFP",  "QF_UF",    "UFBV",    "ABV",     "AUFBV",
                                               "FP",       "QF_UFFP", "CORE"};
  return std::find(std::begin(names), std::end(names), logic) != std::end(names);
}

}  // namespace vell::engine
