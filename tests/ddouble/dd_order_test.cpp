// The core operations give bit for bit the results of their prescribed
// steps. Each reference below is a plain transcription, one binary64
// operation per statement in the prescribed order (this file is built with
// -ffp-contract=off), and the library must match it on every random operand
// for which the steps alone define the result: operands of any size and low
// parts of any size, normalised or not. Zero, infinite and NaN results
// follow the IEEE answer instead and are tested with the special values.
#include <algorithm>
#include <cfloat>
#include <iterator>
#include <tuple>

#include "tests/ddouble/oracle.h"

using namespace ddtest;

namespace {

// A result the steps define: finite and nonzero high part.
struct Ref {
  kaf_dd v;
  bool ok;
};

bool fine(double x) { return std::isfinite(x) && x != 0.0; }
int bexp(double x) { return static_cast<int>((bits(x) >> 52) & 0x7ff); }

// Dekker's product with the scaling steps (thresholds 1992, 53 and 3067).
Ref ref_prod(double x, double y) {
  int ex = bexp(x), ey = bexp(y);
  if (ex == 2047 || ey == 2047) return {{x * y, 0.0}, false};
  int steps = 0;
  if (ex > 1992) {
    x = x * 0x1p-64;
    ex -= 64;
    steps -= 1;
  } else if (ex <= 53) {
    x = x * 0x1p64;
    ex += 64;
    steps += 1;
  }
  if (ey > 1992) {
    y = y * 0x1p-64;
    ey -= 64;
    steps -= 1;
  } else if (ey <= 53) {
    y = y * 0x1p64;
    ey += 64;
    steps += 1;
  }
  if (ex + ey > 3067) {
    if (ex >= ey)
      x = x * 0x1p-64;
    else
      y = y * 0x1p-64;
    steps -= 1;
  }
  const double c = 134217729.0;
  double t = c * x;
  double xh = x - t;
  xh = xh + t;
  double xl = x - xh;
  t = c * y;
  double yh = y - t;
  yh = yh + t;
  double yl = y - yh;
  double p = x * y;
  double e = xh * yh;
  e = e - p;
  double u = xh * yl;
  e = e + u;
  u = xl * yh;
  e = e + u;
  u = xl * yl;
  e = e + u;
  for (; steps > 0; --steps) {
    p = p * 0x1p-64;
    e = e * 0x1p-64;
  }
  for (; steps < 0; ++steps) {
    p = p * 0x1p64;
    e = e * 0x1p64;
  }
  return {{p, e}, std::isfinite(p)};
}

Ref ref_add(kaf_dd a, kaf_dd b) {
  double s = a.hi + b.hi;
  double v = a.hi - s;
  double e = b.hi + v;
  double w = v + s;
  w = a.hi - w;
  e = e + w;
  e = e + a.lo;
  e = e + b.lo;
  double hi = s + e;
  double lo = s - hi;
  lo = e + lo;
  return {{hi, lo}, fine(hi)};
}

Ref ref_sub(kaf_dd a, kaf_dd b) {
  double s = a.hi - b.hi;
  double v = a.hi - s;
  double e = v - b.hi;
  double w = v + s;
  w = a.hi - w;
  e = e + w;
  e = e + a.lo;
  e = e - b.lo;
  double hi = s + e;
  double lo = s - hi;
  lo = e + lo;
  return {{hi, lo}, fine(hi)};
}

Ref ref_add_d(kaf_dd a, double d) {
  double s = a.hi + d;
  double v = a.hi - s;
  double e = d + v;
  double w = v + s;
  w = a.hi - w;
  e = e + w;
  e = e + a.lo;
  double hi = s + e;
  double lo = s - hi;
  lo = e + lo;
  return {{hi, lo}, fine(hi)};
}

// Step 3 of the products.
Ref ref_finish(Ref pe, double t) {
  double hi = t + pe.v.hi;
  double lo = pe.v.hi - hi;
  lo = lo + t;
  return {{hi, lo}, pe.ok && fine(hi)};
}

Ref ref_mul(kaf_dd a, kaf_dd b) {
  Ref pe = ref_prod(a.hi, b.hi);
  double s = a.hi + a.lo;
  double t = s * b.lo;
  double u = a.lo * b.hi;
  t = t + u;
  t = t + pe.v.lo;
  return ref_finish(pe, t);
}

Ref ref_mul_d(kaf_dd a, double d) {
  Ref pe = ref_prod(a.hi, d);
  double t = a.lo * d;
  t = t + pe.v.lo;
  return ref_finish(pe, t);
}

Ref ref_sqr(kaf_dd a) {
  Ref pe = ref_prod(a.hi, a.hi);
  double t = 2.0 * a.hi;
  t = t * a.lo;
  double u = a.lo * a.lo;
  t = t + u;
  t = t + pe.v.lo;
  return ref_finish(pe, t);
}

Ref ref_recip(kaf_dd a) {
  if (!fine(a.hi)) return {{}, false};
  double r = 1.0 / a.hi;
  if (!std::isfinite(r)) return {{}, false};
  Ref pe = ref_prod(a.hi, r);
  double t = 1.0 - pe.v.hi;
  t = t - pe.v.lo;
  double c;
  if (a.lo == 0.0) {
    c = t / a.hi;
  } else {
    double u = r * a.lo;
    t = t - u;
    double s = a.hi + a.lo;
    c = t / s;
  }
  double hi = r + c;
  double lo = r - hi;
  lo = lo + c;
  return {{hi, lo}, pe.ok};
}

// The Newton quotient, then the remainder correction
// lo' = (((a.hi - p) - e + a.lo) - q.hi b.lo) r with (p, e) = q.hi * b.hi
// exactly, and a fast two-sum of q.hi and lo'. Defined for divisors in
// [2^-1019, 2^960] (the others are scaled first).
Ref ref_div(kaf_dd a, kaf_dd b) {
  double bh = std::fabs(b.hi);
  if (!(bh >= 0x1p-1019 && bh <= 0x1p960) || !std::isfinite(a.hi)) return {{}, false};
  double r = 1.0 / b.hi;
  Ref br = ref_mul_d(b, r);
  Ref t = ref_add_d(kaf_dd{-br.v.hi, -br.v.lo}, 2.0);
  Ref rr = ref_mul_d(t.v, r);
  Ref q = ref_mul(a, rr.v);
  bool ok = br.ok && t.ok && rr.ok && q.ok;
  if (!(std::fabs(a.hi) >= 0x1p-960)) return {q.v, ok};
  Ref pe = ref_prod(q.v.hi, b.hi);
  double rem = a.hi - pe.v.hi;
  rem = rem - pe.v.lo;
  rem = rem + a.lo;
  double u = q.v.hi * b.lo;
  rem = rem - u;
  double ql = rem * r;
  double hi = q.v.hi + ql;
  double lo = hi - q.v.hi;
  lo = ql - lo;
  return {{hi, lo}, ok && pe.ok};
}

// Defined for positive finite a.hi from 2^-960 up (smaller ones are scaled).
Ref ref_sqrt(kaf_dd a) {
  if (!(a.hi >= 0x1p-960 && a.hi <= DBL_MAX)) return {{}, false};
  double s = std::sqrt(a.hi);
  Ref pe = ref_prod(s, s);
  double c = a.hi - pe.v.hi;
  c = c - pe.v.lo;
  c = c + a.lo;
  c = c * 0.5;
  c = c / s;
  double yh = s + c;
  double yl = s - yh;
  yl = yl + c;
  kaf_dd y{yh, yl};
  Ref q = ref_div(a, y);
  Ref sum = ref_add(y, q.v);
  double hi = 0.5 * sum.v.hi;
  double lo = 0.5 * sum.v.lo;
  return {{hi, lo}, pe.ok && q.ok && sum.ok};
}

bool identical(kaf_dd a, kaf_dd b) { return bits(a.hi) == bits(b.hi) && bits(a.lo) == bits(b.lo); }

// Operands of every size: exponents over the whole range, or close to the
// edges where the library's fast paths end and the scaling steps begin.
struct Operand {
  Gen g;
  explicit Operand(std::uint64_t seed) : g(seed) {}
  int exponent() {
    static constexpr int edges[] = {-1074, -1022, -1019, -969, -960, -514, -480, -256,
                                    0,     256,   480,   510,  960,  970,  1021, 1023};
    switch (g.rng() % 4) {
      case 0: return g.expo(-1074, 1023);
      case 1: return edges[g.rng() % std::size(edges)] + g.expo(-3, 3);
      default: return g.expo(-60, 60);
    }
  }
  double hi() {
    int e = std::clamp(exponent(), -1074, 1023);
    double m = std::ldexp(g.unit(), e);
    return g.coin() ? -m : m;
  }
  // Low parts: none, normalised, or anything up to |hi| (the steps define
  // a result for unnormalised pairs too).
  kaf_dd dd() {
    double h = hi();
    switch (g.rng() % 4) {
      case 0: return kaf_dd{h, 0.0};
      case 1: return kaf_dd{h, h * g.uniform(-1.0, 1.0)};
      default: return g.with_lo(h);
    }
  }
  double d() { return hi(); }
};

template <typename Lib, typename RefOp, typename Make>
void check(const char *name, std::uint64_t seed, Make make, Lib lib, RefOp ref) {
  Operand o(seed);
  long defined = 0, bad = 0;
  std::string first;
  for (long i = 0; i < kMillion; ++i) {
    auto args = make(o);
    Ref want = std::apply(ref, args);
    if (!want.ok) continue;
    ++defined;
    kaf_dd got = std::apply(lib, args);
    if (!identical(got, want.v) && bad++ == 0) first = show(got) + " want " + show(want.v);
  }
  EXPECT_EQ(bad, 0) << name << ": first " << first;
  EXPECT_GT(defined, kMillion / 2) << name;
}

auto two_dd = [](Operand &o) { return std::tuple{o.dd(), o.dd()}; };
auto dd_d = [](Operand &o) { return std::tuple{o.dd(), o.d()}; };
auto one_dd = [](Operand &o) { return std::tuple{o.dd()}; };

}  // namespace

