// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <atomic>
#include <errno.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "support/open_fds.h"
#include "support/xexec_calls.h"
#include "support/xexec_loop.h"

// How the end of a child is noticed and told.

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

#ifndef SYS_pidfd_open
#define SYS_pidfd_open 434
#endif

constexpr char kLives[] = "exec sleep 1000";

/** Every test with descriptors of processes, and with signals alone, as on older kernels. */
class XexecEnd : public XexecTest, public ::testing::WithParamInterface<const char*> {
  protected:
    XexecEnd() {
        if (GetParam() == std::string("Signal")) {
            m_refused = std::make_unique<RefusedCall>(SYS_pidfd_open, ENOSYS);
        }
        m_fds = openFds();
    }
    ~XexecEnd() override {
        EXPECT_FALSE(hasChildren());
        EXPECT_EQ(m_fds, openFds());
    }

    /** A process with a child that lives until it is killed. */
    std::unique_ptr<Process> living() {
        auto process = std::make_unique<Process>(loop);
        EXPECT_EQ(0, process->cmd(kLives));
        return process;
    }

    std::unique_ptr<RefusedCall> m_refused;
    int m_fds;
};

INSTANTIATE_TEST_SUITE_P(By, XexecEnd, ::testing::Values("Descriptor", "Signal"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(XexecEnd, TheWaitStatusIsHandedOnAsItIs) {
    EXPECT_EQ(exited(0), run("exit 0"));
    EXPECT_EQ(exited(1), run("exit 1"));
    EXPECT_EQ(exited(255), run("exit 255"));
    EXPECT_EQ(SIGTERM, run("kill -TERM $$"));
    EXPECT_EQ(SIGKILL, run("kill -KILL $$"));
}

TEST_P(XexecEnd, IsToldOnceWithTheIdentifierOfTheChild) {
    Process process(loop);
    ASSERT_EQ(0, process.cmd("exit 9"));
    const int pid = process.record.pid;

    runUntilEnded(process);
    runReady();

    EXPECT_THAT(process.ends, ElementsAre(Ended{pid, exited(9)}));
}

TEST_P(XexecEnd, OfAChildThatIsGoneBeforeTheLoopRunsIsTold) {
    Process process(loop);
    ASSERT_EQ(0, process.cmd("exit 6"));
    const int pid = process.record.pid;
    siginfo_t info = {};
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT));

    runUntilEnded(process);

    EXPECT_THAT(process.ends, ElementsAre(Ended{pid, exited(6)}));
}

TEST_P(XexecEnd, NothingIsToldOfAChildThatIsStoppedAndGoesOn) {
    const auto process = living();
    siginfo_t info = {};

    kill(process->record.pid, SIGSTOP);
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(process->record.pid), &info, WSTOPPED));
    runReady();
    kill(process->record.pid, SIGCONT);
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(process->record.pid), &info, WCONTINUED));
    runReady();
    EXPECT_THAT(process->ends, IsEmpty());

    kill(process->record.pid, SIGKILL);
    runUntilEnded(*process);
    EXPECT_EQ(SIGKILL, process->ends.at(0).status);
}

TEST_P(XexecEnd, WithoutACallbackTheChildIsReapedAllTheSame) {
    Process process(loop);
    process.record.fn = nullptr;
    ASSERT_EQ(0, process.cmd("true"));

    runUntil([&] { return process.record.pid == 0; });

    EXPECT_FALSE(hasChildren());
}

TEST_P(XexecEnd, ComesWithThePriorityOfTheRecord) {
    Process late(loop);
    Process early(loop);
    late.record.priority = 9;
    early.record.priority = 7;
    std::string order;
    late.then = [&] { order += "late "; };
    early.then = [&] { order += "early "; };
    ASSERT_EQ(0, late.cmd("true"));
    ASSERT_EQ(0, early.cmd("true"));
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(late.record.pid), &info, WEXITED | WNOWAIT);
    waitid(P_PID, static_cast<id_t>(early.record.pid), &info, WEXITED | WNOWAIT);

    runUntil([&] { return order.size() > 6; });

    EXPECT_EQ("early late ", order);
}

// --- from inside the callback ---

TEST_P(XexecEnd, TheRecordCanBeUsedAgainInItsCallback) {
    Process process(loop);
    process.then = [&] {
        if (process.ends.size() < 5) {
            EXPECT_EQ(0, process.cmd("exit 2"));
            EXPECT_NE(0, process.record.pid);
        }
    };
    ASSERT_EQ(0, process.cmd("exit 1"));

    runUntilEnded(process, 5);

    EXPECT_EQ(exited(1), process.ends.at(0).status);
    EXPECT_EQ(exited(2), process.ends.at(4).status);
}

