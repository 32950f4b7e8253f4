// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <string>
#include <vector>

#include "evlp/sim.h"
#include "zol/event.h"

#include "support/sim_loop.h"

namespace {

class SimAdvance : public SimTest {};
class SimOrder : public SimTest {};
class SimPass : public SimTest {};
class SimDate : public SimTest {};
class SimIdle : public SimTest {};
class SimStop : public SimTest {};
class SimStart : public SimTest {};
class SimLoops : public SimTest {};
class SimEndless : public SimTest {};

TEST_F(SimAdvance, MovesBothClocks) {
    EXPECT_EQ("0", advance(90 * kMinute));

    EXPECT_EQ(90 * kMinute, evlp_sim_now());
    EXPECT_EQ("Mon 2001-01-01 02:30:00", date());
}

TEST_F(SimAdvance, CallsWhatIsDueAtItsVeryEndAndNothingLater) {
    timer("at the end").start(1000);
    timer("later").start(1001);

    advance(1 * kSecond);

    EXPECT_THAT(called(), ElementsAre("at the end"));
}

TEST_F(SimAdvance, ByLessThanAMillisecondCallsNothingEarly) {
    timer("tick").start(1);

    advance(999);
    EXPECT_THAT(called(), IsEmpty());

    advance(1);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(SimAdvance, CountsATimerThatIsArmedWithinAMillisecondFromItsEnd) {
    advance(1);
    timer("tick").start(1);

    advance(1 * kMs);
    EXPECT_THAT(called(), IsEmpty());

    advance(999);
    EXPECT_THAT(called(), ElementsAre("tick"));
    EXPECT_EQ(2 * kMs, evlp_sim_now());
}

TEST_F(SimAdvance, ShowsEveryCallbackTheMomentAtWhichItIsDue) {
    std::vector<int64_t> moments;
    timer("a").then([&] { moments.push_back(evlp_sim_now()); }).start(250);
    timer("b").then([&] { moments.push_back(evlp_sim_now()); }).start(86400000);

    advance(30 * kDay);

    EXPECT_THAT(moments, ElementsAre(250 * kMs, 1 * kDay));
    EXPECT_EQ(30 * kDay, evlp_sim_now());
}

TEST_F(SimAdvance, CallsAlsoWhatIsArmedOnTheWay) {
    Context& second = timer("second");
    timer("first").then([&] { second.start(400); }).start(500);

    advance(1 * kSecond);

    EXPECT_THAT(called(), ElementsAre("first", "second"));
}

TEST_F(SimAdvance, ByNothingCallsWhatIsReadyAndLetsNoTimePass) {
    timer("due").start(0);
    timer("not due").start(1);

    EXPECT_EQ("0", advance(0));

    EXPECT_THAT(called(), ElementsAre("due"));
    EXPECT_EQ(0, evlp_sim_now());
}

TEST_F(SimAdvance, WithoutALoopMovesTheClock) {
    EXPECT_EQ(0, evlp_closeThread(loop));
    loops.clear();

    EXPECT_EQ("0", advance(1 * kSecond));
    EXPECT_EQ(1 * kSecond, evlp_sim_now());
}

TEST_F(SimAdvance, IsRefusedInsideACallback) {
    timer("tick")
        .then([&] {
            EXPECT_EQ("-1 EBUSY", advance(0));
            EXPECT_EQ("-1 EBUSY", outcome(evlp_sim_advanceTo(evlp_sim_date())));
            EXPECT_EQ("-1 EBUSY", outcome(evlp_sim_runUntilIdle(0)));
        })
        .start(10);

    EXPECT_EQ("0", advance(20 * kMs));

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(SimAdvance, RefusesADurationThatIsNegativeOrBeyondTheEndOfTime) {
    EXPECT_EQ("-1 EINVAL", advance(-1));
    EXPECT_EQ("-1 EINVAL", advance(INT64_MAX));
    EXPECT_EQ(0, evlp_sim_now());

    ASSERT_EQ(0, evlp_sim_setDate(INT64_MAX / 4));
    EXPECT_EQ("-1 EINVAL", advance(1));
}

TEST_F(SimAdvance, TakesAPeriodicTimerThroughAYearWithoutDrift) {
    Context& minute = ticker("minute", 60000);

    advance(365 * kDay);

    EXPECT_EQ(365 * 24 * 60, minute.calls);
    EXPECT_EQ(365 * kDay, evlp_sim_now());
}

TEST_F(SimAdvance, DoesNotCallATimerThatIsNeverDue) {
    timer("never").start(-1);
    timer("beyond the end of time").start(INT64_MAX);

    EXPECT_EQ("0", advance(10000 * kDay));

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimAdvance, CallsADescriptorThatWasIdleForTooLong) {
    reader("silent", 5).start(300);

    advance(1 * kSecond);

    EXPECT_THAT(called(), ElementsAre("silent idle", "silent idle", "silent idle"));
}

TEST_F(SimAdvance, RunsWhatIsBuiltOnTheLibrarysOwnLoop) {
    class Count : public zol::CEventCallback {
      public:
        int onEvent(int, short, zol::CEvent* event) override {
            ++calls;
            return event->add(zol::CTime(1000000));
        }
        int calls = 0;
    };
    zol::CEventLoop own;
    Count count;
    zol::CEvent second;
    second.set(own.getThread(), &count, -1, 0, 8);
    second.add(zol::CTime(1000000));

    advance(1 * kHour);

    EXPECT_EQ(3600, count.calls);
}

TEST_F(SimOrder, OfOnePriorityIsSignalsThenTimersThenDescriptors) {
    reader("descriptor", 5).start();
    timer("timer").start(0);
    signal("signal", SIGUSR1).start();
    evlp_sim_setReady(5, 0);
    evlp_sim_pulse(5, EVLP_READ);
    evlp_sim_raise(SIGUSR1);

    advance(0);

    EXPECT_THAT(called(), ElementsAre("signal", "timer", "descriptor"));
}

TEST_F(SimOrder, PutsPriorityBeforeKind) {
    reader("descriptor", 5, 31).start();
    timer("timer", 32).start(0);
    signal("signal", SIGUSR1, 33).start();
    evlp_sim_pulse(5, EVLP_READ);
    evlp_sim_raise(SIGUSR1);

    advance(0);

    EXPECT_THAT(called(), ElementsAre("descriptor", "timer", "signal"));
}

TEST_F(SimOrder, OfTimersOfOneMomentIsThatOfArming) {
    Context& a = timer("a");
    Context& b = timer("b");
    Context& c = timer("c");
    c.start(10);
    a.start(10);
    b.start(10);

    advance(10 * kMs);

    EXPECT_THAT(called(), ElementsAre("c", "a", "b"));
}

TEST_F(SimOrder, OfDescriptorsIsThatOfTheirNumbers) {
    reader("9", 9).start();
    reader("700", 700).start();
    reader("3", 3).start();
    for (const int fd : {700, 9, 3}) {
        evlp_sim_pulse(fd, EVLP_READ);
    }

    advance(0);

    EXPECT_THAT(called(), ElementsAre("3", "9", "700"));
}

TEST_F(SimOrder, CallsEveryContextOnceInATurn) {
    Context& first = timer("first");
    Context& second = timer("second");
    int left = 3;
    first.then([&] {
        if (--left != 0) {
            first.start(0);
        }
    });
    first.start(0);
    second.start(0);

    advance(0);

    EXPECT_THAT(called(), ElementsAre("first", "second", "first", "first"));
}

TEST_F(SimOrder, KeepsAClosedContextFromBeingCalledInTheSameTurn) {
    Context& second = timer("second");
    timer("first", 1).then([&] { second.close(); }).start(10);
    second.start(10);

    advance(10 * kMs);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(SimPass, MovesTheClocksAndCallsNothing) {
    timer("tick").start(10);

    EXPECT_EQ("0", outcome(evlp_sim_pass(15 * kMs)));

    EXPECT_EQ(15 * kMs, evlp_sim_now());
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimPass, MakesLateWhatFallsDueMeanwhile) {
    int64_t moment = 0;
    timer("slow").then([&] { evlp_sim_pass(100 * kMs); }).start(10);
    timer("late").then([&] { moment = evlp_sim_now(); }).start(20);

    advance(50 * kMs);

    EXPECT_THAT(called(), ElementsAre("slow", "late"));
    EXPECT_EQ(110 * kMs, moment);
    EXPECT_EQ(110 * kMs, evlp_sim_now());  // beyond the end that was asked for
}

TEST_F(SimPass, LetsALateTimerCountFromNow) {
    Context& tick = ticker("tick", 10);
    evlp_sim_pass(25 * kMs);

    advance(0);
    EXPECT_EQ(1, tick.calls);

    advance(9 * kMs);
    EXPECT_EQ(1, tick.calls);
    advance(1 * kMs);
    EXPECT_EQ(2, tick.calls);
}

TEST_F(SimPass, RefusesADurationThatIsNegativeOrBeyondTheEndOfTime) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_pass(-1)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_pass(INT64_MAX)));
}

TEST_F(SimDate, CanBeSetWithoutMovingTimers) {
    timer("in an hour").start(3600000);

    dateIs("2030-06-01 12:00");
    advance(59 * kMinute);
    EXPECT_THAT(called(), IsEmpty());

    dateIs("1999-12-31 23:59:30");
    advance(1 * kMinute);
    EXPECT_THAT(called(), ElementsAre("in an hour"));
    EXPECT_EQ("Sat 2000-01-01 00:00:30", date());
    EXPECT_EQ(60 * kMinute, evlp_sim_now());
}

TEST_F(SimDate, BeforeTheEpochOrTooFarAheadIsRefused) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_setDate(-1)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_setDate(INT64_MAX)));
    EXPECT_EQ("Mon 2001-01-01 01:00:00", date());

    EXPECT_EQ("0", outcome(evlp_sim_setDate(0)));
    EXPECT_EQ("Thu 1970-01-01 01:00:00", date());
}

