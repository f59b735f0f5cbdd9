// SSE2 GEMM kernels, the baseline every x86-64 processor runs. The real
// kinds use the column-walking tile: 14 of the 16 XMM registers hold
// accumulators for one column of a 28-row (double) or 56-row (single) tile,
// one holds the broadcast B value and one the A pair in flight.
#include <emmintrin.h>

#include "matmul/gemm_tiles.h"

namespace kaf_gemm {
namespace {

struct sse2_d {
  using Real = double;
  using R = __m128d;
  static R zero() { return _mm_setzero_pd(); }
  static constexpr int lanes = 2;
  static R load(const double *p) { return _mm_load_pd(p); }
  static R loadu(const double *p) { return _mm_loadu_pd(p); }
  static void storeu(double *p, R x) { _mm_storeu_pd(p, x); }
  static R bcast(const double *p) { return _mm_set1_pd(*p); }
  static R mul(R x, R y) { return _mm_mul_pd(x, y); }
  static R add(R x, R y) { return _mm_add_pd(x, y); }
};

struct sse2_s {
  using Real = float;
  using R = __m128;
  static R zero() { return _mm_setzero_ps(); }
  static constexpr int lanes = 4;
  static R load(const float *p) { return _mm_load_ps(p); }
  static R loadu(const float *p) { return _mm_loadu_ps(p); }
  static void storeu(float *p, R x) { _mm_storeu_ps(p, x); }
  static R bcast(const float *p) { return _mm_set1_ps(*p); }
  static R mul(R x, R y) { return _mm_mul_ps(x, y); }
  static R add(R x, R y) { return _mm_add_ps(x, y); }
};

}  // namespace

// The A micro-panel (28 x 128 doubles, 28 KiB) stays in the first-level
// cache while the tile's columns walk over it, hence the short kc.
constinit const kernel_set<double> d_sse2 =
    make_set<double, tile_real_columns, sse2_d, 14, 4>(128, 224, 2048);
constinit const kernel_set<float> s_sse2 =
    make_set<float, tile_real_columns, sse2_s, 14, 4>(128, 224, 2048);
// Complex: 2 x 3 registers of accumulators (2 x 3 elements in double
// complex, 4 x 3 in single), 4 registers of A (direct and rotated), 2
// broadcasts and 2 products: all 16 registers.
constinit const kernel_set<kaf_dcomplex> z_sse2 =
    make_set<kaf_dcomplex, tile_complex, sse2_d, 2, 3>(256, 96, 510);
constinit const kernel_set<kaf_complex> c_sse2 =
    make_set<kaf_complex, tile_complex, sse2_s, 2, 3>(256, 96, 1020);

}  // namespace kaf_gemm
