// Real input: scanning a field and converting it, correctly rounded for any
// number of digits and every real kind, in the statement's rounding mode.
#include "format/freal_read.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace kaf::freal {
namespace {

const dec::binary_format &format_of(real_kind kind) {
  switch (kind) {
    case real_kind::half: return dec::kHalf;
    case real_kind::single: return dec::kSingle;
    default: return dec::kDouble;
  }
}

}  // namespace

real_input convert_digits(const scan::digit_sink &s, bool negative, std::int64_t exp10, const input_spec &spec,
                   real_kind kind) {
  real_input r{0, false, 0.0, 0.0};
  // Trailing zeros of the kept digits only scale.
  int n = s.n;
  std::int64_t e = exp10 + s.dropped;
  while (n > 0 && s.digits[n - 1] == '0') {
    --n;
    ++e;
  }
  dec::decimal_number number{s.digits, n, s.sticky, e};
  dec::rmode m = dec::magnitude_mode(spec.round_mode, negative);
  if (kind == real_kind::ddouble) {
    kaf_dd v = dec::to_double_double(number, m, &r.overflow);
    r.hi = v.hi;
    r.lo = v.lo;
  } else {
    r.hi = dec::to_binary(number, format_of(kind), m, &r.overflow);
  }
  if (negative) {
    r.hi = -r.hi;
    r.lo = -r.lo;
  }
  return r;
}

namespace {
struct text_source {
  const char *p;
  std::size_t left;
  std::uint64_t operator()(std::uint32_t *ch) {
    if (left == 0) {
      *ch = 0;
      return 0;
    }
    *ch = static_cast<unsigned char>(*p++);
    --left;
    if (*ch == 0) *ch = 1;  // a NUL in the field is a stray character
    return 0;
  }
};
}  // namespace

real_input scan_real_text(const char *text, std::size_t len, const input_spec &spec, real_kind kind) {
  text_source src{text, len};
  real_input r;
  scan_real(src, spec, kind, &r);
  return r;
}

std::uint16_t half_bits(double v) {
  std::uint16_t sign = std::signbit(v) ? 0x8000 : 0;
  double a = std::fabs(v);
  if (std::isnan(v)) return static_cast<std::uint16_t>(sign | 0x7E00);
  if (std::isinf(a) || a >= 65536.0) return static_cast<std::uint16_t>(sign | 0x7C00);
  if (a == 0) return sign;
  int e;
  double f = std::frexp(a, &e);  // a = f * 2^e, 0.5 <= f < 1
  if (e < -13) {
    // subnormal: a = m * 2^-24
    return static_cast<std::uint16_t>(sign | static_cast<std::uint16_t>(std::ldexp(a, 24)));
  }
  auto m = static_cast<std::uint16_t>(std::ldexp(f, 11));  // 1024..2047
  return static_cast<std::uint16_t>(sign | ((e + 14) << 10) | (m & 0x3FF));
}

double half_value(std::uint16_t bits) {
  int e = (bits >> 10) & 0x1F;
  int m = bits & 0x3FF;
  double v;
  if (e == 0x1F) v = m ? std::nan("") : HUGE_VAL;
  else if (e == 0) v = std::ldexp(m, -24);
  else v = std::ldexp(m | 0x400, e - 25);
  return bits & 0x8000 ? -v : v;
}

}  // namespace kaf::freal
