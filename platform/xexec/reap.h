/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef XEXEC_REAP_H
#define XEXEC_REAP_H

#include <sys/types.h>

#include "xexec/xexec.h"

namespace xexec {

/** waitpid(2) until the child has ended. @return its wait status, or XEXEC_STATUS_LOST */
int waitForEnd(pid_t pid);

/** @return what is to watch a child; null without memory */
xexec_child* newChild();

/** Releases what newChild() gave, where it came to nothing. */
void deleteChild(xexec_child* child);

/**
 * Has the record's loop watch a process that has been started. From now on `child` belongs to the
 * record and the loop.
 *
 * @return 0; or why it cannot be watched
 */
int watchChild(xexec_child* child, xexec_s* record, pid_t pid);

}  // namespace xexec

#endif
