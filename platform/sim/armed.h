/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_ARMED_H
#define SIM_ARMED_H

#include <stddef.h>

#include "evlp/sim.h"

namespace sim {

constexpr size_t kArmedSize = 160;

/** "2001-01-01 00:01:00.000 timer priority 8 loop MDW": a line for people. */
void formatArmed(const evlp_sim_armed& armed, char (&text)[kArmedSize]);

}  // namespace sim

#endif
