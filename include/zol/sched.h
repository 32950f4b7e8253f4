/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_SCHED_H
#define ZOL_SCHED_H

/**
 * @file zol/sched.h
 * A calendar scheduler: calls clients back on chosen weekdays at a chosen minute of local time.
 *
 * Everything happens on the loop's thread. What is done is logged at priority 6. What becomes of
 * schedules on the days when the clocks change is told in docs/scheduling.md.
 */

#include <stdint.h>
#include <time.h>

#include "zol/event.h"
#include "zol/export.h"

ZOL_BEGIN_DECLS

/** When to call: on all weekdays of a set, at one minute of the day. */
typedef struct sched_info_t {
    uint8_t days;     /**< ZOL_SUNDAY to ZOL_SATURDAY, or-ed; 0: never */
    uint8_t hour;     /**< 0 to 23 */
    uint8_t minute;   /**< 0 to 59 */
    uint8_t flags;    /**< the client's own, as `data`: kept, but never looked at */
    uint32_t data[2]; /**< the client's own */
} sched_info_t;

/** Days of sched_info_t. */
enum {
    ZOL_SUNDAY = 1,
    ZOL_MONDAY = 2,
    ZOL_TUESDAY = 4,
    ZOL_WEDNESDAY = 8,
    ZOL_THURSDAY = 16,
    ZOL_FRIDAY = 32,
    ZOL_SATURDAY = 64
};

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {

/** What a scheduler calls. Slot order is part of the binary interface. */
class ZOL_API IScheduleClient {
  public:
    virtual ~IScheduleClient();

    /**
     * A schedule has fallen due. Everything may be called here but the handler's destructor; what
     * stops the handler ends the calls of this minute, unless start() follows at once.
     *
     * @param now      local time, the same for all that are called together
     * @param context  of createUser()
     */
    virtual void onScheduledEvent(tm now, void* context) = 0;

    /**
     * The clock has been seen synchronised: called once for each user that exists then, before any
     * schedule is looked at. Be quick: delays count from the time before these calls.
     */
    virtual void onInitialEvent(tm now, void* context) = 0;
};

}  // namespace zol

/** A client that is registered with a scheduler. Owned by the scheduler until delUser(). */
struct sched_user_s {
    zol::IScheduleClient* client; /**< who is called; not owned */
    void* context;                /**< handed to the client as it is */
};

namespace zol {

/** One schedule of a user, on one day or several. */
struct CSchedulableEvent {
    sched_info_t info;  /**< when to call */
    sched_user_s* user; /**< null: nobody is called */
};

/** An element of a list that ends with null. */
template <class T>
struct CSimpleListElem {
    T value;               /**< what the element holds */
    CSimpleListElem* next; /**< null at the end */
};

/** An order of values. Slot order is part of the binary interface. */
template <class T>
class ICompare {
  public:
    virtual ~ICompare() {}

