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

// True when the exact product of x and y (p = x * y) needs no scaling
// step: both operands in [2^-969, 2^970) and |p| below 2^1021 (biased
// exponents in 54..1992 that sum to at most 3067 qualify, and the scaled
// code computes exactly the same for the few others this admits). Twice
// the bit pattern orders magnitudes, with infinity and NaN above every
// finite value, so each range is one unsigned compare.
inline bool prod_unscaled(double x, double y, double p) {
  constexpr std::uint64_t lo = 0x0360000000000000ULL << 1;  // 2^-969
  constexpr std::uint64_t hi = 0x7c90000000000000ULL << 1;  // 2^970
  constexpr std::uint64_t top = 0x7fc0000000000000ULL << 1;  // 2^1021
  std::uint64_t ux = std::bit_cast<std::uint64_t>(x) << 1;
  std::uint64_t uy = std::bit_cast<std::uint64_t>(y) << 1;
  std::uint64_t up = std::bit_cast<std::uint64_t>(p) << 1;
  return (ux - lo < hi - lo) & (uy - lo < hi - lo) & (up < top);
}

// A narrower test for the exported products: both operands in
// [2^-514, 2^510), a window of exactly 1024 binades, so that both range
// checks are one sign test of the or of the two offsets; the product is
// then below 2^1020 and needs no scaling.
inline bool prod_in_window(double x, double y) {
  constexpr std::uint64_t lo = 0x1fd0000000000000ULL << 1;  // 2^-514
  std::uint64_t ux = (std::bit_cast<std::uint64_t>(x) << 1) - lo;
  std::uint64_t uy = (std::bit_cast<std::uint64_t>(y) << 1) - lo;
  return static_cast<std::int64_t>(ux | uy) >= 0;  // each offset below 2^63
}

