// List-directed WRITE and READ of 1,000,000 doubles through a file, timed
// once each, in two statement shapes: one statement for the whole array and
// one statement per value. Run side by side with listio_gf.f90 (gfortran)
// by run_listio.sh.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "kafrts.h"

namespace {

constexpr int kCount = 1000000;

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Processor time of the process (user and system): on a machine shared with
// other builds it varies far less than the wall clock.
double cpu_seconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

void open_unit(const char *path, const char *status) {
  kaf_open_spec specifiers;
  std::memset(&specifiers, 0, sizeof specifiers);
  specifiers.file = path;
  specifiers.file_len = std::strlen(path);
  specifiers.status = status;
  specifiers.status_len = std::strlen(status);
  if (__KAFf90_openf4x(nullptr, 0, 20, &specifiers) != 0) std::abort();
}

void close_unit() { __KAFf90_close4(nullptr, 0, 20, nullptr, 0, nullptr, nullptr, 0, 0); }

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s array|scalar FILE\n", argv[0]);
    return 2;
  }
  const bool per_value = std::strcmp(argv[1], "scalar") == 0;
  const char *path = argv[2];
  __KAFf90_init_runtime_options();
  // Magnitudes from 1e-5 to 1e5, as measured data tend to have.
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<double> x(kCount), y(kCount);
  for (double &v : x) v = unit(rng) * std::pow(10.0, static_cast<int>(unit(rng) * 11) - 5);
  kaf_ioctx_space space;
  kaf_ioctx *ctx = reinterpret_cast<kaf_ioctx *>(&space);

  auto t0 = std::chrono::steady_clock::now();
  double c0 = cpu_seconds();
  open_unit(path, "REPLACE");
  if (per_value) {
    for (double v : x) {
      __KAFf90_write_seq(ctx, nullptr, 0, 20, nullptr, nullptr, 0, 0);
      __KAFf90_init_loutput(ctx);
      __KAFf90_lio_write_d(ctx, v);
      __KAFf90_end_write_sequential(ctx);
    }
  } else {
    __KAFf90_write_seq(ctx, nullptr, 0, 20, nullptr, nullptr, 0, 0);
    __KAFf90_init_loutput(ctx);
    for (double v : x) __KAFf90_lio_write_d(ctx, v);
    __KAFf90_end_write_sequential(ctx);
  }
  close_unit();
  const double write_s = seconds_since(t0), write_cpu = cpu_seconds() - c0;

  t0 = std::chrono::steady_clock::now();
  c0 = cpu_seconds();
  open_unit(path, "OLD");
  if (per_value) {
    for (double &v : y) {
      __KAFf90_read_seq4(ctx, nullptr, 0, 20, nullptr, nullptr, 0, 0);
      __KAFf90_init_linput(ctx);
      __KAFf90_lio_read_d(ctx, &v);
      __KAFf90_lio_end_input(ctx);
      __KAFf90_end_read_sequential(ctx);
    }
  } else {
    __KAFf90_read_seq4(ctx, nullptr, 0, 20, nullptr, nullptr, 0, 0);
    __KAFf90_init_linput(ctx);
    for (double &v : y) __KAFf90_lio_read_d(ctx, &v);
    __KAFf90_lio_end_input(ctx);
    __KAFf90_end_read_sequential(ctx);
  }
  close_unit();
  const double read_s = seconds_since(t0), read_cpu = cpu_seconds() - c0;
  // The values written in the exponent form come back exactly; the check
  // keeps the work from being optimised away.
  long same = 0;
  for (int i = 0; i < kCount; ++i) same += x[i] == y[i];
  std::printf("kafrts %s write %.3f s read %.3f s (%ld of %d identical); cpu write %.3f s read %.3f s\n", argv[1],
              write_s, read_s, same, kCount, write_cpu, read_cpu);
  return 0;
}