TEST_F(SimDate, CanBeAdvancedTo) {
    dateIs("2026-03-28 12:00");
    timer("in a day").start(24 * 3600 * 1000);
    int64_t end = 0;
    evlp_sim_parseDate("2026-03-29 13:00", &end);  // 24 hours later: an hour is left out

    EXPECT_EQ("0", outcome(evlp_sim_advanceTo(end)));

    EXPECT_EQ("Sun 2026-03-29 13:00:00", date());
    EXPECT_EQ(24 * kHour, evlp_sim_now());
    EXPECT_THAT(called(), ElementsAre("in a day"));
}

TEST_F(SimDate, ThatHasPassedCannotBeAdvancedTo) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_advanceTo(evlp_sim_date() - 1)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_advanceTo(-1)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_advanceTo(INT64_MIN)));
    EXPECT_EQ("0", outcome(evlp_sim_advanceTo(evlp_sim_date())));
}

TEST_F(SimDate, IsStillReachedWhenTheClockIsPutBackOnTheWay) {
    dateIs("2026-01-01 12:00");
    int64_t end = 0;
    evlp_sim_parseDate("2026-01-01 14:00", &end);
    timer("an operator").then([&] { dateIs("2026-01-01 12:00"); }).start(3600 * 1000);

    EXPECT_EQ("0", outcome(evlp_sim_advanceTo(end)));

    EXPECT_EQ("Thu 2026-01-01 14:00:00", date());
    EXPECT_EQ(3 * kHour, evlp_sim_now());
}

