#pragma once

// The symbols of a script and their present meanings.
//
// A symbol is interned once. Its entry holds everything known about it, so it is hashed only once: the
// reserved word, command or operator of that name, its global meaning, and the let variable or parameter that
// shadows it. Local meanings nest and are restored from a stack. Global ones do not nest, since a symbol may
// be declared only once in the visible scopes; leaving a scope clears them.
//
// Tested by tests/smtlib/symboltable_test.cpp.

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "vell/terms/term.h"
#include "vell/terms/type.h"
#include "vell/utils/arena.h"

namespace vell::theory {
struct Operator;  // vell/terms/theory.h
}

namespace vell::smtlib {

using theory::Operator;

struct Macro;  // macro.h

// Reserved words, which are no simple symbols.
enum class Reserved : std::uint8_t {
  none,
  annotation,  // !
  underscore,  // _
  as,
  let,
  exists,
  forall,
  match,
  par,
  lambda,
  token_class  // BINARY, DECIMAL, HEXADECIMAL, NUMERAL, STRING
};

// The meaning of a sort symbol: a sort or, for a sort definition with parameters, one of its arguments.
struct SortDefinition {
  std::uint64_t parameters = 0;
  Type const* type = nullptr;  // null: argument number `argument`
  std::uint64_t argument = 0;
};

struct Name {
  enum class Meaning : std::uint8_t { none, constant, definition, macro };

  char const* text;
  std::uint64_t tail;  // the last 1 to 8 bytes; with the length they tell short symbols apart
  Term_ const* local;  // let variable or parameter; null: none
  union {
    Term_ const* term;   // constant, definition
    Macro const* macro;  // macro
  };
  SortDefinition const* sort;
  Operator const* theory;  // the operator or constant of the theories so called; null: none
  Meaning meaning;         // global
  Reserved reserved;
  std::uint8_t command;      // CommandKind + 1 and further ones, see reader.cpp; 0: no command
  std::uint8_t theory_sort;  // nonzero: names a sort of the theories
  std::uint32_t length;
  std::uint32_t stamp;  // of the let or parameter list that bound it last

  std::string_view view() const { return {text, length}; }
};

class SymbolTable {
 public:
  SymbolTable();

  // The entry of the symbol; created if there is none. The addresses of entries do not change.
  Name* intern(std::string_view symbol);

  // ---- global meanings ---- They hold until the current scope ends; those made while `global` is set hold
  // permanently.
  void bind(Name* name, Name::Meaning meaning, Term_ const* term);
  void bind(Name* name, std::unique_ptr<Macro> macro);
  void bind_sort(Name* name, SortDefinition const& sort);
  void set_global(bool global) { global_ = global; }

  std::uint64_t scopes() const { return scopes_.size(); }
  void push(std::uint64_t levels);
  // levels <= scopes()
  void pop(std::uint64_t levels);
  // Leaves all scopes and removes all declarations, except those made while `global` was set.
  void reset_assertions();
  // Removes all declarations.
  void reset();

  // ---- a command that is dropped ---- The number of declarations so far, and the removal of those made
  // since then. No scope may be opened or closed in between.
  struct Mark {
    std::size_t scoped;
    std::size_t unscoped;
  };
  Mark declared_mark() const { return {scoped_.size(), unscoped_.size()}; }
  void forget_since(Mark mark);

  // Calls f(name) for every entry, in the order in which they were made.
  template <typename F>
  void each(F f) const {
    for (std::uint32_t i = 0; i < count_; ++i) f(static_cast<Name const&>(*entry(i)));
  }

  // ---- local meanings ----
  std::size_t local_mark() const { return undo_.size(); }
  void bind_local(Name* name, Term_ const* term) {
    undo_.push_back({name, name->local});
    name->local = term;
  }
  void unbind_locals(std::size_t mark) {
    while (undo_.size() > mark) {
      undo_.back().name->local = undo_.back().term;
      undo_.pop_back();
    }
  }
  // Releases the memory of very many local meanings. Does nothing while any are in force.
  void shrink_locals() {
    if (undo_.empty() && undo_.capacity() > 1u << 20) std::vector<Undo>().swap(undo_);
  }
  // A number that no entry's stamp has yet.
  std::uint32_t new_stamp();

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;  // of the entry, plus 1; 0: empty
  };
  struct Undo {
    Name* name;
    Term_ const* term;
  };
  struct Declared {
    Name* name;
    bool sort;
  };
  static constexpr unsigned chunk_bits = 10;

  Name* entry(std::uint32_t number) const {
    return &chunks_[number >> chunk_bits][number & ((1u << chunk_bits) - 1)];
  }
  Name* insert(std::string_view symbol, std::uint32_t hash, std::uint64_t tail, std::size_t slot);
  void log(Name* name, bool sort);
  void forget(std::vector<Declared>& list, std::size_t mark);

  Arena text_;
  std::vector<std::unique_ptr<Name[]>> chunks_;
  std::uint32_t count_ = 0;
  std::vector<Slot> slots_;  // open addressing, linear probing, a power of two

  std::vector<Undo> undo_;
  std::vector<std::size_t> scopes_;  // length of scoped_ where the scope was opened
  std::vector<Declared> scoped_;
  std::vector<Declared> unscoped_;  // declared while `global` was set
  std::vector<std::unique_ptr<Macro const>> macros_;
  std::vector<std::unique_ptr<SortDefinition const>> sorts_;
  std::uint32_t stamp_ = 0;
  bool global_ = false;
};

}  // namespace vell::smtlib
