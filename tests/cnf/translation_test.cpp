#include "vell/cnf/translation.h"

#include <gtest/gtest.h>

#include <string>

#include "vell/sinks/recordingsink.h"

namespace vell::cnf {
namespace {

class Roots : public TranslationObserver {
 public:
  void begin_root(std::size_t i) override { text += "begin " + std::to_string(i) + "\n"; }
  void before(Term_ const*) override {}
  void after(Term_ const* t, bv::BvLitList const&, bool) override {
    text += "#" + std::to_string(t->id) + "\n";
  }
  void end_root(std::size_t i, bv::BvLit literal) override {
    text += "end " + std::to_string(i) + " = " + std::to_string(literal) + "\n";
  }
  std::string text;
};

TEST(Translation, FormulasHaveUnitClausesAndDefinitionsHaveNone) {
  TermManager tm;
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  Term_ const* q = tm.mk_variable("q", tm.bool_type);
  Term_ const* r = tm.mk_variable("r", tm.bool_type);
  Query query;
  query.formulas = {p, tm.mk_app(SymbolTag::bool_or, {p, q})};
  query.positions = {{1, 1}, {2, 1}};
  query.definitions = {{r, tm.mk_app(SymbolTag::bool_and, {p, q})}};
  Translation const translation(query, tm, "a.smt2");
  EXPECT_EQ(3u, translation.roots().size());
  EXPECT_EQ(4u, translation.terms().size());

  Roots roots;
  sinks::RecordingSink sink;
  ObservedClausifier clausifier(&tm, nullptr, roots);
  translation.run(clausifier, sink, &roots);
  EXPECT_EQ("begin 0\n#1\nend 0 = 2\nbegin 1\n#2\n#4\nend 1 = 4\nbegin 2\n#5\nend 2 = 5\n", roots.text);
  std::vector<bv::BvLitList> const expected = {{2}, {-2, 4},     {-3, 4}, {2, 3, -4},
                                               {4}, {-2, -3, 5}, {2, -5}, {3, -5}};
  EXPECT_EQ(expected, sink.clauses());

  // By the traversal of the clausifier: the same.
  sinks::RecordingSink traced;
  sat::ScriptClausifier plain(&tm, nullptr);
  translation.run(plain, traced, nullptr, true);
  EXPECT_EQ(expected, traced.clauses());
}

TEST(Translation, NamesThePlaceOfAFormulaThatIsNotSupported) {
  TermManager tm;
  Query query;
  Type const* type = tm.fp_type(3, 4);
  Term_ const* c = tm.mk_variable("c", tm.bool_type);
  Term_ const* a = tm.mk_variable("a", type);
  Term_ const* chosen = tm.mk_app(SymbolTag::term_ite, {c, a, a});
  Term_ const* bits = tm.mk_app(SymbolTag::fp_as_ieeebv, {chosen});
  query.formulas = {tm.mk_app(SymbolTag::equal, {bits, tm.mk_bv(0, 8)})};
  query.positions = {{7, 3}};
  Translation const translation(query, tm, "a.smt2");
  sinks::RecordingSink sink;
  sat::ScriptClausifier clausifier(&tm, nullptr);
  try {
    translation.run(clausifier, sink);
    FAIL() << "not refused";
  } catch (io::Error const& e) {
    EXPECT_EQ(0u, std::string(e.what()).find("a.smt2:7:3: not supported: ")) << e.what();
  }
}

}  // namespace
}  // namespace vell::cnf
