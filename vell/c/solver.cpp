// vell.h: the incremental solver.

#include "vell/script/solver.h"

#include "vell/c/handles.h"

using namespace vell;
using namespace vell::c;

namespace {

struct SolverObject : Object {
  SolverObject(std::shared_ptr<Terms> t, script::SolverOptions const& options)
      : terms(std::move(t)), solver(terms->manager, options) {}
  std::shared_ptr<Terms> terms;
  script::Solver solver;
  script::Answer answer = script::Answer::unknown;  // of the last check, while it holds
  std::vector<std::string> core;
  std::vector<char const*> core_names;
  std::vector<vell_term> failed;

  void need_answer(script::Answer wanted, char const* what) const {
    if (answer != wanted) throw Failure{VELL_STATE, what};
  }
};

}  // namespace

vell_error vell_solver_new(vell_terms* terms, char const* words, vell_solver** out) {
  return call<Terms>(terms, [&](Terms&) {
    need(out, "the pointer to the result");
    script::SolverOptions options;
    if (words != nullptr) options.words = words;
    *out = static_cast<vell_solver*>(
        Handles::all().add(std::make_shared<SolverObject>(shared_terms(terms), options)));
  });
}

vell_error vell_solver_free(vell_solver* solver) { return release<SolverObject>(solver); }

vell_error vell_solver_assert(vell_solver* solver, vell_term formula, char const* name) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    s.solver.assert_formula(s.terms->take(formula), name == nullptr ? "" : name);
    s.answer = script::Answer::unknown;
  });
}

vell_error vell_solver_push(vell_solver* solver, uint64_t levels) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    s.solver.push(levels);
    s.answer = script::Answer::unknown;
  });
}

vell_error vell_solver_pop(vell_solver* solver, uint64_t levels) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    if (levels > s.solver.levels()) throw Failure{VELL_STATE, "pop of more levels than there are"};
    s.solver.pop(levels);
    s.answer = script::Answer::unknown;
  });
}

vell_error vell_solver_check(vell_solver* solver, vell_term const* assumptions, size_t count,
                             vell_answer* out) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(out, "the pointer to the result");
    s.answer = script::Answer::unknown;
    s.answer = s.solver.check(s.terms->take(assumptions, count));
    *out = s.answer == script::Answer::sat     ? VELL_SAT
           : s.answer == script::Answer::unsat ? VELL_UNSAT
                                               : VELL_UNKNOWN;
  });
}

vell_error vell_solver_reason(vell_solver* solver, char const** out) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(out, "the pointer to the result");
    *out = s.solver.reason_unknown().c_str();
  });
}

vell_error vell_solver_time_limit(vell_solver* solver, uint64_t milliseconds) {
  return call<SolverObject>(solver, [&](SolverObject& s) { s.solver.set_time_limit(milliseconds); });
}

vell_error vell_solver_conflict_limit(vell_solver* solver, uint64_t conflicts) {
  return call<SolverObject>(solver, [&](SolverObject& s) { s.solver.set_conflict_limit(conflicts); });
}

vell_error vell_solver_words(vell_solver* solver, vell_term term, uint64_t* words, size_t capacity,
                             size_t* count) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    s.need_answer(script::Answer::sat, "there is no model: the last answer was not sat");
    copy_out(s.solver.words(s.terms->take(term)), words, capacity, count);
  });
}

vell_error vell_solver_text(vell_solver* solver, vell_term term, char** out) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(out, "the pointer to the result");
    s.need_answer(script::Answer::sat, "there is no model: the last answer was not sat");
    *out = copied(s.solver.text(s.terms->take(term)));
  });
}

vell_error vell_solver_core(vell_solver* solver, char const* const** names, size_t* count) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(names, "the pointer to the names");
    need(count, "the pointer to the count");
    s.need_answer(script::Answer::unsat, "there is no core: the last answer was not unsat");
    s.core = s.solver.core();
    s.core_names.clear();
    for (std::string const& name : s.core) s.core_names.push_back(name.c_str());
    *names = s.core_names.data();
    *count = s.core_names.size();
  });
}

vell_error vell_solver_failed(vell_solver* solver, vell_term const** assumptions, size_t* count) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(assumptions, "the pointer to the assumptions");
    need(count, "the pointer to the count");
    s.need_answer(script::Answer::unsat, "there is no core: the last answer was not unsat");
    s.failed.clear();
    for (Term_ const* t : s.solver.failed_assumptions()) s.failed.push_back(s.terms->give(t));
    *assumptions = s.failed.data();
    *count = s.failed.size();
  });
}

// Another thread may be in the middle of a call with this object, so its message is left alone.
vell_error vell_solver_interrupt(vell_solver* solver) {
  if (solver == nullptr) return refuse(VELL_NULL, "the handle is null");
  try {
    auto const object = std::dynamic_pointer_cast<SolverObject>(Handles::all().find(solver));
    if (object == nullptr) return refuse(VELL_HANDLE, "the handle is not that of a live solver");
    object->solver.interrupt();
    return VELL_OK;
  } catch (...) {
    return refuse(VELL_INTERNAL, "the table of handles cannot be locked");
  }
}

vell_error vell_solver_statistics(vell_solver* solver, char** out) {
  return call<SolverObject>(solver, [&](SolverObject& s) {
    need(out, "the pointer to the result");
    *out = copied(s.solver.control().statistics_json());
  });
}
