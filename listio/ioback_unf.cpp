// The legacy entries of unformatted and direct-access statements, and the
// chains between them and the engine's entries.
#include <cstddef>
#include <cstdint>

#include "kafrts.h"

namespace {
inline std::int32_t reduce(std::int32_t flags) { return flags ? 4 : 0; }
}  // namespace

// The legacy layer's one context (ioback.cpp).
kaf_ioctx *legacy_context();

extern "C" {

std::int32_t __KAFf90_read_unf_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                    std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_unf4(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_unf(kaf_ioctx *c, std::int64_t unit, std::int32_t *iostat, char *iomsg,
                               std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_unf_line(c, nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_unf_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                     std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_unf4(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_unf(kaf_ioctx *c, std::int64_t unit, std::int32_t *iostat, char *iomsg,
                                std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_unf_line(c, nullptr, 0, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_direct_unf_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                           std::int64_t record, std::int32_t *iostat, char *iomsg,
                                           std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_direct_unf4(c, file, line, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_direct_unf(kaf_ioctx *c, std::int64_t unit, std::int64_t record, std::int32_t *iostat,
                                      char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_direct_unf_line(c, nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_direct_unf_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                            std::int64_t record, std::int32_t *iostat, char *iomsg,
                                            std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_direct_unf4(c, file, line, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_direct_unf(kaf_ioctx *c, std::int64_t unit, std::int64_t record, std::int32_t *iostat,
                                       char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_direct_unf_line(c, nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_direct_fmt_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                           std::int64_t record, std::int32_t *iostat, char *iomsg,
                                           std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_direct_fmt4(c, file, line, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_direct_fmt(kaf_ioctx *c, std::int64_t unit, std::int64_t record, std::int32_t *iostat,
                                      char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_read_direct_fmt_line(c, nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_direct_fmt_line(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                            std::int64_t record, std::int32_t *iostat, char *iomsg,
                                            std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_direct_fmt4(c, file, line, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_write_direct_fmt(kaf_ioctx *c, std::int64_t unit, std::int64_t record, std::int32_t *iostat,
                                       char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_write_direct_fmt_line(c, nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_read_unf_block(kaf_ioctx *c, void *address, std::int64_t bytes) {
  return __KAFf90_read_unf2_block(c, address, bytes, 0);
}
std::int32_t __KAFf90_write_unf_block(kaf_ioctx *c, const void *address, std::int64_t bytes) {
  return __KAFf90_write_unf2_block(c, address, bytes, 0);
}
std::int32_t __KAFf90_read_unf_dv(kaf_ioctx *c, std::int32_t type_code, void *base, const std::int64_t *dims,
                                  std::int64_t element_size) {
  return __KAFf90_read_unf2_dv(c, type_code, base, dims, element_size, 0);
}
std::int32_t __KAFf90_write_unf_dv(kaf_ioctx *c, std::int32_t type_code, const void *base, const std::int64_t *dims,
                                   std::int64_t element_size) {
  return __KAFf90_write_unf2_dv(c, type_code, base, dims, element_size, 0);
}

std::int32_t __KAFf90_dread(std::int32_t unit, const char *fmt, std::int64_t fmt_len, std::int32_t record,
                            std::int32_t, std::int32_t flags) {
  kaf_ioctx *c = legacy_context();
  if (std::int32_t s = __KAFf90_read_direct_fmt(c, unit, record, nullptr, nullptr, 0, flags)) return s;
  return static_cast<std::int32_t>(__KAFf90_establish_format(c, fmt, fmt_len, 1));
}
std::int32_t __KAFf90_dwrite(std::int32_t unit, const char *fmt, std::int64_t fmt_len, std::int32_t record,
                             std::int32_t flags) {
  kaf_ioctx *c = legacy_context();
  if (std::int32_t s = __KAFf90_write_direct_fmt(c, unit, record, nullptr, nullptr, 0, reduce(flags))) return s;
  return static_cast<std::int32_t>(__KAFf90_establish_format(c, fmt, fmt_len, 2));
}
std::int32_t __KAFf90_readu(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_read_unf(legacy_context(), unit, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_writeu(std::int32_t unit, std::int32_t flags) {
  return __KAFf90_write_unf(legacy_context(), unit, nullptr, nullptr, 0, reduce(flags));
}
std::int32_t __KAFf90_dreadu(std::int32_t unit, std::int32_t record, std::int32_t flags) {
  return __KAFf90_read_direct_unf(legacy_context(), unit, record, nullptr, nullptr, 0, flags);
}
std::int32_t __KAFf90_dwriteu(std::int32_t unit, std::int32_t record, std::int32_t flags) {
  return __KAFf90_write_direct_unf(legacy_context(), unit, record, nullptr, nullptr, 0, reduce(flags));
}
std::int32_t __KAFf90_uread(void *address, std::int64_t bytes) {
  return __KAFf90_read_unf_block(legacy_context(), address, bytes);
}
std::int32_t __KAFf90_uwrite(const void *address, std::int64_t bytes) {
  return __KAFf90_write_unf_block(legacy_context(), address, bytes);
}
// A numeric descriptor: base address, offset, then the dimensions.
std::int32_t __KAFf90_ureada(std::int32_t type_code, const std::int64_t *desc, std::int64_t element_size) {
  return __KAFf90_read_unf_dv(legacy_context(), type_code, reinterpret_cast<void *>(desc[0]), desc + 2,
                              element_size);
}
std::int32_t __KAFf90_uwritea(std::int32_t type_code, const std::int64_t *desc, std::int64_t element_size) {
  return __KAFf90_write_unf_dv(legacy_context(), type_code, reinterpret_cast<const void *>(desc[0]), desc + 2,
                               element_size);
}
// A character descriptor: base address, character length, offset, then the
// dimensions.
std::int32_t __KAFf90_ureadcha(std::int32_t type_code, const std::int64_t *desc, std::int64_t count) {
  return __KAFf90_read_unf_dv(legacy_context(), type_code, reinterpret_cast<void *>(desc[0]), desc + 3,
                              count * desc[1]);
}
std::int32_t __KAFf90_uwritecha(std::int32_t type_code, const std::int64_t *desc, std::int64_t count) {
  return __KAFf90_write_unf_dv(legacy_context(), type_code, reinterpret_cast<const void *>(desc[0]), desc + 3,
                               count * desc[1]);
}
std::int32_t __KAFf90_endreadu(void) { return __KAFf90_end_read_unf(legacy_context()); }
std::int32_t __KAFf90_endwriteu(void) { return __KAFf90_end_write_unf(legacy_context()); }
std::int32_t __KAFf90_enddread(void) { return __KAFf90_end_read_direct_fmt(legacy_context()); }
std::int32_t __KAFf90_enddwrite(void) { return __KAFf90_end_write_direct_fmt(legacy_context()); }
std::int32_t __KAFf90_enddreadu(void) { return __KAFf90_end_read_direct_unf(legacy_context()); }
std::int32_t __KAFf90_enddwriteu(void) { return __KAFf90_end_write_direct_unf(legacy_context()); }

}  // extern "C"

// Unformatted READ and WRITE with options: REC= (the address of the record
// number, or null for a sequential statement), IOSTAT= and IOMSG=.
extern "C" {

std::int32_t __KAFf90_readu_optf2g(const char *file, std::int32_t line, std::int32_t unit,
                                   const std::int32_t *record, std::int32_t *iostat, char *iomsg,
                                   std::size_t iomsg_len, std::int32_t flags) {
  std::int64_t wide = record ? *record : 0;
  return __KAFf90_readu_optf4(legacy_context(), file, line, unit, record ? &wide : nullptr, iostat, iomsg,
                              iomsg_len, flags);
}
std::int32_t __KAFf90_readu_optf2(std::int32_t unit, const std::int32_t *record, std::int32_t *iostat, char *iomsg,
                                  std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_readu_optf2g(nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_readu_optf(std::int32_t unit, const std::int32_t *record, std::int32_t *iostat,
                                 std::int32_t flags) {
  return __KAFf90_readu_optf2(unit, record, iostat, nullptr, 0, flags);
}
std::int32_t __KAFf90_readu_opt(std::int32_t unit, const std::int32_t *record, std::int32_t flags) {
  return __KAFf90_readu_optf(unit, record, nullptr, flags);
}

std::int32_t __KAFf90_writeu_optf2g(const char *file, std::int32_t line, std::int32_t unit,
                                    const std::int32_t *record, std::int32_t *iostat, char *iomsg,
                                    std::size_t iomsg_len, std::int32_t flags) {
  std::int64_t wide = record ? *record : 0;
  return __KAFf90_writeu_opt4(legacy_context(), file, line, unit, record ? &wide : nullptr, iostat, iomsg,
                              iomsg_len, reduce(flags));
}
std::int32_t __KAFf90_writeu_optf2(std::int32_t unit, const std::int32_t *record, std::int32_t *iostat,
                                   char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return __KAFf90_writeu_optf2g(nullptr, 0, unit, record, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_writeu_optf_line(const char *file, std::int32_t line, std::int32_t unit,
                                       const std::int32_t *record, std::int32_t *iostat, std::int32_t flags) {
  return __KAFf90_writeu_optf2g(file, line, unit, record, iostat, nullptr, 0, flags);
}
std::int32_t __KAFf90_writeu_optf(std::int32_t unit, const std::int32_t *record, std::int32_t *iostat,
                                  std::int32_t flags) {
  return __KAFf90_writeu_optf_line(nullptr, 0, unit, record, iostat, flags);
}
std::int32_t __KAFf90_writeu_opt(std::int32_t unit, const std::int32_t *record, std::int32_t flags) {
  return __KAFf90_writeu_optf(unit, record, nullptr, flags);
}

}  // extern "C"
