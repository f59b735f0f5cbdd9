// kaffmt: what a format does to values, through the libraries themselves.
//
//   kaffmt '(ES12.4,I5)' 3.14159 42        writes the record WRITE(*,fmt) gives
//   kaffmt --read '(F8.3)' '  12.5'        reads the record as READ(str,fmt) does
//                                          and prints each value exactly
//
// Values are taken as the descriptor that meets them asks: integers for I, B,
// O and Z, reals for F, E, D, EN and ES, logicals (T, F, .TRUE., ...) for L,
// and text for A; G takes whatever the value looks like. A kind suffix
// chooses the item's kind: _1 _2 _4 _8 for integers, _2 _4 _8 _16 for reals
// (half, single, double, double-double). Reals are converted by the library's
// own reader, correctly rounded.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "format/context.h"
#include "kafrts.h"

namespace {

constexpr const char *kUsage =
    "usage: kaffmt [--round=RN|RU|RD|RZ|RC] FORMAT VALUE...\n"
    "       kaffmt --read [--kind=2|4|8|16] FORMAT RECORD...\n"
    "Writes the values as WRITE(*,FORMAT) would, or reads the records as an internal\n"
    "READ(record,FORMAT) would and prints every value read, exactly.\n"
    "Values: 42, -7_8 (integer kinds _1 _2 _4 _8); 3.14, 1e10_4, Inf, NaN (real kinds\n"
    "_2 _4 _8 _16); T, F, .TRUE. (logical); any other text (character).\n";

[[noreturn]] void fail(const char *what, const char *detail) {
  std::fprintf(stderr, "kaffmt: %s%s%s\n", what, detail ? ": " : "", detail ? detail : "");
  std::exit(2);
}

struct io_state {
  kaf_ioctx_space space;
  kaf_ioctx *ctx;
  std::int32_t iostat;
  char iomsg[256];
};

void init_state(io_state &s) {
  std::memset(&s, 0, sizeof s);
  s.ctx = reinterpret_cast<kaf_ioctx *>(&s.space);
  std::memset(s.iomsg, ' ', sizeof s.iomsg);
}

[[noreturn]] void io_failed(io_state &s) {
  int n = static_cast<int>(sizeof s.iomsg);
  while (n > 0 && s.iomsg[n - 1] == ' ') --n;
  std::fflush(stdout);
  std::fprintf(stderr, "kaffmt: error %d: %.*s\n", s.iostat, n, s.iomsg);
  std::exit(1);
}

// The value text without a kind suffix, and the suffix (0 when none).
struct literal {
  char text[512];
  int kind;
};

literal split_kind(const char *v) {
  literal l{};
  std::snprintf(l.text, sizeof l.text, "%s", v);
  char *u = std::strrchr(l.text, '_');
  if (u && u != l.text && u[1] && std::strspn(u + 1, "0123456789") == std::strlen(u + 1) &&
      (std::isdigit(static_cast<unsigned char>(u[-1])) || u[-1] == '.' ||
       std::isalpha(static_cast<unsigned char>(u[-1])))) {
    l.kind = std::atoi(u + 1);
    *u = 0;
  }
  return l;
}

bool is_integer_text(const char *t) {
  if (*t == '+' || *t == '-') ++t;
  return *t && std::strspn(t, "0123456789") == std::strlen(t);
}

bool is_logical_text(const char *t, bool *value) {
  const char *p = *t == '.' ? t + 1 : t;
  char c = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  if (c != 'T' && c != 'F') return false;
  // T, F, .T., .TRUE., TRUE, .false. ...
  const char *word = c == 'T' ? "TRUE" : "FALSE";
  std::size_t n = 0;
  while (p[n] && p[n] != '.' && std::toupper(static_cast<unsigned char>(p[n])) == word[n]) ++n;
  if (p[n] == '.' && *t == '.' && p[n + 1] == 0) {
    *value = c == 'T';
    return n == 1 || word[n] == 0;
  }
  if (p[n] == 0 && *t != '.') {
    *value = c == 'T';
    return n == 1 || word[n] == 0;
  }
  return false;
}

bool looks_real(const char *t) {
  char *end = nullptr;
  std::strtod(t, &end);
  return end && *end == 0 && end != t;
}

// Reads text as one real of the kind through an internal READ with (Fw.0).
std::uint64_t read_real(const char *text, int kind, void *out) {
  io_state s;
  init_state(s);
  char record[512];
  std::size_t len = std::strlen(text);
  std::memcpy(record, text, len);
  kaf_ifile f;
  __KAFf90_scalar_ifilex(&f, record, len, 10);
  if (__KAFf90_read_internal_file(s.ctx, &f, &s.iostat, s.iomsg, sizeof s.iomsg, KAF_IO_ERR)) return 1;
  char format[32];
  std::snprintf(format, sizeof format, "(BN,F%zu.0)", len);
  if (__KAFf90_establish_format(s.ctx, format, -1, DIR_INPUT)) return 1;
  std::uint64_t st;
  switch (kind) {
    case 2: st = __KAFf90_fmt_read_h(s.ctx, static_cast<std::uint16_t *>(out)); break;
    case 4: st = __KAFf90_fmt_read_r(s.ctx, static_cast<float *>(out)); break;
    case 16: st = __KAFf90_fmt_read_dd(s.ctx, static_cast<kaf_dd *>(out)); break;
    default: st = __KAFf90_fmt_read_d(s.ctx, static_cast<double *>(out)); break;
  }
  if (st) return st;
  return static_cast<std::uint64_t>(__KAFf90_end_read_internal(s.ctx));
}

// Makes sure the sequencer stands at a data edit descriptor; false at the
// end of the format when stop_at_end is set.
void need_descriptor(io_state &s, int direction) {
  kaf_ioctx *c = s.ctx;
  if (c->edit_code == EDIT_END || c->edit_code == EDIT_COLON)
    if (__KAFf90_definitely_next_edit(c, direction)) io_failed(s);
}

std::uint64_t write_value(io_state &s, const char *arg) {
  need_descriptor(s, DIR_OUTPUT);
  kaf_ioctx *c = s.ctx;
  literal l = split_kind(arg);
  std::uint8_t code = c->edit_code;
  bool logical = false;
  bool is_int = is_integer_text(l.text);
  bool is_log = is_logical_text(l.text, &logical);
  bool is_real = !is_int && !is_log && looks_real(l.text);
  if (code == EDIT_G) code = is_int ? EDIT_I : is_log ? EDIT_L : is_real ? EDIT_F : EDIT_A;
  switch (code) {
    case EDIT_I: case EDIT_B: case EDIT_O: case EDIT_Z: {
      if (!is_int) fail("not an integer value for an integer descriptor", arg);
      long long v = std::strtoll(l.text, nullptr, 10);
      switch (l.kind) {
        case 1: return __KAFf90_fmt_write_i1(c, static_cast<std::int8_t>(v));
        case 2: return __KAFf90_fmt_write_i2(c, static_cast<std::int16_t>(v));
        case 4: return __KAFf90_fmt_write_i(c, static_cast<std::int32_t>(v));
        default: return __KAFf90_fmt_write_i4(c, v);
      }
    }
    case EDIT_F: case EDIT_E: case EDIT_D: case EDIT_EN: case EDIT_ES: {
      if (!is_int && !is_real) fail("not a real value for a real descriptor", arg);
      union {
        std::uint16_t h;
        float r;
        double d;
        kaf_dd dd;
      } v;
      if (read_real(l.text, l.kind, &v)) fail("value out of range", arg);
      switch (l.kind) {
        case 2: return __KAFf90_fmt_write_h(c, v.h);
        case 4: return __KAFf90_fmt_write_r(c, v.r);
        case 16: return __KAFf90_fmt_write_dd(c, v.dd);
        default: return __KAFf90_fmt_write_d(c, v.d);
      }
    }
    case EDIT_L:
      if (!is_log) fail("not a logical value for an L descriptor", arg);
      return __KAFf90_fmt_write_l(c, logical ? 1 : 0);
    default: {
      // Character: quotes around the value are taken off.
      const char *t = arg;
      std::size_t n = std::strlen(t);
      if (n >= 2 && (t[0] == '\'' || t[0] == '"') && t[n - 1] == t[0]) {
        ++t;
        n -= 2;
      }
      return __KAFf90_fmt_write_ch(c, t, n);
    }
  }
}

int do_write(const char *format, int round, int argc, char **argv) {
  io_state s;
  init_state(s);
  if (__KAFf90_write_seq(s.ctx, nullptr, 0, 6, &s.iostat, s.iomsg, sizeof s.iomsg, KAF_IO_ERR)) io_failed(s);
  if (__KAFf90_establish_format(s.ctx, format, -1, DIR_OUTPUT)) io_failed(s);
  if (round >= 0) s.ctx->round_mode = static_cast<std::uint32_t>(round);
  for (int i = 0; i < argc; ++i)
    if (write_value(s, argv[i])) io_failed(s);
  if (__KAFf90_end_write_sequential(s.ctx)) io_failed(s);
  __KAFf90_io_finish();
  return 0;
}

void print_real(int kind, const void *v) {
  switch (kind) {
    case 2: {
      std::uint16_t h;
      std::memcpy(&h, v, sizeof h);
      // The half's value is exact in a double.
      int e = (h >> 10) & 0x1F, m = h & 0x3FF;
      double x = e == 0x1F ? (m ? NAN : INFINITY) : e == 0 ? std::ldexp(m, -24) : std::ldexp(m | 0x400, e - 25);
      if (h & 0x8000) x = -x;
      std::printf("%.17g (half 0x%04X)\n", x, h);
      break;
    }
    case 4: {
      float f;
      std::memcpy(&f, v, sizeof f);
      std::printf("%.9g (%a)\n", static_cast<double>(f), static_cast<double>(f));
      break;
    }
    case 16: {
      kaf_dd d;
      std::memcpy(&d, v, sizeof d);
      std::printf("%.17g + %.17g (%a + %a)\n", d.hi, d.lo, d.hi, d.lo);
      break;
    }
    default: {
      double d;
      std::memcpy(&d, v, sizeof d);
      std::printf("%.17g (%a)\n", d, d);
      break;
    }
  }
}

int do_read(const char *format, int kind, int round, int argc, char **argv) {
  // The records, blank-padded to one length, as a character array.
  std::size_t len = 1;
  for (int i = 0; i < argc; ++i)
    if (std::strlen(argv[i]) > len) len = std::strlen(argv[i]);
  std::size_t nrec = argc > 0 ? static_cast<std::size_t>(argc) : 1;
  char *records = static_cast<char *>(std::calloc(nrec, len));
  if (!records) fail("out of memory", nullptr);
  std::memset(records, ' ', nrec * len);
  for (int i = 0; i < argc; ++i) std::memcpy(records + static_cast<std::size_t>(i) * len, argv[i], std::strlen(argv[i]));
  std::int64_t desc[6] = {reinterpret_cast<std::int64_t>(records), static_cast<std::int64_t>(len), 0,
                          static_cast<std::int64_t>(nrec), static_cast<std::int64_t>(len), 1};
  kaf_ifile f;
  __KAFf90_array_ifilex(&f, desc, 1, 10);
  io_state s;
  init_state(s);
  if (__KAFf90_read_internal_file(s.ctx, &f, &s.iostat, s.iomsg, sizeof s.iomsg, KAF_IO_ERR)) io_failed(s);
  if (__KAFf90_establish_format(s.ctx, format, -1, DIR_INPUT)) io_failed(s);
  if (round >= 0) s.ctx->round_mode = static_cast<std::uint32_t>(round);
  kaf_ioctx *c = s.ctx;
  for (;;) {
    // One pass of the format per record; stop when the records run out.
    if ((c->edit_code == EDIT_END || c->edit_code == EDIT_COLON) && c->fmt_pos >= c->fmt_end &&
        f.records_left == 0)
      break;
    need_descriptor(s, DIR_INPUT);
    char letter[3] = {static_cast<char>(c->edit_code), 0, 0};
    if (c->edit_code == EDIT_EN || c->edit_code == EDIT_ES) {
      letter[0] = 'E';
      letter[1] = c->edit_code == EDIT_EN ? 'N' : 'S';
    }
    int w = c->w;
    auto label = [&]() { std::printf("%s%d: ", letter, w); };
    switch (c->edit_code) {
      case EDIT_I: case EDIT_B: case EDIT_O: case EDIT_Z: {
        std::int64_t v;
        if (__KAFf90_fmt_read_i4(c, &v)) io_failed(s);
        label();
        std::printf("%lld\n", static_cast<long long>(v));
        break;
      }
      case EDIT_L: {
        std::int64_t v;
        if (__KAFf90_fmt_read_l4(c, &v)) io_failed(s);
        label();
        std::printf("%s\n", v ? ".TRUE." : ".FALSE.");
        break;
      }
      case EDIT_A: {
        char text[4096];
        std::size_t n = c->w > 0 && c->w < 4096 ? static_cast<std::size_t>(c->w) : len;
        if (n > sizeof text) n = sizeof text;
        if (__KAFf90_fmt_read_ch(c, text, n)) io_failed(s);
        label();
        std::printf("'%.*s'\n", static_cast<int>(n), text);
        break;
      }
      default: {
        union {
          std::uint16_t h;
          float r;
          double d;
          kaf_dd dd;
        } v;
        std::uint64_t st;
        switch (kind) {
          case 2: st = __KAFf90_fmt_read_h(c, &v.h); break;
          case 4: st = __KAFf90_fmt_read_r(c, &v.r); break;
          case 16: st = __KAFf90_fmt_read_dd(c, &v.dd); break;
          default: st = __KAFf90_fmt_read_d(c, &v.d); break;
        }
        if (st) io_failed(s);
        label();
        print_real(kind, &v);
        break;
      }
    }
  }
  std::free(records);
  return 0;
}

int round_code(const char *name) {
  static constexpr struct {
    const char *name;
    int code;
  } names[] = {{"RP", 0}, {"RU", 1}, {"RD", 2}, {"RZ", 3}, {"RN", 4}, {"RC", 5}};
  for (const auto &n : names)
    if (std::strcmp(name, n.name) == 0) return n.code;
  fail("unknown rounding mode (RN, RU, RD, RZ, RC or RP)", name);
}

}  // namespace

int main(int argc, char **argv) {
  bool read = false;
  int kind = 8, round = -1;
  int i = 1;
  for (; i < argc && argv[i][0] == '-' && argv[i][1] == '-'; ++i) {
    if (std::strcmp(argv[i], "--read") == 0) read = true;
    else if (std::strncmp(argv[i], "--kind=", 7) == 0) kind = std::atoi(argv[i] + 7);
    else if (std::strncmp(argv[i], "--round=", 8) == 0) round = round_code(argv[i] + 8);
    else if (std::strcmp(argv[i], "--help") == 0) {
      std::fputs(kUsage, stdout);
      return 0;
    } else {
      fail("unknown option", argv[i]);
    }
  }
  if (kind != 2 && kind != 4 && kind != 8 && kind != 16) fail("--kind must be 2, 4, 8 or 16", nullptr);
  if (i >= argc) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const char *format = argv[i++];
  return read ? do_read(format, kind, round, argc - i, argv + i) : do_write(format, round, argc - i, argv + i);
}
