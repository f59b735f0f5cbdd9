// The GEMM worker shared by the four members: argument checks, quick
// returns, the beta pass over C, the choice of work buffers, and the blocked
// computation (pack a block of alpha*op(B), pack panels of op(A), run the
// register-tiled kernel over every tile, partial tiles through a local copy).
// Each member file instantiates it for its element type.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kafrts/engine.h"
#include "kafrts/runtime.h"
#include "matmul/gemm.h"

namespace kaf_gemm {

// What differs between the members besides the element type.
struct member {
  const char *type_name;  // "DOUBLE PRECISION" in "... MATMUL: Impossible failure %d"
  const char *procedure;  // name in the hidden-length message
};

// Message numbers of the catalogue used here.
constexpr int msg_out_of_memory_in_intrinsic = 162;

// Scalar arithmetic on elements, each operation rounded on its own.
inline bool is_zero(float x) { return x == 0; }
inline bool is_zero(double x) { return x == 0; }
inline bool is_zero(kaf_complex x) { return x.re == 0 && x.im == 0; }
inline bool is_zero(kaf_dcomplex x) { return x.re == 0 && x.im == 0; }
inline bool is_one(float x) { return x == 1; }
inline bool is_one(double x) { return x == 1; }
inline bool is_one(kaf_complex x) { return x.re == 1 && x.im == 0; }
inline bool is_one(kaf_dcomplex x) { return x.re == 1 && x.im == 0; }
// A product kept apart from the sum that follows (no fusing, whatever the
// vectoriser recognises; see gemm_pack.h).
template <typename R> static inline R product(R x, R y) {
  R p = x * y;
  __asm__("" : "+x"(p));
  return p;
}
static inline float times(float x, float y) { return product(x, y); }
static inline double times(double x, double y) { return product(x, y); }
template <typename C> static inline C times(C x, C y) {
  return C{product(x.re, y.re) - product(x.im, y.im), product(x.re, y.im) + product(x.im, y.re)};
}

// 0 for "N", 1 for "T", 2 for "C" (either case), -1 otherwise.
inline int trans_code(char t) {
  switch (t) {
  case 'N': case 'n': return 0;
  case 'T': case 't': return 1;
  case 'C': case 'c': return 2;
  default: return -1;
  }
}

// Process-wide work buffers of one member, taken by one call at a time;
// a call that finds them taken (another thread) allocates its own.
// Sizes: room for the largest packed A block of any path (768 KiB, double
// precision AVX-512), and for a B block of 1 MiB: K x N up to 256 x 512 in
// double precision. Larger problems spend far longer computing than
// allocating. Untouched pages cost nothing.
template <typename T> struct static_buffers {
  static constexpr std::size_t a_bytes = 1024 * 1024, b_bytes = 1024 * 1024;
  using Real = typename element<T>::Real;
  alignas(64) static inline Real a[a_bytes / sizeof(Real)];
  alignas(64) static inline Real b[b_bytes / sizeof(Real)];
  static inline std::atomic<bool> busy{false};
};

// Work buffers of one call: the packed A block and the packed B block.
template <typename T> struct work {
  using Real = typename element<T>::Real;
  Real *a = nullptr, *b = nullptr;
  void *a_block = nullptr, *b_block = nullptr;  // when allocated
  std::size_t a_bytes = 0, b_bytes = 0;
  bool shared = false;
};

// Takes the shared buffers when both blocks fit and nobody holds them, else
// allocates (with room to align to 64 bytes).
template <typename T> void take_work(work<T> &w, std::size_t a_bytes, std::size_t b_bytes) {
  using S = static_buffers<T>;
  if (a_bytes <= S::a_bytes && b_bytes <= S::b_bytes &&
      !S::busy.exchange(true, std::memory_order_acquire)) {
    w.a = S::a;
    w.b = S::b;
    w.shared = true;
    return;
  }
  w.a_bytes = a_bytes + 64;
  w.b_bytes = b_bytes + 64;
  w.a_block = __KAFf90_oAlloc(w.a_bytes);
  w.b_block = __KAFf90_oAlloc(w.b_bytes);
  if (!w.a_block || !w.b_block) __KAFf90_rtcrash(msg_out_of_memory_in_intrinsic, "MATMUL");
  auto align = [](void *p) {
    return reinterpret_cast<typename work<T>::Real *>(
        (reinterpret_cast<std::uintptr_t>(p) + 63) & ~std::uintptr_t(63));
  };
  w.a = align(w.a_block);
  w.b = align(w.b_block);
}

template <typename T> void give_back_work(work<T> &w) {
  if (w.shared) {
    static_buffers<T>::busy.store(false, std::memory_order_release);
    return;
  }
  __KAFf90_oDeAlloc(w.a_block, w.a_bytes);
  __KAFf90_oDeAlloc(w.b_block, w.b_bytes);
}

// A matrix operand as stored, and how the product uses it.
template <typename T> struct operand {
  const T *x;
  long ld;
  int trans;  // 0 as stored, 1 transposed, 2 conjugate transposed
};

// One block of C (rows [i0, i0+mc), columns [j0, j0+nc)) from the packed
// blocks. A full tile runs the full kernel in place; a tile short in N
// only, the narrow kernel in place; a tile short in M, the kernel of just
// enough vector rows, in place when the rows fill whole vectors or the unit
// masks the last one, otherwise (and for the corner tile short in both) on
// a local copy of the tile so that the padded rows and columns never reach
// C.
template <typename T>
void run_block(const kernel_set<T> &ks, long kc, long mc, long nc,
               const typename element<T>::Real *ap, const T *bp, T *c, long ldc, bool from_zero) {
  using Real = typename element<T>::Real;
  constexpr long E = element<T>::complex ? 4 : 1;
  constexpr int lane_per_row = element<T>::complex ? 2 : 1;
  const int mr = ks.mr, nr = ks.nr, per_vec = ks.rows_per_vec;
  alignas(64) T edge[max_tile_elements];
  for (long jr = 0; jr < nc; jr += nr) {
    const int cols = static_cast<int>(nc - jr < nr ? nc - jr : nr);
    const Real *bpanel = reinterpret_cast<const Real *>(bp + jr * kc);
    for (long ir = 0; ir < mc; ir += mr) {
      const int rows = static_cast<int>(mc - ir < mr ? mc - ir : mr);
      const Real *apanel = ap + ir * kc * E;
      T *ct = c + ir + jr * ldc;
      // The next tile's part of C is on its way while this one computes.
      if (ir + mr < mc && !from_zero)
        for (int j = 0; j < cols; ++j) {
          const char *next_c = reinterpret_cast<const char *>(ct + mr + j * ldc);
          for (long off = 0; off < long(sizeof(T)) * mr; off += 64)
            __builtin_prefetch(next_c + off, 1);
        }
      if (rows == mr) {
        (cols == nr ? ks.full : ks.narrow[cols])(kc, apanel, bpanel, ct, ldc, from_zero, 0);
        continue;
      }
      const int vecs = (rows + per_vec - 1) / per_vec;
      if (cols == nr && rows == vecs * per_vec) {
        ks.short_rows[vecs](kc, apanel, bpanel, ct, ldc, from_zero, 0);
        continue;
      }
      if (cols == nr && ks.masked_rows[vecs]) {
        const int tail = (rows - (vecs - 1) * per_vec) * lane_per_row;
        ks.masked_rows[vecs](kc, apanel, bpanel, ct, ldc, from_zero, tail);
        continue;
      }
      std::memset(static_cast<void *>(edge), 0, sizeof(T) * mr * nr);
      for (int j = 0; j < cols; ++j)
        std::memcpy(static_cast<void *>(edge + j * mr), ct + j * ldc, sizeof(T) * rows);
      ks.short_rows[vecs](kc, apanel, bpanel, edge, mr, from_zero, 0);
      for (int j = 0; j < cols; ++j)
        std::memcpy(static_cast<void *>(ct + j * ldc), edge + j * mr, sizeof(T) * rows);
    }
  }
}

// C := alpha*op(A)*op(B) + C over the blocked loops (C already scaled by beta).
template <typename T>
void compute(const kernel_set<T> &ks, const operand<T> &A, const operand<T> &B, T alpha, long m,
             long n, long k, T *c, long ldc, bool clear_c) {
  using Real = typename element<T>::Real;
  constexpr long E = element<T>::complex ? 4 : 1;
  const long kc_max = k < ks.kc ? k : ks.kc;
  const long mc_max = m < ks.mc ? m : ks.mc;
  const long nc_max = n < ks.nc ? n : ks.nc;
  const long mc_round = (mc_max + ks.mr - 1) / ks.mr * ks.mr;
  const long nc_round = (nc_max + ks.nr - 1) / ks.nr * ks.nr;
  work<T> w;
  take_work(w, sizeof(Real) * E * mc_round * kc_max, sizeof(T) * nc_round * kc_max);
  const bool scale = !is_one(alpha);
  T *bbuf = reinterpret_cast<T *>(w.b);
  auto size = [](long total, long at, long step) { return total - at < step ? total - at : step; };
  for (long j0 = 0; j0 < n; j0 += ks.nc) {
    const long nc = size(n, j0, ks.nc);
    for (long p0 = 0; p0 < k; p0 += ks.kc) {
      const long kc = size(k, p0, ks.kc);
      ks.pack_b[2 * B.trans + (scale ? 1 : 0)](B.x, B.ld, alpha, p0, kc, j0, nc, ks.nr, bbuf);
      for (long i0 = 0; i0 < m; i0 += ks.mc) {
        const long mc = size(m, i0, ks.mc);
        ks.pack_a[A.trans](A.x, A.ld, i0, mc, p0, kc, ks.mr, w.a);
        run_block(ks, kc, mc, nc, w.a, bbuf, c + i0 + j0 * ldc, ldc, clear_c && p0 == 0);
      }
    }
  }
  give_back_work(w);
}

// The whole entry: checks, quick returns, beta, computation.
template <typename T>
void gemm(const member &who, const char *transa, const char *transb, const std::int32_t *m_,
          const std::int32_t *n_, const std::int32_t *k_, const T *alpha_, const T *a,
          const std::int32_t *lda_, const T *b, const std::int32_t *ldb_, const T *beta_, T *c,
          const std::int32_t *ldc_, kaf_charlen transa_len, kaf_charlen transb_len) {
  if (transa_len < 1)
    __KAFf90_arg_chrlen_shorter(who.procedure, "TRANSA", static_cast<std::int64_t>(transa_len), 1);
  if (transb_len < 1)
    __KAFf90_arg_chrlen_shorter(who.procedure, "TRANSB", static_cast<std::int64_t>(transb_len), 1);
  const int ta = trans_code(*transa);
  const int tb = trans_code(*transb);
  const long m = *m_, n = *n_, k = *k_;
  const long lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  int failure = 0;
  if (ta < 0)
    failure = 1;
  else if (tb < 0)
    failure = 2;
  else if (m < 0)
    failure = 3;
  else if (n < 0)
    failure = 4;
  else if (k < 0)
    failure = 5;
  else if (lda < (ta == 0 ? m : k) || lda < 1)
    failure = 8;
  else if (ldb < (tb == 0 ? k : n) || ldb < 1)
    failure = 10;
  else if (ldc < m || ldc < 1)
    failure = 13;
  if (failure) __KAFf90_crash("%s MATMUL: Impossible failure %d", who.type_name, failure);

  if (m == 0 || n == 0) return;
  const T alpha = *alpha_, beta = *beta_;
  const bool alpha_zero = is_zero(alpha);
  if (alpha_zero && is_one(beta)) return;

  // C := beta*C first; zero when beta is 0, so NaNs in C do not survive
  // (with products to add, the first k block starts from zero instead).
  const bool clear_c = is_zero(beta) && !alpha_zero && k > 0;
  if (is_zero(beta)) {
    if (!clear_c)
      for (long j = 0; j < n; ++j) std::memset(static_cast<void *>(c + j * ldc), 0, sizeof(T) * m);
  } else if (!is_one(beta)) {
    for (long j = 0; j < n; ++j)
      for (long i = 0; i < m; ++i) c[i + j * ldc] = times(beta, c[i + j * ldc]);
  }
  if (alpha_zero || k == 0) return;

  // The real kinds have no conjugate: "C" is "T".
  const int ca = element<T>::complex ? ta : (ta ? 1 : 0);
  const int cb = element<T>::complex ? tb : (tb ? 1 : 0);
  compute(kernels_for<T>(active_path()), operand<T>{a, lda, ca}, operand<T>{b, ldb, cb}, alpha, m,
          n, k, c, ldc, clear_c);
}

}  // namespace kaf_gemm
