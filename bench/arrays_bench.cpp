// RESHAPE with ORDER=(2,1), PACK with a random half-true mask, SPREAD,
// TRANSPOSE and CSHIFT on 1000 x 1000 doubles, contiguous and as the section
// a(1:2000:2, :) of a 2000 x 1000 array: the library against gfortran's own
// intrinsics (bench/arrays_gfortran.f90). Our entries take a fresh result
// block per call (and it is freed); gfortran assigns to an array allocated
// once, outside the timing loop. For SPREAD two more rows split our figure:
// the assignment entry into an array allocated once (the peer's setting: the
// copy alone), and the zero-filled 8 MB block alone (allocation and release).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "kafrts.h"

extern "C" {
void bench_sink(void *p) { benchmark::DoNotOptimize(p); }
void peer_reshape21(const double *a, double *b, int m, int n, int step);
void peer_pack(const double *a, const int32_t *mask, double *b, int count, int m, int n, int step);
void peer_spread(const double *v, double *b, int k, int step, int dim, int ncopies);
void peer_transpose(const double *a, double *b, int m, int n, int step);
void peer_cshift(const double *a, double *b, int m, int n, int step, int shift, int dim);
}

namespace {

constexpr int n = 1000;

// a(1:m:step, 1:n) of an m x n array of doubles, m = n * step.
struct operand {
  int step;
  int m;
  std::vector<double> store;
  std::vector<int64_t> desc;  // numeric form, rank 2
  explicit operand(int s) : step(s), m(n * s), store(static_cast<size_t>(m) * n) {
    for (size_t i = 0; i < store.size(); ++i) store[i] = static_cast<double>(i);
    const int64_t s1 = 8 * step, s2 = 8 * int64_t{m};
    desc = {reinterpret_cast<int64_t>(store.data()), -(s1 + s2), n, s1, 1, n, s2, 1};
  }
};

const operand &get(int step) {
  static const operand contiguous(1), strided(2);
  return step == 1 ? contiguous : strided;
}

// The peer's result array, allocated once.
std::vector<double> &peer_out() {
  static std::vector<double> out(static_cast<size_t>(n) * n);
  return out;
}

void free_result(const kaf_array_result &r) {
  size_t bytes = 8;
  for (int64_t e : r.extent) bytes *= static_cast<size_t>(e);
  __KAFf90_oDeAlloc(r.base, bytes);
}

void reshape_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  int64_t shape[2] = {n, n}, order[2] = {2, 1};
  int64_t dshape[5] = {reinterpret_cast<int64_t>(shape), -8, 2, 8, 1};
  int64_t dorder[5] = {reinterpret_cast<int64_t>(order), -8, 2, 8, 1};
  for (auto _ : state) {
    kaf_array_result r;
    __KAFf90_reshape(&r, 8, 2, a.desc.data(), dshape, 0, nullptr, dorder);
    bench_sink(r.base);
    free_result(r);
  }
}
void reshape_gfortran(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  for (auto _ : state) peer_reshape21(a.store.data(), peer_out().data(), a.m, n, a.step);
}

const std::vector<int32_t> &half_mask() {
  static const std::vector<int32_t> mask = [] {
    std::mt19937 rng(1);
    std::vector<int32_t> m(static_cast<size_t>(n) * n);
    for (auto &v : m) v = static_cast<int32_t>(rng() & 1);
    return m;
  }();
  return mask;
}

void pack_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const std::vector<int32_t> &mask = half_mask();
  int64_t dmask[8] = {reinterpret_cast<int64_t>(mask.data()), -4 - 4 * n, n, 4, 1, n, 4 * n, 1};
  for (auto _ : state) {
    kaf_array_result r;
    __KAFf90_pack(&r, 8, 2, a.desc.data(), 2, dmask, nullptr);
    bench_sink(r.base);
    free_result(r);
  }
}
void pack_gfortran(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const std::vector<int32_t> &mask = half_mask();
  int count = 0;
  for (int32_t v : mask) count += v != 0;
  for (auto _ : state)
    peer_pack(a.store.data(), mask.data(), peer_out().data(), count, a.m, n, a.step);
}

