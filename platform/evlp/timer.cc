// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>

#include "evlp/evlp.h"

#include "kernel.h"
#include "loop.h"

using namespace evlp;

namespace evlp {

namespace {

constexpr int64_t kNever = -1;

int64_t dueAfter(const Timer* timer, int64_t delayMs) {
    const timespec time = now();
    if (delayMs < 1) {
        return startOfMs(time);
    }
    if (timer->loop->current == timer && delayMs == timer->delayMs) {
        const int64_t due = later(timer->due, delayMs);
        if (due >= startOfMs(time)) {
            return due;
        }
    }
    return later(endOfMs(time), delayMs);
}

}  // namespace

void disarm(Timer* timer) {
    timer->armed = false;
    timer->loop->deadlines.cancel(timer);
    restIfReady(timer);
}

}  // namespace evlp

evlp_ctx_str* timer_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int,
                            unsigned char priority) {
    if (loop == nullptr || fn == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    auto* const timer = openContext<Timer>(loop, Kind::Timer, user, priority);
    if (timer != nullptr) {
        timer->fn = fn;
    }
    return timer;
}

int timer_startCtx(evlp_ctx_str* ctx, int64_t delayMs) {
    auto* const timer = as<Timer>(ctx, Kind::Timer);
    if (timer == nullptr || timer->loop == nullptr) {
        return fail(EINVAL);
    }
    if (timer->loop->deadlines.reserve(timer) < 0) {
        return -1;
    }
    restIfReady(timer);
    timer->armed = true;
    if (delayMs == kNever) {
        timer->loop->deadlines.cancel(timer);
    } else {
        timer->loop->deadlines.arm(timer, dueAfter(timer, delayMs));
    }
    timer->delayMs = delayMs;
    return 0;
}

int timer_stopCtx(evlp_ctx_str* ctx) {
    auto* const timer = as<Timer>(ctx, Kind::Timer);
    if (timer == nullptr) {
        return fail(EINVAL);
    }
    if (timer->armed) {
        disarm(timer);
    }
    return 0;
}

int timer_closeCtx(evlp_ctx_str* ctx) {
    if (timer_stopCtx(ctx) < 0) {
        return -1;
    }
    release(ctx);
    return 0;
}
