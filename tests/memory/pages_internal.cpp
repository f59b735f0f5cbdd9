// The page layer's region index, driven directly on a private map: colours
// of addresses far from anything mapped (colouring never touches the pages
// it describes), a full index, and its reclaim.
#include <gtest/gtest.h>

#include <vector>

#include "engine/alloc.h"

namespace {

using namespace kaf::pages;
constexpr uintptr_t region = uintptr_t{1} << 28;
// Far above every mapping of the test process, below the top of user space.
constexpr uintptr_t far_base = uintptr_t{0x500000000000};

const void *at(uintptr_t a) { return reinterpret_cast<const void *>(a); }

TEST(PageIndex, FreshMapKnowsNothing) {
  static page_map map;
  EXPECT_EQ(pagecolour(map, at(far_base), 1), colour_mixed);
  EXPECT_EQ(pagecolour(map, &map, 1), colour_mixed);
}

TEST(PageIndex, NeighboursOfAColouredPageReadZeroAndArraysReadFive) {
  static page_map map;
  ASSERT_EQ(set_colour(map, at(far_base + 10 * page_size), page_size, 2), 1);
  EXPECT_EQ(pagecolour(map, at(far_base + 10 * page_size), 1), 2);
  EXPECT_EQ(pagecolour(map, at(far_base + 11 * page_size), 1), colour_uncoloured);
  EXPECT_EQ(pagecolour(map, at(far_base + region - 1), 1), colour_uncoloured);
  EXPECT_EQ(pagecolour(map, at(far_base + region), 1), colour_mixed);
  // The colour array made for that region is itself coloured 5.
  const unsigned char *colours = nullptr;
  for (const region_entry &e : map.top_index)
    if (e.key == far_base) colours = e.colours;
  ASSERT_NE(colours, nullptr);
  EXPECT_EQ(pagecolour(map, colours, region_pages), colour_bookkeeping);
}

TEST(PageIndex, BookkeepingMappingsAreNotRecorded) {
  static page_map map;
  void *p = getmem(map, 2 * page_size, colour_bookkeeping);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(pagecolour(map, p, 1), colour_mixed);
  // Once something else makes the region known, its pages read 0.
  ASSERT_EQ(set_colour(map, static_cast<char *>(p) + page_size, page_size, 3), 1);
  EXPECT_EQ(pagecolour(map, p, 1), colour_uncoloured);
  freemem(map, p, 2 * page_size);
  EXPECT_EQ(pagecolour(map, p, 2 * page_size), colour_returned);
}

TEST(PageIndex, RangesAcrossRegions) {
  static page_map map;
  const uintptr_t b = far_base + 4 * region;
  // Two pages either side of a boundary.
  ASSERT_EQ(set_colour(map, at(b - page_size), 2 * page_size, 6), 1);
  EXPECT_EQ(pagecolour(map, at(b - page_size), 1), 6);
  EXPECT_EQ(pagecolour(map, at(b), 1), 6);
  EXPECT_EQ(pagecolour(map, at(b - page_size), 2 * page_size), 6);
  EXPECT_EQ(pagecolour(map, at(b - 2 * page_size), 1), colour_uncoloured);
  EXPECT_EQ(pagecolour(map, at(b + page_size), 1), colour_uncoloured);
  // Half a region, two whole ones and a part of a fourth.
  const uintptr_t s = b + region / 2;
  const size_t n = 2 * region + region / 2 + 3 * page_size;
  ASSERT_EQ(set_colour(map, at(s), n, 1), 1);
  EXPECT_EQ(pagecolour(map, at(s), n), 1);
  EXPECT_EQ(pagecolour(map, at(b + 2 * region), region), 1);
  EXPECT_EQ(pagecolour(map, at(s + n - 1), 1), 1);
  EXPECT_EQ(pagecolour(map, at(s + n), 1), colour_uncoloured);
  EXPECT_EQ(pagecolour(map, at(s - page_size), 1), colour_uncoloured);
  EXPECT_EQ(pagecolour(map, at(s - page_size), n), colour_mixed);
  // An unaligned range colours the page of its last byte too.
  ASSERT_EQ(set_colour(map, at(b + 4000), 200, 9), 1);
  EXPECT_EQ(pagecolour(map, at(b), 1), 9);
  EXPECT_EQ(pagecolour(map, at(b + page_size), 1), 9);
  EXPECT_EQ(set_colour(map, at(b), 0, 2), 1);
  EXPECT_EQ(pagecolour(map, at(b), 0), 9);
}

// Keys that share a home slot (bits 28..39 equal) probe past each other.
uintptr_t key(unsigned slot, unsigned lap) {
  return far_base + (uintptr_t{slot} << 28) + (uintptr_t{lap} << 40);
}

TEST(PageIndex, FullIndexFailsThenReclaimsWhollyReturnedRegions) {
  static page_map map;
  // Two chains: slots 100.. and 300.. hold laps 0, 1 and 2 of their home
  // slot, so laps 1 and 2 sit beyond it.
  std::vector<uintptr_t> keys;
  for (unsigned home : {100u, 300u})
    for (unsigned lap = 0; lap < 3; ++lap) keys.push_back(key(home, lap));
  for (unsigned slot = 0; slot < index_size; ++slot)
    if (slot != 100 && slot != 300) keys.push_back(key(slot, 0));
  std::vector<uintptr_t> known;
  for (uintptr_t k : keys) {
    if (!set_colour(map, at(k), page_size, 2)) break;
    known.push_back(k);
  }
  // Every slot is taken by a key or by the region of the colour arrays.
  ASSERT_LT(known.size(), keys.size());
  ASSERT_GT(known.size(), index_size - 8);
  for (uintptr_t k : known) {
    ASSERT_EQ(pagecolour(map, at(k), 1), 2) << std::hex << k;
  }
  const uintptr_t newcomer = far_base + (uintptr_t{5} << 40);  // home slot 0
  EXPECT_EQ(set_colour(map, at(newcomer), page_size, 1), 0);
  EXPECT_EQ(pagecolour(map, at(newcomer), 1), colour_mixed);

  // Return the whole of the regions at the head of both chains: their
  // arrays are released at the next shortage; the newcomer takes one
  // place, and the keys beyond the other stay reachable.
  ASSERT_EQ(set_colour(map, at(key(100, 0)), region, colour_returned), 1);
  ASSERT_EQ(set_colour(map, at(key(300, 0)), region, colour_returned), 1);
  ASSERT_EQ(set_colour(map, at(newcomer), page_size, 1), 1);
  EXPECT_EQ(pagecolour(map, at(newcomer), 1), 1);
  EXPECT_EQ(pagecolour(map, at(key(100, 0)), 1), colour_mixed);
  EXPECT_EQ(pagecolour(map, at(key(300, 0)), 1), colour_mixed);
  for (uintptr_t k : known) {
    if (k != key(100, 0) && k != key(300, 0)) {
      EXPECT_EQ(pagecolour(map, at(k), 1), 2) << std::hex << k;
    }
  }
}

}  // namespace
