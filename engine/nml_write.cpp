// Namelist output: "&GROUP", one record per object (or per leaf component of
// a derived-type object) holding "NAME=" and its values as list-directed
// output writes them, and a closing "/". Every record begins with a blank.
//
//  &GRP
//  I= 5
//  ARR= 1 2 3
//  P%X= 1.5000000
//  PA(2)%S= "xyz"
//  /
//
// Character values are always delimited (DELIM= of the connection, or the
// quotation mark when it is NONE) so that what is written reads back.
#include <cstring>

#include "engine/nml.h"

namespace {

using nml::dims;

// One step of the name written before "=": a name and, for an element of a
// derived-type array, its subscripts.
struct segment {
  const char *name;
  int nsub;
  std::int64_t sub[nml::kMaxRank];
};

constexpr int kMaxDepth = 64;

struct writer {
  kaf_ioctx &c;
  segment path[kMaxDepth];
  int depth = 0;
};

kaf_status put(kaf_ioctx &c, char ch) { return put_character(c, static_cast<unsigned char>(ch)); }

kaf_status put_upper(kaf_ioctx &c, const char *s) {
  for (; *s; ++s)
    if (kaf_status st = put(c, nml::upper(*s))) return st;
  return 0;
}

// Starts a new record unless the current one is empty.
kaf_status new_record(kaf_ioctx &c) {
  if (c.pos == 0 && c.max_pos <= 0) return 0;
  if (kaf_status s = c.next_record(&c, 0, nullptr, nullptr)) return s;
  c.max_pos = -1;
  return 0;
}

// " PATH=" at the start of a record.
kaf_status put_name(writer &w) {
  kaf_ioctx &c = w.c;
  if (kaf_status s = new_record(c)) return s;
  if (kaf_status s = put(c, ' ')) return s;
  for (int i = 0; i < w.depth; ++i) {
    const segment &g = w.path[i];
    if (i > 0)
      if (kaf_status s = put(c, '%')) return s;
    if (kaf_status s = put_upper(c, g.name)) return s;
    if (g.nsub == 0) continue;
    for (int k = 0; k < g.nsub; ++k) {
      char digits[24];
      const std::size_t n = __KAFf90_putlls(digits, g.sub[k]);
      if (kaf_status s = put(c, k == 0 ? '(' : ',')) return s;
      for (std::size_t j = 0; j < n; ++j)
        if (kaf_status s = put(c, digits[j])) return s;
    }
    if (kaf_status s = put(c, ')')) return s;
  }
  return put(c, '=');
}

template <typename T>
T load(const char *p) {
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// One value of an intrinsic type through the list-directed writers.
kaf_status write_value(kaf_ioctx &c, const char *p, std::int32_t type, std::int64_t char_len) {
  const auto len = static_cast<kaf_charlen>(char_len < 0 ? 0 : char_len);
  std::int32_t s = 0;
  switch (type) {
  case KAF_TYPE_I1: s = __KAFf90_lio_write_i1(&c, load<std::int8_t>(p)); break;
  case KAF_TYPE_I2: s = __KAFf90_lio_write_i2(&c, load<std::int16_t>(p)); break;
  case KAF_TYPE_I: s = __KAFf90_lio_write_i(&c, load<std::int32_t>(p)); break;
  case KAF_TYPE_I4: s = __KAFf90_lio_write_i4(&c, load<std::int64_t>(p)); break;
  case KAF_TYPE_L1: s = __KAFf90_lio_write_l1(&c, load<std::int8_t>(p)); break;
  case KAF_TYPE_L2: s = __KAFf90_lio_write_l2(&c, load<std::int16_t>(p)); break;
  case KAF_TYPE_L: s = __KAFf90_lio_write_l(&c, load<std::int32_t>(p)); break;
  case KAF_TYPE_L4: s = __KAFf90_lio_write_l4(&c, load<std::int64_t>(p)); break;
  case KAF_TYPE_H: s = __KAFf90_lio_write_h(&c, load<std::uint16_t>(p)); break;
  case KAF_TYPE_R: s = __KAFf90_lio_write_r(&c, load<float>(p)); break;
  case KAF_TYPE_D: s = __KAFf90_lio_write_d(&c, load<double>(p)); break;
  case KAF_TYPE_DD: s = __KAFf90_lio_write_dd(&c, load<kaf_dd>(p)); break;
  case KAF_TYPE_HC: s = __KAFf90_lio_write_hc(&c, load<std::uint16_t>(p), load<std::uint16_t>(p + 2)); break;
  case KAF_TYPE_C: s = __KAFf90_lio_write_c(&c, load<float>(p), load<float>(p + 4)); break;
  case KAF_TYPE_DC: s = __KAFf90_lio_write_dc(&c, load<double>(p), load<double>(p + 8)); break;
  case KAF_TYPE_DDC: s = __KAFf90_lio_write_ddc(&c, load<kaf_ddc>(p)); break;
  // The 16- and 32-bit kinds are aligned in any record the compiler lays out.
  case KAF_TYPE_CH: s = __KAFf90_lio_write_ch(&c, p, len); break;
  case KAF_TYPE_CH2J: s = __KAFf90_lio_write_ch2j(&c, reinterpret_cast<const std::uint16_t *>(p), len); break;
  case KAF_TYPE_CH2U: s = __KAFf90_lio_write_ch2u(&c, reinterpret_cast<const std::uint16_t *>(p), len); break;
  case KAF_TYPE_CH4: s = __KAFf90_lio_write_ch4(&c, reinterpret_cast<const std::uint32_t *>(p), len); break;
  default: break;
  }
  return static_cast<kaf_status>(static_cast<std::int64_t>(s));
}

// Calls f(element address, subscripts) for every element of an array part
// in array element order.
template <typename F>
kaf_status for_each_element(char *base, const dims &d, F &&f) {
  return nml::walk_elements(base, d, f, [] { return false; });
}

kaf_status write_part(writer &w, char *base, std::int32_t type, std::int64_t char_len, const kaf_nml_dtype *dtype,
                      const dims &d, const char *name);

// The components of one derived-type element, each as a part of its own.
kaf_status write_components(writer &w, char *element, const kaf_nml_dtype &t) {
  if (w.depth == kMaxDepth) __KAFf90_crash("namelist derived types nested deeper than %d", kMaxDepth);
  for (std::int32_t i = 0; i < t.ncomponents; ++i) {
    const kaf_nml_component &k = t.components[i];
    const std::int64_t elsize = nml::element_size(k.type_code, k.char_len, k.dtype, k.name);
    dims d;
    nml::component_dims(k, elsize, &d);
    w.path[w.depth++] = segment{k.name, 0, {}};
    const kaf_status s = write_part(w, element + k.offset, k.type_code, k.char_len, k.dtype, d, k.name);
    --w.depth;
    if (s) return s;
  }
  return 0;
}

// A part whose name is the path: intrinsic values after one "NAME=", or a
// derived type element by element and component by component.
kaf_status write_part(writer &w, char *base, std::int32_t type, std::int64_t char_len, const kaf_nml_dtype *dtype,
                      const dims &d, const char *name) {
  if (type != KAF_TYPE_DERIVED) {
    nml::element_size(type, char_len, dtype, name);  // rejects an unknown code
    if (kaf_status s = put_name(w)) return s;
    return for_each_element(base, d, [&](char *p, const std::int64_t *) {
      return write_value(w.c, p, type, char_len);
    });
  }
  nml::element_size(type, char_len, dtype, name);
  segment &top = w.path[w.depth - 1];
  return for_each_element(base, d, [&](char *p, const std::int64_t *idx) {
    top.nsub = d.rank;
    for (int k = 0; k < d.rank; ++k) top.sub[k] = d.lower[k] + idx[k];
    return write_components(w, p, *dtype);
  });
}

}  // namespace

extern "C" std::int32_t __KAFf90_do_write_namelist2(kaf_ioctx *ctx, const kaf_nml_group *group,
                                                    const char *src_file, std::int32_t src_line) {
  kaf_ioctx &c = *ctx;
  if (src_file) {
    c.src_file = src_file;
    c.src_line = src_line;
  }
  __KAFf90_init_loutput(ctx);
  if (!c.delimiter) c.delimiter = '"';
  writer w{c, {}, 0};
  auto run = [&]() -> kaf_status {
    if (kaf_status s = new_record(c)) return s;
    if (kaf_status s = put(c, ' ')) return s;
    if (kaf_status s = put(c, '&')) return s;
    if (kaf_status s = put_upper(c, group->name)) return s;
    for (std::int32_t i = 0; i < group->nobjects; ++i) {
      const kaf_nml_object &o = group->objects[i];
      dims d;
      std::int64_t char_len = o.char_len;
      char *base = static_cast<char *>(o.address);
      if (o.rank != 0) base = nml::object_dims(o, &d, &char_len);
      w.path[0] = segment{o.name, 0, {}};
      w.depth = 1;
      if (kaf_status s = write_part(w, base, o.type_code, char_len, o.dtype, d, o.name)) return s;
    }
    if (kaf_status s = new_record(c)) return s;
    if (kaf_status s = put(c, ' ')) return s;
    return put(c, '/');
  };
  return static_cast<std::int32_t>(run());
}
