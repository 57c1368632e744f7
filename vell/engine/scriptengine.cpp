// One command after the other.
//
// The reader has changed the scopes of symbols by the time a command arrives here; the state follows it, and the
// checker follows the state. An error ends the script (:error-behavior immediate-exit): what comes after a broken
// assertion would be answered as if the assertion had never been there. Only a question that has no answer now (a model
// after unsat) is refused and passed over: it changes nothing that later answers rest on. The exit code tells of it.

#include "vell/engine/scriptengine.h"

#include <new>

#include "vell/engine/termprinter.h"
#include "vell/engine/watchedsource.h"
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

// A question that has no answer in the present mode.
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

ScriptEngine::ScriptEngine(CheckerOptions const& options, Console& console, Limits& limits, Statistics& statistics)
    : checker_options_(options), console_(console), limits_(limits), statistics_(statistics) {
  options_ = initial_options();
}

ScriptOptions ScriptEngine::initial_options() const {
  ScriptOptions options;
  options.random_seed = static_cast<std::uint64_t>(checker_options_.seed);
  options.verbosity = checker_options_.verbosity;
  return options;
}

ScriptEngine::~ScriptEngine() = default;

Checker& ScriptEngine::checker() {
  if (checker_ == nullptr) {
    CheckerOptions options = checker_options_;
    options.seed = static_cast<int>(options_.random_seed);
    checker_ = std::make_unique<Checker>(tm_, options, limits_, statistics_);
  }
  return *checker_;
}

void ScriptEngine::start_over() {
  checker_.reset();
  mode_ = Mode::assert_;
}

void ScriptEngine::success() {
  if (options_.print_success) console_.answer("success");
}

void ScriptEngine::error(std::string const& message) const { throw Exception(message); }
void ScriptEngine::refuse_query(std::string const& message) const { throw QueryError(message); }

bool ScriptEngine::run(std::unique_ptr<smtlib::Source> source) {
  std::string const file = source->name();
  Command command;
  try {
    smtlib::Reader reader(tm_, std::make_unique<WatchedSource>(std::move(source), limits_, statistics_));
    for (;;) {
      statistics_.enter(Phase::reading);
      bool const more = reader.next(command);
      statistics_.terms = tm_.term_count();
      if (!more) break;
      try {
        if (!execute(command)) break;
      } catch (QueryError const& e) {
        query_refused_ = true;
        console_.answer("(error " + string_literal(smtlib::Error(file, command.position, e.what()).what()) + ")");
      } catch (smtlib::Error const&) {
        throw;
      } catch (Stopped const&) {
        throw;
      } catch (Exception const& e) {
        throw smtlib::Error(file, command.position, e.what());
      }
      if (limits_.reason() == StopReason::interrupted) break;
    }
    if (limits_.reason() == StopReason::interrupted) limits_.check();
  } catch (Stopped const& s) {
    // Between two checks: the answer to the script as a whole is unknown, unless it is given already.
    if (statistics_.unknown == 0) {
      console_.answer("unknown");
      if (s.reason() == StopReason::memout) console_.message(file + ": memory limit reached while reading");
    }
    ++statistics_.unknown;
    return false;
  } catch (smtlib::Error const& e) {
    console_.answer("(error " + string_literal(e.what()) + ")");
    return false;
  } catch (std::bad_alloc const&) {
    limits_.stop(StopReason::memout);
    ++statistics_.unknown;
    console_.answer("unknown");
    console_.message(file + ": out of memory");
    return false;
  }
  return !model_failed_ && !query_refused_ && limits_.reason() != StopReason::interrupted;
}

