// The complex double-double kind against MPFR: division by every divisor
// kind over the whole exponent range, the powers, and the elemental
// functions, whose references are their component formulas evaluated with
// 320-bit MPFR. Errors are normwise: |got - ref| / |ref| in units of 2^-106.
#include <cfloat>
#include <cmath>
#include <functional>
#include <iterator>

#include "tests/ddouble/oracle.h"

using namespace ddtest;

namespace {

constexpr double kInf = INFINITY;

struct MpC {
  Big re{320}, im{320};
};

void set_c(MpC &m, kaf_ddc z) {
  Big t;
  set_dd(t, z.re);
  mpfr_set(m.re, t, MPFR_RNDN);
  set_dd(t, z.im);
  mpfr_set(m.im, t, MPFR_RNDN);
}

// Normwise relative error in units of 2^-106.
double cerr(kaf_ddc got, MpC &ref) {
  Big dr(320), di(320), n(320), d(320);
  set_dd(dr, got.re);
  set_dd(di, got.im);
  if (!std::isfinite(got.re.hi) || !std::isfinite(got.im.hi)) return INFINITY;
  mpfr_sub(dr, dr, ref.re, MPFR_RNDN);
  mpfr_sub(di, di, ref.im, MPFR_RNDN);
  mpfr_hypot(n, dr, di, MPFR_RNDN);
  mpfr_hypot(d, ref.re, ref.im, MPFR_RNDN);
  if (mpfr_zero_p(d)) return mpfr_zero_p(n) ? 0.0 : INFINITY;
  mpfr_div(n, n, d, MPFR_RNDN);
  mpfr_mul_2si(n, n, 106, MPFR_RNDN);
  return mpfr_get_d(n, MPFR_RNDN);
}

std::string showc(kaf_ddc z) { return "(" + show(z.re) + ", " + show(z.im) + ")"; }

kaf_ddc cgen(Gen &g, int emin, int emax) { return kaf_ddc{g.dd(emin, emax), g.dd(emin, emax)}; }

// (a + ib)(c + id) and (a + ib)/(c + id) at 320 bits.
void mp_mul(MpC &r, MpC &x, MpC &y) {
  Big t1(640), t2(640), re(640);
  mpfr_mul(t1, x.re, y.re, MPFR_RNDN);
  mpfr_mul(t2, x.im, y.im, MPFR_RNDN);
  mpfr_sub(re, t1, t2, MPFR_RNDN);
  mpfr_mul(t1, x.re, y.im, MPFR_RNDN);
  mpfr_mul(t2, x.im, y.re, MPFR_RNDN);
  mpfr_add(r.im, t1, t2, MPFR_RNDN);
  mpfr_set(r.re, re, MPFR_RNDN);
}
void mp_div(MpC &r, MpC &x, MpC &y) {
  Big den(640), t1(640), t2(640), re(640), im(640);
  mpfr_sqr(t1, y.re, MPFR_RNDN);
  mpfr_sqr(t2, y.im, MPFR_RNDN);
  mpfr_add(den, t1, t2, MPFR_RNDN);
  mpfr_mul(t1, x.re, y.re, MPFR_RNDN);
  mpfr_mul(t2, x.im, y.im, MPFR_RNDN);
  mpfr_add(re, t1, t2, MPFR_RNDN);
  mpfr_mul(t1, x.im, y.re, MPFR_RNDN);
  mpfr_mul(t2, x.re, y.im, MPFR_RNDN);
  mpfr_sub(im, t1, t2, MPFR_RNDN);
  mpfr_div(r.re, re, den, MPFR_RNDN);
  mpfr_div(r.im, im, den, MPFR_RNDN);
}

}  // namespace

