// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <new>
#include <signal.h>
#include <stdio.h>
#include <sys/socket.h>
#include <zol/server.h>

// A connection that keeps the beginning of a line until its end has come.
class CLineConnection : public zol::CConnection {
  public:
    using CConnection::CConnection;
    zol::CStr input;
};

class CLampServer : public zol::CServer {
  public:
    using CServer::CServer;

    zol::CConnection* createConnection(int fd) override {
        return new (std::nothrow) CLineConnection(*this, fd);
    }

    void onReceiveData(zol::CConnection& connection) override {
        zol::CStr& input = static_cast<CLineConnection&>(connection).input;
        char bytes[256];
        const ssize_t n = recv(connection.getFd(), bytes, sizeof bytes, 0);
        if (n <= 0) {
            return;  // a peer that has gone is told to onConnectionClosed()
        }
        input.concat(bytes, static_cast<int>(n));
        for (int end; (end = input.find("\n")) != -1;) {
            answer(connection, zol::CStr(input.get(), end));
            input.set(input.get() + end + 1);
        }
        if (input.getLength() > 1000) {
            deleteConnection(connection);  // who sends no line ends may not fill the memory
        }
    }

  private:
    void answer(const zol::CConnection& connection, const zol::CStr& line) {
        if (line == "on" || line == "off") {
            m_isOn = line == "on";
        }
        const char* const state = m_isOn ? "on" : "off";
        zol::CStr text;
        if (line == "state" || line == state) {
            text.format("%s\n", state);
        } else {
            text.format("error: %s\n", line.get());
        }
        (void)send(connection.getFd(), text.get(), static_cast<size_t>(text.getLength()),
                   MSG_NOSIGNAL);
    }

    bool m_isOn = false;
};

class CQuit : public zol::CEventCallback {
  public:
    explicit CQuit(zol::CEventLoop& loop) : m_loop(loop) {}
    int onEvent(int, short, zol::CEvent*) override { return m_loop.exitLoop(); }

  private:
    zol::CEventLoop& m_loop;
};

int main(int argc, char** argv) {
    zol::CEventLoop loop;
    CLampServer server(loop.getThread(), "lampd");
    if (argc < 2 || !server.openUnixSocket(argv[1], 1)) {
        return 1;
    }
    CQuit quit(loop);
    zol::CEventSignal terminate;
    terminate.set(loop.getThread(), SIGTERM, &quit);
    terminate.add(zol::CTime::infinite);
    puts("ready");
    return loop.loop(0, 0) == 0 ? 0 : 1;
}
