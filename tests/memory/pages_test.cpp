// Pages and their colours through the exported entries.
#include <gtest/gtest.h>

#include <cstdint>

#include "kafrts.h"
#include "tests/memory/memory_support.h"

namespace {

constexpr size_t page = 4096;
constexpr uintptr_t region = uintptr_t{1} << 28;

TEST(PageColours, UnknownAddressIsSeven) {
  static char in_data[16];
  int on_stack = 0;
  // Nothing has been mapped near these by the page layer in a fresh child.
  auto r = kaftest::run_in_child([&] {
    std::printf("%d %d", __KAFf90_pagecolour(&on_stack, 4), __KAFf90_pagecolour(in_data, 16));
  });
  EXPECT_EQ(r.out, "7 7");
}

TEST(PageColours, GetmemColoursEveryPageAndFreememReturnsThem) {
  for (int colour : {1, 2, 3, 6, 9, 200}) {
    auto *p = static_cast<char *>(__KAFf90_getmem(2 * page, colour));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(__KAFf90_pagecolour(p, 1), colour);
    EXPECT_EQ(__KAFf90_pagecolour(p + page, 1), colour);
    EXPECT_EQ(__KAFf90_pagecolour(p, 2 * page), colour);
    EXPECT_EQ(__KAFf90_pagecolour(p + page - 1, 2), colour);  // straddles the two pages
    p[0] = p[2 * page - 1] = 1;                               // both pages are mapped
    __KAFf90_freemem(p, 2 * page);
    EXPECT_EQ(__KAFf90_pagecolour(p, 1), 4);
    EXPECT_EQ(__KAFf90_pagecolour(p + page, 1), 4);
    EXPECT_EQ(__KAFf90_pagecolour(p, 2 * page), 4);
  }
}

TEST(PageColours, OddSizeColoursThePageOfTheLastByte) {
  auto *p = static_cast<char *>(__KAFf90_getmem(page + 1, 3));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(__KAFf90_pagecolour(p + page, 1), 3);
  __KAFf90_freemem(p, page + 1);
  EXPECT_EQ(__KAFf90_pagecolour(p + page, 1), 4);
}

TEST(PageColours, MixedRangeIsSeven) {
  auto *p = static_cast<char *>(__KAFf90_getmem(3 * page, 2));
  ASSERT_NE(p, nullptr);
  __KAFf90_freemem(p + page, page);
  EXPECT_EQ(__KAFf90_pagecolour(p, 3 * page), 7);
  EXPECT_EQ(__KAFf90_pagecolour(p, page), 2);
  EXPECT_EQ(__KAFf90_pagecolour(p + page, page), 4);
  EXPECT_EQ(__KAFf90_pagecolour(p + 2 * page, page), 2);
  __KAFf90_freemem(p, page);
  __KAFf90_freemem(p + 2 * page, page);
  EXPECT_EQ(__KAFf90_pagecolour(p, 3 * page), 4);
}

TEST(PageColours, BookkeepingRecordsNothing) {
  // A colour-5 mapping leaves the map as it was: its pages read 7 when the
  // region is unknown, else whatever they last had (0 when never coloured;
  // never 5, which only the colour arrays themselves carry).
  auto r = kafmem::in_child([] {
    auto *p = static_cast<char *>(__KAFf90_getmem(page, 5));
    const int alone = __KAFf90_pagecolour(p, 1);
    auto *q = static_cast<char *>(__KAFf90_getmem(page, 1));
    const bool same_region =
        (reinterpret_cast<uintptr_t>(p) >> 28) == (reinterpret_cast<uintptr_t>(q) >> 28);
    std::printf("%d %d %d", alone, same_region, __KAFf90_pagecolour(p, 1));
  });
  int alone = -1, same = -1, after = -1;
  ASSERT_EQ(std::sscanf(r.out.c_str(), "%d %d %d", &alone, &same, &after), 3) << r.err;
  EXPECT_NE(alone, 5);
  if (alone == 7 && same) {
    EXPECT_EQ(after, 0);
  }
  if (alone != 7) {
    EXPECT_EQ(after, alone);
  }
}

TEST(PageColours, RangeAcrossA256MiBBoundary) {
  // Any mapping longer than a region crosses a region boundary.
  const size_t n = region + 2 * page;
  auto *p = static_cast<char *>(__KAFf90_getmem(n, 3));
  ASSERT_NE(p, nullptr);
  const uintptr_t boundary = (reinterpret_cast<uintptr_t>(p) + region) & ~(region - 1);
  auto *b = reinterpret_cast<char *>(boundary);
  EXPECT_EQ(__KAFf90_pagecolour(b - page, 1), 3);
  EXPECT_EQ(__KAFf90_pagecolour(b, 1), 3);
  EXPECT_EQ(__KAFf90_pagecolour(p, n), 3);
  EXPECT_EQ(__KAFf90_pagecolour(p + n - 1, 1), 3);
  __KAFf90_freemem(p, n);
  EXPECT_EQ(__KAFf90_pagecolour(b - page, 1), 4);
  EXPECT_EQ(__KAFf90_pagecolour(b, 1), 4);
  EXPECT_EQ(__KAFf90_pagecolour(p, n), 4);
}

TEST(PageColours, FailedMappingIsNull) {
  EXPECT_EQ(__KAFf90_getmem(0, 1), nullptr);
  EXPECT_EQ(__KAFf90_getmem(size_t{1} << 62, 1), nullptr);
  EXPECT_EQ(__KAFf90_getmem(SIZE_MAX, 1), nullptr);
}

TEST(PageColours, FailingUnmapIsAnInternalError) {
  auto r = kafmem::in_child([] {
    // An address that is not page-aligned cannot be unmapped.
    auto *p = static_cast<char *>(__KAFf90_getmem(page, 1));
    __KAFf90_freemem(p + 1, page);
  });
  EXPECT_TRUE(r.signaled && r.signal == SIGABRT);
  EXPECT_EQ(r.err,
            "Runtime Error: Impossible failure from freemem\nProgram terminated by fatal error\n");
}

}  // namespace
