// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The classes on the real service.

#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <thread>
#include <unistd.h>

#include "zol/event.h"

namespace {

using zol::CEvent;
using zol::CTime;

struct Callback : zol::CEventCallback {
    explicit Callback(std::function<void(int, CEvent*)> f) : function(std::move(f)) {}
    int onEvent(int fd, short, CEvent* event) override {
        function(fd, event);
        return 0;
    }
    std::function<void(int, CEvent*)> function;
};

TEST(EventLoop, CallsBackForDescriptorsTimersAndSignals) {
    zol::CEventLoop loop;
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    std::string order;
    Callback readable([&](int fd, CEvent* event) {
        char byte;
        EXPECT_EQ(ends[0], fd);
        EXPECT_EQ(1, read(fd, &byte, 1));
        order += byte;
        event->remove();
        raise(SIGUSR1);
    });
    Callback signalled([&](int fd, CEvent*) {
        EXPECT_EQ(-1, fd);
        order += 's';
        loop.exitLoop();
    });
    Callback elapsed([&](int fd, CEvent*) {
        EXPECT_EQ(-1, fd);
        order += 't';
        EXPECT_EQ(1, write(ends[1], "d", 1));
    });
    CEvent descriptor(loop.getThread(), &readable, ends[0], CEvent::kRead);
    CEvent timer(loop.getThread(), &elapsed, -1, 0);
    zol::CEventSignal signal;
    ASSERT_NE(0, signal.set(loop.getThread(), SIGUSR1, &signalled));
    ASSERT_EQ(0, descriptor.add(CTime::infinite));
    ASSERT_EQ(0, timer.add(CTime(1000)));
    ASSERT_EQ(0, signal.add(CTime::infinite));

    EXPECT_EQ(0, loop.loop(0, 0));

    EXPECT_EQ("tds", order);
    close(ends[0]);
    close(ends[1]);
}

TEST(EventLoop, EventMayDestroyItselfInItsCallback) {
    zol::CEventLoop loop;
    CEvent* timer = nullptr;
    Callback elapsed([&](int, CEvent* event) {
        delete event;
        timer = nullptr;
        loop.exitLoop();
    });
    timer = new CEvent(loop.getThread(), &elapsed, -1, 0);
    ASSERT_EQ(0, timer->add(CTime(0)));

    EXPECT_EQ(0, loop.loop(0, 0));

    EXPECT_EQ(nullptr, timer);
}

TEST(EventLoop, ExitBeforeTheLoopIsKept) {
    zol::CEventLoop loop;

    EXPECT_EQ(0, loop.exitLoop());

    EXPECT_EQ(0, loop.loop(0, 0));
}

TEST(EventLoop, ExitsFromAnotherThread) {
    zol::CEventLoop loop;
    std::thread other([&loop] { EXPECT_EQ(0, loop.exitLoop()); });

    EXPECT_EQ(0, loop.loop(0, 0));

    other.join();
}

TEST(EventLoop, StartedInsideItselfIsRefused) {
    zol::CEventLoop loop;
    int nested = 0;
    Callback elapsed([&](int, CEvent*) {
        nested = loop.loop(0, 0);
        loop.exitLoop();
    });
    CEvent timer(loop.getThread(), &elapsed, -1, 0);
    ASSERT_EQ(0, timer.add(CTime(0)));

    EXPECT_EQ(0, loop.loop(0, 0));

    EXPECT_EQ(-1, nested);
}

TEST(EventLoop, EventsThatOutliveItsLoopAreHarmless) {
    Callback elapsed([](int, CEvent*) {});
    CEvent timer;
    {
        zol::CEventLoop loop;
        ASSERT_NE(0, timer.set(loop.getThread(), &elapsed, -1, 0, 8));
        ASSERT_EQ(0, timer.add(CTime(0)));
    }

    EXPECT_EQ(-1, timer.add(CTime(0)));
    EXPECT_EQ(0, timer.reset());
}

}  // namespace
