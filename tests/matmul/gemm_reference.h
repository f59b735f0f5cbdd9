// The plain loop every GEMM path must reproduce bit for bit, random
// operands, and the four members behind one overloaded call.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "kafrts/matmul.h"

namespace gemmtest {

inline float mul(float x, float y) { return x * y; }
inline double mul(double x, double y) { return x * y; }
inline kaf_complex mul(kaf_complex x, kaf_complex y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}
inline kaf_dcomplex mul(kaf_dcomplex x, kaf_dcomplex y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}
inline float add(float x, float y) { return x + y; }
inline double add(double x, double y) { return x + y; }
inline kaf_complex add(kaf_complex x, kaf_complex y) { return {x.re + y.re, x.im + y.im}; }
inline kaf_dcomplex add(kaf_dcomplex x, kaf_dcomplex y) { return {x.re + y.re, x.im + y.im}; }
inline float conj(float x) { return x; }
inline double conj(double x) { return x; }
inline kaf_complex conj(kaf_complex x) { return {x.re, -x.im}; }
inline kaf_dcomplex conj(kaf_dcomplex x) { return {x.re, -x.im}; }
inline bool eq(float x, float y) { return x == y; }
inline bool eq(double x, double y) { return x == y; }
inline bool eq(kaf_complex x, kaf_complex y) { return x.re == y.re && x.im == y.im; }
inline bool eq(kaf_dcomplex x, kaf_dcomplex y) { return x.re == y.re && x.im == y.im; }

template <typename T> T from_real(double re, double im) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(re);
  else
    return T{static_cast<decltype(T::re)>(re), static_cast<decltype(T::re)>(im)};
}

// op(X)(r, s) of a column-major X with leading dimension ld.
template <typename T> T op(const std::vector<T> &x, long ld, char t, long r, long s) {
  if (t == 'N' || t == 'n') return x[r + s * ld];
  T v = x[s + r * ld];
  return (t == 'C' || t == 'c') ? conj(v) : v;
}

// C := alpha*op(A)*op(B) + beta*C, one element at a time, k increasing.
template <typename T>
void reference(char ta, char tb, long m, long n, long k, T alpha, const std::vector<T> &a, long lda,
               const std::vector<T> &b, long ldb, T beta, std::vector<T> &c, long ldc) {
  const T zero = from_real<T>(0, 0), one = from_real<T>(1, 0);
  if (m == 0 || n == 0 || (eq(alpha, zero) && eq(beta, one))) return;
  // op(A) by rows and alpha*op(B) by columns, so the k loop runs over
  // contiguous memory.
  // When alpha is 0, A and B are not read at all.
  const long kk = eq(alpha, zero) ? 0 : k;
  std::vector<T> arow(static_cast<size_t>(kk) * m), bcol(static_cast<size_t>(kk) * n);
  for (long i = 0; i < m && kk; ++i)
    for (long p = 0; p < k; ++p) arow[p + i * k] = op(a, lda, ta, i, p);
  for (long j = 0; j < n && kk; ++j)
    for (long p = 0; p < k; ++p) {
      T v = op(b, ldb, tb, p, j);
      bcol[p + j * k] = eq(alpha, one) ? v : mul(alpha, v);
    }
  for (long j = 0; j < n; ++j)
    for (long i = 0; i < m; ++i) {
      T s = c[i + j * ldc];
      if (eq(beta, zero))
        s = zero;
      else if (!eq(beta, one))
        s = mul(beta, s);
      if (!eq(alpha, zero))
        for (long p = 0; p < k; ++p) s = add(s, mul(arow[p + i * k], bcol[p + j * k]));
      c[i + j * ldc] = s;
    }
}

