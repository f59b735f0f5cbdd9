// Real output editing into a text buffer: F, E, D, EN, ES, G and G0 fields,
// infinities and NaNs. Digits come from format/decimal.cpp, correctly rounded
// under the statement's mode; this file only lays them out.
#include <bit>
#include <cmath>
#include <cstring>

#include "format/decimal.h"
#include "format/freal.h"

namespace kaf::freal {
namespace {

using dec::decimal_digits;

// Digit i of 0.D x 10^decpt counted from the first digit (zeros past n).
char digit_at(const decimal_digits &dd, int i) { return i >= 0 && i < dd.n ? dd.d[i] : '0'; }

field star_field() { return {0, 0, true, 0}; }

// Fits text of length len into width w: blanks before it, or asterisks.
field fit(std::int32_t w, int len) {
  if (w == 0) return {0, len, false, 0};
  if (len > w) return {0, 0, true, 0};
  return {w - len, len, false, 0};
}

// Writes the exponent part; returns the length or -1 when it cannot be
// written in e digits, -2 when it needs more than three digits and e is absent.
// `minimal` (the width-zero forms without Ee): the letter and as few digits as
// the exponent needs.
int put_exponent(char *p, int exp, char letter, std::int32_t e, bool minimal) {
  int mag = exp < 0 ? -exp : exp;
  int digits = mag >= 1000 ? 4 + (mag >= 10000) : mag >= 100 ? 3 : 2;
  int n = 0;
  if (e > 0) {
    if (mag >= 10000 || (e < 4 && mag >= (e == 1 ? 10 : e == 2 ? 100 : 1000))) return -1;
    digits = e;
    p[n++] = letter;
  } else if (minimal) {
    if (digits > 3) return -2;
    digits = mag >= 100 ? 3 : mag >= 10 ? 2 : 1;
    p[n++] = letter;
  } else {
    if (digits > 3) return -2;
    if (digits == 2) p[n++] = letter;
  }
  p[n++] = exp < 0 ? '-' : '+';
  for (int i = digits - 1; i >= 0; --i) {
    p[n + i] = static_cast<char>('0' + mag % 10);
    mag /= 10;
  }
  return n + digits;
}

struct sign_info {
  bool negative;
  bool plus;
  bool single_double = true;  // a double (or narrower) item, not a double-double
};

int put_sign(char *p, sign_info s) {
  if (s.negative) {
    *p = '-';
    return 1;
  }
  if (s.plus) {
    *p = '+';
    return 1;
  }
  return 0;
}

// Removes the zero before the decimal symbol when the field would otherwise
// not fit (or w is 0) and a digit follows the symbol.
int drop_optional_zero(char *text, int len, int sign_len, std::int32_t w, char point,
                       bool keep_zero) {
  if (!keep_zero && (w == 0 || len == w + 1) && len >= sign_len + 3 && text[sign_len] == '0' &&
      text[sign_len + 1] == point && text[sign_len + 2] >= '0' && text[sign_len + 2] <= '9') {
    std::memmove(text + sign_len, text + sign_len + 1, static_cast<std::size_t>(len - sign_len - 1));
    return len - 1;
  }
  return len;
}

// F editing of the magnitude given as rounded digits (value 0.D x 10^decpt
// already rounded to frac digits after the point).
int layout_F(char *text, sign_info s, const decimal_digits &dd, int frac, char point) {
  int n = put_sign(text, s);
  if (dd.n == 0 || dd.decpt <= 0) {
    text[n++] = '0';
  } else {
    for (int i = 0; i < dd.decpt; ++i) text[n++] = digit_at(dd, i);
  }
  text[n++] = point;
  for (int j = 0; j < frac; ++j) text[n++] = dd.n == 0 ? '0' : digit_at(dd, dd.decpt + j);
  return n;
}

dec::rmode mode_for(const edit_spec &s, bool negative) {
  return dec::magnitude_mode(s.round_mode, negative);
}

// F editing of hi + lo with frac digits after the point; the value is scaled
// by 10^k first.
// `pre`, when given, holds the digits already rounded at the right place.
field format_F(const edit_spec &s, sign_info sg, double hi, double lo, int frac, int k, char *text,
             bool keep_zero = false, const decimal_digits *pre = nullptr) {
  decimal_digits own;
  const decimal_digits &dd = pre ? *pre : own;
  if (pre) {
    // laid out as they are
  } else if (hi == 0 && lo == 0) {
    own.n = 0;
    own.decpt = 0;
  } else {
    dec::to_fixed(hi, lo, frac + k, mode_for(s, sg.negative), own);
    own.decpt += k;
  }
  int len = layout_F(text, sg, dd, frac, s.decimal_char);
  len = drop_optional_zero(text, len, sg.negative || sg.plus, s.w, s.decimal_char, keep_zero);
  return fit(s.w, len);
}

// The E and D forms (letter 'E' or 'D'), with scale factor k.
field format_E_form(const edit_spec &s, sign_info sg, double hi, double lo, char letter, char *text,
             bool keep_zero = false, const decimal_digits *pre = nullptr) {
  int d = s.d < 0 ? 0 : s.d, k = s.k;
  if (k <= -d || k > d + 1) return {0, 0, false, 1002};
  int sig = k <= 0 ? d + k : d + 1;
  // Rounding to nearest, a double's E field carries at most 41 significant
  // digits (the value rounded there); any further digits are zeros. The
  // directed modes and double-double items carry every digit.
  int asked = sig;
  if (sg.single_double && (s.round_mode == 0 || s.round_mode == 4) && sig > 41) {
    asked = 41;
    pre = nullptr;
  }
  decimal_digits own;
  const decimal_digits &dd = pre ? *pre : own;
  int exp;
  if (pre) {
    exp = dd.decpt - k;
  } else if (hi == 0 && lo == 0) {
    own.n = 0;
    exp = 0;
  } else {
    dec::to_significant(hi, lo, asked, mode_for(s, sg.negative), own);
    exp = own.decpt - k;
  }
  int n = put_sign(text, sg);
  if (k <= 0) {
    text[n++] = '0';
    text[n++] = s.decimal_char;
    for (int i = 0; i < -k; ++i) text[n++] = '0';
    for (int i = 0; i < sig; ++i) text[n++] = digit_at(dd, i);
  } else {
    for (int i = 0; i < k; ++i) text[n++] = digit_at(dd, i);
    text[n++] = s.decimal_char;
    for (int i = k; i < sig; ++i) text[n++] = digit_at(dd, i);
  }
  int el = put_exponent(text + n, exp, letter, s.e, s.w == 0);
  if (el == -2) return {0, 0, false, 1003};
  if (el < 0) return s.w == 0 ? field{0, 0, false, 1003} : star_field();
  n += el;
  n = drop_optional_zero(text, n, sg.negative || sg.plus, s.w, s.decimal_char, keep_zero);
  return fit(s.w, n);
}

// Digits of the mantissa d1.d2...dm x 10^exp, laid out with `before` digits
// ahead of the point (ES: 1; EN: 1 to 3).
field layout_scientific(const edit_spec &s, sign_info sg, const decimal_digits &dd, int before,
                        int after, int exp, char *text) {
  int n = put_sign(text, sg);
  for (int i = 0; i < before; ++i) text[n++] = digit_at(dd, i);
  text[n++] = s.decimal_char;
  for (int i = 0; i < after; ++i) text[n++] = digit_at(dd, before + i);
  int el = put_exponent(text + n, exp, 'E', s.e, s.w == 0);
  if (el == -2) return {0, 0, false, 1003};
  if (el < 0) return s.w == 0 ? field{0, 0, false, 1003} : star_field();
  return fit(s.w, n + el);
}

field format_ES(const edit_spec &s, sign_info sg, double hi, double lo, char *text) {
  int d = s.d < 0 ? 0 : s.d;
  decimal_digits dd;
  int exp = 0;
  if (hi == 0 && lo == 0) {
    dd.n = 0;
  } else {
    dec::to_significant(hi, lo, d + 1, mode_for(s, sg.negative), dd);
    exp = dd.decpt - 1;
  }
  return layout_scientific(s, sg, dd, 1, d, exp, text);
}

int floor_mod3(int x) { return ((x % 3) + 3) % 3; }

field format_EN(const edit_spec &s, sign_info sg, double hi, double lo, char *text) {
  int d = s.d < 0 ? 0 : s.d;
  decimal_digits dd;
  if (hi == 0 && lo == 0) {
    dd.n = 0;
    return layout_scientific(s, sg, dd, 1, d, 0, text);
  }
  // The exponent of the value itself decides how many digits precede the
  // point; rounding may carry into the next power of ten (999.96 -> 1000),
  // and the digits are then 1 followed by zeros, laid out for that exponent.
  dec::to_significant(hi, lo, 1, dec::rmode::toward_zero, dd);
  int x0 = dd.decpt - 1;
  int before = floor_mod3(x0) + 1;
  dec::to_significant(hi, lo, before + d, mode_for(s, sg.negative), dd);
  int x = dd.decpt - 1;
  before = floor_mod3(x) + 1;
  return layout_scientific(s, sg, dd, before, d, x - (before - 1), text);
}

// Significant digits G0 uses for each kind: enough to read the value back.
int g0_digits(real_kind kind) {
  switch (kind) {
    case real_kind::half: return 5;
    case real_kind::single: return 9;
    case real_kind::dbl: return 17;
    case real_kind::ddouble: return 32;  // 106 bits: 31.9 decimal digits
  }
  return 17;
}

// Removes every blank from a G0 field's text.
field squeeze(field f, char *text) {
  int n = 0;
  for (int i = 0; i < f.len; ++i)
    if (text[i] != ' ') text[n++] = text[i];
  return {0, n, false, f.error};
}

field real_format_G(const edit_spec &s, sign_info sg, double hi, double lo, real_kind kind, char *text) {
  bool g0 = s.w == 0;
  edit_spec es = s;
  if (g0) {
    if (es.d < 0) es.d = g0_digits(kind);
    es.e = 0;
  }
  int d = es.d < 0 ? 0 : es.d;
  int n = es.e > 0 ? es.e + 2 : 4;
  bool zero = hi == 0 && lo == 0;
  int s_exp = 0;
  bool use_f;
  decimal_digits dd;
  const decimal_digits *rounded = nullptr;
  if (zero) {
    use_f = d != 0;
    s_exp = 1;
  } else if (d == 0) {
    // No significant digit to round to: the F form serves 0.05 <= |x| < 0.5.
    double a = std::fabs(hi + lo);
    use_f = a >= 0.05 && a < 0.5;
    s_exp = 0;
  } else {
    // The standard's choice: round to d significant digits under the mode,
    // and the decimal exponent of that selects the form.
    // These digits serve either form: the F form rounds at the same place
    // (after a carry to 10^s the coarser place gives 10^s as well), and so
    // does the E form without a scale factor.
    dec::to_significant(hi, lo, d, mode_for(s, sg.negative), dd);
    s_exp = dd.decpt;
    use_f = s_exp >= 0 && s_exp <= d;
    rounded = &dd;
  }
  field f;
  if (use_f) {
    edit_spec fs = es;
    fs.w = g0 ? 0 : es.w - n;
    if (!g0 && fs.w <= 0) return star_field();
    f = format_F(fs, sg, hi, lo, d - s_exp, 0, text, g0, rounded);
    if (g0) return squeeze(f, text);
    if (f.stars) return star_field();
    // The F field is followed by n blanks.
    std::memset(text + f.len, ' ', static_cast<std::size_t>(n));
    return {f.lead, f.len + n, false, 0};
  }
  if (g0) {
    // G0's E form: exponent with as few digits as it needs.
    es.e = 0;
    edit_spec e0 = es;
    e0.k = 0;
    e0.w = 0;
    f = format_E_form(e0, sg, hi, lo, 'E', text, true, rounded);
    return squeeze(f, text);
  }
  return format_E_form(es, sg, hi, lo, 'E', text, false, es.k == 0 ? rounded : nullptr);
}

// E, D, EN and ES editing: letter 'E', 'D', 'N' (EN) or 'S' (ES).
field etype_format(const edit_spec &s, sign_info sg, double hi, double lo, char letter, char *text) {
  switch (letter) {
    case 'N': return format_EN(s, sg, hi, lo, text);
    case 'S': return format_ES(s, sg, hi, lo, text);
    default: return format_E_form(s, sg, hi, lo, letter, text);
  }
}

// G0 and G0.d: the G choice with the width the value needs.
field real_format_G0(const edit_spec &s, sign_info sg, double hi, double lo, real_kind kind, char *text) {
  edit_spec g0 = s;
  g0.w = 0;
  return real_format_G(g0, sg, hi, lo, kind, text);
}

// $F / $G / $Q text: F0.6 inside the bound, else 1PE0.d with every digit the
// kind needs to read back (d = 16 for a double, 32 for a double-double).
std::size_t dollar_text(char *buf, std::size_t size, double hi, double lo, double bound, int e_digits,
                        real_kind kind) {
  if (size == 0) return 0;
  double a = std::fabs(hi + lo);
  bool f_form = !(a >= bound);  // NaN and infinity too
  if (std::isinf(hi)) f_form = true;
  edit_spec s{f_form ? std::uint8_t{'F'} : std::uint8_t{'E'}, 0, f_form ? 6 : e_digits, 0, f_form ? 0 : 1,
              4, 1, '.'};
  char text[1024];
  field f = kaf::freal::edit_real(s, hi, lo, kind, text);
  std::size_t n = f.error || f.stars ? 0 : static_cast<std::size_t>(f.len);
  if (n > size - 1) n = size - 1;
  std::memcpy(buf, text, n);
  buf[n] = 0;
  return n;
}

}  // namespace

std::size_t format_dollar_F(char *buf, std::size_t size, double x) {
  return dollar_text(buf, size, x, 0.0, 1e20, 16, real_kind::dbl);
}

std::size_t format_dollar_G(char *buf, std::size_t size, kaf_dd x) {
  return dollar_text(buf, size, x.hi, x.lo, 1e30, 32, real_kind::ddouble);
}

std::size_t scratch_size(const edit_spec &s) {
  std::size_t extra = static_cast<std::size_t>(s.d > 0 ? s.d : 0) +
                      static_cast<std::size_t>(s.k < 0 ? -static_cast<std::int64_t>(s.k) : s.k) +
                      static_cast<std::size_t>(s.e > 0 ? s.e : 0);
  return 440 + extra;
}

field format_inf_or_nan(std::int32_t w, bool is_nan, bool negative, bool plus, char *text) {
  const char *t;
  if (is_nan) {
    if (w == 1 || w == 2) return {0, 0, true, 0};
    t = "NaN";
  } else if (negative || plus) {
    if (w >= 1 && w <= 3) return {0, 0, true, 0};
    t = w >= 9 ? (negative ? "-Infinity" : "+Infinity") : (negative ? "-Inf" : "+Inf");
  } else {
    if (w == 1 || w == 2) return {0, 0, true, 0};
    t = w >= 8 ? "Infinity" : "Inf";
  }
  int len = static_cast<int>(std::strlen(t));
  std::memcpy(text, t, static_cast<std::size_t>(len));
  return {w == 0 ? 0 : w - len, len, false, 0};
}

field edit_real(const edit_spec &s, double hi, double lo, real_kind kind, char *text) {
  bool negative = std::signbit(hi) || (hi == 0 && std::signbit(lo) && lo != 0);
  bool plus = !negative && s.sign_mode == 0;
  if (!std::isfinite(hi) || !std::isfinite(lo)) {
    bool nan = std::isnan(hi) || std::isnan(lo);
    return format_inf_or_nan(s.w, nan, negative && !nan, plus && !nan, text);
  }
  sign_info sg{negative, plus, kind != real_kind::ddouble};
  switch (s.code) {
    case 'F': return format_F(s, sg, hi, lo, s.d < 0 ? 0 : s.d, s.k, text);
    case 'E':
    case 'D':
    case 'S':
    case 'N': return etype_format(s, sg, hi, lo, static_cast<char>(s.code), text);
    case 'G': return s.w == 0 ? real_format_G0(s, sg, hi, lo, kind, text) : real_format_G(s, sg, hi, lo, kind, text);
    default: return {0, 0, false, 1034};
  }
}

}  // namespace kaf::freal
