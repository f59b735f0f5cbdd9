/* Real editing (libkafrts): REAL and COMPLEX items of every kind under F, E,
 * D, EN, ES, G and G0 editing, in both directions. Every item call takes the
 * statement's I/O transfer context first and returns a status: 0 success,
 * anything else is passed straight back to the engine.
 *
 * Kinds: h is IEEE binary16 (passed as its 16 bits), r binary32, d binary64,
 * dd the double-double kind (kaf_dd); the c forms are COMPLEX of each, passed
 * as real and imaginary part in turn. The dusty_ twins also accept A editing
 * of the item's bytes. */
#ifndef KAFRTS_FREAL_H
#define KAFRTS_FREAL_H

#include "kafrts/common.h"
#include "kafrts/io.h"

KAF_EXTERN_C_BEGIN

/* ---- Output items ------------------------------------------------------ */
KAF_API uint64_t __KAFf90_fmt_write_h(kaf_ioctx *ctx, uint16_t value);
KAF_API uint64_t __KAFf90_fmt_write_r(kaf_ioctx *ctx, float value);
KAF_API uint64_t __KAFf90_fmt_write_d(kaf_ioctx *ctx, double value);
KAF_API uint64_t __KAFf90_fmt_write_dd(kaf_ioctx *ctx, kaf_dd value);
/* A REAL item edited as DOUBLE PRECISION (widened first; G0 then writes the
 * double's 17 digits), as older compiled code asks for it. */
KAF_API uint64_t __KAFf90_fmt_write_rd(kaf_ioctx *ctx, float value);
KAF_API uint64_t __KAFf90_fmt_write_hc(kaf_ioctx *ctx, uint16_t re, uint16_t im);
KAF_API uint64_t __KAFf90_fmt_write_c(kaf_ioctx *ctx, float re, float im);
KAF_API uint64_t __KAFf90_fmt_write_dc(kaf_ioctx *ctx, double re, double im);
KAF_API uint64_t __KAFf90_fmt_write_ddc(kaf_ioctx *ctx, kaf_ddc value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_h(kaf_ioctx *ctx, uint16_t value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_r(kaf_ioctx *ctx, float value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_d(kaf_ioctx *ctx, double value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_dd(kaf_ioctx *ctx, kaf_dd value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_rd(kaf_ioctx *ctx, float value);
KAF_API uint64_t __KAFf90_dusty_fmt_write_hc(kaf_ioctx *ctx, uint16_t re, uint16_t im);
KAF_API uint64_t __KAFf90_dusty_fmt_write_c(kaf_ioctx *ctx, float re, float im);
KAF_API uint64_t __KAFf90_dusty_fmt_write_dc(kaf_ioctx *ctx, double re, double im);
KAF_API uint64_t __KAFf90_dusty_fmt_write_ddc(kaf_ioctx *ctx, kaf_ddc value);

/* E editing of value under the context's descriptor parameters
 * params = {w, d, e, k} (e <= 0: absent), writing into the record. */
KAF_API uint64_t __KAFf90_format_E(kaf_ioctx *ctx, const int32_t *params, double value);

/* The field string of one double under F or E editing rounded to nearest
 * (params = {w, d, e, k}; sign_mode 0 writes a plus sign). The text goes to
 * buf (size bytes, NUL-terminated when it fits); the result is the field
 * length, and *error receives 0, 1002 (scale factor out of range) or 1003
 * (exponent too large). */
KAF_API size_t __KAFf90_d_format_F(const int32_t *params, int32_t sign_mode, int32_t decimal_char,
                                   char *buf, size_t size, int32_t *error, double value);
KAF_API size_t __KAFf90_d_format_E(const int32_t *params, int32_t sign_mode, int32_t decimal_char,
                                   char *buf, size_t size, int32_t *error, double value);

/* ---- Input items ------------------------------------------------------- */
/* One real field of the current descriptor, converted correctly rounded to
 * the item's kind in the statement's rounding mode. */
KAF_API uint64_t __KAFf90_input_format_F(kaf_ioctx *ctx, double *item);
KAF_API uint64_t __KAFf90_fmt_read_h(kaf_ioctx *ctx, uint16_t *item);
KAF_API uint64_t __KAFf90_fmt_read_r(kaf_ioctx *ctx, float *item);
KAF_API uint64_t __KAFf90_fmt_read_d(kaf_ioctx *ctx, double *item);
KAF_API uint64_t __KAFf90_fmt_read_dd(kaf_ioctx *ctx, kaf_dd *item);
/* Complex items: the real part, then the imaginary part (item[0], item[1]). */
KAF_API uint64_t __KAFf90_fmt_read_hc(kaf_ioctx *ctx, uint16_t *item);
KAF_API uint64_t __KAFf90_fmt_read_c(kaf_ioctx *ctx, float *item);
KAF_API uint64_t __KAFf90_fmt_read_dc(kaf_ioctx *ctx, double *item);
KAF_API uint64_t __KAFf90_fmt_read_ddc(kaf_ioctx *ctx, kaf_ddc *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_h(kaf_ioctx *ctx, uint16_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_r(kaf_ioctx *ctx, float *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_d(kaf_ioctx *ctx, double *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_dd(kaf_ioctx *ctx, kaf_dd *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_hc(kaf_ioctx *ctx, uint16_t *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_c(kaf_ioctx *ctx, float *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_dc(kaf_ioctx *ctx, double *item);
KAF_API uint64_t __KAFf90_dusty_fmt_read_ddc(kaf_ioctx *ctx, kaf_ddc *item);

KAF_EXTERN_C_END

#endif
