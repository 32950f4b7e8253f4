// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <errno.h>
#include <gtest/gtest.h>
#include <random>
#include <stdint.h>
#include <vector>

#include "evlp/evlp.h"

#include "support/evlp_loop.h"

namespace {

class TimerStart : public LoopTest {};
class TimerRearmed : public LoopTest {};
class TimerStop : public LoopTest {};
class TimerClose : public LoopTest {};
class TimerOrder : public LoopTest {};
class TimerClock : public LoopTest {};
class ManyTimers : public LoopTest {};

constexpr int64_t kDayMs = 24 * 3600 * 1000;

TEST_F(TimerStart, FiresOnceAfterItsDelay) {
    int64_t firedAt = 0;
    Context& tick = timer("tick").then([&] { firedAt = kernel::nowMs(); });
    tick.start(1000);

    runFor(5000);

    EXPECT_EQ(1001000, firedAt);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerStart, NeverFiresBeforeItsTimeWhenArmedWithinAMillisecond) {
    kernel::advanceNs(300000);
    int64_t firedAtNs = 0;
    Context& tick = timer("tick").then([&] { firedAtNs = kernel::nowNs(); });
    tick.start(10);

    runFor(100);

    EXPECT_EQ(1000011000000, firedAtNs);  // asked for 10.3 ms past
}

TEST_F(TimerStart, WaitsForTheExactNanosecondAndNotLonger) {
    kernel::advanceNs(999999);
    Context& tick = timer("tick").then([&] { stop(); });
    tick.start(1);

    run();

    EXPECT_EQ(1000002000000, kernel::nowNs());
    EXPECT_EQ(1, kernel::calls.waits);
}

TEST_F(TimerStart, WaitsForTheExactNanosecondAlsoWhenThatIsLessThanWholeSeconds) {
    kernel::advanceNs(300000);
    Context& tick = timer("tick").then([&] { stop(); });
    tick.start(999);

    run();

    EXPECT_EQ(1001000000000, kernel::nowNs());
    EXPECT_EQ(1, kernel::calls.waits);
}

TEST_F(TimerStart, WithADelayOfMinusOneNeverFires) {
    Context& never = timer("never");
    never.start(5);
    never.start(-1);
    timer("later").start(1000000);

    runFor(2000000);

    EXPECT_THAT(called(), ElementsAre("later"));
}

TEST_F(TimerStart, WithADelayBelowOneFiresInTheNextTurn) {
    timer("zero").start(0);
    timer("negative").start(-5);
    timer("least").start(INT64_MIN);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("zero", "negative", "least"));
    EXPECT_EQ(1000000, kernel::nowMs());
}

TEST_F(TimerStart, WithADelayBeyondTheEndOfTimeNeverFires) {
    timer("most").start(INT64_MAX);
    timer("nearly most").start(INT64_MAX - 1000001);

    runFor(100 * 365 * kDayMs);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(TimerStart, OfAnArmedTimerMovesItEarlier) {
    int64_t firedAt = 0;
    Context& tick = timer("tick").then([&] { firedAt = kernel::nowMs(); });
    tick.start(1000);
    tick.start(10);

    runFor(5000);

    EXPECT_EQ(1000010, firedAt);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerStart, OfAnArmedTimerMovesItLater) {
    int64_t firedAt = 0;
    Context& tick = timer("tick").then([&] { firedAt = kernel::nowMs(); });
    tick.start(10);
    tick.start(1000);

    runFor(5000);

    EXPECT_EQ(1001000, firedAt);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerStart, OfATimerAlreadyFoundReadyForgetsTheOldReadiness) {
    Context& later = timer("later", 9);
    dueTimer("first", 1).then([&] { later.start(50); });
    later.start(0);

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("first"));

    runFor(50);
    EXPECT_THAT(called(), ElementsAre("later"));
}

TEST_F(TimerStart, WithZeroInItsOwnCallbackStarvesNobody) {
    Pair pair;
    pair.send();
    Context& busy = timer("busy", 0);
    busy.then([&] { busy.start(0); }).start(0);
    reader("reader", pair.near, 255).start();

    runTurns(3);

    EXPECT_THAT(called(), ElementsAre("busy", "reader", "busy", "reader", "busy", "reader"));
}

TEST_F(TimerRearmed, InItsOwnCallbackCountsFromTheMomentItWasDue) {
    std::vector<int64_t> times;
    Context& tick = timer("tick");
    tick.then([&] {
        times.push_back(kernel::nowMs() - 1000000);
        kernel::advanceNs(30000000);  // the callback takes a while
        tick.start(100);
    });
    tick.start(100);

    runFor(450);

    EXPECT_THAT(times, ElementsAre(100, 200, 300, 400));
}

