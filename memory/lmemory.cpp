// The line_ forms of the ALLOCATE/DEALLOCATE entries: the statement's
// source file and line come first and go to the located allocator entries
// and to every fatal message.
#include "kafrts/memory.h"
#include "memory/memory.h"

using namespace kaf::memory;

extern "C" {

void *__KAFf90_line_Alloc_s(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::temporary, size, 133);
}
void *__KAFf90_line_Alloc_var(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::temporary, size, 133);
}
void *__KAFf90_line_Alloc_zs(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::ztemporary, size, 133);
}
void *__KAFf90_line_Alloc_zvar(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::ztemporary, size, 133);
}
void *__KAFf90_line_Alloc_atmp(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::temporary, size, 134);
}
void *__KAFf90_line_Alloc_zatmp(const char *file, int32_t line, size_t size) {
  return alloc_storage({file, line, true}, store::ztemporary, size, 134);
}
void *__KAFf90_line_Allocate_s(const char *file, int32_t line, size_t size, int32_t *stat) {
  return allocate<store::pointer>({file, line, true}, size, stat);
}
void *__KAFf90_line_Allocate_zs(const char *file, int32_t line, size_t size, int32_t *stat) {
  return allocate<store::zpointer>({file, line, true}, size, stat);
}
void *__KAFf90_line_Allocate_as(const char *file, int32_t line, size_t size, int32_t *stat) {
  return allocate<store::allocatable>({file, line, true}, size, stat);
}
void *__KAFf90_line_Allocate_zas(const char *file, int32_t line, size_t size, int32_t *stat) {
  return allocate<store::zallocatable>({file, line, true}, size, stat);
}
void __KAFf90_line_Deallocate_s(const char *file, int32_t line, void *address, size_t size,
                                int32_t *stat) {
  deallocate_scalar({file, line, true}, address, size, stat, 129);
}
void __KAFf90_line_Deallocate_p(const char *file, int32_t line, void *address, size_t size,
                                int32_t *stat) {
  deallocate_scalar({file, line, true}, address, size, stat, 190);
}
void __KAFf90_line_Deallocate_a(const char *file, int32_t line, int32_t rank, size_t element_size,
                                int64_t *descriptor, int32_t *stat) {
  deallocate_array({file, line, true}, rank, element_size, descriptor, stat);
}
void __KAFf90_line_DeAlloc(const char *file, int32_t line, void *address, size_t size) {
  release_storage({file, line, true}, address, size);
}
void __KAFf90_line_DeAlloc_o(const char *file, int32_t line, void *address, size_t size) {
  release_storage({file, line, true}, address, size);
}

}  // extern "C"
