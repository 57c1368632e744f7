// Operands come before the terms made of them. A value is kept as it came about: the bits of a variable or of
// a word stay bits, a result of arithmetic stays unpacked, and the other form is made when an operator asks
// for it. So a chain of sums is never packed between two of them, and an equality of variables never unpacks
// them.

#include "vell/fp/lowering.h"

#include <string>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"
#include "vell/terms/theory.h"

namespace vell::fp {

namespace {

using Tag = SymbolTag::tag;
using Role = Symbol::Role;

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

constexpr std::uint64_t mode_width = 3;

}  // namespace

Lowering::Lowering(TermManager& tm, TerminationTest const& test)
    : tm_(tm), test_(test), ops_(tm, test), b_(ops_.builder()) {}

Term_ const* Lowering::stand_in(Term_ const* variable) const {
  Entry const entry = entries_.find(variable);
  return entry.variable != nullptr ? entry.variable : variable;
}

Term_ const* Lowering::lower(Term_ const* root) {
  std::vector<Term_ const*> stack{root};
  while (!stack.empty()) {
    test_();
    Term_ const* const t = stack.back();
    if (is_known(t)) {
      stack.pop_back();
      continue;
    }
    std::size_t const before = stack.size();
    for (std::uint64_t i = t->symbol->arity; i-- > 0;)
      if (!is_known(t->children[i])) stack.push_back(t->children[i]);
    if (stack.size() != before) continue;
    stack.pop_back();
    compute(t);
  }
  return tm_.is_fp_type(type_of(root)) ? bits(root) : word(root);
}

bool Lowering::is_known(Term_ const* t) const {
  Entry const entry = entries_.find(t);
  return entry.word != nullptr || entry.value != 0;
}

void Lowering::set_word(Term_ const* t, Term_ const* word, bool one_nan) {
  Entry& entry = entries_.at(t);
  entry.word = word;
  entry.one_nan = one_nan;
}

void Lowering::set_value(Term_ const* t, Unpacked const& value) {
  if (values_.size() == UINT32_MAX) throw Exception("too many terms");
  values_.push_back(value);
  entries_.at(t).value = static_cast<std::uint32_t>(values_.size());
}

// ---- forms of a value ----

Format Lowering::format(Term_ const* t) const {
  Format f{0, 0};
  tm_.is_fp_type(type_of(t), &f.exponent, &f.fraction);
  return f;
}

Unpacked Lowering::value(Term_ const* t) {
  Entry const entry = entries_.find(t);
  if (entry.value == 0) set_value(t, ops_.unpack(format(t), entry.word));
  return values_[entries_.find(t).value - 1];
}

Term_ const* Lowering::is_nan(Term_ const* t) {
  Entry const entry = entries_.find(t);
  if (entry.value != 0) return values_[entry.value - 1].nan;
  Format const f = format(t);
  Term_ const* const exponent = b_.extract(entry.word, f.fraction + f.exponent - 1, f.fraction);
  Term_ const* const fraction = b_.extract(entry.word, f.fraction - 1, 0);
  return b_.both(b_.equal(exponent, b_.all_ones(f.exponent)),
                 b_.negation(b_.equal(fraction, b_.number(0, f.fraction))));
}

Term_ const* Lowering::bits(Term_ const* t) {
  Entry const entry = entries_.find(t);
  if (entry.word != nullptr && entry.one_nan) return entry.word;
  Format const f = format(t);
  if (entry.word == nullptr) {
    set_word(t, ops_.pack(f, value(t)), true);
  } else {
    Term_ const* fraction = b_.number(1, 1);
    if (f.fraction > 1) fraction = b_.concat(fraction, b_.number(0, f.fraction - 1));
    Term_ const* const nan = b_.concat(b_.number(0, 1), b_.concat(b_.all_ones(f.exponent), fraction));
    set_word(t, b_.choose(is_nan(t), nan, entry.word), true);
  }
  return word(t);
}

// Identity of floating-point values.
Term_ const* Lowering::same(Term_ const* a, Term_ const* b) {
  Entry const x = entries_.find(a);
  Entry const y = entries_.find(b);
  if (x.word == nullptr || y.word == nullptr) return ops_.same(format(a), value(a), value(b));
  Term_ const* const equal = b_.equal(x.word, y.word);
  return x.one_nan && y.one_nan ? equal : b_.either(equal, b_.both(is_nan(a), is_nan(b)));
}

// ---- open values ----

// The open value of fp.to_ubv or fp.to_sbv: that of an earlier application of the same operands, else a new
// variable.
Term_ const* Lowering::open_conversion(Term_ const* t) {
  Term_ const* const mode = word(t->children[0]);
  Term_ const* const x = t->children[1];
  std::uint64_t const width = tm_.width(t);
  std::vector<Conversion>& earlier = conversions_[{tm_.get_tag(t->symbol), width, type_of(x)}];
  for (Conversion const& c : earlier)
    if (c.mode == mode && c.value == x) return c.open;
  Term_ const* open = tm_.mk_variable(t->symbol->name, tm_.bv_type(width));
  for (Conversion const& c : earlier)
    open = b_.choose(b_.both(b_.equal(c.mode, mode), same(c.value, x)), c.open, open);
  earlier.push_back({mode, x, open});
  return open;
}

// The bits of NaN as fp.to_ieee_bv gives them: any that are NaN's, the same for every application of a
// format.
Term_ const* Lowering::open_pattern(Term_ const* t) {
  Term_ const*& open = nan_bits_[type_of(t->children[0])];
  if (open != nullptr) return open;
  Format const f = format(t->children[0]);
  Term_ const* const variable = tm_.mk_variable(t->symbol->name, type_of(t));
  Term_ const* const fraction = b_.extract(variable, f.fraction - 1, 0);
  Term_ const* const some =
      b_.choose(b_.equal(fraction, b_.number(0, f.fraction)), b_.number(1, f.fraction), fraction);
  Term_ const* const sign = b_.extract(variable, f.exponent + f.fraction, f.exponent + f.fraction);
  open = b_.concat(sign, b_.concat(b_.all_ones(f.exponent), some));
  return open;
}

// Whether fp.min or fp.max of zeros of both signs is negative.
Term_ const* Lowering::open_sign(Term_ const* t) {
  auto const [place, fresh] = signs_.try_emplace({tm_.get_tag(t->symbol), type_of(t)});
  if (fresh)
    place->second = {tm_.mk_variable(t->symbol->name, tm_.bool_type),
                     tm_.mk_variable(t->symbol->name, tm_.bool_type)};
  return b_.choose(value(t->children[0]).sign, place->second.second, place->second.first);
}

// ---- terms ----

void Lowering::check_formats(Term_ const* t) const {
  auto const check = [&](Term_ const* u) {
    Format const f = format(u);
    if (!tm_.is_fp_type(type_of(u))) return;
    if (std::string const wrong = theory::format_error(f.exponent, f.fraction + 1); !wrong.empty())
      throw Exception(wrong);
  };
  check(t);
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) check(t->children[i]);
}

