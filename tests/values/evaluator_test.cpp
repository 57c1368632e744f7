// The evaluator against the definitions of the operators over the integers, at widths on both sides of a
// machine word.

#include "vell/values/evaluator.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <string>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::values {
namespace {

using Tag = SymbolTag::tag;

mpz_class power(std::uint64_t n) { return mpz_class(1) << n; }

mpz_class modulo(mpz_class const& a, std::uint64_t width) {
  mpz_class r;
  mpz_fdiv_r_2exp(r.get_mpz_t(), a.get_mpz_t(), width);
  return r;
}

mpz_class as_signed(mpz_class const& a, std::uint64_t width) {
  return a >= power(width - 1) ? mpz_class(a - power(width)) : a;
}

mpz_class truncated(mpz_class const& a, mpz_class const& b) {
  mpz_class q;
  mpz_tdiv_q(q.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
  return q;
}

// What SMT-LIB says the operator is, w the width of the operands.
mpz_class expected(Tag tag, mpz_class const& a, mpz_class const& b, std::uint64_t w) {
  mpz_class const sa = as_signed(a, w);
  mpz_class const sb = as_signed(b, w);
  mpz_class const ones = power(w) - 1;
  std::uint64_t const k = b >= w ? w : b.get_ui();
  switch (tag) {
    case SymbolTag::equal:
    case SymbolTag::equal_noproxy: return a == b;
    case SymbolTag::bv_and: return a & b;
    case SymbolTag::bv_or: return a | b;
    case SymbolTag::bv_xor: return a ^ b;
    case SymbolTag::bv_ult: return a < b;
    case SymbolTag::bv_ule: return a <= b;
    case SymbolTag::bv_slt: return sa < sb;
    case SymbolTag::bv_sle: return sa <= sb;
    case SymbolTag::bv_add: return modulo(a + b, w);
    case SymbolTag::bv_sub: return modulo(a - b, w);
    case SymbolTag::bv_mul: return modulo(a * b, w);
    case SymbolTag::bv_udiv: return b == 0 ? ones : mpz_class(a / b);
    case SymbolTag::bv_urem: return b == 0 ? a : mpz_class(a % b);
    case SymbolTag::bv_sdiv:
      if (b == 0) return sa < 0 ? mpz_class(1) : ones;
      return modulo(truncated(sa, sb), w);
    case SymbolTag::bv_srem:
      if (b == 0) return a;
      return modulo(sa - truncated(sa, sb) * sb, w);
    case SymbolTag::bv_shl: return modulo(a << k, w);
    case SymbolTag::bv_lshr: return a >> k;
    case SymbolTag::bv_ashr: {
      mpz_class r;
      mpz_fdiv_q_2exp(r.get_mpz_t(), sa.get_mpz_t(), k);
      return modulo(r, w);
    }
    case SymbolTag::bv_not: return ones - a;
    case SymbolTag::bv_neg: return modulo(-a, w);
    default: return -1;
  }
}

// Values by term; a term without one is zero.
struct Table : Assignment {
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
    auto const i = values.find(t);
    ++reads;
    if (i == values.end()) return;
    for (std::uint64_t b = 0; b < width; ++b)
      if (mpz_tstbit(i->second.get_mpz_t(), b) != 0) words[b / 64] |= std::uint64_t{1} << (b % 64);
  }
  std::map<Term_ const*, mpz_class> values;
  mutable int reads = 0;
};

mpz_class number(std::uint64_t const* words, std::uint64_t width) {
  mpz_class r;
  mpz_import(r.get_mpz_t(), (width + 63) / 64, -1, 8, 0, 0, words);
  return r;
}

class Random {
 public:
  explicit Random(unsigned seed) : state_(gmp_randinit_default) { state_.seed(seed); }
  std::uint64_t below(std::uint64_t n) { return mpz_class(state_.get_z_range(mpz_class(n))).get_ui(); }
  // Extremes and small numbers come often.
  mpz_class word(std::uint64_t width) {
    mpz_class const all = power(width);
    switch (below(6)) {
      case 0: return below(2) == 0 ? mpz_class(0) : mpz_class(all - 1);
      case 1: return modulo(power(width - 1) - below(2), width);
      case 2: return modulo(mpz_class(below(2 * width + 2)), width);
      case 3: return modulo(-mpz_class(below(9)), width);
      default: return state_.get_z_bits(width);
    }
  }

