// A editing on output for every character kind into every record encoding.
//
// The default kind is bytes: in a byte record they are copied as they
// stand (so UTF-8 or Shift-JIS text in a default-kind variable passes
// through untouched); in a 16- or 32-bit record each byte becomes one unit.
// The other kinds are characters: a Shift-JIS item (16-bit codes) goes into
// a Shift-JIS record as it is and is otherwise converted through Unicode; a
// UCS-2 or UCS-4 item is written as UTF-8 into a UTF-8 record, converted to
// Shift-JIS for a Shift-JIS record, and narrowed for the other records. A
// character that the record cannot hold is written as '?'. Widths count
// characters, not bytes.
#include <cstring>

#include "format/chkind.h"
#include "format/context.h"
#include "format/sjis.h"

namespace {

constexpr int E_CHAR_EDIT = 1045;

// Puts one code point as UTF-8 bytes.
kaf_status put_utf8(kaf_ioctx &c, std::uint32_t cp) {
  if (cp < 0x80) return put_character(c, cp);
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return put_character(c, REPLACEMENT);
  std::uint32_t bytes[4];
  int n;
  if (cp < 0x800) {
    bytes[0] = 0xC0 | (cp >> 6);
    n = 2;
  } else if (cp < 0x10000) {
    bytes[0] = 0xE0 | (cp >> 12);
    bytes[1] = 0x80 | ((cp >> 6) & 0x3F);
    n = 3;
  } else {
    bytes[0] = 0xF0 | (cp >> 18);
    bytes[1] = 0x80 | ((cp >> 12) & 0x3F);
    bytes[2] = 0x80 | ((cp >> 6) & 0x3F);
    n = 4;
  }
  bytes[n - 1] = 0x80 | (cp & 0x3F);
  for (int i = 0; i < n; ++i)
    if (kaf_status s = put_character(c, bytes[i])) return s;
  return 0;
}

kaf_status put_sjis_bytes(kaf_ioctx &c, std::uint32_t code) {
  if (code > 0xFF)
    if (kaf_status s = put_character(c, code >> 8)) return s;
  return put_character(c, code & 0xFF);
}

}  // namespace

kaf_status put_kind_character(kaf_ioctx &c, char_kind kind, std::uint32_t v) {
  if (kind == KIND_BYTES) return put_character(c, v);
  const std::uint32_t enc = c.encoding;
  const bool sjis_record = enc == ENC_SJIS_BYTES || enc == ENC_SJIS16;
  if (sjis_record) {
    const std::uint32_t code = kind == KIND_SJIS ? v : unicode_to_sjis(v);
    return enc == ENC_SJIS16 ? put_character(c, code) : put_sjis_bytes(c, code);
  }
  const std::uint32_t cp = kind == KIND_SJIS ? sjis_to_unicode(v) : v;
  switch (enc) {
  case ENC_UCS4: return put_character(c, cp);
  case ENC_UTF8: return put_utf8(c, cp);
  case ENC_UCS2:
  case ENC_UTF16: return put_character(c, cp <= 0xFFFF ? cp : REPLACEMENT);
  default: return put_character(c, cp <= (enc == ENC_ASCII ? 0x7Fu : 0xFFu) ? cp : REPLACEMENT);
  }
}

// The width and justification rule shared by every kind: a field wider than
// the item is blank-padded on the left; a narrower one takes the leftmost
// characters.
template <typename Unit>
kaf_status format_A_kind(kaf_ioctx &c, const Unit *item, std::int64_t len, char_kind kind) {
  const std::int64_t width = c.w == 0 ? len : c.w;
  std::int64_t n = len;
  if (len < width) {
    for (std::int64_t i = 0; i < width - len; ++i)
      if (kaf_status s = put_character(c, ' ')) return s;
  } else {
    n = width;
  }
  if (kind == KIND_BYTES && unit_width(c.encoding) == 1) {
    // Runs of whole buffer room, flushing in between.
    const auto *src = reinterpret_cast<const char *>(item);
    while (n > 0) {
      if (static_cast<std::uint64_t>(c.pos) >= c.limit)
        if (kaf_status s = c.flush(&c)) return s;
      std::int64_t room = static_cast<std::int64_t>(c.limit) - c.pos;
      if (room > n) room = n;
      std::memcpy(static_cast<char *>(c.buffer) + c.pos, src, static_cast<std::size_t>(room));
      c.pos += room;
      src += room;
      n -= room;
    }
    return 0;
  }
  for (std::int64_t i = 0; i < n; ++i) {
    std::uint32_t v = item[i];
    if (kind == KIND_BYTES) v &= 0xFF;
    if (kaf_status s = put_kind_character(c, kind, v)) return s;
  }
  return 0;
}

kaf_status format_A(kaf_ioctx &c, const char *item, std::int64_t len) {
  return format_A_kind(c, reinterpret_cast<const unsigned char *>(item), len, KIND_BYTES);
}

namespace {

template <typename Unit>
kaf_status write_char_item(kaf_ioctx &c, const Unit *item, std::int64_t len, char_kind kind) {
  if (kaf_status s = need_data_edit(c, DIR_OUTPUT)) return s;
  if (c.edit_code != EDIT_A && !(c.edit_code == EDIT_G && c.d == -1))
    return __KAFf90_ioerr(&c, E_CHAR_EDIT);
  if (kaf_status s = format_A_kind(c, item, len, kind)) return s;
  return maybe_next_edit(c, DIR_OUTPUT);
}

}  // namespace

extern "C" {

std::uint64_t __KAFf90_format_A(kaf_ioctx *ctx, const char *item, std::int64_t len) {
  return format_A(*ctx, item, len);
}
std::uint64_t __KAFf90_format_A2j(kaf_ioctx *ctx, const std::uint16_t *item, std::int64_t len) {
  return format_A_kind(*ctx, item, len, KIND_SJIS);
}
std::uint64_t __KAFf90_format_A2u(kaf_ioctx *ctx, const std::uint16_t *item, std::int64_t len) {
  return format_A_kind(*ctx, item, len, KIND_UCS);
}
std::uint64_t __KAFf90_format_A4(kaf_ioctx *ctx, const std::uint32_t *item, std::int64_t len) {
  return format_A_kind(*ctx, item, len, KIND_UCS);
}
std::uint64_t __KAFf90_fmt_write_ch(kaf_ioctx *ctx, const char *item, kaf_charlen len) {
  return write_char_item(*ctx, reinterpret_cast<const unsigned char *>(item),
                         static_cast<std::int64_t>(len), KIND_BYTES);
}
std::uint64_t __KAFf90_fmt_write_ch2j(kaf_ioctx *ctx, const std::uint16_t *item, kaf_charlen len) {
  return write_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_SJIS);
}
std::uint64_t __KAFf90_fmt_write_ch2u(kaf_ioctx *ctx, const std::uint16_t *item, kaf_charlen len) {
  return write_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_UCS);
}
std::uint64_t __KAFf90_fmt_write_ch4(kaf_ioctx *ctx, const std::uint32_t *item, kaf_charlen len) {
  return write_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_UCS);
}

}  // extern "C"
