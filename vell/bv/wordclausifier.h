#pragma once

// The bit-blaster: terms in, clauses out.
//
// One class over several files; each block below is titled by the file that defines it, and that file's
// opening comment gives formulas, sizes and orders. Gates and circuits work on literals and vectors of
// literals, handlers on terms. Where a circuit and a handler share a name, their parameters tell them apart.
//
// The order of fresh literals, of clauses and of literals within a clause is part of every circuit's
// contract: the same term always yields the same clauses.

#include <cstdint>
#include <span>
#include <vector>

#include "vell/bv/wordclausifierinterface.h"
#include "vell/terms/configuration.h"
#include "vell/terms/ieeefloat.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"
#include "vell/utils/hashtable.h"
#include "vell/utils/objectpool.h"

namespace vell::bv {

// What an operation throws is what the sink, the termination test, the floating-point layer or the allocator
// throws, and Exception from fail(). A handler that is left this way has cached nothing for its term.
//
// Lists given as BvLitList* are not owned by the circuit that reads them; a list that a circuit returns
// belongs to the caller, who hands it to add_to_cache() or release().
class VELL_API WordClausifier : public WordClausifierInterface {
 public:
  // Encodes one term whose children are cached and leaves exactly one new list for it in the cache.
  using Handler = void (WordClausifier::*)(ClauseSink*, Term_ const*);

  // Terms are numbered without a gap, so their ids spread evenly over the buckets.
  struct TermHash {
    // The term's id.
    std::uint64_t operator()(Term_ const* t) const { return t->id; }
  };
  // From terms to their lists.
  using BitsCache = hsh::Hashtable<Term_ const*, BvLitList*, TermHash>;

  // ---- wordclausifier.cpp: construction, traversal, dispatch ----

  // Neither is owned; config may be null. Traces go to a Logger of its own until set_logger.
  WordClausifier(TermManager* tm, Configuration::Theory::Bv* config);
  ~WordClausifier() override;
  WordClausifier(WordClausifier const&) = delete;
  WordClausifier& operator=(WordClausifier const&) = delete;

  void set_logger(Logger* l) override;
  void set_termination_test(TerminationTest const* t) override;
  BvLit bit_blast(Term_ const* t, ClauseSink* sink) override;

  // A tag and its handler.
  struct Hook {
    SymbolTag::tag tag;  // of the terms
    Handler handler;     // encodes them
  };
  // What a new clausifier registers, in that order; at the end of this file.
  static std::span<Hook const> builtin_hooks();
  // Installs the handler of a tag, replacing what was there. A derived class registers its own handlers
  // through static_cast<Handler>(&Derived::handler).
  void register_hook(SymbolTag::tag tag, Handler handler);
  // Encodes one term whose children are ready, through its handler or as a numeral or variable.
  void call_hook(ClauseSink* sink, Term_ const* t, SymbolTag::tag tag);
  // Throws Exception "not supported: " and the term.
  [[noreturn]] void fail(ClauseSink* sink, Term_ const* t);
  // Begins a trace message of the level, prefix included.
  Logger& log(int level);

  // ---- cache.cpp: cached bits, trail, backtracking ----

  // The list of t, or null. Valid until t is retracted.
  BvLitList* lookup(Term_ const* t) const {
    BitsCache::Node* n = bits_cache.find(t);
    return n == nullptr ? nullptr : n->value;
  }
  bool is_cached(Term_ const* t) override;
  // Makes bits, a list of new_BvLitList or of a circuit, t's list; the cache owns it from then on.
  void add_to_cache(Term_ const* t, BvLitList* bits);
  // A list from the pool with src's elements.
  BvLitList* new_BvLitList(BvLitList const& src) { return bvlist_pool.alloc_copy(src); }
  // Gives a list that is not cached back to the pool.
  void release(BvLitList* list) { bvlist_pool.release(list); }
  // Drops the bits of t alone, for a term that nothing translated later has for a child. Its place on the
  // trail stays.
  void forget(Term_ const* t);
  // Empties the trail: what is cached stays for good, backtrack points are gone.
  void drop_trail() { trail.clear(); }
  void retract_upto(Term_ const* t) override;
  void push_backtrack_point() override;
  void pop_backtrack_point() override;

  // ---- interface.cpp: bits of terms for the surrounding solver ----

  bool get_bits(Term_ const* t, BvLitList& out) override;
  void set_bits(Term_ const* t, ClauseSink* sink, BvLitList const& bits) override;
  bool make_bits(Term_ const* t, BvLitList& out, ClauseSink* sink) override;
  void notify_interface_term(Term_ const* t, ClauseSink* sink) override;
  bool is_terminal(Term_ const* t) override;

