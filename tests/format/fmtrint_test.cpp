// INTEGER, LOGICAL and B/O/Z input: blanks under BN and BZ, signs, the
// accumulator bounds, the KIND=1 and KIND=2 range checks, end conditions,
// and decimal input against strtoll on random fields.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "memctx.h"
#include "support/child.h"

using kaftest::memctx;

namespace {

struct result {
  std::uint64_t status;
  std::int64_t value;
  std::string msg;
};

// Reads one item of the given kind from record under fmt.
result read_int(const char *fmt, const std::string &record, int bits = 32, bool dusty = false) {
  memctx m;
  kaftest::begin_input(m, {record});
  std::uint64_t s = kaftest::establish(m, fmt, DIR_INPUT);
  std::int64_t v = -99;
  if (!s) {
    switch (bits) {
    case 8: { std::int8_t x = -99; s = (dusty ? __KAFf90_dusty_fmt_read_i1 : __KAFf90_fmt_read_i1)(&m.ctx, &x); v = x; break; }
    case 16: { std::int16_t x = -99; s = (dusty ? __KAFf90_dusty_fmt_read_i2 : __KAFf90_fmt_read_i2)(&m.ctx, &x); v = x; break; }
    case 32: { std::int32_t x = -99; s = (dusty ? __KAFf90_dusty_fmt_read_i : __KAFf90_fmt_read_i)(&m.ctx, &x); v = x; break; }
    default: { std::int64_t x = -99; s = (dusty ? __KAFf90_dusty_fmt_read_i4 : __KAFf90_fmt_read_i4)(&m.ctx, &x); v = x; break; }
    }
  }
  if (s) {
    EXPECT_EQ(static_cast<std::int64_t>(s), m.iostat) << fmt;
  }
  return {s, v, s ? m.message() : ""};
}

TEST(IntegerInput, FieldsAndBlanks) {
  static const struct { const char *fmt; const char *rec; int bits; std::int64_t want; } rows[] = {
      {"(I5)", "     ", 32, 0},
      {"(BZ,I5)", "     ", 32, 0},
      {"(I4)", "1 2 ", 32, 12},
      {"(BZ,I4)", "1 2 ", 32, 1020},
      {"(I4)", "1\t2\t", 32, 12},
      {"(I11)", "2147483647", 32, 2147483647},
      {"(I12)", " -2147483647", 32, -2147483647},
      {"(I3)", "-12", 32, -12},
      {"(I4)", " + 7", 32, 7},
      {"(I4)", "-  7", 32, -7},
      {"(I2)", "123", 32, 12},            // the field is w characters
      {"(I9)", "12", 32, 12},             // a short record is padded
      {"(I20)", "9223372036854775807", 64, INT64_MAX},
      {"(I4)", "-128", 8, -128},
      {"(I4)", " 127", 8, 127},
      {"(I6)", "-32768", 16, -32768},
      {"(G5)", "  -42", 32, -42},
      {"(B9)", "111111111", 32, 511},
      {"(B40)", "1111111111111111111111111111111111111111", 32, -1},   // high bits shift out
      {"(B4)", "1 1 ", 32, 3},
      {"(BZ,B4)", "1 1 ", 32, 10},
      {"(O3)", "777", 32, 511},
      {"(Z8)", "FFFFFFFF", 32, -1},
      {"(Z4)", "abcd", 32, 0xABCD},
      {"(Z4)", "1FF", 8, -1},              // kept modulo 2^8
      {"(Z16)", "8000000000000000", 64, INT64_MIN},
      {"(Z3)", "fff", 16, 0xFFF},
  };
  for (const auto &r : rows) {
    const result got = read_int(r.fmt, r.rec, r.bits);
    EXPECT_EQ(got.status, 0u) << r.fmt << " '" << r.rec << "' " << got.msg;
    EXPECT_EQ(got.value, r.want) << r.fmt << " '" << r.rec << "'";
  }
}

TEST(IntegerInput, ErrorsWithCodesAndTexts) {
  static const struct { const char *fmt; const char *rec; int bits; int code; const char *msg; std::int64_t stored; } rows[] = {
      {"(I11)", "-2147483648", 32, 1010, "Input value too large for default INTEGER type", -99},
      {"(I11)", "99999999999", 32, 1010, "Input value too large for default INTEGER type", -99},
      {"(I20)", "9223372036854775808", 64, 1111, "Input value too large for 64-bit integer", -99},
      {"(I3)", "+  ", 32, 1038, "Sign in a numeric input field not followed by any digits", -99},
      {"(I1)", "-", 32, 1038, "Sign in a numeric input field not followed by any digits", -99},
      {"(I4)", "12x4", 32, 1041, "Invalid character in integer input field", 12},
      {"(I3)", "1.0", 32, 1041, "Invalid character in integer input field", 1},
      {"(B4)", "1021", 32, 1042, "Invalid character in binary integer input field", 2},
      {"(O2)", "78", 32, 1043, "Invalid character in octal integer input field", 7},
      {"(Z2)", "FG", 32, 1044, "Invalid character in hexadecimal integer input field", 15},
      {"(B2)", "-1", 32, 1042, "Invalid character in binary integer input field", 0},
      {"(I4)", " 128", 8, 1007, "Input value too large for INTEGER(KIND=1)", -99},
      {"(I4)", "-129", 8, 1007, "Input value too large for INTEGER(KIND=1)", -99},
      {"(I6)", " 32768", 16, 1008, "Input value too large for INTEGER(KIND=2)", -99},
      {"(L2)", "T ", 32, 1035, "Invalid edit descriptor for integer i/o-list item", -99},
      {"(G0.1)", "1", 32, 1148, "Invalid edit descriptor G0.d for INTEGER input/output item", -99},
  };
  for (const auto &r : rows) {
    const result got = read_int(r.fmt, r.rec, r.bits);
    EXPECT_EQ(got.status, static_cast<std::uint64_t>(r.code)) << r.fmt << " '" << r.rec << "'";
    EXPECT_EQ(got.msg, r.msg) << r.fmt << " '" << r.rec << "'";
    EXPECT_EQ(got.value, r.stored) << "stored before the error: " << r.fmt << " '" << r.rec << "'";
  }
}

// A byte with the top bit set in an ASCII record is refused.
TEST(IntegerInput, AsciiRecordRefusesHighBytes) {
  memctx m;
  kaftest::begin_input(m, {"1\xE9"}, ENC_ASCII);
  ASSERT_EQ(kaftest::establish(m, "(I2)", DIR_INPUT), 0u);
  std::int32_t v;
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), 1139u);
  EXPECT_EQ(m.message(), "Contents of formatted file are not valid for the current ENCODING");
  kaftest::begin_input(m, {"1\xE9"}, ENC_LATIN1);
  ASSERT_EQ(kaftest::establish(m, "(I2)", DIR_INPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), 1041u);  // just a stray character elsewhere
}

