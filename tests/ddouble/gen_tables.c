/* Writes ddouble/dd_tables.h: the constants and tables of the double-double
 * functions, each a correctly rounded value from MPFR.
 * Build and run: cc gen_tables.c -lmpfr -lgmp && ./a.out > ../../ddouble/dd_tables.h */
#include <gmp.h>
#include <mpfr.h>
#include <stdio.h>
#include <stdint.h>

#define PREC 600
static void put_dd(mpfr_t v, const char *end) {
  mpfr_t t;
  mpfr_init2(t, PREC);
  double hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(t, v, hi, MPFR_RNDN);
  double lo = mpfr_get_d(t, MPFR_RNDN);
  printf("{%a, %a}%s", hi, lo, end);
  mpfr_clear(t);
}
static void put_td(mpfr_t v, const char *end) {
  mpfr_t t;
  mpfr_init2(t, PREC);
  mpfr_set(t, v, MPFR_RNDN);
  double a = mpfr_get_d(t, MPFR_RNDN);
  mpfr_sub_d(t, t, a, MPFR_RNDN);
  double b = mpfr_get_d(t, MPFR_RNDN);
  mpfr_sub_d(t, t, b, MPFR_RNDN);
  double c = mpfr_get_d(t, MPFR_RNDN);
  printf("{%a, %a, %a}%s", a, b, c, end);
  mpfr_clear(t);
}
/* Splits v into n doubles of at most bits significant bits each (the last
 * one last_bits, rounded when wider). */
static void put_chunks(mpfr_t v, int n, int bits, int last_bits) {
  mpfr_t t, c;
  mpfr_inits2(PREC, t, c, (mpfr_ptr)0);
  mpfr_set(t, v, MPFR_RNDN);
  printf("{");
  for (int i = 0; i < n; ++i) {
    mpfr_set_prec(c, i + 1 < n ? bits : last_bits);
    mpfr_set(c, t, i + 1 < n || last_bits == bits ? MPFR_RNDZ : MPFR_RNDN);
    printf("%a%s", mpfr_get_d(c, MPFR_RNDN), i + 1 < n ? ", " : "}");
    mpfr_sub(t, t, c, MPFR_RNDN);
  }
  mpfr_clears(t, c, (mpfr_ptr)0);
}

/* The Taylor coefficients a[1..n] of the Bessel function of order nu (0 or
 * 1) about its zero z, a[1] the derivative there: from x^2 y'' + x y' +
 * (x^2 - nu^2) y = 0 with x = z + t, the coefficient of t^k gives
 * z^2 (k+2)(k+1) a[k+2] = -(z (k+1)(2k+1) a[k+1] + (k^2 + z^2 - nu^2) a[k]
 *                          + 2z a[k-1] + a[k-2]). */
#define BZ_TERMS 24
static void bessel_taylor(mpfr_t z, int nu, mpfr_t a1, mpfr_t *a) {
  mpfr_t t, u, z2;
  mpfr_inits2(PREC, t, u, z2, (mpfr_ptr)0);
  mpfr_sqr(z2, z, MPFR_RNDN);
  for (int k = 0; k <= BZ_TERMS; ++k) mpfr_set_ui(a[k], 0, MPFR_RNDN);
  mpfr_set(a[1], a1, MPFR_RNDN);
  for (int k = 0; k + 2 <= BZ_TERMS; ++k) {
    mpfr_mul_ui(t, z, (unsigned long)((k + 1) * (2 * k + 1)), MPFR_RNDN);
    mpfr_mul(t, t, a[k + 1], MPFR_RNDN);
    mpfr_add_ui(u, z2, (unsigned long)(k * k), MPFR_RNDN);
    mpfr_sub_ui(u, u, (unsigned long)(nu * nu), MPFR_RNDN);
    mpfr_mul(u, u, a[k], MPFR_RNDN);
    mpfr_add(t, t, u, MPFR_RNDN);
    if (k >= 1) {
      mpfr_mul(u, z, a[k - 1], MPFR_RNDN);
      mpfr_mul_2ui(u, u, 1, MPFR_RNDN);
      mpfr_add(t, t, u, MPFR_RNDN);
    }
    if (k >= 2) mpfr_add(t, t, a[k - 2], MPFR_RNDN);
    mpfr_mul_ui(u, z2, (unsigned long)((k + 2) * (k + 1)), MPFR_RNDN);
    mpfr_div(t, t, u, MPFR_RNDN);
    mpfr_neg(a[k + 2], t, MPFR_RNDN);
  }
  mpfr_clears(t, u, z2, (mpfr_ptr)0);
}

