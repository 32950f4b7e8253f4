// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What gardend does as time goes by: run times of valves, moisture samples, the watering plan. The
// clock is a virtual one.

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string>
#include <syslog.h>
#include <vector>

#include "garden.h"
#include "gardend_drivers.h"
#include "sim_soil.h"
#include "support/syslog_capture.h"
#include "support/virtual_loop.h"
#include "watering_plan.h"

namespace gardend {

namespace {

using ::testing::ElementsAre;

constexpr zol::CTime kSecond(1000000);
constexpr zol::CTime kMinute(60000000);
constexpr zol::CTime kTenMinutes(600000000);
constexpr zol::CTime kDay(86400000000);

// What the simulated drivers do, for one test each.
class SoilDrivers : public FakeDrivers {
  public:
    bool setValve(int line, bool open) override {
        const bool moves = FakeDrivers::setValve(line, open);
        m_soils[line].setWatered(isOpen[line]);
        return moves;
    }

    int readMoisture(int line) override { return m_soils[line].getMoisturePermille(); }

  private:
    CSoil m_soils[kLineCount] = {CSoil(420), CSoil(310), CSoil(550), CSoil(280)};
};

// A garden in virtual time. It is Monday, 2026-11-16, midnight.
class GardenInTime : public ::testing::Test {
  protected:
    GardenInTime() {
        EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-11-16 00:00:00")));
        zol::CTime::synchronized = 1;
    }
    ~GardenInTime() override { zol::CTime::synchronized = 0; }

    void pass(const zol::CTime& time) { EXPECT_EQ(0, evlp_sim_advance(time.getMicroseconds())); }

    void passUntil(const char* date) { EXPECT_EQ(0, evlp_sim_advanceTo(dateOf(date))); }

    void start() { ASSERT_TRUE(m_garden.start(m_loop.get(), kSecond, kMinute)); }

    CZone& zone(const char* name) {
        CZone* const found = m_garden.findZone(name);
        EXPECT_NE(nullptr, found) << name;
        return *found;
    }

