// Edges of the blocked computation on the path this processor uses, against
// the plain loop: tiles short in M with every remainder of every tile height
// (computed in place through lane masks where the vector unit has them),
// operands that end at an inaccessible page (masked loads and stores, and
// the packers, must not touch a byte past them), and
// narrow products over several row and depth blocks.
#include <gtest/gtest.h>

#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

template <typename T> class GemmEdges : public ::testing::Test {};
using Kinds = ::testing::Types<float, double, kaf_complex, kaf_dcomplex>;
TYPED_TEST_SUITE(GemmEdges, Kinds);

// Rows 1 .. 100 cover every remainder of the tile heights of every path
// (4 .. 48 rows) at least twice, the second time below a full tile; leading
// dimensions equal to the rows and larger; full-width and corner tiles.
TYPED_TEST(GemmEdges, EveryRowRemainder) {
  using T = TypeParam;
  std::mt19937_64 rng(41);
  const T alpha = from_real<T>(-0.625, 1.25), beta = from_real<T>(1.375, -0.5);
  const T zero = from_real<T>(0, 0);
  for (long m = 1; m <= 100; ++m)
    for (long n : {8L, 11L})
      for (long extra : {0L, 5L}) {
        const T b = (m + n) % 2 ? beta : zero;
        EXPECT_EQ(check_case<T>(rng, 'N', 'N', m, n, 9, alpha, b, extra), "");
      }
}

TYPED_TEST(GemmEdges, OperandsEndAtAnInaccessiblePage) {
  EXPECT_EQ(guarded_battery<TypeParam>(51), "");
}

// Few columns, many rows and a deep k (several row blocks of A in each of
// several depth blocks, and partial ones), with leading dimensions larger
// than needed.
TYPED_TEST(GemmEdges, NarrowProductsAcrossBlocks) {
  using T = TypeParam;
  std::mt19937_64 rng(42);
  const T alpha = from_real<T>(0.75, 0.25), beta = from_real<T>(0, 0);
  for (long n : {1L, 17L, 33L, 64L})
    EXPECT_EQ(check_case<T>(rng, 'N', n % 2 ? 'N' : 'T', 800, n, 600, alpha, beta, 7), "");
}

}  // namespace
