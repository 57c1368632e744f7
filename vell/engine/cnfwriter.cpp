// Clausify, count; clausify again, write.
//
// The header names the number of clauses and the map lines name literals, and both come first in the file. A second
// run of the clausifier yields the same clauses, since nothing in it depends on more than the calls made; so the text
// goes straight to its place, be it a pipe or a compressor, and no copy of it is ever held. Both runs follow one
// schedule, and neither keeps bits that it will not read again.

#include "vell/engine/cnfwriter.h"

#include <fnmatch.h>

#include <optional>
#include <vector>

#include "vell/bv/inspector.h"
#include "vell/engine/clausifiers.h"
#include "vell/engine/digest.h"
#include "vell/engine/evaluator.h"
#include "vell/engine/mapline.h"
#include "vell/engine/outputfile.h"
#include "vell/engine/presolve/linearequations.h"
#include "vell/engine/presolve/sharedproducts.h"
#include "vell/engine/presolve/wordidentities.h"
#include "vell/engine/schedule.h"
#include "vell/engine/scriptengine.h"
#include "vell/engine/scriptoptions.h"
#include "vell/engine/scriptstate.h"
#include "vell/engine/watchedsource.h"
#include "vell/sinks/countingsink.h"
#include "vell/sinks/dimacssink.h"

