// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

#include "evlp/sim.h"

#include "support/sim_loop.h"

namespace {

class SimRecord : public SimTest {
  protected:
    SimRecord() { evlp_sim_record(1); }

    static std::vector<std::string> recorded() {
        std::vector<std::string> result;
        for (size_t i = 0; i != evlp_sim_countCalls(); ++i) {
            evlp_sim_call call = {};
            EXPECT_EQ(0, evlp_sim_getCall(i, &call));
            char text[200];
            const int length = evlp_sim_describe(&call, text, sizeof text);
            EXPECT_EQ(static_cast<int>(strlen(text)), length);
            result.emplace_back(text);
        }
        return result;
    }

    static evlp_sim_call call(size_t index) {
        evlp_sim_call result = {};
        EXPECT_EQ(0, evlp_sim_getCall(index, &result));
        return result;
    }
};

class SimFail : public SimRecord {};
class SimArmed : public SimTest {
  protected:
    std::vector<std::string> armed(size_t room = 100) {
        std::vector<evlp_sim_armed> list(room + 1);
        list[room].number = 4711;
        const size_t count = evlp_sim_listArmed(list.data(), room);
        EXPECT_EQ(4711, list[room].number);  // untouched
        std::vector<std::string> result;
        for (size_t i = 0; i != count && i != room; ++i) {
            const char* const kinds[] = {"timer", "descriptor", "signal"};
            const evlp_sim_armed& each = list[i];
            result.push_back(std::string(kinds[each.kind]) + " " + std::to_string(each.number) +
                             " mode " + std::to_string(each.mode) + " priority " +
                             std::to_string(each.priority) + " due " + std::to_string(each.due));
        }
        return result;
    }

