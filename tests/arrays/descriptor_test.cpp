// Inquiry entries, the assumed-shape set-up of character dummies and the
// shape checks.
#include <cstdint>

#include "array_support.h"

using namespace arraytest;

namespace {

// A rank-3 numeric descriptor with extents 4, 0, 6 and odd bounds; and the
// same in the character form.
struct three {
  double storage[24] = {};
  desc num = make_desc(storage, {4, 0, 6}, {8, 32, 32}, {-2, 5, 0});
  desc chr = make_desc(storage, {4, 0, 6}, {8, 32, 32}, {-2, 5, 0}, true, 8);
};

}  // namespace

TEST(Extent, EachDimensionOfBothForms) {
  three t;
  for (int dim = 1; dim <= 3; ++dim) {
    EXPECT_EQ(__KAFf90_extent_ptr(3, t.num.data(), dim), t.num.extent(dim - 1)) << dim;
    EXPECT_EQ(__KAFf90_extent_cptr(3, t.chr.data(), dim), t.chr.extent(dim - 1)) << dim;
  }
}

TEST(Extent, VectorFormsReadTheResultRecord) {
  kaf_array_result r{nullptr, {3, 9, 0, 1, 1, 1, 7}};
  kaf_char_array_result c{nullptr, 5, {2, 4, 6, 8, 1, 1, 1}};
  for (int dim = 1; dim <= 7; ++dim) {
    EXPECT_EQ(__KAFf90_extent_vector(dim, r), r.extent[dim - 1]);
    EXPECT_EQ(__KAFf90_extent_cvector(dim, c), c.extent[dim - 1]);
  }
}

TEST(Extent, InfoAndFixedTakeFurtherArguments) {
  // Triples as in a descriptor: extent, stride, lower bound.
  EXPECT_EQ(__KAFf90_extent_info(1, 2, int64_t{5}, int64_t{8}, int64_t{1}, int64_t{7}, int64_t{40},
                                 int64_t{0}),
            5);
  EXPECT_EQ(__KAFf90_extent_info(2, 2, int64_t{5}, int64_t{8}, int64_t{1}, int64_t{7}, int64_t{40},
                                 int64_t{0}),
            7);
  // Pairs of bounds: A(-3:4, 10:9) has extents 8 and 0.
  EXPECT_EQ(__KAFf90_extent_fixed(1, 2, int64_t{-3}, int64_t{4}, int64_t{10}, int64_t{9}), 8);
  EXPECT_EQ(__KAFf90_extent_fixed(2, 2, int64_t{-3}, int64_t{4}, int64_t{10}, int64_t{9}), 0);
}

TEST(Extent, DimOutOfRangeIsMessage6) {
  three t;
  expect_fatal([&] { __KAFf90_extent_ptr(3, t.num.data(), 0); },
               "DIM argument (0) out of range 1:3 in intrinsic SIZE");
  expect_fatal([&] { __KAFf90_extent_cptr(3, t.chr.data(), 4); },
               "DIM argument (4) out of range 1:3 in intrinsic SIZE");
  expect_fatal([&] { __KAFf90_extent_info(-1, 1, int64_t{5}, int64_t{8}, int64_t{1}); },
               "DIM argument (-1) out of range 1:1 in intrinsic SIZE");
  expect_fatal([&] { __KAFf90_extent_fixed(3, 2, int64_t{1}, int64_t{2}, int64_t{1}, int64_t{2}); },
               "DIM argument (3) out of range 1:2 in intrinsic SIZE");
  // The record always has seven extents: 8 is refused whatever was passed.
  kaf_array_result r{nullptr, {1, 1, 1, 1, 1, 1, 1}};
  expect_fatal([&] { __KAFf90_extent_vector(8, r); },
               "DIM argument (8) out of range 1:7 in intrinsic SIZE");
  kaf_char_array_result c{nullptr, 1, {1, 1, 1, 1, 1, 1, 1}};
  expect_fatal([&] { __KAFf90_extent_cvector(0, c); },
               "DIM argument (0) out of range 1:7 in intrinsic SIZE");
}

