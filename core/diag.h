// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CORE_DIAG_H
#define CORE_DIAG_H

// How the library reports: the one road to the system log. Each line begins with the reporting
// function's name and line number; the texts are part of the library's interface.

#include <errno.h>
#include <syslog.h>

// Reports a text with printf arguments; DIAG one without. Neither touches errno.
#define DIAGF(priority, text, ...) \
    DIAG_KEEPING_ERRNO(syslog(priority, " %s(%d): " text, __func__, __LINE__, __VA_ARGS__))
#define DIAG(priority, text) \
    DIAG_KEEPING_ERRNO(syslog(priority, " %s(%d): " text, __func__, __LINE__))

#define DIAG_KEEPING_ERRNO(call)  \
    do {                          \
        const int error_ = errno; \
        call;                     \
        errno = error_;           \
    } while (0)

#endif
