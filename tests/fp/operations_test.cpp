// Every operator on every pair of values of small formats, in every rounding mode, against MPFR.
//
// VELL_EXHAUSTIVE=1 tries all of them; without it some are left out in the larger formats.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/fp/agreement.h"

namespace vell::fp {
namespace {

struct Small {
  std::uint64_t exponent;
  std::uint64_t significand;
};

class Exhaustive : public ::testing::TestWithParam<Small> {
 protected:
  Exhaustive() : all_(std::getenv("VELL_EXHAUSTIVE") != nullptr) {
    Type const* const type = a_.tm.fp_type(GetParam().exponent, GetParam().significand - 1);
    for (char const* name : {"x", "y", "z"}) x_.push_back(a_.tm.mk_variable(name, type));
    mode_ = a_.tm.mk_variable("m", a_.tm.rounding_mode_type);
  }

  std::uint64_t count() const { return std::uint64_t{1} << (GetParam().exponent + GetParam().significand); }

  // Under every value of the variables from `first` on, each step-th of them.
  void try_all(Term_ const* t, unsigned floats, bool has_mode, std::uint64_t step) {
    std::uint64_t const n = count();
    std::uint64_t combinations = 1;
    for (unsigned i = 0; i < floats; ++i) combinations *= n;
    unsigned wrong = 0;
    for (std::uint64_t mode = 0; mode < (has_mode ? 5u : 1u); ++mode) {
      a_.set(mode_, mode);
      for (std::uint64_t i = mode % step; i < combinations && wrong < 3; i += step) {
        std::uint64_t rest = i;
        for (unsigned k = 0; k < 3; ++k, rest /= n) a_.set(x_[k], k < floats ? rest % n : 0);
        std::string const text = a_.disagreement(t);
        if (text.empty()) continue;
        ADD_FAILURE() << t->to_shallow_str() << ": " << text;
        ++wrong;
      }
    }
  }

  std::uint64_t step(std::uint64_t combinations) const {
    return all_ || combinations <= 2000 ? 1 : combinations / 2000 * 2 + 1;
  }

  Agreement a_;
  std::vector<Term_ const*> x_;
  Term_ const* mode_;
  bool const all_;
};

TEST_P(Exhaustive, Operators) {
  for (FloatOperator const& op : float_operators) {
    std::vector<Term_ const*> arguments;
    if (op.mode) arguments.push_back(mode_);
    for (unsigned i = 0; i < op.floats; ++i) arguments.push_back(x_[i]);
    std::uint64_t const n = count();
    // Triples are too many to try all of them.
    std::uint64_t const by = op.floats == 3   ? n * n * n / (all_ ? 100000 : 1000) * 2 + 1
                             : op.floats == 2 ? step(n * n)
                                              : 1;
    try_all(mk_app(a_.tm, op.name, arguments), op.floats, op.mode, by);
  }
}

TEST_P(Exhaustive, ConversionsToOtherFormats) {
  for (Small const to : {Small{2, 2}, Small{2, 3}, Small{3, 3}, Small{2, 5}, Small{3, 4}, Small{4, 3},
                         Small{5, 11}, Small{2, 9}})
    try_all(mk_app(a_.tm, "to_fp", {mode_, x_[0]}, {to.exponent, to.significand}), 1, true, 1);
}

TEST_P(Exhaustive, ConversionsToWords) {
  for (char const* name : {"fp.to_ubv", "fp.to_sbv"})
    for (std::uint64_t width : {1, 2, 3, 4, 5, 6, 8, 12})
      try_all(mk_app(a_.tm, name, {mode_, x_[0]}, {width}), 1, true, 1);
}

TEST_P(Exhaustive, ConversionsOfWords) {
  for (char const* name : {"to_fp", "to_fp_unsigned"})
    for (std::uint64_t width = 1; width <= 8; ++width) {
      Term_ const* const w = a_.tm.mk_variable("w", a_.tm.bv_type(width));
      Term_ const* const t = mk_app(a_.tm, name, {mode_, w}, {GetParam().exponent, GetParam().significand});
      for (std::uint64_t mode = 0; mode < 5; ++mode)
        for (std::uint64_t i = 0; i < std::uint64_t{1} << width; ++i) {
          a_.set(mode_, mode);
          a_.set(w, i);
          ASSERT_EQ(a_.disagreement(t), "") << name << " of " << width << " bits";
        }
    }
}

std::string name_of(::testing::TestParamInfo<Small> const& info) {
  return "Float" + std::to_string(info.param.exponent) + "_" + std::to_string(info.param.significand);
}

INSTANTIATE_TEST_SUITE_P(Formats, Exhaustive,
                         ::testing::Values(Small{2, 3}, Small{3, 3}, Small{3, 4}, Small{2, 5}, Small{2, 2},
                                           Small{2, 7}, Small{4, 2}),
                         name_of);

}  // namespace
}  // namespace vell::fp
