// The I/O transfer context: one record per formatted, list-directed or
// namelist statement, shared by the editing layer (libkafrts) and the I/O
// engine (libkafengine), plus the inline character put and fetch.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kafrts.h"

// Status of every editing, item and begin call: 0 success; anything else is
// returned at once, unchanged, up to compiled code (it is what ioerr gave).
using kaf_status = std::uint64_t;

using kaf_flush_fn = kaf_status (*)(kaf_ioctx *ctx);
// (context, edit-descriptor character that ended the record, current format
// position, format end). The character is '/', ':' or ')' from a format, and
// 0 when the engine ends a record outside any format.
using kaf_next_record_fn = kaf_status (*)(kaf_ioctx *ctx, int ch, const char *fmt_pos,
                                          const char *fmt_end);

// The head of the engine's unit record: the only part the editing layer reads.
struct kaf_unit_head {
  std::int64_t number;       // unit number (as in messages)
  std::uint32_t last_record; // nonzero: the current record is the file's last
  std::uint8_t status;       // UNIT_AT_EOF | UNIT_TRANSIENT | engine bits
  std::uint8_t decimal_char; // connection modes, copied by establish_format
  std::uint8_t pad_yes;      // PAD='YES'
  std::uint8_t head_spare;
  std::uint32_t blank_mode;
  std::uint32_t round_mode;
  std::uint32_t sign_mode;
  std::uint32_t encoding;
  std::int64_t kept_len;     // length of the record a non-advancing WRITE left open
};
inline constexpr std::uint8_t UNIT_AT_EOF = 0x80;   // end of file reached
inline constexpr std::uint8_t UNIT_TRANSIENT = 0x02; // hidden from the refill callback

// The head of the engine's internal-file record; word 1 nonzero: further
// records follow.
struct kaf_ifile_head {
  std::uint64_t word0;
  std::uint64_t records_left;
};

// Statement flags (kaf_ioctx::flags).
inline constexpr std::uint32_t IOF_END = 1;    // END= present
inline constexpr std::uint32_t IOF_EOR = 2;    // report end of record (non-advancing EOR=, list input)
inline constexpr std::uint32_t IOF_ERR = 4;    // ERR= or IOSTAT= present

// stmt_bits bits the editing layer reads (the engine owns the rest).
inline constexpr std::uint64_t STMT_NONADVANCING = 1;

// mode_flags bits.
inline constexpr std::uint32_t MODE_FORMAT = 64;  // format established
inline constexpr std::uint32_t MODE_BLANK = 2;    // BN/BZ seen
inline constexpr std::uint32_t MODE_ROUND = 8;    // RU/RD/... seen
inline constexpr std::uint32_t MODE_SIGN = 16;    // S/SP/SS seen

// Encodings of the record (kaf_ioctx::encoding). Codes not listed here are
// byte records (ISO 8859-1, UTF-8 and Shift-JIS bytes).
inline constexpr std::uint32_t ENC_ASCII = 1;
inline constexpr std::uint32_t ENC_LATIN1 = 2;  // ISO 8859-1 (default of a connection)
inline constexpr std::uint32_t ENC_SJIS_BYTES = 4;
inline constexpr std::uint32_t ENC_UTF8 = 5;
inline constexpr std::uint32_t ENC_UCS2 = 7;    // 16-bit Unicode units
inline constexpr std::uint32_t ENC_UCS4 = 9;    // 32-bit units
inline constexpr std::uint32_t ENC_UTF16 = 10;  // 16-bit Unicode units (second 16-bit kind)
inline constexpr std::uint32_t ENC_SJIS16 = 11; // Shift-JIS in 16-bit units

// Width in bytes of one character unit of the record.
constexpr unsigned unit_width(std::uint32_t encoding) {
  return encoding == 7 || encoding == 10 || encoding == 11 ? 2 : encoding == 9 ? 4 : 1;
}

