// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "xexec/xexec.h"

#include "child.h"
#include "reap.h"

// How a child is started. Everything that can be found out before there is a child is; so that
// little is left that can fail afterwards.
//
// Without a delay the caller stands still until the child has become the program; with one, until
// the child has told that it waits.

namespace xexec {

namespace {

constexpr int kAllFlags = XEXEC_WAIT | XEXEC_NEW_SESSION | XEXEC_KEEP_DESCRIPTORS |
                          XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS;

// The layout that those who fill the record in rely on; on 64-bit systems pointers widen.
constexpr bool kWide = sizeof(void*) != 4;
static_assert(offsetof(xexec_s, pid) == 0);
static_assert(kWide || offsetof(xexec_s, name) == 12);
static_assert(kWide || offsetof(xexec_s, fn) == 64);
static_assert(kWide || offsetof(xexec_s, context) == 68);
static_assert(kWide || offsetof(xexec_s, loop) == 76);
static_assert(kWide || offsetof(xexec_s, priority) == 80);
static_assert(kWide || offsetof(xexec_s, user) == 128);
static_assert(kWide || offsetof(xexec_s, group) == 160);
static_assert(kWide || sizeof(xexec_s) == 192);

// --- reports of the child ---

/** The pipe on which a child reports. Neither end is ever waited for but with poll(2). */
class ReportPipe {
  public:
    ReportPipe() = default;
    ~ReportPipe() {
        closeEnd(m_out);
        closeEnd(m_in);
    }
    ReportPipe(const ReportPipe&) = delete;
    ReportPipe& operator=(const ReportPipe&) = delete;

    /** @return 0; or what went wrong */
    int open() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
            return errno;
        }
        m_out = ends[0];
        m_in = ends[1];
        // Where the parent has closed a standard descriptor, the child's end may have its number.
        if (m_in <= STDERR_FILENO) {
            m_in = fcntl(ends[1], F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            const int error = errno;
            (void)close(ends[1]);
            return m_in < 0 ? error : 0;
        }
        return 0;
    }

    int getIn() const { return m_in; }

    void closeIn() { closeEnd(m_in); }

    /**
     * @param patience  milliseconds to wait for a report; -1: for as long as there may be one
     * @return          false when there is none
     */
    bool read(Report& report, int patience) {
        for (;;) {
            const ssize_t size = ::read(m_out, &report, sizeof report);
            if (size >= 0 || errno != EAGAIN) {
                return size == static_cast<ssize_t>(sizeof report);
            }
            pollfd readable = {m_out, POLLIN, 0};
            if (poll(&readable, 1, patience) == 0) {
                return false;
            }
        }
    }

  private:
    static void closeEnd(int& fd) {
        if (fd >= 0) {
            (void)close(fd);
        }
        fd = -1;
    }

