// List-directed input: the character fetch of every record encoding, value
// separators, repeat factors and null values, and the scanning of integer,
// real, complex, logical and character values into items of every kind.
//
// The scanner works one character ahead: c.ch is the character that ended
// the previous scan. A number is kept as its significant digits (c.digits,
// growing onto the heap) with a decimal exponent, so that a repeated value
// converts correctly rounded for every item kind it is stored into.
#include <cmath>
#include <cstring>
#include <limits>

#include "format/decimal.h"
#include "format/sjis.h"
#include "listio/lio.h"

namespace {

constexpr std::int32_t E_ZERO_REPEAT = 1005, E_INTEGER = 1006, E_INT1 = 1007, E_INT2 = 1008,
                       E_REPEAT_HUGE = 1009, E_INT = 1010, E_REAL = 1011, E_LOGICAL = 1012,
                       E_COMPLEX = 1013, E_CHARACTER = 1014, E_REAL_CHAR = 1040, E_INT8 = 1111,
                       E_OVERFLOW = 1115, E_ENCODING = 1139;

constexpr std::uint64_t kInlineDigits = sizeof(kaf_ioctx::digits);
constexpr std::uint64_t kFirstHeapDigits = 1024;
constexpr std::int64_t kExponentCap = 1000000000;

inline bool is_blank(std::uint32_t ch) { return ch == ' ' || ch == '\t'; }
inline bool is_digit(std::uint32_t ch) { return ch >= '0' && ch <= '9'; }
inline std::uint32_t upper(std::uint32_t ch) { return ch >= 'a' && ch <= 'z' ? ch - 32 : ch; }
inline bool ends_value(const kaf_ioctx &c, std::uint32_t ch) {
  return is_blank(ch) || ch == c.separator || ch == '/';
}

inline std::uint64_t &number_flags(kaf_ioctx &c) { return c.lio_spare[SPARE_NUMBER_FLAGS]; }

kaf_status fail(kaf_ioctx &c, std::int32_t code) {
  release_scan_buffers(c);
  return __KAFf90_ioerr(&c, code);
}

// ---- The character fetch ---------------------------------------------------

inline std::uint32_t byte_at(const kaf_ioctx &c, std::int64_t i) {
  return static_cast<const std::uint8_t *>(c.buffer)[i];
}

// One UTF-8 character whose lead byte b0 was taken; pos stands after it.
// Returns false when the sequence is not acceptable.
bool decode_utf8(kaf_ioctx &c, std::uint32_t b0, std::uint32_t *out) {
  auto next = [&](std::uint32_t lo, std::uint32_t hi, std::uint32_t *b) {
    if (c.pos >= c.rec_len) return false;
    *b = byte_at(c, c.pos);
    if (*b < lo || *b > hi) return false;
    ++c.pos;
    return true;
  };
  std::uint32_t b1, b2, b3;
  if (b0 <= 0xDF) {
    // Any lead up to 0xDF takes one continuation: stray continuation bytes
    // and the overlong leads 0xC0 and 0xC1 pass on purpose.
    if (!next(0x80, 0xBF, &b1)) return false;
    *out = ((b0 & 0x1F) << 6) | (b1 & 0x3F);
    return true;
  }
  if (b0 <= 0xEF) {
    const std::uint32_t lo = b0 == 0xE0 ? 0xA0 : 0x80, hi = b0 == 0xED ? 0x9F : 0xBF;
    if (!next(lo, hi, &b1) || !next(0x80, 0xBF, &b2)) return false;
    *out = ((b0 << 12) & 0xFFFF) | ((b1 & 0x3F) << 6) | (b2 & 0x3F);
    return true;
  }
  if (b0 <= 0xF4) {
    const std::uint32_t lo = b0 == 0xF0 ? 0x90 : 0x80, hi = b0 == 0xF4 ? 0x8F : 0xBF;
    if (!next(lo, hi, &b1) || !next(0x80, 0xBF, &b2) || !next(0x80, 0xBF, &b3)) return false;
    *out = ((b0 & 7) << 18) | ((b1 & 0x3F) << 12) | ((b2 & 0x3F) << 6) | (b3 & 0x3F);
    return true;
  }
  return false;
}

kaf_status decode_slow(kaf_ioctx &c) {
  switch (c.lio_encoding) {
  case ENC_UCS2:
  case ENC_UTF16:
  case ENC_SJIS16: c.ch = static_cast<const std::uint16_t *>(c.buffer)[c.pos++]; break;
  case ENC_UCS4: c.ch = static_cast<const std::uint32_t *>(c.buffer)[c.pos++]; break;
  case ENC_SJIS_BYTES: {
    const std::uint32_t b0 = byte_at(c, c.pos++);
    if (b0 < 0x80) {
      c.ch = b0;
    } else {
      if (c.pos >= c.rec_len) return fail(c, E_ENCODING);  // a lead byte ends the record
      c.ch = b0 * 256 + byte_at(c, c.pos++);
    }
    break;
  }
  case ENC_UTF8: {
    const std::uint32_t b0 = byte_at(c, c.pos++);
    if (b0 < 0x80) {
      c.ch = b0;
    } else if (!decode_utf8(c, b0, &c.ch)) {
      return fail(c, E_ENCODING);
    }
    break;
  }
  default: c.ch = byte_at(c, c.pos++); break;
  }
  ++c.nchars;
  return 0;
}

inline bool plain_bytes(std::uint32_t enc) {
  return unit_width(enc) == 1 && enc != ENC_SJIS_BYTES && enc != ENC_UTF8;
}

kaf_status fetch_slow(kaf_ioctx &c);

// The character fetch: bytes of a plain byte record inline, everything else
// (record ends, multi-byte and wide encodings) out of line.
inline kaf_status fetch(kaf_ioctx &c) {
  if (c.pos < c.rec_len && !c.at_eor && plain_bytes(c.lio_encoding)) {
    c.ch = byte_at(c, c.pos++);
    ++c.nchars;
    return 0;
  }
  return fetch_slow(c);
}

// ---- The number text -------------------------------------------------------

inline char *digit_store(kaf_ioctx &c) { return c.digits_heap ? c.digits_heap : c.digits; }
inline std::uint64_t digit_capacity(const kaf_ioctx &c) {
  return c.digits_heap ? c.digits_heap_size : kInlineDigits;
}

void reset_number(kaf_ioctx &c) {
  c.ndigits = 0;
  c.exp10 = 0;
  number_flags(c) = 0;
  c.int_value = 0;
}

// Grows the number text: the inline bytes move to a 1024-byte block, a full
// block is replaced by one twice its size.
bool grow_digits(kaf_ioctx &c) {
  const std::uint64_t old = digit_capacity(c);
  const std::uint64_t size = c.digits_heap ? old * 2 : kFirstHeapDigits;
  char *block = static_cast<char *>(__KAFf90_zoAlloc(size));
  if (!block) return false;
  std::memcpy(block, digit_store(c), static_cast<std::size_t>(c.ndigits));
  if (c.digits_heap) __KAFf90_oDeAlloc(c.digits_heap, c.digits_heap_size);
  c.digits_heap = block;
  c.digits_heap_size = size;
  return true;
}

// One digit of the mantissa; after_point for the digits of the fraction.
// Leading zeros only move the decimal point; beyond the digits the
// conversion can use, a digit only counts (and makes the value inexact).
inline void add_digit(kaf_ioctx &c, std::uint32_t d, bool after_point) {
  if (c.ndigits == 0 && d == '0') {
    if (after_point && c.exp10 > -kExponentCap) --c.exp10;
    return;
  }
  if (c.ndigits < kaf::dec::kMaxInputDigits &&
      (static_cast<std::uint64_t>(c.ndigits) < digit_capacity(c) || grow_digits(c))) {
    digit_store(c)[c.ndigits++] = static_cast<char>(d);
    if (after_point && c.exp10 > -kExponentCap) --c.exp10;
    return;
  }
  if (d != '0') number_flags(c) |= NUM_STICKY;
  if (!after_point && c.exp10 < kExponentCap) ++c.exp10;
}

void free_digits(kaf_ioctx &c) {
  if (c.digits_heap) __KAFf90_oDeAlloc(c.digits_heap, c.digits_heap_size);
  c.digits_heap = nullptr;
  c.digits_heap_size = 0;
}

void free_chars(kaf_ioctx &c) {
  if (c.char_buf) __KAFf90_oDeAlloc(c.char_buf, c.char_cap * sizeof(std::uint32_t));
  c.char_buf = nullptr;
  c.char_cap = c.char_len = 0;
}

// A double rounded to nearest from at most 19 digits times 10^e, |e| <= 27,
// with one correctly rounded integer conversion: 5^|e| < 2^63, so w * 5^e
// is exact in 128 bits, and w * 2^64 / 5^|e| keeps at least 65 bits of the
// quotient with its remainder as a sticky bit; the power of two is exact.
// False where it does not apply.
bool exact_fast_path(const char *digits, int n, std::int64_t e, double *out) {
  if (n == 0 || n > 19 || e < -27 || e > 27) return false;
  std::uint64_t w = 0;
  for (int i = 0; i < n; ++i) w = w * 10 + static_cast<std::uint64_t>(digits[i] - '0');
  std::uint64_t p5 = 1;
  for (std::int64_t i = 0; i < (e < 0 ? -e : e); ++i) p5 *= 5;
  using u128 = unsigned __int128;
  if (e >= 0) {
    *out = std::ldexp(static_cast<double>(static_cast<u128>(w) * p5), static_cast<int>(e));
    return true;
  }
  const int lz = __builtin_clzll(w);
  const u128 num = static_cast<u128>(w << lz) << 64;
  u128 q = num / p5;
  if (num % p5) q |= 1;  // below the rounding position: a sticky bit
  *out = std::ldexp(static_cast<double>(q), static_cast<int>(e) - 64 - lz);
  return true;
}

// The pending number as the given binary format, rounded under the
// statement's mode.
double convert_number(kaf_ioctx &c, const kaf::dec::binary_format &f, bool *overflow) {
  const std::uint64_t flags = number_flags(c);
  const bool negative = flags & NUM_NEGATIVE;
  *overflow = false;
  double v;
  if (flags & NUM_NAN) {
    v = std::numeric_limits<double>::quiet_NaN();
  } else if (flags & NUM_INF) {
    v = HUGE_VAL;
  } else {
    int n = c.ndigits;
    std::int64_t e = c.exp10;
    const char *digits = digit_store(c);
    while (n > 0 && digits[n - 1] == '0') {
      --n;
      ++e;
    }
    const bool nearest = c.round_mode == ROUND_PROCESSOR || c.round_mode == ROUND_NEAREST;
    if (!(nearest && f.precision == kaf::dec::kDouble.precision && !(flags & NUM_STICKY) &&
          exact_fast_path(digits, n, e, &v))) {
      kaf::dec::decimal_number number{digits, n, (flags & NUM_STICKY) != 0, e};
      v = kaf::dec::to_binary(number, f, kaf::dec::magnitude_mode(c.round_mode, negative), overflow);
    }
  }
  return negative ? -v : v;
}

// ---- Scanning ---------------------------------------------------------------

inline kaf_status skip_blanks(kaf_ioctx &c) {
  while (is_blank(c.ch))
    if (kaf_status s = fetch(c)) return s;
  return 0;
}

// A run of digits in a plain byte record, scanned with the scanner's state
// in locals (the number text is written through a char pointer, which would
// otherwise make every field of the context be reloaded per digit). Stops
// at the first non-digit, at the end of the record, or where the number
// text must grow; the caller's loop takes over from there.
void digit_run(kaf_ioctx &c, bool after_point, std::int64_t *acc, bool *big) {
  constexpr std::int64_t lim = std::numeric_limits<std::int64_t>::min() / 10;
  if (!plain_bytes(c.lio_encoding) || c.at_eor) return;
  const auto *b = static_cast<const std::uint8_t *>(c.buffer);
  std::int64_t pos = c.pos;
  const std::int64_t end = c.rec_len;
  std::uint32_t ch = c.ch;
  int nd = c.ndigits;
  std::int64_t e = c.exp10;
  char *store = digit_store(c);
  const int cap = static_cast<int>(digit_capacity(c));
  std::int64_t a = *acc;
  bool bg = *big;
  std::uint64_t taken = 0;
  bool at_eor = false;
  while (is_digit(ch)) {
    if (!after_point && !bg) {
      const int d = static_cast<int>(ch - '0');
      if (a < lim || (a == lim && d > 8)) bg = true;
      else a = a * 10 - d;
    }
    if (nd == 0 && ch == '0') {
      if (after_point) --e;
    } else if (nd < cap && nd < kaf::dec::kMaxInputDigits) {
      store[nd++] = static_cast<char>(ch);
      if (after_point) --e;
    } else {
      break;  // growth or digits past the kept ones: the general loop
    }
    // Fraction digits eight at a time while all eight are digits.
    while (after_point && nd > 0 && pos + 8 <= end && nd + 8 <= cap && nd + 8 <= kaf::dec::kMaxInputDigits) {
      std::uint64_t x;
      std::memcpy(&x, b + pos, 8);
      constexpr std::uint64_t high = 0xF0F0F0F0F0F0F0F0, zeros = 0x3030303030303030;
      if ((x & high) != zeros || ((x + 0x0606060606060606) & high) != zeros) break;
      std::memcpy(store + nd, b + pos, 8);
      nd += 8;
      e -= 8;
      pos += 8;
      taken += 8;
    }
    if (pos == end) {
      at_eor = true;
      ch = ' ';
      break;
    }
    ch = b[pos++];
    ++taken;
  }
  c.pos = pos;
  c.ch = ch;
  c.at_eor = at_eor;
  c.nchars += taken;
  c.ndigits = nd;
  c.exp10 = static_cast<std::int32_t>(e < -kExponentCap ? -kExponentCap : e);
  *acc = a;
  *big = bg;
}

// Digits into the integer accumulator (kept negative, so that the most
// negative value fits) and into the number text.
kaf_status scan_digits(kaf_ioctx &c, std::int64_t *acc, bool *big) {
  constexpr std::int64_t lim = std::numeric_limits<std::int64_t>::min() / 10;
  digit_run(c, false, acc, big);
  while (is_digit(c.ch)) {
    const int d = static_cast<int>(c.ch - '0');
    if (!*big) {
      if (*acc < lim || (*acc == lim && d > 8)) *big = true;
      else *acc = *acc * 10 - d;
    }
    add_digit(c, c.ch, false);
    if (kaf_status s = fetch(c)) return s;
  }
  return 0;
}

// Sets the integer result of the accumulated digits.
void finish_integer(kaf_ioctx &c, std::int64_t acc, bool big) {
  const bool negative = number_flags(c) & NUM_NEGATIVE;
  if (big) {
    c.value_type = LIO_BIG_INTEGER;
    return;
  }
  // The most negative value has no positive twin: it becomes the largest.
  c.int_value = negative ? acc : acc == std::numeric_limits<std::int64_t>::min()
                                     ? std::numeric_limits<std::int64_t>::max()
                                     : -acc;
  c.value_type = LIO_INTEGER;
}

// Infinity or NaN after the sign: INF, INFINITY, NAN, NAN(letters and digits).
kaf_status scan_special(kaf_ioctx &c, bool in_complex, std::int32_t *error) {
  const bool inf = upper(c.ch) == 'I';
  const char *word = inf ? "INFINITY" : "NAN";
  for (int i = 0; word[i]; ++i) {
    if (upper(c.ch) != static_cast<std::uint32_t>(word[i])) {
      if (inf && i == 3) break;  // INF alone
      *error = E_REAL_CHAR;
      return 0;
    }
    if (kaf_status s = fetch(c)) return s;
  }
  if (!inf && c.ch == '(' && !c.at_eor) {
    do {
      if (kaf_status s = fetch(c)) return s;
    } while (!c.at_eor && (is_digit(c.ch) || (upper(c.ch) >= 'A' && upper(c.ch) <= 'Z')));
    if (c.ch != ')' || c.at_eor) {
      *error = E_REAL_CHAR;
      return 0;
    }
    if (kaf_status s = fetch(c)) return s;
  }
  if (!ends_value(c, c.ch) && !(in_complex && c.ch == ')')) {
    *error = E_REAL_CHAR;
    return 0;
  }
  number_flags(c) |= inf ? NUM_INF : NUM_NAN;
  c.value_type = LIO_REAL;
  return 0;
}

// The fraction and exponent of a real whose integer digits (if any) have
// been scanned; saw_digit tells whether there were any.
kaf_status scan_rest_of_real(kaf_ioctx &c, bool in_complex, bool saw_digit, std::int32_t *error) {
  if (c.ch == c.lio_decimal_char && !c.at_eor) {
    if (kaf_status s = fetch(c)) return s;
    if (is_digit(c.ch) && !c.at_eor) saw_digit = true;
    std::int64_t unused_acc = 0;
    bool unused_big = true;
    digit_run(c, true, &unused_acc, &unused_big);
    while (is_digit(c.ch) && !c.at_eor) {
      saw_digit = true;
      add_digit(c, c.ch, true);
      if (kaf_status s = fetch(c)) return s;
    }
  }
  if (!saw_digit) {
    *error = E_REAL;
    return 0;
  }
  const std::uint32_t u = c.at_eor ? ' ' : upper(c.ch);
  if (u == 'E' || u == 'D' || u == '+' || u == '-') {
    if (u == 'E' || u == 'D')
      if (kaf_status s = fetch(c)) return s;
    bool negative = false;
    if ((c.ch == '+' || c.ch == '-') && !c.at_eor) {
      negative = c.ch == '-';
      if (kaf_status s = fetch(c)) return s;
    }
    if (!is_digit(c.ch) || c.at_eor) {
      *error = E_REAL;
      return 0;
    }
    std::int64_t e = 0;
    while (is_digit(c.ch) && !c.at_eor) {
      if (e < kExponentCap) e = e * 10 + (c.ch - '0');
      if (kaf_status s = fetch(c)) return s;
    }
    std::int64_t total = static_cast<std::int64_t>(c.exp10) + (negative ? -e : e);
    if (total > 2 * kExponentCap) total = 2 * kExponentCap;
    if (total < -2 * kExponentCap) total = -2 * kExponentCap;
    c.exp10 = static_cast<std::int32_t>(total);
  }
  if (!ends_value(c, c.ch) && !(in_complex && c.ch == ')')) {
    *error = E_REAL;
    return 0;
  }
  c.value_type = LIO_REAL;
  return 0;
}

// An integer or a real constant (read_real_or_int); *error receives the
// code of a malformed value (the caller raises it).
kaf_status scan_number(kaf_ioctx &c, bool in_complex, std::int32_t *error) {
  reset_number(c);
  *error = 0;
  if ((c.ch == '+' || c.ch == '-') && !c.at_eor) {
    if (c.ch == '-') number_flags(c) |= NUM_NEGATIVE;
    if (kaf_status s = fetch(c)) return s;
  }
  if (c.ch == c.lio_decimal_char && !c.at_eor) return scan_rest_of_real(c, in_complex, false, error);
  if (!c.at_eor && (upper(c.ch) == 'I' || upper(c.ch) == 'N')) return scan_special(c, in_complex, error);
  if (!is_digit(c.ch) || c.at_eor) {
    *error = E_REAL;
    return 0;
  }
  std::int64_t acc = 0;
  bool big = false;
  if (kaf_status s = scan_digits(c, &acc, &big)) return s;
  if (ends_value(c, c.ch) || (in_complex && c.ch == ')')) {
    finish_integer(c, acc, big);
    return 0;
  }
  return scan_rest_of_real(c, in_complex, true, error);
}

// An integer constant (read_integer): sign, digits, a value separator.
kaf_status scan_integer(kaf_ioctx &c, std::int32_t *error) {
  reset_number(c);
  *error = 0;
  if (c.ch == '+' || c.ch == '-') {
    if (c.ch == '-') number_flags(c) |= NUM_NEGATIVE;
    if (kaf_status s = fetch(c)) return s;
  }
  if (!is_digit(c.ch) || c.at_eor) {
    *error = E_INTEGER;
    return 0;
  }
  std::int64_t acc = 0;
  bool big = false;
  if (kaf_status s = scan_digits(c, &acc, &big)) return s;
  if (!ends_value(c, c.ch)) {
    *error = E_INTEGER;
    return 0;
  }
  finish_integer(c, acc, big);
  return 0;
}

kaf_status scan_logical(kaf_ioctx &c, std::int32_t *error) {
  *error = 0;
  if (c.ch == '.' && !c.at_eor)
    if (kaf_status s = fetch(c)) return s;
  const std::uint32_t u = c.at_eor ? ' ' : upper(c.ch);
  if (u != 'T' && u != 'F') {
    *error = E_LOGICAL;
    return 0;
  }
  c.int_value = u == 'T';
  // The rest of the word is ignored: .TRUE. and TUESDAY are both true.
  while (!ends_value(c, c.ch))
    if (kaf_status s = fetch(c)) return s;
  c.value_type = LIO_LOGICAL;
  return 0;
}

// The pending number at double-double precision, rounded under the
// statement's mode.
kaf_dd convert_number_dd(kaf_ioctx &c, bool *overflow) {
  const std::uint64_t flags = number_flags(c);
  const bool negative = flags & NUM_NEGATIVE;
  *overflow = false;
  kaf_dd v{0.0, 0.0};
  if (flags & NUM_NAN) {
    v.hi = std::numeric_limits<double>::quiet_NaN();
  } else if (flags & NUM_INF) {
    v.hi = HUGE_VAL;
  } else {
    int n = c.ndigits;
    std::int64_t e = c.exp10;
    const char *digits = digit_store(c);
    while (n > 0 && digits[n - 1] == '0') {
      --n;
      ++e;
    }
    kaf::dec::decimal_number number{digits, n, (flags & NUM_STICKY) != 0, e};
    v = kaf::dec::to_double_double(number, kaf::dec::magnitude_mode(c.round_mode, negative), overflow);
  }
  if (negative) {
    v.hi = -v.hi;
    v.lo = -v.lo;
  }
  return v;
}

// The precisions a complex constant is scanned for.
enum class precision { half, single, dbl, ddouble };

const kaf::dec::binary_format &format_of(precision p) {
  return p == precision::half ? kaf::dec::kHalf : p == precision::single ? kaf::dec::kSingle : kaf::dec::kDouble;
}

// One part of a complex constant, converted for the item's precision (the
// low half of a double-double part goes to *lo).
kaf_status scan_complex_part(kaf_ioctx &c, precision p, double *part, double *lo, std::int32_t *error) {
  if (kaf_status s = scan_number(c, true, error)) return s;
  if (*error) {
    *error = E_COMPLEX;
    return 0;
  }
  bool overflow;
  *lo = 0.0;
  if (p == precision::ddouble) {
    const kaf_dd v = convert_number_dd(c, &overflow);
    *part = v.hi;
    *lo = v.lo;
  } else {
    *part = convert_number(c, format_of(p), &overflow);
  }
  if (overflow) *error = E_OVERFLOW;
  return 0;
}

kaf_status scan_complex(kaf_ioctx &c, precision p, std::int32_t *error) {
  *error = E_COMPLEX;
  if (c.ch != '(' || c.at_eor) return 0;
  if (kaf_status s = fetch(c)) return s;
  if (kaf_status s = skip_blanks(c)) return s;
  double re = 0, im = 0, re_lo = 0, im_lo = 0;
  if (kaf_status s = scan_complex_part(c, p, &re, &re_lo, error)) return s;
  if (*error) return 0;
  *error = E_COMPLEX;
  if (kaf_status s = skip_blanks(c)) return s;
  if (c.ch != c.separator) return 0;
  if (kaf_status s = fetch(c)) return s;
  if (kaf_status s = skip_blanks(c)) return s;
  if (kaf_status s = scan_complex_part(c, p, &im, &im_lo, error)) return s;
  if (*error) return 0;
  *error = E_COMPLEX;
  if (kaf_status s = skip_blanks(c)) return s;
  if (c.ch != ')') return 0;
  if (kaf_status s = fetch(c)) return s;
  if (!ends_value(c, c.ch)) return 0;
  *error = 0;
  c.real_part = re;
  c.real_value = im;
  std::memcpy(&c.lio_spare[SPARE_RE_LO], &re_lo, sizeof re_lo);
  std::memcpy(&c.lio_spare[SPARE_IM_LO], &im_lo, sizeof im_lo);
  c.value_type = LIO_COMPLEX;
  return 0;
}

bool keep_char(kaf_ioctx &c, std::uint32_t ch) {
  if (c.char_len == c.char_cap) {
    const std::uint64_t cap = c.char_cap ? c.char_cap * 2 : 128;
    auto *block = static_cast<std::uint32_t *>(__KAFf90_oAlloc(cap * sizeof(std::uint32_t)));
    if (!block) return false;
    if (c.char_buf) {
      std::memcpy(block, c.char_buf, c.char_len * sizeof(std::uint32_t));
      __KAFf90_oDeAlloc(c.char_buf, c.char_cap * sizeof(std::uint32_t));
    }
    c.char_buf = block;
    c.char_cap = cap;
  }
  c.char_buf[c.char_len++] = ch;
  return true;
}

kaf_status scan_character(kaf_ioctx &c, std::int32_t *error) {
  *error = 0;
  c.char_len = 0;
  if ((c.ch == '\'' || c.ch == '"') && !c.at_eor) {
    const std::uint32_t delim = c.ch;
    for (;;) {
      if (kaf_status s = fetch(c)) return s;
      if (c.at_eor) continue;  // the string goes on in the next record
      if (c.ch == delim) {
        if (kaf_status s = fetch(c)) return s;
        if (c.ch != delim || c.at_eor) break;
      }
      if (!keep_char(c, c.ch)) {
        *error = E_CHARACTER;
        return 0;
      }
    }
  } else {
    while (!ends_value(c, c.ch)) {
      if (!keep_char(c, c.ch)) {
        *error = E_CHARACTER;
        return 0;
      }
      if (kaf_status s = fetch(c)) return s;
    }
  }
  c.value_type = LIO_CHARACTER;
  return 0;
}

// ---- Repeat factors and the item frame --------------------------------------

kaf_status repeat_exists(kaf_ioctx &c, bool *repeat) {
  *repeat = false;
  if (c.ch == '/') return 0;
  if (kaf_status s = skip_blanks(c)) return s;
  if (c.ch == c.separator) {
    if (kaf_status s = fetch(c)) return s;
    if (kaf_status s = skip_blanks(c)) return s;
  }
  if (!is_digit(c.ch) || c.at_eor) return 0;
  // Look ahead in the record without moving: digits, then '*'.
  const unsigned w = unit_width(c.encoding);
  for (std::int64_t i = c.pos; i < c.rec_len; ++i) {
    const std::uint32_t u = w == 1   ? byte_at(c, i)
                            : w == 2 ? static_cast<const std::uint16_t *>(c.buffer)[i]
                                     : static_cast<const std::uint32_t *>(c.buffer)[i];
    if (is_digit(u)) continue;
    *repeat = u == '*';
    return 0;
  }
  return 0;
}

kaf_status get_repeat(kaf_ioctx &c) {
  c.int_value = 0;
  c.value_type = 0;
  std::int64_t r = 0;
  while (is_digit(c.ch)) {
    r = r * 10 + (c.ch - '0');
    if (r > std::numeric_limits<std::int32_t>::max()) return fail(c, E_REPEAT_HUGE);
    if (kaf_status s = fetch(c)) return s;
  }
  if (c.ch != '*') return fail(c, E_INTEGER);
  if (r == 0) return fail(c, E_ZERO_REPEAT);
  c.repeat_left = static_cast<std::uint64_t>(r);
  return fetch(c);
}

enum class take { none, pending, scan };

// The common frame of every item: a value still repeated, a new repeat
// factor, or a null value that leaves the item unchanged.
kaf_status begin_item(kaf_ioctx &c, take *t) {
  *t = take::none;
  if (c.repeat_left) {
    --c.repeat_left;
    if (c.value_type != LIO_NULL_REPEAT) *t = take::pending;
    return 0;
  }
  bool repeat;
  if (kaf_status s = repeat_exists(c, &repeat)) return s;
  if (repeat) {
    if (kaf_status s = get_repeat(c)) return s;
    --c.repeat_left;
    if (ends_value(c, c.ch)) {
      c.value_type = LIO_NULL_REPEAT;
      return 0;
    }
  } else if (ends_value(c, c.ch)) {
    return 0;
  }
  *t = take::scan;
  return 0;
}

// After the item: the heap blocks go unless the value is still repeated.
inline void end_item(kaf_ioctx &c) {
  if (c.repeat_left == 0) release_scan_buffers(c);
}

// The common start of every item: true when the item ends here, with its
// status in *s — a null value (the item keeps its value) or an error.
// Otherwise the value is scanned by `scan` unless it repeats the previous one.
template <typename Scan>
bool item_ends_early(kaf_ioctx &c, kaf_status *s, Scan scan) {
  take t;
  *s = begin_item(c, &t);
  if (*s || t == take::none) return true;
  if (t == take::scan) {
    std::int32_t error;
    if ((*s = scan(&error))) return true;
    if (error) {
      *s = fail(c, error);
      return true;
    }
  }
  return false;
}

template <typename Int>
kaf_status read_integer_item(kaf_ioctx &c, Int *item, std::int32_t too_big) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_integer(c, error); })) return s;
  if (c.value_type == LIO_BIG_INTEGER) return fail(c, too_big);
  if (c.value_type != LIO_INTEGER) return fail(c, E_INTEGER);
  if (c.int_value < std::numeric_limits<Int>::min() || c.int_value > std::numeric_limits<Int>::max())
    return fail(c, too_big);
  *item = static_cast<Int>(c.int_value);
  end_item(c);
  return 0;
}

