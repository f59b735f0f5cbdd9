// GAMMA and LOG_GAMMA of the double-double kind.
//   [0.75, 2.75): Taylor series of log(gamma) around c = 1, 1.5, 2 or 2.5
//                 (coefficients from the Hurwitz zeta function), |x - c| <=
//                 0.25, so the zeros of LOG_GAMMA at 1 and 2 keep their
//                 relative accuracy;
//   below:        gamma(x) = gamma(x + 1) / x;
//   up to 20:     gamma(x) = (x-1)(x-2)...(x-m) gamma(x-m), the product in
//                 three parts;
//   from 20:      Stirling's series, exp of a three-part exponent for GAMMA;
//   negative x:   reflection, -pi / (x sin(pi x) gamma(-x)). LOG_GAMMA of a
//                 negative x where |GAMMA| is near 1 (its zeros there)
//                 keeps an absolute, not a relative, error: a few 2^-106
//                 on (-19, -2), where the reflection is written so that
//                 its terms stay small, and a few 2^-106 |lgamma(-x)|
//                 beyond.
// GAMMA has poles at 0 (+-infinity with the sign of the zero) and at the
// negative integers (NaN, as C's tgamma); LOG_GAMMA is +infinity there.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline dd T(const tab::dd2 &v) { return dd{v.hi, v.lo}; }

// log(gamma(c + e)) for the expansion point i (c = 1 + i/2), |e| <= 0.25:
// terms from e^31 on (below 2^-60 of the linear term) in binary64.
dd lgamma_series(int i, dd e) {
  const tab::dd2 *k = tab::lgamma_coef[i];
  double eh = e.hi;
  double q = k[57].hi;
  for (int n = 56; n >= 31; --n) q = q * eh + k[n].hi;
  dd p = add_ns(T(k[30]), mul_d_ns(e, q));
  for (int n = 29; n >= 2; --n) p = add_ns(T(k[n]), mul_ns(e, p));
  // lgamma(c) + e * (psi(c) + e * p)
  dd r = mul_ns(e, add_ns(T(tab::psi_c[i]), mul_ns(e, p)));
  return add_ns(T(tab::lgamma_c[i]), r);
}

// x in [0.75, 2.75): the nearest expansion point.
dd lgamma_mid(dd x) {
  int i = static_cast<int>((x.hi - 1.0) * 2.0 + 0.5);
  if (i < 0) i = 0;
  if (i > 3) i = 3;
  dd e = add_acc(x, dd{-(1.0 + 0.5 * i), 0.0});  // exact
  return lgamma_series(i, e);
}

// Three-part product (x-1)(x-2)...(x-m) for x in [2.75, 20).
struct td3 {
  double a, b, c;
};
td3 td_mul_dd(td3 p, dd y) {
  dd p00 = ddprod(p.a, y.hi);
  dd p01 = ddprod(p.a, y.lo);
  dd p10 = ddprod(p.b, y.hi);
  double low = p.c * y.hi;
  double t = p.b * y.lo;
  low = low + t;
  low = low + p01.lo;
  low = low + p10.lo;
  acc3 s;
  s.add(p00.hi);
  s.add(p00.lo);
  s.add(p01.hi);
  s.add(p10.hi);
  s.add(low);
  double third;
  dd r = s.get(third);
  return td3{r.hi, r.lo, third};
}
dd shift_product(dd x, int m) {
  td3 p{1.0, 0.0, 0.0};
  for (int i = 1; i <= m; ++i) p = td_mul_dd(p, add_acc(x, dd{-static_cast<double>(i), 0.0}));
  double lo;
  double hi = quick_two_sum(p.a, p.b + p.c, lo);
  return dd{hi, lo};
}

// Stirling's series sum B(2k) / (2k (2k-1) x^(2k-1)) for x >= 20.
dd stirling_series(dd x) {
  dd r = reciprocal(x);
  dd r2 = sqr(r);
  double q = tab::stirling[24].hi;
  for (int k = 23; k >= 9; --k) q = q * r2.hi + tab::stirling[k].hi;
  dd p = add_ns(T(tab::stirling[8]), mul_d_ns(r2, q));
  for (int k = 7; k >= 1; --k) p = add_ns(T(tab::stirling[k]), mul_ns(r2, p));
  return mul(p, r);
}

// log(gamma(x)) for finite x > 0.
dd lgamma_pos(dd x) {
  if (x.hi < 0.75) return sub_acc(lgamma_mid(add_acc(x, dd{1.0, 0.0})), log(x));
  if (x.hi < 2.75) return lgamma_mid(x);
  if (x.hi < 20.0) {
    int m = static_cast<int>(x.hi - 1.75);
    dd base = add_acc(x, dd{-static_cast<double>(m), 0.0});
    return add_ns(log(shift_product(x, m)), lgamma_mid(base));
  }
  // (x - 1/2) log x - x + log(2 pi)/2 + series
  dd lx = log(x);
  dd t = mul(add_acc(x, dd{-0.5, 0.0}), lx);
  t = sub_acc(t, x);
  t = add_ns(t, T(tab::half_log_2pi));
  return add_ns(t, stirling_series(x));
}

