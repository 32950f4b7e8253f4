/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_INNER_NAMES_H
#define SIM_INNER_NAMES_H

// Included ahead of the sources of platform/evlp. Both headers come before the names are changed,
// so that the exported functions are declared as always.

#include "inner.h"

#define evlp_initialize inner_evlp_initialize
#define evlp_openThreadInt inner_evlp_openThreadInt
#define evlp_startThread inner_evlp_startThread
#define evlp_stopThread inner_evlp_stopThread
#define evlp_closeThread inner_evlp_closeThread
#define fd_openCtx inner_fd_openCtx
#define fd_startCtx inner_fd_startCtx
#define fd_stopCtx inner_fd_stopCtx
#define fd_closeCtx inner_fd_closeCtx
#define timer_openCtx inner_timer_openCtx
#define timer_startCtx inner_timer_startCtx
#define timer_stopCtx inner_timer_stopCtx
#define timer_closeCtx inner_timer_closeCtx
#define sig_openCtx inner_sig_openCtx
#define sig_startCtx inner_sig_startCtx
#define sig_stopCtx inner_sig_stopCtx
#define sig_closeCtx inner_sig_closeCtx

#endif
