// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "garden.h"

#include <new>
#include <string.h>
#include <syslog.h>

namespace gardend {

CGarden::CGarden(const Wiring& wiring)
    : m_wiring(wiring), m_tick(zol::CTime::infinite, &m_whenToTick) {}

CGarden::~CGarden() {
    zol::CTimerHandler::remove(m_tick);
    removeFrom(0);
}

bool CGarden::add(const zol::CTab<ZoneWish>& wishes) {
    const int before = m_count;
    for (const ZoneWish& wish : wishes) {
        if (indexOf(wish.name.get()) >= 0) {
            continue;
        }
        std::unique_ptr<CZone> zone(new (std::nothrow)
                                        CZone(wish.name.get(), wish.line, wish.flow, m_wiring));
        if (zone == nullptr || wish.name != zone->getName() ||
            (m_thread != nullptr && !zone->prepare(m_thread))) {
            removeFrom(before);
            return false;
        }
        m_zones[m_count] = std::move(zone);
        ++m_count;
    }
    return true;
}

const CZone* CGarden::closeWhatGoes(const zol::CTab<ZoneWish>& wishes) {
    for (int i = 0; i < m_count; ++i) {
        bool stays = false;
        for (const ZoneWish& wish : wishes) {
            stays =
                stays || (wish.name == m_zones[i]->getName() && wish.line == m_zones[i]->getLine());
        }
        if (!stays && !m_zones[i]->close()) {
            return m_zones[i].get();
        }
    }
    return nullptr;
}

// What goes is closed before anything else takes its line.
void CGarden::keep(const zol::CTab<ZoneWish>& wishes) {
    for (int i = 0; i < wishes.getCount(); ++i) {
        m_zones[i].swap(m_zones[indexOf(wishes[i].name.get())]);
    }
    removeFrom(wishes.getCount());
    for (int i = 0; i < m_count; ++i) {
        m_zones[i]->change(wishes[i].line, wishes[i].flow);
        if (m_thread != nullptr && !m_zones[i]->hasStarted()) {
            (void)m_zones[i]->start(m_thread, m_samplePeriod);  // it has been prepared
        }
    }
}

void CGarden::removeFrom(int index) {
    for (int i = m_count - 1; i >= index; --i) {
        (void)m_zones[i]->close();
    }
    while (m_count > index) {
        --m_count;
        if (m_zones[m_count]->isOpen()) {
            syslog(LOG_ERR, "the valve of %s is left open", m_zones[m_count]->getName());
        }
        m_zones[m_count].reset();
    }
}

bool CGarden::start(evlp_thread_str* thread, const zol::CTime& tickPeriod,
                    const zol::CTime& samplePeriod) {
    for (int i = 0; i < m_count; ++i) {
        if (!m_zones[i]->start(thread, samplePeriod)) {
            return false;
        }
    }
    m_thread = thread;
    m_samplePeriod = samplePeriod;
    m_tick = zol::CTimer(tickPeriod, &m_whenToTick);
    zol::CTimerHandler::add(thread, m_tick);
    return true;
}

// Ticks do not drift, but those that were missed are not made up for: how much time has passed is
// for the clock to say.
void CGarden::onTick(int) {
    for (int i = 0; i < m_count; ++i) {
        m_zones[i]->catchUp();
        m_zones[i]->retryClosing();
    }
}

void CGarden::closeAllValves() {
    for (int i = 0; i < m_count; ++i) {
        (void)m_zones[i]->close();
    }
}

int CGarden::indexOf(const char* name) const {
    for (int i = 0; i < m_count; ++i) {
        if (strcmp(m_zones[i]->getName(), name) == 0) {
            return i;
        }
    }
    return -1;
}

CZone* CGarden::findZone(const char* name) const {
    const int index = indexOf(name);
    return index < 0 ? nullptr : m_zones[index].get();
}

int CGarden::getOpenCount() const {
    int count = 0;
    for (const CZone& zone : getZones()) {
        count += zone.isOpen() ? 1 : 0;
    }
    return count;
}

int64_t CGarden::getMillilitres() const {
    int64_t sum = 0;
    for (const CZone& zone : getZones()) {
        sum += zone.getMillilitres();
    }
    return sum;
}

}  // namespace gardend
