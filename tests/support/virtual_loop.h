// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SUPPORT_VIRTUAL_LOOP_H
#define SUPPORT_VIRTUAL_LOOP_H

#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <string>
#include <time.h>
#include <vector>

#include "evlp/evlp.h"
#include "evlp/sim.h"

/** A loop on the virtual clock, and nothing else in virtual time. */
class VirtualLoop {
  public:
    VirtualLoop() {
        EXPECT_EQ(0, evlp_sim_reset());
        m_loop = evlp_openThreadInt("test", 0, 0, 32, 10, 255, 10);
        EXPECT_NE(nullptr, m_loop);
    }
    ~VirtualLoop() {
        EXPECT_EQ(0, evlp_closeThread(m_loop));
        EXPECT_EQ(0, evlp_sim_reset());
    }
    VirtualLoop(const VirtualLoop&) = delete;
    VirtualLoop& operator=(const VirtualLoop&) = delete;

    evlp_thread_str* get() const { return m_loop; }

    static void advanceMs(int64_t ms) { EXPECT_EQ(0, evlp_sim_advance(ms * 1000)); }

    /** Delays from now to what timers are armed for, in milliseconds, in the order of firing. */
    static std::vector<int64_t> armedTimersMs() {
        std::vector<evlp_sim_armed> list(evlp_sim_listArmed(nullptr, 0));
        list.resize(evlp_sim_listArmed(list.data(), list.size()));
        std::vector<int64_t> delays;
        for (const evlp_sim_armed& armed : list) {
            delays.push_back((armed.due - evlp_sim_now()) / 1000);
        }
        return delays;
    }

    /** The calls of the service since evlp_sim_record(1): "timer_startCtx(1000)". */
    static std::vector<std::string> recordedCalls() {
        std::vector<std::string> texts(evlp_sim_countCalls());
        for (size_t i = 0; i != texts.size(); ++i) {
            evlp_sim_call call;
            char text[200];
            EXPECT_EQ(0, evlp_sim_getCall(i, &call));
            evlp_sim_describe(&call, text, sizeof text);
            texts[i] = text;
        }
        return texts;
    }

  private:
    evlp_thread_str* m_loop;
};

/** Local time is that of a zone as TZ describes it, for as long as this lives. */
class ZoneGuard {
  public:
    explicit ZoneGuard(const char* zone) {
        const char* const former = getenv("TZ");
        m_wasSet = former != nullptr;
        m_former = m_wasSet ? former : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneGuard() {
        if (m_wasSet) {
            setenv("TZ", m_former.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    ZoneGuard(const ZoneGuard&) = delete;
    ZoneGuard& operator=(const ZoneGuard&) = delete;

  private:
    bool m_wasSet;
    std::string m_former;
};

/** A date in local time: "2026-11-16 07:00:00". */
inline int64_t dateOf(const std::string& text) {
    int64_t date = 0;
    EXPECT_EQ(0, evlp_sim_parseDate(text.c_str(), &date)) << text;
    return date;
}

#endif
