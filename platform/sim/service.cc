// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The functions of the service as programs call them: recorded, made to fail where that was asked
// for, and handed on.

#include <errno.h>
#include <new>
#include <stdlib.h>

#include "evlp/sim.h"

#include "control.h"
#include "engine.h"
#include "inner.h"
#include "loops.h"
#include "record.h"

using namespace sim;

namespace {

OpenLoop* createLoop() {
    void* const memory = malloc(sizeof(OpenLoop));
    return memory == nullptr ? nullptr : new (memory) OpenLoop;
}

void destroy(OpenLoop* self) {
    self->~OpenLoop();
    free(self);
}

evlp_thread_str* openLoop(const char* name) {
    if (firstLoop() == nullptr && control::open() < 0) {
        return nullptr;
    }
    OpenLoop* const self = createLoop();
    if (self == nullptr) {
        return nullptr;
    }
    self->loop = inner_evlp_openThreadInt(name, 0, 0, 0, 0, 0, 0);
    if (self->loop == nullptr) {
        const int error = errno;
        destroy(self);
        errno = error;
        return nullptr;
    }
    append(self);
    return self->loop;
}

int closeLoop(evlp_thread_str* loop) {
    OpenLoop* const self = find(loop);
    if (inner_evlp_closeThread(loop) < 0) {
        return -1;
    }
    remove(self);
    destroy(self);
    return 0;
}

}  // namespace

int evlp_initialize(int options, int threads, int reserved, int contexts) {
    Call call(EVLP_SIM_INITIALIZE, nullptr, nullptr, {options, threads, reserved, contexts});
    return call.fails() ? -1
                        : call.ended(inner_evlp_initialize(options, threads, reserved, contexts));
}

evlp_thread_str* evlp_openThreadInt(const char* name, int policy, int stackSize, int eventsPerTurn,
                                    int timerSlack, int lowestPriority, int signalSlack) {
    Call call(EVLP_SIM_OPEN_THREAD, nullptr, nullptr,
              {policy, stackSize, eventsPerTurn, timerSlack, lowestPriority, signalSlack});
    call.setName(name);
    return call.fails() ? nullptr : call.opened(openLoop(name));
}

int evlp_startThread(evlp_thread_str* loop) {
    Call call(EVLP_SIM_START_THREAD, loop, nullptr, {});
    return call.fails() ? -1 : call.ended(runAlone(loop));
}

int evlp_stopThread(evlp_thread_str* loop) {
    Call call(EVLP_SIM_STOP_THREAD, loop, nullptr, {});
    return call.fails() ? -1 : call.ended(inner_evlp_stopThread(loop));
}

int evlp_closeThread(evlp_thread_str* loop) {
    Call call(EVLP_SIM_CLOSE_THREAD, loop, nullptr, {});
    return call.fails() ? -1 : call.ended(closeLoop(loop));
}

evlp_ctx_str* fd_openCtx(evlp_thread_str* loop, evlp_fd_fn fn, void* user, int fd, int mode,
                         unsigned char priority) {
    Call call(EVLP_SIM_FD_OPEN, loop, nullptr, {fd, mode, priority});
    call.setUser(user);
    return call.fails() ? nullptr
                        : call.opened(inner_fd_openCtx(loop, fn, user, fd, mode, priority));
}

int fd_startCtx(evlp_ctx_str* ctx, int timeoutMs) {
    Call call(EVLP_SIM_FD_START, nullptr, ctx, {timeoutMs});
    return call.fails() ? -1 : call.ended(inner_fd_startCtx(ctx, timeoutMs));
}

int fd_stopCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_FD_STOP, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_fd_stopCtx(ctx));
}

int fd_closeCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_FD_CLOSE, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_fd_closeCtx(ctx));
}

evlp_ctx_str* timer_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int options,
                            unsigned char priority) {
    Call call(EVLP_SIM_TIMER_OPEN, loop, nullptr, {options, priority});
    call.setUser(user);
    return call.fails() ? nullptr
                        : call.opened(inner_timer_openCtx(loop, fn, user, options, priority));
}

int timer_startCtx(evlp_ctx_str* ctx, int64_t delayMs) {
    Call call(EVLP_SIM_TIMER_START, nullptr, ctx, {delayMs});
    return call.fails() ? -1 : call.ended(inner_timer_startCtx(ctx, delayMs));
}

int timer_stopCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_TIMER_STOP, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_timer_stopCtx(ctx));
}

int timer_closeCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_TIMER_CLOSE, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_timer_closeCtx(ctx));
}

evlp_ctx_str* sig_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int signum,
                          unsigned char priority) {
    Call call(EVLP_SIM_SIG_OPEN, loop, nullptr, {signum, priority});
    call.setUser(user);
    return call.fails() ? nullptr
                        : call.opened(inner_sig_openCtx(loop, fn, user, signum, priority));
}

int sig_startCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_SIG_START, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_sig_startCtx(ctx));
}

int sig_stopCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_SIG_STOP, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_sig_stopCtx(ctx));
}

int sig_closeCtx(evlp_ctx_str* ctx) {
    Call call(EVLP_SIM_SIG_CLOSE, nullptr, ctx, {});
    return call.fails() ? -1 : call.ended(inner_sig_closeCtx(ctx));
}
