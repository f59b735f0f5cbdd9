// kaffmt, run as a command: records written and values read through the
// libraries, byte for byte, and its messages and exit statuses.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <string>

namespace {

// build/tools/kaffmt beside build/tests/test_freal.
std::string kaffmt_path() {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  std::string p(self, n > 0 ? static_cast<std::size_t>(n) : 0);
  p = p.substr(0, p.rfind('/'));
  return p.substr(0, p.rfind('/')) + "/tools/kaffmt";
}

struct run_result {
  std::string out;
  int status;
};

run_result run(const std::string &args) {
  std::string cmd = kaffmt_path() + " " + args + " 2>&1";
  FILE *f = popen(cmd.c_str(), "r");
  run_result r{"", -1};
  if (!f) return r;
  char buf[512];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) r.out.append(buf, n);
  int st = pclose(f);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

TEST(Kaffmt, WritesTheRecord) {
  static const struct {
    const char *args;
    const char *out;
  } rows[] = {
      {"'(ES12.4,I5)' 3.14159 42", "  3.1416E+00   42\n"},
      {"'(3F7.2)' 1 -2.5 0.125 7", "   1.00  -2.50   0.12\n   7.00\n"},
      {"--round=RU '(F5.1,1X,RD,F5.1)' 0.01 0.01", "  0.1   0.0\n"},
      {"'(G0,1X,G0,1X,G0)' 0.1_4 0.1 0.1_16", "0.100000001 0.10000000000000001 0.10000000000000000000000000000000\n"},
      {"'(A,L3,G9.1)' text T 2.5_2", "text  T   2.    \n"},  // 2.5 to one digit: to even
      {"'(SP,EN12.3)' 999.9996", "  +1.000E+03\n"},
  };
  for (const auto &r : rows) {
    run_result got = run(r.args);
    EXPECT_EQ(got.out, r.out) << r.args;
    EXPECT_EQ(got.status, 0) << r.args;
  }
}

TEST(Kaffmt, ReadsTheRecordExactly) {
  run_result r = run("--read '(F8.3)' '  12.5'");
  EXPECT_EQ(r.out, "F8: 12.5 (0x1.9p+3)\n");
  r = run("--read '(2F5.1/I3)' '  1.5 2.25' ' 42'");
  EXPECT_EQ(r.out, "F5: 1.5 (0x1.8p+0)\nF5: 2.25 (0x1.2p+1)\nI3: 42\n");
  r = run("--read '(RU,F10.0)' 0.1");
  EXPECT_EQ(r.out, "F10: 0.10000000000000001 (0x1.999999999999ap-4)\n");
  r = run("--read '(RD,F10.0)' 0.1");
  EXPECT_EQ(r.out, "F10: 0.099999999999999992 (0x1.9999999999999p-4)\n");
  r = run("--read --kind=16 '(F30.0)' 0.1");
  EXPECT_EQ(r.out, "F30: 0.10000000000000001 + -5.551115123125783e-18 (0x1.999999999999ap-4 + -0x1.999999999999ap-58)\n");
}

TEST(Kaffmt, ClearMessages) {
  run_result r = run("'(E10.3)' abc");
  EXPECT_EQ(r.out, "kaffmt: not a real value for a real descriptor: abc\n");
  EXPECT_EQ(r.status, 2);
  r = run("'(E10.3' 1");
  EXPECT_EQ(r.out, "kaffmt: error 1016: Format specification does not end with a right parenthesis\n");
  EXPECT_EQ(r.status, 1);
  r = run("'(5P,E10.3)' 1");
  EXPECT_EQ(r.out, "kaffmt: error 1002: Scale factor 5 out of range for d=3\n");
  EXPECT_EQ(r.status, 1);
  r = run("--read '(F5.0)' 1E309");
  EXPECT_EQ(r.out, "kaffmt: error 1115: Floating overflow on real number input\n");
  EXPECT_EQ(r.status, 1);
  r = run("--read '(F5.0)' '1.2.3'");
  EXPECT_EQ(r.out, "kaffmt: error 1040: Invalid character in real input field\n");
  r = run("--round=RX '(F5.0)' 1");
  EXPECT_EQ(r.out, "kaffmt: unknown rounding mode (RN, RU, RD, RZ, RC or RP): RX\n");
}

}  // namespace
