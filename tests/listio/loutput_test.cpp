// List-directed output: the record layout, every item kind, SIGN= and
// DECIMAL=, against hand-derived records and glibc's printf.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>

#include "lioctx.h"
#include "support/child.h"

using kaftest::lioctx;
using kaftest::out_options;

namespace {

std::string bits_hex(double v) {
  std::uint64_t b;
  std::memcpy(&b, &v, 8);
  char t[24];
  std::snprintf(t, sizeof t, "%016llx", static_cast<unsigned long long>(b));
  return t;
}

// What glibc writes for 1PE24.16E2: 17 significant digits, a two-digit
// exponent, right-justified in 24 columns.
std::string oracle_e(double v, int exp_digits, int digits, int width) {
  char t[64];
  std::snprintf(t, sizeof t, "%.*E", digits - 1, v);
  std::string s(t);
  const std::size_t e = s.find('E');
  std::string mant = s.substr(0, e);
  int x = std::atoi(s.c_str() + e + 1);
  char ex[16];
  std::snprintf(ex, sizeof ex, "E%c%0*d", x < 0 ? '-' : '+', exp_digits, std::abs(x));
  std::string f = mant + ex;
  return std::string(static_cast<std::size_t>(width) - f.size(), ' ') + f;
}

std::string oracle_f(double v, int d, int width) {
  char t[64];
  std::snprintf(t, sizeof t, "%*.*f", width, d, v);
  return t;
}

}  // namespace

TEST(ListOutputLayout, EveryValueHasOneLeadingBlankAndNoComma) {
  lioctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, 1), 0);
  ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, -23), 0);
  ASSERT_EQ(__KAFf90_lio_write_l(&m.ctx, 0), 0);
  EXPECT_EQ(m.text(), " 1 -23 F\n");
}

TEST(ListOutputLayout, ValueThatWouldReachTheLastColumnStartsANewRecord) {
  // Width 80: a 20-character value at position 59 needs 59 + 20 + 1 = 80.
  for (int start : {58, 59}) {
    lioctx m;
    kaftest::begin_output(m);
    m.ctx.pos = start;
    std::memset(m.store.data(), 'x', static_cast<std::size_t>(start));
    ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, 1.5), 0);
    if (start == 59) {
      ASSERT_EQ(m.records.size(), 1u) << start;
      EXPECT_EQ(m.records[0], std::string(59, 'x'));
      EXPECT_EQ(m.text(), std::string(59, 'x') + "\n" + " " + oracle_f(1.5, 16, 20) + "\n");
    } else {
      EXPECT_EQ(m.records.size(), 0u) << start;
      EXPECT_EQ(m.text(), std::string(58, 'x') + " " + oracle_f(1.5, 16, 20) + "\n");
    }
  }
}

TEST(ListOutputLayout, FirstValueOfARecordIsNeverMoved) {
  // At position 0 a value longer than the record is not preceded by an
  // empty record.
  lioctx m;
  kaftest::begin_output(m, {.width = 30, .internal = false});
  ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, 1e10), 0);
  EXPECT_EQ(m.records.size(), 0u);
  EXPECT_EQ(m.text(), " " + oracle_e(1e10, 2, 17, 24) + "\n");
}

TEST(ListOutputLayout, ExternalRecordWidthIsCappedAt1024) {
  lioctx m;
  kaftest::begin_output(m, {.width = 4096, .internal = false});
  int n = 0;
  while (m.records.empty() && n < 200) {
    ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, 123456789), 0);
    ++n;
  }
  ASSERT_EQ(m.records.size(), 1u);
  // Each value takes 10 columns; the record ends before a value would reach
  // column 1024.
  EXPECT_EQ(m.records[0].size(), 1020u);
  EXPECT_EQ(n, 103);
}

TEST(ListOutputIntegers, AllWidthsAndSigns) {
  static constexpr struct {
    std::int64_t v;
    int kind;  // 1, 2, 4 (default), 8 bytes
    std::uint32_t sign;
    const char *want;
  } rows[] = {
      {0, 4, SIGN_DEFAULT, " 0"},
      {-1, 1, SIGN_DEFAULT, " -1"},
      {127, 1, SIGN_PLUS, " +127"},
      {-32768, 2, SIGN_DEFAULT, " -32768"},
      {2147483647, 4, SIGN_SUPPRESS, " 2147483647"},
      {-2147483647 - 1, 4, SIGN_PLUS, " -2147483648"},
      {INT64_MIN, 8, SIGN_DEFAULT, " -9223372036854775808"},
      {INT64_MAX, 8, SIGN_PLUS, " +9223372036854775807"},
      {0, 8, SIGN_PLUS, " +0"},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_output(m, {.sign_mode = r.sign});
    switch (r.kind) {
    case 1: ASSERT_EQ(__KAFf90_lio_write_i1(&m.ctx, static_cast<std::int8_t>(r.v)), 0); break;
    case 2: ASSERT_EQ(__KAFf90_lio_write_i2(&m.ctx, static_cast<std::int16_t>(r.v)), 0); break;
    case 4: ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, static_cast<std::int32_t>(r.v)), 0); break;
    default: ASSERT_EQ(__KAFf90_lio_write_i4(&m.ctx, r.v), 0); break;
    }
    EXPECT_EQ(m.text(), std::string(r.want) + "\n") << r.v;
  }
}

