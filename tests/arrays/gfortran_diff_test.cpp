// Differential test against gfortran: random shapes, sections with any step
// (negative and empty included), masks, shifts, boundaries, ORDER and PAD go
// to a gfortran program (oracle.f90) and through our entries, over elements of
// many sizes and every element form; the results must agree element by element.
// SPREAD cases also go through the assignment, plain-address and scalar
// entries.
#include <unistd.h>

#include <cstdio>
#include <random>
#include <sstream>

#include "array_support.h"

using namespace arraytest;

namespace {

constexpr uint64_t pad_first = 100001, vector_first = 200001, boundary_first = 300001;

enum form_kind { numeric, ch1, ch2, ch4, dt };

struct fcase {
  int op = 0, r = 0;
  int64_t n[3] = {}, l[3] = {}, u[3] = {}, s[3] = {};
  int ns = 0;
  int64_t shp[3] = {}, order[3] = {};
  bool haspad = false, hasorder = false, hasvec = false;
  int64_t pl = 1, pu = 1, ps = 1, vl = 1, vu = 1, vs = 1;
  std::vector<int> mask;
  int64_t dim = 1, ncopies = 0;
  int shiftkind = 0, bkind = 0;
  std::vector<int64_t> shifts, bvals;
  // Our side only: the element form and size, the mask width.
  form_kind form = numeric;
  int64_t len = 8, es = 8;
  int mask_width = 4;
};

int64_t section_extent(int64_t l, int64_t u, int64_t s) {
  if (s > 0) return u >= l ? (u - l) / s + 1 : 0;
  return l >= u ? (l - u) / -s + 1 : 0;
}

std::vector<int64_t> section_extents(const fcase &c) {
  std::vector<int64_t> e;
  for (int k = 0; k < c.r; ++k) e.push_back(section_extent(c.l[k], c.u[k], c.s[k]));
  return e;
}

fcase random_case(std::mt19937_64 &rng) {
  fcase c;
  c.op = 1 + static_cast<int>(rng() % 6);
  c.r = c.op == 4 ? 2 : 1 + static_cast<int>(rng() % 3);
  if (c.op == 3 && rng() % 5 == 0) c.r = 0;  // a scalar SOURCE
  for (int k = 0; k < 3; ++k) {
    c.n[k] = 1 + static_cast<int64_t>(rng() % (k < c.r ? 7 : 3));
    c.l[k] = 1 + static_cast<int64_t>(rng() % c.n[k]);
    c.u[k] = c.l[k];
    c.s[k] = 1;
    if (k < c.r) {
      c.u[k] = 1 + static_cast<int64_t>(rng() % c.n[k]);
      c.s[k] = 1 + static_cast<int64_t>(rng() % 3);
      if (rng() % 2) c.s[k] = -c.s[k];
      if (rng() % 6 == 0) std::swap(c.l[k], c.u[k]);  // often empty
    }
  }
  const auto ext = section_extents(c);
  const int64_t size = count_of(ext);
  switch (c.op) {
    case 1: {
      c.ns = 1 + static_cast<int>(rng() % 3);
      for (int k = 0; k < c.ns; ++k) c.shp[k] = static_cast<int64_t>(rng() % 5);
      int64_t rsize = 1;
      for (int k = 0; k < c.ns; ++k) rsize *= c.shp[k];
      c.haspad = rsize > size || rng() % 3 == 0;
      c.pl = 1 + static_cast<int64_t>(rng() % 8);
      c.ps = rng() % 3 == 0 ? -1 : 1 + static_cast<int64_t>(rng() % 2);
      c.pu = c.pl + c.ps * static_cast<int64_t>(rng() % 4);
      if (c.pu < 1) c.pu = 1;
      if (section_extent(c.pl, c.pu, c.ps) == 0) c.pu = c.pl;
      c.hasorder = rng() % 2;
      for (int k = 0; k < c.ns; ++k) c.order[k] = k + 1;
      std::shuffle(c.order, c.order + c.ns, rng);
      break;
    }
    case 2: {
      int64_t count = 0;
      const unsigned density = static_cast<unsigned>(rng() % 5);
      for (int64_t i = 0; i < size; ++i) {
        c.mask.push_back(rng() % 4 < density);
        count += c.mask.back();
      }
      c.hasvec = rng() % 2;
      const int64_t nv = count + static_cast<int64_t>(rng() % 4);
      c.vs = rng() % 3 == 0 ? -1 : 1 + static_cast<int64_t>(rng() % 2);
      c.vl =
          c.vs < 0 ? nv + 1 + static_cast<int64_t>(rng() % 3) : 1 + static_cast<int64_t>(rng() % 3);
      c.vu = c.vl + (nv - 1) * c.vs;
      if (nv == 0) c.vu = c.vl - c.vs;  // an empty VECTOR
      break;
    }
    case 3:
      c.dim = 1 + static_cast<int64_t>(rng() % (c.r + 1));
      // gfortran 12's SPREAD fails on a negative NCOPIES (its allocation
      // overflows); that case is checked by hand in spread_test.cpp.
      c.ncopies = static_cast<int64_t>(rng() % 4);
      break;
    case 5:
    case 6: {
      c.dim = 1 + static_cast<int64_t>(rng() % c.r);
      int64_t lines = 1;
      for (int k = 0; k < c.r; ++k)
        if (k != c.dim - 1) lines *= ext[k];
      // An array SHIFT or BOUNDARY with no elements is not written at all:
      // the oracle's list-directed read would take the next line for it.
      c.shiftkind = c.r > 1 && lines > 0 && rng() % 2;
      for (int64_t i = 0; i < (c.shiftkind ? lines : 1); ++i)
        c.shifts.push_back(static_cast<int64_t>(rng() % 15) - 7);
      if (c.op == 6) {
        c.bkind = static_cast<int>(rng() % (c.r > 1 && lines > 0 ? 3 : 2));
        for (int64_t i = 0; i < (c.bkind == 2 ? lines : c.bkind); ++i)
          c.bvals.push_back(boundary_first + static_cast<uint64_t>(i));
      }
      break;
    }
    default:
      break;
  }
  c.form = static_cast<form_kind>(rng() % 5);
  static constexpr int64_t numeric_sizes[] = {1, 2, 4, 8, 16, 24};
  switch (c.form) {
    case numeric:
      c.len = 0;
      c.es = numeric_sizes[rng() % 6];
      break;
    case ch1:
      c.len = rng() % 2 ? 3 : 9;
      c.es = c.len;
      break;
    case ch2:
      c.len = 2;
      c.es = 4;
      break;
    case ch4:
      c.len = 1 + static_cast<int64_t>(rng() % 3);
      c.es = 4 * c.len;
      break;
    case dt:
      c.len = 12;
      c.es = 12;
      break;
  }
  static constexpr int widths[] = {1, 2, 4, 8};
  c.mask_width = widths[rng() % 4];
  return c;
}

std::string oracle_input(const fcase &c) {
  std::ostringstream o;
  o << c.op << ' ' << c.r << '\n' << c.n[0] << ' ' << c.n[1] << ' ' << c.n[2];
  for (int k = 0; k < 3; ++k) o << ' ' << c.l[k] << ' ' << c.u[k] << ' ' << c.s[k];
  o << '\n';
  switch (c.op) {
    case 1:
      o << c.ns;
      for (int k = 0; k < c.ns; ++k) o << ' ' << c.shp[k];
      o << ' ' << c.haspad << ' ' << c.pl << ' ' << c.pu << ' ' << c.ps << ' ' << c.hasorder;
      for (int k = 0; k < c.ns; ++k) o << ' ' << c.order[k];
      o << '\n';
      break;
    case 2:
      for (int m : c.mask) o << m << ' ';
      o << c.hasvec << ' ' << c.vl << ' ' << c.vu << ' ' << c.vs << '\n';
      break;
    case 3:
      o << c.dim << ' ' << c.ncopies << '\n';
      break;
    case 5:
    case 6:
      o << c.dim << ' ' << c.shiftkind << '\n';
      for (int64_t s : c.shifts) o << s << ' ';
      o << '\n';
      if (c.op == 6) {
        o << c.bkind << '\n';
        if (c.bkind) {
          for (uint64_t b : c.bvals) o << b << ' ';
          o << '\n';
        }
      }
      break;
    default:
      break;
  }
  return o.str();
}

struct oracle_result {
  int rank = 0;
  std::vector<int64_t> extent;
  std::vector<uint64_t> ids;
};

// Runs every case through one oracle process.
std::vector<oracle_result> run_oracle(const std::vector<fcase> &cases) {
  std::vector<oracle_result> out;
  const std::string oracle = KAF_ARRAYS_ORACLE;
  if (oracle.empty()) {
    ADD_FAILURE() << "gfortran was not found when the build was configured";
    return out;
  }
  char path[] = "/tmp/kaf_arrays_oracle_XXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) {
    ADD_FAILURE() << "no temporary file";
    return out;
  }
  std::string input;
  for (const auto &c : cases) input += oracle_input(c);
  EXPECT_EQ(write(fd, input.data(), input.size()), static_cast<ssize_t>(input.size()));
  close(fd);
  const std::string cmd = oracle + " < " + path;
  FILE *p = popen(cmd.c_str(), "r");
  std::string text;
  char buf[65536];
  size_t got;
  while ((got = fread(buf, 1, sizeof buf, p)) > 0) text.append(buf, got);
  EXPECT_EQ(pclose(p), 0);
  unlink(path);
  std::istringstream in(text);
  std::string l1, l2;
  while (std::getline(in, l1) && std::getline(in, l2)) {
    oracle_result r;
    std::istringstream a(l1), b(l2);
    a >> r.rank;
    int64_t e;
    while (a >> e) r.extent.push_back(e);
    uint64_t id;
    while (b >> id) r.ids.push_back(id);
    out.push_back(r);
  }
  return out;
}

