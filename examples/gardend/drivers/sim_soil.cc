// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// A library for other plug-ins: water that the valves let through is what the sensors find.
#include "sim_soil.h"

#include "zol/plugin.h"

#include "monotonic_time.h"

namespace gardend {

namespace {

constexpr int64_t kSoakSpeed = 5000;   // moisture gained in a microsecond
constexpr int64_t kDryingSpeed = 100;  // moisture lost in a microsecond

int64_t within(int64_t low, int64_t value, int64_t high) {
    if (value < low) {
        return low;
    }
    return value > high ? high : value;
}

}  // namespace

void CSoil::setWatered(bool isWatered) {
    catchUp();
    m_isWatered = isWatered;
}

int CSoil::getMoisturePermille() {
    catchUp();
    return static_cast<int>(m_moisture / (kSoaked / 1000));
}

void CSoil::catchUp() {
    const zol::CTime now = monotonicTime();
    if (m_lastLook != zol::CTime::undefined) {
        const int64_t speed = m_isWatered ? kSoakSpeed : -kDryingSpeed;
        const int64_t change = speed * (now - m_lastLook).getMicroseconds();
        m_moisture = within(0, m_moisture + change, kSoaked);
    }
    m_lastLook = now;
}

CSoil& soilOf(int line) {
    static CSoil soils[kLineCount] = {CSoil(420), CSoil(310), CSoil(550), CSoil(280)};
    return soils[line];
}

}  // namespace gardend

// Nothing but a library.
zol::CPlugInInstance* zol_getPlugIn() {
    return nullptr;
}
