// Output of INTEGER and LOGICAL items under I, B, O, Z, G and L editing
// (and A for the legacy twins), and the asterisk field.
//
// G0 of a LOGICAL item writes T or F (the width-zero form of L); G0.d of a
// LOGICAL item is refused like G0.d of an INTEGER one.
#include <bit>
#include <cstring>
#include <type_traits>

#include "format/context.h"

namespace {

constexpr int E_INTEGER_EDIT = 1035, E_LOGICAL_EDIT = 1036, E_EDIT_FOR_TYPE = 1148;

// Two decimal digits per table entry: "00" to "99".
constexpr struct DigitPairs {
  char text[200];
  constexpr DigitPairs() : text() {
    for (int i = 0; i < 100; ++i) {
      text[2 * i] = static_cast<char>('0' + i / 10);
      text[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
  }
} digit_pairs;

// The eight decimal digits of n < 10^8 (leading zeros included) at out,
// converted in parallel: two 4-digit lanes, each split into 2-digit and
// then 1-digit lanes by multiplications that cannot carry between lanes.
// The result holds one digit value (0 to 9) per byte, the most significant
// digit in the lowest byte, so that it can be stored as it is.
inline std::uint64_t eight_digits(std::uint32_t n) {
  const std::uint64_t hi = n / 10000, lo = n % 10000;
  std::uint64_t v = hi | (lo << 32);
  const std::uint64_t q = ((v * 5243) >> 19) & 0x0000007F0000007Fu;  // / 100 per lane
  v = ((v - q * 100) << 16) | q;
  const std::uint64_t t = ((v * 103) >> 10) & 0x000F000F000F000Fu;   // / 10 per lane
  return ((v - t * 10) << 8) | t;
}

// Writes the decimal digits of mag backwards ending just before end;
// returns how many (at least one).
int decimal_digits(std::uint64_t mag, char *end) {
  char *p = end;
  if (mag >= 10000 && mag < 100000000) {
    // Two independent halves shorten the chain of divisions.
    const std::uint32_t m = static_cast<std::uint32_t>(mag);
    const std::uint32_t hi = m / 10000, lo = m % 10000;
    std::memcpy(p - 2, digit_pairs.text + 2 * (lo % 100), 2);
    std::memcpy(p - 4, digit_pairs.text + 2 * (lo / 100), 2);
    p -= 4;
    mag = hi;
  } else if (mag <= 0xFFFFFFFFu) {  // 32-bit division is cheaper
    std::uint32_t m = static_cast<std::uint32_t>(mag);
    while (m >= 100) {
      const unsigned r = m % 100;
      m /= 100;
      p -= 2;
      std::memcpy(p, digit_pairs.text + 2 * r, 2);
    }
    mag = m;
  }
  while (mag >= 100) {
    const unsigned r = static_cast<unsigned>(mag % 100);
    mag /= 100;
    p -= 2;
    std::memcpy(p, digit_pairs.text + 2 * r, 2);
  }
  if (mag >= 10) {
    p -= 2;
    std::memcpy(p, digit_pairs.text + 2 * mag, 2);
  } else {
    *--p = static_cast<char>('0' + mag);
  }
  return static_cast<int>(end - p);
}

// Puts n copies of ch.
kaf_status put_run(kaf_ioctx &c, std::uint32_t ch, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i)
    if (kaf_status s = put_character(c, ch)) return s;
  return 0;
}

kaf_status put_text(kaf_ioctx &c, const char *s, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i)
    if (kaf_status st = put_character(c, static_cast<unsigned char>(s[i]))) return st;
  return 0;
}

// Lays out blanks, sign, zeros and digits; the whole field goes straight into
// a byte buffer when it fits, else one character at a time.
[[gnu::always_inline]] inline kaf_status put_field(kaf_ioctx &c, std::int64_t blanks, char sign, std::int64_t zeros,
                     const char *digits, int ndigits) {
  const std::int64_t total = blanks + (sign ? 1 : 0) + zeros + ndigits;
  if (unit_width(c.encoding) == 1 && static_cast<std::uint64_t>(c.pos + total) <= c.limit) {
    // Short runs: plain loops beat the library calls here.
    char *p = static_cast<char *>(c.buffer) + c.pos;
    for (std::int64_t i = 0; i < blanks; ++i) *p++ = ' ';
    if (sign) *p++ = sign;
    for (std::int64_t i = 0; i < zeros; ++i) *p++ = '0';
    for (int i = 0; i < ndigits; ++i) *p++ = digits[i];
    c.pos += total;
    return 0;
  }
  if (kaf_status s = put_run(c, ' ', blanks)) return s;
  if (sign)
    if (kaf_status s = put_character(c, static_cast<unsigned char>(sign))) return s;
  if (kaf_status s = put_run(c, '0', zeros)) return s;
  return put_text(c, digits, ndigits);
}

}  // namespace

