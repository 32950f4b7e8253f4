// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Jobs and the hook of gardend: what they start and when. The clock is a virtual one, and so are
// the processes: the test program is the service that starts them.

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string>
#include <vector>

#include "child.h"
#include "hook.h"
#include "jobs.h"
#include "support/virtual_loop.h"

namespace {

using ::testing::ElementsAre;

/** What was started, killed and let go: "start[1] /bin/test", "kill -1 15", "detach 1". */
std::vector<std::string> calls;
std::vector<xexec_s*> running;  // the last of a record
int startError = 0;
int startFlags = 0;
std::string startUser;
int lastPid = 0;

int startChild(xexec_s* record, const std::string& words, int flags) {
    if (startError != 0) {
        errno = startError;
        return -1;
    }
    startFlags = flags;
    startUser = record->user;
    record->pid = ++lastPid;
    running.push_back(record);
    calls.push_back("start[" + std::to_string(record->pid) + "] " + words);
    return 0;
}

void forget(const xexec_s* record) {
    for (xexec_s*& other : running) {
        other = other == record ? nullptr : other;
    }
}

}  // namespace

extern "C" {

int xexecve_cmd_with_delay(xexec_s* record, const char* path, char* const* argv, int, int flags) {
    EXPECT_EQ(nullptr, argv);
    return startChild(record, std::string("sh: ") + path, flags);
}

int xexec_with_delay(xexec_s* record, char* const* argv, int, int flags) {
    std::string words;
    for (; *argv != nullptr; ++argv) {
        words += words.empty() ? "" : "|";
        words += *argv;
    }
    return startChild(record, words, flags);
}

int xexec_detach(xexec_s* record) {
    calls.push_back("detach " + std::to_string(record->pid));
    record->pid = 0;
    forget(record);
    return 0;
}

int kill(pid_t pid, int signal) noexcept {
    calls.push_back("kill " + std::to_string(pid) + " " + std::to_string(signal));
    return 0;
}

}  // extern "C"

namespace gardend {

namespace {

constexpr int kFailed = 1 << 8;  // the wait status of a child that has answered 1

class Children : public ::testing::Test {
  protected:
    Children() {
        calls.clear();
        running.clear();
        startError = 0;
        lastPid = 0;
    }

    static void pass(int64_t seconds) { VirtualLoop::advanceMs(seconds * 1000); }

    /** A child has ended: the last one that was started, unless another is named. */
    static void end(int status, int pid = lastPid) {
        xexec_s* const record = running[static_cast<size_t>(pid) - 1];
        ASSERT_NE(nullptr, record);
        record->pid = 0;
        record->fn(record->context, pid, status);
    }

    VirtualLoop m_loop;
};

class Job : public Children {
  protected:
    CJob m_job{"test", "exec test -x /", m_loop.get(), "daemon"};
};

TEST_F(Job, IsIdleAtFirst) {
    EXPECT_EQ(CJob::kIdle, m_job.getState());
    EXPECT_EQ(0, m_job.getPid());
    EXPECT_EQ(0, m_job.getRuns());
    EXPECT_EQ(0, m_job.getFailures());
    EXPECT_STREQ("-", m_job.getLast());
}

TEST_F(Job, IsRunByTheShellInASessionOfItsOwn) {
    EXPECT_TRUE(m_job.run());

    EXPECT_THAT(calls, ElementsAre("start[1] sh: exec test -x /"));
    EXPECT_EQ(XEXEC_NEW_SESSION | XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT, startFlags);
    EXPECT_EQ("daemon", startUser);
    EXPECT_EQ(CJob::kRunning, m_job.getState());
    EXPECT_EQ(1, m_job.getPid());
}

TEST_F(Job, IsIdleAfterASuccess) {
    m_job.run();

    end(0);
    pass(86400);

    EXPECT_EQ(CJob::kIdle, m_job.getState());
    EXPECT_EQ(1, m_job.getRuns());
    EXPECT_EQ(0, m_job.getFailures());
    EXPECT_STREQ("0", m_job.getLast());
}

TEST_F(Job, IsStartedAgainASecondAfterAFailure) {
    m_job.run();

    end(kFailed);
    EXPECT_EQ(CJob::kWaiting, m_job.getState());
    EXPECT_STREQ("1", m_job.getLast());
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000));
    pass(1);

    EXPECT_EQ(CJob::kRunning, m_job.getState());
    EXPECT_EQ(2, m_job.getRuns());
    EXPECT_EQ(1, m_job.getFailures());
}

