// The error reporter: expands a catalogue text with its insertion values
// and writes it to a stream or into a caller's buffer; fatal reports end
// the process. Nothing here allocates: it runs from the SIGFPE handler and
// after the heap may have been damaged.
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "kafrts.h"
#include "runtime/messages.h"
#include "runtime/msgformat.h"
#include "runtime/reporter.h"

extern "C" {
FILE *__KAFf90_runtime_error_file = nullptr;
}

namespace {

constexpr char E_runtime_error_prefix[] = "Runtime Error: ";
// Shift-JIS for "runtime error" followed by ": ".
constexpr char J_runtime_error_prefix[] =
    "\x8E\xC0\x8D\x73\x8E\x9E\x83\x47\x83\x89\x81\x5B\x3A\x20";
static_assert(sizeof J_runtime_error_prefix == 15);

constinit const char *const *rtmsg = E_rtmsg;
constinit const char *runtime_error_prefix = E_runtime_error_prefix;

constinit std::atomic<int32_t> threadlock{0};
constinit std::atomic<int32_t> crashed{0};

FILE *error_stream() {
  return __KAFf90_runtime_error_file ? __KAFf90_runtime_error_file : stderr;
}

// The lock is taken once and never given back: it only orders a crashing
// thread's message ahead of the others, which wait 10 ms and go on.
void take_lock() {
  int32_t expected = 0;
  if (!threadlock.compare_exchange_strong(expected, 1)) {
    timespec delay{0, 10000000};
    nanosleep(&delay, nullptr);
  }
}

void write_prefix(kaf_sink &out) { out.puts(runtime_error_prefix); }

void write_location(kaf_sink &out, const char *file, int32_t line) {
  if (!file) return;
  out.puts(file);
  if (line != 0) {
    out.puts(", line ");
    kaf_put_decimal(out, line);
    out.puts(": ");
  } else {
    out.put(':');
  }
}

// The fatal ending, once: text 1, the traceback, no exit procedures, the
// units closed, abort. A second fatal error on the way aborts at once.
[[noreturn]] void end_process() {
  int32_t expected = 0;
  if (!crashed.compare_exchange_strong(expected, 1)) abort();
  kaf_sink out = kaf_sink::to_stream(error_stream());
  kaf_format_number(out, rtmsg, 1);
  out.flush();
  if (__KAFf90_lineno != 0) __KAFf90_dump_gline_stack(error_stream());
  __KAFf90_clear_atexit_procs();
  __KAFf90_io_finish();
  abort();
}

void report_located(const char *file, int32_t line, int32_t number, va_list *args) {
  take_lock();
  kaf_sink out = kaf_sink::to_stream(error_stream());
  write_prefix(out);
  write_location(out, file, line);
  kaf_format_text(out, rtmsg, rtmsg[number], args);
  out.put('\n');
}

}  // namespace

void kaf_report_to_stream(FILE *stream, int32_t number, va_list *args) {
  kaf_sink out = kaf_sink::to_stream(stream);
  kaf_format_text(out, rtmsg, rtmsg[number], args);
}

size_t kaf_report_to_memory(char *buf, size_t size, int32_t number, va_list *args) {
  kaf_sink out = kaf_sink::to_memory(buf, size);
  kaf_format_text(out, rtmsg, rtmsg[number], args);
  return out.len;
}

extern "C" {

size_t __KAFf90_putlls(char *buf, int64_t value) {
  char digits[20];
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude);
  size_t length = 0;
  if (value < 0) buf[length++] = '-';
  while (n) buf[length++] = digits[--n];
  buf[length] = '\0';
  return length;
}

void __KAFf90_rt_set_language(int32_t language) {
  if (language == 1) {
    rtmsg = J_rtmsg;
    runtime_error_prefix = J_runtime_error_prefix;
  } else {
    rtmsg = E_rtmsg;
    runtime_error_prefix = E_runtime_error_prefix;
  }
}

void __KAFf90_rterr(const char *file, int32_t line, int32_t number, ...) {
  va_list args;
  va_start(args, number);
  report_located(file, line, number, &args);
  va_end(args);
  end_process();
}

void __KAFf90_rtcrash(int32_t number, ...) {
  va_list args;
  va_start(args, number);
  report_located(nullptr, 0, number, &args);
  va_end(args);
  end_process();
}

void __KAFf90_rtcrash2(int32_t number, ...) {
  va_list args;
  va_start(args, number);
  kaf_sink out = kaf_sink::to_stream(error_stream());
  kaf_format_text(out, rtmsg, rtmsg[number], &args);
  out.put('\n');
  out.flush();
  va_end(args);
  end_process();
}

void __KAFf90_crash(const char *format, ...) {
  char text[10000];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  __KAFf90_rtcrash(0, text);
}

void __KAFf90_rterr1(const char *file, int32_t line, int32_t number, ...) {
  va_list args;
  va_start(args, number);
  report_located(file, line, number, &args);
  va_end(args);
}

void __KAFf90_rterr1v(const char *file, int32_t line, int32_t number, va_list args) {
  va_list copy;
  va_copy(copy, args);
  report_located(file, line, number, &copy);
  va_end(copy);
}

void __KAFf90_rtmsg_start(void) {
  take_lock();
  kaf_sink out = kaf_sink::to_stream(error_stream());
  write_prefix(out);
}

void __KAFf90_rtmsg(int32_t number, ...) {
  va_list args;
  va_start(args, number);
  kaf_sink out = kaf_sink::to_stream(error_stream());
  kaf_format_text(out, rtmsg, rtmsg[number], &args);
  out.put('\n');
  va_end(args);
}

void __KAFf90_rtmsg_nocrlf(int32_t number, ...) {
  va_list args;
  va_start(args, number);
  kaf_report_to_stream(error_stream(), number, &args);
  va_end(args);
}

void __KAFf90_rtmsg_file_nocrlf(FILE *stream, int32_t number, ...) {
  va_list args;
  va_start(args, number);
  kaf_report_to_stream(stream, number, &args);
  va_end(args);
}

// The text fills the buffer from the start; the rest is blank-filled, as
// an ERRMSG= or IOMSG= variable is. Returns the length of the text.
size_t __KAFf90_rtstringv(char *buf, size_t size, int32_t number, va_list args) {
  va_list copy;
  va_copy(copy, args);
  size_t length = kaf_report_to_memory(buf, size, number, &copy);
  va_end(copy);
  if (length < size) std::memset(buf + length, ' ', size - length);
  return length;
}

size_t __KAFf90_rtstring(char *buf, size_t size, int32_t number, ...) {
  va_list args;
  va_start(args, number);
  size_t length = __KAFf90_rtstringv(buf, size, number, args);
  va_end(args);
  return length;
}

}  // extern "C"
