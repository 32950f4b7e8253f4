// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "engine.h"

#include <errno.h>
#include <poll.h>
#include <stdint.h>

#include "clock.h"
#include "control.h"
#include "inner.h"
#include "platform/evlp/loop.h"

using evlp::fail;

namespace sim {

namespace {

// Turns that find something ready while time stands still.
constexpr unsigned kMostTurns = 1000000;

constexpr unsigned kTurnsBetweenVisits = 1024;

int loopsRunning = 0;
uint64_t passes = 0;
uint64_t turns = 0;
unsigned turnsAtThisMoment = 0;

bool advancing = false;   // in travel()
bool travelling = false;  // somebody else has asked for it
Journey journey = {};

int64_t endOfJourney() {
    return journey.endDate < 0 ? journey.end : now() + (journey.endDate - date());
}

void goTo(int64_t time) {
    moveTo(time);
    turnsAtThisMoment = 0;
}

int run(OpenLoop* self, Mode mode) {
    ++loopsRunning;
    self->mode = mode;
    self->drained = false;
    const int result = inner_evlp_startThread(self->loop);
    --loopsRunning;
    return result;
}

int drain(OpenLoop* self) {
    const int result = run(self, Mode::Drain);
    if (result == 0) {
        return fail(ECANCELED);
    }
    return self->drained ? 0 : -1;
}

OpenLoop* firstWithoutATurn(uint64_t pass) {
    OpenLoop* each = firstLoop();
    while (each != nullptr && (each->lastPass >= pass || each->loop->running.load())) {
        each = each->next;
    }
    return each;
}

// Looks for the next one from the start each time: callbacks open and close loops.
int drainAll() {
    uint64_t turnsBefore = 0;
    do {
        turnsBefore = turns;
        const uint64_t pass = ++passes;
        while (OpenLoop* const each = firstWithoutATurn(pass)) {
            each->lastPass = pass;
            if (drain(each) < 0) {
                return -1;
            }
        }
    } while (turns != turnsBefore);
    return 0;
}

int64_t firstDue(const OpenLoop* loop) {
    const evlp::Deadlines& deadlines = loop->loop->deadlines;
    return deadlines.isEmpty() ? kNever : dueTime(deadlines.firstDue());
}

// The next deadline of the loops that can be run; of those, `self` is one.
int64_t firstDueOfAll(const OpenLoop* self) {
    int64_t first = kNever;
    for (const OpenLoop* each = firstLoop(); each != nullptr; each = each->next) {
        const bool canRun = each == self || !each->loop->running.load();
        if (canRun && firstDue(each) < first) {
            first = firstDue(each);
        }
    }
    return first;
}

// @return false when nothing is due before the journey's end
bool goToNextDeadline(const OpenLoop* self) {
    const int64_t due = firstDueOfAll(self);
    if (due > endOfJourney()) {
        return false;
    }
    goTo(due);
    return true;
}

bool isOnlyLoop(const OpenLoop* self) {
    return firstLoop() == self && self->next == nullptr;
}

Idle idleInDrain(OpenLoop* self) {
    // Without a way through all loops where there is only one: most programs are like that.
    if (isOnlyLoop(self) && goToNextDeadline(self)) {
        return Idle::LookAgain;
    }
    self->drained = true;
    return Idle::Drained;
}

// Not within a journey that the program makes by itself.
bool servesClients() {
    return control::isOn() && !advancing;
}

int waitFor(int descriptor) {
    pollfd polled = {descriptor, POLLIN, 0};
    return poll(&polled, 1, -1) < 0 && errno != EINTR ? -1 : 0;
}

// Waits for what is real. What ends it is reported when the loop looks again.
Idle waitReally(OpenLoop* self) {
    const int epoll = self->loop->epoll;
    turnsAtThisMoment = 0;
    self->woken = true;
    const int result = servesClients() ? control::wait(epoll) : waitFor(epoll);
    return result < 0 ? Idle::Fail : Idle::LookAgain;
}

void endJourney(int error) {
    travelling = false;
    control::answer(error);
}

// A loop that runs alone, when a journey was asked for.
Idle idleOnTheWay(OpenLoop* self) {
    const uint64_t turnsBefore = turns;
    if (drainAll() < 0) {
        endJourney(errno);
    } else if (turns == turnsBefore && !goToNextDeadline(self)) {
        if (now() >= endOfJourney()) {
            endJourney(0);
        } else {
            goTo(endOfJourney());
        }
    }
    return Idle::LookAgain;
}

Idle idleAlone(OpenLoop* self) {
    if (self->loop->stopping.load()) {
        return Idle::EndTurn;
    }
    if (travelling) {
        return idleOnTheWay(self);
    }
    if (servesClients() || awaitsReal(self)) {
        return waitReally(self);
    }
    if (firstDue(self) == kNever) {
        errno = EDEADLK;
        return Idle::Fail;
    }
    goTo(firstDue(self));
    return Idle::LookAgain;
}

void begin(const Journey& asked) {
    journey = asked;
    advancing = true;
    turnsAtThisMoment = 0;
}

int advance() {
    for (;;) {
        if (drainAll() < 0) {
            return -1;
        }
        if (goToNextDeadline(nullptr)) {
            continue;
        }
        if (now() >= endOfJourney()) {
            return 0;
        }
        goTo(endOfJourney());
    }
}

int advanceUntilIdle() {
    do {
        if (drainAll() < 0) {
            return -1;
        }
    } while (goToNextDeadline(nullptr));
    if (firstDueOfAll(nullptr) == kNever) {
        return 0;
    }
    goTo(endOfJourney());
    return fail(ETIME);
}

}  // namespace

bool isRunning() {
    return loopsRunning != 0;
}

int64_t dueTime(int64_t dueMs) {
    return dueMs > kEndOfTime / kUsPerMs ? kNever : dueMs * kUsPerMs;
}

int runAlone(evlp_thread_str* loop) {
    OpenLoop* const self = find(loop);
    if (self == nullptr || loop->running.load()) {
        return inner_evlp_startThread(loop);  // which says what is wrong
    }
    control::claim();
    if (!isRunning()) {  // the turns of a loop inside a callback count for those outside
        turnsAtThisMoment = 0;
    }
    const int result = run(self, Mode::Alone);
    if (travelling && !isRunning()) {
        endJourney(result == 0 ? ECANCELED : errno);
    }
    return result;
}

int travel(const Journey& asked) {
    begin(asked);
    const int result = advance();
    advancing = false;
    return result;
}

int travelUntilIdle(int64_t longest) {
    begin({now() + longest, kNoDate});
    const int result = advanceUntilIdle();
    advancing = false;
    return result;
}

int countTurn(OpenLoop* self) {
    ++turns;
    ++turnsAtThisMoment;
    if (servesClients() && !travelling && turnsAtThisMoment % kTurnsBetweenVisits == 0) {
        control::serve();  // while the loop is busy; otherwise when it is not
    }
    if (travelling && turns % kTurnsBetweenVisits == 0 && control::askerHasGone()) {
        endJourney(ECANCELED);
    }
    if (turnsAtThisMoment <= kMostTurns) {
        return 0;
    }
    if (self->mode == Mode::Drain) {
        return fail(ELOOP);
    }
    if (travelling) {
        endJourney(ELOOP);
        return 0;
    }
    // What is real may come without end, as in a real loop.
    return servesClients() || awaitsReal(self) ? 0 : fail(ELOOP);
}

Idle idle(OpenLoop* self) {
    return self->mode == Mode::Drain ? idleInDrain(self) : idleAlone(self);
}

void beginJourney(const Journey& asked) {
    journey = asked;
    travelling = true;
    turnsAtThisMoment = 0;
}

bool isTravelling() {
    return travelling;
}

}  // namespace sim
