// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The clock, and the functions of the C library that read it. They take the place of the C
// library's own in every object of the process, because this library comes first in the order in
// which the dynamic linker looks for names. For that they must bear no version (libevlp_sim.map).

#include "clock.h"

#include <atomic>
#include <errno.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "evlp/evlp.h"

#include "dates.h"

namespace sim {

namespace {

constexpr int64_t kNsPerUs = 1000;
constexpr int64_t kFirstDate = 978307200 * kUsPerSecond;  // 2001-01-01

std::atomic<int64_t> uptime{0};
std::atomic<int64_t> startDate{kFirstDate};  // what the calendar read at uptime 0

// A time in parts, as all the records of the C library have it.
struct Parts {
    int64_t seconds;
    int64_t microseconds;
};

Parts partsOf(int64_t time) {
    return {time / kUsPerSecond, time % kUsPerSecond};
}

bool isCalendar(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE ||
           clock == CLOCK_REALTIME_ALARM || clock == CLOCK_TAI;
}

bool isUptime(clockid_t clock) {
    return clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_RAW ||
           clock == CLOCK_MONOTONIC_COARSE || clock == CLOCK_BOOTTIME ||
           clock == CLOCK_BOOTTIME_ALARM;
}

// Of the processor time that a thread has used, for instance.
int readOtherClock(clockid_t clock, int64_t* seconds, long* nanoseconds) {
#ifdef SYS_clock_gettime64
    struct {
        int64_t seconds;
        int64_t nanoseconds;
    } time64 = {};
    if (syscall(SYS_clock_gettime64, clock, &time64) == 0) {
        *seconds = time64.seconds;
        *nanoseconds = static_cast<long>(time64.nanoseconds);
        return 0;
    }
    if (errno != ENOSYS) {  // as on kernels before 5.1
        return -1;
    }
#endif
#ifdef SYS_clock_gettime  // the youngest 32-bit machines have never had it
    struct {
        long seconds;
        long nanoseconds;
    } time = {};
    if (syscall(SYS_clock_gettime, clock, &time) < 0) {
        return -1;
    }
    *seconds = time.seconds;
    *nanoseconds = time.nanoseconds;
    return 0;
#else
    return -1;
#endif
}

int readClock(clockid_t clock, int64_t* seconds, long* nanoseconds) {
    if (!isCalendar(clock) && !isUptime(clock)) {
        return readOtherClock(clock, seconds, nanoseconds);
    }
    const Parts time = partsOf(isCalendar(clock) ? date() : now());
    *seconds = time.seconds;
    *nanoseconds = static_cast<long>(time.microseconds * kNsPerUs);
    return 0;
}

// Stores seconds in a field that may be too small for them.
template <typename Field>
int store(int64_t seconds, Field* field) {
    *field = static_cast<Field>(seconds);
    if (*field != seconds) {
        errno = EOVERFLOW;
        return -1;
    }
    return 0;
}

template <typename Record>
int readClock(clockid_t clock, Record* record) {
    int64_t seconds = 0;
    long nanoseconds = 0;
    Record result = {};
    if (readClock(clock, &seconds, &nanoseconds) < 0 || store(seconds, &result.tv_sec) < 0) {
        return -1;
    }
    result.tv_nsec = nanoseconds;
    *record = result;
    return 0;
}

template <typename Seconds>
Seconds readSeconds(Seconds* result) {
    Seconds seconds = 0;
    if (store(partsOf(date()).seconds, &seconds) < 0) {
        return -1;
    }
    if (result != nullptr) {
        *result = seconds;
    }
    return seconds;
}

template <typename Record>
int readDay(Record* record, void* zone) {
    if (zone != nullptr) {
        memset(zone, 0, sizeof(struct timezone));
    }
    const Parts time = partsOf(date());
    Record result = {};
    if (store(time.seconds, &result.tv_sec) < 0) {
        return -1;
    }
    result.tv_usec = static_cast<decltype(result.tv_usec)>(time.microseconds);
    *record = result;
    return 0;
}

#ifdef TIME_UTC  // which C libraries of before C11 do not have
template <typename Record>
int readBase(Record* record, int base) {
    return base == TIME_UTC && readClock(CLOCK_REALTIME, record) == 0 ? base : 0;
}
#endif

// What the C library declares of the zone that nobody asks for any more.
#ifdef __UCLIBC__
using Zone = struct timezone;
#else
using Zone = void;
#endif

}  // namespace

int64_t now() {
    return uptime.load();
}

int64_t date() {
    return startDate.load() + uptime.load();
}

bool canPass(int64_t duration) {
    const int64_t latest = now() > date() ? now() : date();
    return duration >= 0 && duration <= kEndOfTime - latest;
}

void moveTo(int64_t time) {
    if (time > uptime.load()) {
        uptime.store(time);
    }
}

void setDate(int64_t value) {
    startDate.store(value - uptime.load());
}

void resetClock() {
    uptime.store(0);
    startDate.store(kFirstDate);
    setFirstDate();
}

}  // namespace sim

using namespace sim;

extern "C" {

EVLP_API time_t time(time_t* result) noexcept {
    return readSeconds(result);
}

EVLP_API int clock_gettime(clockid_t clock, timespec* result) noexcept {
    return readClock(clock, result);
}

EVLP_API int gettimeofday(timeval* result, Zone* zone) noexcept {
    return readDay(result, zone);
}

#ifdef TIME_UTC
EVLP_API int timespec_get(timespec* result, int base) noexcept {
    return readBase(result, base);
}
#endif

EVLP_API int sysinfo(struct sysinfo* result) noexcept {
    if (syscall(SYS_sysinfo, result) < 0) {
        return -1;
    }
    // A second that has begun counts, as for the kernel.
    result->uptime = static_cast<long>((now() + kUsPerSecond - 1) / kUsPerSecond);
    return 0;
}

// Where seconds have been widened to 64 bits, the functions above go by other names, and objects
// that still have seconds of 32 bits call the old ones.
#if defined(__GLIBC__) && defined(__USE_TIME_BITS64) && __TIMESIZE == 32

struct OldTimespec {
    long tv_sec;
    long tv_nsec;
};

struct OldTimeval {
    long tv_sec;
    long tv_usec;
};

EVLP_API long oldTime(long* result) noexcept __asm__("time");
EVLP_API int oldClockGettime(clockid_t clock, OldTimespec* result) noexcept
    __asm__("clock_gettime");
EVLP_API int oldGettimeofday(OldTimeval* result, void* zone) noexcept __asm__("gettimeofday");
EVLP_API int oldTimespecGet(OldTimespec* result, int base) noexcept __asm__("timespec_get");

long oldTime(long* result) noexcept {
    return readSeconds(result);
}

int oldClockGettime(clockid_t clock, OldTimespec* result) noexcept {
    return readClock(clock, result);
}

int oldGettimeofday(OldTimeval* result, void* zone) noexcept {
    return readDay(result, zone);
}

int oldTimespecGet(OldTimespec* result, int base) noexcept {
    return readBase(result, base);
}

#endif

}  // extern "C"
