// The four GEMMs against the plain loop, bit for bit: every size on and
// around the tile and block edges crossed with every TRANSA/TRANSB pair,
// alpha and beta other than 0 and 1, leading dimensions larger than needed.
#include <gtest/gtest.h>

#include <cfenv>
#include <thread>

#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

#if defined(__SANITIZE_ADDRESS__)
#define KAF_SLOW_BUILD 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KAF_SLOW_BUILD 1
#endif
#endif

// Sizes around the tiles (27, 28, 29 / 55, 56, 57) and past the blocks.
// Instrumented builds drop 300 to keep the run short.
#ifdef KAF_SLOW_BUILD
constexpr long sizes[] = {0, 1, 27, 28, 29, 55, 56, 57, 100};
#else
constexpr long sizes[] = {0, 1, 27, 28, 29, 55, 56, 57, 100, 300};
#endif
constexpr char transes[] = {'N', 'T', 'C'};

template <typename T> T alpha_value() { return from_real<T>(-1.3125, 0.71875); }
template <typename T> T beta_value() { return from_real<T>(0.6875, -2.25); }

struct trans_pair {
  char ta, tb;
};
std::string name_of(const testing::TestParamInfo<trans_pair> &info) {
  return std::string(1, info.param.ta) + info.param.tb;
}
std::vector<trans_pair> all_pairs() {
  std::vector<trans_pair> v;
  for (char ta : transes)
    for (char tb : transes) v.push_back({ta, tb});
  return v;
}

template <typename T> void run_all_sizes(trans_pair tp, uint64_t seed) {
  std::mt19937_64 rng(seed);
  for (long m : sizes)
    for (long n : sizes)
      for (long k : sizes) {
        std::string bad = check_case<T>(rng, tp.ta, tp.tb, m, n, k, alpha_value<T>(), beta_value<T>());
        EXPECT_EQ(bad, "");
      }
}

class GemmSizes : public testing::TestWithParam<trans_pair> {};

TEST_P(GemmSizes, RealSingle) { run_all_sizes<float>(GetParam(), 1); }
TEST_P(GemmSizes, RealDouble) { run_all_sizes<double>(GetParam(), 2); }
TEST_P(GemmSizes, ComplexSingle) { run_all_sizes<kaf_complex>(GetParam(), 3); }
TEST_P(GemmSizes, ComplexDouble) { run_all_sizes<kaf_dcomplex>(GetParam(), 4); }

INSTANTIATE_TEST_SUITE_P(Trans, GemmSizes, testing::ValuesIn(all_pairs()), name_of);

// Lower-case letters are the same as upper case, and "C" on the real kinds
// is "T": the results agree bit for bit.
template <typename T> void same_as(char ta, char tb, char ua, char ub) {
  std::mt19937_64 r1(7), r2(7);
  const long m = 29, n = 57, k = 28;
  const T alpha = alpha_value<T>(), beta = beta_value<T>();
  auto a = random_matrix<T>(r1, 64 * 64), b = random_matrix<T>(r1, 64 * 64),
       c1 = random_matrix<T>(r1, 64 * 64);
  auto c2 = c1;
  call(ta, tb, m, n, k, &alpha, a.data(), 64, b.data(), 64, &beta, c1.data(), 64);
  call(ua, ub, m, n, k, &alpha, a.data(), 64, b.data(), 64, &beta, c2.data(), 64);
  EXPECT_EQ(0, std::memcmp(c1.data(), c2.data(), sizeof(T) * c1.size()))
      << ta << tb << " vs " << ua << ub;
}

TEST(GemmLetters, LowerCaseIsUpperCase) {
  for (char ta : transes)
    for (char tb : transes) {
      same_as<double>(ta, tb, char(ta + 32), char(tb + 32));
      same_as<kaf_complex>(ta, tb, char(ta + 32), char(tb + 32));
    }
}

TEST(GemmLetters, ConjugateIsTransposeForReals) {
  same_as<float>('C', 'c', 'T', 't');
  same_as<double>('c', 'C', 't', 'T');
}

// alpha and beta of 1 and 0 take shortcuts (no scaling of B, no read of
// C); the results still follow the plain loop.
template <typename T> void run_unit_scalars() {
  std::mt19937_64 rng(11);
  const T zero = from_real<T>(0, 0), one = from_real<T>(1, 0), minus = from_real<T>(-1, 0);
  const T alphas[] = {one, minus, alpha_value<T>()};
  const T betas[] = {zero, one, minus};
  for (T alpha : alphas)
    for (T beta : betas)
      for (char ta : transes)
        for (long m : {1L, 29L, 57L})
          for (long n : {1L, 28L, 55L})
            for (long k : {0L, 1L, 57L, 300L}) {
              std::string bad = check_case<T>(rng, ta, 'N', m, n, k, alpha, beta);
              EXPECT_EQ(bad, "");
            }
}

