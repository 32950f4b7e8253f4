// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_SIM_SOIL_H
#define GARDEND_SIM_SOIL_H

#include <stdint.h>

#include "zol/time.h"

#include "driver.h"

namespace gardend {

/** The soil of one zone: gets wet while it is watered, and dries otherwise. */
class GARDEND_API CSoil {
  public:
    CSoil() : CSoil(500) {}
    explicit CSoil(int moisturePermille) : m_moisture(kSoaked / 1000 * moisturePermille) {}

    void setWatered(bool isWatered);

    /** @return from 0, bone-dry, to 1000 */
    int getMoisturePermille();

  private:
    // So fine that even the shortest time makes a difference.
    static constexpr int64_t kSoaked = 1000000000000;

    void catchUp();

    int64_t m_moisture;
    bool m_isWatered = false;
    zol::CTime m_lastLook = zol::CTime::undefined;  // time begins with the first one
};

/** @return the soil of a line, below kLineCount; what the simulated drivers have in common */
GARDEND_API CSoil& soilOf(int line);

}  // namespace gardend

#endif
