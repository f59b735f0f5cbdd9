// Expansion of message texts: every insertion code, positional slots,
// Shift-JIS pairs, the final "&", and the malformed-text reports.
#include "runtime/msgformat.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kafrts.h"
#include "runtime/messages.h"

namespace {

std::string expand(const char *text, ...) {
  char buf[2048];
  kaf_sink out = kaf_sink::to_memory(buf, sizeof buf);
  va_list args;
  va_start(args, text);
  kaf_format_text(out, E_rtmsg, text, &args);
  va_end(args);
  return std::string(buf, out.len);
}

std::string expand_to_stream(const char *text, ...) {
  char *data = nullptr;
  size_t size = 0;
  FILE *f = open_memstream(&data, &size);
  {
    kaf_sink out = kaf_sink::to_stream(f);
    va_list args;
    va_start(args, text);
    kaf_format_text(out, E_rtmsg, text, &args);
    va_end(args);
  }
  fclose(f);
  std::string s(data, size);
  free(data);
  return s;
}

TEST(MessageText, SimpleCodes) {
  EXPECT_EQ(expand("<$C>", "abc"), "<abc>");
  EXPECT_EQ(expand("<$Z>", "abcdef", int64_t{3}), "<abc>");
  EXPECT_EQ(expand("<$I>", int32_t{-2147483647 - 1}), "<-2147483648>");
  EXPECT_EQ(expand("<$V>", INT64_MIN), "<-9223372036854775808>");
  EXPECT_EQ(expand("<$V>", int64_t{0}), "<0>");
  EXPECT_EQ(expand("Z'$H'", uint64_t{0}), "Z'0'");
  EXPECT_EQ(expand("Z'$H'", uint64_t{0x7f00dead0bee}), "Z'7F00DEAD0BEE'");
  EXPECT_EQ(expand("Z'$H'", UINT64_MAX), "Z'FFFFFFFFFFFFFFFF'");
  EXPECT_EQ(expand("[$L]", 'x'), "[x]");
  EXPECT_EQ(expand("$E", ENOENT), std::string(strerror(ENOENT)));
}

TEST(MessageText, TypeNames) {
  EXPECT_EQ(expand("$D", 0), "ERROR");
  EXPECT_EQ(expand("$D/$D", 3, 14), "INTEGER(int32)/INTEGER(int64)");
  EXPECT_EQ(expand("[$D]", 20), "[]");
  EXPECT_EQ(expand("$D", 23), "CHARACTER(Kind=ucs4)");
  EXPECT_EQ(expand(E_rtmsg[3], "X", 4, 5),
            "Invalid procedure reference -\nActual argument for dummy argument X is "
            "REAL(real32) instead of REAL(real64)");
}

TEST(MessageText, QuotedStrings) {
  // The quotation mark only when it saves doubling apostrophes.
  EXPECT_EQ(expand("$Y", "it's"), "\"it's\"");
  EXPECT_EQ(expand("$Y", "say \"it's\""), "'say \"it''s\"'");
  EXPECT_EQ(expand("$Y", "plain"), "'plain'");
  EXPECT_EQ(expand("$Y", "a''b\"c"), "'a''''b\"c'");
  EXPECT_EQ(expand("$Y", ""), "''");
  EXPECT_EQ(expand("$Y", "tab\there\x1f"), "'tab^Ihere^_'");
  EXPECT_EQ(expand("$Y", "\n"), "'^J'");
}

TEST(MessageText, QuotedStringCutAt251Characters) {
  std::string long_text(300, 'a');
  EXPECT_EQ(expand("$Y", long_text.c_str()), "'" + std::string(251, 'a') + "'");
  // The count is of the string's characters, before doubling and carets.
  std::string quotes(260, '\'');
  quotes[0] = '"';
  EXPECT_EQ(expand("$Y", quotes.c_str()), "'\"" + std::string(250 * 2, '\'') + "'");
  std::string controls(251, '\t');
  std::string want = "'";
  for (int i = 0; i < 251; ++i) want += "^I";
  EXPECT_EQ(expand("$Y", (controls + "zz").c_str()), want + "'");
}

TEST(MessageText, PositionalSlots) {
  EXPECT_EQ(expand("$2C before $1C", "one", "two"), "two before one");
  EXPECT_EQ(expand("$3I-$1C-$2V", "a", int64_t{7}, 9), "9-a-7");
  EXPECT_EQ(expand(E_rtmsg[381], uint64_t{0x10}, uint64_t{0x20}, uint64_t{0x18}, uint64_t{0x28}),
            "Deallocation of Z'10'-Z'20' overlaps Z'18'-Z'28'");
  // A slot no code names still takes its argument, so later slots line up.
  EXPECT_EQ(expand("$1C $3C", "a", int64_t{0}, "c"), "a c");
}

TEST(MessageText, LiteralDollarsAndAmpersand) {
  EXPECT_EQ(expand("cost $ 5"), "cost $ 5");
  EXPECT_EQ(expand("$$C"), "$$C");
  EXPECT_EQ(expand("x$1 y"), "x$1 y");
  EXPECT_EQ(expand("end$"), "end$");
  EXPECT_EQ(expand("keep&going&"), "keep&going");
  EXPECT_EQ(expand("&"), "");
}

TEST(MessageText, ShiftJisPairsAreNeverExamined) {
  // 0x95 0x24 is one two-byte character; the "$" inside it is no code.
  EXPECT_EQ(expand("\x95$C", "unused"), "\x95$C");
  EXPECT_EQ(expand("\x82\xa0$C\x82\xa2", "x"), "\x82\xa0x\x82\xa2");
  // A lead byte at the very end is written and the text ends.
  EXPECT_EQ(expand("ab\x82"), "ab\x82");
  // A final "&" that is the trail byte of a pair... is not a final "&".
  EXPECT_EQ(expand("\x81&"), "\x81&");
}

TEST(MessageText, MalformedTexts) {
  EXPECT_EQ(expand("$1C and $C", "a", "b"), "CORRUPT ERROR missing number MESSAGE($1C and $C)");
  EXPECT_EQ(expand("$C and $1C", "a", "b"), "CORRUPT ERROR unexpected number MESSAGE($C and $1C)");
  EXPECT_EQ(expand("$1C and $1I", "a", 2), "CORRUPT ERROR MESSAGE($1C and $1I)");
  EXPECT_EQ(expand("$C$C$C$C$C$C$C$C$C$C$C"), "CORRUPT ERROR MESSAGE($C$C$C$C$C$C$C$C$C$C$C)");
}

TEST(MessageText, UnknownCodes) {
  EXPECT_EQ(expand("[$W]"), "[BAD INSERTION CODE(87)]");
  EXPECT_EQ(expand_to_stream("[$W]"), "[BAD INSERTION CODE(87)]");
  // Into a stream F and G are not codes at all; the values are still taken.
  EXPECT_EQ(expand_to_stream("$F|$G|$I", 1.5, kaf_dd{2.0, 0.0}, 7),
            "BAD INSERTION CODE(70)|BAD INSERTION CODE(71)|7");
}

TEST(MessageText, RealValues) {
  // Into memory: F editing inside the bounds, E editing outside them.
  EXPECT_EQ(expand("[$F]", 2.5), "[2.500000]");
  // Width zero: the optional zero before the point is left out.
  EXPECT_EQ(expand("[$F]", -0.125), "[-.125000]");
  EXPECT_EQ(expand("[$F]", 1e20), "[1.0000000000000000E+20]");
  // Every digit of the stored value is shown (1e29 is not a binary64).
  EXPECT_EQ(expand("[$G]", kaf_dd{1e29, 0.0}), "[99999999999999991433150857216.000000]");
  EXPECT_EQ(expand("[$G]", kaf_dd{1e29, 8566849142784.0}),
            "[100000000000000000000000000000.000000]");
  EXPECT_EQ(expand("[$G]", kaf_dd{-1e30, 0.0}), "[-1.00000000000000001988462483865600E+30]");
  // $Q (a 16-byte real) is a double-double, edited on both targets.
  EXPECT_EQ(expand(E_rtmsg[256], kaf_dd{3.0, 0.0}, "INTEGER(int8)"),
            "Overflow converting 3.000000 to INTEGER(int8)");
  EXPECT_EQ(expand_to_stream("$1C overflow for $2C of $3Q", "INT", "ABS", kaf_dd{0.5, 0.0}),
            "INT overflow for ABS of .500000");
}

TEST(MessageText, StreamAndMemoryAgree) {
  EXPECT_EQ(expand_to_stream(E_rtmsg[20], 2, "grid", int64_t{11}, int64_t{1}, int64_t{10}),
            expand(E_rtmsg[20], 2, "grid", int64_t{11}, int64_t{1}, int64_t{10}));
  std::string big(3000, 'q');
  EXPECT_EQ(expand_to_stream("<$C>", big.c_str()), "<" + big + ">");
}

kaf_unit_facts facts(int scratch, int standard, const char *name, int async, int formatted,
                     int access) {
  return kaf_unit_facts{scratch, standard, name, async, formatted, access};
}

}  // namespace

