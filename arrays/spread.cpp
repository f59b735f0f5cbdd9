// SPREAD(SOURCE, DIM, NCOPIES): the general entries (SOURCE by descriptor,
// result in a fresh block), the entries for a SOURCE known by its address (a
// contiguous array of given extents, or a scalar) with the result in a fresh
// block or in storage the caller supplies, and the assignment form into a
// destination descriptor. They share one worker and one kernel that writes a
// contiguous result; other destinations go through the strided copy.
#include <emmintrin.h>

#include <algorithm>

#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

// Bytes moved by one step of a replication: small enough that the bytes read
// (a copy written just before) stay in L1 while the writes stream out.
constexpr int64_t chunk_bytes = int64_t{16} << 10;

// A block of inner elements whose source is strided is gathered with the
// general copy once per outer index; below this size that set-up costs more
// than it saves, and the whole result goes through one strided copy instead.
constexpr int64_t small_gather_bytes = 512;

// Contiguous blocks up to this size, copied to runs of copies up to
// small_span_bytes, are moved in words by one loop: a call of memcpy per
// block would cost more than the bytes it moves.
constexpr int64_t small_block_bytes = 64;
constexpr int64_t small_span_bytes = 4096;

// dst holds one copy of a block of `block` bytes in its last block; fills the
// copies before it, so that dst holds `copies` copies. Small blocks double
// what is written until a chunk is reached; each step then reads the chunk
// written just before it (still in L1). Large blocks go chunk by chunk, every
// copy of a chunk read from the last copy. Highest addresses first.
void replicate_back(char *dst, int64_t block, int64_t copies) {
  if (copies <= 1 || block <= 0) return;
  const int64_t total = block * copies;
  char *const end = dst + total;
  if (block >= chunk_bytes) {
    const char *seed = end - block;
    for (int64_t hi = block; hi > 0;) {
      const int64_t len = std::min(chunk_bytes, hi);
      hi -= len;
      for (int64_t j = copies - 2; j >= 0; --j)
        std::memcpy(dst + j * block + hi, seed + hi, static_cast<size_t>(len));
    }
    return;
  }
  const int64_t cap = chunk_bytes / block * block;  // whole copies, at least one
  int64_t filled = block;
  while (filled < total) {
    const int64_t n = std::min({filled, cap, total - filled});
    // [end - filled, end - filled + n) starts on a copy, holds n / block
    // whole copies and lies after the n bytes it fills.
    std::memcpy(end - filled - n, end - filled, static_cast<size_t>(n));
    filled += n;
  }
}

// Writes `copies` copies of the ES-byte element at s to d, d + ES, ...;
// highest addresses first, 16 bytes a store where the run allows.
template <int ES>
void fill_run(char *d, const char *s, int64_t copies) {
  const int64_t n = copies * ES;
  if constexpr (ES == 1) {
    if (copies < 16) {
      for (int64_t i = 0; i < copies; ++i) d[i] = *s;
      return;
    }
    std::memset(d, static_cast<unsigned char>(*s), static_cast<size_t>(copies));
  } else {
    if (n >= 16) {
      __m128i v;
      if constexpr (ES == 16) {
        v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
      } else {
        unsigned char pattern[16];
        for (int i = 0; i < 16; i += ES) std::memcpy(pattern + i, s, ES);
        v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pattern));
      }
      // Every store starts a multiple of 16 bytes (so of ES) below the end:
      // on an element boundary, which the pattern also starts on.
      char *p = d + n;
      while (p - d >= 64) {
        p -= 64;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 48), v);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 32), v);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 16), v);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
      }
      while (p - d >= 16) {
        p -= 16;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
      }
      for (char *q = d; q < p; q += ES) std::memcpy(q, s, ES);
      return;
    }
    for (int64_t i = 0; i < copies; ++i) std::memcpy(d + i * ES, s, ES);
  }
}

// Calls f(address) for every element of dimensions from..rank-1 of v (the
// lower dimensions held at their first index) in reverse array element order;
// once with v.base when from == rank. Extents must be positive.
template <typename F>
void walk_back(const view &v, int from, F &&f) {
  const int n = v.rank - from;
  if (n == 0) {
    f(v.base);
    return;
  }
  // Reverse order is array element order over the negated strides, starting
  // at the last element.
  char *last = v.base;
  int64_t ext[max_rank] = {}, stride[1][max_rank] = {};
  for (int k = 0; k < n; ++k) {
    ext[k] = v.extent[from + k];
    stride[0][k] = -v.stride[from + k];
    last += (ext[k] - 1) * v.stride[from + k];
  }
  odometer<1> od;
  od.start(n, ext, stride, &last);
  const int64_t n0 = ext[0], s0 = stride[0][0];
  do {
    char *p = od.ptr[0];
    for (int64_t i = 0; i < n0; ++i, p += s0) f(p);
  } while (od.next_line());
}

