// Floating-point modes, the SIGFPE handler, and the call-site stack.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "kafrts.h"
#include "support/child.h"

using kaftest::run_in_child;

namespace {

uint32_t read_mxcsr() {
  uint32_t v;
  __asm__ volatile("stmxcsr %0" : "=m"(v));
  return v;
}

uint16_t read_x87_control() {
  uint16_t v;
  __asm__ volatile("fnstcw %0" : "=m"(v));
  return v;
}

TEST(FpModes, ControlWords) {
  static constexpr struct {
    int mode;
    uint32_t sse;
    uint16_t x87;
  } rows[] = {{0, 0x1900, 0x372}, {1, 0x9900, 0x372}, {2, 0x1F80, 0x37F}, {3, 0x9F80, 0x37F}};
  for (const auto &row : rows) {
    auto r = run_in_child([&] {
      __KAFf90_init_fp(row.mode);
      std::printf("%04X %03X", read_mxcsr() & 0xFFC0, read_x87_control());
      __KAFf90_init_fp(2);
    });
    char want[32];
    std::snprintf(want, sizeof want, "%04X %03X", row.sse, row.x87);
    EXPECT_EQ(r.out, want) << "mode " << row.mode;
  }
}

volatile double zero = 0.0;
volatile int izero = 0;

TEST(FpTraps, FloatingDivideByZero) {
  auto r = run_in_child([] {
    __KAFf90_init_fp(0);
    __KAFf90_establish_sigfpe_handler();
    volatile double x = 1.0 / zero;
    (void)x;
  });
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.signal, SIGABRT);
  EXPECT_EQ(r.err, "Runtime Error: *** Arithmetic exception: Floating divide by zero - aborting\n");
}

TEST(FpTraps, TracebackWhenLinesAreTracked) {
  auto r = run_in_child([] {
    __KAFf90_init_fp(0);
    __KAFf90_establish_sigfpe_handler();
    __KAFf90_enter_pu("MAIN");
    __KAFf90_filename = "t.f90";
    __KAFf90_lineno = 3;
    __KAFf90_enter_pu("ratio");
    __KAFf90_filename = "t.f90";
    __KAFf90_lineno = 11;
    volatile double x = 1e308 * (1.0 + zero);
    x = x * 10.0;
  });
  EXPECT_EQ(r.err, "Runtime Error: *** Arithmetic exception: Floating overflow - aborting\n"
                   "t.f90, line 11: Error occurred in ratio\n"
                   "t.f90, line 3: Called by MAIN\n");
}

TEST(FpTraps, InvalidAndIntegerDivide) {
  auto r = run_in_child([] {
    __KAFf90_init_fp(1);
    __KAFf90_establish_sigfpe_handler();
    volatile double x = zero / zero;
    (void)x;
  });
  EXPECT_EQ(r.err, "Runtime Error: *** Arithmetic exception: Floating invalid operation - aborting\n");

  r = run_in_child([] {
    __KAFf90_establish_sigfpe_handler();
    // The division is done by the processor itself, so no compiler or
    // sanitizer check stands between the program and the trap.
    int quotient, dividend = 7, divisor = izero;
    __asm__ volatile("cltd\n\tidivl %2" : "=a"(quotient) : "a"(dividend), "r"(divisor) : "edx");
    (void)quotient;
  });
  EXPECT_EQ(r.err, "Runtime Error: *** Arithmetic exception: Integer divide by zero - aborting\n");
}

TEST(FpTraps, NoTrapsInModeTwo) {
  auto r = run_in_child([] {
    __KAFf90_init_fp(2);
    __KAFf90_establish_sigfpe_handler();
    volatile double x = 1.0 / zero;
    std::printf("%g", x);
  });
  EXPECT_TRUE(r.exited);
  EXPECT_EQ(r.out, "inf");
}

TEST(CallSites, DeepNestingAndUnwinding) {
  auto r = run_in_child([] {
    // 129 nested units fill one block and start a second.
    static char names[130][8];
    for (int i = 0; i < 129; ++i) {
      std::snprintf(names[i], sizeof names[i], "u%d", i);
      __KAFf90_enter_pu(names[i]);
      __KAFf90_filename = "deep.f90";
      __KAFf90_lineno = i + 1;
    }
    __KAFf90_dump_gline_stack(stdout);
    std::printf("--\n");
    for (int i = 0; i < 129; ++i) __KAFf90_exit_pu();
    std::printf("after: %p %d\n", static_cast<const void *>(__KAFf90_filename), __KAFf90_lineno);
    __KAFf90_exit_pu();  // an empty stack: nothing happens
    __KAFf90_dump_gline_stack(stdout);
    // The stack works again from the spare block.
    __KAFf90_enter_pu("again");
    __KAFf90_filename = "b.f90";
    __KAFf90_lineno = 2;
    __KAFf90_enter_pu("inner");
    __KAFf90_filename = "b.f90";
    __KAFf90_lineno = 5;
    __KAFf90_dump_gline_stack(stdout);
    __KAFf90_delete_gline_stack();
  });
  std::string want = "deep.f90, line 129: Error occurred in u128\n";
  for (int i = 127; i >= 0; --i)
    want += "deep.f90, line " + std::to_string(i + 1) + ": Called by u" + std::to_string(i) + "\n";
  want += "--\nafter: (nil) 0\n";
  want += "b.f90, line 5: Error occurred in inner\nb.f90, line 2: Called by again\n";
  EXPECT_EQ(r.out, want);
  EXPECT_EQ(r.err, "");
}

TEST(CallSites, ExitRestoresTheCallersPosition) {
  auto r = run_in_child([] {
    __KAFf90_enter_pu("MAIN");
    __KAFf90_filename = "m.f90";
    __KAFf90_lineno = 7;
    __KAFf90_enter_pu("sub");
    std::printf("%d ", __KAFf90_lineno);
    __KAFf90_lineno = 30;
    __KAFf90_exit_pu();
    std::printf("%s %d", __KAFf90_filename, __KAFf90_lineno);
  });
  EXPECT_EQ(r.out, "0 m.f90 7");
}

}  // namespace
