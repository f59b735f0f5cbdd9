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

KAF_EXTERN_C_END

#endif
