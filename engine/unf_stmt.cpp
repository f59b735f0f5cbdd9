// Unformatted sequential transfers (records framed by 4-byte length
// markers), direct-access transfers (unformatted, and formatted records of
// RECL characters) and the block and array item calls of unformatted
// statements.
//
// These statements bypass the formatted read-ahead and write-behind buffers
// of the unit: those are settled first, then the C stream is used directly.
// A WRITE builds its record in memory and writes it at the end call; a READ
// reads the whole record at the begin call.
#include <unistd.h>

#include <cstring>

#include "engine/unit.h"
#include "kafrts/listio.h"

namespace {

constexpr std::int32_t E_OUTPUT_OVERFLOW = 1000, E_NOT_CONNECTED = 1048, E_NOT_SEQUENTIAL = 1050,
                       E_NOT_READ = 1051, E_NOT_FORMATTED = 1052, E_NOT_WRITE = 1053,
                       E_NOT_UNFORMATTED = 1054, E_NOT_DIRECT = 1079, E_RECORD_NUMBER = 1080,
                       E_LIST_TOO_BIG = 1106, E_RECORD_SHORT = 1107, E_CORRUPT = 1108,
                       E_BEYOND_DIRECT = 1114, E_WRITE_FAILED = 1152, E_NOT_STREAM = 1128,
                       E_BAD_POS = 1129;

// The statement's state, in the context's words of the list-directed layer
// (these statements are never list-directed).
enum stmt_kind : std::uint64_t { UNF_READ = 1, UNF_WRITE, DIRECT_UNF_READ, DIRECT_UNF_WRITE, DIRECT_FMT_READ,
                                 DIRECT_FMT_WRITE, STREAM_READ, STREAM_WRITE };
inline std::uint64_t &kind_of(kaf_ioctx *c) { return c->lio_spare[4]; }
inline std::uint64_t &record_of(kaf_ioctx *c) { return c->lio_spare[5]; }   // direct: record number
inline std::uint64_t &capacity_of(kaf_ioctx *c) { return c->lio_spare[6]; } // bytes of the record buffer
inline std::uint64_t &length_of(kaf_ioctx *c) { return c->lio_spare[7]; }   // bytes of the record read

unit_rec unconnected_unit;

unit_rec *unit_of(kaf_ioctx *c) { return static_cast<unit_rec *>(c->unit); }

void release(kaf_ioctx *c);

// The error exit: the record buffer goes at once, since the statement is
// over whether or not its end call comes.
std::int32_t raise(kaf_ioctx *c, std::int32_t code) {
  release(c);
  return static_cast<std::int32_t>(__KAFf90_ioerr(c, code, static_cast<std::int32_t>(unit_of(c)->head.number)));
}

void begin(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int32_t *iostat, char *iomsg,
           std::size_t iomsg_len, std::int32_t flags, bool input) {
  clear_context(c);
  c->flags = static_cast<std::uint32_t>(flags) & (IOF_END | IOF_ERR);
  c->stmt_bits = input ? STMT_INPUT : 0;
  c->iostat_var = reinterpret_cast<std::uint64_t>(iostat);
  c->iomsg_addr = reinterpret_cast<std::uint64_t>(iomsg);
  c->iomsg_len = iomsg_len;
  c->src_file = src_file;
  c->src_line = src_line;
  c->decimal_char = '.';
  c->sign_mode = SIGN_DEFAULT;
  c->encoding = ENC_LATIN1;
  c->max_pos = -1;
  c->m = 1;
  if (iostat) *iostat = 0;
}

// The unit checks of every statement here (access: sequential or stream
// when not direct).
std::int32_t check(kaf_ioctx *c, std::int64_t number, bool input, bool formatted, bool direct,
                   bool stream = false) {
  unit_rec *u = acquire_unit(c, number);  // given back by the end call or by the error exit
  if (!u) {
    unconnected_unit.head.number = number;
    c->unit = &unconnected_unit;
    return raise(c, E_NOT_CONNECTED);
  }
  c->unit = u;
  if (formatted && !u->formatted) return raise(c, E_NOT_FORMATTED);
  if (!formatted && u->formatted) return raise(c, E_NOT_UNFORMATTED);
  if (direct && u->access != ACCESS_DIRECT) return raise(c, E_NOT_DIRECT);
  if (!direct && u->access == ACCESS_DIRECT) return raise(c, E_NOT_SEQUENTIAL);
  if (!direct && (u->access == ACCESS_STREAM) != stream) return raise(c, stream ? E_NOT_STREAM : E_NOT_SEQUENTIAL);
  if (input && !(u->action & ACTION_READ)) return raise(c, E_NOT_READ);
  if (!input && !(u->action & ACTION_WRITE)) return raise(c, E_NOT_WRITE);
  return 0;
}

// The formatted buffers give their state back to the stream, which is then
// ready for the direction asked (the C library wants a seek in between).
void settle(unit_rec *u, bool reading) {
  commit_kept_record(u);
  drain_output(u);
  if (u->last_op == LAST_READ && u->rlen > u->rpos)
    std::fseek(u->stream, -static_cast<long>(u->rlen - u->rpos), SEEK_CUR);
  else
    std::fseek(u->stream, 0, SEEK_CUR);
  u->rpos = u->rlen = 0;
  u->eof_seen = 0;
  u->rec_pending = 0;
  u->last_op = reading ? LAST_READ : LAST_WRITE;
}

bool reserve(kaf_ioctx *c, std::uint64_t need) {
  if (need <= capacity_of(c)) return true;
  std::uint64_t cap = capacity_of(c) ? capacity_of(c) : 256;
  while (cap < need) cap *= 2;
  void *p = c->buffer ? __KAFf90_ReAlloc(c->buffer, capacity_of(c), cap) : __KAFf90_oAlloc(cap);
  if (!p) return false;
  c->buffer = p;
  capacity_of(c) = cap;
  return true;
}

void release(kaf_ioctx *c) {
  if (c->buffer) __KAFf90_oDeAlloc(c->buffer, capacity_of(c));
  c->buffer = nullptr;
  capacity_of(c) = 0;
}

std::int64_t record_offset(kaf_ioctx *c) {
  return (static_cast<std::int64_t>(record_of(c)) - 1) * unit_of(c)->recl;
}

// Reads direct-access record record_of(c) into the buffer; blanks (formatted)
// or zeros (unformatted) stand for the part of a record beyond the file.
std::int32_t read_direct_record(kaf_ioctx *c, bool formatted) {
  unit_rec *u = unit_of(c);
  const auto recl = static_cast<std::size_t>(u->recl);
  if (!reserve(c, recl)) return raise(c, E_BEYOND_DIRECT);
  std::fseek(u->stream, record_offset(c), SEEK_SET);
  const std::size_t got = std::fread(c->buffer, 1, recl, u->stream);
  if (got == 0) return raise(c, E_BEYOND_DIRECT);
  std::memset(static_cast<char *>(c->buffer) + got, formatted ? ' ' : 0, recl - got);
  length_of(c) = recl;
  c->pos = 0;
  c->rec_len = static_cast<std::int64_t>(recl);
  return 0;
}

std::int32_t write_direct_record(kaf_ioctx *c) {
  unit_rec *u = unit_of(c);
  std::fseek(u->stream, record_offset(c), SEEK_SET);
  if (std::fwrite(c->buffer, 1, static_cast<std::size_t>(u->recl), u->stream) != static_cast<std::size_t>(u->recl))
    return raise(c, E_WRITE_FAILED);
  return 0;
}

// Callbacks of direct-access formatted statements.
kaf_status dfmt_input_flush(kaf_ioctx *c) { return static_cast<kaf_status>(raise(c, E_RECORD_SHORT)); }
kaf_status dfmt_input_next(kaf_ioctx *c, int, const char *, const char *) {
  ++record_of(c);
  c->record_start = 0;
  return static_cast<kaf_status>(read_direct_record(c, true));
}
kaf_status dfmt_output_flush(kaf_ioctx *c) { return static_cast<kaf_status>(raise(c, E_OUTPUT_OVERFLOW)); }
kaf_status dfmt_output_next(kaf_ioctx *c, int, const char *, const char *) {
  if (std::int32_t s = write_direct_record(c)) return static_cast<kaf_status>(s);
  ++record_of(c);
  std::memset(c->buffer, ' ', static_cast<std::size_t>(unit_of(c)->recl));
  c->pos = 0;
  c->max_pos = 0;
  c->record_start = 0;
  return 0;
}

std::int32_t begin_direct(kaf_ioctx *c, std::int64_t number, std::int64_t record, bool input, bool formatted) {
  if (std::int32_t s = check(c, number, input, formatted, true)) return s;
  unit_rec *u = unit_of(c);
  // NEXTREC= is undefined until the statement ends well.
  u->next_rec = 0;
  if (record < 1) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_RECORD_NUMBER, record));
  record_of(c) = static_cast<std::uint64_t>(record);
  settle(u, input);
  c->encoding = u->head.encoding;
  if (input) {
    kind_of(c) = formatted ? DIRECT_FMT_READ : DIRECT_UNF_READ;
    if (std::int32_t s = read_direct_record(c, formatted)) return s;
    if (formatted) {
      c->flush = dfmt_input_flush;
      c->next_record = dfmt_input_next;
      c->no_eor = u->head.pad_yes ? 1 : 0;
    }
    return 0;
  }
  kind_of(c) = formatted ? DIRECT_FMT_WRITE : DIRECT_UNF_WRITE;
  if (!reserve(c, static_cast<std::uint64_t>(u->recl))) return raise(c, E_WRITE_FAILED);
  std::memset(c->buffer, formatted ? ' ' : 0, static_cast<std::size_t>(u->recl));
  c->pos = 0;
  c->limit = static_cast<std::uint64_t>(u->recl);
  if (formatted) {
    c->flush = dfmt_output_flush;
    c->next_record = dfmt_output_next;
    c->max_pos = 0;
  }
  return 0;
}

