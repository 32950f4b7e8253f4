// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SYSTEM_GARDEND_DRIVERS_H
#define SYSTEM_GARDEND_DRIVERS_H

#include "driver.h"
#include "garden.h"

namespace gardend {

/** Valves and sensors that do what a test wants. */
class FakeDrivers : public IValveDriver, public ISensorDriver {
  public:
    bool setValve(int line, bool open) override {
        ++calls;
        if (obeys) {
            isOpen[line] = open;
        }
        return obeys;
    }

    int readMoisture(int line) override { return moisture[line]; }

    Wiring wiring(IValveWatcher* watcher = nullptr) { return {*this, *this, watcher}; }

    bool obeys = true;
    int calls = 0;  // that move a valve
    bool isOpen[kLineCount] = {};
    int moisture[kLineCount] = {420, 310, 550, 280};
};

/** Lets a garden without a clock read its sensors. */
inline void look(CGarden& garden) {
    for (const CZone& zone : garden.getZones()) {
        garden.findZone(zone.getName())->advance(zol::CTime(0));
    }
}

}  // namespace gardend

#endif
