// Formatted stream access (records ended by newlines, POS= on READ and
// WRITE, INQUIRE POS= and SIZE=, BACKSPACE/REWIND/ENDFILE, the errors),
// GNU Fortran as the oracle in both directions, and INQUIRE NEXTREC= of
// direct-access connections.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "kafrts.h"
#include "support/child.h"

namespace {

std::string temp_name(const char *tag) { return "/tmp/kaf_stream_" + std::to_string(getpid()) + "_" + tag; }

std::string file_text(const std::string &name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

void put_file(const std::string &name, const std::string &text) {
  std::ofstream(name, std::ios::binary) << text;
}

std::string trimmed(const char *p, std::size_t n) {
  std::string s(p, n);
  return s.substr(0, s.find_last_not_of(' ') + 1);
}

struct stmt {
  kaf_ioctx_space space;
  kaf_ioctx *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  char iomsg[120];
  std::string message() const { return trimmed(iomsg, sizeof iomsg); }
};

#define SET(rec, field, text) ((rec).field = (text), (rec).field##_len = std::strlen(text))

// OPEN with IOSTAT=; returns the IOSTAT= value.
std::int32_t open_unit(std::int64_t unit, const std::string &name, const char *status, const char *access = "STREAM",
                       const char *form = "FORMATTED", const std::int64_t *recl = nullptr) {
  kaf_open_spec s{};
  std::int32_t iostat = 0;
  SET(s, file, name.c_str());
  SET(s, status, status);
  if (access) SET(s, access, access);
  if (form) SET(s, form, form);
  s.recl = recl;
  s.iostat = &iostat;
  s.flags = KAF_IO_ERR;
  __KAFf90_openf4x(nullptr, 0, unit, &s);
  return iostat;
}

void close_unit(std::int64_t unit) { __KAFf90_close4(nullptr, 0, unit, nullptr, 0, nullptr, nullptr, 0, 0); }

constexpr std::int64_t kNoPos = 0;

// A formatted stream WRITE of one CHARACTER item; pos 0: no POS=.
std::int32_t write_text(std::int64_t unit, const std::string &text, std::int64_t pos = kNoPos, bool advance = true) {
  stmt st;
  const std::int64_t p = pos;
  if (std::int32_t s = __KAFf90_write_stream_fmt4(st.ctx, nullptr, 0, unit, pos ? &p : nullptr, &st.iostat, st.iomsg,
                                                   sizeof st.iomsg, KAF_IO_ERR))
    return s;
  if (!advance) __KAFf90_set_ioctx_advance(st.ctx, "NO", 2);
  __KAFf90_establish_format(st.ctx, "(A)", -1, 2);
  if (std::uint64_t s = __KAFf90_fmt_write_ch(st.ctx, text.data(), text.size())) return static_cast<std::int32_t>(s);
  return __KAFf90_end_write_sequential(st.ctx);
}

// A formatted stream READ of one record with (A) into 400 characters
// (trailing blanks dropped); pos 0: no POS=. Returns the IOSTAT= value.
std::int32_t read_text(std::int64_t unit, std::string *text, std::int64_t pos = kNoPos, std::string *message = nullptr) {
  stmt st;
  char line[400];
  const std::int64_t p = pos;
  std::int32_t s = __KAFf90_read_stream_fmt4(st.ctx, nullptr, 0, unit, pos ? &p : nullptr, &st.iostat, st.iomsg,
                                             sizeof st.iomsg, KAF_IO_ERR | KAF_IO_END);
  if (s == 0) {
    __KAFf90_establish_format(st.ctx, "(A)", -1, 1);
    s = static_cast<std::int32_t>(__KAFf90_fmt_read_ch(st.ctx, line, sizeof line));
    if (s == 0) s = __KAFf90_end_read_sequential(st.ctx);
  }
  if (s == 0) *text = trimmed(line, sizeof line);
  if (message) *message = s ? st.message() : "";
  return s;
}

// INQUIRE by unit of one 64-bit specifier (POS=, SIZE=, NEXTREC=); the
// variable starts as sentinel, which an undefined result leaves.
std::int64_t inquire64(std::int64_t unit, int which, std::int64_t sentinel = -999) {
  kaf_inquiry q;
  std::int64_t v = sentinel;
  __KAFf90_inquire_unit(&q, unit, nullptr, nullptr, 0);
  __KAFf90_inquire_query(&q, which, &v, sizeof v);
  __KAFf90_end_inquire(&q);
  return v;
}

std::int64_t inquire_file64(const std::string &name, int which, std::int64_t sentinel = -999) {
  kaf_inquiry q;
  std::int64_t v = sentinel;
  __KAFf90_inquire_file(&q, name.c_str(), name.size(), nullptr, nullptr, 0, nullptr, nullptr, 0);
  __KAFf90_inquire_query(&q, which, &v, sizeof v);
  __KAFf90_end_inquire(&q);
  return v;
}

TEST(FormattedStream, RecordsEndWithNewlinesAndPositionsCountBytes) {
  const std::string name = temp_name("records");
  ASSERT_EQ(open_unit(30, name, "REPLACE"), 0);
  EXPECT_EQ(inquire64(30, KAF_INQ_POS), 1);
  EXPECT_EQ(inquire64(30, KAF_INQ_SIZE), 0);
  ASSERT_EQ(write_text(30, "hello"), 0);
  EXPECT_EQ(inquire64(30, KAF_INQ_POS), 7);
  EXPECT_EQ(inquire64(30, KAF_INQ_SIZE), 6);  // counts what is still buffered
  // The sequential begin calls go on from the current position too.
  stmt st;
  ASSERT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 30, nullptr, nullptr, 0, 0), 0);
  __KAFf90_establish_format(st.ctx, "(I5,F8.3)", -1, 2);
  __KAFf90_fmt_write_i(st.ctx, 42);
  __KAFf90_fmt_write_d(st.ctx, 2.5);
  ASSERT_EQ(__KAFf90_end_write_sequential(st.ctx), 0);
  ASSERT_EQ(__KAFf90_write_seq(st.ctx, nullptr, 0, 30, nullptr, nullptr, 0, 0), 0);
  __KAFf90_init_loutput(st.ctx);
  __KAFf90_lio_write_i(st.ctx, -7);
  __KAFf90_lio_write_ch(st.ctx, "ab", 2);
  ASSERT_EQ(__KAFf90_end_write_sequential(st.ctx), 0);
  EXPECT_EQ(inquire64(30, KAF_INQ_POS), 28);
  close_unit(30);
  EXPECT_EQ(file_text(name), "hello\n   42   2.500\n -7 ab\n");
  EXPECT_EQ(inquire_file64(name, KAF_INQ_SIZE), 27);

