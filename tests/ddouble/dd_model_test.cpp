// Rounding, remainders, signs and the model inquiries of the double-double
// kind, against MPFR (exact results compared exactly) and on their edges.
#include <cfloat>
#include <climits>
#include <cmath>

#include "tests/ddouble/oracle.h"

using namespace ddtest;

namespace {

constexpr double kInf = INFINITY;

// Exact comparison of a double-double with an MPFR value.
bool equals(kaf_dd a, mpfr_ptr v) {
  Big t;
  set_dd(t, a);
  return mpfr_equal_p(t, v) != 0;
}

// Arguments for rounding: an integral high part with a fractional low part,
// a small value with a fraction, and halves.
kaf_dd rounding_arg(Gen &g, long i) {
  switch (i % 4) {
    case 0: {
      double h = std::ldexp(std::floor(g.unit() * 0x1p20), g.expo(33, 80));
      double l = g.uniform(-0.5, 0.5) * std::min(1.0, std::ldexp(1.0, std::ilogb(h) - 52));
      kaf_dd x = __KAFf90_dd_PLUS_d({h, 0}, l);
      return g.coin() ? kaf_dd{-x.hi, -x.lo} : x;
    }
    case 1: return g.dd(-3, 60);
    case 2: {
      double h = std::floor(g.uniform(-1e6, 1e6)) + 0.5;
      return kaf_dd{h, 0.0};
    }
    default: {
      double h = std::ldexp(std::floor(g.unit() * 0x1p40), g.expo(13, 40)) + 0.5 * g.expo(-1, 1);
      return __KAFf90_dd_PLUS_d({h, 0}, std::ldexp(g.uniform(-1, 1), -60));
    }
  }
}

}  // namespace

TEST(DdModel, RoundingAgainstMpfr) {
  Gen g(301);
  Big x, r;
  for (long i = 0; i < kHundredK; ++i) {
    kaf_dd a = rounding_arg(g, i);
    set_dd(x, a);
    mpfr_trunc(r, x);
    ASSERT_TRUE(equals(__KAFf90_aint_dd(a), r)) << show(a) << " aint " << show(__KAFf90_aint_dd(a));
    mpfr_floor(r, x);
    ASSERT_TRUE(equals(__KAFf90_floor_dd(a), r)) << show(a);
    mpfr_ceil(r, x);
    ASSERT_TRUE(equals(__KAFf90_ceiling_dd(a), r)) << show(a);
    mpfr_round(r, x);  // halves away from zero, as ANINT and NINT
    ASSERT_TRUE(equals(__KAFf90_anint_dd(a), r)) << show(a) << " anint " << show(__KAFf90_anint_dd(a));
    if (mpfr_cmp_d(r, 0x1p62) < 0 && mpfr_cmp_d(r, -0x1p62) > 0) {
      ASSERT_EQ(__KAFf90_nint_dd_i4(a), mpfr_get_si(r, MPFR_RNDN)) << show(a);
    }
    if (mpfr_cmp_d(r, 2147483647.0) <= 0 && mpfr_cmp_d(r, -2147483648.0) >= 0) {
      ASSERT_EQ(__KAFf90_nint_dd_i(a), mpfr_get_si(r, MPFR_RNDN)) << show(a);
    }
  }
}

