// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CORE_DIAG_H
#define CORE_DIAG_H

// How the library reports: the one road to the system log. Each line begins with the reporting
// function's name and line number; the texts are part of the library's interface.

#include <syslog.h>

// Reports a text with printf arguments; DIAG one without.
#define DIAGF(priority, text, ...) \
    syslog(priority, " %s(%d): " text, __func__, __LINE__, __VA_ARGS__)
#define DIAG(priority, text) syslog(priority, " %s(%d): " text, __func__, __LINE__)

#endif
