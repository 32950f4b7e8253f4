// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <syslog.h>

#include "sched/schedule_test.h"

namespace {

using Line = SyslogCapture::Line;

class GetDelay : public ScheduleTest {
  protected:
    static tm time(int day, int hour, int minute, int second) {
        tm result = {};
        result.tm_wday = day;
        result.tm_hour = hour;
        result.tm_min = minute;
        result.tm_sec = second;
        return result;
    }
};
class TmToWDay : public ScheduleTest {};
class HasExpired : public ScheduleTest {
  protected:
    int hasExpired(int days, int hour, int minute) {
        zol::CSchedulableEvent event = {when(days, hour, minute), nullptr};
        return handler->hasExpired(event);
    }
};
class GetLocalTime : public ScheduleTest {};
class Start : public ScheduleTest {};
class Stop : public ScheduleTest {};
class Synchronisation : public ScheduleTest {
  protected:
    Synchronisation() { zol::CTime::synchronized = 0; }
};
class DailyCycle : public ScheduleTest {};
class InitialEvents : public ScheduleTest {};

// --- how long until ---

TEST_F(GetDelay, CountsSecondsOfTheSameDay) {
    EXPECT_EQ(3600, handler->getDelay(time(1, 6, 0, 0), 1, 7, 0));
    EXPECT_EQ(60, handler->getDelay(time(1, 6, 59, 0), 1, 7, 0));
    EXPECT_EQ(1, handler->getDelay(time(1, 6, 59, 59), 1, 7, 0));
}

TEST_F(GetDelay, CountsDaysAsOf24Hours) {
    EXPECT_EQ(86400, handler->getDelay(time(1, 7, 0, 0), 2, 7, 0));
    EXPECT_EQ(6 * 86400, handler->getDelay(time(0, 7, 0, 0), 6, 7, 0));
}

TEST_F(GetDelay, GoesOnInTheNextWeek) {
    EXPECT_EQ(86400, handler->getDelay(time(6, 7, 0, 0), 0, 7, 0));
    EXPECT_EQ(604800 - 3600, handler->getDelay(time(1, 8, 0, 0), 1, 7, 0));
}

TEST_F(GetDelay, IsNothingAtTheVeryMinuteOnlyInItsFirstSecond) {
    EXPECT_EQ(0, handler->getDelay(time(3, 7, 5, 0), 3, 7, 5));
    EXPECT_EQ(604799, handler->getDelay(time(3, 7, 5, 1), 3, 7, 5));
    EXPECT_EQ(604741, handler->getDelay(time(3, 7, 5, 59), 3, 7, 5));
}

TEST_F(GetDelay, ToMidnightOnSaturdayIsThatOfSunday) {
    EXPECT_EQ(3000, handler->getDelay(time(6, 23, 10, 0), 0, 0, 0));
}

TEST_F(GetDelay, StaysBelowAWeekForEveryMinuteOfTheWeek) {
    log.clear();
    const tm now = time(3, 12, 30, 30);
    for (unsigned day = 0; day != 7; ++day) {
        for (unsigned minute = 0; minute != 1440; ++minute) {
            const int delay = handler->getDelay(now, day, minute / 60, minute % 60);
            ASSERT_GE(delay, 0);
            ASSERT_LE(delay, 604799);
        }
        log.clear();
    }
}

TEST_F(GetDelay, TakesHoursAndMinutesBeyondTheirRangeAsTheyAre) {
    EXPECT_EQ(255 * 3600 + 255 * 60 - 604800, handler->getDelay(time(0, 0, 0, 0), 0, 255, 255));
}

TEST_F(GetDelay, LogsBothTimesAndTheDelay) {
    log.clear();

    handler->getDelay(time(6, 23, 10, 5), 0, 1, 2);

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO,
                                 " getDelay(#): between d:6,h:23,m:10s:5 and d:0,h:1,m:2, "
                                 "there's a delay=6715"}));
}

TEST_F(TmToWDay, IsTheBitOfTheDay) {
    tm time = {};
    for (int day = 0; day != 7; ++day) {
        time.tm_wday = day;
        EXPECT_EQ(1 << day, handler->tmToWDay(time));
    }
}

