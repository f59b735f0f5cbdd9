// Whole namelist statements on internal files, for the namelist tests.
#include "nml_support.h"

namespace nmltest {

namespace {

std::string trimmed(const char *p, std::size_t n) {
  while (n > 0 && p[n - 1] == ' ') --n;
  return std::string(p, n);
}

struct statement {
  kaf_ioctx_space space{};
  kaf_ioctx *ctx = reinterpret_cast<kaf_ioctx *>(&space);
  std::int32_t iostat = 0;
  char iomsg[200];
};

}  // namespace

std::string write_internal(const kaf_nml_group *g, std::int64_t width, std::int64_t nrec, outcome *out) {
  std::vector<char> store(static_cast<std::size_t>(width * nrec), '#');
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(store.data()), width, -width, nrec, width, 1};
  kaf_ifile f;
  __KAFf90_array_ifilex(&f, desc, 1, 10);
  statement st;
  std::memset(st.iomsg, ' ', sizeof st.iomsg);
  outcome o;
  o.status = __KAFf90_write_ifile(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR);
  if (o.status == 0) o.status = __KAFf90_do_write_namelist(st.ctx, g);
  if (o.status == 0) o.status = __KAFf90_end_write_ifile(st.ctx);
  o.iostat = st.iostat;
  o.iomsg = trimmed(st.iomsg, sizeof st.iomsg);
  if (out) *out = o;
  std::string text;
  for (std::int64_t r = 0; r < nrec; ++r) {
    const char *rec = store.data() + r * width;
    if (rec[0] == '#') break;  // not reached by the statement
    text += trimmed(rec, static_cast<std::size_t>(width)) + "\n";
  }
  return text;
}

outcome read_internal(const kaf_nml_group *g, const std::string &text, const char *src_file,
                      std::int32_t src_line) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t nl = text.find('\n', start);
    if (nl == std::string::npos) nl = text.size();
    lines.push_back(text.substr(start, nl - start));
    start = nl + 1;
  }
  std::size_t width = 1;
  for (const auto &l : lines) width = l.size() > width ? l.size() : width;
  std::vector<char> store(width * (lines.empty() ? 1 : lines.size()), ' ');
  for (std::size_t i = 0; i < lines.size(); ++i) std::memcpy(store.data() + i * width, lines[i].data(), lines[i].size());
  const auto w = static_cast<std::int64_t>(width);
  const std::int64_t desc[] = {reinterpret_cast<std::int64_t>(store.data()), w, -w,
                               static_cast<std::int64_t>(lines.size()), w, 1};
  kaf_ifile f;
  __KAFf90_array_ifilex(&f, desc, 1, 10);
  statement st;
  std::memset(st.iomsg, ' ', sizeof st.iomsg);
  outcome o;
  o.status = __KAFf90_read_internal_file(st.ctx, &f, &st.iostat, st.iomsg, sizeof st.iomsg, KAF_IO_ERR | KAF_IO_END);
  if (o.status == 0)
    o.status = src_file ? __KAFf90_do_read_namelist2(st.ctx, g, src_file, src_line)
                        : __KAFf90_do_read_namelist(st.ctx, g);
  const std::int32_t end = __KAFf90_end_read_internal(st.ctx);
  if (o.status == 0) o.status = end;
  o.iostat = st.iostat;
  o.iomsg = trimmed(st.iomsg, sizeof st.iomsg);
  return o;
}

}  // namespace nmltest
