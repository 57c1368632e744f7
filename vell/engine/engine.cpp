// Executes the commands in order.
//
// The reader updates the scopes of symbols before a command is executed; the state and then the solver are
// updated here. An error ends the script (:error-behavior immediate-exit), because later checks would be
// answered without the wrong assertion. There is one exception: a query that has no answer now (a model after
// unsat) is reported and execution continues, since no later answer depends on it. The exit code then shows
// that there was an error.

#include "vell/engine/engine.h"

#include <cassert>
#include <chrono>
#include <new>

#include "vell/io/samefile.h"
#include "vell/io/watchedsource.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::engine {

using smtlib::CommandKind;

std::string string_literal(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
    out += c;
    if (c == '"') out += c;
  }
  return out + '"';
}

namespace {

// A query that has no answer in the present mode.
struct QueryError : Exception {
  using Exception::Exception;
};

std::string parenthesised(std::vector<std::string> const& items) {
  std::string out = "(";
  for (std::string const& s : items) {
    if (out.size() > 1) out += ' ';
    out += s;
  }
  return out + ')';
}

}  // namespace

ScriptEngine::ScriptEngine(IncrementalSolverOptions const& options, Console& console, run::Limits& limits,
                           run::Statistics& statistics, EngineOptions const& engine_options)
    : solver_options_(options),
      engine_options_(engine_options),
      console_(console),
      limits_(limits),
      statistics_(statistics) {
  options_ = initial_options();
}

ScriptOptions ScriptEngine::initial_options() const {
  ScriptOptions options;
  options.random_seed = static_cast<std::uint64_t>(solver_options_.seed);
  options.verbosity = solver_options_.verbosity;
  options.passes = solver_options_.passes;
  options.conflict_limit = solver_options_.conflict_limit;
  options.timeout = solver_options_.check_milliseconds;
  options.word_format = solver_options_.word_format;
  return options;
}

ScriptEngine::~ScriptEngine() = default;

IncrementalSolver& ScriptEngine::solver() {
  if (solver_ == nullptr || solver_->stale()) {
    IncrementalSolverOptions options = solver_options_;
    options.seed = static_cast<int>(options_.random_seed);
    options.passes = options_.passes;
    solver_ = std::make_unique<IncrementalSolver>(tm_, options, limits_, statistics_);
  }
  return *solver_;
}

void ScriptEngine::start_over() {
  solver_.reset();
  mode_ = Mode::assert_;
}

void ScriptEngine::success() {
  if (options_.print_success) console_.answer("success");
}

void ScriptEngine::error(std::string const& message) const { throw Exception(message); }
void ScriptEngine::refuse_query(std::string const& message) const { throw QueryError(message); }

bool ScriptEngine::run(std::unique_ptr<io::Source> source) {
  std::string const file = source->name();
  input_ = file == "<stdin>" ? "-" : file;
  Command command;
  try {
    smtlib::Reader reader(tm_, std::make_unique<io::WatchedSource>(std::move(source), limits_, statistics_));
    reader_ = &reader;
    execute_all(reader, command);
    reader_ = nullptr;
    if (limits_.reason() == run::StopReason::interrupted) limits_.check();
    if (queries_ < engine_options_.query)
      throw io::Error(file, command.position,
                      "query " + std::to_string(engine_options_.query) + " of " + std::to_string(queries_));
  } catch (run::Stopped const& s) {
    // Stopped between two checks: the answer to the script as a whole is unknown, unless that was answered
    // already.
    if (statistics_.unknown == 0 && !dialogue_) console_.answer("unknown");
    if (s.reason() == run::StopReason::memout) console_.message(file, ": out of memory");
    ++statistics_.unknown;
    return false;
  } catch (io::Error const& e) {
    report(e);
    return false;
  } catch (std::bad_alloc const&) {
    limits_.stop(run::StopReason::memout);
    if (statistics_.unknown == 0) console_.answer("unknown");
    ++statistics_.unknown;
    console_.message(file, ": out of memory");
    return false;
  }
  // Where exactly memory runs out varies from run to run. The exit code does not: a script that runs out of
  // memory never succeeds.
  bool const memout = limits_.reason() == run::StopReason::memout;
  if (memout) console_.message(file, ": out of memory");
  bool const ended_early = memout || limits_.reason() == run::StopReason::interrupted;
  return !model_failed_ && !query_refused_ && !failed_ && !ended_early;
}

