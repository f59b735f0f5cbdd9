// GET_ENVIRONMENT_VARIABLE.
#include <cstdlib>
#include <cstring>

#include "kafrts.h"
#include "runtime/fstring.h"

namespace {
void not_found(char *value, int32_t *length, int32_t *status, kaf_charlen value_len, int32_t code) {
  if (value) std::memset(value, ' ', value_len);
  if (length) *length = 0;
  if (status) *status = code;
}
}  // namespace

extern "C" void __KAFf90_getenv(const char *name, char *value, int32_t *length, int32_t *status,
                                const int32_t *trim_name, kaf_charlen name_len,
                                kaf_charlen value_len) {
  size_t n = name_len;
  if (!trim_name || *trim_name) n = kaf_trimmed_length(name, name_len);
  if (kaf_trimmed_length(name, n) == 0) return not_found(value, length, status, value_len, 3);
  // getenv needs a terminated name; the copy lives only for the lookup.
  char *copy = static_cast<char *>(__KAFf90_oAlloc(n + 1));
  if (!copy) __KAFf90_rtcrash(162, "GET_ENVIRONMENT_VARIABLE");
  std::memcpy(copy, name, n);
  copy[n] = '\0';
  const char *found = std::getenv(copy);
  __KAFf90_oDeAlloc(copy, n + 1);
  if (!found) return not_found(value, length, status, value_len, 1);
  size_t found_len = std::strlen(found);
  if (value) kaf_store_fstring(value, value_len, found, found_len);
  if (length) *length = static_cast<int32_t>(found_len);
  if (status) *status = (value && value_len < found_len) ? -1 : 0;
}
