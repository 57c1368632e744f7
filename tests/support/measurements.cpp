#include "tests/support/measurements.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>

namespace vell::test {

using bv::BvLit;
using bv::BvLitList;

Variables properties(std::uint64_t constant, std::int64_t n) {
  std::int64_t set_bits = 0;
  std::int64_t zeros = n;
  std::int64_t ones = n;
  std::int64_t sum = 0;
  for (std::int64_t i = n; i-- > 0;) {
    bool const set = (constant >> i & 1) != 0;
    if (set) {
      ++set_bits;
      sum += i;
      zeros = i;
    } else {
      ones = i;
    }
  }
  return {{"n", n}, {"z", zeros}, {"t", ones}, {"p", set_bits}, {"q", set_bits == 0 ? 0 : sum - zeros}};
}

std::vector<std::uint64_t> constants_of(std::int64_t n) {
  std::uint64_t const last = n == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << n) - 1;
  std::set<std::uint64_t> values;
  if (n <= 4) {
    for (std::uint64_t v = 0; v <= last; ++v) values.insert(v);
  } else {
    values = {0, 1, 2, 3, 5, 6, 8, last, last - 1, last / 2, last / 2 + 1};
    std::mt19937_64 random(static_cast<std::uint64_t>(n));
    for (int i = 0; i < 5; ++i) values.insert(random() & last);
  }
  return {values.begin(), values.end()};
}

Term_ const* conversion(Lab& l, SymbolTag::tag tag, Format const& f, int mode, std::int64_t width) {
  Term_ const* m = l.mode(mode);
  Term_ const* x = l.variable(l.tm.fp_type(f.e, f.s));
  return l.make(tag, {m, x}, static_cast<std::uint64_t>(width));
}

namespace {

std::vector<std::int64_t> widths_to(std::int64_t last) {
  std::vector<std::int64_t> widths;
  for (std::int64_t n = 1; n <= last; ++n) widths.push_back(n);
  return widths;
}

void add_gates(Measurements& m, std::vector<std::int64_t> const& all) {
  auto add = [&](char const* name, Measurement::Free f) { m[name] = {all, std::move(f), nullptr}; };
  add("bit_not", [](Lab& l, std::int64_t) { l.c.bit_not(l.free()); });
  add("bit_and", [](Lab& l, std::int64_t) { l.c.bit_and(&l.sink, l.free(), l.free()); });
  add("bit_or", [](Lab& l, std::int64_t) { l.c.bit_or(&l.sink, l.free(), l.free()); });
  add("bit_xor", [](Lab& l, std::int64_t) { l.c.bit_xor(&l.sink, l.free(), l.free()); });
  add("bit_ite", [](Lab& l, std::int64_t) { l.c.bit_ite(&l.sink, l.free(), l.free(), l.free()); });
  add("bit_ite, one branch constant", [](Lab& l, std::int64_t n) {
    BvLit const constant = n % 2 == 0 ? bv::l_true : bv::l_false;
    if (n % 4 < 2)
      l.c.bit_ite(&l.sink, l.free(), constant, l.free());
    else
      l.c.bit_ite(&l.sink, l.free(), l.free(), constant);
  });
  add("word_and", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n), result(x.size());
    l.c.word_and(&l.sink, result, &x, &y);
  });
  add("full_adder", [](Lab& l, std::int64_t) {
    BvLit sum, carry;
    l.c.full_adder(&l.sink, sum, carry, l.free(), l.free(), l.free());
  });
  add("full_adder, one input constant", [](Lab& l, std::int64_t n) {
    BvLit inputs[] = {l.free(), l.free(), l.free()};
    inputs[n % 3] = n % 2 == 0 ? bv::l_true : bv::l_false;
    BvLit sum, carry;
    l.c.full_adder(&l.sink, sum, carry, inputs[0], inputs[1], inputs[2]);
  });
}