  ASSERT_EQ(open_unit(31, name, "OLD"), 0);
  std::string text;
  std::int32_t i = 0;
  double d = 0;
  ASSERT_EQ(read_text(31, &text), 0);
  EXPECT_EQ(text, "hello");
  EXPECT_EQ(inquire64(31, KAF_INQ_POS), 7);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  __KAFf90_establish_format(st.ctx, "(I5,F8.3)", -1, 1);
  __KAFf90_fmt_read_i(st.ctx, &i);
  __KAFf90_fmt_read_d(st.ctx, &d);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(i, 42);
  EXPECT_EQ(d, 2.5);
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 31, nullptr, nullptr, 0, 0), 0);
  __KAFf90_init_linput(st.ctx);
  __KAFf90_lio_read_i(st.ctx, &i);
  __KAFf90_lio_end_input(st.ctx);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(i, -7);
  EXPECT_EQ(inquire64(31, KAF_INQ_POS), 28);
  std::string message;
  EXPECT_EQ(read_text(31, &text, kNoPos, &message), -1);
  EXPECT_EQ(message, "End of file on unit 31");
  EXPECT_EQ(inquire64(31, KAF_INQ_POS), 28);
  close_unit(31);
  // POSITION='APPEND' starts after the last byte.
  kaf_open_spec append{};
  SET(append, file, name.c_str());
  SET(append, access, "STREAM");
  SET(append, form, "FORMATTED");
  SET(append, position, "APPEND");
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 30, &append), 0);
  EXPECT_EQ(inquire64(30, KAF_INQ_POS), 28);
  ASSERT_EQ(write_text(30, "more"), 0);
  close_unit(30);
  EXPECT_EQ(file_text(name), "hello\n   42   2.500\n -7 ab\nmore\n");
  std::remove(name.c_str());
}

