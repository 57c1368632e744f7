#pragma once

// What the clausifier does, as text.
//
// Everything that can be seen from outside goes into one list of events, in the order in which it happens:
//
//   new 5                  the sink was asked for a fresh literal and gave 5
//   atom (bvult x y) none  the sink was asked for the literal of an atom and has none (or: its literal)
//   clause -2 3            a clause, in buffer order
//   log "bit_and "         a complete trace line, without the prefix "BV:Word clausifier - "
//   trace "text"           a complete trace line that does not start with the prefix
//   poll                   the termination test was called
//   fpencode f, fpbits f   the floating-point layer was called
//
// Expected events are written the same way, one to a line, indented at will; `clauses -2 -3 4 | 2 -4` is
// short for one clause after the other. Nothing is recorded as a trace unless the verbosity is raised:
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

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "vell/bv/inspector.h"
#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

inline constexpr std::string_view trace_prefix = "BV:Word clausifier - ";

using Events = std::vector<std::string>;

// The events that a readable expectation stands for.
Events parse_events(std::string_view text);
std::string join_lines(std::vector<std::string> const& lines);
std::string to_string(bv::BvLitList const& bits);

// Thrown by the sink, the atom question and the termination test where a test asks for it.
struct Interrupted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A sink that records. Fresh literals count upwards from `next`.
class RecordingSink : public bv::ClauseSink {
 public:
  explicit RecordingSink(Events& events) : events_(events) {}

  bv::BvLit new_lit() override;
  bool atom_lit(Term_ const* term, bv::BvLit& out) override;
  void add_clause() override;

  bv::BvLit next = 100;
  // Literals of atoms: the sink answers true for the terms in here.
  std::map<Term_ const*, bv::BvLit> atoms;
  // How many more calls succeed before one throws Interrupted; negative: all. The call that throws records
  // nothing.
  int new_lits_left = -1;
  int atoms_left = -1;
  int clauses_left = -1;
  // Clauses given so far, for tests of meaning.
  std::vector<bv::BvLitList> clauses;

 private:
  Events& events_;
};

// Counts and records its calls; throws Interrupted once `polls_left` calls have returned (negative: never).
class RecordingTerminationTest : public TerminationTest {
 public:
  explicit RecordingTerminationTest(Events& events) : events_(events) {}
  void operator()() const override;

  mutable int polls_left = -1;

 private:
  Events& events_;
};

// Answers with the bits given for a term; a term without any gets none.
class RecordingFpCombination : public FpBvCombination {
 public:
  explicit RecordingFpCombination(Events& events) : events_(events) {}
  void encode_term(Term_ const* term) override;
  bool is_encoded(Term_ const* term) const override;
  void get_term_bits(Term_ const* term, bv::BvLitList* out) override;

  std::map<Term_ const*, bv::BvLitList> bits;

 private:
  Events& events_;
};

// Turns complete lines into events; text without its newline waits in pending().
class TraceRecorder : public std::streambuf {
 public:
  explicit TraceRecorder(Events& events) : events_(events) {}
  std::string const& pending() const { return pending_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(char const* text, std::streamsize n) override;

 private:
  Events& events_;
  std::string pending_;
};

// Sink, logger and event list of one clausifier.
struct Recorder {
  Recorder() = default;
  Recorder(Recorder const&) = delete;

  Events events;
  RecordingSink sink{events};
  RecordingTerminationTest termination_test{events};
  RecordingFpCombination fp_combination{events};
  TraceRecorder trace{events};
  std::ostream trace_stream{&trace};
  Logger logger{trace_stream};  // verbosity 0
};

class ClausifierTest : public ::testing::Test, public Recorder {
 protected:
  ClausifierTest() { c.set_logger(&logger); }

  // ---- terms ----
  Term_ const* bv_var(std::string_view name, std::uint64_t width) {
    return tm.mk_variable(name, tm.bv_type(width));
  }
  Term_ const* bool_var(std::string_view name) { return tm.mk_variable(name, tm.bool_type); }
  // A term of any tag, sorts unchecked, printed as `label` where one is given.
  Term_ const* raw_term(SymbolTag::tag tag, Type const* type, std::vector<Term_ const*> const& children,
                        std::string_view label = {});
  // Makes `bits` the bits of t, which has none yet, and returns t.
  Term_ const* with_bits(Term_ const* t, bv::BvLitList const& bits) {
    c.set_bits(t, &sink, bits);
    return t;
  }
  Term_ const* bv_var(std::string_view name, bv::BvLitList const& bits) {
    return with_bits(bv_var(name, static_cast<std::uint64_t>(bits.size())), bits);
  }
  Term_ const* bool_var(std::string_view name, bv::BvLit literal) {
    return with_bits(bool_var(name), {literal});
  }

  // ---- results ----
  // The bits of a cached term.
  bv::BvLitList bits(Term_ const* t);
  // The content of a list that a circuit returned; the list goes back to the pool.
  bv::BvLitList take(bv::BvLitList* list);
  // The trail as text: names of terms, "|" for a backtrack point.
  std::string trail();

  // Every trace line of an action with the lowest verbosity at which it is written, as `LEVEL "text"` lines
  // in order (text as in events). The action is run once per verbosity, each time on a new clausifier; the
  // first literal of the sink is 100 each time.
  using Action = std::function<void(bv::WordClausifier&, RecordingSink&)>;
  std::vector<std::string> trace_levels(Action const& action);
  ::testing::AssertionResult match_trace_levels(Action const& action, std::string_view expected);

  TermManager tm;
  Configuration::Theory::Bv config;
  bv::WordClausifier c{&tm, &config};
  bv::WordClausifierInspector inspect{c};
};

// Compares the events recorded so far and forgets them.
::testing::AssertionResult match_events(Events& actual, std::string_view expected);
::testing::AssertionResult match_lines(std::vector<std::string> const& actual, std::string_view expected);

// The events recorded since the last of these.
#define EXPECT_EVENTS(expected) EXPECT_TRUE(::vell::test::match_events(events, expected))
#define EXPECT_NO_EVENTS() EXPECT_TRUE(::vell::test::match_events(events, ""))
// (action, expected), expected as lines `3 "bit_and "`.
#define EXPECT_TRACE_LEVELS(...) EXPECT_TRUE(match_trace_levels(__VA_ARGS__))

}  // namespace vell::test
