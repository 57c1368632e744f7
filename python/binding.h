#pragma once

// What the parts of the Python module share: contexts, terms, and work without the interpreter's lock.

#include <pybind11/pybind11.h>

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "vell/script/control.h"
#include "vell/terms/termmanager.h"

namespace vell::python {

namespace py = pybind11;

// Terms that may be combined. Work on them runs without the interpreter's lock, so a lock of its own keeps
// other threads from the manager meanwhile.
struct Context {
  TermManager terms;
  std::mutex mutex;
};
using ContextPtr = std::shared_ptr<Context>;

// Waits for the manager without the interpreter's lock: whoever holds the manager may need that.
class Locked {
 public:
  explicit Locked(Context& context) : lock_(context.mutex, std::try_to_lock) {
    if (lock_.owns_lock()) return;
    py::gil_scoped_release const release;
    lock_.lock();
  }

 private:
  std::unique_lock<std::mutex> lock_;
};

struct PyTerm {
  ContextPtr context;
  Term_ const* term;

  Type const* type() const { return term->symbol->get_output_type(); }
  bool is_bool() const { return type() == context->terms.bool_type; }
  std::uint64_t width() const { return context->terms.width(term); }
};

// The value as Python writes it: a bool for a Boolean term, else an int.
py::object value_of(PyTerm const& term, std::vector<std::uint64_t> const& words);

// The formulas of a list of terms, bools or lists of such; all of one context, which is returned in `context`
// where it is null.
std::vector<Term_ const*> formulas_of(py::handle list, ContextPtr& context);

// Runs f in a thread of its own, holding the manager, without the interpreter's lock. A signal that Python
// handles by an exception (Ctrl-C) calls stop until f ends, and is raised then.
template <typename F, typename Stop>
void work(Context& context, F f, Stop stop) {
  using namespace std::chrono_literals;
  std::exception_ptr thrown;
  std::optional<py::error_already_set> signal;
  std::mutex mutex;
  std::condition_variable ended;
  bool done = false;
  std::thread worker([&] {
    try {
      std::lock_guard const lock(context.mutex);
      f();
    } catch (...) {
      thrown = std::current_exception();
    }
    // Under the lock: the other thread may destroy both as soon as it has it.
    std::lock_guard const lock(mutex);
    done = true;
    ended.notify_all();
  });
  {
    py::gil_scoped_release const release;
    std::unique_lock lock(mutex);
    while (!ended.wait_for(lock, 20ms, [&] { return done; })) {
      lock.unlock();
      if (signal) {
        stop();
      } else {
        py::gil_scoped_acquire const acquire;
        if (PyErr_CheckSignals() != 0) signal.emplace();
      }
      lock.lock();
    }
    lock.unlock();
    worker.join();
  }
  if (signal) throw py::error_already_set(*signal);
  if (thrown) std::rethrow_exception(thrown);
}

void bind_terms(py::module_& module);
void bind_cnf(py::module_& module);
void bind_solver(py::module_& module);

}  // namespace vell::python
