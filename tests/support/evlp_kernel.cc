// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/evlp_kernel.h"

#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#ifndef SYS_epoll_pwait2
#define SYS_epoll_pwait2 441
#endif

namespace kernel {

Calls calls;

namespace {

constexpr int64_t kNsPerSecond = 1000000000;
constexpr int kHangMs = 60000;

struct KernelTime {
    int64_t seconds;
    int64_t nanoseconds;
};

std::atomic<bool> virtualTime{false};
std::atomic<int64_t> monotonicNs{0};
std::atomic<int64_t> calendarNs{0};
std::atomic<int> preciseError{0};
std::atomic<int> waitError{0};
std::atomic<int> nextWaitError{0};
std::atomic<int> creationError{0};
std::atomic<int> additionError{0};
std::atomic<int> wakeupError{0};
std::atomic<int> handlerError{0};
std::atomic<int> longestWaitMs{0};
std::function<void(int)> waitHook;

template <typename Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Kept without a guard: that of a local static has a second thread wait by a call of syscall(),
// which would come here again, and again.
auto* realSyscall() {
    static std::atomic<long (*)(long, ...)> function{nullptr};
    if (function == nullptr) {
        function = real<long(long, ...)>("syscall");
    }
    return function.load();
}

int realEpollWait(int epoll, epoll_event* events, int capacity, int timeoutMs) {
    static auto* const function = real<int(int, epoll_event*, int, int)>("epoll_wait");
    return function(epoll, events, capacity, timeoutMs);
}

// Nobody but the loop itself can end a wait on the virtual clock.
int waitVirtually(int epoll, epoll_event* events, int capacity, int64_t timeoutNs) {
    const int count = realEpollWait(epoll, events, capacity, 0);
    if (count != 0) {
        return count;
    }
    if (timeoutNs < 0) {
        const int late = realEpollWait(epoll, events, capacity, kHangMs);
        if (late == 0) {
            fputs("the loop waits for ever\n", stderr);
            abort();
        }
        return late;
    }
    advanceNs(timeoutNs);
    return 0;
}

int refusal() {
    const int once = nextWaitError.exchange(0);
    return once != 0 ? once : waitError.load();
}

bool beginWait() {
    const int number = ++calls.waits;
    if (waitHook) {
        waitHook(number);
    }
    const int error = refusal();
    if (error != 0) {
        errno = error;
        return false;
    }
    return true;
}

}  // namespace

void reset() {
    calls.waits = calls.millisWaits = calls.preciseTries = 0;
    calls.controls = calls.creations = calls.clockReads = 0;
    virtualTime = false;
    preciseError = waitError = nextWaitError = creationError = 0;
    additionError = wakeupError = handlerError = 0;
    longestWaitMs = 0;
    waitHook = nullptr;
}

void useVirtualTime() {
    monotonicNs = 1000 * kNsPerSecond;
    calendarNs = 1700000000 * kNsPerSecond;
    virtualTime = true;
}

void advanceNs(int64_t ns) {
    monotonicNs += ns;
    calendarNs += ns;
}

void stepCalendarClock(int64_t seconds) {
    calendarNs += seconds * kNsPerSecond;
}
int64_t nowNs() {
    return monotonicNs;
}
int64_t nowMs() {
    return monotonicNs / 1000000;
}
int longestMillisWait() {
    return longestWaitMs;
}
void refusePreciseWait(int error) {
    preciseError = error;
}
void failWaits(int error) {
    waitError = error;
}
void failNextWait(int error) {
    nextWaitError = error;
}
void failCreations(int error) {
    creationError = error;
}
void failNextWakeup(int error) {
    wakeupError = error;
}
void failNextHandler(int error) {
    handlerError = error;
}
void failNextAddition(int error) {
    additionError = error;
}
void beforeWait(std::function<void(int)> hook) {
    waitHook = std::move(hook);
}

namespace {

long preciseWait(int epoll, epoll_event* events, int capacity, const KernelTime* timeout) {
    ++calls.preciseTries;
    if (preciseError != 0) {
        errno = preciseError;
        return -1;
    }
    if (!beginWait()) {
        return -1;
    }
    if (virtualTime) {
        return waitVirtually(
            epoll, events, capacity,
            timeout == nullptr ? -1 : timeout->seconds * kNsPerSecond + timeout->nanoseconds);
    }
    const long count =
        realSyscall()(SYS_epoll_pwait2, epoll, events, capacity, timeout, nullptr, 0);
    if (count < 0 && errno != EINTR) {
        --calls.waits;  // refused by the real kernel
    }
    return count;
}

}  // namespace
}  // namespace kernel

using namespace kernel;

extern "C" {

long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    long a[6];
    for (long& argument : a) {
        argument = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_epoll_pwait2) {
        return preciseWait(static_cast<int>(a[0]), reinterpret_cast<epoll_event*>(a[1]),
                           static_cast<int>(a[2]), reinterpret_cast<const KernelTime*>(a[3]));
    }
    return realSyscall()(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

int epoll_wait(int epoll, epoll_event* events, int capacity, int timeoutMs) {
    ++calls.millisWaits;
    if (timeoutMs > longestWaitMs) {
        longestWaitMs = timeoutMs;
    }
    if (!beginWait()) {
        return -1;
    }
    if (virtualTime) {
        return waitVirtually(epoll, events, capacity, int64_t{timeoutMs} * 1000000);
    }
    return realEpollWait(epoll, events, capacity, timeoutMs);
}

int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept {
    ++calls.controls;
    if (operation == EPOLL_CTL_ADD) {
        // The loop's own wake-up descriptor is the one that is edge-triggered.
        const bool isWakeup = (event->events & EPOLLET) != 0;
        const int error = (isWakeup ? wakeupError : additionError).exchange(0);
        if (error != 0) {
            errno = error;
            return -1;
        }
    }
    static auto* const function = real<int(int, int, int, epoll_event*)>("epoll_ctl");
    return function(epoll, operation, fd, event);
}

int epoll_create1(int flags) noexcept {
    ++calls.creations;
    if (creationError != 0) {
        errno = creationError;
        return -1;
    }
    static auto* const function = real<int(int)>("epoll_create1");
    return function(flags);
}

int sigaction(int signum, const struct sigaction* action, struct sigaction* former) noexcept {
    const int error = action == nullptr ? 0 : handlerError.exchange(0);
    if (error != 0) {
        errno = error;
        return -1;
    }
    using Function = int(int, const struct sigaction*, struct sigaction*);
    static auto* const function = real<Function>("sigaction");
    return function(signum, action, former);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock == CLOCK_MONOTONIC) {
        ++calls.clockReads;
    }
    if (virtualTime && (clock == CLOCK_MONOTONIC || clock == CLOCK_REALTIME)) {
        const int64_t ns = clock == CLOCK_MONOTONIC ? monotonicNs : calendarNs;
        time->tv_sec = static_cast<time_t>(ns / kNsPerSecond);
        time->tv_nsec = static_cast<long>(ns % kNsPerSecond);
        return 0;
    }
    // On 32-bit machines the call with 64-bit time goes by another name.
    static auto* const function = real<int(clockid_t, timespec*)>(
        sizeof(time_t) > sizeof(long) ? "__clock_gettime64" : "clock_gettime");
    return function(clock, time);
}

}  // extern "C"
