#pragma once

// A profile as JSON. docs/profile.md has its schema.
//
// Tested by tests/report/profilejson_test.cpp.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "vell/report/profile.h"
#include "vell/run/limits.h"

namespace vell::report {

// top: how many terms, those with the most clauses of their own. Throws run::Stopped.
nlohmann::ordered_json to_json(Profile const& profile, std::size_t top, run::Limits const& limits);

// Two blanks for each level, a newline at the end. Bytes that are no UTF-8 become U+FFFD.
std::string json_text(nlohmann::ordered_json const& json);

// Reads what json_text() wrote. Throws Exception "FILE: reason" for a file that is no such profile.
nlohmann::ordered_json read_profile(std::string const& path);

}  // namespace vell::report
