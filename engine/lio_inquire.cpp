// INQUIRE by unit and by file: an inquiry record opened by inquire_unit or
// inquire_file, one query per specifier, and end_inquire.
//
// Decisions: NEXTREC= and POS= leave the variable as it is where the
// standard makes it undefined (not direct access / not stream access,
// unconnected, or after an error in a direct-access statement); SIZE= is
// -1 for a unit or file that is not a regular file (a terminal, a pipe) or
// does not exist.
#include <sys/stat.h>

#include <cstring>

#include "engine/unit.h"
#include "kafrts/listio.h"

namespace {

struct inquiry {
  unit_rec *u;         // the connection, or null
  std::int32_t exists; // the unit or file exists
  std::int32_t by_file;
  const char *file;    // FILE= (by file)
  std::size_t file_len;
};
static_assert(sizeof(inquiry) <= sizeof(kaf_inquiry));

inquiry &of(kaf_inquiry *q) { return *reinterpret_cast<inquiry *>(q); }

void put_text(void *addr, std::size_t len, const char *text) {
  auto *dest = static_cast<char *>(addr);
  std::size_t n = std::strlen(text);
  if (n > len) n = len;
  std::memcpy(dest, text, n);
  std::memset(dest + n, ' ', len - n);
}

const char *yes_no(bool connected, bool yes) { return !connected ? "UNKNOWN" : yes ? "YES" : "NO"; }

std::size_t trimmed(const char *s, std::size_t len) {
  while (len > 0 && s[len - 1] == ' ') --len;
  return len;
}

}  // namespace

