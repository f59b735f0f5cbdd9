// Double-double building blocks shared by the core entries and the elemental
// functions. Every step is one binary64 operation in the order written: the
// folder is compiled with -ffp-contract=off, and nothing here may be
// reassociated or fused.
#pragma once

#include <bit>
#include <cstdint>

#include "kafrts/common.h"

namespace kafdd {

using dd = kaf_dd;

inline constexpr double split_c = 134217729.0;  // 2^27 + 1
inline constexpr double two64 = 0x1p64;
inline constexpr double twom64 = 0x1p-64;

inline int biased_exponent(double x) {
  return static_cast<int>((std::bit_cast<std::uint64_t>(x) >> 52) & 0x7ff);
}
inline bool is_finite(double x) { return biased_exponent(x) != 2047; }
inline bool is_nan(double x) { return x != x; }
inline double fabs_(double x) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) & 0x7fffffffffffffffULL);
}
inline bool sign_bit(double x) { return (std::bit_cast<std::uint64_t>(x) >> 63) != 0; }
inline double copysign_(double x, double s) {
  std::uint64_t m = std::bit_cast<std::uint64_t>(x) & 0x7fffffffffffffffULL;
  return std::bit_cast<double>(m | (std::bit_cast<std::uint64_t>(s) & 0x8000000000000000ULL));
}

// Knuth's two-sum: s + e == a + b exactly.
inline double two_sum(double a, double b, double &e) {
  double s = a + b;
  double v = s - a;
  double t1 = s - v;
  double t2 = a - t1;
  double t3 = b - v;
  e = t2 + t3;
  return s;
}
// needs |a| >= |b| (or a == 0)
inline double quick_two_sum(double a, double b, double &e) {
  double s = a + b;
  double t = s - a;
  e = b - t;
  return s;
}

// Dekker's split and product without scaling; exact when the operands are
// well inside the range (|x|, |y| in [2^-969, 2^995] and the product normal).
inline double split_hi(double x) {
  double t = split_c * x;
  double u = x - t;
  return u + t;
}
inline double two_prod_ns(double x, double y, double &e) {
  double xh = split_hi(x);
  double xl = x - xh;
  double yh = split_hi(y);
  double yl = y - yh;
  double p = x * y;
  double t = xh * yh;
  t = t - p;
  double t2 = xh * yl;
  t = t + t2;
  t2 = xl * yh;
  t = t + t2;
  t2 = xl * yl;
  e = t + t2;
  return p;
}

// Exact product of two binary64 numbers with the scaling that keeps the
// split exact near both ends of the exponent range. The second threshold
// (exponent sum above 3067, a product at or above 2^1021) scales the larger
// operand once more so that the high-part products cannot overflow first.
[[gnu::noinline]] inline dd ddprod_scaled(double x, double y) {
  int ex = biased_exponent(x);
  int ey = biased_exponent(y);
  if (ex == 2047 || ey == 2047) [[unlikely]] {
    double p = x * y;
    return dd{p, 0.0};
  }
  int steps = 0;
  if (ex > 1992 || ex <= 53 || ey > 1992 || ey <= 53) [[unlikely]] {
    if (ex > 1992) {
      x = x * twom64;
      ex -= 64;
      steps -= 1;
    } else if (ex <= 53) {
      x = x * two64;
      ex += 64;
      steps += 1;
    }
    if (ey > 1992) {
      y = y * twom64;
      ey -= 64;
      steps -= 1;
    } else if (ey <= 53) {
      y = y * two64;
      ey += 64;
      steps += 1;
    }
    if (ex + ey > 3067) {
      if (ex >= ey)
        x = x * twom64;
      else
        y = y * twom64;
      steps -= 1;
    }
  }
  double e;
  double p = two_prod_ns(x, y, e);
  if (steps != 0) [[unlikely]] {
    double f = steps > 0 ? twom64 : two64;
    int n = steps > 0 ? steps : -steps;
    for (int i = 0; i < n; ++i) {
      p = p * f;
      e = e * f;
    }
  }
  if (!is_finite(p)) [[unlikely]]
    e = 0.0;
  return dd{p, e};
}

