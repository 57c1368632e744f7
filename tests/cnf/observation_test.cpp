#include "vell/cnf/observation.h"

#include <gtest/gtest.h>

#include <string>

#include "vell/sinks/recordingsink.h"
#include "vell/smtlib/termprinter.h"

namespace vell::cnf {
namespace {

// Writes down what it is told, and how many events the sink had by then.
class Listing : public TranslationObserver {
 public:
  Listing(TermManager const& tm, sinks::RecordingSink const& sink) : tm_(tm), sink_(sink) {}
  void begin_root(std::size_t) override {}
  void end_root(std::size_t, bv::BvLit) override {}
  void before(Term_ const* t) override {
    text += smtlib::shallow_text(tm_, t) + " " + std::to_string(sink_.events().size());
  }
  void after(Term_ const*, bv::BvLitList const& bits, bool is_leaf) override {
    text += "-" + std::to_string(sink_.events().size()) + (is_leaf ? " leaf" : "") + " [";
    for (bv::BvLit l : bits) text += " " + std::to_string(l);
    text += " ]\n";
  }
  std::string text;

 private:
  TermManager const& tm_;
  sinks::RecordingSink const& sink_;
};

TEST(Observation, TellsOfEachTermAndItsEvents) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(2));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(2));
  Term_ const* t = tm.mk_app(SymbolTag::bool_and, {tm.mk_app(SymbolTag::bv_ult, {x, tm.mk_bv(2, 2)}),
                                                   tm.mk_app(SymbolTag::equal, {x, y})});
  sinks::RecordingSink sink;
  Listing listing(tm, sink);
  ObservedClausifier observed(&tm, nullptr, listing);
  bv::BvLit const literal = observed.bit_blast(t, &sink);
  EXPECT_EQ(
      "y 0-2 leaf [ 2 3 ]\n"
      "x 2-4 leaf [ 4 5 ]\n"
      "(= x y) 4-16 [ 7 ]\n"
      "(_ bv2 2) 16-16 leaf [ -1 1 ]\n"
      "(bvult x (_ bv2 2)) 16-17 [ -5 ]\n"
      "(and #4 #5) 17-21 [ 8 ]\n",
      listing.text);

  // The same events as without an observer.
  sinks::RecordingSink alone;
  sat::ScriptClausifier plain(&tm, nullptr);
  EXPECT_EQ(literal, plain.bit_blast(t, &alone));
  EXPECT_EQ(sink.clauses(), alone.clauses());
  EXPECT_EQ(sink.events().size(), alone.events().size());
}

TEST(Observation, RefusesWhatTheClausifierRefuses) {
  TermManager tm;
  Term_ const* integer = tm.mk_variable("i", tm.int_type);
  sinks::RecordingSink sink;
  Listing listing(tm, sink);
  ObservedClausifier observed(&tm, nullptr, listing);
  EXPECT_THROW(observed.bit_blast(integer, &sink), Exception);
}

}  // namespace
}  // namespace vell::cnf
