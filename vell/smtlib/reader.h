#pragma once

// Reads SMT-LIB 2 scripts, command by command.
//
// The reader resolves symbols and their scopes, sorts, operators, macros and let. It returns commands with
// their terms; the engine executes them. It does not recurse over terms or nesting.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/io/error.h"
#include "vell/io/source.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// Symbols are given without bars; quote_symbol() adds them where they are needed.
enum class CommandKind : std::uint8_t {
  set_logic,    // text: the logic
  set_option,   // text: the keyword (":produce-models"), value: the attribute value as written
  set_info,     // text: the keyword, value as written
  declare,      // text: the symbol; terms[0]: the constant
  define,       // text: the symbol; terms[0]: the body where it has no parameters
  define_sort,  // text: the symbol
  assert_,      // terms[0]: the formula
  check_sat,
  check_sat_assuming,  // terms: the assumed literals; texts: as written
  push,                // number: levels
  pop,                 // number: levels; never more than there are
  reset,
  reset_assertions,
  get_model,
  get_value,  // terms, texts: as written but for white space
  get_assignment,
  get_unsat_core,
  get_unsat_assumptions,
  get_assertions,
  get_proof,
  get_info,     // text: the keyword
  get_option,   // text: the keyword
  unsupported,  // terms[0]; a question outside the standard, to be answered with that word
  echo,         // text: the string literal as written, quotes included
  exit
};

// "As written" means token by token: without comments, with one space between two tokens, but none after "("
// and before ")".

// A named term, from (! t :named n).
struct NamedTerm {
  std::string name;  // as it must be printed, quoted where the script had to
  Term_ const* term = nullptr;
};

struct Command {
  CommandKind kind = CommandKind::exit;
  io::Position position;  // of the opening parenthesis
  // Offsets, for Reader::fail: of the opening parenthesis, of the first argument, and of an attribute's
  // value.
  std::uint64_t offset = 0;
  std::uint64_t argument_offset = 0;
  std::uint64_t value_offset = 0;
  std::string text;
  std::string value;
  std::uint64_t number = 0;
  std::vector<Term_ const*> terms;
  std::vector<std::string> texts;
  std::vector<NamedTerm> named;  // every term named inside the command, in the order met
  // For assert: the name of the asserted formula itself, "" when it has none.
  std::string name;
};

class Reader {
 public:
  // Terms are made in tm, which must outlive the reader.
  Reader(TermManager& tm, std::unique_ptr<io::Source> source);
  ~Reader();

  // Reads the next command into `command`, whose vectors are reused. False at the end of the script and after
  // an exit command. Throws Error for the first error, which includes a script without any command; after
  // that only recover() may be called. When the call returns, declarations and definitions are in force, and
  // push, pop, reset and reset-assertions have changed the scopes of symbols, under the last value of
  // :global-declarations that was read.
  bool next(Command& command);

  // Throws Error for an error at an offset of the command that was read last.
  [[noreturn]] void fail(std::uint64_t offset, std::string const& message) const;
  // After an error in a dialogue: drops the command with the error and the bytes in the source's window. The
  // reader can be used again.
  void recover();
  // Whether next() is between the parentheses of a command.
  bool inside_command() const;
  // All names that start with the prefix and can be used now: commands, operators, declared symbols.
  std::vector<std::string> names(std::string_view prefix) const;

  std::string const& file() const;
  // The number of bytes read so far, and the size of the script; 0 if that is not known before the end.
  std::uint64_t bytes_read() const;
  std::uint64_t bytes_total() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The symbol as a script has to write it: between bars unless it is a simple symbol.
std::string quote_symbol(std::string_view symbol);

}  // namespace vell::smtlib
