// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef STREAM_PEERS_H
#define STREAM_PEERS_H

#include <errno.h>
#include <event2/listener.h>
#include <fcntl.h>
#include <gio/gio.h>
#include <gio/gunixsocketaddress.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <unordered_map>

#include "zol/server.h"

#include "event_peers.h"

// Servers that send back what they receive, under one face: EchoServer<Peer>(loop, path) listens
// on a path, or on a TCP port of the loopback address for an empty path. Each accepts as its
// library does by itself, with the library's own queue of connections.

namespace bench {

constexpr size_t kMessageSize = 64;
constexpr size_t kRoom = 512;

/** An address to listen on or to connect to. */
struct Address {
    union {
        sockaddr any;
        sockaddr_in inet;
        sockaddr_un local;
    };
    socklen_t length = sizeof any;

    Address() : local() {}
    explicit Address(const std::string& path) : local() {
        if (path.empty()) {
            inet.sin_family = AF_INET;
            inet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            length = sizeof inet;
        } else {
            local.sun_family = AF_UNIX;
            memcpy(local.sun_path, path.data(), path.size());
            length = sizeof local;
        }
    }

    static Address of(int socket) {
        Address address;
        address.length = sizeof address.local;
        (void)getsockname(socket, &address.any, &address.length);
        return address;
    }
};

/** Accepted connections inherit it. */
inline void sendWithoutDelay(int socket) {
    const int on = 1;
    (void)setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);  // fails for paths
}

/** Sends back what has come. @return false when the peer has gone */
inline bool echo(int socket) {
    char bytes[kRoom];
    const ssize_t got = read(socket, bytes, sizeof bytes);
    if (got > 0) {
        (void)!write(socket, bytes, static_cast<size_t>(got));
    }
    return got > 0 || (got < 0 && errno == EAGAIN);
}

template <class Peer>
class EchoServer;

template <>
class EchoServer<ZolEvent> : public zol::CServer {
  public:
    EchoServer(ZolEvent::Loop& loop, const std::string& path) : CServer(loop.get(), "echo") {
        if (path.empty()) {
            openIPv4Socket(INADDR_LOOPBACK, 0, 1);
        } else {
            openUnixSocket(path.c_str(), 1);
        }
    }

    Address address() const { return Address::of(getFd()); }

    void onReceiveData(zol::CConnection& connection) override { (void)echo(connection.getFd()); }
};

/** The connections of servers whose library has none of its own. */
template <class Peer>
class Connections {
  public:
    explicit Connections(typename Peer::Loop& loop) : m_loop(loop) {}
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    void add(int socket) { m_connections[socket] = std::make_unique<Connection>(*this, socket); }

  private:
    struct Connection {
        Connections& owner;
        OwnedFd socket;
        typename Peer::template Watch<Connection> watch;

        Connection(Connections& connections, int fd) : owner(connections), socket(fd) {
            watch.open(owner.m_loop, fd, this);
        }

        void onReady() {
            const int fd = socket.get();
            if (!echo(fd)) {
                owner.m_connections.erase(fd);  // destroys this
            }
        }
    };

    typename Peer::Loop& m_loop;
    std::unordered_map<int, std::unique_ptr<Connection>> m_connections;
};

template <>
class EchoServer<Libevent> {
  public:
    EchoServer(Libevent::Loop& loop, const std::string& path) : m_connections(loop) {
        const Address address(path);
        const unsigned flags = LEV_OPT_CLOSE_ON_FREE | LEV_OPT_CLOSE_ON_EXEC | LEV_OPT_REUSEABLE;
        m_listener = evconnlistener_new_bind(loop.get(), connected, this, flags, -1, &address.any,
                                             static_cast<int>(address.length));
        sendWithoutDelay(evconnlistener_get_fd(m_listener));
    }
    ~EchoServer() { evconnlistener_free(m_listener); }
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    Address address() const { return Address::of(evconnlistener_get_fd(m_listener)); }

  private:
    static void connected(evconnlistener*, evutil_socket_t socket, sockaddr*, int, void* server) {
        static_cast<EchoServer*>(server)->m_connections.add(socket);
    }

    Connections<Libevent> m_connections;
    evconnlistener* m_listener;
};

template <>
class EchoServer<Libuv> {
  public:
    EchoServer(Libuv::Loop& loop, const std::string& path) {
        constexpr int kBacklog = 128;  // what its documents use
        if (path.empty()) {
            uv_tcp_t* const tcp = new uv_tcp_t;
            uv_tcp_init(loop.get(), tcp);
            const Address address(path);
            uv_tcp_bind(tcp, &address.any, 0);
            m_listener = reinterpret_cast<uv_stream_t*>(tcp);
        } else {
            uv_pipe_t* const pipe = new uv_pipe_t;
            uv_pipe_init(loop.get(), pipe, 0);
            uv_pipe_bind(pipe, path.c_str());
            m_listener = reinterpret_cast<uv_stream_t*>(pipe);
        }
        m_listener->data = this;
        sendWithoutDelay(descriptor());
        uv_listen(m_listener, kBacklog, connected);
    }
    ~EchoServer() {
        while (!m_streams.empty()) {
            release(m_streams.begin()->first);
        }
        closeStream(m_listener);
    }
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    Address address() const { return Address::of(descriptor()); }

