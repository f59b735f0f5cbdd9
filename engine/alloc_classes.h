// Size classes of the small blocks and the arithmetic that finds a block
// from its address. Internal to the allocator; the tests check the tables.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kaf::alloc {

// 16-byte steps to 128, then four classes per power of two to 128 KiB: the
// rounding wastes at most a fifth of a block.
constexpr size_t small_max = size_t{128} << 10;
constexpr unsigned num_classes = 48;

constexpr std::array<uint32_t, num_classes> make_class_sizes() {
  std::array<uint32_t, num_classes> t{};
  for (unsigned c = 0; c < 8; ++c) t[c] = 16 * (c + 1);
  for (unsigned k = 7, c = 8; k < 17; ++k)
    for (unsigned sub = 1; sub <= 4; ++sub) t[c++] = (1u << k) + sub * (1u << (k - 2));
  return t;
}
constexpr std::array<uint32_t, num_classes> class_size = make_class_sizes();
static_assert(class_size[num_classes - 1] == small_max);

// The class of each size up to 1 KiB in 16-byte steps, by table.
constexpr unsigned direct_max = 1024;
constexpr unsigned class_by_search(size_t size) {
  unsigned c = 0;
  while (class_size[c] < size) ++c;
  return c;
}
constexpr std::array<uint8_t, direct_max / 16> make_direct() {
  std::array<uint8_t, direct_max / 16> t{};
  for (unsigned k = 0; k < direct_max / 16; ++k)
    t[k] = static_cast<uint8_t>(class_by_search(16 * (k + 1)));
  return t;
}
constexpr std::array<uint8_t, direct_max / 16> direct_class = make_direct();

// The smallest class that holds size bytes; needs 0 < size <= small_max.
constexpr unsigned class_of(size_t size) {
  if (size <= direct_max) return direct_class[(size - 1) >> 4];
  const unsigned k = 63 - static_cast<unsigned>(std::countl_zero(uint64_t(size - 1)));
  return 8 + (k - 7) * 4 + static_cast<unsigned>((size - 1 - (size_t{1} << k)) >> (k - 2));
}
static_assert(class_of(1025) == 20 && class_size[20] == 1280);
static_assert(class_of(small_max) == num_classes - 1);

// Spans: 1 MiB, aligned to their size, each holding blocks of one class.
constexpr unsigned span_shift = 20;
constexpr size_t span_bytes = size_t{1} << span_shift;
constexpr uint32_t max_blocks = span_bytes / 16;  // 65,536
constexpr uint32_t max_words = max_blocks / 64;   // live-bitmap words: 1,024

constexpr std::array<uint32_t, num_classes> make_blocks() {
  std::array<uint32_t, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c)
    t[c] = static_cast<uint32_t>(span_bytes / class_size[c]);
  return t;
}
constexpr std::array<uint32_t, num_classes> class_blocks = make_blocks();

// Division by the block size without dividing: with m = ceil(2^40 / d), an
// offset n below 2^20 and d below 2^18, (n * m) >> 40 is n / d, and the low
// 40 bits of n * m are below m exactly when d divides n (the error of the
// rounded-up reciprocal stays under 2^-20, less than 1/d). One multiply
// gives both the block index and whether the offset is a block start.
constexpr unsigned reciprocal_shift = 40;
constexpr uint64_t fraction_mask = (uint64_t{1} << reciprocal_shift) - 1;
constexpr std::array<uint64_t, num_classes> make_reciprocals() {
  std::array<uint64_t, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c)
    t[c] = ((uint64_t{1} << reciprocal_shift) + class_size[c] - 1) / class_size[c];
  return t;
}
constexpr std::array<uint64_t, num_classes> class_reciprocal = make_reciprocals();

// What the hot paths need of a class, in one record, and the record of each
// size up to 1 KiB in 16-byte steps: one load gives the class, its block
// size and its reciprocal.
struct class_facts {
  uint64_t reciprocal;
  uint32_t size;
  uint32_t cls;
};
constexpr std::array<class_facts, num_classes> make_facts() {
  std::array<class_facts, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c) t[c] = {class_reciprocal[c], class_size[c], c};
  return t;
}
constexpr std::array<class_facts, num_classes> facts_by_class = make_facts();
constexpr std::array<class_facts, direct_max / 16> make_direct_facts() {
  std::array<class_facts, direct_max / 16> t{};
  for (unsigned k = 0; k < direct_max / 16; ++k) t[k] = facts_by_class[direct_class[k]];
  return t;
}
constexpr std::array<class_facts, direct_max / 16> direct_facts = make_direct_facts();

// needs 0 < size <= small_max
constexpr const class_facts &facts_of(size_t size) {
  if (size <= direct_max) return direct_facts[(size - 1) >> 4];
  return facts_by_class[class_of(size)];
}

}  // namespace kaf::alloc
