/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_EVLP_KERNEL_H
#define SUPPORT_EVLP_KERNEL_H

#include <atomic>
#include <functional>
#include <stdint.h>

/**
 * The kernel as the loop service sees it. The test program defines the calls that a loop makes, so
 * that they can be counted, refused, and run on a virtual clock: there a wait that nothing ends
 * takes no time, but moves the clock.
 */
namespace kernel {

struct Calls {
    std::atomic<int> waits;         // that the kernel accepted, of both kinds
    std::atomic<int> millisWaits;   // of these, by epoll_wait
    std::atomic<int> preciseTries;  // epoll_pwait2, refused or not
    std::atomic<int> controls;      // epoll_ctl
    std::atomic<int> creations;     // epoll_create1
    std::atomic<int> clockReads;    // of CLOCK_MONOTONIC
};

extern Calls calls;

/** Everything as it is without us, counters at 0. */
void reset();

/** From now on the clocks are virtual; they read 1000 s. */
void useVirtualTime();
void advanceNs(int64_t ns);
void stepCalendarClock(int64_t seconds);
int64_t nowNs();  // of the virtual CLOCK_MONOTONIC
int64_t nowMs();

/** The longest single wait that was asked of epoll_wait, in milliseconds. */
int longestMillisWait();

void refusePreciseWait(int error);
void failWaits(int error);         // every wait, of both kinds; 0: none
void failNextWait(int error);      // one wait
void failCreations(int error);     // epoll_create1; 0: none
void failNextWakeup(int error);    // EPOLL_CTL_ADD of a loop's own wake-up descriptor
void failNextHandler(int error);   // sigaction that sets one
void failNextAddition(int error);  // one EPOLL_CTL_ADD of a descriptor

/** Called before every wait with its number, counted from reset(). */
void beforeWait(std::function<void(int number)> hook);

}  // namespace kernel

#endif
