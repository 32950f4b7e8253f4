// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Simulated valves, which open and close at once, and water the simulated soil.
#include "zol/plugin.h"

#include "driver.h"
#include "sim_soil.h"

namespace {

class CSimValve : public zol::CPlugInInstance, public gardend::IValveDriver {
  public:
    void onLoad(zol::CDynLib&) override { m_isAttached = gardend::attachValves(*this); }

    void onClose(zol::CDynLib&) override { gardend::detachValves(*this); }

    int onUpdate(zol::CDynLib&, int* settled) override {
        *settled += m_isAttached ? 1 : 0;  // not where another one drives the valves
        return 0;
    }

    bool setValve(int line, bool open) override {
        gardend::soilOf(line).setWatered(open);
        return true;
    }

  private:
    bool m_isAttached = false;
};

}  // namespace

zol::CPlugInInstance* zol_getPlugIn() {
    static CSimValve valve;
    return &valve;
}
