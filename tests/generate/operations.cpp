// Commands of random scripts, other than declarations.

#include <algorithm>

#include "tests/generate/scriptwriter.h"

namespace vell::generate {

std::string ScriptWriter::unused_literal() {
  used_literals_.push_back(next_literal_++);
  return std::to_string(used_literals_.back());
}

std::string ScriptWriter::variable_literal() {
  int v;
  if (small_literals_ && random_.percent(70)) {
    v = static_cast<int>(random_.between(2, 40));
  } else if (used_literals_.empty() || random_.percent(50)) {
    unused_literal();
    v = used_literals_.back();
  } else {
    v = random_.pick(used_literals_);
  }
  return std::to_string(random_.percent(50) ? v : -v);
}

std::string ScriptWriter::literal() {
  if (zero_literals_ && random_.percent(5)) return "0";
  if (random_.percent(25)) return random_.percent(50) ? "1" : "-1";
  return variable_literal();
}

std::string ScriptWriter::list(unsigned n) {
  std::string text = "[";
  std::string last;
  for (unsigned i = 0; i < n; ++i) {
    if (last.empty() || !random_.percent(10)) last = literal();
    text += ' ' + last;
  }
  return text + " ]";
}

std::size_t ScriptWriter::blastable() {
  for (;;) {
    std::size_t const a = random_term();
    std::size_t const b = random_term();
    Term const& t = terms_[std::max(a, b)];
    if (t.scrap || t.sort.bits() == 0) continue;
    return std::max(a, b);
  }
}

void ScriptWriter::command() {
  if (hooks_ && random_.percent(10)) return hook();
  std::uint64_t const choice = random_.below(100);
  if (choice < 40) return emit("blast " + terms_[blastable()].name);
  if (choice < 50) return setting();
  if (choice < 58) return state_command();
  if (choice < 70) return interface_command();
  if (choice < 80) return calls_ ? handler_call() : interface_command();
  if (choice < 87) return circuits_ ? circuit() : emit("blast " + terms_[blastable()].name);
  backtracking_ ? backtracking() : emit("getbits " + terms_[random_term()].name);
}

void ScriptWriter::setting() {
  switch (random_.below(8)) {
    case 0:
    case 1: return emit("verbosity " + std::to_string(random_.pick({-1, 0, 0, 1, 2, 3, 3, 4, 4, 5})));
    case 2:
      if (!null_config_) emit("config div " + std::to_string(random_.pick({0, 1, 1, 1, 2, -1})));
      return;
    case 3:
    case 4:
      if (!termination_) return;
      if (random_.percent(15)) return emit("termtest off");
      return emit("termtest " + std::to_string(random_.percent(35) ? -1 : random_.between(0, 12)));
    case 5:
      if (floating_) emit(random_.percent(60) ? "fpcomb on" : "fpcomb off");
      return;
    case 6:
      if (numbering_)
        emit("nextlit " + std::to_string(small_literals_ && random_.percent(40)
                                             ? random_.between(2, 60)
                                             : random_.between(2000, 90000)));
      return;
    default:
      if (random_.percent(30)) return emit("echo some text " + std::to_string(random_.below(100)));
      if (!atoms_) return;
      // Also for terms that have their bits already, and for those that are no atoms.
      emit("atomlit " + terms_[random_term()].name + ' ' + (random_.percent(30) ? "none" : unused_literal()));
  }
}

void ScriptWriter::state_command() {
  emit(
      random_.pick({"hooks", "dumptrail", "dumptrail", "dumptable", "dumpcache", "dumppools", "newfpterms"}));
}

void ScriptWriter::interface_command() {
  std::string const any = terms_[random_term()].name;
  switch (random_.below(8)) {
    case 0: return emit("getbits " + any);
    case 1: return emit("isterminal " + any);
    case 2: return emit("iscached " + any);
    case 3: return emit("notify " + terms_[blastable()].name);
    case 4: return emit("makebits " + any);
    case 5: {
      if (!imposing_) return emit("getbits " + any);
      Term const& t = terms_[blastable()];
      std::string line = "setbits " + t.name;
      bool const fresh = random_.percent(70);
      for (unsigned i = 0; i < t.sort.bits(); ++i) line += ' ' + (fresh ? unused_literal() : literal());
      return emit(line);
    }
    case 6: {
      if (!imposing_) return emit("notify " + terms_[blastable()].name);
      Term const& x = terms_[blastable()];
      std::vector<std::size_t> same;
      for (std::size_t i = 0; i < terms_.size(); ++i)
        if (!terms_[i].scrap && terms_[i].sort == x.sort) same.push_back(i);
      std::string const y = terms_[random_.pick(same)].name;
      return emit("eq " + (random_.percent(75) ? unused_literal() : literal()) + ' ' + x.name + ' ' + y);
    }
    default:
      scrap_term();
      return emit((random_.percent(50) ? "isterminal " : "getbits ") + terms_.back().name);
  }
}

std::vector<std::string> ScriptWriter::handlers_for(Term const& t) {
  switch (t.shape) {
    case Shape::leaf:
      if (t.scrap) {
        if (t.sort.text == "bool")
          return {"word_constant", "bool_variable", "generic_variable", "bool_true", "bool_false"};
        if (t.sort.text == "rm") return {"word_constant", "fp_rounding_variable", "generic_variable"};
        if (t.sort.text.substr(0, 2) == "fp") return {"word_constant", "fp_variable", "generic_variable"};
        return {"word_constant", "word_variable", "generic_variable"};
      }
      switch (t.sort.kind) {
        case Kind::word: return {"word_constant", "word_variable", "generic_variable"};
        case Kind::boolean:
          return {"word_constant", "bool_variable", "generic_variable", "bool_true", "bool_false"};
        case Kind::floating: return {"word_constant", "fp_variable", "generic_variable"};
        case Kind::mode: return {"fp_rounding_variable", "generic_variable"};
        case Kind::other: return {"generic_variable"};
      }
      return {};
    case Shape::word_binary: {
      std::vector<std::string> h = {"word_and", "word_or",   "word_xor",  "word_add",        "word_sub",
                                    "word_mul", "word_udiv", "word_urem", "word_mul_generic"};
      if (t.sort.a > 0) h.insert(h.end(), {"word_sdiv", "word_srem", "word_srem_by_power_of_2"});
      if (t.sort.a > 10) h.resize(5);
      Term const& amount = terms_[t.children[1]];
      if (!amount.negative && t.sort.a > 0 && (t.sort.a <= 16 || amount.numeral))
        h.insert(h.end(), {"word_lsl", "word_lsr", "word_asr", "word_sr 0", "word_sr 1"});
      if (terms_[t.children[0]].numeral) h.insert(h.end(), {"word_mul_by_constant", "word_mul_by_constant"});
      return h;
    }
    case Shape::word_unary: return {"word_not", "word_neg", "word_atom", "word_zext"};
    case Shape::predicate: {
      std::vector<std::string> h = {"word_ult",     "word_ule",     "word_equal",
                                    "word_equal 0", "word_equal 1", "word_equal_noproxy"};
      if (terms_[t.children[0]].sort.bits() > 0) h.insert(h.end(), {"word_slt", "word_sle"});
      return h;
    }
    case Shape::bool_binary: return {"bool_and", "bool_or", "bool_iff"};
    case Shape::bool_unary: return {"bool_not", "word_atom"};
    case Shape::word_ite: return {"word_ite", "generic_ite"};
    case Shape::bool_ite: return {"bool_ite", "generic_ite"};
    case Shape::extract: return {"word_sel"};
    case Shape::concat: return {"word_concat"};
    case Shape::extend: return {"word_zext", "word_sext"};
    case Shape::rotate: return {"word_rol", "word_ror"};
    case Shape::conversion: return {"fp_to_sbv", "fp_to_ubv", "fp_to_bv " + std::to_string(random_.below(8))};
    case Shape::pattern: return {"fp_as_ieeebv"};
    case Shape::opaque: return {"generic_variable"};
  }
  return {};
}

void ScriptWriter::handler_call() {
  if (random_.percent(10)) scrap_term();
  std::size_t const i = terms_.back().scrap && random_.percent(60) ? terms_.size() - 1 : random_term();
  Term const& t = terms_[i];
  std::vector<std::string> const handlers = handlers_for(t);
  // A bool made generic_ite has no bits: only an `ite` becomes a word by it.
  std::string handler = random_.pick(handlers);
  if (t.shape == Shape::bool_ite && handler == "generic_ite" && random_.percent(70)) handler = "bool_ite";
  if ((t.shape == Shape::conversion || (t.shape == Shape::word_binary && t.sort.a > 4)) && !affordable(1500))
    return;
  // An `ite` is looked at by generic_ite without a look at its children: they have to be there.
  bool const unguarded = handler == "generic_ite" && t.shape == Shape::word_ite;
  if (unguarded) {
    if (t.unsupported || t.sort.bits() == 0) return;
    if (termination_) emit("termtest off");
  }
  if (unguarded || random_.percent(70))
    for (std::size_t c : t.children)
      if (terms_[c].sort.bits() != 0 && !terms_[c].scrap) emit("notify " + terms_[c].name);
  std::size_t const blank = handler.find(' ');
  std::string line = "call " + handler.substr(0, blank) + ' ' + t.name;
  if (blank != std::string::npos) line += handler.substr(blank);
  emit(line);
  if (random_.percent(20)) emit("getbits " + t.name);
}

void ScriptWriter::circuit() {
  unsigned const n =
      static_cast<unsigned>(random_.between(random_.percent(90) ? 1 : 0, random_.percent(80) ? 4 : 7));
  unsigned const longer = n + static_cast<unsigned>(random_.percent(10) ? random_.below(3) : 0);
  std::string const name = random_.pick({"bit_not",
                                         "bit_and",
                                         "bit_or",
                                         "bit_xor",
                                         "bit_ite",
                                         "full_adder",
                                         "full_adder",
                                         "word_and",
                                         "word_add",
                                         "word_neg",
                                         "word_ule",
                                         "word_ult",
                                         "word_equal",
                                         "word_sr",
                                         "word_sl",
                                         "word_udiv_simple",
                                         "word_sdiv_simple",
                                         "word_sdiv",
                                         "word_div_complete_semantics",
                                         "fp_rounding"});
  std::string line = "circuit " + name;
  auto const literals = [&](int count) {
    std::string last = literal();
    for (int i = 0; i < count; ++i) {
      line += ' ' + last;
      // Equal and complementary inputs, which gates fold.
      if (!random_.percent(25)) last = literal();
      if (random_.percent(10) && last != "0") last = last.front() == '-' ? last.substr(1) : '-' + last;
    }
  };
  if (name == "bit_not") {
    literals(1);
  } else if (name == "bit_and" || name == "bit_or" || name == "bit_xor") {
    literals(2);
  } else if (name == "bit_ite" || name == "full_adder") {
    literals(3);
  } else if (name == "fp_rounding") {
    line += ' ' + std::to_string(random_.below(6));
  } else if (name == "word_neg") {
    line += ' ' + list(n);
  } else if (name == "word_udiv_simple" || name == "word_sdiv_simple" || name == "word_sdiv") {
    unsigned const m = std::max(1u, std::min(n, 5u));
    if (!affordable(24 * m * m)) return;
    line += ' ' + list(m) + ' ' + list(m);
  } else {
    line += ' ' + list(n) + ' ' + list(longer);
    if (name == "word_ule" || name == "word_ult" || name == "word_equal")
      line += ' ' + (random_.percent(50) ? "0" : random_.percent(80) ? unused_literal() : variable_literal());
    if (name == "word_sr") line += random_.percent(50) ? " 0" : " 1";
  }
  emit(line);
}

void ScriptWriter::backtracking() {
  switch (random_.below(6)) {
    case 0:
    case 1: return emit("push");
    case 2: return emit("pop");
    case 3: return emit("retract " + terms_[random_term()].name);
    case 4: {  // what a solver does for an assertion that it may take back
      std::string const name = terms_[blastable()].name;
      emit("blast " + name);
      return emit("retract " + name);
    }
    default: {
      emit("push");
      emit("blast " + terms_[blastable()].name);
      emit("blast " + terms_[blastable()].name);
      return emit("pop");
    }
  }
}

void ScriptWriter::hook() {
  static std::vector<std::string> const binary = {
      "word_and",      "word_or",  "word_xor", "word_add", "word_sub", "word_mul_generic", "word_variable",
      "word_constant", "word_lsl", "word_lsr", "word_asr", "word_mul", "word_udiv",        "word_srem"};
  static std::vector<std::string> const predicates = {"word_ult",      "word_ule",   "word_slt",
                                                      "word_sle",      "word_equal", "word_equal_noproxy",
                                                      "bool_variable", "bool_false"};
  static std::vector<std::string> const booleans = {"bool_and",  "bool_or",   "bool_iff",     "bool_variable",
                                                    "bool_true", "word_atom", "word_constant"};
  auto const install = [&](std::string const& tag, std::string const& handler) {
    emit("hook " + tag + ' ' + handler);
  };
  switch (random_.below(7)) {
    case 0: return install(random_.pick({"18", "19", "20", "27", "28", "50"}), random_.pick(binary));
    case 1:
      return install(random_.pick({"21", "22", "23", "24", "25", "12", "51"}), random_.pick(predicates));
    case 2: return install(random_.pick({"3", "4", "6"}), random_.pick(booleans));
    case 3:
      return install(random_.pick({"17", "26"}),
                     random_.pick({"word_not", "word_neg", "word_atom", "word_variable"}));
    case 4: return install("52", "word_ite");
    case 5: return install("53", "bool_ite");
    default:
      return install(random_.pick({"30", "31", "32", "33"}),
                     random_.pick({"word_udiv", "word_urem", "word_sdiv", "word_srem"}));
  }
}

}  // namespace vell::generate
