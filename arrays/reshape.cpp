// RESHAPE(SOURCE, SHAPE, PAD, ORDER) for every element form: the checks in
// their fixed order, the ORDER permutation, and the copy, which is a strided
// block copy when SOURCE's sequence lines up with the result's dimensions and
// an element walk with two odometers (PAD cycling after SOURCE) otherwise.
#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

// The result in the order its elements are filled: position j of the walk is
// result dimension perm[j], with its extent and byte stride.
struct order_walker {
  int n = 0;
  int64_t ext[max_rank] = {};
  int64_t step[max_rank] = {};
  int64_t cnt[max_rank] = {};
  char *p = nullptr;

  // The next element in ORDER's order; false when it would step past the
  // outermost permuted dimension.
  bool advance() {
    for (int j = 0; j < n; ++j) {
      p += step[j];
      if (++cnt[j] < ext[j]) return true;
      p -= step[j] * ext[j];
      cnt[j] = 0;
    }
    return false;
  }
};

// Lines up SOURCE's dimensions (in array element order) with the result's (in
// ORDER's order) so that every result dimension is a whole number of source
// dimensions or the other way round; the pairs become the dimensions of one
// strided copy. False when the boundaries do not nest.
bool line_up(const view &src, const order_walker &dst, copy_dim *out, int *count) {
  struct side {
    int64_t n, s;
  };
  side a[max_rank], b[max_rank];
  int na = 0, nb = 0;
  for (int k = 0; k < src.rank; ++k) {
    if (src.extent[k] == 1) continue;
    if (na > 0 && src.stride[k] == a[na - 1].s * a[na - 1].n)
      a[na - 1].n *= src.extent[k];
    else
      a[na++] = {src.extent[k], src.stride[k]};
  }
  for (int j = 0; j < dst.n; ++j) {
    if (dst.ext[j] == 1) continue;
    if (nb > 0 && dst.step[j] == b[nb - 1].s * b[nb - 1].n)
      b[nb - 1].n *= dst.ext[j];
    else
      b[nb++] = {dst.ext[j], dst.step[j]};
  }
  int i = 0, m = 0;
  side x = na > 0 ? a[0] : side{1, 0};
  for (int j = 0; j < nb;) {
    if (i >= na) return false;
    side &y = b[j];
    if (x.n == y.n) {
      out[m++] = {x.n, x.s, y.s};
      ++j;
      if (++i < na) x = a[i];
    } else if (x.n % y.n == 0) {
      out[m++] = {y.n, x.s, y.s};
      x.s *= y.n;
      x.n /= y.n;
      ++j;
    } else if (y.n % x.n == 0) {
      out[m++] = {x.n, x.s, y.s};
      y.s *= x.n;
      y.n /= x.n;
      if (++i < na) x = a[i];
    } else if (j == nb - 1 && x.n > y.n) {
      out[m++] = {y.n, x.s, y.s};  // only a prefix of the last source run is used
      ++j;
    } else {
      return false;
    }
  }
  *count = m;
  return true;
}

[[noreturn]] void nextelt_overflow() { __KAFf90_crash("impossible nextelt overflow in RESHAPE"); }

