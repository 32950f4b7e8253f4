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
     * @param fields  receives, with 401, the header field that asks for a login
     * @return        0: it is; else the status that says why not: 400 malformed, or for another
     *                target; 401 who are you? 503 no memory
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
    bool isOurs(const zol::CStr& nonce) const;
    bool use(const DigestCredentials& credentials, const zol::CTime& now);
    UsedNonce* findUsed(int64_t stamp);

    zol::CStr m_secret;
    zol::CTab<User> m_users;
    int64_t m_lastStamp = 0;
    UsedNonce m_used[kMostUsed];
};

}  // namespace gardend

#endif