// Exact product: the common case inline, the scaled one out of line.
inline dd ddprod(double x, double y) {
  // Fast path, decided with floating-point compares: both operands within
  // [2^-969, 2^970) and the product below 2^1021 need no scaling step
  // (biased exponents in 54..1992 summing to at most 3067).
  double ax = fabs_(x), ay = fabs_(y);
  double mn = ax < ay ? ax : ay;
  double mx = ax < ay ? ay : ax;
  double p = x * y;
  if (mn >= 0x1p-969 && mx < 0x1p970 && fabs_(p) < 0x1p1021) [[likely]] {
    double e;
    two_prod_ns(x, y, e);
    return dd{p, e};
  }
  return ddprod_scaled(x, y);
}

// A zero, infinite or NaN high part leaves the double-double steps (which
// would give inf - inf = NaN, or lose the sign of a zero) for the IEEE
// answer: ieee is the plain binary64 operation on the high parts. A zero
// result takes its sign from ieee when that is a zero too (-0 + -0, -2 * 0),
// and is +0 after an exact cancellation, as IEEE addition gives.
[[gnu::cold]] inline dd fix_special(double hi, double ieee) {
  if (is_nan(hi)) return dd{ieee, 0.0};
  if (hi == 0.0) return dd{ieee == 0.0 ? ieee : 0.0, 0.0};
  return dd{hi, 0.0};
}
inline bool normal_result(double hi) {
  double a = fabs_(hi);
  return a > 0.0 && a <= 0x1.fffffffffffffp1023;
}

inline dd add(dd a, dd b) {
  double s = a.hi + b.hi;
  double v = a.hi - s;
  double t1 = b.hi + v;
  double t2 = v + s;
  double t3 = a.hi - t2;
  double e = t1 + t3;
  e = e + a.lo;
  e = e + b.lo;
  double hi = s + e;
  double t4 = s - hi;
  double lo = e + t4;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi + b.hi);
  return dd{hi, lo};
}

inline dd sub(dd a, dd b) {
  double s = a.hi - b.hi;
  double v = a.hi - s;
  double t1 = v - b.hi;
  double t2 = v + s;
  double t3 = a.hi - t2;
  double e = t1 + t3;
  e = e + a.lo;
  e = e - b.lo;
  double hi = s + e;
  double t4 = s - hi;
  double lo = e + t4;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi - b.hi);
  return dd{hi, lo};
}

inline dd add_d(dd a, double d) {
  double s = a.hi + d;
  double v = a.hi - s;
  double t1 = d + v;
  double t2 = v + s;
  double t3 = a.hi - t2;
  double e = t1 + t3;
  e = e + a.lo;
  double hi = s + e;
  double t4 = s - hi;
  double lo = e + t4;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi + d);
  return dd{hi, lo};
}

inline dd mul(dd a, dd b) {
  dd pe = ddprod(a.hi, b.hi);
  double s = a.hi + a.lo;
  double t = s * b.lo;
  double t2 = a.lo * b.hi;
  t = t + t2;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi * b.hi);
  return dd{hi, lo};
}

inline dd mul_d(dd a, double d) {
  dd pe = ddprod(a.hi, d);
  double t = a.lo * d;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi * d);
  return dd{hi, lo};
}

inline dd sqr(dd a) {
  dd pe = ddprod(a.hi, a.hi);
  double h2 = 2.0 * a.hi;
  double t = h2 * a.lo;
  double t2 = a.lo * a.lo;
  t = t + t2;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi * a.hi);
  return dd{hi, lo};
}

inline dd neg(dd a) { return dd{-a.hi, -a.lo}; }
inline dd from_d(double d) { return dd{d, 0.0}; }

dd reciprocal(dd a);
dd divide(dd a, dd b);
dd sqrt(dd a);

// ---- Helpers of the elemental functions (not part of the core contract) --

// Accurate sum: two two-sums, so cancelling low parts keep their bits.
inline dd add_acc(dd a, dd b) {
  double s2;
  double s1 = two_sum(a.hi, b.hi, s2);
  double t2;
  double t1 = two_sum(a.lo, b.lo, t2);
  s2 = s2 + t1;
  s1 = quick_two_sum(s1, s2, s2);
  s2 = s2 + t2;
  double lo;
  double hi = quick_two_sum(s1, s2, lo);
  if (!normal_result(hi)) [[unlikely]]
    return fix_special(hi, a.hi + b.hi);
  return dd{hi, lo};
}
inline dd sub_acc(dd a, dd b) { return add_acc(a, neg(b)); }