// Exact product: the common case inline, the scaled one out of line.
inline dd ddprod(double x, double y) {
  double p = x * y;
  if (prod_unscaled(x, y, p)) [[likely]] {
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
// Nonzero and finite (subnormals included): one integer compare, since
// twice the bit pattern orders zero, finite values and inf/NaN.
inline bool normal_result(double hi) {
  std::uint64_t u = std::bit_cast<std::uint64_t>(hi) << 1;
  return u - 1 < 0xffdfffffffffffffULL;
}

// The core sums and products come in two builds of one sequence of steps.
// Checked (the default) is the full operation: the exact product scales
// when it must, and a zero, infinite or NaN result goes to fix_special.
// Unchecked skips both: callers use it only where they have shown that no
// check could fire (operands well inside the range), so both builds give
// the same bits there.
template <bool Checked>
inline dd prod(double x, double y) {
  if constexpr (Checked) {
    return ddprod(x, y);
  } else {
    double e;
    double p = two_prod_ns(x, y, e);
    return dd{p, e};
  }
}

template <bool Checked = true>
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
  if constexpr (Checked)
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

template <bool Checked = true>
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
  if constexpr (Checked)
    if (!normal_result(hi)) [[unlikely]]
      return fix_special(hi, a.hi + d);
  return dd{hi, lo};
}

template <bool Checked = true>
inline dd mul(dd a, dd b) {
  dd pe = prod<Checked>(a.hi, b.hi);
  double s = a.hi + a.lo;
  double t = s * b.lo;
  double t2 = a.lo * b.hi;
  t = t + t2;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if constexpr (Checked)
    if (!normal_result(hi)) [[unlikely]]
      return fix_special(hi, a.hi * b.hi);
  return dd{hi, lo};
}

template <bool Checked = true>
inline dd mul_d(dd a, double d) {
  dd pe = prod<Checked>(a.hi, d);
  double t = a.lo * d;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if constexpr (Checked)
    if (!normal_result(hi)) [[unlikely]]
      return fix_special(hi, a.hi * d);
  return dd{hi, lo};
}

template <bool Checked = true>
inline dd sqr(dd a) {
  dd pe = prod<Checked>(a.hi, a.hi);
  double h2 = 2.0 * a.hi;
  double t = h2 * a.lo;
  double t2 = a.lo * a.lo;
  t = t + t2;
  t = t + pe.lo;
  double hi = t + pe.hi;
  double t3 = pe.hi - hi;
  double lo = t3 + t;
  if constexpr (Checked)
    if (!normal_result(hi)) [[unlikely]]
      return fix_special(hi, a.hi * a.hi);
  return dd{hi, lo};
}

inline dd neg(dd a) { return dd{-a.hi, -a.lo}; }
inline dd from_d(double d) { return dd{d, 0.0}; }

// True when a is well inside the range: 2^-480 <= |a.hi| < 2^480 and
// |a.lo| <= 2^-50 |a.hi| (a NaN anywhere fails). The quotient, reciprocal
// and square root of such operands keep every intermediate product in the
// unscaled range of the exact product (factors in [2^-969, 2^970), products
// below 2^1021) and every intermediate result nonzero and finite, so their
// unchecked steps give the checked result.
inline bool in_core_range(dd a) {
  double h = fabs_(a.hi);
  double l = fabs_(a.lo);
  double m = h * 0x1p-50;  // exact
  return h >= 0x1p-480 && h < 0x1p480 && l <= m;
}

// The Newton quotient and its remainder correction; the checked build
// stops after the quotient when the correction cannot be exact (a result
// out of range, a dividend near the subnormal range). Needs b.hi in
// [2^-1019, 2^960] and a finite.
template <bool Checked>
inline dd divide_steps(dd a, dd b) {
  double r = 1.0 / b.hi;
  // One Newton step on the reciprocal in double-double: r' = r (2 - b r).
  dd br = mul_d<Checked>(b, r);
  dd t = add_d<Checked>(neg(br), 2.0);
  dd rr = mul_d<Checked>(t, r);
  dd q = mul<Checked>(a, rr);
  // A dividend near the subnormal range would lose the low part of the
  // product q.hi * b.hi below; the Newton quotient stands alone there.
  if constexpr (Checked)
    if (!(normal_result(q.hi) && fabs_(a.hi) >= 0x1p-960)) [[unlikely]]
      return q;
  // Remainder correction: a - q.hi*b with the exact product of the high
  // parts (a.hi - p is exact: both are within a few ulps of each other),
  // then the part of q.lo it does not yet account for.
  dd pe = prod<Checked>(q.hi, b.hi);
  double rem = a.hi - pe.hi;
  rem = rem - pe.lo;
  rem = rem + a.lo;
  double t2 = q.hi * b.lo;
  rem = rem - t2;
  double ql = rem * r;  // r = 1/b.hi to 2^-53: ample for a low part
  double lo;
  double hi = quick_two_sum(q.hi, ql, lo);
  return dd{hi, lo};
}

// The reciprocal's steps for a nonzero finite a.hi whose reciprocal is
// finite.
template <bool Checked>
inline dd reciprocal_steps(dd a) {
  double r = 1.0 / a.hi;
  dd pe = prod<Checked>(a.hi, r);
  double t = 1.0 - pe.hi;
  t = t - pe.lo;
  double c;
  if (a.lo == 0.0) {
    c = t / a.hi;
  } else {
    double t2 = r * a.lo;
    t = t - t2;
    double s = a.hi + a.lo;
    c = t / s;
  }
  double hi = r + c;
  double t3 = r - hi;
  double lo = t3 + c;
  return dd{hi, lo};
}

dd reciprocal_general(dd a);
dd divide_general(dd a, dd b);
dd sqrt_general(dd a);

// The core operations with their fast paths: operands inside the core
// range run the unchecked steps inline, everything else the general code
// out of line (a tail call, so the fast path keeps its operands in
// registers).
inline dd reciprocal_inline(dd a) {
  if (in_core_range(a)) [[likely]]
    return reciprocal_steps<false>(a);
  return reciprocal_general(a);
}
inline dd divide_inline(dd a, dd b) {
  if (in_core_range(a) && in_core_range(b)) [[likely]]
    return divide_steps<false>(a, b);
  return divide_general(a, b);
}
// The square-root steps for a positive a: s = sqrt(a.hi) refined once to y,
// then 0.5 * (y + a / y). Unchecked runs every step inline; checked takes
// the full product and sum and the division with its own range dispatch.
template <bool Checked>
inline dd sqrt_steps(dd a) {
  double s = __builtin_sqrt(a.hi);
  dd pe = prod<Checked>(s, s);
  double c = a.hi - pe.hi;
  c = c - pe.lo;
  c = c + a.lo;
  c = c * 0.5;
  c = c / s;
  double yhi = s + c;
  double t = s - yhi;
  double ylo = t + c;
  dd y{yhi, ylo};
  dd q;
  if constexpr (Checked)
    q = divide_inline(a, y);
  else
    q = divide_steps<false>(a, y);
  dd sum = add<Checked>(y, q);
  double hi = 0.5 * sum.hi;
  double lo = 0.5 * sum.lo;
  return dd{hi, lo};
}

// Square root of a positive a inside the core range: the first
// approximation y lies in the range too (near sqrt(a)), and so does the
// quotient a / y.
inline dd sqrt_inline(dd a) {
  if (in_core_range(a) && a.hi > 0.0) [[likely]]
    return sqrt_steps<false>(a);
  return sqrt_general(a);
}

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
inline dd mul_ns(dd a, dd b) { return mul<false>(a, b); }
inline dd mul_d_ns(dd a, double d) { return mul_d<false>(a, d); }
inline dd sqr_ns(dd a) { return sqr<false>(a); }
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
