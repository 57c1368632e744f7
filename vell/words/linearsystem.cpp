// Gauss's elimination over the integers modulo 2^width.
//
// Only odd numbers have inverses there, so the pivot is the entry that the fewest factors of two divide:
// every other entry of the rows still to come is a multiple of it. A row whose constant is not is unsolvable.
// The steps (adding a multiple of one row to another, scaling by an odd number) can be undone, so no solution
// comes or goes.

#include "vell/words/linearsystem.h"

#include <algorithm>
#include <utility>

namespace vell::words {

namespace {

// Factors of two in a nonzero number.
std::uint64_t valuation(mpz_class const& n) { return mpz_scan1(n.get_mpz_t(), 0); }

}  // namespace

void LinearSystem::add(Row row) {
  for (mpz_class& c : row.c) mpz_fdiv_r_2exp(c.get_mpz_t(), c.get_mpz_t(), width_);
  mpz_fdiv_r_2exp(row.right.get_mpz_t(), row.right.get_mpz_t(), width_);
  rows_.push_back(std::move(row));
}

bool LinearSystem::reduce(std::vector<Pivot>& pivots, run::Limits const& limits) {
  pivots.clear();
  mpz_class modulus;
  mpz_setbit(modulus.get_mpz_t(), width_);
  auto const wrap = [&](mpz_class& n) { mpz_fdiv_r_2exp(n.get_mpz_t(), n.get_mpz_t(), width_); };

  std::size_t done = 0;
  while (done < rows_.size()) {
    std::size_t best_row = rows_.size();
    Pivot best{0, width_};
    for (std::size_t i = done; i < rows_.size() && best.valuation > 0; ++i)
      for (std::size_t j = 0; j < unknowns_ && best.valuation > 0; ++j) {
        limits.check();
        if (mpz_class const& c = rows_[i].c[j]; c != 0 && valuation(c) < best.valuation) {
          best_row = i;
          best = {j, valuation(c)};
        }
      }
    if (best_row == rows_.size()) break;
    std::swap(rows_[done], rows_[best_row]);
    Row& row = rows_[done];

    mpz_class odd;
    mpz_fdiv_q_2exp(odd.get_mpz_t(), row.c[best.unknown].get_mpz_t(), best.valuation);
    mpz_class inverse;
    mpz_invert(inverse.get_mpz_t(), odd.get_mpz_t(), modulus.get_mpz_t());
    for (mpz_class& c : row.c) {
      limits.check();
      c *= inverse;
      wrap(c);
    }
    row.right *= inverse;
    wrap(row.right);

    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (i == done) continue;
      // How often the pivot goes into the entry; a row above may keep a rest.
      mpz_class times;
      mpz_fdiv_q_2exp(times.get_mpz_t(), rows_[i].c[best.unknown].get_mpz_t(), best.valuation);
      if (times == 0) continue;
      for (std::size_t j = 0; j < unknowns_; ++j) {
        limits.check();
        if (row.c[j] == 0) continue;
        rows_[i].c[j] -= times * row.c[j];
        wrap(rows_[i].c[j]);
      }
      rows_[i].right -= times * row.right;
      wrap(rows_[i].right);
    }
    pivots.push_back(best);
    ++done;
  }

  for (std::size_t i = 0; i < rows_.size(); ++i) {
    // The left side is a multiple of 2^v, whatever the values.
    std::uint64_t const v = i < done ? pivots[i].valuation : width_;
    if (rows_[i].right != 0 && valuation(rows_[i].right) < v) return false;
  }
  rows_.resize(done);
  return true;
}

}  // namespace vell::words