void ScriptEngine::report(io::Error const& e) {
  console_.answer("(error " + string_literal(e.what()) + ")");
  console_.excerpt(e.excerpt());
}

void ScriptEngine::execute_all(smtlib::Reader& reader, Command& command) {
  for (bool more = true; more && limits_.reason() != run::StopReason::interrupted;) {
    if (!dialogue_) {
      more = execute_one(reader, command);
      continue;
    }
    try {
      more = execute_one(reader, command);
    } catch (io::Error const& e) {
      report(e);
      failed_ = true;
      reader.recover();
    } catch (LineDropped const&) {
      reader.recover();
    } catch (DialogueEnded const&) {
      return;
    }
  }
}

// False if the script ends here.
bool ScriptEngine::execute_one(smtlib::Reader& reader, Command& command) {
  statistics_.enter(run::Phase::reading);
  bool const more = reader.next(command);
  statistics_.terms = tm_.term_count();
  if (!more) return false;
  try {
    return execute(command);
  } catch (QueryError const& e) {
    if (!dialogue_) query_refused_ = true;
    console_.answer("(error " + string_literal(io::Error(reader.file(), command.position, e.what()).what()) +
                    ")");
    return true;
  } catch (io::Error const&) {
    throw;
  } catch (run::Stopped const&) {
    throw;
  } catch (Exception const& e) {
    reader.fail(command.offset, e.what());
  }
}

bool ScriptEngine::inside_command() const { return reader_ != nullptr && reader_->inside_command(); }

std::vector<std::string> ScriptEngine::names(std::string_view prefix) const {
  return reader_ == nullptr ? std::vector<std::string>() : reader_->names(prefix);
}

// False if the script ends here.
bool ScriptEngine::execute(Command const& command) {
  if (passed_over(command)) return true;
  switch (command.kind) {
    case CommandKind::check_sat:
    case CommandKind::check_sat_assuming:
      ++queries_;
      if (engine_options_.query != 0 && queries_ > engine_options_.query) return false;
      state_.apply(command);
      if (queries_ >= engine_options_.query) check(command);
      return true;
    case CommandKind::get_model: get_model(); return true;
    case CommandKind::get_value: get_value(command); return true;
    case CommandKind::get_assignment: get_assignment(); return true;
    case CommandKind::get_unsat_core: get_unsat_core(); return true;
    case CommandKind::get_unsat_assumptions: get_unsat_assumptions(); return true;
    case CommandKind::get_assertions: get_assertions(); return true;
    case CommandKind::get_proof: refuse_query("get-proof is not supported"); break;
    case CommandKind::get_info: get_info(command); return true;
    case CommandKind::get_option: get_option(command); return true;
    case CommandKind::set_option: set_option(command); return true;
    case CommandKind::set_logic: set_logic(command); break;
    case CommandKind::unsupported: console_.answer("unsupported"); return true;
    case CommandKind::echo: console_.answer(command.text); return true;
    case CommandKind::exit: success(); return false;
    case CommandKind::reset:
      state_.apply(command);
      start_over();
      options_ = initial_options();
      break;
    case CommandKind::reset_assertions:
      state_.apply(command);
      start_over();
      break;
    case CommandKind::pop:
      state_.apply(command);
      if (solver_ != nullptr) solver_->popped(state_);
      mode_ = Mode::assert_;
      break;
    case CommandKind::set_info:
      if (command.text == ":status") {
        status_ = command.value;
        status_position_ = command.position;
      }
      break;
    case CommandKind::declare:
    case CommandKind::define:
    case CommandKind::define_sort:
    case CommandKind::assert_:
    case CommandKind::push:
      state_.apply(command);
      mode_ = Mode::assert_;
      break;
  }
  success();
  return true;
}

// Whether the command asks about a check that --query skips.
bool ScriptEngine::passed_over(Command const& command) const {
  if (queries_ >= engine_options_.query) return false;
  switch (command.kind) {
    case CommandKind::get_model:
    case CommandKind::get_value:
    case CommandKind::get_assignment:
    case CommandKind::get_unsat_core:
    case CommandKind::get_unsat_assumptions:
    case CommandKind::get_proof: return true;
    case CommandKind::get_info: return command.text == ":reason-unknown";
    default: return false;
  }
}

