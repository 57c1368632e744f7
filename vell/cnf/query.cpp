#include "vell/cnf/query.h"

#include <fnmatch.h>

#include "vell/engine/options.h"
#include "vell/engine/state.h"
#include "vell/io/watchedsource.h"
#include "vell/terms/exception.h"
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

// As the embedded solver does before a first check, so that it is given the clauses of the file. The first
// `permanent` formulas are those of the first level, the next `retractable` ones those of the levels above;
// assumptions follow.
void simplify(CnfOptions const& options, TermManager& tm, std::size_t permanent, std::size_t retractable,
              run::Limits const& limits, run::Statistics& statistics, words::StepObserver* observer,
              Query& query) {
  words::Formulas formulas;
  formulas.first = formulas.may_substitute = true;
  for (std::size_t i = 0; i < query.formulas.size(); ++i) {
    bool const above = i >= permanent;
    std::vector<words::Formula>& part = !above                        ? formulas.permanent
                                        : i < permanent + retractable ? formulas.retractable
                                                                      : formulas.assumed;
    part.push_back({query.formulas[i], i});
  }
  for (smtlib::NamedTerm const& n : query.names) formulas.watched.push_back(n.term);
  words::Simplifier simplifier(tm, options.free_division, query.passes, limits, options.tunables);
  simplifier.observe(observer);
  simplifier.simplify(formulas);
  simplifier.report(statistics);
  query.definitions = simplifier.definitions();
  query.name_terms = formulas.watched;
  std::vector<io::Position> const positions = std::move(query.positions);
  std::vector<std::string> const labels = std::move(query.labels);
  query.formulas.clear();
  query.positions.clear();
  query.labels.clear();
  formulas.each([&](words::Formula const& f) {
    query.formulas.push_back(f.term);
    query.positions.push_back(positions[f.origin]);
    query.labels.push_back(labels[f.origin]);
  });
}

}  // namespace

Query read_query(CnfOptions const& options, TermManager& tm, run::Limits const& limits,
                 run::Statistics& statistics, words::StepObserver* observer) {
  statistics.enter(run::Phase::reading);
  smtlib::Reader reader(
      tm, std::make_unique<io::WatchedSource>(io::Source::open(options.input), limits, statistics));
  engine::ScriptState state;
  PassesOfScript passes(options.passes);
  Command command;
  std::uint64_t checks = 0;
  std::uint64_t const wanted = options.query == 0 ? 1 : options.query;
  bool found = false;
  while (!found && reader.next(command)) {
    limits.check();
    statistics.terms = tm.term_count();
    if (command.kind == CommandKind::set_logic && !engine::logic_supported(command.text))
      reader.fail(command.argument_offset, engine::logic_refusal(command.text));
    state.apply(command);
    try {
      passes.apply(command);
    } catch (Exception const& e) {
      throw io::Error(reader.file(), command.position, e.what());
    }
    if (command.kind != CommandKind::check_sat && command.kind != CommandKind::check_sat_assuming) continue;
    found = ++checks == wanted;
  }
  if (!found && (options.query != 0 || checks != 0))
    throw Exception(reader.file() + ": query " + std::to_string(wanted) + " of " + std::to_string(checks));
  Query query;
  query.passes = passes.now();
  for (engine::Assertion const& a : state.assertions()) {
    query.formulas.push_back(a.term);
    query.positions.push_back(a.position);
    query.labels.push_back(a.name);
  }
  if (found)
    for (Term_ const* t : command.terms) {
      query.formulas.push_back(t);
      query.positions.push_back(command.position);
      query.labels.emplace_back();
    }
  std::size_t const permanent = state.levels() == 0 ? state.assertions().size() : state.level_start(1);
  auto const asked_for = [&](char const* name) { return fnmatch(options.symbols.c_str(), name, 0) == 0; };
  for (Term_ const* c : state.declared())
    if (asked_for(c->symbol->name)) query.constants.push_back(c);
  for (std::vector<smtlib::NamedTerm> const* list : {&state.defined(), &state.named()})
    for (smtlib::NamedTerm const& n : *list) {
      bool const quoted = n.name.starts_with('|');
      std::string const bare = quoted ? n.name.substr(1, n.name.size() - 2) : n.name;
      if (asked_for(bare.c_str())) query.names.push_back(n);
    }
  simplify(options, tm, permanent, state.assertions().size() - permanent, limits, statistics, observer,
           query);
  std::erase_if(query.definitions,
                [&](words::Definition const& d) { return !asked_for(d.variable->symbol->name); });
  return query;
}

}  // namespace vell::cnf
