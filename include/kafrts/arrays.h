/* Array intrinsics on descriptors: inquiry (EXTENT, SHAPE, UBOUND), the
 * assumed-shape set-up, the shape checks, RESHAPE, PACK, SPREAD, TRANSPOSE,
 * CSHIFT, EOSHIFT and the duplicate check of vector subscripts.
 *
 * Array descriptor: a flat row of 64-bit words passed as `const int64_t *`:
 *   numeric form:                 base, offset, {extent, byte stride, lower bound} x rank
 *   character / derived-type form: base, element length, offset, {triples} x rank
 * The base is the address of the element whose subscripts equal the lower
 * bounds; the rank is always a separate argument. A rank-0 descriptor (a
 * scalar SHIFT, BOUNDARY or MASK) is just base and offset (or base, length,
 * offset). The element length word of the character forms counts characters
 * (1, 2 or 4 bytes each for ch, ch2, ch4); of the dt forms, bytes.
 *
 * Conventions of the argument lists (what a compiler passes):
 * - `_line` entries take the source file name (may be null) and line first,
 *   for the location prefix of a fatal message; the entry without `_line`
 *   forwards with a null name and line 0.
 * - The numeric members have no element length word in their descriptors:
 *   they take the element size in bytes as the argument right after the
 *   result record.
 * - DIM, NCOPIES, SHAPE, ORDER and SHIFT values are 64-bit integers (the
 *   compiler converts default integers before the call).
 * - An optional array argument that is absent is a null descriptor; the
 *   rank argument before an optional descriptor may also be 0 for "scalar".
 * Results of the transformational intrinsics are written to an array result
 * record: a fresh contiguous block from __KAFf90_zoAlloc (the caller owns it
 * and frees it with __KAFf90_oDeAlloc and its size), the element length for
 * the character and derived-type forms, then seven extents (1 beyond the
 * result's rank). */
#ifndef KAFRTS_ARRAYS_H
#define KAFRTS_ARRAYS_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* Array result record, numeric form. */
typedef struct kaf_array_result {
  void *base;
  int64_t extent[7];
} kaf_array_result;

/* Array result record, character and derived-type form. */
typedef struct kaf_char_array_result {
  void *base;
  int64_t length; /* characters (ch, ch2, ch4) or bytes (dt) per element */
  int64_t extent[7];
} kaf_char_array_result;

/* ---- Inquiry -------------------------------------------------------------
 * DIM outside 1..rank stops with message 6 naming SIZE. */

/* Extent of dimension dim of a numeric-form descriptor. */
KAF_API int64_t __KAFf90_extent_ptr(int32_t rank, const int64_t *desc, int64_t dim);
/* Extent of dimension dim of a character-form descriptor. */
KAF_API int64_t __KAFf90_extent_cptr(int32_t rank, const int64_t *desc, int64_t dim);
/* The dim-th extent of a result record passed by value; dim 1..7. */
KAF_API int64_t __KAFf90_extent_vector(int64_t dim, kaf_array_result record);
KAF_API int64_t __KAFf90_extent_cvector(int64_t dim, kaf_char_array_result record);
/* Extent of dim; then rank int64_t triples (extent, byte stride, lower
 * bound), as in a descriptor, follow as further arguments. */
KAF_API int64_t __KAFf90_extent_info(int64_t dim, int32_t rank, ...);
/* Extent of dim of an explicit-shape array; then rank int64_t pairs (lower
 * bound, upper bound) follow. An upper bound below the lower gives 0. */
KAF_API int64_t __KAFf90_extent_fixed(int64_t dim, int32_t rank, ...);

/* SHAPE: a rank-1 array temporary (__KAFf90_mkatmp_i4) of rank 64-bit
 * elements holding the extents of desc in dimension order, written to result
 * (extent[0] = rank). A null desc (absent argument) is fatal. */
KAF_API void __KAFf90_shape_ptr(kaf_array_result *result, int32_t rank, const int64_t *desc);
KAF_API void __KAFf90_shape_cptr(kaf_array_result *result, int32_t rank, const int64_t *desc);
/* The same with 32-bit elements (__KAFf90_mkatmp_i). */
KAF_API void __KAFf90_shape_ptr_i4(kaf_array_result *result, int32_t rank, const int64_t *desc);
KAF_API void __KAFf90_shape_cptr_i4(kaf_array_result *result, int32_t rank, const int64_t *desc);

