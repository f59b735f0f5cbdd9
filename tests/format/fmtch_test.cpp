// Character editing: A output and input widths, the readers of each
// record encoding, conversions between character kinds, and the Shift-JIS
// table checked whole.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "memctx.h"

using kaftest::memctx;

namespace {

std::string write_ch(const char *fmt, const std::string &item) {
  memctx m;
  kaftest::begin_output(m, 4);  // small, so that runs cross flushes
  std::uint64_t s = kaftest::establish(m, fmt, DIR_OUTPUT);
  if (!s) s = __KAFf90_fmt_write_ch(&m.ctx, item.data(), item.size());
  if (s) return "error " + std::to_string(m.iostat) + ": " + m.message();
  return kaftest::output_text(m) + ";";
}

TEST(CharacterOutput, WidthsAndJustification) {
  EXPECT_EQ(write_ch("(A3)", "HELLO"), "HEL;");
  EXPECT_EQ(write_ch("(A7)", "HELLO"), "  HELLO;");
  EXPECT_EQ(write_ch("(A)", "HELLO"), "HELLO;");
  EXPECT_EQ(write_ch("(A5)", "HELLO"), "HELLO;");
  EXPECT_EQ(write_ch("(A)", ""), ";");
  EXPECT_EQ(write_ch("(A2)", ""), "  ;");
  EXPECT_EQ(write_ch("(G6)", "ab"), "    ab;");
  EXPECT_EQ(write_ch("(A)", std::string("a\0b", 3)), std::string("a\0b;", 4));
  EXPECT_EQ(write_ch("(I3)", "x"), "error 1045: Invalid edit descriptor for character i/o-list item");
  EXPECT_EQ(write_ch("(F3.1)", "x"), "error 1045: Invalid edit descriptor for character i/o-list item");
  std::string big(1000, 'q');
  EXPECT_EQ(write_ch("(A)", big), big + ";");
}

TEST(CharacterOutput, FlushErrorLeavesWhatWasPut) {
  memctx m;
  kaftest::begin_output(m, 4);
  m.fail_flush_after = 0;
  ASSERT_EQ(kaftest::establish(m, "(A)", DIR_OUTPUT), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_ch(&m.ctx, "abcdefg", 7), 99u);
  EXPECT_EQ(kaftest::current_record(m), "abcd");
}

std::string read_ch(const char *fmt, const std::string &record, std::size_t len,
                    std::uint32_t enc = ENC_LATIN1, std::uint64_t *status = nullptr) {
  memctx m;
  kaftest::begin_input(m, {record}, enc);
  std::string item(len, '#');
  std::uint64_t s = kaftest::establish(m, fmt, DIR_INPUT);
  if (!s) s = __KAFf90_fmt_read_ch(&m.ctx, item.data(), item.size());
  if (status) *status = s;
  if (s) return "error " + std::to_string(m.iostat) + ": " + m.message();
  return item + ";";
}

TEST(CharacterInput, WidthsAndPadding) {
  EXPECT_EQ(read_ch("(A7)", "abcdefg", 5), "cdefg;");
  EXPECT_EQ(read_ch("(A3)", "abcdefg", 5), "abc  ;");
  EXPECT_EQ(read_ch("(A)", "abcdefg", 5), "abcde;");
  EXPECT_EQ(read_ch("(A)", "ab", 5), "ab   ;");           // padded record
  EXPECT_EQ(read_ch("(A9)", "abcdefg", 5), "efg  ;");      // the padded field's last five
  EXPECT_EQ(read_ch("(2X,A2)", "abcdefg", 2), "cd;");
  EXPECT_EQ(read_ch("(T5,A2,TL4,A1)", "abcdefg", 2), "ef;");
  EXPECT_EQ(read_ch("(A2)", "\xC3\xA9", 2), "\xC3\xA9;");  // bytes as they stand
  EXPECT_EQ(read_ch("(L2)", "T", 2), "error 1045: Invalid edit descriptor for character i/o-list item");
  EXPECT_EQ(read_ch("(A2)", "a\xC3", 2, ENC_ASCII),
            "error 1139: Contents of formatted file are not valid for the current ENCODING");
  EXPECT_EQ(read_ch("(A2)", "a\xC3", 2, ENC_LATIN1), "a\xC3;");
}

TEST(CharacterReaders, AsciiAndLatin1) {
  memctx m;
  kaftest::begin_input(m, {"\xC3"}, ENC_ASCII);
  std::uint8_t b = 0;
  EXPECT_EQ(__KAFf90_get_char_ascii(&m.ctx, &b), 1139u);
  kaftest::begin_input(m, {"\xC3"}, ENC_LATIN1);
  EXPECT_EQ(__KAFf90_get_char_iso_8859_1(&m.ctx, &b), 0u);
  EXPECT_EQ(b, 195);
  EXPECT_EQ(m.ctx.nchars, 1u);
}

TEST(CharacterReaders, ShiftJisBytes) {
  memctx m;
  kaftest::begin_input(m, {"\x82\xA0" "a\xE0\x40"}, ENC_SJIS_BYTES);
  std::uint16_t ch = 0;
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(ch, 0x82A0);
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(ch, 'a');
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(ch, 0xE040);
  kaftest::begin_input(m, {"a\x82"}, ENC_SJIS_BYTES);
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 1139u);  // a lead byte that ends the record
  kaftest::begin_input(m, {"\xB1"}, ENC_SJIS_BYTES);   // half-width katakana leads too
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 1139u);
  kaftest::begin_input(m, {std::string("\xA0\x82\x41\x00", 4)}, ENC_SJIS16);
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(ch, 0x82A0);
  EXPECT_EQ(__KAFf90_get_char_sj(&m.ctx, &ch), 0u);
  EXPECT_EQ(ch, 'A');
}

