#include "tests/words/case.h"

#include <algorithm>

#include "tests/words/truthtable.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/cone.h"

namespace vell::test {

using T = Term_ const*;

std::vector<std::vector<T> Case::*> const& parts_of_a_case() {
  static std::vector<std::vector<T> Case::*> const parts{&Case::formulas, &Case::kept, &Case::permanent,
                                                         &Case::passing};
  return parts;
}

std::vector<T> terms_of(Case const& c) {
  Cone cone;
  for (auto const part : parts_of_a_case()) cone.add(c.*part);
  return cone.sorted();
}

std::string script_of(TermManager const& tm, Case const& c) {
  std::string out;
  if (c.free_division) out += "; with --div-by-zero free\n";
  for (T v : c.variables) {
    unsigned const w = bits_of(tm, v);
    bool const boolean = v->symbol->get_output_type() == tm.bool_type;
    out += "(declare-const " + std::string(v->symbol->name) +
           (boolean ? " Bool)\n" : " (_ BitVec " + std::to_string(w) + "))\n");
  }
  auto const assert_all = [&](std::vector<T> const& formulas) {
    for (T f : formulas) out += "(assert " + smtlib::term_text(tm, f) + ")\n";
  };
  auto const check = [&](std::vector<T> const& above) {
    if (!above.empty()) out += "(push 1)\n";
    assert_all(above);
    out += "(check-sat)\n";
    if (!above.empty()) out += "(pop 1)\n";
  };
  assert_all(c.formulas);
  check(c.kept);
  if (c.permanent.empty() && c.passing.empty()) return out;
  assert_all(c.permanent);
  check(c.passing);
  return out;
}

std::vector<T> simpler_terms(TermManager& tm, Case const& c, T t) {
  std::vector<T> out;
  Type const* const type = t->symbol->get_output_type();
  if (type == tm.bool_type) {
    out = {tm.mk_bool(true), tm.mk_bool(false)};
  } else {
    out = {tm.mk_bv(0, bits_of(tm, t)), tm.mk_bv(1, bits_of(tm, t))};
  }
  for (T v : c.variables)
    if (v->symbol->get_output_type() == type) out.push_back(v);
  Cone below;
  below.add(t);
  for (T s : below.terms())
    if (s != t && s->symbol->get_output_type() == type) out.push_back(s);
  out.erase(std::remove(out.begin(), out.end(), t), out.end());
  return out;
}

Case with(TermManager& tm, Case const& c, T from, T to) {
  std::vector<T> const terms = terms_of(c);
  std::vector<T> now(terms.empty() ? 1 : terms.back()->id + 1, nullptr);
  std::vector<T> operands;
  for (T t : terms) {
    operands.clear();
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) operands.push_back(now[t->children[i]->id]);
    now[t->id] = t == from ? to : t->symbol->arity == 0 ? t : tm.mk_term(t->symbol, operands);
  }
  Case out = c;
  for (auto const part : parts_of_a_case())
    for (T& f : out.*part) f = now[f->id];
  return out;
}

}  // namespace vell::test