TEST(FormattedStream, PosOnReadAndWrite) {
  const std::string name = temp_name("pos");
  put_file(name, "hello\nworld\n   42\n");
  ASSERT_EQ(open_unit(32, name, "OLD"), 0);
  std::string text;
  // A READ at POS= takes the rest of the record that holds that byte.
  ASSERT_EQ(read_text(32, &text, 3), 0);
  EXPECT_EQ(text, "llo");
  EXPECT_EQ(inquire64(32, KAF_INQ_POS), 7);
  ASSERT_EQ(read_text(32, &text, 13), 0);
  EXPECT_EQ(text, "   42");
  ASSERT_EQ(read_text(32, &text, 1), 0);
  EXPECT_EQ(text, "hello");
  ASSERT_EQ(read_text(32, &text), 0);
  EXPECT_EQ(text, "world");
  // Past the end of the file: the end-of-file condition.
  std::string message;
  EXPECT_EQ(read_text(32, &text, 30, &message), -1);
  EXPECT_EQ(message, "End of file on unit 32");
  // A WRITE at POS= ends the file after what it wrote.
  ASSERT_EQ(write_text(32, "WOR", 7), 0);
  EXPECT_EQ(inquire64(32, KAF_INQ_POS), 11);
  EXPECT_EQ(inquire64(32, KAF_INQ_SIZE), 10);
  ASSERT_EQ(read_text(32, &text, 7), 0);
  EXPECT_EQ(text, "WOR");
  // Beyond the end: the gap reads as NUL bytes.
  ASSERT_EQ(write_text(32, "far", 14), 0);
  EXPECT_EQ(inquire64(32, KAF_INQ_SIZE), 17);
  close_unit(32);
  EXPECT_EQ(file_text(name), std::string("hello\nWOR\n\0\0\0far\n", 17));
  std::remove(name.c_str());
}

TEST(FormattedStream, NewlineInDataStartsARecord) {
  const std::string name = temp_name("newline");
  ASSERT_EQ(open_unit(33, name, "REPLACE"), 0);
  ASSERT_EQ(write_text(33, "ab\ncd"), 0);
  ASSERT_EQ(write_text(33, "\n"), 0);  // an empty record, then another
  EXPECT_EQ(inquire64(33, KAF_INQ_POS), 9);
  ASSERT_EQ(write_text(33, "ef", 1), 0);  // over the first record, the rest cut
  ASSERT_EQ(write_text(33, "x\ny\nz", kNoPos, false), 0);
  close_unit(33);  // the record a non-advancing WRITE left open ends here
  EXPECT_EQ(file_text(name), "ef\nx\ny\nz\n");
  ASSERT_EQ(open_unit(33, name, "OLD"), 0);
  std::string text;
  const char *want[] = {"ef", "x", "y", "z"};
  for (const char *w : want) {
    ASSERT_EQ(read_text(33, &text), 0) << w;
    EXPECT_EQ(text, w);
  }
  close_unit(33);
  std::remove(name.c_str());
}

