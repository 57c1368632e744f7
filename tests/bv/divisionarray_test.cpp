// The array of controlled add/subtract cells, as it behaves: gate by gate, and what its two writes into the
// dividend register make of its results.

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

BvLitList word(unsigned value, std::size_t width) {
  BvLitList bits;
  for (std::size_t i = 0; i < width; ++i) bits.push_back((value >> i & 1) != 0 ? T : F);
  return bits;
}

class DivisionArrayTest : public ClausifierTest {
 protected:
  std::pair<BvLitList, BvLitList> divide(BvLitList a, BvLitList b) {
    BvLitList q(a.size(), 0);
    BvLitList r;
    c.word_sdiv(&sink, &a, &b, &q, &r);
    EXPECT_EQ(stray_lists(c), 0);
    return {q, r};
  }
};

TEST_F(DivisionArrayTest, EightGatesPerCell) {
  for (std::size_t n = 1; n <= 5; ++n) {
    std::mt19937 random(static_cast<unsigned>(n));
    logger.set_verbosity(3);
    divide(random_word(random, n, 0), random_word(random, n, 0));
    std::vector<std::string> lines;
    for (std::string const& e : events)
      if (e.starts_with(log_event(""))) lines.push_back(e.substr(log_event("").size()));
    events.clear();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "word_sdiv ");
    std::vector<std::string> const cell = {"word_cas ", "bit xor ", "bit xor ", "bit xor ", "bit_and ",
                                           "bit_and ",  "bit_or ",  "bit_and ", "bit_or "};
    ASSERT_GT(lines.size(), n * n * cell.size());
    for (std::size_t i = 0; i < n * n * cell.size(); ++i) EXPECT_EQ(lines[i + 1], cell[i % cell.size()]) << i;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "word_cas "), static_cast<std::ptrdiff_t>(n * n));
    EXPECT_EQ(lines[1 + n * n * cell.size()], "word_neg ");
  }
}

TEST_F(DivisionArrayTest, TracesOfWidthOne) {
  auto const action = [](WordClausifier& fresh, RecordingSink& out) {
    BvLitList a = {F};
    BvLitList b = {T};
    BvLitList q = {0};
    BvLitList r;
    fresh.word_sdiv(&out, &a, &b, &q, &r);
  };
  // The cell subtracts: 0 - 1 is 1 with a carry of 0, a negative row, so the quotient bit is 0.
  EXPECT_TRACE_LEVELS(action, R"(
    3 "word_sdiv "
    4 "[ F ] /s [ T ]"
    5 "i = 0"
    5 "   tbl = [ T ]"
    5 "   dividend = [ F ]"
    3 "word_cas "
    3 "bit xor "
    3 "bit xor "
    3 "bit xor "
    3 "bit_and "
    3 "bit_and "
    3 "bit_or "
    3 "bit_and "
    3 "bit_or "
    5 "      remainder_out = [ T ]"
    5 "      quotient = [ F ]"
    3 "word_neg "
    3 "word_add "
    5 "sum_consts "
    4 "i = 0 x = T y = T cin = F"
    4 "   sum = F = T"
    4 "[ T ] + [ T ] = [ F ]"
    3 "bit ite "
    4 "Final remainder = [ T ]"
    4 "Final quotient = [ F ]"
  )");
}

// The extended register is shown, twice the length less one, zeros on top.
TEST_F(DivisionArrayTest, ShowsTheExtendedDividend) {
  logger.set_verbosity(4);
  divide({2, 3, 4}, {5, 6, 7});
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events[1], log_event("[ F, F, 2, 1, 0 ] /s [ 5, 4, 3 ]"));
}

// The row result written over the low dividend bits hides them from the later rows: quotient and remainder
// depend on the dividend's sign and on the divisor alone.
TEST_F(DivisionArrayTest, ResultsDependOnTheSignOfTheDividendAndOnTheDivisor) {
  for (std::size_t n = 2; n <= 5; ++n) {
    unsigned const half = 1u << (n - 1);
    bool differs = false;
    for (unsigned b = 0; b < 2 * half; ++b) {
      for (unsigned a = 0; a < 2 * half; ++a)
        EXPECT_EQ(divide(word(a, n), word(b, n)), divide(word(a & half, n), word(b, n)))
            << a << " by " << b << " at width " << n;
      if (divide(word(0, n), word(b, n)) != divide(word(half, n), word(b, n))) differs = true;
    }
    EXPECT_TRUE(differs);
  }
  EXPECT_NO_EVENTS();
}

TEST_F(DivisionArrayTest, AThrowingSinkLeavesNothing) {
  BvLitList a = {2, 3, 4};
  BvLitList b = {5, 6, 7};
  bool thrown = true;
  for (int calls = 0; thrown; ++calls) {
    BvLitList q(3, 0);
    BvLitList r;
    sink.new_lits_left = calls;
    try {
      c.word_sdiv(&sink, &a, &b, &q, &r);
      thrown = false;
      EXPECT_GT(calls, 40);
    } catch (Interrupted const&) {
      ASSERT_EQ(stray_lists(c), 0) << "after " << calls << " literals";
    }
  }
}

}  // namespace
}  // namespace vell::test