TEST(IntegerInput, DecimalMatchesStrtollOnRandomFields) {
  std::mt19937_64 rng(99);
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t v = static_cast<std::int64_t>(rng()) >> (rng() % 64);
    if (v == INT64_MIN) continue;
    std::string digits = std::to_string(v);
    const std::size_t lead = rng() % 4, trail = rng() % 3;
    std::string field = std::string(lead, ' ') + digits + std::string(trail, ' ');
    char fmt[16];
    std::snprintf(fmt, sizeof fmt, "(I%zu)", field.size());
    const result got = read_int(fmt, field, 64);
    ASSERT_EQ(got.status, 0u) << field;
    ASSERT_EQ(got.value, std::strtoll(digits.c_str(), nullptr, 10)) << field;
    if (v >= INT32_MIN + 1 && v <= INT32_MAX) {
      const result g32 = read_int(fmt, field, 32);
      ASSERT_EQ(g32.status, 0u) << field;
      ASSERT_EQ(g32.value, v) << field;
    }
  }
}

TEST(IntegerInput, LegacyAReadsTheItemBytes) {
  const result got = read_int("(A4)", "WXYZ", 32, true);
  std::int32_t want;
  std::memcpy(&want, "WXYZ", 4);
  EXPECT_EQ(got.status, 0u);
  EXPECT_EQ(got.value, want);
  EXPECT_EQ(read_int("(A4)", "WXYZ", 32, false).status, 1035u);
}

result read_logical(const char *fmt, const std::string &record) {
  memctx m;
  kaftest::begin_input(m, {record});
  std::uint64_t s = kaftest::establish(m, fmt, DIR_INPUT);
  std::int32_t v = -99;
  if (!s) s = __KAFf90_fmt_read_l(&m.ctx, &v);
  return {s, v, s ? m.message() : ""};
}

TEST(LogicalInput, ValuesAndErrors) {
  static const struct { const char *fmt; const char *rec; std::uint64_t status; std::int64_t value; const char *msg; } rows[] = {
      {"(L7)", ".false.", 0, 0, ""},
      {"(L7)", " .TRUE.", 0, 1, ""},
      {"(L4)", "true", 0, 1, ""},
      {"(L3)", "Fxy", 0, 0, ""},
      {"(L2)", "t", 0, 1, ""},
      {"(G2)", " F", 0, 0, ""},
      {"(L1)", " ", 1082, -99, "No value found in LOGICAL input field"},
      {"(L2)", " .", 1082, -99, "No value found in LOGICAL input field"},
      {"(L3)", " x ", 1081, -99, "Illegal character 'x' in LOGICAL input field"},
      {"(L3)", ". T", 1081, -99, "Illegal character ' ' in LOGICAL input field"},
      {"(I3)", "T", 1036, -99, "Invalid edit descriptor for logical i/o-list item"},
  };
  for (const auto &r : rows) {
    const result got = read_logical(r.fmt, r.rec);
    EXPECT_EQ(got.status, r.status) << r.fmt << " '" << r.rec << "'";
    EXPECT_EQ(got.value, r.value) << r.fmt << " '" << r.rec << "'";
    EXPECT_EQ(got.msg, r.msg) << r.fmt << " '" << r.rec << "'";
  }
  // The whole field is consumed, whatever it holds.
  memctx m;
  kaftest::begin_input(m, {"Tabc 5"});
  ASSERT_EQ(kaftest::establish(m, "(L4,I2)", DIR_INPUT), 0u);
  std::int64_t l = 0;
  std::int32_t i = 0;
  EXPECT_EQ(__KAFf90_fmt_read_l4(&m.ctx, &l), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &i), 0u);
  EXPECT_EQ(l, 1);
  EXPECT_EQ(i, 5);
}

