#pragma once

// Whether the clauses of a term mean what its operator means: the term is translated once, then its inputs
// are fixed to many values and the outputs that the clauses force are compared with the reference.

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/propagation.h"
#include "tests/support/reference.h"
#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

class QuietLogger {
 protected:
  std::ostringstream quiet_stream_;
  Logger quiet_logger_{quiet_stream_};
};

// A clausifier whose logger is not its own: the one it makes itself is freed by set_logger alone.
class QuietClausifier : private QuietLogger, public bv::WordClausifier {
 public:
  QuietClausifier(TermManager* tm, Configuration::Theory::Bv* config) : WordClausifier(tm, config) {
    set_logger(&quiet_logger_);
  }
};

// An operand of an operation under test. Width 0 stands for a Boolean.
struct Operand {
  enum class Kind {
    variable,
    small_constant,  // a numeral in its usual form
    big_constant,    // a numeral in arbitrary-precision form
    first_operand    // the same term as operand 0
  };
  unsigned width;
  Kind kind = Kind::variable;
  Word value = 0;
};

// A term with its clauses and the means to ask what they force.
class Meaning {
 public:
  explicit Meaning(std::int32_t div_semantics = 0);
  Meaning(Meaning const&) = delete;

  // Translates the operation. Call once.
  void translate(Operation const& op, std::vector<Operand> const& operands);

  // Fixes every operand (those that are constants to their own values) and checks that exactly the
  // reference's value is possible; under div_semantics 1 and a zero divisor, that every one of `free_samples`
  // is. Returns an empty string, or what is wrong.
  std::string check(std::vector<Word> const& values, std::vector<Word> const& free_samples = {});

  TermManager tm;
  Configuration::Theory::Bv config;
  QuietClausifier c{&tm, &config};
  RecordingSink sink;

 private:
  Term_ const* make_operand(Operand const& o, std::vector<Term_ const*> const& earlier);

  Operation op_{SymbolTag::none};
  std::vector<Operand> operands_;
  std::vector<bv::BvLitList> inputs_;
  bv::BvLitList output_;
  std::vector<Propagator> propagator_;  // none or one
};

// Translates and checks all assignments of `values`. Reports the first failure through gtest.
void expect_meaning(Operation const& op, std::vector<Operand> const& operands,
                    std::vector<std::vector<Word>> const& values, std::int32_t div_semantics = 0);

// The tags of the operators over two words of one width that yield a word, and of those that yield a Boolean.
std::vector<SymbolTag::tag> const& word_operators();
std::vector<SymbolTag::tag> const& order_operators();
bool is_division(SymbolTag::tag tag);
// "bvadd" and the like, fit for the name of a test.
std::string test_name(SymbolTag::tag tag);

// Random words of a width: corner values, sparse and dense ones, small ones; the same sequence on every run.
class WordSource {
 public:
  explicit WordSource(std::uint64_t seed) : random_(seed) {}
  Word next(unsigned width);

 private:
  std::mt19937_64 random_;
};

}  // namespace vell::test