TEST(DdOrder, ExactProduct) {
  check("ddprod", 1, [](Operand &o) { return std::tuple{o.d(), o.d()}; }, __KAFf90_ddprod_d_d, ref_prod);
}
TEST(DdOrder, Sums) {
  check("PLUS_dd", 2, two_dd, __KAFf90_dd_PLUS_dd, ref_add);
  check("MINUS_dd", 3, two_dd, __KAFf90_dd_MINUS_dd, ref_sub);
  check("PLUS_d", 4, dd_d, __KAFf90_dd_PLUS_d, ref_add_d);
}
TEST(DdOrder, Products) {
  check("TIMES_dd", 5, two_dd, __KAFf90_dd_TIMES_dd, ref_mul);
  check("TIMES_d", 6, dd_d, __KAFf90_dd_TIMES_d, ref_mul_d);
  check("squared", 7, one_dd, __KAFf90_dd_squared, ref_sqr);
}
TEST(DdOrder, ReciprocalAndQuotients) {
  check("reciprocal", 8, one_dd, __KAFf90_dd_reciprocal, ref_recip);
  check("DIVIDE_dd", 9, two_dd, __KAFf90_dd_DIVIDE_dd, ref_div);
  check("DIVIDE_d", 10, dd_d, __KAFf90_dd_DIVIDE_d,
        [](kaf_dd a, double d) { return ref_div(a, kaf_dd{d, 0.0}); });
}
TEST(DdOrder, SquareRoot) {
  check("sqrt", 11, [](Operand &o) {
    kaf_dd a = o.dd();
    if (a.hi < 0) a = kaf_dd{-a.hi, -a.lo};
    return std::tuple{a};
  }, __KAFf90_sqrt_dd, ref_sqrt);
}
