// GET_COMMAND, GET_COMMAND_ARGUMENT, the argument count and
// GET_ENVIRONMENT_VARIABLE: blank-padded results, LENGTH and STATUS.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kafrts.h"

namespace {

struct command_line {
  command_line() {
    static char a0[] = "./prog", a1[] = "first", a2[] = "", a3[] = "third arg";
    static char *argv[] = {a0, a1, a2, a3, nullptr};
    __KAFf90_argc = 4;
    __KAFf90_argv = argv;
  }
  ~command_line() {
    __KAFf90_argc = 0;
    __KAFf90_argv = nullptr;
  }
};

TEST(CommandLine, GetCommand) {
  command_line cl;
  EXPECT_EQ(__KAFf90_iargc(), 3);
  char buf[40];
  int32_t length = -9, status = -9;
  __KAFf90_getcmd(buf, &length, &status, sizeof buf);
  EXPECT_EQ(std::string(buf, sizeof buf), "./prog first  third arg" + std::string(17, ' '));
  EXPECT_EQ(length, 23);
  EXPECT_EQ(status, 0);

  char small[10];
  __KAFf90_getcmd(small, &length, &status, sizeof small);
  EXPECT_EQ(std::string(small, sizeof small), "./prog fir");
  EXPECT_EQ(length, 23);
  EXPECT_EQ(status, -1);

  __KAFf90_getcmd(nullptr, &length, &status, 0);
  EXPECT_EQ(length, 23);
  EXPECT_EQ(status, 0);
}

TEST(CommandLine, NoCommandAtAll) {
  __KAFf90_argc = 0;
  int32_t length = -9, status = -9;
  char buf[4];
  __KAFf90_getcmd(buf, &length, &status, sizeof buf);
  EXPECT_EQ(std::string(buf, 4), "    ");
  EXPECT_EQ(length, 0);
  EXPECT_EQ(status, 0);
}

TEST(CommandLine, GetCommandArgument) {
  command_line cl;
  static constexpr struct {
    int number;
    size_t len;
    const char *value;
    int length, status;
  } rows[] = {
      {0, 8, "./prog  ", 6, 0},  {1, 5, "first", 5, 0},    {1, 3, "fir", 5, -1},
      {2, 4, "    ", 0, 0},      {3, 9, "third arg", 9, 0}, {4, 3, "   ", 0, 1},
      {-1, 3, "   ", 0, 1},
  };
  for (const auto &row : rows) {
    char buf[16];
    int32_t length = -9, status = -9;
    __KAFf90_getarg(row.number, buf, &length, &status, row.len);
    EXPECT_EQ(std::string(buf, row.len), row.value) << row.number;
    EXPECT_EQ(length, row.length) << row.number;
    EXPECT_EQ(status, row.status) << row.number;
  }
  // Without VALUE a long argument is no error.
  int32_t length = -9, status = -9;
  __KAFf90_getarg(3, nullptr, &length, &status, 0);
  EXPECT_EQ(length, 9);
  EXPECT_EQ(status, 0);
}

TEST(Environment, GetEnvironmentVariable) {
  setenv("KAF_TEST_VALUE", "hello world", 1);
  setenv("KAF_TEST_EMPTY", "", 1);
  unsetenv("KAF_TEST_MISSING");
  static constexpr struct {
    const char *name;
    int trim;  // -1: TRIM_NAME absent
    size_t len;
    const char *value;
    int length, status;
  } rows[] = {
      {"KAF_TEST_VALUE   ", -1, 12, "hello world ", 11, 0},
      {"KAF_TEST_VALUE", 1, 5, "hello", 11, -1},
      {"KAF_TEST_VALUE ", 0, 5, "     ", 0, 1},  // the blank is part of the name
      {"KAF_TEST_EMPTY", -1, 3, "   ", 0, 0},
      {"KAF_TEST_MISSING", -1, 3, "   ", 0, 1},
      {"   ", -1, 3, "   ", 0, 3},
      {"", -1, 3, "   ", 0, 3},
  };
  for (const auto &row : rows) {
    char buf[16];
    int32_t length = -9, status = -9;
    int32_t trim = row.trim;
    __KAFf90_getenv(row.name, buf, &length, &status, row.trim < 0 ? nullptr : &trim,
                    std::string(row.name).size(), row.len);
    EXPECT_EQ(std::string(buf, row.len), row.value) << row.name;
    EXPECT_EQ(length, row.length) << row.name;
    EXPECT_EQ(status, row.status) << row.name;
  }
}

}  // namespace
