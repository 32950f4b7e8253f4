// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "evlp/sim.h"

#include "support/sim_loop.h"

namespace {

class SimReady : public SimTest {};
class SimPulse : public SimTest {};
class SimRaise : public SimTest {};

/** What the process has for the loops: a pipe, a signal's disposition. */
class SimReal : public SimTest {
  protected:
    SimReal() { EXPECT_EQ(0, pipe2(m_ends, O_CLOEXEC | O_NONBLOCK)); }
    ~SimReal() override {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    int in() const { return m_ends[0]; }
    void write() const { EXPECT_EQ(1, ::write(m_ends[1], "x", 1)); }
    void read() const {
        char byte = 0;
        EXPECT_EQ(1, ::read(m_ends[0], &byte, 1));
    }

    static bool isCaught(int signum) {
        struct sigaction present = {};
        sigaction(signum, nullptr, &present);
        return present.sa_handler != SIG_DFL;
    }

  private:
    int m_ends[2] = {-1, -1};
};

TEST_F(SimReady, CallsUntilItSaysOtherwise) {
    Context& context = reader("descriptor", 5);
    context.then([&] {
        if (context.calls == 3) {
            EXPECT_EQ("0", outcome(evlp_sim_setReady(5, 0)));
        }
    });
    context.start();
    EXPECT_EQ("0", outcome(evlp_sim_setReady(5, EVLP_READ)));

    advance(1 * kSecond);

    EXPECT_EQ(3, context.calls);
    EXPECT_EQ(5, context.lastFd);
}

TEST_F(SimReady, MayComeBeforeTheDescriptorIsArmed) {
    evlp_sim_setReady(5, EVLP_READ);
    Context& context = reader("descriptor", 5);
    context.then([&] { context.stop(); });
    advance(1 * kSecond);

    context.start();
    advance(0);

    EXPECT_EQ(1, context.calls);
}

TEST_F(SimReady, CallsOnlyForTheModesThatAreReady) {
    const auto stopBoth = [&] { evlp_sim_setReady(5, 0); };
    reader("reader", 5).then(stopBoth).start();
    watcher("writer", 5, EVLP_WRITE).then(stopBoth).start();
    watcher("either", 5, EVLP_READ | EVLP_WRITE).then(stopBoth).start();

    evlp_sim_setReady(5, EVLP_WRITE);
    advance(0);
    EXPECT_THAT(called(), ElementsAre("writer", "either"));

    evlp_sim_setReady(5, EVLP_READ | EVLP_WRITE);
    advance(0);
    EXPECT_THAT(called(), ElementsAre("reader", "writer", "either"));
}

TEST_F(SimReady, MayBeOfANumberThatIsNotOpen) {
    Context& context = reader("descriptor", 65535);
    EXPECT_EQ(0, context.start());
    context.then([&] { context.stop(); });

    evlp_sim_setReady(65535, EVLP_READ);
    advance(0);

    EXPECT_EQ(65535, context.lastFd);
}

TEST_F(SimReady, RefusesOtherNumbersAndModes) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_setReady(65536, EVLP_READ)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_setReady(-1, EVLP_READ)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_setReady(5, 4)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_pulse(65536, EVLP_READ)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_pulse(-1, EVLP_READ)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_pulse(5, -1)));
}

TEST_F(SimReady, NumbersBeyondThoseCannotBeArmed) {
    EXPECT_EQ("-1 EBADF", outcome(reader("too high", 65536).start()));
}

TEST_F(SimReady, StartsTheIdleTimeOver) {
    reader("descriptor", 5).start(1000);
    advance(900 * kMs);
    evlp_sim_pulse(5, EVLP_READ);

    advance(900 * kMs);
    EXPECT_THAT(called(), ElementsAre("descriptor"));

    advance(100 * kMs);
    EXPECT_THAT(called(), ElementsAre("descriptor idle"));
}

TEST_F(SimReady, IsForgottenWithReset) {
    evlp_sim_setReady(5, EVLP_READ);
    for (evlp_thread_str* const each : loops) {
        evlp_closeThread(each);
    }
    loops.clear();
    EXPECT_EQ(0, evlp_sim_reset());
    useNewLoop();
    reader("descriptor", 5).start();

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimReady, ReachesAllOfMoreDescriptorsThanOneTurnReports) {
    constexpr int kCount = 3000;
    for (int fd = 0; fd != kCount; ++fd) {
        Context& context = reader("descriptor", fd);
        context.then([&context] { context.stop(); });
        context.start();
        evlp_sim_setReady(fd, EVLP_READ);
    }

    EXPECT_EQ("0", advance(0));

    for (const Context& context : contexts) {
        EXPECT_EQ(1, context.calls);
    }
}

