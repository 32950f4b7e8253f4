/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_LOG_H
#define ZOL_LOG_H

/**
 * @file zol/log.h
 * The library reports through syslog(3): errors at priority 3, notices at 5, information at 6,
 * details at 7. Almost every line begins with " function(line): ". The application chooses
 * ident, facility and filter with openlog(3) and setlogmask(3).
 */

#include "zol/export.h"

ZOL_BEGIN_DECLS

/** Does nothing; kept for programs that call it. Use openlog(3). */
ZOL_API void xlog_set_name(const char* name);

/** Does nothing; kept for programs that call it. Use setlogmask(3). */
ZOL_API void xlog_level_filter(int level);

ZOL_END_DECLS

#endif