void add_circuits(Measurements& m, std::vector<std::int64_t> const& all) {
  auto add = [&](char const* name, Measurement::Free f) { m[name] = {all, std::move(f), nullptr}; };
  add("word_add", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n);
    l.c.release(l.c.word_add(&l.sink, &x, &y));
  });
  add("word_neg", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n);
    l.c.release(l.c.word_neg(&l.sink, &x));
  });
  add("word_ule", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n);
    l.c.release(l.c.word_ule(&l.sink, &x, &y, bv::l_undef));
  });
  add("word_ult", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n);
    l.c.release(l.c.word_ult(&l.sink, &x, &y, bv::l_undef));
  });
  add("word_equal", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n);
    l.c.word_equal(&l.sink, &x, &y, bv::l_undef);
  });
  add("word_udiv_simple", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n), q(x.size()), r(x.size());
    l.c.word_udiv_simple(&l.sink, &x, &y, &q, &r, true);
  });
  add("word_sdiv_simple", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n), q(x.size()), r(x.size());
    l.c.word_sdiv_simple(&l.sink, &x, &y, &q, &r);
  });
  add("word_sdiv", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), y = l.word(n), q(x.size()), r(x.size());
    l.c.word_sdiv(&l.sink, &x, &y, &q, &r);
  });
  add("word_div_complete_semantics", [](Lab& l, std::int64_t n) {
    l.config.div_semantics = 1;
    BvLitList x = l.word(n), y = l.word(n);
    l.c.word_div_complete_semantics(&l.sink, &x, &y);
  });
  add("word_sr, logical", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), s = l.word(n);
    l.c.release(l.c.word_sr(&l.sink, &x, &s, false));
  });
  add("word_sr, arithmetic", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), s = l.word(n);
    l.c.release(l.c.word_sr(&l.sink, &x, &s, true));
  });
  add("word_sl", [](Lab& l, std::int64_t n) {
    BvLitList x = l.word(n), s = l.word(n);
    l.c.release(l.c.word_sl(&l.sink, &x, &s));
  });
}

