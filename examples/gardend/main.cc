// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// gardend: a garden irrigation controller without a garden.
//
// How it hangs together: one event loop runs everything. The garden ticks on a timer, and the plan
// (watering_plan.h) waters it by the calendar, with drivers (drivers.h) that plug-ins bring; the
// status page (http_server.h, status_page.h) shows both; the control socket (control_server.h)
// changes them. Both servers speak through dialog.h, which does the reading and writing, and in the
// language of their client (languages.h). Other programs run beside it: jobs (jobs.h), and a hook
// for when valves move (hook.h). This file puts the pieces together and ends them.

#include <arpa/inet.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/event.h"
#include "zol/sock.h"

#include "control_server.h"
#include "drivers.h"
#include "garden.h"
#include "hook.h"
#include "http_server.h"
#include "jobs.h"
#include "languages.h"
#include "options.h"
#include "status_page.h"
#include "watering_plan.h"

namespace gardend {

namespace {

// Listening on a path removes what is there: this must not be a file of somebody else, nor the
// socket of a daemon that runs.
bool isPathFree(const char* path) {
    struct stat status = {};
    if (lstat(path, &status) != 0) {
        return true;
    }
    if (!S_ISSOCK(status.st_mode)) {
        (void)fprintf(stderr, "gardend: %s is in the way\n", path);
        return false;
    }
    const int fd = xsock_open_unix_client(path, 1);
    if (fd < 0 && (errno == ECONNREFUSED || errno == ENOENT)) {
        return true;  // left over by a daemon that is gone
    }
    if (fd >= 0) {
        (void)close(fd);
    }
    (void)fprintf(stderr, "gardend: another one listens on %s\n", path);
    return false;
}

/** The whole of the daemon. Members are destroyed from the last to the first. */
class CDaemon : public zol::CEventDest<CDaemon, void> {
  public:
    /** @param drivers  which have all that is needed; must live longer */
    CDaemon(const Options& options, CDrivers& drivers)
        : m_options(options),
          m_hook(options.hook, m_loop.getThread(), options.jobUser),
          m_garden({*drivers.getValves(), *drivers.getSensors(), &m_hook}),
          m_plan(m_loop.getThread()),
          m_languages(options.catalogs.isEmpty() ? findCatalogs().get() : options.catalogs.get()),
          m_site(m_garden, m_plan, m_languages),
          m_http(m_loop.getThread(), m_site, options.timeLimit),
          m_jobs(m_loop.getThread(), options.jobUser),
          m_control({m_loop, drivers, m_garden, m_plan, m_jobs, m_languages}, options.timeLimit) {}

    ~CDaemon() override;

    /** Starts to tick and to listen. @return false, with a complaint printed, when it cannot */
    bool start();

    /** Runs until it is told to end. @return false when the loop fails */
    bool run() { return m_loop.loop(0, 0) == 0; }

  private:
    bool addJobs();
    bool listenForClients();
    bool watchSignals();
    void announce();
    void onSignal(int signum);