    /** The names of what is armed. */
    std::vector<std::string> armedNames(size_t room = 100) {
        std::vector<evlp_sim_armed> list(room);
        const size_t count = evlp_sim_listArmed(list.data(), room);
        std::vector<std::string> result;
        for (size_t i = 0; i != count && i != room; ++i) {
            result.push_back(names.at(list[i].user));
        }
        return result;
    }
};
class SimReset : public SimTest {};

void doNothing(void*) {}
void doNothingWith(void*, int) {}

TEST_F(SimRecord, IsOffAtFirst) {
    contexts.clear();
    for (evlp_thread_str* const each : loops) {
        evlp_closeThread(each);
    }
    loops.clear();
    evlp_sim_reset();

    useNewLoop();

    EXPECT_EQ(0u, evlp_sim_countCalls());
}

TEST_F(SimRecord, HasEveryFunctionWithItsNumbers) {
    evlp_initialize(0, 1, 0, 512);
    evlp_thread_str* const own = evlp_openThreadInt("MDW", 0, 0, 32, 10, 255, 11);
    evlp_stopThread(own);
    evlp_startThread(own);
    evlp_ctx_str* const fd = fd_openCtx(own, doNothingWith, nullptr, 5, 1, 8);
    fd_startCtx(fd, -1);
    fd_stopCtx(fd);
    fd_closeCtx(fd);
    evlp_ctx_str* const tick = timer_openCtx(own, doNothing, nullptr, 0, 8);
    timer_startCtx(tick, 6000000000);
    timer_stopCtx(tick);
    timer_closeCtx(tick);
    evlp_ctx_str* const term = sig_openCtx(own, doNothing, nullptr, SIGTERM, 255);
    sig_startCtx(term);
    sig_stopCtx(term);
    sig_closeCtx(term);
    evlp_closeThread(own);

    EXPECT_THAT(
        recorded(),
        ElementsAre("evlp_initialize(0, 1, 0, 512)",
                    "evlp_openThreadInt(\"MDW\", 0, 0, 32, 10, 255, 11)", "evlp_stopThread()",
                    "evlp_startThread()", "fd_openCtx(5, 1, 8)", "fd_startCtx(-1)", "fd_stopCtx()",
                    "fd_closeCtx()", "timer_openCtx(0, 8)", "timer_startCtx(6000000000)",
                    "timer_stopCtx()", "timer_closeCtx()", "sig_openCtx(15, 255)", "sig_startCtx()",
                    "sig_stopCtx()", "sig_closeCtx()", "evlp_closeThread()"));
}

TEST_F(SimRecord, HasTheTimeAndWhoWasAskedAndAnswered) {
    int user = 0;
    evlp_sim_pass(3 * kSecond);
    evlp_ctx_str* const tick = timer_openCtx(loop, doNothing, &user, 0, 8);
    timer_startCtx(tick, 10);
    timer_closeCtx(tick);
    evlp_thread_str* const own =
        evlp_openThreadInt("a name of more than 31 characters, cut", 0, 0, 0, 0, 0, 0);
    evlp_closeThread(own);

    EXPECT_EQ(EVLP_SIM_TIMER_OPEN, call(0).function);
    EXPECT_EQ(3 * kSecond, call(0).time);
    EXPECT_EQ(loop, call(0).loop);
    EXPECT_EQ(tick, call(0).ctx);
    EXPECT_EQ(&user, call(0).user);
    EXPECT_EQ(2, call(0).argumentCount);
    EXPECT_EQ(8, call(0).arguments[1]);
    EXPECT_EQ(0, call(0).error);
    EXPECT_EQ(tick, call(1).ctx);
    EXPECT_EQ(nullptr, call(1).loop);
    EXPECT_EQ(nullptr, call(1).user);
    EXPECT_EQ(own, call(3).loop);
    EXPECT_STREQ("a name of more than 31 characte", call(3).name);
    EXPECT_EQ(own, call(4).loop);
}

TEST_F(SimRecord, HasTheErrorOfAFailure) {
    EXPECT_EQ(-1, timer_startCtx(nullptr, 5));
    EXPECT_EQ(nullptr, timer_openCtx(nullptr, doNothing, nullptr, 0, 8));
    EXPECT_EQ(-1, evlp_startThread(loop));

    EXPECT_EQ(EINVAL, call(0).error);
    EXPECT_EQ(nullptr, call(1).ctx);
    EXPECT_THAT(recorded(), ElementsAre("timer_startCtx(5): Invalid argument",
                                        "timer_openCtx(0, 8): Invalid argument",
                                        std::string("evlp_startThread(): ") + strerror(EDEADLK)));
}

TEST_F(SimRecord, IsInTheOrderInWhichCallsBegin) {
    Context& tick = timer("tick");
    tick.then([&] {
        EXPECT_EQ(3u, evlp_sim_countCalls());  // the start has begun
        evlp_stopThread(loop);
    });
    tick.start(0);
    evlp_startThread(loop);

    EXPECT_THAT(recorded(), ElementsAre("timer_openCtx(0, 8)", "timer_startCtx(0)",
                                        "evlp_startThread()", "evlp_stopThread()"));
}

TEST_F(SimRecord, StartsAnewWhenItIsTurnedOnAgain) {
    timer("tick");
    evlp_sim_record(0);
    timer("not recorded");
    EXPECT_EQ(1u, evlp_sim_countCalls());

    evlp_sim_record(1);
    EXPECT_EQ(0u, evlp_sim_countCalls());
}

TEST_F(SimRecord, MayStartAnewInACallback) {
    timer("tick")
        .then([&] {
            evlp_sim_record(1);
            evlp_stopThread(loop);
        })
        .start(0);

    evlp_startThread(loop);

    EXPECT_THAT(recorded(), ElementsAre("evlp_stopThread()"));
}

TEST_F(SimRecord, OfACallThatIsForgottenMeanwhileIsNotMixedUpWithAnother) {
    Context& never = timer("never");
    timer("tick")
        .then([&] {
            evlp_sim_record(1);
            for (int i = 0; i != 5; ++i) {
                never.start(-1);
            }
        })
        .start(0);

    EXPECT_EQ("-1 EDEADLK", outcome(evlp_startThread(loop)));

    EXPECT_THAT(recorded(),
                ElementsAre("timer_startCtx(-1)", "timer_startCtx(-1)", "timer_startCtx(-1)",
                            "timer_startCtx(-1)", "timer_startCtx(-1)"));
}

TEST_F(SimRecord, RefusesWhatLiesBeyondItsEnd) {
    timer("tick");
    evlp_sim_call call = {};

    EXPECT_EQ("0", outcome(evlp_sim_getCall(0, &call)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_getCall(1, &call)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_getCall(static_cast<size_t>(-1), &call)));
}

TEST_F(SimRecord, HoldsManyCalls) {
    Context& tick = timer("tick");
    for (int i = 0; i != 10000; ++i) {
        tick.start(i);
    }

    EXPECT_EQ(10001u, evlp_sim_countCalls());
    EXPECT_EQ(9999, call(10000).arguments[0]);
}

TEST_F(SimRecord, IsDescribedInAsMuchRoomAsThereIs) {
    timer("tick");
    const evlp_sim_call open = call(0);
    char text[8] = "1234567";

    EXPECT_EQ(19, evlp_sim_describe(&open, nullptr, 0));
    EXPECT_EQ(19, evlp_sim_describe(&open, text, 1));
    EXPECT_STREQ("", text);
    EXPECT_EQ(19, evlp_sim_describe(&open, text, sizeof text));
    EXPECT_STREQ("timer_o", text);
}

TEST_F(SimFail, MakesTheChosenCallFailAndNoOther) {
    Context& tick = timer("tick");
    Context& tock = timer("tock");
    EXPECT_EQ("0", outcome(evlp_sim_fail(EVLP_SIM_TIMER_START, 2, ENOSPC)));

    EXPECT_EQ("0", outcome(tick.start(10)));
    EXPECT_EQ("-1 ENOSPC", outcome(tock.start(10)));
    EXPECT_EQ("0", outcome(tock.start(20)));

    advance(1 * kSecond);
    EXPECT_THAT(called(), ElementsAre("tick", "tock"));
}

TEST_F(SimFail, DoesNothingInTheCallThatFails) {
    Context& tick = timer("tick");
    tick.start(10);
    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);
    EXPECT_EQ("-1 ENOMEM", outcome(tick.start(500)));
    evlp_sim_fail(EVLP_SIM_TIMER_STOP, 1, ENOMEM);
    EXPECT_EQ("-1 ENOMEM", outcome(tick.stop()));

