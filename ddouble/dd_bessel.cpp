// BESSEL_J0, J1, JN, Y0, Y1, YN and the (N1, N2, X) forms of the
// double-double kind.
//   x < 40, or n >= x: Miller's backward recurrence from an order well past
//                      n and x, normalised by J0 + 2 (J2 + J4 + ...) = 1;
//   x >= 40, n < x:    Hankel's expansion for J0 and J1 (its smallest term
//                      is about e^(-2x), below 2^-110), then the forward
//                      recurrence, which is stable while the order is
//                      below x.
// Y0 and Y1 below x = 40 come from the same normalised Miller sequence
// through Neumann's series, Y0 = (2/pi)(log(x/2) + gamma) J0 - (4/pi) sum
// (-1)^k J2k / k, and its derivative for Y1 = -Y0'; higher orders by the
// forward recurrence (stable for Y). J0, J1, Y0 and Y1 within 1/4 of one of
// their zeros below 40.5 take the Taylor series about the zero instead,
// which keeps the error relative; elsewhere near a zero (from x = 40.5, and
// for the other orders) the error is absolute (a few 2^-106 of the size of
// the oscillation).
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline dd T(const tab::dd2 &v) { return dd{v.hi, v.lo}; }

// 2/x to about 2^-150: a double-double and a third part. A rounding error
// of 2/x shared by every step of a recurrence acts as a change of x, which
// J magnifies by x J'/J; the third part removes it.
struct coef {
  dd t;
  double t3;
};
coef two_over(dd x) {
  dd t = divide(dd{2.0, 0.0}, x);
  dd p = ddprod(x.hi, t.hi);
  dd q = ddprod(x.hi, t.lo);
  dd r = ddprod(x.lo, t.hi);
  double e = 2.0 - p.hi;  // exact: p.hi is within an ulp of 2
  e = e - p.lo;
  e = e - q.hi;
  e = e - r.hi;
  e = e - q.lo;
  e = e - r.lo;
  double s = x.lo * t.lo;
  e = e - s;
  return coef{t, e / x.hi};
}
// (2k/x) * j with the three-part 2/x.
dd step_product(const coef &c, int k, dd j) {
  double kd = static_cast<double>(k);
  dd a = mul(mul_d(c.t, kd), j);
  double b = kd * c.t3;
  b = b * j.hi;
  return add_d(a, b);
}

// Miller: J_k(x) for k = lo..hi into out[0 .. hi-lo] (x > 0).
void miller(dd x, int lo, int hi, dd *out) {
  int start = hi > static_cast<int>(x.hi) ? hi : static_cast<int>(x.hi);
  start += 60 + static_cast<int>(2.0 * std::cbrt(x.hi + 1.0) * 6.0);
  if (start & 1) ++start;
  coef two_over_x = two_over(x);
  dd jp{0.0, 0.0};      // j_{k+1}
  dd jk{0x1p-100, 0.0};  // j_k, an arbitrary small start
  dd sum{0.0, 0.0};
  for (int k = start; k >= 1; --k) {
    // j_{k-1} = (2k/x) j_k - j_{k+1}
    dd jm = sub(step_product(two_over_x, k, jk), jp);
    jp = jk;
    jk = jm;
    int km = k - 1;
    if (km >= lo && km <= hi) out[km - lo] = jk;
    if (km % 2 == 0 && km > 0) sum = add(sum, jk);
    if (fabs_(jk.hi) > 0x1p500) {  // rescale everything kept so far
      jk = scale(jk, -500);
      jp = scale(jp, -500);
      sum = scale(sum, -500);
      for (int i = km; i <= hi; ++i)
        if (i >= lo) out[i - lo] = scale(out[i - lo], -500);
    }
  }
  // jk is now j_0.
  dd norm = add(jk, dd{sum.hi * 2.0, sum.lo * 2.0});
  for (int i = lo; i <= hi; ++i) out[i - lo] = divide(out[i - lo], norm);
}

