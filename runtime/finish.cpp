// The end of a program or of an image: the exception summary, failed
// images, FAIL IMAGE, and the texts of ALLOCATE/DEALLOCATE STAT values.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>

#include "kafrts.h"

extern "C" {
int32_t __KAFf90_quiet_stop = 0;
int32_t __KAFf90_n_failed_images = 0;
}

namespace {

// Exceptions raised by either unit count: the x87 status word OR the SSE
// control-and-status register.
void display_ieee_signals() {
  uint16_t x87 = 0;
  uint32_t sse = 0;
  __asm__ volatile("fnstsw %0" : "=am"(x87));
  __asm__ volatile("stmxcsr %0" : "=m"(sse));
  uint32_t flags = x87 | sse;
  if (flags & 0x01) __KAFf90_rtmsg(371);
  if (flags & 0x04) __KAFf90_rtmsg(372);
  if (flags & 0x08) __KAFf90_rtmsg(373);
  if ((flags & 0x10) && __KAFf90_please_suppress_underflow == 0) __KAFf90_rtmsg(374);
}

kaf_image_head *current_image() {
  if (__KAFf90_this_image_id < 1) return nullptr;
  return static_cast<kaf_image_head *>(__KAFf90_tls_pget(__KAFf90_this_image_id));
}

}  // namespace

extern "C" {

void __KAFf90_finish(int32_t status) {
  kaf_image_head *image = current_image();
  if (!__KAFf90_runtime_error_file) __KAFf90_runtime_error_file = stderr;
  __KAFf90_delete_gline_stack();
  __KAFf90_io_finish();
  if (!image) __KAFf90_exit(status);
  __atomic_store_n(&image->state, 1, __ATOMIC_SEQ_CST);
  pthread_exit(nullptr);
}

void __KAFf90_exit(int32_t status) {
  if (!__KAFf90_quiet_stop) display_ieee_signals();
  __KAFf90_delete_avlpat();
  int32_t failed = __atomic_load_n(&__KAFf90_n_failed_images, __ATOMIC_SEQ_CST);
  if (failed > 0) __KAFf90_rtmsg(375, failed);
  std::exit(status);
}

void __KAFf90_fail_image(const char *file, int32_t line) {
  int32_t n = __atomic_fetch_add(&__KAFf90_n_failed_images, 1, __ATOMIC_SEQ_CST);
  if (__KAFf90_this_teamimage_id != 0) {
    if (kaf_image_head *image = current_image())
      __atomic_store_n(&image->state, 2, __ATOMIC_SEQ_CST);
    if (n + 1 >= __KAFf90_number_of_images) __KAFf90_rterr(file, line, 318);
    pthread_exit(reinterpret_cast<void *>(2));
  }
  __KAFf90_rterr(file, line, 318);
}

void __KAFf90_stat_errmsg(int32_t stat, char *errmsg, kaf_charlen errmsg_len) {
  int32_t number;
  switch (stat) {
    case 1: number = 155; break;
    case 2: number = 156; break;
    case 3: number = 157; break;
    case 4: number = 158; break;
    case 5: number = 159; break;
    case 6: number = 160; break;
    case 334: number = 334; break;
    default:
      if (stat > 99) return;  // no text: ERRMSG= keeps its value
      number = 161;
  }
  __KAFf90_rtstring(errmsg, errmsg_len, number);
}

}  // extern "C"
