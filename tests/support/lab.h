#pragma once

// A clausifier over free inputs and a sink that counts, to measure encodings.

#include <cstdint>
#include <vector>

#include "tests/support/recordingsink.h"
#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

// A clausifier over free inputs. What a measurement does before start() is not counted.
struct Lab {
  Lab() {
    c.set_logger(&logger);
    sink.keep = false;
  }

  void start() { sink.cost = {}; }
  bv::BvLit free() { return sink.next++; }
  bv::BvLitList word(std::int64_t n) {
    bv::BvLitList bits;
    while (n-- > 0) bits.push_back(free());
    return bits;
  }
  static bv::BvLitList constant(std::uint64_t value, std::int64_t n) {
    bv::BvLitList bits;
    for (std::int64_t i = 0; i < n; ++i) bits.push_back((value >> i & 1) != 0 ? bv::l_true : bv::l_false);
    return bits;
  }
  // A translated variable.
  Term_ const* variable(Type const* type) {
    Term_ const* t = tm.mk_variable("v", type);
    c.bit_blast(t, &sink);
    start();
    return t;
  }
  Term_ const* variable(std::int64_t n) { return variable(tm.bv_type(static_cast<std::uint64_t>(n))); }
  // A translated numeral.
  Term_ const* numeral(std::uint64_t value, std::int64_t n) {
    Term_ const* t = tm.mk_bv(value, static_cast<std::uint64_t>(n));
    c.bit_blast(t, &sink);
    start();
    return t;
  }
  // A rounding mode by its number; 4 for a variable.
  Term_ const* mode(int number) {
    static constexpr Symbol::Role roles[] = {Symbol::Role::rounding_even, Symbol::Role::rounding_zero,
                                             Symbol::Role::rounding_plus_inf,
                                             Symbol::Role::rounding_minus_inf, Symbol::Role::uninterpreted};
    SymbolSpec spec;
    spec.name = "mode";
    spec.output_type = tm.rounding_mode_type;
    spec.role = roles[number];
    Term_ const* t = tm.mk_term(tm.make_symbol(spec));
    c.bit_blast(t, &sink);
    start();
    return t;
  }
  Term_ const* make(SymbolTag::tag tag, std::vector<Term_ const*> const& children,
                    std::uint64_t parameter0 = 0, std::uint64_t parameter1 = 0) {
    return tm.mk_app(tag, children, parameter0, parameter1);
  }
  void blast(Term_ const* t) { c.bit_blast(t, &sink); }

  Logger logger;
  TermManager tm;
  Configuration::Theory::Bv config;
  bv::WordClausifier c{&tm, &config};
  RecordingSink sink;
};

}  // namespace vell::test
