/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_DATES_H
#define SIM_DATES_H

#include <stddef.h>
#include <stdint.h>

namespace sim {

constexpr size_t kDateSize = 48;  // of a date as text, NUL included

/** "2026-03-29 01:59:50", local time; as evlp_sim_parseDate() reads it. */
void formatDate(int64_t date, char (&text)[kDateSize]);

/** Sets the calendar clock to what EVLP_SIM_DATE says, if it is set. */
void setFirstDate();

}  // namespace sim

#endif
