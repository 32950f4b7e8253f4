// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/clock_reader.h"

#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>

namespace {

int64_t inMicroseconds(const timespec& time) {
    return int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

int64_t read(clockid_t clock) {
    timespec time = {};
    return clock_gettime(clock, &time) == 0 ? inMicroseconds(time) : -1;
}

}  // namespace

ClockReadings READ_CLOCKS() {
    ClockReadings result = {};
    time_t stored = 0;
    const time_t now = time(&stored);
    result.time = int64_t{now} * 1000000;
    result.timeStored = int64_t{stored} * 1000000;
    result.realtime = read(CLOCK_REALTIME);
    result.realtimeCoarse = read(CLOCK_REALTIME_COARSE);
    result.international = read(CLOCK_TAI);
    result.monotonic = read(CLOCK_MONOTONIC);
    result.monotonicRaw = read(CLOCK_MONOTONIC_RAW);
    result.monotonicCoarse = read(CLOCK_MONOTONIC_COARSE);
    result.boottime = read(CLOCK_BOOTTIME);
    timeval day = {};
    gettimeofday(&day, nullptr);
    result.day = int64_t{day.tv_sec} * 1000000 + day.tv_usec;
#ifdef TIME_UTC
    timespec utc = {};
    result.utc = timespec_get(&utc, TIME_UTC) == TIME_UTC ? inMicroseconds(utc) : -1;
#else  // a C library of before C11
    result.utc = result.realtime;
#endif
    struct sysinfo info = {};
    sysinfo(&info);
    result.since = int64_t{info.uptime} * 1000000;
    result.secondsSize = sizeof(time_t);
    tm fields = {};
    localtime_r(&now, &fields);
    strftime(result.local, sizeof result.local, "%F %T", &fields);
    return result;
}
