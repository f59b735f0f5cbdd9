// Rounding (AINT, ANINT, NINT, FLOOR, CEILING), remainders (MOD, MODULO,
// remquo), signs, DIM, HYPOT, NORM2 and the model inquiries (EXPONENT,
// FRACTION, SCALE, SPACING, RRSPACING, NEAREST) of the double-double kind.
//
// The model of the kind: radix 2, 106 digits, MINEXPONENT -968 (the
// smallest exponent whose 106 digits all lie above the subnormal range),
// MAXEXPONENT 1024. TINY is 2^-969, EPSILON 2^-105, and HUGE is
// (DBL_MAX, 2^970 - 2^917), the largest normalised pair.
#include <climits>
#include <cmath>
#include <limits>

#include "ddouble/dd_funcs.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {
constexpr int kDigits = 106;
constexpr double kTiny = 0x1p-969;
constexpr dd kHuge{0x1.fffffffffffffp1023, 0x1.fffffffffffffp969};

// The value's sign: hi carries it, except for a zero hi.
inline bool negative(dd x) { return sign_bit(x.hi); }

// EXPONENT of a finite nonzero value: e with hi + lo = f * 2^e, 0.5 <= |f| < 1.
int exponent_of(dd x) {
  double h = fabs_(x.hi);
  int e = std::ilogb(h) + 1;
  // A power-of-two high part with a low part pulling towards zero leaves
  // the value just below 2^(e-1).
  if (std::ldexp(1.0, e - 1) == h && x.lo != 0.0 && (sign_bit(x.lo) != sign_bit(x.hi))) e -= 1;
  return e;
}
}  // namespace

dd aint(dd x) {
  if (!is_finite(x.hi)) return dd{x.hi, 0.0};
  double t = std::trunc(x.hi);
  if (t != x.hi) return dd{t, 0.0};  // |hi| < 2^52 and not integral: lo cannot cross
  double l;
  if (x.hi > 0.0)
    l = std::floor(x.lo);
  else
    l = std::ceil(x.lo);
  double lo;
  double hi = quick_two_sum(x.hi, l, lo);
  if (hi == 0.0) return dd{copysign_(0.0, x.hi), 0.0};
  return dd{hi, lo};
}

dd floor(dd x) {
  if (!is_finite(x.hi)) return dd{x.hi, 0.0};
  double f = std::floor(x.hi);
  if (f != x.hi) return dd{f, 0.0};
  double lo;
  double hi = quick_two_sum(f, std::floor(x.lo), lo);
  return dd{hi, lo};
}

static dd ceiling(dd x) {
  dd f = floor(neg(x));
  return neg(f);
}

dd anint(dd x) {
  if (!is_finite(x.hi)) return dd{x.hi, 0.0};
  bool n = negative(x);
  dd a = n ? neg(x) : x;
  dd t = aint(a);
  dd frac = sub_acc(a, t);
  if (frac.hi > 0.5 || (frac.hi == 0.5 && frac.lo >= 0.0)) t = add_acc(t, dd{1.0, 0.0});
  if (t.hi == 0.0) t = dd{0.0, 0.0};
  return n ? neg(t) : t;
}

template <typename Int>
static Int nint(dd x) {
  dd r = anint(x);
  constexpr double lim = static_cast<double>(std::numeric_limits<Int>::max()) + 1.0;  // 2^31 or 2^63
  if (!(r.hi >= -lim && r.hi <= lim)) return std::numeric_limits<Int>::min();
  if (r.hi == lim && r.lo >= 0.0) return std::numeric_limits<Int>::min();
  if (r.hi == -lim && r.lo < 0.0) return std::numeric_limits<Int>::min();
  // hi and lo are both integers; their sum fits the kind.
  __int128 v = static_cast<__int128>(r.hi) + static_cast<__int128>(r.lo);
  return static_cast<Int>(v);
}

