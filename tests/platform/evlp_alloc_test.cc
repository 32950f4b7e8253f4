// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Exhausted memory. This program defines the allocation functions, so that chosen calls fail and
// what is not freed shows.

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <vector>

#include "evlp/evlp.h"

#include "support/evlp_loop.h"

namespace {

// Counts down to the allocation that fails; below 0: none does.
thread_local int failIn = -1;
thread_local bool failAll = false;
thread_local bool counting = false;
thread_local int liveBlocks = 0;
thread_local size_t lastResize = 0;

// While the real functions are looked up.
alignas(16) char early[65536];
size_t earlyUsed = 0;

bool isEarly(const void* block) {
    const auto address = reinterpret_cast<uintptr_t>(block);
    const auto begin = reinterpret_cast<uintptr_t>(early);
    return address >= begin && address < begin + sizeof early;
}

void* allocateEarly(size_t size) {
    void* const block = early + earlyUsed;
    earlyUsed += (size + 15) / 16 * 16;
    if (earlyUsed > sizeof early) {
        abort();
    }
    return block;
}

struct Real {
    void* (*allocate)(size_t) = nullptr;
    void* (*resize)(void*, size_t) = nullptr;
    void (*release)(void*) = nullptr;
};

Real real;
bool lookingUp = false;

bool findReal() {
    if (real.release != nullptr) {
        return true;
    }
    if (lookingUp) {
        return false;
    }
    lookingUp = true;
    real.allocate = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    real.resize = reinterpret_cast<void* (*)(void*, size_t)>(dlsym(RTLD_NEXT, "realloc"));
    real.release = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "free"));
    lookingUp = false;
    return true;
}

bool shallFail() {
    if (!counting) {
        return false;
    }
    if (failAll || (failIn >= 0 && failIn-- == 0)) {
        errno = ENOMEM;
        return true;
    }
    return false;
}

}  // namespace

extern "C" {

void* malloc(size_t size) noexcept {
    if (shallFail()) {
        return nullptr;
    }
    liveBlocks += counting;
    return findReal() ? real.allocate(size) : allocateEarly(size);
}

void* calloc(size_t count, size_t size) noexcept {
    void* const block = malloc(count * size);
    return block == nullptr ? nullptr : memset(block, 0, count * size);
}

void* realloc(void* block, size_t size) noexcept {
    if (block == nullptr) {
        return malloc(size);
    }
    if (isEarly(block)) {
        void* const moved = malloc(size);
        return moved == nullptr ? nullptr : memcpy(moved, block, size);
    }
    if (counting) {
        lastResize = size;
    }
    return shallFail() || !findReal() ? nullptr : real.resize(block, size);
}

void free(void* block) noexcept {
    if (block == nullptr || isEarly(block)) {
        return;
    }
    liveBlocks -= counting;
    if (findReal()) {
        real.release(block);
    }
}

}  // extern "C"

namespace {

/** While it lives, the service's allocations are counted and fail as told. */
class Allocations {
  public:
    Allocations() {
        liveBlocks = 0;
        lastResize = 0;
        counting = true;
    }
    ~Allocations() { end(); }
    Allocations(const Allocations&) = delete;
    Allocations& operator=(const Allocations&) = delete;

    void failNext() { failIn = 0; }
    void failOne(int number) { failIn = number; }
    void failFromNowOn() { failAll = true; }
    bool hasFailed() const { return failIn < 0; }
    void end() {
        counting = false;
        failAll = false;
        failIn = -1;
    }
};

/** What the callbacks count; nothing here allocates. */
struct Counter {
    evlp_thread_str* loop = nullptr;
    int calls = 0;
    int stopAt = 1;

