/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_XEXEC_LOOP_H
#define SUPPORT_XEXEC_LOOP_H

#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <signal.h>
#include <string.h>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "evlp/evlp.h"
#include "xexec/xexec.h"

#include "support/temp_dir.h"

/** What was told of the end of a child. */
struct Ended {
    int pid;
    int status;
    bool operator==(const Ended& other) const { return pid == other.pid && status == other.status; }
};

inline std::ostream& operator<<(std::ostream& out, const Ended& ended) {
    return out << "pid " << ended.pid << " status " << ended.status;
}

/** The wait status of a child that has returned so from main(). */
constexpr int exited(int code) {
    return code << 8;
}

/** A record, and what was told of its children. */
struct Process {
    explicit Process(evlp_thread_str* loop) {
        memset(&record, 0, sizeof record);
        record.fn = [](void* context, int pid, int status) {
            auto* const self = static_cast<Process*>(context);
            self->ends.push_back({pid, status});
            if (self->then) {
                const auto action = self->then;  // it may destroy us
                action();
            }
        };
        record.context = this;
        record.loop = loop;
        record.priority = 8;
    }
    ~Process() { xexec_detach(&record); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    int cmd(const char* command, int flags = XEXEC_PLAIN) {
        return xexec_cmd(&record, command, flags);
    }

    xexec_s record;
    std::vector<Ended> ends;
    std::function<void()> then;
};

/** A real loop and real children. A test that waits in vain fails after a minute. */
class XexecTest : public ::testing::Test {
  protected:
    XexecTest() {
        evlp_initialize(0, 1, 0, 16);
        loop = evlp_openThreadInt("xexec", 0, 0, 16, 0, 255, 0);
        m_timer = timer_openCtx(loop, onLook, this, 0, 255);
    }
    ~XexecTest() override {
        timer_closeCtx(m_timer);
        evlp_closeThread(loop);
    }

    /** Runs the loop until something has come true, looking once a millisecond. */
    void runUntil(std::function<bool()> done) {
        m_done = std::move(done);
        m_looks = 0;
        ASSERT_EQ(0, timer_startCtx(m_timer, 0));
        ASSERT_EQ(0, evlp_startThread(loop));
        EXPECT_LT(m_looks, kPatience) << "waited in vain";
    }

    void runUntilEnded(const Process& process, size_t ends = 1) {
        runUntil([&] { return process.ends.size() >= ends; });
    }

    /** Until a process, detached from its record, has been reaped. */
    void runUntilGone(int pid) {
        runUntil([=] { return kill(pid, 0) != 0; });
    }

    /** Starts a command line and runs until it has ended. @return its wait status; -1: no start */
    int run(const char* command, int flags = XEXEC_PLAIN) {
        Process process(loop);
        if (process.cmd(command, flags) != 0) {
            return -1;
        }
        runUntilEnded(process);
        return process.ends.empty() ? -1 : process.ends.front().status;
    }

    /** A loop turn that finds everything that is ready. */
    void runReady() {
        runUntil([] { return true; });
        runUntil([] { return true; });
    }

    static std::string contents(const std::string& path) {
        std::ifstream in(path);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    evlp_thread_str* loop = nullptr;
    TempDir dir;

  private:
    static constexpr int kPatience = 60000;

    static void onLook(void* user) {
        auto* const self = static_cast<XexecTest*>(user);
        if (self->m_done() || ++self->m_looks >= kPatience) {
            evlp_stopThread(self->loop);
        } else {
            timer_startCtx(self->m_timer, 1);
        }
    }

    evlp_ctx_str* m_timer = nullptr;
    std::function<bool()> m_done;
    int m_looks = 0;
};

/** Whether this process has a child, a zombie included. */
inline bool hasChildren() {
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

#endif