// Whether a second check, without simplifications on words and within the remaining limits, finds a model.
bool ScriptEngine::refuted(Command const& command) {
  if (!engine_options_.check_unsat || options_.passes == words::Passes::none) return false;
  IncrementalSolverOptions options = solver_options_;
  options.seed = static_cast<int>(options_.random_seed);
  options.passes = words::Passes::none;
  run::Statistics figures;
  IncrementalSolver second(tm_, options, limits_, figures);
  sinks::Answer const answer = second.check(state_, command.terms, false);
  if (answer == sinks::Answer::unknown)
    console_.message("check-sat " + std::to_string(statistics_.checks) +
                     ": unsat was not confirmed: " + second.reason_unknown());
  return answer == sinks::Answer::sat;
}

void ScriptEngine::check(Command const& command) {
  // A proof refutes one formula.
  if (!solver_options_.proof.empty() && statistics_.checks != 0)
    error("--proof: the script has more than one check-sat: --query N says which");
  for (std::string const* channel : {&console_.regular_channel(), &console_.diagnostic_channel()})
    if (!solver_options_.proof.empty() && *channel != "stdout" && *channel != "stderr" &&
        io::same_file(*channel, solver_options_.proof))
      error("--proof: " + solver_options_.proof + " is an output channel's file as well");
  assumption_texts_ = command.texts;
  ++statistics_.checks;
  sinks::Answer answer = sinks::Answer::unknown;
  struct Check {
    explicit Check(run::Limits& l, std::uint64_t milliseconds) : limits(l) {
      limits.begin_check(std::chrono::milliseconds(milliseconds));
    }
    ~Check() { limits.end_check(); }
    run::Limits& limits;
  };
  try {
    Check const running(limits_, options_.timeout);
    IncrementalSolver& current = solver();
    if (!current.limit_conflicts(options_.conflict_limit))
      error(":reproducible-resource-limit needs the embedded solver");
    answer = current.check(state_, command.terms, options_.produce_unsat_cores);
    reason_unknown_ = current.reason_unknown();
    if (current.out_of_memory()) limits_.stop(run::StopReason::memout);
    if (answer == sinks::Answer::unsat && refuted(command)) {
      answer = sinks::Answer::unknown;
      reason_unknown_ = "incomplete";
      model_failed_ = true;
      console_.message("internal error: unsat, but without simplifications on words there is a model");
    }
  } catch (std::bad_alloc const&) {
    limits_.stop(run::StopReason::memout);
    answer = sinks::Answer::unknown;
    reason_unknown_ = run::reason_text(run::StopReason::memout);
  }
  switch (answer) {
    case sinks::Answer::sat:
      mode_ = Mode::sat;
      ++statistics_.sat;
      console_.answer("sat");
      compare_status("sat");
      if (!solver_options_.proof.empty())
        console_.message(solver_options_.proof + ": no proof, the answer is sat");
      verbose("sat");
      return;
    case sinks::Answer::unsat:
      mode_ = Mode::unsat;
      ++statistics_.unsat;
      console_.answer("unsat");
      compare_status("unsat");
      verbose("unsat");
      return;
    case sinks::Answer::unknown: break;
  }
  mode_ = Mode::unknown;
  ++statistics_.unknown;
  console_.answer("unknown");
  status_.clear();
  verbose("unknown (" + reason_unknown_ + ")");
  if (solver_ != nullptr && solver_->model_failed()) {
    model_failed_ = true;
    console_.message(
        solver_options_.embedded() ? "internal error: the solver's model does not satisfy the assertions"
        : solver_options_.ipasir.empty()
            ? "--solver: the model that " + solver_options_.solver_command +
                  " printed does not satisfy the assertions"
            : "--ipasir: the model of " + solver_options_.ipasir + " does not satisfy the assertions");
  }
}

// A :status applies to one check.
void ScriptEngine::compare_status(char const* answer) {
  std::string const status = std::move(status_);
  status_.clear();
  if ((status != "sat" && status != "unsat") || status == answer) return;
  status_contradicted_ = true;
  std::string const where = reader_ == nullptr ? "" : io::Error(reader_->file(), status_position_, "").what();
  console_.message("warning: " + where + "the answer is " + answer + ", but :status is " + status);
}

