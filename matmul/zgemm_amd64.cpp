// COMPLEX(KIND(0d0)) MATMUL: the ZGEMM entry over the shared GEMM worker.
#include "matmul/gemm_driver.h"

namespace {
constexpr kaf_gemm::member zgemm_member = {"COMPLEX(KIND(0d0))", "ZGEMM"};
}

extern "C" void __KAFf90_zgemm(const char *transa, const char *transb, const int32_t *m,
                                const int32_t *n, const int32_t *k, const kaf_dcomplex *alpha,
                                const kaf_dcomplex *a, const int32_t *lda, const kaf_dcomplex *b,
                                const int32_t *ldb, const kaf_dcomplex *beta, kaf_dcomplex *c,
                                const int32_t *ldc, kaf_charlen transa_len,
                                kaf_charlen transb_len) {
  kaf_gemm::gemm<kaf_dcomplex>(zgemm_member, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                        ldc, transa_len, transb_len);
}
