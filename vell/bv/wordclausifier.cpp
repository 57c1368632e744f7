#include "vell/bv/wordclausifier.h"

// Construction, traversal, dispatch.
//
// bit_blast walks the DAG with a stack of its own, so depth costs heap and never the call stack. A term stays
// on the stack below the children it waits for and is looked at again when they are done; the last child
// pushed is the first translated. The root enters the trail before its cone and not once more after it:
// retract_upto(root) then forgets the root together with everything that was cached on its behalf.
//
// Tested by construction_test.cpp, traversal_test.cpp and interruption_test.cpp in tests/bv.

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

  for (Hook const& h : builtin_hooks()) register_hook(h.tag, h.handler);
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
  // The name as a string: a null one is a logic_error rather than a crash, whether the message is written or
  // not.
  [[maybe_unused]] std::string const name(symbol->name);
  VELL_TRACE(1) << "Trying to bitblast the unsuported term " << t << " type:" << type << " symbol:" << name
                << " number:" << tm->is_number(symbol) << " function:" << tm->is_function_type(type)
                << " bv:" << tm->is_bv_type(type) << " bool:" << (type == tm->bool_type) << endlog;
  fail(sink, t);
}

void WordClausifier::fail(ClauseSink*, Term_ const* t) {
  error e("not supported: ");
  e << t->to_shallow_str();
  // Callers catch Exception; thrown through the base, the object that travels is one, without the interface's
  // type.
  Exception& thrown = e;
  throw thrown;
}

}  // namespace vell::bv
