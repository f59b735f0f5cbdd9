// Start-up from the environment: the runtime error file, the message
// language, the stop switch, the number of images and the runtime options.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sched.h>

#include "kafrts.h"

extern "C" {
int32_t __KAFf90_number_of_images = -511245;  // not set: read as 1
int32_t __KAFf90_autoskip_namelist = 0;
int32_t __KAFf90_blank_common_size = 1048576;
int32_t __KAFf90_io_overflow_exception = 0;
int32_t __KAFf90_maud_enabled = 0;
int32_t __KAFf90_show_dangling = 0;
int32_t __KAFf90_please_suppress_underflow = 0;
}

namespace {

struct option_entry {
  const char *name;
  int32_t *variable;
  int takes_argument;
  int32_t value;
};

// Table order matters: an abbreviation selects the first entry it prefixes.
constexpr option_entry option[] = {
    {"autoskip_namelist", &__KAFf90_autoskip_namelist, 0, 1},
    {"blank_common_size", &__KAFf90_blank_common_size, 1, 0},
    {"io_overflow_exception", &__KAFf90_io_overflow_exception, 0, 1},
    {"log_autoskip_namelist", &__KAFf90_autoskip_namelist, 0, 2},
    {"mem_allow_undef_dealloc", &__KAFf90_maud_enabled, 0, 1},
    {"show_dangling", &__KAFf90_show_dangling, 0, 1},
    {"suppress_underflow_warning", &__KAFf90_please_suppress_underflow, 0, 1},
    {"underflow_warning", &__KAFf90_please_suppress_underflow, 0, 0},
};

struct language_entry {
  const char *name;
  int32_t code;
};

constexpr language_entry language_table[] = {
    {"EIGO", 0},
    {"ENGLISH", 0},
    {"JAPANESE", 1},
    {"NIHONGO", 1},
    {"\x93\xFA\x96\x7B\x8C\xEA", 1},          // kanji: Japanese
    {"\x89\x70\x8C\xEA", 0},                  // kanji: English
    {"\x82\xA6\x82\xA2\x82\xB2", 0},          // hiragana: eigo
    {"\x82\xC9\x82\xD9\x82\xF1\x82\xB2", 1},  // hiragana: nihongo
};

constinit std::atomic<int32_t> runtime_option_state{0};

// Only the ASCII letters of the value fold; both bytes of a Shift-JIS
// character compare as they stand.
bool same_language_name(const char *value, const char *name) {
  size_t i = 0;
  for (;;) {
    unsigned char v = static_cast<unsigned char>(value[i]);
    unsigned char n = static_cast<unsigned char>(name[i]);
    if (v & 0x80) {
      if (v != n) return false;
      ++i;
      if (value[i] != name[i]) return false;
      if (!value[i]) return true;
      ++i;
      continue;
    }
    if (v >= 'a' && v <= 'z') v = static_cast<unsigned char>(v - 'a' + 'A');
    if (v != n) return false;
    if (!v) return true;
    ++i;
  }
}

void set_error_file() {
  const char *name = std::getenv("KAFFORTRAN_RUNTIME_ERROR_FILE");
  if (!name) name = std::getenv("KAFF90_RUNTIME_ERROR_FILE");
  if (name) {
    if (FILE *f = fopen64(name, "w+")) {
      setvbuf(f, nullptr, _IONBF, 0);
      __KAFf90_runtime_error_file = f;
      return;
    }
    __KAFf90_runtime_error_file = stderr;
    return;
  }
  if (!__KAFf90_runtime_error_file) __KAFf90_runtime_error_file = stderr;
}

void set_language() {
  const char *value = std::getenv("KAFFORTRAN_RUNTIME_LANGUAGE");
  if (!value) return;
  for (const language_entry &entry : language_table) {
    if (same_language_name(value, entry.name)) {
      __KAFf90_rt_set_language(entry.code);
      return;
    }
  }
  __KAFf90_rtmsg(166);
}

void set_number_of_images() {
  const char *value = std::getenv("KAFFORTRAN_NUM_IMAGES");
  if (!value || !*value) return;
  char *end = nullptr;
  long n = std::strtol(value, &end, 10);
  for (const char *p = value; *p; ++p)
    if (*p < '0' || *p > '9') return;
  if (*end == '\0' && n >= 1 && n <= 1000) __KAFf90_number_of_images = static_cast<int32_t>(n);
}

void write_word(const char *text, size_t length) { std::fwrite(text, 1, length, stderr); }

}  // namespace

// One option word: text[0..length) (the text goes on with the rest of the
// option string). Diagnostics go to stderr, never to the error file.
void process_runtime_option(const char *text, size_t length) {
  for (const option_entry &entry : option) {
    size_t n = 0;
    while (n < length && entry.name[n]) {
      char c = text[n];
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
      if (c != entry.name[n]) break;
      ++n;
    }
    if (n == length && (n >= 4 || entry.name[n] == '\0')) {
      if (entry.takes_argument) {
        std::fputs("?Missing argument for runtime option ", stderr);
        write_word(text, length);
        std::fputc('\n', stderr);
      } else {
        *entry.variable = entry.value;
      }
      return;
    }
    if (n >= 1 && n < length && text[n] == '=' && entry.takes_argument) {
      const char *start = text + n + 1;
      char *end = nullptr;
      long value = std::strtol(start, &end, 10);
      if (end != start && (*end == ',' || *end == '\0')) {
        *entry.variable = static_cast<int32_t>(value);
      } else {
        std::fprintf(stderr, "?Invalid argument %s for runtime option ", start);
        write_word(text, length);
        std::fputc('\n', stderr);
      }
      return;
    }
  }
  std::fputs("?Unrecognised runtime option \"", stderr);
  write_word(text, length);
  std::fputs("\" - ignored\n", stderr);
}

extern "C" int32_t __KAFf90_init_runtime_options(void) {
  int32_t state = 0;
  if (!runtime_option_state.compare_exchange_strong(state, 1)) {
    while (state == 1) {
      sched_yield();
      state = runtime_option_state.load();
    }
    return state;
  }
  set_error_file();
  set_language();
  const char *stop = std::getenv("KAFFORTRAN_STOP_NOW");
  if (stop && std::strcmp(stop, "DO NOT PASS GO") == 0) __KAFf90_rtcrash(571);
  set_number_of_images();
  if (const char *options = std::getenv("KAFFORTRAN_RUNTIME_OPTIONS")) {
    const char *piece = options;
    for (const char *comma; (comma = std::strchr(piece, ',')) != nullptr; piece = comma + 1)
      process_runtime_option(piece, static_cast<size_t>(comma - piece));
    process_runtime_option(piece, std::strlen(piece));
  }
  runtime_option_state.store(2);
  return 2;
}
