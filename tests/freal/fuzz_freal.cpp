// Fuzzes real editing through the exported entries: an internal READ of the
// input under a real descriptor, and the F/E field strings and an internal
// WRITE of the value read (and of the input's raw bytes as a double) under
// descriptors taken from the input. Nothing may crash, hang or overrun.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "kafrts.h"

namespace {

const char *const kReadFormats[] = {"(F30.0)", "(BZ,E30.3)", "(DC,F30.2)", "(2P,G30.5)", "(RU,D30.0)",
                                    "(RC,EN30.1)", "(RD,ES30.0)", "(RZ,F30.4)"};

void write_value(const char *format, double v) {
  char out[600];
  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  kaf_ifile f;
  __KAFf90_scalar_ifilex(&f, out, sizeof out, 10);
  std::int32_t iostat = 0;
  char msg[100];
  if (__KAFf90_write_ifile(ctx, &f, &iostat, msg, sizeof msg, KAF_IO_ERR)) return;
  if (__KAFf90_establish_format(ctx, format, -1, 2)) return;
  if (__KAFf90_fmt_write_d(ctx, v)) return;
  __KAFf90_end_write_ifile(ctx);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 12) return 0;
  std::int32_t params[4];
  std::memcpy(params, data, 4);
  params[0] = data[0] % 120;             // w
  params[1] = data[1] % 90;              // d
  params[2] = (data[2] % 8) - 1;         // e
  params[3] = (data[3] % 30) - 15;       // k
  double raw;
  std::memcpy(&raw, data + 4, 8);
  const char *read_format = kReadFormats[data[2] % 8];
  static const char *const letters[] = {"F", "E", "ES", "EN", "G", "D"};
  const char *letter = letters[data[3] % 6];
  data += 12;
  size -= 12;
  char record[30];
  std::size_t n = size < sizeof record ? size : sizeof record;
  std::memset(record, ' ', sizeof record);
  std::memcpy(record, data, n);

  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  kaf_ifile f;
  __KAFf90_scalar_ifilex(&f, record, sizeof record, 10);
  std::int32_t iostat = 0;
  char msg[100];
  double v = 0;
  if (__KAFf90_read_internal_file(ctx, &f, &iostat, msg, sizeof msg, KAF_IO_ERR) == 0 &&
      __KAFf90_establish_format(ctx, read_format, -1, 1) == 0 && __KAFf90_fmt_read_d(ctx, &v) == 0)
    __KAFf90_end_read_internal(ctx);

  char buf[400];
  std::int32_t err;
  for (double x : {v, raw}) {
    __KAFf90_d_format_F(params, 0, '.', buf, sizeof buf, &err, x);
    __KAFf90_d_format_E(params, 1, ',', buf, sizeof buf, &err, x);
    char format[64];
    std::snprintf(format, sizeof format, "(%dP,%s%d.%d)", params[3], letter, params[0] + 1, params[1]);
    write_value(format, x);
    write_value("(G0)", x);
  }
  return 0;
}