// A plain UTF-8 encoder for the round trip.
std::string utf8(std::uint32_t cp) {
  std::string s;
  if (cp < 0x80) s += static_cast<char>(cp);
  else if (cp < 0x800) s += {static_cast<char>(0xC0 | cp >> 6), static_cast<char>(0x80 | (cp & 63))};
  else if (cp < 0x10000)
    s += {static_cast<char>(0xE0 | cp >> 12), static_cast<char>(0x80 | (cp >> 6 & 63)), static_cast<char>(0x80 | (cp & 63))};
  else
    s += {static_cast<char>(0xF0 | cp >> 18), static_cast<char>(0x80 | (cp >> 12 & 63)),
          static_cast<char>(0x80 | (cp >> 6 & 63)), static_cast<char>(0x80 | (cp & 63))};
  return s;
}

TEST(CharacterReaders, Utf8AcceptsShortestFormsOnly) {
  static const struct { const char *bytes; std::uint32_t want; std::uint64_t status; } rows[] = {
      {"A", 'A', 0},
      {"\xC3\xA9", 0xE9, 0},
      {"\xE2\x82\xAC", 0x20AC, 0},
      {"\xF0\x9F\x98\x80", 0x1F600, 0},
      {"\xF4\x8F\xBF\xBF", 0x10FFFF, 0},
      {"\xED\xA0\xBD\xED\xB8\x80", 0x1F600, 0},   // an encoded surrogate pair
      {"\x80", 0, 1139},                          // stray continuation
      {"\xC0\x80", 0, 1139},                      // overlong NUL
      {"\xC1\xBF", 0, 1139},
      {"\xE0\x80\x80", 0, 1139},
      {"\xF0\x8F\xBF\xBF", 0, 1139},
      {"\xF4\x90\x80\x80", 0, 1139},              // beyond U+10FFFF
      {"\xF5\x80\x80\x80", 0, 1139},
      {"\xFF", 0, 1139},
      {"\xC3", 0, 1139},                          // cut by the end of the record
      {"\xE2\x82", 0, 1139},
      {"\xC3\x41", 0, 1139},                      // missing continuation
      {"\xED\xB8\x80", 0, 1139},                  // a low surrogate alone
      {"\xED\xA0\xBDxyz", 0, 1139},               // a high surrogate alone
  };
  for (const auto &r : rows) {
    memctx m;
    kaftest::begin_input(m, {r.bytes}, ENC_UTF8);
    std::uint32_t cp = 0;
    EXPECT_EQ(__KAFf90_get_char_utf(&m.ctx, &cp), r.status) << r.bytes;
    if (!r.status) {
      EXPECT_EQ(cp, r.want);
      EXPECT_EQ(m.ctx.pos, static_cast<std::int64_t>(std::strlen(r.bytes)));
    }
  }
  std::mt19937 rng(5);
  std::string text;
  std::vector<std::uint32_t> cps;
  for (int i = 0; i < 3000; ++i) {
    std::uint32_t cp = rng() % 0x110000;
    if (cp >= 0xD800 && cp <= 0xDFFF) continue;
    cps.push_back(cp);
    text += utf8(cp);
  }
  memctx m;
  kaftest::begin_input(m, {text}, ENC_UTF8);
  for (std::uint32_t want : cps) {
    std::uint32_t cp = 0;
    ASSERT_EQ(__KAFf90_get_char_utf(&m.ctx, &cp), 0u);
    ASSERT_EQ(cp, want);
  }
}