TEST_P(XexecEnd, TheRecordCanBeDestroyedInItsCallback) {
    auto process = std::make_unique<Process>(loop);
    process->then = [&] { process.reset(); };
    ASSERT_EQ(0, process->cmd("true"));

    runUntil([&] { return process == nullptr; });
}

TEST_P(XexecEnd, OthersThatHaveEndedCanBeDetachedAndDestroyedInACallback) {
    auto first = std::make_unique<Process>(loop);
    auto second = std::make_unique<Process>(loop);
    auto third = std::make_unique<Process>(loop);
    int told = 0;
    first->then = [&] { ++told, second.reset(), xexec_detach(&third->record); };
    second->then = [&] { ++told, first.reset(), xexec_detach(&third->record); };
    third->then = [&] { ADD_FAILURE() << "called though it is the last"; };
    third->record.priority = 9;
    std::vector<int> pids;
    for (Process* process : {first.get(), second.get(), third.get()}) {
        ASSERT_EQ(0, process->cmd("true"));
        pids.push_back(process->record.pid);
    }
    for (const int pid : pids) {
        siginfo_t info = {};
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    }

    for (const int pid : pids) {
        runUntilGone(pid);
    }

    EXPECT_EQ(1, told);
}

// --- detached ---

TEST_P(XexecEnd, ADetachedChildLivesOnAndIsReapedWithoutAWord) {
    const auto process = living();
    const int pid = process->record.pid;

    EXPECT_EQ(0, xexec_detach(&process->record));

    EXPECT_EQ(0, process->record.pid);
    EXPECT_EQ(0, kill(pid, 0));
    kill(pid, SIGKILL);
    runUntilGone(pid);
    EXPECT_THAT(process->ends, IsEmpty());
}

TEST_P(XexecEnd, ADetachedRecordCanHaveAnotherChildWhileTheFirstLives) {
    const auto process = living();
    const int former = process->record.pid;
    xexec_detach(&process->record);

    ASSERT_EQ(0, process->cmd("exit 3"));
    const int pid = process->record.pid;
    runUntilEnded(*process);

    EXPECT_THAT(process->ends, ElementsAre(Ended{pid, exited(3)}));
    kill(former, SIGKILL);
    runUntilGone(former);
    EXPECT_EQ(1u, process->ends.size());
}

TEST_P(XexecEnd, DetachedAfterItsEndButBeforeItsCallbackNothingIsTold) {
    const auto process = living();
    const int pid = process->record.pid;
    kill(pid, SIGKILL);
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);

    xexec_detach(&process->record);
    runUntilGone(pid);

    EXPECT_THAT(process->ends, IsEmpty());
}

TEST_P(XexecEnd, DetachingWithoutAChildChangesNothing) {
    Process process(loop);

    EXPECT_EQ(0, xexec_detach(&process.record));
    EXPECT_EQ(0, xexec_detach(&process.record));
}

// A child is killed, and some turns of the loop later it is detached, destroyed, or told of.
TEST_P(XexecEnd, DetachedOrDestroyedAnyNumberOfTurnsAfterItWasKilled) {
    for (int turns = 0; turns < 10; ++turns) {
        for (const bool destroyed : {false, true}) {
            auto process = living();
            const int pid = process->record.pid;
            size_t told = 0;
            process->then = [&] { ++told; };

            kill(pid, SIGKILL);
            for (int turn = 0; turn < turns; ++turn) {
                runUntil([] { return true; });
            }
            const size_t toldUpToNow = told;
            if (destroyed) {
                process.reset();
            } else {
                xexec_detach(&process->record);
            }
            runUntilGone(pid);

            EXPECT_EQ(toldUpToNow, told) << turns << " turns";
            EXPECT_LE(told, 1u);
        }
    }
}

// --- others in the process ---

TEST_P(XexecEnd, ChildrenOfOthersAreLeftAlone) {
    const pid_t other = fork();
    if (other == 0) {
        _exit(4);
    }
    ASSERT_EQ(exited(1), run("exit 1"));
    runReady();

    int status = 0;
    EXPECT_EQ(other, waitpid(other, &status, 0));
    EXPECT_EQ(exited(4), status);
}

