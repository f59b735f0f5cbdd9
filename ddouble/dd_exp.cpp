// EXP, LOG, LOG10, powers and the hyperbolic functions of the double-double
// kind. EXP reduces by multiples of ln2/64 (table of 2^(j/64)) and sums a
// degree-11 series; LOG reduces by a table of 1/c for c = 0.75 + j/128 and
// sums the series of log(1 + r), |r| < 2^-7.5.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline dd T(const tab::dd2 &v) { return dd{v.hi, v.lo}; }

// exp(r) - 1 for |r| <= 0.0055: terms 7..11 in binary64 (each below
// 2^-57 relative), 2..6 in double-double.
dd expm1_kernel(dd r) {
  double rh = r.hi;
  double q = tab::inv_fact[11].hi;
  q = q * rh + tab::inv_fact[10].hi;
  q = q * rh + tab::inv_fact[9].hi;
  q = q * rh + tab::inv_fact[8].hi;
  q = q * rh + tab::inv_fact[7].hi;
  dd p = add_ns(T(tab::inv_fact[6]), mul_d_ns(r, q));
  p = add_ns(T(tab::inv_fact[5]), mul_ns(r, p));
  p = add_ns(T(tab::inv_fact[4]), mul_ns(r, p));
  p = add_ns(T(tab::inv_fact[3]), mul_ns(r, p));
  p = add_ns(T(tab::inv_fact[2]), mul_ns(r, p));
  return add_ns(r, mul_ns(sqr_ns(r), p));
}

// log(1 + r) for |r| <= 2^-7.5: terms 8..14 in binary64, 2..7 in
// double-double.
dd log1p_kernel(dd r) {
  double rh = r.hi;
  double q = -tab::inv_int[14].hi;
  q = q * rh + tab::inv_int[13].hi;
  q = q * rh - tab::inv_int[12].hi;
  q = q * rh + tab::inv_int[11].hi;
  q = q * rh - tab::inv_int[10].hi;
  q = q * rh + tab::inv_int[9].hi;
  q = q * rh - tab::inv_int[8].hi;
  dd p = add_ns(T(tab::inv_int[7]), mul_d_ns(r, q));
  p = add_ns(neg(T(tab::inv_int[6])), mul_ns(r, p));
  p = add_ns(T(tab::inv_int[5]), mul_ns(r, p));
  p = add_ns(neg(T(tab::inv_int[4])), mul_ns(r, p));
  p = add_ns(T(tab::inv_int[3]), mul_ns(r, p));
  p = add_ns(neg(T(tab::inv_int[2])), mul_ns(r, p));
  return add_ns(r, mul_ns(sqr_ns(r), p));
}

// The reduction of LOG: x = 2^k * c_j * (1 + r) with r = m * inv_j - 1 and
// |r| < 2^-7.5. r is returned unrounded, as four binary64 terms whose sum
// is exact (p - 1 is exact for p in [0.99, 1.01]); base = k*ln2 -
// log(inv_j) to about 2^-150 (three parts). x must be positive and finite.
[[gnu::always_inline]] inline void log_reduce(dd x, acc3 &base, double r4[4]) {
  int bias = 0;
  if (x.hi < 0x1p-900) {  // keep the low part in the normal range
    x = scale(x, 200);
    bias = -200;
  }
  int e = biased_exponent(x.hi) - 1022;  // x.hi = f * 2^e, f in [0.5, 1)
  dd m = scale(x, -e);
  if (m.hi < 0.75) {
    m = dd{m.hi * 2.0, m.lo * 2.0};
    e -= 1;
  }
  int j = static_cast<int>((m.hi - 0.75) * 128.0 + 0.5);
  double inv = tab::log_inv[j];
  dd p1 = ddprod(m.hi, inv);
  dd p2 = ddprod(m.lo, inv);
  r4[0] = p1.hi - 1.0;
  r4[1] = p1.lo;
  r4[2] = p2.hi;
  r4[3] = p2.lo;
  double k = static_cast<double>(e + bias);
  dd ka = ddprod(k, tab::ln2_3.a);
  dd kb = ddprod(k, tab::ln2_3.b);
  base = acc3{};
  base.add(ka.hi);
  base.add(tab::log_neglog[j].a);
  base.add(ka.lo);
  base.add(kb.hi);
  base.add(tab::log_neglog[j].b);
  base.add(kb.lo);
  double c3 = k * tab::ln2_3.c;
  base.add(c3);
  base.add(tab::log_neglog[j].c);
}

