// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_GARDEN_H
#define GARDEND_GARDEN_H

#include "zol/event.h"
#include "zol/time.h"
#include "zol/timer.h"

#include "zone.h"

namespace gardend {

/** The garden: its zones, and the tick with which they follow the clock. The loop's thread. */
class CGarden : public zol::CEventDest<CGarden, void> {
  public:
    static constexpr int kZoneCount = kLineCount;
    using Zones = CZone[kZoneCount];

    explicit CGarden(const Wiring& wiring);

    /** Closes the valves; logs which do not. */
    ~CGarden() override;

    /**
     * Closes the valves, and begins to tick and to sample.
     *
     * @param thread        the loop; must live longer than the garden
     * @param tickPeriod    between two looks at the zones
     * @param samplePeriod  between two samples of a zone's moisture
     * @return              false when there is no timer for run times; that there is none for the
     *                      tick or for samples is not reported
     */
    bool start(evlp_thread_str* thread, const zol::CTime& tickPeriod,
               const zol::CTime& samplePeriod);

    void closeAllValves();

    /** @return the zone of that name; null when there is none */
    CZone* findZone(const char* name);

    const Zones& getZones() const { return m_zones; }
    int getOpenCount() const;
    int64_t getMillilitres() const;

  private:
    void onTick(int);

    CZone m_zones[kZoneCount];
    zol::CEventMsg<CGarden, int> m_whenToTick{this, &CGarden::onTick, 0};
    zol::CTimer m_tick;
};

}  // namespace gardend

#endif
