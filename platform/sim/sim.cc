// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "evlp/sim.h"

#include <errno.h>
#include <stdint.h>
#include <sys/epoll.h>

#include "clock.h"
#include "control.h"
#include "dates.h"
#include "engine.h"
#include "loops.h"
#include "platform/evlp/loop.h"
#include "record.h"

using namespace sim;
using evlp::fail;

namespace {

constexpr int kBothModes = EVLP_READ | EVLP_WRITE;

// When the program starts, before its own constructors: what these read is virtual already.
__attribute__((constructor)) void start() {
    setFirstDate();
    setWatchesReal(control::isWanted());
}

int checkDuration(int64_t duration) {
    return canPass(duration) ? 0 : fail(EINVAL);
}

int checkNotInCallback() {
    return isRunning() ? fail(EBUSY) : 0;
}

uint32_t eventsOf(int mode) {
    const uint32_t in = (mode & EVLP_READ) != 0 ? uint32_t{EPOLLIN} : 0;
    const uint32_t out = (mode & EVLP_WRITE) != 0 ? uint32_t{EPOLLOUT} : 0;
    return in | out;
}

int checkReadiness(int fd, int mode) {
    return !isNumber(fd) || (mode & ~kBothModes) != 0 ? fail(EINVAL) : 0;
}

}  // namespace

int64_t evlp_sim_now(void) {
    return now();
}

int64_t evlp_sim_date(void) {
    return date();
}

int evlp_sim_setDate(int64_t value) {
    if (value < 0 || value > kEndOfTime) {
        return fail(EINVAL);
    }
    setDate(value);
    return 0;
}

int evlp_sim_advance(int64_t duration) {
    if (checkNotInCallback() < 0 || checkDuration(duration) < 0) {
        return -1;
    }
    return travel({now() + duration, kNoDate});
}

int evlp_sim_advanceTo(int64_t value) {
    if (checkNotInCallback() < 0) {
        return -1;
    }
    if (value < 0) {  // too far back for a difference
        return fail(EINVAL);
    }
    if (checkDuration(value - date()) < 0) {
        return -1;
    }
    return travel({0, value});
}

int evlp_sim_runUntilIdle(int64_t longest) {
    if (checkNotInCallback() < 0 || checkDuration(longest) < 0) {
        return -1;
    }
    return travelUntilIdle(longest);
}

int evlp_sim_pass(int64_t duration) {
    if (checkDuration(duration) < 0) {
        return -1;
    }
    moveTo(now() + duration);
    return 0;
}

int evlp_sim_setReady(int fd, int mode) {
    if (checkReadiness(fd, mode) < 0) {
        return -1;
    }
    setReady(fd, eventsOf(mode));
    return 0;
}

int evlp_sim_pulse(int fd, int mode) {
    if (checkReadiness(fd, mode) < 0) {
        return -1;
    }
    tellAllStopped();
    pulse(fd, eventsOf(mode));
    return 0;
}

int evlp_sim_raise(int signum) {
    if (signum < 1 || signum > evlp::kMostSignal) {
        return fail(EINVAL);
    }
    for (const OpenLoop* each = firstLoop(); each != nullptr; each = each->next) {
        if (each->loop->listening.has(signum)) {
            each->loop->pending.add(signum);
        }
    }
    return 0;
}

void evlp_sim_watchReal(int on) {
    tellAllStopped();  // what has been stopped is armed as the other kind, should it be armed again
    setWatchesReal(on != 0);
}

int evlp_sim_reset(void) {
    if (firstLoop() != nullptr) {
        return fail(EBUSY);
    }
    resetClock();
    resetReady();
    resetCalls();
    setWatchesReal(control::isWanted());
    return 0;
}
