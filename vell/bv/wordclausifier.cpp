#include "vell/bv/wordclausifier.h"

// Construction, traversal, dispatch.
//
// bit_blast walks the DAG with a stack of its own, so depth costs heap and never the call stack. A term stays on the
// stack below the children it waits for and is looked at again when they are done; the last child pushed is the first
// translated. The root enters the trail before its cone and not once more after it: retract_upto(root) then forgets
// the root together with everything that was cached on its behalf.
//
// Tested by tests/bv/driver_test.cpp.

#include <cassert>
#include <string>

#include "vell/bv/trace.h"

namespace vell::bv {

WordClausifier::WordClausifier(TermManager* tm, Configuration::Theory::Bv* config)
    : tm(tm),
      config(config),
      logger(nullptr),
      owns_logger(false),
      termination_test(nullptr),
      bvlist_pool(1024, 1.0f, 0),
      fp_combination(nullptr) {
  logger = new Logger();
  owns_logger = true;

  using W = WordClausifier;
  using TermHandler = Handler;  // picks the handler where a circuit has the same name
  register_hook(SymbolTag::bv_not, &W::word_not);
  register_hook(SymbolTag::bv_or, &W::word_or);
  register_hook(SymbolTag::bv_and, static_cast<TermHandler>(&W::word_and));
  register_hook(SymbolTag::bv_xor, &W::word_xor);
  register_hook(SymbolTag::bv_lshr, &W::word_lsr);
  register_hook(SymbolTag::bv_ashr, &W::word_asr);
  register_hook(SymbolTag::bv_shl, &W::word_lsl);
  register_hook(SymbolTag::bv_rotate_left, &W::word_rol);
  register_hook(SymbolTag::bv_rotate_right, &W::word_ror);
  register_hook(SymbolTag::bv_extract, &W::word_sel);
  register_hook(SymbolTag::bv_concat, &W::word_concat);
  register_hook(SymbolTag::bv_zero_extend, &W::word_zext);
  register_hook(SymbolTag::bv_sign_extend, &W::word_sext);
  register_hook(SymbolTag::bv_neg, static_cast<TermHandler>(&W::word_neg));
  register_hook(SymbolTag::bv_add, static_cast<TermHandler>(&W::word_add));
  register_hook(SymbolTag::bv_sub, &W::word_sub);
  register_hook(SymbolTag::bv_mul, &W::word_mul);
  register_hook(SymbolTag::bv_sdiv, static_cast<TermHandler>(&W::word_sdiv));
  register_hook(SymbolTag::bv_srem, &W::word_srem);
  register_hook(SymbolTag::bv_udiv, &W::word_udiv);
  register_hook(SymbolTag::bv_urem, &W::word_urem);
  register_hook(SymbolTag::bv_ult, static_cast<TermHandler>(&W::word_ult));
  register_hook(SymbolTag::bv_ule, static_cast<TermHandler>(&W::word_ule));
  register_hook(SymbolTag::bv_slt, &W::word_slt);
  register_hook(SymbolTag::bv_sle, &W::word_sle);
  register_hook(SymbolTag::equal_noproxy, &W::word_equal_noproxy);
  register_hook(SymbolTag::equal, static_cast<TermHandler>(&W::word_equal));
  register_hook(SymbolTag::bool_not, &W::bool_not);
  register_hook(SymbolTag::bool_and, &W::bool_and);
  register_hook(SymbolTag::bool_or, &W::bool_or);
  register_hook(SymbolTag::bool_false, &W::bool_false);
  register_hook(SymbolTag::bool_true, &W::bool_true);
  register_hook(SymbolTag::bool_iff, &W::bool_iff);
  register_hook(SymbolTag::fp_to_sbv, &W::fp_to_sbv);
  register_hook(SymbolTag::fp_to_ubv, &W::fp_to_ubv);
  register_hook(SymbolTag::fp_as_ieeebv, &W::fp_as_ieeebv);
}

void WordClausifier::set_logger(Logger* l) {
  if (owns_logger) delete logger;
  logger = l;
  owns_logger = false;
}

void WordClausifier::set_termination_test(TerminationTest const* t) { termination_test = t; }

Logger& WordClausifier::log(int level) {
  return (*logger)("BV") << loglevel(level) << "BV:Word clausifier - ";
}

void WordClausifier::register_hook(SymbolTag::tag tag, Handler handler) {
  if (tag >= hooks.size()) hooks.resize(static_cast<std::size_t>(tag) + 1, nullptr);
  hooks[tag] = handler;
}

BvLit WordClausifier::bit_blast(Term_ const* t, ClauseSink* sink) {
  std::vector<Term_ const*> stack{t};
  trail.push_back(t);
  std::size_t const length = trail.size();

  while (!stack.empty()) {
    Term_ const* c = stack.back();
    [[maybe_unused]] bool const cached = is_cached(c);
    VELL_TRACE(4) << "considering " << c << " s:" << cached << endlog;
    if (is_cached(c)) {
      stack.pop_back();
      continue;
    }
    SymbolTag::tag const tag = tm->get_tag(c->symbol);
    if (tag < hooks.size() && hooks[tag] != nullptr && c->symbol->arity != 0) {
      std::size_t const waiting = stack.size();
      for (std::uint64_t i = 0; i < c->symbol->arity; ++i)
        if (!is_cached(c->children[i])) stack.push_back(c->children[i]);
      if (stack.size() != waiting) continue;
    }
    stack.pop_back();
    call_hook(sink, c, tag);
  }

  BvLitList const* bits = lookup(t);
  assert(bits != nullptr && !bits->empty());
  if (trail.size() > length) trail.pop_back();
  return bits->front();
}

void WordClausifier::call_hook(ClauseSink* sink, Term_ const* t, SymbolTag::tag tag) {
  if (termination_test != nullptr) (*termination_test)();
  VELL_TRACE(3) << "calling a hook for " << t << endlog;
  if (tag < hooks.size() && hooks[tag] != nullptr) {
    (this->*hooks[tag])(sink, t);
    return;
  }
  VELL_TRACE(1) << "no hook for " << t << endlog;
  Symbol const* symbol = t->symbol;
  if (tm->is_number(symbol)) {
    word_constant(sink, t);
    return;
  }
  if (generic_variable(sink, t)) return;
  Type const* type = symbol->get_output_type();
  // The name as a string: a null one is a logic_error rather than a crash.
  VELL_TRACE(1) << "Trying to bitblast the unsuported term " << t << " type:" << type
                << " symbol:" << std::string(symbol->name) << " number:" << tm->is_number(symbol)
                << " function:" << tm->is_function_type(type) << " bv:" << tm->is_bv_type(type)
                << " bool:" << (type == tm->bool_type) << endlog;
  fail(sink, t);
}

void WordClausifier::fail(ClauseSink*, Term_ const* t) {
  error e("not supported: ");
  e << t->to_shallow_str();
  // Callers catch Exception; thrown through the base, the object that travels is one, without the interface's type.
  Exception& thrown = e;
  throw thrown;
}

}  // namespace vell::bv
