// The command line: the argument count, GET_COMMAND and
// GET_COMMAND_ARGUMENT. Results are blank-padded Fortran buffers.
#include <cstring>

#include "kafrts.h"
#include "runtime/fstring.h"

extern "C" {
int32_t __KAFf90_argc = 0;
char **__KAFf90_argv = nullptr;

int32_t __KAFf90_iargc(void) { return __KAFf90_argc - 1; }

void __KAFf90_getcmd(char *command, int32_t *length, int32_t *status, kaf_charlen command_len) {
  size_t total = 0;
  size_t filled = 0;
  for (int32_t k = 0; k < __KAFf90_argc; ++k) {
    const char *arg = __KAFf90_argv[k] ? __KAFf90_argv[k] : "";
    size_t n = std::strlen(arg);
    if (k > 0) {
      if (command && filled < command_len) command[filled++] = ' ';
      ++total;
    }
    if (command && filled < command_len) {
      size_t take = n < command_len - filled ? n : command_len - filled;
      std::memcpy(command + filled, arg, take);
      filled += take;
    }
    total += n;
  }
  if (command) std::memset(command + filled, ' ', command_len - filled);
  if (length) *length = static_cast<int32_t>(total);
  if (status) *status = (command && command_len < total) ? -1 : 0;
}

void __KAFf90_getarg(int32_t number, char *value, int32_t *length, int32_t *status,
                     kaf_charlen value_len) {
  if (number < 0 || number >= __KAFf90_argc) {
    if (value) std::memset(value, ' ', value_len);
    if (length) *length = 0;
    if (status) *status = 1;
    return;
  }
  const char *arg = __KAFf90_argv[number] ? __KAFf90_argv[number] : "";
  size_t n = std::strlen(arg);
  if (value) kaf_store_fstring(value, value_len, arg, n);
  if (length) *length = static_cast<int32_t>(n);
  if (status) *status = (value && value_len < n) ? -1 : 0;
}
}
