/* libkafrts and libkafengine: the runtime support libraries of the Fortran
 * compiler. This header declares every exported function and variable,
 * grouped by subsystem; compiler writers generate calls from it. Usable from
 * C (C99 or later) and C++. */
#ifndef KAFRTS_H
#define KAFRTS_H

#include "kafrts/common.h"
#include "kafrts/runtime.h"
#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/io.h"
#include "kafrts/format.h"
#include "kafrts/freal.h"
#include "kafrts/listio.h"
#include "kafrts/namelist.h"
#include "kafrts/arrays.h"
#include "kafrts/matmul.h"
#include "kafrts/ddouble.h"

#endif
