// Fortran CHARACTER buffers: fixed length, blank-padded, no terminator.
#pragma once

#include <cstddef>
#include <cstring>

// Stores text[0..n) into dest[0..len), truncating or padding with blanks.
inline void kaf_store_fstring(char *dest, size_t len, const char *text, size_t n) {
  size_t take = n < len ? n : len;
  std::memcpy(dest, text, take);
  std::memset(dest + take, ' ', len - take);
}

// Length of a Fortran string without its trailing blanks.
inline size_t kaf_trimmed_length(const char *text, size_t len) {
  while (len > 0 && text[len - 1] == ' ') --len;
  return len;
}
