// A time limit. The termination test is called once for every term; it stops the work by throwing, and the
// exception arrives where bit_blast was called. What was encoded until then may stay or be forgotten.

#include <chrono>
#include <iostream>

#include "vell/bv/standardclausifier.h"
#include "vell/sinks/countingsink.h"

using namespace vell;

struct OutOfTime {};

class Deadline : public TerminationTest {
 public:
  explicit Deadline(std::chrono::microseconds limit) : end_(std::chrono::steady_clock::now() + limit) {}
  void operator()() const override {
    if (std::chrono::steady_clock::now() > end_) throw OutOfTime{};
  }

 private:
  std::chrono::steady_clock::time_point end_;
};

int main() {
  TermManager terms;
  sinks::CountingSink sink;
  bv::StandardClausifier clausifier(&terms);

  // x to the power of 101, naively: a hundred multiplications of 32 bits.
  Term_ const* x = terms.mk_variable("x", terms.bv_type(32));
  Term_ const* power = x;
  for (int i = 0; i < 100; ++i) power = terms.mk_app(SymbolTag::bv_mul, {power, x});

  Deadline const deadline(std::chrono::microseconds(50));
  clausifier.set_termination_test(&deadline);
  try {
    clausifier.bit_blast(power, &sink);
    std::cout << "done\n";
  } catch (OutOfTime) {
    std::cout << "out of time, result known: " << clausifier.is_cached(power) << "\n";
  }

  // What is there already is not done again.
  clausifier.set_termination_test(nullptr);
  clausifier.bit_blast(power, &sink);
  std::cout << "resumed, result known: " << clausifier.is_cached(power) << "\n";
  sinks::CountingSink whole;
  bv::StandardClausifier(&terms).bit_blast(power, &whole);
  std::cout << "in two parts and in one: " << (sink.clauses() == whole.clauses() ? "the same" : "different")
            << " number of clauses\n";
}
