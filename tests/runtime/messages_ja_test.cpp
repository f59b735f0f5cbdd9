// The Japanese message catalogue against its English twin: the same slots
// with the same insertion letters, Shift-JIS byte structure the reporter can
// walk, the generated table against glibc's own Shift-JIS converter, and the
// generator's refusals of faulty catalogue sources.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <iconv.h>
#include <sys/wait.h>
#include <unistd.h>

#include "runtime/messages.h"

namespace {

constexpr int last = kaf_message_count - 1;

bool is_letter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool is_trail(unsigned char c) { return (c >= 0x40 && c <= 0x7E) || (c >= 0x80 && c <= 0xFC); }

// A text as the reporter reads it: a byte with the high bit set and the byte
// after it form one character and are never examined as "$".
struct reading {
  std::string fault;                 // empty when the text is well formed
  bool positional = false;
  std::map<int, char> slots;         // slot (from 1) -> insertion letter
  std::vector<std::size_t> dollars;  // offsets of the "$" the reporter examines
  int literal_dollars = 0;           // "$" that start no insertion
  std::vector<std::size_t> breaks;   // offsets of line feeds
  bool final_ampersand = false;      // last character is "&" (not printed)
  bool ends_in_break = false;
  int double_byte = 0;               // two-byte characters
  int controls = 0;                  // control bytes other than line feed
};

reading read_text(const char *text) {
  reading r;
  const auto *s = reinterpret_cast<const unsigned char *>(text);
  const std::size_t n = std::strlen(text);
  bool sequential = false;
  int next_slot = 1;
  std::size_t last_char = n;
  for (std::size_t i = 0; i < n;) {
    last_char = i;
    if (s[i] & 0x80) {
      if (i + 1 >= n) {
        r.fault = "lead byte with no byte after it";
        return r;
      }
      ++r.double_byte;
      i += 2;
      continue;
    }
    if (s[i] == '\n') r.breaks.push_back(i);
    else if (s[i] < 0x20 || s[i] == 0x7F) ++r.controls;
    if (s[i] != '$') {
      ++i;
      continue;
    }
    r.dollars.push_back(i);
    int slot;
    char letter;
    if (is_letter(s[i + 1])) {
      if (r.positional) r.fault = "sequential insertion after a positional one";
      sequential = true;
      slot = next_slot++;
      letter = static_cast<char>(s[i + 1]);
      i += 2;
    } else if (s[i + 1] >= '1' && s[i + 1] <= '9' && is_letter(s[i + 2])) {
      if (sequential) r.fault = "positional insertion after a sequential one";
      r.positional = true;
      slot = s[i + 1] - '0';
      letter = static_cast<char>(s[i + 2]);
      i += 3;
    } else {
      ++r.literal_dollars;
      i += s[i + 1] ? 2 : 1;
      continue;
    }
    if (r.slots.count(slot)) r.fault = "slot " + std::to_string(slot) + " filled twice";
    r.slots[slot] = letter;
  }
  r.final_ampersand = last_char == n - 1 && n > 0 && s[last_char] == '&';
  r.ends_in_break = last_char == n - 1 && n > 0 && s[last_char] == '\n';
  if (r.slots.size() > 10) r.fault = "more than 10 slots";
  return r;
}

std::string slot_list(const reading &r) {
  std::string out;
  for (const auto &[slot, letter] : r.slots) out += std::to_string(slot) + letter + ' ';
  return out;
}

std::string show(int number, const char *text) {
  return "text " + std::to_string(number) + ": \"" + text + "\"";
}

std::string read_file(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  std::ostringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

std::vector<std::string> split_lines(const std::string &all) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < all.size()) {
    std::size_t end = all.find('\n', start);
    if (end == std::string::npos) end = all.size();
    lines.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

const std::string source_path = std::string(KAF_CATALOGUE_SOURCE_DIR) + "/runtime/messages_ja.txt";

// The catalogue source read independently of the generator: number -> UTF-8
// text; a malformed line is reported in `fault`.
std::map<int, std::string> read_source(const std::vector<std::string> &lines, std::string &fault) {
  std::map<int, std::string> texts;
  for (std::size_t k = 0; k < lines.size(); ++k) {
    const std::string &line = lines[k];
    if (line.empty() || line[0] == '#') continue;
    std::size_t colon = line.find(": \"");
    if (colon == std::string::npos || line.back() != '"' || line.size() < colon + 4) {
      fault += "line " + std::to_string(k + 1) + " malformed; ";
      continue;
    }
    int number = std::atoi(line.substr(0, colon).c_str());
    std::string body = line.substr(colon + 3, line.size() - colon - 4), text;
    for (std::size_t i = 0; i < body.size(); ++i) {
      if (body[i] != '\\') {
        text += body[i];
        continue;
      }
      char e = body[++i];
      text += e == 'n' ? '\n' : e;
    }
    if (!texts.emplace(number, text).second) fault += "number " + std::to_string(number) + " twice; ";
  }
  return texts;
}

// UTF-8 to Shift-JIS by glibc, one character at a time so that ASCII stays
// ASCII (glibc reads 0x5C and 0x7E of Shift-JIS as yen sign and overline).
bool to_shift_jis(const std::string &utf8, std::string &out) {
  iconv_t cd = iconv_open("SHIFT_JIS", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  bool ok = true;
  for (std::size_t i = 0; i < utf8.size() && ok;) {
    auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out += utf8[i++];
      continue;
    }
    std::size_t len = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
    char in[4], buf[8];
    std::memcpy(in, utf8.data() + i, len);
    char *ip = in, *op = buf;
    std::size_t il = len, ol = sizeof buf;
    ok = iconv(cd, &ip, &il, &op, &ol) != static_cast<std::size_t>(-1) && il == 0;
    out.append(buf, static_cast<std::size_t>(op - buf));
    i += len;
  }
  iconv_close(cd);
  return ok;
}

TEST(MessageCatalogue, EveryNumberHasATextAndTheSentinelsCloseBothTables) {
  for (int n = 0; n < kaf_message_count; ++n) {
    EXPECT_NE(E_rtmsg[n], nullptr) << "English text " << n;
    EXPECT_NE(J_rtmsg[n], nullptr) << "Japanese text " << n;
  }
  EXPECT_STREQ(E_rtmsg[last], "This is the last runtime error in English.");
  EXPECT_STREQ(J_rtmsg[last], "This is the last runtime error in Japanese.");
  // The free-text message carries nothing but its one insertion in either language.
  EXPECT_STREQ(J_rtmsg[0], "$C");
  EXPECT_STREQ(J_rtmsg[0], E_rtmsg[0]);
}

TEST(MessageCatalogue, BothTablesAreWellFormedForTheReporter) {
  for (const auto *table : {E_rtmsg, J_rtmsg}) {
    const char *language = table == E_rtmsg ? "English " : "Japanese ";
    for (int n = 0; n < kaf_message_count; ++n) {
      reading r = read_text(table[n]);
      EXPECT_EQ(r.fault, "") << language << show(n, table[n]);
      EXPECT_EQ(r.literal_dollars, 0) << language << show(n, table[n]);
      EXPECT_LE(r.slots.size(), 10u) << language << show(n, table[n]);
      // Slots 1 to k each filled once: a gap would leave an argument the
      // reporter cannot fetch, since it does not know its kind.
      int expect = 1;
      for (const auto &[slot, letter] : r.slots) {
        EXPECT_EQ(slot, expect++) << language << show(n, table[n]);
        EXPECT_NE(std::strchr("CDEFGHILQUVYZ", letter), nullptr)
            << language << show(n, table[n]) << " letter " << letter;
      }
    }
  }
}

TEST(JapaneseCatalogue, FillsTheSameSlotsWithTheSameLettersAsEnglish) {
  for (int n = 0; n < kaf_message_count; ++n) {
    reading en = read_text(E_rtmsg[n]);
    reading ja = read_text(J_rtmsg[n]);
    EXPECT_EQ(slot_list(ja), slot_list(en)) << show(n, E_rtmsg[n]);
  }
}

TEST(JapaneseCatalogue, EveryHighBitByteStartsAValidShiftJisPair) {
  for (int n = 0; n < kaf_message_count; ++n) {
    const auto *s = reinterpret_cast<const unsigned char *>(J_rtmsg[n]);
    for (std::size_t i = 0; s[i];) {
      if (!(s[i] & 0x80)) {
        ++i;
        continue;
      }
      // 0xA1..0xDF would be half-width katakana: one byte, yet the reporter
      // would swallow the byte after it.
      EXPECT_TRUE(is_lead(s[i])) << "text " << n << " offset " << i << " byte " << int(s[i]);
      EXPECT_TRUE(is_trail(s[i + 1])) << "text " << n << " offset " << i + 1 << " byte " << int(s[i + 1]);
      if (!s[i + 1]) break;
      i += 2;
    }
  }
}

TEST(JapaneseCatalogue, NoInsertionOrFinalAmpersandHidesInsideATwoByteCharacter) {
  for (int n = 0; n < kaf_message_count; ++n) {
    const char *t = J_rtmsg[n];
    const std::size_t len = std::strlen(t);
    reading r = read_text(t);
    // A plain byte scan finds exactly the "$" and line feeds the reporter sees.
    std::vector<std::size_t> dollars, breaks;
    for (std::size_t i = 0; i < len; ++i) {
      if (t[i] == '$') dollars.push_back(i);
      if (t[i] == '\n') breaks.push_back(i);
    }
    EXPECT_EQ(dollars, r.dollars) << show(n, t);
    EXPECT_EQ(breaks, r.breaks) << show(n, t);
    EXPECT_EQ(len > 0 && t[len - 1] == '&', r.final_ampersand) << show(n, t);
  }
}

TEST(JapaneseCatalogue, LineBreaksAndTheFinalAmpersandFollowEnglish) {
  for (int n = 0; n < kaf_message_count; ++n) {
    reading en = read_text(E_rtmsg[n]);
    reading ja = read_text(J_rtmsg[n]);
    EXPECT_EQ(ja.breaks.size(), en.breaks.size()) << show(n, J_rtmsg[n]);
    EXPECT_EQ(ja.ends_in_break, en.ends_in_break) << show(n, J_rtmsg[n]);
    EXPECT_EQ(ja.final_ampersand, en.final_ampersand) << show(n, J_rtmsg[n]);
    EXPECT_EQ(ja.controls, 0) << show(n, J_rtmsg[n]);
    EXPECT_EQ(J_rtmsg[n][0] == '\0', E_rtmsg[n][0] == '\0') << show(n, J_rtmsg[n]);
  }
  // The fatal ending writes text 1 as it stands: its own line feed ends it.
  reading one = read_text(J_rtmsg[1]);
  EXPECT_TRUE(one.ends_in_break);
  EXPECT_EQ(one.breaks.size(), 1u);
}

TEST(JapaneseCatalogue, TextsWithEnglishWordsAreTranslated) {
  for (int n = 0; n < last; ++n) {
    const char *en = E_rtmsg[n];
    int run = 0, longest = 0;
    for (const char *p = en; *p; ++p) {
      run = (*p >= 'a' && *p <= 'z') ? run + 1 : 0;
      longest = std::max(longest, run);
    }
    if (longest >= 2) EXPECT_GT(read_text(J_rtmsg[n]).double_byte, 0) << show(n, J_rtmsg[n]);
    else EXPECT_STREQ(J_rtmsg[n], en) << "text " << n << " has no words to translate";
  }
}

TEST(JapaneseCatalogue, TableEqualsTheSourceConvertedByGlibc) {
  std::string fault;
  std::map<int, std::string> source = read_source(split_lines(read_file(source_path)), fault);
  EXPECT_EQ(fault, "");
  ASSERT_EQ(source.size(), static_cast<std::size_t>(kaf_message_count)) << source_path;
  for (int n = 0; n < kaf_message_count; ++n) {
    ASSERT_TRUE(source.count(n)) << "text " << n << " missing from " << source_path;
    std::string sjis;
    EXPECT_TRUE(to_shift_jis(source[n], sjis)) << "text " << n << ": " << source[n];
    EXPECT_EQ(std::string(J_rtmsg[n]), sjis) << "text " << n << ": " << source[n];
  }
}

// The generator run on a catalogue source in a scratch directory.
struct generator_run {
  int status = -1;
  std::string output;  // standard error and output together
  bool wrote = false;
  std::string generated;
};

class Generator : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir_template[] = "/tmp/kaf_catalogue_XXXXXX";
    ASSERT_NE(mkdtemp(dir_template), nullptr);
    dir = dir_template;
    lines = split_lines(read_file(source_path));
    ASSERT_GT(lines.size(), static_cast<std::size_t>(kaf_message_count));
  }
  void TearDown() override {
    std::remove((dir + "/messages_ja.txt").c_str());
    std::remove((dir + "/messages_ja.cpp").c_str());
    rmdir(dir.c_str());
  }

