#pragma once

// Pictures by Graphviz: its language DOT, and its program `dot`.
//
// Tested by tests/report/graphviz_test.cpp.

#include <string>
#include <string_view>

#include "vell/run/limits.h"

namespace vell::report {

// A string of DOT with its quotes. Line breaks become "\n"; other control characters become blanks.
std::string dot_string(std::string_view text);

enum class Picture { dot, svg, png, html };

// By the suffix of a path; throws Exception for another one.
Picture picture_of(std::string const& path);

// What `dot` makes of the text: an SVG (without the reference to its DTD, with the SHA-256 of the DOT text in
// a comment) or a PNG. Throws Exception where `dot` is not installed or fails, run::Stopped when the limits
// say so; then dot ends.
std::string drawn(std::string const& dot, Picture picture, run::Limits const& limits);

}  // namespace vell::report
