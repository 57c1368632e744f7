#pragma once

// A profile as one HTML file that needs nothing else.
//
// The page has a bounded size: it lists the terms that most clauses come from, together with those below
// them, and sums the rest; of a long script it shows the lines that cost most.
//
// Tested by tests/report/profilepage_test.cpp, and in a browser by tests/report/check_pages.py.

#include <string>
#include <string_view>

#include "vell/report/profile.h"
#include "vell/run/limits.h"

namespace vell::report {

struct PageLimits {
  std::size_t terms = 2500;
  std::size_t assertions = 600;
  std::size_t lines = 4000;  // of the script
  std::size_t script_bytes = 200'000;
  std::size_t line_bytes = 300;  // longer ones are cut
};

// script: the whole text. Throws run::Stopped.
std::string profile_page(Profile const& profile, std::string_view script, run::Limits const& limits,
                         PageLimits const& page = {});

}  // namespace vell::report
