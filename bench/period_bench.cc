// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Periodic timers: many, of ten periods from 1 to 10 ms. libzol groups those of one period behind
// one timer of the loop; the peers have a timer for each, which they repeat by themselves.
//
//   add      registers a timer
//   tick     calls one back, as the loop runs
//   remove   takes one out, in no particular order
//
// The time of a tick is processor time: what the loop waits in between does not count.

#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "zol/timer.h"

#include "event_peers.h"
#include "measure.h"

namespace {

constexpr int kPeriods = 10;
constexpr int kSize = 10000;
constexpr int kTicks = 100000;

/** Counts calls, and stops the loop when there have been enough. */
template <class Loop>
struct Counter {
    Loop& loop;
    int left;

    void onTick() {
        if (--left == 0) {
            loop.stop();
        }
    }
};

struct ZolTimers {
    static constexpr const char* name = bench::ZolEvent::name;
    using Loop = bench::ZolEvent::Loop;

    class Timer : public zol::CEventCallback {
      public:
        Timer(Loop& loop, int periodMs, Counter<Loop>* counter)
            : m_loop(loop), m_counter(counter), m_timer(zol::CTime(periodMs * 1000), this) {}
        void add() { zol::CTimerHandler::add(m_loop.get(), m_timer); }
        void remove() { zol::CTimerHandler::remove(m_timer); }
        int onEvent(int, short, zol::CEvent*) override {
            m_counter->onTick();
            return 0;
        }

      private:
        Loop& m_loop;
        Counter<Loop>* m_counter;
        zol::CTimer m_timer;
    };
};

struct LibeventTimers {
    static constexpr const char* name = bench::Libevent::name;
    using Loop = bench::Libevent::Loop;

    class Timer {
      public:
        Timer(Loop& loop, int periodMs, Counter<Loop>* counter) : m_period{0, periodMs * 1000} {
            event_assign(&m_event, loop.get(), -1, EV_PERSIST, due, counter);
        }
        void add() { event_add(&m_event, &m_period); }
        void remove() { event_del(&m_event); }

      private:
        static void due(int, short, void* counter) {
            static_cast<Counter<Loop>*>(counter)->onTick();
        }
        event m_event = {};
        timeval m_period;
    };
};

struct LibuvTimers {
    static constexpr const char* name = bench::Libuv::name;
    using Loop = bench::Libuv::Loop;

    class Timer {
      public:
        Timer(Loop& loop, int periodMs, Counter<Loop>* counter)
            : m_timer(new uv_timer_t), m_periodMs(static_cast<uint64_t>(periodMs)) {
            uv_timer_init(loop.get(), m_timer);
            m_timer->data = counter;
        }
        ~Timer() { bench::Libuv::close(m_timer); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
        void add() { uv_timer_start(m_timer, due, m_periodMs, m_periodMs); }
        void remove() { uv_timer_stop(m_timer); }

      private:
        static void due(uv_timer_t* timer) { static_cast<Counter<Loop>*>(timer->data)->onTick(); }
        uv_timer_t* m_timer;
        uint64_t m_periodMs;
    };
};

struct GlibTimers {
    static constexpr const char* name = bench::Glib::name;
    using Loop = bench::Glib::Loop;

    class Timer {
      public:
        Timer(Loop& loop, int periodMs, Counter<Loop>* counter)
            : m_loop(loop), m_periodMs(static_cast<unsigned>(periodMs)), m_counter(counter) {}
        void add() {
            m_source = g_timeout_source_new(m_periodMs);
            g_source_set_callback(m_source, due, m_counter, nullptr);
            g_source_attach(m_source, m_loop.get());
        }
        void remove() { bench::Glib::close(std::exchange(m_source, nullptr)); }

      private:
        static gboolean due(gpointer counter) {
            static_cast<Counter<Loop>*>(counter)->onTick();
            return G_SOURCE_CONTINUE;
        }
        Loop& m_loop;
        unsigned m_periodMs;
        Counter<Loop>* m_counter;
        GSource* m_source = nullptr;
    };
};

/** All timers of one loop. */
template <class Peer>
class Timers {
  public:
    Timers() {
        for (int i = 0; i != kSize; ++i) {
            m_timers.emplace_back(m_loop, i % kPeriods + 1, &m_counter);
            m_order.push_back(&m_timers.back());
        }
        bench::Numbers numbers;
        for (size_t i = m_order.size(); i != 1; --i) {
            std::swap(m_order[i - 1], m_order[numbers.below(static_cast<unsigned>(i))]);
        }
    }

    void addAll() {
        for (auto& timer : m_timers) {
            timer.add();
        }
    }
    void removeAll() {
        for (auto* timer : m_order) {
            timer->remove();
        }
    }
    void run() {
        m_counter.left = kTicks;
        m_loop.run();
    }

  private:
    typename Peer::Loop m_loop;
    Counter<typename Peer::Loop> m_counter{m_loop, 0};
    std::deque<typename Peer::Timer> m_timers;
    std::vector<typename Peer::Timer*> m_order;
};

template <class Peer>
void addAll() {
    bench::add("add", Peer::name, kSize, [](benchmark::State& state) {
        Timers<Peer> timers;
        bench::measure(state, kSize, [&] {
            timers.addAll();
            state.PauseTiming();
            timers.removeAll();
            state.ResumeTiming();
        });
    });
    bench::add("tick", Peer::name, kSize, [](benchmark::State& state) {
        Timers<Peer> timers;
        timers.addAll();
        bench::measure(state, kTicks, [&] { timers.run(); });
        timers.removeAll();
    });
    bench::add("remove", Peer::name, kSize, [](benchmark::State& state) {
        Timers<Peer> timers;
        bench::measure(state, kSize, [&] {
            state.PauseTiming();
            timers.addAll();
            state.ResumeTiming();
            timers.removeAll();
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    addAll<ZolTimers>();
    addAll<LibeventTimers>();
    addAll<LibuvTimers>();
    addAll<GlibTimers>();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
