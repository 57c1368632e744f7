#include "vell/smtlib/termprinter.h"

#include <algorithm>
#include <unordered_map>

#include "vell/smtlib/reader.h"
#include "vell/terms/operators.h"
#include "vell/values/evaluator.h"

namespace vell::smtlib {

namespace {

// The value of a floating-point numeral is the bits of its format.
std::string numeral_text(TermManager const& tm, Term_ const* t) {
  Type const* type = t->symbol->get_output_type();
  if (!tm.is_fp_type(type)) return t->symbol->name;
  std::vector<std::uint64_t> words(values::value_width(tm, type) / 64 + 1, 0);
  for (std::uint64_t i = 0; i < values::value_width(tm, type); ++i)
    if (tm.number(t->symbol)->test_bit(i)) words[i / 64] |= std::uint64_t{1} << (i % 64);
  return values::value_text(tm, type, words.data());
}

std::string leaf_text(TermManager const& tm, Term_ const* t) {
  std::uint64_t mode = 0;
  switch (t->symbol->role()) {
    case Symbol::Role::number: return numeral_text(tm, t);
    case Symbol::Role::rounding_away: ++mode; [[fallthrough]];
    case Symbol::Role::rounding_minus_inf: ++mode; [[fallthrough]];
    case Symbol::Role::rounding_plus_inf: ++mode; [[fallthrough]];
    case Symbol::Role::rounding_zero: ++mode; [[fallthrough]];
    case Symbol::Role::rounding_even: return values::value_text(tm, tm.rounding_mode_type, &mode);
    default: break;
  }
  if (t->symbol->tag() != SymbolTag::none) return t->symbol->name;
  return smtlib::quote_symbol(t->symbol->name);
}

std::string head_text(Term_ const* t) {
  SymbolTag::tag const tag = t->symbol->tag();
  unsigned const parameters = operator_parameters(tag);
  std::string name = operator_name(tag);
  if (parameters == 0) return name;
  name = "(_ " + name;
  for (unsigned i = 0; i < parameters; ++i) name += " " + std::to_string(t->symbol->parameter(i));
  return name + ")";
}

class Printer {
 public:
  Printer(TermManager const& tm, std::string_view prefix, TermNames const& names)
      : tm_(tm), prefix_(prefix), names_(names) {}

  std::string print(Term_ const* root) {
    if (std::string const* const given = given_name(root)) return *given;
    find_shared(root);
    for (Term_ const* t : shared_) {
      out_ += "(let ((" + name(t) + " ";
      expand(t);
      out_ += ")) ";
    }
    expand(root);
    out_.append(shared_.size(), ')');
    return std::move(out_);
  }

 private:
  std::string name(Term_ const* t) const { return std::string(prefix_) + std::to_string(t->id); }
  std::string const* given_name(Term_ const* t) const {
    auto const found = names_.find(t);
    return found == names_.end() ? nullptr : &found->second;
  }

  // Counts the uses of every subterm. Subterms with operands and at least two uses are shared; children
  // precede parents.
  void find_shared(Term_ const* root) {
    std::vector<Term_ const*> stack{root};
    while (!stack.empty()) {
      Term_ const* t = stack.back();
      stack.pop_back();
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
        Term_ const* c = t->children[i];
        if (c->symbol->arity == 0 || given_name(c) != nullptr) continue;
        unsigned const uses = ++uses_[c];
        if (uses == 1) stack.push_back(c);
        if (uses == 2) shared_.push_back(c);
      }
    }
    std::sort(shared_.begin(), shared_.end(), [](Term_ const* a, Term_ const* b) { return a->id < b->id; });
  }

  bool is_named(Term_ const* t) const {
    auto const i = uses_.find(t);
    return i != uses_.end() && i->second > 1;
  }

  // Writes t itself in full, and everything below it down to named terms and leaves.
  void expand(Term_ const* top) {
    struct Frame {
      Term_ const* t;
      std::uint64_t next;
    };
    std::vector<Frame> stack;
    auto open = [&](Term_ const* t) {
      if (std::string const* const given = given_name(t)) {
        out_ += *given;
      } else if (t->symbol->arity == 0) {
        out_ += leaf_text(tm_, t);
      } else if (t != top && is_named(t)) {
        out_ += name(t);
      } else {
        out_ += "(" + head_text(t);
        stack.push_back({t, 0});
      }
    };
    open(top);
    while (!stack.empty()) {
      Frame& f = stack.back();
      if (f.next == f.t->symbol->arity) {
        out_ += ')';
        stack.pop_back();
        continue;
      }
      out_ += ' ';
      open(f.t->children[f.next++]);
    }
  }

  TermManager const& tm_;
  std::string_view prefix_;
  TermNames const& names_;
  std::unordered_map<Term_ const*, unsigned> uses_;
  std::vector<Term_ const*> shared_;
  std::string out_;
};

}  // namespace

namespace {

// `levels` levels of the term, from 1 on; it may stop where the text is longer than `most`.
std::string nested_text(TermManager const& tm, Term_ const* t, unsigned levels, std::size_t most) {
  if (t->symbol->arity == 0) return leaf_text(tm, t);
  struct Frame {
    Term_ const* t;
    std::uint64_t next;
  };
  std::string out = "(" + head_text(t);
  std::vector<Frame> stack{{t, 0}};
  while (!stack.empty() && out.size() <= most) {
    Frame& f = stack.back();
    if (f.next == f.t->symbol->arity) {
      out += ')';
      stack.pop_back();
      continue;
    }
    Term_ const* c = f.t->children[f.next++];
    out += ' ';
    if (c->symbol->arity == 0) {
      out += leaf_text(tm, c);
    } else if (stack.size() == levels) {
      out += "#" + std::to_string(c->id);
    } else {
      out += "(" + head_text(c);
      stack.push_back({c, 0});
    }
  }
  return out;
}

}  // namespace

std::string shallow_text(TermManager const& tm, Term_ const* t) {
  return nested_text(tm, t, 1, std::string::npos - 1);
}

std::string short_text(TermManager const& tm, Term_ const* t, std::size_t most) {
  std::string best;
  for (unsigned levels = 1; levels <= 6; ++levels) {
    std::string text = nested_text(tm, t, levels, most);
    if (text.size() > most) break;
    if (text == best) break;
    best = std::move(text);
  }
  if (!best.empty()) return best;
  std::string text = nested_text(tm, t, 1, most);
  // Not within a character of several bytes.
  std::size_t end = most > 3 ? most - 3 : 0;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "...";
}

std::string term_text(TermManager const& tm, Term_ const* t, std::string_view prefix) {
  return term_text(tm, t, prefix, {});
}

std::string term_text(TermManager const& tm, Term_ const* t, std::string_view prefix,
                      TermNames const& names) {
  return Printer(tm, prefix, names).print(t);
}

}  // namespace vell::smtlib