/* UBOUND(ARRAY, DIM) from a list of rank 32-bit upper bounds. */
KAF_API int32_t __KAFf90_ubound_vector(int32_t rank, const int32_t *ubounds, int32_t dim);
/* UBOUND of an explicit-shape array; rank int64_t pairs (lower bound, upper
 * bound) follow. A dimension of extent 0 gives 0. */
KAF_API int64_t __KAFf90_ubound_fixed(int32_t dim, int32_t rank, ...);
/* UBOUND of an assumed-shape dummy with declared lower bounds; rank int64_t
 * pairs (declared lower bound, extent of the actual) follow. Extent 0 gives 0. */
KAF_API int64_t __KAFf90_ubound_afixed(int32_t dim, int32_t rank, ...);
/* UBOUND of an assumed-shape dummy from its descriptor triples; rank int64_t
 * triples (extent, byte stride, lower bound) follow. Extent 0 gives 0. */
KAF_API int64_t __KAFf90_ubound_ainfo(int32_t dim, int32_t rank, ...);

/* Builds the character descriptor of an assumed-shape dummy in newdesc from
 * the actual's: base and length copied, extents and strides copied, lower
 * bounds from the rank further int32_t arguments, offset recomputed. */
KAF_API void __KAFf90_assume_chshape(int64_t *newdesc, const int64_t *actual, int32_t rank, ...);
/* Returns only if the extents agree; a and b point at the first extent word
 * of each descriptor (the next is three words on). Message 154 otherwise. */
KAF_API void __KAFf90_check_shapes(const int64_t *a_extent, const int64_t *b_extent, int32_t rank);

/* ---- RESHAPE(SOURCE, SHAPE, PAD, ORDER) ------------------------------------
 * shape and order: rank-1 numeric descriptors of int64_t; order null when
 * absent; pad_rank 0 (or a null pad) when PAD is absent. */
KAF_API void __KAFf90_reshape_line(const char *file, int32_t line, kaf_array_result *result,
                                   int64_t elsize, int32_t source_rank, const int64_t *source,
                                   const int64_t *shape, int32_t pad_rank, const int64_t *pad,
                                   const int64_t *order);
