// Begin and end calls of formatted sequential, stream and internal READ and
// WRITE, with the record callbacks they bind into the transfer context.
//
// A formatted stream file is a sequential file whose records end with a
// newline, plus positions: POS= (1 = the first byte) places a READ or WRITE
// anywhere, and a WRITE ends the file after what it wrote. Both use the
// sequential record buffers; a statement without POS= goes on from where
// the last one stopped.
//
// External records: input records are used in place in the unit's read
// buffer; an output record is built directly behind the records already
// ended, in the unit's write buffer, so that ending a record only appends a
// newline. Internal files: the character variable itself is the buffer.
#include <cstring>

#include "engine/unit.h"

namespace {

constexpr int E_INTERNAL_OVERFLOW = 1001, E_UNIT_RANGE = 1047, E_NOT_CONNECTED = 1048, E_NOT_SEQUENTIAL = 1050,
              E_NOT_READ = 1051, E_NOT_FORMATTED = 1052, E_NOT_WRITE = 1053,
              E_RECORD_SHORT = 1107, E_ADVANCE = 1120, E_SIZE = 1121, E_WRITE_FAILED = 1152,
              E_OUTPUT_OVERFLOW = 1000, E_NOT_STREAM = 1128, E_BAD_POS = 1129;

unit_rec unconnected;

unit_rec *unit_of(kaf_ioctx *c) { return static_cast<unit_rec *>(c->unit); }

void begin_context(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int32_t *iostat,
                   char *iomsg, std::size_t iomsg_len, std::int32_t flags, std::uint64_t bits) {
  clear_context(c);
  c->flags = static_cast<std::uint32_t>(flags) & (IOF_END | IOF_ERR);
  c->stmt_bits = bits | ((flags & IOF_EOR) ? STMT_HAS_EOR : 0);
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
  c->edit_code = EDIT_NONE;
  if (iostat) *iostat = 0;
}

// ---- External output ------------------------------------------------------

void bind_output(kaf_ioctx *c, unit_rec *u) {
  c->buffer = u->wbuf + u->wlen;
  c->limit = u->wcap - u->wlen - 1;  // one byte stays free for the newline
  if (u->recl && c->limit > static_cast<std::uint64_t>(u->recl)) c->limit = static_cast<std::uint64_t>(u->recl);
}

kaf_status output_flush(kaf_ioctx *c) {
  unit_rec *u = unit_of(c);
  std::int64_t used = c->pos > c->max_pos ? c->pos : c->max_pos;
  if (u->recl && used >= u->recl) return __KAFf90_ioerr(c, E_OUTPUT_OVERFLOW);
  // Keep the record built so far; make room for at least as much again.
  u->kept_open = 1;
  u->head.kept_len = used;
  const bool ok = reserve_output(u, static_cast<std::size_t>(used), static_cast<std::size_t>(used) + 256);
  u->kept_open = 0;
  u->head.kept_len = 0;
  if (!ok) return __KAFf90_ioerr(c, E_WRITE_FAILED);
  bind_output(c, u);
  return 0;
}

// Ends the record of length len at wbuf + wlen.
kaf_status end_output_record(kaf_ioctx *c, std::int64_t len) {
  unit_rec *u = unit_of(c);
  u->wbuf[u->wlen + static_cast<std::size_t>(len)] = '\n';
  u->wlen += static_cast<std::size_t>(len) + 1;
  if (u->wcap - u->wlen >= 512) return 0;
  if (!drain_output(u) || !reserve_output(u, 0, 512)) return __KAFf90_ioerr(c, E_WRITE_FAILED);
  return 0;
}

kaf_status output_next_record(kaf_ioctx *c, int, const char *, const char *) {
  const std::int64_t len = c->pos > c->max_pos ? c->pos : c->max_pos;
  if (kaf_status s = end_output_record(c, len)) return s;
  bind_output(c, unit_of(c));
  c->pos = 0;
  c->max_pos = 0;
  return 0;
}

// ---- External input -------------------------------------------------------

// Called when a field runs off the record and no padding applies: an end of
// record on a non-advancing READ, an error on an advancing one (PAD='NO').
kaf_status input_flush(kaf_ioctx *c) {
  unit_rec *u = unit_of(c);
  const auto number = static_cast<std::int32_t>(u->head.number);
  if (c->stmt_bits & STMT_NONADVANCING) return __KAFf90_ioerr(c, -2, number);
  return __KAFf90_ioerr(c, E_RECORD_SHORT, number);
}

kaf_status next_input_record(kaf_ioctx *c, unit_rec *u) {
  char *rec;
  std::int64_t len;
  u->rec_pending = 0;
  if (!read_buffered_record(u, &rec, &len)) {
    u->at_end = 1;
    u->head.status = static_cast<std::uint8_t>(u->head.status | UNIT_AT_EOF);
    c->buffer = nullptr;
    c->pos = c->rec_len = 0;
    return __KAFf90_ioerr(c, -1, static_cast<std::int32_t>(u->head.number));
  }
  c->buffer = rec;
  c->rec_len = len;
  c->pos = 0;
  return 0;
}

kaf_status input_next_record(kaf_ioctx *c, int, const char *, const char *) {
  if (kaf_status s = next_input_record(c, unit_of(c))) return s;
  c->record_start = 0;
  return 0;
}

// ---- Internal files -------------------------------------------------------

constexpr std::uint32_t encoding_of_type(std::int32_t type_code) {
  return type_code == 21 ? ENC_SJIS16 : type_code == 22 ? ENC_UCS2 : type_code == 23 ? ENC_UCS4 : ENC_LATIN1;
}

// Moves f to its next record; false when there is none.
bool advance_ifile(kaf_ifile *f) {
  if (f->records_left == 0) return false;
  --f->records_left;
  if (f->rank == 0) return false;
  const std::int64_t *d = f->desc;
  for (int k = 0; k < f->rank; ++k) {
    const std::int64_t extent = d[3 + 3 * k], stride = d[4 + 3 * k];
    if (++f->index[k] < extent) {
      f->record += stride;
      return true;
    }
    f->record -= stride * (extent - 1);
    f->index[k] = 0;
  }
  return true;
}

void bind_ifile(kaf_ioctx *c, kaf_ifile *f) {
  c->buffer = f->record;
  c->limit = f->record_len;
  c->rec_len = static_cast<std::int64_t>(f->record_len);
  c->pos = 0;
}

// Blank-fills the rest of the current record of an internal WRITE.
void blank_rest(kaf_ioctx *c) {
  auto *f = static_cast<kaf_ifile *>(c->internal);
  const std::int64_t end = c->pos > c->max_pos ? c->pos : c->max_pos;
  for (std::uint64_t i = static_cast<std::uint64_t>(end < 0 ? 0 : end); i < f->record_len; ++i) {
    switch (unit_width(c->encoding)) {
    case 1: static_cast<std::uint8_t *>(c->buffer)[i] = ' '; break;
    case 2: static_cast<std::uint16_t *>(c->buffer)[i] = ' '; break;
    default: static_cast<std::uint32_t *>(c->buffer)[i] = ' '; break;
    }
  }
}

kaf_status ifile_output_flush(kaf_ioctx *c) { return __KAFf90_ioerr(c, E_INTERNAL_OVERFLOW); }

kaf_status ifile_output_next_record(kaf_ioctx *c, int, const char *, const char *) {
  auto *f = static_cast<kaf_ifile *>(c->internal);
  blank_rest(c);
  if (!advance_ifile(f)) return __KAFf90_ioerr(c, E_INTERNAL_OVERFLOW);
  bind_ifile(c, f);
  c->max_pos = 0;
  return 0;
}

kaf_status ifile_input_flush(kaf_ioctx *c) { return __KAFf90_ioerr(c, -2, -1); }

kaf_status ifile_input_next_record(kaf_ioctx *c, int, const char *, const char *) {
  auto *f = static_cast<kaf_ifile *>(c->internal);
  if (!advance_ifile(f)) return __KAFf90_ioerr(c, -1, -1);
  bind_ifile(c, f);
  c->record_start = 0;
  return 0;
}

// Unit checks shared by READ and WRITE (with_pos: the statement has POS=).
std::int32_t check_unit(kaf_ioctx *c, unit_rec *u, std::int64_t number, bool input, bool with_pos) {
  if (!u) {
    // A record that describes the unconnected unit in the message.
    unconnected.head.number = number;
    unconnected.formatted = 1;
    c->unit = &unconnected;
    if (number < 0 || number > 0x7fffffff)  // not a NEWUNIT= number either
      return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_UNIT_RANGE, number));
    return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_CONNECTED, static_cast<std::int32_t>(number)));
  }
  const std::int32_t n = static_cast<std::int32_t>(number);
  if (!u->formatted) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_FORMATTED, n));
  if (with_pos && u->access != ACCESS_STREAM) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_STREAM, n));
  if (u->access == ACCESS_DIRECT) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_SEQUENTIAL, n));
  if (input && !(u->action & ACTION_READ)) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_READ, n));
  if (!input && !(u->action & ACTION_WRITE)) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_NOT_WRITE, n));
  return 0;
}