TEST(DdComplex, DivisionAcrossTheRange) {
  // Operands from 2^-960 to 2^1000 whose quotient stays in the normal
  // range: the scaled division neither overflows nor underflows inside.
  Gen g(401);
  MpC ma, mb, mr;
  Worst w;
  for (long i = 0; i < kHundredK; ++i) {
    int eb = g.expo(-960, 1000);
    int ea = std::clamp(eb + g.expo(-900, 900), -960, 1000);
    kaf_ddc a = cgen(g, ea - 20, ea), b = cgen(g, eb - 20, eb);
    if (i % 5 == 0) b.im = g.dd(eb - 200, eb - 150);  // one tiny part
    kaf_ddc q = __KAFf90_ddc_DIVIDE_ddc(a, b);
    set_c(ma, a);
    set_c(mb, b);
    mp_div(mr, ma, mb);
    w.note(cerr(q, mr), showc(a) + " / " + showc(b) + " = " + showc(q));
  }
  EXPECT_LE(w.err, 8.0) << w.where;
  RecordProperty("worst_units", std::to_string(w.err));
}

TEST(DdComplex, DivisionByEachDivisorKind) {
  Gen g(402);
  MpC ma, mb, mr;
  Worst w;
  for (long i = 0; i < kTenK; ++i) {
    kaf_ddc a = cgen(g, -300, 300);
    kaf_dc bd{g.dbl(-300, 300), g.dbl(-300, 300)};
    kaf_c bc{static_cast<float>(g.dbl(-100, 100)), static_cast<float>(g.dbl(-100, 100))};
    set_c(ma, a);
    set_c(mb, kaf_ddc{{bd.re, 0}, {bd.im, 0}});
    mp_div(mr, ma, mb);
    w.note(cerr(__KAFf90_ddc_DIVIDE_dc(a, bd), mr), "dc " + showc(a));
    set_c(mb, kaf_ddc{{bc.re, 0}, {bc.im, 0}});
    mp_div(mr, ma, mb);
    w.note(cerr(__KAFf90_ddc_DIVIDE_c(a, bc), mr), "c " + showc(a));
    kaf_ddc b = cgen(g, -300, 300);
    set_c(ma, kaf_ddc{a.re, {0, 0}});
    set_c(mb, b);
    mp_div(mr, ma, mb);
    w.note(cerr(__KAFf90_dd_DIVIDE_ddc(a.re, b), mr), "dd " + showc(b));
  }
  EXPECT_LE(w.err, 8.0) << w.where;
}

TEST(DdComplex, DivisionSpecials) {
  kaf_ddc one{{1, 0}, {0, 0}}, zero{{0, 0}, {0, 0}}, inf{{kInf, 0}, {0, 0}};
  kaf_ddc q = __KAFf90_ddc_DIVIDE_ddc(one, zero);
  EXPECT_TRUE(std::isinf(q.re.hi));
  q = __KAFf90_ddc_DIVIDE_ddc(one, inf);
  EXPECT_EQ(q.re.hi, 0.0);
  EXPECT_EQ(q.im.hi, 0.0);
  q = __KAFf90_ddc_DIVIDE_ddc(inf, one);
  EXPECT_TRUE(std::isinf(q.re.hi));
  q = __KAFf90_ddc_DIVIDE_ddc(zero, zero);
  EXPECT_TRUE(std::isnan(q.re.hi) && std::isnan(q.im.hi));
  // The largest and smallest magnitudes divide without spurious overflow.
  kaf_ddc big{{DBL_MAX, 0}, {DBL_MAX, 0}};
  q = __KAFf90_ddc_DIVIDE_ddc(big, big);
  EXPECT_TRUE(same(q.re, {1.0, 0})) << showc(q);
  EXPECT_TRUE(same(q.im, {0.0, 0})) << showc(q);
  kaf_ddc tiny{{0x1p-1074, 0}, {0x1p-1074, 0}};
  q = __KAFf90_ddc_DIVIDE_ddc(tiny, tiny);
  EXPECT_TRUE(same(q.re, {1.0, 0})) << showc(q);
  q = __KAFf90_ddc_DIVIDE_dc(kaf_ddc{{1e300, 0}, {1e300, 0}}, kaf_dc{1e-300, 1e-300});
  EXPECT_TRUE(std::isinf(q.re.hi));
}

