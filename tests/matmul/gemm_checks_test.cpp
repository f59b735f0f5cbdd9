// Argument checks of the four GEMMs: each failure code with its exact text,
// the order in which they are tested, the boundaries of the leading
// dimensions, and the hidden-length check. Each fatal case runs in a child.
#include <gtest/gtest.h>

#include <csignal>

#include "support/child.h"
#include "tests/matmul/gemm_reference.h"

namespace {

using namespace gemmtest;

struct args {
  char ta = 'N', tb = 'N';
  int32_t m = 4, n = 3, k = 2, lda = 4, ldb = 2, ldc = 4;
  size_t la = 1, lb = 1;
};

template <typename T> void call_with(const args &x) {
  std::vector<T> a(64), b(64), c(64);
  const T alpha = from_real<T>(1.5, 0), beta = from_real<T>(0.5, 0);
  call(x.ta, x.tb, x.m, x.n, x.k, &alpha, a.data(), x.lda, b.data(), x.ldb, &beta, c.data(), x.ldc,
       x.la, x.lb);
}

template <typename T> kaftest::child_result run(const args &x) {
  return kaftest::run_in_child([x] { call_with<T>(x); });
}

std::string fatal_text(const std::string &message) {
  return "Runtime Error: " + message + "\nProgram terminated by fatal error\n";
}

struct failure_row {
  const char *what;
  args x;
  int code;
};

std::vector<failure_row> failure_rows() {
  std::vector<failure_row> rows;
  auto row = [&rows](const char *what, int code, auto change) {
    args x;
    change(x);
    rows.push_back({what, x, code});
  };
  row("TRANSA X", 1, [](args &x) { x.ta = 'X'; });
  row("TRANSA blank", 1, [](args &x) { x.ta = ' '; });
  row("TRANSB x", 2, [](args &x) { x.tb = 'x'; });
  row("TRANSB H", 2, [](args &x) { x.tb = 'H'; });
  row("M -1", 3, [](args &x) { x.m = -1; });
  row("N -1", 4, [](args &x) { x.n = -1; });
  row("K -7", 5, [](args &x) { x.k = -7; });
  row("LDA M-1", 8, [](args &x) { x.lda = 3; });
  row("LDA K-1 transposed", 8, [](args &x) { x.ta = 'T'; x.lda = 1; });
  row("LDA 0 with M 0", 8, [](args &x) { x.m = 0; x.lda = 0; x.ldc = 1; });
  row("LDB K-1", 10, [](args &x) { x.ldb = 1; });
  row("LDB N-1 conjugated", 10, [](args &x) { x.tb = 'c'; x.ldb = 2; });
  row("LDB 0 with K 0", 10, [](args &x) { x.k = 0; x.ldb = 0; });
  row("LDC M-1", 13, [](args &x) { x.ldc = 3; });
  row("LDC 0 with M 0", 13, [](args &x) { x.m = 0; x.ldc = 0; });
  // The first failing argument in list order is the one reported.
  row("TRANSA before TRANSB", 1, [](args &x) { x.ta = 'Q'; x.tb = 'Q'; });
  row("TRANSB before M", 2, [](args &x) { x.tb = 'Q'; x.m = -1; });
  row("M before N", 3, [](args &x) { x.m = -1; x.n = -1; });
  row("N before K", 4, [](args &x) { x.n = -2; x.k = -2; });
  row("K before LDA", 5, [](args &x) { x.k = -1; x.lda = 0; });
  row("LDA before LDB", 8, [](args &x) { x.lda = 0; x.ldb = 0; });
  row("LDB before LDC", 10, [](args &x) { x.ldb = 0; x.ldc = 0; });
  return rows;
}

template <typename T> void expect_failures(const char *type_name) {
  for (const auto &r : failure_rows()) {
    auto res = run<T>(r.x);
    EXPECT_TRUE(res.signaled && res.signal == SIGABRT) << type_name << ": " << r.what;
    EXPECT_EQ(res.err, fatal_text(std::string(type_name) + " MATMUL: Impossible failure " +
                                  std::to_string(r.code)))
        << r.what;
    EXPECT_EQ(res.out, "") << r.what;
  }
}

TEST(GemmChecks, EveryCodeReal) { expect_failures<float>("REAL"); }
TEST(GemmChecks, EveryCodeDouble) { expect_failures<double>("DOUBLE PRECISION"); }
TEST(GemmChecks, EveryCodeComplex) { expect_failures<kaf_complex>("COMPLEX"); }
TEST(GemmChecks, EveryCodeDoubleComplex) {
  expect_failures<kaf_dcomplex>("COMPLEX(KIND(0d0))");
}

// Leading dimensions exactly at their minimum, and the minimum of 1 for an
// empty operand, are accepted.
TEST(GemmChecks, MinimumLeadingDimensionsPass) {
  const args ok[] = {
      args{},
      [] { args x; x.ta = 'T'; x.lda = 2; return x; }(),
      [] { args x; x.tb = 'T'; x.ldb = 3; return x; }(),
      [] { args x; x.m = 0; x.lda = 1; x.ldc = 1; return x; }(),
      [] { args x; x.k = 0; x.lda = 4; x.ldb = 1; return x; }(),
      [] { args x; x.n = 0; x.tb = 'C'; x.ldb = 1; return x; }(),
  };
  for (const args &x : ok) {
    auto res = run<double>(x);
    EXPECT_TRUE(res.exited && res.exit_status == 0) << res.err;
    EXPECT_EQ(res.err, "");
  }
}

// A hidden length below 1 is reported before the letter is looked at.
TEST(GemmChecks, HiddenLengthShorterThanOne) {
  struct row {
    size_t la, lb;
    const char *dummy;
  } rows[] = {{0, 1, "TRANSA"}, {1, 0, "TRANSB"}, {0, 0, "TRANSA"}};
  for (const auto &r : rows) {
    args x;
    x.ta = 'Z';  // would be failure 1 if the length were not checked first
    x.la = r.la;
    x.lb = r.lb;
    auto res = run<double>(x);
    EXPECT_TRUE(res.signaled && res.signal == SIGABRT);
    EXPECT_EQ(res.err, fatal_text(std::string("Invalid reference to procedure DGEMM - Dummy argument ") +
                                  r.dummy + " has length 1 but actual argument length 0 is shorter"));
    auto z = kaftest::run_in_child([x] { call_with<kaf_dcomplex>(x); });
    EXPECT_EQ(z.err, fatal_text(std::string("Invalid reference to procedure ZGEMM - Dummy argument ") +
                                r.dummy + " has length 1 but actual argument length 0 is shorter"));
  }
  // Longer hidden lengths are fine: only the first character counts.
  args x;
  x.ta = 'T';
  x.lda = 2;
  x.la = 9;
  x.lb = 200;
  auto res = run<float>(x);
  EXPECT_TRUE(res.exited && res.exit_status == 0) << res.err;
}

TEST(ArgChrlenShorter, NamedAndUnnamedForms) {
  auto named = kaftest::run_in_child([] { __KAFf90_arg_chrlen_shorter("SUB", "NAME", 3, 10); });
  EXPECT_TRUE(named.signaled && named.signal == SIGABRT);
  EXPECT_EQ(named.err, fatal_text("Invalid reference to procedure SUB - Dummy argument NAME has "
                                  "length 10 but actual argument length 3 is shorter"));
  auto bare = kaftest::run_in_child([] { __KAFf90_arg_chrlen_shorter(nullptr, "X", -1, 4); });
  EXPECT_TRUE(bare.signaled && bare.signal == SIGABRT);
  EXPECT_EQ(bare.err, fatal_text("CHARACTER actual arg LEN=-1 shorter than dummy arg LEN=4"));
}

}  // namespace
