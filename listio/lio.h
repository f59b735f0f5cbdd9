// List-directed input and output: the workers shared by the item entries of
// each character kind, the legacy layer and the namelist transfer.
#pragma once

#include <cstdint>

#include "format/context.h"
#include "kafrts/listio.h"

// value_type of the scanner: what the last value scanned was.
inline constexpr std::int32_t LIO_INTEGER = 1, LIO_REAL = 2, LIO_COMPLEX = 3, LIO_LOGICAL = 4,
                              LIO_CHARACTER = 5, LIO_BIG_INTEGER = -1, LIO_NULL_REPEAT = 666;

// lio_spare words of the scanner's pending number (beside digits, ndigits,
// exp10 and int_value of the context).
inline constexpr int SPARE_NUMBER_FLAGS = 0;   // NUM_* bits
inline constexpr int SPARE_OUT_WIDTH = 1;      // output: record width chosen at init_loutput
inline constexpr int SPARE_RE_LO = 2;          // input: low halves of a double-double complex
inline constexpr int SPARE_IM_LO = 3;          //   constant's parts (bits of doubles)
inline constexpr std::uint64_t NUM_NEGATIVE = 1, NUM_STICKY = 2, NUM_INF = 4, NUM_NAN = 8;

// Output: reserves a blank and length characters, starting a new record
// when the value would reach the record's last column.
kaf_status value_separator(kaf_ioctx &c, std::int64_t length);
// The record width list-directed output lays values out in.
std::int64_t lio_record_width(const kaf_ioctx &c);

// Input: the character fetch (the end of a record reads as one blank).
kaf_status get_nextchar(kaf_ioctx &c);
// Frees the scanner's heap blocks (number text, character value).
void release_scan_buffers(kaf_ioctx &c);

// The characters of a character value, as code points of the record.
enum lio_char_kind { LIO_KIND_BYTES, LIO_KIND_SJIS, LIO_KIND_UCS2, LIO_KIND_UCS4 };
kaf_status read_character_item(kaf_ioctx &c, lio_char_kind kind, void *item, std::int64_t len,
                               bool namelist);
kaf_status write_character_item(kaf_ioctx &c, lio_char_kind kind, const void *item, std::int64_t len);
