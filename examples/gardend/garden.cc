// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "garden.h"

#include <syslog.h>

namespace gardend {

namespace {

int64_t within(int64_t low, int64_t value, int64_t high) {
    if (value < low) {
        return low;
    }
    return value > high ? high : value;
}

// Goes on evenly whatever happens to the calendar clock.
zol::CTime monotonicTime() {
    timespec time = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &time);
    return zol::CTime(int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000);
}

void advanceZone(Zone& zone, int64_t passedUs) {
    if (zone.open) {
        zone.nanolitres += zone.flow * passedUs;
    }
    const int64_t speed = zone.open ? zone.soakSpeed : -zone.dryingSpeed;
    zone.moisture = within(0, zone.moisture + speed * passedUs, Zone::kSoaked);
}

}  // namespace

CGarden::CGarden() {
    addZone("lawn", 420, 200);
    addZone("roses", 310, 60);
    addZone("vegetables", 550, 80);
    addZone("hedge", 280, 120);
}

CGarden::~CGarden() {
    closeAllValves();
}

void CGarden::addZone(const char* name, int moisturePermille, int flow) {
    Zone zone = {};
    zone.name = name;
    zone.moisture = Zone::kSoaked / 1000 * moisturePermille;
    zone.flow = flow;
    zone.soakSpeed = 5000;
    zone.dryingSpeed = 100;
    if (m_zones.append(zone) < 0) {
        syslog(LOG_ERR, "no memory for zone %s", name);
    }
}

bool CGarden::start(evlp_thread_str* thread, const zol::CTime& period) {
    m_lastTick = monotonicTime();
    return m_tick.open(thread) != 0 && m_tick.add(period) == 0;
}

// A timer fires once. The loop counts the delay of one that is armed again in its own callback,
// with the same delay, from the moment for which it was due, so the ticks do not drift. It does not
// make up for ticks that were missed, though: how much time has passed is for the clock to say.
void CGarden::onTick(int) {
    const zol::CTime now = monotonicTime();
    advance(now - m_lastTick);
    m_lastTick = now;
    if (m_tick.add(m_tick.getDelay()) != 0) {
        syslog(LOG_ERR, "the garden's clock has stopped");
        closeAllValves();
    }
}

void CGarden::advance(const zol::CTime& passed) {
    Zone* const zones = m_zones.getTable();
    for (int i = 0; i < m_zones.getCount(); ++i) {
        advanceZone(zones[i], passed.getMicroseconds());
    }
}

bool CGarden::setValve(const char* zoneName, bool open) {
    Zone* const zones = m_zones.getTable();
    for (int i = 0; i < m_zones.getCount(); ++i) {
        if (zones[i].name == zoneName) {
            setValve(zones[i], open);
            return true;
        }
    }
    return false;
}

void CGarden::closeAllValves() {
    Zone* const zones = m_zones.getTable();
    for (int i = 0; i < m_zones.getCount(); ++i) {
        setValve(zones[i], false);
    }
}

// Where a valve driver would be called.
void CGarden::setValve(Zone& zone, bool open) {
    if (zone.open != open) {
        zone.open = open;
        syslog(LOG_NOTICE, "valve of %s %s", zone.name.get(), open ? "opened" : "closed");
    }
}

int CGarden::getOpenCount() const {
    int count = 0;
    for (const Zone& zone : m_zones) {
        count += zone.open ? 1 : 0;
    }
    return count;
}

int64_t CGarden::getMillilitres() const {
    int64_t sum = 0;
    for (const Zone& zone : m_zones) {
        sum += zone.getMillilitres();
    }
    return sum;
}

}  // namespace gardend
