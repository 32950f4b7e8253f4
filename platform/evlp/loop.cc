// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "loop.h"

#include <limits.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "evlp/evlp.h"

#ifndef SYS_epoll_pwait2
#define SYS_epoll_pwait2 -1  // the kernel answers ENOSYS
#endif

using namespace evlp;

namespace evlp {

namespace {

constexpr int kFirstEvents = 64;

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

void addDue(evlp_thread_str* loop) {
    if (loop->deadlines.isEmpty()) {
        return;
    }
    loop->turnTime = now();
    const int64_t time = startOfMs(loop->turnTime);
    Link idle;  // their turn comes after all timers
    while (!loop->deadlines.isEmpty() && loop->deadlines.firstDue() <= time) {
        evlp_ctx_str* const ctx = loop->deadlines.first();
        if (ctx->kind == Kind::Timer) {
            static_cast<Timer*>(ctx)->due = loop->deadlines.firstDue();
            loop->ready.add(ctx);
        } else {
            ctx->moveToBackOf(&idle);
        }
        loop->deadlines.cancel(ctx);
    }
    while (!idle.isAlone()) {
        addIdle(static_cast<Descriptor*>(idle.next));
    }
}

// The callback may close its context: nothing of it is used afterwards.
void call(evlp_thread_str* loop, evlp_ctx_str* ctx) {
    const bool timedOut = ctx->timedOut;
    rest(ctx);
    loop->current = ctx;
    if (ctx->kind == Kind::Descriptor) {
        const auto* const descriptor = static_cast<Descriptor*>(ctx);
        descriptor->fn(descriptor->user, timedOut ? -1 : descriptor->fd);
    } else if (ctx->kind == Kind::Timer) {
        ctx->armed = false;
        static_cast<Timer*>(ctx)->fn(ctx->user);
    } else {
        static_cast<Signal*>(ctx)->fn(ctx->user);
    }
    loop->current = nullptr;
}

int turn(evlp_thread_str* loop) {
    tellStopped(loop);
    loop->deadlines.trim();
    const int count = waitForEvents(loop);
    if (count < 0) {
        return -1;
    }
    addReadySignals(loop);
    addDue(loop);
    addReadyDescriptors(loop, count);
    while (evlp_ctx_str* const ctx = loop->ready.first()) {
        call(loop, ctx);
    }
    return 0;
}

void disarmAny(evlp_ctx_str* ctx) {
    if (ctx->kind == Kind::Descriptor) {
        disarm(static_cast<Descriptor*>(ctx));
    } else if (ctx->kind == Kind::Timer) {
        disarm(static_cast<Timer*>(ctx));
    } else {
        disarm(static_cast<Signal*>(ctx));
    }
}

void orphanAll(Link* ring) {
    while (!ring->isAlone()) {
        auto* const ctx = static_cast<evlp_ctx_str*>(ring->next);
        if (ctx->armed) {
            disarmAny(ctx);
        }
        ctx->watched = false;
        ctx->loop = nullptr;
        ctx->unlink();
    }
}

void destroy(evlp_thread_str* loop) {
    loop->~evlp_thread_str();
    free(loop);
}

}  // namespace

void release(evlp_ctx_str* ctx) {
    if (ctx->loop != nullptr && ctx->loop->current == ctx) {
        ctx->loop->current = nullptr;  // the memory may become another context
    }
    ctx->unlink();
    free(ctx);
}

void wake(const evlp_thread_str* loop) {
    const int error = errno;
    const uint64_t one = 1;
    // Cannot fail: the counter would have to be full.
    [[maybe_unused]] const ssize_t written = write(loop->wakeup, &one, sizeof one);
    errno = error;
}

timespec now() {
    timespec time = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &time);  // every kernel has this clock
    return time;
}

int64_t startOfMs(const timespec& time) {
    return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

int64_t endOfMs(const timespec& time) {
    return int64_t{time.tv_sec} * 1000 + (time.tv_nsec + 999999) / 1000000;
}

int64_t later(int64_t timeMs, int64_t delayMs) {
    int64_t sum = 0;
    return __builtin_add_overflow(timeMs, delayMs, &sum) ? INT64_MAX : sum;
}

}  // namespace evlp

int evlp_thread_str::open(const char* text) {
    memcpy(name, text, strnlen(text, sizeof name - 1));
    events = resized(events, kFirstEvents);
    if (events == nullptr) {
        return -1;
    }
    eventCapacity = kFirstEvents;
    wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeup < 0) {
        return -1;
    }
    epoll = createEpoll(this);
    return epoll < 0 ? -1 : 0;
}

evlp_thread_str::~evlp_thread_str() {
    if (epoll >= 0) {
        (void)close(epoll);
    }
    if (wakeup >= 0) {
        (void)close(wakeup);
    }
    free(slots);
    free(events);
}

int evlp_initialize(int, int, int, int) {
    return 0;
}

evlp_thread_str* evlp_openThreadInt(const char* name, int, int, int, int, int, int) {
    void* const memory = malloc(sizeof(evlp_thread_str));
    if (memory == nullptr) {
        return nullptr;
    }
    auto* const loop = new (memory) evlp_thread_str;
    if (loop->open(name == nullptr ? "" : name) < 0) {
        const int error = errno;
        destroy(loop);
        errno = error;
        return nullptr;
    }
    enlist(loop);
    return loop;
}

int evlp_startThread(evlp_thread_str* loop) {
    if (loop == nullptr) {
        return fail(EINVAL);
    }
    if (loop->running.exchange(true)) {
        return fail(EBUSY);
    }
    claim(loop);
    int result = 0;
    while (result == 0 && !loop->stopping.exchange(false)) {
        result = turn(loop);
    }
    loop->running.store(false);
    return result;
}

int evlp_stopThread(evlp_thread_str* loop) {
    if (loop == nullptr) {
        return fail(EINVAL);
    }
    loop->stopping.store(true);
    wake(loop);
    return 0;
}

int evlp_closeThread(evlp_thread_str* loop) {
    if (loop == nullptr) {
        return fail(EINVAL);
    }
    if (loop->running.exchange(true)) {
        return fail(EBUSY);
    }
    orphanAll(&loop->resting);
    orphanAll(&loop->lazy);
    delist(loop);
    destroy(loop);
    return 0;
}
