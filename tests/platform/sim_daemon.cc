// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A daemon that knows nothing of virtual time: it says the time every minute, answers what it
// reads from its standard input, and ends with SIGTERM.
//
// usage: sim_daemon [stop|busy|two|busy-other|advance|status]

#include <dlfcn.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "evlp/evlp.h"

namespace {

evlp_thread_str* loop = nullptr;
evlp_ctx_str* minute = nullptr;

void sayTime(void*) {
    const time_t now = time(nullptr);
    char text[64];
    tm fields = {};
    strftime(text, sizeof text, "%H:%M:%S", localtime_r(&now, &fields));
    puts(text);
    timer_startCtx(minute, 60000);
}

void sayNothing(void*) {
    timer_startCtx(minute, 60000);
}

void answer(void* self, int fd) {
    char bytes[64];
    const ssize_t count = read(fd, bytes, sizeof bytes);
    if (count <= 0) {
        fd_stopCtx(*static_cast<evlp_ctx_str**>(self));
        return;
    }
    printf("read %.*s", static_cast<int>(count), bytes);
}

void leaveUnread(void*, int) {}

void stop(void*) {
    evlp_stopThread(loop);
}

void sayOther(void*) {
    puts("other loop");
}

void startAgain(void* self) {
    timer_startCtx(*static_cast<evlp_ctx_str**>(self), 0);
}

bool is(const char* mode, const char* name) {
    return strcmp(mode, name) == 0;
}

void stopModal(void* modal, int fd) {
    char byte = 0;
    (void)!read(fd, &byte, 1);
    evlp_stopThread(static_cast<evlp_thread_str*>(modal));
}

// Waits for the standard input within a callback.
void runModal(void*) {
    puts("modal loop");
    evlp_thread_str* const modal = evlp_openThreadInt("modal", 0, 0, 0, 0, 0, 0);
    evlp_ctx_str* const input = fd_openCtx(modal, stopModal, modal, STDIN_FILENO, EVLP_READ, 8);
    fd_startCtx(input, -1);
    evlp_startThread(modal);
    fd_closeCtx(input);
    evlp_closeThread(modal);
}

// Lets ten seconds pass after all, with a modal loop on the way.
void advanceByItself() {
    using Advance = int(int64_t);
    auto* const advance = reinterpret_cast<Advance*>(dlsym(RTLD_DEFAULT, "evlp_sim_advance"));
    evlp_ctx_str* const soon = timer_openCtx(loop, runModal, nullptr, 0, 8);
    timer_startCtx(soon, 5000);
    advance(10000000);
    timer_closeCtx(soon);
    const time_t now = time(nullptr);
    char text[64];
    tm fields = {};
    strftime(text, sizeof text, "advanced to %H:%M:%S", localtime_r(&now, &fields));
    puts(text);
}

}  // namespace

int main(int argc, char** argv) {
    const char* const mode = argc > 1 ? argv[1] : "";
    if (is(mode, "status")) {
        return 42;
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);
    loop = evlp_openThreadInt("daemon", 0, 0, 0, 0, 0, 0);
    if (loop == nullptr) {
        perror("evlp_openThreadInt");
        return 1;
    }
    minute = timer_openCtx(loop, is(mode, "quiet") ? sayNothing : sayTime, nullptr, 0, 8);
    timer_startCtx(minute, 60000);
    evlp_ctx_str* input = nullptr;
    input = fd_openCtx(loop, is(mode, "busy") ? leaveUnread : answer, &input, STDIN_FILENO,
                       EVLP_READ, 9);
    evlp_ctx_str* const term = sig_openCtx(loop, stop, nullptr, SIGTERM, 10);
    sig_startCtx(term);
    evlp_ctx_str* const end = timer_openCtx(loop, stop, nullptr, 0, 8);
    if (is(mode, "stop")) {
        timer_startCtx(end, 90000);
    }
    evlp_thread_str* other = nullptr;
    evlp_ctx_str* once = nullptr;
    if (is(mode, "two") || is(mode, "busy-other")) {
        other = evlp_openThreadInt("other", 0, 0, 0, 0, 0, 0);
        once = timer_openCtx(other, is(mode, "two") ? sayOther : startAgain, &once, 0, 8);
        timer_startCtx(once, 90000);
    }
    if (is(mode, "advance")) {
        advanceByItself();
    }
    fd_startCtx(input, -1);

    const int result = evlp_startThread(loop);

    puts("ended");
    fd_closeCtx(input);
    sig_closeCtx(term);
    timer_closeCtx(end);
    timer_closeCtx(minute);
    evlp_closeThread(loop);
    if (other != nullptr) {
        timer_closeCtx(once);
        evlp_closeThread(other);
    }
    return result == 0 ? 0 : 1;
}
