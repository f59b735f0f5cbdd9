// AVX2 GEMM kernels (16 YMM registers). Multiply and add stay separate
// instructions: this file is built without floating-point contraction.
#include <immintrin.h>

#include "matmul/gemm_tiles.h"

namespace kaf_gemm {
namespace {

struct avx2_d {
  using Real = double;
  using R = __m256d;
  static R zero() { return _mm256_setzero_pd(); }
  static constexpr int lanes = 4;
  static R load(const double *p) { return _mm256_load_pd(p); }
  static R loadu(const double *p) { return _mm256_loadu_pd(p); }
  static void storeu(double *p, R x) { _mm256_storeu_pd(p, x); }
  static R bcast(const double *p) { return _mm256_broadcast_sd(p); }
  static R mul(R x, R y) { return _mm256_mul_pd(x, y); }
  static R add(R x, R y) { return _mm256_add_pd(x, y); }
  // The first n lanes (1 <= n <= 4) through vmaskmov: masked lanes are never
  // accessed, so they may lie in an unmapped page.
  static __m256i mask(int n) {
    return _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_setr_epi64x(0, 1, 2, 3));
  }
  static R loadm(const double *p, int n) { return _mm256_maskload_pd(p, mask(n)); }
  static void storem(double *p, int n, R x) { _mm256_maskstore_pd(p, mask(n), x); }
};

struct avx2_s {
  using Real = float;
  using R = __m256;
  static R zero() { return _mm256_setzero_ps(); }
  static constexpr int lanes = 8;
  static R load(const float *p) { return _mm256_load_ps(p); }
  static R loadu(const float *p) { return _mm256_loadu_ps(p); }
  static void storeu(float *p, R x) { _mm256_storeu_ps(p, x); }
  static R bcast(const float *p) { return _mm256_broadcast_ss(p); }
  static R mul(R x, R y) { return _mm256_mul_ps(x, y); }
  static R add(R x, R y) { return _mm256_add_ps(x, y); }
  static __m256i mask(int n) {
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  }
  static R loadm(const float *p, int n) { return _mm256_maskload_ps(p, mask(n)); }
  static void storem(float *p, int n, R x) { _mm256_maskstore_ps(p, mask(n), x); }
};

}  // namespace

// Real: 2 x 6 accumulators, 2 of A, one broadcast, one product.
constinit const kernel_set<double> d_avx2 =
    make_set<double, tile_real, avx2_d, 2, 6>(256, 192, 1020);
constinit const kernel_set<float> s_avx2 =
    make_set<float, tile_real, avx2_s, 2, 6>(256, 192, 2046);
// Complex: 2 x 3 accumulators, 4 of A (direct and rotated), 2 broadcasts,
// 2 products.
constinit const kernel_set<kaf_dcomplex> z_avx2 =
    make_set<kaf_dcomplex, tile_complex, avx2_d, 2, 3>(256, 96, 510);
constinit const kernel_set<kaf_complex> c_avx2 =
    make_set<kaf_complex, tile_complex, avx2_s, 2, 3>(256, 96, 1020);

}  // namespace kaf_gemm