TEST_F(SimReady, OfManyDescriptorsStarvesNone) {
    constexpr int kCount = 3000;  // always ready
    for (int fd = 0; fd != kCount; ++fd) {
        reader("descriptor", fd).start();
        evlp_sim_setReady(fd, EVLP_READ);
    }
    contexts.back().then([&] { evlp_stopThread(loop); });

    EXPECT_EQ("-1 ECANCELED", advance(0));

    EXPECT_EQ(1, contexts.back().calls);
}

TEST_F(SimReady, IsLookedForFromTheStartWhereNothingWasLeftOut) {
    Context& first = reader("first", 0);
    first.then([&] {
        for (int fd = 1; fd != 100; ++fd) {  // more than the first turn reports
            evlp_sim_setReady(fd, 0);
        }
        EXPECT_EQ(0, evlp_sim_now());
        if (first.calls == 3) {
            evlp_sim_setReady(0, 0);
        }
    });
    first.start();
    for (int fd = 0; fd != 100; ++fd) {
        if (fd != 0) {
            reader("other", fd).start();
        }
        evlp_sim_setReady(fd, EVLP_READ);
    }
    timer("end").then([&] { evlp_stopThread(loop); }).start(1);

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    EXPECT_EQ(3, first.calls);
}

TEST_F(SimPulse, CallsOnce) {
    Context& context = reader("descriptor", 5);
    context.start();
    EXPECT_EQ("0", outcome(evlp_sim_pulse(5, EVLP_READ)));

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_EQ(1, context.calls);
}

TEST_F(SimPulse, CallsAllThatIsArmedForIt) {
    reader("first", 5).start();
    watcher("second", 5, EVLP_READ | EVLP_WRITE).start();
    watcher("other mode", 5, EVLP_WRITE).start();
    reader("other number", 6).start();
    useNewLoop();
    reader("other loop", 5).start();
    evlp_sim_pulse(5, EVLP_READ);

    advance(0);

    EXPECT_THAT(called(), ElementsAre("first", "second", "other loop"));
}

TEST_F(SimPulse, IsForgottenWhenNothingIsArmed) {
    evlp_sim_pulse(5, EVLP_READ);
    Context& context = reader("descriptor", 5);
    context.start();
    context.stop();
    evlp_sim_pulse(5, EVLP_READ);
    context.start();

    advance(0);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimPulse, OfAModeThatNothingIsArmedForIsForgotten) {
    watcher("writer", 5, EVLP_WRITE).start();
    evlp_sim_pulse(5, EVLP_READ);
    reader("reader", 5).start();

    advance(0);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimPulse, InACallbackCallsInTheNextTurn) {
    reader("descriptor", 5).start();
    timer("tick").then([&] { evlp_sim_pulse(5, EVLP_READ); }).start(0);
    timer("same turn").start(0);

    advance(0);

    EXPECT_THAT(called(), ElementsAre("tick", "same turn", "descriptor"));
}

TEST_F(SimPulse, OfAContextClosedMeanwhileCallsNobody) {
    Context& context = reader("descriptor", 5);
    context.start();
    evlp_sim_pulse(5, EVLP_READ);
    context.close();
    reader("its successor", 5).start();

    advance(0);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimRaise, CallsWhatIsArmedOnEveryLoop) {
    signal("first", SIGTERM).start();
    signal("second", SIGTERM).start();
    signal("other signal", SIGHUP).start();
    useNewLoop();
    signal("other loop", SIGTERM).start();

    EXPECT_EQ("0", outcome(evlp_sim_raise(SIGTERM)));
    advance(0);

    EXPECT_THAT(called(), ElementsAre("first", "second", "other loop"));
}

TEST_F(SimRaise, IsIgnoredWhenNothingIsArmed) {
    Context& context = signal("signal", SIGTERM);

    EXPECT_EQ("0", outcome(evlp_sim_raise(SIGTERM)));
    context.start();
    advance(0);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimRaise, RefusesWhatIsNoSignal) {
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_raise(0)));
    EXPECT_EQ("-1 EINVAL", outcome(evlp_sim_raise(65)));
    EXPECT_EQ("0", outcome(evlp_sim_raise(64)));
}

TEST_F(SimRaise, NeedsNoHandlerOfTheProcess) {
    signal("signal", SIGTERM).start();

    struct sigaction present = {};
    sigaction(SIGTERM, nullptr, &present);
    EXPECT_EQ(SIG_DFL, present.sa_handler);
}

TEST_F(SimReal, DescriptorsAreCalledWithoutWaiting) {
    evlp_sim_watchReal(1);
    reader("pipe", in()).then([&] { read(); }).start();

    EXPECT_EQ("0", advance(1 * kSecond));
    EXPECT_THAT(called(), IsEmpty());

    write();
    EXPECT_EQ("0", advance(0));
    EXPECT_THAT(called(), ElementsAre("pipe"));
}