KAF_API void __KAFf90_reshape(kaf_array_result *result, int64_t elsize, int32_t source_rank,
                              const int64_t *source, const int64_t *shape, int32_t pad_rank,
                              const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_chreshape_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t source_rank,
                                     const int64_t *source, const int64_t *shape,
                                     int32_t pad_rank, const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_chreshape(kaf_char_array_result *result, int32_t source_rank,
                                const int64_t *source, const int64_t *shape, int32_t pad_rank,
                                const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_ch2reshape_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t source_rank,
                                      const int64_t *source, const int64_t *shape,
                                      int32_t pad_rank, const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_ch2reshape(kaf_char_array_result *result, int32_t source_rank,
                                 const int64_t *source, const int64_t *shape, int32_t pad_rank,
                                 const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_ch4reshape_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t source_rank,
                                      const int64_t *source, const int64_t *shape,
                                      int32_t pad_rank, const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_ch4reshape(kaf_char_array_result *result, int32_t source_rank,
                                 const int64_t *source, const int64_t *shape, int32_t pad_rank,
                                 const int64_t *pad, const int64_t *order);
/* Derived type: PAD's element length is checked like a character length. */
KAF_API void __KAFf90_dtreshape_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t source_rank,
                                     const int64_t *source, const int64_t *shape,
                                     int32_t pad_rank, const int64_t *pad, const int64_t *order);
KAF_API void __KAFf90_dtreshape(kaf_char_array_result *result, int32_t source_rank,
                                const int64_t *source, const int64_t *shape, int32_t pad_rank,
                                const int64_t *pad, const int64_t *order);

/* ---- PACK(ARRAY, MASK, VECTOR) ---------------------------------------------
 * mask_rank is MASK's rank: ARRAY's rank, or 0 for a scalar MASK (then mask
 * is a rank-0 numeric descriptor). MASK is numeric form; its element width is
 * 4 bytes (no prefix), 1 (l1_), 2 (l2_) or 8 (l4_); nonzero is true. vector
 * is a rank-1 descriptor of ARRAY's form, or null. */
KAF_API void __KAFf90_pack_line(const char *file, int32_t line, kaf_array_result *result,
                                int64_t elsize, int32_t rank, const int64_t *array,
                                int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_pack(kaf_array_result *result, int64_t elsize, int32_t rank,
                           const int64_t *array, int32_t mask_rank, const int64_t *mask,
                           const int64_t *vector);
KAF_API void __KAFf90_chpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                                  int32_t rank, const int64_t *array, int32_t mask_rank,
                                  const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_chpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                             int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_ch2pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                                   int32_t rank, const int64_t *array, int32_t mask_rank,
                                   const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_ch2pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                              int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_ch4pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                                   int32_t rank, const int64_t *array, int32_t mask_rank,
                                   const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_ch4pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                              int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_dtpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                                  int32_t rank, const int64_t *array, int32_t mask_rank,
                                  const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_dtpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                             int32_t mask_rank, const int64_t *mask, const int64_t *vector);
/* 1-byte masks. */
KAF_API void __KAFf90_l1_pack_line(const char *file, int32_t line, kaf_array_result *result,
                                   int64_t elsize, int32_t rank, const int64_t *array,
                                   int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l1_pack(kaf_array_result *result, int64_t elsize, int32_t rank,
                              const int64_t *array, int32_t mask_rank, const int64_t *mask,
                              const int64_t *vector);
KAF_API void __KAFf90_l1_chpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l1_chpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);
KAF_API void __KAFf90_l1_ch2pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l1_ch2pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l1_ch4pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l1_ch4pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l1_dtpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l1_dtpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);
/* 2-byte masks. */
KAF_API void __KAFf90_l2_pack_line(const char *file, int32_t line, kaf_array_result *result,
                                   int64_t elsize, int32_t rank, const int64_t *array,
                                   int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l2_pack(kaf_array_result *result, int64_t elsize, int32_t rank,
                              const int64_t *array, int32_t mask_rank, const int64_t *mask,
                              const int64_t *vector);
KAF_API void __KAFf90_l2_chpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l2_chpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);
KAF_API void __KAFf90_l2_ch2pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l2_ch2pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l2_ch4pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l2_ch4pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l2_dtpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l2_dtpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);
/* 8-byte masks (the l4_ prefix names the LOGICAL kind, not a byte count). */
KAF_API void __KAFf90_l4_pack_line(const char *file, int32_t line, kaf_array_result *result,
                                   int64_t elsize, int32_t rank, const int64_t *array,
                                   int32_t mask_rank, const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l4_pack(kaf_array_result *result, int64_t elsize, int32_t rank,
                              const int64_t *array, int32_t mask_rank, const int64_t *mask,
                              const int64_t *vector);
KAF_API void __KAFf90_l4_chpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l4_chpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);
KAF_API void __KAFf90_l4_ch2pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l4_ch2pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l4_ch4pack_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t mask_rank,
                                      const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l4_ch4pack(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                 const int64_t *vector);
KAF_API void __KAFf90_l4_dtpack_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t mask_rank,
                                     const int64_t *mask, const int64_t *vector);
KAF_API void __KAFf90_l4_dtpack(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t mask_rank, const int64_t *mask,
                                const int64_t *vector);

/* ---- SPREAD(SOURCE, DIM, NCOPIES) ------------------------------------------
 * rank is SOURCE's (0 to 6; 0 is a scalar SOURCE); DIM 1..rank+1; a negative
 * NCOPIES counts as 0. */
