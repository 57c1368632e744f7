#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vell/values/evaluator.h"
#include "vell/words/passes.h"

namespace vell::script {

// The options of set-option that the engine obeys and keeps. The channels are the console's.
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

// The text between the quotes of a string literal, doubled quotes made single; nothing for other text.
std::optional<std::string> string_value(std::string_view literal);
// The value of option :words, a string literal. Throws Exception for other text.
words::Passes words_option(std::string const& value);
// The value of a numeral below 2^63; nothing for other text.
std::optional<std::uint64_t> numeral_value(std::string_view text);

// The names of :bv-output-format; nothing for other text.
std::optional<values::WordFormat> word_format(std::string_view text);
char const* word_format_name(values::WordFormat format);

// Whether the engine can execute scripts of the logic: words, perhaps floating-point values beside them, and
// nothing that would have to be understood otherwise.
bool logic_supported(std::string_view logic);
// "logic QF_VB is not supported", with the name of a close one.
std::string logic_refusal(std::string_view logic);

}  // namespace vell::script
