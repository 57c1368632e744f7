// What the translation of each term and each circuit is to mean.

#include <algorithm>
#include <cstdlib>
#include <map>

#include "tests/generate/meaning.h"
#include "vell/bv/inspector.h"
#include "vell/replay/replayoperands.h"

namespace vell::generate {

using bv::BvLit;
using bv::BvLitList;
using test::Word;

namespace {

// Handlers whose result is an operation on the children's bits.
std::map<std::string, SymbolTag::tag> const operations = {
    {"word_not", SymbolTag::bv_not},
    {"word_and", SymbolTag::bv_and},
    {"word_or", SymbolTag::bv_or},
    {"word_xor", SymbolTag::bv_xor},
    {"word_lsr", SymbolTag::bv_lshr},
    {"word_asr", SymbolTag::bv_ashr},
    {"word_lsl", SymbolTag::bv_shl},
    {"word_rol", SymbolTag::bv_rotate_left},
    {"word_ror", SymbolTag::bv_rotate_right},
    {"word_sel", SymbolTag::bv_extract},
    {"word_concat", SymbolTag::bv_concat},
    {"word_zext", SymbolTag::bv_zero_extend},
    {"word_sext", SymbolTag::bv_sign_extend},
    {"word_neg", SymbolTag::bv_neg},
    {"word_add", SymbolTag::bv_add},
    {"word_sub", SymbolTag::bv_sub},
    {"word_mul", SymbolTag::bv_mul},
    {"word_mul_by_constant", SymbolTag::bv_mul},
    {"word_mul_generic", SymbolTag::bv_mul},
    {"word_sdiv", SymbolTag::bv_sdiv},
    {"word_srem", SymbolTag::bv_srem},
    {"word_udiv", SymbolTag::bv_udiv},
    {"word_urem", SymbolTag::bv_urem},
    {"word_ult", SymbolTag::bv_ult},
    {"word_ule", SymbolTag::bv_ule},
    {"word_slt", SymbolTag::bv_slt},
    {"word_sle", SymbolTag::bv_sle},
    {"word_equal", SymbolTag::equal},
    {"word_equal_noproxy", SymbolTag::equal_noproxy},
    {"bool_not", SymbolTag::bool_not},
    {"bool_and", SymbolTag::bool_and},
    {"bool_or", SymbolTag::bool_or},
    {"bool_iff", SymbolTag::bool_iff},
    {"bool_ite", SymbolTag::bool_ite},
    {"word_ite", SymbolTag::term_ite},
    {"generic_ite", SymbolTag::term_ite},
    {"bit_not", SymbolTag::bool_not},
    {"bit_and", SymbolTag::bool_and},
    {"bit_or", SymbolTag::bool_or},
    {"bit_xor", SymbolTag::bv_xor},
    {"bit_ite", SymbolTag::bool_ite},
    {"word_sl", SymbolTag::bv_shl},
};

bool is_shift(SymbolTag::tag tag) {
  return tag == SymbolTag::bv_shl || tag == SymbolTag::bv_lshr || tag == SymbolTag::bv_ashr;
}

bool is_division(SymbolTag::tag tag) {
  return tag == SymbolTag::bv_udiv || tag == SymbolTag::bv_urem || tag == SymbolTag::bv_sdiv ||
         tag == SymbolTag::bv_srem;
}

// Bit i of a numeral as its bits are read: a machine word has none above bit 63.
Word low_bits(QNumber const& q, unsigned width) {
  Word v = 0;
  for (unsigned i = 0; i < std::min(width, 128u); ++i)
    if (q.test_bit(i) && (q.is_big() || i < 64)) v |= Word{1} << i;
  return v;
}

}  // namespace

std::string MeaningCheck::handler_of(Step const& step, Term_ const* t) const {
  TermManager const& tm = step.replay.term_manager();
  auto const& hooks = bv::WordClausifierInspector(*step.replay.clausifier()).hooks();
  SymbolTag::tag const tag = tm.get_tag(t->symbol);
  if (tag < hooks.size() && hooks[tag] != nullptr) return std::string(replay::find_handler(hooks[tag])->name);
  return tm.is_number(t->symbol) ? "word_constant" : "generic_variable";
}

void MeaningCheck::record_term(Step const& step, Term_ const* t, std::string const& handler) {
  TermManager const& tm = step.replay.term_manager();
  bv::WordClausifier& c = *step.replay.clausifier();
  Record r;
  r.text = "line " + std::to_string(step.number) + ": " + handler + " of " + t->to_shallow_str();
  r.output = *c.lookup(t);
  auto const add_inputs = [&](std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) r.inputs.push_back(*c.lookup(t->children[i]));
  };
  auto const add = [&](Record::Rule rule) {
    r.rule = rule;
    records_.push_back(std::move(r));
  };
  Symbol const* symbol = t->symbol;
  auto const is_mode = [&](Symbol const* s) -> std::optional<IEEEFloat::rounding_mode> {
    if (tm.is_fprounding_even(s)) return IEEEFloat::even;
    if (tm.is_fprounding_zero(s)) return IEEEFloat::zero;
    if (tm.is_fprounding_plus_inf(s)) return IEEEFloat::plus_inf;
    if (tm.is_fprounding_minus_inf(s)) return IEEEFloat::minus_inf;
    return std::nullopt;
  };

