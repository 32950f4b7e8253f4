// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Servers that echo over TCP, with the same client beside them, on a thread of its own.
//
//   echo    so many connections, each with one message of 64 bytes on the road. An operation is a
//           message, there and back.
//   churn   connections that are made, echo one byte and are closed, eight at a time. An
//           operation is a connection.
//
// The real time tells what server and client get done together; the processor time is that of the
// server alone.

#include <fcntl.h>
#include <stdlib.h>
#include <syslog.h>
#include <thread>
#include <vector>

#include "measure.h"
#include "stream_peers.h"

namespace {

using bench::kMessageSize;

constexpr int kSizes[] = {50, 1000};
constexpr int kMessages = 10000;
constexpr int kConnections = 400;
constexpr int kAtOnce = 8;  // connects on the road: fewer than any server's queue holds

/** Clients of an echo server, around epoll_wait. */
class Clients {
  public:
    explicit Clients(const bench::Address& server)
        : m_server(server), m_epoll(epoll_create1(EPOLL_CLOEXEC)) {}
    ~Clients() {
        for (const int socket : m_sockets) {
            close(socket);
        }
        close(m_epoll);
    }
    Clients(const Clients&) = delete;
    Clients& operator=(const Clients&) = delete;

    /** Makes connections, which stay. */
    void connect(int count) {
        converse(count, [this](int socket) { m_sockets.push_back(socket); });
    }

    /** Makes connections and closes each as soon as it has echoed a byte. */
    void churn(int count) {
        converse(count, [](int socket) { close(socket); });
    }

    /** Exchanges messages on all connections. */
    void exchange(int count) {
        const int connections = static_cast<int>(m_sockets.size());
        for (const int socket : m_sockets) {
            send(socket, kMessageSize);
        }
        for (int done = 0; done != count;) {
            const int ready = epoll_wait(m_epoll, m_events, kEvents, -1);
            for (int i = 0; i < ready; ++i) {
                receive(m_events[i].data.fd);
                ++done;
                if (done + connections <= count) {
                    send(m_events[i].data.fd, kMessageSize);
                }
            }
        }
    }

  private:
    static constexpr int kEvents = 256;

    // Connects and sends a byte. The server's queue has room, so nothing blocks.
    void open() {
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        bench::sendWithoutDelay(socket);
        if (::connect(socket, &m_server.any, m_server.length) != 0) {
            abort();
        }
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.fd = socket;
        (void)epoll_ctl(m_epoll, EPOLL_CTL_ADD, socket, &event);
        send(socket, 1);
    }

    // Opens connections, a few at a time; `echoed` gets each when it has echoed its byte.
    template <class Echoed>
    void converse(int count, Echoed echoed) {
        int opened = 0;
        for (; opened != count && opened != kAtOnce; ++opened) {
            open();
        }
        for (int done = 0; done != count;) {
            const int ready = epoll_wait(m_epoll, m_events, kEvents, -1);
            for (int i = 0; i < ready; ++i) {
                receive(m_events[i].data.fd);
                echoed(m_events[i].data.fd);
                ++done;
                if (opened != count) {
                    open();
                    ++opened;
                }
            }
        }
    }

    void send(int socket, size_t bytes) {
        if (write(socket, m_message, bytes) != static_cast<ssize_t>(bytes)) {
            abort();
        }
    }
    // A message is small enough to arrive whole.
    void receive(int socket) {
        char bytes[kMessageSize];
        if (read(socket, bytes, sizeof bytes) <= 0) {
            abort();
        }
    }

    bench::Address m_server;
    int m_epoll;
    std::vector<int> m_sockets;
    epoll_event m_events[kEvents];
    char m_message[kMessageSize] = {};
};

/** A server whose loop runs for as long as a client has something to do. */
template <class Peer>
class Session {
  public:
    Session() : m_server(m_loop, ""), m_clients(m_server.address()) {
        m_watch.open(m_loop, m_end.get(), this);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    template <class Function>
    void during(Function function) {
        std::thread thread([&] {
            function(m_clients);
            (void)eventfd_write(m_end.get(), 1);
        });
        m_loop.run();
        thread.join();
    }

    void onReady() {
        eventfd_t count = 0;
        (void)eventfd_read(m_end.get(), &count);
        m_loop.stop();
    }

  private:
    const bench::OwnedFd m_end{eventfd(0, EFD_CLOEXEC)};  // written to when the client has done
    typename Peer::Loop m_loop;
    bench::EchoServer<Peer> m_server;
    typename Peer::template Watch<Session> m_watch;
    Clients m_clients;
};

template <class Peer>
void addAll() {
    for (const int size : kSizes) {
        bench::add("echo", Peer::name, size, [size](benchmark::State& state) {
            Session<Peer> session;
            session.during([size](Clients& clients) { clients.connect(size); });
            bench::measure(state, kMessages, [&] {
                session.during([](Clients& clients) { clients.exchange(kMessages); });
            });
        })->UseRealTime();
    }
    bench::add("churn", Peer::name, 1, [](benchmark::State& state) {
        Session<Peer> session;
        bench::measure(state, kConnections, [&] {
            session.during([](Clients& clients) { clients.churn(kConnections); });
        });
    })->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    (void)bench::raiseDescriptorLimit();
    (void)setlogmask(LOG_UPTO(LOG_WARNING));  // as daemons do: not a line for each connection
    addAll<bench::ZolEvent>();
    addAll<bench::PlainEpoll>();
    addAll<bench::Libevent>();
    addAll<bench::Libuv>();
    addAll<bench::Glib>();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
