// Real editing throughput: one internal WRITE statement per value under
// (ES24.16), (F20.6), (E15.7) and (G0), and one internal READ per value under
// (F25.0), through the library (begin, format, item, end, as compiled code
// calls them) and through gfortran; bare snprintf and strtod producing the
// same digits as the floor. Every case sees the same values.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "kafrts.h"

extern "C" void peer_write(const double *x, int n, int which);
extern "C" void peer_read(const char *text, int n, double *y);

namespace {

constexpr int kValues = 4096;

// Values over the range programs print: 17 significant digits, exponents
// from -12 to 12, both signs.
const std::vector<double> &values() {
  static const std::vector<double> v = [] {
    std::mt19937_64 rng(20261122);
    std::vector<double> r(kValues);
    for (double &x : r) {
      double m = 1.0 + static_cast<double>(rng() >> 11) * 0x1p-53 * 9.0;
      x = m * std::pow(10.0, static_cast<int>(rng() % 25) - 12);
      if (rng() & 1) x = -x;
    }
    return r;
  }();
  return v;
}

// The (F25.0) input fields: each value as ES24.16 writes it, in 25 columns.
const std::vector<char> &fields() {
  static const std::vector<char> f = [] {
    std::vector<char> r(static_cast<std::size_t>(kValues) * 25, ' ');
    char buf[64];
    for (int i = 0; i < kValues; ++i) {
      std::snprintf(buf, sizeof buf, "%25.16E", values()[static_cast<std::size_t>(i)]);
      std::memcpy(r.data() + 25 * i, buf, 25);
    }
    return r;
  }();
  return f;
}

constexpr const char *kFormats[] = {"(ES24.16)", "(F20.6)", "(E15.7)", "(G0)"};
constexpr const char *kPrintf[] = {"%24.16E", "%20.6f", "%15.7E", "%.16E"};

void ours_write(benchmark::State &state) {
  const char *format = kFormats[state.range(0)];
  const auto &x = values();
  char buf[40];
  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  for (auto _ : state) {
    for (double v : x) {
      kaf_ifile f;
      __KAFf90_scalar_ifilex(&f, buf, sizeof buf, 10);
      __KAFf90_write_ifile(ctx, &f, nullptr, nullptr, 0, 0);
      __KAFf90_establish_format(ctx, format, -1, 2);
      __KAFf90_fmt_write_d(ctx, v);
      __KAFf90_end_write_ifile(ctx);
    }
    benchmark::DoNotOptimize(buf);
  }
  state.SetItemsProcessed(state.iterations() * kValues);
  state.SetLabel(format);
}

void gfortran_write(benchmark::State &state) {
  const auto &x = values();
  for (auto _ : state) peer_write(x.data(), kValues, static_cast<int>(state.range(0)));
  state.SetItemsProcessed(state.iterations() * kValues);
  state.SetLabel(kFormats[state.range(0)]);
}

void snprintf_write(benchmark::State &state) {
  const char *format = kPrintf[state.range(0)];
  const auto &x = values();
  char buf[40];
  for (auto _ : state) {
    for (double v : x) std::snprintf(buf, sizeof buf, format, v);
    benchmark::DoNotOptimize(buf);
  }
  state.SetItemsProcessed(state.iterations() * kValues);
  state.SetLabel(format);
}

void ours_read(benchmark::State &state) {
  const auto &text = fields();
  std::vector<double> y(kValues);
  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  for (auto _ : state) {
    for (int i = 0; i < kValues; ++i) {
      kaf_ifile f;
      __KAFf90_scalar_ifilex(&f, const_cast<char *>(text.data() + 25 * i), 25, 10);
      __KAFf90_read_internal_file(ctx, &f, nullptr, nullptr, 0, 0);
      __KAFf90_establish_format(ctx, "(F25.0)", -1, 1);
      __KAFf90_fmt_read_d(ctx, &y[static_cast<std::size_t>(i)]);
      __KAFf90_end_read_internal(ctx);
    }
    benchmark::DoNotOptimize(y.data());
  }
  if (y[7] != values()[7]) state.SkipWithError("read back a different value");
  state.SetItemsProcessed(state.iterations() * kValues);
}

void gfortran_read(benchmark::State &state) {
  const auto &text = fields();
  std::vector<double> y(kValues);
  for (auto _ : state) {
    peer_read(text.data(), kValues, y.data());
    benchmark::DoNotOptimize(y.data());
  }
  if (y[7] != values()[7]) state.SkipWithError("read back a different value");
  state.SetItemsProcessed(state.iterations() * kValues);
}

void strtod_read(benchmark::State &state) {
  const auto &text = fields();
  std::vector<double> y(kValues);
  char field[26];
  for (auto _ : state) {
    for (int i = 0; i < kValues; ++i) {
      std::memcpy(field, text.data() + 25 * i, 25);
      field[25] = 0;
      y[static_cast<std::size_t>(i)] = std::strtod(field, nullptr);
    }
    benchmark::DoNotOptimize(y.data());
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

BENCHMARK(ours_write)->DenseRange(0, 3);
BENCHMARK(gfortran_write)->DenseRange(0, 3);
BENCHMARK(snprintf_write)->DenseRange(0, 3);
BENCHMARK(ours_read);
BENCHMARK(gfortran_read);
BENCHMARK(strtod_read);

}  // namespace

BENCHMARK_MAIN();
