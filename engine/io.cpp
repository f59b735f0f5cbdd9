// The error exit of every I/O statement: IOSTAT=, IOMSG=, ERR=, END= and
// EOR=, or the fatal report.
#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "engine/unit.h"

namespace {

// Catalogue text of an I/O code: end conditions have texts of their own,
// every other code c is text c - 596.
std::int32_t message_of(std::int32_t code, bool internal) {
  if (code == -1) return internal ? 347 : 346;
  if (code == -2) return internal ? 349 : 348;
  return code - 596;
}

bool handled(const kaf_ioctx &c, std::int32_t code) {
  const bool err = c.flags & IOF_ERR;
  if (code == -1) return err || (c.flags & IOF_END);
  if (code == -2) return err || (c.stmt_bits & STMT_HAS_EOR);
  return err;
}

}  // namespace

extern "C" std::uint64_t __KAFf90_ioerr(kaf_ioctx *ctx, std::int32_t code, ...) {
  kaf_ioctx &c = *ctx;
  const bool internal = c.internal != nullptr || (c.stmt_bits & STMT_INTERNAL);
  const std::int32_t number = message_of(code, internal);
  c.error_code = code;
  c.stmt_bits |= STMT_DONE;
  release_unit(&c);  // the statement is over, whether or not its end call comes
  va_list args;
  va_start(args, code);
  if (handled(c, code)) {
    if (auto *iostat = reinterpret_cast<std::int32_t *>(c.iostat_var)) *iostat = code;
    if (auto *iomsg = reinterpret_cast<char *>(c.iomsg_addr)) {
      char text[1024];
      std::memset(text, 0, sizeof text);
      __KAFf90_rtstringv(text, sizeof text - 1, number, args);
      const std::size_t n = std::min(std::strlen(text), static_cast<std::size_t>(c.iomsg_len));
      std::memcpy(iomsg, text, n);
      std::memset(iomsg + n, ' ', c.iomsg_len - n);
    }
    va_end(args);
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(code));
  }
  __KAFf90_rterr1v(c.src_file, c.src_line, number, args);
  va_end(args);
  auto *u = static_cast<unit_rec *>(c.unit);
  if (internal || !u) __KAFf90_rtcrash2(351);
  __KAFf90_rtcrash2(350, static_cast<std::int32_t>(u->head.number), static_cast<const void *>(u));
}