// Rounding modes (round_mode).
inline constexpr std::uint32_t ROUND_PROCESSOR = 0, ROUND_UP = 1, ROUND_DOWN = 2,
                               ROUND_ZERO = 3, ROUND_NEAREST = 4, ROUND_COMPATIBLE = 5;
// Sign modes (sign_mode).
inline constexpr std::uint32_t SIGN_PLUS = 0, SIGN_SUPPRESS = 1, SIGN_DEFAULT = 2;

// Edit codes (edit_code): the descriptor's letter, upper case, except for the
// two-letter data descriptors, which get letters of their own.
inline constexpr std::uint8_t EDIT_A = 'A', EDIT_B = 'B', EDIT_D = 'D', EDIT_E = 'E',
                              EDIT_F = 'F', EDIT_G = 'G', EDIT_I = 'I', EDIT_L = 'L',
                              EDIT_O = 'O', EDIT_Z = 'Z';
inline constexpr std::uint8_t EDIT_EN = 'N';  // ENw.d[Ee]
inline constexpr std::uint8_t EDIT_ES = 'S';  // ESw.d[Ee]
inline constexpr std::uint8_t EDIT_DT = 'T';  // DT['type'][(v_list)]
inline constexpr std::uint8_t EDIT_COLON = ':';  // stopped at a colon
inline constexpr std::uint8_t EDIT_END = ')';    // stopped at the end of the format
inline constexpr std::uint8_t EDIT_NONE = 0;     // no format (list-directed)

// Directions of establish_format and the sequencer.
inline constexpr int DIR_INPUT = 1;
inline constexpr int DIR_OUTPUT = 2;

inline constexpr int MAX_FORMAT_DEPTH = 40;

struct kaf_ioctx {
  void *unit;             // kaf_unit_head * or null (internal file)
  void *internal;         // kaf_ifile_head * or null (external unit)
  std::uint32_t flags;    // IOF_*
  std::uint32_t flags_pad;
  // Engine-private words.
  std::uint64_t iostat_var;  // int32_t/int64_t * of IOSTAT= (width in stmt_bits)
  std::uint64_t iomsg_addr;  // char * of IOMSG=
  void *buffer;           // record buffer, units of unit_width(encoding)
  kaf_flush_fn flush;
  kaf_next_record_fn next_record;
  std::uint64_t nchars;   // characters taken from the record (SIZE=)
  // Engine-private words.
  std::uint64_t iomsg_len;
  std::uint64_t size_var;    // int64_t * counting SIZE=
  std::uint64_t stmt_bits;   // the engine's statement state
  std::int64_t pos;
  std::uint64_t limit;       // output: capacity of buffer in units
  std::int64_t rec_len;      // input: valid units in buffer
  std::uint32_t no_eor;
  std::uint32_t mode_flags;  // MODE_*
  std::int64_t max_pos;      // output: furthest position written; input: -1
  std::uint32_t tab_pending; // format-private: nonzero while tab_target is pending
  std::uint32_t blank_mode;  // 1 BZ, otherwise BN
  std::uint32_t round_mode;  // ROUND_*
  std::uint32_t sign_mode;   // SIGN_*
  std::uint32_t encoding;    // ENC_*
  std::uint8_t decimal_char; // '.' or ','
  std::uint8_t real_mode;    // passed to the real-output routines
  std::uint8_t modes_pad[2];
  std::uint32_t pad;         // PAD='YES' in force for this read
  std::uint8_t edit_code;    // EDIT_*
  std::uint8_t fmt_dir;      // format-private: direction given to establish_format
  std::uint8_t edit_pad[2];
  std::int32_t w;
  std::int32_t d;            // -1 when absent
  std::int32_t e;            // <= 0 when absent
  std::int32_t scale;
  std::int32_t m;            // 1 when absent, 0 only for an explicit .0
  std::int32_t fmt_spare;    // format-private
  std::int32_t group_repeat[MAX_FORMAT_DEPTH + 1];  // by depth; [0] unused; -1 unlimited
  std::int32_t group_pad;
  // group_start[depth - 1]: position after the '(' of the group open at depth.
  const char *group_start[MAX_FORMAT_DEPTH];
  const char *revert_pos;
  const char *fmt_end;       // the last character of the format (its ')')
  const char *fmt_pos;
  std::int64_t tab_target;   // format-private: pending tab position; 0 at the start
  std::int32_t revert_repeat;
  std::int32_t revert_depth;
  std::int32_t depth;
  std::int32_t have_count;
  std::int32_t count;        // -1 for '*'
  std::int32_t saw_data;
  std::int64_t record_start;
  std::int32_t field_status; // 0, -1 end of file, -2 end of record
  std::int32_t field_pad;
  const char *fmt_text;
  std::uint32_t fmt_kind;    // 1: bytes (the only kind format texts come in)
  std::uint32_t fmt_kind_pad;

