// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/server.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "zol/sock.h"

#include "support/loop_runner.h"
#include "support/open_fds.h"
#include "support/socket_calls.h"
#include "support/syslog_capture.h"
#include "support/temp_dir.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Line = SyslogCapture::Line;
using zol::CConnection;
using zol::CServer;

// Reads whatever comes; what it does besides can be set per test.
class TestServer : public CServer {
  public:
    using CServer::CServer;

    CConnection* createConnection(int fd) override {
        return create ? create(*this, fd) : CServer::createConnection(fd);
    }
    void onReceiveData(CConnection& connection) override {
        char bytes[100];
        const ssize_t n = read(connection.getFd(), bytes, sizeof bytes);
        received.append(bytes, n > 0 ? static_cast<size_t>(n) : 0);
        if (receive) {
            receive(connection);
        }
    }
    void onConnectionClosed(CConnection& connection) override {
        ++closed;
        if (keepClosed) {
            return;
        }
        CServer::onConnectionClosed(connection);
    }

    int connections() const { return xlist_get_count(&getConnections()); }
    CConnection* first() const { return CConnection::first(getConnections()); }

    std::string received;
    int closed = 0;
    bool keepClosed = false;
    std::function<CConnection*(TestServer&, int)> create;
    std::function<void(CConnection&)> receive;
};

class Servers : public testing::Test {
  protected:
    ~Servers() override {
        for (int fd : m_clients) {
            close(fd);
        }
    }

    // Connects and is closed at the end of the test, unless the test does.
    int connectTo(const std::string& where) {
        m_clients.push_back(xsock_open_unix_client(where.c_str(), 0));
        EXPECT_GE(m_clients.back(), 0);
        return m_clients.back();
    }
    int connectClient() { return connectTo(path); }
    void closeClient(int fd) {
        for (int& client : m_clients) {
            if (client == fd) {
                close(fd);
                client = -1;
            }
        }
    }

    // The identifier that the next connection will have.
    int nextId() {
        int ends[2];
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        close(ends[1]);
        const CServer server(runner.thread(), "ids");
        const CConnection connection(const_cast<CServer&>(server), ends[0]);
        return connection.getId() + 1;
    }

    void openServer(CServer& server) { ASSERT_TRUE(server.openUnixSocket(path.c_str(), 1)); }

    // A connection on one end of a socket pair; the other end is the client.
    CConnection* addPair(CServer& server, int* client) {
        int ends[2];
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends));
        m_clients.push_back(ends[1]);
        *client = ends[1];
        return server.addConnection(ends[0]);
    }

    static Line line(int priority, const std::string& text) { return {priority, text}; }

    const int fdsBefore = openFds();
    TempDir dir;
    const std::string path = dir.file("socket");
    LoopRunner runner;
    SyslogCapture log;

  private:
    std::vector<int> m_clients;
};

using Server = Servers;
using Connection = Servers;

// --- opening ---

TEST_F(Server, OpensAUnixSocket) {
    CServer server(runner.thread(), "test");

    EXPECT_TRUE(server.openUnixSocket(path.c_str(), 1));

    EXPECT_GE(server.getFd(), 0);
    EXPECT_STREQ("test", server.getName());
    EXPECT_EQ(runner.thread(), server.getThread());
    EXPECT_THAT(log.lines(), ElementsAre(Line{7, " open(#): Open server"}));
}

TEST_F(Server, OpensAnIpv4Socket) {
    CServer server(runner.thread(), "test");

    EXPECT_TRUE(server.openIPv4Socket(INADDR_LOOPBACK, 0, 1));

    EXPECT_GE(server.getFd(), 0);
}

TEST_F(Server, ThatCannotOpenHasNoSocket) {
    CServer server(runner.thread(), "test");
    SocketCalls calls;
    calls.failNth("socket", 1, EMFILE);
    calls.failNth("socket", 2, EMFILE);

    EXPECT_FALSE(server.openUnixSocket(path.c_str(), 1));
    EXPECT_FALSE(server.openIPv4Socket(INADDR_LOOPBACK, 0, 1));

    EXPECT_EQ(-1, server.getFd());
}

