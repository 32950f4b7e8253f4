// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_OPTIONS_H
#define GARDEND_OPTIONS_H

#include <stdint.h>

#include "zol/str.h"
#include "zol/time.h"

#include "control_protocol.h"
#include "jobs.h"

namespace gardend {

/** What the command line says. */
struct Options {
    uint32_t address = 0x7f000001;  // of the status page, host byte order
    uint16_t port = 8080;           // host byte order; 0: the system chooses
    zol::CStr controlPath = kDefaultControlPath;
    // Patterns of their paths, see zol/cat.h and zol/plugin.h; empty: where this program has them.
    zol::CStr catalogs;
    zol::CStr drivers;
    const char* hook = nullptr;  // a program; null: none
    JobWish jobs[CJobs::kMost];
    int jobCount = 0;
    const char* jobUser = "";  // of jobs and of the hook; empty: that of gardend
    zol::CTime tick = zol::CTime(1000000);
    zol::CTime samplePeriod = zol::CTime(60000000);
    zol::CTime timeLimit = zol::CTime(30000000);  // for one exchange with a client
    bool waitForClock = false;                    // it is not right before somebody says so
    bool logToTerminal = false;
};

/**
 * Reads the command line.
 *
 * @return -1 to go on; else the exit status, with the help or a complaint printed
 */
int readOptions(int argc, char** argv, Options& options);

}  // namespace gardend

#endif
