// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/fake_service.h"

#include <stdarg.h>
#include <stdio.h>

std::vector<std::string> FakeService::calls;
int FakeService::answer = 0;
bool FakeService::refusesOpen = false;
evlp_fn FakeService::fn = nullptr;
evlp_fd_fn FakeService::fdFn = nullptr;
void* FakeService::user = nullptr;

namespace {

char loopBytes;
char contextBytes;

__attribute__((format(printf, 1, 2))) int called(const char* format, ...) {
    char text[200];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    FakeService::calls.push_back(text);
    return FakeService::answer;
}

}  // namespace

evlp_thread_str* FakeService::loop() {
    return refusesOpen ? nullptr : reinterpret_cast<evlp_thread_str*>(&loopBytes);
}

evlp_ctx_str* FakeService::context() {
    return refusesOpen ? nullptr : reinterpret_cast<evlp_ctx_str*>(&contextBytes);
}

void FakeService::reset() {
    calls.clear();
    answer = 0;
    refusesOpen = false;
}

std::vector<std::string> FakeService::takeCalls() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
}

extern "C" {

int evlp_initialize(int a, int b, int c, int d) {
    return called("initialize %d %d %d %d", a, b, c, d);
}
evlp_thread_str* evlp_openThreadInt(const char* name, int a, int b, int c, int d, int e, int f) {
    called("openThread %s %d %d %d %d %d %d", name, a, b, c, d, e, f);
    return FakeService::loop();
}
int evlp_startThread(evlp_thread_str* loop) {
    return called("startThread %d", loop == FakeService::loop());
}
int evlp_stopThread(evlp_thread_str* loop) {
    return called("stopThread %d", loop == FakeService::loop());
}
int evlp_closeThread(evlp_thread_str* loop) {
    return called("closeThread %d", loop == FakeService::loop());
}
evlp_ctx_str* fd_openCtx(evlp_thread_str*, evlp_fd_fn fn, void* user, int fd, int mode,
                         unsigned char priority) {
    FakeService::fdFn = fn;
    FakeService::user = user;
    called("fd_open fd=%d mode=%d priority=%d", fd, mode, priority);
    return FakeService::context();
}
int fd_startCtx(evlp_ctx_str*, int ms) {
    return called("fd_start %d", ms);
}
int fd_stopCtx(evlp_ctx_str*) {
    return called("fd_stop");
}
int fd_closeCtx(evlp_ctx_str*) {
    return called("fd_close");
}
evlp_ctx_str* timer_openCtx(evlp_thread_str*, evlp_fn fn, void* user, int options,
                            unsigned char priority) {
    FakeService::fn = fn;
    FakeService::user = user;
    called("timer_open options=%d priority=%d", options, priority);
    return FakeService::context();
}
int timer_startCtx(evlp_ctx_str*, int64_t ms) {
    return called("timer_start %lld", static_cast<long long>(ms));
}
int timer_stopCtx(evlp_ctx_str*) {
    return called("timer_stop");
}
int timer_closeCtx(evlp_ctx_str*) {
    return called("timer_close");
}
evlp_ctx_str* sig_openCtx(evlp_thread_str*, evlp_fn fn, void* user, int signum,
                          unsigned char priority) {
    FakeService::fn = fn;
    FakeService::user = user;
    called("sig_open signum=%d priority=%d", signum, priority);
    return FakeService::context();
}
int sig_startCtx(evlp_ctx_str*) {
    return called("sig_start");
}
int sig_stopCtx(evlp_ctx_str*) {
    return called("sig_stop");
}
int sig_closeCtx(evlp_ctx_str*) {
    return called("sig_close");
}

}  // extern "C"
