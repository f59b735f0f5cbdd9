// The engine's unit record and unit table, shared by OPEN/CLOSE, the
// statement begin and end calls and the error exit.
#pragma once

#include <emmintrin.h>
#include <pthread.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "format/context.h"

enum unit_access : std::int32_t { ACCESS_SEQUENTIAL = 0, ACCESS_DIRECT = 1, ACCESS_STREAM = 2 };
enum unit_action : std::int32_t { ACTION_READ = 1, ACTION_WRITE = 2, ACTION_READWRITE = 3 };
enum unit_last_op : std::int32_t { LAST_NONE = 0, LAST_READ = 1, LAST_WRITE = 2 };

struct unit_rec {
  kaf_unit_head head;    // first: what the editing layer reads
  std::FILE *stream;
  char *name;            // NUL-terminated, allocator storage of name_size bytes
  std::size_t name_size;
  std::int32_t standard;  // 1 stdin, 2 stdout, 3 the runtime error stream, 0 a file
  std::int32_t scratch;
  std::int32_t formatted;
  std::int32_t access;
  std::int32_t action;
  std::int32_t position;  // 0 ASIS, 1 REWIND, 2 APPEND
  std::int32_t delim;     // 0 NONE, '\'' or '"'
  std::int32_t asynchronous;
  std::int64_t recl;      // 0: no limit
  std::int64_t next_rec;  // direct access: the record after the last one
                          // transferred (1 after OPEN); 0 while undefined
  std::int32_t last_op;
  std::int32_t at_end;    // a READ met the end of file
  // Output: committed records wait in wbuf[0, wlen); the record being built
  // follows them at wbuf + wlen (and stays there across a non-advancing
  // WRITE, kept_len characters long).
  char *wbuf;
  std::size_t wlen, wcap;
  std::int32_t kept_open;  // a non-advancing WRITE left its record open
  // Input: rbuf[rpos, rlen) is read but not consumed.
  char *rbuf;
  std::size_t rpos, rlen, rcap;
  std::int32_t eof_seen;   // the stream has nothing more
  // A non-advancing READ left its record partly read.
  std::int32_t rec_pending;
  char *rec;
  std::int64_t rec_len, rec_pos;
  // One statement at a time per unit (images are threads). A record that
  // leaves the table is kept for the next OPEN, never given back, so that a
  // statement that found it just before may still lock it and see that it
  // is stale (acquire_unit).
  pthread_mutex_t mutex;
  pthread_t owner;
  std::int32_t busy;
  unit_rec *next_spare;  // records kept for reuse
};

// The unit table's lock: recursive, since a fatal report met while it is
// held ends I/O (__KAFf90_io_finish) on the same thread.
struct table_guard {
  table_guard();
  ~table_guard();
  table_guard(const table_guard &) = delete;
  table_guard &operator=(const table_guard &) = delete;
};

// Takes the unit for the statement begun on ctx; a statement that is
// already running on this unit on this thread (I/O from a function called
// in an I/O list) is reported as recursive I/O.
void claim_unit(kaf_ioctx *ctx, unit_rec *u);
// Gives the unit back (at the end call, or when an error ended the
// statement); nothing when ctx holds no unit.
void release_unit(kaf_ioctx *ctx);
// find_unit and claim_unit in one: the unit of number, claimed for ctx, or
// null (nothing claimed) when none is connected. The unit a statement used
// last is found and claimed without the table's lock.
unit_rec *acquire_unit(kaf_ioctx *ctx, std::int64_t number);

// The unit of number, or null when none is connected (units 0, 5 and 6 are
// connected at first use unless closed).
unit_rec *find_unit(std::int64_t number);
// The unit connected to the file path names, or null.
unit_rec *find_unit_of_file(const char *path);
// Flushes committed output records to the stream.
bool drain_output(unit_rec *u);
// Ends a record left open by a non-advancing WRITE.
bool commit_kept_record(unit_rec *u);
// The first newline in [p, end), or null. Short records are the common
// case: the first 64 bytes are searched a word at a time before memchr.
inline char *find_newline(char *p, char *end) {
  char *stop = end - p > 64 ? p + 64 : end;
  while (stop - p >= 8) {
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    const std::uint64_t x = v ^ 0x0A0A0A0A0A0A0A0Au;
    const std::uint64_t zero = (x - 0x0101010101010101u) & ~x & 0x8080808080808080u;
    if (zero) return p + (std::countr_zero(zero) >> 3);
    p += 8;
  }
  while (p < stop) {
    if (*p == '\n') return p;
    ++p;
  }
  return p < end ? static_cast<char *>(std::memchr(p, '\n', static_cast<std::size_t>(end - p))) : nullptr;
}

