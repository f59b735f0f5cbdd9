// The legacy entry layer driven end to end through the engine on real
// files: begin, item and end calls, the flag-word rules, the widening rules,
// write_r, SIZE=, the statement chains, INQUIRE and cidata_match.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "kafrts.h"
#include "support/child.h"

namespace {

std::string temp_path(const char *tag) {
  return "/tmp/kaf_ioback_" + std::to_string(getpid()) + "_" + tag;
}

std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void open_file(std::int32_t unit, const std::string &path, const char *status = "REPLACE") {
  ASSERT_EQ(__KAFf90_open(unit, path.data(), path.size(), status, std::strlen(status), nullptr, 0, nullptr, 0,
                          nullptr, 0),
            0);
}

std::string expected_double(double v) {
  char t[64];
  std::snprintf(t, sizeof t, "%20.16f", v);
  return t;
}

}  // namespace

TEST(LegacyLayer, TableWrittenRewoundAndReadBack) {
  const std::string path = temp_path("table");
  open_file(21, path);
  for (int row = 1; row <= 3; ++row) {
    ASSERT_EQ(__KAFf90_write(21, nullptr, 0, nullptr, 0, 0), 0);
    ASSERT_EQ(__KAFf90_lwrite_i(row), 0);
    ASSERT_EQ(__KAFf90_lwrite_d(row * 1.25), 0);
    ASSERT_EQ(__KAFf90_lwrite_ch("x", 1), 0);
    ASSERT_EQ(__KAFf90_endwrite(), 0);
  }
  static const char fmt[] = "(I4,F8.3)";
  ASSERT_EQ(__KAFf90_write(21, fmt, sizeof fmt - 1, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_i(7), 0);
  ASSERT_EQ(__KAFf90_write_d(2.5), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_rewind(21, 0), 0);
  std::string want;
  for (int row = 1; row <= 3; ++row)
    want += " " + std::to_string(row) + " " + expected_double(row * 1.25) + " x\n";
  want += "   7   2.500\n";
  EXPECT_EQ(slurp(path), want);
  for (int row = 1; row <= 3; ++row) {
    std::int32_t i = 0;
    double d = 0;
    char c = 0;
    ASSERT_EQ(__KAFf90_read(21, nullptr, 0, nullptr, 0, nullptr, 0), 0);
    ASSERT_EQ(__KAFf90_lread_i(&i), 0);
    ASSERT_EQ(__KAFf90_lread_d(&d), 0);
    ASSERT_EQ(__KAFf90_lread_ch(&c, 1), 0);
    ASSERT_EQ(__KAFf90_endread(), 0);
    EXPECT_EQ(i, row);
    EXPECT_EQ(d, row * 1.25);
    EXPECT_EQ(c, 'x');
  }
  std::int32_t i = 0;
  double d = 0;
  ASSERT_EQ(__KAFf90_read(21, fmt, sizeof fmt - 1, nullptr, 0, nullptr, 0), 0);
  ASSERT_EQ(__KAFf90_read_i(&i), 0);
  ASSERT_EQ(__KAFf90_read_d(&d), 0);
  ASSERT_EQ(__KAFf90_endread(), 0);
  EXPECT_EQ(i, 7);
  EXPECT_EQ(d, 2.5);
  // The end of the file, reported through the END= bit of the flag word.
  EXPECT_EQ(__KAFf90_read(21, nullptr, 0, nullptr, 0, nullptr, 1), -1);
  ASSERT_EQ(__KAFf90_closef(21, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST(LegacyLayer, NarrowValuesAreSignExtended) {
  const std::string path = temp_path("narrow");
  open_file(22, path);
  static const char fmt[] = "(I4,I7)";
  ASSERT_EQ(__KAFf90_write(22, fmt, sizeof fmt - 1, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_i1(static_cast<std::int8_t>(0xFF)), 0);
  ASSERT_EQ(__KAFf90_write_i2(static_cast<std::int16_t>(0x8000)), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_write(22, nullptr, 0, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_lwrite_i1(static_cast<std::int8_t>(0xFF)), 0);
  ASSERT_EQ(__KAFf90_lwrite_i2(static_cast<std::int16_t>(0xFFFE)), 0);
  ASSERT_EQ(__KAFf90_lwrite_l1(static_cast<std::int8_t>(0x80)), 0);
  ASSERT_EQ(__KAFf90_lwrite_l4(INT64_C(1) << 33), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_closef(22, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), "  -1 -32768\n -1 -2 T T\n");
  unlink(path.c_str());
}

TEST(LegacyLayer, WriteRGoesThroughTheDoubleEditor) {
  // Under G0 the REAL 0.1 shows the digits of its double-precision value
  // when written by write_r, and its own when written by dusty_write_r.
  const std::string path = temp_path("write_r");
  open_file(23, path);
  static const char fmt[] = "(G0,1X,G0,1X,G0)";
  ASSERT_EQ(__KAFf90_write(23, fmt, sizeof fmt - 1, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_write_r(0.1f), 0);
  ASSERT_EQ(__KAFf90_write_d(static_cast<double>(0.1f)), 0);
  ASSERT_EQ(__KAFf90_dusty_write_r(0.1f), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_closef(23, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  const std::string text = slurp(path);
  std::istringstream in(text);
  std::string a, b, c;
  in >> a >> b >> c;
  EXPECT_EQ(a, b);
  EXPECT_NE(a, c);
  EXPECT_EQ(std::strtod(a.c_str(), nullptr), static_cast<double>(0.1f));
  unlink(path.c_str());
}

TEST(LegacyLayer, SizeIsStoredAtEndread) {
  const std::string path = temp_path("size");
  {
    std::ofstream out(path);
    out << "abcdefgh\n";
  }
  open_file(24, path, "OLD");
  static const char fmt[] = "(A5)";
  std::int32_t size = -7;
  char buf[5];
  ASSERT_EQ(__KAFf90_read(24, fmt, 4, "NO", 2, &size, 0), 0);
  ASSERT_EQ(__KAFf90_read_ch(buf, 5), 0);
  EXPECT_EQ(size, -7);  // the engine counts into the 64-bit temporary
  ASSERT_EQ(__KAFf90_endread(), 0);
  EXPECT_EQ(size, 5);
  EXPECT_EQ(std::string(buf, 5), "abcde");
  // A later READ without SIZE= leaves the old variable alone.
  ASSERT_EQ(__KAFf90_read(24, fmt, 4, nullptr, 0, nullptr, 0), 0);
  ASSERT_EQ(__KAFf90_read_ch(buf, 5), 0);
  ASSERT_EQ(__KAFf90_endread(), 0);
  EXPECT_EQ(size, 5);
  EXPECT_EQ(std::string(buf, 3), "fgh");
  ASSERT_EQ(__KAFf90_closef(24, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(LegacyLayer, FlagWordRules) {
  // Write side: any non-zero word becomes 4 (the error is returned); read
  // side: the word arrives as it is, so END= alone (1) does not catch an
  // unconnected unit and the program ends.
  for (std::int32_t word : {1, 2, 0x10}) EXPECT_EQ(__KAFf90_write(97, nullptr, 0, nullptr, 0, word), 1048) << word;
  EXPECT_EQ(__KAFf90_read(97, nullptr, 0, nullptr, 0, nullptr, 4), 1048);
  auto r = kaftest::run_in_child([] { __KAFf90_read(97, nullptr, 0, nullptr, 0, nullptr, 1); });
  EXPECT_FALSE(r.exited && r.exit_status == 0);
  EXPECT_NE(r.err.find("Unit 97 is not connected"), std::string::npos) << r.err;
  // The internal readers reduce their word like the write side.
  char text[4] = {'x', 'y', 'z', ' '};
  std::int32_t v = 0;
  EXPECT_EQ(__KAFf90_ireads(text, 4, nullptr, 0, 0, 1), 0);
  EXPECT_EQ(__KAFf90_lread_i(&v), 1006);
  __KAFf90_endiread();
}

TEST(LegacyLayer, InternalFiles) {
  char rec[24];
  ASSERT_EQ(__KAFf90_iwrites(rec, sizeof rec, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_lwrite_i(-42), 0);
  ASSERT_EQ(__KAFf90_lwrite_l(1), 0);
  ASSERT_EQ(__KAFf90_lwrite_ch("ok", 2), 0);
  ASSERT_EQ(__KAFf90_endiwrite(), 0);
  EXPECT_EQ(std::string(rec, sizeof rec), " -42 T ok" + std::string(15, ' '));
  std::int32_t i = 0, l = 0;
  char s[3];
  ASSERT_EQ(__KAFf90_ireads(rec, sizeof rec, nullptr, 0, 0, 0), 0);
  ASSERT_EQ(__KAFf90_lread_i(&i), 0);
  ASSERT_EQ(__KAFf90_lread_l(&l), 0);
  ASSERT_EQ(__KAFf90_lread_ch(s, 3), 0);
  ASSERT_EQ(__KAFf90_endiread(), 0);
  EXPECT_EQ(i, -42);
  EXPECT_EQ(l, 1);
  EXPECT_EQ(std::string(s, 3), "ok ");
  // An array of three 6-character records, written under a format.
  char recs[3][6];
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(recs), 6, 0, 3, 6, 1};
  static const char fmt[] = "(I6)";
  ASSERT_EQ(__KAFf90_iwritea(desc, 1, fmt, 4, 0), 0);
  for (int k = 1; k <= 3; ++k) ASSERT_EQ(__KAFf90_write_i(k * 11), 0);
  ASSERT_EQ(__KAFf90_endiwrite(), 0);
  EXPECT_EQ(std::string(&recs[0][0], 18), "    11    22    33");
  std::int32_t sum = 0, x = 0;
  ASSERT_EQ(__KAFf90_ireada(desc, 1, nullptr, 0, 0, 0), 0);
  for (int k = 0; k < 3; ++k) {
    ASSERT_EQ(__KAFf90_lread_i(&x), 0);
    sum += x;
  }
  ASSERT_EQ(__KAFf90_endiread(), 0);
  EXPECT_EQ(sum, 66);
}

TEST(LegacyLayer, BackspaceAndEndfile) {
  const std::string path = temp_path("pos");
  open_file(25, path);
  for (int k = 1; k <= 3; ++k) {
    ASSERT_EQ(__KAFf90_write(25, nullptr, 0, nullptr, 0, 0), 0);
    ASSERT_EQ(__KAFf90_lwrite_i(k), 0);
    ASSERT_EQ(__KAFf90_endwrite(), 0);
  }
  auto read_one = [](std::int32_t *v) {
    std::int32_t s = __KAFf90_read(25, nullptr, 0, nullptr, 0, nullptr, 5);
    if (s) return s;
    s = __KAFf90_lread_i(v);
    const std::int32_t e = __KAFf90_endread();
    return s ? s : e;
  };
  std::int32_t v = 0;
  // After writing: back over the last record and read it again.
  ASSERT_EQ(__KAFf90_backspace(25, 0), 0);
  ASSERT_EQ(read_one(&v), 0);
  EXPECT_EQ(v, 3);
  EXPECT_EQ(read_one(&v), -1);
  // After the end of file: back over the end only, which is met again.
  ASSERT_EQ(__KAFf90_backspacef(25, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(read_one(&v), -1);
  ASSERT_EQ(__KAFf90_backspace(25, 0), 0);
  ASSERT_EQ(__KAFf90_backspace(25, 0), 0);
  ASSERT_EQ(read_one(&v), 0);
  EXPECT_EQ(v, 3);
  ASSERT_EQ(__KAFf90_rewind(25, 0), 0);
  ASSERT_EQ(read_one(&v), 0);
  EXPECT_EQ(v, 1);
  // ENDFILE after the first record cuts the file there.
  ASSERT_EQ(__KAFf90_endfile(25, 0), 0);
  EXPECT_EQ(slurp(path), " 1\n");
  std::int32_t iostat = 0;
  EXPECT_EQ(__KAFf90_endfilef(25, &iostat, nullptr, 0, 4), 1073);
  EXPECT_EQ(iostat, 1073);
  EXPECT_EQ(read_one(&v), -1);
  ASSERT_EQ(__KAFf90_backspace(25, 0), 0);
  ASSERT_EQ(__KAFf90_backspace(25, 0), 0);
  ASSERT_EQ(read_one(&v), 0);
  EXPECT_EQ(v, 1);
  ASSERT_EQ(__KAFf90_flushf(25, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_waitf(25, nullptr, nullptr, nullptr, 0, 0), 0);
  const std::int32_t id = 3;
  EXPECT_EQ(__KAFf90_waitf(25, &id, &iostat, nullptr, 0, 4), 1133);
  EXPECT_EQ(__KAFf90_backspacef(6, &iostat, nullptr, 0, 4), 1049);
  ASSERT_EQ(__KAFf90_closef(25, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}

TEST(LegacyLayer, InquireByUnitAndFile) {
  const std::string path = temp_path("inq");
  static const char delim[] = "QUOTE";
  ASSERT_EQ(__KAFf90_openf(26, path.data(), path.size(), "REPLACE", 7, nullptr, 0, nullptr, 0, nullptr, "READWRITE",
                           9, nullptr, 0, "ZERO", 4, delim, 5, nullptr, 0, nullptr, 0),
            0);
  char access[12], form[12], blank[6], dlm[12], name[200], seq[4], direct[4], rw[4];
  std::int32_t exist = 0, opened = 0, named = 0, number = 0;
  std::int64_t recl = 0, nextrec = 77;
  ASSERT_EQ(__KAFf90_inquire_u(26, access, sizeof access, nullptr, 0, blank, sizeof blank, dlm, sizeof dlm, direct,
                               sizeof direct, &exist, form, sizeof form, nullptr, 0, &opened, name, sizeof name,
                               &named, &nextrec, &number, nullptr, 0, nullptr, 0, nullptr, 0, rw, sizeof rw, &recl,
                               seq, sizeof seq, nullptr, 0, nullptr, 0),
            0);
  EXPECT_EQ(std::string(access, sizeof access), "SEQUENTIAL  ");
  EXPECT_EQ(std::string(form, sizeof form), "FORMATTED   ");
  EXPECT_EQ(std::string(blank, sizeof blank), "ZERO  ");
  EXPECT_EQ(std::string(dlm, sizeof dlm), "QUOTE       ");
  EXPECT_EQ(std::string(direct, 4), "NO  ");
  EXPECT_EQ(std::string(seq, 4), "YES ");
  EXPECT_EQ(std::string(rw, 4), "YES ");
  EXPECT_EQ(std::string(name, path.size()), path);
  EXPECT_EQ(exist, 1);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(named, 1);
  EXPECT_EQ(number, 26);
  EXPECT_EQ(recl, 1073741824);
  EXPECT_EQ(nextrec, 77);
  // By file while connected, under another spelling of the same name.
  {
    const std::size_t slash = path.rfind('/');
    const std::string other = path.substr(0, slash) + "/./" + path.substr(slash + 1);
    std::int32_t fopened = 0, fnumber = 0, fexists = 0;
    char faccess[12];
    ASSERT_EQ(__KAFf90_inquire_f(other.data(), other.size(), faccess, sizeof faccess, nullptr, 0, nullptr, 0,
                                 nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, &fopened, nullptr, nullptr,
                                 &fnumber, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0,
                                 nullptr, 0, nullptr, 0, &fexists, nullptr, 0),
              0);
    EXPECT_EQ(fopened, 1);
    EXPECT_EQ(fnumber, 26);
    EXPECT_EQ(fexists, 1);
    EXPECT_EQ(std::string(faccess, sizeof faccess), "SEQUENTIAL  ");
  }
  // DELIM='QUOTE' reaches list-directed output.
  ASSERT_EQ(__KAFf90_write(26, nullptr, 0, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_lwrite_ch("a\"b", 3), 0);
  ASSERT_EQ(__KAFf90_endwrite(), 0);
  ASSERT_EQ(__KAFf90_close(26, 0), 0);
  EXPECT_EQ(slurp(path), " \"a\"\"b\"\n");
  // By file, after the close; and a unit that is not connected.
  std::int32_t fexist = 0;
  char fname[300];
  std::memset(fname, 0, sizeof fname);
  ASSERT_EQ(__KAFf90_inquire_f(path.data(), path.size(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                               nullptr, 0, nullptr, 0, &opened, &named, nullptr, nullptr, nullptr, 0, nullptr, 0,
                               nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, &fexist, fname,
                               sizeof fname),
            0);
  EXPECT_EQ(fexist, 1);
  EXPECT_EQ(opened, 0);
  EXPECT_EQ(std::string(fname, path.size()), path);
  EXPECT_EQ(fname[path.size()], ' ');
  ASSERT_EQ(__KAFf90_inquire_u(26, access, sizeof access, nullptr, 0, nullptr, 0, nullptr, 0, direct, sizeof direct,
                               nullptr, nullptr, 0, nullptr, 0, &opened, nullptr, 0, nullptr, nullptr, &number,
                               nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, &recl, nullptr, 0, nullptr, 0, nullptr,
                               0),
            0);
  EXPECT_EQ(std::string(access, 9), "UNDEFINED");
  EXPECT_EQ(std::string(direct, 4), "UNKN");
  EXPECT_EQ(opened, 0);
  EXPECT_EQ(number, -1);
  EXPECT_EQ(recl, -1);
  unlink(path.c_str());
}

TEST(LegacyLayer, CidataMatch) {
  static constexpr struct {
    const char *value;
    std::size_t len;
    const char *keyword;
    std::int32_t want;
  } rows[] = {
      {"yes  ", 5, "YES", 1}, {"YESNO", 5, "YES", 0}, {"YE", 2, "YES", 0}, {"YES", 3, "YES", 1},
      {"yEs", 3, "YES", 1},   {"YES x", 5, "YES", 0}, {" YES", 4, "YES", 0}, {"apPend", 6, "APPEND", 1},
      {"\xE9", 1, "\xE9", 1},  {"", 0, "", 1},
  };
  for (const auto &r : rows) EXPECT_EQ(__KAFf90_cidata_match(r.value, r.len, r.keyword), r.want) << r.value;
}

TEST(LegacyLayer, ListOutputRecordWidthIsTheConnectionsNotTheBuffers) {
  // 100,000 values in one statement cross the engine's write buffer many
  // times; every full record is laid out at the same width (1024 columns,
  // or RECL=), never cut short where the buffer happens to end.
  for (std::int32_t recl : {0, 300}) {
    const std::string path = temp_path("width");
    ASSERT_EQ(__KAFf90_open(27, path.data(), path.size(), "REPLACE", 7, nullptr, 0, nullptr, 0,
                            recl ? &recl : nullptr, 0),
              0);
    ASSERT_EQ(__KAFf90_write(27, nullptr, 0, nullptr, 0, 0), 0);
    for (int k = 0; k < 100000; ++k) ASSERT_EQ(__KAFf90_lwrite_d(1000.0 + k), 0);  // 25 columns each
    ASSERT_EQ(__KAFf90_endwrite(), 0);
    ASSERT_EQ(__KAFf90_close(27, 0), 0);
    const std::string text = slurp(path);
    unlink(path.c_str());
    const std::size_t width = recl ? static_cast<std::size_t>(recl) : 1024;
    std::size_t start = 0, records = 0, first_len = 0;
    while (start < text.size()) {
      const std::size_t nl = text.find('\n', start);
      ASSERT_NE(nl, std::string::npos);
      const std::size_t len = nl - start;
      if (nl + 1 < text.size()) {  // every record but the last
        if (records == 0) first_len = len;
        ASSERT_EQ(len, first_len) << "record " << records;
        ASSERT_LT(len, width);
        ASSERT_GE(len + 25 + 1, width);  // the next 25-column value would reach the last column
      }
      ++records;
      start = nl + 1;
    }
    EXPECT_GT(records, 1000u / (recl ? 1 : 4));
  }
}

TEST(ListDirectedOnUnits, ModesOfTheConnection) {
  // DECIMAL=, SIGN= and DELIM= of OPEN reach list-directed output, and
  // DECIMAL= list-directed input, through the engine's unit record.
  const std::string path = temp_path("modes");
  kaf_open_spec specifiers;
  std::memset(&specifiers, 0, sizeof specifiers);
  specifiers.file = path.data();
  specifiers.file_len = path.size();
  specifiers.status = "REPLACE";
  specifiers.status_len = 7;
  specifiers.decimal = "COMMA";
  specifiers.decimal_len = 5;
  specifiers.sign = "PLUS";
  specifiers.sign_len = 4;
  specifiers.delim = "APOSTROPHE";
  specifiers.delim_len = 10;
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 28, &specifiers), 0);
  kaf_ioctx_space space;
  kaf_ioctx *c = reinterpret_cast<kaf_ioctx *>(&space);
  ASSERT_EQ(__KAFf90_write_seq(c, nullptr, 0, 28, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_init_loutput(c), 0u);
  ASSERT_EQ(__KAFf90_lio_write_d(c, 1.5), 0);
  ASSERT_EQ(__KAFf90_lio_write_i(c, 7), 0);
  ASSERT_EQ(__KAFf90_lio_write_ch(c, "a'b", 3), 0);
  ASSERT_EQ(__KAFf90_lio_write_c(c, 1.0f, -2.0f), 0);
  ASSERT_EQ(__KAFf90_end_write_sequential(c), 0);
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 28, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path), "  +1,5000000000000000 +7 'a''b' ( +1,0000000; -2,0000000)\n");
  double d = 0;
  std::int32_t i = 0;
  char s[3];
  float z[2] = {0, 0};
  ASSERT_EQ(__KAFf90_read_seq4(c, nullptr, 0, 28, nullptr, nullptr, 0, 0), 0);
  __KAFf90_init_linput(c);
  ASSERT_EQ(__KAFf90_lio_read_d(c, &d), 0);
  ASSERT_EQ(__KAFf90_lio_read_i(c, &i), 0);
  ASSERT_EQ(__KAFf90_lio_read_ch(c, s, 3), 0);
  ASSERT_EQ(__KAFf90_lio_read_c(c, z), 0);
  __KAFf90_lio_end_input(c);
  ASSERT_EQ(__KAFf90_end_read_sequential(c), 0);
  EXPECT_EQ(d, 1.5);
  EXPECT_EQ(i, 7);
  EXPECT_EQ(std::string(s, 3), "a'b");
  EXPECT_EQ(z[0], 1.0f);
  EXPECT_EQ(z[1], -2.0f);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 28, "DELETE", 6, nullptr, nullptr, 0, 0), 0);
}
