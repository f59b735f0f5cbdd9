#include "support/child.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kaftest {
namespace {

// Captured output goes to anonymous files rather than pipes, so a child that
// writes a lot can never block on a parent that is not reading yet.
int memory_file(const char *name) { return memfd_create(name, 0); }

std::string slurp(int fd) {
  std::string text;
  lseek(fd, 0, SEEK_SET);
  char buf[4096];
  for (;;) {
    ssize_t n = read(fd, buf, sizeof buf);
    if (n <= 0) break;
    text.append(buf, static_cast<size_t>(n));
  }
  close(fd);
  return text;
}

}  // namespace

child_result run_in_child(const std::function<void()> &body, const child_options &options) {
  int out_fd = memory_file("child-out");
  int err_fd = memory_file("child-err");
  int in_fd = memory_file("child-in");
  if (!options.stdin_text.empty())
    (void)!write(in_fd, options.stdin_text.data(), options.stdin_text.size());
  lseek(in_fd, 0, SEEK_SET);
  std::fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(in_fd, 0);
    dup2(out_fd, 1);
    dup2(err_fd, 2);
    for (const auto &[name, value] : options.env) {
      if (value)
        setenv(name.c_str(), value, 1);
      else
        unsetenv(name.c_str());
    }
    body();
    std::fflush(nullptr);
    _exit(0);
  }
  child_result r;
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status)) {
    r.exited = true;
    r.exit_status = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    r.signaled = true;
    r.signal = WTERMSIG(status);
  }
  close(in_fd);
  r.out = slurp(out_fd);
  r.err = slurp(err_fd);
  return r;
}

}  // namespace kaftest
