// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include "evlp/evlp.h"

#include "kernel.h"
#include "loop.h"

// Signals, caught by a handler that leaves a note with every loop that listens and wakes it. A
// descriptor for signals would need them blocked in every thread, children would inherit the
// blocked mask, and of several loops that wait for one signal a single one would read it.
//
// The handler may interrupt any thread anywhere, so it takes no lock: the loops are in a list that
// it can always walk. Who takes a loop out waits until no handler runs that may have seen it.

using namespace evlp;

namespace evlp {

namespace {

struct Disposition {
    struct sigaction suspended;
    int contexts;  // armed, on all loops
};

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;  // for those who change the next two
Disposition dispositions[kMostSignal + 1];
std::atomic<evlp_thread_str*> firstLoop{nullptr};

std::atomic<int> handlersRunning{0};

class Lock {
  public:
    Lock() { (void)pthread_mutex_lock(&mutex); }
    ~Lock() { (void)pthread_mutex_unlock(&mutex); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

// @return false when the signal is for none of our loops, but for some of the process that we
//         were forked from
bool deliver(int signum) {
    const pid_t process = getpid();
    bool delivered = false;
    bool inherited = false;
    for (evlp_thread_str* loop = firstLoop.load(); loop != nullptr; loop = loop->nextLoop.load()) {
        if (!loop->listening.has(signum)) {
            continue;
        }
        if (loop->process.load() == process) {
            loop->pending.add(signum);
            wake(loop);
            delivered = true;
        } else {
            inherited = true;
        }
    }
    return delivered || !inherited;
}

void handle(int signum) {
    const int error = errno;
    handlersRunning.fetch_add(1);
    if (!deliver(signum)) {
        // Comes again with the disposition that a child should have, once we have returned.
        restoreHandler(signum, &dispositions[signum].suspended);
        (void)raise(signum);
    }
    handlersRunning.fetch_sub(1);
    errno = error;
}

int suspendDisposition(int signum) {
    struct sigaction ours = {};
    ours.sa_handler = handle;
    ours.sa_flags = SA_RESTART | SA_ONSTACK;
    (void)sigfillset(&ours.sa_mask);  // one handler at a time is enough for a small stack

    const Lock lock;
    Disposition& disposition = dispositions[signum];
    // Also for contexts after the first: a child may have given the signal up.
    if (setHandler(signum, &ours, disposition.contexts == 0 ? &disposition.suspended : nullptr) <
        0) {
        return -1;
    }
    ++disposition.contexts;
    return 0;
}

void resumeDisposition(int signum) {
    const Lock lock;
    Disposition& disposition = dispositions[signum];
    if (--disposition.contexts == 0) {
        restoreHandler(signum, &disposition.suspended);
    }
}

bool isAwaited(const evlp_thread_str* loop, int signum) {
    for (const Signal* signal = loop->signals; signal != nullptr; signal = signal->peer) {
        if (signal->signum == signum) {
            return true;
        }
    }
    return false;
}

void stopListening(evlp_thread_str* loop, int signum) {
    if (!isAwaited(loop, signum)) {
        loop->listening.remove(signum);
        loop->pending.remove(signum);
    }
}

int arm(Signal* signal) {
    evlp_thread_str* const loop = signal->loop;
    // Before the handler is there, so that it finds somebody listening.
    loop->listening.add(signal->signum);
    if (suspendDisposition(signal->signum) < 0) {
        stopListening(loop, signal->signum);
        return -1;
    }
    Signal** end = &loop->signals;
    while (*end != nullptr) {
        end = &(*end)->peer;
    }
    *end = signal;
    signal->armed = true;
    return 0;
}

// The system and the C library keep some signals for themselves.
bool canBeCaught(int signum) {
    struct sigaction present = {};
    return signum > 0 && signum <= kMostSignal && signum != SIGKILL && signum != SIGSTOP &&
           sigaction(signum, nullptr, &present) == 0;
}

}  // namespace

void addReadySignals(evlp_thread_str* loop) {
    const uint64_t arrived = loop->pending.take();
    if (arrived == 0) {
        return;
    }
    for (Signal* signal = loop->signals; signal != nullptr; signal = signal->peer) {
        if ((arrived >> (signal->signum - 1) & 1) != 0) {
            loop->ready.add(signal);
        }
    }
}

void disarm(Signal* signal) {
    evlp_thread_str* const loop = signal->loop;
    Signal** link = &loop->signals;
    while (*link != signal) {
        link = &(*link)->peer;
    }
    *link = signal->peer;
    signal->peer = nullptr;
    signal->armed = false;
    rest(signal);
    resumeDisposition(signal->signum);
    stopListening(loop, signal->signum);
}

void claim(evlp_thread_str* loop) {
    loop->process.store(getpid());
}

void enlist(evlp_thread_str* loop) {
    claim(loop);
    const Lock lock;
    loop->nextLoop.store(firstLoop.load());
    firstLoop.store(loop);
}

void delist(evlp_thread_str* loop) {
    {
        const Lock lock;
        std::atomic<evlp_thread_str*>* link = &firstLoop;
        while (link->load() != loop) {
            link = &link->load()->nextLoop;
        }
        link->store(loop->nextLoop.load());
    }
    // Sleeps, for the handler may be on a thread that cannot run while this one spins: under
    // real-time scheduling, one of lower priority on the same processor.
    while (handlersRunning.load() != 0) {
        const timespec pause = {0, 100000};
        (void)nanosleep(&pause, nullptr);
    }
}

}  // namespace evlp

evlp_ctx_str* sig_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int signum,
                          unsigned char priority) {
    if (loop == nullptr || fn == nullptr || !canBeCaught(signum)) {
        errno = EINVAL;
        return nullptr;
    }
    auto* const signal = openContext<Signal>(loop, Kind::Signal, user, priority);
    if (signal != nullptr) {
        signal->fn = fn;
        signal->signum = signum;
    }
    return signal;
}

int sig_startCtx(evlp_ctx_str* ctx) {
    auto* const signal = as<Signal>(ctx, Kind::Signal);
    if (signal == nullptr || signal->loop == nullptr) {
        return fail(EINVAL);
    }
    rest(signal);
    return signal->armed ? 0 : arm(signal);
}

int sig_stopCtx(evlp_ctx_str* ctx) {
    auto* const signal = as<Signal>(ctx, Kind::Signal);
    if (signal == nullptr) {
        return fail(EINVAL);
    }
    if (signal->armed) {
        disarm(signal);
    }
    return 0;
}

int sig_closeCtx(evlp_ctx_str* ctx) {
    if (sig_stopCtx(ctx) < 0) {
        return -1;
    }
    release(ctx);
    return 0;
}
