// Test support for the array intrinsics: descriptors built over test-owned
// storage, reading any descriptor in array element order by its subscripts
// (the layout's definition, independent of the library's walks), and running
// fatal paths in a child.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kafrts.h"
#include "support/child.h"

namespace arraytest {

// A descriptor: numeric form (no length word) or character/derived-type form.
struct desc {
  std::vector<int64_t> w;
  bool with_length = false;
  int rank = 0;
  const int64_t *data() const { return w.data(); }

  char *base() const { return reinterpret_cast<char *>(w[0]); }
  int64_t extent(int k) const { return w[(with_length ? 3 : 2) + 3 * k]; }
  int64_t stride(int k) const { return w[(with_length ? 3 : 2) + 3 * k + 1]; }
  int64_t lbound(int k) const { return w[(with_length ? 3 : 2) + 3 * k + 2]; }
};

// base: address of the element whose subscripts are the lower bounds.
inline desc make_desc(const void *base, const std::vector<int64_t> &extent,
                      const std::vector<int64_t> &stride, std::vector<int64_t> lbound = {},
                      bool with_length = false, int64_t length = 0) {
  desc d;
  d.with_length = with_length;
  d.rank = static_cast<int>(extent.size());
  if (lbound.empty()) lbound.assign(extent.size(), 1);
  d.w.push_back(reinterpret_cast<int64_t>(base));
  if (with_length) d.w.push_back(length);
  int64_t offset = 0;
  for (size_t k = 0; k < extent.size(); ++k) offset -= lbound[k] * stride[k];
  d.w.push_back(offset);
  for (size_t k = 0; k < extent.size(); ++k) {
    d.w.push_back(extent[k]);
    d.w.push_back(stride[k]);
    d.w.push_back(lbound[k]);
  }
  return d;
}

// A contiguous column-major descriptor over storage of elsize-byte elements.
inline desc contiguous(const void *base, const std::vector<int64_t> &extent, int64_t elsize,
                       bool with_length = false, int64_t length = 0) {
  std::vector<int64_t> stride;
  int64_t s = elsize;
  for (int64_t e : extent) {
    stride.push_back(s);
    s *= e;
  }
  return make_desc(base, extent, stride, {}, with_length, length);
}

// A rank-1 descriptor of int64_t values (SHAPE, ORDER, SHIFT vectors).
inline desc int_vector(const std::vector<int64_t> &v) {
  return make_desc(v.data(), {static_cast<int64_t>(v.size())}, {8});
}

inline int64_t count_of(const std::vector<int64_t> &extent) {
  int64_t n = 1;
  for (int64_t e : extent) n *= e;
  return n;
}

// The addresses of d's elements in array element order, each computed from
// its subscripts as base + sum (i_k - lbound_k) * stride_k.
inline std::vector<const char *> element_addresses(const desc &d) {
  std::vector<const char *> out;
  std::vector<int64_t> ext, sub;
  for (int k = 0; k < d.rank; ++k) {
    if (d.extent(k) <= 0) return out;
    ext.push_back(d.extent(k));
  }
  sub.assign(d.rank, 0);
  for (;;) {
    int64_t off = 0;
    for (int k = 0; k < d.rank; ++k) off += sub[k] * d.stride(k);
    out.push_back(d.base() + off);
    int k = 0;
    for (; k < d.rank; ++k) {
      if (++sub[k] < ext[k]) break;
      sub[k] = 0;
    }
    if (k == d.rank) return out;
  }
}

// The bytes of d's elements of elsize bytes, concatenated in element order.
inline std::string sequence_bytes(const desc &d, int64_t elsize) {
  std::string s;
  for (const char *p : element_addresses(d)) s.append(p, static_cast<size_t>(elsize));
  return s;
}

inline std::string bytes_of(const void *p, int64_t n) {
  return std::string(static_cast<const char *>(p), static_cast<size_t>(n));
}

// A result block viewed as bytes; freed with the size it was taken with.
inline std::string take_result(const kaf_array_result &r, int64_t elsize) {
  int64_t n = elsize;
  for (int64_t e : r.extent) n *= e;
  std::string s = bytes_of(r.base, n);
  __KAFf90_oDeAlloc(r.base, static_cast<size_t>(n));
  return s;
}
inline std::string take_result(const kaf_char_array_result &r, int64_t elsize) {
  int64_t n = elsize;
  for (int64_t e : r.extent) n *= e;
  std::string s = bytes_of(r.base, n);
  __KAFf90_oDeAlloc(r.base, static_cast<size_t>(n));
  return s;
}

// Distinct element contents for element number id: every byte depends on the
// id, so a misplaced element or a torn copy shows.
inline void fill_element(char *p, int64_t elsize, uint64_t id) {
  uint64_t x = id * 0x9E3779B97F4A7C15ull + 0x632BE59BD9B4E019ull;
  for (int64_t i = 0; i < elsize; ++i) {
    if (i % 8 == 0) x ^= x >> 29, x *= 0xBF58476D1CE4E5B9ull;
    p[i] = static_cast<char>(i < 8 ? (id >> (8 * i)) : (x >> (8 * (i % 8))));
  }
}

inline std::vector<char> id_array(int64_t count, int64_t elsize, uint64_t first_id) {
  std::vector<char> v(static_cast<size_t>(count * elsize + 1));
  for (int64_t i = 0; i < count; ++i) fill_element(v.data() + i * elsize, elsize, first_id + i);
  return v;
}

// The bytes of an element sequence given by ids.
inline std::string ids_bytes(const std::vector<uint64_t> &ids, int64_t elsize) {
  std::string s(static_cast<size_t>(elsize) * ids.size(), '\0');
  for (size_t i = 0; i < ids.size(); ++i) fill_element(&s[i * elsize], elsize, ids[i]);
  return s;
}

// Runs body in a child; expects an abort whose standard error is exactly the
// fatal report of want. Returns the standard error text.
template <typename F>
std::string expect_fatal(F body, const std::string &want) {
  kaftest::child_result r = kaftest::run_in_child([&] { body(); });
  EXPECT_TRUE(r.signaled) << "exited normally, stderr: " << r.err;
  EXPECT_EQ(r.signal, SIGABRT);
  EXPECT_EQ(r.err, "Runtime Error: " + want + "\nProgram terminated by fatal error\n");
  return r.err;
}

}  // namespace arraytest
