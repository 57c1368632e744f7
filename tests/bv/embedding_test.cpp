// The program that docs/embedding.md shows in pieces. Each piece of the page stands here as it is, up to
// indentation.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "tests/support/markdown.h"
#include "vell/bv/standardclausifier.h"
#include "vell/terms/termmanager.h"
#include "vell/terms/theory.h"

namespace vell::test {
namespace {

// A solver small enough for a test: unit propagation and chronological backtracking. Variables count from 1.
class Solver {
 public:
  int new_variable() {
    values_.push_back(0);
    return static_cast<int>(values_.size()) - 1;
  }
  void add_clause(std::vector<int> const& clause) { clauses_.push_back(clause); }
  bool value(int literal) const { return of(literal) > 0; }

  bool solve(std::vector<int> const& assumptions) {
    values_.assign(values_.size(), 0);
    std::vector<int> trail;
    std::vector<std::size_t> levels;  // where each decision stands on the trail
    for (int a : assumptions) {
      if (of(a) < 0) return false;
      if (of(a) == 0) assign(a, trail);
    }
    for (;;) {
      if (propagate(trail)) {
        int free = 1;
        while (free < static_cast<int>(values_.size()) && values_[static_cast<std::size_t>(free)] != 0)
          ++free;
        if (free == static_cast<int>(values_.size())) return true;
        levels.push_back(trail.size());
        assign(-free, trail);
      } else {
        if (levels.empty()) return false;
        int const decision = trail[levels.back()];
        while (trail.size() > levels.back()) {
          values_[static_cast<std::size_t>(std::abs(trail.back()))] = 0;
          trail.pop_back();
        }
        levels.pop_back();
        assign(-decision, trail);
      }
    }
  }

 private:
  int of(int literal) const {
    int const v = values_[static_cast<std::size_t>(std::abs(literal))];
    return literal < 0 ? -v : v;
  }
  void assign(int literal, std::vector<int>& trail) {
    values_[static_cast<std::size_t>(std::abs(literal))] = literal < 0 ? -1 : 1;
    trail.push_back(literal);
  }
  // False when a clause is violated.
  bool propagate(std::vector<int>& trail) {
    for (bool changed = true; changed;) {
      changed = false;
      for (std::vector<int> const& clause : clauses_) {
        int free = 0;
        int last = 0;
        bool satisfied = false;
        for (int literal : clause) {
          satisfied = satisfied || of(literal) > 0;
          if (of(literal) == 0 && literal != last) {
            ++free;
            last = literal;
          }
        }
        if (satisfied || free > 1) continue;
        if (free == 0) return false;
        assign(last, trail);
        changed = true;
      }
    }
    return true;
  }

  std::vector<int> values_ = {0};
  std::vector<std::vector<int>> clauses_;
};

class SolverSink : public bv::ClauseSink {
 public:
  explicit SolverSink(Solver& solver) : solver_(solver) { solver_.add_clause({solver_.new_variable()}); }

  bv::BvLit new_lit() override { return solver_.new_variable(); }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override { solver_.add_clause(lits); }

 private:
  Solver& solver_;
};

std::uint64_t value_of(Solver const& solver, bv::WordClausifier& clausifier, Term_ const* word) {
  bv::BvLitList bits;
  std::uint64_t value = 0;
  if (!clausifier.get_bits(word, bits)) return 0;  // nothing depends on it: any value will do
  for (std::size_t i = 0; i < bits.size(); ++i)
    if (solver.value(bits[i])) value |= std::uint64_t{1} << i;
  return value;
}

struct Interrupted {};
class FlagTest : public TerminationTest {
 public:
  explicit FlagTest(std::atomic<bool> const& stop) : stop_(stop) {}
  void operator()() const override {
    if (stop_) throw Interrupted{};
  }

 private:
  std::atomic<bool> const& stop_;
};

constexpr auto majority = static_cast<SymbolTag::tag>(64);

class MyClausifier : public bv::StandardClausifier {
 public:
  explicit MyClausifier(TermManager* terms) : StandardClausifier(terms) {
    register_hook(majority, static_cast<Handler>(&MyClausifier::bool_majority));
  }

