// The legacy statement entry layer: the begin, item and end calls of older
// object code, driving the current entries through one static transfer
// context; the statement chains of the file-positioning and connection
// statements; INQUIRE; the internal-file descriptor builders; cidata_match.
//
// Legacy statements are not re-entrant: one context, one internal-file
// record and one SIZE= counter serve every legacy statement in turn.
#include <cctype>
#include <cstring>

#include "format/context.h"
#include "kafrts.h"

namespace {

kaf_ioctx backward_compatibility_ioctx;
kaf_ifile backward_ifile;
std::int32_t *backward_size;
std::int64_t backward_sizetmp;

kaf_ioctx *const ctx = &backward_compatibility_ioctx;

// Write-side begin calls keep only the fact that an error branch or
// IOSTAT= is present.
inline std::int32_t reduce(std::int32_t flags) { return flags ? 4 : 0; }

// After a begin call: ADVANCE=, then the format or list-directed set-up.
std::int32_t finish_begin(const char *fmt, std::int64_t fmt_len, const char *adv, std::size_t adv_len,
                          int direction) {
  if (adv)
    if (std::int32_t s = __KAFf90_set_ioctx_advance(ctx, adv, adv_len)) return s;
  if (direction == 1 && backward_size) __KAFf90_set_ioctx_size(ctx, &backward_sizetmp);
  if (fmt) return static_cast<std::int32_t>(__KAFf90_establish_format(ctx, fmt, fmt_len, direction));
  if (direction == 1) __KAFf90_init_linput(ctx);
  else __KAFf90_init_loutput(ctx);
  return 0;
}

}  // namespace

kaf_ioctx *legacy_context() { return ctx; }