  // List-directed input scanning state.
  std::uint8_t lio_decimal_char;
  std::uint8_t separator;
  std::uint8_t lio_pad0[2];
  std::uint32_t ch;
  std::uint64_t repeat_left;
  std::uint32_t at_eor;
  std::uint32_t lio_pad1;
  std::uint32_t *char_buf;
  std::uint64_t char_len;
  std::uint64_t char_cap;
  std::int64_t int_value;
  double real_value;
  double real_part;
  std::int32_t exp10;
  std::int32_t ndigits;
  std::int32_t value_type;
  std::uint32_t lio_encoding;
  char digits[128];
  char *digits_heap;
  std::uint64_t digits_heap_size;
  char *saved_heap;
  std::uint64_t saved_size;
  std::uint64_t saved_len;
  std::uint64_t digits_room;
  char *digits_next;
  // List-directed output state.
  std::uint32_t no_separator;
  std::uint32_t delimiter;
  std::uint32_t after_character;
  std::uint32_t lio_pad2;
  std::uint64_t lio_spare[8];   // room for the list-directed layer

  // DT edit descriptor of the current item: type string and v_list as they
  // stand in the format text (see dt_vlist_values).
  const char *dt_string;     // after the opening delimiter; null: no string
  std::int32_t dt_string_len;  // bytes, doubled delimiters counted twice
  std::int32_t dt_vlist_count; // number of values; -1: no v_list
  const char *dt_vlist;      // the character after '('

  // Engine state of the statement.
  const char *src_file;      // call site of the statement, or null
  std::int32_t src_line;
  std::int32_t error_code;   // the last code raised through ioerr
  void *parent;              // parent context of a child statement, or null
  std::uint64_t engine_spare[3];

  // Format-private: the last data edit descriptor parsed, by its position.
  const char *edit_cache_at;
  const char *edit_cache_next;
  std::int32_t edit_cache_w, edit_cache_d, edit_cache_e, edit_cache_m;
  std::int32_t edit_cache_repeat;
  std::uint8_t edit_cache_code;
  std::uint8_t edit_cache_pad[3];
};