// log x = base + l1, l1 = log(1 + r) to 2^-106.
void log_parts(dd x, acc3 &base, dd &l1) {
  double r4[4];
  log_reduce(x, base, r4);
  dd r = add_d_ns(dd{r4[0], 0.0}, r4[1]);
  r = add_ns(r, dd{r4[2], r4[3]});
  l1 = log1p_kernel(r);
}

// log x to about 2^-120 of itself, added into acc (three parts), for the
// powers: a rounding of log x at 2^-106 would be multiplied by the
// exponent. log(1 + r) = r - r^2/2 + r^3 q(r), q = 1/3 - r/4 + ...: r and
// r^2 are carried to about 2^-150 (the exact terms of r, the exact square
// of its leading part); only r^3 q, below 2^-16.5 of the whole, rounds at
// 2^-106.
void log_accurate(dd x, acc3 &acc) {
  double r4[4];
  log_reduce(x, acc, r4);
  acc3 racc;
  for (double t : r4) racc.add(t);
  double r3;
  dd r = racc.get(r3);
  for (double t : r4) acc.add(t);
  // -r^2/2 = -(rh^2 + 2 rh rl + rl^2 + 2 rh r3)/2; halving is exact.
  dd s0 = ddprod(r.hi, r.hi);
  dd s1 = ddprod(r.hi, r.lo);
  acc.add(-0.5 * s0.hi);
  acc.add(-s1.hi);
  acc.add(-0.5 * s0.lo);
  acc.add(-s1.lo);
  double s2 = r.lo * r.lo;
  s2 = s2 * 0.5;
  double s3 = r.hi * r3;
  s2 = s2 + s3;
  acc.add(-s2);
  // q = sum over k >= 3 of (-1)^(k+1) r^(k-3) / k: terms 10..18 in binary64
  // (their rounding is below 2^-120 of the whole), 3..9 in double-double.
  double rh = r.hi;
  double q = tab::inv_int[18].hi;
  q = -q;
  for (int k = 17; k >= 10; --k) {
    q = q * rh;
    q = (k & 1) ? q + tab::inv_int[k].hi : q - tab::inv_int[k].hi;
  }
  dd p = add_ns(T(tab::inv_int[9]), mul_d_ns(r, q));
  for (int k = 8; k >= 3; --k) {
    dd c = T(tab::inv_int[k]);
    p = add_ns((k & 1) ? c : neg(c), mul_ns(r, p));
  }
  dd c = mul_ns(mul_ns(sqr_ns(r), r), p);
  acc.add(c.hi);
  acc.add(c.lo);
}

}  // namespace

dd exp_scaled3(dd x, double x3, int &k) {
  constexpr double inv_l = 0x1.71547652b82fep+6;  // 64/ln2
  double nd = round_even(x.hi * inv_l);
  // r = x - nd*ln2/64: the first two products are exact (nd has at most
  // 17 bits, the constants 36), x.hi - nd*c0 is exact (Sterbenz).
  double t1 = nd * tab::ln2o64[0];
  t1 = x.hi - t1;
  double t2 = nd * tab::ln2o64[1];
  double e;
  double s = two_sum(t1, -t2, e);
  dd r = add_d_ns(dd{s, e}, x.lo);
  double t3 = nd * tab::ln2o64[2];
  r = add_d_ns(r, -t3);
  if (x3 != 0.0) r = add_d_ns(r, x3);
  long n = static_cast<long>(nd);
  int j = static_cast<int>(n & 63);
  k = static_cast<int>((n - j) / 64);
  dd em1 = expm1_kernel(r);
  dd tj = T(tab::exp2_j64[j]);
  return add_ns(tj, mul_ns(tj, em1));
}

dd exp_scaled(dd x, int &k) { return exp_scaled3(x, 0.0, k); }

dd exp(dd x) {
  if (!(fabs_(x.hi) < 709.0)) [[unlikely]] {
    if (is_nan(x.hi)) return dd{x.hi, 0.0};
    if (x.hi > 709.79) return dd{INFINITY, 0.0};
    if (x.hi < -745.2) return dd{0.0, 0.0};
  }
  int k;
  dd m = exp_scaled(x, k);
  return scale(m, k);
}