extern "C" {

// ---- Statement chains ----------------------------------------------------

std::int32_t __KAFf90_read_sequential_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                           std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                           std::int32_t flags) {
  return __KAFf90_read_seq4(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_sequential(kaf_ioctx *c, std::int64_t unit, std::int32_t *iostat, char *iomsg,
                                      std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_sequential_line(c, nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_sequential_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                            std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                            std::int32_t flags) {
  return __KAFf90_write_seq(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_sequential(kaf_ioctx *c, std::int64_t unit, std::int32_t *iostat, char *iomsg,
                                       std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_sequential_line(c, nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
void __KAFf90_array_ifile(kaf_ifile *f, const std::int64_t *desc, std::int32_t rank) {
  __KAFf90_array_ifilex(f, desc, rank, 10);
}
void __KAFf90_scalar_ifile(kaf_ifile *f, char *address, std::size_t len) {
  __KAFf90_scalar_ifilex(f, address, len, 10);
}

std::int32_t __KAFf90_backspacef_line(const char *file, std::int32_t line, std::int32_t unit, std::int32_t *iostat,
                                      char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_backspace4(file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_backspacef(std::int32_t unit, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                 std::int32_t flags) {
  return __KAFf90_backspacef_line(nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_backspace(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_backspacef(unit, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_closef_line(const char *file, std::int32_t line, std::int32_t unit, const char *status,
                                  std::size_t status_len, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                  std::int32_t flags) {
  return __KAFf90_close4(file, line, unit, status, status_len, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_closef(std::int32_t unit, const char *status, std::size_t status_len, std::int32_t *iostat,
                             char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_closef_line(nullptr, 0, unit, status, status_len, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_close(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_closef(unit, nullptr, 0, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_endfilef_line(const char *file, std::int32_t line, std::int32_t unit, std::int32_t *iostat,
                                    char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_endfile4(file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_endfilef(std::int32_t unit, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                               std::int32_t flags) {
  return __KAFf90_endfilef_line(nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_endfile(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_endfilef(unit, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_rewindf_line(const char *file, std::int32_t line, std::int32_t unit, std::int32_t *iostat,
                                   char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_rewind4(file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_rewindf(std::int32_t unit, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                              std::int32_t flags) {
  return __KAFf90_rewindf_line(nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_rewind(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_rewindf(unit, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_flushf_line(const char *file, std::int32_t line, std::int32_t unit, std::int32_t *iostat,
                                  char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_flush4(file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_flushf(std::int32_t unit, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                             std::int32_t flags) {
  return __KAFf90_flushf_line(nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_waitf_line(const char *file, std::int32_t line, std::int32_t unit, const std::int32_t *id,
                                 std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  std::int64_t wide;
  const std::int64_t *id64 = nullptr;
  if (id) {
    wide = *id;
    id64 = &wide;
  }
  return __KAFf90_waitf4(file, line, unit, id64, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_waitf(std::int32_t unit, const std::int32_t *id, std::int32_t *iostat, char *iomsg,
                            std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_waitf_line(nullptr, 0, unit, id, iostat, iomsg, iomsg_len, flags);
}

// OPEN: the specifier block of the legacy generations is a tag word (53)
// followed by the engine's specifier record.
std::int32_t __KAFf90_openf4(const char *file, std::int32_t line, std::int64_t unit, const kaf_open_block *block) {
  if (block->tag != KAF_OPEN_BLOCK_TAG) __KAFf90_crash("bad OPEN specifier block");
  return __KAFf90_openf4x(file, line, unit, &block->specifiers);
}
std::int32_t __KAFf90_openf2(std::int32_t unit, const kaf_open_block *block) {
  return __KAFf90_openf4(nullptr, 0, unit, block);
}
std::int32_t __KAFf90_openf2x(std::int32_t unit, const kaf_open_spec *specifiers) {
  return __KAFf90_openf4x(nullptr, 0, unit, specifiers);
}
std::int32_t __KAFf90_openf2gx(const char *file, std::int32_t line, std::int32_t unit, const kaf_open_spec *specifiers) {
  return __KAFf90_openf4x(file, line, unit, specifiers);
}
std::int32_t __KAFf90_openf2g(std::int32_t unit, const char *name, std::size_t name_len, kaf_open_block *block) {
  block->specifiers.file = name;
  block->specifiers.file_len = name_len;
  return __KAFf90_openf4(nullptr, 0, unit, block);
}
std::int32_t __KAFf90_openf(std::int32_t unit, const char *name, std::size_t name_len, const char *status,
                            std::size_t status_len, const char *form, std::size_t form_len, const char *access,
                            std::size_t access_len, const std::int32_t *recl, const char *action,
                            std::size_t action_len, const char *position, std::size_t position_len,
                            const char *blank, std::size_t blank_len, const char *delim, std::size_t delim_len,
                            const char *pad, std::size_t pad_len, std::int32_t *iostat, std::int32_t flags) {
  kaf_open_block block;
  std::memset(&block, 0, sizeof block);
  block.tag = KAF_OPEN_BLOCK_TAG;
  kaf_open_spec &s = block.specifiers;
  s.status = status;
  s.status_len = status_len;
  s.form = form;
  s.form_len = form_len;
  s.access = access;
  s.access_len = access_len;
  std::int64_t recl64;
  if (recl) {
    recl64 = *recl;
    s.recl = &recl64;
  }
  s.action = action;
  s.action_len = action_len;
  s.position = position;
  s.position_len = position_len;
  s.blank = blank;
  s.blank_len = blank_len;
  s.delim = delim;
  s.delim_len = delim_len;
  s.pad = pad;
  s.pad_len = pad_len;
  s.iostat = iostat;
  s.flags = flags;
  return __KAFf90_openf2g(unit, name, name_len, &block);
}
std::int32_t __KAFf90_open(std::int32_t unit, const char *name, std::size_t name_len, const char *status,
                           std::size_t status_len, const char *form, std::size_t form_len, const char *access,
                           std::size_t access_len, const std::int32_t *recl, std::int32_t flags) {
  return __KAFf90_openf(unit, name, name_len, status, status_len, form, form_len, access, access_len, recl,
                        nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, reduce(flags));
}

// ---- Legacy begin and end calls -----------------------------------------

std::int32_t __KAFf90_read(std::int32_t unit, const char *fmt, std::int64_t fmt_len, const char *adv,
                           std::size_t adv_len, std::int32_t *size, std::int32_t flags) {
  backward_size = size;
  if (std::int32_t s = __KAFf90_read_sequential(ctx, unit, nullptr, nullptr, 0, flags)) return s;
  return finish_begin(fmt, fmt_len, adv, adv_len, 1);
}
std::int32_t __KAFf90_write(std::int32_t unit, const char *fmt, std::int64_t fmt_len, const char *adv,
                            std::size_t adv_len, std::int32_t flags) {
  if (std::int32_t s = __KAFf90_write_sequential(ctx, unit, nullptr, nullptr, 0, reduce(flags))) return s;
  return finish_begin(fmt, fmt_len, adv, adv_len, 2);
}
std::int32_t __KAFf90_ireada(const std::int64_t *desc, std::int32_t rank, const char *fmt, std::int64_t fmt_len,
                             std::int32_t, std::int32_t flags) {
  __KAFf90_array_ifile(&backward_ifile, desc, rank);
  backward_size = nullptr;
  if (std::int32_t s = __KAFf90_read_internal_file(ctx, &backward_ifile, nullptr, nullptr, 0, reduce(flags))) return s;
  return finish_begin(fmt, fmt_len, nullptr, 0, 1);
}
std::int32_t __KAFf90_ireads(char *address, std::size_t len, const char *fmt, std::int64_t fmt_len, std::int32_t,
                             std::int32_t flags) {
  __KAFf90_scalar_ifile(&backward_ifile, address, len);
  backward_size = nullptr;
  if (std::int32_t s = __KAFf90_read_internal_file(ctx, &backward_ifile, nullptr, nullptr, 0, reduce(flags))) return s;
  return finish_begin(fmt, fmt_len, nullptr, 0, 1);
}
std::int32_t __KAFf90_iwritea(const std::int64_t *desc, std::int32_t rank, const char *fmt, std::int64_t fmt_len,
                              std::int32_t flags) {
  __KAFf90_array_ifile(&backward_ifile, desc, rank);
  if (std::int32_t s = __KAFf90_write_ifile(ctx, &backward_ifile, nullptr, nullptr, 0, reduce(flags))) return s;
  return finish_begin(fmt, fmt_len, nullptr, 0, 2);
}
std::int32_t __KAFf90_iwrites(char *address, std::size_t len, const char *fmt, std::int64_t fmt_len,
                              std::int32_t flags) {
  __KAFf90_scalar_ifile(&backward_ifile, address, len);
  if (std::int32_t s = __KAFf90_write_ifile(ctx, &backward_ifile, nullptr, nullptr, 0, reduce(flags))) return s;
  return finish_begin(fmt, fmt_len, nullptr, 0, 2);
}

std::int32_t __KAFf90_endread(void) {
  const std::int32_t s = __KAFf90_end_read_sequential(ctx);
  __KAFf90_lio_end_input(ctx);
  if (backward_size) *backward_size = static_cast<std::int32_t>(static_cast<std::uint64_t>(backward_sizetmp));
  return s;
}
std::int32_t __KAFf90_endwrite(void) { return __KAFf90_end_write_sequential(ctx); }
std::int32_t __KAFf90_endiread(void) {
  const std::int32_t s = __KAFf90_end_read_internal(ctx);
  __KAFf90_lio_end_input(ctx);
  return s;
}
std::int32_t __KAFf90_endiwrite(void) { return __KAFf90_end_write_ifile(ctx); }

// ---- Item calls ------------------------------------------------------------

std::int32_t __KAFf90_read_i1(int8_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_i1(ctx, item)); }
std::int32_t __KAFf90_dusty_read_i1(int8_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_i1(ctx, item)); }
std::int32_t __KAFf90_write_i1(int8_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_i1(ctx, value)); }
std::int32_t __KAFf90_dusty_write_i1(int8_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_i1(ctx, value)); }
std::int32_t __KAFf90_lread_i1(int8_t *item) { return __KAFf90_lio_read_i1(ctx, item); }
std::int32_t __KAFf90_read_i2(int16_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_i2(ctx, item)); }
std::int32_t __KAFf90_dusty_read_i2(int16_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_i2(ctx, item)); }
std::int32_t __KAFf90_write_i2(int16_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_i2(ctx, value)); }
std::int32_t __KAFf90_dusty_write_i2(int16_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_i2(ctx, value)); }
std::int32_t __KAFf90_lread_i2(int16_t *item) { return __KAFf90_lio_read_i2(ctx, item); }
std::int32_t __KAFf90_read_i(int32_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_i(ctx, item)); }
std::int32_t __KAFf90_dusty_read_i(int32_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_i(ctx, item)); }
std::int32_t __KAFf90_write_i(int32_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_i(ctx, value)); }
std::int32_t __KAFf90_dusty_write_i(int32_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_i(ctx, value)); }
std::int32_t __KAFf90_lread_i(int32_t *item) { return __KAFf90_lio_read_i(ctx, item); }
std::int32_t __KAFf90_read_i4(int64_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_i4(ctx, item)); }
std::int32_t __KAFf90_dusty_read_i4(int64_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_i4(ctx, item)); }
std::int32_t __KAFf90_write_i4(int64_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_i4(ctx, value)); }
std::int32_t __KAFf90_dusty_write_i4(int64_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_i4(ctx, value)); }
std::int32_t __KAFf90_lread_i4(int64_t *item) { return __KAFf90_lio_read_i4(ctx, item); }
std::int32_t __KAFf90_read_l1(int8_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_l1(ctx, item)); }
std::int32_t __KAFf90_dusty_read_l1(int8_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_l1(ctx, item)); }
std::int32_t __KAFf90_write_l1(int8_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_l1(ctx, value)); }
std::int32_t __KAFf90_dusty_write_l1(int8_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_l1(ctx, value)); }
std::int32_t __KAFf90_lread_l1(int8_t *item) { return __KAFf90_lio_read_l1(ctx, item); }
std::int32_t __KAFf90_read_l2(int16_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_l2(ctx, item)); }
std::int32_t __KAFf90_dusty_read_l2(int16_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_l2(ctx, item)); }
std::int32_t __KAFf90_write_l2(int16_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_l2(ctx, value)); }
std::int32_t __KAFf90_dusty_write_l2(int16_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_l2(ctx, value)); }
std::int32_t __KAFf90_lread_l2(int16_t *item) { return __KAFf90_lio_read_l2(ctx, item); }
std::int32_t __KAFf90_read_l(int32_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_l(ctx, item)); }
std::int32_t __KAFf90_dusty_read_l(int32_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_l(ctx, item)); }
std::int32_t __KAFf90_write_l(int32_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_l(ctx, value)); }
std::int32_t __KAFf90_dusty_write_l(int32_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_l(ctx, value)); }
std::int32_t __KAFf90_lread_l(int32_t *item) { return __KAFf90_lio_read_l(ctx, item); }
std::int32_t __KAFf90_read_l4(int64_t *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_l4(ctx, item)); }
std::int32_t __KAFf90_dusty_read_l4(int64_t *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_l4(ctx, item)); }
std::int32_t __KAFf90_write_l4(int64_t value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_l4(ctx, value)); }
std::int32_t __KAFf90_dusty_write_l4(int64_t value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_l4(ctx, value)); }
std::int32_t __KAFf90_lread_l4(int64_t *item) { return __KAFf90_lio_read_l4(ctx, item); }
std::int32_t __KAFf90_read_r(float *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_r(ctx, item)); }
std::int32_t __KAFf90_dusty_read_r(float *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_r(ctx, item)); }
// Kept as older object code expects it: a REAL goes through the DOUBLE
// PRECISION editor.
std::int32_t __KAFf90_write_r(float value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_d(ctx, static_cast<double>(value))); }
std::int32_t __KAFf90_dusty_write_r(float value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_r(ctx, value)); }
std::int32_t __KAFf90_lread_r(float *item) { return __KAFf90_lio_read_r(ctx, item); }
std::int32_t __KAFf90_read_d(double *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_d(ctx, item)); }
std::int32_t __KAFf90_dusty_read_d(double *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_d(ctx, item)); }
std::int32_t __KAFf90_write_d(double value) { return static_cast<std::int32_t>(__KAFf90_fmt_write_d(ctx, value)); }
std::int32_t __KAFf90_dusty_write_d(double value) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_d(ctx, value)); }
std::int32_t __KAFf90_lread_d(double *item) { return __KAFf90_lio_read_d(ctx, item); }
std::int32_t __KAFf90_read_c(float *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_c(ctx, item)); }
std::int32_t __KAFf90_read_dc(double *item) { return static_cast<std::int32_t>(__KAFf90_fmt_read_dc(ctx, item)); }
std::int32_t __KAFf90_dusty_read_c(float *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_c(ctx, item)); }
std::int32_t __KAFf90_dusty_read_dc(double *item) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_read_dc(ctx, item)); }
std::int32_t __KAFf90_write_c(float re, float im) { return static_cast<std::int32_t>(__KAFf90_fmt_write_c(ctx, re, im)); }
std::int32_t __KAFf90_write_dc(double re, double im) { return static_cast<std::int32_t>(__KAFf90_fmt_write_dc(ctx, re, im)); }
std::int32_t __KAFf90_dusty_write_c(float re, float im) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_c(ctx, re, im)); }
std::int32_t __KAFf90_dusty_write_dc(double re, double im) { return static_cast<std::int32_t>(__KAFf90_dusty_fmt_write_dc(ctx, re, im)); }
std::int32_t __KAFf90_read_ch(char *item, kaf_charlen len) { return static_cast<std::int32_t>(__KAFf90_fmt_read_ch(ctx, item, len)); }
std::int32_t __KAFf90_write_ch(const char *item, kaf_charlen len) { return static_cast<std::int32_t>(__KAFf90_fmt_write_ch(ctx, item, len)); }
std::int32_t __KAFf90_lread_c(float *item) { return __KAFf90_lio_read_c(ctx, item); }
std::int32_t __KAFf90_lread_dc(double *item) { return __KAFf90_lio_read_dc(ctx, item); }
std::int32_t __KAFf90_lread_ch(char *item, kaf_charlen len) { return __KAFf90_lio_read_ch(ctx, item, len); }
std::int32_t __KAFf90_lwrite_i(std::int32_t value) { return __KAFf90_lio_write_i(ctx, value); }
std::int32_t __KAFf90_lwrite_i4(std::int64_t value) { return __KAFf90_lio_write_i4(ctx, value); }
std::int32_t __KAFf90_lwrite_r(float value) { return __KAFf90_lio_write_r(ctx, value); }
std::int32_t __KAFf90_lwrite_d(double value) { return __KAFf90_lio_write_d(ctx, value); }
std::int32_t __KAFf90_lwrite_c(float re, float im) { return __KAFf90_lio_write_c(ctx, re, im); }
std::int32_t __KAFf90_lwrite_dc(double re, double im) { return __KAFf90_lio_write_dc(ctx, re, im); }
std::int32_t __KAFf90_lwrite_ch(const char *item, kaf_charlen len) { return __KAFf90_lio_write_ch(ctx, item, len); }
std::int32_t __KAFf90_lwrite_l(std::int32_t value) { return __KAFf90_lio_write_l(ctx, value); }
// Narrow values are sign-extended to the default kinds.
std::int32_t __KAFf90_lwrite_i1(std::int8_t value) { return __KAFf90_lio_write_i(ctx, static_cast<std::int32_t>(value)); }
std::int32_t __KAFf90_lwrite_i2(std::int16_t value) { return __KAFf90_lio_write_i(ctx, static_cast<std::int32_t>(value)); }
std::int32_t __KAFf90_lwrite_l1(std::int8_t value) { return __KAFf90_lio_write_l(ctx, static_cast<std::int32_t>(value)); }
std::int32_t __KAFf90_lwrite_l2(std::int16_t value) { return __KAFf90_lio_write_l(ctx, static_cast<std::int32_t>(value)); }
std::int32_t __KAFf90_lwrite_l4(std::int64_t value) { return __KAFf90_lio_write_l4(ctx, value); }

