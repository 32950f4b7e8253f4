// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What servers, connections and clients ask of the event-loop service, call by call.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "zol/server.h"

#include "support/fake_service.h"
#include "support/syslog_capture.h"

namespace {

using testing::ElementsAre;

struct QuietClient : zol::CClient {
    using CClient::CClient;
    int onEvent(int, short, zol::CEvent*) override { return 0; }
};

class Watching : public testing::Test {
  protected:
    Watching() {
        FakeService::reset();
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    }
    ~Watching() override { close(ends[1]); }

    std::string opened() const {
        return "fd_open fd=" + std::to_string(ends[0]) + " mode=1 priority=8";
    }

    SyslogCapture log;
    int ends[2];
};

TEST_F(Watching, OfAServerIsForReadingWithPriority8AndWithoutTimeOut) {
    zol::CServer server(FakeService::loop(), "test");

    EXPECT_EQ(0, server.open(ends[0]));

    EXPECT_THAT(FakeService::takeCalls(), ElementsAre(opened(), "fd_start -1"));
}

TEST_F(Watching, OfAConnectionIsForReadingWithPriority8AndWithoutTimeOut) {
    zol::CServer server(FakeService::loop(), "test");

    zol::CConnection* const connection = server.addConnection(ends[0]);
    EXPECT_THAT(FakeService::takeCalls(), ElementsAre(opened(), "fd_start -1"));
    connection->close();
    EXPECT_THAT(FakeService::takeCalls(), ElementsAre("fd_stop"));
    server.deleteConnection(*connection);

    EXPECT_THAT(FakeService::takeCalls(), ElementsAre("fd_stop", "fd_stop", "fd_close"));
}

TEST_F(Watching, OfAClientIsForReadingWithPriority8AndWithoutTimeOut) {
    QuietClient client(FakeService::loop());

    EXPECT_EQ(0, client.open(ends[0]));
    EXPECT_THAT(FakeService::takeCalls(), ElementsAre(opened(), "fd_start -1"));
    EXPECT_EQ(0, client.close());

    EXPECT_THAT(FakeService::takeCalls(), ElementsAre("fd_stop", "fd_close"));
}

TEST_F(Watching, ThatIsRefusedIsAnsweredByOpen) {
    zol::CServer server(FakeService::loop(), "test");
    FakeService::answer = -1;

    EXPECT_EQ(-1, server.open(ends[0]));
}

}  // namespace
