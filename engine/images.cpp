// Per-image records. In single-image mode (the only mode so far) both keys
// are 0 and no thread has a record.
#include "kafrts.h"

namespace {
// Key k (1..8) names slot k-1 of the calling thread's record table.
constexpr int key_slots = 8;
thread_local void *image_records[key_slots];
}  // namespace

extern "C" {
int32_t __KAFf90_this_image_id = 0;
int32_t __KAFf90_this_teamimage_id = 0;

void *__KAFf90_tls_pget(int32_t key) {
  if (key < 1 || key > key_slots) return nullptr;
  return image_records[key - 1];
}
}
