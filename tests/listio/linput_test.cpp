// List-directed input: separators, repeat factors, null values, every item
// kind, the encodings of the character fetch and every error code.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "lioctx.h"

using kaftest::lioctx;

namespace {

std::uint64_t bits_of(double v) {
  std::uint64_t b;
  std::memcpy(&b, &v, 8);
  return b;
}
std::uint32_t bits_of(float v) {
  std::uint32_t b;
  std::memcpy(&b, &v, 4);
  return b;
}

}  // namespace

TEST(ListInputSeparators, BlanksCommasAndRecordEnds) {
  lioctx m;
  kaftest::begin_input(m, {" 1, 2 ,3", "4", "  ,  5"});
  std::int32_t v[5] = {0, 0, 0, 0, 0};
  for (auto &x : v) ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &x), 0);
  EXPECT_EQ(v[0], 1);
  EXPECT_EQ(v[1], 2);
  EXPECT_EQ(v[2], 3);
  EXPECT_EQ(v[3], 4);
  EXPECT_EQ(v[4], 5);
}

TEST(ListInputSeparators, NullValuesLeaveItemsUnchanged) {
  lioctx m;
  kaftest::begin_input(m, {",7,,9,"});
  std::int32_t v[5] = {-1, -1, -1, -1, -1};
  for (int i = 0; i < 4; ++i) ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &v[i]), 0);
  EXPECT_EQ(v[0], -1);
  EXPECT_EQ(v[1], 7);
  EXPECT_EQ(v[2], -1);
  EXPECT_EQ(v[3], 9);
  // The trailing comma is followed by the end of the record, read as a
  // blank: the fifth value is looked for in the next record (end of file).
  EXPECT_EQ(__KAFf90_lio_read_i(&m.ctx, &v[4]), static_cast<std::int32_t>(-1));
  EXPECT_EQ(m.iostat, -1);
}

TEST(ListInputSeparators, SlashEndsTheStatement) {
  lioctx m;
  kaftest::begin_input(m, {"1 / 3"});
  std::int32_t a = 0, b = 5, c = 6;
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &a), 0);
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &b), 0);
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &c), 0);
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 5);
  EXPECT_EQ(c, 6);
}

TEST(ListInputSeparators, DecimalComma) {
  lioctx m;
  kaftest::begin_input(m, {"1,5;2,5 ; 3"}, {.decimal_char = ','});
  double a = 0, b = 0, c = 0;
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &a), 0);
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &b), 0);
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &c), 0);
  EXPECT_EQ(a, 1.5);
  EXPECT_EQ(b, 2.5);
  EXPECT_EQ(c, 3.0);
}

TEST(ListInputRepeat, ValueRepeatedAcrossItems) {
  lioctx m;
  kaftest::begin_input(m, {"3*4 2*'ab' 5"});
  std::int32_t v[3] = {};
  char s1[3], s2[3];
  std::int32_t last = 0;
  for (auto &x : v) ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &x), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, s1, 3), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, s2, 3), 0);
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &last), 0);
  EXPECT_EQ(v[0] + v[1] + v[2], 12);
  EXPECT_EQ(std::string(s1, 3), "ab ");
  EXPECT_EQ(std::string(s2, 3), "ab ");
  EXPECT_EQ(last, 5);
}

TEST(ListInputRepeat, NullRepeatLeavesThreeItems) {
  lioctx m;
  kaftest::begin_input(m, {"3* 8"});
  std::int32_t v[4] = {1, 2, 3, 0};
  for (auto &x : v) ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &x), 0);
  EXPECT_EQ(v[0], 1);
  EXPECT_EQ(v[1], 2);
  EXPECT_EQ(v[2], 3);
  EXPECT_EQ(v[3], 8);
}

TEST(ListInputRepeat, RepeatedValueOfTheWrongType) {
  lioctx m;
  kaftest::begin_input(m, {"2*7"});
  std::int32_t i = 0, l = 0;
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &i), 0);
  EXPECT_EQ(i, 7);
  EXPECT_EQ(__KAFf90_lio_read_l(&m.ctx, &l), 1012);
  EXPECT_EQ(m.message(), "Invalid input for logical editing");
}

