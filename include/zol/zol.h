/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_ZOL_H
#define ZOL_ZOL_H

/**
 * @file zol/zol.h
 * All of the library's headers.
 */

#include "zol/alloc.h"
#include "zol/buffer.h"
#include "zol/cat.h"
#include "zol/cond.h"
#include "zol/digest.h"
#include "zol/event.h"
#include "zol/export.h"
#include "zol/file.h"
#include "zol/list.h"
#include "zol/log.h"
#include "zol/lyctx.h"
#include "zol/plugin.h"
#include "zol/process.h"
#include "zol/sbuf.h"
#include "zol/sched.h"
#include "zol/server.h"
#include "zol/sock.h"
#include "zol/str.h"
#include "zol/tab.h"
#include "zol/time.h"
#include "zol/timer.h"
#include "zol/version.h"

#endif
