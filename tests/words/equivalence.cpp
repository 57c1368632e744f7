#include "tests/words/equivalence.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "tests/generate/random.h"
#include "tests/words/truthtable.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/solversink.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/cone.h"
#include "vell/values/evaluator.h"

namespace vell::test {

namespace {

std::vector<Term_ const*> variables_of(TermManager const& tm, TermPair const& pair) {
  return variables_below_all(tm, {pair.first, pair.second});
}

std::string text_of(TermManager const& tm, TermPair const& pair) {
  return smtlib::term_text(tm, pair.first) + "\n  became " + smtlib::term_text(tm, pair.second);
}

// A new value for each variable in each round.
class RandomWords : public values::Assignment {
 public:
  RandomWords(std::uint64_t seed, std::uint64_t round) : seed_(seed), round_(round) {}

  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
    generate::Random random((seed_ * 1000003 + round_) * 1000003 + t->id);
    std::uint64_t const count = (width + 63) / 64;
    std::uint64_t const kind = random.below(6);
    for (std::uint64_t i = 0; i < count; ++i)
      words[i] = kind == 0   ? 0
                 : kind == 1 ? ~std::uint64_t{0}
                 : kind == 2 ? random.next() & random.next() & random.next()
                             : random.next();
    if (kind < 2) words[0] += random.below(5) - 2;
    if (kind == 3) words[random.below(count)] >>= random.below(64);
    if (width % 64 != 0) words[count - 1] &= (std::uint64_t{1} << (width % 64)) - 1;
  }

 private:
  std::uint64_t seed_;
  std::uint64_t round_;
};

}  // namespace

bool tabulable(TermManager const& tm, TermPair const& pair) {
  Cone cone;
  cone.add(pair.first);
  cone.add(pair.second);
  unsigned bits = 0;
  for (Term_ const* t : cone.terms()) {
    unsigned const width = bits_of(tm, t);
    if (width > TruthTable::max_bits) return false;
    if (t->symbol->arity == 0 && tm.is_uninterpreted_function(t->symbol)) bits += width;
  }
  return bits <= TruthTable::max_bits;
}

std::string tabulated_difference(TermManager const& tm, TermPair const& pair) {
  std::vector<Term_ const*> const variables = variables_of(tm, pair);
  unsigned bits = 0;
  for (Term_ const* v : variables) bits += bits_of(tm, v);
  TruthTable table(tm, bits);
  bits = 0;
  for (Term_ const* v : variables) {
    table.assign(v, bits);
    bits += bits_of(tm, v);
  }
  table.column(pair.first);
  TruthTable::Column const& b = table.column(pair.second);
  TruthTable::Column const& a = table.column(pair.first);
  for (std::size_t row = 0; row < table.rows(); ++row) {
    if (a[row] == b[row]) continue;
    std::string out =
        text_of(tm, pair) + "\n  " + std::to_string(a[row]) + " is not " + std::to_string(b[row]);
    for (Term_ const* v : variables)
      out += ", " + std::string(v->symbol->name) + " = " + std::to_string(table.column(v)[row]);
    return out;
  }
  return "";
}

std::string solved_difference(TermManager& tm, std::span<TermPair const> pairs) {
  Configuration::Theory::Bv config;
  sinks::SolverSink sink(std::make_unique<sat::CadicalSolver>());
  sat::ScriptClausifier clausifier(&tm, &config);
  std::vector<bv::BvLit> differ;
  for (TermPair const& pair : pairs) {
    bool const boolean = pair.first->symbol->get_output_type() == tm.bool_type;
    Term_ const* const equal =
        tm.mk_app(boolean ? SymbolTag::bool_iff : SymbolTag::equal, {pair.first, pair.second});
    differ.push_back(-clausifier.bit_blast(equal, &sink));
  }
  sink.lits.assign(differ.begin(), differ.end());
  sink.add_clause();
  if (sink.solve({}, sinks::Effort()) == sinks::Answer::unsat) return "";
  for (std::size_t i = 0; i < pairs.size(); ++i)
    if (sink.solve({differ[i]}, sinks::Effort()) != sinks::Answer::unsat) return text_of(tm, pairs[i]);
  return "a clause without a culprit";
}

std::string random_difference(TermManager const& tm, TermPair const& pair, std::uint64_t count,
                              std::uint64_t seed) {
  values::Evaluator evaluator(tm);
  std::uint64_t const width = values::value_width(tm, pair.first->symbol->get_output_type());
  std::vector<std::uint64_t> first;
  for (std::uint64_t round = 0; round < count; ++round) {
    RandomWords const assignment(seed, round);
    evaluator.set_assignment(assignment);
    std::uint64_t const* words = evaluator.value(pair.first);
    first.assign(words, words + (width + 63) / 64);
    words = evaluator.value(pair.second);
    if (std::equal(first.begin(), first.end(), words)) continue;
    std::string out =
        text_of(tm, pair) + "\n  " + evaluator.text(pair.first) + " is not " + evaluator.text(pair.second);
    for (Term_ const* v : variables_of(tm, pair))
      out += ", " + std::string(v->symbol->name) + " = " + evaluator.text(v);
    return out;
  }
  return "";
}

}  // namespace vell::test
