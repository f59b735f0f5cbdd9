/* STOP 42, as a compiled main program calls the libraries:
 *   program answer
 *     stop 42
 *   end program */
#include <kafrts.h>

static void answer(void) {
  /* STOP with an integer code; the compiler passes the code as the status. */
  __KAFf90_stop2015("answer.f90", 2, 0, NULL, 1, 42, 42, 0);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, answer); }
