// The legacy entry layer on the engine's formatted stream and direct-access
// connections: its READ/WRITE begin calls reach a stream unit through the
// sequential entries, and its INQUIRE gives NEXTREC= of direct access.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "kafrts.h"

namespace {

std::string temp_path(const char *tag) { return "/tmp/kaf_legacy_stream_" + std::to_string(getpid()) + "_" + tag; }

std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::int64_t nextrec_of(std::int32_t unit) {
  std::int64_t nextrec = -999;
  __KAFf90_inquire_u(unit, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0,
                     nullptr, nullptr, 0, nullptr, &nextrec, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                     nullptr, nullptr, 0, nullptr, 0, nullptr, 0);
  return nextrec;
}

}  // namespace

TEST(LegacyStream, WriteBackspaceAndReadOnAStreamUnit) {
  const std::string path = temp_path("fmt");
  ASSERT_EQ(__KAFf90_open(61, path.data(), path.size(), "REPLACE", 7, "FORMATTED", 9, "STREAM", 6, nullptr, 0), 0);
  static const char fmt[] = "(I3,A)";
  ASSERT_EQ(__KAFf90_write(61, fmt, sizeof fmt - 1, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_i(7), 0);
  ASSERT_EQ(__KAFf90_write_ch("a\nb", 3), 0);  // the newline ends a record
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_write(61, nullptr, 0, "NO", 2, 0), 0);
  ASSERT_EQ(__KAFf90_lwrite_i(12), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_write(61, nullptr, 0, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_lwrite_i(34), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  EXPECT_EQ(nextrec_of(61), -999);  // not direct access
  // Back over the last record and read it, non-advancing with SIZE=.
  ASSERT_EQ(__KAFf90_backspace(61, 0), 0);
  std::int32_t size = -1, first = 0, second = 0;
  static const char ifmt[] = "(I3)";
  ASSERT_EQ(__KAFf90_read(61, ifmt, sizeof ifmt - 1, "NO", 2, &size, 0), 0);
  ASSERT_EQ(__KAFf90_read_i(&first), 0);
  ASSERT_EQ(__KAFf90_endread(), 0);
  EXPECT_EQ(size, 3);
  ASSERT_EQ(__KAFf90_read(61, nullptr, 0, nullptr, 0, nullptr, 0), 0);
  ASSERT_EQ(__KAFf90_lread_i(&second), 0);
  ASSERT_EQ(__KAFf90_endread(), 0);
  EXPECT_EQ(first, 12);
  EXPECT_EQ(second, 34);
  ASSERT_EQ(__KAFf90_close(61, 0), 0);
  EXPECT_EQ(slurp(path), "  7a\nb\n 12 34\n");
  std::remove(path.c_str());
}

TEST(LegacyStream, DirectAccessNextrec) {
  const std::string path = temp_path("direct");
  const std::int32_t recl = 4;
  ASSERT_EQ(__KAFf90_open(62, path.data(), path.size(), "REPLACE", 7, "FORMATTED", 9, "DIRECT", 6, &recl, 0), 0);
  EXPECT_EQ(nextrec_of(62), 1);
  static const char fmt[] = "(I4)";
  ASSERT_EQ(__KAFf90_dwrite(62, fmt, sizeof fmt - 1, 5, 0), 0);
  ASSERT_EQ(__KAFf90_write_i(55), 0);
  ASSERT_EQ(__KAFf90_enddwrite(), 0);
  EXPECT_EQ(nextrec_of(62), 6);
  std::int32_t v = 0;
  ASSERT_EQ(__KAFf90_dread(62, fmt, sizeof fmt - 1, 5, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_i(&v), 0);
  ASSERT_EQ(__KAFf90_enddread(), 0);
  EXPECT_EQ(v, 55);
  EXPECT_EQ(nextrec_of(62), 6);
  ASSERT_EQ(__KAFf90_closef(62, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(nextrec_of(62), -999);
}