struct any_result {
  void *base;
  int64_t length;
  int64_t extent[7];
};

// The bytes of a default BOUNDARY element of the case's form.
std::string default_element(const fcase &c) {
  std::string e(static_cast<size_t>(c.es), '\0');
  const int64_t w = c.form == ch2 ? 2 : c.form == ch4 ? 4 : 1;
  if (c.form == ch1 || c.form == ch2 || c.form == ch4)
    for (int64_t i = 0; i < c.es; i += w) e[static_cast<size_t>(i)] = ' ';
  return e;
}

uint64_t high_true(int width, std::mt19937_64 &rng) {
  const uint64_t v = uint64_t{1} << (8 * (rng() % width));
  return v << (rng() % 8);
}

// The case's section of its parent (kept alive in keep), in the case's
// element form or, with numeric_form, in the numeric form.
desc source_section(const fcase &c, std::vector<std::vector<char>> &keep, bool numeric_form) {
  const int64_t es = c.es;
  keep.push_back(id_array(c.n[0] * c.n[1] * c.n[2], es, 1));
  const char *parent = keep.back().data();
  const int64_t pstride[3] = {es, es * c.n[0], es * c.n[0] * c.n[1]};
  int64_t off = 0;
  for (int k = 0; k < 3; ++k) off += (c.l[k] - 1) * pstride[k];
  std::vector<int64_t> ext = section_extents(c), stride;
  for (int k = 0; k < c.r; ++k) stride.push_back(c.s[k] * pstride[k]);
  const bool chr = c.form != numeric && !numeric_form;
  return make_desc(parent + off, ext, stride, {}, chr, c.len);
}

