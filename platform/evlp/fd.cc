// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "evlp/evlp.h"

#include "kernel.h"
#include "loop.h"

// Descriptors, and what the kernel is told about them.
//
// The kernel knows a registration by its number and its open file. It is told of a start at once,
// because the caller wants the answer, and of a close at once, because a moment later the number
// may belong to another file. A stop is told before the next wait only: often a start comes first.
//
// Should a descriptor be closed before its context, the kernel drops the registration by itself,
// unless a duplicate keeps the file open, in a child process for instance. Then it goes on
// reporting a number that is gone, and the registration can be neither changed nor removed. If
// the number has been registered anew meanwhile, or not at all, such a report bears an outdated
// generation. If not, it looks like any other, and only asking the kernel about the number, which
// is done now and then, reveals it. Either way all that is alive moves to a new epoll instance.

using namespace evlp;

namespace evlp {

namespace {

constexpr uint64_t kWakeupReport = UINT64_MAX;  // no descriptor has this number
constexpr size_t kFirstSlots = 64;
constexpr int kMostEvents = 1024;

// A prime, so as not to fall into step with what else comes round.
constexpr unsigned kTurnsBetweenChecks = 251;

int control(const evlp_thread_str* loop, int epoll, int operation, int fd, unsigned modes) {
    epoll_event event = {};
    if ((modes & EVLP_READ) != 0) {
        event.events |= EPOLLIN;
    }
    if ((modes & EVLP_WRITE) != 0) {
        event.events |= EPOLLOUT;
    }
    event.data.u64 = uint64_t{loop->slots[fd].generation} << 32 | static_cast<uint32_t>(fd);
    return controlEpoll(loop, epoll, operation, fd, &event);
}

void append(Slot& slot, Descriptor* descriptor) {
    Descriptor** end = &slot.first;
    while (*end != nullptr) {
        end = &(*end)->peer;
    }
    *end = descriptor;
    descriptor->watched = true;
}

Descriptor* takeFirst(Slot& slot) {
    Descriptor* const descriptor = slot.first;
    slot.first = descriptor->peer;
    descriptor->peer = nullptr;
    descriptor->watched = false;
    return descriptor;
}

// The descriptor has been closed: its contexts are not called any more, though they stay armed.
void forget(evlp_thread_str* loop, int fd) {
    Slot& slot = loop->slots[fd];
    while (slot.first != nullptr) {
        Descriptor* const descriptor = takeFirst(slot);
        loop->deadlines.cancel(descriptor);
        rest(descriptor);
    }
    slot.modes = 0;
}

// Changes what is registered. A number that is gone, or that of another file by now, is forgotten.
bool change(evlp_thread_str* loop, int fd, unsigned modes) {
    if (control(loop, loop->epoll, EPOLL_CTL_MOD, fd, modes) < 0) {
        forget(loop, fd);
        return false;
    }
    loop->slots[fd].modes = modes & 3u;
    return true;
}

bool isAlive(evlp_thread_str* loop, int fd) {
    return change(loop, fd, loop->slots[fd].modes);
}

int add(evlp_thread_str* loop, int fd, unsigned modes) {
    ++loop->slots[fd].generation;
    int result = control(loop, loop->epoll, EPOLL_CTL_ADD, fd, modes);
    if (result < 0 && errno == EEXIST) {  // a forgotten file has got its number back
        result = control(loop, loop->epoll, EPOLL_CTL_MOD, fd, modes);
    }
    if (result == 0) {
        loop->slots[fd].modes = modes & 3u;
    }
    return result;
}

int reserveSlot(evlp_thread_str* loop, int fd) {
    const size_t index = static_cast<size_t>(fd);
    if (index < loop->slotCount) {
        return 0;
    }
    if (!isOpen(fd)) {
        return -1;  // no table up to numbers that are not in use
    }
    size_t count = loop->slotCount == 0 ? kFirstSlots : loop->slotCount;
    while (count <= index) {
        count *= 2;
    }
    Slot* const slots = resized(loop->slots, count);
    if (slots == nullptr) {
        return -1;
    }
    memset(slots + loop->slotCount, 0, (count - loop->slotCount) * sizeof *slots);
    loop->slots = slots;
    loop->slotCount = count;
    return 0;
}

int watch(Descriptor* descriptor) {
    evlp_thread_str* const loop = descriptor->loop;
    const int fd = descriptor->fd;
    if (reserveSlot(loop, fd) < 0) {
        return -1;
    }
    Slot& slot = loop->slots[fd];
    // Asked even when the modes stay: what is registered may be another file's.
    const bool changed = slot.modes != 0 && change(loop, fd, slot.modes | descriptor->mode);
    if (!changed && add(loop, fd, descriptor->mode) < 0) {
        return -1;
    }
    append(slot, descriptor);
    return 0;
}

// Makes the kernel report what the armed contexts of a descriptor watch, and nothing else.
void settle(evlp_thread_str* loop, int fd) {
    Slot& slot = loop->slots[fd];
    Slot armed = {};
    while (slot.first != nullptr) {
        Descriptor* const descriptor = takeFirst(slot);
        if (descriptor->armed) {
            append(armed, descriptor);
            armed.modes |= descriptor->mode & 3u;
        } else {
            rest(descriptor);
        }
    }
    slot.first = armed.first;
    if (armed.modes == 0) {
        // Fails for a descriptor that was closed before, and is as good as done then.
        (void)control(loop, loop->epoll, EPOLL_CTL_DEL, fd, 0);
        slot.modes = 0;
    } else if (armed.modes != slot.modes) {
        (void)change(loop, fd, armed.modes);  // or forgotten
    }
}

// Idle time counts from the end of the wait.
void restartIdleTime(Descriptor* descriptor) {
    if (descriptor->timeoutMs >= 0) {
        evlp_thread_str* const loop = descriptor->loop;
        loop->deadlines.arm(descriptor, later(endOfMs(loop->turnTime), descriptor->timeoutMs));
    }
}

void addReady(evlp_thread_str* loop, const Slot& slot, uint32_t events) {
    const bool broken = (events & (EPOLLERR | EPOLLHUP)) != 0;
    const int readable = broken || (events & EPOLLIN) != 0 ? EVLP_READ : 0;
    const int writable = broken || (events & EPOLLOUT) != 0 ? EVLP_WRITE : 0;
    for (Descriptor* each = slot.first; each != nullptr; each = each->peer) {
        if ((each->mode & (readable | writable)) != 0) {
            each->timedOut = false;
            restartIdleTime(each);
            loop->ready.add(each);
        }
    }
}

// Registers what is alive with a new epoll instance. The old one is asked first: a number that
// belongs to another file by now must not be registered.
int registerAll(evlp_thread_str* loop, int epoll) {
    for (size_t i = 0; i != loop->slotCount; ++i) {
        const int fd = static_cast<int>(i);
        if (loop->slots[i].modes != 0 && isAlive(loop, fd) &&
            control(loop, epoll, EPOLL_CTL_ADD, fd, loop->slots[i].modes) < 0) {
            return -1;
        }
    }
    return 0;
}

int rebuild(evlp_thread_str* loop) {
    const int epoll = createEpoll(loop);
    if (epoll < 0) {
        return -1;
    }
    if (registerAll(loop, epoll) < 0) {
        (void)close(epoll);
        return -1;
    }
    (void)close(loop->epoll);
    loop->epoll = epoll;
    return 0;
}

// Gets rid of reports about numbers that are gone.
void shedOutdated(evlp_thread_str* loop) {
    if (rebuild(loop) < 0) {
        // Out of descriptors or memory. The next wait brings the same reports and another attempt;
        // until then the processor is better left to those who may free something.
        const timespec pause = {0, 1000000};
        (void)nanosleep(&pause, nullptr);  // cut short by a signal: as well
    }
}

void growEvents(evlp_thread_str* loop) {
    const int capacity = loop->eventCapacity * 2;
    epoll_event* const events = resized(loop->events, static_cast<size_t>(capacity));
    if (events != nullptr) {  // else what does not fit comes in the next turn, as before
        loop->events = events;
        loop->eventCapacity = capacity;
    }
}

}  // namespace

int createEpoll(const evlp_thread_str* loop) {
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (epoll < 0) {
        return -1;
    }
    // Edge-triggered: every write is reported once, and nobody needs to read.
    epoll_event event = {};
    event.events = EPOLLIN | EPOLLET;
    event.data.u64 = kWakeupReport;
    if (controlEpoll(loop, epoll, EPOLL_CTL_ADD, loop->wakeup, &event) < 0) {
        const int error = errno;
        (void)close(epoll);
        return fail(error);
    }
    return epoll;
}

void tellStopped(evlp_thread_str* loop) {
    while (!loop->lazy.isAlone()) {
        settle(loop, static_cast<Descriptor*>(loop->lazy.next)->fd);
    }
}

void addIdle(Descriptor* descriptor) {
    // A descriptor that was closed is idle for ever, but its contexts are not called any more.
    if (isAlive(descriptor->loop, descriptor->fd)) {
        descriptor->timedOut = true;
        restartIdleTime(descriptor);
        descriptor->loop->ready.add(descriptor);
    }
}

void addReadyDescriptors(evlp_thread_str* loop, int count) {
    const bool checks = ++loop->turnsSinceCheck == kTurnsBetweenChecks;
    if (checks) {
        loop->turnsSinceCheck = 0;
    }
    bool outdated = false;
    for (int i = 0; i != count; ++i) {
        const uint64_t report = loop->events[i].data.u64;
        if (report == kWakeupReport) {
            continue;
        }
        const int fd = static_cast<int>(report & INT32_MAX);
        const Slot& slot = loop->slots[fd];
        const bool current = slot.modes != 0 && slot.generation == report >> 32;
        if (current && (!checks || isAlive(loop, fd))) {
            addReady(loop, slot, loop->events[i].events);
        } else {
            outdated = true;
        }
    }
    if (outdated) {
        shedOutdated(loop);
    }
    if (count == loop->eventCapacity && count < kMostEvents) {
        growEvents(loop);
    }
}

void disarm(Descriptor* descriptor) {
    evlp_thread_str* const loop = descriptor->loop;
    descriptor->armed = false;
    loop->deadlines.cancel(descriptor);
    rest(descriptor);
    if (descriptor->watched) {
        descriptor->moveToBackOf(&loop->lazy);
    }
}

}  // namespace evlp

