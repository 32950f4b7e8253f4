// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <atomic>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "zol/server.h"
#include "zol/sock.h"

#include "core/diag.h"

namespace {

const char kMappedPrefix[] = "::ffff:";

// One count for the process, whose servers may be on the loops of different threads.
std::atomic<int> nextId{0};

}  // namespace

namespace zol {

CConnection::CConnection(CServer& server, int fd)
    : m_server(server), m_id(0), m_fd(fd), m_family(0), m_localPort(0), m_peerPort(0) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // well defined by the C++ ABI
    // First the base that has a virtual table, as the C++ ABI wants it, then the links, the
    // server, and these:
    static_assert(
        sizeof(void*) != 4 ||
            (offsetof(CConnection, m_id) == 16 && offsetof(CConnection, m_fd) == 20 &&
             offsetof(CConnection, m_event) == 24 && offsetof(CConnection, m_family) == 40 &&
             offsetof(CConnection, m_localAddr) == 44 && offsetof(CConnection, m_localPort) == 48 &&
             offsetof(CConnection, m_peerAddr) == 52 && offsetof(CConnection, m_peerPort) == 56 &&
             sizeof(CConnection) == 60),
        "32-bit layout");
#pragma GCC diagnostic pop
    xstr_init(&m_localAddr);
    xstr_init(&m_peerAddr);
    (void)xsock_get_info(fd, &m_family, &m_localAddr, &m_localPort, &m_peerAddr, &m_peerPort);
    if (m_family == AF_INET6 && xstr_find(&m_localAddr, kMappedPrefix, 0) == 0) {
        m_family = AF_INET;
        xstr_replace(&m_localAddr, kMappedPrefix, "");
        xstr_replace(&m_peerAddr, kMappedPrefix, "");
    }
    m_id = nextId.fetch_add(1, std::memory_order_relaxed);
    DIAGF(LOG_INFO, "New '%s' server connection: %d, from '%s'", m_server.getName(), m_id,
          m_peerAddr);
    (void)m_event.set(m_server.getThread(), this, m_fd, CEvent::kRead, CEvent::kDefaultPriority);
    (void)m_event.add(CTime::infinite);
}

CConnection::~CConnection() {
    CConnection::close();
    xstr_free(&m_localAddr);
    xstr_free(&m_peerAddr);
}

int CConnection::onEvent(int fd, short, CEvent*) {
    const int peeked = xsock_peek(fd);
    if (peeked > 0) {
        m_server.onReceiveData(*this);
    } else if (peeked == 0) {
        DIAG(LOG_NOTICE, "Connection closed from client");
        m_server.onConnectionClosed(*this);
    } else if (errno == EAGAIN) {
        DIAG(LOG_INFO, "Nothing to read");
    } else {
        const int error = errno;
        DIAGF(LOG_ERR, "Connection read error(%d): %s", error, strerror(error));
        m_server.onConnectionClosed(*this);
    }
    return 0;
}

void CConnection::close() {
    DIAGF(LOG_INFO, "Close '%s' server connection: %d", m_server.getName(), m_id);
    (void)m_event.remove();
    if (m_fd >= 0) {
        (void)shutdown(m_fd, SHUT_RDWR);
        (void)::close(m_fd);
        m_fd = -1;
    }
}

}  // namespace zol
