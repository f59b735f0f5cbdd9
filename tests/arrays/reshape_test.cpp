// RESHAPE: ORDER permutations, PAD cycling, empty and zero-extent cases,
// strided and reversed sources, every element form, every message in order.
#include <algorithm>
#include <numeric>
#include <random>

#include "array_support.h"

using namespace arraytest;

namespace {

// RESHAPE by its definition: element k of SOURCE's sequence followed by PAD's
// sequence repeated goes to the result subscripts whose digits, in the
// mixed radix shape(order(1)), shape(order(2)), ..., spell k.
std::vector<uint64_t> reshape_model(const std::vector<uint64_t> &src,
                                    const std::vector<uint64_t> &pad,
                                    const std::vector<int64_t> &shape, std::vector<int64_t> order) {
  const size_t n = shape.size();
  if (order.empty()) {
    order.resize(n);
    std::iota(order.begin(), order.end(), 1);
  }
  const int64_t total = count_of(shape);
  std::vector<uint64_t> out(static_cast<size_t>(total));
  for (int64_t k = 0; k < total; ++k) {
    int64_t rest = k, linear = 0;
    for (size_t j = 0; j < n; ++j) {
      const int64_t d = order[j] - 1;
      const int64_t digit = rest % shape[d];
      rest /= shape[d];
      int64_t mult = 1;
      for (int64_t i = 0; i < d; ++i) mult *= shape[i];
      linear += digit * mult;
    }
    const size_t ks = static_cast<size_t>(k);
    out[static_cast<size_t>(linear)] =
        ks < src.size() ? src[ks] : pad[(ks - src.size()) % pad.size()];
  }
  return out;
}

std::vector<uint64_t> ids_in_order(const desc &d, const char *base, int64_t elsize,
                                   uint64_t first_id) {
  std::vector<uint64_t> ids;
  for (const char *p : element_addresses(d)) ids.push_back(first_id + (p - base) / elsize);
  return ids;
}

constexpr int64_t elsizes[] = {1, 2, 4, 8, 16, 3, 24};

}  // namespace

TEST(Reshape, OrderTwoOneFillsRowsFirst) {
  std::vector<int64_t> src = {1, 2, 3, 4, 5, 6};
  desc s = contiguous(src.data(), {6}, 8);
  std::vector<int64_t> shape = {2, 3}, order = {2, 1};
  desc sh = int_vector(shape), ord = int_vector(order);
  kaf_array_result r;
  __KAFf90_reshape(&r, 8, 1, s.data(), sh.data(), 0, nullptr, ord.data());
  EXPECT_EQ(r.extent[0], 2);
  EXPECT_EQ(r.extent[1], 3);
  std::string got = take_result(r, 8);
  const int64_t *v = reinterpret_cast<const int64_t *>(got.data());
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j)  // the second subscript runs fastest: row i holds 3i+1 ...
      EXPECT_EQ(v[i + 2 * j], src[3 * i + j]) << i << "," << j;
}

