// A editing on input for every character kind from every record encoding,
// and the character readers of each encoding (shared with list-directed
// and namelist input).
//
// UTF-8 acceptance: one to four bytes, shortest form only, at most
// U+10FFFF. A surrogate code point encoded on its own (the CESU-8 habit) is
// accepted only as a high surrogate directly followed by an encoded low
// one; the pair becomes one supplementary character. Every other sequence,
// and a sequence cut by the end of the record, raises 1139.
#include <cstring>

#include "format/chkind.h"
#include "format/context.h"
#include "format/sjis.h"

namespace {

constexpr int E_ENCODING = 1139, E_CHAR_EDIT = 1045;

kaf_status bad_encoding(kaf_ioctx &c) { return __KAFf90_ioerr(&c, E_ENCODING); }

// The next byte of the record for a multi-byte sequence: it must be there.
inline bool next_byte(kaf_ioctx &c, std::uint32_t *b) {
  if (c.pos >= c.rec_len) return false;
  *b = static_cast<const std::uint8_t *>(c.buffer)[c.pos++];
  ++c.nchars;
  return true;
}

// Decodes the rest of a UTF-8 sequence whose lead byte is b0.
kaf_status decode_utf8(kaf_ioctx &c, std::uint32_t b0, std::uint32_t *cp) {
  int more;
  std::uint32_t v, min;
  if (b0 < 0x80) {
    *cp = b0;
    return 0;
  }
  if (b0 >= 0xC2 && b0 <= 0xDF) more = 1, v = b0 & 0x1F, min = 0x80;
  else if (b0 >= 0xE0 && b0 <= 0xEF) more = 2, v = b0 & 0x0F, min = 0x800;
  else if (b0 >= 0xF0 && b0 <= 0xF4) more = 3, v = b0 & 0x07, min = 0x10000;
  else return bad_encoding(c);  // continuation byte, C0/C1, or beyond four bytes
  for (int i = 0; i < more; ++i) {
    std::uint32_t b;
    if (!next_byte(c, &b) || (b & 0xC0) != 0x80) return bad_encoding(c);
    v = (v << 6) | (b & 0x3F);
  }
  if (v < min || v > 0x10FFFF) return bad_encoding(c);
  *cp = v;
  return 0;
}

}  // namespace

kaf_status get_char_ascii(kaf_ioctx &c, std::uint32_t *ch) {
  if (kaf_status s = get_character(c, ch)) return s;
  if (c.encoding == ENC_ASCII && *ch >= 0x80) return bad_encoding(c);
  return 0;
}

kaf_status get_char_sj(kaf_ioctx &c, std::uint32_t *ch) {
  if (kaf_status s = get_character(c, ch)) return s;
  if (c.encoding == ENC_SJIS16 || *ch < 0x80) return 0;
  // Every byte of 128 or more leads a two-byte character.
  std::uint32_t trail;
  if (!next_byte(c, &trail)) return bad_encoding(c);
  *ch = *ch * 256 + trail;
  return 0;
}

kaf_status get_char_utf(kaf_ioctx &c, std::uint32_t *ch) {
  std::uint32_t b0;
  if (kaf_status s = get_character(c, &b0)) return s;
  if (kaf_status s = decode_utf8(c, b0, ch)) return s;
  if (*ch < 0xD800 || *ch > 0xDFFF) return 0;
  if (*ch > 0xDBFF) return bad_encoding(c);  // a low surrogate alone
  std::uint32_t lead, low;
  if (!next_byte(c, &lead)) return bad_encoding(c);
  if (kaf_status s = decode_utf8(c, lead, &low)) return s;
  if (low < 0xDC00 || low > 0xDFFF) return bad_encoding(c);
  *ch = 0x10000 + ((*ch - 0xD800) << 10) + (low - 0xDC00);
  return 0;
}

kaf_status get_kind_character(kaf_ioctx &c, char_kind kind, std::uint32_t *v) {
  const std::uint32_t enc = c.encoding;
  std::uint32_t u;
  switch (enc) {
  case ENC_UCS4:
  case ENC_UCS2:
  case ENC_UTF16:
    if (kaf_status s = get_character(c, &u)) return s;
    *v = kind == KIND_UCS ? u : kind == KIND_SJIS ? unicode_to_sjis(u) : u <= 0xFF ? u : REPLACEMENT;
    return 0;
  case ENC_SJIS16:
  case ENC_SJIS_BYTES:
    if (kind == KIND_BYTES && enc == ENC_SJIS_BYTES) return get_character(c, v);
    if (kaf_status s = get_char_sj(c, &u)) return s;
    *v = kind == KIND_SJIS ? u : kind == KIND_UCS ? sjis_to_unicode(u) : u <= 0xFF ? u : REPLACEMENT;
    return 0;
  case ENC_UTF8:
    if (kind == KIND_BYTES) return get_character(c, v);
    if (kaf_status s = get_char_utf(c, &u)) return s;
    *v = kind == KIND_SJIS ? unicode_to_sjis(u) : u;
    return 0;
  default:
    if (kaf_status s = get_char_ascii(c, &u)) return s;
    *v = kind == KIND_SJIS && u >= 0x80 ? unicode_to_sjis(u) : u;
    return 0;
  }
}

