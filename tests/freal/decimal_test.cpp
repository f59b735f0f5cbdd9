// Binary-to-decimal and decimal-to-binary conversion against independent
// references: glibc (printf, strtod, strtof) for round to nearest, MPFR for
// the directed modes, ties away from zero and double-double values.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "format/decimal.h"
#include "oracle.h"

using kaf::dec::decimal_digits;
using kaf::dec::decimal_number;
using kaf::dec::magnitude_mode;

namespace {

std::string ours_sci(double hi, double lo, int p, unsigned mode) {
  bool neg = std::signbit(hi);
  decimal_digits d;
  kaf::dec::to_significant(hi, lo, p + 1, magnitude_mode(mode, neg), d);
  return oracle::sci_of(d, p);
}

std::string ours_fixed(double hi, double lo, int p, unsigned mode) {
  bool neg = std::signbit(hi);
  decimal_digits d;
  kaf::dec::to_fixed(hi, lo, p, magnitude_mode(mode, neg), d);
  return oracle::fixed_of(d, p);
}

constexpr unsigned kModes[] = {4, 1, 2, 3, 5};

TEST(DecimalOutput, HandPickedBoundaries) {
  static constexpr struct {
    double x;
    int p;
    unsigned mode;
    const char *want;  // "%.*f"
  } rows[] = {
      {0.125, 2, 4, "0.12"},   // tie: to even
      {0.375, 2, 4, "0.38"},   // tie: to even, upward
      {0.125, 2, 5, "0.13"},   // tie: away
      {-0.125, 2, 5, "0.13"},  // tie: away, by magnitude
      {0.01, 1, 1, "0.1"},     // RU lifts any nonzero tail
      {-0.01, 1, 1, "0.0"},    // RU of a negative goes toward zero
      {-0.01, 1, 2, "0.1"},    // RD of a negative goes away
      {0.95, 1, 4, "0.9"},     // 0.95 is stored just below
      {9.5, 0, 4, "10"},       // tie, carries a digit
      {999.96, 1, 3, "999.9"},
      {5e-324, 3, 1, "0.001"},
      {5e-324, 3, 2, "0.000"},
  };
  for (const auto &r : rows)
    EXPECT_EQ(ours_fixed(r.x, 0, r.p, r.mode), r.want) << r.x << " p=" << r.p << " mode " << r.mode;
}

TEST(DecimalOutput, SignificantDigitsMatchReferences) {
  std::mt19937_64 rng(20261122);
  for (int i = 0; i < 100000; ++i) {
    double x = oracle::random_double(rng);
    if (rng() & 1) x = -x;
    unsigned mode = kModes[i % 5];
    int p = static_cast<int>(rng() % 24);
    std::string want = oracle::sci(x, 0, p, mode, std::signbit(x));
    ASSERT_EQ(ours_sci(x, 0, p, mode), want) << std::hexfloat << x << " p=" << p << " mode " << mode;
  }
}

TEST(DecimalOutput, FixedDigitsMatchReferences) {
  std::mt19937_64 rng(7);
  for (int i = 0; i < 100000; ++i) {
    double x = oracle::random_double(rng);
    if (std::fabs(x) > 1e60) x = std::ldexp(x, -900);
    if (rng() & 1) x = -x;
    unsigned mode = kModes[i % 5];
    int p = static_cast<int>(rng() % 30);
    if (std::fabs(x) < 1e-290 && rng() % 2) p = 290 + static_cast<int>(rng() % 60);  // down to subnormals
    std::string want = oracle::fixed(x, 0, p, mode, std::signbit(x));
    ASSERT_EQ(ours_fixed(x, 0, p, mode), want) << std::hexfloat << x << " p=" << p << " mode " << mode;
  }
}

// The exact path alone (what ties, exact values and long requests take)
// over random doubles, every mode, both forms.
TEST(DecimalOutput, ExactPathMatchesReferences) {
  std::mt19937_64 rng(8);
  for (int i = 0; i < 20000; ++i) {
    double x = oracle::random_double(rng);
    if (rng() & 1) x = -x;
    unsigned mode = kModes[i % 5];
    bool neg = std::signbit(x);
    int p = static_cast<int>(rng() % 30);
    decimal_digits d;
    kaf::dec::dd_format_E(x, 0, p + 1, magnitude_mode(mode, neg), d);
    ASSERT_EQ(oracle::sci_of(d, p), oracle::sci(x, 0, p, mode, neg)) << std::hexfloat << x << " p=" << p;
    if (std::fabs(x) < 1e40) {
      kaf::dec::dd_format_F(x, 0, p, magnitude_mode(mode, neg), d);
      ASSERT_EQ(oracle::fixed_of(d, p), oracle::fixed(x, 0, p, mode, neg)) << std::hexfloat << x << " p=" << p;
    }
  }
}

TEST(DecimalOutput, LongRequestsUseTheExactExpansion) {
  // More digits than any fast path gives: the exact digits, then zeros.
  static constexpr double xs[] = {0.1, 5e-324, 1.7976931348623157e308, 2.2250738585072014e-308, 1e23};
  for (double x : xs)
    for (int p : {19, 40, 120, 800})
      for (unsigned mode : kModes)
        EXPECT_EQ(ours_sci(x, 0, p, mode), oracle::sci(x, 0, p, mode, false)) << x << " p=" << p;
}

TEST(DecimalOutput, DoubleDoubleMatchesMpfr) {
  std::mt19937_64 rng(99);
  for (int i = 0; i < 20000; ++i) {
    double hi = oracle::random_double(rng);
    if (!std::isnormal(hi)) continue;
    int gap = 53 + static_cast<int>(rng() % 60);
    double lo = std::ldexp(static_cast<double>(rng() >> 11), std::ilogb(hi) - gap - 53);
    if (rng() & 1) lo = -lo;
    double s = hi + lo;  // normalise
    lo = lo - (s - hi);
    hi = s;
    if (rng() & 1) {
      hi = -hi;
      lo = -lo;
    }
    unsigned mode = kModes[i % 5];
    int p = static_cast<int>(rng() % 40);
    ASSERT_EQ(ours_sci(hi, lo, p, mode), oracle::sci(hi, lo, p, mode, hi < 0))
        << std::hexfloat << hi << " " << lo << " p=" << p << " mode " << mode;
  }
}

TEST(DecimalOutput, ExactExpansionOfExtremes) {
  decimal_digits d;
  kaf::dec::expand_exact(5e-324, 0, d);
  EXPECT_EQ(d.n, 751);  // 2^-1074 = 4.94...e-324 has 751 significant digits
  EXPECT_EQ(d.decpt, -323);
  EXPECT_EQ(std::string(d.d, 5), "49406");
  kaf::dec::expand_exact(1.0, 5e-324, d);  // 1 + 2^-1074: 1075 digits, ending in 5
  EXPECT_EQ(d.n, 1075);
  EXPECT_EQ(d.d[0], '1');
  EXPECT_EQ(d.d[d.n - 1], '5');
}

// ---------------------------------------------------------------------------
// Decimal to binary.

struct mpfr_format_range {
  int prec;
  mpfr_exp_t emin, emax;
};

// MPFR's correctly rounded value of str in a format (subnormals emulated).
double mpfr_read(const char *str, const mpfr_format_range &f, mpfr_rnd_t rnd) {
  mpfr_exp_t old_min = mpfr_get_emin(), old_max = mpfr_get_emax();
  mpfr_set_emin(f.emin);
  mpfr_set_emax(f.emax);
  mpfr_t x;
  mpfr_init2(x, f.prec);
  int t = mpfr_strtofr(x, str, nullptr, 10, rnd);
  t = mpfr_subnormalize(x, t, rnd);
  double r = mpfr_get_d(x, MPFR_RNDN);
  mpfr_clear(x);
  mpfr_set_emin(old_min);
  mpfr_set_emax(old_max);
  return r;
}

// Ties away from zero: nearest unless str is exactly the midpoint of the
// two neighbours (checked at a precision where it would be exact).
double mpfr_read_away(const char *str, const mpfr_format_range &f) {
  double z = mpfr_read(str, f, MPFR_RNDZ), a = mpfr_read(str, f, MPFR_RNDA);
  if (z == a) return z;
  mpfr_t x, mid;
  mpfr_init2(x, 4000);
  mpfr_init2(mid, 200);
  int t = mpfr_strtofr(x, str, nullptr, 10, MPFR_RNDN);
  mpfr_set_d(mid, z, MPFR_RNDN);
  mpfr_add_d(mid, mid, a, MPFR_RNDN);
  mpfr_div_2ui(mid, mid, 1, MPFR_RNDN);
  bool tie = t == 0 && mpfr_equal_p(x, mid);
  mpfr_clear(x);
  mpfr_clear(mid);
  return tie ? a : mpfr_read(str, f, MPFR_RNDN);
}

constexpr mpfr_format_range kMpfrHalf{11, -23, 16}, kMpfrSingle{24, -148, 128},
    kMpfrDouble{53, -1073, 1024};

// Splits "ddd.ddde[+-]x" (positive) into significant digits and exponent.
struct parsed {
  std::string digits;
  std::int64_t exp10 = 0;
  decimal_number number() const {
    return {digits.c_str(), static_cast<int>(digits.size()), false, exp10};
  }
};

parsed parse(const std::string &s) {
  parsed p;
  std::size_t i = 0;
  int after_point = 0;
  bool point = false;
  for (; i < s.size() && s[i] != 'e'; ++i) {
    if (s[i] == '.') {
      point = true;
      continue;
    }
    if (point) ++after_point;
    if (p.digits.empty() && s[i] == '0') continue;
    p.digits += s[i];
  }
  std::int64_t e = i < s.size() ? std::strtoll(s.c_str() + i + 1, nullptr, 10) : 0;
  // digits so far include those after the point: value = D * 10^(e - after)
  std::size_t trailing = 0;
  while (!p.digits.empty() && p.digits.back() == '0') {
    p.digits.pop_back();
    ++trailing;
  }
  p.exp10 = e - after_point + static_cast<std::int64_t>(trailing);
  return p;
}

// A random decimal string: 1 to 40 digits, exponents over and past every
// format's range.
std::string random_decimal(std::mt19937_64 &rng) {
  int n = 1 + static_cast<int>(rng() % 40);
  std::string s;
  s += static_cast<char>('1' + rng() % 9);
  s += '.';
  for (int i = 1; i < n; ++i) s += static_cast<char>('0' + rng() % 10);
  int e = static_cast<int>(rng() % 700) - 350;
  if (rng() % 4 == 0) e = static_cast<int>(rng() % 20) - 10;
  return s + "e" + std::to_string(e);
}

TEST(DecimalInput, RoundToNearestMatchesStrtod) {
  std::mt19937_64 rng(11);
  for (int i = 0; i < 100000; ++i) {
    std::string s = random_decimal(rng);
    parsed p = parse(s);
    bool ov;
    double ours = kaf::dec::to_binary(p.number(), kaf::dec::kDouble, kaf::dec::rmode::nearest_even, &ov);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(ours), std::bit_cast<std::uint64_t>(std::strtod(s.c_str(), nullptr))) << s;
    float f = static_cast<float>(kaf::dec::to_binary(p.number(), kaf::dec::kSingle, kaf::dec::rmode::nearest_even, &ov));
    ASSERT_EQ(std::bit_cast<std::uint32_t>(f), std::bit_cast<std::uint32_t>(std::strtof(s.c_str(), nullptr))) << s;
  }
}

