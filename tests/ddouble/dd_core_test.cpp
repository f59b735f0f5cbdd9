// The core double-double operations: the listed edge cases, special values,
// and a million random operands per operation against MPFR with the error
// bound each operation guarantees.
#include <cfenv>
#include <cfloat>
#include <cmath>
#include <functional>

#include "tests/ddouble/oracle.h"

using namespace ddtest;

namespace {

constexpr double kInf = INFINITY;

// Bounds, in units of 2^-106. Sums are bounded against |a| + |b| (the
// simple two-sum cannot bound the error relative to a cancelled result);
// every other operation relative to its true result.
constexpr double kAddBound = 3.0;     // |err| <= 3 * 2^-106 * (|a| + |b|)
constexpr double kAddSameSign = 3.0;  // relative, operands of one sign
constexpr double kMulBound = 5.0;
constexpr double kMulDBound = 3.0;
constexpr double kSqrBound = 5.0;
constexpr double kRecipBound = 5.0;
constexpr double kDivBound = 5.0;
constexpr double kSqrtBound = 4.0;

using BinOp = std::function<kaf_dd(kaf_dd, kaf_dd)>;
using MpfrBin = std::function<void(mpfr_ptr, mpfr_ptr, mpfr_ptr)>;

// Runs n random pairs from gen through op and the MPFR operation, checking
// normalisation and returning the worst relative error.
Worst run_binary(long n, std::uint64_t seed, const std::function<void(Gen &, kaf_dd &, kaf_dd &)> &gen,
                 const BinOp &op, const MpfrBin &ref) {
  Gen g(seed);
  Big ma, mb, mr(256);
  Worst w;
  long bad_norm = 0;
  for (long i = 0; i < n; ++i) {
    kaf_dd a, b;
    gen(g, a, b);
    kaf_dd r = op(a, b);
    set_dd(ma, a);
    set_dd(mb, b);
    ref(mr, ma, mb);
    if (!normalised(r)) ++bad_norm;
    w.note(err_units(r, mr), show(a) + " " + show(b) + " -> " + show(r));
  }
  EXPECT_EQ(bad_norm, 0);
  return w;
}

void mp_mul(mpfr_ptr r, mpfr_ptr a, mpfr_ptr b) { mpfr_mul(r, a, b, MPFR_RNDN); }
void mp_div(mpfr_ptr r, mpfr_ptr a, mpfr_ptr b) { mpfr_div(r, a, b, MPFR_RNDN); }

}  // namespace

// ---- The listed edge cases ----------------------------------------------

TEST(DdCore, CancellingHighPartsLeaveTheLowPart) {
  kaf_dd r = __KAFf90_dd_PLUS_dd({1.0, 0x1p-60}, {-1.0, 0.0});
  EXPECT_TRUE(same(r, {0x1p-60, 0.0})) << show(r);
  r = __KAFf90_dd_MINUS_dd({1.0, 0x1p-60}, {1.0, 0.0});
  EXPECT_TRUE(same(r, {0x1p-60, 0.0})) << show(r);
}

TEST(DdCore, ExactProductNearTheTopDoesNotOverflowInTheSplit) {
  // Without scaling, 134217729 * x overflows for x near 2^1000 and the
  // split returns NaN.
  const double xs[] = {0x1.fffffffffffffp+999, 0x1.23456789abcdep+1000, 0x1.8p+1010};
  const double ys[] = {0x1.fffffffffffffp-1, 0x1.3333333333333p-20, 0x1.0000000000001p-990};
  Big m(256), p(2200);
  for (double x : xs)
    for (double y : ys) {
      kaf_dd r = __KAFf90_ddprod_d_d(x, y);
      ASSERT_TRUE(std::isfinite(r.hi) && std::isfinite(r.lo)) << x << " " << y;
      mpfr_set_d(p, x, MPFR_RNDN);
      mpfr_mul_d(p, p, y, MPFR_RNDN);  // exact
      EXPECT_TRUE(same(r, get_dd(p))) << std::hexfloat << x << " " << y << " " << show(r);
    }
}

