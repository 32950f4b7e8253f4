// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <signal.h>
#include <stdint.h>
#include <unistd.h>
#include <vector>

#include "evlp/evlp.h"

#include "support/evlp_loop.h"

namespace {

class FdOpen : public LoopTest {};
class FdStart : public LoopTest {};
class FdStop : public LoopTest {};
class FdClose : public LoopTest {};
class FdReady : public LoopTest {};
class FdIdle : public LoopTest {};
class FdShared : public LoopTest {};
class FdCost : public LoopTest {};

/** A descriptor that was closed although its context is open. */
class FdGone : public LoopTest {
  protected:
    /** Closes `near` of the pair and opens `other` under its number. */
    static void replaceNear(Pair& pair, Pair& other) {
        ASSERT_EQ(pair.near, dup2(other.near, pair.near));
        close(other.near);
        other.near = pair.near;
        pair.near = -1;
    }
};

TEST_F(FdOpen, RefusesWhatIsNoDescriptorOrNoMode) {
    const evlp_fd_fn fn = Context::onDescriptor;

    EXPECT_EQ(nullptr, fd_openCtx(nullptr, fn, nullptr, 0, EVLP_READ, 8));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(nullptr, fd_openCtx(loop, nullptr, nullptr, 0, EVLP_READ, 8));
    EXPECT_EQ(nullptr, fd_openCtx(loop, fn, nullptr, -1, EVLP_READ, 8));
    EXPECT_EQ(nullptr, fd_openCtx(loop, fn, nullptr, 0, 0, 8));
    EXPECT_EQ(nullptr, fd_openCtx(loop, fn, nullptr, 0, 4, 8));
    EXPECT_EQ(EINVAL, errno);
}

TEST_F(FdStart, RefusesARegularFile) {
    const int fd = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    Context& file = reader("file", fd);

    EXPECT_EQ(-1, file.start());
    EXPECT_EQ(EPERM, errno);
    EXPECT_EQ(0, file.close());
    close(fd);
}

TEST_F(FdStart, RefusesADirectory) {
    const int fd = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Context& directory = reader("directory", fd);

    EXPECT_EQ(-1, directory.start());
    EXPECT_EQ(EPERM, errno);
    directory.close();
    close(fd);
}

TEST_F(FdStart, RefusesAClosedDescriptor) {
    Context& closed = reader("closed", 999);

    EXPECT_EQ(-1, closed.start());
    EXPECT_EQ(EBADF, errno);
}

TEST_F(FdStart, RefusesAClosedDescriptorOfAnyNumberWithoutATableUpToIt) {
    Context& closed = reader("closed", INT32_MAX);

    EXPECT_EQ(-1, closed.start());
    EXPECT_EQ(EBADF, errno);
}

TEST_F(FdStart, ThatFailsLeavesTheContextDisarmed) {
    const int fd = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    Context& file = reader("file", fd);
    EXPECT_EQ(-1, file.start(10));

    runFor(100);  // no idle time-out either
    file.close();
    close(fd);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(FdStart, ThatFailsLeavesOtherContextsArmed) {
    Pair pair;
    pair.send();
    reader("reader", pair.near).start();
    kernel::failNextAddition(ENOSPC);
    Pair other;
    Context& refused = reader("refused", other.near);

    EXPECT_EQ(-1, refused.start());
    EXPECT_EQ(ENOSPC, errno);

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdStart, AcceptsDescriptorsOfHighNumbers) {
    Pair pair;
    pair.send();
    const int high = fcntl(pair.near, F_DUPFD_CLOEXEC, 900);
    ASSERT_LE(900, high);
    Context& context = reader("high", high);
    EXPECT_EQ(0, context.start());

    runTurns(1);
    context.close();
    close(high);

    EXPECT_THAT(called(), ElementsAre("high"));
    EXPECT_EQ(high, context.lastFd);
}

TEST_F(FdStart, OfAContextFoundReadyForgetsTheOldReadiness) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.start();
    dueTimer("first").then([&] {
        pair.drain();
        EXPECT_EQ(0, readable.start());
    });

    runTurns(2);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(FdReady, CallsWithTheDescriptor) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.start();

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader"));
    EXPECT_EQ(pair.near, readable.lastFd);
}

TEST_F(FdReady, CallsInEveryTurnUntilTheCauseIsGone) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.then([&] {
        if (readable.calls == 3) {
            pair.drain();
        }
    });
    readable.start();

