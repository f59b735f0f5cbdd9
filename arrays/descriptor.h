// The array descriptor and the array result record as compiled code lays
// them out, a decoded view of a descriptor, the odometer that walks arrays in
// array element order, and the shared workers of the array intrinsics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kafrts.h"

namespace kaf::arrays {

constexpr int max_rank = 7;

// Word positions in a descriptor. Numeric form: base, offset, then per
// dimension extent, byte stride, lower bound. Character and derived-type
// form: base, element length, offset, then the same triples.
constexpr int num_dims_word = 2;
constexpr int chr_dims_word = 3;
constexpr int dim_words = 3;

static_assert(sizeof(kaf_array_result) == 8 * 8, "base and seven extents");
static_assert(sizeof(kaf_char_array_result) == 9 * 8, "base, length, seven extents");
static_assert(offsetof(kaf_char_array_result, length) == 8);
static_assert(offsetof(kaf_char_array_result, extent) == 16);

// How an entry knows its element size: the numeric members are told by the
// caller, the character members multiply the length word by the character
// width, the derived-type members read bytes from the length word.
enum class elform { numeric, ch1, ch2, ch4, dt };

// A descriptor decoded once: the address of the first element, the element
// size in bytes and, per dimension, extent and byte stride. Lower bounds and
// the offset do not matter to a walk.
struct view {
  char *base;
  int64_t length;  // the element length word (characters or bytes); 0 numeric
  int64_t elsize;  // bytes per element
  int rank;
  int64_t extent[max_rank];
  int64_t stride[max_rank];
};

// Decodes desc of the given rank; numeric forms take elsize from the caller.
view decode(const int64_t *desc, int rank, elform form, int64_t numeric_elsize);

// Number of elements; -1 when the product does not fit in 63 bits.
int64_t element_count(const int64_t *extent, int rank);

// Bytes of count elements of elsize; -1 when it does not fit.
int64_t byte_count(int64_t count, int64_t elsize);

// Takes a block of bytes through the companion allocator (zero-filled from
// __KAFf90_zoAlloc, or from __KAFf90_oAlloc where the caller writes every
// byte), or reports message 162 for the named intrinsic (with file and line).
char *take_block(const char *file, int32_t line, int64_t bytes, const char *intrinsic,
                 bool zeroed = true);

// Message 165: the first dimension where a's and b's extents differ.
void check_conformance(const char *file, int32_t line, int rank, const int64_t *a_extent,
                       const int64_t *b_extent, const char *a_name, const char *intrinsic,
                       const char *b_name);

// Message 6 for DIM outside 1..hi.
void check_dim(const char *file, int32_t line, int64_t dim, int hi, const char *intrinsic);

// Writes the result record: base, the length word of the character and
// derived-type forms, extents, 1 beyond the rank.
void store_result(void *result, elform form, char *base, int64_t length, int rank,
                  const int64_t *extent);

// The walk in array element order. Each of N operands has a byte pointer and a
// byte stride per dimension; the carry increment of dimension k is
// stride k - extent (k-1) * stride (k-1), added when dimension k-1 wraps.
// The caller handles whole lines of the first dimension and then asks for the
// next line, so the inner loop is a plain strided loop.
template <int N>
struct odometer {
  int rank = 0;
  int64_t extent[max_rank] = {};
  int64_t count[max_rank] = {};
  int64_t line_step[N] = {};  // extent 1 * stride 1
  int64_t carry[N][max_rank] = {};
  char *ptr[N] = {};

  // strides[op][k]; extents must be positive.
  void start(int r, const int64_t *ext, const int64_t (*strides)[max_rank], char *const *p) {
    rank = r;
    for (int k = 0; k < r; ++k) {
      extent[k] = ext[k];
      count[k] = 0;
    }
    for (int op = 0; op < N; ++op) {
      ptr[op] = p[op];
      line_step[op] = r > 0 ? ext[0] * strides[op][0] : 0;
      for (int k = 1; k < r; ++k) carry[op][k] = strides[op][k] - ext[k - 1] * strides[op][k - 1];
    }
  }

  // Moves the pointers to the start of the next line; false after the last.
  bool next_line() {
    for (int op = 0; op < N; ++op) ptr[op] += line_step[op];
    for (int k = 1; k < rank; ++k) {
      for (int op = 0; op < N; ++op) ptr[op] += carry[op][k];
      if (++count[k] < extent[k]) return true;
      count[k] = 0;
    }
    return false;
  }
};

// Calls f(element address) for each element of v in array element order
// while f returns true; returns false when f stopped the walk.
template <typename F>
bool walk_elements(const view &v, F &&f) {
  for (int k = 0; k < v.rank; ++k)
    if (v.extent[k] <= 0) return true;
  if (v.rank == 0) return f(static_cast<const char *>(v.base));
  odometer<1> od;
  od.start(v.rank, v.extent, &v.stride, &v.base);
  const int64_t n0 = v.extent[0], s0 = v.stride[0];
  do {
    const char *p = od.ptr[0];
    for (int64_t i = 0; i < n0; ++i, p += s0)
      if (!f(p)) return false;
  } while (od.next_line());
  return true;
}

// One dimension of a strided copy: extent, source and destination strides.
struct copy_dim {
  int64_t n;
  int64_t ss;
  int64_t ds;
};

// Copies every element of an nd-dimensional index space from src to dst, each
// side with its own byte strides; a source stride of 0 repeats an element.
// The visiting order is free (the destination never overlaps the source), so
// dimensions are reordered, merged, block-copied and tiled as suits the
// strides. dims is modified.
void copy_strided(char *dst, const char *src, int64_t elsize, int nd, copy_dim *dims);

// Copies one element of elsize bytes; 1, 2, 4, 8 and 16 bytes move as words.
inline void copy_element(char *dst, const char *src, int64_t elsize) {
  switch (elsize) {
    case 1:
      *dst = *src;
      break;
    case 2:
      std::memcpy(dst, src, 2);
      break;
    case 4:
      std::memcpy(dst, src, 4);
      break;
    case 8:
      std::memcpy(dst, src, 8);
      break;
    case 16:
      std::memcpy(dst, src, 16);
      break;
    default:
      std::memcpy(dst, src, static_cast<size_t>(elsize));
      break;
  }
}

// Size of a character of the form (1 for numeric and derived-type forms).
inline int64_t char_width(elform form) {
  switch (form) {
    case elform::ch2:
      return 2;
    case elform::ch4:
      return 4;
    default:
      return 1;
  }
}

inline bool has_length_word(elform form) { return form != elform::numeric; }

}  // namespace kaf::arrays
