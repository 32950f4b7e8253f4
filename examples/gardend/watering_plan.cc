// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "watering_plan.h"

#include <syslog.h>

namespace gardend {

namespace {

constexpr int kDays = 7;
constexpr int kWeek = kDays * 24 * 60;  // minutes

int minuteOfWeek(int day, int hour, int minute) {
    return (day * 24 + hour) * 60 + minute;
}

// No schedule has this number.
constexpr int kHourly = 0;

// The scheduler keeps a word for each user: the number of its schedule.
void* wordOf(int number) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(number));
}

int numberIn(void* word) {
    return static_cast<int>(reinterpret_cast<intptr_t>(word));
}

}  // namespace

bool operator==(const ScheduleWish& one, const ScheduleWish& other) {
    return one.zone == other.zone && one.days == other.days && one.hour == other.hour &&
           one.minute == other.minute && one.runMinutes == other.runMinutes;
}

// Needs no memory: it decides what goes and what stays.
bool isOf(const Schedule& schedule, const ScheduleWish& wish) {
    return wish.zone == schedule.zone->getName() && schedule.days == wish.days &&
           schedule.hour == wish.hour && schedule.minute == wish.minute &&
           schedule.runMinutes == wish.runMinutes;
}

ScheduleWish wishOf(const Schedule& schedule) {
    return {schedule.zone->getName(), schedule.days, schedule.hour, schedule.minute,
            schedule.runMinutes};
}

bool contains(const zol::CTab<ScheduleWish>& wishes, const ScheduleWish& wish) {
    for (const ScheduleWish& other : wishes) {
        if (other == wish) {
            return true;
        }
    }
    return false;
}

CWateringPlan::~CWateringPlan() {
    (void)m_handler.stop();  // its timer would call a handler that is gone
}

bool CWateringPlan::start() {
    if (m_hourly == nullptr && !lookHourly()) {
        return false;
    }
    return m_handler.start() == 0;
}

// In minute 1: of minute 0 of the day the scheduler is not sure.
bool CWateringPlan::lookHourly() {
    sched_user_s* const user = m_handler.createUser(this, wordOf(kHourly));
    if (user == nullptr) {
        return false;
    }
    for (uint8_t hour = 0; hour < 24; ++hour) {
        if (m_handler.addSchedule(user, {127, hour, 1, 0, {0, 0}}) != 0) {
            forget(user);
            return false;
        }
    }
    m_hourly = user;
    return true;
}

int CWateringPlan::add(Schedule schedule) {
    if (m_schedules.getCount() >= kMaxSchedules) {
        return kFull;
    }
    schedule.isConfigured = false;
    const int number = append(schedule);
    if (number < 0 || !restart()) {
        if (number > 0) {
            removeAt(m_schedules.getCount() - 1);
        }
        (void)restart();
        return kNoMemory;
    }
    return number;
}

// Leaves the handler stopped. @return the number; kNoMemory, with the schedules as they were
int CWateringPlan::append(Schedule schedule) {
    schedule.number = m_lastNumber + 1;
    schedule.lastDay = 0;
    schedule.user = m_handler.createUser(this, wordOf(schedule.number));
    if (schedule.user == nullptr) {
        return kNoMemory;
    }
    const sched_info_t when = {schedule.days, schedule.hour, schedule.minute, 0, {0, 0}};
    if (m_handler.addSchedule(schedule.user, when) != 0 || m_schedules.append(schedule) < 0) {
        forget(schedule.user);
        return kNoMemory;
    }
    m_lastNumber = schedule.number;
    return schedule.number;
}

bool CWateringPlan::remove(int number) {
    const int index = indexOf(number);
    if (index < 0) {
        return false;
    }
    const ScheduleWish wish = wishOf(m_schedules[index]);
    if (m_schedules[index].isConfigured && (wish.zone.isEmpty() || m_withdrawn.append(wish) < 0)) {
        syslog(LOG_ERR, "no memory: schedule %d comes back with the configuration", number);
    }
    removeAt(index);
    (void)restart();  // a failure has been logged; there is no more that could be done
    return true;
}

// Leaves the handler stopped.
void CWateringPlan::removeAt(int index) {
    forget(m_schedules[index].user);
    (void)m_schedules.remove(index);
}