void ScriptEngine::verbose(std::string const& answer) {
  if (options_.verbosity == 0) return;
  console_.message("check-sat " + std::to_string(statistics_.checks) + ": " + answer + ", " +
                   std::to_string(statistics_.clausified_terms) + " terms, " +
                   std::to_string(statistics_.clauses) + " clauses, " +
                   std::to_string(statistics_.conflicts) + " conflicts so far");
}

// ---- answers about models ----

void ScriptEngine::need_model() const {
  if (!options_.produce_models) refuse_query("models are switched off by :produce-models");
  if (mode_ != Mode::sat)
    refuse_query("there is no model: the last command was no check-sat that answered sat");
}

void ScriptEngine::get_model() {
  need_model();
  assert(solver_ != nullptr && !solver_->stale());  // another solver would have no model
  std::string out = "(";
  for (Term_ const* c : state_.declared())
    out += "\n  (define-fun " + smtlib::quote_symbol(c->symbol->name) + " () " +
           sort_text(c->symbol->get_output_type()) + " " + solver().model().text(c, options_.word_format) +
           ")";
  console_.answer(out + "\n)");
}

void ScriptEngine::get_value(Command const& command) {
  need_model();
  std::vector<std::string> pairs;
  assert(command.texts.size() == command.terms.size());
  for (std::size_t i = 0; i < command.terms.size(); ++i)
    pairs.push_back("(" + command.texts[i] + " " +
                    solver().model().text(command.terms[i], options_.word_format) + ")");
  console_.answer(parenthesised(pairs));
}

void ScriptEngine::get_assignment() {
  if (!options_.produce_assignments)
    refuse_query("assignments are not produced: :produce-assignments is false");
  need_model();
  std::vector<std::string> pairs;
  for (smtlib::NamedTerm const& n : state_.named())
    if (n.term->symbol->get_output_type() == tm_.bool_type)
      pairs.push_back("(" + n.name + " " + solver().model().text(n.term) + ")");
  console_.answer(parenthesised(pairs));
}

// ---- answers about unsatisfiability ----

void ScriptEngine::get_unsat_core() {
  if (!options_.produce_unsat_cores)
    refuse_query("unsat cores are not produced: :produce-unsat-cores is false");
  if (mode_ != Mode::unsat)
    refuse_query("there is no unsat core: the last command was no check-sat that answered unsat");
  std::vector<std::string> names;
  for (std::size_t i : solver().core()) names.push_back(state_.assertions()[i].name);
  console_.answer(parenthesised(names));
}

void ScriptEngine::get_unsat_assumptions() {
  if (!options_.produce_unsat_assumptions)
    refuse_query("unsat assumptions are not produced: :produce-unsat-assumptions is false");
  if (mode_ != Mode::unsat) refuse_query("the last command was no check-sat-assuming that answered unsat");
  std::vector<std::string> texts;
  assert(solver_ != nullptr && !solver_->stale());
  for (std::size_t i : solver().failed_assumptions()) texts.push_back(assumption_texts_[i]);
  console_.answer(parenthesised(texts));
}

void ScriptEngine::get_assertions() {
  if (!options_.produce_assertions) refuse_query("assertions are switched off by :produce-assertions");
  // Names of shared subterms must differ from every visible symbol.
  std::string prefix = "_t";
  for (Term_ const* c : state_.declared())
    while (std::string_view(c->symbol->name).starts_with(prefix)) prefix += '_';
  std::string out = "(";
  for (Assertion const& a : state_.assertions()) {
    std::string const text = smtlib::term_text(tm_, a.term, prefix);
    out += "\n  " + (a.name.empty() ? text : "(! " + text + " :named " + a.name + ")");
  }
  console_.answer(out + "\n)");
}

// ---- options and information ----

void ScriptEngine::set_logic(Command const& command) {
  if (!logic_supported(command.text)) reader_->fail(command.argument_offset, logic_refusal(command.text));
}

