/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_TIMER_H
#define ZOL_TIMER_H

/**
 * @file zol/timer.h
 * Periodic timers for the whole process, grouped by period.
 *
 * All timers of one period share one timer of the event-loop service, so thousands of them cost
 * as much of the loop as a few. The loop's thread; nothing is logged.
 */

#include "zol/event.h"
#include "zol/export.h"
#include "zol/tab.h"
#include "zol/time.h"

#ifdef __cplusplus

namespace zol {

/** A periodic timer, to be registered with CTimerHandler. Its owner keeps it. */
class CTimer {
  public:
    /**
     * @param period    as the delay of CEvent::add(): cut to whole milliseconds, and with none of
     *                  them the timer ticks in every turn of the loop. Groups are told apart by
     *                  the microsecond
     * @param callback  called each time with -1 for the descriptor, and the event that the timers
     *                  of a group share: not to be touched. Not owned
     */
    CTimer(const CTime& period, CEventCallback* callback)
        : m_period(period), m_callback(callback) {}

    /** @return the period as it was given */
    const CTime& getPeriod() const { return m_period; }
    /** @return what is called, not owned */
    CEventCallback* getCallback() const { return m_callback; }

  private:
    CTime m_period;
    CEventCallback* m_callback;
};

/**
 * The timers of one period: made by CTimerHandler for the first, destroyed with the last. Slot
 * order is part of the binary interface.
 */
class ZOL_API CTimerGroup : public CEventCallback {
  public:
    ~CTimerGroup() override;
    CTimerGroup(const CTimerGroup&) = delete;
    CTimerGroup& operator=(const CTimerGroup&) = delete;

    /** A period is over: begins the next, then calls the members in order of registration. */
    int onEvent(int fd, short events, CEvent* event) override;

  private:
    friend class CTimerHandler;

    ZOL_LOCAL explicit CTimerGroup(const CTime& period);
    ZOL_LOCAL bool start(evlp_thread_str* thread);
    ZOL_LOCAL int indexOf(const CTimer& timer) const;

    CEvent m_event;
    CTime m_period;
    CTab<CTimer*, 8, xtabh_s> m_members;
};

/**
 * Where the timers of the process are registered.
 *
 *     class CSampler : public zol::CEventCallback { int onEvent(int, short, zol::CEvent*) ... };
 *     CSampler sampler;
 *     zol::CTimer everySecond(zol::CTime(1000000), &sampler);
 *     zol::CTimerHandler::add(loop.getThread(), everySecond);
 *     ...
 *     zol::CTimerHandler::remove(everySecond);
 *
 * What will bite: a callback must not remove the last timer of its own group. It may remove
 * itself where others remain, but the member after the removed one then misses that tick.
 */
class ZOL_API CTimerHandler {
  public:
    /**
     * Registers a timer. Where others have exactly its period it joins them: it is called first
     * when they are, not a full period from now, and `thread` is not used.
     *
     * @param timer  not copied: it must stay where it is, unchanged, until it is removed. Added
     *               twice, it is called twice in each period
     *
     * Without memory, or where the loop has no timer to give, it is not registered, and that is
     * not reported.
     */
    static void add(evlp_thread_str* thread, const CTimer& timer);

    /** Takes a timer out, once; nothing happens when it is not registered. */
    static void remove(const CTimer& timer);

  private:
    ZOL_LOCAL static CTab<CTimerGroup*, 8, xtabh_s>* groups();

    static CTab<CTimerGroup*, 8, xtabh_s>* m_pInstance;  // made on first use, never freed
};

}  // namespace zol

#endif
#endif
