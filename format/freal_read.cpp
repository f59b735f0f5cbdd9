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

real_input convert_digits(const scan::digit_sink &s, bool negative, std::int64_t exp10, const input_spec &how,
                   real_kind kind) {
  real_input r{0, false, 0.0, 0.0};
  // Trailing zeros of the kept digits only scale.
  int n = s.n;
  std::int64_t e = exp10 + s.dropped;
  while (n > 0 && s.digits[n - 1] == '0') {
    --n;
    ++e;
  }
  // head held the first min(s.n, 19) digits; trimming may have shortened it.
  int head_n = s.n < 19 ? s.n : 19;
  std::uint64_t head = s.head;
  for (; head_n > n; --head_n) head /= 10;
  dec::decimal_number number{s.digits, n, s.sticky, e, head, head_n};
  dec::rmode m = dec::magnitude_mode(how.round_mode, negative);
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

namespace {

// Eight ASCII digits at p, as fast_float checks and parses them.
bool eight_digits(const unsigned char *p, std::uint64_t *value) {
  std::uint64_t v;
  std::memcpy(&v, p, 8);
  if ((((v & 0xF0F0F0F0F0F0F0F0ull) | (((v + 0x0606060606060606ull) & 0xF0F0F0F0F0F0F0F0ull) >> 4))) !=
      0x3333333333333333ull)
    return false;
  v = (v & 0x0F0F0F0F0F0F0F0Full) * 2561 >> 8;
  v = (v & 0x00FF00FF00FF00FFull) * 6553601 >> 16;
  *value = (v & 0x0000FFFF0000FFFFull) * 42949672960001ull >> 32;
  return true;
}

bool is_digit_byte(unsigned char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool scan_real_plain(const unsigned char *p, const unsigned char *end, const input_spec &how,
                     real_kind kind, real_input *out) {
  if (how.blank_zero) return false;
  while (p < end && (*p == ' ' || *p == '\t')) ++p;
  bool negative = false;
  if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
  scan::digit_sink s;
  int n = 0;
  std::uint64_t head = 0;
  std::int64_t after_point = 0;
  bool point = false, any = false;
  for (;;) {
    if (p < end && is_digit_byte(*p)) {
      any = true;
      if (n == 0 && *p == '0') {
        if (point) ++after_point;
        ++p;
        continue;
      }
      std::uint64_t eight;
      if (n + 8 <= 19 && end - p >= 8 && eight_digits(p, &eight)) {
        std::memcpy(s.digits + n, p, 8);
        head = head * 100000000 + eight;
        n += 8;
        if (point) after_point += 8;
        p += 8;
        continue;
      }
      if (n >= dec::kMaxInputDigits) return false;
      s.digits[n++] = static_cast<char>(*p);
      if (n <= 19) head = head * 10 + static_cast<std::uint64_t>(*p - '0');
      if (point) ++after_point;
      ++p;
    } else if (p < end && *p == static_cast<unsigned char>(how.decimal_char) && !point) {
      point = true;
      ++p;
    } else {
      break;
    }
  }
  if (!any) return false;
  std::int64_t shift = -after_point;
  if (!point && how.d > 0) shift -= how.d;
  std::int64_t exponent = 0;
  bool has_exponent = false;
  if (p < end && (*p == 'E' || *p == 'e' || *p == 'D' || *p == 'd' || *p == '+' || *p == '-')) {
    if (*p != '+' && *p != '-') ++p;
    bool eneg = false;
    if (p < end && (*p == '+' || *p == '-')) eneg = *p++ == '-';
    if (p == end || !is_digit_byte(*p)) return false;
    while (p < end && is_digit_byte(*p)) {
      if (exponent < scan::kExponentCap) exponent = exponent * 10 + (*p - '0');
      ++p;
    }
    if (eneg) exponent = -exponent;
    has_exponent = true;
  }
  while (p < end && (*p == ' ' || *p == '\t')) ++p;
  if (p != end) return false;
  s.n = n;
  s.any = true;
  s.head = head;
  *out = convert_digits(s, negative, shift + (has_exponent ? exponent : -static_cast<std::int64_t>(how.scale)),
                        how, kind);
  return true;
}

real_input scan_real_text(const char *text, std::size_t len, const input_spec &how, real_kind kind) {
  real_input r;
  const auto *p = reinterpret_cast<const unsigned char *>(text);
  if (std::memchr(text, 0, len) == nullptr && scan_real_plain(p, p + len, how, kind, &r)) return r;
  return scan_real_text_general(text, len, how, kind);
}

real_input scan_real_text_general(const char *text, std::size_t len, const input_spec &how, real_kind kind) {
  text_source src{text, len};
  real_input r;
  scan_real(src, how, kind, &r);
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
