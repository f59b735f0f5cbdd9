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

namespace {

// SPREAD by its definition: the ids of the result of spreading d (storage
// numbered from 1 at base) along dim.
std::vector<uint64_t> spread_ids(const desc &d, const char *base, int64_t es, int64_t dim,
                                 int64_t ncopies, std::vector<int64_t> &rext) {
  rext.clear();
  for (int k = 0; k < d.rank; ++k) rext.push_back(d.extent(k));
  rext.insert(rext.begin() + (dim - 1), ncopies < 0 ? 0 : ncopies);
  return by_subscripts(rext, [&](const std::vector<int64_t> &sub) {
    std::vector<int64_t> ssub = sub;
    ssub.erase(ssub.begin() + (dim - 1));
    return id_of(d, base, es, 1, ssub);
  });
}

// The general entry's result for d, as bytes, with its extents.
std::string general_spread(const desc &d, int64_t es, int64_t dim, int64_t ncopies,
                           int64_t *extent) {
  kaf_array_result r;
  __KAFf90_spread(&r, es, d.rank, d.data(), dim, ncopies);
  std::memcpy(extent, r.extent, sizeof r.extent);
  return take_result(r, es);
}

// Guard bytes around storage the caller supplies show a write outside it.
constexpr int64_t guard = 64;
constexpr char guard_byte = '\x5a';

}  // namespace

// The kernel's paths on their edges: runs of copies below, at and above one
// 16-byte store, one 64-byte round and the 16 KiB replication chunk, for word
// and odd element sizes; inner blocks of every small size (moved as two
// overlapping words) and below and above the chunk, contiguous and strided;
// compared with the definition, not with another entry.
TEST(Spread, RunsAroundStoreAndChunkEdges) {
  struct row {
    int64_t es, dim;
    std::vector<int64_t> ext;
    int64_t step, ncopies;
  };
  std::vector<row> rows;
  for (int64_t es : {1, 2, 3, 4, 8, 12, 16, 24})
    for (int64_t nc : {1, 2, 3, 4, 5, 7, 8, 15, 16, 17, 31, 32, 33, 2047, 2048, 2049, 16385})
      rows.push_back({es, 1, {3}, 1, nc});
  for (int64_t n1 : {1, 63, 64, 65, 2047, 2048, 2049})  // blocks of 8 x n1 bytes
    for (int64_t step : {1, 2, -1})
      for (int64_t nc : {2, 3, 9, 300})
        if (nc < 300 || n1 < 100) rows.push_back({8, 2, {n1, 2}, step, nc});
  for (int64_t step : {1, -3})  // inner blocks of rank 2, strided and not
    rows.push_back({16, 3, {40, 3, 2}, step, 5});
  for (int64_t es : {1, 3, 4, 8, 12})  // blocks of 2 to 84 bytes, few and many copies
    for (int64_t n1 : {2, 3, 5, 7})
      for (int64_t nc : {2, 3, 300}) rows.push_back({es, 2, {n1, 3}, 1, nc});
  rows.push_back({40, 2, {500}, 1, 3});  // a block of 20000 bytes: chunked
  rows.push_back({4, 2, {7, 5}, 2, 9});  // small strided blocks: one strided copy
  for (const row &w : rows) {
    // Dimension 1 steps by w.step through its parent; the others follow.
    const int64_t a = w.step < 0 ? -w.step : w.step;
    std::vector<int64_t> stride = {w.step * w.es};
    int64_t pstride = w.es * w.ext[0] * a;
    for (size_t k = 1; k < w.ext.size(); ++k) {
      stride.push_back(pstride);
      pstride *= w.ext[k];
    }
    std::vector<char> parent = id_array(pstride / w.es, w.es, 1);
    const int64_t off = w.step < 0 ? (w.ext[0] - 1) * a * w.es : 0;
    desc d = make_desc(parent.data() + off, w.ext, stride);
    std::vector<int64_t> rext;
    const auto want = spread_ids(d, parent.data(), w.es, w.dim, w.ncopies, rext);
    kaf_array_result r;
    __KAFf90_spread(&r, w.es, d.rank, d.data(), w.dim, w.ncopies);
    ASSERT_EQ(take_result(r, w.es), ids_bytes(want, w.es))
        << "es " << w.es << " dim " << w.dim << " n1 " << w.ext[0] << " step " << w.step
        << " ncopies " << w.ncopies;
  }
}