  // Line number (from 1) of text n in `lines`.
  std::size_t line_of(int n) const {
    const std::string prefix = std::to_string(n) + ": \"";
    for (std::size_t k = 0; k < lines.size(); ++k)
      if (lines[k].compare(0, prefix.size(), prefix) == 0) return k + 1;
    return 0;
  }
  void replace_text(int n, const std::string &body) {
    lines[line_of(n) - 1] = std::to_string(n) + ": \"" + body + "\"";
  }

  generator_run run() const {
    const std::string in = dir + "/messages_ja.txt", out = dir + "/messages_ja.cpp";
    {
      std::ofstream f(in, std::ios::binary);
      for (const auto &l : lines) f << l << '\n';
    }
    const std::string cmd = std::string("'") + KAF_PYTHON3 + "' '" + KAF_CATALOGUE_SOURCE_DIR +
                            "/tools/gen_sjis_catalogue.py' --header '" + KAF_CATALOGUE_SOURCE_DIR +
                            "/runtime/messages.h' '" + in + "' '" + out + "' 2>&1";
    generator_run r;
    FILE *p = popen(cmd.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    std::size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, p)) > 0) r.output.append(buf, got);
    int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    r.wrote = access(out.c_str(), F_OK) == 0;
    if (r.wrote) r.generated = read_file(out);
    return r;
  }

  // The run must fail, write nothing, and name the file and line.
  void expect_refusal(std::size_t line, const std::string &why) const {
    generator_run r = run();
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_FALSE(r.wrote);
    const std::string where =
        dir + "/messages_ja.txt" + (line ? ":" + std::to_string(line) : std::string()) + ": error:";
    EXPECT_NE(r.output.find(where), std::string::npos) << "want \"" << where << "\" in\n" << r.output;
    EXPECT_NE(r.output.find(why), std::string::npos) << "want \"" << why << "\" in\n" << r.output;
  }

  std::string dir;
  std::vector<std::string> lines;
};

