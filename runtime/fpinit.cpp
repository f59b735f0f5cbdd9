// Floating-point control at start-up: traps on invalid operation, division
// by zero and overflow (or none), optionally with flush-to-zero.
#include "kafrts.h"

extern "C" void __KAFf90_init_fp(int32_t mode) {
  bool trapping = mode == 0 || mode == 1;
  bool flush_to_zero = (mode & ~2) == 1;
  uint32_t sse = trapping ? 0x1900 : 0x1F80;
  if (flush_to_zero) sse |= 0x8000;
  // The x87 word always selects 64-bit extended precision.
  uint16_t x87 = trapping ? 0x372 : 0x37F;
  __asm__ volatile("fnclex");
  __asm__ volatile("fldcw %0" : : "m"(x87));
  __asm__ volatile("ldmxcsr %0" : : "m"(sse));
}