// The six facts of a unit come from the engine. This test program stands in
// for it, so that every combination can be described without opening files
// (no other test here has a unit of the engine's own); the engine's tests
// check the description of real units end to end.
extern "C" void __KAFf90_unit_facts(const void *unit, kaf_unit_facts *facts) {
  *facts = *static_cast<const kaf_unit_facts *>(unit);
}

namespace {

TEST(MessageText, UnitDescriptions) {
  auto f = facts(0, 0, "data.txt", 0, 1, 0);
  EXPECT_EQ(expand(E_rtmsg[350], 10, &f),
            "Program terminated by I/O error on unit 10 (File=\"data.txt\",Formatted,Sequential)");
  f = facts(1, 0, "ignored", 1, 0, 1);
  EXPECT_EQ(expand("$U", &f), "Scratch file,Asynchronous,Unformatted,Direct");
  f = facts(0, 1, "stdin", 0, 1, 2);
  EXPECT_EQ(expand("$U", &f), "Input_Unit,Formatted,Stream");
  f = facts(0, 2, nullptr, 0, 1, 0);
  EXPECT_EQ(expand("$U", &f), "Output_Unit,Formatted,Sequential");
  f = facts(0, 3, nullptr, 0, 1, 0);
  EXPECT_EQ(expand("$U", &f), "Error_Unit,Formatted,Sequential");
  f = facts(0, 0, nullptr, 0, 0, 0);
  EXPECT_EQ(expand("$U", &f), "Unformatted,Sequential");
}

}  // namespace
