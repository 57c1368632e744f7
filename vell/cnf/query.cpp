#include "vell/cnf/query.h"

#include <fnmatch.h>

#include <algorithm>
#include <string>
#include <unordered_set>

#include "vell/engine/options.h"
#include "vell/engine/state.h"
#include "vell/io/watchedsource.h"
#include "vell/terms/cone.h"
#include "vell/terms/exception.h"
#include "vell/words/operands.h"
#include "vell/words/simplifier.h"

namespace vell::cnf {

namespace {

using smtlib::Command;
using smtlib::CommandKind;

// What the script sets for its checks.
class PassesOfScript {
 public:
  explicit PassesOfScript(words::Passes initial) : initial_(initial), now_(initial) {}

  words::Passes now() const { return now_; }
  void apply(Command const& command) {
    switch (command.kind) {
      case CommandKind::check_sat:
      case CommandKind::check_sat_assuming: checked_ = true; break;
      case CommandKind::reset:
        now_ = initial_;
        checked_ = false;
        break;
      case CommandKind::reset_assertions: checked_ = false; break;
      case CommandKind::set_option:
        if (command.text != ":words") break;
        if (checked_) throw Exception(":words must be set before the first check-sat");
        now_ = engine::words_option(command.value);
        break;
      default: break;
    }
  }

 private:
  words::Passes initial_;
  words::Passes now_;
  bool checked_ = false;
};

// As the embedded solver does before a first check, so that it is given the clauses of the file. stand_ins:
// of each constant of the query, what stands for it in the formulas.
words::Definitions simplify(CnfOptions const& options, TermManager& tm, Assertions const& given,
                            run::Limits const& limits, run::Statistics& statistics,
                            words::StepObserver* observer, Query& query,
                            std::vector<Term_ const*>& stand_ins) {
  words::Formulas formulas;
  formulas.first = true;
  for (std::size_t i = 0; i < given.formulas.size(); ++i) {
    std::vector<words::Formula>& part = i < given.permanent                       ? formulas.permanent
                                        : i < given.permanent + given.retractable ? formulas.retractable
                                                                                  : formulas.assumed;
    part.push_back({given.formulas[i], i});
  }
  for (smtlib::NamedTerm const& n : query.names) formulas.watched.push_back(n.term);
  words::Simplifier simplifier(tm, options.free_division, query.passes, limits, options.tunables);
  simplifier.observe(observer);
  simplifier.simplify(formulas);
  simplifier.report(statistics);
  query.name_terms = formulas.watched;
  for (Term_ const* c : query.constants) stand_ins.push_back(simplifier.stand_in(c));
  formulas.each([&](words::Formula const& f) {
    query.formulas.push_back(f.term);
    query.positions.push_back(given.positions[f.origin]);
    query.labels.push_back(given.labels[f.origin]);
  });
  return simplifier.definitions();
}

// Whether the bits of a value are those of terms that the formulas hold, so that they take no clause.
bool is_wired(TermManager const& tm, Cone const& held, Term_ const* value) {
  constexpr unsigned most_terms = 256;  // larger values have a line of their own
  std::vector<Term_ const*> stack{value};
  for (unsigned visited = 0; !stack.empty(); ++visited) {
    Term_ const* const t = stack.back();
    stack.pop_back();
    if (held.contains(t) || tm.is_number(t->symbol)) continue;
    switch (tm.get_tag(t->symbol)) {
      case SymbolTag::bool_true:
      case SymbolTag::bool_false:
      case SymbolTag::bool_not:
      case SymbolTag::bv_not:
      case SymbolTag::bv_extract:
      case SymbolTag::bv_concat:
      case SymbolTag::bv_zero_extend:
      case SymbolTag::bv_sign_extend: break;
      default: return false;
    }
    if (visited >= most_terms) return false;
    stack.insert(stack.end(), t->children, t->children + t->symbol->arity);
  }
  return true;
}

// The value of a floating-point type or the rounding mode whose bits are those of a word.
Term_ const* of_bits(TermManager& tm, Type const* type, Term_ const* word) {
  std::uint64_t exponent = 0;
  std::uint64_t fraction = 0;
  if (tm.is_fp_type(type, &exponent, &fraction))
    return tm.mk_app(SymbolTag::fp_from_bits, {word}, exponent, fraction + 1);
  using Role = Symbol::Role;
  Term_ const* out = tm.mk_rounding_mode(Role::rounding_away);
  Role const roles[] = {Role::rounding_even, Role::rounding_zero, Role::rounding_plus_inf,
                        Role::rounding_minus_inf};
  for (std::uint64_t i = 0; i < std::size(roles); ++i)
    out = tm.mk_app(SymbolTag::term_ite, {tm.mk_app(SymbolTag::equal, {word, tm.mk_bv(i, tm.width(word))}),
                                          tm.mk_rounding_mode(roles[i]), out});
  return out;
}

// Floating-point constants and rounding modes have the bits of the words that stand for them or, where these
// were eliminated, are defined by them.
void define_by_stand_ins(TermManager& tm, std::vector<Term_ const*> const& stand_ins, Query& query,
                         words::Definitions& definitions) {
  std::unordered_set<Term_ const*> eliminated;
  for (words::Definition const& d : definitions) eliminated.insert(d.variable);
  Cone held;
  held.add(query.formulas);
  words::Definitions first;
  for (std::size_t i = 0; i < stand_ins.size(); ++i) {
    Term_ const* const c = query.constants[i];
    Term_ const* const word = stand_ins[i];
    if (word == c) continue;
    if (eliminated.count(word) != 0)
      first.push_back({c, of_bits(tm, c->symbol->get_output_type(), word)});
    else if (held.contains(word))
      query.definitions.push_back({c, word});
  }
  definitions.insert(definitions.begin(), first.begin(), first.end());
}

// Chooses what is said of each definition, and the constants that the values need besides.
class Recorder {
 public:
  Recorder(CnfOptions const& options, TermManager const& tm, engine::ScriptState const& state, Query& query)
      : options_(options), tm_(tm), query_(query) {
    held_.add(query.formulas);
    for (Term_ const* c : state.declared()) {
      declared_.insert(c);
      taken_.insert(c->symbol->name);
    }
    for (Term_ const* c : query.constants) needed_.insert(c);
    while (std::any_of(taken_.begin(), taken_.end(),
                       [this](std::string const& s) { return s.starts_with(query_.let_prefix); }))
      query_.let_prefix += 't';
  }