/* Zeros below 40.5 of J0, J1, Y0 or Y1 (which = 0..3), each with its
 * Taylor coefficients. */
static void put_bessel_zeros(const char *name, int which) {
  int (*f[4])(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t) = {mpfr_j0, mpfr_j1, mpfr_y0, mpfr_y1};
  int nu = which & 1;
  mpfr_t lo, hi, mid, flo, fm, d, a[BZ_TERMS + 1];
  mpfr_inits2(PREC, lo, hi, mid, flo, fm, d, (mpfr_ptr)0);
  for (int k = 0; k <= BZ_TERMS; ++k) mpfr_init2(a[k], PREC);
  printf("inline constexpr bessel_zero %s[] = {\n", name);
  for (double x = 0.5; x < 40.5; x += 0.125) {
    mpfr_set_d(lo, x, MPFR_RNDN);
    mpfr_set_d(hi, x + 0.125, MPFR_RNDN);
    f[which](flo, lo, MPFR_RNDN);
    f[which](fm, hi, MPFR_RNDN);
    if (mpfr_sgn(flo) * mpfr_sgn(fm) > 0) continue;
    for (int it = 0; it < 300; ++it) {  /* bisection to 2^-300 */
      mpfr_add(mid, lo, hi, MPFR_RNDN);
      mpfr_div_2ui(mid, mid, 1, MPFR_RNDN);
      f[which](fm, mid, MPFR_RNDN);
      if (mpfr_sgn(fm) * mpfr_sgn(flo) > 0) {
        mpfr_set(lo, mid, MPFR_RNDN);
        mpfr_set(flo, fm, MPFR_RNDN);
      } else {
        mpfr_set(hi, mid, MPFR_RNDN);
      }
    }
    /* the derivative at the zero: J0' = -J1, J1' = J0 - J1/z = J0, and
     * likewise for Y */
    if (which == 0) mpfr_j1(d, mid, MPFR_RNDN), mpfr_neg(d, d, MPFR_RNDN);
    if (which == 1) mpfr_j0(d, mid, MPFR_RNDN);
    if (which == 2) mpfr_y1(d, mid, MPFR_RNDN), mpfr_neg(d, d, MPFR_RNDN);
    if (which == 3) mpfr_y0(d, mid, MPFR_RNDN);
    bessel_taylor(mid, nu, d, a);
    /* the zero in four parts: next to it the result is x - z times the
     * derivative, and x - z may be as small as 2^-106 x */
    printf("    {{");
    mpfr_set(d, mid, MPFR_RNDN);
    for (int k = 0; k < 4; ++k) {
      double c = mpfr_get_d(d, MPFR_RNDN);
      printf("%a%s", c, k < 3 ? ", " : "},\n     {");
      mpfr_sub_d(d, d, c, MPFR_RNDN);
    }
    for (int k = 1; k <= BZ_TERMS; ++k) put_dd(a[k], k < BZ_TERMS ? (k % 3 ? ", " : ",\n      ") : "}},\n");
  }
  printf("};\n\n");
  mpfr_clears(lo, hi, mid, flo, fm, d, (mpfr_ptr)0);
  for (int k = 0; k <= BZ_TERMS; ++k) mpfr_clear(a[k]);
}

