// The format interpreter: reversion, groups, positioning, control edit
// descriptors, DT parsing, and every format error with its IOSTAT= value
// and IOMSG= text.
#include <gtest/gtest.h>

#include <string>

#include "memctx.h"

using kaftest::memctx;

namespace {

// Writes the integers through fmt; the output with '\n' between records and
// a final ';', or "error N: text".
std::string write_ints(const char *fmt, std::initializer_list<int> items, std::int64_t length = -1) {
  memctx m;
  kaftest::begin_output(m);
  std::uint64_t s = __KAFf90_establish_format(&m.ctx, fmt, length, DIR_OUTPUT);
  for (int v : items) {
    if (s) break;
    s = __KAFf90_fmt_write_i(&m.ctx, v);
  }
  if (s) {
    EXPECT_EQ(static_cast<std::int64_t>(s), m.iostat) << fmt;
    return "error " + std::to_string(m.iostat) + ": " + m.message();
  }
  return kaftest::output_text(m) + ";";
}

std::string write_mixed(const char *fmt) {
  memctx m;
  kaftest::begin_output(m);
  std::uint64_t s = kaftest::establish(m, fmt, DIR_OUTPUT);
  if (!s) s = __KAFf90_fmt_write_ch(&m.ctx, "x", 1);
  for (int v = 1; v <= 5 && !s; ++v) s = __KAFf90_fmt_write_i(&m.ctx, v);
  if (s) return "error " + std::to_string(m.iostat) + ": " + m.message();
  return kaftest::output_text(m) + ";";
}

TEST(FormatReversion, RevertsToTheLastTopLevelGroup) {
  EXPECT_EQ(write_ints("(I5)", {1, 2, 3}), "    1\n    2\n    3;");
  EXPECT_EQ(write_mixed("(A, 2(I3))"), "x  1  2\n  3  4\n  5;");
  EXPECT_EQ(write_mixed("(A, *(I3, ','))"), "x  1,  2,  3,  4,  5,;");
  EXPECT_EQ(write_mixed("(A,I2,(I2,'|'),I1)"), "x 1 2|3\n 4|5;");
  EXPECT_EQ(write_ints("(2(I1,'a'),3(I1))", {1, 2, 3, 4, 5, 6, 7}), "1a2a345\n67;");
  EXPECT_EQ(write_ints("(3I2)", {1, 2, 3, 4}), " 1 2 3\n 4;");
  EXPECT_EQ(write_ints("(I2,:,'x')", {1}), " 1;");
  EXPECT_EQ(write_ints("(I2,:,'x')", {1, 2}), " 1x\n 2;");
  EXPECT_EQ(write_ints("('a',I1,'b')", {}), "a;");  // no items: up to the first data descriptor
}

TEST(FormatReversion, NoDataDescriptorAfterReversion) {
  EXPECT_EQ(write_ints("('abc')", {1}),
            "error 1017: No data edit descriptor in tail of format specification after reversion");
  memctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "('abc')", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, 1), 1017u);
  EXPECT_EQ(kaftest::output_text(m), "abc\nabc");  // written again on a new record first
}

// Groups nest 40 deep inside the format's own parentheses; a 41st level
// is refused.
TEST(FormatGroups, FortyLevelsAcceptedFortyOneRefused) {
  const std::string g40 = std::string(40, '(') + "I1" + std::string(40, ')');
  EXPECT_EQ(write_ints(("(" + g40 + ")").c_str(), {7, 8}), "7\n8;");
  EXPECT_EQ(write_ints(("((" + g40 + "))").c_str(), {7}), "error 1018: Sub-format groups nested too deeply");
  const std::string g39 = std::string(39, '(') + "I1" + std::string(39, ')');
  EXPECT_EQ(write_ints(("(" + g39 + ",I2)").c_str(), {1, 2, 3}), "1 2\n3;");
}