dd log(dd x) {
  if (!(x.hi > 0.0 && x.hi <= kDblMax)) [[unlikely]] {
    if (is_nan(x.hi)) return dd{x.hi, 0.0};
    if (x.hi == 0.0) return dd{-INFINITY, 0.0};
    if (x.hi < 0.0) return dd{quiet_nan(), 0.0};
    return dd{INFINITY, 0.0};
  }
  acc3 base;
  dd l1;
  log_parts(x, base, l1);
  if (base.s0 == 0.0) return l1;
  double third;
  dd b = base.get(third);
  return add_ns(b, l1);
}

dd log1p(dd y) {
  if (fabs_(y.hi) <= 0x1p-8) return log1p_kernel(y);
  if (y.hi > -0.25 && y.hi < 0.49) {
    // 1 + y is never formed (it would round at 2^-106 of 1): r = (1 + y) inv
    // - 1 = y inv + (inv - 1) from exact products; inv - 1 is exact.
    int j = static_cast<int>((y.hi + 0.25) * 128.0 + 0.5);
    double inv = tab::log_inv[j];
    dd p1 = ddprod(y.hi, inv);
    dd p2 = ddprod(y.lo, inv);
    double c = inv - 1.0;
    dd r = add_acc(p1, dd{c, 0.0});
    r = add_ns(r, p2);
    dd l1 = log1p_kernel(r);
    if (j == 32) return l1;
    const tab::dd3 &nl = tab::log_neglog[j];
    dd b = add_d_ns(dd{nl.a, nl.b}, nl.c);
    return add_ns(b, l1);
  }
  return log(add_acc(dd{1.0, 0.0}, y));
}

// exp(b log a) for positive finite a: log a is formed to about 2^-120 of
// itself (three parts), b log a from exact partial products; extra and
// extra2 are added exactly; EXP then takes all three parts.
dd exp_of_product(dd b, dd a, dd extra, dd extra2) {
  acc3 base;
  log_accurate(a, base);
  double b3;
  dd bb = base.get(b3);
  dd p1 = ddprod(b.hi, bb.hi);
  if (!(fabs_(p1.hi) < 1e5)) return kafdd::exp(dd{p1.hi + extra.hi, 0.0});
  dd p2 = ddprod(b.hi, bb.lo);
  dd p3 = ddprod(b.lo, bb.hi);
  acc3 y;
  y.add(p1.hi);
  y.add(p1.lo);
  y.add(p2.hi);
  y.add(p3.hi);
  y.add(p2.lo);
  y.add(p3.lo);
  double t = b.hi * b3;
  y.add(t);
  t = b.lo * bb.lo;
  y.add(t);
  y.add(extra.hi);
  y.add(extra.lo);
  y.add(extra2.hi);
  y.add(extra2.lo);
  double y3;
  dd yy = y.get(y3);
  if (!(fabs_(yy.hi) < 709.0)) {
    if (yy.hi > 709.79) return dd{INFINITY, 0.0};
    if (yy.hi < -745.2) return dd{0.0, 0.0};
  }
  int k;
  dd m = exp_scaled3(yy, y3, k);
  return scale(m, k);
}

}  // namespace kafdd

using namespace kafdd;

