#pragma once

// A profile as tables on a terminal, and the difference of two profiles.
//
// Tested by tests/report/tables_test.cpp.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "vell/report/profile.h"
#include "vell/run/limits.h"

namespace vell::report {

// top: how many assertions and terms are listed. Throws run::Stopped.
std::string tables(Profile const& profile, std::size_t top, run::Limits const& limits);

// Both as to_json() makes them, or read_profile() reads them: what `after` has more or less than `before`.
std::string difference(nlohmann::ordered_json const& before, nlohmann::ordered_json const& after,
                       std::size_t top);

}  // namespace vell::report
