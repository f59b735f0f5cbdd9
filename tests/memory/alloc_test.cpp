// The storage allocator: blocks, reuse, zero-filling, threads, and the
// checks on every release (each fault with its exact message, none of them
// reading the memory being released).
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kafrts.h"
#include "tests/memory/memory_support.h"

namespace {

using namespace kafmem;

const uintptr_t zero_size_marker = 0xFFFFFFFFu;

std::string hex(const void *p) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%llX",
                static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(p)));
  return buf;
}

// ---- Blocks ------------------------------------------------------------------

TEST(Allocator, ZeroSizeIsTheMarkerAndReleasesQuietly) {
  EXPECT_EQ(reinterpret_cast<uintptr_t>(__KAFf90_oAlloc(0)), zero_size_marker);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(__KAFf90_zpAlloc(0)), zero_size_marker);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(__KAFf90_laAlloc("f", 1, 0)), zero_size_marker);
  // Released with any size, any number of times, by every entry.
  auto r = in_child([] {
    void *z = __KAFf90_aAlloc(0);
    __KAFf90_pDeAlloc(z, 0);
    __KAFf90_pDeAlloc(z, 8);
    __KAFf90_oDeAlloc(z, 0);
    __KAFf90_lpDeAlloc("f.f90", 3, z, 4);
  });
  EXPECT_TRUE(r.exited && r.exit_status == 0) << r.err;
  EXPECT_EQ(r.err, "");
}

TEST(Allocator, BlocksAreAlignedDisjointAndKeepTheirContents) {
  // Sizes on every class edge, below, at and above, small and large.
  std::vector<size_t> sizes;
  for (size_t edge : {16, 128, 160, 256, 1024, 4096, 65536, 131072, 1 << 20})
    for (size_t d : {size_t(0), size_t(1)}) {
      sizes.push_back(edge - d);
      sizes.push_back(edge + 1);
    }
  sizes.push_back(1);
  struct block {
    unsigned char *p;
    size_t n;
    unsigned char fill;
  };
  std::vector<block> live;
  unsigned char fill = 1;
  for (int round = 0; round < 3; ++round)
    for (size_t n : sizes) {
      auto *p = static_cast<unsigned char *>(__KAFf90_pAlloc(n));
      ASSERT_NE(p, nullptr) << n;
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u) << n;
      std::memset(p, fill, n);
      live.push_back({p, n, fill++});
    }
  std::vector<block> sorted = live;
  std::sort(sorted.begin(), sorted.end(), [](auto &a, auto &b) { return a.p < b.p; });
  for (size_t i = 1; i < sorted.size(); ++i)
    EXPECT_LE(sorted[i - 1].p + sorted[i - 1].n, sorted[i].p) << sorted[i - 1].n;
  for (const block &b : live) {
    EXPECT_EQ(std::count(b.p, b.p + b.n, b.fill), static_cast<long>(b.n)) << b.n;
    __KAFf90_pDeAlloc(b.p, b.n);
  }
}

TEST(Allocator, ZeroFormsClearReusedBlocks) {
  for (size_t n : {size_t(24), size_t(1000), size_t(100000), size_t(300000)}) {
    auto *p = static_cast<unsigned char *>(__KAFf90_oAlloc(n));
    std::memset(p, 0xAB, n);
    __KAFf90_oDeAlloc(p, n);
    for (void *(*z)(size_t) : {__KAFf90_zoAlloc, __KAFf90_zpAlloc, __KAFf90_zaAlloc}) {
      auto *q = static_cast<unsigned char *>(z(n));
      std::memset(q, 0xCD, n);  // dirty it for the next round
      __KAFf90_oDeAlloc(q, n);
      q = static_cast<unsigned char *>(z(n));
      EXPECT_EQ(std::count(q, q + n, 0), static_cast<long>(n)) << n;
      __KAFf90_oDeAlloc(q, n);
    }
  }
  auto *q = static_cast<unsigned char *>(__KAFf90_lzoAlloc("f", 1, 40));
  EXPECT_EQ(std::count(q, q + 40, 0), 40);
  __KAFf90_loDeAlloc("f", 2, q, 40);
}

