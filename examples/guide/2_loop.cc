// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <signal.h>
#include <stdio.h>
#include <zol/event.h>

class CDaemon : public zol::CEventDest<CDaemon, void> {
  public:
    CDaemon() {
        m_terminate.set(m_loop.getThread(), SIGTERM, &m_quit);
        m_terminate.add(zol::CTime::infinite);
        m_timer.open(m_loop.getThread());
    }

    int run() {
        blink(4);
        return m_loop.loop(0, 0);  // until somebody calls exitLoop()
    }

  private:
    // A timer fires once for each add().
    void blink(int left) {
        puts(left % 2 == 0 ? "on" : "off");
        if (left > 1) {
            m_timer.setArgument(left - 1);
            m_timer.add(zol::CTime(100000));  // microseconds
        } else {
            puts("ready");
        }
    }

    void quit(int) {
        puts("bye");
        m_loop.exitLoop();
    }

    zol::CEventLoop m_loop;  // the first member: it outlives its events
    zol::CEventMsg<CDaemon, int> m_quit{this, &CDaemon::quit, 0};
    zol::CEventSignal m_terminate;
    zol::CEventTimer<CDaemon, int> m_timer{this, &CDaemon::blink, 0};
};

int main() {
    CDaemon daemon;
    return daemon.run() == 0 ? 0 : 1;
}