TEST(FormatPositioning, TabsAndSpacesFollowTheStandard) {
  static const struct { const char *fmt; std::initializer_list<int> items; const char *want; } rows[] = {
      {"(I3,T1,I1)", {123, 9}, "923;"},
      {"(I2,TR3,I2)", {1, 2}, " 1    2;"},
      {"(I2,TL1,I2)", {1, 2}, "  2;"},
      {"(T5,I1)", {7}, "    7;"},
      {"(I1,10X)", {1}, "1;"},           // spacing alone does not lengthen the record
      {"(I1,T10)", {1}, "1;"},
      {"(I1,T10,'x')", {1}, "1        x;"},
      {"(I1,5X,I1)", {1, 2}, "1     2;"},
      {"(I3,TL3,TR1,I1)", {123, 9}, "193;"},
      {"(I3,T1,:)", {123}, "123;"},      // moving back does not shorten the record
      {"(TL5,I1)", {4}, "4;"},           // never before the start of the record
      {"(I1/I1)", {1, 2}, "1\n2;"},
      {"(I1,3/)", {1}, "1\n\n\n;"},
      {"(I2,T2,/,I1)", {12, 3}, "12\n3;"},
      {"(5Hhello,I2)", {1}, "hello 1;"},
      {"(3Ha'b,I1)", {1}, "a'b1;"},
      {"('it''s',\"q\"\"\",I1)", {1}, "it'sq\"1;"},
      {"  ( I 5 )", {42}, "   42;"},
      {"(i\t2,1x,i2)", {1, 2}, " 1  2;"},
      {"(2(1X,I1))", {1, 2, 3}, " 1 2\n 3;"},
  };
  for (const auto &r : rows) EXPECT_EQ(write_ints(r.fmt, r.items), r.want) << r.fmt;
}

TEST(FormatModes, ControlDescriptorsSetTheContext) {
  memctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(s p, -2p, b z, d c, r z, I1)", DIR_OUTPUT), 0u);
  EXPECT_EQ(m.ctx.sign_mode, SIGN_PLUS);
  EXPECT_EQ(m.ctx.scale, -2);
  EXPECT_EQ(m.ctx.blank_mode, 1u);
  EXPECT_EQ(m.ctx.decimal_char, ',');
  EXPECT_EQ(m.ctx.round_mode, ROUND_ZERO);
  EXPECT_EQ(m.ctx.mode_flags & (MODE_FORMAT | MODE_SIGN | MODE_ROUND | MODE_BLANK),
            MODE_FORMAT | MODE_SIGN | MODE_ROUND | MODE_BLANK);
  static const struct { const char *fmt; std::uint32_t round; } rounds[] = {
      {"(RU,I1)", ROUND_UP}, {"(RD,I1)", ROUND_DOWN}, {"(RN,I1)", ROUND_NEAREST},
      {"(RC,I1)", ROUND_COMPATIBLE}, {"(RP,I1)", ROUND_PROCESSOR}, {"(R Z,I1)", ROUND_ZERO}};
  for (const auto &r : rounds) {
    kaftest::begin_output(m);
    ASSERT_EQ(kaftest::establish(m, r.fmt, DIR_OUTPUT), 0u);
    EXPECT_EQ(m.ctx.round_mode, r.round) << r.fmt;
  }
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(BZ,BN,DC,DP,1PE12.4E3)", DIR_OUTPUT), 0u);
  EXPECT_EQ(m.ctx.blank_mode, 0u);
  EXPECT_EQ(m.ctx.decimal_char, '.');
  EXPECT_EQ(m.ctx.scale, 1);
  EXPECT_EQ(m.ctx.edit_code, EDIT_E);
  EXPECT_EQ(m.ctx.w, 12);
  EXPECT_EQ(m.ctx.d, 4);
  EXPECT_EQ(m.ctx.e, 3);
}

TEST(FormatModes, InternalFileAndUnitDefaults) {
  memctx m;
  kaftest::begin_output(m);
  kaf_ifile_head head{0, 0};
  m.ctx.internal = &head;
  ASSERT_EQ(kaftest::establish(m, "(I1)", DIR_OUTPUT), 0u);
  EXPECT_EQ(m.ctx.sign_mode, SIGN_DEFAULT);
  EXPECT_EQ(m.ctx.pad, 1u);
  kaftest::begin_output(m);
  m.unit.sign_mode = SIGN_PLUS;
  m.unit.decimal_char = ',';
  m.unit.blank_mode = 1;
  m.unit.round_mode = ROUND_UP;
  ASSERT_EQ(kaftest::establish(m, "(I1)", DIR_OUTPUT), 0u);
  EXPECT_EQ(m.ctx.sign_mode, SIGN_PLUS);
  EXPECT_EQ(m.ctx.decimal_char, ',');
  EXPECT_EQ(m.ctx.blank_mode, 1u);
  EXPECT_EQ(m.ctx.round_mode, ROUND_UP);
  EXPECT_EQ(m.ctx.max_pos, 0);
  EXPECT_EQ(m.ctx.record_start, 0);
}

