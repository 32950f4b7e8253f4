// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CHILD_H
#define GARDEND_CHILD_H

#include <sys/wait.h>

#include "zol/process.h"

#include "text.h"

namespace gardend {

// For what gardend starts: scripts read its standard output, and its terminal is its own. What
// leads a session leads a process group, too, which a signal reaches as a whole.
constexpr int kChildFlags = XEXEC_NEW_SESSION | XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT;

/** @return in one word how a child has ended: "0" to "255", "signal-15", or "lost" */
inline CShort describeStatus(int status) {
    if (status == XEXEC_STATUS_LOST) {
        return CShort("lost");
    }
    return WIFEXITED(status) ? CShort("%d", WEXITSTATUS(status))
                             : CShort("signal-%d", WTERMSIG(status));
}

}  // namespace gardend

#endif
