// Program start-up: the one entry a compiled main program's C main calls.
#include "kafrts.h"

extern "C" int __KAFf90_start(int argc, char **argv, int32_t fp_mode,
                              void (*main_program)(void)) {
  __KAFf90_argc = argc;
  __KAFf90_argv = argv;
  __KAFf90_init_runtime_options();
  __KAFf90_init_fp(fp_mode);
  __KAFf90_establish_sigfpe_handler();
  // Single-image mode: the main program runs on the calling thread.
  main_program();
  __KAFf90_finish(0);
}