kaf_status put_stars(kaf_ioctx &c, std::int32_t w) { return put_run(c, '*', w); }

constexpr std::uint64_t powers_of_ten[20] = {
    1u, 10u, 100u, 1000u, 10000u, 100000u, 1000000u, 10000000u, 100000000u, 1000000000u,
    10000000000u, 100000000000u, 1000000000000u, 10000000000000u, 100000000000000u,
    1000000000000000u, 10000000000000000u, 100000000000000000u, 1000000000000000000u,
    10000000000000000000u};

// Number of decimal digits of mag (1 for 0).
inline int digit_count(std::uint64_t mag) {
  const int t = ((64 - std::countl_zero(mag | 1)) * 1233) >> 12;  // 1233 / 4096 ~ log10(2)
  return t + 1 - (mag < powers_of_ten[t]);
}

// The usual field, written inline by the item entries: w of at least 8
// places, a magnitude under 10^8, a byte record with room for the field.
// False when the general routine must do it.
[[gnu::always_inline]] inline bool format_I_fast(kaf_ioctx &c, std::int64_t value) {
  const std::int32_t w = c.w, m = c.m;
  const std::uint64_t mag = value < 0 ? 0 - static_cast<std::uint64_t>(value)
                                      : static_cast<std::uint64_t>(value);
  if (!(m <= w && m > 0) || !(w >= 8 && mag < 100000000 && unit_width(c.encoding) == 1 &&
                              static_cast<std::uint64_t>(c.pos + w) <= c.limit))
    return false;
  // Its last eight places come from one word, leading zero digits turned
  // into blanks; sign and minimum-digit zeros go over those blanks.
  const std::uint64_t digits = eight_digits(static_cast<std::uint32_t>(mag));
  const int lead = digits ? std::countr_zero(digits) >> 3 : 7;  // zero digits in front
  const int nd = 8 - lead;
  const char sign = value < 0 ? '-' : c.sign_mode == SIGN_PLUS ? '+' : 0;
  const int zeros = m > nd ? m - nd : 0;
  if ((sign ? 1 : 0) + zeros + nd > w) return false;  // asterisks: the general way
  char *start = static_cast<char *>(c.buffer) + c.pos;
  char *q = start + w - 8;
  for (char *b = start; b < q; b += 8) std::memcpy(b, "        ", 8);  // may run into q's word
  const std::uint64_t blanks = lead ? (~std::uint64_t{0} >> (64 - 8 * lead)) : 0;
  const std::uint64_t word = ((digits + 0x3030303030303030u) & ~blanks) | (0x2020202020202020u & blanks);
  std::memcpy(q, &word, 8);
  q += lead;
  for (int i = 0; i < zeros; ++i) *--q = '0';
  if (sign) *--q = sign;
  c.pos += w;
  return true;
}