// POS= of a stream READ or WRITE: a record left open is ended, what is
// buffered is written, and the file is placed at byte pos - 1. A file that
// cannot be positioned (a pipe) refuses every position.
std::int32_t place_at(kaf_ioctx *c, unit_rec *u, std::int64_t pos) {
  if (pos < 1) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_BAD_POS));
  settle_unit(u);
  place_unit(u, static_cast<long>(pos - 1));
  if (std::ftell(u->stream) != pos - 1) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_BAD_POS));
  return 0;
}

std::int32_t begin_read(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t number,
                        const std::int64_t *pos, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                        std::int32_t flags) {
  begin_context(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, STMT_INPUT);
  unit_rec *u = acquire_unit(c, number);
  c->unit = u;
  if (std::int32_t s = check_unit(c, u, number, true, pos != nullptr)) return s;
  if (pos)
    if (std::int32_t s = place_at(c, u, *pos)) return s;
  c->encoding = u->head.encoding;
  c->flush = input_flush;
  c->next_record = input_next_record;
  if (u->kept_open) {  // a READ ends the record a non-advancing WRITE left open
    commit_kept_record(u);
    drain_output(u);
  }
  if (u->last_op == LAST_WRITE) {
    drain_output(u);
    std::fflush(u->stream);
  }
  u->last_op = LAST_READ;
  if (u->standard == 1) std::fflush(stdout);  // what was written so far, before waiting
  // Advancing reads pad short records themselves when PAD='YES'.
  c->no_eor = u->head.pad_yes ? 1 : 0;
  if (u->rec_pending) {
    c->buffer = u->rec;
    c->rec_len = u->rec_len;
    c->pos = u->rec_pos;
    u->rec_pending = 0;
    return 0;
  }
  if (kaf_status s = next_input_record(c, u)) return static_cast<std::int32_t>(s);
  return 0;
}

