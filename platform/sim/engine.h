/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_ENGINE_H
#define SIM_ENGINE_H

#include <stdint.h>

#include "loops.h"

// How time passes. At a moment every loop is run until nothing is ready (a pass over all loops,
// again and again until a whole pass calls nothing); then the clock goes to the next deadline.
//
// A loop runs in evlp_startThread(), in its own code. Whatever is particular happens in its wait,
// in kernel.cc: it asks what to do when nothing is ready.

namespace sim {

constexpr int64_t kNoDate = -1;
constexpr int64_t kNever = INT64_MAX;

/** How far time is to pass. */
struct Journey {
    int64_t end;      // a time since the start
    int64_t endDate;  // or a date: when the calendar clock is set on the way, the end moves
};

/** What a loop does for which nothing is ready. */
enum class Idle {
    LookAgain,  // something may have become ready
    EndTurn,    // the loop has been stopped
    Drained,    // it was to run until nothing is ready, and has
    Fail        // errno says why
};

/** Whether a loop runs, so that this is inside a callback. */
bool isRunning();

/** evlp_startThread() of the service. */
int runAlone(evlp_thread_str* loop);

/** Runs all loops to the end of the journey. */
int travel(const Journey& journey);

/** Runs all loops until no deadline is left. */
int travelUntilIdle(int64_t longest);

/** Says that there is no end to what is ready. @return 0; -1 with ELOOP: it was too much */
int countTurn(OpenLoop* self);

Idle idle(OpenLoop* self);

/** A time far away is never due. @return microseconds, or kNever */
int64_t dueTime(int64_t dueMs);

// A journey that somebody else asks for, while a loop runs alone.
void beginJourney(const Journey& journey);
bool isTravelling();

}  // namespace sim

#endif
