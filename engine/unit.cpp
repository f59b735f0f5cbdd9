// The unit table: preconnected units, OPEN, CLOSE, REWIND, the buffered
// record traffic between units and their streams, and the end of all I/O.
//
// Decisions:
// - Units 5, 6 and 0 are connected at first use to standard input, standard
//   output and the runtime error stream; a CLOSE disconnects them for good.
// - An unconnected unit is an error (1048), not an implicit OPEN.
// - ENCODING= accepts DEFAULT (ISO 8859-1 bytes), UTF-8, ASCII and SHIFT_JIS
//   (Shift-JIS bytes) for files; 16- and 32-bit records exist only in
//   internal files.
// - Formatted sequential transfers take sequential and stream units;
//   direct-access and unformatted units are refused (1050, 1052).
// - NEWUNIT= numbers count down from -10.
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/unit.h"
#include "engine/lio_pcio.h"

namespace {

constexpr std::size_t READ_CHUNK = 1 << 16;
constexpr std::size_t WRITE_CHUNK = 1 << 16;

constexpr int E_UNIT_RANGE = 1047, E_NOT_CONNECTED_OLD = 1055, E_SCRATCH_FILE = 1056,
              E_REOPEN_STATUS = 1057, E_REOPEN_ACCESS = 1058, E_REOPEN_FORM = 1059,
              E_REOPEN_RECL = 1060, E_REOPEN_ACTION = 1061, E_REOPEN_POSITION = 1062,
              E_STATUS = 1063, E_ACCESS = 1064, E_FORM = 1065, E_BLANK = 1066,
              E_POSITION = 1067, E_ACTION = 1068, E_DELIM = 1069, E_PAD = 1070,
              E_DIRECT_RECL = 1071, E_SCRATCH_KEEP = 1072, E_NAME_LONG = 1074,
              E_NO_OLD = 1075, E_NEW_EXISTS = 1076, E_REWIND = 1077, E_OPEN_FAILED = 1083,
              E_NO_FILE = 1112, E_RECL = 1113, E_DIRECT_POSITION = 1116, E_STREAM_RECL = 1118,
              E_DECIMAL = 1122, E_ROUND = 1123, E_SIGN = 1124, E_ENCODING = 1126,
              E_UNF_DELIM = 1131, E_UNF_PAD = 1132, E_NO_NEWUNIT = 1140, E_NEWUNIT = 1141,
              E_WRITE_FAILED = 1152;

constexpr std::size_t NAME_MAX_BYTES = 4096;

unit_rec **table = nullptr;  // open units
std::size_t table_count = 0, table_cap = 0;
// The unit found last, read without the table's lock by acquire_unit;
// table_epoch changes whenever a record leaves the table, so that a lookup
// that raced with a CLOSE sees it.
std::atomic<unit_rec *> last_found{nullptr};
std::atomic<std::uint64_t> table_epoch{0};
unit_rec *spare_units = nullptr;  // records that left the table
bool standard_closed[3] = {false, false, false};  // 0, 5, 6
std::int64_t next_newunit = -10;
bool finishing = false;
pthread_mutex_t table_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

int standard_slot(std::int64_t n) { return n == 0 ? 0 : n == 5 ? 1 : n == 6 ? 2 : -1; }

void set_name(unit_rec *u, const char *text, std::size_t len) {
  if (u->name) __KAFf90_oDeAlloc(u->name, u->name_size);
  u->name_size = len + 1;
  u->name = static_cast<char *>(__KAFf90_oAlloc(u->name_size));
  std::memcpy(u->name, text, len);
  u->name[len] = 0;
}

unit_rec *new_unit(std::int64_t number) {
  unit_rec *u = spare_units;
  if (u) {
    // Its mutex stays as it is: a statement that raced with the CLOSE may
    // still hold it for a moment.
    spare_units = u->next_spare;
    std::memset(static_cast<void *>(u), 0, offsetof(unit_rec, mutex));
    u->next_spare = nullptr;
  } else {
    u = static_cast<unit_rec *>(__KAFf90_zoAlloc(sizeof(unit_rec)));
    pthread_mutex_init(&u->mutex, nullptr);
  }
  u->head.number = number;
  u->head.decimal_char = '.';
  u->head.pad_yes = 1;
  u->head.sign_mode = SIGN_DEFAULT;
  u->head.encoding = ENC_LATIN1;
  u->formatted = 1;
  u->action = ACTION_READWRITE;
  u->delim = 0;
  return u;
}

void add_unit(unit_rec *u) {
  if (table_count == table_cap) {
    const std::size_t cap = table_cap ? table_cap * 2 : 16;
    table = static_cast<unit_rec **>(table ? __KAFf90_ReAlloc(table, table_cap * sizeof *table, cap * sizeof *table)
                                           : __KAFf90_oAlloc(cap * sizeof *table));
    table_cap = cap;
  }
  table[table_count++] = u;
}

void free_unit(unit_rec *u) {
  for (std::size_t i = 0; i < table_count; ++i)
    if (table[i] == u) {
      table[i] = table[--table_count];
      break;
    }
  if (last_found.load(std::memory_order_relaxed) == u) last_found.store(nullptr, std::memory_order_relaxed);
  table_epoch.fetch_add(1, std::memory_order_release);
  if (u->name) __KAFf90_oDeAlloc(u->name, u->name_size);
  if (u->wbuf) __KAFf90_oDeAlloc(u->wbuf, u->wcap);
  if (u->rbuf) __KAFf90_oDeAlloc(u->rbuf, u->rcap);
  u->name = u->wbuf = u->rbuf = nullptr;
  u->head.number = -0x7fffffffffffffff;  // matches no unit
  u->next_spare = spare_units;
  spare_units = u;
}

unit_rec *preconnect(std::int64_t number) {
  unit_rec *u = new_unit(number);
  if (number == 5) {
    u->stream = stdin;
    u->standard = 1;
    u->action = ACTION_READ;
  } else if (number == 6) {
    u->stream = stdout;
    u->standard = 2;
    u->action = ACTION_WRITE;
  } else {
    u->stream = __KAFf90_runtime_error_file ? __KAFf90_runtime_error_file : stderr;
    u->standard = 3;
    u->action = ACTION_WRITE;
  }
  // The options set through the f90_preconn_io module apply from the moment
  // the unit is connected.
  apply_pcio_options(u);
  add_unit(u);
  return u;
}

// Case-insensitive comparison of a Fortran value (trailing blanks ignored)
// with an upper-case keyword.
bool match(const char *value, std::size_t len, const char *keyword) {
  while (len > 0 && value[len - 1] == ' ') --len;
  std::size_t k = std::strlen(keyword);
  if (k != len) return false;
  for (std::size_t i = 0; i < len; ++i) {
    char ch = value[i];
    if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 32);
    if (ch != keyword[i]) return false;
  }
  return true;
}

