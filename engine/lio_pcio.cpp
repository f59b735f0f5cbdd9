// The options of preconnected units (set through the f90_preconn_io
// module): blank interpretation, initial position, a file-name prefix and a
// verbose switch, applied when the engine connects a preconnected unit.
#include <cstring>

#include "engine/unit.h"
#include "engine/lio_pcio.h"
#include "kafrts/listio.h"

extern "C" {
char __KAFf90_pcio_blank[8] = "NULL";
char __KAFf90_pcio_position[8] = "ASIS";
char __KAFf90_pcio_prefix[31] = "";
std::int32_t __KAFf90_pcio_verbose = 0;
}

// BLANK= becomes the unit's blank interpretation; POSITION= applies to a
// unit connected to a file that can be positioned (the standard streams
// cannot be), APPEND moving to its end and REWIND to its start.
void apply_pcio_options(unit_rec *u) {
  u->head.blank_mode = std::strcmp(__KAFf90_pcio_blank, "ZERO") == 0 ? 1 : 0;
  const bool append = std::strcmp(__KAFf90_pcio_position, "APPEND") == 0;
  const bool rewind = std::strcmp(__KAFf90_pcio_position, "REWIND") == 0;
  u->position = append ? 2 : rewind ? 1 : 0;
  if (u->stream && !u->standard) {
    if (append) std::fseek(u->stream, 0, SEEK_END);
    else if (rewind) std::fseek(u->stream, 0, SEEK_SET);
  }
}
