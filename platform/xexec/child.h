/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef XEXEC_CHILD_H
#define XEXEC_CHILD_H

#include "identity.h"

namespace xexec {

/** All that a child has to know, complete before there is one. */
struct Plan {
    const char* path;
    char* const* argv;
    char* const* environment;
    int delay; /**< milliseconds */
    int flags;
    bool orphan; /**< nobody waits for it: the process that is made makes another one and ends */
    Identity identity;

    /** Where the child reports; 3 or more. A pipe holds all its reports without being read. */
    int reports;

    /** Set by the child, for its parent to see where they share memory. Emulators of processors
     *  copy the memory all the same, and do not let the parent wait. */
    volatile bool sharesMemory;
};

/** What a child has to tell: once when it is about to wait and to execute, and when it fails. */
struct Report {
    int pid;   /**< its own */
    int error; /**< why it ends without having become the program; 0: it does not, up to now */
};

/**
 * Makes a process, on a stack of its own. Without a delay the calling thread stands still until the
 * process has become the program, or has ended, as with vfork(2). Signals and cancellation have to
 * be off.
 *
 * @return the child; or, where it is to be an orphan, what has made it and has ended; -1, with
 * errno
 */
pid_t makeProcess(Plan& plan);

}  // namespace xexec

#endif
