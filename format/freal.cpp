// REAL and COMPLEX item entries of formatted I/O: one worker per direction
// over the editors of freal_edit.cpp and the reader of freal_read.h, thin C
// entries per kind, and the field-string functions format_E, d_format_F/E.
#include "format/freal.h"

#include <cfenv>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "format/context.h"
#include "format/freal_read.h"
#include "kafrts/engine.h"
#include "kafrts/freal.h"
#include "kafrts/runtime.h"

namespace {

using kaf::freal::edit_spec;
using kaf::freal::field;
using kaf::freal::real_kind;

bool is_real_edit(std::uint8_t code) {
  return code == EDIT_F || code == EDIT_E || code == EDIT_D || code == EDIT_EN || code == EDIT_ES ||
         code == EDIT_G;
}

edit_spec spec_of(const kaf_ioctx &c) {
  return {c.edit_code, c.w, c.d, c.e, c.scale, c.round_mode, c.sign_mode,
          static_cast<char>(c.decimal_char)};
}

// The buffer a field is laid out in: on the stack when small, else taken
// from the allocator around the call.
class scratch_text {
 public:
  explicit scratch_text(std::size_t need) : size_(need) {
    if (need > sizeof small_) heap_ = static_cast<char *>(__KAFf90_oAlloc(need));
  }
  ~scratch_text() {
    if (heap_) __KAFf90_oDeAlloc(heap_, size_);
  }
  scratch_text(const scratch_text &) = delete;
  scratch_text &operator=(const scratch_text &) = delete;
  char *get() { return heap_ ? heap_ : small_; }
  bool ok() const { return size_ <= sizeof small_ || heap_ != nullptr; }

