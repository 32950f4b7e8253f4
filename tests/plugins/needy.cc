// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A plug-in that uses a function of another one, without being linked with it.

#include "zol/plugin.h"

#include "script.h"

extern "C" const char* textOfProvider();

namespace {

class CNeedy : public zol::CPlugInInstance {
  public:
    void onLoad(zol::CDynLib&) override {
        (void)plugInCalled(textOfProvider(), "needy.so", nullptr);
    }
};

}  // namespace

zol::CPlugInInstance* zol_getPlugIn() {
    static CNeedy instance;
    return &instance;
}
