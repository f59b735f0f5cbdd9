// ERF, ERFC and ERFC_SCALED of the double-double kind.
//   |x| <= 1:  erf(x) = 2/sqrt(pi) e^(-x^2) sum 2^n x^(2n+1) / (2n+1)!!, a
//              series of positive terms (no cancellation);
//   x > 1/2:   erfc(x) = e^(-x^2)/sqrt(pi) / (x + (1/2)/(x + 1/(x + (3/2)/(x
//              + ...)))), the continued fraction summed backwards from
//              about 730/x^2 + 20 terms (slow below x = 2, fast beyond);
//   e^(+-x^2) takes x^2 in three parts, so its argument is exact to 2^-150.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline dd T(const tab::dd2 &v) { return dd{v.hi, v.lo}; }

dd twice_sq(dd x) {
  dd s = sqr(x);
  return dd{s.hi * 2.0, s.lo * 2.0};
}

// exp(s x^2), s = +1 or -1, with x^2 formed exactly in three parts.
dd exp_square(dd x, double s) {
  dd p = ddprod(x.hi, x.hi);
  dd q = ddprod(2.0 * x.hi, x.lo);
  double r = x.lo * x.lo;
  acc3 a;
  a.add(p.hi);
  a.add(q.hi);
  a.add(p.lo);
  a.add(q.lo);
  a.add(r);
  double third;
  dd y = a.get(third);
  if (s < 0.0) {
    y = neg(y);
    third = -third;
  }
  if (y.hi > 709.79) return dd{INFINITY, 0.0};
  if (y.hi < -745.2) return dd{0.0, 0.0};
  int k;
  dd m = exp_scaled3(y, third, k);
  return scale(m, k);
}

// sum 2^n x^(2n+1) / (2n+1)!! for |x| <= 1.
dd erf_series_sum(dd x) {
  dd x2 = twice_sq(x);
  dd t = x;
  dd s = x;
  for (int n = 1; n < 60; ++n) {
    t = divide(mul(t, x2), dd{2.0 * n + 1.0, 0.0});
    s = add_ns(s, t);
    if (fabs_(t.hi) < fabs_(s.hi) * 0x1p-110) break;
  }
  return s;
}

// erfc(x) * e^(x^2) * sqrt(pi) for x > 1/2: the continued fraction.
dd erfc_cf(dd x) {
  int n = 20;
  if (x.hi < 100.0) n += static_cast<int>(730.0 / (x.hi * x.hi));
  dd t = x;
  for (int k = n; k >= 1; --k) t = add_ns(x, divide(dd{0.5 * k, 0.0}, t));
  return reciprocal(t);
}

}  // namespace

}  // namespace kafdd

using namespace kafdd;

namespace {

dd erf_pos_small(dd x) {  // 0 <= x <= 1
  dd s = erf_series_sum(x);
  dd e = exp_square(x, -1.0);
  return mul(mul(T(tab::two_over_sqrtpi), e), s);
}

dd erfc_pos_large(dd x) {  // x > 1/2
  if (x.hi > 27.3) return dd{0.0, 0.0};
  dd e = exp_square(x, -1.0);
  dd k = erfc_cf(x);
  // 1/sqrt(pi) = (2/sqrt(pi)) / 2
  dd c = dd{tab::two_over_sqrtpi.hi * 0.5, tab::two_over_sqrtpi.lo * 0.5};
  return mul(mul(c, e), k);
}

dd erf_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (x.hi == 0.0) return x;
  bool n = sign_bit(x.hi);
  dd a = n ? neg(x) : x;
  dd r;
  if (!is_finite(a.hi))
    r = dd{1.0, 0.0};
  else if (a.hi <= 1.0)
    r = erf_pos_small(a);
  else
    r = sub_acc(dd{1.0, 0.0}, erfc_pos_large(a));
  return n ? neg(r) : r;
}

dd erfc_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (!is_finite(x.hi)) return x.hi > 0.0 ? dd{0.0, 0.0} : dd{2.0, 0.0};
  if (x.hi < 0.0) {
    dd a = neg(x);
    if (a.hi <= 1.0) return add_acc(dd{1.0, 0.0}, erf_pos_small(a));
    return sub_acc(dd{2.0, 0.0}, erfc_pos_large(a));
  }
  if (x.hi <= 0.5) return sub_acc(dd{1.0, 0.0}, erf_pos_small(x));
  return erfc_pos_large(x);
}

dd erfc_scaled_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (!is_finite(x.hi)) return x.hi > 0.0 ? dd{0.0, 0.0} : dd{INFINITY, 0.0};
  dd c = dd{tab::two_over_sqrtpi.hi * 0.5, tab::two_over_sqrtpi.lo * 0.5};
  if (x.hi > 0.5) {
    if (x.hi > 0x1p500) return divide(c, x);  // 1/(x sqrt(pi)), the fraction's limit
    return mul(c, erfc_cf(x));
  }
  if (x.hi < -26.7) return dd{INFINITY, 0.0};
  return mul(exp_square(x, 1.0), erfc_dd(x));
}

}  // namespace

extern "C" {

kaf_dd __KAFf90_erf_dd(kaf_dd x) { return erf_dd(x); }
kaf_dd __KAFf90_erfc_dd(kaf_dd x) { return erfc_dd(x); }
kaf_dd __KAFf90_erfc_scaled_dd(kaf_dd x) { return erfc_scaled_dd(x); }

}  // extern "C"