 private:
  gmp_randclass state_;
};

constexpr Tag binary_tags[] = {
    SymbolTag::equal,   SymbolTag::equal_noproxy, SymbolTag::bv_and,  SymbolTag::bv_or,   SymbolTag::bv_xor,
    SymbolTag::bv_ult,  SymbolTag::bv_ule,        SymbolTag::bv_slt,  SymbolTag::bv_sle,  SymbolTag::bv_add,
    SymbolTag::bv_sub,  SymbolTag::bv_mul,        SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv,
    SymbolTag::bv_srem, SymbolTag::bv_shl,        SymbolTag::bv_lshr, SymbolTag::bv_ashr};

constexpr std::uint64_t widths[] = {1,  2,  3,   7,   8,   31,  32,  33,  63, 64,
                                    65, 66, 100, 127, 128, 129, 192, 200, 321};

TEST(Evaluator, BinaryOperatorsAtManyWidths) {
  Random random(1);
  for (std::uint64_t w : widths) {
    TermManager tm;
    Term_ const* x = tm.mk_variable("x", tm.bv_type(w));
    Term_ const* y = tm.mk_variable("y", tm.bv_type(w));
    std::vector<Term_ const*> terms;
    for (Tag tag : binary_tags) terms.push_back(tm.mk_app(tag, {x, y}));
    Evaluator evaluator(tm);
    Table tables[2];
    for (int round = 0; round < 60; ++round) {
      Table& table = tables[round % 2];
      mpz_class const a = table.values[x] = random.word(w);
      mpz_class const b = table.values[y] = random.word(w);
      evaluator.set_assignment(table);
      for (std::size_t i = 0; i < terms.size(); ++i) {
        std::uint64_t const width = value_width(tm, terms[i]->symbol->get_output_type());
        EXPECT_EQ(expected(binary_tags[i], a, b, w), number(evaluator.value(terms[i]), width))
            << operator_name(binary_tags[i]) << " width " << w << " of " << a << " and " << b;
      }
    }
  }
}

TEST(Evaluator, UnaryAndStructuralOperators) {
  Random random(2);
  for (std::uint64_t w : widths)
    for (int round = 0; round < 40; ++round) {
      TermManager tm;
      std::uint64_t const v = widths[random.below(std::size(widths))];
      Term_ const* x = tm.mk_variable("x", tm.bv_type(w));
      Term_ const* y = tm.mk_variable("y", tm.bv_type(v));
      Table table;
      mpz_class const a = table.values[x] = random.word(w);
      mpz_class const b = table.values[y] = random.word(v);
      Evaluator evaluator(tm);
      evaluator.set_assignment(table);
      auto check = [&](mpz_class const& want, Term_ const* t) {
        std::uint64_t const width = value_width(tm, t->symbol->get_output_type());
        EXPECT_EQ(want, number(evaluator.value(t), width))
            << t->to_shallow_str() << " width " << w << " of " << a;
      };
      check(power(w) - 1 - a, tm.mk_app(SymbolTag::bv_not, {x}));
      check(modulo(-a, w), tm.mk_app(SymbolTag::bv_neg, {x}));
      check((a << v) + b, tm.mk_app(SymbolTag::bv_concat, {x, y}));
      std::uint64_t const low = random.below(w);
      std::uint64_t const high = low + random.below(w - low);
      check(modulo(a >> low, high - low + 1), tm.mk_app(SymbolTag::bv_extract, {x}, high, low));
      std::uint64_t const more = random.below(150);
      check(a, tm.mk_app(SymbolTag::bv_zero_extend, {x}, more));
      check(modulo(as_signed(a, w), w + more), tm.mk_app(SymbolTag::bv_sign_extend, {x}, more));
      std::uint64_t const k = random.below(w + 1);
      check(modulo((a << k) + (a >> (w - k)), w), tm.mk_app(SymbolTag::bv_rotate_left, {x}, k));
      check(modulo((a >> k) + (a << (w - k)), w), tm.mk_app(SymbolTag::bv_rotate_right, {x}, k));
      Term_ const* other = tm.mk_app(SymbolTag::bv_not, {x});
      Term_ const* p = tm.mk_variable("p", tm.bool_type);
      table.values[p] = 1;
      check(a, tm.mk_app(SymbolTag::term_ite, {p, x, other}));
      check(power(w) - 1 - a,
            tm.mk_app(SymbolTag::term_ite, {tm.mk_app(SymbolTag::bool_not, {p}), x, other}));
    }
}

TEST(Evaluator, Booleans) {
  for (int bits = 0; bits < 8; ++bits) {
    TermManager tm;
    Term_ const* p = tm.mk_variable("p", tm.bool_type);
    Term_ const* q = tm.mk_variable("q", tm.bool_type);
    Term_ const* r = tm.mk_variable("r", tm.bool_type);
    Table table;
    bool const a = (bits & 1) != 0;
    bool const b = (bits & 2) != 0;
    bool const c = (bits & 4) != 0;
    table.values = {{p, a}, {q, b}, {r, c}};
    Evaluator e(tm);
    e.set_assignment(table);
    EXPECT_EQ(a && b, e.is_true(tm.mk_app(SymbolTag::bool_and, {p, q})));
    EXPECT_EQ(a || b, e.is_true(tm.mk_app(SymbolTag::bool_or, {p, q})));
    EXPECT_EQ(!a, e.is_true(tm.mk_app(SymbolTag::bool_not, {p})));
    EXPECT_EQ(a == b, e.is_true(tm.mk_app(SymbolTag::bool_iff, {p, q})));
    EXPECT_EQ(a ? b : c, e.is_true(tm.mk_app(SymbolTag::bool_ite, {p, q, r})));
    EXPECT_TRUE(e.is_true(tm.mk_bool(true)));
    EXPECT_FALSE(e.is_true(tm.mk_bool(false)));
  }
}

TEST(Evaluator, Numerals) {
  TermManager tm;
  Table table;
  Evaluator e(tm);
  e.set_assignment(table);
  EXPECT_EQ("#b0101", e.text(tm.mk_bv(5, 4)));
  mpz_class const big = power(99) + 1;
  Term_ const* t = tm.mk_number(QNumber::from_digits(big.get_str(), 10), tm.bv_type(100));
  EXPECT_EQ(big, number(e.value(t), 100));
  EXPECT_EQ("#b1" + std::string(98, '0') + "1", e.text(t));
  // Every bit of the widest small number and the narrowest big one.
  EXPECT_EQ(power(64) - 1, number(e.value(tm.mk_bv(~std::uint64_t{0}, 64)), 64));
}

TEST(Evaluator, FreeDivisionTakesTheAssignmentsValue) {
  TermManager tm;
  for (std::uint64_t w : {8u, 100u}) {
    Term_ const* x = tm.mk_variable("x", tm.bv_type(w));
    Term_ const* y = tm.mk_variable("y", tm.bv_type(w));
    for (Tag tag : {SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv, SymbolTag::bv_srem}) {
      Term_ const* t = tm.mk_app(tag, {x, y});
      Table one;
      one.values = {{x, 77}, {y, 0}, {t, 13}};
      Evaluator e(tm, true);
      e.set_assignment(one);
      EXPECT_EQ(13, number(e.value(t), w));
      // The value is asked for again under the next assignment, though no leaf changed.
      Table two = one;
      two.values[t] = 14;
      e.set_assignment(two);
      EXPECT_EQ(14, number(e.value(t), w));
      Table three = two;
      three.values[y] = 5;
      e.set_assignment(three);
      EXPECT_EQ(expected(tag, 77, 5, w), number(e.value(t), w));
      e.set_assignment(one);
      EXPECT_EQ(13, number(e.value(t), w));
    }
  }
}

TEST(Evaluator, OnlyWhatChangedIsComputedAgain) {
  TermManager tm;
  Type const* type = tm.bv_type(16);
  Term_ const* x = tm.mk_variable("x", type);
  Term_ const* y = tm.mk_variable("y", type);
  Term_ const* big = x;
  for (int i = 0; i < 1000; ++i) big = tm.mk_app(SymbolTag::bv_add, {big, x});
  Term_ const* top = tm.mk_app(SymbolTag::bv_xor, {big, y});
  Table table;
  table.values = {{x, 3}, {y, 1}};
  Evaluator e(tm);
  e.set_assignment(table);
  EXPECT_EQ((3u * 1001) ^ 1u, number(e.value(top), 16));
  std::uint64_t before = e.evaluations();
  Table second = table;
  second.values[y] = 2;
  e.set_assignment(second);
  EXPECT_EQ((3u * 1001) ^ 2u, number(e.value(top), 16));
  EXPECT_EQ(1u, e.evaluations() - before);
  Table third = second;
  third.values[x] = 4;
  e.set_assignment(third);
  EXPECT_EQ((4u * 1001) ^ 2u, number(e.value(top), 16));
  EXPECT_EQ(1001u, e.evaluations() - before - 1);
  // A term made later sees the values at hand.
  before = e.evaluations();
  EXPECT_EQ(((4u * 1001) ^ 2u) * 4 % 65536, number(e.value(tm.mk_app(SymbolTag::bv_mul, {top, x})), 16));
  EXPECT_EQ(1u, e.evaluations() - before);
}

// Random DAGs over changing assignments: kept values against values computed from nothing.
TEST(Evaluator, KeptValuesEqualFreshOnes) {
  for (unsigned seed = 0; seed < 30; ++seed) {
    Random random(seed);
    TermManager tm;
    std::uint64_t const w = seed % 2 == 0 ? 6 : 70;
    std::vector<Term_ const*> leaves;
    for (int i = 0; i < 4; ++i) leaves.push_back(tm.mk_variable("x", tm.bv_type(w)));
    std::vector<Term_ const*> words = leaves;
    Table tables[2];
    Evaluator kept(tm, seed % 3 == 0);
    for (int round = 0; round < 30; ++round) {
      for (int i = 0; i < 5; ++i) {
        Tag const tag = binary_tags[9 + random.below(10)];
        words.push_back(
            tm.mk_app(tag, {words[random.below(words.size())], words[random.below(words.size())]}));
      }
      Table& table = tables[round % 2];
      table = tables[(round + 1) % 2];
      table.values[leaves[random.below(4)]] = random.word(w);
      table.values[words[random.below(words.size())]] = random.word(w);
      kept.set_assignment(table);
      Evaluator fresh(tm, seed % 3 == 0);
      fresh.set_assignment(table);
      for (int i = 0; i < 5; ++i) {
        Term_ const* t = words[random.below(words.size())];
        ASSERT_EQ(number(fresh.value(t), w), number(kept.value(t), w));
      }
    }
  }
}

TEST(Evaluator, DeepTermsNeedNoCallStack) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* t = x;
  for (int i = 0; i < 2000000; ++i) t = tm.mk_app(SymbolTag::bv_neg, {tm.mk_app(SymbolTag::bv_not, {t})});
  Table table;
  table.values[x] = 5;
  Evaluator e(tm);
  e.set_assignment(table);
  EXPECT_EQ((5u + 2000000) % 256, number(e.value(t), 8));
  Table second;
  second.values[x] = 6;
  e.set_assignment(second);
  EXPECT_EQ((6u + 2000000) % 256, number(e.value(t), 8));
}

