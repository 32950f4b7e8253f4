// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_ZONE_H
#define GARDEND_ZONE_H

#include <stdint.h>

#include "zol/event.h"
#include "zol/time.h"
#include "zol/timer.h"

#include "moisture_log.h"

namespace gardend {

/** @return so many minutes */
constexpr zol::CTime minutesOf(int count) {
    return zol::CTime(count * int64_t{60000000});
}

/**
 * One part of the garden, with its valve and its moisture sensor.
 *
 * There is no hardware behind it: the valve opens at once, and the sensor shows what a simple model
 * of the soil says. The valve stays open until it is closed, or for a run time that a timer of the
 * zone ends. Another timer, which fires again and again, samples the sensor.
 */
class CZone : public zol::CEventDest<CZone, void> {
  public:
    /**
     * @param name  not copied
     * @param flow  through the open valve: millilitres a second, nanolitres a microsecond
     */
    CZone(const char* name, int moisturePermille, int flow);
    ~CZone() override;
    CZone(const CZone&) = delete;
    CZone& operator=(const CZone&) = delete;

    /**
     * Begins to live with the clock and to sample, at once for the first time.
     *
     * @param thread  the loop; must live longer than the zone
     * @return        false when there is no timer for run times; that there is none for samples is
     *                not reported
     */
    bool start(evlp_thread_str* thread, const zol::CTime& samplePeriod);

    // --- the valve ---

    /** Opens the valve until it is closed. */
    void open();

    /** Opens the valve for a time that counts from now, whatever was said before.
     *  @return false when there is no timer; the valve is closed then */
    bool openFor(const zol::CTime& runTime);

    /** Opens the valve for a time, or leaves it open where it is open for longer already. */
    bool openAtLeast(const zol::CTime& runTime);

    void close();

    // --- time ---

    /** Lets the time pass that the clock has gone on since the last call. */
    void catchUp();

    /** Lets time pass. */
    void advance(const zol::CTime& passed);

    // --- what there is to see ---

    const char* getName() const { return m_name; }
    bool isOpen() const { return m_open; }
    /** @return whole seconds until the valve closes by itself, at least 1; 0: it does not */
    int getSecondsLeft() const;
    int64_t getMillilitres() const { return m_nanolitres / 1000000; }
    int getMoisturePermille() const { return static_cast<int>(m_moisture / (kSoaked / 1000)); }
    /** The samples since midnight. */
    const CMoistureLog& getMoistureLog() const { return m_log; }

  private:
    // So fine that even the shortest time makes a difference.
    static constexpr int64_t kSoaked = 1000000000000;

    void setValve(bool open);
    void onRunTimeOver(int);
    void onSample(int);

    const char* m_name;
    bool m_open = false;
    int64_t m_flow;
    int64_t m_moisture;        // from 0, bone-dry, to kSoaked
    int64_t m_nanolitres = 0;  // delivered since the start
    CMoistureLog m_log;

    zol::CTime m_lastLook;  // at the clock that goes on evenly
    zol::CTime m_closesAt;  // by that clock; infinite: not by itself
    zol::CEventTimer<CZone, int> m_runTime{this, &CZone::onRunTimeOver, 0};
    zol::CEventMsg<CZone, int> m_whenToSample{this, &CZone::onSample, 0};
    zol::CTimer m_sampling;
};

}  // namespace gardend

#endif
