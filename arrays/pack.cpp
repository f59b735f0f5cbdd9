// PACK(ARRAY, MASK, VECTOR) for every element form and mask width: one pass
// over ARRAY and MASK into a block sized for the worst case, then at most one
// shrink through the allocator.
#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

// Copies every element of a line into the next slot and advances the count
// only for true mask elements: no branch on the mask, so a random mask costs
// no mispredictions. The slot written is never past the element's own index,
// which the worst-case block always holds.
template <int ES, typename M>
int64_t gather_line(char *out, int64_t cnt, const char *a, int64_t as, const char *m, int64_t ms,
                    int64_t n, int64_t es) {
  for (int64_t i = 0; i < n; ++i) {
    M v;
    std::memcpy(&v, m, sizeof(M));
    if constexpr (ES != 0) {
      std::memcpy(out + cnt * ES, a, ES);
      cnt += v != 0;
    } else if (v != 0) {
      std::memcpy(out + cnt * es, a, static_cast<size_t>(es));
      ++cnt;
    }
    a += as;
    m += ms;
  }
  return cnt;
}

using gather_fn = int64_t (*)(char *, int64_t, const char *, int64_t, const char *, int64_t,
                              int64_t, int64_t);

template <typename M>
gather_fn choose_gather(int64_t es) {
  switch (es) {
    case 1:
      return gather_line<1, M>;
    case 2:
      return gather_line<2, M>;
    case 4:
      return gather_line<4, M>;
    case 8:
      return gather_line<8, M>;
    case 16:
      return gather_line<16, M>;
    default:
      return gather_line<0, M>;
  }
}

// Copies n elements of a rank-1 view, from position first on, to dst.
void copy_vector(char *dst, const view &v, int64_t first, int64_t n) {
  copy_dim d{n, v.stride[0], v.elsize};
  copy_strided(dst, v.base + first * v.stride[0], v.elsize, 1, &d);
}

