// CSHIFT(ARRAY, SHIFT, DIM) and EOSHIFT(ARRAY, SHIFT, BOUNDARY, DIM) for every
// element form. Along DIM each line of the result is at most two runs of
// ARRAY's line (CSHIFT) or one run and a stretch of BOUNDARY (EOSHIFT); with a
// scalar SHIFT every line has the same runs and each becomes one strided copy
// over the whole array, otherwise the lines are visited one by one.
#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

// The piece of every line that one strided copy moves: line positions
// [dst_from, dst_from + n) of the result take positions [src_from, ...) of
// the source, whose stride along DIM is src_step (0 for a boundary element).
struct piece {
  int64_t n, dst_from, src_from;
};

// Splits a line of length n under shift s into at most two pieces from the
// array; for EOSHIFT the rest is boundary (returned in *fill).
int split_cshift(int64_t n, int64_t s, piece *p) {
  const int64_t r = ((s % n) + n) % n;
  int k = 0;
  if (n - r > 0) p[k++] = {n - r, 0, r};
  if (r > 0) p[k++] = {r, n - r, 0};
  return k;
}

int split_eoshift(int64_t n, int64_t s, piece *p, piece *fill) {
  const int64_t m = s >= 0 ? (s < n ? s : n) : (s <= -n ? n : -s);  // -s only when it fits
  if (s >= 0) {
    *fill = {m, n - m, 0};
    if (n - m > 0) {
      p[0] = {n - m, 0, m};
      return 1;
    }
    return 0;
  }
  *fill = {m, 0, 0};
  if (n - m > 0) {
    p[0] = {n - m, m, 0};
    return 1;
  }
  return 0;
}

// One operand that supplies a value for every line (SHIFT or BOUNDARY): a
// scalar, or an array of rank - 1 whose dimensions match ARRAY's without DIM.
struct per_line {
  bool present = false;
  bool scalar = true;
  view v{};
};

per_line read_per_line(const char *file, int32_t line, const int64_t *desc, int32_t desc_rank,
                       const view &av, int at, elform form, int64_t elsize, const char *keyword,
                       const char *intrinsic) {
  per_line o;
  if (!desc) return o;
  o.present = true;
  o.scalar = desc_rank == 0;
  if (!o.scalar && desc_rank != av.rank - 1)
    __KAFf90_crash("%s: %s of rank %d for ARRAY of rank %d", intrinsic, keyword, desc_rank,
                   av.rank);
  o.v = decode(desc, o.scalar ? 0 : av.rank - 1, form, elsize);
  if (!o.scalar) {
    int64_t others[max_rank];
    for (int k = 0, j = 0; k < av.rank; ++k)
      if (k != at) others[j++] = av.extent[k];
    check_conformance(file, line, av.rank - 1, o.v.extent, others, keyword, intrinsic, "ARRAY");
  }
  return o;
}

// A default BOUNDARY element: zero bytes, or blanks of the character width.
char *make_default_boundary(const char *file, int32_t line, elform form, int64_t es,
                            const char *intrinsic) {
  char *e = take_block(file, line, es, intrinsic);
  const int64_t w = char_width(form);
  if (form == elform::ch1 || form == elform::ch2 || form == elform::ch4) {
    for (int64_t i = 0; i + w <= es; i += w) e[i] = ' ';  // little-endian code unit 32
  }
  return e;
}

