/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_PROCESS_H
#define ZOL_PROCESS_H

/**
 * @file zol/process.h
 * Child processes, over the process-execution service.
 *
 * How a child is started, what it inherits, what the bits of `flags` (XEXEC_...) mean and what
 * errno says after a failure, stands in xexec/xexec.h; flags are handed to the service as they are,
 * and so are its results. With the bundled service a start answers 0, or -1 with errno set, or,
 * with XEXEC_WAIT, the wait status.
 *
 * Unless a function says otherwise it belongs to the thread of the loop, texts are not kept, and
 * nothing is logged.
 */

#include "xexec/xexec.h"
#include "zol/export.h"

#ifdef __cplusplus

namespace zol {

class CProcess;

/** Who is told that a child has ended. Slot order is part of the binary interface. */
class ZOL_API IProcTermHandler {
  public:
    /**
     * The child has ended. Its process is idle; it may be started again or destroyed here.
     *
     * @param status  as waitpid(2) gives it, for WIFEXITED() and its like; XEXEC_STATUS_LOST where
     *                somebody else has taken it
     */
    virtual void onProcTerm(CProcess* process, int status) = 0;

  protected:
    ~IProcTermHandler() = default;
};

/**
 * One child process at a time.
 *
 *     class CPump : public zol::IProcTermHandler { void onProcTerm(zol::CProcess*, int) ... };
 *     CPump pump;
 *     zol::CProcess process(&pump, loop.getThread(), 8);
 *     process.setUser("daemon");
 *     if (process.start("exec pump --flush >/dev/null", 0) != 0) {
 *         perror("pump");
 *     }
 *     process.terminate(1, 0);  // pump.onProcTerm(&process, SIGTERM) comes by and by
 *
 * What will bite: a signal goes to the child alone. With a command line that is the shell, unless
 * the line says "exec"; what the shell has started lives on. And the object must stay where it is
 * while it has a child.
 *
 * Slot order is part of the binary interface.
 */
class ZOL_API CProcess {
  public:
    /**
     * @param handler  not owned; may be null
     * @param thread   the loop on which the end of a child is told; must live longer. With null the
     *                 bundled service starts nothing but with XEXEC_WAIT
     * @param setting  for the service; with the bundled one the priority of that call, 0 (first)
     *                 to 255 (last)
     */
    CProcess(IProcTermHandler* handler, evlp_thread_str* thread, unsigned char setting);

    /** As detach(): the child lives on. */
    virtual ~CProcess();

    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    /** @return identifier of the running child; 0: none */
    int getPid() const { return m_record.pid; }

    // --- start: -1 while a child runs, else the result of the service ---

    /**
     * Starts a program after a delay.
     *
     * @param argv   ends with a null pointer; null: `path` is a command line for /bin/sh -c
     * @param delay  for the service; with the bundled one milliseconds
     */
    int startWithDelay(const char* path, char* const* argv, int delay, int flags);

    /** Starts a command line after a delay. */
    int startWithDelay(const char* command, int delay, int flags);

    /** Starts the program argv[0], looked for along PATH, after a delay. */
    int startWithDelay(int ignored, char* const* argv, int delay, int flags);

    /** Starts a command line. */
    int start(const char* command, int flags);

    /** Starts a program. @param argv as for startWithDelay() */
    int start(const char* path, char* const* argv, int flags);

    /** Starts the program argv[0], looked for along PATH. */
    int start(int ignored, char* const* argv, int flags);

    // --- whom children run as, from the next start on ---

    /**
     * @param name  null and "" change nothing: a name cannot be taken back. What will bite: no more
     * than 31 bytes of it count; where that is the name of another user, it is that user
     */
    void setUser(const char* name);

    /** As setUser(), for the group. */
    void setGroup(const char* name);

    // --- the end ---

    /**
     * Sends the child a signal. It goes on to count as running until its end is told.
     *
     * @param graceful  0: the signal is SIGKILL, whatever `signal` is
     * @param signal    0: SIGTERM
     * @return          of kill(2); -1 when no child runs
     *
     * Logs who is killed, at priority 7.
     */
    int terminate(int graceful, int signal);

    /** Leaves the child alone: it lives on, and its end is not told. @return what its identifier
     *  was; 0 when no child runs */
    int detach();

    /** Called by the service when the child has ended. @param context the CProcess */
    static void onEvent(void* context, int pid, int status);

    // --- commands without an object; they have no thread that they belong to ---

    /** Runs a command line as nobody's child; with XEXEC_WAIT until it has ended. @return of the
     *  service's xexec_cmd() */
    static int runCommand(const char* command, int flags);

    /**
     * As above, for a line that is formatted first.
     *
     * What will bite: the line is cut to 499 bytes. And a literal 0 for `flags` can be a null
     * record as well: write XEXEC_PLAIN.
     */
    static int runCommand(int flags, const char* format, ...) ZOL_PRINTF(2, 3);

    /** Runs a command line with a record of the caller's, which has to be zero but for what it is
     * to say. @return of the service's xexec_cmd(); -1 for a null record */
    static int runCommand(xexec_s* record, const char* command, int flags);

    /** As above, for a line that is formatted first, and cut to 499 bytes. */
    static int runCommand(xexec_s* record, int flags, const char* format, ...) ZOL_PRINTF(3, 4);

  private:
    xexec_s m_record;
    IProcTermHandler* m_handler;
};

}  // namespace zol

#endif
#endif