// pa and pau against the general entry on a descriptor of the same
// contiguous SOURCE; pau must write exactly the result's bytes.
TEST(SpreadEntries, PlainArrayGivesTheGeneralResult) {
  std::mt19937_64 rng(23);
  static constexpr int64_t sizes[] = {1, 2, 4, 8, 16, 3, 12, 40};
  static constexpr int64_t copies[] = {-2, 0, 1, 2, 3, 9, 100, 2049};
  for (int trial = 0; trial < 400; ++trial) {
    const int64_t es = sizes[rng() % 8];
    const int rank = static_cast<int>(rng() % 4);
    std::vector<int64_t> ext(rank);
    for (auto &e : ext) e = static_cast<int64_t>(rng() % (trial % 9 == 0 ? 3 : 6));
    const int64_t dim = 1 + static_cast<int64_t>(rng() % (rank + 1));
    const int64_t nc = copies[rng() % 8];
    std::vector<char> src = id_array(std::max<int64_t>(count_of(ext), 1), es, 1);
    const desc d = contiguous(src.data(), ext, es);
    int64_t gext[7];
    const std::string want = general_spread(d, es, dim, nc, gext);

    kaf_array_result r;
    __KAFf90_spread_pa_line("pa.f90", 3, &r, es, rank, src.data(), ext.data(), dim, nc);
    for (int k = 0; k < 7; ++k) EXPECT_EQ(r.extent[k], gext[k]) << "trial " << trial;
    ASSERT_EQ(take_result(r, es), want) << "pa trial " << trial;

    std::string out(want.size() + 2 * guard, guard_byte);
    __KAFf90_spread_pau(&out[guard], es, rank, src.data(), ext.data(), dim, nc);
    ASSERT_EQ(out, std::string(guard, guard_byte) + want + std::string(guard, guard_byte))
        << "pau trial " << trial;
  }
}

TEST(SpreadEntries, ScalarGivesTheGeneralResult) {
  for (int64_t es : {1, 2, 4, 8, 16, 3, 12, 40}) {
    std::vector<char> x = id_array(1, es, 77);
    const desc d = make_desc(x.data(), {}, {});
    for (int64_t nc : {-1, 0, 1, 2, 5, 16, 17, 1000, 5000}) {
      int64_t gext[7];
      const std::string want = general_spread(d, es, 1, nc, gext);
      EXPECT_EQ(want, ids_bytes(std::vector<uint64_t>(nc < 0 ? 0 : nc, 77), es));
      kaf_array_result r;
      __KAFf90_spread_ps(&r, es, x.data(), 1, nc);
      for (int k = 0; k < 7; ++k) EXPECT_EQ(r.extent[k], gext[k]) << es << " " << nc;
      EXPECT_EQ(take_result(r, es), want) << "ps " << es << " " << nc;
      std::string out(want.size() + 2 * guard, guard_byte);
      __KAFf90_spread_psu_line("s.f90", 1, &out[guard], es, x.data(), 1, nc);
      EXPECT_EQ(out, std::string(guard, guard_byte) + want + std::string(guard, guard_byte))
          << "psu " << es << " " << nc;
    }
  }
}

// aspread into random sections (any step, reversed, every dimension order of
// strides) of a parent filled with a marker: the section holds the general
// result in array element order, and no byte outside it changes.
TEST(SpreadEntries, AssignmentIntoSectionsGivesTheGeneralResult) {
  std::mt19937_64 rng(29);
  for (int trial = 0; trial < 400; ++trial) {
    const int64_t es = elsizes[rng() % 7];
    const int rank = static_cast<int>(rng() % 3);
    std::vector<int64_t> ext(rank), stride(rank);
    int64_t pstride = es, offset = 0;
    for (int k = 0; k < rank; ++k) {
      ext[k] = static_cast<int64_t>(rng() % 5);
      const int64_t step = rng() % 3 == 0 ? -2 : rng() % 2 ? 1 : 3;
      const int64_t pext = ext[k] * (step < 0 ? -step : step) + 1;
      stride[k] = step * pstride;
      if (step < 0) offset += (pext - 1) * pstride;
      pstride *= pext;
    }
    std::vector<char> sparent = id_array(pstride / es, es, 1);
    const desc s = make_desc(sparent.data() + offset, ext, stride);
    const int64_t dim = 1 + static_cast<int64_t>(rng() % (rank + 1));
    const int64_t nc = static_cast<int64_t>(rng() % 6) - 1 + (trial % 7 == 0 ? 200 : 0);
    int64_t gext[7];
    const std::string want = general_spread(s, es, dim, nc, gext);

    // The destination: a section of a larger parent, with its own steps and
    // its dimensions laid out in a random order in the parent.
    const int r = rank + 1;
    std::vector<int64_t> dext(gext, gext + r), dstep(r), order(r), dstride(r);
    for (int k = 0; k < r; ++k) {
      dstep[k] = rng() % 3 == 0 ? -1 : 1 + static_cast<int64_t>(rng() % 2);
      order[k] = k;
    }
    std::shuffle(order.begin(), order.end(), rng);
    int64_t dp = es, doff = 0;
    for (int64_t k : order) {
      const int64_t a = dstep[k] < 0 ? -dstep[k] : dstep[k];
      const int64_t pext = std::max<int64_t>(dext[k], 1) * a + 1;
      dstride[k] = dstep[k] * dp;
      if (dstep[k] < 0) doff += (pext - 1) * dp;
      dp *= pext;
    }
    std::string dparent(static_cast<size_t>(dp), guard_byte);
    const desc dd = make_desc(&dparent[doff], dext, dstride);
    __KAFf90_aspread_line("a.f90", 5, dd.data(), es, rank, s.data(), dim, nc);
    ASSERT_EQ(sequence_bytes(dd, es), want) << "trial " << trial;
    std::string marked = dparent;
    for (const char *p : element_addresses(dd))
      std::memset(&marked[p - dparent.data()], guard_byte, static_cast<size_t>(es));
    EXPECT_EQ(marked, std::string(dparent.size(), guard_byte))
        << "written outside, trial " << trial;
  }
}

