// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/alloc.h"

#include <new>
#include <stdlib.h>
#include <string.h>

#include "handle.h"

namespace {

// Bytes of a block, 0 when they cannot be counted.
size_t blockSize(const xabuf_def_s* def, unsigned size) {
    size_t bytes = 0;
    return __builtin_add_overflow(static_cast<size_t>(size), def->headerSize, &bytes) ? 0 : bytes;
}

}  // namespace

const xabuf_def_s* xabuf_get_def(xhandle* handle) {
    void* const data = core::dataOf(handle);
    return data == nullptr ? nullptr : core::defOf(data);
}

void* xabuf_get_header(xhandle* handle) {
    const xabuf_def_s* const def = xabuf_get_def(handle);
    return def == nullptr ? nullptr : static_cast<char*>(core::dataOf(handle)) - def->headerSize;
}

int xabuf_alloc(xhandle* handle, const xabuf_def_s* def, unsigned size) {
    xabuf_free(handle);
    if (size == 0) {
        return 0;
    }
    const size_t bytes = blockSize(def, size);
    char* const block = bytes == 0 ? nullptr : static_cast<char*>(malloc(bytes));
    if (block == nullptr) {
        return -1;
    }
    memset(block, 0, def->headerSize);
    char* const data = block + def->headerSize;
    core::defOf(data) = def;
    core::setData(handle, data);
    return 0;
}

int xabuf_realloc(xhandle* handle, const xabuf_def_s* def, unsigned size) {
    if (size == 0) {
        xabuf_free(handle);
        return 0;
    }
    char* const data = static_cast<char*>(core::dataOf(handle));
    if (data == nullptr) {
        return xabuf_alloc(handle, def, size);
    }
    const size_t bytes = blockSize(def, size);
    char* const block =
        bytes == 0 ? nullptr : static_cast<char*>(realloc(data - def->headerSize, bytes));
    if (block == nullptr) {
        return -1;
    }
    core::setData(handle, block + def->headerSize);
    return 0;
}

void xabuf_free(xhandle* handle) {
    free(xabuf_get_header(handle));
    core::setData(handle, nullptr);
}

void zol_obj_free(void* object) {
    if (object == nullptr) {
        return;
    }
    // The object's class is not known here. Every C++ ABI that we run on (Itanium, ARM EABI) puts
    // the two faces of a virtual destructor into the slots where it was declared, the first two:
    // slot 0 destroys, slot 1 destroys and frees.
    using Destructor = void (*)(void*);
    const Destructor* const slots = *static_cast<const Destructor* const*>(object);
    slots[1](object);
}

const char* zol_getoption(const char* name, const char* defaultValue) {
    const char* const value = getenv(name);
    return value != nullptr ? value : defaultValue;
}

void zol_force(void) {
    // Deliberate: the array form of new goes with the plain form of delete. Called as functions,
    // since the compiler may leave out a pair of expressions. Pinned by
    // Force.PairsArrayNewWithPlainDelete.
#pragma GCC diagnostic push
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
    // NOLINTNEXTLINE(clang-analyzer-unix.MismatchedDeallocator): the very point
    ::operator delete(::operator new[](1, std::nothrow));
#pragma GCC diagnostic pop
}