template <typename Int>
kaf_status read_logical_item(kaf_ioctx &c, Int *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_logical(c, error); })) return s;
  if (c.value_type != LIO_LOGICAL) return fail(c, E_LOGICAL);
  *item = static_cast<Int>(c.int_value);
  end_item(c);
  return 0;
}

template <typename Real>
kaf_status read_real_item(kaf_ioctx &c, Real *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_number(c, false, error); })) return s;
  if (c.value_type != LIO_INTEGER && c.value_type != LIO_BIG_INTEGER && c.value_type != LIO_REAL)
    return fail(c, E_REAL);
  constexpr bool single = sizeof(Real) == 4;
  bool overflow;
  const double v = convert_number(c, single ? kaf::dec::kSingle : kaf::dec::kDouble, &overflow);
  // Rounding toward zero keeps the largest finite value; every other
  // overflow is an error.
  if (overflow && (single || std::isinf(v))) return fail(c, E_OVERFLOW);
  *item = static_cast<Real>(v);
  end_item(c);
  return 0;
}

template <typename Real>
kaf_status read_complex_item(kaf_ioctx &c, Real *item) {
  kaf_status s;
  constexpr precision kind = sizeof(Real) == 4 ? precision::single : precision::dbl;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_complex(c, kind, error); })) return s;
  if (c.value_type != LIO_COMPLEX) return fail(c, E_COMPLEX);
  item[0] = static_cast<Real>(c.real_part);
  item[1] = static_cast<Real>(c.real_value);
  end_item(c);
  return 0;
}