TEST_F(Job, WaitsTwiceAsLongEachTimeUpToAMinuteAndIsNeverGivenUp) {
    m_job.run();

    for (const int seconds : {1, 2, 4, 8, 16, 32, 60, 60, 60}) {
        end(kFailed);
        EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(seconds * 1000));
        pass(seconds);
    }

    EXPECT_EQ(CJob::kRunning, m_job.getState());
    EXPECT_EQ(9, m_job.getFailures());
}

TEST_F(Job, BeginsWithASecondAgainAfterASuccess) {
    m_job.run();
    end(kFailed);
    pass(1);
    end(kFailed);
    pass(2);

    end(0);
    m_job.run();
    end(kFailed);

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000));
}

TEST_F(Job, BeginsWithASecondAgainAfterARunOfAMinute) {
    m_job.run();
    end(kFailed);
    pass(1);
    end(kFailed);
    pass(2);

    pass(60);
    end(kFailed);

    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000));
}

TEST_F(Job, MayBeRunWhileItWaits) {
    m_job.run();
    end(kFailed);
    pass(1);
    end(kFailed);

    EXPECT_TRUE(m_job.run());
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
    end(kFailed);

    EXPECT_EQ(3, m_job.getRuns());
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(1000));
}

TEST_F(Job, IsNotStartedTwice) {
    m_job.run();

    EXPECT_FALSE(m_job.run());

    EXPECT_EQ(CJob::kRunning, m_job.getState());
    EXPECT_EQ(1, m_job.getRuns());
    EXPECT_EQ(0, m_job.getFailures());
}

TEST_F(Job, HasFailedWhenASignalHasEndedIt) {
    m_job.run();

    end(SIGSEGV);

    EXPECT_EQ(CJob::kWaiting, m_job.getState());
    EXPECT_STREQ("signal-11", m_job.getLast());
}

TEST_F(Job, HasFailedWhenItsStatusIsLost) {
    m_job.run();

    end(XEXEC_STATUS_LOST);

    EXPECT_EQ(CJob::kWaiting, m_job.getState());
    EXPECT_STREQ("lost", m_job.getLast());
}

TEST_F(Job, ThatCannotBeStartedIsStartedLater) {
    startError = EAGAIN;
    EXPECT_FALSE(m_job.run());
    EXPECT_EQ(CJob::kWaiting, m_job.getState());
    EXPECT_EQ(1, m_job.getFailures());
    EXPECT_STREQ("unstarted", m_job.getLast());
    pass(1);
    EXPECT_EQ(2, m_job.getFailures());

    startError = 0;
    pass(2);

    EXPECT_EQ(CJob::kRunning, m_job.getState());
    EXPECT_EQ(3, m_job.getRuns());
}

TEST_F(Job, WithoutATimerIsIdleAfterAFailure) {
    m_job.run();

    evlp_sim_fail(EVLP_SIM_TIMER_START, 1, ENOMEM);
    end(kFailed);

    EXPECT_EQ(CJob::kIdle, m_job.getState());
    EXPECT_TRUE(m_job.run());
}

TEST_F(Children, OfAJobEndWithItTheWholeProcessGroup) {
    {
        CJob job("test", "true", m_loop.get(), "");
        job.run();
    }

    EXPECT_THAT(calls, ElementsAre("start[1] sh: true", "kill -1 15", "detach 1"));
}

TEST_F(Children, AreNotThereWhereAJobHasEnded) {
    {
        CJob job("test", "true", m_loop.get(), "");
        job.run();
        end(kFailed);
    }

    EXPECT_THAT(calls, ElementsAre("start[1] sh: true"));
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
}

TEST_F(Children, AreOneForEachJob) {
    CJobs jobs(m_loop.get(), "");
    const JobWish wishes[] = {{"one", "exec one"}, {"other", "exec other"}};
    EXPECT_TRUE(jobs.add(wishes[0]));
    EXPECT_TRUE(jobs.add(wishes[1]));

    jobs.runAll();

    EXPECT_THAT(calls, ElementsAre("start[1] sh: exec one", "start[2] sh: exec other"));
    EXPECT_EQ(2, jobs.getCount());
    EXPECT_STREQ("other", jobs.find("other")->getName());
    EXPECT_EQ(nullptr, jobs.find("othe"));
}