TEST(FormattedStream, NonAdvancingTransfersKeepThePosition) {
  const std::string name = temp_name("nonadv");
  ASSERT_EQ(open_unit(34, name, "REPLACE"), 0);
  ASSERT_EQ(write_text(34, "0123456789"), 0);
  ASSERT_EQ(write_text(34, "ab", kNoPos, false), 0);
  EXPECT_EQ(inquire64(34, KAF_INQ_POS), 14);
  EXPECT_EQ(inquire64(34, KAF_INQ_SIZE), 13);
  ASSERT_EQ(write_text(34, "cd", kNoPos, false), 0);
  ASSERT_EQ(write_text(34, "ef"), 0);
  EXPECT_EQ(inquire64(34, KAF_INQ_POS), 19);
  close_unit(34);
  EXPECT_EQ(file_text(name), "0123456789\nabcdef\n");

  ASSERT_EQ(open_unit(34, name, "OLD"), 0);
  stmt st;
  char part[3];
  std::int64_t size = -1;
  const std::int64_t pos = 12;
  ASSERT_EQ(__KAFf90_read_stream_fmt4(st.ctx, nullptr, 0, 34, &pos, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_set_ioctx_advance(st.ctx, "NO", 2), 0);
  ASSERT_EQ(__KAFf90_set_ioctx_size(st.ctx, &size), 0);
  __KAFf90_establish_format(st.ctx, "(A3)", -1, 1);
  ASSERT_EQ(__KAFf90_fmt_read_ch(st.ctx, part, 3), 0u);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(std::string(part, 3), "abc");
  EXPECT_EQ(size, 3);
  // Within the record: the position is the next byte of it.
  EXPECT_EQ(inquire64(34, KAF_INQ_POS), 15);
  // A WRITE goes on from there and the file ends after it.
  ASSERT_EQ(write_text(34, "XY"), 0);
  EXPECT_EQ(inquire64(34, KAF_INQ_POS), 18);
  close_unit(34);
  EXPECT_EQ(file_text(name), "0123456789\nabcXY\n");
  std::remove(name.c_str());
}

TEST(FormattedStream, BackspaceRewindAndEndfile) {
  const std::string name = temp_name("positioning");
  put_file(name, "one\ntwo\nthree\n");
  ASSERT_EQ(open_unit(35, name, "OLD"), 0);
  std::string text;
  ASSERT_EQ(read_text(35, &text), 0);
  ASSERT_EQ(read_text(35, &text), 0);
  EXPECT_EQ(text, "two");
  ASSERT_EQ(__KAFf90_backspace4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_POS), 5);
  ASSERT_EQ(read_text(35, &text), 0);
  EXPECT_EQ(text, "two");
  // Within a record that a non-advancing READ left: back to its start.
  stmt st;
  char c = 0;
  ASSERT_EQ(__KAFf90_read_seq4(st.ctx, nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  __KAFf90_set_ioctx_advance(st.ctx, "NO", 2);
  __KAFf90_establish_format(st.ctx, "(A1)", -1, 1);
  __KAFf90_fmt_read_ch(st.ctx, &c, 1);
  ASSERT_EQ(__KAFf90_end_read_sequential(st.ctx), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_POS), 10);
  ASSERT_EQ(__KAFf90_backspace4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_POS), 9);
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_POS), 1);
  ASSERT_EQ(read_text(35, &text), 0);
  EXPECT_EQ(text, "one");
  // ENDFILE: the file ends at the current position; a WRITE goes on there.
  ASSERT_EQ(__KAFf90_endfile4(nullptr, 0, 35, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_SIZE), 4);
  std::string message;
  EXPECT_EQ(read_text(35, &text, kNoPos, &message), -1);
  ASSERT_EQ(write_text(35, "four"), 0);
  EXPECT_EQ(inquire64(35, KAF_INQ_POS), 10);
  close_unit(35);
  EXPECT_EQ(file_text(name), "one\nfour\n");
  std::remove(name.c_str());
}

