// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_HTTP_PARSER_H
#define GARDEND_HTTP_PARSER_H

#include "zol/str.h"

namespace gardend {

/** @return whether names of methods, of header fields and of parameters may have it */
bool isTokenCharacter(char c);

/** What a request asks for. */
struct HttpRequest {
    zol::CStr method;
    zol::CStr target;     // as the client has written it
    zol::CStr path;       // of the target: no host, no query; "%41" stays as it is
    zol::CStr languages;  // that the client would like: all its fields Accept-Language as one list
    zol::CStr authorization;  // the field of that name; empty where there is none
    bool keepAlive = false;   // the client would like to go on with the connection
};

/**
 * Finds the requests in what a client sends: bytes in, requests or an error out. It knows no
 * sockets, and does not mind how the bytes are cut into pieces.
 *
 *     int taken = parser.feed(bytes, size);
 *     if (parser.getState() == CHttpParser::kComplete) {
 *         answer(parser.getRequest());
 *         parser.restart();  // the rest of the bytes belongs to the next request
 *     }
 *
 * Every byte is taken for hostile. After an error it cannot be told where the next request would
 * begin, so the connection has to end. Bodies are skipped: nothing here wants one.
 *
 * Lines end with LF, with or without CR before it.
 */
class CHttpParser {
  public:
    enum State {
        kIncomplete,  // more bytes are wanted
        kComplete,    // getRequest() is whole; restart() for the next one
        kFailed       // getError() says why; takes no more bytes
    };

    static constexpr int kMaxHeadSize = 8192;   // of a request line and its header fields
    static constexpr int kMaxBodySize = 65536;  // of a body that is skipped

    /** Takes bytes, none behind the end of the request. @return how many; all while incomplete */
    int feed(const char* bytes, int size);

    /** Forgets the request, and begins with the next one. */
    void restart();

    State getState() const { return m_state; }

    /** @return the request; after an error as much of it as was understood */
    const HttpRequest& getRequest() const { return m_request; }

    /**
     * @return the status that tells the client what is wrong: 400 malformed, 413 body too large,
     *         417 asks whether to send the body, 431 head too large, 501 transfer coding,
     *         503 no memory, 505 not HTTP/1
     */
    int getError() const { return m_error; }

  private:
    int takeLinePart(const char* bytes, int size);
    void parseLine();
    void parseRequestLine(const zol::CStr& line);
    bool parseTarget(const char* target);
    void parseVersion(const char* version);
    void parseField(const zol::CStr& line);
    void parseContentLength(const char* value);
    void endHead();
    int skipBody(int size);
    bool copy(zol::CStr& to, const char* text, int length);
    void addToList(zol::CStr& list, const char* text);
    void fail(int status);

    State m_state = kIncomplete;
    int m_error = 0;
    HttpRequest m_request;

    zol::CStr m_line;    // as much as has come of the present line
    int m_headSize = 0;  // bytes taken of the head
    int m_minorVersion = 0;
    int m_hostCount = 0;
    int m_contentLength = -1;  // -1: not given; more than allowed counts as kMaxBodySize + 1
    bool m_hasTransferEncoding = false;
    bool m_hasExpectation = false;
    bool m_hasAuthorization = false;
    bool m_close = false;
    bool m_keepAlive = false;
    int m_bodyLeft = 0;  // more than 0: the head is done
};

}  // namespace gardend

#endif
