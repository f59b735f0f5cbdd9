// ALLOCATE+DEALLOCATE pairs through the storage allocator and through the
// ALLOCATE/DEALLOCATE entries, side by side with glibc malloc/free, for
// 16 B, 1 KiB, 64 KiB and 16 MiB, on one thread and on two; and large
// zero-filled blocks (what the array intrinsics take for their results)
// against calloc.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "kafrts.h"

namespace {

void glibc_malloc_free(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    void *p = std::malloc(n);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}

// The allocator proper: what ALLOCATE of an allocatable and DEALLOCATE
// reach.
void kaf_aAlloc_pDeAlloc(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    void *p = __KAFf90_aAlloc(n);
    benchmark::DoNotOptimize(p);
    __KAFf90_pDeAlloc(p, n);
  }
}

// A scalar through the entries compiled code calls, STAT= given.
void kaf_Allocate_Deallocate(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  int32_t stat = 0;
  for (auto _ : state) {
    void *p = __KAFf90_Allocate_as(n, &stat);
    benchmark::DoNotOptimize(p);
    __KAFf90_Deallocate_s(p, n, &stat);
  }
}

// What ALLOCATE (a(n)) and DEALLOCATE (a) of a rank-1 allocatable array
// of REAL(8) compile to: Allocate_as, the descriptor filled in line, then
// Deallocate_a on the descriptor. Without STAT= (the usual statement) and
// with it.
struct rank1 {
  int64_t word[5];  // base, offset, extent, byte stride, lower bound
};

template <bool WithStat>
void kaf_ALLOCATE_array(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  rank1 a{};
  int32_t stat = 0;
  int32_t *s = WithStat ? &stat : nullptr;
  for (auto _ : state) {
    void *p = __KAFf90_Allocate_as(n, s);
    a.word[0] = reinterpret_cast<int64_t>(p);
    a.word[1] = -1;
    a.word[2] = static_cast<int64_t>(n / 8);
    a.word[3] = 8;
    a.word[4] = 1;
    benchmark::DoNotOptimize(a);
    __KAFf90_Deallocate_a(1, 8, a.word, s);
    benchmark::ClobberMemory();
  }
}

// The same descriptor work around malloc/free: what another compiler's
// ALLOCATE/DEALLOCATE of the array amounts to.
void glibc_malloc_free_array(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  rank1 a{};
  for (auto _ : state) {
    void *p = std::malloc(n);
    a.word[0] = reinterpret_cast<int64_t>(p);
    a.word[1] = -1;
    a.word[2] = static_cast<int64_t>(n / 8);
    a.word[3] = 8;
    a.word[4] = 1;
    benchmark::DoNotOptimize(a);
    std::free(reinterpret_cast<void *>(a.word[0]));
    a.word[0] = 0;
    benchmark::ClobberMemory();
  }
}

void sizes(benchmark::internal::Benchmark *b) {
  for (int64_t n : {int64_t{16}, int64_t{1} << 10, int64_t{64} << 10, int64_t{16} << 20}) b->Arg(n);
  b->Threads(1)->Threads(2)->UseRealTime();
}

BENCHMARK(glibc_malloc_free)->Apply(sizes);
BENCHMARK(kaf_aAlloc_pDeAlloc)->Apply(sizes);
BENCHMARK(kaf_Allocate_Deallocate)->Apply(sizes);
BENCHMARK(glibc_malloc_free_array)->Apply(sizes);
BENCHMARK(kaf_ALLOCATE_array<false>)->Apply(sizes);
BENCHMARK(kaf_ALLOCATE_array<true>)->Apply(sizes);

// ---- Large zero-filled blocks -------------------------------------------
// A result block taken zero-filled, written in full (as an intrinsic
// writes its result), then released: zoAlloc/oDeAlloc against
// calloc/free. The write is part of both loops, since a block that comes
// back zero from the system costs its page faults when it is written.
void glibc_calloc_write_free(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    auto *p = static_cast<char *>(std::calloc(n, 1));
    std::memset(p, 1, n);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

void kaf_zoAlloc_write_oDeAlloc(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    auto *p = static_cast<char *>(__KAFf90_zoAlloc(n));
    std::memset(p, 1, n);
    benchmark::DoNotOptimize(p);
    __KAFf90_oDeAlloc(p, n);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

// The same when only the first page of the block is written (a result
// mostly left zero): what clearing the whole block costs when little of
// it is used.
void glibc_calloc_touch_free(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    auto *p = static_cast<char *>(std::calloc(n, 1));
    std::memset(p, 1, 4096);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}

void kaf_zoAlloc_touch_oDeAlloc(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    auto *p = static_cast<char *>(__KAFf90_zoAlloc(n));
    std::memset(p, 1, 4096);
    benchmark::DoNotOptimize(p);
    __KAFf90_oDeAlloc(p, n);
  }
}

void large(benchmark::internal::Benchmark *b) {
  for (int64_t n : {int64_t{256} << 10, int64_t{1} << 20, int64_t{4} << 20, int64_t{16} << 20,
                    int64_t{64} << 20})
    b->Arg(n);
  b->UseRealTime();
}

BENCHMARK(glibc_calloc_write_free)->Apply(large);
BENCHMARK(kaf_zoAlloc_write_oDeAlloc)->Apply(large);
BENCHMARK(glibc_calloc_touch_free)->Apply(large);
BENCHMARK(kaf_zoAlloc_touch_oDeAlloc)->Apply(large);

}  // namespace

BENCHMARK_MAIN();
