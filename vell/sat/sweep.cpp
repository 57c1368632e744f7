// The signature of a signal is its values under random assignments. Signals are visited from the inputs
// upward. Two of equal signature are candidates, and each proved equality is added as clauses, which makes
// the later proofs short.

#include "vell/sat/sweep.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <unordered_map>
#include <unordered_set>

#include "vell/sat/cadicalsolver.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/solversink.h"
#include "vell/terms/cone.h"
#include "vell/values/evaluator.h"
#include "vell/words/wordpolynomials.h"

namespace vell::sat {

namespace {

constexpr unsigned rounds = 192;
using Signature = std::array<std::uint64_t, rounds / 64>;

struct SignatureHash {
  std::size_t operator()(Signature const& s) const {
    std::uint64_t h = 0;
    for (std::uint64_t w : s) h = (h ^ w) * 0x9e3779b97f4a7c15u;
    return h ^ (h >> 29);
  }
};

// Random words: in turn with as many zeros as ones, mostly zeros, and mostly ones. Under balanced words
// alone, signals that are rarely true would have equal signatures.
class RandomAssignment : public values::Assignment {
 public:
  explicit RandomAssignment(unsigned round) : round_(round) {}
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
    // SplitMix64 (Steele, Lea and Flood, 2014), which needs no initialisation: only a word or two are drawn
    // per variable and round.
    std::uint64_t state = (t->id * rounds + round_) * 0xd1342543de82ef95u;
    auto const random = [&state] {
      std::uint64_t z = state += 0x9e3779b97f4a7c15u;
      z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
      z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
      return z ^ (z >> 31);
    };
    for (std::uint64_t i = 0; i < (width + 63) / 64; ++i) {
      words[i] = random();
      if (round_ % 4 == 2) words[i] &= random() & random();
      if (round_ % 4 == 3) words[i] |= random() | random();
    }
    if (width % 64 != 0) words[width / 64] &= (std::uint64_t{1} << (width % 64)) - 1;
  }

 private:
  unsigned round_;
};

class Sweeper {
 public:
  Sweeper(TermManager& tm, std::span<Term_ const* const> formulas, run::Limits const& limits,
          run::Tunables const& tunables)
      : tm_(tm),
        limits_(limits),
        tunables_(tunables),
        polynomials_(tm, false, limits, tunables),
        sink_(std::make_unique<CadicalSolver>(0, CadicalSolver::Search::plain)),
        clausifier_(&tm, &config_) {
    Cone cone(limits);
    cone.add(formulas);
    for (Term_ const* t : cone.sorted())
      if (!tm.is_number(t->symbol) && values::value_width(tm, t->symbol->get_output_type()) != 0)
        terms_.push_back(t);
    sink_.set_terminate([this] { return limits_.stopped(); });
  }

  Sweep run() {
    if (!simulate()) return {};
    try {
      for (std::size_t i = 0; i < terms_.size() && !exhausted(); ++i) visit(i);
    } catch (run::Stopped const&) {
      // The pairs found so far are proved.
    }
    found_.signals = known_.size();
    return std::move(found_);
  }

 private:
  struct Seen {
    Signal signal;
    bv::BvLit literal;
  };

  bool exhausted() const {
    return limits_.stopped() || sink_.conflicts() > tunables_.sweep_conflicts ||
           sink_.clauses() > tunables_.sweep_clauses ||
           work_ > std::min(tunables_.sweep_work,
                            tunables_.sweep_work_first + found_.gain() * tunables_.sweep_work_per_signal);
  }
  std::uint64_t width(std::size_t i) const {
    return values::value_width(tm_, terms_[i]->symbol->get_output_type());
  }

  // Computes the signatures; false if there are too many signals.
  bool simulate() {
    std::size_t signals = 0;
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      first_.push_back(signals);
      signals += width(i);
      if (signals > tunables_.sweep_signals) return false;
    }
    signatures_.resize(signals);
    values::Evaluator evaluator(tm_);
    for (unsigned round = 0; round < rounds && !limits_.stopped(); ++round) {
      RandomAssignment const assignment(round);
      evaluator.set_assignment(assignment);
      for (std::size_t i = 0; i < terms_.size(); ++i) {
        limits_.check();
        std::uint64_t const* words = evaluator.value(terms_[i]);
        std::uint64_t const bits = width(i);
        for (std::uint64_t b = 0; b < bits; ++b)
          signatures_[first_[i] + b][round / 64] |= ((words[b / 64] >> (b % 64)) & 1) << (round % 64);
      }
    }
    return true;
  }

