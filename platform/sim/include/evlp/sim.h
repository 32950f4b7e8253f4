/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_SIM_H
#define EVLP_SIM_H

/**
 * @file evlp/sim.h
 * The event-loop service on a virtual clock, for tests: a program that is linked with
 * libevlp_sim, or started with it preloaded, lives in a time of its own, which moves only when it
 * is told to. A year passes in a second, every run is like the one before, and what a loop would
 * have to wait for, the test makes happen.
 *
 *     evlp_thread_str* loop = evlp_openThreadInt("test", 0, 0, 32, 10, 255, 10);
 *     CLamp lamp(loop);                          // switches itself off after a minute
 *     evlp_sim_advance(59 * 1000000LL);
 *     EXPECT_TRUE(lamp.isOn());
 *     evlp_sim_advance(1 * 1000000LL);           // calls what is due on the way, in its order
 *     EXPECT_FALSE(lamp.isOn());
 *
 * It is the service of evlp/evlp.h, made of the same code as libevlp: what is called when and in
 * which order is the same. Where the contract leaves the order open, among descriptors of one
 * priority that are ready together, simulated ones go by number, before real ones. Only the system
 * below is another one:
 *
 *  - time(2), clock_gettime(2), gettimeofday(2), timespec_get(3) and sysinfo(2) answer from the
 *    virtual clock, in the whole process, for every thread. At first the system has just been
 *    started (uptime 0) and the calendar clock reads 2001-01-01 00:00:00 UTC, a Monday.
 *    What sleeps or waits by itself still does so in real time: for a duration (sleep(3), poll(2))
 *    as ever, until a moment that was computed from a clock (pthread_cond_timedwait(3)) hardly
 *    ever as it was meant.
 *  - Descriptors are numbers: they need not be open, and are ready when evlp_sim_setReady() says
 *    so. Signals come from evlp_sim_raise(). After evlp_sim_watchReal(1), what is armed from then
 *    on is the system's own.
 *
 * All functions but the clocks belong to one thread: that of the loops. Durations and dates are
 * microseconds. A function that returns int answers 0, or -1 with errno set; a failure changes
 * nothing, unless it says otherwise. "Inside a callback" is anywhere below a loop that runs.
 */

#include <stddef.h>
#include <stdint.h>

#include "evlp/evlp.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- time --- */

/** @return the time since the virtual system was started: what CLOCK_MONOTONIC reads */
EVLP_API int64_t evlp_sim_now(void);

/** @return what the calendar clock reads, since 1970-01-01 00:00:00 UTC */
EVLP_API int64_t evlp_sim_date(void);

/**
 * Sets the calendar clock, as an operator or a time server does. No timer is moved by it.
 *
 * @return  0; -1 for a date before 1970 or beyond some 70,000 years (EINVAL)
 */
EVLP_API int evlp_sim_setDate(int64_t date);

/**
 * Reads a date from "2026-03-29 01:59:50", local time as TZ has it; the seconds may be missing.
 * Where clocks are put back, an hour comes twice: it is taken as the first of them. Where they
 * are put forward, an hour is left out: it is taken as if that came an hour later.
 *
 * @param date  set on success only
 * @return      0; -1 for another text (EINVAL), and for years before 1902 or after 2037 where
 *              seconds have 32 bits
 */
EVLP_API int evlp_sim_parseDate(const char* text, int64_t* date);

/**
 * Lets time pass and runs every open loop meanwhile, as if each had been started: what is ready
 * is called at once; then the clock goes to the next deadline, and so on to the end of the
 * duration, what is due at that very moment included. With a duration of 0 no time passes.
 *
 * At every moment loops run one after the other, in the order in which they were opened, each
 * until it has nothing to do, and all of them again until none has.
 *
 * @return  0; -1: inside a callback (EBUSY); for a negative duration, or one beyond the end of
 *          time (EINVAL); when a loop has been stopped, by a callback or before: the clock then
 *          stays at the moment of the stop, and the stop is done with (ECANCELED); when loops are
 *          busy without end, a million turns long, and the clock does not get to go on: with a
 *          descriptor that stays ready, or a timer that is always late because its callback passes
 *          more time than its delay (ELOOP)
 */
EVLP_API int evlp_sim_advance(int64_t duration);

