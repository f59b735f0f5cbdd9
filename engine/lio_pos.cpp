// File positioning and completion statements of the engine for sequential
// and stream files: BACKSPACE, ENDFILE and WAIT; and the connection's DELIM=
// mode for list-directed output. A formatted stream file backspaces by its
// newlines like a sequential one.
#include <unistd.h>

#include <cstring>

#include "engine/unit.h"
#include "kafrts/listio.h"

namespace {

constexpr std::int32_t E_NO_BACKSPACE = 1049, E_ENDFILE_TWICE = 1073, E_BACKSPACE_LOST = 1078,
                       E_STREAM_BACKSPACE = 1119, E_WAIT_SYNC = 1133, E_WAIT_UNCONNECTED = 1134;

// Start of the record that ends just before `at` (its newline at at - 1,
// or none for a last record without one); -1 on a read failure.
long previous_record_start(std::FILE *f, long at) {
  if (at <= 0) return 0;
  long p = at - 1;
  char ch;
  if (std::fseek(f, p, SEEK_SET) != 0 || std::fread(&ch, 1, 1, f) != 1) return -1;
  if (ch != '\n') ++p;  // the last record has no newline: scan from its end
  char block[4096];
  while (p > 0) {
    const long from = p > static_cast<long>(sizeof block) ? p - static_cast<long>(sizeof block) : 0;
    const std::size_t n = static_cast<std::size_t>(p - from);
    if (std::fseek(f, from, SEEK_SET) != 0 || std::fread(block, 1, n, f) != n) return -1;
    for (std::size_t i = n; i-- > 0;)
      if (block[i] == '\n') return from + static_cast<long>(i) + 1;
    p = from;
  }
  return 0;
}

}  // namespace

extern "C" {

std::int32_t __KAFf90_backspace4(const char *src_file, std::int32_t src_line, std::int64_t number,
                                 std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  unit_rec *u = find_unit(number);
  if (!u) return 0;
  auto fail = [&](std::int32_t code) {
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, code, number);
  };
  if (u->standard || u->access == ACCESS_DIRECT) return fail(E_NO_BACKSPACE);
  if (u->access == ACCESS_STREAM && !u->formatted) return fail(E_STREAM_BACKSPACE);
  const bool after_end = u->at_end;
  const long at = settle_unit(u);
  if (at < 0) return fail(E_BACKSPACE_LOST);
  if (after_end) {
    // Back over the end of the file only: the next READ meets it again.
    place_unit(u, at);
    return 0;
  }
  long start;
  if (!u->formatted) {
    // The record before ends with its length marker.
    std::uint32_t len = 0;
    if (at < 8 || std::fseek(u->stream, at - 4, SEEK_SET) != 0 || std::fread(&len, 4, 1, u->stream) != 1)
      return fail(E_BACKSPACE_LOST);
    start = at - 8 - static_cast<long>(len);
  } else {
    start = previous_record_start(u->stream, at);
  }
  if (start < 0) return fail(E_BACKSPACE_LOST);
  place_unit(u, start);
  return 0;
}

std::int32_t __KAFf90_endfile4(const char *src_file, std::int32_t src_line, std::int64_t number,
                               std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  unit_rec *u = find_unit(number);
  if (!u) return 0;
  if (u->standard) {
    drain_output(u);
    std::fflush(u->stream);
    return 0;
  }
  if (u->access == ACCESS_DIRECT)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_NO_BACKSPACE, number);
  if (u->at_end)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_ENDFILE_TWICE, number);
  // A stream file may end within a record that a non-advancing READ left
  // partly read; a sequential file ends after it.
  const std::int64_t within = u->access == ACCESS_STREAM && u->rec_pending ? unit_position(u) : -1;
  long at = settle_unit(u);
  if (within >= 0) at = static_cast<long>(within);
  if (at >= 0 && ftruncate(fileno(u->stream), at) == 0) place_unit(u, at);
  u->at_end = 1;
  u->eof_seen = 1;
  u->head.status = static_cast<std::uint8_t>(u->head.status | UNIT_AT_EOF);
  return 0;
}

std::int32_t __KAFf90_waitf4(const char *src_file, std::int32_t src_line, std::int64_t number, const std::int64_t *id,
                             std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  unit_rec *u = find_unit(number);
  // Every transfer completes within its statement: there is nothing to wait
  // for, only the ID= checks.
  if (id && !u)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_WAIT_UNCONNECTED, number);
  if (id && !u->asynchronous)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_WAIT_SYNC, number);
  return 0;
}

std::int32_t __KAFf90_unit_delim(const void *unit) { return static_cast<const unit_rec *>(unit)->delim; }

std::int64_t __KAFf90_unit_recl(const void *unit) { return static_cast<const unit_rec *>(unit)->recl; }

}  // extern "C"
