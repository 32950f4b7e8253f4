/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_EVLP_H
#define EVLP_EVLP_H

/**
 * @file evlp/evlp.h
 * The event-loop service: a loop that calls functions back when descriptors become ready, when
 * timers fall due and when signals arrive. libzol reaches the operating system's events through
 * these functions alone, so a device may bring its own implementation; this header is the
 * contract that one must keep.
 *
 * How it is used:
 *
 *     evlp_initialize(0, 1, 0, 512);
 *     evlp_thread_str* loop = evlp_openThreadInt("MDW", 0, 0, 32, 10, 255, 10);
 *     evlp_ctx_str* tick = timer_openCtx(loop, onTick, state, 0, 8);
 *     timer_startCtx(tick, 1000);
 *     evlp_startThread(loop);   // calls onTick(state) after a second; ends with evlp_stopThread
 *     timer_closeCtx(tick);
 *     evlp_closeThread(loop);
 *
 * A context is one thing to wait for: a descriptor, a timer or a signal. It is opened on a loop,
 * disarmed at first; start arms it, stop disarms it, close releases it. For every kind:
 *
 *  - a function that returns int answers 0 for success and -1, with errno set, for failure; an
 *    open answers null, with errno set; a failure changes nothing;
 *  - a null loop or context is refused (EINVAL); starting an armed context arms it anew; stopping
 *    a disarmed one succeeds;
 *  - any context, the one whose callback runs included, may be started, stopped or closed inside
 *    any callback; a context that has been stopped or closed is not called any more, even when
 *    it was found ready earlier in the same turn;
 *  - of the contexts that are ready together, a lower priority number is called first; of
 *    those with the same number, signals go before timers and timers before descriptors, and
 *    timers go in the order in which they fall due, those of one millisecond in the order in
 *    which they were armed;
 *  - every context is called at most once in a turn of the loop; a context armed anew in its own
 *    callback is looked at again in the next turn, after everything else that is ready;
 *  - the service copies nothing: `user` is handed back to the callback as it is.
 *
 * Threads: evlp_stopThread may be called from any thread, callback or signal handler. All other
 * functions on one loop and its contexts belong to one thread at a time: the one that runs the
 * loop while it runs. Different loops are independent of each other.
 *
 * Processes: a forked child shares its parent's loops with it. A child that goes on beside its
 * parent leaves the parent's loops and contexts alone and ends with exec or _exit(2); one that
 * takes the parent's place, as daemon(3) makes it, may run them.
 */

#include <stdint.h>

/** Marks what the shared library offers. */
#if defined(__GNUC__)
#define EVLP_API __attribute__((visibility("default")))
#else
#define EVLP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** A loop. Opaque. */
typedef struct evlp_thread_str evlp_thread_str;

/** A context of any kind. Opaque. */
typedef struct evlp_ctx_str evlp_ctx_str;

/** What a descriptor context watches for: bits, to be or-ed. */
enum {
    EVLP_READ = 1, /**< data, a connection to accept, or the end of the stream */
    EVLP_WRITE = 2 /**< room to write, or the end of a connect */
};

/**
 * Called when a descriptor is ready, with the descriptor; or, after an idle time-out, with -1.
 * An error or a hang-up counts as ready for whatever is watched.
 */
typedef void (*evlp_fd_fn)(void* user, int fd);

/** Called when a timer falls due or when a signal has arrived. */
typedef void (*evlp_fn)(void* user);

/**
 * Prepares the service; the first call does the work, later ones succeed at once.
 *
 * @param options       0
 * @param threads       hint: how many loops will be opened
 * @param reserved      0
 * @param contexts      hint: how many contexts a loop will hold
 *
 * An implementation may ignore the hints; this one does.
 */
EVLP_API int evlp_initialize(int options, int threads, int reserved, int contexts);

/**
 * Opens a loop.
 *
 * @param name            for people who debug; copied; null counts as ""
 * @param policy          0: run with the scheduling of the thread that starts the loop
 * @param stackSize       0: run on the stack of the thread that starts the loop
 * @param eventsPerTurn   hint: how many ready descriptors one turn fetches at first
 * @param timerSlack      hint, in milliseconds
 * @param lowestPriority  hint: the largest priority number that will be used
 * @param signalSlack     hint, in milliseconds
 * @return                the loop, owned by the caller until evlp_closeThread; null on failure
 *
 * An implementation may ignore the hints; this one does (no slack: timers are exact to the
 * millisecond).
 */
EVLP_API evlp_thread_str* evlp_openThreadInt(const char* name, int policy, int stackSize,
                                             int eventsPerTurn, int timerSlack, int lowestPriority,
                                             int signalSlack);