// Non-advancing reads under PAD='YES': the value is stored, then the end of
// record (or file) is raised; under PAD='NO' the refill callback decides.
TEST(IntegerInput, EndConditionsOfNonAdvancingReads) {
  memctx m;
  kaftest::begin_input(m, {"12"});
  m.ctx.no_eor = 0;
  m.ctx.flags |= IOF_EOR;
  m.ctx.stmt_bits = STMT_NONADVANCING;
  ASSERT_EQ(kaftest::establish(m, "(I5)", DIR_INPUT), 0u);
  EXPECT_EQ(m.ctx.pad, 1u);
  std::int32_t v = 0;
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), static_cast<std::uint64_t>(-2));
  EXPECT_EQ(v, 12);
  EXPECT_EQ(m.iostat, -2);
  EXPECT_EQ(__KAFf90_get_field_status(&m.ctx), -2);
  __KAFf90_clear_field_status(&m.ctx);
  EXPECT_EQ(__KAFf90_get_field_status(&m.ctx), 0);

  kaftest::begin_input(m, {"12"});
  m.ctx.no_eor = 0;
  m.ctx.flags |= IOF_EOR;
  m.ctx.stmt_bits = STMT_NONADVANCING;
  m.unit.status = UNIT_AT_EOF;
  ASSERT_EQ(kaftest::establish(m, "(I5)", DIR_INPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), static_cast<std::uint64_t>(-1));

  // An advancing read with no_eor pads silently.
  kaftest::begin_input(m, {"12"});
  ASSERT_EQ(kaftest::establish(m, "(I5)", DIR_INPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), 0u);

  // Without padding the refill is asked; its status comes back unchanged,
  // and the transient unit bit is hidden from it and restored.
  kaftest::begin_input(m, {"12"}, ENC_LATIN1, false);
  m.unit.status = UNIT_TRANSIENT;
  ASSERT_EQ(kaftest::establish(m, "(I5)", DIR_INPUT), 0u);
  EXPECT_EQ(m.ctx.pad, 0u);
  m.ctx.flush = [](kaf_ioctx *c) -> std::uint64_t {
    return static_cast<kaf_unit_head *>(c->unit)->status & UNIT_TRANSIENT ? 55 : 77;
  };
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &v), 77u);
  EXPECT_EQ(m.unit.status, UNIT_TRANSIENT);
}

TEST(IntegerInput, RefillReportingSuccessIsAnInternalFault) {
  const auto r = kaftest::run_in_child([] {
    memctx m;
    kaftest::begin_input(m, {"1"}, ENC_LATIN1, false);
    kaftest::establish(m, "(I3)", DIR_INPUT);
    m.ctx.flush = [](kaf_ioctx *) -> std::uint64_t { return 0; };
    std::int32_t v;
    __KAFf90_fmt_read_i(&m.ctx, &v);
  });
  EXPECT_TRUE(r.signaled);
  EXPECT_NE(r.err.find("Unexpected no error"), std::string::npos) << r.err;
}

// Padding blanks take their places in the record: a tab back from a field
// that ran past the end lands in the padding, not in the data.
TEST(IntegerInput, PaddingAdvancesThePosition) {
  memctx m;
  kaftest::begin_input(m, {"12"});
  ASSERT_EQ(kaftest::establish(m, "(I5,TL2,I2,T1,I1)", DIR_INPUT), 0u);
  std::int32_t a = -1, b = -1, c = -1;
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &a), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &b), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(&m.ctx, &c), 0u);
  EXPECT_EQ(a, 12);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(m.ctx.nchars, 3u);  // characters of the record, not the padding
}

TEST(IntegerInput, GetWithinFieldStopsAtTheFieldEnd) {
  memctx m;
  kaftest::begin_input(m, {"ab"});
  m.ctx.pad = 1;
  std::int32_t rem = 3;
  std::uint32_t ch = 1;
  EXPECT_EQ(__KAFf90_get_within_field(&m.ctx, &rem, &ch), 0u);
  EXPECT_EQ(ch, 'a');
  EXPECT_EQ(__KAFf90_get_within_field(&m.ctx, &rem, &ch), 0u);
  EXPECT_EQ(__KAFf90_get_within_field(&m.ctx, &rem, &ch), 0u);
  EXPECT_EQ(ch, ' ');  // padded
  EXPECT_EQ(rem, 0);
  EXPECT_EQ(m.ctx.nchars, 2u);  // padding is not counted
  EXPECT_EQ(__KAFf90_get_within_field(&m.ctx, &rem, &ch), 0u);
  EXPECT_EQ(ch, 0u);
  EXPECT_EQ(m.ctx.pos, 3);  // the padding blank has its place in the record
}

}  // namespace
