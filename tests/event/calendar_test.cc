// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The calendar for C libraries whose seconds end in 2038, against those whose seconds do not; and
// against what is known, everywhere.

#include "event/calendar.h"

#include <gtest/gtest.h>
#include <random>
#include <stdlib.h>

namespace {

tm fields(int year, int month, int day, int hour, int minute, int second) {
    tm t = {};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    return t;
}

void expectSame(const tm& expected, const tm& actual, int64_t seconds) {
    EXPECT_EQ(expected.tm_year, actual.tm_year) << seconds;
    EXPECT_EQ(expected.tm_mon, actual.tm_mon) << seconds;
    EXPECT_EQ(expected.tm_mday, actual.tm_mday) << seconds;
    EXPECT_EQ(expected.tm_hour, actual.tm_hour) << seconds;
    EXPECT_EQ(expected.tm_min, actual.tm_min) << seconds;
    EXPECT_EQ(expected.tm_sec, actual.tm_sec) << seconds;
    EXPECT_EQ(expected.tm_wday, actual.tm_wday) << seconds;
    EXPECT_EQ(expected.tm_yday, actual.tm_yday) << seconds;
    EXPECT_EQ(expected.tm_isdst, actual.tm_isdst) << seconds;
}

void useZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

class Calendar : public testing::Test {
  protected:
    ~Calendar() override { useZone("UTC0"); }
};

TEST_F(Calendar, KnowsTheDaysOfLeapYearsAndOfCenturies) {
    EXPECT_EQ(0, event::daysUntil(1970, 1, 1));
    EXPECT_EQ(1, event::daysUntil(2000, 3, 1) - event::daysUntil(2000, 2, 29));
    EXPECT_EQ(1, event::daysUntil(2100, 3, 1) - event::daysUntil(2100, 2, 28));
    EXPECT_EQ(-719162, event::daysUntil(1, 1, 1));
    EXPECT_EQ(5 * 146097, event::daysUntil(3970, 1, 1));
}

TEST_F(Calendar, GoesOnBehind2038) {
    tm t = {};

    event::split(2147483648, t);

    tm expected = fields(2038, 1, 19, 3, 14, 8);
    expected.tm_wday = 2;
    expected.tm_yday = 18;
    expectSame(expected, t, 2147483648);
}

TEST_F(Calendar, HasSummerTimeInYearsThatTheCLibraryDoesNotKnow) {
    useZone("CET-1CEST,M3.5.0,M10.5.0/3");
    tm t = fields(3969, 7, 1, 12, 0, 0);
    t.tm_isdst = -1;

    const int64_t seconds = event::localSecondsOf(t);

    EXPECT_EQ(1, t.tm_isdst);
    EXPECT_EQ(event::secondsOf(fields(3969, 7, 1, 10, 0, 0)), seconds);
    tm back = {};
    event::splitLocally(seconds, back);
    expectSame(t, back, seconds);
}

TEST_F(Calendar, HasTheYearOfTheZoneAtItsEnds) {
    useZone("EST5");
    tm t = {};

    event::splitLocally(event::secondsOf(fields(2101, 1, 1, 2, 0, 0)), t);

    EXPECT_EQ(2100 - 1900, t.tm_year);
    EXPECT_EQ(11, t.tm_mon);
    EXPECT_EQ(31, t.tm_mday);
    EXPECT_EQ(21, t.tm_hour);
    EXPECT_EQ(364, t.tm_yday);
    EXPECT_EQ(5, t.tm_wday);
}

TEST_F(Calendar, NormalisesFields) {
    tm t = fields(2100, 14, 31, -1, 61, 75);  // the 31st of a February

    const int64_t seconds = event::secondsOf(t);

    EXPECT_EQ(event::secondsOf(fields(2101, 3, 3, 0, 2, 15)), seconds);
    EXPECT_EQ(event::secondsOf(fields(2099, 11, 30, 0, 0, 0)),
              event::secondsOf(fields(2100, -1, 30, 0, 0, 0)));
}

TEST_F(Calendar, AgreesWithTheCLibraryInEveryYearThatItKnows) {
    constexpr bool isWide = sizeof(time_t) == 8;  // years 1 to 9999; else 1902 to 2037
    std::mt19937_64 random(1);
    std::uniform_int_distribution<int64_t> seconds(isWide ? -62135596800 : -2145916800,
                                                   isWide ? 253402300799 : 2145916799);
    for (const char* const zone : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                                   "NZST-12NZDT,M9.5.0,M4.1.0/3"}) {
        useZone(zone);
        for (int i = 0; i < 20000; ++i) {
            const int64_t at = seconds(random);
            const auto wide = static_cast<time_t>(at);
            tm expected = {};
            tm actual = {};
            gmtime_r(&wide, &expected);
            event::split(at, actual);
            expectSame(expected, actual, at);
            EXPECT_EQ(at, event::secondsOf(actual));
            if (at >= 0) {  // before, some C libraries do not know of rules
                localtime_r(&wide, &expected);
                event::splitLocally(at, actual);
                expectSame(expected, actual, at);
                EXPECT_EQ(mktime(&expected), event::localSecondsOf(actual));
            }
            ASSERT_FALSE(HasFailure()) << zone;
        }
    }
}

}  // namespace
