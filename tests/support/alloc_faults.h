// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_ALLOC_FAULTS_H
#define TESTS_SUPPORT_ALLOC_FAULTS_H

#include <functional>
#include <gtest/gtest.h>

// The test program defines malloc() and its family itself, see alloc_faults.cc, so that
// allocations can be counted and made to fail, the library's included.
class AllocFaults {
  public:
    // Blocks that are allocated now, of those that this thread allocated or freed.
    static long liveBlocks();

    // Makes the n-th allocation of this thread from now on fail, counted from 1; 0: none.
    static void failNth(int n);

    // Whether that allocation has been asked for.
    static bool hasFailed();
};

// Runs `body` again and again; first without a fault, then with its 1st, 2nd, ... allocation
// failing, until it needs no more. After each run as many blocks must be live as before: the body
// cleans up behind itself, whatever fails.
inline void forEachFailingAllocation(const std::function<void()>& body) {
    body();
    bool failed = true;
    int faults = 0;
    while (failed) {
        const long before = AllocFaults::liveBlocks();
        AllocFaults::failNth(faults + 1);
        body();
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);
        ASSERT_EQ(before, AllocFaults::liveBlocks())
            << "leak after failure of allocation no. " << faults + 1;
        faults += failed ? 1 : 0;
    }
    EXPECT_GT(faults, 0) << "the body allocates nothing";
}

#endif
