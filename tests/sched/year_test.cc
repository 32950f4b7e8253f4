// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A year of many clients, compared with what a calendar says minute by minute.

#include <deque>
#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <string>
#include <syslog.h>
#include <time.h>
#include <vector>

#include "zol/sched.h"

#include "support/virtual_loop.h"

namespace {

constexpr int kClients = 200;
constexpr int kSchedules = 1000;
constexpr int64_t kMinuteUs = 60000000;

struct Zone {
    const char* name;
    const char* rules;  // as TZ takes them: no zone database is needed
};

void PrintTo(const Zone& zone, std::ostream* out) {
    *out << zone.rules;
}

struct Call {
    int64_t minute;  // since 1970
    int client;
    bool operator==(const Call& other) const {
        return minute == other.minute && client == other.client;
    }
};

void PrintTo(const Call& call, std::ostream* out) {
    const time_t time = static_cast<time_t>(call.minute * 60);
    char text[60];
    strftime(text, sizeof text, "%a %F %H:%M %Z", localtime(&time));
    *out << text << " client " << call.client;
}

struct Schedule {
    sched_info_t info;
    int client;
};

tm localTime(int64_t minute) {
    const time_t time = static_cast<time_t>(minute * 60);
    return *localtime(&time);
}

// A day whose last minute has another offset from UTC than its first.
bool isChangeDay(const tm& time) {
    tm midnight = time;
    midnight.tm_hour = midnight.tm_min = midnight.tm_sec = 0;
    midnight.tm_isdst = -1;
    tm next = midnight;
    next.tm_mday += 1;
    return mktime(&next) - mktime(&midnight) != 86400;
}

class Client : public zol::IScheduleClient {
  public:
    Client(int number, std::vector<Call>* calls) : m_number(number), m_calls(calls) {}

    void onScheduledEvent(tm now, void*) override {
        const int64_t minute = evlp_sim_date() / kMinuteUs;
        EXPECT_EQ(0, evlp_sim_date() % kMinuteUs);
        EXPECT_EQ(localTime(minute).tm_min, now.tm_min);
        EXPECT_EQ(localTime(minute).tm_yday, now.tm_yday);
        if (!isChangeDay(now)) {
            m_calls->push_back({minute, m_number});
        }
    }
    void onInitialEvent(tm, void*) override {}

  private:
    int m_number;
    std::vector<Call>* m_calls;
};

std::vector<Schedule> randomSchedules() {
    std::mt19937 random(20260101);
    const auto below = [&random](unsigned limit) { return random() % limit; };
    std::vector<Schedule> schedules;
    for (int i = 0; i != kSchedules; ++i) {
        sched_info_t info = {};
        info.days = static_cast<uint8_t>(1 + below(127));
        info.hour = static_cast<uint8_t>(below(24));
        info.minute = static_cast<uint8_t>(below(60));
        schedules.push_back({info, static_cast<int>(below(kClients))});
    }
    return schedules;
}

// The oracle: looks at every minute, and at all schedules in the order of their adding.
std::vector<Call> expectedCalls(const std::vector<Schedule>& schedules, int64_t begin,
                                int64_t end) {
    std::vector<int> clientsByMinute[7][1440];
    for (const Schedule& schedule : schedules) {
        for (int day = 0; day != 7; ++day) {
            if ((schedule.info.days & 1 << day) != 0) {
                clientsByMinute[day][schedule.info.hour * 60 + schedule.info.minute].push_back(
                    schedule.client);
            }
        }
    }
    std::vector<Call> calls;
    int checkedDay = -1;
    bool skipped = false;
    for (int64_t minute = begin; minute != end; ++minute) {
        const tm time = localTime(minute);
        if (time.tm_yday != checkedDay) {
            checkedDay = time.tm_yday;
            skipped = isChangeDay(time);
        }
        if (!skipped) {
            for (const int client :
                 clientsByMinute[time.tm_wday][time.tm_hour * 60 + time.tm_min]) {
                calls.push_back({minute, client});
            }
        }
    }
    return calls;
}

class YearOfSchedules : public ::testing::TestWithParam<Zone> {
  protected:
    YearOfSchedules() { zol::CTime::synchronized = 1; }
    ~YearOfSchedules() override { zol::CTime::synchronized = 0; }
};

// On the two days of the clock change it is for clock_change_test.cc to say what comes.
TEST_P(YearOfSchedules, CallsEveryClientAtItsMinuteNeverTwiceAndMissesNone) {
    const ZoneGuard zone(GetParam().rules);
    const VirtualLoop loop;
    const int64_t begin = dateOf("2026-01-01 00:00:00");
    const int64_t end = dateOf("2027-01-01 00:00:00");
    ASSERT_EQ(0, evlp_sim_setDate(begin));
    const std::vector<Schedule> schedules = randomSchedules();
    std::vector<Call> calls;
    zol::CScheduleHandler handler(loop.get());
    std::deque<Client> clients;
    std::vector<sched_user_s*> users;
    for (int i = 0; i != kClients; ++i) {
        clients.emplace_back(i, &calls);
        users.push_back(handler.createUser(&clients.back(), nullptr));
    }
    for (const Schedule& schedule : schedules) {
        handler.addSchedule(users[static_cast<size_t>(schedule.client)], schedule.info);
    }

    handler.start();
    ASSERT_EQ(0, evlp_sim_advanceTo(end - 1));
    handler.stop();

    const std::vector<Call> expected = expectedCalls(schedules, begin / kMinuteUs, end / kMinuteUs);
    EXPECT_LT(100000u, expected.size());
    ASSERT_EQ(expected.size(), calls.size());
    for (size_t i = 0; i != expected.size(); ++i) {
        ASSERT_EQ(expected[i], calls[i]) << "call " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(InEveryZone, YearOfSchedules,
                         ::testing::Values(Zone{"Utc", "UTC0"}, Zone{"Kolkata", "IST-5:30"},
                                           Zone{"Paris", "CET-1CEST,M3.5.0,M10.5.0/3"},
                                           Zone{"NewYork", "EST5EDT,M3.2.0,M11.1.0"},
                                           // By half an hour only, and in the summer of the south.
                                           Zone{"LordHowe",
                                                "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"}),
                         [](const auto& zone) { return zone.param.name; });

}  // namespace
