// Differential test of namelist transfer against gfortran: random values go
// through gfortran's namelist WRITE and our READ, and through our WRITE and
// gfortran's READ (nml_oracle.f90); every value must come back bit for bit.
#include <gtest/gtest.h>

#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <vector>

#include "nml_support.h"

using nmltest::descriptor;
using nmltest::group_builder;

namespace {

struct opt {
  std::int32_t x;
  double y[2];
  char s[4];
};
const std::int64_t y_bounds[] = {1, 2};
const kaf_nml_component opt_components[] = {
    {"X", offsetof(opt, x), KAF_TYPE_I, 0, 0, nullptr, nullptr},
    {"Y", offsetof(opt, y), KAF_TYPE_D, 1, 0, nullptr, y_bounds},
    {"S", offsetof(opt, s), KAF_TYPE_CH, 0, 4, nullptr, nullptr},
};
const kaf_nml_dtype opt_type{"pt", sizeof(opt), 3, 0, opt_components};

// The oracle's group: i1, i2, i(3), i8, l(2), l1, r(2), d(2,2), c, z,
// s(2) of length 6, p and pa(2) of type pt.
struct vars {
  std::int8_t i1 = 0;
  std::int16_t i2 = 0;
  std::int32_t i[3] = {};
  std::int64_t i8 = 0;
  std::int32_t l[2] = {};
  std::int8_t l1 = 0;
  float r[2] = {};
  double d[4] = {};
  float c[2] = {};
  double z[2] = {};
  char s[2][6] = {};
  opt p{};
  opt pa[2] = {};
  descriptor i_d{i, 4, {{1, 3}}}, l_d{l, 4, {{1, 2}}}, r_d{r, 4, {{1, 2}}}, d_d{d, 8, {{1, 2}, {1, 2}}},
      s_d{s, 6, {{1, 2}}, true, 6}, pa_d{pa, sizeof(opt), {{1, 2}}, true, sizeof(opt)};
  group_builder g{"G"};
  vars() {
    g.scalar("i1", KAF_TYPE_I1, &i1)
        .scalar("i2", KAF_TYPE_I2, &i2)
        .array("i", KAF_TYPE_I, 1, i_d.get())
        .scalar("i8", KAF_TYPE_I4, &i8)
        .array("l", KAF_TYPE_L, 1, l_d.get())
        .scalar("l1", KAF_TYPE_L1, &l1)
        .array("r", KAF_TYPE_R, 1, r_d.get())
        .array("d", KAF_TYPE_D, 2, d_d.get())
        .scalar("c", KAF_TYPE_C, c)
        .scalar("z", KAF_TYPE_DC, z)
        .array("s", KAF_TYPE_CH, 1, s_d.get())
        .scalar("p", KAF_TYPE_DERIVED, &p, 0, &opt_type)
        .array("pa", KAF_TYPE_DERIVED, 1, pa_d.get(), &opt_type);
  }
  vars(const vars &) = delete;