TEST(Reshape, EveryOrderOfRankThreeFromReversedSection) {
  const std::vector<int64_t> shape = {2, 3, 4};
  std::vector<int64_t> order = {1, 2, 3};
  do {
    for (int64_t es : elsizes) {
      // SOURCE: a(8:1:-1, 1:6:2) of an 8 x 6 parent, 24 elements.
      std::vector<char> parent = id_array(48, es, 100);
      desc s = make_desc(parent.data() + 7 * es, {8, 3}, {-es, 16 * es});
      desc sh = int_vector(shape), ord = int_vector(order);
      kaf_array_result r;
      __KAFf90_reshape_line("r.f90", 3, &r, es, 2, s.data(), sh.data(), 0, nullptr, ord.data());
      const auto want = reshape_model(ids_in_order(s, parent.data(), es, 100), {}, shape, order);
      EXPECT_EQ(take_result(r, es), ids_bytes(want, es))
          << "order " << order[0] << order[1] << order[2] << " elsize " << es;
      for (int k = 0; k < 3; ++k) EXPECT_EQ(r.extent[k], shape[k]);
      for (int k = 3; k < 7; ++k) EXPECT_EQ(r.extent[k], 1);
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Reshape, PadCyclesInItsOwnElementOrder) {
  for (int64_t es : elsizes) {
    std::vector<char> src = id_array(5, es, 1), pad = id_array(12, es, 500);
    desc s = contiguous(src.data(), {5}, es);
    // PAD: a 2 x 2 section p(1:3:2, 3:1:-2) of a 3 x 3 parent, used three times.
    desc p = make_desc(pad.data() + 6 * es, {2, 2}, {2 * es, -6 * es});
    for (bool with_order : {false, true}) {
      const std::vector<int64_t> shape = {4, 4};
      const std::vector<int64_t> order =
          with_order ? std::vector<int64_t>{2, 1} : std::vector<int64_t>{};
      desc sh = int_vector(shape), ord = int_vector(order);
      kaf_array_result r;
      __KAFf90_reshape(&r, es, 1, s.data(), sh.data(), 2, p.data(),
                       with_order ? ord.data() : nullptr);
      const auto want = reshape_model(ids_in_order(s, src.data(), es, 1),
                                      ids_in_order(p, pad.data(), es, 500), shape, order);
      EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << es << " order " << with_order;
    }
  }
}

TEST(Reshape, ShorterResultUsesSourcePrefixWithoutPad) {
  // 3 x 5 source (a 4 x 5 parent's first three rows) into 2 x 2 x 3: the
  // boundaries do not nest, and only the first 12 elements are taken.
  for (int64_t es : elsizes) {
    std::vector<char> parent = id_array(20, es, 7);
    desc s = make_desc(parent.data(), {3, 5}, {es, 4 * es});
    const std::vector<int64_t> shape = {2, 2, 3};
    desc sh = int_vector(shape);
    kaf_array_result r;
    __KAFf90_reshape(&r, es, 2, s.data(), sh.data(), 0, nullptr, nullptr);
    const auto want = reshape_model(ids_in_order(s, parent.data(), es, 7), {}, shape, {});
    EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << es;
  }
}

TEST(Reshape, RandomShapesStridesAndOrdersAgainstTheDefinition) {
  std::mt19937_64 rng(20261122);
  for (int trial = 0; trial < 400; ++trial) {
    const int64_t es = elsizes[rng() % 7];
    const int srank = 1 + static_cast<int>(rng() % 4);
    std::vector<int64_t> sext(srank), sstride(srank);
    // Source: section of a parent with steps -2..2 (not 0) per dimension.
    std::vector<int64_t> pext(srank);
    int64_t pcount = 1;
    for (int k = 0; k < srank; ++k) {
      pext[k] = 1 + static_cast<int64_t>(rng() % 6);
      pcount *= pext[k];
    }
    std::vector<char> parent = id_array(pcount, es, 1);
    int64_t offset = 0, pstride = es;
    for (int k = 0; k < srank; ++k) {
      int64_t step = 1 + static_cast<int64_t>(rng() % 2);
      if (rng() % 3 == 0) step = -step;
      sext[k] = (pext[k] + std::abs(step) - 1) / std::abs(step);
      sstride[k] = step * pstride;
      if (step < 0) offset += (pext[k] - 1) * pstride;
      pstride *= pext[k];
    }
    desc s = make_desc(parent.data() + offset, sext, sstride);
    const int64_t ssize = count_of(sext);
    const int n = 1 + static_cast<int>(rng() % 4);
    std::vector<int64_t> shape(n);
    for (int k = 0; k < n; ++k) shape[k] = 1 + static_cast<int64_t>(rng() % 4);
    std::vector<int64_t> order(n);
    std::iota(order.begin(), order.end(), 1);
    std::shuffle(order.begin(), order.end(), rng);
    const bool use_order = rng() % 2;
    const bool need_pad = count_of(shape) > ssize;
    std::vector<char> pad = id_array(3, es, 900);
    desc p = contiguous(pad.data(), {3}, es);
    desc sh = int_vector(shape), ord = int_vector(order);
    kaf_array_result r;
    __KAFf90_reshape(&r, es, srank, s.data(), sh.data(), need_pad ? 1 : 0,
                     need_pad ? p.data() : nullptr, use_order ? ord.data() : nullptr);
    const auto want = reshape_model(ids_in_order(s, parent.data(), es, 1), {900, 901, 902}, shape,
                                    use_order ? order : std::vector<int64_t>{});
    ASSERT_EQ(take_result(r, es), ids_bytes(want, es)) << "trial " << trial;
  }
}

TEST(Reshape, ZeroExtentNeedsNoElements) {
  double nothing[1];
  desc s = make_desc(nothing, {0}, {8});
  const std::vector<int64_t> shape = {3, 0, 2};
  desc sh = int_vector(shape);
  kaf_array_result r;
  __KAFf90_reshape(&r, 8, 1, s.data(), sh.data(), 0, nullptr, nullptr);
  EXPECT_NE(r.base, nullptr);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(r.extent[k], shape[k]);
  EXPECT_EQ(take_result(r, 8), "");
}

TEST(Reshape, EmptyShapeGivesOneElementFromSourceOrPad) {
  for (int64_t es : elsizes) {
    std::vector<char> src = id_array(4, es, 40), pad = id_array(2, es, 80);
    const std::vector<int64_t> shape = {};
    desc sh = make_desc(shape.data(), {0}, {8});
    desc s = contiguous(src.data(), {4}, es), empty = contiguous(src.data(), {0}, es);
    desc p = contiguous(pad.data(), {2}, es);
    kaf_array_result r;
    __KAFf90_reshape(&r, es, 1, s.data(), sh.data(), 0, nullptr, nullptr);
    for (int k = 0; k < 7; ++k) EXPECT_EQ(r.extent[k], 1);
    EXPECT_EQ(take_result(r, es), ids_bytes({40}, es));
    __KAFf90_reshape(&r, es, 1, empty.data(), sh.data(), 1, p.data(), nullptr);
    EXPECT_EQ(take_result(r, es), ids_bytes({80}, es));
  }
}

TEST(Reshape, EmptyPadCountsAsNoPad) {
  int64_t src[4] = {1, 2, 3, 4};
  desc s = contiguous(src, {4}, 8), p = contiguous(src, {0}, 8);
  const std::vector<int64_t> small = {2, 2}, big = {5};
  desc sh_small = int_vector(small), sh_big = int_vector(big);
  kaf_array_result r;
  __KAFf90_reshape(&r, 8, 1, s.data(), sh_small.data(), 1, p.data(), nullptr);
  EXPECT_EQ(take_result(r, 8), bytes_of(src, 32));
  expect_fatal(
      [&] {
        __KAFf90_reshape_line("pad.f90", 12, &r, 8, 1, s.data(), sh_big.data(), 1, p.data(),
                              nullptr);
      },
      "pad.f90, line 12: SOURCE argument has only 4 elements but SHAPE requires 5 elements, and "
      "there are no PAD elements, in intrinsic RESHAPE");
}

TEST(Reshape, CharacterFormsScaleTheLengthWord) {
  struct {
    decltype(&__KAFf90_chreshape) entry;
    int64_t width;
  } rows[] = {{__KAFf90_chreshape, 1},
              {__KAFf90_ch2reshape, 2},
              {__KAFf90_ch4reshape, 4},
              {__KAFf90_dtreshape, 1}};
  for (const auto &row : rows) {
    for (int64_t len : {int64_t{0}, int64_t{1}, int64_t{3}, int64_t{7}}) {
      const int64_t es = len * row.width;
      std::vector<char> src = id_array(6, es, 10), pad = id_array(2, es, 60);
      desc s = make_desc(src.data(), {2, 3}, {es, 2 * es}, {}, true, len);
      desc p = make_desc(pad.data(), {2}, {es}, {}, true, len);
      const std::vector<int64_t> shape = {4, 2}, order = {2, 1};
      desc sh = int_vector(shape), ord = int_vector(order);
      kaf_char_array_result r;
      row.entry(&r, 2, s.data(), sh.data(), 1, p.data(), ord.data());
      EXPECT_EQ(r.length, len);
      const auto want = reshape_model({10, 11, 12, 13, 14, 15}, {60, 61}, shape, order);
      EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << row.width << " len " << len;
    }
  }
}

TEST(Reshape, MessagesInTheirOrder) {
  char src[64] = {};
  desc s = make_desc(src, {6}, {2}, {}, true, 2);
  desc p_bad = make_desc(src, {2}, {3}, {}, true, 3);
  desc p = make_desc(src, {2}, {2}, {}, true, 2);
  const std::vector<int64_t> neg = {2, -3}, ok = {2, 3}, big = {4, 3};
  desc sh_neg = int_vector(neg), sh_ok = int_vector(ok), sh_big = int_vector(big);
  const std::vector<int64_t> o3 = {1, 2, 3}, o01 = {0, 1}, o13 = {1, 3}, o11 = {1, 1};
  desc ord3 = int_vector(o3), ord01 = int_vector(o01), ord13 = int_vector(o13),
       ord11 = int_vector(o11);
  kaf_char_array_result r;
  // A PAD of another length is refused before the negative SHAPE is seen.
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 5, &r, 1, s.data(), sh_neg.data(), 1, p_bad.data(),
                                nullptr);
      },
      "m.f90, line 5: SOURCE argument to intrinsic RESHAPE has character length 2 but "
      "PAD argument has length 3");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 6, &r, 1, s.data(), sh_neg.data(), 1, p.data(), nullptr);
      },
      "m.f90, line 6: Element 2 of SHAPE argument (value -3) to intrinsic RESHAPE is "
      "negative");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 7, &r, 1, s.data(), sh_big.data(), 0, nullptr,
                                ord3.data());
      },
      "m.f90, line 7: SOURCE argument has only 6 elements but SHAPE requires 12 "
      "elements, and there are no PAD elements, in intrinsic RESHAPE");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 8, &r, 1, s.data(), sh_ok.data(), 0, nullptr, ord3.data());
      },
      "m.f90, line 8: SHAPE argument to intrinsic RESHAPE has size 2 but ORDER argument "
      "has size 3");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 9, &r, 1, s.data(), sh_ok.data(), 0, nullptr,
                                ord01.data());
      },
      "m.f90, line 9: Element 1 of ORDER argument (value 0) to intrinsic RESHAPE is "
      "out of range (1:2)");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 10, &r, 1, s.data(), sh_ok.data(), 0, nullptr,
                                ord13.data());
      },
      "m.f90, line 10: Element 2 of ORDER argument (value 3) to intrinsic RESHAPE is "
      "out of range (1:2)");
  expect_fatal(
      [&] {
        __KAFf90_chreshape_line("m.f90", 11, &r, 1, s.data(), sh_ok.data(), 0, nullptr,
                                ord11.data());
      },
      "m.f90, line 11: Value 1 occurs twice in ORDER argument to intrinsic RESHAPE");
}

