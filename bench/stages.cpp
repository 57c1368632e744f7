// The stages of writing a CNF file, each alone and per unit: reading a script into terms, making terms,
// walking the DAG and caching lists, gates, writing clauses as text.
//
//  reading    a script of definitions, per byte of text, terms made on the way; the same again with the terms
//  there
//             already, which is the parser alone
//  terms      new terms by mk_app; the same terms asked for again
//  traversal  a chain of complements, which cost no clause: over one bit the walk, the dispatch and the cache
//  are left,
//             words of 64 bits add their literals; by bit_blast, and in a given order that drops each list
//             once read
//  gates      a multiplier's clauses into a counter
//  writing    the same clauses recorded, into a DIMACS file that goes nowhere
//  solving    the same clauses into the embedded solver, up to where it would begin to solve; and the
//  solver's own
//             part of that, the same literals handed over by a loop
//
// The smallest of several rounds, in processor time.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "circuits.h"
#include "commands.h"
#include "vell/sinks/countingsink.h"
#include "vell/sinks/dimacssink.h"
#ifdef VELL_BENCH_TOOL
#include <cadical.hpp>

#include "vell/io/source.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sinks/solversink.h"
#include "vell/smtlib/reader.h"
#endif

namespace vell::bench {

namespace {

constexpr int rounds = 7;
constexpr std::uint64_t term_count = 200000;

// `run` returns the seconds of what is to be measured.
double best(std::function<double()> const& run) {
  double seconds = std::numeric_limits<double>::infinity();
  for (int i = 0; i < rounds; ++i) seconds = std::min(seconds, run());
  return seconds;
}

double timed(std::function<void()> const& work) {
  double const start = processor_seconds();
  work();
  return processor_seconds() - start;
}

void print(char const* stage, char const* unit, double seconds, double units) {
  std::printf("%-44s %10.2f ns/%s\n", stage, seconds * 1e9 / units, unit);
  std::fflush(stdout);
}

#ifdef VELL_BENCH_TOOL
void reading() {
  std::string script = "(declare-const x (_ BitVec 32))(define-fun t0 () (_ BitVec 32) x)\n";
  std::uint64_t const definitions = term_count / 2;
  for (std::uint64_t i = 1; i <= definitions; ++i)
    script += "(define-fun t" + std::to_string(i) + " () (_ BitVec 32) (bvadd (bvxor t" +
              std::to_string(i - 1) + " x) t" + std::to_string(i / 2) + "))\n";
  double const bytes = static_cast<double>(script.size());
  auto const read = [&](TermManager& tm) {
    smtlib::Reader reader(tm, io::Source::text(script));
    smtlib::Command command;
    while (reader.next(command)) {
    }
  };
  print("reading, terms made", "byte", best([&] {
          TermManager tm;
          return timed([&] { read(tm); });
        }),
        bytes);
  // Declarations make new variables, so what is read a second time must not depend on one.
  std::string closed = "(define-fun t0 () (_ BitVec 32) #x00000001)\n" + script.substr(script.find('\n') + 1);
  for (std::size_t at = 0; (at = closed.find(" x)", at)) != std::string::npos;) closed.replace(at, 3, " t0)");
  script = closed;
  TermManager tm;
  read(tm);
  print("reading, terms there", "byte", best([&] { return timed([&] { read(tm); }); }),
        static_cast<double>(script.size()));
}
#endif

void terms() {
  auto const make = [](TermManager& tm, Term_ const* x) {
    Term_ const* t = x;
    for (std::uint64_t i = 0; i < term_count; ++i)
      t = tm.mk_app(i % 2 == 0 ? SymbolTag::bv_add : SymbolTag::bv_xor, {t, x});
  };
  double found = std::numeric_limits<double>::infinity();
  double const made = best([&] {
    TermManager tm;
    Term_ const* x = tm.mk_variable("x", tm.bv_type(32));
    double const seconds = timed([&] { make(tm, x); });
    found = std::min(found, timed([&] { make(tm, x); }));
    return seconds;
  });
  print("making a term", "term", made, static_cast<double>(term_count));
  print("finding a term", "term", found, static_cast<double>(term_count));
}

// A chain of bvnot over words of the width, which gives no clause.
void traversal(std::uint64_t width, char const* what, bool forget, char const* unit, double units) {
  double const seconds = best([&] {
    TermManager tm;
    Logger logger;
    bv::WordClausifier clausifier(&tm, nullptr);
    clausifier.set_logger(&logger);
    CountSink sink;
    Term_ const* t = tm.mk_variable("x", tm.bv_type(width));
    std::vector<Term_ const*> order{t};
    for (std::uint64_t i = 0; i < term_count; ++i) order.push_back(t = tm.mk_app(SymbolTag::bv_not, {t}));
    return timed([&] {
      if (!forget) {
        clausifier.bit_blast(t, &sink);
        return;
      }
      for (std::size_t k = 0; k < order.size(); ++k) {
        clausifier.call_hook(&sink, order[k], order[k]->symbol->tag());
        if (k != 0) clausifier.forget(order[k - 1]);
      }
    });
  });
  print(what, unit, seconds, units);
}

class NoOutput : public ByteOutput {
 public:
  void write(char const*, std::size_t size) override { bytes += size; }
  std::uint64_t bytes = 0;
};

void clauses() {
  CircuitRun run({"bvmul", SymbolTag::bv_mul}, 256);
  RecordedClauses const recorded(run);
  double const count = static_cast<double>(recorded.count());
  print("gates of a 256-bit product", "clause", best([&] {
          CountSink sink;
          return timed([&] { run.clausify(sink); });
        }),
        count);
  print("the same, for a file's header", "clause", best([&] {
          sinks::CountingSink sink;
          return timed([&] { run.clausify(sink); });
        }),
        count);
  NoOutput out;
  print("the same, gates and text", "clause", best([&] {
          sinks::DimacsSink sink(out, sinks::DimacsSink::Form::clean);
          return timed([&] { run.clausify(sink); });
        }),
        count);
  print("text of the clauses recorded", "clause", best([&] {
          sinks::DimacsSink sink(out, sinks::DimacsSink::Form::clean);
          return timed([&] { recorded.replay(sink); });
        }),
        count);
}

#ifdef VELL_BENCH_TOOL
// The clauses as the solver takes them: variables from 1, a zero behind each clause.
class SolverLiterals : public bv::ClauseSink {
 public:
  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    for (bv::BvLit l : lits) literals.push_back(sinks::solver_literal(l));
    literals.push_back(0);
    ++clauses;
  }
  std::vector<int> literals;
  std::uint64_t clauses = 0;