TEST_F(Server, DoesNotSupportIpv6) {
    CServer server(runner.thread(), "test");
    SocketCalls calls;

    EXPECT_FALSE(server.openIPv6Socket(8080, 1));

    EXPECT_EQ(-1, server.getFd());
    EXPECT_THAT(calls.take(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Server, OpenAnswersWhetherTheSocketIsWatched) {
    CServer server(runner.thread(), "test");
    EXPECT_EQ(-1, server.open(open("/etc/passwd", 0)));  // a file cannot be watched

    EXPECT_EQ(0, server.open(xsock_open_unix_server(path.c_str(), 1)));
}

TEST_F(Server, OpenedAgainClosesTheSocketItHad) {
    {
        CServer server(runner.thread(), "test");
        server.openUnixSocket(path.c_str(), 1);
        server.openIPv4Socket(INADDR_LOOPBACK, 0, 1);
        EXPECT_EQ(openFds(), fdsBefore + 3);  // the loop's two and the socket
    }
}

// --- accepting ---

TEST_F(Server, AcceptsAConnectionAndTellsOfIt) {
    const int id = nextId();
    TestServer server(runner.thread(), "test");
    openServer(server);
    log.clear();

    connectClient();
    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_THAT(log.lines(), ElementsAre(line(7, " onEvent(#): On connect"),
                                         line(6, " CConnection(#): New 'test' server connection: " +
                                                     std::to_string(id) + ", from ''")));
    EXPECT_EQ(id, server.first()->getId());
    EXPECT_EQ(&server, &server.first()->getServer());
    EXPECT_EQ(AF_UNIX, server.first()->getFamily());
    EXPECT_EQ(path, server.first()->getLocalAddr());
}

TEST_F(Server, AcceptsNonBlockingSockets) {
    TestServer server(runner.thread(), "test");
    ASSERT_TRUE(server.openUnixSocket(path.c_str(), 0));
    connectClient();

    runner.runUntil([&] { return server.connections() == 1; });

    char byte;
    EXPECT_EQ(-1, read(server.first()->getFd(), &byte, 1));
    EXPECT_EQ(EAGAIN, errno);
}

TEST_F(Server, AnswersAFailedAcceptAsItIs) {
    TestServer server(runner.thread(), "test");
    openServer(server);

    EXPECT_EQ(-1, server.onEvent(server.getFd(), 0, nullptr));
    connectClient();
    const int result = server.onEvent(server.getFd(), 0, nullptr);

    ASSERT_EQ(1, server.connections());
    const auto word = reinterpret_cast<intptr_t>(server.first());
    EXPECT_EQ(sizeof(word) == sizeof(int) ? static_cast<int>(word) : 1, result);
}

TEST_F(Server, AppendsConnectionsInTheOrderOfAcceptance) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    for (int i = 0; i < 3; ++i) {
        connectClient();
    }

    runner.runUntil([&] { return server.connections() == 3; });

    const CConnection* const a = server.first();
    EXPECT_EQ(a->getId() + 1, a->next()->getId());
    EXPECT_EQ(a->getId() + 2, a->next()->next()->getId());
}

TEST_F(Server, NumbersConnectionsAcrossAllServers) {
    TestServer one(runner.thread(), "one");
    TestServer two(runner.thread(), "two");
    const int first = nextId();
    int client = -1;

    EXPECT_EQ(first, addPair(one, &client)->getId());
    EXPECT_EQ(first + 1, addPair(two, &client)->getId());
    one.deleteConnection(*one.first());
    EXPECT_EQ(first + 2, addPair(one, &client)->getId());  // never used again
}

TEST_F(Server, MakesConnectionsOfAnotherClassWhenOverridden) {
    struct Special : CConnection {
        using CConnection::CConnection;
    };
    TestServer server(runner.thread(), "test");
    server.create = [](TestServer& s, int fd) { return new Special(s, fd); };
    openServer(server);
    connectClient();

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_NE(nullptr, dynamic_cast<Special*>(server.first()));
}

TEST_F(Server, ClosesTheSocketWhenThereIsNoConnectionForIt) {
    TestServer server(runner.thread(), "test");
    server.create = [](TestServer&, int) { return nullptr; };
    openServer(server);
    const int client = connectClient();

    EXPECT_EQ(0, server.onEvent(server.getFd(), 0, nullptr));

    EXPECT_EQ(0, server.connections());
    EXPECT_EQ(0, xsock_peek(client));
}

// --- data and ends ---

TEST_F(Connection, HandsDataToTheServer) {
    TestServer server(runner.thread(), "test");
    int client = -1;
    addPair(server, &client);
    log.clear();

    ASSERT_EQ(5, write(client, "hello", 5));
    runner.runUntil([&] { return server.received == "hello"; });

    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Connection, WhoseDataIsNotReadReportsItAgain) {
    struct Lazy : CServer {
        using CServer::CServer;
        void onReceiveData(CConnection& connection) override {
            if (++reports == 3) {
                char byte;
                EXPECT_EQ(1, read(connection.getFd(), &byte, 1));
            }
        }
        int reports = 0;
    };
    Lazy server(runner.thread(), "test");
    int client = -1;
    addPair(server, &client);
    ASSERT_EQ(1, write(client, "x", 1));

    runner.runUntil([&] { return server.reports == 3; });
    runner.runReady();

    EXPECT_EQ(3, server.reports);
}

TEST_F(Connection, OfAServerThatDoesNotReadReportsItsDataAgain) {
    CServer server(runner.thread(), "test");
    int client = -1;
    addPair(server, &client);
    ASSERT_EQ(1, write(client, "x", 1));
    SocketCalls calls;

    runner.runUntil([&] { return calls.count("recv peek") >= 3; });

    EXPECT_EQ(1, xlist_get_count(&server.getConnections()));
}

TEST_F(Connection, IsDestroyedWhenThePeerCloses) {
    const int id = nextId();
    TestServer server(runner.thread(), "test");
    openServer(server);
    log.clear();

    closeClient(connectClient());
    runner.runUntil([&] { return server.closed == 1; });

    EXPECT_EQ(0, server.connections());
    const std::string number = std::to_string(id);
    EXPECT_THAT(log.lines(),
                ElementsAre(line(7, " onEvent(#): On connect"),
                            line(6, " CConnection(#): New 'test' server connection: " + number +
                                        ", from ''"),
                            line(5, " onEvent(#): Connection closed from client"),
                            line(6, " close(#): Close 'test' server connection: " + number)));
}

TEST_F(Connection, WithNothingToReadStays) {
    TestServer server(runner.thread(), "test");
    int client = -1;
    CConnection* const connection = addPair(server, &client);
    log.clear();

    connection->onEvent(connection->getFd(), 0, nullptr);

    EXPECT_THAT(log.lines(), ElementsAre(line(6, " onEvent(#): Nothing to read")));
    EXPECT_EQ(1, server.connections());
    ASSERT_EQ(1, write(client, "x", 1));
    runner.runUntil([&] { return server.received == "x"; });
}

TEST_F(Connection, ThatCannotBeReadIsDestroyed) {
    TestServer server(runner.thread(), "test");
    int client = -1;
    CConnection* const connection = addPair(server, &client);
    const std::string id = std::to_string(connection->getId());
    SocketCalls calls;
    calls.failNth("recv", 1, ECONNRESET);
    log.clear();

    connection->onEvent(connection->getFd(), 0, nullptr);

    EXPECT_EQ(0, server.connections());
    EXPECT_THAT(
        log.lines(),
        ElementsAre(line(3, " onEvent(#): Connection read error(104): Connection reset by peer"),
                    line(6, " close(#): Close 'test' server connection: " + id)));
}

TEST_F(Connection, MayBeDeletedWhileItsDataIsRead) {
    TestServer server(runner.thread(), "test");
    int client = -1;
    addPair(server, &client);
    server.receive = [&](CConnection& c) { server.deleteConnection(c); };
    ASSERT_EQ(1, write(client, "x", 1));

    runner.runUntil([&] { return server.connections() == 0; });

    EXPECT_EQ("x", server.received);
}

TEST_F(Connection, MayDeleteAnotherThatIsReadyToo) {
    TestServer server(runner.thread(), "test");
    int clients[2];
    addPair(server, &clients[0]);
    addPair(server, &clients[1]);
    server.receive = [&](CConnection& c) {
        CConnection* const other = c.next() != nullptr ? c.next() : c.previous();
        if (other != nullptr) {
            EXPECT_EQ(0, server.deleteConnection(*other));
        }
    };
    ASSERT_EQ(1, write(clients[0], "x", 1));
    ASSERT_EQ(1, write(clients[1], "x", 1));

    runner.runUntil([&] { return !server.received.empty(); });
    runner.runReady();

    EXPECT_EQ("x", server.received);
    EXPECT_EQ(1, server.connections());
}

// --- closing and deleting ---

TEST_F(Connection, ClosesItsSocketOnce) {
    TestServer server(runner.thread(), "test");
    int client = -1;
    CConnection* const connection = addPair(server, &client);
    const std::string text =
        " close(#): Close 'test' server connection: " + std::to_string(connection->getId());
    log.clear();
    SocketCalls calls;

    connection->close();
    EXPECT_EQ(-1, connection->getFd());
    connection->close();

    EXPECT_THAT(calls.take(), ElementsAre("shutdown 2", "close"));
    EXPECT_THAT(log.lines(), ElementsAre(line(6, text), line(6, text)));
    EXPECT_EQ(0, xsock_peek(client));
    EXPECT_EQ(1, server.connections());
}

TEST_F(Connection, ThatIsClosedButKeptStaysInTheList) {
    TestServer server(runner.thread(), "test");
    server.keepClosed = true;
    int client = -1;
    CConnection* const connection = addPair(server, &client);
    server.receive = [](CConnection& c) { c.close(); };
    ASSERT_EQ(1, write(client, "x", 1));

    runner.runUntil([&] { return connection->getFd() == -1; });
    runner.runReady();

    EXPECT_EQ(connection, server.first());
    EXPECT_EQ(0, server.deleteConnection(*connection));
}

TEST_F(Connection, ThatReusesTheDescriptorOfAClosedOneIsWatched) {
    TestServer server(runner.thread(), "test");
    int clients[2];
    CConnection* const old = addPair(server, &clients[0]);
    runner.runReady();
    const int fd = old->getFd();

    old->close();
    CConnection* const fresh = addPair(server, &clients[1]);
    ASSERT_EQ(fd, fresh->getFd());
    ASSERT_EQ(1, write(clients[1], "x", 1));
    runner.runUntil([&] { return server.received == "x"; });

    EXPECT_EQ(2, server.connections());
}

TEST_F(Server, DeletesOnlyConnectionsOfItsList) {
    TestServer server(runner.thread(), "test");
    TestServer other(runner.thread(), "other");
    int client = -1;
    CConnection* const connection = addPair(other, &client);
    CConnection* const own = addPair(server, &client);
    log.clear();

    EXPECT_EQ(-1, server.deleteConnection(*connection));
    EXPECT_EQ(0, server.deleteConnection(*own));
    EXPECT_EQ(-1, server.deleteConnection(*own));  // its address alone is looked at

    EXPECT_EQ(1, other.connections());
    EXPECT_EQ(1U, log.lines().size());
}

TEST_F(Server, DestroysItsConnectionsInOrderAndClosesItsSocket) {
    std::vector<Line> lines;
    {
        TestServer server(runner.thread(), "test");
        openServer(server);
        int client = -1;
        for (int i = 0; i < 3; ++i) {
            const CConnection* const c = addPair(server, &client);
            lines.push_back(line(
                6, " close(#): Close 'test' server connection: " + std::to_string(c->getId())));
        }
        log.clear();
    }

    EXPECT_EQ(lines, log.lines());
    EXPECT_EQ(openFds(), fdsBefore + 2 + 3);  // the loop's two and the clients
}

TEST_F(Server, MayBeDestroyedWhileAConnectionDeletesAnother) {
    struct Pair : CConnection {
        using CConnection::CConnection;
        ~Pair() override {
            if (partner != nullptr) {
                getServer().deleteConnection(*partner);
            }
        }
        CConnection* partner = nullptr;
    };
    {
        TestServer server(runner.thread(), "test");
        server.create = [](TestServer& s, int fd) { return new Pair(s, fd); };
        int client = -1;
        auto* const a = static_cast<Pair*>(addPair(server, &client));
        a->partner = addPair(server, &client);
        addPair(server, &client);
    }
}

// --- addresses ---

TEST_F(Connection, KnowsBothEndsOfATcpConnection) {
    TestServer server(runner.thread(), "test");
    ASSERT_TRUE(server.openIPv4Socket(INADDR_LOOPBACK, 0, 1));
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    getsockname(server.getFd(), reinterpret_cast<sockaddr*>(&address), &length);
    const int client = xsock_open_inet_client("127.0.0.1", ntohs(address.sin_port), 0);

    runner.runUntil([&] { return server.connections() == 1; });

    const CConnection* const c = server.first();
    EXPECT_EQ(AF_INET, c->getFamily());
    EXPECT_STREQ("127.0.0.1", c->getLocalAddr());
    EXPECT_EQ(address.sin_port, c->getLocalPort());
    EXPECT_STREQ("127.0.0.1", c->getPeerAddr());
    EXPECT_NE(0, c->getPeerPort());
    EXPECT_THAT(log.lines(),
                Contains(line(6, " CConnection(#): New 'test' server connection: " +
                                     std::to_string(c->getId()) + ", from '127.0.0.1'")));
    close(client);
}

TEST_F(Connection, OfAnIpv4MappedAddressCountsAsIpv4) {
    const int listening = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int off = 0;
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    socklen_t length = sizeof address;
    if (listening < 0 || setsockopt(listening, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off) != 0 ||
        bind(listening, reinterpret_cast<sockaddr*>(&address), length) != 0) {
        close(listening);
        GTEST_SKIP() << "this machine has no IPv6";
    }
    ASSERT_EQ(0, listen(listening, 5));
    getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length);
    TestServer server(runner.thread(), "test");
    ASSERT_EQ(0, server.open(listening));
    const int client = xsock_open_inet_client("127.0.0.1", ntohs(address.sin6_port), 0);

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_EQ(AF_INET, server.first()->getFamily());
    EXPECT_STREQ("127.0.0.1", server.first()->getLocalAddr());
    EXPECT_STREQ("127.0.0.1", server.first()->getPeerAddr());
    EXPECT_EQ(address.sin6_port, server.first()->getLocalPort());
    close(client);
}

