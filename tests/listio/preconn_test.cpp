// The f90_preconn_io module: validation, storage, read-back and the verbose
// report, in every kind variant.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kafrts.h"
#include "support/child.h"

namespace {

void reset_options() {
  std::strcpy(__KAFf90_pcio_blank, "NULL");
  std::strcpy(__KAFf90_pcio_position, "ASIS");
  __KAFf90_pcio_prefix[0] = '\0';
  __KAFf90_pcio_verbose = 0;
}

void ioinit(const char *blank, const char *position, const char *prefix, const std::int32_t *verbose) {
  __KAFf90_MODULE_f90_preconn_io_MP_ioinit(blank, position, prefix, verbose, blank ? std::strlen(blank) : 0,
                                           position ? std::strlen(position) : 0,
                                           prefix ? std::strlen(prefix) : 0);
}

}  // namespace

TEST(PreconnOptions, KeywordsAnyCaseWithTrailingBlanks) {
  reset_options();
  ioinit("zero  ", "Append", nullptr, nullptr);
  EXPECT_STREQ(__KAFf90_pcio_blank, "ZERO");
  EXPECT_STREQ(__KAFf90_pcio_position, "APPEND");
  ioinit(nullptr, "rewind ", nullptr, nullptr);
  EXPECT_STREQ(__KAFf90_pcio_blank, "ZERO");  // absent: unchanged
  EXPECT_STREQ(__KAFf90_pcio_position, "REWIND");
  ioinit("NULL", "asis", nullptr, nullptr);
  EXPECT_STREQ(__KAFf90_pcio_blank, "NULL");
  EXPECT_STREQ(__KAFf90_pcio_position, "ASIS");
}

TEST(PreconnOptions, InvalidValuesAreFatal) {
  static constexpr struct {
    const char *blank, *position;
    const char *message;
  } rows[] = {
      {"Z", nullptr, "F90_PRECONN_IO: Invalid value 'Z' for BLANK argument to IOINIT"},
      {"ZEROX", nullptr, "F90_PRECONN_IO: Invalid value 'ZEROX' for BLANK argument to IOINIT"},
      {"ZERO", "END", "F90_PRECONN_IO: Invalid value 'END' for POSITION argument to IOINIT"},
      {"ZE RO", nullptr, "F90_PRECONN_IO: Invalid value 'ZE RO' for BLANK argument to IOINIT"},
  };
  for (const auto &r : rows) {
    auto res = kaftest::run_in_child([&] {
      reset_options();
      ioinit(r.blank, r.position, nullptr, nullptr);
      // Arguments before the bad one keep their new values.
      std::printf("%s/%s", __KAFf90_pcio_blank, __KAFf90_pcio_position);
    });
    EXPECT_FALSE(res.exited && res.exit_status == 0) << r.message;
    EXPECT_NE(res.err.find(std::string("Runtime Error: ") + r.message), std::string::npos) << res.err;
    EXPECT_EQ(res.out, "") << r.message;
  }
  auto res = kaftest::run_in_child([] {
    reset_options();
    __KAFf90_MODULE_f90_preconn_io_MP_ioinit("ZERO", "bad", nullptr, nullptr, 4, 3, 0);
  });
  EXPECT_NE(res.err.find("for POSITION argument"), std::string::npos);
}

TEST(PreconnOptions, PrefixKeepsThirtyCharactersAndItsBlanks) {
  reset_options();
  const std::string forty = " /tmp/abcdefghijklmnopqrstuvwxyz0123456789";
  ioinit(nullptr, nullptr, forty.c_str(), nullptr);
  EXPECT_EQ(std::string(__KAFf90_pcio_prefix), forty.substr(0, 30));
  ioinit(nullptr, nullptr, "p  ", nullptr);
  EXPECT_EQ(std::string(__KAFf90_pcio_prefix), "p  ");
}