TEST_F(SimReal, DescriptorsAreLookedAtAtEveryMoment) {
    std::vector<int64_t> moments;
    evlp_sim_watchReal(1);
    reader("pipe", in())
        .then([&] {
            read();
            moments.push_back(evlp_sim_now());
        })
        .start();
    timer("first").then([&] { write(); }).start(1000);
    timer("second").then([&] { write(); }).start(2000);

    advance(1 * kHour);

    EXPECT_THAT(called(), ElementsAre("first", "pipe", "second", "pipe"));
    EXPECT_THAT(moments, ElementsAre(1 * kSecond, 2 * kSecond));
}

TEST_F(SimReal, DescriptorsThatStayReadyEndAnAdvance) {
    evlp_sim_watchReal(1);
    reader("pipe", in()).start();
    write();

    EXPECT_EQ("-1 ELOOP", advance(1 * kSecond));
}

TEST_F(SimReal, DescriptorsMustBeOpen) {
    evlp_sim_watchReal(1);

    EXPECT_EQ("-1 EBADF", outcome(reader("closed", 60000).start()));
    EXPECT_EQ("-1 EBADF", outcome(reader("closed", 999999).start()));
}

TEST_F(SimReal, DescriptorsAreNotTouchedBySetReady) {
    evlp_sim_watchReal(1);
    reader("pipe", in()).start();

    evlp_sim_setReady(in(), EVLP_READ);
    evlp_sim_pulse(in(), EVLP_READ);
    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimReal, DescriptorsStayRealAfterTheSwitchIsTurnedOff) {
    evlp_sim_watchReal(1);
    reader("pipe", in()).then([&] { read(); }).start();
    evlp_sim_watchReal(0);
    reader("number", 5).start();
    write();
    evlp_sim_pulse(5, EVLP_READ);

    advance(0);

    EXPECT_EQ(1, contexts.front().calls);
    EXPECT_EQ(1, contexts.back().calls);
}

TEST_F(SimReal, NumbersStaySimulatedAfterTheSwitchIsTurnedOn) {
    reader("number", in()).start();
    evlp_sim_watchReal(1);
    write();
    evlp_sim_pulse(in(), EVLP_READ);

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("number"));
}

TEST_F(SimReal, AContextIsOfTheKindThatWasChosenWhenItWasArmedLast) {
    Context& context = reader("descriptor", in());
    context.then([&] { read(); });
    context.start();
    context.stop();
    evlp_sim_watchReal(1);
    context.start();
    write();

    advance(0);

    EXPECT_THAT(called(), ElementsAre("descriptor"));
}

TEST_F(SimReal, DescriptorsThatAreStoppedAndClosedAreNotCalled) {
    evlp_sim_watchReal(1);
    Context& stopped = reader("stopped", in());
    stopped.start();
    stopped.stop();
    write();
    advance(0);
    EXPECT_THAT(called(), IsEmpty());

    stopped.start();
    stopped.close();
    advance(0);
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SimReal, DescriptorsMayChangeTheirModes) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    evlp_sim_watchReal(1);
    reader("reader", ends[0]).start();
    Context& writer = watcher("writer", ends[0], EVLP_WRITE);
    writer.then([&] { writer.stop(); });
    writer.start();

    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("writer"));
    close(ends[0]);
    close(ends[1]);
}

TEST_F(SimReal, DescriptorsEndTheWaitOfALoopThatRuns) {
    evlp_sim_watchReal(1);
    timer("not meanwhile").start(1);
    reader("pipe", in()).then([&] { evlp_stopThread(loop); }).start();
    std::thread writer([&] { write(); });

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    writer.join();
    EXPECT_THAT(called(), ElementsAre("pipe"));
    EXPECT_EQ(0, evlp_sim_now());  // time stands still
}

TEST_F(SimReal, StopFromAnotherThreadEndsTheWaitOfALoopThatRuns) {
    evlp_sim_watchReal(1);
    reader("pipe", in()).start();
    std::thread stopper([&] { evlp_stopThread(loop); });

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    stopper.join();
}

TEST_F(SimReal, DescriptorsThatWereClosedDoNotKeepALoopWaiting) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    evlp_sim_watchReal(1);
    Context& context = reader("pipe", ends[0]);
    context.start();
    context.close();
    close(ends[0]);
    close(ends[1]);

    EXPECT_EQ("-1 EDEADLK", outcome(evlp_startThread(loop)));
}

