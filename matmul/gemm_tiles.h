// Register-tiled GEMM kernels, written once over a vector-operations record
// V and instantiated by each vector unit's file with its own V (declared in
// an unnamed namespace there, so no instantiation built for one unit can
// stand in for another's at link time).
//
// V supplies: Real (lane type), R (register), lanes, load (aligned),
// loadu/storeu (unaligned), bcast (one scalar into every lane), mul, add.
//
// Every kernel keeps one accumulator per element of C and adds the products
// into it in increasing k: the register tile only decides which elements
// advance together, never the order of one element's sums.
#pragma once

#include "matmul/gemm.h"

namespace kaf_gemm {

// Real tile of MV vectors of rows by NR columns: per k, MV aligned loads of
// packed A, NR broadcasts of packed B, MV x NR products and sums.
template <class V, int MV, int NR>
void tile_real(long kc, const typename V::Real *a, const typename V::Real *b,
               typename V::Real *c, long ldc) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  R acc[NR][MV];
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) acc[j][v] = V::loadu(c + j * ldc + v * L);
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
    a += MV * L;
    b += NR;
  }
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) V::storeu(c + j * ldc + v * L, acc[j][v]);
}

// Real tile walked column by column, for vector units with few registers:
// MV accumulators hold one column of the tile for the whole k loop, so MV
// can be large (14 of the 16 registers) while B is read one scalar per k.
template <class V, int MV, int NR>
void tile_real_columns(long kc, const typename V::Real *a, const typename V::Real *b,
                       typename V::Real *c, long ldc) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  for (int j = 0; j < NR; ++j) {
    typename V::Real *cj = c + j * ldc;
    R acc[MV];
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v) acc[v] = V::loadu(cj + v * L);
    const typename V::Real *ak = a;
    const typename V::Real *bk = b + j;
    for (long k = 0; k < kc; ++k) {
      R bj = V::bcast(bk);
#pragma GCC unroll 16
      for (int v = 0; v < MV; ++v) acc[v] = V::add(acc[v], V::mul(V::load(ak + v * L), bj));
      ak += MV * L;
      bk += NR;
    }
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v) V::storeu(cj + v * L, acc[v]);
  }
}

// Complex tile: elements are (re, im) pairs of lanes, L/2 per register.
// Packed A per k: MV registers of (ar, ai) pairs, then MV registers of
// (-ai, ar); packed B per k: NR pairs (br, bi). For each element
//   acc += (ar*br, ai*br) + (-ai*bi, ar*bi)
// which is c + (ar*br - ai*bi, ai*br + ar*bi), the textbook product added
// part by part.
template <class V, int MV, int NR, typename T>
void tile_complex(long kc, const typename V::Real *a, const typename V::Real *b, T *c_elems,
                  long ldc) {
  using R = typename V::R;
  constexpr int L = V::lanes;
  typename V::Real *c = reinterpret_cast<typename V::Real *>(c_elems);
  const long ldr = 2 * ldc;
  R acc[NR][MV];
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) acc[j][v] = V::loadu(c + j * ldr + v * L);
  for (long k = 0; k < kc; ++k) {
    R a1[MV], a2[MV];
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) {
      a1[v] = V::load(a + v * L);
      a2[v] = V::load(a + (MV + v) * L);
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
    a += 2 * MV * L;
    b += 2 * NR;
  }
#pragma GCC unroll 16
  for (int j = 0; j < NR; ++j)
#pragma GCC unroll 8
    for (int v = 0; v < MV; ++v) V::storeu(c + j * ldr + v * L, acc[j][v]);
}

}  // namespace kaf_gemm
