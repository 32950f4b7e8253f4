// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_MONOTONIC_TIME_H
#define GARDEND_MONOTONIC_TIME_H

#include <stdint.h>
#include <time.h>

#include "zol/time.h"

namespace gardend {

/** @return the time of the clock that goes on evenly, whatever happens to the calendar clock */
inline zol::CTime monotonicTime() {
    timespec time = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &time);
    return zol::CTime(int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000);
}

}  // namespace gardend

#endif
