// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "loop.h"

#ifndef SYS_epoll_pwait2
#define SYS_epoll_pwait2 -1  // the kernel answers ENOSYS
#endif

namespace evlp {

namespace {

// The kernel's time, of 64 bits even where the C library's is not.
struct KernelTime {
    int64_t seconds;
    int64_t nanoseconds;
};

KernelTime timeUntil(int64_t dueMs) {
    const timespec time = now();
    const int64_t ms = dueMs - startOfMs(time);
    if (ms <= 0) {
        return {0, 0};
    }
    KernelTime result = {ms / 1000, ms % 1000 * 1000000 - time.tv_nsec % 1000000};
    if (result.nanoseconds < 0) {
        result.seconds -= 1;
        result.nanoseconds += 1000000000;
    }
    return result;
}

// What lasts longer than epoll_wait can wait is waited for in several turns.
int roundedUpToMs(const KernelTime& time) {
    if (time.seconds >= INT_MAX / 1000) {
        return INT_MAX;
    }
    return static_cast<int>(time.seconds * 1000 + (time.nanoseconds + 999999) / 1000000);
}

// Kernels before 5.11 do not know the call; sandboxes refuse what they do not know.
bool isRefused(int error) {
    return error == ENOSYS || error == EPERM || error == EOPNOTSUPP;
}

// @param timeout  null: without end
int waitForEvents(evlp_thread_str* loop, const KernelTime* timeout) {
    if (loop->waitsPrecisely) {
        // By number: not every C library has a function for it.
        const long count = syscall(SYS_epoll_pwait2, loop->epoll, loop->events, loop->eventCapacity,
                                   timeout, nullptr, size_t{0});
        if (count >= 0 || !isRefused(errno)) {
            return static_cast<int>(count);
        }
        loop->waitsPrecisely = false;
    }
    return epoll_wait(loop->epoll, loop->events, loop->eventCapacity,
                      timeout == nullptr ? -1 : roundedUpToMs(*timeout));
}

}  // namespace

timespec now() {
    timespec time = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &time);  // every kernel has this clock
    return time;
}

int waitForEvents(evlp_thread_str* loop) {
    int count = 0;
    if (loop->deadlines.isEmpty()) {
        count = waitForEvents(loop, nullptr);
    } else {
        const KernelTime timeout = timeUntil(loop->deadlines.firstDue());
        count = waitForEvents(loop, &timeout);
    }
    return count < 0 && errno == EINTR ? 0 : count;
}

int controlEpoll(const evlp_thread_str*, int epoll, int operation, int fd, epoll_event* event) {
    return epoll_ctl(epoll, operation, fd, event);
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

int setHandler(int signum, const struct sigaction* ours, struct sigaction* former) {
    return sigaction(signum, ours, former);
}

void restoreHandler(int signum, const struct sigaction* former) {
    (void)sigaction(signum, former, nullptr);  // cannot fail where setting one has not
}

}  // namespace evlp
