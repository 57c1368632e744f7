#include "vell/cubes/weights.h"

#include <algorithm>
#include <bit>

#include "vell/terms/cone.h"
#include "vell/values/evaluator.h"

namespace vell::cubes {

namespace {

bool is_wire(SymbolTag::tag tag) {
  switch (tag) {
    case SymbolTag::bool_not:
    case SymbolTag::bv_not:
    case SymbolTag::bv_concat:
    case SymbolTag::bv_extract:
    case SymbolTag::bv_rotate_left:
    case SymbolTag::bv_rotate_right:
    case SymbolTag::bv_zero_extend:
    case SymbolTag::bv_sign_extend: return true;
    default: return false;
  }
}

// Of the operator's circuit, about its gates.
double weight(SymbolTag::tag tag, double width) {
  switch (tag) {
    case SymbolTag::bv_mul:
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_sdiv:
    case SymbolTag::bv_urem:
    case SymbolTag::bv_srem: return width * width;
    case SymbolTag::bv_shl:
    case SymbolTag::bv_lshr:
    case SymbolTag::bv_ashr: return width * std::bit_width(static_cast<std::uint64_t>(width));
    case SymbolTag::bool_and:
    case SymbolTag::bool_or: return 1;
    default: return width;
  }
}

}  // namespace

std::vector<Term_ const*> by_weight(TermManager& tm, std::span<Term_ const* const> formulas,
                                    run::Limits const& limits) {
  Cone cone(limits);
  cone.add(formulas);
  std::vector<Term_ const*> const terms = cone.sorted();
  std::vector<double> weights(terms.empty() ? 0 : terms.back()->id + 1);
  std::vector<Term_ const*> out;
  for (auto t = terms.rbegin(); t != terms.rend(); ++t) {
    limits.check();
    std::uint64_t const arity = (*t)->symbol->arity;
    SymbolTag::tag const tag = tm.get_tag((*t)->symbol);
    double own = weights[(*t)->id];
    if (arity == 0) {
      bool const constant =
          tm.number((*t)->symbol) != nullptr || tag == SymbolTag::bool_true || tag == SymbolTag::bool_false;
      if (!constant) out.push_back(*t);
      continue;
    }
    if (!is_wire(tag)) {
      std::uint64_t width = values::value_width(tm, (*t)->symbol->get_output_type());
      for (std::uint64_t i = 0; i < arity; ++i)
        width = std::max(width, values::value_width(tm, (*t)->children[i]->symbol->get_output_type()));
      own = weight(tag, static_cast<double>(width));
    }
    for (std::uint64_t i = 0; i < arity; ++i) weights[(*t)->children[i]->id] += own;
  }
  std::sort(out.begin(), out.end(), [&](Term_ const* a, Term_ const* b) {
    return weights[a->id] != weights[b->id] ? weights[a->id] > weights[b->id] : a->id < b->id;
  });
  return out;
}

}  // namespace vell::cubes