// Reads the next record (without its newline) into *rec/*len; false at end
// of file. The record stays valid until the next call.
bool read_record(unit_rec *u, char **rec, std::int64_t *len);
// The same when the record is already buffered whole (the usual case).
inline bool read_buffered_record(unit_rec *u, char **rec, std::int64_t *len) {
  char *start = u->rbuf + u->rpos;
  char *nl = u->rpos < u->rlen ? find_newline(start, u->rbuf + u->rlen) : nullptr;
  if (!nl) return read_record(u, rec, len);
  *rec = start;
  *len = nl - start;
  u->rpos += static_cast<std::size_t>(nl - start) + 1;
  return true;
}
// Makes the stream ready to write after reads (truncating what follows).
void switch_to_writing(unit_rec *u);
// Ends a record left open, writes out what is buffered and returns the
// file position (0-based) after the last record read or written; -1 when
// the stream cannot tell.
long settle_unit(unit_rec *u);
// Forgets what was read ahead and places the stream at byte offset at,
// ready to read (a WRITE from there cuts the file there).
void place_unit(unit_rec *u, long at);
// Position (0-based byte offset) of the next character a transfer on u
// would take or give, counting what is buffered; -1 when unknown.
std::int64_t unit_position(unit_rec *u);
// Size of the connected file in bytes, buffered output included; -1 when
// it cannot be told (not a regular file).
std::int64_t unit_file_size(unit_rec *u);
// Grows wbuf so that at least need bytes are free after wlen + keep.
bool reserve_output(unit_rec *u, std::size_t keep, std::size_t need);

// Clears the transfer context at the start of a statement. Only what may
// be read before it is written is cleared: the format's group tables and
// the list-directed digit buffer (two thirds of the record) are written
// before they are read, and a statement with one item would otherwise pay
// for clearing them.
inline void clear_context(kaf_ioctx *c) {
  // Plain vector stores: for a few hundred bytes the string instruction a
  // memset becomes here costs more to start than the stores themselves.
  auto zero = [](void *at, std::size_t bytes) {
    auto *p = static_cast<char *>(at);
    const __m128i z = _mm_setzero_si128();
#pragma GCC unroll 16
    for (std::size_t i = 0; i + 16 <= bytes; i += 16) _mm_storeu_si128(reinterpret_cast<__m128i *>(p + i), z);
    if (bytes % 16) std::memset(p + bytes - bytes % 16, 0, bytes % 16);
  };
  zero(c, offsetof(kaf_ioctx, group_repeat));
  zero(&c->revert_pos, offsetof(kaf_ioctx, digits) - offsetof(kaf_ioctx, revert_pos));
  zero(&c->digits_heap, sizeof(kaf_ioctx) - offsetof(kaf_ioctx, digits_heap));
}

// Error exit for statements that have no transfer context (OPEN, CLOSE,
// REWIND): raises code with one insertion through __KAFf90_ioerr.
std::int32_t statement_error(const char *src_file, std::int32_t src_line, unit_rec *u,
                             std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                             std::int32_t flags, std::int32_t code, std::int64_t insertion);

// Engine-private statement bits (kaf_ioctx::stmt_bits), besides STMT_NONADVANCING.
inline constexpr std::uint64_t STMT_HAS_EOR = 2;    // EOR= present
inline constexpr std::uint64_t STMT_INPUT = 4;
inline constexpr std::uint64_t STMT_IOSTAT64 = 8;   // reserved: 64-bit IOSTAT=
inline constexpr std::uint64_t STMT_INTERNAL = 16;
inline constexpr std::uint64_t STMT_DONE = 32;      // an error ended the statement
inline constexpr std::uint64_t STMT_CLAIMED = 64;   // the statement holds its unit
