// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_ZONE_H
#define GARDEND_ZONE_H

#include <stdint.h>

#include "zol/event.h"
#include "zol/str.h"
#include "zol/time.h"
#include "zol/timer.h"

#include "driver.h"
#include "moisture_log.h"

namespace gardend {

/** @return so many minutes */
constexpr zol::CTime minutesOf(int count) {
    return zol::CTime(count * int64_t{60000000});
}

/** Who is told that valves have opened and closed. */
class IValveWatcher {
  public:
    virtual void onValve(const char* zone, bool isOpen) = 0;

  protected:
    ~IValveWatcher() = default;
};

/** Who is told of samples of the moisture. */
class ISampleWatcher {
  public:
    virtual void onSample(const char* zone, int permille) = 0;

  protected:
    ~ISampleWatcher() = default;
};

/** What zones are connected with; all of it must live longer than they do. */
struct Wiring {
    IValveDriver& valves;
    ISensorDriver& sensors;
    IValveWatcher* watcher = nullptr;         // null: nobody is told
    ISampleWatcher* sampleWatcher = nullptr;  // as well
};

/** What is said of a zone before it is there. */
struct ZoneWish {
    zol::CStr name;
    int line = 0;
    int flow = 0;
};

/**
 * One part of the garden, with its valve and its moisture sensor, which drivers move and read.
 *
 * The valve stays open until it is closed, or for a run time that a timer of the zone ends. One
 * that does not close when it is told to is told again with every tick. Another timer, which fires
 * again and again, samples the sensor; while that does not answer, its last answer counts, and is
 * not sampled.
 */
class CZone : public zol::CEventDest<CZone, void> {
  public:
    /**
     * @param line  of its valve and of its sensor, see driver.h
     * @param flow  through the open valve: millilitres a second, nanolitres a microsecond
     */
    CZone(const char* name, int line, int flow, const Wiring& wiring);
    ~CZone() override;
    CZone(const CZone&) = delete;
    CZone& operator=(const CZone&) = delete;

    /** Does what can fail of start(), and nothing else. @return false when there is no timer for
     *  run times */
    bool prepare(evlp_thread_str* thread);

    /**
     * Closes the valve, whatever it was; begins to live with the clock and to sample, at once for
     * the first time.
     *
     * @param thread  the loop; must live longer than the zone
     * @return        false, and nothing has been done, when there is no timer for run times; that
     *                there is none for samples is not reported
     */
    bool start(evlp_thread_str* thread, const zol::CTime& samplePeriod);

    bool hasStarted() const { return m_lastLook != zol::CTime::undefined; }

    /** Goes on with another line, whose valve is closed as the one before is, and another flow.
     *  What has been delivered is kept. */
    void change(int line, int flow);

    /** Goes on from what an earlier zone of that name has delivered and sampled. */
    void restore(int64_t nanolitres, const CMoistureLog& log);

    // --- the valve ---

    // Each answers false, which has been logged, when the valve does not obey, or there is no
    // timer.

    /** Opens the valve until it is closed. */
    bool open();

    /** Opens the valve for a time that counts from now, whatever was said before. Where that fails
     *  it is closed. */
    bool openFor(const zol::CTime& runTime);

    /** Opens the valve for a time, or leaves it open where it is open for longer already. */
    bool openAtLeast(const zol::CTime& runTime);

    bool close();

    /** Tells a valve again that has not closed when it was told to; logs nothing but a success. */
    void retryClosing();

    // --- time ---

    /** Lets the time pass that the clock has gone on since the last call. */
    void catchUp();

    /** Lets time pass, and reads the sensor. */
    void advance(const zol::CTime& passed);

    // --- what there is to see ---

    const char* getName() const { return m_name.get(); }
    bool isOpen() const { return m_open; }
    int getLine() const { return m_line; }
    /** @return whole seconds until the valve closes by itself, at least 1; 0: it does not */
    int getSecondsLeft() const;
    int64_t getMillilitres() const { return m_nanolitres / 1000000; }
    int64_t getNanolitres() const { return m_nanolitres; }
    /** As the sensor has answered last; 0 as long as it has not. */
    int getMoisturePermille() const { return m_moisture; }
    /** The samples since midnight. */
    const CMoistureLog& getMoistureLog() const { return m_log; }

  private:
    void closeAtFirst();
    bool setValve(bool open);
    bool moveValve(bool open);
    void readSensor();
    void addSample();
    void onRunTimeOver(int);
    void onSample(int);

    zol::CStr m_name;
    int m_line;
    int64_t m_flow;
    Wiring m_wiring;
    bool m_open = false;
    bool m_isStuck = false;  // open, though it has been told to close
    bool m_sensorAnswers = true;
    int m_moisture = 0;
    int64_t m_nanolitres = 0;  // delivered, see restore()
    CMoistureLog m_log;

    zol::CTime m_lastLook;  // at the clock that goes on evenly
    zol::CTime m_closesAt;  // by that clock; infinite: not by itself
    bool m_hasTimer = false;
    zol::CEventTimer<CZone, int> m_runTime{this, &CZone::onRunTimeOver, 0};
    zol::CEventMsg<CZone, int> m_whenToSample{this, &CZone::onSample, 0};
    zol::CTimer m_sampling;
};

}  // namespace gardend

#endif
