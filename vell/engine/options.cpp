#include "vell/engine/options.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "vell/smtlib/spelling.h"
#include "vell/terms/exception.h"

namespace vell::engine {

namespace {

// The logics that are, or contain, quantifier-free bit-vectors. Terms of other theories are refused where
// they occur.
constexpr std::string_view logics[] = {"ALL",        "QF_ALL",  "BV",      "QF_BV", "QF_UFBV",  "QF_ABV",
                                       "QF_AUFBV",   "QF_BVFP", "QF_FPBV", "QF_FP", "QF_ABVFP", "QF_UFBVFP",
                                       "QF_AUFBVFP", "BVFP",    "QF_UF",   "UFBV",  "ABV",      "AUFBV",
                                       "FP",         "QF_UFFP", "CORE"};

constexpr std::string_view keywords[] = {":print-success",
                                         ":produce-models",
                                         ":produce-unsat-cores",
                                         ":produce-unsat-assumptions",
                                         ":produce-assignments",
                                         ":produce-assertions",
                                         ":global-declarations",
                                         ":random-seed",
                                         ":verbosity",
                                         ":reproducible-resource-limit",
                                         ":timeout",
                                         ":bv-output-format",
                                         ":words",
                                         ":regular-output-channel",
                                         ":diagnostic-output-channel"};

constexpr char const* format_names[] = {"binary", "hexadecimal", "decimal"};

}  // namespace

bool* ScriptOptions::boolean(std::string_view keyword) {
  if (keyword == ":print-success") return &print_success;
  if (keyword == ":produce-models") return &produce_models;
  if (keyword == ":produce-unsat-cores") return &produce_unsat_cores;
  if (keyword == ":produce-unsat-assumptions") return &produce_unsat_assumptions;
  if (keyword == ":produce-assignments") return &produce_assignments;
  if (keyword == ":produce-assertions") return &produce_assertions;
  if (keyword == ":global-declarations") return &global_declarations;
  return nullptr;
}

std::uint64_t* ScriptOptions::number(std::string_view keyword) {
  if (keyword == ":random-seed") return &random_seed;
  if (keyword == ":verbosity") return &verbosity;
  if (keyword == ":reproducible-resource-limit") return &conflict_limit;
  if (keyword == ":timeout") return &timeout;
  return nullptr;
}

std::string ScriptOptions::hint(std::string_view keyword) {
  smtlib::Spelling spelling(keyword);
  for (std::string_view k : keywords) spelling.offer(k);
  return spelling.hint();
}

std::optional<values::WordFormat> word_format(std::string_view text) {
  for (std::size_t i = 0; i < std::size(format_names); ++i)
    if (text == format_names[i]) return static_cast<values::WordFormat>(i);
  return std::nullopt;
}

char const* word_format_name(values::WordFormat format) {
  return format_names[static_cast<std::size_t>(format)];
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

words::Passes words_option(std::string const& value) {
  std::optional<std::string> const names = string_value(value);
  if (!names) throw Exception(":words takes a string, not " + value);
  return words::parse_passes(*names);
}

std::optional<std::uint64_t> numeral_value(std::string_view text) {
  std::uint64_t n = 0;
  auto const [end, status] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (status != std::errc() || end != text.data() + text.size() || n > INT64_MAX) return std::nullopt;
  return n;
}

bool logic_supported(std::string_view logic) {
  return std::find(std::begin(logics), std::end(logics), logic) != std::end(logics);
}

std::string logic_refusal(std::string_view logic) {
  smtlib::Spelling spelling(logic);
  for (std::string_view l : logics) spelling.offer(l);
  return "logic " + std::string(logic) + " is not supported" + spelling.hint();
}

}  // namespace vell::engine
