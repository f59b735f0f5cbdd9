// Real-valued insertions ($F, $G, $Q) of the reporter. The real editors are
// not in the library yet, so no such value can be edited.
#include "runtime/reporter.h"

size_t kaf_format_real_insertion(char, double, kaf_dd, char *, size_t) { return 0; }