int CWateringPlan::configure(const zol::CTab<ScheduleWish>& wishes, const CGarden& garden) {
    int others = 0;
    for (const Schedule& schedule : m_schedules) {
        others += schedule.isConfigured ? 0 : 1;
    }
    if (wishes.getCount() + others > kMaxSchedules) {
        return kFull;
    }
    const int before = m_schedules.getCount();
    bool isChanged = false;
    for (const ScheduleWish& wish : wishes) {
        if (isThere(wish) || contains(m_withdrawn, wish)) {
            continue;
        }
        Schedule schedule = {garden.findZone(wish.zone.get()), wish.days, wish.hour, wish.minute,
                             wish.runMinutes};
        schedule.isConfigured = true;
        if (append(schedule) < 0) {
            while (m_schedules.getCount() > before) {
                removeAt(m_schedules.getCount() - 1);
            }
            (void)restart();
            return kNoMemory;
        }
        isChanged = true;
    }
    for (int i = m_schedules.getCount() - 1; i >= 0; --i) {
        bool stays = !m_schedules[i].isConfigured;
        for (const ScheduleWish& wish : wishes) {
            stays = stays || isOf(m_schedules[i], wish);
        }
        if (!stays) {
            removeAt(i);
            isChanged = true;
        }
    }
    for (int i = m_withdrawn.getCount() - 1; i >= 0; --i) {
        if (!contains(wishes, m_withdrawn[i])) {
            (void)m_withdrawn.remove(i);
        }
    }
    if (isChanged) {
        (void)restart();  // which forgets what is just due: not for nothing
    }
    return 0;
}

void CWateringPlan::keepZones(const zol::CTab<ZoneWish>& wishes) {
    bool isChanged = false;
    for (int i = m_schedules.getCount() - 1; i >= 0; --i) {
        const Schedule& schedule = m_schedules[i];
        bool stays = false;
        for (const ZoneWish& wish : wishes) {
            stays = stays || wish.name == schedule.zone->getName();
        }
        if (!stays) {
            syslog(LOG_NOTICE, "schedule %d goes with its zone, %s", schedule.number,
                   schedule.zone->getName());
            removeAt(i);
            isChanged = true;
        }
    }
    if (isChanged) {
        (void)restart();
    }
}

bool CWateringPlan::isThere(const ScheduleWish& wish) const {
    for (const Schedule& schedule : m_schedules) {
        if (schedule.isConfigured && isOf(schedule, wish)) {
            return true;
        }
    }
    return false;
}

void CWateringPlan::forget(sched_user_s* user) {
    (void)m_handler.delSchedules(user);
    (void)m_handler.delUser(user);
}

// Every change stops the handler.
bool CWateringPlan::restart() {
    if (m_hourly != nullptr && m_handler.start() != 0) {
        syslog(LOG_ERR, "no memory: nothing is watered until the next change of the schedules");
        return false;
    }
    return true;
}

void CWateringPlan::onScheduledEvent(tm now, void* context) {
    const int index = indexOf(numberIn(context));
    if (index < 0) {
        return;  // an hour has passed
    }
    Schedule& schedule = m_schedules.getTable()[index];
    const int day = now.tm_year * 366 + now.tm_yday;
    if (schedule.lastDay == day) {
        return;  // the plan was changed in this very second, or clocks have been put back
    }
    schedule.lastDay = day;
    if (m_gate != nullptr && !m_gate->mayWater(*schedule.zone, now)) {
        syslog(LOG_NOTICE, "schedule %d: %s is skipped, as its rule says", schedule.number,
               schedule.zone->getName());
        m_skipped = {schedule.zone->getName(), now.tm_wday, schedule.hour, schedule.minute};
        return;
    }
    syslog(LOG_NOTICE, "schedule %d: %s for %d minutes", schedule.number, schedule.zone->getName(),
           schedule.runMinutes);
    (void)schedule.zone->openAtLeast(minutesOf(schedule.runMinutes));
}

int CWateringPlan::indexOf(int number) const {
    for (int i = 0; i < m_schedules.getCount(); ++i) {
        if (m_schedules[i].number == number) {
            return i;
        }
    }
    return -1;
}

NextWatering CWateringPlan::findNext() const {
    tm now = {};
    zol::CTime::getCurrent().getTm(now, 1);
    const int nowMinute = minuteOfWeek(now.tm_wday, now.tm_hour, now.tm_min);
    NextWatering next = {nullptr, 0};
    int shortest = kWeek;
    for (const Schedule& schedule : m_schedules) {
        for (int day = 0; day < kDays; ++day) {
            // From the minute after this one: 0 to a week less one.
            const int wait =
                (minuteOfWeek(day, schedule.hour, schedule.minute) - nowMinute - 1 + kWeek) % kWeek;
            if ((schedule.days >> day & 1) != 0 && wait < shortest) {
                shortest = wait;
                next = {&schedule, day};
            }
        }
    }
    return next;
}

}  // namespace gardend
