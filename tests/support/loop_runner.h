// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_LOOP_RUNNER_H
#define TESTS_SUPPORT_LOOP_RUNNER_H

#include <functional>
#include <gtest/gtest.h>

#include "zol/event.h"

// An event loop on the real service that runs until something has come true, looking once a
// millisecond; a test that waits in vain fails after some twenty seconds.
class LoopRunner : private zol::CEventCallback {
  public:
    LoopRunner() : m_timer(m_loop.getThread(), this, -1, 0) {}

    evlp_thread_str* thread() const { return m_loop.getThread(); }

    void runUntil(std::function<bool()> done) {
        m_done = std::move(done);
        m_looks = 0;
        ASSERT_EQ(0, m_timer.add(zol::CTime(0)));
        ASSERT_EQ(0, m_loop.loop(0, 0));
        EXPECT_LT(m_looks, kPatience) << "waited in vain";
    }

    // Until everything that is ready now has been called: as far as a socket on this machine goes,
    // what was written or closed before is.
    void runReady() {
        runUntil([] { return true; });
        runUntil([] { return true; });
    }

  private:
    static constexpr int kPatience = 20000;

    int onEvent(int, short, zol::CEvent* event) override {
        if (m_done() || ++m_looks >= kPatience) {
            m_loop.exitLoop();
        } else {
            event->add(zol::CTime(1000));
        }
        return 0;
    }

    zol::CEventLoop m_loop;
    zol::CEvent m_timer;
    std::function<bool()> m_done;
    int m_looks = 0;
};

#endif
