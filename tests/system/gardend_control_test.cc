// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What gardend makes of the lines of the control protocol, and of the words in them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>
#include <string>

#include "zol/sched.h"

#include "control_request.h"
#include "languages.h"
#include "words.h"

namespace gardend {

namespace {

using ::testing::HasSubstr;

ControlRequest read(const std::string& line) {
    ControlRequest request;
    EXPECT_EQ(0U, readRequest(line.c_str(), request)) << line;
    return request;
}

std::string complaint(const std::string& line) {
    ControlRequest request;
    CText text;
    const unsigned error = readRequest(line.c_str(), request);
    if (error != 0) {
        CPhrases("en", nullptr).add(text, error);
    }
    return text.get();
}

TEST(ControlRequest, IsOneWordWhereThereIsNothingMoreToSay) {
    EXPECT_EQ(ControlRequest::kStatus, read("status").kind);
    EXPECT_EQ(ControlRequest::kZones, read("zones").kind);
    EXPECT_EQ(ControlRequest::kMoisture, read("moisture").kind);
    EXPECT_EQ(ControlRequest::kSummary, read("summary").kind);
    EXPECT_EQ(ControlRequest::kDisplay, read("display").kind);
    EXPECT_EQ(ControlRequest::kPlugIns, read("plugins").kind);
    EXPECT_EQ(ControlRequest::kJobs, read("jobs").kind);
    EXPECT_EQ(ControlRequest::kQuit, read("quit").kind);
}

TEST(ControlRequest, OpensAZoneForGoodOrForMinutes) {
    const ControlRequest forGood = read("open roses");
    EXPECT_EQ(ControlRequest::kOpen, forGood.kind);
    EXPECT_STREQ("roses", forGood.zone);
    EXPECT_EQ(0, forGood.runMinutes);

    const ControlRequest forMinutes = read("open roses 90");
    EXPECT_EQ(ControlRequest::kOpen, forMinutes.kind);
    EXPECT_STREQ("roses", forMinutes.zone);
    EXPECT_EQ(90, forMinutes.runMinutes);
}

TEST(ControlRequest, ClosesAZone) {
    const ControlRequest request = read("close roses");

    EXPECT_EQ(ControlRequest::kClose, request.kind);
    EXPECT_STREQ("roses", request.zone);
}

TEST(ControlRequest, AddsASchedule) {
    const ControlRequest request = read("schedule add roses mon,fri 06:30 20");

    EXPECT_EQ(ControlRequest::kAddSchedule, request.kind);
    EXPECT_STREQ("roses", request.zone);
    EXPECT_EQ(ZOL_MONDAY | ZOL_FRIDAY, request.days);
    EXPECT_EQ(6, request.hour);
    EXPECT_EQ(30, request.minute);
    EXPECT_EQ(20, request.runMinutes);
}

TEST(ControlRequest, ListsAndRemovesSchedules) {
    EXPECT_EQ(ControlRequest::kListSchedules, read("schedule list").kind);

    const ControlRequest request = read("schedule remove 12");
    EXPECT_EQ(ControlRequest::kRemoveSchedule, request.kind);
    EXPECT_EQ(12, request.number);
}

TEST(ControlRequest, VouchesForTheClock) {
    EXPECT_EQ(ControlRequest::kClockSynchronized, read("clock synchronized").kind);
}

TEST(ControlRequest, AsksForALanguage) {
    const ControlRequest request = read("language de-AT,fr;q=0.5");

    EXPECT_EQ(ControlRequest::kLanguage, request.kind);
    EXPECT_STREQ("de-AT,fr;q=0.5", request.languages);
    EXPECT_STREQ("", read("language ").languages);
}

TEST(ControlRequest, RunsAJob) {
    const ControlRequest request = read("run self-test");

    EXPECT_EQ(ControlRequest::kRun, request.kind);
    EXPECT_STREQ("self-test", request.job);
    EXPECT_STREQ("", read("run ").job);
}

TEST(ControlRequest, MayHaveAnyZone) {
    EXPECT_STREQ("", read("open ").zone);
    EXPECT_STREQ("lawn\r", read("open lawn\r").zone);
    EXPECT_STREQ("\xff", read("close \xff").zone);
    EXPECT_EQ(std::string(121, 'x'), read("close " + std::string(121, 'x')).zone);
}

TEST(ControlRequest, IsUnknownInOtherWords) {
    for (const char* line : {"",
                             " ",
                             "open",
                             "OPEN lawn",
                             "status now",
                             "quit ",
                             "zones\r",
                             " status",
                             "close a b",
                             "schedule",
                             "schedule lists",
                             "schedule list all",
                             "clock",
                             "clock unsynchronized",
                             "clock synchronized now",
                             "language",
                             "language de fr",
                             "summary now",
                             "display now",
                             "plugins all",
                             "jobs now",
                             "run",
                             "run a b",
                             "open a 1 2",
                             "a b c d e f g h i j"}) {
        EXPECT_EQ("unknown request", complaint(line)) << line;
    }
    EXPECT_EQ("unknown request", complaint(std::string(127, ' ')));
    EXPECT_EQ("unknown request", complaint(std::string(127, 'x')));
}

TEST(ControlRequest, NeedsAllOfASchedule) {
    for (const char* line : {"schedule add", "schedule add roses", "schedule add roses daily 06:30",
                             "schedule add roses daily 06:30 20 ", "schedule add a b c d e f g"}) {
        EXPECT_THAT(complaint(line), HasSubstr("needs ZONE DAYS HH:MM MINUTES")) << line;
    }
}

TEST(ControlRequest, NeedsGoodDays) {
    for (const char* days : {"", "dayly", "Mon", "mon,", ",mon", "mon,,fri", "monday", "mon;fri"}) {
        EXPECT_THAT(complaint(std::string("schedule add roses ") + days + " 06:30 20"),
                    HasSubstr("the days must be"))
            << days;
    }
}

TEST(ControlRequest, NeedsAGoodTime) {
    for (const char* time : {"", "6:30", "06:60", "24:00", "06.30", "0630", "06:3", "06:300",
                             "-1:30", "06:-1", " 6:30", "06:3x", "6x:30", "ab:cd"}) {
        EXPECT_THAT(complaint(std::string("schedule add roses daily ") + time + " 20"),
                    HasSubstr(strchr(time, ' ') == nullptr ? "the time must be" : "needs"))
            << time;
    }
}

TEST(ControlRequest, NeedsAGoodNumberOfMinutes) {
    for (const char* minutes :
         {"", "0", "1441", "-1", "+1", "1.5", "20m", "0x10", "99999999999999999999"}) {
        EXPECT_THAT(complaint(std::string("open roses ") + minutes), HasSubstr("the minutes must"))
            << minutes;
        EXPECT_THAT(complaint(std::string("schedule add roses daily 06:30 ") + minutes),
                    HasSubstr("the minutes must"))
            << minutes;
    }
}

TEST(ControlRequest, KnowsSchedulesByTheirNumber) {
    for (const char* rest : {"", " ", " 0", " -1", " one", " 2147483648", " 1 2"}) {
        EXPECT_THAT(complaint(std::string("schedule remove") + rest),
                    HasSubstr("known by its number"))
            << rest;
    }
}

TEST(Number, IsReadUpToItsLimits) {
    int number = 0;

    EXPECT_TRUE(readNumber("1", 1, 12, number));
    EXPECT_EQ(1, number);
    EXPECT_TRUE(readNumber("0012", 1, 12, number));
    EXPECT_EQ(12, number);
    EXPECT_FALSE(readNumber("13", 1, 12, number));
    EXPECT_EQ(12, number);
}

TEST(TimeOfDay, IsReadFromMidnightToMidnight) {
    uint8_t hour = 99;
    uint8_t minute = 99;

    EXPECT_TRUE(readTimeOfDay("00:00", hour, minute));
    EXPECT_EQ(0, hour);
    EXPECT_EQ(0, minute);
    EXPECT_TRUE(readTimeOfDay("23:59", hour, minute));
    EXPECT_EQ(23, hour);
    EXPECT_EQ(59, minute);
}

TEST(Days, AreWrittenAsTheyAreRead) {
    for (const char* text : {"daily", "mon", "sun", "mon,wed,fri", "tue,thu,sat,sun",
                             "mon,tue,wed,thu,fri,sat", "tue,wed,thu,fri,sat,sun"}) {
        uint8_t days = 0;
        char written[kDaysSize];
        EXPECT_TRUE(readDays(text, days)) << text;
        writeDays(days, written);
        EXPECT_STREQ(text, written);
    }
}

TEST(Days, MayComeInAnyOrderAndTwice) {
    uint8_t days = 0;

    EXPECT_TRUE(readDays("sat,mon,sat,sun", days));

    EXPECT_EQ(ZOL_MONDAY | ZOL_SATURDAY | ZOL_SUNDAY, days);
}

TEST(Days, AreDailyWhenTheyAreAllThere) {
    uint8_t days = 0;
    char written[kDaysSize];

    EXPECT_TRUE(readDays("sun,mon,tue,wed,thu,fri,sat", days));
    writeDays(days, written);

    EXPECT_STREQ("daily", written);
}

}  // namespace

}  // namespace gardend
