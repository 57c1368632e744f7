#include "vell/bv/schedule.h"

#include <gtest/gtest.h>

#include <random>

#include "vell/bv/inspector.h"
#include "vell/bv/standardclausifier.h"
#include "vell/sinks/recordingsink.h"

namespace vell::bv {
namespace {

struct Dag {
  TermManager tm;
  std::vector<Term_ const*> words;
  std::vector<Term_ const*> formulas;
  std::vector<Term_ const*> constants;

  explicit Dag(unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 4; ++i) words.push_back(tm.mk_variable("x", tm.bv_type(4)));
    constants = words;
    words.push_back(tm.mk_bv(5, 4));
    auto const word = [&] { return words[random() % words.size()]; };
    auto const formula = [&] { return formulas[random() % formulas.size()]; };
    formulas.push_back(tm.mk_app(SymbolTag::equal, {word(), word()}));
    for (int i = 0; i < 60; ++i) {
      switch (random() % 7) {
        case 0: words.push_back(tm.mk_app(SymbolTag::bv_add, {word(), word()})); break;
        case 1: words.push_back(tm.mk_app(SymbolTag::bv_not, {word()})); break;
        case 2: words.push_back(tm.mk_app(SymbolTag::term_ite, {formula(), word(), word()})); break;
        case 3: words.push_back(tm.mk_app(SymbolTag::bv_mul, {word(), word()})); break;
        case 4: formulas.push_back(tm.mk_app(SymbolTag::bv_ult, {word(), word()})); break;
        case 5: formulas.push_back(tm.mk_app(SymbolTag::bool_and, {formula(), formula()})); break;
        default: formulas.push_back(tm.mk_app(SymbolTag::bool_not, {formula()})); break;
      }
    }
  }
};

// The clauses and literals are those of one bit_blast after the other; only what was to be kept has bits in
// the end.
TEST(Schedule, TranslatesAsBitBlastDoesAndKeepsWhatIsAskedFor) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    Dag dag(seed);
    // Some roots stand below others, before or after them, and some twice.
    std::vector<Term_ const*> roots;
    std::mt19937 random(seed + 1000);
    for (int i = 0; i < 8; ++i) roots.push_back(dag.formulas[random() % dag.formulas.size()]);

    StandardClausifier plain(&dag.tm, nullptr);
    sinks::RecordingSink expected;
    std::vector<bv::BvLit> expected_literals;
    for (Term_ const* r : roots) expected_literals.push_back(plain.bit_blast(r, &expected));

    std::span<Term_ const* const> const kept(dag.constants.data(), 2);
    StandardClausifier clausifier(&dag.tm, nullptr);
    Schedule const schedule(bv::WordClausifierInspector(clausifier).hooks(), dag.tm.term_count(), roots,
                            kept);
    sinks::RecordingSink sink;
    std::vector<bv::BvLit> literals;
    for (std::size_t i = 0; i < roots.size(); ++i)
      literals.push_back(schedule.translate(i, clausifier, &sink));

    EXPECT_EQ(expected_literals, literals) << seed;
    EXPECT_EQ(expected.clauses(), sink.clauses()) << seed;
    std::size_t cached = 0;
    for (Term_ const* c : kept) {
      bv::BvLitList a;
      bv::BvLitList b;
      EXPECT_EQ(plain.get_bits(c, a), clausifier.get_bits(c, b));
      EXPECT_EQ(a, b);
      cached += clausifier.is_cached(c) ? 1 : 0;
    }
    EXPECT_EQ(cached, bv::WordClausifierInspector(clausifier).bits_cache().size()) << seed;
  }
}

TEST(Schedule, LooksBelowNothingThatHasNoHandler) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bool_type);
  SymbolSpec spec;
  spec.name = "f";
  spec.arity = 1;
  spec.output_type = tm.bool_type;
  spec.role = Symbol::Role::uninterpreted;
  Term_ const* f = tm.mk_term(tm.make_symbol(spec), std::span(&x, 1));
  Term_ const* root = tm.mk_app(SymbolTag::bool_not, {f});
  StandardClausifier clausifier(&tm, nullptr);
  Schedule const schedule(bv::WordClausifierInspector(clausifier).hooks(), tm.term_count(),
                          std::span(&root, 1), {});
  EXPECT_EQ((std::vector<Term_ const*>{f, root}),
            std::vector<Term_ const*>(schedule.order().begin(), schedule.order().end()));
}

TEST(Schedule, DepthTakesNoStack) {
  TermManager tm;
  Term_ const* t = tm.mk_variable("x", tm.bool_type);
  Symbol const* const complement = tm.operator_symbol(SymbolTag::bool_not, 1, tm.bool_type);
  for (int i = 0; i < 3000000; ++i) t = tm.mk_term(complement, std::span(&t, 1));
  StandardClausifier clausifier(&tm, nullptr);
  Schedule const schedule(bv::WordClausifierInspector(clausifier).hooks(), tm.term_count(), std::span(&t, 1),
                          {});
  EXPECT_EQ(3000001u, schedule.order().size());
  sinks::RecordingSink sink;
  EXPECT_EQ(2, schedule.translate(0, clausifier, &sink));
}

}  // namespace
}  // namespace vell::bv