// Single precision against the machine's own rounding to integers.
TEST(Evaluator, FloatToInteger) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.fp_type(8, 23));
  Term_ const* mode = tm.mk_variable("m", tm.rounding_mode_type);
  Term_ const* s = tm.mk_app(SymbolTag::fp_to_sbv, {mode, x}, 20);
  Term_ const* u = tm.mk_app(SymbolTag::fp_to_ubv, {mode, x}, 20);
  Term_ const* ieee = tm.mk_app(SymbolTag::fp_as_ieeebv, {x});
  std::vector<float> values = {0.0f,      -0.0f,    0.5f,      -0.5f,      1.5f,        2.5f,
                               3.5f,      -2.5f,    1e-40f,    -1e-40f,    0.49999997f, 1e30f,
                               524287.5f, 524288.f, -524288.f, -524288.5f, 1048575.f,   1048576.f,
                               77.7f,     -99.3f,   INFINITY,  NAN};
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i)
    values.push_back((static_cast<float>(random()) - 2147483648.f) /
                     static_cast<float>(1 << (random() % 31)));
  for (float f : values)
    for (unsigned m = 0; m < 4; ++m) {
      std::uint32_t bits = 0;
      std::memcpy(&bits, &f, 4);
      Table table;
      table.values = {{x, bits}, {mode, m}, {s, 12345}, {u, 54321}};
      Evaluator e(tm);
      e.set_assignment(table);
      double const d = f;
      double const r = m == 0   ? std::nearbyint(d)
                       : m == 1 ? std::trunc(d)
                       : m == 2 ? std::ceil(d)
                                : std::floor(d);
      bool const fits_s = r >= -524288 && r < 524288;
      bool const fits_u = r >= 0 && r < 1048576;
      EXPECT_EQ(fits_s ? modulo(mpz_class(r), 20) : mpz_class(12345), number(e.value(s), 20))
          << f << " mode " << m;
      EXPECT_EQ(fits_u ? mpz_class(r) : mpz_class(54321), number(e.value(u), 20)) << f << " mode " << m;
      EXPECT_EQ(bits, number(e.value(ieee), 32));
    }
  Table table;
  table.values = {{x, 0xc0200000u}, {mode, 3}};  // -2.5
  Evaluator e(tm);
  e.set_assignment(table);
  EXPECT_EQ("(fp #b1 #b10000000 #b01000000000000000000000)", e.text(x));
  EXPECT_EQ("roundTowardNegative", e.text(mode));
}

