// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "evlp/sim.h"

#include "support/sim_loop.h"

namespace {

class SimParseDate : public SimTest {
  protected:
    /** In seconds since 1970; -1 for what is refused. */
    static int64_t parse(const char* text) {
        int64_t date = 4711;
        const int result = evlp_sim_parseDate(text, &date);
        if (result < 0) {
            EXPECT_EQ(EINVAL, errno);
            EXPECT_EQ(4711, date);  // untouched
            return -1;
        }
        EXPECT_EQ(0, date % kSecond);
        return date / kSecond;
    }

    static void zoneIs(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
};

TEST_F(SimParseDate, TakesLocalTime) {
    EXPECT_EQ(1767265200, parse("2026-01-01 12:00:00"));  // 11:00 UTC
    EXPECT_EQ(1782900000, parse("2026-07-01 12:00:00"));  // 10:00 UTC

    zoneIs("UTC");
    EXPECT_EQ(1767268800, parse("2026-01-01 12:00:00"));
}

TEST_F(SimParseDate, MayLackTheSeconds) {
    EXPECT_EQ(1767265200, parse("2026-01-01 12:00"));
}

TEST_F(SimParseDate, ReachesFarBackAndAhead) {
    EXPECT_EQ(-3600, parse("1970-01-01 00:00:00"));
    EXPECT_EQ(2145913199, parse("2037-12-31 23:59:59"));
    if (sizeof(time_t) == 8) {
        EXPECT_EQ(253402297199, parse("9999-12-31 23:59:59"));
    }
}

TEST_F(SimParseDate, RefusesYearsBeyondWhatTheCalendarCounts) {
    for (const char* const text :
         {"1901-12-31 23:59:59", "2038-01-01 00:00:00", "9999-12-31 23:59:59"}) {
        EXPECT_EQ(sizeof(time_t) == 4, parse(text) == -1) << text;
    }
}

TEST_F(SimParseDate, TakesTheFirstOfTwoHoursWhereClocksArePutBack) {
    EXPECT_EQ(1792888200, parse("2026-10-25 02:30:00"));  // 00:30 UTC, summer time still
    EXPECT_EQ(1792888200, parse("2026-10-25 02:30:00"));  // whatever was asked before
    parse("2026-12-01 12:00:00");
    EXPECT_EQ(1792888200, parse("2026-10-25 02:30:00"));
    EXPECT_EQ(1792893600, parse("2026-10-25 03:00:00"));

    zoneIs("IST-1GMT0,M10.5.0,M3.5.0/1");  // where winter is what is called summer time
    EXPECT_EQ(1792888200, parse("2026-10-25 01:30:00"));
}

TEST_F(SimParseDate, TakesAnHourThatIsLeftOutAnHourLater) {
    EXPECT_EQ(parse("2026-03-29 03:30:00"), parse("2026-03-29 02:30:00"));
    parse("2026-07-01 12:00:00");
    EXPECT_EQ(1774747800, parse("2026-03-29 02:30:00"));
    EXPECT_EQ(1774745999, parse("2026-03-29 01:59:59"));
    EXPECT_EQ(1774746000, parse("2026-03-29 03:00:00"));
}

TEST_F(SimParseDate, KnowsZonesSouthOfTheEquatorAndThoseWithoutSummerTime) {
    zoneIs("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");  // clocks are put by half an hour
    EXPECT_EQ(1767232800, parse("2026-01-01 13:00:00"));
    EXPECT_EQ(1775313900, parse("2026-04-05 01:45:00"));  // the first of two

    zoneIs("IST-5:30");
    EXPECT_EQ(1767249000, parse("2026-01-01 12:00:00"));
}

TEST_F(SimParseDate, RefusesOtherTexts) {
    for (const char* const text :
         {"", "tomorrow", "2026", "2026-01-01", "2026-01-01 12",
          "2026-01-01 12:00:", "2026-01-01 12:00:0", "2026-01-01 12:00:00 ", " 2026-01-01 12:00:00",
          "2026-01-01T12:00:00", "2026-1-1 12:00:00", "26-01-01 12:00:00", "2026-01-01 12:00:00.5",
          "2026-01-01 12-00-00", "+026-01-01 12:00:00", "2026-01-01 12:00:00Z"}) {
        EXPECT_EQ(-1, parse(text)) << text;
    }
    EXPECT_EQ(-1, parse(nullptr));
}

TEST_F(SimParseDate, RefusesDaysAndTimesThatThereAreNot) {
    for (const char* const text :
         {"2026-02-29 12:00:00", "2026-00-01 12:00:00", "2026-13-01 12:00:00",
          "2026-01-00 12:00:00", "2026-04-31 12:00:00", "2026-01-01 24:00:00",
          "2026-01-01 12:60:00", "2026-01-01 12:00:60"}) {
        EXPECT_EQ(-1, parse(text)) << text;
    }
    EXPECT_EQ(1709204400, parse("2024-02-29 12:00:00"));
}

}  // namespace
