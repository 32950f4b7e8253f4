// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What the classes ask of the event-loop service, call by call.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "zol/event.h"

#include "support/fake_service.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zol::CEvent;
using zol::CTime;

struct Recorder : zol::CEventCallback {
    int onEvent(int fd, short events, CEvent* event) override {
        received.push_back({fd, events, event});
        return 0;
    }
    struct Received {
        int fd;
        short events;
        CEvent* event;
    };
    std::vector<Received> received;
};

class Service : public testing::Test {
  protected:
    Service() { FakeService::reset(); }

    static std::vector<std::string> takeCalls() { return FakeService::takeCalls(); }
    static evlp_thread_str* theLoop() { return FakeService::loop(); }

    Recorder callback;
};

using Loop = Service;
using Event = Service;
using EventCallback = Service;

// --- the loop ---

TEST_F(Loop, InitialisesTheServiceAndOpensOneThread) {
    const zol::CEventLoop loop;

    EXPECT_THAT(takeCalls(),
                ElementsAre("initialize 0 1 0 512", "openThread MDW 0 0 32 10 255 10"));
    EXPECT_EQ(theLoop(), loop.getThread());
}

TEST_F(Loop, IgnoresThatInitialisingFails) {
    FakeService::answer = -1;

    const zol::CEventLoop loop;

    EXPECT_EQ(theLoop(), loop.getThread());
}

TEST_F(Loop, IgnoresThatItsThreadCannotBeOpened) {
    FakeService::refusesOpen = true;
    zol::CEventLoop loop;
    FakeService::answer = -1;

    EXPECT_EQ(nullptr, loop.getThread());
    EXPECT_EQ(-1, loop.loop(0, 0));
    EXPECT_EQ(-1, loop.exitLoop());
}

TEST_F(Loop, ClosesItsThreadAtTheEnd) {
    { const zol::CEventLoop loop; }

    EXPECT_EQ("closeThread 1", FakeService::calls.back());
}

TEST_F(Loop, RunsAndLeavesThroughTheService) {
    zol::CEventLoop loop;
    takeCalls();

    EXPECT_EQ(0, loop.loop(1, 2));
    EXPECT_EQ(0, loop.exitLoop());

    EXPECT_THAT(takeCalls(), ElementsAre("startThread 1", "stopThread 1"));
}

TEST_F(Loop, FoldsFailuresOfTheServiceIntoMinusOne) {
    zol::CEventLoop loop;

    for (const int failure : {-1, 1, 22}) {
        FakeService::answer = failure;
        EXPECT_EQ(-1, loop.loop(0, 0));
        EXPECT_EQ(-1, loop.exitLoop());
    }
}