// What the two ends of a socket claim to be can be made up, see SocketCalls.
struct MadeUpEnds {
    const char* local;
    const char* peer;
    int family;
    const char* localText;
    const char* peerText;
};

TEST_F(Connection, LooksAtTheLocalAddressAloneToFindMappedOnes) {
    const MadeUpEnds cases[] = {
        {"::ffff:192.0.2.1", "::ffff:192.0.2.7", AF_INET, "192.0.2.1", "192.0.2.7"},
        {"::ffff:192.0.2.1", "2001:db8::ffff:1", AF_INET, "192.0.2.1", "2001:db81"},
        {"::1", "::ffff:192.0.2.7", AF_INET6, "::1", "::ffff:192.0.2.7"},
        {"fe80::ffff:1", "fe80::2", AF_INET6, "fe80::ffff:1", "fe80::2"}};
    for (const MadeUpEnds& ends : cases) {
        TestServer server(runner.thread(), "test");
        SocketCalls calls;
        calls.localIp6 = ends.local;
        calls.peerIp6 = ends.peer;
        int client = -1;

        const CConnection* const c = addPair(server, &client);

        EXPECT_EQ(ends.family, c->getFamily());
        EXPECT_STREQ(ends.localText, c->getLocalAddr());
        EXPECT_STREQ(ends.peerText, c->getPeerAddr());
    }
}