    void count() {
        if (++calls == stopAt) {
            evlp_stopThread(loop);
        }
    }
    static void onEvent(void* user) { static_cast<Counter*>(user)->count(); }
    static void onDescriptor(void* user, int) { static_cast<Counter*>(user)->count(); }
};

evlp_thread_str* openLoop() {
    return evlp_openThreadInt("memory", 0, 1, 0, 0, 255, 0);
}

class Memory : public ::testing::Test {
  protected:
    Memory() {
        kernel::reset();
        kernel::useVirtualTime();
        evlp_closeThread(openLoop());  // the calls behind ours are looked up, which may allocate
    }
    ~Memory() override { kernel::reset(); }
};

class OutOfMemory : public Memory {};

TEST_F(OutOfMemory, AnOpenOfALoopFailsAndLeavesNothing) {
    const std::vector<int> descriptors = openDescriptors();
    int failures = 0;
    for (;;) {
        Allocations allocations;
        allocations.failOne(failures);
        errno = 0;
        evlp_thread_str* const loop = openLoop();
        const int error = errno;
        const bool opened = loop != nullptr;
        if (opened) {
            evlp_closeThread(loop);
        }
        allocations.end();
        ASSERT_EQ(0, liveBlocks);
        if (opened) {
            break;
        }
        EXPECT_EQ(ENOMEM, error);
        EXPECT_EQ(descriptors, openDescriptors());
        ++failures;
    }

    EXPECT_LT(0, failures);
}

TEST_F(OutOfMemory, AnOpenOfAContextFails) {
    evlp_thread_str* const loop = openLoop();
    Allocations allocations;
    allocations.failFromNowOn();

    evlp_ctx_str* const timer = timer_openCtx(loop, Counter::onEvent, nullptr, 0, 8);
    evlp_ctx_str* const signal = sig_openCtx(loop, Counter::onEvent, nullptr, 10, 8);
    evlp_ctx_str* const reader = fd_openCtx(loop, Counter::onDescriptor, nullptr, 0, EVLP_READ, 8);
    const int error = errno;
    allocations.end();

    EXPECT_EQ(nullptr, timer);
    EXPECT_EQ(nullptr, signal);
    EXPECT_EQ(nullptr, reader);
    EXPECT_EQ(ENOMEM, error);
    evlp_closeThread(loop);
}

TEST_F(OutOfMemory, AStartOfATimerFailsOrSucceedsAndDisturbsNoOther) {
    Counter counter;
    counter.loop = openLoop();
    constexpr int kCount = 300;
    std::vector<evlp_ctx_str*> timers;
    for (int i = 0; i != kCount; ++i) {
        timers.push_back(timer_openCtx(counter.loop, Counter::onEvent, &counter, 0, 8));
    }
    int failures = 0;

    Allocations allocations;
    for (evlp_ctx_str* const timer : timers) {
        allocations.failNext();
        if (timer_startCtx(timer, 10) < 0) {
            ++failures;
            EXPECT_EQ(ENOMEM, errno);
            EXPECT_EQ(0, timer_startCtx(timer, 10));
        }
    }
    allocations.end();
    counter.stopAt = kCount;
    EXPECT_EQ(0, evlp_startThread(counter.loop));

    EXPECT_EQ(kCount, counter.calls);
    EXPECT_EQ(4, failures);  // room for 64, 128, 256, 512
    for (evlp_ctx_str* const timer : timers) {
        timer_closeCtx(timer);
    }
    evlp_closeThread(counter.loop);
}

TEST_F(OutOfMemory, AStartOfADescriptorFailsAndChangesNothing) {
    Pair pair;
    pair.send();
    Counter counter;
    counter.loop = openLoop();
    evlp_ctx_str* const reader =
        fd_openCtx(counter.loop, Counter::onDescriptor, &counter, pair.near, EVLP_READ, 8);
    int failures = 0;

    for (;;) {
        Allocations allocations;
        allocations.failOne(failures);
        const int result = fd_startCtx(reader, 100);
        const int error = errno;
        allocations.end();
        if (result == 0) {
            break;
        }
        EXPECT_EQ(ENOMEM, error);
        ++failures;
        evlp_stopThread(counter.loop);
        EXPECT_EQ(0, evlp_startThread(counter.loop));
        EXPECT_EQ(0, counter.calls);
    }
    EXPECT_EQ(0, evlp_startThread(counter.loop));

    EXPECT_EQ(2, failures);  // the deadline, the slot
    EXPECT_EQ(1, counter.calls);
    fd_closeCtx(reader);
    evlp_closeThread(counter.loop);
}

TEST_F(OutOfMemory, ARunningLoopNeedsNoneAndLosesNothing) {
    constexpr int kPairs = 200;
    constexpr int kTimers = 1000;
    std::vector<Pair> pairs(kPairs);
    std::vector<evlp_ctx_str*> readers;
    std::vector<evlp_ctx_str*> timers;
    Counter read;
    Counter fired;
    fired.loop = read.loop = openLoop();
    read.stopAt = 10 * kPairs;  // 64 of them in a turn
    fired.stopAt = -1;
    for (const Pair& pair : pairs) {
        pair.send();
        readers.push_back(
            fd_openCtx(read.loop, Counter::onDescriptor, &read, pair.near, EVLP_READ, 8));
        EXPECT_EQ(0, fd_startCtx(readers.back(), 1000));
    }
    for (int i = 0; i != kTimers; ++i) {
        timers.push_back(timer_openCtx(read.loop, Counter::onEvent, &fired, 0, 8));
        EXPECT_EQ(0, timer_startCtx(timers.back(), 0));
    }

    Allocations allocations;
    allocations.failFromNowOn();
    const int result = evlp_startThread(read.loop);
    allocations.end();

    EXPECT_EQ(0, result);
    EXPECT_EQ(kTimers, fired.calls);
    EXPECT_LE(10 * kPairs, read.calls);
    for (evlp_ctx_str* const reader : readers) {
        fd_closeCtx(reader);
    }
    for (evlp_ctx_str* const timer : timers) {
        timer_closeCtx(timer);
    }
    evlp_closeThread(read.loop);
}

TEST_F(OutOfMemory, APeriodicTimerGoesOn) {
    struct Periodic {
        Counter counter;
        evlp_ctx_str* timer;
        static void onEvent(void* user) {
            auto* const self = static_cast<Periodic*>(user);
            EXPECT_EQ(0, timer_startCtx(self->timer, 10));
            self->counter.count();
        }
    } periodic = {};
    evlp_thread_str* const loop = periodic.counter.loop = openLoop();
    periodic.counter.stopAt = 100;
    periodic.timer = timer_openCtx(loop, Periodic::onEvent, &periodic, 0, 8);
    EXPECT_EQ(0, timer_startCtx(periodic.timer, 10));

    Allocations allocations;
    allocations.failFromNowOn();
    const int result = evlp_startThread(loop);
    allocations.end();

    EXPECT_EQ(0, result);
    EXPECT_EQ(100, periodic.counter.calls);
    timer_closeCtx(periodic.timer);
    evlp_closeThread(loop);
}

TEST_F(Memory, OfManyTimersIsGivenBackWhenTheyAreGone) {
    Counter counter;
    counter.loop = openLoop();
    counter.stopAt = -1;
    std::vector<evlp_ctx_str*> timers(100000);
    for (evlp_ctx_str*& timer : timers) {
        timer = timer_openCtx(counter.loop, Counter::onEvent, &counter, 0, 8);
        ASSERT_EQ(0, timer_startCtx(timer, 1000));
    }
    for (evlp_ctx_str* const timer : timers) {
        timer_closeCtx(timer);
    }

    Allocations allocations;
    evlp_stopThread(counter.loop);
    evlp_ctx_str* const last = timer_openCtx(counter.loop, Counter::onEvent, &counter, 0, 8);
    evlp_startThread(counter.loop);
    counter.stopAt = 1;
    timer_startCtx(last, 1);
    evlp_startThread(counter.loop);
    const size_t size = lastResize;
    allocations.end();

    EXPECT_LT(0u, size);
    EXPECT_GE(2048u, size);
    EXPECT_EQ(1, counter.calls);
    timer_closeCtx(last);
    evlp_closeThread(counter.loop);
}

TEST_F(Memory, IsAllGivenBackInTheEnd) {
    Pair pair;
    pair.send();
    Counter counter;

    Allocations allocations;
    counter.loop = openLoop();
    evlp_ctx_str* const contexts[] = {
        timer_openCtx(counter.loop, Counter::onEvent, &counter, 0, 8),
        sig_openCtx(counter.loop, Counter::onEvent, &counter, 10, 8),
        fd_openCtx(counter.loop, Counter::onDescriptor, &counter, pair.near, EVLP_READ, 8),
    };
    timer_startCtx(contexts[0], 1);
    sig_startCtx(contexts[1]);
    fd_startCtx(contexts[2], 100);
    evlp_startThread(counter.loop);
    evlp_closeThread(counter.loop);
    timer_closeCtx(contexts[0]);
    sig_closeCtx(contexts[1]);
    fd_closeCtx(contexts[2]);
    allocations.end();

    EXPECT_EQ(0, liveBlocks);
}

}  // namespace
