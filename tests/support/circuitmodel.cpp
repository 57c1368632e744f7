#include "tests/support/circuitmodel.h"

#include <algorithm>
#include <utility>

namespace vell::test {

using Lit = CircuitModel::Lit;
using Bits = CircuitModel::Bits;
using Pooled = CircuitModel::Pooled;

namespace {

constexpr Lit T = 1;
constexpr Lit F = -1;

bool fixed(Lit a) { return a == T || a == F; }

Bits bits_of(std::uint64_t value, std::size_t length) {
  Bits bits(length, F);
  for (std::size_t i = 0; i < length && i < 64; ++i)
    if ((value >> i & 1) != 0) bits[i] = T;
  return bits;
}

std::size_t length_of(std::uint64_t value) {
  std::size_t n = 1;
  while (value >>= 1) ++n;
  return n;
}

}  // namespace

// ---- pieces of text ----

std::string CircuitModel::show(Lit a) {
  if (a == 0) return "?";
  if (fixed(a)) return a == T ? "T" : "F";
  return a > 0 ? std::to_string(a - 2) : "~" + std::to_string(-a - 2);
}

std::string CircuitModel::show(Bits const& bits) {
  std::string s;
  for (Lit const a : bits) s = " " + show(a) + (s.empty() ? "" : ",") + s;
  return "[" + s + " ]";
}

void CircuitModel::trace(int level, std::string const& message) {
  if (level <= verbosity_) text += "BV:Word clausifier - " + message + "\n";
}

Lit CircuitModel::fresh() {
  text += "{n " + std::to_string(next_literal_) + "}\n";
  return next_literal_++;
}

void CircuitModel::clause(std::initializer_list<Lit> literals) {
  text += "{c";
  for (Lit const a : literals) text += " " + std::to_string(a);
  text += "}\n";
}

int CircuitModel::take_slot() {
  if (free_slots_.empty()) return next_slot_++;
  int const slot = free_slots_.back();
  free_slots_.pop_back();
  return slot;
}

void CircuitModel::give_back(Pooled const& list) { free_slots_.push_back(list.slot); }

// ---- gates ----

Lit CircuitModel::bit_not(Lit a) {
  trace(3, "bit_not ");
  return -a;
}

Lit CircuitModel::bit_and(Lit a, Lit b) {
  trace(3, "bit_and ");
  if (a == b || b == T) return a;
  if (a == -b || a == F || b == F) return F;
  if (a == T) return b;
  Lit const x = fresh();
  clause({-a, -b, x});
  clause({a, -x});
  clause({b, -x});
  return x;
}

Lit CircuitModel::bit_or(Lit a, Lit b) {
  trace(3, "bit_or ");
  if (a == T || b == T || a == -b) return T;
  if (a == F) return b;
  if (b == F || a == b) return a;
  Lit const x = fresh();
  clause({-a, x});
  clause({-b, x});
  clause({a, b, -x});
  return x;
}

Lit CircuitModel::bit_xor(Lit a, Lit b) {
  trace(3, "bit xor ");
  if (fixed(a)) return a == T ? -b : b;
  if (fixed(b)) return b == T ? -a : a;
  if (a == b) return F;
  if (a == -b) return T;
  Lit const x = fresh();
  clause({-a, -b, -x});
  clause({a, b, -x});
  clause({-a, b, x});
  clause({a, -b, x});
  return x;
}

Lit CircuitModel::bit_ite(Lit c, Lit t, Lit e) {
  trace(3, "bit ite ");
  if (fixed(c)) return c == T ? t : e;
  if (t == e) return e;
  if (fixed(t) && fixed(e)) return t == T ? c : -c;
  Lit const x = fresh();
  clause({-c, -t, x});
  clause({-c, t, -x});
  clause({c, -e, x});
  clause({c, e, -x});
  return x;
}

Bits CircuitModel::word_and(Bits const& a, Bits const& b) {
  trace(3, "word_and ");
  Bits result(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) result[i] = bit_and(a[i], b[i]);
  trace(4, show(a) + " & " + show(b) + " = " + show(result));
  return result;
}

// ---- adders ----

void CircuitModel::adder_cell(Lit& sum, Lit& carry, Lit a, Lit b, Lit c) {
  trace(5, "sum_consts ");
  int trues = 0;
  Bits open;
  for (Lit const v : {a, b, c}) {
    if (v == T) ++trues;
    if (!fixed(v)) open.push_back(v);
  }
  if (open.empty()) {
    carry = trues >= 2 ? T : F;
    sum = trues % 2 == 1 ? T : F;
  } else if (open.size() == 1) {
    Lit const u = open[0];
    sum = trues == 1 ? -u : u;
    carry = trues == 0 ? F : trues == 1 ? u : T;
  } else if (open.size() == 2) {
    Lit const u = open[0];
    Lit const v = open[1];
    if (u == v) {
      sum = trues == 0 ? F : T;
      carry = u;
    } else if (trues == 0) {
      sum = bit_xor(u, v);
      carry = bit_and(u, v);
    } else {
      sum = -bit_xor(u, v);
      carry = bit_or(u, v);
    }
  } else {
    Lit const s = fresh();
    clause({-a, -b, -c, s});
    clause({-a, -b, c, -s});
    clause({-a, b, -c, -s});
    clause({a, -b, -c, -s});
    clause({-a, b, c, s});
    clause({a, -b, c, s});
    clause({a, b, -c, s});
    clause({a, b, c, -s});
    Lit const k = fresh();
    clause({-a, -b, k});
    clause({-a, -c, k});
    clause({-b, -c, k});
    clause({a, b, -k});
    clause({a, c, -k});
    clause({c, b, -k});
    sum = s;
    carry = k;
  }
}

Pooled CircuitModel::word_add(Bits const& x, Bits const& y) {
  trace(3, "word_add ");
  Pooled r = pooled(Bits(x.size(), 0));
  Lit cin = F;
  for (std::size_t i = 0; i < x.size(); ++i) {
    Lit sum = 0;
    Lit carry = 0;
    adder_cell(sum, carry, x[i], y[i], cin);
    trace(4,
          "i = " + std::to_string(i) + " x = " + show(x[i]) + " y = " + show(y[i]) + " cin = " + show(cin));
    trace(4, "   sum = " + show(sum) + " = " + show(carry));
    r.bits[i] = sum;
    cin = carry;
  }
  trace(4, show(x) + " + " + show(y) + " = " + show(r.bits));
  return r;
}

Pooled CircuitModel::word_neg(Bits const& x) {
  trace(3, "word_neg ");
  Pooled t = pooled(x);
  for (Lit& a : t.bits) a = -a;
  Pooled const one = pooled(bits_of(1, x.size()));
  Pooled r = word_add(t.bits, one.bits);
  // The order of these two is free; it is the one in which locals go.
  give_back(one);
  give_back(t);
  return r;
}

// ---- comparators and equality ----

Pooled CircuitModel::word_ule(Bits const& x, Bits const& y, Lit out) {
  trace(3, "word_ule ");
  trace(4, show(x) + " <=u " + show(y));
  Pooled result = pooled({0});
  Lit r = T;
  for (std::size_t i = 0; i < x.size(); ++i) {
    Lit const a = x[i];
    Lit const b = y[i];
    if (a == T) {
      r = bit_and(b, r);
    } else if (a == F) {
      r = bit_or(b, r);
    } else if (b == T) {
      r = bit_or(-a, r);
    } else if (b == F) {
      r = bit_and(-a, r);
    } else {
      Lit const v = i + 1 == x.size() && out != 0 ? out : fresh();
      clause({-a, -b, -r, v});
      clause({-a, -b, r, -v});
      clause({-a, b, -v});
      clause({a, -b, v});
      clause({a, b, -r, v});
      clause({a, b, r, -v});
      r = v;
    }
  }
  result.bits[0] = r;
  return result;
}

Pooled CircuitModel::word_ult(Bits const& x, Bits const& y, Lit out) {
  trace(3, "wordt ult ");
  trace(4, show(x) + " < " + show(y));
  Pooled result = pooled({0});
  Lit r = F;
  auto marker = [&](char const* m) {
    if (verbosity_ >= 4) text += std::string("BV:Word clausifier - ") + m;
  };
  for (std::size_t i = 0; i < x.size(); ++i) {
    Lit const a = x[i];
    Lit const b = y[i];
    Lit v = 0;
    auto stage = [&] {
      trace(4, "i = " + std::to_string(i) + " x = " + show(a) + " y = " + show(b) + " w = " + show(r) +
                   " v = " + show(v));
    };
    if (a == F) {
      v = bit_ite(b, T, r);
    } else if (a == T) {
      v = bit_ite(b, r, F);
    } else if (b == F) {
      v = bit_ite(-a, r, F);
    } else if (b == T) {
      v = bit_ite(a, r, T);
    } else {
      v = i + 1 == x.size() && out != 0 ? out : fresh();
      stage();
      marker("1; ");
      clause({a, b, r, -v});
      marker("2; ");
      clause({a, b, -r, v});
      marker("3; ");
      clause({a, -b, v});
      marker("4; ");
      clause({-a, b, -v});
      marker("5; ");
      clause({-a, -b, r, -v});
      marker("6; ");
      clause({-a, -b, -r, v});
    }
    stage();
    r = v;
  }
  result.bits[0] = r;
  return result;
}

Lit CircuitModel::word_equal(Bits const& x, Bits const& y, Lit out) {
  trace(3, "word equal ");
  Lit r = T;
  for (std::size_t i = 0; i < x.size(); ++i) {
    Lit const a = x[i];
    Lit const b = y[i];
    if (fixed(a)) {
      r = bit_and(a == T ? b : -b, r);
    } else if (fixed(b)) {
      r = bit_and(b == T ? a : -a, r);
    } else if (a == -b) {
      r = F;
    } else if (a != b) {
      Lit const e = i + 1 == x.size() && out != 0 ? out : fresh();
      clause({-a, b, -e});
      clause({a, -b, -e});
      if (i == 0) {
        clause({-a, -b, e});
        clause({a, b, e});
      } else {
        clause({r, -e});
        clause({-a, -b, -r, e});
        clause({a, b, -r, e});
      }
      r = e;
    }
  }
  return r;
}

// ---- barrel shifters ----

namespace {

// The distance of each stage, 0 standing for "past the end": from the first stage whose weight reaches the
// length on, and from bit 31 on in any case.
std::vector<std::size_t> stage_distances(std::size_t n) {
  std::vector<std::size_t> distances;
  bool past = false;
  for (std::size_t k = 0; k < n; ++k) {
    if (k >= 31 || (std::size_t{1} << k) >= n) past = true;
    distances.push_back(past ? 0 : std::size_t{1} << k);
  }
  return distances;
}

}  // namespace

Pooled CircuitModel::word_sr(Bits const& x, Bits const& s, bool arithmetic) {
  std::size_t const n = x.size();
  Lit const fill = arithmetic ? x.back() : F;
  Pooled r = pooled(x);
  std::vector<std::size_t> const distances = stage_distances(n);
  for (std::size_t k = 0; k < n; ++k) {
    Bits const before = r.bits;
    for (std::size_t j = 0; j < n; ++j) {
      bool const inside = distances[k] != 0 && j + distances[k] < n;
      r.bits[j] = bit_ite(s[k], inside ? before[j + distances[k]] : fill, before[j]);
    }
  }
  return r;
}

Pooled CircuitModel::word_sl(Bits const& x, Bits const& s) {
  std::size_t const n = x.size();
  Pooled r = pooled(x);
  std::vector<std::size_t> const distances = stage_distances(n);
  for (std::size_t k = 0; k < n; ++k) {
    Bits const before = r.bits;
    for (std::size_t j = n; j-- > 0;) {
      bool const inside = distances[k] != 0 && j >= distances[k];
      r.bits[j] = bit_ite(s[k], inside ? before[j - distances[k]] : F, before[j]);
    }
  }
  return r;
}

// ---- division ----

void CircuitModel::word_udiv_simple(Bits const& a, Bits const& b, Bits& q, Bits& r) {
  trace(3, "word_udiv ");
  trace(4, show(a) + " /u " + show(b));
  std::size_t const n = a.size();
  std::fill(r.begin(), r.end(), F);
  for (std::size_t i = n; i-- > 0;) {
    trace(4, "stage = " + std::to_string(i));
    trace(4, "   quotient (before) = " + show(q));
    trace(4, "   remainder (before) = " + show(r));
    std::copy_backward(r.begin(), r.begin() + static_cast<std::ptrdiff_t>(n) - 1,
                       r.begin() + static_cast<std::ptrdiff_t>(n));
    r[0] = a[i];
    trace(4, "      remainder (1) = " + show(r));
    Pooled const ge = word_ule(b, r);
    trace(4, "      " + show(r) + " >= " + show(b) + " = " + show(ge.bits));
    Lit const qi = ge.bits[0];
    give_back(ge);
    q[i] = qi;
    trace(4, "      quotient (2) = " + show(q));
    trace(3, "word_and ");
    Bits mask(n, qi);
    for (std::size_t j = 0; j < n; ++j) mask[j] = bit_and(b[j], qi);
    // The mask is operand and result at once.
    trace(4, show(b) + " & " + show(mask) + " = " + show(mask));
    Pooled const nd = word_neg(mask);
    trace(4, "      neg_div = " + show(nd.bits));
    Pooled const sum = word_add(r, nd.bits);
    r = sum.bits;
    give_back(nd);
    give_back(sum);
    trace(4, "   quotient (after) = " + show(q));
    trace(4, "   remainder (after) = " + show(r));
  }
  trace(4, "   quotient (after) = " + show(q));
  trace(4, "   remainder (after) = " + show(r));
}

void CircuitModel::complete_semantics(Bits const& b, Bits& result) {
  if (div_semantics != 1) return;
  Lit const zero = word_equal(b, Bits(b.size(), F));
  for (std::size_t i = 0; i < b.size(); ++i) {
    Lit const f = fresh();
    result[i] = bit_ite(zero, f, result[i]);
  }
}

void CircuitModel::word_sdiv_simple(Bits const& a, Bits const& b, Bits& q, Bits& r) {
  trace(3, "word_sdiv simple ");
  std::size_t const n = a.size();
  Pooled const na = word_neg(a);
  Pooled const nb = word_neg(b);
  Pooled abs_a = pooled(Bits(n, 0));
  Pooled abs_b = pooled(Bits(n, 0));
  for (std::size_t i = 0; i < n; ++i) {
    abs_a.bits[i] = bit_ite(a.back(), na.bits[i], a[i]);
    abs_b.bits[i] = bit_ite(b.back(), nb.bits[i], b[i]);
  }
  word_udiv_simple(abs_a.bits, abs_b.bits, q, r);
  give_back(abs_b);
  give_back(abs_a);
  give_back(nb);
  give_back(na);
  Pooled const nr = word_neg(r);
  for (std::size_t i = 0; i < n; ++i) r[i] = bit_ite(a.back(), nr.bits[i], r[i]);
  give_back(nr);
  Pooled const nq = word_neg(q);
  Lit const differ = bit_xor(a.back(), b.back());
  for (std::size_t i = 0; i < n; ++i) q[i] = bit_ite(differ, nq.bits[i], q[i]);
  give_back(nq);
  trace(4, "Final signed quotient = " + show(q));
  trace(4, "Final signed remainder = " + show(r));
}

void CircuitModel::word_sdiv_array(Bits const& a, Bits const& b, Bits& q, Bits& r) {
  trace(3, "word_sdiv ");
  std::size_t const n = a.size();
  Pooled d = pooled(a);
  d.bits.resize(2 * n - 1, F);
  trace(4, show(d.bits) + " /s " + show(b));
  Bits tbl(n, T);
  Bits row(n, 0);
  for (std::size_t i = n; i-- > 0;) {
    Lit const t = tbl[n - 1];
    Lit c = t;
    trace(5, "i = " + std::to_string(i));
    trace(5, "   tbl = " + show(tbl));
    trace(5, "   dividend = " + show(d.bits));
    for (std::size_t j = 0; j < n; ++j) {
      Lit const x = d.bits[i + j];
      trace(3, "word_cas ");
      Lit const e = bit_xor(t, b[j]);
      Lit const half_sum = bit_xor(x, c);
      row[j] = bit_xor(e, half_sum);
      Lit const ec = bit_and(e, c);
      Lit const ex = bit_and(e, x);
      Lit const either = bit_or(ex, ec);
      Lit const xc = bit_and(x, c);
      c = bit_or(either, xc);
    }
    tbl = row;
    for (std::size_t k = 0; k + 1 < n; ++k) d.bits[n - 1 - i + k] = row[k + 1];
    tbl[n - 1] = -tbl[n - 1];
    q[i] = tbl[n - 1];
    for (std::size_t k = 0; k + 1 < n; ++k) d.bits[i + k] = tbl[k];
    trace(5, "      remainder_out = " + show(row));
    trace(5, "      quotient = " + show(q));
  }
  r = row;
  Pooled const nq = word_neg(q);
  for (std::size_t k = 0; k < q.size(); ++k) q[k] = bit_ite(-a.back(), q[k], nq.bits[k]);
  give_back(nq);
  give_back(d);
  trace(4, "Final remainder = " + show(r));
  trace(4, "Final quotient = " + show(q));
}

// ---- conversion of floating point ----

Lit CircuitModel::rounding_increment(int mode, Lit inexact, Lit sign, Bits const& significand,
                                     Bits const& back, Bits const& amount, Lit lowest) {
  switch (mode) {
    case 1: return F;
    case 2: return bit_and(inexact, -sign);
    case 3: return bit_and(inexact, sign);
    default: break;
  }
  Bits wide_amount = amount;
  wide_amount.push_back(F);
  Pooled const unit = word_sl(bits_of(1, amount.size() + 1), wide_amount);
  Bits removed(significand.size());
  for (std::size_t i = 0; i < removed.size(); ++i) removed[i] = bit_xor(significand[i], back[i]);
  removed.push_back(F);
  Pooled const minus_removed = word_neg(removed);
  Pooled const d = word_add(unit.bits, minus_removed.bits);
  Pooled const above = word_ult(d.bits, removed);
  Lit const tie = word_equal(d.bits, removed);
  Lit const choice = bit_ite(tie, lowest, above.bits[0]);
  for (Pooled const& p : {unit, minus_removed, d, above}) give_back(p);
  return bit_and(inexact, choice);
}

Bits CircuitModel::fp_to_bv(unsigned e, unsigned s, Bits const& value, int mode, Bits const& m,
                            unsigned width) {
  Bits exponent(value.begin() + s, value.begin() + s + e);
  Bits const fraction(value.begin(), value.begin() + s);
  Lit const sign = value.back();
  Lit const exponent_zero = word_equal(exponent, Bits(e, F));

  std::uint64_t const bias = (std::uint64_t{1} << (e - 1)) - 1;
  std::size_t const length = std::max({std::size_t{e}, length_of(bias), length_of(s)});
  exponent.resize(length, F);
  Pooled const minus_bias = word_neg(bits_of(bias, length));
  Pooled const unbiased = word_add(exponent, minus_bias.bits);

  Bits significand = fraction;
  significand.push_back(T);
  if (significand.size() < width) significand.resize(width, F);

  Pooled const minus_unbiased = word_neg(unbiased.bits);
  Pooled amount = word_add(bits_of(s, length), minus_unbiased.bits);
  amount.bits.resize(significand.size(), amount.bits.back());

  Pooled right = word_sr(significand, amount.bits, false);
  Pooled const minus_amount = word_neg(amount.bits);
  Pooled const left = word_sl(significand, minus_amount.bits);
  Lit const to_left = amount.bits.back();

  Pooled const back = word_sl(right.bits, amount.bits);
  Lit const exact = word_equal(significand, back.bits);
  Lit const inexact = bit_and(-to_left, -exact);

  auto increment = [&](int k) {
    return rounding_increment(k, inexact, sign, significand, back.bits, amount.bits, right.bits[0]);
  };
  Lit up = 0;
  if (mode >= 0) {
    up = increment(mode);
  } else {
    Lit increments[4];
    for (int k = 0; k < 4; ++k) increments[k] = increment(k);
    up = F;
    for (int k = 3; k >= 0; --k) {
      Lit const is_k = word_equal(m, bits_of(static_cast<std::uint64_t>(k), 2));
      up = bit_ite(is_k, increments[k], up);
    }
  }

  Bits result = right.bits;
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = bit_ite(to_left, left.bits[i], result[i]);
  Pooled const next = word_add(result, bits_of(1, result.size()));
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = bit_ite(up, next.bits[i], result[i]);
  Lit const small = bit_or(exponent_zero, unbiased.bits.back());
  Lit const zero = bit_and(-up, small);
  for (Lit& a : result) a = bit_and(a, -zero);
  result.resize(width, F);
  Pooled const negative = word_neg(result);
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = bit_ite(sign, negative.bits[i], result[i]);
  for (Pooled const& p :
       {minus_bias, unbiased, minus_unbiased, amount, right, minus_amount, left, back, next, negative})
    give_back(p);
  return result;
}

}  // namespace vell::test
