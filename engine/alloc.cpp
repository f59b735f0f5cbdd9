// First storage allocator: blocks from malloc, each preceded by a record of
// the size it was taken with. Zero-byte requests get a distinct address.
#include <cstdlib>
#include <cstring>

#include "kafrts.h"

namespace {

struct block_record {
  size_t size;
  size_t kind;  // 'o', 'p' or 'a': which family took the block
};
static_assert(sizeof(block_record) == 16, "keeps user storage 16-byte aligned");

void *take(size_t size, bool zero, size_t kind) {
  if (size > SIZE_MAX - sizeof(block_record)) return nullptr;
  void *raw = zero ? std::calloc(1, sizeof(block_record) + size)
                   : std::malloc(sizeof(block_record) + size);
  if (!raw) return nullptr;
  auto *rec = static_cast<block_record *>(raw);
  rec->size = size;
  rec->kind = kind;
  return rec + 1;
}

void give_back(void *address) {
  if (!address) return;
  std::free(static_cast<block_record *>(address) - 1);
}

}  // namespace

extern "C" {
void *__KAFf90_oAlloc(size_t size) { return take(size, false, 'o'); }
void *__KAFf90_zoAlloc(size_t size) { return take(size, true, 'o'); }
void *__KAFf90_pAlloc(size_t size) { return take(size, false, 'p'); }
void *__KAFf90_zpAlloc(size_t size) { return take(size, true, 'p'); }
void *__KAFf90_aAlloc(size_t size) { return take(size, false, 'a'); }
void *__KAFf90_zaAlloc(size_t size) { return take(size, true, 'a'); }
void __KAFf90_oDeAlloc(void *address, size_t) { give_back(address); }
void __KAFf90_pDeAlloc(void *address, size_t) { give_back(address); }

void *__KAFf90_loAlloc(const char *, int32_t, size_t size) { return take(size, false, 'o'); }
void *__KAFf90_lzoAlloc(const char *, int32_t, size_t size) { return take(size, true, 'o'); }
void *__KAFf90_lpAlloc(const char *, int32_t, size_t size) { return take(size, false, 'p'); }
void *__KAFf90_lzpAlloc(const char *, int32_t, size_t size) { return take(size, true, 'p'); }
void *__KAFf90_laAlloc(const char *, int32_t, size_t size) { return take(size, false, 'a'); }
void *__KAFf90_lzaAlloc(const char *, int32_t, size_t size) { return take(size, true, 'a'); }
void __KAFf90_loDeAlloc(const char *, int32_t, void *address, size_t) { give_back(address); }
void __KAFf90_lpDeAlloc(const char *, int32_t, void *address, size_t) { give_back(address); }

void *__KAFf90_ReAlloc(void *address, size_t old_size, size_t new_size) {
  if (!address) return take(new_size, false, 'o');
  if (new_size > SIZE_MAX - sizeof(block_record)) return nullptr;
  auto *rec = static_cast<block_record *>(address) - 1;
  auto *moved = static_cast<block_record *>(std::realloc(rec, sizeof(block_record) + new_size));
  if (!moved) return nullptr;
  (void)old_size;
  moved->size = new_size;
  return moved + 1;
}

void __KAFf90_delete_avlpat(void) {}
}
