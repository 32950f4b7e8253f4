// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/time.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysinfo.h>

// The executable's definitions win over those of the C library: time stands still at what the
// tests set.
namespace {
timespec fakeClock = {};
clockid_t askedClock = -1;
long fakeUptime = 0;
}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    askedClock = clock;
    *time = fakeClock;
    return 0;
}

int sysinfo(struct sysinfo* info) noexcept {
    *info = {};
    info->uptime = fakeUptime;
    return 0;
}

}  // extern "C"

namespace {

using zol::CTime;

// Whether the constants held their values before any other code of the program ran.
const int64_t epochAtStart = CTime::epoch.getMicroseconds();
const int64_t infiniteAtStart = CTime::infinite.getMicroseconds();

class Time : public testing::Test {
  protected:
    ~Time() override {
        CTime::synchronized = 0;
        setZone("UTC0");
    }

    static void setZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    static tm fields(int year, int month, int day, int hour, int minute, int second) {
        tm t = {};
        t.tm_year = year - 1900;
        t.tm_mon = month - 1;
        t.tm_mday = day;
        t.tm_hour = hour;
        t.tm_min = minute;
        t.tm_sec = second;
        return t;
    }

    static CTime utc(tm t) {
        CTime time;
        time.set(t, 0);
        return time;
    }

    static void expectFields(const tm& expected, const tm& actual) {
        EXPECT_EQ(expected.tm_year, actual.tm_year);
        EXPECT_EQ(expected.tm_mon, actual.tm_mon);
        EXPECT_EQ(expected.tm_mday, actual.tm_mday);
        EXPECT_EQ(expected.tm_hour, actual.tm_hour);
        EXPECT_EQ(expected.tm_min, actual.tm_min);
        EXPECT_EQ(expected.tm_sec, actual.tm_sec);
    }
};

TEST_F(Time, ConstantsHaveTheirValues) {
    EXPECT_EQ(0x00DCBFFEFF2BC000, CTime::epoch.getMicroseconds());
    EXPECT_EQ(62135596800000000, CTime::epoch.getMicroseconds());
    EXPECT_EQ(0x00E039C2E44EE000, CTime::y2001.getMicroseconds());
    EXPECT_EQ(63113904000000000, CTime::y2001.getMicroseconds());
    EXPECT_EQ(-1, CTime::infinite.getMicroseconds());
    EXPECT_EQ(-2, CTime::undefined.getMicroseconds());
}

TEST_F(Time, ConstantsAreReadyBeforeAnyOtherCodeRuns) {
    EXPECT_EQ(62135596800000000, epochAtStart);
    EXPECT_EQ(-1, infiniteAtStart);
}

TEST_F(Time, IsOneNumberOf64Bits) {
    EXPECT_EQ(8U, sizeof(CTime));
    EXPECT_EQ(0, CTime().getMicroseconds());
}

#ifndef __UCLIBC__  // which has nothing else on 32 bits
TEST_F(Time, SecondsHave64Bits) {
    EXPECT_EQ(8U, sizeof(time_t));
}
#endif

TEST_F(Time, CurrentIsTheUptimeUntilTheClockIsSynchronised) {
    fakeUptime = 90;
    ASSERT_EQ(0, CTime::synchronized);

    EXPECT_EQ(90000000, CTime::getCurrent().getMicroseconds());
    EXPECT_LT(CTime::getCurrent(), CTime::epoch);
}

TEST_F(Time, CurrentIsTheCalendarTimeOnceTheClockIsSynchronised) {
    CTime::synchronized = 1;
    fakeClock = {1711846799, 123456999};

    EXPECT_EQ(62135596800000000 + 1711846799123456, CTime::getCurrent().getMicroseconds());
    EXPECT_EQ(CLOCK_REALTIME, askedClock);
}

TEST_F(Time, UptimeIsInWholeSeconds) {
    fakeUptime = 7;

    EXPECT_EQ(7000000, CTime::getUpTime().getMicroseconds());
}

TEST_F(Time, UptimeOfManyYearsDoesNotOverflow) {
    fakeUptime = 2000000000;

    EXPECT_EQ(2000000000000000, CTime::getUpTime().getMicroseconds());
}

TEST_F(Time, EpochIsTheFirstSecondOf1970) {
    EXPECT_EQ(0, CTime::epoch.getTimeval().tv_sec);
    EXPECT_EQ(0, CTime::epoch.getTimeval().tv_usec);
    tm t;
    CTime::epoch.getTm(t, 0);
    expectFields(fields(1970, 1, 1, 0, 0, 0), t);
}

TEST_F(Time, TimevalAndTimespecCountFromTheEpoch) {
    const CTime time = CTime::epoch + CTime(1500000);

    EXPECT_EQ(1, time.getTimeval().tv_sec);
    EXPECT_EQ(500000, time.getTimeval().tv_usec);
    EXPECT_EQ(1, time.getTimespec().tv_sec);
    EXPECT_EQ(500000000, time.getTimespec().tv_nsec);
}

TEST_F(Time, BelowTheEpochSecondsAreMinusOne) {
    const CTime time(90000001);

    EXPECT_EQ(-1, time.getTimeval().tv_sec);
    EXPECT_EQ(1, time.getTimeval().tv_usec);
    EXPECT_EQ(-1, time.getTimespec().tv_sec);
    EXPECT_EQ(1000, time.getTimespec().tv_nsec);
    EXPECT_EQ(-1, (CTime::epoch - CTime(1)).getTimeval().tv_sec);
    EXPECT_EQ(999999, (CTime::epoch - CTime(1)).getTimeval().tv_usec);
}

TEST_F(Time, UptimeShowsAsADateOfTheYearOne) {
    tm t;

    CTime(0).getTm(t, 0);
    expectFields(fields(1, 1, 1, 0, 0, 0), t);
    EXPECT_EQ(-1899, t.tm_year);
    CTime(90000000).getTm(t, 0);

    expectFields(fields(1, 1, 1, 0, 1, 30), t);
    EXPECT_EQ(1, t.tm_wday);  // a Monday
}

TEST_F(Time, FieldsGoThereAndBack) {
    const tm cases[] = {fields(1970, 1, 1, 0, 0, 0),    fields(2000, 2, 29, 23, 59, 59),
                        fields(2038, 1, 19, 3, 14, 8),  fields(2106, 2, 7, 6, 28, 16),
                        fields(9999, 12, 31, 12, 0, 0), fields(1, 1, 1, 0, 1, 30),
                        fields(1, 12, 31, 23, 59, 59),  fields(4, 2, 29, 1, 2, 3),
                        fields(1969, 12, 31, 0, 0, 0)};
    for (const char* const zone :
         {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "PST8PDT,M3.2.0,M11.1.0"}) {
        setZone(zone);
        for (const int local : {0, 1}) {
            for (const tm& expected : cases) {
                SCOPED_TRACE(std::string(zone) + " " + std::to_string(expected.tm_year + 1900));
                tm in = expected;
                CTime time;

                time.set(in, local);
                tm out;
                time.getTm(out, local);

                expectFields(expected, out);
                EXPECT_EQ(expected.tm_year, in.tm_year);  // the caller gets its fields back
            }
        }
    }
}

TEST_F(Time, TheDayBeforeTheEpochIsOneDayBelowIt) {
    const CTime time = utc(fields(1969, 12, 31, 0, 0, 0));

    EXPECT_EQ(CTime::epoch - CTime(86400000000), time);
}

TEST_F(Time, SetsDatesAndUptimes) {
    EXPECT_EQ(CTime::epoch, utc(fields(1970, 1, 1, 0, 0, 0)));
    EXPECT_EQ(CTime::y2001, utc(fields(2001, 1, 1, 0, 0, 0)));
    EXPECT_EQ(CTime(0), utc(fields(1, 1, 1, 0, 0, 0)));
    EXPECT_EQ(CTime(90000000), utc(fields(1, 1, 1, 0, 1, 30)));
}

TEST_F(Time, KnowsLocalTime) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    tm in = fields(2024, 1, 15, 12, 0, 0);
    CTime time;

