#include "vell/words/sharedcomparisons.h"

#include "tests/words/equivalence.h"
#include "tests/words/passfixture.h"
#include "vell/bv/standardclausifier.h"
#include "vell/sinks/countingsink.h"

namespace vell::words {
namespace {

class SharedComparisonsTest : public test::PassTest {
 protected:
  static std::string declarations() {
    return "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const p Bool)"
           "(declare-const q Bool)(declare-const r Bool)";
  }
  std::uint64_t clauses(std::vector<Formula> const& formulas) {
    sinks::CountingSink sink;
    bv::StandardClausifier clausifier(&tm);
    for (Formula const& f : formulas) clausifier.bit_blast(f.term, &sink);
    return sink.clauses();
  }
  // By how many clauses the pass makes the formulas smaller.
  std::int64_t saved(std::string const& script) {
    Formulas formulas = read(declarations() + script);
    std::uint64_t const before = clauses(formulas.permanent);
    make_shared_comparisons(context)->apply(formulas);
    return static_cast<std::int64_t>(before) - static_cast<std::int64_t>(clauses(formulas.permanent));
  }
};

TEST_F(SharedComparisonsTest, TheStagesOfEqualLowBitsAreBuiltOnce) {
  // Bits 0 to 3 agree: the lowest one says nothing alone, three stages of three clauses are saved.
  EXPECT_EQ(9, saved("(assert (= p (bvule x #b01010100)))(assert (= q (bvule x #b10100100)))"));
  EXPECT_EQ(9, saved("(assert (= p (= x #b01010100)))(assert (= q (= x #b10100100)))"));
  EXPECT_EQ(0, saved("(assert (= p (= x #b01010100)))(assert (= q (= x #b10100101)))"));
  // Stages below the lowest zero of a bound cost nothing.
  EXPECT_EQ(0, saved("(assert (= p (bvule x #b01010011)))(assert (= q (bvule x #b10100111)))"));
}

TEST_F(SharedComparisonsTest, NumeralsMakeATree) {
  // 000 and 100 share two bits, and both share one with 010.
  std::int64_t const two = saved("(assert (= p (= x #b11110000)))(assert (= q (= x #b00001000)))");
  std::int64_t const three =
      saved("(assert (= p (= x #b11110000)))(assert (= q (= x #b00001000)))(assert (= r (= x #b11110010)))");
  EXPECT_EQ(6, two);
  EXPECT_EQ(6, three);
  EXPECT_EQ(6 + 9, saved("(assert (= p (= x #b11110000)))(assert (= q (= x #b00001000)))"
                         "(assert (= r (= x #b11100000)))"));
}

TEST_F(SharedComparisonsTest, SignedAndUnsignedOnesShareAllButTheSign) {
  EXPECT_LT(35, saved("(assert (= p (bvule x y)))(assert (= q (bvsle x y)))"));
  EXPECT_LT(15, saved("(assert (= p (bvule x #b01010100)))(assert (= q (bvsle x #b01010100)))"));
  EXPECT_EQ(0, saved("(assert (= p (bvule x y)))(assert (= q (bvsle y x)))"));
}

TEST_F(SharedComparisonsTest, ValuesStay) {
  for (unsigned i = 0; i < 40; ++i) {
    std::string script;
    auto const numeral = [&](unsigned n) { return "(_ bv" + std::to_string(n * 2654435761u % 16) + " 4)"; };
    for (unsigned j = 0; j < 5; ++j)
      script += std::string("(assert (") +
                (j % 3 == 0   ? "bvule"
                 : j % 3 == 1 ? "bvsle"
                              : "=") +
                " w " + numeral(3 * i + j) + "))(assert (bvsle w v))(assert (bvule w v))";
    Formulas formulas = read("(declare-const w (_ BitVec 4))(declare-const v (_ BitVec 4))" + script);
    std::vector<Formula> const before = formulas.permanent;
    make_shared_comparisons(context)->apply(formulas);
    for (std::size_t k = 0; k < before.size(); ++k)
      EXPECT_EQ("", test::tabulated_difference(tm, {before[k].term, formulas.permanent[k].term}));
  }
}

}  // namespace
}  // namespace vell::words
