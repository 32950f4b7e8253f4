// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/timer.h"

#include <errno.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <memory>
#include <string.h>
#include <string>
#include <vector>

#include "support/virtual_loop.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr int64_t kMs = 1000;

/** A timer and its callback, which writes down when it is called. */
class Ticker : public zol::CEventCallback {
  public:
    Ticker(std::string name, int64_t periodUs, std::vector<std::string>* calls)
        : timer(zol::CTime(periodUs), this), m_name(std::move(name)), m_calls(calls) {}

    int onEvent(int fd, short events, zol::CEvent* event) override {
        m_calls->push_back(m_name + " " + std::to_string(evlp_sim_now() / kMs));
        lastFd = fd;
        lastEvents = events;
        lastEvent = event;
        if (then) {
            const std::function<void()> action = then;
            action();
        }
        return 7;  // nobody looks at it
    }

    zol::CTimer timer;
    std::function<void()> then;
    int lastFd = -2;
    short lastEvents = -2;
    zol::CEvent* lastEvent = nullptr;

  private:
    std::string m_name;
    std::vector<std::string>* m_calls;
};

/** Times in the names of calls are milliseconds since the start. */
class TimerHandler : public ::testing::Test {
  protected:
    ~TimerHandler() override {
        for (Ticker& ticker : tickers) {
            removeAll(ticker);
        }
    }

    Ticker& ticker(const char* name, int64_t periodMs) {
        return tickers.emplace_back(name, periodMs * kMs, &calls);
    }
    Ticker& added(const char* name, int64_t periodMs) {
        Ticker& made = ticker(name, periodMs);
        add(made);
        return made;
    }
    void add(const Ticker& ticker) { zol::CTimerHandler::add(loop.get(), ticker.timer); }
    static void remove(const Ticker& ticker) { zol::CTimerHandler::remove(ticker.timer); }
    static void removeAll(const Ticker& ticker) {
        for (int i = 0; i != 3; ++i) {
            remove(ticker);
        }
    }

    static size_t groupCount() { return VirtualLoop::armedTimersMs().size(); }

    std::vector<std::string> called() {
        std::vector<std::string> taken;
        taken.swap(calls);
        return taken;
    }

    VirtualLoop loop;
    std::vector<std::string> calls;
    std::list<Ticker> tickers;
};

// --- a timer ---

TEST(Timer, HoldsItsPeriodAndThenItsCallback) {
    std::vector<std::string> calls;
    Ticker ticker("a", 1234567, &calls);

    EXPECT_EQ(1234567, ticker.timer.getPeriod().getMicroseconds());
    EXPECT_EQ(&ticker, ticker.timer.getCallback());
    int64_t period = 0;
    memcpy(&period, &ticker.timer, sizeof period);
    EXPECT_EQ(1234567, period);
}

// --- groups ---

TEST_F(TimerHandler, TimersOfOnePeriodShareAServiceTimer) {
    added("a", 1000);
    added("b", 1000);
    added("c", 500);

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(500, 1000));
}

TEST_F(TimerHandler, RemovingOneOfAGroupKeepsItAndRemovingTheLastDestroysIt) {
    Ticker& a = added("a", 1000);
    Ticker& b = added("b", 1000);
    added("c", 500);

    remove(a);
    EXPECT_EQ(2u, groupCount());

    remove(b);
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(500));
}

TEST_F(TimerHandler, ClosesTheServiceTimerOfADestroyedGroup) {
    Ticker& a = added("a", 1000);
    evlp_sim_record(1);

    remove(a);

    EXPECT_THAT(VirtualLoop::recordedCalls(), ElementsAre("timer_stopCtx()", "timer_closeCtx()"));
}

TEST_F(TimerHandler, OpensAGroupsTimerWithPriorityEightAndItsPeriod) {
    evlp_sim_record(1);

    added("a", 1500);

    EXPECT_THAT(VirtualLoop::recordedCalls(),
                ElementsAre("timer_openCtx(0, 8)", "timer_startCtx(1500)"));
}

TEST_F(TimerHandler, AsksTheServiceForNothingWhenAGroupGrows) {
    added("a", 1000);
    evlp_sim_record(1);

    added("b", 1000);

    EXPECT_THAT(VirtualLoop::recordedCalls(), IsEmpty());
}

TEST_F(TimerHandler, APeriodThatDiffersByAMicrosecondHasAGroupOfItsOwn) {
    Ticker a("a", 1000000, &calls);
    Ticker b("b", 1000001, &calls);
    add(a);
    add(b);

    EXPECT_EQ(2u, groupCount());

    remove(a);
    EXPECT_EQ(1u, groupCount());
    remove(b);
    EXPECT_EQ(0u, groupCount());
}

