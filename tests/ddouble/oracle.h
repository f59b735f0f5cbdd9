// MPFR as the oracle of the double-double tests: exact conversions, error
// measurement in units of 2^-106 relative to the true result, and random
// double-double operands.
#pragma once

#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

#include "kafrts/ddouble.h"

#ifndef KAF_DD_SCALE
#define KAF_DD_SCALE 1
#endif

namespace ddtest {

// Operand counts of the random runs (divided in the sanitizer build).
inline constexpr long kMillion = 1000000 / KAF_DD_SCALE;
inline constexpr long kHundredK = 100000 / KAF_DD_SCALE;
inline constexpr long kTenK = 20000 / KAF_DD_SCALE;

inline std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }

inline std::string show(kaf_dd a) {
  char buf[96];
  std::snprintf(buf, sizeof buf, "(%a, %a)", a.hi, a.lo);
  return buf;
}

// Bitwise equality of the high parts (so -0 differs from +0) and of the low
// parts, where a zero low part may carry either sign (it does not change
// the value); NaNs compare as "both NaN".
inline bool same(kaf_dd a, kaf_dd b) {
  bool na = std::isnan(a.hi), nb = std::isnan(b.hi);
  if (na || nb) return na && nb;
  if (bits(a.hi) != bits(b.hi)) return false;
  return a.lo == 0.0 ? b.lo == 0.0 : bits(a.lo) == bits(b.lo);
}

// An MPFR number wide enough to hold any double-double exactly (hi and lo
// may be up to 2098 binary places apart).
struct Big {
  mpfr_t v;
  explicit Big(mpfr_prec_t prec = 2200) { mpfr_init2(v, prec); }
  ~Big() { mpfr_clear(v); }
  Big(const Big &) = delete;
  Big &operator=(const Big &) = delete;
  operator mpfr_ptr() { return v; }
};

inline void set_dd(mpfr_ptr r, kaf_dd a) {
  mpfr_set_d(r, a.hi, MPFR_RNDN);
  mpfr_add_d(r, r, a.lo, MPFR_RNDN);  // exact at 2200 bits
}

// Normalised double-double nearest to r (hi = RN(r), lo = RN(r - hi)).
inline kaf_dd get_dd(mpfr_ptr r) {
  Big t;
  double hi = mpfr_get_d(r, MPFR_RNDN);
  if (!std::isfinite(hi)) return kaf_dd{hi, 0.0};
  mpfr_sub_d(t, r, hi, MPFR_RNDN);
  return kaf_dd{hi, mpfr_get_d(t, MPFR_RNDN)};
}

// |got - ref| / |ref| in units of 2^-106. A zero ref with a zero result is
// no error; a zero ref otherwise is infinite error.
inline double err_units(kaf_dd got, mpfr_ptr ref) {
  if (mpfr_zero_p(ref)) return (got.hi == 0.0 && got.lo == 0.0) ? 0.0 : INFINITY;
  if (!std::isfinite(got.hi)) return INFINITY;
  Big d;
  set_dd(d, got);
  mpfr_sub(d, d, ref, MPFR_RNDN);
  mpfr_div(d, d, ref, MPFR_RNDN);
  mpfr_mul_2si(d, d, 106, MPFR_RNDN);
  return std::fabs(mpfr_get_d(d, MPFR_RNDN));
}

// |got - ref| / scale in units of 2^-106 (for errors measured against the
// operands' size rather than the result's).
inline double err_units_abs(kaf_dd got, mpfr_ptr ref, double scale) {
  Big d;
  set_dd(d, got);
  mpfr_sub(d, d, ref, MPFR_RNDN);
  mpfr_div_d(d, d, scale, MPFR_RNDN);
  mpfr_mul_2si(d, d, 106, MPFR_RNDN);
  return std::fabs(mpfr_get_d(d, MPFR_RNDN));
}

// True when a is normalised: hi is the binary64 nearest to hi + lo.
inline bool normalised(kaf_dd a) {
  if (!std::isfinite(a.hi)) return true;
  double s = a.hi + a.lo;
  return s == a.hi;
}

// Random double-doubles: a mantissa in [1, 2) with a random sign, an
// exponent in [emin, emax], and a random low part of at most half an ulp.
struct Gen {
  std::mt19937_64 rng;
  explicit Gen(std::uint64_t seed) : rng(seed) {}
  double unit() { return std::uniform_real_distribution<double>(1.0, 2.0)(rng); }
  double uniform(double a, double b) { return std::uniform_real_distribution<double>(a, b)(rng); }
  int expo(int emin, int emax) { return std::uniform_int_distribution<int>(emin, emax)(rng); }
  bool coin() { return (rng() & 1) != 0; }
  double dbl(int emin, int emax) {
    double m = std::ldexp(unit(), expo(emin, emax));
    return coin() ? -m : m;
  }
  kaf_dd with_lo(double hi) {
    if (!(std::fabs(hi) >= 0x1p-969)) return kaf_dd{hi, 0.0};  // no room for a low part
    double ulp = std::ldexp(1.0, std::ilogb(hi) - 52);
    double lo = uniform(-0.5, 0.5) * ulp;
    double s = hi + lo;
    double e = lo - (s - hi);
    return kaf_dd{s, e};
  }
  kaf_dd dd(int emin, int emax) { return with_lo(dbl(emin, emax)); }
  kaf_dd dd_pos(int emin, int emax) { return with_lo(std::ldexp(unit(), expo(emin, emax))); }
  // A double-double in [a, b).
  kaf_dd range(double a, double b) { return with_lo(uniform(a, b)); }
};

// Worst error over a run, with the argument that reached it.
struct Worst {
  double err = 0;
  std::string where;
  void note(double e, const std::string &w) {
    if (!(e <= err)) {
      err = e;
      where = w;
    }
  }
};

}  // namespace ddtest