static_assert(offsetof(kaf_ioctx, unit) == 0);
static_assert(offsetof(kaf_ioctx, internal) == 8);
static_assert(offsetof(kaf_ioctx, flags) == 16);
static_assert(offsetof(kaf_ioctx, iostat_var) == 24);
static_assert(offsetof(kaf_ioctx, buffer) == 40);
static_assert(offsetof(kaf_ioctx, flush) == 48);
static_assert(offsetof(kaf_ioctx, next_record) == 56);
static_assert(offsetof(kaf_ioctx, nchars) == 64);
static_assert(offsetof(kaf_ioctx, iomsg_len) == 72);
static_assert(offsetof(kaf_ioctx, pos) == 96);
static_assert(offsetof(kaf_ioctx, limit) == 104);
static_assert(offsetof(kaf_ioctx, rec_len) == 112);
static_assert(offsetof(kaf_ioctx, no_eor) == 120);
static_assert(offsetof(kaf_ioctx, mode_flags) == 124);
static_assert(offsetof(kaf_ioctx, max_pos) == 128);
static_assert(offsetof(kaf_ioctx, tab_pending) == 136);
static_assert(offsetof(kaf_ioctx, blank_mode) == 140);
static_assert(offsetof(kaf_ioctx, round_mode) == 144);
static_assert(offsetof(kaf_ioctx, sign_mode) == 148);
static_assert(offsetof(kaf_ioctx, encoding) == 152);
static_assert(offsetof(kaf_ioctx, decimal_char) == 156);
static_assert(offsetof(kaf_ioctx, real_mode) == 157);
static_assert(offsetof(kaf_ioctx, pad) == 160);
static_assert(offsetof(kaf_ioctx, edit_code) == 164);
static_assert(offsetof(kaf_ioctx, fmt_dir) == 165);
static_assert(offsetof(kaf_ioctx, w) == 168);
static_assert(offsetof(kaf_ioctx, d) == 172);
static_assert(offsetof(kaf_ioctx, e) == 176);
static_assert(offsetof(kaf_ioctx, scale) == 180);
static_assert(offsetof(kaf_ioctx, m) == 184);
static_assert(offsetof(kaf_ioctx, fmt_spare) == 188);
static_assert(offsetof(kaf_ioctx, group_repeat) == 192);
static_assert(offsetof(kaf_ioctx, group_start) == 360);
static_assert(offsetof(kaf_ioctx, revert_pos) == 680);
static_assert(offsetof(kaf_ioctx, fmt_end) == 688);
static_assert(offsetof(kaf_ioctx, fmt_pos) == 696);
static_assert(offsetof(kaf_ioctx, tab_target) == 704);
static_assert(offsetof(kaf_ioctx, revert_repeat) == 712);
static_assert(offsetof(kaf_ioctx, revert_depth) == 716);
static_assert(offsetof(kaf_ioctx, depth) == 720);
static_assert(offsetof(kaf_ioctx, have_count) == 724);
static_assert(offsetof(kaf_ioctx, count) == 728);
static_assert(offsetof(kaf_ioctx, saw_data) == 732);
static_assert(offsetof(kaf_ioctx, record_start) == 736);
static_assert(offsetof(kaf_ioctx, field_status) == 744);
static_assert(offsetof(kaf_ioctx, fmt_text) == 752);
static_assert(offsetof(kaf_ioctx, fmt_kind) == 760);
static_assert(offsetof(kaf_ioctx, lio_decimal_char) == 768);
static_assert(offsetof(kaf_ioctx, no_separator) == 1040);
static_assert(offsetof(kaf_ioctx, dt_string) == 1120);
static_assert(offsetof(kaf_ioctx, src_file) == 1144);
static_assert(sizeof(kaf_ioctx) == KAF_IOCTX_BYTES);
static_assert(alignof(kaf_ioctx) <= KAF_IOCTX_ALIGN);

// Errors are raised with __KAFf90_ioerr(&ctx, code, insertions...)
// (kafrts/io.h): it answers IOSTAT=/IOMSG=/ERR=/END=/EOR= or ends the
// program, and returns the nonzero status to pass up unchanged.

// Putting one character on output: flush when the buffer is full, then store
// one unit of the record's width.
inline kaf_status put_character(kaf_ioctx &c, std::uint32_t ch) {
  if (static_cast<std::uint64_t>(c.pos) >= c.limit)
    if (kaf_status s = c.flush(&c)) return s;
  switch (unit_width(c.encoding)) {
  case 1: static_cast<std::uint8_t *>(c.buffer)[c.pos] = static_cast<std::uint8_t>(ch); break;
  case 2: static_cast<std::uint16_t *>(c.buffer)[c.pos] = static_cast<std::uint16_t>(ch); break;
  default: static_cast<std::uint32_t *>(c.buffer)[c.pos] = ch; break;
  }
  ++c.pos;
  return 0;
}

// Out-of-line slow path of get_character: pads, or refills through flush
// (hiding the unit's transient bit), or reports "Unexpected no error".
kaf_status get_character_slow(kaf_ioctx &c, std::uint32_t *ch);

