/* Integers written to a file and read back, as a compiled main program
 * calls the libraries:
 *   program roundtrip
 *     integer :: u, i, v(10), total
 *     open (newunit=u, file="io_file.txt", status="replace", action="readwrite")
 *     write (u, '(5I6)') (i*i - 20, i = 1, 10)
 *     rewind (u)
 *     read (u, '(5I6)') v
 *     total = sum(v)
 *     print '("read", 10I5)', v
 *     print '("sum ", I0)', total
 *     read (u, '(I6)', iostat=ios, iomsg=msg) i
 *     print '(A, I0, 2A)', "one more read: iostat=", ios, " iomsg=", trim(msg)
 *     close (u, status="delete")
 *   end program */
#include <kafrts.h>
#include <string.h>

static void roundtrip(void) {
  kaf_ioctx_space space;
  kaf_ioctx *io = (kaf_ioctx *)&space;
  int32_t u = 0, v[10], total = 0, ios = 0;
  char msg[60];
  kaf_open_spec open;
  memset(&open, 0, sizeof open);
  open.file = "io_file.txt";
  open.file_len = strlen(open.file);
  open.status = "replace";
  open.status_len = 7;
  open.action = "readwrite";
  open.action_len = 9;
  open.newunit = &u;
  __KAFf90_openf4x("roundtrip.f90", 3, 0, &open);

  __KAFf90_write_seq(io, "roundtrip.f90", 4, u, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(5I6)", -1, 2);
  for (int i = 1; i <= 10; ++i) __KAFf90_fmt_write_i(io, i * i - 20);
  __KAFf90_end_write_sequential(io);

  __KAFf90_rewind4("roundtrip.f90", 5, u, NULL, NULL, 0, 0);

  __KAFf90_read_seq4(io, "roundtrip.f90", 6, u, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(5I6)", -1, 1);
  for (int i = 0; i < 10; ++i) __KAFf90_fmt_read_i(io, &v[i]);
  __KAFf90_end_read_sequential(io);
  for (int i = 0; i < 10; ++i) total += v[i];

  __KAFf90_write_seq(io, "roundtrip.f90", 8, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(\"read\", 10I5)", -1, 2);
  for (int i = 0; i < 10; ++i) __KAFf90_fmt_write_i(io, v[i]);
  __KAFf90_end_write_sequential(io);
  __KAFf90_write_seq(io, "roundtrip.f90", 9, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(\"sum \", I0)", -1, 2);
  __KAFf90_fmt_write_i(io, total);
  __KAFf90_end_write_sequential(io);

  /* One READ too many: the end of the file comes back through IOSTAT=. */
  int32_t extra = 0;
  if (__KAFf90_read_seq4(io, "roundtrip.f90", 10, u, &ios, msg, sizeof msg, KAF_IO_ERR) == 0) {
    __KAFf90_establish_format(io, "(I6)", -1, 1);
    __KAFf90_fmt_read_i(io, &extra);
    __KAFf90_end_read_sequential(io);
  }
  size_t len = sizeof msg;
  while (len > 0 && msg[len - 1] == ' ') --len;
  __KAFf90_write_seq(io, "roundtrip.f90", 11, 6, NULL, NULL, 0, 0);
  __KAFf90_establish_format(io, "(A, I0, 2A)", -1, 2);
  __KAFf90_fmt_write_ch(io, "one more read: iostat=", 22);
  __KAFf90_fmt_write_i(io, ios);
  __KAFf90_fmt_write_ch(io, " iomsg=", 7);
  __KAFf90_fmt_write_ch(io, msg, len);
  __KAFf90_end_write_sequential(io);

  __KAFf90_close4("roundtrip.f90", 12, u, "delete", 6, NULL, NULL, 0, 0);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, roundtrip); }