    runFor(100);

    EXPECT_EQ(3, readable.calls);
}

TEST_F(FdReady, MeansRoomForAWriter) {
    Pair pair;
    pair.fill();
    Context& writable = writer("writer", pair.near);
    writable.start();

    runFor(10);
    EXPECT_THAT(called(), IsEmpty());

    Pair other;
    writer("other", other.near).start();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("other"));
}

TEST_F(FdReady, MeansEitherForAContextOfBothModes) {
    Pair pair;
    Context& both = watcher("both", pair.near, EVLP_READ | EVLP_WRITE);
    both.start();

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("both"));

    pair.fill();
    pair.send();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("both"));
}

TEST_F(FdReady, IncludesAHangUpForAReader) {
    Pair pair;
    reader("reader", pair.near).start();
    pair.closeFar();

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdReady, IncludesAnErrorForAWriter) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    const char bytes[4096] = {};
    while (write(ends[1], bytes, sizeof bytes) > 0) {
    }
    Context& writable = writer("writer", ends[1]);
    writable.start();
    close(ends[0]);

    runTurns(1);
    writable.close();
    close(ends[1]);

    EXPECT_THAT(called(), ElementsAre("writer"));
}

TEST_F(FdReady, IncludesAnErrorForAReaderThatCannotRead) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    Context& readable = reader("reader", ends[1]);
    readable.start();
    close(ends[0]);

    runTurns(1);
    readable.close();
    close(ends[1]);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdReady, DoesNotSpinOnAHangUpThatNobodyWatches) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.then([&] { readable.stop(); });
    readable.start();
    pair.closeFar();

    runFor(1000);

    EXPECT_THAT(called(), ElementsAre("reader"));
    EXPECT_EQ(2, kernel::calls.waits);
}

TEST_F(FdReady, GoesByPriority) {
    Pair pairs[3];
    const int priorities[] = {200, 0, 8};
    const char* const names[] = {"last", "first", "middle"};
    for (int i = 0; i != 3; ++i) {
        pairs[i].send();
        reader(names[i], pairs[i].near, priorities[i]).start();
    }

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("first", "middle", "last"));
}

TEST_F(FdReady, ReachesAllOfMoreDescriptorsThanOneWaitReports) {
    std::vector<std::unique_ptr<Pair>> pairs;
    for (int i = 0; i != 200; ++i) {
        pairs.push_back(std::make_unique<Pair>());
        pairs.back()->send();
        reader("", pairs.back()->near).start();
    }

    runTurns(4);  // 64, 128, and then all of them in every turn
    EXPECT_GE(called().size(), 200u + 192u);
    for (const Context& context : contexts) {
        EXPECT_LT(0, context.calls);
    }
}

TEST_F(FdStop, KeepsTheContextFromBeingCalled) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();

    EXPECT_EQ(0, readable.stop());
    EXPECT_EQ(0, readable.stop());
    pair.send();
    runFor(10);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(FdStop, ReachesAContextFoundReadyInTheSameTurn) {
    Pair first;
    Pair second;
    first.send();
    second.send();
    Context& later = reader("later", second.near, 9);
    later.start();
    Context& earlier = reader("first", first.near, 1);
    earlier.then([&] {
        later.stop();
        earlier.stop();
    });
    earlier.start();

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(FdStop, InTheContextsOwnCallbackEndsTheCalls) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.then([&] { readable.stop(); });
    readable.start();

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdStop, CanBeUndoneByAnotherStart) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.start();
    readable.stop();
    runFor(10);

    readable.start();
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdClose, InTheContextsOwnCallbackIsSafe) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.then([&] { EXPECT_EQ(0, readable.close()); });
    readable.start(100);

    runFor(1000);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdClose, ReachesAContextFoundReadyInTheSameTurn) {
    Pair pair;
    pair.send();
    Context& later = reader("later", pair.near);
    later.start();
    dueTimer("first").then([&] { EXPECT_EQ(0, later.close()); });

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(FdClose, InASignalCallbackReachesAReadyTimerAndDescriptor) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.start();
    Context& tick = dueTimer("tick");
    signal("signal", SIGUSR1)
        .then([&] {
            readable.close();
            tick.close();
        })
        .start();
    raise(SIGUSR1);

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("signal"));
}