// Any other element size: one copy at the end, then replicated.
void fill_run_any(char *d, const char *s, int64_t es, int64_t copies) {
  std::memcpy(d + (copies - 1) * es, s, static_cast<size_t>(es));
  replicate_back(d, es, copies);
}

// SPREAD along the first dimension: the runs of copies of SOURCE's elements,
// the last element's run first. d is one past the end of the result.
template <int ES>
void fill_each(char *d, const view &src, int64_t span, int64_t copies) {
  if constexpr (ES == 0) {
    walk_back(src, 0, [&](const char *p) { fill_run_any(d -= span, p, src.elsize, copies); });
  } else {
    walk_back(src, 0, [&](const char *p) { fill_run<ES>(d -= span, p, copies); });
  }
}

// Copies each contiguous block of SOURCE's dimensions below `at` (block bytes,
// from H to 2H) `copies` times in a row, as two stores of H bytes that
// overlap in the middle (no call per copy, and no loop the compiler would turn
// back into one); d is one past the end of the result.
template <int H>
void copy_small_blocks(char *d, const view &src, int at, int64_t block, int64_t copies) {
  const int64_t span = block * copies;
  walk_back(src, at, [&](const char *p) {
    unsigned char head[H], tail[H];
    std::memcpy(head, p, H);
    std::memcpy(tail, p + block - H, H);
    d -= span;
    for (char *q = d; q != d + span; q += block) {
      std::memcpy(q, head, H);
      std::memcpy(q + block - H, tail, H);
    }
  });
}

// True when dimensions 0..n-1 of v are contiguous in array element order
// (strides es, es * extent 1, ...; dimensions of extent 1 do not matter).
bool is_contiguous(const view &v, int n) {
  int64_t want = v.elsize;
  for (int k = 0; k < n; ++k) {
    if (v.extent[k] != 1 && v.stride[k] != want) return false;
    want *= v.extent[k];
  }
  return true;
}

// The index space of SPREAD for the strided copy: SOURCE's dimensions with a
// dimension of `copies` and source stride 0 inserted at `at`; destination
// strides from dstride (rank + 1 of them), or contiguous when null.
int spread_dims(const view &src, int at, int64_t copies, const int64_t *dstride, copy_dim *dims) {
  const int r = src.rank + 1;
  int64_t ds = src.elsize;
  for (int k = 0, s = 0; k < r; ++k) {
    const bool added = k == at;
    const int64_t n = added ? copies : src.extent[s];
    dims[k] = {n, added ? 0 : src.stride[s], dstride ? dstride[k] : ds};
    ds *= n;
    if (!added) ++s;
  }
  return r;
}

