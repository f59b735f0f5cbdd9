// Comparison of a blank-padded Fortran character value with an upper-case
// keyword, as OPEN-style specifiers and the option procedures take them.
#pragma once

#include <cctype>
#include <cstddef>
#include <cstring>

// True when value (len characters) is keyword, lower-case letters folded
// (by the C locale's table) and trailing blanks ignored; a value shorter
// than the keyword never matches.
inline bool str_eq_keyw(const char *value, std::size_t len, const char *keyword) {
  const std::size_t k = std::strlen(keyword);
  if (k > len) return false;
  for (std::size_t i = 0; i < k; ++i) {
    const unsigned char ch = static_cast<unsigned char>(value[i]);
    if (ch == static_cast<unsigned char>(keyword[i])) continue;
    if (std::islower(ch) && std::toupper(ch) == static_cast<unsigned char>(keyword[i])) continue;
    return false;
  }
  for (std::size_t i = k; i < len; ++i)
    if (value[i] != ' ') return false;
  return true;
}
