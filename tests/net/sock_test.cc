// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/sock.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/open_fds.h"
#include "support/owned_str.h"
#include "support/socket_calls.h"
#include "support/syslog_capture.h"
#include "support/temp_dir.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = SyslogCapture::Line;

class Sock : public testing::Test {
  protected:
    ~Sock() override {
        for (const int fd : m_fds) {
            close(fd);
        }
        EXPECT_EQ(m_fdsBefore, openFds());
    }

    // Closed at the end of the test.
    int own(int fd) {
        if (fd >= 0) {
            m_fds.push_back(fd);
        }
        return fd;
    }

    static bool isNonBlocking(int fd) { return (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0; }
    static bool isCloseOnExec(int fd) { return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0; }

    static uint16_t portOf(int fd) {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }

    struct Info {
        int result = 0;
        uint16_t family = 0xAAAA;
        OwnedStr local{"before"};
        uint16_t localPort = 0xAAAA;
        OwnedStr peer{"before"};
        uint16_t peerPort = 0xAAAA;
    };

    static void query(int fd, Info& info) {
        info.result = xsock_get_info(fd, &info.family, info.local, &info.localPort, info.peer,
                                     &info.peerPort);
    }

    TempDir dir;
    const std::string path = dir.file("socket");
    SyslogCapture log;

  private:
    std::vector<int> m_fds;
    const int m_fdsBefore = openFds();
};

using UnixServer = Sock;
using UnixClient = Sock;
using InetServer = Sock;
using InetClient = Sock;
using Accept = Sock;
using Peek = Sock;
using SockInfo = Sock;

// --- Unix-domain servers ---

TEST_F(UnixServer, ListensOnItsPath) {
    const int server = own(xsock_open_unix_server(path.c_str(), 0));
    ASSERT_GE(server, 0);

    const int client = own(xsock_open_unix_client(path.c_str(), 0));

    ASSERT_GE(client, 0);
    EXPECT_TRUE(isCloseOnExec(server));
    EXPECT_TRUE(isCloseOnExec(client));
    EXPECT_FALSE(isNonBlocking(server));
    EXPECT_FALSE(isNonBlocking(client));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UnixServer, MakesItsCallsInOrder) {
    SocketCalls calls;

    own(xsock_open_unix_server(path.c_str(), 1));

    EXPECT_THAT(calls.take(), ElementsAre("socket", "getfd", "setfd", "setfl", "reuseaddr",
                                          "unlink", "bind 110", "listen 16"));
}

TEST_F(UnixServer, IsNonBlockingWhenAsked) {
    EXPECT_TRUE(isNonBlocking(own(xsock_open_unix_server(path.c_str(), 1))));
}

TEST_F(UnixServer, RemovesWhatStandsAtItsPath) {
    std::ofstream(path) << "a file";

    EXPECT_GE(own(xsock_open_unix_server(path.c_str(), 0)), 0);
    EXPECT_GE(own(xsock_open_unix_server(path.c_str(), 0)), 0);  // over the socket of the first

    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
}

TEST_F(UnixServer, AcceptsPathsOfAnyLengthUpTo107AndCutsLongerOnesAt108) {
    const std::string base = dir.path() + "/";
    for (const size_t length : {30U, 106U, 107U, 108U, 109U, 150U}) {
        const std::string longPath = base + std::string(length - base.size(), 'x');
        const std::string bound = longPath.substr(0, 108);

        const int server = own(xsock_open_unix_server(longPath.c_str(), 0));

        ASSERT_GE(server, 0) << length;
        struct stat status = {};
        EXPECT_EQ(0, stat(bound.c_str(), &status)) << length;
        EXPECT_GE(own(xsock_open_unix_client(longPath.c_str(), 0)), 0) << length;
        Info info;
        query(server, info);
        EXPECT_EQ(bound, info.local.h);
        unlink(bound.c_str());
    }
}

TEST_F(UnixServer, NeverUsesTheAbstractNamespace) {
    EXPECT_EQ(-1, xsock_open_unix_server("", 0));
    EXPECT_EQ(-1, xsock_open_unix_client("", 0));

    EXPECT_THAT(
        log.lines(),
        ElementsAre(Line{3, " xsock_open_unix_server(#): bind error : Invalid argument"},
                    Line{3, " xsock_open_unix_client(#): connect error : Invalid argument"}));
}

TEST_F(UnixServer, ReportsThatItHasNoSocket) {
    SocketCalls calls;
    calls.failNth("socket", 1, EMFILE);

    EXPECT_EQ(-1, xsock_open_unix_server(path.c_str(), 0));

    EXPECT_EQ(EMFILE, errno);
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, std::string(" xsock_open_unix_server(#): socket error : ") +
                                        strerror(EMFILE)}));
}

