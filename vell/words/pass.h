#pragma once

// The shape of a pass on words.

#include <cstdint>
#include <memory>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/terms/termmanager.h"
#include "vell/words/formulas.h"

namespace vell::words {

enum class Guarantee : std::uint8_t {
  // Each formula is replaced by one that is equivalent under the permanent formulas, or the permanent
  // formulas by others with the same models.
  equivalent,
  // The permanent formulas have the same models, less variables whose value follows from the others; the
  // definitions say what it is.
  substituting,
  // The permanent formulas stay satisfiable or not; a model, completed by the definitions, is a model of
  // those before.
  equisatisfiable
};

// What a pass is made with. The references must outlive it.
struct PassContext {
  TermManager& tm;
  bool free_division;  // a quotient by zero has a value of its own for each term
  run::Limits const& limits;
  run::Tunables const& tunables;
};

// A step of simplification. An object lives as long as its Simplifier and may remember what it found.
class Pass {
 public:
  virtual ~Pass() = default;
  // Simplifies a batch; how many formulas, atoms or terms it replaced, 0 when the batch is as it was. Throws
  // run::Stopped when the limits say so; it asks them at least every millisecond. No recursion over terms.
  virtual std::uint64_t apply(Formulas& formulas) = 0;
};

// A row of the table of passes: see simplifier.cpp.
struct PassRow {
  char const* name;  // as --words names it
  char const* summary;
  Guarantee guarantee;
  bool first_batch_only;
  bool free_division_too;  // whether it is sound where a quotient by zero is open
  std::unique_ptr<Pass> (*make)(PassContext const& context);
};

}  // namespace vell::words
