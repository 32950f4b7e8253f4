// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <sys/socket.h>
#include <unistd.h>

#include "zol/server.h"
#include "zol/sock.h"

namespace zol {

CClient::CClient(evlp_thread_str* thread) : m_fd(-1), m_thread(thread) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // well defined by the C++ ABI
    static_assert(
        sizeof(void*) != 4 || (offsetof(CClient, m_fd) == 4 && offsetof(CClient, m_event) == 8 &&
                               offsetof(CClient, m_thread) == 24 && sizeof(CClient) == 28),
        "32-bit layout");
#pragma GCC diagnostic pop
}

CClient::~CClient() {
    if (m_fd != -1) {
        (void)close();
    }
}

bool CClient::openUnix(const char* path, int nonblock) {
    const int fd = xsock_open_unix_client(path, nonblock);
    if (fd < 0) {
        return false;
    }
    (void)open(fd);
    return true;
}

bool CClient::openIPv4(const char* host, unsigned short port, int nonblock) {
    const int fd = xsock_open_inet_client(host, port, nonblock);
    if (fd < 0) {
        return false;
    }
    (void)open(fd);
    return true;
}

int CClient::open(int fd) {
    (void)m_event.reset();  // before its descriptor goes
    if (m_fd != -1 && m_fd != fd) {
        (void)::close(m_fd);
    }
    m_fd = fd;
    (void)m_event.set(m_thread, this, fd, CEvent::kRead, CEvent::kDefaultPriority);
    return m_event.add(CTime::infinite);
}

int CClient::close() {
    // Deliberate: does not look whether it is open, unlike a connection. Pinned by
    // Client.ClosingAClosedClientFails.
    (void)m_event.reset();
    (void)shutdown(m_fd, SHUT_RDWR);
    const int result = ::close(m_fd);
    m_fd = -1;
    return result;
}

}  // namespace zol