int main(void) {
  mpfr_t v, w, pi;
  mpfr_inits2(PREC, v, w, pi, (mpfr_ptr)0);
  mpfr_const_pi(pi, MPFR_RNDN);
  printf("// Generated by tests/ddouble/gen_tables.c from MPFR; do not edit.\n");
  printf("// Every double-double entry is (RN(v), RN(v - RN(v))).\n#pragma once\n#include <cstdint>\n\n");
  printf("namespace kafdd::tab {\n\n");
  printf("struct dd2 { double hi, lo; };\nstruct dd3 { double a, b, c; };\n\n");

  printf("// pi/2 in twelve chunks of 24 bits (products with |n| < 2^29 are\n");
  printf("// exact); pio2_tail[i] is the rest after chunk i, rounded.\n");
  printf("inline constexpr double pio2_chunks[12] = ");
  mpfr_div_ui(v, pi, 2, MPFR_RNDN);
  put_chunks(v, 12, 24, 24);
  printf(";\n");
  {
    mpfr_t t, c;
    mpfr_inits2(PREC, t, c, (mpfr_ptr)0);
    mpfr_set(t, v, MPFR_RNDN);
    printf("inline constexpr double pio2_tail[12] = {");
    for (int i = 0; i < 12; ++i) {
      mpfr_set_prec(c, 24);
      mpfr_set(c, t, MPFR_RNDZ);
      mpfr_sub(t, t, c, MPFR_RNDN);
      printf("%a%s", mpfr_get_d(t, MPFR_RNDN), i < 11 ? ", " : "};\n");
    }
    mpfr_clears(t, c, (mpfr_ptr)0);
  }
  printf("inline constexpr dd2 pi = ");
  put_dd(pi, ";\n");
  printf("inline constexpr dd2 pio2 = ");
  put_dd(v, ";\n");
  printf("inline constexpr dd3 pio2_3 = ");
  put_td(v, ";\n");
  mpfr_div_ui(v, pi, 4, MPFR_RNDN);
  printf("inline constexpr dd2 pio4 = ");
  put_dd(v, ";\n");
  mpfr_mul_ui(v, pi, 3, MPFR_RNDN);
  mpfr_div_ui(v, v, 4, MPFR_RNDN);
  printf("inline constexpr dd2 pi3o4 = ");
  put_dd(v, ";\n");
  mpfr_ui_div(v, 2, pi, MPFR_RNDN);
  printf("inline constexpr dd2 twoopi = ");
  put_dd(v, ";\n");
  mpfr_const_log2(v, MPFR_RNDN);
  printf("inline constexpr dd2 ln2 = ");
  put_dd(v, ";\n");
  printf("inline constexpr dd3 ln2_3 = ");
  put_td(v, ";\n");
  printf("// ln2/64: two 36-bit parts (|n| < 2^17 keeps n*part exact), then the rest.\n");
  printf("inline constexpr double ln2o64[3] = ");
  mpfr_div_ui(v, v, 64, MPFR_RNDN);
  put_chunks(v, 3, 36, 53);
  printf(";\n");
  mpfr_set_ui(v, 10, MPFR_RNDN);
  mpfr_log(v, v, MPFR_RNDN);
  mpfr_ui_div(v, 1, v, MPFR_RNDN);
  printf("inline constexpr dd2 inv_ln10 = ");
  put_dd(v, ";\n");
  mpfr_const_pi(v, MPFR_RNDN);
  mpfr_sqrt(v, v, MPFR_RNDN);
  mpfr_ui_div(v, 2, v, MPFR_RNDN);
  printf("inline constexpr dd2 two_over_sqrtpi = ");
  put_dd(v, ";\n");
  mpfr_const_euler(v, MPFR_RNDN);
  printf("inline constexpr dd2 euler_gamma = ");
  put_dd(v, ";\n");
  mpfr_mul_ui(v, pi, 2, MPFR_RNDN);
  mpfr_log(v, v, MPFR_RNDN);
  mpfr_div_ui(v, v, 2, MPFR_RNDN);
  printf("inline constexpr dd2 half_log_2pi = ");
  put_dd(v, ";\n\n");

  printf("// 2^(j/64), j = 0..63.\ninline constexpr dd2 exp2_j64[64] = {\n");
  for (int j = 0; j < 64; ++j) {
    mpfr_set_si(v, j, MPFR_RNDN);
    mpfr_div_ui(v, v, 64, MPFR_RNDN);
    mpfr_ui_pow(v, 2, v, MPFR_RNDN);
    printf("    ");
    put_dd(v, ",\n");
  }
  printf("};\n\n");

  printf("// Logarithm table: for c = 0.75 + j/128, j = 0..96, inv[j] = RN(1/c) and\n");
  printf("// neglog[j] = -log(inv[j]) to three doubles.\n");
  printf("inline constexpr double log_inv[97] = {\n");
  double inv[97];
  for (int j = 0; j <= 96; ++j) {
    inv[j] = 1.0 / (0.75 + j / 128.0);
    printf("    %a,\n", inv[j]);
  }
  printf("};\ninline constexpr dd3 log_neglog[97] = {\n");
  for (int j = 0; j <= 96; ++j) {
    mpfr_set_d(v, inv[j], MPFR_RNDN);
    mpfr_log(v, v, MPFR_RNDN);
    mpfr_neg(v, v, MPFR_RNDN);
    printf("    ");
    put_td(v, ",\n");
  }
  printf("};\n\n");

  printf("// atan(j/64), j = 0..64.\ninline constexpr dd2 atan_j64[65] = {\n");
  for (int j = 0; j <= 64; ++j) {
    mpfr_set_si(v, j, MPFR_RNDN);
    mpfr_div_ui(v, v, 64, MPFR_RNDN);
    mpfr_atan(v, v, MPFR_RNDN);
    printf("    ");
    put_dd(v, ",\n");
  }
  printf("};\n\n");

  printf("// 1/n!, n = 0..30.\ninline constexpr dd2 inv_fact[31] = {\n");
  for (int n = 0; n <= 30; ++n) {
    mpfr_fac_ui(v, n, MPFR_RNDN);
    mpfr_ui_div(v, 1, v, MPFR_RNDN);
    printf("    ");
    put_dd(v, ",\n");
  }
  printf("};\n\n");
  printf("// 1/n, n = 0..40 (entry 0 unused).\ninline constexpr dd2 inv_int[41] = {\n    {0, 0},\n");
  for (int n = 1; n <= 40; ++n) {
    mpfr_set_ui(v, 1, MPFR_RNDN);
    mpfr_div_ui(v, v, n, MPFR_RNDN);
    printf("    ");
    put_dd(v, ",\n");
  }
  printf("};\n\n");


  printf("// LOG_GAMMA near c = 1, 1.5, 2, 2.5: lgamma(c + e) = lgamma(c) + psi(c) e\n");
  printf("// + sum_k (-1)^k zeta(k, c) e^k / k. lgamma_c[i], psi_c[i], and\n");
  printf("// lgamma_coef[i][k] = (-1)^k zeta(k, c) / k for k = 2..57.\n");
  {
    const double cs[4] = {1.0, 1.5, 2.0, 2.5};
    mpfr_t z, t2, c;
    mpfr_inits2(PREC, z, t2, c, (mpfr_ptr)0);
    printf("inline constexpr dd2 lgamma_c[4] = {\n");
    for (int i = 0; i < 4; ++i) {
      mpfr_set_d(c, cs[i], MPFR_RNDN);
      mpfr_lngamma(v, c, MPFR_RNDN);
      printf("    ");
      put_dd(v, ",\n");
    }
    printf("};\ninline constexpr dd2 psi_c[4] = {\n");
    for (int i = 0; i < 4; ++i) {
      mpfr_set_d(c, cs[i], MPFR_RNDN);
      mpfr_digamma(v, c, MPFR_RNDN);
      printf("    ");
      put_dd(v, ",\n");
    }
    printf("};\ninline constexpr dd2 lgamma_coef[4][58] = {\n");
    for (int i = 0; i < 4; ++i) {
      printf("  {{0, 0}, {0, 0},\n");
      for (int k = 2; k <= 57; ++k) {
        /* Hurwitz zeta at 1, 2 (shift by 1) and 1/2, 3/2, 5/2. */
        mpfr_zeta_ui(z, k, MPFR_RNDN);
        if (cs[i] == 2.0) mpfr_sub_ui(z, z, 1, MPFR_RNDN);
        if (cs[i] == 1.5 || cs[i] == 2.5) {
          mpfr_set_ui(t2, 2, MPFR_RNDN);
          mpfr_pow_ui(t2, t2, k, MPFR_RNDN);           /* 2^k */
          mpfr_sub_ui(c, t2, 1, MPFR_RNDN);
          mpfr_mul(z, z, c, MPFR_RNDN);                /* zeta(k, 1/2) */
          mpfr_sub(z, z, t2, MPFR_RNDN);               /* zeta(k, 3/2) */
          if (cs[i] == 2.5) {
            mpfr_set_d(c, 1.5, MPFR_RNDN);
            mpfr_pow_si(c, c, -k, MPFR_RNDN);
            mpfr_sub(z, z, c, MPFR_RNDN);              /* zeta(k, 5/2) */
          }
        }
        mpfr_div_ui(z, z, k, MPFR_RNDN);
        if (k & 1) mpfr_neg(z, z, MPFR_RNDN);
        printf("   ");
        put_dd(z, k < 57 ? "," : "},\n");
        if (k % 2 == 1 || k == 57) printf("\n");
      }
    }
    printf("};\n\n");
    mpfr_clears(z, t2, c, (mpfr_ptr)0);
  }

  printf("// Stirling series: B(2k) / (2k (2k - 1)), k = 1..24.\n");
  printf("inline constexpr dd2 stirling[25] = {\n    {0, 0},\n");
  {
    mpq_t B[50], t, binom;
    for (int m = 0; m < 50; ++m) mpq_init(B[m]);
    mpq_inits(t, binom, (mpq_ptr)0);
    mpq_set_ui(B[0], 1, 1);
    for (int m = 1; m < 50; ++m) {
      /* B_m = -1/(m+1) sum_{k<m} C(m+1, k) B_k */
      mpq_set_ui(B[m], 0, 1);
      mpz_t bz;
      mpz_init(bz);
      for (int k = 0; k < m; ++k) {
        mpz_bin_uiui(bz, m + 1, k);
        mpq_set_z(binom, bz);
        mpq_mul(t, binom, B[k]);
        mpq_add(B[m], B[m], t);
      }
      mpq_set_si(t, -1, m + 1);
      mpq_mul(B[m], B[m], t);
      mpz_clear(bz);
    }
    for (int k = 1; k <= 24; ++k) {
      mpq_set_si(t, 1, 2 * k * (2 * k - 1));
      mpq_mul(t, t, B[2 * k]);
      mpfr_set_q(v, t, MPFR_RNDN);
      printf("    ");
      put_dd(v, ",\n");
    }
    for (int m = 0; m < 50; ++m) mpq_clear(B[m]);
    mpq_clears(t, binom, (mpq_ptr)0);
  }
  printf("};\n\n");
  printf("// Bits of 2/pi, most significant first: word k holds bits 64k+1..64k+64\n");
  printf("// after the binary point.\ninline constexpr std::uint64_t twoopi_bits[24] = {\n");
  mpfr_set_prec(w, 64 * 26);
  mpfr_const_pi(w, MPFR_RNDN);
  mpfr_set_prec(v, 64 * 26);
  mpfr_ui_div(v, 2, w, MPFR_RNDZ);
  for (int k = 0; k < 24; ++k) {
    mpfr_mul_2ui(v, v, 64, MPFR_RNDZ);
    mpfr_t ip;
    mpfr_init2(ip, 64 * 26);
    mpfr_trunc(ip, v);
    mpfr_sub(v, v, ip, MPFR_RNDZ);
    uint64_t word = mpfr_get_ui(ip, MPFR_RNDZ);
    printf("    0x%016llxULL,\n", (unsigned long long)word);
    mpfr_clear(ip);
  }
  printf("};\n\n");
  printf("// Zeros z below 40.5 of J0, J1, Y0 and Y1 (four parts) with the Taylor\n");
  printf("// coefficients a[1..%d] of the function about each (a[0] = 0 is left out).\n", BZ_TERMS);
  printf("inline constexpr int bessel_zero_terms = %d;\n", BZ_TERMS);
  printf("struct bessel_zero { double z[4]; dd2 a[%d]; };\n", BZ_TERMS);
  put_bessel_zeros("bessel_zeros_j0", 0);
  put_bessel_zeros("bessel_zeros_j1", 1);
  put_bessel_zeros("bessel_zeros_y0", 2);
  put_bessel_zeros("bessel_zeros_y1", 3);
  printf("} // namespace kafdd::tab\n");
  mpfr_clears(v, w, pi, (mpfr_ptr)0);
  return 0;
}
