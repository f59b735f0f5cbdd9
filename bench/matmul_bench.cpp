// GEMM throughput of the library against OpenBLAS (one thread) and
// gfortran's MATMUL, interleaved in one process: for each type and shape
// the three run in turn, several rounds, best time of each kept. Also
// measures the machine's multiply+add and fused multiply-add peaks.
#include <algorithm>
#include <chrono>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "kafrts/matmul.h"

extern "C" {
// OpenBLAS, Fortran interface.
void sgemm_(const char *, const char *, const int *, const int *, const int *, const float *,
            const float *, const int *, const float *, const int *, const float *, float *,
            const int *, size_t, size_t);
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *,
            const double *, const int *, const double *, const int *, const double *, double *,
            const int *, size_t, size_t);
void cgemm_(const char *, const char *, const int *, const int *, const int *, const void *,
            const void *, const int *, const void *, const int *, const void *, void *,
            const int *, size_t, size_t);
void zgemm_(const char *, const char *, const int *, const int *, const int *, const void *,
            const void *, const int *, const void *, const int *, const void *, void *,
            const int *, size_t, size_t);
char *openblas_get_corename(void);
char *openblas_get_config(void);
// gfortran MATMUL (bench/matmul_gfortran.f90).
void gf_smatmul(int, int, int, const float *, const float *, float *);
void gf_dmatmul(int, int, int, const double *, const double *, double *);
void gf_cmatmul(int, int, int, const void *, const void *, void *);
void gf_zmatmul(int, int, int, const void *, const void *, void *);
}