 private:
  bv::BvLit next_ = 2;
};

void solving() {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(256));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(256));
  Term_ const* product = tm.mk_app(SymbolTag::bv_mul, {x, y});
  auto const clausify = [&](bv::ClauseSink& sink) {
    Logger logger;
    bv::WordClausifier clausifier(&tm, nullptr);
    clausifier.set_logger(&logger);
    clausifier.bit_blast(product, &sink);
  };
  SolverLiterals prepared;
  clausify(prepared);
  double const count = static_cast<double>(prepared.clauses);
  double own = std::numeric_limits<double>::infinity();
  double const all = best([&] {
    {
      CaDiCaL::Solver solver;
      solver.set("quiet", 1);
      own = std::min(own, timed([&] {
                       for (int l : prepared.literals) solver.add(l);
                     }));
    }
    sinks::SolverSink sink(std::make_unique<sat::CadicalSolver>());
    return timed([&] { clausify(sink); });
  });
  print("gates into the embedded solver", "clause", all, count);
  print("the solver's own part", "clause", own, count);
  std::printf("%-44s %10.1f %%\n", "our share", 100 * (all - own) / all);
}
#endif

}  // namespace

int stage_table() {
  std::printf("\n%-44s %10s\n", "stage", "cost");
#ifdef VELL_BENCH_TOOL
  reading();
#endif
  terms();
  double const n = static_cast<double>(term_count);
  traversal(1, "traversal and cache, one bit", false, "term", n);
  traversal(1, "the same in a given order, lists dropped", true, "term", n);
  traversal(64, "words of 64 bits", false, "cached literal", 64 * n);
  traversal(64, "the same in a given order, lists dropped", true, "cached literal", 64 * n);
  clauses();
#ifdef VELL_BENCH_TOOL
  solving();
#endif
  return 0;
}

}  // namespace vell::bench
