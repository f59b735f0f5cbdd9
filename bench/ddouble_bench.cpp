// Operations per second of the double-double kind, this library against
// QD on the same random operands: add, mul, div, sqrt, exp, log and sin.
// "tp" runs one operation over 1024 independent pairs (throughput: QD's
// inline dd_real operators overlap and vectorise across elements); "chain"
// feeds each result into the next operation (latency). QD is measured both
// through dd_real and through its out-of-line C interface (c_dd_*), which
// is called the way compiled code calls this library.
#include <benchmark/benchmark.h>
#include <qd/c_dd.h>
#include <qd/dd_real.h>

#include <cmath>
#include <random>
#include <vector>

#include "kafrts/ddouble.h"

namespace {

constexpr int kN = 1024;

struct Operands {
  std::vector<kaf_dd> a, b;
  std::vector<dd_real> qa, qb;
};

// Random double-doubles in [lo, hi) with a full low part.
Operands make(double lo, double hi, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(lo, hi), f(-0.5, 0.5);
  Operands o;
  for (int i = 0; i < kN; ++i) {
    kaf_dd x[2];
    for (kaf_dd &v : x) {
      double h = u(rng);
      double l = f(rng) * std::ldexp(1.0, std::ilogb(h) - 52);
      double s = h + l;
      v = kaf_dd{s, l - (s - h)};
    }
    o.a.push_back(x[0]);
    o.b.push_back(x[1]);
    o.qa.push_back(dd_real(x[0].hi, x[0].lo));
    o.qb.push_back(dd_real(x[1].hi, x[1].lo));
  }
  return o;
}

// GCC 12's straight-line vectoriser would gather the returned (hi, lo)
// pair into one vector through two 8-byte stores and a 16-byte reload; the
// reload cannot be forwarded from the stores and waits for them to retire,
// which serialises consecutive calls (division: 19 against 52 Mop/s). The
// loops calling this library store the two registers as they come, as
// compiled code does.
#define KAF_NO_SLP [[gnu::optimize("no-tree-slp-vectorize")]]

template <typename F>
KAF_NO_SLP void run_ours(benchmark::State &state, const Operands &o, F f) {
  std::vector<double> ah(kN), al(kN), bh(kN), bl(kN), oh(kN), ol(kN);
  for (int i = 0; i < kN; ++i) {
    ah[i] = o.a[i].hi;
    al[i] = o.a[i].lo;
    bh[i] = o.b[i].hi;
    bl[i] = o.b[i].lo;
  }
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) {
      kaf_dd r = f(kaf_dd{ah[i], al[i]}, kaf_dd{bh[i], bl[i]});
      oh[i] = r.hi;
      ol[i] = r.lo;
    }
    benchmark::DoNotOptimize(oh.data());
    benchmark::DoNotOptimize(ol.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

template <typename F>
void run_qd(benchmark::State &state, const Operands &o, F f) {
  std::vector<dd_real> out(kN);
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) out[i] = f(o.qa[i], o.qb[i]);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

template <typename F>
void run_qd_c(benchmark::State &state, const Operands &o, F f) {
  std::vector<dd_real> out(kN);
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) f(o.qa[i].x, o.qb[i].x, out[i].x);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

// Chains: x = op(x, b[i]) (binary) or x = op(x) + a[i] - a[i] style inputs
// kept in range by the operation itself (add alternates signs, mul and div
// use operands near 1).
template <typename F>
KAF_NO_SLP void chain_ours(benchmark::State &state, const Operands &o, F f) {
  std::vector<double> bh(kN), bl(kN);
  for (int i = 0; i < kN; ++i) {
    bh[i] = o.b[i].hi;
    bl[i] = o.b[i].lo;
  }
  kaf_dd x = o.a[0];
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) x = f(x, kaf_dd{bh[i], bl[i]});
    benchmark::DoNotOptimize(x);
  }
  state.SetItemsProcessed(state.iterations() * kN);
}
template <typename F>
void chain_qd(benchmark::State &state, const Operands &o, F f) {
  dd_real x = o.qa[0];
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) x = f(x, o.qb[i]);
    benchmark::DoNotOptimize(x);
  }
  state.SetItemsProcessed(state.iterations() * kN);
}
template <typename F>
void chain_qd_c(benchmark::State &state, const Operands &o, F f) {
  dd_real x = o.qa[0];
  for (auto _ : state) {
    for (int i = 0; i < kN; ++i) {
      dd_real y;
      f(x.x, o.qb[i].x, y.x);
      x = y;
    }
    benchmark::DoNotOptimize(x);
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

const Operands &unit() {
  static const Operands o = make(0.5, 2.0, 1);
  return o;
}
const Operands &expo() {
  static const Operands o = make(-10.0, 10.0, 2);
  return o;
}
const Operands &logs() {
  static const Operands o = make(1e-3, 1e3, 3);
  return o;
}
const Operands &sins() {
  static const Operands o = make(-10.0, 10.0, 4);
  return o;
}

const Operands &near1() {
  static const Operands o = make(0.999, 1.001, 5);
  return o;
}
const Operands &signs() {
  static Operands o = [] {
    Operands t = make(0.5, 2.0, 6);
    for (int i = 1; i < kN; i += 2) {
      t.b[i] = kaf_dd{-t.b[i].hi, -t.b[i].lo};
      t.qb[i] = -t.qb[i];
    }
    return t;
  }();
  return o;
}

// Each operation is a lambda, so the harness loop is instantiated for it:
// QD's inline operators are inlined into the loop, and ours is one direct
// call per operation into the shared library (through the PLT, as compiled
// code calls it).
constexpr auto o_add = [](kaf_dd a, kaf_dd b) { return __KAFf90_dd_PLUS_dd(a, b); };
constexpr auto o_mul = [](kaf_dd a, kaf_dd b) { return __KAFf90_dd_TIMES_dd(a, b); };
constexpr auto o_div = [](kaf_dd a, kaf_dd b) { return __KAFf90_dd_DIVIDE_dd(a, b); };
constexpr auto o_sqrt = [](kaf_dd a, kaf_dd) { return __KAFf90_sqrt_dd(a); };
constexpr auto o_exp = [](kaf_dd a, kaf_dd) { return __KAFf90_exp_dd(a); };
constexpr auto o_log = [](kaf_dd a, kaf_dd) { return __KAFf90_log_dd(a); };
constexpr auto o_sin = [](kaf_dd a, kaf_dd) { return __KAFf90_sin_dd(a); };
constexpr auto q_add = [](const dd_real &a, const dd_real &b) { return a + b; };
constexpr auto q_mul = [](const dd_real &a, const dd_real &b) { return a * b; };
constexpr auto q_div = [](const dd_real &a, const dd_real &b) { return a / b; };
constexpr auto q_sqrt = [](const dd_real &a, const dd_real &) { return sqrt(a); };
constexpr auto q_exp = [](const dd_real &a, const dd_real &) { return exp(a); };
constexpr auto q_log = [](const dd_real &a, const dd_real &) { return log(a); };
constexpr auto q_sin = [](const dd_real &a, const dd_real &) { return sin(a); };
constexpr auto c_add = [](const double *a, const double *b, double *c) { c_dd_add(a, b, c); };
constexpr auto c_mul = [](const double *a, const double *b, double *c) { c_dd_mul(a, b, c); };
constexpr auto c_div = [](const double *a, const double *b, double *c) { c_dd_div(a, b, c); };
constexpr auto c_sqrt = [](const double *a, const double *, double *c) { c_dd_sqrt(a, c); };

#define KAF_BENCH_TP(name, ops)                                                                  \
  void tp_##name##_ours(benchmark::State &s) { run_ours(s, ops(), o_##name); }                   \
  void tp_##name##_qd(benchmark::State &s) { run_qd(s, ops(), q_##name); }                       \
  BENCHMARK(tp_##name##_ours);                                                                   \
  BENCHMARK(tp_##name##_qd);

KAF_BENCH_TP(add, unit)
KAF_BENCH_TP(mul, unit)
KAF_BENCH_TP(div, unit)
KAF_BENCH_TP(sqrt, unit)
KAF_BENCH_TP(exp, expo)
KAF_BENCH_TP(log, logs)
KAF_BENCH_TP(sin, sins)

void tp_add_qdc(benchmark::State &s) { run_qd_c(s, unit(), c_add); }
void tp_mul_qdc(benchmark::State &s) { run_qd_c(s, unit(), c_mul); }
void tp_div_qdc(benchmark::State &s) { run_qd_c(s, unit(), c_div); }
void tp_sqrt_qdc(benchmark::State &s) { run_qd_c(s, unit(), c_sqrt); }
BENCHMARK(tp_add_qdc);
BENCHMARK(tp_mul_qdc);
BENCHMARK(tp_div_qdc);
BENCHMARK(tp_sqrt_qdc);

void chain_add_ours(benchmark::State &s) { chain_ours(s, signs(), o_add); }
void chain_add_qd(benchmark::State &s) { chain_qd(s, signs(), q_add); }
void chain_add_qdc(benchmark::State &s) { chain_qd_c(s, signs(), c_add); }
void chain_mul_ours(benchmark::State &s) { chain_ours(s, near1(), o_mul); }
void chain_mul_qd(benchmark::State &s) { chain_qd(s, near1(), q_mul); }
void chain_mul_qdc(benchmark::State &s) { chain_qd_c(s, near1(), c_mul); }
void chain_div_ours(benchmark::State &s) { chain_ours(s, near1(), o_div); }
void chain_div_qd(benchmark::State &s) { chain_qd(s, near1(), q_div); }
void chain_div_qdc(benchmark::State &s) { chain_qd_c(s, near1(), c_div); }
void chain_sqrt_ours(benchmark::State &s) {
  chain_ours(s, near1(), [](kaf_dd x, kaf_dd b) { return o_sqrt(o_mul(x, b), b); });
}
void chain_sqrt_qd(benchmark::State &s) {
  chain_qd(s, near1(), [](const dd_real &x, const dd_real &b) { return sqrt(x * b); });
}
void chain_sqrt_qdc(benchmark::State &s) {
  chain_qd_c(s, near1(), [](const double *x, const double *b, double *y) {
    double t[2];
    c_dd_mul(x, b, t);
    c_dd_sqrt(t, y);
  });
}
BENCHMARK(chain_add_ours);
BENCHMARK(chain_add_qd);
BENCHMARK(chain_add_qdc);
BENCHMARK(chain_mul_ours);
BENCHMARK(chain_mul_qd);
BENCHMARK(chain_mul_qdc);
BENCHMARK(chain_div_ours);
BENCHMARK(chain_div_qd);
BENCHMARK(chain_div_qdc);
BENCHMARK(chain_sqrt_ours);
BENCHMARK(chain_sqrt_qd);
BENCHMARK(chain_sqrt_qdc);

}  // namespace

BENCHMARK_MAIN();