// Each misuse with its IOSTAT= value and IOMSG= text.
TEST(FormattedStream, Errors) {
  const std::string seq = temp_name("err_seq"), unf = temp_name("err_unf"), fmt = temp_name("err_fmt");
  ASSERT_EQ(open_unit(36, seq, "REPLACE", "SEQUENTIAL"), 0);
  ASSERT_EQ(open_unit(37, unf, "REPLACE", "STREAM", "UNFORMATTED"), 0);
  ASSERT_EQ(open_unit(38, fmt, "REPLACE"), 0);
  const std::int64_t recl = 8;
  EXPECT_EQ(open_unit(39, fmt, "REPLACE", "STREAM", "FORMATTED", &recl), 1118);
  struct row {
    bool input;
    std::int64_t unit, pos;
    std::int32_t code;
    const char *message;
  } rows[] = {
      {true, 36, 1, 1128, "POS= specifier but unit 36 is not open for STREAM i/o"},
      {false, 36, 1, 1128, "POS= specifier but unit 36 is not open for STREAM i/o"},
      {true, 38, 0, 1129, "Invalid value for POS= specifier"},
      {false, 38, -5, 1129, "Invalid value for POS= specifier"},
      {true, 37, 1, 1052, "Unit 37 is not connected for FORMATTED i/o"},
      {false, 40, 1, 1048, "Unit 40 is not connected"},
  };
  for (const row &r : rows) {
    stmt st;
    const std::int32_t s =
        r.input ? __KAFf90_read_stream_fmt4(st.ctx, nullptr, 0, r.unit, &r.pos, &st.iostat, st.iomsg, sizeof st.iomsg,
                                            KAF_IO_ERR)
                : __KAFf90_write_stream_fmt4(st.ctx, nullptr, 0, r.unit, &r.pos, &st.iostat, st.iomsg,
                                             sizeof st.iomsg, KAF_IO_ERR);
    EXPECT_EQ(s, r.code) << r.message;
    EXPECT_EQ(st.iostat, r.code) << r.message;
    EXPECT_EQ(st.message(), r.message);
  }
  // A stream connected to a pipe cannot be positioned.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const std::string pipe_name = "/dev/fd/" + std::to_string(fds[1]);
  ASSERT_EQ(open_unit(39, pipe_name, "OLD"), 0);
  {
    stmt st;
    const std::int64_t pos = 3;
    EXPECT_EQ(__KAFf90_write_stream_fmt4(st.ctx, nullptr, 0, 39, &pos, &st.iostat, st.iomsg, sizeof st.iomsg,
                                         KAF_IO_ERR),
              1129);
    EXPECT_EQ(st.message(), "Invalid value for POS= specifier");
    EXPECT_EQ(inquire64(39, KAF_INQ_SIZE), -1);
  }
  ASSERT_EQ(write_text(39, "through"), 0);
  close_unit(39);
  close(fds[1]);
  char got[16] = {};
  EXPECT_EQ(read(fds[0], got, sizeof got), 8);
  EXPECT_STREQ(got, "through\n");
  close(fds[0]);
  // The unformatted stream entries refuse a formatted stream unit.
  stmt st;
  EXPECT_EQ(__KAFf90_read_stream4(st.ctx, nullptr, 0, 38, nullptr, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR),
            1054);
  EXPECT_EQ(st.message(), "Unit 38 is not connected for UNFORMATTED i/o");
  // After an error the unit is free for the next statement.
  ASSERT_EQ(write_text(38, "ok"), 0);
  close_unit(36);
  close_unit(37);
  close_unit(38);
  EXPECT_EQ(file_text(fmt), "ok\n");
  std::remove(seq.c_str());
  std::remove(unf.c_str());
  std::remove(fmt.c_str());
}

TEST(FormattedStream, BadPosWithoutIostatEndsTheProgram) {
  const std::string name = temp_name("fatal");
  const auto r = kaftest::run_in_child([&] {
    open_unit(41, name, "REPLACE");
    stmt st;
    const std::int64_t pos = 0;
    __KAFf90_write_stream_fmt4(st.ctx, "prog.f90", 12, 41, &pos, nullptr, nullptr, 0, 0);
  });
  std::remove(name.c_str());
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.err, "Runtime Error: prog.f90, line 12: Invalid value for POS= specifier\n"
                   "Program terminated by I/O error on unit 41 (File=\"" + name + "\",Formatted,Stream)\n"
                   "Program terminated by fatal error\n");
}

