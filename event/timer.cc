// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/timer.h"

#include <new>
#include <stddef.h>

namespace zol {

// --- the timers of one period ---

CTimerGroup::CTimerGroup(const CTime& period) : m_period(period) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // well defined by the C++ ABI
    static_assert(sizeof(void*) != 4 || (offsetof(CTimerGroup, m_event) == 4 &&
                                         offsetof(CTimerGroup, m_period) >= 20),
                  "32-bit layout");
    static_assert(offsetof(CTimerGroup, m_members) == offsetof(CTimerGroup, m_period) + 8);
#pragma GCC diagnostic pop
}

CTimerGroup::~CTimerGroup() {
    (void)m_event.reset();  // before the members go; it is closed in every case
}

bool CTimerGroup::start(evlp_thread_str* thread) {
    return m_event.set(thread, this, -1, 0, CEvent::kDefaultPriority) != 0 &&
           m_event.add(m_period) == 0;
}

int CTimerGroup::onEvent(int fd, short events, CEvent* event) {
    // First, so that the period does not depend on how long the members take. It was armed
    // before, and what was armed can be armed again.
    (void)m_event.add(m_period);
    // Counted afresh, because members may remove themselves and others.
    for (int i = 0; i < m_members.getCount(); ++i) {
        (void)m_members[i]->getCallback()->onEvent(fd, events, event);
    }
    return 0;
}

int CTimerGroup::indexOf(const CTimer& timer) const {
    CTimer* const* const end = m_members.end();
    for (CTimer* const* member = m_members.begin(); member != end; ++member) {
        if (*member == &timer) {
            return static_cast<int>(member - m_members.begin());
        }
    }
    return -1;
}

// --- all groups of the process ---

CTab<CTimerGroup*, 8, xtabh_s>* CTimerHandler::m_pInstance = nullptr;

// Null when there is no memory.
CTab<CTimerGroup*, 8, xtabh_s>* CTimerHandler::groups() {
    if (m_pInstance == nullptr) {
        m_pInstance = new (std::nothrow) CTab<CTimerGroup*, 8, xtabh_s>;
    }
    return m_pInstance;
}

void CTimerHandler::add(evlp_thread_str* thread, const CTimer& timer) {
    CTab<CTimerGroup*, 8, xtabh_s>* const table = groups();
    if (table == nullptr) {
        return;
    }
    // The tables hold plain pointers, but nothing is ever changed through them.
    auto* const member = const_cast<CTimer*>(&timer);
    for (CTimerGroup* const group : *table) {
        if (group->m_period == timer.getPeriod()) {
            (void)group->m_members.append(member);
            return;
        }
    }
    auto* const group = new (std::nothrow) CTimerGroup(timer.getPeriod());
    if (group == nullptr) {
        return;
    }
    // A group that does not tick is not kept: it would swallow every later timer of its period.
    if (group->m_members.append(member) < 0 || !group->start(thread) || table->append(group) < 0) {
        delete group;
    }
}

void CTimerHandler::remove(const CTimer& timer) {
    CTab<CTimerGroup*, 8, xtabh_s>* const table = groups();
    if (table == nullptr) {
        return;
    }
    for (int g = 0; g < table->getCount(); ++g) {
        CTimerGroup* const group = (*table)[g];
        const int member = group->m_period == timer.getPeriod() ? group->indexOf(timer) : -1;
        if (member < 0) {
            continue;
        }
        (void)group->m_members.remove(member);
        if (group->m_members.isEmpty()) {
            (void)table->remove(g);
            delete group;
        }
        return;
    }
}

}  // namespace zol
