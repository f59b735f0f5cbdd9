// Namelist transfer: what the reader (nml_read.cpp) and the writer
// (nml_write.cpp) share about the group record of include/kafrts/namelist.h.
#pragma once

#include <cstdint>

#include "format/context.h"

namespace nml {

// The longest name the language allows (group, object and component names).
inline constexpr int kMaxName = 63;
inline constexpr int kMaxRank = 7;

static_assert(sizeof(kaf_nml_component) == 48);
static_assert(sizeof(kaf_nml_dtype) == 32);
static_assert(sizeof(kaf_nml_object) == 48);
static_assert(sizeof(kaf_nml_group) == 24);

inline bool is_character(std::int32_t t) {
  return t == KAF_TYPE_CH || t == KAF_TYPE_CH2J || t == KAF_TYPE_CH2U || t == KAF_TYPE_CH4;
}

// Bytes of one character of a CHARACTER kind.
inline std::int64_t char_width(std::int32_t t) { return t == KAF_TYPE_CH ? 1 : t == KAF_TYPE_CH4 ? 4 : 2; }

// Bytes of one element of an intrinsic type (CHARACTER: of one character);
// 0 for a code that names no intrinsic type.
inline std::int64_t intrinsic_size(std::int32_t t) {
  switch (t) {
  case KAF_TYPE_I1: case KAF_TYPE_L1: case KAF_TYPE_CH: return 1;
  case KAF_TYPE_I2: case KAF_TYPE_L2: case KAF_TYPE_H: case KAF_TYPE_CH2J: case KAF_TYPE_CH2U: return 2;
  case KAF_TYPE_I: case KAF_TYPE_L: case KAF_TYPE_R: case KAF_TYPE_HC: case KAF_TYPE_CH4: return 4;
  case KAF_TYPE_I4: case KAF_TYPE_L4: case KAF_TYPE_D: case KAF_TYPE_C: return 8;
  case KAF_TYPE_DC: case KAF_TYPE_DD: return 16;
  case KAF_TYPE_DDC: return 32;
  default: return 0;
  }
}

// Bytes of one element of the given type; a code that names no type is a
// fault of the compiler that built the group record.
std::int64_t element_size(std::int32_t type_code, std::int64_t char_len, const kaf_nml_dtype *dtype,
                          const char *name);

// Upper-case ASCII letter.
inline char upper(char ch) { return ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 32) : ch; }

// Compares a name of the input (n characters) with a NUL-terminated name
// of the group record, without regard to case.
bool same_name(const char *input, int n, const char *declared);

// A part of a designator with pending dimensions: an array object or an
// array component, before subscripts select from it.
struct dims {
  int rank = 0;
  std::int64_t lower[kMaxRank] = {};
  std::int64_t extent[kMaxRank] = {};
  std::int64_t stride[kMaxRank] = {};  // bytes
};

// Calls f(element address, subscripts) for every element of an array part
// in array element order (an odometer over the subscripts); stops at the
// first non-zero status of f, or after an element once done() is true.
template <typename F, typename Done>
kaf_status walk_elements(char *base, const dims &d, F &&f, Done &&done) {
  std::int64_t idx[kMaxRank] = {};
  for (int k = 0; k < d.rank; ++k)
    if (d.extent[k] <= 0) return 0;
  char *p = base;
  for (;;) {
    if (kaf_status s = f(p, idx)) return s;
    if (done()) return 0;
    int k = 0;
    for (; k < d.rank; ++k) {
      if (++idx[k] < d.extent[k]) {
        p += d.stride[k];
        break;
      }
      p -= d.stride[k] * (d.extent[k] - 1);
      idx[k] = 0;
    }
    if (k == d.rank) return 0;
  }
}

// The dimensions of an array object from its descriptor; the address of its
// first element and (CHARACTER kinds) its length word.
char *object_dims(const kaf_nml_object &o, dims *d, std::int64_t *char_len);
// The dimensions of an array component (contiguous, element size elsize).
void component_dims(const kaf_nml_component &k, std::int64_t elsize, dims *d);

}  // namespace nml
