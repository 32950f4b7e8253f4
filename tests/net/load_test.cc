// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Thousands of connections on one loop at once. Nothing here is timed: what counts is that every
// byte comes back, and that nothing is left at the end.

#include <errno.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "zol/server.h"

#include "support/loop_runner.h"
#include "support/open_fds.h"
#include "support/syslog_capture.h"

namespace {

constexpr int kConnections = 5000;
constexpr int kMessages = 100;

// Echoes what it gets. The sockets have room for a message, so nothing is held back.
class EchoServer : public zol::CServer {
  public:
    using CServer::CServer;
    void onReceiveData(zol::CConnection& connection) override {
        char bytes[512];
        const ssize_t n = read(connection.getFd(), bytes, sizeof bytes);
        if (n > 0) {
            const ssize_t m = send(connection.getFd(), bytes, static_cast<size_t>(n), MSG_NOSIGNAL);
            ASSERT_TRUE(m == n || (m == -1 && errno == EPIPE));  // or its caller has just gone
            echoed += n;
        }
    }
    int64_t echoed = 0;
};

// Sends a message, waits until it has come back whole, sends the next one.
class Caller : public zol::CClient {
  public:
    Caller(evlp_thread_str* thread, int number, int lastMessage)
        : CClient(thread), m_number(number), m_lastMessage(lastMessage) {}

    void begin() { send(); }

    int onEvent(int fd, short, zol::CEvent*) override {
        char bytes[512];
        const ssize_t n = read(fd, bytes, sizeof bytes);
        if (n <= 0) {
            lost = true;
            close();
            return 0;
        }
        m_pending.append(bytes, static_cast<size_t>(n));
        if (m_pending.size() < m_message.size()) {
            return 0;
        }
        EXPECT_EQ(m_message, m_pending);
        ++answered;
        if (answered == m_lastMessage) {
            done = true;
            if (m_lastMessage < kMessages) {
                close();  // killed in the middle of its life
            }
        } else {
            send();
        }
        return 0;
    }

    int64_t sent = 0;
    int answered = 0;
    bool done = false;
    bool lost = false;

  private:
    void send() {
        m_message = "caller " + std::to_string(m_number) + " message " + std::to_string(answered) +
                    std::string(static_cast<size_t>(m_number % 97), '.');
        m_pending.clear();
        const ssize_t n = ::send(getFd(), m_message.data(), m_message.size(), MSG_NOSIGNAL);
        ASSERT_TRUE(n == static_cast<ssize_t>(m_message.size()) || (n == -1 && errno == EPIPE));
        sent += static_cast<int64_t>(m_message.size());
    }

    int m_number;
    int m_lastMessage;
    std::string m_message;
    std::string m_pending;
};

TEST(Load, FiveThousandConnectionsEchoEveryByteAndLeaveNothing) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_GE(limit.rlim_cur, static_cast<rlim_t>(2 * kConnections + 50))
        << "raise the hard limit of open files";

    const int fdsBefore = openFds();
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    {
        LoopRunner runner;
        EchoServer server(runner.thread(), "load");
        std::vector<std::unique_ptr<Caller>> callers;
        for (int i = 0; i < kConnections; ++i) {
            int ends[2];
            ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends));
            ASSERT_NE(nullptr, server.addConnection(ends[0]));
            const bool killed = random() % 10 == 0;
            const int last = killed ? 1 + static_cast<int>(random() % (kMessages - 1)) : kMessages;
            callers.push_back(std::make_unique<Caller>(runner.thread(), i, last));
            ASSERT_EQ(0, callers.back()->open(ends[1]));
        }
        ASSERT_EQ(kConnections, xlist_get_count(&server.getConnections()));

        int killedByServer = 0;
        for (auto& caller : callers) {
            caller->begin();
        }
        size_t unfinished = 0;
        runner.runUntil([&] {
            // The server kills some, too, while their callers wait for an answer.
            if (killedByServer < 100 && random() % 4 == 0) {
                auto* victim = zol::CConnection::first(server.getConnections());
                for (auto n = random() % 200; n > 0 && victim->next() != nullptr; --n) {
                    victim = victim->next();
                }
                killedByServer += server.deleteConnection(*victim) == 0 ? 1 : 0;
            }
            while (unfinished < callers.size() &&
                   (callers[unfinished]->done || callers[unfinished]->lost)) {
                ++unfinished;
            }
            return unfinished == callers.size();
        });

        int64_t sent = 0;
        int survivors = 0;
        int lost = 0;
        for (const auto& caller : callers) {
            sent += caller->sent;
            lost += caller->lost ? 1 : 0;
            survivors += caller->getFd() >= 0 ? 1 : 0;
            if (caller->getFd() >= 0) {
                EXPECT_EQ(kMessages, caller->answered);
            }
        }
        EXPECT_LE(lost, killedByServer);
        EXPECT_LE(server.echoed, sent);
        if (lost == 0) {
            EXPECT_EQ(sent, server.echoed);
        }
        runner.runReady();
        EXPECT_LE(xlist_get_count(&server.getConnections()), survivors);
        EXPECT_GT(survivors, kConnections / 2);
    }
    EXPECT_EQ(fdsBefore, openFds());
}

}  // namespace