TEST(DecimalInput, EveryModeAndKindMatchesMpfr) {
  using kaf::dec::rmode;
  static constexpr struct {
    const kaf::dec::binary_format *ours;
    const mpfr_format_range *ref;
  } kinds[] = {{&kaf::dec::kHalf, &kMpfrHalf}, {&kaf::dec::kSingle, &kMpfrSingle}, {&kaf::dec::kDouble, &kMpfrDouble}};
  static constexpr struct {
    rmode ours;
    mpfr_rnd_t ref;
  } modes[] = {{rmode::toward_zero, MPFR_RNDZ}, {rmode::away_from_zero, MPFR_RNDA}, {rmode::nearest_even, MPFR_RNDN}};
  std::mt19937_64 rng(12);
  for (int i = 0; i < 60000; ++i) {
    std::string s = random_decimal(rng);
    const auto &k = kinds[i % 3];
    if (k.ours != &kaf::dec::kDouble) {
      // Bring most values into the narrow kinds' ranges.
      std::size_t e = s.find('e');
      s = s.substr(0, e) + "e" + std::to_string(static_cast<int>(rng() % 90) - 50);
    }
    parsed p = parse(s);
    for (const auto &m : modes) {
      bool ov;
      double ours = kaf::dec::to_binary(p.number(), *k.ours, m.ours, &ov);
      double want = mpfr_read(s.c_str(), *k.ref, m.ref);
      ASSERT_EQ(std::bit_cast<std::uint64_t>(ours), std::bit_cast<std::uint64_t>(want))
          << s << " precision " << k.ours->precision << " mode " << int(m.ours);
      ASSERT_EQ(ov, std::isinf(mpfr_read(s.c_str(), *k.ref, MPFR_RNDA))) << s;
    }
    bool ov;
    double away = kaf::dec::to_binary(p.number(), *k.ours, rmode::nearest_away, &ov);
    ASSERT_EQ(away, mpfr_read_away(s.c_str(), *k.ref)) << s;
  }
}

