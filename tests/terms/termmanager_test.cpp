// Interning, queries and memory of the term layer.

#include "vell/terms/termmanager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/allocations.h"

namespace vell {
namespace {

class TermManagerTest : public ::testing::Test {
 protected:
  Term_ const* var(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }

  TermManager tm;
};

// ---- layout ----

TEST(TermLayoutTest, FieldsInOrder) {
  EXPECT_EQ(offsetof(Term_, id), 0u);
  EXPECT_EQ(offsetof(Term_, symbol), 8u);
  EXPECT_EQ(offsetof(Term_, children), 16u);
  EXPECT_EQ(sizeof(Term_), 16u);
}

// ---- types ----

TEST_F(TermManagerTest, TypesAreInterned) {
  EXPECT_EQ(tm.bv_type(8), tm.bv_type(8));
  EXPECT_NE(tm.bv_type(8), tm.bv_type(9));
  EXPECT_EQ(tm.fp_type(8, 23), tm.fp_type(8, 23));
  EXPECT_NE(tm.fp_type(8, 23), tm.fp_type(8, 24));
  EXPECT_NE(tm.fp_type(8, 23), tm.fp_type(7, 23));
  Type const* args[] = {tm.bv_type(8), tm.bool_type};
  EXPECT_EQ(tm.function_type(args, tm.int_type), tm.function_type(args, tm.int_type));
  EXPECT_NE(tm.function_type(args, tm.int_type), tm.function_type(args, tm.real_type));
}

TEST_F(TermManagerTest, BitVectorTypeHasMarkerAndWidth) {
  Type const* t = tm.bv_type(17);
  ASSERT_EQ(t->components.size(), 2u);
  EXPECT_EQ(t->get_component(0), tm.bv_type_marker);
  EXPECT_EQ(tm.get_width_from_type(t->get_component(1)), 17u);
  std::uint64_t width = 0;
  EXPECT_TRUE(tm.is_bv_type(t, &width));
  EXPECT_EQ(width, 17u);
  EXPECT_TRUE(tm.is_bv_type(t));
  EXPECT_TRUE(tm.is_bv_type(t, nullptr));
  EXPECT_TRUE(tm.is_bv_type(tm.bv_type(0), &width));
  EXPECT_EQ(width, 0u);
  EXPECT_TRUE(tm.is_bv_type(tm.bv_type(std::uint64_t{1} << 40), &width));
  EXPECT_EQ(width, std::uint64_t{1} << 40);
}

TEST_F(TermManagerTest, WidthIsThatOfAWord) {
  EXPECT_EQ(tm.width(tm.mk_variable("x", tm.bv_type(17))), 17u);
  EXPECT_EQ(tm.width(tm.mk_bv(3, 70)), 70u);
  EXPECT_EQ(tm.width(tm.mk_bool(true)), 0u);
  EXPECT_EQ(tm.width(tm.mk_variable("f", tm.fp_type(5, 10))), 0u);
}

TEST_F(TermManagerTest, FloatingPointTypeHasMarkerAndFormat) {
  Type const* t = tm.fp_type(8, 23);
  ASSERT_EQ(t->components.size(), 2u);
  EXPECT_EQ(t->get_component(0), tm.fp_type_marker);
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  EXPECT_TRUE(tm.is_fp_type(t, &e, &s));
  EXPECT_EQ(e, 8u);
  EXPECT_EQ(s, 23u);
  EXPECT_TRUE(tm.is_fp_type(t));
  EXPECT_TRUE(tm.is_fp_type(t, nullptr, &s));
  EXPECT_TRUE(tm.is_fp_type(t, &e, nullptr));
}

TEST_F(TermManagerTest, OtherTypesAreNeither) {
  Type const* arg = tm.bv_type(8);
  for (Type const* t :
       {tm.bool_type, tm.int_type, tm.real_type, tm.rounding_mode_type, tm.bv_type_marker,
        tm.function_type({&arg, 1}, tm.bool_type), tm.function_type({&arg, 1}, tm.bv_type(8))}) {
    std::uint64_t width = 77;
    EXPECT_FALSE(tm.is_bv_type(t, &width)) << t->to_str();
    EXPECT_FALSE(tm.is_fp_type(t, &width, &width)) << t->to_str();
    EXPECT_EQ(width, 77u);
  }
  EXPECT_FALSE(tm.is_bv_type(tm.fp_type(8, 23)));
  EXPECT_FALSE(tm.is_fp_type(tm.bv_type(8)));
}

TEST_F(TermManagerTest, ComponentCountIsAskedBeforeTheComponents) {
  // A type without components and ones with one and three, among them some that begin with the marker.
  auto made_of = [&](std::vector<Type const*> components) {
    Type* t = const_cast<Type*>(tm.function_type({}, tm.bool_type));
    t->components = std::move(components);
    return t;
  };
  for (auto const& components :
       {std::vector<Type const*>{}, std::vector<Type const*>{tm.bv_type_marker},
        std::vector<Type const*>{tm.bv_type_marker, tm.bv_type(8)->get_component(1), tm.bool_type},
        std::vector<Type const*>{tm.fp_type_marker},
        std::vector<Type const*>{tm.fp_type_marker, tm.fp_type(8, 23)->get_component(1), tm.bool_type}}) {
    Type const* t = made_of(components);
    EXPECT_FALSE(tm.is_bv_type(t)) << components.size();
    EXPECT_FALSE(tm.is_fp_type(t)) << components.size();
  }
}

TEST_F(TermManagerTest, FunctionTypes) {
  Type const* args[] = {tm.bv_type(8), tm.bool_type};
  Type const* f = tm.function_type(args, tm.bv_type(3));
  std::vector<Type const*> arguments;
  Type const* result = nullptr;
  EXPECT_TRUE(tm.is_function_type(f, &arguments, &result));
  EXPECT_EQ(arguments, (std::vector<Type const*>{args[0], args[1]}));
  EXPECT_EQ(result, tm.bv_type(3));
  EXPECT_TRUE(tm.is_function_type(f));
  EXPECT_FALSE(tm.is_function_type(tm.bv_type(8)));
  EXPECT_FALSE(tm.is_function_type(tm.bool_type, &arguments, &result));
}

TEST_F(TermManagerTest, TypeNames) {
  EXPECT_EQ(tm.bv_type(8)->to_str(), "bv8");
  EXPECT_EQ(tm.bool_type->to_str(), "bool");
  EXPECT_EQ(tm.fp_type(8, 23)->to_str(), "fp8.23");
  EXPECT_EQ(tm.rounding_mode_type->to_str(), "rm");
  EXPECT_EQ(tm.int_type->to_str(), "int");
  EXPECT_EQ(tm.real_type->to_str(), "real");
  EXPECT_EQ(tm.function_type({}, tm.bool_type)->to_str(), "fun");
}

// ---- symbols ----

TEST_F(TermManagerTest, SymbolWithoutTagHasTagZero) {
  EXPECT_EQ(tm.get_tag(var("x", 8)->symbol), SymbolTag::none);
  EXPECT_EQ(tm.get_tag(tm.make_symbol({.name = "f", .arity = 2, .output_type = tm.bool_type})), 0u);
  EXPECT_EQ(tm.get_tag(tm.mk_bv(3, 8)->symbol), 0u);
  EXPECT_EQ(tm.get_tag(tm.mk_bool(true)->symbol), SymbolTag::bool_true);
}

TEST_F(TermManagerTest, SymbolsKeepTheirSpec) {
  std::string name = "f";
  SymbolSpec spec;
  spec.name = name;
  spec.arity = 3;
  spec.output_type = tm.bv_type(5);
  spec.tag = SymbolTag::bv_extract;
  spec.role = Symbol::Role::extract;
  spec.parameter0 = 6;
  spec.parameter1 = 2;
  Symbol const* s = tm.make_symbol(spec);
  name = "gone";
  EXPECT_STREQ(s->name, "f");
  EXPECT_EQ(s->arity, 3u);
  EXPECT_EQ(s->get_output_type(), tm.bv_type(5));
  EXPECT_EQ(tm.get_tag(s), SymbolTag::bv_extract);
  EXPECT_EQ(s->parameter(0), 6u);
  EXPECT_EQ(s->parameter(1), 2u);
  EXPECT_NE(tm.make_symbol(spec), s);  // always a new one
}

TEST_F(TermManagerTest, OperatorSymbolsAreInternedByAllTheirParts) {
  Symbol const* s = tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(3), 4, 2);
  EXPECT_EQ(tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(3), 4, 2), s);
  EXPECT_NE(tm.operator_symbol(SymbolTag::bv_not, 1, tm.bv_type(3), 4, 2), s);
  EXPECT_NE(tm.operator_symbol(SymbolTag::bv_extract, 2, tm.bv_type(3), 4, 2), s);
  EXPECT_NE(tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(4), 4, 2), s);
  EXPECT_NE(tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(3), 5, 2), s);
  EXPECT_NE(tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(3), 4, 3), s);
  EXPECT_EQ(tm.operator_symbol(SymbolTag::bv_extract, 1, tm.bv_type(3), 4, 2), s);
  // Many of them, more than any front cache holds.
  std::vector<Symbol const*> many;
  for (std::uint64_t i = 0; i < 3000; ++i)
    many.push_back(tm.operator_symbol(SymbolTag::bv_add, 2, tm.bv_type(i)));
  for (std::uint64_t i = 0; i < 3000; ++i)
    EXPECT_EQ(tm.operator_symbol(SymbolTag::bv_add, 2, tm.bv_type(i)), many[i]);
}

