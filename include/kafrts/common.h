/* Types and the export macro shared by every part of the public interface. */
#ifndef KAFRTS_COMMON_H
#define KAFRTS_COMMON_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
#define KAF_EXTERN_C_BEGIN extern "C" {
#define KAF_EXTERN_C_END }
#else
#define KAF_EXTERN_C_BEGIN
#define KAF_EXTERN_C_END
#endif

/* Every exported name carries this attribute; everything else is hidden. */
#define KAF_API __attribute__((visibility("default")))
/* Entries that never return to their caller. */
#define KAF_NORETURN __attribute__((noreturn))

/* The double-double real kind: hi + lo, |lo| <= ulp(hi)/2. Passed and
 * returned by value, so hi and lo travel in the first two SSE registers. */
typedef struct kaf_dd {
  double hi, lo;
} kaf_dd;

/* The complex double-double kind: real and imaginary parts. */
typedef struct kaf_ddc {
  kaf_dd re, im;
} kaf_ddc;

/* Fortran CHARACTER arguments arrive as an address plus a hidden length,
 * appended after the other arguments. */
typedef size_t kaf_charlen;

#endif