void add_operators(Measurements& m, std::vector<std::int64_t> const& all) {
  // The division operators repeat circuits that are measured at every width.
  std::vector<std::int64_t> some = widths_to(16);
  some.push_back(33);
  some.push_back(64);
  auto add = [&](std::string const& name, Measurement::Free f) { m[name] = {all, std::move(f), nullptr}; };
  auto binary = [&](std::string const& name, SymbolTag::tag tag, bool atom = false) {
    add(name, [tag, atom](Lab& l, std::int64_t n) {
      Term_ const* t = l.make(tag, {l.variable(n), l.variable(n)});
      if (atom) l.sink.every_atom = l.free();
      l.blast(t);
    });
  };
  binary("bvand", SymbolTag::bv_and);
  binary("bvor", SymbolTag::bv_or);
  binary("bvxor", SymbolTag::bv_xor);
  binary("bvadd", SymbolTag::bv_add);
  binary("bvsub", SymbolTag::bv_sub);
  binary("bvmul", SymbolTag::bv_mul);
  binary("bvshl", SymbolTag::bv_shl);
  binary("bvlshr", SymbolTag::bv_lshr);
  binary("bvashr", SymbolTag::bv_ashr);
  for (bool const atom : {false, true}) {
    std::string const suffix = atom ? ", literal from the sink" : "";
    binary("bvult" + suffix, SymbolTag::bv_ult, atom);
    binary("bvule" + suffix, SymbolTag::bv_ule, atom);
    binary("bvslt" + suffix, SymbolTag::bv_slt, atom);
    binary("bvsle" + suffix, SymbolTag::bv_sle, atom);
    binary("=" + suffix, SymbolTag::equal, atom);
    // Never asks, so the literal makes no difference.
    binary("= without proxy", SymbolTag::equal_noproxy, atom);
  }
  std::pair<char const*, SymbolTag::tag> const divisions[] = {{"bvudiv", SymbolTag::bv_udiv},
                                                              {"bvurem", SymbolTag::bv_urem},
                                                              {"bvsdiv", SymbolTag::bv_sdiv},
                                                              {"bvsrem", SymbolTag::bv_srem}};
  for (auto const& [name, tag] : divisions)
    for (int const semantics : {0, 1}) {
      SymbolTag::tag const t = tag;
      m[name + std::string(semantics == 1 ? ", div_semantics 1" : "")] = {
          some,
          [t, semantics](Lab& l, std::int64_t n) {
            l.config.div_semantics = semantics;
            l.blast(l.make(t, {l.variable(n), l.variable(n)}));
          },
          nullptr};
    }
  auto unary = [&](std::string const& name, SymbolTag::tag tag, std::uint64_t parameter = 0) {
    add(name, [tag, parameter](Lab& l, std::int64_t n) { l.blast(l.make(tag, {l.variable(n)}, parameter)); });
  };
  unary("bvnot", SymbolTag::bv_not);
  unary("bvneg", SymbolTag::bv_neg);
  unary("zero_extend", SymbolTag::bv_zero_extend, 7);
  unary("sign_extend", SymbolTag::bv_sign_extend, 7);
  unary("rotate_left", SymbolTag::bv_rotate_left, 1);
  unary("rotate_right", SymbolTag::bv_rotate_right, 1);
  add("extract", [](Lab& l, std::int64_t n) {
    l.blast(l.make(SymbolTag::bv_extract, {l.variable(n)}, static_cast<std::uint64_t>(n - 1),
                   static_cast<std::uint64_t>(n / 2)));
  });
  binary("concat", SymbolTag::bv_concat);

  add("bit_blast_theory_eq", [](Lab& l, std::int64_t n) {
    Term_ const* x = l.variable(n);
    Term_ const* y = l.variable(n);
    EXPECT_TRUE(l.c.bit_blast_theory_eq(l.free(), x, y, &l.sink));
  });
  add("set_bits, on a cached term",
      [](Lab& l, std::int64_t n) { l.c.set_bits(l.variable(n), &l.sink, l.word(n)); });
  add("set_bits, on a new term", [](Lab& l, std::int64_t n) {
    l.c.set_bits(l.tm.mk_variable("x", l.tm.bv_type(static_cast<std::uint64_t>(n))), &l.sink, l.word(n));
  });
  add("make_bits", [](Lab& l, std::int64_t n) {
    BvLitList out;
    l.c.make_bits(l.variable(n), out, &l.sink);
  });
  auto register_ite = [](Lab& l) {
    l.c.register_hook(SymbolTag::bool_ite, &bv::WordClausifier::bool_ite);
    l.c.register_hook(SymbolTag::term_ite, &bv::WordClausifier::word_ite);
  };
  add("ite over words", [register_ite](Lab& l, std::int64_t n) {
    register_ite(l);
    l.blast(l.make(SymbolTag::term_ite, {l.variable(l.tm.bool_type), l.variable(n), l.variable(n)}));
  });
  add("ite over Booleans", [register_ite](Lab& l, std::int64_t) {
    register_ite(l);
    Type const* b = l.tm.bool_type;
    l.blast(l.make(SymbolTag::bool_ite, {l.variable(b), l.variable(b), l.variable(b)}));
  });
  auto boolean = [&](std::string const& name, SymbolTag::tag tag) {
    add(name, [tag](Lab& l, std::int64_t) {
      l.blast(l.make(tag, {l.variable(l.tm.bool_type), l.variable(l.tm.bool_type)}));
    });
  };
  add("not",
      [](Lab& l, std::int64_t) { l.blast(l.make(SymbolTag::bool_not, {l.variable(l.tm.bool_type)})); });
  boolean("and", SymbolTag::bool_and);
  boolean("or", SymbolTag::bool_or);
  boolean("iff", SymbolTag::bool_iff);
}

