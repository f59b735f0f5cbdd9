// STOP and ERROR STOP, in every form compiled code uses.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kafrts.h"

namespace {

// The line is written in pieces of 998 characters, so a stop code of any
// length comes out whole with one write per piece.
constexpr size_t piece = 998;

struct stop_line {
  char buf[1000];
  size_t used = 0;

  void add(const char *text, size_t n) {
    while (n) {
      size_t take = piece - used < n ? piece - used : n;
      std::memcpy(buf + used, text, take);
      used += take;
      text += take;
      n -= take;
      if (used == piece) flush();
    }
  }
  void flush() {
    std::fwrite(buf, 1, used, stderr);
    used = 0;
  }
};

}  // namespace

extern "C" {

void __KAFf90_stop2015(const char *, int32_t, int32_t kind, const char *code, int64_t code_len,
                       int64_t int_code, int32_t status, int32_t quiet) {
  if (quiet) {
    __KAFf90_quiet_stop = 1;
    __KAFf90_finish(status);
  }
  bool error_stop = kind == 2;
  if (!error_stop && !code && code_len == 0) __KAFf90_finish(status);
  stop_line line;
  line.add(error_stop ? "ERROR STOP" : "STOP", error_stop ? 10 : 4);
  if (code) {
    line.add(": ", 2);
    line.add(code, code_len > 0 ? static_cast<size_t>(code_len) : 0);
  } else if (code_len != 0) {
    char text[32];
    int n = std::snprintf(text, sizeof text, ": %lld", static_cast<long long>(int_code));
    line.add(text, static_cast<size_t>(n));
  }
  // A code that ended exactly on a piece boundary has been written already,
  // and then no line feed follows.
  if (line.used) {
    line.buf[line.used++] = '\n';
    line.flush();
  }
  if (error_stop && __KAFf90_number_of_images >= 2) {
    __KAFf90_io_finish();
    std::exit(status);
  }
  __KAFf90_finish(status);
}

void __KAFf90_stop_exit_status(const char *file, int32_t line, const char *code, int32_t status) {
  __KAFf90_stop2015(file, line, 0, code, code ? static_cast<int64_t>(std::strlen(code)) : 0, 0,
                    status, 0);
}

void __KAFf90_error_stop(const char *file, int32_t line, const char *code, int32_t status) {
  __KAFf90_stop2015(file, line, 2, code, code ? static_cast<int64_t>(std::strlen(code)) : 0, 0,
                    status, 0);
}

void __KAFf90_stop_line(const char *file, int32_t line, const char *code) {
  __KAFf90_stop_exit_status(file, line, code, 0);
}

void __KAFf90_stop(const char *code) { __KAFf90_stop_exit_status(nullptr, 0, code, 0); }

}  // extern "C"
