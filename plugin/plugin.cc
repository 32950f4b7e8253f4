// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/plugin.h"

namespace zol {

// --- what a plug-in implements ---

static_assert(sizeof(CPlugInInstance) == sizeof(void*));

CPlugInInstance::~CPlugInInstance() = default;

void CPlugInInstance::onLoad(CDynLib&) {}

void CPlugInInstance::onClose(CDynLib&) {}

int CPlugInInstance::onUpdate(CDynLib&, int* settled) {
    ++*settled;
    return 0;
}

// --- one plug-in ---

static_assert(sizeof(CPlugIn) == 3 * sizeof(void*));

bool CPlugIn::open(const char* file, CDynLib& host) {
    if (isOpen()) {
        (void)close(host);
    }
    const Entry entry = openLibrary(*this, file);
    if (entry == nullptr) {
        return false;
    }
    m_instance = entry();
    if (m_instance != nullptr) {
        m_instance->onLoad(host);
    }
    return true;
}

int CPlugIn::close(CDynLib& host) {
    (void)closeInstance(host);
    return CDynLib::close();
}

int CPlugIn::update(CDynLib& host, int* settled) {
    return m_instance == nullptr ? 0 : m_instance->onUpdate(host, settled);
}

// Opens a library and finds its entry function. Null when it does not have one; it is closed then.
CPlugIn::Entry CPlugIn::openLibrary(CDynLib& library, const char* file) {
    if (!library.open(file)) {
        return nullptr;
    }
    const Entry entry = reinterpret_cast<Entry>(library.getSymbol("zol_getPlugIn"));
    if (entry == nullptr) {
        (void)library.close();
    }
    return entry;
}

// Takes the next step of closing: the instance is told, then the library is closed. A step runs
// the plug-in's own code, and touches nothing of this object afterwards: it may have moved or gone.
// False when nothing is left to do.
bool CPlugIn::closeNext(CDynLib& host) {
    if (closeInstance(host)) {
        return true;
    }
    if (!isOpen()) {
        return false;
    }
    (void)CDynLib::close();
    return true;
}

// The instance is forgotten first: what throws, or closes the plug-in again, is not called again.
bool CPlugIn::closeInstance(CDynLib& host) {
    CPlugInInstance* const instance = m_instance;
    m_instance = nullptr;
    if (instance != nullptr) {
        instance->onClose(host);
    }
    return instance != nullptr;
}

}  // namespace zol
