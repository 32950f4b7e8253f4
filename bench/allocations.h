// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ALLOCATIONS_H
#define ALLOCATIONS_H

#include <stdint.h>

namespace bench {

/** How often the calling thread has asked for memory (malloc, calloc, realloc) so far, through
 *  whatever library. */
uint64_t allocations();

}  // namespace bench

#endif