TEST(Reshape, LocationPrefixOfEachForm) {
  int64_t src[2] = {};
  desc s = contiguous(src, {2}, 8);
  const std::vector<int64_t> o11 = {1, 1}, shape = {1, 2};
  desc ord = int_vector(o11), sh = int_vector(shape);
  kaf_array_result r;
  const char *text = "Value 1 occurs twice in ORDER argument to intrinsic RESHAPE";
  expect_fatal(
      [&] {
        __KAFf90_reshape_line("x.f90", 0, &r, 8, 1, s.data(), sh.data(), 0, nullptr, ord.data());
      },
      std::string("x.f90:") + text);
  expect_fatal([&] { __KAFf90_reshape(&r, 8, 1, s.data(), sh.data(), 0, nullptr, ord.data()); },
               text);
  kaf_char_array_result c;
  desc cs = make_desc(src, {2}, {8}, {}, true, 8);
  expect_fatal([&] { __KAFf90_dtreshape(&c, 1, cs.data(), sh.data(), 0, nullptr, ord.data()); },
               text);
  desc cp = make_desc(src, {2}, {4}, {}, true, 4);
  expect_fatal([&] { __KAFf90_dtreshape(&c, 1, cs.data(), sh.data(), 1, cp.data(), nullptr); },
               "SOURCE argument to intrinsic RESHAPE has character length 8 but PAD argument has "
               "length 4");
}