std::int32_t begin_write(kaf_ioctx *c, const char *src_file, std::int32_t src_line, std::int64_t number,
                         const std::int64_t *pos, std::int32_t *iostat, char *iomsg, std::size_t iomsg_len,
                         std::int32_t flags) {
  begin_context(c, src_file, src_line, iostat, iomsg, iomsg_len, flags, 0);
  unit_rec *u = acquire_unit(c, number);
  c->unit = u;
  if (std::int32_t s = check_unit(c, u, number, false, pos != nullptr)) return s;
  if (pos)
    if (std::int32_t s = place_at(c, u, *pos)) return s;
  switch_to_writing(u);
  u->at_end = 0;
  u->head.status = static_cast<std::uint8_t>(u->head.status & ~UNIT_AT_EOF);
  c->encoding = u->head.encoding;
  c->flush = output_flush;
  c->next_record = output_next_record;
  const std::size_t kept = u->kept_open ? static_cast<std::size_t>(u->head.kept_len) : 0;
  if (!reserve_output(u, kept, 512)) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_WRITE_FAILED));
  bind_output(c, u);
  c->pos = static_cast<std::int64_t>(kept);
  u->kept_open = 0;
  // What establish_format counts as the record written so far: this
  // statement's own start, never the length a non-advancing WRITE left
  // before an earlier statement ended that record.
  u->head.kept_len = static_cast<std::int64_t>(kept);
  return 0;
}