  // The values as the oracle exchanges them.
  std::vector<std::int64_t> flat() const {
    std::vector<std::int64_t> v{i1, i2, i[0], i[1], i[2], i8, l[0] != 0, l[1] != 0, l1 != 0};
    for (float x : r) v.push_back(std::bit_cast<std::int32_t>(x));
    for (double x : d) v.push_back(std::bit_cast<std::int64_t>(x));
    for (float x : c) v.push_back(std::bit_cast<std::int32_t>(x));
    for (double x : z) v.push_back(std::bit_cast<std::int64_t>(x));
    for (const auto &t : s)
      for (char ch : t) v.push_back(static_cast<unsigned char>(ch));
    for (const opt *q : {&p, &pa[0], &pa[1]}) {
      v.push_back(q->x);
      for (double y : q->y) v.push_back(std::bit_cast<std::int64_t>(y));
      for (char ch : q->s) v.push_back(static_cast<unsigned char>(ch));
    }
    return v;
  }
};

// Values that both sides write with every digit needed: REAL is written
// with 8 digits by us (integers below 2^24 and small dyadic values are
// exact), DOUBLE PRECISION in the fixed form for dyadic values only.
double random_real(std::mt19937_64 &rng, bool single) {
  switch (rng() % 5) {
  case 0: return static_cast<double>(static_cast<std::int64_t>(rng() % 12800) - 6400) / 64.0;
  case 1: {
    static const double specials[] = {0.0, -0.0, HUGE_VAL, -HUGE_VAL, 1e-300, 5e-324, 1.7976931348623157e308};
    const double v = specials[rng() % 7];
    return single && v != 0 && std::isfinite(v) ? (v > 1 ? 3.4028234663852886e38 : 1e-30) : v;
  }
  case 2:
    if (single) return -static_cast<double>(100 + rng() % 16777116);
    return std::ldexp(1.0 + static_cast<double>(rng() % (1 << 20)) / (1 << 20),
                      rng() % 2 ? 7 + static_cast<int>(rng() % 1000) : -5 - static_cast<int>(rng() % 1000));
  default: {
    if (single) return static_cast<double>(100 + rng() % 16777116);
    std::uint64_t bits;
    do bits = rng(); while (!std::isfinite(std::bit_cast<double>(bits)) || std::fabs(std::bit_cast<double>(bits)) < 100);
    return std::bit_cast<double>(bits);
  }
  }
}

void randomise(vars &v, std::mt19937_64 &rng) {
  static const char alphabet[] = "abcXYZ '\"/,&$!=%()0123;*";
  auto chr = [&] { return alphabet[rng() % (sizeof alphabet - 1)]; };
  v.i1 = static_cast<std::int8_t>(rng());
  v.i2 = static_cast<std::int16_t>(rng());
  const auto same = static_cast<std::int32_t>(rng());
  for (auto &x : v.i) x = rng() % 2 ? same : static_cast<std::int32_t>(rng() >> (rng() % 32));
  v.i8 = static_cast<std::int64_t>(rng() >> (rng() % 64)) * (rng() % 2 ? 1 : -1);
  for (auto &x : v.l) x = static_cast<std::int32_t>(rng() % 2);
  v.l1 = static_cast<std::int8_t>(rng() % 2);
  // gfortran writes equal infinite or NaN neighbours as "2*" followed by
  // the value in its field, blanks first, which reads as null values under
  // the standard's rule (a blank after "r*"): such neighbours are kept apart.
  // Equal finite neighbours ("2*1.50000000") stay in the test.
  auto distinct = [&](auto *a, int n, bool single) {
    for (int k = 0; k < n; ++k) {
      if (k > 0 && std::isfinite(static_cast<double>(a[k - 1])) && rng() % 4 == 0) {
        a[k] = a[k - 1];
        continue;
      }
      do a[k] = static_cast<std::remove_reference_t<decltype(a[k])>>(random_real(rng, single));
      while (k > 0 && !std::isfinite(static_cast<double>(a[k])) && std::bit_cast<std::uint64_t>(static_cast<double>(a[k])) ==
                          std::bit_cast<std::uint64_t>(static_cast<double>(a[k - 1])));
    }
  };
  distinct(v.r, 2, true);
  distinct(v.d, 4, false);
  for (auto &x : v.c) x = static_cast<float>(random_real(rng, true));
  for (auto &x : v.z) x = random_real(rng, false);
  for (auto &t : v.s)
    for (auto &ch : t) ch = chr();
  for (opt *q : {&v.p, &v.pa[0], &v.pa[1]}) {
    q->x = static_cast<std::int32_t>(rng());
    distinct(q->y, 2, false);
    for (auto &ch : q->s) ch = chr();
  }
}

std::string temp_path(const char *tag) { return "/tmp/kaf_nmlgf_" + std::to_string(getpid()) + "_" + tag; }

bool run_oracle(const char *mode, const std::string &in, const std::string &out, int n) {
  const std::string cmd = std::string(KAF_NML_ORACLE) + " " + mode + " " + in + " " + out + " " + std::to_string(n);
  return std::system(cmd.c_str()) == 0;
}

std::int32_t open_unit(std::int64_t unit, const std::string &path, const char *status) {
  kaf_open_spec s{};
  s.file = path.c_str();
  s.file_len = path.size();
  s.status = status;
  s.status_len = std::strlen(status);
  return __KAFf90_openf4x(nullptr, 0, unit, &s);
}

constexpr int kCases = 300;

}  // namespace

