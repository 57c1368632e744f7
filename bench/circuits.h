#pragma once

// The circuits that the benchmarks run: a term over fresh variables for each operator and width.

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::bench {

// Stores nothing but counts. Its fresh literals lie above those of the operands.
class CountSink : public bv::ClauseSink {
 public:
  explicit CountSink(bv::BvLit last = 1 << 20) : last_(last) {}

  bv::BvLit new_lit() override { return ++last_; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override { ++clauses_; }

  std::uint64_t clauses() const { return clauses_; }

 private:
  bv::BvLit last_;
  std::uint64_t clauses_ = 0;
};

// A circuit by its operator's name.
struct Circuit {
  std::string_view name;
  SymbolTag::tag tag;
};
std::span<Circuit const> circuits();

// A clausifier with the circuit's operands cached, ready to translate the one term again and again.
class CircuitRun {
 public:
  CircuitRun(Circuit const& circuit, std::uint64_t width);

  // Translates the term into the sink and forgets it again.
  void clausify(bv::ClauseSink& sink) {
    clausifier_.bit_blast(term_, &sink);
    clausifier_.retract_upto(term_);
  }

 private:
  TermManager tm_;
  Logger logger_;
  bv::WordClausifier clausifier_;
  Term_ const* term_ = nullptr;
};

// The clauses of one translation, in one row of literals.
class RecordedClauses {
 public:
  explicit RecordedClauses(CircuitRun& run);

  std::uint64_t count() const { return lengths_.size(); }
  // Hands every clause to the sink as the clausifier does: buffer emptied, literals pushed, clause added.
  void replay(bv::ClauseSink& sink) const {
    bv::BvLit const* l = literals_.data();
    for (std::uint8_t n : lengths_) {
      sink.lits.clear();
      if (n == 2)
        sink.push(l[0], l[1]);
      else if (n == 3)
        sink.push(l[0], l[1], l[2]);
      else
        sink.push(l[0], l[1], l[2], l[3]);
      sink.add_clause();
      l += n;
    }
  }

 private:
  std::vector<bv::BvLit> literals_;
  std::vector<std::uint8_t> lengths_;
};

}  // namespace vell::bench