// Decimal strings of the exact midpoint between two neighbouring values,
// and of the midpoint nudged by one unit of a far digit: where a reader that
// keeps too few digits goes wrong.
TEST(DecimalInput, MidpointsAndTheirNeighbours) {
  using kaf::dec::rmode;
  std::mt19937_64 rng(13);
  for (int i = 0; i < 20000; ++i) {
    bool single = i % 2 == 0;
    double lo_v, hi_v;
    if (single) {
      std::uint32_t b = static_cast<std::uint32_t>(rng()) & 0x7F7FFFFEu;
      lo_v = std::bit_cast<float>(b);
      hi_v = std::bit_cast<float>(b + 1);
    } else {
      std::uint64_t b = rng() & 0x7FEFFFFFFFFFFFFEull;
      lo_v = std::bit_cast<double>(b);
      hi_v = std::bit_cast<double>(b + 1);
    }
    mpfr_t mid;
    mpfr_init2(mid, 120);
    mpfr_set_d(mid, lo_v, MPFR_RNDN);
    mpfr_add_d(mid, mid, hi_v, MPFR_RNDN);
    mpfr_div_2ui(mid, mid, 1, MPFR_RNDN);
    char *text = nullptr;
    mpfr_asprintf(&text, "%.800Re", mid);  // exact: a midpoint has < 800 digits
    mpfr_clear(mid);
    std::string exact = text;
    mpfr_free_str(text);
    std::size_t e = exact.find('e');
    std::string mant = exact.substr(0, e), ex = exact.substr(e);
    while (mant.back() == '0') mant.pop_back();
    std::string below = mant, above = mant + "000000000000000000001";
    {
      // one unit lower at the last digit, then nines
      int j = static_cast<int>(below.size()) - 1;
      while (below[j] == '0' || below[j] == '.') {
        if (below[j] == '0') below[j] = '9';
        --j;
      }
      --below[j];
      below += "99999999999999999999";
    }
    const mpfr_format_range &ref = single ? kMpfrSingle : kMpfrDouble;
    const kaf::dec::binary_format &ours = single ? kaf::dec::kSingle : kaf::dec::kDouble;
    for (const std::string &m : {mant, below, above}) {
      std::string s = m + ex;
      parsed p = parse(s);
      bool ov;
      ASSERT_EQ(kaf::dec::to_binary(p.number(), ours, rmode::nearest_even, &ov), mpfr_read(s.c_str(), ref, MPFR_RNDN)) << s;
      ASSERT_EQ(kaf::dec::to_binary(p.number(), ours, rmode::nearest_away, &ov), mpfr_read_away(s.c_str(), ref)) << s;
      ASSERT_EQ(kaf::dec::to_binary(p.number(), ours, rmode::toward_zero, &ov), mpfr_read(s.c_str(), ref, MPFR_RNDZ)) << s;
    }
  }
}