// Random ALLOCATE/DEALLOCATE against a plain model of the live blocks.
TEST(Allocator, RandomTrafficAgainstAModel) {
  std::mt19937_64 rng(12345);
  std::map<uintptr_t, std::pair<size_t, unsigned char>> model;
  std::vector<uintptr_t> order;
  for (int step = 0; step < 20000; ++step) {
    if (order.empty() || rng() % 3 != 0) {
      const int shift = static_cast<int>(rng() % 18);
      const size_t n = 1 + rng() % (size_t{1} << shift);
      auto *p = static_cast<unsigned char *>(__KAFf90_aAlloc(n));
      ASSERT_NE(p, nullptr);
      const auto a = reinterpret_cast<uintptr_t>(p);
      auto next = model.lower_bound(a);
      if (next != model.end()) {
        ASSERT_LE(a + n, next->first) << "overlap at " << n;
      }
      if (next != model.begin()) {
        auto prev = std::prev(next);
        ASSERT_LE(prev->first + prev->second.first, a) << "overlap at " << n;
      }
      const auto fill = static_cast<unsigned char>(step);
      std::memset(p, fill, std::min<size_t>(n, 64));
      model[a] = {n, fill};
      order.push_back(a);
    } else {
      const size_t k = rng() % order.size();
      const uintptr_t a = order[k];
      order[k] = order.back();
      order.pop_back();
      auto [n, fill] = model[a];
      auto *p = reinterpret_cast<unsigned char *>(a);
      ASSERT_EQ(std::count(p, p + std::min<size_t>(n, 64), fill),
                static_cast<long>(std::min<size_t>(n, 64)));
      __KAFf90_pDeAlloc(p, n);
      model.erase(a);
    }
  }
  for (auto &[a, v] : model) __KAFf90_pDeAlloc(reinterpret_cast<void *>(a), v.first);
}

// A large block released and handed out again by a z form, of the same
// kind or another, is cleared (up to the size asked for) before it is
// handed out.
TEST(Allocator, ReusedLargeBlockIsZeroFilled) {
  // A page count no other test uses, so that the kept block is this one.
  const size_t n = (size_t{2} << 20) + 777;
  for (void *(*z)(size_t) : {__KAFf90_zoAlloc, __KAFf90_zpAlloc, __KAFf90_zaAlloc}) {
    auto *p = static_cast<unsigned char *>(__KAFf90_oAlloc(n));
    std::memset(p, 0xAB, n);
    __KAFf90_oDeAlloc(p, n);
    auto *q = static_cast<unsigned char *>(z(n - 500));
    EXPECT_EQ(q, p) << "the kept block is handed out again";
    EXPECT_EQ(std::count(q, q + n - 500, 0), static_cast<long>(n - 500));
    __KAFf90_oDeAlloc(q, n - 500);
  }
}

// A kept block changes only its first page's colour on the way out and
// back; handed to another kind, all its pages take the new kind's colour.
TEST(Allocator, KeptLargeBlockTakesTheColourOfItsNewKind) {
  const size_t n = (size_t{3} << 20) + 12345, pages_after_first = n - 4096;
  auto *p = static_cast<char *>(__KAFf90_oAlloc(n));
  __KAFf90_oDeAlloc(p, n);
  EXPECT_EQ(__KAFf90_pagecolour(p, 1), 8);
  auto *q = static_cast<char *>(__KAFf90_aAlloc(n));
  ASSERT_EQ(q, p);
  EXPECT_EQ(__KAFf90_pagecolour(q, n), 3);
  __KAFf90_pDeAlloc(q, n);
  EXPECT_EQ(__KAFf90_pagecolour(q, 1), 8);
  EXPECT_EQ(__KAFf90_pagecolour(q + 4096, pages_after_first), 3);
  q = static_cast<char *>(__KAFf90_zaAlloc(n - 3));
  ASSERT_EQ(q, p);
  EXPECT_EQ(__KAFf90_pagecolour(q, n), 3);
  __KAFf90_pDeAlloc(q, n - 3);
}