TEST_F(SimDate, IsPassedWhenTheClockIsPutForwardOnTheWay) {
    dateIs("2026-01-01 12:00");
    int64_t end = 0;
    evlp_sim_parseDate("2026-01-01 14:00", &end);
    timer("an operator").then([&] { dateIs("2026-01-01 15:00"); }).start(3600 * 1000);

    EXPECT_EQ("0", outcome(evlp_sim_advanceTo(end)));

    EXPECT_EQ("Thu 2026-01-01 15:00:00", date());
    EXPECT_EQ(1 * kHour, evlp_sim_now());
}

TEST_F(SimIdle, IsReachedWhenNoDeadlineIsLeft) {
    Context& second = timer("second");
    timer("first").then([&] { second.start(2000); }).start(1000);
    reader("descriptor", 5).start();

    EXPECT_EQ("0", outcome(evlp_sim_runUntilIdle(1 * kHour)));

    EXPECT_THAT(called(), ElementsAre("first", "second"));
    EXPECT_EQ(3 * kSecond, evlp_sim_now());
}

TEST_F(SimIdle, IsReachedAtOnceWithoutDeadlines) {
    timer("never").start(-1);
    timer("due").start(0);

    EXPECT_EQ("0", outcome(evlp_sim_runUntilIdle(0)));

    EXPECT_THAT(called(), ElementsAre("due"));
    EXPECT_EQ(0, evlp_sim_now());
}

TEST_F(SimIdle, IsReachedWithTheLastDeadlineAtTheVeryEnd) {
    timer("last").start(1000);

    EXPECT_EQ("0", outcome(evlp_sim_runUntilIdle(1 * kSecond)));
}

