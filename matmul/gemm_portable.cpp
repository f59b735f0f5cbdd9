// Portable GEMM kernels: plain scalar code for any x86-64 (and the reference
// the vector kernels are tested against). A "register" is a pair of scalars.
#include "matmul/gemm_tiles.h"

namespace kaf_gemm {
namespace {

template <typename T> struct pair_ops {
  using Real = T;
  struct R {
    T v[2];
  };
  static constexpr int lanes = 2;
  static R load(const T *p) { return R{{p[0], p[1]}}; }
  static R loadu(const T *p) { return R{{p[0], p[1]}}; }
  static void storeu(T *p, R x) {
    p[0] = x.v[0];
    p[1] = x.v[1];
  }
  static R bcast(const T *p) { return R{{*p, *p}}; }
  static R zero() { return R{{T(0), T(0)}}; }
  static R mul(R x, R y) { return R{{x.v[0] * y.v[0], x.v[1] * y.v[1]}}; }
  static R add(R x, R y) { return R{{x.v[0] + y.v[0], x.v[1] + y.v[1]}}; }
};

}  // namespace

// 4 x 4 real tiles, 2 x 2 complex tiles; small blocks, as a plain loop
// gains little from more.
constinit const kernel_set<float> s_portable =
    make_set<float, tile_real, pair_ops<float>, 2, 4>(256, 128, 1024);
constinit const kernel_set<double> d_portable =
    make_set<double, tile_real, pair_ops<double>, 2, 4>(256, 128, 1024);
constinit const kernel_set<kaf_complex> c_portable =
    make_set<kaf_complex, tile_complex, pair_ops<float>, 2, 2>(256, 64, 512);
constinit const kernel_set<kaf_dcomplex> z_portable =
    make_set<kaf_dcomplex, tile_complex, pair_ops<double>, 2, 2>(256, 64, 512);

}  // namespace kaf_gemm