  if (handler == "bool_true" || handler == "bool_false" || handler == "word_constant") {
    QNumber const* q = tm.number(symbol);
    r.constant = handler == "bool_true" ? 1
                 : handler == "bool_false" || q == nullptr
                     ? 0
                     : low_bits(*q, static_cast<unsigned>(r.output.size()));
    return add(Record::Rule::constant);
  }
  if (handler == "generic_variable" || handler == "fp_rounding_variable" || handler == "word_variable" ||
      handler == "bool_variable" || handler == "fp_variable") {
    if (auto const mode = is_mode(symbol); mode && symbol->get_output_type() == tm.rounding_mode_type) {
      r.constant = *mode;
      return add(Record::Rule::constant);
    }
    for (BvLit l : r.output)
      if (fresh_.count(l) != 0) inputs_.insert(l);
    return add(Record::Rule::free);
  }
  if (handler == "word_atom" || handler == "fp_as_ieeebv") {
    add_inputs(1);
    return add(Record::Rule::equal);
  }
  if (handler == "fp_to_sbv" || handler == "fp_to_ubv") {
    add_inputs(2);
    std::uint64_t e = 0;
    std::uint64_t s = 0;
    tm.is_fp_type(t->children[1]->symbol->get_output_type(), &e, &s);
    r.format = {static_cast<unsigned>(e), static_cast<unsigned>(s)};
    r.mode = is_mode(t->children[0]->symbol);
    std::uint64_t width = 0;
    tm.is_bv_type(symbol->get_output_type(), &width);
    r.width = static_cast<unsigned>(width) + (handler == "fp_to_ubv" ? 1 : 0);
    return add(Record::Rule::conversion);
  }
  auto const operation = operations.find(handler);
  if (operation == operations.end()) return;  // word_srem_by_power_of_2: bits without a meaning
  SymbolTag::tag const tag = operation->second;
  r.operation.tag = tag;
  // Connectives read two children, whatever a term has more.
  std::size_t const read = tag == SymbolTag::bool_ite || tag == SymbolTag::term_ite ? 3 : 2;
  add_inputs(std::min<std::size_t>(read, symbol->arity));
  if (tag == SymbolTag::bv_extract)
    tm.is_bv_extract(symbol, &r.operation.parameter0, &r.operation.parameter1);
  if (tag == SymbolTag::bv_rotate_left) tm.is_bv_rotate_left(symbol, &r.operation.parameter0);
  if (tag == SymbolTag::bv_rotate_right) tm.is_bv_rotate_right(symbol, &r.operation.parameter0);
  if (tag == SymbolTag::bv_zero_extend || tag == SymbolTag::bv_sign_extend)
    r.operation.parameter0 = r.output.size() - r.inputs[0].size();
  r.free_for_zero = is_division(tag) && configured_ && div_semantics_ == 1;
  if (is_shift(tag)) {
    // A numeral is read as a number, not as bits; one below the machine range counts as 0.
    if (QNumber const* q = tm.number(t->children[1]->symbol)) {
      std::uint64_t const w = r.output.size();
      r.second_input = q->sign() < 0                                ? 0
                       : *q < QNumber(static_cast<std::int64_t>(w)) ? Word(q->to_int64())
                                                                    : Word(w);
    }
  }
  if (handler == "word_mul_by_constant" || handler == "word_mul") {
    // Of a negative numeral only bit 0 counts.
    if (QNumber const* q = tm.number(t->children[0]->symbol)) {
      Word v = q->sign() < 0 ? Word(q->test_bit(0)) : low_bits(*q, 128);
      r.first_input = v & test::all_ones(static_cast<unsigned>(r.inputs[1].size()));
    }
  }
  add(Record::Rule::operation);
}

