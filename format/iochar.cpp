// The slow half of the character fetch (padding, refill) and the field
// fetch and end-condition exit shared by every input editor.
#include "format/context.h"

namespace {
constexpr int E_ENCODING = 1139;
}

kaf_status get_character_slow(kaf_ioctx &c, std::uint32_t *ch) {
  auto *unit = static_cast<kaf_unit_head *>(c.unit);
  if (c.pad) {
    // The padding blank takes its place in the record, so that tabbing back
    // from beyond the end lands where the standard says.
    *ch = ' ';
    ++c.pos;
    if ((c.flags & IOF_EOR) && !c.no_eor)
      c.field_status = unit && (unit->status & UNIT_AT_EOF) ? -1 : -2;
    return 0;
  }
  // The refill must not see the unit's transient state.
  const std::uint8_t transient = unit ? unit->status & UNIT_TRANSIENT : 0;
  if (unit) unit->status = static_cast<std::uint8_t>(unit->status & ~UNIT_TRANSIENT);
  const kaf_status s = c.flush(&c);
  if (unit) unit->status = static_cast<std::uint8_t>(unit->status | transient);
  if (s == 0) __KAFf90_crash("Unexpected no error");
  return s;
}

kaf_status raise_field_status(kaf_ioctx &c) {
  if (c.field_status == 0) return 0;
  return __KAFf90_ioerr(&c, c.field_status, unit_number_of(c));
}

kaf_status get_within_field(kaf_ioctx &c, std::int32_t *remaining, std::uint32_t *ch) {
  if (*remaining <= 0) {
    *ch = 0;
    return 0;
  }
  if (kaf_status s = get_character(c, ch)) return s;
  --*remaining;
  if (c.encoding == ENC_ASCII && *ch >= 0x80) return __KAFf90_ioerr(&c, E_ENCODING);
  return 0;
}

extern "C" std::uint64_t __KAFf90_get_within_field(kaf_ioctx *ctx, std::int32_t *remaining,
                                                   std::uint32_t *ch) {
  return get_within_field(*ctx, remaining, ch);
}
