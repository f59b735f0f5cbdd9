// The format interpreter: establish_format and the edit-descriptor sequencer.
// The format text is walked in place every time a statement runs; control
// edit descriptors are carried out as they are passed and the sequencer
// stops at each data edit descriptor with its parameters in the context.
//
// Decisions the Fortran standard leaves to us:
// - A count that does not fit in 31 bits raises 1020 (it is no valid
//   constant of the default kind).
// - Repeat factors on DC/DP and on ':' raise 1026.
// - Iw, Bw, Ow, Zw, Fw.d, Ew.d, Dw.d, ENw.d, ESw.d and Gw need their w
//   (1020 without); A takes an optional w (A alone stores w = 0); L needs w.
//   Zero widths are accepted where the standard has a zero-width form (I, B,
//   O, Z, F, G, and E/D/EN/ES, whose editors treat w = 0 as the minimal
//   width); A0 and L0 raise 1021, as does a zero exponent width.
// - A bare P (no k) raises 1020; a sign before a count not followed by P
//   raises 1023.
// - Only formats of one byte per character are interpreted (fmt_kind 1).
// - group_start[depth - 1] holds the start of the group open at depth, so
//   40 slots serve depths 1 to 40.
#include <cstring>

#include "format/context.h"

namespace {

constexpr int E_BEGIN = 1015, E_NO_RPAREN = 1016, E_NO_DATA_AFTER_REVERSION = 1017,
              E_TOO_DEEP = 1018, E_UNEXPECTED_END = 1019, E_EXPECTED_INT = 1020,
              E_ZERO = 1021, E_EXPECTED_POINT = 1022, E_EXPECTED_P = 1023,
              E_EXPECTED_NZ = 1024, E_INVALID = 1025, E_REPEAT_NOTHING = 1026,
              E_REPEAT_SIGN = 1027, E_REPEAT_BLANK = 1028, E_H_LENGTH = 1029,
              E_REPEAT_STRING = 1030, E_X_SPACING = 1031, E_REPEAT_POSITION = 1032,
              E_STRING_INPUT = 1033, E_STRING_UNTERMINATED = 1037, E_EMPTY_GROUP = 1143,
              E_STAR_NO_PAREN = 1144, E_UNLIMITED_NO_DATA = 1145, E_UNLIMITED_NOT_LAST = 1146,
              E_UNLIMITED_NESTED = 1147, E_G0_EXPONENT = 1149, E_REPEAT_ROUND = 1150,
              E_DT_STRING = 1159, E_DT_VLIST_CHAR = 1160, E_DT_VLIST_END = 1161;

inline bool is_blank(char ch) { return ch == ' ' || ch == '\t'; }
inline bool is_digit(char ch) { return ch >= '0' && ch <= '9'; }
inline char upper(char ch) { return ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 32) : ch; }

kaf_status raise(kaf_ioctx &c, int code) { return __KAFf90_ioerr(&c, code); }
kaf_status raise_char(kaf_ioctx &c, int code, char ch) {
  return __KAFf90_ioerr(&c, code, static_cast<int>(static_cast<unsigned char>(ch)));
}

// Skips blanks and tabs; p may end one past fmt_end.
inline const char *skip_blanks(const kaf_ioctx &c, const char *p) {
  while (p <= c.fmt_end && is_blank(*p)) ++p;
  return p;
}

// Reads an unsigned integer literal at p (blanks and tabs inside skipped)
// into count and sets have_count. Needs a digit at p.
kaf_status value(kaf_ioctx &c, const char *&p) {
  std::int64_t n = 0;
  while (p <= c.fmt_end && (is_digit(*p) || is_blank(*p))) {
    if (is_digit(*p)) {
      n = n * 10 + (*p - '0');
      if (n > 0x7fffffff) return raise(c, E_EXPECTED_INT);
    }
    ++p;
  }
  c.count = static_cast<std::int32_t>(n);
  c.have_count = 1;
  return 0;
}

