// List-directed output: the record layout (one blank before every value, no
// value ending in a record's last column), integers, logicals, reals and
// complex values of every kind, and character values of every kind.
#include <cmath>
#include <cstring>

#include "format/chkind.h"
#include "format/freal.h"
#include "listio/lio.h"

namespace {

using kaf::freal::edit_spec;
using kaf::freal::field;
using kaf::freal::real_kind;

// The descriptor a real is edited under: w (-1: as wide as the text, 0: the
// width-zero E form), d, e (-1: absent) and the scale factor k.
struct list_fmt {
  std::int32_t w, d, e, k;
};

constexpr list_fmt list_1f_fmt{11, 7, -1, 0};
constexpr list_fmt list_1f_fmt_nosep{-1, 7, -1, 0};
constexpr list_fmt list_fmt_1_1{15, 7, 2, 1};
constexpr list_fmt list_2f_fmt{20, 16, -1, 0};
constexpr list_fmt list_2f_fmt_nosep{-1, 16, -1, 0};
constexpr list_fmt list_fmt_2_1{24, 16, 2, 1};
constexpr list_fmt list_fmt_2plus1_1{24, 16, 3, 1};
constexpr list_fmt list_3f_fmt{-1, 26, -1, 0};
constexpr list_fmt list_3f_fmt_nosep{-1, 26, -1, 0};
constexpr list_fmt list_fmt_3_1{0, 26, 2, 1};
constexpr list_fmt list_fmt_3plus1_1{0, 26, 3, 1};
// Half precision: five significant digits tell every half value apart.
constexpr list_fmt list_hf_fmt{8, 4, -1, 0};
constexpr list_fmt list_hf_fmt_nosep{-1, 4, -1, 0};
constexpr list_fmt list_fmt_h_1{11, 4, 2, 1};

// The descriptor records of one real kind.
struct kind_fmts {
  list_fmt fixed, fixed_nosep, expo, expo3;
  real_kind kind;
};
constexpr kind_fmts half_fmts{list_hf_fmt, list_hf_fmt_nosep, list_fmt_h_1, list_fmt_h_1, real_kind::half};
constexpr kind_fmts single_fmts{list_1f_fmt, list_1f_fmt_nosep, list_fmt_1_1, list_fmt_1_1, real_kind::single};
constexpr kind_fmts double_fmts{list_2f_fmt, list_2f_fmt_nosep, list_fmt_2_1, list_fmt_2plus1_1,
                                real_kind::dbl};
constexpr kind_fmts dd_fmts{list_3f_fmt, list_3f_fmt_nosep, list_fmt_3_1, list_fmt_3plus1_1,
                            real_kind::ddouble};

inline bool external(const kaf_ioctx &c) { return c.internal == nullptr; }

inline void raise_max_pos(kaf_ioctx &c) {
  if (c.max_pos >= 0 && c.max_pos < c.pos) c.max_pos = c.pos;
}

// Puts n bytes of text, in pieces between flushes of a full buffer.
kaf_status put_text(kaf_ioctx &c, const char *text, std::int64_t n) {
  if (unit_width(c.encoding) != 1) {
    for (std::int64_t i = 0; i < n; ++i)
      if (kaf_status s = put_character(c, static_cast<unsigned char>(text[i]))) return s;
    return 0;
  }
  while (n > 0) {
    if (static_cast<std::uint64_t>(c.pos) >= c.limit)
      if (kaf_status s = c.flush(&c)) return s;
    std::int64_t room = static_cast<std::int64_t>(c.limit) - c.pos;
    if (room > n) room = n;
    std::memcpy(static_cast<char *>(c.buffer) + c.pos, text, static_cast<std::size_t>(room));
    c.pos += room;
    text += room;
    n -= room;
  }
  return 0;
}

// Edits hi + lo under f into text; returns the text length (leading blanks
// of the field included), or -(error code) when the editor refuses.
std::int64_t edit_part(const kaf_ioctx &c, const list_fmt &f, bool expo, double hi, double lo,
                       real_kind kind, char *text) {
  edit_spec s{static_cast<std::uint8_t>(expo ? 'E' : 'F'), f.w < 0 ? 0 : f.w, f.d, f.e, f.k,
              c.round_mode, c.sign_mode, static_cast<char>(c.decimal_char)};
  char scratch[640];
  field r = kaf::freal::edit_real(s, hi, lo, kind, scratch);
  if (r.error) return -r.error;
  std::int64_t n = 0;
  if (r.stars) {
    for (std::int32_t i = 0; i < s.w; ++i) text[n++] = '*';
    return n;
  }
  for (std::int32_t i = 0; i < r.lead; ++i) text[n++] = ' ';
  std::memcpy(text + n, scratch, static_cast<std::size_t>(r.len));
  return n + r.len;
}

// Which descriptor a finite value takes: the fixed form for zero and for
// 0.1 <= |x| < 100, else the exponent form (three exponent digits for the
// magnitudes whose rounded exponent needs them).
const list_fmt &choose(const kaf_ioctx &c, const kind_fmts &k, double m, bool *expo) {
  *expo = !(m == 0 || (m >= 0.1 && m < 100));
  if (!*expo) return c.no_separator ? k.fixed_nosep : k.fixed;
  if (m < 9.999999995e-100 || m >= 9.999999995e99) return k.expo3;
  return k.expo;
}

kaf_status write_real(kaf_ioctx &c, double hi, double lo, const kind_fmts &k) {
  c.after_character = 0;
  if (std::isnan(hi)) {
    if (kaf_status s = value_separator(c, 3)) return s;
    return put_text(c, "NaN", 3);
  }
  if (std::isinf(hi)) {
    const bool negative = hi < 0;
    const bool plus = !negative && c.sign_mode == SIGN_PLUS;
    if (kaf_status s = value_separator(c, negative || plus ? 9 : 8)) return s;
    if (negative || plus)
      if (kaf_status s = put_character(c, negative ? '-' : '+')) return s;
    return put_text(c, "Infinity", 8);
  }
  bool expo;
  const list_fmt &f = choose(c, k, std::fabs(hi), &expo);
  char text[640];
  std::int64_t n = edit_part(c, f, expo, hi, lo, k.kind, text);
  // Just below 1e-99 the value still rounds to a three-digit exponent: the
  // wider exponent field is taken rather than asterisks.
  if (n > 0 && text[n - 1] == '*' && expo) n = edit_part(c, k.expo3, true, hi, lo, k.kind, text);
  if (n < 0) return __KAFf90_ioerr(&c, static_cast<std::int32_t>(-n));
  if (kaf_status s = value_separator(c, n)) return s;
  if (kaf_status s = put_text(c, text, n)) return s;
  raise_max_pos(c);
  return 0;
}

// Text of one part of a complex constant, appended at text + *n.
kaf_status complex_part(kaf_ioctx &c, double hi, double lo, const kind_fmts &k, char *text,
                        std::int64_t *n) {
  if (!std::isfinite(hi)) {
    const char *t = std::isnan(hi) ? "NaN" : hi < 0 ? "-Infinity"
                                    : c.sign_mode == SIGN_PLUS ? "+Infinity" : "Infinity";
    const std::size_t len = std::strlen(t);
    std::memcpy(text + *n, t, len);
    *n += static_cast<std::int64_t>(len);
    return 0;
  }
  bool expo;
  const list_fmt &f = choose(c, k, std::fabs(hi), &expo);
  std::int64_t len = edit_part(c, f, expo, hi, lo, k.kind, text + *n);
  if (len > 0 && text[*n + len - 1] == '*' && expo) len = edit_part(c, k.expo3, true, hi, lo, k.kind, text + *n);
  if (len < 0) return __KAFf90_ioerr(&c, static_cast<std::int32_t>(-len));
  *n += len;
  return 0;
}

// The whole constant "(re<separator>im)" is built first, so that it is
// never split between records.
kaf_status write_complex(kaf_ioctx &c, double re_hi, double re_lo, double im_hi, double im_lo,
                         const kind_fmts &k) {
  c.after_character = 0;
  char text[1300];
  std::int64_t n = 0;
  text[n++] = '(';
  if (kaf_status s = complex_part(c, re_hi, re_lo, k, text, &n)) return s;
  text[n++] = static_cast<char>(c.separator);
  if (kaf_status s = complex_part(c, im_hi, im_lo, k, text, &n)) return s;
  text[n++] = ')';
  if (kaf_status s = value_separator(c, n)) return s;
  if (kaf_status s = put_text(c, text, n)) return s;
  raise_max_pos(c);
  return 0;
}

kaf_status write_integer(kaf_ioctx &c, std::int64_t v) {
  c.after_character = 0;
  char text[24];
  std::size_t n = __KAFf90_putlls(text, v);
  const bool plus = v >= 0 && c.sign_mode == SIGN_PLUS;
  if (kaf_status s = value_separator(c, static_cast<std::int64_t>(n) + (plus ? 1 : 0))) return s;
  if (plus)
    if (kaf_status s = put_character(c, '+')) return s;
  if (kaf_status s = put_text(c, text, static_cast<std::int64_t>(n))) return s;
  raise_max_pos(c);
  return 0;
}

kaf_status write_logical(kaf_ioctx &c, std::int64_t v) {
  c.after_character = 0;
  if (kaf_status s = value_separator(c, 1)) return s;
  if (kaf_status s = put_character(c, v ? 'T' : 'F')) return s;
  raise_max_pos(c);
  return 0;
}

double half_to_double(std::uint16_t bits) {
  const int e = (bits >> 10) & 0x1F, m = bits & 0x3FF;
  double v = e == 0x1F ? (m ? NAN : HUGE_VAL) : e == 0 ? std::ldexp(m, -24) : std::ldexp(m | 0x400, e - 25);
  return bits & 0x8000 ? -v : v;
}

// A new record for a character value that reached the record width.
kaf_status wrap_character(kaf_ioctx &c, std::int64_t width) {
  if (c.pos < width) return 0;
  if (kaf_status s = c.next_record(&c, 0, nullptr, nullptr)) return s;
  c.max_pos = -1;
  return 0;
}

}  // namespace