void ScriptEngine::set_option(Command const& command) {
  std::string const& keyword = command.text;
  std::string const& value = command.value;
  auto const bad_keyword = [&](std::string const& message) {
    reader_->fail(command.argument_offset, message);
  };
  auto const bad_value = [&](std::string const& takes) {
    reader_->fail(command.value_offset,
                  keyword + " takes " + takes + ", not " + (value.empty() ? "`)`" : value));
  };
  if (bool* flag = options_.boolean(keyword)) {
    if (value != "true" && value != "false") bad_value("true or false");
    if (flag == &options_.produce_unsat_cores && solver_ != nullptr)
      bad_keyword(keyword + " must be set before the first check-sat");
    *flag = value == "true";
    state_.apply(command);
  } else if (std::uint64_t* number = options_.number(keyword)) {
    std::optional<std::uint64_t> const n = numeral_value(value);
    if (!n) bad_value("a numeral");
    if (number == &options_.random_seed) {
      if (*n > 2000000000) bad_value("a seed of at most 2000000000");
      if (solver_ != nullptr) bad_keyword(keyword + " must be set before the first check-sat");
    }
    if (number == &options_.conflict_limit && *n != 0 && !solver_options_.embedded()) {
      console_.answer("unsupported");
      return;
    }
    constexpr std::uint64_t longest = 1'000'000'000'000;  // milliseconds: thirty years
    if (number == &options_.timeout && *n > longest)
      bad_value("at most " + std::to_string(longest) + " milliseconds");
    *number = *n;
  } else if (keyword == ":words") {
    if (solver_ != nullptr) bad_keyword(keyword + " must be set before the first check-sat");
    options_.passes = words_option(value);
  } else if (keyword == ":regular-output-channel" || keyword == ":diagnostic-output-channel") {
    std::optional<std::string> const name = string_value(value);
    if (!name) bad_value("a string");
    bool const standard = *name == "stdout" || *name == "stderr";
    if (!standard && io::same_file(*name, input_))
      error(keyword + ": " + *name + " is the script that is read");
    bool const opened = keyword == ":regular-output-channel" ? console_.set_regular_channel(*name)
                                                             : console_.set_diagnostic_channel(*name);
    if (!opened) reader_->fail(command.value_offset, keyword + ": cannot open " + *name);
  } else if (keyword == ":bv-output-format") {
    std::optional<values::WordFormat> const format = word_format(value);
    if (!format) bad_value("binary, hexadecimal or decimal");
    options_.word_format = *format;
  } else {
    console_.answer("unsupported");
    if (std::string const hint = ScriptOptions::hint(keyword); !hint.empty())
      console_.message(
          io::Error(reader_->file(), command.position, "unknown option " + keyword + hint).what());
    return;
  }
  success();
}

void ScriptEngine::get_option(Command const& command) {
  std::string const& keyword = command.text;
  if (bool const* flag = options_.boolean(keyword))
    console_.answer(*flag ? "true" : "false");
  else if (std::uint64_t const* number = options_.number(keyword))
    console_.answer(std::to_string(*number));
  else if (keyword == ":words")
    console_.answer(string_literal(words::passes_text(options_.passes)));
  else if (keyword == ":bv-output-format")
    console_.answer(word_format_name(options_.word_format));
  else if (keyword == ":regular-output-channel")
    console_.answer(string_literal(console_.regular_channel()));
  else if (keyword == ":diagnostic-output-channel")
    console_.answer(string_literal(console_.diagnostic_channel()));
  else
    console_.answer("unsupported");
}

void ScriptEngine::get_info(Command const& command) {
  std::string const& keyword = command.text;
  if (keyword == ":name")
    console_.answer("(:name \"vell-bv\")");
  else if (keyword == ":version")
    console_.answer("(:version " + string_literal(version) + ")");
  else if (keyword == ":authors")
    console_.answer("(:authors \"the Vell developers\")");
  else if (keyword == ":error-behavior")
    console_.answer(dialogue_ ? "(:error-behavior continued-execution)" : "(:error-behavior immediate-exit)");
  else if (keyword == ":assertion-stack-levels")
    console_.answer("(:assertion-stack-levels " + std::to_string(state_.levels()) + ")");
  else if (keyword == ":all-statistics")
    console_.answer(statistics_.smtlib());
  else if (keyword == ":reason-unknown") {
    if (mode_ != Mode::unknown) refuse_query("the last command was no check-sat that answered unknown");
    console_.answer("(:reason-unknown " + reason_unknown_ + ")");
  } else
    console_.answer("unsupported");
}

}  // namespace vell::engine
