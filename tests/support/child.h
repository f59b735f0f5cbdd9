// Runs a piece of a test in a forked child, so that fatal paths (abort,
// exit status, the exact bytes written to standard error) can be checked.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kaftest {

struct child_result {
  bool exited = false;    // ended through exit/_exit (or returned)
  int exit_status = -1;   // when exited
  bool signaled = false;  // ended by a signal
  int signal = 0;         // when signaled (SIGABRT for abort())
  std::string out;        // everything written to file descriptor 1
  std::string err;        // everything written to file descriptor 2
};

struct child_options {
  // Set in the child's environment before body runs (value null: unset).
  std::vector<std::pair<std::string, const char *>> env;
  std::string stdin_text;  // the child's standard input
};

// Forks; in the child sets the environment, redirects 0, 1 and 2, runs body
// and, if body returns, flushes the C streams and exits with status 0.
child_result run_in_child(const std::function<void()> &body, const child_options &options = {});

}  // namespace kaftest
