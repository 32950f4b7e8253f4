// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/sim_loop.h"

#include <errno.h>
#include <map>
#include <stdlib.h>
#include <time.h>

namespace {

// Not every C library can tell the names.
const char* nameOf(int error) {
    static const std::map<int, const char*> names = {
        {EBADF, "EBADF"},   {EBUSY, "EBUSY"}, {ECANCELED, "ECANCELED"}, {EDEADLK, "EDEADLK"},
        {EINVAL, "EINVAL"}, {EIO, "EIO"},     {ELOOP, "ELOOP"},         {ENOMEM, "ENOMEM"},
        {ENOSPC, "ENOSPC"}, {ETIME, "ETIME"},
    };
    const auto found = names.find(error);
    return found == names.end() ? "?" : found->second;
}

}  // namespace

std::string outcome(int result) {
    return result == 0 ? "0" : std::to_string(result) + " " + nameOf(errno);
}

SimTest::SimTest() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    EXPECT_EQ(0, evlp_sim_reset());
    useNewLoop("test");
}

SimTest::~SimTest() {
    contexts.clear();
    for (evlp_thread_str* const each : loops) {
        EXPECT_EQ(0, evlp_closeThread(each));
    }
    EXPECT_EQ(0, evlp_sim_reset());
}

evlp_thread_str* SimTest::useNewLoop(const char* name) {
    loop = evlp_openThreadInt(name, 0, 0, 32, 10, 255, 10);
    EXPECT_NE(nullptr, loop);
    loops.push_back(loop);
    return loop;
}

Context& SimTest::timer(const char* name, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Timer);
    names[&context] = name;
    context.handle =
        timer_openCtx(loop, Context::onEvent, &context, 0, static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& SimTest::reader(const char* name, int fd, int priority) {
    return watcher(name, fd, EVLP_READ, priority);
}

Context& SimTest::watcher(const char* name, int fd, int mode, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Descriptor);
    names[&context] = name;
    context.handle = fd_openCtx(loop, Context::onDescriptor, &context, fd, mode,
                                static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& SimTest::signal(const char* name, int signum, int priority) {
    Context& context = contexts.emplace_back(name, &log, Context::Kind::Signal);
    names[&context] = name;
    context.handle =
        sig_openCtx(loop, Context::onEvent, &context, signum, static_cast<unsigned char>(priority));
    EXPECT_NE(nullptr, context.handle);
    return context;
}

Context& SimTest::ticker(const char* name, int64_t periodMs) {
    Context& context = timer(name);
    context.then([&context, periodMs] { context.start(periodMs); });
    context.start(periodMs);
    return context;
}

void SimTest::dateIs(const char* text) {
    int64_t date = 0;
    ASSERT_EQ(0, evlp_sim_parseDate(text, &date));
    ASSERT_EQ(0, evlp_sim_setDate(date));
}

std::string SimTest::date() {
    const time_t now = time(nullptr);
    tm fields = {};
    localtime_r(&now, &fields);
    char text[64];
    strftime(text, sizeof text, "%a %F %T", &fields);
    return text;
}
