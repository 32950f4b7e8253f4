// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Every public function that allocates, with each of its allocations failing in turn: nothing
// crashes, nothing leaks, and what is left is empty or as it was.

#include "support/alloc_faults.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdarg.h>
#include <string.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "zol/zol.h"

#include "support/open_fds.h"
#include "support/owned_str.h"
#include "support/temp_dir.h"

namespace {

const xabuf_def_s kInts = {sizeof(xtabh_s), sizeof(int), 8};
const char k600[] = "%600s";

// Whether the body that runs now has an allocation that is to fail, and it has.
bool faulted() {
    return AllocFaults::hasFailed();
}

// --- blocks and shared buffers ---

TEST(AllocFaults, Alloc) {
    forEachFailingAllocation([] {
        xhandle h = nullptr;
        const int result = xabuf_alloc(&h, &kInts, 100);
        EXPECT_EQ(faulted() ? -1 : 0, result);
        EXPECT_EQ(faulted(), h == nullptr);
        xabuf_free(&h);
    });
}

TEST(AllocFaults, AllocOverABlockLeavesANullHandle) {
    forEachFailingAllocation([] {
        xhandle h = nullptr;
        if (xabuf_alloc(&h, &kInts, 4) == 0 && xabuf_alloc(&h, &kInts, 100) != 0) {
            EXPECT_EQ(nullptr, h);
        }
        xabuf_free(&h);
    });
}

TEST(AllocFaults, ReallocKeepsTheBlock) {
    forEachFailingAllocation([] {
        xhandle h = nullptr;
        if (xabuf_realloc(&h, &kInts, 4) == 0) {
            memcpy(h, "abcd", 4);
            void* const before = h;
            if (xabuf_realloc(&h, &kInts, 100000) != 0) {
                EXPECT_EQ(before, h);
            }
            EXPECT_EQ(0, memcmp(h, "abcd", 4));
        }
        xabuf_free(&h);
    });
}

TEST(AllocFaults, SharedBuffers) {
    forEachFailingAllocation([] {
        xhandle a = nullptr;
        xhandle b = nullptr;
        if (xsbuf_alloc(&a, &kInts, 100) != -1) {
            xsbuf_add_ref(&a, 1);
        } else {
            EXPECT_EQ(nullptr, a);
        }
        if (xsbuf_set_content(&a, &kInts, "abcd") == -1) {
            EXPECT_EQ(nullptr, a);
        }
        xsbuf_copy(&b, &a);
        xsbuf_detach(&b);
        if (a != nullptr) {
            EXPECT_EQ(1, xsbuf_get_refcount(&a));
            EXPECT_EQ(0, memcmp(a, "abcd", 4));
        }
        xsbuf_free(&a);
        xsbuf_free(&b);
    });
}

// --- tables ---

TEST(AllocFaults, TabInsertLeavesTheTableAsItWas) {
    forEachFailingAllocation([] {
        const int source[20] = {1, 2, 3, 4, 5, 6, 7, 8};
        xtab t = nullptr;
        if (xtab_insert(&t, &kInts, -1, 8, source) == -1) {
            EXPECT_EQ(nullptr, t);
        } else {
            const bool before = faulted();
            const int count = xtab_insert(&t, &kInts, 0, 20, nullptr);
            EXPECT_EQ(faulted() && !before ? -1 : 28, count);
            if (count == -1) {
                EXPECT_EQ(8, xtab_get_count(&t));
                EXPECT_EQ(0, memcmp(t, source, 8 * sizeof(int)));
            }
        }
        xsbuf_free(&t);
    });
}

TEST(AllocFaults, TabsThatCannotBeMadePrivateGiveTheirReferenceUp) {
    using Change = int (*)(xtab*);
    const Change changes[] = {[](xtab* t) { return xtab_insert(t, &kInts, -1, 1, nullptr); },
                              [](xtab* t) { return xtab_delete(t, 0, 1); },
                              [](xtab* t) {
                                  xtab_detach(t);
                                  return 0;
                              }};
    for (const Change change : changes) {
        forEachFailingAllocation([change] {
            const int source[] = {1, 2, 3};
            xtab a = nullptr;
            xtab b = nullptr;
            if (xtab_insert(&a, &kInts, -1, 3, source) == 3) {
                xsbuf_copy(&b, &a);
                (void)change(&b);
                EXPECT_EQ(1, xsbuf_get_refcount(&a));
                EXPECT_EQ(0, memcmp(a, source, sizeof source));
                if (b != nullptr) {
                    EXPECT_EQ(1, xsbuf_get_refcount(&b));
                }
            }
            xsbuf_free(&a);
            xsbuf_free(&b);
        });
    }
}

TEST(AllocFaults, TabDeleteAndStripWithoutMemoryKeepTheLargerBlock) {
    forEachFailingAllocation([] {
        xtab t = nullptr;
        if (xtab_insert(&t, &kInts, -1, 40, nullptr) == 40) {
            EXPECT_EQ(1, xtab_delete(&t, 1, 20));
            EXPECT_EQ(20, xtab_get_count(&t));
            const int stripped = xtab_strip_buffer(&t);
            EXPECT_TRUE(stripped == 20 || stripped == -1);
        }
        xsbuf_free(&t);
    });
}

TEST(AllocFaults, TypedTables) {
    forEachFailingAllocation([] {
        zol::CTab<zol::CStr> a;
        for (const char* const text : {"valve", "pump", "sensor"}) {
            const int before = a.getCount();
            const int after = a.append(text);
            EXPECT_EQ(after == -1 ? before : before + 1, a.getCount());
        }
        zol::CTab<zol::CStr> b(a);
        if (b.append("filter") == -1) {
            EXPECT_TRUE(b.isEmpty() || b.getCount() == a.getCount());
        }
        zol::CTab<zol::CStr> c(a);
        if (c.remove(0, -1) == 0) {
            EXPECT_EQ(0, c.getCount());
        }
        zol::CTab<zol::CStr> d(a);
        if (d.getTable() == nullptr) {
            EXPECT_EQ(0, d.getCount());
        }
    });
}

// --- strings: each change on a private string and on one that shares its bytes ---

using StrChange = void (*)(xstr*);

void changeStrings(StrChange change) {
    for (const char* const text :
         {"", "  a-b-a  ", "a long text that fills its block, well, 47 bytes"}) {
        for (const bool shared : {false, true}) {
            forEachFailingAllocation([=] {
                OwnedStr s;
                xstr_set(s, text, -1);
                xstr_concat(s, "x", -1);  // at least one allocation
                OwnedStr other;
                if (shared) {
                    xstr_copy(other, s);
                }
                char before[100];
                strcpy(before, other.h);
                change(s);
                // Valid in any case: a text with its NUL, of the length that it says.
                EXPECT_EQ(static_cast<size_t>(s.length()), strlen(s.h));
                EXPECT_STREQ(before, other.h);
            });
        }
    }
}

TEST(AllocFaults, StrSet) {
    changeStrings([](xstr* s) { xstr_set(s, "another text", -1); });
    changeStrings([](xstr* s) { xstr_set(s, *s, -1); });
}

TEST(AllocFaults, StrSetChar) {
    changeStrings([](xstr* s) { xstr_set_char(s, 'y', 50); });
}

TEST(AllocFaults, StrConcat) {
    changeStrings([](xstr* s) { xstr_concat(s, "another text of more than 16 bytes", -1); });
    changeStrings([](xstr* s) { xstr_concat(s, *s, -1); });
}

TEST(AllocFaults, StrFormat) {
    changeStrings([](xstr* s) { xstr_format(s, "%s-%d", *s, 7); });
    changeStrings([](xstr* s) { xstr_format(s, k600, "end"); });
}

TEST(AllocFaults, StrTrim) {
    changeStrings([](xstr* s) { xstr_ltrim(s, nullptr); });
    changeStrings([](xstr* s) { xstr_rtrim(s, "x ta"); });
    changeStrings([](xstr* s) { xstr_trim(s, *s); });
}

TEST(AllocFaults, StrReplace) {
    changeStrings([](xstr* s) { xstr_replace(s, "a", "bbbbbbbbbbbbbbbbbbbb"); });
    changeStrings([](xstr* s) { xstr_replace(s, "a", ""); });
    changeStrings([](xstr* s) { xstr_replace(s, "x", *s); });
}

TEST(AllocFaults, StrBuffer) {
    changeStrings([](xstr* s) {
        char* const buffer = xstr_get_buffer(s, 100);
        if (buffer != nullptr) {
            memset(buffer, 'z', 99);
        }
        xstr_release_buffer(s, 50);
    });
    changeStrings([](xstr* s) { xstr_release_buffer(s, 2); });
}

TEST(AllocFaults, CStr) {
    forEachFailingAllocation([] {
        zol::CStr a("a text");
        zol::CStr b(a);
        b.concat(" and more").trim().replace("more", "less");
        b.format(k600, "end");
        a = "another";
        const zol::CStr c(static_cast<zol::CStr&&>(a));
        EXPECT_TRUE(a.isEmpty());
    });
}

// --- what is freed, counted without a leak checker ---

struct Chained {
    void* next;
    void* previous;
    void* below;
};

TEST(Freed, DeleteAllFreesEveryElement) {
    const long before = AllocFaults::liveBlocks();
    xlist list = xlist_null;
    xfifo fifo = xfifo_null;
    xlifo lifo = xlifo_null;
    for (int i = 0; i < 3; ++i) {
        xlist_add_tail(&list, calloc(1, sizeof(Chained)), 0);
        xfifo_add(&fifo, calloc(1, sizeof(Chained)), offsetof(Chained, below));
        xlifo_push(&lifo, calloc(1, sizeof(Chained)), offsetof(Chained, below));
    }
    ASSERT_EQ(before + 9, AllocFaults::liveBlocks());

    xlist_delete_all(&list, 0);
    EXPECT_EQ(before + 6, AllocFaults::liveBlocks());
    xfifo_delete_all(&fifo, offsetof(Chained, below));
    EXPECT_EQ(before + 3, AllocFaults::liveBlocks());
    xlifo_delete_all(&lifo, offsetof(Chained, below));
    EXPECT_EQ(before, AllocFaults::liveBlocks());
}

TEST(Freed, ObjFreeFreesTheStorage) {
    const long before = AllocFaults::liveBlocks();
    void* const object = new zol::CServer(nullptr, "test");
    ASSERT_EQ(before + 1, AllocFaults::liveBlocks());

    zol_obj_free(object);

    EXPECT_EQ(before, AllocFaults::liveBlocks());
}

TEST(Freed, StringsTablesAndBuffersAreFreedByTheirLastHolder) {
    const long before = AllocFaults::liveBlocks();
    xstr a;
    xstr b;
    xstr_init(&a);
    xstr_init(&b);
    xstr_set(&a, "text", -1);
    xstr_copy(&b, &a);
    xstr_free(&a);
    ASSERT_EQ(before + 1, AllocFaults::liveBlocks());

    xstr_free(&b);

    EXPECT_EQ(before, AllocFaults::liveBlocks());
}

// --- events, servers, clients ---

struct Nothing : zol::CEventCallback {
    int onEvent(int, short, zol::CEvent*) override { return 0; }
};

TEST(AllocFaults, Events) {
    const int fds = openFds();
    forEachFailingAllocation([] {
        Nothing callback;
        void* const flat = xeventloop_new();
        xeventloop_free(flat);

        zol::CEventLoop loop;
        zol::CEvent timer(loop.getThread(), &callback, -1, 0);
        zol::CEvent descriptor(loop.getThread(), &callback, 0, zol::CEvent::kRead);
        zol::CEventSignal signal;
        signal.set(loop.getThread(), SIGUSR2, &callback);
        timer.add(zol::CTime(0));
        signal.add(zol::CTime::infinite);
        loop.exitLoop();
        const int result = loop.loop(0, 0);
        EXPECT_EQ(loop.getThread() == nullptr ? -1 : 0, result);
    });
    EXPECT_EQ(fds, openFds());
}

struct Turns : zol::CEventCallback {
    explicit Turns(zol::CEventLoop& l) : loop(l) {}
    int onEvent(int, short, zol::CEvent* event) override {
        if (++turns == 4) {
            loop.exitLoop();
        } else {
            event->add(zol::CTime(0));
        }
        return 0;
    }
    zol::CEventLoop& loop;
    int turns = 0;
};

struct EchoClient : zol::CClient {
    using CClient::CClient;
    int onEvent(int fd, short, zol::CEvent*) override {
        char bytes[10];
        (void)!read(fd, bytes, sizeof bytes);
        return 0;
    }
};

TEST(AllocFaults, ServersAndClients) {
    const TempDir dir;
    const std::string path = dir.file("socket");
    const int fds = openFds();
    forEachFailingAllocation([&] {
        zol::CEventLoop loop;
        Turns turns(loop);
        zol::CEvent timer(loop.getThread(), &turns, -1, 0);
        zol::CServer server(loop.getThread(), "test");
        EchoClient client(loop.getThread());
        if (server.openUnixSocket(path.c_str(), 1)) {
            client.openUnix(path.c_str(), 1);
        }
        if (timer.add(zol::CTime(0)) == 0) {
            EXPECT_EQ(0, loop.loop(0, 0));
        }
    });
    EXPECT_EQ(fds, openFds());
}

// --- timers and schedules ---

TEST(AllocFaults, TimersAreRegisteredOrNot) {
    forEachFailingAllocation([] {
        zol::CEventLoop loop;
        Turns callback(loop);
        const zol::CTimer a(zol::CTime(60000000), &callback);
        const zol::CTimer b(zol::CTime(60000000), &callback);
        const zol::CTimer c(zol::CTime(61000000), &callback);
        for (const zol::CTimer* timer : {&a, &b, &c}) {
            zol::CTimerHandler::add(loop.getThread(), *timer);
        }
        for (const zol::CTimer* timer : {&a, &b, &c}) {
            zol::CTimerHandler::remove(*timer);
        }
    });
}

struct ScheduleClient : zol::IScheduleClient {
    void onScheduledEvent(tm, void*) override { ++calls; }
    void onInitialEvent(tm, void*) override { ++calls; }
    int calls = 0;
};

// The C library then reads no zone file while allocations fail.
void keepZoneInMemory() {
    setenv("TZ", "UTC0", 1);
    tzset();
}

constexpr sched_info_t kDaily = {127, 12, 0, 0, {0, 0}};

TEST(AllocFaults, SchedulersFreeAllUsersAndSchedules) {
    keepZoneInMemory();
    zol::CTime::synchronized = 1;
    forEachFailingAllocation([] {
        zol::CEventLoop loop;
        ScheduleClient client;
        zol::CScheduleHandler handler(loop.getThread());
        sched_user_s* const user = handler.createUser(&client, nullptr);
        EXPECT_TRUE(user != nullptr || faulted());
        EXPECT_EQ(user == nullptr ? -1 : 0, handler.delUser(user));
        sched_user_s* const other = handler.createUser(&client, nullptr);
        const bool before = faulted();
        const int added = handler.addSchedule(other, kDaily);
        EXPECT_EQ(!before && faulted() ? -1 : 0, added);
        (void)handler.start();
        EXPECT_EQ(0, handler.stop());
    });
    zol::CTime::synchronized = 0;
}

TEST(AllocFaults, AScheduleIsAddedToAllOfItsDaysOrToNone) {
    zol::CEventLoop loop;
    ScheduleClient client;
    zol::CScheduleHandler handler(loop.getThread());
    sched_user_s* const user = handler.createUser(&client, nullptr);
    for (int day = 1; day <= 7; ++day) {
        const long before = AllocFaults::liveBlocks();
        AllocFaults::failNth(day);
        EXPECT_EQ(-1, handler.addSchedule(user, kDaily));
        AllocFaults::failNth(0);
        EXPECT_EQ(before, AllocFaults::liveBlocks());
    }
}

TEST(AllocFaults, ASchedulerThatCannotMakeItsTimerDoesNotStart) {
    keepZoneInMemory();
    zol::CEventLoop loop;
    zol::CScheduleHandler handler(loop.getThread());
    AllocFaults::failNth(1);

    EXPECT_EQ(-1, handler.start());

    AllocFaults::failNth(0);
    EXPECT_EQ(0, handler.start());
    EXPECT_EQ(0, handler.stop());
}

TEST(AllocFaults, WithdrawnSchedulesKeepTheirMemory) {
    const long before = AllocFaults::liveBlocks();
    {
        zol::CScheduleHandler handler(nullptr);
        ScheduleClient client;
        sched_user_s* const user = handler.createUser(&client, nullptr);
        EXPECT_EQ(0, handler.addSchedule(user, kDaily));
        EXPECT_EQ(0, handler.addSchedule(user, {ZOL_MONDAY, 1, 2, 0, {0, 0}}));
        EXPECT_EQ(0, handler.delSchedules(user));
        EXPECT_EQ(0, handler.addSchedule(user, kDaily));
    }
    EXPECT_EQ(before + 8, AllocFaults::liveBlocks());
}

TEST(AllocFaults, SockInfo) {
    const TempDir dir;
    const int fd = xsock_open_unix_server(dir.file("socket").c_str(), 1);
    forEachFailingAllocation([fd] {
        uint16_t family = 0;
        OwnedStr local;
        OwnedStr peer;
        EXPECT_EQ(0, xsock_get_info(fd, &family, local, nullptr, peer, nullptr));
        EXPECT_EQ(AF_UNIX, family);
    });
    close(fd);
}

}  // namespace
