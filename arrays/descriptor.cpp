// Decoding descriptors, the checks every array intrinsic shares, and the
// inquiry entries built directly on the descriptor: EXTENT, SHAPE, UBOUND,
// the assumed-shape set-up of character dummies and the shape check.
#include "arrays/descriptor.h"

#include <cstdarg>

namespace kaf::arrays {

view decode(const int64_t *desc, int rank, elform form, int64_t numeric_elsize) {
  if (rank < 0 || rank > max_rank) __KAFf90_crash("array descriptor of rank %d", rank);
  view v{};
  v.base = reinterpret_cast<char *>(desc[0]);
  v.rank = rank;
  const int64_t *dims = desc + num_dims_word;
  if (has_length_word(form)) {
    v.length = desc[1] < 0 ? 0 : desc[1];  // a negative length is an empty string
    if (__builtin_mul_overflow(v.length, char_width(form), &v.elsize))
      v.elsize = -1;  // no block can hold one: reported as out of memory
    dims = desc + chr_dims_word;
  } else {
    v.elsize = numeric_elsize;
  }
  for (int k = 0; k < rank; ++k) {
    v.extent[k] = dims[dim_words * k];
    v.stride[k] = dims[dim_words * k + 1];
  }
  return v;
}

int64_t element_count(const int64_t *extent, int rank) {
  int64_t n = 1;
  for (int k = 0; k < rank; ++k) {
    if (extent[k] <= 0) return 0;
  }
  for (int k = 0; k < rank; ++k) {
    if (__builtin_mul_overflow(n, extent[k], &n)) return -1;
  }
  return n;
}

int64_t byte_count(int64_t count, int64_t elsize) {
  int64_t bytes;
  if (count < 0 || elsize < 0 || __builtin_mul_overflow(count, elsize, &bytes)) return -1;
  return bytes;
}

char *take_block(const char *file, int32_t line, int64_t bytes, const char *intrinsic,
                 bool zeroed) {
  void *p = nullptr;
  if (bytes >= 0)
    p = zeroed ? __KAFf90_zoAlloc(static_cast<size_t>(bytes))
               : __KAFf90_oAlloc(static_cast<size_t>(bytes));
  if (!p) __KAFf90_rterr(file, line, 162, intrinsic);
  return static_cast<char *>(p);
}

void check_conformance(const char *file, int32_t line, int rank, const int64_t *a_extent,
                       const int64_t *b_extent, const char *a_name, const char *intrinsic,
                       const char *b_name) {
  for (int k = 0; k < rank; ++k) {
    if (a_extent[k] != b_extent[k])
      __KAFf90_rterr(file, line, 165, static_cast<int>(k + 1), a_name, intrinsic, a_extent[k],
                     b_name, b_extent[k]);
  }
}

void check_dim(const char *file, int32_t line, int64_t dim, int hi, const char *intrinsic) {
  if (dim < 1 || dim > hi) __KAFf90_rterr(file, line, 6, "DIM", dim, 1, hi, intrinsic);
}

void store_result(void *result, elform form, char *base, int64_t length, int rank,
                  const int64_t *extent) {
  int64_t *ext;
  if (has_length_word(form)) {
    auto *r = static_cast<kaf_char_array_result *>(result);
    r->base = base;
    r->length = length;
    ext = r->extent;
  } else {
    auto *r = static_cast<kaf_array_result *>(result);
    r->base = base;
    ext = r->extent;
  }
  for (int k = 0; k < max_rank; ++k) ext[k] = k < rank ? extent[k] : 1;
}

}  // namespace kaf::arrays

using namespace kaf::arrays;

namespace {

// EXTENT and SIZE share the DIM check; these entries have no source location.
int64_t extent_of(int64_t dim, int rank, const int64_t *first_extent) {
  if (dim < 1 || dim > rank) __KAFf90_rtcrash(6, "DIM", dim, 1, rank, "SIZE");
  return first_extent[dim_words * (dim - 1)];
}

// The SHAPE vector is an array temporary (zero-filled, message 134 when it
// cannot be had) of rank 64-bit or 32-bit integers.
void shape_of(kaf_array_result *result, int32_t rank, const int64_t *desc, int dims_word,
              int64_t elsize) {
  if (!desc) __KAFf90_crash("Argument to SHAPE intrinsic is not PRESENT");
  const int n = rank < 0 ? 0 : rank;
  kaf_atmp tmp;
  if (elsize == 8)
    __KAFf90_mkatmp_i4(&tmp, 1, n);
  else
    __KAFf90_mkatmp_i(&tmp, 1, n);
  char *block = static_cast<char *>(tmp.base);
  for (int k = 0; k < n; ++k) {
    const int64_t e = desc[dims_word + dim_words * k];
    if (elsize == 8) {
      std::memcpy(block + 8 * k, &e, 8);
    } else {
      const int32_t e4 = static_cast<int32_t>(e);
      std::memcpy(block + 4 * k, &e4, 4);
    }
  }
  const int64_t extent = n;
  store_result(result, elform::numeric, block, 0, 1, &extent);
}

void check_ubound_dim(int32_t dim, int32_t rank) {
  if (dim < 1) __KAFf90_crash("Out of range: DIM argument to UBOUND has value %d", dim);
  if (dim > rank)
    __KAFf90_crash("Out of range: DIM argument (%d) to UBOUND greater than array rank", dim);
}

// Reads `per` 64-bit words per dimension up to dimension dim; returns the
// words of dimension dim in w.
void read_dim_words(va_list ap, int32_t dim, int per, int64_t *w) {
  for (int32_t k = 1; k <= dim; ++k)
    for (int i = 0; i < per; ++i) w[i] = va_arg(ap, int64_t);
}

}  // namespace

