/* Matrix multiplication kernels behind the MATMUL intrinsic: one GEMM per
 * real and complex kind, with the argument list of the classic Fortran GEMM,
 *
 *     C := alpha * op(A) * op(B) + beta * C,
 *
 * op(X) being X (TRANSX "N"), its transpose ("T") or its conjugate transpose
 * ("C"; the same as "T" for the real kinds), lower case accepted. Matrices
 * are column-major; M, N, K and the leading dimensions are 32-bit integers
 * passed by reference; alpha and beta are passed by reference in the
 * element type; the hidden lengths of TRANSA and TRANSB come last.
 *
 * Arithmetic (the same bits on every processor and every kernel path):
 * each element is computed as by this loop, every operation rounded
 * separately in the element's precision, never fused:
 *
 *     c = C(i,j) scaled:  0 when beta is 0 (NaNs in C are cleared),
 *                         C(i,j) when beta is 1, else beta * C(i,j)
 *     for k = 1 .. K in increasing order:
 *         b = op(B)(k,j) when alpha is 1, else alpha * op(B)(k,j)
 *         c = c + op(A)(i,k) * b
 *     C(i,j) = c
 *
 * For the complex kinds the product x*y is the textbook one,
 * (xr*yr - xi*yi, xr*yi + xi*yr), each product and sum rounded once, and
 * c + x*y adds that product to c part by part. Conjugation flips the sign
 * of the imaginary part exactly. When alpha is 0 nothing is read from A or
 * B: C becomes 0 (beta = 0), stays (beta = 1) or becomes beta * C.
 *
 * Bad arguments end the program through the error reporter: an unknown
 * TRANSA/TRANSB letter, a negative M, N or K, or a leading dimension below
 * its minimum, as "<TYPE> MATMUL: Impossible failure <argument position>";
 * a hidden length below 1 through __KAFf90_arg_chrlen_shorter.
 *
 * The kernels use process-wide work buffers for problems that fit them and
 * allocate private ones otherwise (or when another thread holds the shared
 * ones). The kernel path (portable, SSE2, AVX2, AVX-512) is chosen once, on
 * the first call, from cpuid; the environment variable
 * KAFFORTRAN_GEMM_KERNEL=portable|sse2|avx2|avx512 caps it (a path the
 * processor cannot run is replaced by the best one below it). */
#ifndef KAFRTS_MATMUL_H
#define KAFRTS_MATMUL_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* COMPLEX and COMPLEX(KIND(0d0)) as Fortran stores them. */
typedef struct kaf_complex {
  float re, im;
} kaf_complex;
typedef struct kaf_dcomplex {
  double re, im;
} kaf_dcomplex;

/* REAL GEMM. */
KAF_API void __KAFf90_sgemm(const char *transa, const char *transb, const int32_t *m,
                            const int32_t *n, const int32_t *k, const float *alpha,
                            const float *a, const int32_t *lda, const float *b,
                            const int32_t *ldb, const float *beta, float *c, const int32_t *ldc,
                            kaf_charlen transa_len, kaf_charlen transb_len);
/* DOUBLE PRECISION GEMM. */
KAF_API void __KAFf90_dgemm(const char *transa, const char *transb, const int32_t *m,
                            const int32_t *n, const int32_t *k, const double *alpha,
                            const double *a, const int32_t *lda, const double *b,
                            const int32_t *ldb, const double *beta, double *c,
                            const int32_t *ldc, kaf_charlen transa_len, kaf_charlen transb_len);
/* COMPLEX GEMM. */
KAF_API void __KAFf90_cgemm(const char *transa, const char *transb, const int32_t *m,
                            const int32_t *n, const int32_t *k, const kaf_complex *alpha,
                            const kaf_complex *a, const int32_t *lda, const kaf_complex *b,
                            const int32_t *ldb, const kaf_complex *beta, kaf_complex *c,
                            const int32_t *ldc, kaf_charlen transa_len, kaf_charlen transb_len);
/* COMPLEX(KIND(0d0)) GEMM. */
KAF_API void __KAFf90_zgemm(const char *transa, const char *transb, const int32_t *m,
                            const int32_t *n, const int32_t *k, const kaf_dcomplex *alpha,
                            const kaf_dcomplex *a, const int32_t *lda, const kaf_dcomplex *b,
                            const int32_t *ldb, const kaf_dcomplex *beta, kaf_dcomplex *c,
                            const int32_t *ldc, kaf_charlen transa_len, kaf_charlen transb_len);

/* Name of the kernel path the GEMMs use in this process: "portable",
 * "sse2", "avx2" or "avx512" (fixed by the first call to this or a GEMM). */
KAF_API const char *__KAFf90_gemm_kernel(void);

/* Fatal check of a CHARACTER argument whose length is below what the
 * callee needs: the actual argument has length actual_len, the dummy needs
 * dummy_len. With procedure and dummy names (for the message) it writes
 * "Invalid reference to procedure <procedure> - Dummy argument <dummy> has
 * length <dummy_len> but actual argument length <actual_len> is shorter";
 * when either name is null, "CHARACTER actual arg LEN=<actual_len> shorter
 * than dummy arg LEN=<dummy_len>". */
KAF_API KAF_NORETURN void __KAFf90_arg_chrlen_shorter(const char *procedure, const char *dummy,
                                                      int64_t actual_len, int64_t dummy_len);

KAF_EXTERN_C_END

#endif
