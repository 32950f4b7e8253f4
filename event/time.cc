// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Two kinds of time lie on one line of microseconds. From `epoch` on there are dates. Below are
// times since the system start, counted from the same origin as the dates, the year 1; the C
// library knows no such years, so they are converted 2000 years later: five whole cycles of the
// calendar, with the same weekdays.

#include "zol/time.h"

#include <algorithm>
#include <limits>
#include <sys/sysinfo.h>

#include "calendar.h"

namespace {

constexpr int64_t kEpochUs = 62135596800000000;
constexpr int64_t kY2001Us = 63113904000000000;
constexpr int64_t kUsPerSecond = 1000000;
constexpr int kShiftedYears = 2000;

// Some C libraries have seconds of 32 bits and nothing else.
constexpr bool kSecondsAreWide = sizeof(time_t) == sizeof(int64_t);

void split(int64_t seconds, bool local, tm& out) {
    if (kSecondsAreWide) {
        const auto known = static_cast<time_t>(seconds);
        (void)(local ? localtime_r(&known, &out) : gmtime_r(&known, &out));
    } else if (local) {
        event::splitLocally(seconds, out);
    } else {
        event::split(seconds, out);
    }
}

int64_t join(tm& fields, bool local) {
    if (kSecondsAreWide) {
        return local ? mktime(&fields) : timegm(&fields);
    }
    if (local) {
        return event::localSecondsOf(fields);
    }
    const int64_t seconds = event::secondsOf(fields);
    event::split(seconds, fields);
    return seconds;
}

}  // namespace

namespace zol {

int CTime::synchronized = 0;
constexpr CTime CTime::epoch(kEpochUs);
constexpr CTime CTime::y2001(kY2001Us);
constexpr CTime CTime::infinite(-1);
constexpr CTime CTime::undefined(-2);

static_assert(sizeof(CTime) == 8, "one field");

CTime::CTime(const char* text, const char* format) : CTime() {
    tm fields = {};
    (void)strptime(text, format, &fields);
    set(fields, 1);
}

CTime CTime::getCurrent() {
    if (synchronized == 0) {
        return getUpTime();
    }
    timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return CTime(static_cast<int64_t>(now.tv_sec) * kUsPerSecond + kEpochUs + now.tv_nsec / 1000);
}

CTime CTime::getUpTime() {
    struct sysinfo info = {};
    (void)sysinfo(&info);
    return CTime(static_cast<int64_t>(info.uptime) * kUsPerSecond);
}

timeval CTime::getTimeval() const {
    timeval result = {};
    const int64_t seconds = m_us >= kEpochUs ? (m_us - kEpochUs) / kUsPerSecond : -1;
    result.tv_sec =
        static_cast<time_t>(std::min<int64_t>(seconds, std::numeric_limits<time_t>::max()));
    result.tv_usec = static_cast<suseconds_t>(m_us % kUsPerSecond);
    return result;
}

timespec CTime::getTimespec() const {
    const timeval time = getTimeval();
    timespec result = {};
    result.tv_sec = time.tv_sec;
    result.tv_nsec = static_cast<long>(time.tv_usec) * 1000;
    return result;
}

void CTime::getTm(tm& out, int local) const {
    // Deliberate: shown through the calendar of 2001. Pinned by
    // Time.UptimeShowsAsADateOfTheYearOne.
    const bool sinceStart = m_us < kEpochUs;
    const int64_t us = sinceStart ? m_us + kY2001Us : m_us;
    out = {};
    split((us - kEpochUs) / kUsPerSecond, local != 0, out);
    if (sinceStart) {
        out.tm_year -= kShiftedYears;
    }
}

void CTime::set(tm& in, int local) {
    const bool sinceStart = in.tm_year < 1970 - 1900;
    if (sinceStart) {
        in.tm_year += kShiftedYears;
    }
    const int64_t seconds = join(in, local != 0);
    if (sinceStart) {
        in.tm_year -= kShiftedYears;
    }
    const int64_t origin = sinceStart ? kEpochUs - kY2001Us : kEpochUs;
    // Unsigned, as years far beyond any calendar wrap.
    m_us = static_cast<int64_t>(static_cast<uint64_t>(seconds) * uint64_t{kUsPerSecond} +
                                static_cast<uint64_t>(origin));
}

}  // namespace zol