// A double written out exactly reads back as itself in every mode (the
// fast path's interval then touches the value itself).
TEST(DecimalInput, ExactValuesReadBackInEveryMode) {
  using kaf::dec::rmode;
  std::mt19937_64 rng(15);
  for (int i = 0; i < 20000; ++i) {
    double x = std::fabs(oracle::random_double(rng));
    char text[1200];
    std::snprintf(text, sizeof text, "%.800e", x);
    parsed p = parse(text);
    for (rmode m : {rmode::nearest_even, rmode::nearest_away, rmode::toward_zero, rmode::away_from_zero}) {
      bool ov;
      ASSERT_EQ(kaf::dec::to_binary(p.number(), kaf::dec::kDouble, m, &ov), x) << text;
    }
    // One unit more or less in a far digit moves the directed results.
    parsed pu = p;
    pu.digits = p.digits + std::string(30, '0') + "1";
    pu.exp10 -= 31;
    decimal_number nu = pu.number();
    bool ov;
    ASSERT_EQ(kaf::dec::to_binary(nu, kaf::dec::kDouble, rmode::away_from_zero, &ov), std::nextafter(x, HUGE_VAL)) << text;
    ASSERT_EQ(kaf::dec::to_binary(nu, kaf::dec::kDouble, rmode::toward_zero, &ov), x) << text;
    ASSERT_EQ(kaf::dec::to_binary(nu, kaf::dec::kDouble, rmode::nearest_even, &ov), x) << text;
  }
}