TEST_F(TermManagerTest, RoleQueries) {
  Term_ const* x = var("x", 8);
  Term_ const* y = var("y", 8);
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  std::uint64_t w = 0;

  Symbol const* extract = tm.mk_app(SymbolTag::bv_extract, {x}, 6, 2)->symbol;
  EXPECT_TRUE(tm.is_bv_extract(extract, &a, &b, &w));
  EXPECT_EQ(a, 6u);
  EXPECT_EQ(b, 2u);
  EXPECT_EQ(w, 5u);
  EXPECT_TRUE(tm.is_bv_extract(extract));

  Symbol const* left = tm.mk_app(SymbolTag::bv_rotate_left, {x}, 3)->symbol;
  Symbol const* right = tm.mk_app(SymbolTag::bv_rotate_right, {x}, 5)->symbol;
  EXPECT_TRUE(tm.is_bv_rotate_left(left, &a, &w));
  EXPECT_EQ(a, 3u);
  EXPECT_EQ(w, 8u);
  EXPECT_TRUE(tm.is_bv_rotate_right(right, &a, &w));
  EXPECT_EQ(a, 5u);
  EXPECT_EQ(w, 8u);
  EXPECT_TRUE(tm.is_bv_rotate_left(left) && tm.is_bv_rotate_right(right));
  EXPECT_FALSE(tm.is_bv_rotate_left(right) || tm.is_bv_rotate_right(left));

  Symbol const* slt = tm.mk_app(SymbolTag::bv_slt, {x, y})->symbol;
  EXPECT_TRUE(tm.is_bv_slt(slt, &w));
  EXPECT_EQ(w, 8u);
  EXPECT_TRUE(tm.is_bv_slt(slt));

  Symbol const* ite = tm.mk_app(SymbolTag::term_ite, {p, x, y})->symbol;
  Type const* type = nullptr;
  EXPECT_TRUE(tm.is_term_ite(ite, &type));
  EXPECT_EQ(type, tm.bv_type(8));
  EXPECT_TRUE(tm.is_term_ite(ite));

  Symbol const* others[] = {x->symbol, tm.mk_bv(1, 8)->symbol, tm.mk_app(SymbolTag::bv_add, {x, y})->symbol,
                            tm.mk_app(SymbolTag::bv_ult, {x, y})->symbol};
  for (Symbol const* s : others) {
    a = b = w = 99;
    EXPECT_FALSE(tm.is_bv_extract(s, &a, &b, &w));
    EXPECT_FALSE(tm.is_bv_rotate_left(s, &a, &w));
    EXPECT_FALSE(tm.is_bv_rotate_right(s, &a, &w));
    EXPECT_FALSE(tm.is_bv_slt(s, &w));
    EXPECT_FALSE(tm.is_term_ite(s));
    EXPECT_FALSE(tm.is_fprounding_even(s) || tm.is_fprounding_zero(s) || tm.is_fprounding_plus_inf(s) ||
                 tm.is_fprounding_minus_inf(s));
    EXPECT_TRUE(a == 99 && b == 99 && w == 99);
  }
}

