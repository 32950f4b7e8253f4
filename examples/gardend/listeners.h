// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_LISTENERS_H
#define GARDEND_LISTENERS_H

#include <memory>

#include "zol/tab.h"

#include "http_server.h"
#include "settings.h"
#include "text.h"

namespace gardend {

/**
 * The servers of one site, on any number of addresses, which may change: open() does all that can
 * fail, and makes no difference to those that are there; keep() cannot fail.
 */
class CListeners {
  public:
    static constexpr int kMost = kMaxListeners;

    /** Parameters as of CHttpServer. The servers share one HttpLoad. */
    CListeners(evlp_thread_str* thread, IHttpSite& site, const zol::CTime& timeLimit)
        : m_thread(thread), m_site(site), m_timeLimit(timeLimit) {}

    /**
     * Listens on the addresses on which it does not listen yet.
     *
     * @param reason  receives what the system says
     * @return        false, with all as it was, when one is not to be had
     */
    bool open(const zol::CTab<ListenAddress>& addresses, CText& reason);

    /** Ends all but these, with their connections. Not to be called by one of these. */
    void keep(const zol::CTab<ListenAddress>& addresses);

    /** Adds the addresses for people, with a blank behind each. */
    void list(CText& out) const;

  private:
    struct Listener {
        ListenAddress address;
        std::unique_ptr<CHttpServer> server;
    };

    bool isOpen(const ListenAddress& address) const;
    void removeFrom(int index);

    evlp_thread_str* m_thread;
    IHttpSite& m_site;
    zol::CTime m_timeLimit;
    HttpLoad m_load;
    Listener m_listeners[2 * kMost];  // old and new ones, in between
    int m_count = 0;
};

}  // namespace gardend

#endif
