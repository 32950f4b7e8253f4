// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "loop.h"

#include <string.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "evlp/evlp.h"

#include "kernel.h"

using namespace evlp;

namespace evlp {

namespace {

constexpr int kFirstEvents = 64;

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
