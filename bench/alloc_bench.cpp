// ALLOCATE+DEALLOCATE pairs through the storage allocator and through the
// ALLOCATE/DEALLOCATE entries, side by side with glibc malloc/free, for
// 16 B, 1 KiB, 64 KiB and 16 MiB, on one thread and on two.
#include <benchmark/benchmark.h>

#include <cstdlib>

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

// Through the entries compiled code calls, STAT= given.
void kaf_Allocate_Deallocate(benchmark::State &state) {
  const auto n = static_cast<size_t>(state.range(0));
  int32_t stat = 0;
  for (auto _ : state) {
    void *p = __KAFf90_Allocate_as(n, &stat);
    benchmark::DoNotOptimize(p);
    __KAFf90_Deallocate_s(p, n, &stat);
  }
}

void sizes(benchmark::internal::Benchmark *b) {
  for (int64_t n : {int64_t{16}, int64_t{1} << 10, int64_t{64} << 10, int64_t{16} << 20}) b->Arg(n);
  b->Threads(1)->Threads(2)->UseRealTime();
}

BENCHMARK(glibc_malloc_free)->Apply(sizes);
BENCHMARK(kaf_aAlloc_pDeAlloc)->Apply(sizes);
BENCHMARK(kaf_Allocate_Deallocate)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
