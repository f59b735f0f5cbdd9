// Exact and fast conversion between binary floating point (half, single,
// double and double-double) and decimal digit strings, correctly rounded in
// every rounding mode. The real editors and the real readers are built on it;
// it knows nothing about fields, signs or the I/O context.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kafrts/common.h"

namespace kaf::dec {

// Rounding as seen on the magnitude. A statement's RU/RD become toward_zero
// or away_from_zero once the sign is known (magnitude_mode).
enum class rmode : std::uint8_t { nearest_even, nearest_away, toward_zero, away_from_zero };

// The statement's rounding mode code (0 processor, 1 up, 2 down, 3 zero,
// 4 nearest, 5 compatible) for a value of the given sign.
constexpr rmode magnitude_mode(unsigned round_mode, bool negative) {
  switch (round_mode) {
    case 1: return negative ? rmode::toward_zero : rmode::away_from_zero;
    case 2: return negative ? rmode::away_from_zero : rmode::toward_zero;
    case 3: return rmode::toward_zero;
    case 5: return rmode::nearest_away;
    default: return rmode::nearest_even;
  }
}

// Most significant digits the exact expansion of any double-double can have
// (2^2098 * 5^1074 has 1384); the digits of a longer request are zeros.
inline constexpr int kMaxExactDigits = 1400;

// Result of a binary-to-decimal conversion: the magnitude is
// 0.d[0]d[1]...d[n-1] x 10^decpt, followed by zeros when more digits were
// asked for than n. d[0] is not '0' unless n is 0 (the value rounded to 0).
struct decimal_digits {
  int n;
  int decpt;
  char d[kMaxExactDigits + 2];
};

// |hi + lo| rounded to ndig >= 1 significant digits under m. Precondition:
// hi + lo finite and nonzero, |lo| <= ulp(hi) (lo is 0 for the narrower kinds,
// which convert to double exactly). A double takes a 128-bit fast path when it
// can decide the rounding, otherwise the exact expansion.
void to_significant(double hi, double lo, int ndig, rmode m, decimal_digits &out);

// |hi + lo| rounded to a multiple of 10^-frac under m (F editing with frac
// digits after the decimal symbol; frac may be negative for whole tens).
// out.n is 0 when the value rounds to zero; otherwise out.n <= decpt + frac.
void to_fixed(double hi, double lo, int frac, rmode m, decimal_digits &out);

// The exact path of the two above, which also serves double-double values:
// the value expanded completely in base 10^9, the digit string then rounded.
void dd_format_E(double hi, double lo, int ndig, rmode m, decimal_digits &out);
void dd_format_F(double hi, double lo, int frac, rmode m, decimal_digits &out);

// Every digit of |hi + lo| exactly (trailing zeros trimmed); hi + lo nonzero.
void expand_exact(double hi, double lo, decimal_digits &out);

// Binary formats the readers produce.
struct binary_format {
  int precision;  // significand bits, hidden bit included
  int emin;       // exponent of the smallest normal: 2^emin
  int emax;       // largest finite value < 2^(emax+1)
};
inline constexpr binary_format kHalf{11, -14, 15};
inline constexpr binary_format kSingle{24, -126, 127};
inline constexpr binary_format kDouble{53, -1022, 1023};

// A decimal number as read from a field: digits (significant ones, the
// first not '0', no more than kMaxInputDigits of them, as ASCII) times
// 10^exp10, with `sticky` set when nonzero digits were dropped past the
// digits kept. n == 0 is zero.
inline constexpr int kMaxInputDigits = 1200;
struct decimal_number {
  const char *digits;
  int n;
  bool sticky;
  std::int64_t exp10;
  std::uint64_t head = 0;  // the value of digits[0..head_n), when a reader
  int head_n = 0;          // has it already (head_n = min(n, 19)); else 0
};

// The correctly rounded value of |number| in format f under m, as a double
// (exactly representable in f). *overflow is set when the rounded magnitude
// is beyond f's largest finite value (the result is then infinity or, for
// rounding toward zero, the largest finite value).
double to_binary(const decimal_number &number, const binary_format &f, rmode m, bool *overflow);

// The double-double nearest the decimal value: hi is |number| rounded to
// nearest double, lo is the rest rounded under m, so that hi + lo is the
// value rounded in m's direction at double-double precision.
kaf_dd to_double_double(const decimal_number &number, rmode m, bool *overflow);

}  // namespace kaf::dec
