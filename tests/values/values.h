#pragma once

// Assignments of small formulas, to be tried one and all.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/values/evaluator.h"

namespace vell::test {

// The values of variables of up to 64 bits; zero for those without one.
class Values : public values::Assignment {
 public:
  std::unordered_map<Term_ const*, std::uint64_t> of;

  void read(Term_ const* t, std::uint64_t, std::uint64_t* words) const override {
    auto const found = of.find(t);
    words[0] = found == of.end() ? 0 : found->second;
  }

  // Gives each variable the next of the bits of `all`.
  void assign(TermManager const& tm, std::vector<Term_ const*> const& variables, std::uint64_t all) {
    for (Term_ const* x : variables) {
      std::uint64_t const width = values::value_width(tm, x->symbol->get_output_type());
      of[x] = all & ((std::uint64_t{1} << width) - 1);
      all >>= width;
    }
  }
};

// The variables below the formulas, the oldest first.
inline std::vector<Term_ const*> variables_below(TermManager const& tm,
                                                 std::vector<Term_ const*> const& formulas) {
  Cone cone;
  cone.add(formulas);
  std::vector<Term_ const*> out;
  for (Term_ const* t : cone.sorted())
    if (tm.is_uninterpreted_function(t->symbol)) out.push_back(t);
  return out;
}

// Number of assignments of the variables, 2 to the power of their bits.
inline std::uint64_t assignments(TermManager const& tm, std::vector<Term_ const*> const& variables) {
  std::uint64_t bits = 0;
  for (Term_ const* x : variables) bits += values::value_width(tm, x->symbol->get_output_type());
  return std::uint64_t{1} << bits;
}

// Whether all formulas are true.
inline bool hold(TermManager const& tm, std::vector<Term_ const*> const& formulas, Values const& values) {
  values::Evaluator evaluator(tm);
  evaluator.set_assignment(values);
  for (Term_ const* f : formulas)
    if (!evaluator.is_true(f)) return false;
  return true;
}

}  // namespace vell::test
