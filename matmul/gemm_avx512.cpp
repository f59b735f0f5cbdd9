// AVX-512 GEMM kernels (32 ZMM registers). Multiply and add stay separate
// instructions: this file is built without floating-point contraction.
#include <immintrin.h>

#include "matmul/gemm_tiles.h"

namespace kaf_gemm {
namespace {

struct avx512_d {
  using Real = double;
  using R = __m512d;
  static R zero() { return _mm512_setzero_pd(); }
  static constexpr int lanes = 8;
  static R load(const double *p) { return _mm512_load_pd(p); }
  static R loadu(const double *p) { return _mm512_loadu_pd(p); }
  static void storeu(double *p, R x) { _mm512_storeu_pd(p, x); }
  static R bcast(const double *p) { return _mm512_set1_pd(*p); }
  static R mul(R x, R y) { return _mm512_mul_pd(x, y); }
  static R add(R x, R y) { return _mm512_add_pd(x, y); }
};

struct avx512_s {
  using Real = float;
  using R = __m512;
  static R zero() { return _mm512_setzero_ps(); }
  static constexpr int lanes = 16;
  static R load(const float *p) { return _mm512_load_ps(p); }
  static R loadu(const float *p) { return _mm512_loadu_ps(p); }
  static void storeu(float *p, R x) { _mm512_storeu_ps(p, x); }
  static R bcast(const float *p) { return _mm512_set1_ps(*p); }
  static R mul(R x, R y) { return _mm512_mul_ps(x, y); }
  static R add(R x, R y) { return _mm512_add_ps(x, y); }
};

}  // namespace

// Real: 3 x 8 accumulators, 3 of A, one broadcast, one product (29 of 32).
// A B micro-panel (256 x 8 doubles, 16 KiB) stays in the first-level cache,
// the packed A block (384 x 256 doubles, 768 KiB) in the 2 MiB second level;
// the packed B block is held near 2 MiB (1024 columns), which measured best
// at n = 1000 and 2000 (larger blocks lost 10% at n = 2000).
constinit const kernel_set<double> d_avx512 =
    make_set<double, tile_real, avx512_d, 3, 8>(256, 384, 1024);
constinit const kernel_set<float> s_avx512 =
    make_set<float, tile_real, avx512_s, 3, 8>(256, 384, 4096);
// Complex: 3 x 6 accumulators, 6 of A (direct and rotated), 2 broadcasts,
// 2 products (28 of 32). The A block holds both forms of each element
// (48 x 256 double complex: 384 KiB); the B block again near 2 MiB.
constinit const kernel_set<kaf_dcomplex> z_avx512 =
    make_set<kaf_dcomplex, tile_complex, avx512_d, 3, 6>(256, 48, 504);
constinit const kernel_set<kaf_complex> c_avx512 =
    make_set<kaf_complex, tile_complex, avx512_s, 3, 6>(256, 96, 1020);

}  // namespace kaf_gemm
