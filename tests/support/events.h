#pragma once

// What the clausifier does, as lines of text.
//
// Everything that can be seen from outside goes into one list of events, in the order in which it happens.
// The lines are those that `vell-bv replay` prints (docs/replay.md), so an expectation can be compared with a
// scenario and copied from the output of a replay script:
//
//   new 5                  the sink was asked for a fresh literal and gave 5
//   atom (bvult x y) none  the sink was asked for the literal of an atom and has none (or: its literal)
//   clause -2 3            a clause, in buffer order
//   trace TEXT             a complete trace line
//   poll                   the termination test was called
//   fpencode f, fpbits f   the floating-point layer was called
//
// An expectation has one event to a line, indented at will. For brevity it may say
//
//   clauses -2 -3 4 | 2 -4   one clause after the other
//   trace "TEXT"             trace TEXT; the quotes keep blanks at its ends
//   log "TEXT"               trace BV:Word clausifier - TEXT
//
// Nothing is traced unless the verbosity is raised:
//
//   TEST_F(GatesTest, AndOfTwoVariables) {
//     EXPECT_EQ(c.bit_and(&sink, 2, 3), 100);
//     EXPECT_EVENTS(R"(
//       new 100
//       clauses -2 -3 100 | 2 -100 | 3 -100
//     )");
//   }
//
// A trace that ends in a term, `log "...(bvadd x y)"`, needs another delimiter: R"-( ... )-".

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "vell/terms/literal.h"

namespace vell::test {

inline constexpr std::string_view trace_prefix = "BV:Word clausifier - ";

// One line each, without its end.
using Events = std::vector<std::string>;

// The event that `log "TEXT"` stands for.
std::string log_event(std::string_view text);
// The events of an expectation, without abbreviations.
Events parse_events(std::string_view text);

std::string join_lines(std::vector<std::string> const& lines);
std::string to_string(bv::BvLitList const& bits);

// Compares the events with an expectation and forgets them.
::testing::AssertionResult match_events(Events& actual, std::string_view expected);
// Compares with the lines of a text, trimmed; empty ones do not count.
::testing::AssertionResult match_lines(std::vector<std::string> const& actual, std::string_view expected);

// The events recorded since the last of these, in a fixture that has `events`.
#define EXPECT_EVENTS(expected) EXPECT_TRUE(::vell::test::match_events(events, expected))
#define EXPECT_NO_EVENTS() EXPECT_TRUE(::vell::test::match_events(events, ""))

}  // namespace vell::test
