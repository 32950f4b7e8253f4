// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "http_parser.h"

#include <string.h>
#include <strings.h>

namespace gardend {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isToken(const char* text) {
    for (const char* c = text; *c != '\0'; ++c) {
        if (!isTokenCharacter(*c)) {
            return false;
        }
    }
    return *text != '\0';
}

bool isVisible(const char* text) {
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < 0x21 || *c > 0x7e) {
            return false;
        }
    }
    return true;
}

bool isControl(char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\r' && c != '\n') || byte == 0x7f;
}

bool hasControl(const char* bytes, int size) {
    for (int i = 0; i < size; ++i) {
        if (isControl(bytes[i])) {
            return true;
        }
    }
    return false;
}

struct Span {
    const char* begin;
    int length;
};

Span withoutBlanksAround(const char* text) {
    const char* const begin = text + strspn(text, " \t");
    size_t length = strlen(begin);
    while (length > 0 && strchr(" \t", begin[length - 1]) != nullptr) {
        --length;
    }
    return {begin, static_cast<int>(length)};
}

// Looks for a word in a list like "upgrade, close".
bool listHas(const char* list, const char* word) {
    for (const char* rest = list + strspn(list, " \t,"); *rest != '\0';) {
        const size_t length = strcspn(rest, " \t,");
        if (length == strlen(word) && strncasecmp(rest, word, length) == 0) {
            return true;
        }
        rest += length;
        rest += strspn(rest, " \t,");
    }
    return false;
}

}  // namespace

bool isTokenCharacter(char c) {
    return isDigit(c) || isLetter(c) || (c != '\0' && strchr("!#$%&'*+-.^_`|~", c) != nullptr);
}

void CHttpParser::restart() {
    *this = CHttpParser();
}

int CHttpParser::feed(const char* bytes, int size) {
    int taken = 0;
    while (m_state == kIncomplete && taken < size) {
        taken +=
            m_bodyLeft > 0 ? skipBody(size - taken) : takeLinePart(bytes + taken, size - taken);
    }
    return taken;
}

// Takes bytes up to the end of the present line, or all where it does not end.
int CHttpParser::takeLinePart(const char* bytes, int size) {
    const void* const end = memchr(bytes, '\n', static_cast<size_t>(size));
    const int length =
        end == nullptr ? size : static_cast<int>(static_cast<const char*>(end) - bytes) + 1;
    m_headSize += length;
    if (hasControl(bytes, length)) {
        fail(400);
        return length;
    }
    if (m_headSize > kMaxHeadSize) {
        fail(431);
        return length;
    }

    const int expected = m_line.getLength() + length;
    m_line.concat(bytes, length);
    if (m_line.getLength() != expected) {
        fail(503);
    } else if (end != nullptr) {
        parseLine();
        m_line = "";
    }
    return length;
}

// From here on lines are texts: they hold no NUL.
void CHttpParser::parseLine() {
    int length = m_line.getLength() - 1;
    if (length > 0 && m_line.get()[length - 1] == '\r') {
        --length;
    }
    zol::CStr line;
    if (!copy(line, m_line.get(), length)) {
        return;
    }

    if (line.find("\r") >= 0) {
        fail(400);
    } else if (m_request.method.isEmpty()) {
        // Empty lines in front of a request are a habit of old clients.
        if (!line.isEmpty()) {
            parseRequestLine(line);
        }
    } else if (!line.isEmpty()) {
        parseField(line);
    } else {
        endHead();
    }
}

void CHttpParser::parseRequestLine(const zol::CStr& line) {
    const int methodEnd = line.find(" ");
    const int targetEnd = methodEnd < 0 ? -1 : line.find(" ", static_cast<unsigned>(methodEnd) + 1);
    if (targetEnd < 0) {
        fail(400);
        return;
    }
    if (!copy(m_request.target, line.get() + methodEnd + 1, targetEnd - methodEnd - 1) ||
        !copy(m_request.method, line.get(), methodEnd)) {
        return;
    }
    if (!isToken(m_request.method.get()) || !parseTarget(m_request.target.get())) {
        fail(400);
        return;
    }
    parseVersion(line.get() + targetEnd + 1);
}

// "/path?query", "http://host/path?query", or "*".
bool CHttpParser::parseTarget(const char* target) {
    const char* path = target;
    const bool absolute = strncasecmp(target, "http://", 7) == 0;
    if (absolute) {
        const size_t hostLength = strcspn(target + 7, "/?");
        path = target + 7 + hostLength;
        if (hostLength == 0) {
            return false;
        }
    }
    const auto pathLength = static_cast<int>(strcspn(path, "?"));
    const bool root = absolute && pathLength == 0;
    if (!copy(m_request.path, root ? "/" : path, root ? 1 : pathLength)) {
        return false;
    }
    return isVisible(target) && (*m_request.path.get() == '/' || strcmp(target, "*") == 0);
}