TEST_F(TmToWDay, IsNothingForAnotherNumber) {
    tm time = {};
    for (const int day : {-1, 7, 8, 32, 1000000}) {
        time.tm_wday = day;
        EXPECT_EQ(0, handler->tmToWDay(time));
    }
}

TEST_F(GetLocalTime, ReadsTheCalendarClockInTheLocalZone) {
    clockReads("Wed 12:34:56");
    const ZoneGuard kolkata("IST-5:30");

    const tm now = handler->getLocalTime();

    EXPECT_EQ(126, now.tm_year);
    EXPECT_EQ(10, now.tm_mon);
    EXPECT_EQ(18, now.tm_mday);
    EXPECT_EQ(3, now.tm_wday);
    EXPECT_EQ(18, now.tm_hour);
    EXPECT_EQ(4, now.tm_min);
    EXPECT_EQ(56, now.tm_sec);
}

TEST_F(HasExpired, ComparesWithThePresentMinute) {
    clockReads("Wed 12:30:59");

    EXPECT_EQ(1, hasExpired(ZOL_WEDNESDAY, 11, 59));
    EXPECT_EQ(1, hasExpired(ZOL_WEDNESDAY, 12, 29));
    EXPECT_EQ(1, hasExpired(ZOL_WEDNESDAY, 12, 30));
    EXPECT_EQ(0, hasExpired(ZOL_WEDNESDAY, 12, 31));
    EXPECT_EQ(0, hasExpired(ZOL_WEDNESDAY, 13, 0));
}

TEST_F(HasExpired, CountsThePresentMinuteFromItsFirstSecond) {
    clockReads("Wed 12:30:00");

    EXPECT_EQ(1, hasExpired(ZOL_WEDNESDAY, 12, 30));
}

TEST_F(HasExpired, IsTrueForWhatIsOfAnotherDay) {
    clockReads("Wed 12:30:00");

    EXPECT_EQ(1, hasExpired(ZOL_TUESDAY, 23, 59));
    EXPECT_EQ(1, hasExpired(kEveryDay - ZOL_WEDNESDAY, 23, 59));
    EXPECT_EQ(0, hasExpired(kEveryDay, 23, 59));
}

// --- start ---

TEST_F(Start, ArmsTheTimerForTheNextScheduleOfToday) {
    scheduled("past", ZOL_SUNDAY, 5, 0);
    scheduled("next", ZOL_SUNDAY, 7, 0);
    scheduled("later", ZOL_SUNDAY, 8, 0);
    clockReads("Sun 06:00");

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(3600));
}

TEST_F(Start, LogsWhatItLooksAt) {
    scheduled("past", ZOL_SUNDAY, 5, 0);
    scheduled("next", ZOL_SUNDAY, 7, 0);
    scheduled("later", ZOL_SUNDAY, 8, 0);
    clockReads("Sun 06:00");
    start();
    log.clear();

    start();

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, " start(#): start"},
                            Line{LOG_INFO, " scheduleNextEventToday(#): scheduleNextEventToday"},
                            Line{LOG_INFO,
                                 " getDelay(#): between d:0,h:6,m:0s:0 and d:0,h:5,m:0, "
                                 "there's a delay=601200"},
                            Line{LOG_INFO,
                                 " getDelay(#): between d:0,h:6,m:0s:0 and d:0,h:7,m:0, "
                                 "there's a delay=3600"},
                            Line{LOG_INFO,
                                 " scheduleNextEventToday(#): next event today is in 3600 secs"}));
}

TEST_F(Start, WaitsForMidnightWhenNothingIsLeftToday) {
    scheduled("past", ZOL_SATURDAY, 23, 9);
    clockReads("Sat 23:10:00");
    start();
    log.clear();

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(3000));
    EXPECT_THAT(logged(), ElementsAre("start", "scheduleNextEventToday",
                                      "between d:6,h:23,m:10s:0 and d:6,h:23,m:9, "
                                      "there's a delay=604740",
                                      "between d:6,h:23,m:10s:0 and d:0,h:0,m:0, "
                                      "there's a delay=3000",
                                      "create new timer, no event but wake up at midnight, "
                                      "time = 3000"));
}

TEST_F(Start, DoesNotTakeAWholeDayAheadForToday) {
    scheduled("hour 24", ZOL_SUNDAY, 24, 0);

    start();

    EXPECT_EQ("create new timer, no event but wake up at midnight, time = 86400", logged().back());
}

