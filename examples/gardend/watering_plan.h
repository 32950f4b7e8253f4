// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_WATERING_PLAN_H
#define GARDEND_WATERING_PLAN_H

#include <stdint.h>
#include <time.h>

#include "zol/sched.h"
#include "zol/str.h"
#include "zol/tab.h"

#include "garden.h"

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
    bool isConfigured = false;     // by the configuration, not by hand
};

/** What is said of a schedule before it is there. */
struct ScheduleWish {
    zol::CStr zone;
    uint8_t days = 0;
    uint8_t hour = 0;
    uint8_t minute = 0;
    int runMinutes = 0;
};

/** @return whether a schedule is as it was wished for */
bool isOf(const Schedule& schedule, const ScheduleWish& wish);

/** @return the wish for such a schedule; without memory it is of no zone */
ScheduleWish wishOf(const Schedule& schedule);

bool operator==(const ScheduleWish& one, const ScheduleWish& other);

/** @return whether the wish is among others */
bool contains(const zol::CTab<ScheduleWish>& wishes, const ScheduleWish& wish);

/** Who is asked before a schedule waters. */
class IWateringGate {
  public:
    virtual bool mayWater(const CZone& zone, const tm& now) = 0;

  protected:
    ~IWateringGate() = default;
};

/** A watering that the gate has refused. */
struct SkippedWatering {
    zol::CStr zone;  // empty: there was none
    int day = 0;     // 0 Sunday to 6 Saturday
    int hour = 0;
    int minute = 0;
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
 * Some schedules come from the configuration, and change with it. One of those that is removed is
 * withdrawn: it does not come back as long as the configuration has it.
 *
 * The scheduler waits for what comes next, however far that is, and a clock that is set meanwhile,
 * or put forward in spring, makes it late. So the plan gives it something to wait for in every
 * hour.
 */
class CWateringPlan : public zol::IScheduleClient {
  public:
    static constexpr int kMaxSchedules = 64;

    enum Error { kFull = -1, kNoMemory = -2 };

    /**
     * @param thread  the loop; as the zones, it must live longer than the plan
     * @param gate    asked before each watering; as well; null: all may water
     */
    explicit CWateringPlan(evlp_thread_str* thread, IWateringGate* gate = nullptr)
        : m_gate(gate), m_handler(thread) {}
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

    /**
     * Changes the schedules of the configuration to these; those that it had before go on as they
     * are, all others of it are gone.
     *
     * @return 0; an Error, with the plan as it was
     */
    int configure(const zol::CTab<ScheduleWish>& wishes, const CGarden& garden);

    /** Removes the schedules of all zones but these, and logs that. */
    void keepZones(const zol::CTab<ZoneWish>& wishes);

    /** What the configuration has, but the plan has not. */
    const zol::CTab<ScheduleWish>& getWithdrawn() const { return m_withdrawn; }

    /** What the gate has refused last. */
    const SkippedWatering& getSkipped() const { return m_skipped; }

    /** In the order in which they were added. */
    const zol::CTab<Schedule>& getSchedules() const { return m_schedules; }

    /** @return what begins after the present minute */
    NextWatering findNext() const;

    void onScheduledEvent(tm now, void* context) override;
    void onInitialEvent(tm, void*) override {}  // what has been missed is not made up for

  private:
    int indexOf(int number) const;
    int append(Schedule schedule);
    void removeAt(int index);
    bool isThere(const ScheduleWish& wish) const;
    void forget(sched_user_s* user);
    bool lookHourly();
    bool restart();

    IWateringGate* m_gate;
    zol::CScheduleHandler m_handler;
    sched_user_s* m_hourly = nullptr;  // waits for every hour; null before the start
    zol::CTab<Schedule> m_schedules;
    zol::CTab<ScheduleWish> m_withdrawn;
    SkippedWatering m_skipped;
    int m_lastNumber = 0;
};

}  // namespace gardend

#endif
