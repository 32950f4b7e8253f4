// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What the compiler's code asks of the C++ runtime, where the library is to need none at run time
// (ZOL_PRIVATE_RUNTIME). The vtables of type_info come from the static runtime; its own forms of
// these functions are not taken from there, since they can throw, and with them would come the
// whole unwinder. All of it stays inside the library.

#include <new>
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>

// One mutex for all: the library has few local statics that need construction, and constructing
// one does not come by another. Waiting, not spinning: the thread that constructs may have a lower
// priority than the one that waits.
namespace {
pthread_mutex_t guardMutex = PTHREAD_MUTEX_INITIALIZER;
}  // namespace

const std::nothrow_t std::nothrow{};

void* operator new(size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return malloc(size == 0 ? 1 : size);
}

void* operator new[](size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept {
    free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    free(memory);
}

// The first byte of a guard tells compiled code that the object is there (Itanium C++ ABI 3.3.3,
// and the C++ ABI for the Arm architecture 3.2.3, whose guard is a word).
extern "C" {
int __cxa_guard_acquire(char* guard);
void __cxa_guard_release(char* guard);
void __cxa_pure_virtual();

int __cxa_guard_acquire(char* guard) {
    (void)pthread_mutex_lock(&guardMutex);
    if (__atomic_load_n(guard, __ATOMIC_RELAXED) == 0) {
        return 1;  // locked until released
    }
    (void)pthread_mutex_unlock(&guardMutex);
    return 0;
}

void __cxa_guard_release(char* guard) {
    __atomic_store_n(guard, 1, __ATOMIC_RELEASE);
    (void)pthread_mutex_unlock(&guardMutex);
}

void __cxa_pure_virtual() {
    abort();
}
}
