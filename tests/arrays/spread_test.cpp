// SPREAD and TRANSPOSE: the new dimension first, last and inside, NCOPIES of
// 0 and below, scalar SOURCE, strided and reversed operands, every form.
#include <functional>
#include <random>

#include "array_support.h"

using namespace arraytest;

namespace {

// Ids of a result of the given extents, element (subscripts, 0-based) taken
// from id_at(subscripts), in array element order.
std::vector<uint64_t> by_subscripts(
    const std::vector<int64_t> &extent,
    const std::function<uint64_t(const std::vector<int64_t> &)> &id_at) {
  std::vector<uint64_t> out;
  if (count_of(extent) == 0) return out;
  std::vector<int64_t> sub(extent.size(), 0);
  for (;;) {
    out.push_back(id_at(sub));
    size_t k = 0;
    for (; k < extent.size(); ++k) {
      if (++sub[k] < extent[k]) break;
      sub[k] = 0;
    }
    if (k == extent.size()) return out;
  }
}

// Id of the element of d at 0-based subscripts, d's storage numbered from
// first_id at base.
uint64_t id_of(const desc &d, const char *base, int64_t es, uint64_t first_id,
               const std::vector<int64_t> &sub) {
  int64_t off = 0;
  for (int k = 0; k < d.rank; ++k) off += sub[k] * d.stride(k);
  return first_id + (d.base() + off - base) / es;
}

constexpr int64_t elsizes[] = {1, 2, 4, 8, 16, 12, 40};

}  // namespace

TEST(Spread, EveryDimOfRandomSections) {
  std::mt19937_64 rng(11);
  for (int trial = 0; trial < 300; ++trial) {
    const int64_t es = elsizes[rng() % 7];
    const int rank = static_cast<int>(rng() % 4);
    std::vector<int64_t> ext(rank), stride(rank);
    int64_t pstride = es, offset = 0;
    for (int k = 0; k < rank; ++k) {
      ext[k] = rng() % 4 + (trial % 10 == 0 ? 0 : 1);
      const int64_t step = rng() % 3 == 0 ? -2 : rng() % 2 ? 1 : 2;
      const int64_t pext = ext[k] * (step < 0 ? -step : step) + 1;
      stride[k] = step * pstride;
      if (step < 0) offset += (pext - 1) * pstride;
      pstride *= pext;
    }
    std::vector<char> parent = id_array(pstride / es, es, 1);
    desc s = make_desc(parent.data() + offset, ext, stride);
    const int64_t dim = 1 + static_cast<int64_t>(rng() % (rank + 1));
    const int64_t ncopies = static_cast<int64_t>(rng() % 5) - 1;
    kaf_array_result r;
    __KAFf90_spread_line("s.f90", 1, &r, es, rank, s.data(), dim, ncopies);
    std::vector<int64_t> rext = ext;
    rext.insert(rext.begin() + (dim - 1), ncopies < 0 ? 0 : ncopies);
    for (int k = 0; k < 7; ++k)
      EXPECT_EQ(r.extent[k], k < rank + 1 ? rext[k] : 1) << "trial " << trial << " dim " << k;
    const auto want = by_subscripts(rext, [&](const std::vector<int64_t> &sub) {
      std::vector<int64_t> ssub = sub;
      ssub.erase(ssub.begin() + (dim - 1));
      return id_of(s, parent.data(), es, 1, ssub);
    });
    ASSERT_EQ(take_result(r, es), ids_bytes(want, es)) << "trial " << trial;
  }
}

TEST(Spread, NcopiesZeroAndNegativeGiveEmptyDimension) {
  double a[3] = {1, 2, 3};
  desc s = contiguous(a, {3}, 8);
  for (int64_t nc : {int64_t{0}, int64_t{-3}}) {
    for (int64_t dim : {int64_t{1}, int64_t{2}}) {
      kaf_array_result r;
      __KAFf90_spread(&r, 8, 1, s.data(), dim, nc);
      EXPECT_EQ(r.extent[dim - 1], 0) << nc;
      EXPECT_EQ(r.extent[2 - dim], 3) << nc;
      EXPECT_NE(r.base, nullptr);
      EXPECT_EQ(take_result(r, 8), "");
    }
  }
}

