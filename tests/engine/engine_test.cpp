// The I/O engine: OPEN and CLOSE with every specifier error, formatted
// sequential READ and WRITE on files and preconnected units, internal
// files, non-advancing transfers, end conditions and the fatal report.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "kafrts.h"
#include "support/child.h"

namespace {

std::string temp_name(const char *tag) {
  return "/tmp/kaf_engine_" + std::to_string(getpid()) + "_" + tag;
}

std::string file_text(const std::string &name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

struct specifiers {
  kaf_open_spec s{};
  std::int32_t iostat = 0;
  char iomsg[120];
  specifiers() {
    s.iostat = &iostat;
    s.iomsg = iomsg;
    s.iomsg_len = sizeof iomsg;
    s.flags = KAF_IO_ERR;
  }
  std::string message() const {
    std::string m(iomsg, sizeof iomsg);
    return m.substr(0, m.find_last_not_of(' ') + 1);
  }
};

#define SET(sp, field, text) ((sp).s.field = (text), (sp).s.field##_len = std::strlen(text))

struct stmt {
  kaf_ioctx_space space;
  kaf_ioctx *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  char iomsg[120];
  std::string message() const {
    std::string m(iomsg, sizeof iomsg);
    return m.substr(0, m.find_last_not_of(' ') + 1);
  }
};

std::int32_t open_file(std::int64_t unit, const std::string &name, const char *status, const char *action = nullptr) {
  specifiers sp;
  SET(sp, file, name.c_str());
  SET(sp, status, status);
  if (action) SET(sp, action, action);
  return __KAFf90_openf4x(nullptr, 0, unit, &sp.s);
}

void write_ints(std::int64_t unit, const char *fmt, std::initializer_list<int> values, const char *advance = nullptr) {
  stmt st;
  ASSERT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, unit, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  if (advance) {
    ASSERT_EQ(__KAFf90_set_ioctx_advance(st.ctx, advance, std::strlen(advance)), 0);
  }
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, fmt, -1, 2), 0u);
  for (int v : values) ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, v), 0u);
  ASSERT_EQ(__KAFf90_end_write_sequential(st.ctx), 0);
}

TEST(EngineFiles, WriteIntegersAndReadThemBack) {
  const std::string name = temp_name("ints");
  std::remove(name.c_str());
  ASSERT_EQ(open_file(10, name, "NEW"), 0);
  write_ints(10, "(3I5)", {1, -22, 333, 4444, 55555});
  write_ints(10, "(I2,'|',I2)", {7, 8});
  write_ints(10, "(I3)", {-1}, "NO");
  write_ints(10, "(I3)", {-2}, "no ");
  write_ints(10, "(I3)", {-3});
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 10, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(file_text(name), "    1  -22  333\n 444455555\n 7| 8\n -1 -2 -3\n");

  ASSERT_EQ(open_file(11, name, "OLD", "READ"), 0);
  stmt st;
  std::int32_t v[6] = {};
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(3I5)", -1, 1), 0u);
  for (int i = 0; i < 5; ++i) ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &v[i]), 0u);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(std::vector<int>(v, v + 5), (std::vector<int>{1, -22, 333, 4444, 55555}));
  // Non-advancing reads take the record in parts; SIZE= counts characters.
  std::int64_t size = -1;
  std::int32_t a = 0, b = 0;
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_set_ioctx_advance(st.ctx, "NO", 2), 0);
  __KAFf90_set_ioctx_size(st.ctx, &size);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I2)", -1, 1), 0u);
  ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &a), 0u);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(size, 2);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(1X,I2)", -1, 1), 0u);
  ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &b), 0u);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(a, 7);
  EXPECT_EQ(b, 8);
  // A non-advancing read that runs off the record: end of record, value kept.
  std::int32_t c = 0;
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR | KAF_IO_EOR), 0);
  ASSERT_EQ(__KAFf90_set_ioctx_advance(st.ctx, "NO", 2), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(T7,I20)", -1, 1), 0u);
  EXPECT_EQ(__KAFf90_fmt_read_i(st.ctx, &c), static_cast<std::uint64_t>(-2));
  EXPECT_EQ(st.iostat, -2);
  EXPECT_EQ(st.message(), "End of record on unit 11");
  EXPECT_EQ(c, -3);
  // The end of the file.
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_END), -1);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 11, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), -1);
  EXPECT_EQ(st.iostat, -1);
  EXPECT_EQ(st.message(), "End of file on unit 11");
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 11, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
  EXPECT_NE(access(name.c_str(), F_OK), 0);
}

