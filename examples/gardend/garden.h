// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_GARDEN_H
#define GARDEND_GARDEN_H

#include "zol/event.h"
#include "zol/str.h"
#include "zol/tab.h"
#include "zol/time.h"

namespace gardend {

/** One part of the garden, with its valve and its moisture sensor. */
struct Zone {
    zol::CStr name;
    bool open;            // the valve
    int64_t nanolitres;   // delivered since the start
    int64_t moisture;     // from 0, bone-dry, to kSoaked
    int64_t flow;         // through the open valve: millilitres a second, nanolitres a microsecond
    int64_t soakSpeed;    // moisture gained in a microsecond while the valve is open
    int64_t dryingSpeed;  // moisture lost in a microsecond while it is closed

    // So fine that even the shortest tick makes a difference.
    static constexpr int64_t kSoaked = 1000000000000;

    int64_t getMillilitres() const { return nanolitres / 1000000; }
    int getMoisturePermille() const { return static_cast<int>(moisture / (kSoaked / 1000)); }
};

/**
 * The garden: its zones, and the tick that lets time pass in them.
 *
 * There is no hardware behind it: valves open at once, and the sensors show what a simple model
 * of the soil says. Everything happens on the loop's thread.
 */
class CGarden : public zol::CEventDest<CGarden, void> {
  public:
    /** Four zones, all valves closed. */
    CGarden();

    /** Closes the valves. */
    ~CGarden() override;

    /**
     * Begins to tick.
     *
     * @param thread  the loop; must live longer than the garden
     * @param period  between two ticks
     * @return        false when there is no timer
     */
    bool start(evlp_thread_str* thread, const zol::CTime& period);

    /** Lets time pass; the tick calls it. */
    void advance(const zol::CTime& passed);

    /** Opens or closes the valve of a zone. @return false when there is no such zone */
    bool setValve(const char* zoneName, bool open);

    void closeAllValves();

    const zol::CTab<Zone>& getZones() const { return m_zones; }
    int getOpenCount() const;
    int64_t getMillilitres() const;

  private:
    void addZone(const char* name, int moisturePermille, int flow);
    void setValve(Zone& zone, bool open);
    void onTick(int);

    zol::CTab<Zone> m_zones;
    zol::CTime m_lastTick;
    zol::CEventTimer<CGarden, int> m_tick{this, &CGarden::onTick, 0};
};

}  // namespace gardend

#endif