// Blocks released by another thread go back to the thread that took them:
// once its spans run full it takes them in, rather than new spans.
TEST(Allocator, BlocksReleasedByAnotherThreadGoBackToTheirOwner) {
  auto r = in_child([] {
    constexpr size_t n = 20000, size = 112;  // two to three spans of 1 MiB
    std::vector<void *> first(n);
    for (auto &p : first) p = __KAFf90_aAlloc(size);
    std::thread([&] {
      for (void *p : first) __KAFf90_pDeAlloc(p, size);
    }).join();
    std::vector<uintptr_t> spans;
    for (void *p : first) spans.push_back(reinterpret_cast<uintptr_t>(p) >> 20);
    std::sort(spans.begin(), spans.end());
    size_t elsewhere = 0;
    std::vector<void *> second(n);
    for (auto &p : second) {
      p = __KAFf90_aAlloc(size);
      elsewhere +=
          !std::binary_search(spans.begin(), spans.end(), reinterpret_cast<uintptr_t>(p) >> 20);
    }
    for (void *p : second) __KAFf90_pDeAlloc(p, size);
    tell(std::to_string(elsewhere));
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "0");
}

TEST(Allocator, ReAllocKeepsContents) {
  for (size_t from : {size_t(10), size_t(100), size_t(5000), size_t(200000)})
    for (size_t to : {size_t(1), size_t(12), size_t(99), size_t(7000), size_t(300000)}) {
      auto *p = static_cast<unsigned char *>(__KAFf90_oAlloc(from));
      for (size_t i = 0; i < from; ++i) p[i] = static_cast<unsigned char>(i * 7 + 1);
      auto *q = static_cast<unsigned char *>(__KAFf90_ReAlloc(p, from, to));
      ASSERT_NE(q, nullptr);
      for (size_t i = 0; i < std::min(from, to); ++i)
        ASSERT_EQ(q[i], static_cast<unsigned char>(i * 7 + 1)) << from << "->" << to;
      // The block is now recorded with the new size.
      __KAFf90_oDeAlloc(q, to);
    }
  // From and to zero bytes.
  void *z = __KAFf90_ReAlloc(nullptr, 0, 0);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(z), zero_size_marker);
  auto *p = static_cast<char *>(__KAFf90_ReAlloc(z, 0, 5));
  std::memcpy(p, "abcde", 5);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(__KAFf90_ReAlloc(p, 5, 0)), zero_size_marker);
}

TEST(Allocator, ReAllocOfAReleasedBlockIsReported) {
  void *p = __KAFf90_oAlloc(48);
  __KAFf90_oDeAlloc(p, 48);
  auto r = in_child([&] { __KAFf90_ReAlloc(p, 48, 96); });
  expect_fatal(r, fatal_text("", "Invalid deallocation of size 48: block was already deallocated"));
}

TEST(Allocator, ThreadsAllocateAndReleaseEachOthersBlocks) {
  constexpr int threads = 4, per_thread = 20000;
  // Each block holds its size in its first word and its owner's mark after.
  std::vector<std::atomic<uintptr_t>> mailbox(threads * 64);
  std::atomic<int> bad{0};
  auto release = [&](uintptr_t got) {
    auto *q = reinterpret_cast<unsigned char *>(got);
    size_t m;
    std::memcpy(&m, q, sizeof m);
    if (std::count(q + 8, q + m, q[8]) != static_cast<long>(m - 8)) ++bad;
    __KAFf90_pDeAlloc(q, m);
  };
  auto work = [&](int t) {
    std::mt19937 rng(t);
    for (int i = 0; i < per_thread; ++i) {
      // Mostly small blocks, now and then a large one.
      const size_t n = i % 64 == 0 ? 150000 + rng() % 200000 : 16 + rng() % 2000;
      auto *p = static_cast<unsigned char *>(__KAFf90_pAlloc(n));
      std::memcpy(p, &n, sizeof n);
      std::memset(p + 8, t + 1, n - 8);
      // Leave it for another thread, and release what another thread left.
      const size_t slot = rng() % mailbox.size();
      if (uintptr_t got = mailbox[slot].exchange(reinterpret_cast<uintptr_t>(p))) release(got);
    }
  };
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) pool.emplace_back(work, t);
  for (auto &th : pool) th.join();
  for (auto &m : mailbox)
    if (uintptr_t got = m.load()) release(got);
  EXPECT_EQ(bad.load(), 0);
  // Blocks of threads that have ended are still released and reused.
  void *p = nullptr;
  std::thread([&] { p = __KAFf90_oAlloc(32); }).join();
  __KAFf90_oDeAlloc(p, 32);
  void *again = nullptr;
  std::thread([&] {
    again = __KAFf90_oAlloc(32);
    __KAFf90_oDeAlloc(again, 32);
  }).join();
  EXPECT_NE(again, nullptr);
}

