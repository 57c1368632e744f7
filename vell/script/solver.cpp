#include "vell/script/solver.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "vell/engine/incrementalsolver.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"
#include "vell/sinks/ipasirsink.h"
#include "vell/terms/operators.h"

namespace vell::script {

namespace {

using smtlib::CommandKind;

engine::IncrementalSolverOptions internal(SolverOptions const& options) {
  engine::IncrementalSolverOptions out;
  out.free_division = options.free_division;
  out.seed = options.seed;
  out.threads = options.threads;
  out.deterministic = options.deterministic;
  out.solver_command = options.command;
  out.ipasir = options.ipasir;
  out.passes = passes_of(options);
  out.tunables = tunables_of(options);
  out.logger = options.logger;
  return out;
}

// A check that runs. With a time limit, a thread watches it.
class RunningCheck {
 public:
  RunningCheck(run::Limits& limits, std::uint64_t milliseconds) : limits_(limits) {
    limits.begin_check(std::chrono::milliseconds(milliseconds));
    if (milliseconds != 0)
      watch_ = std::thread([this, milliseconds] {
        std::unique_lock lock(mutex_);
        if (!over_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return done_; }))
          limits_.stop_check(run::StopReason::timeout);
      });
  }
  ~RunningCheck() {
    if (watch_.joinable()) {
      {
        std::lock_guard const lock(mutex_);
        done_ = true;
      }
      over_.notify_all();
      watch_.join();
    }
    limits_.end_check();
  }
  RunningCheck(RunningCheck const&) = delete;
  RunningCheck& operator=(RunningCheck const&) = delete;

 private:
  run::Limits& limits_;
  std::mutex mutex_;
  std::condition_variable over_;
  bool done_ = false;
  std::thread watch_;
};

}  // namespace

struct Solver::State {
  State(TermManager& t, SolverOptions const& o) : terms(t), options(internal(o)) {}

  void apply(CommandKind kind, std::uint64_t levels = 0, Term_ const* term = nullptr,
             std::string const& name = "") {
    smtlib::Command command;
    command.kind = kind;
    command.number = levels;
    command.name = name;
    if (term != nullptr) command.terms.push_back(term);
    assertions.apply(command);
    answer = Answer::unknown;
  }
  // A solver that was stopped in the middle of its work cannot go on; the next one is given everything anew.
  engine::IncrementalSolver& current() {
    if (!solver || solver->stale())
      solver.emplace(terms, options, control.parts().limits, control.parts().statistics);
    return *solver;
  }
  values::Evaluator& model() {
    if (answer != Answer::sat) throw Exception("there is no model: the last answer was not sat");
    return solver->model();
  }
  void need_unsat() const {
    if (answer != Answer::unsat) throw Exception("there is no core: the last answer was not unsat");
  }

  TermManager& terms;
  engine::IncrementalSolverOptions const options;
  Control control;
  engine::ScriptState assertions;
  std::optional<engine::IncrementalSolver> solver;
  bool named = false;  // whether core() has to tell assertions apart
  std::uint64_t milliseconds = 0;
  std::uint64_t conflicts = 0;
  std::vector<Term_ const*> assumptions;  // of the last check
  Answer answer = Answer::unknown;        // of the last check, while it holds
  std::string reason = "incomplete";
};

Solver::Solver(TermManager& terms, SolverOptions const& options)
    : state_(std::make_unique<State>(terms, options)) {
  if (!options.ipasir.empty()) sinks::IpasirLibrary const loadable(options.ipasir);
}
Solver::~Solver() = default;

Term_ const* Solver::declare(std::string_view name, Type const* type) {
  Term_ const* const constant = state_->terms.mk_variable(name, type);
  state_->apply(CommandKind::declare, 0, constant);
  return constant;
}

void Solver::assert_formula(Term_ const* formula, std::string const& name) {
  if (formula->symbol->get_output_type() != state_->terms.bool_type)
    throw Exception("a formula is of sort Bool, not " + sort_text(formula->symbol->get_output_type()));
  if (!name.empty() && !state_->named) {
    state_->named = true;
    state_->solver.reset();  // its assertions cannot be told apart
  }
  state_->apply(CommandKind::assert_, 0, formula, name);
}

void Solver::push(std::uint64_t levels) { state_->apply(CommandKind::push, levels); }

void Solver::pop(std::uint64_t levels) {
  if (levels > state_->assertions.levels()) throw Exception("pop of more levels than there are");
  state_->apply(CommandKind::pop, levels);
  if (state_->solver) state_->solver->popped(state_->assertions);
}

std::uint64_t Solver::levels() const { return state_->assertions.levels(); }

Answer Solver::check(std::span<Term_ const* const> assumptions) {
  return across_border([&] {
    State& s = *state_;
    for (Term_ const* t : assumptions)
      if (t->symbol->get_output_type() != s.terms.bool_type)
        throw Exception("an assumption is of sort Bool, not " + sort_text(t->symbol->get_output_type()));
    s.answer = Answer::unknown;
    s.assumptions.assign(assumptions.begin(), assumptions.end());
    ++s.control.parts().statistics.checks;
    RunningCheck const running(s.control.parts().limits, s.milliseconds);
    engine::IncrementalSolver& solver = s.current();
    if (!solver.limit_conflicts(s.conflicts)) throw Exception("this SAT solver does not count conflicts");
    s.answer = solver.check(s.assertions, s.assumptions, s.named);
    s.reason = solver.reason_unknown();
    run::Statistics& figures = s.control.parts().statistics;
    ++(s.answer == Answer::sat ? figures.sat : s.answer == Answer::unsat ? figures.unsat : figures.unknown);
    return s.answer;
  });
}

std::string const& Solver::reason_unknown() const { return state_->reason; }

void Solver::set_time_limit(std::uint64_t milliseconds) {
  constexpr std::uint64_t longest = 1'000'000'000'000;  // thirty years
  state_->milliseconds = std::min(milliseconds, longest);
}
void Solver::set_conflict_limit(std::uint64_t conflicts) {
  if (conflicts != 0 && !state_->options.embedded())
    throw Exception("this SAT solver does not count conflicts");
  state_->conflicts = conflicts;
}

std::vector<std::uint64_t> Solver::words(Term_ const* term) {
  std::uint64_t const width = value_width(state_->terms, term->symbol->get_output_type());
  std::uint64_t const* const value = state_->model().value(term);
  return {value, value + (width + 63) / 64};
}
bool Solver::is_true(Term_ const* formula) { return state_->model().is_true(formula); }
std::string Solver::text(Term_ const* term, WordFormat format) {
  return state_->model().text(term, to_internal(format));
}

Model Solver::model() {
  static_cast<void>(state_->model());  // there is one
  Model out(state_->terms, state_->options.free_division);
  for (Term_ const* c : state_->assertions.declared()) out.set(c, words(c));
  return out;
}

std::vector<std::string> Solver::core() {
  state_->need_unsat();
  std::vector<std::string> out;
  for (std::size_t i : state_->solver->core()) out.push_back(state_->assertions.assertions()[i].name);
  return out;
}

std::vector<Term_ const*> Solver::failed_assumptions() {
  state_->need_unsat();
  std::vector<Term_ const*> out;
  for (std::size_t i : state_->solver->failed_assumptions()) out.push_back(state_->assumptions[i]);
  return out;
}

void Solver::interrupt() { state_->control.stop_check(Reason::interrupted); }
Control& Solver::control() { return state_->control; }

}  // namespace vell::script