TEST_F(TermManagerTest, RoundingModeQueriesAnswerForTheirOwnMode) {
  Symbol::Role const roles[] = {Symbol::Role::rounding_even, Symbol::Role::rounding_zero,
                                Symbol::Role::rounding_plus_inf, Symbol::Role::rounding_minus_inf};
  for (int i = 0; i < 4; ++i) {
    Symbol const* s = tm.make_symbol({.name = "m", .output_type = tm.rounding_mode_type, .role = roles[i]});
    EXPECT_EQ(tm.is_fprounding_even(s), i == 0);
    EXPECT_EQ(tm.is_fprounding_zero(s), i == 1);
    EXPECT_EQ(tm.is_fprounding_plus_inf(s), i == 2);
    EXPECT_EQ(tm.is_fprounding_minus_inf(s), i == 3);
  }
}

TEST_F(TermManagerTest, UninterpretedSymbols) {
  EXPECT_TRUE(tm.is_uninterpreted_function(var("x", 8)->symbol));
  EXPECT_TRUE(tm.is_uninterpreted_function(tm.make_symbol(
      {.name = "f", .arity = 2, .output_type = tm.bool_type, .role = Symbol::Role::uninterpreted})));
  EXPECT_FALSE(tm.is_uninterpreted_function(tm.mk_bv(1, 8)->symbol));
  EXPECT_FALSE(tm.is_uninterpreted_function(tm.mk_bool(true)->symbol));
}

