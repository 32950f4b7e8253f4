// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The calendar scheduler, on the virtual clock: what is measured is what it does, not what it
// waits.
//
//   insert   adds a schedule of one weekday, at any minute
//   call     calls a client back, as a day goes by in which all schedules fall due
//
// The peer is what one would write for this alone: a std::multimap from the minute to the client,
// and a walk along it with one timer of the same loop.

#include <functional>
#include <map>
#include <memory>
#include <syslog.h>
#include <time.h>

#include "evlp/evlp.h"
#include "evlp/sim.h"
#include "zol/sched.h"

#include "measure.h"

namespace {

constexpr int kSizes[] = {1000, 10000, 100000};
constexpr int64_t kMonday = 1763942400 * int64_t{1000000};  // 2025-11-24 00:00 UTC
constexpr int64_t kDayUs = 86400 * int64_t{1000000};

class Loop {
  public:
    Loop() : m_loop(evlp_openThreadInt("bench", 0, 0, 32, 10, 255, 10)) {}
    ~Loop() { evlp_closeThread(m_loop); }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;
    evlp_thread_str* get() { return m_loop; }

  private:
    evlp_thread_str* m_loop;
};

class Client : public zol::IScheduleClient {
  public:
    void onScheduledEvent(tm now, void*) override { benchmark::DoNotOptimize(now); }
    void onInitialEvent(tm, void*) override {}
};

class ZolSchedules {
  public:
    static constexpr const char* name = "zol";

    ZolSchedules() : m_handler(m_loop.get()), m_user(m_handler.createUser(&m_client, nullptr)) {}
    ~ZolSchedules() { m_handler.stop(); }
    void insert(int day, int minute) {
        (void)m_handler.addSchedule(m_user, {static_cast<uint8_t>(1 << day),
                                             static_cast<uint8_t>(minute / 60),
                                             static_cast<uint8_t>(minute % 60),
                                             0,
                                             {0, 0}});
    }
    void start() { m_handler.start(); }

  private:
    Loop m_loop;
    Client m_client;
    zol::CScheduleHandler m_handler;
    sched_user_s* m_user;
};

class StdSchedules {
  public:
    static constexpr const char* name = "std";

    StdSchedules() : m_timer(timer_openCtx(m_loop.get(), due, this, 0, 8)) {}
    ~StdSchedules() { timer_closeCtx(m_timer); }
    StdSchedules(const StdSchedules&) = delete;
    StdSchedules& operator=(const StdSchedules&) = delete;
    void insert(int day, int minute) { m_days[day].emplace(minute, &m_client); }
    void start() {
        const tm now = localNow();
        m_next = m_days[now.tm_wday].begin();
        arm(now);
    }

  private:
    static tm localNow() {
        const time_t now = time(nullptr);
        tm result = {};
        localtime_r(&now, &result);
        return result;
    }
    void arm(const tm& now) {
        const bool more = m_next != m_days[now.tm_wday].end();
        const int minute = more ? m_next->first : 1440;
        timer_startCtx(m_timer,
                       ((minute - now.tm_hour * 60 - now.tm_min) * 60 - now.tm_sec) * 1000);
    }
    static void due(void* self) { static_cast<StdSchedules*>(self)->callDue(); }
    void callDue() {
        const tm now = localNow();
        const int minute = now.tm_hour * 60 + now.tm_min;
        if (minute == 0) {
            m_next = m_days[now.tm_wday].begin();
        }
        for (; m_next != m_days[now.tm_wday].end() && m_next->first <= minute; ++m_next) {
            m_next->second->onScheduledEvent(now, nullptr);
        }
        arm(now);
    }

    Loop m_loop;
    Client m_client;
    std::multimap<int, zol::IScheduleClient*> m_days[7];
    std::multimap<int, zol::IScheduleClient*>::iterator m_next;
    evlp_ctx_str* m_timer;
};

template <class Peer>
void fill(Peer& schedules, int size, bool onMonday) {
    bench::Numbers numbers;
    for (int i = 0; i != size; ++i) {
        const int day = static_cast<int>(numbers.below(7));
        schedules.insert(onMonday ? 1 : day, static_cast<int>(numbers.below(1440)));
    }
}

template <class Peer>
void addAll(int size) {
    bench::add("insert", Peer::name, size, [size](benchmark::State& state) {
        bench::measure(state, size, [&] {
            state.PauseTiming();
            auto schedules = std::make_unique<Peer>();
            state.ResumeTiming();
            fill(*schedules, size, false);
            state.PauseTiming();
            schedules.reset();
            state.ResumeTiming();
        });
    });
    bench::add("call", Peer::name, size, [size](benchmark::State& state) {
        Peer schedules;
        fill(schedules, size, true);
        bench::measure(state, size, [&] {
            state.PauseTiming();
            evlp_sim_setDate(kMonday);
            schedules.start();
            state.ResumeTiming();
            evlp_sim_advance(kDayUs - 1);
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC0", 1);
    setlogmask(LOG_UPTO(LOG_NOTICE));  // as devices have it; the scheduler reports at LOG_INFO
    zol::CTime::synchronized = 1;
    for (const int size : kSizes) {
        addAll<ZolSchedules>(size);
        addAll<StdSchedules>(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
