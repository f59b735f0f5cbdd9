// The duplicate check of vector subscripts: short, narrow-range and wide-range
// vectors (each takes another path), the first repeat in element order, both
// messages and both element kinds.
#include <random>
#include <set>

#include "array_support.h"

using namespace arraytest;

namespace {

// The first value, in element order, that occurred earlier; none: -1 in found.
bool first_repeat(const std::vector<int64_t> &v, int64_t *value) {
  std::set<int64_t> seen;
  for (int64_t x : v) {
    if (!seen.insert(x).second) {
      *value = x;
      return true;
    }
  }
  return false;
}

// Runs the check in a child; returns its standard error ("" if it returned).
std::string check(const std::vector<int64_t> &v, bool i4, int64_t step, const char *name) {
  std::vector<int64_t> s64(v.size() * step + 1);
  std::vector<int32_t> s32(v.size() * step + 1);
  for (size_t i = 0; i < v.size(); ++i) {
    s64[i * step] = v[i];
    s32[i * step] = static_cast<int32_t>(v[i]);
  }
  desc d = i4 ? make_desc(s32.data(), {static_cast<int64_t>(v.size())}, {4 * step})
              : make_desc(s64.data(), {static_cast<int64_t>(v.size())}, {8 * step});
  kaftest::child_result r = kaftest::run_in_child([&] {
    if (i4)
      __KAFf90_check_vsubscript_i4_line("v.f90", 20, d.data(), name, 2);
    else
      __KAFf90_check_vsubscript_line("v.f90", 20, d.data(), name, 2);
  });
  if (r.exited) {
    EXPECT_EQ(r.exit_status, 0);
    EXPECT_EQ(r.err, "");
    return "";
  }
  EXPECT_EQ(r.signal, SIGABRT);
  return r.err;
}

std::string expected(const std::vector<int64_t> &v, const char *name) {
  int64_t value;
  if (!first_repeat(v, &value)) return "";
  const std::string ended = "Program terminated by fatal error\n";
  if (name)
    return "Runtime Error: v.f90, line 20: Left-hand side of assignment has vector subscript " +
           std::string(name) + " with duplicate value " + std::to_string(value) + "\n" + ended;
  return "Runtime Error: v.f90, line 20: Left-hand side of assignment has duplicate vector "
         "subscript value " +
         std::to_string(value) + " for dimension 2\n" + ended;
}

}  // namespace

TEST(VectorSubscript, RandomVectorsOfEveryPath) {
  std::mt19937_64 rng(9);
  for (int trial = 0; trial < 90; ++trial) {
    // Lengths below and above the comparison limit; ranges narrow and wide.
    const size_t n = trial % 3 == 0 ? rng() % 33 : 33 + rng() % 300;
    const bool wide = trial % 2;
    std::vector<int64_t> v(n);
    for (size_t i = 0; i < n; ++i) {
      v[i] = wide ? static_cast<int64_t>(rng()) / 3
                  : static_cast<int64_t>(rng() % (4 * n + 1)) - 2 * static_cast<int64_t>(n);
      if (wide && i > 0 && rng() % 50 == 0) v[i] = v[rng() % i];  // a planted repeat
    }
    if (trial % 5 == 0) {  // a permutation: no repeat at all
      for (size_t i = 0; i < n; ++i)
        v[i] = wide ? static_cast<int64_t>(i) * 1000003 - 7 : static_cast<int64_t>(i) - 5;
      std::shuffle(v.begin(), v.end(), rng);
    }
    const char *name = trial % 4 == 0 ? nullptr : "IDX";
    EXPECT_EQ(check(v, false, 1 + trial % 2, name), expected(v, name)) << "trial " << trial;
    if (!wide) {
      EXPECT_EQ(check(v, true, 1, name), expected(v, name)) << "i4 trial " << trial;
    }
  }
}

TEST(VectorSubscript, ReportsTheFirstRepeatNotTheSmallestValue) {
  // 9 repeats at position 4, 1 only at position 6.
  std::vector<int64_t> v = {9, 1, 5, 9, 7, 1};
  EXPECT_EQ(check(v, false, 1, nullptr), expected(v, nullptr));
  // The same beyond the comparison limit, wide range (sorted path).
  std::vector<int64_t> w;
  for (int64_t i = 0; i < 100; ++i) w.push_back(i * 1000000007);
  w[60] = w[50];
  w[70] = w[10];  // value of position 10: a smaller value, met later
  EXPECT_EQ(check(w, false, 1, "K"), expected(w, "K"));
}

TEST(VectorSubscript, ExtremeValuesAndEmpty) {
  std::vector<int64_t> v = {INT64_MIN, INT64_MAX};
  for (int i = 0; i < 40; ++i) v.push_back(i);
  EXPECT_EQ(check(v, false, 1, "J"), "");
  v.push_back(INT64_MIN);
  EXPECT_EQ(check(v, false, 1, "J"), expected(v, "J"));
  EXPECT_EQ(check({}, false, 1, "J"), "");
  EXPECT_EQ(check({5}, true, 1, "J"), "");
}

TEST(VectorSubscript, ForwardersReportWithoutLocation) {
  int64_t v64[3] = {4, 2, 4};
  int32_t v32[3] = {-1, -1, 0};
  desc d64 = make_desc(v64, {3}, {8}), d32 = make_desc(v32, {3}, {4});
  expect_fatal([&] { __KAFf90_check_vsubscript(d64.data(), "IV", 1); },
               "Left-hand side of assignment has vector subscript IV with duplicate value 4");
  expect_fatal([&] { __KAFf90_check_vsubscript_i4(d32.data(), nullptr, 3); },
               "Left-hand side of assignment has duplicate vector subscript value -1 for "
               "dimension 3");
}