any_result run_ours(const fcase &c, std::mt19937_64 &rng, std::vector<std::vector<char>> &keep) {
  const int64_t es = c.es;
  const bool chr = c.form != numeric;
  desc x = source_section(c, keep, false);
  std::vector<int64_t> ext = section_extents(c);

  any_result res{};
  kaf_array_result nr{};
  kaf_char_array_result cr{};
  const auto finish = [&] {
    if (chr) {
      res.base = cr.base;
      res.length = cr.length;
      std::memcpy(res.extent, cr.extent, sizeof res.extent);
    } else {
      res.base = nr.base;
      std::memcpy(res.extent, nr.extent, sizeof res.extent);
    }
  };
  switch (c.op) {
    case 1: {
      keep.push_back(id_array(1000, es, pad_first));
      desc pad = make_desc(keep.back().data() + (c.pl - 1) * es, {section_extent(c.pl, c.pu, c.ps)},
                           {c.ps * es}, {}, chr, c.len);
      std::vector<int64_t> shp(c.shp, c.shp + c.ns), ord(c.order, c.order + c.ns);
      desc dsh = int_vector(shp), dord = int_vector(ord);
      const int64_t *pp = c.haspad ? pad.data() : nullptr;
      const int32_t prank = c.haspad ? 1 : 0;
      const int64_t *op = c.hasorder ? dord.data() : nullptr;
      switch (c.form) {
        case numeric:
          __KAFf90_reshape(&nr, es, c.r, x.data(), dsh.data(), prank, pp, op);
          break;
        case ch1:
          __KAFf90_chreshape(&cr, c.r, x.data(), dsh.data(), prank, pp, op);
          break;
        case ch2:
          __KAFf90_ch2reshape(&cr, c.r, x.data(), dsh.data(), prank, pp, op);
          break;
        case ch4:
          __KAFf90_ch4reshape(&cr, c.r, x.data(), dsh.data(), prank, pp, op);
          break;
        case dt:
          __KAFf90_dtreshape(&cr, c.r, x.data(), dsh.data(), prank, pp, op);
          break;
      }
      break;
    }
    case 2: {
      std::vector<char> m(c.mask.size() * c.mask_width + 1);
      for (size_t i = 0; i < c.mask.size(); ++i) {
        const uint64_t v = c.mask[i] ? high_true(c.mask_width, rng) : 0;
        std::memcpy(m.data() + i * c.mask_width, &v, static_cast<size_t>(c.mask_width));
      }
      keep.push_back(m);
      desc dm = contiguous(keep.back().data(), ext, c.mask_width);
      keep.push_back(id_array(1000, es, vector_first));
      desc v = make_desc(keep.back().data() + (c.vl - 1) * es, {section_extent(c.vl, c.vu, c.vs)},
                         {c.vs * es}, {}, chr, c.len);
      const int64_t *vp = c.hasvec ? v.data() : nullptr;
      using num_fn = decltype(&__KAFf90_pack);
      using chr_fn = decltype(&__KAFf90_chpack);
      const int w = c.mask_width == 1 ? 1 : c.mask_width == 2 ? 2 : c.mask_width == 4 ? 0 : 3;
      static constexpr num_fn nums[] = {__KAFf90_pack, __KAFf90_l1_pack, __KAFf90_l2_pack,
                                        __KAFf90_l4_pack};
      static constexpr chr_fn chrs[4][4] = {
          {__KAFf90_chpack, __KAFf90_ch2pack, __KAFf90_ch4pack, __KAFf90_dtpack},
          {__KAFf90_l1_chpack, __KAFf90_l1_ch2pack, __KAFf90_l1_ch4pack, __KAFf90_l1_dtpack},
          {__KAFf90_l2_chpack, __KAFf90_l2_ch2pack, __KAFf90_l2_ch4pack, __KAFf90_l2_dtpack},
          {__KAFf90_l4_chpack, __KAFf90_l4_ch2pack, __KAFf90_l4_ch4pack, __KAFf90_l4_dtpack}};
      if (!chr)
        nums[w](&nr, es, c.r, x.data(), c.r, dm.data(), vp);
      else
        chrs[w][c.form - 1](&cr, c.r, x.data(), c.r, dm.data(), vp);
      break;
    }
    case 3:
      switch (c.form) {
        case numeric:
          __KAFf90_spread(&nr, es, c.r, x.data(), c.dim, c.ncopies);
          break;
        case ch1:
          __KAFf90_chspread(&cr, c.r, x.data(), c.dim, c.ncopies);
          break;
        case ch2:
          __KAFf90_ch2spread(&cr, c.r, x.data(), c.dim, c.ncopies);
          break;
        case ch4:
          __KAFf90_ch4spread(&cr, c.r, x.data(), c.dim, c.ncopies);
          break;
        case dt:
          __KAFf90_dtspread(&cr, c.r, x.data(), c.dim, c.ncopies);
          break;
      }
      break;
    case 4:
      switch (c.form) {
        case numeric:
          __KAFf90_transpose(&nr, es, x.data());
          break;
        case ch1:
          __KAFf90_chtranspose(&cr, x.data());
          break;
        case ch2:
          __KAFf90_ch2transpose(&cr, x.data());
          break;
        case ch4:
          __KAFf90_ch4transpose(&cr, x.data());
          break;
        case dt:
          __KAFf90_dttranspose(&cr, x.data());
          break;
      }
      break;
    case 5:
    case 6: {
      std::vector<int64_t> others = ext;
      others.erase(others.begin() + (c.dim - 1));
      desc ds =
          c.shiftkind ? contiguous(c.shifts.data(), others, 8) : make_desc(c.shifts.data(), {}, {});
      const int32_t srank = c.shiftkind ? c.r - 1 : 0;
      std::vector<char> b(c.bvals.size() * es + 1);
      for (size_t i = 0; i < c.bvals.size(); ++i) fill_element(b.data() + i * es, es, c.bvals[i]);
      keep.push_back(b);
      desc db = c.bkind == 2 ? contiguous(keep.back().data(), others, es, chr, c.len)
                             : make_desc(keep.back().data(), {}, {}, {}, chr, c.len);
      const int32_t brank = c.bkind == 2 ? c.r - 1 : 0;
      const int64_t *bp = c.bkind ? db.data() : nullptr;
      if (c.op == 5) {
        switch (c.form) {
          case numeric:
            __KAFf90_cshift(&nr, es, c.r, x.data(), srank, ds.data(), c.dim);
            break;
          case ch1:
            __KAFf90_chcshift(&cr, c.r, x.data(), srank, ds.data(), c.dim);
            break;
          case ch2:
            __KAFf90_ch2cshift(&cr, c.r, x.data(), srank, ds.data(), c.dim);
            break;
          case ch4:
            __KAFf90_ch4cshift(&cr, c.r, x.data(), srank, ds.data(), c.dim);
            break;
          case dt:
            __KAFf90_dtcshift(&cr, c.r, x.data(), srank, ds.data(), c.dim);
            break;
        }
      } else {
        switch (c.form) {
          case numeric:
            __KAFf90_eoshift(&nr, es, c.r, x.data(), srank, ds.data(), brank, bp, c.dim);
            break;
          case ch1:
            __KAFf90_cheoshift(&cr, c.r, x.data(), srank, ds.data(), brank, bp, c.dim);
            break;
          case ch2:
            __KAFf90_ch2eoshift(&cr, c.r, x.data(), srank, ds.data(), brank, bp, c.dim);
            break;
          case ch4:
            __KAFf90_ch4eoshift(&cr, c.r, x.data(), srank, ds.data(), brank, bp, c.dim);
            break;
          case dt:
            __KAFf90_dteoshift(&cr, c.r, x.data(), srank, ds.data(), brank, bp, c.dim);
            break;
        }
      }
      break;
    }
  }
  finish();
  return res;
}