TEST(DdCore, ExactProductOfASubnormalKeepsTheLowPart) {
  // A subnormal times a large value: the product is normal and needs the
  // low part (an unscaled split of a subnormal is not exact).
  const double xs[] = {0x1.23456789abcdp-1060, 0x0.fffffffffffffp-1022, 0x1.5555555555555p-1030,
                       0x1p-1074 * 12345679.0};
  const double ys[] = {0x1.fffffffffffffp+100, 0x1.3456789abcdefp+60, 0x1.0000000000001p+1000};
  Big p(2200);
  for (double x : xs)
    for (double y : ys) {
      kaf_dd r = __KAFf90_ddprod_d_d(x, y);
      mpfr_set_d(p, x, MPFR_RNDN);
      mpfr_mul_d(p, p, y, MPFR_RNDN);
      kaf_dd want = get_dd(p);
      EXPECT_TRUE(same(r, want)) << std::hexfloat << x << " " << y << " " << show(r) << " want "
                                 << show(want);
      EXPECT_NE(r.lo, 0.0);
    }
  // Two subnormals: the product is far below the subnormal range.
  kaf_dd z = __KAFf90_ddprod_d_d(0x1p-1070, -0x1.8p-1060);
  EXPECT_TRUE(same(z, {-0.0, 0.0})) << show(z);
}

TEST(DdCore, SqrtOfMinusZeroIsZeroAndOfMinusOneIsNaN) {
  kaf_dd r = __KAFf90_sqrt_dd({-0.0, 0.0});
  EXPECT_TRUE(same(r, {0.0, 0.0})) << show(r);
  std::feclearexcept(FE_ALL_EXCEPT);
  r = __KAFf90_sqrt_dd({-1.0, 0.0});
  EXPECT_TRUE(std::isnan(r.hi));
  EXPECT_TRUE(std::fetestexcept(FE_INVALID));
  r = __KAFf90_sqrt_dd({0.0, 0.0});
  EXPECT_TRUE(same(r, {0.0, 0.0}));
}

TEST(DdCore, ProductOfPlainDoublesIsTheExactProduct) {
  Gen g(7);
  for (int i = 0; i < 10000; ++i) {
    double x = g.dbl(-500, 500), y = g.dbl(-500, 500);
    kaf_dd r = __KAFf90_dd_TIMES_dd({x, 0.0}, {y, 0.0});
    kaf_dd p = __KAFf90_ddprod_d_d(x, y);
    ASSERT_TRUE(same(r, p)) << std::hexfloat << x << " " << y;
  }
}

// ---- Exact product ------------------------------------------------------