// z ** n at 1200 bits by binary powering (its own error, about
// |n| 2^-1190, is far below what is measured), rounded into r.
void mp_pow_int(MpC &r, kaf_ddc z, long n) {
  const mpfr_prec_t p = 1200;
  struct W {
    Big re{1200}, im{1200};
  } base, acc, t;
  Big a(p), b(p);
  set_dd(base.re, z.re);
  set_dd(base.im, z.im);
  mpfr_set_ui(acc.re, 1, MPFR_RNDN);
  mpfr_set_ui(acc.im, 0, MPFR_RNDN);
  auto mul = [&](W &x, W &y) {  // t = x * y
    mpfr_mul(a, x.re, y.re, MPFR_RNDN);
    mpfr_mul(b, x.im, y.im, MPFR_RNDN);
    mpfr_sub(t.re, a, b, MPFR_RNDN);
    mpfr_mul(a, x.re, y.im, MPFR_RNDN);
    mpfr_mul(b, x.im, y.re, MPFR_RNDN);
    mpfr_add(t.im, a, b, MPFR_RNDN);
  };
  for (unsigned long m = static_cast<unsigned long>(std::labs(n)); m != 0; m >>= 1) {
    if (m & 1) {
      mul(acc, base);
      mpfr_swap(acc.re, t.re);
      mpfr_swap(acc.im, t.im);
    }
    mul(base, base);
    mpfr_swap(base.re, t.re);
    mpfr_swap(base.im, t.im);
  }
  if (n < 0) {  // 1 / acc = conj(acc) / |acc|^2
    mpfr_sqr(a, acc.re, MPFR_RNDN);
    mpfr_sqr(b, acc.im, MPFR_RNDN);
    mpfr_add(a, a, b, MPFR_RNDN);
    mpfr_div(acc.re, acc.re, a, MPFR_RNDN);
    mpfr_div(acc.im, acc.im, a, MPFR_RNDN);
    mpfr_neg(acc.im, acc.im, MPFR_RNDN);
  }
  mpfr_set(r.re, acc.re, MPFR_RNDN);
  mpfr_set(r.im, acc.im, MPFR_RNDN);
}

TEST(DdComplex, IntegerPowers) {
  // Small powers of any base, and large powers of bases whose modulus is
  // near 1 (so that z ** n stays in range); also one part much smaller
  // than the other. The powers are formed to about 2^-148 |z ** n| per
  // step, so the error does not grow with |n| in this range.
  struct Family {
    const char *name;
    long nmax;
    std::function<kaf_ddc(Gen &)> base;
  };
  const Family families[] = {
      {"|n| <= 40", 40, [](Gen &g) { return cgen(g, -1, 1); }},
      {"|n| <= 10^6, |z| near 1", 1000000, [](Gen &g) {
         double t = g.uniform(-3.2, 3.2), rho = 1.0 + g.uniform(-1e-6, 1e-6) * 1e-3;
         return kaf_ddc{g.with_lo(rho * std::cos(t)), g.with_lo(rho * std::sin(t))};
       }},
      {"|n| <= 2000, one part tiny", 2000, [](Gen &g) {
         kaf_dd big = g.range(0.999, 1.001), small = g.dd(-80, -10);
         return g.coin() ? kaf_ddc{big, small} : kaf_ddc{small, big};
       }},
  };
  MpC mr;
  double worst = 0;
  for (std::size_t f = 0; f < std::size(families); ++f) {
    Gen g(403 + f);
    Worst w;
    for (long i = 0; i < kTenK / 4; ++i) {
      kaf_ddc a = families[f].base(g);
      long n = std::uniform_int_distribution<long>(-families[f].nmax, families[f].nmax)(g.rng);
      kaf_ddc r = __KAFf90_ddc_pow_i4(a, n);
      mp_pow_int(mr, a, n);
      w.note(cerr(r, mr), showc(a) + " n=" + std::to_string(n));
    }
    EXPECT_LE(w.err, 6.0) << families[f].name << ": " << w.where;
    worst = std::max(worst, w.err);
  }
  RecordProperty("worst_units", std::to_string(worst));
  kaf_ddc i{{0, 0}, {1, 0}};
  kaf_ddc r = __KAFf90_ddc_pow_i4(i, 2);
  EXPECT_TRUE(same(r.re, {-1.0, 0}) && r.im.hi == 0.0) << showc(r);
  r = __KAFf90_ddc_pow_i4(i, 0);
  EXPECT_TRUE(same(r.re, {1.0, 0}) && r.im.hi == 0.0);
}

