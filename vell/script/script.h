#pragma once

// SMT-LIB scripts as terms.
//
// Tested by tests/script/script_test.cpp.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/error.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell::script {

// What a script asserts or assumes.
struct Formula {
  Term_ const* term = nullptr;  // of sort Bool
  std::string name = {};        // from (! formula :named n) around the whole formula; "" without
  Position position = {};       // of the assertion, or of the check that assumes it
};

// A command of a script, with its terms.
struct Command {
  // What it does.
  enum class Kind : std::uint8_t {
    declare,           // terms[0]: the constant
    define,            // terms[0]: the body where it has no parameters
    assert_formula,    // terms[0]: the formula
    check,             // terms: what is assumed
    push,              // levels
    pop,               // levels; never more than there are
    reset,             // of everything
    reset_assertions,  // of assertions and levels
    set,               // text: the logic, or the keyword of an option or an information; value as written
    ask,               // any command that asks for something but a check: get-model, echo and the like
    exit
  };

  Kind kind = Kind::exit;  // says what the rest is
  Position position = {};  // of the opening parenthesis
  std::string text = {};   // declare, define: the symbol, without bars; assert_formula: its name or ""
  std::string value = {};  // set: as written
  std::vector<Term_ const*> terms = {};  // see Kind
  std::uint64_t levels = 0;              // push, pop
};

// A script that was read to its end. Terms belong to the manager that it was read into.
class VELL_API Script {
 public:
  // Reads a file: "-" is standard input; gzip, xz, zstd and bzip2 are decompressed. Throws Error for a script
  // that is not well formed, cannot be read, or needs what there are no bits for, at its first error;
  // Stopped. No recursion: nesting may be any depth.
  static Script file(TermManager& terms, std::string const& path, Control* control = nullptr);
  // Reads a text. name stands for the file in messages.
  static Script text(TermManager& terms, std::string_view text, std::string const& name = "<text>",
                     Control* control = nullptr);
  // Reads a stream to its end, uncompressed.
  static Script stream(TermManager& terms, std::istream& in, std::string const& name = "<stream>",
                       Control* control = nullptr);

  // May be moved, not copied.
  Script(Script&&) noexcept;
  Script& operator=(Script&&) noexcept;
  ~Script();

  // The file's path, or the name that was given.
  std::string const& name() const;
  // All commands, in order.
  std::span<Command const> commands() const;
  // Number of checks.
  std::uint64_t queries() const;
  // What holds at a check: the assertions in force, and then what it assumes. query counts from 1; 0 is the
  // first check, or the script's end where there is none. Throws Exception for a check that is not there.
  std::vector<Formula> formulas(std::uint64_t query = 0) const;
  // The constants declared there, in order.
  std::vector<Term_ const*> constants(std::uint64_t query = 0) const;
  // The constant declared last under that name, or the term of a define-fun without parameters; null when
  // there is none. Without bars.
  Term_ const* find(std::string_view name) const;

 private:
  struct State;
  explicit Script(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

// The term as SMT-LIB text. A subterm that occurs more than once is named by a let, so the text is linear in
// the number of different subterms.
VELL_API std::string term_text(TermManager const& terms, Term_ const* term);
// The symbol as a script has to write it: between bars unless it is a simple one.
VELL_API std::string symbol_text(std::string_view symbol);

}  // namespace vell::script
