#pragma once

// The clausifier of scripts.

#include "vell/bv/standardclausifier.h"

namespace vell::sat {

// Refuses an if-then-else over floating-point values as not supported.
class ScriptClausifier : public bv::StandardClausifier {
 public:
  ScriptClausifier(TermManager* tm, Configuration::Theory::Bv* config);

 private:
  void checked_ite(bv::ClauseSink* sink, Term_ const* term);
  TermManager* terms_;
};

}  // namespace vell::sat