TEST(ListInputRepeat, Errors) {
  static constexpr struct {
    const char *text;
    std::int32_t code;
  } rows[] = {
      {"0*5", 1005},
      {"2147483648*1", 1009},
      {"2147483647*1", 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.text});
    std::int32_t v = 0;
    EXPECT_EQ(__KAFf90_lio_read_i(&m.ctx, &v), r.code) << r.text;
    __KAFf90_lio_end_input(&m.ctx);
  }
}

TEST(ListInputRepeat, AsteriskBeyondTheRecordIsNoRepeat) {
  // Digits that run to the end of the record are a value, not a factor.
  lioctx m;
  kaftest::begin_input(m, {"12", "*3"});
  std::int32_t v = 0;
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &v), 0);
  EXPECT_EQ(v, 12);
  EXPECT_EQ(__KAFf90_lio_read_i(&m.ctx, &v), 1006);
}

TEST(ListInputIntegers, RangesOfEachKind) {
  static constexpr struct {
    const char *text;
    int kind;
    std::int32_t code;
    std::int64_t want;
  } rows[] = {
      {"127", 1, 0, 127},
      {"-128", 1, 0, -128},
      {"128", 1, 1007, 0},
      {"-32769", 2, 1008, 0},
      {"+32767", 2, 0, 32767},
      {"2147483647", 4, 0, 2147483647},
      {"2147483648", 4, 1010, 0},
      {"2147483648", 8, 0, 2147483648},
      {"-9223372036854775808", 8, 0, INT64_MIN},
      {"99999999999999999999", 8, 1111, 0},
      {"00000000000000000000000000042", 4, 0, 42},
      {"1.5", 4, 1006, 0},
      {"12a", 4, 1006, 0},
      {"-", 4, 1006, 0},
      {"x", 8, 1006, 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.text});
    std::int64_t got = 0;
    std::int32_t s;
    switch (r.kind) {
    case 1: { std::int8_t v = 0; s = __KAFf90_lio_read_i1(&m.ctx, &v); got = v; break; }
    case 2: { std::int16_t v = 0; s = __KAFf90_lio_read_i2(&m.ctx, &v); got = v; break; }
    case 4: { std::int32_t v = 0; s = __KAFf90_lio_read_i(&m.ctx, &v); got = v; break; }
    default: s = __KAFf90_lio_read_i4(&m.ctx, &got); break;
    }
    EXPECT_EQ(s, r.code) << r.text;
    if (r.code == 0) { EXPECT_EQ(got, r.want) << r.text; }
  }
}

TEST(ListInputLogicals, Forms) {
  static constexpr struct {
    const char *text;
    std::int32_t code;
    std::int32_t want;
  } rows[] = {
      {".t", 0, 1}, {"T", 0, 1}, {".FALSE.", 0, 0}, {"Fred", 0, 0}, {"TUESDAY", 0, 1},
      {"X", 1012, 0}, {".", 1012, 0}, {"1", 1012, 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.text});
    std::int32_t v = 77;
    EXPECT_EQ(__KAFf90_lio_read_l(&m.ctx, &v), r.code) << r.text;
    if (r.code == 0) { EXPECT_EQ(v, r.want) << r.text; }
  }
}

TEST(ListInputLogicals, NarrowAndWideItems) {
  lioctx m;
  kaftest::begin_input(m, {"T F,,T"});
  std::int8_t a = 0;
  std::int16_t b = 5;
  std::int64_t c = INT64_C(0x100000000), d = INT64_C(0x100000001);
  ASSERT_EQ(__KAFf90_lio_read_l1(&m.ctx, &a), 0);
  ASSERT_EQ(__KAFf90_lio_read_l2(&m.ctx, &b), 0);
  ASSERT_EQ(__KAFf90_lio_read_l4(&m.ctx, &c), 0);  // null: all 64 bits kept
  ASSERT_EQ(__KAFf90_lio_read_l4(&m.ctx, &d), 0);
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(c, INT64_C(0x100000000));
  EXPECT_EQ(d, 1);
}

