// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <zol/zol.h>

class CEcho : public zol::CServer {
  public:
    using CServer::CServer;
    void onReceiveData(zol::CConnection& connection) override {
        char bytes[512];
        const ssize_t n = recv(connection.getFd(), bytes, sizeof bytes, 0);
        if (n > 0) {
            (void)send(connection.getFd(), bytes, static_cast<size_t>(n), MSG_NOSIGNAL);
        }
    }
};

class CQuit : public zol::CEventCallback {
  public:
    explicit CQuit(zol::CEventLoop& loop) : m_loop(loop) {}
    int onEvent(int, short, zol::CEvent*) override { return m_loop.exitLoop(); }

  private:
    zol::CEventLoop& m_loop;
};

int main() {
    zol::CEventLoop loop;
    CEcho echo(loop.getThread(), "echo");
    CQuit quit(loop);
    zol::CEventSignal terminate;
    terminate.set(loop.getThread(), SIGTERM, &quit);
    terminate.add(zol::CTime::infinite);
    return echo.openIPv4Socket(INADDR_LOOPBACK, 7777, 1) && loop.loop(0, 0) == 0 ? 0 : 1;
}
