// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zone.h"

#include <syslog.h>

#include "monotonic_time.h"

namespace gardend {

namespace {

// As long as the clock is not set, days are counted from the start of the system.
int today() {
    tm now = {};
    zol::CTime::getCurrent().getTm(now, zol::CTime::synchronized);
    return now.tm_year * 366 + now.tm_yday;
}

}  // namespace

CZone::CZone(const char* name, int line, int flow, const Wiring& wiring)
    : m_name(name),
      m_line(line),
      m_flow(flow),
      m_wiring(wiring),
      m_lastLook(zol::CTime::undefined),
      m_closesAt(zol::CTime::infinite),
      m_sampling(zol::CTime::infinite, &m_whenToSample) {}

CZone::~CZone() {
    zol::CTimerHandler::remove(m_sampling);
}

bool CZone::prepare(evlp_thread_str* thread) {
    m_hasTimer = m_hasTimer || m_runTime.open(thread) != 0;
    return m_hasTimer;
}

// All zones sample with one period, so one timer of the loop serves them all.
bool CZone::start(evlp_thread_str* thread, const zol::CTime& samplePeriod) {
    if (!prepare(thread)) {
        return false;
    }
    closeAtFirst();
    m_lastLook = monotonicTime();
    readSensor();
    addSample();
    m_sampling = zol::CTimer(samplePeriod, &m_whenToSample);
    zol::CTimerHandler::add(thread, m_sampling);
    return true;
}

void CZone::closeAtFirst() {
    m_isStuck = !m_wiring.valves.setValve(m_line, false);
    m_open = m_isStuck;
    if (m_isStuck) {
        syslog(LOG_ERR, "the valve of %s does not close", getName());
    }
}

void CZone::change(int line, int flow) {
    catchUp();  // with the flow as it was
    m_flow = flow;
    if (line != m_line) {
        if (!close()) {
            syslog(LOG_ERR, "the valve of %s is left open", getName());
        }
        m_line = line;
        closeAtFirst();
        readSensor();
    }
}

void CZone::restore(int64_t nanolitres, const CMoistureLog& log) {
    m_nanolitres = nanolitres;
    m_log = log;
}

bool CZone::open() {
    catchUp();
    (void)m_runTime.remove();
    m_closesAt = zol::CTime::infinite;
    return setValve(true);
}

bool CZone::openFor(const zol::CTime& runTime) {
    catchUp();
    if (m_runTime.add(runTime) != 0) {
        syslog(LOG_ERR, "no timer for the valve of %s", getName());
        (void)close();
        return false;
    }
    m_closesAt = monotonicTime() + runTime;
    if (!setValve(true)) {
        (void)close();
        return false;
    }
    return true;
}

bool CZone::openAtLeast(const zol::CTime& runTime) {
    const bool forLonger =
        m_closesAt == zol::CTime::infinite || m_closesAt >= monotonicTime() + runTime;
    return (m_open && !m_isStuck && forLonger) || openFor(runTime);
}

bool CZone::close() {
    catchUp();
    (void)m_runTime.remove();
    m_closesAt = zol::CTime::infinite;
    return setValve(false);
}

void CZone::retryClosing() {
    if (m_isStuck) {
        (void)moveValve(false);  // that it does not close has been logged
    }
}

bool CZone::setValve(bool open) {
    const bool moved = moveValve(open);
    if (!moved) {
        syslog(LOG_ERR, "the valve of %s does not %s", getName(), open ? "open" : "close");
    }
    return moved;
}

bool CZone::moveValve(bool open) {
    const bool isThere = open == m_open && !m_isStuck;
    if (!isThere && !m_wiring.valves.setValve(m_line, open)) {
        m_isStuck = m_isStuck || !open;
        return false;
    }
    m_isStuck = false;
    if (open != m_open) {
        m_open = open;
        syslog(LOG_NOTICE, "valve of %s %s", getName(), open ? "opened" : "closed");
        if (m_wiring.watcher != nullptr) {
            m_wiring.watcher->onValve(getName(), open);
        }
    }
    return true;
}

void CZone::readSensor() {
    const int answer = m_wiring.sensors.readMoisture(m_line);
    const bool answers = answer >= 0 && answer <= 1000;
    if (answers) {
        m_moisture = answer;
    }
    if (answers != m_sensorAnswers) {
        m_sensorAnswers = answers;
        syslog(answers ? LOG_NOTICE : LOG_ERR, "the sensor of %s %s", getName(),
               answers ? "answers again" : "does not answer");
    }
}

void CZone::addSample() {
    if (m_sensorAnswers) {
        m_log.add(m_moisture, today());
        if (m_wiring.sampleWatcher != nullptr) {
            m_wiring.sampleWatcher->onSample(getName(), m_moisture);
        }
    }
}

void CZone::onRunTimeOver(int) {
    (void)close();
}

void CZone::onSample(int) {
    catchUp();
    addSample();
}

void CZone::catchUp() {
    if (m_lastLook == zol::CTime::undefined) {
        return;
    }
    const zol::CTime now = monotonicTime();
    advance(now - m_lastLook);
    m_lastLook = now;
}

void CZone::advance(const zol::CTime& passed) {
    if (m_open) {
        m_nanolitres += m_flow * passed.getMicroseconds();
    }
    readSensor();
}

int CZone::getSecondsLeft() const {
    if (m_closesAt == zol::CTime::infinite) {
        return 0;
    }
    const int64_t left = (m_closesAt - monotonicTime()).getMicroseconds();
    return left > 0 ? static_cast<int>((left + 999999) / 1000000) : 1;  // at any moment
}

}  // namespace gardend