TEST_F(Children, AreOfSixteenJobsAtMost) {
    CJobs jobs(m_loop.get(), "");
    const JobWish wish = {"test", "true"};
    for (int i = 0; i < 16; ++i) {
        EXPECT_TRUE(jobs.add(wish));
    }

    EXPECT_FALSE(jobs.add(wish));
}

class Hook : public Children {
  protected:
    CHook m_hook{"/etc/on valve", m_loop.get(), "daemon"};
};

TEST_F(Hook, IsToldInWordsWithoutAShell) {
    m_hook.onValve("roses", true);

    EXPECT_THAT(calls, ElementsAre("start[1] /etc/on valve|roses|open"));
    EXPECT_EQ(XEXEC_NEW_SESSION | XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT, startFlags);
    EXPECT_EQ("daemon", startUser);
}

TEST_F(Hook, IsToldOneAfterTheOther) {
    m_hook.onValve("roses", true);
    m_hook.onValve("lawn", true);
    m_hook.onValve("roses", false);
    EXPECT_EQ(1U, calls.size());

    end(0);
    EXPECT_EQ(2U, calls.size());
    end(kFailed);
    end(0);

    EXPECT_THAT(calls,
                ElementsAre("start[1] /etc/on valve|roses|open", "start[2] /etc/on valve|lawn|open",
                            "start[3] /etc/on valve|roses|closed"));
}

TEST_F(Hook, IsToldTheLastOfEachZoneWhereThereAreTooManyEvents) {
    m_hook.onValve("hedge", true);  // runs
    m_hook.onValve("lawn", true);
    m_hook.onValve("vegetables", true);
    for (int i = 0; i < 15; ++i) {
        m_hook.onValve("roses", i % 2 == 0);
    }

    for (int i = 0; i < 17; ++i) {
        end(0);
    }

    EXPECT_EQ(17U, calls.size());
    EXPECT_EQ("start[2] /etc/on valve|lawn|open", calls[1]);
    EXPECT_EQ("start[3] /etc/on valve|vegetables|open", calls[2]);
    EXPECT_EQ("start[4] /etc/on valve|roses|closed", calls[3]);  // not the first of the roses
    EXPECT_EQ("start[17] /etc/on valve|roses|open", calls[16]);
}

TEST_F(Hook, IsKilledAfterAMinute) {
    m_hook.onValve("roses", true);
    m_hook.onValve("lawn", true);

    pass(59);
    EXPECT_EQ(1U, calls.size());
    pass(1);
    EXPECT_EQ("kill -1 9", calls[1]);
    end(SIGKILL);

    EXPECT_EQ("start[2] /etc/on valve|lawn|open", calls[2]);
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre(60000));
    end(0);
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
}

TEST_F(Hook, MissesWhatItCannotBeStartedFor) {
    startError = ENOENT;
    m_hook.onValve("roses", true);

    startError = 0;
    m_hook.onValve("lawn", true);

    EXPECT_THAT(calls, ElementsAre("start[1] /etc/on valve|lawn|open"));
}

TEST_F(Children, OfAHookLiveOnAndHearAllAtItsEnd) {
    {
        CHook hook("hook", m_loop.get(), "");
        hook.onValve("roses", false);
        hook.onValve("lawn", false);
        hook.onValve("hedge", false);
    }

    EXPECT_THAT(calls,
                ElementsAre("start[1] hook|roses|closed", "detach 1", "start[2] hook|lawn|closed",
                            "detach 2", "start[3] hook|hedge|closed", "detach 3"));
    EXPECT_THAT(VirtualLoop::armedTimersMs(), ElementsAre());
}

TEST_F(Children, OfAHookHearAtItsEndTheLastOfEachZone) {
    {
        CHook hook("hook", m_loop.get(), "");
        hook.onValve("hedge", true);  // runs
        hook.onValve("roses", true);
        hook.onValve("lawn", true);
        hook.onValve("roses", false);
        hook.onValve("roses", true);
        hook.onValve("roses", false);
        hook.onValve("lawn", false);
    }

    EXPECT_THAT(calls,
                ElementsAre("start[1] hook|hedge|open", "detach 1", "start[2] hook|roses|closed",
                            "detach 2", "start[3] hook|lawn|closed", "detach 3"));
}

TEST_F(Children, AreNotThereWithoutAHook) {
    CHook hook(nullptr, m_loop.get(), "");

    hook.onValve("roses", true);

    EXPECT_THAT(calls, ElementsAre());
}

}  // namespace

}  // namespace gardend
