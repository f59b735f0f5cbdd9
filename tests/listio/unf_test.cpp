// Unformatted sequential and direct-access statements through the engine,
// by the current entries and by the legacy ones, on real files: the bytes
// on disk, the round trip, and the errors of each statement.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "kafrts.h"

namespace {

std::string temp_path(const char *tag) {
  return "/tmp/kaf_unf_" + std::to_string(getpid()) + "_" + tag;
}

std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void open_unit(std::int64_t unit, const std::string &path, const char *form, const char *access,
               const std::int64_t *recl) {
  kaf_open_spec specifiers;
  std::memset(&specifiers, 0, sizeof specifiers);
  specifiers.file = path.data();
  specifiers.file_len = path.size();
  specifiers.status = "REPLACE";
  specifiers.status_len = 7;
  specifiers.form = form;
  specifiers.form_len = std::strlen(form);
  specifiers.access = access;
  specifiers.access_len = std::strlen(access);
  specifiers.recl = recl;
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, unit, &specifiers), 0);
}

std::string marker(std::uint32_t n) { return std::string(reinterpret_cast<const char *>(&n), 4); }

}  // namespace

TEST(Unformatted, SequentialRecordsAreFramedByTheirLengths) {
  const std::string path = temp_path("seq");
  open_unit(31, path, "UNFORMATTED", "SEQUENTIAL", nullptr);
  kaf_ioctx_space space;
  kaf_ioctx *c = reinterpret_cast<kaf_ioctx *>(&space);
  const std::int32_t a = 0x01020304;
  const double b = 2.5;
  ASSERT_EQ(__KAFf90_write_unf4(c, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_unf2_block(c, &a, 4, 0), 0);
  ASSERT_EQ(__KAFf90_write_unf2_block(c, &b, 8, 0), 0);
  ASSERT_EQ(__KAFf90_end_write_unf(c), 0);
  ASSERT_EQ(__KAFf90_write_unf4(c, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_end_write_unf(c), 0);  // an empty record
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  const std::string want = marker(12) + std::string(reinterpret_cast<const char *>(&a), 4) +
                           std::string(reinterpret_cast<const char *>(&b), 8) + marker(12) + marker(0) + marker(0);
  EXPECT_EQ(slurp(path), want);
  std::int32_t a2 = 0;
  double b2 = 0;
  ASSERT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_unf2_block(c, &a2, 4, 0), 0);
  ASSERT_EQ(__KAFf90_read_unf2_block(c, &b2, 8, 0), 0);
  ASSERT_EQ(__KAFf90_end_read_unf(c), 0);
  EXPECT_EQ(a2, a);
  EXPECT_EQ(b2, b);
  // The empty record, read with one item too many.
  std::int32_t iostat = 0;
  ASSERT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 31, &iostat, nullptr, 0, 4), 0);
  EXPECT_EQ(__KAFf90_read_unf2_block(c, &a2, 4, 0), 1106);
  EXPECT_EQ(__KAFf90_end_read_unf(c), 1106);
  EXPECT_EQ(iostat, 1106);
  EXPECT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 31, &iostat, nullptr, 0, 1), -1);
  // BACKSPACE over the end of the file, then over the empty record and the
  // first: the first is read again.
  ASSERT_EQ(__KAFf90_backspace4(nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_backspace4(nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_backspace4(nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_unf2_block(c, &a2, 4, 0), 0);
  ASSERT_EQ(__KAFf90_end_read_unf(c), 0);
  EXPECT_EQ(a2, a);
  // Writing after it ends the file there.
  ASSERT_EQ(__KAFf90_write_unf4(c, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_unf2_block(c, &a, 2, 0), 0);
  ASSERT_EQ(__KAFf90_end_write_unf(c), 0);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 31, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), want.substr(0, 20) + marker(2) + std::string(reinterpret_cast<const char *>(&a), 2) +
                             marker(2));
  unlink(path.c_str());
}

TEST(Unformatted, CorruptMarkersAndWrongUnits) {
  const std::string path = temp_path("bad");
  {
    std::ofstream out(path, std::ios::binary);
    out << marker(100) << "short";
  }
  kaf_open_spec specifiers;
  std::memset(&specifiers, 0, sizeof specifiers);
  specifiers.file = path.data();
  specifiers.file_len = path.size();
  specifiers.form = "UNFORMATTED";
  specifiers.form_len = 11;
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 32, &specifiers), 0);
  kaf_ioctx_space space;
  kaf_ioctx *c = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  EXPECT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 32, &iostat, nullptr, 0, 4), 1108);
  EXPECT_EQ(__KAFf90_read_seq4(c, nullptr, 0, 32, &iostat, nullptr, 0, 4), 1052);
  EXPECT_EQ(__KAFf90_read_direct_unf4(c, nullptr, 0, 32, 1, &iostat, nullptr, 0, 4), 1079);
  EXPECT_EQ(__KAFf90_read_unf4(c, nullptr, 0, 33, &iostat, nullptr, 0, 4), 1048);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 32, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(DirectAccess, UnformattedRecordsByNumber) {
  const std::string path = temp_path("dunf");
  const std::int64_t recl = 8;
  open_unit(34, path, "UNFORMATTED", "DIRECT", &recl);
  // Legacy entries: record 3 first, then record 1; record 2 stays a hole.
  const std::int32_t v3[2] = {33, 34}, v1 = 11;
  ASSERT_EQ(__KAFf90_dwriteu(34, 3, 0), 0);
  ASSERT_EQ(__KAFf90_uwrite(v3, 8), 0);
  ASSERT_EQ(__KAFf90_enddwriteu(), 0);
  ASSERT_EQ(__KAFf90_dwriteu(34, 1, 2), 0);
  ASSERT_EQ(__KAFf90_uwrite(&v1, 4), 0);
  EXPECT_EQ(__KAFf90_uwrite(v3, 8), 1000);  // past RECL: reported (flag word 2 reduced to 4)
  EXPECT_EQ(__KAFf90_enddwriteu(), 1000);
  std::int32_t back[2] = {0, 0};
  ASSERT_EQ(__KAFf90_dwriteu(34, 1, 0), 0);
  ASSERT_EQ(__KAFf90_uwrite(&v1, 4), 0);
  ASSERT_EQ(__KAFf90_enddwriteu(), 0);
  ASSERT_EQ(__KAFf90_dreadu(34, 3, 0), 0);
  ASSERT_EQ(__KAFf90_uread(back, 8), 0);
  ASSERT_EQ(__KAFf90_enddreadu(), 0);
  EXPECT_EQ(back[0], 33);
  EXPECT_EQ(back[1], 34);
  ASSERT_EQ(__KAFf90_dreadu(34, 2, 0), 0);
  ASSERT_EQ(__KAFf90_uread(back, 8), 0);
  ASSERT_EQ(__KAFf90_enddreadu(), 0);
  EXPECT_EQ(back[0], 0);
  std::string want(24, '\0');
  std::memcpy(&want[0], &v1, 4);
  std::memcpy(&want[16], v3, 8);
  ASSERT_EQ(__KAFf90_flush4(nullptr, 0, 34, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), want);
  kaf_ioctx_space space;
  kaf_ioctx *c = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  EXPECT_EQ(__KAFf90_read_direct_unf4(c, nullptr, 0, 34, 4, &iostat, nullptr, 0, 4), 1114);
  EXPECT_EQ(__KAFf90_read_direct_unf4(c, nullptr, 0, 34, 0, &iostat, nullptr, 0, 4), 1080);
  ASSERT_EQ(__KAFf90_read_direct_unf4(c, nullptr, 0, 34, 1, &iostat, nullptr, 0, 4), 0);
  EXPECT_EQ(__KAFf90_read_unf2_block(c, back, 12, 0), 1106);
  __KAFf90_end_read_direct_unf(c);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 34, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(DirectAccess, FormattedRecordsArePaddedToRecl) {
  const std::string path = temp_path("dfmt");
  const std::int64_t recl = 6;
  open_unit(35, path, "FORMATTED", "DIRECT", &recl);
  static const char fmt[] = "(I3/I4)";
  ASSERT_EQ(__KAFf90_dwrite(35, fmt, 7, 2, 0), 0);
  ASSERT_EQ(__KAFf90_write_i(7), 0);
  ASSERT_EQ(__KAFf90_write_i(-12), 0);
  ASSERT_EQ(__KAFf90_enddwrite(), 0);
  ASSERT_EQ(__KAFf90_flush4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), std::string(6, '\0') + "  7    -12  ");
  std::int32_t a = 0, b = 0;
  ASSERT_EQ(__KAFf90_dread(35, fmt, 7, 2, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_i(&a), 0);
  ASSERT_EQ(__KAFf90_read_i(&b), 0);
  ASSERT_EQ(__KAFf90_enddread(), 0);
  EXPECT_EQ(a, 7);
  EXPECT_EQ(b, -12);
  // A field wider than the record overflows it.
  static const char wide[] = "(I8)";
  ASSERT_EQ(__KAFf90_dwrite(35, wide, 4, 1, 4), 0);
  EXPECT_EQ(__KAFf90_write_i(1), 1000);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 35, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(Unformatted, LegacyArraysInElementOrder) {
  const std::string path = temp_path("arr");
  open_unit(36, path, "UNFORMATTED", "SEQUENTIAL", nullptr);
  // A 2x3 section of a 4x3 array of 32-bit integers (every other row).
  std::int32_t m[3][4];
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 4; ++i) m[j][i] = 10 * j + i;
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(&m[0][0]), 0, 2, 8, 1, 3, 16, 1};
  const std::int32_t type_code = 2 << 8;
  ASSERT_EQ(__KAFf90_writeu(36, 0), 0);
  ASSERT_EQ(__KAFf90_uwritea(type_code, desc, 4), 0);
  ASSERT_EQ(__KAFf90_endwriteu(), 0);
  // Character array: three 2-character elements, whole.
  char words[3][2] = {{'a', 'b'}, {'c', 'd'}, {'e', 'f'}};
  const std::int64_t cdesc[] = {reinterpret_cast<std::int64_t>(&words[0][0]), 2, 0, 3, 2, 1};
  ASSERT_EQ(__KAFf90_writeu(36, 0), 0);
  ASSERT_EQ(__KAFf90_uwritecha(1 << 8, cdesc, 1), 0);
  ASSERT_EQ(__KAFf90_endwriteu(), 0);
  ASSERT_EQ(__KAFf90_rewind(36, 0), 0);
  std::int32_t got[6] = {};
  ASSERT_EQ(__KAFf90_readu(36, 0), 0);
  ASSERT_EQ(__KAFf90_uread(got, 24), 0);
  ASSERT_EQ(__KAFf90_endreadu(), 0);
  const std::int32_t want[6] = {0, 2, 10, 12, 20, 22};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(got[k], want[k]) << k;
  char back[3][2] = {};
  ASSERT_EQ(__KAFf90_readu(36, 0), 0);
  const std::int64_t bdesc[] = {reinterpret_cast<std::int64_t>(&back[0][0]), 2, 0, 3, 2, 1};
  ASSERT_EQ(__KAFf90_ureadcha(1 << 8, bdesc, 1), 0);
  ASSERT_EQ(__KAFf90_endreadu(), 0);
  EXPECT_EQ(std::string(&back[0][0], 6), "abcdef");
  ASSERT_EQ(__KAFf90_closef(36, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(StreamAccess, BytesWithoutFramingAtAnyPosition) {
  const std::string path = temp_path("stream");
  open_unit(37, path, "UNFORMATTED", "STREAM", nullptr);
  kaf_ioctx_space space;
  kaf_ioctx *c = reinterpret_cast<kaf_ioctx *>(&space);
  ASSERT_EQ(__KAFf90_write_stream4(c, nullptr, 0, 37, nullptr, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_unf2_block(c, "abcdef", 6, 0), 0);
  ASSERT_EQ(__KAFf90_end_stream(c), 0);
  const std::int64_t at3 = 3;
  ASSERT_EQ(__KAFf90_write_stream4(c, nullptr, 0, 37, &at3, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_unf2_block(c, "XY", 2, 0), 0);
  ASSERT_EQ(__KAFf90_end_stream(c), 0);
  ASSERT_EQ(__KAFf90_flush4(nullptr, 0, 37, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), "abXYef");
  char got[4] = {};
  const std::int64_t at2 = 2;
  ASSERT_EQ(__KAFf90_read_stream4(c, nullptr, 0, 37, &at2, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_unf2_block(c, got, 4, 0), 0);
  ASSERT_EQ(__KAFf90_end_stream(c), 0);
  EXPECT_EQ(std::string(got, 4), "bXYe");
  std::int32_t iostat = 0;
  ASSERT_EQ(__KAFf90_read_stream4(c, nullptr, 0, 37, nullptr, &iostat, nullptr, 0, 5), 0);
  EXPECT_EQ(__KAFf90_read_unf2_block(c, got, 2, 0), -1);  // one byte left
  const std::int64_t zero = 0;
  EXPECT_EQ(__KAFf90_read_stream4(c, nullptr, 0, 37, &zero, &iostat, nullptr, 0, 4), 1129);
  EXPECT_EQ(__KAFf90_backspace4(nullptr, 0, 37, &iostat, nullptr, 0, 4), 1119);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 37, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
  // A sequential unit is not a stream.
  open_unit(38, path, "UNFORMATTED", "SEQUENTIAL", nullptr);
  EXPECT_EQ(__KAFf90_write_stream4(c, nullptr, 0, 38, nullptr, &iostat, nullptr, 0, 4), 1128);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 38, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(Unformatted, LegacyOptionChains) {
  const std::string path = temp_path("opt");
  const std::int64_t recl = 4;
  open_unit(39, path, "UNFORMATTED", "DIRECT", &recl);
  const std::int32_t rec = 2, v = 77;
  std::int32_t back = 0, iostat = 0;
  ASSERT_EQ(__KAFf90_writeu_opt(39, &rec, 0), 0);
  ASSERT_EQ(__KAFf90_uwrite(&v, 4), 0);
  ASSERT_EQ(__KAFf90_enddwriteu(), 0);
  ASSERT_EQ(__KAFf90_readu_optf(39, &rec, &iostat, 0), 0);
  ASSERT_EQ(__KAFf90_uread(&back, 4), 0);
  ASSERT_EQ(__KAFf90_enddreadu(), 0);
  EXPECT_EQ(back, 77);
  // Without REC= the statement is sequential, which a direct unit refuses;
  // the write side's flag word 1 becomes 4 and the error is returned.
  EXPECT_EQ(__KAFf90_writeu_optf(39, nullptr, &iostat, 1), 1050);
  EXPECT_EQ(iostat, 1050);
  EXPECT_EQ(__KAFf90_readu_optf2(39, nullptr, &iostat, nullptr, 0, 4), 1050);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 39, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}