// SPREAD of the first column a(1:m:step, 1) along DIM (range 1).
void spread_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const int64_t dim = state.range(1);
  int64_t dv[5] = {a.desc[0], -a.desc[3], n, a.desc[3], 1};
  for (auto _ : state) {
    kaf_array_result r;
    __KAFf90_spread(&r, 8, 1, dv, dim, n);
    bench_sink(r.base);
    free_result(r);
  }
}
// The same SPREAD as an assignment into an array allocated once, as the peer
// does: __KAFf90_aspread with a contiguous destination (no allocation, no
// zero fill), so the pair compares the copy loops alone.
void aspread_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const int64_t dim = state.range(1);
  int64_t dv[5] = {a.desc[0], -a.desc[3], n, a.desc[3], 1};
  int64_t dd[8] = {reinterpret_cast<int64_t>(peer_out().data()), -8 - 8 * n, n, 8, 1, n, 8 * n, 1};
  for (auto _ : state) {
    __KAFf90_aspread(dd, 8, 1, dv, dim, n);
    bench_sink(peer_out().data());
  }
}

// The zero-filled block alone: what __KAFf90_zoAlloc and the release of the
// 8 MB result cost inside SPREAD/kafrts.
void zoalloc_8mb(benchmark::State &state) {
  const size_t bytes = size_t{8} * n * n;
  for (auto _ : state) {
    void *p = __KAFf90_zoAlloc(bytes);
    bench_sink(p);
    __KAFf90_oDeAlloc(p, bytes);
  }
}

void spread_gfortran(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const int dim = static_cast<int>(state.range(1));
  for (auto _ : state) peer_spread(a.store.data(), peer_out().data(), a.m, a.step, dim, n);
}

void transpose_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    kaf_array_result r;
    __KAFf90_transpose(&r, 8, a.desc.data());
    bench_sink(r.base);
    free_result(r);
  }
}
void transpose_gfortran(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  for (auto _ : state) peer_transpose(a.store.data(), peer_out().data(), a.m, n, a.step);
}

// CSHIFT by 3 along DIM (range 1).
void cshift_ours(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const int64_t dim = state.range(1);
  int64_t shift = 3;
  int64_t dshift[2] = {reinterpret_cast<int64_t>(&shift), 0};
  for (auto _ : state) {
    kaf_array_result r;
    __KAFf90_cshift(&r, 8, 2, a.desc.data(), 0, dshift, dim);
    bench_sink(r.base);
    free_result(r);
  }
}
void cshift_gfortran(benchmark::State &state) {
  const operand &a = get(static_cast<int>(state.range(0)));
  const int dim = static_cast<int>(state.range(1));
  for (auto _ : state) peer_cshift(a.store.data(), peer_out().data(), a.m, n, a.step, 3, dim);
}

// range(0): 1 contiguous, 2 the section a(1:2000:2, :).
BENCHMARK(reshape_ours)
    ->Name("RESHAPE_order21/kafrts")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(reshape_gfortran)
    ->Name("RESHAPE_order21/gfortran")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(pack_ours)->Name("PACK_half/kafrts")->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(pack_gfortran)->Name("PACK_half/gfortran")->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(spread_ours)
    ->Name("SPREAD/kafrts")
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(spread_gfortran)
    ->Name("SPREAD/gfortran")
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(aspread_ours)
    ->Name("SPREAD_assign/kafrts")
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(zoalloc_8mb)->Name("zoAlloc_8MB/kafrts")->Unit(benchmark::kMicrosecond);
BENCHMARK(transpose_ours)->Name("TRANSPOSE/kafrts")->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(transpose_gfortran)
    ->Name("TRANSPOSE/gfortran")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(cshift_ours)
    ->Name("CSHIFT_3/kafrts")
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(cshift_gfortran)
    ->Name("CSHIFT_3/gfortran")
    ->ArgsProduct({{1, 2}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
