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
  static R loadm(const double *p, int n) { return _mm512_maskz_loadu_pd(__mmask8((1u << n) - 1), p); }
  static void storem(double *p, int n, R x) { _mm512_mask_storeu_pd(p, __mmask8((1u << n) - 1), x); }
  // dst[8k + j] = src[k + j*ld] (times *scale when scale is not null), for
  // j, k < 8: the real packed B layout of eight k of an 8-column panel.
  static constexpr int transpose_k = 8;
  static void transpose8(const double *src, long ld, double *dst, const double *scale) {
    // Two-source permutes throughout (vpermt2pd): GCC 12's unpack and
    // 128-bit shuffle intrinsics warn about their own undefined operand.
    auto pick = [](R x, __m512i idx, R y) { return _mm512_permutex2var_pd(x, idx, y); };
    R r[8], t[8], u[8];
    for (int j = 0; j < 8; ++j) r[j] = _mm512_loadu_pd(src + j * ld);
    const __m512i even = _mm512_setr_epi64(0, 8, 2, 10, 4, 12, 6, 14);
    const __m512i odd = _mm512_setr_epi64(1, 9, 3, 11, 5, 13, 7, 15);
    for (int j = 0; j < 8; j += 2) {
      t[j] = pick(r[j], even, r[j + 1]);     // k = 0, 2, 4, 6 of columns j, j+1
      t[j + 1] = pick(r[j], odd, r[j + 1]);  // k = 1, 3, 5, 7
    }
    const __m512i lo = _mm512_setr_epi64(0, 1, 8, 9, 4, 5, 12, 13);
    const __m512i hi = _mm512_setr_epi64(2, 3, 10, 11, 6, 7, 14, 15);
    for (int h = 0; h < 8; h += 4) {
      u[h] = pick(t[h], lo, t[h + 2]);          // k = 0, 4 of columns h..h+3
      u[h + 1] = pick(t[h + 1], lo, t[h + 3]);  // k = 1, 5
      u[h + 2] = pick(t[h], hi, t[h + 2]);      // k = 2, 6
      u[h + 3] = pick(t[h + 1], hi, t[h + 3]);  // k = 3, 7
    }
    const __m512i first = _mm512_setr_epi64(0, 1, 2, 3, 8, 9, 10, 11);
    const __m512i second = _mm512_setr_epi64(4, 5, 6, 7, 12, 13, 14, 15);
    R out[8];
    for (int q = 0; q < 4; ++q) {
      out[q] = pick(u[q], first, u[q + 4]);
      out[q + 4] = pick(u[q], second, u[q + 4]);
    }
    if (scale) {
      const R s = _mm512_set1_pd(*scale);
      for (int k = 0; k < 8; ++k) out[k] = _mm512_mul_pd(s, out[k]);
    }
    for (int k = 0; k < 8; ++k) _mm512_store_pd(dst + 8 * k, out[k]);
  }
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
  static R loadm(const float *p, int n) { return _mm512_maskz_loadu_ps(__mmask16((1u << n) - 1), p); }
  static void storem(float *p, int n, R x) { _mm512_mask_storeu_ps(p, __mmask16((1u << n) - 1), x); }
  // 16 k of an 8-column panel: dst[8k + j] = src[k + j*ld] (times *scale
  // when scale is not null), for j < 8, k < 16, in three rounds of
  // two-source permutes (GCC 12 stores pairs of 256-bit halves through the
  // stack, so the 8 x 8 transpose in 256-bit registers is slower).
  static constexpr int transpose_k = 16;
  static void transpose8(const float *src, long ld, float *dst, const float *scale) {
    auto pick_s = [](R x, __m512i idx, R y) { return _mm512_permutex2var_ps(x, idx, y); };
    auto pick_d = [](R x, __m512i idx, R y) {
      return _mm512_castpd_ps(_mm512_permutex2var_pd(_mm512_castps_pd(x), idx, _mm512_castps_pd(y)));
    };
    R r[8], t[8], u[8];
    for (int j = 0; j < 8; ++j) r[j] = _mm512_loadu_ps(src + j * ld);
    // Columns j, j+1 side by side: k = 0..7, then k = 8..15.
    const __m512i lo1 = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const __m512i hi1 =
        _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    for (int j = 0; j < 8; j += 2) {
      t[j] = pick_s(r[j], lo1, r[j + 1]);
      t[j + 1] = pick_s(r[j], hi1, r[j + 1]);
    }
    // Columns h..h+3 (pairs of lanes): k = 0..3 and 4..7 of each half.
    const __m512i lo2 = _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11);
    const __m512i hi2 = _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15);
    for (int half = 0; half < 2; ++half)
      for (int h = 0; h < 2; ++h) {
        const R x = t[half + 4 * h], y = t[half + 4 * h + 2];
        u[4 * half + 2 * h] = pick_d(x, lo2, y);      // columns 4h..4h+3, k = 8*half + 0..3
        u[4 * half + 2 * h + 1] = pick_d(x, hi2, y);  // k = 8*half + 4..7
      }
    // All eight columns (quarters): two k per register.
    const __m512i lo3 = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const __m512i hi3 = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    R out[8];
    for (int q = 0; q < 8; q += 2) {
      const int g = (q / 4) * 4 + (q / 2) % 2;  // u of columns 0..3; u[g + 2] of 4..7
      out[q] = pick_d(u[g], lo3, u[g + 2]);
      out[q + 1] = pick_d(u[g], hi3, u[g + 2]);
    }
    if (scale) {
      const R a = _mm512_set1_ps(*scale);
      for (int q = 0; q < 8; ++q) out[q] = _mm512_mul_ps(a, out[q]);
    }
    for (int q = 0; q < 8; ++q) _mm512_store_ps(dst + 16 * q, out[q]);
  }
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
