// Workers shared by the ALLOCATE/DEALLOCATE entries, their line_ forms and
// the array temporaries: each takes where the statement is, so that one
// worker serves the entry with and without a source location.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace kaf::memory {

struct where {
  const char *file;  // line_ forms: the statement's source file (may be null)
  int32_t line;
  bool located;  // a line_ form: report through rterr with file and line
};
constexpr where nowhere{nullptr, 0, false};

// Which allocator entry serves a request.
enum class store { temporary, ztemporary, pointer, zpointer, allocatable, zallocatable };

// Compiler storage and array temporaries: a shortage of a nonzero size is
// fatal with message.
void *alloc_storage(const where &w, store kind, size_t size, int32_t message);
// ALLOCATE: STAT convention, or message 187.
void *allocate(const where &w, store kind, size_t size, int32_t *stat);
// DEALLOCATE of a scalar: a null address is STAT 4 or message.
void deallocate_scalar(const where &w, void *address, size_t size, int32_t *stat,
                       int32_t message);
// DEALLOCATE of an array through its descriptor.
void deallocate_array(const where &w, int32_t rank, size_t element_size, int64_t *descriptor,
                      int32_t *stat);
// Release of compiler storage.
void release_storage(const where &w, void *address, size_t size);

// Array temporaries: byte size of element_size times the product of seven
// extents (negative extents count as 0); -1 when it does not fit in a
// signed 32-bit count.
int64_t temporary_bytes(size_t element_size, const int32_t extent[7]);
// Fills base and the seven extents from rank and the extents in args.
void make_temporary(const where &w, void **base, int32_t extent[7], int32_t rank,
                    size_t element_size, va_list args);
void free_temporary(const where &w, void *base, const int32_t extent[7], size_t element_size);

}  // namespace kaf::memory