// Writes SPREAD's result, in array element order, to the contiguous block
// dst, which must not overlap SOURCE; copies >= 1, every extent positive.
//
// The result is written from its end back to its start. A fresh result block
// is zero-filled front to back by the allocator just before, so its last part
// is still in the core's caches; writing that part first saves a read of
// those lines from memory (measured on an 8 MB result: 10 to 14 per cent
// less time than front to back).
void spread_contiguous(char *dst, const view &src, int at, int64_t copies) {
  const int64_t es = src.elsize;
  if (copies == 1) {  // a copy of SOURCE in array element order
    copy_dim dims[max_rank];
    copy_strided(dst, src.base, es, spread_dims(src, at, 1, nullptr, dims), dims);
    return;
  }
  int64_t inner = 1;
  for (int k = 0; k < at; ++k) inner *= src.extent[k];
  const int64_t block = inner * es, span = block * copies;
  int64_t outer = 1;
  for (int k = at; k < src.rank; ++k) outer *= src.extent[k];
  char *d = dst + outer * span;  // one past the copies of the current index

  // Blocks of 2, 4, 8 or 16 bytes are broadcast as one element: SOURCE's
  // elements (DIM = 1), or contiguous blocks of its lower dimensions.
  const bool inner_contiguous = is_contiguous(src, at);
  if (inner_contiguous && (block == 1 || block == 2 || block == 4 || block == 8 || block == 16)) {
    view blocks{};
    blocks.base = src.base;
    blocks.elsize = block;
    blocks.rank = src.rank - at;
    for (int k = 0; k < blocks.rank; ++k) {
      blocks.extent[k] = src.extent[at + k];
      blocks.stride[k] = src.stride[at + k];
    }
    switch (block) {
      case 1:
        return fill_each<1>(d, blocks, span, copies);
      case 2:
        return fill_each<2>(d, blocks, span, copies);
      case 4:
        return fill_each<4>(d, blocks, span, copies);
      case 8:
        return fill_each<8>(d, blocks, span, copies);
      default:
        return fill_each<16>(d, blocks, span, copies);
    }
  }
  // Other small blocks with few copies: word stores, no call per copy.
  if (inner_contiguous && block <= small_block_bytes && span <= small_span_bytes) {
    if (block <= 2) return copy_small_blocks<1>(d, src, at, block, copies);
    if (block <= 4) return copy_small_blocks<2>(d, src, at, block, copies);
    if (block <= 8) return copy_small_blocks<4>(d, src, at, block, copies);
    if (block <= 16) return copy_small_blocks<8>(d, src, at, block, copies);
    if (block <= 32) return copy_small_blocks<16>(d, src, at, block, copies);
    return copy_small_blocks<32>(d, src, at, block, copies);
  }
  if (at == 0) return fill_each<0>(d, src, span, copies);  // larger elements

  if (!inner_contiguous && block < small_gather_bytes) {
    copy_dim dims[max_rank];
    copy_strided(dst, src.base, es, spread_dims(src, at, copies, nullptr, dims), dims);
    return;
  }
  copy_dim inner_dims[max_rank];
  for (int k = 0; k < at; ++k) inner_dims[k] = {src.extent[k], src.stride[k], 0};
  walk_back(src, at, [&](const char *p) {
    d -= span;
    char *seed = d + span - block;  // the last copy, written from SOURCE
    if (inner_contiguous) {
      std::memcpy(seed, p, static_cast<size_t>(block));
    } else {
      copy_dim dims[max_rank];
      int64_t ds = es;
      for (int k = 0; k < at; ++k) {
        dims[k] = inner_dims[k];
        dims[k].ds = ds;
        ds *= dims[k].n;
      }
      copy_strided(seed, p, es, at, dims);
    }
    replicate_back(d, block, copies);
  });
}

// The result's extents; returns the element count (-1 when it overflows).
int64_t spread_extents(const view &src, int at, int64_t copies, int64_t *extent) {
  for (int k = 0, s = 0; k <= src.rank; ++k) extent[k] = k == at ? copies : src.extent[s++];
  return element_count(extent, src.rank + 1);
}

void check_spread_rank(int32_t rank) {
  if (rank < 0) __KAFf90_crash("array descriptor of rank %d", rank);
  if (rank >= max_rank)
    __KAFf90_crash("SPREAD: SOURCE of rank %d has no room for another dimension", rank);
}

// The general worker: the result in a fresh block from __KAFf90_zoAlloc.
// DIM has been checked.
void spread_new(const char *file, int32_t line, void *result, elform form, const view &src,
                int64_t dim, int64_t ncopies) {
  const int64_t copies = ncopies < 0 ? 0 : ncopies;
  const int at = static_cast<int>(dim - 1);
  int64_t extent[max_rank];
  const int64_t count = spread_extents(src, at, copies, extent);
  char *block = take_block(file, line, count < 0 ? -1 : byte_count(count, src.elsize), "SPREAD");
  if (count > 0 && src.elsize > 0) spread_contiguous(block, src, at, copies);
  store_result(result, form, block, src.length, src.rank + 1, extent);
}

// Lowest and one past the highest byte of v's elements; empty when v has none.
struct byte_range {
  const char *lo = nullptr, *hi = nullptr;
};
byte_range range_of(const char *base, int rank, const int64_t *extent, const int64_t *stride,
                    int64_t es) {
  byte_range r;
  if (element_count(extent, rank) == 0 || es <= 0) return r;
  r.lo = r.hi = base;
  for (int k = 0; k < rank; ++k) {
    const int64_t reach = (extent[k] - 1) * stride[k];
    (reach < 0 ? r.lo : r.hi) += reach;
  }
  r.hi += es;
  return r;
}

