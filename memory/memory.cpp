// ALLOCATE and DEALLOCATE over the companion allocator: null results become
// STAT= values or fatal messages, and array DEALLOCATE finds the block's
// address and size from the descriptor.
#include "memory/memory.h"

#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/runtime.h"

namespace kaf::memory {
namespace {

[[noreturn]] void fail(const where &w, int32_t message) {
  if (w.located) __KAFf90_rterr(w.file, w.line, message);
  __KAFf90_rtcrash(message);
}

void *take(const where &w, store kind, size_t size) {
  if (w.located) {
    switch (kind) {
      case store::temporary: return __KAFf90_loAlloc(w.file, w.line, size);
      case store::ztemporary: return __KAFf90_lzoAlloc(w.file, w.line, size);
      case store::pointer: return __KAFf90_lpAlloc(w.file, w.line, size);
      case store::zpointer: return __KAFf90_lzpAlloc(w.file, w.line, size);
      case store::allocatable: return __KAFf90_laAlloc(w.file, w.line, size);
      case store::zallocatable: return __KAFf90_lzaAlloc(w.file, w.line, size);
    }
  }
  switch (kind) {
    case store::temporary: return __KAFf90_oAlloc(size);
    case store::ztemporary: return __KAFf90_zoAlloc(size);
    case store::pointer: return __KAFf90_pAlloc(size);
    case store::zpointer: return __KAFf90_zpAlloc(size);
    case store::allocatable: return __KAFf90_aAlloc(size);
    case store::zallocatable: return __KAFf90_zaAlloc(size);
  }
  return nullptr;
}

void give_back_pointer(const where &w, void *address, size_t size) {
  if (w.located)
    __KAFf90_lpDeAlloc(w.file, w.line, address, size);
  else
    __KAFf90_pDeAlloc(address, size);
}

}  // namespace

void *alloc_storage(const where &w, store kind, size_t size, int32_t message) {
  void *p = take(w, kind, size);
  if (!p && size) fail(w, message);
  return p;
}

void *allocate(const where &w, store kind, size_t size, int32_t *stat) {
  if (stat) {
    // An earlier item of the same statement failed: leave this one alone.
    if (*stat) return nullptr;
    void *p = take(w, kind, size);
    *stat = p ? 0 : 1;
    return p;
  }
  void *p = take(w, kind, size);
  if (!p) fail(w, 187);
  return p;
}

void deallocate_scalar(const where &w, void *address, size_t size, int32_t *stat,
                       int32_t message) {
  if (stat && *stat) return;
  if (!address) {
    if (!stat) fail(w, message);
    *stat = 4;
    return;
  }
  give_back_pointer(w, address, size);
}

void deallocate_array(const where &w, int32_t rank, size_t element_size, int64_t *descriptor,
                      int32_t *stat) {
  if (stat && *stat) return;
  auto address = static_cast<uint64_t>(descriptor[0]);
  if (!address) {
    if (!stat) fail(w, 130);
    *stat = 4;
    return;
  }
  uint64_t size = element_size;
  // The zero-size marker reaches the allocator as it stands.
  if (address != 0xFFFFFFFFu && rank > 0) {
    for (int32_t k = 0; k < rank; ++k) {
      const int64_t extent = descriptor[2 + 3 * k];
      const int64_t stride = descriptor[3 + 3 * k];
      // A negative stride walks down: the block starts at the last element.
      if (stride < 0 && extent > 0) address += static_cast<uint64_t>(stride * (extent - 1));
      size *= extent > 0 ? static_cast<uint64_t>(extent) : 0;
    }
  }
  give_back_pointer(w, reinterpret_cast<void *>(address), size);
  descriptor[0] = 0;
}

void release_storage(const where &w, void *address, size_t size) {
  if (w.located)
    __KAFf90_loDeAlloc(w.file, w.line, address, size);
  else
    __KAFf90_oDeAlloc(address, size);
}

}  // namespace kaf::memory

using namespace kaf::memory;

extern "C" {

void *__KAFf90_Alloc_s(size_t size) { return alloc_storage(nowhere, store::temporary, size, 133); }
void *__KAFf90_Alloc_var(size_t size) {
  return alloc_storage(nowhere, store::temporary, size, 133);
}
void *__KAFf90_Alloc_zs(size_t size) {
  return alloc_storage(nowhere, store::ztemporary, size, 133);
}
void *__KAFf90_Alloc_zvar(size_t size) {
  return alloc_storage(nowhere, store::ztemporary, size, 133);
}
void *__KAFf90_Alloc_atmp(size_t size) {
  return alloc_storage(nowhere, store::temporary, size, 134);
}
void *__KAFf90_Alloc_zatmp(size_t size) {
  return alloc_storage(nowhere, store::ztemporary, size, 134);
}
void *__KAFf90_Allocate_s(size_t size, int32_t *stat) {
  return allocate(nowhere, store::pointer, size, stat);
}
void *__KAFf90_Allocate_zs(size_t size, int32_t *stat) {
  return allocate(nowhere, store::zpointer, size, stat);
}
void *__KAFf90_Allocate_as(size_t size, int32_t *stat) {
  return allocate(nowhere, store::allocatable, size, stat);
}
void *__KAFf90_Allocate_zas(size_t size, int32_t *stat) {
  return allocate(nowhere, store::zallocatable, size, stat);
}
void __KAFf90_Deallocate_s(void *address, size_t size, int32_t *stat) {
  deallocate_scalar(nowhere, address, size, stat, 129);
}
void __KAFf90_Deallocate_p(void *address, size_t size, int32_t *stat) {
  deallocate_scalar(nowhere, address, size, stat, 190);
}
void __KAFf90_Deallocate_a(int32_t rank, size_t element_size, int64_t *descriptor,
                           int32_t *stat) {
  deallocate_array(nowhere, rank, element_size, descriptor, stat);
}
void __KAFf90_DeAlloc(void *address, size_t size) { release_storage(nowhere, address, size); }
void __KAFf90_DeAlloc_o(void *address, size_t size) { release_storage(nowhere, address, size); }

}  // extern "C"