// The further SPREAD entries on a SPREAD case, each as the bytes of its
// result in array element order: the assignment form into a section with
// random steps, the plain-address forms on the section copied to contiguous
// storage (a SOURCE of the same value), the scalar forms when SOURCE is one.
std::vector<std::pair<std::string, std::string>> spread_variants(const fcase &c,
                                                                 const oracle_result &w,
                                                                 std::mt19937_64 &rng) {
  std::vector<std::pair<std::string, std::string>> out;
  std::vector<std::vector<char>> keep;
  const int64_t es = c.es;
  const desc x = source_section(c, keep, true);
  const std::vector<int64_t> ext = section_extents(c);
  const int r = c.r + 1;
  std::vector<int64_t> dext(w.extent.begin(), w.extent.end()), dstride(r);
  dext.resize(r, 1);
  int64_t dp = es, doff = 0;
  for (int k = 0; k < r; ++k) {
    const int64_t step = rng() % 3 == 0 ? -1 : 1 + static_cast<int64_t>(rng() % 2);
    const int64_t a = step < 0 ? -step : step;
    const int64_t pext = std::max<int64_t>(dext[k], 1) * a;
    dstride[k] = step * dp;
    if (step < 0) doff += (pext - 1) * dp;
    dp *= pext;
  }
  std::vector<char> dparent(static_cast<size_t>(dp) + 1);
  const desc dd = make_desc(dparent.data() + doff, dext, dstride);
  __KAFf90_aspread(dd.data(), es, c.r, x.data(), c.dim, c.ncopies);
  out.emplace_back("aspread", sequence_bytes(dd, es));

  const std::string flat = sequence_bytes(x, es);
  int64_t n = es;
  for (int64_t e : w.extent) n *= e;
  kaf_array_result pr;
  __KAFf90_spread_pa(&pr, es, c.r, flat.data(), ext.data(), c.dim, c.ncopies);
  out.emplace_back("spread_pa", take_result(pr, es));
  std::string into(static_cast<size_t>(n), '\0');
  __KAFf90_spread_pau(into.data(), es, c.r, flat.data(), ext.data(), c.dim, c.ncopies);
  out.emplace_back("spread_pau", into);
  if (c.r == 0) {
    __KAFf90_spread_ps(&pr, es, x.base(), c.dim, c.ncopies);
    out.emplace_back("spread_ps", take_result(pr, es));
    std::string s(static_cast<size_t>(n), '\0');
    __KAFf90_spread_psu(s.data(), es, x.base(), c.dim, c.ncopies);
    out.emplace_back("spread_psu", s);
  }
  return out;
}

}  // namespace