// The worker of the forms that write into existing storage: dst with byte
// strides dstride (rank + 1 of them), or contiguous when dstride is null.
// The caller has checked DIM and the destination's shape. A destination that
// shares bytes with SOURCE gets the result through a temporary, so the
// assignment sees SOURCE as it was before.
void spread_into(const char *file, int32_t line, char *dst, const int64_t *dstride, const view &src,
                 int64_t dim, int64_t ncopies) {
  const int64_t copies = ncopies < 0 ? 0 : ncopies;
  const int at = static_cast<int>(dim - 1);
  const int r = src.rank + 1;
  int64_t extent[max_rank];
  const int64_t count = spread_extents(src, at, copies, extent);
  const int64_t bytes = count < 0 ? -1 : byte_count(count, src.elsize);
  if (bytes < 0) __KAFf90_crash("SPREAD: a result of more than 2**63 bytes");
  if (bytes == 0) return;

  int64_t contiguous[max_rank];
  for (int k = 0; k < r; ++k)
    contiguous[k] = k == 0 ? src.elsize : contiguous[k - 1] * extent[k - 1];
  bool dst_contiguous = true;
  if (dstride)
    for (int k = 0; k < r; ++k)
      if (extent[k] != 1 && dstride[k] != contiguous[k]) dst_contiguous = false;
  const byte_range a = range_of(src.base, src.rank, src.extent, src.stride, src.elsize);
  const byte_range b = range_of(dst, r, extent, dstride ? dstride : contiguous, src.elsize);
  if (a.lo < b.hi && b.lo < a.hi) {
    char *tmp = take_block(file, line, bytes, "SPREAD", false);
    spread_contiguous(tmp, src, at, copies);
    if (dst_contiguous) {
      std::memcpy(dst, tmp, static_cast<size_t>(bytes));
    } else {
      copy_dim dims[max_rank];
      for (int k = 0; k < r; ++k) dims[k] = {extent[k], contiguous[k], dstride[k]};
      copy_strided(dst, tmp, src.elsize, r, dims);
    }
    __KAFf90_oDeAlloc(tmp, static_cast<size_t>(bytes));
    return;
  }
  if (dst_contiguous) {
    spread_contiguous(dst, src, at, copies);
    return;
  }
  copy_dim dims[max_rank];
  copy_strided(dst, src.base, src.elsize, spread_dims(src, at, copies, dstride, dims), dims);
}

// A SOURCE known by its address: contiguous, in array element order, with
// the given extents (negative ones count as 0).
view plain_view(const void *source, int64_t elsize, int32_t rank, const int64_t *extents) {
  view v{};
  v.base = static_cast<char *>(const_cast<void *>(source));
  v.elsize = elsize < 0 ? 0 : elsize;
  v.rank = rank;
  int64_t stride = v.elsize;
  for (int k = 0; k < rank; ++k) {
    v.extent[k] = extents[k] < 0 ? 0 : extents[k];
    v.stride[k] = stride;
    stride *= v.extent[k];
  }
  return v;
}

void spread_worker(const char *file, int32_t line, void *result, elform form,
                   int64_t numeric_elsize, int32_t rank, const int64_t *source, int64_t dim,
                   int64_t ncopies) {
  check_dim(file, line, dim, rank + 1, "SPREAD");
  check_spread_rank(rank);
  spread_new(file, line, result, form, decode(source, rank, form, numeric_elsize), dim, ncopies);
}

void spread_plain(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                  int32_t rank, const void *source, const int64_t *extents, int64_t dim,
                  int64_t ncopies) {
  check_dim(file, line, dim, rank + 1, "SPREAD");
  check_spread_rank(rank);
  spread_new(file, line, result, elform::numeric, plain_view(source, elsize, rank, extents), dim,
             ncopies);
}

void spread_plain_into(const char *file, int32_t line, void *dest, int64_t elsize, int32_t rank,
                       const void *source, const int64_t *extents, int64_t dim, int64_t ncopies) {
  check_dim(file, line, dim, rank + 1, "SPREAD");
  check_spread_rank(rank);
  spread_into(file, line, static_cast<char *>(dest), nullptr,
              plain_view(source, elsize, rank, extents), dim, ncopies);
}

