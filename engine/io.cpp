// The I/O engine's process-wide entries. Until the unit table exists, the
// only open streams are the C library's own.
#include <cstdio>

#include "kafrts.h"

extern "C" void __KAFf90_io_finish(void) { std::fflush(nullptr); }

// Until units exist, a unit handed to the reporter is described by a
// kaf_unit_facts record of its own.
extern "C" void __KAFf90_unit_facts(const void *unit, kaf_unit_facts *facts) {
  *facts = *static_cast<const kaf_unit_facts *>(unit);
}
