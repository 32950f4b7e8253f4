/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_LOG_H
#define ZOL_LOG_H

/**
 * @file zol/log.h
 * The library reports through syslog(3): errors at priority 3, notices at 5, information at 6,
 * details at 7. Almost every line begins with " function(line): ". The application chooses
 * ident, facility and filter with openlog(3) and setlogmask(3).
 */

#include <time.h>

#include "zol/export.h"

#ifdef __cplusplus
/* See zol/time.h. */
#ifndef __UCLIBC__
static_assert(sizeof(time_t) == 8, "zol needs 64-bit time_t: -D_TIME_BITS=64");
#endif
#endif

ZOL_BEGIN_DECLS

/** Does nothing; kept for programs that call it. Use openlog(3). */
ZOL_API void xlog_set_name(const char* name);

/** Does nothing; kept for programs that call it. Use setlogmask(3). */
ZOL_API void xlog_level_filter(unsigned mask);

struct timespec; /* which <time.h> does not have in strict C99 */

/**
 * Timing probes: what takes how long, in a line of the log at priority 3.
 *
 *     struct timespec cpu, real;
 *     TIMESTAMP_START(&cpu, &real);
 *     rebuild();
 *     TIMESTAMP_END(&cpu, &real, "rebuild");
 *
 * The real time is that of the calendar, and jumps when the clock is set. Any thread; the CPU time
 * is that of the whole process.
 */

/** Notes CPU time and real time. */
ZOL_API void TIMESTAMP_START(struct timespec* cpu, struct timespec* real);

/** TIMESTAMP_START(), and logs the real time. @param label  null: logs nothing */
ZOL_API void TIMESTAMP_START2(struct timespec* cpu, struct timespec* real, const char* label);

/** Logs the real time, and the CPU time and real time since the start, in seconds.
 *  @param label  not null */
ZOL_API void TIMESTAMP_END(const struct timespec* cpu, const struct timespec* real,
                           const char* label);

ZOL_END_DECLS

#endif
