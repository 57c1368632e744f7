// The incremental solver.

#include "vell/script/solver.h"

#include <pybind11/stl.h>

#include "binding.h"

namespace vell::python {

namespace {

struct PySolver {
  PySolver(ContextPtr c, script::SolverOptions const& options)
      : context(std::move(c)), solver(context->terms, options) {}
  ContextPtr context;
  script::Solver solver;
};

PyTerm const& own(PySolver const& s, PyTerm const& t) {
  if (t.context != s.context) throw py::value_error("a term of another context");
  return t;
}

}  // namespace

void bind_solver(py::module_& module) {
  py::class_<PySolver>(module, "_Solver")
      .def(py::init([](ContextPtr const& context, std::string const& words,
                       std::vector<std::string> const& settings, int seed, unsigned threads,
                       std::string const& command, std::string const& ipasir, bool free_division) {
        script::SolverOptions options;
        options.words = words;
        options.settings = settings;
        options.seed = seed;
        options.threads = threads;
        options.command = command;
        options.ipasir = ipasir;
        options.free_division = free_division;
        return std::make_unique<PySolver>(context, options);
      }))
      .def("add",
           [](PySolver& s, py::object const& formulas, std::string const& name) {
             ContextPtr context = s.context;
             std::vector<Term_ const*> const list = formulas_of(formulas, context);
             Locked const lock(*s.context);
             for (Term_ const* t : list) s.solver.assert_formula(t, name);
           })
      .def("push",
           [](PySolver& s, std::uint64_t levels) {
             Locked const lock(*s.context);
             s.solver.push(levels);
           })
      .def("pop",
           [](PySolver& s, std::uint64_t levels) {
             Locked const lock(*s.context);
             s.solver.pop(levels);
           })
      .def_property_readonly("levels", [](PySolver const& s) { return s.solver.levels(); })
      .def("check",
           [](PySolver& s, py::object const& assumptions) {
             ContextPtr context = s.context;
             std::vector<Term_ const*> const list = formulas_of(assumptions, context);
             script::Answer answer = script::Answer::unknown;
             work(
                 *s.context, [&] { answer = s.solver.check(list); }, [&] { s.solver.interrupt(); });
             return answer == script::Answer::sat     ? "sat"
                    : answer == script::Answer::unsat ? "unsat"
                                                      : "unknown";
           })
      .def("interrupt", [](PySolver& s) { s.solver.interrupt(); })
      .def_property_readonly("reason", [](PySolver const& s) { return s.solver.reason_unknown(); })
      .def("limit",
           [](PySolver& s, std::uint64_t milliseconds, std::uint64_t conflicts) {
             s.solver.set_time_limit(milliseconds);
             s.solver.set_conflict_limit(conflicts);
           })
      .def("value",
           [](PySolver& s, PyTerm const& t) {
             std::vector<std::uint64_t> words;
             {
               Locked const lock(*s.context);
               words = s.solver.words(own(s, t).term);
             }
             return value_of(t, words);
           })
      .def("core",
           [](PySolver& s) {
             Locked const lock(*s.context);
             return s.solver.core();
           })
      .def("failed",
           [](PySolver& s) {
             Locked const lock(*s.context);
             std::vector<PyTerm> out;
             for (Term_ const* t : s.solver.failed_assumptions()) out.push_back({s.context, t});
             return out;
           })
      .def("statistics", [](PySolver& s) { return s.solver.control().statistics_json(); });
}

}  // namespace vell::python
