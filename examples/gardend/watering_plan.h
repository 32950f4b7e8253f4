// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_WATERING_PLAN_H
#define GARDEND_WATERING_PLAN_H

#include <stdint.h>
#include <time.h>

#include "zol/sched.h"
#include "zol/tab.h"

#include "zone.h"

namespace gardend {

/** When a zone is watered, week by week, and for how long. */
struct Schedule {
    CZone* zone = nullptr;  // not owned
    uint8_t days = 0;       // ZOL_SUNDAY to ZOL_SATURDAY, or-ed
    uint8_t hour = 0;       // local time
    uint8_t minute = 0;
    int runMinutes = 0;  // that the valve is open

    // The plan's own.
    int number = 0;                // by which people know it, from 1 on; none is given twice
    sched_user_s* user = nullptr;  // of the calendar scheduler
    int lastDay = 0;               // on which it has watered
};

/** The watering that comes next. */
struct NextWatering {
    const Schedule* schedule;  // null: there is none
    int day;                   // 0 Sunday to 6 Saturday
};

/**
 * Opens the valves at their times of the week.
 *
 * Each schedule is a user of the calendar scheduler of its own, because users can be taken out one
 * by one. Nothing is watered while it is not known that the clock is right, and what has been
 * missed then is not made up for. Schedules of a zone may overlap: the one that ends last closes
 * the valve. A schedule waters once a day. The loop's thread.
 *
 * The scheduler waits for what comes next, however far that is, and a clock that is set meanwhile,
 * or put forward in spring, makes it late. So the plan gives it something to wait for in every
 * hour.
 */
class CWateringPlan : public zol::IScheduleClient {
  public:
    static constexpr int kMaxSchedules = 64;

    enum Error { kFull = -1, kNoMemory = -2 };

    /** @param thread  the loop; as the zones, it must live longer than the plan */
    explicit CWateringPlan(evlp_thread_str* thread) : m_handler(thread) {}
    ~CWateringPlan() override;
    CWateringPlan(const CWateringPlan&) = delete;
    CWateringPlan& operator=(const CWateringPlan&) = delete;

    /** Begins to follow the clock, or looks at it anew after it has been set. @return false when
     *  there is no memory */
    bool start();

    /**
     * Adds a schedule.
     *
     * @param schedule  what is the plan's own does not count
     * @return          its number; an Error, below 0, with the plan as it was
     */
    int add(Schedule schedule);

    /**
     * Removes a schedule. A valve that it has opened stays open for its time. The scheduler keeps
     * a few bytes of what is removed: plans are for people to change, now and then.
     *
     * @return false when there is none of that number
     */
    bool remove(int number);

    /** In the order in which they were added. */
    const zol::CTab<Schedule>& getSchedules() const { return m_schedules; }

    /** @return what begins after the present minute */
    NextWatering findNext() const;

    void onScheduledEvent(tm now, void* context) override;
    void onInitialEvent(tm, void*) override {}  // what has been missed is not made up for

  private:
    int indexOf(int number) const;
    void forget(sched_user_s* user);
    bool lookHourly();
    bool restart();

    zol::CScheduleHandler m_handler;
    sched_user_s* m_hourly = nullptr;  // waits for every hour; null before the start
    zol::CTab<Schedule> m_schedules;
    int m_lastNumber = 0;
};

}  // namespace gardend

#endif
