// vell.h: terms and scripts.

#include "vell/c/handles.h"
#include "vell/script/script.h"
#include "vell/terms/theory.h"
#include "vell/utils/version.h"

using namespace vell;
using namespace vell::c;

namespace {

// Beyond it a width does not fit what the clausifier counts with.
constexpr std::uint64_t most_bits = (std::uint64_t{1} << 32) - 1;

Type const* type_of(Terms& terms, std::uint64_t width) {
  if (width > most_bits) throw Failure{VELL_VALUE, "a width is at most " + std::to_string(most_bits)};
  return width == 0 ? terms.manager.bool_type : terms.manager.bv_type(width);
}

struct ScriptObject : Object {
  ScriptObject(std::shared_ptr<Terms> t, script::Script s) : terms(std::move(t)), script(std::move(s)) {}
  std::shared_ptr<Terms> terms;
  script::Script script;
  std::vector<vell_term> formulas;
};

vell_error read(vell_terms* terms, void const* first, char const* second, vell_script** out,
                script::Script (*make)(TermManager&, char const*, char const*)) {
  return call<Terms>(terms, [&](Terms& t) {
    need(first, "the path or text");
    need(out, "the pointer to the result");
    script::Script script = make(t.manager, static_cast<char const*>(first), second);
    *out = static_cast<vell_script*>(
        Handles::all().add(std::make_shared<ScriptObject>(shared_terms(terms), std::move(script))));
  });
}

}  // namespace

char const* vell_version(void) { return VELL_VERSION; }

char const* vell_error_text(vell_error error) {
  switch (error) {
    case VELL_OK: return "success";
    case VELL_NULL: return "a null argument";
    case VELL_HANDLE: return "no live handle";
    case VELL_TERM: return "no term of these";
    case VELL_SORT: return "arguments that do not fit";
    case VELL_VALUE: return "a value out of its range";
    case VELL_SCRIPT_ERROR: return "an error in a script";
    case VELL_UNSUPPORTED: return "not supported";
    case VELL_STATE: return "not in this state";
    case VELL_STOPPED: return "stopped";
    case VELL_FILE: return "a file that cannot be used";
    case VELL_MEMORY: return "out of memory";
    case VELL_INTERNAL: return "internal error";
  }
  return "no error code";
}

vell_error vell_terms_new(vell_terms** out) {
  if (out == nullptr) return refuse(VELL_NULL, "the pointer to the result is null");
  try {
    *out = static_cast<vell_terms*>(Handles::all().add(std::make_shared<Terms>()));
    return VELL_OK;
  } catch (std::bad_alloc const&) {
    return refuse(VELL_MEMORY, "out of memory");
  } catch (...) {
    return refuse(VELL_INTERNAL, "the terms cannot be made");
  }
}

vell_error vell_terms_free(vell_terms* terms) { return release<Terms>(terms); }

vell_error vell_variable(vell_terms* terms, char const* name, uint64_t width, vell_term* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(name, "the name");
    need(out, "the pointer to the result");
    *out = t.give(t.manager.mk_variable(name, type_of(t, width)));
  });
}

vell_error vell_number(vell_terms* terms, uint64_t value, uint64_t width, vell_term* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    if (width == 0) throw Failure{VELL_VALUE, "a numeral has at least one bit"};
    type_of(t, width);
    if (width < 64 && value >> width != 0)
      throw Failure{VELL_VALUE, std::to_string(value) + " has more than " + std::to_string(width) + " bits"};
    *out = t.give(t.manager.mk_bv(value, width));
  });
}

vell_error vell_number_text(vell_terms* terms, char const* digits, int base, uint64_t width, vell_term* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(digits, "the text");
    need(out, "the pointer to the result");
    if (width == 0) throw Failure{VELL_VALUE, "a numeral has at least one bit"};
    if (base != 2 && base != 10 && base != 16) throw Failure{VELL_VALUE, "the base is 2, 10 or 16"};
    Type const* const type = type_of(t, width);
    QNumber const value = QNumber::from_digits(digits, base);
    if (value.sign() < 0 || value.size_in_base_2() > width)
      throw Failure{VELL_VALUE, std::string(digits) + " is not below 2^" + std::to_string(width)};
    *out = t.give(t.manager.mk_number(value, type));
  });
}

vell_error vell_boolean(vell_terms* terms, int value, vell_term* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    *out = t.give(t.manager.mk_bool(value != 0));
  });
}

vell_error vell_apply(vell_terms* terms, char const* name, vell_term const* arguments, size_t count,
                      uint64_t const* indices, size_t index_count, vell_term* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(name, "the name");
    need(out, "the pointer to the result");
    if (index_count != 0) need(indices, "the array of indices");
    std::vector<Term_ const*> const list = t.take(arguments, count);
    std::span<std::uint64_t const> const numbers(indices, index_count);
    *out = t.give(mk_app(t.manager, name, std::span(list.data(), list.size()), numbers));
  });
}

vell_error vell_width(vell_terms* terms, vell_term term, uint64_t* out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    Term_ const* const found = t.take(term);
    std::uint64_t const width = t.manager.width(found);
    if (width == 0 && found->symbol->get_output_type() != t.manager.bool_type)
      throw Failure{VELL_SORT, "the term is of sort " + sort_text(found->symbol->get_output_type())};
    *out = width;
  });
}

vell_error vell_term_text(vell_terms* terms, vell_term term, char** out) {
  return call<Terms>(terms, [&](Terms& t) {
    need(out, "the pointer to the result");
    *out = copied(script::term_text(t.manager, t.take(term)));
  });
}

// ---- scripts ----

vell_error vell_script_file(vell_terms* terms, char const* path, vell_script** out) {
  return read(terms, path, nullptr, out,
              [](TermManager& t, char const* p, char const*) { return script::Script::file(t, p); });
}

vell_error vell_script_text(vell_terms* terms, char const* text, char const* name, vell_script** out) {
  return read(terms, text, name, out, [](TermManager& t, char const* s, char const* n) {
    return script::Script::text(t, s, n == nullptr ? "<text>" : n);
  });
}

vell_error vell_script_free(vell_script* script) { return release<ScriptObject>(script); }

vell_error vell_script_queries(vell_script* script, uint64_t* out) {
  return call<ScriptObject>(script, [&](ScriptObject& s) {
    need(out, "the pointer to the result");
    *out = s.script.queries();
  });
}

vell_error vell_script_formulas(vell_script* script, uint64_t query, vell_term const** out, size_t* count) {
  return call<ScriptObject>(script, [&](ScriptObject& s) {
    need(out, "the pointer to the result");
    need(count, "the pointer to the count");
    std::vector<script::Formula> const formulas = s.script.formulas(query);
    s.formulas.clear();
    for (script::Formula const& f : formulas) s.formulas.push_back(s.terms->give(f.term));
    *out = s.formulas.data();
    *count = s.formulas.size();
  });
}

vell_error vell_script_find(vell_script* script, char const* name, vell_term* out) {
  return call<ScriptObject>(script, [&](ScriptObject& s) {
    need(name, "the name");
    need(out, "the pointer to the result");
    Term_ const* const found = s.script.find(name);
    if (found == nullptr) throw Failure{VELL_VALUE, "the script declares no " + std::string(name)};
    *out = s.terms->give(found);
  });
}
