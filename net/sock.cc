// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/sock.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "core/diag.h"

namespace {

constexpr int kUnixBacklog = 16;
constexpr int kInetBacklog = 30;
constexpr int kAcceptingBacklog = 16;

// Room for the address of every family served, and a NUL behind the longest path.
union Address {
    sockaddr any;
    sockaddr_un local;
    sockaddr_in inet;
    sockaddr_in6 inet6;
    char bytes[112];
};
static_assert(sizeof(Address) == 112 && sizeof(sockaddr_un) == 110 && sizeof(sockaddr_in) == 16,
              "lengths that the system calls are given");

// Closes the socket of an operation that failed and whose errno stays.
int failed(int fd) {
    const int error = errno;
    (void)close(fd);
    errno = error;
    return -1;
}

// Marks the descriptor close-on-exec. Where that fails the descriptor is closed.
bool markCloseOnExec(int fd) {
    const int flags = fcntl(fd, F_GETFD);
    if (flags >= 0 && fcntl(fd, F_SETFD, flags | FD_CLOEXEC) >= 0) {
        return true;
    }
    const int error = errno;
    if (close(fd) != 0) {
        perror("");
    }
    errno = error;
    return false;
}

// A socket that stays blocking is better than none: failures are ignored.
void makeNonBlocking(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    if (flags >= 0) {
        (void)fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    }
}

// A new stream socket, close-on-exec from the start: another thread may fork at any moment. -1 when
// it cannot be made or marked.
int openSocket(int family) {
    const int fd = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return fd >= 0 && markCloseOnExec(fd) ? fd : -1;
}

void enable(int fd, int level, int option) {
    const int on = 1;
    (void)setsockopt(fd, level, option, &on, sizeof on);
}

// False for an empty path, which would name the abstract namespace.
bool setPath(Address& address, const char* path) {
    address = {};
    address.local.sun_family = AF_UNIX;
    // A path that fills the field has no NUL there; what exceeds it is cut off.
    memcpy(address.local.sun_path, path, strnlen(path, sizeof address.local.sun_path));
    if (path[0] == '\0') {
        errno = EINVAL;
        return false;
    }
    return true;
}

// Finds the IPv4 address of a host.
bool resolve(const char* host, in_addr& address) {
    address.s_addr = inet_addr(host);
    if (address.s_addr != INADDR_NONE) {
        return true;
    }
    const hostent* const entry = gethostbyname(host);
    if (entry == nullptr || entry->h_addr_list[0] == nullptr) {
        return false;
    }
    const auto length = static_cast<size_t>(entry->h_length);
    memcpy(&address, entry->h_addr_list[0], length < sizeof address ? length : sizeof address);
    return true;
}

// Hands one end of a connection out; either output may be null.
void describe(const Address& address, xstr* text, uint16_t* port) {
    const int family = address.any.sa_family;
    const bool inet = family == AF_INET || family == AF_INET6;
    if (port != nullptr) {
        // Deliberate: in network byte order. Pinned by SockInfo.ReportsPortsInNetworkByteOrder.
        // Both families have the port in the same place.
        *port = inet ? address.inet.sin_port : 0;
    }
    if (text == nullptr) {
        return;
    }
    if (family == AF_UNIX) {
        xstr_set(text, address.local.sun_path, -1);
    } else if (inet) {
        const void* const ip = family == AF_INET ? static_cast<const void*>(&address.inet.sin_addr)
                                                 : &address.inet6.sin6_addr;
        char buffer[512];
        const char* const ipText = inet_ntop(family, ip, buffer, sizeof buffer);
        xstr_set(text, ipText, -1);
    } else {
        xstr_free(text);
    }
}

}  // namespace

int xsock_peek(int fd) {
    char byte = 0;
    return static_cast<int>(recv(fd, &byte, 1, MSG_PEEK));
}

int xsock_open_unix_server(const char* path, int nonblock) {
    const int fd = openSocket(AF_UNIX);
    if (fd < 0) {
        DIAGF(LOG_ERR, "socket error : %s", strerror(errno));
        return -1;
    }
    if (nonblock != 0) {
        makeNonBlocking(fd);
    }
    enable(fd, SOL_SOCKET, SO_REUSEADDR);
    (void)unlink(path);  // whether there was one does not matter
    Address address;
    if (!setPath(address, path) || bind(fd, &address.any, sizeof address.local) != 0) {
        DIAGF(LOG_ERR, "bind error : %s", strerror(errno));
        return failed(fd);
    }
    if (listen(fd, kUnixBacklog) != 0) {
        DIAGF(LOG_ERR, "listen error : %s", strerror(errno));
        return failed(fd);
    }
    return fd;
}