// --- exhausted descriptors ---

// Lets the process have no more descriptors than it has now.
class DescriptorLimit {
  public:
    DescriptorLimit() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const int next = dup(0);
        close(next);
        rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(next);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { lift(); }
    void lift() { setrlimit(RLIMIT_NOFILE, &m_before); }

  private:
    rlimit m_before;
};

TEST_F(Server, WithoutDescriptorsPausesAndServesOnceTheyComeBack) {
#if defined(__SANITIZE_ADDRESS__)
    // The next test does the same on calls that are made to fail.
    GTEST_SKIP() << "the sanitizer needs descriptors itself to look at an object";
#endif
    const char* const preloaded = getenv("LD_PRELOAD");
    if (preloaded != nullptr && strstr(preloaded, "vgpreload") != nullptr) {
        GTEST_SKIP() << "valgrind refuses descriptors to some calls only";
    }
    TestServer server(runner.thread(), "test");
    openServer(server);
    const int client = connectClient();
    log.clear();
    SocketCalls calls;
    DescriptorLimit limit;
    runner.runUntil([&] { return calls.count("socket") == 3; });  // looked three times
    EXPECT_EQ(1, calls.count("accept"));
    EXPECT_THAT(log.lines(), ElementsAre(line(7, " onEvent(#): On connect")));

    limit.lift();
    runner.runUntil([&] { return server.connections() == 1; });
    ASSERT_EQ(1, write(client, "x", 1));
    runner.runUntil([&] { return server.received == "x"; });

    EXPECT_EQ(2, calls.count("accept"));
}