// ---- numerals ----

TEST_F(TermManagerTest, NumberQueryCopiesOrOnlyAnswers) {
  Symbol const* s = tm.mk_number(QNumber(5), tm.bv_type(8))->symbol;
  QNumber value(9);
  EXPECT_TRUE(tm.is_number(s, &value));
  EXPECT_EQ(value.to_str(), "5");
  value.clear_bit(0);  // a copy
  EXPECT_EQ(tm.number(s)->to_str(), "5");
  EXPECT_TRUE(tm.is_number(s, nullptr));
  EXPECT_TRUE(tm.is_number(s));

  value = QNumber(9);
  EXPECT_FALSE(tm.is_number(var("x", 8)->symbol, &value));
  EXPECT_EQ(value.to_str(), "9");
  EXPECT_EQ(tm.number(var("x", 8)->symbol), nullptr);
  EXPECT_FALSE(tm.is_number(tm.mk_bool(true)->symbol));
}

TEST_F(TermManagerTest, NumeralsAreInternedByValueFormAndType) {
  QNumber const big_five = QNumber::from_digits("5", 10, true);
  Term_ const* t = tm.mk_number(QNumber(5), tm.bv_type(8));
  EXPECT_EQ(tm.mk_number(QNumber(5), tm.bv_type(8)), t);
  EXPECT_EQ(tm.mk_bv(5, 8), t);
  EXPECT_NE(tm.mk_number(QNumber(5), tm.bv_type(9)), t);
  EXPECT_NE(tm.mk_number(QNumber(6), tm.bv_type(8)), t);
  Term_ const* b = tm.mk_number(big_five, tm.bv_type(8));
  EXPECT_NE(b, t);  // the form decides bits above 63 of a negative one
  EXPECT_TRUE(tm.number(b->symbol)->is_big());
  EXPECT_FALSE(tm.number(t->symbol)->is_big());
  EXPECT_EQ(tm.mk_number(big_five, tm.bv_type(8)), b);
  QNumber const huge = QNumber::from_digits("123456789012345678901234567890", 10);
  EXPECT_EQ(tm.mk_number(huge, tm.bv_type(128)), tm.mk_number(huge, tm.bv_type(128)));
}