void reshape_worker(const char *file, int32_t line, void *result, elform form,
                    int64_t numeric_elsize, int32_t source_rank, const int64_t *source,
                    const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                    const int64_t *order) {
  const view src = decode(source, source_rank, form, numeric_elsize);
  const bool has_pad = pad != nullptr && pad_rank > 0;
  view pv{};
  if (has_pad) {
    pv = decode(pad, pad_rank, form, numeric_elsize);
    if (has_length_word(form) && pv.length != src.length)
      __KAFf90_rterr(file, line, 163, "SOURCE", "RESHAPE", src.length, "PAD", pv.length);
  }

  const view shp = decode(shape, 1, elform::numeric, 8);
  const int64_t n64 = shp.extent[0] < 0 ? 0 : shp.extent[0];
  if (n64 > max_rank)
    __KAFf90_crash("RESHAPE: SHAPE argument has %lld elements, more than %d",
                   static_cast<long long>(n64), max_rank);
  const int n = static_cast<int>(n64);
  int64_t extent[max_rank];
  for (int i = 0; i < n; ++i) {
    std::memcpy(&extent[i], shp.base + i * shp.stride[0], 8);
    if (extent[i] < 0) __KAFf90_rterr(file, line, 36, i + 1, extent[i]);
  }
  int64_t rsize = element_count(extent, n);
  const int64_t ssize = element_count(src.extent, src.rank);
  const int64_t psize = has_pad ? element_count(pv.extent, pv.rank) : 0;
  if (psize == 0 && (rsize < 0 || rsize > ssize))
    __KAFf90_rterr(file, line, 169, ssize, rsize < 0 ? INT64_MAX : rsize);

  const int64_t es = src.elsize;
  char *block = take_block(file, line, rsize < 0 ? -1 : byte_count(rsize, es), "RESHAPE");

  int perm[max_rank];
  for (int j = 0; j < n; ++j) perm[j] = j + 1;
  if (order) {
    const view ord = decode(order, 1, elform::numeric, 8);
    if (ord.extent[0] != n) __KAFf90_rterr(file, line, 170, n, ord.extent[0]);
    bool seen[max_rank] = {};
    for (int j = 0; j < n; ++j) {
      int64_t v;
      std::memcpy(&v, ord.base + j * ord.stride[0], 8);
      if (v < 1 || v > n) __KAFf90_rterr(file, line, 171, j + 1, v, n);
      if (seen[v - 1]) __KAFf90_rterr(file, line, 172, static_cast<int>(v));
      seen[v - 1] = true;
      perm[j] = static_cast<int>(v);
    }
  }

  if (rsize > 0 && es > 0) {
    int64_t dstride[max_rank];
    for (int d = 0; d < n; ++d) dstride[d] = d == 0 ? es : dstride[d - 1] * extent[d - 1];
    order_walker dst;
    dst.n = n;
    dst.p = block;
    for (int j = 0; j < n; ++j) {
      dst.ext[j] = extent[perm[j] - 1];
      dst.step[j] = dstride[perm[j] - 1];
    }
    copy_dim dims[2 * max_rank];
    int nd = 0;
    if (rsize <= ssize && line_up(src, dst, dims, &nd)) {
      copy_strided(block, src.base, es, nd, dims);
    } else {
      int64_t remaining = rsize;
      auto put = [&](const char *e) {
        copy_element(dst.p, e, es);
        if (--remaining == 0) return false;
        if (!dst.advance()) nextelt_overflow();
        return true;
      };
      if (walk_elements(src, put)) {
        while (walk_elements(pv, put)) {
        }
      }
    }
  }
  store_result(result, form, block, src.length, n, extent);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::reshape_worker;

extern "C" {

void __KAFf90_reshape_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                           int32_t source_rank, const int64_t *source, const int64_t *shape,
                           int32_t pad_rank, const int64_t *pad, const int64_t *order) {
  reshape_worker(file, line, result, elform::numeric, elsize, source_rank, source, shape, pad_rank,
                 pad, order);
}
void __KAFf90_reshape(kaf_array_result *result, int64_t elsize, int32_t source_rank,
                      const int64_t *source, const int64_t *shape, int32_t pad_rank,
                      const int64_t *pad, const int64_t *order) {
  __KAFf90_reshape_line(nullptr, 0, result, elsize, source_rank, source, shape, pad_rank, pad,
                        order);
}

void __KAFf90_chreshape_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t source_rank, const int64_t *source, const int64_t *shape,
                             int32_t pad_rank, const int64_t *pad, const int64_t *order) {
  reshape_worker(file, line, result, elform::ch1, 0, source_rank, source, shape, pad_rank, pad,
                 order);
}
void __KAFf90_chreshape(kaf_char_array_result *result, int32_t source_rank, const int64_t *source,
                        const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                        const int64_t *order) {
  __KAFf90_chreshape_line(nullptr, 0, result, source_rank, source, shape, pad_rank, pad, order);
}

void __KAFf90_ch2reshape_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t source_rank, const int64_t *source, const int64_t *shape,
                              int32_t pad_rank, const int64_t *pad, const int64_t *order) {
  reshape_worker(file, line, result, elform::ch2, 0, source_rank, source, shape, pad_rank, pad,
                 order);
}
void __KAFf90_ch2reshape(kaf_char_array_result *result, int32_t source_rank, const int64_t *source,
                         const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                         const int64_t *order) {
  __KAFf90_ch2reshape_line(nullptr, 0, result, source_rank, source, shape, pad_rank, pad, order);
}

void __KAFf90_ch4reshape_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t source_rank, const int64_t *source, const int64_t *shape,
                              int32_t pad_rank, const int64_t *pad, const int64_t *order) {
  reshape_worker(file, line, result, elform::ch4, 0, source_rank, source, shape, pad_rank, pad,
                 order);
}
void __KAFf90_ch4reshape(kaf_char_array_result *result, int32_t source_rank, const int64_t *source,
                         const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                         const int64_t *order) {
  __KAFf90_ch4reshape_line(nullptr, 0, result, source_rank, source, shape, pad_rank, pad, order);
}

void __KAFf90_dtreshape_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t source_rank, const int64_t *source, const int64_t *shape,
                             int32_t pad_rank, const int64_t *pad, const int64_t *order) {
  reshape_worker(file, line, result, elform::dt, 0, source_rank, source, shape, pad_rank, pad,
                 order);
}
void __KAFf90_dtreshape(kaf_char_array_result *result, int32_t source_rank, const int64_t *source,
                        const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                        const int64_t *order) {
  __KAFf90_dtreshape_line(nullptr, 0, result, source_rank, source, shape, pad_rank, pad, order);
}

}  // extern "C"
