// PAUSE: a message on stderr, then wait for a line on standard input.
#include <cstdio>

#include "kafrts.h"

extern "C" void __KAFf90_pause(const char *code) {
  if (code) {
    std::fputs("PAUSE: ", stderr);
    std::fputs(code, stderr);
  } else {
    std::fputs("Fortran-90 PAUSE", stderr);
  }
  std::fputs("\n\nType carriage return to continue\n", stderr);
  for (int c = std::getc(stdin); c != EOF && c != '\n'; c = std::getc(stdin)) {
  }
  std::fputs("Fortran-90 execution continues...\n", stderr);
}
