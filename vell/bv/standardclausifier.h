#pragma once

// The clausifier as most programs want it: all handlers are registered, and nothing outlives it.
//
// A WordClausifier makes a logger that its destructor leaves alone, and has no handler for if-then-else,
// since solvers differ in where they keep the one and treat the other. This one has a logger as a member and
// registers both handlers of if-then-else.
//
// A WordClausifier takes an operator without a handler for a variable of its type. For operators whose
// meaning is known that would be wrong: questions about floating-point values (fp.lt, fp.isNaN), which
// vell/fp makes words of first, and conversions in the one rounding mode that the clausifier lacks, are
// refused here.
//
// Tested by tests/bv/standardclausifier_test.cpp.

#include "vell/bv/wordclausifier.h"
#include "vell/terms/logger.h"
#include "vell/utils/export.h"

namespace vell::bv {

// A WordClausifier with if-then-else and a logger of its own. bit_blast throws Exception, "not supported: ",
// for a question about floating-point values and for a conversion under roundNearestTiesToAway.
class VELL_API StandardClausifier : public WordClausifier {
 public:
  // Neither is owned; config may be null.
  explicit StandardClausifier(TermManager* tm, Configuration::Theory::Bv* config = nullptr);
  ~StandardClausifier() override;

  // Where traces go until set_logger: standard error, with verbosity 0. Dies with the clausifier.
  Logger& own_logger() { return own_logger_; }

 private:
  void refused(ClauseSink* sink, Term_ const* term);
  void checked_to_sbv(ClauseSink* sink, Term_ const* term);
  void checked_to_ubv(ClauseSink* sink, Term_ const* term);

  Logger own_logger_;
};

}  // namespace vell::bv
