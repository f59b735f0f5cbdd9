// COMPLEX MATMUL: the CGEMM entry over the shared GEMM worker.
#include "matmul/gemm_driver.h"

namespace {
constexpr kaf_gemm::member cgemm_member = {"COMPLEX", "CGEMM"};
}

extern "C" void __KAFf90_cgemm(const char *transa, const char *transb, const int32_t *m,
                                const int32_t *n, const int32_t *k, const kaf_complex *alpha,
                                const kaf_complex *a, const int32_t *lda, const kaf_complex *b,
                                const int32_t *ldb, const kaf_complex *beta, kaf_complex *c,
                                const int32_t *ldc, kaf_charlen transa_len,
                                kaf_charlen transb_len) {
  kaf_gemm::gemm<kaf_complex>(cgemm_member, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                        ldc, transa_len, transb_len);
}
