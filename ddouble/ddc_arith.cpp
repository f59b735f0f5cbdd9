// The complex double-double kind: division by COMPLEX, COMPLEX(KIND(0d0))
// and double-double complex divisors, real over complex, and the powers.
// Division scales both operands by powers of two (exactly) so that neither
// the products nor |b|^2 can overflow or underflow on the way; only the
// final quotient meets the limits of the range.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline int top_exponent(dd a, dd b) {
  double m = fabs_(a.hi) > fabs_(b.hi) ? fabs_(a.hi) : fabs_(b.hi);
  return std::ilogb(m);
}

// IEEE-style results when an operand is zero, infinite or NaN (the C
// standard's recovery rules for complex division).
cdd divide_special(cdd a, cdd b) {
  double ar = a.re.hi, ai = a.im.hi, br = b.re.hi, bi = b.im.hi;
  bool a_nan = is_nan(ar) || is_nan(ai), b_nan = is_nan(br) || is_nan(bi);
  double nan = quiet_nan();
  if (br == 0.0 && bi == 0.0 && !a_nan && (ar != 0.0 || ai != 0.0)) {
    double inf = copysign_(INFINITY, br);
    return cdd{dd{inf * ar, 0.0}, dd{inf * ai, 0.0}};
  }
  bool a_inf = !is_finite(ar) || !is_finite(ai);
  bool b_inf = !is_finite(br) || !is_finite(bi);
  if (a_inf && !a_nan && !b_inf && !b_nan) {
    double x = copysign_(is_finite(ar) ? 0.0 : 1.0, ar);
    double y = copysign_(is_finite(ai) ? 0.0 : 1.0, ai);
    return cdd{dd{INFINITY * (x * br + y * bi), 0.0}, dd{INFINITY * (y * br - x * bi), 0.0}};
  }
  if (b_inf && !b_nan && !a_inf && !a_nan) {
    double c = copysign_(is_finite(br) ? 0.0 : 1.0, br);
    double d = copysign_(is_finite(bi) ? 0.0 : 1.0, bi);
    return cdd{dd{0.0 * (ar * c + ai * d), 0.0}, dd{0.0 * (ai * c - ar * d), 0.0}};
  }
  return cdd{dd{nan, 0.0}, dd{nan, 0.0}};
}

bool all_finite_nonzero_divisor(cdd a, cdd b) {
  return is_finite(a.re.hi) && is_finite(a.im.hi) && is_finite(b.re.hi) && is_finite(b.im.hi) &&
         (b.re.hi != 0.0 || b.im.hi != 0.0);
}

}  // namespace

cdd cdivide(cdd a, cdd b) {
  if (!all_finite_nonzero_divisor(a, b)) [[unlikely]]
    return divide_special(a, b);
  // b = 2^eb * b', a = 2^ea * a' with the larger part of each in [1, 2).
  int eb = top_exponent(b.re, b.im);
  dd c = scale(b.re, -eb), d = scale(b.im, -eb);
  int ea = 0;
  if (a.re.hi != 0.0 || a.im.hi != 0.0) ea = top_exponent(a.re, a.im);
  dd x = scale(a.re, -ea), y = scale(a.im, -ea);
  // (x + iy)(c - id) / (c^2 + d^2); the smaller of c, d may be tiny but
  // its square only loses what cannot matter next to the larger one.
  dd den = add(sqr(c), sqr(d));
  dd re = add(mul(x, c), mul(y, d));
  dd im = sub(mul(y, c), mul(x, d));
  int e = ea - eb;
  cdd q{divide(re, den), divide(im, den)};
  q.re = scale(q.re, e);
  q.im = scale(q.im, e);
  return q;
}

cdd cmul(cdd a, cdd b) {
  return cdd{sub(mul(a.re, b.re), mul(a.im, b.im)), add(mul(a.re, b.im), mul(a.im, b.re))};
}

}  // namespace kafdd

using namespace kafdd;