TEST_F(Start, WithoutSchedulesWaitsForMidnight) {
    clockReads("Sat 00:00:00");

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(86400));
}

TEST_F(Start, AtTheFirstSecondOfAMinuteCallsItsSchedules) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    clockReads("Sun 07:00:00");
    start();
    called();

    runFor(0);

    EXPECT_THAT(called(), ElementsAre("a Sun 07:00:00"));
}

TEST_F(Start, LaterInAMinuteLeavesItsSchedulesForTheNextWeek) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    clockReads("Sun 07:00:01");
    start();
    called();

    runUntil("Sat 23:59:59");
    EXPECT_THAT(called(), IsEmpty());

    runFor(7 * 3600 + 1);
    EXPECT_THAT(called(), ElementsAre("a Sun 07:00:00"));
}

TEST_F(Start, TwiceUsesTheSameTimer) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    start();
    evlp_sim_record(1);

    start();

    EXPECT_THAT(VirtualLoop::recordedCalls(), ElementsAre("timer_startCtx(25200000)"));
}

TEST_F(Start, OpensOneTimerOfPriorityEight) {
    evlp_sim_record(1);

    start();

    EXPECT_THAT(VirtualLoop::recordedCalls(),
                ElementsAre("timer_openCtx(0, 8)", "timer_startCtx(86400000)"));
}

TEST_F(Start, DoesNotReportThatTheServiceRefusesAndAsksAgainTheNextTime) {
    for (const evlp_sim_function refused : {EVLP_SIM_TIMER_OPEN, EVLP_SIM_TIMER_START}) {
        evlp_sim_fail(refused, 1, ENOMEM);

        EXPECT_EQ(0, handler->start());

        EXPECT_THAT(armedSeconds(), IsEmpty());
        EXPECT_EQ(0, handler->start());
        EXPECT_THAT(armedSeconds(), ElementsAre(86400));
        EXPECT_EQ(0, handler->stop());
    }
}

TEST_F(Start, AgainInTheSameSecondCallsAgain) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    clockReads("Sun 07:00:00");
    start();
    runFor(0);
    called();

    start();

    runFor(0);
    EXPECT_THAT(called(), ElementsAre("a Sun 07:00:00"));
}

// --- stop ---

TEST_F(Stop, ClosesTheTimer) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    start();
    evlp_sim_record(1);

    EXPECT_EQ(0, handler->stop());

    // Disarmed by the handler, then disarmed and closed with the timer's event.
    EXPECT_THAT(VirtualLoop::recordedCalls(),
                ElementsAre("timer_stopCtx()", "timer_stopCtx()", "timer_closeCtx()"));
}

TEST_F(Stop, KeepsEverybodyFromBeingCalled) {
    scheduled("a", kEveryDay, 7, 0);
    start();
    called();

    handler->stop();

    runUntil("Sat 00:00");
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(Stop, OfAHandlerThatDoesNotRunAnswersZeroAndLogsNothing) {
    log.clear();

    EXPECT_EQ(0, handler->stop());
    EXPECT_EQ(0, handler->stop());

    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Stop, IsEndedByStartWhichDoesNotMakeUpForWhatWasMissed) {
    scheduled("missed", ZOL_SUNDAY, 7, 0);
    scheduled("a", ZOL_SUNDAY, 9, 0);
    start();
    called();
    handler->stop();
    runUntil("Sun 08:00");

    start();

    runUntil("Sun 10:00");
    EXPECT_THAT(called(), ElementsAre("a Sun 09:00:00"));
}

// --- the clock becomes right ---

TEST_F(Synchronisation, IsLookedForOnceAMinute) {
    scheduled("a", ZOL_SUNDAY, 0, 1);
    log.clear();

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(60));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(Line{LOG_INFO, " start(#): start"},
                    Line{LOG_INFO, " scheduleNextEventToday(#): scheduleNextEventToday"},
                    Line{LOG_INFO, " scheduleNextEventToday(#): do nothing while no ntp synchro"}));
    log.clear();
    runFor(60);
    EXPECT_THAT(logged(),
                ElementsAre("scheduleEventTimeout", "no event to handle, find next one today",
                            "scheduleNextEventToday", "do nothing while no ntp synchro"));
    EXPECT_THAT(armedSeconds(), ElementsAre(60));
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(Synchronisation, PollsAtAnEvenPaceForHours) {
    start();
    log.clear();

    runFor(24 * 3600);

    EXPECT_EQ(24u * 60 * 4, logged().size());
    EXPECT_THAT(armedSeconds(), ElementsAre(60));
}

