// Bits and interval each know what the other cannot say: an interval of x % 10, bits of x & 6. After each
// operator they are brought together: the interval lies between the known ones alone and all but the known
// zeros, and the leading bits that both its ends have in common are known.
//
// (Known bits of a sum: from the sum of the least values and that of the greatest, whose carries bound every
// carry in between. Regehr and Duongsaa, "Deriving Abstract Transfer Functions", 2006.)

#include "vell/words/analysis/wordbounds.h"

#include <algorithm>

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

mpz_class ones_below(std::uint64_t n) { return (mpz_class(1) << n) - 1; }
std::uint64_t bits_of(mpz_class const& n) { return n == 0 ? 0 : mpz_sizeinbase(n.get_mpz_t(), 2); }
bool has(mpz_class const& n, std::uint64_t i) { return mpz_tstbit(n.get_mpz_t(), i) != 0; }
// So many low bits are set.
std::uint64_t trailing_ones(mpz_class const& n) { return mpz_scan0(n.get_mpz_t(), 0); }

}  // namespace

WordBounds::WordBounds(std::uint64_t width) : width_(width), mask_(ones_below(width)), high_(mask_) {}

WordBounds WordBounds::constant(mpz_class const& n, std::uint64_t width) {
  WordBounds out(width);
  out.ones_ = out.low_ = out.high_ = n;
  out.zeros_ = out.mask_ ^ n;
  return out;
}

bool WordBounds::contains(mpz_class const& n) const {
  return low_ <= n && n <= high_ && (n & zeros_) == 0 && (n & ones_) == ones_;
}

bool WordBounds::knows(std::uint64_t i) const { return has(zeros_, i) || has(ones_, i); }

int WordBounds::sign() const { return has(ones_, width_ - 1) ? 1 : has(zeros_, width_ - 1) ? 0 : -1; }

void WordBounds::tighten() {
  for (;;) {
    if (ones_ > low_) low_ = ones_;
    mpz_class const most = mask_ ^ zeros_;
    if (most < high_) high_ = most;
    if (low_ > high_) return;
    std::uint64_t const differing = bits_of(low_ ^ high_);
    mpz_class const common = (low_ >> differing) << differing;
    mpz_class const clear = (mask_ ^ common) & (mask_ ^ ones_below(differing));
    if ((ones_ & common) == common && (zeros_ & clear) == clear) return;
    ones_ |= common;
    zeros_ |= clear;
  }
}

void WordBounds::at_least(mpz_class const& n) {
  if (n > low_) low_ = n;
  tighten();
}
void WordBounds::at_most(mpz_class const& n) {
  if (n < high_) high_ = n;
  tighten();
}
void WordBounds::not_equal(mpz_class const& n) {
  if (low_ == n) ++low_;
  if (high_ == n) --high_;
  tighten();
}
void WordBounds::has_bits(mpz_class const& n, std::uint64_t lsb, std::uint64_t count) {
  ones_ |= n << lsb;
  zeros_ |= (ones_below(count) ^ n) << lsb;
  tighten();
}

void WordBounds::join(WordBounds const& other) {
  zeros_ &= other.zeros_;
  ones_ &= other.ones_;
  low_ = std::min(low_, other.low_);
  high_ = std::max(high_, other.high_);
}

WordBounds WordBounds::complemented() const {
  WordBounds out(width_);
  out.zeros_ = ones_;
  out.ones_ = zeros_;
  out.low_ = mask_ ^ high_;
  out.high_ = mask_ ^ low_;
  return out;
}

// Modulo 2^width, with a carry in.
WordBounds WordBounds::sum(WordBounds const& a, WordBounds const& b, bool carry) {
  WordBounds out(a.width_);
  mpz_class const& mask = out.mask_;
  mpz_class const in = carry ? 1 : 0;
  mpz_class const greatest = mpz_class((mask ^ a.zeros_) + (mask ^ b.zeros_) + in) & mask;
  mpz_class const least = mpz_class(a.ones_ + b.ones_ + in) & mask;
  // The carry into a bit is that of both sums, where they agree.
  mpz_class const carry_clear = mask ^ (greatest ^ a.zeros_ ^ b.zeros_);
  mpz_class const carry_set = least ^ a.ones_ ^ b.ones_;
  mpz_class const known = (a.zeros_ | a.ones_) & (b.zeros_ | b.ones_) & (carry_clear | carry_set);
  out.zeros_ = (mask ^ greatest) & known;
  out.ones_ = least & known;
  mpz_class const low = a.low_ + b.low_ + in;
  mpz_class const high = a.high_ + b.high_ + in;
  if (high <= mask || low > mask) {
    out.low_ = low & mask;
    out.high_ = high & mask;
  }
  out.tighten();
  return out;
}

WordBounds WordBounds::product(WordBounds const& a, WordBounds const& b) {
  WordBounds out(a.width_);
  // The low bits that are known of both factors make those of the product; zeros below add up.
  std::uint64_t const zeros = std::min(a.width_, trailing_ones(a.zeros_) + trailing_ones(b.zeros_));
  std::uint64_t const count =
      std::min({a.width_, trailing_ones(a.zeros_ | a.ones_), trailing_ones(b.zeros_ | b.ones_)});
  mpz_class const low_bits = mpz_class(a.ones_ * b.ones_) & ones_below(count);
  out.ones_ = low_bits;
  out.zeros_ = (ones_below(count) ^ low_bits) | ones_below(zeros);
  mpz_class const high = a.high_ * b.high_;
  if (high <= out.mask_) {
    out.low_ = a.low_ * b.low_;
    out.high_ = high;
  }
  out.tighten();
  return out;
}

