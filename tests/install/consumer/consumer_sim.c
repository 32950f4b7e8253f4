/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/sim.h>
#include <stdio.h>
#include <time.h>

/* Lives in virtual time: a day of it passes here. */
static void greet(void* user) {
    int64_t begin = *(const int64_t*)user;
    if (time(NULL) - begin == 86400) {
        puts("hello from C, a day later");
    }
}

int main(void) {
    int64_t begin = time(NULL);
    evlp_thread_str* loop = evlp_openThreadInt("consumer", 0, 0, 0, 0, 0, 0);
    evlp_ctx_str* day = timer_openCtx(loop, greet, &begin, 0, 8);
    timer_startCtx(day, 86400000);
    evlp_sim_advance(INT64_C(86400000000));
    timer_closeCtx(day);
    return evlp_closeThread(loop) == 0 && evlp_sim_reset() == 0 ? 0 : 1;
}