namespace {

dd log10_dd(dd x) {
  dd l = kafdd::log(x);
  if (!normal_result(l.hi)) return l;
  return mul(l, dd{tab::inv_ln10.hi, tab::inv_ln10.lo});
}

// Three-part product of mantissas in [1, 2): good to about 2^-150.
struct td {
  double a, b, c;
};
td td_mul(td x, td y) {
  dd p00 = ddprod(x.a, y.a);
  dd p01 = ddprod(x.a, y.b);
  dd p10 = ddprod(x.b, y.a);
  double low = x.a * y.c;
  double t = x.b * y.b;
  low = low + t;
  t = x.c * y.a;
  low = low + t;
  low = low + p01.lo;
  low = low + p10.lo;
  double e1;
  double s1 = two_sum(p00.lo, p01.hi, e1);
  double e2;
  double s2 = two_sum(s1, p10.hi, e2);
  low = low + e1;
  low = low + e2;
  double u;
  double a = quick_two_sum(p00.hi, s2, u);
  double v;
  double b = two_sum(u, low, v);
  double w;
  a = quick_two_sum(a, b, w);
  double z;
  b = two_sum(w, v, z);
  return td{a, b, z};
}
// Keeps the mantissa in [1, 2), moving powers of two into e.
void td_norm(td &x, double &e) {
  if (x.a >= 2.0) {
    x.a *= 0.5;
    x.b *= 0.5;
    x.c *= 0.5;
    e += 1.0;
  }
}

// x ** n by binary powering on a three-part mantissa with the binary
// exponent kept apart, so neither rounding nor range limits the
// intermediate powers; a negative n takes one reciprocal at the end.
dd pow_int(dd x, std::int64_t n) {
  if (n == 0) return dd{1.0, 0.0};
  bool odd = (n & 1) != 0;
  bool neg_result = odd && sign_bit(x.hi);
  dd ax = sign_bit(x.hi) ? neg(x) : x;
  dd r;
  if (is_nan(x.hi)) {
    r = dd{x.hi, 0.0};
  } else if (ax.hi == 0.0) {
    r = n > 0 ? dd{0.0, 0.0} : dd{INFINITY, 0.0};
  } else if (!is_finite(ax.hi)) {
    r = n > 0 ? dd{INFINITY, 0.0} : dd{0.0, 0.0};
  } else {
    std::uint64_t m = n < 0 ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
    int e0 = std::ilogb(ax.hi);
    dd mb = scale(ax, -e0);
    if (mb.hi >= 2.0) {  // subnormal input rounding
      mb = dd{mb.hi * 0.5, mb.lo * 0.5};
      e0 += 1;
    }
    td base{mb.hi, mb.lo, 0.0};
    double eb = e0;
    td acc{1.0, 0.0, 0.0};
    double ea = 0.0;
    constexpr double limit = 0x1p40;  // far past any finite result
    while (m != 0) {
      if (m & 1) {
        acc = td_mul(acc, base);
        ea += eb;
        td_norm(acc, ea);
      }
      m >>= 1;
      if (m != 0) {
        base = td_mul(base, base);
        eb += eb;
        td_norm(base, eb);
        if (eb > limit) eb = limit;
        if (eb < -limit) eb = -limit;
      }
      if (ea > limit) ea = limit;
      if (ea < -limit) ea = -limit;
    }
    double lo;
    double hi = quick_two_sum(acc.a, acc.b + acc.c, lo);
    r = dd{hi, lo};
    double ex = ea;
    if (n < 0) {
      r = reciprocal(r);
      ex = -ex;
    }
    int ei = ex > 4000.0 ? 4000 : (ex < -4000.0 ? -4000 : static_cast<int>(ex));
    r = scale(r, ei);
  }
  return neg_result ? neg(r) : r;
}

bool is_integer(dd x) { return kafdd::aint(x).hi == x.hi && kafdd::aint(x).lo == x.lo; }
bool is_odd_integer(dd x) {
  if (!is_integer(x)) return false;
  dd h = dd{x.hi * 0.5, x.lo * 0.5};
  return !is_integer(h);
}

// a ** b with C's pow conventions for zeros, infinities, NaN and negative
// bases (an integral exponent keeps the sign; otherwise NaN).
dd pow_dd(dd a, dd b) {
  if (b.hi == 0.0) return dd{1.0, 0.0};
  if (a.hi == 1.0 && a.lo == 0.0) return dd{1.0, 0.0};
  if (is_nan(a.hi) || is_nan(b.hi)) return dd{a.hi + b.hi, 0.0};
  bool neg_result = false;
  if (a.hi < 0.0 || (a.hi == 0.0 && sign_bit(a.hi))) {
    if (!is_finite(b.hi)) {
      // |a| decides against 1, as for a positive base.
    } else if (is_integer(b)) {
      neg_result = is_odd_integer(b);
    } else if (a.hi != 0.0) {
      return dd{quiet_nan(), 0.0};
    }
    a = neg(a);
  }
  dd r;
  if (a.hi == 0.0) {
    r = b.hi < 0.0 ? dd{INFINITY, 0.0} : dd{0.0, 0.0};
  } else if (!is_finite(b.hi)) {
    double aa = a.hi - 1.0 + a.lo;
    if (aa == 0.0)
      r = dd{1.0, 0.0};
    else
      r = ((aa > 0.0) == (b.hi > 0.0)) ? dd{INFINITY, 0.0} : dd{0.0, 0.0};
  } else if (!is_finite(a.hi)) {
    r = b.hi < 0.0 ? dd{0.0, 0.0} : dd{INFINITY, 0.0};
  } else if (fabs_(b.hi) <= 0x1p30 && is_integer(b)) {
    r = pow_int(a, static_cast<std::int64_t>(b.hi) + static_cast<std::int64_t>(b.lo));
  } else {
    r = exp_of_product(b, a, dd{0.0, 0.0}, dd{0.0, 0.0});
  }
  return neg_result ? neg(r) : r;
}

}  // namespace