// Iw.m editing of one value (32-bit values arrive sign-extended).
kaf_status format_I(kaf_ioctx &c, std::int64_t value) {
  const std::int32_t w = c.w, m = c.m;
  if (m > w && w >= 1) return __KAFf90_ioerr(&c, E_INTEGER_EDIT);
  if (m == 0 && value == 0) return put_run(c, ' ', w == 0 ? 1 : w);
  const std::uint64_t mag = value < 0 ? 0 - static_cast<std::uint64_t>(value)
                                      : static_cast<std::uint64_t>(value);
  if (w > 0 && unit_width(c.encoding) == 1 && static_cast<std::uint64_t>(c.pos + w) <= c.limit) {
    // The field straight into the record, digits from its right end.
    const int nd = digit_count(mag);
    const char sign = value < 0 ? '-' : c.sign_mode == SIGN_PLUS ? '+' : 0;
    const int zeros = m > nd ? m - nd : 0;
    const int need = (sign ? 1 : 0) + zeros + nd;
    if (need > w) return put_stars(c, w);
    char *start = static_cast<char *>(c.buffer) + c.pos;
    char *q = start + w;
    decimal_digits(mag, q);
    q -= nd;
    for (int i = 0; i < zeros; ++i) *--q = '0';
    if (sign) *--q = sign;
    while (q > start) *--q = ' ';
    c.pos += w;
    return 0;
  }
  char buf[24];
  const int nd = decimal_digits(mag, buf + sizeof buf);
  const char sign = value < 0 ? '-' : c.sign_mode == SIGN_PLUS ? '+' : 0;
  const std::int64_t zeros = m > nd ? m - nd : 0;
  const std::int64_t need = (sign ? 1 : 0) + zeros + nd;
  if (w == 0) return put_field(c, 0, sign, zeros, buf + sizeof buf - nd, nd);
  if (need > w) return put_stars(c, w);
  return put_field(c, w - need, sign, zeros, buf + sizeof buf - nd, nd);
}

// Bw.m, Ow.m, Zw.m of a digit string (most significant first, NUL-ended).
kaf_status boz_write(const char *digits, kaf_ioctx &c) {
  while (*digits == '0') ++digits;
  const std::int64_t n = static_cast<std::int64_t>(std::strlen(digits));
  const std::int32_t w = c.w, m = c.m;
  if (m == 0 && w == 0 && n == 0) return put_character(c, ' ');
  const std::int64_t shown = m > n ? m : n;  // zeros and digits
  std::int64_t width = w;
  if (w == 0) width = shown ? shown : 1;
  else if (w < shown) return put_stars(c, w);  // also Bw.m with m > w
  return put_field(c, width - shown, 0, m > n ? m - n : 0, digits, static_cast<int>(n));
}

kaf_status format_L(kaf_ioctx &c, std::int64_t value) {
  if (c.w > 1)
    if (kaf_status s = put_run(c, ' ', c.w - 1)) return s;
  return put_character(c, value ? 'T' : 'F');
}