  private:
    int descriptor() const {
        uv_os_fd_t fd = -1;
        uv_fileno(reinterpret_cast<uv_handle_t*>(m_listener), &fd);
        return fd;
    }

    static void closeStream(uv_stream_t* stream) {
        if (stream->type == UV_TCP) {
            Libuv::close(reinterpret_cast<uv_tcp_t*>(stream));
        } else {
            Libuv::close(reinterpret_cast<uv_pipe_t*>(stream));
        }
    }

    static void connected(uv_stream_t* listener, int) {
        EchoServer* const server = static_cast<EchoServer*>(listener->data);
        uv_stream_t* stream = nullptr;
        if (listener->type == UV_TCP) {
            uv_tcp_t* const tcp = new uv_tcp_t;
            uv_tcp_init(listener->loop, tcp);
            stream = reinterpret_cast<uv_stream_t*>(tcp);
        } else {
            uv_pipe_t* const pipe = new uv_pipe_t;
            uv_pipe_init(listener->loop, pipe, 0);
            stream = reinterpret_cast<uv_stream_t*>(pipe);
        }
        stream->data = server;
        uv_accept(listener, stream);
        server->m_streams[stream] = true;
        uv_read_start(stream, giveRoom, received);
    }

    static void giveRoom(uv_handle_t* stream, size_t, uv_buf_t* room) {
        *room = uv_buf_init(static_cast<EchoServer*>(stream->data)->m_room, kRoom);
    }

    static void received(uv_stream_t* stream, ssize_t got, const uv_buf_t* room) {
        if (got > 0) {
            const uv_buf_t bytes = uv_buf_init(room->base, static_cast<unsigned>(got));
            uv_try_write(stream, &bytes, 1);
        } else if (got < 0) {
            static_cast<EchoServer*>(stream->data)->release(stream);
        }
    }

    void release(uv_stream_t* stream) {
        m_streams.erase(stream);
        closeStream(stream);
    }

    uv_stream_t* m_listener;
    std::unordered_map<uv_stream_t*, bool> m_streams;
    char m_room[kRoom];
};

template <>
class EchoServer<Glib> {
  public:
    EchoServer(Glib::Loop& loop, const std::string& path)
        : m_connections(loop), m_service(g_socket_service_new()) {
        const Address wanted(path);
        GSocketAddress* const address =
            g_socket_address_new_from_native(const_cast<sockaddr*>(&wanted.any), wanted.length);
        GSocketAddress* effective = nullptr;
        g_socket_listener_add_address(G_SOCKET_LISTENER(m_service), address, G_SOCKET_TYPE_STREAM,
                                      G_SOCKET_PROTOCOL_DEFAULT, nullptr, &effective, nullptr);
        m_address.length = sizeof m_address.local;
        g_socket_address_to_native(effective, &m_address.any, m_address.length, nullptr);
        g_signal_connect(m_service, "incoming", G_CALLBACK(connected), this);
        g_socket_service_start(m_service);
        g_object_unref(address);
        g_object_unref(effective);
    }
    ~EchoServer() {
        g_socket_service_stop(m_service);
        g_socket_listener_close(G_SOCKET_LISTENER(m_service));
        g_object_unref(m_service);
    }
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    Address address() const { return m_address; }

  private:
    // The connection object goes when this returns: its socket is kept.
    static gboolean connected(GSocketService*, GSocketConnection* connection, GObject*,
                              gpointer server) {
        const int fd = g_socket_get_fd(g_socket_connection_get_socket(connection));
        const int socket = fcntl(fd, F_DUPFD_CLOEXEC, 0);
        sendWithoutDelay(socket);
        static_cast<EchoServer*>(server)->m_connections.add(socket);
        return TRUE;
    }

    Connections<Glib> m_connections;
    GSocketService* m_service;
    Address m_address;
};

/** The limit: accept, read and write in a loop around epoll_wait. */
template <>
class EchoServer<PlainEpoll> {
  public:
    EchoServer(PlainEpoll::Loop& loop, const std::string& path)
        : m_connections(loop),
          m_socket(socket(Address(path).any.sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const Address address(path);
        sendWithoutDelay(m_socket.get());
        (void)bind(m_socket.get(), &address.any, address.length);
        (void)listen(m_socket.get(), SOMAXCONN);
        m_watch.open(loop, m_socket.get(), this);
    }

    Address address() const { return Address::of(m_socket.get()); }

    void onReady() {
        m_connections.add(accept4(m_socket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    }

  private:
    Connections<PlainEpoll> m_connections;
    OwnedFd m_socket;
    PlainEpoll::Watch<EchoServer> m_watch;
};

}  // namespace bench

#endif