TEST_F(Generator, ReproducesTheBuildsTableFromTheSource) {
  generator_run r = run();
  ASSERT_EQ(r.status, 0) << r.output;
  EXPECT_EQ(r.output, "");
  EXPECT_EQ(r.generated, read_file(std::string(KAF_CATALOGUE_BINARY_DIR) + "/generated/messages_ja.cpp"));
}

TEST_F(Generator, RefusesAMissingNumberNamingWhereItBelongs) {
  std::size_t before = line_of(41);
  lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(line_of(42) - 1));
  expect_refusal(0, "text number 42 is missing (expected after line " + std::to_string(before));
}

TEST_F(Generator, RefusesADuplicateNumber) {
  std::size_t first = line_of(7);
  lines.push_back(lines[first - 1]);
  expect_refusal(lines.size(), "appears twice (first on line " + std::to_string(first) + ")");
}

TEST_F(Generator, RefusesANumberBeyondTheCatalogue) {
  lines.push_back(std::to_string(kaf_message_count) + ": \"x\"");
  expect_refusal(lines.size(), "outside 0 to " + std::to_string(last));
}

TEST_F(Generator, RefusesACharacterWithoutAShiftJisCode) {
  replace_text(5, "DO \xE2\x82\xAC");  // the euro sign is not in JIS X 0208
  expect_refusal(line_of(5), "has no Shift-JIS");
}

