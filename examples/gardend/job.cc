// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "job.h"

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <syslog.h>

#include "child.h"
#include "monotonic_time.h"

namespace gardend {

namespace {

constexpr zol::CTime kShortestPause(1000000);
constexpr zol::CTime kLongestPause(60000000);
constexpr zol::CTime kLongRun(60000000);  // a failure after that is a new one

}  // namespace

CJob::CJob(const char* name, const char* command, evlp_thread_str* thread, const char* user)
    : m_name(name),
      m_command(command),
      m_process(this, thread, zol::CEvent::kDefaultPriority),
      m_pause(kShortestPause) {
    m_process.setUser(user);
    (void)m_retry.open(thread);  // without it the first pause fails, and says so
}

CJob::~CJob() {
    if (getPid() != 0) {
        (void)kill(-getPid(), SIGTERM);  // its process group, not the shell alone
    }
}

CJob::State CJob::getState() const {
    if (getPid() != 0) {
        return kRunning;
    }
    return m_isWaiting ? kWaiting : kIdle;
}

bool CJob::run() {
    m_pause = kShortestPause;
    return start();
}

bool CJob::start() {
    if (getPid() != 0) {
        return false;
    }
    (void)m_retry.remove();
    m_isWaiting = false;
    ++m_runs;
    m_startedAt = monotonicTime();
    if (m_process.start(m_command, kChildFlags) != 0) {
        syslog(LOG_ERR, "job %s cannot be started: %s", m_name, strerror(errno));
        m_last = CShort("unstarted");
        waitAfterFailure();
        return false;
    }
    syslog(LOG_NOTICE, "job %s started", m_name);
    return true;
}

void CJob::onProcTerm(zol::CProcess*, int status) {
    m_last = describeStatus(status);
    if (status == 0) {
        m_pause = kShortestPause;
        syslog(LOG_NOTICE, "job %s done", m_name);
        return;
    }
    if (monotonicTime() - m_startedAt >= kLongRun) {
        m_pause = kShortestPause;
    }
    waitAfterFailure();
}

void CJob::waitAfterFailure() {
    ++m_failures;
    m_isWaiting = m_retry.add(m_pause) == 0;
    if (!m_isWaiting) {
        syslog(LOG_ERR, "job %s failed (%s); no timer to start it again", m_name, getLast());
        return;
    }
    syslog(LOG_WARNING, "job %s failed (%s); again in %d s", m_name, getLast(),
           static_cast<int>(m_pause.getMicroseconds() / 1000000));
    m_pause += m_pause;
    if (m_pause > kLongestPause) {
        m_pause = kLongestPause;
    }
}

}  // namespace gardend