TEST_F(TermManagerTest, MkBvIsTheUnsignedValueOfTheLowBits) {
#ifdef NDEBUG
  EXPECT_EQ(tm.number(tm.mk_bv(0x1ff, 8)->symbol)->to_str(), "255");
  EXPECT_EQ(tm.number(tm.mk_bv(1, 0)->symbol)->to_str(), "0");
#else
  EXPECT_DEATH(tm.mk_bv(256, 8), "value >> width == 0");
  EXPECT_DEATH(tm.mk_bv(1, 0), "value >> width == 0");
#endif
  EXPECT_EQ(tm.number(tm.mk_bv(255, 8)->symbol)->to_str(), "255");
  EXPECT_EQ(tm.number(tm.mk_bv(0, 0)->symbol)->to_str(), "0");
  EXPECT_EQ(tm.number(tm.mk_bv(~std::uint64_t{0}, 64)->symbol)->to_str(), "18446744073709551615");
  EXPECT_EQ(tm.number(tm.mk_bv(~std::uint64_t{0}, 70)->symbol)->to_str(), "18446744073709551615");
  EXPECT_EQ(tm.number(tm.mk_bv(std::uint64_t{1} << 63, 64)->symbol)->to_str(), "9223372036854775808");
}

// ---- terms ----

TEST_F(TermManagerTest, VariablesAreNewEachTime) {
  Term_ const* a = var("x", 8);
  Term_ const* b = var("x", 8);
  EXPECT_NE(a, b);
  EXPECT_NE(a->symbol, b->symbol);
  EXPECT_STREQ(a->symbol->name, "x");
  EXPECT_EQ(a->symbol->arity, 0u);
}

TEST_F(TermManagerTest, IdsCountFromOneChildrenBelowParents) {
  Term_ const* x = var("x", 8);
  Term_ const* y = var("y", 8);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
  EXPECT_EQ(x->id, 1u);
  EXPECT_EQ(y->id, 2u);
  EXPECT_EQ(sum->id, 3u);
  EXPECT_EQ(sum->children[0], x);
  EXPECT_EQ(sum->children[1], y);
  EXPECT_EQ(tm.term_count(), 3u);
}

TEST_F(TermManagerTest, TheSameTermIsTheSamePointer) {
  Term_ const* x = var("x", 8);
  Term_ const* y = var("y", 8);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
  EXPECT_EQ(tm.mk_app(SymbolTag::bv_add, {x, y}), sum);
  EXPECT_NE(tm.mk_app(SymbolTag::bv_add, {y, x}), sum);
  EXPECT_NE(tm.mk_app(SymbolTag::bv_sub, {x, y}), sum);
  EXPECT_NE(tm.mk_app(SymbolTag::bv_extract, {x}, 3, 0), tm.mk_app(SymbolTag::bv_extract, {x}, 4, 1));
  EXPECT_EQ(tm.mk_bool(true), tm.mk_bool(true));
  EXPECT_NE(tm.mk_bool(true), tm.mk_bool(false));
}