TEST_F(TimerRearmed, AfterThatMomentHasPassedCountsFromNow) {
    std::vector<int64_t> times;
    Context& tick = timer("tick");
    tick.then([&] {
        times.push_back(kernel::nowMs() - 1000000);
        kernel::advanceNs(250000000);
        tick.start(100);
    });
    tick.start(100);

    runFor(900);

    EXPECT_THAT(times, ElementsAre(100, 450, 800));
}

TEST_F(TimerRearmed, ExactlyAtThatMomentDoesNotDrift) {
    std::vector<int64_t> times;
    Context& tick = timer("tick");
    tick.then([&] {
        times.push_back(kernel::nowMs() - 1000000);
        kernel::advanceNs(100000000);
        tick.start(100);
    });
    tick.start(100);

    runFor(350);

    EXPECT_THAT(times, ElementsAre(100, 200, 300, 400));
}

TEST_F(TimerRearmed, TwiceInItsOwnCallbackStillCountsFromTheMomentItWasDue) {
    int64_t firedAt = 0;
    Context& tick = timer("tick");
    tick.then([&] {
        firedAt = kernel::nowMs() - 1000000;
        kernel::advanceNs(5000000);
        tick.start(100);
        tick.stop();
        tick.start(100);
    });
    tick.start(100);

    runFor(210);

    EXPECT_EQ(200, firedAt);
}

TEST_F(TimerRearmed, WithAnotherDelayInItsOwnCallbackCountsFromNow) {
    std::vector<int64_t> times;
    Context& tick = timer("tick");
    tick.then([&] {
        times.push_back(kernel::nowMs() - 1000000);
        kernel::advanceNs(60000000);  // who computes a delay from the present means the present
        tick.start(50);
    });
    tick.start(100);

    runFor(215);

    EXPECT_THAT(times, ElementsAre(100, 210));
}

TEST_F(TimerRearmed, InAnotherCallbackCountsFromNow) {
    int64_t firedAt = 0;
    Context& other = timer("other").then([&] { firedAt = kernel::nowMs() - 1000000; });
    timer("tick")
        .then([&] {
            kernel::advanceNs(7000000);
            other.start(100);
        })
        .start(100);

    runFor(300);

    EXPECT_EQ(207, firedAt);
}

TEST_F(TimerRearmed, ByASuccessorOfAClosedOneCountsFromNow) {
    int64_t firedAt = 0;
    Context& tick = timer("tick");
    tick.then([&] {
        kernel::advanceNs(7000000);
        tick.close();
        // Likely to have the memory of the one that was closed.
        timer("successor").then([&] { firedAt = kernel::nowMs() - 1000000; }).start(100);
    });
    tick.start(100);

    runFor(300);

    EXPECT_EQ(207, firedAt);
}

TEST_F(TimerStop, KeepsTheTimerFromFiring) {
    Context& tick = timer("tick");
    tick.start(10);

    EXPECT_EQ(0, tick.stop());
    runFor(100);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(TimerStop, OfADisarmedTimerSucceeds) {
    Context& tick = timer("tick");

    EXPECT_EQ(0, tick.stop());
    EXPECT_EQ(0, tick.stop());
}

TEST_F(TimerStop, ReachesATimerFoundReadyInTheSameTurn) {
    Context& later = timer("later");
    dueTimer("first").then([&] { EXPECT_EQ(0, later.stop()); });
    later.start(0);

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(TimerStop, InItsOwnCallbackUndoesARestart) {
    Context& tick = timer("tick");
    tick.then([&] {
        tick.start(1);
        tick.stop();
    });
    tick.start(1);

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerClose, InItsOwnCallbackIsSafe) {
    Context& tick = timer("tick");
    tick.then([&] {
        tick.start(1);
        EXPECT_EQ(0, tick.close());
    });
    tick.start(1);

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerClose, ReachesATimerFoundReadyInTheSameTurn) {
    Context& later = timer("later", 9);
    later.start(0);
    dueTimer("first", 1).then([&] { EXPECT_EQ(0, later.close()); });

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(TimerOrder, IsThatOfTheMomentsAtWhichTheyFallDue) {
    timer("third").start(30);
    timer("first").start(10);
    timer("second").start(20);
    kernel::advanceNs(50000000);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("first", "second", "third"));
}

TEST_F(TimerOrder, WithinAMillisecondIsThatOfArming) {
    for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        timer(name).start(10);
    }

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("a", "b", "c", "d", "e", "f", "g", "h"));
}