// Hankel's expansion of J_nu(x) and Y_nu(x), nu = 0 or 1, x >= 40.
dd hankel(int nu, dd x, dd *y = nullptr) {
  double mu = 4.0 * nu * nu;
  dd inv8x = reciprocal(dd{x.hi * 8.0, x.lo * 8.0});
  // a_k / x^k = prod_{j=1..k} (mu - (2j-1)^2) / (8 j x)
  dd term{1.0, 0.0};
  dd p{1.0, 0.0}, q{0.0, 0.0};
  double prev = INFINITY;
  for (int k = 1; k < 200; ++k) {
    double odd = 2.0 * k - 1.0;
    term = mul(term, mul_d(inv8x, mu - odd * odd));  // an exact integer factor
    term = divide(term, dd{static_cast<double>(k), 0.0});
    double mag = fabs_(term.hi);
    if (mag > prev) break;  // the asymptotic series starts to grow
    prev = mag;
    // P takes the even k with signs +, -, +, ... (k = 2, 4, ...); Q the
    // odd k with +, -, ... (k = 1, 3, ...).
    int r = k % 4;
    if (r == 0) p = add(p, term);
    if (r == 2) p = sub(p, term);
    if (r == 1) q = add(q, term);
    if (r == 3) q = sub(q, term);
    if (mag < 0x1p-112) break;
  }
  dd s, c;
  sincos(x, &s, &c);
  // chi = x - (2 nu + 1) pi/4: cos chi = (cx c + sx s)/sqrt2, sin chi =
  // (cx s - sx c)/sqrt2 with (cx, sx) = (1, 1) for nu = 0, (-1, 1) for nu = 1.
  double cx = nu == 0 ? 1.0 : -1.0;
  dd cos_chi = add(mul_d(c, cx), s);
  dd sin_chi = sub(mul_d(s, cx), c);
  dd v = sub(mul(p, cos_chi), mul(q, sin_chi));
  // sqrt(2/(pi x)) / sqrt2 = 1/sqrt(pi x)
  dd f = reciprocal(sqrt(mul(T(tab::pi), x)));
  if (y) *y = mul(f, add(mul(p, sin_chi), mul(q, cos_chi)));
  return mul(f, v);
}

// x < 2^-30: J_k(x) = (x/2)^k / k! (1 - (x/2)^2 / (k+1)), the next term
// below 2^-120 (the recurrence's 2/x would overflow for the tiniest x).
void tiny_series(dd x, int lo, int hi, dd *out) {
  dd h{x.hi * 0.5, x.lo * 0.5};
  dd h2 = sqr(h);
  dd t{1.0, 0.0};
  for (int k = 0; k <= hi; ++k) {
    if (k > 0 && t.hi != 0.0) t = divide(mul(t, h), dd{static_cast<double>(k), 0.0});
    if (k >= lo) {
      dd c = sub(dd{1.0, 0.0}, divide(h2, dd{k + 1.0, 0.0}));
      out[k - lo] = t.hi == 0.0 ? t : mul(t, c);
    }
  }
}

// J_k(x) for k = lo..hi, x > 0, 0 <= lo <= hi.
void bessel_j_range(dd x, int lo, int hi, dd *out) {
  if (x.hi < 0x1p-30) {
    tiny_series(x, lo, hi, out);
    return;
  }
  if (x.hi < 40.0 || lo >= x.hi) {
    miller(x, lo, hi, out);
    return;
  }
  // Forward from J0, J1 while the order stays below x; Miller beyond.
  dd j0 = hankel(0, x), j1 = hankel(1, x);
  int fwd_top = hi < static_cast<int>(x.hi) ? hi : static_cast<int>(x.hi) - 1;
  dd jm = j0, jk = j1;
  if (lo == 0) out[0] = j0;
  if (lo <= 1 && hi >= 1) out[1 - lo] = j1;
  coef two_over_x = two_over(x);
  for (int k = 1; k < fwd_top; ++k) {
    dd jn = sub(step_product(two_over_x, k, jk), jm);
    jm = jk;
    jk = jn;
    if (k + 1 >= lo) out[k + 1 - lo] = jk;
  }
  if (hi > fwd_top) miller(x, fwd_top + 1, hi, out + (fwd_top + 1 - lo));
}

