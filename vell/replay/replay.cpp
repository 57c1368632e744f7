#include "vell/replay/replay.h"

// A runner reads a line, looks its first token up and lets the member do the rest. Commands that only declare
// or set something write nothing; an exception that a command ends by is one more event.

#include <algorithm>
#include <istream>
#include <new>

#include "vell/bv/inspector.h"

namespace vell::replay {

Replay::Replay(std::string file, std::ostream& out)
    : file_(std::move(file)),
      out_(out),
      sink_(out),
      trace_lines_(out),
      trace_(&trace_lines_),
      logger_(trace_, 0),
      combination_(out, tm_) {}

Replay::~Replay() {
  for (bv::BvLitList* list : replaced_) clausifier_->release(list);
}

void Replay::start(bool with_configuration) {
  clausifier_ = std::make_unique<bv::WordClausifier>(&tm_, with_configuration ? &config_ : nullptr);
  clausifier_->set_logger(&logger_);
}

std::unordered_map<std::string_view, Replay::Command> const& Replay::commands() {
  static std::unordered_map<std::string_view, Command> const table = {
      {"var", &Replay::declare_var},
      {"num", &Replay::declare_num},
      {"rmconst", &Replay::declare_rmconst},
      {"term", &Replay::declare_term},
      {"config", &Replay::set_config},
      {"nextlit", &Replay::set_nextlit},
      {"atomlit", &Replay::set_atomlit},
      {"verbosity", &Replay::set_verbosity},
      {"termtest", &Replay::set_termtest},
      {"fpcomb", &Replay::set_fpcomb},
      {"fpbits", &Replay::set_fpbits},
      {"hook", &Replay::hook},
      {"echo", &Replay::echo},
      {"blast", &Replay::blast},
      {"getbits", &Replay::getbits},
      {"setbits", &Replay::setbits},
      {"makebits", &Replay::makebits},
      {"eq", &Replay::theory_eq},
      {"push", &Replay::push},
      {"pop", &Replay::pop},
      {"retract", &Replay::retract},
      {"notify", &Replay::notify},
      {"isterminal", &Replay::isterminal},
      {"iscached", &Replay::iscached},
      {"newfpterms", &Replay::newfpterms},
      {"hooks", &Replay::hooks},
      {"dumptrail", &Replay::dumptrail},
      {"dumptable", &Replay::dumptable},
      {"dumpcache", &Replay::dumpcache},
      {"dumppools", &Replay::dumppools},
      {"call", &Replay::call},
      {"circuit", &Replay::circuit},
  };
  return table;
}

void Replay::run(std::istream& in) {
  std::string text;
  in.exceptions(std::ios::badbit);  // a line that memory does not suffice for is no end of the script
  for (std::uint64_t number = 1; std::getline(in, text); ++number) step(number, text);
  finish();
}

void Replay::step(std::uint64_t number, std::string_view text) {
  Line line(file_, number, text);
  if (line.at_end() || line.peek().front() == '#') return;
  std::string_view const name = line.token("a command");
  if (clausifier_ == nullptr) {
    bool const null_configuration = name == "config" && line.peek() == "null";
    start(!null_configuration);
    if (null_configuration) {
      line.token("null");
      line.finish();
      return;
    }
  }
  auto const command = commands().find(name);
  if (command == commands().end()) line.fail("unknown command `" + std::string(name) + "`");
  try {
    (this->*command->second)(line);
  } catch (io::Error const&) {
    throw;
  } catch (std::bad_alloc const&) {
    throw;
  } catch (std::exception const& e) {
    out_ << "error " << e.what() << '\n';
    return;
  }
  line.finish();
}

void Replay::finish() {
  if (!trace_lines_.pending().empty()) out_ << "partial " << trace_lines_.pending() << '\n';
}

Term_ const* Replay::find_term(std::string const& name) const {
  auto const found = terms_.find(name);
  return found == terms_.end() ? nullptr : found->second;
}

Term_ const* Replay::term(Line& line) {
  std::string const name(line.token("a term"));
  Term_ const* t = find_term(name);
  if (t == nullptr) line.fail("unknown term `" + name + "`");
  return t;
}

// ---- settings ----

void Replay::set_config(Line& line) {
  std::string_view const field = line.token("div or null");
  if (field == "null") line.fail("`config null` must be the first command");
  if (field != "div") line.fail("unknown field `" + std::string(field) + "`");
  config_.div_semantics = line.small_number("a number");
}

void Replay::set_nextlit(Line& line) {
  bv::BvLit const next = line.literal();
  if (next < 2) line.fail("fresh literals are at least 2");
  sink_.set_next(next);
}

void Replay::set_atomlit(Line& line) {
  std::string const name(line.token("a term"));
  if (line.peek() == "none") {
    line.token("none");
    sink_.clear_atom(name);
  } else {
    sink_.set_atom(name, line.literal());
  }
}

void Replay::set_verbosity(Line& line) { logger_.set_verbosity(line.small_number("a level")); }

void Replay::set_termtest(Line& line) {
  if (line.peek() == "off") {
    line.token("off");
    clausifier_->set_termination_test(nullptr);
    return;
  }
  auto test = std::make_unique<CountedTest>(out_, line.signed_number("a number of calls"));
  clausifier_->set_termination_test(test.get());
  test_ = std::move(test);
}

void Replay::set_fpcomb(Line& line) {
  std::string_view const t = line.token("on or off");
  if (t != "on" && t != "off") line.fail("`" + std::string(t) + "` stands where on or off should");
  combination_on_ = t == "on";
  clausifier_->set_fp_combination(combination_on_ ? &combination_ : nullptr);
}

void Replay::set_fpbits(Line& line) {
  std::string const name(line.token("a term"));
  combination_.set_bits(name, line.literals());
}

void Replay::echo(Line& line) {
  out_ << "echo";
  while (!line.at_end()) out_ << ' ' << line.token("text");
  out_ << '\n';
}

// ---- operations ----

Operands Replay::operands() { return {tm_, *clausifier_, combination_on_ ? &combination_ : nullptr}; }

// A term that is about to be translated, and the number of its bits. The clausifier trusts its operands; a
// script's are looked at first.
std::pair<Term_ const*, std::uint64_t> Replay::sound_term(Line& line) {
  Term_ const* t = term(line);
  Cone const cone = examine(operands(), t);
  if (!cone.misfit.empty()) line.fail("the operands do not fit: " + cone.misfit);
  return {t, cone.length};
}

// The same for bit_blast, which returns a bit and needs one.
Term_ const* Replay::sound_root(Line& line) {
  auto const [t, length] = sound_term(line);
  if (length == 0) line.fail("the term has no bits");
  return t;
}

void Replay::blast(Line& line) {
  Term_ const* t = sound_root(line);
  bv::BvLit const l = clausifier_->bit_blast(t, &sink_);
  out_ << "blast " << t->to_shallow_str() << " = " << l << '\n';
}

void Replay::getbits(Line& line) {
  Term_ const* t = term(line);
  bv::BvLitList bits;
  bool const cached = clausifier_->get_bits(t, bits);
  out_ << "bits " << t->to_shallow_str();
  if (cached) {
    out_ << " =";
    write_literals(out_, bits);
  } else {
    out_ << " none";
  }
  out_ << '\n';
}

void Replay::setbits(Line& line) {
  Term_ const* t = term(line);
  bv::BvLitList const bits = line.literals();
  if (bv::BvLitList const* old = clausifier_->lookup(t); old != nullptr && bits.size() > old->size())
    line.fail("the term has " + std::to_string(old->size()) + " bits");
  clausifier_->set_bits(t, &sink_, bits);
}

void Replay::makebits(Line& line) {
  Term_ const* t = term(line);
  std::string const name = t->to_shallow_str();
  if (!clausifier_->is_cached(t)) {
    out_ << "error not cached: " << name << '\n';
    return;
  }
  bv::BvLitList made;
  clausifier_->make_bits(t, made, &sink_);
  out_ << "made " << name << " =";
  write_literals(out_, made);
  out_ << '\n';
}

void Replay::theory_eq(Line& line) {
  bv::BvLit const l = line.literal();
  auto const [t1, length1] = sound_term(line);
  auto const [t2, length2] = sound_term(line);
  for (Term_ const* t : {t1, t2})
    if (!clausifier_->is_cached(t) && (t == t1 ? length1 : length2) == 0) line.fail("the term has no bits");
  if (length2 < length1) line.fail("the second term has fewer bits than the first");
  bool const possible = clausifier_->bit_blast_theory_eq(l, t1, t2, &sink_);
  out_ << "eq = " << (possible ? "true" : "false") << '\n';
}

void Replay::push(Line&) { clausifier_->push_backtrack_point(); }

void Replay::pop(Line&) {
  std::vector<Term_ const*> const& trail = bv::WordClausifierInspector(*clausifier_).trail();
  if (std::find(trail.begin(), trail.end(), nullptr) == trail.end()) {
    out_ << "error no marker\n";
    return;
  }
  clausifier_->pop_backtrack_point();
}

void Replay::retract(Line& line) {
  Term_ const* t = term(line);
  std::vector<Term_ const*> const& trail = bv::WordClausifierInspector(*clausifier_).trail();
  if (std::find(trail.begin(), trail.end(), t) == trail.end()) {
    out_ << "error not on trail: " << t->to_shallow_str() << '\n';
    return;
  }
  clausifier_->retract_upto(t);
}

void Replay::notify(Line& line) { clausifier_->notify_interface_term(sound_root(line), &sink_); }

void Replay::isterminal(Line& line) {
  Term_ const* t = term(line);
  out_ << "terminal " << t->to_shallow_str() << " = " << (clausifier_->is_terminal(t) ? "true" : "false")
       << '\n';
}

void Replay::iscached(Line& line) {
  Term_ const* t = term(line);
  out_ << "cached " << t->to_shallow_str() << " = " << (clausifier_->is_cached(t) ? "true" : "false") << '\n';
}

void Replay::newfpterms(Line&) {
  bool const any = clausifier_->get_new_fp_terms(fp_terms_);
  out_ << "newfpterms " << (any ? "true" : "false");
  for (Term_ const* t : fp_terms_) out_ << ' ' << t->to_shallow_str();
  out_ << '\n';
}

}  // namespace vell::replay
