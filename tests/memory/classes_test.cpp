// The size classes and the one-multiply block arithmetic the release path
// relies on, checked on every size and every offset of a span.
#include <gtest/gtest.h>

#include "engine/alloc_classes.h"

namespace {

using namespace kaf::alloc;

TEST(SizeClasses, EverySizeGetsTheSmallestClassThatHoldsIt) {
  size_t wrong = 0;
  for (size_t size = 1; size <= small_max; ++size) {
    const unsigned c = class_of(size);
    const bool smallest = class_size[c] >= size && (c == 0 || class_size[c - 1] < size);
    // Above 128 bytes a block wastes at most a fifth of itself; the size
    // word of a live block (1 + waste) fits in 16 bits.
    const bool tight = size <= 128 || (class_size[c] - size) * 5 <= class_size[c];
    if (!smallest || !tight) ++wrong;
  }
  EXPECT_EQ(wrong, 0u);
  for (unsigned c = 0; c < num_classes; ++c) {
    EXPECT_EQ(class_size[c] % 16, 0u) << c;
    EXPECT_LT(class_size[c] - (c ? class_size[c - 1] : 0), 65535u) << c;
    EXPECT_LE(uint64_t{class_blocks[c]} * class_size[c], span_bytes) << c;
    EXPECT_GT(uint64_t{class_blocks[c] + 1} * class_size[c], span_bytes) << c;
  }
}

// For every class and every offset in a span: the block index is the
// quotient, and the low bits say exactly whether the offset starts a block.
TEST(SizeClasses, OneMultiplyGivesTheIndexAndWhetherAnOffsetStartsABlock) {
  for (unsigned c = 0; c < num_classes; ++c) {
    const uint64_t d = class_size[c], m = class_reciprocal[c];
    uint64_t wrong = 0;
    for (uint64_t off = 0; off < span_bytes; ++off) {
      const uint64_t product = off * m;
      const bool start = (product & fraction_mask) < m;
      if ((product >> reciprocal_shift) != off / d || start != (off % d == 0)) ++wrong;
    }
    EXPECT_EQ(wrong, 0u) << "class of " << d << " bytes";
  }
}

}  // namespace
