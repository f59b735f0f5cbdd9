// PACK: every mask width with every element form, masks whose truth lies in
// high bytes only, VECTOR longer and shorter than the count, empty operands
// and every message.
#include <random>

#include "array_support.h"

using namespace arraytest;

namespace {

using pack_num = decltype(&__KAFf90_pack);
using pack_chr = decltype(&__KAFf90_chpack);

// Entries per mask width: 4 (none), 1 (l1_), 2 (l2_), 8 (l4_).
struct width_row {
  int width;
  pack_num num;
  pack_chr ch, ch2, ch4, dt;
};
constexpr width_row widths[] = {
    {4, __KAFf90_pack, __KAFf90_chpack, __KAFf90_ch2pack, __KAFf90_ch4pack, __KAFf90_dtpack},
    {1, __KAFf90_l1_pack, __KAFf90_l1_chpack, __KAFf90_l1_ch2pack, __KAFf90_l1_ch4pack,
     __KAFf90_l1_dtpack},
    {2, __KAFf90_l2_pack, __KAFf90_l2_chpack, __KAFf90_l2_ch2pack, __KAFf90_l2_ch4pack,
     __KAFf90_l2_dtpack},
    {8, __KAFf90_l4_pack, __KAFf90_l4_chpack, __KAFf90_l4_ch2pack, __KAFf90_l4_ch4pack,
     __KAFf90_l4_dtpack},
};

// A true value whose low bytes are all zero, so that reading fewer bytes than
// the width would see false: 0x80 in 1 byte, 256 in 2, 2^24 in 4, 2^40 in 8.
uint64_t high_true(int width) {
  switch (width) {
    case 1:
      return 0x80;
    case 2:
      return 0x100;
    case 4:
      return 0x1000000;
    default:
      return uint64_t{1} << 40;
  }
}

// Mask storage of the given width holding truth values in element order.
std::vector<char> mask_storage(const std::vector<bool> &truth, int width, std::mt19937_64 &rng) {
  std::vector<char> m(truth.size() * width + 1);
  for (size_t i = 0; i < truth.size(); ++i) {
    uint64_t v = 0;
    if (truth[i]) v = rng() % 2 ? high_true(width) : 1 + rng() % 0x7f;
    std::memcpy(m.data() + i * width, &v, static_cast<size_t>(width));
  }
  return m;
}

// PACK by its definition on element ids.
std::vector<uint64_t> pack_model(const std::vector<uint64_t> &array, const std::vector<bool> &mask,
                                 const std::vector<uint64_t> *vector) {
  std::vector<uint64_t> out;
  for (size_t i = 0; i < array.size(); ++i)
    if (mask[i]) out.push_back(array[i]);
  if (vector)
    for (size_t i = out.size(); i < vector->size(); ++i) out.push_back((*vector)[i]);
  return out;
}

// One random case run through one entry: ARRAY a reversed 2-D section, MASK a
// strided array of the same shape, VECTOR optional and strided.
void run_case(const width_row &w, int form, int64_t len, std::mt19937_64 &rng, bool with_vector) {
  const int64_t cw = form == 2 ? 2 : form == 3 ? 4 : 1;
  const int64_t es = form == 0 ? len : len * cw;
  const int64_t n1 = 1 + rng() % 5, n2 = 1 + rng() % 4;
  std::vector<char> parent = id_array(n1 * n2 * 2, es, 1);
  // ARRAY: p(n1:1:-1, 1:2*n2:2) of an n1 x 2*n2 parent.
  desc a =
      make_desc(parent.data() + (n1 - 1) * es, {n1, n2}, {-es, 2 * n1 * es}, {}, form != 0, len);
  std::vector<bool> truth(n1 * n2);
  size_t count = 0;
  for (size_t i = 0; i < truth.size(); ++i) count += truth[i] = rng() % 2;
  // MASK: every other element of its storage.
  std::vector<bool> spread_truth(truth.size() * 2);
  for (size_t i = 0; i < truth.size(); ++i) spread_truth[2 * i] = truth[i];
  std::vector<char> mstore = mask_storage(spread_truth, w.width, rng);
  desc m = make_desc(mstore.data(), {n1, n2}, {2 * w.width, 2 * w.width * n1});
  const int64_t vn = static_cast<int64_t>(count) + static_cast<int64_t>(rng() % 4);
  std::vector<char> vstore = id_array(2 * vn, es, 1000);
  desc v = make_desc(vstore.data(), {vn}, {2 * es}, {}, form != 0, len);

  std::vector<uint64_t> ids, vids;
  for (const char *p : element_addresses(a)) ids.push_back(1 + (p - parent.data()) / es);
  for (int64_t i = 0; i < vn; ++i) vids.push_back(1000 + 2 * i);
  const auto want = pack_model(ids, truth, with_vector ? &vids : nullptr);

  std::string got;
  int64_t extent;
  const int64_t *vp = with_vector ? v.data() : nullptr;
  if (form == 0) {
    kaf_array_result r;
    w.num(&r, es, 2, a.data(), 2, m.data(), vp);
    extent = r.extent[0];
    for (int k = 1; k < 7; ++k) EXPECT_EQ(r.extent[k], 1);
    got = take_result(r, es);
  } else {
    pack_chr e = form == 1 ? w.ch : form == 2 ? w.ch2 : form == 3 ? w.ch4 : w.dt;
    kaf_char_array_result r;
    e(&r, 2, a.data(), 2, m.data(), vp);
    EXPECT_EQ(r.length, len);
    extent = r.extent[0];
    got = take_result(r, es);
  }
  EXPECT_EQ(extent, static_cast<int64_t>(want.size()));
  EXPECT_EQ(got, ids_bytes(want, es)) << "mask width " << w.width << " form " << form << " len "
                                      << len << " vector " << with_vector;
}

}  // namespace