  // ---- gates.cpp ----

  // The negation; no clause.
  BvLit bit_not(BvLit a);
  // a and b, a or b: at most three clauses and a fresh literal.
  BvLit bit_and(ClauseSink* sink, BvLit a, BvLit b);
  BvLit bit_or(ClauseSink* sink, BvLit a, BvLit b);
  // Exclusive or: at most four clauses and a fresh literal.
  BvLit bit_xor(ClauseSink* sink, BvLit a, BvLit b);
  // c ? t : e, at most four clauses and a fresh literal.
  BvLit bit_ite(ClauseSink* sink, BvLit c, BvLit t, BvLit e);
  // result[i] = a[i] & b[i] for every i below a's length; result has that length, b at least that.
  void word_and(ClauseSink* sink, BvLitList& result, BvLitList* a, BvLitList* b);

  // ---- adders.cpp ----

  // sum and carry of three bits: at most 14 clauses and two fresh literals.
  void full_adder(ClauseSink* sink, BvLit& sum, BvLit& carry, BvLit a, BvLit b, BvLit c);
  // x + y modulo 2^n, n the length of x; y has at least that length. The caller owns the result.
  BvLitList* word_add(ClauseSink* sink, BvLitList* x, BvLitList* y);
  // -x modulo 2^n. The caller owns the result.
  BvLitList* word_neg(ClauseSink* sink, BvLitList* x);
  // Handlers of bvadd, bvneg and bvsub.
  void word_add(ClauseSink* sink, Term_ const* term);
  void word_neg(ClauseSink* sink, Term_ const* term);
  void word_sub(ClauseSink* sink, Term_ const* term);

  // ---- comparators.cpp ----

  // Unsigned x <= y and x < y over words of one length, as a list of one literal that the caller owns. out,
  // unless l_undef, is used as the literal of the last stage where that stage needs one.
  BvLitList* word_ule(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out);
  BvLitList* word_ult(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out);
  // Handlers of bvult, bvule, bvslt and bvsle; the sink is asked for a literal of the atom.
  void word_ult(ClauseSink* sink, Term_ const* term);
  void word_ule(ClauseSink* sink, Term_ const* term);
  void word_slt(ClauseSink* sink, Term_ const* term);
  void word_sle(ClauseSink* sink, Term_ const* term);

  // ---- equality.cpp ----

  // The literal of x = y over words of one length; out as for the comparators.
  BvLit word_equal(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out);
  // Equality of two words; the shared part of the handlers below. use_proxy: whether the sink is asked for a
  // literal of the atom.
  void word_equal(ClauseSink* sink, Term_ const* term, bool use_proxy);
  // Handlers of equal, which asks the sink for a literal, and equal_noproxy.
  void word_equal(ClauseSink* sink, Term_ const* term);
  void word_equal_noproxy(ClauseSink* sink, Term_ const* term);
  bool bit_blast_theory_eq(BvLit lit, Term_ const* t1, Term_ const* t2, ClauseSink* sink) override;

  // ---- multiplication.cpp ----

  // Handler of bvmul: chooses between the two below, by whether the first operand is a numeral.
  void word_mul(ClauseSink* sink, Term_ const* term);
  // Shift and add: one addition for each bit set in the first operand, which must be a numeral.
  void word_mul_by_constant(ClauseSink* sink, Term_ const* term);
  // Partial products: about n^2 / 2 and gates and as many full adders for width n.
  void word_mul_generic(ClauseSink* sink, Term_ const* term);

  // ---- division.cpp ----

  // Quotient and remainder of unsigned a / b, words of one length n; q and r have at least n elements and
  // belong to the caller. flag is ignored.
  void word_udiv_simple(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q, BvLitList* r, bool flag);
  // Under div_semantics 1 makes res, a quotient or remainder by b, unconstrained where b is zero.
  void word_div_complete_semantics(ClauseSink* sink, BvLitList* b, BvLitList* res);
  // Truncating signed division by absolute values.
  void word_sdiv_simple(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q, BvLitList* r);
  // Handlers of bvudiv, bvurem, bvsdiv and bvsrem.
  void word_udiv(ClauseSink* sink, Term_ const* term);
  void word_urem(ClauseSink* sink, Term_ const* term);
  void word_sdiv(ClauseSink* sink, Term_ const* term);
  void word_srem(ClauseSink* sink, Term_ const* term);
  // In no table: gives the term bits that mean nothing yet, all l_undef.
  void word_srem_by_power_of_2(ClauseSink* sink, Term_ const* term);

  // ---- divisionarray.cpp ----

