// Conversions between Shift-JIS character codes and Unicode code points
// over the generated JIS X 0208 tables.
#include "format/sjis.h"

namespace {

// Index of a trail byte in 0x40-0x7E, 0x80-0xFC, or -1.
inline int trail_index(unsigned t) {
  if (t >= 0x40 && t <= 0x7E) return static_cast<int>(t - 0x40);
  if (t >= 0x80 && t <= 0xFC) return static_cast<int>(t - 0x80 + 63);
  return -1;
}

inline int lead_index(unsigned l) {
  if (l >= 0x81 && l <= 0x9F) return static_cast<int>(l - 0x81);
  if (l >= 0xE0 && l <= 0xEF) return static_cast<int>(l - 0xE0 + 31);
  return -1;
}

}  // namespace

std::uint32_t sjis_to_unicode(std::uint32_t code) {
  if (code < 0x80) return code;
  if (code >= 0xA1 && code <= 0xDF) return 0xFF61 + (code - 0xA1);  // half-width katakana
  if (code < 0x100 || code > 0xFFFF) return REPLACEMENT;
  const int l = lead_index(code >> 8), t = trail_index(code & 0xFF);
  if (l < 0 || t < 0) return REPLACEMENT;
  const std::uint32_t cp = sjis_to_unicode_table[l * 188 + t];
  return cp ? cp : REPLACEMENT;
}

std::uint32_t unicode_to_sjis(std::uint32_t cp) {
  if (cp < 0x80) return cp;
  if (cp >= 0xFF61 && cp <= 0xFF9F) return 0xA1 + (cp - 0xFF61);
  std::size_t lo = 0, hi = unicode_to_sjis_count;
  while (lo < hi) {
    const std::size_t mid = (lo + hi) / 2;
    if (unicode_to_sjis_table[mid].unicode < cp) lo = mid + 1;
    else hi = mid;
  }
  if (lo < unicode_to_sjis_count && unicode_to_sjis_table[lo].unicode == cp)
    return unicode_to_sjis_table[lo].sjis;
  return REPLACEMENT;
}
