// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The daily cycle. One timer waits for one thing at a time: for the clock to become right (a look
// once a minute), for the next schedule of today, or for midnight, where the walk begins again at
// the head of the new day's list. When it fires, all schedules whose time has come are called, in
// the order of the list, and the timer is armed for the one after them.
//
// All times are differences of wall-clock readings. On a day when the clocks change a timer may
// therefore fire at the wrong minute: too early, it finds nothing due and looks again; too late, it
// calls late. docs/scheduling.md tells what that means for each kind of schedule.

#include <new>
#include <time.h>

#include "zol/sched.h"

#include "core/diag.h"

namespace zol {

namespace {

constexpr int kSecondsPerMinute = 60;
constexpr int kSecondsPerHour = 60 * kSecondsPerMinute;
constexpr int kSecondsPerDay = 24 * kSecondsPerHour;
constexpr int kSecondsPerWeek = 7 * kSecondsPerDay;
constexpr int64_t kMicrosecondsPerSecond = 1000000;

}  // namespace

// --- the clock ---

tm CScheduleHandler::getLocalTime() {
    const time_t now = time(nullptr);
    tm result = {};
    const tm* const local = localtime(&now);  // null for years that do not fit into an int
    if (local != nullptr) {
        result = *local;
    }
    return result;
}

int CScheduleHandler::tmToWDay(tm time) {
    return time.tm_wday >= 0 && time.tm_wday < 7 ? 1 << time.tm_wday : 0;
}

int CScheduleHandler::hasExpired(CSchedulableEvent& event) {
    const tm now = getLocalTime();
    const sched_info_t& info = event.info;
    // Not of today: its day is over.
    if ((tmToWDay(now) & info.days) == 0) {
        return 1;
    }
    if (info.hour != now.tm_hour) {
        return info.hour < now.tm_hour ? 1 : 0;
    }
    return info.minute <= now.tm_min ? 1 : 0;
}

int CScheduleHandler::getDelay(tm now, unsigned day, unsigned hour, unsigned minute) {
    int delay = (static_cast<int>(minute) - now.tm_min) * kSecondsPerMinute - now.tm_sec +
                (static_cast<int>(hour) - now.tm_hour) * kSecondsPerHour +
                (static_cast<int>(day) - now.tm_wday) * kSecondsPerDay;
    while (delay < 0) {
        delay += kSecondsPerWeek;
    }
    while (delay >= kSecondsPerWeek) {
        delay -= kSecondsPerWeek;
    }
    // Deliberate: no comma before the seconds. Pinned by GetDelay.LogsBothTimesAndTheDelay.
    DIAGF(LOG_INFO, "between d:%d,h:%d,m:%ds:%d and d:%d,h:%d,m:%d, there's a delay=%d",
          now.tm_wday, now.tm_hour, now.tm_min, now.tm_sec, static_cast<int>(day),
          static_cast<int>(hour), static_cast<int>(minute), delay);
    return delay;
}

// --- start and stop ---

int CScheduleHandler::start() {
    DIAG(LOG_INFO, "start");
    return scheduleNextEventToday(nullptr);
}

int CScheduleHandler::stop() {
    if (m_timer != nullptr) {
        (void)m_timer->remove();
        delete m_timer;
        m_timer = nullptr;
    }
    m_current = nullptr;
    return 0;
}

int CScheduleHandler::arm(int delaySeconds) {
    if (m_timer == nullptr) {
        m_timer = new (std::nothrow) Timer(this, &CScheduleHandler::scheduleEventTimeout, nullptr);
        if (m_timer == nullptr) {
            return -1;
        }
        if (m_timer->open(m_thread) == 0) {
            (void)stop();  // not a timer that never fires: the next start may get one
            return 0;
        }
    }
    m_timer->setArgument(m_timer);
    (void)m_timer->add(CTime(delaySeconds * kMicrosecondsPerSecond));
    return 0;
}

// --- what comes next ---

int CScheduleHandler::scheduleNextEventToday(CSimpleListElem<CSchedulableEvent>* previous) {
    DIAG(LOG_INFO, "scheduleNextEventToday");
    const tm now = getLocalTime();
    m_current = nullptr;
    if (CTime::synchronized == 0) {
        DIAG(LOG_INFO, "do nothing while no ntp synchro");
        return arm(kSecondsPerMinute);
    }
    if (m_hasSeenClock == 0) {
        DIAG(LOG_INFO, "got first synchro");
        // Before the calls: a client may start the handler in its own.
        m_hasSeenClock = 1;
        (void)callInitialEvents();
        m_current = nullptr;
    }

    const unsigned today = static_cast<unsigned>(now.tm_wday);
    Element* const head = m_days[today];
    for (Element* element = previous == nullptr ? head : following(previous, head);
         element != nullptr; element = element->next) {
        const sched_info_t& info = element->value.info;
        const int delay = getDelay(now, today, info.hour, info.minute);
        if (delay < kSecondsPerDay) {
            m_current = element;
            DIAGF(LOG_INFO, "next event today is in %d secs", delay);
            return arm(delay);
        }
        // Deliberate: after a call only one element is looked at, the next in the order of times.
        // Pinned by DailyCycle.LooksOnlyAtTheElementAfterTheLastOneCalled.
        if (previous != nullptr) {
            break;
        }
    }

    const unsigned tomorrow = today == 6 ? 0 : today + 1;
    const int delay = getDelay(now, tomorrow, 0, 0);
    DIAGF(LOG_INFO, "create new timer, no event but wake up at midnight, time = %d", delay);
    return arm(delay);
}

// The element of today's list that comes after one which has been called. A client may have
// withdrawn that one meanwhile, and its link leads past whatever was added since.
CScheduleHandler::Element* CScheduleHandler::following(Element* previous, Element* head) {
    if (previous->value.user != nullptr) {
        return previous->next;
    }
    Element* element = head;
    while (element != nullptr && compare(element->value, previous->value) <= 0) {
        element = element->next;
    }
    return element;
}

// --- the calls ---

void CScheduleHandler::scheduleEventTimeout(void* timer) {
    DIAG(LOG_INFO, "scheduleEventTimeout");
    if (m_timer == nullptr || timer != m_timer) {
        DIAG(LOG_INFO, "bad timer");
        return;
    }
    if (m_current == nullptr) {
        DIAG(LOG_INFO, "no event to handle, find next one today");
        (void)scheduleNextEventToday(nullptr);
        return;
    }

    const tm now = getLocalTime();
    Element* last = nullptr;
    for (Element* element = m_current; element != nullptr; element = element->next) {
        if (hasExpired(element->value) == 0) {
            DIAG(LOG_INFO, "done calling");
            break;
        }
        const sched_user_s* const user = element->value.user;
        if (user != nullptr) {  // else withdrawn, or left behind
            DIAG(LOG_INFO, "calling client callback ");
            user->client->onScheduledEvent(now, user->context);
        }
        last = element;
        if (m_timer == nullptr) {
            return;  // the client has stopped us
        }
    }

    DIAG(LOG_INFO, "reschedule");
    // Where the timer was late, or the calls have lasted, until after midnight, the one called last
    // is of yesterday's list. The new day begins at the head of its own.
    const tm later = getLocalTime();
    const bool isOfToday = last != nullptr && later.tm_wday == now.tm_wday &&
                           (tmToWDay(later) & last->value.info.days) != 0;
    (void)scheduleNextEventToday(isOfToday ? last : nullptr);
}

int CScheduleHandler::callInitialEvents() {
    const tm now = getLocalTime();
    for (User* user = m_users; user != nullptr; user = user->next) {
        user->isGreeted = false;
    }
    // Looked for from the start each time: a client may remove itself and others.
    User* user = m_users;
    while (user != nullptr) {
        if (user->isGreeted) {
            user = user->next;
            continue;
        }
        user->isGreeted = true;
        user->record.client->onInitialEvent(now, user->record.context);
        user = m_users;
    }
    return 0;
}

}  // namespace zol