void Lowering::compute(Term_ const* t) {
  auto const floating = [&](Term_ const* u) {
    return tm_.is_fp_type(type_of(u)) || type_of(u) == tm_.rounding_mode_type;
  };
  bool involved = floating(t);
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) involved = involved || floating(t->children[i]);
  if (!involved) return rebuild(t);
  check_formats(t);
  if (t->symbol->arity == 0)
    compute_leaf(t);
  else
    compute_floating(t);
}

// The same operator over what stands for its operands.
void Lowering::rebuild(Term_ const* t) {
  std::vector<Term_ const*> operands;
  bool changed = false;
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
    operands.push_back(word(t->children[i]));
    changed = changed || operands.back() != t->children[i];
  }
  set_word(t, changed ? tm_.mk_term(t->symbol, operands) : t);
}

void Lowering::compute_leaf(Term_ const* t) {
  Format const f = format(t);
  bool const mode = type_of(t) == tm_.rounding_mode_type;
  switch (t->symbol->role()) {
    case Role::rounding_even: return set_word(t, b_.number(0, mode_width));
    case Role::rounding_zero: return set_word(t, b_.number(1, mode_width));
    case Role::rounding_plus_inf: return set_word(t, b_.number(2, mode_width));
    case Role::rounding_minus_inf: return set_word(t, b_.number(3, mode_width));
    case Role::rounding_away: return set_word(t, b_.number(4, mode_width));
    case Role::number:
      if (mode) break;
      return set_word(t, tm_.mk_number(*tm_.number(t->symbol), tm_.bv_type(f.exponent + f.fraction + 1)));
    case Role::uninterpreted: {
      Type const* const type = tm_.bv_type(mode ? mode_width : f.exponent + f.fraction + 1);
      Term_ const* const variable = tm_.mk_variable(t->symbol->name, type);
      variables_.push_back({t, variable});
      if (mode) {
        Term_ const* const away = b_.extract(variable, 2, 2);
        Term_ const* const others = b_.complement(b_.concat(away, away));
        set_word(t, b_.concat(away, b_.word(Tag::bv_and, b_.extract(variable, 1, 0), others)));
      } else {
        set_word(t, variable);
      }
      entries_.at(t).variable = variable;
      return;
    }
    default: break;
  }
  throw Exception("not supported: " + t->to_shallow_str());
}

