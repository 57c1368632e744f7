#pragma once

// Where the clauses of a check come from.
//
// Tested by tests/script/report_test.cpp.

#include <cstddef>
#include <cstdint>
#include <string>

#include "vell/script/cnf.h"
#include "vell/script/control.h"
#include "vell/utils/export.h"

namespace vell::script {

// What a profile tells.
struct ProfileOptions : Options {
  std::uint64_t query = 0;   // which check, from 1; 0: the first, or the script's end where it has none
  bool json = false;         // all of it as JSON (docs/profile.md) in the place of tables
  std::string against = {};  // a profile that was written as JSON: the tables tell what differs from it
  std::size_t top = 20;      // so many assertions and terms are listed
};

// Translates a check of the script as write_cnf() does, and tells the clauses of each assertion, operator and
// term as text. Throws as write_cnf() does.
VELL_API std::string profile(std::string const& script, ProfileOptions const& options = {},
                             Control* control = nullptr);
// The same into a file, which appears whole or not at all; "-" is standard output.
VELL_API void write_profile(std::string const& script, std::string const& output,
                            ProfileOptions const& options = {}, Control* control = nullptr);

// A page for a browser that needs nothing else (docs/profile.md). Of the options, `json`, `against` and `top`
// have no meaning.
VELL_API void write_profile_page(std::string const& script, std::string const& output,
                                 ProfileOptions const& options = {}, Control* control = nullptr);

}  // namespace vell::script