TEST(Reshape, SizeBeyondMemoryIsMessage162) {
  int64_t src[2] = {}, pad[1] = {};
  desc s = contiguous(src, {2}, 8), p = contiguous(pad, {1}, 8);
  const std::vector<int64_t> shape = {int64_t{1} << 40, int64_t{1} << 40};
  desc sh = int_vector(shape);
  kaf_array_result r;
  expect_fatal(
      [&] {
        __KAFf90_reshape_line("o.f90", 4, &r, 8, 1, s.data(), sh.data(), 1, p.data(), nullptr);
      },
      "o.f90, line 4: Out of memory in intrinsic RESHAPE");
}

TEST(Reshape, NegativeCharacterLengthIsAnEmptyString) {
  char src[4] = {};
  desc s = make_desc(src, {4}, {1}, {}, true, -5);
  const std::vector<int64_t> shape = {2, 2};
  desc sh = int_vector(shape);
  kaf_char_array_result r;
  __KAFf90_chreshape(&r, 1, s.data(), sh.data(), 0, nullptr, nullptr);
  EXPECT_EQ(r.length, 0);
  EXPECT_EQ(r.extent[0], 2);
  EXPECT_EQ(r.extent[1], 2);
  EXPECT_EQ(take_result(r, 0), "");
}
