// Half precision to and from the double-double kind: every half pattern
// both ways, and double-doubles rounded to half against MPFR (precision
// 11 with the half exponent range and its subnormals), with midpoints
// whose tie only the low part breaks.
#include <cfenv>
#include <cfloat>

#include "tests/ddouble/oracle.h"

using namespace ddtest;

namespace {

// The value of a half pattern, from its fields.
double half_value(std::uint16_t h) {
  int e = (h >> 10) & 0x1f, m = h & 0x3ff;
  double v = e == 0 ? std::ldexp(m, -24) : std::ldexp(1024 + m, e - 25);
  if (e == 0x1f) v = m == 0 ? INFINITY : NAN;
  return (h & 0x8000) ? -v : v;
}

// The half nearest to the double-double x by MPFR: precision 11, exponents
// of half (MPFR's emin -23 is 2^-24, the smallest subnormal; emax 16, so
// that 2^16 overflows; only arguments inside that range are given to it).
// Magnitudes below 2^-24 are decided here: above 2^-25 they round to the
// smallest subnormal, at or below to zero (2^-25 is a tie, to even).
double mpfr_half(kaf_dd x) {
  Big v;
  set_dd(v, x);
  double ax = std::fabs(x.hi);
  if (ax < 0x1p-24) {
    mpfr_abs(v, v, MPFR_RNDN);
    int c = mpfr_cmp_d(v, 0x1p-25);
    return std::copysign(c > 0 ? 0x1p-24 : 0.0, x.hi);
  }
  if (ax >= 0x1p16) return std::copysign(INFINITY, x.hi);  // past 65520
  mpfr_exp_t emin = mpfr_get_emin(), emax = mpfr_get_emax();
  double r;
  {
    Big h(11);
    mpfr_set_emin(-23);
    mpfr_set_emax(16);
    int inex = mpfr_set(h, v, MPFR_RNDN);
    inex = mpfr_check_range(h, inex, MPFR_RNDN);
    mpfr_subnormalize(h, inex, MPFR_RNDN);
    r = mpfr_get_d(h, MPFR_RNDN);
    mpfr_set_emin(emin);
    mpfr_set_emax(emax);
  }
  return r;
}

bool same_value(double got, double want) {
  if (std::isnan(want)) return std::isnan(got);
  return bits(got) == bits(want);  // signs of zeros count
}

}  // namespace

TEST(DdHalf, EveryHalfConvertsExactlyAndBack) {
  for (std::uint32_t b = 0; b <= 0xffff; ++b) {
    auto h = static_cast<std::uint16_t>(b);
    kaf_dd x = __KAFf90_real_h_dd(h);
    ASSERT_TRUE(same_value(x.hi, half_value(h))) << std::hex << b;
    ASSERT_EQ(x.lo, 0.0);
    std::uint16_t back = __KAFf90_real_dd_h(x);
    if (std::isnan(x.hi))  // NaNs come back quiet, payload kept
      ASSERT_EQ(back, h | 0x0200) << std::hex << b;
    else
      ASSERT_EQ(back, h) << std::hex << b;
  }
}

TEST(DdHalf, RoundsOnceAgainstMpfr) {
  Gen g(501);
  long bad = 0;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd x;
    int e = g.expo(-28, 17);
    switch (g.rng() % 4) {
      case 0: x = g.dd(e, e); break;
      case 1: {
        // A midpoint between two halves (or a half itself), nudged by a
        // low part of either sign or none.
        int q = std::max(e - 10, -24);
        double k = std::floor(std::ldexp(g.unit(), e - q + 1)) * 0.5;  // multiple of 1/2
        double hi = std::ldexp(k, q);
        double lo = g.rng() % 3 == 0 || hi == 0.0 ? 0.0 : std::ldexp(g.uniform(-1, 1), std::ilogb(hi) - 60);
        x = __KAFf90_dd_PLUS_d(kaf_dd{g.coin() ? hi : -hi, 0.0}, lo);
        break;
      }
      default: {
        double hi = std::ldexp(g.unit(), e);
        x = g.with_lo(g.coin() ? hi : -hi);
      }
    }
    double want = mpfr_half(x);
    double got = half_value(__KAFf90_real_dd_h(x));
    if (!same_value(got, want) && ++bad <= 5)
      ADD_FAILURE() << show(x) << " -> " << std::hexfloat << got << " want " << want;
  }
  EXPECT_EQ(bad, 0);
}

