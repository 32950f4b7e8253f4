// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONTROL_REQUEST_H
#define GARDEND_CONTROL_REQUEST_H

#include <stdint.h>

#include "control_protocol.h"

namespace gardend {

/** A request of control_protocol.h. What its kind does not have is 0 or empty. */
struct ControlRequest {
    enum Kind {
        kStatus,
        kZones,
        kMoisture,
        kOpen,
        kClose,
        kAddSchedule,
        kListSchedules,
        kRemoveSchedule,
        kClockSynchronized,
        kSummary,
        kDisplay,
        kLanguage,
        kPlugIns,
        kJobs,
        kRun,
        kReload,
        kQuit
    };

    Kind kind = kStatus;
    char zone[kMaxControlLine] = "";       // whether there is one of that name is not known here
    char job[kMaxControlLine] = "";        // as the zone
    char languages[kMaxControlLine] = "";  // as the client has written them
    uint8_t days = 0;                      // ZOL_SUNDAY to ZOL_SATURDAY, or-ed
    uint8_t hour = 0;
    uint8_t minute = 0;
    int runMinutes = 0;  // that a valve is open
    int number = 0;      // of a schedule
};

/**
 * Reads a request line, as the daemon does and as gardenctl does before it asks.
 *
 * @param line     without LF, shorter than kMaxControlLine
 * @param request  has its initial values; good on success only
 * @return         0; else the message that says what is wrong, see gardend_messages.h
 */
unsigned readRequest(const char* line, ControlRequest& request);

}  // namespace gardend

#endif