void shift_worker(const char *file, int32_t line, void *result, elform form, int64_t numeric_elsize,
                  int32_t rank, const int64_t *array, int32_t shift_rank, const int64_t *shift,
                  int32_t boundary_rank, const int64_t *boundary, int64_t dim, bool eo) {
  const char *name = eo ? "EOSHIFT" : "CSHIFT";
  check_dim(file, line, dim, rank, name);
  const view av = decode(array, rank, form, numeric_elsize);
  const int64_t es = av.elsize;
  const int at = static_cast<int>(dim - 1);

  const per_line sh =
      read_per_line(file, line, shift, shift_rank, av, at, elform::numeric, 8, "SHIFT", name);
  per_line bd;
  char *default_boundary = nullptr;
  if (eo) {
    bd = read_per_line(file, line, boundary, boundary_rank, av, at, form, numeric_elsize,
                       "BOUNDARY", name);
    if (bd.present && has_length_word(form) && bd.v.length != av.length)
      __KAFf90_rterr(file, line, 163, "ARRAY", name, av.length, "BOUNDARY", bd.v.length);
  }

  const int64_t count = element_count(av.extent, rank);
  char *block = take_block(file, line, count < 0 ? -1 : byte_count(count, es), name,
                           /*zeroed=*/false);  // every byte is written
  if (count > 0 && es > 0) {
    if (eo && !bd.present) {
      default_boundary = make_default_boundary(file, line, form, es, name);
      bd.present = true;
      bd.scalar = true;
      bd.v = view{};
      bd.v.base = default_boundary;
    }
    int64_t dstride[max_rank];
    for (int k = 0; k < rank; ++k) dstride[k] = k == 0 ? es : dstride[k - 1] * av.extent[k - 1];
    const int64_t n = av.extent[at];

    // The dimensions other than DIM, with the strides of every operand.
    int64_t others[max_rank] = {}, a_st[max_rank] = {}, r_st[max_rank] = {}, s_st[max_rank] = {},
            b_st[max_rank] = {};
    for (int k = 0, j = 0; k < rank; ++k) {
      if (k == at) continue;
      others[j] = av.extent[k];
      a_st[j] = av.stride[k];
      r_st[j] = dstride[k];
      s_st[j] = sh.scalar ? 0 : sh.v.stride[j];
      b_st[j] = !eo || bd.scalar ? 0 : bd.v.stride[j];
      ++j;
    }
    const int no = rank - 1;

    // Copies one piece of nlines lines at once (every line under a scalar
    // SHIFT, one line otherwise), from ARRAY or, with src_step 0, from
    // BOUNDARY.
    const auto move = [&](char *dst, const char *src, const int64_t *src_other_strides,
                          int64_t src_step, const piece &p, int64_t nlines) {
      copy_dim dims[max_rank];
      int nd = 0;
      dims[nd++] = {p.n, src_step, dstride[at]};
      if (nlines > 1)
        for (int j = 0; j < no; ++j) dims[nd++] = {others[j], src_other_strides[j], r_st[j]};
      copy_strided(dst + p.dst_from * dstride[at], src + p.src_from * src_step, es, nd, dims);
    };
    const auto do_line = [&](char *dst, const char *src, const char *shift_at, const char *bound_at,
                             int64_t nlines) {
      int64_t s;
      std::memcpy(&s, shift_at, 8);
      piece p[2];
      if (!eo) {
        const int k = split_cshift(n, s, p);
        for (int i = 0; i < k; ++i) move(dst, src, a_st, av.stride[at], p[i], nlines);
      } else {
        piece fill;
        const int k = split_eoshift(n, s, p, &fill);
        for (int i = 0; i < k; ++i) move(dst, src, a_st, av.stride[at], p[i], nlines);
        if (fill.n > 0) move(dst, bound_at, b_st, 0, fill, nlines);
      }
    };

    // Along the first dimension each line is a short contiguous stretch: its
    // pieces are copied line by line while the line is in cache. Along the
    // others, a scalar SHIFT makes each piece one large strided copy.
    if (no == 0 || (sh.scalar && at != 0)) {
      do_line(block, av.base, sh.v.base, bd.v.base, count / n);
    } else {
      int64_t strides[4][max_rank] = {};
      for (int j = 0; j < no; ++j) {
        strides[0][j] = r_st[j];
        strides[1][j] = a_st[j];
        strides[2][j] = s_st[j];
        strides[3][j] = b_st[j];
      }
      char *ptrs[4] = {block, av.base, sh.v.base, eo ? bd.v.base : nullptr};
      odometer<4> od;
      od.start(no, others, strides, ptrs);
      do {
        char *p0 = od.ptr[0];
        const char *p1 = od.ptr[1], *p2 = od.ptr[2], *p3 = od.ptr[3];
        for (int64_t i = 0; i < others[0]; ++i) {
          do_line(p0, p1, p2, p3, 1);
          p0 += r_st[0];
          p1 += a_st[0];
          p2 += s_st[0];
          p3 += b_st[0];
        }
      } while (od.next_line());
    }
    if (default_boundary) __KAFf90_oDeAlloc(default_boundary, static_cast<size_t>(es));
  }
  store_result(result, form, block, av.length, rank, av.extent);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::shift_worker;

extern "C" {

void __KAFf90_cshift_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                          int32_t rank, const int64_t *array, int32_t shift_rank,
                          const int64_t *shift, int64_t dim) {
  shift_worker(file, line, result, elform::numeric, elsize, rank, array, shift_rank, shift, 0,
               nullptr, dim, false);
}
void __KAFf90_cshift(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                     int32_t shift_rank, const int64_t *shift, int64_t dim) {
  __KAFf90_cshift_line(nullptr, 0, result, elsize, rank, array, shift_rank, shift, dim);
}
void __KAFf90_chcshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *array, int32_t shift_rank,
                            const int64_t *shift, int64_t dim) {
  shift_worker(file, line, result, elform::ch1, 0, rank, array, shift_rank, shift, 0, nullptr, dim,
               false);
}
void __KAFf90_chcshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                       int32_t shift_rank, const int64_t *shift, int64_t dim) {
  __KAFf90_chcshift_line(nullptr, 0, result, rank, array, shift_rank, shift, dim);
}
void __KAFf90_ch2cshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t shift_rank,
                             const int64_t *shift, int64_t dim) {
  shift_worker(file, line, result, elform::ch2, 0, rank, array, shift_rank, shift, 0, nullptr, dim,
               false);
}
void __KAFf90_ch2cshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t shift_rank, const int64_t *shift, int64_t dim) {
  __KAFf90_ch2cshift_line(nullptr, 0, result, rank, array, shift_rank, shift, dim);
}
void __KAFf90_ch4cshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t shift_rank,
                             const int64_t *shift, int64_t dim) {
  shift_worker(file, line, result, elform::ch4, 0, rank, array, shift_rank, shift, 0, nullptr, dim,
               false);
}
void __KAFf90_ch4cshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t shift_rank, const int64_t *shift, int64_t dim) {
  __KAFf90_ch4cshift_line(nullptr, 0, result, rank, array, shift_rank, shift, dim);
}
void __KAFf90_dtcshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *array, int32_t shift_rank,
                            const int64_t *shift, int64_t dim) {
  shift_worker(file, line, result, elform::dt, 0, rank, array, shift_rank, shift, 0, nullptr, dim,
               false);
}
void __KAFf90_dtcshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                       int32_t shift_rank, const int64_t *shift, int64_t dim) {
  __KAFf90_dtcshift_line(nullptr, 0, result, rank, array, shift_rank, shift, dim);
}
void __KAFf90_eoshift_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                           int32_t rank, const int64_t *array, int32_t shift_rank,
                           const int64_t *shift, int32_t boundary_rank, const int64_t *boundary,
                           int64_t dim) {
  shift_worker(file, line, result, elform::numeric, elsize, rank, array, shift_rank, shift,
               boundary_rank, boundary, dim, true);
}
void __KAFf90_eoshift(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                      int32_t shift_rank, const int64_t *shift, int32_t boundary_rank,
                      const int64_t *boundary, int64_t dim) {
  __KAFf90_eoshift_line(nullptr, 0, result, elsize, rank, array, shift_rank, shift, boundary_rank,
                        boundary, dim);
}
void __KAFf90_cheoshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t shift_rank,
                             const int64_t *shift, int32_t boundary_rank, const int64_t *boundary,
                             int64_t dim) {
  shift_worker(file, line, result, elform::ch1, 0, rank, array, shift_rank, shift, boundary_rank,
               boundary, dim, true);
}
void __KAFf90_cheoshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t shift_rank, const int64_t *shift, int32_t boundary_rank,
                        const int64_t *boundary, int64_t dim) {
  __KAFf90_cheoshift_line(nullptr, 0, result, rank, array, shift_rank, shift, boundary_rank,
                          boundary, dim);
}
void __KAFf90_ch2eoshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t shift_rank,
                              const int64_t *shift, int32_t boundary_rank, const int64_t *boundary,
                              int64_t dim) {
  shift_worker(file, line, result, elform::ch2, 0, rank, array, shift_rank, shift, boundary_rank,
               boundary, dim, true);
}
void __KAFf90_ch2eoshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t shift_rank, const int64_t *shift, int32_t boundary_rank,
                         const int64_t *boundary, int64_t dim) {
  __KAFf90_ch2eoshift_line(nullptr, 0, result, rank, array, shift_rank, shift, boundary_rank,
                           boundary, dim);
}
void __KAFf90_ch4eoshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t shift_rank,
                              const int64_t *shift, int32_t boundary_rank, const int64_t *boundary,
                              int64_t dim) {
  shift_worker(file, line, result, elform::ch4, 0, rank, array, shift_rank, shift, boundary_rank,
               boundary, dim, true);
}
void __KAFf90_ch4eoshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t shift_rank, const int64_t *shift, int32_t boundary_rank,
                         const int64_t *boundary, int64_t dim) {
  __KAFf90_ch4eoshift_line(nullptr, 0, result, rank, array, shift_rank, shift, boundary_rank,
                           boundary, dim);
}
void __KAFf90_dteoshift_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t shift_rank,
                             const int64_t *shift, int32_t boundary_rank, const int64_t *boundary,
                             int64_t dim) {
  shift_worker(file, line, result, elform::dt, 0, rank, array, shift_rank, shift, boundary_rank,
               boundary, dim, true);
}
void __KAFf90_dteoshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t shift_rank, const int64_t *shift, int32_t boundary_rank,
                        const int64_t *boundary, int64_t dim) {
  __KAFf90_dteoshift_line(nullptr, 0, result, rank, array, shift_rank, shift, boundary_rank,
                          boundary, dim);
}

}  // extern "C"
