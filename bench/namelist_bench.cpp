// Namelist WRITE and READ through a file with our libraries, the same work
// as bench/namelist_gf.f90: one group holding two arrays of 200,000 values
// ("array"), or 20,000 statements on a group of four scalars ("small").
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kafrts.h"

namespace {

constexpr int n = 200000, m = 20000;

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

int open_unit(const char *path, const char *status) {
  kaf_open_spec s{};
  s.file = path;
  s.file_len = std::strlen(path);
  s.status = status;
  s.status_len = std::strlen(status);
  return __KAFf90_openf4x(nullptr, 0, 20, &s);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) return 2;
  const std::string shape = argv[1];
  const char *path = argv[2];
  std::vector<double> x(n), y(n);
  std::vector<std::int32_t> k(n), kk(n);
  std::mt19937_64 rng(1);
  std::uniform_real_distribution<double> u(0, 1);
  for (int j = 0; j < n; ++j) {
    const double r = u(rng), s = u(rng);
    x[j] = r * std::pow(10.0, static_cast<int>(s * 11) - 5);
    k[j] = static_cast<std::int32_t>(r * 1e6);
  }
  y = x;
  kk = k;
  std::int64_t x_d[] = {reinterpret_cast<std::int64_t>(x.data()), -8, n, 8, 1};
  std::int64_t k_d[] = {reinterpret_cast<std::int64_t>(k.data()), -4, n, 4, 1};
  const kaf_nml_object big_objects[] = {{"x", KAF_TYPE_D, 1, nullptr, x_d, 0, nullptr},
                                        {"k", KAF_TYPE_I, 1, nullptr, k_d, 0, nullptr}};
  const kaf_nml_group big{"big", 2, 0, big_objects};
  std::int32_t i = 0, b = 0;
  double d = 0;
  char t[8];
  const kaf_nml_object small_objects[] = {{"i", KAF_TYPE_I, 0, &i, nullptr, 0, nullptr},
                                          {"d", KAF_TYPE_D, 0, &d, nullptr, 0, nullptr},
                                          {"t", KAF_TYPE_CH, 0, t, nullptr, 8, nullptr},
                                          {"b", KAF_TYPE_L, 0, &b, nullptr, 0, nullptr}};
  const kaf_nml_group small{"small", 4, 0, small_objects};
  kaf_ioctx_space space;
  auto *io = reinterpret_cast<kaf_ioctx *>(&space);

  auto t0 = std::chrono::steady_clock::now();
  if (open_unit(path, "REPLACE")) return 1;
  if (shape == "small") {
    for (int j = 1; j <= m; ++j) {
      i = j;
      d = x[j - 1];
      std::memcpy(t, "value   ", 8);
      b = j % 2 == 0;
      if (__KAFf90_write_seq(io, nullptr, 0, 20, nullptr, nullptr, 0, 0) || __KAFf90_do_write_namelist(io, &small) ||
          __KAFf90_end_write_sequential(io))
        return 1;
    }
  } else if (__KAFf90_write_seq(io, nullptr, 0, 20, nullptr, nullptr, 0, 0) || __KAFf90_do_write_namelist(io, &big) ||
             __KAFf90_end_write_sequential(io)) {
    return 1;
  }
  __KAFf90_close4(nullptr, 0, 20, nullptr, 0, nullptr, nullptr, 0, 0);
  const double write_s = seconds_since(t0);

  std::fill(x.begin(), x.end(), 0.0);
  std::fill(k.begin(), k.end(), 0);
  int ok = 0;
  t0 = std::chrono::steady_clock::now();
  if (open_unit(path, "OLD")) return 1;
  if (shape == "small") {
    for (int j = 1; j <= m; ++j) {
      if (__KAFf90_read_seq4(io, nullptr, 0, 20, nullptr, nullptr, 0, 0) || __KAFf90_do_read_namelist(io, &small) ||
          __KAFf90_end_read_sequential(io))
        return 1;
      ok += d == y[j - 1];
    }
  } else {
    if (__KAFf90_read_seq4(io, nullptr, 0, 20, nullptr, nullptr, 0, 0) || __KAFf90_do_read_namelist(io, &big) ||
        __KAFf90_end_read_sequential(io))
      return 1;
    for (int j = 0; j < n; ++j) ok += x[j] == y[j] && k[j] == kk[j];
  }
  __KAFf90_close4(nullptr, 0, 20, nullptr, 0, nullptr, nullptr, 0, 0);
  const double read_s = seconds_since(t0);
  std::printf("kafrts   %s write %.3f s read %.3f s (%d values back)\n", shape.c_str(), write_s, read_s, ok);
  return 0;
}