TEST_F(SimReal, DescriptorsThatAreGoneButAliveElsewhereAreShed) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    evlp_sim_watchReal(1);
    Context& gone = reader("gone", ends[0]);
    gone.start();
    const int duplicate = dup(ends[0]);
    close(ends[0]);
    reader("other", in()).then([&] { read(); }).start();
    evlp_sim_watchReal(0);
    reader("number", 5).start();
    ASSERT_EQ(1, ::write(ends[1], "x", 1));

    EXPECT_EQ("0", advance(1 * kSecond));  // after some calls
    called();
    write();
    evlp_sim_pulse(5, EVLP_READ);
    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ::testing::UnorderedElementsAre("other", "number"));
    close(duplicate);
    close(ends[1]);
}

TEST_F(SimReal, DescriptorsThatTheLoopHasForgottenDoNotKeepItWaiting) {
    const int fd = dup(in());
    evlp_sim_watchReal(1);
    reader("gone", fd).start();
    close(fd);
    EXPECT_EQ("-1 EBADF", outcome(reader("too late", fd).start()));

    EXPECT_EQ("-1 EDEADLK", outcome(evlp_startThread(loop)));
}

TEST_F(SimReal, DescriptorsThatTheLoopHasForgottenMakeRoomForSimulatedOnes) {
    const int fd = dup(in());
    evlp_sim_watchReal(1);
    reader("gone", fd).start();
    close(fd);
    EXPECT_EQ("-1 EBADF", outcome(reader("too late", fd).start()));
    evlp_sim_watchReal(0);
    reader("number", fd).start();

    evlp_sim_pulse(fd, EVLP_READ);
    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("number"));
}

TEST_F(SimReal, DescriptorsMayComeBackUnderTheirNumber) {
    const int fd = dup(in());
    evlp_sim_watchReal(1);
    Context& gone = reader("gone", fd);
    gone.start();
    close(fd);
    gone.close();  // which the system cannot be told
    ASSERT_EQ(fd, dup2(in(), fd));
    Context& again = reader("again", fd);
    again.then([&] { read(); });

    EXPECT_EQ("0", outcome(again.start()));
    write();
    EXPECT_EQ("0", advance(1 * kSecond));

    EXPECT_THAT(called(), ElementsAre("again"));
    again.close();
    close(fd);
}

TEST_F(SimReal, SignalsAreWaitedForByALoopThatRuns) {
    evlp_sim_watchReal(1);
    signal("signal", SIGUSR1).then([&] { evlp_stopThread(loop); }).start();
    timer("not meanwhile").start(1);
    std::thread sender([] { kill(getpid(), SIGUSR1); });

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    sender.join();
    EXPECT_THAT(called(), ElementsAre("signal"));
    EXPECT_EQ(0, evlp_sim_now());
}

TEST_F(SimReal, SignalsAreCaught) {
    evlp_sim_watchReal(1);
    Context& context = signal("signal", SIGUSR1);
    context.start();
    EXPECT_TRUE(isCaught(SIGUSR1));

    raise(SIGUSR1);
    advance(0);
    EXPECT_THAT(called(), ElementsAre("signal"));

    context.stop();
    EXPECT_FALSE(isCaught(SIGUSR1));
}

TEST_F(SimReal, SignalsCanBeRaisedVirtuallyToo) {
    evlp_sim_watchReal(1);
    signal("signal", SIGUSR1).start();

    evlp_sim_raise(SIGUSR1);
    advance(0);

    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(SimReal, SignalsEndTheWaitOfALoopThatRuns) {
    evlp_sim_watchReal(1);
    int left = 3;
    signal("signal", SIGUSR1)
        .then([&] { --left == 0 ? evlp_stopThread(loop) : kill(getpid(), SIGUSR1); })
        .start();
    timer("not meanwhile").start(1);
    kill(getpid(), SIGUSR1);

    EXPECT_EQ("0", outcome(evlp_startThread(loop)));

    EXPECT_THAT(called(), ElementsAre("signal", "signal", "signal"));
}

TEST_F(SimReal, SignalsBesideSimulatedOnesOfTheSameNumberAreCaughtUntilTheLastStop) {
    Context& simulated = signal("simulated", SIGUSR1);
    simulated.start();
    EXPECT_FALSE(isCaught(SIGUSR1));
    evlp_sim_watchReal(1);
    Context& real = signal("real", SIGUSR1);
    real.start();
    EXPECT_TRUE(isCaught(SIGUSR1));

    raise(SIGUSR1);
    advance(0);
    EXPECT_THAT(called(), ElementsAre("simulated", "real"));

    simulated.stop();
    EXPECT_TRUE(isCaught(SIGUSR1));
    real.stop();
    EXPECT_FALSE(isCaught(SIGUSR1));
}

}  // namespace
