// vell.h: the clausifier with a sink of callbacks.

#include "vell/bv/standardclausifier.h"
#include "vell/c/handles.h"

using namespace vell;
using namespace vell::c;

namespace {

class CallbackSink : public bv::ClauseSink {
 public:
  explicit CallbackSink(vell_sink const& functions) : functions_(functions) {}
  bv::BvLit new_lit() override {
    bv::BvLit const literal = functions_.new_literal(functions_.data);
    if (literal < 2) throw Failure{VELL_STOPPED, "new_literal gave no literal from 2 on"};
    return literal;
  }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    if (functions_.add_clause(functions_.data, lits.data(), lits.size()) != 0)
      throw Failure{VELL_STOPPED, "add_clause ended the work"};
  }

 private:
  vell_sink const functions_;
};

struct ClausifierObject : Object {
  ClausifierObject(std::shared_ptr<Terms> t, vell_sink const& functions)
      : terms(std::move(t)), sink(functions), clausifier(&terms->manager) {}
  std::shared_ptr<Terms> terms;
  CallbackSink sink;
  bv::StandardClausifier clausifier;
  std::uint64_t levels = 0;
};

}  // namespace

vell_error vell_clausifier_new(vell_terms* terms, vell_sink const* sink, vell_clausifier** out) {
  return call<Terms>(terms, [&](Terms&) {
    need(sink, "the sink");
    need(out, "the pointer to the result");
    need(reinterpret_cast<void const*>(sink->new_literal), "new_literal");
    need(reinterpret_cast<void const*>(sink->add_clause), "add_clause");
    *out = static_cast<vell_clausifier*>(
        Handles::all().add(std::make_shared<ClausifierObject>(shared_terms(terms), *sink)));
  });
}

vell_error vell_clausifier_free(vell_clausifier* clausifier) { return release<ClausifierObject>(clausifier); }

vell_error vell_clausifier_translate(vell_clausifier* clausifier, vell_term term, int32_t* literal) {
  return call<ClausifierObject>(clausifier, [&](ClausifierObject& c) {
    need(literal, "the pointer to the result");
    *literal = c.clausifier.bit_blast(c.terms->take(term), &c.sink);
  });
}

vell_error vell_clausifier_bits(vell_clausifier* clausifier, vell_term term, int32_t* bits, size_t capacity,
                                size_t* count) {
  return call<ClausifierObject>(clausifier, [&](ClausifierObject& c) {
    bv::BvLitList list;
    if (!c.clausifier.get_bits(c.terms->take(term), list))
      throw Failure{VELL_STATE, "the term was not translated"};
    copy_out(std::vector<std::int32_t>(list.begin(), list.end()), bits, capacity, count);
  });
}

vell_error vell_clausifier_push(vell_clausifier* clausifier) {
  return call<ClausifierObject>(clausifier, [](ClausifierObject& c) {
    c.clausifier.push_backtrack_point();
    ++c.levels;
  });
}

vell_error vell_clausifier_pop(vell_clausifier* clausifier) {
  return call<ClausifierObject>(clausifier, [](ClausifierObject& c) {
    if (c.levels == 0) throw Failure{VELL_STATE, "pop without a push"};
    c.clausifier.pop_backtrack_point();
    --c.levels;
  });
}
