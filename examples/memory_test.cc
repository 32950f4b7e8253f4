// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdlib.h>
#include <zol/zol.h>

// The program's own malloc(3) is the one that the library calls, too.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);

static int left = -1;  // allocations that succeed before one fails; -1: none fails

static bool fails() {
    return left >= 0 && left-- == 0;
}
extern "C" void* malloc(size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
extern "C" void* realloc(void* block, size_t size) {
    return fails() ? nullptr : __libc_realloc(block, size);
}

// What is tested: a lamp is there with its name, or not at all.
static bool addLamp(zol::CTab<zol::CStr>& lamps, const char* text) {
    const zol::CStr name(text);  // empty, where there is no memory for it
    return !name.isEmpty() && lamps.append(name) != -1;
}

int main() {
    for (int n = 0;; ++n) {
        zol::CTab<zol::CStr> lamps;
        left = n;
        const bool isAdded = addLamp(lamps, "kitchen");
        const bool hasFailed = left == -1;
        left = -1;
        if (isAdded == hasFailed || lamps.getCount() != (isAdded ? 1 : 0)) {
            return 1;
        }
        if (isAdded) {
            return n > 0 && lamps[0] == "kitchen" ? 0 : 1;  // it needs no more
        }
    }
}
