#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vell/values/evaluator.h"
#include "vell/words/passes.h"

namespace vell::engine {

// The options of set-option that the engine supports. The output channels are in the console.
struct ScriptOptions {
  bool print_success = false;
  bool produce_models = true;  // a model costs nothing, so it is there unless a script declines it
  bool produce_unsat_cores = false;
  bool produce_unsat_assumptions = false;
  bool produce_assignments = false;
  bool produce_assertions = true;
  bool global_declarations = false;
  std::uint64_t random_seed = 0;
  std::uint64_t verbosity = 0;
  words::Passes passes = words::Passes::all;  // :words, a string
  std::uint64_t conflict_limit = 0;           // :reproducible-resource-limit, of each check; 0: none
  std::uint64_t timeout = 0;                  // milliseconds for each check; 0: none
  values::WordFormat word_format = values::WordFormat::binary;

  // The Boolean option of that keyword; null when there is none.
  bool* boolean(std::string_view keyword);
  // The numeric option of that keyword; null when there is none.
  std::uint64_t* number(std::string_view keyword);
  // "; did you mean ...?" for a keyword close to that of an option; "" for another.
  static std::string hint(std::string_view keyword);
};

// The contents of a string literal, with doubled quotes made single; no value for other text.
std::optional<std::string> string_value(std::string_view literal);
// The value of option :words, a string literal. Throws Exception for other text.
words::Passes words_option(std::string const& value);
// The value of a numeral below 2^63; no value for other text.
std::optional<std::uint64_t> numeral_value(std::string_view text);

// The format that :bv-output-format names so; no value for other text.
std::optional<values::WordFormat> word_format(std::string_view text);
char const* word_format_name(values::WordFormat format);

// Whether the engine accepts scripts of the logic: bit-vectors, possibly with theories whose terms are
// refused where they occur.
bool logic_supported(std::string_view logic);
// "logic QF_VB is not supported", with a suggestion of a similar name.
std::string logic_refusal(std::string_view logic);

}  // namespace vell::engine
