// What crosses the border of a library and may break there: exceptions both ways, casts to and from
// interfaces, the libraries below it. Global names of its own collide with nothing.

#include <iostream>
#include <memory>

#include "other.h"
#include "vell/bv/standardclausifier.h"
#include "vell/sinks/ipasirsink.h"
#include "vell/terms/operators.h"
#include "vell/utils/version.h"

struct Term_ {
  int unrelated = 1;
};
struct Symbol {};
int emit() { return Term_().unrelated; }

using namespace vell;

struct Stop {};
struct StopTest : TerminationTest {
  void operator()() const override { throw Stop{}; }
};

int main() {
  std::cout << "version: " << VELL_VERSION << "\n";
  TermManager terms;
  vell::Term_ const* x = terms.mk_variable("x", terms.bv_type(8));
  vell::Term_ const* y = terms.mk_variable("y", terms.bv_type(4));
  try {
    terms.mk_app(SymbolTag::bv_add, {x, y});
  } catch (SortError const& e) {
    std::cout << "sort error caught: " << e.what() << "\n";
  }

  std::unique_ptr<bv::ClauseSink> sink = make_sink();
  std::unique_ptr<bv::WordClausifierInterface> clausifier = std::make_unique<bv::StandardClausifier>(&terms);
  try {
    clausifier->bit_blast(terms.mk_variable("n", terms.int_type), sink.get());
  } catch (Exception const& e) {
    std::cout << "unsupported term caught: " << e.what() << "\n";
  }
  StopTest const stop;
  clausifier->set_termination_test(&stop);
  try {
    clausifier->bit_blast(x, sink.get());
  } catch (Stop) {
    std::cout << "test's own exception caught\n";
  }
  clausifier->set_termination_test(nullptr);

  std::cout << QNumber::power_of_two_minus_one(200).to_str() << "\n";
  try {
    sinks::IpasirLibrary("/nowhere/solver.so");
  } catch (Exception const&) {
    std::cout << "no solver: caught\n";
  }

  bool const is_clausifier = dynamic_cast<bv::WordClausifier*>(clausifier.get()) != nullptr;
  std::cout << "the interface is a clausifier: " << (is_clausifier ? "yes" : "no") << "\n";
  std::cout << "the sink is the other file's: " << (made_here(*sink) ? "yes" : "no") << "\n";
  vell::Term_ const* z = terms.mk_variable("z", terms.bool_type);
  vell::Term_ const* w = terms.mk_variable("w", terms.bool_type);
  clausifier->bit_blast(terms.mk_app(SymbolTag::bool_and, {z, w}), sink.get());
  bv::BvLitList bits;
  clausifier->set_bits(z, sink.get(), {bv::l_true});
  std::cout << clause_count(*sink) * static_cast<std::size_t>(emit()) << " clauses\n";
}
