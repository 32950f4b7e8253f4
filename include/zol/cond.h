/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_COND_H
#define ZOL_COND_H

/**
 * @file zol/cond.h
 * Conditions: records that can be asked whether they hold, and NOT, AND and OR of them.
 *
 * The leaves are the application's: records that begin with an xcond.
 *
 *     struct drier { xcond cond; int permille; };
 *     static int isDrier(const xcond* c, void* soil) {
 *         return ((struct soil*)soil)->permille < ((const struct drier*)c)->permille;
 *     }
 *     struct drier dry = {{isDrier, NULL}, 300};
 *     xnotcond moist = {xnotcond_def, &dry.cond};
 *     if (moist.cond.check(&moist.cond, &soil)) { ... }
 *
 * A tree is cleaned from its top, through the clean operation of each condition, once. What the
 * `_def` combinators are made of belongs to the application; the `_dyndef` ones are allocated with
 * malloc(3) and free themselves when they are cleaned. Arrays of children are never freed.
 *
 * Pointers to conditions are never null, but for those of children, see below. Nothing fails,
 * nothing is logged, any thread.
 */

#include "zol/export.h"

ZOL_BEGIN_DECLS

/** A condition, or a kind of them; see below. */
typedef struct xcond xcond;

/** The head of every condition, and what describes a kind of them: copied into the head. */
struct xcond {
    /** Whether the condition holds: not 0 for true. Null in a condition that decides nothing.
     *  @param argument  the application's, handed to all conditions of a tree as it is */
    int (*check)(const xcond* condition, void* argument);
    /** Gives up what the condition owns; null when that is nothing. */
    void (*clean)(xcond* condition);
};

/** Holds when its child does not. */
typedef struct xnotcond {
    xcond cond;   /**< its kind; the first field */
    xcond* child; /**< null is like a child without operations */
} xnotcond;

/** AND or OR, as its head says. */
typedef struct xmulticond {
    xcond cond;       /**< its kind; the first field */
    xcond** children; /**< ended by a null pointer; null is like an array without children */
} xmulticond;

/** @{ */
/** What is copied into the heads: the caller's storage (_def), or the heap (_dyndef). */
ZOL_API extern const xcond xnotcond_def;
ZOL_API extern const xcond xnotcond_dyndef;
ZOL_API extern const xcond xandcond_def;
ZOL_API extern const xcond xandcond_dyndef;
ZOL_API extern const xcond xorcond_def;
ZOL_API extern const xcond xorcond_dyndef;
/** @} */

/** @return 1 when the child's check answers 0, else 0; 0 for a child without a check */
ZOL_API int xnotcond_check(const xcond* condition, void* argument);

/** Asks the children in turn up to the first that does not hold. @return 1 when there is none,
 *  else 0; a child without a check is skipped, and so counts as true */
ZOL_API int xandcond_check(const xcond* condition, void* argument);

/** Asks the children in turn up to the first that holds. @return 1 when there is one, else 0; a
 *  child without a check counts as true */
ZOL_API int xorcond_check(const xcond* condition, void* argument);

/** Cleans the child. */
ZOL_API void xnotcond_clean(xcond* condition);

/** Cleans the children in turn. */
ZOL_API void xmulticond_clean(xcond* condition);

/** Calls free(3): the clean operation of leaves on the heap that own nothing else. */
ZOL_API void xdefcond_clean(xcond* condition);

/** xnotcond_clean(), then xdefcond_clean(). */
ZOL_API void xnotcond_dynclean(xcond* condition);

/** xmulticond_clean(), then xdefcond_clean(). */
ZOL_API void xmulticond_dynclean(xcond* condition);

ZOL_END_DECLS

#endif
