// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Simulated sensors, in the simulated soil.
#include "zol/plugin.h"

#include "driver.h"
#include "sim_soil.h"

namespace {

class CSimSensor : public zol::CPlugInInstance, public gardend::ISensorDriver {
  public:
    void onLoad(zol::CDynLib&) override { m_isAttached = gardend::attachSensors(*this); }

    void onClose(zol::CDynLib&) override { gardend::detachSensors(*this); }

    int onUpdate(zol::CDynLib&, int* settled) override {
        *settled += m_isAttached ? 1 : 0;  // not where another one drives the sensors
        return 0;
    }

    int readMoisture(int line) override { return gardend::soilOf(line).getMoisturePermille(); }

  private:
    bool m_isAttached = false;
};

}  // namespace

zol::CPlugInInstance* zol_getPlugIn() {
    static CSimSensor sensor;
    return &sensor;
}