    /** @return below 0 when `a` comes first, above 0 when `b` does, 0 when they are equal */
    virtual int compare(T a, T b) = 0;
};

/**
 * Weekly schedules of any number of clients.
 *
 *     class CSprinkler : public zol::IScheduleClient { ... };
 *     zol::CScheduleHandler handler(loop.getThread());
 *     sched_user_s* user = handler.createUser(&sprinkler, nullptr);
 *     handler.addSchedule(user, {ZOL_MONDAY | ZOL_FRIDAY, 6, 30, 0, {0, 0}});
 *     handler.start();  // sprinkler.onScheduledEvent() on Mondays and Fridays at 06:30
 *
 * While CTime::synchronized is 0 it looks once a minute whether the clock has become right; only
 * then are schedules looked at. After that one timer waits for the next schedule of the day, or for
 * midnight. What falls due while the handler is stopped is not made up for: start() calls a
 * schedule of the present minute only when it comes at second 0, and then it does so even if that
 * schedule has been called before.
 *
 * What will bite: every change of schedules and delUser() stop the handler; call start()
 * again. And stop() before it is destroyed: a timer that is left behind would call it. A schedule
 * of 00:00 is passed over when the loop is so late that midnight is seen in its second 1; prefer
 * 00:01.
 */
class ZOL_API CScheduleHandler : public CEventDest<CScheduleHandler, void>,
                                 public ICompare<CSchedulableEvent> {
  public:
    /** @param thread  the loop; must live longer than the handler */
    explicit CScheduleHandler(evlp_thread_str* thread);

    /** Forgets all users and schedules; their clients are not called any more. */
    ~CScheduleHandler() override;
    CScheduleHandler(const CScheduleHandler&) = delete;
    CScheduleHandler& operator=(const CScheduleHandler&) = delete;

    // --- clients and their schedules ---

    /**
     * Registers a client. The handler goes on.
     *
     * @param client   not owned; must live until delUser()
     * @param context  handed to the client as it is
     * @return         owned by the handler until delUser(); null when there is no memory
     */
    sched_user_s* createUser(IScheduleClient* client, void* context);

    /**
     * Unregisters a client and stops. Call delSchedules() before: schedules that are left behind
     * still wake the handler, though nobody is called.
     *
     * @return 0; -1 for a user that is not (any more) registered, which is not touched
     */
    int delUser(sched_user_s* user);

    /**
     * Adds a schedule to each of its days, and stops. Schedules of one minute are called in
     * the order in which they were added.
     *
     * @param user  for one that is not registered the schedule calls nobody
     * @return 0; -1, and nothing is added, when there is no memory
     */
    int addSchedule(sched_user_s* user, sched_info_t info);

    /**
     * Withdraws all schedules of a user, and stops. The memory of withdrawn schedules, 20 bytes
     * on 32 bits for each of their days, is never given back: a callback that withdraws them may
     * have been called on a walk along them.
     *
     * @param user  for one that is not registered: what all such users have left behind
     * @return 0
     */
    int delSchedules(sched_user_s* user);

    /** Compares hours and minutes, nothing else. @return -1, 0 or 1 */
    int compare(CSchedulableEvent a, CSchedulableEvent b) override;

    // --- the daily cycle ---

    /**
     * Starts to call, or looks anew for what comes next.
     *
     * @return 0; -1 when there is no memory for the timer. That the loop refuses it is not reported
     */
    int start();

    /** Stops: nobody is called any more until start(). In onInitialEvent() it has no effect on the
     *  start that calls. @return 0 */
    int stop();

    // --- steps of the cycle, for those who test it ---

    /** @return the present local time */
    tm getLocalTime();

    /** @return the day as ZOL_SUNDAY to ZOL_SATURDAY; 0 when tm_wday is none */
    int tmToWDay(tm time);

    /** @return 1 when the time of the schedule has come, the present minute included, or when it
     *          is not for this day; else 0 */
    int hasExpired(CSchedulableEvent& event);

    /**
     * @param day  0 Sunday to 6 Saturday
     * @return     seconds from `now` to the next such day and time, 0 to 604799, as if every day
     *             had 24 hours
     */
    int getDelay(tm now, unsigned day, unsigned hour, unsigned minute);

    /** Arms the timer for what comes next today: after `previous`, or with null from the morning
     *  on; or else for midnight. @return 0; -1 without memory */
    int scheduleNextEventToday(CSimpleListElem<CSchedulableEvent>* previous);

    /** The timer fires: calls who is due and arms it again. */
    void scheduleEventTimeout(void* timer);

    /** Calls onInitialEvent() of every user, in order of creation. @return 0 */
    int callInitialEvents();

  private:
    using Element = CSimpleListElem<CSchedulableEvent>;
    using Timer = CEventTimer<CScheduleHandler, void*, NullType, NullType>;

    struct User {
        sched_user_s record;
        User* next;
        bool isGreeted;  // by the present callInitialEvents()
    };

    ZOL_LOCAL bool isRegistered(const sched_user_s* user) const;
    ZOL_LOCAL void orphanSchedules(const sched_user_s* user);
    ZOL_LOCAL void insert(Element*& head, Element* element);
    ZOL_LOCAL Element* following(Element* previous, Element* head);
    ZOL_LOCAL int arm(int delaySeconds);

    evlp_thread_str* m_thread;
    User* m_users;
    Element* m_days[7];
    Timer* m_timer;      // null: stopped
    Element* m_current;  // what the timer waits for; null: for midnight or for the clock
    int m_hasSeenClock;  // that is synchronised
};

}  // namespace zol

#endif
#endif