std::int32_t finish_status(kaf_ioctx *c) {
  return static_cast<std::int32_t>(c->error_code);
}

std::int32_t end_write(kaf_ioctx *c) {
  unit_rec *u = unit_of(c);
  if (!u || (c->stmt_bits & STMT_DONE)) return finish_status(c);
  if (c->tab_pending) c->tab_pending = 0;
  const std::int64_t len = c->pos > c->max_pos ? c->pos : c->max_pos;
  if (c->stmt_bits & STMT_NONADVANCING) {
    u->kept_open = 1;
    u->head.kept_len = len;
    if (u->standard) {
      // A prompt must show before the READ that answers it: the open part
      // of the record goes out now, and the record goes on from an empty
      // buffer (positions of the next statement count from there).
      const bool ok = drain_output(u) && std::fwrite(u->wbuf, 1, static_cast<std::size_t>(len), u->stream) ==
                                             static_cast<std::size_t>(len);
      u->head.kept_len = 0;
      std::fflush(u->stream);
      if (!ok) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_WRITE_FAILED));
    }
    return 0;
  }
  if (kaf_status s = end_output_record(c, len)) return static_cast<std::int32_t>(s);
  if (u->standard)
    if (!drain_output(u)) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_WRITE_FAILED));
  return 0;
}

}  // namespace

extern "C" {

void __KAFf90_scalar_ifilex(kaf_ifile *f, char *address, std::size_t len, std::int32_t type_code) {
  std::memset(f, 0, sizeof *f);
  f->record = address;
  f->record_len = len;
  f->nrecords = 1;
  f->type_code = type_code;
}

void __KAFf90_array_ifilex(kaf_ifile *f, const std::int64_t *desc, std::int32_t rank,
                           std::int32_t type_code) {
  std::memset(f, 0, sizeof *f);
  f->desc = desc;
  f->rank = rank;
  f->type_code = type_code;
  f->record = reinterpret_cast<char *>(desc[0]);
  f->record_len = static_cast<std::uint64_t>(desc[1]);
  std::uint64_t n = 1;
  for (int k = 0; k < rank; ++k) n *= static_cast<std::uint64_t>(desc[3 + 3 * k] < 0 ? 0 : desc[3 + 3 * k]);
  f->nrecords = n;
  f->records_left = n ? n - 1 : 0;
}

std::int32_t __KAFf90_read_seq4(kaf_ioctx *c, const char *src_file, std::int32_t src_line,
                                std::int64_t number, std::int32_t *iostat, char *iomsg,
                                std::size_t iomsg_len, std::int32_t flags) {
  return begin_read(c, src_file, src_line, number, nullptr, iostat, iomsg, iomsg_len, flags);
}

std::int32_t __KAFf90_write_seq(kaf_ioctx *c, const char *src_file, std::int32_t src_line,
                                std::int64_t number, std::int32_t *iostat, char *iomsg,
                                std::size_t iomsg_len, std::int32_t flags) {
  return begin_write(c, src_file, src_line, number, nullptr, iostat, iomsg, iomsg_len, flags);
}

std::int32_t __KAFf90_read_stream_fmt4(kaf_ioctx *c, const char *src_file, std::int32_t src_line,
                                       std::int64_t number, const std::int64_t *pos, std::int32_t *iostat,
                                       char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return begin_read(c, src_file, src_line, number, pos, iostat, iomsg, iomsg_len, flags);
}

std::int32_t __KAFf90_write_stream_fmt4(kaf_ioctx *c, const char *src_file, std::int32_t src_line,
                                        std::int64_t number, const std::int64_t *pos, std::int32_t *iostat,
                                        char *iomsg, std::size_t iomsg_len, std::int32_t flags) {
  return begin_write(c, src_file, src_line, number, pos, iostat, iomsg, iomsg_len, flags);
}

std::int32_t __KAFf90_read_internal_file(kaf_ioctx *c, kaf_ifile *f, std::int32_t *iostat, char *iomsg,
                                         std::size_t iomsg_len, std::int32_t flags) {
  begin_context(c, nullptr, 0, iostat, iomsg, iomsg_len, flags, STMT_INPUT | STMT_INTERNAL);
  c->internal = f;
  c->encoding = encoding_of_type(f->type_code);
  c->flush = ifile_input_flush;
  c->next_record = ifile_input_next_record;
  if (f->nrecords == 0) return static_cast<std::int32_t>(__KAFf90_ioerr(c, -1, -1));
  bind_ifile(c, f);
  return 0;
}

std::int32_t __KAFf90_write_ifile(kaf_ioctx *c, kaf_ifile *f, std::int32_t *iostat, char *iomsg,
                                  std::size_t iomsg_len, std::int32_t flags) {
  begin_context(c, nullptr, 0, iostat, iomsg, iomsg_len, flags, STMT_INTERNAL);
  c->internal = f;
  c->encoding = encoding_of_type(f->type_code);
  c->flush = ifile_output_flush;
  c->next_record = ifile_output_next_record;
  if (f->nrecords == 0) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_INTERNAL_OVERFLOW));
  bind_ifile(c, f);
  c->max_pos = 0;
  return 0;
}

