// What list-directed output writes, list-directed input reads back as the
// written decimal text correctly rounded (glibc's strtod/strtof decide),
// and every value written in the exponent form comes back bit-identical:
// one million random doubles and one million random REALs.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>

#include "lioctx.h"

using kaftest::lioctx;

namespace {

constexpr int kValues = 1000000;
constexpr int kBatch = 2000;

template <typename T>
T random_value(std::mt19937_64 &rng, int i) {
  using Bits = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
  for (;;) {
    T v;
    if (i % 4 == 0) {
      // The fixed-form range 0.1 <= |x| < 100 and its edges.
      v = static_cast<T>(std::ldexp(static_cast<double>(rng() >> 11), -53) * 120.0);
      if (rng() & 1) v = -v;
    } else {
      Bits b = static_cast<Bits>(rng());
      std::memcpy(&v, &b, sizeof v);
    }
    if (std::isfinite(v)) return v;
  }
}

std::vector<std::string> tokens_of(const lioctx &m) {
  std::vector<std::string> t;
  std::istringstream in(m.text());
  std::string w;
  while (in >> w) t.push_back(w);
  return t;
}

template <typename T>
void round_trip(std::uint64_t seed) {
  constexpr bool is_double = sizeof(T) == 8;
  std::mt19937_64 rng(seed);
  long exponent_forms = 0, fixed_forms = 0, identical = 0;
  for (int done = 0; done < kValues; done += kBatch) {
    std::vector<T> values(kBatch);
    for (int i = 0; i < kBatch; ++i) values[i] = random_value<T>(rng, done + i);
    lioctx out;
    kaftest::begin_output(out, {.width = 2048, .internal = false});
    for (T v : values) {
      const std::int32_t s = is_double ? __KAFf90_lio_write_d(&out.ctx, static_cast<double>(v))
                                       : __KAFf90_lio_write_r(&out.ctx, static_cast<float>(v));
      ASSERT_EQ(s, 0);
    }
    const std::vector<std::string> text = tokens_of(out);
    ASSERT_EQ(text.size(), values.size());
    std::vector<std::string> records = out.records;
    records.push_back(out.text().substr(out.text().rfind('\n', out.text().size() - 2) + 1));
    records.back().pop_back();
    lioctx in;
    kaftest::begin_input(in, records);
    for (int i = 0; i < kBatch; ++i) {
      T got;
      const std::int32_t s = is_double ? __KAFf90_lio_read_d(&in.ctx, reinterpret_cast<double *>(&got))
                                       : __KAFf90_lio_read_r(&in.ctx, reinterpret_cast<float *>(&got));
      ASSERT_EQ(s, 0) << text[i];
      const T want = is_double ? static_cast<T>(std::strtod(text[i].c_str(), nullptr))
                               : static_cast<T>(std::strtof(text[i].c_str(), nullptr));
      ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0) << text[i];
      const std::size_t e = text[i].find('E');
      if (e != std::string::npos) {
        ++exponent_forms;
        // The written digits are the value's own, correctly rounded
        // (glibc's printf decides) ...
        char ref[64];
        std::snprintf(ref, sizeof ref, "%.*E", is_double ? 16 : 7, static_cast<double>(values[i]));
        const std::string r(ref);
        ASSERT_EQ(text[i].substr(0, e), r.substr(0, r.find('E'))) << text[i];
        ASSERT_EQ(std::atoi(text[i].c_str() + e + 1), std::atoi(ref + r.find('E') + 1)) << text[i];
        // ... so the value comes back whenever those digits single it out:
        // always for the 17 of a double, mostly for the 8 of a REAL.
        if (std::memcmp(&want, &values[i], sizeof want) == 0) ++identical;
        else ASSERT_FALSE(is_double) << text[i];
      } else {
        ++fixed_forms;
      }
    }
  }
  // Both forms were exercised in quantity.
  EXPECT_GT(exponent_forms, kValues / 2);
  EXPECT_GT(fixed_forms, kValues / 8);
  if (is_double) EXPECT_EQ(identical, exponent_forms);
  else EXPECT_GT(identical, exponent_forms * 9 / 10);
}

}  // namespace

TEST(ListRoundTrip, MillionDoubles) { round_trip<double>(20261122); }
TEST(ListRoundTrip, MillionReals) { round_trip<float>(1122); }