TEST(ListOutputIntegers, PlusSignCountsInTheRecordWidth) {
  // "+99" needs 3 columns: at position 16 of a 20-column record 16+3+1 = 20.
  for (std::uint32_t sign : {SIGN_DEFAULT, SIGN_PLUS}) {
    lioctx m;
    kaftest::begin_output(m, {.width = 20, .sign_mode = sign});
    m.ctx.pos = 16;
    std::memset(m.store.data(), 'x', 16);
    ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, 99), 0);
    EXPECT_EQ(m.records.size(), sign == SIGN_PLUS ? 1u : 0u) << sign;
  }
}

TEST(ListOutputLogicals, AnyNonZeroIsTrue) {
  lioctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(__KAFf90_lio_write_l(&m.ctx, 2), 0);
  ASSERT_EQ(__KAFf90_lio_write_l1(&m.ctx, -128), 0);
  ASSERT_EQ(__KAFf90_lio_write_l2(&m.ctx, 0), 0);
  ASSERT_EQ(__KAFf90_lio_write_l4(&m.ctx, INT64_C(1) << 40), 0);
  EXPECT_EQ(m.text(), " T T F T\n");
}

TEST(ListOutputReals, FormChosenByMagnitude) {
  // REAL: F11.7 for zero and 0.1 <= |x| < 100, else 1PE15.7E2.
  const float singles[] = {1.0f, 2.0f, 0.1f, 0.099999994f, 99.99999f, 100.0f, 1.0e5f, -0.0f, 1e-30f, -3.5f};
  for (float v : singles) {
    lioctx m;
    kaftest::begin_output(m);
    ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, v), 0);
    const double a = std::fabs(static_cast<double>(v));
    const bool fixed = a == 0 || (a >= 0.1 && a < 100);
    const std::string want = fixed ? oracle_f(v, 7, 11) : oracle_e(v, 2, 8, 15);
    EXPECT_EQ(m.text(), " " + want + "\n") << v;
  }
}

TEST(ListOutputReals, PrintOfTwoReals) {
  lioctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, 1.0f), 0);
  ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, 2.0f), 0);
  ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, 1.0e5f), 0);
  EXPECT_EQ(m.text(), "   1.0000000   2.0000000   1.0000000E+05\n");
}

TEST(ListOutputReals, DoubleExponentDigits) {
  static constexpr struct {
    double v;
    int exp_digits;
  } rows[] = {
      {1.0e99, 2}, {1.0e100, 3}, {9.999999994e99, 2}, {9.999999995e99, 3}, {1.0e-99, 2},
      {9.999999995e-100, 3}, {9.99999999e-100, 3}, {1.0e-99, 2}, {9.9999999999999999e-100, 2}, {1e-300, 3}, {1.7976931348623157e308, 3},
      {4.9406564584124654e-324, 3}, {-1.0e100, 3}, {1234.5, 2},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_output(m);
    ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, r.v), 0);
    EXPECT_EQ(m.text(), " " + oracle_e(r.v, r.exp_digits, 17, 24) + "\n") << r.v;
  }
}

TEST(ListOutputReals, RandomDoublesAgainstPrintf) {
  std::mt19937_64 rng(12345);
  for (int i = 0; i < 20000; ++i) {
    std::uint64_t b = rng();
    double v;
    std::memcpy(&v, &b, 8);
    if (!std::isfinite(v)) continue;
    if (i % 3 == 0) v = std::ldexp(static_cast<double>(b >> 11), -53) * 150;  // the fixed range too
    lioctx m;
    kaftest::begin_output(m, {.width = 80, .internal = false});
    ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, v), 0);
    const double a = std::fabs(v);
    std::string want;
    if (a == 0 || (a >= 0.1 && a < 100)) want = oracle_f(v, 16, 20);
    else want = oracle_e(v, a < 9.999999995e-100 || a >= 9.999999995e99 ? 3 : 2, 17, 24);
    ASSERT_EQ(m.text(), " " + want + "\n") << bits_hex(v);
  }
}