TEST(NamelistGfortran, WeReadWhatGfortranWrites) {
  ASSERT_STRNE(KAF_NML_ORACLE, "") << "gfortran is needed for this test";
  std::mt19937_64 rng(4242);
  std::vector<std::vector<std::int64_t>> want;
  const std::string values = temp_path("values_in"), text = temp_path("gfortran.nml");
  {
    std::ofstream f(values);
    for (int k = 0; k < kCases; ++k) {
      vars v;
      randomise(v, rng);
      want.push_back(v.flat());
      for (std::int64_t x : want.back()) f << x << "\n";
    }
  }
  ASSERT_TRUE(run_oracle("w", values, text, kCases));
  ASSERT_EQ(open_unit(41, text, "OLD"), 0);
  for (int k = 0; k < kCases; ++k) {
    vars v;
    kaf_ioctx_space space;
    auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
    std::int32_t iostat = 0;
    char iomsg[200] = {};
    ASSERT_EQ(__KAFf90_read_seq4(ctx, nullptr, 0, 41, &iostat, iomsg, sizeof iomsg - 1, KAF_IO_ERR), 0);
    ASSERT_EQ(__KAFf90_do_read_namelist(ctx, v.g.get()), 0) << "case " << k << ": " << iomsg;
    ASSERT_EQ(__KAFf90_end_read_sequential(ctx), 0);
    const auto got = v.flat();
    for (std::size_t j = 0; j < got.size(); ++j) EXPECT_EQ(got[j], want[k][j]) << "case " << k << " value " << j;
  }
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 41, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  if (!HasFailure()) {
    std::remove(values.c_str());
    std::remove(text.c_str());
  }
}

TEST(NamelistGfortran, GfortranReadsWhatWeWrite) {
  ASSERT_STRNE(KAF_NML_ORACLE, "") << "gfortran is needed for this test";
  std::mt19937_64 rng(777);
  std::vector<std::vector<std::int64_t>> want;
  const std::string text = temp_path("ours.nml"), values = temp_path("values_out");
  ASSERT_EQ(open_unit(42, text, "REPLACE"), 0);
  for (int k = 0; k < kCases; ++k) {
    vars v;
    randomise(v, rng);
    want.push_back(v.flat());
    kaf_ioctx_space space;
    auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
    ASSERT_EQ(__KAFf90_write_seq(ctx, nullptr, 0, 42, nullptr, nullptr, 0, 0), 0);
    ASSERT_EQ(__KAFf90_do_write_namelist(ctx, v.g.get()), 0);
    ASSERT_EQ(__KAFf90_end_write_sequential(ctx), 0);
  }
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 42, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  ASSERT_TRUE(run_oracle("r", text, values, kCases));
  std::ifstream f(values);
  for (int k = 0; k < kCases; ++k) {
    std::vector<std::int64_t> got(want[k].size());
    for (auto &x : got) f >> x;
    ASSERT_TRUE(f) << "case " << k;
    for (std::size_t j = 0; j < got.size(); ++j) EXPECT_EQ(got[j], want[k][j]) << "case " << k << " value " << j;
  }
  if (!HasFailure()) {
    std::remove(values.c_str());
    std::remove(text.c_str());
  }
}
