// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <atomic>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "evlp/evlp.h"

#include "support/evlp_loop.h"

namespace {

std::atomic<int> foreignCalls{0};

class SignalTest : public LoopTest {
  protected:
    SignalTest() { foreignCalls = 0; }

    static struct sigaction present(int signum) {
        struct sigaction result = {};
        EXPECT_EQ(0, sigaction(signum, nullptr, &result));
        return result;
    }

    /** The handler that the application had before. */
    static void useForeignHandler(int signum) {
        struct sigaction foreign = {};
        foreign.sa_handler = [](int) { ++foreignCalls; };
        sigaction(signum, &foreign, nullptr);
    }

    static void useDefault(int signum) {
        struct sigaction none = {};
        none.sa_handler = SIG_DFL;
        sigaction(signum, &none, nullptr);
    }

    /** Runs `body` in a child. @return its wait status */
    template <typename Body>
    static int inChild(Body body) {
        const pid_t child = fork();
        if (child == 0) {
            body();
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        return status;
    }
};

class SignalOpen : public SignalTest {};
class SignalArrived : public SignalTest {};
class SignalStop : public SignalTest {};
class SignalDisposition : public SignalTest {};
class SignalOnSeveralLoops : public SignalTest {};
class SignalInAChild : public SignalTest {};

TEST_F(SignalOpen, RefusesWhatCannotBeCaught) {
    for (const int signum : {0, -1, 65, 1000, SIGKILL, SIGSTOP, 32}) {
        EXPECT_EQ(nullptr, sig_openCtx(loop, Context::onEvent, nullptr, signum, 8)) << signum;
        EXPECT_EQ(EINVAL, errno);
    }
}

TEST_F(SignalOpen, AcceptsRealTimeSignals) {
    signal("first", SIGRTMIN).start();
    signal("next to last", SIGRTMAX - 1).start();
    raise(SIGRTMAX - 1);
    raise(SIGRTMIN);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("first", "next to last"));
}

TEST_F(SignalOpen, AcceptsTheLastSignalThereIs) {
    if (signal("last", 64).start() < 0) {
        GTEST_SKIP() << "a debugging tool keeps it for itself";
    }
    raise(64);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("last"));
}

TEST_F(SignalOpen, AcceptsSignalsOfEveryNumber) {
    for (int signum = 1; signum != 65; ++signum) {
        struct sigaction unused = {};
        const bool free =
            sigaction(signum, nullptr, &unused) == 0 && signum != SIGKILL && signum != SIGSTOP;
        evlp_ctx_str* const ctx = sig_openCtx(loop, Context::onEvent, nullptr, signum, 8);
        EXPECT_EQ(free, ctx != nullptr) << signum;
        sig_closeCtx(ctx);
    }
}

TEST_F(SignalOpen, ChangesNoDisposition) {
    signal("signal", SIGUSR1);

    EXPECT_EQ(SIG_DFL, present(SIGUSR1).sa_handler);
}

TEST_F(SignalArrived, CallsInTheNextTurn) {
    signal("signal", SIGUSR1).start();
    raise(SIGUSR1);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(SignalArrived, EndsTheWait) {
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.then([&] { stop(); }).start();
    kernel::beforeWait([](int) { raise(SIGUSR1); });

    run();

    EXPECT_EQ(1, kernel::calls.waits);
}

TEST_F(SignalArrived, StaysArmed) {
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.start();
    for (int i = 0; i != 3; ++i) {
        raise(SIGUSR1);
        runTurns(1);
    }

    EXPECT_EQ(3, usr1.calls);
}

TEST_F(SignalArrived, SeveralTimesCallsOnce) {
    signal("signal", SIGUSR1).start();
    raise(SIGUSR1);
    raise(SIGUSR1);
    raise(SIGUSR1);

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(SignalArrived, CallsEveryContextInTheOrderOfStarting) {
    signal("first", SIGUSR1).start();
    signal("another", SIGUSR2).start();
    signal("second", SIGUSR1).start();
    signal("urgent", SIGUSR1, 0).start();
    raise(SIGUSR1);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("urgent", "first", "second"));
}

TEST_F(SignalArrived, InACallbackCallsInTheNextTurn) {
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.then([&] {
            if (usr1.calls == 1) {
                raise(SIGUSR1);
            }
        })
        .start();
    dueTimer("tick");
    raise(SIGUSR1);

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("signal", "tick", "signal"));
}

TEST_F(SignalArrived, LeavesErrnoAlone) {
    signal("signal", SIGUSR1).start();
    errno = 4711;
    raise(SIGUSR1);

    EXPECT_EQ(4711, errno);
}

