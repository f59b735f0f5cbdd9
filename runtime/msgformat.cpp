// Expansion of catalogue texts into a stream or a buffer.
#include "runtime/msgformat.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "kafrts.h"
#include "runtime/reporter.h"

namespace {

// Names of the runtime's type codes, for $D.
constexpr const char *cdtype_name[] = {
    "ERROR",           "INTEGER(int8)",      "INTEGER(int16)",    "INTEGER(int32)",
    "REAL(real32)",    "REAL(real64)",       "LOGICAL(byte)",     "LOGICAL(word)",
    "COMPLEX(real32)", "COMPLEX(real64)",    "CHARACTER",         "derived-type",
    "LOGICAL(twobyte)", "LOGICAL(logical64)", "INTEGER(int64)",   "REAL(real128)",
    "COMPLEX(real128)", "REAL(real16)",      "COMPLEX(real16)",   "a label",
    "",                "CHARACTER(Kind=jis)", "CHARACTER(Kind=ucs2)", "CHARACTER(Kind=ucs4)",
};
constexpr int cdtype_count = sizeof cdtype_name / sizeof cdtype_name[0];

constexpr int max_slots = 10;


union slot_value {
  const char *s;
  struct {
    const char *p;
    int64_t n;
  } z;
  int32_t i;
  int64_t v;
  uint64_t h;
  int c;
  const void *u;
  double f;
  kaf_dd g;
};

bool is_letter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace

void kaf_put_decimal(kaf_sink &out, int64_t value) {
  char digits[24];
  out.write(digits, __KAFf90_putlls(digits, value));
}

namespace {

void put_hex(kaf_sink &out, uint64_t value) {
  char digits[16];
  int n = 0;
  do {
    digits[n++] = "0123456789ABCDEF"[value & 15];
    value >>= 4;
  } while (value);
  while (n) out.put(digits[--n]);
}

void put_bad_code(kaf_sink &out, unsigned char letter) {
  char text[40];
  int n = std::snprintf(text, sizeof text, "BAD INSERTION CODE(%d)", letter);
  out.write(text, static_cast<size_t>(n));
}

// A string between delimiters, as Fortran would write a character constant:
// the quotation mark only when it avoids doubling apostrophes.
void put_quoted(kaf_sink &out, const char *s) {
  if (!s) s = "";
  bool has_apostrophe = std::strchr(s, '\'') != nullptr;
  bool has_quote = std::strchr(s, '"') != nullptr;
  char delim = (has_apostrophe && !has_quote) ? '"' : '\'';
  out.put(delim);
  for (int count = 0; s[count] && count < 251; ++count) {
    unsigned char c = static_cast<unsigned char>(s[count]);
    if (c == static_cast<unsigned char>(delim)) {
      out.put(delim);
      out.put(delim);
    } else if (c < 32) {
      out.put('^');
      out.put(static_cast<char>(c + 64));
    } else {
      out.put(static_cast<char>(c));
    }
  }
  out.put(delim);
}


// The unit description of $U, itself made of catalogue texts so that it
// follows the active language.
void put_unit(kaf_sink &out, const char *const *catalogue, const void *unit) {
  kaf_unit_facts facts{};
  if (unit) __KAFf90_unit_facts(unit, &facts);
  if (facts.scratch) {
    kaf_format_number(out, catalogue, 353);
  } else if (facts.standard == 1) {
    kaf_format_number(out, catalogue, 354);
  } else if (facts.standard == 2) {
    kaf_format_number(out, catalogue, 355);
  } else if (facts.standard == 3) {
    kaf_format_number(out, catalogue, 356);
  } else if (facts.file_name) {
    kaf_format_number(out, catalogue, 357, facts.file_name);
  }
  if (facts.asynchronous) kaf_format_number(out, catalogue, 358);
  kaf_format_number(out, catalogue, facts.formatted ? 359 : 360);
  kaf_format_number(out, catalogue, facts.access == 2 ? 361 : facts.access == 0 ? 362 : 363);
}

void put_corrupt(kaf_sink &out, const char *what, const char *text) {
  out.puts("CORRUPT ERROR ");
  out.puts(what);
  out.puts("MESSAGE(");
  out.puts(text);
  out.put(')');
}

}  // namespace

// Writes one message: the text of number with its insertions expanded.
void kaf_format_text(kaf_sink &out, const char *const *catalogue, const char *text,
                     va_list *args) {
  char letters[max_slots] = {};
  int slots = 0;  // one past the highest slot used
  bool sequential = false, positional = false;

  for (const unsigned char *p = reinterpret_cast<const unsigned char *>(text); *p; ++p) {
    if (*p & 0x80) {  // two-byte Shift-JIS character: never a '$'
      if (!*++p) break;
      continue;
    }
    if (*p != '$') continue;
    if (is_letter(p[1])) {
      if (positional) return put_corrupt(out, "missing number ", text);
      sequential = true;
      if (slots == max_slots) return put_corrupt(out, "", text);
      letters[slots++] = static_cast<char>(p[1]);
      ++p;
    } else if (p[1] >= '1' && p[1] <= '9' && is_letter(p[2])) {
      if (sequential) return put_corrupt(out, "unexpected number ", text);
      positional = true;
      int slot = p[1] - '1';
      if (letters[slot]) return put_corrupt(out, "", text);
      letters[slot] = static_cast<char>(p[2]);
      if (slot + 1 > slots) slots = slot + 1;
      p += 2;
    } else if (p[1] && !(p[1] & 0x80)) {
      ++p;  // "$" and a character that is no code: both stand as they are
    }
  }

  slot_value values[max_slots] = {};
  for (int k = 0; k < slots; ++k) {
    switch (letters[k]) {
      case 'C': case 'Y': values[k].s = va_arg(*args, const char *); break;
      case 'Z':
        values[k].z.p = va_arg(*args, const char *);
        values[k].z.n = va_arg(*args, int64_t);
        break;
      case 'I': case 'D': values[k].i = va_arg(*args, int32_t); break;
      case 'L': values[k].c = va_arg(*args, int); break;
      case 'E': values[k].s = std::strerror(va_arg(*args, int)); break;
      case 'V': values[k].v = va_arg(*args, int64_t); break;
      case 'H': values[k].h = va_arg(*args, uint64_t); break;
      case 'U': values[k].u = va_arg(*args, const void *); break;
      case 'F': values[k].f = va_arg(*args, double); break;
      case 'G': case 'Q': values[k].g = va_arg(*args, kaf_dd); break;
      case 0: values[k].v = va_arg(*args, int64_t); break;  // a slot no code names
      default: break;                                        // unknown codes take nothing
    }
  }

  int next_slot = 0;
  size_t length = std::strlen(text);
  for (size_t i = 0; i < length; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c & 0x80) {
      out.put(static_cast<char>(c));
      if (i + 1 < length) out.put(text[++i]);
      continue;
    }
    if (c == '&' && i + 1 == length) break;
    int slot = -1;
    unsigned char letter = 0;
    if (c == '$' && is_letter(static_cast<unsigned char>(text[i + 1]))) {
      slot = next_slot++;
      letter = static_cast<unsigned char>(text[i + 1]);
      i += 1;
    } else if (c == '$' && text[i + 1] >= '1' && text[i + 1] <= '9' &&
               is_letter(static_cast<unsigned char>(text[i + 2]))) {
      slot = text[i + 1] - '1';
      letter = static_cast<unsigned char>(text[i + 2]);
      i += 2;
    }
    if (slot < 0) {
      out.put(static_cast<char>(c));
      if (c == '$' && i + 1 < length && !(text[i + 1] & 0x80)) out.put(text[++i]);
      continue;
    }
    const slot_value &v = values[slot];
    switch (letter) {
      case 'C':
        if (v.s) out.puts(v.s);
        break;
      case 'Z':
        if (v.z.p && v.z.n > 0) out.write(v.z.p, static_cast<size_t>(v.z.n));
        break;
      case 'Y': put_quoted(out, v.s); break;
      case 'I': kaf_put_decimal(out, v.i); break;
      case 'V': kaf_put_decimal(out, v.v); break;
      case 'H': put_hex(out, v.h); break;
      case 'L': out.put(static_cast<char>(v.c)); break;
      case 'D':
        if (v.i >= 0 && v.i < cdtype_count) out.puts(cdtype_name[v.i]);
        break;
      case 'E': out.puts(v.s ? v.s : ""); break;
      case 'U': put_unit(out, catalogue, v.u); break;
      case 'F':
      case 'G':
      case 'Q':
        // Into memory F and G are edited; Q (only double-double values
        // reach it) is edited on both targets.
        if (out.in_memory() || letter == 'Q') {
          char edited[80];
          size_t n = kaf_format_real_insertion(static_cast<char>(letter), v.f, v.g, edited,
                                               sizeof edited);
          if (n) {
            out.write(edited, n);
            break;
          }
        }
        put_bad_code(out, letter);
        break;
      default: put_bad_code(out, letter); break;
    }
  }
}

void kaf_format_number(kaf_sink &out, const char *const *catalogue, int32_t number, ...) {
  va_list args;
  va_start(args, number);
  kaf_format_text(out, catalogue, catalogue[number], &args);
  va_end(args);
}
