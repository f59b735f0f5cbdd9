// Input of INTEGER and LOGICAL items under I, B, O, Z, G and L editing (and
// A for the legacy twins).
//
// The KIND=1 and KIND=2 entries read a 32-bit value and check its range
// before storing it (1007, 1008); under B, O and Z they keep the low bits,
// as a bit pattern is meant to be kept.
#include <bit>
#include <cctype>
#include <cstring>
#include <limits>
#include <type_traits>

#include "format/context.h"

namespace {

constexpr int E_TOO_LARGE_32 = 1010, E_TOO_LARGE_I1 = 1007, E_TOO_LARGE_I2 = 1008,
              E_SIGN_ONLY = 1038, E_INT_CHAR = 1041, E_BIN_CHAR = 1042, E_OCT_CHAR = 1043,
              E_HEX_CHAR = 1044, E_LOGICAL_CHAR = 1081, E_LOGICAL_EMPTY = 1082,
              E_TOO_LARGE_64 = 1111, E_INTEGER_EDIT = 1035, E_LOGICAL_EDIT = 1036,
              E_EDIT_FOR_TYPE = 1148;

// A character code stored in a record that no numeric field accepts; it
// stands for a NUL byte so that 0 keeps meaning "end of field".
constexpr std::uint32_t NUL_IN_FIELD = 0xFFFD;

inline bool blank(std::uint32_t ch) { return ch == ' ' || ch == '\t'; }

inline kaf_status next(kaf_ioctx &c, std::int32_t &rem, std::uint32_t &ch) {
  const std::int32_t before = rem;
  if (kaf_status s = get_within_field(c, &rem, &ch)) return s;
  if (ch == 0 && rem != before) ch = NUL_IN_FIELD;
  return 0;
}

// A field that lies whole in a byte record and holds a well-formed value
// is converted straight from the buffer; anything else (a short record,
// wide units, a stray character, an overflow) goes the careful way, which
// starts again from the field's first character and raises the error.
template <typename Int>
bool read_decimal_fast(kaf_ioctx &c, Int *out) {
  using U = std::make_unsigned_t<Int>;
  constexpr U max = static_cast<U>(std::numeric_limits<Int>::max());
  const std::int64_t w = c.w;
  if (unit_width(c.encoding) != 1 || w <= 0 || c.pos + w > c.rec_len) return false;
  const auto *p = static_cast<const std::uint8_t *>(c.buffer) + c.pos;
  const auto *end = p + w;
  const bool bz = c.blank_mode == 1;
  while (end - p >= 8) {  // leading blanks eight at a time
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    const std::uint64_t x = v ^ 0x2020202020202020u;
    if (x == 0) {
      p += 8;
      continue;
    }
    p += std::countr_zero(x) >> 3;
    break;
  }
  while (p < end && (*p == ' ' || *p == '\t')) ++p;
  bool negative = false;
  if (p < end && (*p == '-' || *p == '+')) {
    negative = *p++ == '-';
    if (!bz)
      while (p < end && (*p == ' ' || *p == '\t')) ++p;
    if (p == end) return false;
  }
  // Up to 18 digits cannot overflow 64 bits; the bound is checked once.
  if (end - p > 18) return false;
  std::uint64_t acc = 0;
  while (end - p >= 8) {  // eight digits at a time
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    if (((v & 0xF0F0F0F0F0F0F0F0u) | (((v + 0x0606060606060606u) & 0xF0F0F0F0F0F0F0F0u) >> 4)) !=
        0x3333333333333333u)
      break;
    v -= 0x3030303030303030u;
    v = v * 10 + (v >> 8);
    v = (((v & 0x000000FF000000FFu) * (100 + (1000000ull << 32))) +
         (((v >> 16) & 0x000000FF000000FFu) * (1 + (10000ull << 32)))) >> 32;
    acc = acc * 100000000u + v;
    p += 8;
  }
  for (; p < end; ++p) {
    unsigned digit = static_cast<unsigned>(*p) - '0';
    if (digit > 9) {
      if (*p != ' ' && *p != '\t') return false;
      if (!bz) continue;
      digit = 0;
    }
    acc = acc * 10 + digit;
  }
  if (acc > max) return false;
  *out = negative ? static_cast<Int>(0 - acc) : static_cast<Int>(acc);
  c.pos += w;
  c.nchars += static_cast<std::uint64_t>(w);
  c.field_status = 0;
  return true;
}

// Iw input into a signed integer of 32 or 64 bits. The accumulator bound is
// the same for both signs, so the most negative value cannot be read.
template <typename Int>
kaf_status read_decimal(kaf_ioctx &c, Int *out) {
  using U = std::make_unsigned_t<Int>;
  constexpr U max = static_cast<U>(std::numeric_limits<Int>::max());
  constexpr U bound = max / 10;  // 0xCCCCCCC or 0xCCCCCCCCCCCCCCC
  constexpr int overflow = sizeof(Int) == 4 ? E_TOO_LARGE_32 : E_TOO_LARGE_64;
  if (read_decimal_fast(c, out)) return 0;
  c.field_status = 0;
  std::int32_t rem = c.w;
  std::uint32_t ch;
  do {
    if (kaf_status s = next(c, rem, ch)) return s;
  } while (blank(ch));
  bool negative = false;
  const bool bz = c.blank_mode == 1;
  if (ch == '-' || ch == '+') {
    negative = ch == '-';
    if (kaf_status s = next(c, rem, ch)) return s;
    if (!bz)
      while (blank(ch))
        if (kaf_status s = next(c, rem, ch)) return s;
    if (ch == 0) return __KAFf90_ioerr(&c, E_SIGN_ONLY);
  }
  U acc = 0;
  for (;; ) {
    unsigned digit;
    if (ch < 128 && std::isdigit(static_cast<int>(ch))) {
      digit = ch - '0';
    } else if (blank(ch)) {
      if (!bz) {
        if (kaf_status s = next(c, rem, ch)) return s;
        continue;
      }
      digit = 0;
    } else {
      break;
    }
    if (acc > bound || acc * 10 + digit > max) return __KAFf90_ioerr(&c, overflow);
    acc = acc * 10 + digit;
    if (kaf_status s = next(c, rem, ch)) return s;
  }
  *out = negative ? static_cast<Int>(0 - acc) : static_cast<Int>(acc);
  if (ch != 0) return __KAFf90_ioerr(&c, E_INT_CHAR);
  return raise_field_status(c);
}

// Bw, Ow, Zw input: no sign, no overflow check (high bits shift out).
template <typename U>
kaf_status read_boz(kaf_ioctx &c, U *out, unsigned base) {
  c.field_status = 0;
  std::int32_t rem = c.w;
  std::uint32_t ch;
  do {
    if (kaf_status s = next(c, rem, ch)) return s;
  } while (blank(ch));
  const bool bz = c.blank_mode == 1;
  U acc = 0;
  for (;;) {
    unsigned digit;
    if (ch >= '0' && ch <= '9') digit = ch - '0';
    else if (ch >= 'A' && ch <= 'F') digit = ch - 'A' + 10;
    else if (ch >= 'a' && ch <= 'f') digit = ch - 'a' + 10;
    else if (blank(ch)) digit = bz ? 0 : 99;
    else break;
    if (digit == 99) {  // a blank under BN
      if (kaf_status s = next(c, rem, ch)) return s;
      continue;
    }
    if (digit >= base) break;
    acc = static_cast<U>(acc * base + digit);
    if (kaf_status s = next(c, rem, ch)) return s;
  }
  *out = acc;
  if (ch != 0)
    return __KAFf90_ioerr(&c, base == 2 ? E_BIN_CHAR : base == 8 ? E_OCT_CHAR : E_HEX_CHAR);
  return raise_field_status(c);
}

}  // namespace

