// Real input fields: the token rules of a real field (sign, digits with one
// decimal symbol, blanks under BN/BZ, Inf/Infinity/NaN(...), exponent forms,
// the implied decimal point and the scale factor) over any character source,
// and the correctly rounded conversion of the result to each real kind.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "format/decimal.h"
#include "format/freal.h"

namespace kaf::freal {

// How the field is read: the statement's modes and the descriptor's d and k.
struct input_spec {
  bool blank_zero;          // BZ: blanks are zeros; otherwise they are ignored
  char decimal_char;        // '.' or ','
  std::int32_t d;           // digits after an implied decimal point (< 0: none)
  std::int32_t scale;       // k of kP, applied only without an exponent
  std::uint32_t round_mode; // the statement's rounding mode code
};

// What the field held. `error` is 0, 1038 (sign without digits), 1039 (bad
// exponent) or 1040 (stray character); value holds what was read up to the
// error, as the item is stored before the error is raised.
struct real_input {
  std::int32_t error;
  bool overflow;  // beyond the kind's range (code 1115 unless signalled)
  double hi, lo;  // lo only for double-double
};

namespace scan {
inline bool is_blank(std::uint32_t c) { return c == ' ' || c == '\t'; }
inline bool is_digit(std::uint32_t c) { return c >= '0' && c <= '9'; }
inline std::uint32_t upper(std::uint32_t c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }

// Significant digits as they are met: leading zeros skipped, at most
// kMaxInputDigits kept, any nonzero digit past them only noted; `head` is
// the value of the first min(n, 19) kept digits.
struct digit_sink {
  char digits[dec::kMaxInputDigits];
  int n = 0;
  bool sticky = false;
  std::int64_t dropped = 0;  // digits not kept (each multiplies by 10)
  bool any = false;          // a digit (even 0) was seen
  std::uint64_t head = 0;
};

// Exponent value cap: far beyond every kind's range, and safe to add to.
constexpr std::int64_t kExponentCap = 1000000000;

}  // namespace scan

// Converts collected digits times 10^exp10 to the kind, rounded in the
// statement's mode.
real_input convert_digits(const scan::digit_sink &s, bool negative, std::int64_t exp10,
                          const input_spec &how, real_kind kind);

// Source of field characters: returns a status (nonzero ends the read at
// once) and sets *ch to the next character, 0 at the end of the field.
template <typename Source>
[[gnu::always_inline]] inline std::uint64_t scan_real_body(Source &next, const input_spec &how, real_kind kind,
                                                         real_input *out) {
  std::uint32_t c;
  auto get = [&]() -> std::uint64_t { return next(&c); };
  *out = {0, false, 0.0, 0.0};
  if (std::uint64_t st = get()) return st;
  while (c != 0 && scan::is_blank(c)) {
    if (std::uint64_t st = get()) return st;
  }
  bool negative = false;
  if (c == '+' || c == '-') {
    negative = c == '-';
    if (std::uint64_t st = get()) return st;
    if (!how.blank_zero) {
      while (c != 0 && scan::is_blank(c))
        if (std::uint64_t st = get()) return st;
    }
    if (c == 0) {
      out->error = 1038;
      return 0;
    }
  }
  if (scan::upper(c) == 'I' || scan::upper(c) == 'N') {
    // Inf, Infinity, NaN and NaN(letters and digits), any case, then blanks.
    char word[9];
    int len = 0;
    while (c != 0 && !scan::is_blank(c) && c != '(' && len < 8) {
      word[len++] = static_cast<char>(scan::upper(c));
      if (std::uint64_t st = get()) return st;
    }
    word[len] = 0;
    bool inf = std::strcmp(word, "INF") == 0 || std::strcmp(word, "INFINITY") == 0;
    bool nan = std::strcmp(word, "NAN") == 0;
    if (nan && c == '(') {
      do {
        if (std::uint64_t st = get()) return st;
      } while (c != 0 && c != ')' && (scan::is_digit(c) || (scan::upper(c) >= 'A' && scan::upper(c) <= 'Z')));
      if (c != ')') nan = false;
      else if (std::uint64_t st = get()) return st;
    }
    while (c != 0 && scan::is_blank(c))
      if (std::uint64_t st = get()) return st;
    if ((!inf && !nan) || c != 0) {
      out->error = 1040;
      return 0;
    }
    out->hi = nan ? std::nan("") : negative ? -HUGE_VAL : HUGE_VAL;
    return 0;
  }
  scan::digit_sink digits;
  bool point = false;
  std::int64_t after_point = 0;
  {
    // The hot loop keeps its state in locals and stores the sink once.
    int n = 0;
    bool any = false;
    std::uint64_t head = 0;
    for (;;) {
      std::uint32_t v = c - '0';
      if (v > 9) {
        if (scan::is_blank(c) && how.blank_zero) {
          v = 0;
        } else if (scan::is_blank(c)) {
          if (std::uint64_t st = get()) return st;  // BN: ignored
          continue;
        } else if (c == static_cast<unsigned char>(how.decimal_char) && !point) {
          point = true;
          if (std::uint64_t st = get()) return st;
          continue;
        } else {
          break;
        }
      }
      any = true;
      if (point) ++after_point;
      if (n > 0 || v != 0) {
        if (n < dec::kMaxInputDigits) {
          digits.digits[n++] = static_cast<char>('0' + v);
          if (n <= 19) head = head * 10 + v;
        } else {
          ++digits.dropped;
          if (v != 0) digits.sticky = true;
        }
      }
      if (std::uint64_t st = get()) return st;
    }
    digits.n = n;
    digits.any = any;
    digits.head = head;
  }
  // The position of the digits: those after the point, or an implied
  // decimal point d digits from the right.
  std::int64_t shift = -after_point;
  if (!point && how.d > 0) shift -= how.d;
  bool has_exponent = false;
  std::int64_t exponent = 0;
  std::int32_t error = 0;
  if (c != 0) {
    std::uint32_t u = scan::upper(c);
    if ((u == 'E' || u == 'D' || u == '+' || u == '-') && digits.any) {
      has_exponent = true;
      if (u == 'E' || u == 'D') {
        if (std::uint64_t st = get()) return st;
        while (c != 0 && scan::is_blank(c) && !how.blank_zero)
          if (std::uint64_t st = get()) return st;
      }
      bool eneg = false;
      if (c == '+' || c == '-') {
        eneg = c == '-';
        if (std::uint64_t st = get()) return st;
      }
      bool any = false;
      for (;;) {
        if (scan::is_digit(c) || (scan::is_blank(c) && how.blank_zero)) {
          any = true;
          if (exponent < scan::kExponentCap) exponent = exponent * 10 + (scan::is_blank(c) ? 0 : c - '0');
        } else if (!scan::is_blank(c)) {
          break;
        }
        if (std::uint64_t st = get()) return st;
      }
      if (eneg) exponent = -exponent;
      if (!any) error = 1039;
      else if (c != 0) error = 1040;
    } else {
      error = 1040;
    }
  }
  std::int64_t exp10 = shift + (has_exponent ? exponent : -static_cast<std::int64_t>(how.scale));
  *out = convert_digits(digits, negative, exp10, how, kind);
  out->error = error;
  return 0;
}

// Scans on a copy of the source (held in registers), handing back where it
// ended.
template <typename Source>
inline std::uint64_t scan_real(Source &next, const input_spec &how, real_kind kind, real_input *out) {
  Source local = next;
  std::uint64_t st = scan_real_body(local, how, kind, out);
  next = local;
  return st;
}

// The same over a text of len characters (kaffmt, the tests, the message
// insertions and any other reader of real text).
real_input scan_real_text(const char *text, std::size_t len, const input_spec &how, real_kind kind);
// The same by the character-at-a-time reader alone (what a field that is
// not all in the buffer takes).
real_input scan_real_text_general(const char *text, std::size_t len, const input_spec &how, real_kind kind);

// The common field, straight from memory: blanks, a sign, digits with a
// decimal symbol, an exponent, blanks, and nothing else (not under BZ).
// Returns false, having stored nothing, for any other field: the general
// reader then takes it from its start.
bool scan_real_plain(const unsigned char *p, const unsigned char *end, const input_spec &how,
                     real_kind kind, real_input *out);

// IEEE binary16 bits of a double that is exactly representable as a half
// (as the half readers produce), and the value of half bits.
std::uint16_t half_bits(double v);
double half_value(std::uint16_t bits);

}  // namespace kaf::freal
