/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_EVENT_H
#define ZOL_EVENT_H

/**
 * @file zol/event.h
 * The event loop and its events: descriptors, timers and signals that call back.
 *
 * A loop is run by one thread; every callback of its events arrives on that thread, and its
 * events are used from that thread. Nothing is logged. Failures of the event-loop service
 * answer -1.
 */

#include "zol/export.h"
#include "zol/time.h"

ZOL_BEGIN_DECLS

/** The loop of the event-loop service. Opaque. */
typedef struct evlp_thread_str evlp_thread_str;

/** Makes an event loop. @return a zol::CEventLoop; null when there is no memory */
ZOL_API void* xeventloop_new(void);

/** Runs the loop, see zol::CEventLoop::loop(). @return 0 or -1 */
ZOL_API int xeventloop_loop(void* loop);

/** Destroys the loop; null is ignored. */
ZOL_API void xeventloop_free(void* loop);

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {

class CEvent;

/**
 * Owns one loop of the event-loop service.
 *
 *     zol::CEventLoop loop;
 *     zol::CEvent event(loop.getThread(), &callback, fd, zol::CEvent::kRead);
 *     event.add(zol::CTime::infinite);
 *     loop.loop(0, 0);  // until a callback calls loop.exitLoop()
 *
 * What will bite: that the service could not be opened is not reported; getThread() is null then,
 * and loop() answers -1. Events that outlive their loop are not called any more. A loop that is
 * destroyed inside one of its callbacks is not released. A callback should not throw: the
 * exception leaves loop(), and the loop can be neither run nor released after that.
 */
class ZOL_API CEventLoop {
  public:
    CEventLoop();
    ~CEventLoop();
    CEventLoop(const CEventLoop&) = delete;
    CEventLoop& operator=(const CEventLoop&) = delete;

    /** Runs the loop until exitLoop(); both arguments are ignored. @return 0 or -1 */
    int loop(int, int);

    /** Ends loop(), also one that has not begun yet. From any thread, and from signal
     *  handlers. @return 0 or -1 */
    int exitLoop();

    /** Not supported: @return -1 */
    int setPriorityCount(int);

    /** @return the service's loop, on which events are opened; owned by this object */
    evlp_thread_str* getThread() const { return m_thread; }

  private:
    evlp_thread_str* m_thread;
};

/** What an event calls. Slot order is part of the binary interface. */
class ZOL_API CEventCallback {
  public:
    virtual ~CEventCallback();

    /**
     * @param fd      the descriptor that is ready; -1 for timers, for signals, and for the
     *                time-out of a descriptor
     * @param events  always 0: who watches for reading and writing asks the descriptor
     * @param event   the event that fired; it may be disarmed, reset or destroyed here
     * @return        ignored by the loop
     */
    virtual int onEvent(int fd, short events, CEvent* event) = 0;
};

/**
 * One descriptor, timer or signal that a loop watches.
 *
 * Empty at first; opened by set(); armed by add(); disarmed by remove(), and armed again; closed
 * by reset() or the destructor. A timer fires once for each add(); descriptors and signals stay
 * armed. What will bite: set() on an event that is open loses the old context, which goes on
 * calling and cannot be closed any more; reset() it first.
 */
class ZOL_API CEvent {
  public:
    /** Flags of set(). */
    enum { kRead = 1, kWrite = 2, kSignal = 4 };

    /** The priority of every event that the library opens itself. */
    static constexpr unsigned char kDefaultPriority = 8;

    CEvent();
    /** set() with the default priority */
    CEvent(evlp_thread_str* thread, CEventCallback* cb, int fd, int flags);
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    /**
     * Opens the event.
     *
     * @param thread    the loop; used until reset()
     * @param cb        not owned; must live until reset()
     * @param fd        descriptor; -1 makes a timer; with kSignal a signal number, of which the
     *                  low eight bits count
     * @param flags     kSignal, or kRead and kWrite or-ed; other bits are ignored
     * @param priority  of the events that are ready together, lower numbers are called first
     * @return          not 0 exactly when the event is open
     */
    int set(evlp_thread_str* thread, CEventCallback* cb, int fd, int flags, unsigned char priority);

    /**
     * Arms the event. A timer that is armed with the same delay in its own callback does not
     * drift: the delay counts from the moment for which it was due.
     *
     * @param timeout  a duration, cut to whole milliseconds that must fit into 32 bits (a little
     *                 over 24 days). For a timer the delay; for a descriptor the time without
     *                 readiness after which it is called with -1; not used for a signal.
     *                 CTime::infinite: never.
     * @return         0 or -1
     */
    int add(const CTime& timeout);

    /** Disarms the event. @return 0 or -1 */
    int remove();

    /** Disarms and closes the event, which is empty then in every case. @return 0 or -1; 0 for
     *  an empty event */
    int reset();

    /** Not supported: @return -1 */
    int setPriority(int);
    /** Not supported: @return -1 */
    int active(int);

  private:
    enum Kind : int { kDescriptor = 0, kTimer = 1, kSignalNumber = 2 };

    ZOL_LOCAL static void descriptorReady(void* event, int fd);
    ZOL_LOCAL static void fired(void* event);

    void* m_context;  // the service's; null when empty
    Kind m_kind;
    evlp_thread_str* m_thread;
    CEventCallback* m_callback;
};

/** An event that watches one signal. */
class ZOL_API CEventSignal : public CEvent {
  public:
    /** Opens the event. @return not 0 exactly when the event is open */
    int set(evlp_thread_str* thread, int signum, CEventCallback* cb);
};

/** Stands for the arguments that a bound callback does not have. */
struct NullType {};

/** Results of the calls that an object receives through CEventMsg; only void is used. */
template <class T, class R = void>
class CEventDest;

/**
 * Base of a class T whose member functions are called back. Derive from it first. Slot order is
 * part of the binary interface.
 */
template <class T>
class CEventDest<T, void> {
  public:
    virtual ~CEventDest() {}
    /** @return the object whose functions are called */
    virtual T* getDestPtr() { return static_cast<T*>(this); }
    /** Not called by the library. */
    virtual void onMsg(void*) {}
};

template <class T, class A1 = NullType, class A2 = NullType, class A3 = NullType,
          class A4 = NullType, class A5 = NullType>
class CEventMsg;

/** A callback that calls a member function with a stored argument. */
template <class T, class A1>
class CEventMsg<T, A1, NullType, NullType, NullType, NullType> : public CEventCallback {
  public:
    /** A member function that is called back. */
    using Function = void (T::*)(A1);

    /** @param dest  the object; not owned, must live as long as it may be called */
    CEventMsg(CEventDest<T, void>* dest, Function function, A1 argument)
        : m_dest(dest), m_function(function), m_argument(argument) {}

    /** Changes what the function is called with. */
    void setArgument(A1 argument) { m_argument = argument; }

    /** Calls the function. @return 0 */
    int onEvent(int, short, CEvent*) override {
        (m_dest->getDestPtr()->*m_function)(m_argument);
        return 0;
    }

  private:
    CEventDest<T, void>* m_dest;
    Function m_function;
    A1 m_argument;
};

template <class T, class A1 = NullType, class A2 = NullType, class A3 = NullType>
class CEventTimer;

/**
 * A timer that calls a member function with a stored argument, once for each add().
 *
 *     class CLamp : public zol::CEventDest<CLamp, void> {
 *         void off(int lamp);
 *         zol::CEventTimer<CLamp, int> m_timer{this, &CLamp::off, 3};
 *     };
 *     m_timer.open(thread);
 *     m_timer.add(zol::CTime(60 * 1000000));
 */
template <class T, class A1>
class CEventTimer<T, A1, NullType, NullType> {
  public:
    /** What calls the function. */
    using Message = CEventMsg<T, A1, NullType, NullType, NullType, NullType>;

    /** @param dest  the object; not owned, must live as long as the timer */
    CEventTimer(CEventDest<T, void>* dest, typename Message::Function function, A1 argument)
        : m_message(dest, function, argument) {}

    /** Opens the timer on a loop, with the default priority. @return not 0 exactly when it is open
     */
    int open(evlp_thread_str* thread) {
        return m_event.set(thread, &m_message, -1, 0, CEvent::kDefaultPriority);
    }

    /** Arms the timer. @return 0 or -1 */
    int add(const CTime& delay) {
        m_delay = delay;
        return m_event.add(delay);
    }

    /** Disarms the timer. @return 0 or -1 */
    int remove() { return m_event.remove(); }

    /** Changes what the function is called with. */
    void setArgument(A1 argument) { m_message.setArgument(argument); }

    /** @return the delay of the last add() */
    const CTime& getDelay() const { return m_delay; }

  private:
    CEvent m_event;
    Message m_message;
    CTime m_delay;
};

}  // namespace zol

#endif
#endif
