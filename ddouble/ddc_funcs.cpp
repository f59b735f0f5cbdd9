// Elemental functions of the complex double-double kind: ABS, SQRT, EXP,
// LOG, SIN, COS, TAN, SINH, COSH, TANH, their inverses and the complex
// power, built on the real kind's functions.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline cdd from(kaf_ddc z) { return cdd{z.re, z.im}; }
inline kaf_ddc to(cdd z) { return kaf_ddc{z.re, z.im}; }
inline dd half(dd a) { return dd{a.hi * 0.5, a.lo * 0.5}; }
inline dd twice(dd a) { return dd{a.hi * 2.0, a.lo * 2.0}; }
inline dd dabs(dd a) { return sign_bit(a.hi) ? neg(a) : a; }
inline dd with_sign(dd a, double s) { return sign_bit(a.hi) != sign_bit(s) ? neg(a) : a; }
inline bool finite(cdd z) { return is_finite(z.re.hi) && is_finite(z.im.hi); }

// Principal square root (Kahan): t = sqrt((|x| + |z|)/2), the other part
// y/(2t); arguments near either end of the range are scaled by an even
// power of two first.
cdd csqrt(cdd z) {
  dd x = z.re, y = z.im;
  if (!is_finite(y.hi) && !is_nan(y.hi)) return cdd{dd{INFINITY, 0.0}, y};
  if (is_nan(x.hi) || is_nan(y.hi)) return cdd{dd{x.hi + y.hi, 0.0}, dd{x.hi + y.hi, 0.0}};
  if (!is_finite(x.hi)) {
    if (x.hi > 0.0) return cdd{x, dd{copysign_(0.0, y.hi), 0.0}};
    return cdd{dd{0.0, 0.0}, dd{copysign_(INFINITY, y.hi), 0.0}};
  }
  if (x.hi == 0.0 && y.hi == 0.0) return cdd{dd{0.0, 0.0}, y};
  double m = fabs_(x.hi) > fabs_(y.hi) ? fabs_(x.hi) : fabs_(y.hi);
  int k = 0;
  int e = std::ilogb(m);
  if (e > 1000 || e < -900) k = e / 2;
  dd xs = scale(x, -2 * k), ys = scale(y, -2 * k);
  dd r = hypot(xs, ys);
  dd t = kafdd::sqrt(half(add(r, dabs(xs))));
  dd u = divide(dabs(ys), twice(t));
  cdd w;
  if (!sign_bit(x.hi))
    w = cdd{t, with_sign(u, y.hi)};
  else
    w = cdd{u, with_sign(t, y.hi)};
  w.re = scale(w.re, k);
  w.im = scale(w.im, k);
  return w;
}