// |a| mod |b| for finite a, nonzero finite b, by long division in chunks of
// at most 26 quotient bits: every product q * b is exact (four doubles),
// and each partial remainder, which spans at most about 106 bits, is summed
// in three parts before it is rounded to a double-double. *low_quotient
// gets the quotient modulo 2^31.
static dd mod_abs(dd a, dd b, std::uint64_t *low_quotient) {
  dd r = negative(a) ? neg(a) : a;
  dd p = negative(b) ? neg(b) : b;
  std::uint64_t qbits = 0;
  while (le(p, r)) {
    double est = r.hi / p.hi;
    int k = 0;
    if (est >= 0x1p26) k = std::ilogb(est) - 25;
    dd pk = k ? scale(p, k) : p;
    double q = std::floor(r.hi / pk.hi);
    if (q > 0x1p26) q = 0x1p26;
    if (q < 1.0) q = 1.0;
    dd a1 = ddprod(q, pk.hi);
    dd a2 = ddprod(q, pk.lo);
    acc3 s;
    s.add(r.hi);
    s.add(-a1.hi);
    s.add(r.lo);
    s.add(-a1.lo);
    s.add(-a2.hi);
    s.add(-a2.lo);
    while (s.s0 + s.s1 + s.s2 < 0.0) {
      s.add(pk.hi);
      s.add(pk.lo);
      q -= 1.0;
    }
    double third;
    dd t = s.get(third);
    r = t;
    if (k < 31) qbits += static_cast<std::uint64_t>(q) << k;
    if (r.hi == 0.0) break;
  }
  *low_quotient = qbits & 0x7fffffffULL;
  return r;
}

static dd mod_dd(dd a, dd p) {
  if (is_nan(a.hi) || is_nan(p.hi) || !is_finite(a.hi) || p.hi == 0.0) return dd{quiet_nan(), 0.0};
  if (!is_finite(p.hi)) return a;
  std::uint64_t q;
  dd r = mod_abs(a, p, &q);
  if (r.hi == 0.0) return dd{copysign_(0.0, a.hi), 0.0};
  return negative(a) ? neg(r) : r;
}

static dd modulo_dd(dd a, dd p) {
  if (!is_finite(p.hi) && is_finite(a.hi) && !is_nan(p.hi)) {
    // a - floor(a/p)*p: a itself when a and p agree in sign, else p... +-inf
    if (a.hi == 0.0 || negative(a) == negative(p)) return a;
    return dd{quiet_nan(), 0.0};
  }
  dd r = mod_dd(a, p);
  if (is_nan(r.hi)) return r;
  if (r.hi == 0.0) return dd{copysign_(0.0, p.hi), 0.0};
  if (negative(r) != negative(p)) r = add_acc(r, p);
  return r;
}

static dd remquo_dd(dd a, dd b, std::int32_t *quo) {
  *quo = 0;
  if (is_nan(a.hi) || is_nan(b.hi) || !is_finite(a.hi) || b.hi == 0.0) return dd{quiet_nan(), 0.0};
  if (!is_finite(b.hi)) return a;
  std::uint64_t q;
  dd r = mod_abs(a, b, &q);
  dd p = negative(b) ? neg(b) : b;
  dd twice{r.hi * 2.0, r.lo * 2.0};
  if (lt(p, twice) || (twice.hi == p.hi && twice.lo == p.lo && (q & 1))) {
    r = sub_acc(r, p);
    q = (q + 1) & 0x7fffffffULL;
  }
  bool qneg = negative(a) != negative(b);
  *quo = qneg ? -static_cast<std::int32_t>(q) : static_cast<std::int32_t>(q);
  if (r.hi == 0.0) return dd{copysign_(0.0, a.hi), 0.0};
  return negative(a) ? neg(r) : r;
}

static dd copysign_dd(dd a, double s) {
  bool want = sign_bit(s);
  if (negative(a) != want) return neg(a);
  return a;
}