TEST_F(TermManagerTest, AnExistingTermCostsNoAllocationAndNoGrowth) {
  Term_ const* x = var("x", 8);
  Term_ const* y = var("y", 8);
  std::vector<Term_ const*> sums{x};
  for (int i = 0; i < 5000; ++i) sums.push_back(tm.mk_app(SymbolTag::bv_add, {sums.back(), y}));
  Term_ const* number = tm.mk_bv(5, 8);
  tm.mk_bool(true);

  std::uint64_t const count = tm.term_count();
  std::uint64_t const bytes = tm.bytes_reserved();
  std::uint64_t const allocations = test::allocation_count();
  for (int i = 0; i < 5000; ++i)
    if (tm.mk_app(SymbolTag::bv_add, {sums[i], y}) != sums[i + 1]) FAIL() << i;
  EXPECT_EQ(tm.mk_bv(5, 8), number);
  tm.mk_bool(true);
  EXPECT_EQ(test::allocation_count(), allocations);
  EXPECT_EQ(tm.bytes_reserved(), bytes);
  EXPECT_EQ(tm.term_count(), count);
}

TEST_F(TermManagerTest, ShallowForm) {
  Term_ const* x = var("x", 8);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, x});
  Term_ const* nested = tm.mk_app(SymbolTag::bv_mul, {sum, x});
  EXPECT_EQ(x->to_shallow_str(), "x");
  EXPECT_EQ(sum->to_shallow_str(), "(bvadd x x)");
  EXPECT_EQ(nested->to_shallow_str(), "(bvmul #" + std::to_string(sum->id) + " x)");
  Symbol const* labelled =
      tm.make_symbol({.name = "f", .arity = 1, .output_type = tm.bool_type, .label = "t7"});
  Term_ const* child[] = {sum};
  Term_ const* t = tm.mk_term(labelled, child);
  EXPECT_EQ(t->to_shallow_str(), "t7");
  EXPECT_EQ(tm.mk_app(SymbolTag::bool_not, {t})->to_shallow_str(), "(not t7)");
}

TEST_F(TermManagerTest, HugeArity) {
  constexpr std::size_t n = 3'000'000;  // far above a chunk of term memory
  Term_ const* x = var("x", 1);
  Term_ const* y = var("y", 1);
  std::vector<Term_ const*> children(n, x);
  children.back() = y;
  Symbol const* f = tm.make_symbol({.name = "f", .arity = n, .output_type = tm.bool_type});
  Term_ const* t = tm.mk_term(f, children);
  EXPECT_EQ(t->children[0], x);
  EXPECT_EQ(t->children[n - 2], x);
  EXPECT_EQ(t->children[n - 1], y);
  EXPECT_EQ(tm.mk_term(f, children), t);
  children[0] = y;
  Term_ const* other = tm.mk_term(f, children);
  EXPECT_NE(other, t);
  EXPECT_EQ(other->id, t->id + 1);
  // Small terms before and after are found again.
  EXPECT_EQ(tm.mk_app(SymbolTag::bv_not, {x}), tm.mk_app(SymbolTag::bv_not, {x}));
  EXPECT_EQ(t->children[n - 1], y);
}

TEST_F(TermManagerTest, TermsOfEveryAritySurviveTheChangeOfChunks) {
  Term_ const* x = var("x", 1);
  std::vector<Term_ const*> children(600, x);
  std::vector<Term_ const*> made;
  std::vector<Symbol const*> symbols;
  for (std::size_t n = 0; n < 600; ++n) {
    symbols.push_back(tm.make_symbol({.name = "f", .arity = n, .output_type = tm.bool_type}));
    made.push_back(tm.mk_term(symbols[n], {children.data(), n}));
  }
  for (std::size_t n = 0; n < 600; ++n) {
    EXPECT_EQ(tm.mk_term(symbols[n], {children.data(), n}), made[n]);
    for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(made[n]->children[i], x);
  }
}