// x / 0 = 1..1, x % 0 = x.
WordBounds WordBounds::division(Tag tag, WordBounds const& a, WordBounds const& b) {
  WordBounds out(a.width_);
  if (tag == Tag::bv_udiv) {
    if (b.high_ != 0) out.low_ = a.low_ / b.high_;
    if (b.low_ != 0) out.high_ = a.high_ / b.low_;
  } else if (a.high_ < b.low_) {
    return a;
  } else {
    out.high_ = b.low_ != 0 ? std::min(a.high_, mpz_class(b.high_ - 1)) : a.high_;
  }
  out.tighten();
  return out;
}

WordBounds WordBounds::shift(Tag tag, WordBounds const& a, WordBounds const& b) {
  WordBounds out(a.width_);
  std::uint64_t const w = a.width_;
  auto const amount = [w](mpz_class const& n) { return n < w ? n.get_ui() : w; };
  std::uint64_t const least = amount(b.low_);
  std::uint64_t const most = amount(b.high_);
  if (tag == Tag::bv_shl) {
    out.zeros_ = ones_below(std::min(w, trailing_ones(a.zeros_) + least));
    mpz_class const high = a.high_ << most;
    if (high <= out.mask_) {
      out.low_ = a.low_ << least;
      out.high_ = high;
    }
  } else if (tag == Tag::bv_lshr || a.sign() == 0) {
    out.low_ = a.low_ >> most;
    out.high_ = a.high_ >> least;
  }
  out.tighten();
  return out;
}

WordBounds WordBounds::bitwise(Tag tag, WordBounds const& a, WordBounds const& b) {
  WordBounds out(a.width_);
  if (tag == Tag::bv_and) {
    out.zeros_ = a.zeros_ | b.zeros_;
    out.ones_ = a.ones_ & b.ones_;
    out.high_ = std::min(a.high_, b.high_);
  } else if (tag == Tag::bv_or) {
    out.zeros_ = a.zeros_ & b.zeros_;
    out.ones_ = a.ones_ | b.ones_;
    out.low_ = std::max(a.low_, b.low_);
  } else {
    out.zeros_ = (a.zeros_ & b.zeros_) | (a.ones_ & b.ones_);
    out.ones_ = (a.zeros_ & b.ones_) | (a.ones_ & b.zeros_);
  }
  out.tighten();
  return out;
}

WordBounds WordBounds::of(Tag tag, std::span<WordBounds const* const> operands, std::uint64_t width,
                          std::uint64_t msb, std::uint64_t lsb) {
  WordBounds const& a = *operands[0];
  WordBounds const& b = *operands[operands.size() - 1];
  WordBounds out(width);
  switch (tag) {
    case Tag::bv_not: return a.complemented();
    case Tag::bv_neg: return sum(constant(0, width), a.complemented(), true);
    case Tag::bv_and:
    case Tag::bv_or:
    case Tag::bv_xor: return bitwise(tag, a, b);
    case Tag::bv_add: return sum(a, b, false);
    case Tag::bv_sub: return sum(a, b.complemented(), true);
    case Tag::bv_mul: return product(a, b);
    case Tag::bv_udiv:
    case Tag::bv_urem: return division(tag, a, b);
    case Tag::bv_shl:
    case Tag::bv_lshr:
    case Tag::bv_ashr: return shift(tag, a, b);
    case Tag::bv_concat:
      out.zeros_ = a.zeros_ << b.width_ | b.zeros_;
      out.ones_ = a.ones_ << b.width_ | b.ones_;
      out.low_ = a.low_ << b.width_ | b.low_;
      out.high_ = a.high_ << b.width_ | b.high_;
      break;
    case Tag::bv_extract:
      out.zeros_ = (a.zeros_ >> lsb) & out.mask_;
      out.ones_ = (a.ones_ >> lsb) & out.mask_;
      // Where the bits above are the same throughout, the others keep their order.
      if (a.low_ >> (msb + 1) == a.high_ >> (msb + 1)) {
        out.low_ = (a.low_ >> lsb) & out.mask_;
        out.high_ = (a.high_ >> lsb) & out.mask_;
      }
      break;
    case Tag::bv_zero_extend:
    case Tag::bv_sign_extend: {
      int const sign = tag == Tag::bv_zero_extend ? 0 : a.sign();
      out.zeros_ = a.zeros_;
      out.ones_ = a.ones_;
      if (sign < 0) break;
      mpz_class const above = out.mask_ ^ a.mask_;
      (sign == 0 ? out.zeros_ : out.ones_) |= above;
      out.low_ = sign == 0 ? a.low_ : mpz_class(a.low_ | above);
      out.high_ = sign == 0 ? a.high_ : mpz_class(a.high_ | above);
      break;
    }
    default: break;
  }
  out.tighten();
  return out;
}

int WordBounds::compare(Tag tag, WordBounds const& a, WordBounds const& b) {
  switch (tag) {
    case Tag::bv_ule: return a.high_ <= b.low_ ? 1 : a.low_ > b.high_ ? 0 : -1;
    case Tag::bv_ult: return a.high_ < b.low_ ? 1 : a.low_ >= b.high_ ? 0 : -1;
    case Tag::bv_sle:
    case Tag::bv_slt:
      if (a.sign() < 0 || b.sign() < 0) return -1;
      if (a.sign() != b.sign()) return a.sign();
      return compare(tag == Tag::bv_sle ? Tag::bv_ule : Tag::bv_ult, a, b);
    case Tag::equal:
    case Tag::equal_noproxy:
      if (a.high_ < b.low_ || b.high_ < a.low_ || (a.ones_ & b.zeros_) != 0 || (a.zeros_ & b.ones_) != 0)
        return 0;
      return a.is_constant() && b.is_constant() ? 1 : -1;
    default: return -1;
  }
}

}  // namespace vell::words