std::int32_t __KAFf90_set_ioctx_advance(kaf_ioctx *c, const char *advance, std::size_t len) {
  std::size_t n = len;
  while (n > 0 && advance[n - 1] == ' ') --n;
  auto is = [&](const char *kw) {
    if (std::strlen(kw) != n) return false;
    for (std::size_t i = 0; i < n; ++i)
      if ((advance[i] & ~0x20) != kw[i]) return false;
    return true;
  };
  if (is("YES")) return 0;
  if (!is("NO")) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_ADVANCE));
  c->stmt_bits |= STMT_NONADVANCING;
  if (c->stmt_bits & STMT_INPUT) {
    c->flags |= IOF_EOR;  // running off the record is reported
    c->no_eor = 0;
  }
  return 0;
}

std::int32_t __KAFf90_set_ioctx_size(kaf_ioctx *c, std::int64_t *counter) {
  *counter = 0;
  if (!(c->stmt_bits & STMT_NONADVANCING)) return static_cast<std::int32_t>(__KAFf90_ioerr(c, E_SIZE));
  c->size_var = reinterpret_cast<std::uint64_t>(counter);
  return 0;
}

std::int32_t __KAFf90_end_read_sequential(kaf_ioctx *c) {
  // A list-directed READ may end with a repeat count still pending: its
  // scan buffers go back here.
  __KAFf90_lio_end_input(c);
  if (auto *size = reinterpret_cast<std::int64_t *>(c->size_var)) *size += static_cast<std::int64_t>(c->nchars);
  unit_rec *u = unit_of(c);
  if (c->stmt_bits & STMT_DONE) return finish_status(c);
  if ((c->stmt_bits & STMT_NONADVANCING) && u) {
    // The rest of the record waits for the next READ.
    u->rec_pending = 1;
    u->rec = static_cast<char *>(c->buffer);
    u->rec_len = c->rec_len;
    u->rec_pos = c->pos;
  }
  release_unit(c);
  return 0;
}

std::int32_t __KAFf90_end_write_sequential(kaf_ioctx *c) {
  const std::int32_t s = end_write(c);
  release_unit(c);
  return s;
}

std::int32_t __KAFf90_end_read_internal(kaf_ioctx *c) {
  __KAFf90_lio_end_input(c);
  if (c->stmt_bits & STMT_DONE) return finish_status(c);
  return 0;
}

std::int32_t __KAFf90_end_write_ifile(kaf_ioctx *c) {
  if (c->stmt_bits & STMT_DONE) return finish_status(c);
  blank_rest(c);
  return 0;
}

}  // extern "C"
