/* List-directed input and output (libkafrts): the item entries that a
 * list-directed READ or WRITE calls once per scalar item after the engine's
 * begin call, and the preparation calls that stand in for a format. Every
 * item entry takes the statement's I/O transfer context first and returns a
 * status: 0 success; anything else came from the engine's __KAFf90_ioerr and
 * is passed straight back.
 *
 * Suffixes: i1 i2 i i4 INTEGER of 8, 16, 32, 64 bits; l1 l2 l l4 LOGICAL of
 * the same widths; h half (its 16 bits), r REAL, d DOUBLE PRECISION, dd the
 * double-double kind; hc c dc ddc the COMPLEX of each; ch default CHARACTER
 * (bytes), ch2j Shift-JIS (16-bit codes), ch2u UCS-2 (16-bit), ch4 UCS-4. */
#ifndef KAFRTS_LISTIO_H
#define KAFRTS_LISTIO_H

#include "kafrts/common.h"
#include "kafrts/io.h"

KAF_EXTERN_C_BEGIN

/* ---- List-directed output ---------------------------------------------- */
/* Prepares a WRITE begun by the engine for list-directed output; returns 0. */
KAF_API uint64_t __KAFf90_init_loutput(kaf_ioctx *ctx);
/* Writes the blank before a value of length characters, first ending the
 * record when the value would reach its last column (namelist output). */
