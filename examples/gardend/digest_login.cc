// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "digest_login.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

#include "zol/digest.h"

#include "secret.h"

namespace gardend {

namespace {

using Credentials = DigestCredentials;

constexpr int kDigestLength = 32;
constexpr uint32_t kLastCount = UINT32_MAX;

// Of nobody: so that the answer to an unknown user takes as long as to a wrong password.
constexpr char kNobodysHa1[] = "00000000000000000000000000000000";

// Looks at all users, wherever the one is. @return false when there is none of that name
bool findHa1(const zol::CTab<User>& users, const zol::CStr& name, zol::CStr& ha1) {
    bool isKnown = false;
    for (const User& user : users) {
        if (user.name == name) {
            ha1 = user.ha1;
            isKnown = true;
        }
    }
    return isKnown;
}

}  // namespace

zol::CStr makeResponse(const Credentials& credentials, const zol::CStr& method,
                       const zol::CStr& ha1) {
    CText action;
    action.add(method.get()).add(":").add(credentials[Credentials::kUri].get());
    const zol::CStr ha2 = md5Encode(action.getStr());
    CText middle;
    middle.add(credentials[Credentials::kCount].get()).add(":");
    middle.add(credentials[Credentials::kCnonce].get()).add(":auth");
    // A digest of what is incomplete might be one that somebody else can make.
    if (!action.isWhole() || !middle.isWhole() || !isDigest(ha1) || !isDigest(ha2)) {
        return zol::CStr();
    }
    const zol::CStr& nonce = credentials[Credentials::kNonce];
    return credentials.count > 0 ? generateAuthKey(ha1, nonce, middle.getStr(), ha2)
                                 : generateHa1(ha1, nonce, ha2);
}

void CWrongLogins::add(const zol::CStr& name, const zol::CTime& now) {
    (void)snprintf(m_lastName, sizeof(m_lastName), "%s", name.get());
    for (char* c = m_lastName; *c != '\0'; ++c) {
        *c = *c < ' ' || *c > '~' || *c == '"' ? '?' : *c;
    }
    ++m_unlogged;
    log(now);
    ++m_count;
}

void CWrongLogins::log(const zol::CTime& now) {
    if (m_unlogged > 0 && now >= m_minuteEnd) {
        syslog(LOG_NOTICE, "wrong logins: %d, the last one as \"%s\"", m_unlogged, m_lastName);
        m_unlogged = 0;
        m_minuteEnd = now + kMinute;
        m_count = 0;
    }
}

int CWrongLogins::getSecondsToWait(const zol::CTime& now) const {
    const int64_t left = (m_minuteEnd - now).getMicroseconds();
    return left <= 0 || m_count < kMostInAMinute ? 0 : static_cast<int>((left + 999999) / 1000000);
}

int CDigestLogin::check(const HttpRequest& request, const zol::CTime& now, CText& fields) {
    if (m_users.isEmpty()) {
        return 0;
    }
    m_wrong.log(now);
    Credentials credentials;
    const int fault = readCredentials(request.authorization.get(), credentials);
    if (fault != 0) {
        return fault == 401 ? askForLogin(false, now, fields) : fault;
    }
    if (credentials[Credentials::kUri] != request.target) {
        return 400;
    }

    zol::CStr ha1(kNobodysHa1);
    const bool isKnown = findHa1(m_users, credentials[Credentials::kUsername], ha1);
    const zol::CStr response = makeResponse(credentials, request.method, ha1);
    if (response.isEmpty()) {
        return 503;
    }
    const bool isRight = isSameDigest(response, credentials[Credentials::kResponse]) && isKnown &&
                         credentials[Credentials::kRealm] == kLoginRealm;
    const int secondsToWait = m_wrong.getSecondsToWait(now);
    if (secondsToWait > 0 && !(isRight && isRemembered(credentials[Credentials::kNonce]))) {
        fields.addFormat("Retry-After: %d\r\n", secondsToWait);
        return 503;
    }
    if (!isRight) {
        m_wrong.add(credentials[Credentials::kUsername], now);
        return askForLogin(false, now, fields);
    }
    // Who knows the password may try again with another nonce.
    return use(credentials, now) ? 0 : askForLogin(true, now, fields);
}

// A nonce is "STAMP-NUMBER-DIGEST": when it was made, a number by chance, and the proof of that.
int CDigestLogin::askForLogin(bool isStale, const zol::CTime& now, CText& fields) {
    const int64_t time = now.getMicroseconds();
    m_lastStamp = time > m_lastStamp ? time : m_lastStamp + 1;
    CText text;
    text.addFormat("%016" PRIx64 "-%s-", m_lastStamp, generateNonce().get());
    const zol::CStr proof = prove(text.getStr());
    if (!text.isWhole() || !isDigest(proof)) {
        return 503;
    }
    fields.add("WWW-Authenticate: Digest realm=\"").add(kLoginRealm).add("\", nonce=\"");
    fields.add(text).add(proof.get()).add("\", qop=\"auth\", algorithm=MD5");
    fields.add(isStale ? ", stale=true\r\n" : "\r\n");
    return 401;
}

// The secret stands at both ends: nothing can be added to a text whose proof is known.
// @return empty when there is no secret, or no memory
zol::CStr CDigestLogin::prove(const zol::CStr& text) const {
    return m_secret.isEmpty() ? zol::CStr()
                              : generateAuthKey(m_secret, text, kLoginRealm, m_secret);
}

// @return when a nonce was made; 0 when it was not made here
int64_t CDigestLogin::readStamp(const zol::CStr& nonce) const {
    const int textLength = nonce.getLength() - kDigestLength;
    if (textLength <= 0) {
        return 0;
    }
    const zol::CStr text(nonce.get(), textLength);
    return isSameDigest(prove(text), nonce.get() + textLength)
               ? static_cast<int64_t>(strtoull(nonce.get(), nullptr, 16))
               : 0;
}

bool CDigestLogin::isRemembered(const zol::CStr& nonce) const {
    const int64_t stamp = readStamp(nonce);
    for (const UsedNonce& used : m_used) {
        if (stamp > 0 && used.stamp == stamp) {
            return true;
        }
    }
    return false;
}

// Counts a request by who knows the password. @return false when its nonce is not good (any more)
bool CDigestLogin::use(const DigestCredentials& credentials, const zol::CTime& now) {
    const int64_t stamp = readStamp(credentials[Credentials::kNonce]);
    if (stamp == 0) {
        return false;
    }
    UsedNonce* const used = zol::CTime(stamp) + kNonceLife < now ? nullptr : findUsed(stamp);
    const uint32_t count = credentials.count > 0 ? credentials.count : kLastCount;
    if (used == nullptr || used->count >= count) {
        return false;
    }
    used->count = count;
    return true;
}

// Finds a nonce, or gives it the place of the oldest one.
// @return null when it is older than one that had to go: what has become of it is not known
CDigestLogin::UsedNonce* CDigestLogin::findUsed(int64_t stamp) {
    UsedNonce* oldest = m_used;
    for (UsedNonce& used : m_used) {
        if (used.stamp == stamp) {
            return &used;
        }
        oldest = used.stamp < oldest->stamp ? &used : oldest;
    }
    if (stamp < oldest->stamp) {
        return nullptr;
    }
    *oldest = {stamp, 0};
    return oldest;
}

}  // namespace gardend
