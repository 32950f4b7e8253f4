// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef EVENT_CALENDAR_H
#define EVENT_CALENDAR_H

#include <stdint.h>
#include <time.h>

// Dates in 64 bits, for C libraries whose seconds end in 2038. What they say of local time in the
// years that they know holds, for the other years, of one that begins on the same weekday and is
// as long.

namespace event {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int kFirstYear = 1900;         // of tm_year
constexpr int64_t kDaysPerEra = 146097;  // of 400 years

// Days since 1970-01-01. Years are counted from March here, so that a leap day is their last.
inline int64_t daysUntil(int64_t year, int month, int64_t day) {
    year -= month <= 2 ? 1 : 0;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * ((month + 9) % 12) + 2) / 5 + day - 1;
    return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear -
           719468;
}

// As timegm(3), without changing the fields.
inline int64_t secondsOf(const tm& fields) {
    int64_t year = int64_t{fields.tm_year} + kFirstYear + fields.tm_mon / 12;
    int month = fields.tm_mon % 12;
    if (month < 0) {
        month += 12;
        --year;
    }
    return daysUntil(year, month + 1, fields.tm_mday) * kSecondsPerDay +
           int64_t{fields.tm_hour} * 3600 + int64_t{fields.tm_min} * 60 + fields.tm_sec;
}

// As gmtime_r(3).
inline void split(int64_t seconds, tm& out) {
    int64_t days = seconds / kSecondsPerDay;
    int rest = static_cast<int>(seconds % kSecondsPerDay);
    if (rest < 0) {
        rest += kSecondsPerDay;
        --days;
    }
    const int64_t shifted = days + 719468;
    const int64_t era = (shifted >= 0 ? shifted : shifted - (kDaysPerEra - 1)) / kDaysPerEra;
    const int64_t dayOfEra = shifted - era * kDaysPerEra;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t month = (5 * dayOfYear + 2) / 153;  // 0 is March
    const int64_t year = yearOfEra + era * 400 + (month >= 10 ? 1 : 0);
    out = {};
    out.tm_year = static_cast<int>(year - kFirstYear);
    out.tm_mon = static_cast<int>((month + 2) % 12);
    out.tm_mday = static_cast<int>(dayOfYear - (153 * month + 2) / 5 + 1);
    out.tm_hour = rest / 3600;
    out.tm_min = rest / 60 % 60;
    out.tm_sec = rest % 60;
    const int weekday = static_cast<int>((days + 4) % 7);  // 1970 began on a Thursday
    out.tm_wday = weekday < 0 ? weekday + 7 : weekday;
    out.tm_yday = static_cast<int>(days - daysUntil(year, 1, 1));
}

// How many seconds later the year that the C library is asked for is than that of the fields; 0
// for those that it knows. All calendars occur in any 28 years of this century.
inline int64_t distanceToKnownYear(int64_t year) {
    if (year >= 1971 && year <= 2036) {
        return 0;
    }
    const int64_t first = daysUntil(year, 1, 1);
    const int64_t length = daysUntil(year + 1, 1, 1) - first;
    int64_t known = 2009;
    int64_t distance = 0;
    do {
        distance = daysUntil(known, 1, 1) - first;
        ++known;
    } while (distance % 7 != 0 || daysUntil(known, 1, 1) - first - distance != length);
    return distance * kSecondsPerDay;
}

// Gives fields of a known year, which are normalised, back the year that was meant.
inline void moveBack(int64_t distance, tm& fields) {
    tm moved = {};
    split(secondsOf(fields) - distance, moved);
    fields.tm_year = moved.tm_year;
    fields.tm_yday = moved.tm_yday;
}

// As localtime_r(3).
inline void splitLocally(int64_t seconds, tm& out) {
    split(seconds, out);
    const int64_t distance = distanceToKnownYear(int64_t{out.tm_year} + kFirstYear);
    const auto known = static_cast<time_t>(seconds + distance);
    (void)localtime_r(&known, &out);
    moveBack(distance, out);
}

// As mktime(3).
inline int64_t localSecondsOf(tm& fields) {
    tm known = {};
    split(secondsOf(fields), known);
    const int64_t distance = distanceToKnownYear(int64_t{known.tm_year} + kFirstYear);
    split(secondsOf(fields) + distance, known);
    known.tm_isdst = fields.tm_isdst;
    const int64_t seconds = mktime(&known);
    moveBack(distance, known);
    fields = known;
    return seconds - distance;
}

}  // namespace event

#endif
