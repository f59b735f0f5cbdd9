// Conversion between the double-double kind and IEEE half precision
// (binary16, passed as its 16-bit pattern, as the half item entries take
// it). Half to double-double is exact. Double-double to half rounds the
// value hi + lo once, to nearest with ties to even: the high part alone
// decides except when it lies exactly halfway between two halves, where the
// sign of the low part breaks the tie. Results past the largest half
// (65504) round to infinity from 65520 up; results below the normal range
// are rounded to the subnormal grid (multiples of 2^-24). The IEEE
// exceptions of a binary conversion are raised: overflow, underflow (tiny
// and inexact) and inexact.
#include <cfenv>
#include <cmath>
#include <cstdint>

#include "ddouble/dd_arith.h"
#include "kafrts/ddouble.h"

namespace kafdd {

namespace {

constexpr std::uint16_t half_inf = 0x7c00;

[[gnu::cold]] void raise_flags(int flags) { std::feraiseexcept(flags); }

std::uint16_t to_half(dd x) {
  std::uint64_t b = std::bit_cast<std::uint64_t>(x.hi);
  std::uint16_t sign = static_cast<std::uint16_t>((b >> 48) & 0x8000);
  int exp = static_cast<int>((b >> 52) & 0x7ff);
  std::uint64_t mant = b & 0xfffffffffffffULL;
  if (exp == 0x7ff) {
    if (mant == 0) return sign | half_inf;
    // NaN: quiet, keeping the leading bits of the payload.
    return static_cast<std::uint16_t>(sign | 0x7e00 | ((mant >> 42) & 0x1ff));
  }
  if (x.hi == 0.0) return sign;
  int e = exp - 1023;  // binary64 subnormals give e = -1023: far below half
  std::uint64_t m = mant | (1ULL << 52);
  // Bits of m below the last place of the half result: 42 for a normal
  // half, more below 2^-14 where the grid is fixed at 2^-24.
  int shift = e >= -14 ? 42 : 42 + (-14 - e);
  if (shift > 60) {  // below 2^-26: rounds to zero
    raise_flags(FE_UNDERFLOW | FE_INEXACT);
    return sign;
  }
  std::uint64_t kept = m >> shift;
  std::uint64_t rem = m & ((1ULL << shift) - 1);
  std::uint64_t halfway = 1ULL << (shift - 1);
  bool up;
  if (rem != halfway)
    up = rem > halfway;
  else if (x.lo != 0.0)
    up = sign_bit(x.lo) == sign_bit(x.hi);  // |hi + lo| beyond the midpoint
  else
    up = (kept & 1) != 0;
  bool inexact = rem != 0 || x.lo != 0.0;
  kept += up ? 1 : 0;
  std::uint32_t bits;
  if (e >= -14) {
    // A carry out of the 11-bit significand moves into the exponent.
    bits = (static_cast<std::uint32_t>(e + 15) << 10) + static_cast<std::uint32_t>(kept - 1024);
    if (bits >= half_inf) {
      raise_flags(FE_OVERFLOW | FE_INEXACT);
      return sign | half_inf;
    }
  } else {
    bits = static_cast<std::uint32_t>(kept);  // 1024 is the smallest normal
    if (inexact && bits < 1024) raise_flags(FE_UNDERFLOW | FE_INEXACT);
  }
  if (inexact) raise_flags(FE_INEXACT);
  return static_cast<std::uint16_t>(sign | bits);
}

dd from_half(std::uint16_t h) {
  double sign = (h & 0x8000) ? -1.0 : 1.0;
  int exp = (h >> 10) & 0x1f;
  int mant = h & 0x3ff;
  if (exp == 0x1f) {
    if (mant == 0) return dd{sign * INFINITY, 0.0};
    // NaN: quiet, the payload in the leading bits of the binary64's.
    std::uint64_t b = (h & 0x8000) ? 0x8000000000000000ULL : 0;
    b |= 0x7ff8000000000000ULL | (static_cast<std::uint64_t>(mant & 0x1ff) << 42);
    return dd{std::bit_cast<double>(b), 0.0};
  }
  double v = exp == 0 ? mant * 0x1p-24 : (1024 + mant) * ldexp_(1.0, exp - 25);
  return dd{sign * v, 0.0};
}

}  // namespace

}  // namespace kafdd

extern "C" {

uint16_t __KAFf90_real_dd_h(kaf_dd x) { return kafdd::to_half(x); }
kaf_dd __KAFf90_real_h_dd(uint16_t h) { return kafdd::from_half(h); }

}  // extern "C"
