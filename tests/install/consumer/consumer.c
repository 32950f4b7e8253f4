/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <stdio.h>
#include <zol/zol.h>

int main(void) {
    xstr s;
    void* loop = xeventloop_new();
    xstr_init(&s);
    xstr_format(&s, "%s from C, version %d", loop != NULL ? "hello" : "no loop", ZOL_VERSION_MAJOR);
    puts(s);
    xstr_free(&s);
    xeventloop_free(loop);
    return 0;
}
