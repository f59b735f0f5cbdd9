// Namelist transfer through the engine: the output layout, write-then-read
// round trips of every intrinsic type, arrays, sections, substrings and
// components, repeat factors and null values, the group terminators, every
// error text, the autoskip option, and the legacy readn/writen.
#include <gtest/gtest.h>

#include <unistd.h>

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
