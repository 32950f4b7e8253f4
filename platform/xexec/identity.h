/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef XEXEC_IDENTITY_H
#define XEXEC_IDENTITY_H

#include <sys/types.h>

#include "xexec/xexec.h"

namespace xexec {

/** Who a child is to be. Zero: whoever its parent is. */
struct Identity {
    bool differs; /**< from what the parent is */
    uid_t user;
    gid_t group;
    int groupCount;
    gid_t* groups; /**< supplementary ones, from malloc(3) */
};

/**
 * Looks the names of the record up.
 *
 * @return 0; EINVAL for a name that nobody has; or why there is no telling. `identity` is zero then
 */
int findIdentity(const xexec_s& record, Identity& identity);

}  // namespace xexec

#endif