dd hypot(dd x, dd y) {
  if (!is_finite(x.hi) && !is_nan(x.hi)) return dd{INFINITY, 0.0};
  if (!is_finite(y.hi) && !is_nan(y.hi)) return dd{INFINITY, 0.0};
  if (is_nan(x.hi) || is_nan(y.hi)) return dd{x.hi + y.hi, 0.0};
  dd a = negative(x) ? neg(x) : x;
  dd b = negative(y) ? neg(y) : y;
  if (lt(a, b)) {
    dd t = a;
    a = b;
    b = t;
  }
  if (a.hi == 0.0) return dd{0.0, 0.0};
  if (b.hi == 0.0) return a;
  // Scale a to [1, 2) so that neither square overflows nor underflows.
  int e = std::ilogb(a.hi);
  dd as = scale(a, -e);
  dd bs = scale(b, -e);
  dd s = add_ns(sqr_ns(as), sqr(bs));
  return scale(kafdd::sqrt(s), e);
}

static dd norm2_dd(const kaf_dd *x, std::int64_t n) {
  double big = 0.0;
  for (std::int64_t i = 0; i < n; ++i) {
    double h = fabs_(x[i].hi);
    if (!is_finite(h)) {
      if (is_nan(h)) return dd{h, 0.0};
      big = h;
    } else if (h > big) {
      big = h;
    }
  }
  if (big == 0.0 || !is_finite(big)) return dd{big, 0.0};
  int e = std::ilogb(big);
  dd sum{0.0, 0.0};
  for (std::int64_t i = 0; i < n; ++i) sum = add_ns(sum, sqr(scale(x[i], -e)));
  return scale(kafdd::sqrt(sum), e);
}

static dd fraction_dd(dd x) {
  if (!is_finite(x.hi)) return dd{quiet_nan(), 0.0};
  if (x.hi == 0.0) return x;
  return scale(x, -exponent_of(x));
}

static std::int32_t exponent_dd(dd x) {
  if (!is_finite(x.hi)) return INT_MAX;
  if (x.hi == 0.0) return 0;
  return exponent_of(x);
}

static dd spacing_dd(dd x) {
  if (!is_finite(x.hi)) return dd{quiet_nan(), 0.0};
  if (x.hi == 0.0) return dd{kTiny, 0.0};
  int e = exponent_of(x) - kDigits;
  if (e < -968) return dd{kTiny, 0.0};
  return dd{std::ldexp(1.0, e), 0.0};
}

static dd rrspacing_dd(dd x) {
  if (!is_finite(x.hi)) return dd{quiet_nan(), 0.0};
  if (x.hi == 0.0) return dd{0.0, 0.0};
  dd f = scale(x, kDigits - exponent_of(x));
  return negative(f) ? neg(f) : f;
}

// The neighbour of x on the 106-digit grid in the direction of s: one unit
// of the last digit, half a unit when stepping down from a power of two,
// and the subnormal step where the grid is finer than binary64 allows.
static dd nearest_dd(dd x, double s) {
  bool up = !sign_bit(s);
  if (is_nan(x.hi)) return x;
  if (!is_finite(x.hi)) {
    if (up == (x.hi > 0.0)) return x;
    return x.hi > 0.0 ? kHuge : neg(kHuge);
  }
  if (x.hi == 0.0) return dd{up ? 0x1p-1074 : -0x1p-1074, 0.0};
  int e = exponent_of(x);
  bool away = up != negative(x);
  int step_e = e - kDigits;
  dd ax = negative(x) ? neg(x) : x;
  if (!away && ax.hi == std::ldexp(1.0, e - 1) && ax.lo == 0.0) step_e -= 1;
  double step = step_e < -1074 ? 0x1p-1074 : std::ldexp(1.0, step_e);
  if (away && negative(x) == false && x.hi == kHuge.hi && x.lo == kHuge.lo) return dd{INFINITY, 0.0};
  if (away && negative(x) && x.hi == -kHuge.hi && x.lo == -kHuge.lo) return dd{-INFINITY, 0.0};
  dd r = add_acc(x, dd{up ? step : -step, 0.0});
  if (!is_finite(r.hi)) return up ? kHuge : neg(kHuge);
  return r;
}

}  // namespace kafdd

