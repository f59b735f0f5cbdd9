// SIN, COS, TAN, ATAN, ATAN2, ASIN and ACOS of the double-double kind.
// Arguments are reduced by pi/2: below 2^28 with pi/2 in 24-bit pieces
// (n * piece exact), above with the bits of 2/pi in integer arithmetic
// (Payne and Hanek), both keeping the remainder to 2^-106 of itself even
// next to a multiple of pi/2.
#include <cmath>

#include "ddouble/dd_funcs.h"
#include "ddouble/dd_tables.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

inline dd T(const tab::dd2 &v) { return dd{v.hi, v.lo}; }

using u64 = std::uint64_t;
using u128 = unsigned __int128;

// 384 bits of 2/pi starting at bit k (bit 1 is the first after the point),
// little-endian words.
void twoopi_window(int k, u64 w[6]) {
  for (int i = 0; i < 6; ++i) {
    int s = k - 1 + 64 * (5 - i);
    int word = s / 64, off = s % 64;
    u64 v = tab::twoopi_bits[word] << off;
    if (off != 0) v |= tab::twoopi_bits[word + 1] >> (64 - off);
    w[i] = v;
  }
}

// (d * 2/pi) mod 4 as a 256-bit fixed-point number with 254 fraction bits,
// little-endian words, truncated (error below 2^-253).
void frac4(double d, u64 out[4]) {
  out[0] = out[1] = out[2] = out[3] = 0;
  if (d == 0.0) return;
  u64 b = std::bit_cast<u64>(d) & 0x7fffffffffffffffULL;
  int be = static_cast<int>(b >> 52);
  u64 m = b & 0xfffffffffffffULL;
  if (be != 0) m |= 1ULL << 52;
  int q = (be != 0 ? be : 1) - 1075;  // d = m * 2^q
  int k0 = q - 1 > 1 ? q - 1 : 1;
  u64 w[6];
  twoopi_window(k0, w);
  // p = m * w, 448 bits.
  u64 p[7];
  u64 carry = 0;
  for (int i = 0; i < 6; ++i) {
    u128 t = static_cast<u128>(m) * w[i] + carry;
    p[i] = static_cast<u64>(t);
    carry = static_cast<u64>(t >> 64);
  }
  p[6] = carry;
  // Value * 2^254 = p * 2^(q - k0 - 129): shift right by s = k0 + 129 - q.
  int s = k0 + 129 - q;
  if (s >= 448) return;
  int ws = s / 64, bs = s % 64;
  for (int i = 0; i < 4; ++i) {
    int src = i + ws;
    u64 lo = src < 7 ? p[src] : 0;
    u64 hi = src + 1 < 7 ? p[src + 1] : 0;
    out[i] = bs ? (lo >> bs) | (hi << (64 - bs)) : lo;
  }
}

