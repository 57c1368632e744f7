#include "vell/replay/replay.h"

// Handlers, gates and circuits called directly.

namespace vell::replay {

using bv::BvLit;
using bv::BvLitList;

void Replay::write_result(BvLitList const& list) {
  out_ << "result";
  write_literals(out_, list);
  out_ << '\n';
}

void Replay::write_result_and_release(BvLitList* list) {
  write_result(*list);
  clausifier_->release(list);
}

void Replay::hook(Line& line) {
  std::uint64_t const tag = line.number("a tag");
  // The table is a vector: a tag far beyond the operators would only fill memory.
  if (tag > 1000000) line.fail("a tag above 1000000");
  std::string_view const name = line.token("a handler");
  NamedHandler const* handler = find_handler(name);
  if (handler == nullptr || handler->handler == nullptr)
    line.fail("unknown handler `" + std::string(name) + "`");
  clausifier_->register_hook(static_cast<SymbolTag::tag>(tag), handler->handler);
}

void Replay::call(Line& line) {
  std::string const name(line.token("a handler"));
  // These two return their list instead of caching it, and take one argument more.
  bool const shift = name == "word_sr";
  bool const conversion = name == "fp_to_bv";
  NamedHandler const* handler = find_handler(shift ? "word_lsr" : conversion ? "fp_to_sbv" : name);
  if (handler == nullptr) line.fail("unknown handler `" + name + "`");

  Term_ const* t = term(line);
  bool flag = false;
  std::uint64_t width = 0;
  bool const with_proxy = name == "word_equal" && !line.at_end();
  if (shift || with_proxy) flag = line.flag();
  if (conversion) {
    width = line.number("a width");
    if (width > max_length) line.fail("a width above " + std::to_string(max_length));
  }
  line.finish();
  // The arithmetic shift needs a sign.
  if (shift && flag) handler = find_handler("word_asr");

  bool const needs_children = !handler->leaf || (name == "generic_ite" && tm_.is_term_ite(t->symbol));
  if (needs_children)
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
      if (!clausifier_->is_cached(t->children[i])) {
        out_ << "error not cached: " << t->children[i]->to_shallow_str() << '\n';
        return;
      }
  if (!fits(operands(), *handler, t))
    line.fail("the operands of " + t->to_shallow_str() + " do not fit " + name);

  bv::BvLitList* const old = clausifier_->lookup(t);
  if (shift) {
    write_result_and_release(clausifier_->word_sr(&sink_, t, flag));
  } else if (conversion) {
    write_result_and_release(clausifier_->fp_to_bv(&sink_, t, width));
  } else if (with_proxy) {
    clausifier_->word_equal(&sink_, t, flag);
  } else if (handler->handler == nullptr) {
    bool const made = clausifier_->generic_variable(&sink_, t);
    out_ << "result " << (made ? "true" : "false") << '\n';
  } else {
    (clausifier_.get()->*handler->handler)(&sink_, t);
  }
  if (old != nullptr && clausifier_->lookup(t) != old) replaced_.push_back(old);
}

void Replay::circuit(Line& line) {
  bv::WordClausifier& c = *clausifier_;
  std::string const name(line.token("a gate or circuit"));
  auto const write = [&](BvLit l) { out_ << "result " << l << '\n'; };
  auto const as_long = [&](BvLitList const& x, BvLitList const& y) {
    if (y.size() < x.size()) line.fail("the second list is shorter than the first");
  };
  auto const not_empty = [&](BvLitList const& x) {
    if (x.empty()) line.fail("the list is empty");
  };

  if (name == "bit_not") {
    write(c.bit_not(line.literal()));
  } else if (name == "bit_and" || name == "bit_or" || name == "bit_xor") {
    BvLit const a = line.literal();
    BvLit const b = line.literal();
    write(name == "bit_and"  ? c.bit_and(&sink_, a, b)
          : name == "bit_or" ? c.bit_or(&sink_, a, b)
                             : c.bit_xor(&sink_, a, b));
  } else if (name == "bit_ite") {
    BvLit const cond = line.literal();
    BvLit const t = line.literal();
    BvLit const e = line.literal();
    write(c.bit_ite(&sink_, cond, t, e));
  } else if (name == "full_adder") {
    BvLit const a = line.literal();
    BvLit const b = line.literal();
    BvLit const cin = line.literal();
    BvLit sum = bv::l_undef;
    BvLit carry = bv::l_undef;
    c.full_adder(&sink_, sum, carry, a, b, cin);
    out_ << "result " << sum << ' ' << carry << '\n';
  } else if (name == "fp_rounding") {
    // Any integer: one that the type does not hold is as much no mode as its largest value is.
    QNumber const n = line.integer("a mode");
    std::int64_t const mode = n.fits_int64() ? n.to_int64() : -1;
    bool const fits = mode >= 0 && mode <= std::int64_t{UINT32_MAX};
    write_result(
        c.fp_rounding(static_cast<IEEEFloat::rounding_mode>(fits ? mode : std::int64_t{UINT32_MAX})));
  } else {
    BvLitList x = line.list();
    if (name == "word_neg") {
      write_result_and_release(c.word_neg(&sink_, &x));
      return;
    }
    BvLitList y = line.list();
    if (name == "word_div_complete_semantics") {
      as_long(x, y);
      c.word_div_complete_semantics(&sink_, &x, &y);
      write_result(y);
      return;
    }
    as_long(x, y);
    if (name == "word_and") {
      BvLitList result(x.size());
      c.word_and(&sink_, result, &x, &y);
      write_result(result);
    } else if (name == "word_add") {
      write_result_and_release(c.word_add(&sink_, &x, &y));
    } else if (name == "word_ule" || name == "word_ult") {
      BvLit const out = line.literal();
      write_result_and_release(name == "word_ule" ? c.word_ule(&sink_, &x, &y, out)
                                                  : c.word_ult(&sink_, &x, &y, out));
    } else if (name == "word_equal") {
      write(c.word_equal(&sink_, &x, &y, line.literal()));
    } else if (name == "word_sr") {
      bool const arithmetic = line.flag();
      write_result_and_release(c.word_sr(&sink_, &x, &y, arithmetic));
    } else if (name == "word_sl") {
      write_result_and_release(c.word_sl(&sink_, &x, &y));
    } else if (name == "word_udiv_simple" || name == "word_sdiv_simple" || name == "word_sdiv") {
      BvLitList q(x.size());
      BvLitList r(x.size());
      if (name == "word_udiv_simple") {
        if (x.size() != y.size()) line.fail("the lists differ in length");
        c.word_udiv_simple(&sink_, &x, &y, &q, &r, true);
      } else {
        not_empty(x);
        name == "word_sdiv" ? c.word_sdiv(&sink_, &x, &y, &q, &r)
                            : c.word_sdiv_simple(&sink_, &x, &y, &q, &r);
      }
      out_ << "quotient";
      write_literals(out_, q);
      out_ << "\nremainder";
      write_literals(out_, r);
      out_ << '\n';
    } else {
      line.fail("unknown circuit `" + name + "`");
    }
  }
}

}  // namespace vell::replay
