// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A server whose process has run out of descriptors or memory cannot take the connection that
// waits, and the listening socket stays ready: left alone, the loop would turn and log without end.
// So the server turns its one event into a timer, looks now and then whether a socket is to be had,
// and only then listens again. No connection is lost meanwhile but what the backlog cannot hold.

#include "zol/server.h"

#include <errno.h>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

#include "zol/sock.h"

#include "core/diag.h"

namespace {

constexpr zol::CTime kPause(100000);

// Whether accepting failed for a reason that keeps the socket ready: nothing left to make a
// connection of, or no longer listening at all.
bool wouldFailAgain(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM ||
           error == EINVAL;
}

bool descriptorsAreLeft() {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    (void)close(fd);  // made a moment ago, nothing in it
    return true;
}

}  // namespace

namespace zol {

CServer::CServer(evlp_thread_str* thread, const char* name)
    : m_name(name), m_fd(-1), m_connections(xlist_null), m_thread(thread) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // well defined by the C++ ABI
    static_assert(sizeof(void*) != 4 ||
                      (offsetof(CServer, m_name) == 4 && offsetof(CServer, m_fd) == 8 &&
                       offsetof(CServer, m_connections) == 12 && offsetof(CServer, m_event) == 24 &&
                       offsetof(CServer, m_thread) == 40 && sizeof(CServer) == 44),
                  "32-bit layout");
#pragma GCC diagnostic pop
}

CServer::~CServer() {
    (void)m_event.remove();
    while (CConnection* const connection = CConnection::first(m_connections)) {
        CConnection::remove(m_connections, *connection);
        delete connection;
    }
    if (m_fd != -1) {
        (void)::close(m_fd);
    }
}

bool CServer::openUnixSocket(const char* path, int nonblock) {
    const int fd = xsock_open_unix_server(path, nonblock);
    if (fd < 0) {
        return false;
    }
    (void)open(fd);
    return true;
}

bool CServer::openIPv4Socket(unsigned int addr, unsigned short port, int nonblock) {
    const int fd = xsock_open_inet_server(addr, port, nonblock);
    if (fd < 0) {
        return false;
    }
    (void)open(fd);
    return true;
}

bool CServer::openIPv6Socket(unsigned short, int) {
    return false;
}

int CServer::open(int fd) {
    (void)m_event.reset();  // before its descriptor goes
    if (m_fd != -1 && m_fd != fd) {
        (void)::close(m_fd);
    }
    m_fd = fd;
    DIAG(LOG_DEBUG, "Open server");
    return listenForConnections();
}

int CServer::listenForConnections() {
    (void)m_event.reset();
    (void)m_event.set(m_thread, this, m_fd, CEvent::kRead, CEvent::kDefaultPriority);
    return m_event.add(CTime::infinite);
}

int CServer::onEvent(int fd, short, CEvent*) {
    if (fd == -1) {
        resumeAccepting();
        return 0;
    }
    DIAG(LOG_DEBUG, "On connect");
    const int accepted = xsock_accept(fd, 1);
    if (accepted < 0) {
        if (wouldFailAgain(errno)) {
            pauseAccepting();
        }
        return accepted;
    }
    // The pointer itself where an int has room for it.
    const auto word = reinterpret_cast<intptr_t>(addConnection(accepted));
    return sizeof(word) == sizeof(int) ? static_cast<int>(word) : word != 0;
}

void CServer::pauseAccepting() {
    (void)m_event.reset();
    (void)m_event.set(m_thread, this, -1, 0, CEvent::kDefaultPriority);
    if (m_event.add(kPause) != 0) {
        (void)listenForConnections();  // a loop that turns is better than a server that is deaf
    }
}

void CServer::resumeAccepting() {
    const int result = descriptorsAreLeft() ? listenForConnections() : m_event.add(kPause);
    if (result != 0) {
        pauseAccepting();
    }
}

CConnection* CServer::addConnection(int fd) {
    CConnection* const connection = createConnection(fd);
    if (connection == nullptr) {
        (void)::close(fd);
        return nullptr;
    }
    CConnection::append(m_connections, *connection);
    return connection;
}

CConnection* CServer::createConnection(int fd) {
    return new (std::nothrow) CConnection(*this, fd);
}

void CServer::onReceiveData(CConnection&) {}

void CServer::onConnectionClosed(CConnection& connection) {
    (void)deleteConnection(connection);
}

int CServer::deleteConnection(CConnection& connection) {
    if (!CConnection::isIn(m_connections, connection)) {
        return -1;
    }
    CConnection::remove(m_connections, connection);
    delete &connection;
    return 0;
}

}  // namespace zol
