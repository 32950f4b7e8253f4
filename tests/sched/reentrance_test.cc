// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Clients that change the scheduler while it calls them.

#include <algorithm>

#include "sched/schedule_test.h"

namespace {

class ClientThatIsCalled : public ScheduleTest {
  protected:
    ClientThatIsCalled() {
        a = &scheduled("a", ZOL_MONDAY, 7, 0);
        b = &scheduled("b", ZOL_MONDAY, 7, 0);
        c = &scheduled("c", ZOL_MONDAY, 8, 0);
        clockReads("Mon 06:00:00");
    }

    /** Runs Monday, with `action` when a is called for the first time. */
    std::vector<std::string> runMonday(std::function<void()> action) {
        a->whenDue = [this, action = std::move(action)] {
            a->whenDue = nullptr;
            action();
        };
        start();
        called();
        runUntil("Mon 23:00:00");
        return called();
    }

    Client* a;
    Client* b;
    Client* c;
};

class ClientThatIsGreeted : public ScheduleTest {};

// --- due ---

TEST_F(ClientThatIsCalled, EndsTheWalkByStop) {
    EXPECT_THAT(runMonday([&] { handler->stop(); }), ElementsAre("a Mon 07:00:00"));
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(ClientThatIsCalled, EndsTheWalkSilentlyByStop) {
    a->whenDue = [&] {
        handler->stop();
        log.clear();
    };
    start();

    runUntil("Mon 07:00:00");

    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ClientThatIsCalled, LastOfTheDayEndsTheCycleByStop) {
    c->whenDue = [&] {
        handler->stop();
        log.clear();
    };
    start();

    runUntil("Mon 08:00:00");

    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(ClientThatIsCalled, EndsTheWalkByAddingASchedule) {
    EXPECT_THAT(runMonday([&] { schedule(*a, ZOL_MONDAY, 7, 30); }), ElementsAre("a Mon 07:00:00"));
}

TEST_F(ClientThatIsCalled, EndsTheWalkByWithdrawingSchedules) {
    EXPECT_THAT(runMonday([&] { handler->delSchedules(c->user); }), ElementsAre("a Mon 07:00:00"));
}

TEST_F(ClientThatIsCalled, EndsTheWalkByDeletingAUser) {
    EXPECT_THAT(runMonday([&] { handler->delUser(c->user); }), ElementsAre("a Mon 07:00:00"));
}

TEST_F(ClientThatIsCalled, GoesOnByStoppingAndStarting) {
    EXPECT_THAT(runMonday([&] {
                    handler->stop();
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, GoesOnByStarting) {
    EXPECT_THAT(runMonday([&] { handler->start(); }),
                ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayAddASchedule) {
    EXPECT_THAT(
        runMonday([&] {
            schedule(*a, ZOL_MONDAY, 7, 30);
            handler->start();
        }),
        ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "a Mon 07:30:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayAddOneOfThePresentMinuteWhichIsCalledInTheSameWalk) {
    EXPECT_THAT(
        runMonday([&] {
            schedule(*a, ZOL_MONDAY, 7, 0);
            handler->start();
        }),
        ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "a Mon 07:00:00", "c Mon 08:00:00"));
}

// Deliberate: the walk goes on from the withdrawn element.
TEST_F(ClientThatIsCalled, MayWithdrawItsOwnSchedules) {
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(a->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayWithdrawTheNextSchedules) {
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(b->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayWithdrawItsOwnAndTheNextSchedules) {
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(a->user);
                    handler->delSchedules(b->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayMoveItsOwnScheduleToLater) {
    EXPECT_THAT(
        runMonday([&] {
            handler->delSchedules(a->user);
            schedule(*a, ZOL_MONDAY, 7, 30);
            handler->start();
        }),
        ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "a Mon 07:30:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, AloneMayMoveItsOwnScheduleToLater) {
    handler->delSchedules(b->user);
    handler->delSchedules(c->user);
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(a->user);
                    schedule(*a, ZOL_MONDAY, 7, 30);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "a Mon 07:30:00"));
}

TEST_F(ClientThatIsCalled, WithdrawingAndAddingTheSameIsNotCalledAgainInThatMinute) {
    handler->delSchedules(b->user);
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(a->user);
                    schedule(*a, ZOL_MONDAY, 7, 0);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayUnregister) {
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(a->user);
                    handler->delUser(a->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayUnregisterWithoutWithdrawing) {
    EXPECT_THAT(runMonday([&] {
                    handler->delUser(a->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayUnregisterTheNext) {
    EXPECT_THAT(runMonday([&] {
                    handler->delSchedules(b->user);
                    handler->delUser(b->user);
                    handler->start();
                }),
                ElementsAre("a Mon 07:00:00", "c Mon 08:00:00"));
}

TEST_F(ClientThatIsCalled, MayRegisterAnother) {
    EXPECT_THAT(
        runMonday([&] {
            scheduled("new", ZOL_MONDAY, 7, 15);
            handler->start();
        }),
        ElementsAre("a Mon 07:00:00", "b Mon 07:00:00", "new Mon 07:15:00", "c Mon 08:00:00"));
}

// Every sequence of three operations, made by the first, the second and the last of the day.
// What must hold is told by what the sequence leaves behind.
class EverySequence : public ScheduleTest {
  protected:
    enum Operation {
        kNothing,
        kStop,
        kStart,
        kAdd,
        kWithdrawOwn,
        kWithdrawOther,
        kUnregisterOwn,
        kUnregisterOther,
        kRegister,
        kOperations
    };

    struct Outcome {
        bool runs = true;
        bool ownIsCalled = true;
        bool otherIsCalled = true;
    };

    void perform(Operation operation, Client& own, Client& other, Outcome& outcome) {
        switch (operation) {
            case kStop:
                handler->stop();
                outcome.runs = false;
                break;
            case kStart:
                handler->start();
                outcome.runs = true;
                break;
            case kAdd:
                handler->addSchedule(own.user, when(kEveryDay, 12, 0));
                outcome.runs = false;
                break;
            case kWithdrawOwn:
                handler->delSchedules(own.user);
                outcome.runs = outcome.ownIsCalled = false;
                break;
            case kWithdrawOther:
                handler->delSchedules(other.user);
                outcome.runs = outcome.otherIsCalled = false;
                break;
            case kUnregisterOwn:
                handler->delUser(own.user);
                outcome.runs = outcome.ownIsCalled = false;
                break;
            case kUnregisterOther:
                handler->delUser(other.user);
                outcome.runs = outcome.otherIsCalled = false;
                break;
            case kRegister:
                handler->createUser(&other, nullptr);
                break;
            default:
                break;
        }
    }

    static long count(const std::vector<std::string>& lines, const char* line) {
        return std::count(lines.begin(), lines.end(), line);
    }

    void runSequence(const Operation (&sequence)[3], bool firstActs) {
        delete handler;
        clients.clear();
        calls.clear();
        handler = new zol::CScheduleHandler(loop.get());
        clockReads("Sun 00:00");
        Client& a = scheduled("a", kEveryDay, 7, 0);
        Client& b = scheduled("b", kEveryDay, 7, 0);
        Client& c = scheduled("c", kEveryDay, 8, 0);
        Client& own = firstActs ? a : b;
        Client& other = firstActs ? b : a;
        Outcome outcome;
        own.whenDue = [&] {
            own.whenDue = nullptr;
            for (const Operation operation : sequence) {
                perform(operation, own, other, outcome);
            }
        };
        handler->start();

        runUntil("Mon 10:00");

        const std::vector<std::string> lines = called();
        const bool otherComesBefore = !firstActs;
        EXPECT_EQ(1, count(lines, firstActs ? "a Sun 07:00:00" : "b Sun 07:00:00"));
        EXPECT_EQ(otherComesBefore || (outcome.runs && outcome.otherIsCalled) ? 1 : 0,
                  count(lines, firstActs ? "b Sun 07:00:00" : "a Sun 07:00:00"));
        EXPECT_EQ(outcome.runs ? 1 : 0, count(lines, "c Sun 08:00:00"));
        EXPECT_EQ(outcome.runs ? 1 : 0, count(lines, "c Mon 08:00:00"));
        EXPECT_EQ(outcome.runs && outcome.ownIsCalled ? 1 : 0,
                  count(lines, firstActs ? "a Mon 07:00:00" : "b Mon 07:00:00"));
        EXPECT_EQ(outcome.runs && outcome.otherIsCalled ? 1 : 0,
                  count(lines, firstActs ? "b Mon 07:00:00" : "a Mon 07:00:00"));
        EXPECT_EQ(&c, c.user->client);
        handler->stop();
    }
};

TEST_F(EverySequence, OfOperationsInACallLeavesTheSchedulerWhole) {
    for (const bool firstActs : {true, false}) {
        for (int i = 0; i != kOperations * kOperations * kOperations; ++i) {
            const Operation sequence[3] = {
                static_cast<Operation>(i / (kOperations * kOperations)),
                static_cast<Operation>(i / kOperations % kOperations),
                static_cast<Operation>(i % kOperations),
            };
            SCOPED_TRACE(std::string("operations ") + std::to_string(sequence[0]) + " " +
                         std::to_string(sequence[1]) + " " + std::to_string(sequence[2]) +
                         (firstActs ? " by the first" : " by the second"));
            runSequence(sequence, firstActs);
            if (HasFailure()) {
                return;
            }
        }
    }
}

// --- greeted ---

TEST_F(ClientThatIsGreeted, MayAddSchedulesWithoutStarting) {
    Client& a = client("a");
    a.whenGreeted = [&] { schedule(a, ZOL_SUNDAY, 7, 0); };

    start();

    runUntil("Sun 08:00");
    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "a Sun 07:00:00"));
}

TEST_F(ClientThatIsGreeted, MayStartAndIsNotGreetedAgain) {
    Client& a = client("a");
    client("b");
    a.whenGreeted = [&] {
        schedule(a, ZOL_SUNDAY, 7, 0);
        handler->start();
    };

    start();

    runUntil("Sun 08:00");
    EXPECT_THAT(called(),
                ElementsAre("initial a Sun 00:00:00", "initial b Sun 00:00:00", "a Sun 07:00:00"));
}

// The pass that greets goes on to arm the timer.
TEST_F(ClientThatIsGreeted, DoesNotKeepTheCycleFromBeginningByStop) {
    Client& a = scheduled("a", ZOL_SUNDAY, 7, 0);
    a.whenGreeted = [&] { handler->stop(); };

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(7 * 3600));
}

TEST_F(ClientThatIsGreeted, MayUnregisterItself) {
    Client& a = client("a");
    client("b");
    a.whenGreeted = [&] { handler->delUser(a.user); };

    start();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "initial b Sun 00:00:00"));
}

TEST_F(ClientThatIsGreeted, MayUnregisterTheNext) {
    Client& a = client("a");
    Client& b = client("b");
    client("c");
    a.whenGreeted = [&] { handler->delUser(b.user); };

    start();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "initial c Sun 00:00:00"));
}

TEST_F(ClientThatIsGreeted, MayUnregisterAllBeforeIt) {
    Client& a = client("a");
    Client& b = client("b");
    Client& c = client("c");
    client("d");
    c.whenGreeted = [&] {
        handler->delUser(b.user);
        handler->delUser(a.user);
        handler->delUser(c.user);
    };

    start();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "initial b Sun 00:00:00",
                                      "initial c Sun 00:00:00", "initial d Sun 00:00:00"));
}

TEST_F(ClientThatIsGreeted, MayRegisterAnotherWhichIsGreetedToo) {
    Client& a = client("a");
    a.whenGreeted = [&] { client("new"); };

    start();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "initial new Sun 00:00:00"));
}

TEST_F(ClientThatIsGreeted, WhilePollingMayStop) {
    zol::CTime::synchronized = 0;
    Client& a = scheduled("a", ZOL_SUNDAY, 7, 0);
    a.whenGreeted = [&] { handler->stop(); };
    start();
    zol::CTime::synchronized = 1;

    runFor(60);

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:01:00"));
    EXPECT_THAT(armedSeconds(), ElementsAre(7 * 3600 - 60));
}

}  // namespace
