// The reporter's entries: locations, the fatal ending, the error stream,
// rtstring's bounds and the language switch. Fatal paths run in a child.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kafrts.h"
#include "runtime/messages.h"
#include "support/child.h"

using kaftest::run_in_child;

namespace {

constexpr const char *fatal_end = "Program terminated by fatal error\n";

void expect_abort(const kaftest::child_result &r) {
  EXPECT_TRUE(r.signaled) << "exit status " << r.exit_status;
  EXPECT_EQ(r.signal, SIGABRT);
}

TEST(Reporter, LocationForms) {
  auto r = run_in_child([] { __KAFf90_rterr(nullptr, 12, 5); });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: DO step value is zero\n") + fatal_end);

  r = run_in_child([] { __KAFf90_rterr("prog.f90", 0, 5); });
  EXPECT_EQ(r.err, std::string("Runtime Error: prog.f90:DO step value is zero\n") + fatal_end);

  r = run_in_child([] { __KAFf90_rterr("prog.f90", 37, 58, "WORK"); });
  EXPECT_EQ(r.err, std::string("Runtime Error: prog.f90, line 37: ALLOCATABLE WORK is not "
                               "currently allocated\n") + fatal_end);
}

TEST(Reporter, CrashForms) {
  auto r = run_in_child([] { __KAFf90_rtcrash(155); });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: Out of memory\n") + fatal_end);

  r = run_in_child([] { __KAFf90_crash("impossible %s overflow (%d)", "nextelt", 3); });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: impossible nextelt overflow (3)\n") + fatal_end);

  // rtmsg_start, pieces without line ends, and a final fatal piece.
  r = run_in_child([] {
    __KAFf90_rtmsg_start();
    __KAFf90_rtmsg_nocrlf(364);
    __KAFf90_rtmsg_nocrlf(366);
    __KAFf90_rtcrash2(370);
  });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: *** Arithmetic exception: Floating divide by zero"
                               " - aborting\n") + fatal_end);
}

TEST(Reporter, NonFatalFormsReturn) {
  auto r = run_in_child([] {
    __KAFf90_rterr1("a.f90", 3, 5);
    __KAFf90_rtmsg(375, 2);
    __KAFf90_rtmsg_file_nocrlf(stdout, 0, "to stdout");
    std::exit(7);
  });
  EXPECT_TRUE(r.exited);
  EXPECT_EQ(r.exit_status, 7);
  EXPECT_EQ(r.err, "Runtime Error: a.f90, line 3: DO step value is zero\n"
                   "Warning: 2 image(s) failed\n");
  EXPECT_EQ(r.out, "to stdout");
}

TEST(Reporter, FatalEndingRunsNoExitProceduresButFinishesIo) {
  auto r = run_in_child([] {
    __KAFf90_atexit([] { std::fputs("exit procedure ran\n", stdout); });
    std::fputs("buffered output\n", stdout);  // flushed by the I/O finish
    __KAFf90_rtcrash(155);
  });
  expect_abort(r);
  EXPECT_EQ(r.out, "buffered output\n");

  r = run_in_child([] {
    __KAFf90_atexit([] { std::fputs("first\n", stdout); });
    __KAFf90_atexit([] { std::fputs("second\n", stdout); });
    std::exit(0);
  });
  EXPECT_EQ(r.out, "second\nfirst\n");
}

TEST(Reporter, TracebackWhenLinesAreTracked) {
  auto r = run_in_child([] {
    __KAFf90_enter_pu("MAIN");
    __KAFf90_filename = "m.f90";
    __KAFf90_lineno = 4;
    __KAFf90_enter_pu("inner");
    __KAFf90_filename = "m.f90";
    __KAFf90_lineno = 20;
    __KAFf90_rterr("m.f90", 20, 5);
  });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: m.f90, line 20: DO step value is zero\n") +
                       fatal_end +
                       "m.f90, line 20: Error occurred in inner\n"
                       "m.f90, line 4: Called by MAIN\n");
}

