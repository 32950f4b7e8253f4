// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "child.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sched.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "reap.h"

// The road of a child from its making to the program that it is to become.
//
// Mostly it runs in the parent's memory, while the parent's thread stands still: whatever is
// written is written there. So only what is safe in a signal handler is called, and of the parent's
// memory nothing is changed but errno, the plan, and a stack that is there for that. (vfork(2)
// itself lends the parent's stack; that works once, but a child can make no other child with it
// when the memory checkers of the compilers are in between.)
//
// Memory is copied instead for a child that is somebody else, who must not get at the memory of the
// parent; and for one that waits, as the parent goes on.

namespace xexec {

namespace {

#ifdef SYS_close_range
constexpr long kCloseRange = SYS_close_range;
#else
constexpr long kCloseRange = 436;  // on all processors
#endif

// Where the system's first calls had 16 bits for an identifier, those with 32 have other names.
#ifdef SYS_setresuid32
constexpr long kSetUser = SYS_setresuid32;
constexpr long kSetGroup = SYS_setresgid32;
constexpr long kSetGroups = SYS_setgroups32;
#else
constexpr long kSetUser = SYS_setresuid;
constexpr long kSetGroup = SYS_setresgid;
constexpr long kSetGroups = SYS_setgroups;
#endif

constexpr int kCannotExecute = 127;  // what a shell exits with

// Bytes for the calls of a child, ours and those of the C library, which need less than a quarter.
constexpr int kStackSize = 8192;

// --- descriptors ---

/** An entry of a directory, as the kernel gives it. */
struct DirectoryEntry {
    uint64_t inode;
    int64_t offset;
    uint16_t size;
    uint8_t type;
    char name[1];
};

// Closes descriptors one by one, but not 0, 1, 2 and `kept`: all, or those that are to be closed on
// exec. The kernel lists them by number, so that closing some meanwhile does no harm.
int closeListed(int kept, bool all) {
    const int folder = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return ENOSYS;  // ENOENT would mean the program
    }
    char entries[1024];
    long size = 0;
    while ((size = syscall(SYS_getdents64, folder, entries, sizeof entries)) > 0) {
        uint16_t entrySize = 0;
        for (long at = 0; at < size; at += entrySize) {
            memcpy(&entrySize, entries + at + offsetof(DirectoryEntry, size), sizeof entrySize);
            const int fd = atoi(entries + at + offsetof(DirectoryEntry, name));  // "." and "..": 0
            if (fd > STDERR_FILENO && fd != folder && fd != kept &&
                (all || (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0)) {
                (void)close(fd);
            }
        }
    }
    (void)close(folder);
    return size < 0 ? ENOSYS : 0;
}

// Closes all descriptors but 0, 1, 2 and `kept`.
int closeOthers(int kept) {
    const bool closed = (kept == 3 || syscall(kCloseRange, 3, kept - 1, 0) == 0) &&
                        syscall(kCloseRange, kept + 1, UINT_MAX, 0) == 0;
    return closed ? 0 : closeListed(kept, true);
}

int openNull(int fd, int mode) {
    const int null = open("/dev/null", mode | O_CLOEXEC);
    if (null < 0) {
        return errno;
    }
    if (null == fd) {  // it was closed: stays open on exec from now on
        return fcntl(fd, F_SETFD, 0) == 0 ? 0 : errno;
    }
    const int error = dup2(null, fd) == fd ? 0 : errno;
    (void)close(null);
    return error;
}

int redirect(int flags) {
    const struct {
        int flag;
        int fd;
        int mode;
    } streams[] = {{XEXEC_NULL_INPUT, STDIN_FILENO, O_RDONLY},
                   {XEXEC_NULL_OUTPUT, STDOUT_FILENO, O_WRONLY},
                   {XEXEC_NULL_ERRORS, STDERR_FILENO, O_WRONLY}};
    for (const auto& stream : streams) {
        const int error = (flags & stream.flag) != 0 ? openNull(stream.fd, stream.mode) : 0;
        if (error != 0) {
            return error;
        }
    }
    return 0;
}

// --- signals ---

// Actions first: once unblocked, no signal may call a handler of the parent.
void resetSignals() {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int signum = 1; signum < NSIG; ++signum) {
        (void)sigaction(signum, &action, nullptr);  // some cannot be set: those are the default
    }
    sigset_t none;
    (void)sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
}

// --- identity ---

// The calls of the C library would have all threads of the process change, those of the parent.
int assume(const Identity& identity) {
    if (!identity.differs) {
        return 0;
    }
    const gid_t group = identity.group;
    const uid_t user = identity.user;
    if (syscall(kSetGroups, identity.groupCount, identity.groups) != 0 ||
        syscall(kSetGroup, group, group, group) != 0 || syscall(kSetUser, user, user, user) != 0) {
        return errno;
    }
    return 0;
}

// --- the road ---

int closeDescriptors(const Plan& plan) {
    if ((plan.flags & XEXEC_KEEP_DESCRIPTORS) == 0) {
        return closeOthers(plan.reports);
    }
    // What goes on exec goes before a delay: others may wait for it to be closed.
    return plan.delay > 0 ? closeListed(plan.reports, false) : 0;
}

// What may fail, as far as a go-between has to have it, too. Closing makes room for the rest.
int prepare(const Plan& plan) {
    int error = closeDescriptors(plan);
    if (error == 0) {
        error = redirect(plan.flags);
    }
    return error != 0 ? error : assume(plan.identity);
}

void waitFor(int milliseconds) {
    timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

void report(const Plan& plan, int error) {
    const Report sent = {getpid(), error};
    (void)write(plan.reports, &sent, sizeof sent);
}

int execute(void* argument) {
    const Plan& plan = *static_cast<const Plan*>(argument);
    if ((plan.flags & XEXEC_NEW_SESSION) != 0) {
        (void)setsid();  // cannot fail: a new process leads no group
    }
    resetSignals();
    report(plan, 0);
    if (plan.delay > 0) {
        (void)close(plan.reports);  // the parent goes on
        waitFor(plan.delay);
    }
    (void)execve(plan.path, plan.argv, plan.environment);
    if (plan.delay <= 0) {
        report(plan, errno);
    }
    _exit(kCannotExecute);
}

int sharing(const Plan& plan) {
    if (plan.delay > 0) {
        return 0;
    }
    return plan.identity.differs ? CLONE_VFORK : CLONE_VM | CLONE_VFORK;
}

template <int size>
pid_t makeOnStack(int (*road)(void*), Plan& plan) {
    alignas(16) char stack[size];  // grows down
    return clone(road, stack + sizeof stack, sharing(plan) | SIGCHLD, &plan);
}

int prepareAndExecute(void* argument) {
    Plan& plan = *static_cast<Plan*>(argument);
    plan.sharesMemory = true;
    int error = prepare(plan);
    if (error == 0 && !plan.orphan) {
        return execute(argument);
    }
    if (error == 0) {
        error = makeOnStack<kStackSize>(execute, plan) < 0 ? errno : 0;
    }
    if (error != 0) {
        report(plan, error);
    }
    _exit(error == 0 ? 0 : kCannotExecute);
}

}  // namespace

pid_t makeProcess(Plan& plan) {
    const pid_t pid = makeOnStack<2 * kStackSize>(prepareAndExecute, plan);
    if (pid > 0 && plan.orphan) {
        (void)waitForEnd(pid);
    }
    return pid;
}

}  // namespace xexec
