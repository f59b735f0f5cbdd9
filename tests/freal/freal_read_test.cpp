// Real input fields: the token rules (signs, blanks under BN and BZ, the
// implied decimal point, the scale factor, exponent forms, Inf and NaN), the
// error codes, and correctly rounded results for every kind and mode
// against strtod, strtof and MPFR.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <random>
#include <string>

#include "format/freal_read.h"

using kaf::freal::input_spec;
using kaf::freal::real_input;
using kaf::freal::real_kind;

namespace {

real_input read(const std::string &field, int d = 0, int scale = 0, bool bz = false,
                unsigned round = 0, real_kind kind = real_kind::dbl, char point = '.') {
  input_spec s{bz, point, d, scale, round};
  return kaf::freal::scan_real_text(field.data(), field.size(), s, kind);
}

double value(const std::string &field, int d = 0, int scale = 0, bool bz = false) {
  real_input r = read(field, d, scale, bz);
  EXPECT_EQ(r.error, 0) << "'" << field << "'";
  return r.hi;
}

TEST(RealInputFields, ImpliedPointAndScaleFactor) {
  EXPECT_EQ(value("     12345", 2), 123.45);
  EXPECT_EQ(value("     12345", 2, 2), 1.2345);  // scale: no exponent in the field
  EXPECT_EQ(value("     1.5E3", 2), 1500.0);
  EXPECT_EQ(value("     1.5E3", 2, 2), 1500.0);  // the exponent wins over the scale
  EXPECT_EQ(value("       1E3", 2), 10.0);       // implied point, then the exponent
  EXPECT_EQ(value("   12.345", 2, -1), 123.45);
  EXPECT_EQ(value("      -.5"), -0.5);
  EXPECT_EQ(value("      5."), 5.0);
  EXPECT_EQ(read("     1,25").error, 1040);  // a comma is no decimal symbol under DP
  EXPECT_EQ(read("     1,25", 0, 0, false, 0, real_kind::dbl, ',').hi, 1.25);
}

TEST(RealInputFields, BlanksUnderBNAndBZ) {
  EXPECT_EQ(value("1 2 . 5 "), 12.5);
  EXPECT_EQ(value("1 2 . 5 ", 0, 0, true), 1020.05);  // 1020.050
  EXPECT_EQ(value("1.5E 2 ", 0, 0, false), 150.0);
  EXPECT_EQ(value("1.5E 2 ", 0, 0, true), 1.5e20);  // E020 under BZ
  EXPECT_EQ(value("        "), 0.0);                // an all-blank field is zero
  EXPECT_EQ(value("  \t 7\t"), 7.0);               // tabs count as blanks
  EXPECT_EQ(value("-  3", 0, 0, false), -3.0);
  EXPECT_EQ(value("+  ", 0, 0, true), 0.0);        // blanks after the sign are zeros
}

TEST(RealInputFields, ExponentForms) {
  EXPECT_EQ(value("1.5e3"), 1500.0);
  EXPECT_EQ(value("1.5D3"), 1500.0);
  EXPECT_EQ(value("1.5d-3"), 0.0015);
  EXPECT_EQ(value("1.5+3"), 1500.0);  // a sign directly after the digits
  EXPECT_EQ(value("1.5-3"), 0.0015);
  EXPECT_EQ(value("1.5E+03"), 1500.0);
  EXPECT_EQ(value("0.0E999999999999"), 0.0);  // zero whatever the exponent
  EXPECT_EQ(value("1E-99999999999"), 0.0);
}

TEST(RealInputFields, InfinityAndNaN) {
  EXPECT_TRUE(std::isinf(value("  Inf")));
  EXPECT_TRUE(std::isinf(value("-infinity")) && value("-infinity") < 0);
  EXPECT_TRUE(std::isinf(value("+INF   ")));
  EXPECT_TRUE(std::isnan(value("NaN")));
  EXPECT_TRUE(std::isnan(value(" nan(0x7ff8abc) ")));
  EXPECT_EQ(read("Infinit").error, 1040);
  EXPECT_EQ(read("NaN(1.2)").error, 1040);
  EXPECT_EQ(read("Inf x").error, 1040);
}

TEST(RealInputFields, ErrorCodes) {
  static constexpr struct {
    const char *field;
    bool bz;
    int error;
  } rows[] = {
      {"   +", false, 1038}, {"   -   ", false, 1038}, {"-", true, 1038},
      {"1.5E", false, 1039}, {"1.5E+", false, 1039}, {"1.5Ex", false, 1039},
      {"1.5x", false, 1040}, {"1.5.2", false, 1040}, {"1.5E3x", false, 1040},
      {"E5", false, 1040},   {"1.5Q3", false, 1040}, {"--1", false, 1040},
  };
  for (const auto &r : rows) EXPECT_EQ(read(r.field, 0, 0, r.bz).error, r.error) << "'" << r.field << "'";
  // The value read before the stray character is what is stored.
  EXPECT_EQ(read("2.5x").hi, 2.5);
}

TEST(RealInputFields, OverflowIsFlaggedPerKind) {
  EXPECT_TRUE(read("1E309").overflow);
  EXPECT_TRUE(std::isinf(read("1E309").hi));
  EXPECT_FALSE(read("1.7976931348623157E308").overflow);
  EXPECT_TRUE(read("1.7976931348623159E308").overflow);  // rounds past the largest
  EXPECT_TRUE(read("4E38", 0, 0, false, 0, real_kind::single).overflow);
  EXPECT_FALSE(read("3.4E38", 0, 0, false, 0, real_kind::single).overflow);
  EXPECT_TRUE(read("65520", 0, 0, false, 0, real_kind::half).overflow);
  EXPECT_FALSE(read("65519", 0, 0, false, 0, real_kind::half).overflow);
  EXPECT_EQ(read("-1E400", 0, 0, false, 3).hi, -1.7976931348623157e308);  // RZ keeps HUGE
  EXPECT_TRUE(read("-1E400", 0, 0, false, 3).overflow);
}

TEST(RealInputFields, RoundingModesOnInput) {
  // 0.1 lies between two doubles; each mode picks its side.
  double below = std::nextafter(0.1, 0.0), above = 0.1;  // 0.1 is stored above
  EXPECT_EQ(read("0.1", 0, 0, false, 1).hi, above);
  EXPECT_EQ(read("0.1", 0, 0, false, 2).hi, below);
  EXPECT_EQ(read("0.1", 0, 0, false, 3).hi, below);
  EXPECT_EQ(read("-0.1", 0, 0, false, 1).hi, -below);
  EXPECT_EQ(read("-0.1", 0, 0, false, 2).hi, -above);
  // 2^53 + 1 is a tie: RN to even (2^53), RC away (2^53 + 2).
  EXPECT_EQ(read("9007199254740993", 0, 0, false, 4).hi, 9007199254740992.0);
  EXPECT_EQ(read("9007199254740993", 0, 0, false, 5).hi, 9007199254740994.0);
  EXPECT_EQ(read("-9007199254740993", 0, 0, false, 5).hi, -9007199254740994.0);
  // Digits far past the 18th still decide: the tie above plus a tail.
  EXPECT_EQ(read("9007199254740993.00000000000000000000000001", 0, 0, false, 4).hi, 9007199254740994.0);
}

TEST(RealInputFields, ThousandsOfDigits) {
  // 1 + 2^-53, the midpoint between 1 and the next double, exactly; then a
  // nonzero digit 1,500 places further decides the tie.
  const std::string mid = "1.00000000000000011102230246251565404236316680908203125";
  const double next = std::nextafter(1.0, 2.0);
  EXPECT_EQ(read(mid).hi, 1.0);  // a tie: to even
  EXPECT_EQ(read(mid + std::string(1500, '0')).hi, 1.0);
  EXPECT_EQ(read(mid + std::string(1500, '0') + "1").hi, next);
  EXPECT_EQ(read(mid + std::string(1500, '0') + "1", 0, 0, false, 3).hi, 1.0);
  EXPECT_EQ(read("  " + mid + std::string(1500, '0') + "1E0  ", 0, 0, false, 5).hi, next);
  // Blanks inside, under BN, do not stop the digits.
  EXPECT_EQ(read(mid + std::string(1500, ' ') + "1").hi, next);
  // Many leading zeros before the first significant digit.
  EXPECT_EQ(read("0." + std::string(2000, '0') + "1E2001").hi, 1.0);
}

TEST(RealInputFields, HalfAndDoubleDoubleKinds) {
  EXPECT_EQ(kaf::freal::half_bits(read("1.0", 0, 0, false, 4, real_kind::half).hi), 0x3C00);
  EXPECT_EQ(kaf::freal::half_bits(read("-2", 0, 0, false, 4, real_kind::half).hi), 0xC000);
  EXPECT_EQ(kaf::freal::half_bits(read("6.0E-8", 0, 0, false, 4, real_kind::half).hi), 0x0001);
  EXPECT_EQ(kaf::freal::half_bits(read("65504", 0, 0, false, 4, real_kind::half).hi), 0x7BFF);
  EXPECT_EQ(kaf::freal::half_value(0x3555), read("0.33325", 0, 0, false, 4, real_kind::half).hi);
  for (std::uint32_t b = 0; b < 0x7C00; ++b)  // every finite half reads back from its value
    ASSERT_EQ(kaf::freal::half_bits(kaf::freal::half_value(static_cast<std::uint16_t>(b))), b);
  real_input dd = read("0.1", 0, 0, false, 4, real_kind::ddouble);
  EXPECT_EQ(dd.hi, 0.1);
  EXPECT_EQ(dd.lo, -5.551115123125783e-18);
}

// The field read straight from memory and the field read a character at a
// time agree on every field, plain or not: value, error and overflow.
TEST(RealInputFields, PlainReaderAgreesWithTheGeneralOne) {
  std::mt19937_64 rng(6);
  static constexpr const char pieces[][6] = {"1", "23", "0", "000", "45678", "9", ".", " ", "\t", "+",
                                             "-", "E", "e", "D", "d", "E+", "e-", "x", "I", "N"};
  for (int i = 0; i < 200000; ++i) {
    std::string f;
    int parts = 1 + static_cast<int>(rng() % 8);
    for (int j = 0; j < parts; ++j) f += pieces[rng() % std::size(pieces)];
    if (rng() % 3 == 0) f = "  " + f + "  ";
    for (unsigned mode : {0u, 2u}) {
      input_spec s{false, '.', static_cast<int>(rng() % 3), static_cast<int>(rng() % 3) - 1, mode};
      real_input a = kaf::freal::scan_real_text(f.data(), f.size(), s, real_kind::dbl);
      real_input b = kaf::freal::scan_real_text_general(f.data(), f.size(), s, real_kind::dbl);
      ASSERT_EQ(a.error, b.error) << "'" << f << "'";
      ASSERT_EQ(a.overflow, b.overflow) << "'" << f << "'";
      ASSERT_EQ(std::bit_cast<std::uint64_t>(a.hi), std::bit_cast<std::uint64_t>(b.hi)) << "'" << f << "'";
    }
  }
}

// Random fields in every written form against strtod and MPFR.
TEST(RealInputFields, RandomFieldsMatchReferences) {
  std::mt19937_64 rng(5);
  static constexpr struct {
    unsigned code;
    mpfr_rnd_t rnd;
  } modes[] = {{1, MPFR_RNDU}, {2, MPFR_RNDD}, {3, MPFR_RNDZ}, {4, MPFR_RNDN}, {0, MPFR_RNDN}};
  for (int i = 0; i < 50000; ++i) {
    int n = 1 + static_cast<int>(rng() % 30);
    std::string digits;
    for (int j = 0; j < n; ++j) digits += static_cast<char>('0' + rng() % 10);
    int point = static_cast<int>(rng() % (n + 1));
    int e = static_cast<int>(rng() % 640) - 320;
    bool neg = rng() & 1;
    std::string canonical = std::string(neg ? "-" : "") + digits.substr(0, point) + "." + digits.substr(point) + "e" + std::to_string(e);
    // The same number as a Fortran field: D or E or a bare sign for the
    // exponent, blanks around (BN), lower or upper case.
    std::string field = "  " + std::string(neg ? "-" : "") + digits.substr(0, point) + "." + digits.substr(point);
    switch (rng() % 3) {
      case 0: field += (rng() & 1 ? "D" : "e") + std::to_string(e); break;
      case 1: field += (e < 0 ? "" : "+") + std::to_string(e); break;
      default: field += "E " + std::to_string(e) + "  "; break;
    }
    const auto &m = modes[i % 5];
    real_input r = read(field, 0, 0, false, m.code);
    ASSERT_EQ(r.error, 0) << field;
    mpfr_t x;
    mpfr_init2(x, 53);
    mpfr_exp_t emin = mpfr_get_emin(), emax = mpfr_get_emax();
    mpfr_set_emin(-1073);
    mpfr_set_emax(1024);
    int t = mpfr_strtofr(x, canonical.c_str(), nullptr, 10, m.rnd);
    t = mpfr_subnormalize(x, t, m.rnd);
    double want = mpfr_get_d(x, MPFR_RNDN);
    mpfr_set_emin(emin);
    mpfr_set_emax(emax);
    mpfr_clear(x);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(r.hi), std::bit_cast<std::uint64_t>(want)) << field << " mode " << m.code;
    if (m.code == 4 || m.code == 0) {
      ASSERT_EQ(r.hi, std::strtod(canonical.c_str(), nullptr)) << field;
    }
  }
}

}  // namespace
