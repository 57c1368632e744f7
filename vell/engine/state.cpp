#include "vell/engine/state.h"

#include <cassert>

namespace vell::engine {

using smtlib::Command;
using smtlib::CommandKind;

namespace {
// Each level takes memory. A larger number is most likely a mistake in the script.
constexpr std::uint64_t max_levels = 10000000;
}  // namespace

void ScriptState::apply(Command const& command) {
  switch (command.kind) {
    case CommandKind::set_option:
      if (command.text == ":global-declarations") global_declarations_ = command.value == "true";
      break;
    case CommandKind::declare: declared_.push_back(command.terms[0]); break;
    case CommandKind::define:
      if (!command.terms.empty()) defined_.push_back({smtlib::quote_symbol(command.text), command.terms[0]});
      break;
    case CommandKind::assert_:
      assert(command.terms.size() == 1);
      assertions_.push_back({command.terms[0], command.name, command.position});
      break;
    case CommandKind::push:
      if (command.number > max_levels - marks_.size())
        throw Exception("more than " + std::to_string(max_levels) + " levels");
      marks_.insert(marks_.end(), command.number,
                    {assertions_.size(), declared_.size(), named_.size(), defined_.size()});
      break;
    case CommandKind::pop: {
      if (command.number == 0) break;
      if (command.number > marks_.size()) throw Exception("pop of more levels than there are");
      Mark const mark = marks_[marks_.size() - command.number];
      marks_.resize(marks_.size() - command.number);
      assert(mark.assertions <= assertions_.size() && mark.declared <= declared_.size() &&
             mark.named <= named_.size() && mark.defined <= defined_.size());
      assertions_.resize(mark.assertions);
      if (global_declarations_) break;
      declared_.resize(mark.declared);
      named_.resize(mark.named);
      defined_.resize(mark.defined);
      break;
    }
    case CommandKind::reset: *this = ScriptState(); break;
    case CommandKind::reset_assertions:
      assertions_.clear();
      marks_.clear();
      if (global_declarations_) break;
      declared_.clear();
      named_.clear();
      defined_.clear();
      break;
    default: break;
  }
  named_.insert(named_.end(), command.named.begin(), command.named.end());
}

}  // namespace vell::engine