inline void call(char ta, char tb, int32_t m, int32_t n, int32_t k, const float *alpha,
                 const float *a, int32_t lda, const float *b, int32_t ldb, const float *beta,
                 float *c, int32_t ldc, size_t la = 1, size_t lb = 1) {
  __KAFf90_sgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc, la, lb);
}
inline void call(char ta, char tb, int32_t m, int32_t n, int32_t k, const double *alpha,
                 const double *a, int32_t lda, const double *b, int32_t ldb, const double *beta,
                 double *c, int32_t ldc, size_t la = 1, size_t lb = 1) {
  __KAFf90_dgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc, la, lb);
}
inline void call(char ta, char tb, int32_t m, int32_t n, int32_t k, const kaf_complex *alpha,
                 const kaf_complex *a, int32_t lda, const kaf_complex *b, int32_t ldb,
                 const kaf_complex *beta, kaf_complex *c, int32_t ldc, size_t la = 1,
                 size_t lb = 1) {
  __KAFf90_cgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc, la, lb);
}
inline void call(char ta, char tb, int32_t m, int32_t n, int32_t k, const kaf_dcomplex *alpha,
                 const kaf_dcomplex *a, int32_t lda, const kaf_dcomplex *b, int32_t ldb,
                 const kaf_dcomplex *beta, kaf_dcomplex *c, int32_t ldc, size_t la = 1,
                 size_t lb = 1) {
  __KAFf90_zgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc, la, lb);
}

// Values of mixed sign and magnitude (2^-6 .. 2^6), so that every sum
// rounds and a change of order shows in the low bits.
template <typename T> std::vector<T> random_matrix(std::mt19937_64 &rng, size_t count) {
  std::uniform_real_distribution<double> mant(-1.0, 1.0);
  std::uniform_int_distribution<int> expo(-6, 6);
  std::vector<T> v(count);
  for (auto &x : v) {
    double re = std::ldexp(mant(rng), expo(rng));
    double im = std::ldexp(mant(rng), expo(rng));
    x = from_real<T>(re, im);
  }
  return v;
}

// One case against the reference: operands with leading dimensions larger
// than needed; the whole C array (padding rows included) must match byte
// for byte. Returns an empty string or a description of the first mismatch.
template <typename T>
std::string check_case(std::mt19937_64 &rng, char ta, char tb, long m, long n, long k, T alpha,
                       T beta, long extra_ld = 3) {
  const long arows = (ta == 'N' || ta == 'n') ? m : k, acols = (ta == 'N' || ta == 'n') ? k : m;
  const long brows = (tb == 'N' || tb == 'n') ? k : n, bcols = (tb == 'N' || tb == 'n') ? n : k;
  const long lda = arows + extra_ld, ldb = brows + extra_ld + 1, ldc = m + extra_ld + 2;
  auto a = random_matrix<T>(rng, static_cast<size_t>(lda * (acols ? acols : 1)));
  auto b = random_matrix<T>(rng, static_cast<size_t>(ldb * (bcols ? bcols : 1)));
  auto c = random_matrix<T>(rng, static_cast<size_t>(ldc * (n ? n : 1)));
  auto want = c;
  reference(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, want, ldc);
  call(ta, tb, int32_t(m), int32_t(n), int32_t(k), &alpha, a.data(), int32_t(lda), b.data(),
       int32_t(ldb), &beta, c.data(), int32_t(ldc));
  if (std::memcmp(c.data(), want.data(), sizeof(T) * c.size()) == 0) return {};
  size_t at = 0;
  while (std::memcmp(&c[at], &want[at], sizeof(T)) == 0) ++at;
  return std::string("TRANSA=") + ta + " TRANSB=" + tb + " M=" + std::to_string(m) +
         " N=" + std::to_string(n) + " K=" + std::to_string(k) + ": first difference at C(" +
         std::to_string(at % ldc + 1) + "," + std::to_string(at / ldc + 1) + ")";
}

