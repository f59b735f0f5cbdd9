// Real-valued insertions of the reporter: $F (a double) by F editing below
// 1e20 in magnitude and E editing above; $G and $Q (double-doubles) the
// same with the bound 1e30, through the double-double editor.
#include "format/freal.h"
#include "runtime/reporter.h"

size_t kaf_format_real_insertion(char letter, double f, kaf_dd g, char *out, size_t cap) {
  return letter == 'F' ? kaf::freal::format_dollar_F(out, cap, f)
                       : kaf::freal::format_dollar_G(out, cap, g);
}
