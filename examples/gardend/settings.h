// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_SETTINGS_H
#define GARDEND_SETTINGS_H

#include <stdint.h>

#include "zol/str.h"
#include "zol/tab.h"
#include "zol/time.h"

#include "jobs.h"
#include "text.h"

namespace gardend {

/** Where the status page is served; host byte order. */
struct ListenAddress {
    uint32_t address = 0;
    uint16_t port = 0;  // 0: the system chooses
};

inline bool operator==(const ListenAddress& one, const ListenAddress& other) {
    return one.address == other.address && one.port == other.port;
}

/** @return "127.0.0.1:8080" */
CShort describe(const ListenAddress& address);

/**
 * What both the command line and the configuration file may say, and the file alone in its last
 * part. What is empty, undefined or false is left to the next one that is asked.
 */
struct Settings {
    zol::CTab<ListenAddress> listen;
    zol::CStr controlPath;
    // Patterns of their paths, see zol/cat.h and zol/plugin.h; empty: where this program has them.
    zol::CStr catalogs;
    zol::CStr drivers;
    zol::CStr hook;  // a program
    zol::CTab<JobWish> jobs;
    zol::CStr jobUser;  // of jobs and of the hook; empty: that of gardend
    zol::CTime tick = zol::CTime::undefined;
    zol::CTime samplePeriod = zol::CTime::undefined;
    zol::CTime timeLimit = zol::CTime::undefined;  // for one exchange with a client
    bool waitForClock = false;                     // it is not right before somebody says so

    zol::CStr stateFile;
    zol::CStr logFolder;

    /** Takes from others what is missing here, and jobs of other names.
     *  @return false when there is no memory */
    bool complete(const Settings& others);
};

/** @return what holds where nobody says anything */
Settings defaultSettings();

/** Compares what can change only with the next start. @return the name of the difference number
 *  `nth`, from 0 on; null when there are no more */
const char* findFixedDifference(const Settings& one, const Settings& other, int nth);

// What both have to check. Those that read answer false, and change nothing, for what is no good.

/** Reads "127.0.0.1:8080". */
bool readListenAddress(const char* text, ListenAddress& address);

/** @return whether it fits into the system's record of a socket path */
bool isSocketPath(const char* path);

constexpr int kMaxListeners = 8;

constexpr int kMaxName = 31;  // bytes

/** @return whether it is a word of ASCII letters, digits, "-" and "_", and not too long: names of
 *  jobs are words of the control protocol */
bool isJobName(const char* name);

/** @return what is wrong with this user for jobs and the hook; null: nothing */
const char* findFaultOfUser(const char* name);

/** @return the index of the job of that name; -1 when there is none */
int indexOfJob(const zol::CTab<JobWish>& jobs, const zol::CStr& name);

}  // namespace gardend

#endif