  // From the first one: its value is made of what later ones define.
  void run(words::Definitions const& definitions) {
    for (words::Definition const& d : definitions) defined_.insert(d.variable);
    for (words::Definition const& d : definitions) {
      if (needed_.count(d.variable) == 0) continue;
      if (is_wired(tm_, held_, d.value)) {
        query_.definitions.push_back(d);
      } else {
        need_below(d.value);
        query_.recorded.push_back(d);
      }
      if (!is_asked_for(d.variable)) name_anew(d.variable);
    }
    std::reverse(query_.recorded.begin(), query_.recorded.end());
  }

 private:
  bool is_asked_for(Term_ const* variable) const {
    return declared_.count(variable) != 0 &&
           fnmatch(options_.symbols.c_str(), variable->symbol->name, 0) == 0;
  }

  // Everything that the value is computed from. Terms whose operands leave their value open have bits.
  void need_below(Term_ const* value) {
    std::vector<Term_ const*> stack{value};
    while (!stack.empty()) {
      Term_ const* const t = stack.back();
      stack.pop_back();
      if (!visited_.insert(t).second) continue;
      bool const variable = t->symbol->arity == 0 && tm_.is_uninterpreted_function(t->symbol);
      if (variable || words::open_valued(tm_, t, options_.free_division)) {
        needed_.insert(t);
        if (defined_.count(t) != 0 || is_asked_for(t)) continue;
        query_.auxiliary.push_back(t);
        if (!variable) query_.definitions.push_back({t, t});
        name_anew(t);
        continue;
      }
      stack.insert(stack.end(), t->children, t->children + t->symbol->arity);
    }
  }

