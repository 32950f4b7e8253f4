/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/evlp.h>
#include <signal.h>
#include <stdio.h>
#include <time.h>

static const struct {
    int hour, minute;
    const char* state;
} plan[] = {{18, 30, "on"}, {23, 0, "off"}}; /* on workdays, in the order of the day */

struct daemon {
    evlp_thread_str* loop;
    evlp_ctx_str* timer;
    time_t due;
    const char* state;
};

/* Finds what comes after `now`, and waits for it. */
static void wait_for_next(struct daemon* d, time_t now) {
    const int count = (int)(sizeof plan / sizeof plan[0]);
    int i;
    for (i = 0; i < 8 * count; ++i) {
        struct tm when;
        localtime_r(&now, &when);
        when.tm_mday += i / count; /* mktime() makes a date of it */
        when.tm_hour = plan[i % count].hour;
        when.tm_min = plan[i % count].minute;
        when.tm_sec = 0;
        when.tm_isdst = -1;
        d->due = mktime(&when);
        d->state = plan[i % count].state;
        if (d->due > now && when.tm_wday != 0 && when.tm_wday != 6) {
            break;
        }
    }
    timer_startCtx(d->timer, 1000 * ((int64_t)d->due - time(NULL)));
}

static void on_timer(void* user) {
    struct daemon* d = user;
    if (time(NULL) >= d->due) { /* else the clock has been set */
        char minute[16];
        struct tm when;
        strftime(minute, sizeof minute, "%a %H:%M", localtime_r(&d->due, &when));
        printf("%s %s\n", minute, d->state);
    }
    wait_for_next(d, time(NULL));
}

static void quit(void* user) {
    evlp_stopThread(user);
}

int main(void) {
    struct daemon d = {NULL, NULL, 0, NULL};
    evlp_ctx_str* terminate;
    int result;

    d.loop = evlp_openThreadInt("lampd", 0, 0, 32, 10, 255, 10);
    d.timer = timer_openCtx(d.loop, on_timer, &d, 0, 8);
    wait_for_next(&d, time(NULL));
    terminate = sig_openCtx(d.loop, quit, d.loop, SIGTERM, 8);
    sig_startCtx(terminate);
    puts("ready");
    result = evlp_startThread(d.loop);

    sig_closeCtx(terminate);
    timer_closeCtx(d.timer);
    evlp_closeThread(d.loop);
    return result == 0 ? 0 : 1;
}
