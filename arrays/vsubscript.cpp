// The check that a vector subscript on the left of an assignment holds no
// value twice (otherwise one element would be assigned twice). The first
// repeat in element order is reported: short vectors by comparison, values in
// a narrow range through a bitmap, the rest by sorting (value, position).
#include <algorithm>

#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

[[noreturn]] void report_duplicate(const char *file, int32_t line, const char *name, int32_t dim,
                                   int64_t value) {
  if (name) __KAFf90_rterr(file, line, 236, name, value);
  __KAFf90_rterr(file, line, 237, value, dim);
}

struct entry {
  int64_t value, position;
};

template <typename T>
void check_worker(const char *file, int32_t line, const int64_t *vector, const char *name,
                  int32_t dim) {
  const view v = decode(vector, 1, elform::numeric, sizeof(T));
  const int64_t n = v.extent[0];
  if (n <= 1) return;
  const auto at = [&](int64_t i) {
    T x;
    std::memcpy(&x, v.base + i * v.stride[0], sizeof(T));
    return static_cast<int64_t>(x);
  };
  const auto by_comparison = [&] {
    for (int64_t i = 1; i < n; ++i)
      for (int64_t j = 0; j < i; ++j)
        if (at(j) == at(i)) report_duplicate(file, line, name, dim, at(i));
  };
  if (n <= 32) return by_comparison();

  int64_t lo = at(0), hi = lo;
  for (int64_t i = 1; i < n; ++i) {
    lo = std::min(lo, at(i));
    hi = std::max(hi, at(i));
  }
  // span + 1 values; span itself never wraps (it is at most 2^64 - 1).
  const uint64_t span = static_cast<uint64_t>(hi) - static_cast<uint64_t>(lo);
  if (span / 64 < static_cast<uint64_t>(n)) {
    const size_t bytes = static_cast<size_t>(span / 8 + 1);
    auto *bits = static_cast<unsigned char *>(__KAFf90_zoAlloc(bytes));
    if (bits) {
      for (int64_t i = 0; i < n; ++i) {
        const uint64_t b = static_cast<uint64_t>(at(i)) - static_cast<uint64_t>(lo);
        const unsigned char mask = static_cast<unsigned char>(1u << (b & 7));
        if (bits[b >> 3] & mask) report_duplicate(file, line, name, dim, at(i));
        bits[b >> 3] |= mask;
      }
      __KAFf90_oDeAlloc(bits, bytes);
      return;
    }
  }
  const size_t bytes = static_cast<size_t>(n) * sizeof(entry);
  auto *e = static_cast<entry *>(__KAFf90_oAlloc(bytes));
  if (!e) return by_comparison();
  for (int64_t i = 0; i < n; ++i) e[i] = {at(i), i};
  std::sort(e, e + n, [](const entry &a, const entry &b) {
    return a.value != b.value ? a.value < b.value : a.position < b.position;
  });
  // In each run of equal values the second position is where the repeat is
  // first met; the earliest of those is the one to report.
  int64_t first = -1;
  for (int64_t i = 1; i < n; ++i)
    if (e[i].value == e[i - 1].value && (i < 2 || e[i - 2].value != e[i].value) &&
        (first < 0 || e[i].position < first))
      first = e[i].position;
  __KAFf90_oDeAlloc(e, bytes);
  if (first >= 0) report_duplicate(file, line, name, dim, at(first));
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::check_worker;

extern "C" {

void __KAFf90_check_vsubscript_line(const char *file, int32_t line, const int64_t *vector,
                                    const char *name, int32_t dim) {
  check_worker<int64_t>(file, line, vector, name, dim);
}
void __KAFf90_check_vsubscript(const int64_t *vector, const char *name, int32_t dim) {
  __KAFf90_check_vsubscript_line(nullptr, 0, vector, name, dim);
}
void __KAFf90_check_vsubscript_i4_line(const char *file, int32_t line, const int64_t *vector,
                                       const char *name, int32_t dim) {
  check_worker<int32_t>(file, line, vector, name, dim);
}
void __KAFf90_check_vsubscript_i4(const int64_t *vector, const char *name, int32_t dim) {
  __KAFf90_check_vsubscript_i4_line(nullptr, 0, vector, name, dim);
}

}  // extern "C"