TEST(EngineFiles, RewindNewunitAndAppend) {
  const std::string name = temp_name("rewind");
  std::remove(name.c_str());
  specifiers sp;
  std::int32_t unit = 0;
  sp.s.newunit = &unit;
  SET(sp, file, name.c_str());
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 0, &sp.s), 0);
  EXPECT_LE(unit, -10);
  write_ints(unit, "(I4)", {1, 2});
  EXPECT_EQ(file_text(name), "");  // still in the unit's buffer
  ASSERT_EQ(__KAFf90_flush4(nullptr, 0, unit, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(file_text(name), "   1\n   2\n");
  EXPECT_EQ(__KAFf90_flush4(nullptr, 0, 77, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, unit, nullptr, nullptr, 0, 0), 0);
  stmt st;
  std::int32_t v = 0;
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, unit, &st.iostat, st.iomsg, sizeof st.iomsg, 0), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I4)", -1, 1), 0u);
  ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &v), 0u);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(v, 1);
  write_ints(unit, "(I4)", {9});  // writing after a read ends the file there
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, unit, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(file_text(name), "   1\n   9\n");
  specifiers ap;
  SET(ap, file, name.c_str());
  SET(ap, position, "append");
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 12, &ap.s), 0);
  write_ints(12, "(I4)", {3});
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 12, "delete", 6, nullptr, nullptr, 0, 0), 0);
  EXPECT_NE(access(name.c_str(), F_OK), 0);
}

