// STOP, ERROR STOP, the exception summary, PAUSE and FAIL IMAGE.
#include <gtest/gtest.h>

#include <cfenv>
#include <csignal>
#include <cstdio>
#include <string>

#include "kafrts.h"
#include "support/child.h"

using kaftest::child_options;
using kaftest::run_in_child;

namespace {

// Clears the flags a forked test process may have inherited.
void clean_fp() { __KAFf90_init_fp(2); }

TEST(Stop, EveryForm) {
  static const struct {
    const char *name;
    void (*body)();
    const char *err;
    int status;
  } rows[] = {
      {"plain STOP", [] { clean_fp(); __KAFf90_stop(nullptr); }, "", 0},
      {"STOP 'abc'", [] { clean_fp(); __KAFf90_stop("abc"); }, "STOP: abc\n", 0},
      {"STOP ''", [] { clean_fp(); __KAFf90_stop(""); }, "STOP: \n", 0},
      {"STOP 42", [] { clean_fp(); __KAFf90_stop2015("f", 1, 0, nullptr, 1, 42, 42, 0); },
       "STOP: 42\n", 42},
      {"STOP -7", [] { clean_fp(); __KAFf90_stop2015("f", 1, 0, nullptr, 1, -7, 3, 0); },
       "STOP: -7\n", 3},
      {"STOP with status", [] { clean_fp(); __KAFf90_stop_exit_status("f", 1, "x", 5); },
       "STOP: x\n", 5},
      {"STOP on a line", [] { clean_fp(); __KAFf90_stop_line("f", 9, "line"); }, "STOP: line\n",
       0},
      {"ERROR STOP", [] { clean_fp(); __KAFf90_error_stop("f", 1, nullptr, 1); },
       "ERROR STOP\n", 1},
      {"ERROR STOP 'why'", [] { clean_fp(); __KAFf90_error_stop("f", 1, "why", 2); },
       "ERROR STOP: why\n", 2},
      {"ERROR STOP 12",
       [] { clean_fp(); __KAFf90_stop2015("f", 1, 2, nullptr, 4, 12, 12, 0); },
       "ERROR STOP: 12\n", 12},
      {"text with its length",
       [] { clean_fp(); __KAFf90_stop2015("f", 1, 0, "abcdef", 3, 0, 0, 0); }, "STOP: abc\n", 0},
      {"QUIET STOP", [] { clean_fp(); __KAFf90_stop2015("f", 1, 0, "abc", 3, 0, 4, 1); }, "", 4},
      {"QUIET ERROR STOP",
       [] { clean_fp(); __KAFf90_stop2015("f", 1, 2, "abc", 3, 0, 1, 1); }, "", 1},
  };
  for (const auto &row : rows) {
    auto r = run_in_child(row.body);
    EXPECT_TRUE(r.exited) << row.name;
    EXPECT_EQ(r.exit_status, row.status) << row.name;
    EXPECT_EQ(r.err, row.err) << row.name;
  }
}

TEST(Stop, LongCodesAreWrittenWhole) {
  // "STOP: " takes six places; 992 characters fill the 998-character piece
  // exactly, and then no line feed follows.
  for (size_t n : {size_t{991}, size_t{992}, size_t{993}, size_t{1990}, size_t{5000}}) {
    static std::string code;
    code.assign(n, 'c');
    for (size_t i = 0; i < n; i += 7) code[i] = static_cast<char>('a' + i % 26);
    auto r = run_in_child([] { clean_fp(); __KAFf90_stop(code.c_str()); });
    std::string want = "STOP: " + code;
    if (want.size() % 998 != 0) want += "\n";
    EXPECT_EQ(r.err, want) << n;
  }
}

// Raises exceptions with traps masked, then ends the program.
void raise_and_stop(int flags, bool quiet) {
  clean_fp();
  std::feraiseexcept(flags);
  __KAFf90_stop2015(nullptr, 0, 0, nullptr, 0, 0, 0, quiet ? 1 : 0);
}

TEST(Stop, ExceptionSummary) {
  auto r = run_in_child([] { raise_and_stop(FE_ALL_EXCEPT, false); });
  EXPECT_EQ(r.err, "Warning: Floating invalid operation occurred\n"
                   "Warning: Floating divide by zero occurred\n"
                   "Warning: Floating overflow occurred\n"
                   "Warning: Floating underflow occurred\n");
  r = run_in_child([] { raise_and_stop(FE_INEXACT, false); });
  EXPECT_EQ(r.err, "");
  r = run_in_child([] { raise_and_stop(FE_ALL_EXCEPT, true); });
  EXPECT_EQ(r.err, "");
  // The x87 unit's flags count as well as the SSE unit's.
  r = run_in_child([] {
    clean_fp();
    volatile long double big = 1e4000L;
    volatile long double product = big * big;
    (void)product;
    __KAFf90_stop(nullptr);
  });
  EXPECT_EQ(r.err, "Warning: Floating overflow occurred\n");

  child_options o;
  o.env = {{"KAFFORTRAN_RUNTIME_OPTIONS", "suppress_underflow_warning"}};
  r = run_in_child([] {
    __KAFf90_init_runtime_options();
    raise_and_stop(FE_UNDERFLOW | FE_DIVBYZERO, false);
  }, o);
  EXPECT_EQ(r.err, "Warning: Floating divide by zero occurred\n");
}

TEST(Stop, MultiImageErrorStopExitsAtOnce) {
  auto r = run_in_child([] {
    clean_fp();
    std::feraiseexcept(FE_OVERFLOW);
    __KAFf90_number_of_images = 4;
    __KAFf90_error_stop(nullptr, 0, "all", 3);
  });
  EXPECT_EQ(r.exit_status, 3);
  EXPECT_EQ(r.err, "ERROR STOP: all\n");  // no exception summary
}

TEST(Pause, WaitsForALine) {
  child_options o;
  o.stdin_text = "anything\nmore\n";
  auto r = run_in_child([] {
    __KAFf90_pause("step 1");
    __KAFf90_pause(nullptr);
    int c = std::getchar();
    std::printf("%c", c);
  }, o);
  EXPECT_EQ(r.err, "PAUSE: step 1\n\nType carriage return to continue\n"
                   "Fortran-90 execution continues...\n"
                   "Fortran-90 PAUSE\n\nType carriage return to continue\n"
                   "Fortran-90 execution continues...\n");
  EXPECT_EQ(r.out, "\xff");  // both lines consumed; then end of file
}

TEST(FailImage, TheOnlyImageFailing) {
  auto r = run_in_child([] { __KAFf90_fail_image("img.f90", 8); });
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.err, "Runtime Error: img.f90, line 8: All images have failed\n"
                   "Program terminated by fatal error\n");
}

TEST(Finish, FailedImagesAreReported) {
  auto r = run_in_child([] {
    clean_fp();
    __KAFf90_n_failed_images = 3;
    __KAFf90_finish(0);
  });
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.err, "Warning: 3 image(s) failed\n");
}

}  // namespace