namespace {

template <typename Unit>
kaf_status input_A_kind(kaf_ioctx &c, Unit *item, std::int64_t len, char_kind kind) {
  c.field_status = 0;
  const std::int64_t width = c.w == 0 ? len : c.w;
  const bool raw = kind == KIND_BYTES && unit_width(c.encoding) == 1 && c.encoding != ENC_ASCII;
  std::uint32_t ch;
  // A field wider than the item: its rightmost len characters are read.
  for (std::int64_t skip = width - len; skip > 0;) {
    if (raw && c.pos < c.rec_len) {
      std::int64_t run = c.rec_len - c.pos;
      if (run > skip) run = skip;
      c.pos += run;
      c.nchars += static_cast<std::uint64_t>(run);
      skip -= run;
      continue;
    }
    if (kaf_status s = get_kind_character(c, kind, &ch)) return s;
    --skip;
  }
  const std::int64_t n = width < len ? width : len;
  std::int64_t i = 0;
  while (i < n) {
    if (raw && c.pos < c.rec_len) {
      std::int64_t run = c.rec_len - c.pos;
      if (run > n - i) run = n - i;
      std::memcpy(item + i, static_cast<const char *>(c.buffer) + c.pos, static_cast<std::size_t>(run));
      c.pos += run;
      c.nchars += static_cast<std::uint64_t>(run);
      i += run;
      continue;
    }
    if (kaf_status s = get_kind_character(c, kind, &ch)) return s;
    item[i++] = static_cast<Unit>(ch);
  }
  for (; i < len; ++i) item[i] = static_cast<Unit>(' ');
  return raise_field_status(c);
}

template <typename Unit>
kaf_status read_char_item(kaf_ioctx &c, Unit *item, std::int64_t len, char_kind kind) {
  if (kaf_status s = need_data_edit(c, DIR_INPUT)) return s;
  if (c.edit_code != EDIT_A && !(c.edit_code == EDIT_G && c.d == -1))
    return __KAFf90_ioerr(&c, E_CHAR_EDIT);
  if (kaf_status s = input_A_kind(c, item, len, kind)) return s;
  return maybe_next_edit(c, DIR_INPUT);
}

}  // namespace

extern "C" {

std::uint64_t __KAFf90_input_format_A(kaf_ioctx *ctx, char *item, std::int64_t len) {
  return input_A_kind(*ctx, reinterpret_cast<unsigned char *>(item), len, KIND_BYTES);
}
std::uint64_t __KAFf90_fmt_read_ch(kaf_ioctx *ctx, char *item, kaf_charlen len) {
  return read_char_item(*ctx, reinterpret_cast<unsigned char *>(item),
                        static_cast<std::int64_t>(len), KIND_BYTES);
}
std::uint64_t __KAFf90_fmt_read_ch2j(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return read_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_SJIS);
}
std::uint64_t __KAFf90_fmt_read_ch2u(kaf_ioctx *ctx, std::uint16_t *item, kaf_charlen len) {
  return read_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_UCS);
}
std::uint64_t __KAFf90_fmt_read_ch4(kaf_ioctx *ctx, std::uint32_t *item, kaf_charlen len) {
  return read_char_item(*ctx, item, static_cast<std::int64_t>(len), KIND_UCS);
}

std::uint64_t __KAFf90_get_char_ascii(kaf_ioctx *ctx, std::uint8_t *ch) {
  std::uint32_t v = 0;
  const kaf_status s = get_char_ascii(*ctx, &v);
  *ch = static_cast<std::uint8_t>(v);
  return s;
}
std::uint64_t __KAFf90_get_char_iso_8859_1(kaf_ioctx *ctx, std::uint8_t *ch) {
  std::uint32_t v = 0;
  const kaf_status s = get_character(*ctx, &v);
  *ch = static_cast<std::uint8_t>(v);
  return s;
}
std::uint64_t __KAFf90_get_char_sj(kaf_ioctx *ctx, std::uint16_t *ch) {
  std::uint32_t v = 0;
  const kaf_status s = get_char_sj(*ctx, &v);
  *ch = static_cast<std::uint16_t>(v);
  return s;
}
std::uint64_t __KAFf90_get_char_utf(kaf_ioctx *ctx, std::uint32_t *ch) {
  return get_char_utf(*ctx, ch);
}

}  // extern "C"
