#pragma once

// A fixture with a clausifier whose sink, logger, termination test and floating-point layer record events
// (tests/support/events.h).

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <ostream>
#include <random>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/events.h"
#include "tests/support/recordingsink.h"
#include "vell/bv/inspector.h"
#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

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

// Turns complete lines into "trace" events; text without its newline waits in pending().
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

// Lists of the pool that are in use and are not the list of a cached term: 0 unless something was lost or is
// held.
std::int64_t stray_lists(bv::WordClausifier const& c);

// A word of literals 2 to 9, their negations and, with the given probability, constants.
bv::BvLitList random_word(std::mt19937& random, std::size_t width, double constants);

class ClausifierTest : public ::testing::Test, public Recorder {
 protected:
  ClausifierTest() { c.set_logger(&logger); }

  // ---- terms ----
  Term_ const* bv_var(std::string_view name, std::uint64_t width) {
    return tm.mk_variable(name, tm.bv_type(width));
  }
  Term_ const* bool_var(std::string_view name) { return tm.mk_variable(name, tm.bool_type); }
  // A term of any tag and role, sorts unchecked, printed as `label` where one is given.
  Term_ const* raw_term(SymbolTag::tag tag, Type const* type, std::vector<Term_ const*> const& children,
                        std::string_view label = {}, Symbol::Role role = Symbol::Role::plain);
  // A rounding-mode constant (0 to 3).
  Term_ const* rounding_mode_term(int mode);
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

  // Every trace line of an action with the lowest verbosity at which it is written, in order: `LEVEL "text"`
  // for a line of the clausifier, its prefix left out, and `LEVEL trace "TEXT"` for any other. The action is
  // run once per verbosity, each time on a new clausifier; the first literal of the sink is 100 each time.
  using Action = std::function<void(bv::WordClausifier&, RecordingSink&)>;
  std::vector<std::string> trace_levels(Action const& action);
  ::testing::AssertionResult match_trace_levels(Action const& action, std::string_view expected);

  TermManager tm;
  Configuration::Theory::Bv config;
  bv::WordClausifier c{&tm, &config};
  bv::WordClausifierInspector inspect{c};
};

// (action, expected), expected as lines `3 "bit_and "`.
#define EXPECT_TRACE_LEVELS(...) EXPECT_TRUE(match_trace_levels(__VA_ARGS__))

}  // namespace vell::test