/**
 * Runs the loop on the calling thread until evlp_stopThread.
 *
 * @return 0 after a stop; -1 when the loop runs already, on this or on another thread (EBUSY:
 *         a callback cannot start its own loop again), or when the kernel refuses to wait
 *
 * The loop runs also while nothing is armed. It may be started again after it was stopped.
 */
EVLP_API int evlp_startThread(evlp_thread_str* loop);

/**
 * Makes the loop return as soon as the present turn is over: what was found ready in it is still
 * called. A stop that comes before the start is kept, and the next start returns at once. Safe
 * from any thread and from signal handlers.
 */
EVLP_API int evlp_stopThread(evlp_thread_str* loop);

/**
 * Releases the loop. Refused while it runs (EBUSY). Contexts that are still open are disarmed
 * and stay valid until they are closed; they cannot be armed any more (EINVAL).
 */
EVLP_API int evlp_closeThread(evlp_thread_str* loop);

/**
 * Opens a context for a descriptor.
 *
 * @param fd        the descriptor, 0 or more; not owned; several contexts may watch one
 * @param mode      EVLP_READ, EVLP_WRITE or both
 * @param priority  0 (first) to 255 (last)
 *
 * Readiness is a level: the callback comes again in every turn until the cause is gone or the
 * context is stopped. Close the context before its descriptor is closed; where a descriptor
 * has been closed first, the context is not called any more, but it stays armed to no effect
 * until it is stopped, and must not be used for a new descriptor of the same number. (While a
 * duplicate keeps the file open, in a child process for instance, the kernel goes on reporting
 * it: then up to a few hundred calls may come before the loop finds out.)
 */
EVLP_API evlp_ctx_str* fd_openCtx(evlp_thread_str* loop, evlp_fd_fn fn, void* user, int fd,
                                  int mode, unsigned char priority);

/**
 * Arms a descriptor context until it is stopped.
 *
 * @param timeoutMs  idle time-out in milliseconds: when nothing was ready for that long, the
 *                   callback is called with -1 and the time starts over; -1 for none
 * @return           0; -1 for what cannot be polled (EPERM: regular files and directories), a
 *                   closed descriptor (EBADF), exhausted memory
 */
EVLP_API int fd_startCtx(evlp_ctx_str* ctx, int timeoutMs);
/** Disarms a descriptor context, which may be armed again. */
EVLP_API int fd_stopCtx(evlp_ctx_str* ctx);
/** Disarms and releases a descriptor context. */
EVLP_API int fd_closeCtx(evlp_ctx_str* ctx);

/**
 * Opens a context for a timer.
 *
 * @param options   0
 * @param priority  0 (first) to 255 (last)
 */
EVLP_API evlp_ctx_str* timer_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int options,
                                     unsigned char priority);

/**
 * Arms a timer to fire once.
 *
 * @param delayMs  milliseconds from now; 0: in the next turn, as all below -1; -1: never
 *
 * The clock is the one that counts up from the start of the system (clock_gettime(2),
 * CLOCK_MONOTONIC): setting the calendar clock moves no timer. A timer never fires before its
 * time. Started with the same delay inside its own callback, as a periodic timer is, it counts
 * from the moment for which it was due, not from the moment at which the callback came to run,
 * so that it does not drift; when that time has already passed, it counts from now, so that a
 * late loop does not have to catch up.
 */
EVLP_API int timer_startCtx(evlp_ctx_str* ctx, int64_t delayMs);
/** Disarms a timer context, which may be armed again. */
EVLP_API int timer_stopCtx(evlp_ctx_str* ctx);
/** Disarms and releases a timer context. */
EVLP_API int timer_closeCtx(evlp_ctx_str* ctx);

/**
 * Opens a context for a signal. Several contexts, on one or several loops, may watch one signal;
 * each of them is called.
 *
 * @param signum    the signal; one that cannot be caught is refused (EINVAL)
 * @param priority  0 (first) to 255 (last)
 */
EVLP_API evlp_ctx_str* sig_openCtx(evlp_thread_str* loop, evlp_fn fn, void* user, int signum,
                                   unsigned char priority);

/**
 * Arms a signal context until it is stopped. While at least one context of the process is armed
 * for a signal, the signal's own disposition is suspended; it comes back with the last stop, and
 * at once in a forked child that gets the signal without running the loop. Several arrivals
 * before the callback runs count as one.
 */
EVLP_API int sig_startCtx(evlp_ctx_str* ctx);
/** Disarms a signal context, which may be armed again. */
EVLP_API int sig_stopCtx(evlp_ctx_str* ctx);
/** Disarms and releases a signal context. */
EVLP_API int sig_closeCtx(evlp_ctx_str* ctx);

#ifdef __cplusplus
}
#endif

#endif
