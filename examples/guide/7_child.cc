// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <sys/wait.h>
#include <zol/event.h>
#include <zol/process.h>

// Keeps a helper running: started again, after a pause, as long as it ends with a failure.
class CDaemon : public zol::CEventDest<CDaemon, void>, public zol::IProcTermHandler {
  public:
    explicit CDaemon(const char* command) : m_command(command) { m_pause.open(m_loop.getThread()); }

    int run() {
        start(0);
        return m_loop.loop(0, 0);
    }

    void onProcTerm(zol::CProcess*, int status) override {
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            puts("helper has done its work");
            m_loop.exitLoop();
        } else {
            printf("helper failed with %d\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
            m_pause.add(zol::CTime(100000));
        }
    }

  private:
    void start(int) {
        puts("helper starts");
        if (m_helper.start(m_command, XEXEC_NULL_INPUT) != 0) {
            perror("helper");
            m_loop.exitLoop();
        }
    }

    const char* m_command;
    zol::CEventLoop m_loop;
    zol::CProcess m_helper{this, m_loop.getThread(), zol::CEvent::kDefaultPriority};
    zol::CEventTimer<CDaemon, int> m_pause{this, &CDaemon::start, 0};
};

int main(int argc, char** argv) {
    CDaemon daemon(argc > 1 ? argv[1] : "exit 0");
    return daemon.run() == 0 ? 0 : 1;
}
