// Register-tiled GEMM kernels, written once over a vector-operations record
// V and instantiated by each vector unit's file with its own V (declared in
// an unnamed namespace there, so no instantiation built for one unit can
// stand in for another's at link time).
//
// V supplies: Real (lane type), R (register), lanes, load (aligned),
// loadu/storeu (unaligned), bcast (one scalar into every lane), zero, mul,
// add.
//
// Every kernel keeps one accumulator per element of C and adds the products
// into it in increasing k: the register tile only decides which elements
// advance together, never the order of one element's sums.
#pragma once

#include <type_traits>
#include <utility>

#include "matmul/gemm.h"
#include "matmul/gemm_pack.h"

namespace kaf_gemm {

// Every kernel computes MV vectors of rows by NR columns of C; the packed
// panels it walks hold MVS vectors of rows and NRS columns per k. A full
// tile has MV = MVS and NR = NRS; the clean-up kernels for a tile short in
// M (fewer vectors) or in N (fewer columns) are the same code with smaller
// MV or NR over the same panels.

// The first tail lanes at p (the others zero) and their store, through the
// unit's lane masks; instantiated only for units that have them (Masked).
template <class V, bool Masked>
inline typename V::R load_part(const typename V::Real *p, int tail) {
  if constexpr (Masked)
    return V::loadm(p, tail);
  else
    return V::loadu(p);
}
template <class V, bool Masked>
inline void store_part(typename V::Real *p, int tail, typename V::R x) {
  if constexpr (Masked)
    V::storem(p, tail, x);
  else
    V::storeu(p, x);
}

// Real tile: per k, MV aligned loads of packed A, NR broadcasts of packed
// B, MV x NR products and sums.
template <class V, int MV, int NR, int MVS, int NRS> struct tile_real {
  using Real = typename V::Real;
  template <bool Masked>
  static void body(long kc, const Real *a, const Real *b, Real *c, long ldc, bool from_zero,
                   int tail) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  R acc[NR][MV];
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v)
      acc[j][v] = from_zero                  ? V::zero()
                  : (Masked && v == MV - 1) ? load_part<V, Masked>(c + j * ldc + v * L, tail)
                                             : V::loadu(c + j * ldc + v * L);
  for (long k = 0; k < kc; ++k) {
    R av[MV];
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) av[v] = V::load(a + v * L);
#pragma GCC unroll 16
    for (int j = 0; j < NR; ++j) {
      R bj = V::bcast(b + j);
#pragma GCC unroll 8
      for (int v = 0; v < MV; ++v) acc[j][v] = V::add(acc[j][v], V::mul(av[v], bj));
    }
    a += MVS * L;
    b += NRS;
  }
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v)
      if (Masked && v == MV - 1)
        store_part<V, Masked>(c + j * ldc + v * L, tail, acc[j][v]);
      else
        V::storeu(c + j * ldc + v * L, acc[j][v]);
  }
  static void run(long kc, const Real *a, const Real *b, Real *c, long ldc, bool from_zero,
                  int tail) {
    body<false>(kc, a, b, c, ldc, from_zero, tail);
  }
  static void run_masked(long kc, const Real *a, const Real *b, Real *c, long ldc,
                         bool from_zero, int tail) {
    body<true>(kc, a, b, c, ldc, from_zero, tail);
  }
};

// Real tile walked column by column, for vector units with few registers:
// MV accumulators hold one column of the tile for the whole k loop, so MV
// can be large (14 of the 16 registers) while B is read one scalar per k.
template <class V, int MV, int NR, int MVS, int NRS> struct tile_real_columns {
  static void run(long kc, const typename V::Real *a, const typename V::Real *b,
                  typename V::Real *c, long ldc, bool from_zero, int) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  for (int j = 0; j < NR; ++j) {
    typename V::Real *cj = c + j * ldc;
    R acc[MV];
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v) acc[v] = from_zero ? V::zero() : V::loadu(cj + v * L);
    const typename V::Real *ak = a;
    const typename V::Real *bk = b + j;
    for (long k = 0; k < kc; ++k) {
      R bj = V::bcast(bk);
#pragma GCC unroll 16
      for (int v = 0; v < MV; ++v) acc[v] = V::add(acc[v], V::mul(V::load(ak + v * L), bj));
      ak += MVS * L;
      bk += NRS;
    }
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v) V::storeu(cj + v * L, acc[v]);
  }
  }
};