TEST(FormattedStream, InquirePosAndSizeElsewhere) {
  const std::string seq = temp_name("inq_seq"), unf = temp_name("inq_unf"), missing = temp_name("inq_missing");
  std::remove(missing.c_str());
  ASSERT_EQ(open_unit(42, seq, "REPLACE", "SEQUENTIAL"), 0);
  // Without POS= the stream entries are the sequential ones.
  ASSERT_EQ(write_text(42, "abc"), 0);
  EXPECT_EQ(inquire64(42, KAF_INQ_POS), -999);  // undefined: not stream access
  EXPECT_EQ(inquire64(42, KAF_INQ_SIZE), 4);
  EXPECT_EQ(inquire64(42, KAF_INQ_NEXTREC), -999);
  // Unformatted stream: the position after the bytes written.
  stmt st;
  ASSERT_EQ(open_unit(43, unf, "REPLACE", "STREAM", "UNFORMATTED"), 0);
  const double v[2] = {1.0, 2.0};
  ASSERT_EQ(__KAFf90_write_stream4(st.ctx, nullptr, 0, 43, nullptr, nullptr, nullptr, 0, 0), 0);
  __KAFf90_write_unf2_block(st.ctx, v, sizeof v, 0);
  ASSERT_EQ(__KAFf90_end_stream(st.ctx), 0);
  EXPECT_EQ(inquire64(43, KAF_INQ_POS), 17);
  EXPECT_EQ(inquire64(43, KAF_INQ_SIZE), 16);
  // Unconnected: POS= undefined, SIZE= of the file, -1 without one.
  EXPECT_EQ(inquire64(44, KAF_INQ_POS), -999);
  EXPECT_EQ(inquire64(44, KAF_INQ_SIZE), -1);
  EXPECT_EQ(inquire_file64(missing, KAF_INQ_SIZE), -1);
  close_unit(42);
  close_unit(43);
  EXPECT_EQ(inquire_file64(unf, KAF_INQ_SIZE), 16);
  EXPECT_EQ(inquire_file64(unf, KAF_INQ_POS), -999);
  std::remove(seq.c_str());
  std::remove(unf.c_str());
}

// ---- GNU Fortran as the oracle ----------------------------------------------

#ifdef KAF_STREAM_ORACLE

// The generator and the statement sequence of stream_oracle.f90.
struct generator {
  std::int64_t x;
  std::int64_t next() {
    x = (x * 1103515245 + 12345) % 2147483648;
    return x / 8;
  }
  std::string letters(std::int64_t n) {
    const std::int64_t r = next() % 26;
    std::string s;
    for (std::int64_t j = 1; j <= n; ++j) s += static_cast<char>('a' + (j * 7 + r) % 26);
    return s;
  }
};

// Writes the sequence of seed through the engine; returns the positions
// after each statement and the size, one a line, as the oracle prints them.
std::string generate(const std::string &name, std::int64_t seed) {
  generator g{seed};
  std::string out;
  EXPECT_EQ(open_unit(45, name, "REPLACE"), 0);
  for (int step = 1; step <= 120; ++step) {
    const std::int64_t kind = g.next() % 6;
    stmt st;
    switch (kind) {
    case 0:
    case 3: {
      const auto v = static_cast<std::int32_t>(g.next() % 100000 - 50000);
      __KAFf90_write_stream_fmt4(st.ctx, nullptr, 0, 45, nullptr, nullptr, nullptr, 0, 0);
      __KAFf90_establish_format(st.ctx, kind == 0 ? "(I0)" : "(I6,F10.3)", -1, 2);
      __KAFf90_fmt_write_i(st.ctx, v);
      if (kind == 3) __KAFf90_fmt_write_d(st.ctx, static_cast<double>(v) / 7);
      EXPECT_EQ(__KAFf90_end_write_sequential(st.ctx), 0);
      break;
    }
    case 1: {
      const std::int64_t n = g.next() % 30;
      EXPECT_EQ(write_text(45, g.letters(n)), 0);
      break;
    }
    case 2: {
      const std::int64_t n = g.next() % 5 + 1;
      EXPECT_EQ(write_text(45, g.letters(n), kNoPos, false), 0);
      break;
    }
    case 4: {
      const std::int64_t n = g.next() % 20;
      const std::int64_t p = std::max<std::int64_t>(1, inquire64(45, KAF_INQ_POS) - n);
      EXPECT_EQ(write_text(45, "X", p), 0);
      break;
    }
    default: {
      const std::string t = g.letters(g.next() % 8 + 1);
      EXPECT_EQ(write_text(45, t + "\n" + t), 0);
      break;
    }
    }
    out += std::to_string(inquire64(45, KAF_INQ_POS)) + "\n";
  }
  EXPECT_EQ(write_text(45, "end"), 0);
  out += std::to_string(inquire64(45, KAF_INQ_POS)) + "\n";
  out += std::to_string(inquire64(45, KAF_INQ_SIZE)) + "\n";
  close_unit(45);
  return out;
}