TEST_F(Server, KeepsPausingWhileThereAreNoDescriptors) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    connectClient();
    log.clear();
    SocketCalls calls;
    calls.failNth("accept", 1, EMFILE);
    calls.failNth("socket", 1, EMFILE);
    calls.failNth("socket", 2, ENFILE);

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_EQ(3, calls.count("socket"));
    EXPECT_EQ(2, calls.count("accept"));
    EXPECT_EQ(line(7, " onEvent(#): On connect"), log.lines()[0]);
    EXPECT_EQ(line(7, " onEvent(#): On connect"), log.lines()[1]);
}

TEST_F(Server, WhosePauseEndsTooEarlyPausesAgain) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    connectClient();
    SocketCalls calls;
    calls.failNth("accept", 1, ENFILE);
    calls.failNth("accept", 2, ENOBUFS);
    calls.failNth("accept", 3, ENOMEM);

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_EQ(4, calls.count("accept"));
}

TEST_F(Server, ThatPausesCanBeDestroyedAndOpenedAgain) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    connectClient();
    {
        TestServer second(runner.thread(), "second");
        ASSERT_TRUE(second.openUnixSocket(dir.file("second").c_str(), 1));
        connectTo(dir.file("second"));
        SocketCalls calls;
        calls.failNth("accept", 1, EMFILE);
        calls.failNth("accept", 2, EMFILE);
        runner.runUntil([&] { return calls.count("accept") == 2; });
    }

    openServer(server);
    connectClient();
    runner.runUntil([&] { return server.connections() == 1; });
}