TEST(ListInputReals, Forms) {
  static constexpr struct {
    const char *text;
    std::int32_t code;
    double want;
  } rows[] = {
      {"1.5", 0, 1.5},     {"-.25", 0, -0.25},    {"3", 0, 3.0},         {"1e3", 0, 1000.0},
      {"1.5D-1", 0, 0.15}, {"2.5+2", 0, 250.0},   {"2.5-2", 0, 0.025},   {"+7.", 0, 7.0},
      {"1E", 1011, 0},     {"1.5x", 1011, 0},     {".", 1011, 0},        {"-", 1011, 0},
      {"a", 1011, 0},      {"1.2.3", 1011, 0},    {"1e+", 1011, 0},
      {"1e400", 1115, 0},  {"1e-400", 0, 0.0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.text});
    double v = -99;
    EXPECT_EQ(__KAFf90_lio_read_d(&m.ctx, &v), r.code) << r.text;
    if (r.code == 0) { EXPECT_EQ(v, r.want) << r.text; }
  }
}

TEST(ListInputReals, InfinityAndNaN) {
  static constexpr struct {
    const char *text;
    std::int32_t code;
    int what;  // 1 +inf, -1 -inf, 2 NaN
  } rows[] = {
      {"inf", 0, 1},      {"Infinity", 0, 1}, {"-INF", 0, -1},   {"nan(1a)", 0, 2},
      {"NaN", 0, 2},      {"+iNfInItY", 0, 1}, {"infin", 1040, 0}, {"infx", 1040, 0},
      {"nan(1a", 1040, 0}, {"nana", 1040, 0}, {"in", 1040, 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.text});
    double v = 0;
    EXPECT_EQ(__KAFf90_lio_read_d(&m.ctx, &v), r.code) << r.text;
    if (r.code) continue;
    if (r.what == 2) { EXPECT_TRUE(std::isnan(v)) << r.text; }
    else { EXPECT_EQ(v, r.what * HUGE_VAL) << r.text; }
  }
}

TEST(ListInputReals, NegativeZero) {
  lioctx m;
  kaftest::begin_input(m, {"-0 -0.0 -0"});
  float a = 1;
  double b = 1, c = 1;
  ASSERT_EQ(__KAFf90_lio_read_r(&m.ctx, &a), 0);
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &b), 0);
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &c), 0);
  EXPECT_EQ(bits_of(a), 0x80000000u);
  EXPECT_EQ(bits_of(b), UINT64_C(0x8000000000000000));
  EXPECT_EQ(bits_of(c), UINT64_C(0x8000000000000000));
}

TEST(ListInputReals, SinglePrecisionOverflow) {
  // 1e39 is beyond REAL but not DOUBLE PRECISION; 3.4028235e38 rounds to
  // the largest REAL.
  {
    lioctx m;
    kaftest::begin_input(m, {"1e39 1e39 3.4028235e38"});
    float f = 0;
    EXPECT_EQ(__KAFf90_lio_read_r(&m.ctx, &f), 1115);
    EXPECT_EQ(m.message(), "Floating overflow on real number input");
  }
  lioctx m;
  kaftest::begin_input(m, {"1e39 3.4028235e38"});
  double d = 0;
  float f = 0;
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &d), 0);
  ASSERT_EQ(__KAFf90_lio_read_r(&m.ctx, &f), 0);
  EXPECT_EQ(d, 1e39);
  EXPECT_EQ(f, 3.4028234663852886e38f);
}