TEST_F(Synchronisation, IsFollowedByOneInitialCallPerUserBeforeSchedulesAreLookedAt) {
    scheduled("a", ZOL_SUNDAY, 0, 2);
    client("b");
    start();
    log.clear();
    zol::CTime::synchronized = 1;

    runFor(60);

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:01:00", "initial b Sun 00:01:00"));
    EXPECT_THAT(logged(),
                ElementsAre("scheduleEventTimeout", "no event to handle, find next one today",
                            "scheduleNextEventToday", "got first synchro",
                            "between d:0,h:0,m:1s:0 and d:0,h:0,m:2, there's a delay=60",
                            "next event today is in 60 secs"));
    runFor(60);
    EXPECT_THAT(called(), ElementsAre("a Sun 00:02:00"));
}

TEST_F(Synchronisation, IsSeenAtOnceByStart) {
    client("a");
    zol::CTime::synchronized = 1;

    start();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00"));
}

TEST_F(Synchronisation, IsAnyNumberButZero) {
    for (const int value : {2, -1}) {
        zol::CTime::synchronized = value;

        start();

        EXPECT_THAT(armedSeconds(), ElementsAre(86400));
    }
}

TEST_F(Synchronisation, IsGreetedOnlyOnce) {
    client("a");
    zol::CTime::synchronized = 1;
    start();
    called();

    handler->stop();
    start();
    client("late");
    start();
    runUntil("Sat 00:00");

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(Synchronisation, LostLeadsBackToPollingAndIsNotGreetedAgain) {
    scheduled("a", ZOL_SUNDAY, 2, 0);
    zol::CTime::synchronized = 1;
    start();
    called();
    zol::CTime::synchronized = 0;
    log.clear();

    runUntil("Sun 02:00");  // what was armed before is still called

    EXPECT_THAT(called(), ElementsAre("a Sun 02:00:00"));
    EXPECT_EQ("do nothing while no ntp synchro", logged().back());
    EXPECT_THAT(armedSeconds(), ElementsAre(60));
    zol::CTime::synchronized = 1;
    runFor(60);
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_THAT(armedSeconds(), ElementsAre(22 * 3600 - 60));
}

TEST_F(Synchronisation, FollowsTheClockThatHasBeenSetMeanwhile) {
    scheduled("a", ZOL_TUESDAY, 6, 30);
    start();
    clockReads("Tue 06:00:00");
    zol::CTime::synchronized = 1;

    runFor(60);

    EXPECT_THAT(called(), ElementsAre("initial a Tue 06:01:00"));
    EXPECT_THAT(armedSeconds(), ElementsAre(29 * 60));
}

// --- initial events ---

TEST_F(InitialEvents, GoToAllUsersInTheOrderOfCreation) {
    int contexts[3];
    client("a", &contexts[0]);
    client("b", &contexts[1]);
    client("c", &contexts[2]);
    clockReads("Wed 12:34:56");

    EXPECT_EQ(0, handler->callInitialEvents());

    EXPECT_THAT(called(), ElementsAre("initial a Wed 12:34:56", "initial b Wed 12:34:56",
                                      "initial c Wed 12:34:56"));
    auto each = clients.begin();
    for (int& context : contexts) {
        EXPECT_EQ(&context, (each++)->lastContext);
    }
}

TEST_F(InitialEvents, DoNotLookAtSchedulesAndLogNothing) {
    scheduled("a", ZOL_SUNDAY, 0, 0);
    log.clear();

    handler->callInitialEvents();
    handler->callInitialEvents();

    EXPECT_THAT(called(), ElementsAre("initial a Sun 00:00:00", "initial a Sun 00:00:00"));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(InitialEvents, HandAllUsersTheSameTime) {
    Client& slow = client("slow");
    Client& next = client("next");
    slow.whenGreeted = [] { evlp_sim_pass(5000000); };

    handler->callInitialEvents();

    EXPECT_EQ(0, next.lastTime.tm_sec);
}

TEST_F(InitialEvents, ThatLastMakeTheNextScheduleLate) {
    Client& slow = scheduled("slow", ZOL_SUNDAY, 7, 0);
    slow.whenGreeted = [] { evlp_sim_pass(120000000); };

    start();

    EXPECT_THAT(armedSeconds(), ElementsAre(7 * 3600));  // from 00:02 on
}

TEST_F(InitialEvents, WithoutUsersAnswerZero) {
    EXPECT_EQ(0, handler->callInitialEvents());
}

// --- the timer fires ---

TEST_F(DailyCycle, SchedulesOfOneMinuteAreCalledInOneGo) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    scheduled("b", ZOL_MONDAY, 7, 0);
    scheduled("c", ZOL_MONDAY, 7, 30);
    clockReads("Mon 06:59:50");
    start();
    called();
    log.clear();

    runUntil("Mon 07:00:00");

    EXPECT_THAT(called(), ElementsAre("a Mon 07:00:00", "b Mon 07:00:00"));
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, " scheduleEventTimeout(#): scheduleEventTimeout"},
                            Line{LOG_INFO, " scheduleEventTimeout(#): calling client callback "},
                            Line{LOG_INFO, " scheduleEventTimeout(#): calling client callback "},
                            Line{LOG_INFO, " scheduleEventTimeout(#): done calling"},
                            Line{LOG_INFO, " scheduleEventTimeout(#): reschedule"},
                            Line{LOG_INFO, " scheduleNextEventToday(#): scheduleNextEventToday"},
                            Line{LOG_INFO,
                                 " getDelay(#): between d:1,h:7,m:0s:0 and d:1,h:7,m:30, "
                                 "there's a delay=1800"},
                            Line{LOG_INFO,
                                 " scheduleNextEventToday(#): next event today is in 1800 secs"}));
}

