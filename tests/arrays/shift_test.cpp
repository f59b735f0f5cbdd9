// CSHIFT and EOSHIFT: any DIM, shifts beyond the extent either way, scalar
// and array-valued SHIFT and BOUNDARY, the default boundaries, every form.
#include <functional>
#include <random>

#include "array_support.h"

using namespace arraytest;

namespace {

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

// Linear position of 0-based subscripts in a contiguous array of extents.
int64_t linear(const std::vector<int64_t> &extent, const std::vector<int64_t> &sub) {
  int64_t pos = 0, mult = 1;
  for (size_t k = 0; k < extent.size(); ++k) {
    pos += sub[k] * mult;
    mult *= extent[k];
  }
  return pos;
}

constexpr int64_t elsizes[] = {1, 2, 4, 8, 16, 6, 32};
constexpr uint64_t array_id = 1, boundary_id = 5000;

struct shift_case {
  int64_t es;
  std::vector<int64_t> ext;  // ARRAY's extents
  int64_t dim;
  bool array_shift;
  std::vector<int64_t> shifts;  // one per line (scalar: one value)
  int boundary_kind;            // 0 absent, 1 scalar, 2 array
};

// Expected ids: ARRAY is contiguous with ids from array_id; BOUNDARY (array
// form) is contiguous over the extents without DIM with ids from boundary_id,
// a scalar BOUNDARY has boundary_id; an absent one is marked 0.
std::vector<uint64_t> shift_model(const shift_case &c, bool eo) {
  std::vector<int64_t> others = c.ext;
  others.erase(others.begin() + (c.dim - 1));
  const int64_t n = c.ext[c.dim - 1];
  return by_subscripts(c.ext, [&](const std::vector<int64_t> &sub) -> uint64_t {
    std::vector<int64_t> osub = sub;
    osub.erase(osub.begin() + (c.dim - 1));
    const int64_t line = linear(others, osub);
    const int64_t s = c.array_shift ? c.shifts[line] : c.shifts[0];
    std::vector<int64_t> from = sub;
    const int64_t i = sub[c.dim - 1];
    const __int128 t = static_cast<__int128>(i) + s;  // no overflow at the extremes
    if (!eo) {
      from[c.dim - 1] = static_cast<int64_t>((t % n + n) % n);
      return array_id + linear(c.ext, from);
    }
    if (t >= 0 && t < n) {
      from[c.dim - 1] = static_cast<int64_t>(t);
      return array_id + linear(c.ext, from);
    }
    if (c.boundary_kind == 0) return 0;
    return c.boundary_kind == 1 ? boundary_id : boundary_id + line;
  });
}

// Runs one case through the numeric entries; the expected bytes of an absent
// BOUNDARY are zeros.
void run_numeric(const shift_case &c, bool eo) {
  const int64_t es = c.es;
  const int rank = static_cast<int>(c.ext.size());
  std::vector<char> a = id_array(count_of(c.ext), es, array_id);
  desc da = contiguous(a.data(), c.ext, es);
  std::vector<int64_t> others = c.ext;
  others.erase(others.begin() + (c.dim - 1));
  desc ds =
      c.array_shift ? contiguous(c.shifts.data(), others, 8) : make_desc(c.shifts.data(), {}, {});
  std::vector<char> b = id_array(std::max<int64_t>(count_of(others), 1), es, boundary_id);
  desc db = c.boundary_kind == 2 ? contiguous(b.data(), others, es) : make_desc(b.data(), {}, {});
  kaf_array_result r;
  if (eo)
    __KAFf90_eoshift_line("e.f90", 1, &r, es, rank, da.data(), c.array_shift ? rank - 1 : 0,
                          ds.data(), c.boundary_kind == 2 ? rank - 1 : 0,
                          c.boundary_kind ? db.data() : nullptr, c.dim);
  else
    __KAFf90_cshift_line("c.f90", 1, &r, es, rank, da.data(), c.array_shift ? rank - 1 : 0,
                         ds.data(), c.dim);
  for (int k = 0; k < 7; ++k) EXPECT_EQ(r.extent[k], k < rank ? c.ext[k] : 1);
  const auto want = shift_model(c, eo);
  std::string bytes = ids_bytes(want, es);
  for (size_t i = 0; i < want.size(); ++i)
    if (want[i] == 0) std::memset(&bytes[i * es], 0, static_cast<size_t>(es));
  std::string where;
  for (int64_t e : c.ext) where += std::to_string(e) + " ";
  ASSERT_EQ(take_result(r, es), bytes)
      << (eo ? "EOSHIFT" : "CSHIFT") << " extents " << where << "dim " << c.dim << " es " << es
      << " array shift " << c.array_shift << " boundary " << c.boundary_kind;
}

shift_case random_case(std::mt19937_64 &rng) {
  shift_case c;
  c.es = elsizes[rng() % 7];
  const int rank = 1 + static_cast<int>(rng() % 3);
  for (int k = 0; k < rank; ++k)
    c.ext.push_back(static_cast<int64_t>(rng() % 5) + (rng() % 12 ? 1 : 0));
  c.dim = 1 + static_cast<int64_t>(rng() % rank);
  c.array_shift = rank > 1 && rng() % 2;
  int64_t lines = 1;
  for (int k = 0; k < rank; ++k)
    if (k != c.dim - 1) lines *= c.ext[k];
  const int64_t nshifts = c.array_shift ? lines : 1;
  for (int64_t i = 0; i < std::max<int64_t>(nshifts, 1); ++i)
    c.shifts.push_back(static_cast<int64_t>(rng() % 15) - 7);
  c.boundary_kind = static_cast<int>(rng() % 3);
  if (rank == 1 && c.boundary_kind == 2) c.boundary_kind = 1;
  return c;
}

}  // namespace

