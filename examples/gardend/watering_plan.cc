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
    schedule.number = m_lastNumber + 1;
    schedule.lastDay = 0;
    schedule.user = m_handler.createUser(this, wordOf(schedule.number));
    if (schedule.user == nullptr) {
        return kNoMemory;
    }
    if (m_schedules.append(schedule) < 0) {
        forget(schedule.user);
        (void)restart();
        return kNoMemory;
    }
    m_lastNumber = schedule.number;
    const sched_info_t when = {schedule.days, schedule.hour, schedule.minute, 0, {0, 0}};
    if (m_handler.addSchedule(schedule.user, when) != 0 || !restart()) {
        (void)remove(schedule.number);
        return kNoMemory;
    }
    return schedule.number;
}

bool CWateringPlan::remove(int number) {
    const int index = indexOf(number);
    if (index < 0) {
        return false;
    }
    forget(m_schedules[index].user);
    (void)m_schedules.remove(index);
    (void)restart();  // a failure has been logged; there is no more that could be done
    return true;
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