TEST_F(DailyCycle, AfterTheLastOfTheDayWaitsForMidnight) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    clockReads("Mon 06:59:50");
    start();
    log.clear();

    runUntil("Mon 07:00:00");

    EXPECT_THAT(logged(),
                ElementsAre("scheduleEventTimeout", "calling client callback ", "reschedule",
                            "scheduleNextEventToday",
                            "between d:1,h:7,m:0s:0 and d:2,h:0,m:0, there's a delay=61200",
                            "create new timer, no event but wake up at midnight, time = 61200"));
    EXPECT_THAT(armedSeconds(), ElementsAre(61200));
}

TEST_F(DailyCycle, BeginsTheNewDayAtMidnight) {
    scheduled("a", ZOL_MONDAY, 0, 0);
    scheduled("b", ZOL_MONDAY, 0, 1);
    clockReads("Sun 23:00:00");
    start();
    called();
    log.clear();

    runUntil("Mon 00:01:00");

    EXPECT_THAT(called(), ElementsAre("a Mon 00:00:00", "b Mon 00:01:00"));
    const std::vector<std::string> lines = logged();
    ASSERT_LE(5u, lines.size());
    EXPECT_THAT(std::vector<std::string>(lines.begin(), lines.begin() + 5),
                ElementsAre("scheduleEventTimeout", "no event to handle, find next one today",
                            "scheduleNextEventToday",
                            "between d:1,h:0,m:0s:0 and d:1,h:0,m:0, there's a delay=0",
                            "next event today is in 0 secs"));
}

TEST_F(DailyCycle, UsesOneTimerFromArmingToArming) {
    scheduled("a", kEveryDay, 7, 0);
    scheduled("b", kEveryDay, 8, 0);
    start();
    evlp_sim_record(1);

    runUntil("Wed 12:00:00");

    EXPECT_THAT(VirtualLoop::recordedCalls(),
                ElementsAre("timer_startCtx(3600000)", "timer_startCtx(57600000)",
                            "timer_startCtx(25200000)", "timer_startCtx(3600000)",
                            "timer_startCtx(57600000)", "timer_startCtx(25200000)",
                            "timer_startCtx(3600000)", "timer_startCtx(57600000)",
                            "timer_startCtx(25200000)", "timer_startCtx(3600000)",
                            "timer_startCtx(57600000)"));
}

