#pragma once

// Comparison of a clausifier with CircuitModel: the same trace lines at every verbosity, the same literals
// and clauses in the same order, the same results, and the same lists of the pool taken and given back.

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/circuitmodel.h"
#include "tests/support/eventtext.h"
#include "vell/bv/inspector.h"
#include "vell/bv/wordclausifier.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

// What to compare. The model's literals and those of the sink start at 100.
struct StreamCase {
  // Caches the children that the action needs, one list each.
  std::function<void(bv::WordClausifier&)> prepare = [](bv::WordClausifier&) {};
  // Each returns its results; lists of circuits are given back to the pool.
  std::function<std::vector<bv::BvLitList>(bv::WordClausifier&, bv::ClauseSink*)> act;
  std::function<std::vector<bv::BvLitList>(CircuitModel&)> model;
  std::int32_t div_semantics = 0;
  // Whether the order in which lists are taken from the pool and given back is fixed.
  bool compare_pool = true;
};

// Runs both at verbosities 2 to 5 and reports the first difference through gtest; false if there is one.
bool expect_same_stream(TermManager& tm, StreamCase const& c, std::string const& what);

// Lists of the pool that are in use and are not the list of a cached term: 0 unless something was lost or is
// held.
std::int64_t stray_lists(bv::WordClausifier const& c);

// A word of literals 2 to 9, their negations and, with the given probability, constants.
bv::BvLitList random_word(std::mt19937& random, std::size_t width, double constants);

// The content of a list of the pool, which goes back.
bv::BvLitList take(bv::WordClausifier& c, bv::BvLitList* list);

// A term of any tag and type over the children, sorts unchecked, printed as `label`.
Term_ const* stream_term(TermManager& tm, SymbolTag::tag tag, Type const* type,
                         std::vector<Term_ const*> const& children, std::string const& label,
                         Symbol::Role role = Symbol::Role::plain, std::uint64_t parameter0 = 0,
                         std::uint64_t parameter1 = 0);

// A rounding-mode constant (0 to 3).
Term_ const* rounding_mode_term(TermManager& tm, int mode);

}  // namespace vell::test
