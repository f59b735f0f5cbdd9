// ALLOCATE and DEALLOCATE over the companion allocator: null results become
// STAT= values or fatal messages, and array DEALLOCATE finds the block's
// address and size from the descriptor.
#include "kafrts/memory.h"

#include "memory/memory.h"

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
  return allocate<store::pointer>(nowhere, size, stat);
}
void *__KAFf90_Allocate_zs(size_t size, int32_t *stat) {
  return allocate<store::zpointer>(nowhere, size, stat);
}
void *__KAFf90_Allocate_as(size_t size, int32_t *stat) {
  return allocate<store::allocatable>(nowhere, size, stat);
}
void *__KAFf90_Allocate_zas(size_t size, int32_t *stat) {
  return allocate<store::zallocatable>(nowhere, size, stat);
}
void __KAFf90_Deallocate_s(void *address, size_t size, int32_t *stat) {
  deallocate_scalar(nowhere, address, size, stat, 129);
}
void __KAFf90_Deallocate_p(void *address, size_t size, int32_t *stat) {
  deallocate_scalar(nowhere, address, size, stat, 190);
}
void __KAFf90_Deallocate_a(int32_t rank, size_t element_size, int64_t *descriptor, int32_t *stat) {
  deallocate_array(nowhere, rank, element_size, descriptor, stat);
}
void __KAFf90_DeAlloc(void *address, size_t size) { release_storage(nowhere, address, size); }
void __KAFf90_DeAlloc_o(void *address, size_t size) { release_storage(nowhere, address, size); }

}  // extern "C"