std::int32_t finish(kaf_ioctx *c, std::int32_t status) {
  release(c);
  release_unit(c);
  return status;
}

// The end of a direct-access statement: the record written out, and the
// record after the last one transferred (a format's slashes move on to
// further records) becomes NEXTREC=.
std::int32_t end_direct(kaf_ioctx *c, bool write) {
  if (c->stmt_bits & STMT_DONE) return finish(c, c->error_code);
  if (write)
    if (std::int32_t s = write_direct_record(c)) return finish(c, s);
  unit_of(c)->next_rec = static_cast<std::int64_t>(record_of(c)) + 1;
  return finish(c, 0);
}

// Moves n bytes of a block item between the item and the record.
std::int32_t move_block(kaf_ioctx *c, void *item, std::uint64_t n) {
  if (c->stmt_bits & STMT_DONE) return c->error_code;
  switch (kind_of(c)) {
  case STREAM_READ: {
    // Straight from the file: a short read is the end of the file.
    unit_rec *u = unit_of(c);
    if (std::fread(item, 1, n, u->stream) != n) {
      u->at_end = 1;
      u->head.status = static_cast<std::uint8_t>(u->head.status | UNIT_AT_EOF);
      return static_cast<std::int32_t>(__KAFf90_ioerr(c, -1, static_cast<std::int32_t>(u->head.number)));
    }
    return 0;
  }
  case STREAM_WRITE:
    if (std::fwrite(item, 1, n, unit_of(c)->stream) != n) return raise(c, E_WRITE_FAILED);
    return 0;
  case UNF_READ:
  case DIRECT_UNF_READ:
    if (static_cast<std::uint64_t>(c->pos) + n > length_of(c)) return raise(c, E_LIST_TOO_BIG);
    std::memcpy(item, static_cast<char *>(c->buffer) + c->pos, n);
    c->pos += static_cast<std::int64_t>(n);
    return 0;
  case UNF_WRITE:
    if (!reserve(c, static_cast<std::uint64_t>(c->pos) + n)) return raise(c, E_WRITE_FAILED);
    break;
  case DIRECT_UNF_WRITE:
    if (static_cast<std::uint64_t>(c->pos) + n > static_cast<std::uint64_t>(unit_of(c)->recl))
      return raise(c, E_OUTPUT_OVERFLOW);
    break;
  default: return raise(c, E_NOT_UNFORMATTED);
  }
  std::memcpy(static_cast<char *>(c->buffer) + c->pos, item, n);
  c->pos += static_cast<std::int64_t>(n);
  return 0;
}

}  // namespace