// The 16 bits of a half-precision value; v is exactly representable.
std::uint16_t half_bits(double v) {
  std::uint16_t sign = std::signbit(v) ? 0x8000 : 0;
  const double m = std::fabs(v);
  if (std::isnan(v)) return static_cast<std::uint16_t>(sign | 0x7E00);
  if (std::isinf(v)) return static_cast<std::uint16_t>(sign | 0x7C00);
  if (m < 0x1p-14) return static_cast<std::uint16_t>(sign | static_cast<std::uint16_t>(m * 0x1p24));
  int e;
  const double f = std::frexp(m, &e);  // m = f * 2^e, 0.5 <= f < 1
  const auto fraction = static_cast<std::uint16_t>((f * 2 - 1) * 1024);
  return static_cast<std::uint16_t>(sign | ((e - 1 + 15) << 10) | fraction);
}

// REAL of half precision (its 16 bits) and of double-double precision: the
// kept digits converted to the item's own kind.
kaf_status read_half_item(kaf_ioctx &c, std::uint16_t *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_number(c, false, error); })) return s;
  if (c.value_type != LIO_INTEGER && c.value_type != LIO_BIG_INTEGER && c.value_type != LIO_REAL)
    return fail(c, E_REAL);
  bool overflow;
  const double v = convert_number(c, kaf::dec::kHalf, &overflow);
  if (overflow) return fail(c, E_OVERFLOW);
  *item = half_bits(v);
  end_item(c);
  return 0;
}

