/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_CLOCK_READER_H
#define SUPPORT_CLOCK_READER_H

#include <stdint.h>

/**
 * What a shared library reads from the C library's clocks, in microseconds. There are two such
 * libraries: one that is built like ours, and one that is built without any definitions, so that
 * its seconds have 32 bits where that is the default.
 */
struct ClockReadings {
    int64_t time;
    int64_t timeStored;  // through the argument of time(2)
    int64_t realtime;
    int64_t realtimeCoarse;
    int64_t international;  // CLOCK_TAI
    int64_t monotonic;
    int64_t monotonicRaw;
    int64_t monotonicCoarse;
    int64_t boottime;
    int64_t day;    // gettimeofday(2)
    int64_t utc;    // timespec_get(3)
    int64_t since;  // sysinfo(2)
    int secondsSize;
    char local[32];  // strftime of localtime
};

extern "C" {
ClockReadings readClocksAsBuilt();
ClockReadings readClocksPlain();
}

#endif