TEST(ListOutputReals, InfinityAndNaN) {
  static constexpr struct {
    double v;
    std::uint32_t sign;
    const char *want;
  } rows[] = {
      {HUGE_VAL, SIGN_DEFAULT, " Infinity"},
      {-HUGE_VAL, SIGN_DEFAULT, " -Infinity"},
      {HUGE_VAL, SIGN_PLUS, " +Infinity"},
      {NAN, SIGN_PLUS, " NaN"},
      {-NAN, SIGN_DEFAULT, " NaN"},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_output(m, {.sign_mode = r.sign});
    ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, r.v), 0);
    EXPECT_EQ(m.text(), std::string(r.want) + "\n") << r.want;
  }
  // The reserved length counts the sign: "+Infinity" takes 9 columns.
  for (std::uint32_t sign : {SIGN_DEFAULT, SIGN_PLUS}) {
    lioctx m;
    kaftest::begin_output(m, {.width = 20, .sign_mode = sign});
    m.ctx.pos = 10;
    ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, HUGE_VALF), 0);
    EXPECT_EQ(m.records.size(), sign == SIGN_PLUS ? 1u : 0u);
  }
}

TEST(ListOutputReals, SignPlusAndDecimalComma) {
  lioctx m;
  kaftest::begin_output(m, {.decimal_char = ',', .sign_mode = SIGN_PLUS});
  ASSERT_EQ(__KAFf90_lio_write_d(&m.ctx, 2.5), 0);
  ASSERT_EQ(__KAFf90_lio_write_r(&m.ctx, -2.5e-3f), 0);
  std::string a = oracle_f(2.5, 16, 20), b = oracle_e(static_cast<double>(-2.5e-3f), 2, 8, 15);
  a.replace(a.find('.'), 1, ",");
  b.replace(b.find('.'), 1, ",");
  a.replace(a.find('2') - 1, 1, "+");
  EXPECT_EQ(m.text(), " " + a + " " + b + "\n");
}

TEST(ListOutputReals, HalfAndDoubleDouble) {
  lioctx m;
  kaftest::begin_output(m, {.width = 200, .internal = false});
  ASSERT_EQ(__KAFf90_lio_write_h(&m.ctx, 0x3C00), 0);             // 1.0
  ASSERT_EQ(__KAFf90_lio_write_h(&m.ctx, 0x7BFF), 0);             // 65504
  ASSERT_EQ(__KAFf90_write_dd(&m.ctx, kaf_dd{1.0, 0x1p-60}), 0);  // 1 + 2^-60
  ASSERT_EQ(__KAFf90_lio_write_dd(&m.ctx, kaf_dd{1e300, 0}), 0);
  // 1 + 2^-60 = 1.00000000000000000086736173798840354...
  EXPECT_EQ(m.text(),
            "   1.0000  6.5504E+04 1.00000000000000000086736174 1.00000000000000005250476026E+300\n");
}

TEST(ListOutputComplex, WholeConstantWithItsParts) {
  lioctx m;
  kaftest::begin_output(m, {.width = 200});
  ASSERT_EQ(__KAFf90_lio_write_c(&m.ctx, 1.0f, -2.0e7f), 0);
  ASSERT_EQ(__KAFf90_lio_write_dc(&m.ctx, 0.5, 1e100), 0);
  EXPECT_EQ(m.text(), " (" + oracle_f(1.0, 7, 11) + "," + oracle_e(-2.0e7, 2, 8, 15) + ")" + " (" +
                          oracle_f(0.5, 16, 20) + "," + oracle_e(1e100, 3, 17, 24) + ")\n");
}

TEST(ListOutputComplex, NeverSplitAndSemicolonUnderDecimalComma) {
  lioctx m;
  kaftest::begin_output(m, {.width = 30, .decimal_char = ','});
  m.ctx.pos = 5;
  std::memset(m.store.data(), 'x', 5);
  ASSERT_EQ(__KAFf90_lio_write_c(&m.ctx, 1.5f, 2.5f), 0);
  ASSERT_EQ(m.records.size(), 1u);
  std::string a = oracle_f(1.5, 7, 11), b = oracle_f(2.5, 7, 11);
  a[a.find('.')] = ',';
  b[b.find('.')] = ',';
  EXPECT_EQ(m.text(), "xxxxx\n (" + a + ";" + b + ")\n");
}

TEST(ListOutputCharacters, UndelimitedValuesRunTogether) {
  lioctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "AB", 2), 0);
  ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "CD", 2), 0);
  ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, 5), 0);
  ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "E", 1), 0);
  EXPECT_EQ(m.text(), " ABCD 5 E\n");
}