// A block released by another thread, then released again.
TEST(AllocatorFaults, DoubleReleaseAcrossThreads) {
  auto r = in_child([] {
    void *p = __KAFf90_pAlloc(64);
    std::thread([&] { __KAFf90_lpDeAlloc("a.f90", 7, p, 64); }).join();
    __KAFf90_lpDeAlloc("b.f90", 9, p, 64);
  });
  expect_fatal(r, fatal_text("b.f90, line 9: ",
                             "Invalid deallocation of size 64: block was already deallocated at "
                             "line 7 of a.f90"));
}

// Released twice, both times by threads other than the one that took it.
TEST(AllocatorFaults, DoubleReleaseByTwoOtherThreads) {
  auto r = in_child([] {
    void *p = __KAFf90_pAlloc(200);
    std::thread([&] { __KAFf90_lpDeAlloc("c.f90", 30, p, 200); }).join();
    std::thread([&] { __KAFf90_lpDeAlloc("c.f90", 31, p, 200); }).join();
  });
  expect_fatal(r, fatal_text("c.f90, line 31: ",
                             "Invalid deallocation of size 200: block was already deallocated at "
                             "line 30 of c.f90"));
}

// The block a thread keeps aside after releasing it (for its next request)
// is not live: another release of it, from any thread, is reported.
TEST(AllocatorFaults, KeptSmallBlockReleasedAgainByAnotherThread) {
  auto r = in_child([] {
    void *p = __KAFf90_pAlloc(48);
    __KAFf90_lpDeAlloc("t.f90", 1, p, 48);
    std::thread([&] { __KAFf90_lpDeAlloc("t.f90", 2, p, 48); }).join();
  });
  expect_fatal(r, fatal_text("t.f90, line 2: ",
                             "Invalid deallocation of size 48: block was already deallocated at "
                             "line 1 of t.f90"));
  auto r2 = in_child([] {
    void *p = __KAFf90_pAlloc(48);
    __KAFf90_pDeAlloc(p, 48);
    __KAFf90_ReAlloc(p, 48, 20);
  });
  expect_fatal(r2, fatal_text("", "Invalid deallocation of size 48: block was already deallocated"));
}

// A kept large block: its start was released, and an address past its
// first page was never handed out as such.
TEST(AllocatorFaults, KeptLargeBlockIsNotLive) {
  constexpr size_t n = (size_t{5} << 20) + 1;
  auto r = in_child([] {
    auto *p = static_cast<char *>(__KAFf90_pAlloc(n));
    __KAFf90_lpDeAlloc("k.f90", 3, p, n);
    __KAFf90_lpDeAlloc("k.f90", 4, p + 8192, n - 8192);
  });
  expect_fatal(r, fatal_text("k.f90, line 4: ", "Invalid deallocation of size " +
                                                     std::to_string(n - 8192) +
                                                     ": not an allocated block"));
}

// ---- Faulty releases ------------------------------------------------------

TEST(AllocatorFaults, DoubleDeallocateNamesTheFirstRelease) {
  for (size_t n : {size_t(16), size_t(1024), size_t(70000), size_t(200000), size_t(100 << 20)}) {
    auto r = in_child([n] {
      void *p = __KAFf90_lpAlloc("prog.f90", 4, n);
      __KAFf90_lpDeAlloc("prog.f90", 10, p, n);
      __KAFf90_lpDeAlloc("prog.f90", 12, p, n);
    });
    expect_fatal(r, fatal_text("prog.f90, line 12: ",
                               "Invalid deallocation of size " + std::to_string(n) +
                                   ": block was already deallocated at line 10 of prog.f90"));
  }
}

TEST(AllocatorFaults, DoubleDeallocateWithoutLocation) {
  for (size_t n : {size_t(8), size_t(3000), size_t(1 << 20)}) {
    auto r = in_child([n] {
      void *p = __KAFf90_pAlloc(n);
      __KAFf90_pDeAlloc(p, n);
      __KAFf90_pDeAlloc(p, n);
    });
    expect_fatal(r, fatal_text("", "Invalid deallocation of size " + std::to_string(n) +
                                       ": block was already deallocated"));
  }
}