// Reads name as the oracle's dump does.
std::string dump(const std::string &name) {
  std::string out, text;
  EXPECT_EQ(open_unit(46, name, "OLD"), 0);
  for (;;) {
    const std::int64_t p = inquire64(46, KAF_INQ_POS);
    if (read_text(46, &text) != 0) break;
    out += std::to_string(p) + " " + text + "\n";
  }
  const std::int64_t size = inquire64(46, KAF_INQ_SIZE);
  for (std::int64_t p = 1; p <= size; p += 7) {
    if (read_text(46, &text, p) != 0) break;
    out += std::to_string(p) + " " + text + "\n";
  }
  close_unit(46);
  return out;
}

std::string run_oracle(const std::string &args) {
  std::string out;
  std::FILE *p = popen((std::string(KAF_STREAM_ORACLE) + " " + args).c_str(), "r");
  if (!p) return out;
  char buf[4096];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  pclose(p);
  return out;
}

TEST(FormattedStreamOracle, WritesTheSameBytesAndPositions) {
  const std::string ours = temp_name("gen_ours"), theirs = temp_name("gen_theirs");
  for (std::int64_t seed = 1; seed <= 40; ++seed) {
    const std::string want = run_oracle("gen " + theirs + " " + std::to_string(seed));
    ASSERT_FALSE(want.empty());
    EXPECT_EQ(generate(ours, seed), want) << "seed " << seed;
    EXPECT_EQ(file_text(ours), file_text(theirs)) << "seed " << seed;
  }
  std::remove(ours.c_str());
  std::remove(theirs.c_str());
}

TEST(FormattedStreamOracle, ReadsWhatTheOtherWrote) {
  const std::string ours = temp_name("dump_ours"), theirs = temp_name("dump_theirs");
  for (std::int64_t seed = 100; seed <= 120; ++seed) {
    run_oracle("gen " + theirs + " " + std::to_string(seed));
    generate(ours, seed + 1000);
    // gfortran reads our file as we do, and we read its file as it does.
    EXPECT_EQ(dump(ours), run_oracle("dump " + ours)) << "seed " << seed;
    EXPECT_EQ(dump(theirs), run_oracle("dump " + theirs)) << "seed " << seed;
  }
  std::remove(ours.c_str());
  std::remove(theirs.c_str());
}

#endif

// ---- NEXTREC= ---------------------------------------------------------------

