// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_OPEN_FDS_H
#define TESTS_SUPPORT_OPEN_FDS_H

#include <dirent.h>

// How many descriptors the process has open; the one that counts not counted.
inline int openFds() {
    DIR* const dir = opendir("/proc/self/fd");
    int count = -3;  // ".", "..", and the directory itself
    while (dir != nullptr && readdir(dir) != nullptr) {
        ++count;
    }
    closedir(dir);
    return count;
}

#endif