// DEST = SPREAD(SOURCE) where SOURCE is part of DEST: the result is that of
// SOURCE before the assignment.
TEST(SpreadEntries, OverlappingOperandsSeeSourceFirst) {
  const int64_t n = 6, m = 5;
  struct row {
    const char *what;
    std::vector<int64_t> ext, stride;
    int64_t offset, dim;
  };
  const row rows[] = {
      {"a = spread(a(:, 2), 2, m)", {n}, {8}, n, 2},
      {"a = spread(a(2, :), 1, n)", {m}, {8 * n}, 1, 1},
      {"a = spread(a(n:1:-1, m), 2, m)", {n}, {-8}, n * m - 1, 2},
      {"a = spread(a(3, m:1:-1), 1, n)", {m}, {-8 * n}, 2 + n * (m - 1), 1},
  };
  for (const row &w : rows) {
    std::vector<char> a = id_array(n * m, 8, 1);
    const desc s = make_desc(a.data() + 8 * w.offset, w.ext, w.stride);
    int64_t gext[7];
    const std::string want = general_spread(s, 8, w.dim, w.dim == 1 ? n : m, gext);
    const desc dd = contiguous(a.data(), {n, m}, 8);
    __KAFf90_aspread(dd.data(), 8, 1, s.data(), w.dim, w.dim == 1 ? n : m);
    EXPECT_EQ(bytes_of(a.data(), 8 * n * m), want) << w.what;
    // The same through a destination that is not contiguous: a reversed view.
    std::vector<char> b = id_array(n * m, 8, 1);
    const desc s2 = make_desc(b.data() + 8 * w.offset, w.ext, w.stride);
    const desc rev = make_desc(b.data() + 8 * (n * m - 1), {n, m}, {-8, -8 * n});
    __KAFf90_aspread(rev.data(), 8, 1, s2.data(), w.dim, w.dim == 1 ? n : m);
    EXPECT_EQ(sequence_bytes(rev, 8), want) << w.what << " reversed";
  }
  // pau and psu with SOURCE inside the result's storage.
  std::vector<char> v = id_array(12, 4, 1);
  const desc vs = contiguous(v.data() + 4 * 2, {3}, 4);
  int64_t gext[7];
  const std::string want = general_spread(vs, 4, 1, 4, gext);
  const int64_t three = 3;
  __KAFf90_spread_pau(v.data(), 4, 1, v.data() + 4 * 2, &three, 1, 4);
  EXPECT_EQ(bytes_of(v.data(), 48), want);
  std::vector<char> x = id_array(5, 16, 1);
  __KAFf90_spread_psu(x.data(), 16, x.data() + 16 * 3, 1, 5);
  EXPECT_EQ(bytes_of(x.data(), 80), ids_bytes({4, 4, 4, 4, 4}, 16));
}

TEST(SpreadEntries, Diagnostics) {
  double a[6] = {};
  const int64_t ext[2] = {2, 3};
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_spread_ps_line("s.f90", 7, &r, 8, a, 2, 4); },
               "s.f90, line 7: DIM argument (2) out of range 1:1 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_spread_psu(a, 8, a, 0, 4); },
               "DIM argument (0) out of range 1:1 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_spread_pa_line("p.f90", 8, &r, 8, 2, a, ext, 4, 1); },
               "p.f90, line 8: DIM argument (4) out of range 1:3 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_spread_pau(a, 8, 2, a, ext, -1, 1); },
               "DIM argument (-1) out of range 1:3 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_spread_pa_line("p.f90", 9, &r, 8, 1, a, ext, 1, INT64_MAX / 4); },
               "p.f90, line 9: Out of memory in intrinsic SPREAD");
  const desc s = contiguous(a, {2, 3}, 8);
  double b[24];
  const desc d = contiguous(b, {2, 4, 3}, 8);
  expect_fatal([&] { __KAFf90_aspread_line("a.f90", 10, d.data(), 8, 2, s.data(), 3, 4); },
               "a.f90, line 10: Shape mismatch: Dimension 2 extents are 4 and 3");
  expect_fatal([&] { __KAFf90_aspread(d.data(), 8, 2, s.data(), 4, 4); },
               "DIM argument (4) out of range 1:3 in intrinsic SPREAD");
  expect_fatal([&] { __KAFf90_aspread(d.data(), 8, 2, s.data(), 2, 5); },
               "Shape mismatch: Dimension 2 extents are 4 and 5");
}