TEST_F(FdClose, TakesTheReadinessAlongWhenTheNumberIsUsedAgainInTheSameTurn) {
    Pair old;
    Pair fresh;
    old.send();
    const int number = old.near;
    Context& gone = reader("gone", number);
    gone.start();
    dueTimer("first").then([&] {
        gone.close();
        dup2(fresh.near, number);
        fresh.closeNear();
        fresh.near = number;
        old.near = -1;
        EXPECT_EQ(0, reader("fresh", number).start());
    });

    runFor(10);
    EXPECT_THAT(called(), ElementsAre("first"));

    fresh.send();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("fresh"));
}

TEST_F(FdClose, LetsTheDescriptorBeClosedAndItsNumberUsedAgainAtOnce) {
    const int copy = dup(0);
    close(copy);
    for (int i = 0; i != 50; ++i) {
        Pair pair;
        EXPECT_EQ(copy, pair.near);  // always the same number
        pair.send();
        Context& readable = reader("reader", pair.near);
        EXPECT_EQ(0, readable.start());
        readable.then([&] { readable.close(); });
        runTurns(1);
    }

    EXPECT_EQ(50u, called().size());
    EXPECT_EQ(1, kernel::calls.creations);
}

TEST_F(FdClose, OfADisarmedContextTellsTheKernelNothing) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();
    readable.stop();
    runFor(1);
    const int before = kernel::calls.controls;

    readable.close();

    EXPECT_EQ(before, kernel::calls.controls);
}

TEST_F(FdIdle, CallsWithMinusOneAndStartsOver) {
    Pair pair;
    std::vector<int64_t> times;
    Context& readable = reader("reader", pair.near);
    readable.then([&] { times.push_back(kernel::nowMs() - 1000000); });
    readable.start(100);

    runFor(350);

    EXPECT_THAT(called(), ElementsAre("reader idle", "reader idle", "reader idle"));
    EXPECT_THAT(times, ElementsAre(100, 200, 300));
    EXPECT_EQ(-1, readable.lastFd);
}

TEST_F(FdIdle, CountsAnewWhenTheDescriptorWasReady) {
    Pair pair;
    std::vector<int64_t> times;
    reader("reader", pair.near)
        .then([&] {
            times.push_back(kernel::nowMs() - 1000000);
            pair.drain();
        })
        .start(100);
    timer("sender").then([&] { pair.send(); }).start(60);

    runFor(250);

    EXPECT_THAT(called(), ElementsAre("sender", "reader", "reader idle"));
    EXPECT_THAT(times, ElementsAre(60, 160));
}

TEST_F(FdIdle, IsNeverReportedEarly) {
    kernel::advanceNs(300000);
    Pair pair;
    int64_t calledAtNs = 0;
    reader("reader", pair.near).then([&] { calledAtNs = kernel::nowNs(); }).start(10);

    runFor(15);

    EXPECT_EQ(1000011000000, calledAtNs);
}

TEST_F(FdIdle, DoesNotHappenWithoutATimeOut) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start(100);
    readable.start(-1);

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(FdIdle, CanBeGivenAnotherTimeByAnotherStart) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start(100);
    readable.start(300);

    runFor(299);
    EXPECT_THAT(called(), IsEmpty());

    runFor(1);
    EXPECT_THAT(called(), ElementsAre("reader idle"));
}

