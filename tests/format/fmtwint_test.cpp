// INTEGER and LOGICAL output: I, B, O, Z, G, L and the legacy A, checked
// byte for byte, and against printf on many random values.
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <random>

#include "memctx.h"

using kaftest::memctx;

namespace {

// Writes one 64-bit value through the entry of the given width under fmt,
// followed by the rest of the format; returns the record with ';' appended.
std::string write_int(const char *fmt, std::int64_t v, int bits = 32, std::uint64_t *status = nullptr) {
  memctx m;
  kaftest::begin_output(m);
  std::uint64_t s = kaftest::establish(m, fmt, DIR_OUTPUT);
  if (!s) {
    switch (bits) {
    case 8: s = __KAFf90_fmt_write_i1(&m.ctx, static_cast<std::int8_t>(v)); break;
    case 16: s = __KAFf90_fmt_write_i2(&m.ctx, static_cast<std::int16_t>(v)); break;
    case 32: s = __KAFf90_fmt_write_i(&m.ctx, static_cast<std::int32_t>(v)); break;
    default: s = __KAFf90_fmt_write_i4(&m.ctx, v); break;
    }
  }
  if (status) *status = s;
  if (s) return "error " + std::to_string(m.iostat) + ": " + m.message();
  return kaftest::output_text(m) + ";";
}

TEST(IntegerOutput, EdgeCases) {
  static const struct { const char *fmt; std::int64_t v; int bits; const char *want; } rows[] = {
      {"(I5)", -12345, 32, "*****;"},
      {"(I6)", -12345, 32, "-12345;"},
      {"(I5.3)", 7, 32, "  007;"},
      {"(I0)", -7, 32, "-7;"},
      {"(I0.0)", 0, 32, " ;"},
      {"(I3.0)", 0, 32, "   ;"},
      {"(I5)", 0, 32, "    0;"},
      {"(SP,I4)", 5, 32, "  +5;"},
      {"(SP,I1)", 5, 32, "*;"},
      {"(SP,I0)", 0, 32, "+0;"},
      {"(SP,SS,I3)", 5, 32, "  5;"},
      {"(SP,S,I3)", 5, 32, "  5;"},
      {"(I11)", INT32_MIN, 32, "-2147483648;"},
      {"(I10)", INT32_MIN, 32, "**********;"},
      {"(I20)", INT64_MIN, 64, "-9223372036854775808;"},
      {"(I0)", INT64_MAX, 64, "9223372036854775807;"},
      {"(I4)", -1, 8, "  -1;"},
      {"(I6)", -32768, 16, "-32768;"},
      {"(I6.6)", -5, 32, "******;"},
      {"(I7.6)", -5, 32, "-000005;"},
      {"(I0.4)", 12, 32, "0012;"},
      {"(Z4)", -1, 8, "  FF;"},
      {"(Z0)", -1, 16, "FFFF;"},
      {"(Z8)", -1, 32, "FFFFFFFF;"},
      {"(Z0)", -1, 64, "FFFFFFFFFFFFFFFF;"},
      {"(B0)", 5, 32, "101;"},
      {"(O3.3)", 0, 32, "000;"},
      {"(B0)", 0, 32, "0;"},
      {"(B0.0)", 0, 32, " ;"},
      {"(Z3.0)", 0, 32, "   ;"},
      {"(O2)", 64, 32, "**;"},
      {"(Z6.4)", 255, 32, "  00FF;"},
      {"(B3.4)", 1, 32, "***;"},
      {"(O0)", -1, 8, "377;"},
      {"(G5)", 42, 32, "   42;"},
      {"(G0)", -42, 32, "-42;"},
      {"(G5)", 0, 32, "    0;"},
      {"(3X,I2)", 7, 32, "    7;"},
      {"(I3,'|')", 7, 32, "  7|;"},
  };
  for (const auto &r : rows) EXPECT_EQ(write_int(r.fmt, r.v, r.bits), r.want) << r.fmt << " " << r.v;
}

TEST(IntegerOutput, Errors) {
  static const struct { const char *fmt; int code; const char *msg; } rows[] = {
      {"(I3.4)", 1035, "Invalid edit descriptor for integer i/o-list item"},
      {"(F5.2)", 1035, "Invalid edit descriptor for integer i/o-list item"},
      {"(L5)", 1035, "Invalid edit descriptor for integer i/o-list item"},
      {"(A)", 1035, "Invalid edit descriptor for integer i/o-list item"},
      {"(G0.2)", 1148, "Invalid edit descriptor G0.d for INTEGER input/output item"},
  };
  for (const auto &r : rows) {
    std::uint64_t s = 0;
    const std::string got = write_int(r.fmt, 1, 32, &s);
    EXPECT_EQ(s, static_cast<std::uint64_t>(r.code)) << r.fmt;
    EXPECT_EQ(got, "error " + std::to_string(r.code) + ": " + r.msg) << r.fmt;
  }
}

// Iw.m against printf's "%*.*d", which has the same rules for the minimum
// digit count, including zero with m = 0; SP against "%+".
TEST(IntegerOutput, MatchesPrintfOnRandomValues) {
  std::mt19937_64 rng(20261122);
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t v = static_cast<std::int64_t>(rng()) >> (rng() % 64);
    const int w = static_cast<int>(rng() % 24) + 1, m = static_cast<int>(rng() % (w + 1));
    const bool plus = rng() & 1;
    char fmt[40], want[64];
    std::snprintf(fmt, sizeof fmt, "(%sI%d.%d)", plus ? "SP," : "", w, m);
    int n = std::snprintf(want, sizeof want, plus ? "%+*.*" PRId64 : "%*.*" PRId64, w, m, v);
    std::string expect = n > w ? std::string(static_cast<std::size_t>(w), '*') : std::string(want);
    if (v == 0 && m == 0) expect.assign(static_cast<std::size_t>(w), ' ');  // printf keeps the '+'
    ASSERT_EQ(write_int(fmt, v, 64), expect + ";") << fmt << " " << v;
  }
}

