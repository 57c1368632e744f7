#pragma once

// The boundary between a solver and its bit-blaster.

#include <vector>

#include "vell/terms/clausesink.h"
#include "vell/terms/exception.h"
#include "vell/terms/fpbvcombination.h"
#include "vell/terms/literal.h"
#include "vell/terms/logger.h"
#include "vell/terms/term.h"
#include "vell/terms/terminationtest.h"
#include "vell/utils/export.h"

namespace vell::bv {

// An instance belongs to one thread at a time; instances share nothing.
class VELL_API WordClausifierInterface {
 public:
  // Base of errors of the clausifier's own.
  struct VELL_API error : Exception {
    using Exception::Exception;
  };

  virtual ~WordClausifierInterface() = default;

  // Trace output goes to l from now on. Not owned; must outlive the clausifier or the next call of this.
  virtual void set_logger(Logger* l) = 0;
  // Called once per translated term; null switches it off. Not owned.
  virtual void set_termination_test(TerminationTest const* t) = 0;

  // Whether t has bits. One hash probe.
  virtual bool is_cached(Term_ const* t) = 0;
  // Copies t's bits to out, element 0 the least significant; false, and out untouched, when t has none.
  virtual bool get_bits(Term_ const* t, BvLitList& out) = 0;
  // Translates t and every subterm that has no bits yet, children first, clauses into sink. Returns element 0
  // of t's bits: the literal of a Boolean term, the least significant bit of a word (which must not have
  // width 0). Throws Exception "not supported: ..." for a term that nothing translates, and whatever the
  // termination test or the sink throw; what was cached by then stays, and retract_upto(t) forgets it.
  virtual BvLit bit_blast(Term_ const* t, ClauseSink* sink) = 0;
  // Makes `bits` the bits of t. Where t has bits already the two are made equal, two clauses per bit; `bits`
  // has the width of t then.
  virtual void set_bits(Term_ const* t, ClauseSink* sink, BvLitList const& bits) = 0;
  // Forgets t and every term cached after it, backtrack points between included. t must be on the trail,
  // which debug builds assert; null stands for the most recent backtrack point. Clauses already given to a
  // sink stay valid.
  virtual void retract_upto(Term_ const* t) = 0;
  // States lit <-> (t1 = t2), translating both where needed. Returns false, and emits no clause for the
  // equality, when two corresponding bits are complementary, so that the equality can never hold.
  virtual bool bit_blast_theory_eq(BvLit lit, Term_ const* t1, Term_ const* t2, ClauseSink* sink) = 0;
  // Translates t unless it has bits.
  virtual void notify_interface_term(Term_ const* t, ClauseSink* sink) = 0;
  // Whether t is a leaf for the bit-blaster: a variable or constant, or an application it does not look into.
  virtual bool is_terminal(Term_ const* t) = 0;

  // Backtrack points nest; pop forgets every term cached since the matching push. There must be one: a pop
  // without a point runs past the trail's beginning, which debug builds assert.
  virtual void push_backtrack_point() = 0;
  virtual void pop_backtrack_point() = 0;

  // The layer that supplies the bits of floating-point variables; null for none. Not owned.
  virtual void set_fp_combination(FpBvCombination* c) = 0;
  // Exchanges out with the list of floating-point variables given bits without a combination since the last
  // call, in the order met; false, and out untouched, when there is none.
  virtual bool get_new_fp_terms(std::vector<Term_ const*>& out) = 0;
  // Fills out with fresh literals, each made equal to the corresponding bit of t. t must have bits, which
  // debug builds assert. Always true.
  virtual bool make_bits(Term_ const* t, BvLitList& out, ClauseSink* sink) = 0;
};

}  // namespace vell::bv