  void bool_majority(bv::ClauseSink* sink, Term_ const* term) {
    bv::BvLit literal[3];
    for (int i = 0; i < 3; ++i) literal[i] = lookup(term->children[i])->front();
    bv::BvLit sum, carry;
    full_adder(sink, sum, carry, literal[0], literal[1], literal[2]);
    add_to_cache(term, new_BvLitList({carry}));
  }
};

class FpLayer : public FpBvCombination {
 public:
  explicit FpLayer(SolverSink& sink) : sink_(sink) {}
  void encode_term(Term_ const* term) override {
    bv::BvLitList& bits = bits_[term];
    while (bits.size() < 16) bits.push_back(sink_.new_lit());  // (_ FloatingPoint 5 11)
  }
  bool is_encoded(Term_ const* term) const override { return bits_.count(term) != 0; }
  void get_term_bits(Term_ const* term, bv::BvLitList* out) override { *out = bits_.at(term); }

 private:
  SolverSink& sink_;
  std::unordered_map<Term_ const*, bv::BvLitList> bits_;
};

TEST(Embedding, TranslateSolveReadBacktrack) {
  TermManager terms;
  Type const* byte = terms.bv_type(8);
  Term_ const* x = terms.mk_variable("x", byte);
  Term_ const* y = terms.mk_variable("y", byte);
  Term_ const* sum = terms.mk_app(SymbolTag::bv_add, {x, y});
  Term_ const* low = terms.mk_app(SymbolTag::bv_extract, {sum}, 3, 0);  // bits 3 to 0
  Term_ const* goal = terms.mk_app(SymbolTag::equal, {low, terms.mk_bv(9, 4)});

  Term_ const* differ = mk_app(terms, "distinct", {x, y, sum});
  Term_ const* wide = mk_app(terms, "repeat", {x}, {2});
  Term_ const* overflow = mk_app(terms, "bvumulo", {x, y});

  Solver solver;
  SolverSink sink(solver);
  bv::StandardClausifier clausifier(&terms);

  bv::BvLit const g = clausifier.bit_blast(goal, &sink);
  bool const sat = solver.solve({g});

  ASSERT_TRUE(sat);
  EXPECT_EQ((value_of(solver, clausifier, x) + value_of(solver, clausifier, y)) % 16, 9u);
  EXPECT_EQ(value_of(solver, clausifier, low), 9u);
  EXPECT_EQ(value_of(solver, clausifier, terms.mk_variable("z", byte)), 0u);

  clausifier.push_backtrack_point();
  bv::BvLit const h = clausifier.bit_blast(terms.mk_app(SymbolTag::bv_ult, {sum, x}), &sink);
  bool const wraps = solver.solve({g, h});
  clausifier.pop_backtrack_point();

  EXPECT_TRUE(wraps);
  bv::BvLit const o = clausifier.bit_blast(overflow, &sink);
  bv::BvLit const d = clausifier.bit_blast(differ, &sink);
  EXPECT_TRUE(solver.solve({o, d}));
  std::uint64_t const vx = value_of(solver, clausifier, x);
  std::uint64_t const vy = value_of(solver, clausifier, y);
  EXPECT_GT(vx * vy, 255u);
  EXPECT_TRUE(vx != vy && vx != 0 && vy != 0);
  clausifier.bit_blast(wide, &sink);
  EXPECT_TRUE(solver.solve({o, d}));
  EXPECT_EQ(value_of(solver, clausifier, wide), 257 * value_of(solver, clausifier, x));
  EXPECT_TRUE(clausifier.is_cached(sum));
  EXPECT_FALSE(clausifier.is_cached(terms.mk_app(SymbolTag::bv_ult, {sum, x})));

  Term_ const* choice = terms.mk_app(SymbolTag::term_ite, {goal, x, y});
  Term_ const* is_y = terms.mk_app(SymbolTag::equal, {choice, y});
  Term_ const* is_x = terms.mk_app(SymbolTag::equal, {choice, x});
  bv::BvLit const iy = clausifier.bit_blast(is_y, &sink);
  bv::BvLit const ix = clausifier.bit_blast(is_x, &sink);
  EXPECT_TRUE(solver.solve({g, -iy}));
  EXPECT_FALSE(solver.solve({g, -ix}));

  std::atomic<bool> stop = true;
  FlagTest const test(stop);
  clausifier.set_termination_test(&test);
  Term_ const* product = terms.mk_app(SymbolTag::bv_mul, {x, y});
  EXPECT_THROW(clausifier.bit_blast(product, &sink), Interrupted);
  stop = false;
  clausifier.bit_blast(product, &sink);
  EXPECT_TRUE(clausifier.is_cached(product));
}

TEST(Embedding, OperatorOfItsOwn) {
  TermManager terms;
  Term_ const* a = terms.mk_variable("a", terms.bool_type);
  Term_ const* b = terms.mk_variable("b", terms.bool_type);
  Term_ const* c = terms.mk_variable("c", terms.bool_type);
  Symbol const* symbol =
      terms.make_symbol({.name = "majority", .arity = 3, .output_type = terms.bool_type, .tag = majority});
  Term_ const* const arguments[] = {a, b, c};
  Term_ const* most = terms.mk_term(symbol, arguments);

  Solver solver;
  SolverSink sink(solver);
  MyClausifier clausifier(&terms);
  bv::BvLit const m = clausifier.bit_blast(most, &sink);
  bv::BvLit const la = clausifier.bit_blast(a, &sink);
  bv::BvLit const lb = clausifier.bit_blast(b, &sink);
  bv::BvLit const lc = clausifier.bit_blast(c, &sink);
  EXPECT_FALSE(solver.solve({m, -la, -lb}));
  EXPECT_TRUE(solver.solve({m, la, -lb, lc}));
  EXPECT_FALSE(solver.solve({-m, la, lc}));
}

TEST(Embedding, FloatingPointLayer) {
  TermManager terms;
  Term_ const* f = terms.mk_variable("f", terms.fp_type(5, 10));
  Term_ const* pattern = terms.mk_app(SymbolTag::fp_as_ieeebv, {f});
  Term_ const* one = terms.mk_app(SymbolTag::equal, {pattern, terms.mk_bv(0x3c00, 16)});
  Solver solver;
  SolverSink sink(solver);
  FpLayer layer(sink);
  bv::StandardClausifier clausifier(&terms);
  clausifier.set_fp_combination(&layer);
  EXPECT_TRUE(solver.solve({clausifier.bit_blast(one, &sink)}));
  EXPECT_TRUE(layer.is_encoded(f));
  bv::BvLitList bits;
  layer.get_term_bits(f, &bits);
  for (std::size_t i = 0; i < bits.size(); ++i) EXPECT_EQ(solver.value(bits[i]), (0x3c00 >> i & 1) != 0) << i;
}

// ---- the page ----

std::string without_indentation(std::string const& text) {
  std::istringstream lines(text);
  std::string squeezed;
  for (std::string line; std::getline(lines, line);) {
    std::size_t const first = line.find_first_not_of(' ');
    if (first != std::string::npos) squeezed += line.substr(first) + "\n";
  }
  return squeezed;
}

TEST(EmbeddingPage, ShowsPiecesOfThisFile) {
  std::ifstream in(VELL_SOURCE_DIR "/tests/bv/embedding_test.cpp");
  std::string const program = without_indentation({std::istreambuf_iterator<char>(in), {}});
  int pieces = 0;
  for (MarkdownFence const& fence : read_markdown(VELL_SOURCE_DIR "/docs/embedding.md").fences) {
    EXPECT_EQ(fence.info, "cpp") << "docs/embedding.md:" << fence.line;
    EXPECT_NE(program.find("\n" + without_indentation(fence.text)), std::string::npos)
        << "docs/embedding.md:" << fence.line;
    ++pieces;
  }
  EXPECT_GE(pieces, 9);
}

}  // namespace
}  // namespace vell::test