TEST_F(Generator, RefusesHalfWidthKatakana) {
  replace_text(5, "DO \xEF\xBD\xB4\xEF\xBE\x97\xEF\xBD\xB0");  // half-width "era-"
  expect_refusal(line_of(5), "half-width katakana");
}

TEST_F(Generator, RefusesMixedSequentialAndPositionalCodes) {
  replace_text(4, "$C \xE3\x81\xAE $2I");
  expect_refusal(line_of(4), "positional insertion after a sequential one");
}

TEST_F(Generator, RefusesASlotFilledTwice) {
  replace_text(4, "$1C $1I");
  expect_refusal(line_of(4), "slot 1 filled twice");
}

TEST_F(Generator, RefusesAnUnknownEscape) {
  replace_text(5, "DO\\tstep");
  expect_refusal(line_of(5), "unknown escape");
}

TEST_F(Generator, RefusesAChangedSentinel) {
  replace_text(last, "This is the last runtime error.");
  expect_refusal(line_of(last), "sentinel");
}

// Reads back the C literal of text n from generated source.
bool literal_of(const std::string &generated, int n, std::string &bytes) {
  char tag[16];
  std::snprintf(tag, sizeof tag, "/* %3d */ \"", n);
  std::size_t i = generated.find(tag);
  if (i == std::string::npos) return false;
  for (i += std::strlen(tag); i < generated.size() && generated[i] != '"'; ++i) {
    if (generated[i] != '\\') {
      bytes += generated[i];
      continue;
    }
    char e = generated[++i];
    if (e >= '0' && e <= '7') {
      int v = 0;
      for (int k = 0; k < 3 && generated[i] >= '0' && generated[i] <= '7'; ++k) v = v * 8 + (generated[i++] - '0');
      --i;
      bytes += static_cast<char>(v);
    } else {
      bytes += e == 'n' ? '\n' : e;
    }
  }
  return i < generated.size();
}

TEST_F(Generator, KeepsBackslashQuoteAndTrailBytesApartFromDigits) {
  // U+8868 and U+30BD end in byte 0x5C, U+306E in 0xCC; a digit after an
  // escaped byte must not run on into the escape.
  const std::string text = "\xE8\xA1\xA8" "1\\\"7\xE3\x82\xBD" "0\xE3\x81\xAE" "7$I";
  std::string escaped;
  for (char c : text) escaped += (c == '\\' || c == '"') ? std::string("\\") + c : std::string(1, c);
  replace_text(5, escaped);
  std::string want;
  ASSERT_TRUE(to_shift_jis(text, want));
  ASSERT_NE(want.find('\\'), want.rfind('\\')) << "the case needs 0x5C trail bytes";
  generator_run r = run();
  ASSERT_EQ(r.status, 0) << r.output;
  std::string got;
  ASSERT_TRUE(literal_of(r.generated, 5, got));
  EXPECT_EQ(got, want);
}

}  // namespace