void CHttpParser::parseVersion(const char* version) {
    if (strncmp(version, "HTTP/", 5) != 0 || !isDigit(version[5]) || version[6] != '.' ||
        !isDigit(version[7]) || version[8] != '\0') {
        fail(400);
        return;
    }
    if (version[5] != '1') {
        fail(505);
    }
    m_minorVersion = version[7] - '0';
}

void CHttpParser::parseField(const zol::CStr& line) {
    const int colon = line.find(":");
    zol::CStr name;
    if (!copy(name, line.get(), colon < 0 ? 0 : colon)) {
        return;
    }
    if (!isToken(name.get())) {
        fail(400);
        return;
    }

    const Span span = withoutBlanksAround(line.get() + colon + 1);
    zol::CStr value;
    if (!copy(value, span.begin, span.length)) {
        return;
    }
    const char* const text = value.get();
    if (strcasecmp(name.get(), "Host") == 0) {
        ++m_hostCount;
        if (!isVisible(text) || strpbrk(text, ",/?#@") != nullptr) {
            fail(400);
        }
    } else if (strcasecmp(name.get(), "Content-Length") == 0) {
        parseContentLength(text);
    } else if (strcasecmp(name.get(), "Transfer-Encoding") == 0) {
        m_hasTransferEncoding = true;
    } else if (strcasecmp(name.get(), "Expect") == 0) {
        m_hasExpectation = true;
    } else if (strcasecmp(name.get(), "Connection") == 0) {
        m_close = m_close || listHas(text, "close");
        m_keepAlive = m_keepAlive || listHas(text, "keep-alive");
    } else if (strcasecmp(name.get(), "Accept-Language") == 0) {
        addToList(m_request.languages, text);
    } else if (strcasecmp(name.get(), "Authorization") == 0) {
        if (m_hasAuthorization) {
            fail(400);
        }
        m_hasAuthorization = true;
        m_request.authorization = value;
    }
}

// Digits and nothing else; given twice it must be the same.
void CHttpParser::parseContentLength(const char* value) {
    int length = 0;
    for (const char* c = value; *c != '\0'; ++c) {
        if (!isDigit(*c)) {
            fail(400);
            return;
        }
        length = length > kMaxBodySize ? length : length * 10 + (*c - '0');
    }
    length = length > kMaxBodySize ? kMaxBodySize + 1 : length;
    if (*value == '\0' || (m_contentLength >= 0 && m_contentLength != length)) {
        fail(400);
    }
    m_contentLength = length;
}

void CHttpParser::endHead() {
    if (m_hostCount > 1 || (m_hostCount == 0 && m_minorVersion > 0)) {
        fail(400);
    } else if (m_hasTransferEncoding) {
        fail(m_contentLength < 0 ? 501 : 400);
    } else if (m_contentLength > kMaxBodySize) {
        fail(413);
    } else if (m_hasExpectation && m_minorVersion > 0 && m_contentLength > 0) {
        fail(417);
    } else {
        m_request.keepAlive = !m_close && (m_minorVersion > 0 || m_keepAlive);
        m_bodyLeft = m_contentLength > 0 ? m_contentLength : 0;
        m_state = m_bodyLeft > 0 ? kIncomplete : kComplete;
    }
}

// Keeps a part of the request. A part that is lost must not change what the request says.
// @return false, the parser having failed, when there is no memory
bool CHttpParser::copy(zol::CStr& to, const char* text, int length) {
    if (to.set(text, length).getLength() != length) {
        fail(503);
        return false;
    }
    return true;
}

// A field that comes several times is one list.
void CHttpParser::addToList(zol::CStr& list, const char* text) {
    const int expected = list.getLength() + 1 + static_cast<int>(strlen(text));
    list.concat(",", 1).concat(text, -1);
    if (list.getLength() != expected) {
        fail(503);
    }
}

int CHttpParser::skipBody(int size) {
    const int skipped = size < m_bodyLeft ? size : m_bodyLeft;
    m_bodyLeft -= skipped;
    m_state = m_bodyLeft > 0 ? kIncomplete : kComplete;
    return skipped;
}

// The first error stands.
void CHttpParser::fail(int status) {
    if (m_state != kFailed) {
        m_state = kFailed;
        m_error = status;
    }
}

}  // namespace gardend