TEST_F(UnixServer, ReportsThatItsSocketCannotBeMarked) {
    for (const char* const step : {"getfd", "setfd"}) {
        SocketCalls calls;
        calls.failNth(step, 1, EPERM);
        log.clear();

        EXPECT_EQ(-1, xsock_open_unix_server(path.c_str(), 0));

        EXPECT_THAT(log.lines(), ElementsAre(Line{3,
                                                  " xsock_open_unix_server(#): socket error : "
                                                  "Operation not permitted"}));
        EXPECT_EQ(1, calls.count("close"));
        EXPECT_EQ(0, calls.count("perror ''"));
    }
}

TEST_F(UnixServer, PrintsThatASocketWhichCannotBeMarkedCannotBeClosedEither) {
    SocketCalls calls;
    calls.failNth("setfd", 1, EPERM);
    calls.failNth("close", 1, EIO);

    EXPECT_EQ(-1, xsock_open_unix_server(path.c_str(), 0));

    EXPECT_EQ(1, calls.count("perror ''"));
}

TEST_F(UnixServer, ReportsThatItCannotBind) {
    EXPECT_EQ(-1, xsock_open_unix_server(dir.file("missing/socket").c_str(), 0));

    EXPECT_EQ(ENOENT, errno);
    EXPECT_THAT(log.lines(), ElementsAre(Line{3,
                                              " xsock_open_unix_server(#): bind error : "
                                              "No such file or directory"}));
}

TEST_F(UnixServer, ReportsThatItCannotListen) {
    SocketCalls calls;
    calls.failNth("listen", 1, EADDRINUSE);

    EXPECT_EQ(-1, xsock_open_unix_server(path.c_str(), 0));

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, std::string(" xsock_open_unix_server(#): listen error : ") +
                                        strerror(EADDRINUSE)}));
}

// --- IPv4 servers ---

TEST_F(InetServer, ListensOnAnAddressAndPort) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    ASSERT_GE(server, 0);

    EXPECT_GE(own(xsock_open_inet_client("127.0.0.1", portOf(server), 0)), 0);

    EXPECT_TRUE(isCloseOnExec(server));
    EXPECT_FALSE(isNonBlocking(server));
}

TEST_F(InetServer, ListensOnAllAddressesForZero) {
    const int server = own(xsock_open_inet_server(0, 0, 1));
    ASSERT_GE(server, 0);

    EXPECT_GE(own(xsock_open_inet_client("127.0.0.2", portOf(server), 0)), 0);

    EXPECT_TRUE(isNonBlocking(server));
}

TEST_F(InetServer, MarksItsSocketTwice) {
    SocketCalls calls;

    own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 1));

    EXPECT_THAT(calls.take(), ElementsAre("socket", "getfd", "setfd", "getfd", "setfd", "setfl",
                                          "reuseaddr", "nodelay", "bind 16", "listen 30"));
}

TEST_F(InetServer, ListensWithABacklogOf30) {
    SocketCalls calls;

    own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));

    EXPECT_EQ(1, calls.count("listen 30"));
}