TEST(DdHalf, EdgesOfTheRange) {
  static constexpr struct {
    kaf_dd x;
    std::uint16_t want;
  } rows[] = {
      {{65504.0, 0.0}, 0x7bff},            // largest half
      {{65519.0, 0.0}, 0x7bff},            // below the midpoint to 65536
      {{65520.0, -0x1p-40}, 0x7bff},       // just below that midpoint
      {{65520.0, 0.0}, 0x7c00},            // the midpoint: to even, infinity
      {{-65520.0, 0.0}, 0xfc00},
      {{1e300, 0.0}, 0x7c00},
      {{0x1p-14, 0.0}, 0x0400},            // smallest normal
      {{0x1p-14, -0x1p-70}, 0x0400},       // rounds up into it
      {{0x1p-24, 0.0}, 0x0001},            // smallest subnormal
      {{0x1p-25, 0.0}, 0x0000},            // tie between 0 and 2^-24: even
      {{0x1p-25, 0x1p-90}, 0x0001},        // the low part breaks the tie
      {{-0x1p-25, -0x1p-90}, 0x8001},
      {{0x1.8p-24, 0.0}, 0x0002},          // 1.5 subnormal units: to even (2)
      {{0x1.4p-23, 0.0}, 0x0002},          // 2.5 units: to even (2)
      {{0x1.4p-23, 0x1p-80}, 0x0003},      // ... unless just above
      {{1.0 + 0x1p-11, 0.0}, 0x3c00},      // tie: to even (1.0)
      {{1.0 + 0x1p-11, 0x1p-70}, 0x3c01},  // above the tie
      {{1.0 + 0x1p-11, -0x1p-70}, 0x3c00},
      {{1.0 + 0x1.8p-10, -0x1p-70}, 0x3c01},  // tie 1.5 ulp, just below
      {{1.0 + 0x1.8p-10, 0.0}, 0x3c02},        // tie to even
      {{-0.0, 0.0}, 0x8000},
      {{0x1p-1074, 0.0}, 0x0000},
      {{-INFINITY, 0.0}, 0xfc00},
  };
  for (const auto &r : rows)
    EXPECT_EQ(__KAFf90_real_dd_h(r.x), r.want) << show(r.x);
}

TEST(DdHalf, NaNStaysQuietNaN) {
  std::uint16_t h = __KAFf90_real_dd_h(kaf_dd{NAN, 0.0});
  EXPECT_EQ(h & 0x7e00, 0x7e00);
  EXPECT_TRUE(std::isnan(__KAFf90_real_h_dd(0x7c01).hi));  // signalling half NaN
  EXPECT_TRUE(std::isnan(__KAFf90_real_h_dd(0xfe00).hi));
  EXPECT_TRUE(std::signbit(__KAFf90_real_h_dd(0xfe00).hi));
}

TEST(DdHalf, RaisesTheConversionExceptions) {
  std::feclearexcept(FE_ALL_EXCEPT);
  __KAFf90_real_dd_h(kaf_dd{1.5, 0.0});
  EXPECT_FALSE(std::fetestexcept(FE_INEXACT | FE_OVERFLOW | FE_UNDERFLOW));
  __KAFf90_real_dd_h(kaf_dd{1.0, 0x1p-60});
  EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
  EXPECT_FALSE(std::fetestexcept(FE_OVERFLOW | FE_UNDERFLOW));
  std::feclearexcept(FE_ALL_EXCEPT);
  __KAFf90_real_dd_h(kaf_dd{1e5, 0.0});
  EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW) && std::fetestexcept(FE_INEXACT));
  std::feclearexcept(FE_ALL_EXCEPT);
  __KAFf90_real_dd_h(kaf_dd{0x1.8p-20, 0.0});  // exact subnormal: no underflow
  EXPECT_FALSE(std::fetestexcept(FE_UNDERFLOW | FE_INEXACT));
  __KAFf90_real_dd_h(kaf_dd{0x1.0000001p-20, 0.0});
  EXPECT_TRUE(std::fetestexcept(FE_UNDERFLOW) && std::fetestexcept(FE_INEXACT));
  std::feclearexcept(FE_ALL_EXCEPT);
}