// Each bad OPEN or CLOSE specifier with its IOSTAT= value and IOMSG= text.
TEST(EngineOpen, SpecifierErrors) {
  const std::string existing = temp_name("exists");
  { std::ofstream(existing) << "x\n"; }
  const std::string missing = temp_name("missing");
  std::remove(missing.c_str());
  struct row { void (*set)(specifiers &, const std::string &, const std::string &); std::int64_t unit; int code; const char *msg; };
  static const row rows[] = {
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, status, "OLDISH"); }, 20, 1063, "Invalid value for STATUS= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, access, "RANDOM"); }, 20, 1064, "Invalid value for ACCESS= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, form, "PRINTED"); }, 20, 1065, "Invalid value for FORM= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, blank, "ONE"); }, 20, 1066, "Invalid value for BLANK= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, position, "END"); }, 20, 1067, "Invalid value for POSITION= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, action, "RW"); }, 20, 1068, "Invalid value for ACTION= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, delim, "COMMA"); }, 20, 1069, "Invalid value for DELIM= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, pad, "MAYBE"); }, 20, 1070, "Invalid value for PAD= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, decimal, "DOT"); }, 20, 1122, "DECIMAL= specifier must be 'POINT' or 'COMMA'"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, round, "HALF"); }, 20, 1123, "Invalid value for ROUND= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, sign, "MINUS"); }, 20, 1124, "SIGN= specifier must be  'PROCESSOR_DEFINED', 'PLUS' or 'SUPPRESS'"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, encoding, "EBCDIC"); }, 20, 1126, "Invalid value for ENCODING= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, access, "DIRECT"); }, 20, 1071, "The RECL= specifier must be given for DIRECT access OPEN"},
      {[](specifiers &s, const std::string &, const std::string &) { static const std::int64_t r = 0; s.s.recl = &r; }, 20, 1113, "Invalid value for RECL= specifier (must be positive)"},
      {[](specifiers &s, const std::string &, const std::string &) { static const std::int64_t r = 8; s.s.recl = &r; SET(s, access, "STREAM"); }, 20, 1118, "RECL= specifier with ACCESS='STREAM'"},
      {[](specifiers &s, const std::string &, const std::string &) { static const std::int64_t r = 8; s.s.recl = &r; SET(s, access, "DIRECT"); SET(s, position, "REWIND"); }, 20, 1116, "Direct access is incompatible with the POSITION= specifier"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, form, "UNFORMATTED"); SET(s, delim, "NONE"); }, 20, 1131, "DELIM= specifier in OPEN for an UNFORMATTED file"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, form, "UNFORMATTED"); SET(s, pad, "YES"); }, 20, 1132, "PAD= specifier in OPEN for an UNFORMATTED file"},
      {[](specifiers &s, const std::string &e, const std::string &) { SET(s, status, "SCRATCH"); SET(s, file, e.c_str()); }, 20, 1056, "FILE= specifier on OPEN with STATUS='SCRATCH'"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, status, "NEW"); }, 20, 1112, "No FILE= specifier with STATUS='REPLACE' or STATUS='NEW'"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, status, "OLD"); }, 20, 1055, "Unit 20 is not connected on OPEN with STATUS='OLD' and no FILE= specifier"},
      {[](specifiers &s, const std::string &, const std::string &m) { SET(s, status, "OLD"); SET(s, file, m.c_str()); }, 20, 1075, "Cannot find OLD file"},
      {[](specifiers &s, const std::string &e, const std::string &) { SET(s, status, "NEW"); SET(s, file, e.c_str()); }, 20, 1076, "NEW file already exists"},
      {[](specifiers &s, const std::string &, const std::string &) { static std::int32_t n; s.s.newunit = &n; }, 0, 1141, "NEWUNIT= specifier but no FILE= and STATUS= value is not 'SCRATCH'"},
      {[](specifiers &s, const std::string &e, const std::string &) { SET(s, file, e.c_str()); }, -3, 1047, "Unit number -3 out of range"},
      {[](specifiers &s, const std::string &, const std::string &) { SET(s, file, "/nonexistent-dir/x"); }, 20, 1083, "Unknown OPEN failure on unit 20"},
  };
  for (std::size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    specifiers sp;
    rows[i].set(sp, existing, missing);
    EXPECT_EQ(__KAFf90_openf4x(nullptr, 0, rows[i].unit, &sp.s), rows[i].code) << "row " << i;
    EXPECT_EQ(sp.iostat, rows[i].code) << "row " << i;
    EXPECT_EQ(sp.message(), rows[i].msg) << "row " << i;
  }
  // Re-opening a connected unit may change modes but not the connection.
  specifiers first;
  SET(first, file, existing.c_str());
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 21, &first.s), 0);
  specifiers again;
  SET(again, file, existing.c_str());
  SET(again, status, "NEW");
  EXPECT_EQ(__KAFf90_openf4x(nullptr, 0, 21, &again.s), 1057);
  EXPECT_EQ(again.message(), "OPEN on connected unit 21 with STATUS= specifier must have STATUS='OLD'");
  specifiers form;
  SET(form, form, "UNFORMATTED");
  EXPECT_EQ(__KAFf90_openf4x(nullptr, 0, 21, &form.s), 1059);
  EXPECT_EQ(form.message(), "OPEN on connected unit 21 has different FORM= specifier");
  specifiers blank;
  SET(blank, blank, "ZERO");
  EXPECT_EQ(__KAFf90_openf4x(nullptr, 0, 21, &blank.s), 0);
  std::int32_t iostat = 0;
  char msg[80];
  EXPECT_EQ(__KAFf90_close4(nullptr, 0, 21, "KEEPIT", 6, &iostat, msg, sizeof msg, KAF_IO_ERR), 1063);
  EXPECT_EQ(__KAFf90_close4(nullptr, 0, 21, "KEEP", 4, &iostat, msg, sizeof msg, KAF_IO_ERR), 0);
  EXPECT_EQ(iostat, 0);
  specifiers scratch;
  SET(scratch, status, "SCRATCH");
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 22, &scratch.s), 0);
  EXPECT_EQ(__KAFf90_close4(nullptr, 0, 22, "KEEP", 4, &iostat, msg, sizeof msg, KAF_IO_ERR), 1072);
  EXPECT_EQ(__KAFf90_close4(nullptr, 0, 22, nullptr, 0, &iostat, msg, sizeof msg, KAF_IO_ERR), 0);
  std::remove(existing.c_str());
}

