// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/evlp_loop.h"

#include <algorithm>
#include <atomic>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "evlp/evlp.h"

namespace {

class LoopStart : public LoopTest {};
class LoopStop : public LoopTest {};
class LoopClose : public LoopTest {};
class LoopOrder : public LoopTest {};
class LoopWait : public LoopTest {};
class LoopResources : public LoopTest {};
class Contexts : public LoopTest {};
class OldKernel : public LoopTest, public ::testing::WithParamInterface<int> {};

TEST_F(LoopStart, RefusesNull) {
    EXPECT_EQ(-1, evlp_startThread(nullptr));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(LoopStart, IsRefusedInACallbackOfTheSameLoop) {
    dueTimer("tick").then([&] {
        EXPECT_EQ(-1, evlp_startThread(loop));
        EXPECT_EQ(EBUSY, errno);
        stop();
    });

    run();

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(LoopStart, IsRefusedOnASecondThread) {
    dueTimer("tick").then([&] {
        std::thread([&] {
            EXPECT_EQ(-1, evlp_startThread(loop));
            EXPECT_EQ(EBUSY, errno);
        }).join();
        stop();
    });

    run();
}

TEST_F(LoopStart, OfAnotherLoopIsPossibleInACallback) {
    evlp_thread_str* const inner = evlp_openThreadInt("inner", 0, 0, 0, 0, 0, 0);
    evlp_stopThread(inner);
    dueTimer("tick").then([&] {
        EXPECT_EQ(0, evlp_startThread(inner));
        stop();
    });

    run();
    EXPECT_EQ(0, evlp_closeThread(inner));
}

TEST_F(LoopStart, MayFollowAStop) {
    Context& tick = timer("tick").then([&] { stop(); });
    for (int i = 0; i != 3; ++i) {
        tick.start(10);
        run();
    }

    EXPECT_EQ(3, tick.calls);
}

TEST_F(LoopStart, RunsWhileNothingIsArmed) {
    kernel::reset();  // real waits
    std::atomic<bool> waits{false};
    kernel::beforeWait([&](int) { waits = true; });
    std::thread stopper([&] {
        while (!waits) {
            std::this_thread::yield();
        }
        stop();
    });

    run();

    stopper.join();
    EXPECT_TRUE(waits);
}

TEST_F(LoopStop, RefusesNull) {
    EXPECT_EQ(-1, evlp_stopThread(nullptr));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(LoopStop, BeforeTheStartIsKept) {
    dueTimer("tick");
    stop();

    run();
    EXPECT_THAT(called(), IsEmpty());

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(LoopStop, LetsTheTurnFinish) {
    dueTimer("first").then([&] { stop(); });
    dueTimer("second");
    Pair pair;
    pair.send();
    reader("third", pair.near).start();

    run();

    EXPECT_THAT(called(), ElementsAre("first", "second", "third"));
}

TEST_F(LoopStop, TwiceInOneTurnStopsOnce) {
    Context& tick = timer("tick");
    tick.then([&] {
        stop();
        stop();
    });
    tick.start(1);
    run();

    tick.start(1);
    run();

    EXPECT_EQ(2, tick.calls);
}

TEST_F(LoopStop, FromASignalHandlerEndsTheWait) {
    kernel::reset();
    static evlp_thread_str* stopped = nullptr;
    stopped = loop;
    struct sigaction ours = {};
    struct sigaction before = {};
    ours.sa_handler = [](int) {
        errno = 0;
        evlp_stopThread(stopped);
        if (errno != 0) {
            abort();
        }
    };
    sigaction(SIGUSR2, &ours, &before);
    kernel::beforeWait([](int) { raise(SIGUSR2); });

    run();

    sigaction(SIGUSR2, &before, nullptr);
    EXPECT_EQ(1, kernel::calls.waits);
}

TEST_F(LoopStop, LeavesErrnoAlone) {
    errno = 4711;
    stop();

    EXPECT_EQ(4711, errno);
}

TEST_F(LoopClose, RefusesNull) {
    EXPECT_EQ(-1, evlp_closeThread(nullptr));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(LoopClose, IsRefusedWhileTheLoopRuns) {
    dueTimer("tick").then([&] {
        EXPECT_EQ(-1, evlp_closeThread(loop));
        EXPECT_EQ(EBUSY, errno);
        stop();
    });

    run();
}

TEST_F(LoopClose, LeavesOpenContextsValidButDisarmed) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    Context& idle = reader("idle", pair.near);
    Context& lazy = writer("lazy", pair.near);
    Context& tick = timer("tick");
    Context& usr1 = signal("signal", SIGUSR1);
    readable.start();
    idle.start(100);
    lazy.start();
    lazy.stop();
    tick.start(100);
    usr1.start();
    timer("never armed");

    EXPECT_EQ(0, evlp_closeThread(loop));
    loop = nullptr;

    for (Context& context : contexts) {
        EXPECT_EQ(-1, context.start(1));
        EXPECT_EQ(EINVAL, errno);
        EXPECT_EQ(0, context.stop());
        EXPECT_EQ(0, context.close());
    }
    struct sigaction present = {};
    sigaction(SIGUSR1, nullptr, &present);
    EXPECT_EQ(SIG_DFL, present.sa_handler);
}

TEST_F(LoopOrder, OfOnePriorityIsSignalsThenTimersThenDescriptors) {
    Pair pair;
    pair.send();
    reader("descriptor", pair.near).start();
    dueTimer("timer");
    signal("signal", SIGUSR1).start();
    raise(SIGUSR1);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("signal", "timer", "descriptor"));
}

TEST_F(LoopOrder, PutsPriorityBeforeKind) {
    Pair pair;
    pair.send();
    reader("descriptor", pair.near, 31).start();
    dueTimer("timer", 32);
    signal("signal", SIGUSR1, 33).start();
    raise(SIGUSR1);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("descriptor", "timer", "signal"));
}

TEST_F(LoopOrder, CallsEveryContextOnceInATurn) {
    Context& first = timer("first");
    Context& second = timer("second");
    first.then([&] { second.start(0); }).start(0);
    second.then([&] { first.start(0); }).start(0);

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("first"));  // the second was armed anew

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("second"));
}

TEST_F(LoopWait, InterruptedBySignalsIsNoError) {
    kernel::failNextWait(EINTR);
    timer("tick").start(10);

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_F(LoopWait, RefusedByTheKernelEndsTheLoop) {
    kernel::failWaits(EBADF);
    timer("tick").start(10);

    EXPECT_EQ(-1, evlp_startThread(loop));
    EXPECT_EQ(EBADF, errno);

    kernel::failWaits(0);
    runFor(10);
    EXPECT_THAT(called(), ElementsAre("tick"));
}

TEST_P(OldKernel, IsAskedForPreciseWaitsOnce) {
    kernel::refusePreciseWait(GetParam());
    Context& tick = timer("tick");
    tick.then([&] { tick.start(10); }).start(10);

    runFor(95);

    EXPECT_EQ(9, tick.calls);
    EXPECT_EQ(1, kernel::calls.preciseTries);
    EXPECT_EQ(kernel::calls.waits, kernel::calls.millisWaits);
}

TEST_P(OldKernel, MakesNoTimerEarly) {
    kernel::refusePreciseWait(GetParam());
    kernel::advanceNs(300000);
    int64_t firedAtNs = 0;
    timer("tick").then([&] { firedAtNs = kernel::nowNs(); }).start(10);

    runFor(20);

    EXPECT_EQ(1000011300000, firedAtNs);  // due at 11 ms, waited for 11
}

TEST_P(OldKernel, ReportsDescriptors) {
    kernel::refusePreciseWait(GetParam());
    Pair pair;
    pair.send();
    reader("reader", pair.near).start();

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("reader", "reader"));
}

INSTANTIATE_TEST_SUITE_P(AllRefusals, OldKernel, ::testing::Values(ENOSYS, EPERM, EOPNOTSUPP));

TEST_F(LoopResources, AreTwoDescriptorsClosedOnExec) {
    const std::vector<int> before = openDescriptors();
    evlp_thread_str* const other = evlp_openThreadInt("other", 0, 0, 32, 10, 255, 10);
    const std::vector<int> during = openDescriptors();

    EXPECT_EQ(before.size() + 2, during.size());
    for (const int fd : during) {
        if (std::find(before.begin(), before.end(), fd) == before.end()) {
            EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
        }
    }
    EXPECT_EQ(0, evlp_closeThread(other));
    EXPECT_EQ(before, openDescriptors());
}

TEST_F(LoopResources, MissingDescriptorsMakeAnOpenFailWithoutALeak) {
    const std::vector<int> before = openDescriptors();
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    // Room for none, then for one of the two.
    for (int room = 0; room != 2; ++room) {
        const int next = dup(0);
        close(next);
        const rlimit tight = {static_cast<rlim_t>(next + room), limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &tight);
        evlp_thread_str* const refused = evlp_openThreadInt("refused", 0, 0, 0, 0, 0, 0);
        const int error = errno;
        setrlimit(RLIMIT_NOFILE, &limit);

        EXPECT_EQ(nullptr, refused);
        EXPECT_EQ(EMFILE, error);
        EXPECT_EQ(before, openDescriptors());
    }
}

TEST_F(LoopResources, RefusedByTheKernelMakeAnOpenFailWithoutALeak) {
    const std::vector<int> before = openDescriptors();
    kernel::failNextWakeup(ENOSPC);

    EXPECT_EQ(nullptr, evlp_openThreadInt("refused", 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(before, openDescriptors());
}

TEST_F(LoopResources, NameIsCopiedAndMayBeLongOrMissing) {
    const std::string name(1000, 'n');
    evlp_thread_str* const named = evlp_openThreadInt(name.c_str(), 0, 0, 0, 0, 0, 0);
    evlp_thread_str* const nameless = evlp_openThreadInt(nullptr, 0, 0, 0, 0, 0, 0);

    EXPECT_EQ(0, evlp_closeThread(named));
    EXPECT_EQ(0, evlp_closeThread(nameless));
}

TEST_F(LoopResources, AreIndependentOfOtherLoops) {
    kernel::reset();
    std::atomic<int> running{0};
    const auto runLoop = [&] {
        evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 0, 0, 0, 0);
        struct State {
            evlp_thread_str* loop;
            evlp_ctx_str* tick;
            int left;
        } state = {own, nullptr, 1000};
        state.tick = timer_openCtx(
            own,
            [](void* user) {
                auto* const self = static_cast<State*>(user);
                if (--self->left == 0) {
                    evlp_stopThread(self->loop);
                } else {
                    timer_startCtx(self->tick, 0);
                }
            },
            &state, 0, 8);
        timer_startCtx(state.tick, 0);
        ++running;
        EXPECT_EQ(0, evlp_startThread(own));
        EXPECT_EQ(0, state.left);
        timer_closeCtx(state.tick);
        EXPECT_EQ(0, evlp_closeThread(own));
    };

    std::thread other(runLoop);
    runLoop();
    other.join();

    EXPECT_EQ(2, running);
}

TEST_F(Contexts, RefuseNullAndWhatIsOfAnotherKind) {
    Context& tick = timer("tick");
    Context& readable = reader("reader", 0);

    EXPECT_EQ(-1, fd_startCtx(nullptr, -1));
    EXPECT_EQ(-1, fd_stopCtx(nullptr));
    EXPECT_EQ(-1, fd_closeCtx(nullptr));
    EXPECT_EQ(-1, timer_startCtx(nullptr, 1));
    EXPECT_EQ(-1, timer_stopCtx(nullptr));
    EXPECT_EQ(-1, timer_closeCtx(nullptr));
    EXPECT_EQ(-1, sig_startCtx(nullptr));
    EXPECT_EQ(-1, sig_stopCtx(nullptr));
    EXPECT_EQ(-1, sig_closeCtx(nullptr));
    EXPECT_EQ(-1, fd_startCtx(tick.handle, -1));
    EXPECT_EQ(-1, fd_stopCtx(tick.handle));
    EXPECT_EQ(-1, fd_closeCtx(tick.handle));
    EXPECT_EQ(-1, timer_startCtx(readable.handle, 1));
    EXPECT_EQ(-1, timer_closeCtx(readable.handle));
    EXPECT_EQ(-1, sig_startCtx(readable.handle));
    EXPECT_EQ(-1, sig_closeCtx(readable.handle));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(Contexts, AreRefusedWithoutALoopOrFunction) {
    EXPECT_EQ(nullptr, timer_openCtx(nullptr, Context::onEvent, nullptr, 0, 8));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(nullptr, timer_openCtx(loop, nullptr, nullptr, 0, 8));
    EXPECT_EQ(nullptr, sig_openCtx(nullptr, Context::onEvent, nullptr, SIGUSR1, 8));
    EXPECT_EQ(nullptr, sig_openCtx(loop, nullptr, nullptr, SIGUSR1, 8));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(Contexts, OfEveryKindMayBeClosedByAnyOther) {
    // The first to be called closes all that are ready with it.
    for (int first = 0; first != 3; ++first) {
        Pair pair;
        pair.send();
        Context& tick = timer("timer", first == 0 ? 0 : 8);
        Context& readable = reader("descriptor", pair.near, first == 1 ? 0 : 8);
        Context& usr1 = signal("signal", SIGUSR1, first == 2 ? 0 : 8);
        for (Context* context : {&tick, &readable, &usr1}) {
            context->then([&] {
                tick.close();
                readable.close();
                usr1.close();
            });
            context->start(context == &tick ? 0 : -1);
        }
        raise(SIGUSR1);

        runTurns(1);

        EXPECT_EQ(1u, called().size());
    }
}

TEST_F(Contexts, OfEveryKindMayBeStoppedByAnyOther) {
    for (int first = 0; first != 3; ++first) {
        Pair pair;
        pair.send();
        Context& tick = timer("timer", first == 0 ? 0 : 8);
        Context& readable = reader("descriptor", pair.near, first == 1 ? 0 : 8);
        Context& usr1 = signal("signal", SIGUSR1, first == 2 ? 0 : 8);
        for (Context* context : {&tick, &readable, &usr1}) {
            context->then([&] {
                tick.stop();
                readable.stop();
                usr1.stop();
            });
            context->start(context == &tick ? 0 : -1);
        }
        signal("keeps the handler", SIGUSR1).then([] {}).start();
        raise(SIGUSR1);

        runTurns(1);

        EXPECT_EQ(2u, called().size());
        contexts.clear();
    }
}

TEST_F(Contexts, HandBackWhatTheyWereGiven) {
    int given = 0;
    evlp_ctx_str* const tick = timer_openCtx(
        loop, [](void* user) { *static_cast<int*>(user) = 7; }, &given, 0, 8);
    timer_startCtx(tick, 0);

    runTurns(1);
    timer_closeCtx(tick);

    EXPECT_EQ(7, given);
}

}  // namespace
