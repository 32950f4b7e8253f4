/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef XEXEC_XEXEC_H
#define XEXEC_XEXEC_H

/**
 * @file xexec/xexec.h
 * The process-execution service: starts child processes, and tells on an event loop when they have
 * ended. libzol starts processes through these functions alone, so a device may bring its own
 * implementation; this header is the contract that one must keep.
 *
 *     static void onEnded(void* context, int pid, int status);
 *
 *     xexec_s pump;
 *     memset(&pump, 0, sizeof pump);
 *     pump.fn = onEnded;
 *     pump.loop = loop;
 *     strcpy(pump.user, "daemon");
 *     if (xexec_cmd(&pump, "exec pump --flush", XEXEC_NEW_SESSION) == 0) {
 *         kill(pump.pid, SIGTERM);  // onEnded(NULL, pid, status) comes on the loop's thread
 *     } else {
 *         perror("pump");  // no such user, no more processes, ...
 *     }
 *
 * A record serves one child at a time. Between two children it may be changed and used again, in
 * its own callback too; while it has a child it must stay where it is, until the callback or
 * xexec_detach(). Strings and vectors are copied where they are needed after the call.
 *
 * How a child is started: as by vfork(2), so that nothing of the parent's memory is copied, however
 * much that is. The calling thread stands still until the child has become the new program, well
 * below a millisecond on most machines; that is also how a program that cannot be executed is known
 * to the caller at once, as a result. Memory is copied, as by fork(2), for a child that becomes
 * another user or group, who must not get at the parent's; and for one with a delay, which it waits
 * out by itself while the caller goes on, knowing its identifier. Names of users and groups are
 * looked up on the calling thread. That needs 20 KB of its stack; it is not cancelled meanwhile.
 *
 * What a child inherits: environment, working directory, file mode mask, limits, scheduling,
 * process group and terminal, and the descriptors 0, 1 and 2. Other descriptors are closed in it;
 * signals are unblocked and have their default actions, those that the parent ignores too.
 *
 * As whom it runs: `user` gives it that user's identifier, its group and all groups of which it is
 * a member; `group` takes the place of the user's group, or, without a user, of all groups of the
 * parent. Where anything of that cannot be had, the child is not started. Nothing is done, and no
 * privilege needed, where the parent is all that already. The environment is not changed: HOME and
 * USER are the parent's.
 *
 * How its end is noticed: by a descriptor of the process, pidfd_open(2), watched by the loop as any
 * other. That is exact: only this child is waited for; children of others in the process, who call
 * waitpid(2) with their identifiers, are left alone; no signal is involved, which others could
 * block, ignore or handle; and it costs the same for one child or thousands. The kernel has it
 * since Linux 5.3. Where it is missing, or there is no descriptor left, the loop's signal context
 * for SIGCHLD takes its place: the child is looked at whenever any child has ended. Then the
 * process must not block that signal in all its threads, nor set an action for it while children
 * run; one that it has set before is suspended meanwhile. A watched child holds one descriptor.
 *
 * Who waits for children of any kind, as with waitpid(-1), takes our status away; so does a process
 * that ignores SIGCHLD or has set SA_NOCLDWAIT for it. The end is reported all the same, with
 * XEXEC_STATUS_LOST; until then `pid` may be a stranger's.
 *
 * Threads: functions on one record belong to the thread of its loop, or, where the loop does not
 * run, to one thread at a time; different loops are independent of each other. A loop that is
 * closed before its last child has ended reports and reaps it no more, and its descriptor stays
 * open; a record is busy then until xexec_detach().
 *
 * Functions that return int answer -1, with errno set, when they fail; a failure leaves the record
 * as it was, and no child. (One that has been started, but for whose end the loop cannot wait, for
 * want of memory for instance, is killed at once.)
 */

#include <stdint.h>

/** Marks what the shared library offers. */
#if defined(__GNUC__)
#define XEXEC_API __attribute__((visibility("default")))
#else
#define XEXEC_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

struct evlp_thread_str; /* a loop, see evlp/evlp.h */

/** What watches a running child. Opaque. */
typedef struct xexec_child xexec_child;

/**
 * Called once when the child has ended, on the thread of the record's loop. The record is idle
 * again; it may be used, and whatever it is part of may be freed.
 *
 * @param pid     the child's identifier, which it does not have any more
 * @param status  as waitpid(2) gives it, for WIFEXITED() and its like; or XEXEC_STATUS_LOST
 */
typedef void (*xexec_fn)(void* context, int pid, int status);

enum {
    /** The child has ended, but its status went to somebody else. Neither an exit nor a signal. */
    XEXEC_STATUS_LOST = -1
};