// An optional or required unsigned integer after a descriptor letter or a
// '.'; *got tells whether one was there.
kaf_status parameter(kaf_ioctx &c, const char *&p, std::int32_t *out, bool *got) {
  p = skip_blanks(c, p);
  if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
  *got = false;
  if (!is_digit(*p)) return 0;
  if (kaf_status s = value(c, p)) return s;
  c.have_count = 0;
  *out = c.count;
  *got = true;
  return 0;
}

kaf_status required(kaf_ioctx &c, const char *&p, std::int32_t *out, bool nonzero) {
  bool got = false;
  if (kaf_status s = parameter(c, p, out, &got)) return s;
  if (!got) return raise(c, E_EXPECTED_INT);
  if (nonzero && *out == 0) return raise(c, E_ZERO);
  return 0;
}

// '.' then a required d; 1022 when the point is missing.
kaf_status point_d(kaf_ioctx &c, const char *&p) {
  p = skip_blanks(c, p);
  if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
  if (*p != '.') return raise(c, E_EXPECTED_POINT);
  ++p;
  return required(c, p, &c.d, false);
}

// Optional "Ee" exponent part; e stays 0 when absent.
kaf_status exponent_part(kaf_ioctx &c, const char *&p, bool *got) {
  p = skip_blanks(c, p);
  *got = false;
  if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
  if (upper(*p) != 'E') return 0;
  ++p;
  *got = true;
  return required(c, p, &c.e, true);
}

// DT['type-string'][(v-list)]: the string and the list are left in the text
// and remembered by position (dt_vlist_values reads the values).
kaf_status parse_dt(kaf_ioctx &c, const char *&p) {
  c.dt_string = nullptr;
  c.dt_string_len = 0;
  c.dt_vlist = nullptr;
  c.dt_vlist_count = -1;
  p = skip_blanks(c, p);
  if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
  if (*p == '\'' || *p == '"') {
    const char quote = *p++;
    const char *start = p;
    for (;;) {
      if (p >= c.fmt_end) return raise(c, E_DT_STRING);
      if (*p == quote) {
        if (p + 1 < c.fmt_end && p[1] == quote) {
          p += 2;
          continue;
        }
        break;
      }
      ++p;
    }
    c.dt_string = start;
    c.dt_string_len = static_cast<std::int32_t>(p - start);
    p = skip_blanks(c, p + 1);
    if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
  }
  if (*p == '(') {
    ++p;
    c.dt_vlist = p;
    std::int32_t n = 0;
    bool need_value = true;
    for (;;) {
      p = skip_blanks(c, p);
      if (p >= c.fmt_end) return raise(c, E_DT_VLIST_END);
      if (need_value) {
        if (*p == '+' || *p == '-') p = skip_blanks(c, p + 1);
        if (p >= c.fmt_end) return raise(c, E_DT_VLIST_END);
        if (!is_digit(*p)) return raise(c, E_DT_VLIST_CHAR);
        std::int64_t v = 0;
        while (p < c.fmt_end && (is_digit(*p) || is_blank(*p))) {
          if (is_digit(*p) && (v = v * 10 + (*p - '0')) > 0x7fffffff) return raise(c, E_DT_VLIST_CHAR);
          ++p;
        }
        ++n;
        need_value = false;
      } else if (*p == ',') {
        ++p;
        need_value = true;
      } else if (*p == ')') {
        ++p;
        break;
      } else {
        return raise(c, E_DT_VLIST_CHAR);
      }
    }
    c.dt_vlist_count = n;
  }
  return 0;
}

// Brings a pending tab target into force at the end of a record or at a
// colon: a target before the data written moves pos back; one beyond adds
// nothing to the record.
kaf_status settle_tab(kaf_ioctx &c, int direction) {
  if (!c.tab_pending) return 0;
  const std::int64_t hi = c.pos > c.max_pos ? c.pos : c.max_pos;
  if (c.tab_target < hi) return position_file_from(c, c.tab_target, direction);
  c.tab_pending = 0;
  return 0;
}

// Current position as the next positioning descriptor sees it.
inline std::int64_t tab_origin(const kaf_ioctx &c) { return c.tab_pending ? c.tab_target : c.pos; }

