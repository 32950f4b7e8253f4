// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Exhausted memory. This program defines the allocation functions.

#include <errno.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "evlp/evlp.h"
#include "xexec/xexec.h"

#include "support/alloc_faults.h"

namespace {

evlp_thread_str* theLoop() {
    static evlp_thread_str* const loop = evlp_openThreadInt("xexec", 0, 0, 16, 0, 255, 0);
    return loop;
}

void onEnded(void* status, int, int told) {
    *static_cast<int*>(status) = told;
    evlp_stopThread(theLoop());
}

bool hasChildren() {
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

TEST(XexecOutOfMemory, NothingIsStartedOrLost) {
    forEachFailingAllocation([] {
        int status = -1;
        xexec_s record = {};
        record.fn = onEnded;
        record.context = &status;
        record.loop = theLoop();
        if (xexec_cmd(&record, "exit 3", XEXEC_PLAIN) == 0) {
            evlp_startThread(theLoop());
            EXPECT_EQ(3 << 8, status);
        } else {
            EXPECT_EQ(ENOMEM, errno);
            EXPECT_EQ(0, record.pid);
        }
        EXPECT_FALSE(hasChildren());
    });
}

// Without memory the C library forgets what it keeps of its user database, and reads it again
// later: so blocks are not counted here, and the leak checkers have the last word.
TEST(XexecOutOfMemory, NothingIsStartedAsTheWrongUser) {
    char name[32] = "";
    snprintf(name, sizeof name, "%s", getpwuid(geteuid())->pw_name);  // needs no privilege
    int fault = 0;
    bool failed = true;
    while (failed) {
        xexec_s record = {};
        strcpy(record.user, name);
        AllocFaults::failNth(++fault);
        const int result = xexec_cmd(&record, "exit 3", XEXEC_WAIT);
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);
        EXPECT_TRUE(result == 3 << 8 || (failed && result == -1)) << "allocation no. " << fault;
        EXPECT_FALSE(hasChildren());
    }
    EXPECT_GT(fault, 3);
}

}  // namespace
