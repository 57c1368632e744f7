// A solver behind C functions.
//
// Two things do not fit such functions and are bridged here. An exception must not cross the solver's frames:
// what the termination test throws is kept, the solver is asked to stop, and solve() throws it again. And val
// and failed may be called in one state of the solver only, some abort the program otherwise; the sink knows
// the state and throws.

#include "vell/sinks/ipasirsink.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "vell/terms/exception.h"

namespace vell::sinks {

namespace {

std::int32_t solver_literal(bv::BvLit l) { return l > 0 ? l - 1 : l + 1; }

template <typename Function>
void load(void* handle, std::string const& path, char const* name, Function& out) {
  out = reinterpret_cast<Function>(dlsym(handle, name));
  if (out != nullptr) return;
  dlclose(handle);
  throw Exception(path + ": no IPASIR solver, it lacks the function " + name);
}

}  // namespace

IpasirLibrary::IpasirLibrary(std::string const& path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) {
    char const* reason = dlerror();
    throw Exception(std::string("cannot load a SAT solver: ") + (reason != nullptr ? reason : path.c_str()));
  }
  load(handle_, path, "ipasir_signature", functions_.signature);
  load(handle_, path, "ipasir_init", functions_.init);
  load(handle_, path, "ipasir_release", functions_.release);
  load(handle_, path, "ipasir_add", functions_.add);
  load(handle_, path, "ipasir_assume", functions_.assume);
  load(handle_, path, "ipasir_solve", functions_.solve);
  load(handle_, path, "ipasir_val", functions_.val);
  load(handle_, path, "ipasir_failed", functions_.failed);
  load(handle_, path, "ipasir_set_terminate", functions_.set_terminate);
}

IpasirLibrary::~IpasirLibrary() { dlclose(handle_); }

IpasirSink::IpasirSink(IpasirFunctions const& functions) : functions_(functions), solver_(functions.init()) {
  if (solver_ == nullptr) throw Exception("the SAT solver could not be made");
}

IpasirSink::~IpasirSink() { functions_.release(solver_); }

void IpasirSink::add_clause() {
  for (bv::BvLit l : lits)
    if (l == bv::l_true) return;
  state_ = State::input;
  for (bv::BvLit l : lits) {
    if (l == bv::l_false) continue;
    known_ = std::max(known_, std::abs(l));
    functions_.add(solver_, solver_literal(l));
    ++literals_;
  }
  functions_.add(solver_, 0);
  ++clauses_;
}

void IpasirSink::add_clause(std::initializer_list<bv::BvLit> clause) {
  lits.assign(clause);
  add_clause();
}

int IpasirSink::poll(void* sink) {
  IpasirSink& self = *static_cast<IpasirSink*>(sink);
  try {
    return self.terminate_() ? 1 : 0;
  } catch (...) {
    self.thrown_ = std::current_exception();
    return 1;
  }
}

void IpasirSink::set_terminate(std::function<bool()> terminate) {
  if (functions_.set_terminate == nullptr) {
    if (!terminate) return;
    throw Exception("this SAT solver cannot be stopped: it has no function set_terminate");
  }
  terminate_ = std::move(terminate);
  if (terminate_)
    functions_.set_terminate(solver_, this, &poll);
  else
    functions_.set_terminate(solver_, nullptr, nullptr);
}

IpasirSink::Answer IpasirSink::solve(std::vector<bv::BvLit> const& assumptions) {
  state_ = State::unsat;
  false_assumed_ = std::find(assumptions.begin(), assumptions.end(), bv::l_false) != assumptions.end();
  if (false_assumed_) return Answer::unsat;
  state_ = State::input;
  for (bv::BvLit a : assumptions) {
    if (a == bv::l_true) continue;
    known_ = std::max(known_, std::abs(a));
    functions_.assume(solver_, solver_literal(a));
  }
  int const answer = functions_.solve(solver_);
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
  switch (answer) {
    case 0: return Answer::unknown;
    case 10: state_ = State::sat; return Answer::sat;
    case 20: state_ = State::unsat; return Answer::unsat;
    default: throw Exception("the SAT solver answered " + std::to_string(answer) + " instead of 0, 10 or 20");
  }
}

bool IpasirSink::value(bv::BvLit literal) const {
  if (state_ != State::sat)
    throw Exception("there is no model: the last answer was not sat, or clauses came after it");
  if (bv::is_constant(literal)) return literal == bv::l_true;
  bv::BvLit const variable = std::abs(literal);
  bool const positive = variable <= known_ && functions_.val(solver_, variable - 1) > 0;
  return positive == (literal > 0);
}

bool IpasirSink::failed(bv::BvLit assumption) const {
  if (state_ != State::unsat)
    throw Exception("no assumption failed: the last answer was not unsat, or clauses came after it");
  if (false_assumed_) return assumption == bv::l_false;
  if (bv::is_constant(assumption)) return false;
  return functions_.failed(solver_, solver_literal(assumption)) != 0;
}

}  // namespace vell::sinks
