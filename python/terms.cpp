// Contexts, terms and scripts.

#include <pybind11/stl.h>

#include "binding.h"
#include "vell/script/model.h"
#include "vell/script/script.h"
#include "vell/terms/theory.h"

namespace vell::python {

namespace {

PyTerm apply(std::string const& name, std::vector<PyTerm> const& arguments,
             std::vector<std::uint64_t> const& indices) {
  if (arguments.empty()) throw py::value_error(name + " without arguments");
  ContextPtr const& context = arguments[0].context;
  std::vector<Term_ const*> terms;
  for (PyTerm const& a : arguments) {
    if (a.context != context) throw py::value_error("terms of different contexts");
    terms.push_back(a.term);
  }
  Locked const lock(*context);
  return {context, mk_app(context->terms, name, std::span(terms.data(), terms.size()), std::span(indices))};
}

PyTerm variable(ContextPtr const& context, std::string const& name, std::uint64_t width) {
  Locked const lock(*context);
  TermManager& terms = context->terms;
  return {context, terms.mk_variable(name, width == 0 ? terms.bool_type : terms.bv_type(width))};
}

PyTerm numeral(ContextPtr const& context, std::string const& hexadecimal, std::uint64_t width) {
  QNumber const value = QNumber::from_digits(hexadecimal, 16);
  Locked const lock(*context);
  return {context, context->terms.mk_number(value, context->terms.bv_type(width))};
}

std::string text(PyTerm const& t) {
  Locked const lock(*t.context);
  return script::term_text(t.context->terms, t.term);
}

struct PyScript {
  ContextPtr context;
  script::Script script;
};

template <typename Read>
PyScript read(ContextPtr const& context, Read f) {
  script::Control control;
  std::optional<script::Script> script;
  work(
      *context, [&] { script.emplace(f(context->terms, control)); }, [&] { control.stop(); });
  return {context, std::move(*script)};
}

std::vector<PyTerm> with_context(ContextPtr const& context, std::vector<Term_ const*> const& terms) {
  std::vector<PyTerm> out;
  for (Term_ const* t : terms) out.push_back({context, t});
  return out;
}

}  // namespace

py::object value_of(PyTerm const& term, std::vector<std::uint64_t> const& words) {
  if (term.is_bool()) return py::bool_((words[0] & 1) != 0);
  std::string bytes;
  for (std::uint64_t w : words)
    for (int i = 0; i < 8; ++i) bytes += static_cast<char>(w >> (8 * i));
  return py::module_::import("builtins").attr("int").attr("from_bytes")(py::bytes(bytes), "little");
}

std::vector<Term_ const*> formulas_of(py::handle list, ContextPtr& context) {
  std::vector<Term_ const*> out;
  std::vector<py::object> open = {py::reinterpret_borrow<py::object>(list)};
  while (!open.empty()) {
    py::object const item = std::move(open.back());
    open.pop_back();
    if (py::isinstance<PyTerm>(item)) {
      PyTerm const& t = item.cast<PyTerm const&>();
      if (context == nullptr) context = t.context;
      if (t.context != context) throw py::value_error("terms of different contexts");
      if (!t.is_bool())
        throw py::type_error("a formula is a Boolean term, not one of sort " + sort_text(t.type()));
      out.push_back(t.term);
    } else if (py::isinstance<py::bool_>(item)) {
      if (context == nullptr) throw py::type_error("a bool needs a term beside it");
      Locked const lock(*context);
      out.push_back(context->terms.mk_bool(item.cast<bool>()));
    } else if (py::isinstance<py::iterable>(item) && !py::isinstance<py::str>(item)) {
      std::vector<py::object> items;
      for (py::handle h : item) items.push_back(py::reinterpret_borrow<py::object>(h));
      open.insert(open.end(), items.rbegin(), items.rend());
    } else {
      throw py::type_error("a formula is a Boolean term, not a " +
                           py::str(py::type::of(item).attr("__name__")).cast<std::string>());
    }
  }
  return out;
}

void bind_terms(py::module_& module) {
  py::class_<Context, ContextPtr>(module, "Context",
                                  "Terms that may be combined. Threads that work with terms of\n"
                                  "different contexts do not wait for each other.")
      .def(py::init<>());

  py::class_<PyTerm>(module, "_Term")
      .def_property_readonly("context", [](PyTerm const& t) { return t.context; })
      .def_property_readonly("width", &PyTerm::width)
      .def_property_readonly("is_bool", &PyTerm::is_bool)
      .def_property_readonly("id", [](PyTerm const& t) { return t.term->id; })
      .def_property_readonly("sort", [](PyTerm const& t) { return sort_text(t.type()); })
      .def_property_readonly("name",
                             [](PyTerm const& t) -> std::optional<std::string> {
                               if (!t.context->terms.is_uninterpreted_function(t.term->symbol)) return {};
                               return std::string(t.term->symbol->name);
                             })
      .def_property_readonly("operator", [](PyTerm const& t) { return std::string(t.term->symbol->name); })
      .def_property_readonly(
          "arguments",
          [](PyTerm const& t) {
            return with_context(t.context, {t.term->children, t.term->children + t.term->symbol->arity});
          })
      .def_property_readonly("constant",
                             [](PyTerm const& t) -> py::object {
                               TermManager const& terms = t.context->terms;
                               SymbolTag::tag const tag = terms.get_tag(t.term->symbol);
                               if (tag == SymbolTag::bool_true) return py::bool_(true);
                               if (tag == SymbolTag::bool_false) return py::bool_(false);
                               QNumber const* number = terms.number(t.term->symbol);
                               if (number == nullptr) return py::none();
                               return py::module_::import("builtins").attr("int")(number->to_str());
                             })
      .def_property_readonly("text", &text);

  module.def("_apply", &apply);
  module.def("_variable", &variable);
  module.def("_numeral", &numeral);
  module.def("_boolean", [](ContextPtr const& context, bool value) {
    Locked const lock(*context);
    return PyTerm{context, context->terms.mk_bool(value)};
  });

  py::class_<PyScript>(module, "_Script")
      .def_property_readonly("queries", [](PyScript const& s) { return s.script.queries(); })
      .def("formulas",
           [](PyScript const& s, std::uint64_t query) {
             py::list out;
             for (script::Formula const& f : s.script.formulas(query))
               out.append(
                   py::make_tuple(PyTerm{s.context, f.term}, f.name, f.position.line, f.position.column));
             return out;
           })
      .def("constants",
           [](PyScript const& s, std::uint64_t query) {
             return with_context(s.context, s.script.constants(query));
           })
      .def("find", [](PyScript const& s, std::string const& name) -> std::optional<PyTerm> {
        Term_ const* const found = s.script.find(name);
        if (found == nullptr) return {};
        return PyTerm{s.context, found};
      });
  module.def("_read_file", [](ContextPtr const& context, std::string const& path) {
    return read(context, [&](TermManager& terms, script::Control& control) {
      return script::Script::file(terms, path, &control);
    });
  });
  module.def("_read_text", [](ContextPtr const& context, std::string const& text, std::string const& name) {
    return read(context, [&](TermManager& terms, script::Control& control) {
      return script::Script::text(terms, text, name, &control);
    });
  });
}

}  // namespace vell::python
