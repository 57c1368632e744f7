// A sink, a termination test or a floating-point layer that throws at every call it gets, one after the
// other, under every handler of the table: what is finished stays, nothing is lost, and the same clausifier
// goes on.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

// Throws once so many calls have returned; negative: never.
class ThrowingLayer : public FpBvCombination {
 public:
  explicit ThrowingLayer(RecordingSink& sink) : sink_(sink) {}
  void encode_term(Term_ const*) override { count(); }
  void get_term_bits(Term_ const*, BvLitList* out) override {
    while (out->size() < 6) out->push_back(sink_.next++);
    count();  // with the list half made
  }
  int calls_left = -1;

 private:
  void count() {
    if (calls_left == 0) throw Interrupted("layer");
    if (calls_left > 0) --calls_left;
  }
  RecordingSink& sink_;
};

class ExceptionsTest : public ClausifierTest, public testing::WithParamInterface<std::size_t> {
 protected:
  // A term of the tag over variables.
  Term_ const* term_of(SymbolTag::tag tag) {
    auto const word = [&](char const* name) { return bv_var(name, std::uint64_t{3}); };
    auto const fp = [&] { return tm.mk_variable("f", tm.fp_type(2, 3)); };
    Term_ const* mode = tm.mk_variable("m", tm.rounding_mode_type);
    switch (tag) {
      case SymbolTag::bool_true:
      case SymbolTag::bool_false: return tm.mk_app(tag, {});
      case SymbolTag::bool_not: return tm.mk_app(tag, {bool_var("p")});
      case SymbolTag::bool_and:
      case SymbolTag::bool_or:
      case SymbolTag::bool_iff: return tm.mk_app(tag, {bool_var("p"), bool_var("q")});
      case SymbolTag::bv_extract: return tm.mk_app(tag, {word("x")}, 2, 1);
      case SymbolTag::bv_rotate_left:
      case SymbolTag::bv_rotate_right: return tm.mk_app(tag, {word("x")}, 1);
      case SymbolTag::bv_zero_extend:
      case SymbolTag::bv_sign_extend: return tm.mk_app(tag, {word("x")}, 2);
      case SymbolTag::bv_not:
      case SymbolTag::bv_neg: return tm.mk_app(tag, {word("x")});
      case SymbolTag::fp_to_sbv:
      case SymbolTag::fp_to_ubv: return tm.mk_app(tag, {mode, fp()}, 3);
      case SymbolTag::fp_as_ieeebv: return tm.mk_app(tag, {fp()});
      default: return tm.mk_app(tag, {word("x"), word("y")});
    }
  }

  // Everything as at the start, for the next round.
  void reset() {
    sink.next = 100;
    sink.clauses.clear();
    sink.new_lits_left = sink.atoms_left = sink.clauses_left = -1;
    termination_test.polls_left = -1;
    layer.calls_left = -1;
    events.clear();
    std::vector<Term_ const*> forgotten;
    c.get_new_fp_terms(forgotten);
  }

  // What a clausifier of its own makes of t when the terms in `known` have those bits already.
  struct Run {
    BvLitList bits;
    std::vector<BvLitList> clauses;
  };
  Run fresh_run(Term_ const* t, std::vector<std::pair<Term_ const*, BvLitList>> const& known, BvLit next,
                bool with_layer) {
    Events ignored;
    RecordingSink own(ignored);
    ThrowingLayer own_layer(own);
    own.next = next;
    WordClausifier w(&tm, &config);
    w.set_logger(&logger);
    if (with_layer) w.set_fp_combination(&own_layer);
    for (auto const& [term, bits] : known) w.set_bits(term, &own, bits);
    w.bit_blast(t, &own);
    return {*w.lookup(t), own.clauses};
  }

  // Throws at call number 0, 1, 2, ... until a run gets through; the number of runs that were stopped.
  int stop_at_every_call(Term_ const* t, bool with_layer, std::function<int&()> const& calls_left) {
    int stopped = 0;
    for (;; ++stopped) {
      reset();
      calls_left() = stopped;
      try {
        c.bit_blast(t, &sink);
      } catch (Interrupted const&) {
        EXPECT_FALSE(c.is_cached(t)) << stopped;
        EXPECT_EQ(stray_lists(c), 0) << stopped;
        EXPECT_EQ(inspect.trail().front(), t);
        // The same clausifier goes on: what was finished keeps its bits, the rest comes as it does over
        // those.
        calls_left() = -1;
        std::vector<std::pair<Term_ const*, BvLitList>> known;
        for (Term_ const* term : inspect.trail())
          if (c.is_cached(term)) known.push_back({term, *c.lookup(term)});
        Run const rest = fresh_run(t, known, sink.next, with_layer);
        sink.clauses.clear();
        c.bit_blast(t, &sink);
        EXPECT_EQ(bits(t), rest.bits) << stopped;
        EXPECT_EQ(sink.clauses, rest.clauses) << stopped;
        // Back to the start, by the two entries of the root.
        c.retract_upto(t);
        c.retract_upto(t);
        EXPECT_TRUE(inspect.trail().empty());
        EXPECT_EQ(inspect.bits_cache().size(), 0u);
        EXPECT_EQ(stray_lists(c), 0);
        reset();
        Run const whole = fresh_run(t, {}, 100, with_layer);
        c.bit_blast(t, &sink);
        EXPECT_EQ(bits(t), whole.bits) << stopped;
        EXPECT_EQ(sink.clauses, whole.clauses) << stopped;
        c.retract_upto(t);
        if (HasFailure()) return stopped;
        continue;
      }
      c.retract_upto(t);
      return stopped;
    }
  }

  ThrowingLayer layer{sink};
};

TEST_P(ExceptionsTest, EveryCallMayThrow) {
  SymbolTag::tag const tag = WordClausifier::builtin_hooks()[GetParam()].tag;
  for (int semantics : {0, 1}) {
    config.div_semantics = semantics;
    for (bool const with_layer : {false, true}) {
      Term_ const* t = term_of(tag);
      bool const floating = tag >= SymbolTag::fp_to_sbv;
      if (with_layer && !floating) continue;
      c.set_fp_combination(with_layer ? &layer : nullptr);
      Run const whole = fresh_run(t, {}, 100, with_layer);
      if (with_layer) {
        EXPECT_EQ(stop_at_every_call(t, true, [&]() -> int& { return layer.calls_left; }), 2);
      }
      EXPECT_EQ(stop_at_every_call(t, with_layer, [&]() -> int& { return sink.clauses_left; }),
                static_cast<int>(whole.clauses.size()));
      stop_at_every_call(t, with_layer, [&]() -> int& { return sink.new_lits_left; });
      stop_at_every_call(t, with_layer, [&]() -> int& { return sink.atoms_left; });
      c.set_termination_test(&termination_test);
      int const polls =
          stop_at_every_call(t, with_layer, [&]() -> int& { return termination_test.polls_left; });
      c.set_termination_test(nullptr);
      EXPECT_EQ(polls, static_cast<int>(t->symbol->arity) + 1);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Handlers, ExceptionsTest, testing::Range(std::size_t{0}, std::size_t{36}),
                         [](auto const& info) {
                           return "tag" + std::to_string(WordClausifier::builtin_hooks()[info.param].tag);
                         });

TEST(ExceptionsCountTest, AllHandlersAreTested) { EXPECT_EQ(WordClausifier::builtin_hooks().size(), 36u); }

}  // namespace
}  // namespace vell::test