// Index of the keyword the value matches, -1 for none, -2 when absent.
int choose(const char *value, std::size_t len, std::initializer_list<const char *> keywords) {
  if (!value) return -2;
  int i = 0;
  for (const char *k : keywords) {
    if (match(value, len, k)) return i;
    ++i;
  }
  return -1;
}

bool write_all(unit_rec *u, const char *p, std::size_t n) {
  return n == 0 || std::fwrite(p, 1, n, u->stream) == n;
}

void close_stream(unit_rec *u, bool remove_file) {
  commit_kept_record(u);
  drain_output(u);
  if (u->standard) {
    std::fflush(u->stream);
    standard_closed[standard_slot(u->head.number)] = true;
  } else if (u->stream) {
    std::fclose(u->stream);
    if (remove_file && u->name) unlink(u->name);
  }
  u->stream = nullptr;
}

}  // namespace

table_guard::table_guard() { pthread_mutex_lock(&table_mutex); }
table_guard::~table_guard() { pthread_mutex_unlock(&table_mutex); }

void claim_unit(kaf_ioctx *ctx, unit_rec *u) {
  if (u->busy && pthread_equal(u->owner, pthread_self()))
    __KAFf90_rterr(ctx->src_file, ctx->src_line, 194, static_cast<std::int32_t>(u->head.number));
  pthread_mutex_lock(&u->mutex);
  u->owner = pthread_self();
  u->busy = 1;
  ctx->stmt_bits |= STMT_CLAIMED;
}

void release_unit(kaf_ioctx *ctx) {
  if (!(ctx->stmt_bits & STMT_CLAIMED)) return;
  ctx->stmt_bits &= ~STMT_CLAIMED;
  auto *u = static_cast<unit_rec *>(ctx->unit);
  u->busy = 0;
  pthread_mutex_unlock(&u->mutex);
}

