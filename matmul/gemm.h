// GEMM internals shared by the four members, the kernel files of each
// vector unit and the path selection: element traits, the kernel-set record
// and the blocking constants with their reasons.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

#include "kafrts/matmul.h"

namespace kaf_gemm {

// Kernel paths, in order of preference; a forced path is a cap.
enum path : int { path_portable = 0, path_sse2 = 1, path_avx2 = 2, path_avx512 = 3 };

// The path this process uses (first call: cpuid, then the
// KAFFORTRAN_GEMM_KERNEL cap).
path active_path();
const char *path_name(path p);

// Element traits: Real is the scalar a vector lane holds; Complex says
// whether an element is a (re, im) pair of them.
template <typename T> struct element;
template <> struct element<float> {
  using Real = float;
  static constexpr bool complex = false;
};
template <> struct element<double> {
  using Real = double;
  static constexpr bool complex = false;
};
template <> struct element<kaf_complex> {
  using Real = float;
  static constexpr bool complex = true;
};
template <> struct element<kaf_dcomplex> {
  using Real = double;
  static constexpr bool complex = true;
};

// The register-tiled kernel: C(0:mr-1, 0:nr-1) (leading dimension ldc, in
// elements) accumulates kc rank-one updates from a packed A micro-panel and
// a packed B micro-panel, k increasing, multiply then add.
//
// Packed A micro-panel, per k: the mr elements of column k of op(A), and for
// the complex kinds after them the same mr elements "rotated" to (-im, re),
// so that the kernel forms (ar*br - ai*bi, ai*br + ar*bi) with two plain
// vector products and one sum. Packed B micro-panel, per k: the nr elements
// of row k of alpha*op(B). Both are zero-padded past the matrix edges.
// With from_zero the accumulators start at +0 instead of the values in C
// (the first k block when beta is 0: the same sums, and C is never read).
//
// The masked kernels (masked_rows below) take their last vector of rows
// through lane masks: only its first tail lanes of C are read and written,
// so a tile short in M is computed in place and no lane past the last row
// is ever touched. The other kernels ignore tail.
template <typename T>
using tile_kernel = void (*)(long kc, const typename element<T>::Real *a,
                             const typename element<T>::Real *b, T *c, long ldc, bool from_zero,
                             int tail);

// One kernel set: the tile and the cache blocking that suits it.
//   mr, nr  register tile (elements of C);
//   kc      depth of a block: the packed B micro-panel (kc x nr) stays in
//           the first-level cache while A micro-panels stream past it;
//   mc      rows of the packed A block (multiple of mr): kc x mc sits in
//           the second-level cache;
//   nc      columns of the packed B block (multiple of nr): the last-level
//           cache holds it.
// The clean-ups: narrow[c] computes all mr rows of c < nr columns;
// short_rows[v] computes v * rows_per_vec rows of all nr columns (over the
// same packed panels as the full tile); masked_rows[v], where the vector
// unit has lane masks, computes v vectors of rows of which the last holds
// only tail lanes (null elsewhere).
constexpr int max_nr = 8, max_mv = 14;
// Elements of the largest tile (single precision AVX-512: 48 x 8); the
// driver's local copy of a partial tile holds this many.
constexpr int max_tile_elements = 48 * 8;
// Packers: pack_a[trans] fills the packed A block with rows [i0, i0+mc),
// columns [p0, p0+kc) of op(A); pack_b[2*trans + scale] the packed B block
// with rows [p0, p0+kc), columns [j0, j0+nc) of op(B), times alpha when
// scale is 1. trans: 0 as stored, 1 transposed, 2 conjugate transposed.
template <typename T>
using pack_a_fn = void (*)(const T *x, long ld, long i0, long mc, long p0, long kc, int mr,
                           typename element<T>::Real *dst);
template <typename T>
using pack_b_fn = void (*)(const T *x, long ld, T alpha, long p0, long kc, long j0, long nc,
                           int nr, T *dst);

template <typename T> struct kernel_set {
  int mr, nr, kc, mc, nc;
  int rows_per_vec;  // rows of C in one vector register
  tile_kernel<T> full;
  std::array<tile_kernel<T>, max_nr + 1> narrow;
  std::array<tile_kernel<T>, max_mv + 1> short_rows;
  std::array<tile_kernel<T>, max_mv + 1> masked_rows;
  std::array<pack_a_fn<T>, 3> pack_a;
  std::array<pack_b_fn<T>, 6> pack_b;
};

// Kernel sets of each path, defined in the file of that vector unit
// (gemm_portable.cpp, gemm_sse2.cpp, gemm_avx2.cpp, gemm_avx512.cpp).
extern const kernel_set<float> s_portable, s_sse2, s_avx2, s_avx512;
extern const kernel_set<double> d_portable, d_sse2, d_avx2, d_avx512;
extern const kernel_set<kaf_complex> c_portable, c_sse2, c_avx2, c_avx512;
extern const kernel_set<kaf_dcomplex> z_portable, z_sse2, z_avx2, z_avx512;

template <typename T>
inline const kernel_set<T> &pick(path p, const kernel_set<T> &portable, const kernel_set<T> &sse2,
                                 const kernel_set<T> &avx2, const kernel_set<T> &avx512) {
  switch (p) {
  case path_avx512: return avx512;
  case path_avx2: return avx2;
  case path_sse2: return sse2;
  default: return portable;
  }
}

// The kernel set of path p for T.
template <typename T> const kernel_set<T> &kernels_for(path p) {
  if constexpr (std::is_same_v<T, float>)
    return pick(p, s_portable, s_sse2, s_avx2, s_avx512);
  else if constexpr (std::is_same_v<T, double>)
    return pick(p, d_portable, d_sse2, d_avx2, d_avx512);
  else if constexpr (std::is_same_v<T, kaf_complex>)
    return pick(p, c_portable, c_sse2, c_avx2, c_avx512);
  else
    return pick(p, z_portable, z_sse2, z_avx2, z_avx512);
}

}  // namespace kaf_gemm
