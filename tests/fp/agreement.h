#pragma once

// Compares what the lowered terms are worth with what MPFR computes.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "vell/fp/lowering.h"
#include "vell/terms/theory.h"
#include "vell/values/evaluator.h"

namespace vell::fp {

// A term over floating-point variables, its lowered form, and both values under an assignment. Variables that
// stand for open values have changing values.
class Agreement : private values::Assignment {
 public:
  Agreement() : lowering_(tm, never_), on_terms_(*this), given_(tm), lowered_(tm) {}

  // The assignment of a variable; words as Assignment::read writes them.
  void set(Term_ const* variable, std::vector<std::uint64_t> words) { values_[variable] = std::move(words); }
  void set(Term_ const* variable, std::uint64_t value) { set(variable, {value, 0, 0}); }

  // Both values of the term, as text, under what was set: "" where they agree.
  std::string disagreement(Term_ const* t) {
    Term_ const* const low = lowering_.lower(t);
    ++round_;
    lowered_.set_assignment(*this);
    given_.set_assignment(on_terms_);
    std::uint64_t const bits = values::value_width(tm, t->symbol->get_output_type());
    std::uint64_t const* const expected = given_.value(t);
    std::uint64_t const* const found = lowered_.value(low);
    if (std::equal(expected, expected + (bits + 63) / 64, found)) return "";
    std::string text = "MPFR " + given_.text(t) + ", lowered " + lowered_.text(low);
    for (auto const& [v, words] : values_)
      text += ", " + std::string(v->symbol->name) + " = " +
              values::value_text(tm, v->symbol->get_output_type(), words.data());
    return text;
  }
  std::string value(Term_ const* t) { return given_.text(t); }
  Lowering& lowering() { return lowering_; }

  TermManager tm;

 private:
  // Of what was given: the variables, and the open values as the lowered terms have them.
  class OnTerms : public values::Assignment {
   public:
    explicit OnTerms(Agreement& owner) : owner_(owner) {}
    void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
      if (auto const found = owner_.values_.find(t); found != owner_.values_.end()) {
        std::copy_n(found->second.begin(), (width + 63) / 64, words);
        return;
      }
      for (StandIn const& open : owner_.lowering_.open_values())
        if (open.term == t) std::copy_n(owner_.lowered_.value(open.word), (width + 63) / 64, words);
    }

   private:
    Agreement& owner_;
  };

  // Of the lowered terms' variables.
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
    if (auto const found = values_.find(t); found != values_.end()) {
      std::copy_n(found->second.begin(), (width + 63) / 64, words);
      return;
    }
    for (StandIn const& v : lowering_.variables())
      if (v.word == t) {
        std::copy_n(values_.at(v.term).begin(), (width + 63) / 64, words);
        return;
      }
    for (std::uint64_t i = 0; i < width; ++i)
      words[i / 64] |= ((round_ * 0x9e3779b97f4a7c15u + t->id * 77) >> (i % 40 + 20) & 1) << (i % 64);
  }

  TerminationTest const never_;
  Lowering lowering_;
  OnTerms const on_terms_;
  values::Evaluator given_;
  values::Evaluator lowered_;
  std::map<Term_ const*, std::vector<std::uint64_t>> values_;
  std::uint64_t round_ = 0;
};

// The operators that take `floats` values of one format, a rounding mode first where `mode` is set.
struct FloatOperator {
  char const* name;
  unsigned floats;
  bool mode;
};
inline constexpr FloatOperator float_operators[] = {
    {"fp.abs", 1, false},
    {"fp.neg", 1, false},
    {"fp.sqrt", 1, true},
    {"fp.roundToIntegral", 1, true},
    {"fp.isNormal", 1, false},
    {"fp.isSubnormal", 1, false},
    {"fp.isZero", 1, false},
    {"fp.isInfinite", 1, false},
    {"fp.isNaN", 1, false},
    {"fp.isNegative", 1, false},
    {"fp.isPositive", 1, false},
    {"fp.to_ieee_bv", 1, false},
    {"fp.add", 2, true},
    {"fp.sub", 2, true},
    {"fp.mul", 2, true},
    {"fp.div", 2, true},
    {"fp.rem", 2, false},
    {"fp.min", 2, false},
    {"fp.max", 2, false},
    {"fp.leq", 2, false},
    {"fp.lt", 2, false},
    {"fp.geq", 2, false},
    {"fp.gt", 2, false},
    {"fp.eq", 2, false},
    {"=", 2, false},
    {"fp.fma", 3, true},
};

}  // namespace vell::fp