kaf_status set_tab(kaf_ioctx &c, std::int64_t target, int direction) {
  if (target < c.record_start) target = c.record_start;
  if (direction == DIR_INPUT) {
    c.pos = target;
    return 0;
  }
  c.tab_target = target;
  c.tab_pending = 1;
  return 0;
}

// Ends the current record at a slash (output: its length is the furthest
// position written).
kaf_status end_record(kaf_ioctx &c, int ch, const char *p, int direction) {
  if (direction == DIR_OUTPUT) {
    c.tab_pending = 0;
    if (c.max_pos > c.pos) c.pos = c.max_pos;
  }
  if (kaf_status s = c.next_record(&c, ch, p, c.fmt_end)) return s;
  if (direction == DIR_OUTPUT) c.max_pos = c.pos;
  c.record_start = c.pos;
  return 0;
}

kaf_status put_literal(kaf_ioctx &c, const char *s, std::int64_t n, char quote) {
  for (std::int64_t i = 0; i < n; ++i) {
    if (kaf_status st = put_character(c, static_cast<unsigned char>(s[i]))) return st;
    if (quote && s[i] == quote) ++i;  // a doubled delimiter stands for one
  }
  return 0;
}

}  // namespace

kaf_status position_file_from(kaf_ioctx &c, std::int64_t target, int direction) {
  c.tab_pending = 0;
  if (direction == DIR_INPUT) {
    c.pos = target;
    return 0;
  }
  const std::int64_t hi = c.pos > c.max_pos ? c.pos : c.max_pos;
  if (target <= hi) {
    c.max_pos = hi;
    c.pos = target;
    return 0;
  }
  c.pos = hi;
  while (c.pos < target)
    if (kaf_status s = put_character(c, ' ')) return s;
  c.max_pos = c.pos;
  return 0;
}