TEST_F(Server, ThatCannotListenAfterAPausePausesAgain) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    connectClient();
    SocketCalls calls;
    calls.failNth("accept", 1, ENOMEM);
    calls.failNth("watch", 1, ENOMEM);

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_GE(calls.count("socket"), 2);
}

TEST_F(Server, DoesNotPauseForAClientThatWentAway) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    connectClient();
    SocketCalls calls;
    calls.failNth("accept", 1, ECONNABORTED);

    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_EQ(0, calls.count("socket"));
}

TEST_F(Server, WhoseSocketWasShutDownDoesNotSpin) {
    TestServer server(runner.thread(), "test");
    ASSERT_TRUE(server.openIPv4Socket(INADDR_LOOPBACK, 0, 1));
    shutdown(server.getFd(), SHUT_RDWR);
    SocketCalls calls;

    runner.runUntil([&] { return calls.count("socket") == 2; });

    EXPECT_LE(calls.count("accept"), calls.count("socket") + 1);  // one attempt for each look
}

// --- clients ---

class TestClient : public zol::CClient {
  public:
    using CClient::CClient;
    int onEvent(int fd, short, zol::CEvent*) override {
        char bytes[100];
        const ssize_t n = read(fd, bytes, sizeof bytes);
        if (n > 0) {
            received.append(bytes, static_cast<size_t>(n));
        } else {
            ended = true;
            close();
        }
        return 0;
    }
    std::string received;
    bool ended = false;
};

