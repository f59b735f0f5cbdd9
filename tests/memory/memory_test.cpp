// ALLOCATE/DEALLOCATE entries and array temporaries: the STAT convention,
// the fatal messages with and without location, the release address and
// size computed from a descriptor, and the temporaries' sizes. The
// allocator below checks every release, so a wrong address or size shows
// up as its fatal message.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kafrts.h"
#include "tests/memory/memory_support.h"

namespace {

using namespace kafmem;

// More than any machine can map.
constexpr size_t too_much = size_t{1} << 60;
// Within the address space, but more than the system will map.
constexpr size_t huge = size_t{1} << 45;

// ---- Storage and ALLOCATE ---------------------------------------------------

TEST(Allocate, ZeroBytesIsNoError) {
  auto r = in_child([] {
    for (auto f : {__KAFf90_Alloc_s, __KAFf90_Alloc_var, __KAFf90_Alloc_zs, __KAFf90_Alloc_zvar,
                   __KAFf90_Alloc_atmp, __KAFf90_Alloc_zatmp})
      __KAFf90_DeAlloc(f(0), 0);
    __KAFf90_DeAlloc_o(__KAFf90_line_Alloc_s("z.f90", 1, 0), 0);
    int32_t stat = 0;
    void *p = __KAFf90_Allocate_as(0, &stat);
    std::printf("%d %d", stat, p != nullptr);
    __KAFf90_Deallocate_s(p, 0, &stat);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "0 1");
}

TEST(Allocate, ZeroFilledFormsAreZero) {
  for (auto f : {__KAFf90_Alloc_zs, __KAFf90_Alloc_zvar, __KAFf90_Alloc_zatmp}) {
    auto *p = static_cast<unsigned char *>(__KAFf90_Alloc_s(300));
    std::memset(p, 0xEE, 300);
    __KAFf90_DeAlloc(p, 300);
    auto *q = static_cast<unsigned char *>(f(300));
    EXPECT_EQ(std::count(q, q + 300, 0), 300);
    __KAFf90_DeAlloc_o(q, 300);
  }
  int32_t stat = 0;
  for (auto f : {__KAFf90_Allocate_zs, __KAFf90_Allocate_zas}) {
    auto *q = static_cast<unsigned char *>(f(77, &stat));
    EXPECT_EQ(std::count(q, q + 77, 0), 77);
    __KAFf90_Deallocate_p(q, 77, &stat);
  }
  EXPECT_EQ(stat, 0);
}

TEST(Allocate, ShortageMessagesWithoutStat) {
  struct row {
    void *(*f)(size_t);
    const char *text;
  };
  const row rows[] = {
      {__KAFf90_Alloc_s, "Cannot get storage for variable - out of memory"},
      {__KAFf90_Alloc_var, "Cannot get storage for variable - out of memory"},
      {__KAFf90_Alloc_zs, "Cannot get storage for variable - out of memory"},
      {__KAFf90_Alloc_zvar, "Cannot get storage for variable - out of memory"},
      {__KAFf90_Alloc_atmp, "Cannot allocate array temporary - out of memory"},
      {__KAFf90_Alloc_zatmp, "Cannot allocate array temporary - out of memory"},
  };
  for (const row &w : rows) expect_fatal(in_child([&] { w.f(too_much); }), fatal_text("", w.text));
  for (auto f :
       {__KAFf90_Allocate_s, __KAFf90_Allocate_zs, __KAFf90_Allocate_as, __KAFf90_Allocate_zas})
    expect_fatal(in_child([&] { f(too_much, nullptr); }),
                 fatal_text("", "ALLOCATE failed: Out of memory"));
}

TEST(Allocate, ShortageMessagesCarryTheLocation) {
  expect_fatal(in_child([] { __KAFf90_line_Allocate_s("a.f90", 17, too_much, nullptr); }),
               fatal_text("a.f90, line 17: ", "ALLOCATE failed: Out of memory"));
  expect_fatal(in_child([] { __KAFf90_line_Allocate_zas("a.f90", 0, too_much, nullptr); }),
               fatal_text("a.f90:", "ALLOCATE failed: Out of memory"));
  expect_fatal(in_child([] { __KAFf90_line_Allocate_as(nullptr, 5, too_much, nullptr); }),
               fatal_text("", "ALLOCATE failed: Out of memory"));
  expect_fatal(in_child([] { __KAFf90_line_Alloc_zvar("v.f90", 3, too_much); }),
               fatal_text("v.f90, line 3: ", "Cannot get storage for variable - out of memory"));
  expect_fatal(in_child([] { __KAFf90_line_Alloc_atmp("t.f90", 8, too_much); }),
               fatal_text("t.f90, line 8: ", "Cannot allocate array temporary - out of memory"));
}

TEST(Allocate, StatOneAndTheProgramGoesOn) {
  auto r = in_child([] {
    int32_t stat = 0;
    void *a = __KAFf90_Allocate_as(too_much, &stat);
    const int32_t first = stat;
    // The second item of the statement is not attempted: it would succeed.
    void *b = __KAFf90_line_Allocate_s("s.f90", 2, 16, &stat);
    std::printf("%d %d %d %d", first, stat, a == nullptr, b == nullptr);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "1 1 1 1");
}

TEST(Allocate, RefusedMappingIsAShortageToo) {
  auto r = in_child([] {
    int32_t stat = 0;
    void *a = __KAFf90_line_Allocate_zs("m.f90", 1, huge, &stat);
    std::printf("%d %d", stat, a == nullptr);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "1 1");
  expect_fatal(in_child([] { __KAFf90_Allocate_s(huge, nullptr); }),
               fatal_text("", "ALLOCATE failed: Out of memory"));
}

// ALLOCATE(..., STAT=s, ERRMSG=m) and DEALLOCATE likewise: the codes set
// here give the texts of their ERRMSG=.
TEST(Allocate, StatCodesHaveTheirErrmsgTexts) {
  char msg[40];
  int32_t stat = 0;
  EXPECT_EQ(__KAFf90_Allocate_zas(too_much, &stat), nullptr);
  std::memset(msg, '?', sizeof msg);
  __KAFf90_stat_errmsg(stat, msg, sizeof msg);
  EXPECT_EQ(std::string(msg, 13), "Out of memory") << stat;
  stat = 0;
  __KAFf90_Deallocate_p(nullptr, 8, &stat);
  std::memset(msg, '?', sizeof msg);
  __KAFf90_stat_errmsg(stat, msg, sizeof msg);
  EXPECT_EQ(std::string(msg, 25), "Pointer is not associated") << stat;
}

TEST(Allocate, StatZeroOnSuccess) {
  int32_t stat = 0;
  void *a = __KAFf90_Allocate_s(40, &stat);
  EXPECT_EQ(stat, 0);
  ASSERT_NE(a, nullptr);
  __KAFf90_Deallocate_p(a, 40, &stat);
  EXPECT_EQ(stat, 0);
}

// ---- DEALLOCATE of scalars --------------------------------------------------

TEST(Deallocate, NullPointerMessages) {
  expect_fatal(in_child([] { __KAFf90_Deallocate_s(nullptr, 8, nullptr); }),
               fatal_text("", "DEALLOCATE: Scalar pointer is disassociated"));
  expect_fatal(in_child([] { __KAFf90_Deallocate_p(nullptr, 8, nullptr); }),
               fatal_text("", "DEALLOCATE of disassociated POINTER"));
  expect_fatal(in_child([] { __KAFf90_line_Deallocate_s("d.f90", 40, nullptr, 8, nullptr); }),
               fatal_text("d.f90, line 40: ", "DEALLOCATE: Scalar pointer is disassociated"));
  expect_fatal(in_child([] { __KAFf90_line_Deallocate_p("d.f90", 41, nullptr, 8, nullptr); }),
               fatal_text("d.f90, line 41: ", "DEALLOCATE of disassociated POINTER"));
}

TEST(Deallocate, NullPointerWithStatIsFourAndGoesOn) {
  auto r = in_child([] {
    int32_t stat = 0;
    __KAFf90_Deallocate_s(nullptr, 8, &stat);
    const int32_t first = stat;
    // A later item is left alone: releasing it would be a fault.
    int local = 0;
    __KAFf90_Deallocate_p(&local, 4, &stat);
    int32_t s2 = 0;
    __KAFf90_line_Deallocate_p("x.f90", 1, nullptr, 8, &s2);
    std::printf("%d %d %d", first, stat, s2);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "4 4 4");
}

TEST(Deallocate, ReleasesWithItsSize) {
  // The located form passes its location on: a second release names both.
  auto r = in_child([] {
    void *p = __KAFf90_Allocate_s(24, nullptr);
    __KAFf90_line_Deallocate_s("q.f90", 6, p, 24, nullptr);
    __KAFf90_line_Deallocate_p("q.f90", 7, p, 24, nullptr);
  });
  expect_fatal(r, fatal_text("q.f90, line 7: ",
                             "Invalid deallocation of size 24: block was "
                             "already deallocated at line 6 of q.f90"));
}

// ---- DEALLOCATE of arrays -------------------------------------------------

struct array_desc {
  int64_t word[2 + 3 * 7];
};

// A descriptor of the whole block of extents e (column-major, element size
// es), then reversed in the dimensions flagged in flip (a section such as
// A(n:1:-1)): base at the last element of those dimensions, stride negated.
array_desc describe(void *block, size_t es, std::initializer_list<int64_t> e, unsigned flip) {
  array_desc d{};
  auto base = reinterpret_cast<int64_t>(block);
  int64_t stride = static_cast<int64_t>(es);
  int k = 0;
  for (int64_t extent : e) {
    int64_t s = stride;
    if (flip >> k & 1) {
      base += stride * (extent - 1);
      s = -stride;
    }
    d.word[2 + 3 * k] = extent;
    d.word[3 + 3 * k] = s;
    d.word[4 + 3 * k] = 1;
    stride *= extent;
    ++k;
  }
  d.word[0] = base;
  return d;
}

TEST(DeallocateArray, ReleasesFromTheLowestAddress) {
  for (unsigned flip = 0; flip < 8; ++flip) {
    auto r = in_child([flip] {
      void *block = __KAFf90_Allocate_as(8 * 3 * 4 * 5, nullptr);
      array_desc d = describe(block, 8, {3, 4, 5}, flip);
      __KAFf90_Deallocate_a(3, 8, d.word, nullptr);
      tell(std::to_string(d.word[0]));
      // Released exactly once: the block is free now.
      __KAFf90_DeAlloc(block, 8 * 3 * 4 * 5);
    });
    expect_fatal(r,
                 fatal_text("", "Invalid deallocation of size 480: block was already deallocated"));
    EXPECT_EQ(r.out, "0") << flip;
  }
}

TEST(DeallocateArray, RankOneReversedSectionWithStat) {
  auto r = in_child([] {
    void *block = __KAFf90_Allocate_s(4 * 10, nullptr);
    array_desc d = describe(block, 4, {10}, 1);
    int32_t stat = 0;
    __KAFf90_line_Deallocate_a("r.f90", 3, 1, 4, d.word, &stat);
    std::printf("%d %lld", stat, static_cast<long long>(d.word[0]));
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "0 0");
}

TEST(DeallocateArray, GarbageDescriptorIsReportedNotFollowed) {
  // A stride that sends the address far away: the allocator reports it and
  // nothing is read there.
  auto r = in_child([] {
    void *block = __KAFf90_Allocate_s(40, nullptr);
    array_desc d = describe(block, 8, {5}, 0);
    d.word[3] = -(int64_t{1} << 40);
    __KAFf90_line_Deallocate_a("g.f90", 4, 1, 8, d.word, nullptr);
  });
  expect_fatal(r, fatal_text("g.f90, line 4: ",
                             "Invalid deallocation of size 40: not an allocated block"));
}

// With undefined releases allowed, DEALLOCATE of an array whose storage is
// not ours releases nothing, and the array is deallocated all the same.
TEST(DeallocateArray, AllowedUndefinedReleaseStillClearsTheDescriptor) {
  auto r = in_child(
      [] {
        double local[4] = {};
        array_desc d = describe(local, 8, {4}, 0);
        __KAFf90_Deallocate_a(1, 8, d.word, nullptr);
        int32_t stat = 0;
        array_desc e = describe(local, 8, {2, 2}, 2);
        __KAFf90_line_Deallocate_a("u.f90", 6, 2, 8, e.word, &stat);
        std::printf("%lld %lld %d", static_cast<long long>(d.word[0]),
                    static_cast<long long>(e.word[0]), stat);
      },
      false, true);
  expect_clean(r);
  EXPECT_EQ(r.out, "0 0 0");
}

TEST(DeallocateArray, NullBase) {
  array_desc d{};
  expect_fatal(in_child([&] { __KAFf90_Deallocate_a(2, 8, d.word, nullptr); }),
               fatal_text("", "DEALLOCATE: Array pointer is disassociated"));
  expect_fatal(in_child([&] { __KAFf90_line_Deallocate_a("n.f90", 9, 2, 8, d.word, nullptr); }),
               fatal_text("n.f90, line 9: ", "DEALLOCATE: Array pointer is disassociated"));
  int32_t stat = 0;
  __KAFf90_Deallocate_a(2, 8, d.word, &stat);
  EXPECT_EQ(stat, 4);
  stat = 7;  // an earlier item failed
  void *block = __KAFf90_Allocate_s(16, nullptr);
  array_desc live = describe(block, 8, {2}, 0);
  __KAFf90_Deallocate_a(1, 8, live.word, &stat);
  EXPECT_EQ(stat, 7);
  EXPECT_EQ(live.word[0], reinterpret_cast<int64_t>(block));
  __KAFf90_Deallocate_a(1, 8, live.word, nullptr);
  EXPECT_EQ(live.word[0], 0);
}

TEST(DeallocateArray, ZeroSizeMarkerAndRankZero) {
  auto r = in_child([] {
    // A zero-size array: its base is the marker, whatever its strides say.
    void *z = __KAFf90_Allocate_as(0, nullptr);
    array_desc d = describe(z, 8, {0, 4}, 3);
    d.word[0] = reinterpret_cast<int64_t>(z);
    __KAFf90_Deallocate_a(2, 8, d.word, nullptr);
    // Rank 0: the base with the element size.
    void *s = __KAFf90_Allocate_s(12, nullptr);
    array_desc e{};
    e.word[0] = reinterpret_cast<int64_t>(s);
    __KAFf90_Deallocate_a(0, 12, e.word, nullptr);
    tell(std::to_string(d.word[0]) + " " + std::to_string(e.word[0]) + " " +
         std::to_string(reinterpret_cast<uintptr_t>(z) == 0xFFFFFFFFu));
    __KAFf90_DeAlloc(s, 12);
  });
  expect_fatal(r, fatal_text("", "Invalid deallocation of size 12: block was already deallocated"));
  EXPECT_EQ(r.out, "0 0 1");
}

// ---- Array temporaries ---------------------------------------------------------

TEST(Temporaries, ThreeByFourDoublesAre96Bytes) {
  auto r = in_child([] {
    kaf_atmp t;
    std::memset(&t, 0x7F, sizeof t);
    __KAFf90_mkatmp_d(&t, 2, 3, 4);
    std::string shape;
    for (int32_t e : t.extent) shape += std::to_string(e) + " ";
    auto *p = static_cast<unsigned char *>(t.base);
    tell(shape + "|" + std::to_string(std::count(p, p + 96, 0)) + "|");
    __KAFf90_freevec_d(t);
    // freevec released exactly 96 bytes: a second release of 96 names the fault.
    __KAFf90_DeAlloc(t.base, 96);
  });
  EXPECT_EQ(r.out, "3 4 1 1 1 1 1 |96|");
  expect_fatal(r, fatal_text("", "Invalid deallocation of size 96: block was already deallocated"));
  // And it was recorded as 96 bytes: released with 96 it goes back cleanly.
  kaf_atmp t;
  __KAFf90_mkatmp_d(&t, 2, 3, 4);
  __KAFf90_DeAlloc(t.base, 96);
}

TEST(Temporaries, EveryLetterUsesItsElementSize) {
  struct row {
    void (*make)(kaf_atmp *, int32_t, ...);
    void (*lmake)(const char *, int32_t, kaf_atmp *, int32_t, ...);
    void (*free)(kaf_atmp);
    void (*lfree)(const char *, int32_t, kaf_atmp);
    size_t bytes;
  };
  const row rows[] = {
      {__KAFf90_mkatmp_c, __KAFf90_line_mkatmp_c, __KAFf90_freevec_c, __KAFf90_line_freevec_c, 8},
      {__KAFf90_mkatmp_d, __KAFf90_line_mkatmp_d, __KAFf90_freevec_d, __KAFf90_line_freevec_d, 8},
      {__KAFf90_mkatmp_dc, __KAFf90_line_mkatmp_dc, __KAFf90_freevec_dc, __KAFf90_line_freevec_dc,
       16},
      {__KAFf90_mkatmp_i1, __KAFf90_line_mkatmp_i1, __KAFf90_freevec_i1, __KAFf90_line_freevec_i1,
       1},
      {__KAFf90_mkatmp_i2, __KAFf90_line_mkatmp_i2, __KAFf90_freevec_i2, __KAFf90_line_freevec_i2,
       2},
      {__KAFf90_mkatmp_i, __KAFf90_line_mkatmp_i, __KAFf90_freevec_i, __KAFf90_line_freevec_i, 4},
      {__KAFf90_mkatmp_i4, __KAFf90_line_mkatmp_i4, __KAFf90_freevec_i4, __KAFf90_line_freevec_i4,
       8},
      {__KAFf90_mkatmp_l1, __KAFf90_line_mkatmp_l1, __KAFf90_freevec_l1, __KAFf90_line_freevec_l1,
       1},
      {__KAFf90_mkatmp_l2, __KAFf90_line_mkatmp_l2, __KAFf90_freevec_l2, __KAFf90_line_freevec_l2,
       2},
      {__KAFf90_mkatmp_l, __KAFf90_line_mkatmp_l, __KAFf90_freevec_l, __KAFf90_line_freevec_l, 4},
      {__KAFf90_mkatmp_l4, __KAFf90_line_mkatmp_l4, __KAFf90_freevec_l4, __KAFf90_line_freevec_l4,
       8},
      {__KAFf90_mkatmp_r, __KAFf90_line_mkatmp_r, __KAFf90_freevec_r, __KAFf90_line_freevec_r, 4},
  };
  for (const row &w : rows) {
    // Rank 3, 2 x 3 x 5: released by the allocator with element size x 30.
    kaf_atmp t;
    w.make(&t, 3, 2, 3, 5);
    EXPECT_EQ(t.extent[3], 1);
    __KAFf90_DeAlloc(t.base, w.bytes * 30);
    // Made and freed by the family's own pair, located forms too.
    w.make(&t, 1, 7);
    w.free(t);
    w.lmake("t.f90", 4, &t, 0);  // rank 0: one element
    EXPECT_EQ(t.extent[0], 1);
    __KAFf90_DeAlloc(t.base, w.bytes);
    w.lmake("t.f90", 5, &t, 2, 4, 0);  // an empty temporary
    EXPECT_EQ(t.extent[1], 0);
    w.lfree("t.f90", 6, t);
  }
  kaf_atmp_ch c;
  __KAFf90_mkatmp_ch(&c, 2, 11, 3, 2);
  EXPECT_EQ(c.char_len, 11);
  EXPECT_EQ(c.extent[0], 3);
  EXPECT_EQ(c.extent[2], 1);
  __KAFf90_DeAlloc(c.base, 66);
  __KAFf90_line_mkatmp_ch("c.f90", 1, &c, 1, 5, 9);
  __KAFf90_freevec_ch(c);
  __KAFf90_mkatmp_ch(&c, 1, 0, 9);
  __KAFf90_line_freevec_ch("c.f90", 2, c);
}

TEST(Temporaries, FreevecOfAWrongDescriptorIsCaught) {
  auto r = in_child([] {
    kaf_atmp t;
    __KAFf90_mkatmp_i(&t, 2, 3, 4);
    t.extent[1] = 5;
    __KAFf90_line_freevec_i("f.f90", 12, t);
  });
  EXPECT_NE(r.err.find("f.f90, line 12: Deallocation of Z'"), std::string::npos) << r.err;
  EXPECT_TRUE(r.signaled);
}

TEST(Temporaries, TooLargeIs134) {
  // 2^31 bytes does not fit in a signed 32-bit count; 2^31 - 8 does.
  expect_fatal(in_child([] {
                 kaf_atmp t;
                 __KAFf90_mkatmp_d(&t, 2, 65536, 4096);
               }),
               fatal_text("", "Cannot allocate array temporary - out of memory"));
  expect_fatal(in_child([] {
                 kaf_atmp t;
                 __KAFf90_line_mkatmp_dc("big.f90", 70, &t, 7, 16, 16, 16, 16, 16, 16,
                                         16);  // 2^32 bytes
               }),
               fatal_text("big.f90, line 70: ", "Cannot allocate array temporary - out of memory"));
  expect_fatal(in_child([] {
                 kaf_atmp_ch t;
                 __KAFf90_mkatmp_ch(&t, 1, 1 << 20, 4096);
               }),
               fatal_text("", "Cannot allocate array temporary - out of memory"));
  auto r = in_child([] {
    kaf_atmp t;
    __KAFf90_mkatmp_i1(&t, 2, 65535, 32768);  // 2^31 - 32768 bytes
    std::printf("%d", t.base != nullptr);
    __KAFf90_freevec_i1(t);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "1");
}

}  // namespace