template <typename Unit>
std::string units(std::initializer_list<Unit> u) {
  return std::string(reinterpret_cast<const char *>(u.begin()), u.size() * sizeof(Unit));
}

TEST(CharacterKinds, OutputIntoEachEncoding) {
  const std::uint32_t nihon[] = {0x65E5, 0x672C, 'x'};
  const std::uint16_t nihon_sj[] = {0x93FA, 0x967B, 'x'};
  static const struct { std::uint32_t enc; bool sjis_item; std::string want; } rows[] = {
      {ENC_UTF8, false, "  \xE6\x97\xA5\xE6\x9C\xAC" "x"},
      {ENC_UTF8, true, "  \xE6\x97\xA5\xE6\x9C\xAC" "x"},
      {ENC_SJIS_BYTES, false, "  \x93\xFA\x96\x7B" "x"},
      {ENC_SJIS_BYTES, true, "  \x93\xFA\x96\x7B" "x"},
      {ENC_LATIN1, false, "  ??x"},
      {ENC_SJIS16, false, units<std::uint16_t>({' ', ' ', 0x93FA, 0x967B, 'x'})},
      {ENC_UCS2, true, units<std::uint16_t>({' ', ' ', 0x65E5, 0x672C, 'x'})},
      {ENC_UCS4, true, units<std::uint32_t>({' ', ' ', 0x65E5, 0x672C, 'x'})},
  };
  for (const auto &r : rows) {
    memctx m;
    kaftest::begin_output(m, 3, 3, r.enc);
    ASSERT_EQ(kaftest::establish(m, "(A5)", DIR_OUTPUT), 0u);
    const std::uint64_t s = r.sjis_item ? __KAFf90_fmt_write_ch2j(&m.ctx, nihon_sj, 3)
                                        : __KAFf90_fmt_write_ch4(&m.ctx, nihon, 3);
    ASSERT_EQ(s, 0u);
    EXPECT_EQ(kaftest::current_record(m), r.want) << "encoding " << r.enc << " sjis item " << r.sjis_item;
  }
  // Default-kind bytes widen into 16- and 32-bit records.
  memctx m;
  kaftest::begin_output(m, 8, 8, ENC_UCS4);
  ASSERT_EQ(kaftest::establish(m, "(A)", DIR_OUTPUT), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_ch(&m.ctx, "\xE9z", 2), 0u);
  EXPECT_EQ(kaftest::current_record(m), units<std::uint32_t>({0xE9, 'z'}));
  // UCS-2 items.
  const std::uint16_t ucs2[] = {0xE9, 0x3042};
  kaftest::begin_output(m, 8, 8, ENC_UTF8);
  ASSERT_EQ(kaftest::establish(m, "(A)", DIR_OUTPUT), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_ch2u(&m.ctx, ucs2, 2), 0u);
  EXPECT_EQ(kaftest::current_record(m), "\xC3\xA9\xE3\x81\x82");
}

