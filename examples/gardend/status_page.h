// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_STATUS_PAGE_H
#define GARDEND_STATUS_PAGE_H

#include "garden.h"
#include "http_server.h"

namespace gardend {

/**
 * The site of the garden: "/" for people, "/status.json" for programs. It only shows; whoever
 * wants to change something uses the control socket.
 */
class CStatusSite : public IHttpSite {
  public:
    /** @param garden  must live longer than the site */
    explicit CStatusSite(const CGarden& garden) : m_garden(garden) {}

    void answer(const HttpRequest& request, HttpAnswer& answer) override;

  private:
    const CGarden& m_garden;
};

void writeStatusPage(const CGarden& garden, CText& out);
void writeStatusJson(const CGarden& garden, CText& out);

}  // namespace gardend

#endif