  void visit(std::size_t i) {
    Term_ const* t = terms_[i];
    clausifier_.bit_blast(t, &sink_);
    bv::BvLitList const* bits = clausifier_.lookup(t);
    if (bits == nullptr) return;
    assert(bits->size() == width(i));
    if (tm_.get_tag(t->symbol) == SymbolTag::bv_mul) merge_products(i, *bits);
    for (std::uint64_t b = 0; b < width(i) && !exhausted(); ++b) {
      bv::BvLit literal = (*bits)[b];
      if (bv::is_constant(literal) || !known_.insert(std::abs(literal)).second) continue;
      Signature signature = signatures_[first_[i] + b];
      // A signal and its negation are treated as one: a signature starts with a zero.
      bool const negated = (signature[0] & 1) != 0;
      if (negated) {
        for (std::uint64_t& w : signature) w = ~w;
        literal = -literal;
      }
      if (signature == Signature{}) continue;
      std::vector<Seen>& rivals = seen_[signature];
      Seen const now{{t, b}, literal};
      bool proved = false;
      for (std::size_t k = 0; k < rivals.size() && !proved; ++k)
        if (equal(literal, rivals[k].literal)) {
          merge(now, rivals[k]);
          proved = true;
        }
      if (!proved && rivals.size() < tunables_.sweep_rivals) rivals.push_back(now);
    }
  }

  // Whether the literals are proved equal in every model of the clauses.
  bool equal(bv::BvLit a, bv::BvLit b) {
    bool const proved = !satisfiable(a, -b) && !satisfiable(-a, b);
    if (!proved) ++found_.unproved;
    return proved;
  }
  bool satisfiable(bv::BvLit a, bv::BvLit b) {
    work_ += sink_.fresh_literals();
    sinks::Effort const effort{tunables_.sweep_proof_conflicts, tunables_.sweep_proof_decisions};
    return sink_.solve({a, b}, effort) != sinks::Answer::unsat;
  }

  void merge(Seen const& now, Seen const& before) {
    sink_.add_clause({-now.literal, before.literal});
    sink_.add_clause({now.literal, -before.literal});
    bool const opposite =
        (now.literal == literal_of(now.signal)) != (before.literal == literal_of(before.signal));
    found_.equal.push_back({now.signal, before.signal, opposite});
  }
  bv::BvLit literal_of(Signal const& s) const { return (*clausifier_.lookup(s.term))[s.bit]; }

  // A SAT solver cannot prove that products with their factors in different order are equal.
  void merge_products(std::size_t i, bv::BvLitList const& bits) {
    Term_ const* t = terms_[i];
    std::uint64_t const w = width(i);
    Signature word{};
    for (std::uint64_t b = 0; b < w; ++b)
      for (std::size_t k = 0; k < word.size(); ++k) word[k] = word[k] * 3 + signatures_[first_[i] + b][k];
    for (Term_ const* before : products_[word]) {
      if (before->symbol->get_output_type() != t->symbol->get_output_type()) continue;
      words::Polynomial difference = polynomials_.value(t).p;
      difference.add(polynomials_.value(before).p, -1);
      difference.reduce(w);
      if (!difference.is_zero()) continue;
      for (std::uint64_t b = 0; b < w; ++b) {
        bv::BvLit const other = literal_of({before, b});
        if (bits[b] == other) continue;
        sink_.add_clause({-bits[b], other});
        sink_.add_clause({bits[b], -other});
        found_.equal.push_back({{t, b}, {before, b}, false});
        known_.insert(std::abs(bits[b]));
      }
      return;
    }
    products_[word].push_back(t);
  }

  TermManager& tm_;
  run::Limits const& limits_;
  run::Tunables const tunables_;
  words::WordPolynomials polynomials_;
  Configuration::Theory::Bv config_;
  sinks::SolverSink sink_;
  ScriptClausifier clausifier_;
  std::vector<Term_ const*> terms_;  // operands first
  std::vector<std::size_t> first_;   // by place in terms_: the signature of bit 0
  std::vector<Signature> signatures_;
  std::unordered_set<bv::BvLit> known_;  // variables that were looked at
  std::unordered_map<Signature, std::vector<Seen>, SignatureHash> seen_;
  std::unordered_map<Signature, std::vector<Term_ const*>, SignatureHash> products_;
  Sweep found_;
  std::uint64_t work_ = 0;
};

// A rough size of the products, quotients and remainders in the formulas: the sum of width^2, numeral
// operands aside.
std::uint64_t circuit_cost(TermManager const& tm, std::span<Term_ const* const> formulas,
                           run::Limits const& limits) {
  Cone cone(limits);
  cone.add(formulas);
  std::uint64_t cost = 0;
  for (Term_ const* t : cone.terms()) {
    limits.check();
    switch (tm.get_tag(t->symbol)) {
      case SymbolTag::bv_mul:
      case SymbolTag::bv_udiv:
      case SymbolTag::bv_urem:
      case SymbolTag::bv_sdiv:
      case SymbolTag::bv_srem: {
        std::uint64_t const width = tm.width(t);
        if (!tm.is_number(t->children[0]->symbol) && !tm.is_number(t->children[1]->symbol))
          cost += width * width;
        break;
      }
      default: break;
    }
  }
  return cost;
}

}  // namespace

Sweep sweep(TermManager& tm, std::span<Term_ const* const> formulas, run::Limits const& limits,
            run::Tunables const& tunables) {
  // The caller may be a callback of a solver, through which no exception may pass.
  try {
    if (circuit_cost(tm, formulas, limits) > tunables.sweep_circuits) return {};
    return Sweeper(tm, formulas, limits, tunables).run();
  } catch (run::Stopped const&) {
    return {};
  }
}

}  // namespace vell::sat
