// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <syslog.h>

#include "sched/schedule_test.h"

namespace {

using Line = SyslogCapture::Line;

class CreateUser : public ScheduleTest {};
class DelUser : public ScheduleTest {};
class AddSchedule : public ScheduleTest {};
class DelSchedules : public ScheduleTest {};
class Compare : public ScheduleTest {
  protected:
    int compare(sched_info_t a, sched_info_t b) {
        return handler->compare({a, nullptr}, {b, nullptr});
    }
};
class Destruction : public ScheduleTest {
  protected:
    // The timer is lost; deliberate_leaks.cc and valgrind.supp know the function by its name.
    __attribute__((noinline)) void destroyWhileRunning() {
        start();
        delete handler;
        handler = nullptr;
    }
};

// --- records ---

TEST(ScheduleInfo, HoldsDaysHourAndMinuteInItsFirstBytes) {
    const sched_info_t info = {ZOL_MONDAY | ZOL_SATURDAY, 23, 59, 4, {5, 6}};
    unsigned char bytes[12];
    static_assert(sizeof info == sizeof bytes);
    memcpy(bytes, &info, sizeof info);

    EXPECT_EQ(66, bytes[0]);
    EXPECT_EQ(23, bytes[1]);
    EXPECT_EQ(59, bytes[2]);
}

TEST(ScheduleInfo, NumbersTheDaysFromSundayOn) {
    const int days[] = {ZOL_SUNDAY,   ZOL_MONDAY, ZOL_TUESDAY, ZOL_WEDNESDAY,
                        ZOL_THURSDAY, ZOL_FRIDAY, ZOL_SATURDAY};

    EXPECT_THAT(days, ElementsAre(1, 2, 4, 8, 16, 32, 64));
}

TEST_F(CreateUser, CallsClientsThroughSlotsOfAFixedOrder) {
    using Slot = void (*)(zol::IScheduleClient*, tm, void*);
    Client& made = client("a");
    zol::IScheduleClient* const interface = &made;
    const Slot* slots = nullptr;
    memcpy(&slots, interface, sizeof slots);

    // The destructor has the first two.
    slots[2](interface, tm{}, nullptr);
    slots[3](interface, tm{}, nullptr);

    EXPECT_THAT(called(), ElementsAre("a Sun 00:00:00", "initial a Sun 00:00:00"));
}

// --- users ---

TEST_F(CreateUser, AnswersARecordOfClientAndContext) {
    int context = 0;
    Client& made = client("a", &context);

    EXPECT_EQ(&made, made.user->client);
    EXPECT_EQ(&context, made.user->context);
}

TEST_F(CreateUser, LogsTheRecord) {
    Client& made = client("a");

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, textOf(" createUser(#): added user ", made.user)}));
}

TEST_F(CreateUser, LetsTheHandlerGoOn) {
    scheduled("a", ZOL_SUNDAY, 1, 0);
    start();

    client("b");

    EXPECT_THAT(armedSeconds(), ElementsAre(3600));
}

TEST_F(CreateUser, MayRegisterOneClientTwiceWithContextsOfTheirOwn) {
    int contexts[2];
    Client& made = client("a", &contexts[0]);
    sched_user_s* const second = handler->createUser(&made, &contexts[1]);
    ASSERT_NE(made.user, second);
    handler->addSchedule(second, when(ZOL_SUNDAY, 1, 0));
    start();

    runUntil("Sun 02:00");

    EXPECT_THAT(called(),
                ElementsAre("initial a Sun 00:00:00", "initial a Sun 00:00:00", "a Sun 01:00:00"));
    EXPECT_EQ(&contexts[1], made.lastContext);
}

TEST_F(DelUser, AnswersZeroAndLogsTheRecord) {
    sched_user_s* const user = client("a").user;
    log.clear();

    EXPECT_EQ(0, handler->delUser(user));

    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_INFO, textOf(" delUser(#): del user ", user)}));
}

TEST_F(DelUser, RefusesAnUnknownOneInTwoLines) {
    client("a");
    log.clear();
    sched_user_s stranger = {nullptr, nullptr};

    EXPECT_EQ(-1, handler->delUser(&stranger));

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, textOf(" delUser(#): del user ", &stranger)},
                            Line{LOG_INFO, " delUser(#): can't delete unknown user"}));
}

