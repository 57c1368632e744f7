#include "vell/values/wideword.h"

#include <algorithm>

namespace vell::values::wide {

bool is_zero(std::uint64_t const* a, std::uint64_t width) {
  return std::all_of(a, a + limbs(width), [](std::uint64_t x) { return x == 0; });
}

int compare(std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width) {
  return mpn_cmp(a, b, limbs(width));
}

bool signed_less(std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width) {
  bool const sa = bit(a, width - 1);
  bool const sb = bit(b, width - 1);
  return sa != sb ? sa : compare(a, b, width) < 0;
}

void shift_left(std::uint64_t* r, std::uint64_t const* a, std::uint64_t amount, std::uint64_t width) {
  mp_size_t const n = limbs(width);
  if (amount >= width) {
    std::fill_n(r, n, 0);
    return;
  }
  mp_size_t const whole = static_cast<mp_size_t>(amount / 64);
  unsigned const part = static_cast<unsigned>(amount % 64);
  if (part != 0)
    mpn_lshift(r + whole, a, n - whole, part);
  else
    std::copy_backward(a, a + (n - whole), r + n);
  std::fill_n(r, whole, 0);
  trim(r, width);
}

void shift_right(std::uint64_t* r, std::uint64_t const* a, std::uint64_t amount, std::uint64_t width) {
  mp_size_t const n = limbs(width);
  if (amount >= width) {
    std::fill_n(r, n, 0);
    return;
  }
  mp_size_t const whole = static_cast<mp_size_t>(amount / 64);
  unsigned const part = static_cast<unsigned>(amount % 64);
  if (part != 0)
    mpn_rshift(r, a + whole, n - whole, part);
  else
    std::copy(a + whole, a + n, r);
  std::fill_n(r + (n - whole), whole, 0);
}

void fill_ones(std::uint64_t* r, std::uint64_t low, std::uint64_t width) {
  if (low >= width) return;
  std::uint64_t const first = low / 64;
  std::uint64_t const n = static_cast<std::uint64_t>(limbs(width));
  r[first] |= ~std::uint64_t{0} << (low % 64);
  for (std::uint64_t i = first + 1; i < n; ++i) r[i] = ~std::uint64_t{0};
  trim(r, width);
}

std::uint64_t amount(std::uint64_t const* a, std::uint64_t width) {
  mp_size_t const n = limbs(width);
  for (mp_size_t i = 1; i < n; ++i)
    if (a[i] != 0) return width;
  return std::min(a[0], width);
}

void negate(std::uint64_t* r, std::uint64_t const* a, std::uint64_t width) {
  mpn_neg(r, a, limbs(width));
  trim(r, width);
}

void divide(std::uint64_t* q, std::uint64_t* r, std::uint64_t const* a, std::uint64_t const* b,
            std::uint64_t width) {
  mp_size_t const n = limbs(width);
  mp_size_t m = n;
  while (b[m - 1] == 0) --m;
  std::fill_n(q, n, 0);
  std::fill_n(r, n, 0);
  mpn_tdiv_qr(q, r, 0, a, n, b, m);
}

void multiply(std::uint64_t* r, std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width,
              std::uint64_t* product) {
  mp_size_t const n = limbs(width);
  mpn_mul_n(product, a, b, n);
  std::copy_n(product, n, r);
  trim(r, width);
}

}  // namespace vell::values::wide