TEST(AgainstGfortran, RandomCasesOfEveryIntrinsicAndForm) {
  std::mt19937_64 rng(20261122);
  std::vector<fcase> cases;
  for (int i = 0; i < 3000; ++i) cases.push_back(random_case(rng));
  const auto want = run_oracle(cases);
  ASSERT_EQ(want.size(), cases.size());
  static const char *const names[] = {"",          "RESHAPE", "PACK",   "SPREAD",
                                      "TRANSPOSE", "CSHIFT",  "EOSHIFT"};
  int ops_seen[7] = {}, scalar_spreads = 0;
  for (size_t i = 0; i < cases.size(); ++i) {
    const fcase &c = cases[i];
    std::vector<std::vector<char>> keep;
    const any_result r = run_ours(c, rng, keep);
    const oracle_result &w = want[i];
    int64_t n = c.es;
    for (int k = 0; k < 7; ++k) {
      const int64_t e = k < w.rank ? w.extent[k] : 1;
      EXPECT_EQ(r.extent[k], e) << names[c.op] << " case " << i << " dim " << k + 1;
      n *= r.extent[k];
    }
    if (c.form != numeric) {
      EXPECT_EQ(r.length, c.len) << names[c.op] << " case " << i;
    }
    std::string expect;
    for (uint64_t id : w.ids) expect += id == 0 ? default_element(c) : ids_bytes({id}, c.es);
    ASSERT_EQ(bytes_of(r.base, n), expect)
        << names[c.op] << " case " << i << ":\n"
        << oracle_input(c) << "form " << c.form << " es " << c.es;
    __KAFf90_oDeAlloc(r.base, static_cast<size_t>(n));
    ++ops_seen[c.op];
    if (c.op != 3) continue;
    scalar_spreads += c.r == 0;
    for (const auto &[entry, bytes] : spread_variants(c, w, rng))
      EXPECT_EQ(bytes, expect) << entry << " case " << i << ":\n" << oracle_input(c);
  }
  for (int op = 1; op <= 6; ++op) EXPECT_GT(ops_seen[op], 100) << names[op];
  EXPECT_GT(scalar_spreads, 20);
}