TEST_F(TimerHandler, ComparesAllSixtyFourBitsOfThePeriod) {
    Ticker a("a", 1000000, &calls);
    Ticker b("b", 1000000 + (int64_t{1} << 32), &calls);
    add(a);
    add(b);

    EXPECT_EQ(2u, groupCount());
    remove(a);
    remove(b);
}

TEST_F(TimerHandler, UsesTheThreadOfTheFirstOfAGroupOnly) {
    added("a", 1000);
    Ticker& b = ticker("b", 1000);

    zol::CTimerHandler::add(nullptr, b.timer);

    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("a 1000", "b 1000"));
}

// --- ticks ---

TEST_F(TimerHandler, CallsEveryPeriodWithoutDrift) {
    added("a", 300);

    loop.advanceMs(1000);

    EXPECT_THAT(called(), ElementsAre("a 300", "a 600", "a 900"));
}

TEST_F(TimerHandler, CallsTheMembersInTheOrderOfRegistration) {
    added("c", 100);
    added("a", 100);
    added("b", 100);

    loop.advanceMs(100);

    EXPECT_THAT(called(), ElementsAre("c 100", "a 100", "b 100"));
}

TEST_F(TimerHandler, ALaterMemberJoinsTheNextTickOfItsGroup) {
    added("a", 1000);
    loop.advanceMs(900);

    added("b", 1000);

    loop.advanceMs(200);
    EXPECT_THAT(called(), ElementsAre("a 1000", "b 1000"));
}

TEST_F(TimerHandler, ThePeriodIsTheSpacingHoweverLongTheCallbacksTake) {
    Ticker& slow = added("slow", 1000);
    slow.then = [] { evlp_sim_pass(400 * kMs); };

    loop.advanceMs(3500);

    EXPECT_THAT(called(), ElementsAre("slow 1000", "slow 2000", "slow 3000"));
}

TEST_F(TimerHandler, RearmsBeforeItCalls) {
    Ticker& a = added("a", 1000);
    std::vector<int64_t> armed;
    a.then = [&] {
        evlp_sim_pass(100 * kMs);
        armed = VirtualLoop::armedTimersMs();
    };

    loop.advanceMs(1000);

    EXPECT_THAT(armed, ElementsAre(900));
}

TEST_F(TimerHandler, HandsTheGroupsEventToAllItsMembers) {
    Ticker& a = added("a", 1000);
    Ticker& b = added("b", 1000);

    loop.advanceMs(1000);

    EXPECT_EQ(-1, a.lastFd);
    EXPECT_EQ(0, a.lastEvents);
    EXPECT_NE(nullptr, a.lastEvent);
    EXPECT_EQ(a.lastEvent, b.lastEvent);
}

TEST_F(TimerHandler, ATimerAddedTwiceIsCalledTwiceAndRemovedTwice) {
    Ticker& a = added("a", 1000);
    add(a);

    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("a 1000", "a 1000"));

    remove(a);
    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("a 2000"));

    remove(a);
    EXPECT_EQ(0u, groupCount());
}

TEST_F(TimerHandler, RemoveTakesTheFirstOfTwoEntries) {
    Ticker& a = added("a", 1000);
    added("b", 1000);
    add(a);

    remove(a);

    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("b 1000", "a 1000"));
}

TEST_F(TimerHandler, RemovingWhatWasNeverAddedDoesNothing) {
    Ticker& stranger = ticker("stranger", 1000);
    remove(stranger);
    added("a", 1000);

    remove(stranger);

    EXPECT_EQ(1u, groupCount());
}

TEST_F(TimerHandler, RemoveGoesByTheAddressOfTheTimer) {
    Ticker& a = added("a", 1000);
    const zol::CTimer copy = a.timer;

    zol::CTimerHandler::remove(copy);

    EXPECT_EQ(1u, groupCount());
}

TEST_F(TimerHandler, RemoveLeavesTimerAndCallbackAlone) {
    Ticker& a = added("a", 1000);

    remove(a);

    EXPECT_EQ(1000000, a.timer.getPeriod().getMicroseconds());
    EXPECT_EQ(&a, a.timer.getCallback());
    add(a);
    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("a 1000"));
}

TEST_F(TimerHandler, AGroupMadeAnewBeginsANewPeriod) {
    Ticker& a = added("a", 1000);
    loop.advanceMs(900);
    remove(a);

    add(a);

    loop.advanceMs(1100);
    EXPECT_THAT(called(), ElementsAre("a 1900"));
}

// --- inside callbacks ---

TEST_F(TimerHandler, AMemberThatRemovesItselfMakesTheNextOneMissTheTick) {
    Ticker& a = added("a", 1000);
    added("b", 1000);
    added("c", 1000);
    a.then = [&] { remove(a); };

    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("a 1000", "c 1000"));

    loop.advanceMs(1000);
    EXPECT_THAT(called(), ElementsAre("b 2000", "c 2000"));
}