namespace {

// Digits of value taken as an unsigned number of Int's width, in base 2^shift.
template <typename Int>
void boz_digits(Int value, unsigned shift, char *out) {
  using U = std::make_unsigned_t<Int>;
  U u = static_cast<U>(value);
  char tmp[72];
  char *p = tmp + sizeof tmp;
  *--p = 0;
  const unsigned mask = (1u << shift) - 1;
  do {
    *--p = "0123456789ABCDEF"[static_cast<unsigned>(u) & mask];
    u = static_cast<U>(u >> shift);
  } while (u);
  std::memcpy(out, p, static_cast<std::size_t>(tmp + sizeof tmp - p));
}

template <typename Int, bool Dusty>
kaf_status write_int_item(kaf_ioctx &c, Int value) {
  if (kaf_status s = need_data_edit(c, DIR_OUTPUT)) return s;
  kaf_status s;
  char digits[72];
  switch (c.edit_code) {
  case EDIT_I:
    if (format_I_fast(c, static_cast<std::int64_t>(value))) {
      s = 0;
      break;
    }
    s = format_I(c, static_cast<std::int64_t>(value));
    break;
  case EDIT_B:
  case EDIT_O:
  case EDIT_Z:
    boz_digits(value, c.edit_code == EDIT_B ? 1 : c.edit_code == EDIT_O ? 3 : 4, digits);
    s = boz_write(digits, c);
    break;
  case EDIT_G:
    if (c.w == 0 && c.d != -1) return __KAFf90_ioerr(&c, E_EDIT_FOR_TYPE, "G0.d", "INTEGER");
    c.m = 1;
    s = format_I(c, static_cast<std::int64_t>(value));
    break;
  case EDIT_A:
    if (Dusty) {
      s = format_A(c, reinterpret_cast<const char *>(&value), sizeof value);
      break;
    }
    [[fallthrough]];
  default:
    return __KAFf90_ioerr(&c, E_INTEGER_EDIT);
  }
  if (s) return s;
  return maybe_next_edit(c, DIR_OUTPUT);
}

template <typename Int, bool Dusty>
kaf_status write_logical_item(kaf_ioctx &c, Int value) {
  if (kaf_status s = need_data_edit(c, DIR_OUTPUT)) return s;
  kaf_status s;
  switch (c.edit_code) {
  case EDIT_G:
    if (c.w == 0 && c.d != -1) return __KAFf90_ioerr(&c, E_EDIT_FOR_TYPE, "G0.d", "LOGICAL");
    [[fallthrough]];
  case EDIT_L:
    s = format_L(c, value != 0);
    break;
  case EDIT_A:
    if (Dusty) {
      s = format_A(c, reinterpret_cast<const char *>(&value), sizeof value);
      break;
    }
    [[fallthrough]];
  default:
    return __KAFf90_ioerr(&c, E_LOGICAL_EDIT);
  }
  if (s) return s;
  return maybe_next_edit(c, DIR_OUTPUT);
}

}  // namespace

extern "C" {

std::uint64_t __KAFf90_stars(kaf_ioctx *ctx, std::int32_t w) { return put_stars(*ctx, w); }

std::uint64_t __KAFf90_fmt_write_i1(kaf_ioctx *ctx, std::int8_t v) { return write_int_item<std::int8_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_i2(kaf_ioctx *ctx, std::int16_t v) { return write_int_item<std::int16_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_i(kaf_ioctx *ctx, std::int32_t v) { return write_int_item<std::int32_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_i4(kaf_ioctx *ctx, std::int64_t v) { return write_int_item<std::int64_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_l1(kaf_ioctx *ctx, std::int8_t v) { return write_logical_item<std::int8_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_l2(kaf_ioctx *ctx, std::int16_t v) { return write_logical_item<std::int16_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_l(kaf_ioctx *ctx, std::int32_t v) { return write_logical_item<std::int32_t, false>(*ctx, v); }
std::uint64_t __KAFf90_fmt_write_l4(kaf_ioctx *ctx, std::int64_t v) { return write_logical_item<std::int64_t, false>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_i1(kaf_ioctx *ctx, std::int8_t v) { return write_int_item<std::int8_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_i2(kaf_ioctx *ctx, std::int16_t v) { return write_int_item<std::int16_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_i(kaf_ioctx *ctx, std::int32_t v) { return write_int_item<std::int32_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_i4(kaf_ioctx *ctx, std::int64_t v) { return write_int_item<std::int64_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_l1(kaf_ioctx *ctx, std::int8_t v) { return write_logical_item<std::int8_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_l2(kaf_ioctx *ctx, std::int16_t v) { return write_logical_item<std::int16_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_l(kaf_ioctx *ctx, std::int32_t v) { return write_logical_item<std::int32_t, true>(*ctx, v); }
std::uint64_t __KAFf90_dusty_fmt_write_l4(kaf_ioctx *ctx, std::int64_t v) { return write_logical_item<std::int64_t, true>(*ctx, v); }

}  // extern "C"