TEST_P(XexecEnd, AStatusThatSomebodyElseHasTakenIsReportedAsLost) {
    Process process(loop);
    ASSERT_EQ(0, process.cmd("exit 1"));
    const int pid = process.record.pid;
    ASSERT_EQ(pid, waitpid(-1, nullptr, 0));

    kill(getpid(), SIGCHLD);  // the one of the child may have come before we took its status
    runUntilEnded(process);

    EXPECT_THAT(process.ends, ElementsAre(Ended{pid, XEXEC_STATUS_LOST}));
    const int lost = process.ends.at(0).status;
    EXPECT_FALSE(WIFEXITED(lost));
    EXPECT_FALSE(WIFSIGNALED(lost));
    EXPECT_FALSE(WIFSTOPPED(lost));
}

TEST_P(XexecEnd, InOneLoopIsNotToldInAnother) {
    evlp_thread_str* const otherLoop = evlp_openThreadInt("other", 0, 0, 16, 0, 255, 0);
    Process here(loop);
    Process there(otherLoop);
    ASSERT_EQ(0, here.cmd("exit 1"));
    ASSERT_EQ(0, there.cmd("exit 2"));
    there.then = [&] { evlp_stopThread(otherLoop); };

    runUntilEnded(here);
    runReady();
    EXPECT_THAT(there.ends, IsEmpty());
    evlp_startThread(otherLoop);

    EXPECT_EQ(exited(1), here.ends.at(0).status);
    EXPECT_EQ(exited(2), there.ends.at(0).status);
    evlp_closeThread(otherLoop);
}

// --- by descriptor ---

class XexecEndCases : public XexecTest {};

TEST_F(XexecEndCases, AProcessThatIgnoresSignalsOfChildrenHearsOfItsEnd) {
    signal(SIGCHLD, SIG_IGN);  // no status is kept then
    Process process(loop);
    ASSERT_EQ(0, process.cmd("exit 1"));

    runUntilEnded(process);

    EXPECT_EQ(XEXEC_STATUS_LOST, process.ends.at(0).status);
    signal(SIGCHLD, SIG_DFL);
}

TEST_F(XexecEndCases, WithoutADescriptorLeftTheSignalTells) {
    const RefusedCall refused(SYS_pidfd_open, EMFILE, 1);

    EXPECT_EQ(exited(8), run("exit 8"));
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecEndCases, AChildThatCannotBeWatchedIsNotLeftRunning) {
    const int fds = openFds();
    const RefusedCall refused(SYS_pidfd_open, ENOSYS);
    xexecCalls->actionError = EPERM;
    Process process(loop);

    EXPECT_EQ(-1, process.cmd(kLives));
    EXPECT_EQ(EPERM, errno);
    xexecCalls->actionError = 0;

    EXPECT_EQ(0, process.record.pid);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(fds, openFds());
    EXPECT_EQ(exited(2), run("exit 2"));
}

TEST_F(XexecEndCases, WithoutAnyDescriptorNothingIsStarted) {
    Process process(loop);
    runReady();  // the loop has what it needs
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);

    const int result = process.cmd("true");
    const int error = errno;
    setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_EQ(-1, result);
    EXPECT_EQ(EMFILE, error);
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecEndCases, AChildOutlivesItsLoop) {
    evlp_thread_str* const brief = evlp_openThreadInt("brief", 0, 0, 16, 0, 255, 0);
    int pid = 0;
    {
        Process process(brief);
        ASSERT_EQ(0, process.cmd(kLives));
        pid = process.record.pid;
    }
    EXPECT_EQ(0, evlp_closeThread(brief));

    EXPECT_EQ(0, kill(pid, SIGKILL));
    EXPECT_EQ(pid, waitpid(pid, nullptr, 0));  // ours to wait for, then
}

