// Every operator of the table, on every input of small widths, against its definition over integers.

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include "tests/smtlib/script.h"
#include "vell/smtlib/operatortable.h"

namespace vell::smtlib {
namespace {

using Value = std::int64_t;

constexpr Value pow2(unsigned w) { return Value{1} << w; }
Value modulo(Value v, unsigned w) { return ((v % pow2(w)) + pow2(w)) % pow2(w); }
Value to_signed(Value v, unsigned w) { return v >= pow2(w - 1) ? v - pow2(w) : v; }
bool fits_signed(Value v, unsigned w) { return v >= -pow2(w - 1) && v < pow2(w - 1); }

// The script that asserts that r, of the given sort, is the term.
struct Instance {
  Instance(std::string const& declarations, std::string const& term)
      : script(declarations + "(assert (! " + "(= " + term + " " + term + ") :named whole))") {
    result = script.asserted()->children[0];
  }
  Value at(std::map<std::string, Value> const& inputs) {
    std::map<Term_ const*, std::uint64_t> values;
    for (auto const& [name, v] : inputs) values[script.declared.at(name)] = static_cast<std::uint64_t>(v);
    return static_cast<Value>(Evaluator(script.terms, std::move(values))(result));
  }
  Script script;
  Term_ const* result;
};

std::set<std::string> tested;

std::string word_sort(unsigned w) { return "(_ BitVec " + std::to_string(w) + ")"; }
std::string declare(std::string const& name, std::string const& sort) {
  return "(declare-const " + name + " " + sort + ")";
}

using Unary = std::function<Value(Value x, unsigned w)>;
using Binary = std::function<Value(Value x, Value y, unsigned w)>;

// "op" or "(_ op i j)"
std::string bare(std::string const& op) {
  if (op[0] != '(') return op;
  return op.substr(3, op.find(' ', 3) - 3);
}

void check_unary(std::string const& op, unsigned w, Unary const& expected) {
  tested.insert(bare(op));
  Instance f(declare("x", word_sort(w)), "(" + op + " x)");
  for (Value x = 0; x < pow2(w); ++x)
    ASSERT_EQ(f.at({{"x", x}}), expected(x, w)) << op << " " << x << " width " << w;
}

void check_binary(std::string const& op, Binary const& expected, unsigned max_width = 4) {
  tested.insert(op);
  for (unsigned w = 1; w <= max_width; ++w) {
    Instance f(declare("x", word_sort(w)) + declare("y", word_sort(w)), "(" + op + " x y)");
    for (Value x = 0; x < pow2(w); ++x)
      for (Value y = 0; y < pow2(w); ++y)
        ASSERT_EQ(f.at({{"x", x}, {"y", y}}), expected(x, y, w))
            << op << " " << x << " " << y << " width " << w;
    // With a constant in either place the expansion may differ.
    for (Value y = 0; y < pow2(w); ++y) {
      std::string const numeral = " (_ bv" + std::to_string(y) + " " + std::to_string(w) + ")";
      Instance right(declare("x", word_sort(w)), "(" + op + " x" + numeral + ")");
      Instance left(declare("x", word_sort(w)), "(" + op + numeral + " x)");
      for (Value x = 0; x < pow2(w); ++x) {
        ASSERT_EQ(right.at({{"x", x}}), expected(x, y, w))
            << op << " " << x << " constant " << y << " width " << w;
        ASSERT_EQ(left.at({{"x", x}}), expected(y, x, w))
            << op << " constant " << y << " " << x << " width " << w;
      }
    }
  }
}

Value udiv(Value x, Value y, unsigned w) { return y == 0 ? pow2(w) - 1 : x / y; }
Value urem(Value x, Value y, unsigned) { return y == 0 ? x : x % y; }
// The standard's definitions, by cases on the signs.
Value negated(Value x, unsigned w) { return modulo(-x, w); }
Value sdiv(Value x, Value y, unsigned w) {
  bool const nx = x >= pow2(w - 1);
  bool const ny = y >= pow2(w - 1);
  Value const q = udiv(nx ? negated(x, w) : x, ny ? negated(y, w) : y, w);
  return nx != ny ? negated(q, w) : q;
}
Value srem(Value x, Value y, unsigned w) {
  bool const nx = x >= pow2(w - 1);
  bool const ny = y >= pow2(w - 1);
  Value const r = urem(nx ? negated(x, w) : x, ny ? negated(y, w) : y, w);
  return nx ? negated(r, w) : r;
}
Value smod(Value x, Value y, unsigned w) {
  bool const nx = x >= pow2(w - 1);
  bool const ny = y >= pow2(w - 1);
  Value const u = urem(nx ? negated(x, w) : x, ny ? negated(y, w) : y, w);
  if (u == 0) return u;
  if (!nx && !ny) return u;
  if (nx && !ny) return modulo(negated(u, w) + y, w);
  if (!nx && ny) return modulo(u + y, w);
  return negated(u, w);
}
Value rotated_left(Value x, Value by, unsigned w) {
  unsigned const k = static_cast<unsigned>(by % w);
  return modulo(x << k, w) | x >> (w - k);
}

void bitwise() {
  for (unsigned w = 1; w <= 4; ++w) {
    check_unary("bvnot", w, [](Value x, unsigned n) { return pow2(n) - 1 - x; });
    check_unary("bvredor", w, [](Value x, unsigned) { return x != 0; });
    check_unary("bvredand", w, [](Value x, unsigned n) { return x == pow2(n) - 1; });
  }
  check_binary("bvand", [](Value x, Value y, unsigned) { return x & y; });
  check_binary("bvor", [](Value x, Value y, unsigned) { return x | y; });
  check_binary("bvxor", [](Value x, Value y, unsigned) { return x ^ y; });
  check_binary("bvnand", [](Value x, Value y, unsigned w) { return pow2(w) - 1 - (x & y); });
  check_binary("bvnor", [](Value x, Value y, unsigned w) { return pow2(w) - 1 - (x | y); });
  check_binary("bvxnor", [](Value x, Value y, unsigned w) { return pow2(w) - 1 - (x ^ y); });
}

void arithmetic() {
  for (unsigned w = 1; w <= 4; ++w) check_unary("bvneg", w, negated);
  check_binary("bvadd", [](Value x, Value y, unsigned w) { return modulo(x + y, w); });
  check_binary("bvsub", [](Value x, Value y, unsigned w) { return modulo(x - y, w); });
  check_binary("bvmul", [](Value x, Value y, unsigned w) { return modulo(x * y, w); });
  check_binary("bvudiv", udiv);
  check_binary("bvurem", urem);
  check_binary("bvsdiv", sdiv);
  check_binary("bvsrem", srem);
  check_binary("bvsmod", smod, 5);
}

void shifts() {
  check_binary("bvshl", [](Value x, Value y, unsigned w) { return y >= w ? 0 : modulo(x << y, w); });
  check_binary("bvlshr", [](Value x, Value y, unsigned w) { return y >= w ? 0 : x >> y; });
  check_binary("bvashr", [](Value x, Value y, unsigned w) {
    return modulo(to_signed(x, w) >> std::min<Value>(y, w - 1), w);
  });
  check_binary("ext_rotate_left", rotated_left, 6);
  check_binary(
      "ext_rotate_right", [](Value x, Value y, unsigned w) { return rotated_left(x, w - y % w, w); }, 6);
  for (unsigned w = 1; w <= 5; ++w)
    for (unsigned k = 0; k <= 11; ++k) {
      std::string const i = std::to_string(k);
      check_unary("(_ rotate_left " + i + ")", w, [k](Value x, unsigned n) { return rotated_left(x, k, n); });
      check_unary("(_ rotate_right " + i + ")", w,
                  [k](Value x, unsigned n) { return rotated_left(x, n - k % n, n); });
    }
}

void structure() {
  for (unsigned w = 1; w <= 4; ++w) {
    for (unsigned msb = 0; msb < w; ++msb)
      for (unsigned lsb = 0; lsb <= msb; ++lsb)
        check_unary("(_ extract " + std::to_string(msb) + " " + std::to_string(lsb) + ")", w,
                    [=](Value x, unsigned) { return modulo(x >> lsb, msb - lsb + 1); });
    for (unsigned k = 0; k <= 3; ++k) {
      check_unary("(_ zero_extend " + std::to_string(k) + ")", w, [](Value x, unsigned) { return x; });
      check_unary("(_ sign_extend " + std::to_string(k) + ")", w,
                  [k](Value x, unsigned n) { return modulo(to_signed(x, n), n + k); });
    }
    for (unsigned k = 1; k <= 7; ++k)
      check_unary("(_ repeat " + std::to_string(k) + ")", w, [k](Value x, unsigned n) {
        Value r = 0;
        for (unsigned i = 0; i < k; ++i) r = r << n | x;
        return r;
      });
  }
  tested.insert("concat");
  Instance f(declare("x", word_sort(2)) + declare("y", word_sort(3)) + declare("z", word_sort(1)),
             "(concat x y z)");
  for (Value x = 0; x < 4; ++x)
    for (Value y = 0; y < 8; ++y)
      for (Value z = 0; z < 2; ++z) ASSERT_EQ(f.at({{"x", x}, {"y", y}, {"z", z}}), x << 4 | y << 1 | z);
}

void order() {
  check_binary("bvcomp", [](Value x, Value y, unsigned) { return x == y; });
  check_binary("bvult", [](Value x, Value y, unsigned) { return x < y; });
  check_binary("bvule", [](Value x, Value y, unsigned) { return x <= y; });
  check_binary("bvugt", [](Value x, Value y, unsigned) { return x > y; });
  check_binary("bvuge", [](Value x, Value y, unsigned) { return x >= y; });
  check_binary("bvslt", [](Value x, Value y, unsigned w) { return to_signed(x, w) < to_signed(y, w); });
  check_binary("bvsle", [](Value x, Value y, unsigned w) { return to_signed(x, w) <= to_signed(y, w); });
  check_binary("bvsgt", [](Value x, Value y, unsigned w) { return to_signed(x, w) > to_signed(y, w); });
  check_binary("bvsge", [](Value x, Value y, unsigned w) { return to_signed(x, w) >= to_signed(y, w); });
}

void overflow() {
  for (unsigned w = 1; w <= 4; ++w)
    check_unary("bvnego", w, [](Value x, unsigned n) { return !fits_signed(-to_signed(x, n), n); });
  check_binary("bvuaddo", [](Value x, Value y, unsigned w) { return x + y >= pow2(w); });
  check_binary("bvusubo", [](Value x, Value y, unsigned) { return x - y < 0; });
  check_binary(
      "bvumulo", [](Value x, Value y, unsigned w) { return x * y >= pow2(w); }, 5);
  check_binary("bvsaddo", [](Value x, Value y, unsigned w) {
    return !fits_signed(to_signed(x, w) + to_signed(y, w), w);
  });
  check_binary("bvssubo", [](Value x, Value y, unsigned w) {
    return !fits_signed(to_signed(x, w) - to_signed(y, w), w);
  });
  check_binary(
      "bvsmulo",
      [](Value x, Value y, unsigned w) { return !fits_signed(to_signed(x, w) * to_signed(y, w), w); }, 5);
  check_binary("bvsdivo", [](Value x, Value y, unsigned w) {
    return y != 0 && !fits_signed(to_signed(x, w) / to_signed(y, w), w);
  });
}

// Connectives over up to four Booleans, with the associativity of the standard.
void core() {
  using Fold = std::function<bool(std::vector<bool> const&)>;
  auto check = [](std::string const& op, unsigned least, unsigned most, Fold const& expected) {
    tested.insert(op);
    for (unsigned n = least; n <= most; ++n) {
      std::string declarations;
      std::string term = "(" + op;
      for (unsigned i = 0; i < n; ++i) {
        declarations += declare("p" + std::to_string(i), "Bool");
        term += " p" + std::to_string(i);
      }
      Instance f(declarations, term + ")");
      for (unsigned bits = 0; bits < 1u << n; ++bits) {
        std::map<std::string, Value> inputs;
        std::vector<bool> v;
        for (unsigned i = 0; i < n; ++i) {
          v.push_back((bits >> i & 1) != 0);
          inputs["p" + std::to_string(i)] = v.back();
        }
        ASSERT_EQ(f.at(inputs), expected(v)) << op << " of " << n << " " << bits;
      }
    }
  };
  using Bits = std::vector<bool>;
  check("not", 1, 1, [](Bits const& v) { return !v[0]; });
  check("and", 1, 4, [](Bits const& v) { return std::count(v.begin(), v.end(), false) == 0; });
  check("or", 1, 4, [](Bits const& v) { return std::count(v.begin(), v.end(), true) != 0; });
  check("xor", 2, 4, [](Bits const& v) { return std::count(v.begin(), v.end(), true) % 2 == 1; });
  check("=>", 2, 4, [](Bits const& v) {
    bool r = v.back();
    for (std::size_t i = v.size() - 1; i-- > 0;) r = !v[i] || r;
    return r;
  });
  check("=", 2, 4, [](Bits const& v) { return std::count(v.begin(), v.end(), v[0]) == std::ssize(v); });
  check("distinct", 2, 4, [](Bits const& v) { return v.size() == 2 && v[0] != v[1]; });
  check("ite", 3, 3, [](Bits const& v) { return v[0] ? v[1] : v[2]; });
  for (char const* t : {"true", "false"}) {
    tested.insert(t);
    EXPECT_EQ(Instance("", t).at({}), std::string(t) == "true");
  }
}

// One test, so that it can see that no operator of the table was left out.
TEST(Operators, AgreeWithTheirDefinitions) {
  bitwise();
  arithmetic();
  shifts();
  structure();
  order();
  overflow();
  core();
  for (Operator const& op : operator_table())
    EXPECT_TRUE(tested.contains(op.name)) << op.name << " is not tested";
}

TEST(Operators, ManyWords) {
  std::string const three =
      declare("x", word_sort(3)) + declare("y", word_sort(3)) + declare("z", word_sort(3));
  auto check = [&](std::string const& term, std::function<Value(Value, Value, Value)> const& expected) {
    Instance f(three, term);
    for (Value x = 0; x < 8; ++x)
      for (Value y = 0; y < 8; ++y)
        for (Value z = 0; z < 8; ++z)
          ASSERT_EQ(f.at({{"x", x}, {"y", y}, {"z", z}}), expected(x, y, z)) << term;
  };
  check("(bvadd x y z)", [](Value x, Value y, Value z) { return (x + y + z) % 8; });
  check("(bvmul x y z)", [](Value x, Value y, Value z) { return x * y * z % 8; });
  check("(bvand x y z)", [](Value x, Value y, Value z) { return x & y & z; });
  check("(bvor x y z)", [](Value x, Value y, Value z) { return x | y | z; });
  check("(bvxor x y z)", [](Value x, Value y, Value z) { return x ^ y ^ z; });
  check("(bvxnor x y z)", [](Value x, Value y, Value z) { return x ^ y ^ z; });
  check("(= x y z)", [](Value x, Value y, Value z) { return x == y && y == z; });
  check("(distinct x y z)", [](Value x, Value y, Value z) { return x != y && y != z && x != z; });
  check("(ite (= x y) z x)", [](Value x, Value y, Value z) { return x == y ? z : x; });
}

// ---- structure: what is built, and in which order ----

std::string built(std::string const& term) {
  Script s(
      "(declare-const a (_ BitVec 2))(declare-const b (_ BitVec 2))(declare-const c (_ BitVec 2))"
      "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)(get-value (" +
      term + "))");
  return text_of(s.terms, s.commands.back().terms.at(0));
}

TEST(Operators, BuildsLeftToRight) {
  EXPECT_EQ(built("(bvadd a b c)"), "(bvadd (bvadd a b) c)");
  EXPECT_EQ(built("(bvmul a b #b11 c)"), "(bvmul (bvmul (bvmul a b) #b11) c)");
  EXPECT_EQ(built("(and p q r)"), "(and (and p q) r)");
  EXPECT_EQ(built("(and p)"), "p");
  EXPECT_EQ(built("(or p)"), "p");
  EXPECT_EQ(built("(=> p q r)"), "(or (not p) (or (not q) r))");
  EXPECT_EQ(built("(xor p q r)"), "(not (= (not (= p q)) r))");
  EXPECT_EQ(built("(= a b c)"), "(and (= a b) (= b c))");
  EXPECT_EQ(built("(distinct a b c)"), "(and (and (not (= a b)) (not (= a c))) (not (= b c)))");
  EXPECT_EQ(built("(concat a b c)"), "(concat (concat a b) c)");
  EXPECT_EQ(built("(bvxnor a b c)"), "(bvnot (bvxor (bvnot (bvxor a b)) c))");
}

TEST(Operators, ConstantFactorGoesFirst) {
  EXPECT_EQ(built("(bvmul a #b11)"), "(bvmul #b11 a)");
  EXPECT_EQ(built("(bvmul #b11 a)"), "(bvmul #b11 a)");
  EXPECT_EQ(built("(bvmul #b11 #b01)"), "(bvmul #b11 #b01)");
  EXPECT_EQ(built("(bvadd a #b11)"), "(bvadd a #b11)");
}

TEST(Operators, Expansions) {
  EXPECT_EQ(built("(bvugt a b)"), "(bvult b a)");
  EXPECT_EQ(built("(bvuge a b)"), "(bvule b a)");
  EXPECT_EQ(built("(bvsgt a b)"), "(bvslt b a)");
  EXPECT_EQ(built("(bvsge a b)"), "(bvsle b a)");
  EXPECT_EQ(built("(bvcomp a b)"), "(ite (= a b) #b1 #b0)");
  EXPECT_EQ(built("(bvnand a b)"), "(bvnot (bvand a b))");
  EXPECT_EQ(built("((_ rotate_left 5) a)"), "((_ rotate_left 1) a)");
  EXPECT_EQ(built("((_ repeat 3) a)"), "(concat (concat a a) a)");
  EXPECT_EQ(built("((_ repeat 1) a)"), "a");
  EXPECT_EQ(built("((_ zero_extend 0) a)"), "((_ zero_extend 0) a)");
  EXPECT_EQ(built("(ite p a b)"), "(ite p a b)");
}

// Sort and tag of what is built are those that the checked factory gives.
TEST(Operators, AgreeWithTheTermLayer) {
  Script s(
      "(declare-const a (_ BitVec 2))(declare-const b (_ BitVec 2))(declare-const p Bool)(get-value ("
      "(bvadd a b) (bvslt a b) (bvult a b) (= a b) (= p p) (ite p a b) (ite p p p) (concat a b)"
      "((_ extract 1 0) a) ((_ rotate_left 1) a) ((_ sign_extend 3) a) (not p)))");
  Term_ const* const a = s.declared.at("a");
  Term_ const* const b = s.declared.at("b");
  Term_ const* const p = s.declared.at("p");
  auto& tm = s.terms;
  std::vector<Term_ const*> const expected = {
      tm.mk_app(SymbolTag::bv_add, {a, b}),         tm.mk_app(SymbolTag::bv_slt, {a, b}),
      tm.mk_app(SymbolTag::bv_ult, {a, b}),         tm.mk_app(SymbolTag::equal, {a, b}),
      tm.mk_app(SymbolTag::equal, {p, p}),          tm.mk_app(SymbolTag::term_ite, {p, a, b}),
      tm.mk_app(SymbolTag::term_ite, {p, p, p}),    tm.mk_app(SymbolTag::bv_concat, {a, b}),
      tm.mk_app(SymbolTag::bv_extract, {a}, 1, 0),  tm.mk_app(SymbolTag::bv_rotate_left, {a}, 1),
      tm.mk_app(SymbolTag::bv_sign_extend, {a}, 3), tm.mk_app(SymbolTag::bool_not, {p})};
  EXPECT_EQ(s.commands.back().terms, expected);
}

// Wide constants of the expansions.
TEST(Operators, WideConstants) {
  for (unsigned w : {63u, 64u, 65u, 128u, 200u}) {
    Script s(declare("a", word_sort(w)) + declare("b", word_sort(w)) +
             "(get-value ((bvnego a) (bvredand a) (bvredor a) (bvsmod a b) (bvumulo a #b" +
             std::string(w, '1') + ") (bvsmulo #b1" + std::string(w - 1, '0') + " a)))");
    auto const& v = s.commands.back().terms;
    EXPECT_EQ(text_of(s.terms, v[0]), "(= a #b1" + std::string(w - 1, '0') + ")");
    EXPECT_EQ(text_of(s.terms, v[1]), "(ite (= a #b" + std::string(w, '1') + ") #b1 #b0)");
    EXPECT_EQ(text_of(s.terms, v[2]), "(ite (= a #b" + std::string(w, '0') + ") #b0 #b1)");
    // Constant operands stay constants when they are widened, and stand first.
    EXPECT_NE(text_of(s.terms, v[4]).find("(bvmul #b" + std::string(w, '0') + std::string(w, '1') + " ("),
              std::string::npos);
    EXPECT_NE(
        text_of(s.terms, v[5]).find("(bvmul #b" + std::string(w + 1, '1') + std::string(w - 1, '0') + " ("),
        std::string::npos);
  }
}

TEST(Operators, RepeatTakesFewTerms) {
  Script s("(declare-const a (_ BitVec 3))(get-value (((_ repeat 100000) a)))");
  std::uint64_t w = 0;
  EXPECT_TRUE(s.terms.is_bv_type(s.commands.back().terms[0]->symbol->get_output_type(), &w));
  EXPECT_EQ(w, 300000u);
  EXPECT_LT(s.terms.term_count(), 50u);
}

}  // namespace
}  // namespace vell::smtlib
