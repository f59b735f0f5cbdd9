// Shared by the memory tests: a child process with the runtime set up and
// no options from the environment, and the text of a fatal report.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "kafrts.h"
#include "support/child.h"

namespace kafmem {

// Runs body in a child with the runtime's options read from a clean
// environment, then show_dangling and mem_allow_undef_dealloc as given.
inline kaftest::child_result in_child(const std::function<void()> &body, bool show = false,
                                      bool maud = false) {
  kaftest::child_options options;
  options.env = {{"KAFFORTRAN_RUNTIME_OPTIONS", nullptr},
                 {"KAFFORTRAN_RUNTIME_ERROR_FILE", nullptr},
                 {"KAFF90_RUNTIME_ERROR_FILE", nullptr},
                 {"KAFFORTRAN_RUNTIME_LANGUAGE", nullptr}};
  return kaftest::run_in_child(
      [&] {
        __KAFf90_init_runtime_options();
        __KAFf90_show_dangling = show;
        __KAFf90_maud_enabled = maud;
        body();
      },
      options);
}

// Writes text to the child's standard output at once (a fatal ending does
// not flush the C streams).
inline void tell(const std::string &text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

// What a fatal report writes: prefix, location, text, then the ending.
inline std::string fatal_text(const std::string &location, const std::string &text) {
  return "Runtime Error: " + location + text + "\nProgram terminated by fatal error\n";
}

inline void expect_fatal(const kaftest::child_result &r, const std::string &want) {
  EXPECT_TRUE(r.signaled && r.signal == SIGABRT) << "exit " << r.exit_status << "\n" << r.err;
  EXPECT_EQ(r.err, want);
}

inline void expect_clean(const kaftest::child_result &r) {
  EXPECT_TRUE(r.exited && r.exit_status == 0) << r.err;
  EXPECT_EQ(r.err, "");
}

}  // namespace kafmem