TEST(GemmScalars, UnitAlphaAndBeta) {
  run_unit_scalars<float>();
  run_unit_scalars<double>();
  run_unit_scalars<kaf_complex>();
  run_unit_scalars<kaf_dcomplex>();
}

// C filled with NaNs and infinities; the padding rows beyond M must come
// back untouched.
template <typename T> std::vector<T> poisoned(size_t count) {
  std::vector<T> v(count);
  const double specials[] = {NAN, -NAN, INFINITY, -INFINITY, 1e300};
  for (size_t i = 0; i < count; ++i)
    v[i] = from_real<T>(specials[i % 5], specials[(i + 2) % 5]);
  return v;
}

template <typename T> void alpha_zero_cases() {
  const long m = 29, n = 7, ldc = 33;
  const T zero = from_real<T>(0, 0), one = from_real<T>(1, 0), beta = beta_value<T>();
  // beta 0: exact +0 over NaNs, A and B never read (null).
  auto c = poisoned<T>(ldc * n);
  const auto before = c;
  call('N', 'N', m, n, 5, &zero, static_cast<const T *>(nullptr), m,
       static_cast<const T *>(nullptr), 5, &zero, c.data(), ldc);
  for (long j = 0; j < n; ++j)
    for (long i = 0; i < ldc; ++i) {
      const T want = i < m ? zero : before[i + j * ldc];
      EXPECT_EQ(0, std::memcmp(&c[i + j * ldc], &want, sizeof(T))) << i << "," << j;
    }
  // beta 1: nothing changes, not even a NaN's payload.
  c = before;
  call('T', 'C', m, n, 5, &zero, static_cast<const T *>(nullptr), 5,
       static_cast<const T *>(nullptr), n, &one, c.data(), ldc);
  EXPECT_EQ(0, std::memcmp(c.data(), before.data(), sizeof(T) * c.size()));
  // Any other beta scales C as the loop does.
  std::mt19937_64 rng(5);
  c = random_matrix<T>(rng, ldc * n);
  auto want = c;
  std::vector<T> none;
  reference<T>('N', 'N', m, n, 5, zero, none, m, none, 5, beta, want, ldc);
  call('N', 'N', m, n, 5, &zero, static_cast<const T *>(nullptr), m,
       static_cast<const T *>(nullptr), 5, &beta, c.data(), ldc);
  EXPECT_EQ(0, std::memcmp(c.data(), want.data(), sizeof(T) * c.size()));
}

TEST(GemmScalars, AlphaZero) {
  alpha_zero_cases<float>();
  alpha_zero_cases<double>();
  alpha_zero_cases<kaf_complex>();
  alpha_zero_cases<kaf_dcomplex>();
}

// beta 0 with alpha not 0: C is cleared before the products are added, so
// NaNs and infinities in C leave no trace.
template <typename T> void beta_zero_clears() {
  std::mt19937_64 rng(6);
  const long m = 57, n = 30, k = 29, ldc = 60;
  const T zero = from_real<T>(0, 0), alpha = alpha_value<T>();
  auto a = random_matrix<T>(rng, m * k), b = random_matrix<T>(rng, k * n);
  auto c = poisoned<T>(ldc * n);
  auto want = random_matrix<T>(rng, ldc * n);
  for (long j = 0; j < n; ++j)
    for (long i = m; i < ldc; ++i) want[i + j * ldc] = c[i + j * ldc];
  reference<T>('N', 'N', m, n, k, alpha, a, m, b, k, zero, want, ldc);
  call('N', 'N', m, n, k, &alpha, a.data(), m, b.data(), k, &zero, c.data(), ldc);
  EXPECT_EQ(0, std::memcmp(c.data(), want.data(), sizeof(T) * c.size()));
}

// Clearing C is not multiplying it by zero: infinities in C raise no
// invalid-operation flag, on the quick path (alpha 0) or with products, and
// neither do the padded rows and columns of partial tiles.
template <typename T> void beta_zero_raises_nothing() {
  std::mt19937_64 rng(12);
  const T zero = from_real<T>(0, 0), alpha = alpha_value<T>();
  for (long m : {1L, 29L, 57L})
    for (long k : {0L, 5L, 300L}) {
      const long n = 13;
      auto a = random_matrix<T>(rng, m * k + 1), b = random_matrix<T>(rng, k * n + 1);
      auto c = poisoned<T>(m * n);
      std::feclearexcept(FE_ALL_EXCEPT);
      call('N', 'T', m, n, k, &alpha, a.data(), m, b.data(), n, &zero, c.data(), m);
      EXPECT_FALSE(std::fetestexcept(FE_INVALID)) << "alpha != 0, M=" << m << " K=" << k;
      c = poisoned<T>(m * n);
      std::feclearexcept(FE_ALL_EXCEPT);
      call('N', 'T', m, n, k, &zero, a.data(), m, b.data(), n, &zero, c.data(), m);
      EXPECT_FALSE(std::fetestexcept(FE_INVALID)) << "alpha 0, M=" << m << " K=" << k;
    }
}