    int m_out = -1;
    int m_in = -1;
};

// --- making a process ---

/** The calling thread cannot be cancelled as long as this lives: nothing is left half done, and a
 *  child in the same memory would take the cancellation for its own. */
class NotCancelled {
  public:
    NotCancelled() { (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~NotCancelled() { (void)pthread_setcancelstate(m_before, nullptr); }
    NotCancelled(const NotCancelled&) = delete;
    NotCancelled& operator=(const NotCancelled&) = delete;

  private:
    int m_before;
};

/** No signal comes to the calling thread as long as this lives. */
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        (void)sigfillset(&all);
        (void)pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~BlockedSignals() { (void)pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t m_before;
};

// @return what the child had to say last: whether it is the program, or waits to become it
Report startPlan(Plan& plan, ReportPipe& reports) {
    const pid_t pid = makeProcess(plan);
    Report last = {pid, pid < 0 ? errno : ECHILD};  // unless the child says otherwise
    reports.closeIn();
    // Where we stood still, all reports are there. Else they come, and the pipe ends behind the
    // last one; unless another thread has just forked with it open.
    int patience = plan.sharesMemory ? 0 : -1;
    while (reports.read(last, patience)) {
        patience = plan.sharesMemory ? 0 : 1000;
    }
    return last;
}

// --- what is started ---

// Finds a program along PATH. @return 0; or why there is none, as execvp(3) tells it
int findProgram(const char* name, char (&path)[PATH_MAX]) {
    if (strchr(name, '/') != nullptr) {
        return snprintf(path, sizeof path, "%s", name) < PATH_MAX ? 0 : ENAMETOOLONG;
    }
    const char* const paths = getenv("PATH");
    int error = ENOENT;
    const char* folder = paths != nullptr ? paths : "/bin:/usr/bin";
    while (*name != '\0') {
        const int length = static_cast<int>(strcspn(folder, ":"));
        const char* const slash = length > 0 ? "/" : "";  // an empty one is the working directory
        struct stat status = {};
        if (snprintf(path, sizeof path, "%.*s%s%s", length, folder, slash, name) < PATH_MAX &&
            stat(path, &status) == 0 && S_ISREG(status.st_mode)) {
            if (access(path, X_OK) == 0) {
                return 0;
            }
            error = EACCES;
        }
        if (folder[length] == '\0') {
            break;
        }
        folder += length + 1;
    }
    return error;
}

// Starts what the plan says but for its identity, which is the record's. @return 0; or what went
// wrong
int launch(const xexec_s& record, Plan& plan, pid_t& pid) {
    ReportPipe reports;
    int error = findIdentity(record, plan.identity);
    if (error == 0) {
        error = reports.open();
    }
    if (error == 0) {
        plan.environment = environ;
        plan.reports = reports.getIn();
        const BlockedSignals blocked;
        const Report told = startPlan(plan, reports);
        if (told.error != 0 && told.pid > 0 && !plan.orphan) {
            (void)waitForEnd(told.pid);
        }
        pid = told.pid;
        error = told.error;
    }
    free(plan.identity.groups);
    return error;
}

int fail(int error) {
    errno = error;
    return -1;
}

int start(xexec_s& record, const char* name, Plan& plan) {
    const NotCancelled notCancelled;
    const bool waits = (plan.flags & XEXEC_WAIT) != 0;
    const bool watched = !waits && record.loop != nullptr;
    plan.orphan = !waits && !watched;
    xexec_child* const child = watched ? newChild() : nullptr;
    if (watched && child == nullptr) {
        return fail(ENOMEM);
    }
    pid_t pid = 0;
    int error = launch(record, plan, pid);
    if (error == 0 && watched) {
        error = watchChild(child, &record, pid);
        if (error != 0) {
            (void)kill(pid, SIGKILL);
            (void)waitForEnd(pid);
        }
    }
    if (error != 0) {
        deleteChild(child);
        return fail(error);
    }
    (void)snprintf(record.name, sizeof record.name, "%s", name);  // long ones are cut
    if (waits) {
        return waitForEnd(pid);
    }
    record.pid = pid;
    return 0;
}

// @return 0; or why the record cannot be started with these flags
int refusal(const xexec_s* record, int flags) {
    if (record == nullptr || (flags & ~kAllFlags) != 0) {
        return EINVAL;
    }
    if (record->child != nullptr) {
        return EBUSY;
    }
    const bool unheard = record->fn != nullptr && record->loop == nullptr;
    return unheard && (flags & XEXEC_WAIT) == 0 ? EINVAL : 0;
}

int startProgram(xexec_s* record, const char* path, char* const* argv, int delay, int flags) {
    const int refused = refusal(record, flags);
    if (refused != 0 || path == nullptr || argv[0] == nullptr) {
        return fail(refused != 0 ? refused : EINVAL);
    }
    const char* const slash = strrchr(path, '/');
    Plan plan = {};
    plan.path = path;
    plan.argv = argv;
    plan.delay = delay;
    plan.flags = flags;
    return start(*record, slash != nullptr ? slash + 1 : path, plan);
}

int startLine(xexec_s* record, const char* command, int delay, int flags) {
    const int refused = refusal(record, flags);
    if (refused != 0 || command == nullptr) {
        return fail(refused != 0 ? refused : EINVAL);
    }
    // execve(2) changes none of the words.
    char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                          const_cast<char*>(command), nullptr};
    Plan plan = {};
    plan.path = "/bin/sh";
    plan.argv = argv;
    plan.delay = delay;
    plan.flags = flags;
    return start(*record, command, plan);
}

}  // namespace

}  // namespace xexec

int xexec_cmd(xexec_s* record, const char* command, int flags) {
    return xexec::startLine(record, command, 0, flags);
}

int xexec_with_delay(xexec_s* record, char* const* argv, int delay, int flags) {
    char path[PATH_MAX];
    if (argv == nullptr || argv[0] == nullptr) {
        return xexec::fail(EINVAL);
    }
    const int error = xexec::findProgram(argv[0], path);
    if (error != 0) {
        return xexec::fail(error);
    }
    return xexec::startProgram(record, path, argv, delay, flags);
}

int xexecve_cmd_with_delay(xexec_s* record, const char* path, char* const* argv, int delay,
                           int flags) {
    if (argv == nullptr) {
        return xexec::startLine(record, path, delay, flags);
    }
    return xexec::startProgram(record, path, argv, delay, flags);
}