    advance(10 * kMs);

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(SimFail, IsRecorded) {
    evlp_sim_fail(EVLP_SIM_TIMER_OPEN, 1, ENOMEM);

    EXPECT_EQ(nullptr, timer_openCtx(loop, doNothing, nullptr, 0, 8));

    EXPECT_EQ(ENOMEM, call(0).error);
    EXPECT_THAT(recorded(), ElementsAre(std::string("timer_openCtx(0, 8): ") + strerror(ENOMEM)));
}

TEST_F(SimFail, CanBeCalledOff) {
    Context& tick = timer("tick");
    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);
    EXPECT_EQ("0", outcome(evlp_sim_fail(EVLP_SIM_TIMER_START, 0, 0)));

    EXPECT_EQ("0", outcome(tick.start(10)));
}

TEST_F(SimFail, RefusesWhatIsNoFunctionOrNoError) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_fail(static_cast<evlp_sim_function>(17), 1, ENOMEM)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_fail(EVLP_SIM_TIMER_START, 1, 0)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_fail(EVLP_SIM_TIMER_START, 1, -ENOMEM)));
}

TEST_F(SimFail, WorksForEveryFunction) {
    evlp_ctx_str* const fd = fd_openCtx(loop, doNothingWith, nullptr, 5, EVLP_READ, 8);
    evlp_ctx_str* const tick = timer_openCtx(loop, doNothing, nullptr, 0, 8);
    evlp_ctx_str* const term = sig_openCtx(loop, doNothing, nullptr, SIGTERM, 8);
    for (int each = EVLP_SIM_INITIALIZE; each <= EVLP_SIM_SIG_CLOSE; ++each) {
        ASSERT_EQ(0, evlp_sim_fail(static_cast<evlp_sim_function>(each), 1, EIO));
    }

    EXPECT_EQ("-1 EIO", outcome(evlp_initialize(0, 1, 0, 512)));
    errno = 0;
    EXPECT_EQ(nullptr, evlp_openThreadInt("MDW", 0, 0, 32, 10, 255, 10));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ("-1 EIO", outcome(evlp_startThread(loop)));
    EXPECT_EQ("-1 EIO", outcome(evlp_stopThread(loop)));
    EXPECT_EQ("-1 EIO", outcome(evlp_closeThread(loop)));
    EXPECT_EQ(nullptr, fd_openCtx(loop, doNothingWith, nullptr, 5, EVLP_READ, 8));
    EXPECT_EQ("-1 EIO", outcome(fd_startCtx(fd, -1)));
    EXPECT_EQ("-1 EIO", outcome(fd_stopCtx(fd)));
    EXPECT_EQ("-1 EIO", outcome(fd_closeCtx(fd)));
    EXPECT_EQ(nullptr, timer_openCtx(loop, doNothing, nullptr, 0, 8));
    EXPECT_EQ("-1 EIO", outcome(timer_startCtx(tick, 10)));
    EXPECT_EQ("-1 EIO", outcome(timer_stopCtx(tick)));
    EXPECT_EQ("-1 EIO", outcome(timer_closeCtx(tick)));
    EXPECT_EQ(nullptr, sig_openCtx(loop, doNothing, nullptr, SIGTERM, 8));
    EXPECT_EQ("-1 EIO", outcome(sig_startCtx(term)));
    EXPECT_EQ("-1 EIO", outcome(sig_stopCtx(term)));
    EXPECT_EQ("-1 EIO", outcome(sig_closeCtx(term)));

    // Nothing has been armed, and every one fails once.
    EXPECT_EQ(0u, evlp_sim_listArmed(nullptr, 0));
    EXPECT_EQ(0, fd_closeCtx(fd));
    EXPECT_EQ(0, timer_closeCtx(tick));
    EXPECT_EQ(0, sig_closeCtx(term));
}

