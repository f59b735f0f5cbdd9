// The REAL and COMPLEX item entries over a transfer context in memory: the
// descriptor sequence around each item, complex items as two fields, every
// kind, the legacy A editing, the I/O errors with their messages, input end
// conditions and the overflow option; and the $F/$G message insertions.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "format/freal.h"
#include "format/memctx.h"
#include "kafrts.h"

using kaftest::memctx;

namespace {

struct written {
  std::uint64_t status;
  std::string text;
  std::string message;
  int flushes;
};

written write(const char *format, const std::function<std::uint64_t(kaf_ioctx *)> &items,
              std::size_t capacity = 256) {
  memctx m;
  kaftest::begin_output(m, capacity);
  std::uint64_t s = kaftest::establish(m, format, DIR_OUTPUT);
  if (s == 0) s = items(&m.ctx);
  return {s, kaftest::output_text(m), s ? m.message() : "", m.flushes};
}

TEST(RealItemsOut, DescriptorsAroundTheItems) {
  auto w = write("(ES12.4,I5,';')", [](kaf_ioctx *c) {
    if (auto s = __KAFf90_fmt_write_d(c, 3.14159)) return s;
    return __KAFf90_fmt_write_i(c, 42);
  });
  EXPECT_EQ(w.status, 0u);
  EXPECT_EQ(w.text, "  3.1416E+00   42;");
  // Reversion ends the record between items.
  w = write("(F6.2)", [](kaf_ioctx *c) {
    for (double v : {1.0, -2.5, 1e10})
      if (auto s = __KAFf90_fmt_write_d(c, v)) return s;
    return std::uint64_t{0};
  });
  EXPECT_EQ(w.text, "  1.00\n -2.50\n******");
  w = write("(SP,F6.2,SS,F6.2,DC,F6.2,RU,F5.1,RD,F5.1)", [](kaf_ioctx *c) {
    for (double v : {1.0, 1.0, 1.25, 0.01, 0.01})
      if (auto s = __KAFf90_fmt_write_d(c, v)) return s;
    return std::uint64_t{0};
  });
  EXPECT_EQ(w.text, " +1.00  1.00  1,25  0,1  0,0");  // DC stays in effect
}

TEST(RealItemsOut, ComplexItemsAreTwoFields) {
  auto w = write("('(',F5.2,',',F5.2,')')", [](kaf_ioctx *c) { return __KAFf90_fmt_write_dc(c, 1.5, -2.25); });
  EXPECT_EQ(w.text, "( 1.50,-2.25)");
  w = write("(E10.3)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_c(c, 1.0f, 2.0f); });
  EXPECT_EQ(w.text, " 0.100E+01\n 0.200E+01");
  w = write("(2F5.1)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_hc(c, 0x3C00, 0xC000); });
  EXPECT_EQ(w.text, "  1.0 -2.0");
  kaf_ddc z{{1.0, std::ldexp(1.0, -60)}, {-0.5, 0.0}};
  w = write("(2F24.20)", [&](kaf_ioctx *c) { return __KAFf90_fmt_write_ddc(c, z); });
  EXPECT_EQ(w.text, "  1.00000000000000000087 -0.50000000000000000000");
}

TEST(RealItemsOut, EveryKind) {
  auto one = [](const char *f, const std::function<std::uint64_t(kaf_ioctx *)> &item) {
    return write(f, item).text;
  };
  EXPECT_EQ(one("(G0)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_h(c, 0x3555); }), "0.33325");
  EXPECT_EQ(one("(G0)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_r(c, 0.1f); }), "0.100000001");
  // The REAL item edited as DOUBLE PRECISION shows the double's digits.
  EXPECT_EQ(one("(G0)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_rd(c, 0.1f); }), "0.10000000149011612");
  EXPECT_EQ(one("(G0)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 0.1); }), "0.10000000000000001");
  EXPECT_EQ(one("(ES40.32)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_dd(c, kaf_dd{0.1, -5.551115123125783e-18}); }),
            "  9.99999999999999999999999999999997E-02");
  EXPECT_EQ(one("(F8.3)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_h(c, 0x7C00); }), "Infinity");
}

TEST(RealItemsOut, LegacyAEditing) {
  float abcd;
  std::memcpy(&abcd, "ABCD", 4);
  auto w = write("(A4,'|',A)", [&](kaf_ioctx *c) {
    if (auto s = __KAFf90_dusty_fmt_write_r(c, abcd)) return s;
    double eight;
    std::memcpy(&eight, "12345678", 8);
    return __KAFf90_dusty_fmt_write_d(c, eight);
  });
  EXPECT_EQ(w.status, 0u);
  EXPECT_EQ(w.text, "ABCD|12345678");
  w = write("(A4)", [&](kaf_ioctx *c) { return __KAFf90_fmt_write_r(c, abcd); });
  EXPECT_EQ(w.status, 1034u);
  EXPECT_EQ(w.message, "Invalid edit descriptor for real i/o-list item");
}

TEST(RealItemsOut, ErrorsAndTheirMessages) {
  auto w = write("(I5)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 1.0); });
  EXPECT_EQ(w.status, 1034u);
  w = write("(5P,E10.3)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 12.5); });
  EXPECT_EQ(w.status, 1002u);
  EXPECT_EQ(w.message, "Scale factor 5 out of range for d=3");
  w = write("(-3P,E10.3)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 12.5); });
  EXPECT_EQ(w.message, "Scale factor -3 out of range for d=3");
  w = write("(-999P,D2000.1000)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 10.0); });
  EXPECT_EQ(w.status, 1003u);
  EXPECT_EQ(w.message, "Exponent too large for Dw.d format");
  // A field wider than the buffer goes through flush as it is put.
  w = write("(F30.10)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 1.0 / 3); }, 8);
  EXPECT_EQ(w.text, "                  0.3333333333");
  EXPECT_GT(w.flushes, 0);
  // A wide field with a long digit string takes its work buffer from the
  // allocator.
  w = write("(F1000.900)", [](kaf_ioctx *c) { return __KAFf90_fmt_write_d(c, 0.1); }, 2000);
  ASSERT_EQ(w.text.size(), 1000u);
  EXPECT_EQ(w.text.substr(98, 30), "0.1000000000000000055511151231");
  EXPECT_EQ(w.text.substr(990), "0000000000");
}

TEST(RealItemsOut, WideCharacterRecords) {
  memctx m;
  kaftest::begin_output(m, 4, 4, ENC_UCS4);  // four units: the field needs a flush
  ASSERT_EQ(kaftest::establish(m, "(F6.2)", DIR_OUTPUT), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_d(&m.ctx, -1.5), 0u);
  std::string want;
  for (char ch : std::string(" -1.50")) want += std::string{ch, 0, 0, 0};
  EXPECT_EQ(kaftest::current_record(m), want);
}

TEST(RealItemsOut, FieldStrings) {
  const std::int32_t f52[4] = {5, 2, 0, 0};
  char buf[32];
  std::int32_t err = -1;
  EXPECT_EQ(__KAFf90_d_format_F(f52, 1, '.', buf, sizeof buf, &err, 0.5), 5u);
  EXPECT_STREQ(buf, " 0.50");
  EXPECT_EQ(err, 0);
  EXPECT_EQ(__KAFf90_d_format_F(f52, 0, ',', buf, sizeof buf, &err, 0.5), 5u);
  EXPECT_STREQ(buf, "+0,50");
  const std::int32_t e103k5[4] = {10, 3, 0, 5};
  __KAFf90_d_format_E(e103k5, 1, '.', buf, sizeof buf, &err, 12.5);
  EXPECT_EQ(err, 1002);
  const std::int32_t e103[4] = {10, 3, -1, 1};
  EXPECT_EQ(__KAFf90_d_format_E(e103, 1, '.', buf, 4, &err, 12.5), 10u);  // cut to the buffer
  EXPECT_STREQ(buf, " 1.");
  auto w = write("(F3.0)", [&](kaf_ioctx *c) {
    const std::int32_t p[4] = {12, 4, 3, 0};
    return __KAFf90_format_E(c, p, -1.5e-7);
  });
  EXPECT_EQ(w.text, "-0.1500E-006");
}

// ---------------------------------------------------------------------------
// Input.

struct read_result {
  std::uint64_t status;
  std::string message;
};

read_result read(const char *format, const std::vector<std::string> &records,
                 const std::function<std::uint64_t(kaf_ioctx *)> &items, bool non_advancing = false) {
  memctx m;
  kaftest::begin_input(m, records);
  if (non_advancing) {
    m.ctx.flags |= IOF_EOR;
    m.ctx.no_eor = 0;
    m.ctx.stmt_bits = STMT_NONADVANCING;
  }
  std::uint64_t s = kaftest::establish(m, format, DIR_INPUT);
  if (s == 0) s = items(&m.ctx);
  return {s, s ? m.message() : ""};
}

TEST(RealItemsIn, FieldsThroughTheFormat) {
  double a = 0, b = 0, c = 0;
  auto r = read("(F10.2,2P,F10.2,F10.2)", {"     12345     12345     1.5E3"}, [&](kaf_ioctx *x) {
    if (auto s = __KAFf90_fmt_read_d(x, &a)) return s;
    if (auto s = __KAFf90_fmt_read_d(x, &b)) return s;
    return __KAFf90_fmt_read_d(x, &c);
  });
  EXPECT_EQ(r.status, 0u);
  EXPECT_EQ(a, 123.45);
  EXPECT_EQ(b, 1.2345);
  EXPECT_EQ(c, 1500.0);
  // 0.1 lies between two floats; the statement's mode picks the side.
  float up = 0, down = 0;
  r = read("(RU,E8.0,RD,E8.0)", {"0.1     0.1"}, [&](kaf_ioctx *x) {
    if (auto s = __KAFf90_fmt_read_r(x, &up)) return s;
    return __KAFf90_fmt_read_r(x, &down);
  });
  EXPECT_EQ(up, 0.1f);  // 0.1f is the float above 0.1
  EXPECT_EQ(down, std::nextafter(0.1f, 0.0f));
  std::uint16_t h[2] = {0, 0};
  r = read("(2G6.0)", {"   1.5  -2.0"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_hc(x, h); });
  EXPECT_EQ(h[0], 0x3E00);
  EXPECT_EQ(h[1], 0xC000);
  double z[2];
  r = read("(DC,2ES8.1)", {"  1,5E0 -2,5E+1"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_dc(x, z); });
  EXPECT_EQ(z[0], 1.5);
  EXPECT_EQ(z[1], -25.0);
  kaf_dd dd{};
  r = read("(F40.0)", {"0.1"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_dd(x, &dd); });
  EXPECT_EQ(dd.hi, 0.1);
  EXPECT_EQ(dd.lo, -5.551115123125783e-18);
  kaf_ddc zz{};
  r = read("(2F5.0)", {" 0.25   -8"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_ddc(x, &zz); });
  EXPECT_EQ(zz.re.hi, 0.25);
  EXPECT_EQ(zz.im.hi, -8.0);
  double direct = 0;
  r = read("(F6.1)", {"  2.75"}, [&](kaf_ioctx *x) { return __KAFf90_input_format_F(x, &direct); });
  EXPECT_EQ(direct, 2.75);
}

TEST(RealItemsIn, ErrorsStoreTheValueFirst) {
  double v = -1;
  auto r = read("(F6.0)", {"  2.5x"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(r.status, 1040u);
  EXPECT_EQ(r.message, "Invalid character in real input field");
  EXPECT_EQ(v, 2.5);
  r = read("(F6.0)", {"  1.E+"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(r.status, 1039u);
  EXPECT_EQ(r.message, "Invalid exponent in real input field");
  r = read("(F6.0)", {"    - "}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(r.status, 1038u);
  EXPECT_EQ(r.message, "Sign in a numeric input field not followed by any digits");
  r = read("(I6)", {"   1.5"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(r.status, 1034u);
  r = read("(F5.0)", {"1E309"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(r.status, 1115u);
  EXPECT_EQ(r.message, "Floating overflow on real number input");
  EXPECT_TRUE(std::isinf(v));
  float f;
  r = read("(F5.0)", {"1E39"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_r(x, &f); });
  EXPECT_EQ(r.status, 1115u);
}

TEST(RealItemsIn, OverflowOptionRaisesTheException) {
  double v = 0;
  std::int32_t saved = __KAFf90_io_overflow_exception;
  __KAFf90_io_overflow_exception = 1;
  std::feclearexcept(FE_ALL_EXCEPT);
  auto r = read("(F5.0)", {"1E309"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  bool raised = std::fetestexcept(FE_OVERFLOW) != 0;
  __KAFf90_io_overflow_exception = saved;
  EXPECT_EQ(r.status, 0u);
  EXPECT_TRUE(raised);
  EXPECT_TRUE(std::isinf(v));
}

TEST(RealItemsIn, EndOfRecordInsideTheField) {
  // Non-advancing with PAD: the short field reads as blanks, the value is
  // stored, and the end of record is raised after it.
  double v = 0;
  auto r = read("(F10.0)", {"  7.5"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); }, true);
  EXPECT_EQ(v, 7.5);
  EXPECT_EQ(static_cast<std::int64_t>(r.status), -2);
}

TEST(RealItemsIn, ShortRecordsArePaddedWithBlanks) {
  // Advancing input with PAD: the field runs past the record's end and reads
  // as if blanks followed, with no end condition.
  double v = 0, w = 0;
  auto r = read("(2F8.0)", {"  7.5     1."}, [&](kaf_ioctx *x) {
    if (auto s = __KAFf90_fmt_read_d(x, &v)) return s;
    return __KAFf90_fmt_read_d(x, &w);
  });
  EXPECT_EQ(r.status, 0u);
  EXPECT_EQ(v, 7.5);
  EXPECT_EQ(w, 1.0);
  // Under BZ the padding blanks the character reader delivers are zeros like
  // any other blank (gfortran ends the field at the record's end instead).
  r = read("(BZ,F8.0)", {"  2.5"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(v, 2.5);
  r = read("(BZ,F8.0)", {"  25"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_d(x, &v); });
  EXPECT_EQ(v, 250000.0);
}

TEST(RealItemsIn, LegacyAEditing) {
  float f;
  auto r = read("(A4)", {"WXYZ"}, [&](kaf_ioctx *x) { return __KAFf90_dusty_fmt_read_r(x, &f); });
  EXPECT_EQ(r.status, 0u);
  EXPECT_EQ(std::memcmp(&f, "WXYZ", 4), 0);
  r = read("(A4)", {"WXYZ"}, [&](kaf_ioctx *x) { return __KAFf90_fmt_read_r(x, &f); });
  EXPECT_EQ(r.status, 1034u);
}

TEST(MessageInsertions, DollarFAndG) {
  char buf[80];
  static constexpr struct {
    double x;
    const char *want;
  } rows[] = {
      {1.5, "1.500000"},       {-0.25, "-.250000"},   {12345678.875, "12345678.875000"},
      {1e20, "1.0000000000000000E+20"}, {-1e-7, "-.000000"}, {HUGE_VAL, "Inf"},
  };
  for (const auto &r : rows) {
    kaf::freal::format_dollar_F(buf, sizeof buf, r.x);
    EXPECT_STREQ(buf, r.want) << r.x;
  }
  kaf::freal::format_dollar_F(buf, sizeof buf, std::nan(""));
  EXPECT_STREQ(buf, "NaN");
  EXPECT_EQ(kaf::freal::format_dollar_F(buf, 4, 123.5), 3u);  // cut to the buffer
  EXPECT_STREQ(buf, "123");
  kaf::freal::format_dollar_G(buf, sizeof buf, kaf_dd{1e30, 0});
  EXPECT_STREQ(buf, "1.00000000000000001988462483865600E+30");
  kaf::freal::format_dollar_G(buf, sizeof buf, kaf_dd{2.0, std::ldexp(1.0, -70)});
  EXPECT_STREQ(buf, "2.000000");
}

}  // namespace
