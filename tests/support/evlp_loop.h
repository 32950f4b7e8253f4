/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SUPPORT_EVLP_LOOP_H
#define SUPPORT_EVLP_LOOP_H

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <stdint.h>
#include <string>
#include <vector>

#include "evlp/evlp.h"

#include "support/evlp_kernel.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** A context and what its callback does. Closed with the fixture, unless the test closes it. */
class Context {
  public:
    enum class Kind { Descriptor, Timer, Signal };

    Context(std::string name, std::vector<std::string>* log, Kind kind)
        : m_name(std::move(name)), m_log(log), m_kind(kind) {}
    ~Context() { close(); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /** What to do when called, after the name has been noted. */
    Context& then(std::function<void()> action) {
        m_action = std::move(action);
        return *this;
    }

    /** Descriptors: timeoutMs; timers: delayMs. */
    int start(int64_t timeMs = -1) {
        switch (m_kind) {
            case Kind::Descriptor:
                return fd_startCtx(handle, static_cast<int>(timeMs));
            case Kind::Timer:
                return timer_startCtx(handle, timeMs);
            default:
                return sig_startCtx(handle);
        }
    }

    int stop() {
        switch (m_kind) {
            case Kind::Descriptor:
                return fd_stopCtx(handle);
            case Kind::Timer:
                return timer_stopCtx(handle);
            default:
                return sig_stopCtx(handle);
        }
    }

    int close() {
        evlp_ctx_str* const ctx = handle;
        if (ctx == nullptr) {
            return 0;
        }
        handle = nullptr;
        switch (m_kind) {
            case Kind::Descriptor:
                return fd_closeCtx(ctx);
            case Kind::Timer:
                return timer_closeCtx(ctx);
            default:
                return sig_closeCtx(ctx);
        }
    }

    evlp_ctx_str* handle = nullptr;
    int calls = 0;
    int lastFd = -2;  // what the last call of a descriptor context was given

    static void onDescriptor(void* user, int fd) {
        auto* const self = static_cast<Context*>(user);
        self->lastFd = fd;
        self->called(fd < 0 ? self->m_name + " idle" : self->m_name);
    }
    static void onEvent(void* user) {
        auto* const self = static_cast<Context*>(user);
        self->called(self->m_name);
    }

  private:
    void called(const std::string& entry) {
        ++calls;
        m_log->push_back(entry);
        if (m_action) {
            const auto action = m_action;  // it may replace itself
            action();
        }
    }

    std::string m_name;
    std::vector<std::string>* m_log;
    Kind m_kind;
    std::function<void()> m_action;
};

/** A pair of connected stream sockets, not blocking. */
class Pair {
  public:
    Pair();
    ~Pair();
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void send(const char* text = "x") const;  // makes `near` readable
    void drain() const;                       // reads all from `near`
    void fill() const;                        // until `near` is not writable
    void closeNear();
    void closeFar();

    int near = -1;
    int far = -1;
};

/** A loop on the virtual clock, and the names of the contexts that were called, in order. */
class LoopTest : public ::testing::Test {
  protected:
    LoopTest();
    ~LoopTest() override;

    Context& timer(const char* name, int priority = 8);
    Context& reader(const char* name, int fd, int priority = 8);
    Context& writer(const char* name, int fd, int priority = 8);
    Context& watcher(const char* name, int fd, int mode, int priority = 8);
    Context& signal(const char* name, int signum, int priority = 8);

    /** A timer that is armed and due in the next turn. */
    Context& dueTimer(const char* name, int priority = 8);

    /** Runs the loop until somebody stops it. */
    void run();
    void stop() { EXPECT_EQ(0, evlp_stopThread(loop)); }

    /** Runs that many turns; the last one does not wait. */
    void runTurns(int count);

    /** Runs for that long, what is due at the end of it included. */
    void runFor(int64_t ms);

    std::vector<std::string> called() {
        std::vector<std::string> result;
        result.swap(log);
        return result;
    }

    evlp_thread_str* loop = nullptr;
    std::vector<std::string> log;
    std::list<Context> contexts;
};

/** Numbers of the open descriptors of this process. */
std::vector<int> openDescriptors();

#endif
