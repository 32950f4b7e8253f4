// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Exceptions and type information across the boundary between an application, which has the whole
// C++ runtime, and the library, which throws nothing and may have a small private one.

#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdexcept>
#include <stdio.h>
#include <sys/socket.h>
#include <typeinfo>
#include <unistd.h>
#include <vector>

#include "zol/cond.h"
#include "zol/event.h"
#include "zol/lyctx.h"
#include "zol/plugin.h"
#include "zol/process.h"
#include "zol/sched.h"
#include "zol/server.h"
#include "zol/timer.h"

namespace {

using zol::CEvent;
using zol::CTime;

// A loop that an exception has left counts as running for good, and cannot be closed: it stays.
zol::CEventLoop& newLoop() {
    static auto* const loops = new std::vector<zol::CEventLoop*>;
    loops->push_back(new zol::CEventLoop);
    return *loops->back();
}

// Runs a loop until an exception leaves it. Returns its text.
std::string thrownThrough(zol::CEventLoop& loop) {
    try {
        (void)loop.loop(0, 0);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing was thrown";
}

struct ThrowingCallback : zol::CEventCallback {
    int onEvent(int, short, CEvent*) override { throw std::runtime_error("event"); }
};

TEST(Exception, LeavesTheLoopFromATimer) {
    zol::CEventLoop& loop = newLoop();
    ThrowingCallback callback;
    CEvent timer(loop.getThread(), &callback, -1, 0);
    ASSERT_EQ(0, timer.add(CTime(0)));

    EXPECT_EQ("event", thrownThrough(loop));
}

TEST(Exception, LeavesTheLoopFromADescriptor) {
    zol::CEventLoop& loop = newLoop();
    ThrowingCallback callback;
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    {
        CEvent readable(loop.getThread(), &callback, ends[0], CEvent::kRead);
        ASSERT_EQ(0, readable.add(CTime::infinite));
        ASSERT_EQ(1, write(ends[1], "x", 1));

        EXPECT_EQ("event", thrownThrough(loop));
    }
    close(ends[0]);
    close(ends[1]);
}

TEST(Exception, LeavesTheLoopFromASignal) {
    zol::CEventLoop& loop = newLoop();
    ThrowingCallback callback;
    zol::CEventSignal signal;
    ASSERT_NE(0, signal.set(loop.getThread(), SIGUSR2, &callback));
    ASSERT_EQ(0, signal.add(CTime::infinite));
    ASSERT_EQ(0, raise(SIGUSR2));

    EXPECT_EQ("event", thrownThrough(loop));
}

TEST(Exception, LeavesTheLoopFromAMemberOfATimerGroup) {
    zol::CEventLoop& loop = newLoop();
    ThrowingCallback callback;
    const zol::CTimer timer(CTime(1000), &callback);
    zol::CTimerHandler::add(loop.getThread(), timer);

    EXPECT_EQ("event", thrownThrough(loop));

    zol::CTimerHandler::remove(timer);
}

TEST(Exception, LeavesTheLoopFromABoundCallback) {
    // What the scheduler binds its timer with.
    struct Destination : zol::CEventDest<Destination, void> {
        void run(void*) { throw std::runtime_error("bound"); }
    } destination;
    zol::CEventMsg<Destination, void*, zol::NullType, zol::NullType, zol::NullType, zol::NullType>
        callback(&destination, &Destination::run, nullptr);
    zol::CEventLoop& loop = newLoop();
    CEvent timer(loop.getThread(), &callback, -1, 0);
    ASSERT_EQ(0, timer.add(CTime(0)));

    EXPECT_EQ("bound", thrownThrough(loop));
}

TEST(Exception, LeavesTheLoopFromTheFirstCallOfAScheduleClient) {
    struct Client : zol::IScheduleClient {
        void onScheduledEvent(tm, void*) override {}
        void onInitialEvent(tm, void*) override { throw std::runtime_error("schedule"); }
    } client;
    zol::CEventLoop& loop = newLoop();
    zol::CScheduleHandler handler(loop.getThread());
    ASSERT_NE(nullptr, handler.createUser(&client, nullptr));
    const int synchronized = CTime::synchronized;
    CTime::synchronized = 1;
    std::string thrown;

    try {
        handler.start();
        thrown = thrownThrough(loop);
    } catch (const std::runtime_error& error) {
        thrown = error.what();
    }

    EXPECT_EQ("schedule", thrown);
    CTime::synchronized = synchronized;
    handler.stop();
}

class ThrowingServer : public zol::CServer {
  public:
    explicit ThrowingServer(evlp_thread_str* thread) : CServer(thread, "thrower") {}
    zol::CConnection* createConnection(int fd) override {
        if (throwsEarly) {
            throw std::runtime_error("connection");
        }
        return CServer::createConnection(fd);
    }
    void onReceiveData(zol::CConnection&) override { throw std::runtime_error("data"); }

    bool throwsEarly = false;
};

class ServerException : public ::testing::Test {
  protected:
    ServerException() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends)); }
    ~ServerException() override { close(m_ends[1]); }

    zol::CEventLoop& m_loop = newLoop();
    ThrowingServer m_server{m_loop.getThread()};
    int m_ends[2];
};

