// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "measure.h"

#include <limits.h>
#include <sys/resource.h>

int bench::raiseDescriptorLimit() {
    rlimit limit = {};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);  // where it fails, the old limit is read below
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur > INT_MAX ? INT_MAX : static_cast<int>(limit.rlim_cur);
}
