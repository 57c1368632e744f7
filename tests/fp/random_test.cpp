// Every operator on boundary values and random ones of large formats, and of formats of unusual shapes,
// against MPFR.

#include <gtest/gtest.h>

#include <random>

#include "tests/fp/agreement.h"

namespace vell::fp {
namespace {

struct Shape {
  std::uint64_t exponent;
  std::uint64_t significand;
  unsigned rounds;
};

class Random : public ::testing::TestWithParam<Shape> {
 protected:
  Random() : e_(GetParam().exponent), s_(GetParam().significand - 1) {
    Type const* const type = a_.tm.fp_type(e_, s_);
    for (char const* name : {"x", "y", "z"}) x_.push_back(a_.tm.mk_variable(name, type));
    mode_ = a_.tm.mk_variable("m", a_.tm.rounding_mode_type);
  }

  void put(std::vector<std::uint64_t>& words, std::uint64_t from, std::uint64_t count, std::uint64_t kind) {
    std::uint64_t const single = random_() % count;
    for (std::uint64_t i = 0; i < count; ++i) {
      bool bit = false;
      switch (kind) {
        case 0: break;
        case 1: bit = true; break;
        case 2: bit = i == 0; break;
        case 3: bit = i != 0; break;
        case 4: bit = i + 1 == count; break;
        case 5: bit = i + 1 != count; break;
        case 6: bit = i >= single; break;
        case 7: bit = i == single; break;
        default: bit = (random_() & 1) != 0; break;
      }
      if (bit) words[(from + i) / 64] |= std::uint64_t{1} << ((from + i) % 64);
    }
  }
  // Exponents at the borders and around one, fractions of few or many ones.
  std::vector<std::uint64_t> value() {
    std::vector<std::uint64_t> words((s_ + e_) / 64 + 1, 0);
    put(words, 0, s_, random_() % 12);
    put(words, s_, e_, random_() % 11);
    put(words, s_ + e_, 1, random_() % 2);
    return words;
  }
  void try_some(Term_ const* t, bool has_mode, unsigned rounds) {
    unsigned wrong = 0;
    for (unsigned i = 0; i < rounds && wrong < 2; ++i) {
      a_.set(mode_, has_mode ? i % 5 : 0);
      std::vector<std::uint64_t> const x = value();
      std::vector<std::uint64_t> y = value();
      // Near to the first one: cancellation, quotients near one.
      if (random_() % 3 == 0) {
        y = x;
        y[0] ^= std::uint64_t{1} << random_() % std::min<std::uint64_t>(s_, 63);
      }
      a_.set(x_[0], x);
      a_.set(x_[1], y);
      a_.set(x_[2], value());
      std::string const text = a_.disagreement(t);
      if (text.empty()) continue;
      ADD_FAILURE() << t->to_shallow_str() << ": " << text;
      ++wrong;
    }
  }

  std::mt19937_64 random_{11};
  std::uint64_t const e_;
  std::uint64_t const s_;
  Agreement a_;
  std::vector<Term_ const*> x_;
  Term_ const* mode_;
};

TEST_P(Random, Operators) {
  for (FloatOperator const& op : float_operators) {
    // The remainder takes a step for each exponent: an evaluation is long where exponents are.
    bool const rem = std::string_view(op.name) == "fp.rem";
    if (rem && e_ > 12) continue;
    std::vector<Term_ const*> arguments;
    if (op.mode) arguments.push_back(mode_);
    for (unsigned i = 0; i < op.floats; ++i) arguments.push_back(x_[i]);
    try_some(mk_app(a_.tm, op.name, arguments), op.mode,
             rem && e_ > 8 ? GetParam().rounds / 5 : GetParam().rounds);
  }
}

TEST_P(Random, Conversions) {
  for (Shape const to : {Shape{5, 11, 0}, Shape{8, 24, 0}, Shape{11, 53, 0}, Shape{15, 113, 0},
                         Shape{3, 30, 0}, Shape{9, 4, 0}})
    try_some(mk_app(a_.tm, "to_fp", {mode_, x_[0]}, {to.exponent, to.significand}), true, GetParam().rounds);
  for (char const* name : {"fp.to_ubv", "fp.to_sbv"})
    for (std::uint64_t width : {1, 8, 31, 64, 100})
      try_some(mk_app(a_.tm, name, {mode_, x_[0]}, {width}), true, GetParam().rounds);
  for (char const* name : {"to_fp", "to_fp_unsigned"})
    for (std::uint64_t width : {1, 16, 64, 130}) {
      Term_ const* const w = a_.tm.mk_variable("w", a_.tm.bv_type(width));
      Term_ const* const t = mk_app(a_.tm, name, {mode_, w}, {GetParam().exponent, GetParam().significand});
      for (unsigned i = 0; i < GetParam().rounds; ++i) {
        a_.set(mode_, i % 5);
        std::vector<std::uint64_t> words((width + 63) / 64, 0);
        put(words, 0, width, random_() % 12);
        a_.set(w, words);
        ASSERT_EQ(a_.disagreement(t), "") << name << " of " << width << " bits";
      }
    }
}

std::string name_of(::testing::TestParamInfo<Shape> const& info) {
  return "Float" + std::to_string(info.param.exponent) + "_" + std::to_string(info.param.significand);
}

INSTANTIATE_TEST_SUITE_P(Formats, Random,
                         ::testing::Values(Shape{5, 11, 200}, Shape{8, 24, 100}, Shape{11, 53, 50},
                                           Shape{15, 113, 10}, Shape{2, 20, 100}, Shape{4, 40, 60},
                                           Shape{3, 9, 200}, Shape{8, 8, 100}, Shape{11, 5, 100},
                                           Shape{9, 2, 100}, Shape{20, 4, 40}),
                         name_of);

}  // namespace
}  // namespace vell::fp
