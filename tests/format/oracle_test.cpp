// Random formats of integer editing, positioning, groups, reversion and
// strings, written through the sequencer and compared byte for byte with
// what GNU Fortran's runtime writes for the same format and values.
#ifdef KAF_GFORTRAN_ORACLE
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>
#include <unistd.h>

#include "memctx.h"

using kaftest::memctx;

namespace {

struct format_maker {
  std::mt19937 rng;
  int pick(int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); }

  std::string data() {
    static const char *letters[] = {"I", "I", "I", "B", "O", "Z"};
    std::string d = letters[pick(6)];
    const int w = pick(13);
    d += std::to_string(w);
    if (pick(3) == 0) d += "." + std::to_string(1 + pick(w ? w : 6));
    return d;
  }
  std::string control() {
    switch (pick(9)) {
    case 0: return std::to_string(1 + pick(4)) + "X";
    case 1: return "T" + std::to_string(1 + pick(30));
    case 2: return "TL" + std::to_string(1 + pick(6));
    case 3: return "TR" + std::to_string(1 + pick(6));
    case 4: return "/";
    case 5: return pick(2) ? "SP" : "SS";
    case 6: return "'<" + std::string(1, static_cast<char>('a' + pick(26))) + ">'";
    case 7: return ":";
    default: return "S";
    }
  }
  // Every positioning descriptor is followed at once by a data descriptor:
  // GNU Fortran does not apply a second positioning descriptor from the
  // first one's target as the standard says ("(A,T1,T2,A)" of 'abcdef', 'X'
  // gives abcdefX there, aXcdef here), also across a group's end.
  std::string list(int depth) {
    std::string s;
    const int n = 1 + pick(4);
    bool data_seen = false;
    for (int i = 0; i < n; ++i) {
      if (i) s += ",";
      const int kind = pick(10);
      if (kind >= 5 && kind < 8 && depth < 3) {
        const std::string ctl = control();
        s += ctl;
        if (ctl.find('X') != std::string::npos || ctl[0] == 'T') {
          s += "," + data();
          data_seen = true;
        }
        continue;
      }
      if (kind < 5 || (i == n - 1 && !data_seen)) {
        if (pick(4) == 0) s += std::to_string(2 + pick(3));
        s += data();
        data_seen = true;
      } else if (depth >= 3) {
        s += data();
        data_seen = true;
      } else {
        s += std::to_string(1 + pick(3)) + "(" + list(depth + 1) + ")";
        data_seen = true;
      }
    }
    return s;
  }
};

std::string ours(const std::string &fmt, const std::vector<int> &values) {
  memctx m;
  kaftest::begin_output(m);
  std::uint64_t s = kaftest::establish(m, fmt.c_str(), DIR_OUTPUT);
  for (int v : values) {
    if (s) break;
    s = __KAFf90_fmt_write_i(&m.ctx, v);
  }
  if (s) return "error";
  kaftest::end_output(m);
  std::string out;
  for (const auto &r : m.records) out += r + "\n";
  return out;
}

// Runs the oracle over the cases in input; its whole output.
std::string run_oracle(const std::string &input) {
  const std::string in_name = "/tmp/kaf_oracle_in_" + std::to_string(getpid());
  std::FILE *f = std::fopen(in_name.c_str(), "w");
  std::fwrite(input.data(), 1, input.size(), f);
  std::fclose(f);
  std::FILE *p = popen((std::string(KAF_GFORTRAN_ORACLE) + " < " + in_name).c_str(), "r");
  std::string out;
  if (!p) return out;
  char buf[4096];
  for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
  pclose(p);
  std::remove(in_name.c_str());
  return out;
}

TEST(GfortranOracle, RandomIntegerFormats) {
  format_maker maker{std::mt19937(4242)};
  std::vector<std::string> formats;
  std::vector<std::vector<int>> values;
  std::string input;
  for (int i = 0; i < 3000; ++i) {
    formats.push_back("(" + maker.list(0) + ")");
    std::vector<int> v(static_cast<std::size_t>(1 + maker.pick(10)));
    for (int &x : v) x = static_cast<int>(maker.rng()) >> maker.pick(31);
    values.push_back(v);
    input += "W " + formats.back() + "\n" + std::to_string(v.size()) + "\n";
    for (int x : v) input += std::to_string(x) + " ";
    input += "\n";
  }
  const std::string out = run_oracle(input);
  std::size_t at = 0;
  int compared = 0;
  for (std::size_t i = 0; i < formats.size(); ++i) {
    const std::size_t open = out.find("<<<\n", at), close = out.find(">>>\n", open);
    ASSERT_NE(close, std::string::npos) << "oracle output ends early at case " << i;
    const std::string theirs = out.substr(open + 4, close - open - 4);
    at = close + 4;
    if (theirs.find("error") != std::string::npos) continue;  // formats gfortran refuses
    EXPECT_EQ(ours(formats[i], values[i]), theirs) << formats[i];
    ++compared;
  }
  EXPECT_GT(compared, 2000);
}