TEST_F(ServerException, LeavesTheLoopFromDataOfAPeer) {
    ASSERT_NE(nullptr, m_server.addConnection(m_ends[0]));
    ASSERT_EQ(1, write(m_ends[1], "x", 1));

    EXPECT_EQ("data", thrownThrough(m_loop));
}

TEST_F(ServerException, LeavesAddConnection) {
    m_server.throwsEarly = true;

    EXPECT_THROW((void)m_server.addConnection(m_ends[0]), std::runtime_error);
    close(m_ends[0]);
}

TEST(Exception, LeavesTheLoopFromTheEndOfAChild) {
    struct Ends : zol::IProcTermHandler {
        void onProcTerm(zol::CProcess*, int) override { throw std::runtime_error("child"); }
    } ends;
    zol::CEventLoop& loop = newLoop();
    zol::CProcess process(&ends, loop.getThread(), 8);
    ASSERT_EQ(0, process.start("exit 0", XEXEC_PLAIN));

    EXPECT_EQ("child", thrownThrough(loop));
}

int throwingCheck(const xcond*, void*) {
    throw std::runtime_error("condition");
}
void throwingClean(xcond*) {
    throw std::runtime_error("cleaning");
}

TEST(Exception, LeavesEveryConditionTree) {
    xcond leaf = {throwingCheck, throwingClean};
    xcond* leaves[] = {&leaf, nullptr};
    const xnotcond negation = {xnotcond_def, &leaf};
    const xmulticond both = {xandcond_def, leaves};
    const xmulticond either = {xorcond_def, leaves};

    for (const xcond* tree : {&negation.cond, &both.cond, &either.cond}) {
        EXPECT_THROW((void)tree->check(tree, nullptr), std::runtime_error);
        EXPECT_THROW(tree->clean(const_cast<xcond*>(tree)), std::runtime_error);
    }
}

#if defined(__GLIBC__) && !defined(__UCLIBC__)  // others cannot be unwound themselves
TEST(Exception, LeavesTheInputOfAParserFromACustomStream) {
    cookie_io_functions_t functions = {};
    functions.read = [](void*, char*, size_t) -> ssize_t { throw std::runtime_error("stream"); };
    FILE* const stream = fopencookie(nullptr, "r", functions);
    ASSERT_NE(nullptr, stream);
    char bytes[10];

    EXPECT_THROW((void)xlyctx_read_file(stream, bytes, sizeof bytes), std::runtime_error);
    fclose(stream);
}
#endif

// --- types ---

TEST(TypeInformation, AnObjectThatTheLibraryMadeHasTheTypeThatTheApplicationKnows) {
    zol::CEventLoop& loop = newLoop();
    zol::CServer server(loop.getThread(), "plain");
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));

    zol::CConnection* const connection = server.addConnection(ends[0]);

    ASSERT_NE(nullptr, connection);
    EXPECT_TRUE(typeid(*connection) == typeid(zol::CConnection));
    EXPECT_EQ(nullptr, dynamic_cast<zol::CClient*>(connection));
    close(ends[1]);
}

TEST(TypeInformation, CastsGoDownFromABaseOfTheLibrary) {
    zol::CEventLoop& loop = newLoop();
    ThrowingServer derived(loop.getThread());
    zol::CServer plain(loop.getThread(), "plain");
    zol::CEventCallback* const callback = &derived;
    zol::CEventCallback* const other = &plain;

    EXPECT_EQ(&derived, dynamic_cast<zol::CServer*>(callback));
    EXPECT_EQ(&derived, dynamic_cast<ThrowingServer*>(callback));
    EXPECT_EQ(nullptr, dynamic_cast<ThrowingServer*>(other));
    EXPECT_EQ(nullptr, dynamic_cast<zol::CTimerGroup*>(callback));
}

TEST(TypeInformation, CastsGoAcrossFromOneBaseOfTheSchedulerToTheOther) {
    struct Scheduler : zol::CScheduleHandler {
        using CScheduleHandler::CScheduleHandler;
    } derived(newLoop().getThread());
    zol::ICompare<zol::CSchedulableEvent>* const order = &derived;

    using Destination = zol::CEventDest<zol::CScheduleHandler, void>;
    EXPECT_EQ(static_cast<Destination*>(&derived), dynamic_cast<Destination*>(order));
    EXPECT_EQ(&derived, dynamic_cast<Scheduler*>(order));
    EXPECT_EQ(&derived, dynamic_cast<void*>(order));
}

TEST(TypeInformation, AThrownObjectIsCaughtAsItsBaseOfTheLibrary) {
    struct Failure : zol::CPlugInInstance {
        int number = 7;
    };
    int caught = 0;

    try {
        throw Failure();
    } catch (const zol::CPlugInInstance& failure) {
        caught = static_cast<const Failure&>(failure).number;
    }

    EXPECT_EQ(7, caught);
}

TEST(TypeInformation, AnObjectOfTheLibraryCanBeMadeHereAndDeletedThroughItsBase) {
    zol::CEventCallback* const server = new zol::CServer(newLoop().getThread(), "deleted");

    delete server;  // sanitizers compare the ways of both

    zol::CPlugInInstance* const instance = new zol::CPlugInInstance;
    delete instance;
}

}  // namespace
