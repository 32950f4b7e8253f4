// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/alloc_faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <new>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

namespace {

thread_local int countdown = 0;
thread_local bool failed = false;
thread_local long live = 0;
thread_local bool isPassing = false;  // the C library calls what it is itself made of

bool mustFail() {
    if (countdown == 0 || isPassing || --countdown != 0) {
        return false;
    }
    failed = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

long AllocFaults::liveBlocks() {
    return live;
}

void AllocFaults::failNth(int n) {
    countdown = n;
    failed = false;
}

bool AllocFaults::hasFailed() {
    return failed;
}

// The executable's definitions win over those of the C library, or of the address sanitizer.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif
#if defined(__GLIBC__) && !defined(__UCLIBC__)
#if defined(__SANITIZE_ADDRESS__)
#define REAL(name) __interceptor_##name
#else
#define REAL(name) __libc_##name
#endif
extern "C" {
void* REAL(malloc)(size_t);
void* REAL(realloc)(void*, size_t);
void REAL(free)(void*);
}
#else
// Others have no second name for them. All are looked up at once, at the first allocation: later
// the loader may be what allocates, and wait for itself.
#define REAL(name) nextFunctions().name##Function

namespace {

template <typename Function>
void lookUp(const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

struct NextFunctions {
    NextFunctions() {
        lookUp("malloc", mallocFunction);
        lookUp("realloc", reallocFunction);
        lookUp("free", freeFunction);
    }
    void* (*mallocFunction)(size_t);
    void* (*reallocFunction)(void*, size_t);
    void (*freeFunction)(void*);
};

const NextFunctions& nextFunctions() {
    static const NextFunctions functions;
    return functions;
}

}  // namespace
#endif

extern "C" {

void* malloc(size_t size) {
    void* const block = mustFail() ? nullptr : REAL(malloc)(size);
    live += block != nullptr && !isPassing ? 1 : 0;
    return block;
}

// Over malloc(), as that of some C libraries is, which would count its blocks twice.
void* calloc(size_t count, size_t size) {
    size_t bytes = 0;
    void* const block =
        __builtin_mul_overflow(count, size, &bytes) || mustFail() ? nullptr : REAL(malloc)(bytes);
    live += block != nullptr ? 1 : 0;
    return block == nullptr ? nullptr : memset(block, 0, bytes);
}

// That of some C libraries calls malloc() and free(), which is neither counted nor fails.
void* realloc(void* old, size_t size) {
    if (mustFail()) {
        return nullptr;
    }
    isPassing = true;
    void* const block = REAL(realloc)(old, size);
    isPassing = false;
    live += old == nullptr && block != nullptr ? 1 : 0;
    return block;
}

void free(void* block) {
    live -= block != nullptr && !isPassing ? 1 : 0;
    REAL(free)(block);
}

}  // extern "C"

// Over malloc(), so that they fail too where the runtime has operators of its own.
void* operator new(size_t size) {
    void* const block = malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}
void operator delete(void* block) noexcept {
    free(block);
}
void operator delete(void* block, size_t) noexcept {
    free(block);
}