TEST(ListInputReals, OversizedDigitStrings) {
  // More digits than 64 bits hold, converted correctly rounded (strtod is
  // the oracle), and a repeated one stored in items of both precisions.
  const std::string digits = "123456789012345678901234567890123456789";
  lioctx m;
  kaftest::begin_input(m, {"2*" + digits});
  double d = 0;
  float f = 0;
  ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &d), 0);
  ASSERT_EQ(__KAFf90_lio_read_r(&m.ctx, &f), 0);
  EXPECT_EQ(d, std::strtod(digits.c_str(), nullptr));
  EXPECT_EQ(f, std::strtof(digits.c_str(), nullptr));
  // A number text longer than every buffer: 5000 digits.
  std::string huge = "0." + std::string(3000, '0') + "1" + std::string(2000, '7') + "e3001";
  lioctx h;
  kaftest::begin_input(h, {huge});
  ASSERT_EQ(__KAFf90_lio_read_d(&h.ctx, &d), 0);
  EXPECT_EQ(d, std::strtod(huge.c_str(), nullptr));
  // Far beyond DOUBLE PRECISION: error 1115 unless rounding toward zero.
  const std::string big(400, '9');
  lioctx o;
  kaftest::begin_input(o, {big});
  EXPECT_EQ(__KAFf90_lio_read_d(&o.ctx, &d), 1115);
  lioctx z;
  kaftest::begin_input(z, {big}, {.round_mode = ROUND_ZERO});
  ASSERT_EQ(__KAFf90_lio_read_d(&z.ctx, &d), 0);
  EXPECT_EQ(d, 1.7976931348623157e308);
}

TEST(ListInputReals, RoundingModes) {
  // 0.1 lies between two doubles; RU and RD pick them, RN the nearer.
  const double down = 0.09999999999999999167, up = 0.1000000000000000055511151231257827;
  static constexpr struct {
    std::uint32_t mode;
    bool negative;
    bool want_up;
  } rows[] = {
      {ROUND_UP, false, true},   {ROUND_DOWN, false, false}, {ROUND_ZERO, false, false},
      {ROUND_NEAREST, false, true}, {ROUND_UP, true, false}, {ROUND_DOWN, true, true},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {r.negative ? "-0.1" : "0.1"}, {.round_mode = r.mode});
    double v = 0;
    ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &v), 0);
    const double want = (r.want_up ? up : down) * (r.negative ? -1 : 1);
    EXPECT_EQ(bits_of(v), bits_of(want)) << r.mode << " " << r.negative;
  }
}

TEST(ListInputComplex, Forms) {
  const struct {
    std::vector<const char *> recs;
    std::int32_t code;
    double re, im;
  } rows[] = {
      {{"(1.5,2)"}, 0, 1.5, 2.0},
      {{"( -1 , 2.5e1 ) "}, 0, -1.0, 25.0},
      {{"(1.5,", "  2.5)"}, 0, 1.5, 2.5},
      {{"(", "1", ",", "2", ")"}, 0, 1.0, 2.0},
      {{"(inf,nan)"}, 0, HUGE_VAL, 0.0},
      {{"1.5"}, 1013, 0, 0},
      {{"(1.5 2)"}, 1013, 0, 0},
      {{"(1.5,2"}, 1013, 0, 0},
      {{"(1.5,2)x"}, 1013, 0, 0},
      {{"(,2)"}, 1013, 0, 0},
      {{"(1x,2)"}, 1013, 0, 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    std::vector<std::string> recs(r.recs.begin(), r.recs.end());
    recs.push_back("9");
    kaftest::begin_input(m, recs);
    double v[2] = {0, 0};
    EXPECT_EQ(__KAFf90_lio_read_dc(&m.ctx, v), r.code) << r.recs[0];
    if (r.code) continue;
    EXPECT_EQ(v[0], r.re) << r.recs[0];
    if (!std::isnan(v[1])) { EXPECT_EQ(v[1], r.im) << r.recs[0]; }
  }
}

TEST(ListInputComplex, SinglePrecisionPartsAndOverflow) {
  lioctx m;
  kaftest::begin_input(m, {"(0.1;1e38) (1;1e39)"}, {.decimal_char = ','});
  float v[2] = {0, 0};
  ASSERT_EQ(__KAFf90_lio_read_c(&m.ctx, v), 1013);  // ',' decimal: "0.1" has a bad '.'
  lioctx n;
  kaftest::begin_input(n, {"(0.1,1e38) (1,1e39)"});
  ASSERT_EQ(__KAFf90_lio_read_c(&n.ctx, v), 0);
  EXPECT_EQ(v[0], 0.1f);
  EXPECT_EQ(v[1], 1e38f);
  EXPECT_EQ(__KAFf90_lio_read_c(&n.ctx, v), 1115);
}

TEST(ListInputCharacters, DelimitedAndUndelimited) {
  lioctx m;
  kaftest::begin_input(m, {"'it''s' \"a,b\" plain,next 'split", "ted' \"\""});
  char a[6], b[4], c[5], d[3], e[8], f[2];
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, a, 6), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, b, 4), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, c, 5), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, d, 3), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, e, 8), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, f, 2), 0);
  EXPECT_EQ(std::string(a, 6), "it's  ");
  EXPECT_EQ(std::string(b, 4), "a,b ");
  EXPECT_EQ(std::string(c, 5), "plain");
  EXPECT_EQ(std::string(d, 3), "nex");
  EXPECT_EQ(std::string(e, 8), "splitted");
  EXPECT_EQ(std::string(f, 2), "  ");
}

