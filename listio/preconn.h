// The default-kind workers of the f90_preconn_io module, shared with the
// UCS-4 twins.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kafrts.h"

// IOINIT: null arguments are absent.
void preconn_ioinit(const char *blank, std::size_t blank_len, const char *position, std::size_t position_len,
                    const char *prefix, std::size_t prefix_len, const std::int32_t *verbose);
// GET_PCIO_OPTIONS: null arguments are absent.
void preconn_get(char *blank, std::size_t blank_len, char *position, std::size_t position_len, char *prefix,
                 std::size_t prefix_len, std::int32_t *verbose);