TEST_F(DelUser, RefusesOneThatHasBeenDeletedBefore) {
    sched_user_s* const user = client("a").user;
    client("b");
    EXPECT_EQ(0, handler->delUser(user));

    EXPECT_EQ(-1, handler->delUser(user));
}

TEST_F(DelUser, StopsTheHandlerEvenForAnUnknownOne) {
    scheduled("a", ZOL_SUNDAY, 1, 0);
    start();

    handler->delUser(nullptr);

    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(DelUser, TakesOutTheFirstTheMiddleAndTheLast) {
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        client(name);
    }
    auto each = clients.begin();
    EXPECT_EQ(0, handler->delUser(each->user));
    std::advance(each, 2);
    EXPECT_EQ(0, handler->delUser(each->user));
    EXPECT_EQ(0, handler->delUser(clients.back().user));

    start();

    EXPECT_THAT(called(), ElementsAre("initial b Sun 00:00:00", "initial d Sun 00:00:00"));
}

TEST_F(DelUser, LeavesItsSchedulesWhichStillWakeTheHandlerButCallNobody) {
    Client& gone = scheduled("gone", ZOL_SUNDAY, 1, 0);
    scheduled("other", ZOL_SUNDAY, 1, 0);

    EXPECT_EQ(0, handler->delUser(gone.user));
    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(3600));
    called();
    runUntil("Sun 02:00");
    EXPECT_THAT(called(), ElementsAre("other Sun 01:00:00"));
}

TEST_F(DelUser, LeavesNothingToTheUserThatComesNext) {
    Client& gone = scheduled("gone", ZOL_SUNDAY, 1, 0);
    EXPECT_EQ(0, handler->delUser(gone.user));
    client("next");  // may get the memory of the one that has gone
    start();
    called();

    runUntil("Sun 02:00");

    EXPECT_THAT(called(), IsEmpty());
}

// --- schedules ---

TEST_F(AddSchedule, LogsTheDaysFromSundayToSaturday) {
    Client& a = client("a");
    log.clear();

    EXPECT_EQ(0, handler->addSchedule(a.user, when(kEveryDay, 8, 30)));

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, " addSchedule(#): add schedule days=127"},
                            Line{LOG_INFO, " addSchedule(#): adding element in sunday list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in mon list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in tue list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in wed list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in thu list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in fri list"},
                            Line{LOG_INFO, " addSchedule(#): adding element in saturday list"}));
}

TEST_F(AddSchedule, OfEveryDayIsCalledOnceOnEachDay) {
    scheduled("a", kEveryDay, 12, 0);
    start();
    called();

    runUntil("Sat 23:00");

    EXPECT_THAT(called(),
                ElementsAre("a Sun 12:00:00", "a Mon 12:00:00", "a Tue 12:00:00", "a Wed 12:00:00",
                            "a Thu 12:00:00", "a Fri 12:00:00", "a Sat 12:00:00"));
}

TEST_F(AddSchedule, OfEachSingleDayIsCalledOnThatDayOnly) {
    scheduled("sun", ZOL_SUNDAY, 12, 0);
    scheduled("mon", ZOL_MONDAY, 12, 0);
    scheduled("tue", ZOL_TUESDAY, 12, 0);
    scheduled("wed", ZOL_WEDNESDAY, 12, 0);
    scheduled("thu", ZOL_THURSDAY, 12, 0);
    scheduled("fri", ZOL_FRIDAY, 12, 0);
    scheduled("sat", ZOL_SATURDAY, 12, 0);
    start();
    called();

    runUntil("Sat 23:00");

    EXPECT_THAT(called(), ElementsAre("sun Sun 12:00:00", "mon Mon 12:00:00", "tue Tue 12:00:00",
                                      "wed Wed 12:00:00", "thu Thu 12:00:00", "fri Fri 12:00:00",
                                      "sat Sat 12:00:00"));
}

