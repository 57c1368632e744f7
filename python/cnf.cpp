// CNF, models and profiles.

#include "vell/script/cnf.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "binding.h"
#include "vell/script/report.h"

namespace vell::python {

namespace {

struct PyModel {
  ContextPtr context;
  script::Model model;
};

struct PyCnf {
  ContextPtr context;
  script::Cnf cnf;
};

std::unique_ptr<PyCnf> clausify(ContextPtr context, py::object const& formulas, std::string const& words,
                                std::vector<std::string> const& settings, bool raw, bool free_division) {
  std::vector<Term_ const*> const list = formulas_of(formulas, context);
  if (context == nullptr) context = std::make_shared<Context>();
  script::CnfOptions options;
  options.words = words;
  options.settings = settings;
  options.raw = raw;
  options.free_division = free_division;
  script::Control control;
  std::optional<script::Cnf> cnf;
  work(
      *context, [&] { cnf.emplace(context->terms, list, options, &control); }, [&] { control.stop(); });
  return std::make_unique<PyCnf>(PyCnf{context, std::move(*cnf)});
}

// An array over memory of the object, which it keeps alive.
template <typename T>
py::array view(py::object const& owner, std::span<T const> data) {
  py::array out(py::dtype::of<T>(), {data.size()}, {sizeof(T)}, data.data(), owner);
  py::detail::array_proxy(out.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return out;
}

template <typename F>
void interruptible(Context& context, F f) {
  script::Control control;
  work(
      context, [&] { f(control); }, [&] { control.stop(); });
}

}  // namespace

void bind_cnf(py::module_& module) {
  py::class_<PyModel>(module, "_Model")
      .def(py::init([](ContextPtr const& context) {
        return std::make_unique<PyModel>(PyModel{context, script::Model(context->terms)});
      }))
      .def("set",
           [](PyModel& m, PyTerm const& t, std::vector<std::uint64_t> const& words) {
             Locked const lock(*m.context);
             m.model.set(t.term, words);
           })
      .def("value", [](PyModel& m, PyTerm const& t) {
        if (t.context != m.context) throw py::value_error("a term of another context");
        std::vector<std::uint64_t> words;
        {
          Locked const lock(*m.context);
          words = m.model.words(t.term);
        }
        return value_of(t, words);
      });

  py::class_<PyCnf>(module, "_Cnf")
      .def(py::init(&clausify))
      .def_property_readonly("context", [](PyCnf const& c) { return c.context; })
      .def_property_readonly("variables", [](PyCnf const& c) { return c.cnf.variables(); })
      .def("__len__", [](PyCnf const& c) { return c.cnf.clauses(); })
      .def_property_readonly(
          "literals",
          [](py::object const& self) { return view(self, self.cast<PyCnf const&>().cnf.literals()); })
      .def_property_readonly(
          "offsets",
          [](py::object const& self) { return view(self, self.cast<PyCnf const&>().cnf.offsets()); })
      .def("clauses",
           [](PyCnf const& c) {
             py::list out;
             std::span<std::int32_t const> const literals = c.cnf.literals();
             std::span<std::uint64_t const> const offsets = c.cnf.offsets();
             for (std::uint64_t i = 0; i < c.cnf.clauses(); ++i) {
               py::list clause;
               for (std::uint64_t k = offsets[i]; k < offsets[i + 1]; ++k) clause.append(literals[k]);
               out.append(clause);
             }
             return out;
           })
      .def("bits",
           [](PyCnf const& c, PyTerm const& t) {
             if (t.context != c.context) throw py::value_error("a term of another context");
             py::list out;
             for (std::int32_t b : c.cnf.bits(t.term)) {
               if (b == script::Cnf::any_bit)
                 out.append(py::none());
               else if (b == script::Cnf::true_bit || b == script::Cnf::false_bit)
                 out.append(py::bool_(b == script::Cnf::true_bit));
               else
                 out.append(py::int_(b));
             }
             return out;
           })
      .def_property_readonly("constants",
                             [](PyCnf const& c) {
                               std::vector<PyTerm> out;
                               for (Term_ const* t : c.cnf.constants()) out.push_back({c.context, t});
                               return out;
                             })
      .def("decode",
           [](PyCnf const& c, std::vector<std::int32_t> const& model) {
             return std::make_unique<PyModel>(PyModel{c.context, c.cnf.decode(model)});
           })
      .def("write", [](PyCnf const& c, std::string const& path,
                       std::vector<std::pair<std::string, PyTerm>> const& names) {
        std::vector<std::pair<std::string, Term_ const*>> list;
        for (auto const& [name, term] : names) list.emplace_back(name, term.term);
        interruptible(*c.context, [&](script::Control&) { c.cnf.write(path, list); });
      });

  // Scripts from file to file need no terms of this process.
  module.def("_write_cnf", [](std::string const& script, std::string const& output, std::uint64_t query,
                              std::string const& words, bool raw, bool annotate) {
    script::CnfFileOptions options;
    options.query = query;
    options.words = words;
    options.raw = raw;
    options.annotate = annotate;
    Context own;
    interruptible(own,
                  [&](script::Control& control) { script::write_cnf(script, output, options, &control); });
  });
  module.def("_decode", [](std::string const& cnf, std::string const& solution) {
    std::string out;
    Context own;
    interruptible(own, [&](script::Control&) { out = script::decode(cnf, solution); });
    return out;
  });
  module.def("_profile", [](std::string const& script, std::uint64_t query, std::string const& words,
                            bool json, std::size_t top) {
    script::ProfileOptions options;
    options.query = query;
    options.words = words;
    options.json = json;
    options.top = top;
    std::string out;
    Context own;
    interruptible(own, [&](script::Control& control) { out = script::profile(script, options, &control); });
    return out;
  });
}

}  // namespace vell::python
