// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A plug-in that reports its calls to the test, and does what that wants.

#include <dlfcn.h>

#include "zol/plugin.h"

#include "script.h"

namespace {

// This very library: the tests load it under many names.
const char* ownFile() {
    static char anchor;
    Dl_info info = {};
    (void)dladdr(&anchor, &info);
    return info.dli_fname;
}

class CScripted : public zol::CPlugInInstance {
  public:
    void onLoad(zol::CDynLib& host) override { call(host, "onLoad", nullptr); }
    void onClose(zol::CDynLib& host) override { call(host, "onClose", nullptr); }
    int onUpdate(zol::CDynLib& host, int* settled) override {
        return call(host, "onUpdate", settled);
    }

  private:
    static int call(zol::CDynLib& host, const char* name, int* settled) {
        const auto called =
            reinterpret_cast<decltype(&plugInCalled)>(host.getSymbol("plugInCalled"));
        // Not by the symbol alone: a closed library finds those of the program, too.
        const bool isHost = host.isOpen() && host.getName().isEmpty();
        return called(isHost ? name : "other host", ownFile(), settled);
    }
};

__attribute__((constructor)) void construct() {
    (void)plugInCalled("constructor", ownFile(), nullptr);
}

__attribute__((destructor)) void destroy() {
    (void)plugInCalled("destructor", ownFile(), nullptr);
}

}  // namespace

zol::CPlugInInstance* zol_getPlugIn() {
    static CScripted instance;
    return plugInCalled("entry", ownFile(), nullptr) == 0 ? &instance : nullptr;
}
