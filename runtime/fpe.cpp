// The SIGFPE handler: turns a floating-point or integer trap into a runtime
// message and a traceback, then aborts.
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "kafrts.h"

extern "C" {

void __KAFf90_signal_handler(int signal, void *raw_info, void *) {
  const auto *info = static_cast<const siginfo_t *>(raw_info);
  __KAFf90_rtmsg_start();
  FILE *stream = __KAFf90_runtime_error_file ? __KAFf90_runtime_error_file : stderr;
  if (signal != SIGFPE) {
    std::fprintf(stream, "Unexpected signal %d\n", signal);
    std::abort();
  }
  __KAFf90_rtmsg_nocrlf(364);
  int code = info ? info->si_code : 0;
  switch (code) {
    case 1: std::fputs("Integer divide by zero", stream); break;
    case 2: std::fputs("Integer overflow", stream); break;
    case 3: __KAFf90_rtmsg_nocrlf(366); break;
    case 4: __KAFf90_rtmsg_nocrlf(367); break;
    case 5: __KAFf90_rtmsg_nocrlf(368); break;
    case 6: __KAFf90_rtmsg_nocrlf(369); break;
    case 7: __KAFf90_rtmsg_nocrlf(365); break;
    case 8: std::fputs("Subscript range trap", stream); break;
    default: std::fprintf(stream, "Code %d", code); break;
  }
  __KAFf90_rtmsg(370);
  if (__KAFf90_lineno != 0) __KAFf90_dump_gline_stack(stream);
  // Exit procedures are not cleared on this path.
  __KAFf90_io_finish();
  std::abort();
}

}  // extern "C"

namespace {
// The exported handler takes the signal information as void * so that the
// public header needs no POSIX types; the kernel calls this one.
void deliver(int signal, siginfo_t *info, void *context) {
  __KAFf90_signal_handler(signal, info, context);
}
}  // namespace

extern "C" {

void __KAFf90_establish_sigfpe_handler(void) {
  struct sigaction action {};
  action.sa_sigaction = deliver;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGFPE, &action, nullptr);
}

}  // extern "C"