  // Array of controlled add/subtract cells; no handler uses it.
  void word_sdiv(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q, BvLitList* r);

  // ---- shifts.cpp ----

  // x shifted right, or left, by the value of s, which is at least as long as x. The caller owns the result.
  BvLitList* word_sr(ClauseSink* sink, BvLitList* x, BvLitList* s, bool arithmetic);
  BvLitList* word_sl(ClauseSink* sink, BvLitList* x, BvLitList* s);
  // The right shift of a term, not cached; the caller owns the result.
  BvLitList* word_sr(ClauseSink* sink, Term_ const* term, bool arithmetic);
  // Handlers of bvlshr, bvashr, bvshl and the two rotations. By a numeral they cost nothing.
  void word_lsr(ClauseSink* sink, Term_ const* term);
  void word_asr(ClauseSink* sink, Term_ const* term);
  void word_lsl(ClauseSink* sink, Term_ const* term);
  void word_rol(ClauseSink* sink, Term_ const* term);
  void word_ror(ClauseSink* sink, Term_ const* term);

  // ---- booleans.cpp ----

  // Handlers of not, and, or and the equivalence: at most one gate.
  void bool_not(ClauseSink* sink, Term_ const* term);
  void bool_and(ClauseSink* sink, Term_ const* term);
  void bool_or(ClauseSink* sink, Term_ const* term);
  void bool_iff(ClauseSink* sink, Term_ const* term);
  // The next four are not in the hook table; register them where a solver has such terms.

  // A term with the bits of its only child.
  void word_atom(ClauseSink* sink, Term_ const* term);
  // If-then-else over Boolean terms, and over words: condition, then, else. One gate for each bit.
  void bool_ite(ClauseSink* sink, Term_ const* term);
  void word_ite(ClauseSink* sink, Term_ const* term);
  // As word_ite for a symbol that TermManager::is_term_ite knows. Any other is left without bits.
  void generic_ite(ClauseSink* sink, Term_ const* term);

  // ---- words.cpp: bitwise and structural operators ----

  // Handlers of the bitwise operators: one gate for each bit, none for the negation.
  void word_not(ClauseSink* sink, Term_ const* term);
  void word_and(ClauseSink* sink, Term_ const* term);
  void word_or(ClauseSink* sink, Term_ const* term);
  void word_xor(ClauseSink* sink, Term_ const* term);
  // Handlers of extract, concat, zero_extend and sign_extend, which only rearrange literals.
  void word_sel(ClauseSink* sink, Term_ const* term);
  void word_concat(ClauseSink* sink, Term_ const* term);
  void word_zext(ClauseSink* sink, Term_ const* term);
  void word_sext(ClauseSink* sink, Term_ const* term);

  // ---- leaves.cpp: variables and constants ----

  // A numeral: constant literals, bit i of the number in element i.
  void word_constant(ClauseSink* sink, Term_ const* term);
  // A word of fresh literals.
  void word_variable(ClauseSink* sink, Term_ const* term);
  // The constants.
  void bool_true(ClauseSink* sink, Term_ const* term);
  void bool_false(ClauseSink* sink, Term_ const* term);
  // One fresh literal.
  void bool_variable(ClauseSink* sink, Term_ const* term);
  // Encodes a term as a fresh variable of its type; false, and nothing done, when the type has no bits.
  bool generic_variable(ClauseSink* sink, Term_ const* term);

  // ---- floatingpoint.cpp: variables and rounding modes ----

  void set_fp_combination(FpBvCombination* c) override;
  bool get_new_fp_terms(std::vector<Term_ const*>& out) override;
  // The two literals of a rounding mode, element 0 the low bit; two l_undef for a value that is no mode.
  BvLitList fp_rounding(IEEEFloat::rounding_mode mode);
  // A floating-point variable: the bits that the combination gives it, or fresh ones, fraction first, the
  // sign last.
  void fp_variable(ClauseSink* sink, Term_ const* term);
  // A rounding mode: its number where it is a constant, two fresh literals otherwise.
  void fp_rounding_variable(ClauseSink* sink, Term_ const* term);

  // ---- fpconversion.cpp: floating-point values to integers ----

  // Handlers of fp.to_sbv and fp.to_ubv over a rounding mode and a floating-point value. Infinities, NaN and
  // values out of range have some result.
  void fp_to_sbv(ClauseSink* sink, Term_ const* term);
  void fp_to_ubv(ClauseSink* sink, Term_ const* term);
  // Handler of the IEEE bit pattern: the literals of the floating-point term itself.
  void fp_as_ieeebv(ClauseSink* sink, Term_ const* term);
  // Argument 1 rounded by the mode of argument 0, as a two's-complement word of `width` bits that the caller
  // owns.
  BvLitList* fp_to_bv(ClauseSink* sink, Term_ const* term, std::uint64_t width);

