// Namelist statements of the legacy entry layer (readn, writen) and the
// forwarders of the engine's namelist transfer.
#include "format/context.h"
#include "kafrts.h"

kaf_ioctx *legacy_context();

extern "C" {

std::int32_t __KAFf90_do_read_namelist(kaf_ioctx *ctx, const kaf_nml_group *group) {
  return __KAFf90_do_read_namelist2(ctx, group, nullptr, 0);
}

std::int32_t __KAFf90_do_write_namelist(kaf_ioctx *ctx, const kaf_nml_group *group) {
  return __KAFf90_do_write_namelist2(ctx, group, nullptr, 0);
}

// The whole statement in one call; a non-zero status skips what follows.
std::int32_t __KAFf90_readn(std::int32_t unit, const kaf_nml_group *group, std::int32_t flags) {
  kaf_ioctx *c = legacy_context();
  if (std::int32_t s = __KAFf90_read_sequential(c, unit, nullptr, nullptr, 0, flags)) return s;
  if (std::int32_t s = __KAFf90_do_read_namelist(c, group)) return s;
  return __KAFf90_end_read_sequential(c);
}

// The write side keeps only the fact that an error branch or IOSTAT= is
// present.
std::int32_t __KAFf90_writen(std::int32_t unit, const kaf_nml_group *group, std::int32_t flags) {
  kaf_ioctx *c = legacy_context();
  if (std::int32_t s = __KAFf90_write_sequential(c, unit, nullptr, nullptr, 0, flags ? 4 : 0)) return s;
  if (std::int32_t s = __KAFf90_do_write_namelist(c, group)) return s;
  return __KAFf90_end_write_sequential(c);
}

}  // extern "C"
