/* A table on standard output with nested groups, reversion and tabs, as a
 * compiled main program calls the libraries:
 *   program table
 *     integer :: i
 *     write (*, '("n", T7, 3("n**", I0, :, 5X) / (I4, 3(1X, I7)))') &
 *           2, 3, 4, (i, i**2, i**3, i**4, i = 1, 6)
 *     write (*, '(A, *(1X, I0, :, ","))') "sum:", 1, 2, 3, 4
 *     write (*, '(SP, 2(I4, 2(1X, Z2.2)), SS, T30, "|", L2)') 10, 255, 16, -7, 1, 2, .true.
 *   end program */
#include <kafrts.h>

static void table(void) {
  kaf_ioctx_space space;
  kaf_ioctx *io = (kaf_ioctx *)&space;

  __KAFf90_write_seq(io, "table.f90", 3, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(\"n\", T7, 3(\"n**\", I0, :, 5X) / (I4, 3(1X, I7)))", -1, 2);
  for (int k = 2; k <= 4; ++k) __KAFf90_fmt_write_i(io, k);
  for (int i = 1; i <= 6; ++i) {
    __KAFf90_fmt_write_i(io, i);
    __KAFf90_fmt_write_i(io, i * i);
    __KAFf90_fmt_write_i(io, i * i * i);
    __KAFf90_fmt_write_i(io, i * i * i * i);
  }
  __KAFf90_end_write_sequential(io);

  __KAFf90_write_seq(io, "table.f90", 5, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(A, *(1X, I0, :, \",\"))", -1, 2);
  __KAFf90_fmt_write_ch(io, "sum:", 4);
  for (int i = 1; i <= 4; ++i) __KAFf90_fmt_write_i(io, i);
  __KAFf90_end_write_sequential(io);

  __KAFf90_write_seq(io, "table.f90", 7, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(SP, 2(I4, 2(1X, Z2.2)), SS, T30, \"|\", L2)", -1, 2);
  __KAFf90_fmt_write_i(io, 10);
  __KAFf90_fmt_write_i(io, 255);
  __KAFf90_fmt_write_i(io, 16);
  __KAFf90_fmt_write_i(io, -7);
  __KAFf90_fmt_write_i1(io, 1);
  __KAFf90_fmt_write_i1(io, 2);
  __KAFf90_fmt_write_l(io, 1);
  __KAFf90_end_write_sequential(io);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, table); }
