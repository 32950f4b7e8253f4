/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/evlp.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <xexec/xexec.h>

/* Needs the services alone: is called by the loop when its child has ended. */
static void on_end(void* user, int pid, int status) {
    (void)pid;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 3) {
        puts("hello from C, and from a child");
    }
    evlp_stopThread(user);
}

int main(void) {
    evlp_thread_str* loop = evlp_openThreadInt("consumer", 0, 0, 0, 0, 0, 0);
    xexec_s child;
    memset(&child, 0, sizeof child);
    child.fn = on_end;
    child.context = loop;
    child.loop = loop;
    child.priority = 8;
    if (xexec_cmd(&child, "exit 3", XEXEC_PLAIN) != 0 || evlp_startThread(loop) != 0) {
        return 1;
    }
    return evlp_closeThread(loop);
}