// Within min(1/4, z/24) of a zero z of J0, J1, Y0 or Y1 below 40.5: the
// Taylor series about z in t = x - z, with t from the four-part zero
// (to about 2^-200; x - z can be as small as 2^-106 x), so the result keeps its relative
// accuracy where the general methods keep only an absolute one. Terms up
// to t^24: Y's series converge only within z of z (the singularity at 0),
// hence z/24, which keeps the 25th term below 2^-110 of the first; J's
// coefficients fall faster (J is entire). x > 0.
template <std::size_t N>
bool near_zero(const tab::bessel_zero (&zs)[N], dd x, dd &out) {
  for (const tab::bessel_zero &z : zs) {
    double d = x.hi - z.z[0];  // exact: x.hi and z are within a factor 2
    if (!(fabs_(d) <= 0.25 && fabs_(d) * 24.0 <= z.z[0])) continue;
    acc3 s;
    s.add(d);
    s.add(x.lo);
    s.add(-z.z[1]);
    s.add(-z.z[2]);
    s.add(-z.z[3]);
    double t3;
    dd t = s.get(t3);
    dd p = T(z.a[tab::bessel_zero_terms - 1]);
    for (int k = tab::bessel_zero_terms - 2; k >= 0; --k) p = add_ns(T(z.a[k]), mul_ns(t, p));
    out = mul(t, p);
    return true;
  }
  return false;
}

dd bessel_jn(int n, dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  bool negate = false;
  if (n < 0) {
    n = -n;
    negate = (n & 1) != 0;
  }
  if (!is_finite(x.hi)) return dd{0.0, 0.0};
  if (x.hi == 0.0) return dd{n == 0 ? 1.0 : 0.0, 0.0};
  if (x.hi < 0.0) {
    x = neg(x);
    if (n & 1) negate = !negate;
  }
  dd r;
  if (n == 0 && near_zero(tab::bessel_zeros_j0, x, r)) return negate ? neg(r) : r;
  if (n == 1 && near_zero(tab::bessel_zeros_j1, x, r)) return negate ? neg(r) : r;
  bessel_j_range(x, n, n, &r);
  return negate ? neg(r) : r;
}

// Y0(x), Y1(x) for x > 0.
void bessel_y01(dd x, dd &y0, dd &y1) {
  dd tpi = T(tab::twoopi);
  if (x.hi >= 40.0) {
    hankel(0, x, &y0);
    hankel(1, x, &y1);
    return;
  }
  dd lg = add(log(dd{x.hi * 0.5, x.lo * 0.5}), T(tab::euler_gamma));  // log(x/2) + gamma
  if (x.hi < 0x1p-30) {
    // (2/pi)[(log(x/2) + gamma)(1 - x^2/4) + x^2/4]; -2/(pi x) + (x/pi)(log(x/2) + gamma - 1/2)
    dd q = sqr(dd{x.hi * 0.5, x.lo * 0.5});
    y0 = mul(tpi, add(mul(lg, sub(dd{1.0, 0.0}, q)), q));
    dd a = neg(divide(tpi, x));
    dd b = mul(dd{x.hi * 0.5, x.lo * 0.5}, mul(tpi, sub(lg, dd{0.5, 0.0})));
    y1 = add(a, b);
    return;
  }
  constexpr int kMax = 256;
  dd j[kMax];
  int m = static_cast<int>(x.hi) + 64;
  if (m >= kMax - 2) m = kMax - 2;
  miller(x, 0, m, j);
  // s0 = sum (-1)^k J2k / k, s1 = sum (-1)^k (J2k-1 - J2k+1) / k
  dd s0{0.0, 0.0}, s1{0.0, 0.0};
  for (int k = m / 2; k >= 1; --k) {
    dd kk{static_cast<double>(k), 0.0};
    dd t0 = divide(j[2 * k], kk);
    dd t1 = divide(sub(j[2 * k - 1], 2 * k + 1 <= m ? j[2 * k + 1] : dd{0.0, 0.0}), kk);
    if (k & 1) {
      s0 = sub(s0, t0);
      s1 = sub(s1, t1);
    } else {
      s0 = add(s0, t0);
      s1 = add(s1, t1);
    }
  }
  y0 = mul(tpi, sub(mul(lg, j[0]), dd{s0.hi * 2.0, s0.lo * 2.0}));
  dd inner = sub(divide(j[0], x), mul(lg, j[1]));
  y1 = mul(tpi, sub(s1, inner));
}

