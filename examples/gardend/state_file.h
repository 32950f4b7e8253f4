// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_STATE_FILE_H
#define GARDEND_STATE_FILE_H

#include "zol/event.h"
#include "zol/str.h"

#include "garden.h"
#include "text.h"
#include "watering_plan.h"

namespace gardend {

/**
 * What gardend remembers from one start to the next: the schedules that were added and withdrawn by
 * hand, and what each zone has delivered and has sampled today.
 *
 * The file is a text of lines, of which the last one is a digest of all others; it is replaced as a
 * whole. One that is damaged is renamed, and does no harm. The loop's thread.
 */
class CStateFile : public zol::CEventDest<CStateFile, void> {
  public:
    /**
     * @param path    not copied; "": nothing is remembered
     * @param thread  the loop; all three must live longer than this
     */
    CStateFile(const char* path, evlp_thread_str* thread, CGarden& garden, CWateringPlan& plan);

    /**
     * Reads the file into a garden and a plan that have been configured. What is no longer there is
     * forgotten.
     *
     * @return false, with a complaint in the log and on the standard error, when there is something
     *         that is not a state, or cannot be read: nothing has changed, and nothing must be
     *         written, for that would replace it
     */
    bool read();

    /** Something has changed: writes the file within a second. */
    void touch();

    /** Writes the file now. A failure is logged, and it is tried again after a minute. */
    void write();

  private:
    bool refuse(const char* fault) const;
    bool readLines(char* text, bool isApplied);
    bool readZone(const char* const* words, bool isApplied);
    bool readSchedule(const char* const* words, bool isApplied);
    bool readWithdrawn(const char* const* words, bool isApplied);
    bool putAside() const;
    int tryToWrite() const;
    void addLines(CText& out) const;
    int replaceFile(const CText& text) const;
    bool wait(const zol::CTime& delay);
    void onTime(int);

    const char* m_path;
    CGarden& m_garden;
    CWateringPlan& m_plan;
    bool m_isWritable = true;  // as far as is known
    bool m_isWaiting = false;  // for m_soon
    zol::CEventTimer<CStateFile, int> m_soon{this, &CStateFile::onTime, 0};
};

}  // namespace gardend

#endif