namespace {

// Reference of a complex function from its real-variable formula.
using MpRef = std::function<void(MpC &r, MpC &z)>;
using CFn = kaf_ddc (*)(kaf_ddc);

double run_cfun(CFn f, const MpRef &ref, const std::function<kaf_ddc(Gen &)> &gen, std::uint64_t seed,
                std::string *where) {
  Gen g(seed);
  MpC mz, mr;
  Worst w;
  for (long i = 0; i < kTenK; ++i) {
    kaf_ddc z = gen(g);
    kaf_ddc r = f(z);
    set_c(mz, z);
    ref(mr, mz);
    w.note(cerr(r, mr), showc(z) + " -> " + showc(r));
  }
  *where = w.where;
  return w.err;
}

void ref_exp(MpC &r, MpC &z) {
  Big e(320);
  mpfr_exp(e, z.re, MPFR_RNDN);
  mpfr_sin_cos(r.im, r.re, z.im, MPFR_RNDN);
  mpfr_mul(r.re, r.re, e, MPFR_RNDN);
  mpfr_mul(r.im, r.im, e, MPFR_RNDN);
}
void ref_log(MpC &r, MpC &z) {
  Big h(320);
  mpfr_hypot(h, z.re, z.im, MPFR_RNDN);
  mpfr_atan2(r.im, z.im, z.re, MPFR_RNDN);
  mpfr_log(r.re, h, MPFR_RNDN);
}
void ref_sqrt(MpC &r, MpC &z) {  // |z|^(1/2) e^(i arg/2)
  Big h(320), a(320);
  mpfr_hypot(h, z.re, z.im, MPFR_RNDN);
  mpfr_sqrt(h, h, MPFR_RNDN);
  mpfr_atan2(a, z.im, z.re, MPFR_RNDN);
  mpfr_div_2ui(a, a, 1, MPFR_RNDN);
  mpfr_sin_cos(r.im, r.re, a, MPFR_RNDN);
  mpfr_mul(r.re, r.re, h, MPFR_RNDN);
  mpfr_mul(r.im, r.im, h, MPFR_RNDN);
}
void ref_sin(MpC &r, MpC &z) {
  Big s(320), c(320), sh(320), ch(320);
  mpfr_sin_cos(s, c, z.re, MPFR_RNDN);
  mpfr_sinh_cosh(sh, ch, z.im, MPFR_RNDN);
  mpfr_mul(r.re, s, ch, MPFR_RNDN);
  mpfr_mul(r.im, c, sh, MPFR_RNDN);
}
void ref_cos(MpC &r, MpC &z) {
  Big s(320), c(320), sh(320), ch(320);
  mpfr_sin_cos(s, c, z.re, MPFR_RNDN);
  mpfr_sinh_cosh(sh, ch, z.im, MPFR_RNDN);
  mpfr_mul(r.re, c, ch, MPFR_RNDN);
  mpfr_mul(r.im, s, sh, MPFR_RNDN);
  mpfr_neg(r.im, r.im, MPFR_RNDN);
}
void ref_sinh(MpC &r, MpC &z) {
  Big s(320), c(320), sh(320), ch(320);
  mpfr_sin_cos(s, c, z.im, MPFR_RNDN);
  mpfr_sinh_cosh(sh, ch, z.re, MPFR_RNDN);
  mpfr_mul(r.re, sh, c, MPFR_RNDN);
  mpfr_mul(r.im, ch, s, MPFR_RNDN);
}
void ref_cosh(MpC &r, MpC &z) {
  Big s(320), c(320), sh(320), ch(320);
  mpfr_sin_cos(s, c, z.im, MPFR_RNDN);
  mpfr_sinh_cosh(sh, ch, z.re, MPFR_RNDN);
  mpfr_mul(r.re, ch, c, MPFR_RNDN);
  mpfr_mul(r.im, sh, s, MPFR_RNDN);
}
void ref_tan(MpC &r, MpC &z) {  // sin z / cos z at 640 bits
  MpC s, c;
  Big zr(640), zi(640);
  ref_sin(s, z);
  ref_cos(c, z);
  mp_div(r, s, c);
}
void ref_tanh(MpC &r, MpC &z) {
  MpC s, c;
  ref_sinh(s, z);
  ref_cosh(c, z);
  mp_div(r, s, c);
}

}  // namespace

