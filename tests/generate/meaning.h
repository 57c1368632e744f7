#pragma once

// Whether the clauses of a run mean what the translated terms mean.
//
// Every list that a term got, and every result of a circuit, is written down as a record: the operation, the
// lists of its operands at that moment, the list that came out. The clauses of the whole run then have to
// admit assignments of the inputs (all of them, unless the script itself imposed something), and in each of
// these the output of every record has to have the one value that the reference arithmetic gives for its
// inputs.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "tests/generate/checks.h"
#include "tests/generate/random.h"
#include "tests/support/reference.h"
#include "vell/terms/qnumber.h"

namespace vell::generate {

struct Record {
  enum class Rule {
    free,        // the output may have every value: variables
    equal,       // the output is the first input
    operation,   // `operation` over the inputs
    constant,    // the output is `constant`
    conversion,  // floating point to integer: inputs mode, value
    sum,         // output: sum and carry of the three inputs
    both,        // quotient followed by remainder
    zero_free,   // the third input where the second, a divisor, is not zero; anything where it is
  };
  Rule rule = Rule::free;
  std::string text;  // for messages
  std::vector<bv::BvLitList> inputs;
  bv::BvLitList output;

  test::Operation operation{SymbolTag::none};
  bool free_for_zero = false;              // a division whose result is open where the second input is zero
  std::optional<test::Word> first_input;   // instead of inputs[0]: the value of a numeral
  std::optional<test::Word> second_input;  // instead of inputs[1]
  test::Word constant = 0;
  test::FpFormat format{0, 0};
  std::optional<IEEEFloat::rounding_mode> mode;  // else inputs[0] holds it
  unsigned width = 0;                            // of a conversion before its top bit goes
};

// Collects clauses and records of a run.
class MeaningCheck : public Watcher {
 public:
  explicit MeaningCheck(std::uint64_t seed) : random_(seed ^ 0x6d65616e696e67u) {}

  void after(Step const& step) override;
  // Looks at some assignments. Throws CheckFailure "meaning".
  void decide(Counts& counts);

  // For tests of the check itself.
  void add_clause(bv::BvLitList const& clause) { clauses_.push_back(clause); }
  void add_record(Record record) { records_.push_back(std::move(record)); }
  void add_input(bv::BvLit variable) { inputs_.insert(variable); }

 private:
  void take_events(Step const& step);
  void take_script_literals(Step const& step);
  void take_terms(Step const& step);
  void take_circuit(Step const& step);
  void use_once(std::int64_t literal);
  void use_as_input(std::int64_t literal);
  void record_term(Step const& step, Term_ const* t, std::string const& handler);
  std::string handler_of(Step const& step, Term_ const* t) const;

  Random random_;
  std::vector<bv::BvLitList> clauses_;
  std::vector<Record> records_;
  std::unordered_set<std::int64_t> known_;   // variables met so far
  std::unordered_set<std::int64_t> inputs_;  // of these, those that nothing but a choice gives a value
  std::unordered_set<std::int64_t> fresh_;   // handed out by the last command
  // The script ties nothing to anything that has a value of its own: every assignment of the inputs must be
  // possible.
  bool free_ = true;
  bool configured_ = true;
  std::int64_t div_semantics_ = 0;
  std::unordered_map<Term_ const*, bv::BvLitList*> lists_;
  std::size_t trail_size_ = 0;
};

// The value that the record's output must have where the inputs have these values; none where every value is
// allowed. The values of `inputs` are those of the record's lists.
std::optional<test::Word> expected_output(Record const& record, std::vector<test::Word> const& inputs);

}  // namespace vell::generate
