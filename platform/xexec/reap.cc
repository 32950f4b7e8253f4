// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "reap.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "evlp/evlp.h"

// How the end of a child is noticed, and told. What watches a child lives until the child has been
// waited for, also when its record has left it.

struct xexec_child {
    xexec_s* record;  // null: detached
    pid_t pid;
    int fd;  // of the process; -1: a signal tells that it may have ended
    evlp_ctx_str* context;
    xexec_child* next;
    xexec_child* previous;
};

namespace xexec {

namespace {

#ifdef SYS_pidfd_open
constexpr long kPidfdOpen = SYS_pidfd_open;
#else
constexpr long kPidfdOpen = 434;  // on all processors
#endif

// --- all that are watched ---

// Only so that they can be found: a loop that is closed before its children have ended leaves what
// watches them behind, and a search for leaks need not complain about that.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
xexec_child* first = nullptr;

void enlist(xexec_child* child) {
    (void)pthread_mutex_lock(&mutex);
    child->next = first;
    if (first != nullptr) {
        first->previous = child;
    }
    first = child;
    (void)pthread_mutex_unlock(&mutex);
}

void strike(xexec_child* child) {
    (void)pthread_mutex_lock(&mutex);
    (child->previous != nullptr ? child->previous->next : first) = child->next;
    if (child->next != nullptr) {
        child->next->previous = child->previous;
    }
    (void)pthread_mutex_unlock(&mutex);
}

// --- the end ---

void stopWatching(xexec_child* child) {
    if (child->fd < 0) {
        (void)sig_closeCtx(child->context);
        return;
    }
    (void)fd_closeCtx(child->context);
    (void)close(child->fd);
}

// Tells that the child has ended, where it has.
void look(xexec_child* child) {
    int status = 0;
    const pid_t pid = child->pid;
    const pid_t ended = waitpid(pid, &status, WNOHANG);
    if (ended == 0) {
        return;
    }
    xexec_s* const record = child->record;
    stopWatching(child);
    strike(child);
    free(child);
    if (record == nullptr) {
        return;
    }
    record->pid = 0;
    record->child = nullptr;
    if (record->fn != nullptr) {
        record->fn(record->context, pid, ended == pid ? status : XEXEC_STATUS_LOST);
    }
}

void onReadable(void* child, int) {
    look(static_cast<xexec_child*>(child));
}

void onSignal(void* child) {
    look(static_cast<xexec_child*>(child));
}

// --- two ways to watch ---

bool watchProcess(xexec_child* child, const xexec_s& record) {
    child->fd = static_cast<int>(syscall(kPidfdOpen, child->pid, 0));
    if (child->fd < 0) {
        return false;
    }
    child->context =
        fd_openCtx(record.loop, onReadable, child, child->fd, EVLP_READ, record.priority);
    if (child->context != nullptr && fd_startCtx(child->context, -1) == 0) {
        return true;
    }
    stopWatching(child);
    child->fd = -1;
    return false;
}

bool watchSignal(xexec_child* child, const xexec_s& record) {
    child->context = sig_openCtx(record.loop, onSignal, child, SIGCHLD, record.priority);
    if (child->context == nullptr || sig_startCtx(child->context) != 0) {
        const int error = errno;
        (void)sig_closeCtx(child->context);
        errno = error;
        return false;
    }
    // The child may have ended before that. The loop looks when the signal comes, whoever sends it.
    (void)kill(getpid(), SIGCHLD);
    return true;
}

}  // namespace

int waitForEnd(pid_t pid) {
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(pid, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == pid ? status : XEXEC_STATUS_LOST;
}

xexec_child* newChild() {
    return static_cast<xexec_child*>(calloc(1, sizeof(xexec_child)));
}

void deleteChild(xexec_child* child) {
    free(child);
}

int watchChild(xexec_child* child, xexec_s* record, pid_t pid) {
    child->pid = pid;
    child->record = record;
    if (!watchProcess(child, *record) && !watchSignal(child, *record)) {
        return errno;
    }
    record->child = child;
    enlist(child);
    return 0;
}

}  // namespace xexec

int xexec_detach(xexec_s* record) {
    if (record == nullptr) {
        errno = EINVAL;
        return -1;
    }
    if (record->child != nullptr) {
        record->child->record = nullptr;
    }
    record->child = nullptr;
    record->pid = 0;
    return 0;
}