// Remainder of |x| >= 2^28 by pi/2: r with |r| <= pi/4 and the quadrant.
dd reduce_large(dd x, int &quadrant) {
  bool negx = sign_bit(x.hi);
  double h = fabs_(x.hi), l = negx ? -x.lo : x.lo;
  u64 a[4], b[4];
  frac4(h, a);
  frac4(fabs_(l), b);
  if (l < 0.0) {  // subtract: two's complement of b
    u64 c = 1;
    for (int i = 0; i < 4; ++i) {
      u128 t = static_cast<u128>(~b[i]) + c;
      b[i] = static_cast<u64>(t);
      c = static_cast<u64>(t >> 64);
    }
  }
  // v = a + b + 2^253 (rounding the quadrant to nearest).
  u64 v[4];
  u64 c = 0;
  for (int i = 0; i < 4; ++i) {
    u128 t = static_cast<u128>(a[i]) + b[i] + c;
    v[i] = static_cast<u64>(t);
    c = static_cast<u64>(t >> 64);
  }
  u128 t = static_cast<u128>(v[3]) + (1ULL << 61);
  v[3] = static_cast<u64>(t);
  int n = static_cast<int>(v[3] >> 62);
  v[3] &= (1ULL << 62) - 1;
  // f = v - 2^253, |f| < 2^253, in units of 2^-254.
  bool negf = (v[3] >> 61) == 0;
  u64 f[4];
  if (negf) {  // 2^253 - v
    u64 br = 0;
    const u64 half[4] = {0, 0, 0, 1ULL << 61};
    for (int i = 0; i < 4; ++i) {
      u128 d = static_cast<u128>(half[i]) - v[i] - br;
      f[i] = static_cast<u64>(d);
      br = (d >> 64) ? 1 : 0;
    }
  } else {
    f[0] = v[0];
    f[1] = v[1];
    f[2] = v[2];
    f[3] = v[3] & ((1ULL << 61) - 1);
  }
  // Leading 128 bits of f as a double-double.
  int top = 3;
  while (top > 0 && f[top] == 0) --top;
  dd r{0.0, 0.0};
  if (f[top] != 0) {
    int lz = __builtin_clzll(f[top]);
    u64 hiw = f[top] << lz;
    u64 low = 0;
    if (top > 0) {
      if (lz) hiw |= f[top - 1] >> (64 - lz);
      low = f[top - 1] << lz;
      if (top > 1 && lz) low |= f[top - 2] >> (64 - lz);
    }
    // value = (hiw * 2^64 + low) * 2^e2
    int e2 = 64 * top - lz - 64 - 254;
    double d1 = std::ldexp(static_cast<double>(hiw >> 11), e2 + 75);
    double d2 = std::ldexp(static_cast<double>(((hiw & 0x7ff) << 42) | (low >> 22)), e2 + 22);
    double d3 = std::ldexp(static_cast<double>(low & 0x3fffff), e2);
    double lo;
    double hi = quick_two_sum(d1, d2, lo);
    r = add_d_ns(dd{hi, lo}, d3);
    r = mul_ns(r, T(tab::pio2));
    if (negf) r = neg(r);
  }
  n &= 3;
  if (negx) {
    r = neg(r);
    n = (4 - n) & 3;
  }
  quadrant = n;
  return r;
}

// Remainder of x by pi/2 and the quadrant (n mod 4).
dd reduce_pio2(dd x, int &quadrant) {
  double ax = fabs_(x.hi);
  if (ax <= 0.785398163397448279) {
    quadrant = 0;
    return x;
  }
  if (ax >= 0x1p28) return reduce_large(x, quadrant);
  double nd = round_even(x.hi * tab::twoopi.hi);
  double bound = fabs_(nd) * 2.0;  // bounds nd times the rest of pi/2
  dd r = x;
  for (int i = 0; i < 12; ++i) {
    double p = nd * tab::pio2_chunks[i];  // exact: 24-bit piece, |nd| < 2^29
    r = add_acc(r, dd{-p, 0.0});
    bound = bound * 0x1p-24;
    // Stop once the rest cannot reach 2^-112 of the remainder; a
    // remainder next to a multiple of pi/2 takes more pieces.
    if (bound < fabs_(r.hi) * 0x1p-112 || i == 11) {
      r = add_acc(r, neg(ddprod(nd, tab::pio2_tail[i])));
      break;
    }
  }
  quadrant = static_cast<int>(static_cast<long>(nd) & 3);
  return r;
}

// sin(r) for |r| <= pi/4 (a little more is fine): x^17..x^29 in binary64.
dd sin_kernel(dd r) {
  dd r2 = sqr_ns(r);
  double x2 = r2.hi;
  double q = -tab::inv_fact[29].hi;
  q = q * x2 + tab::inv_fact[27].hi;
  q = q * x2 - tab::inv_fact[25].hi;
  q = q * x2 + tab::inv_fact[23].hi;
  q = q * x2 - tab::inv_fact[21].hi;
  q = q * x2 + tab::inv_fact[19].hi;
  q = q * x2 - tab::inv_fact[17].hi;
  dd p = add_ns(T(tab::inv_fact[15]), mul_d_ns(r2, q));
  p = add_ns(neg(T(tab::inv_fact[13])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[11]), mul_ns(r2, p));
  p = add_ns(neg(T(tab::inv_fact[9])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[7]), mul_ns(r2, p));
  p = add_ns(neg(T(tab::inv_fact[5])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[3]), mul_ns(r2, p));
  // sin = r - r^3 * (1/3! - r^2/5! + ...)
  return add_ns(r, neg(mul_ns(mul_ns(r2, r), p)));
}

