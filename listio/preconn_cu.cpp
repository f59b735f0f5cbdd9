// The UCS-4 twins of the f90_preconn_io procedures: characters are narrowed
// to the default kind (ISO 8859-1) before the default procedure runs, and
// the options read back are widened into the arguments.
#include <cstring>

#include "listio/preconn.h"

namespace {

constexpr std::int32_t MSG_ARGUMENT_UNDEFINED = 189;

// A default-kind copy of a UCS-4 argument, in allocator storage (len bytes,
// at least one), or the fatal report when a character has no equivalent.
char *narrow(const std::uint32_t *arg, std::size_t len, const char *name) {
  if (!arg) return nullptr;
  char *s = static_cast<char *>(__KAFf90_oAlloc(len ? len : 1));
  for (std::size_t i = 0; i < len; ++i) {
    if (arg[i] > 0xFF) {
      __KAFf90_oDeAlloc(s, len ? len : 1);
      __KAFf90_rterr(nullptr, 0, MSG_ARGUMENT_UNDEFINED, name, "IOINIT");
    }
    s[i] = static_cast<char>(arg[i]);
  }
  return s;
}

void release(char *s, std::size_t len) {
  if (s) __KAFf90_oDeAlloc(s, len ? len : 1);
}

template <typename Logical>
void ioinit_cu(const std::uint32_t *blank, const std::uint32_t *position, const std::uint32_t *prefix,
               const Logical *verbose, kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  char *b = narrow(blank, bl, "BLANK");
  char *p = narrow(position, pl, "POSITION");
  char *x = narrow(prefix, xl, "PREFIX");
  std::int32_t v = verbose && *verbose ? 1 : 0;
  preconn_ioinit(b, bl, p, pl, x, xl, verbose ? &v : nullptr);
  release(b, bl);
  release(p, pl);
  release(x, xl);
}

void widen(std::uint32_t *dest, std::size_t len, const char *src) {
  for (std::size_t i = 0; i < len; ++i) dest[i] = static_cast<unsigned char>(src[i]);
}

template <typename Logical>
void get_cu(std::uint32_t *blank, std::uint32_t *position, std::uint32_t *prefix, Logical *verbose,
            kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  char b[8], p[8], x[32];
  std::int32_t v;
  // Fetched at their full stored lengths, then assigned (blank-padded or
  // truncated) into the wide arguments.
  preconn_get(b, 4, p, 6, x, 30, &v);
  auto put = [](std::uint32_t *dest, std::size_t len, const char *src, std::size_t n) {
    while (n > 0 && src[n - 1] == ' ') --n;
    if (n > len) n = len;
    widen(dest, n, src);
    for (std::size_t i = n; i < len; ++i) dest[i] = ' ';
  };
  if (blank) put(blank, bl, b, 4);
  if (position) put(position, pl, p, std::strlen(__KAFf90_pcio_position));
  if (prefix) put(prefix, xl, x, std::strlen(__KAFf90_pcio_prefix));
  if (verbose) *verbose = static_cast<Logical>(v ? 1 : 0);
}

}  // namespace

extern "C" {

void __KAFf90_MODULE_f90_preconn_io_MP_ioinit_CU(const std::uint32_t *blank, const std::uint32_t *position,
                                                 const std::uint32_t *prefix, const std::int32_t *verbose,
                                                 kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  ioinit_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit1_CU(const std::uint32_t *blank, const std::uint32_t *position,
                                                  const std::uint32_t *prefix, const std::int8_t *verbose,
                                                  kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  ioinit_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit2_CU(const std::uint32_t *blank, const std::uint32_t *position,
                                                  const std::uint32_t *prefix, const std::int16_t *verbose,
                                                  kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  ioinit_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit4_CU(const std::uint32_t *blank, const std::uint32_t *position,
                                                  const std::uint32_t *prefix, const std::int64_t *verbose,
                                                  kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  ioinit_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options1_CU(std::uint32_t *blank, std::uint32_t *position,
                                                            std::uint32_t *prefix, std::int8_t *verbose,
                                                            kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  get_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options2_CU(std::uint32_t *blank, std::uint32_t *position,
                                                            std::uint32_t *prefix, std::int16_t *verbose,
                                                            kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  get_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options3_CU(std::uint32_t *blank, std::uint32_t *position,
                                                            std::uint32_t *prefix, std::int32_t *verbose,
                                                            kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  get_cu(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options4_CU(std::uint32_t *blank, std::uint32_t *position,
                                                            std::uint32_t *prefix, std::int64_t *verbose,
                                                            kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  get_cu(blank, position, prefix, verbose, bl, pl, xl);
}

}  // extern "C"
