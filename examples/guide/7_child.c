/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/evlp.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <xexec/xexec.h>

/* Keeps a helper running: started again, after a pause, as long as it ends with a failure. */
struct daemon {
    const char* command;
    evlp_thread_str* loop;
    evlp_ctx_str* pause;
    xexec_s helper;
};

static void start(void* user) {
    struct daemon* d = user;
    puts("helper starts");
    if (xexec_cmd(&d->helper, d->command, XEXEC_NULL_INPUT) != 0) {
        perror("helper");
        evlp_stopThread(d->loop);
    }
}

static void on_ended(void* user, int pid, int status) {
    struct daemon* d = user;
    (void)pid;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        puts("helper has done its work");
        evlp_stopThread(d->loop);
    } else {
        printf("helper failed with %d\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
        timer_startCtx(d->pause, 100);
    }
}

int main(int argc, char** argv) {
    struct daemon d;
    int result;

    memset(&d, 0, sizeof d); /* a record of xexec begins with zeroes */
    d.command = argc > 1 ? argv[1] : "exit 0";
    d.loop = evlp_openThreadInt("lampd", 0, 0, 32, 10, 255, 10);
    d.pause = timer_openCtx(d.loop, start, &d, 0, 8);
    d.helper.fn = on_ended;
    d.helper.context = &d;
    d.helper.loop = d.loop;
    d.helper.priority = 8;

    start(&d);
    result = evlp_startThread(d.loop);

    timer_closeCtx(d.pause);
    evlp_closeThread(d.loop);
    return result == 0 ? 0 : 1;
}