TEST(Shape, ExtentsIncludingZeroIn64And32BitElements) {
  three t;
  struct {
    void (*entry)(kaf_array_result *, int32_t, const int64_t *);
    const desc *d;
    int width;
  } rows[] = {{__KAFf90_shape_ptr, &t.num, 8},
              {__KAFf90_shape_cptr, &t.chr, 8},
              {__KAFf90_shape_ptr_i4, &t.num, 4},
              {__KAFf90_shape_cptr_i4, &t.chr, 4}};
  for (const auto &row : rows) {
    kaf_array_result r;
    std::memset(&r, 0x5a, sizeof r);
    row.entry(&r, 3, row.d->data());
    EXPECT_EQ(r.extent[0], 3);
    for (int k = 1; k < 7; ++k) EXPECT_EQ(r.extent[k], 1) << k;
    for (int k = 0; k < 3; ++k) {
      int64_t v = 0;
      if (row.width == 8) {
        std::memcpy(&v, static_cast<char *>(r.base) + 8 * k, 8);
      } else {
        int32_t v4;
        std::memcpy(&v4, static_cast<char *>(r.base) + 4 * k, 4);
        v = v4;
      }
      EXPECT_EQ(v, row.d->extent(k)) << "width " << row.width << " dim " << k + 1;
    }
    // The block is an array temporary: its own release entry takes it back
    // (the allocator checks the size it was taken with).
    kaf_atmp tmp{r.base, {3, 1, 1, 1, 1, 1, 1}};
    if (row.width == 8)
      __KAFf90_freevec_i4(tmp);
    else
      __KAFf90_freevec_i(tmp);
  }
}

TEST(Shape, AbsentArgumentIsFatal) {
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_shape_ptr(&r, 2, nullptr); },
               "Argument to SHAPE intrinsic is not PRESENT");
}

TEST(Ubound, VectorAndBoundForms) {
  const int32_t ub[3] = {7, -2, 40};
  for (int dim = 1; dim <= 3; ++dim) EXPECT_EQ(__KAFf90_ubound_vector(3, ub, dim), ub[dim - 1]);
  // A(-3:4, 10:9): upper bound 4; the empty dimension gives 0.
  EXPECT_EQ(__KAFf90_ubound_fixed(1, 2, int64_t{-3}, int64_t{4}, int64_t{10}, int64_t{9}), 4);
  EXPECT_EQ(__KAFf90_ubound_fixed(2, 2, int64_t{-3}, int64_t{4}, int64_t{10}, int64_t{9}), 0);
  // Declared lower bound 0 with extent 5: upper bound 4; extent 0 gives 0.
  EXPECT_EQ(__KAFf90_ubound_afixed(1, 2, int64_t{0}, int64_t{5}, int64_t{3}, int64_t{0}), 4);
  EXPECT_EQ(__KAFf90_ubound_afixed(2, 2, int64_t{0}, int64_t{5}, int64_t{3}, int64_t{0}), 0);
  // Descriptor triples (extent, stride, lower bound).
  EXPECT_EQ(__KAFf90_ubound_ainfo(2, 2, int64_t{5}, int64_t{8}, int64_t{1}, int64_t{3}, int64_t{40},
                                  int64_t{-7}),
            -5);
  EXPECT_EQ(__KAFf90_ubound_ainfo(1, 1, int64_t{0}, int64_t{8}, int64_t{9}), 0);
}

TEST(Ubound, DimOutOfRangeTexts) {
  const int32_t ub[2] = {1, 2};
  expect_fatal([&] { __KAFf90_ubound_vector(2, ub, 0); },
               "Out of range: DIM argument to UBOUND has value 0");
  expect_fatal([&] { __KAFf90_ubound_vector(2, ub, 3); },
               "Out of range: DIM argument (3) to UBOUND greater than array rank");
  expect_fatal([&] { __KAFf90_ubound_fixed(-4, 1, int64_t{1}, int64_t{2}); },
               "Out of range: DIM argument to UBOUND has value -4");
  expect_fatal([&] { __KAFf90_ubound_ainfo(2, 1, int64_t{1}, int64_t{8}, int64_t{1}); },
               "Out of range: DIM argument (2) to UBOUND greater than array rank");
}