TEST(IntegerOutput, BozMatchesPrintfAndPlainLoop) {
  std::mt19937_64 rng(7);
  for (int i = 0; i < 5000; ++i) {
    const std::uint64_t u = rng() >> (rng() % 64);
    const int w = static_cast<int>(rng() % 30), m = static_cast<int>(rng() % 12);
    if (w && m > w) continue;
    char fmt[40], want[128];
    std::snprintf(fmt, sizeof fmt, "(Z%d.%d)", w, m);
    std::snprintf(want, sizeof want, "%*.*" PRIX64, w, m, u);
    std::string expect = want;
    if (w == 0 && m == 0 && u == 0) expect = " ";
    if (w && static_cast<int>(expect.size()) > w) expect.assign(static_cast<std::size_t>(w), '*');
    ASSERT_EQ(write_int(fmt, static_cast<std::int64_t>(u), 64), expect + ";") << fmt << " " << u;
    std::snprintf(fmt, sizeof fmt, "(O%d.%d)", w, m);
    std::snprintf(want, sizeof want, "%*.*" PRIo64, w, m, u);
    expect = want;
    if (w == 0 && m == 0 && u == 0) expect = " ";
    if (w && static_cast<int>(expect.size()) > w) expect.assign(static_cast<std::size_t>(w), '*');
    ASSERT_EQ(write_int(fmt, static_cast<std::int64_t>(u), 64), expect + ";") << fmt << " " << u;
    // Binary by a plain loop.
    std::string bits;
    for (std::uint64_t x = u; x; x >>= 1) bits.insert(bits.begin(), static_cast<char>('0' + (x & 1)));
    if (static_cast<int>(bits.size()) < m) bits.insert(0, static_cast<std::size_t>(m) - bits.size(), '0');
    if (w == 0 && bits.empty()) bits = m == 0 ? " " : "";
    std::snprintf(fmt, sizeof fmt, "(B%d.%d)", w, m);
    if (w) bits = static_cast<int>(bits.size()) > w ? std::string(static_cast<std::size_t>(w), '*')
                                                    : std::string(static_cast<std::size_t>(w) - bits.size(), ' ') + bits;
    ASSERT_EQ(write_int(fmt, static_cast<std::int64_t>(u), 64), bits + ";") << fmt << " " << u;
  }
}