KAF_API uint64_t __KAFf90_value_separator(kaf_ioctx *ctx, int64_t length);
KAF_API int32_t __KAFf90_lio_write_i1(kaf_ioctx *ctx, int8_t value);
KAF_API int32_t __KAFf90_lio_write_i2(kaf_ioctx *ctx, int16_t value);
KAF_API int32_t __KAFf90_lio_write_i(kaf_ioctx *ctx, int32_t value);
KAF_API int32_t __KAFf90_lio_write_i4(kaf_ioctx *ctx, int64_t value);
KAF_API int32_t __KAFf90_lio_write_l1(kaf_ioctx *ctx, int8_t value);
KAF_API int32_t __KAFf90_lio_write_l2(kaf_ioctx *ctx, int16_t value);
KAF_API int32_t __KAFf90_lio_write_l(kaf_ioctx *ctx, int32_t value);
KAF_API int32_t __KAFf90_lio_write_l4(kaf_ioctx *ctx, int64_t value);
KAF_API int32_t __KAFf90_lio_write_h(kaf_ioctx *ctx, uint16_t value);
KAF_API int32_t __KAFf90_lio_write_r(kaf_ioctx *ctx, float value);
KAF_API int32_t __KAFf90_lio_write_d(kaf_ioctx *ctx, double value);
/* The double-double REAL item (both names). */
KAF_API int32_t __KAFf90_write_dd(kaf_ioctx *ctx, kaf_dd value);
KAF_API int32_t __KAFf90_lio_write_dd(kaf_ioctx *ctx, kaf_dd value);
KAF_API int32_t __KAFf90_lio_write_hc(kaf_ioctx *ctx, uint16_t re, uint16_t im);
KAF_API int32_t __KAFf90_lio_write_c(kaf_ioctx *ctx, float re, float im);
KAF_API int32_t __KAFf90_lio_write_dc(kaf_ioctx *ctx, double re, double im);
KAF_API int32_t __KAFf90_lio_write_ddc(kaf_ioctx *ctx, kaf_ddc value);
/* Character items: address and length in characters. */
KAF_API int32_t __KAFf90_lio_write_ch(kaf_ioctx *ctx, const char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_write_ch2j(kaf_ioctx *ctx, const uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_write_ch2u(kaf_ioctx *ctx, const uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_write_ch4(kaf_ioctx *ctx, const uint32_t *item, kaf_charlen len);

/* ---- List-directed input ----------------------------------------------- */
/* Prepares a READ begun by the engine for list-directed input (a child
 * statement continues its parent's scan); returns ctx. */
KAF_API kaf_ioctx *__KAFf90_init_linput(kaf_ioctx *ctx);
/* Frees what the scan still holds (a value with a repeat count left over);
 * the engine's end calls of a list-directed READ call it. */
KAF_API void __KAFf90_lio_end_input(kaf_ioctx *ctx);
/* Fetches the next character of the scan into the context (namelist input). */
KAF_API uint64_t __KAFf90_linput_getch(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_lio_read_i1(kaf_ioctx *ctx, int8_t *item);
KAF_API int32_t __KAFf90_lio_read_i2(kaf_ioctx *ctx, int16_t *item);
KAF_API int32_t __KAFf90_lio_read_i(kaf_ioctx *ctx, int32_t *item);
KAF_API int32_t __KAFf90_lio_read_i4(kaf_ioctx *ctx, int64_t *item);
KAF_API int32_t __KAFf90_lio_read_l1(kaf_ioctx *ctx, int8_t *item);
KAF_API int32_t __KAFf90_lio_read_l2(kaf_ioctx *ctx, int16_t *item);
KAF_API int32_t __KAFf90_lio_read_l(kaf_ioctx *ctx, int32_t *item);
KAF_API int32_t __KAFf90_lio_read_l4(kaf_ioctx *ctx, int64_t *item);
KAF_API int32_t __KAFf90_lio_read_r(kaf_ioctx *ctx, float *item);
KAF_API int32_t __KAFf90_lio_read_d(kaf_ioctx *ctx, double *item);
/* Complex items: item[0] real part, item[1] imaginary part. */
KAF_API int32_t __KAFf90_lio_read_c(kaf_ioctx *ctx, float *item);
KAF_API int32_t __KAFf90_lio_read_dc(kaf_ioctx *ctx, double *item);
/* Half precision (its 16 bits; complex: two of them) and double-double
 * items, converted from the value's digits to their own precision. */
KAF_API int32_t __KAFf90_lio_read_h(kaf_ioctx *ctx, uint16_t *item);
KAF_API int32_t __KAFf90_lio_read_hc(kaf_ioctx *ctx, uint16_t *item);
KAF_API int32_t __KAFf90_lio_read_dd(kaf_ioctx *ctx, kaf_dd *item);
KAF_API int32_t __KAFf90_lio_read_ddc(kaf_ioctx *ctx, kaf_ddc *item);
KAF_API int32_t __KAFf90_lio_read_ch(kaf_ioctx *ctx, char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_ch2j(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_ch2u(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_ch4(kaf_ioctx *ctx, uint32_t *item, kaf_charlen len);
/* The character readers of namelist input. */
KAF_API int32_t __KAFf90_lio_read_nl_ch(kaf_ioctx *ctx, char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_nl_ch2j(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_nl_ch2u(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lio_read_nl_ch4(kaf_ioctx *ctx, uint32_t *item, kaf_charlen len);

/* ---- Preconnected-unit options (module f90_preconn_io) ----------------- */
/* The options, owned by the engine and applied when it connects a
 * preconnected unit: "NULL"/"ZERO", "REWIND"/"ASIS"/"APPEND", a file-name
 * prefix of at most 30 characters, and a verbose switch. */
KAF_API extern char __KAFf90_pcio_blank[8];
KAF_API extern char __KAFf90_pcio_position[8];
KAF_API extern char __KAFf90_pcio_prefix[31];
KAF_API extern int32_t __KAFf90_pcio_verbose;
/* IOINIT(BLANK, POSITION, PREFIX, VERBOSE): every argument optional (null);
 * the character lengths follow. An invalid value ends the program. */
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit(const char *blank, const char *position,
                                                      const char *prefix, const int32_t *verbose,
                                                      kaf_charlen blank_len, kaf_charlen position_len,
                                                      kaf_charlen prefix_len);
/* The same with VERBOSE of LOGICAL kind 1, 2 and 4 (8, 16, 64 bits). */
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit1(const char *blank, const char *position,
                                                       const char *prefix, const int8_t *verbose,
                                                       kaf_charlen blank_len, kaf_charlen position_len,
                                                       kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit2(const char *blank, const char *position,
                                                       const char *prefix, const int16_t *verbose,
                                                       kaf_charlen blank_len, kaf_charlen position_len,
                                                       kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit4(const char *blank, const char *position,
                                                       const char *prefix, const int64_t *verbose,
                                                       kaf_charlen blank_len, kaf_charlen position_len,
                                                       kaf_charlen prefix_len);
/* GET_PCIO_OPTIONS(BLANK, POSITION, PREFIX, VERBOSE), every argument
 * optional; VERBOSE of LOGICAL kind 1, 2, default (3) and 4. */
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options1(char *blank, char *position, char *prefix,
                                                                 int8_t *verbose, kaf_charlen blank_len,
                                                                 kaf_charlen position_len, kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options2(char *blank, char *position, char *prefix,
                                                                 int16_t *verbose, kaf_charlen blank_len,
                                                                 kaf_charlen position_len, kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options3(char *blank, char *position, char *prefix,
                                                                 int32_t *verbose, kaf_charlen blank_len,
                                                                 kaf_charlen position_len, kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options4(char *blank, char *position, char *prefix,
                                                                 int64_t *verbose, kaf_charlen blank_len,
                                                                 kaf_charlen position_len, kaf_charlen prefix_len);
/* The UCS-4 twins: character arguments of 32-bit characters (lengths in
 * characters). A character with no default-kind equivalent ends the program. */
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit_CU(const uint32_t *blank, const uint32_t *position,
                                                         const uint32_t *prefix, const int32_t *verbose,
                                                         kaf_charlen blank_len, kaf_charlen position_len,
                                                         kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit1_CU(const uint32_t *blank, const uint32_t *position,
                                                          const uint32_t *prefix, const int8_t *verbose,
                                                          kaf_charlen blank_len, kaf_charlen position_len,
                                                          kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit2_CU(const uint32_t *blank, const uint32_t *position,
                                                          const uint32_t *prefix, const int16_t *verbose,
                                                          kaf_charlen blank_len, kaf_charlen position_len,
                                                          kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_ioinit4_CU(const uint32_t *blank, const uint32_t *position,
                                                          const uint32_t *prefix, const int64_t *verbose,
                                                          kaf_charlen blank_len, kaf_charlen position_len,
                                                          kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options1_CU(uint32_t *blank, uint32_t *position,
                                                                    uint32_t *prefix, int8_t *verbose,
                                                                    kaf_charlen blank_len, kaf_charlen position_len,
                                                                    kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options2_CU(uint32_t *blank, uint32_t *position,
                                                                    uint32_t *prefix, int16_t *verbose,
                                                                    kaf_charlen blank_len, kaf_charlen position_len,
                                                                    kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options3_CU(uint32_t *blank, uint32_t *position,
                                                                    uint32_t *prefix, int32_t *verbose,
                                                                    kaf_charlen blank_len, kaf_charlen position_len,
                                                                    kaf_charlen prefix_len);
KAF_API void __KAFf90_MODULE_f90_preconn_io_MP_get_pcio_options4_CU(uint32_t *blank, uint32_t *position,
                                                                    uint32_t *prefix, int64_t *verbose,
                                                                    kaf_charlen blank_len, kaf_charlen position_len,
                                                                    kaf_charlen prefix_len);

/* ---- Engine statements the legacy layer drives -------------------------
 * Each returns 0 or the status of the error raised (IOSTAT=/IOMSG=/ERR=
 * as for REWIND); src_file/src_line locate the statement (null/0). */
/* BACKSPACE: to the start of the record before the current position. */
KAF_API int32_t __KAFf90_backspace4(const char *src_file, int32_t src_line, int64_t unit, int32_t *iostat,
                                    char *iomsg, size_t iomsg_len, int32_t flags);
/* ENDFILE: the file ends at the current position. */
KAF_API int32_t __KAFf90_endfile4(const char *src_file, int32_t src_line, int64_t unit, int32_t *iostat,
                                  char *iomsg, size_t iomsg_len, int32_t flags);
/* WAIT (ID= address or null): transfers complete within their statements. */
KAF_API int32_t __KAFf90_waitf4(const char *src_file, int32_t src_line, int64_t unit, const int64_t *id,
                                int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
/* DELIM= of a unit record: '\'', '"' or 0 for NONE. */
KAF_API int32_t __KAFf90_unit_delim(const void *unit);
/* RECL= of a unit record (0: none given). */
KAF_API int64_t __KAFf90_unit_recl(const void *unit);

/* INQUIRE: an inquiry record (opaque), opened by unit or by file, one query
 * per specifier, then end_inquire. Character results are blank-padded into
 * (address, length); EXIST, OPENED, NAMED are default LOGICALs; NUMBER,
 * NEXTREC, RECL, POS and SIZE 64-bit integers. NEXTREC (direct access) and
 * POS (stream access) leave the variable unchanged where they are
 * undefined; SIZE is the file's size in bytes, -1 when it has none. */
typedef struct kaf_inquiry {
  uint64_t words[6];
} kaf_inquiry;
enum {
  KAF_INQ_ACCESS = 1, KAF_INQ_ACTION, KAF_INQ_BLANK, KAF_INQ_DELIM, KAF_INQ_DIRECT, KAF_INQ_EXIST,
  KAF_INQ_FORM, KAF_INQ_FORMATTED, KAF_INQ_OPENED, KAF_INQ_NAME, KAF_INQ_NAMED, KAF_INQ_NEXTREC,
  KAF_INQ_NUMBER, KAF_INQ_PAD, KAF_INQ_POSITION, KAF_INQ_READ, KAF_INQ_READWRITE, KAF_INQ_RECL,
  KAF_INQ_SEQUENTIAL, KAF_INQ_UNFORMATTED, KAF_INQ_WRITE, KAF_INQ_POS, KAF_INQ_SIZE
};
KAF_API int32_t __KAFf90_inquire_unit(kaf_inquiry *q, int64_t unit, int32_t *iostat, char *iomsg, int32_t flags);
/* By file: EXIST= and NAME= are answered at once. */
KAF_API int32_t __KAFf90_inquire_file(kaf_inquiry *q, const char *file, size_t file_len, int32_t *exist,
                                      char *name, size_t name_len, int32_t *iostat, char *iomsg, int32_t flags);
KAF_API int32_t __KAFf90_inquire_query(kaf_inquiry *q, int32_t which, void *address, size_t length);
KAF_API int32_t __KAFf90_end_inquire(kaf_inquiry *q);

/* ---- Legacy statement entry layer --------------------------------------
 * Older object code: one static transfer context behind every call; units
 * are 32-bit; the flag word comes from ERR=, END=, EOR= and IOSTAT= (the
 * write-side and internal begin calls keep only "any": 4 or 0). Every call
 * returns 0 or the status to branch on. */
/* The statement chains, longest legacy form first. */
KAF_API int32_t __KAFf90_read_sequential_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit, int32_t *iostat,
                                        char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_sequential(kaf_ioctx *ctx, int64_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                   int32_t flags);
KAF_API int32_t __KAFf90_write_sequential_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit, int32_t *iostat,
                                        char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_sequential(kaf_ioctx *ctx, int64_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                   int32_t flags);
/* Internal-file descriptors of default CHARACTER (type code 10). */
KAF_API void __KAFf90_array_ifile(kaf_ifile *f, const int64_t *desc, int32_t rank);
KAF_API void __KAFf90_scalar_ifile(kaf_ifile *f, char *address, size_t len);
KAF_API int32_t __KAFf90_backspace(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_backspacef(int32_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_backspacef_line(const char *file, int32_t line, int32_t unit, int32_t *iostat, char *iomsg,
                                      size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_endfile(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_endfilef(int32_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_endfilef_line(const char *file, int32_t line, int32_t unit, int32_t *iostat, char *iomsg,
                                      size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_rewind(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_rewindf(int32_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_rewindf_line(const char *file, int32_t line, int32_t unit, int32_t *iostat, char *iomsg,
                                      size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_flushf(int32_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_flushf_line(const char *file, int32_t line, int32_t unit, int32_t *iostat, char *iomsg,
                                      size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_close(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_closef(int32_t unit, const char *status, size_t status_len, int32_t *iostat, char *iomsg,
                                size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_closef_line(const char *file, int32_t line, int32_t unit, const char *status,
                                     size_t status_len, int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
/* WAIT: ID= is the address of a 32-bit integer, or null. */
KAF_API int32_t __KAFf90_waitf(int32_t unit, const int32_t *id, int32_t *iostat, char *iomsg, size_t iomsg_len,
                               int32_t flags);
KAF_API int32_t __KAFf90_waitf_line(const char *file, int32_t line, int32_t unit, const int32_t *id, int32_t *iostat,
                                    char *iomsg, size_t iomsg_len, int32_t flags);
/* OPEN. The legacy specifier block: the tag word 53, then the engine's
 * specifier record. */
#define KAF_OPEN_BLOCK_TAG 53
typedef struct kaf_open_block {
  int64_t tag;
  kaf_open_spec specifiers;
} kaf_open_block;
/* open: FILE=, STATUS=, FORM=, ACCESS= (address and length each, null when
 * absent) and RECL= (address or null). */
KAF_API int32_t __KAFf90_open(int32_t unit, const char *file, size_t file_len, const char *status, size_t status_len,
                              const char *form, size_t form_len, const char *access, size_t access_len,
                              const int32_t *recl, int32_t flags);
/* openf: as open, then ACTION=, POSITION=, BLANK=, DELIM=, PAD= and IOSTAT=. */
KAF_API int32_t __KAFf90_openf(int32_t unit, const char *file, size_t file_len, const char *status,
                               size_t status_len, const char *form, size_t form_len, const char *access,
                               size_t access_len, const int32_t *recl, const char *action, size_t action_len,
                               const char *position, size_t position_len, const char *blank, size_t blank_len,
                               const char *delim, size_t delim_len, const char *pad, size_t pad_len, int32_t *iostat,
                               int32_t flags);
KAF_API int32_t __KAFf90_openf2g(int32_t unit, const char *file, size_t file_len, kaf_open_block *block);
KAF_API int32_t __KAFf90_openf2(int32_t unit, const kaf_open_block *block);
KAF_API int32_t __KAFf90_openf4(const char *src_file, int32_t src_line, int64_t unit, const kaf_open_block *block);
KAF_API int32_t __KAFf90_openf2x(int32_t unit, const kaf_open_spec *specifiers);
KAF_API int32_t __KAFf90_openf2gx(const char *src_file, int32_t src_line, int32_t unit, const kaf_open_spec *specifiers);
/* Legacy begin calls. A null format is list-directed. ADVANCE= address and
 * length (null: absent); SIZE= the address of a 32-bit counter (null). */
KAF_API int32_t __KAFf90_read(int32_t unit, const char *fmt, int64_t fmt_len, const char *advance,
                              size_t advance_len, int32_t *size, int32_t flags);
KAF_API int32_t __KAFf90_write(int32_t unit, const char *fmt, int64_t fmt_len, const char *advance,
                               size_t advance_len, int32_t flags);
/* Internal files: a character array (descriptor and rank) or scalar
 * (address and length); the read forms take one ignored argument more. */
KAF_API int32_t __KAFf90_ireada(const int64_t *desc, int32_t rank, const char *fmt, int64_t fmt_len,
                                int32_t ignored, int32_t flags);
KAF_API int32_t __KAFf90_ireads(char *address, size_t len, const char *fmt, int64_t fmt_len, int32_t ignored,
                                int32_t flags);
KAF_API int32_t __KAFf90_iwritea(const int64_t *desc, int32_t rank, const char *fmt, int64_t fmt_len, int32_t flags);
KAF_API int32_t __KAFf90_iwrites(char *address, size_t len, const char *fmt, int64_t fmt_len, int32_t flags);
/* Legacy end calls; endread stores SIZE= (low 32 bits). */
KAF_API int32_t __KAFf90_endread(void);
KAF_API int32_t __KAFf90_endwrite(void);
KAF_API int32_t __KAFf90_endiread(void);
KAF_API int32_t __KAFf90_endiwrite(void);
/* Legacy item calls: formatted (read_/write_), old-style (dusty_), and
 * list-directed (lread_/lwrite_). write_r edits through the DOUBLE
 * PRECISION editor. */
KAF_API int32_t __KAFf90_read_i1(int8_t *item);
KAF_API int32_t __KAFf90_write_i1(int8_t value);
KAF_API int32_t __KAFf90_dusty_read_i1(int8_t *item);
KAF_API int32_t __KAFf90_dusty_write_i1(int8_t value);
KAF_API int32_t __KAFf90_lread_i1(int8_t *item);
KAF_API int32_t __KAFf90_read_i2(int16_t *item);
KAF_API int32_t __KAFf90_write_i2(int16_t value);
KAF_API int32_t __KAFf90_dusty_read_i2(int16_t *item);
KAF_API int32_t __KAFf90_dusty_write_i2(int16_t value);
KAF_API int32_t __KAFf90_lread_i2(int16_t *item);
KAF_API int32_t __KAFf90_read_i(int32_t *item);
KAF_API int32_t __KAFf90_write_i(int32_t value);
KAF_API int32_t __KAFf90_dusty_read_i(int32_t *item);
KAF_API int32_t __KAFf90_dusty_write_i(int32_t value);
KAF_API int32_t __KAFf90_lread_i(int32_t *item);
KAF_API int32_t __KAFf90_read_i4(int64_t *item);
KAF_API int32_t __KAFf90_write_i4(int64_t value);
KAF_API int32_t __KAFf90_dusty_read_i4(int64_t *item);
KAF_API int32_t __KAFf90_dusty_write_i4(int64_t value);
KAF_API int32_t __KAFf90_lread_i4(int64_t *item);
KAF_API int32_t __KAFf90_read_l1(int8_t *item);
KAF_API int32_t __KAFf90_write_l1(int8_t value);
KAF_API int32_t __KAFf90_dusty_read_l1(int8_t *item);
KAF_API int32_t __KAFf90_dusty_write_l1(int8_t value);
KAF_API int32_t __KAFf90_lread_l1(int8_t *item);
KAF_API int32_t __KAFf90_read_l2(int16_t *item);
KAF_API int32_t __KAFf90_write_l2(int16_t value);
KAF_API int32_t __KAFf90_dusty_read_l2(int16_t *item);
KAF_API int32_t __KAFf90_dusty_write_l2(int16_t value);
KAF_API int32_t __KAFf90_lread_l2(int16_t *item);
KAF_API int32_t __KAFf90_read_l(int32_t *item);
KAF_API int32_t __KAFf90_write_l(int32_t value);
KAF_API int32_t __KAFf90_dusty_read_l(int32_t *item);
KAF_API int32_t __KAFf90_dusty_write_l(int32_t value);
KAF_API int32_t __KAFf90_lread_l(int32_t *item);
KAF_API int32_t __KAFf90_read_l4(int64_t *item);
KAF_API int32_t __KAFf90_write_l4(int64_t value);
KAF_API int32_t __KAFf90_dusty_read_l4(int64_t *item);
KAF_API int32_t __KAFf90_dusty_write_l4(int64_t value);
KAF_API int32_t __KAFf90_lread_l4(int64_t *item);
KAF_API int32_t __KAFf90_read_r(float *item);
KAF_API int32_t __KAFf90_write_r(float value);
KAF_API int32_t __KAFf90_dusty_read_r(float *item);
KAF_API int32_t __KAFf90_dusty_write_r(float value);
KAF_API int32_t __KAFf90_lread_r(float *item);
KAF_API int32_t __KAFf90_read_d(double *item);
KAF_API int32_t __KAFf90_write_d(double value);
KAF_API int32_t __KAFf90_dusty_read_d(double *item);
KAF_API int32_t __KAFf90_dusty_write_d(double value);
KAF_API int32_t __KAFf90_lread_d(double *item);
KAF_API int32_t __KAFf90_read_c(float *item);
KAF_API int32_t __KAFf90_read_dc(double *item);
KAF_API int32_t __KAFf90_dusty_read_c(float *item);
KAF_API int32_t __KAFf90_dusty_read_dc(double *item);
KAF_API int32_t __KAFf90_write_c(float re, float im);
KAF_API int32_t __KAFf90_write_dc(double re, double im);
KAF_API int32_t __KAFf90_dusty_write_c(float re, float im);
KAF_API int32_t __KAFf90_dusty_write_dc(double re, double im);
KAF_API int32_t __KAFf90_read_ch(char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_write_ch(const char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lread_c(float *item);
KAF_API int32_t __KAFf90_lread_dc(double *item);
KAF_API int32_t __KAFf90_lread_ch(char *item, kaf_charlen len);
KAF_API int32_t __KAFf90_lwrite_i1(int8_t value);
KAF_API int32_t __KAFf90_lwrite_i2(int16_t value);
KAF_API int32_t __KAFf90_lwrite_i(int32_t value);
KAF_API int32_t __KAFf90_lwrite_i4(int64_t value);
KAF_API int32_t __KAFf90_lwrite_l1(int8_t value);
KAF_API int32_t __KAFf90_lwrite_l2(int16_t value);
KAF_API int32_t __KAFf90_lwrite_l(int32_t value);
KAF_API int32_t __KAFf90_lwrite_l4(int64_t value);
KAF_API int32_t __KAFf90_lwrite_r(float value);
KAF_API int32_t __KAFf90_lwrite_d(double value);
KAF_API int32_t __KAFf90_lwrite_c(float re, float im);
KAF_API int32_t __KAFf90_lwrite_dc(double re, double im);
KAF_API int32_t __KAFf90_lwrite_ch(const char *item, kaf_charlen len);
/* INQUIRE by FILE= and by UNIT=: one (address, length) pair per character
 * specifier, one address per other specifier, null when absent; return 0. */
KAF_API int32_t __KAFf90_inquire_f(const char *file, size_t file_len,
    char *access, size_t access_len,
    char *action, size_t action_len,
    char *blank, size_t blank_len,
    char *delim, size_t delim_len,
    char *direct, size_t direct_len,
    char *form, size_t form_len,
    char *formatted, size_t formatted_len,
    int32_t *opened,
    int32_t *named,
    int64_t *nextrec,
    int32_t *number,
    char *pad, size_t pad_len,
    char *position, size_t position_len,
    char *read, size_t read_len,
    char *readwrite, size_t readwrite_len,
    int64_t *recl,
    char *sequential, size_t sequential_len,
    char *unformatted, size_t unformatted_len,
    char *write, size_t write_len,
    int32_t *exist, char *name, size_t name_len);
KAF_API int32_t __KAFf90_inquire_u(int32_t unit,
    char *access, size_t access_len,
    char *action, size_t action_len,
    char *blank, size_t blank_len,
    char *delim, size_t delim_len,
    char *direct, size_t direct_len,
    int32_t *exist,
    char *form, size_t form_len,
    char *formatted, size_t formatted_len,
    int32_t *opened,
    char *name, size_t name_len,
    int32_t *named,
    int64_t *nextrec,
    int32_t *number,
    char *pad, size_t pad_len,
    char *position, size_t position_len,
    char *read, size_t read_len,
    char *readwrite, size_t readwrite_len,
    int64_t *recl,
    char *sequential, size_t sequential_len,
    char *unformatted, size_t unformatted_len,
    char *write, size_t write_len);
/* 1 when the blank-padded value equals the upper-case keyword (case folded). */
KAF_API int32_t __KAFf90_cidata_match(const char *value, size_t length, const char *keyword);

/* ---- Unformatted and direct-access statements of the engine -----------
 * Sequential unformatted records are framed by 4-byte length markers;
 * direct-access records are RECL bytes at (record - 1) * RECL (formatted
 * ones blank-padded, without separators). The begin calls leave the
 * context ready for the block and array calls (unformatted) or for
 * __KAFf90_establish_format (formatted). */
KAF_API int32_t __KAFf90_read_unf4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                   int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_unf4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                    int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_direct_unf4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                          int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                          int32_t flags);
KAF_API int32_t __KAFf90_write_direct_unf4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                           int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                           int32_t flags);
KAF_API int32_t __KAFf90_read_direct_fmt4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                          int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                          int32_t flags);
KAF_API int32_t __KAFf90_write_direct_fmt4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                           int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                           int32_t flags);
/* Stream access, unformatted: POS= (first byte 1) or null; the items move
 * straight between the file and the variables; one end call for both. */
KAF_API int32_t __KAFf90_read_stream4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                      const int64_t *pos, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                      int32_t flags);
KAF_API int32_t __KAFf90_write_stream4(kaf_ioctx *ctx, const char *src_file, int32_t src_line, int64_t unit,
                                       const int64_t *pos, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                       int32_t flags);
KAF_API int32_t __KAFf90_end_stream(kaf_ioctx *ctx);
/* bytes of an item moved between it and the record (the last argument 0). */
KAF_API int32_t __KAFf90_read_unf2_block(kaf_ioctx *ctx, void *address, int64_t bytes, int32_t zero);
KAF_API int32_t __KAFf90_write_unf2_block(kaf_ioctx *ctx, const void *address, int64_t bytes, int32_t zero);
/* An array in array element order: dims is the per-dimension part of its
 * descriptor (extent, byte stride, lower bound); the rank is bits 8 to 15
 * of type_code. */
KAF_API int32_t __KAFf90_read_unf2_dv(kaf_ioctx *ctx, int32_t type_code, void *base, const int64_t *dims,
                                      int64_t element_size, int32_t zero);
KAF_API int32_t __KAFf90_write_unf2_dv(kaf_ioctx *ctx, int32_t type_code, const void *base, const int64_t *dims,
                                       int64_t element_size, int32_t zero);
KAF_API int32_t __KAFf90_end_read_unf(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_write_unf(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_read_direct_unf(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_write_direct_unf(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_read_direct_fmt(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_end_write_direct_fmt(kaf_ioctx *ctx);

/* Their legacy chains and entries. */
KAF_API int32_t __KAFf90_read_unf_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                       int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_unf(kaf_ioctx *ctx, int64_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                  int32_t flags);
KAF_API int32_t __KAFf90_write_unf_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                        int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_unf(kaf_ioctx *ctx, int64_t unit, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                   int32_t flags);
KAF_API int32_t __KAFf90_read_direct_unf_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                              int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                              int32_t flags);
KAF_API int32_t __KAFf90_read_direct_unf(kaf_ioctx *ctx, int64_t unit, int64_t record, int32_t *iostat,
                                         char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_direct_unf_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                               int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                               int32_t flags);
KAF_API int32_t __KAFf90_write_direct_unf(kaf_ioctx *ctx, int64_t unit, int64_t record, int32_t *iostat,
                                          char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_direct_fmt_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                              int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                              int32_t flags);
KAF_API int32_t __KAFf90_read_direct_fmt(kaf_ioctx *ctx, int64_t unit, int64_t record, int32_t *iostat,
                                         char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_write_direct_fmt_line(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                               int64_t record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                               int32_t flags);
KAF_API int32_t __KAFf90_write_direct_fmt(kaf_ioctx *ctx, int64_t unit, int64_t record, int32_t *iostat,
                                          char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_read_unf_block(kaf_ioctx *ctx, void *address, int64_t bytes);
KAF_API int32_t __KAFf90_write_unf_block(kaf_ioctx *ctx, const void *address, int64_t bytes);
KAF_API int32_t __KAFf90_read_unf_dv(kaf_ioctx *ctx, int32_t type_code, void *base, const int64_t *dims,
                                     int64_t element_size);
KAF_API int32_t __KAFf90_write_unf_dv(kaf_ioctx *ctx, int32_t type_code, const void *base, const int64_t *dims,
                                      int64_t element_size);
/* Legacy begin calls (dread takes one ignored argument before the flags). */
KAF_API int32_t __KAFf90_dread(int32_t unit, const char *fmt, int64_t fmt_len, int32_t record, int32_t ignored,
                               int32_t flags);
KAF_API int32_t __KAFf90_dwrite(int32_t unit, const char *fmt, int64_t fmt_len, int32_t record, int32_t flags);
KAF_API int32_t __KAFf90_readu(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_writeu(int32_t unit, int32_t flags);
KAF_API int32_t __KAFf90_dreadu(int32_t unit, int32_t record, int32_t flags);
KAF_API int32_t __KAFf90_dwriteu(int32_t unit, int32_t record, int32_t flags);
/* Unformatted items: a block of bytes; an array (type code with its rank in
 * bits 8-15, its descriptor, the element size); a character array (the
 * size is multiplied by the descriptor's character length). */
KAF_API int32_t __KAFf90_uread(void *address, int64_t bytes);
KAF_API int32_t __KAFf90_uwrite(const void *address, int64_t bytes);
KAF_API int32_t __KAFf90_ureada(int32_t type_code, const int64_t *desc, int64_t element_size);
KAF_API int32_t __KAFf90_uwritea(int32_t type_code, const int64_t *desc, int64_t element_size);
KAF_API int32_t __KAFf90_ureadcha(int32_t type_code, const int64_t *desc, int64_t count);
KAF_API int32_t __KAFf90_uwritecha(int32_t type_code, const int64_t *desc, int64_t count);
/* Unformatted READ/WRITE with options: REC= (address of the record number,
 * null for a sequential statement), IOSTAT=, IOMSG=. The 4 forms take the
 * caller's context; the legacy forms use the legacy context (the write
 * side reduces its flag word). */
KAF_API int32_t __KAFf90_readu_optf4(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                     const int64_t *record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                     int32_t flags);
KAF_API int32_t __KAFf90_writeu_opt4(kaf_ioctx *ctx, const char *file, int32_t line, int64_t unit,
                                     const int64_t *record, int32_t *iostat, char *iomsg, size_t iomsg_len,
                                     int32_t flags);
KAF_API int32_t __KAFf90_readu_optf2g(const char *file, int32_t line, int32_t unit, const int32_t *record,
                                      int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_readu_optf2(int32_t unit, const int32_t *record, int32_t *iostat, char *iomsg,
                                     size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_readu_optf(int32_t unit, const int32_t *record, int32_t *iostat, int32_t flags);
KAF_API int32_t __KAFf90_readu_opt(int32_t unit, const int32_t *record, int32_t flags);
KAF_API int32_t __KAFf90_writeu_optf2g(const char *file, int32_t line, int32_t unit, const int32_t *record,
                                       int32_t *iostat, char *iomsg, size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_writeu_optf2(int32_t unit, const int32_t *record, int32_t *iostat, char *iomsg,
                                      size_t iomsg_len, int32_t flags);
KAF_API int32_t __KAFf90_writeu_optf_line(const char *file, int32_t line, int32_t unit, const int32_t *record,
                                          int32_t *iostat, int32_t flags);
KAF_API int32_t __KAFf90_writeu_optf(int32_t unit, const int32_t *record, int32_t *iostat, int32_t flags);
KAF_API int32_t __KAFf90_writeu_opt(int32_t unit, const int32_t *record, int32_t flags);
KAF_API int32_t __KAFf90_endreadu(void);
KAF_API int32_t __KAFf90_endwriteu(void);
KAF_API int32_t __KAFf90_enddread(void);
KAF_API int32_t __KAFf90_enddwrite(void);
KAF_API int32_t __KAFf90_enddreadu(void);
KAF_API int32_t __KAFf90_enddwriteu(void);

KAF_EXTERN_C_END

#endif