TEST(DdComplex, ElementalFunctions) {
  struct Case {
    const char *name;
    CFn f;
    MpRef ref;
    double bound;
    std::function<kaf_ddc(Gen &)> gen;
  };
  auto box = [](double a) { return [a](Gen &g) { return kaf_ddc{g.range(-a, a), g.range(-a, a)}; }; };
  auto near_unit_circle = [](Gen &g) {
    double t = g.uniform(0, 6.283);
    double r = 1.0 + std::ldexp(g.uniform(-1, 1), g.expo(-90, -5));
    return kaf_ddc{g.with_lo(r * std::cos(t)), g.with_lo(r * std::sin(t))};
  };
  auto wide = [](Gen &g) { return cgen(g, -900, 900); };
  const Case cases[] = {
      {"exp", __KAFf90_exp_ddc, ref_exp, 8.0, box(20)},
      {"log", __KAFf90_log_ddc, ref_log, 8.0, box(100)},
      {"log near |z| = 1", __KAFf90_log_ddc, ref_log, 8.0, near_unit_circle},
      {"log wide", __KAFf90_log_ddc, ref_log, 8.0, wide},
      {"sqrt", __KAFf90_sqrt_ddc, ref_sqrt, 8.0, box(100)},
      {"sqrt wide", __KAFf90_sqrt_ddc, ref_sqrt, 8.0, wide},
      {"sin", __KAFf90_sin_ddc, ref_sin, 8.0, box(10)},
      {"cos", __KAFf90_cos_ddc, ref_cos, 8.0, box(10)},
      {"sinh", __KAFf90_sinh_ddc, ref_sinh, 8.0, box(10)},
      {"cosh", __KAFf90_cosh_ddc, ref_cosh, 8.0, box(10)},
      {"tan", __KAFf90_tan_ddc, ref_tan, 12.0, box(3)},
      {"tanh", __KAFf90_tanh_ddc, ref_tanh, 12.0, box(3)},
  };
  double worst = 0;
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    std::string where;
    double e = run_cfun(cases[i].f, cases[i].ref, cases[i].gen, 500 + i, &where);
    EXPECT_LE(e, cases[i].bound) << cases[i].name << ": " << where;
    worst = std::max(worst, e);
  }
  RecordProperty("worst_units", std::to_string(worst));
}

