// Array-constructor lists: order, random access, the check at the end, and
// nodes of the sizes the allocator records.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "kafrts.h"
#include "tests/memory/memory_support.h"

namespace {

using record = std::array<int64_t, 8>;
using record_ch = std::array<int64_t, 9>;

record make(int64_t seed) {
  record r;
  for (int i = 0; i < 8; ++i) r[i] = seed * 100 + i;
  return r;
}
record_ch make_ch(int64_t seed) {
  record_ch r;
  for (int i = 0; i < 9; ++i) r[i] = -seed * 100 - i;
  return r;
}

TEST(AtmpList, StepsComeBackInAppendOrder) {
  kaf_atmp_node *list = __KAFf90_atmplist_create();
  EXPECT_EQ(list, nullptr);
  for (int64_t s : {1, 2, 3}) {
    record r = make(s);
    __KAFf90_atmplist_append(&list, r.data());
    r.fill(0);  // the list holds its own copy
  }
  for (int64_t s : {1, 2, 3}) {
    ASSERT_NE(list, nullptr);
    record out{};
    __KAFf90_atmplist_step(&list, out.data());
    EXPECT_EQ(out, make(s));
  }
  EXPECT_EQ(list, nullptr);
  __KAFf90_atmplist_finish(list);
}

TEST(AtmpList, EltReadsByPositionAndLeavesTheList) {
  kaf_atmp_node *list = __KAFf90_atmplist_create();
  for (int64_t s : {10, 20, 30}) {
    record r = make(s);
    __KAFf90_atmplist_append(&list, r.data());
  }
  kaf_atmp_node *head = list;
  const struct {
    int64_t n;
    int64_t seed;
  } rows[] = {{2, 30}, {1, 20}, {0, 10}, {-5, 10}};
  for (const auto &w : rows) {
    record out{};
    __KAFf90_atmplist_elt(list, out.data(), w.n);
    EXPECT_EQ(out, make(w.seed)) << w.n;
  }
  EXPECT_EQ(list, head);
  record out{};
  for (int64_t s : {10, 20, 30}) {
    __KAFf90_atmplist_step(&list, out.data());
    EXPECT_EQ(out, make(s));
  }
  EXPECT_EQ(list, nullptr);
}

TEST(AtmpList, CharacterRecordsKeepTheirNinthWord) {
  kaf_atmp_node *list = __KAFf90_atmplist_create();
  for (int64_t s : {4, 5}) {
    record_ch r = make_ch(s);
    __KAFf90_atmplist_append_ch(&list, r.data());
  }
  for (int64_t s : {4, 5}) {
    record_ch out{};
    __KAFf90_atmplist_step_ch(&list, out.data());
    EXPECT_EQ(out, make_ch(s));
  }
  EXPECT_EQ(list, nullptr);
}

TEST(AtmpList, NodesAreSeventyTwoAndEightyBytes) {
  // A node goes back with the size it was taken with: releasing the first
  // node again with that size is reported as a second release.
  for (auto [ch, bytes] : {std::pair{false, 72}, std::pair{true, 80}}) {
    auto r = kafmem::in_child([ch = ch, bytes = bytes] {
      kaf_atmp_node *list = nullptr;
      record_ch rec = make_ch(1);
      if (ch)
        __KAFf90_atmplist_append_ch(&list, rec.data());
      else
        __KAFf90_atmplist_append(&list, rec.data());
      kaf_atmp_node *node = list;
      if (ch)
        __KAFf90_atmplist_step_ch(&list, rec.data());
      else
        __KAFf90_atmplist_step(&list, rec.data());
      __KAFf90_oDeAlloc(node, bytes);
    });
    EXPECT_EQ(r.err, "Runtime Error: Invalid deallocation of size " + std::to_string(bytes) +
                         ": block was already deallocated\nProgram terminated by fatal error\n");
  }
}

TEST(AtmpList, FinishWithRecordsLeftIsFatal) {
  auto r = kafmem::in_child([] {
    kaf_atmp_node *list = nullptr;
    record a = make(1), b = make(2);
    __KAFf90_atmplist_append(&list, a.data());
    __KAFf90_atmplist_append(&list, b.data());
    __KAFf90_atmplist_step(&list, a.data());
    __KAFf90_atmplist_finish(list);
  });
  EXPECT_TRUE(r.signaled && r.signal == SIGABRT);
  EXPECT_EQ(r.err,
            "Runtime Error: atmplist_finish: elements remaining on atmp list\n"
            "Program terminated by fatal error\n");
}

}  // namespace
