// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONTROL_SERVER_H
#define GARDEND_CONTROL_SERVER_H

#include "control_protocol.h"
#include "dialog.h"
#include "garden.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/** Serves the control protocol; see control_protocol.h. */
class CControlServer : public CDialogServer {
  public:
    /**
     * @param loop       ended by the request "quit"; as the three that follow, it must live longer
     * @param timeLimit  for one request and its answer, the wait for it included
     */
    CControlServer(zol::CEventLoop& loop, CGarden& garden, CWateringPlan& plan,
                   const CLanguages& languages, const zol::CTime& timeLimit);

    zol::CConnection* createConnection(int fd) override;

  private:
    zol::CEventLoop& m_loop;
    CGarden& m_garden;
    CWateringPlan& m_plan;
    const CLanguages& m_languages;
};

}  // namespace gardend

#endif
