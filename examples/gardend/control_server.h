// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONTROL_SERVER_H
#define GARDEND_CONTROL_SERVER_H

#include "control_protocol.h"
#include "dialog.h"
#include "drivers.h"
#include "garden.h"
#include "jobs.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/** The daemon as a whole. */
class IDaemon {
  public:
    /** Reads the configuration again. @param answer  receives lines that say what is wrong, or what
     *  waits for the next start  @return false when the configuration stays as it was */
    virtual bool reload(CText& answer) = 0;

    /** A client has changed the schedules. */
    virtual void onPlanChanged() = 0;

  protected:
    ~IDaemon() = default;
};

/** What clients ask about and change; all of it must live longer than the server. */
struct Controlled {
    zol::CEventLoop& loop;  // ended by the request "quit"
    CDrivers& drivers;
    CGarden& garden;
    CWateringPlan& plan;
    CJobs& jobs;
    const CLanguages& languages;
    IDaemon& daemon;
};

/** Serves the control protocol; see control_protocol.h. */
class CControlServer : public CDialogServer {
  public:
    /** @param timeLimit  for one request and its answer, the wait for it included */
    CControlServer(const Controlled& controlled, const zol::CTime& timeLimit);

    zol::CConnection* createConnection(int fd) override;

  private:
    Controlled m_controlled;
};

}  // namespace gardend

#endif