TEST_F(SignalArrived, OnAThreadThatRunsNoLoopCallsOnTheLoop) {
    kernel::reset();
    const std::thread::id loopThread = std::this_thread::get_id();
    std::thread::id calledOn;
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.then([&] {
            calledOn = std::this_thread::get_id();
            stop();
        })
        .start();
    std::thread other([] { raise(SIGUSR1); });

    run();

    other.join();
    EXPECT_EQ(loopThread, calledOn);
}

TEST_F(SignalArrived, ForAContextStartedAgainInTheSameTurnIsForgotten) {
    Context& later = signal("later", SIGUSR1, 9);
    later.start();
    signal("first", SIGUSR1, 1).then([&] { later.start(); }).start();
    raise(SIGUSR1);

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(SignalStop, KeepsTheContextFromBeingCalled) {
    Context& usr1 = signal("signal", SIGUSR1);
    signal("other", SIGUSR1).start();
    usr1.start();
    EXPECT_EQ(0, usr1.stop());
    EXPECT_EQ(0, usr1.stop());
    raise(SIGUSR1);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("other"));
}

TEST_F(SignalStop, ForgetsWhatHasArrivedBefore) {
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.start();
    raise(SIGUSR1);
    usr1.stop();
    usr1.start();

    runTurns(2);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(SignalStop, ReachesAContextFoundReadyInTheSameTurn) {
    Context& later = signal("later", SIGUSR1, 9);
    later.start();
    signal("first", SIGUSR1, 1).then([&] { later.stop(); }).start();
    raise(SIGUSR1);

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(SignalStop, InItsOwnCallbackIsSafeAndSoIsClose) {
    Context& stops = signal("stops", SIGUSR1);
    stops.then([&] { stops.stop(); }).start();
    Context& closes = signal("closes", SIGUSR1);
    closes.then([&] { closes.close(); }).start();
    signal("stays", SIGUSR1).start();
    raise(SIGUSR1);
    runTurns(1);
    raise(SIGUSR1);
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("stops", "closes", "stays", "stays"));
}

TEST_F(SignalDisposition, ComesBackWithTheLastStop) {
    useForeignHandler(SIGUSR1);
    Context& first = signal("first", SIGUSR1);
    Context& second = signal("second", SIGUSR1);
    first.start();
    first.start();
    second.start();
    raise(SIGUSR1);
    EXPECT_EQ(0, foreignCalls);

    first.stop();
    raise(SIGUSR1);
    EXPECT_EQ(0, foreignCalls);

    second.close();
    raise(SIGUSR1);
    EXPECT_EQ(1, foreignCalls);
    useDefault(SIGUSR1);
}

TEST_F(SignalDisposition, ThatCannotBeSuspendedMakesTheStartFail) {
    Context& usr1 = signal("signal", SIGUSR1);
    kernel::failNextHandler(EINVAL);

    EXPECT_EQ(-1, usr1.start());
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(SIG_DFL, present(SIGUSR1).sa_handler);

    EXPECT_EQ(0, usr1.start());
    raise(SIGUSR1);
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(SignalDisposition, ComesBackWhenTheLoopIsClosed) {
    useForeignHandler(SIGUSR1);
    signal("signal", SIGUSR1).start();

    evlp_closeThread(loop);
    loop = nullptr;

    raise(SIGUSR1);
    EXPECT_EQ(1, foreignCalls);
    useDefault(SIGUSR1);
}

TEST_F(SignalDisposition, OfAnIgnoredSignalIsSuspendedToo) {
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    sigaction(SIGUSR1, &ignored, nullptr);
    Context& usr1 = signal("signal", SIGUSR1);
    usr1.start();
    raise(SIGUSR1);

    runTurns(1);
    usr1.stop();

    EXPECT_THAT(called(), ElementsAre("signal"));
    EXPECT_EQ(SIG_IGN, present(SIGUSR1).sa_handler);
    useDefault(SIGUSR1);
}

TEST_F(SignalDisposition, LetsSystemCallsGoOn) {
    signal("signal", SIGUSR1).start();

    EXPECT_NE(0, present(SIGUSR1).sa_flags & SA_RESTART);
}

TEST_F(SignalDisposition, LeavesTheSignalMaskAlone) {
    sigset_t before;
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    signal("signal", SIGUSR1).start();
    raise(SIGUSR1);
    runTurns(1);
    pthread_sigmask(SIG_SETMASK, nullptr, &after);

    for (int signum = 1; signum != 65; ++signum) {
        EXPECT_EQ(sigismember(&before, signum), sigismember(&after, signum)) << signum;
    }
}

TEST_F(SignalOnSeveralLoops, IsCalledOnEach) {
    kernel::reset();
    std::atomic<bool> ready{false};
    std::vector<std::string> otherLog;
    std::thread other([&] {
        evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 0, 0, 0, 0);
        Context context("other", &otherLog, Context::Kind::Signal);
        context.handle = sig_openCtx(own, Context::onEvent, &context, SIGUSR1, 8);
        context.then([&] { evlp_stopThread(own); }).start();
        ready = true;
        EXPECT_EQ(0, evlp_startThread(own));
        context.close();
        EXPECT_EQ(0, evlp_closeThread(own));
    });
    signal("signal", SIGUSR1).then([&] { stop(); }).start();
    while (!ready) {
        std::this_thread::yield();
    }

    kill(getpid(), SIGUSR1);
    run();
    other.join();

    EXPECT_THAT(called(), ElementsAre("signal"));
    EXPECT_THAT(otherLog, ElementsAre("other"));
}

TEST_F(SignalOnSeveralLoops, WakesOnlyThoseThatListen) {
    evlp_thread_str* const other = evlp_openThreadInt("other", 0, 0, 0, 0, 0, 0);
    Context& elsewhere = contexts.emplace_back("elsewhere", &log, Context::Kind::Signal);
    elsewhere.handle = sig_openCtx(other, Context::onEvent, &elsewhere, SIGUSR2, 8);
    elsewhere.start();
    signal("here", SIGUSR1).start();
    raise(SIGUSR1);

    runTurns(1);
    evlp_stopThread(other);
    EXPECT_EQ(0, evlp_startThread(other));

    EXPECT_THAT(called(), ElementsAre("here"));
    elsewhere.close();
    evlp_closeThread(other);
}

TEST_F(SignalOnSeveralLoops, MayArriveWhileLoopsComeAndGo) {
    kernel::reset();
    useForeignHandler(SIGUSR1);
    std::atomic<bool> done{false};
    std::thread sender([&] {
        while (!done) {
            kill(getpid(), SIGUSR1);
            raise(SIGUSR1);
        }
    });
    int calls = 0;

    for (int i = 0; i != 300; ++i) {
        evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 0, 0, 0, 0);
        std::vector<std::string> ownLog;
        Context context("own", &ownLog, Context::Kind::Signal);
        context.handle = sig_openCtx(own, Context::onEvent, &context, SIGUSR1, 8);
        context.then([&] { evlp_stopThread(own); }).start();
        EXPECT_EQ(0, evlp_startThread(own));
        calls += context.calls;
        context.close();
        EXPECT_EQ(0, evlp_closeThread(own));
    }

    done = true;
    sender.join();
    EXPECT_EQ(300, calls);
    useDefault(SIGUSR1);
}

