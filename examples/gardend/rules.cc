// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Each node of a tree is one block of malloc(3) that begins with its xcond, and that its clean
// operation frees. That of AND and OR holds its array of children, too: an array belongs to the
// application, and goes with the block.
#include "rules.h"

#include <new>
#include <stdlib.h>
#include <string.h>

namespace gardend {

namespace {

const Term kNoTerm = {nullptr, 0, 0};

struct MoistureLeaf {
    xcond cond;
    bool below;
    int permille;
    char zone[kMaxName + 1];
};

struct PeriodLeaf {
    xcond cond;
    int from;  // minutes of the day
    int to;
};

struct DaysLeaf {
    xcond cond;
    uint8_t days;
};

struct ValveLeaf {
    xcond cond;
    char zone[kMaxName + 1];
};

struct Reference {
    xcond cond;
    const xcond* rule;
};

struct Pair {
    xmulticond multi;
    xcond* children[3];
};

template <class Node>
const Node& as(const xcond* condition) {
    return *reinterpret_cast<const Node*>(condition);
}

const Moment& momentOf(void* argument) {
    return *static_cast<const Moment*>(argument);
}

int isAsMoist(const xcond* condition, void* argument) {
    const auto& leaf = as<MoistureLeaf>(condition);
    const Moment& moment = momentOf(argument);
    const CZone* const zone =
        leaf.zone[0] == '\0' ? &moment.zone : moment.garden.findZone(leaf.zone);
    if (zone == nullptr) {
        return 0;
    }
    const int moisture = zone->getMoisturePermille();
    return leaf.below ? moisture < leaf.permille : moisture > leaf.permille;
}

int isInPeriod(const xcond* condition, void* argument) {
    const auto& leaf = as<PeriodLeaf>(condition);
    const tm& now = momentOf(argument).now;
    const int minute = now.tm_hour * 60 + now.tm_min;
    const bool hasBegun = minute >= leaf.from;
    const bool hasNotEnded = minute < leaf.to;
    return leaf.from < leaf.to ? hasBegun && hasNotEnded : hasBegun || hasNotEnded;
}

int isOnDay(const xcond* condition, void* argument) {
    return as<DaysLeaf>(condition).days >> momentOf(argument).now.tm_wday & 1;
}

int isValveOpen(const xcond* condition, void* argument) {
    const CZone* const zone = momentOf(argument).garden.findZone(as<ValveLeaf>(condition).zone);
    return zone != nullptr && zone->isOpen() ? 1 : 0;
}

int isAsTheRuleSays(const xcond* condition, void* argument) {
    const xcond* const rule = as<Reference>(condition).rule;
    return rule->check(rule, argument);
}

/** @return a zeroed node; null when there is no memory */
template <class Node>
Node* make(const xcond& kind) {
    void* const block = calloc(1, sizeof(Node));
    Node* const node = block == nullptr ? nullptr : new (block) Node();
    if (node != nullptr) {
        *reinterpret_cast<xcond*>(node) = kind;
    }
    return node;
}

template <class Node>
Term leafOf(Node* node) {
    return {reinterpret_cast<xcond*>(node), 1, 1};
}

void copyName(const char* name, char (&copy)[kMaxName + 1]) {
    strncpy(copy, name, kMaxName);  // names are not longer; the last byte is 0
}

Term makePair(const Term& one, const Term& other, const xcond& kind) {
    const bool isWhole = one.tree != nullptr && other.tree != nullptr;
    Pair* const pair = isWhole ? make<Pair>(kind) : nullptr;
    if (pair == nullptr) {
        clean(one);
        clean(other);
        return kNoTerm;
    }
    pair->children[0] = one.tree;
    pair->children[1] = other.tree;
    pair->multi.children = pair->children;
    const int depth = one.depth > other.depth ? one.depth : other.depth;
    return {&pair->multi.cond, depth + 1, one.leaves + other.leaves};
}

}  // namespace

Term makeMoisture(const char* zone, bool below, int percent) {
    auto* const leaf = make<MoistureLeaf>({isAsMoist, xdefcond_clean});
    if (leaf != nullptr) {
        leaf->below = below;
        leaf->permille = percent * 10;
        copyName(zone, leaf->zone);
    }
    return leafOf(leaf);
}

Term makePeriod(int fromMinute, int toMinute) {
    auto* const leaf = make<PeriodLeaf>({isInPeriod, xdefcond_clean});
    if (leaf != nullptr) {
        leaf->from = fromMinute;
        leaf->to = toMinute;
    }
    return leafOf(leaf);
}

Term makeDays(uint8_t days) {
    auto* const leaf = make<DaysLeaf>({isOnDay, xdefcond_clean});
    if (leaf != nullptr) {
        leaf->days = days;
    }
    return leafOf(leaf);
}

Term makeValve(const char* zone) {
    auto* const leaf = make<ValveLeaf>({isValveOpen, xdefcond_clean});
    if (leaf != nullptr) {
        copyName(zone, leaf->zone);
    }
    return leafOf(leaf);
}

Term makeReference(const Term& rule) {
    auto* const reference =
        rule.tree == nullptr ? nullptr : make<Reference>({isAsTheRuleSays, xdefcond_clean});
    if (reference == nullptr) {
        return kNoTerm;
    }
    reference->rule = rule.tree;
    return {&reference->cond, rule.depth + 1, rule.leaves};
}

Term makeNot(const Term& term) {
    auto* const node = term.tree == nullptr ? nullptr : make<xnotcond>(xnotcond_dyndef);
    if (node == nullptr) {
        clean(term);
        return kNoTerm;
    }
    node->child = term.tree;
    return {&node->cond, term.depth + 1, term.leaves};
}

Term makeAnd(const Term& one, const Term& other) {
    return makePair(one, other, xandcond_dyndef);
}

Term makeOr(const Term& one, const Term& other) {
    return makePair(one, other, xorcond_dyndef);
}

void clean(const Term& term) {
    if (term.tree != nullptr) {
        term.tree->clean(term.tree);
    }
}

CRules::~CRules() {
    for (const Rule& rule : m_rules) {
        clean(rule.term);
    }
    for (const Rule& rule : m_guards) {
        clean(rule.term);
    }
}

bool CRules::append(zol::CTab<Rule>& rules, const zol::CStr& name, const Term& term) {
    if (rules.append({name, term}) < 0) {
        clean(term);
        return false;
    }
    return true;
}

const CRules::Rule* CRules::find(const zol::CTab<Rule>& rules, const char* name) {
    for (const Rule& rule : rules) {
        if (rule.name == name) {
            return &rule;
        }
    }
    return nullptr;
}

bool CRules::add(const zol::CStr& name, const Term& term) {
    return append(m_rules, name, term);
}

const Term* CRules::find(const char* name) const {
    const Rule* const rule = find(m_rules, name);
    return rule == nullptr ? nullptr : &rule->term;
}

bool CRules::guard(const zol::CStr& zone, const Term& term) {
    return append(m_guards, zone, term);
}

bool CRules::isGuarded(const char* zone) const {
    return find(m_guards, zone) != nullptr;
}

bool CRules::allow(const Moment& moment) const {
    const Rule* const guard = find(m_guards, moment.zone.getName());
    if (guard == nullptr || guard->term.tree == nullptr) {
        return true;
    }
    Moment argument = moment;
    const xcond* const tree = guard->term.tree;
    return tree->check(tree, &argument) != 0;
}

}  // namespace gardend
