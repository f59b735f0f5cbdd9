// Transfer contexts over memory for the editing tests: output records
// collected as strings, input records served from a list, and the error
// exit answered through IOSTAT=/IOMSG= of the context.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "format/context.h"

namespace kaftest {

struct memctx {
  kaf_ioctx ctx{};
  kaf_unit_head unit{};
  std::vector<std::uint8_t> store;       // output buffer storage (bytes)
  std::vector<std::string> records;      // output: ended records; input: records to serve
  std::size_t next_input = 0;
  std::int32_t iostat = 0;
  char iomsg[200];
  int flushes = 0;
  int next_records = 0;
  int fail_flush_after = -1;  // output: flush fails (status 99) after this many calls

  memctx() { std::memset(iomsg, ' ', sizeof iomsg); }
  std::string message() const {
    std::string m(iomsg, sizeof iomsg);
    return m.substr(0, m.find_last_not_of(' ') + 1);
  }
};

// An output context with room for capacity units before flush is called;
// flush grows the buffer by grow units (0: flush fails with status 99).
void begin_output(memctx &m, std::size_t capacity = 256, std::size_t grow = 256,
                  std::uint32_t encoding = ENC_LATIN1);
// The current record (bytes of the record's units, narrowed to chars for
// byte records; 16/32-bit units appended little-endian otherwise).
std::string current_record(const memctx &m);
// Everything written: ended records joined by '\n', then the current one.
std::string output_text(const memctx &m);
// The ended record when the statement ends (what an advancing end does).
void end_output(memctx &m);

// An input context over records (byte records unless encoding says other).
void begin_input(memctx &m, const std::vector<std::string> &records,
                 std::uint32_t encoding = ENC_LATIN1, bool pad = true);

// Formats and writes or reads through the item entries; returns the first
// nonzero status.
std::uint64_t establish(memctx &m, const char *format, int direction);

}  // namespace kaftest
