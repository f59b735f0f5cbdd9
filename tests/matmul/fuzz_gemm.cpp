// Fuzzes the four GEMMs with valid arguments of every shape the input
// describes (dimensions, letters, leading dimensions, alpha, beta, the
// operands' bits) and checks the result against the plain loop: finite
// results and infinities bit for bit, NaN where the loop has NaN.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

struct reader {
  const uint8_t *p;
  size_t n;
  uint8_t byte() {
    if (!n) return 0;
    --n;
    return *p++;
  }
};

template <typename R> bool same_bits_or_nan(R x, R y) {
  return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0;
}
inline bool same(float x, float y) { return same_bits_or_nan(x, y); }
inline bool same(double x, double y) { return same_bits_or_nan(x, y); }
template <typename C> bool same(C x, C y) { return same(x.re, y.re) && same(x.im, y.im); }

template <typename T> T element_from(reader &in) {
  // Mostly small values; now and then a special or a raw bit pattern.
  auto real = [&in]() -> double {
    uint8_t b = in.byte();
    switch (b & 15) {
    case 0: return INFINITY;
    case 1: return -INFINITY;
    case 2: return NAN;
    case 3: return -0.0;
    default: return std::ldexp(double(int8_t(in.byte())), int(b >> 4) - 8);
    }
  };
  double re = real();
  double im = real();
  return from_real<T>(re, im);
}

template <typename T> void one(reader &in) {
  const char letters[] = {'N', 'T', 'C', 'n', 't', 'c'};
  const char ta = letters[in.byte() % 6], tb = letters[in.byte() % 6];
  const long m = in.byte() % 70, n = in.byte() % 40, k = in.byte() % 70;
  const long arows = (ta == 'N' || ta == 'n') ? m : k, acols = (ta == 'N' || ta == 'n') ? k : m;
  const long brows = (tb == 'N' || tb == 'n') ? k : n, bcols = (tb == 'N' || tb == 'n') ? n : k;
  const long lda = std::max(1L, arows + in.byte() % 3), ldb = std::max(1L, brows + in.byte() % 3),
             ldc = std::max(1L, m + in.byte() % 3);
  const T alpha = element_from<T>(in), beta = element_from<T>(in);
  std::vector<T> a(size_t(lda * std::max(1L, acols))), b(size_t(ldb * std::max(1L, bcols))),
      c(size_t(ldc * std::max(1L, n)));
  for (auto &x : a) x = element_from<T>(in);
  for (auto &x : b) x = element_from<T>(in);
  for (auto &x : c) x = element_from<T>(in);
  auto want = c;
  reference(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, want, ldc);
  call(ta, tb, int32_t(m), int32_t(n), int32_t(k), &alpha, a.data(), int32_t(lda), b.data(),
       int32_t(ldb), &beta, c.data(), int32_t(ldc));
  for (size_t i = 0; i < c.size(); ++i)
    if (!same(c[i], want[i])) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  reader in{data, size};
  switch (in.byte() % 4) {
  case 0: one<float>(in); break;
  case 1: one<double>(in); break;
  case 2: one<kaf_complex>(in); break;
  default: one<kaf_dcomplex>(in); break;
  }
  return 0;
}
