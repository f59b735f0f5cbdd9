// The core double-double operations: exact product, sum, difference,
// products, reciprocal, quotients and square root, and their exported
// entries. The order of every binary64 step is part of the contract.
#include <cfloat>
#include <cmath>

#include "ddouble/dd_arith.h"
#include "kafrts/ddouble.h"

namespace kafdd {

// Zero, infinite and NaN high parts, and everything outside the core
// range: the same steps, checked.
dd reciprocal_general(dd a) {
  double ah = fabs_(a.hi);
  // Zero, infinity and NaN: IEEE's 1/x on the high part (+-inf, +-0, NaN).
  if (!(ah > 0.0 && ah <= DBL_MAX)) [[unlikely]]
    return dd{1.0 / a.hi, 0.0};
  double r = 1.0 / a.hi;
  if (!is_finite(r)) [[unlikely]]  // |a.hi| below 2^-1024: the result overflows
    return dd{r, 0.0};
  return reciprocal_steps<true>(a);
}

dd reciprocal(dd a) { return reciprocal_inline(a); }

dd scale(dd a, int n) {
  double hi = ldexp_(a.hi, n);
  if (!is_finite(hi) || hi == 0.0) return dd{hi, 0.0};
  if (fabs_(hi) < 0x1p-1021) {
    // A subnormal result: fold what the rounding of hi lost, and lo, into
    // hi (the scaling back of a subnormal is exact); lo has no room left.
    double back = ldexp_(hi, -n);
    double rem = a.hi - back;
    rem = rem + a.lo;
    hi = hi + ldexp_(rem, n);
    return dd{hi, 0.0};
  }
  double lo = ldexp_(a.lo, n);
  double e;
  hi = quick_two_sum(hi, lo, e);
  return dd{hi, e};
}

// Divisors outside [2^-1019, 2^960], and every zero, infinite or NaN
// operand. A tiny divisor would make 1/b.hi overflow, a huge one would
// leave the reciprocal's low part in the subnormal range: both operands are
// moved by a power of two (exactly), or the quotient is moved back after.
[[gnu::cold]] static dd divide_slow(dd a, dd b) {
  if (!is_finite(a.hi) || !is_finite(b.hi) || b.hi == 0.0) return dd{a.hi / b.hi, 0.0};
  double bh = fabs_(b.hi);
  if (bh < 0x1p-1019) {
    dd b2 = scale(b, 106);
    if (fabs_(a.hi) < 0x1p917) return divide(scale(a, 106), b2);
    return scale(divide(a, b2), 106);
  }
  dd b2 = scale(b, -128);
  return scale(divide(a, b2), -128);
}

dd divide_general(dd a, dd b) {
  double bh = fabs_(b.hi);
  if (!(bh >= 0x1p-1019 && bh <= 0x1p960 && fabs_(a.hi) <= DBL_MAX)) [[unlikely]]
    return divide_slow(a, b);
  return divide_steps<true>(a, b);
}

dd divide(dd a, dd b) { return divide_inline(a, b); }

dd sqrt_general(dd a) {
  if (a.hi < 0.0) {
    volatile double z = 0.0;  // 0/0 at run time: NaN with the invalid flag
    return dd{z / z, 0.0};
  }
  if (a.hi == 0.0) return dd{0.0, 0.0};
  if (!is_finite(a.hi)) return dd{a.hi, 0.0};
  // Near the subnormal range s*s would lose its low part: work on a*2^128.
  if (a.hi < 0x1p-960) return scale(sqrt(scale(a, 128)), -64);
  return sqrt_steps<true>(a);
}

dd sqrt(dd a) { return sqrt_inline(a); }

// The exported products: the unchecked steps when the exact product needs
// no scaling and the result is nonzero and finite, otherwise the checked
// operation out of line from the start (it repeats the same steps, so the
// fast path stays free of calls and spills).
[[gnu::noinline]] static dd mul_general(dd a, dd b) { return mul(a, b); }
[[gnu::noinline]] static dd mul_d_general(dd a, double d) { return mul_d(a, d); }
[[gnu::noinline]] static dd sqr_general(dd a) { return sqr(a); }

static inline dd mul_entry(dd a, dd b) {
  if (prod_in_window(a.hi, b.hi)) [[likely]] {
    dd r = mul<false>(a, b);
    if (normal_result(r.hi)) [[likely]]
      return r;
  }
  return mul_general(a, b);
}
static inline dd mul_d_entry(dd a, double d) {
  if (prod_in_window(a.hi, d)) [[likely]] {
    dd r = mul_d<false>(a, d);
    if (normal_result(r.hi)) [[likely]]
      return r;
  }
  return mul_d_general(a, d);
}
static inline dd sqr_entry(dd a) {
  if (prod_in_window(a.hi, a.hi)) [[likely]] {
    dd r = sqr<false>(a);
    if (normal_result(r.hi)) [[likely]]
      return r;
  }
  return sqr_general(a);
}

}  // namespace kafdd

using namespace kafdd;

extern "C" {

kaf_dd __KAFf90_ddprod_d_d(double x, double y) { return ddprod(x, y); }
kaf_dd __KAFf90_dd_PLUS_dd(kaf_dd a, kaf_dd b) { return add(a, b); }
kaf_dd __KAFf90_dd_MINUS_dd(kaf_dd a, kaf_dd b) { return sub(a, b); }
kaf_dd __KAFf90_dd_PLUS_d(kaf_dd a, double d) { return add_d(a, d); }
kaf_dd __KAFf90_dd_TIMES_dd(kaf_dd a, kaf_dd b) { return mul_entry(a, b); }
kaf_dd __KAFf90_dd_TIMES_d(kaf_dd a, double d) { return mul_d_entry(a, d); }
kaf_dd __KAFf90_dd_squared(kaf_dd a) { return sqr_entry(a); }
kaf_dd __KAFf90_dd_reciprocal(kaf_dd a) { return reciprocal_inline(a); }
kaf_dd __KAFf90_dd_DIVIDE_dd(kaf_dd a, kaf_dd b) { return divide_inline(a, b); }
kaf_dd __KAFf90_dd_DIVIDE_d(kaf_dd a, double d) { return divide_inline(a, dd{d, 0.0}); }
kaf_dd __KAFf90_sqrt_dd(kaf_dd a) { return sqrt_inline(a); }
kaf_dd __KAFf90_sqrt_dd_arg(const kaf_dd *a) { return sqrt_inline(*a); }

}  // extern "C"