// cos(r) for |r| <= pi/4: x^18..x^28 in binary64.
dd cos_kernel(dd r) {
  dd r2 = sqr_ns(r);
  double x2 = r2.hi;
  double q = tab::inv_fact[28].hi;
  q = q * x2 - tab::inv_fact[26].hi;
  q = q * x2 + tab::inv_fact[24].hi;
  q = q * x2 - tab::inv_fact[22].hi;
  q = q * x2 + tab::inv_fact[20].hi;
  q = q * x2 - tab::inv_fact[18].hi;
  dd p = add_ns(T(tab::inv_fact[16]), mul_d_ns(r2, q));
  p = add_ns(neg(T(tab::inv_fact[14])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[12]), mul_ns(r2, p));
  p = add_ns(neg(T(tab::inv_fact[10])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[8]), mul_ns(r2, p));
  p = add_ns(neg(T(tab::inv_fact[6])), mul_ns(r2, p));
  p = add_ns(T(tab::inv_fact[4]), mul_ns(r2, p));
  p = add_ns(neg(T(tab::inv_fact[2])), mul_ns(r2, p));
  // cos = 1 + r^2 * (-1/2 + r^2/4! - ...)
  return add_d_ns(mul_ns(r2, p), 1.0);
}

// atan(t) for |t| <= 2^-7: t^9..t^15 in binary64.
dd atan_kernel(dd t) {
  dd t2 = sqr_ns(t);
  double x2 = t2.hi;
  double q = -tab::inv_int[15].hi;
  q = q * x2 + tab::inv_int[13].hi;
  q = q * x2 - tab::inv_int[11].hi;
  q = q * x2 + tab::inv_int[9].hi;
  dd p = add_ns(neg(T(tab::inv_int[7])), mul_d_ns(t2, q));
  p = add_ns(T(tab::inv_int[5]), mul_ns(t2, p));
  p = add_ns(neg(T(tab::inv_int[3])), mul_ns(t2, p));
  return add_ns(t, mul_ns(mul_ns(t2, t), p));
}

// atan(a) for 0 <= a <= 1: atan(c) + atan((a - c) / (1 + a c)), c = j/64.
dd atan_unit(dd a) {
  int j = static_cast<int>(a.hi * 64.0 + 0.5);
  if (j == 0) return atan_kernel(a);
  double c = j * 0x1p-6;
  dd num = add_acc(a, dd{-c, 0.0});
  dd den = add_d_ns(mul_d_ns(a, c), 1.0);
  dd t = divide(num, den);
  return add_ns(T(tab::atan_j64[j]), atan_kernel(t));
}

}  // namespace

void sincos(dd x, dd *s, dd *c) {
  if (!is_finite(x.hi)) {
    double n = quiet_nan();
    if (is_nan(x.hi)) n = x.hi;
    if (s) *s = dd{n, 0.0};
    if (c) *c = dd{n, 0.0};
    return;
  }
  if (x.hi == 0.0) {
    if (s) *s = x;
    if (c) *c = dd{1.0, 0.0};
    return;
  }
  int q;
  dd r = reduce_pio2(x, q);
  dd sr{0.0, 0.0}, cr{0.0, 0.0};
  bool need_sin = (s && !(q & 1)) || (c && (q & 1));
  bool need_cos = (c && !(q & 1)) || (s && (q & 1));
  if (need_sin) sr = sin_kernel(r);
  if (need_cos) cr = cos_kernel(r);
  switch (q) {
    case 0:
      if (s) *s = sr;
      if (c) *c = cr;
      break;
    case 1:
      if (s) *s = cr;
      if (c) *c = neg(sr);
      break;
    case 2:
      if (s) *s = neg(sr);
      if (c) *c = neg(cr);
      break;
    default:
      if (s) *s = neg(cr);
      if (c) *c = sr;
      break;
  }
}

dd atan(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  bool n = sign_bit(x.hi);
  dd a = n ? neg(x) : x;
  dd r;
  if (x.hi == 0.0) return x;
  if (!is_finite(a.hi)) {
    r = T(tab::pio2);
  } else if (a.hi < 1.0 || (a.hi == 1.0 && a.lo <= 0.0)) {
    r = atan_unit(a);
  } else {
    r = sub_acc(T(tab::pio2), atan_unit(reciprocal(a)));
  }
  return n ? neg(r) : r;
}