unit_rec *find_unit(std::int64_t number) {
  table_guard guard;
  unit_rec *last = last_found.load(std::memory_order_relaxed);
  if (last && last->head.number == number) return last;
  unit_rec *u = nullptr;
  for (std::size_t i = 0; i < table_count && !u; ++i)
    if (table[i]->head.number == number) u = table[i];
  const int slot = standard_slot(number);
  if (!u && slot >= 0 && !standard_closed[slot]) u = preconnect(number);
  if (u) last_found.store(u, std::memory_order_release);
  return u;
}

unit_rec *acquire_unit(kaf_ioctx *ctx, std::int64_t number) {
  // The unit of the last lookup, claimed and then confirmed: if no record
  // left the table meanwhile, it is still the connection of number. A
  // stale record is never given back to the allocator, so claiming it is
  // safe; its number may be read while a CLOSE recycles it, and then the
  // epoch has moved and the lookup starts again under the lock.
  const std::uint64_t epoch = table_epoch.load(std::memory_order_acquire);
  unit_rec *u = last_found.load(std::memory_order_acquire);
  if (u && u->head.number == number) {
    claim_unit(ctx, u);
    if (table_epoch.load(std::memory_order_acquire) == epoch) return u;
    ctx->unit = u;
    release_unit(ctx);
  }
  u = find_unit(number);
  if (u) claim_unit(ctx, u);
  return u;
}

unit_rec *find_unit_of_file(const char *path) {
  // The same file may be named in many ways: compare what the names lead to.
  struct stat named;
  if (stat(path, &named) != 0) return nullptr;
  table_guard guard;
  for (std::size_t i = 0; i < table_count; ++i) {
    unit_rec *u = table[i];
    struct stat open_file;
    if (!u->stream || u->standard || fstat(fileno(u->stream), &open_file) != 0) continue;
    if (open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino) return u;
  }
  return nullptr;
}

bool reserve_output(unit_rec *u, std::size_t keep, std::size_t need) {
  if (u->wlen + keep + need <= u->wcap) return true;
  if (u->wlen > 0) {  // room by writing out the committed records
    if (!drain_output(u)) return false;
    if (keep + need <= u->wcap) return true;
  }
  std::size_t cap = u->wcap ? u->wcap : WRITE_CHUNK;
  while (cap < keep + need) cap *= 2;
  char *p = static_cast<char *>(u->wbuf ? __KAFf90_ReAlloc(u->wbuf, u->wcap, cap) : __KAFf90_oAlloc(cap));
  if (!p) return false;
  u->wbuf = p;
  u->wcap = cap;
  return true;
}

bool drain_output(unit_rec *u) {
  if (u->wlen == 0) return true;
  const bool ok = write_all(u, u->wbuf, u->wlen);
  // A record still being built moves to the front.
  const std::size_t tail = u->kept_open ? static_cast<std::size_t>(u->head.kept_len) : 0;
  if (tail) std::memmove(u->wbuf, u->wbuf + u->wlen, tail);
  u->wlen = 0;
  return ok;
}

bool commit_kept_record(unit_rec *u) {
  if (!u->kept_open) return true;
  const std::size_t len = static_cast<std::size_t>(u->head.kept_len);
  const bool ok = reserve_output(u, len, 1);  // may move the open record
  u->kept_open = 0;
  u->head.kept_len = 0;
  if (!ok) return false;
  u->wbuf[u->wlen + len] = '\n';
  u->wlen += len + 1;
  return true;
}

void switch_to_writing(unit_rec *u) {
  if (u->last_op == LAST_READ && !u->standard && u->stream) {
    // Writing ends the file here: drop what was read ahead and cut the rest.
    // A stream file is written from its position, which may lie within a
    // record a non-advancing READ left; a sequential one after that record.
    const std::int64_t within = u->access == ACCESS_STREAM && u->rec_pending ? unit_position(u) : -1;
    const std::size_t unread = u->rlen - u->rpos;
    if (within >= 0)
      std::fseek(u->stream, static_cast<long>(within), SEEK_SET);
    else
      std::fseek(u->stream, -static_cast<long>(unread), SEEK_CUR);
    const long at = std::ftell(u->stream);
    if (at >= 0 && ftruncate(fileno(u->stream), at) != 0) errno = 0;
    u->rpos = u->rlen = 0;
    u->eof_seen = 0;
  }
  u->rec_pending = 0;
  u->last_op = LAST_WRITE;
}

