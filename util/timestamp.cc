// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdint.h>
#include <syslog.h>
#include <time.h>

#include "zol/log.h"

namespace {

void readClocks(timespec* cpu, timespec* real) {
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, cpu);
    (void)clock_gettime(CLOCK_REALTIME, real);
}

// In two halves, each of which the processor converts by itself: for 64 bits at once a 32-bit one
// needs a kilobyte of code.
double toDouble(int64_t count) {
    return static_cast<double>(static_cast<int32_t>(count >> 32)) * 4294967296.0 +
           static_cast<double>(static_cast<uint32_t>(count));
}

double secondsBetween(const timespec* start, const timespec* end) {
    return toDouble(end->tv_sec - start->tv_sec) +
           static_cast<double>(end->tv_nsec - start->tv_nsec) / 1e9;
}

}  // namespace

// The lines of the probes begin with no function and line, and end with a newline.

void TIMESTAMP_START2(timespec* cpu, timespec* real, const char* label) {
    readClocks(cpu, real);
    if (label != nullptr) {
        syslog(LOG_ERR, "TIMESTAMP: %s REALTIME %lld.%.9ld \n", label,
               static_cast<long long>(real->tv_sec), static_cast<long>(real->tv_nsec));
    }
}

void TIMESTAMP_START(timespec* cpu, timespec* real) {
    TIMESTAMP_START2(cpu, real, nullptr);
}

void TIMESTAMP_END(const timespec* cpu, const timespec* real, const char* label) {
    timespec cpuNow = {};
    timespec realNow = {};
    readClocks(&cpuNow, &realNow);
    syslog(LOG_ERR, "TIMESTAMP: %s REALTIME %lld.%.9ld CPUTIME diff %lf REALTIME diff %lf\n", label,
           static_cast<long long>(realNow.tv_sec), static_cast<long>(realNow.tv_nsec),
           secondsBetween(cpu, &cpuNow), secondsBetween(real, &realNow));
}