TEST(Nextrec, DirectAccessCountsRecords) {
  const std::string name = temp_name("direct");
  const std::int64_t recl = 6;
  ASSERT_EQ(open_unit(47, name, "REPLACE", "DIRECT", "FORMATTED", &recl), 0);
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 1);
  auto write_rec = [](std::int64_t rec, const char *fmt, std::initializer_list<int> values) {
    stmt st;
    ASSERT_EQ(__KAFf90_write_direct_fmt4(st.ctx, nullptr, 0, 47, rec, nullptr, nullptr, 0, 0), 0);
    __KAFf90_establish_format(st.ctx, fmt, -1, 2);
    for (int v : values) __KAFf90_fmt_write_i(st.ctx, v);
    ASSERT_EQ(__KAFf90_end_write_direct_fmt(st.ctx), 0);
  };
  auto read_rec = [](std::int64_t rec, const char *fmt, int count) {
    stmt st;
    std::vector<int> v(static_cast<std::size_t>(count));
    EXPECT_EQ(__KAFf90_read_direct_fmt4(st.ctx, nullptr, 0, 47, rec, nullptr, nullptr, 0, 0), 0);
    __KAFf90_establish_format(st.ctx, fmt, -1, 1);
    for (int &x : v) __KAFf90_fmt_read_i(st.ctx, &x);
    EXPECT_EQ(__KAFf90_end_read_direct_fmt(st.ctx), 0);
    return v;
  };
  write_rec(3, "(I6)", {33});
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 4);
  write_rec(5, "(I6/I6)", {5, 6});  // the slash moves on to record 6
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 7);
  EXPECT_EQ(read_rec(3, "(I6)", 1), std::vector<int>{33});
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 4);
  EXPECT_EQ(read_rec(5, "(I6/I6)", 2), (std::vector<int>{5, 6}));
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 7);
  EXPECT_EQ(inquire_file64(name, KAF_INQ_NEXTREC), 7);
  // The legacy INQUIRE entries store it as 64 bits.
  std::int64_t wide = -1;
  std::int32_t opened = 0;
  __KAFf90_inquire_u(47, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0,
                     &opened, nullptr, 0, nullptr, &wide, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                     nullptr, nullptr, 0, nullptr, 0, nullptr, 0);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(wide, 7);
  wide = -1;
  __KAFf90_inquire_f(name.c_str(), name.size(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                     nullptr, 0, nullptr, nullptr, &wide, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                     nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0);
  EXPECT_EQ(wide, 7);
  // An error leaves the position, and NEXTREC=, undefined.
  stmt st;
  EXPECT_EQ(__KAFf90_read_direct_fmt4(st.ctx, nullptr, 0, 47, 0, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR),
            1080);
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), -999);
  write_rec(1, "(I6)", {1});
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), 2);
  close_unit(47);
  EXPECT_EQ(inquire64(47, KAF_INQ_NEXTREC), -999);  // unconnected
  // Unformatted direct access the same way.
  const std::int64_t recl8 = 8;
  ASSERT_EQ(open_unit(48, name, "REPLACE", "DIRECT", "UNFORMATTED", &recl8), 0);
  EXPECT_EQ(inquire64(48, KAF_INQ_NEXTREC), 1);
  const double v = 1.5;
  ASSERT_EQ(__KAFf90_write_direct_unf4(st.ctx, nullptr, 0, 48, 9, nullptr, nullptr, 0, 0), 0);
  __KAFf90_write_unf2_block(st.ctx, &v, sizeof v, 0);
  ASSERT_EQ(__KAFf90_end_write_direct_unf(st.ctx), 0);
  EXPECT_EQ(inquire64(48, KAF_INQ_NEXTREC), 10);
  double back = 0;
  ASSERT_EQ(__KAFf90_read_direct_unf4(st.ctx, nullptr, 0, 48, 9, nullptr, nullptr, 0, 0), 0);
  __KAFf90_read_unf2_block(st.ctx, &back, sizeof back, 0);
  ASSERT_EQ(__KAFf90_end_read_direct_unf(st.ctx), 0);
  EXPECT_EQ(back, 1.5);
  EXPECT_EQ(inquire64(48, KAF_INQ_NEXTREC), 10);
  close_unit(48);
  std::remove(name.c_str());
}

TEST(Nextrec, UndefinedForSequentialAndStream) {
  const std::string name = temp_name("nextrec_seq");
  ASSERT_EQ(open_unit(49, name, "REPLACE", "SEQUENTIAL"), 0);
  EXPECT_EQ(inquire64(49, KAF_INQ_NEXTREC), -999);
  close_unit(49);
  ASSERT_EQ(open_unit(49, name, "REPLACE"), 0);
  ASSERT_EQ(write_text(49, "x"), 0);
  EXPECT_EQ(inquire64(49, KAF_INQ_NEXTREC), -999);
  EXPECT_EQ(inquire_file64(name, KAF_INQ_NEXTREC), -999);
  close_unit(49);
  std::remove(name.c_str());
}

}  // namespace
