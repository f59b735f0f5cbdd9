// Namelist tests: group records built from C++ objects, and whole namelist
// statements on internal files and units.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kafrts.h"

namespace nmltest {

// A group under construction; the records live as long as the builder.
struct group_builder {
  explicit group_builder(const char *n) : name(n) {}
  std::string name;
  std::vector<kaf_nml_object> objects;
  kaf_nml_group group{};

  group_builder &scalar(const char *n, std::int32_t type, void *address, std::int64_t char_len = 0,
                        const kaf_nml_dtype *dtype = nullptr) {
    objects.push_back(kaf_nml_object{n, type, 0, address, nullptr, char_len, dtype});
    return *this;
  }
  group_builder &array(const char *n, std::int32_t type, std::int32_t rank, const std::int64_t *desc,
                       const kaf_nml_dtype *dtype = nullptr) {
    objects.push_back(kaf_nml_object{n, type, rank, nullptr, desc, 0, dtype});
    return *this;
  }
  const kaf_nml_group *get() {
    group = kaf_nml_group{name.c_str(), static_cast<std::int32_t>(objects.size()), 0, objects.data()};
    return &group;
  }
};

// An array descriptor of a contiguous array with the given bounds (numeric
// form, or with the element length word when length_word is set).
struct descriptor {
  std::vector<std::int64_t> words;
  descriptor(const void *base, std::int64_t elsize, std::vector<std::pair<std::int64_t, std::int64_t>> bounds,
             bool length_word = false, std::int64_t length = 0) {
    words.push_back(reinterpret_cast<std::int64_t>(base));
    if (length_word) words.push_back(length);
    words.push_back(0);
    std::int64_t stride = elsize, offset = 0;
    for (auto [lo, hi] : bounds) {
      const std::int64_t extent = hi >= lo ? hi - lo + 1 : 0;
      words.push_back(extent);
      words.push_back(stride);
      words.push_back(lo);
      offset -= lo * stride;
      stride *= extent;
    }
    words[length_word ? 2 : 1] = offset;
  }
  const std::int64_t *get() const { return words.data(); }
};

// The outcome of a statement with IOSTAT= and IOMSG=.
struct outcome {
  std::int32_t status = 0;
  std::int32_t iostat = 0;
  std::string iomsg;  // trailing blanks removed
};

// NAMELIST WRITE into an internal file of nrec records of width characters;
// returns the records with trailing blanks removed, one per line.
std::string write_internal(const kaf_nml_group *g, std::int64_t width = 72, std::int64_t nrec = 64,
                           outcome *out = nullptr);
// NAMELIST READ from an internal file whose records are the lines of text.
// src_file/src_line go to the namelist call (null: the forwarder is used).
outcome read_internal(const kaf_nml_group *g, const std::string &text, const char *src_file = nullptr,
                      std::int32_t src_line = 0);

}  // namespace nmltest