std::int64_t lio_record_width(const kaf_ioctx &c) {
  // An external unit's buffer may end before its record does (the buffer
  // grows through flush): the record width is the one init_loutput took
  // from the connection.
  if (external(c) && c.lio_spare[SPARE_OUT_WIDTH]) return static_cast<std::int64_t>(c.lio_spare[SPARE_OUT_WIDTH]);
  std::int64_t width = static_cast<std::int32_t>(c.limit);
  if (width > 1024 && external(c)) width = 1024;
  return width;
}

kaf_status value_separator(kaf_ioctx &c, std::int64_t length) {
  if (c.no_separator) return 0;
  const std::int64_t width = lio_record_width(c);
  // One column more than the blank and the value need: a value never ends
  // in the last column of a record.
  if (c.pos > 0 && c.pos + length + 1 >= width) {
    if (kaf_status s = c.next_record(&c, 0, nullptr, nullptr)) return s;
    c.max_pos = -1;
  }
  if (kaf_status s = put_character(c, ' ')) return s;
  raise_max_pos(c);
  return 0;
}

kaf_status write_character_item(kaf_ioctx &c, lio_char_kind kind, const void *item, std::int64_t len) {
  if (c.encoding > 11) __KAFf90_crash("__KAFf90_lio_write_ch unrecognised encoding %d", static_cast<int>(c.encoding));
  const std::int64_t width = lio_record_width(c);
  const std::uint32_t delim = c.delimiter;
  if (delim) {
    if (kaf_status s = value_separator(c, 1)) return s;
    if (kaf_status s = put_character(c, delim)) return s;
  } else if (!c.after_character) {
    if (kaf_status s = value_separator(c, 1)) return s;
  }
  const char_kind ck = kind == LIO_KIND_BYTES ? KIND_BYTES : kind == LIO_KIND_SJIS ? KIND_SJIS : KIND_UCS;
  const auto *bytes = static_cast<const unsigned char *>(item);
  if (kind == LIO_KIND_BYTES && !delim && unit_width(c.encoding) == 1) {
    // Runs up to the record width, in one copy each.
    std::int64_t i = 0;
    while (i < len) {
      if (kaf_status s = wrap_character(c, width)) return s;
      std::int64_t run = width - c.pos;
      if (run > len - i) run = len - i;
      if (run < 1) run = 1;
      if (kaf_status s = put_text(c, reinterpret_cast<const char *>(bytes) + i, run)) return s;
      i += run;
    }
  } else {
    for (std::int64_t i = 0; i < len; ++i) {
      std::uint32_t v = kind == LIO_KIND_BYTES   ? bytes[i]
                        : kind == LIO_KIND_UCS4 ? static_cast<const std::uint32_t *>(item)[i]
                                                : static_cast<const std::uint16_t *>(item)[i];
      for (int copy = 0; copy < (delim && v == delim ? 2 : 1); ++copy) {
        if (kaf_status s = wrap_character(c, width)) return s;
        if (kaf_status s = put_kind_character(c, ck, v)) return s;
      }
    }
  }
  c.after_character = 1;
  if (delim) {
    if (kaf_status s = wrap_character(c, width)) return s;
    if (kaf_status s = put_character(c, delim)) return s;
  }
  raise_max_pos(c);
  return 0;
}

