/* Memory: pages from the operating system with a page-colour map, the entry
 * layer of ALLOCATE and DEALLOCATE, array temporaries and array-constructor
 * lists.
 *
 * The page layer (getmem, freemem, pagecolour) lives in libkafengine beside
 * the storage allocator that serialises it; the other entries are in
 * libkafrts and call the allocator of include/kafrts/engine.h.
 *
 * Argument shapes chosen here (a compiler generates these calls):
 *  - sizes are 64-bit byte counts (size_t);
 *  - a STAT= variable is passed by reference as a 32-bit int pointer, null
 *    when the statement has no STAT=;
 *  - array temporaries: the caller passes the address of the temporary
 *    descriptor to fill, the rank, then (for CHARACTER) the character
 *    length, then one 32-bit extent per dimension as further arguments;
 *    freevec_ takes the temporary descriptor by value;
 *  - array-constructor lists are passed as the head pointer, or as the
 *    address of the head pointer where the list changes; records as
 *    addresses of eight (nine for CHARACTER) 64-bit words. */
#ifndef KAFRTS_MEMORY_H
#define KAFRTS_MEMORY_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* ---- Pages and colours ---------------------------------------------------
 * One colour byte per 4 KiB page handed out. 0 never coloured, 4 returned
 * to the system, 5 the allocator's own bookkeeping, 7 unknown address or a
 * range of mixed colours; the storage allocator uses 1 (temporary or
 * compiler storage), 2 (pointer), 3 (allocatable), 6 (small-block span) and
 * 8 (first page of a large block freed but kept mapped for reuse). */

/* Maps size bytes and colours their pages; null on failure. */
KAF_API void *__KAFf90_getmem(size_t size, int32_t colour);
/* Unmaps size bytes at address and colours the range 4. */
KAF_API void __KAFf90_freemem(void *address, size_t size);
/* Colour of every page of the range, or 7 when they differ or are unknown. */
KAF_API int32_t __KAFf90_pagecolour(const void *address, size_t size);

/* ---- ALLOCATE, DEALLOCATE ------------------------------------------------
 * Without STAT= a shortage is fatal; with it STAT becomes 1 (ALLOCATE) or
 * 4 (DEALLOCATE of a disassociated pointer), and a STAT already nonzero on
 * entry (an earlier item of the statement failed) makes the call do
 * nothing. */

/* Compiler-generated storage: 133 on a shortage (only for size > 0). */
KAF_API void *__KAFf90_Alloc_s(size_t size);
KAF_API void *__KAFf90_Alloc_var(size_t size);
KAF_API void *__KAFf90_Alloc_zs(size_t size);   /* zero-filled */
KAF_API void *__KAFf90_Alloc_zvar(size_t size); /* zero-filled */
/* Array temporaries: 134 on a shortage (only for size > 0). */
KAF_API void *__KAFf90_Alloc_atmp(size_t size);
KAF_API void *__KAFf90_Alloc_zatmp(size_t size); /* zero-filled */
/* ALLOCATE of a pointer / of an allocatable: 187 on a shortage. */
KAF_API void *__KAFf90_Allocate_s(size_t size, int32_t *stat);
KAF_API void *__KAFf90_Allocate_zs(size_t size, int32_t *stat);
KAF_API void *__KAFf90_Allocate_as(size_t size, int32_t *stat);
KAF_API void *__KAFf90_Allocate_zas(size_t size, int32_t *stat);
/* DEALLOCATE of a scalar pointer: a null address is 129 (Deallocate_s) or
 * 190 (Deallocate_p). */
KAF_API void __KAFf90_Deallocate_s(void *address, size_t size, int32_t *stat);
KAF_API void __KAFf90_Deallocate_p(void *address, size_t size, int32_t *stat);
/* DEALLOCATE of an array: descriptor = base, offset, then per dimension
 * extent, byte stride, lower bound (64-bit words). Releases from the lowest
 * element address, then sets the base to null; a null base is 130. */
KAF_API void __KAFf90_Deallocate_a(int32_t rank, size_t element_size, int64_t *descriptor,
                                   int32_t *stat);
/* Releases compiler-generated storage. */
KAF_API void __KAFf90_DeAlloc(void *address, size_t size);
KAF_API void __KAFf90_DeAlloc_o(void *address, size_t size);

/* The same with the statement's source file and line first; their fatal
 * messages carry the location. */
