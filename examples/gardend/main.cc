// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// gardend: a garden irrigation controller without a garden.
//
// How it hangs together: one event loop runs everything. The garden ticks on a timer, and the plan
// (watering_plan.h) waters it by the calendar, with drivers (drivers.h) that plug-ins bring; the
// status page (http_server.h, status_page.h) shows both, to whom it may (digest_login.h), with logs
// to download (downloads.h); the control socket (control_server.h) changes them. Both servers speak
// through dialog.h, which does the reading and writing, and in the language of their client
// (languages.h). Other programs run beside it: jobs (jobs.h), and a hook for when valves move
// (hook.h). A file says all that (configuration.h), and may be read again; what is to survive the
// end is in another one (state_file.h). This file puts the pieces together and ends them.

#include <errno.h>
#include <memory>
#include <new>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/event.h"
#include "zol/sock.h"

#include "configuration.h"
#include "control_server.h"
#include "drivers.h"
#include "garden.h"
#include "hook.h"
#include "jobs.h"
#include "languages.h"
#include "listeners.h"
#include "moisture_files.h"
#include "options.h"
#include "secret.h"
#include "state_file.h"
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

// What the command line says wins over the file, and that over what is usual.
// @return null, with complaints
std::unique_ptr<Configuration> load(const Options& options, CText& complaints) {
    std::unique_ptr<Configuration> loaded =
        readConfiguration(options.configuration.get(), complaints);
    if (loaded == nullptr) {
        return nullptr;
    }
    Settings settings = options.settings;
    const bool isWhole = settings.complete(loaded->settings) &&
                         settings.complete(defaultSettings()) && !settings.listen.isEmpty() &&
                         !settings.controlPath.isEmpty();
    if (!isWhole || settings.jobs.getCount() > CJobs::kMost) {
        const char* const reason = isWhole ? "too many jobs" : "no memory";
        syslog(LOG_ERR, "%s", reason);
        complaints.add(reason).add("\n");
        return nullptr;
    }
    loaded->settings = settings;
    return loaded;
}

/** The whole of the daemon. Members are destroyed from the last to the first. */
class CDaemon : public zol::CEventDest<CDaemon, void>,
                public IDaemon,
                public IValveWatcher,
                public IWateringGate {
  public:
    /** @param drivers  which have all that is needed; must live longer */
    CDaemon(const Options& options, std::unique_ptr<Configuration> configuration, CDrivers& drivers)
        : m_options(options),
          m_settings(configuration->settings),
          m_configuration(std::move(configuration)),
          m_hook(m_settings.hook.isEmpty() ? nullptr : m_settings.hook.get(), m_loop.getThread(),
                 m_settings.jobUser.get()),
          m_garden({*drivers.getValves(), *drivers.getSensors(), this, &m_samples}),
          m_plan(m_loop.getThread(), this),
          m_state(m_settings.stateFile.get(), m_loop.getThread(), m_garden, m_plan),
          m_languages(m_settings.catalogs.isEmpty() ? findCatalogs().get()
                                                    : m_settings.catalogs.get()),
          m_login(makeSecret()),
          m_site({m_garden, m_plan, m_downloads, m_languages, m_login}),
          m_listeners(m_loop.getThread(), m_site, m_settings.timeLimit),
          m_jobs(m_loop.getThread(), m_settings.jobUser.get()),
          m_control({m_loop, drivers, m_garden, m_plan, m_jobs, m_languages, *this},
                    m_settings.timeLimit) {}

    ~CDaemon() override;

    /** Starts to tick and to listen. @return false, with a complaint printed, when it cannot */
    bool start();

    /** Runs until it is told to end. @return false when the loop fails */
    bool run() { return m_loop.loop(0, 0) == 0; }

    bool reload(CText& answer) override;
    void onPlanChanged() override { m_state.touch(); }
    void onValve(const char* zone, bool isOpen) override;
    bool mayWater(const CZone& zone, const tm& now) override;

  private:
    bool addJobs();
    bool adopt(const Configuration& next, CText& reason);
    void tellWhatWaits(const Settings& next, CText& answer);
    bool listenForControl();
    bool watchSignals();
    void announce();
    void onSignal(int signum);
    void onHangup(int);
    void onReload(int);

    const Options& m_options;
    const Settings m_settings;  // as of the start; of later ones only a part counts
    std::unique_ptr<Configuration> m_configuration;
    bool m_isRunning = false;
    zol::CEventLoop m_loop;
    CHook m_hook;  // which hears of the valves that the garden closes at its end
    CMoistureFiles m_samples;
    CGarden m_garden;
    CWateringPlan m_plan;
    CStateFile m_state;
    CLanguages m_languages;
    CDigestLogin m_login;
    CDownloads m_downloads;
    CStatusSite m_site;
    CListeners m_listeners;
    CJobs m_jobs;
    CControlServer m_control;
    zol::CEventMsg<CDaemon, int> m_onTerminate{this, &CDaemon::onSignal, SIGTERM};
    zol::CEventMsg<CDaemon, int> m_onInterrupt{this, &CDaemon::onSignal, SIGINT};
    zol::CEventMsg<CDaemon, int> m_onHangup{this, &CDaemon::onHangup, SIGHUP};
    zol::CEventSignal m_terminate;
    zol::CEventSignal m_interrupt;
    zol::CEventSignal m_hangup;
    zol::CEventTimer<CDaemon, int> m_whenToReload{this, &CDaemon::onReload, 0};
};

