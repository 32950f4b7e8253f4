// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/alloc_faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <glob.h>
#include <new>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include "support/next_function.h"

namespace {

thread_local int countdown = 0;
thread_local bool failed = false;
thread_local long live = 0;
// Numbers, not bools: sanitizers look at those, also in the calls that come before they are ready.
thread_local int isSpared = 0;   // no allocation fails
thread_local int isPassing = 0;  // neither fails nor counts

// Sets a flag as long as it lives.
class Raised {
  public:
    explicit Raised(int& flag) : m_flag(flag), m_before(flag) { flag = 1; }
    ~Raised() { m_flag = m_before; }
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;

  private:
    int& m_flag;
    int m_before;
};

bool mustFail() {
    if (countdown == 0 || isSpared != 0 || isPassing != 0 || --countdown != 0) {
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

namespace {

// The malloc() of some C libraries calls itself at times. Without an object of Raised, for
// sanitizers call this before they are ready for one.
void* allocate(size_t size) {
    if (mustFail()) {
        return nullptr;
    }
    const int before = isPassing;
    isPassing = 1;
    void* const block = REAL(malloc)(size);
    isPassing = before;
    live += block != nullptr && isPassing == 0 ? 1 : 0;
    return block;
}

}  // namespace

extern "C" {

void* malloc(size_t size) {
    return allocate(size);
}

// Over malloc(), as that of some C libraries is, which would count its blocks twice.
void* calloc(size_t count, size_t size) {
    size_t bytes = 0;
    void* const block = __builtin_mul_overflow(count, size, &bytes) ? nullptr : allocate(bytes);
    return block == nullptr ? nullptr : memset(block, 0, bytes);
}

void* realloc(void* old, size_t size) {
    if (mustFail()) {
        return nullptr;
    }
    const Raised passing(isPassing);  // that of some C libraries calls malloc() and free()
    void* const block = REAL(realloc)(old, size);
    live += old == nullptr && block != nullptr ? 1 : 0;
    return block;
}

void free(void* block) {
    live -= block != nullptr && isPassing == 0 ? 1 : 0;
    REAL(free)(block);
}

#ifdef __UCLIBC__
// These fall over null where they get no memory.

void* dlopen(const char* file, int mode) noexcept {
    static const auto next = nextFunction<void* (*)(const char*, int)>("dlopen");
    const Raised spared(isSpared);
    return next(file, mode);
}

int glob(const char* pattern, int flags, int (*tell)(const char*, int), glob_t* found) {
    static const auto next = nextFunction<decltype(&glob)>("glob");
    const Raised spared(isSpared);
    return next(pattern, flags, tell, found);
}
#endif

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
