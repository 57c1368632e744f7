#include "circuits.h"

#include "vell/terms/operators.h"

namespace vell::bench {

namespace {

constexpr Circuit all[] = {
    {"bvadd", SymbolTag::bv_add}, {"bvsub", SymbolTag::bv_sub},   {"bvneg", SymbolTag::bv_neg},
    {"bvmul", SymbolTag::bv_mul}, {"bvudiv", SymbolTag::bv_udiv}, {"bvsdiv", SymbolTag::bv_sdiv},
    {"bvult", SymbolTag::bv_ult}, {"bvule", SymbolTag::bv_ule},   {"bvslt", SymbolTag::bv_slt},
    {"equal", SymbolTag::equal},  {"bvshl", SymbolTag::bv_shl},   {"bvashr", SymbolTag::bv_ashr},
    {"bvand", SymbolTag::bv_and}, {"bvxor", SymbolTag::bv_xor},
};

// Copies every clause.
class CopySink : public bv::ClauseSink {
 public:
  CopySink(std::vector<bv::BvLit>& literals, std::vector<std::uint8_t>& lengths)
      : literals_(literals), lengths_(lengths) {}

  bv::BvLit new_lit() override { return ++last_; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    literals_.insert(literals_.end(), lits.begin(), lits.end());
    lengths_.push_back(static_cast<std::uint8_t>(lits.size()));
  }

 private:
  bv::BvLit last_ = 1 << 20;
  std::vector<bv::BvLit>& literals_;
  std::vector<std::uint8_t>& lengths_;
};

}  // namespace

std::span<Circuit const> circuits() { return all; }

CircuitRun::CircuitRun(Circuit const& circuit, std::uint64_t width) : clausifier_(&tm_, nullptr) {
  clausifier_.set_logger(&logger_);
  CountSink sink(1);
  std::vector<Term_ const*> operands;
  for (int i = 0; i < operator_arity(circuit.tag); ++i) {
    operands.push_back(tm_.mk_variable(i == 0 ? "x" : "y", tm_.bv_type(width)));
    clausifier_.bit_blast(operands.back(), &sink);
  }
  term_ = tm_.mk_app(circuit.tag, operands);
}

RecordedClauses::RecordedClauses(CircuitRun& run) {
  CopySink sink(literals_, lengths_);
  run.clausify(sink);
}

}  // namespace vell::bench
