// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What becomes of clients that all connect at one moment without blocking: each sends a byte as
// soon as it is connected, and waits for its echo. Counted are those that were served
//
//   at_once   within half a second,
//   later     after that, within five seconds: the server's system dropped a packet of theirs, and
//             their own system sent it again,
//
// and those that were refused. The server has not accepted anything before (first), or has (then);
// its loop is busy elsewhere while the clients connect (busy), or waits for them (free).

#include <chrono>
#include <fcntl.h>
#include <string>
#include <syslog.h>
#include <thread>
#include <vector>

#include "measure.h"
#include "stream_peers.h"

namespace bench {

/** A libzol server that is made for crowds. */
struct OwnQueue : ZolEvent {
    static constexpr const char* name = "zol_own";
};

// It brings a listening socket with a longer queue, and accepts all that wait at once: one at a
// time, by xsock_accept(), would make the queue short again.
template <>
class EchoServer<OwnQueue> : public zol::CServer {
  public:
    EchoServer(ZolEvent::Loop& loop, const std::string& path) : CServer(loop.get(), "echo") {
        const Address wanted(path);
        const int type = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
        const int socket = ::socket(wanted.any.sa_family, type, 0);
        (void)bind(socket, &wanted.any, wanted.length);
        (void)listen(socket, 512);
        open(socket);
    }

    Address address() const { return Address::of(getFd()); }

    int onEvent(int fd, short events, zol::CEvent* event) override {
        while (fd != -1) {
            const int accepted = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (accepted >= 0) {
                addConnection(accepted);
            } else if (errno == EAGAIN) {
                return 1;
            } else {
                break;
            }
        }
        return CServer::onEvent(fd, events, event);  // out of descriptors, or no longer
    }

    void onReceiveData(zol::CConnection& connection) override { (void)echo(connection.getFd()); }
};

}  // namespace bench

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSizes[] = {16, 32, 64, 256};
constexpr std::chrono::milliseconds kAtOnce(500);
constexpr std::chrono::seconds kPatience(5);

struct Outcome {
    int atOnce = 0;
    int later = 0;
    int refused = 0;
    double seconds = 0;  // until the last was served
};

/** Clients that connect together. */
class Burst {
  public:
    Burst(const bench::Address& server, int count)
        : m_server(server), m_epoll(epoll_create1(EPOLL_CLOEXEC)), m_sockets(count) {}
    ~Burst() {
        for (const int socket : m_sockets) {
            close(socket);
        }
    }
    Burst(const Burst&) = delete;
    Burst& operator=(const Burst&) = delete;

    void connect() {
        for (int& fd : m_sockets) {
            fd = socket(m_server.any.sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            const int result = ::connect(fd, &m_server.any, m_server.length);
            if (result == 0 || errno == EINPROGRESS) {
                watch(EPOLL_CTL_ADD, fd, EPOLLOUT);
                ++m_waiting;
            } else {
                ++m_outcome.refused;
            }
        }
        m_start = Clock::now();
    }

    Outcome waitForEchoes() {
        epoll_event events[64];
        while (m_waiting != 0 && Clock::now() - m_start < kPatience) {
            const int ready = epoll_wait(m_epoll.get(), events, 64, 100);
            for (int i = 0; i < ready; ++i) {
                serve(events[i].data.fd, events[i].events);
            }
        }
        return m_outcome;
    }

  private:
    void watch(int operation, int fd, uint32_t what) {
        epoll_event event = {};
        event.events = what;
        event.data.fd = fd;
        (void)epoll_ctl(m_epoll.get(), operation, fd, &event);
    }

    void serve(int fd, uint32_t events) {
        char byte = 0;
        if ((events & EPOLLIN) != 0 && read(fd, &byte, 1) == 1) {
            const auto passed = Clock::now() - m_start;
            ++(passed < kAtOnce ? m_outcome.atOnce : m_outcome.later);
            m_outcome.seconds = std::chrono::duration<double>(passed).count();
        } else if ((events & EPOLLOUT) != 0 && write(fd, &byte, 1) == 1) {
            watch(EPOLL_CTL_MOD, fd, EPOLLIN);
            return;
        } else {
            ++m_outcome.refused;
        }
        watch(EPOLL_CTL_DEL, fd, 0);
        --m_waiting;
    }

    bench::Address m_server;
    bench::OwnedFd m_epoll;
    std::vector<int> m_sockets;
    int m_waiting = 0;
    Clock::time_point m_start;
    Outcome m_outcome;
};

/** A server whose loop runs until told otherwise. */
template <class Peer>
class Service {
  public:
    explicit Service(const std::string& path) : m_server(m_loop, path) {
        m_watch.open(m_loop, m_end.get(), this);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    bench::Address address() const { return m_server.address(); }

    void run() { m_loop.run(); }
    void end() { (void)eventfd_write(m_end.get(), 1); }

    void onReady() {
        eventfd_t count = 0;
        (void)eventfd_read(m_end.get(), &count);
        m_loop.stop();
    }

  private:
    const bench::OwnedFd m_end{eventfd(0, EFD_CLOEXEC)};
    typename Peer::Loop m_loop;
    bench::EchoServer<Peer> m_server;
    typename Peer::template Watch<Service> m_watch;
};

template <class Peer>
Outcome meet(Service<Peer>& service, int count, bool busy) {
    Outcome outcome;
    Burst burst(service.address(), count);
    if (busy) {
        burst.connect();
    }
    std::thread clients([&] {
        if (!busy) {
            burst.connect();
        }
        outcome = burst.waitForEchoes();
        service.end();
    });
    service.run();
    clients.join();
    return outcome;
}

template <class Peer>
void add(const std::string& family, bool accepted, bool busy, int size) {
    const std::string subject =
        family + (accepted ? "_then" : "_first") + (busy ? "_busy" : "_free");
    bench::add(subject, Peer::name, size,
               [=](benchmark::State& state) {
                   const std::string path =
                       family == "unix" ? "/tmp/burst_bench." + std::to_string(getpid()) : "";
                   Outcome outcome;
                   for ([[maybe_unused]] auto iteration : state) {
                       (void)unlink(path.c_str());
                       Service<Peer> service(path);
                       if (accepted) {
                           (void)meet(service, 1, false);
                       }
                       outcome = meet(service, size, busy);
                   }
                   (void)unlink(path.c_str());
                   state.counters["at_once"] = outcome.atOnce;
                   state.counters["later"] = outcome.later;
                   state.counters["refused"] = outcome.refused;
                   state.counters["seconds"] = outcome.seconds;
               })
        ->Iterations(1)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    (void)bench::raiseDescriptorLimit();
    (void)setlogmask(LOG_UPTO(LOG_WARNING));
    for (const int size : kSizes) {
        for (const char* const family : {"tcp", "unix"}) {
            add<bench::ZolEvent>(family, false, true, size);
            add<bench::ZolEvent>(family, true, true, size);
            add<bench::ZolEvent>(family, true, false, size);
            add<bench::Libevent>(family, false, true, size);
            add<bench::Libuv>(family, false, true, size);
            add<bench::OwnQueue>(family, false, true, size);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
