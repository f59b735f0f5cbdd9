// Start-up from the environment: runtime options, the error file, the
// language, the stop switch and the number of images.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include "kafrts.h"
#include "runtime/messages.h"
#include "support/child.h"

using kaftest::child_options;
using kaftest::run_in_child;

namespace {

// Runs start-up with the given options and prints the option variables.
kaftest::child_result with_options(const char *options) {
  child_options o;
  o.env = {{"KAFFORTRAN_RUNTIME_OPTIONS", options}};
  return run_in_child(
      [] {
        __KAFf90_init_runtime_options();
        std::printf("autoskip=%d blank=%d overflow=%d maud=%d dangling=%d suppress=%d",
                    __KAFf90_autoskip_namelist, __KAFf90_blank_common_size,
                    __KAFf90_io_overflow_exception, __KAFf90_maud_enabled,
                    __KAFf90_show_dangling, __KAFf90_please_suppress_underflow);
      },
      o);
}

TEST(RuntimeOptions, Defaults) {
  auto r = with_options(nullptr);
  EXPECT_EQ(r.out, "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0");
  EXPECT_EQ(r.err, "");
}

TEST(RuntimeOptions, WordsAndAbbreviations) {
  static constexpr struct {
    const char *options, *out, *err;
  } rows[] = {
      {"show", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=1 suppress=0", ""},
      {"sho", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0",
       "?Unrecognised runtime option \"sho\" - ignored\n"},
      {"SHOW_DANGLING", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=1 suppress=0", ""},
      {"show_dangling=1", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0",
       "?Unrecognised runtime option \"show_dangling=1\" - ignored\n"},
      {"auto", "autoskip=1 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0", ""},
      {"log_auto,io_o,mem_allow",
       "autoskip=2 blank=1048576 overflow=1 maud=1 dangling=0 suppress=0", ""},
      {"blank_common_size", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0",
       "?Missing argument for runtime option blank_common_size\n"},
      {"blank_common_size=12x,show",
       "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=1 suppress=0",
       "?Invalid argument 12x,show for runtime option blank_common_size=12x\n"},
      {"blank_common_size=0", "autoskip=0 blank=0 overflow=0 maud=0 dangling=0 suppress=0", ""},
      {"b=4096", "autoskip=0 blank=4096 overflow=0 maud=0 dangling=0 suppress=0", ""},
      {"blank=", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0",
       "?Invalid argument  for runtime option blank=\n"},
      {"show,,", "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=1 suppress=0",
       "?Unrecognised runtime option \"\" - ignored\n"
       "?Unrecognised runtime option \"\" - ignored\n"},
      {"suppress_underflow_warning,underflow_warning",
       "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=0", ""},
      {"underflow_warning,supp",
       "autoskip=0 blank=1048576 overflow=0 maud=0 dangling=0 suppress=1", ""},
  };
  for (const auto &row : rows) {
    auto r = with_options(row.options);
    EXPECT_EQ(r.out, row.out) << row.options;
    EXPECT_EQ(r.err, row.err) << row.options;
  }
}

TEST(RuntimeOptions, InitialisesOnce) {
  auto r = run_in_child([] {
    setenv("KAFFORTRAN_RUNTIME_OPTIONS", "show", 1);
    int first = __KAFf90_init_runtime_options();
    setenv("KAFFORTRAN_RUNTIME_OPTIONS", "nonsense", 1);
    int second = __KAFf90_init_runtime_options();
    std::printf("%d %d %d", first, second, __KAFf90_show_dangling);
  });
  EXPECT_EQ(r.out, "2 2 1");
  EXPECT_EQ(r.err, "");
}

kaftest::child_result with_images(const char *value) {
  child_options o;
  o.env = {{"KAFFORTRAN_NUM_IMAGES", value}};
  return run_in_child(
      [] {
        __KAFf90_init_runtime_options();
        std::printf("%d", __KAFf90_number_of_images);
      },
      o);
}

TEST(RuntimeOptions, NumberOfImages) {
  EXPECT_EQ(with_images(nullptr).out, "-511245");
  EXPECT_EQ(with_images("0").out, "-511245");
  EXPECT_EQ(with_images("1001").out, "-511245");
  EXPECT_EQ(with_images("4x").out, "-511245");
  EXPECT_EQ(with_images("-4").out, "-511245");
  EXPECT_EQ(with_images("1").out, "1");
  EXPECT_EQ(with_images("1000").out, "1000");
}

TEST(RuntimeOptions, StopSwitch) {
  child_options o;
  o.env = {{"KAFFORTRAN_STOP_NOW", "DO NOT PASS GO"}};
  auto r = run_in_child([] { __KAFf90_init_runtime_options(); std::puts("went on"); }, o);
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.err, "Runtime Error: This is the last runtime error in English.\n"
                   "Program terminated by fatal error\n");
  EXPECT_EQ(r.out, "");

  o.env = {{"KAFFORTRAN_STOP_NOW", "DO NOT PASS GO!"}};
  r = run_in_child([] { __KAFf90_init_runtime_options(); std::fputs("went on", stdout); }, o);
  EXPECT_EQ(r.out, "went on");
}

std::string read_file(const std::string &path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST(RuntimeOptions, ErrorFileUnderBothNames) {
  for (const char *variable : {"KAFFORTRAN_RUNTIME_ERROR_FILE", "KAFF90_RUNTIME_ERROR_FILE"}) {
    char path[] = "/tmp/kaf-errfile-XXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    (void)!write(fd, "old contents that must go\n", 26);
    close(fd);
    static std::string file;
    file = path;
    child_options o;
    o.env = {{variable, path}};
    auto r = run_in_child(
        [] {
          __KAFf90_init_runtime_options();
          __KAFf90_rterr1("e.f90", 2, 5);
          // Unbuffered: the text is in the file before anything flushes it.
          std::fputs(read_file(file).c_str(), stdout);
          std::fflush(stdout);
          __KAFf90_rtcrash(155);
        },
        o);
    EXPECT_EQ(r.out, "Runtime Error: e.f90, line 2: DO step value is zero\n") << variable;
    EXPECT_EQ(r.err, "") << variable;
    EXPECT_EQ(read_file(path), "Runtime Error: e.f90, line 2: DO step value is zero\n"
                               "Runtime Error: Out of memory\n"
                               "Program terminated by fatal error\n")
        << variable;
    unlink(path);
  }
}

TEST(RuntimeOptions, NewerErrorFileNameWins) {
  char path[] = "/tmp/kaf-errfile-XXXXXX";
  close(mkstemp(path));
  child_options o;
  o.env = {{"KAFFORTRAN_RUNTIME_ERROR_FILE", path},
           {"KAFF90_RUNTIME_ERROR_FILE", "/nonexistent/dir/file"}};
  run_in_child([] { __KAFf90_init_runtime_options(); __KAFf90_rtmsg(155); }, o);
  EXPECT_EQ(read_file(path), "Out of memory\n");
  unlink(path);
  // An error file that cannot be opened leaves messages on stderr.
  o.env = {{"KAFFORTRAN_RUNTIME_ERROR_FILE", "/nonexistent/dir/file"}};
  auto r = run_in_child([] { __KAFf90_init_runtime_options(); __KAFf90_rtmsg(155); }, o);
  EXPECT_EQ(r.err, "Out of memory\n");
}

kaftest::child_result with_language(const char *value) {
  child_options o;
  o.env = {{"KAFFORTRAN_RUNTIME_LANGUAGE", value}};
  return run_in_child(
      [] {
        __KAFf90_init_runtime_options();
        __KAFf90_rtcrash(155);
      },
      o);
}

TEST(RuntimeOptions, Languages) {
  const std::string japanese = std::string("\x8E\xC0\x8D\x73\x8E\x9E\x83\x47\x83\x89\x81\x5B\x3A\x20") +
                               J_rtmsg[155] + "\n" + J_rtmsg[1];
  const std::string english = "Runtime Error: Out of memory\nProgram terminated by fatal error\n";
  static constexpr struct {
    const char *value;
    bool japanese;
  } rows[] = {
      {"NIHONGO", true},
      {"nihongo", true},
      {"Japanese", true},
      {"\x93\xFA\x96\x7B\x8C\xEA", true},
      {"\x82\xC9\x82\xD9\x82\xF1\x82\xB2", true},
      {"english", false},
      {"EIGO", false},
      {"\x89\x70\x8C\xEA", false},
      {"\x82\xA6\x82\xA2\x82\xB2", false},
  };
  for (const auto &row : rows)
    EXPECT_EQ(with_language(row.value).err, row.japanese ? japanese : english) << row.value;

  // A prefix of a name, or a name with more after it, is no name.
  for (const char *bad : {"Eng", "JAPANESEX", "", "\x93\xFA\x96\x7B"}) {
    auto r = with_language(bad);
    EXPECT_EQ(r.err, "Unrecognised language setting for KAFFORTRAN_RUNTIME_LANGUAGE\n" + english)
        << bad;
  }
}

}  // namespace
