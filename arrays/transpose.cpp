// TRANSPOSE(MATRIX) for every element form: one strided copy, which the copy
// engine tiles when MATRIX is contiguous along its first dimension.
#include "arrays/descriptor.h"

namespace kaf::arrays {
namespace {

void transpose_worker(const char *file, int32_t line, void *result, elform form,
                      int64_t numeric_elsize, const int64_t *matrix) {
  const view src = decode(matrix, 2, form, numeric_elsize);
  const int64_t extent[2] = {src.extent[1], src.extent[0]};
  const int64_t count = element_count(extent, 2);
  char *block = take_block(file, line, count < 0 ? -1 : byte_count(count, src.elsize), "TRANSPOSE",
                           /*zeroed=*/false);  // every byte is written
  if (count > 0) {
    copy_dim dims[2] = {{extent[0], src.stride[1], src.elsize},
                        {extent[1], src.stride[0], src.elsize * extent[0]}};
    copy_strided(block, src.base, src.elsize, 2, dims);
  }
  store_result(result, form, block, src.length, 2, extent);
}

}  // namespace
}  // namespace kaf::arrays

using kaf::arrays::elform;
using kaf::arrays::transpose_worker;

extern "C" {

void __KAFf90_transpose_line(const char *file, int32_t line, kaf_array_result *result,
                             int64_t elsize, const int64_t *matrix) {
  transpose_worker(file, line, result, elform::numeric, elsize, matrix);
}
void __KAFf90_transpose(kaf_array_result *result, int64_t elsize, const int64_t *matrix) {
  __KAFf90_transpose_line(nullptr, 0, result, elsize, matrix);
}
void __KAFf90_chtranspose_line(const char *file, int32_t line, kaf_char_array_result *result,
                               const int64_t *matrix) {
  transpose_worker(file, line, result, elform::ch1, 0, matrix);
}
void __KAFf90_chtranspose(kaf_char_array_result *result, const int64_t *matrix) {
  __KAFf90_chtranspose_line(nullptr, 0, result, matrix);
}
void __KAFf90_ch2transpose_line(const char *file, int32_t line, kaf_char_array_result *result,
                                const int64_t *matrix) {
  transpose_worker(file, line, result, elform::ch2, 0, matrix);
}
void __KAFf90_ch2transpose(kaf_char_array_result *result, const int64_t *matrix) {
  __KAFf90_ch2transpose_line(nullptr, 0, result, matrix);
}
void __KAFf90_ch4transpose_line(const char *file, int32_t line, kaf_char_array_result *result,
                                const int64_t *matrix) {
  transpose_worker(file, line, result, elform::ch4, 0, matrix);
}
void __KAFf90_ch4transpose(kaf_char_array_result *result, const int64_t *matrix) {
  __KAFf90_ch4transpose_line(nullptr, 0, result, matrix);
}
void __KAFf90_dttranspose_line(const char *file, int32_t line, kaf_char_array_result *result,
                               const int64_t *matrix) {
  transpose_worker(file, line, result, elform::dt, 0, matrix);
}
void __KAFf90_dttranspose(kaf_char_array_result *result, const int64_t *matrix) {
  __KAFf90_dttranspose_line(nullptr, 0, result, matrix);
}

}  // extern "C"
