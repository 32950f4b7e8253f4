// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_SOCKET_CALLS_H
#define TESTS_SUPPORT_SOCKET_CALLS_H

#include <string>
#include <vector>

// Watches the socket calls of the code under test, and makes them fail. The test program defines
// the functions itself, see socket_calls.cc, and passes them on to the C library.
struct SocketCalls {
    // Calls in order, for instance "listen 16", "bind 110", "setfd", "setfl", "connect 16",
    // "getpeername 2", "unlink", "resolve NAME", "accept", "recv peek", "watch" (EPOLL_CTL_ADD);
    // options as "reuseaddr", "nodelay".
    std::vector<std::string> calls;

    // Where set, sockets claim to have these IPv6 addresses.
    std::string localIp6;
    std::string peerIp6;

    // The n-th next call with this name fails with `error`; n counts from 1.
    void failNth(const std::string& name, int n, int error);

    std::vector<std::string> take();
    int count(const std::string& call) const;

    // The one that is filled now.
    static SocketCalls* current;

    SocketCalls() { current = this; }
    ~SocketCalls() { current = nullptr; }
    SocketCalls(const SocketCalls&) = delete;
    SocketCalls& operator=(const SocketCalls&) = delete;

    // For the definitions: writes the call down. @return whether it is to fail, with errno set
    static bool mustFail(const std::string& name, const std::string& detail = "");

  private:
    struct Fault {
        std::string name;
        int n;
        int error;
    };
    std::vector<Fault> m_faults;
};

#endif