evlp_ctx_str* fd_openCtx(evlp_thread_str* loop, evlp_fd_fn fn, void* user, int fd, int mode,
                         unsigned char priority) {
    const int bothModes = EVLP_READ | EVLP_WRITE;
    if (loop == nullptr || fn == nullptr || fd < 0 || mode == 0 || (mode & ~bothModes) != 0) {
        errno = EINVAL;
        return nullptr;
    }
    auto* const descriptor = openContext<Descriptor>(loop, Kind::Descriptor, user, priority);
    if (descriptor != nullptr) {
        descriptor->fn = fn;
        descriptor->fd = fd;
        descriptor->mode = static_cast<unsigned char>(mode);
    }
    return descriptor;
}

int fd_startCtx(evlp_ctx_str* ctx, int timeoutMs) {
    auto* const descriptor = as<Descriptor>(ctx, Kind::Descriptor);
    if (descriptor == nullptr || descriptor->loop == nullptr) {
        return fail(EINVAL);
    }
    Deadlines& deadlines = descriptor->loop->deadlines;
    if (timeoutMs >= 0 && deadlines.reserve(descriptor) < 0) {
        return -1;
    }
    if (!descriptor->watched && watch(descriptor) < 0) {
        return -1;
    }
    rest(descriptor);
    descriptor->armed = true;
    descriptor->timeoutMs = timeoutMs;
    if (timeoutMs >= 0) {
        deadlines.arm(descriptor, later(endOfMs(now()), timeoutMs));
    } else {
        deadlines.cancel(descriptor);
    }
    return 0;
}

int fd_stopCtx(evlp_ctx_str* ctx) {
    auto* const descriptor = as<Descriptor>(ctx, Kind::Descriptor);
    if (descriptor == nullptr) {
        return fail(EINVAL);
    }
    if (descriptor->armed) {
        disarm(descriptor);
    }
    return 0;
}

int fd_closeCtx(evlp_ctx_str* ctx) {
    if (fd_stopCtx(ctx) < 0) {
        return -1;
    }
    auto* const descriptor = static_cast<Descriptor*>(ctx);
    if (descriptor->watched) {
        settle(descriptor->loop, descriptor->fd);
    }
    release(descriptor);
    return 0;
}
