#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vell::engine {

// The options of set-option that the engine obeys and keeps. The channels are the console's.
struct ScriptOptions {
  bool print_success = false;
  bool produce_models = true;  // a model costs nothing, so it is there unless a script declines it
  bool produce_unsat_cores = false;
  bool produce_unsat_assumptions = false;
  bool produce_assignments = false;
  bool global_declarations = false;
  std::uint64_t random_seed = 0;
  std::uint64_t verbosity = 0;

  // The Boolean option of that keyword; null when there is none.
  bool* boolean(std::string_view keyword);
  // The numeric option of that keyword; null when there is none.
  std::uint64_t* number(std::string_view keyword);
};

// The text between the quotes of a string literal, doubled quotes made single; nothing for other text.
std::optional<std::string> string_value(std::string_view literal);
// The value of a numeral below 2^63; nothing for other text.
std::optional<std::uint64_t> numeral_value(std::string_view text);

// Whether the engine can execute scripts of the logic: words, perhaps floating-point values beside them, and nothing
// that would have to be understood otherwise.
bool logic_supported(std::string_view logic);

}  // namespace vell::engine