TEST(DdComplex, AbsAndPower) {
  Gen g(404);
  Worst w;
  Big h(320), t(320);
  MpC ma, mb, mr;
  for (long i = 0; i < kTenK; ++i) {
    kaf_ddc z = cgen(g, -900, 1000);
    set_c(ma, z);
    mpfr_hypot(h, ma.re, ma.im, MPFR_RNDN);
    w.note(err_units(__KAFf90_abs_ddc(z), h), showc(z));
  }
  EXPECT_LE(w.err, 4.0) << w.where;
  Worst wp;
  for (long i = 0; i < kTenK; ++i) {
    kaf_ddc a = cgen(g, -2, 2), b = cgen(g, -3, 1);
    kaf_ddc r = __KAFf90_ddc_pow_ddc(a, b);
    set_c(ma, a);
    set_c(mb, b);
    MpC l;
    ref_log(l, ma);
    mp_mul(mr, mb, l);
    MpC e;
    ref_exp(e, mr);
    wp.note(cerr(r, e), showc(a) + showc(b));
  }
  // exp(b log a): the error grows with |b log a| (up to about 20 here).
  EXPECT_LE(wp.err, 64.0) << wp.where;
  const kaf_ddc z{{3.0, 0}, {-4.0, 0}};
  EXPECT_TRUE(same(__KAFf90_abs_ddc_arg(&z), {5.0, 0}));
  kaf_ddc s = __KAFf90_sqrt_ddc_arg(&z);
  EXPECT_TRUE(same(s.re, {2.0, 0}) && same(s.im, {-1.0, 0})) << showc(s);
  EXPECT_TRUE(same(__KAFf90_exp_ddc_arg(&z).re, __KAFf90_exp_ddc(z).re));
  EXPECT_TRUE(same(__KAFf90_log_ddc_arg(&z).im, __KAFf90_log_ddc(z).im));
  EXPECT_TRUE(same(__KAFf90_sin_ddc_arg(&z).re, __KAFf90_sin_ddc(z).re));
  EXPECT_TRUE(same(__KAFf90_cos_ddc_arg(&z).im, __KAFf90_cos_ddc(z).im));
  // Branch cut of SQRT and LOG: the sign of a zero imaginary part decides.
  kaf_ddc m1{{-4.0, 0}, {-0.0, 0}};
  s = __KAFf90_sqrt_ddc(m1);
  EXPECT_TRUE(same(s.re, {0.0, 0}) && same(s.im, {-2.0, 0})) << showc(s);
  kaf_ddc lg = __KAFf90_log_ddc(m1);
  EXPECT_LT(lg.im.hi, 0.0);
  kaf_ddc zero{{0.0, 0}, {0.0, 0}};
  EXPECT_TRUE(same(__KAFf90_log_ddc(zero).re, {-kInf, 0}));
  EXPECT_TRUE(same(__KAFf90_sqrt_ddc(zero).re, {0.0, 0}));
  kaf_ddc big{{1e308, 0}, {1e308, 0}};
  s = __KAFf90_sqrt_ddc(big);
  EXPECT_TRUE(std::isfinite(s.re.hi) && std::isfinite(s.im.hi));
  kaf_ddc e = __KAFf90_exp_ddc(kaf_ddc{{-kInf, 0}, {1.0, 0}});
  EXPECT_TRUE(same(e.re, {0.0, 0}) && same(e.im, {0.0, 0}));
}

// ---- Inverse functions ----------------------------------------------------------