TEST_F(DailyCycle, HandsAllOfAWalkTheSameTime) {
    Client& slow = scheduled("slow", ZOL_MONDAY, 7, 0);
    Client& next = scheduled("next", ZOL_MONDAY, 7, 0);
    slow.whenDue = [] { evlp_sim_pass(5000000); };
    clockReads("Mon 06:00:00");
    start();

    runUntil("Mon 07:00:05");

    EXPECT_EQ(0, next.lastTime.tm_sec);
    EXPECT_EQ(1, next.lastTime.tm_wday);
    EXPECT_EQ(126, next.lastTime.tm_year);
    EXPECT_EQ(10, next.lastTime.tm_mon);
    EXPECT_EQ(16, next.lastTime.tm_mday);
}

TEST_F(DailyCycle, CallsInTheSameWalkWhatFallsDueDuringIt) {
    Client& slow = scheduled("slow", ZOL_MONDAY, 7, 0);
    scheduled("next", ZOL_MONDAY, 7, 1);
    scheduled("later", ZOL_MONDAY, 7, 2);
    slow.whenDue = [] { evlp_sim_pass(90000000); };
    clockReads("Mon 06:00:00");
    start();
    called();

    runUntil("Mon 07:01:30");
    EXPECT_THAT(called(), ElementsAre("slow Mon 07:00:00", "next Mon 07:00:00"));

    runUntil("Mon 07:02:00");
    EXPECT_THAT(called(), ElementsAre("later Mon 07:02:00"));
}

TEST_F(DailyCycle, ThatIsLateCallsWhatIsDueMeanwhile) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    scheduled("b", ZOL_MONDAY, 7, 5);
    scheduled("c", ZOL_MONDAY, 7, 20);
    clockReads("Mon 06:00:00");
    start();
    called();

    evlp_sim_pass(70 * 60 * 1000000LL);  // 07:10
    runFor(0);

    EXPECT_THAT(called(), ElementsAre("a Mon 07:10:00", "b Mon 07:10:00"));
    EXPECT_THAT(armedSeconds(), ElementsAre(600));
}

TEST_F(DailyCycle, FiredTooEarlyCallsNobodyAndLooksAgainFromTheHeadOfTheList) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    clockReads("Mon 06:00:00");
    start();
    called();
    log.clear();
    clockReads("Mon 05:00:00");  // set back by an hour

    runFor(3600);

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("scheduleEventTimeout", "done calling", "reschedule",
                                      "scheduleNextEventToday",
                                      "between d:1,h:6,m:0s:0 and d:1,h:7,m:0, "
                                      "there's a delay=3600",
                                      "next event today is in 3600 secs"));
    runFor(3600);
    EXPECT_THAT(called(), ElementsAre("a Mon 07:00:00"));
}

TEST_F(DailyCycle, LooksOnlyAtTheElementAfterTheLastOneCalled) {
    Client& a = scheduled("a", ZOL_MONDAY, 7, 0);
    scheduled("b", ZOL_MONDAY, 7, 0);
    scheduled("c", ZOL_MONDAY, 9, 0);
    a.whenDue = [] { clockReads("Mon 06:00:00"); };  // sets the clock back by an hour
    clockReads("Mon 06:59:00");
    start();
    called();
    log.clear();

    runFor(60);

    // b is the one after a; that a would come again at 07:00 is not looked at.
    EXPECT_EQ("next event today is in 3600 secs", logged().back());
    runFor(3600);
    EXPECT_THAT(called(), ElementsAre("a Mon 07:00:00", "b Mon 07:00:00"));
}

TEST_F(DailyCycle, WithThatElementBehindWaitsForMidnight) {
    sched_user_s* const user = client("a").user;
    zol::CSimpleListElem<zol::CSchedulableEvent> ahead = {{when(ZOL_MONDAY, 9, 0), user}, nullptr};
    zol::CSimpleListElem<zol::CSchedulableEvent> behind = {{when(ZOL_MONDAY, 7, 0), user}, &ahead};
    zol::CSimpleListElem<zol::CSchedulableEvent> called = {{when(ZOL_MONDAY, 6, 0), user}, &behind};
    clockReads("Mon 08:00:00");

    EXPECT_EQ(0, handler->scheduleNextEventToday(&called));

    EXPECT_THAT(armedSeconds(), ElementsAre(16 * 3600));
}