    const Options& m_options;
    zol::CEventLoop m_loop;
    CHook m_hook;  // which the garden tells of the valves that it closes at its end
    CGarden m_garden;
    CWateringPlan m_plan;
    CLanguages m_languages;
    CStatusSite m_site;
    CHttpServer m_http;
    CJobs m_jobs;
    CControlServer m_control;
    zol::CEventMsg<CDaemon, int> m_onTerminate{this, &CDaemon::onSignal, SIGTERM};
    zol::CEventMsg<CDaemon, int> m_onInterrupt{this, &CDaemon::onSignal, SIGINT};
    zol::CEventSignal m_terminate;
    zol::CEventSignal m_interrupt;
};

CDaemon::~CDaemon() {
    if (m_control.getFd() >= 0) {
        (void)unlink(m_options.controlPath.get());
    }
}

// The sockets come before the garden: where another daemon has them, the valves are its own.
bool CDaemon::start() {
    if (!addJobs() || !listenForClients()) {
        return false;
    }
    if (!watchSignals() ||
        !m_garden.start(m_loop.getThread(), m_options.tick, m_options.samplePeriod) ||
        !m_plan.start()) {
        (void)fputs("gardend: no event loop\n", stderr);
        return false;
    }
    if (!m_languages.hasDefault()) {
        syslog(LOG_WARNING, "no message catalog of English: see --texts");
    }
    m_jobs.runAll();
    announce();
    return true;
}

bool CDaemon::addJobs() {
    for (int i = 0; i < m_options.jobCount; ++i) {
        if (!m_jobs.add(m_options.jobs[i])) {
            (void)fputs("gardend: no memory\n", stderr);
            return false;
        }
    }
    return true;
}

bool CDaemon::watchSignals() {
    return m_terminate.set(m_loop.getThread(), SIGTERM, &m_onTerminate) != 0 &&
           m_interrupt.set(m_loop.getThread(), SIGINT, &m_onInterrupt) != 0 &&
           m_terminate.add(zol::CTime::infinite) == 0 && m_interrupt.add(zol::CTime::infinite) == 0;
}

bool CDaemon::listenForClients() {
    if (!m_http.openIPv4Socket(m_options.address, m_options.port, 1)) {
        perror("gardend: cannot listen for the status page");
        return false;
    }
    if (!isPathFree(m_options.controlPath.get())) {
        return false;  // somebody was faster, while the drivers were loaded
    }
    const mode_t mask = umask(077);  // it is for its owner
    const bool listens = m_control.openUnixSocket(m_options.controlPath.get(), 1);
    (void)umask(mask);
    if (!listens) {
        perror("gardend: cannot listen on the control socket");
        return false;
    }
    return true;
}

// For people, and for scripts that wait until the daemon is there.
void CDaemon::announce() {
    uint16_t family = 0;
    uint16_t portNet = 0;
    uint16_t peerPortNet = 0;
    zol::CStr address;
    zol::CStr peer;
    (void)xsock_get_info(m_http.getFd(), &family, address.handle(), &portNet, peer.handle(),
                         &peerPortNet);
    (void)printf("gardend ready: http://%s:%d/ %s\n", address.get(), ntohs(portNet),
                 m_options.controlPath.get());
    (void)fflush(stdout);
}

void CDaemon::onSignal(int signum) {
    syslog(LOG_NOTICE, "%s: shutting down", strsignal(signum));
    (void)m_loop.exitLoop();
}

// A garden that nothing waters must not look as if it were watered: who supervises us is to know.
bool isComplete(const CDrivers& drivers) {
    if (drivers.getValves() == nullptr) {
        (void)fputs("gardend: no driver for the valves: see --drivers\n", stderr);
        return false;
    }
    if (drivers.getSensors() == nullptr) {
        (void)fputs("gardend: no driver for the sensors: see --drivers\n", stderr);
        return false;
    }
    return true;
}

int serve(const Options& options) {
    // First of all: drivers that are loaded may well disturb those of a daemon that runs.
    if (!isPathFree(options.controlPath.get())) {
        return 1;
    }
    CDrivers drivers(options.drivers.isEmpty() ? findDrivers().get() : options.drivers.get());
    if (!isComplete(drivers)) {
        return 1;
    }
    CDaemon daemon(options, drivers);
    return daemon.start() && daemon.run() ? 0 : 1;
}

}  // namespace

}  // namespace gardend

int main(int argc, char** argv) {
    gardend::Options options;
    const int status = gardend::readOptions(argc, argv, options);
    if (status >= 0) {
        return status;
    }

    openlog("gardend", options.logToTerminal ? LOG_PERROR : 0, LOG_DAEMON);
    setlogmask(LOG_UPTO(LOG_NOTICE));  // the library tells what it does at LOG_INFO
    signal(SIGPIPE, SIG_IGN);          // a reader of our output that has gone must not end us
    signal(SIGCHLD, SIG_DFL);          // where it is ignored, nobody learns how children end
    zol::CTime::synchronized = options.waitForClock ? 0 : 1;
    return gardend::serve(options);
}
