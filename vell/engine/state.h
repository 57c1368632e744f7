#pragma once

// The declarations, names and assertions of a script so far, by level.
//
// Tested by tests/engine/state_test.cpp.

#include <cassert>
#include <cstdint>
#include <string>
#include <vector>

#include "vell/smtlib/reader.h"
#include "vell/terms/termmanager.h"

namespace vell::engine {

struct Assertion {
  Term_ const* term = nullptr;
  std::string name;  // from (! formula :named n) around the whole formula; "" without
  io::Position position;
};

class ScriptState {
 public:
  // Carries out declare, define, assert_, push, pop, reset, reset_assertions and set_option
  // :global-declarations, and collects the names in every command; other commands leave the state as it is.
  // Throws Exception for a pop of more levels than exist, and for more than ten million levels.
  void apply(smtlib::Command const& command);

  std::vector<Assertion> const& assertions() const { return assertions_; }
  // The declared constants in order, without those of popped levels unless declarations are global.
  std::vector<Term_ const*> const& declared() const { return declared_; }
  std::vector<smtlib::NamedTerm> const& named() const { return named_; }
  // The terms that define-const, and define-fun without parameters, have named.
  std::vector<smtlib::NamedTerm> const& defined() const { return defined_; }
  // Levels above the first.
  std::uint64_t levels() const { return marks_.size(); }
  // Number of assertions below level k, k from 1 to levels().
  std::size_t level_start(std::uint64_t k) const {
    assert(k >= 1 && k <= marks_.size());
    return marks_[k - 1].assertions;
  }
  bool global_declarations() const { return global_declarations_; }

 private:
  struct Mark {
    std::size_t assertions;
    std::size_t declared;
    std::size_t named;
    std::size_t defined;
  };

  std::vector<Assertion> assertions_;
  std::vector<Term_ const*> declared_;
  std::vector<smtlib::NamedTerm> named_;
  std::vector<smtlib::NamedTerm> defined_;
  std::vector<Mark> marks_;
  bool global_declarations_ = false;
};

}  // namespace vell::engine