kaf_status parse_next_edit(kaf_ioctx &c, int direction) {
  const char *p = c.fmt_pos;
  for (;;) {
    p = skip_blanks(c, p);
    if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
    // A data descriptor met before (on reversion or in a repeated group) is
    // not parsed again: the text does not change during a statement.
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
    const char *item = p;
    c.have_count = 0;
    c.count = 1;
    // Step 2: a count, repeat factor or scale factor.
    if (*p == '+' || *p == '-') {
      const bool negative = *p == '-';
      p = skip_blanks(c, p + 1);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (!is_digit(*p)) return raise(c, E_EXPECTED_P);
      if (kaf_status s = value(c, p)) return s;
      p = skip_blanks(c, p);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (upper(*p) != 'P') return raise(c, E_EXPECTED_P);
      c.scale = negative ? -c.count : c.count;
      ++p;
      continue;
    }
    if (is_digit(*p)) {
      if (kaf_status s = value(c, p)) return s;
      p = skip_blanks(c, p);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (upper(*p) == 'P') {
        c.scale = c.count;
        ++p;
        continue;
      }
      if (c.count == 0) return raise(c, E_ZERO);
    } else if (*p == '*') {
      p = skip_blanks(c, p + 1);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (*p != '(') return raise(c, E_STAR_NO_PAREN);
      c.have_count = 1;
      c.count = -1;
    }
    const char ch = *p;
    const unsigned char code = static_cast<unsigned char>(ch);
    if (code < 34 || code > 122) return raise_char(c, E_INVALID, ch);
    const char *next = p + 1;
    const char letter = upper(ch);
    switch (letter) {
    case '(': {
      if (c.depth + 1 > MAX_FORMAT_DEPTH) return raise(c, E_TOO_DEEP);
      if (c.count == -1 && c.depth > 0) return raise(c, E_UNLIMITED_NESTED);
      const char *q = skip_blanks(c, next);
      if (q > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (*q == ')') return raise(c, E_EMPTY_GROUP);
      ++c.depth;
      c.group_start[c.depth - 1] = next;
      c.group_repeat[c.depth] = c.have_count ? c.count : 1;
      if (c.count == -1) c.saw_data = 0;
      if (c.depth == 1) {
        c.revert_pos = next;
        c.revert_depth = 1;
        c.revert_repeat = c.group_repeat[1];
      }
      p = next;
      continue;
    }
    case ')': {
      if (c.have_count) return raise(c, E_REPEAT_NOTHING);
      if (c.depth == 0) {
        if (direction == DIR_OUTPUT)
          if (kaf_status s = settle_tab(c, direction)) return s;
        c.fmt_end = p;
        c.fmt_pos = p;
        c.edit_code = EDIT_END;
        return 0;
      }
      const std::int32_t r = c.group_repeat[c.depth];
      if (r == -1) {
        if (!c.saw_data) return raise(c, E_UNLIMITED_NO_DATA);
        // Only the closing parenthesis of the whole format may follow.
        const char *q = skip_blanks(c, next);
        if (q > c.fmt_end || *q != ')') return raise(c, E_UNLIMITED_NOT_LAST);
        p = c.group_start[c.depth - 1];
        continue;
      }
      if (r != 1) {
        c.group_repeat[c.depth] = r - 1;
        p = c.group_start[c.depth - 1];
      } else {
        --c.depth;
        p = next;
      }
      continue;
    }
    case ',':
      if (c.have_count) return raise(c, E_REPEAT_NOTHING);
      p = next;
      continue;
    case '/':
      for (std::int32_t i = 0; i < c.count; ++i)
        if (kaf_status s = end_record(c, '/', p, direction)) return s;
      p = next;
      continue;
    case ':':
      if (c.have_count) return raise(c, E_REPEAT_NOTHING);
      if (direction == DIR_OUTPUT) {
        if (c.pos > c.max_pos) c.max_pos = c.pos;
        // A target behind the data written takes effect now; one ahead stays
        // pending for the next item (and lengthens nothing if none comes).
        const std::int64_t hi = c.pos > c.max_pos ? c.pos : c.max_pos;
        if (c.tab_pending && c.tab_target < hi)
          if (kaf_status s = position_file_from(c, c.tab_target, direction)) return s;
      }
      c.fmt_pos = next;
      c.edit_code = EDIT_COLON;
      return 0;
    case '\'':
    case '"': {
      if (direction == DIR_INPUT) return raise(c, E_STRING_INPUT);
      if (c.have_count) return raise(c, E_REPEAT_STRING);
      const char *q = next;
      for (;;) {
        if (q >= c.fmt_end) return raise(c, E_STRING_UNTERMINATED);
        if (*q == ch) {
          if (q + 1 < c.fmt_end && q[1] == ch) {
            q += 2;
            continue;
          }
          break;
        }
        ++q;
      }
      if (c.tab_pending)
        if (kaf_status s = position_file_from(c, c.tab_target, direction)) return s;
      if (kaf_status s = put_literal(c, next, q - next, ch)) return s;
      p = q + 1;
      continue;
    }
    case 'H': {
      if (!c.have_count || c.count < 0) return raise(c, E_H_LENGTH);
      if (direction == DIR_INPUT) return raise(c, E_STRING_INPUT);
      if (c.fmt_end - next < c.count) return raise(c, E_STRING_UNTERMINATED);
      if (c.tab_pending)
        if (kaf_status s = position_file_from(c, c.tab_target, direction)) return s;
      if (kaf_status s = put_literal(c, next, c.count, 0)) return s;
      p = next + c.count;
      continue;
    }
    case 'X':
      if (!c.have_count || c.count < 0) return raise(c, E_X_SPACING);
      if (kaf_status s = set_tab(c, tab_origin(c) + c.count, direction)) return s;
      p = next;
      continue;
    case 'T': {
      if (c.have_count) return raise(c, E_REPEAT_POSITION);
      const char *q = skip_blanks(c, next);
      if (q > c.fmt_end) return raise(c, E_NO_RPAREN);
      const char how = upper(*q);
      if (how == 'L' || how == 'R') ++q;
      std::int32_t n;
      if (kaf_status s = required(c, q, &n, true)) return s;
      std::int64_t target;
      if (how == 'L') target = tab_origin(c) - n;
      else if (how == 'R') target = tab_origin(c) + n;
      else target = c.record_start + n - 1;
      if (kaf_status s = set_tab(c, target, direction)) return s;
      p = q;
      continue;
    }
    case 'S': {
      if (c.have_count) return raise(c, E_REPEAT_SIGN);
      const char *q = skip_blanks(c, next);
      if (q > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (upper(*q) == 'P') {
        c.sign_mode = SIGN_PLUS;
        ++q;
      } else {
        if (upper(*q) == 'S') ++q;
        c.sign_mode = SIGN_SUPPRESS;
      }
      c.mode_flags |= MODE_SIGN;
      p = q;
      continue;
    }
    case 'R': {
      const char *q = skip_blanks(c, next);
      if (q > c.fmt_end) return raise(c, E_NO_RPAREN);
      static constexpr char kinds[] = {'P', 'U', 'D', 'Z', 'N', 'C'};
      int mode = -1;
      for (int i = 0; i < 6; ++i)
        if (upper(*q) == kinds[i]) mode = i;
      if (mode < 0) return raise_char(c, E_INVALID, ch);
      if (c.have_count) return raise(c, E_REPEAT_ROUND);
      c.round_mode = static_cast<std::uint32_t>(mode);
      c.mode_flags |= MODE_ROUND;
      p = q + 1;
      continue;
    }
    case 'P':
      return raise(c, E_EXPECTED_INT);
    default:
      break;
    }

    // Descriptors that may be two-letter control descriptors or data ones.
    const char *q = skip_blanks(c, next);
    if (q > c.fmt_end) return raise(c, E_NO_RPAREN);
    const char second = upper(*q);
    if (letter == 'B' && (second == 'N' || second == 'Z')) {
      if (c.have_count) return raise(c, E_REPEAT_BLANK);
      c.blank_mode = second == 'Z' ? 1 : 0;
      c.mode_flags |= MODE_BLANK;
      p = q + 1;
      continue;
    }
    if (letter == 'B' && !is_digit(*q)) return raise_char(c, E_EXPECTED_NZ, *q);
    if (letter == 'D' && (second == 'C' || second == 'P')) {
      if (c.have_count) return raise(c, E_REPEAT_NOTHING);
      c.decimal_char = second == 'C' ? ',' : '.';
      p = q + 1;
      continue;
    }

    // Data edit descriptors.
    std::uint8_t edit;
    switch (letter) {
    case 'A': case 'B': case 'F': case 'G': case 'I': case 'L': case 'O': case 'Z':
      edit = static_cast<std::uint8_t>(letter);
      break;
    case 'D':
      edit = second == 'T' ? EDIT_DT : EDIT_D;
      break;
    case 'E':
      edit = second == 'N' ? EDIT_EN : second == 'S' ? EDIT_ES : EDIT_E;
      break;
    default:
      return raise_char(c, E_INVALID, ch);
    }
    if (edit == EDIT_DT || edit == EDIT_EN || edit == EDIT_ES) next = q + 1;
    if (c.count == -1) return raise(c, E_STAR_NO_PAREN);
    const std::int32_t repeat = c.count;
    c.w = 0;
    c.d = -1;
    c.e = 0;
    c.m = 1;
    p = next;
    bool got = false;
    switch (edit) {
    case EDIT_A:
      if (kaf_status s = parameter(c, p, &c.w, &got)) return s;
      if (got && c.w == 0) return raise(c, E_ZERO);
      break;
    case EDIT_L:
      if (kaf_status s = required(c, p, &c.w, true)) return s;
      break;
    case EDIT_I: case EDIT_B: case EDIT_O: case EDIT_Z:
      if (kaf_status s = required(c, p, &c.w, false)) return s;
      p = skip_blanks(c, p);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (*p == '.') {
        ++p;
        if (kaf_status s = required(c, p, &c.m, false)) return s;
      }
      break;
    case EDIT_F:
      if (kaf_status s = required(c, p, &c.w, false)) return s;
      if (kaf_status s = point_d(c, p)) return s;
      break;
    case EDIT_E: case EDIT_EN: case EDIT_ES:
      if (kaf_status s = required(c, p, &c.w, false)) return s;
      if (kaf_status s = point_d(c, p)) return s;
      if (kaf_status s = exponent_part(c, p, &got)) return s;
      break;
    case EDIT_D:
      if (kaf_status s = required(c, p, &c.w, false)) return s;
      if (kaf_status s = point_d(c, p)) return s;
      break;
    case EDIT_G:
      if (kaf_status s = required(c, p, &c.w, false)) return s;
      p = skip_blanks(c, p);
      if (p > c.fmt_end) return raise(c, E_NO_RPAREN);
      if (*p == '.') {
        ++p;
        if (kaf_status s = required(c, p, &c.d, false)) return s;
      }
      if (c.w == 0) {
        const char *x = skip_blanks(c, p);
        if (x <= c.fmt_end && upper(*x) == 'E') return raise(c, E_G0_EXPONENT);
      }
      if (c.d >= 0)
        if (kaf_status s = exponent_part(c, p, &got)) return s;
      break;
    case EDIT_DT:
      if (kaf_status s = parse_dt(c, p)) return s;
      break;
    }
    c.edit_code = edit;
    c.saw_data = 1;
    c.fmt_spare = repeat - 1;
    c.fmt_pos = p;
    if (edit != EDIT_DT) {  // DT also leaves its string and list behind
      c.edit_cache_at = item;
      c.edit_cache_next = p;
      c.edit_cache_code = edit;
      c.edit_cache_w = c.w;
      c.edit_cache_d = c.d;
      c.edit_cache_e = c.e;
      c.edit_cache_m = c.m;
      c.edit_cache_repeat = repeat;
    }
    // A pending tab target is brought into force by the item (need_data_edit):
    // when no item comes, positioning alone writes nothing.
    return 0;
  }
}

kaf_status definitely_next_edit(kaf_ioctx &c, int direction) {
  if (c.edit_code != EDIT_COLON && c.edit_code != EDIT_END) return 0;
  while (c.fmt_pos < c.fmt_end) {
    if (kaf_status s = maybe_next_edit(c, direction)) return s;
    if (c.edit_code != EDIT_COLON) break;
  }
  // Stopped at a data edit descriptor (which may be the last item of the
  // format, with fmt_pos then at its end): no reversion.
  if (c.edit_code != EDIT_COLON && c.edit_code != EDIT_END) return 0;
  // Reversion: the format is exhausted and another item wants a descriptor.
  const char *old = c.fmt_pos;
  c.fmt_pos = c.revert_pos;
  c.depth = c.revert_depth;
  c.fmt_spare = 0;
  if (c.depth == 1) {
    c.group_start[0] = c.revert_pos;
    c.group_repeat[1] = c.revert_repeat;
  }
  c.tab_pending = 0;
  if (c.max_pos > c.pos) c.pos = c.max_pos;
  if (kaf_status s = c.next_record(&c, c.edit_code, old, c.fmt_end)) return s;
  if (c.max_pos > 0) c.max_pos = c.pos;
  c.record_start = c.pos;
  c.edit_code = EDIT_COLON;
  while (c.fmt_pos < c.fmt_end && c.edit_code == EDIT_COLON)
    if (kaf_status s = maybe_next_edit(c, direction)) return s;
  if (c.edit_code == EDIT_END || c.edit_code == EDIT_COLON)
    return raise(c, E_NO_DATA_AFTER_REVERSION);
  return 0;
}

kaf_status establish_format(kaf_ioctx &c, const char *text, std::int64_t length, int direction) {
  c.fmt_kind = 1;
  if (length == -1) length = static_cast<std::int64_t>(std::strlen(text));
  c.fmt_text = text;
  const auto *parent = static_cast<const kaf_ioctx *>(c.parent);
  const auto *unit = static_cast<const kaf_unit_head *>(c.unit);
  if (parent) {
    c.blank_mode = parent->blank_mode;
    c.decimal_char = parent->decimal_char;
    c.round_mode = parent->round_mode;
    c.sign_mode = parent->sign_mode;
    c.pad = parent->pad;
  } else if (c.internal || !unit) {
    c.pad = 1;
    c.blank_mode = 0;
    c.decimal_char = '.';
    c.round_mode = ROUND_PROCESSOR;
    c.sign_mode = SIGN_DEFAULT;
  } else {
    c.blank_mode = unit->blank_mode;
    c.decimal_char = unit->decimal_char;
    c.round_mode = unit->round_mode;
    c.sign_mode = unit->sign_mode;
    c.pad = unit->pad_yes && ((c.stmt_bits & STMT_NONADVANCING) || c.no_eor) ? 1 : 0;
  }
  c.mode_flags |= MODE_FORMAT;
  c.scale = 0;
  c.field_status = 0;
  c.record_start = c.pos;
  if (direction == DIR_INPUT) {
    c.max_pos = -1;
  } else {
    const std::int64_t kept = unit && !c.internal ? unit->kept_len : 0;
    c.max_pos = c.pos > kept ? c.pos : kept;
  }
  c.tab_pending = 0;
  c.tab_target = 0;
  c.fmt_spare = 0;
  c.fmt_dir = static_cast<std::uint8_t>(direction);
  c.depth = 0;
  c.have_count = 0;
  c.count = 0;
  c.saw_data = 0;
  c.revert_depth = 0;
  c.revert_repeat = 1;
  c.edit_code = EDIT_END;
  c.w = c.d = c.e = 0;
  c.m = 1;
  c.dt_string = nullptr;
  c.dt_vlist = nullptr;
  c.dt_vlist_count = -1;
  c.edit_cache_at = nullptr;
  if (length <= 0) {
    c.fmt_end = text;
    c.fmt_pos = text;
    return raise(c, E_UNEXPECTED_END);
  }
  // Trailing blanks of a CHARACTER format variable are not part of it.
  c.fmt_end = text + length - 1;
  while (c.fmt_end > text && is_blank(*c.fmt_end)) --c.fmt_end;
  const char *p = text;
  while (p <= c.fmt_end && is_blank(*p)) ++p;
  if (p > c.fmt_end) return raise(c, E_UNEXPECTED_END);
  if (*p != '(') return raise_char(c, E_BEGIN, *p);
  c.fmt_pos = p + 1;
  c.revert_pos = p + 1;
  if (c.fmt_pos > c.fmt_end) return raise(c, E_NO_RPAREN);
  return maybe_next_edit(c, direction);
}

bool next_edit_is_DT(const kaf_ioctx &c) { return c.edit_code == EDIT_DT; }

std::int32_t dt_vlist_values(const kaf_ioctx &c, std::int32_t *values, std::int32_t max) {
  if (!c.dt_vlist || c.dt_vlist_count < 0) return 0;
  const char *p = c.dt_vlist;
  std::int32_t n = 0;
  while (n < c.dt_vlist_count) {
    while (is_blank(*p) || *p == ',') ++p;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    std::int64_t v = 0;
    while (is_blank(*p)) ++p;
    while (is_digit(*p) || is_blank(*p)) {
      if (is_digit(*p)) v = v * 10 + (*p - '0');
      ++p;
    }
    if (n < max) values[n] = static_cast<std::int32_t>(negative ? -v : v);
    ++n;
  }
  return n;
}

extern "C" {

std::uint64_t __KAFf90_establish_format(kaf_ioctx *ctx, const char *text, std::int64_t length,
                                        std::int32_t direction) {
  return establish_format(*ctx, text, length, direction);
}

std::uint64_t __KAFf90_maybe_next_edit(kaf_ioctx *ctx, std::int32_t direction) {
  return maybe_next_edit(*ctx, direction);
}

std::uint64_t __KAFf90_definitely_next_edit(kaf_ioctx *ctx, std::int32_t direction) {
  return definitely_next_edit(*ctx, direction);
}

std::int32_t __KAFf90_next_edit_is_DT(const kaf_ioctx *ctx) { return next_edit_is_DT(*ctx); }

void __KAFf90_clear_field_status(kaf_ioctx *ctx) { clear_field_status(*ctx); }

std::int32_t __KAFf90_get_field_status(const kaf_ioctx *ctx) { return get_field_status(*ctx); }

}  // extern "C"