    time.set(in, 1);

    EXPECT_EQ(utc(fields(2024, 1, 15, 11, 0, 0)), time);
    tm out;
    time.getTm(out, 1);
    EXPECT_EQ(12, out.tm_hour);
    utc(fields(2024, 7, 15, 10, 0, 0)).getTm(out, 1);
    EXPECT_EQ(12, out.tm_hour);
    EXPECT_EQ(1, out.tm_isdst);
}

TEST_F(Time, ClearsEveryFieldBeforeItConverts) {
    tm t;
    memset(&t, 0xFF, sizeof t);

    CTime::epoch.getTm(t, 0);

    EXPECT_EQ(0, t.tm_isdst);
    EXPECT_EQ(4, t.tm_wday);
    EXPECT_EQ(0, t.tm_yday);
}

TEST_F(Time, InfiniteAndUndefinedConvertAsNumbers) {
    tm t;

    CTime::infinite.getTm(t, 0);

    expectFields(fields(0, 12, 31, 23, 59, 59), t);  // a microsecond before the year 1
    EXPECT_EQ(-1, CTime::infinite.getTimeval().tv_sec);
    EXPECT_EQ(-2, CTime::undefined.getTimeval().tv_usec);
}

TEST_F(Time, IsReadFromText) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");

    EXPECT_EQ(utc(fields(2024, 1, 15, 11, 30, 5)),
              CTime("2024-01-15 12:30:05", "%Y-%m-%d %H:%M:%S"));
}

TEST_F(Time, ReadFromTextIsTakenForStandardTime) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");

    EXPECT_EQ(utc(fields(2024, 7, 15, 11, 0, 0)),
              CTime("2024-07-15 12:00:00", "%Y-%m-%d %H:%M:%S"));
}

TEST_F(Time, FieldsOfSummerTimeGoThereAndBack) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    const CTime expected = utc(fields(2024, 7, 15, 10, 0, 0));
    tm t;
    expected.getTm(t, 1);
    CTime time;

    time.set(t, 1);

    EXPECT_EQ(expected, time);
}

TEST_F(Time, ReadFromTextKeepsTheFieldsThatWereReadWhenParsingFails) {
    setZone("UTC0");

    EXPECT_EQ(utc(fields(2024, 3, 0, 0, 0, 0)), CTime("2024-03-xx", "%Y-%m-%d"));
    EXPECT_EQ(utc(fields(1900, 1, 0, 0, 0, 0)), CTime("nonsense", "%Y-%m-%d"));
}

TEST_F(Time, AddsSubtractsAndOrders) {
    CTime time = CTime(5) + CTime(3);
    EXPECT_EQ(CTime(8), time);
    EXPECT_EQ(CTime(2), CTime(5) - CTime(3));
    time += CTime(2);
    time -= CTime(1);
    EXPECT_EQ(CTime(9), time);
    EXPECT_TRUE(CTime(1) < CTime(2));
    EXPECT_TRUE(CTime(2) > CTime(1));
    EXPECT_TRUE(CTime(2) <= CTime(2));
    EXPECT_TRUE(CTime(2) >= CTime(2));
    EXPECT_TRUE(CTime(1) != CTime(2));
}

}  // namespace
