/* A program as older object code calls the libraries, through the legacy
 * entries only:
 *   program table
 *     open (10, file='legacy_table.dat', status='replace')
 *     do i = 1, 4
 *       write (10, *) i, 1d0/i, 'row'
 *     end do
 *     write (10, '(I3,F10.5,A5)') (i, 1d0/i, ' done', i = 5, 6)
 *     rewind 10
 *     ... read it all back, list-directed and formatted ...
 *     inquire (10, access=a, form=f, name=n, number=k, opened=o)
 *     close (10, status='delete')
 *   end program */
#include <kafrts.h>
#include <string.h>

static const char file_name[] = "legacy_table.dat";
static const char fmt[] = "(I3,F10.5,A5)";

static void say(const char *text) {
  __KAFf90_write(6, NULL, 0, NULL, 0, 0);
  __KAFf90_lwrite_ch(text, strlen(text));
  __KAFf90_endwrite();
}

static void table(void) {
  __KAFf90_open(10, file_name, sizeof file_name - 1, "REPLACE", 7, NULL, 0, NULL, 0, NULL, 0);
  for (int i = 1; i <= 4; ++i) {
    __KAFf90_write(10, NULL, 0, NULL, 0, 0);
    __KAFf90_lwrite_i(i);
    __KAFf90_lwrite_d(1.0 / i);
    __KAFf90_lwrite_ch("row", 3);
    __KAFf90_endwrite();
  }
  __KAFf90_write(10, fmt, sizeof fmt - 1, NULL, 0, 0);
  for (int i = 5; i <= 6; ++i) {
    __KAFf90_write_i(i);
    __KAFf90_write_d(1.0 / i);
    __KAFf90_write_ch(" done", 5);
  }
  __KAFf90_endwrite();
  __KAFf90_rewind(10, 0);

  say("The file as written:");
  char line[80];
  for (int r = 0; r < 6; ++r) {
    static const char as_text[] = "(A)";
    memset(line, ' ', sizeof line);
    __KAFf90_read(10, as_text, 3, NULL, 0, NULL, 0);
    __KAFf90_read_ch(line, sizeof line);
    __KAFf90_endread();
    int n = sizeof line;
    while (n > 0 && line[n - 1] == ' ') --n;
    __KAFf90_write(6, as_text, 3, NULL, 0, 0);
    __KAFf90_write_ch(line, (size_t)n);
    __KAFf90_endwrite();
  }

  __KAFf90_rewind(10, 0);
  double sum = 0;
  int count = 0;
  for (int r = 0; r < 4; ++r) {
    int32_t i;
    double x;
    char word[3];
    __KAFf90_read(10, NULL, 0, NULL, 0, NULL, 0);
    __KAFf90_lread_i(&i);
    __KAFf90_lread_d(&x);
    __KAFf90_lread_ch(word, 3);
    __KAFf90_endread();
    sum += x;
    count += i;
  }
  int32_t i5, i6;
  double x5, x6;
  char w[5];
  __KAFf90_read(10, fmt, sizeof fmt - 1, NULL, 0, NULL, 0);
  __KAFf90_read_i(&i5);
  __KAFf90_read_d(&x5);
  __KAFf90_read_ch(w, 5);
  __KAFf90_read_i(&i6);
  __KAFf90_read_d(&x6);
  __KAFf90_read_ch(w, 5);
  __KAFf90_endread();
  say("Read back: sum of i, sum of the reciprocals, the last two rows:");
  __KAFf90_write(6, NULL, 0, NULL, 0, 0);
  __KAFf90_lwrite_i(count);
  __KAFf90_lwrite_d(sum);
  __KAFf90_lwrite_i(i5);
  __KAFf90_lwrite_d(x5);
  __KAFf90_lwrite_i(i6);
  __KAFf90_lwrite_r((float)x6);
  __KAFf90_endwrite();

  char access[10], form[11], name[40];
  int32_t number, opened;
  __KAFf90_inquire_u(10, access, sizeof access, NULL, 0, NULL, 0, NULL, 0, NULL, 0, NULL, form, sizeof form, NULL, 0,
                     &opened, name, sizeof name, NULL, NULL, &number, NULL, 0, NULL, 0, NULL, 0, NULL, 0, NULL, NULL,
                     0, NULL, 0, NULL, 0);
  say("INQUIRE: access, form, name, number, opened:");
  __KAFf90_write(6, NULL, 0, NULL, 0, 0);
  __KAFf90_lwrite_ch(access, sizeof access);
  __KAFf90_lwrite_i(number);
  __KAFf90_lwrite_l(opened);
  __KAFf90_endwrite();
  __KAFf90_write(6, "(2A)", 4, NULL, 0, 0);
  __KAFf90_write_ch(form, sizeof form);
  __KAFf90_write_ch(name, sizeof name);
  __KAFf90_endwrite();
  __KAFf90_closef(10, "DELETE", 6, NULL, NULL, 0, 0);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, table); }
