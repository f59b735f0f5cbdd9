/* A subscript out of range, found three program units deep, with line
 * tracking on: the report names the file and line, then the traceback.
 *   program grid          ! grid.f90
 *     call fill(a, 11)    ! line 4
 *   subroutine fill(a, n)
 *     call put(a, n)      ! line 12
 *   subroutine put(a, i)
 *     a(i) = 1.0          ! line 20: i = 11 but a(1:10) */
#include <kafrts.h>

static void put(int i) {
  __KAFf90_enter_pu("put");
  __KAFf90_filename = "grid.f90";
  __KAFf90_lineno = 20;
  if (i > 10) __KAFf90_rterr("grid.f90", 20, 20, 1, "a", (int64_t)i, (int64_t)1, (int64_t)10);
  __KAFf90_exit_pu();
}

static void fill(int n) {
  __KAFf90_enter_pu("fill");
  __KAFf90_filename = "grid.f90";
  __KAFf90_lineno = 12;
  put(n);
  __KAFf90_exit_pu();
}

static void grid(void) {
  __KAFf90_enter_pu("grid");
  __KAFf90_filename = "grid.f90";
  __KAFf90_lineno = 4;
  fill(11);
  __KAFf90_exit_pu();
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, grid); }
