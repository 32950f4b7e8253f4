// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_HTTP_SERVER_H
#define GARDEND_HTTP_SERVER_H

#include "dialog.h"
#include "http_parser.h"
#include "text.h"

namespace gardend {

/** What a site says to a request. */
struct HttpAnswer {
    int status = 200;
    const char* contentType = "text/plain; charset=utf-8";
    const char* language = nullptr;  // of the body, where it was chosen for the client
    CText fields;                    // further ones: whole lines, each with its CR LF
    CText body;
};

/** What a server serves. */
class IHttpSite {
  public:
    virtual ~IHttpSite() = default;

    /** Answers a well-formed request of any method. To HEAD the server sends no body. */
    virtual void answer(const HttpRequest& request, HttpAnswer& answer) = 0;
};

/** Turns an answer into an error: the status, and its name as the body. */
void makeError(int status, HttpAnswer& answer);

/** Writes an answer as it goes over the line, without its body for the method HEAD. */
void writeAnswer(const HttpAnswer& answer, const char* method, bool keepAlive, CText& out);

/**
 * What the clients of all servers of a site take together, so that they starve neither the control
 * socket nor files: a descriptor each, and memory for answers that they do not read. That is a MiB
 * at most, half of it for small answers, and half of it for a few that are large, such as logs.
 */
struct HttpLoad {
    static constexpr int kMostClients = 64;      // further ones are hung up on
    static constexpr int kSmallAnswer = 8192;    // bytes of a body, up to which each may have one
    static constexpr int kMostLarge = 4;         // larger answers that are on their way; then 503
    static constexpr int kLargeAnswer = 131072;  // bytes of a body, which a site keeps to

    int clients = 0;
    int large = 0;
};

/** HTTP/1.1, for one site. Malformed requests are answered here; the site does not see them. */
class CHttpServer : public CDialogServer {
  public:
    /**
     * @param site       must live longer than the server; so must the load
     * @param timeLimit  for one request and its answer, the wait for it included
     */
    CHttpServer(evlp_thread_str* thread, IHttpSite& site, const zol::CTime& timeLimit,
                HttpLoad& load);

    bool isFull() const override { return m_load.clients >= HttpLoad::kMostClients; }
    zol::CConnection* createConnection(int fd) override;

  private:
    IHttpSite& m_site;
    HttpLoad& m_load;
};

}  // namespace gardend

#endif
