// Invariants of the data structures and of what the clausifier says.

#include <algorithm>
#include <cstdlib>

#include "tests/generate/checks.h"
#include "vell/bv/inspector.h"
#include "vell/utils/primes.h"

namespace vell::generate {

namespace {

constexpr char const check[] = "structure";
constexpr char const dispatched[] = "trace BV:Word clausifier - calling a hook for ";

bool starts_with(std::string const& text, char const* prefix) { return text.rfind(prefix, 0) == 0; }

// The decimal numbers among the tokens from `first` on.
std::vector<std::int64_t> numbers(std::vector<std::string> const& tokens, std::size_t first) {
  std::vector<std::int64_t> v;
  for (std::size_t i = first; i < tokens.size(); ++i)
    if (tokens[i] != "[" && tokens[i] != "]" && tokens[i] != "none")
      v.push_back(std::atoll(tokens[i].c_str()));
  return v;
}

}  // namespace

void StructureCheck::check_table(Step const& step) const {
  bv::WordClausifierInspector const inspector(*step.replay.clausifier());
  auto const& cache = inspector.bits_cache();
  std::uint64_t const buckets = cache.bucket_count();
  step.require(std::find(std::begin(hsh::primes), std::end(hsh::primes), buckets) != std::end(hsh::primes),
               check, "the bucket count is no prime of the table");
  std::unordered_set<Term_ const*> keys;
  for (std::uint64_t b = 0; b < buckets; ++b)
    for (auto const* n = cache.chain(b); n != nullptr; n = n->next) {
      step.require(n->key->id % buckets == b, check, "a node stands in a foreign bucket");
      step.require(keys.insert(n->key).second, check, "a term has two nodes");
      step.require(n->value != nullptr, check, "a cached term has no list");
    }
  step.require(keys.size() == cache.size(), check, "the size is not the number of nodes");
  // The last insertion found a load of at most 0.7.
  step.require(
      cache.size() == 0 || static_cast<double>(cache.size() - 1) <= 0.7001 * static_cast<double>(buckets),
      check, "the load limit is exceeded");
  auto const& trail = inspector.trail();
  std::unordered_set<Term_ const*> const on_trail(trail.begin(), trail.end());
  for (Term_ const* t : keys)
    step.require(on_trail.count(t) != 0, check, "a cached term is not on the trail");
  step.require(inspector.hooks().size() >= 63, check, "the hook table has shrunk");
}

void StructureCheck::note_literals_of_script(Step const& step) {
  std::string const& command = step.tokens[0];
  std::size_t first = step.tokens.size();
  if (command == "setbits" || command == "circuit" || command == "fpbits" || command == "atomlit") first = 2;
  std::vector<std::int64_t> named = numbers(step.tokens, first);
  if (command == "eq") named = {std::atoll(step.tokens[1].c_str())};
  for (std::int64_t l : named) {
    known_.insert(std::abs(l));
    if (l == 0 && command != "atomlit") zeros_ = true;
  }
  if (command == "call" || command == "hook")
    zeros_ = zeros_ || std::count(step.tokens.begin(), step.tokens.end(), "word_srem_by_power_of_2") != 0;
  if (command == "nextlit") next_literal_ = std::atoll(step.tokens[1].c_str());
  if (command == "termtest") tested_ = step.tokens[1] != "off";
}

void StructureCheck::check_events(Step const& step) {
  std::uint64_t polls = 0;
  std::uint64_t dispatches = 0;
  bool unsupported_traced = false;
  for (std::string const& event : step.events) {
    std::vector<std::string> const words = tokens_of(event);
    if (words.empty()) continue;
    if (words[0] == "new") {
      std::int64_t const l = std::atoll(words[1].c_str());
      step.require(l == next_literal_, check, "fresh literals do not count upwards");
      ++next_literal_;
      known_.insert(l);
    } else if (words[0] == "fpbits") {
      // Bits of the combination, unless the script gave others.
      Term_ const* t = step.replay.find_term(words[1]);
      for (std::uint64_t i = 0; i < 100; ++i)
        known_.insert(static_cast<std::int64_t>(500000 + 100 * t->id + i));
    } else if (words[0] == "clause") {
      std::vector<std::int64_t> const literals = numbers(words, 1);
      step.require(literals.size() >= 2 && literals.size() <= 4, check,
                   "a clause has no two to four literals");
      for (std::int64_t l : literals) {
        step.require(l != 0 || zeros_, check, "a clause contains the literal 0");
        step.require(std::abs(l) < 2 || known_.count(std::abs(l)) != 0, check,
                     "a clause contains a variable that nobody handed out");
      }
    } else if (words[0] == "poll") {
      ++polls;
    } else if (starts_with(event, dispatched)) {
      ++dispatches;
    } else if (starts_with(event, "trace BV:Word clausifier - Trying to bitblast the unsuported term ")) {
      unsupported_traced = true;
    }
  }
  bool const terminated = step.failed() && step.events.back() == "error terminated";
  if (!tested_) step.require(polls == 0, check, "a null test was called");
  if (tested_ && dispatches > 0)
    step.require(polls == dispatches + (terminated ? 1 : 0), check, "polls and dispatches differ");
  if (terminated) step.require(polls > 0, check, "terminated without a poll");
  if (unsupported_traced)
    step.require(step.failed() && starts_with(step.events.back(), "error not supported: "), check,
                 "an unsupported term raises no error");
  if (step.tokens[0] == "blast" && !step.failed()) {
    Term_ const* t = step.replay.find_term(step.tokens[1]);
    bv::BvLitList const* bits = step.replay.clausifier()->lookup(t);
    step.require(bits != nullptr &&
                     step.events.back() == "blast " + step.tokens[1] + " = " + std::to_string(bits->front()),
                 check, "blast returns something else than the first bit");
  }
  if (step.tokens[0] == "hooks")
    step.require(
        step.events.back() ==
            "hooks " + std::to_string(bv::WordClausifierInspector(*step.replay.clausifier()).hooks().size()),
        check, "hooks");
}

void StructureCheck::after(Step const& step) {
  note_literals_of_script(step);
  check_events(step);
  if (step.replay.clausifier() != nullptr) check_table(step);
}

}  // namespace vell::generate