template <typename M>
void pack_worker(const char *file, int32_t line, void *result, elform form, int64_t numeric_elsize,
                 int32_t rank, const int64_t *array, int32_t mask_rank, const int64_t *mask,
                 const int64_t *vector) {
  if (rank < 1) __KAFf90_crash("PACK: ARRAY of rank %d", rank);
  const view av = decode(array, rank, form, numeric_elsize);
  const int64_t es = av.elsize;
  const bool scalar_mask = mask_rank == 0;
  if (!scalar_mask && mask_rank != rank)
    __KAFf90_crash("PACK: MASK of rank %d for ARRAY of rank %d", mask_rank, rank);
  const view mv = decode(mask, scalar_mask ? 0 : rank, elform::numeric, sizeof(M));
  if (!scalar_mask)
    check_conformance(file, line, rank, av.extent, mv.extent, "ARRAY", "PACK", "MASK");

  view vv{};
  int64_t vsize = 0;
  if (vector) {
    vv = decode(vector, 1, form, numeric_elsize);
    vsize = vv.extent[0] < 0 ? 0 : vv.extent[0];
  }
  const int64_t asize = element_count(av.extent, rank);
  // VECTOR's elements are copied with ARRAY's length, so a character VECTOR
  // of another length is refused before anything is read from it.
  if (vector && has_length_word(form) && vv.length != av.length)
    __KAFf90_rterr(file, line, 163, "ARRAY", "PACK", av.length, "VECTOR", vv.length);

  if (asize == 0) {
    char *block = take_block(file, line, byte_count(vsize, es), "PACK");
    if (vsize > 0) copy_vector(block, vv, 0, vsize);
    store_result(result, form, block, av.length, 1, &vsize);
    return;
  }

  const int64_t cap = asize > vsize ? asize : vsize;
  const int64_t cap_bytes = byte_count(cap, es);
  char *block = take_block(file, line, cap_bytes, "PACK");

  int64_t count = 0;
  if (scalar_mask) {
    M v;
    std::memcpy(&v, mv.base, sizeof(M));
    if (v != 0) {
      copy_dim d[max_rank];
      int64_t ds = es;
      for (int k = 0; k < rank; ++k) {
        d[k] = {av.extent[k], av.stride[k], ds};
        ds *= av.extent[k];
      }
      copy_strided(block, av.base, es, rank, d);
      count = asize;
    }
  } else {
    const gather_fn gather = choose_gather<M>(es);
    int64_t strides[2][max_rank] = {};
    for (int k = 0; k < rank; ++k) {
      strides[0][k] = av.stride[k];
      strides[1][k] = mv.stride[k];
    }
    char *ptrs[2] = {av.base, mv.base};
    odometer<2> od;
    od.start(rank, av.extent, strides, ptrs);
    do {
      count =
          gather(block, count, od.ptr[0], av.stride[0], od.ptr[1], mv.stride[0], av.extent[0], es);
    } while (od.next_line());
  }

  int64_t extent = count;
  if (vector) {
    if (vsize < count) __KAFf90_rterr(file, line, 164, vsize, count);
    if (vsize > count) copy_vector(block + count * es, vv, count, vsize - count);
    extent = vsize;
  }
  if (extent < cap && es != 0) {
    void *shrunk =
        __KAFf90_ReAlloc(block, static_cast<size_t>(cap_bytes), static_cast<size_t>(extent * es));
    if (!shrunk) __KAFf90_rterr(file, line, 162, "PACK");
    block = static_cast<char *>(shrunk);
  }
  store_result(result, form, block, av.length, 1, &extent);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::pack_worker;

extern "C" {

void __KAFf90_pack_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                        int32_t rank, const int64_t *array, int32_t mask_rank, const int64_t *mask,
                        const int64_t *vector) {
  pack_worker<std::uint32_t>(file, line, result, elform::numeric, elsize, rank, array, mask_rank,
                             mask, vector);
}
void __KAFf90_pack(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                   int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_pack_line(nullptr, 0, result, elsize, rank, array, mask_rank, mask, vector);
}
void __KAFf90_chpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                          int32_t rank, const int64_t *array, int32_t mask_rank,
                          const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint32_t>(file, line, result, elform::ch1, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_chpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                     int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_chpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_ch2pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                           int32_t rank, const int64_t *array, int32_t mask_rank,
                           const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint32_t>(file, line, result, elform::ch2, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_ch2pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                      int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_ch2pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_ch4pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                           int32_t rank, const int64_t *array, int32_t mask_rank,
                           const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint32_t>(file, line, result, elform::ch4, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_ch4pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                      int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_ch4pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_dtpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                          int32_t rank, const int64_t *array, int32_t mask_rank,
                          const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint32_t>(file, line, result, elform::dt, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_dtpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                     int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_dtpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l1_pack_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                           int32_t rank, const int64_t *array, int32_t mask_rank,
                           const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint8_t>(file, line, result, elform::numeric, elsize, rank, array, mask_rank,
                            mask, vector);
}
void __KAFf90_l1_pack(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                      int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l1_pack_line(nullptr, 0, result, elsize, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l1_chpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint8_t>(file, line, result, elform::ch1, 0, rank, array, mask_rank, mask,
                            vector);
}
void __KAFf90_l1_chpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l1_chpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l1_ch2pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint8_t>(file, line, result, elform::ch2, 0, rank, array, mask_rank, mask,
                            vector);
}
void __KAFf90_l1_ch2pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l1_ch2pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l1_ch4pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint8_t>(file, line, result, elform::ch4, 0, rank, array, mask_rank, mask,
                            vector);
}
void __KAFf90_l1_ch4pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l1_ch4pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l1_dtpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint8_t>(file, line, result, elform::dt, 0, rank, array, mask_rank, mask,
                            vector);
}
void __KAFf90_l1_dtpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l1_dtpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l2_pack_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                           int32_t rank, const int64_t *array, int32_t mask_rank,
                           const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint16_t>(file, line, result, elform::numeric, elsize, rank, array, mask_rank,
                             mask, vector);
}
void __KAFf90_l2_pack(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                      int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l2_pack_line(nullptr, 0, result, elsize, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l2_chpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint16_t>(file, line, result, elform::ch1, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l2_chpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l2_chpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l2_ch2pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint16_t>(file, line, result, elform::ch2, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l2_ch2pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l2_ch2pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l2_ch4pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint16_t>(file, line, result, elform::ch4, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l2_ch4pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l2_ch4pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l2_dtpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint16_t>(file, line, result, elform::dt, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l2_dtpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l2_dtpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l4_pack_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                           int32_t rank, const int64_t *array, int32_t mask_rank,
                           const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint64_t>(file, line, result, elform::numeric, elsize, rank, array, mask_rank,
                             mask, vector);
}
void __KAFf90_l4_pack(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *array,
                      int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l4_pack_line(nullptr, 0, result, elsize, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l4_chpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint64_t>(file, line, result, elform::ch1, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l4_chpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l4_chpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l4_ch2pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint64_t>(file, line, result, elform::ch2, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l4_ch2pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l4_ch2pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l4_ch4pack_line(const char *file, int32_t line, kaf_char_array_result *result,
                              int32_t rank, const int64_t *array, int32_t mask_rank,
                              const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint64_t>(file, line, result, elform::ch4, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l4_ch4pack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                         int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l4_ch4pack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}
void __KAFf90_l4_dtpack_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *array, int32_t mask_rank,
                             const int64_t *mask, const int64_t *vector) {
  pack_worker<std::uint64_t>(file, line, result, elform::dt, 0, rank, array, mask_rank, mask,
                             vector);
}
void __KAFf90_l4_dtpack(kaf_char_array_result *result, int32_t rank, const int64_t *array,
                        int32_t mask_rank, const int64_t *mask, const int64_t *vector) {
  __KAFf90_l4_dtpack_line(nullptr, 0, result, rank, array, mask_rank, mask, vector);
}

}  // extern "C"