extern "C" {

std::int32_t __KAFf90_read_unf4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, true);
  if (std::int32_t s = check(c, unit, true, false, false)) return s;
  unit_rec *u = unit_of(c);
  settle(u, true);
  kind_of(c) = UNF_READ;
  std::uint32_t head, tail;
  const std::size_t got = std::fread(&head, 1, 4, u->stream);
  if (got == 0) {
    u->at_end = 1;
    u->head.status = static_cast<std::uint8_t>(u->head.status | UNIT_AT_EOF);
    return static_cast<std::int32_t>(__KAFf90_ioerr(c, -1, static_cast<std::int32_t>(u->head.number)));
  }
  if (got != 4 || !reserve(c, head ? head : 1)) return finish(c, raise(c, E_CORRUPT));
  if (std::fread(c->buffer, 1, head, u->stream) != head || std::fread(&tail, 1, 4, u->stream) != 4 || tail != head)
    return finish(c, raise(c, E_CORRUPT));
  length_of(c) = head;
  return 0;
}

std::int32_t __KAFf90_write_unf4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                 std::int32_t *iostat, char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, false);
  if (std::int32_t s = check(c, unit, false, false, false)) return s;
  unit_rec *u = unit_of(c);
  // Writing in the middle of a sequential file ends the file after it.
  if (u->last_op == LAST_READ) {
    settle(u, false);
    const long at = std::ftell(u->stream);
    if (at >= 0 && ftruncate(fileno(u->stream), at) != 0) return raise(c, E_WRITE_FAILED);
  } else {
    settle(u, false);
  }
  u->at_end = 0;
  kind_of(c) = UNF_WRITE;
  return 0;
}