// Y_k(x) for k = lo..hi, x > 0, 0 <= lo <= hi, by the forward recurrence.
void bessel_y_range(dd x, int lo, int hi, dd *out) {
  dd ym, yk;
  bessel_y01(x, ym, yk);
  if (lo == 0) out[0] = ym;
  if (lo <= 1 && hi >= 1) out[1 - lo] = yk;
  coef two_over_x = two_over(x);
  for (int k = 1; k < hi; ++k) {
    dd yn = sub(step_product(two_over_x, k, yk), ym);
    ym = yk;
    yk = yn;
    if (k + 1 >= lo) out[k + 1 - lo] = yk;
    if (!is_finite(yk.hi)) {  // -infinity from here on
      for (int i = k + 2; i <= hi; ++i)
        if (i >= lo) out[i - lo] = dd{-INFINITY, 0.0};
      break;
    }
  }
}

dd bessel_yn(int n, dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  bool negate = false;
  if (n < 0) {
    n = -n;
    negate = (n & 1) != 0;
  }
  if (x.hi < 0.0) return dd{quiet_nan(), 0.0};
  if (x.hi == 0.0) return dd{negate ? INFINITY : -INFINITY, 0.0};
  if (!is_finite(x.hi)) return dd{0.0, 0.0};
  dd r;
  if (n == 0 && near_zero(tab::bessel_zeros_y0, x, r)) return negate ? neg(r) : r;
  if (n == 1 && near_zero(tab::bessel_zeros_y1, x, r)) return negate ? neg(r) : r;
  bessel_y_range(x, n, n, &r);
  return negate ? neg(r) : r;
}

}  // namespace

}  // namespace kafdd

using namespace kafdd;

extern "C" {

kaf_dd __KAFf90_bessel_j0_dd(kaf_dd x) { return bessel_jn(0, x); }
kaf_dd __KAFf90_bessel_j1_dd(kaf_dd x) { return bessel_jn(1, x); }
kaf_dd __KAFf90_bessel_jn_dd(int32_t n, kaf_dd x) { return bessel_jn(n, x); }
void __KAFf90_bessel_jn1n2_dd(kaf_dd *result, int32_t n1, int32_t n2, kaf_dd x) {
  if (n2 < n1) return;
  if (n1 >= 0 && is_finite(x.hi) && x.hi > 0.0) {
    bessel_j_range(x, n1, n2, result);
    return;
  }
  for (int32_t n = n1; n <= n2; ++n) result[n - n1] = bessel_jn(n, x);
}

kaf_dd __KAFf90_bessel_y0_dd(kaf_dd x) { return bessel_yn(0, x); }
kaf_dd __KAFf90_bessel_y1_dd(kaf_dd x) { return bessel_yn(1, x); }
kaf_dd __KAFf90_bessel_yn_dd(int32_t n, kaf_dd x) { return bessel_yn(n, x); }
void __KAFf90_bessel_yn1n2_dd(kaf_dd *result, int32_t n1, int32_t n2, kaf_dd x) {
  if (n2 < n1) return;
  if (n1 >= 0 && is_finite(x.hi) && x.hi > 0.0) {
    bessel_y_range(x, n1, n2, result);
    return;
  }
  for (int32_t n = n1; n <= n2; ++n) result[n - n1] = bessel_yn(n, x);
}

}  // extern "C"