TEST(FormatDescriptors, DataDescriptorParameters) {
  static const struct { const char *fmt; std::uint8_t code; int w, d, e, m; } rows[] = {
      {"(I5)", EDIT_I, 5, -1, 0, 1},       {"(I5.0)", EDIT_I, 5, -1, 0, 0},
      {"(I0)", EDIT_I, 0, -1, 0, 1},       {"(B8.8)", EDIT_B, 8, -1, 0, 8},
      {"(o3)", EDIT_O, 3, -1, 0, 1},       {"(z0.4)", EDIT_Z, 0, -1, 0, 4},
      {"(F10.3)", EDIT_F, 10, 3, 0, 1},    {"(F0.2)", EDIT_F, 0, 2, 0, 1},
      {"(E12.5E4)", EDIT_E, 12, 5, 4, 1},  {"(EN12.3)", EDIT_EN, 12, 3, 0, 1},
      {"(ES9.2E2)", EDIT_ES, 9, 2, 2, 1},  {"(D20.12)", EDIT_D, 20, 12, 0, 1},
      {"(G0)", EDIT_G, 0, -1, 0, 1},       {"(G0.5)", EDIT_G, 0, 5, 0, 1},
      {"(G14.5E3)", EDIT_G, 14, 5, 3, 1},  {"(A)", EDIT_A, 0, -1, 0, 1},
      {"(a17)", EDIT_A, 17, -1, 0, 1},     {"(L4)", EDIT_L, 4, -1, 0, 1},
  };
  for (const auto &r : rows) {
    memctx m;
    kaftest::begin_output(m);
    ASSERT_EQ(kaftest::establish(m, r.fmt, DIR_OUTPUT), 0u) << r.fmt;
    EXPECT_EQ(m.ctx.edit_code, r.code) << r.fmt;
    EXPECT_EQ(m.ctx.w, r.w) << r.fmt;
    EXPECT_EQ(m.ctx.d, r.d) << r.fmt;
    EXPECT_EQ(m.ctx.e, r.e) << r.fmt;
    EXPECT_EQ(m.ctx.m, r.m) << r.fmt;
    EXPECT_EQ(__KAFf90_next_edit_is_DT(&m.ctx), 0) << r.fmt;
  }
}

TEST(FormatDescriptors, DefinedIoTypeStringAndValueList) {
  memctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(DT'it''s'(1, -2,+30))", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_next_edit_is_DT(&m.ctx), 1);
  ASSERT_NE(m.ctx.dt_string, nullptr);
  EXPECT_EQ(std::string(m.ctx.dt_string, static_cast<std::size_t>(m.ctx.dt_string_len)), "it''s");
  EXPECT_EQ(m.ctx.dt_vlist_count, 3);
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(dt)", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_next_edit_is_DT(&m.ctx), 1);
  EXPECT_EQ(m.ctx.dt_string, nullptr);
  EXPECT_EQ(m.ctx.dt_vlist_count, -1);
  kaftest::begin_output(m);
  ASSERT_EQ(kaftest::establish(m, "(DT())", DIR_OUTPUT), 1160u);
}