TEST_F(XexecEndCases, ARecordWhoseLoopIsGoneIsBusyUntilItIsDetached) {
    evlp_thread_str* const brief = evlp_openThreadInt("brief", 0, 0, 16, 0, 255, 0);
    Process process(brief);
    ASSERT_EQ(0, process.cmd(kLives));
    const int pid = process.record.pid;
    EXPECT_EQ(0, evlp_closeThread(brief));
    process.record.loop = loop;

    EXPECT_EQ(-1, process.cmd("exit 3"));
    EXPECT_EQ(EBUSY, errno);
    EXPECT_EQ(0, xexec_detach(&process.record));
    ASSERT_EQ(0, process.cmd("exit 3"));
    runUntilEnded(process);

    EXPECT_EQ(exited(3), process.ends.at(0).status);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

// --- many ---

TEST_F(XexecEndCases, TenThousandChildrenAreReportedOnceWhileOthersWaitForTheirs) {
    constexpr int kCount = 10000;
    constexpr int kTogether = 40;
    const int fds = openFds();
    std::atomic<bool> over{false};
    std::atomic<int> othersLost{0};
    std::atomic<int> others{0};
    std::thread other([&] {  // another part of the process, with children of its own
        while (!over) {
            const pid_t pid = fork();
            if (pid == 0) {
                _exit(77);
            }
            int status = 0;
            othersLost += waitpid(pid, &status, 0) == pid && status == exited(77) ? 0 : 1;
            ++others;
        }
    });
    struct Slot {
        std::unique_ptr<Process> process;
        int expected = 0;
    };
    std::vector<Slot> slots(kTogether);
    int started = 0;
    int ended = 0;
    int wrong = 0;
    std::function<void(Slot&)> next = [&](Slot& slot) {
        slot.process->ends.clear();
        slot.expected = started % 256;
        if (started < kCount) {
            ASSERT_EQ(0, slot.process->cmd(("exit " + std::to_string(started % 256)).c_str()));
            ++started;
        }
    };
    for (Slot& slot : slots) {
        slot.process = std::make_unique<Process>(loop);
        slot.process->then = [&] {
            ++ended;
            const std::vector<Ended>& ends = slot.process->ends;
            wrong += ends.size() == 1 && ends[0].status == exited(slot.expected) ? 0 : 1;
            next(slot);
        };
        next(slot);
    }

    runUntil([&] { return ended >= kCount; });
    over = true;
    other.join();
    runReady();

    EXPECT_EQ(kCount, ended);
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(0, othersLost);
    EXPECT_GT(others, 0);
    EXPECT_FALSE(hasChildren());
    slots.clear();
    EXPECT_EQ(fds, openFds());
}

TEST_F(XexecEndCases, LoopsOnSeveralThreadsHaveTheirChildrenSideBySide) {
    constexpr int kEach = 200;
    std::atomic<int> right{0};
    const auto work = [&] {
        evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 16, 0, 255, 0);
        {
            Process process(own);
            process.then = [&] {
                right += process.ends.back().status == exited(5) ? 1 : 0;
                if (process.ends.size() == kEach || process.cmd("exit 5") != 0) {
                    evlp_stopThread(own);
                }
            };
            if (process.cmd("exit 5") == 0) {
                evlp_startThread(own);
            }
        }
        evlp_closeThread(own);
    };

    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();

    EXPECT_EQ(2 * kEach, right);
    EXPECT_FALSE(hasChildren());
}

// --- delays ---

class XexecDelay : public XexecTest {};

/** Whether this system has them: not all memory checkers let them through. */
bool hasDescriptorOfProcess() {
    const long fd = syscall(SYS_pidfd_open, getpid(), 0);
    return fd >= 0 && close(static_cast<int>(fd)) == 0;
}

TEST_F(XexecDelay, IsWaitedOutByTheClockThatGoesOnEvenly) {
    Process process(loop);
    xexecCalls->delays = 0;

    ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, "exit 3", nullptr, 61500, XEXEC_PLAIN));
    runUntilEnded(process);

    EXPECT_EQ(exited(3), process.ends.at(0).status);
    EXPECT_EQ(1, xexecCalls->delays);
    EXPECT_EQ(CLOCK_MONOTONIC, xexecCalls->clock);
    EXPECT_EQ(61, xexecCalls->delay.tv_sec);
    EXPECT_EQ(500000000, xexecCalls->delay.tv_nsec);
}

TEST_F(XexecDelay, GoesOnForTheRestAfterAnInterruption) {
    Process process(loop);
    xexecCalls->delays = 0;
    xexecCalls->interruptions = 2;

    ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, "exit 3", nullptr, 8000, XEXEC_PLAIN));
    runUntilEnded(process);

    EXPECT_EQ(3, xexecCalls->delays);
    EXPECT_EQ(2, xexecCalls->delay.tv_sec);
}

TEST_F(XexecDelay, OfNothingOrLessIsNone) {
    xexecCalls->delays = 0;
    for (const int delay : {0, -1, INT_MIN}) {
        Process process(loop);
        ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, "true", nullptr, delay, XEXEC_PLAIN));
        runUntilEnded(process);
    }
    EXPECT_EQ(0, xexecCalls->delays);
}

class XexecHeldDelay : public XexecTest {
  protected:
    ~XexecHeldDelay() override { xexecCalls->held = false; }

    /** A child in the middle of its delay, until it is released. */
    void startHeld(Process& process, const char* command = "exit 3") {
        xexecCalls->held = true;
        ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, command, nullptr, 60000, XEXEC_PLAIN));
    }
};