long settle_unit(unit_rec *u) {
  commit_kept_record(u);
  drain_output(u);
  std::fflush(u->stream);
  long at = std::ftell(u->stream);
  if (u->last_op == LAST_READ && at >= 0) at -= static_cast<long>(u->rlen - u->rpos);
  return at;
}

void place_unit(unit_rec *u, long at) {
  std::fseek(u->stream, at, SEEK_SET);
  u->rpos = u->rlen = 0;
  u->eof_seen = 0;
  u->rec_pending = 0;
  u->at_end = 0;
  u->head.status = static_cast<std::uint8_t>(u->head.status & ~UNIT_AT_EOF);
  u->last_op = LAST_READ;
}

std::int64_t unit_position(unit_rec *u) {
  if (!u->stream) return -1;
  const long at = std::ftell(u->stream);
  if (at < 0) return -1;
  if (u->last_op == LAST_WRITE) {
    // The stream stands where the buffered records will go.
    return at + static_cast<std::int64_t>(u->wlen) + (u->kept_open ? u->head.kept_len : 0);
  }
  const std::int64_t buffer_start = at - static_cast<std::int64_t>(u->rlen);
  // Within a record that a non-advancing READ left partly read.
  if (u->rec_pending) return buffer_start + (u->rec - u->rbuf) + u->rec_pos;
  return buffer_start + static_cast<std::int64_t>(u->rpos);
}

std::int64_t unit_file_size(unit_rec *u) {
  struct stat st;
  if (!u->stream || fstat(fileno(u->stream), &st) != 0 || !S_ISREG(st.st_mode)) return -1;
  std::int64_t size = st.st_size;
  if (u->last_op == LAST_WRITE) {
    const std::int64_t end = unit_position(u);
    if (end > size) size = end;
  }
  return size;
}

bool read_record(unit_rec *u, char **rec, std::int64_t *len) {
  for (;;) {
    char *start = u->rbuf + u->rpos;
    const std::size_t have = u->rlen - u->rpos;
    if (char *nl = have ? find_newline(start, start + have) : nullptr) {
      *rec = start;
      *len = nl - start;
      u->rpos += static_cast<std::size_t>(nl - start) + 1;
      return true;
    }
    if (u->eof_seen) {
      if (have == 0) return false;
      *rec = start;  // a last record without its newline
      *len = static_cast<std::int64_t>(have);
      u->rpos = u->rlen;
      return true;
    }
    // Keep the partial record and read more behind it.
    if (u->rpos > 0) {
      std::memmove(u->rbuf, start, have);
      u->rpos = 0;
      u->rlen = have;
    }
    if (u->rcap - u->rlen < READ_CHUNK / 2) {
      const std::size_t cap = u->rcap ? u->rcap * 2 : READ_CHUNK;
      char *p = static_cast<char *>(u->rbuf ? __KAFf90_ReAlloc(u->rbuf, u->rcap, cap) : __KAFf90_oAlloc(cap));
      if (!p) return false;
      u->rbuf = p;
      u->rcap = cap;
    }
    std::size_t got;
    if (u->standard == 1) {  // a line at a time, so that a terminal is not waited for
      got = 0;
      int ch;
      while (u->rlen + got < u->rcap && (ch = std::getc(u->stream)) != EOF) {
        u->rbuf[u->rlen + got++] = static_cast<char>(ch);
        if (ch == '\n') break;
      }
      if (got == 0) u->eof_seen = 1;
    } else {
      got = std::fread(u->rbuf + u->rlen, 1, u->rcap - u->rlen, u->stream);
      if (got == 0) u->eof_seen = 1;
    }
    u->rlen += got;
  }
}

std::int32_t statement_error(const char *src_file, std::int32_t src_line, unit_rec *u,
                             std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                             std::int32_t flags, std::int32_t code, std::int64_t insertion) {
  kaf_ioctx ctx;
  std::memset(&ctx, 0, sizeof ctx);
  ctx.unit = u;
  ctx.flags = static_cast<std::uint32_t>(flags);
  ctx.iostat_var = reinterpret_cast<std::uint64_t>(iostat);
  ctx.iomsg_addr = reinterpret_cast<std::uint64_t>(iomsg);
  ctx.iomsg_len = iomsg_len;
  ctx.src_file = src_file;
  ctx.src_line = src_line;
  return static_cast<std::int32_t>(__KAFf90_ioerr(&ctx, code, insertion));
}

