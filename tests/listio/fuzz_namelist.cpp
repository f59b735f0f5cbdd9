// libFuzzer target over namelist input: the first byte chooses the autoskip
// option and a start put before the data (none, inside the group, inside a
// subscript list, after a component selector); the rest is the file, records
// split at '\n', read with IOSTAT= into a group of every kind of object
// (arrays of two ranks, characters, a derived type with an array of a
// nested type), then written back. Every statement must end in success, an
// end of file or a catalogue error, never a crash or an overrun.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kafrts.h"

namespace {

struct inner {
  std::int16_t k[3];
  char t[2];
};
struct outer {
  double w;
  inner q[2];
  std::int8_t flag;
};
const std::int64_t k_bounds[] = {-1, 3};
const std::int64_t q_bounds[] = {1, 2};
const kaf_nml_component inner_components[] = {
    {"k", offsetof(inner, k), KAF_TYPE_I2, 1, 0, nullptr, k_bounds},
    {"t", offsetof(inner, t), KAF_TYPE_CH, 0, 2, nullptr, nullptr},
};
const kaf_nml_dtype inner_type{"inner", sizeof(inner), 2, 0, inner_components};
const kaf_nml_component outer_components[] = {
    {"w", offsetof(outer, w), KAF_TYPE_D, 0, 0, nullptr, nullptr},
    {"q", offsetof(outer, q), KAF_TYPE_DERIVED, 1, 0, &inner_type, q_bounds},
    {"flag", offsetof(outer, flag), KAF_TYPE_L1, 0, 0, nullptr, nullptr},
};
const kaf_nml_dtype outer_type{"outer", sizeof(outer), 3, 0, outer_components};

bool catalogue_code(std::int32_t s) {
  if (s == 0 || s == -1 || s == 1001) return true;
  if (s >= 1084 && s <= 1105) return true;  // the namelist texts
  static constexpr std::int32_t codes[] = {1005, 1006, 1007, 1008, 1009, 1010, 1011, 1012,
                                           1013, 1014, 1040, 1111, 1115, 1139};
  for (std::int32_t c : codes)
    if (s == c) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 1) return 0;
  __KAFf90_autoskip_namelist = data[0] & 1;
  static const char *const starts[] = {"", " &G ", " &G A(", " &G OA(1)%Q(1)%"};
  const char *start_text = starts[(data[0] >> 1) & 3];
  std::vector<std::uint8_t> input(start_text, start_text + std::strlen(start_text));
  input.insert(input.end(), data + 1, data + size);
  data = input.data();
  size = input.size();
  // The records, padded to the longest.
  std::vector<std::pair<std::size_t, std::size_t>> lines;
  std::size_t start = 0, width = 1;
  for (std::size_t i = 0; i <= size; ++i) {
    if (i == size || data[i] == '\n') {
      lines.emplace_back(start, i - start);
      width = i - start > width ? i - start : width;
      start = i + 1;
    }
  }
  std::vector<char> file(width * lines.size(), ' ');
  for (std::size_t r = 0; r < lines.size(); ++r)
    if (lines[r].second) std::memcpy(file.data() + r * width, data + lines[r].first, lines[r].second);

  std::int32_t i = 0;
  std::int64_t a[4] = {};
  float b[2][3] = {};
  double z[2] = {};
  std::int32_t l = 0;
  char c[5] = {};
  char ca[3][4] = {};
  outer o{};
  outer oa[2] = {};
  const std::int64_t a_d[] = {reinterpret_cast<std::int64_t>(a), 0, 4, 8, 0};
  const std::int64_t b_d[] = {reinterpret_cast<std::int64_t>(b), -28, 3, 4, 1, 2, 12, 2};
  const std::int64_t ca_d[] = {reinterpret_cast<std::int64_t>(ca), 4, -4, 3, 4, 1};
  const std::int64_t oa_d[] = {reinterpret_cast<std::int64_t>(oa), sizeof(outer), 0, 2, sizeof(outer), 0};
  const kaf_nml_object objects[] = {
      {"I", KAF_TYPE_I, 0, &i, nullptr, 0, nullptr},
      {"A", KAF_TYPE_I4, 1, nullptr, a_d, 0, nullptr},
      {"B", KAF_TYPE_R, 2, nullptr, b_d, 0, nullptr},
      {"Z", KAF_TYPE_DC, 0, z, nullptr, 0, nullptr},
      {"L", KAF_TYPE_L, 0, &l, nullptr, 0, nullptr},
      {"C", KAF_TYPE_CH, 0, c, nullptr, 5, nullptr},
      {"CA", KAF_TYPE_CH, 1, nullptr, ca_d, 0, nullptr},
      {"O", KAF_TYPE_DERIVED, 0, &o, nullptr, 0, &outer_type},
      {"OA", KAF_TYPE_DERIVED, 1, nullptr, oa_d, 0, &outer_type},
  };
  const kaf_nml_group group{"G", 9, 0, objects};

  const auto w = static_cast<std::int64_t>(width);
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(file.data()), w, -w,
                               static_cast<std::int64_t>(lines.size()), w, 1};
  kaf_ifile f;
  __KAFf90_array_ifilex(&f, desc, 1, 10);
  kaf_ioctx_space space;
  auto *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  char iomsg[100];
  // Two statements in turn on the same file, as a program reading a group
  // after another would.
  for (int stmt = 0; stmt < 2; ++stmt) {
    std::int32_t s = __KAFf90_read_internal_file(ctx, &f, &iostat, iomsg, sizeof iomsg, KAF_IO_ERR | KAF_IO_END);
    if (s == 0) s = __KAFf90_do_read_namelist(ctx, &group);
    const std::int32_t e = __KAFf90_end_read_internal(ctx);
    if (s == 0) s = e;
    if (!catalogue_code(s)) std::abort();
    if (s) break;
  }

  std::vector<char> out(100 * 200, ' ');
  const std::int64_t out_d[] = {reinterpret_cast<std::int64_t>(out.data()), 100, -100, 200, 100, 1};
  kaf_ifile g;
  __KAFf90_array_ifilex(&g, out_d, 1, 10);
  std::int32_t s = __KAFf90_write_ifile(ctx, &g, &iostat, iomsg, sizeof iomsg, KAF_IO_ERR);
  if (s == 0) s = __KAFf90_do_write_namelist(ctx, &group);
  if (s == 0) s = __KAFf90_end_write_ifile(ctx);
  if (s != 0) std::abort();
  return 0;
}
