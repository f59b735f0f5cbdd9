// Independent references for the real conversions: glibc's printf and
// strtod for round to nearest, MPFR for the directed modes, and a random
// source of doubles that reaches every exponent, subnormals and ties.
#pragma once

#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <bit>
#include <cstring>
#include <random>
#include <string>

#include "format/decimal.h"

namespace oracle {

// MPFR's rounding for a statement rounding code (1 RU, 2 RD, 3 RZ) on a
// signed value; nearest modes are served elsewhere.
inline mpfr_rnd_t mpfr_mode(unsigned round_mode) {
  switch (round_mode) {
    case 1: return MPFR_RNDU;
    case 2: return MPFR_RNDD;
    case 3: return MPFR_RNDZ;
    default: return MPFR_RNDN;
  }
}

// Random doubles: uniform bit patterns (every exponent), subnormals, small
// integers and halves (decimal ties), and values with few significant bits.
inline double random_double(std::mt19937_64 &rng) {
  std::uint64_t r = rng();
  switch (r % 8) {
    case 0: {  // subnormal
      std::uint64_t b = rng() & 0x000FFFFFFFFFFFFFull;
      return std::bit_cast<double>(b ? b : 1);
    }
    case 1:  // a tie at some decimal position: few bits after the point
      return static_cast<double>(rng() % 100000) / 8.0 + 0.125;
    case 2:  // integers and exact halves
      return static_cast<double>(rng() % 1000000) + 0.5 * static_cast<double>(rng() % 2);
    case 3: {  // few significant bits, any scale
      double m = static_cast<double>(rng() % 4096 + 1);
      return std::ldexp(m, static_cast<int>(rng() % 200) - 100);
    }
    default: {
      std::uint64_t b = rng() & 0x7FFFFFFFFFFFFFFFull;
      if ((b >> 52) == 0x7FF) b &= 0x3FFFFFFFFFFFFFFFull;
      return std::bit_cast<double>(b == 0 ? 1 : b);
    }
  }
}

// "%.*e" of |x| with p digits after the point, rounded in `mode` (code as in
// the I/O context; 0/4 by glibc, 5 ties away by MPFR with a tie check).
std::string sci(double hi, double lo, int p, unsigned mode, bool negative);
// "%.*f" likewise.
std::string fixed(double hi, double lo, int p, unsigned mode, bool negative);

// Our digits as the same "%.*e" / "%.*f" string.
std::string sci_of(const kaf::dec::decimal_digits &d, int p);
std::string fixed_of(const kaf::dec::decimal_digits &d, int p);

}  // namespace oracle
