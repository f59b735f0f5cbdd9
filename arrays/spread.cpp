// SPREAD(SOURCE, DIM, NCOPIES) for every element form: the result is one
// strided copy in which the new dimension has source stride 0.
#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

void spread_worker(const char *file, int32_t line, void *result, elform form,
                   int64_t numeric_elsize, int32_t rank, const int64_t *source, int64_t dim,
                   int64_t ncopies) {
  check_dim(file, line, dim, rank + 1, "SPREAD");
  if (rank >= max_rank)
    __KAFf90_crash("SPREAD: SOURCE of rank %d has no room for another dimension", rank);
  const view src = decode(source, rank, form, numeric_elsize);
  const int64_t copies = ncopies < 0 ? 0 : ncopies;
  const int r = rank + 1;
  const int at = static_cast<int>(dim - 1);

  int64_t extent[max_rank];
  copy_dim dims[max_rank];
  for (int k = 0, s = 0; k < r; ++k) {
    if (k == at) {
      extent[k] = copies;
      dims[k] = {copies, 0, 0};
    } else {
      extent[k] = src.extent[s];
      dims[k] = {src.extent[s], src.stride[s], 0};
      ++s;
    }
  }
  const int64_t count = element_count(extent, r);
  char *block = take_block(file, line, count < 0 ? -1 : byte_count(count, src.elsize), "SPREAD");
  if (count > 0) {
    int64_t ds = src.elsize;
    for (int k = 0; k < r; ++k) {
      dims[k].ds = ds;
      ds *= extent[k];
    }
    copy_strided(block, src.base, src.elsize, r, dims);
  }
  store_result(result, form, block, src.length, r, extent);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::spread_worker;

extern "C" {

void __KAFf90_spread_line(const char *file, int32_t line, kaf_array_result *result, int64_t elsize,
                          int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::numeric, elsize, rank, source, dim, ncopies);
}
void __KAFf90_spread(kaf_array_result *result, int64_t elsize, int32_t rank, const int64_t *source,
                     int64_t dim, int64_t ncopies) {
  __KAFf90_spread_line(nullptr, 0, result, elsize, rank, source, dim, ncopies);
}
void __KAFf90_chspread_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch1, 0, rank, source, dim, ncopies);
}
void __KAFf90_chspread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                       int64_t dim, int64_t ncopies) {
  __KAFf90_chspread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_ch2spread_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch2, 0, rank, source, dim, ncopies);
}
void __KAFf90_ch2spread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                        int64_t dim, int64_t ncopies) {
  __KAFf90_ch2spread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_ch4spread_line(const char *file, int32_t line, kaf_char_array_result *result,
                             int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::ch4, 0, rank, source, dim, ncopies);
}
void __KAFf90_ch4spread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                        int64_t dim, int64_t ncopies) {
  __KAFf90_ch4spread_line(nullptr, 0, result, rank, source, dim, ncopies);
}
void __KAFf90_dtspread_line(const char *file, int32_t line, kaf_char_array_result *result,
                            int32_t rank, const int64_t *source, int64_t dim, int64_t ncopies) {
  spread_worker(file, line, result, elform::dt, 0, rank, source, dim, ncopies);
}
void __KAFf90_dtspread(kaf_char_array_result *result, int32_t rank, const int64_t *source,
                       int64_t dim, int64_t ncopies) {
  __KAFf90_dtspread_line(nullptr, 0, result, rank, source, dim, ncopies);
}

}  // extern "C"
