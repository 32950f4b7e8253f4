// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Exhausted memory. This program defines the allocation functions.

#include <errno.h>
#include <gtest/gtest.h>

#include "evlp/sim.h"

#include "support/alloc_faults.h"

namespace {

void count(void* calls) {
    ++*static_cast<int*>(calls);
}

void countReady(void* calls, int) {
    ++*static_cast<int*>(calls);
}

// Whether a call succeeded; if not, memory was exhausted.
bool isDone(bool success) {
    EXPECT_TRUE(success || errno == ENOMEM);
    return success;
}

TEST(SimOutOfMemory, AnOpenOfALoopFailsAndLeavesNothing) {
    forEachFailingAllocation([] {
        evlp_thread_str* const loop = evlp_openThreadInt("test", 0, 0, 0, 0, 0, 0);
        if (isDone(loop != nullptr)) {
            EXPECT_EQ(0, evlp_closeThread(loop));
        }
        EXPECT_EQ(0, evlp_sim_reset());  // no loop is open
    });
}

TEST(SimOutOfMemory, AStartOfADescriptorFailsAndDisturbsNoOther) {
    forEachFailingAllocation([] {
        int calls = 0;
        int calledBefore = 0;
        evlp_thread_str* const loop = evlp_openThreadInt("test", 0, 0, 0, 0, 0, 0);
        if (!isDone(loop != nullptr)) {
            return;
        }
        evlp_ctx_str* contexts[40] = {};
        for (int fd = 0; fd != 40; ++fd) {
            contexts[fd] = fd_openCtx(loop, countReady, &calls, fd, EVLP_READ, 8);
            if (isDone(contexts[fd] != nullptr) && isDone(fd_startCtx(contexts[fd], -1) == 0)) {
                ++calledBefore;
                EXPECT_EQ(0, evlp_sim_pulse(fd, EVLP_READ));
            }
        }

        EXPECT_EQ(0, evlp_sim_advance(0));

        EXPECT_EQ(calledBefore, calls);
        for (evlp_ctx_str* const each : contexts) {
            if (each != nullptr) {
                EXPECT_EQ(0, fd_closeCtx(each));
            }
        }
        EXPECT_EQ(0, evlp_closeThread(loop));
    });
}

TEST(SimOutOfMemory, EndsARecordWithoutAGapAndDisturbsNoCall) {
    forEachFailingAllocation([] {
        int calls = 0;
        evlp_thread_str* const loop = evlp_openThreadInt("test", 0, 0, 0, 0, 0, 0);
        evlp_ctx_str* const tick =
            loop == nullptr ? nullptr : timer_openCtx(loop, count, &calls, 0, 8);
        evlp_sim_record(1);
        int started = 0;
        for (int i = 0; tick != nullptr && i != 200; ++i) {
            errno = 0;
            started += timer_startCtx(tick, i) == 0 ? 1 : 0;
        }

        EXPECT_TRUE(tick == nullptr || started >= 199);  // the deadlines need memory too
        for (size_t i = 0; i != evlp_sim_countCalls(); ++i) {
            evlp_sim_call call = {};
            EXPECT_EQ(0, evlp_sim_getCall(i, &call));
            EXPECT_EQ(EVLP_SIM_TIMER_START, call.function);
            EXPECT_EQ(static_cast<int64_t>(i), call.arguments[0]);
        }

        if (tick != nullptr) {
            EXPECT_EQ(0, timer_closeCtx(tick));
        }
        if (loop != nullptr) {
            EXPECT_EQ(0, evlp_closeThread(loop));
        }
        EXPECT_EQ(0, evlp_sim_reset());
    });
}

TEST(SimOutOfMemory, StopsNoLoopThatRuns) {
    int calls = 0;
    evlp_thread_str* const loop = evlp_openThreadInt("test", 0, 0, 0, 0, 0, 0);
    evlp_ctx_str* const tick = timer_openCtx(loop, count, &calls, 0, 8);
    ASSERT_EQ(0, timer_startCtx(tick, 10));
    AllocFaults::failNth(1);

    EXPECT_EQ(0, evlp_sim_advance(20000));
    EXPECT_EQ(0u, evlp_sim_listArmed(nullptr, 0));

    EXPECT_FALSE(AllocFaults::hasFailed());  // none was asked for
    AllocFaults::failNth(0);
    EXPECT_EQ(1, calls);
    EXPECT_EQ(0, timer_closeCtx(tick));
    EXPECT_EQ(0, evlp_closeThread(loop));
    EXPECT_EQ(0, evlp_sim_reset());
}

}  // namespace
