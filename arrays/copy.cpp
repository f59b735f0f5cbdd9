// The strided copy behind RESHAPE, SPREAD, TRANSPOSE, CSHIFT, EOSHIFT and
// PACK's VECTOR tail: an index space of up to 16 dimensions, each with a
// source and a destination byte stride. Dimensions are put in destination
// order and merged where both sides are contiguous, so that the common cases
// become block copies, word-sized strided loops or cache-sized tiles.
#include <emmintrin.h>

#include <algorithm>

#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

constexpr int max_copy_dims = 16;

// Moves n elements of ES bytes (0: es bytes, known only at run time).
template <int ES>
void run_strided(char *d, int64_t ds, const char *s, int64_t ss, int64_t n, int64_t es) {
  const size_t bytes = ES ? ES : static_cast<size_t>(es);
  for (int64_t i = 0; i < n; ++i) {
    std::memcpy(d, s, ES ? ES : bytes);
    d += ds;
    s += ss;
  }
}

// The same with the destination contiguous (stride ES, known to the compiler),
// and a source stride of 0 turned into a fill of one value.
template <int ES>
void run_to_contiguous(char *d, int64_t, const char *s, int64_t ss, int64_t n, int64_t) {
  if (ss == 0) {
    unsigned char v[ES];
    std::memcpy(v, s, ES);
    for (int64_t i = 0; i < n; ++i) std::memcpy(d + i * ES, v, ES);
    return;
  }
  for (int64_t i = 0; i < n; ++i, s += ss) std::memcpy(d + i * ES, s, ES);
}

using run_fn = void (*)(char *, int64_t, const char *, int64_t, int64_t, int64_t);

run_fn choose_run_to_contiguous(int64_t es) {
  switch (es) {
    case 1:
      return run_to_contiguous<1>;
    case 2:
      return run_to_contiguous<2>;
    case 4:
      return run_to_contiguous<4>;
    case 8:
      return run_to_contiguous<8>;
    case 16:
      return run_to_contiguous<16>;
    default:
      return run_strided<0>;
  }
}

run_fn choose_run(int64_t es) {
  switch (es) {
    case 1:
      return run_strided<1>;
    case 2:
      return run_strided<2>;
    case 4:
      return run_strided<4>;
    case 8:
      return run_strided<8>;
    case 16:
      return run_strided<16>;
    default:
      return run_strided<0>;
  }
}

// Calls f(dst, src) at every index tuple of the m dimensions d[0..m-1].
template <typename F>
void for_each_tuple(char *dst, const char *src, int m, const copy_dim *d, F &&f) {
  int64_t cnt[max_copy_dims] = {};
  for (;;) {
    f(dst, src);
    int k = 0;
    for (; k < m; ++k) {
      dst += d[k].ds;
      src += d[k].ss;
      if (++cnt[k] < d[k].n) break;
      dst -= d[k].ds * d[k].n;
      src -= d[k].ss * d[k].n;
      cnt[k] = 0;
    }
    if (k == m) return;
  }
}

// One tile edge: 32 elements of up to 8 bytes keep a tile's source lines and
// destination lines (2 x 32 x 64 bytes at most per side) inside L1.
int64_t tile_edge(int64_t es) { return es <= 8 ? 32 : es <= 16 ? 16 : 8; }

// One tile of 8-byte elements: dst(i, j) = src(i, j), dst contiguous along i
// and src along j. Pairs of source rows are read 16 bytes at a time and
// transposed in registers (two 64-bit lanes each), so every load and store
// moves two elements.
void transpose_tile8(char *dst, const char *src, int64_t ni, int64_t nj, int64_t ass, int64_t bds) {
  int64_t i = 0;
  for (; i + 2 <= ni; i += 2) {
    const char *s0 = src + i * ass, *s1 = s0 + ass;
    char *d = dst + i * 8;
    int64_t j = 0;
    for (; j + 2 <= nj; j += 2) {
      const __m128i r0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s0 + j * 8));
      const __m128i r1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s1 + j * 8));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d + j * bds), _mm_unpacklo_epi64(r0, r1));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d + (j + 1) * bds), _mm_unpackhi_epi64(r0, r1));
    }
    for (; j < nj; ++j) {
      std::memcpy(d + j * bds, s0 + j * 8, 8);
      std::memcpy(d + j * bds + 8, s1 + j * 8, 8);
    }
  }
  for (; i < ni; ++i)
    for (int64_t j = 0; j < nj; ++j) std::memcpy(dst + i * 8 + j * bds, src + i * ass + j * 8, 8);
}

