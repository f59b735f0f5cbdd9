// Namelist transfer: reading the group record (element sizes, names,
// dimensions of array objects and components).
#include "engine/nml.h"

namespace nml {

std::int64_t element_size(std::int32_t type_code, std::int64_t char_len, const kaf_nml_dtype *dtype,
                          const char *name) {
  if (type_code == KAF_TYPE_DERIVED) {
    if (!dtype) __KAFf90_crash("namelist object %s of derived type has no type record", name);
    return dtype->size;
  }
  const std::int64_t size = intrinsic_size(type_code);
  if (size == 0) __KAFf90_crash("namelist object %s has unknown type code %d", name, static_cast<int>(type_code));
  return is_character(type_code) ? size * char_len : size;
}

bool same_name(const char *input, int n, const char *declared) {
  for (int i = 0; i < n; ++i)
    if (declared[i] == 0 || upper(input[i]) != upper(declared[i])) return false;
  return declared[n] == 0;
}

char *object_dims(const kaf_nml_object &o, dims *d, std::int64_t *char_len) {
  // CHARACTER kinds and derived types have the element length word.
  const bool length_word = is_character(o.type_code) || o.type_code == KAF_TYPE_DERIVED;
  const std::int64_t *desc = o.desc;
  if (o.rank < 1 || o.rank > kMaxRank || !desc)
    __KAFf90_crash("namelist object %s has rank %d and no descriptor", o.name, static_cast<int>(o.rank));
  *char_len = length_word && is_character(o.type_code) ? desc[1] : o.char_len;
  const std::int64_t *t = desc + (length_word ? 3 : 2);
  d->rank = o.rank;
  for (int k = 0; k < o.rank; ++k) {
    d->extent[k] = t[3 * k] < 0 ? 0 : t[3 * k];
    d->stride[k] = t[3 * k + 1];
    d->lower[k] = t[3 * k + 2];
  }
  return reinterpret_cast<char *>(desc[0]);
}

void component_dims(const kaf_nml_component &k, std::int64_t elsize, dims *d) {
  if (k.rank < 0 || k.rank > kMaxRank || (k.rank > 0 && !k.bounds))
    __KAFf90_crash("namelist component %s has rank %d and no bounds", k.name, static_cast<int>(k.rank));
  d->rank = k.rank;
  std::int64_t stride = elsize;
  for (int j = 0; j < k.rank; ++j) {
    d->lower[j] = k.bounds[2 * j];
    d->extent[j] = k.bounds[2 * j + 1] < 0 ? 0 : k.bounds[2 * j + 1];
    d->stride[j] = stride;
    stride *= d->extent[j];
  }
}

}  // namespace nml