kaf_status read_dd_item(kaf_ioctx &c, kaf_dd *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_number(c, false, error); })) return s;
  if (c.value_type != LIO_INTEGER && c.value_type != LIO_BIG_INTEGER && c.value_type != LIO_REAL)
    return fail(c, E_REAL);
  bool overflow;
  const kaf_dd v = convert_number_dd(c, &overflow);
  if (overflow && std::isinf(v.hi)) return fail(c, E_OVERFLOW);
  std::memcpy(item, &v, sizeof v);
  end_item(c);
  return 0;
}

// COMPLEX of half precision (two 16-bit parts) and of double-double
// precision.
kaf_status read_complex_half_item(kaf_ioctx &c, std::uint16_t *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_complex(c, precision::half, error); })) return s;
  if (c.value_type != LIO_COMPLEX) return fail(c, E_COMPLEX);
  item[0] = half_bits(c.real_part);
  item[1] = half_bits(c.real_value);
  end_item(c);
  return 0;
}

kaf_status read_complex_dd_item(kaf_ioctx &c, kaf_ddc *item) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_complex(c, precision::ddouble, error); })) return s;
  if (c.value_type != LIO_COMPLEX) return fail(c, E_COMPLEX);
  kaf_ddc v;
  v.re.hi = c.real_part;
  v.im.hi = c.real_value;
  std::memcpy(&v.re.lo, &c.lio_spare[SPARE_RE_LO], sizeof v.re.lo);
  std::memcpy(&v.im.lo, &c.lio_spare[SPARE_IM_LO], sizeof v.im.lo);
  std::memcpy(item, &v, sizeof v);
  end_item(c);
  return 0;
}

