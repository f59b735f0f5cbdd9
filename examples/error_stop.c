/* ERROR STOP with a text code:
 *   program check
 *     error stop 'input file is empty'
 *   end program */
#include <kafrts.h>

static void check(void) { __KAFf90_error_stop("check.f90", 2, "input file is empty", 1); }

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, check); }
