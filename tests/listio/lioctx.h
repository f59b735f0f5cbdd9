// Transfer contexts over memory for the list-directed tests: output records
// collected as strings (a fixed record width, as an internal file or a unit
// with RECL= has), input records served from a list, and the error exit
// answered through IOSTAT=/IOMSG= of the context.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/context.h"
#include "kafrts.h"

namespace kaftest {

struct lioctx {
  kaf_ioctx ctx{};
  kaf_unit_head unit{};
  // The engine's unit record is larger than its head: room for the fields
  // list-directed output asks the engine about (DELIM=, all zero).
  unsigned char unit_rest[512]{};
  kaf_ifile_head ifile{};
  std::vector<std::uint8_t> store;   // record buffer (units of the encoding)
  std::vector<std::string> records;  // output: ended records; input: records to serve
  std::size_t next_input = 0;
  std::int32_t iostat = 0;
  char iomsg[160];
  int next_records = 0;
  std::int64_t width = 0;

  std::string message() const;
  // Output: the ended records and the current one, each followed by '\n'
  // (byte records; wider units narrowed).
  std::string text() const;
};

struct out_options {
  std::int64_t width = 80;         // record width (limit)
  bool internal = true;            // an internal file (no unit record)
  std::uint32_t encoding = ENC_LATIN1;
  std::uint8_t decimal_char = '.';
  std::uint32_t sign_mode = SIGN_DEFAULT;
  std::uint8_t delim = 0;          // DELIM= of the unit ('\'', '"', 0)
  std::uint32_t round_mode = ROUND_PROCESSOR;
};
void begin_output(lioctx &m, const out_options &o = {});

struct in_options {
  std::uint32_t encoding = ENC_LATIN1;
  std::uint8_t decimal_char = '.';
  std::uint32_t round_mode = ROUND_PROCESSOR;
  bool internal = false;
};
// records: raw bytes of each record (wider encodings: little-endian units).
void begin_input(lioctx &m, const std::vector<std::string> &records, const in_options &o = {});

// Encodes code points as the records' units of the encoding.
std::string units16(const std::u16string &s);
std::string units32(const std::u32string &s);

}  // namespace kaftest