TEST_F(InetServer, FailsSilently) {
    for (const char* const step : {"socket", "getfd", "setfd", "bind", "listen"}) {
        SocketCalls calls;
        calls.failNth(step, 1, EPERM);

        EXPECT_EQ(-1, xsock_open_inet_server(INADDR_LOOPBACK, 0, 0)) << step;

        EXPECT_EQ(EPERM, errno);
        EXPECT_EQ(std::string(step) == "socket" ? 0 : 1, calls.count("close"));
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(InetServer, FailsWhenTheSecondMarkFails) {
    SocketCalls calls;
    calls.failNth("setfd", 2, EPERM);

    EXPECT_EQ(-1, xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));

    EXPECT_EQ(1, calls.count("close"));
}

TEST_F(InetServer, IgnoresThatOptionsCannotBeSet) {
    SocketCalls calls;
    calls.failNth("reuseaddr", 1, EPERM);
    calls.failNth("nodelay", 1, EPERM);
    calls.failNth("setfl", 1, EPERM);

    EXPECT_GE(own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 1)), 0);
}

TEST_F(InetServer, CannotTakeAPortThatIsTaken) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));

    EXPECT_EQ(-1, xsock_open_inet_server(INADDR_LOOPBACK, portOf(server), 0));

    EXPECT_EQ(EADDRINUSE, errno);
}

// --- accepting ---

TEST_F(Accept, AnswersAMarkedSocket) {
    const int server = own(xsock_open_unix_server(path.c_str(), 0));
    for (const int nonblock : {0, 1}) {
        own(xsock_open_unix_client(path.c_str(), 0));

        const int accepted = own(xsock_accept(server, nonblock));

        ASSERT_GE(accepted, 0);
        EXPECT_TRUE(isCloseOnExec(accepted));
        EXPECT_EQ(nonblock != 0, isNonBlocking(accepted));
    }
}

TEST_F(Accept, SetsTheBacklogTo16EveryTime) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    own(xsock_open_inet_client("127.0.0.1", portOf(server), 0));
    own(xsock_open_inet_client("127.0.0.1", portOf(server), 0));
    SocketCalls calls;

    own(xsock_accept(server, 0));
    own(xsock_accept(server, 1));

    EXPECT_THAT(calls.take(), ElementsAre("accept", "getfd", "setfd", "listen 16", "accept",
                                          "getfd", "setfd", "setfl", "listen 16"));
}

TEST_F(Accept, ReportsThatItCannotListenAgainAndAnswersTheSocket) {
    const int server = own(xsock_open_unix_server(path.c_str(), 0));
    own(xsock_open_unix_client(path.c_str(), 0));
    SocketCalls calls;
    calls.failNth("listen", 1, EINVAL);

    EXPECT_GE(own(xsock_accept(server, 0)), 0);

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, " xsock_accept(#): listen error : Invalid argument"}));
}

TEST_F(Accept, AnswersAFailureAsItIs) {
    const int server = own(xsock_open_unix_server(path.c_str(), 1));

    EXPECT_EQ(-1, xsock_accept(server, 0));

    EXPECT_EQ(EAGAIN, errno);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Accept, ClosesASocketThatCannotBeMarked) {
    const int server = own(xsock_open_unix_server(path.c_str(), 0));
    own(xsock_open_unix_client(path.c_str(), 0));
    SocketCalls calls;
    calls.failNth("setfd", 1, EPERM);

    EXPECT_EQ(-1, xsock_accept(server, 0));

    EXPECT_EQ(1, calls.count("close"));
}

// --- Unix-domain clients ---

TEST_F(UnixClient, IsNonBlockingBeforeItConnects) {
    own(xsock_open_unix_server(path.c_str(), 0));
    SocketCalls calls;

    const int client = own(xsock_open_unix_client(path.c_str(), 1));

    EXPECT_TRUE(isNonBlocking(client));
    EXPECT_THAT(calls.take(), ElementsAre("socket", "getfd", "setfd", "setfl", "connect 110"));
}

TEST_F(UnixClient, ThatDoesNotBlockFailsWhenItCannotConnectAtOnce) {
    own(xsock_open_unix_server(path.c_str(), 0));
    int connected = 0;
    while (own(xsock_open_unix_client(path.c_str(), 1)) >= 0) {
        ++connected;
    }

    EXPECT_EQ(17, connected);  // the system counts one more than the backlog of 16
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, std::string(" xsock_open_unix_client(#): connect error : ") +
                                        strerror(EAGAIN)}));
}