TEST(Spread, CharacterFormsKeepTheLength) {
  struct {
    decltype(&__KAFf90_chspread) entry;
    int64_t width;
  } rows[] = {{__KAFf90_chspread, 1},
              {__KAFf90_ch2spread, 2},
              {__KAFf90_ch4spread, 4},
              {__KAFf90_dtspread, 1}};
  for (const auto &row : rows) {
    const int64_t len = 3, es = len * row.width;
    std::vector<char> src = id_array(4, es, 1);
    desc s = make_desc(src.data(), {2, 2}, {es, 2 * es}, {}, true, len);
    kaf_char_array_result r;
    row.entry(&r, 2, s.data(), 3, 2);
    EXPECT_EQ(r.length, len);
    const auto want = by_subscripts({2, 2, 2}, [&](const std::vector<int64_t> &sub) {
      return id_of(s, src.data(), es, 1, {sub[0], sub[1]});
    });
    EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << row.width;
  }
}

TEST(Spread, DimOutsideOneToRankPlusOne) {
  double a[4] = {};
  desc s = contiguous(a, {2, 2}, 8);
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_spread_line("d.f90", 4, &r, 8, 2, s.data(), 0, 2); },
               "d.f90, line 4: DIM argument (0) out of range 1:3 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_spread(&r, 8, 2, s.data(), 4, 2); },
               "DIM argument (4) out of range 1:3 in intrinsic SPREAD");
  kaf_char_array_result c;
  desc cs = make_desc(a, {2}, {8}, {}, true, 8);
  expect_fatal([&] { __KAFf90_dtspread_line("d.f90", 0, &c, 1, cs.data(), -1, 2); },
               "d.f90:DIM argument (-1) out of range 1:2 in intrinsic SPREAD");
}

TEST(Transpose, RandomSectionsAndSizes) {
  std::mt19937_64 rng(5);
  for (int trial = 0; trial < 200; ++trial) {
    const int64_t es = elsizes[rng() % 7];
    // Sizes on and around the tile edge.
    const int64_t sizes[] = {0, 1, 2, 31, 32, 33, 65, 7};
    const int64_t n1 = sizes[rng() % 8], n2 = sizes[rng() % 8];
    const int64_t step1 = rng() % 3 == 0 ? -1 : 1 + rng() % 2, step2 = rng() % 2 ? -1 : 1;
    const int64_t p1 = n1 * (step1 < 0 ? 1 : step1) + 1, p2 = n2 + 1;
    std::vector<char> parent = id_array(p1 * p2, es, 1);
    int64_t offset = 0;
    if (step1 < 0) offset += (p1 - 1) * es;
    if (step2 < 0) offset += (p2 - 1) * p1 * es;
    desc m = make_desc(parent.data() + offset, {n1, n2}, {step1 * es, step2 * p1 * es});
    kaf_array_result r;
    __KAFf90_transpose(&r, es, m.data());
    EXPECT_EQ(r.extent[0], n2);
    EXPECT_EQ(r.extent[1], n1);
    const auto want = by_subscripts({n2, n1}, [&](const std::vector<int64_t> &sub) {
      return id_of(m, parent.data(), es, 1, {sub[1], sub[0]});
    });
    ASSERT_EQ(take_result(r, es), ids_bytes(want, es)) << "trial " << trial;
  }
}

TEST(Transpose, CharacterForms) {
  struct {
    decltype(&__KAFf90_chtranspose) entry;
    int64_t width;
  } rows[] = {{__KAFf90_chtranspose, 1},
              {__KAFf90_ch2transpose, 2},
              {__KAFf90_ch4transpose, 4},
              {__KAFf90_dttranspose, 1}};
  for (const auto &row : rows) {
    for (int64_t len : {int64_t{0}, int64_t{2}, int64_t{5}}) {
      const int64_t es = len * row.width;
      std::vector<char> src = id_array(6, es, 1);
      desc m = make_desc(src.data(), {2, 3}, {es, 2 * es}, {}, true, len);
      kaf_char_array_result r;
      row.entry(&r, m.data());
      EXPECT_EQ(r.length, len);
      EXPECT_EQ(r.extent[0], 3);
      EXPECT_EQ(r.extent[1], 2);
      if (es == 0) {  // nothing to compare but the extents
        EXPECT_EQ(take_result(r, es), "");
        continue;
      }
      const auto want = by_subscripts({3, 2}, [&](const std::vector<int64_t> &sub) {
        return id_of(m, src.data(), es, 1, {sub[1], sub[0]});
      });
      EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << row.width << " " << len;
    }
  }
}

TEST(Spread, SizeBeyondMemoryIsMessage162) {
  double a[3] = {};
  desc s = contiguous(a, {3}, 8);
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_spread_line("o.f90", 2, &r, 8, 1, s.data(), 2, INT64_MAX / 2); },
               "o.f90, line 2: Out of memory in intrinsic SPREAD");
}