void add_leaves(Measurements& m, std::vector<std::int64_t> const& all) {
  auto add = [&](char const* name, Measurement::Free f) { m[name] = {all, std::move(f), nullptr}; };
  add("word variable", [](Lab& l, std::int64_t n) {
    l.blast(l.tm.mk_variable("x", l.tm.bv_type(static_cast<std::uint64_t>(n))));
  });
  add("Boolean variable", [](Lab& l, std::int64_t) { l.blast(l.tm.mk_variable("x", l.tm.bool_type)); });
  add("numeral", [](Lab& l, std::int64_t n) { l.blast(l.tm.mk_bv(1, static_cast<std::uint64_t>(n))); });
  add("true, false", [](Lab& l, std::int64_t n) { l.blast(l.tm.mk_bool(n % 2 == 0)); });
  // Every way to split n + 2 bits.
  add("floating-point variable of n + 2 bits", [](Lab& l, std::int64_t n) {
    auto const e = static_cast<std::uint64_t>(n % 3 == 0 ? 1 : n);
    l.blast(l.tm.mk_variable("x", l.tm.fp_type(e, static_cast<std::uint64_t>(n + 1) - e)));
  });
  add("rounding-mode variable",
      [](Lab& l, std::int64_t) { l.blast(l.tm.mk_variable("m", l.tm.rounding_mode_type)); });
  add("rounding-mode constant", [](Lab& l, std::int64_t n) {
    Term_ const* t = l.mode(static_cast<int>(n % 4));
    l.c.retract_upto(t);
    l.start();
    l.blast(t);
  });
  add("fp_as_ieeebv", [](Lab& l, std::int64_t n) {
    l.blast(l.make(SymbolTag::fp_as_ieeebv, {l.variable(l.tm.fp_type(3, static_cast<std::uint64_t>(n)))}));
  });
}

void add_constants(Measurements& m, std::vector<std::int64_t> const& all) {
  auto add = [&](char const* name, Measurement::WithConstant f) { m[name] = {all, nullptr, std::move(f)}; };
  auto binary = [&](char const* name, SymbolTag::tag tag, bool first) {
    add(name, [tag, first](Lab& l, std::int64_t n, std::uint64_t constant) {
      Term_ const* k = l.numeral(constant, n);
      Term_ const* x = l.variable(n);
      l.blast(first ? l.make(tag, {k, x}) : l.make(tag, {x, k}));
    });
  };
  binary("c + x", SymbolTag::bv_add, true);
  binary("x + c", SymbolTag::bv_add, false);
  binary("x - c", SymbolTag::bv_sub, false);
  binary("c - x", SymbolTag::bv_sub, true);
  binary("c * x", SymbolTag::bv_mul, true);
  binary("x * c", SymbolTag::bv_mul, false);
  binary("x <= c", SymbolTag::bv_ule, false);
  binary("c <= x", SymbolTag::bv_ule, true);
  binary("x < c", SymbolTag::bv_ult, false);
  binary("c < x", SymbolTag::bv_ult, true);
  binary("x = c", SymbolTag::equal, false);
  binary("c = x", SymbolTag::equal, true);
  binary("x shifted by c", SymbolTag::bv_lshr, false);
  for (auto const& [name, tag] :
       std::vector<std::pair<char const*, SymbolTag::tag>>{{"bvand with c", SymbolTag::bv_and},
                                                           {"bvor with c", SymbolTag::bv_or},
                                                           {"bvxor with c", SymbolTag::bv_xor}})
    binary(name, tag, false);
  add("x divided by 2^k or by 0", [](Lab& l, std::int64_t n, std::uint64_t constant) {
    BvLitList x = l.word(n), y = l.constant(constant & (~constant + 1), n), q(x.size()), r(x.size());
    l.c.word_udiv_simple(&l.sink, &x, &y, &q, &r, true);
  });
}

void add_conversions(Measurements& m) {
  for (Format const& f : formats) {
    auto const s = static_cast<std::int64_t>(f.s);
    std::set<std::int64_t> const widths = {1, 2, 3, s / 2, s, s + 1, 32, 64};
    for (int mode = 0; mode < 5; ++mode)
      m[std::string(f.name) + ", " + mode_names[mode]] = {
          {widths.begin(), widths.end()},
          [f, mode](Lab& l, std::int64_t n) { l.blast(conversion(l, SymbolTag::fp_to_sbv, f, mode, n)); },
          nullptr};
  }
}

}  // namespace

Measurements const& measurements() {
  static Measurements const all = [] {
    std::vector<std::int64_t> const widths = widths_to(64);
    Measurements m;
    add_gates(m, widths);
    add_circuits(m, widths);
    add_operators(m, widths);
    add_leaves(m, widths);
    add_constants(m, widths);
    add_conversions(m);
    return m;
  }();
  return all;
}

}  // namespace vell::test