void MeaningCheck::take_circuit(Step const& step) {
  if (step.failed() || step.events.empty()) return;
  std::string const& name = step.tokens[1];
  // Operands: single literals and lists, in order.
  std::vector<BvLitList> lists;
  BvLitList singles;
  for (std::size_t i = 2; i < step.tokens.size(); ++i) {
    if (step.tokens[i] != "[") {
      singles.push_back(std::atoi(step.tokens[i].c_str()));
      continue;
    }
    lists.emplace_back();
    while (step.tokens[++i] != "]") lists.back().push_back(std::atoi(step.tokens[i].c_str()));
  }
  auto const result = [&](std::size_t from_end) {
    std::vector<std::string> const words = tokens_of(step.events[step.events.size() - from_end]);
    BvLitList bits;
    for (std::size_t i = 1; i < words.size(); ++i) bits.push_back(std::atoi(words[i].c_str()));
    return bits;
  };
  Record r;
  r.text = "line " + std::to_string(step.number) + ": circuit " + name;
  r.output = result(1);
  auto const add = [&](Record::Rule rule) {
    r.rule = rule;
    records_.push_back(std::move(r));
  };
  if (name == "fp_rounding") {
    r.constant = static_cast<Word>(singles[0]);
    if (singles[0] < 4) add(Record::Rule::constant);
    return;
  }
  if (name == "word_sdiv") return;  // not an arithmetic function of its operands
  if (name == "word_div_complete_semantics") {
    bool const acts = configured_ && div_semantics_ == 1;
    r.inputs = {lists[0], lists[1]};
    r.output.resize(lists[0].size());
    r.inputs[1].resize(lists[0].size());
    if (acts) return add(Record::Rule::zero_free);
    r.inputs = {r.inputs[1]};
    return add(Record::Rule::equal);
  }
  if (name == "full_adder") {
    for (BvLit l : singles) r.inputs.push_back({l});
    return add(Record::Rule::sum);
  }
  if (name == "word_udiv_simple" || name == "word_sdiv_simple") {
    r.operation.tag = name == "word_udiv_simple" ? SymbolTag::bv_udiv : SymbolTag::bv_sdiv;
    BvLitList const remainder = result(1);
    r.output = result(2);
    r.output.insert(r.output.end(), remainder.begin(), remainder.end());
    r.inputs = lists;
    return add(Record::Rule::both);
  }
  if (lists.empty()) {
    for (BvLit l : singles) r.inputs.push_back({l});
  } else {
    r.inputs = lists;
  }
  for (BvLitList& l : r.inputs) l.resize(r.inputs[0].size());  // only as much of the second is read
  auto const operation = operations.find(name);
  r.operation.tag =
      name == "word_sr" ? (singles[0] != 0 ? SymbolTag::bv_ashr : SymbolTag::bv_lshr) : operation->second;
  add(Record::Rule::operation);
}

std::optional<Word> expected_output(Record const& record, std::vector<Word> const& inputs) {
  std::vector<unsigned> widths;
  for (BvLitList const& l : record.inputs) widths.push_back(static_cast<unsigned>(l.size()));
  std::vector<Word> values = inputs;
  if (record.first_input) values[0] = *record.first_input;
  if (record.second_input) values[1] = *record.second_input;
  unsigned const out = static_cast<unsigned>(record.output.size());
  Word const mask = test::all_ones(out);
  switch (record.rule) {
    case Record::Rule::free: return std::nullopt;
    case Record::Rule::equal: return values[0] & mask;
    case Record::Rule::constant: return record.constant & mask;
    case Record::Rule::sum: {
      Word const total = values[0] + values[1] + values[2];
      return total;  // sum in bit 0, carry in bit 1
    }
    case Record::Rule::zero_free:
      if (values[0] == 0) return std::nullopt;
      return values[1];
    case Record::Rule::both: {
      if (widths[0] == 0) return 0;
      bool const is_signed = record.operation.tag == SymbolTag::bv_sdiv;
      Word const q = test::evaluate({is_signed ? SymbolTag::bv_sdiv : SymbolTag::bv_udiv}, values, widths);
      Word const r = test::evaluate({is_signed ? SymbolTag::bv_srem : SymbolTag::bv_urem}, values, widths);
      return q | r << widths[0];
    }
    case Record::Rule::conversion: {
      auto const mode = record.mode ? *record.mode
                                    : static_cast<IEEEFloat::rounding_mode>(static_cast<unsigned>(values[0]));
      mpz_class const v =
          test::conversion_rule(test::fields_of(values[1], record.format), record.format, mode, record.width);
      Word w = 0;
      for (unsigned i = 0; i < out; ++i)
        if (mpz_tstbit(v.get_mpz_t(), i) != 0) w |= Word{1} << i;
      return w;
    }
    case Record::Rule::operation: break;
  }
  if (out == 0) return 0;
  if (record.free_for_zero && values[1] == 0) return std::nullopt;
  return test::evaluate(record.operation, values, widths) & mask;
}

}  // namespace vell::generate
