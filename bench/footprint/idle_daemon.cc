// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What a small daemon costs in memory while it has nothing to do: a loop, a server, a schedule a
// day, texts in two languages. Prints, in bytes, what it has for itself alone, and what each
// further armed timer and watched descriptor takes, the latter without and with an idle time-out.
//
//     idle_daemon CATALOG_PATTERN

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include "zol/cat.h"
#include "zol/event.h"
#include "zol/sched.h"
#include "zol/server.h"

namespace {

using zol::CEvent;
using zol::CTime;

// Pages that only this process has, and has written to: not those of programs and libraries, which
// are in the page cache for all. See proc(5), smaps_rollup.
long ownBytes() {
    FILE* const map = fopen("/proc/self/smaps_rollup", "re");
    char line[200];
    long kibibytes = -1;
    while (map != nullptr && fgets(line, sizeof line, map) != nullptr) {
        (void)sscanf(line, "Anonymous: %ld kB", &kibibytes);
    }
    if (map == nullptr || fclose(map) != 0 || kibibytes < 0) {
        perror("/proc/self/smaps_rollup");
        exit(1);
    }
    return kibibytes * 1024;
}

class Greenhouse : public zol::IScheduleClient, public zol::CEventCallback {
  public:
    void onScheduledEvent(tm, void*) override {}
    void onInitialEvent(tm, void*) override {}
    int onEvent(int, short, CEvent*) override {
        loop.exitLoop();
        return 0;
    }
    zol::CEventLoop loop;
};

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "idle_daemon: %s failed\n", what);
        exit(1);
    }
}

// The events themselves are the application's: what is counted is what the library keeps for each.
// They are never given back, lest others use their memory.
template <typename Open>
long bytesForEach(int count, Open open) {
    CEvent* const events = new CEvent[static_cast<size_t>(count)];
    const long before = ownBytes();
    for (int i = 0; i < count; ++i) {
        check(open(events[i]), "opening an event");
    }
    return (ownBytes() - before) / count;
}

}  // namespace

int main(int, char** argv) {
    constexpr int kTimers = 10000;
    constexpr int kDescriptors = 4000;
    const CTime hour(3600000000);
    Greenhouse greenhouse;
    evlp_thread_str* const loop = greenhouse.loop.getThread();

    zol::cat::CInterCatalog catalogs("en", argv[1]);
    zol::CStr text;
    check(catalogs.getCatalog("de")->getMessage(0x01020001, text) == 0, "reading a text");
    zol::CServer server(loop, "idle");
    check(server.openIPv4Socket(0x7f000001, 0, 1), "opening a server");
    zol::CScheduleHandler scheduler(loop);
    sched_user_s* const user = scheduler.createUser(&greenhouse, nullptr);
    check(user != nullptr && scheduler.addSchedule(user, {127, 6, 30, 0, {0, 0}}) == 0,
          "adding a schedule");
    CTime::synchronized = 1;
    check(scheduler.start() == 0, "starting the scheduler");
    CEvent end(loop, &greenhouse, -1, 0);
    check(end.add(CTime(0)) == 0 && greenhouse.loop.loop(0, 0) == 0, "the loop");

    printf("daemon %ld\n", ownBytes());
    printf("timer %ld\n", bytesForEach(kTimers, [&](CEvent& event) {
               return event.set(loop, &greenhouse, -1, 0, 8) != 0 && event.add(hour) == 0;
           }));
    const rlimit many = {2 * kDescriptors + 100, 2 * kDescriptors + 100};
    check(setrlimit(RLIMIT_NOFILE, &many) == 0, "allowing descriptors");
    int ends[2];
    check(pipe(ends) == 0, "a pipe");
    const auto watch = [&](CEvent& event, const CTime& timeout) {
        return event.set(loop, &greenhouse, dup(ends[0]), CEvent::kRead, 8) != 0 &&
               event.add(timeout) == 0;
    };
    printf("descriptor %ld\n", bytesForEach(kDescriptors, [&](CEvent& event) {
               return watch(event, CTime::infinite);
           }));
    printf("timed_descriptor %ld\n",
           bytesForEach(kDescriptors, [&](CEvent& event) { return watch(event, hour); }));
    scheduler.stop();
    return 0;
}
