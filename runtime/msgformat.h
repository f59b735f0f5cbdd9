// Expansion of catalogue texts: insertion codes, positional slots,
// Shift-JIS pairs, the final "&". Used by the reporter for every target.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "kafrts/common.h"

// Where expanded text goes: a C stream, or a buffer that is never overrun.
// Stream output is gathered and written in as few calls as possible, so a
// message normally reaches the stream in one piece.
struct kaf_sink {
  FILE *stream;  // null: the buffer
  char *buf;
  size_t cap;
  size_t len;
  char pending[512];
  size_t npending;

  static kaf_sink to_stream(FILE *s) { return kaf_sink{s ? s : stderr, nullptr, 0, 0, {}, 0}; }
  static kaf_sink to_memory(char *b, size_t size) { return kaf_sink{nullptr, b, size, 0, {}, 0}; }
  ~kaf_sink() { flush(); }

  bool in_memory() const { return stream == nullptr; }
  void flush() {
    if (stream && npending) fwrite(pending, 1, npending, stream);
    npending = 0;
  }
  void put(char c) {
    if (stream) {
      if (npending == sizeof pending) flush();
      pending[npending++] = c;
    } else if (len < cap) {
      buf[len++] = c;
    }
  }
  void write(const char *s, size_t n) {
    if (stream) {
      while (n) {
        if (npending == sizeof pending) flush();
        size_t take = sizeof pending - npending < n ? sizeof pending - npending : n;
        std::memcpy(pending + npending, s, take);
        npending += take;
        s += take;
        n -= take;
      }
      return;
    }
    size_t room = cap - len;
    if (n > room) n = room;
    if (n) std::memcpy(buf + len, s, n);
    len += n;
  }
  void puts(const char *s) { write(s, std::strlen(s)); }
};

// Writes text with its insertions, taking the values from *args in slot
// order. Nested texts (the pieces of a $U unit description) come from
// catalogue. A malformed text is reported by a CORRUPT ERROR line instead.
void kaf_format_text(kaf_sink &out, const char *const *catalogue, const char *text,
                     va_list *args);
// The same for a catalogue number, with the values as further arguments.
void kaf_format_number(kaf_sink &out, const char *const *catalogue, int32_t number, ...);
// Decimal digits of value ('-' for negatives).
void kaf_put_decimal(kaf_sink &out, int64_t value);