TEST_F(AddSchedule, WithoutDaysAddsNothingButLogsAndStops) {
    Client& a = scheduled("a", ZOL_SUNDAY, 1, 0);
    start();
    log.clear();

    EXPECT_EQ(0, handler->addSchedule(a.user, when(0, 2, 0)));

    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_INFO, " addSchedule(#): add schedule days=0"}));
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(AddSchedule, IgnoresTheEighthBitOfTheDays) {
    Client& a = client("a");
    log.clear();

    EXPECT_EQ(0, handler->addSchedule(a.user, when(128, 2, 0)));

    EXPECT_THAT(logged(), ElementsAre("add schedule days=128"));
}

TEST_F(AddSchedule, StopsTheHandlerAndDoesNotStartIt) {
    scheduled("a", ZOL_SUNDAY, 2, 0);
    start();
    EXPECT_THAT(armedSeconds(), ElementsAre(7200));

    scheduled("b", ZOL_SUNDAY, 1, 0);

    EXPECT_THAT(armedSeconds(), IsEmpty());
    start();
    EXPECT_THAT(armedSeconds(), ElementsAre(3600));
}

TEST_F(AddSchedule, SortsByTimeAndKeepsTheOrderOfAddingWithinAMinute) {
    scheduled("first", ZOL_MONDAY, 8, 30);
    scheduled("early", ZOL_MONDAY, 7, 0);
    scheduled("second", ZOL_MONDAY, 8, 30);
    start();
    called();

    runUntil("Mon 23:00");

    EXPECT_THAT(called(),
                ElementsAre("early Mon 07:00:00", "first Mon 08:30:00", "second Mon 08:30:00"));
}

TEST_F(AddSchedule, SortsByMinuteWithinAnHour) {
    scheduled("c", ZOL_MONDAY, 8, 59);
    scheduled("a", ZOL_MONDAY, 8, 0);
    scheduled("b", ZOL_MONDAY, 8, 1);
    scheduled("d", ZOL_MONDAY, 9, 0);
    start();
    called();

    runUntil("Mon 23:00");

    EXPECT_THAT(called(), ElementsAre("a Mon 08:00:00", "b Mon 08:01:00", "c Mon 08:59:00",
                                      "d Mon 09:00:00"));
}

TEST_F(AddSchedule, TakesTheSameTwice) {
    Client& a = scheduled("a", ZOL_MONDAY, 8, 0);
    schedule(a, ZOL_MONDAY, 8, 0);
    start();
    called();

    runUntil("Mon 23:00");

    EXPECT_THAT(called(), ElementsAre("a Mon 08:00:00", "a Mon 08:00:00"));
}