extern "C" {

std::uint64_t __KAFf90_init_loutput(kaf_ioctx *ctx) {
  kaf_ioctx &c = *ctx;
  c.no_separator = 0;
  c.after_character = 0;
  c.delimiter = 0;
  if (external(c) && c.unit) {
    const auto *u = static_cast<const kaf_unit_head *>(c.unit);
    c.decimal_char = u->decimal_char ? u->decimal_char : '.';
    c.sign_mode = u->sign_mode;
    c.round_mode = u->round_mode;
    // DELIM= of the connection ('\'', '"' or 0 for NONE).
    c.delimiter = static_cast<std::uint32_t>(__KAFf90_unit_delim(c.unit));
    // The record length of the connection, 1024 at most.
    const std::int64_t recl = __KAFf90_unit_recl(c.unit);
    c.lio_spare[SPARE_OUT_WIDTH] = static_cast<std::uint64_t>(recl > 0 && recl < 1024 ? recl : 1024);
  } else {
    c.lio_spare[SPARE_OUT_WIDTH] = 0;
  }
  if (c.decimal_char != ',') c.decimal_char = '.';
  c.separator = c.decimal_char == ',' ? ';' : ',';
  c.max_pos = -1;
  return 0;
}

std::uint64_t __KAFf90_value_separator(kaf_ioctx *ctx, std::int64_t length) {
  return value_separator(*ctx, length);
}

std::int32_t __KAFf90_lio_write_i1(kaf_ioctx *ctx, std::int8_t v) { return __KAFf90_lio_write_i(ctx, v); }
std::int32_t __KAFf90_lio_write_i2(kaf_ioctx *ctx, std::int16_t v) { return __KAFf90_lio_write_i(ctx, v); }
std::int32_t __KAFf90_lio_write_i(kaf_ioctx *ctx, std::int32_t v) {
  return static_cast<std::int32_t>(write_integer(*ctx, v));
}
std::int32_t __KAFf90_lio_write_i4(kaf_ioctx *ctx, std::int64_t v) {
  return static_cast<std::int32_t>(write_integer(*ctx, v));
}
std::int32_t __KAFf90_lio_write_l1(kaf_ioctx *ctx, std::int8_t v) { return __KAFf90_lio_write_l(ctx, v); }
std::int32_t __KAFf90_lio_write_l2(kaf_ioctx *ctx, std::int16_t v) { return __KAFf90_lio_write_l(ctx, v); }
std::int32_t __KAFf90_lio_write_l(kaf_ioctx *ctx, std::int32_t v) {
  return static_cast<std::int32_t>(write_logical(*ctx, v));
}
std::int32_t __KAFf90_lio_write_l4(kaf_ioctx *ctx, std::int64_t v) {
  return static_cast<std::int32_t>(write_logical(*ctx, v));
}
std::int32_t __KAFf90_lio_write_h(kaf_ioctx *ctx, std::uint16_t v) {
  return static_cast<std::int32_t>(write_real(*ctx, half_to_double(v), 0.0, half_fmts));
}
std::int32_t __KAFf90_lio_write_r(kaf_ioctx *ctx, float v) {
  return static_cast<std::int32_t>(write_real(*ctx, v, 0.0, single_fmts));
}
std::int32_t __KAFf90_lio_write_d(kaf_ioctx *ctx, double v) {
  return static_cast<std::int32_t>(write_real(*ctx, v, 0.0, double_fmts));
}
std::int32_t __KAFf90_write_dd(kaf_ioctx *ctx, kaf_dd v) {
  return static_cast<std::int32_t>(write_real(*ctx, v.hi, v.lo, dd_fmts));
}
std::int32_t __KAFf90_lio_write_dd(kaf_ioctx *ctx, kaf_dd v) { return __KAFf90_write_dd(ctx, v); }
std::int32_t __KAFf90_lio_write_hc(kaf_ioctx *ctx, std::uint16_t re, std::uint16_t im) {
  return static_cast<std::int32_t>(
      write_complex(*ctx, half_to_double(re), 0.0, half_to_double(im), 0.0, half_fmts));
}
std::int32_t __KAFf90_lio_write_c(kaf_ioctx *ctx, float re, float im) {
  return static_cast<std::int32_t>(write_complex(*ctx, re, 0.0, im, 0.0, single_fmts));
}
std::int32_t __KAFf90_lio_write_dc(kaf_ioctx *ctx, double re, double im) {
  return static_cast<std::int32_t>(write_complex(*ctx, re, 0.0, im, 0.0, double_fmts));
}
std::int32_t __KAFf90_lio_write_ddc(kaf_ioctx *ctx, kaf_ddc v) {
  return static_cast<std::int32_t>(write_complex(*ctx, v.re.hi, v.re.lo, v.im.hi, v.im.lo, dd_fmts));
}
std::int32_t __KAFf90_lio_write_ch(kaf_ioctx *ctx, const char *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      write_character_item(*ctx, LIO_KIND_BYTES, item, static_cast<std::int64_t>(len)));
}
std::int32_t __KAFf90_lio_write_ch2j(kaf_ioctx *ctx, const std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      write_character_item(*ctx, LIO_KIND_SJIS, item, static_cast<std::int64_t>(len)));
}
std::int32_t __KAFf90_lio_write_ch2u(kaf_ioctx *ctx, const std::uint16_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      write_character_item(*ctx, LIO_KIND_UCS2, item, static_cast<std::int64_t>(len)));
}
std::int32_t __KAFf90_lio_write_ch4(kaf_ioctx *ctx, const std::uint32_t *item, kaf_charlen len) {
  return static_cast<std::int32_t>(
      write_character_item(*ctx, LIO_KIND_UCS4, item, static_cast<std::int64_t>(len)));
}

}  // extern "C"