TEST(EngineStatements, UnitChecksAndAdvance) {
  stmt st;
  EXPECT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 33, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1048);
  EXPECT_EQ(st.message(), "Unit 33 is not connected");
  EXPECT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, -7, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1047);
  EXPECT_EQ(st.message(), "Unit number -7 out of range");
  EXPECT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, INT64_C(1) << 40, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1047);
  EXPECT_EQ(st.message(), "Unit number 1099511627776 out of range");
  EXPECT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 6, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1051);
  EXPECT_EQ(st.message(), "Unit 6 is not connected for READ action");
  EXPECT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 5, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1053);
  const std::string name = temp_name("unf");
  specifiers sp;
  SET(sp, file, name.c_str());
  SET(sp, form, "UNFORMATTED");
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 34, &sp.s), 0);
  EXPECT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 34, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 1052);
  EXPECT_EQ(st.message(), "Unit 34 is not connected for FORMATTED i/o");
  __KAFf90_close4(nullptr, 0, 34, "DELETE", 6, nullptr, nullptr, 0, 0);
  const std::string seq = temp_name("adv");
  ASSERT_EQ(open_file(35, seq, "REPLACE"), 0);
  ASSERT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 35, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  EXPECT_EQ(__KAFf90_set_ioctx_advance(st.ctx, "MAYBE", 5), 1120);
  EXPECT_EQ(st.message(), "ADVANCE= specifier must be 'YES' or 'NO'");
  std::int64_t size = 5;
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 35, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR | KAF_IO_END), -1);
  write_ints(35, "(I2)", {1});
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 35, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_set_ioctx_advance(st.ctx, "YES", 3), 0);
  EXPECT_EQ(__KAFf90_set_ioctx_size(st.ctx, &size), 1121);
  EXPECT_EQ(st.message(), "SIZE= is not valid without ADVANCE='NO'");
  __KAFf90_close4(nullptr, 0, 35, "DELETE", 6, nullptr, nullptr, 0, 0);
}

// A record continued after a non-advancing WRITE is as long as what was
// written into it; the records after it owe nothing to its length.
TEST(EngineFiles, RecordsAfterAContinuedRecordKeepTheirLength) {
  const std::string name = temp_name("continued");
  ASSERT_EQ(open_file(37, name, "REPLACE"), 0);
  write_ints(37, "(I5)", {12345}, "NO");
  write_ints(37, "(I2)", {6});
  write_ints(37, "(I1)", {7});
  write_ints(37, "(I3)", {8}, "NO");
  write_ints(37, "(T1,I1)", {9});  // T counts from where this statement began
  write_ints(37, "(I1)", {0});
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 37, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(file_text(name), "12345 6\n7\n  89\n0\n");
  std::remove(name.c_str());
}

TEST(EngineStatements, RecordLengthLimit) {
  const std::string name = temp_name("recl");
  specifiers sp;
  SET(sp, file, name.c_str());
  SET(sp, status, "REPLACE");
  static const std::int64_t recl = 6;
  sp.s.recl = &recl;
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 36, &sp.s), 0);
  stmt st;
  ASSERT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 36, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(2I4)", -1, 2), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, 1), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(st.ctx, 2), 1000u);
  EXPECT_EQ(st.message(), "Buffer overflow on output");
  EXPECT_EQ(__KAFf90_end_write_sequential(st.ctx), 1000);
  __KAFf90_close4(nullptr, 0, 36, "DELETE", 6, nullptr, nullptr, 0, 0);
}

