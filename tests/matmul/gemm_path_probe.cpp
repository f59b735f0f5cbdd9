// Runs the GEMMs of one process on sizes around every path's tiles and
// cache blocks and prints what differs from the plain loop, after the name
// of the kernel path in use, then the same with every operand ending at an
// inaccessible page. Started by gemm_paths_test in a fresh process
// (the path is chosen once per process) with KAFFORTRAN_GEMM_KERNEL set.
// With the argument "name" it prints only the path's name.
#include <cstdio>
#include <cstring>

#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

template <typename T> void battery(std::string &report, uint64_t seed) {
  std::mt19937_64 rng(seed);
  const T alpha = from_real<T>(0.8125, -1.5), beta = from_real<T>(-1.75, 0.375);
  // Rows around every tile height (2 .. 56) and past the row blocks
  // (48 .. 384); columns around every tile width (1 .. 8); depths across
  // the k blocks (128, 256).
  const long ms[] = {1, 3, 7, 8, 9, 13, 16, 23, 24, 25, 28, 29, 32, 40, 47, 48, 49, 56, 57, 400};
  const long ns[] = {1, 2, 3, 5, 6, 7, 8, 9, 17};
  const long ks[] = {1, 129, 300};
  const char ts[] = {'N', 'T', 'C'};
  int failures = 0;
  for (long m : ms)
    for (long n : ns)
      for (long k : ks) {
        const char ta = ts[(m + n) % 3], tb = ts[(n + k) % 3];
        std::string bad = check_case<T>(rng, ta, tb, m, n, k, alpha, beta);
        if (!bad.empty() && ++failures <= 5) report += bad + "\n";
      }
  // Past the column blocks (504 .. 4096 columns), and past the shared work
  // buffers (allocated ones).
  for (long k : {20L, 300L}) {
    std::string bad = check_case<T>(rng, 'T', 'N', 30, 4100, k, alpha, beta);
    if (!bad.empty()) report += bad + "\n";
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc > 1 && std::strcmp(argv[1], "name") == 0) {
    std::fputs(__KAFf90_gemm_kernel(), stdout);
    return 0;
  }
  std::string report = std::string("kernel ") + __KAFf90_gemm_kernel() + "\n";
  battery<float>(report, 21);
  battery<double>(report, 22);
  battery<kaf_complex>(report, 23);
  battery<kaf_dcomplex>(report, 24);
  report += guarded_battery<float>(31);
  report += guarded_battery<double>(32);
  report += guarded_battery<kaf_complex>(33);
  report += guarded_battery<kaf_dcomplex>(34);
  std::fputs(report.c_str(), stdout);
  return 0;
}
