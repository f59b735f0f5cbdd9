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
  // The first n lanes (1 <= n <= 8); the others are zero when loaded and
  // left alone when stored. Masked lanes are never accessed, so they may lie
  // in an unmapped page.
  static __mmask8 mask(int n) { return __mmask8((1u << n) - 1); }
  static R loadm(const double *p, int n) { return _mm512_maskz_loadu_pd(mask(n), p); }
  static void storem(double *p, int n, R x) { _mm512_mask_storeu_pd(p, mask(n), x); }
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
  static __mmask16 mask(int n) { return __mmask16((1u << n) - 1); }  // 1 <= n <= 16
  static R loadm(const float *p, int n) { return _mm512_maskz_loadu_ps(mask(n), p); }
  static void storem(float *p, int n, R x) { _mm512_mask_storeu_ps(p, mask(n), x); }
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
