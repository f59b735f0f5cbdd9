// REAL MATMUL: the SGEMM entry over the shared GEMM worker.
#include "matmul/gemm_driver.h"

namespace {
constexpr kaf_gemm::member sgemm_member = {"REAL", "SGEMM"};
}

extern "C" void __KAFf90_sgemm(const char *transa, const char *transb, const int32_t *m,
                                const int32_t *n, const int32_t *k, const float *alpha,
                                const float *a, const int32_t *lda, const float *b,
                                const int32_t *ldb, const float *beta, float *c,
                                const int32_t *ldc, kaf_charlen transa_len,
                                kaf_charlen transb_len) {
  kaf_gemm::gemm<float>(sgemm_member, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                        ldc, transa_len, transb_len);
}