TEST_F(TimerHandler, AMemberThatRemovesAnEarlierOneMakesTheNextOneMissTheTick) {
    Ticker& a = added("a", 1000);
    Ticker& b = added("b", 1000);
    added("c", 1000);
    added("d", 1000);
    b.then = [&] { remove(a); };

    loop.advanceMs(1000);

    EXPECT_THAT(called(), ElementsAre("a 1000", "b 1000", "d 1000"));
}

TEST_F(TimerHandler, AMemberThatIsRemovedBeforeItsTurnIsNotCalled) {
    Ticker& a = added("a", 1000);
    Ticker& b = added("b", 1000);
    added("c", 1000);
    a.then = [&] { remove(b); };

    loop.advanceMs(1000);

    EXPECT_THAT(called(), ElementsAre("a 1000", "c 1000"));
}

TEST_F(TimerHandler, TheLastMemberMayRemoveItself) {
    added("a", 1000);
    Ticker& b = added("b", 1000);
    b.then = [&] { remove(b); };

    loop.advanceMs(2000);

    EXPECT_THAT(called(), ElementsAre("a 1000", "b 1000", "a 2000"));
}

TEST_F(TimerHandler, AMemberAddedInACallbackIsCalledInTheSameTick) {
    Ticker& a = added("a", 1000);
    Ticker& b = ticker("b", 1000);
    a.then = [&] {
        a.then = nullptr;
        add(b);
    };

    loop.advanceMs(1000);

    EXPECT_THAT(called(), ElementsAre("a 1000", "b 1000"));
}

TEST_F(TimerHandler, ManyMembersMayBeAddedInACallback) {
    Ticker& a = added("a", 1000);
    a.then = [&] {
        a.then = nullptr;
        for (int i = 0; i != 100; ++i) {
            added("x", 1000);
        }
    };

    loop.advanceMs(1000);

    EXPECT_THAT(called(), SizeIs(101));
}

TEST_F(TimerHandler, AnotherGroupMayBeMadeAndDestroyedInACallback) {
    Ticker& a = added("a", 1000);
    Ticker& b = added("b", 1000);
    Ticker& c = added("c", 400);
    Ticker& d = ticker("d", 250);
    a.then = [&] {
        a.then = nullptr;
        remove(c);
        add(d);
    };
    b.then = nullptr;

    loop.advanceMs(1500);

    EXPECT_THAT(called(), ElementsAre("c 400", "c 800", "a 1000", "b 1000", "d 1250", "d 1500"));
}

// --- short, endless, refused ---

TEST_F(TimerHandler, APeriodBelowAMillisecondTicksInEveryTurn) {
    Ticker fast("fast", 999, &calls);
    int left = 3;
    fast.then = [&] {
        if (--left == 0) {
            evlp_stopThread(loop.get());
        }
    };
    add(fast);

    EXPECT_EQ(-1, evlp_sim_advance(0));  // ended by the stop

    EXPECT_THAT(called(), ElementsAre("fast 0", "fast 0", "fast 0"));
    remove(fast);
}

TEST_F(TimerHandler, AnInfinitePeriodNeverTicks) {
    Ticker never("never", -1, &calls);
    add(never);

    EXPECT_THAT(evlp_sim_runUntilIdle(0), 0);

    EXPECT_THAT(called(), IsEmpty());
    remove(never);
}

TEST_F(TimerHandler, WhatTheServiceRefusesIsNotRegistered) {
    for (const evlp_sim_function refused : {EVLP_SIM_TIMER_OPEN, EVLP_SIM_TIMER_START}) {
        Ticker& a = ticker("a", 1000);
        evlp_sim_fail(refused, 1, ENOMEM);
        add(a);
        EXPECT_EQ(0u, groupCount());

        add(a);  // is not swallowed by a group that does not tick

        EXPECT_EQ(1u, groupCount());
        remove(a);
        EXPECT_EQ(0u, groupCount());
    }
}

TEST_F(TimerHandler, WithoutAThreadRegistersNothing) {
    Ticker& a = ticker("a", 1000);

    zol::CTimerHandler::add(nullptr, a.timer);
    remove(a);

    EXPECT_EQ(0u, groupCount());
}

TEST_F(TimerHandler, TenThousandTimersOfTenPeriodsHaveTenServiceTimers) {
    std::vector<std::unique_ptr<Ticker>> many;
    for (int i = 0; i != 10000; ++i) {
        many.push_back(std::make_unique<Ticker>("x", (i % 10 + 1) * 100 * kMs, &calls));
        add(*many.back());
    }
    EXPECT_EQ(10u, groupCount());

    loop.advanceMs(1000);
    EXPECT_THAT(called(), SizeIs(1000 * (10 + 5 + 3 + 2 + 2 + 1 + 1 + 1 + 1 + 1)));

    for (const auto& each : many) {
        remove(*each);
    }
    EXPECT_EQ(0u, groupCount());
}

}  // namespace