TEST_F(SimIdle, IsNotReachedWithAPeriodicTimer) {
    Context& tick = ticker("tick", 400);

    EXPECT_EQ("-1 ETIME", outcome(evlp_sim_runUntilIdle(1 * kSecond)));

    EXPECT_EQ(2, tick.calls);
    EXPECT_EQ(1 * kSecond, evlp_sim_now());
}

TEST_F(SimIdle, RefusesANegativeDuration) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_runUntilIdle(-1)));
}

TEST_F(SimIdle, IsNotWaitedForAfterAStop) {
    timer("tick").then([&] { evlp_stopThread(loop); }).start(10);

    EXPECT_EQ("-1 ECANCELED", outcome(evlp_sim_runUntilIdle(1 * kSecond)));
    EXPECT_EQ(10 * kMs, evlp_sim_now());
}

TEST_F(SimStop, InACallbackEndsTheAdvanceAtThatMoment) {
    timer("stop").then([&] { evlp_stopThread(loop); }).start(10);
    timer("same turn").start(10);
    timer("later").start(11);

    EXPECT_EQ("-1 ECANCELED", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("stop", "same turn"));
    EXPECT_EQ(10 * kMs, evlp_sim_now());
}

TEST_F(SimStop, InACallbackIsDoneWithAfterTheAdvance) {
    timer("stop").then([&] { evlp_stopThread(loop); }).start(10);
    timer("later").start(11);
    advance(1 * kSecond);

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("stop", "later"));
    EXPECT_EQ(1010 * kMs, evlp_sim_now());
}

TEST_F(SimStop, BeforeTheAdvanceEndsItAtItsBeginning) {
    timer("tick").start(0);
    evlp_stopThread(loop);

    EXPECT_EQ("-1 ECANCELED", advance(1 * kSecond));
    EXPECT_THAT(called(), IsEmpty());

    EXPECT_EQ("0", advance(1 * kSecond));
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(SimStop, BeforeTheStartIsKept) {
    timer("tick").start(0);
    evlp_stopThread(loop);

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimStop, OfAnotherLoopThanTheCallbacksEndsTheAdvanceToo) {
    evlp_thread_str* const first = loop;
    useNewLoop();
    timer("tick").then([&] { evlp_stopThread(first); }).start(10);

    EXPECT_EQ("-1 ECANCELED", advance(1 * kSecond));
    EXPECT_EQ(10 * kMs, evlp_sim_now());
}

TEST_F(SimStart, GoesFromDeadlineToDeadlineUntilAStop) {
    Context& tick = timer("tick");
    tick.then([&] { tick.calls == 3 ? evlp_stopThread(loop) : tick.start(60000); });
    tick.start(60000);

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    EXPECT_EQ(3, tick.calls);
    EXPECT_EQ(3 * kMinute, evlp_sim_now());
}

TEST_F(SimStart, EndsWhereNothingCanEverHappen) {
    timer("tick").start(10);
    reader("descriptor", 5).start();
    signal("signal", SIGUSR1).start();
    timer("never").start(INT64_MAX);

    EXPECT_EQ("-1 EDEADLK", outcome(evlp_startThread(loop)));

    EXPECT_THAT(called(), ElementsAre("tick"));
    EXPECT_EQ(10 * kMs, evlp_sim_now());
}

TEST_F(SimStart, RunsNoOtherLoop) {
    timer("of the first").start(5);
    useNewLoop();
    timer("of the second").then([&] { evlp_stopThread(loop); }).start(10);

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    EXPECT_THAT(called(), ElementsAre("of the second"));
    EXPECT_EQ("0", advance(0));
    EXPECT_THAT(called(), ElementsAre("of the first"));
}

TEST_F(SimStart, OfAnotherLoopIsPossibleInACallback) {
    evlp_thread_str* const outer = loop;
    evlp_thread_str* const modal = useNewLoop("modal");
    timer("answer").then([&] { evlp_stopThread(modal); }).start(5000);
    loop = outer;
    timer("question").then([&] { EXPECT_EQ("0", outcome(evlp_startThread(modal))); }).start(1000);

    EXPECT_EQ("0", advance(2 * kSecond));

    EXPECT_THAT(called(), ElementsAre("question", "answer"));
    EXPECT_EQ(5 * kSecond, evlp_sim_now());
}

TEST_F(SimStart, RefusesALoopThatRunsAndNull) {
    timer("tick").then([&] { EXPECT_EQ("-1 EBUSY", outcome(evlp_startThread(loop))); }).start(0);

    EXPECT_EQ("0", advance(0));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_startThread(nullptr)));
}

