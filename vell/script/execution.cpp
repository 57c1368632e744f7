#include "vell/script/execution.h"

#include <new>
#include <optional>

#include "vell/engine/engine.h"
#include "vell/io/decompress.h"
#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"
#include "vell/sinks/ipasirsink.h"

namespace vell::script {

// ---- console ----

struct Console::Parts {
  engine::Console console;
};

Console::Console() : parts_(std::make_unique<Parts>()) {}
Console::~Console() = default;

void Console::diagnostic(std::string_view text) { parts_->console.diagnostic(text); }
void Console::message(std::string_view text, std::string_view more) { parts_->console.message(text, more); }
void Console::progress(std::string_view text) { parts_->console.progress(text); }
bool Console::shut(std::string_view last_answer, std::string_view last_diagnostic) {
  return parts_->console.shut(last_answer, last_diagnostic);
}
bool Console::good() const { return parts_->console.good(); }

// ---- dialogue ----

Input::~Input() = default;
LineDropped::LineDropped() : Exception("the line was dropped") {}
LineDropped::~LineDropped() = default;
DialogueEnded::DialogueEnded() : Exception("the dialogue has ended") {}
DialogueEnded::~DialogueEnded() = default;

namespace {

class DialogueStream : public io::ByteStream {
 public:
  explicit DialogueStream(std::unique_ptr<Input> input) : input_(std::move(input)) {}
  std::size_t read(char* out, std::size_t n) override {
    try {
      return input_->read(out, n);
    } catch (LineDropped const&) {
      throw engine::LineDropped();
    } catch (DialogueEnded const&) {
      throw engine::DialogueEnded();
    }
  }

 private:
  std::unique_ptr<Input> input_;
};

engine::IncrementalSolverOptions internal(ExecutionOptions const& options) {
  engine::IncrementalSolverOptions out;
  out.free_division = options.free_division;
  out.seed = options.seed;
  out.threads = options.threads;
  out.deterministic = options.deterministic;
  out.proof = options.proof;
  out.solver_command = options.command;
  out.ipasir = options.ipasir;
  out.passes = passes_of(options);
  out.verbosity = options.verbosity;
  out.conflict_limit = options.conflict_limit;
  out.check_milliseconds = options.check_milliseconds;
  out.word_format = to_internal(options.word_format);
  out.logger = options.logger;
  out.tunables = tunables_of(options);
  return out;
}

}  // namespace

// ---- execution ----

struct Execution::State {
  State(ExecutionOptions const& o, Control& c, Console& out)
      : options(internal(o)),
        engine_options{o.query, o.check_unsat},
        control(c.parts()),
        console(out.parts().console) {}

  template <typename Open>
  bool run(std::string const& path, bool dialogue, Open open);

  engine::IncrementalSolverOptions const options;
  engine::EngineOptions const engine_options;
  Control::Parts& control;
  engine::Console& console;
  std::optional<engine::ScriptEngine> engine;  // from run() on
};

template <typename Open>
bool Execution::State::run(std::string const& path, bool dialogue, Open open) {
  std::string const& proof = options.proof;
  try {
    engine.emplace(options, console, control.limits, control.statistics, engine_options);
    engine->set_dialogue(dialogue);
    if (!proof.empty()) {
      io::refuse_same_file(proof, path);
      if (io::same_file(proof, "/dev/stdout")) throw io::OutputError(proof + ": it is <stdout> as well");
    }
    if (!options.ipasir.empty()) sinks::IpasirLibrary const loadable(options.ipasir);
    control.statistics.waiting = true;  // for the first bytes, which tell whether the input is compressed
    std::unique_ptr<io::Source> source = open();
    control.statistics.waiting = false;
    return engine->run(std::move(source));
  } catch (io::Error const& e) {
    console.answer("(error " + engine::string_literal(e.what()) + ")");
  } catch (std::bad_alloc const&) {
    control.limits.stop(run::StopReason::memout);
    if (control.statistics.unknown == 0) console.answer("unknown");
    ++control.statistics.unknown;
    console.message(path, ": out of memory");
  }
  return false;
}

Execution::Execution(ExecutionOptions const& options, Control& control, Console& console)
    : state_(std::make_unique<State>(options, control, console)) {}
Execution::~Execution() = default;

bool Execution::run(std::string const& path) {
  return state_->run(path, false, [&] { return io::Source::open(path); });
}

bool Execution::run_dialogue(std::unique_ptr<Input> input) {
  return state_->run("-", true, [&] {
    return io::Source::stream(std::make_unique<DialogueStream>(std::move(input)), "<stdin>");
  });
}

std::vector<std::string> Execution::names(std::string_view prefix) const {
  return state_->engine ? state_->engine->names(prefix) : std::vector<std::string>();
}
bool Execution::inside_command() const { return state_->engine && state_->engine->inside_command(); }
bool Execution::status_contradicted() const {
  return state_->engine && state_->engine->status_contradicted();
}

}  // namespace vell::script