TEST(DecimalInput, StickyTailBeyondTheKeptDigits) {
  // 0.5 + 2^-54 + tiny, written with a tail: the kept digits end before the
  // tail, which only says "more".
  decimal_number n{"1000000000000000055511151231257827", 34, true, -33};
  bool ov;
  EXPECT_EQ(kaf::dec::to_binary(n, kaf::dec::kDouble, kaf::dec::rmode::nearest_even, &ov),
            std::strtod("1.0000000000000000555111512312578270001", nullptr));
  decimal_number exact{"1000000000000000055511151231257827", 34, false, -33};
  EXPECT_EQ(kaf::dec::to_binary(exact, kaf::dec::kDouble, kaf::dec::rmode::nearest_even, &ov),
            std::strtod("1.000000000000000055511151231257827", nullptr));
}

TEST(DecimalInput, RangeEnds) {
  using kaf::dec::rmode;
  bool ov;
  decimal_number huge{"1", 1, false, 309};
  EXPECT_TRUE(std::isinf(kaf::dec::to_binary(huge, kaf::dec::kDouble, rmode::nearest_even, &ov)));
  EXPECT_TRUE(ov);
  EXPECT_EQ(kaf::dec::to_binary(huge, kaf::dec::kDouble, rmode::toward_zero, &ov), 1.7976931348623157e308);
  EXPECT_TRUE(ov);
  decimal_number far{"1", 1, false, 4000000000LL};
  EXPECT_TRUE(std::isinf(kaf::dec::to_binary(far, kaf::dec::kDouble, rmode::nearest_even, &ov)));
  decimal_number tiny{"1", 1, false, -4000000000LL};
  EXPECT_EQ(kaf::dec::to_binary(tiny, kaf::dec::kDouble, rmode::nearest_even, &ov), 0.0);
  EXPECT_EQ(kaf::dec::to_binary(tiny, kaf::dec::kDouble, rmode::away_from_zero, &ov), 5e-324);
  decimal_number maxhalf{"65504", 5, false, 0}, over_half{"65520", 5, false, 0};
  EXPECT_EQ(kaf::dec::to_binary(maxhalf, kaf::dec::kHalf, rmode::nearest_even, &ov), 65504.0);
  EXPECT_FALSE(ov);
  EXPECT_TRUE(std::isinf(kaf::dec::to_binary(over_half, kaf::dec::kHalf, rmode::nearest_even, &ov)));
  EXPECT_TRUE(ov);
}

TEST(DecimalInput, DoubleDoubleMatchesMpfr) {
  using kaf::dec::rmode;
  std::mt19937_64 rng(14);
  static constexpr struct {
    rmode ours;
    mpfr_rnd_t ref;
  } modes[] = {{rmode::nearest_even, MPFR_RNDN}, {rmode::toward_zero, MPFR_RNDD}, {rmode::away_from_zero, MPFR_RNDU}};
  // The values are positive: toward zero, hi + lo stays at or below the
  // value, so the rest is rounded down whatever its own sign.
  for (int i = 0; i < 20000; ++i) {
    std::string s = random_decimal(rng);
    parsed p = parse(s);
    const auto &m = modes[i % 3];
    bool ov;
    kaf_dd ours = kaf::dec::to_double_double(p.number(), m.ours, &ov);
    if (ov) continue;
    // hi: nearest double; lo: the rest, rounded in the mode.
    double want_hi = mpfr_read(s.c_str(), kMpfrDouble, MPFR_RNDN);
    mpfr_t x, rest;
    mpfr_init2(x, 8000);
    mpfr_init2(rest, 53);
    mpfr_strtofr(x, s.c_str(), nullptr, 10, MPFR_RNDN);
    mpfr_sub_d(x, x, want_hi, MPFR_RNDN);
    double want_lo;
    if (mpfr_zero_p(x) || mpfr_get_exp(x) - 53 >= -1074) {
      mpfr_set(rest, x, m.ref);
      want_lo = mpfr_get_d(rest, MPFR_RNDN);
    } else {
      // Below the normal range: round to a multiple of 2^-1074.
      mpfr_mul_2si(x, x, 1074, MPFR_RNDN);
      mpfr_rint(x, x, m.ref);
      want_lo = std::ldexp(mpfr_get_d(x, MPFR_RNDN), -1074);
    }
    mpfr_clear(x);
    mpfr_clear(rest);
    double sum = want_hi + want_lo;  // the normalised pair
    want_lo -= sum - want_hi;
    want_hi = sum;
    ASSERT_EQ(ours.hi, want_hi) << s;
    ASSERT_EQ(ours.lo, want_lo) << s << " mode " << int(m.ours);
  }
}

}  // namespace