using namespace kafdd;

extern "C" {

kaf_dd __KAFf90_aint_dd(kaf_dd x) { return aint(x); }
kaf_dd __KAFf90_aint_dd_arg(const kaf_dd *x) { return aint(*x); }
kaf_dd __KAFf90_anint_dd(kaf_dd x) { return anint(x); }
kaf_dd __KAFf90_anint_dd_arg(const kaf_dd *x) { return anint(*x); }
int32_t __KAFf90_nint_dd_i(kaf_dd x) { return nint<std::int32_t>(x); }
int32_t __KAFf90_nint_dd_i_arg(const kaf_dd *x) { return nint<std::int32_t>(*x); }
int64_t __KAFf90_nint_dd_i4(kaf_dd x) { return nint<std::int64_t>(x); }
int64_t __KAFf90_nint_dd_i4_arg(const kaf_dd *x) { return nint<std::int64_t>(*x); }
kaf_dd __KAFf90_floor_dd(kaf_dd x) { return kafdd::floor(x); }
kaf_dd __KAFf90_ceiling_dd(kaf_dd x) { return ceiling(x); }
kaf_dd __KAFf90_fmod_dd(kaf_dd a, kaf_dd p) { return mod_dd(a, p); }
kaf_dd __KAFf90_fmod_dd_arg(const kaf_dd *a, const kaf_dd *p) { return mod_dd(*a, *p); }
kaf_dd __KAFf90_modulo_dd(kaf_dd a, kaf_dd p) { return modulo_dd(a, p); }
kaf_dd __KAFf90_dd_remquo_dd(kaf_dd a, kaf_dd b, int32_t *quo) { return remquo_dd(a, b, quo); }
kaf_dd __KAFf90_copysign_dd(kaf_dd a, kaf_dd b) { return copysign_dd(a, b.hi); }
kaf_dd __KAFf90_sign_dd_arg(const kaf_dd *a, const kaf_dd *b) { return copysign_dd(*a, b->hi); }
kaf_dd __KAFf90_dim_dd_arg(const kaf_dd *a, const kaf_dd *b) {
  if (is_nan(a->hi) || is_nan(b->hi)) return dd{a->hi + b->hi, 0.0};
  if (le(*a, *b)) return dd{0.0, 0.0};
  return sub_acc(*a, *b);
}
kaf_dd __KAFf90_abs_dd_arg(const kaf_dd *a) { return sign_bit(a->hi) ? neg(*a) : *a; }
kaf_dd __KAFf90_hypot_dd(kaf_dd x, kaf_dd y) { return kafdd::hypot(x, y); }
kaf_dd __KAFf90_norm2_dd(const kaf_dd *x, int64_t n) { return norm2_dd(x, n); }
int32_t __KAFf90_exponent_dd(kaf_dd x) { return exponent_dd(x); }
kaf_dd __KAFf90_fraction_dd(kaf_dd x) { return fraction_dd(x); }
kaf_dd __KAFf90_scale_dd(kaf_dd x, int32_t i) {
  if (!is_finite(x.hi) || x.hi == 0.0) return x;
  return scale(x, i < -4000 ? -4000 : (i > 4000 ? 4000 : i));
}
kaf_dd __KAFf90_spacing_dd(kaf_dd x) { return spacing_dd(x); }
kaf_dd __KAFf90_rrspacing_dd(kaf_dd x) { return rrspacing_dd(x); }
kaf_dd __KAFf90_nearest_dd(kaf_dd x, double s) { return nearest_dd(x, s); }

}  // extern "C"