TEST(DdCore, ExactProductIsExactOverTheWholeRange) {
  Gen g(11);
  Big p(2200);
  long mismatches = 0;
  for (long i = 0; i < kMillion; ++i) {
    // Exponent pairs whose product stays normal, spread over every scaling
    // case (both large, both small, mixed).
    int ex = g.expo(-1074, 1023);
    int lo = std::max(-1021 - ex + 1, -1074), hi = std::min(1022 - ex, 1023);
    if (lo > hi) continue;
    int ey = g.expo(lo, hi);
    double x = std::ldexp(g.unit(), ex), y = std::ldexp(g.unit(), ey);
    if (g.coin()) x = -x;
    kaf_dd r = __KAFf90_ddprod_d_d(x, y);
    mpfr_set_d(p, x, MPFR_RNDN);
    mpfr_mul_d(p, p, y, MPFR_RNDN);
    kaf_dd want = get_dd(p);
    // Low parts below the subnormal range cannot be held; the high part is
    // still the correctly rounded product.
    bool lo_fits = std::fabs(want.hi) >= 0x1p-969;
    if (lo_fits ? !same(r, want) : r.hi != want.hi) {
      if (++mismatches < 5)
        ADD_FAILURE() << std::hexfloat << x << " * " << y << " = " << show(r) << " want "
                      << show(want);
    }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(DdCore, ExactProductSpecials) {
  EXPECT_TRUE(same(__KAFf90_ddprod_d_d(kInf, 2.0), {kInf, 0.0}));
  EXPECT_TRUE(same(__KAFf90_ddprod_d_d(-3.0, kInf), {-kInf, 0.0}));
  EXPECT_TRUE(std::isnan(__KAFf90_ddprod_d_d(kInf, 0.0).hi));
  EXPECT_TRUE(std::isnan(__KAFf90_ddprod_d_d(NAN, 1.0).hi));
  EXPECT_TRUE(same(__KAFf90_ddprod_d_d(-2.0, 0.0), {-0.0, 0.0}));
  // Overflow gives infinity with a zero low part.
  EXPECT_TRUE(same(__KAFf90_ddprod_d_d(0x1p600, 0x1p500), {kInf, 0.0}));
  EXPECT_TRUE(same(__KAFf90_ddprod_d_d(-0x1p1000, 0x1p30), {-kInf, 0.0}));
}

// ---- Sums -----------------------------------------------------------------

TEST(DdCore, SumErrorAgainstMpfr) {
  Gen g(21);
  Big ma, mb, mr(2200);
  Worst w, ws;
  long bad_norm = 0;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-60, 60);
    // Every relation of sizes: far apart, close, and nearly cancelling.
    kaf_dd b;
    switch (i % 4) {
      case 0: b = g.dd(-60, 60); break;
      case 1: b = g.with_lo(a.hi * g.uniform(0.5, 2.0)); break;
      case 2: b = g.with_lo(-a.hi * g.uniform(0.999, 1.001)); break;
      default: b = g.with_lo(-a.hi); break;
    }
    kaf_dd r = __KAFf90_dd_PLUS_dd(a, b);
    set_dd(ma, a);
    set_dd(mb, b);
    mpfr_add(mr, ma, mb, MPFR_RNDN);
    if (!normalised(r)) ++bad_norm;
    double scale = std::fabs(a.hi) + std::fabs(b.hi);
    w.note(err_units_abs(r, mr, scale), show(a) + show(b));
    if (std::signbit(a.hi) == std::signbit(b.hi)) ws.note(err_units(r, mr), show(a) + show(b));
  }
  EXPECT_EQ(bad_norm, 0);
  EXPECT_LE(w.err, kAddBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
  EXPECT_LE(ws.err, kAddSameSign) << ws.where;
}

TEST(DdCore, DifferenceErrorAgainstMpfr) {
  Gen g(22);
  Big ma, mb, mr(2200);
  Worst w, ws;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-60, 60);
    kaf_dd b = (i % 2) ? g.dd(-60, 60) : g.with_lo(a.hi * g.uniform(0.999, 1.001));
    kaf_dd r = __KAFf90_dd_MINUS_dd(a, b);
    set_dd(ma, a);
    set_dd(mb, b);
    mpfr_sub(mr, ma, mb, MPFR_RNDN);
    ASSERT_TRUE(normalised(r)) << show(a) << show(b);
    w.note(err_units_abs(r, mr, std::fabs(a.hi) + std::fabs(b.hi)), show(a) + show(b));
    if (std::signbit(a.hi) != std::signbit(b.hi)) ws.note(err_units(r, mr), show(a) + show(b));
  }
  EXPECT_LE(w.err, kAddBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
  EXPECT_LE(ws.err, kAddSameSign) << ws.where;
}

