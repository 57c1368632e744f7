#pragma once

// Formulas as clauses: in memory, as DIMACS files with a map from bits to variables, and back.
//
// Tested by tests/script/cnf_test.cpp.

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/model.h"
#include "vell/script/options.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell::script {

// How a Cnf is made.
struct CnfOptions : Options {
  // Variable 1 is the constant true, with a unit clause, and every clause stands as the clausifier made it.
  // Otherwise clauses that a constant satisfies are left out, and false constants in the others.
  bool raw = false;
};

// The clauses of formulas, in memory. Variables are numbered from 1; a literal is a variable or its negative.
class VELL_API Cnf {
 public:
  // What bits() says of a bit that is no literal: constant, or in no clause, so that any value will do.
  static constexpr std::int32_t true_bit = std::numeric_limits<std::int32_t>::max();
  static constexpr std::int32_t false_bit = -true_bit;
  static constexpr std::int32_t any_bit = 0;

  // Clauses that are satisfied where, and only where, all formulas (Boolean terms of the manager, which must
  // outlive this) hold. The same formulas give the same clauses, in the order of the formulas. Throws
  // Exception "not supported: " and the term for a term without a translation, and Stopped.
  Cnf(TermManager& terms, std::span<Term_ const* const> formulas, CnfOptions const& options = {},
      Control* control = nullptr);
  Cnf(Cnf&&) noexcept;
  Cnf& operator=(Cnf&&) noexcept;
  ~Cnf();

  // Their numbers.
  std::uint64_t variables() const;
  std::uint64_t clauses() const;  // see variables()
  // The literals of all clauses, one clause after the other, without zeros. Valid as long as this.
  std::span<std::int32_t const> literals() const;
  // Where clause i begins in literals(), and, as the last of clauses() + 1 elements, where the last one ends.
  std::span<std::uint64_t const> offsets() const;

  // The literals of a term's bits, least significant first; one for a Boolean. A term of the formulas that
  // passes replaced, or any other term, has none: all of its bits are any_bit.
  std::vector<std::int32_t> bits(Term_ const* term) const;
  // Variables of the manager that the formulas mention, in the order they were made.
  std::span<Term_ const* const> constants() const;

  // The values that a model of the clauses gives to the constants. model: literals that are true; a variable
  // that it does not name is false. Throws Exception for a literal without a variable, for both literals of a
  // variable, and for a model that does not satisfy the clauses.
  Model decode(std::span<std::int32_t const> model) const;

  // Writes DIMACS with a map line for each constant, and for each of the names, which are written as given.
  // "-" is standard output; .gz, .xz, .zst and .bz2 are compressed. The file appears whole or not at all.
  // Throws Exception "PATH: reason".
  void write(std::string const& path, std::span<std::pair<std::string, Term_ const*> const> names = {}) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// What write_cnf() writes.
struct CnfFileOptions : CnfOptions {
  std::uint64_t query = 0;    // which check, from 1; 0: the first, or the script's end where it has none
  std::string symbols = "*";  // glob pattern: constants with a map line
  bool annotate = false;      // a comment before each term's first clause
};

// Writes a script's check as DIMACS with map lines (docs/cnf.md). Takes little memory beside the terms: the
// clauses go straight to the file. Either path may be "-". Throws Error for a script that is not well formed,
// Exception for a query that is not there or a file that cannot be written, Stopped.
VELL_API void write_cnf(std::string const& script, std::string const& output,
                        CnfFileOptions const& options = {}, Control* control = nullptr);

// The answer and, for sat, the model as get-model prints it, of a CNF file with map lines under a SAT
// solver's output (`s` and `v` lines). The values are checked against every clause. Either path may be "-".
// Throws Exception "FILE: reason" or "FILE:LINE: reason" for files that are broken or do not fit each
// other.
VELL_API std::string decode(std::string const& cnf, std::string const& solution,
                            WordFormat format = WordFormat::binary);
// The same; the model is also checked against what the script asserts at its check number `query`, as
// CnfFileOptions counts them. Throws Exception for a script of which the CNF file was not made, and Error
// with the place of an assertion that is false.
VELL_API std::string decode(std::string const& cnf, std::string const& solution, std::string const& script,
                            std::uint64_t query, WordFormat format = WordFormat::binary);

}  // namespace vell::script
