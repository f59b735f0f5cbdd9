// libFuzzer target: RESHAPE, PACK, SPREAD, TRANSPOSE, CSHIFT and EOSHIFT on
// operands whose shapes, steps (negative and zero-extent included), element
// sizes, masks and shifts come from the input. Every operand lives in a block
// of exactly its size, so the sanitizers see any read or write outside it;
// results are checked against the definition of each intrinsic.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kafrts.h"

namespace {

struct input {
  const uint8_t *p;
  size_t n;
  unsigned next(unsigned mod) {
    if (n == 0) return 0;
    --n;
    return *p++ % mod;
  }
};

// An operand: a parent block of exactly count x es bytes whose element k holds
// the id first + k in its first bytes, and a section of it.
struct operand {
  std::vector<char> block;
  std::vector<int64_t> desc;
  std::vector<int64_t> desc_numeric;  // the same section without a length word
  std::vector<int64_t> ext, stride;
  char *base = nullptr;
  int64_t es = 0;
  uint64_t first = 0;
};

void put_id(char *p, int64_t es, uint64_t id) {
  for (int64_t i = 0; i < es; ++i) p[i] = static_cast<char>(id >> (8 * (i % 8)));
}

bool same_id(const char *p, int64_t es, uint64_t id) {
  for (int64_t i = 0; i < es; ++i)
    if (p[i] != static_cast<char>(id >> (8 * (i % 8)))) return false;
  return true;
}

operand make_operand(input &in, int rank, int64_t es, uint64_t first, bool with_length,
                     int64_t len) {
  operand o;
  o.es = es;
  o.first = first;
  int64_t pcount = 1, offset = 0;
  std::vector<int64_t> pext(rank), step(rank);
  for (int k = 0; k < rank; ++k) {
    o.ext.push_back(in.next(5));
    step[k] = static_cast<int64_t>(in.next(5)) - 2;
    if (step[k] == 0) step[k] = 1;
    const int64_t a = step[k] < 0 ? -step[k] : step[k];
    pext[k] = o.ext[k] == 0 ? 1 : (o.ext[k] - 1) * a + 1;
    pcount *= pext[k];
  }
  o.block.resize(static_cast<size_t>(pcount * es));
  for (int64_t i = 0; i < pcount; ++i) put_id(o.block.data() + i * es, es, first + i);
  int64_t pstride = es;
  for (int k = 0; k < rank; ++k) {
    o.stride.push_back(step[k] * pstride);
    if (step[k] < 0) offset += (pext[k] - 1) * pstride;
    pstride *= pext[k];
  }
  o.base = o.block.data() + offset;
  o.desc.push_back(reinterpret_cast<int64_t>(o.base));
  if (with_length) o.desc.push_back(len);
  o.desc.push_back(0);
  o.desc_numeric = {o.desc[0], 0};
  for (int k = 0; k < rank; ++k) {
    o.desc.insert(o.desc.end(), {o.ext[k], o.stride[k], 1});
    o.desc_numeric.insert(o.desc_numeric.end(), {o.ext[k], o.stride[k], 1});
  }
  return o;
}

// Ids of o's elements in array element order.
std::vector<uint64_t> ids_of(const operand &o) {
  std::vector<uint64_t> ids;
  const int rank = static_cast<int>(o.ext.size());
  for (int64_t e : o.ext)
    if (e == 0) return ids;
  std::vector<int64_t> sub(rank, 0);
  for (;;) {
    int64_t off = 0;
    for (int k = 0; k < rank; ++k) off += sub[k] * o.stride[k];
    ids.push_back(o.first + (o.base + off - o.block.data()) / o.es);
    int k = 0;
    for (; k < rank; ++k) {
      if (++sub[k] < o.ext[k]) break;
      sub[k] = 0;
    }
    if (k == rank) return ids;
  }
}

int64_t linear(const std::vector<int64_t> &extent, const std::vector<int64_t> &sub) {
  int64_t pos = 0, mult = 1;
  for (size_t k = 0; k < extent.size(); ++k) {
    pos += sub[k] * mult;
    mult *= extent[k];
  }
  return pos;
}

// Ids of a result of the given extents in array element order, each given by
// id_at(0-based subscripts).
template <typename F>
std::vector<uint64_t> by_subscripts(const std::vector<int64_t> &extent, F id_at) {
  std::vector<uint64_t> out;
  for (int64_t e : extent)
    if (e == 0) return out;
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

void check(bool ok) {
  if (!ok) __builtin_trap();
}

void check_result(const void *base, const int64_t *extent, int64_t es,
                  const std::vector<uint64_t> &want) {
  int64_t n = 1;
  for (int k = 0; k < 7; ++k) n *= extent[k];
  check(n == static_cast<int64_t>(want.size()));
  for (int64_t i = 0; i < n; ++i)
    check(same_id(static_cast<const char *>(base) + i * es, es, want[static_cast<size_t>(i)]));
  __KAFf90_oDeAlloc(const_cast<void *>(base), static_cast<size_t>(n * es));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  input in{data, size};
  static constexpr int64_t sizes[] = {1, 2, 3, 4, 8, 12, 16, 24};
  const int op = static_cast<int>(in.next(6));
  const int64_t es = sizes[in.next(8)];
  const bool chr = in.next(2);
  const int rank = op == 3 ? 2 : 1 + static_cast<int>(in.next(3));
  operand a = make_operand(in, rank, es, 1, chr, es);
  const std::vector<uint64_t> seq = ids_of(a);
  kaf_char_array_result cr;
  kaf_array_result nr;
  const auto run_result = [&](const std::vector<uint64_t> &want) {
    if (chr) {
      check(cr.length == es);
      check_result(cr.base, cr.extent, es, want);
    } else {
      check_result(nr.base, nr.extent, es, want);
    }
  };

  switch (op) {
    case 0: {  // RESHAPE with ORDER and, when needed, PAD
      const int n = 1 + static_cast<int>(in.next(3));
      std::vector<int64_t> shape(n), order(n);
      int64_t total = 1;
      for (int k = 0; k < n; ++k) {
        shape[k] = in.next(5);
        total *= shape[k];
        order[k] = k + 1;
      }
      for (int k = n - 1; k > 0; --k) std::swap(order[k], order[in.next(k + 1)]);
      operand pad = make_operand(in, 1, es, 1000, chr, es);
      if (pad.ext[0] == 0 && total > static_cast<int64_t>(seq.size())) return 0;
      int64_t dshape[5] = {reinterpret_cast<int64_t>(shape.data()), 0, n, 8, 1};
      int64_t dorder[5] = {reinterpret_cast<int64_t>(order.data()), 0, n, 8, 1};
      if (chr)
        __KAFf90_dtreshape(&cr, rank, a.desc.data(), dshape, 1, pad.desc.data(), dorder);
      else
        __KAFf90_reshape(&nr, es, rank, a.desc.data(), dshape, 1, pad.desc.data(), dorder);
      const std::vector<uint64_t> pids = ids_of(pad);
      std::vector<uint64_t> want(static_cast<size_t>(total));
      for (int64_t k = 0; k < total; ++k) {
        int64_t rest = k, lin = 0;
        for (int j = 0; j < n; ++j) {
          const int64_t d = order[j] - 1, digit = rest % shape[d];
          rest /= shape[d];
          int64_t mult = 1;
          for (int i = 0; i < d; ++i) mult *= shape[i];
          lin += digit * mult;
        }
        const size_t ks = static_cast<size_t>(k);
        want[static_cast<size_t>(lin)] =
            ks < seq.size() ? seq[ks] : pids[(ks - seq.size()) % pids.size()];
      }
      run_result(want);
      break;
    }
    case 1: {  // PACK with a 1-byte mask and a VECTOR of at least the count
      std::vector<uint8_t> mask(seq.size() + 1);
      std::vector<uint64_t> want;
      for (size_t i = 0; i < seq.size(); ++i) {
        mask[i] = static_cast<uint8_t>(in.next(2) ? 1 + in.next(255) : 0);
        if (mask[i]) want.push_back(seq[i]);
      }
      std::vector<int64_t> dmask = {reinterpret_cast<int64_t>(mask.data()), 0};
      int64_t ms = 1;
      for (int k = 0; k < rank; ++k) {
        dmask.insert(dmask.end(), {a.ext[k], ms, 1});
        ms *= a.ext[k];
      }
      operand v = make_operand(in, 1, es, 5000, chr, es);
      const bool use_v = static_cast<size_t>(v.ext[0]) >= want.size() && in.next(2);
      if (use_v) {
        const std::vector<uint64_t> vids = ids_of(v);
        for (size_t i = want.size(); i < vids.size(); ++i) want.push_back(vids[i]);
      }
      if (chr)
        __KAFf90_l1_dtpack(&cr, rank, a.desc.data(), rank, dmask.data(),
                           use_v ? v.desc.data() : nullptr);
      else
        __KAFf90_l1_pack(&nr, es, rank, a.desc.data(), rank, dmask.data(),
                         use_v ? v.desc.data() : nullptr);
      run_result(want);
      break;
    }
    case 2: {  // SPREAD
      if (rank >= 3) return 0;
      const int64_t dim = 1 + in.next(rank + 1);
      // Few copies, or enough for runs past the replication chunk.
      const int64_t nc = in.next(2) ? static_cast<int64_t>(in.next(5)) - 1 : in.next(200) * 11;
      if (chr)
        __KAFf90_dtspread(&cr, rank, a.desc.data(), dim, nc);
      else
        __KAFf90_spread(&nr, es, rank, a.desc.data(), dim, nc);
      std::vector<int64_t> rext = a.ext;
      rext.insert(rext.begin() + (dim - 1), nc < 0 ? 0 : nc);
      const std::vector<uint64_t> want = by_subscripts(rext, [&](std::vector<int64_t> sub) {
        sub.erase(sub.begin() + (dim - 1));
        return seq[static_cast<size_t>(linear(a.ext, sub))];
      });
      run_result(want);
      // The assignment form into a block of exactly the result's size, in
      // array element order or reversed in every dimension.
      std::vector<char> dest(want.size() * static_cast<size_t>(es));
      const bool reversed = in.next(2);
      std::vector<int64_t> ddesc = {0, 0};
      int64_t ds = es, last = 0;
      for (int64_t e : rext) {
        ddesc.insert(ddesc.end(), {e, reversed ? -ds : ds, 1});
        last += (e - 1) * ds;
        ds *= e;
      }
      ddesc[0] = reinterpret_cast<int64_t>(dest.data() + (reversed && !want.empty() ? last : 0));
      __KAFf90_aspread(ddesc.data(), es, rank, a.desc_numeric.data(), dim, nc);
      for (size_t i = 0; i < want.size(); ++i) {
        const size_t at = reversed ? want.size() - 1 - i : i;
        check(same_id(dest.data() + at * static_cast<size_t>(es), es, want[i]));
      }
      break;
    }
    case 3: {  // TRANSPOSE
      if (chr)
        __KAFf90_dttranspose(&cr, a.desc.data());
      else
        __KAFf90_transpose(&nr, es, a.desc.data());
      run_result(by_subscripts({a.ext[1], a.ext[0]}, [&](const std::vector<int64_t> &sub) {
        return seq[static_cast<size_t>(linear(a.ext, {sub[1], sub[0]}))];
      }));
      break;
    }
    case 4:
    case 5: {  // CSHIFT and EOSHIFT (scalar BOUNDARY) with array-valued SHIFT
      const int64_t dim = 1 + in.next(rank);
      std::vector<int64_t> others = a.ext;
      others.erase(others.begin() + (dim - 1));
      int64_t lines = 1;
      for (int64_t e : others) lines *= e;
      std::vector<int64_t> shifts(static_cast<size_t>(lines) + 1);
      for (auto &v : shifts) v = static_cast<int64_t>(in.next(255)) - 127;
      std::vector<int64_t> dshift = {reinterpret_cast<int64_t>(shifts.data()), 0};
      int64_t ss = 8;
      for (int64_t e : others) {
        dshift.insert(dshift.end(), {e, ss, 1});
        ss *= e;
      }
      std::vector<char> boundary(static_cast<size_t>(es));
      put_id(boundary.data(), es, 9999);
      std::vector<int64_t> dbound = {reinterpret_cast<int64_t>(boundary.data())};
      if (chr) dbound.push_back(es);
      dbound.push_back(0);
      const int32_t srank = rank - 1;
      if (op == 4) {
        if (chr)
          __KAFf90_dtcshift(&cr, rank, a.desc.data(), srank, dshift.data(), dim);
        else
          __KAFf90_cshift(&nr, es, rank, a.desc.data(), srank, dshift.data(), dim);
      } else {
        if (chr)
          __KAFf90_dteoshift(&cr, rank, a.desc.data(), srank, dshift.data(), 0, dbound.data(), dim);
        else
          __KAFf90_eoshift(&nr, es, rank, a.desc.data(), srank, dshift.data(), 0, dbound.data(),
                           dim);
      }
      const int64_t n = a.ext[dim - 1];
      run_result(by_subscripts(a.ext, [&](const std::vector<int64_t> &sub) -> uint64_t {
        std::vector<int64_t> osub = sub;
        osub.erase(osub.begin() + (dim - 1));
        const int64_t s = shifts[static_cast<size_t>(linear(others, osub))];
        std::vector<int64_t> from = sub;
        const int64_t i = sub[dim - 1] + s;
        if (op == 4) {
          from[dim - 1] = (i % n + n) % n;
        } else {
          if (i < 0 || i >= n) return 9999;
          from[dim - 1] = i;
        }
        return seq[static_cast<size_t>(linear(a.ext, from))];
      }));
      break;
    }
    default:
      break;
  }
  return 0;
}
