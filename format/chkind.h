// Character kinds of items as the character editors see them, and the
// per-character put and get between an item kind and the record encoding.
#pragma once

#include <cstdint>

#include "format/context.h"

enum char_kind {
  KIND_BYTES,  // default kind: one byte per character, moved as it stands
  KIND_SJIS,   // 16-bit Shift-JIS character codes (byte, or lead * 256 + trail)
  KIND_UCS,    // Unicode code points (UCS-2 or UCS-4 items)
};

// Puts one character of the item kind into the record, converting it.
kaf_status put_kind_character(kaf_ioctx &c, char_kind kind, std::uint32_t v);
// Gets one record character and converts it to the item kind.
kaf_status get_kind_character(kaf_ioctx &c, char_kind kind, std::uint32_t *v);