void spread_assign(const char *file, int32_t line, const int64_t *dest, int64_t elsize,
                   int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  check_dim(file, line, dim, rank + 1, "SPREAD");
  check_spread_rank(rank);
  const view src = decode(source, rank, elform::numeric, elsize);
  const view dst = decode(dest, rank + 1, elform::numeric, elsize);
  int64_t extent[max_rank];
  spread_extents(src, static_cast<int>(dim - 1), ncopies < 0 ? 0 : ncopies, extent);
  for (int k = 0; k <= rank; ++k)
    if (dst.extent[k] != extent[k])
      __KAFf90_rterr(file, line, 154, static_cast<int>(k + 1), dst.extent[k], extent[k]);
  spread_into(file, line, dst.base, dst.stride, src, dim, ncopies);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::spread_worker;

extern "C" {

void __KAFf90_spread_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                          int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::numeric, elsize, rank, source, dim, ncopies);
}
void __KAFf90_spread(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *source,
                     int64_t dim, int64_t ncopies) {
  __KAFf90_spread_line(nullptr, 0, result, elsize, rank, source, dim, ncopies);
}
void __KAFf90_chspread_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch1, 0, rank, source, dim, ncopies);
}
void __KAFf90_chspread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                       int64_t dim, int64_t ncopies) {
  __KAFf90_chspread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_ch2spread_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch2, 0, rank, source, dim, ncopies);
}
void __KAFf90_ch2spread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                        int64_t dim, int64_t ncopies) {
  __KAFf90_ch2spread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_ch4spread_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch4, 0, rank, source, dim, ncopies);
}
void __KAFf90_ch4spread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                        int64_t dim, int64_t ncopies) {
  __KAFf90_ch4spread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_dtspread_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::dt, 0, rank, source, dim, ncopies);
}
void __KAFf90_dtspread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                       int64_t dim, int64_t ncopies) {
  __KAFf90_dtspread_line(nullptr, 0, result, rank, source, dim, ncopies);
}

void __KAFf90_spread_pa_line(const char *file, int32_t line, kaf_array_result *result,
                             int64_t elsize, int32_t rank, const void *source,
                             const int64_t *extents, int64_t dim, int64_t ncopies) {
  kaf::arrays::spread_plain(file, line, result, elsize, rank, source, extents, dim, ncopies);
}
void __KAFf90_spread_pa(kaf_array_result *result, int64_t elsize, int32_t rank, const void *source,
                        const int64_t *extents, int64_t dim, int64_t ncopies) {
  __KAFf90_spread_pa_line(nullptr, 0, result, elsize, rank, source, extents, dim, ncopies);
}
void __KAFf90_spread_pau_line(const char *file, int32_t line, void *dest, int64_t elsize,
                              int32_t rank, const void *source, const int64_t *extents, int64_t dim,
                              int64_t ncopies) {
  kaf::arrays::spread_plain_into(file, line, dest, elsize, rank, source, extents, dim, ncopies);
}
void __KAFf90_spread_pau(void *dest, int64_t elsize, int32_t rank, const void *source,
                         const int64_t *extents, int64_t dim, int64_t ncopies) {
  __KAFf90_spread_pau_line(nullptr, 0, dest, elsize, rank, source, extents, dim, ncopies);
}
void __KAFf90_spread_ps_line(const char *file, int32_t line, kaf_array_result *result,
                             int64_t elsize, const void *source, int64_t dim, int64_t ncopies) {
  kaf::arrays::spread_plain(file, line, result, elsize, 0, source, nullptr, dim, ncopies);
}
void __KAFf90_spread_ps(kaf_array_result *result, int64_t elsize, const void *source, int64_t dim,
                        int64_t ncopies) {
  __KAFf90_spread_ps_line(nullptr, 0, result, elsize, source, dim, ncopies);
}
void __KAFf90_spread_psu_line(const char *file, int32_t line, void *dest, int64_t elsize,
                              const void *source, int64_t dim, int64_t ncopies) {
  kaf::arrays::spread_plain_into(file, line, dest, elsize, 0, source, nullptr, dim, ncopies);
}
void __KAFf90_spread_psu(void *dest, int64_t elsize, const void *source, int64_t dim,
                         int64_t ncopies) {
  __KAFf90_spread_psu_line(nullptr, 0, dest, elsize, source, dim, ncopies);
}
void __KAFf90_aspread_line(const char *file, int32_t line, const int64_t *dest, int64_t elsize,
                           int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  kaf::arrays::spread_assign(file, line, dest, elsize, rank, source, dim, ncopies);
}
void __KAFf90_aspread(const int64_t *dest, int64_t elsize, int32_t rank, const int64_t *source,
                      int64_t dim, int64_t ncopies) {
  __KAFf90_aspread_line(nullptr, 0, dest, elsize, rank, source, dim, ncopies);
}

}  // extern "C"
