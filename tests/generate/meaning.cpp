#include "tests/generate/meaning.h"

#include <algorithm>
#include <cstdlib>

#include "tests/support/meaning.h"
#include "tests/support/propagation.h"
#include "vell/bv/inspector.h"

namespace vell::generate {

using bv::BvLit;
using bv::BvLitList;
using test::Word;

namespace {

constexpr char const check[] = "meaning";

bool has_zero(BvLitList const& l) { return std::count(l.begin(), l.end(), bv::l_undef) != 0; }

}  // namespace

// ---- what a run says ----

// A literal of the script that becomes the name of a result: nothing may have used it before.
void MeaningCheck::use_once(std::int64_t literal) {
  if (std::abs(literal) < 2 || !known_.insert(std::abs(literal)).second) free_ = false;
}

// A literal of the script that is given to something: where it is new, it may have every value.
void MeaningCheck::use_as_input(std::int64_t literal) {
  std::int64_t const v = std::abs(literal);
  if (v >= 2 && known_.insert(v).second) inputs_.insert(v);
}

void MeaningCheck::take_script_literals(Step const& step) {
  std::string const& command = step.tokens[0];
  auto const number = [&](std::size_t i) { return std::atoll(step.tokens[i].c_str()); };
  if (command == "circuit") {
    std::string const& name = step.tokens[1];
    bool const has_output = name == "word_ule" || name == "word_ult" || name == "word_equal";
    std::size_t const inputs = step.tokens.size() - (has_output ? 1 : 0);
    for (std::size_t i = 2; i < inputs; ++i)
      if (step.tokens[i] != "[" && step.tokens[i] != "]") use_as_input(number(i));
    if (has_output && number(inputs) != 0) use_once(number(inputs));
  } else if (command == "fpbits") {
    for (std::size_t i = 2; i < step.tokens.size(); ++i) use_as_input(number(i));
  } else if (command == "setbits") {
    bool const tied = lists_.count(step.replay.find_term(step.tokens[1])) != 0;
    for (std::size_t i = 2; i < step.tokens.size(); ++i) tied ? use_once(number(i)) : use_as_input(number(i));
  } else if (command == "eq" && !step.events.empty() && step.events.back() == "eq = true") {
    use_once(number(1));
  } else if (command == "config") {
    if (step.tokens[1] == "null")
      configured_ = false;
    else
      div_semantics_ = number(2);
  }
}

void MeaningCheck::take_events(Step const& step) {
  fresh_.clear();
  for (std::string const& event : step.events) {
    std::vector<std::string> const words = tokens_of(event);
    if (words.empty()) continue;
    if (words[0] == "new") {
      std::int64_t const l = std::atoll(words[1].c_str());
      if (!known_.insert(l).second) free_ = false;  // a number given out twice
      fresh_.insert(l);
    } else if (words[0] == "atom" && words[2] != "none" && words[2] != "0") {
      use_once(std::atoll(words[2].c_str()));
    } else if (words[0] == "clause") {
      BvLitList clause;
      for (std::size_t i = 1; i < words.size(); ++i) clause.push_back(std::atoi(words[i].c_str()));
      clauses_.push_back(std::move(clause));
    }
  }
}

void MeaningCheck::take_terms(Step const& step) {
  bv::WordClausifier& c = *step.replay.clausifier();
  std::string const& command = step.tokens[0];
  auto const& trail = bv::WordClausifierInspector(c).trail();
  if (command == "pop" || command == "retract") {
    // What was forgotten may come again.
    std::erase_if(lists_, [&](auto const& l) { return c.lookup(l.first) == nullptr; });
  } else if (command == "setbits" || command == "makebits") {
    Term_ const* t = step.replay.find_term(step.tokens[1]);
    BvLitList const* bits = c.lookup(t);
    bool const tied = lists_.count(t) != 0;
    if (bits != nullptr && (tied || command == "makebits") && !step.failed()) {
      Record r;
      r.rule = Record::Rule::equal;
      r.text = "line " + std::to_string(step.number) + ": " + step.line;
      std::vector<std::string> const other =
          command == "setbits" ? step.tokens : tokens_of(step.events.back());
      for (std::size_t i = command == "setbits" ? 2 : 3; i < other.size(); ++i)
        r.output.push_back(std::atoi(other[i].c_str()));
      r.inputs.push_back(*bits);
      r.inputs[0].resize(r.output.size());
      records_.push_back(std::move(r));
    } else if (bits != nullptr && !tied) {
      Record r;
      r.text = "line " + std::to_string(step.number) + ": imposed bits";
      r.output = *bits;
      records_.push_back(std::move(r));
      lists_[t] = c.lookup(t);
    }
  } else {
    std::vector<Term_ const*> translated;
    for (std::size_t i = std::min(trail_size_, trail.size()); i < trail.size(); ++i) {
      Term_ const* t = trail[i];
      BvLitList* list = t == nullptr ? nullptr : c.lookup(t);
      if (list == nullptr) continue;
      auto const [known, added] = lists_.emplace(t, list);
      if (!added && known->second == list) continue;  // an entry of a root that was translated before
      known->second = list;
      translated.push_back(t);
    }
    // A root stands on the trail before its children; they have smaller ids.
    std::sort(translated.begin(), translated.end(),
              [](Term_ const* x, Term_ const* y) { return x->id < y->id; });
    for (Term_ const* t : translated)
      record_term(step, t, command == "call" ? step.tokens[1] : handler_of(step, t));
  }
  trail_size_ = trail.size();

  if (command == "eq" && !step.events.empty() && step.events.back() == "eq = true") {
    Record r;
    r.rule = Record::Rule::operation;
    r.operation.tag = SymbolTag::equal;
    r.text = "line " + std::to_string(step.number) + ": " + step.line;
    for (std::size_t i : {2u, 3u}) r.inputs.push_back(*c.lookup(step.replay.find_term(step.tokens[i])));
    r.inputs[1].resize(r.inputs[0].size());
    r.output = {std::atoi(step.tokens[1].c_str())};
    records_.push_back(std::move(r));
  }
}

void MeaningCheck::after(Step const& step) {
  take_script_literals(step);
  take_events(step);
  if (step.tokens[0] == "circuit") take_circuit(step);
  if (step.replay.clausifier() != nullptr) take_terms(step);
}

// ---- what it means ----

void MeaningCheck::decide(Counts& counts) {
  counts.clauses += clauses_.size();
  // The literal 0 means nothing.
  if (std::any_of(clauses_.begin(), clauses_.end(), has_zero)) return;
  std::erase_if(records_, [](Record const& r) {
    bool const too_long =
        r.output.size() > 128 ||
        std::any_of(r.inputs.begin(), r.inputs.end(), [](BvLitList const& l) { return l.size() > 128; });
    return too_long || has_zero(r.output) || std::any_of(r.inputs.begin(), r.inputs.end(), has_zero);
  });
  if (free_) ++counts.free_scripts;

  // Variables without gaps, in the order of appearance.
  test::RecordingSink sink;
  std::unordered_map<BvLit, BvLit> numbers;
  auto const renumber = [&](BvLitList& list) {
    for (BvLit& l : list) {
      if (bv::is_constant(l)) continue;
      auto [number, added] = numbers.try_emplace(std::abs(l), 0);
      if (added) number->second = sink.new_lit();
      l = l < 0 ? -number->second : number->second;
    }
  };
  for (Record& r : records_) {
    for (BvLitList& l : r.inputs) renumber(l);
    renumber(r.output);
  }
  sink.clauses = clauses_;
  for (BvLitList& clause : sink.clauses) renumber(clause);
  test::Propagator p(sink);
  std::vector<bool> is_input(static_cast<std::size_t>(sink.next), false);
  for (std::int64_t v : inputs_)
    if (auto const number = numbers.find(static_cast<BvLit>(v)); number != numbers.end())
      is_input[static_cast<std::size_t>(number->second)] = true;

  auto const fail = [&](Record const& r, std::string const& message) {
    throw CheckFailure(check, r.text + ": " + message);
  };

  int const samples = 10;
  for (int sample = 0; sample < samples; ++sample) {
    p.reset();
    test::WordSource words(random_.next());
    Word last = 0;
    std::vector<bool> unchosen = is_input;
    bool possible = p.assume({});
    if (!possible && free_) throw CheckFailure(check, "the clauses contradict each other");

    // Gives the open bits of a list the bits of a random word; false when that is impossible.
    auto const choose = [&](Record const& r, BvLitList const& list) {
      if (list.empty()) return true;
      unsigned const n = static_cast<unsigned>(list.size());
      if (!random_.percent(20)) last = words.next(std::min(n, 127u));
      for (unsigned i = 0; i < n; ++i) {
        std::size_t const variable = static_cast<std::size_t>(std::abs(list[i]));
        bool const determined = p.value(list[i]) != 0;
        if (free_ && determined && unchosen[variable])
          fail(r, "the clauses forbid an assignment of the inputs");
        unchosen[variable] = false;
        if (determined) continue;
        BvLit const wanted = (last >> i & 1) != 0 ? list[i] : -list[i];
        std::size_t const mark = p.mark();
        if (p.assume({&wanted, 1})) continue;
        if (free_) fail(r, "the clauses forbid an assignment of the inputs");
        p.withdraw(mark);
        BvLit const other = -wanted;
        if (!p.assume({&other, 1})) return false;
      }
      return true;
    };
    auto const value_of = [&](BvLitList const& list) {
      Word v = 0;
      for (std::size_t i = 0; i < list.size(); ++i)
        if (p.value(list[i]) > 0) v |= Word{1} << i;
      return v;
    };

    for (Record const& r : records_) {
      if (!possible) break;
      std::vector<Word> inputs;
      for (BvLitList const& l : r.inputs) possible = possible && choose(r, l);
      if (!possible) break;
      for (BvLitList const& l : r.inputs) inputs.push_back(value_of(l));
      std::optional<Word> const expected = expected_output(r, inputs);
      if (!expected) {
        possible = choose(r, r.output);
        continue;
      }
      ++counts.records;
      for (std::size_t i = 0; possible && i < r.output.size(); ++i) {
        BvLit const right = (*expected >> i & 1) != 0 ? r.output[i] : -r.output[i];
        if (p.value(right) > 0) continue;
        if (p.value(right) < 0) {
          // Where the script imposes things, propagation may not have seen yet that there is no such model.
          if (free_ || p.satisfiable())
            fail(
                r, "bit " + std::to_string(i) + " of the result is wrong for " + [&] {
                  std::string text;
                  for (Word v : inputs) text += ' ' + test::to_hex(v);
                  return text + ", expected " + test::to_hex(*expected);
                }());
          possible = false;
          break;
        }
        // Left open by propagation: the wrong value must be impossible.
        std::size_t const mark = p.mark();
        BvLit const wrong = -right;
        bool const wrong_possible = p.assume({&wrong, 1}) && p.satisfiable();
        p.withdraw(mark);
        if (wrong_possible) fail(r, "bit " + std::to_string(i) + " of the result is left open");
        possible = p.assume({&right, 1});
        if (!possible && free_) fail(r, "the clauses forbid the right result");
      }
    }
    if (possible) ++counts.models;
  }
}

}  // namespace vell::generate