using Client = Servers;

TEST_F(Client, IsCalledWhenDataWaitsAndAtTheEnd) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    TestClient client(runner.thread());

    ASSERT_TRUE(client.openUnix(path.c_str(), 1));
    runner.runUntil([&] { return server.connections() == 1; });
    ASSERT_EQ(5, write(server.first()->getFd(), "hello", 5));
    runner.runUntil([&] { return client.received == "hello"; });
    server.deleteConnection(*server.first());
    runner.runUntil([&] { return client.ended; });

    EXPECT_EQ(-1, client.getFd());
}

TEST_F(Client, ConnectsOverTcp) {
    TestServer server(runner.thread(), "test");
    ASSERT_TRUE(server.openIPv4Socket(INADDR_LOOPBACK, 0, 1));
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    getsockname(server.getFd(), reinterpret_cast<sockaddr*>(&address), &length);
    TestClient client(runner.thread());

    ASSERT_TRUE(client.openIPv4("127.0.0.1", ntohs(address.sin_port), 1));
    runner.runUntil([&] { return server.connections() == 1; });

    EXPECT_EQ(0, client.close());
    runner.runUntil([&] { return server.connections() == 0; });
}

TEST_F(Client, ThatCannotConnectIsNotOpen) {
    TestClient client(runner.thread());

    EXPECT_FALSE(client.openUnix(path.c_str(), 1));
    EXPECT_FALSE(client.openIPv4("127.0.0.1", 1, 1));
    EXPECT_FALSE(client.openIPv4("unknown.example", 80, 1));

    EXPECT_EQ(-1, client.getFd());
}

TEST_F(Client, ClosingAClosedClientFails) {
    TestClient client(runner.thread());
    SocketCalls calls;

    EXPECT_EQ(-1, client.close());

    EXPECT_EQ(EBADF, errno);
    EXPECT_THAT(calls.take(), ElementsAre("shutdown 2", "close"));
}

TEST_F(Client, OpenAnswersWhetherTheSocketIsWatched) {
    TestClient client(runner.thread());

    EXPECT_EQ(-1, client.open(open("/etc/passwd", 0)));  // a file cannot be watched
    EXPECT_EQ(0, client.close());
}

TEST_F(Client, OpenedAgainClosesTheSocketItHad) {
    int first[2];
    int second[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, first));
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, second));
    {
        TestClient client(runner.thread());
        ASSERT_EQ(0, client.open(first[0]));
        ASSERT_EQ(0, client.open(second[0]));

        EXPECT_EQ(0, xsock_peek(first[1]));
        ASSERT_EQ(1, write(second[1], "x", 1));
        runner.runUntil([&] { return client.received == "x"; });
    }
    EXPECT_EQ(0, xsock_peek(second[1]));
    close(first[1]);
    close(second[1]);
}

TEST_F(Client, ClosesItsSocketWhenItIsDestroyed) {
    TestServer server(runner.thread(), "test");
    openServer(server);
    {
        TestClient client(runner.thread());
        ASSERT_TRUE(client.openUnix(path.c_str(), 1));
        runner.runUntil([&] { return server.connections() == 1; });
    }

    runner.runUntil([&] { return server.connections() == 0; });
}

// --- layouts ---

TEST(ServerLayout, IsThatOfTheAbiOfRecord) {
    if (sizeof(void*) == 4) {
        EXPECT_EQ(44U, sizeof(CServer));
        EXPECT_EQ(60U, sizeof(CConnection));
        EXPECT_EQ(28U, sizeof(zol::CClient));
    }
}

}  // namespace
