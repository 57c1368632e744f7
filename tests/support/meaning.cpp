#include "tests/support/meaning.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "vell/terms/operators.h"

namespace vell::test {

Meaning::Meaning(std::int32_t div_semantics) {
  config.div_semantics = div_semantics;
  c.register_hook(SymbolTag::bool_ite, &bv::WordClausifier::bool_ite);
  c.register_hook(SymbolTag::term_ite, &bv::WordClausifier::generic_ite);
}

Term_ const* Meaning::make_operand(Operand const& o, std::vector<Term_ const*> const& earlier) {
  Type const* type = o.width == 0 ? tm.bool_type : tm.bv_type(o.width);
  switch (o.kind) {
    case Operand::Kind::variable: return tm.mk_variable("x" + std::to_string(earlier.size()), type);
    case Operand::Kind::first_operand: return earlier.at(0);
    case Operand::Kind::small_constant:
    case Operand::Kind::big_constant: {
      if (o.width == 0) return tm.mk_bool(o.value != 0);
      bool const big = o.kind == Operand::Kind::big_constant;
      return tm.mk_number(QNumber::from_digits(to_hex(o.value), 16, big), type);
    }
  }
  throw std::logic_error("no such kind of operand");
}

void Meaning::translate(Operation const& op, std::vector<Operand> const& operands) {
  op_ = op;
  operands_ = operands;
  std::vector<Term_ const*> children;
  for (Operand const& o : operands) children.push_back(make_operand(o, children));
  Term_ const* t = tm.mk_app(op.tag, children, op.parameter0, op.parameter1);
  bv::BvLit const first = c.bit_blast(t, &sink);
  for (Term_ const* child : children) {
    inputs_.emplace_back();
    if (!c.get_bits(child, inputs_.back())) ADD_FAILURE() << "an operand is not cached";
  }
  if (!c.get_bits(t, output_)) ADD_FAILURE() << "the term is not cached";
  EXPECT_EQ(first, output_.at(0));
  propagator_.emplace_back(sink);
}

std::string Meaning::check(std::vector<Word> const& values, std::vector<Word> const& free_samples) {
  std::vector<unsigned> widths;
  bv::BvLitList assumed;
  for (std::size_t i = 0; i < values.size(); ++i) {
    unsigned const width = operands_[i].width == 0 ? 1 : operands_[i].width;
    widths.push_back(width);
    if (inputs_[i].size() != width) return "operand " + std::to_string(i) + " has the wrong length";
    for (unsigned b = 0; b < width; ++b)
      assumed.push_back((values[i] >> b & 1) != 0 ? inputs_[i][b] : -inputs_[i][b]);
  }
  Word const expected = evaluate(op_, values, widths);
  Propagator& p = propagator_[0];
  std::string where = operator_name(op_.tag);
  for (std::size_t i = 0; i < values.size(); ++i)
    where += (i == 0 ? " of " : ", ") + to_hex(values[i]) + ":" + std::to_string(widths[i]);

  if (config.div_semantics == 1 && is_division(op_.tag) && values[1] == 0) {
    for (Word const sample : free_samples) {
      bv::BvLitList all = assumed;
      for (std::size_t b = 0; b < output_.size(); ++b)
        all.push_back((sample >> b & 1) != 0 ? output_[b] : -output_[b]);
      p.reset();
      if (!p.assume(all) || !p.satisfiable()) return where + " cannot be " + to_hex(sample);
    }
    return "";
  }

  std::vector<bool> forced;
  switch (p.decide(assumed, output_, forced)) {
    case Propagator::Answer::contradictory: return where + ": the clauses forbid these inputs";
    case Propagator::Answer::ambiguous: return where + ": the clauses leave the value open";
    case Propagator::Answer::decided: break;
  }
  if (from_bits(forced) != expected)
    return where + ": " + to_hex(from_bits(forced)) + " instead of " + to_hex(expected);
  return "";
}

void expect_meaning(Operation const& op, std::vector<Operand> const& operands,
                    std::vector<std::vector<Word>> const& values, std::int32_t div_semantics) {
  Meaning m(div_semantics);
  m.translate(op, operands);
  for (std::vector<Word> const& v : values) {
    std::vector<Word> samples;
    if (operands[0].width != 0)
      for (unsigned i = 0; i < 16; ++i)
        samples.push_back(Word{i} * 0x9e3779b97f4a7c15u & all_ones(operands[0].width));
    std::string const wrong = m.check(v, samples);
    if (!wrong.empty()) {
      ADD_FAILURE() << wrong;
      return;
    }
  }
}

std::vector<SymbolTag::tag> const& word_operators() {
  static std::vector<SymbolTag::tag> const tags = {
      SymbolTag::bv_and, SymbolTag::bv_or,   SymbolTag::bv_xor,  SymbolTag::bv_add,  SymbolTag::bv_sub,
      SymbolTag::bv_mul, SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv, SymbolTag::bv_srem,
      SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr};
  return tags;
}

std::vector<SymbolTag::tag> const& order_operators() {
  static std::vector<SymbolTag::tag> const tags = {SymbolTag::bv_ult, SymbolTag::bv_ule,
                                                   SymbolTag::bv_slt, SymbolTag::bv_sle,
                                                   SymbolTag::equal,  SymbolTag::equal_noproxy};
  return tags;
}

bool is_division(SymbolTag::tag tag) {
  return tag == SymbolTag::bv_udiv || tag == SymbolTag::bv_urem || tag == SymbolTag::bv_sdiv ||
         tag == SymbolTag::bv_srem;
}

std::string test_name(SymbolTag::tag tag) {
  if (tag == SymbolTag::equal) return "equal";
  if (tag == SymbolTag::equal_noproxy) return "equal_noproxy";
  return operator_name(tag);
}

Word WordSource::next(unsigned width) {
  Word const m = all_ones(width);
  Word const wide = Word{random_()} << 64 | random_();
  unsigned const bit = static_cast<unsigned>(random_() % width);
  switch (random_() % 12) {
    case 0: return 0;
    case 1: return m;
    case 2: return Word{1} << (width - 1);
    case 3: return m >> 1;
    case 4: return Word{1} << bit;
    case 5: return ((Word{1} << bit) | (random_() % (width + 2))) & m;
    case 6: return random_() % (width + 3) & m;
    case 7: return wide & ((Word{1} << bit) - 1) & m;
    default: return wide & m;
  }
}

}  // namespace vell::test
