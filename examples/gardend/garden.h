// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_GARDEN_H
#define GARDEND_GARDEN_H

#include <memory>

#include "zol/event.h"
#include "zol/tab.h"
#include "zol/time.h"
#include "zol/timer.h"

#include "zone.h"

namespace gardend {

/**
 * The garden: its zones, and the tick with which they follow the clock. It begins without zones.
 * The loop's thread.
 *
 * Zones come and go while it lives, in two steps: add() does all that can fail, and makes no
 * difference to those that are there; keep() cannot fail.
 */
class CGarden : public zol::CEventDest<CGarden, void> {
  public:
    static constexpr int kMaxZones = kLineCount;

    /** What a loop over the zones goes through. */
    class Zones {
      public:
        class Iterator {
          public:
            explicit Iterator(const std::unique_ptr<CZone>* place) : m_place(place) {}
            const CZone& operator*() const { return **m_place; }
            Iterator& operator++() {
                ++m_place;
                return *this;
            }
            bool operator!=(const Iterator& other) const { return m_place != other.m_place; }

          private:
            const std::unique_ptr<CZone>* m_place;
        };

        Zones(const std::unique_ptr<CZone>* zones, int count) : m_zones(zones), m_count(count) {}
        Iterator begin() const { return Iterator(m_zones); }
        Iterator end() const { return Iterator(m_zones + m_count); }

      private:
        const std::unique_ptr<CZone>* m_zones;
        int m_count;
    };

    explicit CGarden(const Wiring& wiring);

    /** Closes the valves; logs which do not. */
    ~CGarden() override;

    /**
     * Adds the zones that are not there yet, by their names. They do not move or read anything
     * before keep() or start().
     *
     * @param wishes  kMaxZones at most
     * @return        false, with the garden as it was, when there is no memory or no timer
     */
    bool add(const zol::CTab<ZoneWish>& wishes);

    /**
     * Closes the valves of zones that are not among these, or have another line there.
     *
     * @return null; else a zone whose valve does not close, which must stay as it is
     */
    const CZone* closeWhatGoes(const zol::CTab<ZoneWish>& wishes);

    /** Closes and removes all zones but these, which have been added, and take their order, lines
     *  and flows; in a garden that has been started those that are new are started. */
    void keep(const zol::CTab<ZoneWish>& wishes);

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
    CZone* findZone(const char* name) const;

    Zones getZones() const { return Zones(m_zones, m_count); }
    int getZoneCount() const { return m_count; }
    int getOpenCount() const;
    int64_t getMillilitres() const;

  private:
    int indexOf(const char* name) const;
    void removeFrom(int index);
    void onTick(int);

    Wiring m_wiring;
    evlp_thread_str* m_thread = nullptr;  // null before the start
    zol::CTime m_samplePeriod;
    std::unique_ptr<CZone> m_zones[2 * kMaxZones];  // old and new ones, in between
    int m_count = 0;
    zol::CEventMsg<CGarden, int> m_whenToTick{this, &CGarden::onTick, 0};
    zol::CTimer m_tick;
};

}  // namespace gardend

#endif