KAF_API void __KAFf90_spread_line(const char *file, int32_t line, kaf_array_result *result,
                                  int64_t elsize, int32_t rank, const int64_t *source,
                                  int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_spread(kaf_array_result *result, int64_t elsize, int32_t rank,
                             const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_chspread_line(const char *file, int32_t line,
                                    kaf_char_array_result *result, int32_t rank,
                                    const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_chspread(kaf_char_array_result *result, int32_t rank,
                               const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_ch2spread_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_ch2spread(kaf_char_array_result *result, int32_t rank,
                                const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_ch4spread_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_ch4spread(kaf_char_array_result *result, int32_t rank,
                                const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_dtspread_line(const char *file, int32_t line,
                                    kaf_char_array_result *result, int32_t rank,
                                    const int64_t *source, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_dtspread(kaf_char_array_result *result, int32_t rank,
                               const int64_t *source, int64_t dim, int64_t ncopies);

/* The further SPREAD entries, for the cases where the compiler knows more
 * than a descriptor says. The letters: `p` SOURCE passed as a plain address
 * (no descriptor), `a` an array SOURCE, contiguous in array element order,
 * whose rank extents are given (int64_t, negative counts as 0), `s` a scalar
 * SOURCE (DIM must be 1), `u` the result written to contiguous storage the
 * caller supplies (size: elsize times the product of the result's extents;
 * nothing is allocated or zero-filled) instead of a fresh block. elsize is
 * the element size in bytes for every type (characters: length times the
 * character width), so no length word is kept. Storage the caller supplies
 * may share bytes with SOURCE: the result is as if SOURCE were read first.
 * Each gives the result of __KAFf90_spread on a descriptor of the same SOURCE;
 * DIM out of range is message 6, a fresh block that cannot be had 162. */
/* SPREAD of a contiguous array at source with the given extents. */
KAF_API void __KAFf90_spread_pa_line(const char *file, int32_t line, kaf_array_result *result,
                                     int64_t elsize, int32_t rank, const void *source,
                                     const int64_t *extents, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_spread_pa(kaf_array_result *result, int64_t elsize, int32_t rank,
                                const void *source, const int64_t *extents, int64_t dim,
                                int64_t ncopies);
/* The same, the result written to dest in array element order. */
KAF_API void __KAFf90_spread_pau_line(const char *file, int32_t line, void *dest,
                                      int64_t elsize, int32_t rank, const void *source,
                                      const int64_t *extents, int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_spread_pau(void *dest, int64_t elsize, int32_t rank, const void *source,
                                 const int64_t *extents, int64_t dim, int64_t ncopies);
/* SPREAD of the scalar at source: a vector of max(ncopies, 0) copies. */
KAF_API void __KAFf90_spread_ps_line(const char *file, int32_t line, kaf_array_result *result,
                                     int64_t elsize, const void *source, int64_t dim,
                                     int64_t ncopies);
KAF_API void __KAFf90_spread_ps(kaf_array_result *result, int64_t elsize, const void *source,
                                int64_t dim, int64_t ncopies);
/* The same, the copies written to dest. */
KAF_API void __KAFf90_spread_psu_line(const char *file, int32_t line, void *dest,
                                      int64_t elsize, const void *source, int64_t dim,
                                      int64_t ncopies);
KAF_API void __KAFf90_spread_psu(void *dest, int64_t elsize, const void *source, int64_t dim,
                                 int64_t ncopies);
/* The assignment DEST = SPREAD(SOURCE, DIM, NCOPIES): dest is a numeric-form
 * descriptor of rank + 1 (any strides: a section will do), source one of rank,
 * elsize their element size in bytes. dest's extents must be the result's,
 * else message 154 for the first dimension that differs (dest's extent, then
 * the result's). Overlapping operands are allowed. */
KAF_API void __KAFf90_aspread_line(const char *file, int32_t line, const int64_t *dest,
                                   int64_t elsize, int32_t rank, const int64_t *source,
                                   int64_t dim, int64_t ncopies);
KAF_API void __KAFf90_aspread(const int64_t *dest, int64_t elsize, int32_t rank,
                              const int64_t *source, int64_t dim, int64_t ncopies);

/* ---- TRANSPOSE(MATRIX) -----------------------------------------------------
 * matrix is a rank-2 descriptor; the result has the extents swapped. */
KAF_API void __KAFf90_transpose_line(const char *file, int32_t line, kaf_array_result *result,
                                     int64_t elsize, const int64_t *matrix);
KAF_API void __KAFf90_transpose(kaf_array_result *result, int64_t elsize, const int64_t *matrix);
KAF_API void __KAFf90_chtranspose_line(const char *file, int32_t line,
                                       kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_chtranspose(kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_ch2transpose_line(const char *file, int32_t line,
                                        kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_ch2transpose(kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_ch4transpose_line(const char *file, int32_t line,
                                        kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_ch4transpose(kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_dttranspose_line(const char *file, int32_t line,
                                       kaf_char_array_result *result, const int64_t *matrix);
KAF_API void __KAFf90_dttranspose(kaf_char_array_result *result, const int64_t *matrix);

/* ---- CSHIFT(ARRAY, SHIFT, DIM) ---------------------------------------------
 * shift: int64_t values, a rank-0 descriptor (scalar SHIFT, shift_rank 0) or
 * a descriptor of rank - 1 whose extents are ARRAY's without DIM (message 165
 * otherwise). DIM 1..rank (the compiler passes 1 when it is absent). */
KAF_API void __KAFf90_cshift_line(const char *file, int32_t line, kaf_array_result *result,
                                  int64_t elsize, int32_t rank, const int64_t *array,
                                  int32_t shift_rank, const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_cshift(kaf_array_result *result, int64_t elsize, int32_t rank,
                             const int64_t *array, int32_t shift_rank, const int64_t *shift,
                             int64_t dim);
KAF_API void __KAFf90_chcshift_line(const char *file, int32_t line,
                                    kaf_char_array_result *result, int32_t rank,
                                    const int64_t *array, int32_t shift_rank,
                                    const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_chcshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                               int32_t shift_rank, const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_ch2cshift_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t shift_rank,
                                     const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_ch2cshift(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                int64_t dim);
KAF_API void __KAFf90_ch4cshift_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t shift_rank,
                                     const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_ch4cshift(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                int64_t dim);
KAF_API void __KAFf90_dtcshift_line(const char *file, int32_t line,
                                    kaf_char_array_result *result, int32_t rank,
                                    const int64_t *array, int32_t shift_rank,
                                    const int64_t *shift, int64_t dim);
KAF_API void __KAFf90_dtcshift(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                               int32_t shift_rank, const int64_t *shift, int64_t dim);

/* ---- EOSHIFT(ARRAY, SHIFT, BOUNDARY, DIM) ----------------------------------
 * shift as for CSHIFT. boundary: null when absent (zero bytes for numeric,
 * logical and derived types; blanks of the character width for ch, ch2,
 * ch4), a rank-0 descriptor (boundary_rank 0) or one of rank - 1 conforming
 * like SHIFT, in ARRAY's form; a character BOUNDARY must have ARRAY's length
 * (message 163). */
KAF_API void __KAFf90_eoshift_line(const char *file, int32_t line, kaf_array_result *result,
                                   int64_t elsize, int32_t rank, const int64_t *array,
                                   int32_t shift_rank, const int64_t *shift,
                                   int32_t boundary_rank, const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_eoshift(kaf_array_result *result, int64_t elsize, int32_t rank,
                              const int64_t *array, int32_t shift_rank, const int64_t *shift,
                              int32_t boundary_rank, const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_cheoshift_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t shift_rank,
                                     const int64_t *shift, int32_t boundary_rank,
                                     const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_cheoshift(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                int32_t boundary_rank, const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_ch2eoshift_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t shift_rank,
                                      const int64_t *shift, int32_t boundary_rank,
                                      const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_ch2eoshift(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                 int32_t boundary_rank, const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_ch4eoshift_line(const char *file, int32_t line,
                                      kaf_char_array_result *result, int32_t rank,
                                      const int64_t *array, int32_t shift_rank,
                                      const int64_t *shift, int32_t boundary_rank,
                                      const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_ch4eoshift(kaf_char_array_result *result, int32_t rank,
                                 const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                 int32_t boundary_rank, const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_dteoshift_line(const char *file, int32_t line,
                                     kaf_char_array_result *result, int32_t rank,
                                     const int64_t *array, int32_t shift_rank,
                                     const int64_t *shift, int32_t boundary_rank,
                                     const int64_t *boundary, int64_t dim);
KAF_API void __KAFf90_dteoshift(kaf_char_array_result *result, int32_t rank,
                                const int64_t *array, int32_t shift_rank, const int64_t *shift,
                                int32_t boundary_rank, const int64_t *boundary, int64_t dim);

/* ---- Vector subscripts on the left of an assignment ------------------------
 * Returns if the rank-1 vector (numeric form) holds no value twice; else stops
 * at the first repeated value in element order with message 236 (name given)
 * or 237 (name null; dim is the subscript position). */
KAF_API void __KAFf90_check_vsubscript_line(const char *file, int32_t line,
                                            const int64_t *vector, const char *name,
                                            int32_t dim);
KAF_API void __KAFf90_check_vsubscript(const int64_t *vector, const char *name, int32_t dim);
/* The same for a vector of 32-bit integers. */
KAF_API void __KAFf90_check_vsubscript_i4_line(const char *file, int32_t line,
                                               const int64_t *vector, const char *name,
                                               int32_t dim);
KAF_API void __KAFf90_check_vsubscript_i4(const int64_t *vector, const char *name, int32_t dim);

KAF_EXTERN_C_END

#endif
