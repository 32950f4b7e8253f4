// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SCHED_SCHEDULE_TEST_H
#define SCHED_SCHEDULE_TEST_H

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <stdio.h>
#include <string.h>
#include <string>
#include <syslog.h>
#include <vector>

#include "zol/sched.h"

#include "support/syslog_capture.h"
#include "support/virtual_loop.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** Writes down when it is called, and then does what the test wants. */
class Client : public zol::IScheduleClient {
  public:
    Client(std::string name, std::vector<std::string>* calls)
        : m_name(std::move(name)), m_calls(calls) {}

    void onScheduledEvent(tm now, void* context) override { called("", now, context, whenDue); }
    void onInitialEvent(tm now, void* context) override {
        called("initial ", now, context, whenGreeted);
    }

    std::function<void()> whenDue;
    std::function<void()> whenGreeted;
    void* lastContext = nullptr;
    tm lastTime = {};
    sched_user_s* user = nullptr;

  private:
    void called(const char* kind, const tm& now, void* context,
                const std::function<void()>& action) {
        char time[40];
        strftime(time, sizeof time, "%a %H:%M:%S", &now);
        m_calls->push_back(kind + m_name + " " + time);
        lastContext = context;
        lastTime = now;
        if (action) {
            const std::function<void()> kept = action;  // it may be replaced meanwhile
            kept();
        }
    }

    std::string m_name;
    std::vector<std::string>* m_calls;
};

/**
 * A scheduler on the virtual clock, in the week of Sunday, 2026-11-15, in UTC, with the clock
 * synchronised. Times are "Mon 07:00" or "Mon 07:00:30".
 */
class ScheduleTest : public ::testing::Test {
  protected:
    ScheduleTest() {
        zol::CTime::synchronized = 1;
        clockReads("Sun 00:00");
    }
    ~ScheduleTest() override {
        if (handler != nullptr) {
            handler->stop();
            delete handler;
        }
        zol::CTime::synchronized = 0;
    }

    static int dayOf(const std::string& time) {
        static const char* const kNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
        for (int day = 0; day != 7; ++day) {
            if (time.compare(0, 3, kNames[day]) == 0) {
                return day;
            }
        }
        ADD_FAILURE() << time;
        return 0;
    }

    static int64_t at(const std::string& time) {
        return dateOf("2026-11-" + std::to_string(15 + dayOf(time)) + time.substr(3));
    }

    static void clockReads(const std::string& time) { EXPECT_EQ(0, evlp_sim_setDate(at(time))); }
    static void runUntil(const std::string& time) { EXPECT_EQ(0, evlp_sim_advanceTo(at(time))); }
    static void runFor(int seconds) { EXPECT_EQ(0, evlp_sim_advance(seconds * int64_t{1000000})); }

    static sched_info_t when(int days, int hour, int minute) {
        return {static_cast<uint8_t>(days),
                static_cast<uint8_t>(hour),
                static_cast<uint8_t>(minute),
                0,
                {0, 0}};
    }

    Client& client(const char* name, void* context = nullptr) {
        clients.emplace_back(name, &calls);
        clients.back().user = handler->createUser(&clients.back(), context);
        EXPECT_NE(nullptr, clients.back().user);
        return clients.back();
    }

    void schedule(const Client& client, int days, int hour, int minute) {
        EXPECT_EQ(0, handler->addSchedule(client.user, when(days, hour, minute)));
    }

    /** A client with one schedule. */
    Client& scheduled(const char* name, int days, int hour, int minute) {
        Client& made = client(name);
        schedule(made, days, hour, minute);
        return made;
    }

    void start() { EXPECT_EQ(0, handler->start()); }

    std::vector<std::string> called() {
        std::vector<std::string> taken;
        taken.swap(calls);
        return taken;
    }

    /** What has been logged since the last question, priority 6 all, without function and line. */
    std::vector<std::string> logged() {
        std::vector<std::string> texts;
        for (const SyslogCapture::Line& line : log.lines()) {
            EXPECT_EQ(LOG_INFO, line.priority) << line.text;
            EXPECT_EQ(' ', line.text[0]);
            const size_t begin = line.text.find("(#): ");
            EXPECT_NE(std::string::npos, begin) << line.text;
            texts.push_back(line.text.substr(begin + 5));
        }
        log.clear();
        return texts;
    }

    /** The seconds from now to the moment for which the handler's timer is armed. */
    static std::vector<int64_t> armedSeconds() {
        std::vector<int64_t> delays = VirtualLoop::armedTimersMs();
        for (int64_t& delay : delays) {
            EXPECT_EQ(0, delay % 1000);
            delay /= 1000;
        }
        return delays;
    }

    ZoneGuard zone{"UTC0"};
    VirtualLoop loop;
    SyslogCapture log;
    std::vector<std::string> calls;
    std::list<Client> clients;
    zol::CScheduleHandler* handler = new zol::CScheduleHandler(loop.get());
};

/** `text` and the pointer, as printf writes it. */
inline std::string textOf(const std::string& text, const void* pointer) {
    char address[40];
    snprintf(address, sizeof address, "%p", pointer);
    return text + address;
}

constexpr int kEveryDay = 127;

#endif