TEST_F(FdIdle, EndsWithAStop) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start(100);
    readable.stop();

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(FdIdle, IsNotReportedToAContextThatIsReadyInTheSameTurn) {
    Pair pair;
    pair.send();
    reader("reader", pair.near).then([&] { pair.drain(); }).start(100);
    kernel::advanceNs(500000000);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdIdle, IsReportedAfterTheTimersOfTheSamePriority) {
    Pair pair;
    reader("reader", pair.near).start(10);
    timer("tick").start(20);
    kernel::advanceNs(50000000);

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("tick", "reader idle"));
}

TEST_F(FdIdle, OfZeroIsReportedInEveryTurnWithoutStarvingOthers) {
    Pair pair;
    reader("reader", pair.near).start(0);
    timer("tick").start(0);

    runTurns(3);

    EXPECT_THAT(called(), ElementsAre("tick", "reader idle", "reader idle", "reader idle"));
}

TEST_F(FdIdle, CallbackMayCloseItsContext) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.then([&] { readable.close(); });
    readable.start(100);

    runFor(1000);

    EXPECT_THAT(called(), ElementsAre("reader idle"));
}

TEST_F(FdIdle, OfAClosedDescriptorIsNotReported) {
    Pair pair;
    reader("reader", pair.near).start(100);
    pair.closeNear();

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(2, kernel::calls.waits);
}

TEST_F(FdShared, ReaderAndWriterAreCalledEachForItsOwn) {
    Pair pair;
    reader("reader", pair.near).then([&] { pair.drain(); }).start();
    Context& writable = writer("writer", pair.near);
    writable.start();

    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("writer"));

    pair.send();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("reader", "writer"));

    writable.stop();
    pair.send();
    runFor(10);
    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdShared, ContextsOfOneModeAreAllCalledInTheOrderOfStarting) {
    Pair pair;
    pair.send();
    reader("first", pair.near).start();
    reader("second", pair.near).start();
    reader("third", pair.near).start();

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("first", "second", "third"));
}

TEST_F(FdShared, AHangUpReachesReaderAndWriter) {
    Pair pair;
    reader("reader", pair.near).start();
    writer("writer", pair.near).start();
    pair.closeFar();

    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader", "writer"));
}

TEST_F(FdShared, ClosingOneLeavesTheOther) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.start();
    Context& writable = writer("writer", pair.near);
    writable.start();

    writable.close();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("reader"));

    readable.close();
    runFor(10);
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(FdShared, OneMayCloseTheOtherThatIsReadyInTheSameTurn) {
    Pair pair;
    pair.send();
    Context& second = writer("second", pair.near);
    Context& first = reader("first", pair.near);
    first.then([&] {
        second.close();
        first.stop();
    });
    first.start();
    second.start();

    runFor(10);

    EXPECT_THAT(called(), ElementsAre("first"));
}

TEST_F(FdShared, ClosingOneEndsAlsoWhatTheOtherWatchedBeforeItsStop) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();
    Context& writable = writer("writer", pair.near);
    writable.start();
    readable.stop();

    writable.close();
    pair.send();
    EXPECT_EQ(0, readable.start());
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("reader"));
}

TEST_F(FdShared, SeveralLoopsMayWatchOneDescriptor) {
    Pair pair;
    pair.send();
    evlp_thread_str* const other = evlp_openThreadInt(nullptr, 0, 0, 0, 0, 0, 0);
    Context& elsewhere = contexts.emplace_back("elsewhere", &log, Context::Kind::Descriptor);
    elsewhere.handle =
        fd_openCtx(other, Context::onDescriptor, &elsewhere, pair.near, EVLP_READ, 8);
    elsewhere.then([&] { evlp_stopThread(other); });
    elsewhere.start();
    reader("here", pair.near).start();

    runTurns(1);
    EXPECT_EQ(0, evlp_startThread(other));

    EXPECT_THAT(called(), ElementsAre("here", "elsewhere"));
    elsewhere.close();
    evlp_closeThread(other);
}