// Each format error with its IOSTAT= value and IOMSG= text.
TEST(FormatErrors, EveryCodeWithItsMessage) {
  static const struct { const char *fmt; int direction; int code; const char *msg; } rows[] = {
      {"I5)", 2, 1015, "Format specification begins with 'I' instead of left parenthesis"},
      {"(I5", 2, 1016, "Format specification does not end with a right parenthesis"},
      {"(I5,", 2, 1016, "Format specification does not end with a right parenthesis"},
      {"(", 2, 1016, "Format specification does not end with a right parenthesis"},
      {"(2(I1)", 2, 1016, "Format specification does not end with a right parenthesis"},
      {"('abc')", 2, 1017, "No data edit descriptor in tail of format specification after reversion"},
      {"", 2, 1019, "Unexpected end of format specification"},
      {"   ", 2, 1019, "Unexpected end of format specification"},
      {"(I)", 2, 1020, "Expected integer literal constant in format specification"},
      {"(TL)", 2, 1020, "Expected integer literal constant in format specification"},
      {"(I99999999999)", 2, 1020, "Expected integer literal constant in format specification"},
      {"(0I5)", 2, 1021, "Field/exponent width or repeat in format specification must be non-zero"},
      {"(A0)", 2, 1021, "Field/exponent width or repeat in format specification must be non-zero"},
      {"(E10.3E0)", 2, 1021, "Field/exponent width or repeat in format specification must be non-zero"},
      {"(F10)", 2, 1022, "Expected decimal point in format specification"},
      {"(-2I5)", 2, 1023, "Expected P following signed integer constant in format specification"},
      {"(+X)", 2, 1023, "Expected P following signed integer constant in format specification"},
      {"(BQ)", 2, 1024, "Expected N or Z following B in format specification but found 'Q'"},
      {"(I5,!)", 2, 1025, "Invalid edit descriptor beginning with '!'"},
      {"(I5,{)", 2, 1025, "Invalid edit descriptor beginning with '{'"},
      {"(I5,Q)", 2, 1025, "Invalid edit descriptor beginning with 'Q'"},
      {"(3,I5)", 2, 1026, "No edit descriptor following repeat factor"},
      {"(I1,3)", 2, 1026, "No edit descriptor following repeat factor"},
      {"(2SP,I1)", 2, 1027, "Repeat factor given for sign edit descriptor"},
      {"(2BN,I1)", 2, 1028, "Repeat factor given for blank-interpretation edit descriptor"},
      {"(H,I1)", 2, 1029, "Missing length of H edit descriptor"},
      {"(2'ab',I1)", 2, 1030, "Repeat factor given for character string edit descriptor"},
      {"(X,I1)", 2, 1031, "No spacing specified for X edit descriptor"},
      {"(2T5,I1)", 2, 1032, "Repeat factor given for position edit descriptor"},
      {"('ab',I1)", 1, 1033, "Character string edit descriptor used on input"},
      {"(2Hab,I1)", 1, 1033, "Character string edit descriptor used on input"},
      {"(I1,'ab)", 2, 1037, "Character string edit descriptor does not terminate before format end"},
      {"(I1,9Hab)", 2, 1037, "Character string edit descriptor does not terminate before format end"},
      {"(I1,())", 2, 1143, "Nested format-item-list is empty"},
      {"(*I1)", 2, 1144, "No left parenthesis after unlimited repeat factor '*'"},
      {"(*('a'))", 2, 1145, "No data edit descriptor in unlimited format item"},
      {"(*(I1),I2)", 2, 1146, "Unlimited format item is not the last item"},
      {"(I1,(*(I1)))", 2, 1147, "Unlimited format item appears in a nested format-item-list"},
      {"(G0.3E2)", 2, 1149, "Unexpected exponent for G0 edit descriptor"},
      {"(3RN,I1)", 2, 1150, "Repeat factor given for rounding edit descriptor"},
      {"(DT'abc)", 2, 1159, "Unterminated DT edit descriptor string"},
      {"(DT(1,x))", 2, 1160, "Invalid non-digit character in DT v_list"},
      {"(DT(1,2)", 2, 1161, "Unterminated DT v_list"},
  };
  for (const auto &r : rows) {
    memctx m;
    if (r.direction == 2) kaftest::begin_output(m);
    else kaftest::begin_input(m, {"1 2 3"});
    std::uint64_t s = kaftest::establish(m, r.fmt, r.direction);
    for (int i = 0; i < 3 && !s; ++i) {
      std::int32_t v = 1;
      s = r.direction == 2 ? __KAFf90_fmt_write_i(&m.ctx, 1) : __KAFf90_fmt_read_i(&m.ctx, &v);
    }
    EXPECT_EQ(s, static_cast<std::uint64_t>(r.code)) << r.fmt;
    EXPECT_EQ(m.iostat, r.code) << r.fmt;
    EXPECT_EQ(m.message(), r.msg) << r.fmt;
  }
}

// Malformed texts end in an error and never read past the given length.
TEST(FormatErrors, ExplicitLengthBoundsTheText) {
  const char text[] = "(I5)(I7)";
  EXPECT_EQ(write_ints(text, {1}, 4), "    1;");
  EXPECT_EQ(write_ints(text, {1}, 3), "error 1016: Format specification does not end with a right parenthesis");
  const char nul[] = {'(', 'I', '1', ',', '\0', ')'};
  memctx m;
  kaftest::begin_output(m);
  ASSERT_EQ(__KAFf90_establish_format(&m.ctx, nul, sizeof nul, DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(&m.ctx, 1), 1025u);
  const char high[] = "(I1,\xE9)";
  EXPECT_EQ(write_ints(high, {1}).substr(0, 10), "error 1025");
  // Trailing blanks of a character variable are not part of the format.
  EXPECT_EQ(write_ints("(*(I2))     ", {1, 2}), " 1 2;");
  // Text after the closing parenthesis is ignored.
  EXPECT_EQ(write_ints("(I2) junk", {1, 2}), " 1\n 2;");
}

}  // namespace
