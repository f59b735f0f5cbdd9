// Every kernel path this processor can run, forced through
// KAFFORTRAN_GEMM_KERNEL in a child process, against the plain loop on
// sizes around each path's tiles and cache blocks.
#include <gtest/gtest.h>

#include "support/child.h"
#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

// What the processor supports, found independently of the library.
bool can_run(const std::string &path) {
  __builtin_cpu_init();
  if (path == "avx512")
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("fma");
  if (path == "avx2") return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return true;
}

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
  // Past the column blocks (1024 .. 4096 columns).
  std::string bad = check_case<T>(rng, 'T', 'N', 30, 4100, 20, alpha, beta);
  if (!bad.empty()) report += bad + "\n";
}

void run_path(const std::string &path) {
  auto res = kaftest::run_in_child(
      [] {
        std::string report = std::string("kernel ") + __KAFf90_gemm_kernel() + "\n";
        battery<float>(report, 21);
        battery<double>(report, 22);
        battery<kaf_complex>(report, 23);
        battery<kaf_dcomplex>(report, 24);
        std::fputs(report.c_str(), stdout);
      },
      {{{"KAFFORTRAN_GEMM_KERNEL", path.c_str()}}, ""});
  EXPECT_TRUE(res.exited && res.exit_status == 0) << res.err;
  EXPECT_EQ(res.out, "kernel " + path + "\n");
}

TEST(GemmPaths, Portable) { run_path("portable"); }
TEST(GemmPaths, Sse2) { run_path("sse2"); }
TEST(GemmPaths, Avx2) {
  if (!can_run("avx2")) GTEST_SKIP() << "processor without AVX2";
  run_path("avx2");
}
TEST(GemmPaths, Avx512) {
  if (!can_run("avx512")) GTEST_SKIP() << "processor without AVX-512";
  run_path("avx512");
}

// Without the variable the best path the processor has is used; a value
// that names no path is ignored; a cap above what the processor has falls
// back to the best it has.
TEST(GemmPaths, DefaultIsBestSupported) {
  const std::string best = can_run("avx512") ? "avx512" : can_run("avx2") ? "avx2" : "sse2";
  auto name = [](const char *value) {
    return kaftest::run_in_child([] { std::fputs(__KAFf90_gemm_kernel(), stdout); },
                                 {{{"KAFFORTRAN_GEMM_KERNEL", value}}, ""})
        .out;
  };
  EXPECT_EQ(name(nullptr), best);
  EXPECT_EQ(name("fastest"), best);
  EXPECT_EQ(name(""), best);
  EXPECT_EQ(name("sse2"), "sse2");
}

}  // namespace