    ZoneGuard m_utc{"UTC0"};
    VirtualLoop m_loop;
    SoilDrivers m_drivers;
    FourZones m_garden{m_drivers.wiring()};
};

using RunTime = GardenInTime;

TEST_F(RunTime, ClosesTheValveWhenItIsOver) {
    start();

    EXPECT_TRUE(zone("roses").openFor(kTenMinutes));
    pass(kTenMinutes - kSecond);
    EXPECT_TRUE(zone("roses").isOpen());
    pass(kSecond);

    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_EQ(36000, zone("roses").getMillilitres());
}

TEST_F(RunTime, CountsToTheMillisecondWhateverTheTick) {
    ASSERT_TRUE(m_garden.start(m_loop.get(), kDay, kDay));
    pass(zol::CTime(123000));

    EXPECT_TRUE(zone("roses").openFor(kTenMinutes));
    pass(kTenMinutes);

    EXPECT_EQ(36000, zone("roses").getMillilitres());
}

TEST_F(RunTime, TellsHowMuchOfItIsLeft) {
    start();
    EXPECT_EQ(0, zone("roses").getSecondsLeft());

    zone("roses").openFor(kTenMinutes);
    EXPECT_EQ(600, zone("roses").getSecondsLeft());
    pass(zol::CTime(1));
    EXPECT_EQ(600, zone("roses").getSecondsLeft());
    pass(kSecond);
    EXPECT_EQ(599, zone("roses").getSecondsLeft());

    pass(kTenMinutes);
    EXPECT_EQ(0, zone("roses").getSecondsLeft());
}

TEST_F(RunTime, IsEachZonesOwn) {
    start();

    zone("roses").openFor(kMinute);
    zone("lawn").openFor(kTenMinutes);
    pass(kMinute);

    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_TRUE(zone("lawn").isOpen());
    EXPECT_EQ(540, zone("lawn").getSecondsLeft());
}

TEST_F(RunTime, EndsWhenTheValveIsClosed) {
    start();
    zone("roses").openFor(kTenMinutes);

    zone("roses").close();
    EXPECT_EQ(0, zone("roses").getSecondsLeft());
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000, 60000));  // the tick, the samples
    pass(kMinute);
    zone("roses").open();
    pass(kTenMinutes);

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(RunTime, IsForgottenWhenTheValveIsOpenedForGood) {
    start();
    zone("roses").openFor(kMinute);

    zone("roses").open();
    pass(kTenMinutes);

    EXPECT_TRUE(zone("roses").isOpen());
    EXPECT_EQ(0, zone("roses").getSecondsLeft());
}

TEST_F(RunTime, CountsAnewFromTheLastRequest) {
    start();
    zone("roses").openFor(kTenMinutes);

    zone("roses").openFor(kMinute);
    EXPECT_EQ(60, zone("roses").getSecondsLeft());
    pass(kMinute);

    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(RunTime, IsNotShortenedByOneThatIsToLastAtLeast) {
    start();
    zone("roses").openFor(kTenMinutes);
    zone("lawn").openFor(kMinute);
    zone("hedge").open();

    EXPECT_TRUE(zone("roses").openAtLeast(kMinute));
    EXPECT_TRUE(zone("lawn").openAtLeast(kTenMinutes));
    EXPECT_TRUE(zone("hedge").openAtLeast(kMinute));
    EXPECT_TRUE(zone("vegetables").openAtLeast(kMinute));

    EXPECT_EQ(600, zone("roses").getSecondsLeft());
    EXPECT_EQ(600, zone("lawn").getSecondsLeft());
    EXPECT_EQ(0, zone("hedge").getSecondsLeft());
    EXPECT_EQ(60, zone("vegetables").getSecondsLeft());
}

TEST_F(RunTime, OfADayIsOver) {
    start();

    EXPECT_TRUE(zone("roses").openFor(kDay));
    pass(kDay - kSecond);
    EXPECT_TRUE(zone("roses").isOpen());
    pass(kSecond);

    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(RunTime, WithoutATimerLeavesTheValveClosed) {
    start();
    zone("roses").open();

    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);

    EXPECT_FALSE(zone("roses").openFor(kMinute));
    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(RunTime, IsRefusedBeforeTheStart) {
    EXPECT_FALSE(zone("roses").openFor(kMinute));
    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(GardenInTime, DoesNotStartWithoutTimers) {
    evlp_sim_fail(EVLP_SIM_TIMER_OPEN, 3, ENOMEM);

    EXPECT_FALSE(m_garden.start(m_loop.get(), kSecond, kMinute));
}

TEST_F(GardenInTime, SamplesAllZonesWithOneTimerAndTicksWithAnother) {
    start();

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000, 60000));
}

TEST_F(GardenInTime, LeavesNoTimerBehind) {
    {
        FourZones garden(m_drivers.wiring());
        ASSERT_TRUE(garden.start(m_loop.get(), kSecond, kMinute));
        garden.findZone("roses")->openFor(kMinute);
    }

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
}

TEST_F(GardenInTime, FollowsTheClockThatGoesOnEvenly) {
    start();
    zone("roses").open();

    pass(kSecond);
    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2030-01-01 00:00:00")));
    pass(kSecond);
    EXPECT_EQ(0, evlp_sim_pass(8000000));  // the ticks of this time are missed
    pass(kSecond);

    EXPECT_EQ(660, zone("roses").getMillilitres());
}

TEST_F(GardenInTime, SamplesTheMoistureFromTheStartOn) {
    start();
    EXPECT_EQ(1, zone("roses").getMoistureLog().getCount());

    pass(kTenMinutes);

    const CMoistureLog& log = zone("roses").getMoistureLog();
    EXPECT_EQ(11, log.getCount());
    EXPECT_EQ(310, log.getHighest());
    EXPECT_EQ(250, log.getLowest());  // dries by 0.1 percent a second
    EXPECT_EQ(280, log.getMean());
}

TEST_F(GardenInTime, ForgetsTheSamplesOfYesterday) {
    passUntil("2026-11-16 23:59:00");
    start();
    zone("roses").open();

    pass(kMinute - zol::CTime(1000));
    EXPECT_EQ(1, zone("roses").getMoistureLog().getCount());
    pass(zol::CTime(1000));

    EXPECT_EQ(1, zone("roses").getMoistureLog().getCount());
    EXPECT_EQ(610, zone("roses").getMoistureLog().getLowest());
}

TEST_F(GardenInTime, ClosesAtItsStartWhateverTheLastOneHasLeftOpen) {
    m_drivers.isOpen[3] = true;

    start();

    EXPECT_FALSE(m_drivers.isOpen[3]);
}

TEST_F(GardenInTime, TellsAValveAgainThatDoesNotClose) {
    start();
    zone("roses").openFor(kMinute);
    m_drivers.obeys = false;
    pass(kTenMinutes);
    EXPECT_TRUE(zone("roses").isOpen());
    EXPECT_TRUE(m_drivers.isOpen[1]);

    m_drivers.obeys = true;
    pass(kSecond);

    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_FALSE(m_drivers.isOpen[1]);
}

TEST_F(GardenInTime, TellsAValveThatDoesNotCloseOnceWithEachTickAndEachRequest) {
    start();
    zone("roses").open();
    m_drivers.obeys = false;
    m_drivers.calls = 0;

    EXPECT_FALSE(zone("roses").close());
    EXPECT_EQ(1, m_drivers.calls);
    EXPECT_FALSE(zone("roses").close());
    EXPECT_EQ(2, m_drivers.calls);
    EXPECT_FALSE(zone("roses").open());
    EXPECT_EQ(3, m_drivers.calls);
    pass(kSecond);
    EXPECT_EQ(4, m_drivers.calls);
}

TEST_F(GardenInTime, OpensAValveThatDidNotCloseWithoutClosingItBefore) {
    start();
    zone("roses").open();
    m_drivers.obeys = false;
    zone("roses").close();
    m_drivers.obeys = true;
    m_drivers.calls = 0;

    EXPECT_TRUE(zone("roses").open());

    EXPECT_EQ(1, m_drivers.calls);
    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(GardenInTime, LogsEveryRefusalOfWhatIsAskedForAndNoneOfItsOwnTries) {
    SyslogCapture log;
    start();
    zone("roses").open();
    m_drivers.obeys = false;
    log.clear();

    zone("roses").close();
    pass(kTenMinutes);
    zone("roses").close();
    zone("roses").open();

    EXPECT_THAT(log.lines(),
                ElementsAre(SyslogCapture::Line{LOG_ERR, "the valve of roses does not close"},
                            SyslogCapture::Line{LOG_ERR, "the valve of roses does not close"},
                            SyslogCapture::Line{LOG_ERR, "the valve of roses does not open"}));
}

TEST_F(GardenInTime, LogsAtItsEndWhatItLeavesOpen) {
    SyslogCapture log;
    {
        FourZones garden(m_drivers.wiring());
        ASSERT_TRUE(garden.start(m_loop.get(), kSecond, kMinute));
        garden.findZone("roses")->open();
        m_drivers.obeys = false;
        log.clear();
    }

    EXPECT_THAT(log.lines(),
                ElementsAre(SyslogCapture::Line{LOG_ERR, "the valve of roses does not close"},
                            SyslogCapture::Line{LOG_ERR, "the valve of roses is left open"}));
}

TEST_F(RunTime, OfAScheduleEndsWhatAValveThatDidNotCloseHasBegun) {
    start();
    zone("roses").open();
    m_drivers.obeys = false;
    zone("roses").close();
    m_drivers.obeys = true;

    EXPECT_TRUE(zone("roses").openAtLeast(kTenMinutes));

    EXPECT_EQ(600, zone("roses").getSecondsLeft());
    pass(kMinute);
    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(RunTime, WithAValveThatDoesNotOpenIsRefused) {
    start();
    m_drivers.obeys = false;

    EXPECT_FALSE(zone("roses").openFor(kMinute));

    EXPECT_EQ(0, zone("roses").getSecondsLeft());
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000, 60000));
}

// --- the soil ---

class Soil : public GardenInTime {
  protected:
    CSoil m_soil{310};
};

TEST_F(Soil, LivesFromTheFirstLookOn) {
    pass(kDay);
    EXPECT_EQ(310, m_soil.getMoisturePermille());
}

TEST_F(Soil, GetsWetUntilItIsSoaked) {
    m_soil.setWatered(true);

    pass(kSecond);
    EXPECT_EQ(315, m_soil.getMoisturePermille());
    pass(kTenMinutes);
    EXPECT_EQ(1000, m_soil.getMoisturePermille());
}

TEST_F(Soil, DriesUntilItIsDry) {
    m_soil.setWatered(false);

    pass(zol::CTime(10 * kSecond.getMicroseconds()));
    EXPECT_EQ(309, m_soil.getMoisturePermille());
    pass(kDay);
    EXPECT_EQ(0, m_soil.getMoisturePermille());
}

TEST_F(Soil, GetsAsWetInManyShortTimesAsInALongOne) {
    m_soil.setWatered(true);

    for (int i = 0; i < 1000; ++i) {
        pass(zol::CTime(1000));
        (void)m_soil.getMoisturePermille();
    }

    EXPECT_EQ(315, m_soil.getMoisturePermille());
}

// --- the plan ---

class WateringPlan : public GardenInTime {
  protected:
    void start() {
        GardenInTime::start();
        ASSERT_TRUE(m_plan.start());
    }

    int add(const char* name, uint8_t days, uint8_t hour, uint8_t minute, int minutes) {
        return m_plan.add({&zone(name), days, hour, minute, minutes});
    }

    // "roses 06:30" where that zone comes next at that time of the day.
    std::string next() {
        const NextWatering found = m_plan.findNext();
        if (found.schedule == nullptr) {
            return "none";
        }
        char time[40];
        snprintf(time, sizeof(time), " %d %02d:%02d", found.day, found.schedule->hour,
                 found.schedule->minute);
        return found.schedule->zone->getName() + std::string(time);
    }

    CWateringPlan m_plan{m_loop.get()};
};

// What is due, but has not been looked at yet, is lost when the scheduler begins anew.
TEST_F(WateringPlan, KeepsWhatIsDueWhereAConfigurationChangesNothing) {
    start();
    zol::CTab<ScheduleWish> wishes;
    wishes.append({"roses", ZOL_MONDAY, 6, 30, 20});
    ASSERT_EQ(0, m_plan.configure(wishes, m_garden));
    passUntil("2026-11-16 06:29:59");

    ASSERT_EQ(0, evlp_sim_setDate(dateOf("2026-11-16 06:30:05")));
    ASSERT_EQ(0, m_plan.configure(wishes, m_garden));
    m_plan.keepZones(fourZones());
    pass(kSecond);

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, OpensTheValveAtItsTimeForItsMinutes) {
    start();
    EXPECT_EQ(1, add("roses", ZOL_MONDAY, 6, 30, 20));

    passUntil("2026-11-16 06:29:59");
    EXPECT_FALSE(zone("roses").isOpen());
    pass(kSecond);
    EXPECT_TRUE(zone("roses").isOpen());
    EXPECT_EQ(1200, zone("roses").getSecondsLeft());
    passUntil("2026-11-16 06:49:59");
    EXPECT_TRUE(zone("roses").isOpen());
    pass(kSecond);

    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_EQ(72000, zone("roses").getMillilitres());
    EXPECT_EQ(72000, m_garden.getMillilitres());
}

TEST_F(WateringPlan, WatersEveryWeekOnTheSameDays) {
    start();
    add("roses", ZOL_TUESDAY | ZOL_SUNDAY, 6, 30, 1);
    const char* const days[] = {"2026-11-17", "2026-11-22", "2026-11-24", "2026-11-29"};

    int64_t expected = 0;
    for (const std::string day : days) {
        passUntil((day + " 06:29:59").c_str());
        EXPECT_EQ(expected, zone("roses").getMillilitres()) << day;
        expected += 3600;
        passUntil((day + " 06:31:00").c_str());
        EXPECT_EQ(expected, zone("roses").getMillilitres()) << day;
    }
}

TEST_F(WateringPlan, KeepsItsTimesWhenTheClocksArePutForward) {
    const ZoneGuard berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-03-28 12:00:00")));  // Saturday
    start();
    add("roses", ZOL_SUNDAY, 6, 30, 1);
    add("lawn", ZOL_MONDAY, 0, 30, 1);

    passUntil("2026-03-29 06:29:59");
    EXPECT_FALSE(zone("roses").isOpen());
    passUntil("2026-03-29 06:30:00");
    EXPECT_TRUE(zone("roses").isOpen());
    passUntil("2026-03-30 00:29:59");
    EXPECT_FALSE(zone("lawn").isOpen());
    passUntil("2026-03-30 00:30:00");
    EXPECT_TRUE(zone("lawn").isOpen());
}

TEST_F(WateringPlan, WatersOnceWhenTheClocksArePutBack) {
    const ZoneGuard berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-10-24 12:00:00")));  // Saturday
    start();
    add("roses", ZOL_SUNDAY, 6, 30, 1);
    add("lawn", ZOL_SUNDAY, 2, 30, 1);

    passUntil("2026-10-25 06:29:59");
    EXPECT_EQ(12000, zone("lawn").getMillilitres());
    EXPECT_FALSE(zone("roses").isOpen());
    passUntil("2026-10-25 06:30:00");
    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, FindsItsTimesWithinAnHourAfterTheClockHasBeenSet) {
    start();
    add("roses", ZOL_MONDAY, 8, 30, 1);
    passUntil("2026-11-16 05:00:00");

    EXPECT_EQ(0, evlp_sim_setDate(dateOf("2026-11-16 07:00:00")));
    passUntil("2026-11-16 08:29:59");
    EXPECT_FALSE(zone("roses").isOpen());
    pass(kSecond);

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, DoesNotWaterAgainWhenItIsChangedInTheSecondOfAWatering) {
    start();
    add("roses", ZOL_MONDAY, 6, 30, 20);
    const int other = add("lawn", ZOL_TUESDAY, 6, 30, 20);
    passUntil("2026-11-16 06:30:00");
    zone("roses").close();

    EXPECT_TRUE(m_plan.remove(other));
    pass(kSecond);

    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(WateringPlan, WatersAtOnceWhatBecomesDueAfterTheClockIsKnownToBeRight) {
    zol::CTime::synchronized = 0;
    start();
    add("roses", ZOL_MONDAY, 6, 30, 20);
    passUntil("2026-11-16 06:29:30");

    zol::CTime::synchronized = 1;
    EXPECT_TRUE(m_plan.start());
    passUntil("2026-11-16 06:30:00");

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, BeginsOnlyWhenItIsStarted) {
    GardenInTime::start();
    add("roses", ZOL_MONDAY, 6, 30, 20);

    passUntil("2026-11-16 06:30:00");

    EXPECT_FALSE(zone("roses").isOpen());
}

TEST_F(WateringPlan, FollowsTheTimeOfItsZone) {
    const ZoneGuard kolkata("IST-5:30");
    start();
    add("roses", ZOL_MONDAY, 6, 30, 20);
    EXPECT_EQ("roses 1 06:30", next());

    passUntil("2026-11-16 06:29:59");
    EXPECT_FALSE(zone("roses").isOpen());
    pass(kSecond);

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, ClosesTheValveWhenTheLastOfOverlappingSchedulesEnds) {
    start();
    add("roses", ZOL_MONDAY, 6, 0, 30);
    add("roses", ZOL_MONDAY, 6, 10, 5);
    add("roses", ZOL_MONDAY, 6, 20, 30);

    passUntil("2026-11-16 06:10:00");
    EXPECT_EQ(1200, zone("roses").getSecondsLeft());
    passUntil("2026-11-16 06:20:00");
    EXPECT_EQ(1800, zone("roses").getSecondsLeft());
    passUntil("2026-11-16 06:50:00");

    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_EQ(180000, zone("roses").getMillilitres());
}

TEST_F(WateringPlan, TakesTheLongestOfOneMinute) {
    start();
    add("roses", ZOL_MONDAY, 6, 0, 5);
    add("roses", ZOL_MONDAY, 6, 0, 30);
    add("roses", ZOL_MONDAY, 6, 0, 10);
    add("lawn", ZOL_MONDAY, 6, 0, 1);

    passUntil("2026-11-16 06:00:00");

    EXPECT_EQ(1800, zone("roses").getSecondsLeft());
    EXPECT_EQ(60, zone("lawn").getSecondsLeft());
}

TEST_F(WateringPlan, LeavesAValveOpenThatWasOpenedByHand) {
    start();
    add("roses", ZOL_MONDAY, 6, 0, 5);
    zone("roses").open();

    passUntil("2026-11-16 07:00:00");

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, GoesOnAfterOneIsAdded) {
    start();
    add("lawn", ZOL_MONDAY, 6, 0, 1);
    passUntil("2026-11-16 05:00:00");

    add("hedge", ZOL_MONDAY, 6, 0, 1);
    passUntil("2026-11-16 07:00:00");

    EXPECT_EQ(12000, zone("lawn").getMillilitres());
    EXPECT_EQ(7200, zone("hedge").getMillilitres());
}

TEST_F(WateringPlan, GoesOnAfterOneIsRemoved) {
    start();
    const int first = add("roses", ZOL_MONDAY, 6, 0, 1);
    add("lawn", ZOL_MONDAY, 6, 0, 1);
    passUntil("2026-11-16 05:00:00");

    EXPECT_TRUE(m_plan.remove(first));
    passUntil("2026-11-16 07:00:00");

    EXPECT_EQ(0, zone("roses").getMillilitres());
    EXPECT_EQ(12000, zone("lawn").getMillilitres());
}

TEST_F(WateringPlan, LeavesTheValveOpenWhoseScheduleIsRemoved) {
    start();
    const int number = add("roses", ZOL_MONDAY, 6, 0, 30);
    passUntil("2026-11-16 06:10:00");

    EXPECT_TRUE(m_plan.remove(number));
    EXPECT_EQ(1200, zone("roses").getSecondsLeft());
    pass(kDay);

    EXPECT_EQ(108000, zone("roses").getMillilitres());
}

TEST_F(WateringPlan, NumbersItsSchedulesAndGivesNoNumberTwice) {
    EXPECT_EQ(1, add("roses", ZOL_MONDAY, 6, 0, 30));
    EXPECT_EQ(2, add("roses", ZOL_MONDAY, 6, 0, 30));
    EXPECT_TRUE(m_plan.remove(2));
    EXPECT_EQ(3, add("roses", ZOL_MONDAY, 6, 0, 30));

    EXPECT_FALSE(m_plan.remove(2));
    EXPECT_FALSE(m_plan.remove(0));
    EXPECT_FALSE(m_plan.remove(4));
    EXPECT_EQ(2, m_plan.getSchedules().getCount());
}

TEST_F(WateringPlan, HasRoomForSixtyFourSchedules) {
    for (int number = 1; number <= 64; ++number) {
        EXPECT_EQ(number, add("roses", 127, 6, 0, 30));
    }

    EXPECT_EQ(CWateringPlan::kFull, add("roses", 127, 6, 0, 30));
    EXPECT_TRUE(m_plan.remove(7));
    EXPECT_EQ(65, add("roses", 127, 6, 0, 30));
}

TEST_F(WateringPlan, WaitsUntilItIsKnownThatTheClockIsRight) {
    zol::CTime::synchronized = 0;
    start();
    add("roses", 127, 6, 0, 1);
    passUntil("2026-11-16 12:00:00");
    EXPECT_EQ(0, zone("roses").getMillilitres());

    zol::CTime::synchronized = 1;
    passUntil("2026-11-17 06:00:00");

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, BeginsWithinAMinuteAfterTheClockHasBecomeRight) {
    zol::CTime::synchronized = 0;
    start();
    add("roses", 127, 6, 0, 1);
    passUntil("2026-11-16 05:58:30");

    zol::CTime::synchronized = 1;
    passUntil("2026-11-16 06:00:00");

    EXPECT_TRUE(zone("roses").isOpen());
}

TEST_F(WateringPlan, FindsWhatComesNext) {
    EXPECT_EQ("none", next());

    add("roses", ZOL_MONDAY | ZOL_THURSDAY, 6, 30, 1);
    add("lawn", ZOL_WEDNESDAY, 23, 59, 1);
    EXPECT_EQ("roses 1 06:30", next());
    passUntil("2026-11-16 06:29:59");
    EXPECT_EQ("roses 1 06:30", next());
    passUntil("2026-11-16 06:30:00");
    EXPECT_EQ("lawn 3 23:59", next());
    passUntil("2026-11-18 23:59:00");
    EXPECT_EQ("roses 4 06:30", next());
    passUntil("2026-11-22 12:00:00");
    EXPECT_EQ("roses 1 06:30", next());
}

TEST_F(WateringPlan, FindsTheOnlyScheduleAgainAWeekLater) {
    add("roses", ZOL_MONDAY, 0, 0, 1);

    EXPECT_EQ("roses 1 00:00", next());
}

TEST_F(WateringPlan, LeavesNoTimerBehind) {
    {
        CWateringPlan plan(m_loop.get());
        ASSERT_TRUE(plan.start());
        ASSERT_EQ(1U, VirtualLoop::armedTimersMs().size());
    }

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
}

class Gate : public IWateringGate {
  public:
    bool mayWater(const CZone& zone, const tm& now) override {
        asked += std::string(zone.getName()) + " " + std::to_string(now.tm_hour) + ";";
        return isOpen;
    }

    bool isOpen = false;
    std::string asked;
};

TEST_F(GardenInTime, IsWateredOnlyWhenTheGateLetsIt) {
    Gate gate;
    CWateringPlan plan(m_loop.get(), &gate);
    start();
    ASSERT_TRUE(plan.start());
    ASSERT_EQ(1, plan.add({&zone("roses"), ZOL_MONDAY | ZOL_TUESDAY, 6, 30, 20}));

    passUntil("2026-11-16 06:30:00");
    EXPECT_FALSE(zone("roses").isOpen());
    EXPECT_STREQ("roses", plan.getSkipped().zone.get());
    EXPECT_EQ(1, plan.getSkipped().day);
    EXPECT_EQ(6, plan.getSkipped().hour);
    EXPECT_EQ(30, plan.getSkipped().minute);

    gate.isOpen = true;
    passUntil("2026-11-17 06:30:00");
    EXPECT_TRUE(zone("roses").isOpen());
    EXPECT_EQ(1, plan.getSkipped().day);
    EXPECT_EQ("roses 6;roses 6;", gate.asked);
}

TEST_F(GardenInTime, TellsOfItsSamples) {
    class Watcher : public ISampleWatcher {
      public:
        void onSample(const char* name, int permille) override {
            told += std::string(name) + " " + std::to_string(permille) + ";";
        }
        std::string told;
    };
    Watcher watcher;
    FourZones garden({m_drivers, m_drivers, nullptr, &watcher});

    ASSERT_TRUE(garden.start(m_loop.get(), kSecond, kMinute));
    EXPECT_EQ("lawn 420;roses 310;vegetables 550;hedge 280;", watcher.told);
    watcher.told.clear();
    pass(kMinute);

    EXPECT_EQ("lawn 414;roses 304;vegetables 544;hedge 274;", watcher.told);
}

}  // namespace

}  // namespace gardend