// gamma(x) for finite x > 0.
dd gamma_pos(dd x) {
  if (x.hi < 0.75) {
    dd g = exp(lgamma_mid(add_acc(x, dd{1.0, 0.0})));
    return divide(g, x);
  }
  if (x.hi < 2.75) return exp(lgamma_mid(x));
  if (x.hi < 20.0) {
    int m = static_cast<int>(x.hi - 1.75);
    dd base = add_acc(x, dd{-static_cast<double>(m), 0.0});
    return mul(shift_product(x, m), exp(lgamma_mid(base)));
  }
  if (x.hi > 171.7) return dd{INFINITY, 0.0};
  // x^(x - 1/2) e^(-x + log(2 pi)/2 + series), the exponent in three parts.
  dd small = add_ns(T(tab::half_log_2pi), stirling_series(x));
  return exp_of_product(add_acc(x, dd{-0.5, 0.0}), x, neg(x), small);
}

bool is_int(dd x) { return aint(x).hi == x.hi && aint(x).lo == x.lo; }

}  // namespace

dd sinpi(dd x) {
  // f = x - 2 round(x/2) in [-1, 1], exact; then fold to |g| <= 1/2.
  dd h = dd{x.hi * 0.5, x.lo * 0.5};
  dd n = anint(h);
  dd f = sub_acc(x, dd{n.hi * 2.0, n.lo * 2.0});
  bool negate = false;
  if (f.hi > 0.5) {
    f = sub_acc(dd{1.0, 0.0}, f);
  } else if (f.hi < -0.5) {
    f = sub_acc(dd{-1.0, 0.0}, f);
  }
  if (f.hi < 0.0) {
    f = neg(f);
    negate = true;
  }
  dd s;
  sincos(mul(T(tab::pi), f), &s, nullptr);
  return negate ? neg(s) : s;
}

}  // namespace kafdd

using namespace kafdd;

namespace {

dd gamma_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (x.hi == 0.0) return dd{copysign_(INFINITY, x.hi), 0.0};
  if (!is_finite(x.hi)) return x.hi > 0.0 ? x : dd{quiet_nan(), 0.0};
  if (x.hi > 0.0) return gamma_pos(x);
  if (is_int(x)) return dd{quiet_nan(), 0.0};
  // gamma(x) = pi / (sin(pi x) gamma(1 - x)), with gamma(1 - x) = -x gamma(-x):
  // 1 - x would round, and gamma magnifies that by |x psi(1 - x)|.
  dd s = sinpi(x);
  dd y = neg(x);
  if (y.hi < 169.0) return divide(T(tab::pi), mul(mul(s, y), gamma_pos(y)));
  // gamma(-x) overflows: |gamma(x)| = exp(log pi - log|x sin pi x| - lgamma(-x)).
  if (y.hi > 200.0) return dd{s.hi < 0.0 ? -0.0 : 0.0, 0.0};
  dd as = s.hi < 0.0 ? neg(s) : s;
  dd l = sub_acc(sub_acc(log(T(tab::pi)), log(mul(as, y))), lgamma_pos(y));
  dd r = exp(l);
  return s.hi < 0.0 ? neg(r) : r;
}

// log|gamma(x)| for x in (-19, -2), y = -x: with gamma(x) gamma(1 - x) =
// pi / sin(pi x) and gamma(1 - x) = y (y-1)...(y-m) gamma(y - m),
//   log|gamma(x)| = -log(|sin(pi y)| y (y-1)...(y-m) / pi) - lgamma(y - m),
// y - m in [1.75, 2.75). The product is formed in three parts, so the two
// terms that cancel near the zeros of LOG_GAMMA are both below 1 or so in
// size and the error stays a few units of 2^-106 in absolute terms,
// whatever x (instead of growing with lgamma(y) up to 36).
dd lgamma_reflected(dd x) {
  dd y = neg(x);
  int m = y.hi < 2.75 ? 0 : static_cast<int>(y.hi - 1.75);
  dd base = add_acc(y, dd{-static_cast<double>(m), 0.0});  // exact
  dd s = sinpi(x);
  if (s.hi < 0.0) s = neg(s);
  td3 p{s.hi, s.lo, 0.0};
  p = td_mul_dd(p, y);
  for (int i = 1; i <= m; ++i) p = td_mul_dd(p, add_acc(y, dd{-static_cast<double>(i), 0.0}));
  double lo;
  double hi = quick_two_sum(p.a, p.b + p.c, lo);
  dd q = divide(dd{hi, lo}, T(tab::pi));
  return sub_acc(neg(log(q)), lgamma_mid(base));
}

dd log_gamma_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (!is_finite(x.hi)) return dd{INFINITY, 0.0};
  if (x.hi == 0.0) return dd{INFINITY, 0.0};
  if (x.hi > 0.0) return lgamma_pos(x);
  if (is_int(x)) return dd{INFINITY, 0.0};
  if (x.hi < -2.0 && x.hi > -19.0) return lgamma_reflected(x);
  // log|gamma(x)| = log(pi / |x sin(pi x)|) - lgamma(-x)
  dd s = sinpi(x);
  if (s.hi < 0.0) s = neg(s);
  dd y = neg(x);
  return sub_acc(sub_acc(log(T(tab::pi)), log(mul(s, y))), lgamma_pos(y));
}

}  // namespace

extern "C" {

kaf_dd __KAFf90_gamma_dd(kaf_dd x) { return gamma_dd(x); }
kaf_dd __KAFf90_log_gamma_dd(kaf_dd x) { return log_gamma_dd(x); }

}  // extern "C"
