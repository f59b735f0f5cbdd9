/* Double-double arithmetic: the extended real kind (kaf_dd, hi + lo) and its
 * complex kind (kaf_ddc). Core operations use binary64 additions and
 * multiplications in a fixed order, so results are identical on every
 * x86-64 processor. Each _arg entry takes the address of a stored value and
 * exists for intrinsics passed as actual arguments. INTEGER suffixes: i is
 * 32 bits, i4 is 64 bits. See docs/ddouble.md for accuracy and conventions. */
#ifndef KAFRTS_DDOUBLE_H
#define KAFRTS_DDOUBLE_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* COMPLEX and COMPLEX(KIND(0d0)) values, ABI-identical to float _Complex and
 * double _Complex. */
typedef struct kaf_c {
  float re, im;
} kaf_c;
typedef struct kaf_dc {
  double re, im;
} kaf_dc;

/* ---- Core operations ---------------------------------------------------- */

/* Exact product of two binary64 numbers (Dekker, with scaling). */
KAF_API kaf_dd __KAFf90_ddprod_d_d(double x, double y);
/* a + b. */
KAF_API kaf_dd __KAFf90_dd_PLUS_dd(kaf_dd a, kaf_dd b);
/* a - b. */
KAF_API kaf_dd __KAFf90_dd_MINUS_dd(kaf_dd a, kaf_dd b);
/* a + d. */
KAF_API kaf_dd __KAFf90_dd_PLUS_d(kaf_dd a, double d);
/* a * b. */
KAF_API kaf_dd __KAFf90_dd_TIMES_dd(kaf_dd a, kaf_dd b);
/* a * d. */
KAF_API kaf_dd __KAFf90_dd_TIMES_d(kaf_dd a, double d);
/* a * a. */
KAF_API kaf_dd __KAFf90_dd_squared(kaf_dd a);
/* 1 / a. */
KAF_API kaf_dd __KAFf90_dd_reciprocal(kaf_dd a);
/* a / b. */
KAF_API kaf_dd __KAFf90_dd_DIVIDE_dd(kaf_dd a, kaf_dd b);
/* a / d. */
KAF_API kaf_dd __KAFf90_dd_DIVIDE_d(kaf_dd a, double d);
/* Real a over complex b. */
KAF_API kaf_ddc __KAFf90_dd_DIVIDE_ddc(kaf_dd a, kaf_ddc b);
/* SQRT. */
KAF_API kaf_dd __KAFf90_sqrt_dd(kaf_dd a);
KAF_API kaf_dd __KAFf90_sqrt_dd_arg(const kaf_dd *a);

/* ---- Half precision (binary16, passed as its 16-bit pattern) ------------- */

/* REAL(X, half): hi + lo rounded once to nearest, ties to even; infinity
 * from 65520 up, subnormal halves below 2^-14, NaN kept quiet. */
KAF_API uint16_t __KAFf90_real_dd_h(kaf_dd x);
/* REAL(H, double-double): exact. */
KAF_API kaf_dd __KAFf90_real_h_dd(uint16_t h);

/* ---- Elemental functions of the real kind -------------------------------- */

KAF_API kaf_dd __KAFf90_exp_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_exp_dd_arg(const kaf_dd *x);
/* LOG; negative arguments give NaN, zero gives -infinity. */
KAF_API kaf_dd __KAFf90_log_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_log_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_log10_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_log10_dd_arg(const kaf_dd *x);
/* a ** b for a double-double exponent. */
KAF_API kaf_dd __KAFf90_dd_pow_dd(kaf_dd a, kaf_dd b);
/* a ** n for a 64-bit INTEGER exponent (binary powering). */
KAF_API kaf_dd __KAFf90_dd_pow_i4(kaf_dd a, int64_t n);
KAF_API kaf_dd __KAFf90_sinh_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_sinh_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_cosh_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_cosh_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_tanh_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_tanh_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_asinh_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_acosh_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_atanh_dd(kaf_dd x);

KAF_API kaf_dd __KAFf90_sin_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_sin_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_cos_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_cos_dd_arg(const kaf_dd *x);
/* SIN and COS of one argument: stores both. */
KAF_API void __KAFf90_sincos_dd(kaf_dd x, kaf_dd *sin_x, kaf_dd *cos_x);
KAF_API kaf_dd __KAFf90_tan_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_tan_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_atan_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_atan_dd_arg(const kaf_dd *x);
/* ATAN2(Y, X), C99 conventions for zeros and infinities. */
KAF_API kaf_dd __KAFf90_atan2_dd(kaf_dd y, kaf_dd x);
KAF_API kaf_dd __KAFf90_atan2_dd_arg(const kaf_dd *y, const kaf_dd *x);
KAF_API kaf_dd __KAFf90_asin_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_asin_dd_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_acos_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_acos_dd_arg(const kaf_dd *x);
/* HYPOT(X, Y) without undue overflow or underflow. */
KAF_API kaf_dd __KAFf90_hypot_dd(kaf_dd x, kaf_dd y);
/* NORM2 of n contiguous elements. */
KAF_API kaf_dd __KAFf90_norm2_dd(const kaf_dd *x, int64_t n);

/* ---- Rounding, remainders and signs -------------------------------------- */

KAF_API kaf_dd __KAFf90_aint_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_aint_dd_arg(const kaf_dd *x);
/* ANINT: nearest integer, halves away from zero. */
KAF_API kaf_dd __KAFf90_anint_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_anint_dd_arg(const kaf_dd *x);
/* NINT to a 32-bit and a 64-bit INTEGER; out of range (and NaN) gives the
 * most negative value of the kind. */
