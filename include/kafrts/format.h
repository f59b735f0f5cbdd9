/* Formatted editing (libkafrts): the format interpreter and the item entries
 * of INTEGER, LOGICAL and CHARACTER items under I, B, O, Z, G, L and A
 * editing. Every call takes the statement's I/O transfer context first and
 * returns a status: 0 success, anything else is passed straight back to the
 * engine. */
#ifndef KAFRTS_FORMAT_H
#define KAFRTS_FORMAT_H

#include "kafrts/common.h"
#include "kafrts/io.h"

KAF_EXTERN_C_BEGIN

/* ---- Format interpreter ------------------------------------------------ */
/* Attaches the format text (length -1: NUL-terminated) to a statement begun
 * by the engine; direction 1 input, 2 output. */
KAF_API uint64_t __KAFf90_establish_format(kaf_ioctx *ctx, const char *text, int64_t length,
                                           int32_t direction);
/* Carries out control edit descriptors up to the next data descriptor. */
KAF_API uint64_t __KAFf90_maybe_next_edit(kaf_ioctx *ctx, int32_t direction);
/* Obtains a data edit descriptor, reverting the format when it runs out. */
KAF_API uint64_t __KAFf90_definitely_next_edit(kaf_ioctx *ctx, int32_t direction);
/* 1 when the sequencer stands at a DT edit descriptor. */
KAF_API int32_t __KAFf90_next_edit_is_DT(const kaf_ioctx *ctx);
/* Field status of the last input field: 0, -1 end of file, -2 end of record. */
KAF_API void __KAFf90_clear_field_status(kaf_ioctx *ctx);
KAF_API int32_t __KAFf90_get_field_status(const kaf_ioctx *ctx);

/* ---- INTEGER and LOGICAL output items ---------------------------------- */
KAF_API uint64_t __KAFf90_fmt_write_i1(kaf_ioctx *ctx, int8_t value);
KAF_API uint64_t __KAFf90_fmt_write_i2(kaf_ioctx *ctx, int16_t value);
KAF_API uint64_t __KAFf90_fmt_write_i(kaf_ioctx *ctx, int32_t value);
KAF_API uint64_t __KAFf90_fmt_write_i4(kaf_ioctx *ctx, int64_t value);
KAF_API uint64_t __KAFf90_fmt_write_l1(kaf_ioctx *ctx, int8_t value);
KAF_API uint64_t __KAFf90_fmt_write_l2(kaf_ioctx *ctx, int16_t value);
KAF_API uint64_t __KAFf90_fmt_write_l(kaf_ioctx *ctx, int32_t value);
KAF_API uint64_t __KAFf90_fmt_write_l4(kaf_ioctx *ctx, int64_t value);
/* Legacy twins: also accept A editing of the item's bytes. */
KAF_API uint64_t __KAFf90_dusty_fmt_write_i1(kaf_ioctx *ctx, int8_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_i2(kaf_ioctx *ctx, int16_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_i(kaf_ioctx *ctx, int32_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_i4(kaf_ioctx *ctx, int64_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_l1(kaf_ioctx *ctx, int8_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_l2(kaf_ioctx *ctx, int16_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_l(kaf_ioctx *ctx, int32_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_l4(kaf_ioctx *ctx, int64_t value);
/* A field of w asterisks. */
KAF_API uint64_t __KAFf90_stars(kaf_ioctx *ctx, int32_t w);

/* ---- INTEGER and LOGICAL input items ----------------------------------- */
KAF_API uint64_t __KAFf90_fmt_read_i1(kaf_ioctx *ctx, int8_t *item);
KAF_API uint64_t __KAFf90_fmt_read_i2(kaf_ioctx *ctx, int16_t *item);
KAF_API uint64_t __KAFf90_fmt_read_i(kaf_ioctx *ctx, int32_t *item);
KAF_API uint64_t __KAFf90_fmt_read_i4(kaf_ioctx *ctx, int64_t *item);
KAF_API uint64_t __KAFf90_fmt_read_l1(kaf_ioctx *ctx, int8_t *item);
KAF_API uint64_t __KAFf90_fmt_read_l2(kaf_ioctx *ctx, int16_t *item);
KAF_API uint64_t __KAFf90_fmt_read_l(kaf_ioctx *ctx, int32_t *item);
KAF_API uint64_t __KAFf90_fmt_read_l4(kaf_ioctx *ctx, int64_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_i1(kaf_ioctx *ctx, int8_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_i2(kaf_ioctx *ctx, int16_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_i(kaf_ioctx *ctx, int32_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_i4(kaf_ioctx *ctx, int64_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_l1(kaf_ioctx *ctx, int8_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_l2(kaf_ioctx *ctx, int16_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_l(kaf_ioctx *ctx, int32_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_l4(kaf_ioctx *ctx, int64_t *item);
/* The next character of an input field of *remaining characters (0 at the
 * field's end, consuming nothing). */
KAF_API uint64_t __KAFf90_get_within_field(kaf_ioctx *ctx, int32_t *remaining, uint32_t *ch);

/* ---- CHARACTER items --------------------------------------------------- */
/* A editing of a default-kind item of len bytes. */
KAF_API uint64_t __KAFf90_format_A(kaf_ioctx *ctx, const char *item, int64_t len);
KAF_API uint64_t __KAFf90_input_format_A(kaf_ioctx *ctx, char *item, int64_t len);
/* A editing of the other kinds; len counts characters (units). */
KAF_API uint64_t __KAFf90_format_A2j(kaf_ioctx *ctx, const uint16_t *item, int64_t len);
KAF_API uint64_t __KAFf90_format_A2u(kaf_ioctx *ctx, const uint16_t *item, int64_t len);
KAF_API uint64_t __KAFf90_format_A4(kaf_ioctx *ctx, const uint32_t *item, int64_t len);
KAF_API uint64_t __KAFf90_fmt_write_ch(kaf_ioctx *ctx, const char *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_write_ch2j(kaf_ioctx *ctx, const uint16_t *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_write_ch2u(kaf_ioctx *ctx, const uint16_t *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_write_ch4(kaf_ioctx *ctx, const uint32_t *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_read_ch(kaf_ioctx *ctx, char *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_read_ch2j(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_read_ch2u(kaf_ioctx *ctx, uint16_t *item, kaf_charlen len);
KAF_API uint64_t __KAFf90_fmt_read_ch4(kaf_ioctx *ctx, uint32_t *item, kaf_charlen len);
/* The next character of the record under each encoding. */
KAF_API uint64_t __KAFf90_get_char_ascii(kaf_ioctx *ctx, uint8_t *ch);
KAF_API uint64_t __KAFf90_get_char_iso_8859_1(kaf_ioctx *ctx, uint8_t *ch);
KAF_API uint64_t __KAFf90_get_char_sj(kaf_ioctx *ctx, uint16_t *ch);
KAF_API uint64_t __KAFf90_get_char_utf(kaf_ioctx *ctx, uint32_t *ch);

KAF_EXTERN_C_END

#endif