namespace kafdd {

dd sinh(dd x) {
  double ax = fabs_(x.hi);
  if (!(ax <= kDblMax) || ax == 0.0) return dd{x.hi, 0.0};
  if (ax < 0.5) {
    // Odd series x + x^3/3! + ..., terms past x^13 in binary64.
    dd x2 = sqr_ns(x);
    double q = tab::inv_fact[25].hi;
    for (int n = 23; n >= 15; n -= 2) q = q * x2.hi + tab::inv_fact[n].hi;
    dd p = add_ns(T(tab::inv_fact[13]), mul_d_ns(x2, q));
    for (int n = 11; n >= 3; n -= 2) p = add_ns(T(tab::inv_fact[n]), mul_ns(x2, p));
    return add_ns(x, mul_ns(mul_ns(x2, x), p));
  }
  dd ay = x.hi < 0.0 ? neg(x) : x;
  dd r;
  if (ax > 709.79 * 2.0) {
    r = dd{INFINITY, 0.0};
  } else {
    int k;
    dd m = exp_scaled(ay, k);
    // sinh = (2^k m - 2^-k/m)/2; the second term vanishes past 2^-110.
    if (k > 60) {
      r = scale(m, k - 1);
    } else {
      dd big = scale(m, k);
      dd small = reciprocal(big);
      r = sub_acc(big, small);
      r = dd{r.hi * 0.5, r.lo * 0.5};
    }
  }
  return x.hi < 0.0 ? neg(r) : r;
}

dd cosh(dd x) {
  double ax = fabs_(x.hi);
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (!(ax <= kDblMax)) return dd{INFINITY, 0.0};
  dd ay = x.hi < 0.0 ? neg(x) : x;
  if (ax > 709.79 * 2.0) return dd{INFINITY, 0.0};
  int k;
  dd m = exp_scaled(ay, k);
  if (k > 60) return scale(m, k - 1);
  dd big = scale(m, k);
  dd small = reciprocal(big);
  dd r = add_ns(big, small);
  return dd{r.hi * 0.5, r.lo * 0.5};
}

dd asinh(dd x) {
  double ax = fabs_(x.hi);
  if (!(ax <= kDblMax)) return dd{x.hi, 0.0};
  if (x.hi == 0.0) return x;
  dd ay = x.hi < 0.0 ? neg(x) : x;
  dd r;
  if (ax > 0x1p500) {
    r = add_ns(kafdd::log(ay), dd{tab::ln2.hi, tab::ln2.lo});
  } else {
    // log1p(|x| + x^2 / (1 + sqrt(1 + x^2)))
    dd x2 = sqr(ay);
    dd t = add_d_ns(kafdd::sqrt(add_d_ns(x2, 1.0)), 1.0);
    r = kafdd::log1p(add_ns(ay, divide(x2, t)));
  }
  return x.hi < 0.0 ? neg(r) : r;
}

}  // namespace kafdd

