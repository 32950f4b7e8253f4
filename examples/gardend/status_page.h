// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_STATUS_PAGE_H
#define GARDEND_STATUS_PAGE_H

#include "garden.h"
#include "http_server.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/**
 * The site of the garden: "/" for people, in their language, "/status.json" for programs. It only
 * shows; whoever wants to change something uses the control socket.
 */
class CStatusSite : public IHttpSite {
  public:
    /** What it is made of must live longer than the site. */
    CStatusSite(const CGarden& garden, const CWateringPlan& plan, const CLanguages& languages)
        : m_garden(garden), m_plan(plan), m_languages(languages) {}

    void answer(const HttpRequest& request, HttpAnswer& answer) override;

  private:
    const CGarden& m_garden;
    const CWateringPlan& m_plan;
    const CLanguages& m_languages;
};

void writeStatusPage(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                     CText& out);
void writeStatusJson(const CGarden& garden, const CWateringPlan& plan, CText& out);

}  // namespace gardend

#endif