kaf_status input_format_I(kaf_ioctx &c, std::int32_t *out) { return read_decimal(c, out); }
kaf_status input_format_I4(kaf_ioctx &c, std::int64_t *out) { return read_decimal(c, out); }
kaf_status input_format_B(kaf_ioctx &c, std::uint32_t *out) { return read_boz(c, out, 2); }
kaf_status input_format_O(kaf_ioctx &c, std::uint32_t *out) { return read_boz(c, out, 8); }
kaf_status input_format_Z(kaf_ioctx &c, std::uint32_t *out) { return read_boz(c, out, 16); }
kaf_status input_format_B4(kaf_ioctx &c, std::uint64_t *out) { return read_boz(c, out, 2); }
kaf_status input_format_O4(kaf_ioctx &c, std::uint64_t *out) { return read_boz(c, out, 8); }
kaf_status input_format_Z4(kaf_ioctx &c, std::uint64_t *out) { return read_boz(c, out, 16); }

kaf_status input_format_L(kaf_ioctx &c, std::int32_t *out) {
  c.field_status = 0;
  std::int32_t rem = c.w;
  std::uint32_t ch;
  do {
    if (kaf_status s = next(c, rem, ch)) return s;
  } while (blank(ch));
  if (ch == '.')
    if (kaf_status s = next(c, rem, ch)) return s;
  if (ch == 0) return __KAFf90_ioerr(&c, E_LOGICAL_EMPTY);
  const std::uint32_t up = ch >= 'a' && ch <= 'z' ? ch - 32 : ch;
  if (up != 'T' && up != 'F') return __KAFf90_ioerr(&c, E_LOGICAL_CHAR, static_cast<int>(ch));
  *out = up == 'T';
  while (rem > 0)  // the rest of the field, whatever it holds
    if (kaf_status s = next(c, rem, ch)) return s;
  return raise_field_status(c);
}