// Stores the collected code points into a default-kind item: bytes of the
// record's own encoding (UTF-8 and Shift-JIS characters are written back as
// their bytes), blank-padded or truncated to len.
void store_bytes(const kaf_ioctx &c, unsigned char *item, std::int64_t len) {
  std::int64_t n = 0;
  for (std::uint64_t i = 0; i < c.char_len && n < len; ++i) {
    const std::uint32_t v = c.char_buf[i];
    unsigned char b[4];
    int k = 0;
    if (c.lio_encoding == ENC_UTF8 && v >= 0x80) {
      if (v < 0x800) {
        b[k++] = static_cast<unsigned char>(0xC0 | (v >> 6));
      } else if (v < 0x10000) {
        b[k++] = static_cast<unsigned char>(0xE0 | (v >> 12));
        b[k++] = static_cast<unsigned char>(0x80 | ((v >> 6) & 0x3F));
      } else {
        b[k++] = static_cast<unsigned char>(0xF0 | (v >> 18));
        b[k++] = static_cast<unsigned char>(0x80 | ((v >> 12) & 0x3F));
        b[k++] = static_cast<unsigned char>(0x80 | ((v >> 6) & 0x3F));
      }
      b[k++] = static_cast<unsigned char>(0x80 | (v & 0x3F));
    } else if (c.lio_encoding == ENC_SJIS_BYTES && v > 0xFF) {
      b[k++] = static_cast<unsigned char>(v >> 8);
      b[k++] = static_cast<unsigned char>(v);
    } else {
      b[k++] = static_cast<unsigned char>(v);
    }
    for (int j = 0; j < k && n < len; ++j) item[n++] = b[j];
  }
  if (n < len) std::memset(item + n, ' ', static_cast<std::size_t>(len - n));
}