/**
 * Lets time pass until the calendar clock reads `date`, as evlp_sim_advance(); when it is set on
 * the way, by a callback, the end moves.
 *
 * @return  as evlp_sim_advance(); -1 for a date that has passed (EINVAL)
 */
EVLP_API int evlp_sim_advanceTo(int64_t date);

/**
 * Runs every open loop until nothing is left that time alone would bring about.
 *
 * @param longest  the time that may pass at most: periodic timers never end
 * @return         0, and the clock is where the last callback was called; -1 when that time was
 *                 not enough and has passed (ETIME), or as evlp_sim_advance()
 */
EVLP_API int evlp_sim_runUntilIdle(int64_t longest);

/**
 * Lets the clocks go on without running anything: the time that a callback takes, or that a loop
 * is kept from running. What falls due is late then. Also inside callbacks.
 *
 * @return  0; -1 for a negative duration, or one beyond the end of time (EINVAL)
 */
EVLP_API int evlp_sim_pass(int64_t duration);

/* evlp_startThread() runs its loop alone: whenever nothing is ready the clock goes to its next
 * deadline. When there is none, and nothing real is watched, nothing can ever happen: it answers
 * -1 (EDEADLK), where a real loop would hang; and -1 (ELOOP) as evlp_sim_advance(). While
 * something real is watched, time stands still and it waits for that, for as long as it takes; to
 * get on in time, such a program calls evlp_sim_advance() instead, or has a control socket
 * (below). */

/* --- what happens --- */

/**
 * Makes a descriptor ready until the next call says otherwise, whether it is armed or not. It has
 * no effect on those that are real.
 *
 * @param fd    a number below 65536
 * @param mode  EVLP_READ and EVLP_WRITE, or-ed; 0: not ready any more
 * @return      0; -1 for another number or mode (EINVAL)
 */
EVLP_API int evlp_sim_setReady(int fd, int mode);

/** Makes a descriptor ready for one turn: what is armed for it, on every loop, is called once.
 *  Forgotten where nothing is armed for it. Parameters and result as evlp_sim_setReady(). */
EVLP_API int evlp_sim_pulse(int fd, int mode);

/** A signal arrives. One for which nothing is armed is ignored. @return 0; -1 for a number that
 *  is none of a signal (EINVAL) */
EVLP_API int evlp_sim_raise(int signum);

/** Whether what is armed from now on is the system's own: descriptors are those of the process,
 *  signals are caught. What is armed stays what it is, and so does what is armed on the same loop
 *  for a number that another context has armed, and what is armed for a signal that is caught
 *  already. Time stays virtual. */
EVLP_API void evlp_sim_watchReal(int on);

/* --- what the service is asked for --- */

/** The functions of the service. */
typedef enum evlp_sim_function {
    EVLP_SIM_INITIALIZE,
    EVLP_SIM_OPEN_THREAD,
    EVLP_SIM_START_THREAD,
    EVLP_SIM_STOP_THREAD,
    EVLP_SIM_CLOSE_THREAD,
    EVLP_SIM_FD_OPEN,
    EVLP_SIM_FD_START,
    EVLP_SIM_FD_STOP,
    EVLP_SIM_FD_CLOSE,
    EVLP_SIM_TIMER_OPEN,
    EVLP_SIM_TIMER_START,
    EVLP_SIM_TIMER_STOP,
    EVLP_SIM_TIMER_CLOSE,
    EVLP_SIM_SIG_OPEN,
    EVLP_SIM_SIG_START,
    EVLP_SIM_SIG_STOP,
    EVLP_SIM_SIG_CLOSE
} evlp_sim_function;

/** A call of the service, as it was made. */
typedef struct evlp_sim_call {
    evlp_sim_function function; /**< which one */
    int64_t time;               /**< evlp_sim_now() */
    evlp_thread_str* loop;      /**< argument or result; null for functions that take a context */
    evlp_ctx_str* ctx;          /**< argument or result; it may be closed by now */
    void* user;                 /**< of the open functions */
    char name[32];              /**< of EVLP_SIM_OPEN_THREAD, cut */
    int64_t arguments[6];       /**< the numbers, in the order of the parameters */
    int argumentCount;          /**< how many numbers there are */
    int error;                  /**< errno of a failure; 0: it succeeded */
} evlp_sim_call;