TEST(AssumeChshape, NewBoundsAndOffset) {
  char storage[600];
  // Actual: a section with a negative stride, bounds and offset of its own.
  desc actual = make_desc(storage + 590, {3, 4}, {-10, 150}, {7, 2}, true, 5);
  for (int32_t lb1 : {1, 0, -3}) {
    for (int32_t lb2 : {4, -1}) {
      std::vector<int64_t> nd(3 + 3 * 2, -1);
      __KAFf90_assume_chshape(nd.data(), actual.data(), 2, lb1, lb2);
      desc want = make_desc(actual.base(), {3, 4}, {-10, 150}, {lb1, lb2}, true, 5);
      EXPECT_EQ(nd, want.w) << lb1 << " " << lb2;
      // The offset addresses element (lb1, lb2) at the base.
      EXPECT_EQ(nd[2] + lb1 * nd[4] + lb2 * nd[7], 0);
    }
  }
}

TEST(AssumeChshape, LowerBoundZeroOrNegativeGivesPositiveOffset) {
  char storage[64];
  desc actual = make_desc(storage, {4}, {3}, {1}, true, 3);
  std::vector<int64_t> nd(6);
  __KAFf90_assume_chshape(nd.data(), actual.data(), 1, -5);
  EXPECT_EQ(nd[2], 3 * 5);
  __KAFf90_assume_chshape(nd.data(), actual.data(), 1, 0);
  EXPECT_EQ(nd[2], 0);
}

TEST(CheckShapes, OnlyExtentsAreCompared) {
  double a[60], b[60];
  desc da = make_desc(a, {3, 4, 5}, {8, 24, 96}, {1, 1, 1});
  desc db = make_desc(b + 59, {3, 4, 5}, {-8, -24, -96}, {0, 9, -4});
  desc dc = make_desc(b, {7}, {8});
  kaftest::child_result r = kaftest::run_in_child([&] {
    __KAFf90_check_shapes(da.data() + 2, db.data() + 2, 3);
    __KAFf90_check_shapes(da.data() + 2, dc.data() + 2, 0);  // rank 0 accepts anything
    std::fputs("returned", stdout);
  });
  EXPECT_TRUE(r.exited && r.exit_status == 0) << r.err;
  EXPECT_EQ(r.out, "returned");
  EXPECT_EQ(r.err, "");
}

TEST(CheckShapes, FirstDifferingDimensionIsMessage154) {
  double a[60];
  desc da = make_desc(a, {3, 4, 5}, {8, 24, 96});
  desc db = make_desc(a, {3, 4, 6}, {8, 24, 96});
  expect_fatal([&] { __KAFf90_check_shapes(da.data() + 2, db.data() + 2, 3); },
               "Shape mismatch: Dimension 3 extents are 5 and 6");
  desc dc = make_desc(a, {2, 4, 6}, {8, 24, 96});
  expect_fatal([&] { __KAFf90_check_shapes(db.data() + 2, dc.data() + 2, 3); },
               "Shape mismatch: Dimension 1 extents are 3 and 2");
}

TEST(Descriptor, RankBeyondSevenIsAnInternalFault) {
  double a[1] = {};
  desc d = contiguous(a, {1, 1, 1, 1, 1, 1, 1, 1}, 8);
  const std::vector<int64_t> shape = {1};
  desc sh = int_vector(shape);
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_reshape(&r, 8, 8, d.data(), sh.data(), 0, nullptr, nullptr); },
               "array descriptor of rank 8");
  int32_t m = 1;
  desc dm = make_desc(&m, {}, {});
  expect_fatal([&] { __KAFf90_pack(&r, 8, 0, d.data(), 0, dm.data(), nullptr); },
               "PACK: ARRAY of rank 0");
}