dd atan2(dd y, dd x) {
  if (is_nan(x.hi) || is_nan(y.hi)) return dd{x.hi + y.hi, 0.0};
  bool ny = sign_bit(y.hi);
  bool nx = sign_bit(x.hi);
  dd ay = ny ? neg(y) : y;
  dd ax = nx ? neg(x) : x;
  dd r;
  if (y.hi == 0.0) {
    if (!nx) return dd{y.hi, 0.0};
    r = T(tab::pi);
  } else if (x.hi == 0.0) {
    r = T(tab::pio2);
  } else if (!is_finite(ay.hi) || !is_finite(ax.hi)) {
    if (!is_finite(ay.hi) && !is_finite(ax.hi))
      r = nx ? T(tab::pi3o4) : T(tab::pio4);
    else if (!is_finite(ay.hi))
      r = T(tab::pio2);
    else if (nx)
      r = T(tab::pi);
    else
      return dd{ny ? -0.0 : 0.0, 0.0};
  } else {
    if (le(ay, ax))
      r = atan_unit(divide(ay, ax));
    else
      r = sub_acc(T(tab::pio2), atan_unit(divide(ax, ay)));
    if (nx) r = sub_acc(T(tab::pi), r);
  }
  return ny ? neg(r) : r;
}

}  // namespace kafdd

using namespace kafdd;

namespace {

dd sin_dd(dd x) {
  dd s;
  sincos(x, &s, nullptr);
  return s;
}

dd cos_dd(dd x) {
  dd c;
  sincos(x, nullptr, &c);
  return c;
}

dd tan_dd(dd x) {
  if (!is_finite(x.hi)) return dd{is_nan(x.hi) ? x.hi : quiet_nan(), 0.0};
  if (x.hi == 0.0) return x;
  dd s, c;
  sincos(x, &s, &c);
  return divide(s, c);
}

// sqrt((1 - x)(1 + x)) for |x| <= 1; both factors are exact.
dd cos_of_asin(dd x) {
  dd a = add_acc(dd{1.0, 0.0}, neg(x));
  dd b = add_acc(dd{1.0, 0.0}, x);
  return kafdd::sqrt(mul(a, b));
}

bool beyond_one(dd x) {
  double a = fabs_(x.hi);
  if (a > 1.0) return true;
  if (a < 1.0) return false;
  return sign_bit(x.hi) ? x.lo < 0.0 : x.lo > 0.0;
}

dd asin_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (beyond_one(x)) return dd{quiet_nan(), 0.0};
  if (x.hi == 0.0) return x;
  return atan2(x, cos_of_asin(x));
}

dd acos_dd(dd x) {
  if (is_nan(x.hi)) return dd{x.hi, 0.0};
  if (beyond_one(x)) return dd{quiet_nan(), 0.0};
  return atan2(cos_of_asin(x), x);
}

}  // namespace

extern "C" {

kaf_dd __KAFf90_sin_dd(kaf_dd x) { return sin_dd(x); }
kaf_dd __KAFf90_sin_dd_arg(const kaf_dd *x) { return sin_dd(*x); }
kaf_dd __KAFf90_cos_dd(kaf_dd x) { return cos_dd(x); }
kaf_dd __KAFf90_cos_dd_arg(const kaf_dd *x) { return cos_dd(*x); }
void __KAFf90_sincos_dd(kaf_dd x, kaf_dd *sin_x, kaf_dd *cos_x) { sincos(x, sin_x, cos_x); }
kaf_dd __KAFf90_tan_dd(kaf_dd x) { return tan_dd(x); }
kaf_dd __KAFf90_tan_dd_arg(const kaf_dd *x) { return tan_dd(*x); }
kaf_dd __KAFf90_atan_dd(kaf_dd x) { return kafdd::atan(x); }
kaf_dd __KAFf90_atan_dd_arg(const kaf_dd *x) { return kafdd::atan(*x); }
kaf_dd __KAFf90_atan2_dd(kaf_dd y, kaf_dd x) { return kafdd::atan2(y, x); }
kaf_dd __KAFf90_atan2_dd_arg(const kaf_dd *y, const kaf_dd *x) { return kafdd::atan2(*y, *x); }
kaf_dd __KAFf90_asin_dd(kaf_dd x) { return asin_dd(x); }
kaf_dd __KAFf90_asin_dd_arg(const kaf_dd *x) { return asin_dd(*x); }
kaf_dd __KAFf90_acos_dd(kaf_dd x) { return acos_dd(x); }
kaf_dd __KAFf90_acos_dd_arg(const kaf_dd *x) { return acos_dd(*x); }

}  // extern "C"
