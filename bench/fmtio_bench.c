/* 10 million integers written to a file with (I12) and with (8I10) in one
 * WRITE statement each, and read back with one READ, through the calls a
 * compiled program makes. Prints seconds per phase; checks the values. */
#include <kafrts.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { N = 10000000 };

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t); /* CPU time: the machine is shared */
  return t.tv_sec + t.tv_nsec * 1e-9;
}

static int32_t *a, *b;
static const char *path;

static void run(const char *fmt) {
  kaf_ioctx_space space;
  kaf_ioctx *io = (kaf_ioctx *)&space;
  kaf_open_spec open;
  memset(&open, 0, sizeof open);
  open.file = path;
  open.file_len = strlen(path);
  open.status = "replace";
  open.status_len = 7;
  __KAFf90_openf4x(NULL, 0, 10, &open);
  double t0 = now();
  __KAFf90_write_seq(io, NULL, 0, 10, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, fmt, -1, 2);
  for (int i = 0; i < N; ++i) __KAFf90_fmt_write_i(io, a[i]);
  __KAFf90_end_write_sequential(io);
  __KAFf90_close4(NULL, 0, 10, NULL, 0, NULL, NULL, 0, 0);
  double t1 = now();
  memset(&open, 0, sizeof open);
  open.file = path;
  open.file_len = strlen(path);
  open.status = "old";
  open.status_len = 3;
  __KAFf90_openf4x(NULL, 0, 10, &open);
  __KAFf90_read_seq4(io, NULL, 0, 10, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, fmt, -1, 1);
  for (int i = 0; i < N; ++i) __KAFf90_fmt_read_i(io, &b[i]);
  __KAFf90_end_read_sequential(io);
  __KAFf90_close4(NULL, 0, 10, "delete", 6, NULL, NULL, 0, 0);
  double t2 = now();
  if (memcmp(a, b, N * sizeof *a) != 0) {
    fprintf(stderr, "values differ\n");
    exit(1);
  }
  printf("kafrts %-6s write %.3f s  read %.3f s\n", fmt, t1 - t0, t2 - t1);
}

static void bench(void) {
  a = malloc(N * sizeof *a);
  b = malloc(N * sizeof *b);
  for (int i = 0; i < N; ++i) a[i] = (int32_t)((i * 2654435761u) % 199999999u) - 99999999;
  run("(I12)");
  run("(8I10)");
  fflush(stdout);
}

int main(int argc, char **argv) {
  path = argc > 1 ? argv[1] : "fmtio_bench.txt";
  return __KAFf90_start(1, argv, 2, bench);
}
