// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The system below the loops: time is the virtual clock's, and what is registered is simulated,
// unless it was armed while the real system was watched.

#include "platform/evlp/kernel.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>

#include "clock.h"
#include "engine.h"
#include "loops.h"
#include "platform/evlp/loop.h"

using namespace sim;

namespace {

// Those for which the process has a handler of ours.
evlp::SignalSet caught;

bool isDue(const evlp_thread_str* loop) {
    return !loop->deadlines.isEmpty() && dueTime(loop->deadlines.firstDue()) <= now();
}

// @return as waitForEvents(), without waiting
int report(OpenLoop* self) {
    evlp_thread_str* const loop = self->loop;
    const int count = reportReady(self, loop->events, loop->eventCapacity);
    // A system call only where it may find something.
    if ((!self->registrations.hasReal() && !self->woken) || count == loop->eventCapacity) {
        return count;
    }
    self->woken = false;
    const int real = epoll_wait(loop->epoll, loop->events + count, loop->eventCapacity - count, 0);
    if (real < 0) {
        return errno == EINTR ? count : -1;
    }
    return count + real;
}

int add(OpenLoop* self, int epoll, epoll_event* event, int fd, bool real) {
    if (!real && !isNumber(fd)) {  // the loop's table may have grown for a real one
        return evlp::fail(EBADF);
    }
    if (self->registrations.reserve() < 0) {
        return -1;
    }
    const int result = real ? epoll_ctl(epoll, EPOLL_CTL_ADD, fd, event) : 0;
    if (result == 0 || errno == EEXIST) {  // which will be changed then
        self->registrations.insert({event->data, event->events, fd, 0, real});
    }
    return result;
}

// Changes a registration, or adds it to another instance of epoll.
int change(OpenLoop* self, Registration* registration, int epoll, int operation,
           epoll_event* event) {
    if (registration->real && epoll_ctl(epoll, operation, registration->fd, event) < 0) {
        if (operation == EPOLL_CTL_MOD) {  // the loop forgets it
            self->registrations.remove(registration);
        }
        return -1;
    }
    registration->events = event->events;
    registration->data = event->data;
    return 0;
}

int removeOne(OpenLoop* self, Registration* registration, int epoll, epoll_event* event) {
    const int fd = registration->fd;
    const bool real = registration->real;
    self->registrations.remove(registration);
    return real ? epoll_ctl(epoll, EPOLL_CTL_DEL, fd, event) : 0;
}

}  // namespace

namespace evlp {

timespec now() {
    const int64_t time = sim::now();
    timespec result = {};
    result.tv_sec = static_cast<time_t>(time / kUsPerSecond);
    result.tv_nsec = static_cast<long>(time % kUsPerSecond * 1000);
    return result;
}

int waitForEvents(evlp_thread_str* loop) {
    OpenLoop* const self = find(loop);
    for (;;) {
        const int count = report(self);
        if (count < 0) {
            return -1;
        }
        if (count != 0 || isDue(loop) || !loop->pending.isEmpty()) {
            return countTurn(self) < 0 ? -1 : count;
        }
        switch (idle(self)) {
            case Idle::LookAgain:
                break;
            case Idle::EndTurn:
                return 0;
            case Idle::Drained:  // no failure, but the way out of the loop
            case Idle::Fail:
                return -1;
        }
    }
}

int controlEpoll(const evlp_thread_str* loop, int epoll, int operation, int fd,
                 epoll_event* event) {
    OpenLoop* const self = find(loop);
    const bool isWakeup = (event->events & EPOLLET) != 0;  // its number may be simulated too
    if (self == nullptr || isWakeup) {
        return epoll_ctl(epoll, operation, fd, event);
    }
    Registration* const present = self->registrations.find(fd);
    if (present == nullptr) {
        return operation == EPOLL_CTL_ADD ? add(self, epoll, event, fd, watchesReal())
                                          : epoll_ctl(epoll, operation, fd, event);
    }
    if (operation == EPOLL_CTL_DEL) {
        return removeOne(self, present, epoll, event);
    }
    return change(self, present, epoll, operation, event);
}

bool isOpen(int fd) {
    if (watchesReal()) {
        return fcntl(fd, F_GETFD) >= 0;
    }
    if (!isNumber(fd)) {
        errno = EBADF;
        return false;
    }
    return true;
}

int setHandler(int signum, const struct sigaction* ours, struct sigaction* former) {
    if (!watchesReal() && !caught.has(signum)) {
        return sigaction(signum, nullptr, former);
    }
    if (sigaction(signum, ours, former) < 0) {
        return -1;
    }
    caught.add(signum);
    return 0;
}

void restoreHandler(int signum, const struct sigaction* former) {
    if (caught.has(signum)) {
        (void)sigaction(signum, former, nullptr);
        caught.remove(signum);
    }
}

}  // namespace evlp

bool sim::isCaught(int signum) {
    return caught.has(signum);
}
