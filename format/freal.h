// Real output editing (F, E, D, EN, ES, G, G0) and real input conversion,
// independent of the I/O transfer context: the item entries in freal.cpp,
// the message reporter's $F/$G/$Q insertions and kaffmt sit on top.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kafrts/common.h"

namespace kaf::freal {

// The edit descriptor and modes one real field is written under.
struct edit_spec {
  std::uint8_t code;  // 'F', 'E', 'D', 'N' (EN), 'S' (ES), 'G'
  std::int32_t w;     // 0: the width-zero forms (F0.d, G0, G0.d)
  std::int32_t d;     // -1 when absent (G0)
  std::int32_t e;     // <= 0 when absent
  std::int32_t k;     // scale factor
  std::uint32_t round_mode;  // 0 RP, 1 RU, 2 RD, 3 RZ, 4 RN, 5 RC
  std::uint32_t sign_mode;   // 0 SP; anything else: no optional plus
  char decimal_char;         // '.' or ','
};

// Kinds of real item, by their significand: G0 takes its digit count from it.
enum class real_kind : std::uint8_t { half, single, dbl, ddouble };

// The result of editing one value: `lead` blanks, then text[0..len), or, with
// `stars`, w asterisks; `error` is 0 or an I/O error code (1002 scale factor
// out of range, 1003 exponent too large), in which case nothing is written.
struct field {
  std::int32_t lead;
  std::int32_t len;
  bool stars;
  std::int32_t error;
};

// Characters the text of a field under s can need; the scratch buffer given
// to edit_real holds at least this many.
std::size_t scratch_size(const edit_spec &s);

// Edits hi + lo (lo is 0 except for double-double items) under s.
field edit_real(const edit_spec &s, double hi, double lo, real_kind kind, char *scratch);

// Infinity or NaN text for width w (0: as wide as the text), as every real
// editing form writes it; `plus` when a plus sign is wanted.
field format_inf_or_nan(std::int32_t w, bool is_nan, bool negative, bool plus, char *scratch);

// Formats x into buf (size bytes, always NUL-terminated when size > 0) as
// the message insertions $F want it: F0.6 for |x| < 1e20 (and for infinities
// and NaNs), 1PE0.16 otherwise; returns the length written (without the NUL).
// The reporter's memory target calls it for $F.
std::size_t format_dollar_F(char *buf, std::size_t size, double x);
// The double-double form ($G, and $Q through the same editor): F0.6 for
// |x| < 1e30, 1PE0.32 otherwise.
std::size_t format_dollar_G(char *buf, std::size_t size, kaf_dd x);

}  // namespace kaf::freal
