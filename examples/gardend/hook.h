// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_HOOK_H
#define GARDEND_HOOK_H

#include "zol/event.h"
#include "zol/process.h"
#include "zol/tab.h"

#include "zone.h"

namespace gardend {

/**
 * Runs somebody's program when a valve has opened or closed: PROGRAM roses open. No shell is
 * involved.
 *
 * The program sees what has happened in its order, one event after the other. Meanwhile further
 * ones wait; of too many the first is dropped whose zone has a later one, so that what it hears
 * last of each zone is true. A failure is logged, and not repeated. One that takes longer than a
 * minute is killed, with its process group. The loop's thread.
 */
class CHook : public zol::CEventDest<CHook, void>,
              public zol::IProcTermHandler,
              public IValveWatcher {
  public:
    static constexpr int kMaxWaiting = 16;

    /**
     * @param program  not copied; looked for along PATH; null: there is no hook
     * @param thread   the loop; must live longer than the hook
     * @param user     to run it as; "": that of gardend
     */
    CHook(const char* program, evlp_thread_str* thread, const char* user);

    /** Tells the last of each zone that still waits, side by side, and lets all that runs live on:
     *  at the end of gardend valves are closed. */
    ~CHook() override;
    CHook(const CHook&) = delete;
    CHook& operator=(const CHook&) = delete;

    void onValve(const char* zone, bool isOpen) override;

    void onProcTerm(zol::CProcess* process, int status) override;

  private:
    struct Event {
        zol::CStr zone;  // which may be gone when its turn comes
        bool isOpen;
    };

    /** Drops the first event that waits for which its zone has a later one. @return the zone; empty
     *  when there is none */
    zol::CStr dropOvertaken();
    void startNext();
    bool start(const Event& event);
    void onTimeOver(int);

    const char* m_program;
    zol::CProcess m_process;
    zol::CTab<Event> m_waiting;
    zol::CEventTimer<CHook, int> m_limit{this, &CHook::onTimeOver, 0};
};

}  // namespace gardend

#endif