// Copies the a x b block where the destination is contiguous along a (stride
// es) and the source along b: tiles so that both sides reuse their lines.
// Strides live in locals: the stores go through char pointers, which the
// compiler must otherwise assume to overwrite them.
template <int ES>
void copy_tiled(char *dst, const char *src, const copy_dim &a, const copy_dim &b, int64_t es) {
  const int64_t t = tile_edge(es);
  const size_t bytes = ES ? ES : static_cast<size_t>(es);
  const int64_t an = a.n, bn = b.n, ass = a.ss, ads = a.ds, bss = b.ss, bds = b.ds;
  for (int64_t i0 = 0; i0 < an; i0 += t) {
    const int64_t i1 = std::min(an, i0 + t);
    for (int64_t j0 = 0; j0 < bn; j0 += t) {
      const int64_t j1 = std::min(bn, j0 + t);
      if constexpr (ES == 8) {
        if (bss == 8) {  // source ascending along b: the register transpose
          transpose_tile8(dst + j0 * bds + i0 * ads, src + j0 * bss + i0 * ass, i1 - i0, j1 - j0,
                          ass, bds);
          continue;
        }
      }
      for (int64_t j = j0; j < j1; ++j) {
        char *d = dst + j * bds + i0 * ads;
        const char *s = src + j * bss + i0 * ass;
        for (int64_t i = i0; i < i1; ++i) {
          std::memcpy(d, s, ES ? ES : bytes);
          d += ads;
          s += ass;
        }
      }
    }
  }
}

using tile_fn = void (*)(char *, const char *, const copy_dim &, const copy_dim &, int64_t);

tile_fn choose_tile(int64_t es) {
  switch (es) {
    case 1:
      return copy_tiled<1>;
    case 2:
      return copy_tiled<2>;
    case 4:
      return copy_tiled<4>;
    case 8:
      return copy_tiled<8>;
    case 16:
      return copy_tiled<16>;
    default:
      return copy_tiled<0>;
  }
}

int64_t magnitude(int64_t v) { return v < 0 ? -v : v; }

}  // namespace

void copy_strided(char *dst, const char *src, int64_t es, int nd, copy_dim *dims) {
  if (nd > max_copy_dims) __KAFf90_crash("impossible dimension count %d in an array copy", nd);
  copy_dim d[max_copy_dims];
  int m = 0;
  for (int k = 0; k < nd; ++k) {
    if (dims[k].n <= 0) return;
    if (dims[k].n != 1) d[m++] = dims[k];
  }
  if (es <= 0) return;
  // Destination order: the smallest destination stride innermost. The result
  // blocks are contiguous, so this puts the writes in address order.
  for (int k = 1; k < m; ++k) {  // insertion sort: stable, allocates nothing
    const copy_dim x = d[k];
    int i = k;
    for (; i > 0 && magnitude(d[i - 1].ds) > magnitude(x.ds); --i) d[i] = d[i - 1];
    d[i] = x;
  }
  int w = 0;
  for (int k = 0; k < m; ++k) {
    if (w > 0 && d[k].ds == d[w - 1].ds * d[w - 1].n && d[k].ss == d[w - 1].ss * d[w - 1].n) {
      d[w - 1].n *= d[k].n;
    } else {
      d[w++] = d[k];
    }
  }
  m = w;
  if (m == 0) {
    copy_element(dst, src, es);
    return;
  }
  const copy_dim inner = d[0];
  if (inner.ds == es && inner.ss == es) {
    const size_t run = static_cast<size_t>(inner.n * es);
    for_each_tuple(dst, src, m - 1, d + 1,
                   [run](char *dp, const char *sp) { std::memcpy(dp, sp, run); });
    return;
  }
  // Reads far apart along the writes: tile with the dimension whose reads
  // are closest together, so that both sides stay within cache lines.
  if (inner.ds == es && magnitude(inner.ss) > 64) {
    int j = 0;
    for (int k = 1; k < m; ++k)
      if (d[k].ss != 0 && magnitude(d[k].ss) < magnitude(inner.ss) &&
          (j == 0 || magnitude(d[k].ss) < magnitude(d[j].ss)))
        j = k;
    if (j != 0) {
      const copy_dim other = d[j];
      copy_dim rest[max_copy_dims];
      int r = 0;
      for (int k = 1; k < m; ++k)
        if (k != j) rest[r++] = d[k];
      const tile_fn tile = choose_tile(es);
      for_each_tuple(dst, src, r, rest,
                     [&](char *dp, const char *sp) { tile(dp, sp, inner, other, es); });
      return;
    }
  }
  const run_fn run = inner.ds == es ? choose_run_to_contiguous(es) : choose_run(es);
  for_each_tuple(dst, src, m - 1, d + 1,
                 [&](char *dp, const char *sp) { run(dp, inner.ds, sp, inner.ss, inner.n, es); });
}

}  // namespace kaf::arrays
