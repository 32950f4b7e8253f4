// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/cond.h"

#include <stddef.h>
#include <stdlib.h>

namespace {

// The child of a NOT; null when there is none.
xcond* childOf(const xcond* condition) {
    return reinterpret_cast<const xnotcond*>(condition)->child;
}

// The children of an AND or OR, up to a null pointer.
xcond* const* childrenOf(const xcond* condition) {
    static xcond* const none = nullptr;
    xcond* const* const children = reinterpret_cast<const xmulticond*>(condition)->children;
    return children != nullptr ? children : &none;
}

void clean(xcond* condition) {
    if (condition != nullptr && condition->clean != nullptr) {
        condition->clean(condition);
    }
}

static_assert(offsetof(xcond, check) == 0 && offsetof(xcond, clean) == sizeof(void*) &&
                  sizeof(xcond) == 2 * sizeof(void*),
              "a condition begins with its operations");
static_assert(offsetof(xnotcond, child) == sizeof(xcond) &&
                  offsetof(xmulticond, children) == sizeof(xcond),
              "one word follows the operations");

}  // namespace

const xcond xnotcond_def = {xnotcond_check, xnotcond_clean};
const xcond xnotcond_dyndef = {xnotcond_check, xnotcond_dynclean};
const xcond xandcond_def = {xandcond_check, xmulticond_clean};
const xcond xandcond_dyndef = {xandcond_check, xmulticond_dynclean};
const xcond xorcond_def = {xorcond_check, xmulticond_clean};
const xcond xorcond_dyndef = {xorcond_check, xmulticond_dynclean};

int xnotcond_check(const xcond* condition, void* argument) {
    const xcond* const child = childOf(condition);
    if (child == nullptr || child->check == nullptr) {
        return 0;
    }
    return child->check(child, argument) == 0 ? 1 : 0;
}

int xandcond_check(const xcond* condition, void* argument) {
    for (xcond* const* child = childrenOf(condition); *child != nullptr; ++child) {
        if ((*child)->check != nullptr && (*child)->check(*child, argument) == 0) {
            return 0;
        }
    }
    return 1;
}

int xorcond_check(const xcond* condition, void* argument) {
    for (xcond* const* child = childrenOf(condition); *child != nullptr; ++child) {
        // Deliberate: a child without a check counts as true here, while AND skips it. Pinned by
        // OrCondition.AChildWithoutACheckIsTrue.
        if ((*child)->check == nullptr || (*child)->check(*child, argument) != 0) {
            return 1;
        }
    }
    return 0;
}

void xnotcond_clean(xcond* condition) {
    clean(childOf(condition));
}

void xmulticond_clean(xcond* condition) {
    for (xcond* const* child = childrenOf(condition); *child != nullptr; ++child) {
        clean(*child);
    }
}

void xdefcond_clean(xcond* condition) {
    free(condition);
}

void xnotcond_dynclean(xcond* condition) {
    xnotcond_clean(condition);
    xdefcond_clean(condition);
}

void xmulticond_dynclean(xcond* condition) {
    xmulticond_clean(condition);
    xdefcond_clean(condition);
}