TEST_F(SimLoops, RunInTheOrderInWhichTheyWereOpened) {
    Context& first = timer("first");
    useNewLoop();
    Context& second = timer("second", 0);
    useNewLoop();
    Context& third = timer("third");
    third.start(10);
    second.start(10);
    first.start(10);

    advance(10 * kMs);

    EXPECT_THAT(called(), ElementsAre("first", "second", "third"));
}

TEST_F(SimLoops, AreRunAgainAtAMomentUntilNoneHasAnythingToDo) {
    Context& ping = timer("ping");
    useNewLoop();
    Context& pong = timer("pong");
    ping.then([&] {
        if (ping.calls < 3) {
            pong.start(0);
        }
    });
    pong.then([&] { ping.start(0); });
    ping.start(10);

    advance(10 * kMs);

    EXPECT_THAT(called(), ElementsAre("ping", "pong", "ping", "pong", "ping"));
}

TEST_F(SimLoops, ShareOneTime) {
    ticker("3", 3);
    useNewLoop();
    ticker("2", 2);

    advance(6 * kMs);

    EXPECT_THAT(called(), ElementsAre("2", "3", "2", "3", "2"));
}

TEST_F(SimLoops, MayBeOpenedAndClosedInCallbacks) {
    evlp_thread_str* other = nullptr;
    evlp_ctx_str* tick = nullptr;
    timer("open")
        .then([&] {
            other = evlp_openThreadInt("other", 0, 0, 0, 0, 0, 0);
            tick = timer_openCtx(
                other, [](void* self) { ++*static_cast<int*>(self); }, &contexts.front().calls, 0,
                8);
            timer_startCtx(tick, 10);
        })
        .start(10);
    timer("close")
        .then([&] {
            EXPECT_EQ(0, timer_closeCtx(tick));
            EXPECT_EQ(0, evlp_closeThread(other));
        })
        .start(30);

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("open", "close"));
    EXPECT_EQ(2, contexts.front().calls);  // the other loop's callback among them
}

TEST_F(SimLoops, ThatAreOneMayNotBeClosedWhileItRuns) {
    timer("tick").then([&] { EXPECT_EQ("-1 EBUSY", outcome(evlp_closeThread(loop))); }).start(0);

    EXPECT_EQ("0", advance(0));
}

TEST_F(SimEndless, ReadinessEndsAnAdvance) {
    Context& busy = reader("busy", 5);
    busy.start();
    evlp_sim_setReady(5, EVLP_READ);

    EXPECT_EQ("-1 ELOOP", advance(1 * kSecond));

    EXPECT_EQ(1000000, busy.calls);
    EXPECT_EQ(0, evlp_sim_now());
}

TEST_F(SimEndless, ReadinessEndsAStart) {
    reader("busy", 5).start();
    evlp_sim_setReady(5, EVLP_READ);

    EXPECT_EQ("-1 ELOOP", outcome(evlp_startThread(loop)));
}

TEST_F(SimEndless, PlayBetweenTwoLoopsEndsAnAdvance) {
    Context& ping = timer("ping");
    useNewLoop();
    Context& pong = timer("pong");
    ping.then([&] { pong.start(0); });
    pong.then([&] { ping.start(0); });
    ping.start(0);

    EXPECT_EQ("-1 ELOOP", advance(1 * kSecond));
}

TEST_F(SimEndless, WorkThatRunsALoopOfItsOwnEndsAnAdvance) {
    Context& busy = timer("busy");
    evlp_thread_str* const modal = useNewLoop("modal");
    Context& end = timer("end");
    end.then([&] { evlp_stopThread(modal); });
    busy.then([&] {
        end.start(0);
        evlp_startThread(modal);
        busy.start(0);
    });
    busy.start(0);

    EXPECT_EQ("-1 ELOOP", advance(1 * kSecond));
}

TEST_F(SimEndless, LatenessEndsAnAdvance) {
    Context& slow = timer("slow");
    slow.then([&] {
        evlp_sim_pass(10 * kMs);
        slow.start(10);
    });
    slow.start(10);

    EXPECT_EQ("-1 ELOOP", advance(50 * kMs));
}

TEST_F(SimEndless, WorkOverTimeIsNone) {
    Context& tick = ticker("tick", 1);

    EXPECT_EQ("0", advance(1500 * kSecond));

    EXPECT_EQ(1500000, tick.calls);
}

}  // namespace
