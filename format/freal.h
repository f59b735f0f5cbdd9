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

// What a real input field held, after scanning: the characters are checked
// by the caller's field reader; this converts the decimal number.
struct scanned_real {
  bool negative;
  bool is_inf;
  bool is_nan;
  std::uint64_t nan_payload;  // low bits of a NaN(...) hexadecimal payload, 0 if none
};

// Converts a decimal number (significant digits, exponent) to the item's
// kind and the statement's rounding mode. Sets *overflow beyond the kind's
// range. hi + lo receives the value (lo only for double-double).
struct converted {
  double hi, lo;
  bool overflow;
};

// Formats x into buf (size bytes, always NUL-terminated when size > 0) as
// the message insertions $F want it: F editing for |x| < 1e20, E editing
// otherwise; returns the length written (without the NUL).
std::size_t format_dollar_F(char *buf, std::size_t size, double x);
// The double-double form ($G, and $Q through the same editor): F editing for
// |x| < 1e30, E editing otherwise.
std::size_t format_dollar_G(char *buf, std::size_t size, kaf_dd x);

}  // namespace kaf::freal
