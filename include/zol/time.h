/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_TIME_H
#define ZOL_TIME_H

/**
 * @file zol/time.h
 * One type for dates and durations: a count of microseconds.
 */

#include <stdint.h>
#include <sys/time.h>
#include <time.h>

#include "zol/export.h"

#ifdef __cplusplus

/* timeval, timespec and tm stand in the interface: both sides must agree on their layout. On
   32-bit glibc compile with -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64, as the library's pkg-config
   file and CMake package do. uClibc-ng has one layout, which may have 32 bits: there times outside
   of what time_t holds are not lost, but timeval and timespec stay at the last that it does. */
#ifndef __UCLIBC__
static_assert(sizeof(time_t) == 8, "zol needs 64-bit time_t: -D_TIME_BITS=64");
#endif

namespace zol {

/**
 * A point in time, in microseconds since 0001-01-01 00:00:00 UTC of the proleptic Gregorian
 * calendar, or a duration in microseconds.
 *
 * Values from `epoch` on are dates. Values below are times since the system was started, read
 * while its clock was not set: they are shown as dates of the year 1, whose days fall on the
 * weekdays of 2001.
 *
 *     zol::CTime start = zol::CTime::getCurrent();
 *     event.add(zol::CTime(1500000));  // a second and a half
 *     zol::CTime passed = zol::CTime::getCurrent() - start;
 *
 * No operation fails. `infinite` and `undefined` are the numbers -1 and -2 to all of them; only
 * events look for `infinite`. Any thread, but for `synchronized`, a plain number.
 */
class ZOL_API CTime {
  public:
    constexpr CTime() : m_us(0) {}
    /** A duration, or a date since the year 1. */
    explicit constexpr CTime(int64_t microseconds) : m_us(microseconds) {}

    /**
     * Reads local time from text with strptime(3). Failure is not reported: the fields that were
     * read count, the others are zero. The text is taken for standard time: one of the summer
     * comes out as late as the clocks are ahead then.
     */
    CTime(const char* text, const char* format);

    /** @return the calendar time when `synchronized` is set, else getUpTime() */
    static CTime getCurrent();

    /** @return time since the system was started, in whole seconds; sysinfo(2) */
    static CTime getUpTime();

    /** @return the number */
    constexpr int64_t getMicroseconds() const { return m_us; }

    /** @return seconds since 1970, and microseconds; tv_sec is -1 for values below `epoch` */
    timeval getTimeval() const;

    /** @return seconds since 1970, and nanoseconds; tv_sec is -1 for values below `epoch` */
    timespec getTimespec() const;

    /** Splits the time into fields; local time when `local` is not 0, else UTC. */
    void getTm(tm& out, int local) const;

    /**
     * Sets the time from fields; local time when `local` is not 0, else UTC. Years below 1970 are
     * times since the system start. `in` is normalised, as mktime(3) does, and its tm_isdst counts
     * as it does there.
     */
    void set(tm& in, int local);

    /**
     * 0 at first. The application sets it when the system clock holds the true calendar time; the
     * library only reads it.
     */
    static int synchronized;

    static const CTime epoch;     /**< 1970-01-01 00:00:00 UTC */
    static const CTime y2001;     /**< 2001-01-01 00:00:00 UTC */
    static const CTime infinite;  /**< never; no time-out */
    static const CTime undefined; /**< not set */

    /** @{ */
    /** Compared and counted as numbers. */
    friend constexpr bool operator==(CTime a, CTime b) { return a.m_us == b.m_us; }
    friend constexpr bool operator!=(CTime a, CTime b) { return a.m_us != b.m_us; }
    friend constexpr bool operator<(CTime a, CTime b) { return a.m_us < b.m_us; }
    friend constexpr bool operator>(CTime a, CTime b) { return a.m_us > b.m_us; }
    friend constexpr bool operator<=(CTime a, CTime b) { return a.m_us <= b.m_us; }
    friend constexpr bool operator>=(CTime a, CTime b) { return a.m_us >= b.m_us; }
    friend constexpr CTime operator+(CTime a, CTime b) { return CTime(a.m_us + b.m_us); }
    friend constexpr CTime operator-(CTime a, CTime b) { return CTime(a.m_us - b.m_us); }
    CTime& operator+=(CTime other) { return *this = *this + other; }
    CTime& operator-=(CTime other) { return *this = *this - other; }
    /** @} */

  private:
    int64_t m_us;
};

}  // namespace zol

#endif
#endif