/** Whether calls are recorded; at first they are not. Turning it on forgets former records. When
 *  memory is exhausted recording ends, so that no call is missing between two others. While it is
 *  on, evlp_stopThread() must not be called from signal handlers and other threads. */
EVLP_API void evlp_sim_record(int on);

/** @return how many calls have been recorded, one that has begun and not ended included */
EVLP_API size_t evlp_sim_countCalls(void);

/** Copies a record. @param index  0 is the oldest. @return 0; -1 beyond the last (EINVAL) */
EVLP_API int evlp_sim_getCall(size_t index, evlp_sim_call* call);

/**
 * Writes a record as text, without what differs from run to run: "timer_startCtx(60000)",
 * "fd_openCtx(5, 1, 8)", "timer_openCtx(0, 8): Cannot allocate memory".
 *
 * @return  the length of the whole text, as snprintf(3)
 */
EVLP_API int evlp_sim_describe(const evlp_sim_call* call, char* text, size_t size);

/**
 * Makes a call fail that is still to come, and do nothing.
 *
 * @param nth    1: the next one of this function; 0: none any more
 * @param error  its errno
 * @return       0; -1 for what is no function or no error (EINVAL)
 */
EVLP_API int evlp_sim_fail(evlp_sim_function function, unsigned nth, int error);

/** The kinds of contexts. */
typedef enum evlp_sim_kind { EVLP_SIM_TIMER, EVLP_SIM_DESCRIPTOR, EVLP_SIM_SIGNAL } evlp_sim_kind;

/** Something that is armed. */
typedef struct evlp_sim_armed {
    evlp_thread_str* loop; /**< the loop that will call */
    evlp_ctx_str* ctx;     /**< what is armed */
    void* user;            /**< what the callback gets */
    evlp_sim_kind kind;    /**< timer, descriptor or signal */
    int number;            /**< the descriptor or signal; -1 for a timer */
    int mode;              /**< of a descriptor: EVLP_READ and EVLP_WRITE */
    int priority;          /**< a lower number is called first */
    int64_t due; /**< evlp_sim_now() will be this; of a descriptor when it will have been idle
                      too long; -1: never */
} evlp_sim_armed;

/**
 * Lists what is armed on all open loops: first what is due some day, in the order in which it
 * will be called (as far as no callback runs: what waits for its call in the present turn may
 * come earlier); then what is not, in the order of numbers.
 *
 * @param list   room for `room` entries: the first ones
 * @return       how many are armed, which may be more than `room`
 */
EVLP_API size_t evlp_sim_listArmed(evlp_sim_armed* list, size_t room);

/**
 * Everything is as at the start of the program: the clocks, what is ready, what is recorded, what
 * is to fail, whether the real system is watched. To be called between tests.
 *
 * @return  0; -1 while a loop is open, which would have its deadlines far ahead (EBUSY)
 */
EVLP_API int evlp_sim_reset(void);

/* --- a whole daemon in virtual time ---
 *
 * A program that knows nothing of this header is started with the library preloaded:
 *
 *     EVLP_SIM_DATE="2026-11-16 06:00:00" EVLP_SIM_CONTROL=/tmp/clock
 *         LD_PRELOAD=libevlp_sim.so.1 gardend ...
 *
 * EVLP_SIM_DATE is what the calendar clock reads at the start (local time); constructors of
 * libraries that are loaded before this one may still read 2001. With EVLP_SIM_CONTROL,
 * descriptors and signals are the system's own, time stands still, and whoever connects to the
 * Unix stream socket of that path, which is there from the first evlp_openThreadInt() to the end
 * of the program, says how it passes. The socket takes lines:
 *
 *     advance SECONDS    as evlp_sim_advance(); SECONDS may have a fraction
 *     to DATE            as evlp_sim_advanceTo()
 *     date               answers what the calendar clock reads
 *     armed              lists what is armed, a line each
 *
 * and answers each, once it is done, with its lines and then "OK", or "ERROR" and a sentence.
 * They are carried out one by one, whoever sends them, by the loop that runs, when it has nothing
 * else to do; programs that run loops on several threads are not supported.
 *
 * The command evlp-sim does all that:
 *
 *     evlp-sim run --control /tmp/clock --date "2026-11-16 06:00:00" -- gardend ...
 *     evlp-sim --control /tmp/clock advance 3600
 */

#ifdef __cplusplus
}
#endif

#endif