TEST(DdModel, RoundingEdges) {
  EXPECT_TRUE(same(__KAFf90_anint_dd({2.5, 0}), {3.0, 0}));
  EXPECT_TRUE(same(__KAFf90_anint_dd({-2.5, 0}), {-3.0, 0}));
  EXPECT_TRUE(same(__KAFf90_anint_dd({0.5, -0x1p-60}), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_anint_dd({-0.5, 0x1p-60}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_anint_dd({0x1p53, -0.5}), {0x1p53, 0}));
  EXPECT_TRUE(same(__KAFf90_aint_dd({0x1p60, -0.25}), {0x1p60, -1.0}));
  EXPECT_TRUE(same(__KAFf90_aint_dd({-0x1p60, 0.25}), {-0x1p60, 1.0}));
  EXPECT_TRUE(same(__KAFf90_aint_dd({-0.75, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_floor_dd({0x1p60, -0.25}), {0x1p60, -1.0}));
  EXPECT_TRUE(same(__KAFf90_ceiling_dd({-0.25, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_aint_dd({kInf, 0}), {kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_anint_dd({NAN, 0}).hi));
  const kaf_dd h{2.5, 0};
  EXPECT_TRUE(same(__KAFf90_aint_dd_arg(&h), {2.0, 0}));
  EXPECT_TRUE(same(__KAFf90_anint_dd_arg(&h), {3.0, 0}));
  // NINT at the ends of each INTEGER kind; out of range gives the most
  // negative value.
  EXPECT_EQ(__KAFf90_nint_dd_i({2147483647.0, 0.4}), 2147483647);
  EXPECT_EQ(__KAFf90_nint_dd_i({2147483647.0, 0.5}), INT32_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i({-2147483648.0, -0.49}), INT32_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i({-2147483647.0, -0.5}), INT32_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i({-2147483647.0, -0.49}), -2147483647);
  EXPECT_EQ(__KAFf90_nint_dd_i4({0x1p63, -1.0}), INT64_MAX);
  EXPECT_EQ(__KAFf90_nint_dd_i4({0x1p63, -0.5}), INT64_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i4({-0x1p63, 0.0}), INT64_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i4({-0x1p63, 0.4}), INT64_MIN);
  EXPECT_EQ(__KAFf90_nint_dd_i4({0x1p62, 0.5}), (INT64_C(1) << 62) + 1);
  EXPECT_EQ(__KAFf90_nint_dd_i({NAN, 0}), INT32_MIN);
  const kaf_dd m{-7.5, 0};
  EXPECT_EQ(__KAFf90_nint_dd_i_arg(&m), -8);
  EXPECT_EQ(__KAFf90_nint_dd_i4_arg(&m), -8);
}

TEST(DdModel, ModAndModuloAgainstMpfr) {
  // Quotients up to 2^80: the remainder is formed in exact 26-bit steps, so
  // it is within a few units of 2^-106 of |p|.
  Gen g(302);
  Big ma, mp, r(2200), d(2200);
  Worst wm, wo;
  for (long i = 0; i < kHundredK; ++i) {
    kaf_dd a = g.dd(-10, 80), p = g.dd(-10, 10);
    kaf_dd m = __KAFf90_fmod_dd(a, p);
    set_dd(ma, a);
    set_dd(mp, p);
    mpfr_fmod(r, ma, mp, MPFR_RNDN);
    double ap = std::fabs(p.hi);
    wm.note(err_units_abs(m, r, ap), show(a) + show(p) + " -> " + show(m));
    ASSERT_TRUE(m.hi == 0.0 || std::signbit(m.hi) == std::signbit(a.hi)) << show(a) << show(p);
    ASSERT_TRUE(std::fabs(m.hi) <= ap) << show(a) << show(p);
    // MODULO = MOD, moved by p when the signs differ.
    if (!mpfr_zero_p(r) && (mpfr_sgn(r.v) < 0) != (p.hi < 0)) mpfr_add(r, r, mp, MPFR_RNDN);
    kaf_dd o = __KAFf90_modulo_dd(a, p);
    wo.note(err_units_abs(o, r, ap), show(a) + show(p) + " -> " + show(o));
    ASSERT_TRUE(o.hi == 0.0 || std::signbit(o.hi) == std::signbit(p.hi)) << show(a) << show(p);
  }
  EXPECT_LE(wm.err, 2.0) << wm.where;
  EXPECT_LE(wo.err, 4.0) << wo.where;
  RecordProperty("worst_units", std::to_string(std::max(wm.err, wo.err)));
}

TEST(DdModel, ModSigns) {
  EXPECT_TRUE(same(__KAFf90_fmod_dd({5.5, 0}, {-2.0, 0}), {1.5, 0}));
  EXPECT_TRUE(same(__KAFf90_fmod_dd({-5.5, 0}, {2.0, 0}), {-1.5, 0}));
  EXPECT_TRUE(same(__KAFf90_modulo_dd({-5.5, 0}, {2.0, 0}), {0.5, 0}));
  EXPECT_TRUE(same(__KAFf90_modulo_dd({5.5, 0}, {-2.0, 0}), {-0.5, 0}));
  EXPECT_TRUE(same(__KAFf90_fmod_dd({-4.0, 0}, {2.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_modulo_dd({4.0, 0}, {-2.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_fmod_dd({1.0, 0}, {3.0, 0}), {1.0, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_fmod_dd({1.0, 0}, {0.0, 0}).hi));
  EXPECT_TRUE(std::isnan(__KAFf90_fmod_dd({kInf, 0}, {3.0, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_fmod_dd({-3.0, 0}, {kInf, 0}), {-3.0, 0}));
  // A remainder that needs the low parts: (2^60 + 1) mod 2^30 = 1.
  EXPECT_TRUE(same(__KAFf90_fmod_dd({0x1p60, 1.0}, {0x1p30, 0}), {1.0, 0}));
  const kaf_dd a{7.0, 0}, p{-3.0, 0};
  EXPECT_TRUE(same(__KAFf90_fmod_dd_arg(&a, &p), {1.0, 0}));
}

TEST(DdModel, RemquoAgainstMpfr) {
  Gen g(303);
  Big ma, mb, r(2200);
  Worst w;
  for (long i = 0; i < kTenK; ++i) {
    kaf_dd a = g.dd(-10, 60), b = g.dd(-10, 10);
    if (i % 10 == 0) a = __KAFf90_dd_TIMES_d(b, std::floor(g.uniform(-1e6, 1e6)) + 0.5);  // ties
    std::int32_t q;
    kaf_dd rr = __KAFf90_dd_remquo_dd(a, b, &q);
    set_dd(ma, a);
    set_dd(mb, b);
    long mq;
    mpfr_remquo(r, &mq, ma, mb, MPFR_RNDN);
    w.note(err_units_abs(rr, r, std::fabs(b.hi)), show(a) + show(b));
    // Both give at least the low three bits of the quotient and its sign.
    ASSERT_EQ(q & 7, static_cast<std::int32_t>(mq & 7)) << show(a) << show(b) << " " << q << " " << mq;
    ASSERT_EQ(q < 0, mq < 0) << show(a) << show(b);
  }
  EXPECT_LE(w.err, 2.0) << w.where;
}

TEST(DdModel, ModelInquiriesAgainstMpfr) {
  // Values with at most 106 significant bits, where NEAREST is MPFR's next
  // number at 106 bits.
  Gen g(304);
  Big x(106), y(106), t(2200);
  gmp_randstate_t st;
  gmp_randinit_default(st);
  gmp_randseed_ui(st, 304);
  for (long i = 0; i < kHundredK; ++i) {
    mpfr_urandomb(x, st);
    if (mpfr_zero_p(x)) continue;
    mpfr_mul_2si(x, x, g.expo(-900, 960), MPFR_RNDN);
    if (g.coin()) mpfr_neg(x, x, MPFR_RNDN);
    if (i % 16 == 0) mpfr_set_si_2exp(x, g.coin() ? 1 : -1, g.expo(-900, 960), MPFR_RNDN);  // powers of 2
    kaf_dd a = get_dd(x);
    long e = mpfr_get_exp(x);
    ASSERT_EQ(__KAFf90_exponent_dd(a), e) << show(a);
    mpfr_mul_2si(t, x, -e, MPFR_RNDN);
    ASSERT_TRUE(equals(__KAFf90_fraction_dd(a), t)) << show(a);
    double sp = std::ldexp(1.0, std::max(static_cast<int>(e) - 106, -969));
    ASSERT_TRUE(same(__KAFf90_spacing_dd(a), {sp, 0})) << show(a);
    mpfr_abs(t, t, MPFR_RNDN);
    mpfr_mul_2si(t, t, 106, MPFR_RNDN);
    ASSERT_TRUE(equals(__KAFf90_rrspacing_dd(a), t)) << show(a);
    mpfr_set(y, x, MPFR_RNDN);
    mpfr_nextabove(y);
    ASSERT_TRUE(equals(__KAFf90_nearest_dd(a, 1.0), y)) << show(a) << " up";
    mpfr_set(y, x, MPFR_RNDN);
    mpfr_nextbelow(y);
    ASSERT_TRUE(equals(__KAFf90_nearest_dd(a, -2.0), y)) << show(a) << " down";
    int k = g.expo(-60, 60);
    mpfr_mul_2si(t, x, k, MPFR_RNDN);
    ASSERT_TRUE(equals(__KAFf90_scale_dd(a, k), t)) << show(a) << " " << k;
  }
  gmp_randclear(st);
}

TEST(DdModel, ModelInquiryEdges) {
  const kaf_dd huge{DBL_MAX, 0x1.fffffffffffffp969};
  EXPECT_EQ(__KAFf90_exponent_dd({0.0, 0}), 0);
  EXPECT_EQ(__KAFf90_exponent_dd({1.0, 0}), 1);
  EXPECT_EQ(__KAFf90_exponent_dd({1.0, -0x1p-80}), 0);  // just below 1
  EXPECT_EQ(__KAFf90_exponent_dd({kInf, 0}), INT_MAX);
  EXPECT_TRUE(same(__KAFf90_fraction_dd({-0.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_fraction_dd({1.0, -0x1p-80}), {1.0, -0x1p-80}));
  EXPECT_TRUE(same(__KAFf90_fraction_dd({-3.0, 0x1p-80}), {-0.75, 0x1p-82}));
  EXPECT_TRUE(std::isnan(__KAFf90_fraction_dd({kInf, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_spacing_dd({0.0, 0}), {0x1p-969, 0}));  // TINY
  EXPECT_TRUE(same(__KAFf90_spacing_dd({0x1p-900, 0}), {0x1p-969, 0}));
  EXPECT_TRUE(same(__KAFf90_spacing_dd({1.0, 0}), {0x1p-105, 0}));  // EPSILON
  EXPECT_TRUE(same(__KAFf90_rrspacing_dd({-1.0, 0}), {0x1p105, 0}));
  EXPECT_TRUE(same(__KAFf90_rrspacing_dd({0.0, 0}), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({0.0, 0}, 1.0), {0x1p-1074, 0}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({0.0, 0}, -0.0), {-0x1p-1074, 0}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd(huge, 1.0), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({kInf, 0}, -1.0), huge));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({-kInf, 0}, 1.0), {-huge.hi, -huge.lo}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({kInf, 0}, 1.0), {kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_nearest_dd({NAN, 0}, 1.0).hi));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({1.0, 0}, 1.0), {1.0, 0x1p-105}));
  EXPECT_TRUE(same(__KAFf90_nearest_dd({1.0, 0}, -1.0), {1.0, -0x1p-106}));
  EXPECT_TRUE(same(__KAFf90_scale_dd({1.5, 0x1p-60}, 10), {1536.0, 0x1p-50}));
  EXPECT_TRUE(same(__KAFf90_scale_dd({1.0, 0}, 5000), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_scale_dd({-1.0, 0}, -5000), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_scale_dd({0x1p-1000, 0}, -74), {0x1p-1074, 0}));
  // HUGE itself is a normalised pair.
  EXPECT_EQ(huge.hi + huge.lo, huge.hi);
}

TEST(DdModel, SignsAndDim) {
  const kaf_dd a{2.0, -0x1p-60}, b{-3.0, 0}, z{-0.0, 0}, pz{0.0, 0};
  EXPECT_TRUE(same(__KAFf90_sign_dd_arg(&a, &b), {-2.0, 0x1p-60}));
  EXPECT_TRUE(same(__KAFf90_sign_dd_arg(&b, &a), {3.0, 0}));
  EXPECT_TRUE(same(__KAFf90_sign_dd_arg(&a, &z), {-2.0, 0x1p-60}));  // the sign bit of -0
  EXPECT_TRUE(same(__KAFf90_sign_dd_arg(&b, &pz), {3.0, 0}));
  EXPECT_TRUE(same(__KAFf90_copysign_dd(a, b), {-2.0, 0x1p-60}));
  EXPECT_TRUE(same(__KAFf90_abs_dd_arg(&b), {3.0, 0}));
  EXPECT_TRUE(same(__KAFf90_abs_dd_arg(&z), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dim_dd_arg(&a, &b), {5.0, -0x1p-60}));
  EXPECT_TRUE(same(__KAFf90_dim_dd_arg(&b, &a), {0.0, 0}));
  const kaf_dd c{2.0, -0x1p-61};
  EXPECT_TRUE(same(__KAFf90_dim_dd_arg(&c, &a), {0x1p-61, 0}));
}

TEST(DdModel, HypotAndNorm2AgainstMpfr) {
  Gen g(305);
  Big mx, my, r(320);
  Worst w;
  for (long i = 0; i < kHundredK; ++i) {
    int e = g.expo(-900, 900);
    kaf_dd x = g.dd(e - 30, e + 30), y = g.dd(e - 30, e + 30);
    kaf_dd h = __KAFf90_hypot_dd(x, y);
    set_dd(mx, x);
    set_dd(my, y);
    mpfr_hypot(r, mx, my, MPFR_RNDN);
    w.note(err_units(h, r), show(x) + show(y));
  }
  EXPECT_LE(w.err, 4.0) << w.where;
  EXPECT_TRUE(same(__KAFf90_hypot_dd({NAN, 0}, {-kInf, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_hypot_dd({DBL_MAX, 0}, {DBL_MAX, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_hypot_dd({-3.0, 0}, {0.0, 0}), {3.0, 0}));
  // NORM2 of values that would overflow or underflow when squared.
  for (int e : {-900, 0, 1000}) {
    kaf_dd v[5];
    Big s(320), t(320);
    mpfr_set_ui(s, 0, MPFR_RNDN);
    for (kaf_dd &x : v) {
      x = g.dd(e - 5, e + 5);
      set_dd(t, x);
      mpfr_sqr(t, t, MPFR_RNDN);
      mpfr_add(s, s, t, MPFR_RNDN);
    }
    mpfr_sqrt(s, s, MPFR_RNDN);
    EXPECT_LE(err_units(__KAFf90_norm2_dd(v, 5), s), 6.0) << e;
  }
  EXPECT_TRUE(same(__KAFf90_norm2_dd(nullptr, 0), {0.0, 0}));
}