TEST(CharacterKinds, InputFromEachEncoding) {
  {
    memctx m;
    kaftest::begin_input(m, {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E"}, ENC_UTF8);
    ASSERT_EQ(kaftest::establish(m, "(A3,TL3,A2,TL2,A3)", DIR_INPUT), 0u);
    std::uint32_t u4[3];
    std::uint16_t sj[3], u2[3];
    ASSERT_EQ(__KAFf90_fmt_read_ch4(&m.ctx, u4, 3), 0u);
    EXPECT_EQ(std::vector<std::uint32_t>(u4, u4 + 3), (std::vector<std::uint32_t>{0x65E5, 0x672C, 0x8A9E}));
    m.ctx.pos = 0;  // TL counts characters; a UTF-8 record is re-read from its start here
    ASSERT_EQ(__KAFf90_fmt_read_ch2j(&m.ctx, sj, 3), 0u);
    EXPECT_EQ(std::vector<std::uint16_t>(sj, sj + 3), (std::vector<std::uint16_t>{0x93FA, 0x967B, ' '}));
    m.ctx.pos = 0;
    ASSERT_EQ(__KAFf90_fmt_read_ch2u(&m.ctx, u2, 3), 0u);
    EXPECT_EQ(std::vector<std::uint16_t>(u2, u2 + 3), (std::vector<std::uint16_t>{0x65E5, 0x672C, 0x8A9E}));
  }
  {
    memctx m;
    kaftest::begin_input(m, {"a\x93\xFA\x96\x7B"}, ENC_SJIS_BYTES);
    ASSERT_EQ(kaftest::establish(m, "(A)", DIR_INPUT), 0u);
    std::uint32_t u4[4];
    ASSERT_EQ(__KAFf90_fmt_read_ch4(&m.ctx, u4, 4), 0u);
    EXPECT_EQ(std::vector<std::uint32_t>(u4, u4 + 4), (std::vector<std::uint32_t>{'a', 0x65E5, 0x672C, ' '}));
  }
  {
    memctx m;
    kaftest::begin_input(m, {units<std::uint32_t>({0x65E5, 0xE9, 'q'})}, ENC_UCS4);
    ASSERT_EQ(kaftest::establish(m, "(A)", DIR_INPUT), 0u);
    char bytes[3];
    ASSERT_EQ(__KAFf90_fmt_read_ch(&m.ctx, bytes, 3), 0u);
    EXPECT_EQ(std::string(bytes, 3), "?\xE9q");
  }
}

// Every two-byte code of JIS X 0208 maps to a character and back; there are
// 6879 of them (6355 kanji and 524 other characters).
TEST(CharacterKinds, ShiftJisTableRoundTripsWhole) {
  std::vector<std::uint16_t> codes;
  for (unsigned lead = 0x81; lead <= 0xEF; ++lead) {
    if (lead >= 0xA0 && lead <= 0xDF) continue;
    for (unsigned trail = 0x40; trail <= 0xFC; ++trail)
      if (trail != 0x7F) codes.push_back(static_cast<std::uint16_t>(lead << 8 | trail));
  }
  memctx m;
  kaftest::begin_output(m, codes.size(), codes.size(), ENC_UCS4);
  ASSERT_EQ(kaftest::establish(m, "(A)", DIR_OUTPUT), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_ch2j(&m.ctx, codes.data(), codes.size()), 0u);
  std::vector<std::uint32_t> cps(codes.size());
  std::memcpy(cps.data(), m.store.data(), cps.size() * 4);
  std::size_t assigned = 0;
  std::vector<std::uint32_t> mapped;
  std::vector<std::uint16_t> from;
  for (std::size_t i = 0; i < cps.size(); ++i)
    if (cps[i] != '?') {
      ++assigned;
      mapped.push_back(cps[i]);
      from.push_back(codes[i]);
    }
  EXPECT_EQ(assigned, 6879u);
  kaftest::begin_output(m, mapped.size(), mapped.size(), ENC_SJIS16);
  ASSERT_EQ(kaftest::establish(m, "(A)", DIR_OUTPUT), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_ch4(&m.ctx, mapped.data(), mapped.size()), 0u);
  std::vector<std::uint16_t> back(mapped.size());
  std::memcpy(back.data(), m.store.data(), back.size() * 2);
  EXPECT_EQ(back, from);
  // Spot values of the standard mapping.
  static const struct { std::uint16_t sjis; std::uint32_t cp; } spots[] = {
      {0x8140, 0x3000}, {0x82A0, 0x3042}, {0x889F, 0x4E9C}, {0x93FA, 0x65E5},
      {0x8260, 0xFF21}, {0x8396, 0x30F6}, {0xEAA4, 0x7199}, {0x815F, 0xFF3C}};
  for (const auto &s : spots) {
    auto it = std::find(from.begin(), from.end(), s.sjis);
    ASSERT_NE(it, from.end());
    EXPECT_EQ(mapped[static_cast<std::size_t>(it - from.begin())], s.cp) << std::hex << s.sjis;
  }
}

}  // namespace
