// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zone.h"

#include <syslog.h>

namespace gardend {

namespace {

constexpr int64_t kSoakSpeed = 5000;   // moisture gained in a microsecond, the valve open
constexpr int64_t kDryingSpeed = 100;  // moisture lost in a microsecond, the valve closed

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

// As long as the clock is not set, days are counted from the start of the system.
int today() {
    tm now = {};
    zol::CTime::getCurrent().getTm(now, zol::CTime::synchronized);
    return now.tm_year * 366 + now.tm_yday;
}

}  // namespace

CZone::CZone(const char* name, int moisturePermille, int flow)
    : m_name(name),
      m_flow(flow),
      m_moisture(kSoaked / 1000 * moisturePermille),
      m_lastLook(zol::CTime::undefined),
      m_closesAt(zol::CTime::infinite),
      m_sampling(zol::CTime::infinite, &m_whenToSample) {}

CZone::~CZone() {
    zol::CTimerHandler::remove(m_sampling);
}

// All zones sample with one period, so one timer of the loop serves them all.
bool CZone::start(evlp_thread_str* thread, const zol::CTime& samplePeriod) {
    m_lastLook = monotonicTime();
    m_log.add(getMoisturePermille(), today());
    m_sampling = zol::CTimer(samplePeriod, &m_whenToSample);
    zol::CTimerHandler::add(thread, m_sampling);
    return m_runTime.open(thread) != 0;
}

void CZone::open() {
    catchUp();
    (void)m_runTime.remove();
    m_closesAt = zol::CTime::infinite;
    setValve(true);
}

bool CZone::openFor(const zol::CTime& runTime) {
    catchUp();
    if (m_runTime.add(runTime) != 0) {
        syslog(LOG_ERR, "no timer for the valve of %s", m_name);
        close();
        return false;
    }
    m_closesAt = monotonicTime() + runTime;
    setValve(true);
    return true;
}

bool CZone::openAtLeast(const zol::CTime& runTime) {
    const bool forLonger =
        m_closesAt == zol::CTime::infinite || m_closesAt >= monotonicTime() + runTime;
    return (m_open && forLonger) || openFor(runTime);
}

void CZone::close() {
    catchUp();
    (void)m_runTime.remove();
    m_closesAt = zol::CTime::infinite;
    setValve(false);
}

// Where a valve driver would be called.
void CZone::setValve(bool open) {
    if (m_open != open) {
        m_open = open;
        syslog(LOG_NOTICE, "valve of %s %s", m_name, open ? "opened" : "closed");
    }
}

void CZone::onRunTimeOver(int) {
    close();
}

void CZone::onSample(int) {
    catchUp();
    m_log.add(getMoisturePermille(), today());
}

void CZone::catchUp() {
    if (m_lastLook != zol::CTime::undefined) {
        const zol::CTime now = monotonicTime();
        advance(now - m_lastLook);
        m_lastLook = now;
    }
}

void CZone::advance(const zol::CTime& passed) {
    const int64_t speed = m_open ? kSoakSpeed : -kDryingSpeed;
    m_moisture = within(0, m_moisture + speed * passed.getMicroseconds(), kSoaked);
    if (m_open) {
        m_nanolitres += m_flow * passed.getMicroseconds();
    }
}

int CZone::getSecondsLeft() const {
    if (m_closesAt == zol::CTime::infinite) {
        return 0;
    }
    const int64_t left = (m_closesAt - monotonicTime()).getMicroseconds();
    return left > 0 ? static_cast<int>((left + 999999) / 1000000) : 1;  // at any moment
}

}  // namespace gardend
