/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_XEXEC_CALLS_H
#define SUPPORT_XEXEC_CALLS_H

#include <sys/types.h>
#include <time.h>

/**
 * The kernel as the process-execution service sees it: the test program defines some of the calls
 * that parent and child make, so that they can be refused, and that a delay takes no time. What
 * the tests write here and what is noted is shared with children, however they are made.
 */
struct XexecCalls {
    // What syscall(2) refuses.
    struct Refusal {
        long number;
        int error;  // 0: this place is free
        int times;  // -1: always
    } refusals[3];

    // The groups of any user, in the place of the system's; of none: the system's.
    int groupCount;
    gid_t groups[64];

    int actionError;  // sigaction(2) for SIGCHLD with a handler

    // clock_nanosleep(2) answers at once, unless it is held.
    int delays;
    clockid_t clock;
    timespec delay;
    int interruptions;  // so many calls answer EINTR first, with half of the time left
    bool held;
};

/** Shared memory. */
extern XexecCalls* const xexecCalls;

/** A system call that syscall(2) refuses, until the end of the test. */
class RefusedCall {
  public:
    RefusedCall(long number, int error, int times = -1) : m_refusal(xexecCalls->refusals) {
        while (m_refusal->error != 0) {
            ++m_refusal;
        }
        *m_refusal = {number, error, times};
    }
    ~RefusedCall() { m_refusal->error = 0; }
    RefusedCall(const RefusedCall&) = delete;
    RefusedCall& operator=(const RefusedCall&) = delete;

  private:
    XexecCalls::Refusal* m_refusal;
};

#endif