TEST(EngineInternal, ScalarAndArrayFiles) {
  char line[12];
  std::memset(line, '#', sizeof line);
  kaf_ifile f;
  stmt st;
  __KAFf90_scalar_ifilex(&f, line, sizeof line, 10);
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I3,I4)", -1, 2), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, 5), 0u);
  ASSERT_EQ(__KAFf90_end_write_ifile(st.ctx), 0);
  EXPECT_EQ(std::string(line, sizeof line), "  5         ");  // blank-filled
  // Overflow of the record and of the file.
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I13)", -1, 2), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(st.ctx, 5), 1001u);
  EXPECT_EQ(st.message(), "Internal file overflow");
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I2)", -1, 2), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, 5), 0u);
  EXPECT_EQ(__KAFf90_fmt_write_i(st.ctx, 6), 1001u);
  // Internal files write with the processor's default sign mode.
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I3,SP,I3)", -1, 2), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, 5), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, 5), 0u);
  ASSERT_EQ(__KAFf90_end_write_ifile(st.ctx), 0);
  EXPECT_EQ(std::string(line, sizeof line), "  5 +5      ");

  // A 2 x 2 array of 4-character elements, walked in array element order
  // through a descriptor with a non-unit stride along the second dimension.
  char store[4 * 6];
  std::memset(store, '#', sizeof store);
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(store), 4, 0, 2, 4, 1, 2, 12, 1};
  __KAFf90_array_ifilex(&f, desc, 2, 10);
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I4)", -1, 2), 0u);
  for (int v : {1, 2, 3, 4}) ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, v), 0u);
  ASSERT_EQ(__KAFf90_end_write_ifile(st.ctx), 0);
  EXPECT_EQ(std::string(store, sizeof store), "   1   2####   3   4####");
  __KAFf90_array_ifilex(&f, desc, 2, 10);
  ASSERT_EQ(__KAFf90_read_internal_file(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I4)", -1, 1), 0u);
  std::int32_t v = 0;
  for (int want : {1, 2, 3, 4}) {
    ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &v), 0u);
    EXPECT_EQ(v, want);
  }
  EXPECT_EQ(__KAFf90_fmt_read_i(st.ctx, &v), static_cast<std::uint64_t>(-1));
  EXPECT_EQ(st.iostat, -1);
  EXPECT_EQ(st.message(), "End of internal file");
}

// Internal files of the other character kinds hold 16- or 32-bit units.
TEST(EngineInternal, WideKinds) {
  std::uint32_t wide[6];
  kaf_ifile f;
  stmt st;
  __KAFf90_scalar_ifilex(&f, reinterpret_cast<char *>(wide), 6, 23);
  ASSERT_EQ(__KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I3,A2)", -1, 2), 0u);
  ASSERT_EQ(__KAFf90_fmt_write_i(st.ctx, -5), 0u);
  const std::uint32_t kana[] = {0x3042, 0x3044};
  ASSERT_EQ(__KAFf90_fmt_write_ch4(st.ctx, kana, 2), 0u);
  ASSERT_EQ(__KAFf90_end_write_ifile(st.ctx), 0);
  EXPECT_EQ(std::vector<std::uint32_t>(wide, wide + 6),
            (std::vector<std::uint32_t>{' ', '-', '5', 0x3042, 0x3044, ' '}));
  std::uint16_t sj[4] = {'4', '2', 0x82A0, 0x82A2};
  __KAFf90_scalar_ifilex(&f, reinterpret_cast<char *>(sj), 4, 21);
  ASSERT_EQ(__KAFf90_read_internal_file(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR), 0);
  ASSERT_EQ(__KAFf90_establish_format(st.ctx, "(I2,A)", -1, 1), 0u);
  std::int32_t v = 0;
  std::uint32_t text[2] = {0, 0};
  ASSERT_EQ(__KAFf90_fmt_read_i(st.ctx, &v), 0u);
  ASSERT_EQ(__KAFf90_fmt_read_ch4(st.ctx, text, 2), 0u);
  ASSERT_EQ(__KAFf90_end_read_internal(st.ctx), 0);
  EXPECT_EQ(v, 42);
  EXPECT_EQ(text[0], 0x3042u);  // Shift-JIS 0x82A0 is HIRAGANA LETTER A
  EXPECT_EQ(text[1], 0x3044u);
}

// Images are threads: statements on one unit from two threads take turns,
// so every record arrives whole.
TEST(EngineThreads, StatementsOnOneUnitTakeTurns) {
  const std::string name = temp_name("threads");
  ASSERT_EQ(open_file(50, name, "REPLACE"), 0);
  auto writer = [](int tag) {
    for (int i = 0; i < 2000; ++i) {
      stmt st;
      __KAFf90_write_seq(st.ctx, nullptr, 0, 50, nullptr, nullptr, 0, 0);
      __KAFf90_establish_format(st.ctx, "(I1,20I4)", -1, 2);
      __KAFf90_fmt_write_i(st.ctx, tag);
      for (int k = 0; k < 20; ++k) __KAFf90_fmt_write_i(st.ctx, i % 1000);
      __KAFf90_end_write_sequential(st.ctx);
    }
  };
  std::thread a(writer, 1), b(writer, 2);
  a.join();
  b.join();
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 50, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  std::ifstream in(name);
  std::string line;
  int count[3] = {0, 0, 0};
  while (std::getline(in, line)) {
    ASSERT_EQ(line.size(), 81u) << line;
    const std::string field = line.substr(1, 4);
    for (int k = 1; k < 20; ++k) ASSERT_EQ(line.substr(1 + 4 * static_cast<std::size_t>(k), 4), field) << line;
    ++count[line[0] - '0'];
  }
  EXPECT_EQ(count[1], 2000);
  EXPECT_EQ(count[2], 2000);
  std::remove(name.c_str());
}

