#include "memctx.h"

namespace kaftest {
namespace {

memctx *of(kaf_ioctx *c) { return reinterpret_cast<memctx *>(c); }

std::size_t width(const memctx &m) { return unit_width(m.ctx.encoding); }

kaf_status out_flush(kaf_ioctx *c) {
  memctx &m = *of(c);
  ++m.flushes;
  if (m.fail_flush_after >= 0 && m.flushes > m.fail_flush_after) return 99;
  const std::size_t grow = m.store.size() / width(m) < 8 ? 256 : m.store.size() / width(m);
  m.store.resize(m.store.size() + grow * width(m));
  c->buffer = m.store.data();
  c->limit += grow;
  return 0;
}

kaf_status out_next_record(kaf_ioctx *c, int, const char *, const char *) {
  memctx &m = *of(c);
  ++m.next_records;
  m.records.push_back(current_record(m));
  c->pos = 0;
  c->max_pos = 0;
  return 0;
}

void serve(memctx &m, const std::string &rec) {
  const std::size_t w = width(m);
  m.store.assign(rec.begin(), rec.end());
  m.store.resize(rec.size() + 8);
  m.ctx.buffer = m.store.data();
  m.ctx.rec_len = static_cast<std::int64_t>(rec.size() / w);
  m.ctx.pos = 0;
}

kaf_status in_next_record(kaf_ioctx *c, int, const char *, const char *) {
  memctx &m = *of(c);
  ++m.next_records;
  if (m.next_input >= m.records.size()) {
    m.unit.status |= UNIT_AT_EOF;
    return __KAFf90_ioerr(c, -1, static_cast<std::int32_t>(m.unit.number));
  }
  serve(m, m.records[m.next_input++]);
  c->record_start = 0;
  return 0;
}

kaf_status in_flush(kaf_ioctx *c) {
  ++of(c)->flushes;
  return __KAFf90_ioerr(c, -2, static_cast<std::int32_t>(of(c)->unit.number));
}

void common(memctx &m, std::uint32_t encoding) {
  static_assert(offsetof(memctx, ctx) == 0);
  std::memset(&m.ctx, 0, sizeof m.ctx);
  m.unit = kaf_unit_head{};
  m.unit.number = 7;
  m.unit.decimal_char = '.';
  m.unit.sign_mode = SIGN_DEFAULT;
  m.ctx.unit = &m.unit;
  m.ctx.encoding = encoding;
  m.ctx.flags = IOF_ERR;
  m.ctx.iostat_var = reinterpret_cast<std::uint64_t>(&m.iostat);
  m.ctx.iomsg_addr = reinterpret_cast<std::uint64_t>(m.iomsg);
  m.ctx.iomsg_len = sizeof m.iomsg;
  m.ctx.decimal_char = '.';
  m.ctx.sign_mode = SIGN_DEFAULT;
  m.records.clear();
  m.next_input = 0;
  m.iostat = 0;
  m.flushes = m.next_records = 0;
}

}  // namespace

void begin_output(memctx &m, std::size_t capacity, std::size_t, std::uint32_t encoding) {
  common(m, encoding);
  m.store.assign(capacity * width(m), 0);
  m.ctx.buffer = m.store.data();
  m.ctx.limit = capacity;
  m.ctx.flush = out_flush;
  m.ctx.next_record = out_next_record;
  m.ctx.max_pos = 0;
}

std::string current_record(const memctx &m) {
  const std::int64_t end = m.ctx.pos > m.ctx.max_pos ? m.ctx.pos : m.ctx.max_pos;
  return std::string(reinterpret_cast<const char *>(m.store.data()), static_cast<std::size_t>(end) * width(m));
}

std::string output_text(const memctx &m) {
  std::string s;
  for (const auto &r : m.records) s += r + "\n";
  return s + current_record(m);
}

void end_output(memctx &m) {
  m.records.push_back(current_record(m));
  m.ctx.pos = 0;
  m.ctx.max_pos = 0;
}

void begin_input(memctx &m, const std::vector<std::string> &records, std::uint32_t encoding, bool pad) {
  common(m, encoding);
  m.records = records;
  m.unit.pad_yes = pad;
  m.ctx.no_eor = pad;  // an advancing read pads
  m.ctx.flush = in_flush;
  m.ctx.next_record = in_next_record;
  m.ctx.max_pos = -1;
  if (!records.empty()) serve(m, m.records[m.next_input++]);
}

std::uint64_t establish(memctx &m, const char *format, int direction) {
  return __KAFf90_establish_format(&m.ctx, format, -1, direction);
}

}  // namespace kaftest