TEST(AllocatorFaults, DoubleDeallocateShowDanglingGivesTheAddress) {
  for (size_t n : {size_t(40), size_t(500000)}) {
    auto r = in_child(
        [&] {
          void *p = __KAFf90_pAlloc(n);
          tell(hex(p));
          __KAFf90_lpDeAlloc("m.f90", 20, p, n);
          __KAFf90_lpDeAlloc("m.f90", 21, p, n);
        },
        true);
    expect_fatal(r, fatal_text("m.f90, line 21: ", "Invalid deallocation of Z'" + r.out +
                                                       "' size " + std::to_string(n) +
                                                       ": block was already deallocated at line 20 "
                                                       "of m.f90"));
    auto r2 = in_child(
        [&] {
          void *p = __KAFf90_pAlloc(n);
          tell(hex(p));
          __KAFf90_pDeAlloc(p, n);
          __KAFf90_pDeAlloc(p, n);
        },
        true);
    expect_fatal(r2, fatal_text("", "Memory block at Z'" + r2.out + "' already deallocated"));
  }
}

TEST(AllocatorFaults, StackAddress) {
  auto r = in_child([] {
    int local[4] = {};
    __KAFf90_lpDeAlloc("s.f90", 5, local, sizeof local);
  });
  expect_fatal(
      r, fatal_text("s.f90, line 5: ", "Invalid deallocation of size 16: not an allocated block"));
  auto r2 = in_child(
      [] {
        double local = 0;
        tell(hex(&local));
        __KAFf90_oDeAlloc(&local, 8);
      },
      true);
  expect_fatal(r2, fatal_text("", "Invalid deallocation of Z'" + r2.out +
                                      "' size 8: not an allocated block"));
}

// Blocks of the C library, already freed: reading them would be caught by
// AddressSanitizer in the sanitizer build.
TEST(AllocatorFaults, ForeignFreedMemoryIsNotTouched) {
  auto r = in_child([] {
    void *p = std::malloc(100);
    volatile uintptr_t kept = reinterpret_cast<uintptr_t>(p);
    std::free(p);
    __KAFf90_pDeAlloc(reinterpret_cast<void *>(kept), 100);
  });
  expect_fatal(r, fatal_text("", "Invalid deallocation of size 100: not an allocated block"));
}

TEST(AllocatorFaults, InteriorPointer) {
  for (size_t n : {size_t(64), size_t(4096), size_t(300000)}) {
    auto r = in_child([n] {
      auto *p = static_cast<char *>(__KAFf90_aAlloc(n));
      __KAFf90_lpDeAlloc("i.f90", 30, p + 16, n - 16);
    });
    expect_fatal(r,
                 fatal_text("i.f90, line 30: ", "Attempt to DEALLOCATE part of a larger object"));
    auto r2 = in_child(
        [n] {
          auto *p = static_cast<char *>(__KAFf90_aAlloc(n));
          tell(hex(p + 16) + " " + hex(p + n - 1) + " " + hex(p) + " " + hex(p + n - 1));
          __KAFf90_pDeAlloc(p + 16, n - 16);
        },
        true);
    char a[32], b[32], c[32], d[32];
    ASSERT_EQ(std::sscanf(r2.out.c_str(), "%31s %31s %31s %31s", a, b, c, d), 4);
    expect_fatal(r2, fatal_text("", std::string("Deallocation of Z'") + a + "'-Z'" + b +
                                        "' overlaps Z'" + c + "'-Z'" + d + "'"));
  }
}

TEST(AllocatorFaults, WrongSize) {
  // Same size class and another class; small and large.
  for (auto [taken, given] : {std::pair<size_t, size_t>{100, 104},
                              {100, 8},
                              {2000, 2001},
                              {300000, 300001},
                              {300000, 4096}}) {
    auto r = in_child([taken = taken, given = given] {
      auto *p = static_cast<char *>(__KAFf90_pAlloc(taken));
      tell(hex(p) + " " + hex(p + given - 1) + " " + hex(p + taken - 1));
      __KAFf90_lpDeAlloc("w.f90", 2, p, given);
    });
    char a[32], b[32], c[32];
    ASSERT_EQ(std::sscanf(r.out.c_str(), "%31s %31s %31s", a, b, c), 3);
    expect_fatal(r, fatal_text("w.f90, line 2: ", std::string("Deallocation of Z'") + a + "'-Z'" +
                                                      b + "' overlaps Z'" + a + "'-Z'" + c + "'"));
  }
}