namespace {

dd tanh_dd(dd x) {
  double ax = fabs_(x.hi);
  if (is_nan(x.hi) || ax == 0.0) return dd{x.hi, 0.0};
  if (ax < 0.5) {
    dd s = kafdd::sinh(x);
    dd c = kafdd::sqrt(add_d_ns(sqr_ns(s), 1.0));
    return divide(s, c);
  }
  dd r;
  if (ax > 40.0) {
    // 1 - 2 e^(-2|x|): the correction only reaches the low part.
    double t = ax < 400.0 ? -2.0 * std::exp(-2.0 * ax) : 0.0;
    r = dd{1.0, t};
  } else {
    dd ay = x.hi < 0.0 ? neg(x) : x;
    dd e2 = kafdd::exp(dd{ay.hi * 2.0, ay.lo * 2.0});
    // 1 - 2/(e^2x + 1)
    dd d = divide(dd{2.0, 0.0}, add_d_ns(e2, 1.0));
    r = sub_acc(dd{1.0, 0.0}, d);
  }
  return x.hi < 0.0 ? neg(r) : r;
}

dd acosh_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (x.hi < 1.0 || (x.hi == 1.0 && x.lo < 0.0)) return dd{quiet_nan(), 0.0};
  if (!is_finite(x.hi)) return dd{INFINITY, 0.0};
  if (x.hi > 0x1p500) return add_ns(kafdd::log(x), dd{tab::ln2.hi, tab::ln2.lo});
  // log1p(t + sqrt(2t + t^2)) with t = x - 1 (exact)
  dd t = add_acc(x, dd{-1.0, 0.0});
  dd u = add_ns(dd{t.hi * 2.0, t.lo * 2.0}, sqr(t));
  return kafdd::log1p(add_ns(t, kafdd::sqrt(u)));
}

dd atanh_dd(dd x) {
  double ax = fabs_(x.hi);
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (x.hi == 0.0) return x;
  if (ax > 1.0 || (ax == 1.0 && (x.hi > 0.0 ? x.lo > 0.0 : x.lo < 0.0))) return dd{quiet_nan(), 0.0};
  if (ax == 1.0 && x.lo == 0.0) return dd{copysign_(INFINITY, x.hi), 0.0};
  dd ay = x.hi < 0.0 ? neg(x) : x;
  // atanh = log1p(2y / (1 - y)) / 2
  dd one_minus = add_acc(dd{1.0, 0.0}, neg(ay));
  dd q = divide(dd{ay.hi * 2.0, ay.lo * 2.0}, one_minus);
  dd r = kafdd::log1p(q);
  r = dd{r.hi * 0.5, r.lo * 0.5};
  return x.hi < 0.0 ? neg(r) : r;
}

}  // namespace

extern "C" {

kaf_dd __KAFf90_exp_dd(kaf_dd x) { return kafdd::exp(x); }
kaf_dd __KAFf90_exp_dd_arg(const kaf_dd *x) { return kafdd::exp(*x); }
kaf_dd __KAFf90_log_dd(kaf_dd x) { return kafdd::log(x); }
kaf_dd __KAFf90_log_dd_arg(const kaf_dd *x) { return kafdd::log(*x); }
kaf_dd __KAFf90_log10_dd(kaf_dd x) { return log10_dd(x); }
kaf_dd __KAFf90_log10_dd_arg(const kaf_dd *x) { return log10_dd(*x); }
kaf_dd __KAFf90_dd_pow_dd(kaf_dd a, kaf_dd b) { return pow_dd(a, b); }
kaf_dd __KAFf90_dd_pow_i4(kaf_dd a, int64_t n) { return pow_int(a, n); }
kaf_dd __KAFf90_sinh_dd(kaf_dd x) { return kafdd::sinh(x); }
kaf_dd __KAFf90_sinh_dd_arg(const kaf_dd *x) { return kafdd::sinh(*x); }
kaf_dd __KAFf90_cosh_dd(kaf_dd x) { return kafdd::cosh(x); }
kaf_dd __KAFf90_cosh_dd_arg(const kaf_dd *x) { return kafdd::cosh(*x); }
kaf_dd __KAFf90_tanh_dd(kaf_dd x) { return tanh_dd(x); }
kaf_dd __KAFf90_tanh_dd_arg(const kaf_dd *x) { return tanh_dd(*x); }
kaf_dd __KAFf90_asinh_dd(kaf_dd x) { return kafdd::asinh(x); }
kaf_dd __KAFf90_acosh_dd(kaf_dd x) { return acosh_dd(x); }
kaf_dd __KAFf90_atanh_dd(kaf_dd x) { return atanh_dd(x); }

}  // extern "C"