cdd cexp(cdd z) {
  dd x = z.re, y = z.im;
  if (y.hi == 0.0 && is_finite(x.hi)) return cdd{kafdd::exp(x), y};
  if (!finite(z)) {
    if (x.hi == -INFINITY && !is_nan(y.hi)) return cdd{dd{0.0, 0.0}, dd{copysign_(0.0, y.hi), 0.0}};
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  dd s, c;
  sincos(y, &s, &c);
  if (x.hi < -745.2) return cdd{dd{0.0 * c.hi, 0.0}, dd{0.0 * s.hi, 0.0}};
  if (x.hi > 1500.0) return cdd{dd{INFINITY * c.hi, 0.0}, dd{INFINITY * s.hi, 0.0}};
  int k;
  dd m = exp_scaled(x, k);
  return cdd{scale(mul(m, c), k), scale(mul(m, s), k)};
}

// log|z| + i arg z; near |z| = 1 the real part is log1p of
// (u - 1)(u + 1) + v^2 (u the larger part), where both factors are exact.
cdd clog(cdd z) {
  dd x = z.re, y = z.im;
  dd ax = dabs(x), ay = dabs(y);
  dd arg = atan2(y, x);
  if (!finite(z)) {
    if ((!is_finite(x.hi) && !is_nan(x.hi)) || (!is_finite(y.hi) && !is_nan(y.hi)))
      return cdd{dd{INFINITY, 0.0}, arg};
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  if (x.hi == 0.0 && y.hi == 0.0) return cdd{dd{-INFINITY, 0.0}, arg};
  dd u = lt(ax, ay) ? ay : ax, v = lt(ax, ay) ? ax : ay;
  dd re;
  if (u.hi >= 0.5 && u.hi <= 2.0 && v.hi < 1.0) {
    dd a = add_acc(u, dd{-1.0, 0.0});
    dd b = add_acc(u, dd{1.0, 0.0});
    dd w = add_acc(mul(a, b), sqr(v));
    re = half(log1p(w));
  } else {
    re = log(hypot(x, y));
  }
  return cdd{re, arg};
}

cdd csin(cdd z) {
  dd s, c;
  sincos(z.re, &s, &c);
  if (z.im.hi == 0.0) return cdd{s, dd{z.im.hi * c.hi, 0.0}};
  return cdd{mul(s, cosh(z.im)), mul(c, sinh(z.im))};
}

cdd ccos(cdd z) {
  dd s, c;
  sincos(z.re, &s, &c);
  if (z.im.hi == 0.0) return cdd{c, dd{-(z.im.hi * s.hi), 0.0}};
  return cdd{mul(c, cosh(z.im)), neg(mul(s, sinh(z.im)))};
}

cdd csinh(cdd z) {
  dd s, c;
  sincos(z.im, &s, &c);
  if (z.im.hi == 0.0) return cdd{sinh(z.re), z.im};
  return cdd{mul(sinh(z.re), c), mul(cosh(z.re), s)};
}

cdd ccosh(cdd z) {
  dd s, c;
  sincos(z.im, &s, &c);
  if (z.im.hi == 0.0) {
    double zi = sign_bit(z.re.hi) != sign_bit(z.im.hi) ? -0.0 : 0.0;  // sinh x * sin(+-0)
    return cdd{cosh(z.re), dd{zi, 0.0}};
  }
  return cdd{mul(cosh(z.re), c), mul(sinh(z.re), s)};
}

// tan(x + iy) = (sin x cos x + i sinh y cosh y) / (cos^2 x + sinh^2 y): the
// denominator has no cancellation (it is cos 2x + cosh 2y halved).
cdd ctan(cdd z) {
  dd x = z.re, y = z.im;
  if (!finite(z)) {
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  dd s, c;
  sincos(x, &s, &c);
  if (fabs_(y.hi) > 40.0) {
    // im = tanh-like, 1 to 2^-115; re = 4 sin x cos x e^(-2|y|)
    dd ay = dabs(y);
    dd e = kafdd::exp(neg(twice(ay)));
    dd re = mul(twice(twice(mul(s, c))), e);
    return cdd{re, dd{copysign_(1.0, y.hi), 0.0}};
  }
  dd sh = sinh(y), ch = cosh(y);
  dd den = add(sqr(c), sqr(sh));
  return cdd{divide(mul(s, c), den), divide(mul(sh, ch), den)};
}

// tanh z = -i tan(iz).
cdd ctanh(cdd z) {
  cdd t = ctan(cdd{neg(z.im), z.re});
  return cdd{t.im, neg(t.re)};
}

// a ** b = exp(b log a), the principal value; 0 ** b is 0 for Re b > 0.
cdd cpow(cdd a, cdd b) {
  if (b.re.hi == 0.0 && b.im.hi == 0.0) return cdd{dd{1.0, 0.0}, dd{0.0, 0.0}};
  if (a.re.hi == 0.0 && a.im.hi == 0.0) {
    if (b.re.hi > 0.0) return cdd{dd{0.0, 0.0}, dd{0.0, 0.0}};
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  return cexp(cmul(b, clog(a)));
}

// log(1 + w) for small w: the real part from log1p of 2 Re w + |w|^2.
cdd clog1p(cdd w) {
  dd t = add(twice(w.re), add(sqr(w.re), sqr(w.im)));
  if (fabs_(t.hi) > 0.5) return clog(cdd{add_acc(dd{1.0, 0.0}, w.re), w.im});
  return cdd{half(log1p(t)), atan2(w.im, add_acc(dd{1.0, 0.0}, w.re))};
}

// Kahan's forms (branch cuts on the real axis beyond +-1):
// asin z = atan2(Re z, Re(sqrt(1-z) sqrt(1+z))) + i asinh(Im(conj(sqrt(1-z)) sqrt(1+z))).
cdd casin(cdd z) {
  if (!finite(z)) {
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  cdd a = csqrt(cdd{add_acc(dd{1.0, 0.0}, neg(z.re)), neg(z.im)});
  cdd b = csqrt(cdd{add_acc(dd{1.0, 0.0}, z.re), z.im});
  dd re = atan2(z.re, sub(mul(a.re, b.re), mul(a.im, b.im)));
  dd im = asinh(sub(mul(a.re, b.im), mul(a.im, b.re)));
  return cdd{re, im};
}

// acos z = 2 atan2(Re sqrt(1-z), Re sqrt(1+z)) + i asinh(Im(conj(sqrt(1+z)) sqrt(1-z))).
cdd cacos(cdd z) {
  if (!finite(z)) {
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  cdd a = csqrt(cdd{add_acc(dd{1.0, 0.0}, neg(z.re)), neg(z.im)});
  cdd b = csqrt(cdd{add_acc(dd{1.0, 0.0}, z.re), z.im});
  dd re = twice(atan2(a.re, b.re));
  dd im = asinh(sub(mul(b.re, a.im), mul(b.im, a.re)));
  return cdd{re, im};
}

// asinh z = -i asin(iz).
cdd casinh(cdd z) {
  cdd a = casin(cdd{neg(z.im), z.re});
  return cdd{a.im, neg(a.re)};
}

// acosh z = asinh(Re(conj(sqrt(z-1)) sqrt(z+1))) + 2i atan2(Im sqrt(z-1), Re sqrt(z+1)).
cdd cacosh(cdd z) {
  if (!finite(z)) {
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  cdd a = csqrt(cdd{add_acc(z.re, dd{-1.0, 0.0}), z.im});
  cdd b = csqrt(cdd{add_acc(z.re, dd{1.0, 0.0}), z.im});
  dd re = asinh(add(mul(a.re, b.re), mul(a.im, b.im)));
  dd im = twice(atan2(a.im, b.re));
  return cdd{re, im};
}

// atanh z = log1p(2z / (1 - z)) / 2 for |z| <= 1/2 (small results keep
// their relative accuracy), else (log(1 + z) - log(1 - z)) / 2 (both
// factors exact, so z near +-1 loses nothing).
cdd catanh(cdd z) {
  if (!finite(z)) {
    double n = quiet_nan();
    return cdd{dd{n, 0.0}, dd{n, 0.0}};
  }
  if (fabs_(z.re.hi) + fabs_(z.im.hi) > 0.5) {
    cdd lp = clog(cdd{add_acc(dd{1.0, 0.0}, z.re), z.im});
    cdd lm = clog(cdd{add_acc(dd{1.0, 0.0}, neg(z.re)), neg(z.im)});
    return cdd{half(sub(lp.re, lm.re)), half(sub(lp.im, lm.im))};
  }
  cdd q = cdivide(cdd{twice(z.re), twice(z.im)}, cdd{add_acc(dd{1.0, 0.0}, neg(z.re)), neg(z.im)});
  cdd l = clog1p(q);
  return cdd{half(l.re), half(l.im)};
}

// atan z = -i atanh(iz).
cdd catan(cdd z) {
  cdd a = catanh(cdd{neg(z.im), z.re});
  return cdd{a.im, neg(a.re)};
}

}  // namespace

}  // namespace kafdd

using namespace kafdd;

extern "C" {

kaf_dd __KAFf90_abs_ddc(kaf_ddc z) { return kafdd::hypot(z.re, z.im); }
kaf_dd __KAFf90_abs_ddc_arg(const kaf_ddc *z) { return kafdd::hypot(z->re, z->im); }
kaf_ddc __KAFf90_sqrt_ddc(kaf_ddc z) { return to(csqrt(from(z))); }
kaf_ddc __KAFf90_sqrt_ddc_arg(const kaf_ddc *z) { return to(csqrt(from(*z))); }
kaf_ddc __KAFf90_exp_ddc(kaf_ddc z) { return to(cexp(from(z))); }
kaf_ddc __KAFf90_exp_ddc_arg(const kaf_ddc *z) { return to(cexp(from(*z))); }
kaf_ddc __KAFf90_log_ddc(kaf_ddc z) { return to(clog(from(z))); }
kaf_ddc __KAFf90_log_ddc_arg(const kaf_ddc *z) { return to(clog(from(*z))); }
kaf_ddc __KAFf90_sin_ddc(kaf_ddc z) { return to(csin(from(z))); }
kaf_ddc __KAFf90_sin_ddc_arg(const kaf_ddc *z) { return to(csin(from(*z))); }
kaf_ddc __KAFf90_cos_ddc(kaf_ddc z) { return to(ccos(from(z))); }
kaf_ddc __KAFf90_cos_ddc_arg(const kaf_ddc *z) { return to(ccos(from(*z))); }
kaf_ddc __KAFf90_tan_ddc(kaf_ddc z) { return to(ctan(from(z))); }
kaf_ddc __KAFf90_sinh_ddc(kaf_ddc z) { return to(csinh(from(z))); }
kaf_ddc __KAFf90_cosh_ddc(kaf_ddc z) { return to(ccosh(from(z))); }
kaf_ddc __KAFf90_tanh_ddc(kaf_ddc z) { return to(ctanh(from(z))); }
kaf_ddc __KAFf90_asin_ddc(kaf_ddc z) { return to(casin(from(z))); }
kaf_ddc __KAFf90_acos_ddc(kaf_ddc z) { return to(cacos(from(z))); }
kaf_ddc __KAFf90_atan_ddc(kaf_ddc z) { return to(catan(from(z))); }
kaf_ddc __KAFf90_asinh_ddc(kaf_ddc z) { return to(casinh(from(z))); }
kaf_ddc __KAFf90_acosh_ddc(kaf_ddc z) { return to(cacosh(from(z))); }
kaf_ddc __KAFf90_atanh_ddc(kaf_ddc z) { return to(catanh(from(z))); }
kaf_ddc __KAFf90_ddc_pow_ddc(kaf_ddc a, kaf_ddc b) { return to(cpow(from(a), from(b))); }

}  // extern "C"