// False when the script ends here.
bool ScriptEngine::execute(Command const& command) {
  switch (command.kind) {
    case CommandKind::check_sat:
    case CommandKind::check_sat_assuming:
      state_.apply(command);
      check(command);
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
      if (checker_ != nullptr) checker_->popped(state_);
      mode_ = Mode::assert_;
      break;
    case CommandKind::set_info: break;
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

void ScriptEngine::check(Command const& command) {
  if (!checker_options_.proof.empty()) {
    // A proof is one refutation of one formula: assumptions and later checks would need clauses that it lacks.
    if (proof_used_) error("--proof: the script has more than one check-sat");
    if (state_.levels() != 0) error("--proof: a check-sat under push");
    if (!command.terms.empty()) error("--proof: a check-sat with assumptions");
    if (options_.produce_unsat_cores) error("--proof: unsat cores are asked for as well");
    proof_used_ = true;
  }
  assumption_texts_ = command.texts;
  ++statistics_.checks;
  Checker::Answer answer = Checker::Answer::unknown;
  try {
    answer = checker().check(state_, command.terms, options_.produce_unsat_cores);
    reason_unknown_ = checker().reason_unknown();
  } catch (std::bad_alloc const&) {
    reason_unknown_ = reason_text(StopReason::memout);
  }
  switch (answer) {
    case Checker::Answer::sat:
      mode_ = Mode::sat;
      ++statistics_.sat;
      console_.answer("sat");
      if (!checker_options_.proof.empty()) console_.message(checker_options_.proof + ": no proof, the answer is sat");
      verbose("sat");
      return;
    case Checker::Answer::unsat:
      mode_ = Mode::unsat;
      ++statistics_.unsat;
      console_.answer("unsat");
      verbose("unsat");
      return;
    case Checker::Answer::unknown: break;
  }
  mode_ = Mode::unknown;
  ++statistics_.unknown;
  console_.answer("unknown");
  verbose("unknown (" + reason_unknown_ + ")");
  if (checker_ != nullptr && checker_->model_failed()) {
    model_failed_ = true;
    console_.message("internal error: the solver's model does not satisfy the assertions");
  }
}

void ScriptEngine::verbose(std::string const& answer) {
  if (options_.verbosity == 0) return;
  console_.message("check-sat " + std::to_string(statistics_.checks) + ": " + answer + ", " +
                   std::to_string(statistics_.clausified_terms) + " terms, " + std::to_string(statistics_.clauses) +
                   " clauses, " + std::to_string(statistics_.conflicts) + " conflicts so far");
}

// ---- answers about models ----

void ScriptEngine::need_model() const {
  if (!options_.produce_models) refuse_query("models are switched off by :produce-models");
  if (mode_ != Mode::sat) refuse_query("there is no model: the last command was no check-sat that answered sat");
}

void ScriptEngine::get_model() {
  need_model();
  std::string out = "(";
  for (Term_ const* c : state_.declared())
    out += "\n  (define-fun " + smtlib::quote_symbol(c->symbol->name) + " () " +
           sort_text(c->symbol->get_output_type()) + " " + checker().model().text(c) + ")";
  console_.answer(out + "\n)");
}

void ScriptEngine::get_value(Command const& command) {
  need_model();
  std::vector<std::string> pairs;
  for (std::size_t i = 0; i < command.terms.size(); ++i)
    pairs.push_back("(" + command.texts[i] + " " + checker().model().text(command.terms[i]) + ")");
  console_.answer(parenthesised(pairs));
}

void ScriptEngine::get_assignment() {
  if (!options_.produce_assignments) refuse_query("assignments are not produced: :produce-assignments is false");
  need_model();
  std::vector<std::string> pairs;
  for (smtlib::NamedTerm const& n : state_.named())
    if (n.term->symbol->get_output_type() == tm_.bool_type)
      pairs.push_back("(" + n.name + " " + checker().model().text(n.term) + ")");
  console_.answer(parenthesised(pairs));
}

// ---- answers about unsatisfiability ----

void ScriptEngine::get_unsat_core() {
  if (!options_.produce_unsat_cores) refuse_query("unsat cores are not produced: :produce-unsat-cores is false");
  if (mode_ != Mode::unsat) refuse_query("there is no unsat core: the last command was no check-sat that answered unsat");
  std::vector<std::string> names;
  for (std::size_t i : checker().core()) names.push_back(state_.assertions()[i].name);
  console_.answer(parenthesised(names));
}

void ScriptEngine::get_unsat_assumptions() {
  if (!options_.produce_unsat_assumptions)
    refuse_query("unsat assumptions are not produced: :produce-unsat-assumptions is false");
  if (mode_ != Mode::unsat) refuse_query("the last command was no check-sat-assuming that answered unsat");
  std::vector<std::string> texts;
  for (std::size_t i : checker().failed_assumptions()) texts.push_back(assumption_texts_[i]);
  console_.answer(parenthesised(texts));
}

void ScriptEngine::get_assertions() {
  // Names of shared subterms must differ from every symbol in sight.
  std::string prefix = "_t";
  for (Term_ const* c : state_.declared())
    while (std::string_view(c->symbol->name).starts_with(prefix)) prefix += '_';
  std::string out = "(";
  for (Assertion const& a : state_.assertions()) {
    std::string const text = term_text(tm_, a.term, prefix);
    out += "\n  " + (a.name.empty() ? text : "(! " + text + " :named " + a.name + ")");
  }
  console_.answer(out + "\n)");
}

// ---- options and information ----

void ScriptEngine::set_logic(Command const& command) {
  if (!logic_supported(command.text)) error("logic " + command.text + " is not supported");
}

void ScriptEngine::set_option(Command const& command) {
  std::string const& keyword = command.text;
  std::string const& value = command.value;
  if (bool* flag = options_.boolean(keyword)) {
    if (value != "true" && value != "false") error(keyword + " takes true or false, not " + value);
    if (flag == &options_.produce_unsat_cores && checker_ != nullptr)
      error(keyword + " must be set before the first check-sat");
    *flag = value == "true";
    state_.apply(command);
  } else if (std::uint64_t* number = options_.number(keyword)) {
    std::optional<std::uint64_t> const n = numeral_value(value);
    if (!n) error(keyword + " takes a numeral, not " + value);
    if (number == &options_.random_seed) {
      if (*n > 2000000000) error(keyword + " takes a seed of at most 2000000000");
      if (checker_ != nullptr) error(keyword + " must be set before the first check-sat");
    }
    *number = *n;
  } else if (keyword == ":regular-output-channel" || keyword == ":diagnostic-output-channel") {
    std::optional<std::string> const name = string_value(value);
    if (!name) error(keyword + " takes a string, not " + value);
    bool const opened = keyword == ":regular-output-channel" ? console_.set_regular_channel(*name)
                                                             : console_.set_diagnostic_channel(*name);
    if (!opened) error(keyword + ": cannot open " + *name);
  } else {
    console_.answer("unsupported");
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
    console_.answer("(:error-behavior immediate-exit)");
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