  // Constants of the script keep their name.
  void name_anew(Term_ const* t) {
    if (declared_.count(t) != 0) {
      query_.auxiliary_names[t] = smtlib::quote_symbol(t->symbol->name);
      return;
    }
    std::string name;
    do name = "aux!" + std::to_string(made_++);
    while (taken_.count(name) != 0);
    query_.auxiliary_names[t] = name;
  }

  CnfOptions const& options_;
  TermManager const& tm_;
  Query& query_;
  Cone held_;  // by the formulas
  std::unordered_set<Term_ const*> declared_;
  std::unordered_set<std::string> taken_;  // symbols
  std::unordered_set<Term_ const*> defined_;
  std::unordered_set<Term_ const*> needed_;
  std::unordered_set<Term_ const*> visited_;
  std::uint64_t made_ = 0;
};

}  // namespace

Assertions read_assertions(std::string const& input, std::uint64_t query, words::Passes initial,
                           TermManager& tm, run::Limits const& limits, run::Statistics& statistics) {
  statistics.enter(run::Phase::reading);
  smtlib::Reader reader(tm, std::make_unique<io::WatchedSource>(io::Source::open(input), limits, statistics));
  Assertions out;
  out.file = reader.file();
  PassesOfScript passes(initial);
  Command command;
  std::uint64_t checks = 0;
  std::uint64_t const wanted = query == 0 ? 1 : query;
  bool found = false;
  while (!found && reader.next(command)) {
    limits.check();
    statistics.terms = tm.term_count();
    if (command.kind == CommandKind::set_logic && !engine::logic_supported(command.text))
      reader.fail(command.argument_offset, engine::logic_refusal(command.text));
    out.state.apply(command);
    try {
      passes.apply(command);
    } catch (Exception const& e) {
      throw io::Error(reader.file(), command.position, e.what());
    }
    if (command.kind != CommandKind::check_sat && command.kind != CommandKind::check_sat_assuming) continue;
    found = ++checks == wanted;
  }
  if (!found && (query != 0 || checks != 0))
    throw Exception(reader.file() + ": query " + std::to_string(wanted) + " of " + std::to_string(checks));
  out.passes = passes.now();
  engine::ScriptState const& state = out.state;
  for (engine::Assertion const& a : state.assertions()) {
    out.formulas.push_back(a.term);
    out.positions.push_back(a.position);
    out.labels.push_back(a.name);
  }
  if (found)
    for (Term_ const* t : command.terms) {
      out.formulas.push_back(t);
      out.positions.push_back(command.position);
      out.labels.emplace_back();
    }
  out.permanent = state.levels() == 0 ? state.assertions().size() : state.level_start(1);
  out.retractable = state.assertions().size() - out.permanent;
  return out;
}

Query read_query(CnfOptions const& options, TermManager& tm, run::Limits const& limits,
                 run::Statistics& statistics, words::StepObserver* observer) {
  Assertions const given =
      read_assertions(options.input, options.query, options.passes, tm, limits, statistics);
  Query query;
  query.passes = given.passes;
  auto const asked_for = [&](char const* name) { return fnmatch(options.symbols.c_str(), name, 0) == 0; };
  for (Term_ const* c : given.state.declared())
    if (asked_for(c->symbol->name)) query.constants.push_back(c);
  for (std::vector<smtlib::NamedTerm> const* list : {&given.state.defined(), &given.state.named()})
    for (smtlib::NamedTerm const& n : *list) {
      bool const quoted = n.name.starts_with('|');
      std::string const bare = quoted ? n.name.substr(1, n.name.size() - 2) : n.name;
      if (asked_for(bare.c_str())) query.names.push_back(n);
    }
  std::vector<Term_ const*> stand_ins;
  words::Definitions definitions =
      simplify(options, tm, given, limits, statistics, observer, query, stand_ins);
  define_by_stand_ins(tm, stand_ins, query, definitions);
  if (!definitions.empty()) Recorder(options, tm, given.state, query).run(definitions);
  if (query.passes != words::Passes::none) {
    Cone held;
    held.add(query.formulas);
    for (Term_ const* t : query.name_terms)
      if (t->symbol->arity != 0 && !held.contains(t) && is_wired(tm, held, t))
        query.definitions.push_back({t, t});
  }
  return query;
}

}  // namespace vell::cnf
