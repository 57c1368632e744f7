// Clausify, count; clausify again, write.
//
// The header names the number of clauses and the map lines name literals, and both come first in the file. A
// second run of the clausifier yields the same clauses, since nothing in it depends on more than the calls
// made; so the text goes straight to its place, be it a pipe or a compressor, and no copy of it is ever held.
// Both runs follow one schedule, and neither keeps bits that it will not read again.

#include "vell/cnf/writer.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vell/cnf/annotation.h"
#include "vell/cnf/mapline.h"
#include "vell/cnf/query.h"
#include "vell/cnf/translation.h"
#include "vell/engine/engine.h"
#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/run/limittest.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/countingsink.h"
#include "vell/sinks/dimacssink.h"
#include "vell/values/evaluator.h"

namespace vell::cnf {

namespace {

// The bits of a numeral, true or false, which need not have been translated; false for another term.
bool constant_bits(TermManager const& tm, Term_ const* t, std::uint64_t width, bv::BvLitList& out) {
  QNumber const* const number = tm.number(t->symbol);
  bool const is_true = tm.get_tag(t->symbol) == SymbolTag::bool_true;
  if (number == nullptr && !is_true && tm.get_tag(t->symbol) != SymbolTag::bool_false) return false;
  for (std::uint64_t i = 0; i < width; ++i)
    out.push_back((number != nullptr ? number->test_bit(i) : is_true) ? bv::l_true : bv::l_false);
  return true;
}

std::string base_name(std::string const& path) {
  if (path == "-") return "<stdin>";
  return path.substr(path.find_last_of('/') + 1);
}

}  // namespace

void write_cnf(CnfOptions const& options, run::Limits const& limits, run::Statistics& statistics) {
  io::refuse_same_file(options.output, options.input);
  std::string const digest = io::input_digest(options.input);
  TermManager tm;
  Query const query = read_query(options, tm, limits, statistics);

  Configuration::Theory::Bv config{options.free_division ? 1 : 0};
  auto const form = options.raw ? sinks::DimacsSink::Form::raw : sinks::DimacsSink::Form::clean;
  statistics.enter(run::Phase::clausifying);
  sinks::CountingSink count;
  std::vector<std::string> map_lines;
  Translation const translation(query, tm, options.input);
  {
    sat::ScriptClausifier clausifier(&tm, &config);
    std::unordered_map<Term_ const*, Term_ const*> values;
    for (words::Definition const& d : query.definitions) values[d.variable] = d.value;
    auto const report = [&] {
      statistics.fresh_literals = count.fresh_literals();
      statistics.clauses = count.clauses();
      statistics.literals = count.literals();
    };
    run::LimitTest const test(limits, statistics, report);
    clausifier.set_termination_test(&test);
    if (options.logger != nullptr) clausifier.set_logger(options.logger);
    translation.run(clausifier, count, nullptr, options.logger != nullptr);
    report();
    // prefix: "" or cnf::auxiliary.
    auto const line = [&](std::string_view prefix, std::string const& symbol, Term_ const* t) {
      auto const value = values.find(t);
      Term_ const* const with_bits = value == values.end() ? t : value->second;
      bv::BvLitList const* bits = clausifier.lookup(with_bits);
      std::uint64_t const width = values::value_width(tm, t->symbol->get_output_type());
      bv::BvLitList constant;
      if (bits == nullptr && constant_bits(tm, with_bits, width, constant)) bits = &constant;
      map_lines.push_back(std::string(prefix) + map_line(symbol, t, bits, width, form));
    };
    std::unordered_set<Term_ const*> recorded;
    for (words::Definition const& d : query.recorded) recorded.insert(d.variable);
    for (Term_ const* c : query.constants)
      if (recorded.count(c) == 0) line("", smtlib::quote_symbol(c->symbol->name), c);
    for (Term_ const* t : query.auxiliary) line(auxiliary, query.auxiliary_names.at(t), t);
    for (words::Definition const& d : query.definitions)
      if (auto const name = query.auxiliary_names.find(d.variable);
          d.variable != d.value && name != query.auxiliary_names.end())
        line(auxiliary, name->second, d.variable);
    for (words::Definition const& d : query.recorded) {
      limits.check();
      auto const name = query.auxiliary_names.find(d.variable);
      bool const of_script = name == query.auxiliary_names.end();
      std::string const symbol = of_script ? smtlib::quote_symbol(d.variable->symbol->name) : name->second;
      map_lines.push_back(std::string(of_script ? "" : auxiliary) +
                          def_line(symbol, d.variable,
                                   smtlib::term_text(tm, d.value, query.let_prefix, query.auxiliary_names)));
    }
    if (!query.names.empty()) map_lines.emplace_back(names_heading);
    for (std::size_t i = 0; i < query.names.size(); ++i) line("", query.names[i].name, query.name_terms[i]);
  }

  statistics.enter(run::Phase::writing);
  io::OutputFile file(options.output);
  run::Statistics unused;
  run::LimitTest const test(limits, unused, [] {});
  auto const write = [&](sinks::DimacsSink& sink, sat::ScriptClausifier& clausifier,
                         TranslationObserver* observer) {
    sink.comment(std::string("vell-bv ") + engine::version);
    sink.comment("input " + one_line(base_name(options.input)));
    sink.comment("sha256 " + digest);
    sink.comment("words " + words::passes_text(query.passes));
    for (std::string const& line : map_lines) sink.comment(line);
    std::uint64_t const clauses =
        options.raw ? count.clauses() + 1 : count.clauses() - count.satisfied_clauses();
    sink.header(sinks::DimacsSink::variables(count.fresh_literals(), form), clauses);

    clausifier.set_termination_test(&test);
    translation.run(clausifier, sink, observer);
    sink.flush();
    if (sink.written_clauses() != clauses)
      throw Exception("internal error: the second run gave other clauses");
  };
  if (options.annotate) {
    AnnotatingSink sink(file, form);
    Annotator annotator(tm, query, sink);
    ObservedClausifier clausifier(&tm, &config, annotator);
    write(sink, clausifier, &annotator);
  } else {
    sinks::DimacsSink sink(file, form);
    sat::ScriptClausifier clausifier(&tm, &config);
    write(sink, clausifier, nullptr);
  }
  limits.check();
  file.commit();
}

}  // namespace vell::cnf