TEST(Pack, EveryMaskWidthWithEveryElementForm) {
  std::mt19937_64 rng(7);
  for (const auto &w : widths)
    for (int form = 0; form < 5; ++form)
      for (int64_t len : {int64_t{1}, int64_t{2}, int64_t{4}, int64_t{8}, int64_t{16}, int64_t{5}})
        for (int rep = 0; rep < 6; ++rep) run_case(w, form, len, rng, rep % 2);
}

TEST(Pack, TwoByteMaskOf256IsTrue) {
  int32_t a[4] = {10, 20, 30, 40};
  uint16_t m[4] = {256, 0, 0x8000, 255};
  desc da = contiguous(a, {4}, 4), dm = contiguous(m, {4}, 2);
  kaf_array_result r;
  __KAFf90_l2_pack(&r, 4, 1, da.data(), 1, dm.data(), nullptr);
  ASSERT_EQ(r.extent[0], 3);
  const int32_t want[3] = {10, 30, 40};
  EXPECT_EQ(take_result(r, 4), bytes_of(want, 12));
}

TEST(Pack, EightByteMaskIsReadWhole) {
  int16_t a[4] = {1, 2, 3, 4};
  // True only in the upper half, or only in the top bit.
  uint64_t m[4] = {uint64_t{1} << 32, 0, uint64_t{1} << 63, 0xffffffff00000000ull};
  desc da = contiguous(a, {4}, 2), dm = contiguous(m, {4}, 8);
  kaf_array_result r;
  __KAFf90_l4_pack(&r, 2, 1, da.data(), 1, dm.data(), nullptr);
  ASSERT_EQ(r.extent[0], 3);
  const int16_t want[3] = {1, 3, 4};
  EXPECT_EQ(take_result(r, 2), bytes_of(want, 6));
}

TEST(Pack, AllFalseGivesEmptyOrVector) {
  double a[6] = {1, 2, 3, 4, 5, 6}, vec[3] = {7, 8, 9};
  int32_t m[6] = {};
  desc da = contiguous(a, {2, 3}, 8), dm = contiguous(m, {2, 3}, 4), dv = contiguous(vec, {3}, 8);
  kaf_array_result r;
  __KAFf90_pack(&r, 8, 2, da.data(), 2, dm.data(), nullptr);
  EXPECT_EQ(r.extent[0], 0);
  EXPECT_NE(r.base, nullptr);
  EXPECT_EQ(take_result(r, 8), "");
  __KAFf90_pack(&r, 8, 2, da.data(), 2, dm.data(), dv.data());
  EXPECT_EQ(r.extent[0], 3);
  EXPECT_EQ(take_result(r, 8), bytes_of(vec, 24));
}

