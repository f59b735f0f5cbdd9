// Shift-JIS (JIS X 0208 and the single-byte half-width katakana) to Unicode
// and back.
#pragma once

#include <cstddef>
#include <cstdint>

struct sjis_pair {
  std::uint16_t unicode;
  std::uint16_t sjis;
};

extern const std::uint16_t sjis_to_unicode_table[47 * 188];
extern const sjis_pair unicode_to_sjis_table[];
extern const std::size_t unicode_to_sjis_count;

inline constexpr std::uint32_t REPLACEMENT = '?';  // for characters with no mapping

// A Shift-JIS character code (a byte, or lead * 256 + trail) as a code
// point; '?' when it maps to nothing.
std::uint32_t sjis_to_unicode(std::uint32_t code);
// A code point as a Shift-JIS character code; '?' when there is none.
std::uint32_t unicode_to_sjis(std::uint32_t cp);
