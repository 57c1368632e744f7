#include "vell/script/script.h"

#include <istream>

#include "vell/engine/options.h"
#include "vell/engine/state.h"
#include "vell/io/decompress.h"
#include "vell/io/watchedsource.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"
#include "vell/smtlib/reader.h"
#include "vell/smtlib/termprinter.h"

namespace vell::script {

namespace {

using smtlib::CommandKind;

class InputStream : public io::ByteStream {
 public:
  explicit InputStream(std::istream& in) : in_(in) {}
  std::size_t read(char* out, std::size_t n) override {
    in_.read(out, static_cast<std::streamsize>(n));
    if (in_.bad()) throw io::StreamError("the stream is broken");
    return static_cast<std::size_t>(in_.gcount());
  }

 private:
  std::istream& in_;
};

Command::Kind kind_of(CommandKind kind) {
  switch (kind) {
    case CommandKind::set_logic:
    case CommandKind::set_option:
    case CommandKind::set_info: return Command::Kind::set;
    case CommandKind::declare: return Command::Kind::declare;
    case CommandKind::define:
    case CommandKind::define_sort: return Command::Kind::define;
    case CommandKind::assert_: return Command::Kind::assert_formula;
    case CommandKind::check_sat:
    case CommandKind::check_sat_assuming: return Command::Kind::check;
    case CommandKind::push: return Command::Kind::push;
    case CommandKind::pop: return Command::Kind::pop;
    case CommandKind::reset: return Command::Kind::reset;
    case CommandKind::reset_assertions: return Command::Kind::reset_assertions;
    case CommandKind::exit: return Command::Kind::exit;
    default: return Command::Kind::ask;
  }
}

}  // namespace

struct Script::State {
  std::string name;
  std::vector<Command> commands;
  std::uint64_t queries = 0;

  void read(TermManager& terms, std::unique_ptr<io::Source> source, Control* control);
  // Calls f for each command in force at the check.
  template <typename F>
  void replay(std::uint64_t query, F f) const;
};

void Script::State::read(TermManager& terms, std::unique_ptr<io::Source> source, Control* control) {
  ControlOrOwn const work(control);
  work.statistics().enter(run::Phase::reading);
  name = source->name();
  smtlib::Reader reader(
      terms, std::make_unique<io::WatchedSource>(std::move(source), work.limits(), work.statistics()));
  for (smtlib::Command command; reader.next(command);) {
    work.limits().check();
    work.statistics().terms = terms.term_count();
    if (command.kind == CommandKind::set_logic && !engine::logic_supported(command.text))
      reader.fail(command.argument_offset, engine::logic_refusal(command.text));
    Command out{kind_of(command.kind), to_public(command.position),
                command.text,          command.value,
                command.terms,         command.number};
    if (command.kind == CommandKind::assert_) out.text = command.name;
    if (out.kind == Command::Kind::check) ++queries;
    commands.push_back(std::move(out));
  }
}

template <typename F>
void Script::State::replay(std::uint64_t query, F f) const {
  std::uint64_t const wanted = query == 0 ? 1 : query;
  if (wanted > queries && (query != 0 || queries != 0))
    throw Exception(name + ": query " + std::to_string(wanted) + " of " + std::to_string(queries));
  std::uint64_t checks = 0;
  for (Command const& c : commands) {
    bool const last = c.kind == Command::Kind::check && ++checks == wanted;
    f(c, last);
    if (last) return;
  }
}

Script::Script(std::unique_ptr<State> state) : state_(std::move(state)) {}
Script::Script(Script&&) noexcept = default;
Script& Script::operator=(Script&&) noexcept = default;
Script::~Script() = default;

Script Script::file(TermManager& terms, std::string const& path, Control* control) {
  return across_border([&] {
    auto state = std::make_unique<State>();
    state->read(terms, io::Source::open(path), control);
    return Script(std::move(state));
  });
}

Script Script::text(TermManager& terms, std::string_view text, std::string const& name, Control* control) {
  return across_border([&] {
    auto state = std::make_unique<State>();
    state->read(terms, io::Source::text(text, name), control);
    return Script(std::move(state));
  });
}

Script Script::stream(TermManager& terms, std::istream& in, std::string const& name, Control* control) {
  return across_border([&] {
    auto state = std::make_unique<State>();
    state->read(terms, io::Source::stream(std::make_unique<InputStream>(in), name), control);
    return Script(std::move(state));
  });
}

std::string const& Script::name() const { return state_->name; }
std::span<Command const> Script::commands() const { return state_->commands; }
std::uint64_t Script::queries() const { return state_->queries; }

namespace {

// The lists of one check, by levels.
template <typename T>
class Leveled {
 public:
  void add(T item) { items_.push_back(std::move(item)); }
  void push(std::uint64_t levels) { marks_.insert(marks_.end(), levels, items_.size()); }
  // keep: the items, not the levels.
  void pop(std::uint64_t levels, bool keep) {
    if (levels == 0) return;
    std::size_t const mark = marks_[marks_.size() - levels];
    marks_.resize(marks_.size() - levels);
    if (!keep) items_.resize(mark);
  }
  void reset(bool keep) {
    marks_.clear();
    if (!keep) items_.clear();
  }
  std::vector<T>& items() { return items_; }

 private:
  std::vector<T> items_;
  std::vector<std::size_t> marks_;
};

}  // namespace

std::vector<Formula> Script::formulas(std::uint64_t query) const {
  Leveled<Formula> list;
  state_->replay(query, [&](Command const& c, bool last) {
    switch (c.kind) {
      case Command::Kind::assert_formula: list.add({c.terms[0], c.text, c.position}); break;
      case Command::Kind::push: list.push(c.levels); break;
      case Command::Kind::pop: list.pop(c.levels, false); break;
      case Command::Kind::reset:
      case Command::Kind::reset_assertions: list.reset(false); break;
      case Command::Kind::check:
        if (last)
          for (Term_ const* t : c.terms) list.add({t, "", c.position});
        break;
      default: break;
    }
  });
  return std::move(list.items());
}

std::vector<Term_ const*> Script::constants(std::uint64_t query) const {
  Leveled<Term_ const*> list;
  bool global = false;
  state_->replay(query, [&](Command const& c, bool) {
    switch (c.kind) {
      case Command::Kind::declare: list.add(c.terms[0]); break;
      case Command::Kind::push: list.push(c.levels); break;
      case Command::Kind::pop: list.pop(c.levels, global); break;
      case Command::Kind::reset:
        list.reset(false);
        global = false;
        break;
      case Command::Kind::reset_assertions: list.reset(global); break;
      case Command::Kind::set:
        if (c.text == ":global-declarations") global = c.value == "true";
        break;
      default: break;
    }
  });
  return std::move(list.items());
}

Term_ const* Script::find(std::string_view name) const {
  for (std::size_t i = state_->commands.size(); i-- > 0;) {
    Command const& c = state_->commands[i];
    if ((c.kind == Command::Kind::declare || c.kind == Command::Kind::define) && !c.terms.empty() &&
        c.text == name)
      return c.terms[0];
  }
  return nullptr;
}

std::string term_text(TermManager const& terms, Term_ const* term) { return smtlib::term_text(terms, term); }
std::string symbol_text(std::string_view symbol) { return smtlib::quote_symbol(symbol); }

}  // namespace vell::script
