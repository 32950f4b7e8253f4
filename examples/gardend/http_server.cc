// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "http_server.h"

#include <new>
#include <string.h>

#include "zol/time.h"

namespace gardend {

namespace {

const char* nameOf(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 410:
            return "Gone";
        case 413:
            return "Content Too Large";
        case 417:
            return "Expectation Failed";
        case 431:
            return "Request Header Fields Too Large";
        case 501:
            return "Not Implemented";
        case 503:
            return "Service Unavailable";
        case 505:
            return "HTTP Version Not Supported";
        default:
            return "Unknown";
    }
}

// A device without a set clock must not send a date.
void addDate(CText& out) {
    if (zol::CTime::synchronized != 0) {
        tm utc = {};
        char date[64];
        zol::CTime::getCurrent().getTm(utc, 0);
        strftime(date, sizeof(date), "%a, %d %b %Y %H:%M:%S GMT", &utc);
        out.addFormat("Date: %s\r\n", date);
    }
}

class CHttpDialog : public CDialog {
  public:
    CHttpDialog(CHttpServer& server, int fd, IHttpSite& site, HttpLoad& load)
        : CDialog(server, fd), m_site(site), m_load(load) {
        ++m_load.clients;
    }

    ~CHttpDialog() override {
        onSent();
        --m_load.clients;
    }

  protected:
    int take(const char* bytes, int size, CText& answer, bool& last) override;
    void onSent() override;

  private:
    void admit(HttpAnswer& answer);

    IHttpSite& m_site;
    HttpLoad& m_load;
    bool m_isLarge = false;  // the answer that is kept
    CHttpParser m_parser;
};

int CHttpDialog::take(const char* bytes, int size, CText& answer, bool& last) {
    const int taken = m_parser.feed(bytes, size);
    if (m_parser.getState() == CHttpParser::kIncomplete) {
        return taken;
    }

    const HttpRequest& request = m_parser.getRequest();
    HttpAnswer said;
    if (m_parser.getState() == CHttpParser::kComplete) {
        m_site.answer(request, said);
        admit(said);
        last = !request.keepAlive;
    } else {
        makeError(m_parser.getError(), said);
        last = true;
    }
    writeAnswer(said, request.method.get(), !last, answer);
    m_parser.restart();
    return taken;
}

// A client may not read it: of large answers there are few at a time.
void CHttpDialog::admit(HttpAnswer& answer) {
    if (answer.body.getLength() <= HttpLoad::kSmallAnswer) {
        return;
    }
    if (m_load.large >= HttpLoad::kMostLarge) {
        makeError(503, answer);
        return;
    }
    ++m_load.large;
    m_isLarge = true;
}

void CHttpDialog::onSent() {
    m_load.large -= m_isLarge ? 1 : 0;
    m_isLarge = false;
}

}  // namespace

void makeError(int status, HttpAnswer& answer) {
    answer = HttpAnswer();
    answer.status = status;
    answer.body.addFormat("%d %s\n", status, nameOf(status));
}

void writeAnswer(const HttpAnswer& answer, const char* method, bool keepAlive, CText& out) {
    out.addFormat("HTTP/1.1 %d %s\r\n", answer.status, nameOf(answer.status));
    addDate(out);
    out.addFormat("Content-Type: %s\r\n", answer.contentType);
    out.addFormat("Content-Length: %d\r\n", answer.body.getLength());
    if (answer.language != nullptr) {
        out.addFormat("Content-Language: %s\r\nVary: Accept-Language\r\n", answer.language);
    }
    out.add(answer.fields);
    // A client of HTTP/1.0 waits for the word, others do not mind it.
    out.add(keepAlive ? "Connection: keep-alive\r\n" : "Connection: close\r\n");
    out.add("Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n");
    if (strcmp(method, "HEAD") != 0) {
        out.add(answer.body);
    }
}

CHttpServer::CHttpServer(evlp_thread_str* thread, IHttpSite& site, const zol::CTime& timeLimit,
                         HttpLoad& load)
    : CDialogServer(thread, "http", HttpLoad::kMostClients, timeLimit),
      m_site(site),
      m_load(load) {}

zol::CConnection* CHttpServer::createConnection(int fd) {
    return new (std::nothrow) CHttpDialog(*this, fd, m_site, m_load);
}

}  // namespace gardend