TEST(Cshift, RandomShapesDimsAndShifts) {
  std::mt19937_64 rng(3);
  for (int trial = 0; trial < 400; ++trial) run_numeric(random_case(rng), false);
}

TEST(Eoshift, RandomShapesDimsShiftsAndBoundaries) {
  std::mt19937_64 rng(4);
  for (int trial = 0; trial < 400; ++trial) run_numeric(random_case(rng), true);
}

TEST(Cshift, ExtremeShiftsWrapByTheExtent) {
  for (int64_t s : {INT64_MIN, INT64_MIN + 1, int64_t{-13}, int64_t{13}, INT64_MAX}) {
    shift_case c{8, {5, 3}, 1, false, {s}, 0};
    run_numeric(c, false);
    c.dim = 2;
    run_numeric(c, false);
  }
}

TEST(Eoshift, ShiftsAtAndBeyondTheExtentGiveOnlyBoundary) {
  for (int64_t s : {INT64_MIN, int64_t{-4}, int64_t{-3}, int64_t{3}, int64_t{4}, INT64_MAX}) {
    shift_case c{4, {3, 2}, 1, false, {s}, 1};
    run_numeric(c, true);
  }
}

TEST(Cshift, StridedAndReversedArray) {
  // ARRAY a(6:1:-1, 1:7:3) of a 6 x 7 parent, shifted along each dimension.
  std::vector<char> parent = id_array(42, 8, 1);
  desc a = make_desc(parent.data() + 5 * 8, {6, 3}, {-8, 3 * 48});
  for (int64_t dim : {1, 2}) {
    for (int64_t s : {-2, 0, 1, 5}) {
      int64_t sv = s;
      desc ds = make_desc(&sv, {}, {});
      kaf_array_result r;
      __KAFf90_cshift(&r, 8, 2, a.data(), 0, ds.data(), dim);
      const auto elems = element_addresses(a);
      std::vector<uint64_t> want;
      for (int64_t j = 0; j < 3; ++j)
        for (int64_t i = 0; i < 6; ++i) {
          const int64_t fi = dim == 1 ? ((i + s) % 6 + 6) % 6 : i;
          const int64_t fj = dim == 2 ? ((j + s) % 3 + 3) % 3 : j;
          want.push_back(1 + (elems[fi + 6 * fj] - parent.data()) / 8);
        }
      EXPECT_EQ(take_result(r, 8), ids_bytes(want, 8)) << dim << " " << s;
    }
  }
}

