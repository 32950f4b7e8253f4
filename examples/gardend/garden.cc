// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "garden.h"

#include <string.h>
#include <syslog.h>

namespace gardend {

CGarden::CGarden(const Wiring& wiring)
    : m_zones{{"lawn", 0, 200, wiring},
              {"roses", 1, 60, wiring},
              {"vegetables", 2, 80, wiring},
              {"hedge", 3, 120, wiring}},
      m_tick(zol::CTime::infinite, &m_whenToTick) {}

CGarden::~CGarden() {
    zol::CTimerHandler::remove(m_tick);
    closeAllValves();
    for (const CZone& zone : m_zones) {
        if (zone.isOpen()) {
            syslog(LOG_ERR, "the valve of %s is left open", zone.getName());
        }
    }
}

bool CGarden::start(evlp_thread_str* thread, const zol::CTime& tickPeriod,
                    const zol::CTime& samplePeriod) {
    for (CZone& zone : m_zones) {
        if (!zone.start(thread, samplePeriod)) {
            return false;
        }
    }
    m_tick = zol::CTimer(tickPeriod, &m_whenToTick);
    zol::CTimerHandler::add(thread, m_tick);
    return true;
}

// Ticks do not drift, but those that were missed are not made up for: how much time has passed is
// for the clock to say.
void CGarden::onTick(int) {
    for (CZone& zone : m_zones) {
        zone.catchUp();
        zone.retryClosing();
    }
}

void CGarden::closeAllValves() {
    for (CZone& zone : m_zones) {
        (void)zone.close();
    }
}

CZone* CGarden::findZone(const char* name) {
    for (CZone& zone : m_zones) {
        if (strcmp(zone.getName(), name) == 0) {
            return &zone;
        }
    }
    return nullptr;
}

int CGarden::getOpenCount() const {
    int count = 0;
    for (const CZone& zone : m_zones) {
        count += zone.isOpen() ? 1 : 0;
    }
    return count;
}

int64_t CGarden::getMillilitres() const {
    int64_t sum = 0;
    for (const CZone& zone : m_zones) {
        sum += zone.getMillilitres();
    }
    return sum;
}

}  // namespace gardend
