#pragma once

// How formulas become clauses.
//
// Tested by tests/script/options_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/terms/logger.h"
#include "vell/utils/export.h"

namespace vell::script {

// How the value of a bit-vector is written.
enum class WordFormat : std::uint8_t {
  binary,       // #b0101
  hexadecimal,  // #x5 where the width is a multiple of four, else binary
  decimal       // (_ bv5 4)
};

// For everything that makes clauses.
struct Options {
  // Passes that simplify formulas before they become clauses: "all", "none", or names with + or - in front,
  // separated by commas: "-products", "none,+equations". options_table() lists them.
  std::string words = "all";
  // Numbers that differ from their defaults, each as "NAME=VALUE". options_table() lists them.
  std::vector<std::string> settings = {};
  // A quotient or remainder by zero is left open; otherwise it has the value that SMT-LIB says.
  bool free_division = false;
  Logger* logger = nullptr;  // of the clausifier; null for none. Not owned
};

// Throw Exception with one line for a text that Options::words, or one of Options::settings, may not be.
VELL_API void check_words(std::string const& words);
VELL_API void check_setting(std::string const& setting);

// The passes and the numbers, a line for each, under two headings.
VELL_API std::string options_table();

// "; did you mean `bvadd` or `bvand`?" with those of the candidates that are close to the word; "" if none
// is.
VELL_API std::string spelling_hint(std::string const& word, std::vector<std::string> const& candidates);

}  // namespace vell::script