TEST_F(Loop, DoesNotSupportPriorityCounts) {
    zol::CEventLoop loop;
    takeCalls();

    EXPECT_EQ(-1, loop.setPriorityCount(3));

    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(Loop, HasFlatFunctions) {
    void* const loop = xeventloop_new();
    ASSERT_NE(nullptr, loop);
    takeCalls();

    EXPECT_EQ(0, xeventloop_loop(loop));
    FakeService::answer = 1;
    EXPECT_EQ(-1, xeventloop_loop(loop));
    xeventloop_free(loop);
    xeventloop_free(nullptr);

    EXPECT_THAT(takeCalls(), ElementsAre("startThread 1", "startThread 1", "closeThread 1"));
}

// --- events: opening ---

TEST_F(Event, ThatIsEmptyCallsNothing) {
    {
        CEvent event;
        EXPECT_EQ(0, event.reset());
    }
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(Event, OpensADescriptorWithItsMode) {
    CEvent event;

    EXPECT_NE(0, event.set(theLoop(), &callback, 7, CEvent::kRead, 3));
    event.set(theLoop(), &callback, 7, CEvent::kWrite, 8);
    event.set(theLoop(), &callback, 7, CEvent::kRead | CEvent::kWrite, 8);
    event.set(theLoop(), &callback, 7, 0x78 | CEvent::kRead, 255);
    event.set(theLoop(), &callback, 0, 0, 0);

    EXPECT_THAT(takeCalls(),
                ElementsAre("fd_open fd=7 mode=1 priority=3", "fd_open fd=7 mode=2 priority=8",
                            "fd_open fd=7 mode=3 priority=8", "fd_open fd=7 mode=1 priority=255",
                            "fd_open fd=0 mode=0 priority=0"));
    EXPECT_EQ(&event, FakeService::user);
}

TEST_F(Event, AnswersTheContextItselfWhereAnIntHasRoomForIt) {
    CEvent event;

    const int result = event.set(theLoop(), &callback, 7, CEvent::kRead, 3);

    const auto word = reinterpret_cast<intptr_t>(FakeService::context());
    EXPECT_EQ(sizeof(void*) == sizeof(int) ? static_cast<int>(word) : 1, result);
}

TEST_F(Event, OpensATimerForDescriptorMinusOne) {
    CEvent event;

    EXPECT_NE(0, event.set(theLoop(), &callback, -1, CEvent::kRead, 8));

    EXPECT_THAT(takeCalls(), ElementsAre("timer_open options=0 priority=8"));
}

TEST_F(Event, OpensASignalByTheLowEightBitsOfItsNumber) {
    CEvent event;

    EXPECT_NE(0, event.set(theLoop(), &callback, 0x10A, CEvent::kSignal, 8));
    event.set(theLoop(), &callback, -1, CEvent::kSignal | CEvent::kRead, 8);

    EXPECT_THAT(takeCalls(),
                ElementsAre("sig_open signum=10 priority=8", "sig_open signum=255 priority=8"));
}

TEST_F(Event, IsOpenedByItsConstructorWithPriority8) {
    const CEvent event(theLoop(), &callback, 5, CEvent::kWrite);

    EXPECT_THAT(takeCalls(), ElementsAre("fd_open fd=5 mode=2 priority=8"));
}

TEST_F(Event, ThatCannotBeOpenedAnswersZeroAndIsEmpty) {
    FakeService::refusesOpen = true;
    CEvent event;

    EXPECT_EQ(0, event.set(theLoop(), &callback, 7, CEvent::kRead, 8));
    takeCalls();

    EXPECT_EQ(0, event.reset());
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(Event, OfASignalHasAClassOfItsOwn) {
    zol::CEventSignal event;

    EXPECT_NE(0, event.set(theLoop(), 15, &callback));

    EXPECT_THAT(takeCalls(), ElementsAre("sig_open signum=15 priority=8"));
}

TEST_F(Event, SetTwiceDoesNotCloseTheFirstContext) {
    CEvent event(theLoop(), &callback, 5, CEvent::kRead);
    takeCalls();

    event.set(theLoop(), &callback, 6, CEvent::kRead, 8);

    EXPECT_THAT(takeCalls(), ElementsAre("fd_open fd=6 mode=1 priority=8"));
}

// --- events: arming ---

TEST_F(Event, CutsTimeoutsToMilliseconds) {
    CEvent event(theLoop(), &callback, 5, CEvent::kRead);
    takeCalls();

    EXPECT_EQ(0, event.add(CTime::infinite));
    event.add(CTime(1500));
    event.add(CTime(999));
    event.add(CTime(0));
    event.add(CTime(-1500));
    event.add(CTime::undefined);
    event.add(CTime(int64_t{0x123456789} * 1000));  // more than 32 bits of milliseconds

    EXPECT_THAT(takeCalls(), ElementsAre("fd_start -1", "fd_start 1", "fd_start 0", "fd_start 0",
                                         "fd_start -1", "fd_start 0", "fd_start 591751049"));
}

TEST_F(Event, ExtendsATimersDelayWithItsSign) {
    CEvent event(theLoop(), &callback, -1, 0);
    takeCalls();

    event.add(CTime(2500000));
    event.add(CTime::infinite);
    event.add(CTime(int64_t{0x80000000} * 1000));

    EXPECT_THAT(takeCalls(),
                ElementsAre("timer_start 2500", "timer_start -1", "timer_start -2147483648"));
}

TEST_F(Event, IgnoresTheTimeoutOfASignal) {
    CEvent event(theLoop(), &callback, 15, CEvent::kSignal);
    takeCalls();

    EXPECT_EQ(0, event.add(CTime(5000)));

    EXPECT_THAT(takeCalls(), ElementsAre("sig_start"));
}

TEST_F(Event, RemovesResetsAndClosesByKind) {
    const struct {
        int fd;
        int flags;
        const char* stop;
        const char* close;
    } kinds[] = {{5, CEvent::kRead, "fd_stop", "fd_close"},
                 {-1, 0, "timer_stop", "timer_close"},
                 {15, CEvent::kSignal, "sig_stop", "sig_close"}};
    for (const auto& kind : kinds) {
        CEvent event(theLoop(), &callback, kind.fd, kind.flags);
        takeCalls();

        EXPECT_EQ(0, event.remove());
        EXPECT_THAT(takeCalls(), ElementsAre(kind.stop));
        EXPECT_EQ(0, event.reset());
        EXPECT_THAT(takeCalls(), ElementsAre(kind.stop, kind.close));
        EXPECT_EQ(0, event.reset());
        EXPECT_THAT(takeCalls(), IsEmpty());
    }
}

TEST_F(Event, IsResetByItsDestructor) {
    {
        const CEvent event(theLoop(), &callback, 5, CEvent::kRead);
        takeCalls();
    }
    EXPECT_THAT(takeCalls(), ElementsAre("fd_stop", "fd_close"));
}

TEST_F(Event, FoldsFailuresOfTheServiceIntoMinusOne) {
    for (const int fd : {5, -1}) {
        for (const int flags : {0, static_cast<int>(CEvent::kSignal)}) {
            CEvent event(theLoop(), &callback, fd, flags);
            FakeService::answer = 22;
            EXPECT_EQ(-1, event.add(CTime(0)));
            EXPECT_EQ(-1, event.remove());
            EXPECT_EQ(-1, event.reset());
            takeCalls();
            EXPECT_EQ(0, event.reset());  // closed all the same
            EXPECT_THAT(takeCalls(), IsEmpty());
            FakeService::answer = 0;
        }
    }
}

TEST_F(Event, DoesNotSupportPrioritiesAndActivation) {
    CEvent event(theLoop(), &callback, 5, CEvent::kRead);
    takeCalls();

    EXPECT_EQ(-1, event.setPriority(1));
    EXPECT_EQ(-1, event.active(1));

    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST(EventLayout, HasFourWordsOn32Bits) {
    if (sizeof(void*) == 4) {
        EXPECT_EQ(16U, sizeof(CEvent));
    }
    EXPECT_EQ(sizeof(void*), sizeof(zol::CEventLoop));
}

// --- callbacks ---

TEST_F(EventCallback, IsNotToldWhetherTheDescriptorCanBeReadOrWritten) {
    CEvent event(theLoop(), &callback, 5, CEvent::kRead | CEvent::kWrite);

    FakeService::fdFn(FakeService::user, 5);
    FakeService::fdFn(FakeService::user, -1);

    ASSERT_EQ(2U, callback.received.size());
    EXPECT_EQ(5, callback.received[0].fd);
    EXPECT_EQ(0, callback.received[0].events);
    EXPECT_EQ(&event, callback.received[0].event);
    EXPECT_EQ(-1, callback.received[1].fd);
}

TEST_F(EventCallback, OfTimersAndSignalsGetsDescriptorMinusOne) {
    CEvent timer(theLoop(), &callback, -1, 0);
    FakeService::fn(FakeService::user);
    CEvent signal(theLoop(), &callback, 15, CEvent::kSignal);
    FakeService::fn(FakeService::user);

    ASSERT_EQ(2U, callback.received.size());
    EXPECT_EQ(-1, callback.received[0].fd);
    EXPECT_EQ(0, callback.received[0].events);
    EXPECT_EQ(&timer, callback.received[0].event);
    EXPECT_EQ(-1, callback.received[1].fd);
    EXPECT_EQ(&signal, callback.received[1].event);
}

class Lamp : public zol::CEventDest<Lamp, void> {
  public:
    void off(int lamp) { switchedOff.push_back(lamp); }
    std::vector<int> switchedOff;
};

TEST_F(EventCallback, BoundToAMemberFunctionPassesItsArgument) {
    Lamp lamp;
    zol::CEventMsg<Lamp, int> message(&lamp, &Lamp::off, 3);

    EXPECT_EQ(0, message.onEvent(9, 1, nullptr));
    message.setArgument(4);
    message.onEvent(9, 1, nullptr);

    EXPECT_THAT(lamp.switchedOff, ElementsAre(3, 4));
    EXPECT_EQ(&lamp, lamp.getDestPtr());
    lamp.onMsg(nullptr);
    EXPECT_EQ(2U, lamp.switchedOff.size());
}

TEST_F(EventCallback, OfATimerCallsTheMemberFunctionAndIsArmedAgain) {
    Lamp lamp;
    zol::CEventTimer<Lamp, int> timer(&lamp, &Lamp::off, 3);

    EXPECT_NE(0, timer.open(theLoop()));
    EXPECT_EQ(0, timer.add(CTime(60000000)));
    FakeService::fn(FakeService::user);
    timer.add(CTime(1000));
    timer.remove();

    EXPECT_THAT(takeCalls(), ElementsAre("timer_open options=0 priority=8", "timer_start 60000",
                                         "timer_start 1", "timer_stop"));
    EXPECT_THAT(lamp.switchedOff, ElementsAre(3));
    EXPECT_EQ(CTime(1000), timer.getDelay());
}

TEST_F(EventCallback, OfADestroyedTimerIsDisarmedAndClosed) {
    Lamp lamp;
    {
        zol::CEventTimer<Lamp, int> timer(&lamp, &Lamp::off, 3);
        timer.open(theLoop());
        takeCalls();
    }
    EXPECT_THAT(takeCalls(), ElementsAre("timer_stop", "timer_close"));
}

}  // namespace