TEST(GemmScalars, BetaZeroRaisesNoInvalid) {
  beta_zero_raises_nothing<float>();
  beta_zero_raises_nothing<double>();
  beta_zero_raises_nothing<kaf_complex>();
  beta_zero_raises_nothing<kaf_dcomplex>();
}

TEST(GemmScalars, BetaZeroClearsNaNs) {
  beta_zero_clears<float>();
  beta_zero_clears<double>();
  beta_zero_clears<kaf_complex>();
  beta_zero_clears<kaf_dcomplex>();
}

// M = 0 or N = 0: C is not touched even though it holds garbage, and
// neither A nor B is read.
template <typename T> void empty_cases() {
  const T alpha = alpha_value<T>(), beta = from_real<T>(0, 0);
  auto c = poisoned<T>(64);
  const auto before = c;
  const T *none = nullptr;
  call('N', 'N', 0, 8, 8, &alpha, none, 1, none, 8, &beta, c.data(), 1);
  call('N', 'N', 8, 0, 8, &alpha, none, 8, none, 8, &beta, c.data(), 8);
  call('T', 'T', 0, 0, 0, &alpha, none, 1, none, 1, &beta, c.data(), 1);
  EXPECT_EQ(0, std::memcmp(c.data(), before.data(), sizeof(T) * c.size()));
}

TEST(GemmEmpty, NothingTouched) {
  empty_cases<float>();
  empty_cases<double>();
  empty_cases<kaf_complex>();
  empty_cases<kaf_dcomplex>();
}

// Infinities, NaNs and signed zeros in the operands propagate as in the
// loop. The sign and payload of a NaN are not part of the contract (the
// hardware picks one of two NaN operands), so NaN matches NaN.
template <typename T> bool same_value(T x, T y) {
  if constexpr (std::is_floating_point_v<T>) {
    return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0;
  } else {
    return same_value(x.re, y.re) && same_value(x.im, y.im);
  }
}

template <typename T> void special_operands() {
  std::mt19937_64 rng(8);
  const long m = 31, n = 13, k = 40;
  const T alpha = alpha_value<T>(), beta = beta_value<T>();
  auto a = random_matrix<T>(rng, m * k), b = random_matrix<T>(rng, k * n),
       c = random_matrix<T>(rng, m * n);
  const double specials[] = {INFINITY, -INFINITY, NAN, -0.0, 0.0};
  std::uniform_int_distribution<size_t> pa(0, a.size() - 1), pb(0, b.size() - 1);
  for (int t = 0; t < 12; ++t) {
    a[pa(rng)] = from_real<T>(specials[t % 5], specials[(t + 3) % 5]);
    b[pb(rng)] = from_real<T>(specials[(t + 1) % 5], specials[t % 5]);
  }
  for (char ta : {'N'})
    for (char tb : transes) {
      auto got = c, want = c;
      reference<T>(ta, tb, m, n, k, alpha, a, m, b, tb == 'N' ? k : n, beta, want, m);
      call(ta, tb, m, n, k, &alpha, a.data(), m, b.data(), tb == 'N' ? k : n, &beta, got.data(), m);
      for (size_t i = 0; i < got.size(); ++i)
        EXPECT_TRUE(same_value(got[i], want[i])) << tb << " element " << i;
    }
}

TEST(GemmSpecials, InfinitiesNaNsAndZeros) {
  special_operands<float>();
  special_operands<double>();
  special_operands<kaf_complex>();
  special_operands<kaf_dcomplex>();
}

// Two threads at once: one finds the shared work buffers taken and uses
// its own; both results are right.
TEST(GemmThreads, ConcurrentCallsAgreeWithLoop) {
  std::string bad[2];
  auto body = [&bad](int t) {
    std::mt19937_64 rng(100 + t);
    for (int rep = 0; rep < 30 && bad[t].empty(); ++rep)
      bad[t] = check_case<double>(rng, 'N', 'T', 57, 29, 100, alpha_value<double>(),
                                  beta_value<double>());
  };
  std::thread t0(body, 0), t1(body, 1);
  t0.join();
  t1.join();
  EXPECT_EQ(bad[0], "");
  EXPECT_EQ(bad[1], "");
}

}  // namespace
