// Every kernel path this processor can run, forced through
// KAFFORTRAN_GEMM_KERNEL in a fresh process (gemm_path_probe), against the
// plain loop on sizes around each path's tiles and cache blocks.
#include <gtest/gtest.h>

#include <unistd.h>

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

// The probe program beside this test binary, run in a fresh process.
kaftest::child_result probe(const char *path, const char *arg) {
  static std::string exe = [] {
    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string dir(self, n > 0 ? size_t(n) : 0);
    return dir.substr(0, dir.rfind('/') + 1) + "gemm_path_probe";
  }();
  const std::string program = exe;
  return kaftest::run_in_child(
      [program, arg] {
        execl(program.c_str(), program.c_str(), arg, static_cast<char *>(nullptr));
        _exit(127);
      },
      {{{"KAFFORTRAN_GEMM_KERNEL", path}}, ""});
}

void run_path(const std::string &path) {
  auto res = probe(path.c_str(), nullptr);
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
  auto name = [](const char *value) { return probe(value, "name").out; };
  EXPECT_EQ(name(nullptr), best);
  EXPECT_EQ(name("fastest"), best);
  EXPECT_EQ(name(""), best);
  EXPECT_EQ(name("sse2"), "sse2");
}

}  // namespace