std::int32_t __KAFf90_read_direct_unf4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                       std::int64_t record, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                       std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, true);
  return begin_direct(c, unit, record, true, false);
}
std::int32_t __KAFf90_write_direct_unf4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                        std::int64_t record, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                        std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, false);
  return begin_direct(c, unit, record, false, false);
}
std::int32_t __KAFf90_read_direct_fmt4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                       std::int64_t record, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                       std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, true);
  return begin_direct(c, unit, record, true, true);
}
std::int32_t __KAFf90_write_direct_fmt4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                        std::int64_t record, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                        std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, false);
  return begin_direct(c, unit, record, false, true);
}

// Stream access, unformatted: items move straight between the file and the
// variables, at POS= (1 = the first byte) when it is given.
std::int32_t __KAFf90_read_stream4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                   const std::int64_t *pos, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                                   std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, true);
  if (std::int32_t s = check(c, unit, true, false, false, true)) return s;
  unit_rec *u = unit_of(c);
  settle(u, true);
  if (pos && *pos < 1) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_BAD_POS));
  if (pos) std::fseek(u->stream, static_cast<long>(*pos - 1), SEEK_SET);
  kind_of(c) = STREAM_READ;
  return 0;
}
std::int32_t __KAFf90_write_stream4(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t unit,
                                    const std::int64_t *pos, std::int32_t *iostat, char *iomsg,
                                    std::size_t iomsg_len, std::int32_t flags) {
  begin(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, false);
  if (std::int32_t s = check(c, unit, false, false, false, true)) return s;
  unit_rec *u = unit_of(c);
  settle(u, false);
  if (pos && *pos < 1) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_BAD_POS));
  if (pos) std::fseek(u->stream, static_cast<long>(*pos - 1), SEEK_SET);
  u->at_end = 0;
  kind_of(c) = STREAM_WRITE;
  return 0;
}
std::int32_t __KAFf90_end_stream(kaf_ioctx *c) { return finish(c, (c->stmt_bits & STMT_DONE) ? c->error_code : 0); }

