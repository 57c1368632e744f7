// A solver behind C functions. An exception must not cross the solver's frames: what the termination test
// throws is kept, the solver is asked to stop, and solve() throws it again.

#include "vell/sinks/ipasirsink.h"

#include <dlfcn.h>

#include <exception>
#include <utility>

#include "vell/terms/exception.h"

namespace vell::sinks {

namespace {

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

class IpasirSink::Solver : public SatSolver {
 public:
  explicit Solver(IpasirFunctions const& functions) : functions_(functions), handle_(functions.init()) {
    if (handle_ == nullptr) throw Exception("the SAT solver could not be made");
  }
  ~Solver() override { functions_.release(handle_); }
  Solver(Solver const&) = delete;
  Solver& operator=(Solver const&) = delete;

  void add(std::span<std::int32_t const> clause) override {
    for (std::int32_t l : clause) functions_.add(handle_, l);
    functions_.add(handle_, 0);
  }
  Answer solve(std::span<std::int32_t const> assumptions, Effort const&) override {
    for (std::int32_t a : assumptions) functions_.assume(handle_, a);
    int const answer = functions_.solve(handle_);
    if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
    switch (answer) {
      case 0: return Answer::unknown;
      case 10: return Answer::sat;
      case 20: return Answer::unsat;
      default:
        throw Exception("the SAT solver answered " + std::to_string(answer) + " instead of 0, 10 or 20");
    }
  }
  bool value(std::int32_t variable) override { return functions_.val(handle_, variable) > 0; }
  bool failed(std::int32_t assumption) override { return functions_.failed(handle_, assumption) != 0; }
  void set_terminate(std::function<bool()> terminate) override {
    if (functions_.set_terminate == nullptr) {
      if (!terminate) return;
      throw Exception("this SAT solver cannot be stopped: it has no function set_terminate");
    }
    terminate_ = std::move(terminate);
    if (terminate_)
      functions_.set_terminate(handle_, this, &poll);
    else
      functions_.set_terminate(handle_, nullptr, nullptr);
  }
  void* handle() const { return handle_; }

 private:
  static int poll(void* solver) {
    Solver& self = *static_cast<Solver*>(solver);
    try {
      return self.terminate_() ? 1 : 0;
    } catch (...) {
      self.thrown_ = std::current_exception();
      return 1;
    }
  }

  IpasirFunctions functions_;
  void* handle_;
  std::function<bool()> terminate_;
  std::exception_ptr thrown_;  // by terminate_, on its way through the solver
};

IpasirSink::IpasirSink(IpasirFunctions const& functions) : IpasirSink(new Solver(functions)) {}

// Takes the solver.
IpasirSink::IpasirSink(Solver* solver)
    : SolverSink(std::unique_ptr<SatSolver>(solver)), handle_(solver->handle()) {}

}  // namespace vell::sinks