TEST_F(SignalInAChild, HasItsFormerDispositionThereAndWakesNoLoopOfTheParent) {
    Context& term = signal("signal", SIGTERM);
    term.start();

    const int status = inChild([] { raise(SIGTERM); });

    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGTERM, WTERMSIG(status));
    runFor(10);
    EXPECT_THAT(called(), IsEmpty());

    raise(SIGTERM);  // still caught here
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(SignalInAChild, ReachesAFormerHandler) {
    useForeignHandler(SIGUSR1);
    signal("signal", SIGUSR1).start();

    const int status = inChild([] {
        raise(SIGUSR1);
        _exit(foreignCalls == 1 ? 17 : 18);
    });

    EXPECT_EQ(17, WEXITSTATUS(status));
    contexts.clear();
    useDefault(SIGUSR1);
}

TEST_F(SignalInAChild, ReachesTheLoopThatTheChildRuns) {
    // A daemon forks once it is set up, and the parent exits.
    signal("signal", SIGUSR1).start();

    const int status = inChild([&] {
        kernel::beforeWait([this](int number) {
            if (number == 1) {
                raise(SIGUSR1);
            } else {
                evlp_stopThread(loop);
            }
        });
        evlp_startThread(loop);
        _exit(log.size() == 1 ? 17 : 18);
    });

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(17, WEXITSTATUS(status));
}

TEST_F(SignalInAChild, ReachesALoopOfItsOwnAndNoneOfTheParent) {
    signal("signal", SIGUSR1).start();

    const int status = inChild([] {
        std::vector<std::string> ownLog;
        evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 0, 0, 0, 0);
        Context context("own", &ownLog, Context::Kind::Signal);
        context.handle = sig_openCtx(own, Context::onEvent, &context, SIGUSR1, 8);
        context.then([&] { evlp_stopThread(own); }).start();
        raise(SIGUSR1);
        evlp_startThread(own);
        _exit(context.calls == 1 ? 17 : 18);
    });

    EXPECT_EQ(17, WEXITSTATUS(status));
    runFor(10);
    EXPECT_THAT(called(), IsEmpty());
}

}  // namespace
