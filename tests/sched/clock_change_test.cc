// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What becomes of schedules when the clocks change. The scheduler measures its delays between
// readings of the wall clock, as if no hour were ever skipped or repeated; docs/scheduling.md tells
// users what follows from it, and here it is pinned.

#include "sched/schedule_test.h"

namespace {

/** Central Europe: on 2026-03-29 at 02:00 the clocks go to 03:00, on 2026-10-25 at 03:00 to 02:00.
 *  Both are Sundays. */
class ClockChange : public ScheduleTest {
  protected:
    void runFrom(const char* begin, const char* end) {
        EXPECT_EQ(0, evlp_sim_setDate(dateOf(begin)));
        start();
        called();
        EXPECT_EQ(0, evlp_sim_advanceTo(dateOf(end)));
    }
    void runSpring() { runFrom("2026-03-28 12:00:00", "2026-03-30 23:00:00"); }
    void runAutumn() { runFrom("2026-10-24 12:00:00", "2026-10-26 23:00:00"); }

    ZoneGuard europe{"CET-1CEST,M3.5.0,M10.5.0/3"};
};

// --- an hour is skipped ---

TEST_F(ClockChange, InSpringCallsWhatComesBeforeItAtItsMinute) {
    scheduled("a", ZOL_SUNDAY, 1, 59);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Sun 01:59:00"));
}

TEST_F(ClockChange, InSpringCallsTheFirstAfterItAnHourLate) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    scheduled("b", ZOL_SUNDAY, 9, 0);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Sun 08:00:00", "b Sun 09:00:00"));
}

TEST_F(ClockChange, InSpringCallsWithTheFirstAfterItAllThatHasBecomeDueMeanwhile) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    scheduled("b", ZOL_SUNDAY, 7, 30);
    scheduled("c", ZOL_SUNDAY, 8, 0);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Sun 08:00:00", "b Sun 08:00:00", "c Sun 08:00:00"));
}

TEST_F(ClockChange, InSpringCallsTheSkippedHourAnHourLater) {
    scheduled("a", ZOL_SUNDAY, 2, 0);
    scheduled("b", ZOL_SUNDAY, 2, 30);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Sun 03:00:00", "b Sun 03:00:00"));
}

TEST_F(ClockChange, InSpringWithoutSchedulesOfTheDayMissesTheFirstHourOfTheNext) {
    scheduled("missed", ZOL_MONDAY, 0, 59);
    scheduled("a", ZOL_MONDAY, 1, 0);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Mon 01:00:00"));
}

TEST_F(ClockChange, InSpringWithAScheduleAfterItMissesNothingOfTheNextDay) {
    scheduled("a", ZOL_SUNDAY, 12, 0);
    scheduled("b", ZOL_MONDAY, 0, 0);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("a Sun 13:00:00", "b Mon 00:00:00"));
}

TEST_F(ClockChange, InSpringCallsTheFirstOfTheLateEveningAfterMidnightAndThenTheNewDay) {
    scheduled("late", ZOL_SUNDAY, 23, 30);
    scheduled("a", ZOL_MONDAY, 0, 15);
    scheduled("b", ZOL_MONDAY, 7, 0);

    runSpring();

    EXPECT_THAT(called(), ElementsAre("late Mon 00:30:00", "b Mon 07:00:00"));
}

// --- an hour is repeated ---

TEST_F(ClockChange, InAutumnCallsTheFirstAfterItAtItsMinute) {
    scheduled("a", ZOL_SUNDAY, 7, 0);
    scheduled("b", ZOL_SUNDAY, 9, 0);

    runAutumn();

    EXPECT_THAT(called(), ElementsAre("a Sun 07:00:00", "b Sun 09:00:00"));
}

TEST_F(ClockChange, InAutumnCallsARepeatedMinuteTheFirstTime) {
    Client& a = scheduled("a", ZOL_SUNDAY, 2, 30);

    runAutumn();

    EXPECT_THAT(called(), ElementsAre("a Sun 02:30:00"));
    EXPECT_EQ(1, a.lastTime.tm_isdst);
}

TEST_F(ClockChange, InAutumnCallsARepeatedMinuteTwiceWhenAnotherScheduleFollowsSoonAfter) {
    scheduled("a", ZOL_SUNDAY, 2, 30);
    scheduled("b", ZOL_SUNDAY, 3, 15);

    runAutumn();

    // The timer for b, 45 minutes after a, fires at 02:15: a is ahead once more.
    EXPECT_THAT(called(), ElementsAre("a Sun 02:30:00", "a Sun 02:30:00", "b Sun 03:15:00"));
}

TEST_F(ClockChange, InAutumnCallsARepeatedMinuteOnceWhenTheNextIsAnHourAway) {
    scheduled("a", ZOL_SUNDAY, 2, 30);
    scheduled("b", ZOL_SUNDAY, 3, 31);

    runAutumn();

    EXPECT_THAT(called(), ElementsAre("a Sun 02:30:00", "b Sun 03:31:00"));
}

TEST_F(ClockChange, InAutumnLooksForMidnightAnHourEarlyAndMissesNothing) {
    scheduled("a", ZOL_MONDAY, 0, 0);

    runAutumn();

    EXPECT_THAT(called(), ElementsAre("a Mon 00:00:00"));
}

TEST_F(ClockChange, InAutumnAtMidnightCallsTheRepeatedHourTwice) {
    // On 2026-11-01 at 00:00 the clocks go to 23:00.
    const ZoneGuard elsewhere("XXX5YYY,M3.2.0/0,M11.1.0/0");
    scheduled("a", ZOL_SATURDAY, 23, 30);

    runFrom("2026-10-31 12:00:00", "2026-11-01 12:00:00");

    EXPECT_THAT(called(), ElementsAre("a Sat 23:30:00", "a Sat 23:30:00"));
}

// --- the clock is set ---

TEST_F(ClockChange, SettingTheClockForwardMakesTheNextLateAndCallsWhatWasPassedWithIt) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    scheduled("b", ZOL_MONDAY, 7, 30);
    scheduled("c", ZOL_MONDAY, 10, 0);
    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-11-16 06:00:00")));
    start();
    called();

    evlp_sim_setDate(dateOf("2026-11-16 08:00:00"));
    runFor(12 * 3600);

    EXPECT_THAT(called(), ElementsAre("a Mon 09:00:00", "b Mon 09:00:00", "c Mon 10:00:00"));
}

TEST_F(ClockChange, StartingAgainAfterTheClockIsSetFindsTheRightMinute) {
    scheduled("a", ZOL_MONDAY, 7, 0);
    scheduled("b", ZOL_MONDAY, 8, 30);
    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-11-16 06:00:00")));
    start();
    called();

    evlp_sim_setDate(dateOf("2026-11-16 08:00:00"));
    start();
    runFor(12 * 3600);

    EXPECT_THAT(called(), ElementsAre("b Mon 08:30:00"));
}

}  // namespace