// Resident memory in bytes.
std::uint64_t resident() {
  std::ifstream f("/proc/self/statm");
  std::uint64_t total = 0;
  std::uint64_t pages = 0;
  f >> total >> pages;
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

// A fifth of them under AddressSanitizer, which is that much slower.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::uint64_t many_terms = 2'000'000;
#else
constexpr std::uint64_t many_terms = 10'000'000;
#endif

TEST(TermManagerScaleTest, TenMillionNestedTermsWithinOneGibibyte) {
  std::uint64_t const before = resident();
  std::uint64_t after = 0;
  // On a thread of a small stack: neither making nor dropping a term of this depth may recurse.
  std::thread([&] {
    auto tm = std::make_unique<TermManager>();
    Term_ const* x = tm->mk_variable("x", tm->bv_type(8));
    Symbol const* add = tm->operator_symbol(SymbolTag::bv_add, 2, tm->bv_type(8));
    Term_ const* t = x;
    for (std::uint64_t i = 0; i < many_terms; ++i) {
      Term_ const* children[] = {t, x};
      t = tm->mk_term(add, children);
    }
    EXPECT_EQ(t->id, many_terms + 1);
    EXPECT_EQ(tm->term_count(), many_terms + 1);
    EXPECT_LT(tm->bytes_reserved(), std::uint64_t{1} << 30);
    after = resident();
  }).join();
#if !defined(__SANITIZE_ADDRESS__)
  EXPECT_LT(after - before, std::uint64_t{1} << 30);
#else
  (void)before;
#endif
}

TEST(TermManagerScaleTest, ManagersOfTwoThreadsAreIndependent) {
  auto work = [] {
    TermManager tm;
    Term_ const* t = tm.mk_variable("x", tm.bv_type(8));
    for (int i = 0; i < 20000; ++i) {
      t = tm.mk_app(SymbolTag::bv_add, {t, tm.mk_bv(static_cast<std::uint64_t>(i % 256), 8)});
      QNumber const big = QNumber::from_digits("99999999999999999999", 10);
      if (!(QNumber(i) < big)) return false;
    }
    return t->id == tm.term_count();
  };
  bool ok[2] = {false, false};
  std::thread a([&] { ok[0] = work(); });
  std::thread b([&] { ok[1] = work(); });
  a.join();
  b.join();
  EXPECT_TRUE(ok[0] && ok[1]);
}

// Children of very many terms, children far apart in age, terms made long after their children: however the
// table is laid out, a term is made once.
TEST(TermManager, EveryTermIsMadeOnceInALargeTable) {
  TermManager tm;
  std::vector<Term_ const*> words;
  for (int i = 0; i < 300; ++i) words.push_back(tm.mk_variable("x", tm.bv_type(8)));
  for (int i = 0; i < 256; ++i) words.push_back(tm.mk_bv(static_cast<std::uint64_t>(i), 8));
  std::vector<Term_ const*> made;
  for (Term_ const* x : words)
    for (Term_ const* y : words) made.push_back(tm.mk_app(SymbolTag::bv_add, {x, y}));
  Term_ const* chain = words[0];
  for (int i = 0; i < 100000; ++i) {
    chain = tm.mk_app(i % 2 == 0 ? SymbolTag::bv_neg : SymbolTag::bv_not, {chain});
    made.push_back(chain);
  }
  std::uint64_t const count = tm.term_count();
  EXPECT_EQ(words.size() + made.size(), count);

  std::size_t k = 0;
  for (Term_ const* x : words)
    for (Term_ const* y : words) ASSERT_EQ(made[k++], tm.mk_app(SymbolTag::bv_add, {x, y}));
  chain = words[0];
  for (int i = 0; i < 100000; ++i) {
    chain = tm.mk_app(i % 2 == 0 ? SymbolTag::bv_neg : SymbolTag::bv_not, {chain});
    ASSERT_EQ(made[k++], chain);
  }
  for (int i = 0; i < 256; ++i)
    ASSERT_EQ(words[300 + static_cast<std::size_t>(i)], tm.mk_bv(static_cast<std::uint64_t>(i), 8));
  for (Term_ const* x : words) ASSERT_EQ(x, tm.mk_term(x->symbol));
  EXPECT_EQ(count, tm.term_count());
}

}  // namespace
}  // namespace vell
