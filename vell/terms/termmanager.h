#pragma once

// Factory and oracle of the term layer.
//
// Types, numerals, operator symbols and terms are interned: made once, compared by pointer, owned by the
// manager and released with it. A term that exists costs one probe of the term table and no allocation. The
// table holds, per slot, 32 bits of hash and the term's place in the arena: 8 bytes a slot, and a probe reads
// a term only when the hash agrees. With two children a term takes 32 bytes in the arena and 12 to 24 in the
// table.
//
// A term is looked for first where its youngest child's number points, since terms are mostly made soon after
// their children: a script's probes then walk through the table instead of hitting it at random, which would
// cost a miss of every cache for each term.
//
// Every term stays until the manager dies; its ids count from 1 without a gap, children below their parents,
// so a pass over a cone in id order sees children first without a stack.
//
// Tested by tests/terms/termmanager_test.cpp.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vell/terms/qnumber.h"
#include "vell/terms/symbol.h"
#include "vell/terms/symboltag.h"
#include "vell/terms/term.h"
#include "vell/terms/type.h"
#include "vell/utils/arena.h"
#include "vell/utils/export.h"
#include "vell/utils/hugepages.h"

namespace vell {

// What a new symbol is made of; see TermManager::make_symbol.
struct SymbolSpec {
  std::string_view name;                    // copied
  std::uint64_t arity = 0;                  // number of arguments
  Type const* output_type = nullptr;        // type of the terms; of the same manager, must be set
  SymbolTag::tag tag = SymbolTag::none;     // selects the clausifier's handler
  Symbol::Role role = Symbol::Role::plain;  // what the queries answer
  std::uint64_t parameter0 = 0;             // as in Symbol::parameter
  std::uint64_t parameter1 = 0;             // as in Symbol::parameter
  QNumber const* number = nullptr;          // copied; for Role::number
  std::string_view label = {};              // text of the symbol's terms; empty: made from name and children
};

// Owns its types, symbols and terms. Several threads may read them as long as none makes any; two managers
// share nothing.
class VELL_API TermManager {
 public:
  TermManager();
  ~TermManager();
  TermManager(TermManager const&) = delete;
  TermManager& operator=(TermManager const&) = delete;

  // ---- types ----
  Type const* bool_type;           // of Boolean terms
  Type const* bv_type_marker;      // component 0 of every bit-vector type
  Type const* fp_type_marker;      // component 0 of every floating-point type
  Type const* int_type;            // of integers, which have no bits
  Type const* real_type;           // of reals, which have no bits
  Type const* rounding_mode_type;  // of rounding modes, two bits each

  // The type of words of `width` bits.
  Type const* bv_type(std::uint64_t width);
  // exponent_width, fraction_width in bits, the fraction without the hidden bit.
  Type const* fp_type(std::uint64_t exponent_width, std::uint64_t fraction_width);
  // The type of functions from these argument types to the result. A walk over the function types made so
  // far.
  Type const* function_type(std::span<Type const* const> arguments, Type const* result);

