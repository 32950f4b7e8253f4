// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/process.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <vector>

#include "support/loop_runner.h"
#include "support/temp_dir.h"

// Processes with real children, on a real loop.

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Ends : public zol::IProcTermHandler {
  public:
    void onProcTerm(zol::CProcess*, int status) override {
        statuses.push_back(status);
        if (then) {
            then();
        }
    }
    std::vector<int> statuses;
    std::function<void()> then;
};

class ProcessTest : public ::testing::Test {
  protected:
    void runUntilEnded(size_t count = 1) {
        runner.runUntil([&] { return ends.statuses.size() >= count; });
    }
    void runUntilGone(int pid) {
        runner.runUntil([=] { return kill(pid, 0) != 0; });
    }

    LoopRunner runner;
    Ends ends;
    zol::CProcess process{&ends, runner.thread(), 8};
};

TEST_F(ProcessTest, TheHandlerIsToldTheWaitStatus) {
    ASSERT_EQ(0, process.start("exit 3", XEXEC_PLAIN));
    EXPECT_GT(process.getPid(), 0);

    runUntilEnded();

    EXPECT_THAT(ends.statuses, ElementsAre(3 << 8));
    EXPECT_EQ(0, process.getPid());
}

TEST_F(ProcessTest, AChildThatIsKilledEndsByThatSignal) {
    ASSERT_EQ(0, process.start("exec sleep 1000", XEXEC_PLAIN));

    EXPECT_EQ(0, process.terminate(1, SIGUSR1));
    runUntilEnded();

    EXPECT_THAT(ends.statuses, ElementsAre(SIGUSR1));
}

TEST_F(ProcessTest, ASecondStartLeavesTheFirstChildAlone) {
    ASSERT_EQ(0, process.start("exec sleep 1000", XEXEC_PLAIN));
    const int pid = process.getPid();

    EXPECT_EQ(-1, process.start("exit 0", XEXEC_PLAIN));

    EXPECT_EQ(pid, process.getPid());
    EXPECT_EQ(0, kill(pid, 0));
    process.terminate(0, 0);
    runUntilEnded();
    EXPECT_THAT(ends.statuses, ElementsAre(SIGKILL));
}

TEST_F(ProcessTest, AfterDetachItCanStartAnotherChildAndTheFirstOneLivesOn) {
    ASSERT_EQ(0, process.start("exec sleep 1000", XEXEC_PLAIN));
    const int first = process.detach();

    ASSERT_EQ(0, process.start("exit 4", XEXEC_PLAIN));
    runUntilEnded();

    EXPECT_THAT(ends.statuses, ElementsAre(4 << 8));
    EXPECT_EQ(0, kill(first, SIGKILL));
    runUntilGone(first);
    EXPECT_THAT(ends.statuses, ElementsAre(4 << 8));
}

TEST_F(ProcessTest, IsRestartedByItsHandlerAgainAndAgain) {
    ends.then = [&] {
        if (ends.statuses.size() < 20) {
            EXPECT_EQ(0, process.start("exit 1", XEXEC_PLAIN));
        }
    };
    ASSERT_EQ(0, process.start("exit 1", XEXEC_PLAIN));

    runUntilEnded(20);

    EXPECT_EQ(std::vector<int>(20, 1 << 8), ends.statuses);
}

TEST_F(ProcessTest, IsDestroyedByItsHandler) {
    auto* brief = new zol::CProcess(&ends, runner.thread(), 8);
    ends.then = [&] { delete brief; };
    ASSERT_EQ(0, brief->start("exit 2", XEXEC_PLAIN));

    runUntilEnded();

    EXPECT_THAT(ends.statuses, ElementsAre(2 << 8));
}

TEST_F(ProcessTest, DestroyedWithAChildNeitherKillsItNorIsToldOfItsEnd) {
    int pid = 0;
    {
        zol::CProcess brief(&ends, runner.thread(), 8);
        ASSERT_EQ(0, brief.start("exec sleep 1000", XEXEC_PLAIN));
        pid = brief.getPid();
    }
    EXPECT_EQ(0, kill(pid, 0));

    kill(pid, SIGKILL);
    runUntilGone(pid);

    EXPECT_THAT(ends.statuses, IsEmpty());
}

TEST_F(ProcessTest, ADelayedChildHasAnIdentifierAndCanBeKilledAtOnce) {
    ASSERT_EQ(0, process.startWithDelay("exit 0", 3600000, XEXEC_PLAIN));
    EXPECT_GT(process.getPid(), 0);

    EXPECT_EQ(0, process.terminate(1, 0));
    runUntilEnded();

    EXPECT_THAT(ends.statuses, ElementsAre(SIGTERM));
}

TEST_F(ProcessTest, AnUnknownUserIsRefusedAndTheProcessStaysIdle) {
    process.setUser("no-such-user");

    EXPECT_EQ(-1, process.start("true", XEXEC_PLAIN));
    EXPECT_EQ(EINVAL, errno);

    EXPECT_EQ(0, process.getPid());
}

TEST(RunCommandForReal, WaitsOnRequest) {
    EXPECT_EQ(3 << 8, zol::CProcess::runCommand("exit 3", XEXEC_WAIT));
    EXPECT_EQ(4 << 8, zol::CProcess::runCommand(XEXEC_WAIT, "exit %d", 4));
}

TEST(RunCommandForReal, AndElseLeavesTheCommandToItself) {
    const TempDir dir;
    ASSERT_EQ(0, mkfifo(dir.file("fifo").c_str(), 0600));

    EXPECT_EQ(0,
              zol::CProcess::runCommand(XEXEC_PLAIN, "echo %d >%s", 77, dir.file("fifo").c_str()));

    FILE* const in = fopen(dir.file("fifo").c_str(), "r");
    int number = 0;
    EXPECT_EQ(1, fscanf(in, "%d", &number));
    fclose(in);
    EXPECT_EQ(77, number);
}

}  // namespace