TEST_F(SimFail, OfAStartInACallbackIsLikeAnyOther) {
    Context& tick = timer("tick");
    tick.then([&] { EXPECT_EQ("-1 ENOMEM", outcome(tick.start(10))); });
    tick.start(10);
    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);

    advance(1 * kSecond);

    EXPECT_EQ(1, tick.calls);
}

TEST_F(SimArmed, SaysEverythingAboutWhatIsArmed) {
    timer("tick", 7).start(60000);
    timer("not armed");
    watcher("descriptor", 5, EVLP_READ | EVLP_WRITE, 9).start(100);
    reader("without a time-out", 6).start();
    signal("term", SIGTERM, 1).start();

    EXPECT_THAT(armed(), ElementsAre("descriptor 5 mode 3 priority 9 due 100000",
                                     "timer -1 mode 0 priority 7 due 60000000",
                                     "descriptor 6 mode 1 priority 8 due -1",
                                     "signal 15 mode 0 priority 1 due -1"));
    evlp_sim_armed first = {};
    EXPECT_EQ(4u, evlp_sim_listArmed(&first, 1));
    EXPECT_EQ(loop, first.loop);
    EXPECT_EQ(std::next(contexts.begin(), 2)->handle, first.ctx);
    EXPECT_EQ(&*std::next(contexts.begin(), 2), first.user);
}

TEST_F(SimArmed, IsInTheOrderInWhichItWillBeCalled) {
    Context& sooner = timer("sooner");
    Context& later = timer("later");
    Context& b = timer("b");
    Context& a = timer("a");
    Context& urgent = timer("urgent", 0);
    Context& idle = reader("idle", 5);
    useNewLoop();
    Context& elsewhere = timer("elsewhere", 0);
    elsewhere.start(20);
    idle.start(20);
    later.start(30);
    a.start(20);
    b.start(20);
    urgent.start(20);
    sooner.start(10);
    const std::vector<std::string> listed = armedNames();

    advance(20 * kMs);
    idle.stop();
    advance(20 * kMs);

    EXPECT_THAT(listed, ElementsAre("sooner", "urgent", "a", "b", "idle", "elsewhere", "later"));
    EXPECT_THAT(called(),
                ElementsAre("sooner", "urgent", "a", "b", "idle idle", "elsewhere", "later"));
}

