// Workers shared by the ALLOCATE/DEALLOCATE entries, their line_ forms and
// the array temporaries: each takes where the statement is, so that one
// worker serves the entry with and without a source location.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "kafrts/engine.h"
#include "kafrts/runtime.h"

namespace kaf::memory {

struct where {
  const char *file;  // line_ forms: the statement's source file (may be null)
  int32_t line;
  bool located;  // a line_ form: report through rterr with file and line
};
constexpr where nowhere{nullptr, 0, false};

// Which allocator entry serves a request.
enum class store { temporary, ztemporary, pointer, zpointer, allocatable, zallocatable };

// The entries are thin: the workers below are inline so that ALLOCATE and
// DEALLOCATE cost one call into the allocator.
[[noreturn, gnu::cold, gnu::noinline]] inline void fail(const where &w, int32_t message) {
  if (w.located) __KAFf90_rterr(w.file, w.line, message);
  __KAFf90_rtcrash(message);
}

inline void *take(const where &w, store kind, size_t size) {
  if (w.located) {
    switch (kind) {
      case store::temporary:
        return __KAFf90_loAlloc(w.file, w.line, size);
      case store::ztemporary:
        return __KAFf90_lzoAlloc(w.file, w.line, size);
      case store::pointer:
        return __KAFf90_lpAlloc(w.file, w.line, size);
      case store::zpointer:
        return __KAFf90_lzpAlloc(w.file, w.line, size);
      case store::allocatable:
        return __KAFf90_laAlloc(w.file, w.line, size);
      case store::zallocatable:
        return __KAFf90_lzaAlloc(w.file, w.line, size);
    }
  }
  switch (kind) {
    case store::temporary:
      return __KAFf90_oAlloc(size);
    case store::ztemporary:
      return __KAFf90_zoAlloc(size);
    case store::pointer:
      return __KAFf90_pAlloc(size);
    case store::zpointer:
      return __KAFf90_zpAlloc(size);
    case store::allocatable:
      return __KAFf90_aAlloc(size);
    case store::zallocatable:
      return __KAFf90_zaAlloc(size);
  }
  return nullptr;
}

inline void give_back_pointer(const where &w, void *address, size_t size) {
  if (w.located)
    __KAFf90_lpDeAlloc(w.file, w.line, address, size);
  else
    __KAFf90_pDeAlloc(address, size);
}

inline void *alloc_storage(const where &w, store kind, size_t size, int32_t message) {
  void *p = take(w, kind, size);
  if (!p && size) fail(w, message);
  return p;
}

// What the STAT= test reads when the statement has none: one path, without
// a branch on the form, serves the statements with and without STAT=
// (the compiler cannot fold the read, so it selects the address instead).
inline int32_t no_stat = 0;  // never written
inline const int32_t &stat_or_zero(const int32_t *stat) { return stat ? *stat : no_stat; }

[[gnu::cold, gnu::noinline]] inline void *allocate_failed(const where &w, int32_t *stat) {
  if (!stat) fail(w, 187);
  *stat = 1;
  return nullptr;
}

template <store Kind>
inline void *allocate(const where &w, size_t size, int32_t *stat) {
  // An earlier item of the same statement failed: leave this one alone.
  if (stat_or_zero(stat)) return nullptr;
  void *p = take(w, Kind, size);
  if (__builtin_expect(!p, 0)) return allocate_failed(w, stat);
  return p;  // STAT= stays 0
}

// DEALLOCATE of a disassociated pointer: STAT= 4, or fatal.
[[gnu::cold, gnu::noinline]] inline void deallocate_null(const where &w, int32_t *stat,
                                                         int32_t message) {
  if (!stat) fail(w, message);
  *stat = 4;
}

// The statement without STAT= is the one to make fast: the STAT= tests are
// laid out as the exception.
inline void deallocate_scalar(const where &w, void *address, size_t size, int32_t *stat,
                              int32_t message) {
  if (stat_or_zero(stat)) return;
  if (__builtin_expect(!address, 0)) return deallocate_null(w, stat, message);
  give_back_pointer(w, address, size);
}

inline void deallocate_array(const where &w, int32_t rank, size_t element_size, int64_t *descriptor,
                             int32_t *stat) {
  if (stat_or_zero(stat)) return;
  auto address = static_cast<uint64_t>(descriptor[0]);
  if (__builtin_expect(!address, 0)) return deallocate_null(w, stat, 130);
  uint64_t size = element_size;
  // The zero-size marker reaches the allocator as it stands.
  if (address != 0xFFFFFFFFu && rank > 0) {
    for (int32_t k = 0; k < rank; ++k) {
      const int64_t extent = descriptor[2 + 3 * k];
      const int64_t stride = descriptor[3 + 3 * k];
      // A negative stride walks down: the block starts at the last element.
      if (stride < 0 && extent > 0)
        address += static_cast<uint64_t>(stride) * static_cast<uint64_t>(extent - 1);  // mod 2^64
      size *= extent > 0 ? static_cast<uint64_t>(extent) : 0;
    }
  }
  // Cleared before the release rather than after, so that the release is
  // the entry's last act (a jump, no frame): a faulty release never comes
  // back, or (undefined releases allowed) does nothing and lets the
  // statement complete, so the descriptor ends the same either way.
  descriptor[0] = 0;
  give_back_pointer(w, reinterpret_cast<void *>(address), size);
}

inline void release_storage(const where &w, void *address, size_t size) {
  if (w.located)
    __KAFf90_loDeAlloc(w.file, w.line, address, size);
  else
    __KAFf90_oDeAlloc(address, size);
}

// Array temporaries: byte size of element_size times the product of seven
// extents (negative extents count as 0); -1 when it does not fit in a
// signed 32-bit count.
int64_t temporary_bytes(size_t element_size, const int32_t extent[7]);
// Fills base and the seven extents from rank and the extents in args.
void make_temporary(const where &w, void **base, int32_t extent[7], int32_t rank,
                    size_t element_size, va_list args);
void free_temporary(const where &w, void *base, const int32_t extent[7], size_t element_size);

}  // namespace kaf::memory