std::int32_t __KAFf90_read_unf2_block(kaf_ioctx *c, void *address, std::int64_t bytes, std::int32_t) {
  return move_block(c, address, static_cast<std::uint64_t>(bytes < 0 ? 0 : bytes));
}
std::int32_t __KAFf90_write_unf2_block(kaf_ioctx *c, const void *address, std::int64_t bytes, std::int32_t) {
  return move_block(c, const_cast<void *>(address), static_cast<std::uint64_t>(bytes < 0 ? 0 : bytes));
}

// The elements of an array in array element order: dims holds extent, byte
// stride and lower bound per dimension; rank is bits 8 to 15 of type_code.
std::int32_t __KAFf90_read_unf2_dv(kaf_ioctx *c, std::int32_t type_code, void *base, const std::int64_t *dims,
                                   std::int64_t element_size, std::int32_t) {
  const int rank = (type_code >> 8) & 0xFF;
  std::int64_t index[7] = {};
  for (int k = 0; k < rank; ++k)
    if (dims[3 * k] <= 0) return 0;
  for (;;) {
    char *p = static_cast<char *>(base);
    for (int k = 0; k < rank; ++k) p += index[k] * dims[3 * k + 1];
    if (std::int32_t s = move_block(c, p, static_cast<std::uint64_t>(element_size))) return s;
    int k = 0;
    while (k < rank && ++index[k] == dims[3 * k]) index[k++] = 0;
    if (k == rank) return 0;
  }
}
std::int32_t __KAFf90_write_unf2_dv(kaf_ioctx *c, std::int32_t type_code, const void *base,
                                    const std::int64_t *dims, std::int64_t element_size, std::int32_t zero) {
  return __KAFf90_read_unf2_dv(c, type_code, const_cast<void *>(base), dims, element_size, zero);
}

std::int32_t __KAFf90_end_read_unf(kaf_ioctx *c) {
  return finish(c, (c->stmt_bits & STMT_DONE) ? c->error_code : 0);
}

std::int32_t __KAFf90_end_write_unf(kaf_ioctx *c) {
  if (c->stmt_bits & STMT_DONE) return finish(c, c->error_code);
  unit_rec *u = unit_of(c);
  const auto len = static_cast<std::uint32_t>(c->pos);
  const bool ok = std::fwrite(&len, 4, 1, u->stream) == 1 &&
                  (len == 0 || std::fwrite(c->buffer, 1, len, u->stream) == len) &&
                  std::fwrite(&len, 4, 1, u->stream) == 1;
  return finish(c, ok ? 0 : raise(c, E_WRITE_FAILED));
}

std::int32_t __KAFf90_end_read_direct_unf(kaf_ioctx *c) { return end_direct(c, false); }
std::int32_t __KAFf90_end_read_direct_fmt(kaf_ioctx *c) { return end_direct(c, false); }
std::int32_t __KAFf90_end_write_direct_unf(kaf_ioctx *c) { return end_direct(c, true); }
std::int32_t __KAFf90_end_write_direct_fmt(kaf_ioctx *c) { return end_direct(c, true); }

// Unformatted READ and WRITE with options: REC= chooses the direct-access
// statement, its absence the sequential one.
std::int32_t __KAFf90_readu_optf4(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                  const std::int64_t *record, std::int32_t *iostat, char *iomsg,
                                  std::size_t iomsg_len, std::int32_t flags) {
  if (record) return __KAFf90_read_direct_unf4(c, file, line, unit, *record, iostat, iomsg, iomsg_len, flags);
  return __KAFf90_read_unf4(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}
std::int32_t __KAFf90_writeu_opt4(kaf_ioctx *c, const char *file, std::int32_t line, std::int64_t unit,
                                  const std::int64_t *record, std::int32_t *iostat, char *iomsg,
                                  std::size_t iomsg_len, std::int32_t flags) {
  if (record) return __KAFf90_write_direct_unf4(c, file, line, unit, *record, iostat, iomsg, iomsg_len, flags);
  return __KAFf90_write_unf4(c, file, line, unit, iostat, iomsg, iomsg_len, flags);
}

}  // extern "C"