// Products of values known to be well inside the range (series terms,
// reduced arguments): no scaling checks.
inline dd mul_ns(dd a, dd b) {
  double e;
  double p = two_prod_ns(a.hi, b.hi, e);
  double s = a.hi + a.lo;
  double t = s * b.lo;
  double t2 = a.lo * b.hi;
  t = t + t2;
  t = t + e;
  double hi = t + p;
  double t3 = p - hi;
  double lo = t3 + t;
  return dd{hi, lo};
}
inline dd mul_d_ns(dd a, double d) {
  double e;
  double p = two_prod_ns(a.hi, d, e);
  double t = a.lo * d;
  t = t + e;
  double hi = t + p;
  double t3 = p - hi;
  double lo = t3 + t;
  return dd{hi, lo};
}
inline dd sqr_ns(dd a) {
  double e;
  double p = two_prod_ns(a.hi, a.hi, e);
  double h2 = 2.0 * a.hi;
  double t = h2 * a.lo;
  double t2 = a.lo * a.lo;
  t = t + t2;
  t = t + e;
  double hi = t + p;
  double t3 = p - hi;
  double lo = t3 + t;
  return dd{hi, lo};
}
// Sum without the non-finite check, for finite series terms.
inline dd add_ns(dd a, dd b) {
  double s2;
  double s1 = two_sum(a.hi, b.hi, s2);
  double t2;
  double t1 = two_sum(a.lo, b.lo, t2);
  s2 = s2 + t1;
  s1 = quick_two_sum(s1, s2, s2);
  s2 = s2 + t2;
  double lo;
  double hi = quick_two_sum(s1, s2, lo);
  return dd{hi, lo};
}
inline dd add_d_ns(dd a, double d) {
  double e;
  double s = two_sum(a.hi, d, e);
  e = e + a.lo;
  double lo;
  double hi = quick_two_sum(s, e, lo);
  return dd{hi, lo};
}

// A sum kept in three binary64 parts; each added term is split exactly
// (two-sums), so the sum is good to about 2^-150 of the terms' size.
struct acc3 {
  double s0 = 0.0, s1 = 0.0, s2 = 0.0;
  void add(double t) {
    double e0;
    s0 = two_sum(s0, t, e0);
    double e1;
    s1 = two_sum(s1, e0, e1);
    s2 = s2 + e1;
  }
  // The sum as a double-double and a third part below it.
  dd get(double &third) const {
    double t;
    double a = two_sum(s0, s1, t);
    double u;
    double b = two_sum(t, s2, u);
    double lo;
    double hi = two_sum(a, b, lo);
    third = u;
    double e;
    hi = quick_two_sum(hi, lo, e);
    return dd{hi, e};
  }
};

// x * 2^n for any n, exact unless the result leaves the normal range.
inline double ldexp_(double x, int n) {
  while (n > 1000) {
    x = x * 0x1p1000;
    n -= 1000;
  }
  while (n < -1000) {
    x = x * 0x1p-1000;
    n += 1000;
  }
  double f = std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
  return x * f;
}
// Scales both parts; below the normal range the high part is rounded once
// and the low part recomputed from what the high part lost, so the pair
// stays normalised.
dd scale(dd a, int n);

inline bool lt(dd a, dd b) { return a.hi < b.hi || (a.hi == b.hi && a.lo < b.lo); }
inline bool le(dd a, dd b) { return a.hi < b.hi || (a.hi == b.hi && a.lo <= b.lo); }

// Nearest integer of a binary64 value (ties away from zero; |x| < 2^52).
inline double round_half_away(double x) {
  double a = fabs_(x);
  double t = a + 0x1p52;
  t = t - 0x1p52;
  double d = a - t;
  if (d >= 0.5) t = t + 1.0;
  if (d < -0.5) t = t - 1.0;
  return copysign_(t, x);
}
// Nearest integer, ties to even (|x| < 2^51).
inline double round_even(double x) {
  double t = x + 0x1.8p52;
  return t - 0x1.8p52;
}

}  // namespace kafdd