template <typename Unit>
void store_units(const kaf_ioctx &c, lio_char_kind kind, Unit *item, std::int64_t len) {
  const bool sjis_record = c.lio_encoding == ENC_SJIS_BYTES || c.lio_encoding == ENC_SJIS16;
  std::int64_t n = 0;
  for (; n < len && static_cast<std::uint64_t>(n) < c.char_len; ++n) {
    std::uint32_t v = c.char_buf[n];
    if (kind == LIO_KIND_SJIS) {
      if (!sjis_record) v = unicode_to_sjis(v);
    } else {
      if (sjis_record) v = sjis_to_unicode(v);
      if (kind == LIO_KIND_UCS2 && v > 0xFFFF) v = REPLACEMENT;
    }
    item[n] = static_cast<Unit>(v);
  }
  for (; n < len; ++n) item[n] = ' ';
}

}  // namespace

kaf_status get_nextchar(kaf_ioctx &c) {
  if (c.at_eor) {
    if (kaf_status s = c.next_record(&c, 0, nullptr, nullptr)) {
      release_scan_buffers(c);
      return s;
    }
    c.at_eor = 0;
  }
  if (c.pos >= c.rec_len) {
    // The end of a record reads as one blank.
    c.at_eor = 1;
    c.ch = ' ';
    return 0;
  }
  if (plain_bytes(c.lio_encoding)) {
    c.ch = byte_at(c, c.pos++);
    ++c.nchars;
    return 0;
  }
  return decode_slow(c);
}