// ---- INQUIRE ----------------------------------------------------------------

// INQUIRE by FILE=: one (address, length) pair or address per specifier, null when absent.
std::int32_t __KAFf90_inquire_f(const char *file, std::size_t file_len,
    char *access, std::size_t access_len,
    char *action, std::size_t action_len,
    char *blank, std::size_t blank_len,
    char *delim, std::size_t delim_len,
    char *direct, std::size_t direct_len,
    char *form, std::size_t form_len,
    char *formatted, std::size_t formatted_len,
    std::int32_t *opened,
    std::int32_t *named,
    std::int64_t *nextrec,
    std::int32_t *number,
    char *pad, std::size_t pad_len,
    char *position, std::size_t position_len,
    char *read, std::size_t read_len,
    char *readwrite, std::size_t readwrite_len,
    std::int64_t *recl,
    char *sequential, std::size_t sequential_len,
    char *unformatted, std::size_t unformatted_len,
    char *write, std::size_t write_len,
    std::int32_t *exist, char *name, std::size_t name_len) {
  kaf_inquiry q;
  __KAFf90_inquire_file(&q, file, file_len, exist, name, name_len, nullptr, nullptr, 4);
  if (access) __KAFf90_inquire_query(&q, KAF_INQ_ACCESS, access, access_len);
  if (action) __KAFf90_inquire_query(&q, KAF_INQ_ACTION, action, action_len);
  if (blank) __KAFf90_inquire_query(&q, KAF_INQ_BLANK, blank, blank_len);
  if (delim) __KAFf90_inquire_query(&q, KAF_INQ_DELIM, delim, delim_len);
  if (direct) __KAFf90_inquire_query(&q, KAF_INQ_DIRECT, direct, direct_len);
  if (form) __KAFf90_inquire_query(&q, KAF_INQ_FORM, form, form_len);
  if (formatted) __KAFf90_inquire_query(&q, KAF_INQ_FORMATTED, formatted, formatted_len);
  if (opened) __KAFf90_inquire_query(&q, KAF_INQ_OPENED, opened, 0);
  if (named) __KAFf90_inquire_query(&q, KAF_INQ_NAMED, named, 0);
  if (nextrec) __KAFf90_inquire_query(&q, KAF_INQ_NEXTREC, nextrec, 0);
  if (number) {
    std::int64_t wide = 0;
    __KAFf90_inquire_query(&q, KAF_INQ_NUMBER, &wide, 8);
    *number = static_cast<std::int32_t>(wide);
  }
  if (pad) __KAFf90_inquire_query(&q, KAF_INQ_PAD, pad, pad_len);
  if (position) __KAFf90_inquire_query(&q, KAF_INQ_POSITION, position, position_len);
  if (read) __KAFf90_inquire_query(&q, KAF_INQ_READ, read, read_len);
  if (readwrite) __KAFf90_inquire_query(&q, KAF_INQ_READWRITE, readwrite, readwrite_len);
  if (recl) __KAFf90_inquire_query(&q, KAF_INQ_RECL, recl, 0);
  if (sequential) __KAFf90_inquire_query(&q, KAF_INQ_SEQUENTIAL, sequential, sequential_len);
  if (unformatted) __KAFf90_inquire_query(&q, KAF_INQ_UNFORMATTED, unformatted, unformatted_len);
  if (write) __KAFf90_inquire_query(&q, KAF_INQ_WRITE, write, write_len);
  __KAFf90_end_inquire(&q);
  return 0;
}
// INQUIRE by UNIT=.
std::int32_t __KAFf90_inquire_u(std::int32_t unit,
    char *access, std::size_t access_len,
    char *action, std::size_t action_len,
    char *blank, std::size_t blank_len,
    char *delim, std::size_t delim_len,
    char *direct, std::size_t direct_len,
    std::int32_t *exist,
    char *form, std::size_t form_len,
    char *formatted, std::size_t formatted_len,
    std::int32_t *opened,
    char *name, std::size_t name_len,
    std::int32_t *named,
    std::int64_t *nextrec,
    std::int32_t *number,
    char *pad, std::size_t pad_len,
    char *position, std::size_t position_len,
    char *read, std::size_t read_len,
    char *readwrite, std::size_t readwrite_len,
    std::int64_t *recl,
    char *sequential, std::size_t sequential_len,
    char *unformatted, std::size_t unformatted_len,
    char *write, std::size_t write_len) {
  kaf_inquiry q;
  __KAFf90_inquire_unit(&q, unit, nullptr, nullptr, 4);
  if (access) __KAFf90_inquire_query(&q, KAF_INQ_ACCESS, access, access_len);
  if (action) __KAFf90_inquire_query(&q, KAF_INQ_ACTION, action, action_len);
  if (blank) __KAFf90_inquire_query(&q, KAF_INQ_BLANK, blank, blank_len);
  if (delim) __KAFf90_inquire_query(&q, KAF_INQ_DELIM, delim, delim_len);
  if (direct) __KAFf90_inquire_query(&q, KAF_INQ_DIRECT, direct, direct_len);
  if (exist) __KAFf90_inquire_query(&q, KAF_INQ_EXIST, exist, 0);
  if (form) __KAFf90_inquire_query(&q, KAF_INQ_FORM, form, form_len);
  if (formatted) __KAFf90_inquire_query(&q, KAF_INQ_FORMATTED, formatted, formatted_len);
  if (opened) __KAFf90_inquire_query(&q, KAF_INQ_OPENED, opened, 0);
  if (name) __KAFf90_inquire_query(&q, KAF_INQ_NAME, name, name_len);
  if (named) __KAFf90_inquire_query(&q, KAF_INQ_NAMED, named, 0);
  if (nextrec) __KAFf90_inquire_query(&q, KAF_INQ_NEXTREC, nextrec, 0);
  if (number) {
    std::int64_t wide = 0;
    __KAFf90_inquire_query(&q, KAF_INQ_NUMBER, &wide, 8);
    *number = static_cast<std::int32_t>(wide);
  }
  if (pad) __KAFf90_inquire_query(&q, KAF_INQ_PAD, pad, pad_len);
  if (position) __KAFf90_inquire_query(&q, KAF_INQ_POSITION, position, position_len);
  if (read) __KAFf90_inquire_query(&q, KAF_INQ_READ, read, read_len);
  if (readwrite) __KAFf90_inquire_query(&q, KAF_INQ_READWRITE, readwrite, readwrite_len);
  if (recl) __KAFf90_inquire_query(&q, KAF_INQ_RECL, recl, 0);
  if (sequential) __KAFf90_inquire_query(&q, KAF_INQ_SEQUENTIAL, sequential, sequential_len);
  if (unformatted) __KAFf90_inquire_query(&q, KAF_INQ_UNFORMATTED, unformatted, unformatted_len);
  if (write) __KAFf90_inquire_query(&q, KAF_INQ_WRITE, write, write_len);
  __KAFf90_end_inquire(&q);
  return 0;
}

// 1 when the blank-padded value equals the upper-case keyword, lower-case
// letters of the value folded; else 0.
std::int32_t __KAFf90_cidata_match(const char *value, std::size_t length, const char *keyword) {
  const std::size_t k = std::strlen(keyword);
  if (k > length) return 0;
  for (std::size_t i = 0; i < k; ++i) {
    const unsigned char ch = static_cast<unsigned char>(value[i]);
    const unsigned char want = static_cast<unsigned char>(keyword[i]);
    if (std::islower(ch) ? (std::toupper(ch) != want && ch != want) : ch != want) return 0;
  }
  for (std::size_t i = k; i < length; ++i)
    if (value[i] != ' ') return 0;
  return 1;
}

}  // extern "C"