// mem_allow_undef_dealloc lets only blocks that are not ours, or no longer
// ours, pass: part of a live block is still fatal.
TEST(AllocatorFaults, InteriorPointerStaysFatalWhenUndefinedReleasesAreAllowed) {
  auto r = in_child(
      [] {
        auto *p = static_cast<unsigned char *>(__KAFf90_pAlloc(200));
        __KAFf90_pDeAlloc(p + 8, 8);
      },
      false, true);
  expect_fatal(r, fatal_text("", "Attempt to DEALLOCATE part of a larger object"));
}

TEST(AllocatorFaults, AllowUndefinedDeallocation) {
  // Never handed out, and already released: both pass, silently, and
  // nothing is released (the live neighbour is untouched).
  auto r = in_child(
      [] {
        int local = 0;
        void *p = __KAFf90_pAlloc(32);
        __KAFf90_pDeAlloc(p, 32);
        __KAFf90_pDeAlloc(&local, 4);
        __KAFf90_pDeAlloc(p, 32);
        void *big = __KAFf90_pAlloc(1 << 20);
        __KAFf90_pDeAlloc(big, 1 << 20);
        __KAFf90_pDeAlloc(big, 1 << 20);
        std::fprintf(stdout, "went on");
      },
      false, true);
  EXPECT_TRUE(r.exited && r.exit_status == 0) << r.err;
  EXPECT_EQ(r.out, "went on");
  EXPECT_EQ(r.err, "");
  // With show_dangling each is shown, without ending the program.
  auto r2 = in_child(
      [] {
        int local = 0;
        void *p = __KAFf90_pAlloc(32);
        __KAFf90_lpDeAlloc("u.f90", 1, p, 32);
        __KAFf90_lpDeAlloc("u.f90", 2, &local, 4);
        __KAFf90_lpDeAlloc("u.f90", 3, p, 32);
        std::fprintf(stdout, "went on");
      },
      true, true);
  EXPECT_TRUE(r2.exited && r2.exit_status == 0) << r2.err;
  EXPECT_EQ(r2.out, "went on");
  EXPECT_EQ(
      r2.err,
      "Runtime Error: u.f90, line 2: Attempt to DEALLOCATE an object which was not ALLOCATEd\n"
      "Runtime Error: u.f90, line 3: Pointer in DEALLOCATE refers to already-deallocated "
      "memory\n");
}

// The switches as a program gets them: from the runtime options.
TEST(AllocatorFaults, SwitchesComeFromTheRuntimeOptions) {
  kaftest::child_options options;
  options.env = {{"KAFFORTRAN_RUNTIME_OPTIONS", "mem_allow_undef_dealloc,show"},
                 {"KAFFORTRAN_RUNTIME_ERROR_FILE", nullptr},
                 {"KAFF90_RUNTIME_ERROR_FILE", nullptr}};
  auto r = kaftest::run_in_child(
      [] {
        __KAFf90_init_runtime_options();
        void *p = __KAFf90_oAlloc(24);
        __KAFf90_oDeAlloc(p, 24);
        __KAFf90_oDeAlloc(p, 24);
        tell("went on");
      },
      options);
  EXPECT_TRUE(r.exited && r.exit_status == 0) << r.err;
  EXPECT_EQ(r.out, "went on");
  EXPECT_EQ(r.err, "Runtime Error: Pointer in DEALLOCATE refers to already-deallocated memory\n");
}

TEST(AllocatorFaults, BlockReusedAfterReleaseIsLiveAgain) {
  // A released block handed out again is released normally, and a stale
  // record of its first release does not leak into a later message.
  auto r = in_child([] {
    void *p = __KAFf90_pAlloc(16);
    __KAFf90_lpDeAlloc("r.f90", 1, p, 16);
    void *q = __KAFf90_pAlloc(16);
    if (q != p) tell("not reused");
    __KAFf90_pDeAlloc(q, 16);
    __KAFf90_pDeAlloc(q, 16);
  });
  EXPECT_EQ(r.out, "");
  expect_fatal(r, fatal_text("", "Invalid deallocation of size 16: block was already deallocated"));
}