TEST_F(TimerOrder, PutsALowerPriorityNumberFirst) {
    timer("last", 255).start(1);
    timer("first", 0).start(3);
    timer("middle", 100).start(2);
    timer("middle too", 100).start(3);
    kernel::advanceNs(50000000);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("first", "middle", "middle too", "last"));
}

TEST_F(TimerClock, IsNotTheCalendarClock) {
    Context& tick = timer("tick");
    tick.start(1000);
    timer("step back").then([] { kernel::stepCalendarClock(-1000000); }).start(100);
    timer("step on").then([] { kernel::stepCalendarClock(5000000); }).start(200);

    runFor(999);
    EXPECT_THAT(called(), ElementsAre("step back", "step on"));

    runFor(1);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(TimerClock, IsNotReadWhenNothingHasADeadline) {
    Pair pair;
    pair.send();
    reader("reader", pair.near).start();
    const int before = kernel::calls.clockReads;

    runTurns(5);

    EXPECT_EQ(before, kernel::calls.clockReads);
}

TEST_F(TimerClock, RunsForLongerThanAWaitInMillisecondsCanLast) {
    int64_t firedAt = 0;
    timer("tick").then([&] { firedAt = kernel::nowMs() - 1000000; }).start(100 * kDayMs);

    runFor(200 * kDayMs);

    EXPECT_EQ(100 * kDayMs, firedAt);
}

TEST_F(TimerClock, RunsForLongerThanAWaitInMillisecondsCanLastOnAnOldKernel) {
    kernel::refusePreciseWait(ENOSYS);
    int64_t firedAt = 0;
    timer("tick").then([&] { firedAt = kernel::nowMs() - 1000000; }).start(100 * kDayMs);

    runFor(200 * kDayMs);

    EXPECT_EQ(100 * kDayMs, firedAt);
    EXPECT_EQ(INT32_MAX, kernel::longestMillisWait());
    EXPECT_LE(kernel::calls.waits, 11);
}

TEST_F(ManyTimers, AMillionFireInOrder) {
    struct Tick {
        evlp_ctx_str* ctx;
        int64_t delayMs;
        std::vector<int64_t>* fired;
    };
    constexpr size_t kCount = 1000000;
    std::vector<int64_t> fired;
    std::vector<Tick> ticks(kCount);
    uint32_t random = 1;
    for (Tick& tick : ticks) {
        random = random * 1664525u + 1013904223u;
        tick.delayMs = 1 + random % 1000000;
        tick.fired = &fired;
        tick.ctx = timer_openCtx(
            loop,
            [](void* user) {
                const auto* const self = static_cast<Tick*>(user);
                self->fired->push_back(self->delayMs);
            },
            &tick, 0, 8);
        ASSERT_EQ(0, timer_startCtx(tick.ctx, tick.delayMs));
    }

    runFor(1000000);

    EXPECT_EQ(kCount, fired.size());
    EXPECT_TRUE(std::is_sorted(fired.begin(), fired.end()));
    for (const Tick& tick : ticks) {
        timer_closeCtx(tick.ctx);
    }
}

// Arms, moves and stops at random, and compares with a sorted set.
TEST_F(ManyTimers, FireAsASortedListWould) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    constexpr size_t kCount = 300;
    struct Model {
        int64_t due = -1;
        int order = 0;
    };
    std::vector<Model> model(kCount);
    std::vector<size_t> fired;
    std::vector<Context*> timers;
    for (size_t i = 0; i != kCount; ++i) {
        timers.push_back(&timer("").then([&fired, i] { fired.push_back(i); }));
    }
    int order = 0;

    for (int round = 0; round != 200; ++round) {
        for (int step = 0; step != 50; ++step) {
            const size_t i = random() % kCount;
            if (random() % 3 == 0) {
                timers[i]->stop();
                model[i].due = -1;
            } else {
                const int64_t delay = 1 + static_cast<int64_t>(random() % 200);
                timers[i]->start(delay);
                model[i] = {kernel::nowMs() + delay, order++};
            }
        }
        fired.clear();
        runFor(7);

        std::vector<size_t> expected;
        for (size_t i = 0; i != kCount; ++i) {
            if (model[i].due >= 0 && model[i].due <= kernel::nowMs()) {
                expected.push_back(i);
            }
        }
        std::sort(expected.begin(), expected.end(), [&](size_t a, size_t b) {
            return model[a].due != model[b].due ? model[a].due < model[b].due
                                                : model[a].order < model[b].order;
        });
        for (const size_t i : expected) {
            model[i].due = -1;
        }
        ASSERT_EQ(expected, fired);
    }
}

}  // namespace
