// Applies the preconnected-unit options to a unit the engine connects
// without an OPEN (called when the preconnection is made).
#pragma once

#include "engine/unit.h"

void apply_pcio_options(unit_rec *u);