TEST_F(UnixClient, ReportsThatNobodyListens) {
    EXPECT_EQ(-1, xsock_open_unix_client(path.c_str(), 0));

    EXPECT_THAT(log.lines(), ElementsAre(Line{3,
                                              " xsock_open_unix_client(#): connect error : "
                                              "No such file or directory"}));
}

TEST_F(UnixClient, ReportsThatItHasNoSocket) {
    for (const char* const step : {"socket", "getfd", "setfd"}) {
        SocketCalls calls;
        calls.failNth(step, 1, EMFILE);
        log.clear();

        EXPECT_EQ(-1, xsock_open_unix_client(path.c_str(), 0));

        EXPECT_THAT(log.lines(),
                    ElementsAre(Line{3, std::string(" xsock_open_unix_client(#): socket error : ") +
                                            strerror(EMFILE)}));
    }
}

// --- IPv4 clients ---

TEST_F(InetClient, BlocksUntilItIsConnected) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    SocketCalls calls;

    const int client = own(xsock_open_inet_client("127.0.0.1", portOf(server), 1));

    EXPECT_TRUE(isNonBlocking(client));
    EXPECT_TRUE(isCloseOnExec(client));
    EXPECT_THAT(calls.take(),
                ElementsAre("socket", "getfd", "setfd", "nodelay", "connect 16", "setfl", "getfd"));
}

TEST_F(InetClient, ResolvesNamesBeforeThereIsASocket) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    SocketCalls calls;

    EXPECT_GE(own(xsock_open_inet_client("two.example", portOf(server), 0)), 0);

    EXPECT_THAT(calls.take(), ElementsAre("resolve two.example", "socket", "getfd", "setfd",
                                          "nodelay", "connect 16"));
}

TEST_F(InetClient, DoesNotResolveADottedAddress) {
    SocketCalls calls;

    EXPECT_EQ(-1, xsock_open_inet_client("127.0.0.1", 1, 0));

    EXPECT_EQ(ECONNREFUSED, errno);
    EXPECT_THAT(calls.take(),
                ElementsAre("socket", "getfd", "setfd", "nodelay", "connect 16", "close"));
}

TEST_F(InetClient, OfAnUnknownNameMakesNoSocketAndLogsNothing) {
    SocketCalls calls;

    EXPECT_EQ(-1, xsock_open_inet_client("unknown.example", 80, 0));
    EXPECT_EQ(-1, xsock_open_inet_client("none.example", 80, 0));

    EXPECT_THAT(calls.take(), ElementsAre("resolve unknown.example", "resolve none.example"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(InetClient, FailsSilently) {
    for (const char* const step : {"socket", "setfd", "connect"}) {
        SocketCalls calls;
        calls.failNth(step, 1, EPERM);

        EXPECT_EQ(-1, xsock_open_inet_client("127.0.0.1", 1, 0));

        EXPECT_EQ(EPERM, errno);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

// --- peeking ---

TEST_F(Peek, DoesNotTakeTheByte) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    own(ends[0]);
    own(ends[1]);
    ASSERT_EQ(2, write(ends[1], "xy", 2));

    EXPECT_EQ(1, xsock_peek(ends[0]));
    EXPECT_EQ(1, xsock_peek(ends[0]));

    char bytes[3] = {};
    EXPECT_EQ(2, read(ends[0], bytes, 2));
    EXPECT_STREQ("xy", bytes);
}

TEST_F(Peek, AnswersZeroWhenThePeerHasClosed) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    own(ends[0]);
    close(ends[1]);

    EXPECT_EQ(0, xsock_peek(ends[0]));
}

TEST_F(Peek, AnswersMinusOneOtherwise) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends));
    own(ends[0]);
    own(ends[1]);

    EXPECT_EQ(-1, xsock_peek(ends[0]));
    EXPECT_EQ(EAGAIN, errno);
    EXPECT_EQ(-1, xsock_peek(-1));
    EXPECT_EQ(EBADF, errno);
}

// --- describing ---

