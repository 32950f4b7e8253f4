// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <zol/plugin.h>

namespace {

class CRelay : public zol::CPlugInInstance {
  public:
    void onLoad(zol::CDynLib& host) override {
        m_switch = reinterpret_cast<Switch>(host.getSymbol("gardend_switch"));
    }
    void onClose(zol::CDynLib&) override {
        if (m_switch != nullptr) {
            m_switch(4, 0);
        }
    }
    int onUpdate(zol::CDynLib&, int* settled) override {
        *settled += m_switch != nullptr ? 1 : 0;
        return 0;
    }

  private:
    using Switch = void (*)(int line, int on);

    Switch m_switch = nullptr;
};

}  // namespace

zol::CPlugInInstance* zol_getPlugIn() {
    static CRelay relay;
    return &relay;
}
