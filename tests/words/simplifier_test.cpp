#include "vell/words/simplifier.h"

#include <gtest/gtest.h>

#include "vell/words/numeral.h"

namespace vell::words {
namespace {

using Tag = SymbolTag::tag;

// Every variable is zero.
class Zeros : public values::Assignment {
 public:
  void read(Term_ const*, std::uint64_t, std::uint64_t*) const override {}
};

// Without the passes that would solve the formulas of these tests before.
constexpr char unconstrained_only[] = "-rewrite,-facts,-definitions";

class SimplifierTest : public ::testing::Test {
 protected:
  Term_ const* word(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }
  Term_ const* number(unsigned n, std::uint64_t width) { return make_numeral(tm, n, width); }
  Term_ const* app(Tag tag, std::initializer_list<Term_ const*> operands) { return tm.mk_app(tag, operands); }

  // a * a + x = 5: x occurs once, so the product goes.
  Term_ const* with_unconstrained_x() {
    Term_ const* product = app(Tag::bv_mul, {a, a});
    return app(Tag::equal, {app(Tag::bv_add, {product, x}), number(5, 8)});
  }
  static std::size_t place(std::string_view name) {
    for (std::size_t i = 0; i < passes().size(); ++i)
      if (passes()[i].name == name) return i;
    ADD_FAILURE() << name;
    return 0;
  }

  TermManager tm;
  run::Limits limits;
  run::Tunables tunables;
  Zeros const zeros;
  Term_ const* x = word("x", 8);
  Term_ const* a = word("a", 8);
};

TEST_F(SimplifierTest, EliminatesAndCompletes) {
  Simplifier simplifier(tm, false, parse_passes(unconstrained_only), limits, tunables);
  Formulas batch;
  batch.first = true;
  batch.permanent.push_back({with_unconstrained_x(), 3});
  simplifier.simplify(batch);
  EXPECT_TRUE(batch.permanent.empty());
  EXPECT_EQ(nullptr, simplifier.completed(x));  // no model yet
  simplifier.complete(zeros);
  ASSERT_NE(nullptr, simplifier.completed(x));
  EXPECT_EQ(5u, *simplifier.completed(x));  // a * a is zero
  EXPECT_EQ(nullptr, simplifier.completed(a));
  EXPECT_EQ(1u, simplifier.counts()[place("unconstrained")].formulas);
  EXPECT_GT(simplifier.counts()[place("unconstrained")].replaced, 0u);
}

TEST_F(SimplifierTest, ReportsTheFiguresOfEveryPass) {
  Simplifier simplifier(tm, false, Passes::all, limits, tunables);
  Formulas batch;
  batch.first = true;
  // Nothing that a pass could solve, so that each sees the formula once.
  batch.permanent.push_back({app(Tag::bv_ule, {app(Tag::bv_mul, {a, a}), app(Tag::bv_mul, {x, x})}), 3});
  simplifier.simplify(batch);
  run::Statistics statistics;
  EXPECT_EQ(std::string::npos, statistics.text().find("words-"));
  simplifier.report(statistics);
  std::string const text = statistics.text();
  std::string const json = statistics.json();
  std::string const smtlib = statistics.smtlib();
  for (std::size_t i = 0; i < passes().size(); ++i) {
    std::string const name = std::string("words-") + passes()[i].name;
    EXPECT_NE(std::string::npos, text.find(name + "-time ")) << text;
    EXPECT_NE(std::string::npos, json.find("\"" + name + "-formulas\": 1, \"" + name +
                                           "-replaced\": " + std::to_string(simplifier.counts()[i].replaced) +
                                           ", \"" + name + "-time\": 0."))
        << json;
    EXPECT_NE(std::string::npos, smtlib.find(":" + name + "-formulas 1\n")) << smtlib;
  }
}

TEST_F(SimplifierTest, SwitchedOffAPassIsNotRun) {
  for (char const* text : {"none", "-rewrite,-facts,-definitions,-unconstrained"}) {
    Simplifier simplifier(tm, false, parse_passes(text), limits, tunables);
    Formulas batch;
    batch.first = true;
    Term_ const* formula = with_unconstrained_x();
    batch.permanent.push_back({formula, 0});
    simplifier.simplify(batch);
    EXPECT_EQ(formula, batch.permanent[0].term) << text;
  }
}

TEST_F(SimplifierTest, ALaterFormulaBringsItsVariableBack) {
  for (bool assumed : {false, true}) {
    Simplifier simplifier(tm, false, parse_passes(unconstrained_only), limits, tunables);
    Formulas batch;
    batch.first = true;
    batch.permanent.push_back({with_unconstrained_x(), 0});
    Term_ const* y = word("y", 8);
    batch.permanent.push_back({app(Tag::bv_ult, {app(Tag::bv_xor, {y, app(Tag::bv_mul, {a, a})}), a}), 1});
    simplifier.simplify(batch);

    Formulas unrelated;
    unrelated.retractable.push_back({app(Tag::equal, {word("c", 8), number(1, 8)}), 1});
    simplifier.simplify(unrelated);
    EXPECT_TRUE(unrelated.permanent.empty());
    simplifier.complete(zeros);
    EXPECT_NE(nullptr, simplifier.completed(x));

    Formulas about_x;
    (assumed ? about_x.assumed : about_x.retractable).push_back({app(Tag::equal, {x, number(1, 8)}), 2});
    simplifier.simplify(about_x);
    EXPECT_FALSE(about_x.permanent.empty());
    simplifier.complete(zeros);
    EXPECT_EQ(nullptr, simplifier.completed(x));
    EXPECT_NE(nullptr, simplifier.completed(y));  // nobody mentions it
  }
}

TEST_F(SimplifierTest, OriginsSurviveALinearSystem) {
  Term_ const* const u = word("u", 8);
  Term_ const* const v = word("v", 8);
  Term_ const* const w = word("w", 8);
  auto const row = [&](unsigned a, unsigned b, unsigned c, unsigned right) {
    Term_ const* sum =
        app(Tag::bv_add,
            {app(Tag::bv_mul, {number(a, 8), u}),
             app(Tag::bv_add, {app(Tag::bv_mul, {number(b, 8), v}), app(Tag::bv_mul, {number(c, 8), w})})});
    return app(Tag::equal, {sum, number(right, 8)});
  };
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  Simplifier simplifier(tm, false, parse_passes("-definitions,-unconstrained"), limits, tunables);
  Formulas batch;
  batch.first = true;
  batch.retractable = {{app(Tag::bv_ult, {app(Tag::bv_mul, {u, v}), app(Tag::bv_mul, {w, w})}), 14},
                       {app(Tag::bool_or, {p, app(Tag::bv_ult, {u, v})}), 15}};
  batch.permanent = {{p, 10}, {row(3, 5, 7, 11), 11}, {row(5, 3, 11, 13), 12}, {row(7, 11, 13, 17), 13}};
  simplifier.simplify(batch);
  ASSERT_GT(simplifier.counts()[place("equations")].replaced, 0u);
  EXPECT_EQ(p, batch.permanent[0].term);
  EXPECT_EQ(10u, batch.permanent[0].origin);
  EXPECT_GT(batch.permanent.size(), 1u);
  for (std::size_t i = 1; i < batch.permanent.size(); ++i) EXPECT_EQ(11u, batch.permanent[i].origin);
}

TEST_F(SimplifierTest, EveryPassHasANameOfItsOwn) {
  for (std::size_t i = 0; i < passes().size(); ++i) EXPECT_EQ(i, place(passes()[i].name));
}

}  // namespace
}  // namespace vell::words
