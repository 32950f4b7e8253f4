// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_RULES_H
#define GARDEND_RULES_H

#include <stdint.h>
#include <time.h>

#include "zol/cond.h"
#include "zol/str.h"
#include "zol/tab.h"

#include "garden.h"
#include "settings.h"

namespace gardend {

/** What rules look at: the argument of all their checks. */
struct Moment {
    const CGarden& garden;
    const CZone& zone;  // that is to be watered
    tm now;             // local time
};

/**
 * A condition that is being put together, and owned by whoever holds it. A null one is what is made
 * without memory, or of a null one: so only the last one needs a check.
 */
struct Term {
    xcond* tree;
    int depth;   // of the tree, with those of the rules that it refers to
    int leaves;  // that a check may look at, as well
};

// Bounds of the time and of the stack that a check takes, whoever writes the rules.
constexpr int kMaxDepth = 32;
constexpr int kMaxLeaves = 256;

/** Above or below: how moist a zone is. @param zone  "": that which is to be watered */
Term makeMoisture(const char* zone, bool below, int percent);

/** From one minute of the day up to, and without, another; over midnight when that is earlier. */
Term makePeriod(int fromMinute, int toMinute);

/** @param days  ZOL_SUNDAY to ZOL_SATURDAY, or-ed */
Term makeDays(uint8_t days);

/** Whether the valve of a zone is open. */
Term makeValve(const char* zone);

/** What another one says, which stays where it is and must live longer. */
Term makeReference(const Term& rule);

// These take the terms over, also where they fail.
Term makeNot(const Term& term);
Term makeAnd(const Term& one, const Term& other);
Term makeOr(const Term& one, const Term& other);

/** Gives a term up. */
void clean(const Term& term);

/** Rules by their names, and which zone waits for which. */
class CRules {
  public:
    CRules() = default;
    ~CRules();
    CRules(const CRules&) = delete;
    CRules& operator=(const CRules&) = delete;

    /** Takes a term over, in each case. @return false when there is no memory */
    bool add(const zol::CStr& name, const Term& term);

    /** @return null when there is none of that name; good until the next call of add() */
    const Term* find(const char* name) const;

    /** The zone is watered only when the term holds, which is taken over in each case.
     *  @return false when there is no memory */
    bool guard(const zol::CStr& zone, const Term& term);

    bool isGuarded(const char* zone) const;

    /** @return whether the zone of the moment may be watered */
    bool allow(const Moment& moment) const;

  private:
    struct Rule {
        zol::CStr name;  // of the rule, or of the zone
        Term term;
    };

    static bool append(zol::CTab<Rule>& rules, const zol::CStr& name, const Term& term);
    static const Rule* find(const zol::CTab<Rule>& rules, const char* name);

    zol::CTab<Rule> m_rules;
    zol::CTab<Rule> m_guards;
};

}  // namespace gardend

#endif
