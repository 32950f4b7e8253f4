// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/socket_calls.h"

#include <algorithm>
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/next_function.h"

SocketCalls* SocketCalls::current = nullptr;

void SocketCalls::failNth(const std::string& name, int n, int error) {
    m_faults.push_back({name, n, error});
}

std::vector<std::string> SocketCalls::take() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
}

int SocketCalls::count(const std::string& call) const {
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

bool SocketCalls::mustFail(const std::string& name, const std::string& detail) {
    if (current == nullptr) {
        return false;
    }
    current->calls.push_back(detail.empty() ? name : name + " " + detail);
    int error = 0;
    for (Fault& fault : current->m_faults) {
        if (fault.name == name && --fault.n == 0) {
            error = fault.error;
        }
    }
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

namespace {

int makeUp(const std::string& ip6, sockaddr* address, socklen_t* length) {
    sockaddr_in6 result = {};
    result.sin6_family = AF_INET6;
    if (inet_pton(AF_INET6, ip6.c_str(), &result.sin6_addr) != 1 || *length < sizeof result) {
        errno = EINVAL;
        return -1;
    }
    memcpy(address, &result, sizeof result);
    *length = sizeof result;
    return 0;
}

}  // namespace

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    if (SocketCalls::mustFail("socket")) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, int, int)>("socket");
    return real(domain, type, protocol);
}

int bind(int fd, const sockaddr* address, socklen_t length) noexcept {
    if (SocketCalls::mustFail("bind", std::to_string(length))) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, const sockaddr*, socklen_t)>("bind");
    return real(fd, address, length);
}

int listen(int fd, int backlog) noexcept {
    if (SocketCalls::mustFail("listen", std::to_string(backlog))) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, int)>("listen");
    return real(fd, backlog);
}

int connect(int fd, const sockaddr* address, socklen_t length) {
    if (SocketCalls::mustFail("connect", std::to_string(length))) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, const sockaddr*, socklen_t)>("connect");
    return real(fd, address, length);
}

int accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
    if (SocketCalls::mustFail("accept")) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, sockaddr*, socklen_t*, int)>("accept4");
    return real(fd, address, length, flags);
}

int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept {
    if (operation == EPOLL_CTL_ADD && SocketCalls::mustFail("watch")) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, int, int, epoll_event*)>("epoll_ctl");
    return real(epoll, operation, fd, event);
}

int getsockname(int fd, sockaddr* address, socklen_t* length) noexcept {
    if (SocketCalls::current != nullptr && !SocketCalls::current->localIp6.empty()) {
        return makeUp(SocketCalls::current->localIp6, address, length);
    }
    static const auto real = nextFunction<int (*)(int, sockaddr*, socklen_t*)>("getsockname");
    return real(fd, address, length);
}

int getpeername(int fd, sockaddr* address, socklen_t* length) noexcept {
    if (SocketCalls::mustFail("getpeername", std::to_string(*length))) {
        return -1;
    }
    if (SocketCalls::current != nullptr && !SocketCalls::current->peerIp6.empty()) {
        return makeUp(SocketCalls::current->peerIp6, address, length);
    }
    static const auto real = nextFunction<int (*)(int, sockaddr*, socklen_t*)>("getpeername");
    return real(fd, address, length);
}

ssize_t recv(int fd, void* bytes, size_t size, int flags) {
    if (SocketCalls::mustFail("recv", flags == MSG_PEEK ? "peek" : "")) {
        return -1;
    }
    static const auto real = nextFunction<ssize_t (*)(int, void*, size_t, int)>("recv");
    return real(fd, bytes, size, flags);
}

int setsockopt(int fd, int level, int option, const void* value, socklen_t length) noexcept {
    const bool nodelay = level == IPPROTO_TCP && option == TCP_NODELAY;
    const bool reuse = level == SOL_SOCKET && option == SO_REUSEADDR;
    if (SocketCalls::mustFail(nodelay ? "nodelay" : reuse ? "reuseaddr" : "setsockopt")) {
        return -1;
    }
    static const auto real =
        nextFunction<int (*)(int, int, int, const void*, socklen_t)>("setsockopt");
    return real(fd, level, option, value, length);
}

int fcntl(int fd, int command, ...) {
    va_list args;
    va_start(args, command);
    const long argument = va_arg(args, long);
    va_end(args);
    const bool watched = command == F_SETFD || command == F_GETFD || command == F_SETFL;
    const char* const name = command == F_SETFD ? "setfd" : command == F_GETFD ? "getfd" : "setfl";
    if (watched && SocketCalls::mustFail(name)) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, int, ...)>("fcntl");
    return real(fd, command, argument);
}

int shutdown(int fd, int how) noexcept {
    if (SocketCalls::mustFail("shutdown", std::to_string(how))) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(int, int)>("shutdown");
    return real(fd, how);
}

int close(int fd) {
    const bool fails = SocketCalls::mustFail("close");
    const int error = errno;
    static const auto real = nextFunction<int (*)(int)>("close");
    const int result = real(fd);  // also when it is to fail: nothing is to leak
    if (fails) {
        errno = error;
        return -1;
    }
    return result;
}

int unlink(const char* path) noexcept {
    if (SocketCalls::mustFail("unlink")) {
        return -1;
    }
    static const auto real = nextFunction<int (*)(const char*)>("unlink");
    return real(path);
}

// Answers for the resolver: no test asks a network. "two.example" has an address, other names have
// none.
hostent* gethostbyname(const char* name) {
    (void)SocketCalls::mustFail("resolve", name);
    static char loopback[] = {127, 0, 0, 1};
    static char* addresses[] = {loopback, nullptr};
    static char* noAddresses[] = {nullptr};
    static hostent entry;
    entry = {};
    entry.h_addrtype = AF_INET;
    entry.h_length = 4;
    if (std::string(name) == "two.example") {
        entry.h_addr_list = addresses;
        return &entry;
    }
    if (std::string(name) == "none.example") {
        entry.h_addr_list = noAddresses;
        return &entry;
    }
    return nullptr;
}

void perror(const char* prefix) {
    (void)SocketCalls::mustFail("perror", std::string("'") + prefix + "'");
}

}  // extern "C"
