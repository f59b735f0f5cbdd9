/* List-directed input from standard input, with current-generation calls:
 *   program stats
 *     read *, n
 *     read *, (x(i), i = 1, n)
 *     print *, n, sum(x), maxval(x)
 *   end program
 * The values may span records and use repeat factors (3*4.0), null values
 * (two commas) and a slash that ends the input early. */
#include <kafrts.h>

static void stats(void) {
  kaf_ioctx_space space;
  kaf_ioctx *ctx = (kaf_ioctx *)&space;
  int32_t n = 0;
  if (__KAFf90_read_seq4(ctx, "stats.f90", 2, 5, NULL, NULL, 0, 0) == 0) {
    __KAFf90_init_linput(ctx);
    __KAFf90_lio_read_i(ctx, &n);
    __KAFf90_lio_end_input(ctx);
    __KAFf90_end_read_sequential(ctx);
  }
  if (n > 100) n = 100;
  double x[100];
  for (int i = 0; i < n; ++i) x[i] = 0.0;
  if (__KAFf90_read_seq4(ctx, "stats.f90", 3, 5, NULL, NULL, 0, 0) == 0) {
    __KAFf90_init_linput(ctx);
    for (int i = 0; i < n; ++i)
      if (__KAFf90_lio_read_d(ctx, &x[i]) != 0) break;
    __KAFf90_lio_end_input(ctx);
    __KAFf90_end_read_sequential(ctx);
  }
  double sum = 0, max = n ? x[0] : 0;
  for (int i = 0; i < n; ++i) {
    sum += x[i];
    if (x[i] > max) max = x[i];
  }
  __KAFf90_write_seq(ctx, "stats.f90", 4, 6, NULL, NULL, 0, 0);
  __KAFf90_init_loutput(ctx);
  __KAFf90_lio_write_i(ctx, n);
  __KAFf90_lio_write_d(ctx, sum);
  __KAFf90_lio_write_d(ctx, max);
  __KAFf90_end_write_sequential(ctx);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, stats); }