// Getting one raw character unit on input (no encoding check: the readers
// of each encoding add theirs).
inline kaf_status get_character(kaf_ioctx &c, std::uint32_t *ch) {
  if (c.pos < c.rec_len) {
    switch (unit_width(c.encoding)) {
    case 1: *ch = static_cast<const std::uint8_t *>(c.buffer)[c.pos]; break;
    case 2: *ch = static_cast<const std::uint16_t *>(c.buffer)[c.pos]; break;
    default: *ch = static_cast<const std::uint32_t *>(c.buffer)[c.pos]; break;
    }
    ++c.pos;
    ++c.nchars;
    return 0;
  }
  return get_character_slow(c, ch);
}

// The unit number an end condition is reported with (-1: internal file).
inline std::int32_t unit_number_of(const kaf_ioctx &c) {
  return c.unit ? static_cast<std::int32_t>(static_cast<const kaf_unit_head *>(c.unit)->number)
                : -1;
}

// Raises field_status (end of file -1 / end of record -2) as the I/O error
// code with the unit's number; 0 when there is none.
kaf_status raise_field_status(kaf_ioctx &c);

// Format interpreter (format.cpp).
kaf_status establish_format(kaf_ioctx &c, const char *text, std::int64_t length, int direction);
kaf_status parse_next_edit(kaf_ioctx &c, int direction);
// Advances to the next data edit descriptor, colon or end; the common cases
// (a repeat factor still running, a descriptor parsed before, the end of
// the format) are settled here without parsing.
inline kaf_status maybe_next_edit(kaf_ioctx &c, int direction) {
  if (c.fmt_spare > 0) {  // the data descriptor's own repeat factor
    --c.fmt_spare;
    return 0;
  }
  const char *p = c.fmt_pos;
  if (!p) return 0;  // no format established
  if (p == c.fmt_end && *p == ')' && c.depth == 0 && !c.tab_pending) {
    c.edit_code = EDIT_END;
    return 0;
  }
  if (p == c.edit_cache_at) {
    c.edit_code = c.edit_cache_code;
    c.w = c.edit_cache_w;
    c.d = c.edit_cache_d;
    c.e = c.edit_cache_e;
    c.m = c.edit_cache_m;
    c.fmt_spare = c.edit_cache_repeat - 1;
    c.fmt_pos = c.edit_cache_next;
    c.saw_data = 1;
    c.have_count = 0;
    return 0;
  }
  return parse_next_edit(c, direction);
}
kaf_status definitely_next_edit(kaf_ioctx &c, int direction);
bool next_edit_is_DT(const kaf_ioctx &c);
kaf_status position_file_from(kaf_ioctx &c, std::int64_t target, int direction);
// The item's first step: obtain the data edit descriptor when the sequencer
// stands at ':' or ')', and bring a pending tab target into force.
inline kaf_status need_data_edit(kaf_ioctx &c, int direction) {
  if (c.edit_code == EDIT_END || c.edit_code == EDIT_COLON)
    if (kaf_status s = definitely_next_edit(c, direction)) return s;
  if (c.tab_pending) return position_file_from(c, c.tab_target, direction);
  return 0;
}
// DT's v_list: stores up to max values, returns how many the list holds.
std::int32_t dt_vlist_values(const kaf_ioctx &c, std::int32_t *values, std::int32_t max);

// Field status (cleared by each input field).
inline void clear_field_status(kaf_ioctx &c) { c.field_status = 0; }
inline std::int32_t get_field_status(const kaf_ioctx &c) { return c.field_status; }

// Shared by the input editors: the next character of the field, 0 at its end.
kaf_status get_within_field(kaf_ioctx &c, std::int32_t *remaining, std::uint32_t *ch);
// Character output (character editing): A editing of bytes.
kaf_status format_A(kaf_ioctx &c, const char *item, std::int64_t len);
// Fills w positions with asterisks.
kaf_status put_stars(kaf_ioctx &c, std::int32_t w);
