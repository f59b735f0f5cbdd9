// Internal entries of the error reporter, shared with the other parts of
// the library that format catalogue texts.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "kafrts/common.h"

// Expands message number with the insertion values in *args onto stream.
void kaf_report_to_stream(FILE *stream, int32_t number, va_list *args);
// The same into buf, never past size bytes; returns the bytes written.
size_t kaf_report_to_memory(char *buf, size_t size, int32_t number, va_list *args);

// Edits the value of a $F (double f), $G or $Q (double-double g) insertion
// into out; returns the length, or 0 when the letter cannot be edited, in
// which case the reporter writes "BAD INSERTION CODE(n)".
size_t kaf_format_real_insertion(char letter, double f, kaf_dd g, char *out, size_t cap);
