// DOUBLE PRECISION MATMUL: the DGEMM entry over the shared GEMM worker.
#include "matmul/gemm_driver.h"

namespace {
constexpr kaf_gemm::member dgemm_member = {"DOUBLE PRECISION", "DGEMM"};
}

extern "C" void __KAFf90_dgemm(const char *transa, const char *transb, const int32_t *m,
                                const int32_t *n, const int32_t *k, const double *alpha,
                                const double *a, const int32_t *lda, const double *b,
                                const int32_t *ldb, const double *beta, double *c,
                                const int32_t *ldc, kaf_charlen transa_len,
                                kaf_charlen transb_len) {
  kaf_gemm::gemm<double>(dgemm_member, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                        ldc, transa_len, transb_len);
}
