// Random ALLOCATE/DEALLOCATE/ReAlloc traffic from the fuzzer's bytes: every
// block keeps its contents, blocks never overlap, and every release and
// resize goes through with the size the block has (any fault would end
// the run with the allocator's message).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>

#include "kafrts.h"

namespace {

struct block {
  size_t size;
  unsigned char fill;
};

size_t size_from(const uint8_t *&p, const uint8_t *end) {
  if (end - p < 3) return 0;
  const unsigned shift = p[0] % 19;  // up to 256 KiB: both small and large blocks
  const size_t n = (size_t{p[1]} << 8 | p[2]) & ((size_t{1} << shift) - 1);
  p += 3;
  return n;
}

bool intact(uintptr_t a, const block &b) {
  const auto *q = reinterpret_cast<const unsigned char *>(a);
  for (size_t i = 0; i < b.size; i += 1 + b.size / 64)
    if (q[i] != b.fill) return false;
  return b.size == 0 || q[b.size - 1] == b.fill;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::map<uintptr_t, block> live;
  const uint8_t *p = data, *end = data + size;
  unsigned char fill = 1;
  while (p < end) {
    const uint8_t op = *p++;
    if (op % 3 == 0 || live.empty()) {
      const size_t n = size_from(p, end);
      void *(*take)(size_t) = op & 8    ? __KAFf90_zpAlloc
                              : op & 16 ? __KAFf90_aAlloc
                                        : __KAFf90_oAlloc;
      auto *q = static_cast<unsigned char *>(take(n));
      if (!q) __builtin_trap();
      if (n == 0) continue;  // the zero-size marker
      const auto a = reinterpret_cast<uintptr_t>(q);
      auto next = live.lower_bound(a);
      if (next != live.end() && a + n > next->first) __builtin_trap();
      if (next != live.begin() && std::prev(next)->first + std::prev(next)->second.size > a)
        __builtin_trap();
      std::memset(q, fill, n);
      live[a] = {n, fill++};
    } else {
      auto it = live.lower_bound(static_cast<uintptr_t>(op) << 4);
      if (it == live.end()) it = live.begin();
      if (!intact(it->first, it->second)) __builtin_trap();
      if (op % 3 == 1) {
        __KAFf90_pDeAlloc(reinterpret_cast<void *>(it->first), it->second.size);
        live.erase(it);
      } else {
        const size_t n = size_from(p, end);
        auto *q = static_cast<unsigned char *>(
            __KAFf90_ReAlloc(reinterpret_cast<void *>(it->first), it->second.size, n));
        const block old = it->second;
        live.erase(it);
        if (n == 0) continue;
        const auto a = reinterpret_cast<uintptr_t>(q);
        const size_t kept = old.size < n ? old.size : n;
        for (size_t i = 0; i < kept; ++i)
          if (q[i] != old.fill) __builtin_trap();
        std::memset(q, old.fill, n);
        live[a] = {n, old.fill};
      }
    }
  }
  for (auto &[a, b] : live) {
    if (!intact(a, b)) __builtin_trap();
    __KAFf90_oDeAlloc(reinterpret_cast<void *>(a), b.size);
  }
  return 0;
}
