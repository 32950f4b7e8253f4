// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// How long it takes a loop to find the descriptors that are ready and to call back for them.
//
//   ring    bytes go round a ring of socket pairs: a callback reads one and writes it to the next
//           pair. An operation is one such step, its two system calls included.
//   ready   the same descriptors stay ready and nobody reads: an operation is one call.
//
// All pairs are watched, 100 of them are ready in each turn of the loop.

#include <memory>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <vector>

#include "event_peers.h"
#include "measure.h"

namespace {

constexpr int kActive = 100;
constexpr int kStepsPerRun = 100 * kActive;
constexpr int kSizes[] = {100, 1000, 10000};
constexpr int kOtherDescriptors = 200;  // of the program, of a loop, and those on the road

/**
 * Descriptors that stay open without a number: sent to a socket from which nobody receives.
 */
class Parking {
  public:
    Parking() { (void)socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends); }
    ~Parking() {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    Parking(const Parking&) = delete;
    Parking& operator=(const Parking&) = delete;

    bool park(int fd) {
        char byte = 0;
        iovec data = {&byte, 1};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof fd)] = {};
        msghdr message = {};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof fd);
        memcpy(CMSG_DATA(header), &fd, sizeof fd);
        const bool sent = sendmsg(m_ends[0], &message, MSG_DONTWAIT) == 1;
        close(fd);
        return sent;
    }

  private:
    int m_ends[2] = {-1, -1};
};

/**
 * Socket pairs. Two descriptors each may be more than the system allows: then the far ends of the
 * last pairs are parked. Those are watched like the others, but no byte goes through them.
 */
class Pairs {
  public:
    Pairs() {
        const int allowed = bench::raiseDescriptorLimit() - kOtherDescriptors;
        for (const int size : kSizes) {
            m_size = size + kActive <= allowed ? size : m_size;
        }
        const int numbered = allowed - m_size < m_size ? allowed - m_size : m_size;
        for (int i = 0; i != m_size; ++i) {
            int ends[2] = {-1, -1};
            if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) < 0) {
                abort();
            }
            m_near.push_back(ends[0]);
            if (i < numbered) {
                m_far.push_back(ends[1]);
            } else {
                park(ends[1]);
            }
        }
    }

    /** @return how many pairs there are */
    int getCount() const { return m_size; }
    /** @return how many of them bytes can be sent through, from the first on */
    int getRingSize() const { return static_cast<int>(m_far.size()); }

    int watched(int pair) const { return m_near[static_cast<size_t>(pair)]; }

    void write(int pair) const {
        const char byte = 'x';
        const ssize_t written = ::write(m_far[static_cast<size_t>(pair)], &byte, 1);
        benchmark::DoNotOptimize(written);
    }
    void read(int pair) const {
        char byte = 0;
        const ssize_t got = ::read(watched(pair), &byte, 1);
        benchmark::DoNotOptimize(got);
    }

  private:
    void park(int fd) {
        constexpr size_t kMostInOne = 100;  // the kernel queues some hundred messages
        if (m_parked++ % kMostInOne == 0) {
            m_parkings.push_back(std::make_unique<Parking>());
        }
        if (!m_parkings.back()->park(fd)) {
            abort();
        }
    }

    int m_size = 0;
    std::vector<int> m_near;
    std::vector<int> m_far;
    std::vector<std::unique_ptr<Parking>> m_parkings;
    size_t m_parked = 0;
};

/** What both subjects share: a loop that watches the near ends. */
template <class Peer, class Node>
class Watched {
  public:
    template <class Owner>
    Watched(const Pairs& pairs, int size, Owner* owner)
        : m_nodes(static_cast<size_t>(size)), m_watches(static_cast<size_t>(size)) {
        int pair = 0;
        for (auto& watch : m_watches) {
            Node& node = m_nodes[static_cast<size_t>(pair)];
            node = {owner, pair};
            watch.open(m_loop, pairs.watched(pair), &node);
            ++pair;
        }
    }

    typename Peer::Loop& loop() { return m_loop; }

  private:
    typename Peer::Loop m_loop;
    std::vector<Node> m_nodes;
    std::vector<typename Peer::template Watch<Node>> m_watches;
};

template <class Peer>
class Ring {
  public:
    Ring(const Pairs& pairs, int size)
        : m_pairs(pairs),
          m_size(size < pairs.getRingSize() ? size : pairs.getRingSize()),
          m_watched(pairs, size, this) {}

    void run() {
        m_steps = 0;
        for (int i = 0; i != kActive; ++i) {
            m_pairs.write(i * (m_size / kActive));
        }
        m_watched.loop().run();
    }

  private:
    struct Node {
        Ring* ring;
        int pair;
        void onReady() { ring->pass(pair); }
    };

    void pass(int pair) {
        m_pairs.read(pair);
        ++m_steps;
        if (m_steps <= kStepsPerRun - kActive) {
            m_pairs.write(pair + 1 == m_size ? 0 : pair + 1);
        } else if (m_steps == kStepsPerRun) {
            m_watched.loop().stop();
        }
    }

    const Pairs& m_pairs;
    int m_size;  // of the ring
    int m_steps = 0;
    Watched<Peer, Node> m_watched;
};

template <class Peer>
class Ready {
  public:
    Ready(const Pairs& pairs, int size)
        : m_pairs(pairs),
          m_step((size < pairs.getRingSize() ? size : pairs.getRingSize()) / kActive),
          m_watched(pairs, size, this) {
        for (int i = 0; i != kActive; ++i) {
            m_pairs.write(i * m_step);
        }
    }
    ~Ready() {
        for (int i = 0; i != kActive; ++i) {
            m_pairs.read(i * m_step);
        }
    }
    Ready(const Ready&) = delete;
    Ready& operator=(const Ready&) = delete;

    void run() {
        m_calls = 0;
        m_watched.loop().run();
    }

  private:
    struct Node {
        Ready* ready;
        int pair;
        void onReady() { ready->count(); }
    };

    void count() {
        if (++m_calls == kStepsPerRun) {
            m_watched.loop().stop();
        }
    }

    const Pairs& m_pairs;
    int m_step;
    int m_calls = 0;
    Watched<Peer, Node> m_watched;
};

const Pairs& allPairs() {
    static const Pairs pairs;
    return pairs;
}

template <class Subject>
void run(benchmark::State& state, int size) {
    if (allPairs().getCount() < size) {
        state.SkipWithError("the limit of open descriptors (ulimit -Hn) is too low");
        return;
    }
    Subject subject(allPairs(), size);
    bench::measure(state, kStepsPerRun, [&] { subject.run(); });
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        bench::forEachPeer([size](auto peer) {
            using Peer = decltype(peer);
            bench::add("ring", peer.name, size,
                       [size](benchmark::State& state) { run<Ring<Peer>>(state, size); });
            bench::add("ready", peer.name, size,
                       [size](benchmark::State& state) { run<Ready<Peer>>(state, size); });
        });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