TEST(Allocator, PageColoursNameWhatABlockIs) {
  const size_t big = 1 << 20, huge = size_t{80} << 20;
  struct row {
    void *(*take)(size_t);
    int colour;
  };
  for (const row &w :
       {row{__KAFf90_oAlloc, 1}, row{__KAFf90_zoAlloc, 1}, row{__KAFf90_pAlloc, 2},
        row{__KAFf90_zpAlloc, 2}, row{__KAFf90_aAlloc, 3}, row{__KAFf90_zaAlloc, 3}}) {
    void *p = w.take(big);
    EXPECT_EQ(__KAFf90_pagecolour(p, big), w.colour);
    __KAFf90_pDeAlloc(p, big);
    // Released and kept for reuse: its first page says so; the others keep
    // the colour of the kind until the block is handed out again.
    EXPECT_EQ(__KAFf90_pagecolour(p, 1), 8);
    EXPECT_EQ(__KAFf90_pagecolour(static_cast<char *>(p) + 4096, big - 4096), w.colour);
  }
  // Too big to keep: returned to the system.
  void *h = __KAFf90_aAlloc(huge);
  EXPECT_EQ(__KAFf90_pagecolour(h, huge), 3);
  __KAFf90_pDeAlloc(h, huge);
  EXPECT_EQ(__KAFf90_pagecolour(h, huge), 4);
  // Small blocks live in spans.
  void *s = __KAFf90_pAlloc(100);
  EXPECT_EQ(__KAFf90_pagecolour(s, 100), 6);
  __KAFf90_pDeAlloc(s, 100);
}

TEST(AllocatorFaults, DeleteAvlpatForgetsWhereBlocksWereReleased) {
  for (size_t n : {size_t(72), size_t(1 << 20), size_t(100 << 20)}) {
    auto r = in_child([n] {
      void *p = __KAFf90_pAlloc(n);
      __KAFf90_lpDeAlloc("e.f90", 1, p, n);
      __KAFf90_delete_avlpat();
      __KAFf90_lpDeAlloc("e.f90", 2, p, n);
    });
    expect_fatal(r,
                 fatal_text("e.f90, line 2: ", "Invalid deallocation of size " + std::to_string(n) +
                                                   ": block was already deallocated"));
  }
}

// A span emptied while another is in use gives its pages back; the blocks
// come back zero-filled from the z forms and usable from the others.
TEST(Allocator, EmptiedSpanGivesItsPagesBack) {
  auto r = in_child([] {
    // 16-byte blocks: 65,536 to a span. The span of the middle block fills
    // up and the allocation moves on, so it is not current at the end.
    constexpr size_t n = 140000;
    std::vector<unsigned char *> blocks(n);
    for (auto &b : blocks) {
      b = static_cast<unsigned char *>(__KAFf90_pAlloc(16));
      std::memset(b, 0xA5, 16);
    }
    const auto span_start =
        reinterpret_cast<uintptr_t>(blocks[n / 2]) & ~((uintptr_t{1} << 20) - 1);
    for (auto *b : blocks) __KAFf90_pDeAlloc(b, 16);
    std::vector<unsigned char> resident(256);
    mincore(reinterpret_cast<void *>(span_start), 1 << 20, resident.data());
    tell(std::to_string(std::count(resident.begin(), resident.end(), 0)) + " ");
    // Used again: still ours, and clean where it must be.
    for (auto &b : blocks) b = static_cast<unsigned char *>(__KAFf90_zpAlloc(16));
    long zero = 0;
    for (auto *b : blocks) zero += std::count(b, b + 16, 0);
    tell(std::to_string(zero == static_cast<long>(16 * n)));
    for (auto *b : blocks) __KAFf90_pDeAlloc(b, 16);
  });
  expect_clean(r);
  EXPECT_EQ(r.out, "256 1");
}

TEST(Allocator, DeleteAvlpatKeepsLiveBlocks) {
  void *p = __KAFf90_aAlloc(100);
  void *big = __KAFf90_aAlloc(5 << 20);
  void *gone = __KAFf90_aAlloc(6 << 20);
  __KAFf90_pDeAlloc(gone, 6 << 20);
  __KAFf90_delete_avlpat();
  __KAFf90_delete_avlpat();
  std::memset(big, 1, 5 << 20);
  __KAFf90_pDeAlloc(p, 100);
  __KAFf90_pDeAlloc(big, 5 << 20);
}

}  // namespace