TEST_F(DailyCycle, ThatLastsBeyondMidnightGoesOnWithTheNewDay) {
    Client& slow = scheduled("slow", ZOL_MONDAY, 23, 58);
    scheduled("evening", ZOL_MONDAY, 23, 59);
    scheduled("gone", ZOL_TUESDAY, 0, 0);
    scheduled("morning", ZOL_TUESDAY, 7, 0);
    slow.whenDue = [] { evlp_sim_pass(180 * 1000000LL); };
    clockReads("Mon 23:00:00");
    start();
    called();

    runUntil("Tue 12:00:00");

    EXPECT_THAT(called(),
                ElementsAre("slow Mon 23:58:00", "evening Mon 23:58:00", "morning Tue 07:00:00"));
}

TEST_F(DailyCycle, ThatIsLateUntilAfterMidnightGoesOnWithTheNewDay) {
    scheduled("evening", ZOL_MONDAY, 23, 59);
    scheduled("early", ZOL_TUESDAY, 0, 30);
    scheduled("morning", ZOL_TUESDAY, 7, 0);
    clockReads("Mon 23:00:00");
    start();
    called();

    evlp_sim_pass(61 * 60 * 1000000LL);  // the loop is busy until 00:01
    runUntil("Tue 12:00:00");

    EXPECT_THAT(called(),
                ElementsAre("evening Tue 00:01:00", "early Tue 00:30:00", "morning Tue 07:00:00"));
}

TEST_F(DailyCycle, MissesWhatIsOfTheNewDayTooWhenItIsLateUntilAfterMidnight) {
    scheduled("daily", kEveryDay, 23, 59);
    clockReads("Mon 23:00:00");
    start();
    called();

    evlp_sim_pass(61 * 60 * 1000000LL);  // 23:59 is taken for that of Tuesday
    runUntil("Tue 23:59:30");

    EXPECT_THAT(called(), ElementsAre("daily Tue 23:59:00"));
}

TEST_F(DailyCycle, PassesOverMidnightItselfWhenItIsASecondLate) {
    scheduled("midnight", ZOL_TUESDAY, 0, 0);
    scheduled("a", ZOL_TUESDAY, 0, 1);
    clockReads("Mon 23:00:00");
    start();
    called();

    evlp_sim_pass(3601 * 1000000LL);
    runUntil("Tue 12:00:00");

    EXPECT_THAT(called(), ElementsAre("a Tue 00:01:00"));
}

TEST_F(DailyCycle, IgnoresATimerThatIsNotItsOwn) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    start();
    called();
    log.clear();
    int other = 0;

    handler->scheduleEventTimeout(&other);
    handler->scheduleEventTimeout(nullptr);

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, " scheduleEventTimeout(#): scheduleEventTimeout"},
                            Line{LOG_INFO, " scheduleEventTimeout(#): bad timer"},
                            Line{LOG_INFO, " scheduleEventTimeout(#): scheduleEventTimeout"},
                            Line{LOG_INFO, " scheduleEventTimeout(#): bad timer"}));
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_THAT(armedSeconds(), ElementsAre(86400));
}

TEST_F(DailyCycle, IgnoresATimerWhileItIsStopped) {
    log.clear();

    handler->scheduleEventTimeout(nullptr);

    EXPECT_THAT(logged(), ElementsAre("scheduleEventTimeout", "bad timer"));
    EXPECT_THAT(armedSeconds(), IsEmpty());
}

TEST_F(DailyCycle, PassesTheContextOfEachUser) {
    int contexts[2];
    Client& a = client("a", &contexts[0]);
    Client& b = client("b", &contexts[1]);
    schedule(a, ZOL_SUNDAY, 7, 0);
    schedule(b, ZOL_SUNDAY, 7, 0);
    start();

    runUntil("Sun 07:00");

    EXPECT_EQ(&contexts[0], a.lastContext);
    EXPECT_EQ(&contexts[1], b.lastContext);
}

TEST_F(DailyCycle, NeverCallsAScheduleOfAMinuteThatDoesNotExist) {
    scheduled("hour 24", kEveryDay, 24, 0);
    scheduled("minute 60", kEveryDay, 12, 60);
    start();
    called();

    runUntil("Mon 23:59");

    // The timer of 12:60 fires at 13:00, where its hour has passed.
    EXPECT_THAT(called(), ElementsAre("minute 60 Sun 13:00:00", "minute 60 Mon 13:00:00"));
}

}  // namespace
