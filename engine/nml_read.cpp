// Namelist input: finding the group ("&name" or "$name", other groups
// skipped under the autoskip option), object designators with subscripts,
// sections, substrings and component selectors, and their values read by the
// list-directed readers (repeat factors, null values, values across records),
// up to "/", "&END", "$END" or "$". A "!" where a name or a value may start
// comments out the rest of the record.
//
// The scanner is list-directed input's: c.ch is the current character, and
// the end of a record reads as one blank.
#include <cstring>
#include <limits>

#include "engine/nml.h"

namespace {

using nml::dims;

// I/O codes (catalogue text = code - 596).
constexpr std::int32_t E_EXPECTED_AMPERSAND = 1084, E_NAME_TOO_LONG = 1085, E_WRONG_GROUP = 1086,
                       E_INVALID_CHARACTER = 1087, E_GROUP_NAME_TOO_LONG = 1088, E_EXPECTED_EQUALS = 1089,
                       E_UNKNOWN_OBJECT = 1090, E_UNEXPECTED_SUBSCRIPT = 1091, E_UNEXPECTED_COMPONENT = 1092,
                       E_COMPONENT_TOO_LONG = 1093, E_UNKNOWN_COMPONENT = 1094, E_TWO_ARRAY_PARTS = 1095,
                       E_INVALID_INTEGER = 1096, E_EXPECTED_COLON = 1097, E_ZERO_SUBSTRING = 1098,
                       E_SUBSTRING_BOUNDS = 1099, E_EXPECTED_COMMA = 1100, E_EXPECTED_PARENTHESIS = 1101,
                       E_SUBSCRIPT_RANGE = 1102, E_ZERO_SECTION = 1103, E_ZERO_STRIDE = 1104,
                       E_MISSING_GROUP_NAME = 1105;

// Room for a name as long as the input makes it (longer ones are cut for
// the message).
constexpr int kNameBuffer = 256;

inline bool is_blank(std::uint32_t ch) { return ch == ' ' || ch == '\t'; }
inline bool is_digit(std::uint32_t ch) { return ch >= '0' && ch <= '9'; }
inline bool is_letter(std::uint32_t ch) { return (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z'); }
inline bool is_name_char(std::uint32_t ch) { return is_letter(ch) || is_digit(ch) || ch == '_'; }

struct name_buf {
  char text[kNameBuffer];
  int len;  // characters in the input (text keeps the first kNameBuffer - 1)
};

struct reader {
  kaf_ioctx &c;
  const kaf_nml_group &group;
  const kaf_nml_object *object = nullptr;
  bool separator_seen = false;  // a value separator since the last value
  bool values_ended = false;    // the current object's values stopped early
};

kaf_status getch(kaf_ioctx &c) { return __KAFf90_linput_getch(&c); }

// Every error of this file: what the scan still holds is freed first (the
// statement ends here; a legacy READ makes no end call after an error).
template <typename... Args>
kaf_status fail(kaf_ioctx &c, std::int32_t code, Args... args) {
  __KAFf90_lio_end_input(&c);
  return __KAFf90_ioerr(&c, code, args...);
}

inline int current(const kaf_ioctx &c) { return static_cast<int>(c.ch); }

kaf_status skip_blanks(kaf_ioctx &c) {
  while (is_blank(c.ch))
    if (kaf_status s = getch(c)) return s;
  return 0;
}

// The rest of the record after "!".
kaf_status skip_comment(kaf_ioctx &c) {
  while (!c.at_eor)
    if (kaf_status s = getch(c)) return s;
  return 0;
}

// Blanks, record ends and comments.
kaf_status skip_space(kaf_ioctx &c) {
  for (;;) {
    if (kaf_status s = skip_blanks(c)) return s;
    if (c.ch != '!' || c.at_eor) return 0;
    if (kaf_status s = skip_comment(c)) return s;
  }
}

// A name from the current character on (letters, digits, underscores).
kaf_status read_name(kaf_ioctx &c, name_buf *n) {
  n->len = 0;
  while (!c.at_eor && is_name_char(c.ch)) {
    if (n->len < kNameBuffer - 1) n->text[n->len] = static_cast<char>(c.ch);
    ++n->len;
    if (kaf_status s = getch(c)) return s;
  }
  n->text[n->len < kNameBuffer - 1 ? n->len : kNameBuffer - 1] = 0;
  return 0;
}

bool is_end_name(const name_buf &n) { return nml::same_name(n.text, n.len, "END"); }

// The character at position i of the current record.
std::uint32_t record_char(const kaf_ioctx &c, std::int64_t i) {
  switch (unit_width(c.encoding)) {
  case 1: return static_cast<const std::uint8_t *>(c.buffer)[i];
  case 2: return static_cast<const std::uint16_t *>(c.buffer)[i];
  default: return static_cast<const std::uint32_t *>(c.buffer)[i];
  }
}

// Whether the letter in c.ch starts an object designator rather than a
// value (a logical, an undelimited string): the name is followed, in the
// same record, by "=", "(" or "%".
bool starts_designator(const kaf_ioctx &c) {
  if (c.at_eor || !is_letter(c.ch)) return false;
  std::int64_t i = c.pos;
  while (i < c.rec_len && is_name_char(record_char(c, i))) ++i;
  while (i < c.rec_len && is_blank(record_char(c, i))) ++i;
  if (i >= c.rec_len) return false;
  const std::uint32_t u = record_char(c, i);
  return u == '=' || u == '(' || u == '%';
}

// ---- Finding the group -------------------------------------------------------

// The characters of a group that is skipped, up to its end: "/" outside
// strings, or "&END", "$END", "$". Returns with the name that starts the
// next group in *next when another "&name" ends it.
kaf_status skip_group(kaf_ioctx &c, name_buf *next, bool *have_next) {
  *have_next = false;
  std::uint32_t delim = 0;
  for (;;) {
    const std::uint32_t ch = c.at_eor ? ' ' : c.ch;
    if (delim) {
      if (ch == delim) delim = 0;  // a doubled delimiter closes and reopens
    } else if (ch == '\'' || ch == '"') {
      delim = ch;
    } else if (ch == '!') {
      if (kaf_status s = skip_comment(c)) return s;
      continue;
    } else if (ch == '/') {
      return getch(c);
    } else if (ch == '&' || ch == '$') {
      if (kaf_status s = getch(c)) return s;
      if (kaf_status s = read_name(c, next)) return s;
      if (next->len == 0 || is_end_name(*next)) return 0;
      *have_next = true;
      return 0;
    }
    if (kaf_status s = getch(c)) return s;
  }
}

// The location of the statement for the autoskip log line: the statement's
// own, or else the call-site tracking's.
void log_skip(const kaf_ioctx &c, const kaf_nml_group &g, const char *found) {
  const char *file = c.src_file ? c.src_file : __KAFf90_filename;
  const std::int32_t line = c.src_file ? c.src_line : __KAFf90_lineno;
  __KAFf90_rtmsg(378, file ? file : "", line, g.name, found);
}

// Reads up to and including the group's name.
kaf_status find_group(reader &r) {
  kaf_ioctx &c = r.c;
  name_buf name;
  bool have_name = false;
  for (;;) {
    if (!have_name) {
      if (kaf_status s = skip_space(c)) return s;
      if (c.ch != '&' && c.ch != '$') return fail(c, E_EXPECTED_AMPERSAND, current(c));
      if (kaf_status s = getch(c)) return s;
      if (kaf_status s = read_name(c, &name)) return s;
    }
    have_name = false;
    if (name.len == 0 || !is_letter(static_cast<unsigned char>(name.text[0])))
      return fail(c, E_MISSING_GROUP_NAME, r.group.name);
    if (name.len > nml::kMaxName) return fail(c, E_GROUP_NAME_TOO_LONG, r.group.name);
    if (nml::same_name(name.text, name.len, r.group.name)) return 0;
    if (__KAFf90_autoskip_namelist == 0) return fail(c, E_WRONG_GROUP, r.group.name, name.text);
    if (__KAFf90_autoskip_namelist == 2) log_skip(c, r.group, name.text);
    if (kaf_status s = skip_group(c, &name, &have_name)) return s;
  }
}

// ---- Designators ------------------------------------------------------------

// An integer literal of a subscript: optional sign and digits.
kaf_status read_integer(reader &r, std::int64_t *value) {
  kaf_ioctx &c = r.c;
  bool negative = false;
  if (!c.at_eor && (c.ch == '+' || c.ch == '-')) {
    negative = c.ch == '-';
    if (kaf_status s = getch(c)) return s;
  }
  if (c.at_eor || !is_digit(c.ch)) return fail(c, E_INVALID_INTEGER, r.object->name, r.group.name);
  // Kept negative, so that the most negative value fits.
  std::int64_t v = 0;
  constexpr std::int64_t lim = std::numeric_limits<std::int64_t>::min();
  while (!c.at_eor && is_digit(c.ch)) {
    const std::int64_t d = c.ch - '0';
    if (v < (lim + d) / 10) return fail(c, E_INVALID_INTEGER, r.object->name, r.group.name);
    v = v * 10 - d;
    if (kaf_status s = getch(c)) return s;
  }
  if (!negative && v == lim) return fail(c, E_INVALID_INTEGER, r.object->name, r.group.name);
  *value = negative ? v : -v;
  return 0;
}

// Whether an integer literal starts here.
bool integer_follows(const kaf_ioctx &c) {
  return !c.at_eor && (is_digit(c.ch) || c.ch == '+' || c.ch == '-');
}

// What a designator selects: the first element's address, the dimensions
// of its one array part (rank 0: one element), and the type of the elements.
struct selection {
  char *base;
  dims d;  // selected extents and byte strides (lower bounds unused)
  std::int32_t type;
  std::int64_t char_len;
  const kaf_nml_dtype *dtype;
};

// "(subscript, ...)" of an array part with pending dimensions p: moves
// s.base to the first element selected; the sections become *out.
kaf_status read_subscripts(reader &r, selection &s, const dims &p, dims *out) {
  kaf_ioctx &c = r.c;
  const char *oname = r.object->name, *gname = r.group.name;
  out->rank = 0;
  if (kaf_status st = getch(c)) return st;  // past "("
  for (int k = 0; k < p.rank; ++k) {
    const std::int64_t lb = p.lower[k], ub = p.lower[k] + p.extent[k] - 1;
    std::int64_t lo = lb, hi = ub, step = 1;
    bool section = false;
    if (kaf_status st = skip_blanks(c)) return st;
    if (integer_follows(c)) {
      if (kaf_status st = read_integer(r, &lo)) return st;
      if (kaf_status st = skip_blanks(c)) return st;
    } else if (c.ch != ':') {
      return fail(c, E_INVALID_INTEGER, oname, gname);
    }
    if (c.ch == ':' && !c.at_eor) {
      section = true;
      if (kaf_status st = getch(c)) return st;
      if (kaf_status st = skip_blanks(c)) return st;
      if (integer_follows(c)) {
        if (kaf_status st = read_integer(r, &hi)) return st;
        if (kaf_status st = skip_blanks(c)) return st;
      }
      if (c.ch == ':' && !c.at_eor) {
        if (kaf_status st = getch(c)) return st;
        if (kaf_status st = skip_blanks(c)) return st;
        if (kaf_status st = read_integer(r, &step)) return st;
        if (kaf_status st = skip_blanks(c)) return st;
      }
    }
    const int want = k + 1 < p.rank ? ',' : ')';
    if (c.ch != static_cast<std::uint32_t>(want) || c.at_eor)
      return fail(c, want == ',' ? E_EXPECTED_COMMA : E_EXPECTED_PARENTHESIS, current(c), oname, gname);
    if (kaf_status st = getch(c)) return st;
    std::int64_t count = 1;
    if (section) {
      if (step == 0) return fail(c, E_ZERO_STRIDE, oname, gname);
      // Elements lo, lo + step, ... not past hi; the subtraction is done
      // in 128 bits since the bounds are the input's.
      const __int128 span = static_cast<__int128>(hi) - lo;
      const __int128 n = step > 0 ? (span < 0 ? -1 : span / step) : (span > 0 ? -1 : span / step);
      if (n < 0) return fail(c, E_ZERO_SECTION, oname, gname);
      count = static_cast<std::int64_t>(n + 1 > p.extent[k] ? p.extent[k] + 1 : n + 1);
      const __int128 last = static_cast<__int128>(lo) + static_cast<__int128>(step) * (count - 1);
      if (lo < lb || lo > ub) return fail(c, E_SUBSCRIPT_RANGE, lo, oname, gname);
      if (last < lb || last > ub) return fail(c, E_SUBSCRIPT_RANGE, static_cast<std::int64_t>(last), oname, gname);
      out->extent[out->rank] = count;
      out->stride[out->rank] = p.stride[k] * step;
      ++out->rank;
    } else if (lo < lb || lo > ub) {
      return fail(c, E_SUBSCRIPT_RANGE, lo, oname, gname);
    }
    s.base += (lo - lb) * p.stride[k];
  }
  return 0;
}

// "(lo:hi)" of a CHARACTER part.
kaf_status read_substring(reader &r, selection &s) {
  kaf_ioctx &c = r.c;
  const char *oname = r.object->name, *gname = r.group.name;
  std::int64_t lo = 1, hi = s.char_len;
  if (kaf_status st = getch(c)) return st;
  if (kaf_status st = skip_blanks(c)) return st;
  if (integer_follows(c)) {
    if (kaf_status st = read_integer(r, &lo)) return st;
    if (kaf_status st = skip_blanks(c)) return st;
  }
  if (c.ch != ':' || c.at_eor) return fail(c, E_EXPECTED_COLON, current(c), oname, gname);
  if (kaf_status st = getch(c)) return st;
  if (kaf_status st = skip_blanks(c)) return st;
  if (integer_follows(c)) {
    if (kaf_status st = read_integer(r, &hi)) return st;
    if (kaf_status st = skip_blanks(c)) return st;
  }
  if (c.ch != ')' || c.at_eor) return fail(c, E_EXPECTED_PARENTHESIS, current(c), oname, gname);
  if (kaf_status st = getch(c)) return st;
  if (hi < lo) return fail(c, E_ZERO_SUBSTRING, oname, gname);
  if (lo < 1 || hi > s.char_len) return fail(c, E_SUBSTRING_BOUNDS, lo, hi, oname, gname);
  s.base += (lo - 1) * nml::char_width(s.type);
  s.char_len = hi - lo + 1;
  return 0;
}

// A part with pending dimensions becomes the selection's array part.
kaf_status take_dims(reader &r, selection &s, const dims &p) {
  if (p.rank == 0) return 0;
  if (s.d.rank > 0) return fail(r.c, E_TWO_ARRAY_PARTS, r.object->name, r.group.name);
  s.d = p;
  return 0;
}

// The designator after the object's name, up to and including "=".
kaf_status read_designator(reader &r, selection &s) {
  kaf_ioctx &c = r.c;
  const kaf_nml_object &o = *r.object;
  const char *oname = o.name, *gname = r.group.name;
  dims pending;  // dimensions not yet subscripted
  s.type = o.type_code;
  s.dtype = o.dtype;
  s.char_len = o.char_len;
  s.base = static_cast<char *>(o.address);
  s.d.rank = 0;
  if (o.rank != 0) s.base = nml::object_dims(o, &pending, &s.char_len);
  nml::element_size(s.type, s.char_len, s.dtype, oname);
  bool substring = false;
  for (;;) {
    if (kaf_status st = skip_blanks(c)) return st;
    if (c.ch == '(') {
      if (pending.rank > 0) {
        dims chosen;
        if (kaf_status st = read_subscripts(r, s, pending, &chosen)) return st;
        pending.rank = 0;
        if (kaf_status st = take_dims(r, s, chosen)) return st;
      } else if (nml::is_character(s.type) && !substring) {
        if (kaf_status st = read_substring(r, s)) return st;
        substring = true;
      } else {
        return fail(c, E_UNEXPECTED_SUBSCRIPT, oname, gname);
      }
      continue;
    }
    if (c.ch == '%') {
      if (s.type != KAF_TYPE_DERIVED) return fail(c, E_UNEXPECTED_COMPONENT, oname, gname);
      if (kaf_status st = take_dims(r, s, pending)) return st;
      pending.rank = 0;
      if (kaf_status st = getch(c)) return st;
      if (kaf_status st = skip_blanks(c)) return st;
      name_buf n;
      if (kaf_status st = read_name(c, &n)) return st;
      if (n.len > nml::kMaxName) return fail(c, E_COMPONENT_TOO_LONG, oname, gname);
      const kaf_nml_component *k = nullptr;
      for (std::int32_t i = 0; i < s.dtype->ncomponents && !k; ++i)
        if (n.len > 0 && nml::same_name(n.text, n.len, s.dtype->components[i].name)) k = &s.dtype->components[i];
      if (!k) return fail(c, E_UNKNOWN_COMPONENT, n.text, oname, gname);
      s.base += k->offset;
      s.type = k->type_code;
      s.char_len = k->char_len;
      s.dtype = k->dtype;
      nml::component_dims(*k, nml::element_size(s.type, s.char_len, s.dtype, k->name), &pending);
      // An array component of an array parent is refused at once unless
      // scalar subscripts follow.
      if (pending.rank > 0 && s.d.rank > 0) {
        if (kaf_status st = skip_blanks(c)) return st;
        if (c.ch != '(' || c.at_eor) return fail(c, E_TWO_ARRAY_PARTS, oname, gname);
      }
      continue;
    }
    if (c.ch == '=') {
      if (kaf_status st = take_dims(r, s, pending)) return st;
      return getch(c);
    }
    return fail(c, E_EXPECTED_EQUALS, current(c));
  }
}

// ---- Values ------------------------------------------------------------------

// One scalar item through the list-directed reader of its type.
kaf_status read_item(kaf_ioctx &c, char *p, std::int32_t type, std::int64_t char_len) {
  const auto len = static_cast<kaf_charlen>(char_len);
  std::int32_t s = 0;
  // Items are read in place: the compiler lays every object out aligned for
  // its type.
  switch (type) {
  case KAF_TYPE_I1: s = __KAFf90_lio_read_i1(&c, reinterpret_cast<std::int8_t *>(p)); break;
  case KAF_TYPE_I2: s = __KAFf90_lio_read_i2(&c, reinterpret_cast<std::int16_t *>(p)); break;
  case KAF_TYPE_I: s = __KAFf90_lio_read_i(&c, reinterpret_cast<std::int32_t *>(p)); break;
  case KAF_TYPE_I4: s = __KAFf90_lio_read_i4(&c, reinterpret_cast<std::int64_t *>(p)); break;
  case KAF_TYPE_L1: s = __KAFf90_lio_read_l1(&c, reinterpret_cast<std::int8_t *>(p)); break;
  case KAF_TYPE_L2: s = __KAFf90_lio_read_l2(&c, reinterpret_cast<std::int16_t *>(p)); break;
  case KAF_TYPE_L: s = __KAFf90_lio_read_l(&c, reinterpret_cast<std::int32_t *>(p)); break;
  case KAF_TYPE_L4: s = __KAFf90_lio_read_l4(&c, reinterpret_cast<std::int64_t *>(p)); break;
  case KAF_TYPE_R: s = __KAFf90_lio_read_r(&c, reinterpret_cast<float *>(p)); break;
  case KAF_TYPE_D: s = __KAFf90_lio_read_d(&c, reinterpret_cast<double *>(p)); break;
  case KAF_TYPE_C: s = __KAFf90_lio_read_c(&c, reinterpret_cast<float *>(p)); break;
  case KAF_TYPE_DC: s = __KAFf90_lio_read_dc(&c, reinterpret_cast<double *>(p)); break;
  case KAF_TYPE_H: s = __KAFf90_lio_read_h(&c, reinterpret_cast<std::uint16_t *>(p)); break;
  case KAF_TYPE_HC: s = __KAFf90_lio_read_hc(&c, reinterpret_cast<std::uint16_t *>(p)); break;
  case KAF_TYPE_DD: s = __KAFf90_lio_read_dd(&c, reinterpret_cast<kaf_dd *>(p)); break;
  case KAF_TYPE_DDC: s = __KAFf90_lio_read_ddc(&c, reinterpret_cast<kaf_ddc *>(p)); break;
  case KAF_TYPE_CH: s = __KAFf90_lio_read_nl_ch(&c, p, len); break;
  case KAF_TYPE_CH2J: s = __KAFf90_lio_read_nl_ch2j(&c, reinterpret_cast<std::uint16_t *>(p), len); break;
  case KAF_TYPE_CH2U: s = __KAFf90_lio_read_nl_ch2u(&c, reinterpret_cast<std::uint16_t *>(p), len); break;
  case KAF_TYPE_CH4: s = __KAFf90_lio_read_nl_ch4(&c, reinterpret_cast<std::uint32_t *>(p), len); break;
  default: break;
  }
  return static_cast<kaf_status>(static_cast<std::int64_t>(s));
}

// Before each item: separators, null values, comments, and the end of the
// object's values (another designator, "/", "&", "$").
kaf_status next_value(reader &r, char *p, std::int32_t type, std::int64_t char_len) {
  kaf_ioctx &c = r.c;
  if (c.repeat_left) return read_item(c, p, type, char_len);  // the rest of r*c
  for (;;) {
    if (kaf_status s = skip_space(c)) return s;
    if (c.ch != c.separator) break;
    if (r.separator_seen) return getch(c);  // two separators: a null value
    r.separator_seen = true;
    if (kaf_status s = getch(c)) return s;
  }
  if (c.ch == '/' || c.ch == '&' || c.ch == '$' || starts_designator(c)) {
    r.values_ended = true;
    return 0;
  }
  r.separator_seen = false;
  return read_item(c, p, type, char_len);
}

// Every element of a part, in array element order, derived types expanded
// into their components; the walk stops where the values end.
template <typename F>
kaf_status for_each_element(reader &r, char *base, const dims &d, F &&f) {
  return nml::walk_elements(
      base, d, [&](char *p, const std::int64_t *) { return f(p); }, [&] { return r.values_ended; });
}

kaf_status read_element(reader &r, char *p, std::int32_t type, std::int64_t char_len, const kaf_nml_dtype *dtype,
                        int depth) {
  if (type != KAF_TYPE_DERIVED) return next_value(r, p, type, char_len);
  if (depth > 64) __KAFf90_crash("namelist derived types nested deeper than %d", 64);
  for (std::int32_t i = 0; i < dtype->ncomponents && !r.values_ended; ++i) {
    const kaf_nml_component &k = dtype->components[i];
    dims d;
    nml::component_dims(k, nml::element_size(k.type_code, k.char_len, k.dtype, k.name), &d);
    if (kaf_status s = for_each_element(r, p + k.offset, d, [&](char *q) {
          return read_element(r, q, k.type_code, k.char_len, k.dtype, depth + 1);
        }))
      return s;
  }
  return 0;
}

kaf_status read_values(reader &r, const selection &s) {
  r.separator_seen = true;  // "=" stands for a separator
  r.values_ended = false;
  if (kaf_status st = for_each_element(r, s.base, s.d, [&](char *p) {
        return read_element(r, p, s.type, s.char_len, s.dtype, 0);
      }))
    return st;
  // A repeat factor larger than the object: the rest is dropped.
  if (r.c.repeat_left) {
    r.c.repeat_left = 0;
    __KAFf90_lio_end_input(&r.c);
  }
  return 0;
}

kaf_status read_group(reader &r) {
  kaf_ioctx &c = r.c;
  if (kaf_status s = find_group(r)) return s;
  for (;;) {
    // Between objects: blanks, comments and stray separators.
    for (;;) {
      if (kaf_status s = skip_space(c)) return s;
      if (c.ch != c.separator) break;
      if (kaf_status s = getch(c)) return s;
    }
    if (c.ch == '/') return 0;
    if (c.ch == '&' || c.ch == '$') {
      const int lead = current(c);
      if (kaf_status s = getch(c)) return s;
      name_buf n;
      if (kaf_status s = read_name(c, &n)) return s;
      if (is_end_name(n) || (lead == '$' && n.len == 0)) return 0;
      if (n.len > nml::kMaxName) return fail(c, E_NAME_TOO_LONG);
      return fail(c, E_INVALID_CHARACTER, lead);
    }
    if (!is_letter(c.ch)) return fail(c, E_INVALID_CHARACTER, current(c));
    name_buf n;
    if (kaf_status s = read_name(c, &n)) return s;
    r.object = nullptr;
    for (std::int32_t i = 0; i < r.group.nobjects && !r.object && n.len <= nml::kMaxName; ++i)
      if (nml::same_name(n.text, n.len, r.group.objects[i].name)) r.object = &r.group.objects[i];
    if (!r.object) return fail(c, E_UNKNOWN_OBJECT, n.text, r.group.name);
    selection s;
    if (kaf_status st = read_designator(r, s)) return st;
    if (kaf_status st = read_values(r, s)) return st;
  }
}

}  // namespace

extern "C" std::int32_t __KAFf90_do_read_namelist2(kaf_ioctx *ctx, const kaf_nml_group *group,
                                                   const char *src_file, std::int32_t src_line) {
  kaf_ioctx &c = *ctx;
  if (src_file) {
    c.src_file = src_file;
    c.src_line = src_line;
  }
  __KAFf90_init_linput(ctx);
  reader r{c, *group};
  if (kaf_status s = getch(c)) return static_cast<std::int32_t>(s);
  return static_cast<std::int32_t>(read_group(r));
}