/** How a child is started: bits of `flags`, to be or-ed. Others are refused (EINVAL). */
enum {
    /** None of the others. */
    XEXEC_PLAIN = 0,

    /** Returns when the command has ended: the result is its wait status, and the record's callback
     *  is not called. It stops the loop for as long as that takes. No signal is ignored meanwhile,
     *  other than with system(3). */
    XEXEC_WAIT = 1,

    /** Leads a session of its own, and in it a process group: kill(-pid, signal) reaches what the
     *  child has started in turn, but for what has made a group of its own, and the keys of the
     *  parent's terminal do not reach it. */
    XEXEC_NEW_SESSION = 2,

    /** Inherits all descriptors that are not to be closed on exec, instead of 0, 1 and 2 alone. */
    XEXEC_KEEP_DESCRIPTORS = 4,

    XEXEC_NULL_INPUT = 8,   /**< reads from /dev/null */
    XEXEC_NULL_OUTPUT = 16, /**< standard output goes to /dev/null */
    XEXEC_NULL_ERRORS = 32  /**< standard error goes to /dev/null */
};

/**
 * One child process, or the place for one. All zero at first; then the fields from `fn` on may be
 * set. 192 bytes on 32-bit systems.
 *
 * Without a loop nobody is told of the child's end, and nobody has to wait for it: it is given to
 * the system's first process, or to the nearest one above that has asked for orphans (see
 * PR_SET_CHILD_SUBREAPER in prctl(2)), which reaps it. `pid` is only good as long as it runs, which
 * is not told either.
 */
typedef struct xexec_s {
    int32_t pid;        /**< of the running child; 0: none */
    xexec_child* child; /**< the service's own */
    int32_t unused0;    /**< zero */
    char name[52]; /**< of the command, for log lines: its file name, or the beginning of a line */
    xexec_fn fn;   /**< called when the child has ended; null: nothing is, needs no loop */
    void* context; /**< handed to `fn` */
    void* unused1; /**< zero */
    struct evlp_thread_str* loop; /**< on which `fn` is called; null: none */
    unsigned char priority;       /**< in the loop: 0 (first) to 255 (last) */
    unsigned char unused2[47];    /**< zero */
    char user[32];                /**< name of the user to run as; empty: the parent's */
    char group[32]; /**< name of the group to run as; empty: the user's, or the parent's */
} xexec_s;

/**
 * Starts a command line, with /bin/sh -c.
 *
 * @return 0 when the shell runs: what it does not find, or cannot execute, it tells by its exit
 *         status, 127 or 126. With XEXEC_WAIT the wait status. -1:
 *         EINVAL  no record or command, unknown flags, unknown user or group, a callback without
 *                 a loop
 *         EBUSY   the record has a child
 *         EPERM   no privilege to become that user or group
 *         ECHILD  with XEXEC_WAIT: it has run, but its status went to somebody else; else: it was
 *                 killed before it had begun
 *         ENOSYS  before Linux 5.9: there is no /proc, by which to find the descriptors to close
 *         EAGAIN, ENOMEM, EMFILE, ENFILE  resources are exhausted
 *         and what execve(2), getpwnam(3) and getgrnam(3) give
 */
XEXEC_API int xexec_cmd(xexec_s* record, const char* command, int flags);

/**
 * Starts the program argv[0]: without a "/" it is looked for along PATH, as environ(7) tells, with
 * the rights of the parent. Other than with execvp(3), no shell takes over a file that is no
 * program (ENOEXEC).
 *
 * @param argv   ends with a null pointer
 * @param delay  milliseconds to wait before the program is executed, by CLOCK_MONOTONIC; below 1:
 *               none. The child can be killed and detached meanwhile. That its
 *               program cannot be executed is known only then: it exits with 127
 * @return       as xexec_cmd()
 */
XEXEC_API int xexec_with_delay(xexec_s* record, char* const* argv, int delay, int flags);

/**
 * Starts the program `path`, as execve(2) finds it.
 *
 * @param argv   ends with a null pointer; null: `path` is a command line, as for xexec_cmd()
 * @param delay  as for xexec_with_delay()
 * @return       as xexec_cmd()
 */
XEXEC_API int xexecve_cmd_with_delay(xexec_s* record, const char* path, char* const* argv,
                                     int delay, int flags);

/**
 * Parts a record from its child, which goes on, and is reaped by the loop when it has ended. The
 * callback is not called any more, and the record is idle.
 *
 * @return 0, also where there was no child
 */
XEXEC_API int xexec_detach(xexec_s* record);

#ifdef __cplusplus
}
#endif

#endif