TEST(Evaluator, TermsWithoutValueAreRefused) {
  TermManager tm;
  Table table;
  Evaluator e(tm);
  e.set_assignment(table);
  EXPECT_THROW(e.value(tm.mk_variable("i", tm.int_type)), Exception);
}

// The children of an application of the operator: words of a width, or what it takes instead.
std::vector<Term_ const*> children(TermManager& tm, OperatorInfo const& op, std::uint64_t width) {
  using Typing = OperatorInfo::Typing;
  Type const* const word = tm.bv_type(width);
  std::vector<Term_ const*> out;
  for (int i = 0; i < op.arity; ++i) {
    Type const* type = word;
    if (op.typing == Typing::booleans) type = tm.bool_type;
    if (op.typing == Typing::ite && (i == 0 || op.tag == SymbolTag::bool_ite)) type = tm.bool_type;
    if (op.typing == Typing::fp_to_word) type = i == 0 ? tm.rounding_mode_type : tm.fp_type(5, 10);
    if (op.typing == Typing::fp_as_word) type = tm.fp_type(5, 10);
    out.push_back(tm.mk_variable("x", type));
  }
  return out;
}

TEST(Evaluator, EveryOperatorOfTheTableHasAValue) {
  Random random(7);
  for (std::uint64_t width : {5u, 64u, 70u})
    for (OperatorInfo const& op : operator_table) {
      TermManager tm;
      std::vector<Term_ const*> const x = children(tm, op, width);
      std::uint64_t const parameter = op.typing == OperatorInfo::Typing::fp_to_word ? width : 2;
      Term_ const* t = tm.mk_app(op.tag, x, parameter, 1);
      ASSERT_EQ(static_cast<std::size_t>(op.arity), t->symbol->arity);
      bool differ = false;
      bool const exchangeable =
          op.arity == 2 && x[0]->symbol->get_output_type() == x[1]->symbol->get_output_type();
      Term_ const* exchanged = exchangeable ? tm.mk_app(op.tag, std::vector{x[1], x[0]}) : t;
      for (int round = 0; round < 60; ++round) {
        Table table;
        for (Term_ const* v : x)
          table.values[v] = modulo(random.word(width), value_width(tm, v->symbol->get_output_type()));
        Evaluator evaluator(tm);
        evaluator.set_assignment(table);
        std::string const value = evaluator.text(t);
        differ |= exchangeable && value != evaluator.text(exchanged);
      }
      EXPECT_EQ(exchangeable && !differ, operator_commutative(op.tag)) << op.name << ' ' << width;
    }
}

}  // namespace
}  // namespace vell::values
