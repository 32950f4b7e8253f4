/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/evlp.h>
#include <signal.h>
#include <stdio.h>

struct daemon {
    evlp_thread_str* loop;
    evlp_ctx_str* timer;
    int left;
};

/* A timer fires once for each start. */
static void blink(void* user) {
    struct daemon* d = user;
    puts(d->left % 2 == 0 ? "on" : "off");
    if (--d->left > 0) {
        timer_startCtx(d->timer, 100); /* milliseconds */
    } else {
        puts("ready");
    }
}

static void quit(void* user) {
    struct daemon* d = user;
    puts("bye");
    evlp_stopThread(d->loop);
}

int main(void) {
    struct daemon d = {NULL, NULL, 4};
    evlp_ctx_str* terminate;
    int result;

    evlp_initialize(0, 1, 0, 16);
    d.loop = evlp_openThreadInt("lampd", 0, 0, 32, 10, 255, 10);
    d.timer = timer_openCtx(d.loop, blink, &d, 0, 8);
    terminate = sig_openCtx(d.loop, quit, &d, SIGTERM, 8);
    sig_startCtx(terminate);

    blink(&d);
    result = evlp_startThread(d.loop); /* until somebody calls evlp_stopThread() */

    sig_closeCtx(terminate);
    timer_closeCtx(d.timer);
    evlp_closeThread(d.loop);
    return result == 0 ? 0 : 1;
}
