// Array-constructor lists: a queue of fixed-size records (eight 64-bit
// words, nine for CHARACTER pieces) copied by value into nodes from the
// companion allocator.
#include <cstring>

#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/runtime.h"

struct kaf_atmp_node {
  int64_t record[8];  // CHARACTER nodes: nine words, the link after the ninth
};

namespace {

constexpr size_t node_bytes(size_t words) { return words * 8 + sizeof(void *); }
static_assert(node_bytes(8) == 72 && node_bytes(9) == 80);

kaf_atmp_node *&link_of(kaf_atmp_node *node, size_t words) {
  return *reinterpret_cast<kaf_atmp_node **>(reinterpret_cast<int64_t *>(node) + words);
}

// Appending walks the list: lists are short.
void append(kaf_atmp_node **list, const int64_t *record, size_t words) {
  auto *node = static_cast<kaf_atmp_node *>(__KAFf90_oAlloc(node_bytes(words)));
  std::memcpy(node, record, words * 8);
  link_of(node, words) = nullptr;
  kaf_atmp_node **at = list;
  while (*at) at = &link_of(*at, words);
  *at = node;
}

void step(kaf_atmp_node **list, int64_t *out, size_t words) {
  kaf_atmp_node *node = *list;
  std::memcpy(out, node, words * 8);
  *list = link_of(node, words);
  __KAFf90_oDeAlloc(node, node_bytes(words));
}

}  // namespace

extern "C" {

kaf_atmp_node *__KAFf90_atmplist_create(void) { return nullptr; }

void __KAFf90_atmplist_append(kaf_atmp_node **list, const int64_t *record) {
  append(list, record, 8);
}
void __KAFf90_atmplist_append_ch(kaf_atmp_node **list, const int64_t *record) {
  append(list, record, 9);
}

void __KAFf90_atmplist_elt(kaf_atmp_node *list, int64_t *out, int64_t n) {
  for (int64_t k = 0; k < n; ++k) list = link_of(list, 8);
  std::memcpy(out, list, 8 * 8);
}

void __KAFf90_atmplist_step(kaf_atmp_node **list, int64_t *out) { step(list, out, 8); }
void __KAFf90_atmplist_step_ch(kaf_atmp_node **list, int64_t *out) { step(list, out, 9); }

void __KAFf90_atmplist_finish(kaf_atmp_node *list) {
  if (list) __KAFf90_crash("atmplist_finish: elements remaining on atmp list");
}

}  // extern "C"
