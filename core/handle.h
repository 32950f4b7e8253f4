// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CORE_HANDLE_H
#define CORE_HANDLE_H

// Handles and hidden headers from inside.
//
// A handle word is spelled void*, char* or T* by whoever owns it, and the functions of this folder
// reach it as xhandle*. Only these helpers touch the word, through a type that the compiler lets
// alias all others; so nobody has to build with -fno-strict-aliasing.

#include <stdint.h>

#include "zol/sbuf.h"
#include "zol/str.h"
#include "zol/tab.h"

namespace core {

using HandleWord [[gnu::may_alias]] = void*;

inline void* dataOf(const xhandle* handle) {
    return *reinterpret_cast<const HandleWord*>(handle);
}

inline void setData(xhandle* handle, void* data) {
    *reinterpret_cast<HandleWord*>(handle) = data;
}

// The handle's data, of which the handle lets go without giving up the reference.
inline void* takeData(xhandle* handle) {
    void* const data = dataOf(handle);
    setData(handle, nullptr);
    return data;
}

// The end of the header is the same for every shared buffer, whatever stands before it.
inline const xabuf_def_s*& defOf(void* data) {
    return *reinterpret_cast<const xabuf_def_s**>(static_cast<char*>(data) - sizeof(void*));
}

inline int32_t& refCountOf(void* data) {
    return *reinterpret_cast<int32_t*>(static_cast<char*>(data) - sizeof(xsbufh_s) +
                                       offsetof(xsbufh_s, refCount));
}

inline xtabh_s* tableHeaderOf(void* data) {
    return reinterpret_cast<xtabh_s*>(static_cast<char*>(data) - sizeof(xtabh_s));
}

// A string is a table of bytes.
inline xtab* tableOf(xstr* s) {
    return reinterpret_cast<xtab*>(s);
}

static_assert(offsetof(xsbufh_s, def) + sizeof(void*) == sizeof(xsbufh_s), "def ends the header");
static_assert(offsetof(xtabh_s, refCount) - offsetof(xtabh_s, def) ==
                  offsetof(xsbufh_s, refCount) - offsetof(xsbufh_s, def),
              "a table's header ends like that of every shared buffer");
static_assert(offsetof(xtabh_s, count) == 0 && offsetof(xtabh_s, capacity) == 4 &&
                  offsetof(xtabh_s, refCount) == 8,
              "order of the header words");
static_assert(sizeof(void*) != 4 || (sizeof(xtabh_s) == 16 && offsetof(xtabh_s, def) == 12 &&
                                     sizeof(xabuf_def_s) == 12 && sizeof(xsbufh_s) == 8),
              "32-bit layout");

}  // namespace core

#endif
