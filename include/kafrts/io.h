/* The I/O engine (libkafengine): the I/O transfer context that compiled code
 * provides for each data-transfer statement, the unit table, OPEN and CLOSE,
 * the begin and end calls of formatted sequential and internal READ and
 * WRITE (on sequential and stream units), and the error exit
 * __KAFf90_ioerr. */
#ifndef KAFRTS_IO_H
#define KAFRTS_IO_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* The I/O transfer context. Compiled code reserves KAF_IOCTX_BYTES bytes
 * aligned to KAF_IOCTX_ALIGN (a kaf_ioctx_space) per statement and passes
 * its address to the begin call, every item call and the end call. */
typedef struct kaf_ioctx kaf_ioctx;
#define KAF_IOCTX_BYTES 1232
#define KAF_IOCTX_ALIGN 8
typedef struct kaf_ioctx_space {
  uint64_t words[KAF_IOCTX_BYTES / 8];
} kaf_ioctx_space;

/* Raises I/O error code (1001.. , or -1 end of file, -2 end of record) with
 * the insertion values of its message (code - 596). With the statement's
 * IOSTAT=/ERR= (or END=/EOR= for the end conditions) it stores IOSTAT= and
 * IOMSG= and returns the nonzero status to pass up; otherwise it ends the
 * program with the message and text 350 (351 for an internal file). */
KAF_API uint64_t __KAFf90_ioerr(kaf_ioctx *ctx, int32_t code, ...);

/* Statement flags of the begin calls (the flag word). */
#define KAF_IO_END 1 /* END= present */
#define KAF_IO_EOR 2 /* EOR= present (non-advancing READ) */
#define KAF_IO_ERR 4 /* ERR= or IOSTAT= present */

/* The internal-file record of an internal READ or WRITE, filled by
 * __KAFf90_scalar_ifilex or __KAFf90_array_ifilex. The first two words are
 * read by the editing layer: the current record and the records after it. */
typedef struct kaf_ifile {
  char *record;           /* current record */
  uint64_t records_left;  /* records after the current one */
  uint64_t record_len;    /* bytes in each record */
  uint64_t nrecords;      /* records in the file */
  const int64_t *desc;    /* array descriptor (array form), else null */
  int32_t rank;           /* 0 for a scalar */
  int32_t type_code;      /* 10 CHARACTER (the only kind supported) */
  int64_t index[7];       /* per-dimension position of the current record */
} kaf_ifile;

/* Describes a character scalar of len bytes as a one-record internal file. */
KAF_API void __KAFf90_scalar_ifilex(kaf_ifile *f, char *address, size_t len, int32_t type_code);
/* Describes a character array: desc is the array descriptor (base address,
 * element length, offset, then extent, byte stride, lower bound per
 * dimension) of the given rank; records are the elements in array order. */
KAF_API void __KAFf90_array_ifilex(kaf_ifile *f, const int64_t *desc, int32_t rank,
                                   int32_t type_code);

/* Begin calls of formatted data transfer. src_file/src_line locate the
 * statement for messages (null/0: unknown); iostat (or null) receives the
 * IOSTAT= value, iomsg/iomsg_len the IOMSG= text (blank padded). A nonzero
 * result is the status to branch on; 0 leaves ctx ready for
 * __KAFf90_establish_format. */