void Lowering::compute_floating(Term_ const* t) {
  Tag const tag = tm_.get_tag(t->symbol);
  Term_ const* const* const x = t->children;
  Term_ const* const last = x[t->symbol->arity - 1];
  bool const has_mode = type_of(x[0]) == tm_.rounding_mode_type;
  Term_ const* const mode = has_mode ? word(x[0]) : nullptr;
  bool const of_floats = tm_.is_fp_type(type_of(last));
  switch (tag) {
    case Tag::equal:
    case Tag::equal_noproxy:
      return set_word(t, of_floats ? same(x[0], x[1]) : b_.equal(word(x[0]), word(x[1])));
    case Tag::term_ite: {
      Term_ const* const condition = word(x[0]);
      Entry const a = entries_.find(x[1]);
      Entry const b = entries_.find(x[2]);
      if (a.word != nullptr && b.word != nullptr)
        return set_word(t, b_.choose(condition, a.word, b.word), a.one_nan && b.one_nan);
      return set_value(t, ops_.choose(condition, value(x[1]), value(x[2])));
    }
    case Tag::fp_make: return set_word(t, b_.concat(word(x[0]), b_.concat(word(x[1]), word(x[2]))));
    case Tag::fp_from_bits: return set_word(t, word(x[0]));
    case Tag::fp_from_fp: return set_value(t, ops_.convert(format(last), value(last), format(t), mode));
    case Tag::fp_from_sbv:
    case Tag::fp_from_ubv:
      return set_value(t, ops_.from_word(word(last), tag == Tag::fp_from_sbv, format(t), mode));
    case Tag::fp_to_sbv:
    case Tag::fp_to_ubv: {
      Term_ const* const open = open_conversion(t);
      set_word(t, ops_.to_word(format(last), value(last), mode, tm_.width(t), tag == Tag::fp_to_sbv, open));
      if (tm_.number(word(t)->symbol) == nullptr) open_values_.push_back({t, open});
      return;
    }
    case Tag::fp_as_ieeebv: {
      Term_ const* const open = open_pattern(t);
      Term_ const* const packed = word(last) != nullptr ? word(last) : bits(last);
      set_word(t, b_.choose(is_nan(last), open, packed));
      open_values_.push_back({t, open});
      return;
    }
    case Tag::fp_min:
    case Tag::fp_max: {
      Unpacked const a = value(x[0]);
      Unpacked const b = value(x[1]);
      Term_ const* const negative = open_sign(t);
      Term_ const* const first = b_.equal(a.sign, negative);
      set_value(t, ops_.extreme(tag, format(t), a, b, tag == Tag::fp_min ? first : b_.negation(first)));
      Format const f = format(t);
      open_values_.push_back({t, b_.concat(b_.word_of(negative), b_.number(0, f.exponent + f.fraction))});
      return;
    }
    default: break;
  }
  if (tag < Tag::fp_abs || tag > Tag::fp_is_positive)
    throw Exception("not supported: " + t->to_shallow_str());
  std::vector<Unpacked> operands;
  for (std::uint64_t i = has_mode ? 1 : 0; i < t->symbol->arity; ++i) operands.push_back(value(x[i]));
  if (type_of(t) == tm_.bool_type)
    set_word(t, ops_.test(tag, format(last), operands));
  else
    set_value(t, ops_.operation(tag, format(t), mode, operands));
}

}  // namespace vell::fp