namespace {

kaf_status input_A_bytes(kaf_ioctx &c, void *item, std::int64_t len) {
  return __KAFf90_input_format_A(&c, static_cast<char *>(item), len);
}

// Reads an INTEGER item of Int under the current descriptor.
template <typename Int, bool Dusty>
kaf_status read_int_item(kaf_ioctx &c, Int *item) {
  if (kaf_status s = need_data_edit(c, DIR_INPUT)) return s;
  kaf_status s;
  constexpr bool wide = sizeof(Int) == 8;
  using Acc = std::conditional_t<wide, std::int64_t, std::int32_t>;
  using UAcc = std::make_unsigned_t<Acc>;
  switch (c.edit_code) {
  case EDIT_G:
    if (c.w == 0 && c.d != -1) return __KAFf90_ioerr(&c, E_EDIT_FOR_TYPE, "G0.d", "INTEGER");
    [[fallthrough]];
  case EDIT_I: {
    Acc v = static_cast<Acc>(*item);  // unchanged unless the reader stores
    s = read_decimal(c, &v);
    if (sizeof(Int) < 4 && (v < std::numeric_limits<Int>::min() || v > std::numeric_limits<Int>::max())) {
      if (s) return s;
      return __KAFf90_ioerr(&c, sizeof(Int) == 1 ? E_TOO_LARGE_I1 : E_TOO_LARGE_I2);
    }
    *item = static_cast<Int>(v);
    break;
  }
  case EDIT_B:
  case EDIT_O:
  case EDIT_Z: {
    UAcc v = static_cast<UAcc>(*item);
    s = read_boz(c, &v, c.edit_code == EDIT_B ? 2 : c.edit_code == EDIT_O ? 8 : 16);
    *item = static_cast<Int>(v);
    break;
  }
  case EDIT_A:
    if (Dusty) {
      s = input_A_bytes(c, item, sizeof(Int));
      break;
    }
    [[fallthrough]];
  default:
    return __KAFf90_ioerr(&c, E_INTEGER_EDIT);
  }
  if (s) return s;
  return maybe_next_edit(c, DIR_INPUT);
}

template <typename Int, bool Dusty>
kaf_status read_logical_item(kaf_ioctx &c, Int *item) {
  if (kaf_status s = need_data_edit(c, DIR_INPUT)) return s;
  kaf_status s;
  switch (c.edit_code) {
  case EDIT_G:
    if (c.w == 0 && c.d != -1) return __KAFf90_ioerr(&c, E_EDIT_FOR_TYPE, "G0.d", "LOGICAL");
    [[fallthrough]];
  case EDIT_L: {
    std::int32_t v = -1;
    s = input_format_L(c, &v);
    if (v != -1) *item = static_cast<Int>(v);
    break;
  }
  case EDIT_A:
    if (Dusty) {
      s = input_A_bytes(c, item, sizeof(Int));
      break;
    }
    [[fallthrough]];
  default:
    return __KAFf90_ioerr(&c, E_LOGICAL_EDIT);
  }
  if (s) return s;
  return maybe_next_edit(c, DIR_INPUT);
}

}  // namespace

extern "C" {

std::uint64_t __KAFf90_fmt_read_i1(kaf_ioctx *ctx, std::int8_t *p) { return read_int_item<std::int8_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_i2(kaf_ioctx *ctx, std::int16_t *p) { return read_int_item<std::int16_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_i(kaf_ioctx *ctx, std::int32_t *p) { return read_int_item<std::int32_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_i4(kaf_ioctx *ctx, std::int64_t *p) { return read_int_item<std::int64_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_l1(kaf_ioctx *ctx, std::int8_t *p) { return read_logical_item<std::int8_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_l2(kaf_ioctx *ctx, std::int16_t *p) { return read_logical_item<std::int16_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_l(kaf_ioctx *ctx, std::int32_t *p) { return read_logical_item<std::int32_t, false>(*ctx, p); }
std::uint64_t __KAFf90_fmt_read_l4(kaf_ioctx *ctx, std::int64_t *p) { return read_logical_item<std::int64_t, false>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_i1(kaf_ioctx *ctx, std::int8_t *p) { return read_int_item<std::int8_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_i2(kaf_ioctx *ctx, std::int16_t *p) { return read_int_item<std::int16_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_i(kaf_ioctx *ctx, std::int32_t *p) { return read_int_item<std::int32_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_i4(kaf_ioctx *ctx, std::int64_t *p) { return read_int_item<std::int64_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_l1(kaf_ioctx *ctx, std::int8_t *p) { return read_logical_item<std::int8_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_l2(kaf_ioctx *ctx, std::int16_t *p) { return read_logical_item<std::int16_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_l(kaf_ioctx *ctx, std::int32_t *p) { return read_logical_item<std::int32_t, true>(*ctx, p); }
std::uint64_t __KAFf90_dusty_fmt_read_l4(kaf_ioctx *ctx, std::int64_t *p) { return read_logical_item<std::int64_t, true>(*ctx, p); }

}  // extern "C"
