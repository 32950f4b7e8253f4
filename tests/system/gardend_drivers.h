// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SYSTEM_GARDEND_DRIVERS_H
#define SYSTEM_GARDEND_DRIVERS_H

#include <gtest/gtest.h>

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

inline zol::CTab<ZoneWish> fourZones() {
    zol::CTab<ZoneWish> wishes;
    wishes.append({"lawn", 0, 200});
    wishes.append({"roses", 1, 60});
    wishes.append({"vegetables", 2, 80});
    wishes.append({"hedge", 3, 120});
    return wishes;
}

/** The garden of most tests. */
class FourZones : public CGarden {
  public:
    explicit FourZones(const Wiring& wiring) : CGarden(wiring) { EXPECT_TRUE(add(fourZones())); }
};

/** Lets a garden without a clock read its sensors. */
inline void look(CGarden& garden) {
    for (const CZone& zone : garden.getZones()) {
        garden.findZone(zone.getName())->advance(zol::CTime(0));
    }
}

}  // namespace gardend

#endif