  // ---- queries; a null out pointer asks only the question ----
  // The operator kind of a symbol.
  SymbolTag::tag get_tag(Symbol const* symbol) const { return symbol->tag_; }
  // Whether the type is one of words; its width in bits.
  bool is_bv_type(Type const* type, std::uint64_t* width = nullptr) const {
    if (type->components.size() != 2 || type->get_component(0) != bv_type_marker) return false;
    if (width != nullptr) *width = get_width_from_type(type->get_component(1));
    return true;
  }
  // The width of a word in bits; 0 for a term of another type.
  std::uint64_t width(Term_ const* term) const {
    std::uint64_t bits = 0;
    is_bv_type(term->symbol->get_output_type(), &bits);
    return bits;
  }
  // Whether the type is a floating-point one; its widths in bits, the fraction without the hidden bit.
  bool is_fp_type(Type const* type, std::uint64_t* exponent_width = nullptr,
                  std::uint64_t* fraction_width = nullptr) const {
    if (type->components.size() != 2 || type->get_component(0) != fp_type_marker) return false;
    Type const* format = type->get_component(1);
    if (exponent_width != nullptr) *exponent_width = format->a_;
    if (fraction_width != nullptr) *fraction_width = format->b_;
    return true;
  }
  // The width that a width type encodes.
  std::uint64_t get_width_from_type(Type const* type) const { return type->a_; }
  // Whether the type is one of functions; its argument types in order, and its result type.
  bool is_function_type(Type const* type, std::vector<Type const*>* arguments = nullptr,
                        Type const** result = nullptr) const;
  // Whether the symbol is a numeral; a copy of its value. See number() for the value without a copy.
  bool is_number(Symbol const* symbol, QNumber* value = nullptr) const {
    if (symbol->role_ != Symbol::Role::number) return false;
    if (value != nullptr) *value = *symbol->number_;
    return true;
  }
  // The value of a numeral without a copy; null when the symbol is no numeral.
  QNumber const* number(Symbol const* symbol) const {
    return symbol->role_ == Symbol::Role::number ? symbol->number_ : nullptr;
  }
  // Whether the symbol is a variable or a function without a meaning of its own.
  bool is_uninterpreted_function(Symbol const* symbol) const {
    return symbol->role_ == Symbol::Role::uninterpreted;
  }
  // Whether the symbol is an if-then-else over words or other non-Boolean terms; the type of its branches.
  bool is_term_ite(Symbol const* symbol, Type const** type = nullptr) const;
  // Whether the symbol is an extraction; its bounds, 0 the least significant bit, and msb + 1 - lsb.
  bool is_bv_extract(Symbol const* symbol, std::uint64_t* msb = nullptr, std::uint64_t* lsb = nullptr,
                     std::uint64_t* selected_width = nullptr) const;
  // Whether the symbol is a rotation in that direction; by how many bits, as written, and the width of the
  // word.
  bool is_bv_rotate_left(Symbol const* symbol, std::uint64_t* amount = nullptr,
                         std::uint64_t* width = nullptr) const;
  bool is_bv_rotate_right(Symbol const* symbol, std::uint64_t* amount = nullptr,
                          std::uint64_t* width = nullptr) const;
  // Whether the symbol is the signed less-than; the width of its operands.
  bool is_bv_slt(Symbol const* symbol, std::uint64_t* width = nullptr) const;
  // Whether the symbol is that rounding-mode constant.
  bool is_fprounding_even(Symbol const* symbol) const { return symbol->role_ == Symbol::Role::rounding_even; }
  bool is_fprounding_zero(Symbol const* symbol) const { return symbol->role_ == Symbol::Role::rounding_zero; }
  bool is_fprounding_plus_inf(Symbol const* symbol) const {
    return symbol->role_ == Symbol::Role::rounding_plus_inf;
  }
  bool is_fprounding_minus_inf(Symbol const* symbol) const {
    return symbol->role_ == Symbol::Role::rounding_minus_inf;
  }

  // Whether a floating-point type or a constant or variable of rounding modes was made.
  bool has_floating_point() const { return !fp_types_.empty() || has_rounding_modes_; }

  // ---- symbols ----
  // A new symbol, different from every other, however much they look alike.
  Symbol const* make_symbol(SymbolSpec const& spec);
  // The symbol of an operator, one for each combination of the arguments. The name is that of the tag.
  // Parameters are those of Symbol::parameter; signed less-than keeps the width of its operands as parameter
  // 0.
  Symbol const* operator_symbol(SymbolTag::tag tag, std::uint64_t arity, Type const* output_type,
                                std::uint64_t parameter0 = 0, std::uint64_t parameter1 = 0);

  // Whether operator_symbol has made a symbol of the tag.
  bool has_operator(SymbolTag::tag tag) const { return tag < 64 && (operators_ >> tag & 1) != 0; }