KAF_API int32_t __KAFf90_nint_dd_i(kaf_dd x);
KAF_API int32_t __KAFf90_nint_dd_i_arg(const kaf_dd *x);
KAF_API int64_t __KAFf90_nint_dd_i4(kaf_dd x);
KAF_API int64_t __KAFf90_nint_dd_i4_arg(const kaf_dd *x);
KAF_API kaf_dd __KAFf90_floor_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_ceiling_dd(kaf_dd x);
/* MOD(A, P): A - INT(A/P)*P, the sign of A. */
KAF_API kaf_dd __KAFf90_fmod_dd(kaf_dd a, kaf_dd p);
KAF_API kaf_dd __KAFf90_fmod_dd_arg(const kaf_dd *a, const kaf_dd *p);
/* MODULO(A, P): A - FLOOR(A/P)*P, the sign of P. */
KAF_API kaf_dd __KAFf90_modulo_dd(kaf_dd a, kaf_dd p);
/* IEEE remainder (quotient rounded to nearest, ties to even); *quo gets the
 * sign and the low 31 bits of that quotient, as C's remquo. */
KAF_API kaf_dd __KAFf90_dd_remquo_dd(kaf_dd a, kaf_dd b, int32_t *quo);
/* |a| with the sign of b (the sign bit of b.hi). */
KAF_API kaf_dd __KAFf90_copysign_dd(kaf_dd a, kaf_dd b);
/* SIGN(A, B). */
KAF_API kaf_dd __KAFf90_sign_dd_arg(const kaf_dd *a, const kaf_dd *b);
/* DIM(A, B) = max(A - B, 0). */
KAF_API kaf_dd __KAFf90_dim_dd_arg(const kaf_dd *a, const kaf_dd *b);
KAF_API kaf_dd __KAFf90_abs_dd_arg(const kaf_dd *a);

/* ---- Model numbers: radix 2, 106 digits, EXPONENT range of binary64 ----- */

KAF_API int32_t __KAFf90_exponent_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_fraction_dd(kaf_dd x);
/* x * 2**i. */
KAF_API kaf_dd __KAFf90_scale_dd(kaf_dd x, int32_t i);
KAF_API kaf_dd __KAFf90_spacing_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_rrspacing_dd(kaf_dd x);
/* NEAREST(X, S): only the sign of s matters (S of any real kind, passed as
 * binary64). */
KAF_API kaf_dd __KAFf90_nearest_dd(kaf_dd x, double s);

/* ---- Special functions --------------------------------------------------- */

KAF_API kaf_dd __KAFf90_erf_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_erfc_dd(kaf_dd x);
/* ERFC_SCALED(X) = exp(X**2) * ERFC(X). */
KAF_API kaf_dd __KAFf90_erfc_scaled_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_bessel_j0_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_bessel_j1_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_bessel_jn_dd(int32_t n, kaf_dd x);
/* BESSEL_JN(N1, N2, X) into result[0 .. n2-n1] (nothing when n2 < n1). */
KAF_API void __KAFf90_bessel_jn1n2_dd(kaf_dd *result, int32_t n1, int32_t n2, kaf_dd x);
/* BESSEL_Y*: -infinity at 0, NaN for negative x. */
KAF_API kaf_dd __KAFf90_bessel_y0_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_bessel_y1_dd(kaf_dd x);
KAF_API kaf_dd __KAFf90_bessel_yn_dd(int32_t n, kaf_dd x);
/* BESSEL_YN(N1, N2, X) into result[0 .. n2-n1] (nothing when n2 < n1). */
KAF_API void __KAFf90_bessel_yn1n2_dd(kaf_dd *result, int32_t n1, int32_t n2, kaf_dd x);
/* GAMMA: +-infinity at +-0, NaN at the negative integers. */
KAF_API kaf_dd __KAFf90_gamma_dd(kaf_dd x);
/* LOG_GAMMA: log|gamma(x)|, +infinity at the poles. */
KAF_API kaf_dd __KAFf90_log_gamma_dd(kaf_dd x);

/* ---- The complex kind ---------------------------------------------------- */

/* a / b with b COMPLEX, COMPLEX(KIND(0d0)) or double-double complex. */
KAF_API kaf_ddc __KAFf90_ddc_DIVIDE_c(kaf_ddc a, kaf_c b);
KAF_API kaf_ddc __KAFf90_ddc_DIVIDE_dc(kaf_ddc a, kaf_dc b);
KAF_API kaf_ddc __KAFf90_ddc_DIVIDE_ddc(kaf_ddc a, kaf_ddc b);
/* a ** b (principal value) and a ** n. */
KAF_API kaf_ddc __KAFf90_ddc_pow_ddc(kaf_ddc a, kaf_ddc b);
KAF_API kaf_ddc __KAFf90_ddc_pow_i4(kaf_ddc a, int64_t n);
KAF_API kaf_dd __KAFf90_abs_ddc(kaf_ddc z);
KAF_API kaf_dd __KAFf90_abs_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_sqrt_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_sqrt_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_exp_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_exp_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_log_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_log_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_sin_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_sin_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_cos_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_cos_ddc_arg(const kaf_ddc *z);
KAF_API kaf_ddc __KAFf90_tan_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_sinh_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_cosh_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_tanh_ddc(kaf_ddc z);
/* Inverses, principal values; branch cuts on the real axis beyond +-1
 * (ASIN, ACOS, ATANH) or on the imaginary axis beyond +-i (ATAN, ASINH), and
 * below 1 for ACOSH. */
KAF_API kaf_ddc __KAFf90_asin_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_acos_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_atan_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_asinh_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_acosh_ddc(kaf_ddc z);
KAF_API kaf_ddc __KAFf90_atanh_ddc(kaf_ddc z);

KAF_EXTERN_C_END

#endif