TEST(DdCore, SumWithADoubleAgainstMpfr) {
  Gen g(23);
  Big ma, mr(2200);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-60, 60);
    double d = (i % 2) ? g.dbl(-60, 60) : -a.hi * g.uniform(0.999, 1.001);
    kaf_dd r = __KAFf90_dd_PLUS_d(a, d);
    set_dd(ma, a);
    mpfr_add_d(mr, ma, d, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units_abs(r, mr, std::fabs(a.hi) + std::fabs(d)), show(a) + " " + std::to_string(d));
  }
  EXPECT_LE(w.err, kAddBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, SumSpecials) {
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_dd({kInf, 0}, {1.0, 0x1p-60}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_dd({-kInf, 0}, {-kInf, 0}), {-kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_PLUS_dd({kInf, 0}, {-kInf, 0}).hi));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_PLUS_dd({NAN, 0}, {1.0, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_dd({-0.0, 0}, {-0.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_dd({1.0, 0x1p-60}, {-1.0, -0x1p-60}), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_MINUS_dd({-0.0, 0}, {0.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_d({-0.0, 0}, -0.0), {-0.0, 0}));
  // Overflow of the sum.
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_dd({DBL_MAX, 0}, {DBL_MAX, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_MINUS_dd({-DBL_MAX, 0}, {DBL_MAX, 0}), {-kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_PLUS_d({kInf, 0}, 5.0), {kInf, 0}));
}

// ---- Products -------------------------------------------------------------

TEST(DdCore, ProductErrorAgainstMpfr) {
  Worst w = run_binary(
      kMillion, 31,
      [](Gen &g, kaf_dd &a, kaf_dd &b) {
        a = g.dd(-400, 400);
        b = g.dd(-400, 400);
      },
      __KAFf90_dd_TIMES_dd, mp_mul);
  EXPECT_LE(w.err, kMulBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, ProductErrorAtTheEndsOfTheRange) {
  // Operands near 2^±1000 whose product is normal and far from the
  // subnormal range: the scaled exact product keeps the full precision.
  Worst w = run_binary(
      kHundredK, 32,
      [](Gen &g, kaf_dd &a, kaf_dd &b) {
        int e = g.expo(960, 1020);
        a = g.dd(e, e);
        b = g.dd(-e + 40, -e + 60);
        if (g.coin()) std::swap(a, b);
      },
      __KAFf90_dd_TIMES_dd, mp_mul);
  EXPECT_LE(w.err, kMulBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, ProductByADoubleErrorAgainstMpfr) {
  Gen g(33);
  Big ma, mr(256);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-400, 400);
    double d = g.dbl(-400, 400);
    kaf_dd r = __KAFf90_dd_TIMES_d(a, d);
    set_dd(ma, a);
    mpfr_mul_d(mr, ma, d, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units(r, mr), show(a));
  }
  EXPECT_LE(w.err, kMulDBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, SquareErrorAgainstMpfr) {
  Gen g(34);
  Big ma, mr(256);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-480, 480);  // squares stay above 2^-969: full precision
    kaf_dd r = __KAFf90_dd_squared(a);
    set_dd(ma, a);
    mpfr_sqr(mr, ma, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units(r, mr), show(a));
  }
  EXPECT_LE(w.err, kSqrBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, ProductSpecials) {
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_dd({kInf, 0}, {2.0, 0x1p-60}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_dd({-kInf, 0}, {2.0, 0}), {-kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_TIMES_dd({kInf, 0}, {0.0, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_dd({-2.0, 0}, {0.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_d({-2.0, 0x1p-60}, 0.0), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_dd({0x1p600, 0}, {0x1p600, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_d({-0x1p600, 0}, 0x1p600), {-kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_squared({-0x1p600, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_squared({-0.0, 0}), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_TIMES_dd({0x1p-600, 0}, {-0x1p-600, 0}), {-0.0, 0}));
}

// ---- Reciprocal and quotients ---------------------------------------------

TEST(DdCore, ReciprocalErrorAgainstMpfr) {
  Gen g(41);
  Big ma, mr(256);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    // Includes a.lo == 0 (one path) and divisors near both ends whose
    // reciprocals keep their low parts above the subnormal range.
    kaf_dd a = (i % 5 == 0) ? kaf_dd{g.dbl(-965, 965), 0.0} : g.dd(-965, 965);
    kaf_dd r = __KAFf90_dd_reciprocal(a);
    set_dd(ma, a);
    mpfr_ui_div(mr, 1, ma, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units(r, mr), show(a));
  }
  EXPECT_LE(w.err, kRecipBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, ReciprocalSpecials) {
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({0.0, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({-0.0, 0}), {-kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({kInf, 0}), {0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({-kInf, 0}), {-0.0, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_reciprocal({NAN, 0}).hi));
  // A subnormal whose reciprocal overflows.
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({-0x1p-1060, 0}), {-kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_reciprocal({3.0, 0}), {0x1.5555555555555p-2, 0x1.5555555555555p-56}));
}

TEST(DdCore, QuotientErrorAgainstMpfr) {
  Worst w = run_binary(
      kMillion, 42,
      [](Gen &g, kaf_dd &a, kaf_dd &b) {
        a = g.dd(-400, 400);
        b = g.dd(-400, 400);
      },
      __KAFf90_dd_DIVIDE_dd, mp_div);
  EXPECT_LE(w.err, kDivBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, QuotientByTinyAndHugeDivisors) {
  // Divisors below 2^-1019 (including subnormals) and above 2^960 take the
  // scaled paths; quotients stay in the normal range.
  Worst w = run_binary(
      kHundredK, 43,
      [](Gen &g, kaf_dd &a, kaf_dd &b) {
        if (g.coin()) {
          int e = g.expo(-1040, -1020);
          b = g.dd(e, e);
          a = g.dd(e + 60, e + 900);
          if (e < -1022) b.lo = 0.0;  // a subnormal has no low part
        } else {
          int e = g.expo(961, 1023);
          b = g.dd(e, e);
          a = g.dd(e - 900, e);
        }
      },
      __KAFf90_dd_DIVIDE_dd, mp_div);
  EXPECT_LE(w.err, kDivBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, QuotientByADoubleErrorAgainstMpfr) {
  Gen g(44);
  Big ma, mr(256);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd(-400, 400);
    double d = g.dbl(-400, 400);
    kaf_dd r = __KAFf90_dd_DIVIDE_d(a, d);
    set_dd(ma, a);
    mpfr_div_d(mr, ma, d, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units(r, mr), show(a));
  }
  EXPECT_LE(w.err, kDivBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, QuotientSpecials) {
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({1.0, 0x1p-60}, {0.0, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({1.0, 0}, {-0.0, 0}), {-kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_DIVIDE_dd({0.0, 0}, {0.0, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({-5.0, 0}, {kInf, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({kInf, 0}, {-5.0, 0}), {-kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_DIVIDE_dd({kInf, 0}, {kInf, 0}).hi));
  EXPECT_TRUE(std::isnan(__KAFf90_dd_DIVIDE_d({NAN, 0}, 2.0).hi));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({0x1p1000, 0}, {0x1p-100, 0}), {kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({-0.0, 0}, {3.0, 0}), {-0.0, 0}));
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_d({6.0, 0}, 3.0), {2.0, 0}));
  // Huge over tiny overflows through the scaled path.
  EXPECT_TRUE(same(__KAFf90_dd_DIVIDE_dd({0x1p1000, 0}, {0x1p-1040, 0}), {kInf, 0}));
}

// ---- Square root ------------------------------------------------------------

TEST(DdCore, SqrtErrorAgainstMpfr) {
  Gen g(51);
  Big ma, mr(256);
  Worst w;
  for (long i = 0; i < kMillion; ++i) {
    kaf_dd a = g.dd_pos(-1000, 1023);
    kaf_dd r = __KAFf90_sqrt_dd(a);
    set_dd(ma, a);
    mpfr_sqrt(mr, ma, MPFR_RNDN);
    ASSERT_TRUE(normalised(r));
    w.note(err_units(r, mr), show(a));
  }
  EXPECT_LE(w.err, kSqrtBound) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdCore, SqrtSpecials) {
  EXPECT_TRUE(same(__KAFf90_sqrt_dd({kInf, 0}), {kInf, 0}));
  EXPECT_TRUE(std::isnan(__KAFf90_sqrt_dd({-kInf, 0}).hi));
  EXPECT_TRUE(std::isnan(__KAFf90_sqrt_dd({NAN, 0}).hi));
  EXPECT_TRUE(same(__KAFf90_sqrt_dd({4.0, 0}), {2.0, 0}));
  EXPECT_TRUE(same(__KAFf90_sqrt_dd({0x1p-1074, 0}), {0x1p-537, 0}));
  const kaf_dd big{DBL_MAX, 0};
  EXPECT_TRUE(same(__KAFf90_sqrt_dd(big), __KAFf90_sqrt_dd_arg(&big)));
  kaf_dd two{2.0, 0};
  kaf_dd s = __KAFf90_sqrt_dd_arg(&two);
  Big m(256);
  mpfr_set_ui(m, 2, MPFR_RNDN);
  mpfr_sqrt(m, m, MPFR_RNDN);
  EXPECT_LE(err_units(s, m), 2.0) << show(s);
}