TEST_F(FdCost, OfATurnIsOneWait) {
    Pair pair;
    pair.send();
    reader("reader", pair.near).start(1000);
    timer("tick").start(1000);
    const int controls = kernel::calls.controls;

    runTurns(100);

    EXPECT_EQ(100, kernel::calls.waits);
    EXPECT_EQ(controls, kernel::calls.controls);
}

TEST_F(FdCost, OfStopAndStartInOneTurnIsNothing) {
    Pair pair;
    pair.send();
    Context& readable = reader("reader", pair.near);
    readable.then([&] {
        readable.stop();
        readable.start();
    });
    readable.start();
    const int controls = kernel::calls.controls;

    runTurns(100);

    EXPECT_EQ(100, readable.calls);
    EXPECT_EQ(controls, kernel::calls.controls);
}

TEST_F(FdCost, OfAnotherStartOfAnArmedContextIsNothing) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();
    const int controls = kernel::calls.controls;

    readable.start(100);
    readable.start(-1);

    EXPECT_EQ(controls, kernel::calls.controls);
}

TEST_F(FdCost, OfAStopIsOneCallBeforeTheNextWait) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();
    Context& writable = writer("writer", pair.near);
    writable.start();
    const int controls = kernel::calls.controls;

    readable.stop();
    writable.stop();
    EXPECT_EQ(controls, kernel::calls.controls);
    runFor(1);

    EXPECT_EQ(controls + 1, kernel::calls.controls);
}

TEST_F(FdGone, IsNotReportedAndCostsNothing) {
    Pair pair;
    pair.send();
    reader("reader", pair.near).start();
    pair.closeNear();

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(1, kernel::calls.waits);
}

TEST_F(FdGone, MayBeStoppedStartedAndClosed) {
    Pair pair;
    Context& readable = reader("reader", pair.near);
    readable.start();
    pair.closeNear();

    EXPECT_EQ(0, readable.stop());
    runFor(1);
    EXPECT_EQ(-1, readable.start());
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(0, readable.close());
}

TEST_F(FdGone, LetsANewDescriptorHaveItsNumberWhileTheOldContextIsArmed) {
    Pair old;
    Pair fresh;
    Context& gone = reader("gone", old.near);
    gone.start();
    replaceNear(old, fresh);

    EXPECT_EQ(0, reader("fresh", fresh.near).start());
    fresh.send();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("fresh"));

    EXPECT_EQ(0, gone.close());
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("fresh"));
}

TEST_F(FdGone, LetsANewDescriptorHaveItsNumberWhileTheOldContextIsStopped) {
    Pair old;
    Pair fresh;
    Context& gone = reader("gone", old.near);
    gone.start();
    gone.stop();
    replaceNear(old, fresh);

    EXPECT_EQ(0, reader("fresh", fresh.near).start());
    fresh.send();
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("fresh"));
}

TEST_F(FdGone, LeavesANewDescriptorOfItsNumberAloneWhenItsContextIsClosedLate) {
    Pair old;
    Pair fresh;
    Context& gone = reader("gone", old.near);
    gone.start();
    replaceNear(old, fresh);
    EXPECT_EQ(0, gone.close());

    EXPECT_EQ(0, reader("fresh", fresh.near).start());
    fresh.send();
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("fresh"));
}

TEST_F(FdGone, ButAliveElsewhereEndsAfterSomeCalls) {
    Pair pair;
    pair.send();
    Context& gone = reader("gone", pair.near);
    gone.start();
    const int duplicate = dup(pair.near);
    pair.closeNear();

    runFor(1000);
    EXPECT_GE(256, gone.calls);

    const int waits = kernel::calls.waits;
    runFor(1000);
    EXPECT_EQ(waits + 2, kernel::calls.waits);  // the wake-up of the last stop, and the timer
    close(duplicate);
}