// Random input formats (I, B, O, Z, positioning, slashes, groups and
// reversion) over random records, read as an internal file of 400-character
// records whose last 360 are blanks: where both runtimes read the fields,
// the values agree. The records are long so that no field needs padding:
// GNU Fortran does not advance the position over padding blanks, so a TL
// after a field that ran past the end of the record lands elsewhere there.
struct input_maker {
  std::mt19937 rng;
  int pick(int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); }
  // B, O and Z fields narrow enough that their value fits 32 bits: beyond
  // that GNU Fortran refuses the value where this runtime keeps its low
  // bits, as intended for bit patterns.
  std::string data() {
    static const char *letters[] = {"I", "I", "I", "B", "O", "Z"};
    static const int widest[] = {12, 12, 12, 12, 10, 8};
    const int k = pick(6);
    return std::string(letters[k]) + std::to_string(1 + pick(widest[k]));
  }
  // BZ is left out: GNU Fortran does not count the blanks that padding
  // supplies past the end of a record as zeros; here padding delivers
  // blanks like any other, and BZ makes them zeros.
  std::string list(int depth) {
    std::string s;
    const int n = 1 + pick(4);
    for (int i = 0; i < n; ++i) {
      if (i) s += ",";
      const int kind = pick(12);
      if (kind < 6 || depth >= 2) {
        s += data();
      } else if (kind < 10) {
        static const char *controls[] = {"X", "T", "TL", "TR", "/", "BN"};
        const int c = pick(6);
        s += c == 0 ? std::to_string(1 + pick(5)) + "X"
             : c < 4 ? std::string(controls[c]) + std::to_string(1 + pick(c == 1 ? 40 : 8))
                     : std::string(controls[c]);
        if (c < 4) s += "," + data();
      } else {
        s += std::to_string(1 + pick(3)) + "(" + list(depth + 1) + ")";
      }
    }
    return s;
  }
  // A record of numbers and blanks that every descriptor can read: decimal
  // digits only, and a sign only where no other digit precedes it.
  std::string record() {
    std::string r(40, ' ');
    for (int i = 0; i < 40; ++i) {
      const int k = pick(10);
      if (k < 6) r[static_cast<std::size_t>(i)] = static_cast<char>('0' + pick(2));
      else if (k < 7) r[static_cast<std::size_t>(i)] = static_cast<char>('0' + pick(8));
    }
    return r;
  }
};

TEST(GfortranOracle, RandomIntegerInput) {
  input_maker maker{std::mt19937(777)};
  struct input_case { std::string fmt; std::vector<std::string> recs; int n; };
  std::vector<input_case> cases;
  std::string input;
  for (int i = 0; i < 3000; ++i) {
    input_case c{"(" + maker.list(0) + ")", {}, 1 + maker.pick(8)};
    const int r = 1 + maker.pick(6);
    for (int k = 0; k < r; ++k) c.recs.push_back(maker.record());
    input += "R " + c.fmt + "\n" + std::to_string(r) + "\n";
    for (const auto &rec : c.recs) input += rec + "\n";
    input += std::to_string(c.n) + "\n";
    cases.push_back(c);
  }
  const std::string out = run_oracle(input);
  std::size_t at = 0;
  int compared = 0;
  for (const auto &c : cases) {
    const std::size_t open = out.find("<<<\n", at), close = out.find(">>>\n", open);
    ASSERT_NE(close, std::string::npos) << "oracle output ends early";
    const std::string theirs = out.substr(open + 4, close - open - 4);
    at = close + 4;
    std::string store;
    for (const auto &rec : c.recs) store += rec + std::string(360, ' ');
    const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(store.data()), 400, 0,
                                 static_cast<std::int64_t>(c.recs.size()), 400, 1};
    kaf_ifile f;
    __KAFf90_array_ifilex(&f, desc, 1, 10);
    kaf_ioctx_space space;
    kaf_ioctx *io = reinterpret_cast<kaf_ioctx *>(&space);
    std::int32_t iostat = 0;
    std::uint64_t s = static_cast<std::uint64_t>(__KAFf90_read_internal_file(io, &f, &iostat, nullptr, 0, KAF_IO_ERR | KAF_IO_END));
    if (!s) s = __KAFf90_establish_format(io, c.fmt.c_str(), -1, DIR_INPUT);
    std::vector<std::int32_t> v(static_cast<std::size_t>(c.n), 0);
    for (auto &x : v) {
      if (s) break;
      s = __KAFf90_fmt_read_i(io, &x);
    }
    if (!s) __KAFf90_end_read_internal(io);
    std::string ours = "ok";
    for (auto x : v) ours += " " + std::to_string(x);
    ours += "\n";
    if (s || theirs == "error\n") {
      // Both refuse (overflow, the end of the file); the codes differ.
      EXPECT_EQ(s != 0, theirs == "error\n") << c.fmt << " on '" << c.recs[0] << "'... ours " << ours;
      continue;
    }
    EXPECT_EQ(ours, theirs) << c.fmt << " on '" << c.recs[0] << "'";
    ++compared;
  }
  EXPECT_GT(compared, 1000);
}

}  // namespace
#endif
