#include "lioctx.h"

#include <cstring>

namespace kaftest {
namespace {

lioctx *of(kaf_ioctx *c) { return reinterpret_cast<lioctx *>(c); }

std::string record_text(const lioctx &m, std::int64_t len) {
  std::string r;
  const unsigned w = unit_width(m.ctx.encoding);
  for (std::int64_t i = 0; i < len; ++i) {
    std::uint32_t u = 0;
    std::memcpy(&u, m.store.data() + i * w, w);
    r.push_back(static_cast<char>(u));
  }
  return r;
}

std::int64_t used(const kaf_ioctx &c) { return c.pos > c.max_pos ? c.pos : c.max_pos; }

kaf_status out_flush(kaf_ioctx *c) {
  lioctx &m = *of(c);
  if (c->internal) return __KAFf90_ioerr(c, 1001);
  // An external unit's buffer grows; the record width stays as it was.
  m.store.resize(m.store.size() * 2);
  c->buffer = m.store.data();
  c->limit = m.store.size() / unit_width(c->encoding);
  return 0;
}

kaf_status out_next_record(kaf_ioctx *c, int, const char *, const char *) {
  lioctx &m = *of(c);
  ++m.next_records;
  m.records.push_back(record_text(m, used(*c)));
  c->pos = 0;
  c->max_pos = 0;
  c->limit = static_cast<std::uint64_t>(m.width);
  return 0;
}

void serve(lioctx &m, const std::string &rec) {
  m.store.assign(rec.begin(), rec.end());
  m.store.resize(rec.size() + 8);
  m.ctx.buffer = m.store.data();
  m.ctx.rec_len = static_cast<std::int64_t>(rec.size() / unit_width(m.ctx.encoding));
  m.ctx.pos = 0;
}

kaf_status in_next_record(kaf_ioctx *c, int, const char *, const char *) {
  lioctx &m = *of(c);
  ++m.next_records;
  if (m.next_input >= m.records.size()) {
    m.unit.status |= UNIT_AT_EOF;
    return __KAFf90_ioerr(c, -1, static_cast<std::int32_t>(m.unit.number));
  }
  serve(m, m.records[m.next_input++]);
  return 0;
}

kaf_status in_flush(kaf_ioctx *c) { return __KAFf90_ioerr(c, -2, 7); }

void common(lioctx &m, std::uint32_t encoding, bool internal) {
  static_assert(offsetof(lioctx, ctx) == 0);
  std::memset(&m.ctx, 0, sizeof m.ctx);
  std::memset(m.iomsg, ' ', sizeof m.iomsg);
  m.unit = kaf_unit_head{};
  m.unit.number = 7;
  m.unit.decimal_char = '.';
  m.unit.sign_mode = SIGN_DEFAULT;
  m.unit.encoding = encoding;
  m.ctx.unit = internal ? nullptr : &m.unit;
  m.ctx.internal = internal ? &m.ifile : nullptr;
  m.ctx.encoding = encoding;
  m.ctx.flags = IOF_ERR | IOF_END;
  m.ctx.iostat_var = reinterpret_cast<std::uint64_t>(&m.iostat);
  m.ctx.iomsg_addr = reinterpret_cast<std::uint64_t>(m.iomsg);
  m.ctx.iomsg_len = sizeof m.iomsg;
  m.ctx.decimal_char = '.';
  m.ctx.sign_mode = SIGN_DEFAULT;
  m.ctx.max_pos = -1;
  m.records.clear();
  m.next_input = 0;
  m.iostat = 0;
  m.next_records = 0;
}

}  // namespace

std::string lioctx::message() const {
  std::string s(iomsg, sizeof iomsg);
  return s.substr(0, s.find_last_not_of(' ') + 1);
}

std::string lioctx::text() const {
  std::string all;
  for (const auto &r : records) all += r + "\n";
  return all + record_text(*this, used(ctx)) + "\n";
}

void begin_output(lioctx &m, const out_options &o) {
  common(m, o.encoding, o.internal);
  m.width = o.width;
  m.store.assign(static_cast<std::size_t>(o.width) * unit_width(o.encoding), 0);
  m.ctx.buffer = m.store.data();
  m.ctx.limit = static_cast<std::uint64_t>(o.width);
  m.ctx.flush = out_flush;
  m.ctx.next_record = out_next_record;
  m.ctx.sign_mode = o.sign_mode;
  m.ctx.decimal_char = o.decimal_char;
  m.ctx.round_mode = o.round_mode;
  m.unit.decimal_char = o.decimal_char;
  m.unit.sign_mode = o.sign_mode;
  m.unit.round_mode = o.round_mode;
  __KAFf90_init_loutput(&m.ctx);
  m.ctx.delimiter = o.delim;
}

void begin_input(lioctx &m, const std::vector<std::string> &records, const in_options &o) {
  common(m, o.encoding, o.internal);
  m.records = records;
  m.ctx.flush = in_flush;
  m.ctx.next_record = in_next_record;
  m.ctx.decimal_char = o.decimal_char;
  m.ctx.round_mode = o.round_mode;
  m.unit.decimal_char = o.decimal_char;
  m.unit.round_mode = o.round_mode;
  if (m.next_input < m.records.size()) serve(m, m.records[m.next_input++]);
  else serve(m, "");
  __KAFf90_init_linput(&m.ctx);
}

std::string units16(const std::u16string &s) {
  std::string r;
  for (char16_t u : s) {
    r.push_back(static_cast<char>(u & 0xFF));
    r.push_back(static_cast<char>(u >> 8));
  }
  return r;
}

std::string units32(const std::u32string &s) {
  std::string r;
  for (char32_t u : s)
    for (int k = 0; k < 4; ++k) r.push_back(static_cast<char>((u >> (8 * k)) & 0xFF));
  return r;
}

}  // namespace kaftest