TEST(ListInputCharacters, LongValueGrowsItsBuffer) {
  std::string v(5000, 'q');
  v[4999] = 'z';
  lioctx m;
  kaftest::begin_input(m, {"'" + v + "'"});
  std::string got(5000, ' ');
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, got.data(), got.size()), 0);
  EXPECT_EQ(got, v);
}

TEST(ListInputCharacters, RepeatedValueOfOtherTypeIsError) {
  lioctx m;
  kaftest::begin_input(m, {"2*5"});
  std::int32_t i = 0;
  char c[2];
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &i), 0);
  EXPECT_EQ(__KAFf90_lio_read_ch(&m.ctx, c, 2), 1014);
}

TEST(ListInputEncodings, Utf8Leniency) {
  // Two-byte forms take any lead up to 0xDF (stray continuation bytes and
  // the overlong leads pass); longer forms are checked strictly.
  static constexpr struct {
    const char *bytes;
    std::int32_t code;
    std::uint32_t cp;
  } rows[] = {
      {"\xC3\xA9", 0, 0xE9},
      {"\xC0\x80", 0, 0},
      {"\x80\x80", 0, 0},
      {"\xE6\x97\xA5", 0, 0x65E5},
      {"\xE0\x9F\x80", 1139, 0},
      {"\xED\xA0\x80", 1139, 0},
      {"\xED\x9F\xBF", 0, 0xD7FF},
      {"\xF0\x9F\x98\x80", 0, 0x1F600},
      {"\xF0\x8F\x80\x80", 1139, 0},
      {"\xF4\x90\x80\x80", 1139, 0},
      {"\xF5\x80\x80\x80", 1139, 0},
      {"\xC3", 1139, 0},
      {"\xE6\x97", 1139, 0},
      {"\xC3\x41", 1139, 0},
  };
  for (const auto &r : rows) {
    lioctx m;
    kaftest::begin_input(m, {std::string("'") + r.bytes + "'"}, {.encoding = ENC_UTF8});
    std::uint32_t v[2] = {0, 0};
    EXPECT_EQ(__KAFf90_lio_read_ch4(&m.ctx, v, 2), r.code) << r.bytes;
    if (r.code == 0) { EXPECT_EQ(v[0], r.cp) << r.bytes; }
    if (r.code) { EXPECT_EQ(m.message(), "Contents of formatted file are not valid for the current ENCODING"); }
  }
}

TEST(ListInputEncodings, Utf8BackIntoDefaultKind) {
  lioctx m;
  kaftest::begin_input(m, {"caf\xC3\xA9 x"}, {.encoding = ENC_UTF8});
  char s[6];
  ASSERT_EQ(__KAFf90_lio_read_ch(&m.ctx, s, 6), 0);
  EXPECT_EQ(std::string(s, 6), "caf\xC3\xA9 ");
}

TEST(ListInputEncodings, ShiftJisBytes) {
  lioctx m;
  kaftest::begin_input(m, {"\x93\xFA\x96\x7B 1", "\x93"}, {.encoding = ENC_SJIS_BYTES});
  std::uint16_t sj[2];
  std::uint32_t u[2];
  std::int32_t i = 0;
  // Shift-JIS codes, the same value as code points, then a lead byte that
  // ends its record.
  ASSERT_EQ(__KAFf90_lio_read_ch2j(&m.ctx, sj, 2), 0);
  EXPECT_EQ(sj[0], 0x93FA);
  EXPECT_EQ(sj[1], 0x967B);
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &i), 0);
  EXPECT_EQ(i, 1);
  EXPECT_EQ(__KAFf90_lio_read_ch4(&m.ctx, u, 2), 1139);
}

