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

// All zones sample with one period, so one timer of the loop serves them all.
bool CZone::start(evlp_thread_str* thread, const zol::CTime& samplePeriod) {
    m_isStuck = !m_wiring.valves.setValve(m_line, false);
    m_open = m_isStuck;
    if (m_isStuck) {
        syslog(LOG_ERR, "the valve of %s does not close", m_name);
    }
    m_lastLook = monotonicTime();
    readSensor();
    addSample();
    m_sampling = zol::CTimer(samplePeriod, &m_whenToSample);
    zol::CTimerHandler::add(thread, m_sampling);
    return m_runTime.open(thread) != 0;
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
        syslog(LOG_ERR, "no timer for the valve of %s", m_name);
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
        syslog(LOG_ERR, "the valve of %s does not %s", m_name, open ? "open" : "close");
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
        syslog(LOG_NOTICE, "valve of %s %s", m_name, open ? "opened" : "closed");
        if (m_wiring.watcher != nullptr) {
            m_wiring.watcher->onValve(m_name, open);
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
        syslog(answers ? LOG_NOTICE : LOG_ERR, "the sensor of %s %s", m_name,
               answers ? "answers again" : "does not answer");
    }
}

void CZone::addSample() {
    if (m_sensorAnswers) {
        m_log.add(m_moisture, today());
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