namespace {

void c_set(MpC &r, MpC &a) {
  mpfr_set(r.re, a.re, MPFR_RNDN);
  mpfr_set(r.im, a.im, MPFR_RNDN);
}
void c_add_ui(MpC &r, MpC &a, long k) {  // a + k
  mpfr_add_si(r.re, a.re, k, MPFR_RNDN);
  mpfr_set(r.im, a.im, MPFR_RNDN);
}
void c_times_i(MpC &r, MpC &a) {  // i a
  MpC t;
  mpfr_neg(t.re, a.im, MPFR_RNDN);
  mpfr_set(t.im, a.re, MPFR_RNDN);
  c_set(r, t);
}
void c_times_minus_i(MpC &r, MpC &a) {  // -i a
  MpC t;
  mpfr_set(t.re, a.im, MPFR_RNDN);
  mpfr_neg(t.im, a.re, MPFR_RNDN);
  c_set(r, t);
}
void ref_asinh(MpC &r, MpC &z) {  // log(z + sqrt(z^2 + 1))
  MpC t, s, u;
  mp_mul(t, z, z);
  c_add_ui(t, t, 1);
  ref_sqrt(s, t);
  mpfr_add(u.re, z.re, s.re, MPFR_RNDN);
  mpfr_add(u.im, z.im, s.im, MPFR_RNDN);
  ref_log(r, u);
}
void ref_asin(MpC &r, MpC &z) {  // -i asinh(iz)
  MpC t, a;
  c_times_i(t, z);
  ref_asinh(a, t);
  c_times_minus_i(r, a);
}
void ref_acos(MpC &r, MpC &z) {  // pi/2 - asin z
  MpC a;
  ref_asin(a, z);
  Big h(320);
  mpfr_const_pi(h, MPFR_RNDN);
  mpfr_div_2ui(h, h, 1, MPFR_RNDN);
  mpfr_sub(r.re, h, a.re, MPFR_RNDN);
  mpfr_neg(r.im, a.im, MPFR_RNDN);
}
void ref_atanh(MpC &r, MpC &z) {  // (log(1+z) - log(1-z))/2
  MpC p, m, lp, lm;
  c_add_ui(p, z, 1);
  mpfr_ui_sub(m.re, 1, z.re, MPFR_RNDN);
  mpfr_neg(m.im, z.im, MPFR_RNDN);
  ref_log(lp, p);
  ref_log(lm, m);
  mpfr_sub(r.re, lp.re, lm.re, MPFR_RNDN);
  mpfr_sub(r.im, lp.im, lm.im, MPFR_RNDN);
  mpfr_div_2ui(r.re, r.re, 1, MPFR_RNDN);
  mpfr_div_2ui(r.im, r.im, 1, MPFR_RNDN);
}
void ref_atan(MpC &r, MpC &z) {  // -i atanh(iz)
  MpC t, a;
  c_times_i(t, z);
  ref_atanh(a, t);
  c_times_minus_i(r, a);
}
void ref_acosh(MpC &r, MpC &z) {  // log(z + sqrt(z+1) sqrt(z-1))
  MpC p, m, sp, sm, q, u;
  c_add_ui(p, z, 1);
  c_add_ui(m, z, -1);
  ref_sqrt(sp, p);
  ref_sqrt(sm, m);
  mp_mul(q, sp, sm);
  mpfr_add(u.re, z.re, q.re, MPFR_RNDN);
  mpfr_add(u.im, z.im, q.im, MPFR_RNDN);
  ref_log(r, u);
}

}  // namespace

TEST(DdComplex, InverseFunctions) {
  struct Case {
    const char *name;
    CFn f;
    MpRef ref;
  };
  const Case cases[] = {
      {"asin", __KAFf90_asin_ddc, ref_asin},    {"acos", __KAFf90_acos_ddc, ref_acos},
      {"atan", __KAFf90_atan_ddc, ref_atan},    {"asinh", __KAFf90_asinh_ddc, ref_asinh},
      {"acosh", __KAFf90_acosh_ddc, ref_acosh}, {"atanh", __KAFf90_atanh_ddc, ref_atanh},
  };
  // Away from the branch cuts' axes; a box, and small arguments (where the
  // results are small and relative accuracy shows).
  auto box = [](Gen &g) { return kaf_ddc{g.range(-3, 3), g.range(-3, 3)}; };
  auto small = [](Gen &g) { return cgen(g, -40, -2); };
  double worst = 0;
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    for (int fam = 0; fam < 2; ++fam) {
      std::string where;
      double e = run_cfun(cases[i].f, cases[i].ref, fam ? std::function<kaf_ddc(Gen &)>(small) : box,
                          600 + 2 * i + fam, &where);
      EXPECT_LE(e, 10.0) << cases[i].name << " family " << fam << ": " << where;
      worst = std::max(worst, e);
    }
  }
  RecordProperty("worst_units", std::to_string(worst));
  // On the real segment (-1, 1) ASIN and ATANH are real.
  kaf_ddc h{{0.5, 0}, {0.0, 0}};
  Big m(320);
  mpfr_set_d(m, 0.5, MPFR_RNDN);
  mpfr_asin(m, m, MPFR_RNDN);
  EXPECT_LE(err_units(__KAFf90_asin_ddc(h).re, m), 4.0);
  EXPECT_EQ(__KAFf90_asin_ddc(h).im.hi, 0.0);
  mpfr_set_d(m, 0.5, MPFR_RNDN);
  mpfr_atanh(m, m, MPFR_RNDN);
  EXPECT_LE(err_units(__KAFf90_atanh_ddc(h).re, m), 4.0);
  EXPECT_EQ(__KAFf90_atanh_ddc(h).im.hi, 0.0);
}