  // ---- terms ----
  // The term of symbol over symbol->arity children, made where it does not exist. Sorts are not checked.
  Term_ const* mk_term(Symbol const* symbol, std::span<Term_ const* const> children = {});
  // A variable: a new uninterpreted constant of the type, also when the name was used before.
  Term_ const* mk_variable(std::string_view name, Type const* type);
  // The numeral of a value and a type; the value of a bit-vector numeral is its unsigned one.
  Term_ const* mk_number(QNumber const& value, Type const* type);
  // The numeral of a value below 2^width, as a word. Debug builds assert that it is; release builds take it
  // modulo 2^width.
  Term_ const* mk_bv(std::uint64_t value, std::uint64_t width);
  // The constant true or false.
  Term_ const* mk_bool(bool value);
  // The constant of a rounding mode; role: one of the five.
  Term_ const* mk_rounding_mode(Symbol::Role role);
  // An application with its sorts checked and its type inferred; parameters as in Symbol::parameter. Throws
  // SortError with one line that says what does not fit. See operators.h for the operators.
  Term_ const* mk_app(SymbolTag::tag tag, std::span<Term_ const* const> children,
                      std::uint64_t parameter0 = 0, std::uint64_t parameter1 = 0);
  Term_ const* mk_app(SymbolTag::tag tag, std::initializer_list<Term_ const*> children,
                      std::uint64_t parameter0 = 0, std::uint64_t parameter1 = 0) {
    return mk_app(tag, std::span<Term_ const* const>(children.begin(), children.size()), parameter0,
                  parameter1);
  }

  // Makes room for about so many terms in the table. It takes no memory before they are made.
  void reserve_terms(std::uint64_t terms);
  // Number of terms made; their ids are 1 to this.
  std::uint64_t term_count() const { return term_count_; }
  // Bytes held for terms, symbols and their tables.
  std::uint64_t bytes_reserved() const;

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t place;  // of the term in the arena, plus 1; 0 marks an empty slot
  };

  Type const* new_type(Type::Kind kind, std::uint64_t a = 0, std::uint64_t b = 0);
  void resize_term_table(std::size_t slots);
  // The slot where a term is, or where it would go. near: where to look first; same: whether a term is the
  // one.
  template <typename Same>
  Slot& find_slot(std::uint32_t hash, std::uint64_t near, Same same);
  void reserve_words(std::uint64_t words);
  Term_ const* at(std::uint32_t place) const;

  std::vector<std::unique_ptr<Type>> types_;
  std::unordered_map<std::uint64_t, Type const*> bv_types_;
  std::unordered_map<std::uint64_t, std::unordered_map<std::uint64_t, Type const*>> fp_types_;
  std::vector<Type const*> function_types_;

  Arena symbol_arena_;
  std::vector<QNumber*> numbers_;  // live in symbol_arena_, destroyed with the manager
  std::unordered_multimap<std::uint64_t, Symbol const*> operator_symbols_;
  std::uint64_t operators_ = 0;             // bit t: a symbol of tag t is among them
  Symbol const* recent_symbols_[256] = {};  // direct-mapped front of operator_symbols_
  std::vector<Slot> numerals_;  // by value and type; open addressing, linear probing, a power of two
  std::uint64_t numeral_count_ = 0;
  Term_ const* true_ = nullptr;
  Term_ const* false_ = nullptr;
  Term_ const* rounding_modes_[5] = {};  // by role
  bool has_rounding_modes_ = false;

  ZeroedArray<Slot> table_;  // open addressing, linear probing, a power of two
  std::uint64_t term_count_ = 0;
  std::vector<char*> chunks_;     // term memory, addressed by place
  std::uint64_t next_place_ = 0;  // in words of 8 bytes
  std::uint64_t chunk_end_place_ = 0;
};

}  // namespace vell
