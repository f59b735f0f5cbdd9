// libFuzzer target over list-directed input: the first byte chooses the
// record encoding, the decimal mode and the rounding mode, the second the
// sequence of item kinds; the rest is the file, records split at '\n'.
// Every read must end in a value or a catalogue error, never a crash.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "format/context.h"
#include "kafrts.h"

namespace {

struct fuzz_ctx {
  kaf_ioctx ctx;
  kaf_unit_head unit;
  const std::uint8_t *data;
  std::size_t size, next;
  std::vector<std::uint8_t> rec;
  std::int32_t iostat;
};

void serve(fuzz_ctx &f) {
  std::size_t end = f.next;
  while (end < f.size && f.data[end] != '\n') ++end;
  const unsigned w = unit_width(f.ctx.encoding);
  const std::size_t len = (end - f.next) / w;
  f.rec.assign(f.data + f.next, f.data + f.next + len * w);
  f.rec.resize(len * w + 4);
  f.ctx.buffer = f.rec.data();
  f.ctx.rec_len = static_cast<std::int64_t>(len);
  f.ctx.pos = 0;
  f.next = end + 1;
}

kaf_status next_record(kaf_ioctx *c, int, const char *, const char *) {
  auto &f = *reinterpret_cast<fuzz_ctx *>(c);
  if (f.next > f.size) return __KAFf90_ioerr(c, -1, 9);
  serve(f);
  return 0;
}

kaf_status flush(kaf_ioctx *c) { return __KAFf90_ioerr(c, -2, 9); }

bool catalogue_code(std::int32_t s) {
  static constexpr std::int32_t codes[] = {-1, 1005, 1006, 1007, 1008, 1009, 1010, 1011,
                                           1012, 1013, 1014, 1040, 1111, 1115, 1139};
  for (std::int32_t c : codes)
    if (s == c) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) return 0;
  static constexpr std::uint32_t encodings[] = {ENC_LATIN1, ENC_UTF8, ENC_SJIS_BYTES, ENC_ASCII,
                                                ENC_UCS2, ENC_UCS4, ENC_SJIS16, ENC_LATIN1};
  auto *f = static_cast<fuzz_ctx *>(std::calloc(1, sizeof(fuzz_ctx)));
  new (&f->rec) std::vector<std::uint8_t>();
  f->data = data + 2;
  f->size = size - 2;
  f->ctx.unit = &f->unit;
  f->unit.number = 9;
  f->unit.decimal_char = (data[0] & 8) ? ',' : '.';
  f->unit.round_mode = (data[0] >> 4) % 6;
  f->ctx.encoding = encodings[data[0] & 7];
  f->ctx.flags = IOF_ERR | IOF_END;
  f->ctx.iostat_var = reinterpret_cast<std::uint64_t>(&f->iostat);
  f->ctx.flush = flush;
  f->ctx.next_record = next_record;
  f->ctx.max_pos = -1;
  serve(*f);
  __KAFf90_init_linput(&f->ctx);
  std::uint32_t pick = data[1];
  for (int item = 0; item < 64; ++item) {
    std::int32_t s;
    union {
      std::int8_t i1;
      std::int16_t i2;
      std::int32_t i;
      std::int64_t i4;
      float r;
      double d;
      float c[2];
      double dc[2];
      char ch[12];
      std::uint16_t u16[12];
      std::uint32_t u32[12];
    } v;
    std::memset(&v, 0, sizeof v);
    switch ((pick + static_cast<std::uint32_t>(item) * 7) % 16) {
    case 0: s = __KAFf90_lio_read_i1(&f->ctx, &v.i1); break;
    case 1: s = __KAFf90_lio_read_i2(&f->ctx, &v.i2); break;
    case 2: s = __KAFf90_lio_read_i(&f->ctx, &v.i); break;
    case 3: s = __KAFf90_lio_read_i4(&f->ctx, &v.i4); break;
    case 4: s = __KAFf90_lio_read_l(&f->ctx, &v.i); break;
    case 5: s = __KAFf90_lio_read_l1(&f->ctx, &v.i1); break;
    case 6: s = __KAFf90_lio_read_r(&f->ctx, &v.r); break;
    case 7: s = __KAFf90_lio_read_d(&f->ctx, &v.d); break;
    case 8: s = __KAFf90_lio_read_c(&f->ctx, v.c); break;
    case 9: s = __KAFf90_lio_read_dc(&f->ctx, v.dc); break;
    case 10: s = __KAFf90_lio_read_ch(&f->ctx, v.ch, sizeof v.ch); break;
    case 11: s = __KAFf90_lio_read_ch2j(&f->ctx, v.u16, 12); break;
    case 12: s = __KAFf90_lio_read_ch2u(&f->ctx, v.u16, 12); break;
    case 13: s = __KAFf90_lio_read_ch4(&f->ctx, v.u32, 12); break;
    case 14: s = __KAFf90_lio_read_nl_ch(&f->ctx, v.ch, sizeof v.ch); break;
    default: s = __KAFf90_lio_read_l4(&f->ctx, &v.i4); break;
    }
    if (s != 0) {
      if (!catalogue_code(s) || f->iostat != s) std::abort();
      break;
    }
    pick = pick * 31 + 17;
  }
  __KAFf90_lio_end_input(&f->ctx);
  f->rec.~vector();
  std::free(f);
  return 0;
}
