/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_INNER_H
#define SIM_INNER_H

#include "evlp/evlp.h"

// The functions of the service as platform/evlp has them, under other names: the exported ones,
// in service.cc, stand around them. inner_names.h makes the sources define these.

int inner_evlp_initialize(int options, int threads, int reserved, int contexts);
evlp_thread_str* inner_evlp_openThreadInt(const char* name, int policy, int stackSize,
                                          int eventsPerTurn, int timerSlack, int lowestPriority,
                                          int signalSlack);
int inner_evlp_startThread(evlp_thread_str* loop);
int inner_evlp_stopThread(evlp_thread_str* loop);
int inner_evlp_closeThread(evlp_thread_str* loop);

evlp_ctx_str* inner_fd_openCtx(evlp_thread_str* loop, evlp_fd_fn fn, void* user, int fd, int mode,
                               unsigned char priority);
int inner_fd_startCtx(evlp_ctx_str* ctx, int timeoutMs);
int inner_fd_stopCtx(evlp_ctx_str* ctx);
int inner_fd_closeCtx(evlp_ctx_str* ctx);

evlp_ctx_str* inner_timer_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int options,
                                  unsigned char priority);
int inner_timer_startCtx(evlp_ctx_str* ctx, int64_t delayMs);
int inner_timer_stopCtx(evlp_ctx_str* ctx);
int inner_timer_closeCtx(evlp_ctx_str* ctx);

evlp_ctx_str* inner_sig_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int signum,
                                unsigned char priority);
int inner_sig_startCtx(evlp_ctx_str* ctx);
int inner_sig_stopCtx(evlp_ctx_str* ctx);
int inner_sig_closeCtx(evlp_ctx_str* ctx);

#endif
