// vell.h: CNF and models.

#include "vell/script/cnf.h"

#include "vell/c/handles.h"

using namespace vell;
using namespace vell::c;

namespace {

struct CnfObject : Object {
  CnfObject(std::shared_ptr<Terms> t, std::vector<Term_ const*> const& formulas,
            script::CnfOptions const& options)
      : terms(std::move(t)), cnf(terms->manager, formulas, options) {}
  std::shared_ptr<Terms> terms;
  script::Cnf cnf;
};

struct ModelObject : Object {
  ModelObject(std::shared_ptr<Terms> t, script::Model m) : terms(std::move(t)), model(std::move(m)) {}
  std::shared_ptr<Terms> terms;
  script::Model model;
};

}  // namespace

vell_error vell_cnf_new(vell_terms* terms, vell_term const* formulas, size_t count, char const* words,
                        unsigned flags, vell_cnf** out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    if ((flags & ~(VELL_RAW | VELL_FREE_DIVISION)) != 0) throw Failure{VELL_VALUE, "an unknown flag"};
    script::CnfOptions options;
    if (words != nullptr) options.words = words;
    options.raw = (flags & VELL_RAW) != 0;
    options.free_division = (flags & VELL_FREE_DIVISION) != 0;
    std::vector<Term_ const*> const list = t.take(formulas, count);
    *out = static_cast<vell_cnf*>(
        Handles::all().add(std::make_shared<CnfObject>(shared_terms(terms), list, options)));
  });
}

vell_error vell_cnf_free(vell_cnf* cnf) { return release<CnfObject>(cnf); }

vell_error vell_cnf_variables(vell_cnf* cnf, uint64_t* out) {
  return call<CnfObject>(cnf, [&](CnfObject& c) {
    need(out, "the pointer to the result");
    *out = c.cnf.variables();
  });
}

vell_error vell_cnf_clauses(vell_cnf* cnf, uint64_t* out) {
  return call<CnfObject>(cnf, [&](CnfObject& c) {
    need(out, "the pointer to the result");
    *out = c.cnf.clauses();
  });
}

vell_error vell_cnf_arrays(vell_cnf* cnf, int32_t const** literals, uint64_t const** offsets) {
  return call<CnfObject>(cnf, [&](CnfObject& c) {
    need(literals, "the pointer to the literals");
    need(offsets, "the pointer to the offsets");
    *literals = c.cnf.literals().data();
    *offsets = c.cnf.offsets().data();
  });
}

vell_error vell_cnf_bits(vell_cnf* cnf, vell_term term, int32_t* bits, size_t capacity, size_t* count) {
  return call<CnfObject>(
      cnf, [&](CnfObject& c) { copy_out(c.cnf.bits(c.terms->take(term)), bits, capacity, count); });
}

vell_error vell_cnf_write(vell_cnf* cnf, char const* path) {
  return call<CnfObject>(cnf, [&](CnfObject& c) {
    need(path, "the path");
    try {
      c.cnf.write(path);
    } catch (Exception const& e) {
      throw Failure{VELL_FILE, e.what()};
    }
  });
}

vell_error vell_cnf_decode(vell_cnf* cnf, int32_t const* literals, size_t count, vell_model** out) {
  return call<CnfObject>(cnf, [&](CnfObject& c) {
    if (count != 0) need(literals, "the array of literals");
    need(out, "the pointer to the result");
    *out = static_cast<vell_model*>(
        Handles::all().add(std::make_shared<ModelObject>(c.terms, c.cnf.decode(std::span(literals, count)))));
  });
}

vell_error vell_model_new(vell_terms* terms, vell_model** out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    *out = static_cast<vell_model*>(
        Handles::all().add(std::make_shared<ModelObject>(shared_terms(terms), script::Model(t.manager))));
  });
}

vell_error vell_model_free(vell_model* model) { return release<ModelObject>(model); }

vell_error vell_model_set(vell_model* model, vell_term variable, uint64_t const* words, size_t count) {
  return call<ModelObject>(model, [&](ModelObject& m) {
    if (count != 0) need(words, "the array of words");
    Term_ const* const term = m.terms->take(variable);
    if (!m.terms->manager.is_uninterpreted_function(term->symbol))
      throw Failure{VELL_VALUE, "only a variable can be given a value"};
    m.model.set(term, std::span(words, count));
  });
}

vell_error vell_model_words(vell_model* model, vell_term term, uint64_t* words, size_t capacity,
                            size_t* count) {
  return call<ModelObject>(
      model, [&](ModelObject& m) { copy_out(m.model.words(m.terms->take(term)), words, capacity, count); });
}

vell_error vell_model_text(vell_model* model, vell_term term, char** out) {
  return call<ModelObject>(model, [&](ModelObject& m) {
    need(out, "the pointer to the result");
    *out = copied(m.model.text(m.terms->take(term)));
  });
}