extern "C" {

std::int32_t __KAFf90_inquire_unit(kaf_inquiry *q, std::int64_t number, std::int32_t *iostat, char *,
                                   std::int32_t) {
  table_guard guard;
  if (iostat) *iostat = 0;
  std::memset(q, 0, sizeof *q);
  inquiry &r = of(q);
  r.u = find_unit(number);
  r.exists = number >= 0 && number <= 0x7fffffff;
  return 0;
}

std::int32_t __KAFf90_inquire_file(kaf_inquiry *q, const char *file, std::size_t file_len, std::int32_t *exist,
                                   char *name, std::size_t name_len, std::int32_t *iostat, char *,
                                   std::int32_t) {
  if (iostat) *iostat = 0;
  std::memset(q, 0, sizeof *q);
  inquiry &r = of(q);
  r.by_file = 1;
  r.file = file;
  r.file_len = trimmed(file, file_len);
  char path[4096];
  const std::size_t n = r.file_len < sizeof path - 1 ? r.file_len : sizeof path - 1;
  std::memcpy(path, file, n);
  path[n] = 0;
  struct stat st;
  r.exists = n > 0 && stat(path, &st) == 0;
  r.u = r.exists ? find_unit_of_file(path) : nullptr;
  if (exist) *exist = r.exists;
  if (name) put_text(name, name_len, path);
  return 0;
}

std::int32_t __KAFf90_inquire_query(kaf_inquiry *q, std::int32_t which, void *addr, std::size_t len) {
  inquiry &r = of(q);
  unit_rec *u = r.u;
  const bool c = u != nullptr;
  const char *text = nullptr;
  switch (which) {
  case KAF_INQ_ACCESS:
    text = !c ? "UNDEFINED" : u->access == ACCESS_DIRECT ? "DIRECT" : u->access == ACCESS_STREAM ? "STREAM"
                                                                                             : "SEQUENTIAL";
    break;
  case KAF_INQ_ACTION:
    text = !c ? "UNDEFINED" : u->action == ACTION_READ ? "READ" : u->action == ACTION_WRITE ? "WRITE" : "READWRITE";
    break;
  case KAF_INQ_BLANK: text = !c || !u->formatted ? "UNDEFINED" : u->head.blank_mode == 1 ? "ZERO" : "NULL"; break;
  case KAF_INQ_DELIM:
    text = !c || !u->formatted ? "UNDEFINED" : u->delim == '\'' ? "APOSTROPHE" : u->delim == '"' ? "QUOTE" : "NONE";
    break;
  case KAF_INQ_DIRECT: text = yes_no(c, c && u->access == ACCESS_DIRECT); break;
  case KAF_INQ_FORM: text = !c ? "UNDEFINED" : u->formatted ? "FORMATTED" : "UNFORMATTED"; break;
  case KAF_INQ_FORMATTED: text = yes_no(c, c && u->formatted); break;
  case KAF_INQ_PAD: text = !c || !u->formatted ? "UNDEFINED" : u->head.pad_yes ? "YES" : "NO"; break;
  case KAF_INQ_POSITION:
    text = !c || u->access == ACCESS_DIRECT ? "UNDEFINED" : u->position == 1 ? "REWIND" : u->position == 2 ? "APPEND"
                                                                                                     : "ASIS";
    break;
  case KAF_INQ_READ: text = yes_no(c, c && (u->action & ACTION_READ)); break;
  case KAF_INQ_WRITE: text = yes_no(c, c && (u->action & ACTION_WRITE)); break;
  case KAF_INQ_READWRITE: text = yes_no(c, c && u->action == ACTION_READWRITE); break;
  case KAF_INQ_SEQUENTIAL: text = yes_no(c, c && u->access == ACCESS_SEQUENTIAL); break;
  case KAF_INQ_UNFORMATTED: text = yes_no(c, c && !u->formatted); break;
  case KAF_INQ_NAME:
    if (r.by_file) {
      char path[4096];
      const std::size_t n = r.file_len < sizeof path - 1 ? r.file_len : sizeof path - 1;
      std::memcpy(path, r.file, n);
      path[n] = 0;
      put_text(addr, len, path);
    } else if (c && u->name && !u->scratch) {
      put_text(addr, len, u->name);
    }
    return 0;
  case KAF_INQ_EXIST: *static_cast<std::int32_t *>(addr) = r.exists; return 0;
  case KAF_INQ_OPENED: *static_cast<std::int32_t *>(addr) = c; return 0;
  case KAF_INQ_NAMED:
    *static_cast<std::int32_t *>(addr) = r.by_file || (c && u->name && !u->scratch);
    return 0;
  case KAF_INQ_NUMBER: *static_cast<std::int64_t *>(addr) = c ? u->head.number : -1; return 0;
  case KAF_INQ_RECL:
    // No RECL= on a sequential connection: the longest record is unlimited,
    // reported as 2^30; -1 unconnected, -2 stream access.
    *static_cast<std::int64_t *>(addr) = !c ? -1 : u->access == ACCESS_STREAM ? -2 : u->recl ? u->recl : 1073741824;
    return 0;
  case KAF_INQ_NEXTREC:
    // Undefined (the variable unchanged) unless the file is connected for
    // direct access and no error has left its position indeterminate.
    if (c && u->access == ACCESS_DIRECT && u->next_rec > 0) *static_cast<std::int64_t *>(addr) = u->next_rec;
    return 0;
  case KAF_INQ_POS:
    // The position of the next character (1 = the first) of a stream file;
    // undefined for other connections.
    if (c && u->access == ACCESS_STREAM) {
      const std::int64_t at = unit_position(u);
      if (at >= 0) *static_cast<std::int64_t *>(addr) = at + 1;
    }
    return 0;
  case KAF_INQ_SIZE: {
    std::int64_t size = -1;
    if (c) {
      size = unit_file_size(u);
    } else if (r.by_file && r.exists) {
      char path[4096];
      const std::size_t n = r.file_len < sizeof path - 1 ? r.file_len : sizeof path - 1;
      std::memcpy(path, r.file, n);
      path[n] = 0;
      struct stat st;
      if (stat(path, &st) == 0 && S_ISREG(st.st_mode)) size = st.st_size;
    }
    *static_cast<std::int64_t *>(addr) = size;
    return 0;
  }
  default: return 0;
  }
  put_text(addr, len, text);
  return 0;
}

std::int32_t __KAFf90_end_inquire(kaf_inquiry *q) {
  std::memset(q, 0, sizeof *q);
  return 0;
}

}  // extern "C"
