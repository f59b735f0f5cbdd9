/* The same kind of runtime error under the Japanese catalogue, selected by
 * the environment (KAFFORTRAN_RUNTIME_LANGUAGE=NIHONGO, see japanese.env):
 * a DEALLOCATE of an unallocated ALLOCATABLE, reported in Shift-JIS. */
#include <kafrts.h>

static void release(void) { __KAFf90_rterr("release.f90", 7, 58, "WORK"); }

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, release); }