TEST(EngineThreads, RecursiveIoIsReported) {
  const auto r = kaftest::run_in_child([] {
    stmt outer, inner;
    __KAFf90_write_seq(outer.ctx, "prog.f90", 7, 6, nullptr, nullptr, 0, 0);
    __KAFf90_write_seq(inner.ctx, "prog.f90", 9, 6, nullptr, nullptr, 0, 0);
  });
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.err, "Runtime Error: prog.f90, line 9: Recursive I/O on unit 6\n"
                   "Program terminated by fatal error\n");
}

TEST(EnginePreconnected, StandardOutputAndInput) {
  const auto r = kaftest::run_in_child(
      [] {
        stmt st;
        __KAFf90_write_seq(st.ctx, nullptr, 0, 6, nullptr, nullptr, 0, 0);
        __KAFf90_establish_format(st.ctx, "('x=',I3,/,'y')", -1, 2);
        __KAFf90_fmt_write_i(st.ctx, 42);
        __KAFf90_end_write_sequential(st.ctx);
        std::int32_t a = 0, b = 0;
        __KAFf90_read_seq4(st.ctx, nullptr, 0, 5, nullptr, nullptr, 0, 0);
        __KAFf90_establish_format(st.ctx, "(2I3)", -1, 1);
        __KAFf90_fmt_read_i(st.ctx, &a);
        __KAFf90_fmt_read_i(st.ctx, &b);
        __KAFf90_end_read_sequential(st.ctx);
        __KAFf90_write_seq(st.ctx, nullptr, 0, 0, nullptr, nullptr, 0, 0);
        __KAFf90_establish_format(st.ctx, "(I0)", -1, 2);
        __KAFf90_fmt_write_i(st.ctx, a + b);
        __KAFf90_end_write_sequential(st.ctx);
        // A prompt, an answer read from another unit, the line goes on.
        __KAFf90_write_seq(st.ctx, nullptr, 0, 6, nullptr, nullptr, 0, 0);
        __KAFf90_set_ioctx_advance(st.ctx, "NO", 2);
        __KAFf90_establish_format(st.ctx, "(A)", -1, 2);
        __KAFf90_fmt_write_ch(st.ctx, "n? ", 3);
        __KAFf90_end_write_sequential(st.ctx);
        __KAFf90_read_seq4(st.ctx, nullptr, 0, 5, nullptr, nullptr, 0, 0);
        __KAFf90_establish_format(st.ctx, "(I2)", -1, 1);
        __KAFf90_fmt_read_i(st.ctx, &a);
        __KAFf90_end_read_sequential(st.ctx);
        __KAFf90_write_seq(st.ctx, nullptr, 0, 6, nullptr, nullptr, 0, 0);
        __KAFf90_establish_format(st.ctx, "('got',I3)", -1, 2);
        __KAFf90_fmt_write_i(st.ctx, a);
        __KAFf90_end_write_sequential(st.ctx);
        __KAFf90_write_seq(st.ctx, nullptr, 0, 6, nullptr, nullptr, 0, 0);
        __KAFf90_set_ioctx_advance(st.ctx, "NO", 2);
        __KAFf90_establish_format(st.ctx, "(A)", -1, 2);
        __KAFf90_fmt_write_ch(st.ctx, "open", 4);
        __KAFf90_end_write_sequential(st.ctx);
        __KAFf90_io_finish();
      },
      {{}, " 12 30\n 7\n"});
  EXPECT_TRUE(r.exited);
  EXPECT_EQ(r.out, "x= 42\ny\nn? got  7\nopen\n");
  EXPECT_EQ(r.err, "42\n");
}