 private:
  std::size_t size_;
  char *heap_ = nullptr;
  char small_[512];
};

kaf_status put_field(kaf_ioctx &c, const field &f, const char *text, std::int32_t w) {
  if (f.stars) return put_stars(c, w);
  std::uint64_t need = static_cast<std::uint64_t>(f.lead) + static_cast<std::uint64_t>(f.len);
  if (unit_width(c.encoding) == 1 && c.limit - static_cast<std::uint64_t>(c.pos) >= need) {
    // The whole field fits: no flush can be due before its last character.
    char *p = static_cast<char *>(c.buffer) + c.pos;
    std::memset(p, ' ', static_cast<std::size_t>(f.lead));
    std::memcpy(p + f.lead, text, static_cast<std::size_t>(f.len));
    c.pos += static_cast<std::int64_t>(need);
    return 0;
  }
  for (std::int32_t i = 0; i < f.lead; ++i)
    if (kaf_status s = put_character(c, ' ')) return s;
  for (std::int32_t i = 0; i < f.len; ++i)
    if (kaf_status s = put_character(c, static_cast<unsigned char>(text[i]))) return s;
  return 0;
}

kaf_status raise_edit_error(kaf_ioctx &c, const field &f, const edit_spec &s) {
  switch (f.error) {
    case 1002: return __KAFf90_ioerr(&c, 1002, s.k, s.d);
    case 1003: return __KAFf90_ioerr(&c, 1003, s.code == EDIT_D ? 'D' : 'E');
    default: return __KAFf90_ioerr(&c, f.error);
  }
}

// Edits one value under an edit_spec and puts the field into the record.
kaf_status write_field(kaf_ioctx &c, const edit_spec &s, double hi, double lo, real_kind kind) {
  scratch_text text(kaf::freal::scratch_size(s));
  if (!text.ok()) __KAFf90_rtcrash(168);  // "Out of memory in FORMAT processing"
  field f = kaf::freal::edit_real(s, hi, lo, kind, text.get());
  if (f.error) return raise_edit_error(c, f, s);
  return put_field(c, f, text.get(), s.w);
}

// One real item (or one part of a complex item): descriptor, field, and the
// control edit descriptors up to the next data descriptor.
template <bool Dusty>
kaf_status write_real(kaf_ioctx &c, double hi, double lo, real_kind kind, const void *bytes,
                      std::size_t size) {
  if (kaf_status s = need_data_edit(c, DIR_OUTPUT)) return s;
  if (Dusty && c.edit_code == EDIT_A) {
    if (kaf_status s = format_A(c, static_cast<const char *>(bytes), static_cast<std::int64_t>(size)))
      return s;
  } else if (!is_real_edit(c.edit_code)) {
    return __KAFf90_ioerr(&c, 1034);
  } else if (kaf_status s = write_field(c, spec_of(c), hi, lo, kind)) {
    return s;
  }
  return maybe_next_edit(c, DIR_OUTPUT);
}

template <bool Dusty, typename T>
kaf_status write_item(kaf_ioctx &c, T value) {
  if constexpr (std::is_same_v<T, std::uint16_t>)
    return write_real<Dusty>(c, kaf::freal::half_value(value), 0.0, real_kind::half, &value, sizeof value);
  else if constexpr (std::is_same_v<T, float>)
    return write_real<Dusty>(c, value, 0.0, real_kind::single, &value, sizeof value);
  else if constexpr (std::is_same_v<T, double>)
    return write_real<Dusty>(c, value, 0.0, real_kind::dbl, &value, sizeof value);
  else
    return write_real<Dusty>(c, value.hi, value.lo, real_kind::ddouble, &value, sizeof value);
}

template <bool Dusty, typename T>
kaf_status write_complex(kaf_ioctx &c, T re, T im) {
  if (kaf_status s = write_item<Dusty>(c, re)) return s;
  return write_item<Dusty>(c, im);
}

// ---------------------------------------------------------------------------
// Input.

struct field_source {
  kaf_ioctx *c;
  std::int32_t remaining;
  kaf_status operator()(std::uint32_t *ch) {
    std::int32_t before = remaining;
    kaf_status s = get_within_field(*c, &remaining, ch);
    if (s == 0 && *ch == 0 && remaining < before) *ch = 1;  // a NUL inside the field is a stray character
    return s;
  }
};

template <typename T>
void store(T *item, const kaf::freal::real_input &r) {
  if constexpr (std::is_same_v<T, std::uint16_t>)
    *item = kaf::freal::half_bits(r.hi);
  else if constexpr (std::is_same_v<T, float>)
    *item = static_cast<float>(r.hi);
  else if constexpr (std::is_same_v<T, double>)
    *item = r.hi;
  else
    *item = kaf_dd{r.hi, r.lo};
}

template <typename T>
constexpr real_kind kind_of() {
  if constexpr (std::is_same_v<T, std::uint16_t>) return real_kind::half;
  else if constexpr (std::is_same_v<T, float>) return real_kind::single;
  else if constexpr (std::is_same_v<T, double>) return real_kind::dbl;
  else return real_kind::ddouble;
}

// The common field form read straight from the record, when all of the
// field is there in bytes: no padding or refill can arise inside it, and a
// field of any other form (or with a byte the encoding forbids) is left to
// the character-at-a-time reader.
bool field_in_buffer(const kaf_ioctx &c) {
  return unit_width(c.encoding) == 1 && c.w > 0 && c.pos + c.w <= c.rec_len;
}

// Reads one field into *item: stored first, then any error of the field,
// overflow, and the end condition met inside it are raised.
template <typename T>
kaf_status read_field(kaf_ioctx &c, T *item) {
  clear_field_status(c);
  kaf::freal::input_spec how{c.blank_mode == 1, static_cast<char>(c.decimal_char), c.d, c.scale,
                              c.round_mode};
  kaf::freal::real_input r;
  const auto *p = field_in_buffer(c) ? static_cast<const unsigned char *>(c.buffer) + c.pos : nullptr;
  if (p && kaf::freal::scan_real_plain(p, p + c.w, how, kind_of<T>(), &r)) {
    c.pos += c.w;
    c.nchars += static_cast<std::uint64_t>(c.w);
  } else {
    field_source src{&c, c.w};
    if (kaf_status s = kaf::freal::scan_real(src, how, kind_of<T>(), &r)) return s;
  }
  store(item, r);
  if (r.error) return __KAFf90_ioerr(&c, r.error);
  if (r.overflow) {
    // With the io_overflow_exception option the overflow is the IEEE
    // exception (the infinity stays); otherwise it is an input error.
    if (__KAFf90_io_overflow_exception) std::feraiseexcept(FE_OVERFLOW | FE_INEXACT);
    else return __KAFf90_ioerr(&c, 1115);
  }
  return raise_field_status(c);
}

template <bool Dusty, typename T>
kaf_status read_item(kaf_ioctx &c, T *item) {
  if (kaf_status s = need_data_edit(c, DIR_INPUT)) return s;
  if (Dusty && c.edit_code == EDIT_A) {
    if (kaf_status s = __KAFf90_input_format_A(&c, reinterpret_cast<char *>(item), sizeof(T))) return s;
  } else if (!is_real_edit(c.edit_code)) {
    return __KAFf90_ioerr(&c, 1034);
  } else if (kaf_status s = read_field(c, item)) {
    return s;
  }
  return maybe_next_edit(c, DIR_INPUT);
}

template <bool Dusty, typename T>
kaf_status read_complex(kaf_ioctx &c, T *item) {
  if (kaf_status s = read_item<Dusty>(c, item)) return s;
  return read_item<Dusty>(c, item + 1);
}

// The sprintf-style field functions: F or E of one double, to nearest.
std::size_t field_string(std::uint8_t code, const std::int32_t *params, std::int32_t sign_mode,
                         std::int32_t decimal_char, char *buf, std::size_t size, std::int32_t *error,
                         double value) {
  edit_spec s{code, params[0], params[1], params[2], params[3], 4,
              static_cast<std::uint32_t>(sign_mode), static_cast<char>(decimal_char)};
  scratch_text text(kaf::freal::scratch_size(s) + static_cast<std::size_t>(s.w > 0 ? s.w : 0));
  if (!text.ok()) __KAFf90_rtcrash(168);
  char *t = text.get();
  field f = kaf::freal::edit_real(s, value, 0.0, real_kind::dbl, t);
  *error = f.error;
  if (f.error) return 0;
  std::size_t len;
  if (f.stars) {
    len = static_cast<std::size_t>(s.w);
    std::memset(t, '*', len);
  } else {
    std::memmove(t + f.lead, t, static_cast<std::size_t>(f.len));
    std::memset(t, ' ', static_cast<std::size_t>(f.lead));
    len = static_cast<std::size_t>(f.lead + f.len);
  }
  if (size > 0) {
    std::size_t n = len < size - 1 ? len : size - 1;
    std::memcpy(buf, t, n);
    buf[n] = 0;
  }
  return len;
}

}  // namespace