// A stream that raises a second fatal error while the first one is ending:
// it passes everything to standard error and reacts to text 1.
ssize_t second_error_writer(void *, const char *data, size_t size) {
  (void)!write(2, data, size);
  if (std::string(data, size).find("Program terminated") != std::string::npos)
    __KAFf90_rtcrash(0, "second error");
  return static_cast<ssize_t>(size);
}

TEST(Reporter, SecondFatalErrorWhileEndingAbortsAtOnce) {
  auto r = run_in_child([] {
    cookie_io_functions_t io{nullptr, second_error_writer, nullptr, nullptr};
    FILE *f = fopencookie(nullptr, "w", io);
    setvbuf(f, nullptr, _IONBF, 0);
    __KAFf90_runtime_error_file = f;
    __KAFf90_rtcrash(0, "first error");
  });
  expect_abort(r);
  EXPECT_EQ(r.err, std::string("Runtime Error: first error\n") + fatal_end +
                       "Runtime Error: second error\n");
}

TEST(Reporter, RtstringNeverWritesPastItsBuffer) {
  const std::string text = "Allocatable variable is already allocated";
  for (size_t size : {size_t{0}, size_t{1}, size_t{5}, text.size() - 1, text.size(),
                      text.size() + 1, text.size() + 10}) {
    char buf[128];
    std::memset(buf, '#', sizeof buf);
    size_t n = __KAFf90_rtstring(buf + 8, size, 156);
    EXPECT_EQ(n, std::min(size, text.size())) << size;
    EXPECT_EQ(std::string(buf, 8), std::string(8, '#')) << size;
    std::string want = text.substr(0, std::min(size, text.size()));
    want.resize(size, ' ');
    EXPECT_EQ(std::string(buf + 8, size), want) << size;
    EXPECT_EQ(buf[8 + size], '#') << "written past the buffer at size " << size;
  }
}

TEST(Reporter, StatErrmsg) {
  static constexpr struct {
    int stat;
    const char *want;
  } rows[] = {
      {1, "Out of memory"},
      {2, "Allocatable variable is already allocated"},
      {3, "Allocatable variable is not allocated"},
      {4, "Pointer is not associated"},
      {5, "Target not created by pointer allocation"},
      {6, "Pointer has undefined association status"},
      {334, "Invalid deallocation of allocatable coarray: it was allocated outside of the "
            "current team"},
      {7, "Unknown ALLOCATE/DEALLOCATE failure"},
      {99, "Unknown ALLOCATE/DEALLOCATE failure"},
  };
  for (const auto &row : rows) {
    char buf[120];
    __KAFf90_stat_errmsg(row.stat, buf, sizeof buf);
    std::string want = row.want;
    want.resize(sizeof buf, ' ');
    EXPECT_EQ(std::string(buf, sizeof buf), want) << row.stat;
  }
  char keep[8] = {'k', 'e', 'e', 'p', ' ', ' ', ' ', ' '};
  __KAFf90_stat_errmsg(100, keep, sizeof keep);
  EXPECT_EQ(std::string(keep, 8), "keep    ");
}

TEST(Reporter, JapaneseCatalogue) {
  const std::string prefix = "\x8E\xC0\x8D\x73\x8E\x9E\x83\x47\x83\x89\x81\x5B\x3A\x20";
  auto r = run_in_child([] {
    __KAFf90_rt_set_language(1);
    __KAFf90_rtcrash(155);
  });
  expect_abort(r);
  EXPECT_EQ(r.err, prefix + J_rtmsg[155] + "\n" + J_rtmsg[1]);

  r = run_in_child([] {
    __KAFf90_rt_set_language(1);
    __KAFf90_rt_set_language(0);
    __KAFf90_rtcrash(155);
  });
  EXPECT_EQ(r.err, std::string("Runtime Error: Out of memory\n") + fatal_end);
}

}  // namespace
