#include "vell/terms/qnumber.h"

#include <utility>

#include "vell/terms/exception.h"
#include "vell/terms/qnumber_gmp.h"

namespace vell {

namespace {

// mpz_set_si takes a long; int64_t is one on every 64-bit platform the library supports.
static_assert(sizeof(long) == sizeof(std::int64_t));

void set_int64(mpz_t out, std::int64_t v) { mpz_set_si(out, static_cast<long>(v)); }

void load(QNumber const& q, mpz_t numerator, mpz_t denominator) {
  if (GmpPair const* g = q.gmp()) {
    mpz_set(numerator, g->numerator);
    mpz_set(denominator, g->denominator);
  } else {
    set_int64(numerator, q.small_numerator());
    set_int64(denominator, q.small_denominator());
  }
}

// Three-way comparison of a/b with c/d: both denominators are divided by their gcd, then cross-multiplied.
// Negative denominators turn the sign.
int compare(QNumber const& x, QNumber const& y) {
  if (!x.is_big() && !y.is_big() && x.small_denominator() == y.small_denominator()) {
    int const c = (x.small_numerator() > y.small_numerator()) - (x.small_numerator() < y.small_numerator());
    return x.small_denominator() > 0 ? c : -c;
  }
  GmpPair a, b;
  load(x, a.numerator, a.denominator);
  load(y, b.numerator, b.denominator);
  GmpPair& tmp = QNumber::gmp_tmp;
  mpz_gcd(tmp.numerator, a.denominator, b.denominator);
  mpz_divexact(tmp.denominator, b.denominator, tmp.numerator);
  mpz_mul(a.numerator, a.numerator, tmp.denominator);
  mpz_divexact(tmp.denominator, a.denominator, tmp.numerator);
  mpz_mul(b.numerator, b.numerator, tmp.denominator);
  int const c = mpz_cmp(a.numerator, b.numerator);
  int const flips = (mpz_sgn(a.denominator) < 0) != (mpz_sgn(b.denominator) < 0) ? -1 : 1;
  return flips * ((c > 0) - (c < 0));
}

}  // namespace

QNumber::QNumber(QNumber const& other) : denominator_(other.denominator_) {
  if (!other.is_big()) {
    small_ = other.small_;
    return;
  }
  big_ = new GmpPair;
  mpz_set(big_->numerator, other.big_->numerator);
  mpz_set(big_->denominator, other.big_->denominator);
}

void QNumber::swap(QNumber& other) noexcept {
  std::swap(small_, other.small_);
  std::swap(denominator_, other.denominator_);
}

void QNumber::release() { delete big_; }

thread_local GmpPair QNumber::gmp_tmp;

QNumber QNumber::from_digits(std::string_view digits, int base, bool force_big) {
  GmpPair* g = new GmpPair;
  QNumber q;
  q.big_ = g;
  q.denominator_ = 0;
  mpz_set_ui(g->denominator, 1);
  std::string const text(digits);
  // mpz_set_str skips white space and, in some bases, prefixes; neither is a digit here.
  std::size_t const start = !text.empty() && text[0] == '-' ? 1 : 0;
  char const* const allowed = base == 2 ? "01" : base == 10 ? "0123456789" : "0123456789abcdefABCDEF";
  if (start == text.size() || text.find_first_not_of(allowed, start) != std::string::npos ||
      mpz_set_str(g->numerator, text.c_str(), base) != 0)
    throw Exception("not an integer of base " + std::to_string(base) + ": " + text);
  if (!force_big && mpz_fits_slong_p(g->numerator)) return QNumber(mpz_get_si(g->numerator));
  return q;
}

QNumber QNumber::power_of_two_minus_one(std::uint64_t exponent) {
  if (exponent < 63) return QNumber((std::int64_t{1} << exponent) - 1);
  if (exponent == 63) return QNumber(INT64_MAX);
  QNumber q;
  q.big_ = new GmpPair;
  q.denominator_ = 0;
  mpz_set_ui(q.big_->denominator, 1);
  mpz_setbit(q.big_->numerator, exponent);
  mpz_sub_ui(q.big_->numerator, q.big_->numerator, 1);
  return q;
}

QNumber QNumber::from_words(std::uint64_t const* words, std::size_t count) {
  while (count > 0 && words[count - 1] == 0) --count;
  if (count == 0) return QNumber(0);
  if (count == 1 && words[0] <= static_cast<std::uint64_t>(INT64_MAX))
    return QNumber(static_cast<std::int64_t>(words[0]));
  QNumber q;
  q.big_ = new GmpPair;
  q.denominator_ = 0;
  mpz_set_ui(q.big_->denominator, 1);
  mpz_import(q.big_->numerator, count, -1, sizeof(std::uint64_t), 0, 0, words);
  return q;
}

bool QNumber::big_test_bit(std::uint64_t i) const { return mpz_tstbit(big_->numerator, i) != 0; }

void QNumber::clear_bit(std::uint64_t i) {
  if (is_big())
    mpz_clrbit(big_->numerator, i);
  else if (i < 64)
    small_ = static_cast<std::int64_t>(static_cast<std::uint64_t>(small_) & ~(std::uint64_t{1} << i));
}

std::uint64_t QNumber::lowest_set_bit(std::uint64_t from) const {
  if (is_big()) return mpz_scan1(big_->numerator, from);
  if (from >= 64) return UINT64_MAX;
  std::uint64_t const rest = static_cast<std::uint64_t>(small_) >> from << from;
  return rest == 0 ? UINT64_MAX : static_cast<std::uint64_t>(__builtin_ctzll(rest));
}

int QNumber::sign() const {
  if (is_big()) return mpz_sgn(big_->numerator) * (mpz_sgn(big_->denominator) < 0 ? -1 : 1);
  int const s = (small_ > 0) - (small_ < 0);
  return denominator_ < 0 ? -s : s;
}

std::uint64_t QNumber::size_in_base_2() const {
  if (is_big()) return mpz_sizeinbase(big_->numerator, 2);
  std::uint64_t const u = static_cast<std::uint64_t>(small_);
  std::uint64_t const magnitude = small_ < 0 ? 0 - u : u;
  return magnitude == 0 ? 1 : 64 - static_cast<std::uint64_t>(__builtin_clzll(magnitude));
}

bool QNumber::fits_int64() const { return !is_big() || mpz_fits_slong_p(big_->numerator) != 0; }

std::int64_t QNumber::to_int64() const {
  if (!is_big()) return small_;
  return fits_int64() ? mpz_get_si(big_->numerator) : 0;
}

QNumber QNumber::exact_quotient() const {
  if (!is_big() && denominator_ != -1) return QNumber(small_ / denominator_);
  GmpPair a;
  load(*this, a.numerator, a.denominator);
  mpz_divexact(a.numerator, a.numerator, a.denominator);
  if (mpz_fits_slong_p(a.numerator)) return QNumber(mpz_get_si(a.numerator));
  QNumber q;
  q.big_ = new GmpPair;
  q.denominator_ = 0;
  mpz_swap(q.big_->numerator, a.numerator);
  mpz_set_ui(q.big_->denominator, 1);
  return q;
}

std::string QNumber::to_str() const {
  if (denominator_ == 1) return std::to_string(small_);
  GmpPair a;
  load(*this, a.numerator, a.denominator);
  auto text = [](mpz_t const z) {
    std::string s(mpz_sizeinbase(z, 10) + 2, '\0');
    mpz_get_str(s.data(), 10, z);
    s.resize(s.find('\0'));
    return s;
  };
  std::string s = text(a.numerator);
  if (mpz_cmp_ui(a.denominator, 1) != 0) s += "/" + text(a.denominator);
  return s;
}

std::uint64_t QNumber::hash() const {
  auto mix = [](std::uint64_t h, std::uint64_t w) { return (h ^ w) * 0x9e3779b97f4a7c15u ^ (h >> 29); };
  if (!is_big())
    return mix(mix(0, static_cast<std::uint64_t>(small_)), static_cast<std::uint64_t>(denominator_));
  std::uint64_t h = mix(1, static_cast<std::uint64_t>(mpz_sgn(big_->numerator)));
  std::size_t const n = mpz_size(big_->numerator);
  for (std::size_t i = 0; i < n; ++i) h = mix(h, mpz_getlimbn(big_->numerator, static_cast<mp_size_t>(i)));
  return h;
}

bool operator<(QNumber const& a, QNumber const& b) { return compare(a, b) < 0; }
bool operator==(QNumber const& a, QNumber const& b) { return compare(a, b) == 0; }

void get_numerator(QNumber const& q, mpz_t out) {
  if (GmpPair const* g = q.gmp())
    mpz_set(out, g->numerator);
  else
    set_int64(out, q.small_numerator());
}

}  // namespace vell