TEST(ListInputEncodings, WideRecords) {
  lioctx m;
  kaftest::begin_input(m, {kaftest::units16(u"12 '\u3042b'")}, {.encoding = ENC_UCS2});
  std::int32_t i = 0;
  std::uint16_t s[3];
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &i), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch2u(&m.ctx, s, 3), 0);
  EXPECT_EQ(i, 12);
  EXPECT_EQ(s[0], 0x3042);
  EXPECT_EQ(s[1], 'b');
  EXPECT_EQ(s[2], ' ');
  lioctx w;
  kaftest::begin_input(w, {kaftest::units32(U"3*2.5")}, {.encoding = ENC_UCS4});
  double d[3] = {};
  for (auto &x : d) ASSERT_EQ(__KAFf90_lio_read_d(&w.ctx, &x), 0);
  EXPECT_EQ(d[2], 2.5);
}

TEST(ListInputStatus, EndOfFilePassesUp) {
  lioctx m;
  kaftest::begin_input(m, {"1"});
  std::int32_t a = 0, b = 0;
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &a), 0);
  EXPECT_EQ(__KAFf90_lio_read_i(&m.ctx, &b), -1);
  EXPECT_EQ(m.iostat, -1);
}

TEST(ListInputStatus, SizeCountsCharacters) {
  lioctx m;
  kaftest::begin_input(m, {"12 \xC3\xA9"}, {.encoding = ENC_UTF8});
  std::int32_t a = 0;
  std::uint32_t u[1];
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &a), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch4(&m.ctx, u, 1), 0);
  EXPECT_EQ(m.ctx.nchars, 4u);  // '1' '2' ' ' and one two-byte character
}

TEST(ListInputChild, ContinuesTheParentScan) {
  // A child statement inside a defined-input procedure picks up the
  // parent's current character and pending repeat.
  lioctx m;
  kaftest::begin_input(m, {"2*5 6"});
  std::int32_t a = 0;
  ASSERT_EQ(__KAFf90_lio_read_i(&m.ctx, &a), 0);
  lioctx child;
  kaftest::begin_input(child, {});
  child.ctx.parent = &m.ctx;
  child.ctx.buffer = m.ctx.buffer;
  child.ctx.rec_len = m.ctx.rec_len;
  child.ctx.pos = m.ctx.pos;
  __KAFf90_init_linput(&child.ctx);
  std::int32_t b = 0, c = 0;
  ASSERT_EQ(__KAFf90_lio_read_i(&child.ctx, &b), 0);
  ASSERT_EQ(__KAFf90_lio_read_i(&child.ctx, &c), 0);
  EXPECT_EQ(b, 5);
  EXPECT_EQ(c, 6);
}

TEST(ListInputReals, TiesAndBoundariesAgainstStrtod) {
  // Exact ties, one unit either side of them, and the limits of the short
  // conversion path (19 digits, 10^±27) and just beyond them.
  static const char *const rows[] = {
      "9007199254740993",       "9007199254740995",       "9007199254740994",
      "4503599627370496.5",     "4503599627370497.5",     "45035996273704965e-1",
      "9999999999999999999",    "18446744073709551615",   "1e27",
      "1e28",                   "1e-27",                  "1e-28",
      "7.450580596923828125e-9", "0.1",                   "2.2250738585072011e-308",
      "1.7976931348623157e308", "123456789012345678e-27", "8.98846567431158e307",
      "0.500000000000000166533453693773481063544750213623046875",
      "1.00000000000000011102230246251565404236316680908203125",
      "1.00000000000000011102230246251565404236316680908203124",
  };
  for (const char *text : rows) {
    lioctx m;
    kaftest::begin_input(m, {text});
    double v = 0;
    ASSERT_EQ(__KAFf90_lio_read_d(&m.ctx, &v), 0) << text;
    EXPECT_EQ(bits_of(v), bits_of(std::strtod(text, nullptr))) << text;
  }
}
