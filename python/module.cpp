// The Python module behind the package vell. Its names begin with an underscore: the package makes them what
// users see.

#include "binding.h"
#include "vell/script/error.h"
#include "vell/terms/operators.h"
#include "vell/utils/version.h"

namespace py = pybind11;

PYBIND11_MODULE(_vell, module) {
  module.attr("__version__") = VELL_VERSION;
  py::register_exception<vell::Exception>(module, "Error", PyExc_RuntimeError);
  static py::exception<vell::script::Error> script_error(module, "ScriptError", module.attr("Error"));
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (vell::script::Error const& e) {
      py::object error = py::reinterpret_borrow<py::object>(script_error)(e.what());
      error.attr("file") = e.file();
      error.attr("line") = e.position().line;
      error.attr("column") = e.position().column;
      error.attr("message") = e.message();
      PyErr_SetObject(script_error.ptr(), error.ptr());
    } catch (vell::SortError const& e) {
      PyErr_SetString(PyExc_TypeError, e.what());
    }
  });
  vell::python::bind_terms(module);
  vell::python::bind_cnf(module);
  vell::python::bind_solver(module);
}