namespace {

inline cdd from(kaf_ddc z) { return cdd{z.re, z.im}; }
inline kaf_ddc to(cdd z) { return kaf_ddc{z.re, z.im}; }

// A complex value held to about 2^-150 of its modulus for the powers: each
// part is a sum of three binary64 terms, and the value is scaled by 2^e,
// e kept apart (a binary64 integer) so that no intermediate power
// overflows or underflows.
struct cwide {
  double re[3], im[3];
  double e;
};

// Adds x * y into acc (negated when neg): the exact products of the leading
// terms and the binary64 products of the small ones.
void add_product(acc3 &acc, const double x[3], const double y[3], bool negate) {
  dd p00 = ddprod(x[0], y[0]);
  dd p01 = ddprod(x[0], y[1]);
  dd p10 = ddprod(x[1], y[0]);
  double low = x[0] * y[2];
  double t = x[1] * y[1];
  low = low + t;
  t = x[2] * y[0];
  low = low + t;
  const double terms[] = {p00.hi, p00.lo, p01.hi, p10.hi, p01.lo, p10.lo, low};
  for (double v : terms) acc.add(negate ? -v : v);
}

void store(const acc3 &acc, double out[3]) {
  double third;
  dd v = acc.get(third);
  out[0] = v.hi;
  out[1] = v.lo;
  out[2] = third;
}

// Moves the larger part's leading term into [1, 2) (exact scaling; a part
// far below the other may lose bits to underflow, which the modulus does
// not see).
void normalise(cwide &z) {
  double m = fabs_(z.re[0]) > fabs_(z.im[0]) ? fabs_(z.re[0]) : fabs_(z.im[0]);
  int k = std::ilogb(m);
  for (int i = 0; i < 3; ++i) {
    z.re[i] = ldexp_(z.re[i], -k);
    z.im[i] = ldexp_(z.im[i], -k);
  }
  z.e = z.e + k;
  constexpr double limit = 0x1p40;  // far past any finite result
  if (z.e > limit) z.e = limit;
  if (z.e < -limit) z.e = -limit;
}

cwide wide_mul(const cwide &a, const cwide &b) {
  acc3 re, im;
  add_product(re, a.re, b.re, false);
  add_product(re, a.im, b.im, true);
  add_product(im, a.re, b.im, false);
  add_product(im, a.im, b.re, false);
  cwide r;
  store(re, r.re);
  store(im, r.im);
  r.e = a.e + b.e;
  normalise(r);
  return r;
}

// z ** n by binary powering; a negative n divides 1 by z ** |n| at the end.
// Finite nonzero z is powered in the wide form, so the error is that of
// the final rounding and division (a few units of 2^-106) plus about
// |n| 2^-148 of the modulus; zeros, infinities and NaN take plain
// double-double products, which give their IEEE-style results.
cdd cpow_int(cdd z, std::int64_t n) {
  if (n == 0) return cdd{dd{1.0, 0.0}, dd{0.0, 0.0}};
  std::uint64_t m = n < 0 ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
  bool plain = !is_finite(z.re.hi) || !is_finite(z.im.hi) || (z.re.hi == 0.0 && z.im.hi == 0.0);
  if (plain) {
    cdd r{dd{1.0, 0.0}, dd{0.0, 0.0}};
    cdd base = z;
    bool first = true;
    while (m != 0) {
      if (m & 1) {
        r = first ? base : cmul(r, base);
        first = false;
      }
      m >>= 1;
      if (m != 0) base = cmul(base, base);
    }
    if (n < 0) r = cdivide(cdd{dd{1.0, 0.0}, dd{0.0, 0.0}}, r);
    return r;
  }
  cwide base{{z.re.hi, z.re.lo, 0.0}, {z.im.hi, z.im.lo, 0.0}, 0.0};
  normalise(base);
  cwide acc{};
  bool first = true;
  while (m != 0) {
    if (m & 1) {
      acc = first ? base : wide_mul(acc, base);
      first = false;
    }
    m >>= 1;
    if (m != 0) base = wide_mul(base, base);
  }
  // The parts are normalised three-term sums: the two leading terms are
  // the double-double, the third is below its last place.
  cdd r{dd{acc.re[0], acc.re[1]}, dd{acc.im[0], acc.im[1]}};
  double e = acc.e;
  if (n < 0) {
    r = cdivide(cdd{dd{1.0, 0.0}, dd{0.0, 0.0}}, r);
    e = -e;
  }
  int ei = e > 4000.0 ? 4000 : (e < -4000.0 ? -4000 : static_cast<int>(e));
  r.re = scale(r.re, ei);
  r.im = scale(r.im, ei);
  return r;
}

}  // namespace

extern "C" {

kaf_ddc __KAFf90_ddc_DIVIDE_ddc(kaf_ddc a, kaf_ddc b) { return to(cdivide(from(a), from(b))); }
kaf_ddc __KAFf90_ddc_DIVIDE_dc(kaf_ddc a, kaf_dc b) {
  return to(cdivide(from(a), cdd{dd{b.re, 0.0}, dd{b.im, 0.0}}));
}
kaf_ddc __KAFf90_ddc_DIVIDE_c(kaf_ddc a, kaf_c b) {
  return to(cdivide(from(a), cdd{dd{b.re, 0.0}, dd{b.im, 0.0}}));
}
kaf_ddc __KAFf90_dd_DIVIDE_ddc(kaf_dd a, kaf_ddc b) {
  return to(cdivide(cdd{a, dd{0.0, 0.0}}, from(b)));
}
kaf_ddc __KAFf90_ddc_pow_i4(kaf_ddc a, int64_t n) { return to(cpow_int(from(a), n)); }

}  // extern "C"