TEST_F(SockInfo, ReportsPortsInNetworkByteOrder) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    ASSERT_GE(server, 0);
    Info info;

    query(server, info);

    EXPECT_EQ(0, info.result);
    EXPECT_EQ(AF_INET, info.family);
    EXPECT_STREQ("127.0.0.1", info.local.h);
    EXPECT_EQ(htons(portOf(server)), info.localPort);
    EXPECT_STREQ("", info.peer.h);
    EXPECT_EQ(0, info.peerPort);
}

TEST_F(SockInfo, DescribesBothEndsOfAConnection) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    const int client = own(xsock_open_inet_client("127.0.0.1", portOf(server), 0));
    const int accepted = own(xsock_accept(server, 0));
    Info info;

    query(accepted, info);

    EXPECT_EQ(AF_INET, info.family);
    EXPECT_STREQ("127.0.0.1", info.local.h);
    EXPECT_EQ(htons(portOf(server)), info.localPort);
    EXPECT_STREQ("127.0.0.1", info.peer.h);
    EXPECT_EQ(htons(portOf(client)), info.peerPort);
}

TEST_F(SockInfo, DescribesAUnixConnectionByItsPath) {
    const int server = own(xsock_open_unix_server(path.c_str(), 0));
    const int client = own(xsock_open_unix_client(path.c_str(), 0));
    const int accepted = own(xsock_accept(server, 0));
    Info info;
    Info clientInfo;

    query(accepted, info);
    query(client, clientInfo);

    EXPECT_EQ(AF_UNIX, info.family);
    EXPECT_EQ(path, info.local.h);
    EXPECT_EQ(0, info.localPort);
    EXPECT_STREQ("", info.peer.h);  // clients have no name
    EXPECT_EQ(0, info.peerPort);
    EXPECT_STREQ("", clientInfo.local.h);
}

TEST_F(SockInfo, GivesThePeersAddressTheRoomOfTheLocalOne) {
    own(xsock_open_unix_server(path.c_str(), 0));
    const int client = own(xsock_open_unix_client(path.c_str(), 0));
    SocketCalls calls;
    Info info;

    query(client, info);

    // The client's own address is a family without a path, so no path of the peer fits in.
    EXPECT_THAT(calls.take(), ElementsAre("getpeername 2"));
    EXPECT_STREQ("", info.peer.h);
}

TEST_F(SockInfo, ReportsIpv6) {
    const int fd = own(socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        GTEST_SKIP() << "this machine has no IPv6";
    }
    Info info;

    query(fd, info);

    EXPECT_EQ(AF_INET6, info.family);
    EXPECT_STREQ("::1", info.local.h);
    EXPECT_NE(0, info.localPort);
}

TEST_F(SockInfo, HasNoTextForOtherFamilies) {
    const int fd = own(socket(AF_NETLINK, SOCK_RAW, 0));
    if (fd < 0) {
        GTEST_SKIP() << "this machine has no netlink sockets";
    }
    Info info;

    query(fd, info);

    EXPECT_EQ(0, info.result);
    EXPECT_EQ(AF_NETLINK, info.family);
    EXPECT_STREQ("", info.local.h);
    EXPECT_EQ(0, info.localPort);
}

TEST_F(SockInfo, SkipsOutputsThatAreNotWanted) {
    const int server = own(xsock_open_inet_server(INADDR_LOOPBACK, 0, 0));
    uint16_t family = 0;
    OwnedStr local;

    EXPECT_EQ(0, xsock_get_info(server, &family, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(AF_INET, family);
    EXPECT_EQ(0, xsock_get_info(server, &family, local, nullptr, nullptr, nullptr));
    EXPECT_STREQ("127.0.0.1", local.h);
}

TEST_F(SockInfo, OfAClosedDescriptorLeavesTheOutputsAsTheyWere) {
    Info info;

    query(-1, info);

    EXPECT_EQ(-1, info.result);
    EXPECT_EQ(0xAAAA, info.family);
    EXPECT_STREQ("before", info.local.h);
    EXPECT_EQ(0xAAAA, info.localPort);
    EXPECT_STREQ("before", info.peer.h);
    EXPECT_EQ(0xAAAA, info.peerPort);
}

}  // namespace