extern "C" {

uint64_t __KAFf90_fmt_write_h(kaf_ioctx *ctx, uint16_t v) { return write_item<false>(*ctx, v); }
uint64_t __KAFf90_fmt_write_r(kaf_ioctx *ctx, float v) { return write_item<false>(*ctx, v); }
uint64_t __KAFf90_fmt_write_d(kaf_ioctx *ctx, double v) { return write_item<false>(*ctx, v); }
uint64_t __KAFf90_fmt_write_dd(kaf_ioctx *ctx, kaf_dd v) { return write_item<false>(*ctx, v); }
uint64_t __KAFf90_fmt_write_rd(kaf_ioctx *ctx, float v) {
  return write_item<false>(*ctx, static_cast<double>(v));
}
uint64_t __KAFf90_fmt_write_hc(kaf_ioctx *ctx, uint16_t re, uint16_t im) {
  return write_complex<false>(*ctx, re, im);
}
uint64_t __KAFf90_fmt_write_c(kaf_ioctx *ctx, float re, float im) { return write_complex<false>(*ctx, re, im); }
uint64_t __KAFf90_fmt_write_dc(kaf_ioctx *ctx, double re, double im) {
  return write_complex<false>(*ctx, re, im);
}
uint64_t __KAFf90_fmt_write_ddc(kaf_ioctx *ctx, kaf_ddc v) { return write_complex<false>(*ctx, v.re, v.im); }

uint64_t __KAFf90_dusty_fmt_write_h(kaf_ioctx *ctx, uint16_t v) { return write_item<true>(*ctx, v); }
uint64_t __KAFf90_dusty_fmt_write_r(kaf_ioctx *ctx, float v) { return write_item<true>(*ctx, v); }
uint64_t __KAFf90_dusty_fmt_write_d(kaf_ioctx *ctx, double v) { return write_item<true>(*ctx, v); }
uint64_t __KAFf90_dusty_fmt_write_dd(kaf_ioctx *ctx, kaf_dd v) { return write_item<true>(*ctx, v); }
uint64_t __KAFf90_dusty_fmt_write_rd(kaf_ioctx *ctx, float v) {
  return write_item<true>(*ctx, static_cast<double>(v));
}
uint64_t __KAFf90_dusty_fmt_write_hc(kaf_ioctx *ctx, uint16_t re, uint16_t im) {
  return write_complex<true>(*ctx, re, im);
}
uint64_t __KAFf90_dusty_fmt_write_c(kaf_ioctx *ctx, float re, float im) {
  return write_complex<true>(*ctx, re, im);
}
uint64_t __KAFf90_dusty_fmt_write_dc(kaf_ioctx *ctx, double re, double im) {
  return write_complex<true>(*ctx, re, im);
}
uint64_t __KAFf90_dusty_fmt_write_ddc(kaf_ioctx *ctx, kaf_ddc v) {
  return write_complex<true>(*ctx, v.re, v.im);
}

uint64_t __KAFf90_format_E(kaf_ioctx *ctx, const int32_t *params, double value) {
  edit_spec s{EDIT_E, params[0], params[1], params[2], params[3], ctx->round_mode, ctx->sign_mode,
              static_cast<char>(ctx->decimal_char)};
  return write_field(*ctx, s, value, 0.0, real_kind::dbl);
}

size_t __KAFf90_d_format_F(const int32_t *params, int32_t sign_mode, int32_t decimal_char, char *buf,
                           size_t size, int32_t *error, double value) {
  return field_string('F', params, sign_mode, decimal_char, buf, size, error, value);
}

size_t __KAFf90_d_format_E(const int32_t *params, int32_t sign_mode, int32_t decimal_char, char *buf,
                           size_t size, int32_t *error, double value) {
  return field_string('E', params, sign_mode, decimal_char, buf, size, error, value);
}

uint64_t __KAFf90_input_format_F(kaf_ioctx *ctx, double *item) { return read_field(*ctx, item); }

uint64_t __KAFf90_fmt_read_h(kaf_ioctx *ctx, uint16_t *item) { return read_item<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_r(kaf_ioctx *ctx, float *item) { return read_item<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_d(kaf_ioctx *ctx, double *item) { return read_item<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_dd(kaf_ioctx *ctx, kaf_dd *item) { return read_item<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_hc(kaf_ioctx *ctx, uint16_t *item) { return read_complex<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_c(kaf_ioctx *ctx, float *item) { return read_complex<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_dc(kaf_ioctx *ctx, double *item) { return read_complex<false>(*ctx, item); }
uint64_t __KAFf90_fmt_read_ddc(kaf_ioctx *ctx, kaf_ddc *item) {
  return read_complex<false>(*ctx, &item->re);
}
uint64_t __KAFf90_dusty_fmt_read_h(kaf_ioctx *ctx, uint16_t *item) { return read_item<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_r(kaf_ioctx *ctx, float *item) { return read_item<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_d(kaf_ioctx *ctx, double *item) { return read_item<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_dd(kaf_ioctx *ctx, kaf_dd *item) { return read_item<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_hc(kaf_ioctx *ctx, uint16_t *item) { return read_complex<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_c(kaf_ioctx *ctx, float *item) { return read_complex<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_dc(kaf_ioctx *ctx, double *item) { return read_complex<true>(*ctx, item); }
uint64_t __KAFf90_dusty_fmt_read_ddc(kaf_ioctx *ctx, kaf_ddc *item) {
  return read_complex<true>(*ctx, &item->re);
}

}  // extern "C"
