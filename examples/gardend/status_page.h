// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_STATUS_PAGE_H
#define GARDEND_STATUS_PAGE_H

#include "digest_login.h"
#include "downloads.h"
#include "garden.h"
#include "http_server.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/** What the site shows, and who decides to whom; all of it must live longer than the site. */
struct SiteParts {
    const CGarden& garden;
    const CWateringPlan& plan;
    const CDownloads& downloads;
    const CLanguages& languages;
    CDigestLogin& login;
};

/**
 * The site of the garden: "/" for people, in their language, "/status.json" for programs, both for
 * who may log in; and the log files, for who has an address. It only shows; whoever wants to change
 * something uses the control socket.
 */
class CStatusSite : public IHttpSite {
  public:
    explicit CStatusSite(const SiteParts& parts) : m_parts(parts) {}

    void answer(const HttpRequest& request, HttpAnswer& answer) override;

  private:
    SiteParts m_parts;
};

void writeStatusPage(const CGarden& garden, const CWateringPlan& plan, const CDownloads& downloads,
                     const CPhrases& phrases, CText& out);
void writeStatusJson(const CGarden& garden, const CWateringPlan& plan, CText& out);

}  // namespace gardend

#endif
