// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Who wants to be called, and when: the list of users, and one list of schedules for each weekday,
// in the order of their times. A schedule of several days is an element of several lists.

#include <new>
#include <stddef.h>

#include "zol/sched.h"

#include "core/diag.h"

namespace zol {

namespace {

using Element = CSimpleListElem<CSchedulableEvent>;

constexpr int kDays = 7;

// Deliberate: short and long names. Pinned by AddSchedule.LogsTheDaysFromSundayToSaturday.
constexpr const char* kDayNames[kDays] = {"sunday", "mon", "tue", "wed", "thu", "fri", "saturday"};

bool includes(const sched_info_t& info, int day) {
    return (info.days >> day & 1) != 0;
}

void freeAll(Element* element) {
    while (element != nullptr) {
        Element* const next = element->next;
        delete element;
        element = next;
    }
}

}  // namespace

IScheduleClient::~IScheduleClient() = default;

CScheduleHandler::CScheduleHandler(evlp_thread_str* thread)
    : m_thread(thread),
      m_users(nullptr),
      m_days(),
      m_timer(nullptr),
      m_current(nullptr),
      m_hasSeenClock(0) {
    static_assert(sizeof(sched_info_t) == 12 && offsetof(sched_info_t, days) == 0 &&
                  offsetof(sched_info_t, hour) == 1 && offsetof(sched_info_t, minute) == 2);
    static_assert(sizeof(void*) != 4 || (sizeof(sched_user_s) == 8 &&
                                         sizeof(CSchedulableEvent) == 16 && sizeof(Element) == 20));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // well defined by the C++ ABI
    static_assert(sizeof(void*) != 4 || (offsetof(CScheduleHandler, m_thread) == 8 &&
                                         offsetof(CScheduleHandler, m_users) == 12 &&
                                         offsetof(CScheduleHandler, m_days) == 16 &&
                                         offsetof(CScheduleHandler, m_timer) == 44 &&
                                         offsetof(CScheduleHandler, m_current) == 48 &&
                                         offsetof(CScheduleHandler, m_hasSeenClock) == 52 &&
                                         sizeof(CScheduleHandler) == 56),
                  "32-bit layout");
#pragma GCC diagnostic pop
}

CScheduleHandler::~CScheduleHandler() {
    DIAG(LOG_INFO, "~CScheduleHandler");
    while (m_users != nullptr) {
        User* const next = m_users->next;
        delete m_users;
        m_users = next;
    }
    for (int day = kDays - 1; day >= 0; --day) {
        freeAll(m_days[day]);
    }
}

// --- users ---

sched_user_s* CScheduleHandler::createUser(IScheduleClient* client, void* context) {
    auto* const user = new (std::nothrow) User{{client, context}, nullptr, false};
    if (user == nullptr) {
        return nullptr;
    }
    User** end = &m_users;
    while (*end != nullptr) {
        end = &(*end)->next;
    }
    *end = user;
    DIAGF(LOG_INFO, "added user %p", static_cast<void*>(&user->record));
    return &user->record;
}

int CScheduleHandler::delUser(sched_user_s* user) {
    (void)stop();
    DIAGF(LOG_INFO, "del user %p", static_cast<void*>(user));
    for (User** link = &m_users; *link != nullptr; link = &(*link)->next) {
        User* const found = *link;
        if (&found->record == user) {
            *link = found->next;
            orphanSchedules(user);
            delete found;
            return 0;
        }
    }
    DIAG(LOG_INFO, "can't delete unknown user");
    return -1;
}

bool CScheduleHandler::isRegistered(const sched_user_s* user) const {
    for (const User* each = m_users; each != nullptr; each = each->next) {
        if (&each->record == user) {
            return true;
        }
    }
    return false;
}

// Its memory may become another user, who has nothing to do with them.
void CScheduleHandler::orphanSchedules(const sched_user_s* user) {
    for (Element* element : m_days) {
        for (; element != nullptr; element = element->next) {
            if (element->value.user == user) {
                element->value.user = nullptr;
            }
        }
    }
}

// --- schedules ---

int CScheduleHandler::addSchedule(sched_user_s* user, sched_info_t info) {
    (void)stop();
    DIAGF(LOG_INFO, "add schedule days=%d", info.days);
    const CSchedulableEvent event = {info, isRegistered(user) ? user : nullptr};
    // All elements are made before the first is inserted: memory may not last for every day.
    Element* made = nullptr;
    for (int day = 0; day != kDays; ++day) {
        if (!includes(info, day)) {
            continue;
        }
        auto* const element = new (std::nothrow) Element{event, made};
        if (element == nullptr) {
            freeAll(made);
            return -1;
        }
        made = element;
    }
    for (int day = 0; day != kDays; ++day) {
        if (includes(info, day)) {
            DIAGF(LOG_INFO, "adding element in %s list", kDayNames[day]);
            Element* const element = made;
            made = made->next;
            insert(m_days[day], element);
        }
    }
    return 0;
}

// Behind all of the same time: they are called in the order in which they were added.
void CScheduleHandler::insert(Element*& head, Element* element) {
    Element** link = &head;
    while (*link != nullptr && compare((*link)->value, element->value) <= 0) {
        link = &(*link)->next;
    }
    element->next = *link;
    *link = element;
}

// Deliberate: withdrawn elements are not freed. A client that withdraws its schedules while it is
// called is on a walk that goes on from the withdrawn element, along the link that it keeps.
// Pinned by AllocFaults.WithdrawnSchedulesKeepTheirMemory.
int CScheduleHandler::delSchedules(sched_user_s* user) {
    (void)stop();
    // Of one who is not registered (any more): what was left behind.
    const sched_user_s* const owner = isRegistered(user) ? user : nullptr;
    for (Element*& head : m_days) {
        Element** link = &head;
        while (*link != nullptr) {
            Element* const element = *link;
            if (element->value.user == owner) {
                *link = element->next;
                element->value.user = nullptr;  // nobody is called, should a walk come along
            } else {
                link = &element->next;
            }
        }
    }
    return 0;
}

int CScheduleHandler::compare(CSchedulableEvent a, CSchedulableEvent b) {
    if (a.info.hour != b.info.hour) {
        return a.info.hour < b.info.hour ? -1 : 1;
    }
    if (a.info.minute != b.info.minute) {
        return a.info.minute < b.info.minute ? -1 : 1;
    }
    return 0;
}

}  // namespace zol