CDaemon::~CDaemon() {
    if (m_control.getFd() >= 0) {
        (void)unlink(m_settings.controlPath.get());
    }
    if (m_isRunning) {
        m_garden.closeAllValves();
        m_state.write();
        m_isRunning = false;
    }
}

// The sockets come before the garden: where another daemon has them, the valves are its own.
bool CDaemon::start() {
    CText complaints;
    if (!adopt(*m_configuration, complaints)) {
        (void)fprintf(stderr, "gardend: %s\n", complaints.get());
        return false;
    }
    if (!addJobs() || !listenForControl()) {
        return false;
    }
    if (!m_state.read()) {
        return false;
    }
    if (!watchSignals() ||
        !m_garden.start(m_loop.getThread(), m_settings.tick, m_settings.samplePeriod) ||
        !m_plan.start()) {
        (void)fputs("gardend: no event loop\n", stderr);
        return false;
    }
    m_isRunning = true;
    if (!m_languages.hasDefault()) {
        syslog(LOG_WARNING, "no message catalog of English: see --texts");
    }
    m_jobs.runAll();
    announce();
    return true;
}

// All that can fail comes first, and is undone where something else fails.
bool CDaemon::adopt(const Configuration& next, CText& reason) {
    if (!m_listeners.open(next.settings.listen, reason)) {
        return false;
    }
    const bool hasZones = m_garden.add(next.zones);
    // A valve that nobody knows any more would stay open for ever.
    const CZone* const stuck = hasZones ? m_garden.closeWhatGoes(next.zones) : nullptr;
    const bool mayGo = hasZones && stuck == nullptr;
    const int error = mayGo ? m_plan.configure(next.schedules, m_garden) : 0;
    if (!mayGo || error != 0) {
        if (stuck != nullptr) {
            reason.add("the valve of ").add(stuck->getName()).add(" does not close");
        } else {
            reason.add(error == CWateringPlan::kFull
                           ? "too many schedules, with those that were added by hand"
                           : "no memory");
        }
        m_garden.keep(m_configuration->zones);
        m_listeners.keep(m_configuration->settings.listen);
        return false;
    }

    m_samples.setFolder(next.settings.logFolder);  // before new zones have samples
    m_plan.keepZones(next.zones);
    m_garden.keep(next.zones);
    m_listeners.keep(next.settings.listen);
    m_login.setUsers(next.users);
    m_downloads.configure(next.downloadKey, next.downloadMinutes, next.settings.logFolder);
    return true;
}

