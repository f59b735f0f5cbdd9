// Packing of the A and B blocks into the layouts the kernels read (see
// gemm.h), written once and instantiated by each vector unit's file, so the
// copies use that unit's registers. Every function is a member of a class
// template on the unit's own (unnamed-namespace) tag type, which keeps each
// file's instantiations private to it.
#pragma once

#include <limits>

#include "matmul/gemm.h"

namespace kaf_gemm {

template <class Unit, typename T> struct packing {
  using Real = typename element<T>::Real;
  static constexpr bool complex = element<T>::complex;
  static constexpr long E = complex ? 4 : 1;  // Real values per row slot of packed A

  // A quiet NaN: padded lanes must not raise invalid (0 x Inf) or overflow,
  // and a quiet NaN raises nothing in a product or a sum.
  static T pad_value() {
    constexpr Real q = std::numeric_limits<Real>::quiet_NaN();
    if constexpr (complex)
      return T{q, q};
    else
      return q;
  }

  static T conjugate(T v) {
    if constexpr (complex) v.im = -v.im;
    return v;
  }

  // x*y rounded, kept apart from any sum that follows: GCC 12 recognises
  // the complex product below and emits vfmaddsub for it even under
  // -ffp-contract=off, unless each product is an opaque value.
  static Real product(Real x, Real y) {
    Real p = x * y;
    __asm__("" : "+x"(p));
    return p;
  }

  // The textbook product, each part rounded on its own.
  static T times(T x, T y) {
    if constexpr (complex)
      return T{product(x.re, y.re) - product(x.im, y.im),
               product(x.re, y.im) + product(x.im, y.re)};
    else
      return product(x, y);
  }

  // Writes n elements (conjugated when Conj) into column k of a packed A
  // micro-panel of mr rows starting at row i, each element followed, for the
  // complex kinds, by its rotated copy (-im, re) mr elements further on.
  template <bool Conj> static void put_a_column(Real *col, int mr, int i, const T *src, int n) {
    if constexpr (complex) {
      const Real *s = reinterpret_cast<const Real *>(src);
      Real *d1 = col + 2 * i, *d2 = col + 2 * mr + 2 * i;
      for (int r = 0; r < n; ++r) {
        const Real re = s[2 * r], im = Conj ? -s[2 * r + 1] : s[2 * r + 1];
        d1[2 * r] = re;
        d1[2 * r + 1] = im;
        d2[2 * r] = -im;
        d2[2 * r + 1] = re;
      }
    } else {
      for (int r = 0; r < n; ++r) col[i + r] = src[r];
    }
  }

  // Each column (row) of a block is a short run in a different page, which
  // the hardware prefetchers pick up late: the packers ask a few ahead.
  static constexpr long ahead = 6;
  static void prefetch_run(const T *run, long count) {
    const char *p = reinterpret_cast<const char *>(run);
    for (long off = 0; off < long(sizeof(T)) * count; off += 64) __builtin_prefetch(p + off, 0, 2);
  }

  // Packs rows [i0, i0+mc) by columns [p0, p0+kc) of op(A) into micro-panels
  // of mr rows, padding the last panel. Trans 0: A as stored, read down its
  // columns; otherwise rows of op(A) are columns of A, read along them.
  template <int Trans>
  static void pack_a(const T *x, long ld, long i0, long mc, long p0, long kc, int mr, Real *dst) {
    const long panel_size = mr * kc * E;
    const T pad[1] = {pad_value()};
    if constexpr (Trans == 0) {
      for (long k = 0; k < kc; ++k) {
        const T *col = x + i0 + (p0 + k) * ld;
        if (k + ahead < kc) prefetch_run(col + ahead * ld, mc);
        for (long ir = 0; ir < mc; ir += mr) {
          const int rows = static_cast<int>(mc - ir < mr ? mc - ir : mr);
          Real *d = dst + (ir / mr) * panel_size + k * mr * E;
          put_a_column<false>(d, mr, 0, col + ir, rows);
          for (int i = rows; i < mr; ++i) put_a_column<false>(d, mr, i, pad, 1);
        }
      }
    } else {
      for (long ir = 0; ir < mc; ir += mr) {
        const int rows = static_cast<int>(mc - ir < mr ? mc - ir : mr);
        Real *panel = dst + (ir / mr) * panel_size;
        for (int i = 0; i < rows; ++i) {
          const T *row = x + p0 + (i0 + ir + i) * ld;
          if (ir + i + ahead < mc) prefetch_run(row + ahead * ld, kc);
          for (long k = 0; k < kc; ++k)
            put_a_column<Trans == 2>(panel + k * mr * E, mr, i, row + k, 1);
        }
        for (long k = 0; k < kc; ++k)
          for (int i = rows; i < mr; ++i) put_a_column<false>(panel + k * mr * E, mr, i, pad, 1);
      }
    }
  }

  // One element of the packed B block.
  template <int Trans, bool Scale> static T b_value(T v, T alpha) {
    if constexpr (Trans == 2) v = conjugate(v);
    if constexpr (Scale) v = times(alpha, v);
    return v;
  }

  // Packs alpha * op(B) (op(B) itself when Scale is false) for rows
  // [p0, p0+kc), columns [j0, j0+nc) into micro-panels of nr columns (per
  // k, nr elements), padding the last one.
  // NR is the kernel set's nr (the argument nr is the same number), known
  // here at compile time so that the per-k rows of nr elements unroll.
  template <int Trans, bool Scale, int NR>
  static void pack_b(const T *x, long ld, T alpha, long p0, long kc, long j0, long nc, int,
                     T *dst) {
    constexpr int nr = NR;
    const T pad = pad_value();
    for (long jr = 0; jr < nc; jr += nr) {
      T *panel = dst + jr * kc;
      const int cols = static_cast<int>(nc - jr < nr ? nc - jr : nr);
      if constexpr (Trans == 0) {
        if (cols == nr) {
          const T *col = x + p0 + (j0 + jr) * ld;
          for (long k = 0; k < kc; ++k)
#pragma GCC unroll 8
            for (int j = 0; j < nr; ++j)
              panel[k * nr + j] = b_value<Trans, Scale>(col[k + j * ld], alpha);
        } else {
          for (int j = 0; j < cols; ++j) {
            const T *col = x + p0 + (j0 + jr + j) * ld;
            for (long k = 0; k < kc; ++k) panel[k * nr + j] = b_value<Trans, Scale>(col[k], alpha);
          }
        }
      } else {
        for (long k = 0; k < kc; ++k) {
          const T *row = x + (j0 + jr) + (p0 + k) * ld;
          for (int j = 0; j < cols; ++j) panel[k * nr + j] = b_value<Trans, Scale>(row[j], alpha);
        }
      }
      for (long k = 0; k < kc; ++k)
        for (int j = cols; j < nr; ++j) panel[k * nr + j] = pad;
    }
  }
};

}  // namespace kaf_gemm
