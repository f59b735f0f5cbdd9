// Work buffers: small problems use the shared static buffers and allocate
// nothing; large ones take both packed blocks from the companion allocator
// and give them back with the sizes they took, on every call. The
// allocator's entries are interposed here to watch them (and forward).
#include <gtest/gtest.h>
#include <dlfcn.h>

#include <map>
#include <mutex>

#include "tests/matmul/gemm_reference.h"

namespace {

std::mutex watch_lock;
std::map<void *, size_t> live;  // blocks handed out and not yet returned
long taken = 0, returned = 0, wrong_size = 0;

template <typename F> F real(const char *name) { return reinterpret_cast<F>(dlsym(RTLD_NEXT, name)); }

struct counts {
  long taken, returned, wrong_size, live;
};
counts snapshot() {
  std::lock_guard<std::mutex> g(watch_lock);
  return {taken, returned, wrong_size, long(live.size())};
}

}  // namespace

extern "C" void *__KAFf90_oAlloc(size_t size) {
  static auto next = real<void *(*)(size_t)>("__KAFf90_oAlloc");
  void *p = next(size);
  std::lock_guard<std::mutex> g(watch_lock);
  ++taken;
  live[p] = size;
  return p;
}

extern "C" void __KAFf90_oDeAlloc(void *p, size_t size) {
  static auto next = real<void (*)(void *, size_t)>("__KAFf90_oDeAlloc");
  {
    std::lock_guard<std::mutex> g(watch_lock);
    ++returned;
    auto it = live.find(p);
    if (it == live.end() || it->second != size) ++wrong_size;
    if (it != live.end()) live.erase(it);
  }
  next(p, size);
}

namespace {

using namespace gemmtest;

template <typename T> void small_allocates_nothing() {
  std::mt19937_64 rng(31);
  const counts before = snapshot();
  EXPECT_EQ(check_case<T>(rng, 'N', 'T', 100, 100, 100, from_real<T>(0.5, 1), from_real<T>(2, 0)), "");
  const counts after = snapshot();
  EXPECT_EQ(after.taken, before.taken);
}

// Past 1 MiB of packed B on every path (the B block holds at least 256 x 510
// elements of 16 bytes, or 256 x 1020 of 8, or 128 x 2048 doubles).
template <typename T> void large_allocates_and_returns() {
  std::mt19937_64 rng(32);
  for (char tb : {'N', 'T'}) {
    const counts before = snapshot();
    EXPECT_EQ(check_case<T>(rng, 'N', tb, 5, 4100, 300, from_real<T>(0.5, 1), from_real<T>(2, 0)),
              "");
    const counts after = snapshot();
    EXPECT_EQ(after.taken - before.taken, 2) << "both packed blocks allocated";
    EXPECT_EQ(after.returned - before.returned, 2);
    EXPECT_EQ(after.wrong_size, 0) << "returned with the size taken";
    EXPECT_EQ(after.live, before.live) << "nothing kept";
  }
}

TEST(GemmBuffers, SmallProblemsAllocateNothing) {
  small_allocates_nothing<float>();
  small_allocates_nothing<double>();
  small_allocates_nothing<kaf_complex>();
  small_allocates_nothing<kaf_dcomplex>();
}

TEST(GemmBuffers, LargeProblemsAllocateAndReturn) {
  large_allocates_and_returns<float>();
  large_allocates_and_returns<double>();
  large_allocates_and_returns<kaf_complex>();
  large_allocates_and_returns<kaf_dcomplex>();
}

}  // namespace