TEST_F(XexecHeldDelay, TheIdentifierIsThatOfTheProgramThatIsToCome) {
    Process process(loop);
    startHeld(process, ("echo $$ >" + dir.file("pid")).c_str());
    const int pid = process.record.pid;
    EXPECT_GT(pid, 0);
    EXPECT_STRNE("", process.record.name);
    runReady();
    EXPECT_THAT(process.ends, IsEmpty());

    xexecCalls->held = false;
    runUntilEnded(process);

    EXPECT_EQ(std::to_string(pid) + "\n", contents(dir.file("pid")));
    EXPECT_THAT(process.ends, ElementsAre(Ended{pid, exited(0)}));
}

TEST_F(XexecHeldDelay, AChildCanBeKilledMeanwhile) {
    Process process(loop);
    startHeld(process);
    const int pid = process.record.pid;

    kill(pid, SIGTERM);
    runUntilEnded(process);

    EXPECT_THAT(process.ends, ElementsAre(Ended{pid, SIGTERM}));
}

TEST_F(XexecHeldDelay, AChildCanBeDetachedMeanwhile) {
    Process process(loop);
    startHeld(process, ("echo done >" + dir.file("out")).c_str());
    const int pid = process.record.pid;
    xexec_detach(&process.record);

    xexecCalls->held = false;
    runUntilGone(pid);

    EXPECT_EQ("done\n", contents(dir.file("out")));
    EXPECT_THAT(process.ends, IsEmpty());
}

TEST_F(XexecHeldDelay, TheCallersWordsAndEnvironmentMayChangeMeanwhile) {
    Process process(loop);
    const std::string file = dir.file("inherited");
    char path[] = XEXEC_PROBE;
    char name[] = "probe";
    char out[200];
    snprintf(out, sizeof out, "%s", file.c_str());
    char* argv[] = {name, out, nullptr};
    setenv("XEXEC_PROBE", "before", 1);
    xexecCalls->held = true;
    ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, path, argv, 60000, XEXEC_PLAIN));

    memset(path, 'x', sizeof path - 1);
    memset(name, 'x', sizeof name - 1);
    memset(out, 'x', sizeof out - 1);
    argv[0] = nullptr;
    setenv("XEXEC_PROBE", "afterwards", 1);
    xexecCalls->held = false;
    runUntilEnded(process);
    unsetenv("XEXEC_PROBE");

    EXPECT_EQ(exited(0), process.ends.at(0).status);
    EXPECT_THAT(contents(file), ::testing::HasSubstr("\nwords probe FILE\n"));
    EXPECT_THAT(contents(file), ::testing::HasSubstr("\nvariable before\n"));
}

TEST_F(XexecHeldDelay, OneDescriptorIsHeldMeanwhile) {
    runReady();
    const int fds = openFds();
    Process process(loop);

    startHeld(process);
    EXPECT_EQ(fds + (hasDescriptorOfProcess() ? 1 : 0), openFds());
    xexecCalls->held = false;
    runUntilEnded(process);

    EXPECT_EQ(fds, openFds());
}

TEST_F(XexecHeldDelay, TheParentCanChangeItsIdentityMeanwhile) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs the privileges of root";
    }
    Process process(loop);
    startHeld(process);

    EXPECT_EQ(0, setegid(7));  // all threads of a process take part in that
    EXPECT_EQ(0, setegid(0));

    kill(process.record.pid, SIGKILL);
    runUntilEnded(process);
}

// An end of a pipe that a child held open would keep its reader waiting.
TEST_F(XexecHeldDelay, DescriptorsThatTheParentClosesMeanwhileAreClosed) {
    for (const int flags : {XEXEC_PLAIN, XEXEC_KEEP_DESCRIPTORS}) {
        Process process(loop);
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
        xexecCalls->held = true;
        ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, "exit 3", nullptr, 60000, flags));

        close(ends[1]);
        char byte = 0;
        EXPECT_EQ(0, read(ends[0], &byte, 1));  // the end of it

        close(ends[0]);
        kill(process.record.pid, SIGKILL);
        runUntilEnded(process);
    }
}

TEST_F(XexecHeldDelay, ManyWaitTogether) {
    std::vector<std::unique_ptr<Process>> processes;
    for (int i = 0; i < 20; ++i) {
        processes.push_back(std::make_unique<Process>(loop));
        startHeld(*processes.back());
    }

    xexecCalls->held = false;

    for (const auto& process : processes) {
        runUntilEnded(*process);
        EXPECT_EQ(exited(3), process->ends.at(0).status);
    }
}

}  // namespace