TEST(PreconnOptions, VerboseReport) {
  auto res = kaftest::run_in_child([] {
    reset_options();
    const std::int32_t yes = 1;
    ioinit("Zero", nullptr, "/tmp/x", &yes);
    // Verbose stays on when absent from a later call; no prefix, no first line.
    __KAFf90_pcio_prefix[0] = '\0';
    ioinit(nullptr, "APPEND", nullptr, nullptr);
  });
  EXPECT_EQ(res.err,
            "preconn_io: Initialising from /tmp/xnn\n"
            "preconn_io: BLANK='ZERO', POSITION='ASIS'\n"
            "preconn_io: BLANK='ZERO', POSITION='APPEND'\n");
}

TEST(PreconnOptions, LogicalKindsOfVerbose) {
  reset_options();
  const std::int8_t v1 = 2;
  __KAFf90_MODULE_f90_preconn_io_MP_ioinit1(nullptr, nullptr, nullptr, &v1, 0, 0, 0);
  EXPECT_NE(__KAFf90_pcio_verbose, 0);
  const std::int64_t v4 = INT64_C(1) << 40;  // non-zero only above 32 bits
  __KAFf90_pcio_verbose = 0;
  __KAFf90_MODULE_f90_preconn_io_MP_ioinit4(nullptr, nullptr, nullptr, &v4, 0, 0, 0);
  EXPECT_NE(__KAFf90_pcio_verbose, 0);
  const std::int16_t v2 = 0;
  __KAFf90_MODULE_f90_preconn_io_MP_ioinit2(nullptr, nullptr, nullptr, &v2, 0, 0, 0);
  EXPECT_EQ(__KAFf90_pcio_verbose, 0);
}

TEST(PreconnOptions, GetOptionsAssignsLikeFortran) {
  reset_options();
  ioinit("ZERO", "REWIND", "pre", nullptr);
  char blank[6], position[4], prefix[5];
  std::int8_t v1 = 9;
  std::int64_t v4 = -1;
  __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options1(blank, position, prefix, &v1, 6, 4, 5);
  EXPECT_EQ(std::string(blank, 6), "ZERO  ");
  EXPECT_EQ(std::string(position, 4), "REWI");
  EXPECT_EQ(std::string(prefix, 5), "pre  ");
  EXPECT_EQ(v1, 0);
  __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options4(nullptr, nullptr, nullptr, &v4, 0, 0, 0);
  EXPECT_EQ(v4, 0);
}

TEST(PreconnOptions, Ucs4Variants) {
  reset_options();
  const std::uint32_t blank[] = {'z', 'e', 'r', 'o'}, position[] = {'A', 'S', 'I', 'S', ' '},
                      prefix[] = {'d', 0xE9};
  const std::int32_t yes = 0;
  __KAFf90_MODULE_f90_preconn_io_MP_ioinit_CU(blank, position, prefix, &yes, 4, 5, 2);
  EXPECT_STREQ(__KAFf90_pcio_blank, "ZERO");
  EXPECT_STREQ(__KAFf90_pcio_prefix, "d\xE9");
  std::uint32_t b[5], p[3], x[3];
  std::int32_t v = 5;
  __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options3_CU(b, p, x, &v, 5, 3, 3);
  EXPECT_EQ(b[0], 'Z');
  EXPECT_EQ(b[4], ' ');
  EXPECT_EQ(p[2], 'I');
  EXPECT_EQ(x[1], 0xE9u);
  EXPECT_EQ(x[2], ' ');
  EXPECT_EQ(v, 0);
  auto res = kaftest::run_in_child([] {
    const std::uint32_t bad[] = {'/', 0x3042};
    __KAFf90_MODULE_f90_preconn_io_MP_ioinit1_CU(nullptr, nullptr, bad, nullptr, 0, 0, 2);
  });
  EXPECT_NE(res.err.find("Runtime Error: Argument PREFIX to intrinsic IOINIT is not defined"), std::string::npos)
      << res.err;
}