KAF_API int32_t __KAFf90_read_seq4(kaf_ioctx *ctx, const char *src_file, int32_t src_line,
                                   int64_t unit, int32_t *iostat, char *iomsg,
                                   size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_seq(kaf_ioctx *ctx, const char *src_file, int32_t src_line,
                                   int64_t unit, int32_t *iostat, char *iomsg,
                                   size_t iomsg_len, int32_t flags);
/* The same on a unit connected for formatted stream access with POS=
 * (pos: the byte to start at, 1 = the first; null: go on from the current
 * position, as read_seq4 and write_seq do on such a unit). A WRITE ends
 * the file after what it writes. Error 1128 on a unit not connected for
 * stream access, 1129 for a position below 1. The end calls are
 * end_read_sequential and end_write_sequential. */
KAF_API int32_t __KAFf90_read_stream_fmt4(kaf_ioctx *ctx, const char *src_file, int32_t src_line,
                                          int64_t unit, const int64_t *pos, int32_t *iostat,
                                          char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_stream_fmt4(kaf_ioctx *ctx, const char *src_file, int32_t src_line,
                                           int64_t unit, const int64_t *pos, int32_t *iostat,
                                           char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_internal_file(kaf_ioctx *ctx, kaf_ifile *f, int32_t *iostat,
                                            char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_ifile(kaf_ioctx *ctx, kaf_ifile *f, int32_t *iostat,
                                     char *iomsg, size_t iomsg_len, int32_t flags);
/* ADVANCE= of the statement begun on ctx ("YES" or "NO", any case, trailing
 * blanks ignored); a bad value is an error raised through ioerr. */
KAF_API int32_t __KAFf90_set_ioctx_advance(kaf_ioctx *ctx, const char *advance, size_t len);
/* SIZE=: *counter is set to 0 and the end call adds the characters the
 * statement took from records. Error 1121 unless the READ is non-advancing
 * (ADVANCE= comes first). */
KAF_API int32_t __KAFf90_set_ioctx_size(kaf_ioctx *ctx, int64_t *counter);

/* End calls: finish the record (advancing) and complete the statement. */
KAF_API int32_t __KAFf90_end_read_sequential(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_write_sequential(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_read_internal(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_write_ifile(kaf_ioctx *ctx);

/* OPEN specifiers: each character specifier is an address and a length
 * (null address: absent). */
typedef struct kaf_open_spec {
  const char *file;     size_t file_len;
  const char *status;   size_t status_len;
  const char *action;   size_t action_len;
  const char *position; size_t position_len;
  const char *form;     size_t form_len;
  const char *access;   size_t access_len;
  const char *pad;      size_t pad_len;
  const char *blank;    size_t blank_len;
  const char *decimal;  size_t decimal_len;
  const char *round;    size_t round_len;
  const char *sign;     size_t sign_len;
  const char *delim;    size_t delim_len;
  const char *encoding; size_t encoding_len;
  const int64_t *recl;  /* RECL= value, or null */
  int32_t *newunit;     /* NEWUNIT= variable, or null */
  int32_t *iostat;      /* IOSTAT= variable, or null */
  char *iomsg;          /* IOMSG= variable, or null */
  size_t iomsg_len;
  int32_t flags;        /* KAF_IO_ERR when ERR= or IOSTAT= is present */
} kaf_open_spec;

/* OPEN (unit is ignored with NEWUNIT=). Returns 0 or the error status. */
KAF_API int32_t __KAFf90_openf4x(const char *src_file, int32_t src_line, int64_t unit,
                                 const kaf_open_spec *specifiers);
/* CLOSE with STATUS= ("KEEP" or "DELETE"; null: absent). */
KAF_API int32_t __KAFf90_close4(const char *src_file, int32_t src_line, int64_t unit,
                                const char *status, size_t status_len, int32_t *iostat,
                                char *iomsg, size_t iomsg_len, int32_t flags);

/* REWIND: ends a pending record and positions the file at its start. */
KAF_API int32_t __KAFf90_rewind4(const char *src_file, int32_t src_line, int64_t unit,
                                 int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);

/* FLUSH: records already ended reach the file (an unconnected unit: no
 * effect). */
KAF_API int32_t __KAFf90_flush4(const char *src_file, int32_t src_line, int64_t unit,
                                int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);

/* Ends every unit at a fatal error without flushing what is half written
 * (used when the reporter must not re-enter I/O). */
KAF_API void __KAFf90_io_abort(void);

KAF_EXTERN_C_END

#endif