// Complex tile: elements are (re, im) pairs of lanes, L/2 per register.
// Packed A per k: MV registers of (ar, ai) pairs, then MV registers of
// (-ai, ar); packed B per k: NR pairs (br, bi). For each element
//   acc += (ar*br, ai*br) + (-ai*bi, ar*bi)
// which is c + (ar*br - ai*bi, ai*br + ar*bi), the textbook product added
// part by part.
template <class V, int MV, int NR, int MVS, int NRS> struct tile_complex {
  using T = std::conditional_t<std::is_same_v<typename V::Real, float>, kaf_complex, kaf_dcomplex>;
  using Real = typename V::Real;
  template <bool Masked>
  static void body(long kc, const Real *a, const Real *b, T *c_elems, long ldc, bool from_zero,
                   int tail) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  Real *c = reinterpret_cast<Real *>(c_elems);
  const long ldr = 2 * ldc;
  R acc[NR][MV];
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v)
      acc[j][v] = from_zero                  ? V::zero()
                  : (Masked && v == MV - 1) ? load_part<V, Masked>(c + j * ldr + v * L, tail)
                                             : V::loadu(c + j * ldr + v * L);
  for (long k = 0; k < kc; ++k) {
    R a1[MV], a2[MV];
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) {
      a1[v] = V::load(a + v * L);
      a2[v] = V::load(a + (MVS + v) * L);
    }
#pragma GCC unroll 16
    for (int j = 0; j < NR; ++j) {
      R br = V::bcast(b + 2 * j);
      R bi = V::bcast(b + 2 * j + 1);
#pragma GCC unroll 8
      for (int v = 0; v < MV; ++v) {
        R p = V::add(V::mul(a1[v], br), V::mul(a2[v], bi));
        acc[j][v] = V::add(acc[j][v], p);
      }
    }
    a += 2 * MVS * L;
    b += 2 * NRS;
  }
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v)
      if (Masked && v == MV - 1)
        store_part<V, Masked>(c + j * ldr + v * L, tail, acc[j][v]);
      else
        V::storeu(c + j * ldr + v * L, acc[j][v]);
  }
  static void run(long kc, const Real *a, const Real *b, T *c, long ldc, bool from_zero,
                  int tail) {
    body<false>(kc, a, b, c, ldc, from_zero, tail);
  }
  static void run_masked(long kc, const Real *a, const Real *b, T *c, long ldc, bool from_zero,
                         int tail) {
    body<true>(kc, a, b, c, ldc, from_zero, tail);
  }
};

// The kernel set of tile family K over vector unit V for elements T: the
// MV x NR full tile, its clean-ups, and the blocking given.
template <typename T, template <class, int, int, int, int> class K, class V, int MV, int NR>
constexpr kernel_set<T> make_set(int kc, int mc, int nc) {
  static_assert(NR <= max_nr && MV <= max_mv);
  constexpr int per_vec = element<T>::complex ? V::lanes / 2 : V::lanes;
  static_assert(MV * per_vec * NR <= max_tile_elements);
  kernel_set<T> s{};
  s.mr = MV * per_vec;
  s.nr = NR;
  s.kc = kc;
  s.mc = mc;
  s.nc = nc;
  s.rows_per_vec = per_vec;
  s.full = &K<V, MV, NR, MV, NR>::run;
  [&s]<int... c>(std::integer_sequence<int, c...>) {
    ((s.narrow[c + 1] = &K<V, MV, c + 1, MV, NR>::run), ...);
  }(std::make_integer_sequence<int, NR>{});
  [&s]<int... v>(std::integer_sequence<int, v...>) {
    ((s.short_rows[v + 1] = &K<V, v + 1, NR, MV, NR>::run), ...);
  }(std::make_integer_sequence<int, MV>{});
  if constexpr (requires(const typename V::Real *p) { V::loadm(p, 1); })
    [&s]<int... v>(std::integer_sequence<int, v...>) {
      ((s.masked_rows[v + 1] = &K<V, v + 1, NR, MV, NR>::run_masked), ...);
    }(std::make_integer_sequence<int, MV>{});
  using P = packing<V, T>;
  s.pack_a = {&P::template pack_a<0>, &P::template pack_a<1>, &P::template pack_a<2>};
  s.pack_b = {&P::template pack_b<0, false, NR>, &P::template pack_b<0, true, NR>,
              &P::template pack_b<1, false, NR>, &P::template pack_b<1, true, NR>,
              &P::template pack_b<2, false, NR>, &P::template pack_b<2, true, NR>};
  return s;
}

}  // namespace kaf_gemm
