// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What timers cost beside a crowd of others that are armed already, with one to two hours to go.
//
//   arm_cancel   arms one more timer, with any delay, and cancels it
//   rearm        arms one of the crowd anew, with any delay
//   rearm_idle   arms one of the crowd anew, with the same delay for all: idle time-outs
//
// Done in a callback of the running loop, where programs do it, and where some loops spare
// themselves reading the clock: libevent (unless told otherwise), libuv and GLib take the time at
// which the turn began.

#include <map>
#include <memory>
#include <time.h>
#include <type_traits>
#include <utility>
#include <vector>

#include "event_peers.h"
#include "measure.h"

namespace {

constexpr int kSizes[] = {100000, 1000000};
constexpr int kOperations = 1000;
constexpr int kHourMs = 3600 * 1000;

/**
 * The limit: a binary heap of moments and nothing else. The clock is read once, by the "loop".
 */
struct PlainHeap {
    static constexpr const char* name = "limit";

    class Loop {
      public:
        int64_t now() const { return m_now; }

        uint32_t add() {
            m_places.push_back(kNowhere);
            return static_cast<uint32_t>(m_places.size() - 1);
        }

        void arm(uint32_t timer, int64_t due) {
            uint32_t place = m_places[timer];
            if (place == kNowhere) {
                place = static_cast<uint32_t>(m_heap.size());
                m_heap.emplace_back();
            }
            settle(place, {due, timer});
        }

        void cancel(uint32_t timer) {
            const uint32_t place = std::exchange(m_places[timer], kNowhere);
            if (place == kNowhere) {
                return;
            }
            const Entry last = m_heap.back();
            m_heap.pop_back();
            if (place != m_heap.size()) {
                settle(place, last);
            }
        }

      private:
        struct Entry {
            int64_t due;
            uint32_t timer;
        };
        static constexpr uint32_t kNowhere = UINT32_MAX;

        static int64_t readClock() {
            timespec time = {};
            (void)clock_gettime(CLOCK_MONOTONIC, &time);
            return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
        }

        void put(uint32_t place, const Entry& entry) {
            m_heap[place] = entry;
            m_places[entry.timer] = place;
        }

        void settle(uint32_t place, const Entry entry) {
            for (; place != 0 && entry.due < m_heap[(place - 1) / 2].due; place = (place - 1) / 2) {
                put(place, m_heap[(place - 1) / 2]);
            }
            const size_t count = m_heap.size();
            for (size_t child = 2 * size_t{place} + 1; child < count;
                 child = 2 * size_t{place} + 1) {
                if (child + 1 < count && m_heap[child + 1].due < m_heap[child].due) {
                    ++child;
                }
                if (entry.due <= m_heap[child].due) {
                    break;
                }
                put(place, m_heap[child]);
                place = static_cast<uint32_t>(child);
            }
            put(place, entry);
        }

        int64_t m_now = readClock();
        std::vector<Entry> m_heap;
        std::vector<uint32_t> m_places;
    };

    template <class Node>
    class Timer {
      public:
        void open(Loop& loop, Node*) {
            m_loop = &loop;
            m_number = loop.add();
        }
        void arm(int delayMs) { m_loop->arm(m_number, m_loop->now() + delayMs); }
        void cancel() { m_loop->cancel(m_number); }

      private:
        Loop* m_loop = nullptr;
        uint32_t m_number = 0;
    };
};

/**
 * libevent told to be exact: like libzol it reads the fine clock whenever a timer is armed,
 * so that a timer armed late in a long callback does not fire early.
 */
struct LibeventExact : bench::Libevent {
    static constexpr const char* name = "libevent_exact";

    class Loop : public bench::Libevent::Loop {
      public:
        Loop()
            : bench::Libevent::Loop(EVENT_BASE_FLAG_NO_CACHE_TIME | EVENT_BASE_FLAG_PRECISE_TIMER) {
        }
    };
};

struct Nobody {
    void onReady() {}
};

/** Does something in a callback of a loop. */
template <class Peer>
class InCallback {
  public:
    explicit InCallback(typename Peer::Loop& loop)
        : m_loop(loop), m_ready(eventfd(1, EFD_CLOEXEC)) {}

    template <class Function>
    void run(Function function) {
        struct Node {
            typename Peer::Loop& loop;
            Function& function;
            void onReady() {
                function();
                loop.stop();
            }
        };
        Node node = {m_loop, function};
        typename Peer::template Watch<Node> watch;
        watch.open(m_loop, m_ready.get(), &node);
        m_loop.run();
    }

  private:
    typename Peer::Loop& m_loop;
    bench::OwnedFd m_ready;  // can always be read
};

template <>
class InCallback<PlainHeap> {
  public:
    explicit InCallback(PlainHeap::Loop&) {}

    template <class Function>
    void run(Function function) {
        function();
    }
};

/** A loop with many timers, kept until the program ends. */
template <class Peer>
class Crowd {
  public:
    using Timer = typename Peer::template Timer<Nobody>;

    static Crowd& ofSize(int size) {
        static std::map<int, std::unique_ptr<Crowd>> crowds;
        std::unique_ptr<Crowd>& crowd = crowds[size];
        if (crowd == nullptr) {
            crowd = std::make_unique<Crowd>(size);
        }
        return *crowd;
    }

    explicit Crowd(int size) : m_timers(static_cast<size_t>(size)) {
        for (Timer& timer : m_timers) {
            timer.open(m_loop, &m_nobody);
            timer.arm(anyDelay());
        }
        m_extra.open(m_loop, &m_nobody);
    }

    typename Peer::Loop& loop() { return m_loop; }
    int anyDelay() { return kHourMs + static_cast<int>(m_numbers.below(kHourMs)); }
    Timer& any() { return m_timers[m_numbers.below(static_cast<unsigned>(m_timers.size()))]; }
    Timer& extra() { return m_extra; }

  private:
    typename Peer::Loop m_loop;
    Nobody m_nobody;
    bench::Numbers m_numbers;
    std::vector<Timer> m_timers;
    Timer m_extra;
};

template <class Peer, class Operation>
void run(benchmark::State& state, int size, Operation operation) {
    auto& crowd = Crowd<Peer>::ofSize(size);
    InCallback<Peer>(crowd.loop()).run([&] {
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                operation(crowd);
            }
        });
    });
}

template <class Peer>
void addAll(int size) {
    bench::add("arm_cancel", Peer::name, size, [size](benchmark::State& state) {
        run<Peer>(state, size, [](auto& crowd) {
            crowd.extra().arm(crowd.anyDelay());
            crowd.extra().cancel();
        });
    });
    bench::add("rearm", Peer::name, size, [size](benchmark::State& state) {
        run<Peer>(state, size, [](auto& crowd) { crowd.any().arm(crowd.anyDelay()); });
    });
    bench::add("rearm_idle", Peer::name, size, [size](benchmark::State& state) {
        run<Peer>(state, size, [](auto& crowd) { crowd.any().arm(kHourMs * 3 / 2); });
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        bench::forEachPeer([size](auto peer) {
            using Peer = decltype(peer);
            if constexpr (std::is_same_v<Peer, bench::PlainEpoll>) {
                addAll<PlainHeap>(size);
                addAll<LibeventExact>(size);
            } else {
                addAll<Peer>(size);
            }
        });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
