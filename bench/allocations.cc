// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "allocations.h"

#include <stddef.h>

// The program's own malloc, which every library finds before that of the C library: it counts and
// hands the call on. The names behind it are those of glibc.

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size);
void* calloc(size_t count, size_t size);
void* realloc(void* block, size_t size);
}

namespace {

thread_local uint64_t count = 0;

}  // namespace

uint64_t bench::allocations() {
    return count;
}

void* malloc(size_t size) {
    ++count;
    return __libc_malloc(size);
}

void* calloc(size_t elements, size_t size) {
    ++count;
    return __libc_calloc(elements, size);
}

void* realloc(void* block, size_t size) {
    ++count;
    return __libc_realloc(block, size);
}
