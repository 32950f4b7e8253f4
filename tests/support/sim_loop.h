/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_SIM_LOOP_H
#define SUPPORT_SIM_LOOP_H

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <stdint.h>
#include <string>
#include <vector>

#include "evlp/sim.h"

#include "support/evlp_loop.h"

constexpr int64_t kMs = 1000;
constexpr int64_t kSecond = 1000 * kMs;
constexpr int64_t kMinute = 60 * kSecond;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;

/** "-1 EBUSY" for a call that failed, "0" for one that did not. */
std::string outcome(int result);

/** A fresh virtual system with a loop, and the names of the contexts that were called, in order. */
class SimTest : public ::testing::Test {
  protected:
    SimTest();
    ~SimTest() override;

    Context& timer(const char* name, int priority = 8);
    Context& reader(const char* name, int fd, int priority = 8);
    Context& watcher(const char* name, int fd, int mode, int priority = 8);
    Context& signal(const char* name, int signum, int priority = 8);

    /** Another loop; contexts opened from then on are opened on it. */
    evlp_thread_str* useNewLoop(const char* name = "another");

    /** A timer that is due again and again. */
    Context& ticker(const char* name, int64_t periodMs);

    std::string advance(int64_t duration) { return outcome(evlp_sim_advance(duration)); }

    /** Sets the calendar clock. */
    void dateIs(const char* text);
    std::string date();

    std::vector<std::string> called() {
        std::vector<std::string> result;
        result.swap(log);
        return result;
    }

    evlp_thread_str* loop = nullptr;  // the last one opened
    std::vector<evlp_thread_str*> loops;
    std::vector<std::string> log;
    std::list<Context> contexts;
    std::map<const void*, std::string> names;  // by context
};

#endif