namespace {
kaf_status fetch_slow(kaf_ioctx &c) { return get_nextchar(c); }
}  // namespace

void release_scan_buffers(kaf_ioctx &c) {
  free_digits(c);
  free_chars(c);
}

kaf_status read_character_item(kaf_ioctx &c, lio_char_kind kind, void *item, std::int64_t len, bool) {
  kaf_status s;
  if (item_ends_early(c, &s, [&](std::int32_t *error) { return scan_character(c, error); })) return s;
  if (c.value_type != LIO_CHARACTER) return fail(c, E_CHARACTER);
  switch (kind) {
  case LIO_KIND_BYTES: store_bytes(c, static_cast<unsigned char *>(item), len); break;
  case LIO_KIND_UCS4: store_units(c, kind, static_cast<std::uint32_t *>(item), len); break;
  default: store_units(c, kind, static_cast<std::uint16_t *>(item), len); break;
  }
  end_item(c);
  return 0;
}

extern "C" {

kaf_ioctx *__KAFf90_init_linput(kaf_ioctx *ctx) {
  kaf_ioctx &c = *ctx;
  c.flags |= IOF_EOR;
  const auto *parent = static_cast<const kaf_ioctx *>(c.parent);
  if (parent) {
    c.decimal_char = parent->decimal_char;
    c.round_mode = parent->round_mode;
    c.blank_mode = parent->blank_mode;
    c.sign_mode = parent->sign_mode;
  } else if (c.unit && !c.internal) {
    const auto *u = static_cast<const kaf_unit_head *>(c.unit);
    if (u->decimal_char) c.decimal_char = u->decimal_char;
    c.round_mode = u->round_mode;
    c.blank_mode = u->blank_mode;
  }
  if (c.decimal_char != ',') c.decimal_char = '.';
  c.lio_decimal_char = c.decimal_char;
  c.separator = c.decimal_char == ',' ? ';' : ',';
  if (parent && parent->edit_code != EDIT_DT) {
    // A child statement continues its parent's scan: current character,
    // repeat count and the pending value. The heap blocks stay the parent's.
    c.ch = parent->ch;
    c.repeat_left = parent->repeat_left;
    c.at_eor = parent->at_eor;
    c.int_value = parent->int_value;
    c.real_value = parent->real_value;
    c.real_part = parent->real_part;
    c.exp10 = parent->exp10;
    c.ndigits = parent->ndigits;
    c.value_type = parent->value_type;
    c.lio_encoding = parent->lio_encoding;
    c.lio_spare[SPARE_NUMBER_FLAGS] = parent->lio_spare[SPARE_NUMBER_FLAGS];
    const std::int32_t inline_digits = c.ndigits < static_cast<std::int32_t>(kInlineDigits)
                                           ? c.ndigits
                                           : static_cast<std::int32_t>(kInlineDigits);
    std::memcpy(c.digits, parent->digits_heap ? parent->digits_heap : parent->digits,
                static_cast<std::size_t>(inline_digits));
    c.ndigits = inline_digits;
    c.digits_heap = nullptr;
    c.digits_heap_size = 0;
    c.char_buf = nullptr;
    c.char_len = c.char_cap = 0;
    return ctx;
  }
  c.ch = c.separator;  // the first item reads as if a separator had just passed
  c.repeat_left = 0;
  c.at_eor = 0;
  c.value_type = 0;
  c.digits_heap = nullptr;
  c.digits_heap_size = 0;
  c.saved_heap = nullptr;
  c.saved_size = c.saved_len = 0;
  c.char_buf = nullptr;
  c.char_len = c.char_cap = 0;
  c.lio_encoding = c.encoding;
  return ctx;
}

void __KAFf90_lio_end_input(kaf_ioctx *ctx) { release_scan_buffers(*ctx); }

std::uint64_t __KAFf90_linput_getch(kaf_ioctx *ctx) { return get_nextchar(*ctx); }

std::int32_t __KAFf90_lio_read_i1(kaf_ioctx *ctx, std::int8_t *item) {
  return static_cast<std::int32_t>(read_integer_item(*ctx, item, E_INT1));
}
std::int32_t __KAFf90_lio_read_i2(kaf_ioctx *ctx, std::int16_t *item) {
  return static_cast<std::int32_t>(read_integer_item(*ctx, item, E_INT2));
}
std::int32_t __KAFf90_lio_read_i(kaf_ioctx *ctx, std::int32_t *item) {
  return static_cast<std::int32_t>(read_integer_item(*ctx, item, E_INT));
}
std::int32_t __KAFf90_lio_read_i4(kaf_ioctx *ctx, std::int64_t *item) {
  return static_cast<std::int32_t>(read_integer_item(*ctx, item, E_INT8));
}
std::int32_t __KAFf90_lio_read_l(kaf_ioctx *ctx, std::int32_t *item) {
  return static_cast<std::int32_t>(read_logical_item(*ctx, item));
}
// The other widths take the same 0 or 1 (a null value leaves all their
// bits as they were).
std::int32_t __KAFf90_lio_read_l1(kaf_ioctx *ctx, std::int8_t *item) {
  return static_cast<std::int32_t>(read_logical_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_l2(kaf_ioctx *ctx, std::int16_t *item) {
  return static_cast<std::int32_t>(read_logical_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_l4(kaf_ioctx *ctx, std::int64_t *item) {
  return static_cast<std::int32_t>(read_logical_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_r(kaf_ioctx *ctx, float *item) {
  return static_cast<std::int32_t>(read_real_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_d(kaf_ioctx *ctx, double *item) {
  return static_cast<std::int32_t>(read_real_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_c(kaf_ioctx *ctx, float *item) {
  return static_cast<std::int32_t>(read_complex_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_dc(kaf_ioctx *ctx, double *item) {
  return static_cast<std::int32_t>(read_complex_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_h(kaf_ioctx *ctx, std::uint16_t *item) {
  return static_cast<std::int32_t>(read_half_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_dd(kaf_ioctx *ctx, kaf_dd *item) {
  return static_cast<std::int32_t>(read_dd_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_hc(kaf_ioctx *ctx, std::uint16_t *item) {
  return static_cast<std::int32_t>(read_complex_half_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_ddc(kaf_ioctx *ctx, kaf_ddc *item) {
  return static_cast<std::int32_t>(read_complex_dd_item(*ctx, item));
}
std::int32_t __KAFf90_lio_read_ch(kaf_ioctx *ctx, char *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_BYTES, item, static_cast<std::int64_t>(len), false));
}
std::int32_t __KAFf90_lio_read_ch2j(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_SJIS, item, static_cast<std::int64_t>(len), false));
}
std::int32_t __KAFf90_lio_read_ch2u(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_UCS2, item, static_cast<std::int64_t>(len), false));
}
std::int32_t __KAFf90_lio_read_ch4(kaf_ioctx *ctx, std::uint32_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_UCS4, item, static_cast<std::int64_t>(len), false));
}
std::int32_t __KAFf90_lio_read_nl_ch(kaf_ioctx *ctx, char *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_BYTES, item, static_cast<std::int64_t>(len), true));
}
std::int32_t __KAFf90_lio_read_nl_ch2j(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_SJIS, item, static_cast<std::int64_t>(len), true));
}
std::int32_t __KAFf90_lio_read_nl_ch2u(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_UCS2, item, static_cast<std::int64_t>(len), true));
}
std::int32_t __KAFf90_lio_read_nl_ch4(kaf_ioctx *ctx, std::uint32_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      read_character_item(*ctx, LIO_KIND_UCS4, item, static_cast<std::int64_t>(len), true));
}

}  // extern "C"