extern "C" {

int64_t __KAFf90_extent_ptr(int32_t rank, const int64_t *desc, int64_t dim) {
  return extent_of(dim, rank, desc + num_dims_word);
}

int64_t __KAFf90_extent_cptr(int32_t rank, const int64_t *desc, int64_t dim) {
  return extent_of(dim, rank, desc + chr_dims_word);
}

int64_t __KAFf90_extent_vector(int64_t dim, kaf_array_result record) {
  if (dim < 1 || dim > max_rank) __KAFf90_rtcrash(6, "DIM", dim, 1, max_rank, "SIZE");
  return record.extent[dim - 1];
}

int64_t __KAFf90_extent_cvector(int64_t dim, kaf_char_array_result record) {
  if (dim < 1 || dim > max_rank) __KAFf90_rtcrash(6, "DIM", dim, 1, max_rank, "SIZE");
  return record.extent[dim - 1];
}

int64_t __KAFf90_extent_info(int64_t dim, int32_t rank, ...) {
  if (dim < 1 || dim > rank) __KAFf90_rtcrash(6, "DIM", dim, 1, rank, "SIZE");
  va_list ap;
  va_start(ap, rank);
  int64_t w[3];
  read_dim_words(ap, static_cast<int32_t>(dim), 3, w);
  va_end(ap);
  return w[0];
}

int64_t __KAFf90_extent_fixed(int64_t dim, int32_t rank, ...) {
  if (dim < 1 || dim > rank) __KAFf90_rtcrash(6, "DIM", dim, 1, rank, "SIZE");
  va_list ap;
  va_start(ap, rank);
  int64_t w[2];
  read_dim_words(ap, static_cast<int32_t>(dim), 2, w);
  va_end(ap);
  return w[1] < w[0] ? 0 : w[1] - w[0] + 1;
}

void __KAFf90_shape_ptr(kaf_array_result *result, int32_t rank, const int64_t *desc) {
  shape_of(result, rank, desc, num_dims_word, 8);
}
void __KAFf90_shape_cptr(kaf_array_result *result, int32_t rank, const int64_t *desc) {
  shape_of(result, rank, desc, chr_dims_word, 8);
}
void __KAFf90_shape_ptr_i4(kaf_array_result *result, int32_t rank, const int64_t *desc) {
  shape_of(result, rank, desc, num_dims_word, 4);
}
void __KAFf90_shape_cptr_i4(kaf_array_result *result, int32_t rank, const int64_t *desc) {
  shape_of(result, rank, desc, chr_dims_word, 4);
}

int32_t __KAFf90_ubound_vector(int32_t rank, const int32_t *ubounds, int32_t dim) {
  check_ubound_dim(dim, rank);
  return ubounds[dim - 1];
}

int64_t __KAFf90_ubound_fixed(int32_t dim, int32_t rank, ...) {
  check_ubound_dim(dim, rank);
  va_list ap;
  va_start(ap, rank);
  int64_t w[2];
  read_dim_words(ap, dim, 2, w);
  va_end(ap);
  return w[1] < w[0] ? 0 : w[1];
}

int64_t __KAFf90_ubound_afixed(int32_t dim, int32_t rank, ...) {
  check_ubound_dim(dim, rank);
  va_list ap;
  va_start(ap, rank);
  int64_t w[2];
  read_dim_words(ap, dim, 2, w);
  va_end(ap);
  return w[1] <= 0 ? 0 : w[0] + w[1] - 1;
}

int64_t __KAFf90_ubound_ainfo(int32_t dim, int32_t rank, ...) {
  check_ubound_dim(dim, rank);
  va_list ap;
  va_start(ap, rank);
  int64_t w[3];
  read_dim_words(ap, dim, 3, w);
  va_end(ap);
  return w[0] <= 0 ? 0 : w[2] + w[0] - 1;
}

void __KAFf90_assume_chshape(int64_t *newdesc, const int64_t *actual, int32_t rank, ...) {
  newdesc[0] = actual[0];
  newdesc[1] = actual[1];
  int64_t offset = 0;
  va_list ap;
  va_start(ap, rank);
  for (int32_t k = 0; k < rank; ++k) {
    const int64_t *from = actual + chr_dims_word + dim_words * k;
    int64_t *to = newdesc + chr_dims_word + dim_words * k;
    const int64_t lower = va_arg(ap, int32_t);
    to[0] = from[0];
    to[1] = from[1];
    to[2] = lower;
    offset -= from[1] * lower;
  }
  va_end(ap);
  newdesc[2] = offset;
}

void __KAFf90_check_shapes(const int64_t *a_extent, const int64_t *b_extent, int32_t rank) {
  for (int32_t k = 0; k < rank; ++k) {
    const int64_t a = a_extent[dim_words * k], b = b_extent[dim_words * k];
    if (a != b) __KAFf90_rtcrash(154, static_cast<int>(k + 1), a, b);
  }
}

}  // extern "C"
