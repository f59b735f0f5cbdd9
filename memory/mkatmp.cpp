// Array temporaries: zero-filled blocks described by a base address and
// seven 32-bit extents (CHARACTER: and a character length), one family
// member per type letter that differ only in the element size.
#include <cstdarg>

#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/runtime.h"
#include "memory/memory.h"

namespace kaf::memory {

int64_t temporary_bytes(size_t element_size, const int32_t extent[7]) {
  // The byte count of a temporary must fit in a signed 32-bit integer;
  // anything larger is refused rather than wrapped.
  constexpr int64_t limit = INT32_MAX;
  if (element_size == 0) return 0;
  for (int k = 0; k < 7; ++k)
    if (extent[k] <= 0) return 0;
  if (element_size > static_cast<size_t>(limit)) return -1;
  int64_t bytes = static_cast<int64_t>(element_size);
  for (int k = 0; k < 7; ++k) {
    bytes *= extent[k];  // both factors below 2^31: no overflow
    if (bytes > limit) return -1;
  }
  return bytes;
}

void make_temporary(const where &w, void **base, int32_t extent[7], int32_t rank,
                    size_t element_size, va_list args) {
  for (int k = 0; k < 7; ++k) extent[k] = k < rank ? va_arg(args, int32_t) : 1;
  const int64_t bytes = temporary_bytes(element_size, extent);
  void *p = bytes < 0 ? nullptr
                      : (w.located ? __KAFf90_lzoAlloc(w.file, w.line, static_cast<size_t>(bytes))
                                   : __KAFf90_zoAlloc(static_cast<size_t>(bytes)));
  if (!p) {
    if (w.located) __KAFf90_rterr(w.file, w.line, 134);
    __KAFf90_rtcrash(134);
  }
  *base = p;
}

void free_temporary(const where &w, void *base, const int32_t extent[7], size_t element_size) {
  const int64_t bytes = temporary_bytes(element_size, extent);
  release_storage(w, base, static_cast<size_t>(bytes < 0 ? 0 : bytes));
}

}  // namespace kaf::memory

using namespace kaf::memory;

extern "C" {

void __KAFf90_mkatmp_c(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_c(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_freevec_c(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 8); }
void __KAFf90_line_freevec_c(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 8);
}
void __KAFf90_mkatmp_d(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_d(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_freevec_d(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 8); }
void __KAFf90_line_freevec_d(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 8);
}
void __KAFf90_mkatmp_dc(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 16, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_dc(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 16, args);
  va_end(args);
}
void __KAFf90_freevec_dc(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 16); }
void __KAFf90_line_freevec_dc(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 16);
}
void __KAFf90_mkatmp_i1(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 1, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_i1(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 1, args);
  va_end(args);
}
void __KAFf90_freevec_i1(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 1); }
void __KAFf90_line_freevec_i1(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 1);
}
void __KAFf90_mkatmp_i2(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 2, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_i2(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 2, args);
  va_end(args);
}
void __KAFf90_freevec_i2(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 2); }
void __KAFf90_line_freevec_i2(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 2);
}
void __KAFf90_mkatmp_i(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_i(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_freevec_i(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 4); }
void __KAFf90_line_freevec_i(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 4);
}
void __KAFf90_mkatmp_i4(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_i4(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_freevec_i4(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 8); }
void __KAFf90_line_freevec_i4(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 8);
}
void __KAFf90_mkatmp_l1(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 1, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_l1(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 1, args);
  va_end(args);
}
void __KAFf90_freevec_l1(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 1); }
void __KAFf90_line_freevec_l1(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 1);
}
void __KAFf90_mkatmp_l2(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 2, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_l2(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 2, args);
  va_end(args);
}
void __KAFf90_freevec_l2(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 2); }
void __KAFf90_line_freevec_l2(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 2);
}
void __KAFf90_mkatmp_l(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_l(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_freevec_l(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 4); }
void __KAFf90_line_freevec_l(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 4);
}
void __KAFf90_mkatmp_l4(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_l4(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 8, args);
  va_end(args);
}
void __KAFf90_freevec_l4(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 8); }
void __KAFf90_line_freevec_l4(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 8);
}
void __KAFf90_mkatmp_r(kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary(nowhere, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_r(const char *file, int32_t line, kaf_atmp *result, int32_t rank, ...) {
  va_list args;
  va_start(args, rank);
  make_temporary({file, line, true}, &result->base, result->extent, rank, 4, args);
  va_end(args);
}
void __KAFf90_freevec_r(kaf_atmp tmp) { free_temporary(nowhere, tmp.base, tmp.extent, 4); }
void __KAFf90_line_freevec_r(const char *file, int32_t line, kaf_atmp tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent, 4);
}
void __KAFf90_mkatmp_ch(kaf_atmp_ch *result, int32_t rank, int32_t char_len, ...) {
  va_list args;
  va_start(args, char_len);
  result->char_len = char_len;
  make_temporary(nowhere, &result->base, result->extent, rank,
                 char_len > 0 ? static_cast<size_t>(char_len) : 0, args);
  va_end(args);
}
void __KAFf90_line_mkatmp_ch(const char *file, int32_t line, kaf_atmp_ch *result, int32_t rank,
                             int32_t char_len, ...) {
  va_list args;
  va_start(args, char_len);
  result->char_len = char_len;
  make_temporary({file, line, true}, &result->base, result->extent, rank,
                 char_len > 0 ? static_cast<size_t>(char_len) : 0, args);
  va_end(args);
}
void __KAFf90_freevec_ch(kaf_atmp_ch tmp) {
  free_temporary(nowhere, tmp.base, tmp.extent,
                 tmp.char_len > 0 ? static_cast<size_t>(tmp.char_len) : 0);
}
void __KAFf90_line_freevec_ch(const char *file, int32_t line, kaf_atmp_ch tmp) {
  free_temporary({file, line, true}, tmp.base, tmp.extent,
                 tmp.char_len > 0 ? static_cast<size_t>(tmp.char_len) : 0);
}

}  // extern "C"