TEST(ListOutputCharacters, DelimitedValuesDoubleTheDelimiter) {
  for (std::uint8_t d : {'"', '\''}) {
    lioctx m;
    kaftest::begin_output(m, {.internal = false, .delim = d});
    ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "AB", 2), 0);
    ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "it's \"q\"", 8), 0);
    const std::string q(1, static_cast<char>(d));
    const std::string inner = d == '"' ? "it's \"\"q\"\"" : "it''s \"q\"";
    EXPECT_EQ(m.text(), " " + q + "AB" + q + " " + q + inner + q + "\n");
  }
}

TEST(ListOutputCharacters, SplitAtTheRecordWidth) {
  // Width 80, position 70: the blank at 70, characters 1-9 at 71-79, the
  // 10th starts the next record.
  std::string value;
  for (int i = 0; i < 100; ++i) value.push_back(static_cast<char>('A' + i % 26));
  lioctx m;
  kaftest::begin_output(m);
  m.ctx.pos = 70;
  std::memset(m.store.data(), '.', 70);
  ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, value.data(), value.size()), 0);
  ASSERT_EQ(m.records.size(), 2u);
  EXPECT_EQ(m.records[0], std::string(70, '.') + " " + value.substr(0, 9));
  EXPECT_EQ(m.text(), m.records[0] + "\n" + value.substr(9, 80) + "\n" + value.substr(89) + "\n");
}

TEST(ListOutputCharacters, DelimitedSplitPutsEachCopyUnderTheWidthTest) {
  lioctx m;
  kaftest::begin_output(m, {.width = 10, .delim = '\''});
  // " 'abcdef''" fills columns 0..9 exactly when the doubled quote is split.
  ASSERT_EQ(__KAFf90_lio_write_ch(&m.ctx, "abcdef'gh", 9), 0);
  EXPECT_EQ(m.text(), " 'abcdef''\ngh'\n");
}

TEST(ListOutputCharacters, WideKindsIntoByteAndWideRecords) {
  const std::uint32_t ucs4[] = {'a', 0xE9, 0x65E5};
  const std::uint16_t ucs2[] = {'b', 0x3042};
  {
    lioctx m;
    kaftest::begin_output(m, {.encoding = ENC_UTF8});
    ASSERT_EQ(__KAFf90_lio_write_ch4(&m.ctx, ucs4, 3), 0);
    ASSERT_EQ(__KAFf90_lio_write_ch2u(&m.ctx, ucs2, 2), 0);
    EXPECT_EQ(m.text(), " a\xC3\xA9\xE6\x97\xA5" "b\xE3\x81\x82\n");
  }
  {
    lioctx m;
    kaftest::begin_output(m, {.encoding = ENC_UCS4});
    ASSERT_EQ(__KAFf90_lio_write_ch4(&m.ctx, ucs4, 3), 0);
    ASSERT_EQ(m.ctx.pos, 4);
    const auto *u = reinterpret_cast<const std::uint32_t *>(m.store.data());
    EXPECT_EQ(u[0], ' ');
    EXPECT_EQ(u[3], 0x65E5u);
  }
  {
    // Shift-JIS codes into a Shift-JIS byte record pass as their two bytes.
    lioctx m;
    kaftest::begin_output(m, {.encoding = ENC_SJIS_BYTES});
    const std::uint16_t sj[] = {0x93FA, 'x'};
    ASSERT_EQ(__KAFf90_lio_write_ch2j(&m.ctx, sj, 2), 0);
    EXPECT_EQ(m.text(), " \x93\xFAx\n");
  }
}

TEST(ListOutputCharacters, UnknownEncodingIsAnInternalFault) {
  auto r = kaftest::run_in_child([] {
    lioctx m;
    kaftest::begin_output(m);
    m.ctx.encoding = 12;
    __KAFf90_lio_write_ch(&m.ctx, "a", 1);
  });
  EXPECT_FALSE(r.exited && r.exit_status == 0);
  EXPECT_NE(r.err.find("__KAFf90_lio_write_ch unrecognised encoding 12"), std::string::npos) << r.err;
}

TEST(ListOutputStatus, NextRecordFailurePassesUp) {
  // An internal file with one 10-column record: the second value needs a
  // record that is not there.
  lioctx m;
  kaftest::begin_output(m, {.width = 10});
  m.ctx.next_record = [](kaf_ioctx *c, int, const char *, const char *) -> kaf_status {
    return __KAFf90_ioerr(c, 1001);
  };
  ASSERT_EQ(__KAFf90_lio_write_i(&m.ctx, 12345), 0);
  EXPECT_EQ(__KAFf90_lio_write_i(&m.ctx, 12345), 1001);
  EXPECT_EQ(m.iostat, 1001);
  EXPECT_EQ(m.message(), "Internal file overflow");
}
