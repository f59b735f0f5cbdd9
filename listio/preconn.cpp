// The module f90_preconn_io: IOINIT validates and stores the options of
// preconnected units in the engine's variables; GET_PCIO_OPTIONS reads them
// back. Default-kind character arguments.
#include <cstdio>
#include <cstring>

#include "listio/keyword.h"
#include "listio/preconn.h"

namespace {

constexpr std::int32_t MSG_INVALID_VALUE = 199;
constexpr std::size_t kPrefixMax = 30;

// Stores the first keyword the value matches, or ends the program.
void set_keyword(char *store, const char *value, std::size_t len, const char *const *keywords,
                 const char *argument) {
  for (; *keywords; ++keywords) {
    if (str_eq_keyw(value, len, *keywords)) {
      std::strcpy(store, *keywords);
      return;
    }
  }
  __KAFf90_rterr(nullptr, 0, MSG_INVALID_VALUE, value, static_cast<std::int64_t>(len), argument);
}

// Fortran character assignment: blank-padded or truncated.
void assign(char *dest, std::size_t dest_len, const char *src, std::size_t src_len) {
  const std::size_t n = src_len < dest_len ? src_len : dest_len;
  std::memcpy(dest, src, n);
  std::memset(dest + n, ' ', dest_len - n);
}

}  // namespace

void preconn_ioinit(const char *blank, std::size_t blank_len, const char *position, std::size_t position_len,
                    const char *prefix, std::size_t prefix_len, const std::int32_t *verbose) {
  static constexpr const char *blanks[] = {"NULL", "ZERO", nullptr};
  static constexpr const char *positions[] = {"REWIND", "ASIS", "APPEND", nullptr};
  if (blank) set_keyword(__KAFf90_pcio_blank, blank, blank_len, blanks, "BLANK");
  if (position) set_keyword(__KAFf90_pcio_position, position, position_len, positions, "POSITION");
  if (prefix) {
    const std::size_t n = prefix_len < kPrefixMax ? prefix_len : kPrefixMax;
    std::memcpy(__KAFf90_pcio_prefix, prefix, n);
    __KAFf90_pcio_prefix[n] = '\0';
  }
  if (verbose) __KAFf90_pcio_verbose = *verbose;
  if (__KAFf90_pcio_verbose) {
    if (__KAFf90_pcio_prefix[0]) std::fprintf(stderr, "preconn_io: Initialising from %snn\n", __KAFf90_pcio_prefix);
    std::fprintf(stderr, "preconn_io: BLANK='%s', POSITION='%s'\n", __KAFf90_pcio_blank, __KAFf90_pcio_position);
  }
}

void preconn_get(char *blank, std::size_t blank_len, char *position, std::size_t position_len, char *prefix,
                 std::size_t prefix_len, std::int32_t *verbose) {
  if (blank) assign(blank, blank_len, __KAFf90_pcio_blank, 4);
  if (position) assign(position, position_len, __KAFf90_pcio_position, std::strlen(__KAFf90_pcio_position));
  if (prefix) assign(prefix, prefix_len, __KAFf90_pcio_prefix, std::strlen(__KAFf90_pcio_prefix));
  if (verbose) *verbose = __KAFf90_pcio_verbose;
}

namespace {

template <typename Logical>
void ioinit_kind(const char *blank, const char *position, const char *prefix, const Logical *verbose,
                 kaf_charlen bl, kaf_charlen pl, kaf_charlen xl) {
  std::int32_t v = verbose && *verbose ? 1 : 0;
  preconn_ioinit(blank, bl, position, pl, prefix, xl, verbose ? &v : nullptr);
}

template <typename Logical>
void get_kind(char *blank, char *position, char *prefix, Logical *verbose, kaf_charlen bl, kaf_charlen pl,
              kaf_charlen xl) {
  std::int32_t v;
  preconn_get(blank, bl, position, pl, prefix, xl, &v);
  if (verbose) *verbose = static_cast<Logical>(v ? 1 : 0);
}

}  // namespace

extern "C" {

void __KAFf90_MODULE_f90_preconn_io_MP_ioinit(const char *blank, const char *position, const char *prefix,
                                              const std::int32_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                              kaf_charlen xl) {
  preconn_ioinit(blank, bl, position, pl, prefix, xl, verbose);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit1(const char *blank, const char *position, const char *prefix,
                                               const std::int8_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                               kaf_charlen xl) {
  ioinit_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit2(const char *blank, const char *position, const char *prefix,
                                               const std::int16_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                               kaf_charlen xl) {
  ioinit_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_ioinit4(const char *blank, const char *position, const char *prefix,
                                               const std::int64_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                               kaf_charlen xl) {
  ioinit_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options1(char *blank, char *position, char *prefix,
                                                         std::int8_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                                         kaf_charlen xl) {
  get_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options2(char *blank, char *position, char *prefix,
                                                         std::int16_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                                         kaf_charlen xl) {
  get_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options3(char *blank, char *position, char *prefix,
                                                         std::int32_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                                         kaf_charlen xl) {
  get_kind(blank, position, prefix, verbose, bl, pl, xl);
}
void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options4(char *blank, char *position, char *prefix,
                                                         std::int64_t *verbose, kaf_charlen bl, kaf_charlen pl,
                                                         kaf_charlen xl) {
  get_kind(blank, position, prefix, verbose, bl, pl, xl);
}

}  // extern "C"
