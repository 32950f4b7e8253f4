// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/evlp_loop.h"

#include <algorithm>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Never from within a running fixture's log: the helper's own timer is not noted.
void stopLoop(void* loop) {
    evlp_stopThread(static_cast<evlp_thread_str*>(loop));
}

}  // namespace

Pair::Pair() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends));
    near = ends[0];
    far = ends[1];
}

Pair::~Pair() {
    closeNear();
    closeFar();
}

void Pair::send(const char* text) const {
    EXPECT_EQ(static_cast<ssize_t>(strlen(text)), write(far, text, strlen(text)));
}

void Pair::drain() const {
    char bytes[4096];
    while (read(near, bytes, sizeof bytes) > 0) {
    }
}

void Pair::fill() const {
    const char bytes[4096] = {};
    while (write(near, bytes, sizeof bytes) > 0) {
    }
}

void Pair::closeNear() {
    if (near >= 0) {
        close(near);
        near = -1;
    }
}

void Pair::closeFar() {
    if (far >= 0) {
        close(far);
        far = -1;
    }
}

LoopTest::LoopTest() {
    kernel::reset();
    kernel::useVirtualTime();
    EXPECT_EQ(0, evlp_initialize(0, 1, 0, 512));
    loop = evlp_openThreadInt("test", 0, 0, 32, 10, 255, 10);
    EXPECT_NE(nullptr, loop);
}

LoopTest::~LoopTest() {
    contexts.clear();
    if (loop != nullptr) {
        EXPECT_EQ(0, evlp_closeThread(loop));
    }
    kernel::reset();
}

Context& LoopTest::timer(const char* name, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Timer);
    context.handle =
        timer_openCtx(loop, Context::onEvent, &context, 0, static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& LoopTest::watcher(const char* name, int fd, int mode, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Descriptor);
    context.handle = fd_openCtx(loop, Context::onDescriptor, &context, fd, mode,
                                static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& LoopTest::reader(const char* name, int fd, int priority) {
    return watcher(name, fd, EVLP_READ, priority);
}

Context& LoopTest::writer(const char* name, int fd, int priority) {
    return watcher(name, fd, EVLP_WRITE, priority);
}

Context& LoopTest::signal(const char* name, int signum, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Signal);
    context.handle =
        sig_openCtx(loop, Context::onEvent, &context, signum, static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& LoopTest::dueTimer(const char* name, int priority) {
    Context& context = timer(name, priority);
    EXPECT_EQ(0, context.start(0));
    return context;
}

void LoopTest::run() {
    EXPECT_EQ(0, evlp_startThread(loop));
}

void LoopTest::runTurns(int count) {
    int left = count;
    kernel::beforeWait([&](int) {
        if (--left == 0) {
            stop();
        }
    });
    run();
    kernel::beforeWait(nullptr);
}

void LoopTest::runFor(int64_t ms) {
    evlp_ctx_str* const end = timer_openCtx(loop, stopLoop, loop, 0, 255);
    EXPECT_EQ(0, timer_startCtx(end, ms));
    run();
    EXPECT_EQ(0, timer_closeCtx(end));
}

std::vector<int> openDescriptors() {
    std::vector<int> result;
    DIR* const directory = opendir("/proc/self/fd");
    while (const dirent* const entry = readdir(directory)) {
        const int fd = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != dirfd(directory)) {
            result.push_back(fd);
        }
    }
    closedir(directory);
    std::sort(result.begin(), result.end());
    return result;
}
