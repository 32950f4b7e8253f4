// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_JOB_H
#define GARDEND_JOB_H

#include "zol/event.h"
#include "zol/process.h"
#include "zol/time.h"

#include "text.h"

namespace gardend {

/**
 * A command that is run as a child process: a self-test, or a helper that is to stay.
 *
 * One that answers 0 has done what it was to do, and is idle until it is run again. One that fails,
 * or that cannot be started, is started again: after a second, then after two, four and so on, up
 * to a minute. It is never given up, for nobody may come by for weeks. The pauses begin anew with a
 * success, with a run of a minute or more, and when somebody runs it. The loop's thread.
 *
 * It leads a session and a process group of its own, reads nothing, and writes what is wrong to the
 * standard error, which is gardend's. What it leaves behind when it ends is its own affair.
 */
class CJob : public zol::CEventDest<CJob, void>, public zol::IProcTermHandler {
  public:
    enum State { kIdle, kRunning, kWaiting };

    /**
     * @param name, command  not copied; the command is for the shell
     * @param thread         the loop; must live longer than the job
     * @param user           to run it as; "": that of gardend
     */
    CJob(const char* name, const char* command, evlp_thread_str* thread, const char* user);

    /** Sends SIGTERM to the process group of what runs: nobody waits for the end. What has made a
     *  group of its own lives on. */
    ~CJob() override;
    CJob(const CJob&) = delete;
    CJob& operator=(const CJob&) = delete;

    /** Starts the job now, also one that waits.
     *  @return false when it runs already; and when it cannot be started: it is tried again then */
    bool run();

    const char* getName() const { return m_name; }
    State getState() const;
    /** @return 0 while it does not run */
    int getPid() const { return m_process.getPid(); }
    /** How often it was started, or was to be. */
    int getRuns() const { return m_runs; }
    int getFailures() const { return m_failures; }
    /** How it has ended last: see describeStatus(); "unstarted", and "-" before the first end. */
    const char* getLast() const { return m_last.get(); }

    void onProcTerm(zol::CProcess* process, int status) override;

  private:
    bool start();
    void waitAfterFailure();
    void onRetry(int) { (void)start(); }

    const char* m_name;
    const char* m_command;
    zol::CProcess m_process;
    int m_runs = 0;
    int m_failures = 0;
    CShort m_last{"-"};
    zol::CTime m_startedAt;  // by the clock that goes on evenly
    zol::CTime m_pause;      // before the next start, should this one fail
    bool m_isWaiting = false;
    zol::CEventTimer<CJob, int> m_retry{this, &CJob::onRetry, 0};
};

}  // namespace gardend

#endif