// count elements that end exactly where an inaccessible page begins: any
// read or write past the last element faults.
template <typename T> class guarded {
 public:
  explicit guarded(size_t count) {
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    data_pages_ = (count * sizeof(T) + page - 1) / page + 1;
    bytes_ = (data_pages_ + 1) * page;
    void *p = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) return;
    base_ = static_cast<char *>(p);
    mprotect(base_ + data_pages_ * page, page, PROT_NONE);
    data_ = reinterpret_cast<T *>(base_ + data_pages_ * page - count * sizeof(T));
  }
  ~guarded() {
    if (base_) munmap(base_, bytes_);
  }
  guarded(const guarded &) = delete;
  guarded &operator=(const guarded &) = delete;
  T *data() const { return data_; }

 private:
  char *base_ = nullptr;
  T *data_ = nullptr;
  size_t bytes_ = 0, data_pages_ = 0;
};

// One case with every operand packed tight (leading dimensions equal to
// the rows) and ending at an inaccessible page, against the reference.
template <typename T>
std::string check_guarded(std::mt19937_64 &rng, char ta, char tb, long m, long n, long k, T alpha,
                          T beta) {
  const long arows = ta == 'N' ? m : k, acols = ta == 'N' ? k : m;
  const long brows = tb == 'N' ? k : n, bcols = tb == 'N' ? n : k;
  const auto a = random_matrix<T>(rng, size_t(arows * acols));
  const auto b = random_matrix<T>(rng, size_t(brows * bcols));
  auto want = random_matrix<T>(rng, size_t(m * n));
  guarded<T> ga(a.size()), gb(b.size()), gc(want.size());
  if (!ga.data() || !gb.data() || !gc.data()) return "mmap failed";
  std::memcpy(static_cast<void *>(ga.data()), a.data(), sizeof(T) * a.size());
  std::memcpy(static_cast<void *>(gb.data()), b.data(), sizeof(T) * b.size());
  std::memcpy(static_cast<void *>(gc.data()), want.data(), sizeof(T) * want.size());
  reference(ta, tb, m, n, k, alpha, a, arows, b, brows, beta, want, m);
  call(ta, tb, int32_t(m), int32_t(n), int32_t(k), &alpha, ga.data(), int32_t(arows), gb.data(),
       int32_t(brows), &beta, gc.data(), int32_t(m));
  if (std::memcmp(gc.data(), want.data(), sizeof(T) * want.size()) == 0) return {};
  size_t at = 0;
  while (std::memcmp(&gc.data()[at], &want[at], sizeof(T)) == 0) ++at;
  return std::string("guarded TRANSA=") + ta + " TRANSB=" + tb + " M=" + std::to_string(m) +
         " N=" + std::to_string(n) + " K=" + std::to_string(k) + ": first difference at C(" +
         std::to_string(at % m + 1) + "," + std::to_string(at / m + 1) + ")";
}

// Every row count up to past the tallest tile of any path (48 rows), so
// every remainder of every tile height is a tile short in M; widths of a
// full tile and past it (a corner tile short in both); two depths.
// Operands at page ends.
// Returns the first failures (at most five), one a line.
template <typename T> std::string guarded_battery(uint64_t seed) {
  std::mt19937_64 rng(seed);
  const T alpha = from_real<T>(0.8125, -1.5), beta = from_real<T>(-1.75, 0.375);
  const T zero = from_real<T>(0, 0), one = from_real<T>(1, 0);
  std::string report;
  int failures = 0;
  for (long m = 1; m <= 50; ++m)
    for (long n : {6L, 8L, 9L})
      for (long k : {7L, 33L}) {
        const char ta = "NT"[(m + k) % 2], tb = "NT"[(m / 2 + n) % 2];
        // beta 0 starts the accumulators at zero (C is not read); the
        // others load C through the masks; alpha 1 packs B unscaled.
        const T b_ = m % 3 == 0 ? zero : beta, a_ = m % 4 == 1 ? one : alpha;
        std::string bad = check_guarded<T>(rng, ta, tb, m, n, k, a_, b_);
        if (!bad.empty() && ++failures <= 5) report += bad + "\n";
      }
  return report;
}

}  // namespace gemmtest
