// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <thread>
#include <time.h>

#include "evlp/sim.h"
#include "zol/time.h"

#include "support/clock_reader.h"
#include "support/sim_loop.h"

namespace {

using zol::CTime;

class SimClock : public SimTest {};

using ReadClocks = ClockReadings();
class SimClockOf : public SimTest, public ::testing::WithParamInterface<ReadClocks*> {};

TEST_F(SimClock, StartsAtZeroOnTheFirstOfJanuary2001) {
    EXPECT_EQ(0, evlp_sim_now());
    EXPECT_EQ(978307200 * kSecond, evlp_sim_date());
    EXPECT_EQ("Mon 2001-01-01 01:00:00", date());  // an hour east of Greenwich
}

TEST_F(SimClock, StandsStillUnlessItIsMoved) {
    timespec first = {};
    timespec second = {};
    clock_gettime(CLOCK_MONOTONIC, &first);
    for (int i = 0; i != 1000; ++i) {
        clock_gettime(CLOCK_MONOTONIC, &second);
    }

    EXPECT_EQ(first.tv_sec, second.tv_sec);
    EXPECT_EQ(first.tv_nsec, second.tv_nsec);
}

TEST_P(SimClockOf, AnswersAllThatAnotherLibraryAsksFor) {
    dateIs("2026-03-29 01:59:50");
    evlp_sim_pass(1250 * kMs);

    const ClockReadings read = GetParam()();

    EXPECT_EQ(1774745991 * kSecond, read.time);
    EXPECT_EQ(1774745991 * kSecond, read.timeStored);
    EXPECT_EQ(1774745991250 * kMs, read.realtime);
    EXPECT_EQ(1774745991250 * kMs, read.realtimeCoarse);
    EXPECT_EQ(1774745991250 * kMs, read.international);
    EXPECT_EQ(1774745991250 * kMs, read.day);
    EXPECT_EQ(1774745991250 * kMs, read.utc);
    EXPECT_EQ(1250 * kMs, read.monotonic);
    EXPECT_EQ(1250 * kMs, read.monotonicRaw);
    EXPECT_EQ(1250 * kMs, read.monotonicCoarse);
    EXPECT_EQ(1250 * kMs, read.boottime);
    EXPECT_STREQ("2026-03-29 01:59:51", read.local);
}

TEST_P(SimClockOf, CountsASecondOfUptimeThatHasBegun) {
    EXPECT_EQ(0, GetParam()().since);

    evlp_sim_pass(1);
    EXPECT_EQ(1 * kSecond, GetParam()().since);

    evlp_sim_pass(1 * kSecond - 1);
    EXPECT_EQ(1 * kSecond, GetParam()().since);
}

INSTANTIATE_TEST_SUITE_P(BothLibraries, SimClockOf,
                         ::testing::Values(readClocksAsBuilt, readClocksPlain));

TEST_F(SimClock, IsThatOfObjectsWithSecondsOfEitherSize) {
#ifdef __UCLIBC__  // which has nothing else on 32 bits
    EXPECT_EQ(static_cast<int>(sizeof(void*)), readClocksAsBuilt().secondsSize);
#else
    EXPECT_EQ(8, readClocksAsBuilt().secondsSize);
#endif
#ifdef __TIMESIZE  // what glibc has without any definitions
    EXPECT_EQ(__TIMESIZE / 8, readClocksPlain().secondsSize);
#else
    EXPECT_EQ(static_cast<int>(sizeof(time_t)), readClocksPlain().secondsSize);
#endif
}

TEST_F(SimClock, BeyondTheYear2038IsAnErrorWhereSecondsAreTooSmall) {
    evlp_sim_setDate(4102444800 * kSecond);  // 2100

    for (const ClockReadings& read : {readClocksAsBuilt(), readClocksPlain()}) {
        const bool isTooSmall = read.secondsSize == 4;
        EXPECT_EQ(isTooSmall ? -1 * kSecond : 4102444800 * kSecond, read.time);
        EXPECT_EQ(isTooSmall ? -1 : 4102444800 * kSecond, read.realtime);
        EXPECT_EQ(isTooSmall ? 0 : 4102444800 * kSecond, read.day);
        EXPECT_EQ(isTooSmall ? -1 : 4102444800 * kSecond, read.utc);
    }
}

TEST_F(SimClock, IsThatOfCTime) {
    CTime::synchronized = 1;
    dateIs("2026-11-16 06:00:00");
    evlp_sim_advance(2 * kSecond);

    EXPECT_EQ(1794805202 * kSecond,
              CTime::getCurrent().getMicroseconds() - CTime::epoch.getMicroseconds());
    EXPECT_EQ(2 * kSecond, CTime::getUpTime().getMicroseconds());

    CTime::synchronized = 0;
}

TEST_F(SimClock, IsReadOnEveryThread) {
    int64_t read = 0;
    evlp_sim_advance(5 * kSecond);

    std::thread([&] {
        timespec time = {};
        clock_gettime(CLOCK_MONOTONIC, &time);
        read = int64_t{time.tv_sec} * kSecond + time.tv_nsec / 1000;
    }).join();

    EXPECT_EQ(5 * kSecond, read);
}

TEST_F(SimClock, LeavesTheProcessorsTimeAlone) {
    timespec before = {};
    timespec after = {};
    ASSERT_EQ(0, clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before));
    evlp_sim_advance(100 * kDay);
    ASSERT_EQ(0, clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after));

    EXPECT_GT(after.tv_sec * 1000000000LL + after.tv_nsec,
              before.tv_sec * 1000000000LL + before.tv_nsec);
    EXPECT_LT(after.tv_sec - before.tv_sec, 100);
}

TEST_F(SimClock, RefusesClocksThatThereAreNot) {
    timespec time = {};

    EXPECT_EQ("-1 EINVAL", outcome(clock_gettime(4711, &time)));
#ifdef TIME_UTC
    EXPECT_EQ(0, timespec_get(&time, 4711));
#endif
}

TEST_F(SimClock, AnswersTheRestOfSysinfoFromTheSystem) {
    struct sysinfo info = {};

    EXPECT_EQ(0, sysinfo(&info));
    EXPECT_LT(0u, info.totalram);
}

TEST_F(SimClock, KnowsNoTimeZoneOfTheKernel) {
    struct timezone zone = {1, 1};
    timeval day = {};

    EXPECT_EQ(0, gettimeofday(&day, &zone));
    EXPECT_EQ(0, zone.tz_minuteswest);
    EXPECT_EQ(0, zone.tz_dsttime);
}

}  // namespace