TEST_F(AddSchedule, WithoutAUserCallsNobody) {
    EXPECT_EQ(0, handler->addSchedule(nullptr, when(ZOL_SUNDAY, 1, 0)));
    start();

    runUntil("Sun 02:00");

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(DelSchedules, WithdrawsAllOfAUserFromAllDaysAndNoneOfOthers) {
    Client& a = scheduled("a", kEveryDay, 8, 0);
    scheduled("b", ZOL_MONDAY | ZOL_SATURDAY, 8, 0);
    schedule(a, kEveryDay, 8, 0);
    schedule(a, ZOL_MONDAY, 9, 0);

    EXPECT_EQ(0, handler->delSchedules(a.user));

    start();
    called();
    runUntil("Sat 23:00");
    EXPECT_THAT(called(), ElementsAre("b Mon 08:00:00", "b Sat 08:00:00"));
}

TEST_F(DelSchedules, LogsNothingAndStops) {
    Client& a = scheduled("a", ZOL_SUNDAY, 1, 0);
    start();
    log.clear();

    EXPECT_EQ(0, handler->delSchedules(a.user));

    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(DelSchedules, OfAUserWithoutAnyAnswersZero) {
    EXPECT_EQ(0, handler->delSchedules(client("a").user));
    EXPECT_EQ(0, handler->delSchedules(nullptr));
}

TEST_F(DelSchedules, AfterTheUserWithdrawsWhatItLeftBehind) {
    Client& a = scheduled("a", ZOL_SUNDAY, 1, 0);
    scheduled("b", ZOL_SUNDAY, 2, 0);
    handler->delUser(a.user);

    EXPECT_EQ(0, handler->delSchedules(a.user));

    start();
    EXPECT_THAT(armedSeconds(), ElementsAre(7200));
}

TEST_F(DelSchedules, LetsTheUserAddNewOnes) {
    Client& a = scheduled("a", ZOL_SUNDAY, 1, 0);
    handler->delSchedules(a.user);
    schedule(a, ZOL_SUNDAY, 2, 0);
    start();
    called();

    runUntil("Sun 03:00");

    EXPECT_THAT(called(), ElementsAre("a Sun 02:00:00"));
}

// --- the order ---

TEST_F(Compare, LooksAtTheHourFirst) {
    EXPECT_EQ(-1, compare(when(1, 7, 59), when(1, 8, 0)));
    EXPECT_EQ(1, compare(when(1, 8, 0), when(1, 7, 59)));
}

TEST_F(Compare, LooksAtTheMinuteOfTheSameHour) {
    EXPECT_EQ(-1, compare(when(1, 8, 0), when(1, 8, 1)));
    EXPECT_EQ(1, compare(when(1, 8, 1), when(1, 8, 0)));
    EXPECT_EQ(0, compare(when(1, 8, 1), when(1, 8, 1)));
}

TEST_F(Compare, TakesBytesAsUnsigned) {
    EXPECT_EQ(1, compare(when(1, 200, 0), when(1, 100, 0)));
    EXPECT_EQ(1, compare(when(1, 8, 200), when(1, 8, 100)));
}

TEST_F(Compare, LooksAtNothingElse) {
    sched_info_t other = when(64, 8, 30);
    other.flags = 7;
    other.data[0] = 8;
    Client& a = client("a");

    EXPECT_EQ(0, handler->compare({when(1, 8, 30), nullptr}, {other, a.user}));
}

TEST_F(Compare, IsThatOfTheInterface) {
    zol::ICompare<zol::CSchedulableEvent>& order = *handler;

    EXPECT_EQ(-1, order.compare({when(1, 7, 0), nullptr}, {when(1, 8, 0), nullptr}));
}

// An order of one's own: the later the sooner.
class CBackwards : public zol::CScheduleHandler {
  public:
    using zol::CScheduleHandler::CScheduleHandler;
    int compare(zol::CSchedulableEvent a, zol::CSchedulableEvent b) override {
        return -zol::CScheduleHandler::compare(a, b);
    }
};

TEST_F(Compare, MayBeOverriddenForAnOrderOfOnesOwn) {
    delete handler;
    handler = new CBackwards(loop.get());
    scheduled("a", ZOL_MONDAY, 8, 0);
    scheduled("b", ZOL_MONDAY, 9, 0);
    clockReads("Mon 00:00");
    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(9 * 3600));
}

// A class derived without an override needs the thunks of the second base.
class CPlain : public zol::CScheduleHandler {
    using zol::CScheduleHandler::CScheduleHandler;
};

TEST_F(Compare, IsInheritedThroughTheSecondBase) {
    CPlain plain(loop.get());
    zol::ICompare<zol::CSchedulableEvent>& order = plain;

    EXPECT_EQ(1, order.compare({when(1, 8, 0), nullptr}, {when(1, 7, 0), nullptr}));
}

// --- the end ---

TEST_F(Destruction, IsLogged) {
    log.clear();

    delete handler;
    handler = nullptr;

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, " ~CScheduleHandler(#): ~CScheduleHandler"}));
}

TEST_F(Destruction, AfterAStopLeavesNothingArmed) {
    scheduled("a", kEveryDay, 8, 0);
    start();
    handler->stop();

    delete handler;
    handler = nullptr;

    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(Destruction, WhilePollingForTheClockAfterAStopLeavesNothingArmed) {
    zol::CTime::synchronized = 0;
    start();
    handler->stop();

    delete handler;
    handler = nullptr;

    EXPECT_THAT(armedSeconds(), IsEmpty());
}

// Its owner has to stop it before: the timer that is left here must never fire.
TEST_F(Destruction, DoesNotStopTheCycle) {
    scheduled("a", kEveryDay, 8, 0);

    destroyWhileRunning();

    EXPECT_THAT(armedSeconds(), ElementsAre(8 * 3600));
}

TEST_F(Destruction, DoesNotStopPollingForTheClock) {
    zol::CTime::synchronized = 0;

    destroyWhileRunning();

    EXPECT_THAT(armedSeconds(), ElementsAre(60));
}

}  // namespace