extern "C" {

std::int32_t __KAFf90_openf4x(const char *src_file, std::int32_t src_line, std::int64_t number,
                              const kaf_open_spec *s) {
  table_guard guard;
  // A record describing the connection being made, for messages.
  unit_rec proto;
  std::memset(&proto, 0, sizeof proto);
  proto.head.number = number;
  proto.formatted = 1;
  auto fail = [&](std::int32_t code, std::int64_t insertion) {
    const std::int32_t status = statement_error(src_file, src_line, &proto, s->iostat, s->iomsg,
                                                s->iomsg_len, s->flags, code, insertion);
    if (proto.name) __KAFf90_oDeAlloc(proto.name, proto.name_size);
    proto.name = nullptr;
    return status;
  };
  if (s->iostat) *s->iostat = 0;
  const int status = choose(s->status, s->status_len, {"OLD", "NEW", "SCRATCH", "REPLACE", "UNKNOWN"});
  const int access = choose(s->access, s->access_len, {"SEQUENTIAL", "DIRECT", "STREAM"});
  const int form = choose(s->form, s->form_len, {"FORMATTED", "UNFORMATTED"});
  const int action = choose(s->action, s->action_len, {"READ", "WRITE", "READWRITE"});
  const int position = choose(s->position, s->position_len, {"ASIS", "REWIND", "APPEND"});
  const int pad = choose(s->pad, s->pad_len, {"YES", "NO"});
  const int blank = choose(s->blank, s->blank_len, {"NULL", "ZERO"});
  const int decimal = choose(s->decimal, s->decimal_len, {"POINT", "COMMA"});
  const int round = choose(s->round, s->round_len,
                           {"PROCESSOR_DEFINED", "UP", "DOWN", "ZERO", "NEAREST", "COMPATIBLE"});
  const int sign = choose(s->sign, s->sign_len, {"PLUS", "SUPPRESS", "PROCESSOR_DEFINED"});
  const int delim = choose(s->delim, s->delim_len, {"APOSTROPHE", "QUOTE", "NONE"});
  const int encoding = choose(s->encoding, s->encoding_len, {"DEFAULT", "UTF-8", "ASCII", "SHIFT_JIS"});
  if (status == -1) return fail(E_STATUS, 0);
  if (access == -1) return fail(E_ACCESS, 0);
  if (form == -1) return fail(E_FORM, 0);
  if (blank == -1) return fail(E_BLANK, 0);
  if (position == -1) return fail(E_POSITION, 0);
  if (action == -1) return fail(E_ACTION, 0);
  if (delim == -1) return fail(E_DELIM, 0);
  if (pad == -1) return fail(E_PAD, 0);
  if (decimal == -1) return fail(E_DECIMAL, 0);
  if (round == -1) return fail(E_ROUND, 0);
  if (sign == -1) return fail(E_SIGN, 0);
  if (encoding == -1) return fail(E_ENCODING, 0);
  const bool unformatted = form == 1;
  proto.formatted = !unformatted;
  proto.access = access == 1 ? ACCESS_DIRECT : access == 2 ? ACCESS_STREAM : ACCESS_SEQUENTIAL;
  if (unformatted && s->delim) return fail(E_UNF_DELIM, 0);
  if (unformatted && s->pad) return fail(E_UNF_PAD, 0);
  if (s->recl && *s->recl <= 0) return fail(E_RECL, 0);
  if (access == 1 && !s->recl) return fail(E_DIRECT_RECL, 0);
  if (access == 1 && s->position) return fail(E_DIRECT_POSITION, 0);
  if (access == 2 && s->recl) return fail(E_STREAM_RECL, 0);
  if (status == 2 && s->file) return fail(E_SCRATCH_FILE, 0);
  if (s->newunit && !s->file && status != 2) return fail(E_NEWUNIT, 0);
  if ((status == 1 || status == 3) && !s->file) return fail(E_NO_FILE, 0);
  if (s->file && s->file_len >= NAME_MAX_BYTES) return fail(E_NAME_LONG, 0);
  if (s->newunit) {
    while (find_unit(next_newunit)) --next_newunit;
    if (next_newunit < -0x7fffffff) return fail(E_NO_NEWUNIT, 0);
    number = next_newunit--;
    proto.head.number = number;
  } else if (number < 0 || number > 0x7fffffff) {
    return fail(E_UNIT_RANGE, number);
  }

  // The file name: FILE= without trailing blanks, or fort.N.
  char name[NAME_MAX_BYTES + 32];
  std::size_t name_len = 0;
  if (s->file) {
    name_len = s->file_len;
    while (name_len > 0 && s->file[name_len - 1] == ' ') --name_len;
    std::memcpy(name, s->file, name_len);
  } else if (status != 2) {
    name_len = static_cast<std::size_t>(std::snprintf(name, sizeof name, "fort.%lld", static_cast<long long>(number)));
  }
  name[name_len] = 0;
  if (name_len) set_name(&proto, name, name_len);

  unit_rec *u = s->newunit ? nullptr : find_unit(number);
  if (!u && status == 0 && !s->file) return fail(E_NOT_CONNECTED_OLD, number);
  if (u) {
    const bool same_file = !s->file || (u->name && std::strcmp(u->name, name) == 0);
    if (same_file) {
      // A re-OPEN changes only the modes that may change.
      if (s->status && status != 0) return fail(E_REOPEN_STATUS, number);
      if (s->access && proto.access != u->access) return fail(E_REOPEN_ACCESS, number);
      if (s->form && proto.formatted != u->formatted) return fail(E_REOPEN_FORM, number);
      if (s->recl && *s->recl != u->recl) return fail(E_REOPEN_RECL, number);
      if (s->action && action + 1 != u->action) return fail(E_REOPEN_ACTION, number);
      if (s->position && position != u->position && position != 0) return fail(E_REOPEN_POSITION, number);
      if (blank >= 0) u->head.blank_mode = static_cast<std::uint32_t>(blank);
      if (decimal >= 0) u->head.decimal_char = decimal ? ',' : '.';
      if (round >= 0) u->head.round_mode = static_cast<std::uint32_t>(round);
      if (sign >= 0) u->head.sign_mode = sign == 0 ? SIGN_PLUS : sign == 1 ? SIGN_SUPPRESS : SIGN_DEFAULT;
      if (pad >= 0) u->head.pad_yes = pad == 0;
      if (delim >= 0) u->delim = delim == 0 ? '\'' : delim == 1 ? '"' : 0;
      if (proto.name) __KAFf90_oDeAlloc(proto.name, proto.name_size);
      return 0;
    }
    close_stream(u, u->scratch);
    free_unit(u);
  }

  // Open the stream.
  struct stat st;
  const bool exists = name_len && stat(name, &st) == 0;
  if (status == 0 && !exists) return fail(E_NO_OLD, 0);
  if (status == 1 && exists) return fail(E_NEW_EXISTS, 0);
  std::FILE *f = nullptr;
  int want = action < 0 ? ACTION_READWRITE : action + 1;
  if (status == 2) {
    f = std::tmpfile();
  } else if (status == 3 || !exists) {
    f = std::fopen(name, want == ACTION_READ ? "r" : "w+");
    if (!f && want == ACTION_READWRITE) f = std::fopen(name, "w");
    if (f && action < 0 && want == ACTION_READWRITE) want = ACTION_READWRITE;
  } else {
    f = std::fopen(name, want == ACTION_READ ? "r" : "r+");
    if (!f && action < 0) {
      if ((f = std::fopen(name, "r"))) want = ACTION_READ;
      else if ((f = std::fopen(name, "a"))) want = ACTION_WRITE;
    }
    if (!f && want == ACTION_WRITE) f = std::fopen(name, "a");
  }
  if (!f) return fail(E_OPEN_FAILED, number);
  // The unit buffers whole records itself; the stream need not copy them again.
  std::setvbuf(f, nullptr, _IONBF, 0);
  if (position == 2) std::fseek(f, 0, SEEK_END);

  u = new_unit(number);
  u->stream = f;
  if (name_len) set_name(u, name, name_len);
  if (proto.name) __KAFf90_oDeAlloc(proto.name, proto.name_size);
  u->scratch = status == 2;
  u->formatted = proto.formatted;
  u->access = proto.access;
  u->action = want;
  u->position = position < 0 ? 0 : position;
  u->recl = s->recl ? *s->recl : 0;
  u->next_rec = u->access == ACCESS_DIRECT ? 1 : 0;
  u->delim = delim == 0 ? '\'' : delim == 1 ? '"' : 0;
  u->head.blank_mode = blank == 1 ? 1 : 0;
  u->head.decimal_char = decimal == 1 ? ',' : '.';
  u->head.round_mode = round < 0 ? 0 : static_cast<std::uint32_t>(round);
  u->head.sign_mode = sign == 0 ? SIGN_PLUS : sign == 1 ? SIGN_SUPPRESS : SIGN_DEFAULT;
  u->head.pad_yes = pad != 1;
  u->head.encoding = encoding == 1 ? ENC_UTF8 : encoding == 2 ? ENC_ASCII
                     : encoding == 3 ? ENC_SJIS_BYTES : ENC_LATIN1;
  // A file opened where data already stand is written over from here on.
  u->last_op = position == 2 ? LAST_WRITE : LAST_READ;
  add_unit(u);
  if (s->newunit) *s->newunit = static_cast<std::int32_t>(number);
  return 0;
}

std::int32_t __KAFf90_close4(const char *src_file, std::int32_t src_line, std::int64_t number,
                             const char *status, std::size_t status_len, std::int32_t *iostat,
                             char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  const int how = choose(status, status_len, {"KEEP", "DELETE"});
  unit_rec *u = find_unit(number);
  if (how == -1) {
    unit_rec proto;  // describes the unit in the message when none is connected
    std::memset(&proto, 0, sizeof proto);
    proto.head.number = number;
    proto.formatted = 1;
    return statement_error(src_file, src_line, u ? u : &proto, iostat, iomsg, iomsg_len, flags, E_STATUS, 0);
  }
  if (!u) return 0;  // closing an unconnected unit is allowed
  if (how == 0 && u->scratch)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_SCRATCH_KEEP, 0);
  close_stream(u, how == 1 || u->scratch);
  free_unit(u);
  return 0;
}