TEST(Eoshift, DefaultBoundaryIsBlankOfTheCharacterWidth) {
  struct {
    decltype(&__KAFf90_cheoshift) entry;
    int64_t width;
    bool blank;
  } rows[] = {{__KAFf90_cheoshift, 1, true},
              {__KAFf90_ch2eoshift, 2, true},
              {__KAFf90_ch4eoshift, 4, true},
              {__KAFf90_dteoshift, 1, false}};
  for (const auto &row : rows) {
    const int64_t len = 3, es = len * row.width;
    std::vector<char> a = id_array(4, es, 1);
    desc da = make_desc(a.data(), {4}, {es}, {}, true, len);
    int64_t s = 2;
    desc ds = make_desc(&s, {}, {});
    kaf_char_array_result r;
    row.entry(&r, 1, da.data(), 0, ds.data(), 0, nullptr, 1);
    EXPECT_EQ(r.length, len);
    std::string want = ids_bytes({3, 4}, es);
    for (int64_t i = 0; i < 2 * len; ++i) {
      // One character of the width: the code of a blank in its low byte.
      std::string ch(static_cast<size_t>(row.width), '\0');
      if (row.blank) ch[0] = ' ';
      want += ch;
    }
    EXPECT_EQ(take_result(r, es), want) << row.width;
  }
}

TEST(Cshift, CharacterFormsWithArrayShift) {
  struct {
    decltype(&__KAFf90_chcshift) entry;
    int64_t width;
  } rows[] = {{__KAFf90_chcshift, 1},
              {__KAFf90_ch2cshift, 2},
              {__KAFf90_ch4cshift, 4},
              {__KAFf90_dtcshift, 1}};
  for (const auto &row : rows) {
    const int64_t len = 2, es = len * row.width;
    std::vector<char> a = id_array(12, es, 1);
    desc da = make_desc(a.data(), {4, 3}, {es, 4 * es}, {}, true, len);
    std::vector<int64_t> shifts = {1, -1, 6};
    desc ds = int_vector(shifts);
    kaf_char_array_result r;
    row.entry(&r, 2, da.data(), 1, ds.data(), 1);
    std::vector<uint64_t> want;
    for (int64_t j = 0; j < 3; ++j)
      for (int64_t i = 0; i < 4; ++i) want.push_back(1 + ((i + shifts[j]) % 4 + 4) % 4 + 4 * j);
    EXPECT_EQ(take_result(r, es), ids_bytes(want, es)) << row.width;
  }
}

TEST(Shift, Messages) {
  double a[12] = {};
  desc da = contiguous(a, {4, 3}, 8);
  std::vector<int64_t> shifts = {1, 2};
  desc ds = int_vector(shifts);
  int64_t s = 1;
  desc scalar = make_desc(&s, {}, {});
  kaf_array_result r;
  expect_fatal([&] { __KAFf90_cshift_line("s.f90", 8, &r, 8, 2, da.data(), 0, scalar.data(), 3); },
               "s.f90, line 8: DIM argument (3) out of range 1:2 in intrinsic CSHIFT");
  expect_fatal([&] { __KAFf90_eoshift(&r, 8, 2, da.data(), 0, scalar.data(), 0, nullptr, 0); },
               "DIM argument (0) out of range 1:2 in intrinsic EOSHIFT");
  expect_fatal([&] { __KAFf90_cshift_line("s.f90", 9, &r, 8, 2, da.data(), 1, ds.data(), 1); },
               "s.f90, line 9: Dimension 1 of SHIFT argument to intrinsic CSHIFT has extent 2  "
               "but ARRAY argument extent is 3");
  desc db = contiguous(a, {4}, 8);
  expect_fatal(
      [&] {
        __KAFf90_eoshift_line("s.f90", 10, &r, 8, 2, da.data(), 0, scalar.data(), 1, db.data(), 1);
      },
      "s.f90, line 10: Dimension 1 of BOUNDARY argument to intrinsic EOSHIFT has extent "
      "4  but ARRAY argument extent is 3");
  char c[24] = {};
  desc dc = make_desc(c, {4}, {2}, {}, true, 2), dcb = make_desc(c, {}, {}, {}, true, 3);
  kaf_char_array_result cr;
  expect_fatal(
      [&] {
        __KAFf90_cheoshift_line("s.f90", 11, &cr, 1, dc.data(), 0, scalar.data(), 0, dcb.data(), 1);
      },
      "s.f90, line 11: ARRAY argument to intrinsic EOSHIFT has character length 2 but "
      "BOUNDARY argument has length 3");
}
