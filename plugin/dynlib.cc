// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <stddef.h>
#include <string.h>

#include "zol/plugin.h"

#include "core/diag.h"

namespace {

// Why the loader has just refused. Some loaders do not always say.
const char* loadersReason() {
    const char* const reason = dlerror();
    return reason == nullptr ? "unknown error" : reason;
}

}  // namespace

namespace zol {

CDynLib::CDynLib(const char* file) : m_handle(nullptr) {
    static_assert(sizeof(CDynLib) == 2 * sizeof(void*) &&
                  offsetof(CDynLib, m_handle) == sizeof(void*));
    (void)open(file);
}

CDynLib::~CDynLib() {
    if (m_handle != nullptr) {
        (void)close();
    }
}

bool CDynLib::open(const char* file) {
    DIAGF(LOG_INFO, "Opening dynamic library: %s", file == nullptr ? "" : file);
    CStr name(file);  // not set yet: `file` may be the present one
    const bool isNamed = file == nullptr || name == file;  // else there was no memory
    void* const opened = isNamed ? dlopen(file, RTLD_NOW | RTLD_GLOBAL) : nullptr;
    if (opened == nullptr) {
        DIAGF(LOG_ERR, "Cannot open dynamic library: %s",
              isNamed ? loadersReason() : strerror(ENOMEM));
        name.set("");
    }
    void* const before = m_handle;
    m_name = static_cast<CStr&&>(name);
    m_handle = opened;
    if (before != nullptr) {
        (void)dlclose(before);
    }
    return opened != nullptr;
}

int CDynLib::close() {
    // Forgotten first, and nothing of this object is touched afterwards: the library's destructors
    // may reach it.
    void* const handle = m_handle;
    m_handle = nullptr;
    // Deliberate: not asked whether there is one. Pinned by
    // LoaderCalls.AClosedLibraryIsClosedAllTheSame. Called through a pointer, as the function is
    // declared as if it never got null.
    int (*const closeHandle)(void*) = dlclose;
    return closeHandle(handle);
}

void* CDynLib::getSymbol(const char* symbol) {
    void* const address = dlsym(m_handle, symbol);
    if (address == nullptr) {
        // Deliberate: the wording. Pinned by DynLib.LogsASymbolThatItCannotFound.
        DIAGF(LOG_ERR, "Cannot found symbol: %s", symbol);
    }
    return address;
}

bool CDynLib::setName(const char* name) {
    m_name = name;
    return m_name == name;
}

void CDynLib::take(CDynLib& other) {
    m_handle = other.m_handle;
    other.m_handle = nullptr;
}

}  // namespace zol

void* xlib_get_symbol(const char* symbol) {
    static zol::CDynLib process(nullptr);
    return process.getSymbol(symbol);
}
