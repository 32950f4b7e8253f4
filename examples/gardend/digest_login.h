// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DIGEST_LOGIN_H
#define GARDEND_DIGEST_LOGIN_H

#include <stdint.h>

#include "zol/tab.h"
#include "zol/time.h"

#include "digest_credentials.h"
#include "http_parser.h"
#include "users.h"

namespace gardend {

/** @return the response of somebody with this HA1 to a nonce, for a request of a method; empty
 *  without memory */
zol::CStr makeResponse(const DigestCredentials& credentials, const zol::CStr& method,
                       const zol::CStr& ha1);

/**
 * Counts wrong logins, of all clients together. A minute begins with a line in the log, and there
 * is no other one in it; and it takes a number of wrong logins, and no more.
 */
class CWrongLogins {
  public:
    static constexpr int kMostInAMinute = 60;
    static constexpr zol::CTime kMinute = zol::CTime(60000000);

    /** Counts one, by somebody who calls himself by a name that may be anything. */
    void add(const zol::CStr& name, const zol::CTime& now);

    /** Logs those that the past minute has left over. To be called now and then. */
    void log(const zol::CTime& now);

    /** @return for how many seconds none is to be answered; 0 when there is no need to wait */
    int getSecondsToWait(const zol::CTime& now) const;

  private:
    static constexpr int kNameLength = 32;  // as much of it as is logged

    zol::CTime m_minuteEnd;
    int m_count = 0;     // in the minute
    int m_unlogged = 0;  // since the last line
    char m_lastName[kNameLength + 1] = {};
};

/**
 * HTTP digest login (RFC 2617, and RFC 7616 as far as that is the same): MD5, with qop=auth and
 * without qop. Passwords do not go over the line; all else does as it is, for everybody to read.
 *
 *     login.setUsers(users);
 *     const int refusal = login.check(request, monotonicTime(), answer.fields);
 *
 * A nonce proves by itself that it was made here, and when. So nothing is kept of those that are
 * handed out, and who asks for thousands takes no room from others. Kept is which ones somebody has
 * logged in with, and how far the client has counted: a count that does not go up is a replay.
 * There is room for some of them; the oldest ones go first, and are not good any more: a browser
 * gets another one, and need not ask its user.
 *
 * A client without qop does not count: a nonce is good for one of its requests.
 *
 * Wrong logins are logged. After some of them in a minute all who log in have to wait for the next
 * one, right or wrong; but not who is logged in, with a nonce that is remembered.
 */
class CDigestLogin {
  public:
    static constexpr int kMostUsed = 64;                             // nonces that are remembered
    static constexpr zol::CTime kNonceLife = zol::CTime(300000000);  // five minutes

    /** @param secret  see makeSecret(); with an empty one nobody is let in */
    explicit CDigestLogin(const zol::CStr& secret) : m_secret(secret) {}

    /** From now on only these are let in; everybody, when there are none. */
    void setUsers(const zol::CTab<User>& users) { m_users = users; }

    /**
     * Decides whether a request is let in.
     *
     * @param now     by the clock that goes on evenly
     * @param fields  receives, with 401, the header field that asks for a login; with 503 it may
     *                get one that says when to try again
     * @return        0: it is; else the status that says why not: 400 malformed, or for another
     *                target; 401 who are you? 503 no memory, or too many wrong logins
     */
    int check(const HttpRequest& request, const zol::CTime& now, CText& fields);

  private:
    /** A nonce that somebody has logged in with. */
    struct UsedNonce {
        int64_t stamp = 0;   // when it was made; no two are made at the same time
        uint32_t count = 0;  // of the last request with it
    };

    int askForLogin(bool isStale, const zol::CTime& now, CText& fields);
    zol::CStr prove(const zol::CStr& text) const;
    int64_t readStamp(const zol::CStr& nonce) const;
    bool isRemembered(const zol::CStr& nonce) const;
    bool use(const DigestCredentials& credentials, const zol::CTime& now);
    UsedNonce* findUsed(int64_t stamp);

    zol::CStr m_secret;
    zol::CTab<User> m_users;
    int64_t m_lastStamp = 0;
    UsedNonce m_used[kMostUsed];
    CWrongLogins m_wrong;
};

}  // namespace gardend

#endif
