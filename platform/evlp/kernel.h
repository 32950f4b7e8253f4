/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_KERNEL_H
#define EVLP_KERNEL_H

#include <signal.h>
#include <sys/epoll.h>
#include <time.h>

#include "evlp/evlp.h"

// What a loop asks of the system below it. The service on a virtual clock is made of the same
// sources, but for kernel.cc.

namespace evlp {

/** What CLOCK_MONOTONIC reads. */
timespec now();

/**
 * Waits until something is ready, the earliest deadline has come or somebody has called wake().
 *
 * @return  how many of `loop->events` are filled; 0 also for an interrupted wait
 */
int waitForEvents(evlp_thread_str* loop);

/** epoll_ctl(2). @param epoll  the loop's, or the one that is to take its place */
int controlEpoll(const evlp_thread_str* loop, int epoll, int operation, int fd, epoll_event* event);

/** Whether a descriptor of this number is open; errno says why not. */
bool isOpen(int fd);

/** sigaction(2). @param former  null: not wanted */
int setHandler(int signum, const struct sigaction* ours, struct sigaction* former);

/** Undoes setHandler(). */
void restoreHandler(int signum, const struct sigaction* former);

}  // namespace evlp

#endif