bool CDaemon::reload(CText& answer) {
    std::unique_ptr<Configuration> next = load(m_options, answer);
    CText reason;
    if (next == nullptr || !adopt(*next, reason)) {
        if (!reason.isEmpty()) {
            syslog(LOG_ERR, "%s", reason.get());
            answer.add(reason).add("\n");
        }
        syslog(LOG_ERR, "the configuration stays as it was");
        return false;
    }
    m_configuration = std::move(next);
    syslog(LOG_NOTICE, "the configuration has been read again");
    tellWhatWaits(m_configuration->settings, answer);
    m_state.touch();
    return true;
}

void CDaemon::tellWhatWaits(const Settings& next, CText& answer) {
    for (int i = 0; findFixedDifference(m_settings, next, i) != nullptr; ++i) {
        const char* const what = findFixedDifference(m_settings, next, i);
        syslog(LOG_WARNING, "%s: the change waits for the next start", what);
        answer.add(what).add(": the change waits for the next start\n");
    }
}

void CDaemon::onValve(const char* zone, bool isOpen) {
    m_hook.onValve(zone, isOpen);
    if (m_isRunning) {
        m_state.touch();
    }
}

bool CDaemon::mayWater(const CZone& zone, const tm& now) {
    return m_configuration->rules.allow({m_garden, zone, now});
}

bool CDaemon::addJobs() {
    for (const JobWish& job : m_settings.jobs) {
        if (!m_jobs.add(job)) {
            (void)fputs("gardend: no memory\n", stderr);
            return false;
        }
    }
    return true;
}

bool CDaemon::watchSignals() {
    const zol::CTime forEver = zol::CTime::infinite;
    return m_terminate.set(m_loop.getThread(), SIGTERM, &m_onTerminate) != 0 &&
           m_interrupt.set(m_loop.getThread(), SIGINT, &m_onInterrupt) != 0 &&
           m_hangup.set(m_loop.getThread(), SIGHUP, &m_onHangup) != 0 &&
           m_whenToReload.open(m_loop.getThread()) != 0 && m_terminate.add(forEver) == 0 &&
           m_interrupt.add(forEver) == 0 && m_hangup.add(forEver) == 0;
}

bool CDaemon::listenForControl() {
    if (!isPathFree(m_settings.controlPath.get())) {
        return false;  // somebody was faster, while the drivers were loaded
    }
    const mode_t mask = umask(077);  // it is for its owner
    const bool listens = m_control.openUnixSocket(m_settings.controlPath.get(), 1);
    (void)umask(mask);
    if (!listens) {
        perror("gardend: cannot listen on the control socket");
        return false;
    }
    return true;
}

// For people, and for scripts that wait until the daemon is there.
void CDaemon::announce() {
    CText addresses;
    m_listeners.list(addresses);
    (void)printf("gardend ready: %s%s\n", addresses.get(), m_settings.controlPath.get());
    (void)fflush(stdout);
}

// Behind what is due already: a schedule whose time has come must not fall under the change.
void CDaemon::onHangup(int) {
    if (m_whenToReload.add(zol::CTime(1)) != 0) {
        onReload(0);
    }
}

void CDaemon::onReload(int) {
    CText answer;  // which the log has got, too
    (void)reload(answer);
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
    CText complaints;
    std::unique_ptr<Configuration> configuration = load(options, complaints);
    if (configuration == nullptr) {
        (void)fputs(complaints.get(), stderr);
        return 1;
    }
    if (options.checkOnly) {
        return 0;
    }
    const Settings& settings = configuration->settings;
    zol::CTime::synchronized = settings.waitForClock ? 0 : 1;
    // First of all: drivers that are loaded may well disturb those of a daemon that runs.
    if (!isPathFree(settings.controlPath.get())) {
        return 1;
    }
    CDrivers drivers(settings.drivers.isEmpty() ? findDrivers().get() : settings.drivers.get());
    if (!isComplete(drivers)) {
        return 1;
    }
    CDaemon daemon(options, std::move(configuration), drivers);
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
    gardend::seedRandom();
    return gardend::serve(options);
}
