/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_CLOCK_H
#define SIM_CLOCK_H

#include <stdint.h>

// The virtual clock, in microseconds. It can be read on every thread and in signal handlers.

namespace sim {

constexpr int64_t kUsPerSecond = 1000000;
constexpr int64_t kUsPerMs = 1000;

/** No clock gets as far: sums of two such times do not overflow. */
constexpr int64_t kEndOfTime = INT64_MAX / 4;

/** Since the start of the virtual system. */
int64_t now();

/** Since 1970. */
int64_t date();

/** Whether a duration is none of those that are negative or lead beyond the end of time. */
bool canPass(int64_t duration);

/** now() will be `time`; the calendar clock goes along. Earlier times are ignored. */
void moveTo(int64_t time);

void setDate(int64_t date);

/** As at the start of the program. */
void resetClock();

}  // namespace sim

#endif