std::string write_logical(const char *fmt, std::int64_t v, int bits, bool dusty = false) {
  memctx m;
  kaftest::begin_output(m);
  std::uint64_t s = kaftest::establish(m, fmt, DIR_OUTPUT);
  if (!s) {
    switch (bits) {
    case 8: s = (dusty ? __KAFf90_dusty_fmt_write_l1 : __KAFf90_fmt_write_l1)(&m.ctx, static_cast<std::int8_t>(v)); break;
    case 16: s = (dusty ? __KAFf90_dusty_fmt_write_l2 : __KAFf90_fmt_write_l2)(&m.ctx, static_cast<std::int16_t>(v)); break;
    case 32: s = (dusty ? __KAFf90_dusty_fmt_write_l : __KAFf90_fmt_write_l)(&m.ctx, static_cast<std::int32_t>(v)); break;
    default: s = (dusty ? __KAFf90_dusty_fmt_write_l4 : __KAFf90_fmt_write_l4)(&m.ctx, v); break;
    }
  }
  if (s) return "error " + std::to_string(m.iostat) + ": " + m.message();
  return kaftest::output_text(m) + ";";
}

TEST(LogicalOutput, WidthsKindsAndErrors) {
  EXPECT_EQ(write_logical("(L3)", 1, 32), "  T;");
  EXPECT_EQ(write_logical("(L1)", 0, 32), "F;");
  EXPECT_EQ(write_logical("(L2)", 0x100, 64), " T;");  // any nonzero bit is true
  EXPECT_EQ(write_logical("(L2)", -1, 8), " T;");
  EXPECT_EQ(write_logical("(G4)", 0, 16), "   F;");
  EXPECT_EQ(write_logical("(G0)", 1, 32), "T;");
  EXPECT_EQ(write_logical("(I3)", 1, 32), "error 1036: Invalid edit descriptor for logical i/o-list item");
  EXPECT_EQ(write_logical("(A)", 1, 32), "error 1036: Invalid edit descriptor for logical i/o-list item");
  EXPECT_EQ(write_logical("(A)", 0x46, 8, true), "F;");  // legacy: the item's byte as a character
}

TEST(IntegerOutput, LegacyAWritesTheItemBytes) {
  memctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(A,A6,A2)", DIR_OUTPUT), 0u);
  std::int32_t abcd;
  std::memcpy(&abcd, "ABCD", 4);
  EXPECT_EQ(__KAFf90_dusty_fmt_write_i(&m.ctx, abcd), 0u);
  EXPECT_EQ(__KAFf90_dusty_fmt_write_i(&m.ctx, abcd), 0u);
  EXPECT_EQ(__KAFf90_dusty_fmt_write_i(&m.ctx, abcd), 0u);
  EXPECT_EQ(kaftest::output_text(m) + ";", "ABCD  ABCDAB;");
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, abcd), 1035u);
}

// A field that exactly fills the buffer calls flush only for the next
// character; a failing flush stops the item with what was put so far.
TEST(IntegerOutput, FlushOnlyWhenTheNextCharacterNeedsRoom) {
  memctx m;
  kaftest::begin_output(m, 5);
  ASSERT_EQ(kaftest::establish(m, "(I5,'x')", DIR_OUTPUT), 0u);
  m.fail_flush_after = 0;
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, 12345), 99u);  // the literal after it needs room
  EXPECT_EQ(m.flushes, 1);
  EXPECT_EQ(kaftest::current_record(m), "12345");

  kaftest::begin_output(m, 5);
  ASSERT_EQ(kaftest::establish(m, "(I5)", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, 12345), 0u);
  EXPECT_EQ(m.flushes, 0);

  kaftest::begin_output(m, 3);
  m.fail_flush_after = 0;
  ASSERT_EQ(kaftest::establish(m, "(I6)", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, -42), 99u);
  EXPECT_EQ(kaftest::current_record(m), "   ");
  EXPECT_EQ(__KAFf90_stars(&m.ctx, 0), 0u);
}

TEST(IntegerOutput, StarsInEveryRecordWidth) {
  for (std::uint32_t enc : {ENC_LATIN1, ENC_UCS2, ENC_UCS4}) {
    memctx m;
    kaftest::begin_output(m, 2, 2, enc);
    ASSERT_EQ(kaftest::establish(m, "(I3)", DIR_OUTPUT), 0u);
    EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, 1000), 0u);
    const std::string rec = kaftest::current_record(m);
    const std::size_t w = unit_width(enc);
    ASSERT_EQ(rec.size(), 3 * w);
    for (std::size_t i = 0; i < rec.size(); ++i) EXPECT_EQ(rec[i], i % w == 0 ? '*' : '\0') << enc;
  }
}

}  // namespace