TEST(Pack, EmptyArrayGivesCopyOfStridedVector) {
  double a[1], vec[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  int32_t m[1];
  desc da = contiguous(a, {3, 0}, 8), dm = contiguous(m, {3, 0}, 4);
  desc dv = make_desc(vec + 7, {4}, {-16});  // vec(8:1:-2)
  kaf_array_result r;
  __KAFf90_pack(&r, 8, 2, da.data(), 2, dm.data(), dv.data());
  ASSERT_EQ(r.extent[0], 4);
  EXPECT_EQ(take_result(r, 8), sequence_bytes(dv, 8));
  __KAFf90_pack(&r, 8, 2, da.data(), 2, dm.data(), nullptr);
  EXPECT_EQ(r.extent[0], 0);
  EXPECT_EQ(take_result(r, 8), "");
}

TEST(Pack, CharacterLengthZeroGivesTheRightExtent) {
  char a[1];
  uint8_t m[5] = {1, 0, 1, 1, 0};
  desc da = make_desc(a, {5}, {0}, {}, true, 0), dm = contiguous(m, {5}, 1);
  kaf_char_array_result r;
  __KAFf90_l1_chpack(&r, 1, da.data(), 1, dm.data(), nullptr);
  EXPECT_EQ(r.extent[0], 3);
  EXPECT_EQ(r.length, 0);
  EXPECT_EQ(take_result(r, 0), "");
}

TEST(Pack, ScalarMask) {
  int64_t a[6] = {1, 2, 3, 4, 5, 6}, vec[8] = {};
  desc da = make_desc(a + 5, {3, 2}, {-8, -24});
  desc dv = contiguous(vec, {8}, 8);
  int32_t yes = 7, no = 0;
  desc my = make_desc(&yes, {}, {}), mn = make_desc(&no, {}, {});
  kaf_array_result r;
  __KAFf90_pack(&r, 8, 2, da.data(), 0, my.data(), nullptr);
  EXPECT_EQ(r.extent[0], 6);
  EXPECT_EQ(take_result(r, 8), sequence_bytes(da, 8));
  __KAFf90_pack(&r, 8, 2, da.data(), 0, mn.data(), dv.data());
  EXPECT_EQ(r.extent[0], 8);
  EXPECT_EQ(take_result(r, 8), bytes_of(vec, 64));
}

TEST(Pack, VectorShorterThanCountIsReportedWithTheCount) {
  int32_t a[5] = {}, m[5] = {1, 1, 0, 1, 1}, vec[3] = {};
  desc da = contiguous(a, {5}, 4), dm = contiguous(m, {5}, 4), dv = contiguous(vec, {3}, 4);
  kaf_array_result r;
  expect_fatal(
      [&] { __KAFf90_pack_line("p.f90", 31, &r, 4, 1, da.data(), 1, dm.data(), dv.data()); },
      "p.f90, line 31: VECTOR argument to intrinsic PACK has 3 elements but needs at "
      "least 4 elements");
}

TEST(Pack, ConformanceAndLengthMessages) {
  char a[64] = {}, vec[64] = {};
  int32_t m[12] = {};
  desc da = make_desc(a, {3, 4}, {1, 3}, {}, true, 1);
  desc dm = contiguous(m, {3, 5}, 4);
  desc dm_ok = contiguous(m, {3, 4}, 4);
  desc dv = make_desc(vec, {4}, {2}, {}, true, 2);
  kaf_char_array_result r;
  expect_fatal([&] { __KAFf90_chpack_line("c.f90", 2, &r, 2, da.data(), 2, dm.data(), dv.data()); },
               "c.f90, line 2: Dimension 2 of ARRAY argument to intrinsic PACK has extent 4  but "
               "MASK argument extent is 5");
  expect_fatal(
      [&] { __KAFf90_chpack_line("c.f90", 3, &r, 2, da.data(), 2, dm_ok.data(), dv.data()); },
      "c.f90, line 3: ARRAY argument to intrinsic PACK has character length 1 but "
      "VECTOR argument has length 2");
  // The forwarders report without a location.
  expect_fatal([&] { __KAFf90_l4_dtpack(&r, 2, da.data(), 2, dm.data(), nullptr); },
               "Dimension 2 of ARRAY argument to intrinsic PACK has extent 4  but MASK argument "
               "extent is 5");
}

TEST(Pack, WorstCaseBeyondMemoryIsMessage162) {
  // VECTOR claims 2^60 elements: the worst-case block cannot be had, and
  // nothing is read from VECTOR before the allocation.
  double a[2] = {}, vec[1] = {};
  int32_t m[2] = {1, 0};
  desc da = contiguous(a, {2}, 8), dm = contiguous(m, {2}, 4);
  desc dv = make_desc(vec, {int64_t{1} << 60}, {8});
  kaf_array_result r;
  expect_fatal(
      [&] { __KAFf90_pack_line("o.f90", 6, &r, 8, 1, da.data(), 1, dm.data(), dv.data()); },
      "o.f90, line 6: Out of memory in intrinsic PACK");
}
