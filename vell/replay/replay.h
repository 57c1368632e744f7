#pragma once

// Scripts of single calls on a WordClausifier, with every event they cause as a line of text: to see an
// encoding, to file a bug, to teach. docs/replay.md is the language.
//
// Tested by tests/replay/replay_test.cpp and by the scripts of tests/scenarios.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/replay/replayevents.h"
#include "vell/replay/replayline.h"
#include "vell/replay/replayoperands.h"
#include "vell/terms/termmanager.h"

namespace vell::replay {

class Replay {
 public:
  // `file` stands for the script in error messages. Events go to `out`.
  Replay(std::string file, std::ostream& out);
  ~Replay();

  // Runs the script. Throws smtlib::Error, with file, line and column, at the first line that is not well
  // formed; what was written up to there stands.
  void run(std::istream& in);

  // The same by hand, for whoever looks at the state between two lines. Lines count from 1; `text` has no
  // newline. Call finish() after the last one.
  void step(std::uint64_t number, std::string_view text);
  void finish();
  // Null before the first command.
  bv::WordClausifier* clausifier() { return clausifier_.get(); }
  TermManager const& term_manager() const { return tm_; }
  // The term of a name; null when it is not declared.
  Term_ const* find_term(std::string const& name) const;

 private:
  using Command = void (Replay::*)(Line&);
  static std::unordered_map<std::string_view, Command> const& commands();

  // ---- replay.cpp: the script, settings, operations ----
  void start(bool with_configuration);
  void set_config(Line& line);
  void set_nextlit(Line& line);
  void set_atomlit(Line& line);
  void set_verbosity(Line& line);
  void set_termtest(Line& line);
  void set_fpcomb(Line& line);
  void set_fpbits(Line& line);
  void echo(Line& line);
  void blast(Line& line);
  void getbits(Line& line);
  void setbits(Line& line);
  void makebits(Line& line);
  void theory_eq(Line& line);
  void push(Line& line);
  void pop(Line& line);
  void retract(Line& line);
  void notify(Line& line);
  void isterminal(Line& line);
  void iscached(Line& line);
  void newfpterms(Line& line);
  Term_ const* term(Line& line);
  Operands operands();
  std::pair<Term_ const*, std::uint64_t> sound_term(Line& line);
  Term_ const* sound_root(Line& line);

  // ---- replaydump.cpp: the clausifier's state ----
  void hooks(Line& line);
  void dumptrail(Line& line);
  void dumptable(Line& line);
  void dumpcache(Line& line);
  void dumppools(Line& line);

  // ---- replaydeclarations.cpp: terms ----
  void declare_var(Line& line);
  void declare_num(Line& line);
  void declare_rmconst(Line& line);
  void declare_term(Line& line);
  std::string new_name(Line& line);
  Type const* type(Line& line);
  void declare(std::string const& name, SymbolSpec spec, std::vector<Term_ const*> const& children = {});

  // ---- replaycalls.cpp: handlers, gates and circuits called directly ----
  void hook(Line& line);
  void call(Line& line);
  void circuit(Line& line);
  void write_result(bv::BvLitList const& list);
  void write_result_and_release(bv::BvLitList* list);

  std::string file_;
  std::ostream& out_;
  TermManager tm_;
  Configuration::Theory::Bv config_;
  Sink sink_;
  TraceLines trace_lines_;
  std::ostream trace_;
  Logger logger_;
  Combination combination_;
  bool combination_on_ = false;
  std::unique_ptr<CountedTest> test_;
  std::unique_ptr<bv::WordClausifier> clausifier_;
  std::vector<bv::BvLitList*>
      replaced_;  // lists that a direct call took out of the cache; nobody else gives them back
  std::unordered_map<std::string, Term_ const*> terms_;
  std::vector<Term_ const*> fp_terms_;
};

}  // namespace vell::replay
