// Namelist transfer through the engine: the output layout, write-then-read
// round trips of every intrinsic type, arrays, sections, substrings and
// components, repeat factors and null values, the group terminators, every
// error text, the autoskip option, and the legacy readn/writen.
#include <gtest/gtest.h>

#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#include "format/context.h"
#include "nml_support.h"
#include "support/child.h"

using nmltest::descriptor;
using nmltest::group_builder;
using nmltest::outcome;
using nmltest::read_internal;
using nmltest::write_internal;

namespace {

// A derived type with a scalar, an array and a character component, and a
// type that nests it.
struct point {
  std::int32_t x;
  float y[2];
  char s[3];
};
const std::int64_t y_bounds[] = {1, 2};
const kaf_nml_component point_components[] = {
    {"x", offsetof(point, x), KAF_TYPE_I, 0, 0, nullptr, nullptr},
    {"y", offsetof(point, y), KAF_TYPE_R, 1, 0, nullptr, y_bounds},
    {"s", offsetof(point, s), KAF_TYPE_CH, 0, 3, nullptr, nullptr},
};
const kaf_nml_dtype point_type{"point", sizeof(point), 3, 0, point_components};

struct outer {
  double w;
  point q[2];
};
const std::int64_t q_bounds[] = {0, 2};
const kaf_nml_component outer_components[] = {
    {"w", offsetof(outer, w), KAF_TYPE_D, 0, 0, nullptr, nullptr},
    {"q", offsetof(outer, q), KAF_TYPE_DERIVED, 1, 0, &point_type, q_bounds},
};
const kaf_nml_dtype outer_type{"outer", sizeof(outer), 2, 0, outer_components};

[[maybe_unused]] std::string temp_path(const char *tag) { return "/tmp/kaf_nml_" + std::to_string(getpid()) + "_" + tag; }

[[maybe_unused]] std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

TEST(NamelistWrite, Layout) {
  std::int32_t i = 5;
  std::int32_t arr[3] = {1, -2, 3};
  float x = 1.5f;
  double d = 1e100;
  float z[2] = {1.0f, -2.0f};
  std::int32_t l = 1;
  char c[5] = {'a', 'b', '"', 'c', ' '};
  point p{1, {2.0f, 3.0f}, {'x', 'y', 'z'}};
  point pa[2] = {p, {-4, {0.5f, 200.0f}, {'u', 'v', 'w'}}};
  descriptor arr_d(arr, 4, {{1, 3}});
  descriptor pa_d(pa, sizeof(point), {{1, 2}}, true, sizeof(point));
  group_builder g("grp");
  g.scalar("i", KAF_TYPE_I, &i)
      .array("arr", KAF_TYPE_I, 1, arr_d.get())
      .scalar("x", KAF_TYPE_R, &x)
      .scalar("d", KAF_TYPE_D, &d)
      .scalar("z", KAF_TYPE_C, z)
      .scalar("l", KAF_TYPE_L, &l)
      .scalar("c", KAF_TYPE_CH, c, 5)
      .scalar("p", KAF_TYPE_DERIVED, &p, 0, &point_type)
      .array("pa", KAF_TYPE_DERIVED, 1, pa_d.get(), &point_type);
  EXPECT_EQ(write_internal(g.get()),
            " &GRP\n"
            " I= 5\n"
            " ARR= 1 -2 3\n"
            " X=   1.5000000\n"
            " D=  1.0000000000000000E+100\n"
            " Z= (  1.0000000, -2.0000000)\n"
            " L= T\n"
            " C= \"ab\"\"c \"\n"
            " P%X= 1\n"
            " P%Y=   2.0000000   3.0000000\n"
            " P%S= \"xyz\"\n"
            " PA(1)%X= 1\n"
            " PA(1)%Y=   2.0000000   3.0000000\n"
            " PA(1)%S= \"xyz\"\n"
            " PA(2)%X= -4\n"
            " PA(2)%Y=   0.5000000   2.0000000E+02\n"
            " PA(2)%S= \"uvw\"\n"
            " /\n");
}

TEST(NamelistWrite, LongArraysWrapAndNestedTypesNameEveryLevel) {
  std::int32_t v[30];
  for (int k = 0; k < 30; ++k) v[k] = 1000000 + k;
  outer o{0.25, {{7, {1, 2}, {'a', 'b', 'c'}}, {8, {3, 4}, {'d', 'e', 'f'}}}};
  descriptor v_d(v, 4, {{-2, 27}});
  group_builder g("Nest");
  g.array("v", KAF_TYPE_I, 1, v_d.get()).scalar("o", KAF_TYPE_DERIVED, &o, 0, &outer_type);
  const std::string text = write_internal(g.get(), 40);
  EXPECT_EQ(text,
            " &NEST\n"
            " V= 1000000 1000001 1000002 1000003\n"
            " 1000004 1000005 1000006 1000007\n"
            " 1000008 1000009 1000010 1000011\n"
            " 1000012 1000013 1000014 1000015\n"
            " 1000016 1000017 1000018 1000019\n"
            " 1000020 1000021 1000022 1000023\n"
            " 1000024 1000025 1000026 1000027\n"
            " 1000028 1000029\n"
            " O%W=   0.2500000000000000\n"
            " O%Q(0)%X= 7\n"
            " O%Q(0)%Y=   1.0000000   2.0000000\n"
            " O%Q(0)%S= \"abc\"\n"
            " O%Q(1)%X= 8\n"
            " O%Q(1)%Y=   3.0000000   4.0000000\n"
            " O%Q(1)%S= \"def\"\n"
            " /\n");
}

TEST(NamelistRead, ScalarsArraysAndComponents) {
  std::int32_t i = 0;
  std::int32_t arr[5] = {};
  double d = 0;
  char c[6];
  std::memset(c, '.', 6);
  point p{};
  point pa[3] = {};
  descriptor arr_d(arr, 4, {{0, 4}});
  descriptor pa_d(pa, sizeof(point), {{1, 3}}, true, sizeof(point));
  group_builder g("in");
  g.scalar("i", KAF_TYPE_I, &i)
      .array("arr", KAF_TYPE_I, 1, arr_d.get())
      .scalar("d", KAF_TYPE_D, &d)
      .scalar("c", KAF_TYPE_CH, c, 6)
      .scalar("p", KAF_TYPE_DERIVED, &p, 0, &point_type)
      .array("pa", KAF_TYPE_DERIVED, 1, pa_d.get(), &point_type);
  const outcome o = read_internal(g.get(),
                                  "  junk is not allowed here? no: blank lines only\n");
  EXPECT_EQ(o.iostat, 1084);
  EXPECT_EQ(o.iomsg, "Expected '&' but found 'j' in NAMELIST input");

  const outcome ok = read_internal(g.get(),
                                   "\n"
                                   " &IN i = 42, Arr(1:3) = 1 2, 3 ! a comment / not the end\n"
                                   "   d=-2.5d0 C(2:4)='xyz'\n"
                                   "   p = 9, 1.5 2.5 'pqr'\n"
                                   "   PA%x = 4 5 6, pa(2)%Y(2) = 7, pa(3)%s(2:) = \"QR\"\n"
                                   " /  anything after the slash\n");
  EXPECT_EQ(ok.status, 0) << ok.iomsg;
  EXPECT_EQ(i, 42);
  EXPECT_EQ(arr[0], 0);
  EXPECT_EQ(arr[1], 1);
  EXPECT_EQ(arr[2], 2);
  EXPECT_EQ(arr[3], 3);
  EXPECT_EQ(d, -2.5);
  EXPECT_EQ(std::string(c, 6), ".xyz..");
  EXPECT_EQ(p.x, 9);
  EXPECT_EQ(p.y[0], 1.5f);
  EXPECT_EQ(p.y[1], 2.5f);
  EXPECT_EQ(std::string(p.s, 3), "pqr");
  EXPECT_EQ(pa[0].x, 4);
  EXPECT_EQ(pa[1].x, 5);
  EXPECT_EQ(pa[2].x, 6);
  EXPECT_EQ(pa[1].y[1], 7.0f);
  EXPECT_EQ(std::string(pa[2].s, 3), std::string("\0QR", 3));
}

namespace {

// The group of the error rows: every kind of object a designator can name.
struct error_group {
  std::int32_t i = 0;
  std::int32_t a[5] = {};
  std::int32_t b[3][2] = {};  // B(1:2,1:3) in array element order: B(i,j) is b[j-1][i-1]
  char c[6] = {};
  char ca[3][4] = {};
  point p{};
  point pa[3] = {};
  descriptor a_d{a, 4, {{1, 5}}};
  descriptor b_d{b, 4, {{1, 2}, {1, 3}}};
  descriptor ca_d{ca, 4, {{1, 3}}, true, 4};
  descriptor pa_d{pa, sizeof(point), {{1, 3}}, true, sizeof(point)};
  group_builder g{"E"};
  error_group() {
    g.scalar("I", KAF_TYPE_I, &i)
        .array("A", KAF_TYPE_I, 1, a_d.get())
        .array("B", KAF_TYPE_I, 2, b_d.get())
        .scalar("C", KAF_TYPE_CH, c, 6)
        .array("CA", KAF_TYPE_CH, 1, ca_d.get())
        .scalar("P", KAF_TYPE_DERIVED, &p, 0, &point_type)
        .array("PA", KAF_TYPE_DERIVED, 1, pa_d.get(), &point_type);
  }
};

}  // namespace

TEST(NamelistRead, EveryErrorText) {
  const std::string long_name(64, 'N');
  static const struct {
    std::string input;
    std::int32_t iostat;
    const char *iomsg;
  } rows[] = {
      {" x", 1084, "Expected '&' but found 'x' in NAMELIST input"},
      {"\n\n  !only a comment\n E", 1084, "Expected '&' but found 'E' in NAMELIST input"},
      {" &E &" + long_name, 1085, "NAMELIST group name in input is too long"},
      {" &OTHER I=1 /", 1086, "Expected NAMELIST group /E/ but found /OTHER/"},
      {" &e I=1 &f", 1087, "Invalid character '&' in NAMELIST input"},
      {" &E 1=2 /", 1087, "Invalid character '1' in NAMELIST input"},
      {" &E I=1 2 /", 1087, "Invalid character '2' in NAMELIST input"},
      {" &" + long_name + " /", 1088, "NAMELIST group name in input of NAMELIST/E/ is too long"},
      {" &E I 5 /", 1089, "Expected '=' but found '5' in NAMELIST input"},
      {" &E I; /", 1089, "Expected '=' but found ';' in NAMELIST input"},
      {" &E Q=1 /", 1090, "Unknown group object \"Q\" in input for NAMELIST/E/"},
      {" &E I(1)=1 /", 1091, "Unexpected subscript for object I of NAMELIST/E/"},
      {" &E C(1:2)(1:1)='x' /", 1091, "Unexpected subscript for object C of NAMELIST/E/"},
      {" &E I%X=1 /", 1092, "Unexpected component specifier for object I of NAMELIST/E/"},
      {" &E P%" + long_name + "=1 /", 1093, "Component name too long in input for object P of NAMELIST/E/"},
      {" &E P%Z=1 /", 1094, "Unknown component \"Z\" in input for object P of NAMELIST/E/"},
      {" &E PA%Y=1 /", 1095, "Array component of array parent in input for object PA of NAMELIST/E/"},
      {" &E PA(1:2)%Y(:)=1 /", 1095, "Array component of array parent in input for object PA of NAMELIST/E/"},
      {" &E A(x)=1 /", 1096, "Invalid integer literal in input for object A of NAMELIST/E/"},
      {" &E A(-)=1 /", 1096, "Invalid integer literal in input for object A of NAMELIST/E/"},
      {" &E A(99999999999999999999)=1 /", 1096, "Invalid integer literal in input for object A of NAMELIST/E/"},
      {" &E C(2)='x' /", 1097, "Expected ':' but found ')' in input for object C of NAMELIST/E/"},
      {" &E C(3:2)='x' /", 1098, "Substring has zero length in input for object C of NAMELIST/E/"},
      {" &E C(0:2)='x' /", 1099, "Substring (0:2) out of bounds in input for object C of NAMELIST/E/"},
      {" &E CA(1)(2:7)='x' /", 1099, "Substring (2:7) out of bounds in input for object CA of NAMELIST/E/"},
      {" &E B(1)=1 /", 1100, "Expected ',' but found ')' in input for object B of NAMELIST/E/"},
      {" &E A(1,2)=1 /", 1101, "Expected ')' but found ',' in input for object A of NAMELIST/E/"},
      {" &E C(1:2=1 /", 1101, "Expected ')' but found '=' in input for object C of NAMELIST/E/"},
      {" &E A(6)=1 /", 1102, "Subscript (6) out of range in input for object A of NAMELIST/E/"},
      {" &E A(0:2)=1 /", 1102, "Subscript (0) out of range in input for object A of NAMELIST/E/"},
      {" &E A(1:9:4)=1 /", 1102, "Subscript (9) out of range in input for object A of NAMELIST/E/"},
      {" &E B(2,-3)=1 /", 1102, "Subscript (-3) out of range in input for object B of NAMELIST/E/"},
      {" &E A(4:2)=1 /", 1103, "Array section has zero size in input for object A of NAMELIST/E/"},
      {" &E A(1:3:0)=1 /", 1104, "Section stride has value zero in input for object A of NAMELIST/E/"},
      {" & E /", 1105, "Missing namelist group name in input of NAMELIST/E/"},
      {" &1E /", 1105, "Missing namelist group name in input of NAMELIST/E/"},
      // Values are the list-directed readers' and keep their errors.
      {" &E I=x /", 1006, "Invalid input for integer editing"},
      {" &E P%Y=1.5.5 /", 1011, "Invalid input for real editing"},
      {" &E A=0*1 /", 1005, "Zero repeat factor in list-directed input"},
  };
  for (const auto &r : rows) {
    error_group e;
    const outcome o = read_internal(e.g.get(), r.input);
    EXPECT_EQ(o.status, r.iostat) << r.input;
    EXPECT_EQ(o.iostat, r.iostat) << r.input;
    EXPECT_EQ(o.iomsg, r.iomsg) << r.input;
  }
}

TEST(NamelistRead, EndOfFileBeforeOrInsideTheGroup) {
  for (const char *input : {"", "   \n  ! nothing\n", " &E I=1", " &E A= 1 2,\n"}) {
    error_group e;
    const outcome o = read_internal(e.g.get(), input);
    EXPECT_EQ(o.status, -1) << input;
    EXPECT_EQ(o.iostat, -1) << input;
  }
}

TEST(NamelistRead, RepeatFactorsNullValuesAndSeparators) {
  static const struct {
    const char *input;
    std::int32_t want[5];  // A(1:5), starting from 9 9 9 9 9
  } rows[] = {
      {" &E A=2*7, , 2* /", {7, 7, 9, 9, 9}},
      {" &E A= ,,3 /", {9, 9, 3, 9, 9}},
      {" &E A=1,\n\n 2 ! two records on\n,3 /", {1, 2, 3, 9, 9}},
      {" &E A=5*4 /", {4, 4, 4, 4, 4}},
      {" &E A=9*4 I=2 /", {4, 4, 4, 4, 4}},  // the rest of the repeat is dropped
      {" &E A(5:1:-2)=1 2 3 /", {3, 9, 2, 9, 1}},
      {" &E A(2:)=1 2 3 4 /", {9, 1, 2, 3, 4}},
      {" &E A(:2)=1, a(4)=8/", {1, 9, 9, 8, 9}},
      {" &E A=1 2, I=3,,, A(5)=6 $END", {1, 2, 9, 9, 6}},
      {" $E A=1 $", {1, 9, 9, 9, 9}},
      {" $e a=1 2 $end", {1, 2, 9, 9, 9}},
      {" &E A=1 2 &end", {1, 2, 9, 9, 9}},
      {" &E A=1 2/", {1, 2, 9, 9, 9}},
      {" &E ,, A=1 2 , , /", {1, 2, 9, 9, 9}},
      {" &E\n A\n =\n 1\n 2\n /", {1, 2, 9, 9, 9}},
      // A blank after "r*" makes r null values, even where a value follows.
      {" &E A=2*   7 /", {9, 9, 7, 9, 9}},
  };
  for (const auto &r : rows) {
    error_group e;
    for (auto &v : e.a) v = 9;
    const outcome o = read_internal(e.g.get(), r.input);
    EXPECT_EQ(o.status, 0) << r.input << " " << o.iomsg;
    for (int k = 0; k < 5; ++k) EXPECT_EQ(e.a[k], r.want[k]) << r.input << " A(" << k + 1 << ")";
  }
}

TEST(NamelistRead, TwoDimensionsSectionsAndSubstrings) {
  error_group e;
  const outcome o = read_internal(e.g.get(),
                                  " &E B(2,:)=1 2 3, B(1,3:1:-2)=4 5 CA(2:3)(2:3)='xy' 'zw'\n"
                                  " CA(1)='abcdef' C(5:)='!!' PA(2:3)%S(3:3)='q' 'r' /");
  ASSERT_EQ(o.status, 0) << o.iomsg;
  // B(2,1..3) = 1 2 3; B(1,3) = 4, B(1,1) = 5.
  EXPECT_EQ(e.b[0][1], 1);
  EXPECT_EQ(e.b[1][1], 2);
  EXPECT_EQ(e.b[2][1], 3);
  EXPECT_EQ(e.b[2][0], 4);
  EXPECT_EQ(e.b[0][0], 5);
  EXPECT_EQ(e.b[1][0], 0);
  EXPECT_EQ(std::string(e.ca[0], 4), "abcd");
  EXPECT_EQ(std::string(e.ca[1], 4), std::string("\0xy\0", 4));
  EXPECT_EQ(std::string(e.ca[2], 4), std::string("\0zw\0", 4));
  EXPECT_EQ(std::string(e.c, 6), std::string("\0\0\0\0!!", 6));
  EXPECT_EQ(e.pa[0].s[2], 0);
  EXPECT_EQ(e.pa[1].s[2], 'q');
  EXPECT_EQ(e.pa[2].s[2], 'r');
}

TEST(NamelistRead, LetterValuesAgainstObjectNames) {
  std::int32_t t = 1, f = 0;
  char s[4] = {};
  group_builder g("G");
  g.scalar("T", KAF_TYPE_L, &t).scalar("F", KAF_TYPE_I, &f).scalar("S", KAF_TYPE_CH, s, 4);
  const outcome o = read_internal(g.get(), " &G T = F, F = 2 S = abc T=.true. /");
  ASSERT_EQ(o.status, 0) << o.iomsg;
  EXPECT_EQ(t, 1);
  EXPECT_EQ(f, 2);
  EXPECT_EQ(std::string(s, 4), "abc ");
  const outcome o2 = read_internal(g.get(), " &G T = F F(1)=2 /");
  EXPECT_EQ(o2.iostat, 1091);  // F(1) is a designator, and F a scalar
  EXPECT_EQ(t, 0);
}

namespace {

// One object of every intrinsic type, scalar and array, with random values.
struct all_types {
  static constexpr int n = 7;
  std::int8_t i1[n];
  std::int16_t i2[n];
  std::int32_t i[n];
  std::int64_t i4[n];
  std::int8_t l1[n];
  std::int16_t l2[n];
  std::int32_t l[n];
  std::int64_t l4[n];
  std::uint16_t h[n];
  float r[n];
  double d[n];
  kaf_dd dd[n];
  std::uint16_t hc[2 * n];
  float c[2 * n];
  double dc[2 * n];
  kaf_ddc ddc[n];
  char ch[n][5];
  std::uint16_t ch2j[n][3];
  std::uint16_t ch2u[n][3];
  std::uint32_t ch4[n][3];
  double ds;  // a scalar beside the arrays
  std::vector<descriptor> descs;
  group_builder g{"ALL"};