namespace {

// Timings use the CPU time of the calling thread (every implementation runs
// on it: OpenBLAS with one thread, gfortran's MATMUL, ours), so that time
// the scheduler gives to other processes on a shared machine is not counted.
// KAF_BENCH_WALL=1 times by the wall clock instead.
bool wall_clock = false;
double now() {
  if (wall_clock)
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

// Independent chains of 512-bit products and sums (no FMA), and of fused
// multiply-adds: the two ceilings for a double-precision kernel bound by
// arithmetic. Written in assembly so that the loop is exactly that.
__attribute__((target("avx512f"), noinline)) double peak_loop(bool fused, long iters) {
  double t0 = now();
  if (fused)
    __asm__ volatile(
      "vxorpd %%xmm30, %%xmm30, %%xmm30\n\t"
      "vxorpd %%xmm31, %%xmm31, %%xmm31\n\t"
      "1:\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm12\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm13\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm14\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm15\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm16\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm17\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm18\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm19\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm20\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm21\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm22\n\t"
      "vfmadd231pd %%zmm30, %%zmm31, %%zmm23\n\t"
      "dec %0\n\t"
      "jnz 1b"
      : "+r"(iters)
      :
      : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "xmm16", "xmm17", "xmm18", "xmm19", "xmm20", "xmm21", "xmm22", "xmm23", "xmm30", "xmm31", "cc");
  else
    __asm__ volatile(
      "vxorpd %%xmm30, %%xmm30, %%xmm30\n\t"
      "vxorpd %%xmm31, %%xmm31, %%xmm31\n\t"
      "1:\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm0\n\t"
      "vaddpd %%zmm0, %%zmm12, %%zmm12\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm1\n\t"
      "vaddpd %%zmm1, %%zmm13, %%zmm13\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm2\n\t"
      "vaddpd %%zmm2, %%zmm14, %%zmm14\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm3\n\t"
      "vaddpd %%zmm3, %%zmm15, %%zmm15\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm4\n\t"
      "vaddpd %%zmm4, %%zmm16, %%zmm16\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm5\n\t"
      "vaddpd %%zmm5, %%zmm17, %%zmm17\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm6\n\t"
      "vaddpd %%zmm6, %%zmm18, %%zmm18\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm7\n\t"
      "vaddpd %%zmm7, %%zmm19, %%zmm19\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm8\n\t"
      "vaddpd %%zmm8, %%zmm20, %%zmm20\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm9\n\t"
      "vaddpd %%zmm9, %%zmm21, %%zmm21\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm10\n\t"
      "vaddpd %%zmm10, %%zmm22, %%zmm22\n\t"
      "vmulpd %%zmm30, %%zmm31, %%zmm11\n\t"
      "vaddpd %%zmm11, %%zmm23, %%zmm23\n\t"
      "dec %0\n\t"
      "jnz 1b"
      : "+r"(iters)
      :
      : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "xmm16", "xmm17", "xmm18", "xmm19", "xmm20", "xmm21", "xmm22", "xmm23", "xmm30", "xmm31", "cc");
  return now() - t0;
}

double peak(bool fused) {
  const long iters = 20000000;
  double best = 1e30;
  for (int r = 0; r < 5; ++r) best = std::min(best, peak_loop(fused, iters));
  return 2.0 * 8 * 12 * iters / best * 1e-9;  // 12 multiply-adds of 8 doubles per iteration
}

template <typename T> struct kind;
template <> struct kind<float> {
  static constexpr const char *name = "sgemm";
  static constexpr double flops = 2;
  static void ours(const char *t, int m, int n, int k, const float *al, const float *a, int lda,
                   const float *b, int ldb, const float *be, float *c, int ldc) {
    __KAFf90_sgemm(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void blas(const char *t, int m, int n, int k, const float *al, const float *a, int lda,
                   const float *b, int ldb, const float *be, float *c, int ldc) {
    sgemm_(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void gf(int m, int n, int k, const float *a, const float *b, float *c) {
    gf_smatmul(m, n, k, a, b, c);
  }
};
template <> struct kind<double> {
  static constexpr const char *name = "dgemm";
  static constexpr double flops = 2;
  static void ours(const char *t, int m, int n, int k, const double *al, const double *a, int lda,
                   const double *b, int ldb, const double *be, double *c, int ldc) {
    __KAFf90_dgemm(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void blas(const char *t, int m, int n, int k, const double *al, const double *a, int lda,
                   const double *b, int ldb, const double *be, double *c, int ldc) {
    dgemm_(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void gf(int m, int n, int k, const double *a, const double *b, double *c) {
    gf_dmatmul(m, n, k, a, b, c);
  }
};
template <> struct kind<kaf_complex> {
  static constexpr const char *name = "cgemm";
  static constexpr double flops = 8;
  static void ours(const char *t, int m, int n, int k, const kaf_complex *al, const kaf_complex *a,
                   int lda, const kaf_complex *b, int ldb, const kaf_complex *be, kaf_complex *c,
                   int ldc) {
    __KAFf90_cgemm(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void blas(const char *t, int m, int n, int k, const kaf_complex *al, const kaf_complex *a,
                   int lda, const kaf_complex *b, int ldb, const kaf_complex *be, kaf_complex *c,
                   int ldc) {
    cgemm_(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void gf(int m, int n, int k, const kaf_complex *a, const kaf_complex *b, kaf_complex *c) {
    gf_cmatmul(m, n, k, a, b, c);
  }
};
template <> struct kind<kaf_dcomplex> {
  static constexpr const char *name = "zgemm";
  static constexpr double flops = 8;
  static void ours(const char *t, int m, int n, int k, const kaf_dcomplex *al,
                   const kaf_dcomplex *a, int lda, const kaf_dcomplex *b, int ldb,
                   const kaf_dcomplex *be, kaf_dcomplex *c, int ldc) {
    __KAFf90_zgemm(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void blas(const char *t, int m, int n, int k, const kaf_dcomplex *al,
                   const kaf_dcomplex *a, int lda, const kaf_dcomplex *b, int ldb,
                   const kaf_dcomplex *be, kaf_dcomplex *c, int ldc) {
    zgemm_(t, t, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void gf(int m, int n, int k, const kaf_dcomplex *a, const kaf_dcomplex *b,
                 kaf_dcomplex *c) {
    gf_zmatmul(m, n, k, a, b, c);
  }
};

template <typename T> T value(double x) {
  if constexpr (sizeof(T) <= sizeof(double) && std::is_floating_point_v<T>)
    return static_cast<T>(x);
  else
    return T{static_cast<decltype(T::re)>(x), static_cast<decltype(T::re)>(0.5 * x)};
}

// 1 (with a zero imaginary part for the complex kinds) and 0.
template <typename T> T exactly(double x) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(x);
  else
    return T{static_cast<decltype(T::re)>(x), 0};
}

struct shape {
  int m, n, k;
};

template <typename T> void run(const shape &s, int rounds) {
  using K = kind<T>;
  std::vector<T> a(size_t(s.m) * s.k), b(size_t(s.k) * s.n), c(size_t(s.m) * s.n);
  unsigned seed = 12345;
  auto rnd = [&seed] {
    seed = seed * 1103515245u + 12345u;
    return double((seed >> 8) & 0xffff) / 65536.0 - 0.5;
  };
  for (auto &x : a) x = value<T>(rnd());
  for (auto &x : b) x = value<T>(rnd());
  const T alpha = exactly<T>(1), beta = exactly<T>(0);
  const double work = K::flops * double(s.m) * s.n * s.k;
  // Enough calls per timing to last about 30 ms: short timings, many
  // rounds, best of each, so that a shared machine's interruptions drop out.
  int reps = std::max(1, int(0.03 / (work / 40e9)));
  double best[3] = {1e30, 1e30, 1e30};
  for (int r = 0; r < rounds; ++r)
    for (int impl = 0; impl < 3; ++impl) {
      double t0 = now();
      for (int i = 0; i < reps; ++i) {
        if (impl == 0)
          K::ours("N", s.m, s.n, s.k, &alpha, a.data(), s.m, b.data(), s.k, &beta, c.data(), s.m);
        else if (impl == 1)
          K::blas("N", s.m, s.n, s.k, &alpha, a.data(), s.m, b.data(), s.k, &beta, c.data(), s.m);
        else
          K::gf(s.m, s.n, s.k, a.data(), b.data(), c.data());
      }
      best[impl] = std::min(best[impl], (now() - t0) / reps);
    }
  double g[3];
  for (int i = 0; i < 3; ++i) g[i] = work / best[i] * 1e-9;
  std::printf("| %s | %d x %d x %d | %.1f | %.1f | %.1f | %.2f | %.2f |\n", K::name, s.m, s.n, s.k,
              g[0], g[1], g[2], g[0] / g[1], g[0] / g[2]);
  std::fflush(stdout);
}

// Only ours, one shape, for profiling and quick comparisons:
//   matmul_bench ours <kind> M N K [rounds]
// prints the best GFLOP/s of the rounds.
template <typename T> void ours_only(const shape &s, int rounds) {
  using K = kind<T>;
  std::vector<T> a(size_t(s.m) * s.k), b(size_t(s.k) * s.n), c(size_t(s.m) * s.n);
  for (size_t i = 0; i < a.size(); ++i) a[i] = value<T>(double(i % 17) / 16 - 0.5);
  for (size_t i = 0; i < b.size(); ++i) b[i] = value<T>(double(i % 13) / 12 - 0.5);
  const T alpha = exactly<T>(1), beta = exactly<T>(0);
  const double work = K::flops * double(s.m) * s.n * s.k;
  int reps = std::max(1, int(0.03 / (work / 40e9)));
  double best = 1e30;
  for (int r = 0; r < rounds; ++r) {
    double t0 = now();
    for (int i = 0; i < reps; ++i)
      K::ours("N", s.m, s.n, s.k, &alpha, a.data(), s.m, b.data(), s.k, &beta, c.data(), s.m);
    best = std::min(best, (now() - t0) / reps);
  }
  std::printf("%s %d x %d x %d: ours %.1f GFLOP/s\n", K::name, s.m, s.n, s.k, work / best * 1e-9);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc >= 6 && std::strcmp(argv[1], "ours") == 0) {
    const shape s{std::atoi(argv[3]), std::atoi(argv[4]), std::atoi(argv[5])};
    const int rounds = argc > 6 ? std::atoi(argv[6]) : 10;
    switch (argv[2][0]) {
    case 's': ours_only<float>(s, rounds); break;
    case 'd': ours_only<double>(s, rounds); break;
    case 'c': ours_only<kaf_complex>(s, rounds); break;
    default: ours_only<kaf_dcomplex>(s, rounds); break;
    }
    return 0;
  }
  int rounds = argc > 1 ? std::atoi(argv[1]) : 7;
  const char *wall = std::getenv("KAF_BENCH_WALL");
  wall_clock = wall && std::strcmp(wall, "1") == 0;
  const char *only = argc > 2 ? argv[2] : nullptr;
  std::printf("kernel path: %s; OpenBLAS core: %s; config: %s\n", __KAFf90_gemm_kernel(),
              openblas_get_corename(), openblas_get_config());
  std::printf("timing: %s, best of %d rounds\n",
              wall_clock ? "wall clock" : "CPU time of the calling thread", rounds);
  const double pm = peak(false), pf = peak(true);
  std::printf("measured peak, double, one core: multiply+add %.1f GFLOP/s, fused %.1f GFLOP/s\n",
              pm, pf);
  std::printf("single precision: twice these.\n\n");
  std::printf("| kind | M x N x K | ours GFLOP/s | OpenBLAS | gfortran | ours/OpenBLAS | ours/gfortran |\n");
  std::printf("|---|---|---|---|---|---|---|\n");
  const shape shapes[] = {{64, 64, 64},       {200, 200, 200},    {500, 500, 500},
                          {1000, 1000, 1000}, {2000, 2000, 2000}, {2000, 32, 2000}};
  for (const char *kname : {"sgemm", "dgemm", "cgemm", "zgemm"}) {
    if (only && std::strcmp(only, kname) != 0) continue;
    for (const shape &s : shapes) {
      if (kname[0] == 's') run<float>(s, rounds);
      if (kname[0] == 'd') run<double>(s, rounds);
      if (kname[0] == 'c') run<kaf_complex>(s, rounds);
      if (kname[0] == 'z') run<kaf_dcomplex>(s, rounds);
    }
  }
  return 0;
}
