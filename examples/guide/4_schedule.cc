// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <signal.h>
#include <stdio.h>
#include <time.h>
#include <zol/sched.h>

static constexpr uint8_t kWorkdays =
    ZOL_MONDAY | ZOL_TUESDAY | ZOL_WEDNESDAY | ZOL_THURSDAY | ZOL_FRIDAY;

// Switches the lamp as its context says: "on" or "off".
class CLamp : public zol::IScheduleClient {
  public:
    void onScheduledEvent(tm now, void* context) override {
        char minute[16];
        strftime(minute, sizeof minute, "%a %H:%M", &now);
        printf("%s %s\n", minute, static_cast<const char*>(context));
    }
    void onInitialEvent(tm, void*) override {}
};

class CQuit : public zol::CEventCallback {
  public:
    explicit CQuit(zol::CEventLoop& loop) : m_loop(loop) {}
    int onEvent(int, short, zol::CEvent*) override { return m_loop.exitLoop(); }

  private:
    zol::CEventLoop& m_loop;
};

int main() {
    static char on[] = "on", off[] = "off";
    zol::CTime::synchronized = 1;  // the clock of this machine is right

    zol::CEventLoop loop;
    CLamp lamp;
    zol::CScheduleHandler schedules(loop.getThread());
    schedules.addSchedule(schedules.createUser(&lamp, on), {kWorkdays, 18, 30, 0, {0, 0}});
    schedules.addSchedule(schedules.createUser(&lamp, off), {kWorkdays, 23, 0, 0, {0, 0}});
    schedules.start();

    CQuit quit(loop);
    zol::CEventSignal terminate;
    terminate.set(loop.getThread(), SIGTERM, &quit);
    terminate.add(zol::CTime::infinite);
    puts("ready");
    const int result = loop.loop(0, 0);
    schedules.stop();
    return result == 0 ? 0 : 1;
}