std::int32_t __KAFf90_rewind4(const char *src_file, std::int32_t src_line, std::int64_t number,
                              std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                              std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  unit_rec *u = find_unit(number);
  if (!u) return 0;
  commit_kept_record(u);
  drain_output(u);
  if (u->standard) return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_REWIND, number);
  std::fflush(u->stream);
  std::clearerr(u->stream);
  place_unit(u, 0);
  return 0;
}

std::int32_t __KAFf90_flush4(const char *src_file, std::int32_t src_line, std::int64_t number,
                             std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                             std::int32_t flags) {
  table_guard guard;
  if (iostat) *iostat = 0;
  unit_rec *u = find_unit(number);
  if (!u) return 0;
  if (!drain_output(u) || std::fflush(u->stream) != 0)
    return statement_error(src_file, src_line, u, iostat, iomsg, iomsg_len, flags, E_WRITE_FAILED, number);
  return 0;
}

void __KAFf90_io_finish(void) {
  table_guard guard;
  if (finishing) return;  // an error while finishing must not come back here
  finishing = true;
  for (std::size_t i = table_count; i-- > 0;) {
    unit_rec *u = table[i];
    commit_kept_record(u);
    drain_output(u);
    if (u->standard) {
      std::fflush(u->stream);
    } else {
      if (u->stream) std::fclose(u->stream);
      if (u->scratch && u->name) unlink(u->name);
      u->stream = nullptr;
      free_unit(u);
    }
  }
  std::fflush(nullptr);
  finishing = false;
}

void __KAFf90_io_abort(void) {
  table_guard guard;
  // Records already ended reach their files; records being built do not.
  for (std::size_t i = 0; i < table_count; ++i) {
    unit_rec *u = table[i];
    u->kept_open = 0;
    drain_output(u);
    if (u->stream) std::fflush(u->stream);
  }
}

void __KAFf90_unit_facts(const void *unit, kaf_unit_facts *facts) {
  const auto *u = static_cast<const unit_rec *>(unit);
  facts->scratch = u->scratch;
  facts->standard = u->standard;
  facts->file_name = u->name;
  facts->asynchronous = u->asynchronous;
  facts->formatted = u->formatted;
  facts->access = u->access;
}

}  // extern "C"