TEST_F(SimArmed, IsInTheOrderOfCallsAlsoWhereItIsLate) {
    timer("a").start(10);
    timer("b").start(20);
    timer("urgent", 1).start(20);
    useNewLoop();
    timer("elsewhere").start(5);
    timer("ahead").start(40);
    evlp_sim_pass(30 * kMs);
    const std::vector<std::string> listed = armedNames();

    advance(10 * kMs);

    EXPECT_THAT(listed, ElementsAre("urgent", "a", "b", "elsewhere", "ahead"));
    EXPECT_THAT(called(), ElementsAre("urgent", "a", "b", "elsewhere", "ahead"));
}

TEST_F(SimArmed, IsByNumberWhereItIsNeverDue) {
    signal("signal 15", SIGTERM).start();
    reader("descriptor 20", 20).start();
    reader("descriptor 1", 1).start();
    timer("timer").start(-1);
    timer("beyond the end of time").start(INT64_MAX);

    EXPECT_THAT(armedNames(), ElementsAre("timer", "beyond the end of time", "descriptor 1",
                                          "signal 15", "descriptor 20"));
}

TEST_F(SimArmed, IsCountedBeyondTheRoomThatThereIs) {
    for (const int64_t delayMs : {50, 30, 10, 20, 40}) {
        timer("tick").start(delayMs);
    }
    signal("never", SIGTERM).start();

    EXPECT_EQ(6u, evlp_sim_listArmed(nullptr, 0));
    EXPECT_THAT(armed(2), ElementsAre("timer -1 mode 0 priority 8 due 10000",
                                      "timer -1 mode 0 priority 8 due 20000"));
}

TEST_F(SimArmed, NamesWhatIsReadyInTheSameTurnFirst) {
    std::vector<std::string> seen;
    Context& b = timer("b");
    Context& a = timer("a");
    timer("first", 0).then([&] { seen = armedNames(); }).start(10);
    timer("soon").start(11);
    a.start(10);
    b.start(10);

    advance(10 * kMs);

    EXPECT_THAT(seen, ElementsAre("a", "b", "soon"));
}

TEST_F(SimArmed, LeavesOutWhatIsStoppedOrFired) {
    timer("fired").start(10);
    Context& stopped = reader("stopped", 5);
    stopped.start(1000);
    stopped.stop();
    advance(10 * kMs);

    EXPECT_THAT(armedNames(), IsEmpty());
}

TEST_F(SimReset, IsRefusedWhileALoopIsOpen) {
    evlp_sim_pass(1 * kSecond);

    EXPECT_EQ("-1 EBUSY", outcome(evlp_sim_reset()));
    EXPECT_EQ(1 * kSecond, evlp_sim_now());
}

TEST_F(SimReset, GoesBackToTheDateOfTheEnvironment) {
    EXPECT_EQ(0, evlp_closeThread(loop));
    loops.clear();
    setenv("EVLP_SIM_DATE", "2026-03-29 01:59:50", 1);

    EXPECT_EQ("0", outcome(evlp_sim_reset()));

    EXPECT_EQ("Sun 2026-03-29 01:59:50", date());
    EXPECT_EQ(0, evlp_sim_now());
    unsetenv("EVLP_SIM_DATE");
}

TEST_F(SimReset, MakesEverythingAsAtTheStart) {
    evlp_sim_pass(1 * kSecond);
    dateIs("2026-03-29 12:00");
    evlp_sim_record(1);
    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);
    evlp_sim_setReady(5, EVLP_READ);
    evlp_sim_watchReal(1);
    EXPECT_EQ(0, evlp_closeThread(loop));
    loops.clear();

    EXPECT_EQ("0", outcome(evlp_sim_reset()));

    EXPECT_EQ(0, evlp_sim_now());
    EXPECT_EQ("Mon 2001-01-01 01:00:00", date());
    EXPECT_EQ(0u, evlp_sim_countCalls());
    useNewLoop();
    EXPECT_EQ(0u, evlp_sim_countCalls());  // not recorded any more
    EXPECT_EQ("0", outcome(timer("tick").start(10)));
    EXPECT_EQ("0", outcome(reader("a number, and not open", 60000).start()));
    EXPECT_EQ("0", outcome(reader("not ready", 5).start()));
    EXPECT_EQ("0", advance(1 * kSecond));
    EXPECT_THAT(called(), ElementsAre("tick"));
}

}  // namespace
