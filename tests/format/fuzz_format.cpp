// libFuzzer target: any bytes as a format text (explicit length, so the text
// may hold NULs and bytes past 127), driven through establish_format and
// the sequencer by integer, logical and character items on output and on
// input. Every outcome must be a status; nothing may crash or read past
// the text.
#include <cstdint>
#include <cstring>
#include <vector>

#include "format/context.h"

namespace {

struct harness {
  kaf_ioctx ctx;
  kaf_unit_head unit;
  std::vector<std::uint8_t> out;
  std::int32_t iostat;
  char iomsg[64];
  int records;
};

harness *of(kaf_ioctx *c) { return reinterpret_cast<harness *>(c); }

kaf_status out_flush(kaf_ioctx *c) {
  harness &h = *of(c);
  if (h.out.size() >= 1 << 16) return 77;
  h.out.resize(h.out.size() * 2);
  c->buffer = h.out.data();
  c->limit = h.out.size() / unit_width(c->encoding);
  return 0;
}

kaf_status out_next(kaf_ioctx *c, int, const char *, const char *) {
  if (++of(c)->records > 1000) return 78;
  c->pos = 0;
  c->max_pos = 0;
  return 0;
}

const char record[] = "  12 -3 T .F. abc 7F 101";

kaf_status in_next(kaf_ioctx *c, int, const char *, const char *) {
  if (++of(c)->records > 1000) return __KAFf90_ioerr(c, -1, 1);
  c->buffer = const_cast<char *>(record);
  c->rec_len = sizeof record - 1;
  c->pos = 0;
  return 0;
}

kaf_status in_flush(kaf_ioctx *c) { return __KAFf90_ioerr(c, -2, 1); }

// Repeat counts multiply; a format whose counts could run the sequencer
// through more than a few million steps without an item is not a fault,
// only slow, so such inputs are skipped.
bool bounded(const std::uint8_t *data, std::size_t size) {
  double product = 1;
  for (std::size_t i = 0; i < size;) {
    if (data[i] >= '0' && data[i] <= '9') {
      double n = 0;
      while (i < size && data[i] >= '0' && data[i] <= '9') n = n * 10 + (data[i++] - '0');
      product *= n > 1 ? n : 1;
      if (product > 1e6) return false;
    } else {
      ++i;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 1 || !bounded(data, size)) return 0;
  const int direction = (data[0] & 1) ? DIR_INPUT : DIR_OUTPUT;
  // The text in a block of its own, so that reading past it is caught.
  std::vector<char> text(data + 1, data + size);
  static harness h;
  std::memset(&h.ctx, 0, sizeof h.ctx);
  h.unit = kaf_unit_head{};
  h.unit.number = 1;
  h.unit.decimal_char = '.';
  h.unit.pad_yes = 1;
  h.records = 0;
  h.out.assign(16, 0);
  h.ctx.unit = &h.unit;
  h.ctx.flags = IOF_ERR;
  h.ctx.iostat_var = reinterpret_cast<std::uint64_t>(&h.iostat);
  h.ctx.iomsg_addr = reinterpret_cast<std::uint64_t>(h.iomsg);
  h.ctx.iomsg_len = sizeof h.iomsg;
  h.ctx.encoding = (data[0] & 2) ? ENC_UCS4 : ENC_LATIN1;
  if (direction == DIR_OUTPUT) {
    h.ctx.buffer = h.out.data();
    h.ctx.limit = h.out.size() / unit_width(h.ctx.encoding);
    h.ctx.flush = out_flush;
    h.ctx.next_record = out_next;
  } else {
    h.ctx.encoding = ENC_LATIN1;
    h.ctx.buffer = const_cast<char *>(record);
    h.ctx.rec_len = sizeof record - 1;
    h.ctx.flush = in_flush;
    h.ctx.next_record = in_next;
    h.ctx.no_eor = 1;
  }
  std::uint64_t s = __KAFf90_establish_format(&h.ctx, text.data(), static_cast<std::int64_t>(text.size()), direction);
  for (int item = 0; item < 12 && !s; ++item) {
    if (direction == DIR_OUTPUT) {
      switch (item % 4) {
      case 0: s = __KAFf90_fmt_write_i(&h.ctx, -123 * item); break;
      case 1: s = __KAFf90_fmt_write_l(&h.ctx, item & 2); break;
      case 2: s = __KAFf90_fmt_write_ch(&h.ctx, "text", 4); break;
      default: s = __KAFf90_fmt_write_i4(&h.ctx, INT64_MIN + item); break;
      }
    } else {
      std::int32_t i;
      std::int64_t l;
      char ch[5];
      switch (item % 3) {
      case 0: s = __KAFf90_fmt_read_i(&h.ctx, &i); break;
      case 1: s = __KAFf90_fmt_read_l4(&h.ctx, &l); break;
      default: s = __KAFf90_fmt_read_ch(&h.ctx, ch, sizeof ch); break;
      }
    }
  }
  return 0;
}