 private:
  friend class WordClausifierInspector;

  // The list of a child, inserting an empty entry where there is none: part of the contract of the handlers
  // that use it, since an insertion may grow the table.
  BvLitList* child_bits(Term_ const* child) { return bits_cache.do_insert(child, nullptr).first->value; }
  // As TermManager::width.
  std::uint64_t width_of(Term_ const* t) const { return tm->width(t); }
  // Caches a list of one literal.
  void cache_literal(Term_ const* t, BvLit literal);
  // The sink's literal of an atom, l_undef when it has none.
  BvLit sink_literal(ClauseSink* sink, Term_ const* term);
  // Makes result equal to the atom's own literal, and that literal, where the circuit did not use it.
  void tie_to_atom(ClauseSink* sink, BvLit& result, BvLit atom);
  // The signed comparison from the unsigned one in result; a, b the signs.
  void correct_by_signs(ClauseSink* sink, Term_ const* term, BvLit a, BvLit b, BvLit& result);
  // Caches the child's bits with `fill` above them up to the term's width.
  void cache_extension(Term_ const* term, BvLitList const& child, BvLit fill);
  // The rounding increment of a conversion, in fpconversion.cpp.
  struct Conversion;
  BvLit round_to_even(ClauseSink* sink, Conversion& v);
  BvLit rounding_increment(ClauseSink* sink, Term_ const* mode, Conversion& v);
  // One bit of an addition.
  void add_bits(ClauseSink* sink, BvLit& sum, BvLit& carry, BvLit a, BvLit b, BvLit c);

  TermManager* tm;
  Configuration::Theory::Bv* config;
  Logger* logger;
  bool owns_logger;
  TerminationTest const* termination_test;
  BitsCache bits_cache;
  std::vector<Term_ const*> trail;
  std::vector<Handler> hooks;
  ObjectPool<BvLitList, false> bvlist_pool;
  FpBvCombination* fp_combination;
  std::vector<Term_ const*> new_fp_terms;
};

inline std::span<WordClausifier::Hook const> WordClausifier::builtin_hooks() {
  using W = WordClausifier;
  // clang-format off
  static constexpr Hook table[] = {
      {SymbolTag::bv_not, &W::word_not},
      {SymbolTag::bv_or, &W::word_or},
      {SymbolTag::bv_and, &W::word_and},
      {SymbolTag::bv_xor, &W::word_xor},
      {SymbolTag::bv_lshr, &W::word_lsr},
      {SymbolTag::bv_ashr, &W::word_asr},
      {SymbolTag::bv_shl, &W::word_lsl},
      {SymbolTag::bv_rotate_left, &W::word_rol},
      {SymbolTag::bv_rotate_right, &W::word_ror},
      {SymbolTag::bv_extract, &W::word_sel},
      {SymbolTag::bv_concat, &W::word_concat},
      {SymbolTag::bv_zero_extend, &W::word_zext},
      {SymbolTag::bv_sign_extend, &W::word_sext},
      {SymbolTag::bv_neg, &W::word_neg},
      {SymbolTag::bv_add, &W::word_add},
      {SymbolTag::bv_sub, &W::word_sub},
      {SymbolTag::bv_mul, &W::word_mul},
      {SymbolTag::bv_sdiv, &W::word_sdiv},
      {SymbolTag::bv_srem, &W::word_srem},
      {SymbolTag::bv_udiv, &W::word_udiv},
      {SymbolTag::bv_urem, &W::word_urem},
      {SymbolTag::bv_ult, &W::word_ult},
      {SymbolTag::bv_ule, &W::word_ule},
      {SymbolTag::bv_slt, &W::word_slt},
      {SymbolTag::bv_sle, &W::word_sle},
      {SymbolTag::equal_noproxy, &W::word_equal_noproxy},
      {SymbolTag::equal, &W::word_equal},
      {SymbolTag::bool_not, &W::bool_not},
      {SymbolTag::bool_and, &W::bool_and},
      {SymbolTag::bool_or, &W::bool_or},
      {SymbolTag::bool_false, &W::bool_false},
      {SymbolTag::bool_true, &W::bool_true},
      {SymbolTag::bool_iff, &W::bool_iff},
      {SymbolTag::fp_to_sbv, &W::fp_to_sbv},
      {SymbolTag::fp_to_ubv, &W::fp_to_ubv},
      {SymbolTag::fp_as_ieeebv, &W::fp_as_ieeebv},
  };
  // clang-format on
  return table;
}

}  // namespace vell::bv