TEST_F(FdGone, ButAliveElsewhereIsNotReportedToANewContextOfItsNumber) {
    Pair old;
    Pair fresh;
    old.send();
    Context& gone = reader("gone", old.near);
    gone.start();
    const int duplicate = dup(old.near);
    replaceNear(old, fresh);
    EXPECT_EQ(0, reader("fresh", fresh.near).start());

    runFor(1000);
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(2, kernel::calls.waits);  // the report that was outdated, and the timer
    EXPECT_EQ(2, kernel::calls.creations);

    fresh.send();
    runTurns(1);
    EXPECT_THAT(called(), ElementsAre("fresh"));
    close(duplicate);
}

TEST_F(FdGone, ButAliveElsewhereIsShedAfterItsContextWasClosed) {
    Pair pair;
    pair.send();
    Context& gone = reader("gone", pair.near);
    gone.start();
    const int duplicate = dup(pair.near);
    pair.closeNear();
    gone.close();

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(2, kernel::calls.waits);
    close(duplicate);
}

TEST_F(FdGone, ButAliveElsewhereIsShedWithoutLossForTheOthers) {
    Pair pair;
    Pair others[2];
    Context& gone = reader("gone", pair.near);
    reader("reader", others[0].near).then([&] { others[0].drain(); }).start(50);
    Context& writable = writer("writer", others[1].near);
    gone.start();
    const int duplicate = dup(pair.near);
    pair.closeNear();
    gone.close();
    pair.send();
    runFor(10);
    ASSERT_EQ(2, kernel::calls.creations);

    others[0].send();
    writable.then([&] { writable.stop(); });
    writable.start();
    runFor(60);

    EXPECT_THAT(called(), ElementsAre("reader", "writer", "reader idle"));
    close(duplicate);
}

TEST_F(FdGone, IsNotRegisteredAgainUnderItsNumberWhenAnotherIsShed) {
    Pair silent;
    Pair stranger;
    Pair noisy;
    Context& old = reader("old", silent.near);
    old.start();
    Context& gone = reader("gone", noisy.near);
    gone.start();
    const int duplicate = dup(noisy.near);
    noisy.closeNear();
    gone.close();
    replaceNear(silent, stranger);  // nobody's on this loop
    noisy.send();
    stranger.send();

    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(2, kernel::calls.waits);
    close(duplicate);
}

TEST_F(FdGone, IsShedLaterWhenDescriptorsAreShort) {
    Pair pair;
    pair.send();
    Context& gone = reader("gone", pair.near);
    gone.start();
    const int duplicate = dup(pair.near);
    pair.closeNear();
    gone.close();
    kernel::failCreations(EMFILE);
    runTurns(3);
    EXPECT_EQ(4, kernel::calls.creations);

    kernel::failCreations(0);
    runFor(1000);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(5, kernel::calls.creations);
    EXPECT_EQ(6, kernel::calls.waits);  // with the wake-up of the last stop, and the timer
    close(duplicate);
}

TEST_F(FdGone, IsShedLaterWhenTheNewRegistrationIsRefused) {
    Pair pair;
    Pair other;
    pair.send();
    reader("other", other.near).then([&] { other.drain(); }).start();
    Context& gone = reader("gone", pair.near);
    gone.start();
    const int duplicate = dup(pair.near);
    pair.closeNear();
    gone.close();
    const size_t descriptors = openDescriptors().size();
    kernel::failNextAddition(ENOSPC);
    runTurns(1);
    EXPECT_EQ(descriptors, openDescriptors().size());

    other.send();
    runFor(1000);

    EXPECT_THAT(called(), ElementsAre("other"));
    EXPECT_EQ(descriptors, openDescriptors().size());
    close(duplicate);
}

TEST_F(FdGone, ComesBackUnderItsNumber) {
    Pair pair;
    pair.send();
    Context& gone = reader("gone", pair.near);
    gone.start();
    const int number = pair.near;
    const int duplicate = dup(number);
    close(number);
    gone.close();  // cannot remove the registration
    ASSERT_EQ(number, dup2(duplicate, number));
    close(duplicate);

    EXPECT_EQ(0, reader("again", number).start());
    runTurns(1);

    EXPECT_THAT(called(), ElementsAre("again"));
}

}  // namespace