KAF_API void *__KAFf90_line_Alloc_s(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Alloc_var(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Alloc_zs(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Alloc_zvar(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Alloc_atmp(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Alloc_zatmp(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_line_Allocate_s(const char *file, int32_t line, size_t size,
                                       int32_t *stat);
KAF_API void *__KAFf90_line_Allocate_zs(const char *file, int32_t line, size_t size,
                                        int32_t *stat);
KAF_API void *__KAFf90_line_Allocate_as(const char *file, int32_t line, size_t size,
                                        int32_t *stat);
KAF_API void *__KAFf90_line_Allocate_zas(const char *file, int32_t line, size_t size,
                                         int32_t *stat);
KAF_API void __KAFf90_line_Deallocate_s(const char *file, int32_t line, void *address,
                                        size_t size, int32_t *stat);
KAF_API void __KAFf90_line_Deallocate_p(const char *file, int32_t line, void *address,
                                        size_t size, int32_t *stat);
KAF_API void __KAFf90_line_Deallocate_a(const char *file, int32_t line, int32_t rank,
                                        size_t element_size, int64_t *descriptor,
                                        int32_t *stat);
KAF_API void __KAFf90_line_DeAlloc(const char *file, int32_t line, void *address, size_t size);
KAF_API void __KAFf90_line_DeAlloc_o(const char *file, int32_t line, void *address,
                                     size_t size);

/* ---- Array temporaries ---------------------------------------------------
 * Zero-filled storage of element size times the product of the extents,
 * at most 2^31 - 1 bytes (a larger temporary is message 134). Extents of
 * the dimensions past the rank are stored as 1. */
typedef struct kaf_atmp {
  void *base;
  int32_t extent[7];
} kaf_atmp;
/* The CHARACTER form: the character length comes before the extents. */
typedef struct kaf_atmp_ch {
  void *base;
  int32_t char_len;
  int32_t extent[7];
} kaf_atmp_ch;

/* mkatmp_<t>(result, rank, extent1, ..., extent_rank) and freevec_<t>(tmp)
 * for COMPLEX c (8 bytes), dc (16), REAL r (4), d (8), INTEGER i1, i2, i
 * (4), i4 (8), LOGICAL l1, l2, l (4), l4 (8); CHARACTER ch takes the
 * character length after the rank. */
KAF_API void __KAFf90_mkatmp_c(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_d(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_dc(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_i1(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_i2(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_i(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_i4(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_l1(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_l2(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_l(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_l4(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_r(kaf_atmp *result, int32_t rank, ...);
KAF_API void __KAFf90_mkatmp_ch(kaf_atmp_ch *result, int32_t rank, int32_t char_len, ...);
KAF_API void __KAFf90_freevec_c(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_d(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_dc(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_i1(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_i2(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_i(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_i4(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_l1(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_l2(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_l(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_l4(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_r(kaf_atmp tmp);
KAF_API void __KAFf90_freevec_ch(kaf_atmp_ch tmp);
/* The same with source file and line first. */
KAF_API void __KAFf90_line_mkatmp_c(const char *file, int32_t line, kaf_atmp *result,
                                    int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_d(const char *file, int32_t line, kaf_atmp *result,
                                    int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_dc(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_i1(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_i2(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_i(const char *file, int32_t line, kaf_atmp *result,
                                    int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_i4(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_l1(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_l2(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_l(const char *file, int32_t line, kaf_atmp *result,
                                    int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_l4(const char *file, int32_t line, kaf_atmp *result,
                                     int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_r(const char *file, int32_t line, kaf_atmp *result,
                                    int32_t rank, ...);
KAF_API void __KAFf90_line_mkatmp_ch(const char *file, int32_t line, kaf_atmp_ch *result,
                                     int32_t rank, int32_t char_len, ...);
KAF_API void __KAFf90_line_freevec_c(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_d(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_dc(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_i1(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_i2(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_i(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_i4(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_l1(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_l2(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_l(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_l4(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_r(const char *file, int32_t line, kaf_atmp tmp);
KAF_API void __KAFf90_line_freevec_ch(const char *file, int32_t line, kaf_atmp_ch tmp);

/* ---- Array-constructor lists ---------------------------------------------
 * A queue of records of eight 64-bit words (nine for CHARACTER pieces, the
 * ninth the character length); the empty list is null. */
typedef struct kaf_atmp_node kaf_atmp_node;

/* The empty list. */
KAF_API kaf_atmp_node *__KAFf90_atmplist_create(void);
/* Copies the record to a new node at the end of *list. */
KAF_API void __KAFf90_atmplist_append(kaf_atmp_node **list, const int64_t *record);
KAF_API void __KAFf90_atmplist_append_ch(kaf_atmp_node **list, const int64_t *record);
/* Copies record n (0-based; n <= 0 gives the first) into out; the caller
 * guarantees n is below the length. Non-CHARACTER lists only. */
KAF_API void __KAFf90_atmplist_elt(kaf_atmp_node *list, int64_t *out, int64_t n);
/* Copies the first record into out and removes it from *list. */
KAF_API void __KAFf90_atmplist_step(kaf_atmp_node **list, int64_t *out);
KAF_API void __KAFf90_atmplist_step_ch(kaf_atmp_node **list, int64_t *out);
/* Ends the program (internal error) unless the list is empty. */
KAF_API void __KAFf90_atmplist_finish(kaf_atmp_node *list);

KAF_EXTERN_C_END

#endif