int xsock_open_inet_server(uint32_t addr, uint16_t port, int nonblock) {
    const int fd = openSocket(AF_INET);
    // Deliberate: marked a second time. Pinned by InetServer.MarksItsSocketTwice.
    if (fd < 0 || !markCloseOnExec(fd)) {
        return -1;
    }
    if (nonblock != 0) {
        makeNonBlocking(fd);
    }
    Address address = {};
    address.inet.sin_family = AF_INET;
    address.inet.sin_port = htons(port);
    address.inet.sin_addr.s_addr = htonl(addr);
    enable(fd, SOL_SOCKET, SO_REUSEADDR);
    enable(fd, IPPROTO_TCP, TCP_NODELAY);
    // Deliberate: a longer queue than that of a path, and no word in the log. Pinned by
    // InetServer.ListensWithABacklogOf30 and InetServer.FailsSilently.
    if (bind(fd, &address.any, sizeof address.inet) != 0 || listen(fd, kInetBacklog) != 0) {
        return failed(fd);
    }
    return fd;
}

int xsock_accept(int fd, int nonblock) {
    const int accepted = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) {
        return accepted;
    }
    if (!markCloseOnExec(accepted)) {
        return -1;
    }
    if (nonblock != 0) {
        makeNonBlocking(accepted);
    }
    // Deliberate: listens again every time. Pinned by Accept.SetsTheBacklogTo16EveryTime.
    if (listen(fd, kAcceptingBacklog) != 0) {
        DIAGF(LOG_ERR, "listen error : %s", strerror(errno));
    }
    return accepted;
}

int xsock_open_unix_client(const char* path, int nonblock) {
    const int fd = openSocket(AF_UNIX);
    if (fd < 0) {
        DIAGF(LOG_ERR, "socket error : %s", strerror(errno));
        return -1;
    }
    // Deliberate: before it connects, unlike the IPv4 client. Pinned by
    // UnixClient.ThatDoesNotBlockFailsWhenItCannotConnectAtOnce.
    if (nonblock != 0) {
        makeNonBlocking(fd);
    }
    Address address;
    if (!setPath(address, path) || connect(fd, &address.any, sizeof address.local) != 0) {
        DIAGF(LOG_ERR, "connect error : %s", strerror(errno));
        return failed(fd);
    }
    return fd;
}

int xsock_open_inet_client(const char* host, uint16_t port, int nonblock) {
    Address address = {};
    address.inet.sin_family = AF_INET;
    address.inet.sin_port = htons(port);
    if (!resolve(host, address.inet.sin_addr)) {
        return -1;
    }
    const int fd = openSocket(AF_INET);
    if (fd < 0) {
        return -1;
    }
    enable(fd, IPPROTO_TCP, TCP_NODELAY);
    if (connect(fd, &address.any, sizeof address.inet) != 0) {
        return failed(fd);
    }
    // Deliberate: once it is connected, unlike the Unix client. Pinned by
    // InetClient.BlocksUntilItIsConnected.
    if (nonblock != 0) {
        makeNonBlocking(fd);
    }
    return fd;
}

int xsock_get_info(int fd, uint16_t* family, xstr* localAddr, uint16_t* localPort, xstr* peerAddr,
                   uint16_t* peerPort) {
    Address address = {};
    socklen_t length = sizeof address;
    if (getsockname(fd, &address.any, &length) != 0) {
        return -1;
    }
    *family = address.any.sa_family;
    describe(address, localAddr, localPort);

    // Deliberate: the peer gets no more room than the local address took. Pinned by
    // SockInfo.GivesThePeersAddressTheRoomOfTheLocalOne.
    if (length > sizeof address) {
        length = sizeof address;
    }
    memset(&address, 0, length);
    if (getpeername(fd, &address.any, &length) != 0) {
        address = {};
    }
    describe(address, peerAddr, peerPort);
    return 0;
}