TEST(EngineFatal, ReportsNameTheUnit) {
  const std::string name = temp_name("fatal");
  const auto eof = kaftest::run_in_child([&] {
    std::FILE *f = std::fopen(name.c_str(), "w");
    std::fputs("1\n", f);
    std::fclose(f);
    open_file(40, name, "OLD");
    stmt st;
    std::int32_t v;
    __KAFf90_read_seq4(st.ctx, "prog.f90", 12, 40, nullptr, nullptr, 0, 0);
    __KAFf90_establish_format(st.ctx, "(I1)", -1, 1);
    __KAFf90_fmt_read_i(st.ctx, &v);
    __KAFf90_fmt_read_i(st.ctx, &v);
  });
  std::remove(name.c_str());
  EXPECT_TRUE(eof.signaled);
  EXPECT_EQ(eof.err, "Runtime Error: prog.f90, line 12: End of file on unit 40\n"
                     "Program terminated by I/O error on unit 40 (File=\"" + name + "\",Formatted,Sequential)\n"
                     "Program terminated by fatal error\n");
  const auto bad = kaftest::run_in_child([] {
    stmt st;
    std::int32_t v;
    __KAFf90_read_seq4(st.ctx, nullptr, 0, 5, nullptr, nullptr, 0, 0);
    __KAFf90_establish_format(st.ctx, "(I3)", -1, 1);
    __KAFf90_fmt_read_i(st.ctx, &v);
  }, {{}, "1x3\n"});
  EXPECT_EQ(bad.err, "Runtime Error: Invalid character in integer input field\n"
                     "Program terminated by I/O error on unit 5 (Input_Unit,Formatted,Sequential)\n"
                     "Program terminated by fatal error\n");
  const auto internal = kaftest::run_in_child([] {
    char text[3] = {'1', '2', '3'};
    kaf_ifile f;
    __KAFf90_scalar_ifilex(&f, text, 3, 10);
    stmt st;
    std::int32_t v;
    __KAFf90_read_internal_file(st.ctx, &f, nullptr, nullptr, 0, 0);
    __KAFf90_establish_format(st.ctx, "(I3/I3)", -1, 1);
    __KAFf90_fmt_read_i(st.ctx, &v);
    __KAFf90_fmt_read_i(st.ctx, &v);
  });
  EXPECT_EQ(internal.err, "Runtime Error: End of internal file\n"
                          "Program terminated by I/O error on internal file\n"
                          "Program terminated by fatal error\n");
  const auto open_old = kaftest::run_in_child([] {
    specifiers sp;
    sp.s.iostat = nullptr;
    sp.s.iomsg = nullptr;
    sp.s.flags = 0;
    SET(sp, file, "/nonexistent-dir/old.txt");
    SET(sp, status, "OLD");
    __KAFf90_openf4x("prog.f90", 3, 20, &sp.s);
  });
  EXPECT_EQ(open_old.err, "Runtime Error: prog.f90, line 3: Cannot find OLD file\n"
                          "Program terminated by I/O error on unit 20 (File=\"/nonexistent-dir/old.txt\",Formatted,Sequential)\n"
                          "Program terminated by fatal error\n");
  // Output waiting in the unit's buffer reaches the file at a fatal end.
  const std::string kept = temp_name("kept");
  const auto flushed = kaftest::run_in_child([&] {
    open_file(41, kept, "REPLACE");
    write_ints(41, "(I2)", {7});
    write_ints(41, "(I2)", {8}, "NO");
    __KAFf90_crash("stop here");
  });
  EXPECT_EQ(file_text(kept), " 7\n 8\n");
  // io_abort writes the records already ended and drops the one still open.
  const auto aborted = kaftest::run_in_child([&] {
    open_file(42, kept, "REPLACE");
    write_ints(42, "(I2)", {5});
    write_ints(42, "(I2)", {6}, "NO");
    __KAFf90_io_abort();
    _exit(0);
  });
  EXPECT_TRUE(aborted.exited);
  EXPECT_EQ(file_text(kept), " 5\n");
  std::remove(kept.c_str());
}

}  // namespace