namespace vell::engine {

namespace {

using smtlib::Command;
using smtlib::CommandKind;

struct Query {
  std::vector<Term_ const*> formulas;
  std::vector<smtlib::Position> positions;
  std::vector<Term_ const*> constants;
};

Query read_query(CnfOptions const& options, TermManager& tm, Limits const& limits, Statistics& statistics) {
  statistics.enter(Phase::reading);
  smtlib::Reader reader(
      tm, std::make_unique<WatchedSource>(smtlib::Source::open(options.input), limits, statistics));
  ScriptState state;
  Command command;
  std::uint64_t checks = 0;
  std::uint64_t const wanted = options.query == 0 ? 1 : options.query;
  bool found = false;
  while (!found && reader.next(command)) {
    limits.check();
    statistics.terms = tm.term_count();
    if (command.kind == CommandKind::set_logic && !logic_supported(command.text))
      throw smtlib::Error(reader.file(), command.position, "logic " + command.text + " is not supported");
    state.apply(command);
    if (command.kind != CommandKind::check_sat && command.kind != CommandKind::check_sat_assuming) continue;
    found = ++checks == wanted;
  }
  if (!found && (options.query != 0 || checks != 0))
    throw Exception(reader.file() + ": query " + std::to_string(wanted) + " of " + std::to_string(checks));
  Query query;
  // As for a check: the file holds what the embedded solver is given.
  WordIdentities identities(tm, options.free_division);
  std::size_t const lasting = state.levels() == 0 ? state.assertions().size() : state.level_start(1);
  for (std::size_t i = 0; i < lasting; ++i) identities.assume(state.assertions()[i].term);
  std::vector<Term_ const*> first;
  for (Assertion const& a : state.assertions()) {
    (first.size() < lasting ? first : query.formulas).push_back(identities.decide(a.term));
    query.positions.push_back(a.position);
  }
  std::vector<Term_ const*> assumptions;
  if (found)
    for (Term_ const* t : command.terms) {
      assumptions.push_back(identities.decide(t));
      query.positions.push_back(command.position);
    }
  std::vector<Term_ const*> kept = query.formulas;
  kept.insert(kept.end(), assumptions.begin(), assumptions.end());
  if (solve_linear_equations(tm, first, kept, nullptr)) {
    // The formulas are no longer those of single assertions.
    query.positions.erase(query.positions.begin(), query.positions.begin() + static_cast<std::ptrdiff_t>(lasting));
    query.positions.insert(query.positions.begin(), first.size(), state.assertions().front().position);
  }
  SharedProducts products(tm);
  for (std::vector<Term_ const*>* part : {&first, &query.formulas, &assumptions}) products.share(*part);
  query.formulas.insert(query.formulas.begin(), first.begin(), first.end());
  query.formulas.insert(query.formulas.end(), assumptions.begin(), assumptions.end());
  for (Term_ const* c : state.declared())
    if (fnmatch(options.symbols.c_str(), c->symbol->name, 0) == 0) query.constants.push_back(c);
  return query;
}

std::string one_line(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

// Writes a comment in front of the first clause of each term.
class AnnotatingSink : public sinks::DimacsSink {
 public:
  using DimacsSink::DimacsSink;
  void announce(Term_ const* term) { pending_ = term; }
  void add_clause() override {
    if (pending_ != nullptr) {
      comment("term #" + std::to_string(pending_->id) + " " + one_line(pending_->to_shallow_str()));
      pending_ = nullptr;
    }
    DimacsSink::add_clause();
  }

 private:
  Term_ const* pending_ = nullptr;
};

// Tells the sink which term it is at before its handler runs.
class AnnotatingClausifier : public ScriptClausifier {
 public:
  AnnotatingClausifier(TermManager* tm, Configuration::Theory::Bv* config, AnnotatingSink& sink)
      : ScriptClausifier(tm, config), sink_(sink), handlers_(bv::WordClausifierInspector(*this).hooks()) {
    for (std::size_t tag = 0; tag < handlers_.size(); ++tag)
      if (handlers_[tag] != nullptr)
        register_hook(static_cast<SymbolTag::tag>(tag), static_cast<Handler>(&AnnotatingClausifier::announced));
  }

 private:
  void announced(bv::ClauseSink* sink, Term_ const* term) {
    sink_.announce(term);
    (this->*handlers_[term->symbol->tag()])(sink, term);
    sink_.announce(nullptr);
  }
  AnnotatingSink& sink_;
  std::vector<Handler> handlers_;
};

// Each formula's clauses and the unit clause of its literal. translate: from a formula's number to its literal.
template <typename Translate>
void clausify(CnfOptions const& options, Query const& query, bv::ClauseSink& sink, Translate translate) {
  for (std::size_t i = 0; i < query.formulas.size(); ++i) {
    bv::BvLit holds = bv::l_undef;
    try {
      holds = translate(i);
    } catch (Stopped const&) {
      throw;
    } catch (OutputError const&) {
      throw;
    } catch (Exception const& e) {
      throw smtlib::Error(options.input == "-" ? "<stdin>" : options.input, query.positions[i], e.what());
    }
    sink.lits.assign(1, holds);
    sink.add_clause();
  }
}

std::string base_name(std::string const& path) {
  if (path == "-") return "<stdin>";
  return path.substr(path.find_last_of('/') + 1);
}

}  // namespace

void write_cnf(CnfOptions const& options, Limits const& limits, Statistics& statistics) {
  std::string const digest = input_digest(options.input);
  TermManager tm;
  Query const query = read_query(options, tm, limits, statistics);

  Configuration::Theory::Bv config{options.free_division ? 1 : 0};
  auto const form = options.raw ? sinks::DimacsSink::Form::raw : sinks::DimacsSink::Form::clean;
  statistics.enter(Phase::clausifying);
  sinks::CountingSink count;
  std::vector<std::string> map_lines;
  std::optional<Schedule> schedule;
  {
    ScriptClausifier clausifier(&tm, &config);
    schedule.emplace(bv::WordClausifierInspector(clausifier).hooks(), tm.term_count(), query.formulas, query.constants);
    auto const report = [&] {
      statistics.fresh_literals = count.fresh_literals();
      statistics.clauses = count.clauses();
      statistics.literals = count.literals();
    };
    LimitTest const test(limits, statistics, report);
    clausifier.set_termination_test(&test);
    if (options.logger != nullptr) {
      // The trace tells of the traversal, which the schedule leaves out.
      clausifier.set_logger(options.logger);
      clausify(options, query, count, [&](std::size_t i) { return clausifier.bit_blast(query.formulas[i], &count); });
    } else {
      clausify(options, query, count, [&](std::size_t i) { return schedule->translate(i, clausifier, &count); });
    }
    report();
    for (Term_ const* c : query.constants)
      map_lines.push_back(
          map_line(c, clausifier.lookup(c), value_width(tm, c->symbol->get_output_type()), form));
  }

  statistics.enter(Phase::writing);
  OutputFile file(options.output);
  Statistics unused;
  LimitTest const test(limits, unused, [] {});
  auto const write = [&](sinks::DimacsSink& sink, ScriptClausifier& clausifier) {
    sink.comment(std::string("vell-bv ") + version);
    sink.comment("input " + one_line(base_name(options.input)));
    sink.comment("sha256 " + digest);
    for (std::string const& line : map_lines) sink.comment(line);
    std::uint64_t const clauses = options.raw ? count.clauses() + 1 : count.clauses() - count.satisfied_clauses();
    sink.header(sinks::DimacsSink::variables(count.fresh_literals(), form), clauses);

    clausifier.set_termination_test(&test);
    clausify(options, query, sink, [&](std::size_t i) { return schedule->translate(i, clausifier, &sink); });
    sink.flush();
    if (sink.written_clauses() != clauses) throw Exception("internal error: the second run gave other clauses");
  };
  if (options.annotate) {
    AnnotatingSink sink(file, form);
    AnnotatingClausifier clausifier(&tm, &config, sink);
    write(sink, clausifier);
  } else {
    sinks::DimacsSink sink(file, form);
    ScriptClausifier clausifier(&tm, &config);
    write(sink, clausifier);
  }
  limits.check();
  file.commit();
}

}  // namespace vell::engine