  void add(const void *base, std::int64_t elsize, std::int64_t len) {
    const bool word = len != 0;
    descs.emplace_back(base, elsize, std::vector<std::pair<std::int64_t, std::int64_t>>{{-3, n - 4}}, word, len);
  }
  void build() {
    descs.reserve(32);
    const struct {
      const char *name;
      std::int32_t type;
      const void *base;
      std::int64_t elsize, len;
    } objs[] = {
        {"I1", KAF_TYPE_I1, i1, 1, 0}, {"I2", KAF_TYPE_I2, i2, 2, 0}, {"I", KAF_TYPE_I, i, 4, 0},
        {"I4", KAF_TYPE_I4, i4, 8, 0}, {"L1", KAF_TYPE_L1, l1, 1, 0}, {"L2", KAF_TYPE_L2, l2, 2, 0},
        {"L", KAF_TYPE_L, l, 4, 0},    {"L4", KAF_TYPE_L4, l4, 8, 0}, {"H", KAF_TYPE_H, h, 2, 0},
        {"R", KAF_TYPE_R, r, 4, 0},    {"D", KAF_TYPE_D, d, 8, 0},    {"DD", KAF_TYPE_DD, dd, 16, 0},
        {"HC", KAF_TYPE_HC, hc, 4, 0}, {"C", KAF_TYPE_C, c, 8, 0},    {"DC", KAF_TYPE_DC, dc, 16, 0},
        {"DDC", KAF_TYPE_DDC, ddc, 32, 0}, {"CH", KAF_TYPE_CH, ch, 5, 5}, {"CH2J", KAF_TYPE_CH2J, ch2j, 6, 3},
        {"CH2U", KAF_TYPE_CH2U, ch2u, 6, 3}, {"CH4", KAF_TYPE_CH4, ch4, 12, 3},
    };
    for (const auto &o : objs) {
      add(o.base, o.elsize, o.len);
      g.array(o.name, o.type, 1, descs.back().get());
    }
    g.scalar("DS", KAF_TYPE_D, &ds);
  }
};

// Reals the list-directed forms write with every digit they need: dyadic
// values in the fixed-form range, anything beyond it in the exponent form
// (17 digits for DOUBLE PRECISION), and the special values.
double random_double(std::mt19937_64 &rng, bool single) {
  switch (rng() % 6) {
  case 0: return static_cast<double>(static_cast<std::int64_t>(rng() % 12800) - 6400) / 64.0;
  case 1: {
    if (single) return -static_cast<double>(100 + rng() % 16777116);
    const int e = 7 + static_cast<int>(rng() % 900);
    double v = std::ldexp(1.0 + static_cast<double>(rng() % 4096) / 4096.0, rng() % 2 ? e : -e);
    return rng() % 2 ? -v : v;
  }
  case 2: {
    static const double specials[] = {0.0, -0.0, HUGE_VAL, -HUGE_VAL, 3.4028234663852886e38, 1e-300, 5e-324};
    double v = specials[rng() % 7];
    return single && std::fabs(v) < 1e-38 && v != 0 ? 1e-30 : v;
  }
  default: {
    // REAL is written with 8 digits: integers of at most 8 digits below
    // 2^24 and small dyadic fractions are written exactly.
    if (single)
      return rng() % 2 ? static_cast<double>(100 + rng() % 16777116)
                       : std::ldexp(static_cast<double>(1 + 2 * (rng() % 4)), -7 - static_cast<int>(rng() % 4));
    std::uint64_t bits;
    do bits = rng(); while (!std::isfinite(std::bit_cast<double>(bits)) || std::fabs(std::bit_cast<double>(bits)) < 100);
    return std::bit_cast<double>(bits);
  }
  }
}

// Half values other than NaNs; the fixed form F8.4 keeps only 4 digits for
// magnitudes in [0.1, 1), which do not tell every half there apart, so the
// exponents of [0.0625, 1) are left out.
std::uint16_t random_half(std::mt19937_64 &rng) {
  std::uint16_t bits;
  int e;
  do {
    bits = static_cast<std::uint16_t>(rng());
    e = (bits >> 10) & 0x1F;
  } while ((e == 0x1F && (bits & 0x3FF)) || (e >= 11 && e <= 14));
  return bits;
}

void randomise(all_types &t, std::mt19937_64 &rng) {
  for (int k = 0; k < all_types::n; ++k) {
    t.i1[k] = static_cast<std::int8_t>(rng());
    t.i2[k] = static_cast<std::int16_t>(rng());
    t.i[k] = static_cast<std::int32_t>(rng());
    t.i4[k] = static_cast<std::int64_t>(rng() >> (rng() % 64));
    t.l1[k] = static_cast<std::int8_t>(rng() % 2);
    t.l2[k] = static_cast<std::int16_t>(rng() % 2);
    t.l[k] = static_cast<std::int32_t>(rng() % 2);
    t.l4[k] = static_cast<std::int64_t>(rng() % 2);
    t.h[k] = random_half(rng);
    t.r[k] = static_cast<float>(random_double(rng, true));
    t.d[k] = random_double(rng, false);
    t.dd[k] = kaf_dd{static_cast<double>(static_cast<std::int64_t>(rng() % 2000) - 1000) / 8.0, 0.0};
    t.hc[2 * k] = random_half(rng);
    t.hc[2 * k + 1] = random_half(rng);
    t.c[2 * k] = static_cast<float>(random_double(rng, true));
    t.c[2 * k + 1] = static_cast<float>(random_double(rng, true));
    t.dc[2 * k] = random_double(rng, false);
    t.dc[2 * k + 1] = random_double(rng, false);
    t.ddc[k] = kaf_ddc{{static_cast<double>(rng() % 1000) / 4.0, 0.0}, {-static_cast<double>(rng() % 1000), 0.0}};
    static const char alphabet[] = "abcXYZ '\"/,&$!=%()0123";
    for (int j = 0; j < 5; ++j) t.ch[k][j] = alphabet[rng() % (sizeof alphabet - 1)];
    for (int j = 0; j < 3; ++j) {
      t.ch2j[k][j] = static_cast<std::uint16_t>(alphabet[rng() % (sizeof alphabet - 1)]);
      t.ch2u[k][j] = static_cast<std::uint16_t>(0xA0 + rng() % 0x60);  // ISO 8859-1 letters
      t.ch4[k][j] = static_cast<std::uint32_t>(alphabet[rng() % (sizeof alphabet - 1)]);
    }
  }
  t.ds = random_double(rng, false);
}

bool same_real(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

}  // namespace

TEST(NamelistRoundTrip, EveryIntrinsicType) {
  std::mt19937_64 rng(20261122);
  for (int trial = 0; trial < 300; ++trial) {
    all_types out{}, in{};
    out.build();
    in.build();
    randomise(out, rng);
    outcome w;
    const std::string text = write_internal(out.g.get(), 70 + static_cast<std::int64_t>(rng() % 60), 400, &w);
    ASSERT_EQ(w.status, 0) << w.iomsg;
    const outcome r = read_internal(in.g.get(), text);
    ASSERT_EQ(r.status, 0) << r.iomsg << "\n" << text;
    for (int k = 0; k < all_types::n; ++k) {
      EXPECT_EQ(in.i1[k], out.i1[k]) << text;
      EXPECT_EQ(in.i2[k], out.i2[k]);
      EXPECT_EQ(in.i[k], out.i[k]);
      EXPECT_EQ(in.i4[k], out.i4[k]);
      EXPECT_EQ(in.l1[k], out.l1[k]);
      EXPECT_EQ(in.l2[k], out.l2[k]);
      EXPECT_EQ(in.l[k], out.l[k]);
      EXPECT_EQ(in.l4[k], out.l4[k]);
      EXPECT_EQ(in.h[k], out.h[k]) << text;
      EXPECT_TRUE(same_real(in.r[k], out.r[k])) << in.r[k] << " " << out.r[k] << "\n" << text;
      EXPECT_TRUE(same_real(in.d[k], out.d[k])) << in.d[k] << " " << out.d[k] << "\n" << text;
      EXPECT_TRUE(in.dd[k].hi == out.dd[k].hi && in.dd[k].lo == out.dd[k].lo) << text;
      EXPECT_EQ(in.hc[2 * k], out.hc[2 * k]) << text;
      EXPECT_EQ(in.hc[2 * k + 1], out.hc[2 * k + 1]) << text;
      EXPECT_TRUE(same_real(in.c[2 * k], out.c[2 * k]) && same_real(in.c[2 * k + 1], out.c[2 * k + 1]))
          << in.c[2 * k] << "," << in.c[2 * k + 1] << " vs " << out.c[2 * k] << "," << out.c[2 * k + 1];
      EXPECT_TRUE(same_real(in.dc[2 * k], out.dc[2 * k]) && same_real(in.dc[2 * k + 1], out.dc[2 * k + 1])) << text;
      EXPECT_TRUE(same_real(in.ddc[k].re.hi, out.ddc[k].re.hi) && same_real(in.ddc[k].im.hi, out.ddc[k].im.hi))
          << text;
      EXPECT_EQ(std::string(in.ch[k], 5), std::string(out.ch[k], 5)) << text;
      for (int j = 0; j < 3; ++j) {
        EXPECT_EQ(in.ch2j[k][j], out.ch2j[k][j]) << text;
        EXPECT_EQ(in.ch2u[k][j], out.ch2u[k][j]) << text;
        EXPECT_EQ(in.ch4[k][j], out.ch4[k][j]) << text;
      }
    }
    EXPECT_TRUE(same_real(in.ds, out.ds)) << text;
    if (HasFailure()) break;
  }
}

namespace {

// Sets the autoskip option for the life of the object.
struct autoskip {
  std::int32_t saved = __KAFf90_autoskip_namelist;
  explicit autoskip(std::int32_t v) { __KAFf90_autoskip_namelist = v; }
  ~autoskip() { __KAFf90_autoskip_namelist = saved; }
};

const char skipping_input[] =
    " &FIRST A=1, S='a / inside &E and $end', T=\"'\" ! /\n"
    " / &SECOND x=2 $end\n"
    " $THIRD $\n"
    " &E I=5 /\n";

}  // namespace

TEST(NamelistAutoskip, OtherGroupsAreAnErrorByDefault) {
  autoskip off(0);
  error_group e;
  const outcome o = read_internal(e.g.get(), skipping_input);
  EXPECT_EQ(o.iostat, 1086);
  EXPECT_EQ(o.iomsg, "Expected NAMELIST group /E/ but found /FIRST/");
}

TEST(NamelistAutoskip, SkipsWholeGroupsWithStringsCommentsAndTerminators) {
  autoskip on(1);
  error_group e;
  const outcome o = read_internal(e.g.get(), skipping_input);
  EXPECT_EQ(o.status, 0) << o.iomsg;
  EXPECT_EQ(e.i, 5);
  // A group that never comes: the end of the file.
  error_group f;
  EXPECT_EQ(read_internal(f.g.get(), " &A x=1 / &B y=2 /").iostat, -1);
}

TEST(NamelistAutoskip, LoggingNamesTheStatementAndEachGroupSkipped) {
  const auto child = kaftest::run_in_child([] {
    __KAFf90_autoskip_namelist = 2;
    error_group e;
    const outcome o = read_internal(e.g.get(), skipping_input, "prog.f90", 12);
    if (o.status) return;
    std::printf("I=%d\n", e.i);
  });
  EXPECT_EQ(child.out, "I=5\n");
  EXPECT_EQ(child.err,
            "[prog.f90, line 12: Looking for namelist group E, skipping FIRST]\n"
            "[prog.f90, line 12: Looking for namelist group E, skipping SECOND]\n"
            "[prog.f90, line 12: Looking for namelist group E, skipping THIRD]\n");
}

TEST(NamelistLegacy, WritenThenReadnOnAUnit) {
  const std::string path = temp_path("legacy");
  ASSERT_EQ(__KAFf90_open(31, path.data(), path.size(), "REPLACE", 7, nullptr, 0, nullptr, 0, nullptr, 0), 0);
  std::int32_t i = 7;
  double d[2] = {0.5, -1e-200};
  char s[4] = {'a', '\'', 'b', ' '};
  descriptor d_d(d, 8, {{1, 2}});
  group_builder g("legacy");
  g.scalar("i", KAF_TYPE_I, &i).array("d", KAF_TYPE_D, 1, d_d.get()).scalar("s", KAF_TYPE_CH, s, 4);
  ASSERT_EQ(__KAFf90_writen(31, g.get(), 0), 0);
  ASSERT_EQ(__KAFf90_writen(31, g.get(), 0), 0);
  ASSERT_EQ(__KAFf90_rewind(31, 0), 0);
  i = 0;
  d[0] = d[1] = 0;
  std::memset(s, 0, 4);
  ASSERT_EQ(__KAFf90_readn(31, g.get(), 0), 0);
  EXPECT_EQ(i, 7);
  EXPECT_EQ(d[0], 0.5);
  EXPECT_EQ(d[1], -1e-200);
  EXPECT_EQ(std::string(s, 4), "a'b ");
  // The second group follows the first; after it, the end of the file
  // takes the END= branch (flag 1 reaches the engine as it is).
  ASSERT_EQ(__KAFf90_readn(31, g.get(), 0), 0);
  EXPECT_EQ(__KAFf90_readn(31, g.get(), KAF_IO_END), -1);
  ASSERT_EQ(__KAFf90_close(31, 0), 0);
  EXPECT_EQ(slurp(path),
            " &LEGACY\n I= 7\n D=   0.5000000000000000 -9.9999999999999998E-201\n S= \"a'b \"\n /\n"
            " &LEGACY\n I= 7\n D=   0.5000000000000000 -9.9999999999999998E-201\n S= \"a'b \"\n /\n");
  std::remove(path.c_str());
}

TEST(NamelistLegacy, FlagWordsAndErrors) {
  group_builder g("G");
  std::int32_t i = 0;
  g.scalar("I", KAF_TYPE_I, &i);
  // writen reduces any flag word to 4: an unconnected unit returns its code.
  EXPECT_EQ(__KAFf90_writen(77, g.get(), KAF_IO_END), 1048);
  // readn passes END= alone on: an error is fatal.
  const auto child = kaftest::run_in_child([&] { __KAFf90_readn(77, g.get(), KAF_IO_END); });
  EXPECT_TRUE(child.signaled || (child.exited && child.exit_status != 0));
  EXPECT_NE(child.err.find("Program terminated by I/O error on unit 77"), std::string::npos) << child.err;
}

TEST(NamelistFatal, AnErrorWithoutIostatEndsTheProgram) {
  const std::string path = temp_path("fatal");
  {
    std::ofstream f(path);
    f << " &G I=1 J=2 /\n";
  }
  const auto child = kaftest::run_in_child([&] {
    group_builder g("G");
    std::int32_t i = 0;
    g.scalar("I", KAF_TYPE_I, &i);
    if (__KAFf90_open(32, path.data(), path.size(), "OLD", 3, nullptr, 0, nullptr, 0, nullptr, 0)) return;
    kaf_ioctx_space space;
    auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
    if (__KAFf90_read_seq4(ctx, "main.f90", 3, 32, nullptr, nullptr, 0, 0)) return;
    __KAFf90_do_read_namelist2(ctx, g.get(), "main.f90", 4);
  });
  EXPECT_EQ(child.err.substr(0, child.err.find('\n') + 1),
            "Runtime Error: main.f90, line 4: Unknown group object \"J\" in input for NAMELIST/G/\n")
      << child.err;
  EXPECT_NE(child.err.find("Program terminated by I/O error on unit 32"), std::string::npos) << child.err;
  std::remove(path.c_str());
}

TEST(NamelistDecimalComma, SemicolonsSeparateValuesAndSubscriptsKeepCommas) {
  const std::string path = temp_path("comma");
  kaf_open_spec s{};
  s.file = path.c_str();
  s.file_len = path.size();
  s.status = "REPLACE";
  s.status_len = 7;
  s.decimal = "COMMA";
  s.decimal_len = 5;
  s.delim = "APOSTROPHE";
  s.delim_len = 10;
  ASSERT_EQ(__KAFf90_openf4x(nullptr, 0, 33, &s), 0);
  double x[2][2] = {{1.5, -2.25}, {0.5, 1e10}};  // X(1:2,1:2)
  float z[2] = {0.5f, -1.5f};
  char c[3] = {'a', '\'', 'b'};
  descriptor x_d(x, 8, {{1, 2}, {1, 2}});
  group_builder g("DC");
  g.array("X", KAF_TYPE_D, 2, x_d.get()).scalar("Z", KAF_TYPE_C, z).scalar("C", KAF_TYPE_CH, c, 3);
  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  ASSERT_EQ(__KAFf90_write_seq(ctx, nullptr, 0, 33, nullptr, nullptr, 0, 0), 0);
  ASSERT_EQ(__KAFf90_do_write_namelist(ctx, g.get()), 0);
  ASSERT_EQ(__KAFf90_end_write_sequential(ctx), 0);
  // A second group in the file, written by hand, with semicolons.
  {
    ASSERT_EQ(__KAFf90_write_seq(ctx, nullptr, 0, 33, nullptr, nullptr, 0, 0), 0);
    ASSERT_EQ(__KAFf90_establish_format(ctx, "(A)", 3, 2), 0u);
    const char text[] = " &DC X(2,1:2)= 7,5; ; Z=(1,25;2) /";
    ASSERT_EQ(__KAFf90_fmt_write_ch(ctx, text, sizeof text - 1), 0u);
    ASSERT_EQ(__KAFf90_end_write_sequential(ctx), 0);
  }
  ASSERT_EQ(__KAFf90_rewind4(nullptr, 0, 33, nullptr, nullptr, 0, 0), 0);
  std::memset(x, 0, sizeof x);
  std::memset(z, 0, sizeof z);
  std::memset(c, 0, sizeof c);
  for (int stmt = 0; stmt < 2; ++stmt) {
    ASSERT_EQ(__KAFf90_read_seq4(ctx, nullptr, 0, 33, nullptr, nullptr, 0, 0), 0);
    ASSERT_EQ(__KAFf90_do_read_namelist(ctx, g.get()), 0);
    ASSERT_EQ(__KAFf90_end_read_sequential(ctx), 0);
    if (stmt == 0) {
      EXPECT_EQ(x[0][0], 1.5);
      EXPECT_EQ(x[0][1], -2.25);
      EXPECT_EQ(x[1][0], 0.5);
      EXPECT_EQ(x[1][1], 1e10);
      EXPECT_EQ(std::string(c, 3), "a'b");
    }
  }
  EXPECT_EQ(x[0][1], 7.5);   // X(2,1)
  EXPECT_EQ(x[1][1], 1e10);  // X(2,2): a null value
  EXPECT_EQ(z[0], 1.25f);
  EXPECT_EQ(z[1], 2.0f);
  ASSERT_EQ(__KAFf90_close4(nullptr, 0, 33, nullptr, 0, nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(slurp(path),
            " &DC\n X=   1,5000000000000000  -2,2500000000000000   0,5000000000000000   1,0000000000000000E+10\n"
            " Z= (  0,5000000; -1,5000000)\n C= 'a''b'\n /\n"
            " &DC X(2,1:2)= 7,5; ; Z=(1,25;2) /\n");
  std::remove(path.c_str());
}

TEST(NamelistRead, NamesLongerThanAnyBufferAreRefused) {
  const std::string huge(5000, 'Q');
  const std::pair<std::string, std::int32_t> rows[] = {
      {" &E " + huge + "=1 /", 1090}, {" &E P%" + huge + "=1 /", 1093}, {" &" + huge + " /", 1088},
      {" &E I=1 &" + huge, 1085}};
  for (const auto &[input, code] : rows) {
    error_group e;
    EXPECT_EQ(read_internal(e.g.get(), input).iostat, code) << input.substr(0, 12);
  }
}
